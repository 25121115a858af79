// Guards the text form of every kind of value, in the stream, standard-output and string families.
#include "tests/print/PrintCapture.h"
#include "velnor3gpp/rtPrint.h"
#include "velnor3gpp/rtPrintToStream.h"
#include "velnor3gpp/rtPrintToString.h"

namespace {

const uint8_t kOctets[40] = {0x00, 0x2a, 0x41, 0x20, 0x7e, 0x7f, 0xff, 0x12, 0x34, 0x56, 0x78, 0x9a, 0xbc, 0xde};
const uint8_t* const kBits = kOctets + 1;
const int32_t kLeast32 = INT32_MIN;
const int64_t kLeast64 = INT64_MIN;
const uint64_t kMost64 = UINT64_MAX;
const uint16_t kWide[] = {'a', ' ', 0x20ac, 0x7f, 0}, kA16[] = {0x4141, 0x4141};
const uint32_t kWider[] = {'a', 0x1f600}, kA32[] = {0x41414141};
const uint8_t kIpv4[] = {192, 168, 0, 255}, kIpv6[] = {0x20, 0x01, 0x0d, 0xb8}, kTbcd[] = {0x21, 0xdc, 0xfa},
              kText[] = {'a', 0, ' ', 0x7f, '~'};
const RtxNameValuePair kPair = {"n", nullptr};
const RtBitName kNames[] = {{"two", 2}, {"three", 3}, {"four", 4}, {"beyond", 6}, {nullptr, 0}};
const RtObjId kOid = {3, {1, 2, 840}}, kOverfullOid = {RT_MAX_ARCS + 1, {1, 2, 0x80000000}};
const RtObjId64 kWideOid = {2, {1, UINT64_C(1) << 40}};
const RtxDateTime kWest = {2024, 2, 29, 23, 59, 5, 3, 1, -90, 7}, kZulu = {2024, 2, 29, 23, 59, 5, 0, 1, 0, 7},
                  kEast = {2024, 2, 29, 23, 59, 5, 1, 1, 345, 7}, kLocal = {2024, 2, 29, 23, 59, 5, 0, 0, 345, 0};

// One value in each family that prints it. Its texts stand below the heading in forms.txt; where standard output or
// the string have another text, that stands below the heading with ", direct" or ", string".
struct Form {
  const char* heading;
  int (*stream)(RtxContext*);
  int (*direct)();
  int (*string)(char*, size_t);
};

#define STREAM(call) [](RtxContext* pctxt) { return call; }
#define DIRECT(call) [] { return call; }
#define STRING(call) [](char* buffer, size_t size) { return call; }
#define BOTH_OF(stream, direct, Form, ...)                                                                             \
#Form "(" #__VA_ARGS__ ")", STREAM(stream##Form(pctxt, __VA_ARGS__)), DIRECT(direct##Form(__VA_ARGS__))
#define BOTH(r, Form, ...) BOTH_OF(r##PrintToStream, r##Print, Form, __VA_ARGS__)
#define ALL(r, Form, ...) BOTH(r, Form, __VA_ARGS__), STRING(rtPrintToString##Form(__VA_ARGS__, buffer, size))
#define OCTETS(Form, data)                                                                                             \
  {                                                                                                                    \
    BOTH_OF(rtPrintToStream, rtxPrint, Form, "a", sizeof data, data), nullptr                                          \
  }
#define NO_OCTETS(Form)                                                                                                \
  {                                                                                                                    \
    BOTH_OF(rtPrintToStream, rtxPrint, Form, "a", 4, nullptr), nullptr                                                 \
  }

const Form kForms[] = {
    {ALL(rtx, Boolean, "b", 2)},
    {ALL(rtx, Boolean, "b", 0)},
    {ALL(rtx, Integer, "i", kLeast32)},
    {ALL(rtx, Int64, "i", kLeast64)},
    {ALL(rtx, Unsigned, "u", 0)},
    {ALL(rtx, UInt64, "u", kMost64)},
    {ALL(rtx, Real, "r", 1.23456789)},
    {ALL(rtx, Null, "n")},
    {ALL(rtx, HexStr, "x", 32, kOctets)},
    {BOTH(rtx, HexStr, "x", 33, kOctets), nullptr},
    {ALL(rtx, HexStr, "x", 0, nullptr)},
    {BOTH(rtx, HexStrPlain, "x", 33, kOctets), STRING(rtPrintToStringHexStr("x", 33, kOctets, buffer, size))},
    {BOTH(rtx, HexStrNoAscii, "x", 33, kOctets), nullptr},
    {BOTH(rtx, HexStrNoAscii, "x", 1, kOctets), nullptr},
    {ALL(rtx, HexBinary, "x", 33, kOctets)},
    {ALL(rtx, CharStr, "s", "a'b")},
    {BOTH(rtx, UTF8CharStr, "s", nullptr), STRING(rtPrintToStringUTF8Str("s", nullptr, buffer, size))},
    {ALL(rtx, UnicodeCharStr, "s", kWide, -1)},
    {ALL(rt, UnicodeCharStr, "s", kWide, 5)},
    {BOTH(rtx, UnicodeCharStr, "s", nullptr, 3), nullptr},
    {"UnicodeCharStr64(\"s\", kWide, 2)", nullptr, DIRECT(rtxPrintUnicodeCharStr64("s", kWide, 2)), nullptr},
    {ALL(rt, UnivCharStr, "s", 2, kWider)},
    {BOTH(rt, UnivCharStr, "s", 2, nullptr), nullptr},
    {ALL(rtx, NVP, "p", &kPair)},
    {"ArrayNVP(\"p\", 12, &kPair)", nullptr, DIRECT(rtxPrintArrayNVP("p", 12, &kPair)), nullptr},
    OCTETS(Ipv4Addr, kIpv4),
    OCTETS(Ipv6Addr, kIpv6),
    OCTETS(TBCDStr, kTbcd),
    OCTETS(Text, kText),
    NO_OCTETS(Ipv4Addr), // octets that are missing print as none
    NO_OCTETS(Ipv6Addr),
    NO_OCTETS(TBCDStr),
    NO_OCTETS(Text),
    {ALL(rt, BitStr, "s", 0, kBits, ".")},
    {ALL(rt, BitStr, "s", 3, kBits, ".")},
    {ALL(rt, BitStr, "s", 12, kBits, ".")},
    {ALL(rt, BitStr, "s", 64, kBits, ".")},
    {ALL(rt, BitStr, "s", 129, kBits, ".")},
    {ALL(rt, BitStrExt, "s", 8, kBits, 0xbeef, "->")},
    {ALL(rt, BitStrBin, "s", 10, kBits, ".")},
    {ALL(rt, BitStrNamed, "s", 6, kBits, kNames, ".")},
    {ALL(rt, BitStrNamedExt, "s", 6, kBits, 7, kNames, ".")},
    {BOTH(rt, BitStrNamed, "s", 6, kBits, nullptr, "."), nullptr},
    {ALL(rt, BitStrBraceText, "s", 0, kBits, ".")},
    {ALL(rt, BitStrBraceText, "s", 9, nullptr, ".")},
    {ALL(rt, BitStrBraceText, "s", 63, kBits, ".")},
    {ALL(rt, BitStrBraceTextExt, "s", 9, kBits, 7, ".")},
    {ALL(rt, OctStr, "o", 2, kBits, ".")},
    {ALL(rt, OpenType, "o", 0, nullptr, "")},
    {ALL(rt, 32BitCharStr, "o", 1, kA32, ".")},
    {ALL(rt, 16BitCharStr, "o", 2, kA16, ".")},
    {ALL(rt, OID, "o", &kOid)},
    {ALL(rt, OIDValue, &kOid)},
    {ALL(rt, OIDValue, &kOverfullOid)}, // arcs beyond the record are none
    {ALL(rt, OID2, "o", 2, kOid.arcs)},
    {ALL(rt, OID2, "o", 2, nullptr)},
    {ALL(rt, OID64, "o", &kWideOid)},
    {ALL(rt, OIDStr, "o", "1 2")},
    {ALL(rt, OIDStr, "o", nullptr)},
    {ALL(rt, DateTime, "t", &kWest)},
    {ALL(rt, DateTime, "t", &kZulu)},
    {ALL(rt, DateTime, "t", &kEast)},
    {ALL(rt, DateTime, "t", &kLocal)},
    {ALL(rt, DateTime, "t", nullptr)},
};

class FormsTest : public PrintTest {
protected:
  Texts texts = textsOf("forms.txt");

  std::string expected(const std::string& heading, const std::string& family)
  {
    return texts.count(heading + family) ? texts[heading + family] : texts[heading];
  }

  // Appended behind what stands; with one octet too few the call fails and keeps within its room.
  static void checkString(int (*print)(char*, size_t), const std::string& expected)
  {
    std::string whole = "> " + expected;
    std::vector<char> room(whole.size() + 1), small(whole.size());
    strcpy(room.data(), "> ");
    EXPECT_EQ(print(room.data(), room.size()), 0);
    EXPECT_EQ(room.data(), whole);
    strcpy(small.data(), "> ");
    EXPECT_EQ(print(small.data(), small.size()), RTX_E_ENCODE_OVERFLOW);
    EXPECT_EQ(whole.find(small.data()), 0u) << small.data();
    EXPECT_EQ(print(nullptr, 10), RTX_E_ENCODE_OVERFLOW);
  }
};

TEST_F(FormsTest, StandAsTheyAreWritten)
{
  for (const Form& form : kForms) {
    SCOPED_TRACE(form.heading);
    EXPECT_TRUE(texts.count(form.heading));
    if (form.direct) {
      std::string text = viaStdout([&] { EXPECT_EQ(form.direct(), 0); });
      if (!text.empty() && text.back() != '\n') text += "(no line feed)\n"; // TBCD digits have none there
      EXPECT_EQ(text, expected(form.heading, ", direct"));
    }
    if (form.string) checkString(form.string, expected(form.heading, ", string"));
    if (!form.stream) continue;
    auto print = [&](RtxContext* pctxt) { EXPECT_EQ(form.stream(pctxt), 0); };
    EXPECT_EQ(viaCallback(print), texts[form.heading]);
    EXPECT_EQ(viaString(print), texts[form.heading]);
    EXPECT_EQ(viaFile(print), texts[form.heading]);
  }
}

// Braces indent by three, never below zero, each family on its own count.
TEST_F(FormsTest, BracesAndIndentation)
{
  auto nested = [](RtxContext* pctxt) {
    rtxPrintToStreamDecrIndent(pctxt);
    rtxPrintToStreamOpenBrace(pctxt, "a");
    rtxPrintToStreamOpenBrace(pctxt, "b");
    rtxPrintToStreamIndent(pctxt);
    rtPrintToStreamBitStrBraceTextExt(pctxt, "s", 64, kBits, 7, ".");
    rtxPrintToStreamIndent(pctxt);
    rtxPrintToStreamNull(pctxt, "c");
    rtxPrintToStreamCloseBrace(pctxt);
    rtxPrintToStreamCloseBrace(pctxt);
    rtxPrintToStreamIncrIndent(pctxt);
    rtxPrintToStreamResetIndent(pctxt);
    rtxPrintToStreamIndent(pctxt);
  };
  EXPECT_EQ(viaCallback(nested), texts["nested"]);
  EXPECT_EQ(viaStdout([&] { nested(nullptr); }), texts["nested"]);
  char text[64] = "";
  rtPrintToStringDecrIndent();
  EXPECT_EQ(rtPrintToStringOpenBrace("a", text, sizeof text), 0);
  EXPECT_EQ(rtPrintToStringIndent(text, sizeof text), 0);
  EXPECT_EQ(rtPrintToString("x\n", text, sizeof text), 0);
  EXPECT_EQ(rtPrintToString(nullptr, text, sizeof text), RTX_E_ENCODE_OVERFLOW);
  EXPECT_EQ(rtPrintToStringCloseBrace(text, sizeof text), 0);
  rtPrintToStringIncrIndent();
  rtPrintToStringResetIndent();
  EXPECT_EQ(rtPrintToStringIndent(text, sizeof text), 0);
  EXPECT_STREQ(text, "a {\n   x\n}\n");
  auto direct = [] {
    rtxPrintIncrIndent(), rtxPrintIndent(), rtxPrintDecrIndent(), rtxPrintDecrIndent(), rtxPrintIndent();
  };
  EXPECT_EQ(viaStdout(direct), "   ");
}

} // namespace
