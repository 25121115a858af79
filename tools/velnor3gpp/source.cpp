#include "source.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iostream>

#include "hex.h"

namespace fs = std::filesystem;

namespace {

struct Lines {
  const std::string& name;
  const std::function<void(const Message&)>& take;
  size_t messages = 0;
  size_t bad = 0;
};

} // namespace

static std::string faultText(const HexText& hex)
{
  return "column " + std::to_string(hex.column) + ": " + hex.problem;
}

static bool isBlank(char c)
{
  return c == ' ' || c == '\t' || c == '\r';
}

// Takes the leading words off the line: "up", "down", a channel, the name of a type. Returns where the octets begin.
static size_t readLead(const std::string& line, Message& message)
{
  size_t at = 0;
  for (;;) {
    while (at < line.size() && isBlank(line[at])) ++at;
    size_t end = at;
    while (end < line.size() && !isBlank(line[end])) ++end;
    std::string_view word = std::string_view(line).substr(at, end - at);
    Direction direction = readWay(word);
    if (direction != Direction::kUnknown)
      message.direction = direction;
    else if (readCarrier(word) != Channel::kUnknown)
      message.channel = readCarrier(word);
    else if (word.starts_with("TS") && word.find('_') != std::string_view::npos)
      message.type = word;
    else
      return at;
    at += word.size();
  }
}

static void badLine(Lines& lines, const std::string& place, const std::string& problem)
{
  ++lines.bad;
  fflush(stdout);
  fprintf(stderr, "velnor3gpp: %s: %s\n", place.c_str(), problem.c_str());
}

static void takeLine(Lines& lines, const std::string& line, size_t number)
{
  Message message;
  message.place = lines.name + ":" + std::to_string(number);
  size_t at = readLead(line, message);
  if (at == line.size() || line[at] == '#') {
    if (!message.type.empty() || message.direction != Direction::kUnknown || message.channel != Channel::kUnknown)
      badLine(lines, message.place, "no octets behind the first word; write the message on the same line");
    return;
  }
  HexText hex = readHex(std::string_view(line).substr(at));
  if (hex.column) {
    hex.column += at;
    badLine(lines, message.place, faultText(hex));
    return;
  }
  if (hex.octets.empty()) return badLine(lines, message.place, "no octets, but marks between octets");
  message.octets = std::move(hex.octets);
  ++lines.messages;
  lines.take(message);
}

static bool isControl(char c)
{
  return static_cast<unsigned char>(c) < 0x20 || c == 0x7F;
}

// A file of octets instead of text shows at its first control character: nothing in it can be a message.
static void refuseBinary(const Lines& lines, const std::string& line, size_t number)
{
  for (size_t i = 0; i < line.size(); ++i)
    if (isControl(line[i]) && line[i] != '\t' && line[i] != '\r')
      throw UsageError(lines.name + ":" + std::to_string(number) + ": column " + std::to_string(i + 1) + ": " +
                       showChar(line[i]) + ": no text; write one message a line in hexadecimal");
}

static size_t readLines(std::istream& in, const std::string& name, const std::function<void(const Message&)>& take)
{
  Lines lines{name, take};
  size_t number = 0;
  for (std::string line; std::getline(in, line);) {
    refuseBinary(lines, line, ++number);
    takeLine(lines, line, number);
  }
  if (in.bad()) throw UsageError(name + ": cannot be read: " + strerror(errno));
  if (!lines.messages && !lines.bad)
    throw UsageError(name + ": holds no message; write one message a line in hexadecimal");
  return lines.bad;
}

static size_t readFile(const std::string& name, const std::function<void(const Message&)>& take)
{
  if (name == "-") return readLines(std::cin, "standard input", take);
  if (fs::is_directory(name)) throw UsageError(name + ": is a directory; name a file in it");
  std::ifstream in(name);
  if (!in) throw UsageError(name + ": cannot be opened: " + strerror(errno));
  return readLines(in, name, take);
}

static bool isFile(const std::string& input)
{
  std::error_code ignored;
  return input == "-" || fs::exists(input, ignored);
}

// A word that is no octets is more often a mistyped file name than mistyped octets.
static std::string argumentFault(const std::string& input, const HexText& hex)
{
  bool likeFile = input.find_first_of("./_") != std::string::npos;
  if (likeFile) return "no file '" + input + "', and no octets either: " + faultText(hex);
  return "argument '" + input + "': " + faultText(hex) + ", and no file has this name";
}

static void takeArguments(const std::vector<std::string>& inputs, const std::function<void(const Message&)>& take)
{
  Message message;
  message.place = "arguments";
  for (const std::string& input : inputs) {
    if (isFile(input)) throw UsageError("'" + input + "' is a file among octets; give either files or octets");
    HexText hex = readHex(input);
    if (hex.column) throw UsageError(argumentFault(input, hex));
    message.octets.insert(message.octets.end(), hex.octets.begin(), hex.octets.end());
  }
  if (message.octets.empty())
    throw UsageError("no octets; give a message in hexadecimal, file names, or - for standard input");
  take(message);
}

size_t readMessages(const std::vector<std::string>& inputs, const std::function<void(const Message&)>& take)
{
  if (inputs.empty() || !isFile(inputs.front())) {
    takeArguments(inputs, take);
    return 0;
  }
  for (const std::string& input : inputs)
    if (!isFile(input)) throw UsageError("no file '" + input + "'; behind a file only files can stand");
  size_t bad = 0;
  for (const std::string& input : inputs) bad += readFile(input, take);
  return bad;
}
