#include "commands.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <optional>
#include <string_view>

#include "job.h"
#include "names.h"
#include "session.h"
#include "source.h"
#include "velnor3gpp/rtxDiagBitTrace.h"
#include "velnor3gpp/rtxPrintStream.h"

namespace {

struct Options {
  std::vector<std::string> inputs;
  SessionOptions session;
  std::string htmlFile;
  bool trace = false;
  bool reencode = false;
};

struct TypeOptions {
  std::string part;
  bool formsOnly = false;
};

// What all messages of a run share.
struct Run {
  const Options& options;
  std::optional<Keys> keys;
  size_t messages = 0;
  size_t untold = 0; // no type can be told for
  size_t failed = 0;
  size_t different = 0;
};

} // namespace

static void openKeys(Run& run)
{
  if (!run.options.session.keyFile.empty()) readKeyFile(run.options.session.keyFile, run.keys.emplace());
}

static JobOrder orderFor(Run& run, const Message& message)
{
  JobOrder order;
  order.direction =
      message.direction != Direction::kUnknown ? message.direction : readWay(run.options.session.direction);
  Channel channel = message.channel != Channel::kUnknown ? message.channel : readCarrier(run.options.session.channel);
  std::string type = message.type.empty() ? run.options.session.as : message.type;
  order.forms = type.empty() ? formsOf(message.octets, order.direction, channel)
                             : std::vector<const L3TypeEntry*>{&entryNamed(type)};
  order.entry = order.forms[0];
  order.release = static_cast<uint16_t>(run.options.session.release);
  order.trace = run.options.trace || !run.options.htmlFile.empty();
  order.keys = run.keys ? &*run.keys : nullptr;
  return order;
}

static void complain(const std::string& place, const std::string& text)
{
  fflush(stdout);
  fprintf(stderr, "velnor3gpp: %s: %s\n", place.c_str(), text.c_str());
}

static std::string findingText(const Finding& finding)
{
  std::string text = "status " + std::to_string(finding.status) + " (" + finding.text + ")";
  return finding.path.empty() ? text : text + ", element " + finding.path;
}

static std::string joinFindings(const std::vector<Finding>& findings)
{
  std::string text;
  for (size_t i = 0; i < findings.size() && i < 4; ++i) text += (i ? "; " : "") + findingText(findings[i]);
  if (findings.size() > 4) text += "; and " + std::to_string(findings.size() - 4) + " more";
  for (char& c : text)
    if (static_cast<unsigned char>(c) < 0x20) c = ' ';
  return text;
}

static void complainDecoding(const Message& message, const Job& job)
{
  for (const Finding& remark : job.remarks) complain(message.place, "remark: " + findingText(remark));
  if (job.failures.empty()) return;
  complain(message.place, joinFindings(job.failures) + ", octet " + std::to_string(job.usedOctets));
}

// In the order of Check.
static constexpr const char* kCheckTexts[] = {"",
                                              "verified",
                                              "FAILED: the authentication code does not fit these keys and counts",
                                              "not checked: no keys given (--keys)",
                                              "not checked: the key file says that integrity protection is null",
                                              "not checked: this header type is not verified by the receiver",
                                              "not checked: decoding ended before"};

static void printRecord(Job& job)
{
  rtxSetPrintStream(&job.ctxt, rtxPrintStreamToStdoutCB, nullptr);
  if (job.entry->print) job.entry->print(&job.ctxt, l3NameOf(*job.entry->type), job.record.data());
  if (job.protection.present) {
    const char* way = job.check == Check::kVerified ? wayName(job.direction) : "";
    printf("protection: %s%s%s\n", kCheckTexts[static_cast<size_t>(job.check)], *way ? ", " : "", way);
  }
  if (!job.failures.empty()) return;
  if (size_t missing = job.missingOctets; missing)
    printf("short by: %s of the declared lengths\n", counted(missing, "octet").c_str());
  if (size_t left = job.octets.size() - job.usedOctets; left)
    printf("left over: %s behind the last one that was read\n", counted(left, "octet").c_str());
}

static void printTrace(Job& job)
{
  printf("\nbit trace\n");
  rtxDiagBitTracePrint(job.ctxt.pBitFldList, nullptr);
}

// The first message has the name as given, "trace.html"; later ones "trace-2.html" and so on.
static std::string htmlName(const std::string& name, size_t number)
{
  if (number == 1) return name;
  size_t dot = name.rfind('.');
  size_t slash = name.rfind('/');
  if (dot == std::string::npos || (slash != std::string::npos && dot < slash)) dot = name.size();
  return name.substr(0, dot) + "-" + std::to_string(number) + name.substr(dot);
}

// The library does not say whether the disk took all of a page.
static bool isCut(const std::string& name)
{
  static constexpr std::string_view kEnd = "</html>\n";
  if (!std::filesystem::is_regular_file(name)) return false;
  char end[kEnd.size()] = "";
  std::ifstream in(name, std::ios::binary);
  in.seekg(-static_cast<std::streamoff>(sizeof end), std::ios::end).read(end, sizeof end);
  return std::string_view(end, sizeof end) != kEnd;
}

static void writeHtml(const Run& run, Job& job)
{
  std::string name = htmlName(run.options.htmlFile, run.messages);
  if (name == "stdout") name = "./stdout"; // the bare name is standard output to the library
  if (!std::ofstream(name)) throw UsageError(name + ": cannot be written: " + strerror(errno));
  rtxDiagBitTracePrintHTML(name.c_str(), job.ctxt.pBitFldList, nullptr);
  if (isCut(name)) throw UsageError(name + ": cannot be written whole");
}

// Where two strings of octets part, or the length of both.
static size_t firstDifference(const std::vector<uint8_t>& a, const std::vector<uint8_t>& b)
{
  size_t i = 0;
  while (i < a.size() && i < b.size() && a[i] == b[i]) ++i;
  return i;
}

// Without keys the code cannot be made again: the comparison passes over it.
static std::vector<uint8_t> withoutCode(const Job& job, const std::vector<uint8_t>& octets)
{
  std::vector<uint8_t> rest = octets;
  size_t end = job.protection.codeAt + job.protection.codeOctets;
  if (job.check != Check::kNoKeys || rest.size() < end) return rest;
  std::fill_n(rest.begin() + static_cast<std::ptrdiff_t>(job.protection.codeAt), job.protection.codeOctets, uint8_t{0});
  return rest;
}

// Networks send fixed pseudo lengths with system information that is rest octets alone (0, 1, 22), encoders what the
// header takes (2): the comparison passes over the six bits.
static bool passOverPseudoLength(const Job& job, std::vector<uint8_t>& in, std::vector<uint8_t>& out)
{
  if (!hasPseudoLength(*job.entry->type) || in.empty() || out.empty() || in[0] == out[0]) return false;
  in[0] &= 3;
  out[0] &= 3;
  return true;
}

static std::string comparison(const Job& job, const std::vector<uint8_t>& in, const std::vector<uint8_t>& out,
                              bool& equal)
{
  std::vector<uint8_t> a = withoutCode(job, in), b = withoutCode(job, out);
  bool recounted = passOverPseudoLength(job, a, b);
  equal = a == b;
  bool exact = in == out;
  std::string size = counted(in.size(), "octet");
  if (equal && recounted)
    return "equal: " + size + ", but for the pseudo length: " + std::to_string(in[0] >> 2) + " received, " +
           std::to_string(out[0] >> 2) + " counted";
  if (equal) return exact ? "equal: " + size : "equal: " + size + ", but for the code, which needs keys (--keys)";
  size_t at = firstDifference(a, b);
  return "NOT EQUAL: from octet " + std::to_string(at) + " on, " + size + " in, " + std::to_string(out.size()) + " out";
}

static void printOctets(const char* title, const std::vector<uint8_t>& octets)
{
  for (size_t at = 0; at < octets.size(); at += 24)
    printf("%-8s %s\n", at ? "" : title,
           octetText(octets.data() + at, std::min<size_t>(24, octets.size() - at)).c_str());
}

// Encodes the record again and says whether the octets are the same.
static bool reencode(const Message& message, Job& job)
{
  Encoded encoded = encodeAgain(job);
  if (!encoded.failures.empty()) {
    complain(message.place, "encoding: " + joinFindings(encoded.failures));
    return false;
  }
  bool equal = false;
  std::string text = comparison(job, message.octets, encoded.octets, equal);
  printf("\n");
  printOctets("octets", message.octets);
  printOctets("again", encoded.octets);
  printf("%s\n", text.c_str());
  return equal;
}

// How well a form fits: 0 if the octets come back, 1 if octets are passed over or lacking, 2 not at all.
static int misfit(const Message& message, JobOrder order, const L3TypeEntry& form)
{
  order.entry = &form;
  std::unique_ptr<Job> job = decodeMessage(message.octets, order);
  if (!job->failures.empty()) return 2;
  bool whole = !job->missingOctets && job->usedOctets == message.octets.size();
  return whole && encodeAgain(*job).octets == message.octets ? 0 : 1;
}

// Tries all forms that have the message and takes the first of those that fit best.
static std::unique_ptr<Job> decodeBest(const Message& message, const JobOrder& order)
{
  JobOrder best = order;
  int least = 3;
  for (const L3TypeEntry* form : order.forms) {
    int fit = order.forms.size() > 1 ? misfit(message, order, *form) : 0;
    if (fit < least) best.entry = form;
    least = std::min(least, fit);
  }
  return decodeMessage(message.octets, best);
}

static std::string triedForms(const JobOrder& order, const Job& taken)
{
  std::string text;
  for (const L3TypeEntry* form : order.forms)
    if (form != taken.entry) text += std::string(text.empty() ? "; tried as " : ", ") + form->type->fullName;
  return order.forms.size() > 1 ? text : "";
}

static void decodeOne(Run& run, const Message& message, const JobOrder& order)
{
  std::unique_ptr<Job> job = decodeBest(message, order);
  const char* form = order.forms.size() > 1 ? job->entry->type->fullName : order.entry->type->fullName;
  printf("%s%s  %s  %s%s\n", run.messages > 1 ? "\n" : "", message.place.c_str(), form,
         counted(message.octets.size(), "octet").c_str(), triedForms(order, *job).c_str());
  printRecord(*job);
  if (run.options.trace) printTrace(*job);
  if (!run.options.htmlFile.empty()) writeHtml(run, *job);
  complainDecoding(message, *job);
  if (!job->failures.empty())
    ++run.failed;
  else if (run.options.reencode && !reencode(message, *job))
    ++run.different;
}

static void roundtripOne(Run& run, const Message& message, const JobOrder& order)
{
  std::unique_ptr<Job> job = decodeBest(message, order);
  complainDecoding(message, *job);
  if (!job->failures.empty()) {
    ++run.failed;
    printf("%s  not decoded\n", message.place.c_str());
    return;
  }
  Encoded encoded = encodeAgain(*job);
  bool equal = false;
  std::string text = "not encoded";
  if (encoded.failures.empty())
    text = comparison(*job, message.octets, encoded.octets, equal);
  else
    complain(message.place, "encoding: " + joinFindings(encoded.failures));
  printf("%s  %s\n", message.place.c_str(), text.c_str());
  if (equal) return;
  ++run.different;
  printOctets("octets", message.octets);
  printOctets("again", encoded.octets);
}

// A message whose type cannot be told is a fault of that message, not of the call, when it stands among others.
template <typename One> static size_t runAll(Run& run, One one)
{
  openKeys(run);
  if (!run.options.session.as.empty()) entryNamed(run.options.session.as);
  return readMessages(run.options.inputs, [&](const Message& message) {
    ++run.messages;
    JobOrder order;
    try {
      order = orderFor(run, message);
    } catch (const UsageError& error) {
      if (message.place == "arguments") throw;
      complain(message.place, error.what());
      ++run.untold;
      return;
    }
    one(run, message, order);
  });
}

// What is no message weighs more than a message that is wrong.
static int exitCode(const Run& run, size_t noMessages)
{
  if (noMessages || run.untold) return 2;
  return run.failed || run.different ? 1 : 0;
}

static int decode(const Options& options)
{
  Run run{options, {}};
  return exitCode(run, runAll(run, decodeOne));
}

static int roundtrip(const Options& options)
{
  Run run{options, {}};
  size_t bad = runAll(run, roundtripOne);
  printf("%s: %zu equal, %zu different, %zu not decoded\n", counted(run.messages + bad, "message").c_str(),
         run.messages - run.different - run.failed - run.untold, run.different, run.failed + run.untold + bad);
  return exitCode(run, bad);
}

static int listTypes(const TypeOptions& options)
{
  size_t shown = 0;
  for (size_t i = 0; i < l3TypeCount; ++i) {
    const L3TypeEntry& entry = l3TypeTable[i];
    if (!entry.decode || (options.formsOnly && !(entry.type->flags & kL3IsPdu))) continue;
    if (lower(entry.type->fullName).find(lower(options.part)) == std::string::npos) continue;
    printf("%s\n", entry.type->fullName);
    ++shown;
  }
  if (!shown) throw UsageError("no such type has '" + options.part + "' in its name; 'velnor3gpp types' lists all");
  return 0;
}

// These commands still print with stdio, whose end has to be watched apart from the program's own output.
static int finish(int code)
{
  if (fflush(stdout) == 0 && !ferror(stdout)) return code;
  throw OutputError(std::string("standard output: cannot be written: ") + strerror(errno), errno == EPIPE);
}

static void addCodingOptions(CLI::App& command, Options& options)
{
  command.add_option("input", options.inputs,
                     "octets in hexadecimal, file names, or - for standard input (one message a line)");
  addSessionOptions(command, options.session);
}

void addDecode(CLI::App& app, Program& program)
{
  CLI::App* command = newCommand(app, "decode", "Decode messages and print their records",
                                 {{"velnor3gpp decode 7e005b01", "one message, its octets in hexadecimal"},
                                  {"velnor3gpp decode samples/registration-request.hex", "a file, one message a line"},
                                  {"velnor3gpp decode --as NSSAI 050401010203", "an element by itself"}});
  auto options = std::make_shared<Options>();
  addCodingOptions(*command, *options);
  command->add_flag("--trace", options->trace, "print the bit trace behind each record");
  command->add_option("--html", options->htmlFile, "write the bit trace as a page; later messages get -2, -3 ...")
      ->type_name("FILE");
  command->add_flag("--reencode", options->reencode, "encode each record again and compare the octets");
  command->callback([&program, options] { program.code = finish(decode(*options)); });
}

void addRoundtrip(CLI::App& app, Program& program)
{
  CLI::App* command = newCommand(app, "roundtrip", "Decode, encode again and compare",
                                 {{"velnor3gpp roundtrip 7e005b01", "one message"},
                                  {"velnor3gpp roundtrip samples/*.hex", "many messages"},
                                  {"velnor3gpp roundtrip --as NSSAI 050401010203", "an element by itself"}});
  auto options = std::make_shared<Options>();
  addCodingOptions(*command, *options);
  command->callback([&program, options] { program.code = finish(roundtrip(*options)); });
}

void addTypes(CLI::App& app, Program& program)
{
  CLI::App* command = newCommand(app, "types", "List the types that --as takes",
                                 {{"velnor3gpp types", "all of them"},
                                  {"velnor3gpp types nssai", "those with this in their names"},
                                  {"velnor3gpp types --forms", "whole messages"}});
  auto options = std::make_shared<TypeOptions>();
  command->add_option("part", options->part, "only types with this in their names");
  command->add_flag("--forms", options->formsOnly, "only top-level forms of messages");
  command->callback([&program, options] { program.code = finish(listTypes(*options)); });
}
