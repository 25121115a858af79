// Guards: selectors at any bit position and of any width against a model, and the text of messages by the arithmetic of
// its septets. Single calls stand in calls.txt.
#include <gtest/gtest.h>

#include "tests/bench.h"
#include "velnor3gpp/rtx3GPP.h"

namespace {

// Against a model bit by bit, on octets without a period that could hide a wrong phase.
TEST(AltDeterminant, AgreesWithTheModelAtEveryPhase)
{
  const Octets octets = octetsOfHex("d31c5e0fa92477b8");
  const Bits bits(octets), padding(Octets(8, 0x2B));
  for (uint32_t mask : {0U, 0x80000000U, 0xA5A5A5A5U, 0xFFFFFFFFU}) {
    for (size_t phase = 0; phase < 16; phase++) {
      for (uint32_t nbits = 0; nbits <= 32; nbits++) {
        uint32_t model = 0, value = 0xDEAD;
        for (size_t i = 0; i < nbits; i++) {
          bool relative = mask >> (31 - i) & 1;
          model = model << 1 | (bits[phase + i] ^ (relative ? padding[phase + i] : 0));
        }
        Bench in(octets, phase), out(Octets(8), phase);
        ASSERT_EQ(rtx3GPPDecAltDetmnt(&in, &value, nbits, mask), 0);
        ASSERT_EQ(value, model) << phase << ' ' << nbits;
        ASSERT_EQ(in.at(), phase + nbits);
        ASSERT_EQ(rtx3GPPEncAltDetmnt(&out, value, nbits, mask), 0);
        for (size_t i = 0; i < nbits; i++) ASSERT_EQ(Bits(out.data)[phase + i], bits[phase + i]);
      }
    }
  }
}

// Packs septets by plain bit arithmetic, the least significant bit first.
Octets pack(const Octets& septets)
{
  Octets octets((septets.size() * 7 + 7) / 8);
  for (size_t bit = 0; bit < septets.size() * 7; bit++)
    octets[bit / 8] = uint8_t(octets[bit / 8] | (septets[bit / 7] >> bit % 7 & 1) << bit % 8);
  return octets;
}

TEST(GsmText, EveryCharacterHasItsSeptet)
{
  const std::string escaped = "\f^{}\\[~]|", same = " !\"#%&'()*+,-./0123456789:;<=>?ABCDEFGHIJKLMNOPQRSTUVWXYZ"
                                                    "abcdefghijklmnopqrstuvwxyz\n\r";
  for (int c = 1; c < 256; c++) {
    uint8_t septet = c == '@' ? 0 : c == '$' ? 2 : c == '_' ? 17 : '?';
    if (escaped.find(char(c)) != std::string::npos) septet = 27;
    if (same.find(char(c)) != std::string::npos) septet = uint8_t(c);
    Bench out(Octets(8));
    EXPECT_EQ(rtx3GPPEncGSMCharStr(&out, std::string(3, char(c)).c_str()), 0);
    EXPECT_EQ(Octets(out.data.begin(), out.data.begin() + 3), pack({septet, septet, septet})) << c;
  }
}

TEST(GsmText, UnpacksTheWholeAlphabetAndItsExtension)
{
  const std::string text = // but for the escape at 27; Greek capitals are not in ISO 8859-1
      "@\xA3$\xA5\xE8\xE9\xF9\xEC\xF2\xC7\n\xD8\xF8\r\xC5\xE5?_?????????\xC6\xE6\xDF\xC9 !\"#\xA4%&'()*+,-./"
      "0123456789:;<=>?\xA1"
      "ABCDEFGHIJKLMNOPQRSTUVWXYZ\xC4\xD6\xD1\xDC\xA7\xBF"
      "abcdefghijklmnopqrstuvwxyz"
      "\xE4\xF6\xF1\xFC\xE0\f^{}\\[~]|\xA4?AA";
  Octets septets;
  for (uint8_t s = 0; s < 128; s++)
    if (s != 27) septets.push_back(s);
  for (uint8_t extension : {10, 20, 40, 41, 47, 60, 61, 62, 64, 101, 65})
    septets.insert(septets.end(), {27, extension});
  septets.insert(septets.end(), {'A', 'A', 27}); // an escape of nothing is none
  Bench in(pack(septets));
  std::string dest(text.size(), 0);
  ASSERT_EQ(rtx3GPPDecGSMCharStr(&in, dest.data(), dest.size(), septets.size()), 0);
  EXPECT_EQ(dest, text);
}

} // namespace
