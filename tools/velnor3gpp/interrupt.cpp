#include "interrupt.h"

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>

static volatile sig_atomic_t came = 0; // the number of the signal
static std::function<void()> waits;
static int wakeUp[2] = {-1, -1}; // a pipe that the handler writes to: no signal falls between a look and a wait

static constexpr int kNumbers[] = {SIGINT, SIGTERM};
static bool caught[] = {false, false};

// Calls nothing but what a handler may call. Nobody reads the pipe, so that it stays ready. The next signal, whichever
// it is, does what it does by itself.
extern "C" void takeInterrupt(int number)
{
  int error = errno;
  for (int i = 0; i < 2; ++i)
    if (caught[i]) signal(kNumbers[i], SIG_DFL);
  if (write(wakeUp[1], "", 1) == 1) came = number;
  errno = error;
}

// A signal that was ignored before, as in a shell's background, stays so.
void catchInterrupts()
{
  if (wakeUp[0] >= 0 || pipe2(wakeUp, O_CLOEXEC) < 0) return;
  for (int i = 0; i < 2; ++i) {
    struct sigaction before = {}, action = {};
    action.sa_handler = takeInterrupt;
    caught[i] = sigaction(kNumbers[i], nullptr, &before) == 0 && before.sa_handler != SIG_IGN;
    if (caught[i]) sigaction(kNumbers[i], &action, nullptr);
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
