// velnor3gpp capture: the messages of a capture, or of lines, in a capture that opens without a setting, as they are or
// without what tells of a person.
#include <algorithm>
#include <cstring>

#include "captureFile.h"
#include "captureMessages.h"
#include "captureOutput.h"
#include "coding.h"
#include "commands.h"
#include "interrupt.h"
#include "names.h"
#include "sameFile.h"
#include "session.h"

namespace {

struct Options {
  std::string in, out;
  std::vector<std::string> only;
  SessionOptions session;
  bool redact = false;
};

struct Run {
  const Options& options;
  Output& words; // standard error goes behind it
  CaptureOutput out;
  Session session;
  size_t messages = 0, written = 0, bad = 0;
  size_t notChosen = 0, leftOut = 0, unfit = 0; // messages that are not written
  std::string frames = {};                      // of a capture: what its frames were
  std::string firstBad = {};                    // the first line without a message, and why
  std::vector<uint8_t> octets = {};
  uint8_t key[16] = {};

  ~Run() { explicit_bzero(key, sizeof key); }
};

} // namespace

// Words and addresses tell of persons as well.
static void hideFrame(velnor3gpp_CaptureFrame& frame)
{
  frame.commentCount = 0;
  frame.connection.has = 0;
}

static bool redact(Run& run, velnor3gpp_CaptureFrame& frame)
{
  hideFrame(frame);
  if (redactOctets(run.session.get(), run.key, run.octets) < 0) return false;
  frame.octets = run.octets.data();
  frame.count = run.octets.size();
  return true;
}

// A word of --only is a direction, a dissector's name, or a part of the message's name, the standard's or the record's.
static bool isChosen(const Run& run, const velnor3gpp_CaptureFrame& frame)
{
  velnor3gpp_Result result = resultOf(run.session.get());
  std::string name = lower(std::string(result.title) + "\n" + (result.message ? result.message : ""));
  return std::all_of(run.options.only.begin(), run.options.only.end(), [&](const std::string& word) {
    velnor3gpp_Direction direction = readDirection(word);
    if (direction != VELNOR3GPP_DIRECTION_UNKNOWN)
      return direction == (frame.direction ? frame.direction : result.direction);
    return lower(word) == frame.dissector || name.find(lower(word)) != std::string::npos;
  });
}

// Writes the message that was decoded, if that was asked for.
static void convert(Run& run, velnor3gpp_CaptureFrame frame)
{
  ++run.messages;
  if (!run.options.only.empty() && !isChosen(run, frame))
    ++run.notChosen;
  else if (run.options.redact && !redact(run, frame))
    ++run.leftOut;
  else
    ++(run.out.write(frame) >= 0 ? run.written : run.unfit);
}

// Decoded as every command decodes it. What no form has is not, and the session says so.
static void decode(Run& run, const velnor3gpp_CaptureFrame& frame)
{
  try {
    decodeMessage(run.session.get(), run.options.session, messageOf(frame));
  } catch (const UsageError&) {
    velnor3gpp_decodeFrame(run.session.get(), &frame);
  }
}

// A frame of a capture. It has the direction of the option if it tells none.
static void convertFrame(Run& run, velnor3gpp_CaptureFrame frame)
{
  const SessionOptions& options = run.options.session;
  if (frame.direction == VELNOR3GPP_DIRECTION_UNKNOWN) frame.direction = readDirection(options.direction);
  if (run.options.redact || !run.options.only.empty()) decode(run, frame);
  convert(run, frame);
}

static void refuse(Run& run, const std::string& place, const std::string& problem)
{
  if (!run.bad++) run.firstBad = place + ": " + problem;
}

// A message of a line goes under the dissector of its form, without a time.
static void convertLine(Run& run, const Message& message)
{
  velnor3gpp_Session* session = run.session.get();
  velnor3gpp_CaptureFrame frame;
  try {
    decodeMessage(session, run.options.session, message);
    frame = frameOf(session, message.octets.data(), message.octets.size());
  } catch (const UsageError& error) {
    return refuse(run, message.place, error.what());
  }
  catchInterrupts();
  convert(run, frame);
}

static void tell(const Run& run)
{
  std::string text = (run.frames.empty() ? counted(run.messages, "message") : run.frames) + "; " +
                     std::to_string(run.written) + " written";
  if (run.notChosen) text += ", " + std::to_string(run.notChosen) + " not chosen";
  if (run.unfit) text += ", " + std::to_string(run.unfit) + " left out with a length or time beyond the format's";
  if (run.leftOut) text += ", " + std::to_string(run.leftOut) + " left out that cannot be read whole";
  if (run.bad) text += ", " + counted(run.bad, "line") + " without a message (" + run.firstBad + ")";
  complain(run.words, text);
}

// What was read is written before damage of what is read is told. A capture without a message makes an empty one, but
// nothing is made of lines without one, nor of what is damaged before the first message.
static int capture(const Options& options, Output& out)
{
  refuseInput(options.out, {options.in}, options.session.keyFile);
  Run run{options, out, {out, options.out}, openSession(options.session)};
  if (options.redact) makeKey(run.key);
  beforeWaiting([&] { run.out.flush(); });
  Taker taker;
  taker.message = [&](const Message& message) { convertLine(run, message); };
  taker.bad = [&](const BadLine& bad) { refuse(run, bad.place, "no message: " + bad.problem); };
  taker.links = &options.session.links;
  taker.frame = [&](const velnor3gpp_CaptureFrame& frame) {
    catchInterrupts(); // the frame is a live capture's for all that is known
    if (frame.reason == VELNOR3GPP_CAPTURE_MESSAGE) convertFrame(run, frame);
  };
  taker.ended = [&](const velnor3gpp_CaptureCounts& counts) { run.frames = countsText(counts); };
  std::exception_ptr broken = readMessages({options.in}, taker);
  bool isCapture = !run.frames.empty();
  if (!isCapture && !run.messages) endWith(broken);
  if (!isCapture && run.bad && !run.messages) throw UsageError(run.firstBad);
  if (!broken && !isInterrupted() && (isCapture || run.messages)) run.out.begin();
  run.out.finish();
  tell(run);
  endIfInterrupted();
  endWith(broken);
  return kExitDone;
}

void addCapture(Command& app, Program& program)
{
  Command command =
      newCommand(app, "capture", "Write messages into a capture that opens without a setting",
                 {{"velnor3gpp capture samples/attach.pcap /tmp/attach.pcapng", "find the messages in a capture"},
                  {"velnor3gpp capture --redact --only up samples/attach.pcap /tmp/attach.pcap",
                   "those of one direction, without what tells of a person"},
                  {"velnor3gpp capture samples/registration-request.hex /tmp/request.pcapng",
                   "lines of octets for the dissector"}});
  auto options = std::make_shared<Options>();
  command.addOption("in", options->in, "capture or lines of octets to read; - is standard input").required();
  command
      .addOption("out", options->out,
                 "capture to write: pcapng, or pcap if it ends in .pcap or .cap; - is standard output")
      .required();
  command
      .addRepeated("--only", options->only, "by direction, dissector or a word of the name; several: all have to hold")
      .valueName("WORD");
  command.addFlag("--redact", options->redact,
                  "replace identities, numbers, places, payloads; no comments, no addresses");
  addSessionOptions(command, options->session);
  command.callback([&program, options] { program.code = capture(*options, program.out); });
}
