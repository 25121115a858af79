#include "arguments.h"

#include <CLI/CLI.hpp>
#include <sstream>

#include "frame.h"
#include "names.h"

Option Option::required()
{
  made->required();
  return *this;
}

Option Option::valueName(const std::string& name)
{
  made->type_name(name);
  return *this;
}

Option Option::check(std::string (*fault)(const std::string& word))
{
  made->check(fault);
  return *this;
}

Option Option::between(int least, int most)
{
  made->check(CLI::Range(least, most)); // in the help; numberFault comes first
  return *this;
}

Option Option::oneOf(const std::vector<std::string>& words)
{
  made->check(CLI::IsMember(words));
  return *this;
}

Command Command::addCommand(const std::string& name, const std::string& purpose, const std::string& footer)
{
  CLI::App* command = made->add_subcommand(name, purpose);
  if (!footer.empty()) command->footer(footer);
  return Command(command);
}

Option Command::addOption(const std::string& name, std::string& value, const std::string& purpose)
{
  return Option(made->add_option(name, value, purpose));
}

static std::string numberFault(const std::string& word)
{
  bool digits = !word.empty() && word.find_first_not_of("0123456789") == std::string::npos;
  if (!digits) return "'" + word + "' is no number; write a whole one, 0 or more";
  return word.size() < 10 ? "" : word + " is too large";
}

Option Command::addOption(const std::string& name, unsigned& value, const std::string& purpose)
{
  return Option(made->add_option(name, value, purpose)).check(numberFault);
}

Option Command::addOption(const std::string& name, std::vector<std::string>& values, const std::string& purpose)
{
  return Option(made->add_option(name, values, purpose));
}

Option Command::addRepeated(const std::string& name, std::vector<std::string>& values, const std::string& purpose)
{
  return Option(made->add_option(name, values, purpose)
                    ->expected(1)
                    ->allow_extra_args(false)
                    ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll));
}

Option Command::addFlag(const std::string& name, bool& value, const std::string& purpose)
{
  return Option(made->add_flag(name, value, purpose));
}

void Command::callback(std::function<void()> run)
{
  made->callback(std::move(run));
}

void Command::hide()
{
  made->group("");
}

Command newCommand(Command& app, const std::string& name, const std::string& purpose,
                   std::initializer_list<Example> examples)
{
  std::string text = examples.size() ? "Examples:" : "";
  for (const Example& example : examples) text += std::string("\n  # ") + example.purpose + "\n  " + example.call;
  return app.addCommand(name, purpose, text);
}

static OptionText textOf(const CLI::Option& option)
{
  return {option.get_snames(),    option.get_lnames(),
          option.get_name(),      option.get_description(),
          option.get_type_name(), option.get_expected_max() > 0 && option.get_type_size() > 0};
}

static CommandText textOf(const CLI::App& command)
{
  CommandText text{command.get_name(), command.get_description(), command.get_footer(), {}};
  for (const CLI::Option* option : command.get_options()) text.options.push_back(textOf(*option));
  return text;
}

std::vector<CommandText> Command::commands() const
{
  std::vector<CommandText> texts;
  const CLI::App& app = *made;
  for (const CLI::App* command : app.get_subcommands([](const CLI::App* each) { return !each->get_group().empty(); }))
    texts.push_back(textOf(*command));
  return texts;
}

CommandLine::CommandLine(const std::string& name, const std::string& purpose, const std::string& version)
    : made(std::make_unique<CLI::App>(purpose, name))
{
  made->set_version_flag("--version", name + " " + version);
  made->require_subcommand(1);
}

CommandLine::~CommandLine() = default;

static std::vector<std::string> commandNames(const CLI::App& app)
{
  std::vector<std::string> names;
  for (const CLI::App* command : app.get_subcommands([](const CLI::App*) { return true; }))
    if (!command->get_group().empty()) names.push_back(command->get_name());
  return names;
}

// Also one that stands in no help.
static bool hasCommand(const CLI::App& app, const std::string& name)
{
  return !app.get_subcommands([&name](const CLI::App* each) { return each->get_name() == name; }).empty();
}

static std::string commandList(const CLI::App& app)
{
  std::string text;
  for (const std::string& name : commandNames(app)) text += (text.empty() ? "" : ", ") + name;
  return text + " ('velnor3gpp --help' explains them)";
}

// The command whose options are being read, or the program.
static const CLI::App& currentOf(const CLI::App& app)
{
  std::vector<CLI::App*> given = app.get_subcommands();
  return given.empty() ? app : *given.front();
}

static std::vector<std::string> optionNames(const CLI::App& command)
{
  std::vector<std::string> names;
  for (const CLI::Option* option : command.get_options())
    for (const std::string& name : option->get_lnames()) names.push_back("--" + name);
  return names;
}

static std::string helpOf(const CLI::App& app)
{
  const CLI::App& command = currentOf(app);
  return " ('velnor3gpp " + (&command == &app ? "" : command.get_name() + " ") + "--help' explains)";
}

// The first word of the command line that nobody takes.
static std::string extraFault(const CLI::App& app)
{
  const CLI::App& command = currentOf(app);
  std::vector<std::string> extras = command.remaining();
  if (extras.empty()) extras = app.remaining(true);
  std::string word = extras.empty() ? "" : extras.front();
  std::string help = helpOf(app);
  if (word.rfind('-', 0) != 0) return "'" + word + "' is too much here" + help;
  std::string name = word.substr(0, word.find('='));
  return "no option '" + name + "'" + didYouMean(name, optionNames(command)) + help;
}

// The parser's own words, but for what people do most: an input or a value that is not there, an option twice.
static std::string parseFault(const CLI::App& app, const CLI::ParseError& error)
{
  const CLI::App& command = currentOf(app);
  if (&command == &app)
    return app.remaining().empty() ? "no command; give one of " + commandList(app) : extraFault(app);
  std::string text = error.what(), name = text.substr(0, text.find_first_of(": "));
  const CLI::Option* option = command.get_option_no_throw(name);
  if (option && error.get_name() == "RequiredError") text = "'" + name + "' is missing: " + option->get_description();
  if (option && error.get_name() == "ArgumentMismatch")
    text = option->results().size() > 1 ? name + " stands here twice; write it once"
                                        : name + " has no value behind it: " + option->get_description();
  return text + helpOf(app);
}

static int fail(Output& out, const std::string& text)
{
  complain(out, text);
  return kExitUsage;
}

int CommandLine::run(Program& program, int argc, char** argv)
{
  CLI::App& app = *made;
  if (argc < 2) return fail(program.out, "no command; give one of " + commandList(app));
  std::vector<std::string> names = commandNames(app);
  std::string first = argv[1];
  if (first.rfind('-', 0) != 0 && !hasCommand(app, first))
    return fail(program.out,
                "no command '" + first + "'" + didYouMean(first, names) + "; give one of " + commandList(app));
  try {
    app.parse(argc, argv);
  } catch (const CLI::ExtrasError&) {
    return fail(program.out, extraFault(app));
  } catch (const CLI::ParseError& error) {
    std::ostringstream text, ignored;
    if (error.get_exit_code() != 0) return fail(program.out, parseFault(app, error));
    app.exit(error, text, ignored);
    program.out.write(text.str());
  }
  return program.code;
}
