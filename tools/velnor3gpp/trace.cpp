// velnor3gpp trace: the bit trace of messages as text, or of one message as a page.
#include "coding.h"
#include "commands.h"

namespace {

struct Options {
  std::vector<std::string> inputs;
  SessionOptions session;
  std::string page; // file name, - for standard output
};

struct Run {
  const Options& options;
  Output& out;
  Session session;
  Counts counts;
  std::string page;
};

} // namespace

static void traceOne(Run& run, const Message& message)
{
  bool page = !run.options.page.empty();
  if (page && run.counts.messages)
    throw UsageError("--html makes a page of one message, and " + message.place +
                     " is the second; give one, or leave --html out");
  decodeMessage(run.session.get(), run.options.session, message);
  count(run.counts, outcomeOf(run.session.get()));
  const char* text = nullptr;
  size_t length = 0;
  if (checkMemory(velnor3gpp_trace(run.session.get(), page ? VELNOR3GPP_HTML : 0, &text, &length)) < 0) return;
  if (page) {
    run.page.assign(text, length);
    return;
  }
  run.out.write((run.counts.messages > 1 ? "\n" : "") + message.place + "\n");
  run.out.write({text, length});
}

static void takeBadLine(Run& run, const BadLine& bad)
{
  if (!run.options.page.empty()) throw UsageError(bad.place + ": " + bad.problem, caretUnder(bad.line, bad.column));
  ++run.counts.messages;
  ++run.counts.bad;
  ++run.counts.noMessage;
  run.out.write(textOf(bad));
}

static int trace(const Options& options, Output& out)
{
  typeOf(options.session);
  if (!options.page.empty()) refuseInput(options.page, options.inputs, options.session.keyFile);
  Run run{options, out, openSession(options.session), {}, {}};
  readMessages(options.inputs, {[&](const Message& message) { traceOne(run, message); },
                                [&](const BadLine& bad) { takeBadLine(run, bad); },
                                {},
                                &options.session.links});
  if (options.page == "-")
    out.write(run.page);
  else if (!options.page.empty()) {
    Output file(options.page);
    file.write(run.page);
    file.close();
  }
  if (needsSummary(run.counts)) complain(out, summaryOf(run.counts));
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
  command.callback([&program, options] { program.code = trace(*options, program.out); });
}
