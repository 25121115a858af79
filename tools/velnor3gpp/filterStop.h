// Standard input of a filter that an engine keeps alive, and what SIGTERM does to it. A filter that is in the middle of
// its input dies of the signal, as any other program: an exit code of 0 would say that its output is whole. At the end
// of the input nothing can be lost, and between two chunks neither: there it ends by itself, in good order, and before
// that it answers the chunk that it has begun. A second signal ends it wherever it is.
#ifndef VELNOR3GPP_PROGRAM_FILTER_STOP_H
#define VELNOR3GPP_PROGRAM_FILTER_STOP_H

#include <cstddef>

// Catches SIGTERM from here on. Called once, before there are threads.
void filterCatchStop(bool chunks);
// Reads what there is, waiting for the first octet; between chunks also for the signal, which is the end of the input.
// Returns 0 at the end. Throws InputError.
size_t filterRead(char* to, size_t room, bool between);

#endif
