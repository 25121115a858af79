// Guards the ways that printed text takes: context stream, process-wide stream,
// standard output, and hex dumps to every target.
#include "tests/print/PrintCapture.h"
#include "velnor3gpp/rtxHexDump.h"

namespace {

using PrintStream = PrintTest;
using HexDump = PrintTest;

TEST_F(PrintStream, GoesToTheContextThenToTheProcessThenToStandardOutput)
{
  // The process-wide stream cannot be taken back, so this test sends it to
  // standard output at the end.
  EXPECT_EQ(viaStdout([&] { rtxPrintToStream(&ctxt, "%d ", 1); }), "1 ");
  EXPECT_EQ(rtxSetGlobalPrintStream(nullptr, nullptr), RTX_E_BAD_PARAMETER);
  Pieces global, own;
  ASSERT_EQ(rtxSetGlobalPrintStream(Pieces::callback, &global), 0);
  ctxt.indent = 9;
  ASSERT_EQ(rtxSetPrintStream(&ctxt, Pieces::callback, &own), 0);
  EXPECT_EQ(ctxt.indent, 0);
  rtxPrintToStream(&ctxt, "%d ", 2);
  rtxPrintToStream(nullptr, "%d ", 3);
  EXPECT_EQ(rtxPrintStreamRelease(&ctxt), 0);
  rtxPrintToStream(&ctxt, "%d ", 4);
  EXPECT_EQ(rtxPrintStreamRelease(&ctxt), 0);
  EXPECT_EQ(rtxPrintStreamRelease(nullptr), RTX_E_BAD_PARAMETER);
  EXPECT_EQ(own.text(), "2 ");
  EXPECT_EQ(global.text(), "3 4 ");
  rtxSetGlobalPrintStream(rtxPrintStreamToStdoutCB, nullptr);
  EXPECT_EQ(viaStdout([&] { rtxPrintToStreamNull(nullptr, "n"); }), "n = <null>\n");
  EXPECT_EQ(rtxSetPrintStream(&ctxt, nullptr, nullptr), RTX_E_BAD_PARAMETER);
  EXPECT_EQ(rtxErrGetLastError(&ctxt), RTX_E_BAD_PARAMETER);
}

const RtxNameValuePair kPair = {"first", "second"};

// A caller's callback sees one call for each line, however many pieces are
// behind it, and for each blank of an indentation that is printed by itself.
// A line beyond the room of the window comes in parts, none of it lost or
// doubled. The callback stays when the heap begins anew.
TEST_F(PrintStream, CallsBackByLines)
{
  Pieces own;
  rtxSetPrintStream(&ctxt, Pieces::callback, &own);
  rtxMemReset(&ctxt);
  for (int i = 0; i < 100; i++) rtxMemHeapAllocZ(&ctxt.pMemHeap, 64);
  rtxPrintToStreamIncrIndent(&ctxt);
  rtxPrintToStreamIndent(&ctxt);
  rtxPrintToStreamUnsigned(&ctxt, "a", 5);
  const uint8_t octets[] = {1, 0xfe};
  rtxPrintToStreamHexStr(&ctxt, "b", 2, octets);
  EXPECT_EQ(own, (std::vector<std::string>{" ", " ", " ", "a = 5\n", "b = 0x01fe\n"}));
  for (size_t length : {1, 500, 1016, 1017, 1018, 1019, 1020, 3000}) {
    own.clear();
    std::string name(length, 'n'), value(2 * length, 'v');
    rtxPrintToStreamCharStr(&ctxt, name.c_str(), value.c_str());
    rtxPrintToStreamNVP(&ctxt, "p", &kPair);
    EXPECT_EQ(own.text(), name + " = '" + value + "'\np.name  = 'first'\np.value = 'second'\n");
    EXPECT_EQ(own.size(), 2 + (3 * length + 6) / 1023 + 1);
  }
}

// A full string takes what fits, and its position stays within it; the direct
// way cuts exactly as formatting does.
TEST_F(PrintStream, CutsAFullStringWithoutNotice)
{
  const std::string whole = "abc = 1234567\nd = <null>\n";
  auto direct = [](RtxContext* pctxt) {
    rtxPrintToStreamUnsigned(pctxt, "abc", 1234567);
    rtxPrintToStreamNull(pctxt, "d");
  };
  auto formatted = [](RtxContext* pctxt) {
    rtxPrintToStream(pctxt, "%s = %u\n", "abc", 1234567U);
    rtxPrintToStream(pctxt, "%s = <null>\n", "d");
  };
  EXPECT_EQ(viaFile(formatted), whole);
  for (size_t size = 0; size <= whole.size() + 2; size++)
    for (const Print& print : {Print(direct), Print(formatted)}) {
      char room[32] = "?"; // untouched without room for the end
      RtxPrintToStringBuffer text = {room, size, 0};
      printTo(rtxPrintStreamToStringCB, &text, print);
      EXPECT_EQ(room, size ? whole.substr(0, size - 1) : "?");
      EXPECT_EQ(text.curPos, size ? strlen(room) : 0) << size;
    }
}

TEST_F(PrintStream, CopiesFilesInPieces)
{
  Folder folder;
  std::string name = folder + "/print", first(1500, 'x');
  std::ofstream(name) << first << "\nend";
  EXPECT_EQ(viaCallback([&](RtxContext* pctxt) { EXPECT_EQ(rtxPrintToStreamFile(pctxt, name.c_str()), 0); }),
            first + "\nend");
  EXPECT_EQ(viaStdout([&] { EXPECT_EQ(rtxPrintFile(name.c_str()), 0); }),
            first.substr(0, 1023) + "\n" + first.substr(1023) + "\n\nend\n");
  EXPECT_EQ(rtxPrintToStreamFile(&ctxt, "/nowhere"), RTX_E_FILE_OPEN);
  EXPECT_EQ(rtxPrintFile("/nowhere"), RTX_E_FILE_OPEN);
  char element[12];
  EXPECT_STREQ(rtxGetArrayElemName(element, sizeof element, "elem", 12), "elem[12]");
  EXPECT_EQ(rtxGetArrayElemName(nullptr, 0, "elem", 12), nullptr);
}

const uint8_t kData[] = "ABCDEFGHIJKLMNOP \x01";

TEST_F(HexDump, LooksTheSameOnEveryTarget)
{
  Texts texts = textsOf("dumps.txt");
  const std::pair<size_t, size_t> dumps[] = {{0, 1},  {1, 1},  {16, 1}, {17, 1},  {18, 1}, {6, 2},
                                             {16, 3}, {16, 4}, {16, 0}, {16, 17}, {10, 8}};
  for (auto& dump : dumps) {
    const size_t octets = dump.first, unit = dump.second; // a lambda of clang 14 takes no part of a binding
    std::string expected = texts[std::to_string(octets) + " octets by " + std::to_string(unit)];
    EXPECT_EQ(viaCallback([&](RtxContext* pctxt) { rtxHexDumpToStreamEx(pctxt, kData, octets, unit); }), expected);
    EXPECT_EQ(viaStdout([&] { unit == 1 ? rtxHexDump(kData, octets) : rtxHexDumpEx(kData, octets, unit); }), expected);
    char string[512] = "old text";
    EXPECT_EQ(rtxHexDumpToStringEx(kData, octets, string, sizeof string, unit), 0);
    EXPECT_EQ(string, expected);
  }
  EXPECT_EQ(viaCallback([](RtxContext* pctxt) { rtxHexDumpToStream(pctxt, nullptr, 4); }), "");
  EXPECT_EQ(viaCallback([](RtxContext* pctxt) { rtxHexDumpToStreamExNoAscii(pctxt, kData, 17, 2); }),
            texts["17 octets by 2, no text"]);
  char text[100]; // keeps the lines that fit
  EXPECT_EQ(rtxHexDumpToString(kData, 17, text, sizeof text), RTX_E_ENCODE_OVERFLOW);
  EXPECT_EQ(text, texts["16 octets by 1"]);
  EXPECT_EQ(rtxHexDumpToString(kData, 17, text, 0), RTX_E_ENCODE_OVERFLOW);
}

TEST_F(HexDump, FillsFiles)
{
  Texts texts = textsOf("dumps.txt");
  Folder folder;
  std::string in = folder + "/in", out = folder + "/out", big(3000, 'A');
  EXPECT_EQ(rtxHexDumpToNamedFile(out.c_str(), kData, 1), 0);
  EXPECT_EQ(fileText(out), texts["1 octets by 1"]);
  EXPECT_EQ(rtxHexDumpToNamedFileNoAscii(out.c_str(), kData, 2), 0);
  EXPECT_EQ(fileText(out), texts["2 octets by 1, no text"]);
  FILE* file = fopen(out.c_str(), "w");
  rtxHexDumpToFileEx(file, kData, 6, 2);
  rtxHexDumpToFileExNoAscii(file, kData, 17, 2);
  fclose(file);
  EXPECT_EQ(fileText(out), texts["6 octets by 2"] + texts["17 octets by 2, no text"]);
  std::ofstream(in) << big;
  EXPECT_EQ(rtxHexDumpFileContentsToFile(in.c_str(), out.c_str()), 0);
  const auto* octets = reinterpret_cast<const uint8_t*>(big.data());
  EXPECT_EQ(fileText(out), viaCallback([&](RtxContext* pctxt) { rtxHexDumpToStream(pctxt, octets, big.size()); }));
  EXPECT_EQ(rtxHexDumpFileContentsToFile("/nowhere/in", out.c_str()), RTX_E_FILE_OPEN);
  EXPECT_EQ(rtxHexDumpFileContentsToFile(in.c_str(), "/nowhere/out"), RTX_E_FILE_OPEN);
  EXPECT_EQ(rtxHexDumpToNamedFile("/dev/full", kData, 2), RTX_E_WRITE);
}

} // namespace
