#include "interrupt.h"

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>

static volatile sig_atomic_t came = 0; // the number of the signal
static std::function<void()> waits;
static int wakeUp[2] = {-1, -1}; // a pipe that the handler writes to: no signal falls between a look and a wait

// Calls nothing but what a handler may call. Nobody reads the pipe, so that it stays ready.
extern "C" void takeInterrupt(int number)
{
  int error = errno;
  came = number;
  if (write(wakeUp[1], "", 1) != 1) came = 0; // the next signal ends the program
  errno = error;
}

// A signal that was ignored before, as in a shell's background, stays so. The second one does what it does by itself.
void catchInterrupts()
{
  static constexpr int kNumbers[] = {SIGINT, SIGTERM};
  if (wakeUp[0] >= 0 || pipe2(wakeUp, O_CLOEXEC) < 0) return;
  for (int number : kNumbers) {
    struct sigaction before = {}, action = {};
    action.sa_handler = takeInterrupt;
    action.sa_flags = SA_RESETHAND;
    if (sigaction(number, nullptr, &before) == 0 && before.sa_handler != SIG_IGN) sigaction(number, &action, nullptr);
  }
}

void beforeWaiting(std::function<void()> act)
{
  waits = std::move(act);
}

// poll passes over the pipe while it is none (-1).
bool waitForInput(int descriptor)
{
  pollfd ready[] = {{descriptor, POLLIN, 0}, {wakeUp[0], POLLIN, 0}};
  if (poll(ready, 2, 0) == 0 && waits) waits();
  while (poll(ready, 2, -1) < 0 && errno == EINTR) {}
  return ready[1].revents == 0;
}

bool isInterrupted()
{
  return came != 0;
}

void endIfInterrupted()
{
  if (!came) return;
  signal(came, SIG_DFL);
  raise(came);
}
