// velnor3gpp redact: messages without the persons and places in them. A key of random octets lives for one run, so that
// an identity becomes the same other one wherever it stands in the input, and nobody can tell which it was.
#include <sys/random.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "coding.h"
#include "commands.h"
#include "forms.h"
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

// Does it begin like a plain message of the system whose header stands before it? 7E or 2E of 5GS; of EPS, 07 and the
// type of an EMM message, or 2 below the bearer identity, and the type of an ESM message in the third octet.
static bool beginsPlain(bool eps, const uint8_t* inner, size_t count)
{
  if (!eps) return count && (inner[0] == 0x7E || inner[0] == 0x2E);
  bool mobility = count >= 2 && inner[0] == 7 && inner[1] >= 0x40 && inner[1] < 0x70;
  return mobility || (count >= 3 && (inner[0] & 15) == 2 && inner[2] >= 0xC0 && inner[2] < 0xF0);
}

// The octets of an identity of 15 digits, one after the other, each of two digits. Of ciphered messages of 100 octets,
// three in a hundred have such a row by chance, and are left out for nothing.
static bool hasIdentity(const uint8_t* inner, size_t count)
{
  static constexpr size_t kRow = 8;
  for (size_t i = 0, row = 0; i < count; ++i) {
    row = (inner[i] & 15) <= 9 && inner[i] >> 4 <= 9 ? row + 1 : 0;
    if (row == kRow) return true;
  }
  return false;
}

// The null cipher leaves in clear what the header says is ciphered; security header types 1 and 3 say that it is not.
static bool tellsInClear(const velnor3gpp_Result& result)
{
  bool eps = (result.octets[0] & 15) == 7;
  size_t header = eps ? 6 : 7;
  unsigned kind = eps ? result.octets[0] >> 4 : result.count > 1 ? result.octets[1] & 15 : 0;
  if (kind == 1 || kind == 3) return true;
  const uint8_t* inner = result.octets + std::min(header, result.count);
  size_t count = result.count - std::min(header, result.count);
  return beginsPlain(eps, inner, count) || hasIdentity(inner, count);
}

int redactingFault(velnor3gpp_Session* session)
{
  velnor3gpp_Result result = resultOf(session);
  if (outcomeOf(session) == Outcome::kSealed) return tellsInClear(result) ? result.status : 0;
  if (result.status < 0) return result.status;
  return result.missing || result.used != result.count ? RTX_E_END_OF_BUFFER : 0;
}

int redactOctets(velnor3gpp_Session* session, const uint8_t (&key)[16], std::vector<uint8_t>& octets)
{
  int fault = redactingFault(session);
  if (fault) return fault;
  velnor3gpp_Result result = resultOf(session);
  octets.assign(result.octets, result.octets + result.count);
  if (outcomeOf(session) == Outcome::kSealed) return 0;
  const uint8_t* again = nullptr;
  size_t count = 0, size = result.count;
  const velnor3gpp_Type* type = result.type;
  fault = checkMemory(velnor3gpp_pseudonymise(session, key));
  if (fault >= 0) fault = checkMemory(velnor3gpp_encode(session, &again, &count));
  if (fault < 0) return fault;
  octets.assign(again, again + count);
  fillBlock(type, size, octets);
  return octets.size() == size ? 0 : RTX_E_BAD_LENGTH;
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
  bool records = run.options.text || run.options.json;
  std::vector<uint8_t> octets;
  int status = records ? redactingFault(session) : redactOctets(session, run.key, octets);
  if (records && !status) status = checkMemory(velnor3gpp_pseudonymise(session, run.key));
  if (status < 0) return leaveOut(run, message.place, status);
  if (records) return printRecord(run, message);
  printLine(run, message, octets.data(), octets.size());
}

static int redact(const Options& options, Output& out)
{
  typeOf(options.session);
  Run run{options, out, openSession(options.session), {}, {}};
  makeKey(run.key);
  std::exception_ptr broken = readMessages(options.inputs, {[&](const Message& message) { redactOne(run, message); },
                                                            [&](const BadLine& bad) {
                                                              ++run.counts.messages;
                                                              leaveOut(run, bad.place, RTX_E_BAD_HEX);
                                                            },
                                                            {},
                                                            &options.session.links});
  explicit_bzero(run.key, sizeof run.key);
  if (run.counts.bad)
    complain(out, counted(run.counts.messages, "message") + ": " + std::to_string(run.counts.bad) + " left out");
  endWith(broken);
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
  Option text = command.addFlag("--text", options->text, "the record as text instead of octets");
  command.addFlag("--json", options->json, "an object of JSON for each message instead of octets").excludes(text);
  command.callback([&program, options] { program.code = redact(*options, program.out); });
}
