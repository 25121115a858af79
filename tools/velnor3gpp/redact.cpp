// velnor3gpp redact: messages without the persons and places in them. A key of random octets lives for one run, so that
// an identity becomes the same other one wherever it stands in the input, and nobody can tell which it was.
#include <sys/random.h>

#include <cerrno>
#include <cstring>

#include "coding.h"
#include "commands.h"
#include "hex.h"
#include "names.h"
#include "titles.h"
#include "velnor3gpp/velnor3gppJson.h"

namespace {

struct Options {
  std::vector<std::string> inputs;
  SessionOptions session;
  bool text = false, json = false;
};

struct Run {
  const Options& options;
  Output& out;
  Session session;
  uint8_t key[16];
  Counts counts;
};

} // namespace

void makeKey(uint8_t (&key)[16])
{
  if (getrandom(key, sizeof key, 0) != static_cast<ssize_t>(sizeof key))
    throw InputError(std::string("no random octets to be had: ") + strerror(errno));
}

// A message that cannot be made anew is left out with its status: its octets would still tell everything.
static void leaveOut(Run& run, const std::string& place, int status)
{
  ++run.counts.bad;
  if (run.options.json)
    run.out.write("{\"err\":{\"status\":" + std::to_string(status) + ",\"text\":" + jsonString(place + ": left out") +
                  "}}\n");
  else
    run.out.write("# " + place + ": left out (status " + std::to_string(status) + ")\n");
}

// The line can be read again: type and direction in front of the octets.
static void printLine(Run& run, const Message& message, const uint8_t* octets, size_t count)
{
  std::string line = message.type.empty() ? "" : message.type + " ";
  if (message.direction) line += std::string(directionName(message.direction)) + " ";
  if (message.channel) line += std::string(channelName(message.channel)) + " ";
  run.out.write(line + plainHex(octets, count) + "\n");
}

static void printRecord(Run& run, const Message& message)
{
  const char* text = nullptr;
  size_t count = 0;
  velnor3gpp_Session* session = run.session.get();
  checkMemory(run.options.json ? velnor3gpp_toJson(session, 0, &text, &count)
                               : velnor3gpp_toText(session, &text, &count));
  if (!run.options.json) run.out.write(message.place + "\n");
  run.out.write(run.options.json ? std::string(text, count) + "\n" : withoutControls(session, {text, count}));
}

static void redactOne(Run& run, const Message& message)
{
  velnor3gpp_Session* session = run.session.get();
  ++run.counts.messages;
  try {
    decodeMessage(session, run.options.session, message);
  } catch (const UsageError&) {
    if (message.place == "arguments") throw;
    return leaveOut(run, message.place, RTX_E_NO_PDU_TYPE);
  }
  velnor3gpp_Result result = resultOf(session);
  bool sealed = outcomeOf(session) == Outcome::kSealed;
  bool whole = result.status == 0 && !result.missing && result.used == result.count;
  if (sealed && !run.options.text && !run.options.json) // what is ciphered tells nothing
    return printLine(run, message, message.octets.data(), message.octets.size());
  if (checkMemory(velnor3gpp_pseudonymise(session, run.key)) < 0 || (!whole && !sealed))
    return leaveOut(run, message.place, result.status ? result.status : RTX_E_END_OF_BUFFER);
  if (run.options.text || run.options.json) return printRecord(run, message);
  const uint8_t* octets = nullptr;
  size_t count = 0;
  int status = checkMemory(velnor3gpp_encode(session, &octets, &count));
  if (status < 0) return leaveOut(run, message.place, status);
  printLine(run, message, octets, count);
}

static int redact(const Options& options, Output& out)
{
  typeOf(options.session);
  Run run{options, out, openSession(options.session), {}, {}};
  makeKey(run.key);
  readMessages(options.inputs, {[&](const Message& message) { redactOne(run, message); },
                                [&](const BadLine& bad) {
                                  ++run.counts.messages;
                                  leaveOut(run, bad.place, RTX_E_BAD_HEX);
                                },
                                {},
                                &options.session.links});
  explicit_bzero(run.key, sizeof run.key);
  if (run.counts.bad)
    complain(out, counted(run.counts.messages, "message") + ": " + std::to_string(run.counts.bad) + " left out");
  return kExitDone;
}

void addRedact(Command& app, Program& program)
{
  Command command =
      newCommand(app, "redact", "Replace identities, numbers, places and payloads in messages",
                 {{"velnor3gpp redact samples/registration-request.hex", "octets, to be decoded like the others"},
                  {"velnor3gpp redact --json samples/attach-request.hex", "records as JSON"},
                  {"velnor3gpp redact --text samples/*.hex", "records as text"}});
  auto options = std::make_shared<Options>();
  addInputs(command, options->inputs);
  addSessionOptions(command, options->session);
  command.addFlag("--text", options->text, "the record as text instead of octets");
  command.addFlag("--json", options->json, "an object of JSON for each message instead of octets");
  command.callback([&program, options] { program.code = redact(*options, program.out); });
}
