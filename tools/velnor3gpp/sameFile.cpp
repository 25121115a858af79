#include "sameFile.h"

#include <sys/stat.h>
#include <unistd.h>

#include "faults.h"

// Devices and pipes can be read and written at the same time, files cannot: opening empties them.
static bool isSame(const struct stat& to, const std::string& input)
{
  struct stat from = {};
  if (!S_ISREG(to.st_mode)) return false;
  if ((input == "-" ? fstat(STDIN_FILENO, &from) : stat(input.c_str(), &from)) < 0) return false;
  return from.st_dev == to.st_dev && from.st_ino == to.st_ino;
}

bool isSameFile(const std::string& target, const std::string& input)
{
  struct stat to = {};
  return stat(target.c_str(), &to) == 0 && isSame(to, input);
}

void refuseOutput(const std::string& file)
{
  struct stat to = {};
  if (fstat(STDOUT_FILENO, &to) == 0 && isSame(to, file))
    throw UsageError((file == "-" ? "standard input" : file) + ": is where standard output goes; take another file");
}

void refuseInput(const std::string& target, std::vector<std::string> inputs, const std::string& keyFile)
{
  if (inputs.empty()) inputs = {"-"};
  inputs.push_back(keyFile);
  for (const std::string& input : inputs)
    if (target != "-" && isSameFile(target, input))
      throw UsageError(target + ": is the file that is read; name another one");
}
