// Runs one round of each work named by the arguments, in a function of its own for a counter of instructions that
// collects in this function alone (instructions.py). Heaps and caches of the library are warm. Prints for each work its
// name and messages, in the order of the rounds.
#include <cstdio>

#include "bench/common/work.h"

extern "C" __attribute__((noinline)) void countedRound(const Work& work)
{
  work.round();
  asm volatile(""
               :
               :
               : "memory"); // else the call of the round ends this function, and its instructions count elsewhere
}

int main(int argc, char** argv)
{
  for (int i = 1; i < argc; ++i) {
    Work work = namedWork(argv[i]);
    work.round();
    countedRound(work);
    printf("%s %zu\n", argv[i], work.messages);
  }
}
