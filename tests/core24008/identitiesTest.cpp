// Mobile identities, network names and digit strings.
#include <gtest/gtest.h>

#include <cstring>

#include "rt3gppsrc/engine/l3Engine.h"
#include "tests/core24008/golden.h"
#include "velnor3gpp/TS24008IES.h"
#include "velnor3gpp/rtxContainer.h"
#include "velnor3gpp/rtxContext.h"
#include "velnor3gpp/rtxError.h"
#include "velnor3gpp/rtxStatus.h"

namespace {

class Coding : public testing::Test {
protected:
  void SetUp() override { rtxInitContext(&ctxt); }
  void TearDown() override { rtxFreeContext(&ctxt); }
  void bind(const void* octets, size_t count)
  {
    rtxCtxtSetBufPtr(&ctxt, static_cast<uint8_t*>(const_cast<void*>(octets)), count);
  }
  RtxContext ctxt;
};

} // namespace

TEST(MobileIdentities, Forms)
{
  const char* type = "TS24008IE_MobileIdentity";
  for (const Golden& golden : std::initializer_list<Golden>{
           {"IMSI of 15 digits", type, "08 09 10 10 21 43 65 87 09", 0, 0,
            "x {\nlength = 8\nimsi = '001011234567890'\n}\n"},
           {"IMSI of 6 digits", type, "04 11 32 54 F6", 0, 0, "x {\nlength = 4\nimsi = '123456'\n}\n"},
           {"IMEISV", type, "09 33 95 77 05 95 78 56 64 F4", 0, 0, "x {\nlength = 9\nimeisv = '3597750598765464'\n}\n"},
           {"TMSI", type, "05 F4 5A 42 E4 04", 0, 0, "x {\nlength = 5\ntmsi = 0x5a42e404\n}\n"},
           {"TMGI", type, "04 05 01 02 03", 0, 0, "x {\nlength = 4\ntmgi {\nmbmsServiceID = 0x010203\n}\n}\n"},
           {"TMGI of a network and a session", type, "08 35 01 02 03 00 F1 10 2A", 0, 0,
            "x {\nlength = 8\ntmgi {\nmbmsServiceID = 0x010203\nmcc-mnc {\nmcc = '001'\nmnc = '01'\n}\n"
            "mbmsSessionID = 42\n}\n}\n"},
           {"no identity in paging", type, "01 F0", 0, 0, "x {\nlength = 1\nnone = <null>\n}\n"},
           {"no identity from GMM", type, "03 00 00 00", 0, 0, "x {\nlength = 3\nnone = <null>\n}\n"},
           {"octets behind a TMSI", type, "06 F4 5A 42 E4 04 77", 0, 0, "x {\nlength = 6\ntmsi = 0x5a42e404\n}\n",
            "05 F4 5A 42 E4 04"},
           {"TMSI past its length", type, "03 F4 5A 42 E4 04", -66, -66, nullptr},
           {"a type that does not exist", type, "01 F7", -9, -9, nullptr},
           {"too many digits", type, "0A 19 10 10 21 43 65 87 09 21 43", -23, -50, nullptr},
       })
    checkGolden(golden);
}

TEST(NetworkNames, Texts)
{
  const char* type = "TS24008IE_NetworkName";
  for (const Golden& golden : std::initializer_list<Golden>{
           {"packed", type, "05 84 F4F29C0E", 0, 0,
            "x {\nlength = 5\next = true\ncodingScheme = callBcastData\naddCI = false\nnumSpareBitsInLastOct = 4\n"
            "textString {\ncallBcastData = 'test'\n}\n}\n"},
           {"seven characters leave seven spare bits", type, "08 87 F4F29C9E769F01", 0, 0,
            "x {\nlength = 8\next = true\ncodingScheme = callBcastData\naddCI = false\nnumSpareBitsInLastOct = 7\n"
            "textString {\ncallBcastData = 'testing'\n}\n}\n"},
           {"UCS2", type, "05 90 0041 0416", 0, 0,
            "x {\nlength = 5\next = true\ncodingScheme = ucs2\naddCI = false\nnumSpareBitsInLastOct = 0\n"
            "textString {\nucs2 = 'A0x0416'\n}\n}\n"},
           {"a coding scheme without text", type, "01 F0", -9, -9, nullptr},
           {"text past the input", type, "05 84 F4F2", -2, -2, nullptr},
       })
    checkGolden(golden);
}

TEST_F(Coding, StringsOfAGivenSize)
{
  char imsi[16], imeisv[17];
  char* text = nullptr;
  bind("\x21\x43\xF5", 3);
  EXPECT_EQ(NASDec_TS24008IE_IMSI(&ctxt, imsi, 3), 0);
  EXPECT_STREQ(imsi, "12345");
  bind("\x21\x43\x65\x87\x09\x21\x43\xF5", 8);
  EXPECT_EQ(NASDec_TS24008IE_IMEI(&ctxt, imsi, 8), 0);
  EXPECT_STREQ(imsi, "123456789012345");
  bind("\x21\x43\x65\x87\x09\x21\x43\x65", 8);
  EXPECT_EQ(NASDec_TS24008IE_IMEISV(&ctxt, imeisv, 8), 0);
  EXPECT_STREQ(imeisv, "1234567890123456");
  bind("\xA1\xFB\x77", 3);
  EXPECT_EQ(NASDec_TS24008IE_TBCDString(&ctxt, &text, 2), 0);
  EXPECT_STREQ(text, "1*#");
  EXPECT_EQ(rtxCtxtGetBitOffset(&ctxt), 16u);
  EXPECT_EQ(NASDec_TS24008IE_TBCDString(&ctxt, &text, 0), 0);
  EXPECT_STREQ(text, "");
  bind("\xF4\xF2\x9C\x9E\x76\x9F\x01", 7);
  EXPECT_EQ(NASDec_TS24008IE_GSMString(&ctxt, &text, 7, 7), 0);
  EXPECT_STREQ(text, "testing");
}

TEST_F(Coding, StringsThatDoNotFit)
{
  char imsi[16] = "untouched";
  char* text = nullptr;
  bind("\x21\x43\x65\x87\x09\x21\x43\x65\x87", 9);
  EXPECT_EQ(NASDec_TS24008IE_IMSI(&ctxt, imsi, 8), RTX_E_TOO_BIG);
  EXPECT_STREQ(imsi, "untouched");
  rtxErrReset(&ctxt);
  bind("\x21\x43", 2);
  EXPECT_EQ(NASDec_TS24008IE_IMSI(&ctxt, imsi, 9), RTX_E_ENCODE_OVERFLOW);
  for (size_t octets : {size_t{3}, SIZE_MAX}) {
    rtxErrReset(&ctxt);
    bind("\x21\x43", 2);
    EXPECT_EQ(NASDec_TS24008IE_TBCDString(&ctxt, &text, octets), RTX_E_END_OF_BUFFER);
    rtxErrReset(&ctxt);
    bind("\x21\x43", 2);
    EXPECT_EQ(NASDec_TS24008IE_GSMString(&ctxt, &text, octets, 0), RTX_E_END_OF_BUFFER);
  }
  uint8_t out[4];
  rtxErrReset(&ctxt);
  bind(out, sizeof out);
  EXPECT_EQ(NASEnc_TS24008IE_IMSI(&ctxt, "12x4"), RTX_E_BAD_CHAR);
  rtxErrReset(&ctxt);
  bind(out, sizeof out);
  EXPECT_EQ(NASEnc_TS24008IE_TBCDString(&ctxt, nullptr), 0);
  EXPECT_EQ(rtxCtxtGetBitOffset(&ctxt), 0u);
}

// The pair is read and written at once where it can be; both ways must agree in everything that a caller sees.
class PlmnPairs : public Coding {
protected:
  struct Seen {
    int status;
    size_t bitPos, errors;
    TS24008IE_MCCMNCPair pair;
    uint8_t octets[6];
    bool operator==(const Seen& other) const
    {
      return status == other.status && bitPos == other.bitPos && errors == other.errors &&
             !memcmp(&pair, &other.pair, sizeof pair) && !memcmp(octets, other.octets, sizeof octets);
    }
  };
  template <typename Code> Seen see(bool slow, const Seen& start, size_t size, size_t bit, Code code)
  {
    Seen seen = start;
    l3SetSlowMode(slow);
    rtxErrReset(&ctxt);
    bind(seen.octets, size);
    ctxt.buffer.bitOffset = static_cast<int16_t>(8 - bit);
    seen.status = code(&ctxt, &seen.pair);
    seen.bitPos = rtxCtxtGetBitOffset(&ctxt);
    seen.errors = ctxt.errInfo.count;
    rtxMemReset(&ctxt);
    l3SetSlowMode(false);
    return seen;
  }
};

TEST_F(PlmnPairs, ReadBothWays)
{
  for (unsigned place = 0; place < 8; ++place)
    for (unsigned nibble = 0; nibble < 16; ++nibble)
      for (size_t size = 0; size <= 5; ++size)
        for (size_t bit : {0, 4, 5}) {
          Seen start = {0, 0, 0, {"zzz", "zzz"}, {0x21, 0x63, 0x54, 0x98, 0x76}};
          start.octets[place / 2] = static_cast<uint8_t>(place & 1 ? 0x20 | nibble : nibble << 4 | 5);
          Seen fast = see(false, start, size, bit, NASDec_TS24008IE_MCCMNCPair);
          EXPECT_TRUE(fast == see(true, start, size, bit, NASDec_TS24008IE_MCCMNCPair))
              << place << nibble << size << bit;
          EXPECT_EQ(fast.status < 0, size * 8 < bit + 24);
        }
}

TEST_F(PlmnPairs, WrittenBothWays)
{
  for (unsigned place = 0; place < 6; ++place)
    for (char digit : {'0', '9', '*', 'c', 'd', 'x', '\0', '\x0F'})
      for (size_t size = 0; size <= 5; ++size)
        for (size_t bit : {0, 4}) {
          Seen start = {0, 0, 0, {"123", "456"}, {0xFF, 0xFF, 0xFF, 0xFF, 0xFF}};
          (place < 3 ? start.pair.mcc : start.pair.mnc)[place % 3] = digit;
          Seen fast = see(false, start, size, bit, NASEnc_TS24008IE_MCCMNCPair);
          EXPECT_TRUE(fast == see(true, start, size, bit, NASEnc_TS24008IE_MCCMNCPair))
              << place << digit << size << bit;
        }
}
