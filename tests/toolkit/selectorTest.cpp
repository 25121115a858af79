// Guards: selectors and counters follow the padding pattern at every phase, against a bit-by-bit model.
#include <gtest/gtest.h>

#include "testContext.h"
#include "velnor3gpp/rtx3GPP.h"

namespace {

unsigned bitAt(const Octets& octets, size_t bit)
{
  return octets[bit / 8] >> (7 - bit % 8) & 1;
}

// Octets without a period that could hide a wrong phase.
Octets noise(size_t count)
{
  Octets octets(count);
  uint32_t state = 12345;
  for (uint8_t& octet : octets) octet = uint8_t((state = state * 1103515245 + 12345) >> 16);
  return octets;
}

TEST(AltDeterminant, AgreesWithTheModelAtEveryPhase)
{
  const Octets padding(8, 0x2B);
  const Octets octets = noise(8);
  TestContext in(octets);
  for (uint32_t mask : {0U, 0x80000000U, 0xC0000000U, 0xA5A5A5A5U, 0xFFFFFFFFU}) {
    for (size_t phase = 0; phase < 16; phase++) {
      for (uint32_t nbits = 0; nbits <= 32; nbits++) {
        uint32_t model = 0;
        for (size_t i = 0; i < nbits; i++) {
          bool relative = mask >> (31 - i) & 1;
          model = model << 1 | (bitAt(octets, phase + i) ^ (relative ? bitAt(padding, phase + i) : 0));
        }
        uint32_t value = 0xDEAD;
        in.seek(phase);
        ASSERT_EQ(rtx3GPPDecAltDetmnt(in, &value, nbits, mask), 0);
        ASSERT_EQ(value, model) << phase << ' ' << nbits;
        ASSERT_EQ(in.position(), phase + nbits);

        TestContext out(size_t{8});
        rtxEncBits(out, 0, phase);
        ASSERT_EQ(rtx3GPPEncAltDetmnt(out, value, nbits, mask), 0);
        for (size_t i = 0; i < nbits; i++) ASSERT_EQ(bitAt(out.data, phase + i), bitAt(octets, phase + i));
      }
    }
  }
}

TEST(AltDeterminant, Failures)
{
  TestContext in(Octets{0x2B});
  uint32_t value = 7;
  EXPECT_EQ(rtx3GPPDecAltDetmnt(in, &value, 9, 0), RTX_E_END_OF_BUFFER);
  TestContext wide(Octets(8));
  EXPECT_EQ(rtx3GPPDecAltDetmnt(wide, &value, 33, 0xFFFFFFFF), RTX_E_TOO_BIG);
  EXPECT_EQ(value, 7U);
  TestContext out(size_t{1});
  EXPECT_EQ(rtx3GPPEncAltDetmnt(out, 0, 9, 0), RTX_E_ENCODE_OVERFLOW);
}

// The frequency short list's selector: 0, 100, 101, 110, 111 (TS 44.018, 10.5.2.14).
constexpr Rtx3gppAltDetmntNode kShortList[] = {
    {0, 0, 0, 1, 0}, {0, 2, 0, 3, 0}, {0, 0, 0x80000000, 0, 0xA0000000}, {0, 0, 0xC0000000, 0, 0xE0000000}};

TEST(VarAltDeterminant, WalksTheTree)
{
  const struct {
    uint8_t octet;
    uint32_t value;
    size_t bits;
  } cases[] = {
      {0x7F, 0, 1}, {0x9F, 0x80000000, 3}, {0xBF, 0xA0000000, 3}, {0xDF, 0xC0000000, 3}, {0xFF, 0xE0000000, 3}};
  for (const auto& c : cases) {
    TestContext in(Octets{c.octet});
    uint32_t value = 1;
    EXPECT_EQ(rtx3GPPDecVarAltDetmnt(in, &value, kShortList, 3), 0);
    EXPECT_EQ(value, c.value);
    EXPECT_EQ(in.position(), c.bits);
  }
}

TEST(VarAltDeterminant, PaddingBitsReadAsOneAtEveryPhase)
{
  constexpr Rtx3gppAltDetmntNode relative[] = {{1, 0, 10, 0, 20}};
  for (size_t phase = 0; phase < 8; phase++) {
    for (uint8_t octet : {0x2B, 0xD4}) {
      TestContext in(Octets{octet});
      in.seek(phase);
      uint32_t value;
      ASSERT_EQ(rtx3GPPDecVarAltDetmnt(in, &value, relative, 0), 0);
      EXPECT_EQ(value, octet == 0x2B ? 20U : 10U) << phase;
    }
  }
}

TEST(VarAltDeterminant, Failures)
{
  uint32_t value = 5;
  constexpr Rtx3gppAltDetmntNode refused[] = {{0, -1, 0, 0, 0}};
  TestContext a(Octets{0});
  EXPECT_EQ(rtx3GPPDecVarAltDetmnt(a, &value, refused, 0), RTX_E_INVALID_CHOICE);
  // The walk may not go on from the last node, nor enter one that is not there.
  constexpr Rtx3gppAltDetmntNode loop[] = {{0, 1, 0, 0, 0}, {0, 1, 0, 0, 0}};
  TestContext b(Octets{0});
  EXPECT_EQ(rtx3GPPDecVarAltDetmnt(b, &value, loop, 1), RTX_E_INDEX_RANGE);
  EXPECT_EQ(b.position(), 2U);
  constexpr Rtx3gppAltDetmntNode outside[] = {{0, 7, 0, 0, 0}, {0, 0, 0, 0, 0}};
  TestContext c(Octets{0});
  EXPECT_EQ(rtx3GPPDecVarAltDetmnt(c, &value, outside, 1), RTX_E_INDEX_RANGE);
  TestContext d(Octets{});
  EXPECT_EQ(rtx3GPPDecVarAltDetmnt(d, &value, kShortList, 3), RTX_E_END_OF_BUFFER);
  EXPECT_EQ(value, 5U);
  TestContext e(Octets{0});
  EXPECT_EQ(rtx3GPPDecVarAltDetmnt(e, nullptr, kShortList, 3), RTX_E_BAD_PARAMETER);
}

TEST(UnaryCounter, CountsUpTo255AtEveryPhase)
{
  for (unsigned phase = 0; phase < 8; phase++) {
    for (unsigned count : {0, 1, 2, 7, 8, 9, 31, 254, 255}) {
      for (unsigned bit : {0, 1}) {
        TestContext out(size_t{40});
        rtxEncBits(out, 0, phase);
        for (unsigned i = 0; i < count; i++) rtxEncBit(out, int(bit));
        rtxEncBit(out, !bit);
        TestContext in(out.data);
        in.seek(phase);
        uint8_t read = 99;
        ASSERT_EQ(rtx3GPPDecIntAsBits(in, &read, uint8_t(bit)), 0);
        EXPECT_EQ(read, count);
        EXPECT_EQ(in.position(), phase + count + 1);
      }
      TestContext out(size_t{72});
      rtxEncBits(out, 0, phase);
      ASSERT_EQ(rtx3GPPEncIntAsBits(out, uint8_t(count), 0), 0);
      ASSERT_EQ(rtx3GPPEncIntAsBitsPattern(out, uint8_t(count), 0xD4), 0);
      ASSERT_EQ(out.position(), phase + 2 * (count + 1));
      TestContext in(out.data);
      in.seek(phase);
      uint8_t plain;
      uint8_t pattern;
      ASSERT_EQ(rtx3GPPDecIntAsBits(in, &plain, 0), 0);
      ASSERT_EQ(rtx3GPPDecIntAsBitsPattern(in, &pattern, 0xD4), 0);
      EXPECT_EQ(plain, count);
      EXPECT_EQ(pattern, count);
    }
  }
}

// The counter by pattern is a run of H bits ended by an L bit.
TEST(UnaryCounter, PatternCounterIsRelativeToThePadding)
{
  for (size_t phase = 0; phase < 8; phase++) {
    TestContext out(size_t{4});
    rtxEncBits(out, 0, phase);
    ASSERT_EQ(rtx3GPPEncIntAsBitsPattern(out, 11, 0xD4), 0);
    for (size_t i = 0; i <= 11; i++) {
      EXPECT_EQ(bitAt(out.data, phase + i) ^ bitAt(Octets(4, 0x2B), phase + i), i < 11) << phase << ' ' << i;
    }
  }
}

TEST(UnaryCounter, TheTerminatorOfOneBitsIsAOneToo)
{
  TestContext out(size_t{1});
  ASSERT_EQ(rtx3GPPEncIntAsBits(out, 3, 1), 0);
  EXPECT_EQ(out.data[0], 0xF0);
}

TEST(UnaryCounter, Failures)
{
  uint8_t count;
  TestContext in(Octets(32, 0xFF));
  EXPECT_EQ(rtx3GPPDecIntAsBits(in, &count, 1), RTX_E_TOO_BIG);
  EXPECT_EQ(in.position(), 256U);
  TestContext pattern(Octets(32, 0xD4));
  EXPECT_EQ(rtx3GPPDecIntAsBitsPattern(pattern, &count, 0xD4), RTX_E_TOO_BIG);
  TestContext cut(Octets(3, 0xFF));
  EXPECT_EQ(rtx3GPPDecIntAsBits(cut, &count, 1), RTX_E_END_OF_BUFFER);
  TestContext none(Octets{0});
  EXPECT_EQ(rtx3GPPDecIntAsBits(none, nullptr, 1), RTX_E_BAD_PARAMETER);
  TestContext full(size_t{1});
  EXPECT_EQ(rtx3GPPEncIntAsBits(full, 8, 0), RTX_E_ENCODE_OVERFLOW);
  EXPECT_EQ(full.position(), 8U);
}

} // namespace
