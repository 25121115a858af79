// The commands of the program, each with the function that adds it; main.cpp has them in a table.
#ifndef VELNOR3GPP_PROGRAM_COMMANDS_H
#define VELNOR3GPP_PROGRAM_COMMANDS_H

#include "frame.h"

void addCapture(CLI::App& app, Program& program);
void addCdr(CLI::App& app, Program& program);
void addDecode(CLI::App& app, Program& program);
void addFilter(CLI::App& app, Program& program);
void addRoundtrip(CLI::App& app, Program& program);
void addTrace(CLI::App& app, Program& program);
void addVersion(CLI::App& app, Program& program);

#endif
