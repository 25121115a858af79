// Promises of the MS radio access capability's records: where one may end, what a release limit leaves, and that
// whatever is not understood comes back on encoding (TS 24.008, 10.5.5.12a).
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>

#include "tests/capability/capability.h"
#include "velnor3gpp/rtxContainer.h"
#include "velnor3gpp/rtxContext.h"
#include "velnor3gpp/rtxError.h"
#include "velnor3gpp/rtxStatus.h"

namespace {

// Nothing optional: rfPowerCap 4, then esInd and ps.
const std::string kBase = "100 0 1100 0 0 00000";

struct Group {
  unsigned release;
  const char* bits;
};

// The shortest form of each group, with its last bit set.
const Group kGroups[] = {{4, "10 0 1"},   {5, "0 0 01 01"}, {6, "1 01 1 0 0 1"}, {7, "1 0 1010 01 11"},
                         {8, "01 10 1"},  {9, "0 10101"},   {10, "0011"},        {11, "1001"},
                         {12, "10 0 01"}, {13, "10"},       {14, "0 1"},         {15, "01"}};

std::string upTo(unsigned release)
{
  std::string bits = kBase;
  for (auto& group : kGroups)
    if (group.release <= release) bits += group.bits;
  return bits;
}

Octets withLength(unsigned length, const std::string& bits)
{
  return octetsOf(digits(length, 7) + bits);
}

Octets withLength(const std::string& bits)
{
  return withLength(countBits(bits), bits);
}

// The number of the last bit of a group is that of its last member.
const char* lastOf(unsigned release)
{
  static const char* names[] = {"moduleBasedMSCSupp", "multislotPowerProfile-8PSK", "psHandoverCap",
                                "downlinkEGPRS2",     "priBasedReselectionSupp",    "e-utraCSGCellsReporting",
                                "tighterCapability",  "eUTRA-WB-RSRQ-MeasSupp",     "extEARFCNValRange",
                                "ec-pchMonSupp",      "ecULCoverageEnhanceSupp",    "ecPagingIndChanMonitorSupp"};
  return names[release - 4];
}

// With the end of a group at the end of the record, decoding is over: region and name stay behind.
TEST(AccessCapability, EndBehindAGroupLeavesItsRegionOpen)
{
  for (unsigned release = 4; release <= 15; ++release) {
    SCOPED_TRACE(release);
    Octets octets = withLength(upTo(release));
    Outcome outcome = decode("AccessCapability", octets);
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.regions, 1U);
    EXPECT_EQ(outcome.names, 1U);
    EXPECT_EQ(outcome.position, 7 + countBits(upTo(release)));
    EXPECT_NE(valueOf(outcome.text, lastOf(release)), "-");
    EXPECT_EQ(release == 15 ? "-" : valueOf(outcome.text, lastOf(release + 1)), "-");
    EXPECT_EQ(spareBitsOf(outcome.text), 0U);
    EXPECT_EQ(outcome.again, octets);
  }
}

// One that ends behind the base, or with bits that no group takes, is closed as any other.
TEST(AccessCapability, AnyOtherEndIsClosed)
{
  for (const std::string& bits : {kBase, upTo(15) + "10110", upTo(15) + "1"}) {
    Octets octets = withLength(bits);
    Outcome outcome = decode("AccessCapability", octets);
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.regions + outcome.names, 0U);
    EXPECT_EQ(spareBitsOf(outcome.text), bits == kBase ? 0 : countBits(bits) - countBits(upTo(15)));
    EXPECT_EQ(outcome.again, octets);
  }
}

// The record may end behind the base and behind each group; an end anywhere else cuts an element off.
TEST(AccessCapability, CutAnywhereElseIsABadLength)
{
  const std::string whole = upTo(15);
  std::vector<unsigned> ends = {countBits(kBase)};
  for (auto& group : kGroups) ends.push_back(ends.back() + countBits(group.bits));
  for (unsigned length = 0; length < countBits(whole); ++length) {
    SCOPED_TRACE(length);
    bool legal = std::find(ends.begin(), ends.end(), length) != ends.end();
    Outcome outcome = decode("AccessCapability", withLength(length, whole));
    EXPECT_EQ(outcome.status, legal ? 0 : RTX_E_BAD_LENGTH);
    EXPECT_EQ(outcome.regions, length == ends[0] ? 0U : 1U);
  }
}

// Only the power class: the optional bit of a5Bits is passed over, and the read of esInd runs over the end.
TEST(AccessCapability, OptionalElementAtTheEndIsPassedOver)
{
  Octets octets = withLength(3, "100 1 1111111 0");
  RtxContext ctxt;
  rtxInitContext(&ctxt);
  rtxCtxtSetBufPtr(&ctxt, octets.data(), octets.size());
  TS24008IE_AccessCapability record;
  EXPECT_EQ(NASDec_TS24008IE_AccessCapability(&ctxt, &record), RTX_E_BAD_LENGTH);
  EXPECT_EQ(rtxCtxtGetBitOffset(&ctxt), 7 + 3 + 1U);
  EXPECT_FALSE(record.m.a5BitsPresent);
  EXPECT_EQ(record.rfPowerCap, 4);
  EXPECT_EQ(record.esInd, 1);
  rtxFreeContext(&ctxt);
}

// Groups above the limit are left, and their bits come back as spare bits.
TEST(AccessCapability, ReleaseLimitLeavesLaterGroups)
{
  const std::string whole = upTo(15) + "10110";
  for (unsigned limit : {0, 1, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16, 65535}) {
    SCOPED_TRACE(limit);
    Octets octets = withLength(whole);
    Outcome outcome = decode("AccessCapability", octets, limit);
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.regions, 0U);
    for (unsigned release = 4; release <= 15; ++release) {
      bool taken = !limit || release <= limit;
      EXPECT_EQ(valueOf(outcome.text, lastOf(release)) != "-", taken) << release;
    }
    EXPECT_EQ(spareBitsOf(outcome.text), countBits(whole) - countBits(upTo(limit ? limit : 15)));
    EXPECT_EQ(outcome.again, octets);
  }
}

// All elements once, in two records, for one length holds no more than 127 bits.
TEST(AccessCapability, EveryElementStandsInItsPlace)
{
  Octets first = withLength("101 1 1010101 0101"
                            "1 1 10001 1 01010 1 1 0011 1100 1 11100 1 00111 0 1 01 1 1 10"
                            "1 10 01010"
                            "01 1 10 01 1"
                            "1 01 1 1 10 01"
                            "1 10 0 1 1 101 1 010 1"
                            "1 1 01 1 0101 10 01"
                            "01 10 0");
  Outcome outcome = decode("AccessCapability", first);
  EXPECT_EQ(outcome.text.substr(0, outcome.text.find("   spareBits")), R"(x {
   length = 115
   rfPowerCap = 5
   a5Bits {
      a5-1 = true
      a5-2 = false
      a5-3 = true
      a5-4 = false
      a5-5 = true
      a5-6 = false
      a5-7 = true
   }
   esInd = false
   ps = true
   vgcs = false
   vbs = true
   multislotCap {
      hscsdMultiSlotClass = 17
      gprsMSC {
         gprsMultiSlotClass = 10
         extGPRSDynAllocCap = true
      }
      value-SMS-SM {
         smsValue = 3
         smValue = 12
      }
      ecsdMultiSlotClass = 28
      egprsMSC {
         egprsMultiSlotClass = 7
         extEGPRSDynAllocCap = false
      }
      dtmGPRSStruct {
         dtmGPRSMultiSlotClass = 1
         singleSlotDTM = true
         dtmEGPRSMultiSlotClass = 2
      }
   }
   powerCap8PSK = 2
   compactIMC = false
   revisionLevelInd = true
   umts-FDD-RATechCap = false
   umts-384-Mcps-TDD-RA-TechCap = true
   cdma-2000-RA-TechCap = false
   umts-128-Mcps-TDD-RA-TechCap = false
   geranFeaturePackage1 = true
   extGPRSMSC {
      extDtmGPRSMultiSlotClass = 2
      extDtmEGPRSMultiSlotClass = 1
   }
   moduleBasedMSCSupp = true
   highMultislotCap = 1
   geranIuModeCap = true
   multislotPowerProfile-GMSK = 2
   multislotPowerProfile-8PSK = 1
   multipleTBFCap = true
   downlinkAdvRecPerf = 2
   extendedRMCMSCap = false
   dtmEnhancementsCap = true
   dtmGPRSHighMSC {
      dtmGPRSHighMultiSlotClass = 5
      dtmEGPRSHighMultiSlotClass = 2
   }
   psHandoverCap = true
   dtmHandoverCap = true
   downlinkDualCarrierCap {
      mscReductForDownlinkDualCarrier = 1
      downlinkDualCarrierForDtmCap = true
   }
   flexibleTimeslotAssign = false
   gan-PS-HandoverCap = true
   rlcNonPersistentMode = false
   reducedLatencyCap = true
   uplinkEGPRS2 = 2
   downlinkEGPRS2 = 1
   e-UTRA-FDD-Supp = false
   e-UTRA-TDD-Supp = true
   gERANToEUTRATransferMode = 2
   priBasedReselectionSupp = false
)");
  EXPECT_EQ(outcome.again, first);

  Octets second = withLength(upTo(8) + "1 1010 011 01010 1010 0101 01 1 1 10 1 01 010101 110 10 01 1 1001 0 10 110");
  outcome = decode("AccessCapability", second);
  EXPECT_EQ(outcome.text.substr(outcome.text.find("   enhanFlex")), R"(   enhanFlexTimeSlotAssn {
      altEFTAMultiSlotClass = 10
      eftaMSCReductForDownlinkDualCarrier = 3
   }
   upLayerPDUStartCapRLCUMInd = false
   emstCapability = true
   mttiCapability = false
   utraCSGCellsReporting = true
   e-utraCSGCellsReporting = false
   dtrCapability = true
   emsrCapability = false
   fast-DL-Freq-Sw-Cap = true
   tighterCapability = false
   fanrCapability = false
   ipaCapability = true
   geranNetShareSupp = false
   eUTRA-WB-RSRQ-MeasSupp = true
   uTRA-MultFreqBandIndSupp = false
   e-UTRA-MultFreqBandIndSupp = true
   dlmcCap {
      dlmc {
         nonContigIntraBandRecep = band-DCS1800-PCS1900
         interBandRecep = true
      }
      maxBandwidth = bw10MHz
      maxNumDLTimeSlots = 21
      maxNumDLCarriers = 6
   }
   extTSCSetCapSupp = true
   extEARFCNValRange = false
   ec-pchMonSupp = ecPchSupported
   msSyncAccuracy = 9
   ecULCoverageEnhanceSupp = false
   mtaAccessSecuritySupp = true
   ecPagingIndChanMonitorSupp = false
   spareBits = { 3, 110xxxxx }
}
)");
  EXPECT_EQ(outcome.again, second);
}

// Encodes a record and tells the octets.
struct Encoding {
  RtxContext ctxt;
  uint8_t octets[64] = {};
  TS24008IE_AccessCapability record = {};
  Encoding()
  {
    rtxInitContext(&ctxt);
    rtxCtxtSetBufPtr(&ctxt, octets, sizeof octets);
  }
  ~Encoding() { rtxFreeContext(&ctxt); }
  Encoding(const Encoding&) = delete;
  int encode() { return NASEnc_TS24008IE_AccessCapability(&ctxt, &record); }
};

// A length of 7 bits is cut on the wire; the record holds the true one, and the breach is told.
TEST(AccessCapability, LengthThatDoesNotFitFailsBehindTheMerge)
{
  uint8_t spare[16];
  memset(spare, 0xFF, sizeof spare);
  Encoding e;
  e.record.spareBits = {112, spare};
  EXPECT_EQ(e.encode(), 0);
  EXPECT_EQ(e.record.length, 127);
  EXPECT_EQ(e.octets[0], 127 << 1);
  Encoding over;
  over.record.spareBits = {113, spare};
  EXPECT_EQ(over.encode(), RTX_E_CONSTRAINT);
  EXPECT_EQ(over.record.length, 128);
  EXPECT_EQ(over.octets[0], 0);
  EXPECT_EQ(over.octets[16], 0xFE); // to the last bit
}

TEST(AccessCapability, EncoderHoldsToFlagsAndRanges)
{
  Encoding plain;
  plain.record.m.extGPRSMSCPresent = 1; // without its group
  plain.ctxt.specRelease = 4;
  plain.record.m.release7Present = 1; // the limit does not bind the encoder, nor do groups bind each other
  plain.record.downlinkEGPRS2 = 3;
  EXPECT_EQ(plain.encode(), 0);
  EXPECT_EQ(plain.record.length, 15 + 10);
  EXPECT_EQ(Octets(plain.octets, plain.octets + 4), octetsOf(digits(25, 7) + zeros(23) + "11"));
  Encoding wide;
  wide.record.rfPowerCap = 8;
  EXPECT_EQ(wide.encode(), RTX_E_CONSTRAINT);
}

} // namespace
