// Charging files and captures from strangers: read alike from memory and from a stream, within the input; what is read
// encodes to what was read, and what is parsed is written and parsed alike.
#include "fuzz/harness.h"

#include "tests/recordFiles.h"

static std::string textOf(const Walk& walk)
{
  return std::to_string(walk.status == RTX_E_END_OF_FILE ? RTX_E_END_OF_BUFFER : walk.status) + "\n" + walk.text;
}

// The first octet tells how many of the others come at a time.
static Octets walkBothWays(Walker* walk, Octets input)
{
  const size_t step = 1U + takeFirst(input) % 50;
  const std::string inMemory = textOf(fromMemory(walk, input)), onStream = textOf(fromTrickle(walk, input, step));
  promise(inMemory == onStream, [&] { return inMemory + "and on a stream\n" + onStream; });
  return input;
}

// As the writer wants it. Its release 3 is what the identifier 0 stands for on the wire.
static void forWriter(TS32297RelVers& value, uint8_t extension)
{
  uint32_t number = 0;
  promise(rtTS32297GetReleaseNumber(&value, extension, &number) == 0, "an identifier of more than 3 bits");
  value.release = value.release == 0 ? 3 : uint8_t(std::min<uint32_t>(number, 255));
}

// What a writer makes of the record is what was read, if all of it had a field.
template <class Record>
static void writeAgain(const Octets& input, size_t read, int (*write)(RtxContext*, Record*), Record& record)
{
  Bench bench;
  rtxCtxtSetBufPtr(&bench, nullptr, 1);
  const int written = write(&bench, &record);
  promise(written >= 0 && size_t(written) == bench.buffer.byteIndex, "a header that was read is not written");
  promise(size_t(written) != read || std::equal(input.begin(), input.begin() + written, bench.buffer.data),
          "a header is written otherwise than it was read");
}

static void checkFileHeader(const Octets& input)
{
  Bench bench(input), passing(input);
  FileHdr file;
  const int status = rtDecTS32297FileHdr(&bench, &file);
  const bool passed = rtDecTS32297FileHdr(&passing, nullptr) == 0;
  if (status < 0)
    return promise(!file.cdrRoutingFilter.data && !file.privateExtension.data, "a string outlives a failure");
  promise(size_t(status) == bench.buffer.byteIndex, "a header of other octets than were read");
  promise(!passed || passing.buffer.byteIndex == file.headerLength, "a header is passed over to the wrong place");
  const size_t read = file.headerLength == uint32_t(status) ? size_t(status) : 0;
  forWriter(file.highReleaseVersionID, file.highReleaseExtension);
  forWriter(file.lowReleaseVersionID, file.lowReleaseExtension);
  writeAgain<TS32297FileHdr>(input, read, rtEncTS32297FileHdr, file);
}

static void checkRecordHeader(const Octets& input)
{
  Bench bench(input), passing(input);
  TS32297Hdr header;
  const int status = rtDecTS32297Hdr(&bench, &header);
  promise((status > 0) == (rtDecTS32297Hdr(&passing, nullptr) == 0), "a header is read but not passed over");
  if (status < 0) return;
  promise(passing.buffer.byteIndex == size_t(status), "a header is passed over to the wrong place");
  forWriter(header.releaseVersionId, header.releaseExtension);
  writeAgain<const TS32297Hdr>(input, size_t(status), rtEncTS32297Hdr, header);
}

void checkCharging(const L3TypeEntry&, Octets input)
{
  input = walkBothWays(walkCharging, input);
  checkFileHeader(input);
  checkRecordHeader(input);
}

void checkCapture(const L3TypeEntry&, Octets input)
{
  walkBothWays(walkCapture, input);
}

// A text that ends where its memory does.
template <class Print> static std::string textIn(size_t size, const Print& print)
{
  std::vector<char> text(size);
  print(text.data(), size);
  promise(size == 0 || memchr(text.data(), 0, size), "a text without an end");
  return size == 0 ? "" : text.data();
}

void checkChargingText(const L3TypeEntry&, Octets input)
{
  const size_t room = takeFirst(input) % 24;
  const std::string text(input.begin(), input.end());
  TS32297RelVers release = {}, sameRelease = {};
  TS32297Timestamp time = {}, sameTime = {};
  uint8_t number = 0, sameNumber = 99;
  if (rtParseTS32297RelVersText(text.c_str(), &release) == 0 && release.release > 3 && release.release < 10) {
    const TS32297RelVers wire = {uint8_t(release.release - 3), release.version};
    const std::string again =
        textIn(20, [&](char* dst, size_t size) { rtTS32297RelVersIdToText(&wire, 0, dst, size); });
    promise(rtParseTS32297RelVersText(again.c_str(), &sameRelease) == 0 && sameRelease.release == release.release &&
                sameRelease.version == release.version,
            again);
  }
  auto comesBack = [&text](auto& value, auto& same, auto parse, auto print) {
    if (parse(text.c_str(), &value) != 0) return;
    const std::string again = textIn(20, [&](char* dst, size_t size) { print(dst, size); });
    promise(parse(again.c_str(), &same) == 0 && !memcmp(&value, &same, sizeof value), again);
  };
  comesBack(time, sameTime, rtParseTS32297TimestampText,
            [&](char* dst, size_t size) { rtTS32297TimestampToText(&time, dst, size); });
  comesBack(number, sameNumber, rtParseTS32297TSNumberText,
            [&](char* dst, size_t size) { rtTS32297TSNumberToText(number, dst, size); });
  // Whatever a record holds, into whatever room.
  input.resize(sizeof time);
  memcpy(&time, input.data(), sizeof time);
  textIn(room, [&](char* dst, size_t size) { rtTS32297TimestampToText(&time, dst, size); });
  textIn(room, [&](char* dst, size_t size) { rtTS32297TSNumberToText(time.month, dst, size); });
  textIn(room, [&](char* dst, size_t size) {
    const TS32297RelVers any = {time.month, time.day};
    rtTS32297RelVersIdToText(&any, time.hour, dst, size);
  });
}
