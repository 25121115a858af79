// Commands and options as the program declares them. The parser behind them takes four seconds to compile in each file
// that sees it, so that arguments.cpp alone does.
#ifndef VELNOR3GPP_PROGRAM_ARGUMENTS_H
#define VELNOR3GPP_PROGRAM_ARGUMENTS_H

#include <functional>
#include <initializer_list>
#include <memory>
#include <string>
#include <vector>

namespace CLI {
class App;
class Option;
} // namespace CLI

struct Program;

// An option or an input of a command. Each function returns the same option, so that they stand in a row.
class Option {
public:
  explicit Option(CLI::Option* made) : made(made) {}
  Option required();
  Option valueName(const std::string& name); // in the help, "FILE"
  // `fault` says why a word cannot be the value, or "".
  Option check(std::string (*fault)(const std::string& word));
  Option between(unsigned least, unsigned most); // the help says so
  // In any case; the value is the word in lower case. `also` are words that completion does not offer.
  Option oneOf(const std::vector<std::string>& words, const std::vector<std::string>& also = {});
  // Refuses the option where it would have no effect: without the other one, or beside it.
  Option needs(const Option& other);
  Option excludes(const Option& other);

private:
  CLI::Option* made;
};

// What the help says of an option; completion and the manual say the same.
struct OptionText {
  std::vector<std::string> shortNames, longNames; // none: an input, which has its name alone
  std::string name, purpose, valueName;
  std::vector<std::string> words; // what the value can be; none: anything
  bool takesValue, repeats;
};

struct CommandText {
  std::string name, purpose, footer;
  std::vector<OptionText> options;
};

// A command, or the program with its commands. The values that options are given have to live until the end.
class Command {
public:
  explicit Command(CLI::App* made) : made(made) {}
  Command addCommand(const std::string& name, const std::string& purpose, const std::string& footer);
  Option addOption(const std::string& name, std::string& value, const std::string& purpose);
  Option addOption(const std::string& name, unsigned& value, const std::string& purpose);
  Option addOption(const std::string& name, std::vector<std::string>& values, const std::string& purpose);
  // An option that can be given several times, with one value each: inputs may stand behind it.
  Option addRepeated(const std::string& name, std::vector<std::string>& values, const std::string& purpose);
  Option addFlag(const std::string& name, bool& value, const std::string& purpose);
  void callback(std::function<void()> run);
  void hide(); // from the help

  // The commands that stand in the help.
  std::vector<CommandText> commands() const;

private:
  CLI::App* made;
};

struct Example {
  const char* call;    // as it is typed, "velnor3gpp decode 7e005b01"; tests run it in a directory with samples
  const char* purpose; // what it is good for, a few words
};

// Makes a command that shows the examples (three) below its options. A call that is long goes on behind a "|" of it, in
// a line that is indented further.
Command newCommand(Command& app, const std::string& name, const std::string& purpose,
                   std::initializer_list<Example> examples);

// The program as a whole.
class CommandLine {
public:
  CommandLine(const std::string& name, const std::string& purpose, const std::string& version,
              std::initializer_list<Example> examples);
  ~CommandLine();
  Command top() const { return Command(made.get()); }
  // Reads the arguments and calls their command. Returns the exit code; what is wrong with the arguments is said on
  // standard error.
  int run(Program& program, int argc, char** argv);

private:
  std::unique_ptr<CLI::App> made;
};

#endif
