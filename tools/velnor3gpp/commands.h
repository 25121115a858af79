// The commands of the program, each with the function that adds it; main.cpp has them in a table.
#ifndef VELNOR3GPP_PROGRAM_COMMANDS_H
#define VELNOR3GPP_PROGRAM_COMMANDS_H

#include "frame.h"

void addCapture(CLI::App& app, Program& program);
void addCdr(CLI::App& app, Program& program);
void addCompletion(CLI::App& app, Program& program);
void addDecode(CLI::App& app, Program& program);
void addEncode(CLI::App& app, Program& program);
void addExplain(CLI::App& app, Program& program);
void addFilter(CLI::App& app, Program& program);
void addList(CLI::App& app, Program& program);
void addManual(CLI::App& app, Program& program);
void addRedact(CLI::App& app, Program& program);
void addRoundtrip(CLI::App& app, Program& program);
void addSchema(CLI::App& app, Program& program);
void addTemplate(CLI::App& app, Program& program);
void addTrace(CLI::App& app, Program& program);
void addVersion(CLI::App& app, Program& program);

#endif
