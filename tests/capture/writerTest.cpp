// Promises: what is written is read as it was, by this reader and by an independent dissector without a setting: every
// real message under its name and type.
#include <gtest/gtest.h>

#include "tests/capture/captures.h"

namespace {

using namespace captures;

struct Output {
  Octets octets;
  size_t room = SIZE_MAX;

  static int write(void* arg, const uint8_t* octets, size_t count)
  {
    Output& output = *static_cast<Output*>(arg);
    if (count > output.room - output.octets.size()) return -1;
    output.octets.insert(output.octets.end(), octets, octets + count);
    return 0;
  }
};

velnor3gpp_CaptureFrame frameOf(const char* dissector, const Octets& octets)
{
  auto frame = sized<velnor3gpp_CaptureFrame>();
  frame.dissector = dissector;
  frame.octets = octets.data();
  frame.count = octets.size();
  return frame;
}

Octets written(velnor3gpp_CaptureFormat format, const std::vector<velnor3gpp_CaptureFrame>& frames)
{
  Output output;
  velnor3gpp_CaptureWriter* writer = nullptr;
  EXPECT_EQ(velnor3gpp_captureCreate(&writer, format, Output::write, &output), 0);
  for (const auto& frame : frames) EXPECT_EQ(velnor3gpp_captureWrite(writer, &frame), 0);
  EXPECT_EQ(velnor3gpp_captureFinish(writer), 0);
  return output.octets;
}

constexpr velnor3gpp_CaptureFormat kFormats[] = {VELNOR3GPP_CAPTURE_PCAPNG, VELNOR3GPP_CAPTURE_PCAP};

TEST(CaptureWriter, TimesDirectionsAndCommentsAreReadAgain)
{
  const Octets identity = hex("7E005B01"), attach = hex("0744520301"), none;
  velnor3gpp_CaptureFrame first = frameOf("nas-5gs", identity), second = frameOf("nas-eps", attach);
  first.time = 1700000000123456789;
  first.direction = VELNOR3GPP_DOWN;
  first.commentCount = 2;
  first.comments[0] = {"one", 3};
  first.comments[1] = {"another one", 11};
  second.direction = VELNOR3GPP_UP;
  second.connection.has = VELNOR3GPP_CAPTURE_HAS_ADDRESSES;
  second.connection.addressSize = 4;
  second.connection.source[0] = 10;
  second.connection.sourcePort = 5;
  for (velnor3gpp_CaptureFormat format : kFormats) {
    const Reading reading = read(written(format, {first, second}));
    ASSERT_EQ(reading.lines.size(), 2U);
    EXPECT_EQ(reading.lines[0], std::string("1 1700000000.123456789 down nas-5gs TS24501Msg_PDU 7E005B01") +
                                    (format == VELNOR3GPP_CAPTURE_PCAP ? "" : " \"one\" \"another one\""));
    EXPECT_EQ(reading.lines[1], std::string(format == VELNOR3GPP_CAPTURE_PCAP ? "2 0.000000000" : "2 timeless") +
                                    " up nas-eps TS24301Msg_PDU 0744520301 from 0A000000");
    EXPECT_EQ(reading.status, 0);
  }
}

TEST(CaptureWriter, RefusesWhatItCannotWrite)
{
  const Octets large(VELNOR3GPP_CAPTURE_FRAME_MAX, 7);
  Output output;
  velnor3gpp_CaptureWriter* writer = nullptr;
  EXPECT_EQ(velnor3gpp_captureCreate(&writer, velnor3gpp_CaptureFormat(2), Output::write, &output),
            RTX_E_BAD_PARAMETER);
  EXPECT_EQ(velnor3gpp_captureCreate(&writer, VELNOR3GPP_CAPTURE_PCAP, nullptr, &output), RTX_E_NULL_POINTER);
  ASSERT_EQ(velnor3gpp_captureCreate(&writer, VELNOR3GPP_CAPTURE_PCAPNG, Output::write, &output), 0);
  auto status = [&](velnor3gpp_CaptureFrame frame) { return velnor3gpp_captureWrite(writer, &frame); };
  EXPECT_EQ(status(frameOf("", {1})), RTX_E_BAD_PARAMETER);
  EXPECT_EQ(status(frameOf(nullptr, {1})), RTX_E_BAD_PARAMETER);
  EXPECT_EQ(status(frameOf(std::string(64, 'x').c_str(), large)), RTX_E_BAD_PARAMETER);
  EXPECT_EQ(status(frameOf("nas-5gs", large)), RTX_E_TOO_BIG);
  const Octets octet = {1};
  velnor3gpp_CaptureFrame noted = frameOf("nas-5gs", octet);
  noted.commentCount = 1;
  noted.comments[0] = {nullptr, 3};
  EXPECT_EQ(status(noted), RTX_E_NULL_POINTER);
  const std::string text(65536, 'x');
  noted.comments[0] = {text.c_str(), text.size()};
  EXPECT_EQ(status(noted), RTX_E_TOO_BIG);
  velnor3gpp_CaptureWriter* pcap = nullptr;
  ASSERT_EQ(velnor3gpp_captureCreate(&pcap, VELNOR3GPP_CAPTURE_PCAP, Output::write, &output), 0);
  noted.time = 4294967296U * uint64_t{1000000000}; // its seconds have 32 bits
  EXPECT_EQ(velnor3gpp_captureWrite(pcap, &noted), RTX_E_BAD_VALUE);
  noted.time -= 1;
  EXPECT_EQ(velnor3gpp_captureWrite(pcap, &noted), 0);
  EXPECT_EQ(velnor3gpp_captureFinish(pcap), 0);
  output.room = 100; // the disk is full
  const Octets half(200000, 7);
  EXPECT_EQ(status(frameOf("nas-5gs", half)), RTX_E_WRITE);
  EXPECT_EQ(velnor3gpp_captureFinish(writer), RTX_E_WRITE);
}

struct CorpusMessage {
  std::string id, title;
  const char* dissector;
  Octets octets;
  velnor3gpp_Direction direction;
};

// What the library says that a well-formed message is, if it says so.
void add(std::vector<CorpusMessage>& messages, velnor3gpp_Session* session, const std::vector<std::string>& row)
{
  const velnor3gpp_Type* type = velnor3gpp_typeByName(row[2].c_str(), nullptr);
  const Octets octets = octetsOfHex(row[3]);
  const char* dissector = velnor3gpp_captureDissector(type, octets.data(), octets.size());
  if (!dissector || row[5] != "yes") return;
  auto result = sized<velnor3gpp_Result>();
  const auto direction = row[7].find("uplink") != std::string::npos     ? VELNOR3GPP_UP
                         : row[7].find("downlink") != std::string::npos ? VELNOR3GPP_DOWN
                                                                        : VELNOR3GPP_DIRECTION_UNKNOWN;
  velnor3gpp_decode(session, type, direction, octets.data(), octets.size());
  velnor3gpp_result(session, &result);
  messages.push_back({row[0], result.title, dissector, octets, result.direction});
}

std::vector<CorpusMessage> corpus()
{
  std::vector<CorpusMessage> messages;
  velnor3gpp_Session* session = nullptr;
  velnor3gpp_open(&session);
  for (const char* file : {"ts24008", "ts24011", "ts24301", "ts24501", "ts44018"})
    for (const auto& row : readTable(std::string(VELNOR_CORPUS "/") + file + ".tsv", 8)) add(messages, session, row);
  velnor3gpp_close(session);
  return messages;
}

// Letters and digits alone, in lower case.
std::string plain(const std::string& text)
{
  std::string letters;
  for (char c : text)
    if (isalnum(uint8_t(c))) letters += char(tolower(c));
  return letters;
}

// Some of its names are cut: "Authentication and Ciphering Resp".
bool isNamed(const std::string& line, const std::string& title)
{
  const std::string name = plain(line.substr(line.rfind(") ") == std::string::npos ? 1 : line.rfind(") ")));
  return plain(line).find(plain(title)) != std::string::npos || (name.size() > 5 && plain(title).starts_with(name));
}

// It does not look into what a header says is ciphered, and has no names for messages of GPRS in radio resources.
bool isUnnamed(const Octets& octets)
{
  return (octets[0] == 0x7E && (octets[1] & 2 || octets[1] == 4)) || octets[0] == 4;
}

TEST(CaptureWriter, TheDissectorNamesEveryRealMessage)
{
  if (!hasTools()) GTEST_SKIP() << "install tshark";
  const auto messages = corpus();
  const Folder folder;
  std::vector<velnor3gpp_CaptureFrame> frames;
  for (const auto& message : messages) {
    frames.push_back(frameOf(message.dissector, message.octets));
    frames.back().direction = message.direction;
  }
  for (velnor3gpp_CaptureFormat format : kFormats) {
    const std::string file = folder.keep("corpus", written(format, frames));
    const auto lines = split(outputOf("HOME=/nonexistent tshark -n -r " + file +
                                      " -T fields -E separator='|' -e _ws.malformed -e _ws.col.Info 2>/dev/null"),
                             '\n');
    ASSERT_EQ(lines.size(), messages.size());
    for (size_t i = 0; i < lines.size(); ++i) {
      const std::string shown = messages[i].id + " " + hexText(messages[i].octets) + ": " + lines[i];
      EXPECT_EQ(lines[i][0], '|') << shown;
      EXPECT_TRUE(isUnnamed(messages[i].octets) || isNamed(lines[i], messages[i].title)) << messages[i].title << shown;
    }
  }
}

} // namespace
