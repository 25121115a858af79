// velnor3gpp capture: the messages of a capture in a capture that opens without a setting, as they are or without what
// tells of a person.
#include <cstring>
#include <exception>
#include <filesystem>

#include "captureFile.h"
#include "coding.h"
#include "commands.h"
#include "names.h"
#include "session.h"

namespace fs = std::filesystem;

namespace {

struct Options {
  std::string in, out;
  SessionOptions session; // its key file and link types alone
  bool redact = false;
};

// The writer of the library in front of a file. Exceptions may not cross the library, so they wait here.
class CaptureOutput {
public:
  CaptureOutput(Output& target, velnor3gpp_CaptureFormat format) : file(target)
  {
    check(velnor3gpp_captureCreate(&writer, format, take, this));
  }
  CaptureOutput(const CaptureOutput&) = delete;
  CaptureOutput& operator=(const CaptureOutput&) = delete;
  ~CaptureOutput() { velnor3gpp_captureFinish(writer); }

  // Returns 0, or the status of a message that no frame can hold.
  int write(const velnor3gpp_CaptureFrame& frame)
  {
    int status = velnor3gpp_captureWrite(writer, &frame);
    if (status == RTX_E_WRITE) check(status);
    return status;
  }
  void finish()
  {
    int status = velnor3gpp_captureFinish(writer);
    writer = nullptr;
    check(status);
    file.flush();
  }

private:
  Output& file;
  velnor3gpp_CaptureWriter* writer = nullptr;
  std::exception_ptr fault;

  void check(int status)
  {
    if (status >= 0) return;
    if (fault) std::rethrow_exception(fault);
    checkMemory(status);
  }
  static int take(void* arg, const uint8_t* octets, size_t count)
  {
    CaptureOutput& self = *static_cast<CaptureOutput*>(arg);
    try {
      if (!self.fault) self.file.write({reinterpret_cast<const char*>(octets), count});
    } catch (...) {
      self.fault = std::current_exception();
    }
    return self.fault ? -1 : 0;
  }
};

struct Run {
  const Options& options;
  CaptureOutput& out;
  Session session;
  size_t written = 0;
  size_t leftOut = 0; // messages that are not written
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

// Encodes the record that is left. Blocks of radio channels keep their size; encoders end with the octet they reach.
static bool encode(Run& run, velnor3gpp_CaptureFrame& frame)
{
  const uint8_t* octets = nullptr;
  size_t count = 0;
  if (checkMemory(velnor3gpp_encode(run.session.get(), &octets, &count)) < 0) return false;
  run.octets.assign(octets, octets + count);
  bool isBlock = strcmp(frame.dissector, "gsm_a_ccch") == 0 || strcmp(frame.dissector, "gsm_a_sacch") == 0;
  if (isBlock && count < frame.count) run.octets.resize(frame.count, 0x2B);
  frame.octets = run.octets.data();
  frame.count = run.octets.size();
  return true;
}

// What is ciphered tells nothing and stays. What cannot be read whole would tell everything and is left out.
static bool redact(Run& run, velnor3gpp_CaptureFrame& frame)
{
  velnor3gpp_Session* session = run.session.get();
  selectKeys(session, run.options.session, &frame.connection);
  hideFrame(frame);
  checkMemory(velnor3gpp_decode(session, frame.type, frame.direction, frame.octets, frame.count));
  velnor3gpp_Result result = resultOf(session);
  if (outcomeOf(session) == Outcome::kSealed) return true;
  bool whole = result.status == 0 && !result.missing && result.used == result.count;
  return whole && checkMemory(velnor3gpp_pseudonymise(session, run.key)) >= 0 && encode(run, frame);
}

static void convert(Run& run, const velnor3gpp_CaptureFrame& read)
{
  if (read.reason != VELNOR3GPP_CAPTURE_MESSAGE) return;
  velnor3gpp_CaptureFrame frame = read;
  bool good = (!run.options.redact || redact(run, frame)) && run.out.write(frame) >= 0;
  ++(good ? run.written : run.leftOut);
}

static velnor3gpp_CaptureFormat formatOf(const std::string& name)
{
  std::string ending = lower(fs::path(name).extension().string());
  return ending == ".pcap" || ending == ".cap" ? VELNOR3GPP_CAPTURE_PCAP : VELNOR3GPP_CAPTURE_PCAPNG;
}

static void refuseSame(const Options& options)
{
  std::error_code ignored;
  if (options.in != "-" && options.out != "-" && fs::equivalent(options.in, options.out, ignored))
    throw UsageError(options.out + ": is the capture that is read; name another file");
}

// A capture is written to its end before damage of the one that is read is told.
static void run(const Options& options, Output& words, Output& file)
{
  CaptureOutput out(file, formatOf(options.out));
  Run run{options, out, openSession(options.session)};
  if (options.redact) makeKey(run.key);
  readCaptureFile(
      options.in, options.session.links, [&](const velnor3gpp_CaptureFrame& frame) { convert(run, frame); },
      [&](const velnor3gpp_CaptureCounts& counts) {
        out.finish();
        std::string text = countsText(counts) + "; " + std::to_string(run.written) + " written";
        if (run.leftOut) text += ", " + std::to_string(run.leftOut) + " left out that cannot be read whole";
        complain(words, text);
      });
}

// What can be looked at before it is read is, so that no file is made for nothing.
static void checkInput(const std::string& name)
{
  if (name == "-") return;
  if (!fs::exists(name)) throw UsageError("no file '" + name + "'");
  if (fs::is_directory(name)) throw UsageError(name + ": is a directory; name a file in it");
  if (fs::is_regular_file(name) && fs::file_size(name) > 3 && !isCaptureFile(name))
    throw UsageError(name + ": is no capture; give a pcap or pcapng file");
}

static int capture(const Options& options, Output& out)
{
  checkInput(options.in);
  refuseSame(options);
  if (options.out == "-") {
    run(options, out, out);
    return kExitDone;
  }
  Output file(options.out);
  run(options, out, file);
  file.close();
  return kExitDone;
}

void addCapture(CLI::App& app, Program& program)
{
  CLI::App* command = newCommand(
      app, "capture", "Write the messages of a capture into one that opens without a setting",
      {{"velnor3gpp capture samples/attach.pcap /tmp/attach.pcapng", "find the messages in a capture"},
       {"velnor3gpp capture --redact samples/attach.pcap /tmp/attach.pcap", "take out what tells of a person"},
       {"velnor3gpp capture --dlt 149=nas-eps samples/attach.pcap /tmp/attach.pcapng",
        "name what a user link type holds"}});
  auto options = std::make_shared<Options>();
  command->add_option("in", options->in, "capture to read, pcap or pcapng; - is standard input")->required();
  command
      ->add_option("out", options->out, "capture to write: pcapng, or pcap if it ends in .pcap; - is standard output")
      ->required();
  command->add_flag("--redact", options->redact,
                    "replace identities, numbers, places, payloads; no comments, no addresses");
  addLinkOption(*command, options->session.links);
  addKeyOption(*command, options->session);
  addFormsOption(*command, options->session);
  command->callback([&program, options] { program.code = capture(*options, program.out); });
}
