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
#include "names.h"
#include "printable.h"

namespace {

struct File {
  int fd;
  bool own;
  ~File()
  {
    if (own && fd >= 0) close(fd);
  }
};

} // namespace

static void refuseWide(const std::string& name, std::string_view start)
{
  if (start.substr(0, 2) == "\xFF\xFE" || start.substr(0, 2) == "\xFE\xFF")
    throw UsageError(name + ": is text in UTF-16; write it in UTF-8 ('iconv -f UTF-16 -t UTF-8' does)");
}

// One read, as much as there is.
static size_t readSome(const File& file, const std::string& name, char* room, size_t size)
{
  for (;;) {
    ssize_t count = read(file.fd, room, size);
    if (count >= 0) return static_cast<size_t>(count);
    if (errno != EINTR) throw InputError(name + ": cannot be read: " + strerror(errno));
  }
}

// The first read, and more where captures and text in UTF-16 begin so: a pipe may give their mark octet by octet.
static size_t readStart(const File& file, const std::string& name, char* room, size_t size)
{
  static constexpr std::string_view kMarks = "\xA1\xD4\x4D\x0A\xFF\xFE";
  size_t count = readSome(file, name, room, size);
  while (count && count < 4 && kMarks.find(room[0]) != std::string_view::npos) {
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
    if (!done) refuseWide(name, piece);
    cutter.add(piece);
    done += piece.size();
    if (progress) progress(done);
  }
  cutter.finish();
}

static void readInput(const std::string& input, const TakeLine& take, const std::function<void(size_t)>& progress,
                      const TakeCapture& capture, size_t most)
{
  if (input == "-") return readAll({STDIN_FILENO, false}, "standard input", take, progress, capture, most);
  struct stat facts = {};
  if (stat(input.c_str(), &facts) == 0 && S_ISDIR(facts.st_mode))
    throw UsageError(input + ": is a directory; name a file in it");
  File file{open(input.c_str(), O_RDONLY | O_CLOEXEC), true};
  if (file.fd < 0) throw InputError(input + ": cannot be opened: " + strerror(errno));
  readAll(file, printable(input), take, progress, capture, most);
}

static bool isFile(const std::string& input)
{
  struct stat facts = {};
  return input == "-" || stat(input.c_str(), &facts) == 0;
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

// Devices and pipes can be read and written at the same time, files cannot: opening empties them.
bool isSameFile(const std::string& target, const std::string& input)
{
  struct stat to = {}, from = {};
  if (stat(target.c_str(), &to) < 0 || !S_ISREG(to.st_mode)) return false;
  if ((input == "-" ? fstat(STDIN_FILENO, &from) : stat(input.c_str(), &from)) < 0) return false;
  return from.st_dev == to.st_dev && from.st_ino == to.st_ino;
}

void refuseOutput(const std::string& file)
{
  if (isSameFile("/dev/stdout", file))
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
