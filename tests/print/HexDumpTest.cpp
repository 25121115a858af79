// Guards the layout of hex dumps and the statuses of their targets.
#include "tests/print/PrintCapture.h"
#include "velnor3gpp/rtxHexDump.h"

namespace {

const uint8_t kData[] = "ABCDEFGHIJKLMNOP \x01";

class HexDumpTest : public PrintTest {
protected:
  std::string dump(size_t octets, size_t unit)
  {
    std::string text = viaCallback([&](RtxContext* pctxt) { rtxHexDumpToStreamEx(pctxt, kData, octets, unit); });
    EXPECT_EQ(text, viaStdout([&] { unit == 1 ? rtxHexDump(kData, octets) : rtxHexDumpEx(kData, octets, unit); }));
    char string[512] = "old text";
    EXPECT_EQ(rtxHexDumpToStringEx(kData, octets, string, sizeof string, unit), 0);
    EXPECT_EQ(text, string);
    return text;
  }

  static std::string line(std::string hex, const std::string& text)
  {
    return hex.append(48 - hex.size(), ' ') + " " + text + "\n";
  }
};

TEST_F(HexDumpTest, LinesAndTheirEnds)
{
  std::string full = line("41 42 43 44 45 46 47 48 49 4a 4b 4c 4d 4e 4f 50", "ABCDEFGHIJKLMNOP");
  EXPECT_EQ(dump(0, 1), "");
  EXPECT_EQ(dump(1, 1), line("41", "A"));
  EXPECT_EQ(dump(16, 1), full);
  EXPECT_EQ(dump(17, 1), full + line("20", ""));
  EXPECT_EQ(dump(18, 1), full + line("20 01", " ."));
  EXPECT_EQ(viaCallback([](RtxContext* pctxt) { rtxHexDumpToStream(pctxt, nullptr, 4); }), "");
  EXPECT_EQ(viaCallback([](RtxContext* pctxt) { rtxHexDumpToStreamExNoAscii(pctxt, kData, 17, 2); }),
            "4142 4344 4546 4748 494a 4b4c 4d4e 4f50         \n20                                              \n");
}

TEST_F(HexDumpTest, Units)
{
  EXPECT_EQ(dump(6, 2), line("4142 4344 4546", "ABCDEF"));
  EXPECT_EQ(dump(16, 3), line("414243 444546 474849 4a4b4c 4d4e4f", "ABCDEFGHIJKLMNO ") + line("50", "P"));
  EXPECT_EQ(dump(16, 4), line("41424344 45464748 494a4b4c 4d4e4f50", "ABCDEFGHIJKLMNOP"));
  EXPECT_EQ(dump(16, 0), dump(16, 4));
  EXPECT_EQ(dump(16, 17), dump(16, 4));
  EXPECT_EQ(dump(10, 8), line("41424344 45464748", "ABCDEFGH        ") + line("494a", "IJ"));
}

TEST_F(HexDumpTest, Files)
{
  std::string in = testing::TempDir() + "dump_in", out = testing::TempDir() + "dump_out";
  EXPECT_EQ(rtxHexDumpToNamedFile(out.c_str(), kData, 2), 0);
  EXPECT_EQ(fileText(out), line("41 42", "AB"));
  EXPECT_EQ(rtxHexDumpToNamedFileNoAscii(out.c_str(), kData, 2), 0);
  EXPECT_EQ(fileText(out), line("41 42", "").erase(48, 1));
  std::string big(3000, 'A');
  std::ofstream(in) << big;
  std::string expected = viaCallback(
      [&](RtxContext* pctxt) { rtxHexDumpToStream(pctxt, reinterpret_cast<const uint8_t*>(big.data()), big.size()); });
  EXPECT_EQ(rtxHexDumpFileContentsToFile(in.c_str(), out.c_str()), 0);
  EXPECT_EQ(fileText(out), expected);
  EXPECT_EQ(rtxHexDumpFileContentsToFile("/nowhere/in", out.c_str()), RTX_E_FILE_OPEN);
  EXPECT_EQ(rtxHexDumpFileContentsToFile(in.c_str(), "/nowhere/out"), RTX_E_FILE_OPEN);
  EXPECT_EQ(rtxHexDumpToNamedFile("/dev/full", kData, 2), RTX_E_WRITE);
  FILE* file = fopen(out.c_str(), "w");
  rtxHexDumpToFileEx(file, kData, 4, 2);
  rtxHexDumpToFileExNoAscii(file, kData, 4, 4);
  fclose(file);
  EXPECT_EQ(fileText(out), line("4142 4344", "ABCD") + line("41424344", "").erase(48, 1));
}

TEST_F(HexDumpTest, AStringKeepsTheLinesThatFit)
{
  char text[100];
  EXPECT_EQ(rtxHexDumpToString(kData, 17, text, sizeof text), RTX_E_ENCODE_OVERFLOW);
  EXPECT_EQ(text, dump(16, 1));
  EXPECT_EQ(rtxHexDumpToString(kData, 17, text, 0), RTX_E_ENCODE_OVERFLOW);
}

} // namespace
