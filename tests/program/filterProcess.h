// The filter as a process of its own, with pipes on both sides, as engines run it.
#pragma once

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

using Words = std::vector<std::string>;

class FilterProcess {
public:
  // `memory`: the most of its own that the process may have, in octets. `blocks`: whether reading waits for input.
  explicit FilterProcess(const Words& options, size_t memory = 0, bool blocks = true)
  {
    signal(SIGPIPE, SIG_IGN); // of a filter that has ended
    int in[2], out[2], err[2];
    EXPECT_EQ(pipe2(in, O_CLOEXEC) | pipe2(out, O_CLOEXEC) | pipe2(err, O_CLOEXEC), 0);
    std::vector<const char*> words = {VELNOR_PROGRAM, "filter"};
    for (const std::string& word : options) words.push_back(word.c_str());
    words.push_back(nullptr);
    if (!blocks) fcntl(in[0], F_SETFL, O_NONBLOCK);
    pid = fork();
    if (pid == 0) {
      rlimit limit = {memory, memory};
      if (memory) setrlimit(RLIMIT_DATA, &limit);
      signal(SIGPIPE, SIG_DFL);
      if (dup2(in[0], 0) < 0 || dup2(out[1], 1) < 0 || dup2(err[1], 2) < 0) _exit(126);
      execv(words[0], const_cast<char**>(words.data()));
      _exit(127);
    }
    for (int used : {in[0], out[1], err[1]}) close(used);
    to = in[1], from = out[0], errors = err[0];
  }
  FilterProcess(const FilterProcess&) = delete;
  ~FilterProcess()
  {
    endInput();
    if (pid) kill(pid, SIGKILL), wait();
    close(from), close(errors);
  }

  void write(std::string_view text)
  {
    while (!text.empty()) {
      ssize_t done = ::write(to, text.data(), text.size());
      if (done < 0) return; // it has ended: its exit says why
      text.remove_prefix(static_cast<size_t>(done));
    }
  }
  void endInput()
  {
    if (to >= 0) close(to);
    to = -1;
  }
  // Reads so many lines, or to the end.
  std::string read(size_t lines = SIZE_MAX)
  {
    std::string text;
    char piece[65536];
    for (size_t seen = 0; seen < lines;) {
      ssize_t count = ::read(from, piece, sizeof piece);
      if (count <= 0) break;
      for (ssize_t i = 0; i < count; ++i) seen += piece[i] == '\n';
      text.append(piece, static_cast<size_t>(count));
    }
    return text;
  }
  void send(int number) { kill(pid, number); }
  // Its exit code, or the signal with a minus. Standard error has what it said.
  int wait()
  {
    int status = 0;
    char piece[4096];
    for (ssize_t count; (count = ::read(errors, piece, sizeof piece)) > 0;) said.append(piece, size_t(count));
    waitpid(pid, &status, 0);
    pid = 0;
    return WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
  }

  std::string said; // on standard error

private:
  pid_t pid = 0;
  int to = -1, from = -1, errors = -1;
};

struct Filtered {
  std::string out, said;
  int code;
};

// The whole of an input, in pieces of the given sizes, over and over.
inline Filtered filtered(const Words& options, std::string_view input, const std::vector<size_t>& pieces = {1 << 20})
{
  FilterProcess process(options);
  std::thread writer([&] {
    for (size_t at = 0, turn = 0; at < input.size(); at += pieces[turn++ % pieces.size()])
      process.write(input.substr(at, pieces[turn % pieces.size()]));
    process.endInput();
  });
  std::string out = process.read();
  writer.join();
  int code = process.wait();
  return {out, process.said, code};
}
