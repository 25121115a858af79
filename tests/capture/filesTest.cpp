// Promises: captures of both forms are read alike in either byte order, however their octets come; cut anywhere they
// give all whole frames and a status of their own; damage ends the reading at the record that has it; what the
// dissector's own tools write is read as they read it.
#include <gtest/gtest.h>

#include "tests/capture/captures.h"

namespace {

using namespace captures;

const Octets kIdentity = hex("7E005B01"), kAttach = hex("07445203"), kReport = hex("0615");

// A message on each link type, and frames that hold none.
std::vector<Frame> frames()
{
  const Octets nas = gsmtap(0x12, 0, 0x4005, kAttach);
  return {{1, ethernet(ipv4(udp(nas)))},
          {252, upperPdu("nas-5gs", kIdentity, 1)},
          {151, kIdentity},
          {148, kAttach},
          {1, ethernet(ipv4({1, 2, 3, 4}, 0, 6))},
          {9999 % 0x10000, {}}};
}

TEST(CaptureFiles, AreReadAlikeInAllOrdersAndWays)
{
  for (bool nanoseconds : {false, true}) {
    std::vector<std::string> expected = {"1 1700000000.000005000 - nas-5gs TS24501Msg_PDU 7E005B01",
                                         "2 1700000001.000005000 - nas-5gs TS24501Msg_PDU 7E005B02"};
    for (bool little : {false, true})
      for (Way way : {Way{0, false}, {1, false}, {7, false}, {0, true}, {1, true}, {13, true}}) {
        const Reading reading = read(pcap({{151, kIdentity}, {151, hex("7E005B02")}}, {little, nanoseconds}), way);
        EXPECT_EQ(reading.status, 0);
        EXPECT_EQ(reading.lines, expected);
      }
  }
  const Reading first = read(pcapng(frames(), true));
  ASSERT_EQ(first.lines.size(), 12U);
  EXPECT_EQ(first.lines[1], "2 1700000001.000005000 down nas-5gs TS24501Msg_PDU 7E005B01 \"hello\"");
  EXPECT_EQ(first.lines[2], "3 1700000002.000005000 up nas-5gs TS24501Msg_PDU 7E005B01 \"hello\"");
  EXPECT_EQ(first.lines[4], "5 1700000004.000005000 up: another protocol");
  EXPECT_EQ(first.lines[5], "6 1700000005.000005000 up: a link type that is not read");
  EXPECT_EQ(first.counts.reasons[VELNOR3GPP_CAPTURE_MESSAGE], 8U);
  for (bool little : {false, true})
    for (Way way : {Way{1, false}, {11, false}, {0, true}, {3, true}})
      EXPECT_EQ(read(pcapng(frames(), little), way).lines, first.lines);
}

// Whole frames come, no others, and where the file ends inside a record the reader says so.
TEST(CaptureFiles, CutAtEveryOctetGiveAllWholeFrames)
{
  for (const Octets& file : {pcap({{151, kIdentity}, {151, kAttach}, {151, {}}}), pcapng(frames())}) {
    const Reading whole = read(file);
    ASSERT_EQ(whole.status, 0);
    EXPECT_EQ(whole.counts.octets, file.size());
    size_t ends = 0;
    for (size_t size = 0; size < file.size(); ++size) {
      const Octets cut(file.begin(), file.begin() + long(size));
      const Reading reading = read(cut), fed = read(cut, {5, true});
      ends += reading.status == 0;
      EXPECT_TRUE(reading.status == RTX_E_END_OF_FILE || (reading.status == 0 && reading.counts.octets == size))
          << size;
      ASSERT_LE(reading.lines.size(), whole.lines.size());
      EXPECT_TRUE(std::equal(reading.lines.begin(), reading.lines.end(), whole.lines.begin())) << size;
      EXPECT_EQ(fed.lines, reading.lines);
      EXPECT_EQ(fed.status, reading.status);
    }
    // Before the file, in front of its records or blocks.
    EXPECT_EQ(ends, file[0] == 0x0A ? 28U : 4U);
  }
}

struct Damage {
  size_t at;
  std::string octets;
  int status;
  size_t record; // where the reading ends
};

void expectEnds(const Octets& whole, const std::vector<Damage>& damages)
{
  ASSERT_EQ(read(whole).status, 0);
  for (const Damage& damage : damages) {
    SCOPED_TRACE(std::to_string(damage.at) + " " + damage.octets);
    Octets file = whole, change = hex(damage.octets);
    std::copy(change.begin(), change.end(), file.begin() + long(damage.at));
    const Reading reading = read(file);
    EXPECT_EQ(reading.status, damage.status);
    EXPECT_EQ(reading.counts.octets, damage.record);
    EXPECT_EQ(reading.lines.size(), damage.record == 44 ? 1U : 0U);
  }
}

TEST(CaptureFiles, DamageEndsTheReadingWhereItIs)
{
  expectEnds(
      pcap({{151, kIdentity}, {151, kAttach}}, {false, false}),
      {{0, "A1B2C3D5", RTX_E_BAD_FORMAT, 0}, {4, "0003", RTX_E_BAD_FORMAT, 0}, {52, "00040001", RTX_E_BAD_VALUE, 44}});
  Octets section;
  putSection(section, false);
  putInterface(section, 151, 6, false);
  const size_t packet = section.size();
  putPacket(section, 0, 0, {151, kIdentity}, false);
  expectEnds(section, {{4, "00000008", RTX_E_BAD_LENGTH, 0},
                       {8, "1A2B3C4E", RTX_E_BAD_FORMAT, 0},
                       {packet + 4, "0000000B", RTX_E_BAD_LENGTH, packet},
                       {packet + 4, "01000004", RTX_E_BAD_LENGTH, packet},
                       {packet + 4, "0000002E", RTX_E_BAD_LENGTH, packet},
                       {packet + 8, "00000001", RTX_E_BAD_VALUE, packet},  // no such interface
                       {packet + 20, "00040001", RTX_E_BAD_VALUE, packet}, // too long a frame
                       {packet + 20, "00000101", RTX_E_BAD_LENGTH, packet},
                       {section.size() - 4, "00000000", RTX_E_BAD_LENGTH, packet}});
  EXPECT_EQ(read({}).status, 0);
  EXPECT_EQ(read(hex("89504E47")).status, RTX_E_BAD_FORMAT);
}

// Options that end nowhere, a block longer than is looked at, more interfaces than a section may have.
TEST(CaptureFiles, LengthsLeadNowhereElse)
{
  Octets file, body;
  putSection(file, false);
  putInterface(file, 151, 6, false);
  body = hex("00*12 00000004 00000004") + kIdentity + hex("0001 FFFF 616263");
  putBlock(file, 6, body, false);
  Octets longOptions = hex("00*12 00000004 00000004") + kIdentity;
  for (int i = 0; i < VELNOR3GPP_CAPTURE_COMMENTS_MAX; ++i) putOption(longOptions, 1, Octets(65535, 'x'), false);
  putOption(longOptions, 2, hex("00000002"), false);
  putBlock(file, 6, longOptions, false);
  putBlock(file, 2, hex("0000 0007 00*8 00000004 00000004") + kIdentity, false); // as early writers have it
  putBlock(file, 3, hex("00000003") + hex("7E005C00"), false);
  putBlock(file, 77, Octets(300000, 7), false);
  putPacket(file, 0, 0, {151, kIdentity}, false);
  const Reading reading = read(file);
  EXPECT_EQ(reading.status, 0);
  ASSERT_EQ(reading.lines.size(), 5U);
  EXPECT_EQ(reading.lines[0], "1 0.000000000 - nas-5gs TS24501Msg_PDU 7E005B01");
  EXPECT_GT(reading.lines[1].size(), VELNOR3GPP_CAPTURE_COMMENTS_MAX * 65535U);
  EXPECT_EQ(reading.lines[1].substr(0, 16), "2 0.000000000 up");
  EXPECT_EQ(reading.lines[2], "3 0.000000000 - nas-5gs TS24501Msg_PDU 7E005B01");
  EXPECT_EQ(reading.lines[3], "4 timeless - nas-5gs TS24501Msg_PDU 7E005C");
  for (int i = 0; i < 1024; ++i) putInterface(file, 151, 6, false);
  EXPECT_EQ(read(file).status, RTX_E_TOO_BIG);
}

TEST(CaptureFiles, TimesHaveTheirInterfacesResolution)
{
  struct Row {
    unsigned resolution;
    uint64_t ticks;
    const char* time;
    int64_t offset = 0;
  };
  for (const Row& row : {Row{0, 1700000000, "1700000000.000000000"},
                         {3, 1700000000123, "1700000000.123000000"},
                         {9, 1700000000123456789, "1700000000.123456789"},
                         {12, 1700000123456789012, "1700000.123456789"},
                         {0x8A, 1700000000ULL << 10 | 512, "1700000000.500000000"},
                         {0xA8, 1700000ULL << 40 | 1ULL << 38, "1700000.250000000"},
                         {0xC0, 1ULL << 63, "0.500000000"},
                         {0xFF, 5, "0.000000000"},
                         {0x7F, ~0ULL, "0.000000000"},
                         {9, 1700000000123456789, "1699999999.123456789", -1},
                         {9, 1700000000123456789, "timeless", -1700000001}, // before 1970
                         {9, 5, "timeless", INT64_MIN},
                         {6, 1700000000000000, "18446744072.000000000", 16746744072},
                         {9, ~0ULL, "18446744073.709551615"},
                         {0, 18446744074, "timeless"}, // beyond 64 bits of nanoseconds
                         {0, ~0ULL, "timeless", 5}}) {
    Octets file;
    putSection(file, true);
    putInterface(file, 151, row.resolution, true, row.offset);
    putPacket(file, 0, row.ticks, {151, kIdentity}, true);
    const Reading reading = read(file);
    ASSERT_EQ(reading.lines.size(), 1U);
    EXPECT_EQ(reading.lines[0].substr(2, strlen(row.time)), row.time);
  }
}

// The dissector's own reading: number, time, length.
std::string listed(const std::string& file)
{
  return outputOf("HOME=/nonexistent tshark -n -r " + file +
                  " -T fields -e frame.number -e frame.time_epoch -e frame.cap_len 2>/dev/null");
}

std::string listedHere(const std::string& file)
{
  const Octets octets = octetsOfText(fileText(file));
  Source source = {octets, 1000};
  Reader reader(Source::read, &source);
  auto frame = sized<velnor3gpp_CaptureFrame>();
  std::string text;
  int status;
  while ((status = velnor3gpp_captureNext(reader, &frame)) == VELNOR3GPP_CAPTURE_FRAME) {
    char line[80];
    snprintf(line, sizeof line, "%llu\t%llu.%09llu\t%zu\n", (unsigned long long)frame.frame,
             (unsigned long long)frame.time / 1000000000, (unsigned long long)frame.time % 1000000000,
             frame.frameCount);
    text += line;
  }
  EXPECT_EQ(status, 0) << file;
  return text;
}

size_t messagesIn(const std::string& file)
{
  return read(octetsOfText(fileText(file)), {0, false}, "nas-5gs").counts.reasons[VELNOR3GPP_CAPTURE_MESSAGE];
}

TEST(CaptureFiles, AreReadAsTheirOwnToolsDo)
{
  if (!hasTools()) GTEST_SKIP() << "install tshark";
  const Folder folder;
  std::ofstream(folder + "/text") << "0000 7e 00 5b 01\n0000 7e 00 5b 02\n";
  std::ofstream(folder + "/nas") << "0000 02 04 12 00 40 00 00 00 00 00 00 00 00 00 00 00 07 44 52 03\n";
  std::string shell = "cd " + folder + " && exec 2>&1\nset -e\n";
  for (const char* form : {"pcap", "nsecpcap", "pcapng"}) {
    const std::string ending = std::string(".") + form + "\n";
    for (std::string options : {"user -l 147 text", "upper -P nas-5gs text", "ip4 -u 40000,4729 nas",
                                "ip6 -6 2001:db8::1,2001:db8::2 -u 40000,4729 nas"})
      shell += std::string("text2pcap -q -F ") + form + options.substr(options.find(' ')) + " " +
               options.substr(0, options.find(' ')) + ending;
  }
  shell += "editcap -F pcap -t 7.5 user.pcapng shifted.pcap\neditcap -F nsecpcap -s 3 upper.pcap short.nsecpcap\n"
           "editcap -a '2:a comment' user.pcapng noted.pcapng\n"
           "mergecap -a -w mixed.pcapng user.pcap upper.nsecpcap ip4.pcapng ip6.pcap noted.pcapng\n";
  ASSERT_EQ(outputOf("bash -c \"" + shell + "\"").find("failed"), std::string::npos);
  size_t files = 0;
  for (const auto& entry : std::filesystem::directory_iterator(folder.c_str())) {
    if (!entry.path().has_extension()) continue;
    const std::string file = entry.path(), name = entry.path().stem();
    const bool made = name == "user" || name == "upper" || name.starts_with("ip"); // what others are made of
    EXPECT_TRUE(made || listedHere(file) == listed(file)) << file;
    EXPECT_EQ(messagesIn(file), name == "mixed" ? 8U : name == "short" ? 0U : name.starts_with("ip") ? 1U : 2U) << file;
    ++files;
  }
  EXPECT_EQ(files, 16U);
  const Reading noted = read(octetsOfText(fileText(folder + "/noted.pcapng")), {0, false}, "nas-5gs");
  EXPECT_NE(noted.lines[1].find("\"a comment\""), std::string::npos);
}

} // namespace
