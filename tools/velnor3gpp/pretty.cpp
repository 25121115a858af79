#include "pretty.h"

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

bool ObjectCutter::add(std::string_view line)
{
  if (ended) drop();
  for (char c : line) {
    if (escaped)
      escaped = false;
    else if (inString) {
      escaped = c == '\\';
      inString = c != '"';
    } else if (c == '"')
      inString = true;
    else if (c == '{' || c == '[')
      ++depth;
    else if ((c == '}' || c == ']') && depth)
      ended = --depth == 0;
  }
  text += line;
  text += '\n';
  return ended;
}

void ObjectCutter::drop()
{
  text.clear();
  depth = 0;
  inString = escaped = ended = false;
}
