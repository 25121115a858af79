// Promise: coding through a stream gives what coding in a buffer gives, however the octets arrive, and every failure of
// the stream comes out as its status.
#include "velnor3gpp/rtxStream.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <functional>

#include "tests/rtx/randomField.h"
#include "tests/trickle.h"
#include "velnor3gpp/rtxBitDecode.h"
#include "velnor3gpp/rtxCheckBuffer.h"
#include "velnor3gpp/rtxContainer.h"
#include "velnor3gpp/rtxDiagBitTrace.h"
#include "velnor3gpp/rtxMemBuf.h"
#include "velnor3gpp/rtxStatus.h"
#include "velnor3gpp/rtxStreamFile.h"
#include "velnor3gpp/rtxStreamMemory.h"

namespace {

constexpr uint16_t kHexReader = RTX_STREAM_READ | RTX_STREAM_HEX, kHexWriter = RTX_STREAM_WRITE | RTX_STREAM_HEX;

struct File {
  FILE* file = std::tmpfile();
  ~File() { std::fclose(file); }
  explicit File(const std::string& text = {})
  {
    std::fwrite(text.data(), 1, text.size(), file);
    std::rewind(file);
  }
  std::string contents()
  {
    std::string text;
    std::rewind(file);
    for (int ch = std::fgetc(file); ch != EOF; ch = std::fgetc(file)) text += static_cast<char>(ch);
    return text;
  }
};

std::string textOf(const Octets& octets)
{
  return std::string(octets.begin(), octets.end());
}

std::string hexOf(const Octets& octets)
{
  std::string text;
  char digits[3];
  for (uint8_t octet : octets) text += (rtxByteToHexChar(octet, digits, sizeof digits), digits);
  return text;
}

/** The same octets as a file, as a file of hex text, in memory and as a trickle. */
struct Sources {
  Bench onFile, onText, onMemory, onTrickle;
  File file, text;
  Trickle trickle;
  Sources(Octets& octets, size_t step) : file(textOf(octets)), text(hexOf(octets)), trickle{octets, step}
  {
    EXPECT_EQ(rtxStreamFileAttach(&onFile, file.file, RTX_STREAM_READ), 0);
    EXPECT_EQ(rtxStreamFileAttach(&onText, text.file, kHexReader), 0);
    EXPECT_EQ(rtxStreamMemoryCreateReader(&onMemory, octets.data(), octets.size()), 0);
    EXPECT_EQ(trickle.open(&onTrickle), 0);
  }
  std::vector<Bench*> all() { return {&onFile, &onText, &onMemory, &onTrickle}; }
};

/** One random read of any form; returns its status and appends what it gave. */
int readSomething(std::mt19937& random, RtxContext* pctxt, Octets* gave)
{
  uint64_t number = 0;
  uint32_t word = 0;
  uint8_t octets[160] = {}, *place = nullptr;
  int allocated = 0;
  size_t n = pick(random, 0, 9) == 0 ? pick(random, 0, 140) : pick(random, 0, 12), pos = 0;
  auto passOver = [&] { return all({rtxReadBytes(pctxt, octets, n), rtxSkipBytes(pctxt, n), rtxSkipBytes(pctxt, 9)}); };
  const bool marks = rtxStreamMarkSupported(pctxt) != 0;
  const std::function<int()> reads[] = {
      [&] { return rtxDecBits(pctxt, &word, n % 33); },
      [&] { return rtxDecBitsToUInt64(pctxt, &number, n % 65); },
      [&] { return rtxDecBit(pctxt, octets); },
      [&] { return rtxDecBitsToByte(pctxt, octets, n % 9); },
      [&] { return rtxDecBitsToByteArray(pctxt, octets, sizeof octets, n * (1 + n % 8)); },
      [&] { return rtxReadBytes(pctxt, octets, n); },
      [&] { return rtxPeekBits(pctxt, &word, n % 33); },
      [&] { return std::min(0, rtxPeekByte(pctxt, octets)); },
      [&] { return rtxReadBytesDynamic(pctxt, &place, n, &allocated); },
      [&] { return rtxMoveBitCursor(pctxt, static_cast<int32_t>(n)); },
      [&] { return rtxSkipBytes(pctxt, n); },
      [&] {
        return all({rtxMarkPos(pctxt, &pos), passOver(), rtxResetToPos(pctxt, pos)});
      },
      [&] { // by the kind's own mark, where it has one
        if (!marks) return all({rtxMarkPos(pctxt, &pos), passOver(), rtxResetToPos(pctxt, pos)});
        return all({rtxStreamMark(pctxt, 1000), passOver(), rtxStreamReset(pctxt)});
      },
  };
  int status = reads[pick(random, 0, std::size(reads) - 1)]();
  if (status == 0 && place != nullptr) gave->insert(gave->end(), place, place + n);
  gave->insert(gave->end(), octets, octets + sizeof octets);
  for (int shift = 0; shift < 64; shift += 8) gave->push_back(static_cast<uint8_t>((number + word) >> shift));
  return status;
}

// Runs the same reads over the buffer and the stream; both must give the same until one ends, and both end.
void compareReads(unsigned seed, const Octets& octets, RtxContext* pctxt)
{
  Bench plain(octets);
  std::mt19937 first(seed), second(seed);
  for (;;) {
    Octets expected, gave;
    int status = readSomething(first, &plain, &expected);
    int streamed = readSomething(second, pctxt, &gave);
    if (status < 0) {
      const bool pastMemory = streamed == RTX_E_ENCODE_OVERFLOW && pctxt->pStream->id == RTX_STREAM_ID_MEMORY;
      ASSERT_TRUE(streamed == RTX_E_END_OF_BUFFER || streamed == RTX_E_END_OF_FILE || pastMemory) << streamed;
      return;
    }
    ASSERT_EQ(streamed, 0);
    ASSERT_EQ(gave, expected);
    ASSERT_EQ(pctxt->buffer.bitOffset, plain.buffer.bitOffset);
    ASSERT_EQ(rtxCtxtGetBitOffset(pctxt), plain.at());
  }
}

TEST(Stream, ReadsAsABufferDoes)
{
  for (unsigned seed = 0; seed < 400; ++seed) {
    std::mt19937 random(seed);
    Octets octets = randomOctets(random, pick(random, 1, 700));
    Sources sources(octets, pick(random, 1, 60));
    for (Bench* bench : sources.all()) compareReads(seed, octets, bench);
  }
}

// So does a buffer that grows.
TEST(Stream, HasTheBitsThatWereWritten)
{
  for (unsigned seed = 0; seed < 400; ++seed) {
    Bench growing, onFile, onText, onMemory;
    File file, text;
    Bits bits;
    ASSERT_EQ(rtxCtxtSetBufPtr(&growing, nullptr, 16), 0);
    ASSERT_EQ(rtxStreamFileAttach(&onFile, file.file, RTX_STREAM_WRITE), 0);
    ASSERT_EQ(rtxStreamFileAttach(&onText, text.file, kHexWriter), 0);
    ASSERT_EQ(rtxStreamMemoryCreateWriter(&onMemory, nullptr, 20), 0);
    for (Bench* bench : {&growing, &onFile, &onText, &onMemory}) {
      std::mt19937 random(seed);
      bits.clear();
      const int fields = seed == 0 ? 1000 : 40; // so that a buffer also grows far
      for (int i = 0; i < fields; ++i) ASSERT_EQ(writeRandom(random, bench, &bits, i % 6 == 0 ? 1200 : 40), 0);
    }
    size_t size = 0;
    EXPECT_EQ(rtxCtxtGetBitOffset(&onFile), bits.size());
    EXPECT_EQ(onFile.buffer.size, RTX_STREAM_CTXTBUF_SIZE) << "long strings pass the buffer by";
    const Octets expected = bits.octets();
    ASSERT_EQ(Octets(growing.buffer.data, growing.buffer.data + expected.size()), expected);
    uint8_t* data = rtxStreamMemoryGetBuffer(&onMemory, &size);
    ASSERT_EQ(Octets(data, data + size), expected);
    ASSERT_EQ(all({rtxStreamClose(&onFile), rtxStreamClose(&onText)}), 0) << "which writes the partial octet";
    ASSERT_EQ(file.contents(), textOf(expected)) << "seed " << seed;
    ASSERT_EQ(text.contents(), hexOf(expected));
  }
}

TEST(Stream, BuffersOfTheCaller)
{
  uint8_t room[8];
  const uint8_t octets[] = {7, 8, 9};
  Octets message{7, 7, 7};
  Bench bench;
  File file;
  ASSERT_EQ(rtxInitContextBuffer(&bench, room, sizeof room), 0);
  ASSERT_EQ(rtxStreamFileAttach(&bench, file.file, RTX_STREAM_WRITE), 0);
  // To a stream that does not work through the buffer a begun octet goes as a whole one.
  EXPECT_EQ(all({rtxEncBits(&bench, 0xABD, 13), rtxWriteBytes(&bench, octets, 3)}), 0);
  EXPECT_EQ(all({rtxEncBits(&bench, 5, 8), rtxWriteBytes(&bench, octets, 2)}), 0);
  bench.bind(message);
  EXPECT_EQ(all({rtxDecBits(&bench, nullptr, 20), rtxStreamClose(&bench)}), 0);
  EXPECT_EQ(file.contents(), "\x55\xE8\x07\x08\x09\x05\x07\x08") << "and no message in buffer mode";
}

// A memory stream's octets are the buffer, so what passed through the stream stands in front of the cursor already.
TEST(Stream, RegionsAndTracesOfAMemoryStreamAreThoseOfItsBuffer)
{
  Octets octets(40, 0xA5);
  std::string traces[2];
  for (bool stream : {false, true}) {
    Bench bench;
    uint8_t copy[8];
    size_t mark = 0;
    uint32_t value = 0;
    bench.bind(octets);
    if (stream) ASSERT_EQ(rtxStreamMemoryCreateReader(&bench, octets.data(), octets.size()), 0);
    ASSERT_EQ(all({rtxDiagCtxtBitFieldListInit(&bench), rtxReadBytes(&bench, copy, 8), rtxSkipBytes(&bench, 5)}), 0);
    ASSERT_EQ(all({rtxCtxtMarkBitPos(&bench, &mark), rtxCtxtPushContainerBytes(&bench, 3)}), 0);
    EXPECT_EQ(mark, 104U);
    while (rtxCtxtContainerHasRemBits(&bench)) {
      rtxDiagNewBitField(bench.pBitFldList, "INTEGER");
      ASSERT_EQ(rtxDecBits(&bench, &value, 12), 0);
      rtxDiagSetBitFldCount(bench.pBitFldList);
    }
    EXPECT_TRUE(rtxCtxtContainerEnd(&bench));
    for (const RtxSListNode* node = bench.pBitFldList->fieldList.head; node; node = node->next) {
      const RtxBitField& field = *static_cast<const RtxBitField*>(node->data);
      traces[stream] += std::to_string(field.bitOffset) + "+" + std::to_string(field.bitCount) + " ";
    }
  }
  EXPECT_EQ(traces[1], traces[0]);
  EXPECT_EQ(traces[0], "104+12 116+12 ");
}

TEST(Stream, RegionsLooksAheadAndCapturesFollowTheInput)
{
  std::mt19937 random(8);
  Octets octets = randomOctets(random, 200);
  Sources sources(octets, 5);
  for (Bench* bench : {&sources.onFile, &sources.onText, &sources.onTrickle}) {
    RtxMemBuf capture;
    uint8_t next = 0;
    size_t at = 60, count = 0;
    rtxMemBufInit(bench, &capture, 64);
    ASSERT_EQ(all({rtxStreamSetCapture(bench, &capture), rtxSkipBytes(bench, at)}), 0);
    ASSERT_EQ(rtxCtxtPushContainerBytes(bench, 70), 0);
    for (; rtxCtxtContainerHasRemBits(bench); ++at) ASSERT_EQ(rtxDecUInt8(bench, &next), 0);
    EXPECT_EQ(at, 130U);
    rtxCtxtPopContainer(bench);
    for (; rtxCtxtContainerHasRemBits(bench); ++at) {
      ASSERT_EQ(rtxPeekByte(bench, &next), 1);
      ASSERT_EQ(next, octets[at]);
      ASSERT_EQ(rtxSkipBytes(bench, 1), 0);
    }
    EXPECT_EQ(at, octets.size());
    ASSERT_EQ(rtxStreamGetCapture(bench), &capture);
    EXPECT_EQ(Octets(capture.buffer, capture.buffer + capture.usedcnt), octets) << "every octet once";
    EXPECT_EQ(rtxStreamGetIOBytes(bench, &count), 0);
    EXPECT_EQ(rtxCtxtGetIOByteCount(bench), count);
  }
}

TEST(Stream, HexTextMayHaveBlanksAndNothingElse)
{
  for (std::string text : {"0A 0\nb fF\t10", "0A 0G", "0A 0 "}) {
    Octets octets(text.begin(), text.end()), target(8);
    Bench onFile, onMemory;
    File file(text);
    ASSERT_EQ(rtxStreamFileAttach(&onFile, file.file, kHexReader), 0);
    ASSERT_EQ(rtxStreamMemoryAttach(&onMemory, octets.data(), octets.size(), kHexReader), 0);
    for (Bench* bench : {&onFile, &onMemory}) {
      EXPECT_EQ(rtxStreamRead(bench, target.data(), 8), text.size() > 5 ? 4 : RTX_E_BAD_HEX);
      if (text.size() > 5) EXPECT_EQ(target, (Octets{0x0A, 0x0B, 0xFF, 0x10, 0, 0, 0, 0}));
    }
  }
  const Octets octets(300, 0xA5);
  Bench memory;
  size_t size = 0;
  ASSERT_EQ(rtxStreamMemoryCreate(&memory, kHexWriter), 0);
  for (int i = 0; i < 3; ++i) ASSERT_EQ(rtxStreamWrite(&memory, octets.data(), 100), 0);
  const uint8_t* data = rtxStreamMemoryGetBuffer(&memory, &size);
  EXPECT_EQ(std::string(data, data + size), hexOf(octets));
}

} // namespace
