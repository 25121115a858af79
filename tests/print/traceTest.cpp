// Guards the bit trace over open types and streams, and its HTML page. Its text
// line by line stands in calls.txt.
#include "rtxsrc/trace/rtxTraceEntry.h"
#include "tests/print/PrintCapture.h"
#include "velnor3gpp/rtxBitDecode.h"
#include "velnor3gpp/rtxDiag.h"
#include "velnor3gpp/rtxDiagBitTrace.h"
#include "velnor3gpp/rtxStream.h"
#include "velnor3gpp/rtxStreamFile.h"

namespace {

class BitTrace : public PrintTest {
protected:
  uint8_t octets[16] = {0x07, 0x41, 0x3c, 0x26, 0xff, 0x80, 'a', 'b', 'c'};
  RtxBitFieldList* list = nullptr;
  Texts texts = textsOf("traces.txt");

  void SetUp() override
  {
    PrintTest::SetUp();
    ASSERT_EQ(rtxCtxtSetBufPtr(&ctxt, octets, sizeof octets), 0);
    start();
  }
  void start()
  {
    ASSERT_EQ(rtxDiagCtxtBitFieldListInit(&ctxt), 0);
    list = ctxt.pBitFldList;
  }
  // One field as a coder notes it.
  RtxBitField* field(const char* name, const char* suffix, size_t bits)
  {
    if (name != nullptr) rtxCtxtPushElemName(&ctxt, name);
    RtxBitField* entry = rtxDiagNewBitField(list, suffix);
    EXPECT_EQ(rtxSkipBits(&ctxt, bits), 0);
    rtxDiagSetBitFldCount(list);
    if (name != nullptr) rtxCtxtPopElemName(&ctxt);
    return entry;
  }
  std::string text(const char* varname = nullptr)
  {
    return viaCallback([&](RtxContext*) { rtxDiagBitTracePrint(list, varname); });
  }
  std::string html(const char* varname = nullptr)
  {
    Folder folder;
    std::string name = folder + "/trace.html";
    rtxDiagBitTracePrintHTML(name.c_str(), list, varname);
    return fileText(name);
  }
};

TEST_F(BitTrace, AnOpenTypeHasATraceOfItsOwn)
{
  RtxBitFieldList inner;
  RtxBitField* outer = field("open", "x", 16);
  ASSERT_EQ(rtxDiagBitFieldListInit(&ctxt, &inner), 0);
  outer->bitOffset = outer->bitCount = 8;
  outer->openTypeFields = &inner;
  ctxt.buffer.byteIndex = 0;
  rtxDiagNewBitField(&inner, "y");
  ctxt.buffer.byteIndex = 1;
  rtxDiagSetBitFldCount(&inner);
  EXPECT_EQ(text("v"), texts["open type"]);
}

// A name that lies in one block with its entry grows as one of its own does.
TEST_F(BitTrace, NamesGrowWhereverTheyStand)
{
  strcpy(rtxTraceAppend(list, 3, "x"), "a.b");
  rtxDiagBitFldAppendNamePart(list, "first");
  rtxDiagBitFldAppendNamePart(list, "second");
  EXPECT_STREQ(static_cast<RtxBitField*>(list->fieldList.tail->data)->elemName, "a.b.first.second");
}

TEST_F(BitTrace, HeadLinesAreCut)
{
  std::string name(900, 'n'), suffix(40, 's');
  field(name.c_str(), "x", 0);
  field("a", suffix.c_str(), 0);
  std::string all = text();
  EXPECT_EQ(all.substr(0, 800), name.substr(0, 799) + "\n");
  EXPECT_NE(all.find("\na " + suffix.substr(0, 32) + "\n"), std::string::npos);
  EXPECT_NE(html().find("\n" + name.substr(0, 400) + "<br/>\n"), std::string::npos);
}

// Coding from a file shows the octets that passed.
TEST_F(BitTrace, StreamsKeepTheirOctets)
{
  Folder folder;
  std::string name = folder + "/trace";
  std::ofstream(name, std::ios::binary).write(reinterpret_cast<const char*>(octets + 2), 4);
  rtxFreeContext(&ctxt);
  ASSERT_EQ(rtxInitContext(&ctxt), 0);
  ASSERT_EQ(rtxStreamFileCreateReader(&ctxt, name.c_str()), 0);
  start();
  uint32_t value = 0;
  rtxDiagNewBitField(list, "x");
  ASSERT_EQ(rtxDecBits(&ctxt, &value, 8), 0);
  rtxDiagSetBitFldCount(list);
  EXPECT_EQ(value, 0x3cu);
  EXPECT_EQ(text("v"), texts["stream"]);
  rtxStreamSetCapture(&ctxt, nullptr);
  rtxDiagSetTraceLevel(&ctxt, RTX_DIAG_ERROR);
  EXPECT_EQ(text(), "~E ERROR: capture buffer was not assigned to stream\n");
  EXPECT_EQ(viaStdout([&] { rtxDiagBitTracePrintHTML("", list, nullptr); }),
            "ERROR: capture buffer was not assigned to stream\n");
}

TEST_F(BitTrace, HtmlPageIsWhatABrowserGets)
{
  field("a&<b>", "\"x\"", 48);
  field("empty", "x", 0);
  std::string page = html("v");
  EXPECT_TRUE(page.starts_with("<!DOCTYPE html "));
  EXPECT_EQ(page.substr(page.find("<h1>")), fileText(VELNOR_TEST_DATA "/trace.html"));
  EXPECT_EQ(html("v"), page);
  EXPECT_EQ(viaStdout([&] { rtxDiagBitTracePrintHTML("stdout", list, "v"); }), page);
  EXPECT_EQ(viaStdout([&] { printf("still open\n"); }), "still open\n");
  EXPECT_EQ(viaStdout([&] { rtxDiagBitTracePrintHTML("/nowhere/x", list, "v"); }),
            "could not open /nowhere/x for write access\n");
}

} // namespace
