// Promises: messages are found behind every link type and every generation of GSMTAP; segments of radio channels are
// put together or told as fragments; nothing else is taken for a message.
#include <gtest/gtest.h>

#include <random>
#include <set>

#include "tests/capture/captures.h"

namespace {

using namespace captures;

const Octets kAttach = hex("07445203");

// What one frame is, without number and time.
std::string one(uint32_t linkType, const Octets& octets, const char* userType = nullptr, uint32_t lost = 0)
{
  const Reading reading = read(pcap({{linkType, octets, lost}}), {0, false}, userType);
  EXPECT_EQ(reading.lines.size(), 1U);
  return reading.lines.empty() ? "" : reading.lines[0].substr(strlen("1 1700000000.000005000 "));
}

const char kFound[] = "up nas-eps TS24301Msg_PDU 07445203";
const Octets kNas = gsmtap(0x12, 0, 0x4005, kAttach), kPacket = ipv4(udp(kNas));

TEST(CaptureLayers, EveryLinkTypeLeadsToGsmtap)
{
  const std::string v4 = std::string(kFound) + " from C0000201 arfcn 5/2";
  const std::string v6 = std::string(kFound) + " from 20010DB8000000000000000000000001 arfcn 5/2";
  EXPECT_EQ(one(1, ethernet(kPacket)), v4);
  EXPECT_EQ(one(1, ethernet(kPacket + hex("00*9"))), v4); // padding of short frames
  EXPECT_EQ(one(1, ethernet(kPacket, "8100 0005 88A8 0006 0800")), v4);
  EXPECT_EQ(one(1, ethernet(ipv6(udp(kNas)), "86DD")), v6);
  EXPECT_EQ(one(1, ethernet(ipv6(udp(kNas), hex("3C00 00*6 2C00 00*6 1100 0000 00*4"), 0), "86DD")), v6);
  EXPECT_EQ(one(113, hex("0000 0001 0006 00*8 0800") + kPacket), v4);
  EXPECT_EQ(one(276, hex("86DD 0000 00000001 0001 00 06 00*8") + ipv6(udp(kNas))), v6);
  EXPECT_EQ(one(0, hex("02000000") + kPacket), v4); // loopback, with the family in either order
  EXPECT_EQ(one(108, hex("0000001E") + ipv6(udp(kNas))), v6);
  for (uint32_t linkType : {12, 14, 101, 228}) EXPECT_EQ(one(linkType, kPacket), v4);
  for (uint32_t linkType : {12, 14, 101, 229}) EXPECT_EQ(one(linkType, ipv6(udp(kNas))), v6);
  EXPECT_EQ(one(217, kNas), std::string(kFound) + " arfcn 5/2");
  EXPECT_EQ(one(147, kNas, "gsmtap"), std::string(kFound) + " arfcn 5/2");
  EXPECT_EQ(one(252, upperPdu("gsmtap", kNas)), std::string(kFound) + " arfcn 5/2");
}

TEST(CaptureLayers, NamesTellTheForm)
{
  const std::string attach = "07445203";
  EXPECT_EQ(one(148, kAttach), "- nas-eps TS24301Msg_PDU " + attach);
  EXPECT_EQ(one(151, hex("7E005B01")), "- nas-5gs TS24501Msg_PDU 7E005B01");
  EXPECT_EQ(one(148, hex("5203C9")), "- nas-eps_plain TS24301Msg_PDU 5203C9"); // which nas-eps does not read
  EXPECT_EQ(one(252, upperPdu("nas-eps_plain", kAttach)), "- nas-eps TS24301Msg_PDU " + attach);
  EXPECT_EQ(one(147, kAttach), "-: a link type that is not read");
  EXPECT_EQ(one(147, hex("0508 01"), "gsm_a_dtap"), "- gsm_a_dtap TS24008Msg_PDU 050801");
  EXPECT_EQ(one(147, hex("060D00"), "gsm_a_dtap"), "- gsm_a_dtap TS44018Msg_DL_DCCH_PDU 060D00");
  EXPECT_EQ(one(252, upperPdu("gsm_a_dtap", hex("0904"), 0)), "up gsm_a_dtap TS24011Msg_CP_PDU 0904");
  EXPECT_EQ(one(252, upperPdu("gsm_a_rp", hex("0201"), 1)), "down gsm_a_rp TS24011Msg_RP_PDU 0201");
  EXPECT_EQ(one(252, upperPdu("gsm_a_sacch", hex("140A"), 1)), "down gsm_a_sacch TS44018Msg_RR_Short_PD_PDU 140A");
  EXPECT_EQ(one(252, upperPdu("diameter", kAttach)), "-: a type without layer 3 here");
  EXPECT_EQ(one(252, hex("0014 0004 0A000001 0015 0004 0A000002 001A 0004 00001279") + upperPdu("nas-eps", kAttach)),
            "- nas-eps TS24301Msg_PDU 07445203 from 0A000001");
  velnor3gpp_CaptureReader* reader = nullptr;
  ASSERT_EQ(velnor3gpp_captureOpen(&reader, nullptr, nullptr), 0);
  EXPECT_EQ(velnor3gpp_captureMap(reader, 147, "nas"), RTX_E_BAD_PARAMETER);
  EXPECT_EQ(velnor3gpp_captureMap(reader, 146, "nas-5gs"), RTX_E_BAD_PARAMETER);
  EXPECT_EQ(velnor3gpp_captureMap(reader, 163, "nas-5gs"), RTX_E_BAD_PARAMETER);
  EXPECT_EQ(velnor3gpp_captureMap(reader, 148, nullptr), 0);
  velnor3gpp_captureClose(reader);
}

TEST(CaptureLayers, GsmtapHasThreeLayouts)
{
  EXPECT_EQ(one(217, gsmtap(0x12, 1, 0, kAttach)), "- nas-eps TS24301Msg_PDU 07445203 arfcn 0/2"); // nothing set
  EXPECT_EQ(one(252, upperPdu("gsmtap", gsmtap(0x12, 0, 0, kAttach), 0)),                          // the tag tells
            std::string(kFound) + " arfcn 0/2");
  EXPECT_EQ(one(217, gsmtap(0x12, 1, 0x8005, kAttach)), "down nas-eps TS24301Msg_PDU 07445203 arfcn 5/2");
  EXPECT_EQ(one(217, gsmtap(0x12, 0, 0x4005, kAttach, 5)), std::string(kFound) + " arfcn 5/2");
  EXPECT_EQ(one(217, gsmtap3(0x0404, 0, kAttach)), "- nas-eps TS24301Msg_PDU 07445203");
  EXPECT_EQ(one(217, gsmtap3(0x0504, 1, hex("7E005B01"))), "- nas-5gs TS24501Msg_PDU 7E005B01");
  const std::string paging = "2506210005F4C00000012B";
  EXPECT_EQ(one(217, gsmtap3(0x0200, 5, hex(paging))), "down gsm_a_ccch TS44018Msg_L2_PSEUDO_LEN_PDU " + paging);
  EXPECT_EQ(one(217, gsmtap(2, 0, 0x4000, hex("050801"))), "up gsm_a_dtap TS24008Msg_PDU 050801 arfcn 0/2");
  for (const char* wrong :
       {"01*20", "0203 12*18", "0301 12*18", "03FF 12*18", "0300 0001 0404*4", "0300 00FF 0404*4", "02"})
    EXPECT_EQ(one(217, hex(wrong)), "-: malformed headers") << wrong;
  for (unsigned type : {3, 13, 0x10})
    EXPECT_NE(one(217, gsmtap(type, 0, 1, kAttach)).find("without layer 3"), std::string::npos);
}

TEST(CaptureLayers, WhatHoldsNoMessageSaysWhy)
{
  EXPECT_EQ(one(1, ethernet(ipv4(udp(kNas, 53)))), "-: another protocol");
  EXPECT_EQ(one(1, ethernet(kPacket, "0806")), "-: another protocol");
  EXPECT_EQ(one(1, ethernet(ipv4(udp(kNas), 0x2000))), "-: a fragment of an IP packet");
  EXPECT_EQ(one(1, ethernet(ipv4(udp(kNas), 3))), "-: a fragment of an IP packet");
  EXPECT_EQ(one(229, ipv6(udp(kNas), hex("1100 0001 00*4"), 44)), "-: a fragment of an IP packet");
  EXPECT_EQ(one(229, ipv6(udp(kNas), hex("00*72"), 0)), "-: another protocol"); // headers without end
  EXPECT_EQ(one(9, kAttach), "-: a link type that is not read");
  EXPECT_EQ(one(252, hex("000C")), "-: malformed headers");
  EXPECT_EQ(one(252, hex("000C00FF6E617300")), "-: malformed headers");
  EXPECT_EQ(one(151, {}), "-: malformed headers");
  // Cut where the frame was captured, or damaged.
  for (size_t size = 0; size < kPacket.size(); ++size) {
    const Octets cut(kPacket.begin(), kPacket.begin() + long(size));
    EXPECT_NE(one(228, cut).find(": malformed"), std::string::npos) << size;
    EXPECT_NE(one(228, cut, nullptr, 9).find("captured in part"), std::string::npos) << size;
  }
  EXPECT_NE(one(151, hex("7E005B01"), nullptr, 1).find("captured in part"), std::string::npos);
}

// Frames on one channel, in order: what each is, with the message if there is one.
std::vector<std::string> radio(unsigned subType, const std::vector<std::string>& blocks)
{
  std::vector<Frame> frames;
  for (const std::string& block : blocks) // "up 013F01"
    frames.push_back({217, gsmtap(1, subType, block[0] == 'u' ? 0x4001 : 1, hex(block.substr(block.find(' ') + 1)))});
  std::vector<std::string> lines;
  for (const std::string& line : read(pcap(frames)).lines) {
    const size_t at = line.find(": ");
    const std::string rest = line.substr(strlen("1 1700000000.000005000 "));
    lines.push_back(at == std::string::npos ? rest.substr(0, rest.find(" arfcn")) : line.substr(at + 2));
  }
  return lines;
}

const char kFill[] = "a fill frame", kControl[] = "a layer-2 frame without a message",
           kGoesOn[] = "a segment of a message that goes on", kFragment[] = "a segment without the rest of its message",
           kAgain[] = "a layer-2 frame sent again";
using Lines = std::vector<std::string>;

TEST(CaptureRadio, CommonChannelsHaveAPseudoLength)
{
  const std::string paging = "2506210005F4C00000012B2B2B2B2B2B2B2B2B2B2B2B2B";
  for (unsigned subType : {1, 2, 4, 5})
    EXPECT_EQ(radio(subType, {"down " + paging, "down 2B*23", "down 2A*23", "down FD06*11"}),
              (Lines{"down gsm_a_ccch TS44018Msg_L2_PSEUDO_LEN_PDU " + paging, kFill, "malformed headers",
                     "malformed headers"}));
  EXPECT_EQ(radio(3, {"up 0A"}), (Lines{"a type without layer 3 here"}));
}

// A location updating request in two segments, its answer in one; then a frame sent again.
TEST(CaptureRadio, SegmentsArePutTogether)
{
  const std::string request = "0508700201F1000001230829015051525354555657";
  const std::string first = "up 0100 53 " + request.substr(0, 40), last = "up 0102 05 " + request.substr(40);
  EXPECT_EQ(radio(6, {"up 013F 01 2B*20", "down 0173 01 2B*20", first, "down 0121 01 2B*20", last, last,
                      "down 0100 09 0502", "up 0104 0D 060D00 2B*17"}),
            (Lines{kControl, kControl, kGoesOn, kControl, "up gsm_a_dtap TS24008Msg_PDU " + request, kAgain,
                   "down gsm_a_dtap TS24008Msg_PDU 0502", "up gsm_a_dtap TS44018Msg_UL_DCCH_PDU 060D00"}));
  // The same on a slow associated channel, with and without the header of layer 1.
  EXPECT_EQ(radio(0x87, {"up 0F00 0D00 0D 090400 2B*15", "up 0D02 0D 091000 2B*15"}),
            (Lines{"up gsm_a_dtap TS24011Msg_CP_PDU 090400", "up gsm_a_dtap TS24011Msg_CP_PDU 091000"}));
  // Contention: the network repeats what the mobile said, who says it again if that was lost.
  const std::string said = "up 013F 15 0524010300 2B*15", repeated = "down 0173 15 0524010300 2B*15";
  EXPECT_EQ(radio(8, {said, repeated, said, repeated, first, said}),
            (Lines{"up gsm_a_dtap TS24008Msg_PDU 0524010300", kControl, kAgain, kControl, kGoesOn,
                   "up gsm_a_dtap TS24008Msg_PDU 0524010300"}));
  // An answer to another SABM, which is not in the capture, begins another link.
  EXPECT_EQ(radio(8, {said, repeated, first, "down 0173 15 0524010301 2B*15", "up 0100 09 0508"})[4],
            "up gsm_a_dtap TS24008Msg_PDU 0508");
  // The receiver of the other direction may be late.
  EXPECT_EQ(radio(6, {"up 013F 01", first, "down 0173 01", last}),
            (Lines{kControl, kGoesOn, kControl, "up gsm_a_dtap TS24008Msg_PDU " + request}));
}

// Segments A, B and C of a message, then another message: whatever is lost, none of the rest is taken for a message.
TEST(CaptureRadio, ALostSegmentTellsFragments)
{
  const std::string a = "up 0100 53 0508700201F10000012308290150515253545556", b = "up 0102 53 5758595A*5",
                    c = "up 0104 05 5B", next = "up 0106 09 0502", whole = "up gsm_a_dtap TS24008Msg_PDU 0502";
  EXPECT_EQ(radio(6, {a, b, c, next})[2].substr(0, 31), "up gsm_a_dtap TS24008Msg_PDU 05");
  EXPECT_EQ(radio(6, {b, c, next}), (Lines{kFragment, kFragment, whole}));
  EXPECT_EQ(radio(6, {a, c, next}), (Lines{kGoesOn, kFragment, whole}));
  EXPECT_EQ(radio(6, {a, b, next}), (Lines{kGoesOn, kGoesOn, kFragment}));
  EXPECT_EQ(radio(6, {c, next}), (Lines{kFragment, whole}));
  EXPECT_EQ(radio(6, {a, "up 013F01", b, c}), (Lines{kGoesOn, kControl, kFragment, kFragment}));
  // Endless segments stay fragments, and memory stays as it is.
  Lines endless;
  for (int i = 0; i < 40; ++i) endless.push_back("up 01" + hexText({uint8_t((i & 7) << 1)}) + " 53 05*20");
  const Lines lines = radio(6, endless);
  EXPECT_EQ(lines[24], kGoesOn);
  EXPECT_EQ(lines[25], kFragment);
  EXPECT_EQ(lines[39], kFragment);
}

// Two mobiles: on channels of one number in two bands; and where no channel is told, which is no reason to join them.
TEST(CaptureRadio, OtherChannelsHaveOtherLinks)
{
  const Octets first = hex("0100 53 0508700201F10000012308290150515253545556"), last = hex("0102 05 5B"),
               whole = hex("0100 09 0508");
  const Reading bands = read(pcap({{217, gsmtap(1, 6, 0x4258, first)}, {217, gsmtap(1, 6, 0xC258, last)}}));
  EXPECT_EQ(bands.counts.reasons[VELNOR3GPP_CAPTURE_FRAGMENT], 1U);
  EXPECT_EQ(bands.counts.reasons[VELNOR3GPP_CAPTURE_MESSAGE], 0U);
  std::vector<Frame> frames;
  const Octets begins = hex("013F01"), ends = hex("035301");
  for (const Octets& octets : {first, whole, last, whole, whole, first, begins, first, ends, last, last, whole})
    frames.push_back({217, gsmtap3(0x0200, 6, octets)});
  const Reading mixed = read(pcap(frames));
  EXPECT_EQ(mixed.counts.reasons[VELNOR3GPP_CAPTURE_FRAGMENT], 6U);
  EXPECT_EQ(mixed.counts.reasons[VELNOR3GPP_CAPTURE_CONTROL], 2U);
  EXPECT_EQ(mixed.counts.reasons[VELNOR3GPP_CAPTURE_MESSAGE], 4U);
}

// More links than are held: the one that was silent longest is given up, and its message with it.
TEST(CaptureRadio, ManyLinksAtATime)
{
  std::vector<Frame> frames;
  auto add = [&](unsigned channel, const char* frame) {
    frames.push_back({217, gsmtap(1, 6, 0x4000 | channel, hex(frame))});
  };
  for (unsigned channel = 0; channel < 200; ++channel) add(channel, "0100 53 05*20");
  for (unsigned channel = 0; channel < 200; ++channel) add(channel, "0102 09 0508");
  const Reading reading = read(pcap(frames));
  EXPECT_EQ(reading.counts.reasons[VELNOR3GPP_CAPTURE_SEGMENT], 128U);
  EXPECT_EQ(reading.counts.reasons[VELNOR3GPP_CAPTURE_FRAGMENT], 72U + 200U); // each took the place of one to come
  EXPECT_EQ(reading.counts.reasons[VELNOR3GPP_CAPTURE_MESSAGE], 0U);
  // One that SABM begins is whole, in both directions.
  add(999, "013F 01");
  frames.push_back({217, gsmtap(1, 6, 999, hex("0300 09 0508"))});
  EXPECT_EQ(read(pcap(frames)).counts.reasons[VELNOR3GPP_CAPTURE_MESSAGE], 1U);
}

// What a side of a link sends: SABM or its answer, then messages that nobody else sends, in segments.
std::vector<Frame> sent(unsigned channel, bool up, std::mt19937& random, std::set<Octets>& messages)
{
  const unsigned number = channel | (up ? 0x4000U : 0U);
  const uint8_t address = up ? 1 : 3;
  std::vector<Frame> frames = {{217, gsmtap(1, 6, number, {address, uint8_t(up ? 0x3F : 0x73), 1})}};
  uint8_t next = 0;
  for (uint8_t i = 0; i < 20; ++i) {
    Octets message = {5, 8, uint8_t(channel), uint8_t(up), i};
    message.resize(5 + random() % 45, i);
    messages.insert(message);
    for (size_t at = 0; at < message.size(); at += 20) {
      const size_t count = std::min<size_t>(20, message.size() - at);
      const uint8_t length = uint8_t(count << 2 | (at + count < message.size() ? 3 : 1));
      const Octets segment(message.begin() + long(at), message.begin() + long(at + count));
      frames.push_back({217, gsmtap(1, 6, number, Octets{address, uint8_t(next << 1), length} + segment)});
      next = (next + 1) & 7;
    }
  }
  return frames;
}

// Twelve sides talk at once; some frames are lost, some come twice.
TEST(CaptureRadio, AllThatComesWasSent)
{
  for (unsigned seed = 0; seed < 60; ++seed) {
    std::mt19937 random(seed);
    const unsigned lost = seed % 3 * 4; // of a hundred
    std::set<Octets> messages;
    std::vector<std::vector<Frame>> sides;
    for (unsigned side = 0; side < 12; ++side) sides.push_back(sent(side / 2, side % 2 == 0, random, messages));
    std::vector<Frame> frames;
    for (const auto& side : sides) frames.push_back(side[0]);
    std::vector<size_t> at(sides.size(), 1);
    for (size_t left = sides.size(); left > 0;) {
      const size_t side = random() % sides.size();
      if (at[side] == sides[side].size()) continue;
      for (unsigned copies = random() % 100 < lost ? 0 : 1 + (random() % 10 == 0); copies > 0; --copies)
        frames.push_back(sides[side][at[side]]);
      left -= ++at[side] == sides[side].size();
    }
    size_t found = 0;
    for (const std::string& line : read(pcap(frames)).lines) {
      const size_t octets = line.find(" 0508");
      if (octets == std::string::npos) continue;
      const std::string text = line.substr(octets + 1, line.find(" arfcn") - octets - 1);
      EXPECT_EQ(messages.erase(hex(text)), 1U) << seed << ": " << text;
      ++found;
    }
    EXPECT_TRUE(found > 120 && (lost || messages.empty())) << seed << ": " << found;
  }
}

TEST(CaptureRadio, SlowChannelsHaveFormsOfTheirOwn)
{
  const std::string five = "49061D05540000001148000000000000000000", report = "061500000000000000000000000000000000";
  EXPECT_EQ(
      radio(0x86, {"down 0500 0303 " + five, "down 0303 " + five, "up 0500 0103 49 " + report, "up 0103 49 " + report,
                   "down 0500 0303 01 2B*18", "down 0500 0303 140A0201 2B*15", "up 0500 100A 2B*19"}),
      (Lines{"down gsm_a_ccch TS44018Msg_L2_PSEUDO_LEN_PDU " + five,
             "down gsm_a_ccch TS44018Msg_L2_PSEUDO_LEN_PDU " + five, "up gsm_a_dtap TS44018Msg_UL_SACCH_PDU " + report,
             "up gsm_a_dtap TS44018Msg_UL_SACCH_PDU " + report, kFill,
             "down gsm_a_sacch TS44018Msg_RR_Short_PD_PDU 140A02012B2B2B2B2B2B2B2B2B2B2B2B2B2B2B",
             "up gsm_a_sacch TS44018Msg_RR_Short_PD_PDU 100A2B2B2B2B2B2B2B2B2B2B2B2B2B2B2B2B2B2B2B"}));
  EXPECT_EQ(radio(6, {"down 0303 01 2B*20", "down 2B*23", "down 0321 01", "down 2303 05 11*20", "down 03",
                      "down 0300 FD 11*20"}),
            (Lines{kFill, kFill, kControl, "a type without layer 3 here", "malformed headers", "malformed headers"}));
  // Without a direction bit the command bit tells.
  EXPECT_EQ(read(pcap({{217, gsmtap3(0x0200, 6, hex("0300 09 0502"))}, {217, gsmtap3(0x0200, 6, hex("0100 09 0508"))}}))
                .lines,
            (Lines{"1 1700000000.000005000 down gsm_a_dtap TS24008Msg_PDU 0502",
                   "2 1700000001.000005000 up gsm_a_dtap TS24008Msg_PDU 0508"}));
}

} // namespace
