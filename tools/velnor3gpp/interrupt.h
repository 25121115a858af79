// Input that comes bit by bit, and its end. What was made of it goes out while the program waits for more. SIGINT and
// SIGTERM end the reading of a command that writes a capture: the file is finished, and then the program dies of the
// signal, so that nobody takes the file for the whole.
#ifndef VELNOR3GPP_PROGRAM_INTERRUPT_H
#define VELNOR3GPP_PROGRAM_INTERRUPT_H

#include <functional>

// Calls the function whenever there is no input and the program has to wait for it.
void beforeWaiting(std::function<void()> act);
// Catches both signals from the first call on. A second signal ends the program wherever it is.
void catchInterrupts();
// Waits until the descriptor has input or is at its end. Returns false once a signal that is caught has come. Throws
// what the function above does.
bool waitForInput(int descriptor);
bool isInterrupted();
// Dies of the signal that came, if one did.
void endIfInterrupted();

#endif
