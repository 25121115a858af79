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

namespace {

using TakeLine = std::function<void(const std::string& place, std::string_view line, bool whole)>;

// Cuts octets into lines. A line lies in one piece of input, or is gathered from several.
class LineCutter {
public:
  LineCutter(const std::string& name, const TakeLine& take) : fileName(name), takeLine(take) {}

  void add(std::string_view piece)
  {
    while (!piece.empty()) {
      size_t end = piece.find('\n');
      std::string_view part = piece.substr(0, end);
      if (end == std::string_view::npos) return keep(part);
      if (kept.empty() && !tooLong && part.size() <= kMostLine)
        tell(part);
      else {
        keep(part);
        tell(kept);
      }
      piece.remove_prefix(end + 1);
    }
  }
  // A last line need not end.
  void finish()
  {
    if (!kept.empty() || tooLong) tell(kept);
  }

private:
  void keep(std::string_view part)
  {
    tooLong = tooLong || part.size() > kMostLine - kept.size();
    if (!tooLong) kept += part;
  }
  void tell(std::string_view line)
  {
    ++number;
    if (number == 1 && line.substr(0, 3) == "\xEF\xBB\xBF") line.remove_prefix(3); // a byte order mark
    if (!line.empty() && line.back() == '\r') line.remove_suffix(1);
    takeLine(fileName + ":" + std::to_string(number), line, !tooLong);
    kept.clear();
    tooLong = false;
  }

  const std::string& fileName;
  const TakeLine& takeLine;
  std::string kept; // the beginning of a line that goes on
  bool tooLong = false;
  size_t number = 0;
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

static void refuseWide(const std::string& name, std::string_view start)
{
  if (start.substr(0, 2) == "\xFF\xFE" || start.substr(0, 2) == "\xFE\xFF")
    throw UsageError(name + ": is text in UTF-16; write it in UTF-8 ('iconv -f UTF-16 -t UTF-8' does)");
}

static void readAll(const File& file, const std::string& name, const TakeLine& take,
                    const std::function<void(size_t)>& progress, const TakeCapture& capture)
{
  static constexpr size_t kPiece = 65536;
  std::unique_ptr<char[]> room(new char[kPiece]);
  LineCutter cutter(name, take);
  size_t done = 0;
  for (;;) {
    ssize_t count = read(file.fd, room.get(), kPiece);
    if (count < 0 && errno == EINTR) continue;
    if (count < 0) throw InputError(name + ": cannot be read: " + strerror(errno));
    if (count == 0) break;
    std::string_view piece(room.get(), static_cast<size_t>(count));
    if (!done && capture && capture(name, file.fd, piece)) return;
    if (!done) refuseWide(name, piece);
    cutter.add(piece);
    done += piece.size();
    if (progress) progress(done);
  }
  cutter.finish();
}

static void readInput(const std::string& input, const TakeLine& take, const std::function<void(size_t)>& progress,
                      const TakeCapture& capture)
{
  if (input == "-") return readAll({STDIN_FILENO, false}, "standard input", take, progress, capture);
  struct stat facts = {};
  if (stat(input.c_str(), &facts) == 0 && S_ISDIR(facts.st_mode))
    throw UsageError(input + ": is a directory; name a file in it");
  File file{open(input.c_str(), O_RDONLY | O_CLOEXEC), true};
  if (file.fd < 0) throw InputError(input + ": cannot be opened: " + strerror(errno));
  readAll(file, input, take, progress, capture);
}

static bool isFile(const std::string& input)
{
  struct stat facts = {};
  return input == "-" || stat(input.c_str(), &facts) == 0;
}

void readLines(const std::vector<std::string>& inputs, const TakeLine& take,
               const std::function<void(size_t)>& progress, const TakeCapture& capture)
{
  if (inputs.empty()) return readInput("-", take, progress, capture);
  for (const std::string& input : inputs)
    if (!isFile(input)) throw UsageError("no file '" + input + "'");
  for (const std::string& input : inputs) readInput(input, take, progress, capture);
}

static bool isBlank(char c)
{
  return c == ' ' || c == '\t' || c == '\r';
}

// Takes a leading word off the line: a direction, a channel, a type. What could be octets is octets.
static bool takeWord(std::string_view word, Message& message)
{
  if (word.empty() || std::all_of(word.begin(), word.end(), [](char c) { return hexDigit(c) >= 0; })) return false;
  if (readDirection(word) != VELNOR3GPP_DIRECTION_UNKNOWN)
    message.direction = readDirection(word);
  else if (readChannel(word) != VELNOR3GPP_CHANNEL_UNKNOWN)
    message.channel = readChannel(word);
  else if (word.find('_') != std::string_view::npos || findType(std::string(word)))
    message.type = word;
  else
    return false;
  return true;
}

// Takes the leading words off. Returns where the octets begin.
static size_t readLead(std::string_view line, Message& message)
{
  size_t at = 0;
  for (;;) {
    while (at < line.size() && isBlank(line[at])) ++at;
    size_t end = at;
    while (end < line.size() && !isBlank(line[end])) ++end;
    if (!takeWord(line.substr(at, end - at), message)) return at;
    at = end;
  }
}

// Where a control character stands, from 1, or 0.
static size_t controlColumn(std::string_view line)
{
  for (size_t i = 0; i < line.size(); ++i) {
    unsigned char c = static_cast<unsigned char>(line[i]);
    if ((c < 0x20 && c != '\t' && c != '\r') || c == 0x7F) return i + 1;
  }
  return 0;
}

static std::string columnText(size_t column, const std::string& problem)
{
  return "column " + std::to_string(column) + ": " + problem;
}

static void takeLine(const Taker& taker, const std::string& place, std::string_view line, bool whole)
{
  if (!whole) return taker.bad({place, "the line is longer than 131,072 octets, and so than any message", line, 0});
  if (size_t column = controlColumn(line))
    return taker.bad({place, columnText(column, showChar(line[column - 1]) + " is no text"), line, column});
  Message message;
  message.place = place;
  size_t at = readLead(line, message);
  if (at == line.size() || line[at] == '#') {
    if (at && (!message.type.empty() || message.direction || message.channel))
      taker.bad({place, "no octets behind the first word; write the message on the same line", line, 0});
    return;
  }
  HexText hex = readHex(line.substr(at));
  if (hex.column) return taker.bad({place, columnText(at + hex.column, hex.problem), line, at + hex.column});
  if (hex.octets.empty()) return taker.bad({place, "no octets, but marks between octets", line, 0});
  message.octets = std::move(hex.octets);
  taker.message(message);
}

// A word that is no octets is more often a mistyped file name than mistyped octets.
static std::string argumentFault(const std::string& input, const HexText& hex)
{
  std::string fault = columnText(hex.column, hex.problem);
  if (input.find_first_of("./_") != std::string::npos) return "no file '" + input + "', and no octets either: " + fault;
  return "argument '" + input + "': " + fault + ", and no file has this name";
}

static void takeArguments(const std::vector<std::string>& inputs, const Taker& taker)
{
  Message message;
  message.place = "arguments";
  for (const std::string& input : inputs) {
    if (isFile(input)) throw UsageError("'" + input + "' is a file among octets; give either files or octets");
    HexText hex = readHex(input);
    if (hex.column) throw UsageError(withCaret(argumentFault(input, hex), input, hex.column));
    message.octets.insert(message.octets.end(), hex.octets.begin(), hex.octets.end());
  }
  if (message.octets.empty())
    throw UsageError("no octets; give a message in hexadecimal, file names, or - for standard input");
  taker.message(message);
}

void readMessages(const std::vector<std::string>& inputs, const Taker& taker)
{
  bool piped = inputs.empty() && !isatty(STDIN_FILENO);
  if (!piped && (inputs.empty() || !isFile(inputs.front()))) return takeArguments(inputs, taker);
  for (const std::string& input : inputs)
    if (!isFile(input)) throw UsageError("no file '" + input + "'; behind a file only files can stand");
  readLines(
      inputs, [&](const std::string& place, std::string_view line, bool whole) { takeLine(taker, place, line, whole); },
      taker.progress,
      [&](const std::string& name, int fd, std::string_view first) { return takeCapture(taker, name, fd, first); });
}

std::string withCaret(const std::string& fault, std::string_view line, size_t column)
{
  static constexpr size_t kShown = 60, kBefore = 40;
  if (!column) return fault;
  size_t from = column > kBefore ? column - kBefore : 0;
  std::string shown(line.substr(from, kShown));
  for (char& c : shown)
    if (static_cast<unsigned char>(c) < 0x20 || static_cast<unsigned char>(c) > 0x7E) c = '.';
  return fault + "\n  " + shown + "\n  " + std::string(column - 1 - from, ' ') + "^";
}
