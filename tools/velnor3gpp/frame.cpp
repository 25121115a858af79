#include "frame.h"

#include <unistd.h>

CLI::App* newCommand(CLI::App& app, const std::string& name, const std::string& purpose,
                     std::initializer_list<Example> examples)
{
  CLI::App* command = app.add_subcommand(name, purpose);
  std::string text = "Examples:";
  for (const Example& example : examples) text += std::string("\n  # ") + example.purpose + "\n  " + example.call;
  if (examples.size()) command->footer(text);
  return command;
}

void complain(Output& out, const std::string& text)
{
  out.flush();
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
