// Promise: coding through a stream gives what coding in a buffer gives, however the octets arrive, and every failure of
// the stream comes out as its status.
#include "velnor3gpp/rtxStream.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <functional>
#include <memory>
#include <string>

#include "codecBench.h"
#include "velnor3gpp/rtxBitDecode.h"
#include "velnor3gpp/rtxBitEncode.h"
#include "velnor3gpp/rtxCheckBuffer.h"
#include "velnor3gpp/rtxContainer.h"
#include "velnor3gpp/rtxMemBuf.h"
#include "velnor3gpp/rtxStatus.h"
#include "velnor3gpp/rtxStreamFile.h"
#include "velnor3gpp/rtxStreamMemory.h"

namespace {

struct File {
  FILE* file = std::tmpfile();
  ~File() { std::fclose(file); }
  explicit File(const Octets& octets = {})
  {
    if (!octets.empty()) std::fwrite(octets.data(), 1, octets.size(), file);
    std::rewind(file);
  }
  Octets contents()
  {
    Octets octets;
    std::rewind(file);
    for (int ch = std::fgetc(file); ch != EOF; ch = std::fgetc(file)) octets.push_back(static_cast<uint8_t>(ch));
    return octets;
  }
};

/** A source that gives a few octets at a time and cannot go back. */
struct Trickle {
  Octets octets;
  size_t at = 0;
  size_t step = 1;
  int failAt = -1; // position from which reads fail

  static int64_t read(RtxStream* pStream, uint8_t* pbuf, size_t size)
  {
    auto* self = static_cast<Trickle*>(pStream->extra);
    if (self->failAt >= 0 && self->at >= static_cast<size_t>(self->failAt)) return RTX_E_READ;
    size_t count = std::min({size, self->step, self->octets.size() - self->at});
    std::copy_n(self->octets.begin() + static_cast<long>(self->at), count, pbuf);
    self->at += count;
    return static_cast<int64_t>(count);
  }
  static int skip(RtxStream* pStream, size_t count)
  {
    auto* self = static_cast<Trickle*>(pStream->extra);
    if (count > self->octets.size() - self->at) return RTX_E_END_OF_BUFFER;
    self->at += count;
    return 0;
  }
  void open(RtxContext* pctxt)
  {
    ASSERT_EQ(rtxStreamInit(pctxt), 0);
    pctxt->pStream->read = read;
    pctxt->pStream->skip = skip;
    pctxt->pStream->extra = this;
    pctxt->pStream->id = RTX_STREAM_ID_SOCKET;
    pctxt->pStream->flags = RTX_STREAM_READ;
    ASSERT_EQ(rtxStreamInitCtxtBuf(pctxt), 0);
  }
};

/** One random read of any form; returns its status and appends what it gave. */
int readSomething(std::mt19937& random, RtxContext* pctxt, Octets* gave)
{
  uint32_t word = 0;
  uint8_t octets[160] = {}, *place = nullptr;
  int allocated = 0;
  size_t n = pick(random, 0, 9) == 0 ? pick(random, 0, 140) : pick(random, 0, 12);
  const std::function<int()> reads[] = {
      [&] { return rtxDecBits(pctxt, &word, n % 33); },
      [&] { return rtxDecBit(pctxt, octets); },
      [&] { return rtxDecBitsToByte(pctxt, octets, n % 9); },
      [&] { return rtxDecBitsToByteArray(pctxt, octets, sizeof octets, n); },
      [&] { return rtxReadBytes(pctxt, octets, n); },
      [&] { return rtxPeekBits(pctxt, &word, n % 33); },
      [&] { return rtxReadBytesDynamic(pctxt, &place, n, &allocated); },
      [&] { return rtxMoveBitCursor(pctxt, static_cast<int32_t>(n)); },
      [&] { return rtxSkipBytes(pctxt, n); },
  };
  int status = reads[pick(random, 0, std::size(reads) - 1)]();
  if (status == 0 && place != nullptr) gave->insert(gave->end(), place, place + n);
  gave->insert(gave->end(), octets, octets + sizeof octets);
  for (int shift = 0; shift < 32; shift += 8) gave->push_back(static_cast<uint8_t>(word >> shift));
  return status;
}

// Runs the same reads over the buffer and the stream; both must give the same until one ends, and both end.
void compareReads(unsigned seed, const Octets& octets, RtxContext* pctxt)
{
  Bench plain;
  plain.bind(octets);
  std::mt19937 first(seed), second(seed);
  for (;;) {
    Octets expected, gave;
    int status = readSomething(first, &plain, &expected);
    int streamed = readSomething(second, pctxt, &gave);
    ASSERT_EQ(status < 0, streamed < 0) << status << " against " << streamed;
    if (status < 0) return;
    ASSERT_EQ(gave, expected);
    ASSERT_EQ(pctxt->buffer.bitOffset, plain.buffer.bitOffset);
    if (pctxt->pStream->id != RTX_STREAM_ID_MEMORY) {
      ASSERT_EQ(rtxCtxtGetBitOffset(pctxt), plain.at());
    }
  }
}

int writeSomething(std::mt19937& random, RtxContext* pctxt)
{
  Octets octets = randomOctets(random, 200);
  size_t n = pick(random, 0, 5) == 0 ? pick(random, 0, 1200) : pick(random, 0, 40);
  const std::function<int()> writes[] = {
      [&] { return rtxEncBits(pctxt, octets[0] * 0x01020304U, n % 33); },
      [&] { return rtxEncBit(pctxt, octets[0] & 1); },
      [&] { return rtxEncBitsFromByteArray(pctxt, octets.data(), n); },
      [&] { return rtxEncBitsPattern(pctxt, octets[0], n); },
      [&] { return rtxCopyBits(pctxt, octets.data(), n, 5); },
  };
  return writes[pick(random, 0, std::size(writes) - 1)]();
}

Octets text(const char* characters)
{
  std::string string(characters);
  return Octets(string.begin(), string.end());
}

} // namespace

TEST(Stream, ReadsAsABufferDoes)
{
  for (unsigned seed = 0; seed < 400; ++seed) {
    std::mt19937 random(seed);
    Octets octets = randomOctets(random, pick(random, 1, 700));
    Bench onFile, onMemory, onTrickle;
    File file(octets);
    Trickle trickle{octets, 0, pick(random, 1, 60)};
    ASSERT_EQ(rtxStreamFileAttach(&onFile, file.file, RTX_STREAM_READ), 0);
    ASSERT_EQ(rtxStreamMemoryCreateReader(&onMemory, octets.data(), octets.size()), 0);
    trickle.open(&onTrickle);
    compareReads(seed, octets, &onFile);
    compareReads(seed, octets, &onMemory);
    compareReads(seed, octets, &onTrickle);
  }
}

TEST(Stream, EndsAtEveryPositionWithItsStatus)
{
  for (size_t count = 0; count < 60; ++count) {
    Octets octets(count, 0x55), target(100);
    for (size_t want = count + 1; want < 100; want += 9) {
      Bench bench;
      Trickle trickle{octets, 0, 7};
      trickle.open(&bench);
      ASSERT_EQ(rtxReadBytes(&bench, target.data(), want), RTX_E_END_OF_FILE);
      Bench second;
      Trickle failing{octets, 0, 7, static_cast<int>(count / 7 * 7)};
      failing.open(&second);
      ASSERT_EQ(rtxDecBitsToByteArray(&second, target.data(), target.size(), want * 8), RTX_E_READ);
      Bench third;
      Trickle again{octets, 0, 7};
      again.open(&third);
      ASSERT_EQ(rtxDecBit(&third, nullptr), count > 0 ? 0 : RTX_E_END_OF_FILE);
      ASSERT_EQ(rtxDecBitsToByteArray(&third, target.data(), target.size(), want * 8), RTX_E_END_OF_FILE);
    }
  }
}

TEST(Stream, WritesAsABufferDoes)
{
  for (unsigned seed = 0; seed < 300; ++seed) {
    Bench plain, onFile, onMemory;
    File file;
    ASSERT_EQ(rtxCtxtSetBufPtr(&plain, nullptr, 0), 0);
    ASSERT_EQ(rtxStreamFileAttach(&onFile, file.file, RTX_STREAM_WRITE), 0);
    ASSERT_EQ(rtxStreamMemoryCreateWriter(&onMemory, nullptr, 20), 0);
    RtxContext* contexts[] = {&plain, &onFile, &onMemory};
    for (RtxContext* pctxt : contexts) {
      std::mt19937 random(seed);
      for (int i = 0; i < 40; ++i) ASSERT_GE(writeSomething(random, pctxt), 0);
      const uint8_t tail[] = {1, 2, 3};
      if (seed % 2 == 0) {
        ASSERT_EQ(rtxEncBits(pctxt, 0, static_cast<size_t>(pctxt->buffer.bitOffset)), 0);
        ASSERT_EQ(rtxWriteBytes(pctxt, tail, sizeof tail), 0);
      }
    }
    size_t bits = plain.at(), size = 0;
    EXPECT_EQ(rtxCtxtGetBitOffset(&onFile), bits);
    Octets expected(plain.buffer.data, plain.buffer.data + (bits + 7) / 8);
    uint8_t* data = rtxStreamMemoryGetBuffer(&onMemory, &size);
    ASSERT_EQ(Octets(data, data + size), expected);
    ASSERT_EQ(rtxStreamClose(&onFile), 0);
    ASSERT_EQ(file.contents(), expected) << "seed " << seed;
  }
}

TEST(Stream, LongOctetStringsDrainTheBuffer)
{
  std::mt19937 random(5);
  Octets octets = randomOctets(random, 300);
  for (size_t first = 0; first < 90; ++first) {
    for (size_t second : {0, 1, 42, 43, 44, 86, 87, 200}) {
      Bench bench;
      File file;
      ASSERT_EQ(rtxStreamFileAttach(&bench, file.file, RTX_STREAM_WRITE), 0);
      ASSERT_EQ(rtxWriteBytes(&bench, octets.data(), first), 0);
      ASSERT_EQ(rtxEncBitsFromByteArray(&bench, octets.data() + first, second * 8), 0);
      ASSERT_EQ(rtxCtxtGetBitOffset(&bench), (first + second) * 8);
      ASSERT_EQ(rtxStreamClose(&bench), 0);
      ASSERT_EQ(file.contents(), Octets(octets.begin(), octets.begin() + static_cast<long>(first + second)));
    }
  }
}

TEST(Stream, LongOctetStringsPassTheBufferBy)
{
  Octets octets(1000, 4), target(1000);
  Bench reader, writer;
  File out;
  Trickle trickle{octets, 0, 30};
  trickle.open(&reader);
  ASSERT_EQ(rtxDecBits(&reader, nullptr, 16), 0);
  ASSERT_EQ(rtxDecBitsToByteArray(&reader, target.data(), 500, 4000), 0);
  ASSERT_EQ(rtxReadBytes(&reader, target.data(), 400), 0);
  EXPECT_EQ(reader.pStream->bufSize, RTX_STREAM_CTXTBUF_SIZE);
  ASSERT_EQ(rtxStreamFileAttach(&writer, out.file, RTX_STREAM_WRITE), 0);
  ASSERT_EQ(rtxEncBits(&writer, 1, 16), 0);
  ASSERT_EQ(rtxEncBitsFromByteArray(&writer, octets.data(), 4000), 0);
  ASSERT_EQ(rtxWriteBytes(&writer, octets.data(), 400), 0);
  EXPECT_EQ(writer.buffer.size, RTX_STREAM_CTXTBUF_SIZE);
}

TEST(Stream, MarksBringTheSameOctetsBack)
{
  std::mt19937 random(6);
  Octets octets = randomOctets(random, 500);
  for (size_t at = 0; at < 120; at += 3) {
    for (size_t ahead : {1, 10, 42, 43, 44, 100, 150}) {
      for (int kind = 0; kind < 3; ++kind) {
        Bench bench;
        File file(octets);
        Trickle trickle{octets, 0, 11};
        if (kind == 0) rtxStreamFileAttach(&bench, file.file, RTX_STREAM_READ);
        if (kind == 1) rtxStreamMemoryCreateReader(&bench, octets.data(), octets.size());
        if (kind == 2) trickle.open(&bench);
        Octets target(200), again(200);
        size_t pos = 0;
        ASSERT_EQ(rtxReadBytes(&bench, nullptr, at), 0);
        ASSERT_EQ(rtxMarkPos(&bench, &pos), 0);
        ASSERT_EQ(rtxReadBytes(&bench, target.data(), ahead), 0);
        ASSERT_EQ(rtxSkipBytes(&bench, ahead), 0);
        ASSERT_EQ(rtxDecBits(&bench, nullptr, 16), 0);
        ASSERT_EQ(rtxResetToPos(&bench, pos), 0);
        ASSERT_EQ(rtxReadBytes(&bench, again.data(), ahead), 0);
        ASSERT_EQ(again, target) << "kind " << kind << " at " << at << " ahead " << ahead;
        ASSERT_EQ(rtxReadBytes(&bench, target.data(), 5), 0);
        ASSERT_TRUE(std::equal(target.begin(), target.begin() + 5, octets.begin() + static_cast<long>(at + ahead)));
        if (kind == 2) continue;
        ASSERT_EQ(rtxStreamMark(&bench, 1000), 0);
        ASSERT_EQ(rtxReadBytes(&bench, target.data(), ahead / 2), 0);
        ASSERT_EQ(rtxStreamReset(&bench), 0);
        ASSERT_EQ(rtxReadBytes(&bench, again.data(), 3), 0);
        ASSERT_TRUE(std::equal(again.begin(), again.begin() + 3, octets.begin() + static_cast<long>(at + ahead + 5)));
      }
    }
  }
}

TEST(Stream, RegionsAndLooksAheadFollowTheInput)
{
  Octets octets(200);
  for (size_t i = 0; i < octets.size(); ++i) octets[i] = static_cast<uint8_t>(i);
  Bench bench;
  Trickle trickle{octets, 0, 5};
  trickle.open(&bench);
  size_t read = 0, inRegion = 0;
  uint8_t next = 0;
  ASSERT_EQ(rtxSkipBytes(&bench, 20), 0);
  ASSERT_EQ(rtxCtxtPushContainerBytes(&bench, 70), 0);
  for (; rtxCtxtContainerHasRemBits(&bench); ++inRegion) ASSERT_EQ(rtxDecUInt8(&bench, &next), 0);
  EXPECT_EQ(inRegion, 70U);
  rtxCtxtPopContainer(&bench);
  for (; rtxCtxtContainerHasRemBits(&bench); ++read) {
    ASSERT_EQ(rtxPeekByte(&bench, &next), 1);
    ASSERT_EQ(next, octets[90 + read]);
    ASSERT_EQ(rtxSkipBytes(&bench, 1), 0);
  }
  EXPECT_EQ(read, 110U);
  EXPECT_EQ(rtxCtxtSetBitOffset(&bench, 0), RTX_E_NOT_SUPPORTED);
  EXPECT_EQ(rtxCtxtGetIOByteCount(&bench), bench.pStream->ioBytes);
}

TEST(Stream, HexTextInMemoryAndFiles)
{
  Octets source = text("0A 0\nb fF\t10"), target(8), expected{0x0A, 0x0B, 0xFF, 0x10};
  Octets bad = text("0A 0G"), single = text("0A 0 ");
  for (const Octets* octets : {&source, &bad, &single}) {
    Bench onFile, onMemory;
    File file(*octets);
    ASSERT_EQ(rtxStreamFileAttach(&onFile, file.file, RTX_STREAM_READ | RTX_STREAM_HEX), 0);
    ASSERT_EQ(rtxStreamMemoryAttach(&onMemory, const_cast<uint8_t*>(octets->data()), octets->size(),
                                    RTX_STREAM_READ | RTX_STREAM_HEX),
              0);
    for (RtxContext* pctxt : {static_cast<RtxContext*>(&onFile), static_cast<RtxContext*>(&onMemory)}) {
      std::fill(target.begin(), target.end(), 0);
      int64_t count = rtxStreamRead(pctxt, target.data(), 8);
      if (octets != &source) {
        EXPECT_EQ(count, RTX_E_BAD_HEX);
        continue;
      }
      EXPECT_EQ(count, 4);
      EXPECT_TRUE(std::equal(expected.begin(), expected.end(), target.begin()));
    }
  }
}

TEST(Stream, HexTextIsWrittenAndComesBackToAMark)
{
  Octets octets(120), again(120);
  for (size_t i = 0; i < octets.size(); ++i) octets[i] = static_cast<uint8_t>(i * 37);
  Bench writer, memory, reader;
  File file;
  ASSERT_EQ(rtxStreamFileAttach(&writer, file.file, RTX_STREAM_WRITE | RTX_STREAM_HEX), 0);
  ASSERT_EQ(rtxWriteBytes(&writer, octets.data(), octets.size()), 0);
  ASSERT_EQ(rtxStreamClose(&writer), 0);
  ASSERT_EQ(rtxStreamMemoryCreate(&memory, RTX_STREAM_WRITE | RTX_STREAM_HEX), 0);
  for (int i = 0; i < 4; ++i) ASSERT_EQ(rtxStreamWrite(&memory, octets.data() + 30 * i, 30), 0);
  size_t size = 0;
  uint8_t* data = rtxStreamMemoryGetBuffer(&memory, &size);
  EXPECT_EQ(Octets(data, data + size), file.contents());
  std::rewind(file.file);
  ASSERT_EQ(rtxStreamFileAttach(&reader, file.file, RTX_STREAM_READ | RTX_STREAM_HEX), 0);
  ASSERT_EQ(rtxReadBytes(&reader, again.data(), 20), 0);
  ASSERT_EQ(rtxStreamMark(&reader, 200), 0);
  ASSERT_EQ(rtxReadBytes(&reader, again.data() + 20, 100), 0);
  EXPECT_EQ(again, octets);
  ASSERT_EQ(rtxStreamReset(&reader), 0);
  ASSERT_EQ(rtxReadBytes(&reader, again.data(), 100), 0);
  EXPECT_TRUE(std::equal(octets.begin() + 20, octets.end(), again.begin()));
}

TEST(Stream, FullDeviceGivesAWriteFailure)
{
  Octets octets(100000);
  Bench small, large, bits;
  ASSERT_EQ(rtxStreamFileCreateWriter(&small, "/dev/full"), 0);
  ASSERT_EQ(rtxWriteBytes(&small, octets.data(), 1), 0);
  EXPECT_EQ(rtxStreamFlush(&small), RTX_E_WRITE);
  ASSERT_EQ(rtxStreamFileCreateWriter(&large, "/dev/full"), 0);
  EXPECT_EQ(rtxWriteBytes(&large, octets.data(), octets.size()), RTX_E_WRITE);
  ASSERT_EQ(rtxStreamFileCreateWriter(&bits, "/dev/full"), 0);
  ASSERT_EQ(rtxEncBits(&bits, 1, 3), 0);
  EXPECT_EQ(rtxStreamClose(&bits), RTX_E_WRITE) << "the partial octet goes out with the close";
  EXPECT_EQ(bits.pStream, nullptr);
}

TEST(Stream, CloseWritesThePartialOctet)
{
  Bench bench;
  File file;
  ASSERT_EQ(rtxStreamFileAttach(&bench, file.file, RTX_STREAM_WRITE), 0);
  ASSERT_EQ(rtxEncBits(&bench, 0x1234, 13), 0);
  ASSERT_EQ(rtxStreamFlush(&bench), 0);
  EXPECT_EQ(file.contents(), (Octets{0x91}));
  ASSERT_EQ(rtxEncBit(&bench, 1), 0);
  ASSERT_EQ(rtxStreamClose(&bench), 0);
  EXPECT_EQ(file.contents(), (Octets{0x91, 0xA4}));
  EXPECT_EQ(bench.buffer.data, nullptr);
  ASSERT_EQ(rtxStreamFileAttach(&bench, file.file, RTX_STREAM_WRITE), 0);
  Octets message{7, 7, 7};
  bench.bind(message);
  ASSERT_EQ(rtxDecBits(&bench, nullptr, 20), 0);
  ASSERT_EQ(rtxStreamClose(&bench), 0);
  EXPECT_EQ(file.contents(), (Octets{0x91, 0xA4})) << "a message decoded in buffer mode is not the stream's";
}

TEST(Stream, MemoryStreams)
{
  Octets octets{1, 2, 3, 4}, target(8);
  Bench bench;
  EXPECT_EQ(rtxStreamMemoryAttach(&bench, nullptr, 4, RTX_STREAM_READ), RTX_E_BAD_PARAMETER);
  EXPECT_EQ(bench.told(rtxStreamMemoryCreate(&bench, 0)), RTX_E_BAD_PARAMETER);
  ASSERT_EQ(rtxStreamMemoryCreateReader(&bench, octets.data(), 4), 0);
  EXPECT_EQ(bench.told(rtxStreamSkip(&bench, 5)), RTX_E_ENCODE_OVERFLOW);
  EXPECT_EQ(rtxStreamRead(&bench, target.data(), 0), 0);
  EXPECT_EQ(rtxStreamRead2(&bench, target.data(), 2, 8), 4);
  EXPECT_EQ(rtxStreamReadDirect(&bench, target.data(), 8), 0);
  EXPECT_EQ(bench.told(rtxStreamSkip(&bench, 1)), RTX_E_END_OF_BUFFER);
  size_t pos = 0;
  ASSERT_EQ(rtxStreamSetPos(&bench, 1), 0);
  EXPECT_EQ(rtxStreamGetPos(&bench, &pos), 0);
  EXPECT_EQ(pos, 1U);
  EXPECT_EQ(rtxStreamMemoryResetWriter(&bench), RTX_E_NO_CONTEXT);
  EXPECT_EQ(bench.told(rtxStreamWrite(&bench, target.data(), 1)), RTX_E_MULTIPLE)
      << "a second failure, -22, on top of the first";
  ASSERT_EQ(rtxStreamMemoryCreateWriter(&bench, octets.data(), 4), 0);
  ASSERT_EQ(rtxStreamWrite(&bench, target.data(), 3), 0);
  EXPECT_EQ(bench.told(rtxStreamWrite(&bench, target.data(), 2)), RTX_E_ENCODE_OVERFLOW);
  ASSERT_EQ(rtxStreamMemoryCreateWriter(&bench, nullptr, 0), 0);
  EXPECT_EQ(bench.buffer.size, 512U);
  Octets big(700, 9);
  ASSERT_EQ(rtxStreamWrite(&bench, big.data(), 512), 0);
  EXPECT_EQ(bench.buffer.size, 512U);
  ASSERT_EQ(rtxStreamWrite(&bench, big.data(), 700), 0);
  EXPECT_EQ(bench.buffer.size, 512U + 700 + 512);
  ASSERT_EQ(rtxStreamMemoryResetWriter(&bench), 0);
  EXPECT_EQ(bench.buffer.byteIndex, 0U);
}

TEST(Stream, WhatAStreamCannotDo)
{
  Bench bench;
  Trickle trickle{Octets(9), 0, 3};
  size_t count = 0;
  EXPECT_EQ(bench.told(rtxStreamGetIOBytes(&bench, &count)), RTX_E_NO_CONTEXT);
  EXPECT_EQ(rtxStreamLoadInputBuffer(nullptr, 1), RTX_E_BAD_PARAMETER);
  trickle.open(&bench);
  EXPECT_EQ(bench.told(rtxStreamInitCtxtBuf(&bench)), RTX_E_GENERAL);
  EXPECT_EQ(bench.told(rtxResetToPos(&bench, 0)), RTX_E_BAD_PARAMETER) << "no mark is held";
  EXPECT_EQ(bench.told(int(rtxStreamRead2(&bench, nullptr, 2, 1))), RTX_E_ENCODE_OVERFLOW);
  EXPECT_EQ(bench.told(rtxStreamFlush(&bench)), RTX_E_BAD_PARAMETER) << "a reader has nothing to flush";
  EXPECT_EQ(bench.told(rtxStreamFileCreateReader(&bench, "/nowhere/at/all")), RTX_E_FILE_OPEN);
  EXPECT_EQ(bench.told(rtxStreamFileCreateReader(&bench, nullptr)), RTX_E_BAD_PARAMETER);
  EXPECT_EQ(bench.told(rtxStreamFileOpen(&bench, "/dev/null", 0)), RTX_E_BAD_PARAMETER);
  EXPECT_EQ(bench.told(rtxStreamFileAttach(&bench, nullptr, RTX_STREAM_READ)), RTX_E_BAD_PARAMETER);
  bench.pStream->endOffset = 4;
  EXPECT_EQ(rtxDecBits(&bench, nullptr, 32), 0);
  EXPECT_EQ(rtxDecBit(&bench, nullptr), RTX_E_END_OF_BUFFER) << "nothing is loaded beyond the end offset";
}

// A directory opens, but gives nothing to read; a pipe has no positions.
TEST(Stream, FilesThatCannotBeReadOrPositioned)
{
  uint8_t octet = 0;
  size_t position = 0;
  Bench directory, pipe;
  ASSERT_EQ(rtxStreamFileCreateReader(&directory, "/"), 0);
  EXPECT_EQ(directory.told(rtxReadBytes(&directory, &octet, 1)), RTX_E_READ);
  FILE* source = popen("echo octets", "r");
  ASSERT_EQ(rtxStreamFileAttach(&pipe, source, RTX_STREAM_READ), 0);
  EXPECT_EQ(pipe.told(rtxStreamMark(&pipe, 10)), RTX_E_READ);
  EXPECT_EQ(pipe.told(rtxStreamGetPos(&pipe, &position)), RTX_E_READ);
  EXPECT_EQ(rtxReadBytes(&pipe, &octet, 1), 0);
  EXPECT_EQ(octet, 'o');
  rtxStreamClose(&pipe);
  pclose(source);
}

TEST(Stream, CaptureSeesEveryOctetOnce)
{
  std::mt19937 random(8);
  Octets octets = randomOctets(random, 400), target(200);
  Bench bench;
  File file(octets);
  RtxMemBuf capture;
  ASSERT_EQ(rtxStreamFileAttach(&bench, file.file, RTX_STREAM_READ), 0);
  rtxMemBufInit(&bench, &capture, 64);
  ASSERT_EQ(rtxStreamSetCapture(&bench, &capture), 0);
  EXPECT_EQ(rtxStreamGetCapture(&bench), &capture);
  ASSERT_EQ(rtxDecBits(&bench, nullptr, 20), 0);
  ASSERT_EQ(rtxSkipBytes(&bench, 100), 0);
  ASSERT_EQ(rtxReadBytes(&bench, target.data(), 150), 0);
  ASSERT_EQ(rtxDecBits(&bench, nullptr, 9), 0);
  size_t position = rtxCtxtGetBitOffset(&bench) / 8;
  EXPECT_GE(capture.usedcnt, position);
  EXPECT_TRUE(std::equal(capture.buffer, capture.buffer + capture.usedcnt, octets.begin()));
}

TEST(Stream, RefusedMemoryIsReportedAndLeaksNothing)
{
  Octets octets(2000, 3), target(2000);
  for (int allowed = 0; allowed < 12; ++allowed) {
    Bench bench;
    File file(octets), out;
    failing::allow(allowed);
    int status = rtxStreamFileAttach(&bench, file.file, RTX_STREAM_READ);
    if (status == 0) status = rtxCheckInputBuffer(&bench, 1000);
    if (status == 0) status = rtxStreamClose(&bench);
    if (status == 0) status = rtxStreamMemoryCreateWriter(&bench, nullptr, 0);
    if (status == 0) status = rtxStreamWrite(&bench, octets.data(), octets.size());
    if (status == 0) status = rtxStreamFileAttach(&bench, out.file, RTX_STREAM_WRITE);
    failing::allow(-1);
    EXPECT_TRUE(status == RTX_E_NO_MEMORY || (status == 0 && allowed >= 8)) << "status " << status << " at " << allowed;
  }
}
