// Guards the text form of every kind of value, in the stream, standard-output and string families.
#include "tests/print/PrintCapture.h"
#include "velnor3gpp/rtPrint.h"
#include "velnor3gpp/rtPrintToStream.h"
#include "velnor3gpp/rtPrintToString.h"

namespace {

const uint8_t kOctets[40] = {0x00, 0x2a, 0x41, 0x20, 0x7e, 0x7f, 0xff, 0x12, 0x34, 0x56, 0x78, 0x9a, 0xbc, 0xde};
const RtxNameValuePair kPair = {"n", nullptr};

// A print call in each family, and the text of each. A family without the form, or with the same text, says so.
struct Form {
  std::function<void(RtxContext*)> stream;
  std::function<void()> stdOut;
  std::function<int(char*, size_t)> string;
  std::string streamText;
  std::string stdoutText = "=";
  std::string stringText = "=";
};

class FormsTest : public PrintTest {
protected:
  void check(const Form& form)
  {
    SCOPED_TRACE(form.streamText);
    EXPECT_EQ(viaCallback(form.stream), form.streamText);
    EXPECT_EQ(viaString(form.stream), form.streamText);
    EXPECT_EQ(viaFile(form.stream), form.streamText);
    if (form.stdOut) {
      EXPECT_EQ(viaStdout(form.stdOut), form.stdoutText == "=" ? form.streamText : form.stdoutText);
    }
    if (form.string) checkString(form.string, form.stringText == "=" ? form.streamText : form.stringText);
  }

  // Appended behind what stands; with one octet too few the call fails and keeps within its room.
  static void checkString(const std::function<int(char*, size_t)>& print, const std::string& expected)
  {
    std::string whole = "> " + expected;
    std::vector<char> room(whole.size() + 1);
    strcpy(room.data(), "> ");
    EXPECT_EQ(print(room.data(), room.size()), 0);
    EXPECT_EQ(room.data(), whole);
    std::vector<char> small(whole.size());
    strcpy(small.data(), "> ");
    EXPECT_EQ(print(small.data(), small.size()), RTX_E_ENCODE_OVERFLOW);
    EXPECT_EQ(whole.find(small.data()), 0u) << small.data();
    EXPECT_EQ(print(nullptr, 10), RTX_E_ENCODE_OVERFLOW);
  }
};

#define STREAM(call) [&](RtxContext* pctxt) { EXPECT_EQ(call, 0); }
#define STDOUT(call) [&] { EXPECT_EQ(call, 0); }
#define STRING(call) [&](char* buffer, size_t size) { return call; }

// One form in the stream and standard-output families, and in the string family too; `r` is rt or rtx.
#define BOTH(r, Form, ...) STREAM(r##PrintToStream##Form(pctxt, __VA_ARGS__)), STDOUT(r##Print##Form(__VA_ARGS__))
#define ALL(r, Form, ...) BOTH(r, Form, __VA_ARGS__), STRING(rtPrintToString##Form(__VA_ARGS__, buffer, size))

TEST_F(FormsTest, NumbersAndWords)
{
  check({ALL(rtx, Boolean, "b", 2), "b = true\n", "=", "b = TRUE\n"});
  check({ALL(rtx, Boolean, "b", 0), "b = false\n", "=", "b = FALSE\n"});
  check({ALL(rtx, Integer, "i", INT32_MIN), "i = -2147483648\n"});
  check({ALL(rtx, Int64, "i", INT64_MIN), "i = -9223372036854775808\n"});
  check({ALL(rtx, Unsigned, "u", 0), "u = 0\n"});
  check({ALL(rtx, UInt64, "u", UINT64_MAX), "u = 18446744073709551615\n"});
  check({ALL(rtx, Real, "r", 1.23456789), "r = 1.23457\n", "r = 1.23456789\n"});
  check({ALL(rtx, Null, "n"), "n = <null>\n"});
}

TEST_F(FormsTest, OctetsUpTo32StandInOneLine)
{
  std::string zeros(2 * 18, '0');
  std::string line = "x = 0x002a41207e7fff123456789abcde" + zeros + "\n";
  std::string dump = "00 2a 41 20 7e 7f ff 12 34 56 78 9a bc de 00 00  .*A ~...4Vx.....\n"
                     "00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00  ................\n"
                     "00                                               .\n";
  std::string bare = "00 2a 41 20 7e 7f ff 12 34 56 78 9a bc de 00 00 \n"
                     "00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 \n"
                     "00                                              \n";
  check({ALL(rtx, HexStr, "x", 32, kOctets), line});
  check({BOTH(rtx, HexStr, "x", 33, kOctets), nullptr, "x =\n" + dump});
  check({BOTH(rtx, HexStrPlain, "x", 33, kOctets), STRING(rtPrintToStringHexStr("x", 33, kOctets, buffer, size)),
         "x = 0x002a41207e7fff123456789abcde" + zeros + "00\n"});
  check({BOTH(rtx, HexStrNoAscii, "x", 33, kOctets), nullptr, "x =\n" + bare});
  check({BOTH(rtx, HexStrNoAscii, "x", 1, kOctets), nullptr, "x =\n" + bare.substr(2 * 49), "x = 0x00\n"});
  check({ALL(rtx, HexBinary, "x", 33, kOctets), "x.numocts = 33\nx.data = \n" + dump});
  check({ALL(rtx, HexStr, "x", 0, nullptr), "x = 0x\n"});
}

TEST_F(FormsTest, Strings)
{
  const uint16_t wide[] = {'a', ' ', 0x20ac, 0x7f, 0};
  const uint32_t wider[] = {'a', 0x1f600};
  check({ALL(rtx, CharStr, "s", "a'b"), "s = 'a'b'\n"});
  check({BOTH(rtx, UTF8CharStr, "s", nullptr), STRING(rtPrintToStringUTF8Str("s", nullptr, buffer, size)),
         "s = '(null)'\n"});
  check({ALL(rtx, UnicodeCharStr, "s", wide, -1), "s = 'a 0x20ac0x007f'\n"});
  check({BOTH(rt, UnicodeCharStr, "s", wide, 5), nullptr, "s = 'a 0x20ac0x007f0x0000'\n"});
  EXPECT_EQ(viaStdout(STDOUT(rtxPrintUnicodeCharStr64("s", wide, 2))), "s = 'a '\n");
  check({BOTH(rtx, UnicodeCharStr, "s", nullptr, 3), nullptr, ""});
  check({ALL(rt, UnivCharStr, "s", 2, wider), "s = 'a0x0001f600'\n"});
  check({BOTH(rt, UnivCharStr, "s", 2, nullptr), nullptr, "s = ''\n"});
  check({ALL(rtx, NVP, "p", &kPair), "p.name  = 'n'\np.value = '(null)'\n"});
  EXPECT_EQ(viaStdout(STDOUT(rtxPrintArrayNVP("p", 12, &kPair))), "p[12].name  = 'n'\np[12].value = '(null)'\n");
}

TEST_F(FormsTest, AddressesAndDigits)
{
  auto form = [&](auto stream, auto direct, const std::vector<uint8_t>& octets, const char* expected, bool lineFeed) {
    auto line = [&](const uint8_t* data, const std::string& shown) {
      check({STREAM(stream(pctxt, "a", octets.size(), data)), STDOUT(direct("a", octets.size(), data)), nullptr,
             "a = " + shown + "\n", "a = " + shown + (lineFeed ? "\n" : "")});
    };
    line(octets.data(), expected);
    line(nullptr, ""); // octets that are missing print as none
  };
  form(rtPrintToStreamIpv4Addr, rtxPrintIpv4Addr, {192, 168, 0, 255}, "192.168.0.255", true);
  form(rtPrintToStreamIpv6Addr, rtxPrintIpv6Addr, {0x20, 0x01, 0x0d, 0xb8}, "201:db8:", true);
  form(rtPrintToStreamTBCDStr, rtxPrintTBCDStr, {0x21, 0xdc, 0xfa}, "12ab*", false);
  form(rtPrintToStreamText, rtxPrintText, {'a', 0, ' ', 0x7f, '~'}, "a ~", true);
}

TEST_F(FormsTest, BitStrings)
{
  const uint8_t* d = kOctets + 1;
  auto form = [&](size_t bits, const char* stream, const char* direct) {
    check({ALL(rt, BitStr, "s", bits, d, "."), stream, direct});
  };
  form(0, "s.numbits = 0\ns.data = NULL\n", "=");
  form(3, "s.numbits = 3\ns.data = 001xxxxx\n", "=");
  form(12, "s.numbits = 12\ns.data = 2a 0100xxxx\n", "s.numbits = 12\ns.data = 0x2A 0100xxxx\n");
  form(64, "s.numbits = 64\ns.data =\n2a 41 20 7e 7f ff 12 34\n",
       "s.numbits = 64\ns.data = 0x2A 0x41 0x20 0x7E 0x7F 0xFF 0x12 0x34\n");
  form(129, "s.numbits = 129\ns.data =\n2a 41 20 7e 7f ff 12 34 56 78 9a bc de 00 00 00\n0xxxxxxx\n",
       "s.numbits = 129\ns.data = \n0x2A 0x41 0x20 0x7E 0x7F 0xFF 0x12 0x34 0x56 0x78 0x9A 0xBC 0xDE 0x00 0x00 0x00\n"
       "0xxxxxxx\n");
  check({ALL(rt, BitStrExt, "s", 8, d, 0xbeef, "->"), "s->numbits = 8\ns->data = 2a\ns->extdata = 0xbeef\n",
         "s->numbits = 8\ns->data = 0x2A\ns->extdata = 0xbeef\n"});
  check({ALL(rt, BitStrBin, "s", 10, d, "."), "s.numbits = 10\ns.data = 0010101001\n"});
  const RtBitName names[] = {{"two", 2}, {"three", 3}, {"four", 4}, {"beyond", 6}, {nullptr, 0}};
  check({ALL(rt, BitStrNamed, "s", 6, d, names, "."), "s.numbits = 6\ns.data = two, four\n"});
  check({ALL(rt, BitStrNamedExt, "s", 6, d, 7, names, "."), "s.numbits = 6\ns.data = two, four\n"});
  check({BOTH(rt, BitStrNamed, "s", 6, d, nullptr, "."), nullptr, "s.numbits = 6\ns.data = \n"});
}

TEST_F(FormsTest, BitStringsInBraces)
{
  const uint8_t* d = kOctets + 1;
  check({ALL(rt, BitStrBraceText, "s", 0, d, "."), "s = { 0 }\n"});
  check({ALL(rt, BitStrBraceText, "s", 9, nullptr, "."), "s = { 0 }\n"});
  check({STREAM(rtPrintToStreamBitStrBraceText(pctxt, "s", 63, d, ".")), nullptr, nullptr,
         "s = { 63, 2a 41 20 7e 7f ff 12 0011010x }\n"});
  check({ALL(rt, BitStrBraceTextExt, "s", 9, d, 7, "."), "s = { 9, 2a 0xxxxxxx, 0x7 }\n",
         "s = { 9, 0x2A 0xxxxxxx, 0x7 }\n"});
  auto indented = [&](RtxContext* pctxt) {
    rtxPrintToStreamIncrIndent(pctxt);
    rtPrintToStreamBitStrBraceTextExt(pctxt, "s", 64, d, 7, ".");
  };
  check({indented, nullptr, nullptr, "s = { 64,\n      2a 41 20 7e 7f ff 12 34\n      0x7\n   }\n"});
}

TEST_F(FormsTest, CountedDumps)
{
  const uint16_t two[] = {0x4141, 0x4141};
  const uint32_t one[] = {0x41414141};
  std::string octets = "numocts = 2\no.data = \n2a 41 " + std::string(48 - 6, ' ') + " *A\n";
  check({ALL(rt, OctStr, "o", 2, kOctets + 1, "."), "o." + octets});
  check({ALL(rt, OpenType, "o", 2, kOctets + 1, "."), "o." + octets});
  check({ALL(rt, OpenType, "o", 0, nullptr, ""), "onumocts = 0\nodata = \n"});
  check({ALL(rt, 32BitCharStr, "o", 1, one, "."),
         "o.nchars = 1\no.data = \n41414141" + std::string(40, ' ') + " AAAA\n"});
  check({ALL(rt, 16BitCharStr, "o", 2, two, "."),
         "o.nchars = 2\no.data = \n4141 4141" + std::string(39, ' ') + " AAAA\n"});
}

TEST_F(FormsTest, IdentifiersAndTimes)
{
  RtObjId oid = {3, {1, 2, 840}};
  RtObjId64 wide = {2, {1, UINT64_C(1) << 40}};
  check({ALL(rt, OID, "o", &oid), "o = { 1 2 840 }\n"});
  check({STREAM(rtPrintToStreamOIDValue(pctxt, &oid)), STDOUT(rtPrintOIDValue(&oid)),
         STRING(rtPrintToStringOIDValue(&oid, buffer, size)), "{ 1 2 840 }\n"});
  check({ALL(rt, OID2, "o", 2, oid.arcs), "o = { 1 2 }\n"});
  check({ALL(rt, OID2, "o", 2, nullptr), "o = { }\n"});
  check({ALL(rt, OID64, "o", &wide), "o = { 1 1099511627776 }\n"});
  check({ALL(rt, OIDStr, "o", "1 2"), "o = { 1 2 }\n"});
  check({ALL(rt, OIDStr, "o", nullptr), "o = (null)\n"});
  for (auto& [time, text] : std::vector<std::pair<RtxDateTime, std::string>>{
           {{2024, 2, 29, 23, 59, 5, 3, 1, -90, 7}, "2024-02-29T23:59:05.007-01:30"},
           {{2024, 2, 29, 23, 59, 5, 0, 1, 0, 7}, "2024-02-29T23:59:05Z"},
           {{2024, 2, 29, 23, 59, 5, 1, 1, 345, 7}, "2024-02-29T23:59:05.7+05:45"},
           {{2024, 2, 29, 23, 59, 5, 0, 0, 345, 0}, "2024-02-29T23:59:05"}})
    check({ALL(rt, DateTime, "t", &time), "t = " + text + "\n"});
  check({BOTH(rt, DateTime, "t", nullptr), nullptr, "t = \n"});
  oid.count = RT_MAX_ARCS + 1; // arcs beyond the record are none
  EXPECT_EQ(viaStdout(STDOUT(rtPrintOIDValue(&oid))).size(),
            std::string("{ 1 2 840 }\n").size() + 2 * (RT_MAX_ARCS - 3));
}

// Braces indent by three, never below zero, each family on its own count.
TEST_F(FormsTest, BracesAndIndentation)
{
  auto nested = [](RtxContext* pctxt) {
    rtxPrintToStreamDecrIndent(pctxt);
    rtxPrintToStreamOpenBrace(pctxt, "a");
    rtxPrintToStreamOpenBrace(pctxt, "b");
    rtxPrintToStreamIndent(pctxt);
    rtxPrintToStreamNull(pctxt, "c");
    rtxPrintToStreamCloseBrace(pctxt);
    rtxPrintToStreamCloseBrace(pctxt);
    rtxPrintToStreamIncrIndent(pctxt);
    rtxPrintToStreamResetIndent(pctxt);
    rtxPrintToStreamIndent(pctxt);
  };
  std::string expected = "a {\n   b {\n      c = <null>\n   }\n}\n";
  check({nested, [&] { nested(nullptr); }, nullptr, expected});
  char text[64] = "";
  rtPrintToStringDecrIndent();
  EXPECT_EQ(rtPrintToStringOpenBrace("a", text, sizeof text), 0);
  EXPECT_EQ(rtPrintToStringIndent(text, sizeof text), 0);
  EXPECT_EQ(rtPrintToString("x\n", text, sizeof text), 0);
  EXPECT_EQ(rtPrintToStringCloseBrace(text, sizeof text), 0);
  rtPrintToStringIncrIndent();
  rtPrintToStringResetIndent();
  EXPECT_EQ(rtPrintToStringIndent(text, sizeof text), 0);
  EXPECT_STREQ(text, "a {\n   x\n}\n");
  EXPECT_EQ(viaStdout([] {
              rtxPrintIncrIndent();
              rtxPrintIndent();
              rtxPrintDecrIndent();
              rtxPrintDecrIndent();
              rtxPrintIndent();
            }),
            "   ");
}

} // namespace
