// Guards the bit trace: its entries, its text form line by line, and its HTML page.
#include "tests/print/PrintCapture.h"
#include "velnor3gpp/rtxBitDecode.h"
#include "velnor3gpp/rtxDiag.h"
#include "velnor3gpp/rtxDiagBitTrace.h"
#include "velnor3gpp/rtxStream.h"
#include "velnor3gpp/rtxStreamFile.h"
#include "velnor3gpp/rtxStreamMemory.h"

namespace {

class BitTraceTest : public PrintTest {
protected:
  uint8_t octets[16] = {0x07, 0x41, 0x3c, 0x26, 0xff, 0x80, 'a', 'b', 'c'};
  RtxBitFieldList* list = nullptr;

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
    std::string name = testing::TempDir() + "trace.html";
    rtxDiagBitTracePrintHTML(name.c_str(), list, varname);
    return fileText(name);
  }

  static std::string entryText(const std::string& head, int offset, int count, int next, const std::string& lines)
  {
    return head + "\nbit offset: " + std::to_string(offset) + "\tbit count: " + std::to_string(count) +
           "\tnext bit offset: " + std::to_string(next) + "\n" + lines + "\n";
  }
};

TEST_F(BitTraceTest, AnOffTraceCostsAndChangesNothing)
{
  EXPECT_EQ(rtxDiagNewBitField(nullptr, "x"), nullptr);
  rtxDiagSetBitFldCount(nullptr);
  rtxDiagSetBitFldOffset(nullptr);
  rtxDiagSetBitFldNameSuffix(nullptr, "x");
  rtxDiagBitFldAppendNamePart(nullptr, "x");
  rtxDiagInsBitFieldLen(nullptr);
  rtxDiagBitTracePrint(nullptr, "x");
  EXPECT_EQ(rtxDiagSetBitFldDisabled(nullptr, 0), 1);
  rtxDiagSetBitFldCount(list); // an empty list
  EXPECT_EQ(list->fieldList.count, 0u);
}

TEST_F(BitTraceTest, HalvesOfAnOctetContinueOneLine)
{
  rtxCtxtPushTypeName(&ctxt, "Msg");
  field("spare", "INTEGER", 4);
  field("kind", "ENUMERATED", 4);
  std::string rest = " -------- -------- --------    ";
  EXPECT_EQ(text("PDU"), entryText("PDU.Msg.spare INTEGER", 0, 4, 4, "0000----" + rest + "--------    ----\n") +
                             entryText("PDU.Msg.kind ENUMERATED", 4, 4, 0, "----0111" + rest + "07------    .---\n"));
  EXPECT_EQ(text("PDU"), "");
  EXPECT_NE(html(), ""); // does not disturb the text that goes on
  field("more", "BOOLEAN", 1);
  EXPECT_EQ(text(),
            entryText("Msg.more BOOLEAN", 8, 1, 0, "-------- 0------- -------- --------    --------    ----\n"));
}

TEST_F(BitTraceTest, LinesBreakAfterFourOctetsAndGapsShow)
{
  field("a", "OCTET STRING", 32);
  field("b", "x", 13);
  rtxSkipBits(&ctxt, 3);
  field("c", "x", 8);
  rtxSkipBits(&ctxt, 9);
  EXPECT_EQ(text(),
            entryText("a OCTET STRING", 0, 32, 32, "00000111 01000001 00111100 00100110    07413c26    .A<&\n") +
                entryText("b x", 32, 13, 48, "11111111 10000xxx -------- --------    ff80----    ..--\n") +
                entryText("c x", 48, 8, 0, "-------- -------- 01100001 --------    ----61--    --a-\n"));
}

// What an entry says wrongly stays within the data; a position moved back behind the start makes an empty entry.
TEST_F(BitTraceTest, EntriesBeyondTheDataAndMovedBack)
{
  RtxBitField* wild = field("wild", "x", 8);
  RtxBitField* back = field("back", "x", 8);
  wild->bitOffset = 125;
  wild->bitCount = SIZE_MAX - 3;
  back->bitOffset = 999;
  rtxDiagSetBitFldCount(list);
  EXPECT_EQ(text(), entryText("wild x", 125, -4, 999, "000----- -------- -------- --------    --------    ----\n") +
                        entryText("back x", 999, 0, 0, "-------- -------- -------- --------    --------    ----\n"));
}

TEST_F(BitTraceTest, AdjustmentAtTheStartMovesAllEntries)
{
  field(nullptr, "x", 0)->bitOffset = 8;
  field("a", "x", 4);
  field("b", "x", 4);
  EXPECT_EQ(text(), "bit adjustment set to 8\n" +
                        entryText("a x", 8, 4, 12, "0100---- -------- -------- --------    --------    ----\n") +
                        entryText("b x", 12, 4, 0, "----0001 -------- -------- --------    41------    A---\n"));
}

TEST_F(BitTraceTest, NestedTraceOfAnOpenType)
{
  RtxBitFieldList inner;
  RtxBitField* outer = field("open", "x", 16);
  ASSERT_EQ(rtxDiagBitFieldListInit(&ctxt, &inner), 0);
  outer->bitOffset = 8;
  outer->bitCount = 8;
  outer->openTypeFields = &inner;
  ctxt.buffer.byteIndex = 0;
  rtxDiagNewBitField(&inner, "y");
  ctxt.buffer.byteIndex = 1;
  rtxDiagSetBitFldCount(&inner);
  std::string line = "01000001 -------- -------- --------    41------    A---\n";
  EXPECT_EQ(text("v"), entryText("v.open x", 8, 8, 0, line) + "*** Open Type Data ***\n" +
                           entryText("v y", 0, 8, 0, line) + "***\n");
}

TEST_F(BitTraceTest, HeadLinesAreCut)
{
  std::string name(900, 'n'), suffix(40, 's');
  field(name.c_str(), "x", 0);
  field("a", suffix.c_str(), 0);
  std::string all = text();
  EXPECT_EQ(all.substr(0, 800), name.substr(0, 799) + "\n");
  EXPECT_NE(all.find("\na " + suffix.substr(0, 32) + "\n"), std::string::npos);
  EXPECT_NE(html().find("\n" + name.substr(0, 400) + "<br/>\n"), std::string::npos);
}

TEST_F(BitTraceTest, UpdatesWorkOnTheLastEntry)
{
  RtxBitField* entry = field("a", "x", 0);
  rtxSkipBits(&ctxt, 3);
  rtxDiagSetBitFldOffset(list);
  EXPECT_EQ(entry->bitOffset, 3u);
  rtxSkipBits(&ctxt, 5);
  rtxDiagSetBitFldCount(list);
  rtxDiagSetBitFldOffset(list); // not any more
  rtxDiagSetBitFldNameSuffix(list, "y");
  rtxDiagBitFldAppendNamePart(list, "part");
  EXPECT_EQ(entry->bitOffset, 3u);
  EXPECT_EQ(entry->bitCount, 5u);
  EXPECT_STREQ(entry->nameSuffix, "y");
  EXPECT_STREQ(entry->elemName, "a.part");
  RtxBitField* unnamed = field(nullptr, "z", 0);
  EXPECT_EQ(unnamed->elemName, nullptr);
  rtxCtxtPushElemName(&ctxt, "late");
  rtxDiagBitFldAppendNamePart(list, "ignored");
  EXPECT_STREQ(unnamed->elemName, "late");
}

TEST_F(BitTraceTest, LengthPrefixSplitsOff)
{
  RtxBitField* entry = field("s", "OCTET STRING", 0);
  rtxSkipBits(&ctxt, 8);
  rtxDiagInsBitFieldLen(list);
  rtxSkipBits(&ctxt, 24);
  rtxDiagSetBitFldCount(list);
  ASSERT_EQ(list->fieldList.count, 2u);
  const auto* rest = static_cast<RtxBitField*>(list->fieldList.tail->data);
  EXPECT_STREQ(entry->nameSuffix, "length");
  EXPECT_EQ(entry->bitCount, 8u);
  EXPECT_STREQ(rest->nameSuffix, "OCTET STRING");
  EXPECT_STREQ(rest->elemName, "s");
  EXPECT_EQ(rest->bitOffset, 8u);
  EXPECT_EQ(rest->bitCount, 24u);
}

TEST_F(BitTraceTest, DisablingNests)
{
  EXPECT_EQ(rtxDiagSetBitFldDisabled(list, 1), 1);
  EXPECT_EQ(rtxDiagSetBitFldDisabled(list, 1), 1);
  EXPECT_EQ(rtxDiagSetBitFldDisabled(list, 0), 1);
  EXPECT_EQ(rtxDiagNewBitField(list, "x"), nullptr);
  EXPECT_EQ(rtxDiagSetBitFldDisabled(list, 0), 0);
  EXPECT_EQ(rtxDiagSetBitFldDisabled(list, 0), 0);
  EXPECT_NE(rtxDiagNewBitField(list, "x"), nullptr);
}

// Whichever allocation fails, and all after it: coding goes on, and what stands is printable.
TEST_F(BitTraceTest, LackOfMemoryLosesEntriesOnly)
{
  static int left;
  auto allocate = [](size_t size) -> void* { return left-- > 0 ? malloc(size) : nullptr; };
  auto reallocate = [](void* old, size_t size) -> void* { return left-- > 0 ? realloc(old, size) : nullptr; };
  for (int allowed = 0; allowed < 30; allowed++) {
    RtxContext poor;
    left = 1000;
    ASSERT_EQ(rtxInitContextExt(&poor, allocate, reallocate, free), 0);
    rtxMemHeapSetFlags(&poor.pMemHeap, RT_MH_USE_SYSMEM);
    rtxCtxtSetBufPtr(&poor, octets, sizeof octets);
    rtxCtxtPushElemName(&poor, "name");
    left = allowed;
    ASSERT_EQ(rtxDiagCtxtBitFieldListInit(&poor), allowed > 0 ? 0 : RTX_E_NO_MEMORY);
    for (int i = 0; i < 3; i++) {
      rtxDiagNewBitField(poor.pBitFldList, "x");
      rtxDiagBitFldAppendNamePart(poor.pBitFldList, "part");
      rtxDiagInsBitFieldLen(poor.pBitFldList);
      rtxDiagSetBitFldCount(poor.pBitFldList);
    }
    left = 1;
    char out[2000];
    RtxPrintToStringBuffer sink = {out, sizeof out, 0};
    ASSERT_EQ(rtxSetPrintStream(&poor, rtxPrintStreamToStringCB, &sink), 0);
    rtxDiagBitTracePrint(poor.pBitFldList, nullptr);
    EXPECT_EQ(sink.curPos > 0, allowed > 3) << allowed; // list, path, entry, node
    rtxFreeContext(&poor);
  }
}

// Coding from a file shows the octets that passed; in memory and in buffer mode those of the buffer.
TEST_F(BitTraceTest, StreamsKeepTheirOctets)
{
  std::string name = testing::TempDir() + "trace_in",
              line = "00111100 -------- -------- --------    3c------    <---\n";
  std::ofstream(name, std::ios::binary).write(reinterpret_cast<const char*>(octets + 2), 4);
  rtxFreeContext(&ctxt);
  ASSERT_EQ(rtxInitContext(&ctxt), 0);
  ASSERT_EQ(rtxStreamFileCreateReader(&ctxt, name.c_str()), 0);
  start();
  uint32_t value = 0;
  rtxDiagNewBitField(list, "x");
  ASSERT_EQ(rtxDecBits(&ctxt, &value, 8), 0);
  rtxDiagSetBitFldCount(list);
  EXPECT_NE(list->pCaptureBuf, nullptr);
  EXPECT_EQ(value, 0x3cu);
  EXPECT_EQ(text("v"), entryText("v x", 0, 8, 0, line));
  rtxStreamSetCapture(&ctxt, nullptr);
  rtxDiagSetTraceLevel(&ctxt, RTX_DIAG_ERROR);
  EXPECT_EQ(text(), "~E ERROR: capture buffer was not assigned to stream\n");
  EXPECT_EQ(viaStdout([&] { rtxDiagBitTracePrintHTML("", list, nullptr); }),
            "ERROR: capture buffer was not assigned to stream\n");
}

// Every tag that opens closes in its place, but for the four that the page leaves to the reader's parser.
void checkTags(const std::string& page)
{
  std::vector<std::string> open;
  for (size_t at = page.find('<', page.find("<html")); at != std::string::npos; at = page.find('<', at + 1)) {
    std::string tag = page.substr(at + 1, page.find_first_of(" >", at) - at - 1);
    if (tag == "META" || tag == "br/" || tag == "thead") continue;
    if (tag[0] != '/') {
      open.push_back(tag);
      continue;
    }
    ASSERT_FALSE(open.empty());
    if (tag == "/td" && open.back() == "code") open.pop_back();
    ASSERT_EQ("/" + open.back(), tag) << page.substr(at, 80);
    open.pop_back();
  }
  EXPECT_TRUE(open.empty());
}

TEST_F(BitTraceTest, HtmlPage)
{
  field("a&<b>", "\"x\"", 48);
  field("empty", "x", 0);
  std::string page = html("v");
  EXPECT_EQ(page.find("<!DOCTYPE html PUBLIC \"-//W3C//DTD HTML 4.01 Transitional//EN\">"), 0u);
  for (const char* part :
       {"text/html; charset=utf-8", "<title>EXI 1.0 Encoding</title>", "\ncode {", "div.exampleInner pre",
        "div.exampleOuter", "background-color: #d5dee3", "4px double #d3d3d3", "div.exampleWrapper",
        "div.exampleHeader", "tr.silver td", "tr.bold td", "td.xml { background: gray; color: white"})
    EXPECT_NE(page.find(part), std::string::npos) << part;
  size_t body = page.find("<body>");
  EXPECT_EQ(page.substr(body),
            "<body>\n\n<h1><a name=\"title\" id=\"title\"></a>EXI 1.0 Encoding</h1>\n"
            "<table border=\"1\" width=\"800\"><thead>\n"
            "<tr>\n<td colspan=\"3\" class=\"xml\">\n<code>\nv.a&amp;&lt;b&gt; &quot;x&quot;<br/>\n"
            "bit offset: 0 bit count: 48 next bit offset: 48</td>\n</tr>\n\n"
            "<tr>\n<td align=\"left\" width=\"60%\"><code>\n00000111 01000001 00111100 00100110<br/>\n"
            "11111111 10000000 -------- --------\n</code></td>\n"
            "<td align=\"left\" width=\"25%\"><code>\n07413c26<br/>\nff80----\n</code></td>\n"
            "<td align=\"left\" width=\"15%\"><code>\n.A&lt;&amp;<br/>\n..--\n</code></td>\n</tr>\n\n"
            "<tr>\n<td colspan=\"3\" class=\"xml\">\n<code>\nv.empty x<br/>\n"
            "bit offset: 48 bit count: 0 next bit offset: 0</td>\n</tr>\n\n"
            "<tr>\n<td align=\"left\" width=\"60%\"><code>\n-------- -------- -------- --------\n</code></td>\n"
            "<td align=\"left\" width=\"25%\"><code>\n--------\n</code></td>\n"
            "<td align=\"left\" width=\"15%\"><code>\n----\n</code></td>\n</tr>\n\n"
            "</table>\n</body>\n</html>\n");
  checkTags(page);
  EXPECT_EQ(html("v"), page);
  EXPECT_EQ(viaStdout([&] { rtxDiagBitTracePrintHTML("stdout", list, "v"); }), page);
  EXPECT_EQ(viaStdout([&] { printf("still open\n"); }), "still open\n");
  EXPECT_EQ(viaStdout([&] { rtxDiagBitTracePrintHTML("/nowhere/x", list, "v"); }),
            "could not open /nowhere/x for write access\n");
}

TEST_F(BitTraceTest, HtmlEntryWithoutLines)
{
  field("empty", "x", 0);
  EXPECT_NE(html().find("<td align=\"left\" width=\"60%\"><code>\n</code></td>\n"
                        "<td align=\"left\" width=\"25%\"><code>\n&nbsp;\n</code></td>\n"
                        "<td align=\"left\" width=\"15%\"><code>\n</code></td>\n"),
            std::string::npos);
}

} // namespace
