// velnor3gpp roundtrip: decodes each message, encodes it again and compares the octets.
#include "coding.h"
#include "commands.h"
#include "printable.h"

namespace {

struct Options {
  std::vector<std::string> inputs;
  SessionOptions session;
  bool json = false, failOnError = false;
};

struct Run {
  const Options& options;
  Output& out;
  Session session;
  size_t equal = 0, different = 0, sealed = 0, notDecoded = 0;
};

} // namespace

static void tell(Run& run, const std::string& place, const char* outcome, const std::string& text)
{
  if (run.options.json)
    run.out.write("{\"place\":" + jsonString(place) + ",\"outcome\":\"" + outcome + "\",\"text\":" + jsonString(text) +
                  "}\n");
  else
    run.out.write(place + "  " + printable(text) + "\n");
}

static void tellBad(Run& run, const std::string& place, const std::string& reason)
{
  ++run.notDecoded;
  tell(run, place, "not decoded", "not decoded: " + reason);
}

static void roundtripOne(Run& run, const Message& message)
{
  velnor3gpp_Session* session = run.session.get();
  try {
    decodeMessage(session, run.options.session, message);
  } catch (const UsageError& error) {
    if (message.place == "arguments") throw;
    return tellBad(run, message.place, error.what());
  }
  Outcome outcome = outcomeOf(session);
  if (outcome == Outcome::kSealed) {
    ++run.sealed;
    return tell(run, message.place, "ciphered", protectionText(session));
  }
  if (outcome == Outcome::kBad) return tellBad(run, message.place, firstFinding(session));
  Comparison done = compareAgain(session);
  ++(done.equal ? run.equal : run.different);
  tell(run, message.place, done.equal ? "equal" : "different", done.text);
  if (done.equal || run.options.json) return;
  printOctets(run.out, "octets", message.octets.data(), message.octets.size());
  printOctets(run.out, "again", done.octets.data(), done.octets.size());
}

static int roundtrip(const Options& options, Output& out)
{
  typeOf(options.session);
  Run run{options, out, openSession(options.session)};
  std::exception_ptr broken =
      readMessages(options.inputs, {[&](const Message& message) { roundtripOne(run, message); },
                                    [&](const BadLine& bad) { tellBad(run, bad.place, bad.problem); },
                                    {},
                                    &options.session.links});
  size_t bad = run.different + run.notDecoded;
  std::string text = counted(run.equal + run.sealed + bad, "message") + ": " + std::to_string(run.equal) + " equal, " +
                     std::to_string(run.different) + " different, ";
  if (run.sealed) text += std::to_string(run.sealed) + " ciphered (no keys), ";
  complain(out, text + std::to_string(run.notDecoded) + " not decoded");
  endWith(broken);
  return options.failOnError && bad ? kExitBadMessage : kExitDone;
}

void addRoundtrip(Command& app, Program& program)
{
  Command command = newCommand(app, "roundtrip", "Decode, encode again and compare",
                               {{"velnor3gpp roundtrip 7e005b01", "one message"},
                                {"velnor3gpp roundtrip --fail-on-error samples/*.hex", "many, for a script"},
                                {"velnor3gpp roundtrip --as NSSAI 050401010203", "an element by itself"}});
  auto options = std::make_shared<Options>();
  addInputs(command, options->inputs);
  addSessionOptions(command, options->session);
  command.addFlag("--json", options->json, "an object of JSON for each message");
  command.addFlag("--fail-on-error", options->failOnError, "end with 1 if a message does not come back");
  command.callback([&program, options] { program.code = roundtrip(*options, program.out); });
}
