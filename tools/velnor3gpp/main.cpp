// The command line of velnor3gpp: reads options, calls a command, turns faults into one line and an exit code.
#include <CLI/CLI.hpp>
#include <cerrno>
#include <cstdio>
#include <cstring>

#include "commands.h"
#include "usage.h"

#ifndef VELNOR_VERSION
#error "the build names the version"
#endif

static void addCodingOptions(CLI::App& command, Options& options)
{
  command.add_option("input", options.inputs,
                     "octets in hexadecimal, file names, or - for standard input (one message a line)");
  command.add_option("--as", options.as, "type of the messages, by its full name")->type_name("TYPE");
  command.add_option("--dir", options.direction, "direction of the messages")->check(CLI::IsMember({"up", "down"}));
  command.add_option("--channel", options.channel, "channel of radio resource messages, which tells their form")
      ->check(CLI::IsMember({"bcch", "ccch", "dcch", "sacch", "short"}));
  command.add_option("--keys", options.keyFile, "key file: algorithms, keys, bearer, counts")->type_name("FILE");
  command.add_option("--release", options.release, "newest release of radio capabilities to decode, 0: all")
      ->check(CLI::Range(0, 255));
}

static CLI::App* addDecode(CLI::App& app, Options& options)
{
  CLI::App* command = app.add_subcommand("decode", "Decode messages and print their records");
  addCodingOptions(*command, options);
  command->add_flag("--trace", options.trace, "print the bit trace behind each record");
  command->add_option("--html", options.htmlFile, "write the bit trace as a page; later messages get -2, -3 ...")
      ->type_name("FILE");
  command->add_flag("--reencode", options.reencode, "encode each record again and compare the octets");
  return command;
}

static CLI::App* addRoundtrip(CLI::App& app, Options& options)
{
  CLI::App* command = app.add_subcommand("roundtrip", "Decode, encode again and compare");
  addCodingOptions(*command, options);
  return command;
}

static CLI::App* addTypes(CLI::App& app, Options& options)
{
  CLI::App* command = app.add_subcommand("types", "List the types that --as takes");
  command->add_option("part", options.part, "only types with this in their names");
  command->add_flag("--forms", options.formsOnly, "only top-level forms of messages");
  return command;
}

static int fail(const std::string& text)
{
  std::string line = text;
  for (char& c : line)
    if (c == '\n') c = ' ';
  fflush(stdout);
  fprintf(stderr, "velnor3gpp: %s\n", line.c_str());
  return 2;
}

static int finish(int code)
{
  if (fflush(stdout) == 0 && !ferror(stdout)) return code;
  fprintf(stderr, "velnor3gpp: the output cannot be written: %s\n", strerror(errno));
  return 1;
}

static bool hasCommand(const CLI::App& app, const std::string& name)
{
  for (const CLI::App* command : app.get_subcommands({}))
    if (command->get_name() == name) return true;
  return false;
}

static int runProgram(int argc, char** argv)
{
  Options options;
  CLI::App app("Decodes 3GPP layer-3 messages: records, bit traces, NAS security.", "velnor3gpp");
  app.set_version_flag("--version", std::string("velnor3gpp ") + VELNOR_VERSION);
  CLI::App* decode = addDecode(app, options);
  CLI::App* roundtrip = addRoundtrip(app, options);
  addTypes(app, options);
  app.require_subcommand(1);
  static const char kCommands[] = "; give decode, roundtrip or types ('velnor3gpp --help' explains them)";
  if (argc < 2) return fail(std::string("no command") + kCommands);
  if (argv[1][0] != '-' && !hasCommand(app, argv[1]))
    return fail(std::string("no command '") + argv[1] + "'" + kCommands);
  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& error) {
    if (error.get_exit_code() == 0) return app.exit(error);
    return fail(std::string(error.what()) + " ('velnor3gpp --help' explains)");
  }
  if (decode->parsed()) return decodeCommand(options);
  if (roundtrip->parsed()) return roundtripCommand(options);
  return typesCommand(options);
}

int main(int argc, char** argv)
{
  try {
    return finish(runProgram(argc, argv));
  } catch (const UsageError& error) {
    return fail(error.what());
  } catch (const std::bad_alloc&) {
    return fail("out of memory");
  }
}
