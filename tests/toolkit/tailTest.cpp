// Guards: an unknown tail is passed over by its form, shifts are followed, and comprehension is asked for when due.
#include <gtest/gtest.h>

#include "tests/context.h"
#include "velnor3gpp/rtx3GPP.h"

namespace {

struct TailCase {
  const char* what;
  const char* octets;
  int plain;  // Status without shifts.
  int shifts; // Status with shifts.
};

constexpr TailCase kCases[] = {
    {"nothing", "", 0, 0},
    {"single octets", "81a5ff", 0, 0},
    {"length and value", "4102aabb10017f7e00", 0, 0},
    {"value that looks like elements", "1003070000", 0, 0},
    {"no length", "41", RTX_E_END_OF_BUFFER, RTX_E_END_OF_BUFFER},
    {"value cut short", "4103aabb", RTX_E_END_OF_BUFFER, RTX_E_END_OF_BUFFER},
    {"comprehension", "0703aabbcc", RTX_E_NOT_SUPPORTED, RTX_E_NOT_SUPPORTED},
    {"comprehension, value cut short", "0703", RTX_E_NOT_SUPPORTED, RTX_E_NOT_SUPPORTED},
    {"comprehension without a length", "07", RTX_E_END_OF_BUFFER, RTX_E_END_OF_BUFFER},
    {"locking shift holds for all", "95070007000700", RTX_E_NOT_SUPPORTED, 0},
    {"non-locking shift holds for one", "9d0700", RTX_E_NOT_SUPPORTED, 0},
    {"non-locking shift ends after one", "9d07000700", RTX_E_NOT_SUPPORTED, RTX_E_NOT_SUPPORTED},
    {"non-locking shift covers a single octet", "9d810700", RTX_E_NOT_SUPPORTED, RTX_E_NOT_SUPPORTED},
    {"locking shift to codeset 0 changes nothing", "900700", RTX_E_NOT_SUPPORTED, RTX_E_NOT_SUPPORTED},
    {"locking shift down changes nothing", "95900700", RTX_E_NOT_SUPPORTED, 0},
    {"non-locking shift to codeset 0", "95980700", RTX_E_NOT_SUPPORTED, RTX_E_NOT_SUPPORTED},
    {"back in the locked codeset", "9598810700", RTX_E_NOT_SUPPORTED, 0},
    {"shift at the end", "95", 0, 0},
};

TEST(Tail, IsPassedOverByItsForm)
{
  for (const TailCase& c : kCases) {
    for (uint8_t shifts : {0, 1}) {
      Octets octets = fromHex(c.octets);
      TestContext in(octets);
      int expected = shifts ? c.shifts : c.plain;
      EXPECT_EQ(rtx3GPPDecL3NonImperative(in, shifts), expected) << c.what << " shifts " << int(shifts);
      EXPECT_EQ(rtxErrGetErrorCnt(in), expected ? 1U : 0U) << c.what;
      size_t end = octets.size() * 8;
      EXPECT_TRUE(expected != 0 || in.position() == end) << c.what;
    }
  }
}

TEST(Tail, ComprehensionLeavesItsWords)
{
  TestContext in(fromHex("0700"));
  ASSERT_EQ(rtx3GPPDecL3NonImperative(in, 0), RTX_E_NOT_SUPPORTED);
  const auto& error = *static_cast<RtxErrInfo*>(in->errInfo.tail->data);
  ASSERT_EQ(error.parmcount, 1);
  EXPECT_STREQ(error.parms[0], "comprehension required on unknown IEI");
}

TEST(Tail, EndsWithItsRegion)
{
  TestContext in(fromHex("4101aa0700"));
  rtxCtxtPushContainerBytes(in, 3);
  EXPECT_EQ(rtx3GPPDecL3NonImperative(in, 0), 0);
  EXPECT_EQ(in.position(), 24U);
  // A shift that ends the region, or that crosses its end, is the end of the tail.
  for (size_t bits : {8, 12, 4}) {
    TestContext shift(fromHex("950700"));
    rtxCtxtPushContainerBits(shift, bits);
    EXPECT_EQ(rtx3GPPDecL3NonImperative(shift, 1), 0);
    EXPECT_EQ(shift.position(), 8U) << bits;
  }
}

} // namespace
