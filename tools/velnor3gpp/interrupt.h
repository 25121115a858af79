// What SIGINT and SIGTERM do to a command that writes a capture while it reads a live one: reading ends, the file is
// finished, and then the program dies of the signal, so that nobody takes the file for the whole.
#ifndef VELNOR3GPP_PROGRAM_INTERRUPT_H
#define VELNOR3GPP_PROGRAM_INTERRUPT_H

// Holds both signals back from here on. Called once.
void holdInterrupts();
// Waits until the descriptor has input or is at its end. Returns false if a signal that is held back came first.
bool waitForInput(int descriptor);
bool isInterrupted();
// Dies of the signal that came, if one did.
void endIfInterrupted();

#endif
