#include "pretty.h"

#include <algorithm>

std::string prettyJson(std::string_view json)
{
  std::string out;
  size_t depth = 0;
  bool inString = false;
  auto newLine = [&] { out += "\n" + std::string(2 * depth, ' '); };
  for (size_t i = 0; i < json.size(); ++i) {
    char c = json[i];
    if (inString) {
      out += c;
      if (c == '\\' && i + 1 < json.size())
        out += json[++i];
      else if (c == '"')
        inString = false;
      continue;
    }
    bool opens = c == '{' || c == '[', closes = c == '}' || c == ']';
    bool empty = opens && i + 1 < json.size() && (json[i + 1] == '}' || json[i + 1] == ']');
    if (closes && depth && json[i - 1] != '{' && json[i - 1] != '[') {
      --depth;
      newLine();
    }
    out += c;
    inString = c == '"';
    if (c == ':') out += ' ';
    if (opens && !empty) {
      ++depth;
      newLine();
    }
    if (c == ',') newLine();
  }
  return out + "\n";
}

bool ObjectCutter::add(std::string_view& line)
{
  size_t at = 0;
  do {
    char c = line[at++];
    if (escaped)
      escaped = false;
    else if (inString) {
      escaped = c == '\\';
      inString = c != '"';
    } else if (c != ' ' && c != '\t') {
      last = c;
      inString = c == '"';
      if (c == '{' || c == '[') open += c;
      if (c == '}' || c == ']') open.pop_back();
    }
  } while (at < line.size() && isOpen());
  text += line.substr(0, at);
  text += '\n';
  line.remove_prefix(at);
  return !isOpen();
}

bool ObjectCutter::canGoOnWithBrace() const
{
  static constexpr size_t kDeepest = 100; // what the library reads is nested less deep
  return open.size() < kDeepest && (last == '[' || last == ':' || (last == ',' && open.back() == '['));
}

void ObjectCutter::drop()
{
  text.clear();
  open.clear();
  last = 0;
  inString = escaped = false;
}

// Behind the string whose first quote is at `at`, or the end.
static size_t behindString(std::string_view text, size_t at)
{
  for (++at; at < text.size() && text[at] != '"'; ++at)
    if (text[at] == '\\') ++at;
  return std::min(at + 1, text.size());
}

std::optional<std::string_view> memberOf(std::string_view object, std::string_view name)
{
  std::string_view key, before; // the string read last
  size_t depth = 0, from = 0;
  for (size_t at = 0; at < object.size(); ++at) {
    char c = object[at];
    if (c == '"') {
      size_t end = behindString(object, at);
      before = object.substr(at + 1, end - at - 2);
      at = end - 1;
    }
    if (depth == 1 && c == ':') {
      key = before;
      from = at + 1;
    }
    if (depth == 1 && key == name && (c == ',' || c == '}')) {
      from = std::min(object.find_first_not_of(" \t\n", from), at);
      return object.substr(from, object.find_last_not_of(" \t\n", at - 1) + 1 - from);
    }
    depth += c == '{' || c == '[';
    depth -= depth && (c == '}' || c == ']');
  }
  return {};
}
