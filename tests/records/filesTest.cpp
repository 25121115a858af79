// Promises: whole files of both kinds are read alike from memory, from a file and as a trickle, cut anywhere they end
// with the status that says so; what is written is read as it was written, and captures read as their own tools do.
#include <gtest/gtest.h>

#include <algorithm>
#include <regex>

#include "tests/fileText.h"
#include "tests/recordFiles.h"
#include "velnor3gpp/rtxBitEncode.h"

namespace {

// Both kinds of stream give what memory does, the end of a file but for its status.
void checkAllWays(Walker* walk, const Octets& whole)
{
  const std::string text = fromMemory(walk, whole).text;
  for (size_t size = 0; size <= whole.size(); ++size) {
    const Octets octets(whole.begin(), whole.begin() + long(size));
    const Walk inMemory = fromMemory(walk, octets);
    EXPECT_TRUE(inMemory.status == RTX_E_END_OF_BUFFER || inMemory.status == 0) << size;
    EXPECT_EQ(text.compare(0, inMemory.text.size(), inMemory.text), 0) << size;
    for (size_t step : {0, 1, 2, 3, 7, 44}) {
      const Walk same = step == 0 ? fromFile(walk, octets) : fromTrickle(walk, octets, step);
      EXPECT_EQ(same.status, inMemory.status == 0 ? 0 : RTX_E_END_OF_FILE) << size << " by " << step;
      EXPECT_EQ(same.text, inMemory.text) << size << " by " << step;
    }
  }
  EXPECT_EQ(fromMemory(walk, whole).status, 0);
}

using Texts = std::vector<std::string>;

// Release as text, for a writer: above 9 it has an extension.
void setRelease(const std::string& text, TS32297RelVers& release, uint8_t& flag, uint8_t& extension)
{
  EXPECT_EQ(rtParseTS32297RelVersText(text.c_str(), &release), 0) << text;
  flag = release.release >= 10;
  extension = uint8_t(flag ? release.release - 10 : 0);
}

// A file of three records, of which the texts tell releases, times and specifications in their order.
Octets written(const Texts& texts, TS32297OctStr string)
{
  Bench bench;
  TS32297FileHdr file;
  auto text = texts.begin();
  rtInitTS32297FileHdr(&file);
  setRelease(*text++, file.highReleaseVersionID, file.highReleaseExtensionPresent, file.highReleaseExtension);
  setRelease(*text++, file.lowReleaseVersionID, file.lowReleaseExtensionPresent, file.lowReleaseExtension);
  for (TS32297Timestamp* time : {&file.openTimestamp, &file.lastAppendTimestamp})
    EXPECT_EQ(rtParseTS32297TimestampText((*text++).c_str(), time), 0);
  file.cdrRoutingFilter = file.privateExtension = string;
  file.cdrCount = 3;
  file.fileLength = rtTS32297CalcFileHdrLen(&file) + 4 + 5 + 4 + 3 + 40;
  rtxCtxtSetBufPtr(&bench, nullptr, 0);
  EXPECT_EQ(rtEncTS32297FileHdr(&bench, &file), int(rtTS32297CalcFileHdrLen(&file)));
  for (uint16_t length : {3, 40, 0}) {
    TS32297Hdr record = {length, {}, TS32297_XER, 0, 0, 0};
    setRelease(*text++, record.releaseVersionId, record.releaseExtensionPresent, record.releaseExtension);
    EXPECT_EQ(rtParseTS32297TSNumberText((*text++).c_str(), &record.tsNumber), 0);
    EXPECT_EQ(rtEncTS32297Hdr(&bench, &record), 4 + record.releaseExtensionPresent);
    EXPECT_EQ(rtxWriteBytes(&bench, Octets(length + size_t{1}, 0xAB).data(), length), 0);
  }
  EXPECT_EQ(bench.buffer.byteIndex, file.fileLength);
  return Octets(bench.buffer.data, bench.buffer.data + bench.buffer.byteIndex);
}

Texts quotedIn(const std::string& printed)
{
  const std::regex quotes("'([^']*)'");
  Texts texts;
  for (std::sregex_iterator quote(printed.begin(), printed.end(), quotes); quote != std::sregex_iterator(); ++quote)
    texts.push_back((*quote)[1]);
  return texts;
}

TEST(ChargingFiles, AreReadAsTheyWereWritten)
{
  const Folder folder;
  uint8_t string[] = {1, 2, 3};
  Texts texts = {"rel-9 v.1", "rel-4 v.31", "05/17 10:30+02:00", "12/31 23:59-11:30",
                 "rel-9 v.1", "32.251",     "rel-15 v.31",       "32.274",
                 "rel-4 v.0", "32.275"};
  for (size_t form : {0, 1, 2}) {
    if (form > 0) texts[form - 1] = "rel-17 v.2"; // the extension of one, then of both
    const Octets octets = written(texts, form > 0 ? TS32297OctStr{sizeof string, string} : TS32297OctStr{});
    const std::string printed = fromMemory(walkCharging, octets).text;
    EXPECT_EQ(quotedIn(printed), texts);
    checkAllWays(walkCharging, octets);
    EXPECT_EQ(outputOf(VELNOR_CHARGING " " + folder.keep("cdr", octets)), printed);
  }
}

// The same capture from a machine of the other byte order.
std::string swapped(std::string capture)
{
  auto turn = [&](size_t at, size_t octets) { std::reverse(&capture[at], &capture[at + octets]); };
  auto number = [&](size_t at) { return size_t(uint8_t(capture[at])) | size_t(uint8_t(capture[at + 1])) << 8; };
  for (size_t at = 24, next; at < capture.size(); at = next) {
    next = at + 16 + number(at + 8);
    for (size_t field = 0; field < 16; field += 4) turn(at + field, 4);
  }
  for (auto [at, octets] : {std::pair{0, 4}, {4, 2}, {6, 2}, {8, 4}, {12, 4}, {16, 4}, {20, 4}})
    turn(size_t(at), size_t(octets));
  return capture;
}

// The dissector's own reading of a capture, as the walk tells it.
std::string dissected(const std::string& file)
{
  return outputOf("HOME=/nonexistent tshark -n -r " + file +
                  " -T fields -e frame.time_epoch -e frame.cap_len -e frame.len "
                  "-e eth.dst -e eth.src -e eth.type 2>/dev/null | sed 's/000\\t/\\t/; s/0x//; s/://g; s/\\t\\t*$//; "
                  "s/\\t/ /g' | tr a-f A-F");
}

// Two identity requests and a longer registration request.
const char kMessages[] = "0000 7e 00 5b 01\n0000 7e 00 5b 02\n"
                         "0000 7e 00 41 79 00 0d 01 00 f1 10 00 00 00 00 00 00 00 00 10 2e 04 f0 70 f0 70\n";

TEST(Captures, ReadAsTheirOwnToolsDo)
{
  if (!hasTools()) GTEST_SKIP() << "install tshark";
  const Folder folder;
  const std::string text = folder.keep("text", kMessages);
  for (const std::string linkType : {"-l 147", "-e 88b5"}) {
    EXPECT_EQ(outputOf("cd " + folder + " && text2pcap -q -F pcap " + linkType +
                       " text a && editcap -F pcap -s 20 -t 7.5 "
                       "a b && mergecap -F pcap -a -w c a b"),
              "");
    const std::string capture = fileText(folder + "/c"), other = swapped(capture);
    ASSERT_EQ(uint8_t(capture[0]), 0xD4) << "the tools write the order of the machine that they run on";
    folder.keep("d", other);
    const std::string expected = dissected(folder + "/c");
    EXPECT_EQ(std::count(expected.begin(), expected.end(), '\n'), 6) << expected;
    EXPECT_EQ(dissected(folder + "/d"), expected);
    for (const std::string& file : {capture, other}) {
      EXPECT_EQ(fromMemory(walkCapture, octetsOfText(file)).text, expected);
      checkAllWays(walkCapture, octetsOfText(file));
    }
    for (const char* name : {"/c", "/d"}) {
      const std::string shown =
          outputOf(VELNOR_CAPTURE + std::string(linkType == "-l 147" ? " 147 " : " 1 ") + folder + name + " 2>&1");
      EXPECT_NE(shown.find("obj_IdentityRequest5G"), std::string::npos) << shown;
    }
  }
}

} // namespace
