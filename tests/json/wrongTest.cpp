// Guards what is said of JSON that is wrong: one finding, where it is and how to mend it; and that no text, however
// deep or large, costs more than its size.
#include <gtest/gtest.h>

#include "tests/json/session.h"

namespace {

// The record of a type or the message of a form stands for the whole object.
std::string wholeOf(const std::string& line)
{
  std::string inside = line.substr(line.find('(') + 1);
  inside = inside.substr(0, inside.rfind(')'));
  if (line.starts_with("TYPE("))
    return "{\"type\":\"" + inside.substr(0, inside.find(' ')) + "\",\"record\":" + inside.substr(inside.find(' ')) +
           "}";
  if (!line.starts_with("PDU(")) return line;
  return "{\"record\":{\"protoDiscr\":126,\"hdrData\":{\"mm\":{\"secHdrType\":0}},\"data\":" + inside +
         "},\"type\":\"TS24501Msg_PDU\"}";
}

TEST(WrongJson, IsToldInOneLineWithItsPath)
{
  JsonSession session;
  std::ifstream in(VELNOR_TEST_DATA "/wrong.txt");
  size_t cases = 0;
  for (std::string line, expected; std::getline(in, line);) {
    if (line.empty() || line[0] == '#') continue;
    const size_t arrow = line.find(" => ");
    if (arrow == std::string::npos)
      std::getline(in, expected);
    else
      expected = line.substr(arrow + 4), line.resize(arrow);
    EXPECT_LT(session.read(wholeOf(line)), 0) << line;
    EXPECT_EQ(session.findings(), expected + "\n") << line;
    EXPECT_EQ(session.encoded(), "-20 : there is no record to encode\n");
    ++cases;
  }
  EXPECT_GT(cases, 40U);
}

TEST(WrongJson, IsBoundedInDepthAndSize)
{
  JsonSession session;
  const std::string deep = repeated("[", 10000), end = repeated("]", 10000);
  const std::string kTooDeep = "-15 $: is nested deeper than a message can be\n";
  session.read("{\"type\":\"SNSSAI\",\"other\":" + deep + end + "}");
  EXPECT_EQ(session.findings(), kTooDeep);
  session.read("{\"type\":\"SNSSAI\",\"record\":{\"sst$name\":" + repeated("{\"a\":", 10000) + "1");
  EXPECT_EQ(session.findings(), kTooDeep);
  session.read(std::string(100 << 20, ' '));
  EXPECT_EQ(session.findings(), "-23 $: has more than 16 MiB; give one message at a time\n");
  // Entries of three characters stand for records of many octets.
  session.read("{\"type\":\"TS24501IE_LADNInfo\",\"record\":{\"elements\":[" + repeated("{},", 100000) + "{}]}}");
  EXPECT_NE(session.findings(), "");
  session.read("{\"type\":\"TS24501IE_NSAGInformation\",\"record\":{\"nsagEntries\":[" +
               repeated("{\"identifier\":0,", 300000));
  EXPECT_NE(session.findings(), "");
  EXPECT_EQ(session.read("{\"type\":\"SNSSAI\",\"record\":{\"sst\":1}}"), 0) << "and the session goes on";
  EXPECT_EQ(session.encoded(), "0101");
}

// Whatever octets a text has come back; encoders write them as they were.
TEST(WrongJson, TextOfAnyOctetsComesBack)
{
  JsonSession session, other;
  for (unsigned first = 0x20; first < 0x100; ++first)
    for (unsigned second : {0x22U, 0x41U, 0x5CU, 0x80U, 0xBFU, 0xC3U, 0xEFU, 0xFFU}) {
      Octets octets = {6, 5, uint8_t(first), uint8_t(second), 0x9C, 0x80, 0xA4};
      ASSERT_EQ(session.decode(l3FindType("TS24501IE_DNNList"), octets), 0);
      std::string json = session.json();
      ASSERT_EQ(other.read(json), 0) << json << other.findings();
      EXPECT_EQ(other.encoded(), hexText(octets)) << json;
    }
}

} // namespace
