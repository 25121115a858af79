// The command filter: one line out for one record in, for engines that run a program over much data.
#include <unistd.h>

#include <cstdio>

#include "commands.h"
#include "filterRun.h"
#include "filterStop.h"
#include "names.h"
#include "sameFile.h"
#include "source.h"
#include "velnor3gpp/velnor3gppJson.h"

namespace {

// As on the command line.
struct FilterArguments {
  std::string format = "tsv";
  std::string flush = "block";
  std::string summaryFile;
  std::vector<std::string> fields;
  unsigned keyColumns = 1;
  unsigned workers = 1;
  bool chunkHeader = false;
  bool names = false;
  SessionOptions session;
};

} // namespace

static constexpr std::pair<const char*, FilterFormat> kFormats[] = {
    {"tsv", FilterFormat::kTsv},
    {"hex", FilterFormat::kHex},
    {"ndjson", FilterFormat::kNdjson},
    {"len16", FilterFormat::kFrames},
};

// Of a word that the option takes.
static FilterFormat formatNamed(const std::string& name)
{
  for (auto [known, format] : kFormats)
    if (name == known) return format;
  return FilterFormat::kTsv;
}

// Counts in the file that is read would destroy the input, in the file that the answers go to the output.
static void checkSummary(const FilterArguments& arguments)
{
  const std::string& file = arguments.summaryFile;
  if (file == "-") throw UsageError("--summary takes a file, not -; standard error has the counts anyway");
  refuseInput(file, {"-"}, arguments.session.keyFile);
  refuseOutput(file);
}

static FilterOptions readOptions(const FilterArguments& arguments)
{
  FilterOptions options;
  options.format = formatNamed(arguments.format);
  options.keyColumns = options.format == FilterFormat::kTsv ? arguments.keyColumns : 0;
  options.flushLines = arguments.flush == "line";
  options.flags = arguments.names ? VELNOR3GPP_NAMES : 0;
  options.session = arguments.session;
  for (const std::string& text : arguments.fields) {
    options.fields.push_back(readFieldPath(text));
    if (asksForName(options.fields.back())) options.flags |= VELNOR3GPP_NAMES;
  }
  if (arguments.chunkHeader && options.format == FilterFormat::kFrames)
    throw UsageError("--chunk-header counts lines, and --in len16 has none");
  if (arguments.keyColumns != 1 && options.format != FilterFormat::kTsv)
    throw UsageError("--key-columns counts columns of --in tsv");
  checkSummary(arguments);
  refuseOutput("-");
  typeOf(options.session); // a wrong name or key file is told before anything is read
  openSession(options.session);
  return options;
}

// Standard error gets the line whatever happens, but for a reader that has closed the pipe and wants no more.
static void tellCounts(const FilterCounts& counts, bool quiet, Output* summary)
{
  char text[128];
  int length = snprintf(text, sizeof text, "in=%zu out=%zu bad=%zu\n", counts.in, counts.out, counts.bad);
  std::string_view left(text, static_cast<size_t>(length));
  if (!quiet) writeAll(STDERR_FILENO, left); // nobody can be told that it is full
  if (!summary) return;
  summary->print("{\"in\":%zu,\"out\":%zu,\"bad\":%zu}\n", counts.in, counts.out, counts.bad);
  summary->close();
}

static bool isQuiet(const std::exception_ptr& fault)
{
  try {
    if (fault) std::rethrow_exception(fault);
  } catch (const OutputError& error) {
    return error.quiet;
  } catch (...) {
  }
  return false;
}

static void runFilter(const FilterArguments& arguments, Output& out)
{
  FilterOptions options = readOptions(arguments);
  std::unique_ptr<Output> summary;
  if (!arguments.summaryFile.empty()) summary = std::make_unique<Output>(arguments.summaryFile);
  filterCatchStop(arguments.chunkHeader);
  FilterInput input(filterRead, options.format, arguments.chunkHeader);
  FilterRun run(options, input, [&](std::string_view text) {
    out.write(text);
    out.flush();
  });
  // With keys each message depends on the counts of those before.
  run.run(options.session.keyFile.empty() ? arguments.workers : 1);
  tellCounts(run.counts(), isQuiet(run.fault()), summary.get());
  if (!run.fault()) return;
  try {
    std::rethrow_exception(run.fault());
  } catch (const ChunkError& error) {
    throw UsageError(std::string("--chunk-header: ") + error.what());
  }
}

static void addOptions(Command& command, FilterArguments& arguments)
{
  command.addOption("--in", arguments.format, "form of the input: tsv (key TAB hex, or hex), hex, ndjson, len16")
      .valueName("FORMAT")
      .oneOf({"tsv", "hex", "ndjson", "len16"});
  command.addOption("--key-columns", arguments.keyColumns, "columns of the key in tsv, 0: none")
      .valueName("N")
      .between(0, 1000);
  command.addRepeated("--field", arguments.fields, "write this value instead of JSON; several stand between TABs")
      .valueName("PATH");
  command.addFlag("--names", arguments.names, "beside enumerations \"x\" also \"x$name\"");
  command.addOption("--flush", arguments.flush, "when output is handed on: line or block")
      .valueName("WHEN")
      .oneOf({"line", "block"});
  command.addFlag("--chunk-header", arguments.chunkHeader,
                  "a line with the number of its lines leads each block of the input");
  command.addOption("--summary", arguments.summaryFile, "write the counts there, as JSON").valueName("FILE");
  command.addOption("-j,--jobs", arguments.workers, "threads; the order stays").valueName("N").between(1, 256);
  addMessageOptions(command, arguments.session);
}

void addFilter(Command& app, Program& program)
{
  Command command = newCommand(
      app, "filter", "Decode standard input line by line, for data engines",
      {{"printf 'a\\t7e005b01\\n' | velnor3gpp filter", "a line of JSON with the key"},
       {"grep -v '#' samples/protected-registration.txt | tr ' ' '\\t' | velnor3gpp filter --field message -j 4",
        "values alone, by four threads"},
       {"printf '1\\na\\t7e005b01\\n' | velnor3gpp filter --chunk-header",
        "for an engine that sends blocks with their number of lines"}});
  auto arguments = std::make_shared<FilterArguments>();
  addOptions(command, *arguments);
  command.callback([arguments, &program] { runFilter(*arguments, program.out); });
}
