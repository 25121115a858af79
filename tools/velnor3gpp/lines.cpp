#include "lines.h"

#include <algorithm>

#include "hex.h"
#include "names.h"

void LineCutter::add(std::string_view piece)
{
  while (!piece.empty()) {
    size_t end = piece.find('\n');
    std::string_view part = piece.substr(0, end);
    if (end == std::string_view::npos) return keep(part);
    if (kept.empty() && !tooLong)
      tell(part);
    else {
      keep(part);
      tell(kept);
    }
    piece.remove_prefix(end + 1);
  }
}

void LineCutter::finish()
{
  if (!kept.empty() || tooLong) tell(kept);
}

// What does not belong to the line, the mark before it and the CR behind it, has room for itself.
void LineCutter::keep(std::string_view part)
{
  tooLong = tooLong || part.size() > most + 4 - kept.size();
  if (!tooLong) kept += part;
}

void LineCutter::tell(std::string_view line)
{
  ++number;
  if (number == 1 && line.substr(0, 3) == "\xEF\xBB\xBF") line.remove_prefix(3); // a byte order mark
  if (!line.empty() && line.back() == '\r') line.remove_suffix(1);
  takeLine(fileName + ":" + std::to_string(number), line, !tooLong && line.size() <= most);
  kept.clear();
  tooLong = false;
}

static bool isBlank(char c)
{
  return c == ' ' || c == '\t' || c == '\r';
}

// Takes a leading word off the line: a direction, a channel, a type. What could be octets is octets. `fault` says of a
// second word of one kind that it is one.
static bool takeWord(std::string_view word, Message& message, std::string& fault)
{
  if (word.empty() || std::all_of(word.begin(), word.end(), [](char c) { return hexDigit(c) >= 0; })) return false;
  const velnor3gpp_Direction direction = readDirection(word);
  const velnor3gpp_Channel channel = readChannel(word);
  const char* second = nullptr;
  if (direction) {
    second = message.direction ? "direction" : nullptr;
    message.direction = direction;
  } else if (channel) {
    second = message.channel ? "channel" : nullptr;
    message.channel = channel;
  } else if (word.find('_') != std::string_view::npos || findType(std::string(word))) {
    second = message.type.empty() ? nullptr : "type";
    message.type = word;
  } else {
    return false;
  }
  if (second) fault = "'" + std::string(word) + "' is a second " + second + "; write one";
  return true;
}

std::string optionForLead(const std::string& word)
{
  Message message;
  std::string fault;
  if (!takeWord(word, message, fault)) return "";
  if (message.type.empty()) return (message.direction ? "--dir " : "--channel ") + word;
  return findType(word) ? "--as " + word : "";
}

static size_t wordEnd(std::string_view line, size_t at)
{
  while (at < line.size() && !isBlank(line[at])) ++at;
  return at;
}

// Takes the leading words off. Returns where the octets begin, or the word that `fault` is about.
static size_t readLead(std::string_view line, Message& message, std::string& fault)
{
  size_t at = 0;
  for (;;) {
    while (at < line.size() && isBlank(line[at])) ++at;
    size_t end = wordEnd(line, at);
    if (!takeWord(line.substr(at, end - at), message, fault) || !fault.empty()) return at;
    at = end;
  }
}

// Of a word in front of octets that is none and begins with a letter: what it may have been meant to be.
static std::string leadAdvice(std::string_view line, size_t column)
{
  size_t end = wordEnd(line, 0);
  bool isWord = column <= end && !(line[0] >= '0' && line[0] <= '9');
  HexText rest = isWord ? readHex(line.substr(end)) : HexText{};
  if (rest.column || rest.octets.empty()) return "";
  thread_local std::string word, advice; // a file has the same word in many lines, and there are many types
  if (line.substr(0, end) == word) return advice;
  word = line.substr(0, end);
  std::vector<std::string> known = typeNames();
  for (const char* other : {"up", "down", "uplink", "downlink", "bcch", "ccch", "dcch", "sacch", "short"})
    known.emplace_back(other);
  return advice = ", and '" + word + "' is no direction, channel or type" + didYouMean(word, known);
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

std::string columnText(size_t column, const std::string& problem)
{
  return "column " + std::to_string(column) + ": " + problem;
}

static bool isComment(std::string_view line)
{
  size_t start = line.find_first_not_of(" \t\r");
  return start != std::string_view::npos && line[start] == '#';
}

void readMessageLine(const std::string& place, std::string_view line, bool whole,
                     const std::function<void(const Message&)>& take, const std::function<void(const BadLine&)>& bad)
{
  if (!whole && isComment(line)) return;
  if (!whole)
    return bad({place, "the line is longer than 1,048,576 characters; a message has at most 131,072 octets", line, 0});
  if (size_t column = controlColumn(line))
    return bad({place, columnText(column, showChar(line[column - 1]) + " is no text"), line, column});
  Message message;
  message.place = place;
  std::string fault;
  size_t at = readLead(line, message, fault);
  if (!fault.empty()) return bad({place, columnText(at + 1, fault), line, at + 1});
  if (at == line.size() || line[at] == '#') {
    if (at && (!message.type.empty() || message.direction || message.channel))
      bad({place, "no octets behind the first word; write the message on the same line", line, 0});
    return;
  }
  HexText hex = readHex(line.substr(at));
  if (hex.column) {
    std::string problem = hex.problem + leadAdvice(line.substr(at), hex.column);
    return bad({place, columnText(at + hex.column, problem), line, at + hex.column});
  }
  if (hex.octets.empty()) return bad({place, "no octets, but marks between octets", line, 0});
  if (hex.octets.size() > kMostOctets) return bad({place, "the message has more than 131,072 octets", line, 0});
  message.octets = std::move(hex.octets);
  take(message);
}
