// Guards the contract of the filter as laws over generated input, whatever octets it holds, and as engines use it: each
// imitation here does what the engine's own code does with a program that it runs.
#include <filesystem>
#include <random>

#include "tests/fileText.h"
#include "tests/messages.h"
#include "tests/program/filterProcess.h"

namespace {

namespace fs = std::filesystem;

// Draws lines that are messages, lines that are nearly messages, and lines of any octets.
class Draw {
public:
  explicit Draw(unsigned seed) : engine(seed)
  {
    for (const char* file : {"ts24501.tsv", "ts24301.tsv", "ts24008.tsv"})
      for (auto& row : readTable(fs::path(VELNOR_CORPUS) / file, 4))
        if (row[3].size() < 2000) messages.push_back(row[3]);
  }
  size_t below(size_t limit) { return engine() % limit; }
  std::string octets(size_t count, std::string_view without)
  {
    std::string text;
    while (text.size() < count) {
      char c = static_cast<char>(below(4) ? below(256) : below(128) * 2 % 0x30);
      if (without.find(c) == std::string_view::npos) text += c;
    }
    return text;
  }
  std::string key() { return octets(below(12), "\t\n"); }
  std::string message()
  {
    std::string text = messages[below(messages.size())];
    switch (below(8)) {
      case 0:
        return "";
      case 1:
        text[below(text.size())] = static_cast<char>(below(256));
        break;
      case 2:
        return text.substr(0, below(text.size()));
      case 3:
        return octets(below(40), "\n");
      case 4:
        if (!below(20)) return std::string(131072 + below(100000), 'a');
        break;
      default:
        break;
    }
    std::string line;
    for (char c : text)
      if (c != '\n' && c != '\t') line += c;
    return line;
  }

private:
  std::mt19937 engine;
  std::vector<std::string> messages;
};

std::vector<std::string> linesOf(const std::string& text)
{
  std::vector<std::string> lines;
  for (size_t at = 0, end; at < text.size(); at = end + 1) {
    end = std::min(text.find('\n', at), text.size());
    lines.push_back(text.substr(at, end - at));
  }
  return lines;
}

std::string counts(size_t lines, const std::string& said)
{
  return "in=" + std::to_string(lines) + " out=" + std::to_string(lines) +
         said.substr(std::min(said.find(" bad="), said.size()));
}

// Keyed lines and lines of any octets, as they stand in a file.
std::string anyInput(Draw& draw, size_t lines)
{
  static const char* const kEnds[] = {"\n", "\n", "\r\n", "\r\r\n"};
  std::string text;
  for (size_t i = 0; i < lines; ++i) {
    if (draw.below(5)) text += draw.key() + "\t";
    text += draw.message() + kEnds[draw.below(4)];
  }
  if (draw.below(2)) text += draw.key() + "\t7e005b01"; // a last line without a line feed
  return text;
}

// One line out for each line in, in order, with its key; whatever the number of workers, the pieces that the input
// comes in, and where a run ends and the next begins.
TEST(FilterLaws, AnyOctetsGiveALineForEachLine)
{
  size_t bad = 0, lines = 0;
  for (unsigned seed = 1; seed <= 8 * effort(); ++seed) {
    SCOPED_TRACE(seed);
    Draw draw(seed);
    std::string input = anyInput(draw, 400);
    std::vector<std::string> records = linesOf(input);
    Filtered plain = filtered({"--field", "message", "--field", "octets"}, input), json = filtered({}, input);
    std::vector<std::string> answers = linesOf(plain.out);
    ASSERT_EQ(answers.size(), records.size());
    EXPECT_EQ(plain.out.back(), '\n');
    EXPECT_EQ(plain.said, counts(records.size(), plain.said));
    EXPECT_EQ(linesOf(json.out).size(), records.size());
    EXPECT_EQ(json.said, plain.said);
    EXPECT_EQ(json.code | plain.code, 0);
    for (size_t i = 0; i < records.size(); ++i) {
      size_t tab = records[i].find('\t');
      if (tab != std::string::npos) {
        EXPECT_EQ(answers[i].substr(0, tab + 1), records[i].substr(0, tab + 1));
      }
      bad += answers[i].find("\"err\":{\"status\":-") != std::string::npos;
    }
    lines += records.size();
    EXPECT_EQ(filtered({"-j", "4"}, input, {1000}).out, json.out);
    EXPECT_EQ(filtered({"-j", "3", "--flush", "line"}, input).out, json.out);
    EXPECT_EQ(filtered({}, input, {1, 7, 4096, 2}).out, json.out);
    // A text of several files, split as engines do: by lines.
    size_t cut = input.find('\n', draw.below(input.size() - 20)) + 1;
    EXPECT_EQ(filtered({}, input.substr(0, cut)).out + filtered({}, input.substr(cut)).out, json.out);
  }
  EXPECT_GT(bad, lines / 10);
  EXPECT_LT(bad, lines / 10 * 9);
}

// The longest message and key are taken; one digit more and the line is over-long, however it is cut and ended.
TEST(FilterLimits, AreExact)
{
  const std::string hex = "7e00" + std::string(131068, '0'), key(65536, 'k');
  for (const char* end : {"", "\n", "\r\n"}) {
    std::string whole = filtered({"--field", "status"}, key + "\t" + hex + end, {1000}).out;
    EXPECT_EQ(whole.substr(0, key.size() + 1), key + "\t");
    EXPECT_EQ(whole.find("-13"), std::string::npos);
    EXPECT_EQ(filtered({"--field", "status"}, "k\t" + hex + "0" + end).out,
              "k\t{\"key\":\"k\",\"err\":{\"status\":-13}}\n");
    EXPECT_EQ(filtered({}, key + "k\t7e005b01" + end).out, "{\"err\":{\"status\":-13,\"path\":\"key\"}}\n");
  }
  EXPECT_EQ(filtered({"--in", "ndjson"}, std::string(400000, ' ') + "\n").out, "{\"err\":{\"status\":-13}}\n");
}

// A line that does not end costs no memory, and the next one is answered.
TEST(FilterLimits, AnEndlessLineCostsNoMemory)
{
#if defined __SANITIZE_ADDRESS__ || defined __SANITIZE_THREAD__
  GTEST_SKIP() << "memory of the sanitizer is under the limit too";
#endif
  FilterProcess process({"-j", "2"}, 32 << 20);
  const std::string piece(1 << 20, '0');
  std::thread writer([&] {
    process.write("k\t");
    for (int i = 0; i < 1024; ++i) process.write(piece); // 1 GiB
    process.write("\nl\t7e00");
    process.endInput();
  });
  std::vector<std::string> lines = linesOf(process.read());
  writer.join();
  EXPECT_EQ(process.wait(), 0);
  ASSERT_EQ(lines.size(), 2U) << process.said;
  EXPECT_EQ(lines[0], "{\"key\":\"k\",\"err\":{\"status\":-13}}");
  EXPECT_EQ(lines[1].substr(0, 17), "{\"key\":\"l\",\"err\":");
}

std::string manyLines(size_t count)
{
  Draw draw(99);
  std::string text;
  for (size_t i = 0; i < count; ++i) text += "k" + std::to_string(i) + "\t" + draw.message() + "\n";
  return text;
}

// ClickHouse keeps a pool of processes: a chunk goes in under its header, as many rows are awaited as were sent, and
// only then comes the next one. At the end it closes the pipe and sends SIGTERM.
TEST(FilterEngines, PoolGetsARowForARow)
{
  for (bool closes : {true, false}) {
    FilterProcess process({"--chunk-header", "-j", "2"});
    size_t total = 0;
    for (size_t rows : {1, 2, 0, 1000, 1, 3000}) {
      std::string input = manyLines(rows);
      std::thread writer([&] { process.write(std::to_string(rows) + "\n" + input); });
      std::string answer = process.read(rows);
      writer.join();
      EXPECT_EQ(answer, filtered({}, input).out);
      total += rows;
    }
    if (closes) process.endInput();
    process.send(SIGTERM);
    EXPECT_EQ(process.read(), "");
    EXPECT_EQ(process.wait(), 0) << process.said;
    EXPECT_EQ(process.said, counts(total, process.said));
  }
}

// In the middle of its input a filter that is told to end dies, so that nobody takes its output for the whole; a chunk
// that has begun is answered before.
TEST(FilterEngines, SignalLeavesNothingHalf)
{
  FilterProcess plain({});
  plain.write("a\t7e005b01\n");
  EXPECT_EQ(linesOf(plain.read(1)).size(), 1U);
  plain.send(SIGTERM);
  EXPECT_EQ(plain.wait(), -SIGTERM);
  FilterProcess chunk({"--chunk-header"});
  chunk.write("2\na\t7e005b01\n");
  EXPECT_EQ(linesOf(chunk.read(1)).size(), 1U);
  chunk.send(SIGTERM);
  chunk.write("b\t7e005b01\n");
  EXPECT_EQ(linesOf(chunk.read()).size(), 1U);
  EXPECT_EQ(chunk.wait(), 0);
}

// A line is answered when it is there, not when a block is full: a caller may wait for it before it sends the next.
TEST(FilterEngines, AnswersDoNotWaitForMore)
{
  for (const Words& options : {Words{}, Words{"--flush", "line"}, Words{"-j", "4"}}) {
    FilterProcess process(options, 0, !options.empty());
    for (int i = 0; i < 20; ++i) {
      process.write("k\t7e005b01\nhalf");
      EXPECT_EQ(linesOf(process.read(1)).size(), 1U);
      process.write("\n");
      EXPECT_EQ(linesOf(process.read(1)).size(), 1U);
    }
    process.endInput();
    EXPECT_EQ(process.wait(), 0);
  }
}

#if defined VELNOR_PARALLEL || defined VELNOR_DASK || defined VELNOR_PYTHON
// Runs a command in a directory of its own that has the file `in`. Returns what it says if it fails.
std::string shell(const std::string& dir, const std::string& command)
{
  const std::string said = outputOf("cd " + dir + " && export PARALLEL_HOME=. PROGRAM=" VELNOR_PROGRAM " && { " +
                                    command + "; } 2>&1 </dev/null");
  printf("%s", said.c_str());
  return said.find("failed: cd ") == std::string::npos ? "" : said;
}

#endif

#ifdef VELNOR_PARALLEL
// GNU parallel cuts standard input into blocks of lines. For jobs that may die it gets files: with --pipepart
// one that it runs again finds its block gone.
TEST(FilterEngines, ParallelKeepsEveryLine)
{
  Folder folder;
  std::ofstream(folder + "/in") << manyLines(8000);
  std::ofstream(folder + "/dies") << R"(#!/bin/sh
if mkdir once 2>/dev/null; then $REAL "$@" | head -n 10; exit 1; fi
exec $REAL "$@"
)";
  EXPECT_EQ(shell(folder, R"($PROGRAM filter <in >whole
parallel --will-cite --pipe -k -j 4 --block 200k $PROGRAM filter <in >piped && cmp whole piped &&
chmod +x dies && export REAL=$PROGRAM PROGRAM=./dies && split -n l/6 in unit. &&
)" VELNOR_EXAMPLES R"(/parallel/decode.sh out unit.?? >counts && test -d once && cat out/*.json | cmp whole - &&
grep -q "^files=6 in=8000 out=8000 " counts &&
rm out/unit.ac.json && )" VELNOR_EXAMPLES "/parallel/decode.sh out unit.?? && cat out/*.json | cmp whole -"),
            "");
}
#endif

#ifdef VELNOR_DASK
TEST(FilterEngines, DaskRunsTasksOfAKilledWorkerAgain)
{
  Folder folder;
  std::ofstream(folder + "/in") << manyLines(20000);
  EXPECT_EQ(
      shell(folder, VELNOR_DASK " " VELNOR_TEST_DATA "/filterDask.py " VELNOR_EXAMPLES "/dask/decode.py $PROGRAM in ."),
      "");
}
#endif

#ifdef VELNOR_PYTHON
// The same program runs 24 hours of messages, 1,000 a second (filterDay.py --lines 86400000); here it is four minutes.
TEST(FilterDay, MemoryStaysAndCountsAreRight)
{
#if defined __SANITIZE_ADDRESS__ || defined __SANITIZE_THREAD__
  GTEST_SKIP() << "memory of the sanitizer is counted too";
#endif
  Folder folder;
  for (const char* jobs : {"1", "4"})
    EXPECT_EQ(shell(folder, VELNOR_PYTHON " " VELNOR_TEST_DATA "/filterDay.py $PROGRAM " VELNOR_CORPUS " --lines " +
                                std::to_string(120000 * effort()) + " --each 20000 --jobs " + jobs),
              "");
}
#endif

} // namespace
