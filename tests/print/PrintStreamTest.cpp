// Guards the ways that printed text takes: context stream, process-wide stream, standard output.
#include "tests/print/PrintCapture.h"

namespace {

using PrintStreamTest = PrintTest;

TEST_F(PrintStreamTest, ContextStreamThenGlobalThenStandardOutput)
{
  // The process-wide stream cannot be taken back, so this test sends it to standard output at the end.
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
}

TEST_F(PrintStreamTest, NullCallbackAndLackOfMemoryAreReported)
{
  EXPECT_EQ(rtxSetPrintStream(&ctxt, nullptr, nullptr), RTX_E_BAD_PARAMETER);
  EXPECT_EQ(rtxErrGetLastError(&ctxt), RTX_E_BAD_PARAMETER);
  RtxContext poor;
  static int left;
  left = 1; // the heap itself
  auto allocate = [](size_t size) -> void* { return left-- > 0 ? malloc(size) : nullptr; };
  ASSERT_EQ(rtxInitContextExt(&poor, allocate, realloc, free), 0);
  EXPECT_EQ(rtxSetPrintStream(&poor, Pieces::callback, nullptr), RTX_E_NO_MEMORY);
  EXPECT_EQ(poor.pPrintStream, nullptr);
  rtxFreeContext(&poor);
}

TEST_F(PrintStreamTest, StreamOutlivesAHeapReset)
{
  Pieces own;
  rtxSetPrintStream(&ctxt, Pieces::callback, &own);
  rtxMemReset(&ctxt);
  for (int i = 0; i < 100; i++) rtxMemHeapAllocZ(&ctxt.pMemHeap, 64);
  rtxPrintToStreamNull(&ctxt, "n");
  EXPECT_EQ(own.text(), "n = <null>\n");
}

// A caller's callback sees one call for each piece: a line of a scalar, a single blank, a single octet.
TEST_F(PrintStreamTest, PiecesOfACallback)
{
  Pieces own;
  rtxSetPrintStream(&ctxt, Pieces::callback, &own);
  rtxPrintToStreamIncrIndent(&ctxt);
  rtxPrintToStreamIndent(&ctxt);
  rtxPrintToStreamUnsigned(&ctxt, "a", 5);
  const uint8_t octets[] = {1, 0xfe};
  rtxPrintToStreamHexStr(&ctxt, "b", 2, octets);
  EXPECT_EQ(own.pieces, (std::vector<std::string>{" ", " ", " ", "a = 5\n", "b = 0x", "01", "fe", "\n"}));
}

// The direct way into a string cuts exactly as formatting into it does.
TEST_F(PrintStreamTest, AFullStringIsCutWithoutNotice)
{
  for (size_t size = 0; size < 20; size++) {
    char direct[20] = "", formatted[20] = "";
    RtxPrintToStringBuffer text = {direct, size, 0}, reference = {formatted, size, 0};
    rtxSetPrintStream(&ctxt, rtxPrintStreamToStringCB, &text);
    rtxPrintToStreamUnsigned(&ctxt, "abc", 1234567);
    rtxPrintToStreamNull(&ctxt, "d");
    rtxSetPrintStream(&ctxt, rtxPrintStreamToStringCB, &reference);
    rtxPrintToStream(&ctxt, "%s = %u\n", "abc", 1234567U);
    rtxPrintToStream(&ctxt, "%s = <null>\n", "d");
    EXPECT_STREQ(direct, formatted) << size;
    EXPECT_EQ(text.curPos, reference.curPos) << size;
    EXPECT_EQ(text.curPos, strlen(direct)) << size;
  }
}

TEST_F(PrintStreamTest, FilesAreCopiedInPieces)
{
  std::string name = testing::TempDir() + "print_file", first(1500, 'x');
  std::ofstream(name) << first << "\nend";
  EXPECT_EQ(viaCallback([&](RtxContext* pctxt) { EXPECT_EQ(rtxPrintToStreamFile(pctxt, name.c_str()), 0); }),
            first + "\nend");
  EXPECT_EQ(viaStdout([&] { EXPECT_EQ(rtxPrintFile(name.c_str()), 0); }),
            first.substr(0, 1023) + "\n" + first.substr(1023) + "\n\nend\n");
  EXPECT_EQ(rtxPrintToStreamFile(&ctxt, "/nowhere"), RTX_E_FILE_OPEN);
  EXPECT_EQ(rtxPrintFile("/nowhere"), RTX_E_FILE_OPEN);
}

TEST_F(PrintStreamTest, ArrayElementNames)
{
  char name[12];
  EXPECT_STREQ(rtxGetArrayElemName(name, sizeof name, "elem", 12), "elem[12]");
  EXPECT_EQ(rtxGetArrayElemName(nullptr, 0, "elem", 12), nullptr);
}

} // namespace
