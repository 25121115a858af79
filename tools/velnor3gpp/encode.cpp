// velnor3gpp encode: records as JSON to octets.
#include "captureOutput.h"
#include "coding.h"
#include "commands.h"
#include "hex.h"
#include "names.h"
#include "pretty.h"
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
  Output& out;    // standard error goes behind it
  Output& target; // of the octets, but of a capture
  CaptureOutput* capture;
  Session session;
  const velnor3gpp_Type* type;
  size_t objects = 0, bad = 0;
};

} // namespace

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

// The message in a frame under the dissector of its form.
static void writeFrame(Run& run, const std::string& place, const uint8_t* octets, size_t count)
{
  std::string fault = "the octets fit in no frame";
  try {
    if (run.capture->write(frameOf(run.session.get(), octets, count)) >= 0) return;
  } catch (const UsageError& error) {
    fault = error.what();
  }
  ++run.bad;
  complain(run.out, place + ": " + fault);
}

static void write(Run& run, const std::string& place, const uint8_t* octets, size_t count)
{
  if (run.capture) return writeFrame(run, place, octets, count);
  if (run.options.binary) return run.target.write({reinterpret_cast<const char*>(octets), count});
  std::string hex = plainHex(octets, count);
  velnor3gpp_Result result = resultOf(run.session.get());
  if (run.options.json)
    hex = "{\"type\":" + jsonString(result.type ? factsOf(result.type).name : "") + ",\"octets\":\"" + hex + "\"}";
  run.target.write(hex + "\n");
}

static void encodeOne(Run& run, const std::string& place, const std::string& text)
{
  ++run.objects;
  velnor3gpp_Session* session = run.session.get();
  const uint8_t* octets = nullptr;
  size_t count = 0;
  if (checkMemory(velnor3gpp_fromJson(session, run.type, text.data(), text.size())) < 0) return refuse(run, place);
  if (checkMemory(velnor3gpp_encode(session, &octets, &count)) < 0) return refuse(run, place);
  write(run, place, octets, count);
  noteEncoded(session, run.options.session);
}

static void encodeAll(Run& run)
{
  ObjectCutter cutter;
  std::string last; // where the object begins
  auto take = [&](const std::string& place, std::string_view line, bool whole) {
    if (!cutter.isOpen()) last = place;
    bool blank = line.find_first_not_of(" \t\r") == std::string_view::npos;
    if (blank && !cutter.isOpen()) return;
    if (!whole || cutter.object().size() > VELNOR3GPP_JSON_MAX)
      throw UsageError(last + ": the object has more than 16 MiB, and so more than any message");
    if (!cutter.isOpen() && line[line.find_first_not_of(" \t\r")] != '{')
      throw UsageError(place + ": no object of JSON; 'velnor3gpp template RegAccept' shows one");
    if (!cutter.add(line)) return;
    encodeOne(run, last, cutter.object());
    cutter.drop();
  };
  readLines(run.options.inputs, take, {}, {}, VELNOR3GPP_JSON_MAX);
  if (cutter.isOpen()) throw UsageError(last + ": the object does not end");
}

static int encode(const Options& options, Output& out)
{
  std::unique_ptr<Output> file;
  CaptureOutput capture(out, options.fileName);
  bool toCapture = isCaptureName(options.fileName);
  if (!options.fileName.empty() && !toCapture) file = std::make_unique<Output>(options.fileName);
  Run run{options,
          out,
          file ? *file : out,
          toCapture ? &capture : nullptr,
          openSession(options.session),
          typeOf(options.session)};
  encodeAll(run);
  if (file) file->close();
  if (toCapture && (run.objects == 0 || run.bad < run.objects)) capture.finish();
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
  command.addFlag("--binary", options->binary, "write the octets themselves instead of a line of hexadecimal each");
  command.addFlag("--json", options->json, "an object of JSON for each message: type and octets");
  command
      .addOption("-o,--output", options->fileName,
                 "write to this file, - for standard output; into a capture if it ends in .pcapng, .pcap or .cap")
      .valueName("FILE");
  command.callback([&program, options] {
    if (options->fileName == "-") options->fileName.clear();
    program.code = encode(*options, program.out);
  });
}
