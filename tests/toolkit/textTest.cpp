// Guards: text in the GSM default alphabet packs as TS 23.038 has it, and octets of strangers unpack within bounds.
#include <gtest/gtest.h>

#include "tests/context.h"
#include "velnor3gpp/rtx3GPP.h"

namespace {

// Packings of TS 23.038, 6.1.2.1, as other implementations give them.
constexpr std::pair<const char*, const char*> kPackings[] = {
    {"a", "61"},
    {"Open5GS", "4f78d95d3b4e01"},
    {"12345678", "31d98c56b3dd70"},
    {"0123456789abcdef", "b0986c46abd96eb85c583c2697cd"},
    {"1234567", "31d98c56b3dd00"},
    {"Test message", "d4f29c0e6a97e7f3f0b90c"},
    {"123456789", "31d98c56b3dd7039"},
    {"", ""},
};

// Packs septets by plain bit arithmetic, the least significant bit first.
Octets pack(const Octets& septets)
{
  Octets octets((septets.size() * 7 + 7) / 8);
  for (size_t bit = 0; bit < septets.size() * 7; bit++) {
    octets[bit / 8] = uint8_t(octets[bit / 8] | (septets[bit / 7] >> bit % 7 & 1) << bit % 8);
  }
  return octets;
}

Octets encode(const std::string& text)
{
  TestContext out(Octets(64));
  EXPECT_EQ(rtx3GPPEncGSMCharStr(out, text.c_str()), 0);
  return out.written();
}

TEST(GsmText, PublishedPackings)
{
  for (auto [text, octets] : kPackings) {
    EXPECT_EQ(encode(text), fromHex(octets)) << text;
    size_t count = std::string(text).size();
    // The eighth character of seven octets comes with the seventh.
    std::string dest((count + 1) / 8 * 8 > count ? count + 1 : count, '?');
    TestContext in(fromHex(octets));
    EXPECT_EQ(rtx3GPPDecGSMCharStr(in, dest.data(), dest.size(), count), 0) << text;
    EXPECT_EQ(dest.substr(0, count), text);
    EXPECT_EQ(in.position(), in.data.size() * 8);
  }
}

TEST(GsmText, EveryCharacterHasItsSeptet)
{
  const std::string escaped = "\f^{}\\[~]|", same = " !\"#%&'()*+,-./0123456789:;<=>?ABCDEFGHIJKLMNOPQRSTUVWXYZ"
                                                    "abcdefghijklmnopqrstuvwxyz\n\r";
  for (int c = 1; c < 256; c++) {
    uint8_t septet = c == '@' ? 0 : c == '$' ? 2 : c == '_' ? 17 : '?';
    if (escaped.find(char(c)) != std::string::npos) septet = 27;
    if (same.find(char(c)) != std::string::npos) septet = uint8_t(c);
    EXPECT_EQ(encode(std::string(3, char(c))), pack({septet, septet, septet})) << c;
  }
  EXPECT_EQ(encode("a[b"), pack({0x61, 0x1B, 0x62}));
}

TEST(GsmText, UnpacksTheWholeAlphabet)
{
  const std::string text = // but for the escape at 27; Greek capitals are not in ISO 8859-1
      "@\xA3$\xA5\xE8\xE9\xF9\xEC\xF2\xC7\n\xD8\xF8\r\xC5\xE5?_?????????\xC6\xE6\xDF\xC9 !\"#\xA4%&'()*+,-./"
      "0123456789:;<=>?\xA1"
      "ABCDEFGHIJKLMNOPQRSTUVWXYZ\xC4\xD6\xD1\xDC\xA7\xBF"
      "abcdefghijklmnopqrstuvwxyz"
      "\xE4\xF6\xF1\xFC\xE0 ";
  Octets septets;
  for (uint8_t s = 0; s < 128; s++)
    if (s != 27) septets.push_back(s);
  septets.push_back(' ');
  TestContext in(pack(septets));
  std::string dest(text.size(), 0);
  ASSERT_EQ(rtx3GPPDecGSMCharStr(in, dest.data(), dest.size(), septets.size()), 0);
  EXPECT_EQ(dest, text);
}

TEST(GsmText, EscapesReadTheExtensionTable)
{
  const Octets septets = {27, 10, 27, 20, 27, 40, 27, 41,  27, 47,  27,  60,
                          27, 61, 27, 62, 27, 64, 27, 101, 27, 'A', 'A', 27};
  TestContext in(pack(septets));
  std::string dest(12, 0);
  ASSERT_EQ(rtx3GPPDecGSMCharStr(in, dest.data(), dest.size(), septets.size()), 0);
  EXPECT_EQ(dest, "\f^{}\\[~]|\xA4?A");
}

TEST(GsmText, StaysWithinItsBounds)
{
  const Octets octets = fromHex("31d98c56b3dd70");
  for (size_t size = 0; size < 8; size++) {
    TestContext in(octets);
    std::vector<char> dest(size + 1, '?');
    EXPECT_EQ(rtx3GPPDecGSMCharStr(in, dest.data(), size, 8), RTX_E_ENCODE_OVERFLOW);
    EXPECT_EQ(dest[size], '?');
  }
}

TEST(CharacterSets, HoldTheDigits)
{
  for (const char* set : {gs_TS24008IES_IMSI_CharSet, gs_TS24008IES_IMEI_CharSet, gs_TS24008IES_IMEISV_CharSet})
    EXPECT_STREQ(set, "0123456789");
  for (const char* set : {gs_TS24008IES_TBCDString_CharSet, gs_TS24008IES_TBCDString3_CharSet})
    EXPECT_STREQ(set, "#*0123456789abc");
}

} // namespace
