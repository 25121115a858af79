// Promises of the MS radio access capability around its records: which kind a record is, where the list ends, what is
// dropped (TS 24.008, 10.5.5.12a).
#include <gtest/gtest.h>

#include "tests/capability/capability.h"
#include "velnor3gpp/rtxStatus.h"

namespace {

// Capabilities that end behind the base, behind group 4, and with spare bits behind the last group.
const std::string kBase = "100 0 1100 0 0 00000";
const std::string kGroup4 = kBase + "10 0 1";
const std::string kWhole = kGroup4 + zeros(53) + "10110";

std::string record(unsigned technology, const std::string& content)
{
  return digits(technology, 4) + digits(countBits(content), 7) + content;
}

Octets element(const std::string& bits, unsigned more = 0)
{
  unsigned octets = (countBits(bits) + 7) / 8 + more;
  return octetsOf(digits(octets, 8) + bits + zeros(octets * 8 - countBits(bits)));
}

TEST(RadioAccessCapability, RecordsFollowWhileABitLeadsThem)
{
  for (unsigned count = 0; count < 5; ++count) {
    std::string bits = record(1, kWhole);
    for (unsigned i = 0; i < count; ++i) bits += "1" + record(2 + i, i % 2 ? kWhole : kBase);
    Octets octets = element(bits + "0");
    Outcome outcome = decode("MSRadioAccessCapability", octets);
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.errors + outcome.regions + outcome.names, 0U);
    EXPECT_EQ(outcome.position, octets.size() * 8);
    EXPECT_EQ(valueOf(outcome.text, "firstRec.accessTechType"), "1");
    for (unsigned i = 0; i <= count; ++i)
      EXPECT_EQ(valueOf(outcome.text, "additionalRecs[" + std::to_string(i) + "].accessTechType"),
                i < count ? std::to_string(2 + i) : "-");
    EXPECT_EQ(outcome.again, octets);
  }
}

// Each record that ends behind a group leaves its region open, and the element takes one of them for its own.
TEST(RadioAccessCapability, RecordsThatEndBehindAGroupLeaveRegions)
{
  for (unsigned count = 0; count < 4; ++count) {
    std::string bits = record(1, kBase);
    for (unsigned i = 0; i < count; ++i) bits += "1" + record(3, kGroup4) + "1" + record(4, kWhole);
    Octets octets = element(bits + "0");
    Outcome outcome = decode("MSRadioAccessCapability", octets);
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.regions, count);
    EXPECT_EQ(outcome.names, 0U);
    EXPECT_EQ(outcome.position, octets.size() * 8);
    EXPECT_EQ(outcome.again, octets);
  }
}

// The end of the input stands for the closing 0 bit; other octets in its place do not.
TEST(RadioAccessCapability, ClosingBitMayBeMissingAtTheEndOfTheInput)
{
  Octets octets = element(record(1, kWhole));
  ASSERT_EQ(octets.size(), 1 + 11U);
  Outcome outcome = decode("MSRadioAccessCapability", octets);
  EXPECT_EQ(outcome.status, 0);
  EXPECT_EQ(outcome.errors + outcome.regions + outcome.names, 0U);
  EXPECT_EQ(outcome.position, octets.size() * 8);
  EXPECT_EQ(outcome.again.size(), octets.size() + 1); // the bit is written
  octets.push_back(0);
  EXPECT_EQ(decode("MSRadioAccessCapability", octets).status, RTX_E_BAD_LENGTH);
}

TEST(RadioAccessCapability, WhatFollowsTheClosingBitIsDropped)
{
  Octets octets = element(record(1, kBase) + "0", 2), plain = element(record(1, kBase) + "0");
  octets.back() = 0x5A;
  Outcome outcome = decode("MSRadioAccessCapability", octets);
  EXPECT_EQ(outcome.status, 0);
  EXPECT_EQ(outcome.position, octets.size() * 8);
  EXPECT_EQ(outcome.again, plain);
}

TEST(RadioAccessCapability, LengthAbove50IsNotedOnly)
{
  for (unsigned length : {50, 51}) {
    Octets octets = element(record(1, kBase) + "0", length - 4);
    ASSERT_EQ(octets.size(), 1 + length);
    Outcome outcome = decode("MSRadioAccessCapability", octets);
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.fatalStatus, 0);
    EXPECT_EQ(outcome.errors, length == 51 ? 1U : 0U);
    EXPECT_EQ(outcome.firstError, length == 51 ? RTX_E_CONSTRAINT : 0);
  }
}

// A record or the element that is cut off.
TEST(RadioAccessCapability, RecordBehindTheEndIsABadLength)
{
  Octets octets = element(record(1, kWhole) + "1" + record(2, kWhole) + "0");
  for (unsigned length = 0; length + 1 < octets.size(); ++length) {
    octets[0] = uint8_t(length);
    EXPECT_EQ(decode("MSRadioAccessCapability", octets).status, RTX_E_BAD_LENGTH) << length;
  }
}

TEST(RadioAccessCapability, TechnologyTellsTheKindOfRecord)
{
  for (unsigned technology = 0; technology < 15; ++technology) {
    Octets octets = octetsOf(record(technology, kBase));
    Outcome outcome = decode("MSRACapValuePartStruct", octets);
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(valueOf(outcome.text, "accessTechType"), std::to_string(technology));
    EXPECT_EQ(valueOf(outcome.text, "accessCapOrTech.accessCapability.rfPowerCap"), "4");
    EXPECT_EQ(outcome.again, octets);
  }
  Octets octets = octetsOf(record(15, "1 0001 101 10 1 0011 001 01 0 0110"));
  Outcome outcome = decode("MSRACapValuePartStruct", octets);
  EXPECT_EQ(outcome.status, 0);
  EXPECT_EQ(outcome.text, R"(x {
   accessTechType = 15
   accessCapOrTech {
      additionalAccessTech {
         length = 25
         content[0] {
            accessTechType = 1
            powerClass-GMSK = 5
            powerClass-8PSK = 2
         }
         content[1] {
            accessTechType = 3
            powerClass-GMSK = 1
            powerClass-8PSK = 1
         }
         spareBits = { 4, 0110xxxx }
      }
   }
}
)");
  EXPECT_EQ(outcome.again, octets);
  EXPECT_EQ(decode("MSRACapValuePartStruct", octetsOf(record(15, "1 0001 101 10") + "0")).status, RTX_E_BAD_LENGTH);
}

} // namespace
