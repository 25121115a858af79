#include "keys.h"

#include <sys/stat.h>

#include <cerrno>
#include <cstring>
#include <fstream>
#include <set>

#include "frame.h"
#include "hex.h"
#include "names.h"
#include "sameFile.h"

namespace {

struct Line {
  std::string name;
  std::string value;
};

struct Reader {
  const std::string& fileName;
  Keys& keys;
  size_t lineNumber = 0;
  std::set<std::string> seen;
};

} // namespace

Keys::~Keys()
{
  explicit_bzero(integrityKey.data(), integrityKey.size());
  explicit_bzero(cipherKey.data(), cipherKey.size());
}

static void wipe(std::string& text)
{
  explicit_bzero(text.data(), text.size());
}

[[noreturn]] static void refuse(const Reader& reader, const std::string& reason)
{
  throw UsageError(reader.fileName + ":" + std::to_string(reader.lineNumber) + ": " + reason);
}

static uint32_t readNumber(const Reader& reader, const Line& line, uint64_t highest)
{
  uint64_t value = 0;
  for (char c : line.value) {
    if (c < '0' || c > '9') refuse(reader, line.name + " takes a decimal number");
    value = value * 10 + static_cast<uint64_t>(c - '0');
    if (value > highest) refuse(reader, line.name + " goes up to " + std::to_string(highest));
  }
  return static_cast<uint32_t>(value);
}

static uint32_t readAlgorithm(const Reader& reader, const Line& line)
{
  std::string word = lower(line.value);
  if (word == "0" || word == "null") return 0;
  if (word == "2" || word == "aes") return 2;
  refuse(reader, line.name + " is 0 (null) or 2 (AES); others are not supported");
}

// Says nothing about the digits themselves: they are secret.
static void readKey(const Reader& reader, const Line& line, std::array<uint8_t, 16>& key)
{
  if (line.value.size() != 2 * key.size())
    refuse(reader,
           line.name + " has " + std::to_string(line.value.size()) + " characters; it takes 32 hexadecimal digits");
  for (size_t i = 0; i < line.value.size(); ++i) {
    int digit = hexDigit(line.value[i]);
    if (digit < 0) refuse(reader, line.name + ": character " + std::to_string(i + 1) + " is no hexadecimal digit");
    key[i / 2] = static_cast<uint8_t>(key[i / 2] << 4 | digit);
  }
}

// A count has 24 bits (TS 24.501, 4.4.3.1).
static void readCount(Reader& reader, const Line& line)
{
  uint32_t count = readNumber(reader, line, (1 << 24) - 1);
  if (line.name == "uplink-count")
    reader.keys.nextCount[0] = count;
  else if (line.name == "downlink-count")
    reader.keys.nextCount[1] = count;
  else
    reader.keys.count = count;
  if (reader.seen.count("count") && (reader.seen.count("uplink-count") || reader.seen.count("downlink-count")))
    refuse(reader, "either count or uplink-count and downlink-count: they contradict each other");
}

// A name that does not look like one, or has only hexadecimal digits, may be a key that strayed.
static std::string quotedName(const std::string& name)
{
  bool likeName = name.find_first_not_of("abcdefghijklmnopqrstuvwxyz-") == std::string::npos &&
                  name.find_first_not_of("abcdef-") != std::string::npos;
  return likeName ? " '" + name + "'" : "";
}

static void takeLine(Reader& reader, const Line& line)
{
  static const std::set<std::string> kCounts = {"count", "uplink-count", "downlink-count"};
  Keys& keys = reader.keys;
  if (!reader.seen.insert(line.name).second) refuse(reader, line.name + " stands twice");
  if (line.name == "integrity-algorithm")
    keys.integrityAlg = readAlgorithm(reader, line);
  else if (line.name == "ciphering-algorithm")
    keys.cipherAlg = readAlgorithm(reader, line);
  else if (line.name == "integrity-key")
    readKey(reader, line, keys.integrityKey);
  else if (line.name == "ciphering-key")
    readKey(reader, line, keys.cipherKey);
  else if (line.name == "bearer")
    keys.bearer = static_cast<uint8_t>(readNumber(reader, line, 31));
  else if (kCounts.count(line.name))
    readCount(reader, line);
  else
    refuse(reader, "unknown name" + quotedName(line.name) +
                       "; known are integrity-algorithm, ciphering-algorithm, "
                       "integrity-key, ciphering-key, bearer, count, uplink-count, downlink-count");
}

// Splits "name value" or "name = value"; a name is empty for a blank line or a comment.
static Line splitLine(const Reader& reader, const std::string& text)
{
  static const char kBlanks[] = " \t\r";
  size_t start = text.find_first_not_of(kBlanks);
  if (start == std::string::npos || text[start] == '#') return {};
  size_t nameEnd = text.find_first_of(" \t\r=", start);
  size_t value = nameEnd == std::string::npos ? nameEnd : text.find_first_not_of(" \t\r=", nameEnd);
  std::string name = text.substr(start, nameEnd == std::string::npos ? nameEnd : nameEnd - start);
  if (name.size() > 40) refuse(reader, "no name at the start of the line: write name and value");
  if (value == std::string::npos) refuse(reader, "name" + quotedName(name) + " without a value");
  size_t valueEnd = text.find_first_of(kBlanks, value);
  size_t more = valueEnd == std::string::npos ? valueEnd : text.find_first_not_of(kBlanks, valueEnd);
  if (more != std::string::npos && text[more] != '#')
    refuse(reader, "more than one value behind the name" + quotedName(name));
  return {name, text.substr(value, valueEnd == std::string::npos ? valueEnd : valueEnd - value)};
}

// A section is told by the line of its connection, the keys in front of all by the file.
static void checkComplete(const Reader& reader, bool sections)
{
  auto has = [&](const char* name) { return reader.seen.count(name) != 0; };
  auto refuseWhole = [&](const std::string& reason) {
    std::string line = reader.keys.line ? ":" + std::to_string(reader.keys.line) : "";
    throw UsageError(reader.fileName + line + ": " + reason);
  };
  std::string where = reader.keys.line ? " behind this connection" : sections ? " in front of the connections" : "";
  for (const char* name : {"integrity-algorithm", "ciphering-algorithm"})
    if (!has(name)) refuseWhole(std::string("no line ") + name + where + "; write 0 (null) or 2 (AES) behind its name");
  if (reader.keys.integrityAlg && !has("integrity-key"))
    refuseWhole("integrity-algorithm 2 needs a line integrity-key");
  if (reader.keys.cipherAlg && !has("ciphering-key")) refuseWhole("ciphering-algorithm 2 needs a line ciphering-key");
}

// The terms behind the word "connection", or nothing.
static std::optional<std::string> connectionIn(const std::string& text)
{
  static const std::string kWord = "connection";
  size_t start = text.find_first_not_of(" \t\r");
  if (start == std::string::npos || text.compare(start, kWord.size(), kWord)) return {};
  size_t end = start + kWord.size();
  if (end < text.size() && !strchr(" \t\r=", text[end])) return {};
  return text.substr(end, text.find('#') == std::string::npos ? std::string::npos : text.find('#') - end);
}

static Keys& addSection(const Reader& reader, Keys& all, const std::string& terms)
{
  all.connections.push_back(std::make_unique<Keys>());
  Keys& section = *all.connections.back();
  section.line = reader.lineNumber;
  std::string fault = readConnection(terms, section.connection);
  if (!fault.empty()) refuse(reader, fault);
  return section;
}

// Reads a line without what ends it. What gives no line, such as a device, must not fill the memory, and a line that
// does not move leaves no copies of a key behind.
static bool nextLine(std::istream& in, Reader& reader, std::string& text)
{
  static constexpr size_t kMost = 4096;
  text.clear();
  text.reserve(kMost);
  ++reader.lineNumber;
  int c = in.get();
  if (c == EOF) return false;
  for (; c != EOF && c != '\n'; c = in.get()) {
    if (text.size() == kMost) refuse(reader, "the line is longer than 4,096 characters; this is no key file");
    text += static_cast<char>(c);
  }
  if (reader.lineNumber == 1 && text.starts_with("\xEF\xBB\xBF")) text.erase(0, 3); // a byte order mark
  return true;
}

// Reads up to the next section, which it returns, or to the end.
static Keys* readSection(std::istream& in, const std::string& fileName, Keys& keys, Keys& all, size_t& lineNumber)
{
  Reader reader{fileName, keys, lineNumber, {}};
  Keys* next = nullptr;
  for (std::string text; !next && nextLine(in, reader, text); wipe(text)) {
    if (std::optional<std::string> terms = connectionIn(text)) {
      next = &addSection(reader, all, *terms);
      continue;
    }
    Line line = splitLine(reader, text);
    if (!line.name.empty()) takeLine(reader, line);
    wipe(line.value);
  }
  lineNumber = reader.lineNumber;
  keys.none = &keys == &all && next && reader.seen.empty();
  if (!keys.none) checkComplete(reader, next);
  return next;
}

void readKeys(std::istream& in, const std::string& fileName, Keys& keys)
{
  size_t lineNumber = 0;
  for (Keys* section = &keys; section;) section = readSection(in, fileName, *section, keys, lineNumber);
}

static void refuseDirectory(const std::string& fileName)
{
  struct stat facts = {};
  if (stat(fileName.c_str(), &facts) < 0) throw UsageError(fileName + ": cannot be opened: " + strerror(errno));
  if (S_ISDIR(facts.st_mode)) throw UsageError(fileName + ": is a directory; name a key file");
}

// Keys that every user of the machine can read are no secret any more.
static void warnOfReaders(const std::string& fileName)
{
  struct stat facts = {};
  if (stat(fileName.c_str(), &facts) == 0 && S_ISREG(facts.st_mode) && facts.st_mode & S_IROTH)
    complain(fileName + ": all users can read these keys; 'chmod 600 " + fileName + "' mends that");
}

void readKeyFile(const std::string& fileName, Keys& keys)
{
  refuseDirectory(fileName);
  refuseOutput(fileName);
  std::ifstream in(fileName);
  if (!in) throw InputError(fileName + ": cannot be opened: " + strerror(errno));
  in.peek();
  if (in.bad()) throw InputError(fileName + ": cannot be read: " + strerror(errno));
  in.clear(); // an empty file has no line, which is another fault
  readKeys(in, fileName, keys);
  warnOfReaders(fileName);
}
