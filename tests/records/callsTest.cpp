// Promises: headers of charging files and captures are read, written, shown and parsed as their tables say, each
// direction by its own rules, and a refused allocation or a bad field leaves nothing behind. Each line of calls.txt is
// a call.
#include "tests/calls.h"

#include <set>

#include "tests/recordFiles.h"

static std::set<void*> gTaken; // from malloc, by the reader under test
static bool gReading = false;
static int gAsked; // for memory, in the last reading

#ifdef VELNOR_REFUSES_MALLOC
extern "C" {
void* __real_malloc(size_t size);
void __real_free(void* memory);

void* __wrap_malloc(size_t size)
{
  if (!std::exchange(gReading, false)) return __real_malloc(size);
  gAsked++;
  void* memory = failing::mallocFunc(size);
  if (memory != nullptr) gTaken.insert(memory);
  gReading = true;
  return memory;
}

void __wrap_free(void* memory)
{
  failing::inUse -= long(gTaken.erase(memory));
  __real_free(memory);
}
}
#endif

namespace {

TS32297FileHdr gFile;
TS32297Hdr gRecord;
RtxPcapHdr gCapture;
RtxPcapRecHdr gPacket;

int readFile(RtxContext* pctxt)
{
  memset(&gFile, 0xA5, sizeof gFile);
  gAsked = 0;
  gReading = true;
  int status = rtDecTS32297FileHdr(pctxt, &gFile);
  gReading = false;
  return status;
}

int asked()
{
  return gAsked;
}

void dropFile()
{
  free(gFile.cdrRoutingFilter.data);
  free(gFile.privateExtension.data);
  rtInitTS32297FileHdr(&gFile);
}

// Header length, high release, time of opening in octets, lost records, length of the filter, high extension.
std::string file()
{
  const auto* time = reinterpret_cast<const uint8_t*>(&gFile.openTimestamp);
  EXPECT_EQ(gFile.cdrRoutingFilter.data != nullptr, gFile.cdrRoutingFilter.length > 0);
  std::ostringstream text;
  text << gFile.headerLength << " " << +gFile.highReleaseVersionID.release << "." << +gFile.highReleaseVersionID.version
       << " " << hexText({time, time + 7}) << " " << +gFile.lostCDRIndicator << " " << gFile.cdrRoutingFilter.length
       << " ";
  text << (gFile.highReleaseExtensionPresent ? std::to_string(gFile.highReleaseExtension) : "-");
  return text.str();
}

// A header to be written, with so many octets of 0 in its strings.
void fill(uint8_t highRelease, uint8_t highVersion, uint8_t lowRelease, uint16_t filter, uint16_t extension)
{
  static uint8_t octets[65535];
  rtInitTS32297FileHdr(&gFile);
  gFile.highReleaseVersionID = {highRelease, highVersion};
  gFile.lowReleaseVersionID = {lowRelease, 1};
  gFile.openTimestamp.tzPlus = 255;
  gFile.cdrRoutingFilter = {filter, filter > 0 ? octets : nullptr};
  gFile.privateExtension = {extension, extension > 0 ? octets : nullptr};
}

void extend(uint8_t highFlag, uint8_t high, uint8_t lowFlag, uint8_t low)
{
  gFile.highReleaseExtensionPresent = highFlag;
  gFile.highReleaseExtension = high;
  gFile.lowReleaseExtensionPresent = lowFlag;
  gFile.lowReleaseExtension = low;
}

void loseFilter()
{
  gFile.cdrRoutingFilter.data = nullptr;
}

int writeRecord(RtxContext* pctxt, uint16_t length, uint8_t release, uint8_t version, uint32_t format, uint8_t tsNumber,
                uint8_t flag, uint8_t extension)
{
  gRecord = {length, {release, version}, format, tsNumber, flag, extension};
  return rtEncTS32297Hdr(pctxt, &gRecord);
}

// The texts of all values, each as it is parsed, and what is in the way of that.
std::string specifications()
{
  std::string all;
  for (uint8_t value = 0, parsed = 99; value < 32; ++value) {
    char text[10];
    const int status = rtTS32297TSNumberToText(uint8_t(value | (value % 8) << 5), text, sizeof text);
    EXPECT_EQ(status, rtParseTS32297TSNumberText(text, &parsed)) << text;
    if (status == 0) all += (all.empty() ? "" : " ") + std::to_string(parsed) + ":" + text;
  }
  return all;
}

// What is printed on the context's stream.
template <auto print, class Record> std::string streamed(RtxContext* pctxt, const Record* pvalue)
{
  std::string text;
  if (rtxSetPrintStream(pctxt, appendPrinted, &text) < 0) return "no stream";
  pctxt->indent = 6; // which no line has in front
  print(pctxt, pvalue);
  rtxPrintStreamRelease(pctxt);
  return text;
}

// What is printed to standard output.
template <auto print, class Record> std::string shown(const Record* pvalue)
{
  testing::internal::CaptureStdout();
  print(pvalue);
  fflush(stdout);
  return testing::internal::GetCapturedStdout();
}

const calls::Functions kFunctions = {
    CALL(readFile), CALL(asked), CALL(dropFile), CALL(file), CALL(fill), CALL(extend), CALL(loseFilter),
    CALL(writeRecord), CALL(specifications), CALL_AS("failure", calls::failure),
    CALL_AS("printFile", streamed<rtPrtToStrmTS32297FileHdr, TS32297FileHdr>),
    CALL_AS("printRecord", streamed<rtPrtToStrmTS32297Hdr, TS32297Hdr>),
    CALL_AS("printCapture", shown<rtxPrintPcapHdr, RtxPcapHdr>),
    CALL_AS("printPacket", shown<rtxPrintPcapRecHdr, RtxPcapRecHdr>),
    // charging files
    CALL(rtInitTS32297FileHdr), CALL(rtInitTS32297Hdr), CALL(rtDecTS32297FileHdr), CALL(rtEncTS32297FileHdr),
    CALL(rtDecTS32297Hdr), CALL(rtTS32297CalcFileHdrLen), CALL(rtTS32297GetReleaseNumber),
    CALL(rtTS32297RelVersIdToText), CALL(rtTS32297TimestampToText), CALL(rtTS32297TSNumberToText),
    CALL(rtParseTS32297RelVersText), CALL(rtParseTS32297TimestampText), CALL(rtParseTS32297TSNumberText),
    // captures
    CALL(rtxDecPcapHdr), CALL(rtxDecPcapRecHdr), CALL(rtxDecEtherHdr)};

TEST(RecordCalls, GiveWhatTheirLinesSay)
{
  calls::check("calls.txt", kFunctions,
               {{"file", &gFile}, {"record", &gRecord}, {"capture", &gCapture}, {"packet", &gPacket}});
}

} // namespace
