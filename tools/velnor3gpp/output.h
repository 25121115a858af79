// The one writer of the program: a buffer in front of a descriptor that tells when the disk is full and when nobody
// reads any more.
#ifndef VELNOR3GPP_PROGRAM_OUTPUT_H
#define VELNOR3GPP_PROGRAM_OUTPUT_H

#include <cstddef>
#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>

// Writing failed. It ends the program with kExitIo; without a word if the reader has closed the pipe.
struct OutputError : std::runtime_error {
  bool quiet;
  size_t left; // octets that the system did not take
  OutputError(const std::string& text, bool isQuiet, size_t notTaken = 0)
      : std::runtime_error(text), quiet(isQuiet), left(notTaken)
  {
  }
};

// Hands the text to the system, waiting where a descriptor that does not block is full. Returns 0, or errno; `text` is
// then what the system did not take.
int writeAll(int descriptor, std::string_view& text);
// Occupies standard descriptors that are closed, so that no file that is opened takes their place. Reading and writing
// them still fails.
void holdDescriptors();

class Output {
public:
  // Writes to a descriptor that is open and stays open.
  Output(int descriptor, std::string name);
  // Creates or empties the file; throws OutputError. `mode` are its permissions before the umask.
  explicit Output(const std::string& fileName, unsigned mode = 0666);
  Output(const Output&) = delete;
  Output& operator=(const Output&) = delete;
  ~Output(); // closes its own file; what was not flushed is lost

  void write(std::string_view text);
  void put(char c) { write({&c, 1}); }
  __attribute__((format(printf, 2, 3))) void print(const char* format, ...);
  // Hands everything to the system. Throws OutputError.
  void flush();
  // Flushes and closes its own file, whose last octets may fail only now. Throws OutputError.
  void close();
  bool isTerminal() const;

private:
  [[noreturn]] void fail(int error, size_t left = 0);
  void hand(std::string_view text);

  int fd;
  bool own;
  std::string called;
  size_t used = 0;
  static constexpr size_t kRoom = 65536;
  std::unique_ptr<char[]> buffer;
};

#endif
