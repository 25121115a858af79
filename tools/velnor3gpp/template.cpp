// velnor3gpp template: a record to begin with, as JSON. velnor3gpp schema: what a record may be.
#include <cstring>

#include "commands.h"
#include "names.h"
#include "pretty.h"
#include "session.h"
#include "velnor3gpp/velnor3gppJson.h"

namespace {

struct Options {
  std::string type, message;
  bool full = false, body = false, json = false;
};

} // namespace

// Makes a sample of a form that has the message, with its header. False if no form of the module has it.
static bool sampleInForm(velnor3gpp_Session* session, const velnor3gpp_TypeFacts& message, unsigned flags)
{
  for (size_t i = 0; i < velnor3gpp_typeCount(); ++i) {
    const velnor3gpp_Type* form = velnor3gpp_typeAt(i);
    velnor3gpp_TypeFacts facts = factsOf(form);
    if (facts.use != VELNOR3GPP_FORM || strcmp(facts.module, message.module) != 0 || !facts.encodes) continue;
    if (checkMemory(velnor3gpp_sample(session, form, message.title, flags)) == 0) return true;
  }
  return false;
}

// The standard's name of a message of the form, however its case is written; short names of types do as well.
static std::string messageIn(const velnor3gpp_TypeFacts& form, const std::string& name)
{
  std::vector<std::string> known;
  for (size_t i = 0; i < velnor3gpp_typeCount(); ++i) {
    velnor3gpp_TypeFacts facts = factsOf(velnor3gpp_typeAt(i));
    if (facts.use != VELNOR3GPP_MESSAGE || strcmp(facts.module, form.module) != 0) continue;
    if (sameLetters(facts.title, name) || sameLetters(facts.shortName, name)) return facts.title;
    known.push_back(facts.title);
  }
  throw UsageError(std::string("'") + form.name + "' has no message '" + name + "'" + didYouMean(name, known) +
                   " ('velnor3gpp list --use message' shows all)");
}

static void makeSample(velnor3gpp_Session* session, const velnor3gpp_Type* type, const Options& options)
{
  velnor3gpp_TypeFacts facts = factsOf(type);
  if (facts.use != VELNOR3GPP_FORM && !options.message.empty())
    throw UsageError("--message names one of a form's messages, and '" + options.type + "' is no form; leave it out");
  if (facts.use != VELNOR3GPP_MESSAGE && options.body)
    throw UsageError("--body leaves out the header of a message, and '" + options.type + "' has none; leave it out");
  unsigned flags = options.full ? 0 : VELNOR3GPP_MINIMAL;
  bool whole = facts.use == VELNOR3GPP_MESSAGE && !options.body && *facts.title;
  if (whole && sampleInForm(session, facts, flags)) return;
  const char* message = options.message.empty() ? nullptr : options.message.c_str();
  if (checkMemory(velnor3gpp_sample(session, type, message, flags)) == 0) return;
  std::string named = messageIn(facts, options.message);
  if (checkMemory(velnor3gpp_sample(session, type, named.c_str(), flags)) < 0)
    throw UsageError("'" + options.type + "' has no message '" + options.message + "'");
}

static void print(Output& out, const char* text, size_t count, bool line)
{
  std::string whole(text, count);
  std::erase(whole, '\n'); // which schemas of many types have between them
  if (line)
    out.write(whole + "\n");
  else
    out.write(prettyJson({text, count}));
}

static void printTemplate(const Options& options, Output& out)
{
  Session session = openSession({});
  const velnor3gpp_Type* type = typeNamed(options.type);
  makeSample(session.get(), type, options);
  const char* text = nullptr;
  size_t count = 0;
  checkMemory(velnor3gpp_toJson(session.get(), 0, &text, &count));
  print(out, text, count, options.json);
  if (!factsOf(type).encodes)
    complain(out, "type '" + options.type + "' has no encoder of its own; other types hold it");
}

static void printSchema(const Options& options, Output& out)
{
  Session session = openSession({});
  const char* text = nullptr;
  size_t count = 0;
  const velnor3gpp_Type* type = options.type.empty() ? nullptr : typeNamed(options.type);
  checkMemory(velnor3gpp_schema(session.get(), type, &text, &count));
  print(out, text, count, options.json);
}

void addTemplate(Command& app, Program& program)
{
  Command command = newCommand(app, "template", "Print a record of a type as JSON, to be edited and encoded",
                               {{"velnor3gpp template RegAccept", "a message as short as it can be"},
                                {"velnor3gpp template --full NSSAI", "an element with all that it can have"},
                                {"velnor3gpp template TS24501Msg_PDU --message 'Registration reject'", "by its name"}});
  auto options = std::make_shared<Options>();
  command.addOption("type", options->type, "a type, by its full or short name").required();
  command.addOption("--message", options->message, "of a form: which of its messages").valueName("NAME");
  command.addFlag("--full", options->full, "with every element that can be there");
  command.addFlag("--body", options->body, "of a message: without its header");
  command.addFlag("--json", options->json, "in one line");
  command.callback([&program, options] { printTemplate(*options, program.out); });
}

void addSchema(Command& app, Program& program)
{
  Command command = newCommand(app, "schema", "Print the JSON Schema of messages of a type, or of all types",
                               {{"velnor3gpp schema NSSAI", "of an element"},
                                {"velnor3gpp schema TS24501Msg_PDU", "of all messages of 5GS"},
                                {"velnor3gpp schema --json", "of everything, in one line"}});
  auto options = std::make_shared<Options>();
  command.addOption("type", options->type, "a type, by its full or short name; without it all types");
  command.addFlag("--json", options->json, "in one line");
  command.callback([&program, options] { printSchema(*options, program.out); });
}
