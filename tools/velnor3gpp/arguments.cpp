#include "arguments.h"

#include <unistd.h>

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

Option Option::between(unsigned least, unsigned most)
{
  std::string range = std::to_string(least) + " to " + std::to_string(most);
  made->description(made->get_description() + " (" + range + ")");
  made->check([=](const std::string& word) { // behind numberFault
    unsigned long value = std::stoul(word);
    return value < least || value > most ? "'" + word + "' is not in " + range : "";
  });
  return *this;
}

// The words stand behind the name of the value, which textOf knows.
Option Option::oneOf(const std::vector<std::string>& words, const std::vector<std::string>& also)
{
  std::vector<std::string> all = words;
  all.insert(all.end(), also.begin(), also.end());
  auto read = [all](std::string& word) {
    std::string fault = wordFault(word, all);
    if (fault.empty()) word = lower(word);
    return fault;
  };
  made->transform(CLI::Validator(read, CLI::detail::join(words, " "), ""));
  return *this;
}

Option Option::needs(const Option& other)
{
  made->needs(other.made);
  return *this;
}

Option Option::excludes(const Option& other)
{
  made->excludes(other.made);
  return *this;
}

Command Command::addCommand(const std::string& name, const std::string& purpose, const std::string& footer)
{
  CLI::App* command = made->add_subcommand(name, purpose);
  if (!footer.empty()) command->footer(footer);
  return Command(command);
}

static std::string emptyFault(const std::string& word)
{
  return word.empty() ? "has an empty value; leave the option out, or write one" : "";
}

// Values of options are not empty; of inputs their commands say what is wrong.
static Option withValue(CLI::Option* option)
{
  return option->get_positional() ? Option(option) : Option(option).check(emptyFault);
}

Option Command::addOption(const std::string& name, std::string& value, const std::string& purpose)
{
  return withValue(made->add_option(name, value, purpose));
}

static std::string numberFault(const std::string& word)
{
  bool digits = !word.empty() && word.find_first_not_of("0123456789") == std::string::npos;
  if (!digits) return "'" + word + "' is no number; write a whole one, 0 or more";
  return word.size() < 10 ? "" : "'" + word + "' is too large";
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
  return withValue(made->add_option(name, values, purpose)
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

// In the manual an example has so much room in a line of 80 columns.
static constexpr size_t kExampleWidth = 74;

// A call as the shell reads it over several lines: a "|" at the end of one goes on in the next.
static std::string foldedCall(std::string call)
{
  for (size_t start = 0; call.size() - start > kExampleWidth;) {
    size_t at = call.rfind(" | ", start + kExampleWidth - 2);
    if (at == std::string::npos || at <= start) break;
    call.replace(at, 3, " |\n    ");
    start = at + 3;
  }
  return call;
}

static std::string exampleText(std::initializer_list<Example> examples)
{
  std::string text = examples.size() ? "Examples:" : "";
  for (const Example& example : examples)
    text += std::string("\n  # ") + example.purpose + "\n  " + foldedCall(example.call);
  return text;
}

Command newCommand(Command& app, const std::string& name, const std::string& purpose,
                   std::initializer_list<Example> examples)
{
  return app.addCommand(name, purpose, exampleText(examples));
}

static OptionText textOf(const CLI::Option& option)
{
  std::string type = option.get_type_name(); // "WHEN:auto always never"
  size_t split = std::min(type.find(':'), type.size());
  std::vector<std::string> words;
  std::istringstream in(type.substr(std::min(split + 1, type.size())));
  for (std::string word; in >> word;) words.push_back(word);
  bool takesValue = option.get_expected_max() > 0 && option.get_type_size() > 0;
  return {option.get_snames(),
          option.get_lnames(),
          option.get_name(),
          option.get_description(),
          type.substr(0, split),
          words,
          takesValue,
          takesValue && option.get_expected_max() > 1};
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

namespace {

// The help in lines of at most 80 columns.
class Help : public CLI::Formatter {
  static std::string row(const std::string& name, const std::string& purpose, size_t column)
  {
    std::ostringstream out;
    CLI::detail::format_help(out, name, filled(purpose, 80 - column), column);
    return out.str();
  }
  std::string make_option(const CLI::Option* option, bool positional) const override
  {
    return row(make_option_name(option, positional) + make_option_opts(option), make_option_desc(option), 30);
  }
  std::string make_option_opts(const CLI::Option* option) const override
  {
    OptionText text = textOf(*option);
    bool input = option->get_positional();
    return (text.takesValue ? " " + text.valueName : "") + (input && text.repeats ? " ..." : "") +
           (option->get_required() ? " REQUIRED" : "");
  }
  std::string make_subcommand(const CLI::App* command) const override
  {
    return row(command->get_name(), command->get_description(), 14);
  }
};

} // namespace

CommandLine::CommandLine(const std::string& name, const std::string& purpose, const std::string& version,
                         std::initializer_list<Example> examples)
    : made(std::make_unique<CLI::App>(purpose, name))
{
  made->formatter(std::make_shared<Help>());
  made->footer(exampleText(examples));
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

static std::string optionFault(const std::string& word, const CLI::App& command)
{
  std::string name = word.substr(0, word.find('='));
  bool file = !access(word.c_str(), F_OK);
  return "no option '" + name + "'" +
         (file ? "; for the file of this name write ./" + word : didYouMean(name, optionNames(command)));
}

// The first word of the command line that nobody takes.
static std::string extraFault(const CLI::App& app)
{
  const CLI::App& command = currentOf(app);
  std::vector<std::string> extras = command.remaining();
  if (extras.empty()) extras = app.remaining(true);
  std::string word = extras.empty() ? "" : extras.front();
  return (word.rfind('-', 0) == 0 ? optionFault(word, command) : "'" + word + "' is too much here") + helpOf(app);
}

// The first option that was given and has no effect as the others are.
static std::string effectFault(const CLI::App& command)
{
  for (const CLI::Option* option : command.get_options()) {
    if (!option->count()) continue;
    for (const CLI::Option* other : option->get_excludes())
      if (other->count()) return option->get_name() + " and " + other->get_name() + " exclude each other; give one";
    for (const CLI::Option* other : option->get_needs())
      if (!other->count()) return option->get_name() + " has no effect without " + other->get_name();
  }
  return "";
}

// The parser's own words, but for what people do most: an input or a value that is not there, a value that cannot be,
// an option twice or without effect.
static std::string parseFault(const CLI::App& app, const CLI::ParseError& error)
{
  const CLI::App& command = currentOf(app);
  if (&command == &app)
    return app.remaining().empty() ? "no command; give one of " + commandList(app) : extraFault(app);
  std::string text = error.what(), name = text.substr(0, text.find_first_of(": ")), kind = error.get_name();
  const CLI::Option* option = command.get_option_no_throw(name);
  if (option && kind == "RequiredError") text = "'" + name + "' is missing: " + option->get_description();
  if (option && kind == "ArgumentMismatch")
    text = option->results().size() > 1 ? name + " stands here twice; write it once"
                                        : name + " has no value behind it: " + option->get_description();
  if (option && kind == "ValidationError" && !option->get_positional()) text = "option " + text;
  if (kind == "RequiresError" || kind == "ExcludesError") text = effectFault(command);
  return text + helpOf(app);
}

static int fail(Output& out, const std::string& text)
{
  complain(out, text);
  return kExitUsage;
}

// The parser would take the next word for the value of "--as=".
static std::string valueFault(const CLI::App& app, const std::vector<std::string>& words)
{
  for (const std::string& word : words) {
    if (word == "--") break;
    if (word.rfind("--", 0) == 0 && word.find('=') == word.size() - 1)
      return "option " + word.substr(0, word.size() - 1) + ": " + emptyFault("") + helpOf(app);
  }
  return "";
}

// Why the first word can begin no call, or "".
static std::string firstFault(const CLI::App& app, const std::vector<std::string>& words)
{
  if (words.empty()) return "no command; give one of " + commandList(app);
  const std::string& first = words.front();
  if (hasCommand(app, first) || first == "-h" || first == "--help" || first == "--version") return "";
  if (first.rfind('-', 0) != 0)
    return "no command '" + first + "'" + didYouMean(first, commandNames(app)) + "; give one of " + commandList(app);
  for (const std::string& word : words)
    if (hasCommand(app, word)) // as in "velnor3gpp --json decode"
      return "option '" + first + "' stands before the command; write it behind: velnor3gpp " + word + " " + first;
  return optionFault(first, app) + helpOf(app);
}

int CommandLine::run(Program& program, int argc, char** argv)
{
  CLI::App& app = *made;
  const std::vector<std::string> words(argv + 1, argv + argc);
  std::string fault = firstFault(app, words);
  if (fault.empty()) fault = valueFault(app, words);
  if (!fault.empty()) return fail(program.out, fault);
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
