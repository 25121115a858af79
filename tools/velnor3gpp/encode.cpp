// velnor3gpp encode: records as JSON to octets.
#include <unistd.h>

#include <optional>
#include <utility>

#include "captureFile.h"
#include "captureOutput.h"
#include "coding.h"
#include "commands.h"
#include "hex.h"
#include "interrupt.h"
#include "names.h"
#include "pretty.h"
#include "sameFile.h"
#include "velnor3gpp/rtxStatus.h"
#include "velnor3gpp/velnor3gppJson.h"

namespace {

struct Options {
  std::vector<std::string> inputs;
  SessionOptions session;
  std::string fileName;
  bool binary = false, json = false;
};

struct Run {
  const Options& options;
  Output& out; // standard error goes behind it
  CaptureOutput* capture;
  Session session;
  const velnor3gpp_Type* type;
  std::optional<Output> file = {}; // of --output, opened for the first octets
  size_t objects = 0, bad = 0, passed = 0;
};

// Objects in lines of text. A text that is none, or does not end, spoils what stands up to the next line that begins
// with "{", and no more.
struct Reader {
  Run& run;
  TakeLine take;
  ObjectCutter cutter = {};
  std::string first = {};  // where the object begins
  std::string second = {}; // where its next line stands that begins with "{" as well; empty: it has none
  size_t secondAt = 0;     // in the object
  bool passing = false;    // over the rest of a text that is none
};

} // namespace

// Nothing is made before it is known that there is something to write.
static Output& target(Run& run)
{
  if (run.options.fileName.empty()) return run.out;
  if (!run.file) run.file.emplace(run.options.fileName);
  return *run.file;
}

static void refuse(Run& run, const std::string& place)
{
  ++run.bad;
  bool told = false;
  eachFinding(run.session.get(), [&](const velnor3gpp_Finding& finding) {
    std::string path = *finding.path ? std::string(finding.path) + ": " : "";
    if (!told && finding.fatal) complain(run.out, place + ": " + path + finding.text);
    told = told || finding.fatal;
  });
}

// The time that the object tells, if any.
static void takeTime(const std::string& text, velnor3gpp_CaptureFrame& frame)
{
  std::optional<std::string_view> time = memberOf(text, "time");
  if (time && (!time->starts_with('"') || !readTime(std::string(time->substr(1, time->size() - 2)), frame)))
    throw UsageError("time: write it as \"2023-11-14T22:13:20.5Z\", from 1970 to 2553, or leave it out");
}

// The message in a frame under the dissector of its form. Returns whether it is written.
static bool writeFrame(Run& run, const std::string& place, const std::string& text, const uint8_t* octets, size_t count)
{
  std::string fault = "the octets fit in no frame";
  try {
    velnor3gpp_CaptureFrame frame = frameOf(run.session.get(), octets, count);
    takeTime(text, frame);
    int status = run.capture->write(frame);
    if (status >= 0) return true;
    if (status == RTX_E_BAD_VALUE) fault = "time: pcap has seconds up to February 2106; write into a .pcapng file";
  } catch (const UsageError& error) {
    fault = error.what();
  }
  ++run.bad;
  complain(run.out, place + ": " + fault);
  return false;
}

static void write(Run& run, const uint8_t* octets, size_t count)
{
  if (run.options.binary) return target(run).write({reinterpret_cast<const char*>(octets), count});
  std::string hex = plainHex(octets, count);
  velnor3gpp_Result result = resultOf(run.session.get());
  if (run.options.json)
    hex = "{\"type\":" + jsonString(result.type ? factsOf(result.type).name : "") + ",\"octets\":\"" + hex + "\"}";
  target(run).write(hex + "\n");
}

// What decode and filter write of a line without a message.
static bool isError(const std::string& text)
{
  return memberOf(text, "err") && !memberOf(text, "record");
}

static void pass(Run& run)
{
  --run.objects;
  ++run.passed;
}

static void encodeOne(Run& run, const std::string& place, const std::string& text)
{
  ++run.objects;
  velnor3gpp_Session* session = run.session.get();
  const uint8_t* octets = nullptr;
  size_t count = 0;
  if (checkMemory(velnor3gpp_fromJson(session, run.type, text.data(), text.size())) < 0)
    return isError(text) ? pass(run) : refuse(run, place);
  if (checkMemory(velnor3gpp_encode(session, &octets, &count)) < 0) return refuse(run, place);
  if (!run.capture)
    write(run, octets, count);
  else if (!writeFrame(run, place, text, octets, count))
    return;
  noteEncoded(session, run.options.session);
}

static void refuseText(Run& run, const std::string& problem)
{
  ++run.objects;
  ++run.bad;
  complain(run.out, problem);
}

// Lines of the object that may be the beginning of another one are read once more.
static void giveUp(Reader& reader, const std::string& problem)
{
  refuseText(reader.run, reader.first + ": " + problem);
  reader.passing = true;
  std::string place = std::exchange(reader.second, ""), rest;
  if (!place.empty()) rest = reader.cutter.object().substr(reader.secondAt);
  reader.cutter.drop();
  if (place.empty()) return;
  std::string name = place.substr(0, place.rfind(':'));
  LineCutter(name, reader.take, VELNOR3GPP_JSON_MAX, std::stoul(place.substr(name.size() + 1)) - 1).add(rest);
}

static void takeObjects(Reader& reader, const std::string& place, std::string_view line)
{
  ObjectCutter& cutter = reader.cutter;
  while (line.find_first_not_of(" \t\r") != std::string_view::npos) {
    if (!cutter.isOpen()) {
      line.remove_prefix(line.find_first_not_of(" \t\r"));
      reader.first = place;
      reader.passing = line[0] != '{';
      if (reader.passing)
        return refuseText(reader.run, place + ": no object of JSON; 'velnor3gpp template RegAccept' shows one");
    }
    if (!cutter.add(line)) break;
    encodeOne(reader.run, reader.first, cutter.object());
    cutter.drop();
  }
  if (cutter.isOpen() && !cutter.canGoOn()) giveUp(reader, "a string does not end in its line");
}

static void takeLine(Reader& reader, const std::string& place, std::string_view line, bool whole)
{
  static const char kTooLong[] = "the object has more than 16 MiB, and so more than any message";
  ObjectCutter& cutter = reader.cutter;
  bool begins = line.starts_with('{');
  while (begins && cutter.isOpen() && !cutter.canGoOnWithBrace()) giveUp(reader, "the object does not end");
  if (!cutter.isOpen()) {
    reader.first = place;
    reader.second.clear();
  }
  if (!whole || cutter.object().size() > VELNOR3GPP_JSON_MAX) giveUp(reader, kTooLong);
  if (!whole || (reader.passing && !begins)) return;
  if (begins && cutter.isOpen() && reader.second.empty()) {
    reader.second = place;
    reader.secondAt = cutter.object().size();
  }
  takeObjects(reader, place, line);
}

static void encodeAll(Run& run)
{
  Reader reader{run, {}};
  reader.take = [&](const std::string& place, std::string_view line, bool whole) {
    takeLine(reader, place, line, whole);
  };
  std::exception_ptr broken = readLines(run.options.inputs, reader.take, {}, {}, VELNOR3GPP_JSON_MAX);
  while (reader.cutter.isOpen()) giveUp(reader, "the object does not end");
  endWith(broken);
}

// Where no object is encoded, nothing is made.
static void finish(Run& run)
{
  if (run.options.fileName.empty() || (run.objects && run.bad == run.objects)) return;
  if (run.capture)
    run.capture->finish();
  else
    target(run).close();
}

static void checkInput(const Options& options)
{
  if (options.inputs.empty() && isatty(STDIN_FILENO))
    throw UsageError("no records; give files of JSON, or - for standard input");
  if (isCaptureName(options.fileName) && (options.binary || options.json))
    throw UsageError(options.fileName + ": is a capture by its name; leave " + (options.json ? "--json" : "--binary") +
                     " out");
  if (!options.fileName.empty()) refuseInput(options.fileName, options.inputs, options.session.keyFile);
}

static int encode(const Options& options, Output& out)
{
  checkInput(options);
  CaptureOutput capture(out, options.fileName);
  Run run{options, out, isCaptureName(options.fileName) ? &capture : nullptr, openSession(options.session),
          typeOf(options.session)};
  beforeWaiting([&] { run.capture ? run.capture->flush() : target(run).flush(); });
  try {
    encodeAll(run);
  } catch (...) { // what was encoded before stays
    if (run.objects > run.bad) finish(run);
    throw;
  }
  finish(run);
  if (run.passed) complain(out, counted(run.passed, "object") + " with \"err\" and no record passed over");
  if (run.bad && run.objects > 1)
    complain(out, std::to_string(run.bad) + " of " + counted(run.objects, "object") + " not encoded");
  return run.bad ? kExitUsage : kExitDone;
}

void addEncode(Command& app, Program& program)
{
  Command command = newCommand(
      app, "encode", "Encode records that are given as JSON",
      {{"velnor3gpp template RegAccept | velnor3gpp encode", "a message made from a template"},
       {"velnor3gpp decode --json 7e005b01 | sed 's/\"typeOfIdent\":1/\"typeOfIdent\":3/' | velnor3gpp encode",
        "what decode wrote, edited"},
       {"velnor3gpp template NSSAI | velnor3gpp encode --as NSSAI", "an element by itself"}});
  auto options = std::make_shared<Options>();
  command.addOption("input", options->inputs, "files of JSON; without any, standard input");
  command.addOption("--as", options->session.as, "type of the records; without it each object tells its own")
      .valueName("TYPE");
  addKeyOption(command, options->session);
  addFormsOption(command, options->session);
  Option binary =
      command.addFlag("--binary", options->binary, "write the octets themselves instead of a line of hexadecimal each");
  command.addFlag("--json", options->json, "an object of JSON for each message: type and octets").excludes(binary);
  command
      .addOption("-o,--output", options->fileName,
                 "write to this file, - for standard output; into a capture if it ends in .pcapng, .pcap or .cap")
      .valueName("FILE");
  command.callback([&program, options] {
    if (options->fileName == "-") options->fileName.clear();
    program.code = encode(*options, program.out);
  });
}
