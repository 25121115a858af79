// The command line of velnor3gpp: reads options, calls a command, turns faults into one line and an exit code.
#include <unistd.h>

#include <csignal>
#include <new>
#include <sstream>

#include "commands.h"
#include "names.h"
#include "velnor3gpp/velnor3gpp.h"

// Every command, in the order of the help.
static constexpr void (*kCommands[])(CLI::App& app, Program& program) = {
    addDecode, addEncode, addRoundtrip, addTrace,   addFilter,     addCapture, addCdr,    addTemplate,
    addSchema, addRedact, addList,      addExplain, addCompletion, addVersion, addManual,
};

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

// The first word of the command line that nobody takes.
static std::string extraFault(const CLI::App& app)
{
  const CLI::App& command = currentOf(app);
  std::vector<std::string> extras = command.remaining();
  if (extras.empty()) extras = app.remaining(true);
  std::string word = extras.empty() ? "" : extras.front();
  std::string help = " ('velnor3gpp " + (&command == &app ? "" : command.get_name() + " ") + "--help' explains)";
  if (word.rfind('-', 0) != 0) return "'" + word + "' is too much here" + help;
  std::string name = word.substr(0, word.find('='));
  return "no option '" + name + "'" + didYouMean(name, optionNames(command)) + help;
}

static int fail(Output& out, int code, const std::string& text)
{
  complain(out, text);
  return code;
}

static int parse(CLI::App& app, Program& program, int argc, char** argv)
{
  if (argc < 2) return fail(program.out, kExitUsage, "no command; give one of " + commandList(app));
  std::vector<std::string> names = commandNames(app);
  std::string first = argv[1];
  if (first.rfind('-', 0) != 0 && !hasCommand(app, first))
    return fail(program.out, kExitUsage,
                "no command '" + first + "'" + didYouMean(first, names) + "; give one of " + commandList(app));
  try {
    app.parse(argc, argv);
  } catch (const CLI::ExtrasError&) {
    return fail(program.out, kExitUsage, extraFault(app));
  } catch (const CLI::ParseError& error) {
    std::ostringstream text, ignored;
    if (error.get_exit_code() != 0)
      return fail(program.out, kExitUsage, std::string(error.what()) + " ('velnor3gpp --help' explains)");
    app.exit(error, text, ignored);
    program.out.write(text.str());
  }
  return program.code;
}

static int runProgram(Output& out, int argc, char** argv)
{
  CLI::App app("Decodes 3GPP layer-3 messages: records, bit traces, NAS security.", "velnor3gpp");
  app.set_version_flag("--version", std::string("velnor3gpp ") + velnor3gpp_version());
  app.require_subcommand(1);
  Program program{app, out};
  for (auto add : kCommands) add(app, program);
  int code = parse(app, program, argc, argv);
  out.flush();
  return code;
}

// What went wrong, on standard error. Behind a fault of the output nothing can be written to it any more.
int main(int argc, char** argv)
{
  signal(SIGPIPE, SIG_IGN); // writing then fails with EPIPE
  signal(SIGXFSZ, SIG_IGN); // and beyond a limit of the file size with EFBIG
  Output out(STDOUT_FILENO, "standard output");
  try {
    return runProgram(out, argc, argv);
  } catch (const OutputError& error) {
    if (error.quiet) return kExitIo;
    return fail(out, kExitIo, error.what());
  } catch (const InputError& error) {
    return fail(out, kExitIo, error.what());
  } catch (const DamageError& error) {
    return fail(out, kExitDamaged, error.what());
  } catch (const UsageError& error) {
    return fail(out, kExitUsage, error.what());
  } catch (const std::bad_alloc&) {
    return fail(out, kExitUsage, "out of memory");
  }
}
