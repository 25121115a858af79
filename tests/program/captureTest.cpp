// Promise: the memory of the program does not grow with a capture.
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include "tests/capture/captures.h"

namespace {

using namespace captures;

struct Ran {
  int code;
  std::string out;
  long kilobytes; // most that it had resident
};

Ran run(const std::string& command)
{
  const std::string file = "/tmp/velnor3gpp-ran-" + std::to_string(getpid());
  const pid_t child = fork();
  if (child == 0) {
    execl("/bin/sh", "sh", "-c", ("exec " VELNOR_PROGRAM " " + command + " >" + file + " 2>&1 </dev/null").c_str(),
          nullptr);
    _exit(127);
  }
  int status = 0;
  rusage used = {};
  wait4(child, &status, 0, &used);
  Ran ran = {WIFEXITED(status) ? WEXITSTATUS(status) : -1, fileText(file), used.ru_maxrss};
  std::filesystem::remove(file);
  return ran;
}

// A capture of large frames that are holes in the file. VELNOR_TEST_EFFORT=50 makes it one of 13 GiB.
TEST(ProgramCaptures, LargeOnesTakeNoMemory)
{
  const Folder folder;
  const size_t frames = 1000 * effort();
  std::ofstream file(folder + "/sparse", std::ios::binary);
  auto putAll = [&](const Octets& octets) {
    file.write(reinterpret_cast<const char*>(octets.data()), long(octets.size()));
  };
  const Octets head = pcap({});
  putAll(head);
  Octets record;
  for (uint32_t field : {1700000000U, 0U, 262144U, 262144U}) put(record, field, 4, true);
  for (size_t i = 0; i < frames; ++i) {
    file.seekp(std::streamoff(head.size() + i * (262144 + 16)));
    putAll(record);
  }
  file.close();
  std::filesystem::resize_file(folder + "/sparse", head.size() + frames * (262144 + 16));
  const Ran ran = run("capture " + folder + "/sparse /dev/null");
  EXPECT_EQ(ran.code, 0);
  EXPECT_NE(ran.out.find(std::to_string(frames) + " frames: 0 messages"), std::string::npos) << ran.out;
#ifndef VELNOR_TEST_BUDGET // sanitizers have memory of their own
  EXPECT_LT(ran.kilobytes, 32 * 1024);
#endif
}

} // namespace
