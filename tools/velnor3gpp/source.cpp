#include "source.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <memory>

#include "captureMessages.h"
#include "frame.h"
#include "hex.h"
#include "interrupt.h"
#include "names.h"
#include "printable.h"
#include "sameFile.h"

namespace {

// What a file begins with that another program has to turn into one that is read here.
struct Mark {
  std::string_view octets;
  const char* what;
};

struct File {
  int fd;
  bool own;
  ~File()
  {
    if (own && fd >= 0) close(fd);
  }
};

} // namespace

static constexpr char kWide[] = "is text in UTF-16; write it in UTF-8 ('iconv -f UTF-16 -t UTF-8' does)",
                      kOldCapture[] =
                          "is a capture of a form that is not read; write pcapng ('editcap -F pcapng' does)";
static constexpr Mark kMarks[] = {{"\xFF\xFE", kWide},
                                  {"\xFE\xFF", kWide},
                                  {"\x1F\x8B", "is compressed; unpack it ('gzip -dc' does)"},
                                  {"BZh", "is compressed; unpack it ('bzip2 -dc' does)"},
                                  {"\x04\x22\x4D\x18", "is compressed; unpack it ('lz4 -dc' does)"},
                                  {"snoop", kOldCapture},
                                  {"\x28\xB5\x2F\xFD", "is compressed; unpack it ('zstd -dc' does)"},
                                  {"\xFD\x37zX", "is compressed; unpack it ('xz -dc' does)"},
                                  {"\xA1\xB2\xCD\x34", kOldCapture},
                                  {"\x34\xCD\xB2\xA1", kOldCapture}};

static void refuseForm(const std::string& name, std::string_view start)
{
  for (const Mark& mark : kMarks)
    if (start.starts_with(mark.octets)) throw FormError(name + ": " + mark.what);
}

// One read, as much as there is.
static size_t readSome(const File& file, const std::string& name, char* room, size_t size)
{
  for (;;) {
    if (!waitForInput(file.fd)) return 0;
    ssize_t count = read(file.fd, room, size);
    if (count >= 0) return static_cast<size_t>(count);
    if (errno != EINTR) throw InputError(name + ": cannot be read: " + strerror(errno));
  }
}

// The first read, and more where captures and the marks above begin so: a pipe may give them octet by octet.
static size_t readStart(const File& file, const std::string& name, char* room, size_t size)
{
  static constexpr std::string_view kFirst = "\xA1\xD4\x4D\x0A\xFF\xFE\x1F\x28\xFD\x34\x04"
                                             "Bs";
  size_t count = readSome(file, name, room, size);
  while (count && count < 4 && kFirst.find(room[0]) != std::string_view::npos) {
    size_t more = readSome(file, name, room + count, size - count);
    if (!more) break;
    count += more;
  }
  return count;
}

static void readAll(const File& file, const std::string& name, const TakeLine& take,
                    const std::function<void(size_t)>& progress, const TakeCapture& capture, size_t most)
{
  static constexpr size_t kPiece = 65536;
  std::unique_ptr<char[]> room(new char[kPiece]);
  LineCutter cutter(name, take, most);
  size_t done = 0;
  while (size_t count = (done ? readSome : readStart)(file, name, room.get(), kPiece)) {
    std::string_view piece(room.get(), count);
    if (!done && capture && capture(name, file.fd, piece)) return;
    if (!done) refuseForm(name, piece);
    cutter.add(piece);
    done += piece.size();
    if (progress) progress(done);
  }
  if (!isInterrupted()) cutter.finish(); // what a signal cut off is no last line
}

static void readInput(const std::string& input, const TakeLine& take, const std::function<void(size_t)>& progress,
                      const TakeCapture& capture, size_t most)
{
  if (input == "-") return readAll({STDIN_FILENO, false}, "standard input", take, progress, capture, most);
  File file{open(input.c_str(), O_RDONLY | O_CLOEXEC), true};
  if (file.fd < 0) throw InputError(input + ": cannot be opened: " + strerror(errno));
  readAll(file, printable(input), take, progress, capture, most);
}

static bool isFile(const std::string& input)
{
  struct stat facts = {};
  return input == "-" || stat(input.c_str(), &facts) == 0;
}

static void refuseDirectory(const std::string& input)
{
  struct stat facts = {};
  if (input != "-" && stat(input.c_str(), &facts) == 0 && S_ISDIR(facts.st_mode))
    throw UsageError(input + ": is a directory; name a file in it");
}

// Within a catch.
static void keepFirst(std::exception_ptr& broken, const char* text)
{
  if (broken)
    complain(text);
  else
    broken = std::current_exception();
}

std::exception_ptr readLines(std::vector<std::string> inputs, const TakeLine& take,
                             const std::function<void(size_t)>& progress, const TakeCapture& capture, size_t most)
{
  if (inputs.empty()) inputs = {"-"};
  for (const std::string& input : inputs) {
    if (!isFile(input)) throw UsageError("no file '" + input + "'");
    refuseDirectory(input);
    refuseOutput(input);
  }
  std::exception_ptr broken;
  for (const std::string& input : inputs) {
    try {
      readInput(input, take, progress, capture, most);
    } catch (const DamageError& error) {
      keepFirst(broken, error.what());
    } catch (const InputError& error) {
      keepFirst(broken, error.what());
    } catch (const FormError& error) {
      keepFirst(broken, error.what());
    }
  }
  return broken;
}

void endWith(const std::exception_ptr& broken)
{
  if (broken) std::rethrow_exception(broken);
}

// A word that is no octets is more often a mistyped file name, or a word that leads a line of a file, than mistyped
// octets.
[[noreturn]] static void refuseArgument(const std::string& input, const HexText& hex)
{
  std::string option = optionForLead(input), fault = columnText(hex.column, hex.problem);
  if (!option.empty()) throw UsageError("'" + input + "' stands in front of octets only in a file; write " + option);
  if (input.find('/') != std::string::npos) throw UsageError("no file '" + input + "'");
  fault = input.find_first_of("._") != std::string::npos
              ? "no file '" + input + "', and no octets either: " + fault
              : "argument '" + input + "': " + fault + ", and no file has this name";
  throw UsageError(fault, caretUnder(input, hex.column));
}

static void takeArguments(const std::vector<std::string>& inputs, const Taker& taker)
{
  Message message;
  message.place = "arguments";
  for (const std::string& input : inputs) {
    if (isFile(input)) throw UsageError("'" + input + "' is a file among octets; give either files or octets");
    HexText hex = readHex(input);
    if (hex.column) refuseArgument(input, hex);
    message.octets.insert(message.octets.end(), hex.octets.begin(), hex.octets.end());
  }
  if (message.octets.empty())
    throw UsageError("no octets; give a message in hexadecimal, file names, or - for standard input");
  taker.message(message);
}

std::exception_ptr readMessages(const std::vector<std::string>& inputs, const Taker& taker)
{
  bool piped = inputs.empty() && !isatty(STDIN_FILENO);
  if (!piped && (inputs.empty() || !isFile(inputs.front()))) {
    takeArguments(inputs, taker);
    return nullptr;
  }
  for (const std::string& input : inputs)
    if (!isFile(input)) throw UsageError("no file '" + input + "'; behind a file only files can stand");
  return readLines(
      inputs,
      [&](const std::string& place, std::string_view line, bool whole) {
        readMessageLine(place, line, whole, taker.message, taker.bad);
      },
      taker.progress,
      [&](const std::string& name, int fd, std::string_view first) { return takeCapture(taker, name, fd, first); });
}

std::string caretUnder(std::string_view line, size_t column)
{
  static constexpr size_t kShown = 60, kBefore = 40;
  if (!column) return "";
  size_t from = column > kBefore ? column - kBefore : 0;
  std::string shown(line.substr(from, kShown));
  for (char& c : shown)
    if (static_cast<unsigned char>(c) < 0x20 || static_cast<unsigned char>(c) > 0x7E) c = '.';
  return "  " + shown + "\n  " + std::string(column - 1 - from, ' ') + "^\n";
}

std::string textOf(const BadLine& bad)
{
  return printable(bad.place + "  no message: " + bad.problem) + "\n" + caretUnder(bad.line, bad.column);
}

std::string errorObject(const BadLine& bad)
{
  return "{\"err\":{\"text\":" + jsonString(bad.place + ": " + bad.problem) + "}}\n";
}
