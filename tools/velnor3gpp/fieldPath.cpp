#include "fieldPath.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <iterator>

#include "frame.h"

// Members of the object around the record. An element with one of these names is written record.NAME.
static constexpr std::string_view kWhole[] = {"frame",  "time",   "type",    "message",  "dir",        "octets",
                                              "status", "record", "unknown", "findings", "protection", "fields"};

[[noreturn]] static void refuse(const std::string& text)
{
  throw UsageError("'" + text + "' is no path; write names with dots, and entries of lists with their number: " +
                   "record.data.RegAccept5G.taiList.elements[0]");
}

// "[12]": reads the number and moves behind the bracket.
static size_t readIndex(const std::string& text, size_t& at)
{
  size_t end = text.find(']', at), index = 0;
  if (end == std::string::npos || end == at + 1 || end - at > 7) refuse(text);
  for (++at; at < end; ++at) {
    if (text[at] < '0' || text[at] > '9') refuse(text);
    index = index * 10 + static_cast<size_t>(text[at] - '0');
  }
  ++at;
  return index;
}

FieldPath readFieldPath(const std::string& text)
{
  FieldPath path;
  if (text.starts_with('-')) refuse(text); // an option that has got behind --field
  for (size_t at = 0; at <= text.size();) {
    size_t end = std::min(text.find_first_of(".[", at), text.size());
    if (end == at) refuse(text);
    path.steps.push_back({text.substr(at, end - at), 0});
    for (at = end; at < text.size() && text[at] == '[';) path.steps.push_back({"", readIndex(text, at)});
    if (at < text.size() && text[at] != '.') refuse(text);
    ++at; // the dot, behind which a name has to stand
  }
  if (std::find(std::begin(kWhole), std::end(kWhole), path.steps[0].name) == std::end(kWhole))
    path.steps.insert(path.steps.begin(), {"record", 0});
  return path;
}

bool asksForName(const FieldPath& path)
{
  return path.steps.back().name.ends_with("$name");
}

// Behind the string whose first quote is at `at`.
static size_t passString(std::string_view json, size_t at)
{
  for (++at; json[at] != '"'; ++at)
    if (json[at] == '\\') ++at;
  return at + 1;
}

// Behind the value at `at`. There is no recursion: braces are counted.
static size_t passValue(std::string_view json, size_t at)
{
  for (size_t depth = 0;;) {
    char c = json[at];
    if (c == '"') {
      at = passString(json, at);
    } else {
      if (c == '{' || c == '[')
        ++depth;
      else if (c == '}' || c == ']')
        --depth;
      ++at;
    }
    if (depth) continue;
    while (at < json.size() && !strchr(",]}", json[at])) ++at; // the rest of a number or a word
    return at;
  }
}

// The place of the member's value in the object at `at`, or npos.
static size_t findMember(std::string_view json, size_t at, std::string_view name)
{
  if (json[at] != '{') return std::string_view::npos;
  for (++at; json[at] != '}'; at += json[at] == ',') {
    size_t end = passString(json, at);
    bool found = json.substr(at + 1, end - at - 2) == name;
    at = end + 1; // the colon
    if (found) return at;
    at = passValue(json, at);
  }
  return std::string_view::npos;
}

// The place of an entry in the list at `at`, or npos.
static size_t findEntry(std::string_view json, size_t at, size_t index)
{
  if (json[at] != '[') return std::string_view::npos;
  for (++at; json[at] != ']'; at += json[at] == ',') {
    if (index-- == 0) return at;
    at = passValue(json, at);
  }
  return std::string_view::npos;
}

std::string_view findField(std::string_view json, const FieldPath& path)
{
  size_t at = 0;
  for (const FieldStep& step : path.steps) {
    at = step.name.empty() ? findEntry(json, at, step.index) : findMember(json, at, step.name);
    if (at == std::string_view::npos) return {};
  }
  if (json[at] == '"') return json.substr(at + 1, passString(json, at) - at - 2);
  return json.substr(at, passValue(json, at) - at);
}
