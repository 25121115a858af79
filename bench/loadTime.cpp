// Loads each shared library named by the arguments, in turns and in a fresh process each time, and prints the least
// processor time and the page faults of loading: bench/loadTime 300 before/libvelnor3gpp.so after/libvelnor3gpp.so
#include <dlfcn.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <vector>

struct Loading {
  double microseconds = 1e9;
  long faults = 0;
};

static double processTime()
{
  timespec now;
  clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &now);
  return static_cast<double>(now.tv_sec) * 1e6 + static_cast<double>(now.tv_nsec) / 1e3;
}

static long faults()
{
  rusage usage;
  getrusage(RUSAGE_SELF, &usage);
  return usage.ru_minflt;
}

// In the child: what loading takes is written to the pipe.
[[noreturn]] static void load(const char* library, int out)
{
  Loading loading;
  long before = faults();
  double start = processTime();
  void* handle = dlopen(library, RTLD_NOW);
  loading.microseconds = processTime() - start;
  loading.faults = faults() - before;
  if (!handle) fprintf(stderr, "%s\n", dlerror());
  bool good = handle && write(out, &loading, sizeof loading) == sizeof loading;
  _exit(good ? 0 : 1);
}

static Loading loadApart(const char* library)
{
  Loading loading;
  int ends[2];
  if (pipe(ends) != 0) exit(1);
  pid_t child = fork();
  if (child == 0) load(library, ends[1]);
  close(ends[1]);
  bool good = read(ends[0], &loading, sizeof loading) == sizeof loading;
  close(ends[0]);
  waitpid(child, nullptr, 0);
  if (!good) exit(1);
  return loading;
}

int main(int argc, char** argv)
{
  std::vector<Loading> least(static_cast<size_t>(std::max(argc, 2)));
  for (int run = argc > 1 ? atoi(argv[1]) : 0; run > 0; --run)
    for (int i = 2; i < argc; ++i) {
      Loading loading = loadApart(argv[i]);
      if (loading.microseconds < least[static_cast<size_t>(i)].microseconds) least[static_cast<size_t>(i)] = loading;
    }
  for (int i = 2; i < argc; ++i) {
    const Loading& each = least[static_cast<size_t>(i)];
    printf("%7.0f us %5ld page faults  %s\n", each.microseconds, each.faults, argv[i]);
  }
}
