// Promises of mobile station classmark 3: its groups are there whole or are spare bits, and never an error
// (TS 24.008, 10.5.1.7).
#include <gtest/gtest.h>

#include "tests/capability/capability.h"
#include "velnor3gpp/rtxStatus.h"

namespace {

// A classmark without groups: 50 bits, and optional elements of 4 and 3 bits that move what follows them.
std::string baseOf(bool four, bool three)
{
  std::string bits = "0 000 1010";
  bits += three ? "1 101" : "0";
  bits += "0 01 0 0 0 0 0";
  bits += four ? "1 0110" : "0";
  return bits + "0 001 0 0 0 01 0 0 0 0 10 01 0 0 01 1 0 1 0 0 101010";
}

struct Group {
  unsigned release, bits;
  const char* last;
};
const Group kGroups[] = {{9, 3, "vAMOS-Level"},
                         {10, 3, "selCiphOf-DL-SACCH"},
                         {11, 6, "eutraWideRsrqSupport"},
                         {12, 5, "extEarfcnValRange"}};

// Which groups are read and what is left over, told once more.
void checkGroups(const Outcome& outcome, std::string tail, unsigned limit)
{
  bool barred = false;
  for (auto& group : kGroups) {
    bool allowed = !barred && !tail.empty() && (!limit || limit >= group.release);
    barred = barred || (allowed && tail.size() < group.bits);
    bool taken = allowed && !barred;
    EXPECT_EQ(valueOf(outcome.text, group.last) != "-", taken) << group.release;
    if (taken) tail.erase(0, group.bits);
  }
  EXPECT_EQ(spareBitsOf(outcome.text), tail.size());
}

TEST(Classmark3, GroupThatDoesNotFitIsSpare)
{
  const std::string tail = "101 110 011011 10101 1101001011";
  for (int shape = 0; shape < 4; ++shape)
    for (unsigned length = 7; length <= 11; ++length)
      for (unsigned limit : {0, 8, 9, 10, 11, 12, 13}) {
        std::string bits = baseOf(shape & 1, shape & 2), more;
        for (char c : tail)
          if (c != ' ') more += c;
        unsigned base = countBits(bits);
        if (length * 8 < base || length * 8 - base > more.size()) continue;
        more.resize(length * 8 - base);
        SCOPED_TRACE(bits + "|" + more + " limit " + std::to_string(limit));
        Octets octets = octetsOf(digits(length, 8) + bits + more);
        Outcome outcome = decode("MobileStationClassmark3", octets, limit);
        EXPECT_EQ(outcome.status, 0);
        EXPECT_EQ(outcome.errors + outcome.regions + outcome.names, 0U);
        EXPECT_EQ(outcome.position, 8 + 8 * length);
        checkGroups(outcome, more, limit);
        EXPECT_EQ(outcome.again, octets);
      }
}

// In front of the groups only optional elements may be missing, and plain bits follow them all.
TEST(Classmark3, CutInFrontOfTheGroupsIsABadLength)
{
  std::string bits = baseOf(false, false) + zeros(6);
  for (unsigned length = 0; length < 7; ++length) {
    Outcome outcome = decode("MobileStationClassmark3", octetsOf(digits(length, 8) + bits));
    EXPECT_EQ(outcome.status, RTX_E_BAD_LENGTH) << length;
  }
  Octets octets = octetsOf(digits(7, 8) + bits);
  octets.pop_back();
  EXPECT_EQ(decode("MobileStationClassmark3", octets).status, RTX_E_END_OF_BUFFER);
}

TEST(Classmark3, LengthAbove32IsNotedOnly)
{
  for (unsigned length : {32, 33}) {
    Octets octets = octetsOf(digits(length, 8) + baseOf(false, false));
    octets.resize(1 + length);
    Outcome outcome = decode("MobileStationClassmark3", octets);
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.fatalStatus, 0);
    EXPECT_EQ(outcome.errors, length == 33 ? 1U : 0U);
    EXPECT_EQ(outcome.firstError, length == 33 ? RTX_E_CONSTRAINT : 0);
    EXPECT_EQ(outcome.position, 8 + 8 * length);
    EXPECT_EQ(spareBitsOf(outcome.text), length * 8 - 50 - 17);
    EXPECT_EQ(outcome.againStatus, length == 33 ? RTX_E_CONSTRAINT : 0);
  }
}

// Which capabilities follow the bands is told by the bands.
TEST(Classmark3, BandsTellTheirCapabilities)
{
  struct {
    const char *bits, *supported, *second, *first;
  } rows[] = {{"000 1010", "mbs0", "-", "-"},           {"001 1010 0000 0110", "mbs1", "-", "6"},
              {"010 1010 0000 0111", "mbs2", "-", "7"}, {"100 1010 1111 0100", "mbs4", "-", "4"},
              {"101 1010 0011 1000", "mbs5", "3", "8"}, {"110 1010 0001 0100", "mbs6", "1", "4"}};
  for (auto& row : rows) {
    Octets octets = octetsOf(row.bits);
    Outcome outcome = decode("MultibandSupported", octets);
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.position, countBits(row.bits));
    EXPECT_EQ(valueOf(outcome.text, "supported"), row.supported);
    EXPECT_EQ(valueOf(outcome.text, "a5bits.a5-7"), "true");
    EXPECT_EQ(valueOf(outcome.text, "a5bits.a5-4"), "false");
    EXPECT_EQ(valueOf(outcome.text, "assocRadioCap2"), row.second);
    EXPECT_EQ(valueOf(outcome.text, "assocRadioCap1"), row.first);
    EXPECT_EQ(outcome.again, octets);
  }
  EXPECT_EQ(decode("MultibandSupported", octetsOf("011 1010 0000 0000")).status, RTX_E_ENUM_VALUE);
  EXPECT_EQ(decode("MultibandSupported", octetsOf("111 1010 0000 0000")).status, RTX_E_ENUM_VALUE);
}

TEST(Classmark3, EveryElementStandsInItsPlace)
{
  std::string bits = "1 110 0110 0001 0100"
                     "1 101 1 10110 1 0 1 0011 1100 1 10101 1 01010"
                     "1 1 1 10 1 01 1 10 0110 1 0101 1 1010 101"
                     "1 10 1 1 01 1 1001 1 0110 01"
                     "1 01 10 1 10 1 0101 10110 1 01 10 1 01 1001"
                     "1 10 1 1 101 0 1 011 1 1 0011 1 1100 10 1011"
                     "0 10 01 1 10 01 1 0 0 1 0 1 1 ";
  unsigned length = (countBits(bits) + 7) / 8;
  bits = digits(length, 8) + bits + zeros(length * 8 - countBits(bits));
  Outcome outcome = decode("MobileStationClassmark3", octetsOf(bits));
  EXPECT_EQ(outcome.text, R"(x {
   length = )" + std::to_string(length) +
                              R"(
   spare = 1
   multiband {
      supported = mbs6
      a5bits {
         a5-7 = false
         a5-6 = true
         a5-5 = true
         a5-4 = false
      }
      assocRadioCap2 = 1
      assocRadioCap1 = 4
   }
   rSupport = 5
   hscsdMultiSlotCap = 22
   ucs2Treatment = true
   extMeasurementCap = false
   msMeasurementCap {
      smsValue = 3
      smValue = 12
   }
   msPositioningMethodCap = 21
   ecsdMultiSlotCap = 10
   an-8-PSKStruct {
      modulationCap = true
      rfPowerCap1 = 2
      rfPowerCap2 = 1
   }
   gsm400Struct {
      bandsSupported = band2
      assocRadioCap = 6
   }
   gsm850AssocRadioCap = 5
   gsm1900AssocRadioCap = 10
   umtsFDDRadioAccessTechCap = true
   umts384McpsTDDRadioAccessTechCap = false
   cdma2000RadioAccessTechCap = true
   dtmGPRSStruct {
      dtmGPRSMultiSlotClass = 2
      singleSlotDTM = true
      dtmEGPRSMultiSlotClass = 1
   }
   singleBandSupport = 9
   gsm750AssocRadioCap = 6
   umts1-28McpsTDDRadioAccessTechCap = false
   geranFeaturePackage1 = true
   extDtmGPRSStruct {
      extDtmGPRSMultiSlotClass = 1
      extDtmEGPRSMultiSlotClass = 2
   }
   highMultislotCap = 2
   geranIuModeCap {
      length = 5
      spareBits = { 5, 10110xxx }
   }
   geranFeaturePackage2 = true
   gmskMultislotPowerProfile = 1
   multislotPowerProfile8PSK = 2
   tgsm400Struct {
      bandsSupported = band1
      assocRadioCap = 9
   }
   zerobit = 1
   downlinkAdvancedRcvrPerf = 2
   dtmEnhancementsCap = true
   dtmGPRSStruct2 {
      dtmGPRSHighMultiSlotClass = 5
      offsetRequired = false
      dtmEGPRSHighMultiSlotClass = 3
   }
   repeatedACCHCap = true
   gsm710AssocRadioCap = 3
   tgsm810AssocRadioCap = 12
   cipheringModeSettingCap = true
   additionalPositioningCap = false
   e-UTRA-FDD-support = true
   e-UTRA-TDD-support = false
   e-UTRA-MeasAndReportSupport = true
   priorityBasedReselectionSupport = true
   uTRA-CSG-Cells-Reporting = false
   vAMOS-Level = 2
   tighterCapability = 1
   selCiphOf-DL-SACCH = true
   csToPsFromGeranToUtra = 2
   csToPsFromGeranToEUtra = 1
   geranNetShareSupport = true
   eutraWideRsrqSupport = false
   erBandSupport = false
   utraMultFreqBandSupport = true
   eutraMultFreqBandSupport = false
   extTscSetCapSupport = true
   extEarfcnValRange = true
   spareBits = { 3, 000xxxxx }
}
)");
  EXPECT_EQ(outcome.again, octetsOf(bits));
}

} // namespace
