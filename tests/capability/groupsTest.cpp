// Promises of the capabilities that releases add groups to: which groups are read, where the elements may end, what a
// limit of the release leaves, and that whatever is not understood comes back on encoding (TS 24.008, 10.5.1.7 and
// 10.5.5.12a).
#include <gtest/gtest.h>

#include <algorithm>

#include "tests/outcome.h"
#include "velnor3gpp/TS24008IES.h"
#include "velnor3gpp/rtxStatus.h"

namespace {

Octets octetsOf(const std::string& bits)
{
  Octets octets((bits.size() + 7) / 8);
  for (size_t i = 0; i < bits.size(); ++i)
    if (bits[i] == '1') octets[i / 8] |= static_cast<uint8_t>(0x80 >> i % 8);
  return octets;
}

std::string digits(size_t value, unsigned width)
{
  std::string text;
  while (width-- > 0) text += static_cast<char>('0' + (value >> width & 1));
  return text;
}

std::string packed(std::string bits)
{
  std::erase(bits, ' ');
  return bits;
}

struct Seen {
  int status;
  size_t regions, names, position, findings;
  std::string text;
  Octets octets; // encoded again
  bool has(const char* name) const { return text.find(std::string(" ") + name + " = ") != std::string::npos; }
  size_t spareBits() const
  {
    static const std::string label = "   spareBits = { ";
    size_t begin = text.rfind("\n" + label);
    return begin == std::string::npos ? SIZE_MAX : std::stoul(text.substr(begin + 1 + label.size()));
  }
};

// What a decoder sees, in fast and in slow mode alike.
Seen decode(const char* type, Octets octets, uint16_t limit = 0)
{
  const L3TypeEntry& entry = *l3FindType(type);
  const Setting fast = {.specRelease = limit}, slow = {.slow = true, .specRelease = limit};
  EXPECT_EQ(decodeOutcome(entry, octets, fast), decodeOutcome(entry, octets, slow));
  OutcomeContext ctxt(fast);
  ctxt.bind(octets.data(), octets.size());
  auto record = recordStorage(*entry.type, 0xA5);
  int status = entry.decode(ctxt, record.get());
  size_t regions = ctxt->containerStack.dlist.count, names = ctxt->elemNameStack.count;
  Seen seen = {status, regions, names, rtxCtxtGetBitOffset(ctxt), ctxt->errInfo.count, "", Octets(512)};
  if (status < 0) return seen;
  seen.text = printed(*entry.type, "x", record.get());
  ctxt.bind(seen.octets.data(), seen.octets.size());
  EXPECT_EQ(entry.encode(ctxt, record.get()), 0);
  seen.octets.resize((rtxCtxtGetBitOffset(ctxt) + 7) / 8);
  return seen;
}

// Without optional elements; behind it the shortest form of each group, its last bit set, which is its last element.
const std::string kBase = packed("100 0 1100 0 0 00000");
const struct Group {
  unsigned release;
  const char *bits, *last;
} kGroups[] = {{4, "10 0 1", "moduleBasedMSCSupp"},       {5, "0 0 01 01", "multislotPowerProfile-8PSK"},
               {6, "1 01 1 0 0 1", "psHandoverCap"},      {7, "1 0 1010 01 11", "downlinkEGPRS2"},
               {8, "01 10 1", "priBasedReselectionSupp"}, {9, "0 10101", "e-utraCSGCellsReporting"},
               {10, "0011", "tighterCapability"},         {11, "1001", "eUTRA-WB-RSRQ-MeasSupp"},
               {12, "10 0 01", "extEARFCNValRange"},      {13, "10", "ec-pchMonSupp"},
               {14, "0 1", "ecULCoverageEnhanceSupp"},    {15, "01", "ecPagingIndChanMonitorSupp"}};
const std::string kSpare = "10110";
constexpr char kAccess[] = "TS24008IE_AccessCapability";

std::string upTo(unsigned release)
{
  std::string bits = kBase;
  for (auto& group : kGroups)
    if (group.release <= release) bits += packed(group.bits);
  return bits;
}

// It may end behind the base, behind each group and within bits that no group takes; an end anywhere else cuts an
// element off. With the end of a group decoding is over: region and name stay behind. Any other end is closed.
TEST(AccessCapability, EndsBehindItsBaseOrAGroup)
{
  const std::string whole = upTo(15) + kSpare;
  std::vector<size_t> ends; // by release, from 3, which is the base
  for (unsigned release = 3; release <= 15; ++release) ends.push_back(upTo(release).size());
  for (size_t length = 0; length <= whole.size(); ++length) {
    SCOPED_TRACE(length);
    auto end = std::find(ends.begin(), ends.end(), length);
    bool closed = length == ends.front() || length > ends.back();
    Seen seen = decode(kAccess, octetsOf(digits(length, 7) + whole));
    EXPECT_EQ(seen.status, end != ends.end() || closed ? 0 : RTX_E_BAD_LENGTH);
    EXPECT_EQ(seen.regions, closed ? 0U : 1U);
    if (seen.status) continue;
    EXPECT_EQ(seen.names, closed ? 0U : 1U);
    EXPECT_EQ(seen.position, 7 + length);
    for (size_t i = 0; i < std::size(kGroups); ++i) EXPECT_EQ(seen.has(kGroups[i].last), length >= ends[i + 1]) << i;
    EXPECT_EQ(seen.spareBits(), length > ends.back() ? length - ends.back() : 0);
    EXPECT_EQ(seen.octets, octetsOf(digits(length, 7) + whole.substr(0, length)));
  }
}

// Groups above the limit are left, and their bits come back as spare bits.
TEST(AccessCapability, ReleaseLimitLeavesLaterGroups)
{
  const std::string whole = upTo(15) + kSpare;
  const Octets octets = octetsOf(digits(whole.size(), 7) + whole);
  for (uint16_t limit : {0, 1, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16, 65535}) {
    SCOPED_TRACE(limit);
    Seen seen = decode(kAccess, octets, limit);
    EXPECT_EQ(seen.status, 0);
    EXPECT_EQ(seen.regions, 0U);
    for (auto& group : kGroups) EXPECT_EQ(seen.has(group.last), !limit || group.release <= limit) << group.release;
    EXPECT_EQ(seen.spareBits(), whole.size() - upTo(limit ? limit : 15).size());
    EXPECT_EQ(seen.octets, octets);
  }
}

// A classmark 3 without groups: 50 bits, and optional elements of 4 and 3 bits that move what follows them.
std::string classmark(bool four, bool three)
{
  std::string bits = std::string("0 000 1010") + (three ? "1 101" : "0") + "0 01 0 0 0 0 0" + (four ? "1 0110" : "0");
  return packed(bits + "0 001 0 0 0 01 0 0 0 0 10 01 0 0 01 1 0 1 0 0 101010");
}

// Its groups are there whole, in their order, or are spare bits and never an error.
TEST(Classmark3, GroupThatDoesNotFitIsSpare)
{
  const struct {
    unsigned release, bits;
    const char* last;
  } groups[] = {{9, 3, "vAMOS-Level"},
                {10, 3, "selCiphOf-DL-SACCH"},
                {11, 6, "eutraWideRsrqSupport"},
                {12, 5, "extEarfcnValRange"}};
  for (unsigned shape = 0; shape < 4; ++shape)
    for (size_t length = 7; length <= 9; ++length)
      for (uint16_t limit : {0, 8, 9, 10, 11, 12, 13}) {
        std::string base = classmark(shape & 1, shape & 2), tail = packed("101 110 011011 10101 1101001011");
        if (length * 8 < base.size()) continue;
        tail.resize(length * 8 - base.size());
        SCOPED_TRACE(base + "|" + tail + " limit " + std::to_string(limit));
        const Octets octets = octetsOf(digits(length, 8) + base + tail);
        Seen seen = decode("TS24008IE_MobileStationClassmark3", octets, limit);
        EXPECT_EQ(seen.status, 0);
        EXPECT_EQ(seen.findings + seen.regions + seen.names, 0U);
        EXPECT_EQ(seen.position, 8 + 8 * length);
        size_t left = tail.size();
        bool open = true; // no group is read behind one that is not
        for (auto& group : groups) {
          open = open && left >= group.bits && (!limit || limit >= group.release);
          EXPECT_EQ(seen.has(group.last), open) << group.release;
          if (open) left -= group.bits;
        }
        EXPECT_EQ(seen.spareBits(), left);
        EXPECT_EQ(seen.octets, octets);
      }
}

// Encodes a record and tells the octets.
struct Encoding {
  OutcomeContext ctxt{Setting()};
  uint8_t octets[64] = {};
  TS24008IE_AccessCapability record = {};
  int encode()
  {
    ctxt.bind(octets, sizeof octets);
    return NASEnc_TS24008IE_AccessCapability(ctxt, &record);
  }
};

// A length of 7 bits is cut on the wire; the record holds the true one, and the breach is told behind the last bit.
TEST(AccessCapability, EncoderHoldsToLengthFlagsAndRanges)
{
  Octets spare(16, 0xFF);
  Encoding coding;
  for (uint32_t bits : {112, 113}) {
    coding.record.spareBits = {bits, spare.data()};
    EXPECT_EQ(coding.encode(), bits == 112 ? 0 : RTX_E_CONSTRAINT);
    EXPECT_EQ(coding.record.length, 15 + bits);
    EXPECT_EQ(coding.octets[0], bits == 112 ? 127 << 1 : 0);
  }
  EXPECT_EQ(coding.octets[16], 0xFE);
  coding.record = {};
  coding.record.m.extGPRSMSCPresent = 1; // without its group
  coding.ctxt->specRelease = 4;
  coding.record.m.release7Present = 1; // the limit does not bind the encoder, nor do groups bind each other
  coding.record.downlinkEGPRS2 = 3;
  EXPECT_EQ(coding.encode(), 0);
  EXPECT_EQ(coding.record.length, 15 + 10);
  EXPECT_EQ(Octets(coding.octets, coding.octets + 4), octetsOf(digits(25, 7) + std::string(23, '0') + "11"));
  coding.record.rfPowerCap = 8;
  EXPECT_EQ(coding.encode(), RTX_E_CONSTRAINT);
}

} // namespace
