#include "filterStop.h"

#include <poll.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstring>

#include "frame.h"

static std::atomic<bool> canWait = false; // for the end of a chunk or of the whole
static int wakeUp[2] = {-1, -1}; // a pipe that the handler writes to: no signal falls between a look and a wait

// Calls nothing but what a handler may call.
extern "C" void filterTakeStop(int number)
{
  signal(number, SIG_DFL); // for the next one
  if (!canWait || write(wakeUp[1], "", 1) != 1) raise(number);
}

void filterCatchStop(bool chunks)
{
  if (pipe(wakeUp) < 0) return; // the signal keeps what it does by itself
  canWait = chunks;
  struct sigaction action = {};
  action.sa_handler = filterTakeStop;
  action.sa_flags = SA_RESTART;
  sigaction(SIGTERM, &action, nullptr);
}

// Waits for input or for the signal. Returns whether it was the signal.
static bool waitOrStop()
{
  pollfd ready[] = {{STDIN_FILENO, POLLIN, 0}, {wakeUp[0], POLLIN, 0}};
  while (poll(ready, 2, -1) < 0 && errno == EINTR) {}
  return ready[1].revents != 0;
}

// After a reading that failed. Some callers hand over a pipe that does not block: its next octet is waited for.
static bool canTryAgain()
{
  if (errno == EINTR) return true;
  if (errno != EAGAIN) return false;
  pollfd ready = {STDIN_FILENO, POLLIN, 0};
  return poll(&ready, 1, -1) >= 0 || errno == EINTR;
}

size_t filterRead(char* to, size_t room, bool between)
{
  ssize_t count = 0;
  if (!between || !waitOrStop())
    while ((count = read(STDIN_FILENO, to, room)) < 0 && canTryAgain()) {}
  if (count < 0) throw InputError(std::string("standard input: cannot be read: ") + strerror(errno));
  if (count == 0) canWait = true;
  return static_cast<size_t>(count);
}
