#include "frame.h"

#include <unistd.h>

void complain(Output& out, const std::string& text)
{
  out.flush();
  complain(text);
}

void complain(const std::string& text)
{
  std::string line = "velnor3gpp: " + text + "\n";
  size_t end = line.find('\n');
  for (size_t i = 0; i < end; ++i)
    if (static_cast<unsigned char>(line[i]) < 0x20 || line[i] == 0x7F) line[i] = ' ';
  // Nobody can be told that standard error is full.
  if (::write(STDERR_FILENO, line.data(), line.size()) < 0) return;
}

std::string counted(size_t count, const char* what)
{
  return std::to_string(count) + " " + what + (count == 1 ? "" : "s");
}

// How many octets a character of UTF-8 has that begins here, or 0 if none does.
static size_t utf8Length(std::string_view text)
{
  unsigned char first = static_cast<unsigned char>(text[0]);
  size_t length = first < 0x80 ? 1 : first >= 0xC2 && first < 0xE0 ? 2 : first >= 0xE0 && first < 0xF0 ? 3 : 0;
  if (first >= 0xF0 && first < 0xF5) length = 4;
  if (!length || length > text.size()) return 0;
  for (size_t i = 1; i < length; ++i)
    if ((static_cast<unsigned char>(text[i]) & 0xC0) != 0x80) return 0;
  unsigned char second = length > 1 ? static_cast<unsigned char>(text[1]) : 0;
  bool tooLong = (first == 0xE0 && second < 0xA0) || (first == 0xF0 && second < 0x90);
  bool beyond = (first == 0xED && second > 0x9F) || (first == 0xF4 && second > 0x8F);
  return tooLong || beyond ? 0 : length;
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
  fprintf(stderr, "\r%zu messages, %zu MiB read ", messages, octets >> 20);
}

void Progress::clear()
{
  if (shown) fprintf(stderr, "\r\033[K");
}
