// Guards the switches and the level filter of the diagnostic print.
#include "tests/print/PrintCapture.h"
#include "velnor3gpp/rtxDiag.h"

namespace {

class DiagTest : public PrintTest {
protected:
  // The classes that pass at the context's level, in both doors.
  std::string passing()
  {
    static const char* const kMarks[] = {"~E", "~e", "~W", "~w", "~I", "~i", "~D", "~d", "~x", "~", "plain"};
    std::string stdOut = viaStdout([&] {
      for (const char* mark : kMarks) rtxDiagPrint(&ctxt, (std::string(mark) + ",").c_str());
    });
    std::string stream = viaCallback([&](RtxContext* pctxt) {
      for (const char* mark : kMarks) rtxDiagStream(pctxt, (std::string(mark) + ",").c_str());
    });
    EXPECT_EQ(stdOut, stream);
    return stream;
  }
};

TEST_F(DiagTest, LevelsPassTheirClasses)
{
  EXPECT_EQ(passing(), "");
  rtxDiagSetTraceLevel(&ctxt, RTX_DIAG_ERROR);
  EXPECT_EQ(passing(), "~E,~e,plain,");
  rtxDiagSetTraceLevel(&ctxt, RTX_DIAG_WARNING);
  EXPECT_EQ(passing(), "~E,~e,~W,~w,plain,");
  rtxDiagSetTraceLevel(&ctxt, RTX_DIAG_INFO);
  EXPECT_EQ(passing(), "~E,~e,~W,~w,~I,~i,plain,");
  rtxDiagSetTraceLevel(&ctxt, RTX_DIAG_DEBUG);
  EXPECT_EQ(passing(), "~E,~e,~W,~w,~I,~i,~D,~d,plain,");
  rtxDiagSetTraceLevel(&ctxt, 7);
  EXPECT_EQ(passing(), "~E,~e,~W,~w,~I,~i,~D,~d,~x,~,plain,");
}

TEST_F(DiagTest, TraceLevelTest)
{
  EXPECT_FALSE(rtxDiagTraceLevelEnabled(&ctxt, 0));
  rtxDiagSetTraceLevel(&ctxt, RTX_DIAG_WARNING);
  EXPECT_TRUE(rtxDiagTraceLevelEnabled(&ctxt, 1));
  EXPECT_FALSE(rtxDiagTraceLevelEnabled(&ctxt, 2));
  rtxDiagSetTraceLevel(&ctxt, RTX_DIAG_DEBUG);
  EXPECT_TRUE(rtxDiagTraceLevelEnabled(&ctxt, 9));
  rtxDiagSetTraceLevel(&ctxt, 4);
  EXPECT_FALSE(rtxDiagTraceLevelEnabled(&ctxt, 0));
}

TEST_F(DiagTest, SwitchesReturnTheStateBefore)
{
  EXPECT_FALSE(rtxSetDiag(&ctxt, 1));
  EXPECT_EQ(ctxt.flags, RTX_FLAG_DIAG);
  EXPECT_TRUE(rtxSetDiag(&ctxt, 0));
  EXPECT_FALSE(rtxDiagEnabled(nullptr));
  EXPECT_FALSE(rtxSetGlobalDiag(1));
  EXPECT_TRUE(rtxDiagEnabled(nullptr));
  EXPECT_TRUE(rtxSetDiag(&ctxt, 0));
  EXPECT_EQ(viaStdout([] { rtxDiagPrint(nullptr, "~D %d", 5); }), "~D 5");
  EXPECT_TRUE(rtxSetGlobalDiag(0));
  EXPECT_FALSE(rtxDiagEnabled(&ctxt));
}

TEST_F(DiagTest, OctetsCharactersAndBits)
{
  const uint8_t data[] = {0x5a, 0x80};
  auto all = [&](RtxContext* pctxt) {
    rtxDiagStreamHexDump(pctxt, data, 2);
    rtxDiagStreamPrintChars(pctxt, "abcd", 3);
    rtxDiagStreamPrintBits(pctxt, " bits: ", data, 3, 6);
  };
  EXPECT_EQ(viaCallback(all), "");
  rtxSetDiag(&ctxt, 1);
  std::string dump = "5a 80" + std::string(43, ' ') + " Z.\n";
  EXPECT_EQ(viaCallback(all), dump + "abc bits: 110101");
  EXPECT_EQ(viaStdout([&] {
              rtxDiagHexDump(&ctxt, data, 2);
              rtxDiagPrintChars(&ctxt, "abcd", 3);
            }),
            dump + "abc\n");
}

TEST_F(DiagTest, WithoutMemoryCharactersPrintSinglyAndBitsReport)
{
  char room[1];
  RtxContext poor;
  const uint8_t data = 0;
  Pieces pieces;
  ASSERT_EQ(rtxInitContext(&poor), 0);
  rtxSetDiag(&poor, 1);
  rtxSetPrintStream(&poor, Pieces::callback, &pieces);
  ASSERT_EQ(rtxMemHeapConvertStatic(&poor.pMemHeap, room, sizeof room), 0);
  rtxDiagStreamPrintChars(&poor, "ab", 2);
  rtxDiagStreamPrintBits(&poor, "x", &data, 0, 8);
  EXPECT_EQ(pieces.pieces, (std::vector<std::string>{"a", "b"}));
  EXPECT_EQ(rtxErrGetStatus(&poor), RTX_E_NO_MEMORY);
  rtxFreeContext(&poor);
}

} // namespace
