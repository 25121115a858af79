// velnor3gpp decode: messages as text, JSON, values or a view. What is wrong with a message stands behind its record;
// standard error has one line for the whole run, and with --field one for each of the first bad messages.
#include <algorithm>

#include "coding.h"
#include "commands.h"
#include "fieldPath.h"
#include "names.h"
#include "titles.h"
#include "velnor3gpp/velnor3gppJson.h"
#include "view.h"

namespace {

struct Options {
  std::vector<std::string> inputs;
  SessionOptions session;
  bool json = false, names = false, positions = false;
  std::vector<std::string> fields;
  bool view = false;
  unsigned depth = 0;
  std::string colour = "auto";
  bool trace = false, reencode = false, failOnError = false;
};

struct Field {
  FieldPath path;
  bool found; // in any message
};

struct Run {
  const Options& options;
  Output& out;
  Session session;
  ViewStyle style;
  std::vector<Field> fields;
  Counts counts;
  bool different = false; // with --reencode
};

} // namespace

// The direction of a message that reads otherwise in each. Where nobody told it, the octets did.
static std::string directionText(const Run& run, const Message& message, const velnor3gpp_Result& result)
{
  if (!result.direction) return "";
  bool told = message.direction || !run.options.session.direction.empty() || result.check == VELNOR3GPP_VERIFIED;
  return std::string(", ") + directionName(result.direction) +
         (!told && isSentByBoth(run.session.get()) ? " by trial" : "");
}

static void printHeading(Run& run, const Message& message, const std::vector<std::string>& tried)
{
  velnor3gpp_Result result = resultOf(run.session.get());
  std::string title = *result.title && *result.message ? result.title + directionText(run, message, result) : "";
  std::string text = run.counts.messages > 1 ? "\n" : "";
  text += message.place + "  ";
  if (run.options.view && !title.empty())
    text += title;
  else
    text += result.type ? factsOf(result.type).name : "no type";
  text += "  ";
  text += counted(message.octets.size(), "octet");
  if (!run.options.view && !title.empty()) text += "  " + title;
  for (size_t i = 0; i < tried.size(); ++i) text += (i ? ", " : "; tried as ") + tried[i];
  run.out.write(run.options.view ? folded(run.style, text) : text + "\n");
}

static void printRecord(Run& run)
{
  const char* text = nullptr;
  size_t count = 0;
  if (checkMemory(velnor3gpp_toText(run.session.get(), &text, &count)) >= 0)
    run.out.write(withTitles(run.session.get(), {text, count}));
}

static void printTrace(Run& run)
{
  const char* text = nullptr;
  size_t count = 0;
  if (checkMemory(velnor3gpp_trace(run.session.get(), 0, &text, &count)) < 0) return;
  run.out.write("\nbit trace\n");
  run.out.write({text, count});
}

// Encodes the record again and says whether the octets are the same.
static void reencode(Run& run, const Message& message)
{
  Comparison done = compareAgain(run.session.get());
  run.out.put('\n');
  printOctets(run.out, "octets", message.octets.data(), message.octets.size());
  printOctets(run.out, "again", done.octets.data(), done.octets.size());
  run.out.write(done.text + "\n");
  run.different = run.different || !done.equal;
}

static std::string_view jsonOf(Run& run, unsigned flags)
{
  const char* text = nullptr;
  size_t count = 0;
  checkMemory(velnor3gpp_toJson(run.session.get(), flags, &text, &count));
  return {text, count};
}

static void printJson(Run& run, const Message& message)
{
  unsigned flags = (run.options.names ? VELNOR3GPP_NAMES : 0) | (run.options.positions ? VELNOR3GPP_POSITIONS : 0);
  run.out.write("{" + message.lead);
  run.out.write(jsonOf(run, flags).substr(1)); // behind its brace
  run.out.put('\n');
}

// The values of a message between TABs; without a message a line of none, so that lines stay together.
static void printFields(Run& run, const Message* message)
{
  bool names =
      std::any_of(run.fields.begin(), run.fields.end(), [](const Field& each) { return asksForName(each.path); });
  std::string_view json = message ? jsonOf(run, names ? VELNOR3GPP_NAMES : 0) : "{}";
  std::string led;
  if (message && !message->lead.empty()) json = led = "{" + message->lead + std::string(json.substr(1));
  for (size_t i = 0; i < run.fields.size(); ++i) {
    if (i) run.out.put('\t');
    std::string_view value = findField(json, run.fields[i].path);
    run.fields[i].found = run.fields[i].found || value.data();
    run.out.write(value);
  }
  run.out.put('\n');
}

// Values alone do not tell what is wrong; standard error does, of so many bad messages.
static void tellBad(const Run& run, const std::string& place, const std::string& problem)
{
  static constexpr size_t kTold = 10;
  if (run.counts.bad <= kTold) complain(run.out, place + ": " + problem);
  if (run.counts.bad == kTold) complain("bad messages from here on are counted only");
}

static void printText(Run& run, const Message& message, const std::vector<std::string>& tried, Outcome outcome)
{
  printHeading(run, message, tried);
  if (run.options.view)
    printView(run.out, run.style, run.session.get());
  else
    printRecord(run);
  std::string end = endText(run.session.get(), !run.options.view); // a view has the findings
  run.out.write(run.options.view ? folded(run.style, end) : end);
  if (run.options.trace) printTrace(run);
  if (run.options.reencode && outcome <= Outcome::kRemarks) reencode(run, message);
}

static void printBadLine(Run& run, const BadLine& bad)
{
  ++run.counts.messages;
  ++run.counts.bad;
  ++run.counts.noMessage;
  if (!run.fields.empty()) {
    printFields(run, nullptr);
    return tellBad(run, bad.place, bad.problem);
  }
  if (run.options.json) return run.out.write(errorObject(bad));
  run.out.write((run.counts.messages > 1 ? "\n" : "") + textOf(bad));
}

static void decodeOne(Run& run, const Message& message)
{
  std::vector<std::string> tried;
  try {
    decodeMessage(run.session.get(), run.options.session, message, &tried);
  } catch (const UsageError& error) { // of one line among others
    if (message.place == "arguments") throw;
    return printBadLine(run, {message.place, error.what(), "", 0});
  }
  Outcome outcome = outcomeOf(run.session.get());
  count(run.counts, outcome);
  if (!run.fields.empty()) {
    printFields(run, &message);
    if (outcome == Outcome::kBad) tellBad(run, message.place, firstFinding(run.session.get()));
  } else if (run.options.json)
    printJson(run, message);
  else
    printText(run, message, tried, outcome);
}

static int decode(const Options& options, Output& out)
{
  typeOf(options.session);
  Run run{options, out, openSession(options.session), styleFor(out, options.colour, options.depth), {}, {}};
  for (const std::string& path : options.fields) run.fields.push_back({readFieldPath(path), false});
  Progress progress(out);
  std::exception_ptr broken = readMessages(
      options.inputs,
      {[&](const Message& message) { decodeOne(run, message); }, [&](const BadLine& bad) { printBadLine(run, bad); },
       [&](size_t octets) { progress.show(octets, run.counts.messages); }, &options.session.links});
  progress.clear();
  for (size_t i = 0; i < run.fields.size() && run.counts.messages > run.counts.noMessage; ++i)
    if (!run.fields[i].found) complain(out, "--field " + options.fields[i] + ": in no message");
  if (needsSummary(run.counts)) complain(out, summaryOf(run.counts));
  endWith(broken);
  return options.failOnError && (run.counts.bad || run.different) ? kExitBadMessage : kExitDone;
}

// How a message is printed, and what stands behind its record.
static void addFormOptions(Command& command, Options& options)
{
  Option json = command.addFlag("--json", options.json, "an object of JSON for each message");
  command.addFlag("--names", options.names, "with --json: names of values beside them (x$name)").needs(json);
  command.addFlag("--positions", options.positions, "with --json: where each element stands").needs(json);
  Option field = command
                     .addRepeated("--field", options.fields,
                                  "this value alone, a line for each message; several stand between TABs")
                     .valueName("PATH")
                     .excludes(json);
  Option view =
      command.addFlag("--view", options.view, "a line for each field: its octet, its bits, its name, what it means")
          .excludes(json)
          .excludes(field);
  command.addOption("--depth", options.depth, "with --view: open so many levels, 0: all").valueName("N").needs(view);
  command.addOption("--color", options.colour, "with --view: auto (on a terminal), always or never")
      .valueName("WHEN")
      .oneOf({"auto", "always", "never"})
      .needs(view);
  command.addFlag("--trace", options.trace, "print the bit trace behind each record").excludes(json).excludes(field);
  command.addFlag("--reencode", options.reencode, "encode each record again and compare the octets")
      .excludes(json)
      .excludes(field);
}

void addDecode(Command& app, Program& program)
{
  Command command = newCommand(app, "decode", "Decode messages and print their records",
                               {{"velnor3gpp decode 7e005b01", "one message, its octets in hexadecimal"},
                                {"velnor3gpp decode --json samples/registration-request.hex", "a file as JSON"},
                                {"velnor3gpp decode --as NSSAI 050401010203", "an element by itself"}});
  auto options = std::make_shared<Options>();
  addInputs(command, options->inputs);
  addSessionOptions(command, options->session);
  addFormOptions(command, *options);
  command.addFlag("--fail-on-error", options->failOnError, "end with 1 if a message is bad");
  command.callback([&program, options] { program.code = decode(*options, program.out); });
}
