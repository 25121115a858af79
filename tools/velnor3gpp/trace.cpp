// velnor3gpp trace: the bit trace of messages as text, or of one message as a page.
#include <cstdio>
#include <sstream>

#include "coding.h"
#include "commands.h"
#include "sameFile.h"

namespace {

struct Options {
  std::vector<std::string> inputs;
  SessionOptions session;
  std::string page; // file name, - for standard output
  bool json = false;
};

struct Run {
  const Options& options;
  Output& out;
  Session session;
  Counts counts;
  std::string page;
};

} // namespace

// The page with what stands behind the message in lines below its table.
static void takePage(Run& run, std::string_view page, const std::string& end)
{
  size_t bodyEnd = page.rfind("</body>");
  run.page = page.substr(0, bodyEnd);
  if (!end.empty()) run.page += "<pre>\n";
  for (char c : end) run.page += c == '&' ? "&amp;" : c == '<' ? "&lt;" : std::string(1, c);
  if (!end.empty()) run.page += "</pre>\n";
  run.page += page.substr(bodyEnd);
}

// A field of the text: a line with its path, a line with its first bit and how many there are, and lines of octets
// whose first 35 columns show the bits, a hyphen for each that is another field's.
static std::string stepText(std::istringstream& trace, const std::string& path)
{
  static constexpr size_t kColumns = 35;
  std::string line, bits;
  size_t first = 0, count = 0;
  std::getline(trace, line);
  sscanf(line.c_str(), "bit offset: %zu bit count: %zu", &first, &count);
  while (std::getline(trace, line) && !line.empty())
    for (char c : line.substr(0, kColumns))
      if (c == '0' || c == '1') bits += c;
  return "{\"path\":" + jsonString(path) + ",\"octet\":" + std::to_string(first / 8) +
         ",\"bit\":" + std::to_string(8 - first % 8) + ",\"count\":" + std::to_string(count) + ",\"bits\":\"" + bits +
         "\"}";
}

static void printJson(Run& run, const std::string& place, const std::string& fault, const std::string& text)
{
  velnor3gpp_Result result = resultOf(run.session.get());
  run.out.write("{\"place\":" + jsonString(place) +
                ",\"type\":" + jsonString(result.type ? factsOf(result.type).name : "") +
                ",\"status\":" + std::to_string(result.status));
  if (!fault.empty()) run.out.write(",\"text\":" + jsonString(fault));
  run.out.write(",\"steps\":[");
  std::istringstream trace(text);
  std::string path, comma;
  for (; std::getline(trace, path); comma = ",") run.out.write(comma + stepText(trace, path));
  run.out.write("]}\n");
}

static void takeBadLine(Run& run, const BadLine& bad)
{
  if (!run.options.page.empty()) throw UsageError(bad.place + ": " + bad.problem, caretUnder(bad.line, bad.column));
  ++run.counts.messages;
  ++run.counts.bad;
  ++run.counts.noMessage;
  run.out.write(run.options.json ? errorObject(bad) : textOf(bad));
}

static void traceOne(Run& run, const Message& message)
{
  bool page = !run.options.page.empty();
  if (page && run.counts.messages)
    throw UsageError("--html makes a page of one message, and " + message.place +
                     " is the second; give one, or leave --html out");
  try {
    decodeMessage(run.session.get(), run.options.session, message);
  } catch (const UsageError& error) { // of one line among others
    if (message.place == "arguments") throw;
    return takeBadLine(run, {message.place, error.what(), "", 0});
  }
  count(run.counts, outcomeOf(run.session.get()));
  std::string end = endText(run.session.get(), true), fault = firstFinding(run.session.get());
  const char* text = nullptr;
  size_t length = 0;
  if (checkMemory(velnor3gpp_trace(run.session.get(), page ? VELNOR3GPP_HTML : 0, &text, &length)) < 0) return;
  if (page) return takePage(run, {text, length}, end);
  if (run.options.json) return printJson(run, message.place, fault, {text, length});
  run.out.write((run.counts.messages > 1 ? "\n" : "") + message.place + "\n");
  run.out.write({text, length});
  run.out.write(end);
}

static int trace(const Options& options, Output& out)
{
  if (options.json && !options.page.empty()) throw UsageError("--json and --html: give one of them");
  typeOf(options.session);
  if (!options.page.empty()) refuseInput(options.page, options.inputs, options.session.keyFile);
  Run run{options, out, openSession(options.session), {}, {}};
  std::exception_ptr broken = readMessages(options.inputs, {[&](const Message& message) { traceOne(run, message); },
                                                            [&](const BadLine& bad) { takeBadLine(run, bad); },
                                                            {},
                                                            &options.session.links});
  if (!options.page.empty() && !run.counts.messages)
    throw UsageError("--html makes a page of one message, and there is none");
  if (options.page == "-")
    out.write(run.page);
  else if (!options.page.empty()) {
    Output file(options.page);
    file.write(run.page);
    file.close();
  }
  if (needsSummary(run.counts)) complain(out, summaryOf(run.counts));
  endWith(broken);
  return kExitDone;
}

void addTrace(Command& app, Program& program)
{
  Command command = newCommand(app, "trace", "Print the bit trace of messages",
                               {{"velnor3gpp trace 7e005b01", "each field with its bits"},
                                {"velnor3gpp trace samples/session-accept.hex", "of a file"},
                                {"velnor3gpp trace --html - 7e005b01", "a page for a browser"}});
  auto options = std::make_shared<Options>();
  addInputs(command, options->inputs);
  addSessionOptions(command, options->session);
  command.addOption("--html", options->page, "write one message as a page to the file, - for standard output")
      .valueName("FILE");
  command.addFlag("--json", options->json, "an object of JSON for each message");
  command.callback([&program, options] { program.code = trace(*options, program.out); });
}
