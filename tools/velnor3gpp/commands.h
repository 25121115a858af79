// The commands of the program, each with the function that adds it; main.cpp has them in a table.
#ifndef VELNOR3GPP_PROGRAM_COMMANDS_H
#define VELNOR3GPP_PROGRAM_COMMANDS_H

#include "frame.h"

void addCapture(Command& app, Program& program);
void addCdr(Command& app, Program& program);
void addCompletion(Command& app, Program& program);
void addDecode(Command& app, Program& program);
void addEncode(Command& app, Program& program);
void addExplain(Command& app, Program& program);
void addFilter(Command& app, Program& program);
void addList(Command& app, Program& program);
void addManual(Command& app, Program& program);
void addRedact(Command& app, Program& program);
void addRoundtrip(Command& app, Program& program);
void addSchema(Command& app, Program& program);
void addTemplate(Command& app, Program& program);
void addTrace(Command& app, Program& program);
void addVersion(Command& app, Program& program);

#endif
