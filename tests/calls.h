// Calls of the library written as text, a line for each:
//
//   context function arguments = result
//
// The context is its octets in hexadecimal: "-" is none, "." not even a buffer, "D4*32" an octet 32 times, ">16" a
// buffer of 16 octets that grows. With "+12" behind them it stands at a bit, with "~" they are tried at each bit of an
// octet; "&" goes on with the context of the call before, on a line of its own or behind that: `- f 1 = 0 & g 2 = 3`.
// Arguments are numbers, "characters" with others as \x and two digits, octets, `null`, and names of values that the
// test has. One that the function fills is told by its size in octets, 8:"ab" with something in it.
//
// The result is the status or the text, then what the call changed: the bit
// where the context stands, counted from its first, with the octets up to
// there, and what was filled. There a question mark, 3F, is what nobody
// touched. A text of several lines stands below, each behind "|".
//
// A line with lists in braces is as many lines as they are long, `f {1 2} = {0 -4}` being `f 1 = 0` and `f 2 = -4`.
//
// Each context is gone through again with each of its allocations refused: the
// first call to end otherwise must say so, and nothing may be left over.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <climits>
#include <fstream>
#include <functional>
#include <list>
#include <map>

#include "tests/bench.h"
#include "velnor3gpp/rtxStatus.h"

namespace calls {

using Names = std::map<std::string, const void*>;

// Characters as they stand, others as \x and two hexadecimal digits.
inline std::string quoted(const std::string& characters)
{
  std::string text;
  for (char c : characters)
    text += c >= ' ' && c <= '~' && c != '"' && c != '\\' ? std::string(1, c) : "\\x" + hexText({uint8_t(c)});
  return '"' + text + '"';
}

// Zero-ended.
inline Octets unquoted(const std::string& token)
{
  Octets characters;
  for (size_t i = 1; i + 1 < token.size(); ++i) {
    bool coded = token[i] == '\\';
    characters.push_back(coded ? octetsOfHex(token.substr(i + 2, 2))[0] : uint8_t(token[i]));
    if (coded) i += 3;
  }
  characters.push_back(0);
  return characters;
}

// The words of a line. What stands between quotation marks is one word, together with what leads it: 8:"a b".
inline std::vector<std::string> wordsOf(const std::string& line)
{
  std::vector<std::string> words;
  size_t i = 0;
  while ((i = line.find_first_not_of(' ', i)) != std::string::npos) {
    const size_t start = i, quote = line.find('"', i);
    if (quote < line.find(' ', i)) i = line.find('"', quote + 1); // blanks up to there are part of the word
    i = std::min(line.find(' ', i), line.size());
    words.push_back(line.substr(start, i - start));
  }
  return words;
}

// What the lines on one context share. `memory` has pieces of exact size, so that a sanitizer sees their ends.
struct Scene {
  const Names& names;
  std::list<Octets> memory = {}; // outlives the context, which has pointers to it
  Bench bench = {};
  size_t start = 0; // bit
};

// A call on its way: the arguments to take from its line, and what is to be told of it.
struct Call {
  Scene& scene;
  std::vector<std::string> words;
  size_t next = 2; // behind context and function
  bool onContext = false, isStatus = false, failed = false;
  bool isFree = words.at(1).starts_with("rtxErr"); // of counting records, and of telling a refusal
  std::vector<std::function<std::string()>> filled = {};
  size_t stood = 0, records = 0;
  Octets held = {};

  template <class T> T* room(const std::string& token)
  {
    size_t colon = token.find(':'), size = std::stoul(token);
    Octets held = colon == std::string::npos ? Octets() : unquoted(token.substr(colon + 1));
    // A size is told by the eight octets that it mostly has; where it has four, the others are 0.
    const size_t missing = std::is_same_v<T, size_t> && size == 8 ? size - sizeof(T) : 0;
    held.resize(size - missing, '?');
    Octets* room = &scene.memory.emplace_back(held);
    T* first = reinterpret_cast<T*>(room->data());
    if constexpr (std::is_same_v<T, char>)
      filled.push_back([=] { return quoted(std::string(first, size)); });
    else if constexpr (sizeof(T) > 1 && !std::is_class_v<T>) // as a number is written, the highest octet first
      filled.push_back([=] {
        const bool lowestFirst = std::endian::native == std::endian::little;
        Octets octets = lowestFirst ? Octets(room->rbegin(), room->rend()) : *room;
        return hexText(Octets(missing)) + hexText(octets);
      });
    else
      filled.push_back([=] { return hexText(*room); });
    return first;
  }
  // Characters behind eight octets that no heap takes for its guard, where a call frees what another should have
  // pushed.
  const char* unowned(const Octets& characters)
  {
    Octets& held = scene.memory.emplace_back(8, uint8_t(0xEE));
    held.insert(held.end(), characters.begin(), characters.end());
    return reinterpret_cast<const char*>(held.data() + 8);
  }
  template <class T> T argument()
  {
    if constexpr (std::is_same_v<T, RtxContext*> || std::is_same_v<T, const RtxContext*>) {
      onContext = true;
      return &scene.bench;
    } else {
      const std::string token = words.at(next++);
      if constexpr (std::is_same_v<T, Octets>)
        return octetsOfRuns(token);
      else if constexpr (std::is_floating_point_v<T>)
        return std::stod(token);
      else if constexpr (std::is_integral_v<T>)
        return T(token[0] == '-' ? std::stoll(token, nullptr, 0) : int64_t(std::stoull(token, nullptr, 0)));
      else if (token == "null")
        return nullptr;
      else if (auto named = scene.names.find(token); named != scene.names.end())
        return static_cast<T>(const_cast<void*>(named->second));
      else if constexpr (std::is_same_v<T, const char*>)
        return unowned(unquoted(token));
      else if constexpr (std::is_same_v<T, const uint8_t*>)
        return scene.memory.emplace_back(octetsOfRuns(token)).data();
      else
        return room<std::remove_pointer_t<T>>(token);
    }
  }
  template <class R> std::string textOf(R result)
  {
    if constexpr (std::is_integral_v<R>) {
      isStatus = true;
      failed = std::is_signed_v<R> && result < R(0);
      return std::to_string(result);
    }
    if constexpr (std::is_same_v<R, std::string>) {
      isFree = true; // it is the test's own
      const bool inLines = result.find('\n') != std::string::npos;
      return inLines ? "\n" + result.substr(0, result.find_last_not_of('\n') + 1) : result;
    }
    if constexpr (std::is_pointer_v<R>) {
      if (result == nullptr) return "null";
      if constexpr (std::is_same_v<std::remove_const_t<std::remove_pointer_t<R>>, char>)
        return filled.empty() ? quoted(result) : ""; // else it is what was filled
    }
    return "";
  }
  // Remembers how things stood in front of the call.
  void begin()
  {
    stood = scene.bench.at();
    held = scene.bench.data;
    records = rtxErrGetErrorCnt(&scene.bench);
  }
  // The result with what the call changed; each part stands behind a blank. Error records are told where they are not
  // one for a failure and none for a success.
  std::string end(std::string text)
  {
    const size_t made = rtxErrGetErrorCnt(&scene.bench) - records;
    if (isStatus && !isFree && made != size_t{failed && onContext})
      text += " records " + std::to_string(ptrdiff_t(made));
    if (scene.bench.at() != stood) text += " at " + std::to_string(ptrdiff_t(scene.bench.at() - scene.start));
    if (scene.bench.data != held)
      text += " " + hexText(Bits(scene.bench.data).slice(scene.start, scene.bench.at() - scene.start).octets());
    for (const auto& tell : filled) text += " " + tell();
    return text;
  }
};

using Function = std::string (*)(Call&); // a plain pointer compiles in half the time of std::function
using Functions = std::map<std::string, Function>;

template <class R, class... Arguments> std::string makeCall(Call& call, R (*function)(Arguments...))
{
  std::tuple<Arguments...> arguments{call.argument<Arguments>()...}; // in their order
  call.begin();
  if constexpr (std::is_void_v<R>)
    return std::apply(function, arguments), call.end("");
  else
    return call.end(call.textOf(std::apply(function, arguments)));
}

template <auto function> std::string calling(Call& call)
{
  return makeCall(call, function);
}

// Status and parameters of the last error record, for tests to call.
inline std::string failure(RtxContext* pctxt)
{
  const RtxErrInfo* last = static_cast<Bench*>(pctxt)->lastError();
  std::string text = last != nullptr ? std::to_string(last->status) : "";
  for (int i = 0; last != nullptr && i < last->parmcount; i++) text += std::string(" ") + last->parms[i];
  return text;
}

struct Line {
  std::string words, expected;
};

// The line of that number of all that a line with lists stands for, without them; empty behind the last.
inline std::string withoutLists(std::string line, size_t number)
{
  bool given = number == 0;
  for (size_t open = 0; (open = line.find('{', open)) != std::string::npos;) {
    const size_t close = line.find('}', open);
    const std::vector<std::string> list = wordsOf(line.substr(open + 1, close - open - 1));
    given = number < list.size();
    if (!given) break;
    line.replace(open, close + 1 - open, list[number]);
    open += list[number].size();
  }
  return given ? line : "";
}

// The calls of a line of several: " & " begins one anew where it stands in no characters.
inline std::vector<std::string> callsOf(const std::string& line)
{
  std::vector<std::string> calls(1);
  bool quoted = false;
  for (size_t i = 0; i < line.size(); ++i) {
    quoted ^= line[i] == '"';
    if (!quoted && line.compare(i, 3, " & ") == 0) calls.emplace_back(), ++i;
    calls.back() += line[i];
  }
  return calls;
}

// The lines of a file by their contexts.
inline std::vector<std::vector<Line>> readScenes(const std::string& name)
{
  std::vector<std::vector<Line>> scenes;
  std::ifstream file(name);
  for (std::string line; std::getline(file, line);) {
    if (line.empty() || line[0] == '#') continue;
    if (line[0] == '|') {
      scenes.back().back().expected += "\n" + (line.size() > 2 ? line.substr(2) : "");
      continue;
    }
    for (const std::string& call : callsOf(line))
      for (size_t i = 0; i == 0 || !withoutLists(call, i).empty(); ++i) {
        const std::string one = withoutLists(call, i);
        size_t sign = std::min(one.find(" ="), one.size());
        if (one[0] != '&') scenes.emplace_back();
        scenes.back().push_back({one.substr(0, sign), one.size() > sign + 3 ? one.substr(sign + 3) : ""});
      }
  }
  return scenes;
}

// A context as the first word of its first line says, with its octets behind `shift` bits.
inline void setUp(Scene& scene, const std::string& word, size_t shift)
{
  if (word == ".") return;
  size_t plus = word.find('+');
  Bits bits;
  bits.add(0, shift);
  if (word[0] != '>')
    for (uint8_t octet : octetsOfRuns(word.substr(0, plus))) bits.add(octet, 8);
  scene.bench.bind(bits.octets());
  scene.start = plus == std::string::npos ? shift : std::stoul(word.substr(plus + 1));
  scene.bench.moveTo(scene.start);
  if (word[0] == '>') rtxCtxtSetBufPtr(&scene.bench, nullptr, std::stoul(word.substr(1)));
}

constexpr long kBeyondAll = LONG_MAX;

// Makes the calls on one context. With the allocation numbered `refused` refused, each of which goes to the system
// then, only the first call that ends otherwise is judged. Returns the number of allocations.
inline long run(const std::vector<Line>& lines, size_t shift, long refused, const Functions& functions,
                const Names& names)
{
  Scene scene{names};
  const std::string first = lines[0].words.substr(0, lines[0].words.find(' '));
  if (refused) rtxMemHeapSetFlags(&scene.bench.pMemHeap, RT_MH_USE_SYSMEM);
  setUp(scene, first, shift);
  failing::setUp(refused, refused % 2 == 0);
  bool spoiled = false;
  for (const Line& line : lines) {
    SCOPED_TRACE(line.words + (refused ? ", refused " + std::to_string(refused) : ""));
    Call call{scene, wordsOf(line.words)};
    auto function = functions.find(call.words.at(1));
    if (function == functions.end()) return ADD_FAILURE() << "no such function", 0;
    std::string result = function->second(call);
    result.erase(0, result.find_first_not_of(' '));
    if (spoiled || result == line.expected) continue;
    if (!refused) ADD_FAILURE() << "gives " << result << " at bit " << shift;
    spoiled = refused != 0; // what comes behind a refusal is free
    const bool said =
        result.starts_with("-10") || result.starts_with("-50") || result.starts_with("null") || result.starts_with("0");
    EXPECT_TRUE(!spoiled || said || call.isFree) << "gives " << result;
  }
  return failing::calls;
}

inline void check(const std::string& file, const Functions& functions, const Names& names = {})
{
  for (const auto& lines : readScenes(VELNOR_TEST_DATA "/" + file)) {
    const bool everyBit = lines[0].words.find("~ ") < lines[0].words.find(' ');
    for (size_t shift = 0; shift < (everyBit ? 8 : 1); ++shift) run(lines, shift, 0, functions, names);
    const long asked = run(lines, 0, kBeyondAll, functions, names);
    for (long refused = 1; refused <= asked; ++refused) run(lines, 0, refused, functions, names);
    EXPECT_EQ(failing::inUse, 0) << lines[0].words;
  }
}

} // namespace calls

// A function under its name.
#define CALL(name) std::pair(#name, &calls::calling<name>)
// Another under a name.
#define CALL_AS(name, ...) std::pair(name, &calls::calling<__VA_ARGS__>)
