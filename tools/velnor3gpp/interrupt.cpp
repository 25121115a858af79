#include "interrupt.h"

#include <poll.h>

#include <cerrno>
#include <csignal>

static volatile sig_atomic_t came = 0; // the number of the signal
static bool held = false;
static sigset_t before; // the mask without the two signals

extern "C" void takeInterrupt(int number)
{
  came = number;
}

// Blocked but while the program waits: no signal falls between a look and a wait.
void holdInterrupts()
{
  if (held) return;
  sigset_t both;
  sigemptyset(&both);
  struct sigaction action = {};
  action.sa_handler = takeInterrupt;
  static constexpr int kNumbers[] = {SIGINT, SIGTERM};
  for (int number : kNumbers) {
    sigaddset(&both, number);
    sigaction(number, &action, nullptr);
  }
  held = sigprocmask(SIG_BLOCK, &both, &before) == 0;
}

bool waitForInput(int descriptor)
{
  if (!held) return true;
  pollfd ready = {descriptor, POLLIN, 0};
  while (!came && ppoll(&ready, 1, nullptr, &before) < 0 && errno == EINTR) {}
  return !came;
}

bool isInterrupted()
{
  return came != 0;
}

void endIfInterrupted()
{
  if (!came) return;
  signal(came, SIG_DFL);
  sigprocmask(SIG_SETMASK, &before, nullptr);
  raise(came);
}
