// Guards what a user of decode, roundtrip and types sees: records, traces, octets, and how faults are told.
#include "runProgram.h"

static constexpr char kArea[] = "TS24008IE_LocAreaIdent";

TEST(Decode, ShowsRecordTraceAndTheSameOctetsForEachSample)
{
  std::vector<std::string> words = {"decode", "--trace", "--reencode"};
  for (const auto& entry : std::filesystem::directory_iterator(VELNOR_SAMPLES))
    if (entry.path().extension() == ".hex") words.push_back(entry.path().string());
  size_t samples = words.size() - 3;
  ASSERT_GE(samples, 3U);
  Outcome o = runProgram(words);
  EXPECT_EQ(o.code, 0);
  EXPECT_EQ(o.err, "");
  EXPECT_EQ(countOf(o.out, "\nequal: "), samples) << o.out;
  EXPECT_EQ(countOf(o.out, "\nbit trace\n"), samples);
  EXPECT_TRUE(holds(o.out, "u.obj_RegRequest5G"));
  EXPECT_TRUE(holds(o.out, "bit offset: 0\tbit count: 8\tnext bit offset: 8\n01111110"));
}

TEST(Decode, TakesOctetsInEveryUsualSpelling)
{
  Outcome plain = runProgram({"decode", "--as", kArea, "00f1101234"});
  EXPECT_EQ(plain.code, 0);
  EXPECT_TRUE(holds(plain.out, "mcc = '001'"));
  EXPECT_TRUE(holds(plain.out, "lac = 4660"));
  for (const std::vector<std::string>& octets :
       std::vector<std::vector<std::string>>{{"00 F1 10 12 34"},
                                             {"00:f1:10:12:34"},
                                             {"0x00f1101234"},
                                             {"0x00,", "0XF1,", "0x10", "12", "34"},
                                             {" 00f1", "101234\t"}}) {
    std::vector<std::string> words = {"decode", "--as", kArea};
    words.insert(words.end(), octets.begin(), octets.end());
    EXPECT_EQ(runProgram(words).out, plain.out) << octets[0];
  }
  Outcome piped = runProgram({"decode", "--as", kArea, "-"}, "# a comment\n\n  00 f1 10 12 34\r\n");
  EXPECT_EQ(piped.code, 0);
  EXPECT_TRUE(holds(piped.out, "standard input:3  TS24008IE_LocAreaIdent  5 octets"));
}

TEST(Decode, GoesOnBehindADamagedMessageAndSaysWhereItIs)
{
  Workplace place;
  std::string file = place.file("messages", "00f1101234\n00f11012\n00f1 1g 1234\nup\n00f1105678\n");
  Outcome o = runProgram({"decode", "--as", kArea, file});
  EXPECT_EQ(o.code, 1);
  EXPECT_EQ(countOf(o.out, "lac = "), 3U);
  EXPECT_TRUE(holds(o.out, "lac = 22136"));
  EXPECT_EQ(o.err, "velnor3gpp: " + file +
                       ":2: status -2 (Unexpected end of buffer on decode), element LocAreaIdent.lac, octet 3\n" +
                       "velnor3gpp: " + file + ":3: column 7: 'g' is no hexadecimal digit\n" + "velnor3gpp: " + file +
                       ":4: no octets behind the first word; write the message on the same line\n");
}

// Found by fuzzing: a line of nothing but marks was taken for a message and ended the program.
TEST(Decode, RefusesALineOfMarksAlone)
{
  Outcome o = runProgram({"decode", "-"}, "::\n7e0055\n");
  EXPECT_EQ(o.code, 1);
  EXPECT_EQ(o.err, "velnor3gpp: standard input:1: no octets, but marks between octets\n");
  EXPECT_TRUE(holds(o.out, "obj_CfgUpdateDone5G"));
}

TEST(Decode, TellsTheFormFromTheOctets)
{
  const std::vector<std::pair<std::string, std::string>> cases = {
      {"7e0055", "TS24501Msg_PDU"}, {"2e0501d41205", "TS24501Msg_PDU"}, {"074411", "TS24301Msg_PDU"},
      {"0202d9", "TS24301Msg_PDU"}, {"c7213ab4", "TS24301Msg_PDU"},     {"2904", "TS24011Msg_CP_PDU"}};
  for (const auto& [octets, form] : cases) {
    EXPECT_TRUE(holds(runProgram({"decode", octets}).out, "arguments  " + form + "  ")) << octets;
  }
  Workplace place;
  Outcome lines = runProgram({"decode", place.file("messages", std::string(kArea) + " 00f1101234\ndown 7e0055\n0f\n")});
  EXPECT_TRUE(holds(lines.out, ":1  TS24008IE_LocAreaIdent"));
  EXPECT_TRUE(holds(lines.out, ":2  TS24501Msg_PDU"));
  EXPECT_TRUE(
      holds(lines.err, ":3: the first octet 0f does not tell what the message is; name its type with --as TYPE"));
}

TEST(Decode, WritesOnePageForEachMessage)
{
  Workplace place;
  std::string file = place.file("messages", "00f1101234\n00f1105678\n");
  EXPECT_EQ(runProgram({"decode", "--as", kArea, "--html", place.path("trace.html"), file}).code, 0);
  EXPECT_TRUE(holds(readAll(place.path("trace.html")), "LocAreaIdent.lac"));
  EXPECT_TRUE(holds(readAll(place.path("trace-2.html")), "</html>"));
  Outcome o = runProgram({"decode", "--as", kArea, "--html", place.path("none/trace.html"), file});
  EXPECT_EQ(o.code, 2);
  EXPECT_TRUE(holds(o.err, "none/trace.html: cannot be written: No such file"));
}

TEST(Roundtrip, ComparesAndCounts)
{
  Workplace place;
  std::string file = place.file("messages", "00f1101234\n00f110123499\n00f110\nTSx_y 00\nzz\n");
  Outcome o = runProgram({"roundtrip", "--as", kArea, file});
  EXPECT_EQ(o.code, 1);
  EXPECT_TRUE(holds(o.out, ":1  equal: 5 octets\n"));
  EXPECT_TRUE(holds(o.out, ":2  NOT EQUAL: from octet 5 on, 6 octets in, 5 out\n"));
  EXPECT_TRUE(holds(o.out, ":3  not decoded\n"));
  EXPECT_TRUE(holds(o.out, "5 messages: 1 equal, 1 different, 3 not decoded\n"));
  EXPECT_EQ(runProgram({"roundtrip", "--as", kArea, "00f1101234"}).code, 0);
}

// Whatever is wrong with a call is told in one line that says what, where and how to mend it.
TEST(Usage, IsRefusedInOneLine)
{
  Workplace place;
  std::string empty = place.file("empty", ""), comments = place.file("comments", "# nothing\n\n");
  std::string binary = place.file("binary", std::string("\x7e\0\x41\n", 4)), good = place.file("good", "7e0055\n");
  const std::vector<std::pair<std::vector<std::string>, std::string>> cases = {
      {{}, "no command; give decode, roundtrip or types"},
      {{"decod", "7e0055"}, "no command 'decod'; give decode"},
      {{"decode"}, "no octets; give a message in hexadecimal"},
      {{"decode", ""}, "no octets"},
      {{"decode", "7e00", "5g"}, "argument '5g': column 2: 'g' is no hexadecimal digit"},
      {{"decode", "7e005"}, "column 5: half an octet"},
      {{"decode", "0x"}, "column 1: 0x without digits"},
      {{"decode", "lost.hex"}, "no file 'lost.hex', and no octets either"},
      {{"decode", good, "7e0055"}, "no file '7e0055'; behind a file only files can stand"},
      {{"decode", "7e0055", good}, "is a file among octets; give either files or octets"},
      {{"decode", empty}, "empty: holds no message; write one message a line in hexadecimal"},
      {{"decode", comments}, "comments: holds no message"},
      {{"decode", binary}, "binary:1: column 2: the octet 0x00: no text; write one message a line"},
      {{"decode", place.dir.string()}, "is a directory; name a file in it"},
      {{"decode", "--as", "TS24008IE_LocAreaIdnt", "00"},
       "no type 'TS24008IE_LocAreaIdnt'; did you mean TS24008IE_LocAreaIdent"},
      {{"decode", "--as", "LocAreaIdent", "00"}, "did you mean TS24008IE_LocAreaIdent"},
      {{"decode", "--dir", "left", "7e0055"}, "--dir: left not in {up,down}"},
      {{"decode", "--trac", "7e0055"}, "--trac"},
      {{"decode", "--release", "-1", "7e0055"}, "--release"},
      {{"decode", "--keys", "nowhere", "7e0055"}, "nowhere: cannot be opened: No such file"},
      {{"decode", "ff"}, "the first octet ff does not tell what the message is"},
      {{"types", "zzz"}, "no such type has 'zzz' in its name"}};
  for (const auto& [words, part] : cases) {
    Outcome o = runProgram(words);
    EXPECT_EQ(o.code, 2) << part;
    EXPECT_EQ(o.out, "") << part;
    EXPECT_EQ(o.err.substr(0, 12), "velnor3gpp: ") << o.err;
    EXPECT_EQ(countOf(o.err, "\n"), 1U) << o.err;
    EXPECT_TRUE(holds(o.err, part));
  }
}

TEST(Usage, HelpVersionAndTypesGoToStandardOutput)
{
  EXPECT_TRUE(holds(runProgram({"--version"}).out, "velnor3gpp "));
  Outcome help = runProgram({"decode", "--help"});
  EXPECT_EQ(help.code, 0);
  for (const char* option : {"--trace", "--html", "--as", "--dir", "--keys"}) EXPECT_TRUE(holds(help.out, option));
  EXPECT_TRUE(holds(runProgram({"types", "locareaident"}).out, "TS24008IE_LocAreaIdent\nTS24008IE_LocAreaIdent2\n"));
  EXPECT_TRUE(holds(runProgram({"types", "--forms"}).out, "TS24501Msg_PDU\n"));
}

TEST(Usage, AFullDiskIsTold)
{
  std::string command = quoted(VELNOR_PROGRAM) + " types >/dev/full 2>/dev/null";
  int status = system(command.c_str());
  EXPECT_EQ(WEXITSTATUS(status), 1);
}
