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

TEST_F(FormsTest, NumbersAndWords)
{
  check({STREAM(rtxPrintToStreamBoolean(pctxt, "b", 1)), STDOUT(rtxPrintBoolean("b", 2)),
         STRING(rtPrintToStringBoolean("b", 1, buffer, size)), "b = true\n", "=", "b = TRUE\n"});
  check({STREAM(rtxPrintToStreamBoolean(pctxt, "b", 0)), STDOUT(rtxPrintBoolean("b", 0)),
         STRING(rtPrintToStringBoolean("b", 0, buffer, size)), "b = false\n", "=", "b = FALSE\n"});
  check({STREAM(rtxPrintToStreamInteger(pctxt, "i", INT32_MIN)), STDOUT(rtxPrintInteger("i", INT32_MIN)),
         STRING(rtPrintToStringInteger("i", INT32_MIN, buffer, size)), "i = -2147483648\n"});
  check({STREAM(rtxPrintToStreamInt64(pctxt, "i", INT64_MIN)), STDOUT(rtxPrintInt64("i", INT64_MIN)),
         STRING(rtPrintToStringInt64("i", INT64_MIN, buffer, size)), "i = -9223372036854775808\n"});
  check({STREAM(rtxPrintToStreamUnsigned(pctxt, "u", 0)), STDOUT(rtxPrintUnsigned("u", 0)),
         STRING(rtPrintToStringUnsigned("u", 0, buffer, size)), "u = 0\n"});
  check({STREAM(rtxPrintToStreamUInt64(pctxt, "u", UINT64_MAX)), STDOUT(rtxPrintUInt64("u", UINT64_MAX)),
         STRING(rtPrintToStringUInt64("u", UINT64_MAX, buffer, size)), "u = 18446744073709551615\n"});
  check({STREAM(rtxPrintToStreamReal(pctxt, "r", 1.23456789)), STDOUT(rtxPrintReal("r", 1.23456789)),
         STRING(rtPrintToStringReal("r", 1.23456789, buffer, size)), "r = 1.23457\n", "r = 1.23456789\n"});
  check({STREAM(rtxPrintToStreamNull(pctxt, "n")), STDOUT(rtxPrintNull("n")),
         STRING(rtPrintToStringNull("n", buffer, size)), "n = <null>\n"});
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
  check({STREAM(rtxPrintToStreamHexStr(pctxt, "x", 32, kOctets)), STDOUT(rtxPrintHexStr("x", 32, kOctets)),
         STRING(rtPrintToStringHexStr("x", 32, kOctets, buffer, size)), line});
  check({STREAM(rtxPrintToStreamHexStr(pctxt, "x", 33, kOctets)), STDOUT(rtxPrintHexStr("x", 33, kOctets)), nullptr,
         "x =\n" + dump});
  std::string longLine = "x = 0x002a41207e7fff123456789abcde" + zeros + "00\n";
  check({STREAM(rtxPrintToStreamHexStrPlain(pctxt, "x", 33, kOctets)), STDOUT(rtxPrintHexStrPlain("x", 33, kOctets)),
         STRING(rtPrintToStringHexStr("x", 33, kOctets, buffer, size)), longLine});
  check({STREAM(rtxPrintToStreamHexStrNoAscii(pctxt, "x", 33, kOctets)),
         STDOUT(rtxPrintHexStrNoAscii("x", 33, kOctets)), nullptr, "x =\n" + bare});
  check({STREAM(rtxPrintToStreamHexStrNoAscii(pctxt, "x", 1, kOctets)), STDOUT(rtxPrintHexStrNoAscii("x", 1, kOctets)),
         nullptr, "x =\n" + bare.substr(2 * 49), "x = 0x00\n"});
  check({STREAM(rtxPrintToStreamHexBinary(pctxt, "x", 33, kOctets)), STDOUT(rtxPrintHexBinary("x", 33, kOctets)),
         STRING(rtPrintToStringHexBinary("x", 33, kOctets, buffer, size)), "x.numocts = 33\nx.data = \n" + dump});
  check({STREAM(rtxPrintToStreamHexStr(pctxt, "x", 0, nullptr)), STDOUT(rtxPrintHexStr("x", 0, nullptr)), nullptr,
         "x = 0x\n"});
}

TEST_F(FormsTest, Strings)
{
  const uint16_t wide[] = {'a', ' ', 0x20ac, 0x7f, 0};
  const uint32_t wider[] = {'a', 0x1f600};
  check({STREAM(rtxPrintToStreamCharStr(pctxt, "s", "a'b")), STDOUT(rtxPrintCharStr("s", "a'b")),
         STRING(rtPrintToStringCharStr("s", "a'b", buffer, size)), "s = 'a'b'\n"});
  check({STREAM(rtxPrintToStreamUTF8CharStr(pctxt, "s", nullptr)), STDOUT(rtxPrintUTF8CharStr("s", nullptr)),
         STRING(rtPrintToStringUTF8Str("s", nullptr, buffer, size)), "s = '(null)'\n"});
  check({STREAM(rtxPrintToStreamUnicodeCharStr(pctxt, "s", wide, -1)), STDOUT(rtxPrintUnicodeCharStr("s", wide, -1)),
         STRING(rtPrintToStringUnicodeCharStr("s", wide, -1, buffer, size)), "s = 'a 0x20ac0x007f'\n"});
  check({STREAM(rtPrintToStreamUnicodeCharStr(pctxt, "s", wide, 5)), STDOUT(rtxPrintUnicodeCharStr64("s", wide, 5)),
         nullptr, "s = 'a 0x20ac0x007f0x0000'\n"});
  check({STREAM(rtxPrintToStreamUnicodeCharStr(pctxt, "s", nullptr, 3)),
         STDOUT(rtxPrintUnicodeCharStr("s", nullptr, 3)), nullptr, ""});
  check({STREAM(rtPrintToStreamUnivCharStr(pctxt, "s", 2, wider)), STDOUT(rtPrintUnivCharStr("s", 2, wider)),
         STRING(rtPrintToStringUnivCharStr("s", 2, wider, buffer, size)), "s = 'a0x0001f600'\n"});
  check({STREAM(rtxPrintToStreamNVP(pctxt, "p", &kPair)), STDOUT(rtxPrintNVP("p", &kPair)),
         STRING(rtPrintToStringNVP("p", &kPair, buffer, size)), "p.name  = 'n'\np.value = '(null)'\n"});
  EXPECT_EQ(viaStdout(STDOUT(rtxPrintArrayNVP("p", 12, &kPair))), "p[12].name  = 'n'\np[12].value = '(null)'\n");
}

TEST_F(FormsTest, AddressesAndDigits)
{
  const uint8_t ip4[] = {192, 168, 0, 255};
  const uint8_t ip6[] = {0x20, 0x01, 0x0d, 0xb8};
  const uint8_t digits[] = {0x21, 0xdc, 0xfa};
  const uint8_t text[] = {'a', 0, ' ', 0x7f, '~'};
  check({STREAM(rtPrintToStreamIpv4Addr(pctxt, "a", 4, ip4)), STDOUT(rtxPrintIpv4Addr("a", 4, ip4)), nullptr,
         "a = 192.168.0.255\n"});
  check({STREAM(rtPrintToStreamIpv6Addr(pctxt, "a", 4, ip6)), STDOUT(rtxPrintIpv6Addr("a", 4, ip6)), nullptr,
         "a = 201:db8:\n"});
  check({STREAM(rtPrintToStreamTBCDStr(pctxt, "t", 3, digits)), STDOUT(rtxPrintTBCDStr("t", 3, digits)), nullptr,
         "t = 12ab*\n", "t = 12ab*"});
  check({STREAM(rtPrintToStreamText(pctxt, "t", 5, text)), STDOUT(rtxPrintText("t", 5, text)), nullptr, "t = a ~\n"});
}

TEST_F(FormsTest, BitStrings)
{
  const uint8_t* d = kOctets + 1;
  auto form = [&](size_t bits, const char* stream, const char* direct) {
    check({STREAM(rtPrintToStreamBitStr(pctxt, "s", bits, d, ".")), STDOUT(rtPrintBitStr("s", bits, d, ".")),
           STRING(rtPrintToStringBitStr("s", bits, d, ".", buffer, size)), stream, direct});
  };
  form(0, "s.numbits = 0\ns.data = NULL\n", "=");
  form(3, "s.numbits = 3\ns.data = 001xxxxx\n", "=");
  form(12, "s.numbits = 12\ns.data = 2a 0100xxxx\n", "s.numbits = 12\ns.data = 0x2A 0100xxxx\n");
  form(64, "s.numbits = 64\ns.data =\n2a 41 20 7e 7f ff 12 34\n",
       "s.numbits = 64\ns.data = 0x2A 0x41 0x20 0x7E 0x7F 0xFF 0x12 0x34\n");
  form(129, "s.numbits = 129\ns.data =\n2a 41 20 7e 7f ff 12 34 56 78 9a bc de 00 00 00\n0xxxxxxx\n",
       "s.numbits = 129\ns.data = \n0x2A 0x41 0x20 0x7E 0x7F 0xFF 0x12 0x34 0x56 0x78 0x9A 0xBC 0xDE 0x00 0x00 0x00\n"
       "0xxxxxxx\n");
  check({STREAM(rtPrintToStreamBitStrExt(pctxt, "s", 8, d, 0xbeef, "->")),
         STDOUT(rtPrintBitStrExt("s", 8, d, 0xbeef, "->")),
         STRING(rtPrintToStringBitStrExt("s", 8, d, 0xbeef, "->", buffer, size)),
         "s->numbits = 8\ns->data = 2a\ns->extdata = 0xbeef\n",
         "s->numbits = 8\ns->data = 0x2A\ns->extdata = 0xbeef\n"});
  check({STREAM(rtPrintToStreamBitStrBin(pctxt, "s", 10, d, ".")), STDOUT(rtPrintBitStrBin("s", 10, d, ".")),
         STRING(rtPrintToStringBitStrBin("s", 10, d, ".", buffer, size)), "s.numbits = 10\ns.data = 0010101001\n"});
  const RtBitName names[] = {{"two", 2}, {"three", 3}, {"four", 4}, {"beyond", 6}, {nullptr, 0}};
  check({STREAM(rtPrintToStreamBitStrNamed(pctxt, "s", 6, d, names, ".")),
         STDOUT(rtPrintBitStrNamed("s", 6, d, names, ".")),
         STRING(rtPrintToStringBitStrNamed("s", 6, d, names, ".", buffer, size)),
         "s.numbits = 6\ns.data = two, four\n"});
}

TEST_F(FormsTest, BitStringsInBraces)
{
  const uint8_t* d = kOctets + 1;
  check({STREAM(rtPrintToStreamBitStrBraceText(pctxt, "s", 0, d, ".")), STDOUT(rtPrintBitStrBraceText("s", 0, d, ".")),
         STRING(rtPrintToStringBitStrBraceText("s", 0, d, ".", buffer, size)), "s = { 0 }\n"});
  check({STREAM(rtPrintToStreamBitStrBraceText(pctxt, "s", 63, d, ".")), nullptr, nullptr,
         "s = { 63, 2a 41 20 7e 7f ff 12 0011010x }\n"});
  check({STREAM(rtPrintToStreamBitStrBraceTextExt(pctxt, "s", 9, d, 7, ".")),
         STDOUT(rtPrintBitStrBraceTextExt("s", 9, d, 7, ".")),
         STRING(rtPrintToStringBitStrBraceTextExt("s", 9, d, 7, ".", buffer, size)), "s = { 9, 2a 0xxxxxxx, 0x7 }\n",
         "s = { 9, 0x2A 0xxxxxxx, 0x7 }\n"});
  auto indented = [&](RtxContext* pctxt) {
    rtxPrintToStreamIncrIndent(pctxt);
    rtPrintToStreamBitStrBraceTextExt(pctxt, "s", 64, d, 7, ".");
  };
  check({indented, nullptr, nullptr, "s = { 64,\n      2a 41 20 7e 7f ff 12 34\n      0x7\n   }\n"});
}

TEST_F(FormsTest, CountedDumps)
{
  const uint32_t same[] = {0x41414141};
  std::string blanks(48 - 6, ' ');
  check({STREAM(rtPrintToStreamOctStr(pctxt, "o", 2, kOctets + 1, ".")),
         STDOUT(rtPrintOctStr("o", 2, kOctets + 1, ".")),
         STRING(rtPrintToStringOctStr("o", 2, kOctets + 1, ".", buffer, size)),
         "o.numocts = 2\no.data = \n2a 41 " + blanks + " *A\n"});
  check({STREAM(rtPrintToStreamOpenType(pctxt, "o", 0, nullptr, "")), STDOUT(rtPrintOpenType("o", 0, nullptr, "")),
         STRING(rtPrintToStringOpenType("o", 0, nullptr, "", buffer, size)), "onumocts = 0\nodata = \n"});
  check({STREAM(rtPrintToStream32BitCharStr(pctxt, "o", 1, same, ".")), STDOUT(rtPrint32BitCharStr("o", 1, same, ".")),
         STRING(rtPrintToString32BitCharStr("o", 1, same, ".", buffer, size)),
         "o.nchars = 1\no.data = \n41414141" + std::string(40, ' ') + " AAAA\n"});
  check({STREAM(rtPrintToStream16BitCharStr(pctxt, "o", 2, reinterpret_cast<const uint16_t*>(same), ".")), nullptr,
         nullptr, "o.nchars = 2\no.data = \n4141 4141" + std::string(39, ' ') + " AAAA\n"});
}

TEST_F(FormsTest, IdentifiersAndTimes)
{
  RtObjId oid = {3, {1, 2, 840}};
  RtObjId64 wide = {2, {1, UINT64_C(1) << 40}};
  RtxDateTime time = {2024, 2, 29, 23, 59, 5, 3, 1, -90, 7};
  check({STREAM(rtPrintToStreamOID(pctxt, "o", &oid)), STDOUT(rtPrintOID("o", &oid)),
         STRING(rtPrintToStringOID("o", &oid, buffer, size)), "o = { 1 2 840 }\n"});
  check({STREAM(rtPrintToStreamOIDValue(pctxt, &oid)), STDOUT(rtPrintOIDValue(&oid)), nullptr, "{ 1 2 840 }\n"});
  check({STREAM(rtPrintToStreamOID2(pctxt, "o", 2, oid.arcs)), STDOUT(rtPrintOID2("o", 2, oid.arcs)), nullptr,
         "o = { 1 2 }\n"});
  check({STREAM(rtPrintToStreamOID64(pctxt, "o", &wide)), STDOUT(rtPrintOID64("o", &wide)), nullptr,
         "o = { 1 1099511627776 }\n"});
  check(
      {STREAM(rtPrintToStreamOIDStr(pctxt, "o", "1 2")), STDOUT(rtPrintOIDStr("o", "1 2")), nullptr, "o = { 1 2 }\n"});
  check({STREAM(rtPrintToStreamOIDStr(pctxt, "o", nullptr)), STDOUT(rtPrintOIDStr("o", nullptr)), nullptr,
         "o = (null)\n"});
  check({STREAM(rtPrintToStreamDateTime(pctxt, "t", &time)), STDOUT(rtPrintDateTime("t", &time)),
         STRING(rtPrintToStringDateTime("t", &time, buffer, size)), "t = 2024-02-29T23:59:05.007-01:30\n"});
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
