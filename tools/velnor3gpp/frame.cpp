#include "frame.h"

#include <unistd.h>

#include <sstream>

#include "printable.h"

void complain(Output& out, const std::string& text, const std::string& below)
{
  out.flush();
  complain(text, below);
}

void complain(const std::string& text, const std::string& below)
{
  std::string line = "velnor3gpp: " + printable(text) + "\n" + below;
  std::string_view left = line;
  writeAll(STDERR_FILENO, left); // nobody can be told that standard error is full
}

std::string filled(const std::string& text, size_t width)
{
  std::istringstream words(text);
  std::string word, line, result;
  while (words >> word) {
    std::string longer = line.empty() ? word : line + " " + word;
    bool full = !line.empty() && longer.size() > width;
    if (full) result += line + "\n";
    line = full ? word : longer;
  }
  return result + line;
}

std::string counted(size_t count, const char* what)
{
  return std::to_string(count) + " " + what + (count == 1 ? "" : "s");
}

std::string jsonString(std::string_view text)
{
  std::string result = "\"";
  while (!text.empty()) {
    size_t length = utf8Length(text);
    char c = text[0], code[8];
    if (length == 1 && static_cast<unsigned char>(c) < 0x20) {
      snprintf(code, sizeof code, "\\u%04x", static_cast<unsigned>(c));
      result += code;
    } else if (c == '"' || c == '\\')
      result += std::string("\\") + c;
    else
      result += length ? text.substr(0, length) : "\xEF\xBF\xBD";
    text.remove_prefix(length ? length : 1);
  }
  return result + '"';
}

Progress::Progress(const Output& out)
    : on(isatty(STDERR_FILENO) == 1 && !out.isTerminal()),
      next(std::chrono::steady_clock::now() + std::chrono::seconds(1))
{
}

void Progress::show(size_t octets, size_t messages)
{
  if (!on || std::chrono::steady_clock::now() < next) return;
  next = std::chrono::steady_clock::now() + std::chrono::milliseconds(250);
  shown = true;
  fprintf(stderr, "\r%s, %zu MiB read ", counted(messages, "message").c_str(), octets >> 20);
}

void Progress::clear()
{
  if (shown) fprintf(stderr, "\r\033[K");
}
