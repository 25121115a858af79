// Promise: coding through a stream gives what coding in a buffer gives, however the octets arrive, and every failure of
// the stream comes out as its status.
#include "velnor3gpp/rtxStream.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <functional>

#include "bench.h"
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
    std::fwrite(octets.data(), 1, octets.size(), file);
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
  size_t step;
  bool fails = false; // at its end
  size_t at = 0;

  static int64_t read(RtxStream* pStream, uint8_t* pbuf, size_t size)
  {
    auto* self = static_cast<Trickle*>(pStream->extra);
    size_t count = std::min({size, self->step, self->octets.size() - self->at});
    if (count == 0 && self->fails) return RTX_E_READ;
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

/** The same octets as a file, in memory and as a trickle. */
struct Sources {
  Bench onFile, onMemory, onTrickle;
  File file;
  Trickle trickle;
  Sources(Octets& octets, size_t step) : file(octets), trickle{octets, step}
  {
    EXPECT_EQ(rtxStreamFileAttach(&onFile, file.file, RTX_STREAM_READ), 0);
    EXPECT_EQ(rtxStreamMemoryCreateReader(&onMemory, octets.data(), octets.size()), 0);
    trickle.open(&onTrickle);
  }
  std::vector<Bench*> all() { return {&onFile, &onMemory, &onTrickle}; }
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
      [&] { return rtxDecBitsToByteArray(pctxt, octets, sizeof octets, n * (1 + n % 8)); },
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
  Bench plain(octets);
  std::mt19937 first(seed), second(seed);
  for (;;) {
    Octets expected, gave;
    int status = readSomething(first, &plain, &expected);
    int streamed = readSomething(second, pctxt, &gave);
    ASSERT_EQ(status < 0, streamed < 0) << status << " against " << streamed;
    if (status < 0) return;
    ASSERT_EQ(gave, expected);
    ASSERT_EQ(pctxt->buffer.bitOffset, plain.buffer.bitOffset);
    if (pctxt->pStream->id == RTX_STREAM_ID_MEMORY) continue;
    ASSERT_EQ(rtxCtxtGetBitOffset(pctxt), plain.at());
    ASSERT_EQ(pctxt->pStream->bufSize, RTX_STREAM_CTXTBUF_SIZE) << "long strings pass the buffer by";
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
      [&] {
        int status = rtxEncBits(pctxt, 0, static_cast<size_t>(pctxt->buffer.bitOffset % 8));
        return status < 0 ? status : rtxWriteBytes(pctxt, octets.data(), n / 8);
      },
  };
  return writes[pick(random, 0, std::size(writes) - 1)]();
}

} // namespace

TEST(Stream, ReadsAsABufferDoes)
{
  for (unsigned seed = 0; seed < 400; ++seed) {
    std::mt19937 random(seed);
    Octets octets = randomOctets(random, pick(random, 1, 700));
    Sources sources(octets, pick(random, 1, 60));
    for (Bench* bench : sources.all()) compareReads(seed, octets, bench);
  }
}

TEST(Stream, EndsAtEveryPositionWithItsStatus)
{
  uint8_t target[100];
  auto aligned = [&](RtxContext* c, size_t n) { return rtxDecBitsToByteArray(c, target, sizeof target, n * 8); };
  auto shifted = [&](RtxContext* c, size_t n) { return rtxDecBit(c, nullptr) + aligned(c, n); };
  auto octets = [&](RtxContext* c, size_t n) { return rtxReadBytes(c, target, n); };
  for (size_t count = 1; count < 60; ++count)
    for (size_t want = count + 1; want < 100; want += 9)
      for (bool fails : {false, true})
        for (const std::function<int(RtxContext*, size_t)>& read : {std::function(aligned), {shifted}, {octets}}) {
          Bench bench;
          Trickle trickle{Octets(count), 7, fails};
          trickle.open(&bench);
          ASSERT_EQ(read(&bench, want), fails ? RTX_E_READ : RTX_E_END_OF_FILE) << count << " " << want;
        }
}

TEST(Stream, WritesAsABufferDoes)
{
  for (unsigned seed = 0; seed < 400; ++seed) {
    Bench plain, onFile, onMemory;
    File file;
    ASSERT_EQ(rtxCtxtSetBufPtr(&plain, nullptr, 0), 0);
    ASSERT_EQ(rtxStreamFileAttach(&onFile, file.file, RTX_STREAM_WRITE), 0);
    ASSERT_EQ(rtxStreamMemoryCreateWriter(&onMemory, nullptr, 20), 0);
    for (Bench* bench : {&plain, &onFile, &onMemory}) {
      std::mt19937 random(seed);
      for (int i = 0; i < 40; ++i) ASSERT_GE(writeSomething(random, bench), 0);
    }
    size_t bits = plain.at(), size = 0;
    EXPECT_EQ(rtxCtxtGetBitOffset(&onFile), bits);
    EXPECT_EQ(onFile.buffer.size, RTX_STREAM_CTXTBUF_SIZE) << "long strings pass the buffer by";
    Octets expected(plain.buffer.data, plain.buffer.data + (bits + 7) / 8);
    uint8_t* data = rtxStreamMemoryGetBuffer(&onMemory, &size);
    ASSERT_EQ(Octets(data, data + size), expected);
    ASSERT_EQ(rtxStreamClose(&onFile), 0) << "which writes the partial octet";
    ASSERT_EQ(file.contents(), expected) << "seed " << seed;
    EXPECT_EQ(onFile.buffer.data, nullptr);
  }
}

TEST(Stream, MarksBringTheSameOctetsBack)
{
  std::mt19937 random(6);
  Octets octets = randomOctets(random, 500), target(200), again(200);
  auto from = [&](size_t first, size_t count) { return Octets(&octets[first], &octets[first + count]); };
  for (size_t at = 0; at < 120; at += 3) {
    for (size_t ahead : {1, 10, 42, 43, 44, 100, 150}) {
      Sources sources(octets, 11);
      for (Bench* bench : sources.all()) {
        size_t pos = 0;
        ASSERT_EQ(rtxReadBytes(bench, nullptr, at), 0);
        ASSERT_EQ(rtxMarkPos(bench, &pos), 0);
        ASSERT_EQ(rtxReadBytes(bench, target.data(), ahead), 0);
        ASSERT_EQ(rtxSkipBytes(bench, ahead), 0);
        ASSERT_EQ(rtxDecBits(bench, nullptr, 16), 0);
        ASSERT_EQ(rtxResetToPos(bench, pos), 0);
        ASSERT_EQ(rtxReadBytes(bench, again.data(), ahead + 5), 0);
        ASSERT_EQ(Octets(again.begin(), again.begin() + long(ahead) + 5), from(at, ahead + 5)) << at << " " << ahead;
        if (bench == &sources.onTrickle) continue;
        ASSERT_EQ(rtxStreamMark(bench, 1000), 0);
        ASSERT_EQ(rtxReadBytes(bench, target.data(), ahead / 2), 0);
        ASSERT_EQ(rtxStreamReset(bench), 0);
        ASSERT_EQ(rtxReadBytes(bench, again.data(), 3), 0);
        ASSERT_EQ(Octets(again.begin(), again.begin() + 3), from(at + ahead + 5, 3));
      }
    }
  }
}

TEST(Stream, RegionsLooksAheadAndCapturesFollowTheInput)
{
  std::mt19937 random(8);
  Octets octets = randomOctets(random, 200);
  Sources sources(octets, 5);
  for (Bench* bench : {&sources.onFile, &sources.onTrickle}) {
    RtxMemBuf capture;
    uint8_t next = 0;
    size_t at = 20, count = 0;
    rtxMemBufInit(bench, &capture, 64);
    ASSERT_EQ(rtxStreamSetCapture(bench, &capture), 0);
    EXPECT_EQ(rtxStreamGetCapture(bench), &capture);
    ASSERT_EQ(rtxSkipBytes(bench, at), 0);
    ASSERT_EQ(rtxCtxtPushContainerBytes(bench, 70), 0);
    for (; rtxCtxtContainerHasRemBits(bench); ++at) ASSERT_EQ(rtxDecUInt8(bench, &next), 0);
    EXPECT_EQ(at, 90U);
    rtxCtxtPopContainer(bench);
    for (; rtxCtxtContainerHasRemBits(bench); ++at) {
      ASSERT_EQ(rtxPeekByte(bench, &next), 1);
      ASSERT_EQ(next, octets[at]);
      ASSERT_EQ(rtxSkipBytes(bench, 1), 0);
    }
    EXPECT_EQ(at, octets.size());
    EXPECT_EQ(Octets(capture.buffer, capture.buffer + capture.usedcnt), octets) << "every octet once";
    EXPECT_EQ(rtxCtxtSetBitOffset(bench, 0), RTX_E_NOT_SUPPORTED);
    EXPECT_EQ(rtxStreamGetIOBytes(bench, &count), 0);
    EXPECT_EQ(rtxCtxtGetIOByteCount(bench), count);
  }
}

TEST(Stream, HexTextInMemoryAndFiles)
{
  const uint16_t hexReader = RTX_STREAM_READ | RTX_STREAM_HEX, hexWriter = RTX_STREAM_WRITE | RTX_STREAM_HEX;
  for (std::string text : {"0A 0\nb fF\t10", "0A 0G", "0A 0 "}) {
    Octets octets(text.begin(), text.end()), target(8);
    Bench onFile, onMemory;
    File file(octets);
    ASSERT_EQ(rtxStreamFileAttach(&onFile, file.file, hexReader), 0);
    ASSERT_EQ(rtxStreamMemoryAttach(&onMemory, octets.data(), octets.size(), hexReader), 0);
    for (Bench* bench : {&onFile, &onMemory}) {
      EXPECT_EQ(rtxStreamRead(bench, target.data(), 8), text.size() > 5 ? 4 : RTX_E_BAD_HEX);
      if (text.size() > 5) EXPECT_EQ(target, (Octets{0x0A, 0x0B, 0xFF, 0x10, 0, 0, 0, 0}));
    }
  }
  std::mt19937 random(9);
  Octets octets = randomOctets(random, 120), again(120);
  Bench writer, memory, reader;
  File file;
  ASSERT_EQ(rtxStreamFileAttach(&writer, file.file, hexWriter), 0);
  ASSERT_EQ(rtxWriteBytes(&writer, octets.data(), octets.size()), 0);
  ASSERT_EQ(rtxStreamClose(&writer), 0);
  ASSERT_EQ(rtxStreamMemoryCreate(&memory, hexWriter), 0);
  for (int i = 0; i < 4; ++i) ASSERT_EQ(rtxStreamWrite(&memory, octets.data() + 30 * i, 30), 0);
  size_t size = 0;
  uint8_t* data = rtxStreamMemoryGetBuffer(&memory, &size);
  EXPECT_EQ(Octets(data, data + size), file.contents());
  std::rewind(file.file);
  ASSERT_EQ(rtxStreamFileAttach(&reader, file.file, hexReader), 0);
  ASSERT_EQ(rtxReadBytes(&reader, again.data(), 20), 0);
  ASSERT_EQ(rtxStreamMark(&reader, 200), 0);
  for (int round = 0; round < 2; ++round) {
    std::fill(again.begin() + 20, again.end(), 0);
    ASSERT_EQ(rtxReadBytes(&reader, again.data() + 20, 100), 0);
    EXPECT_EQ(again, octets) << "also from the mark on";
    ASSERT_EQ(rtxStreamReset(&reader), 0);
  }
}

// A full device, a directory, which opens but gives nothing to read, and a pipe, which has no positions.
TEST(Stream, FilesThatCannotBeWrittenReadOrPositioned)
{
  Octets octets(100000);
  Bench small, large, bits, directory, pipe;
  ASSERT_EQ(rtxStreamFileCreateWriter(&small, "/dev/full"), 0);
  ASSERT_EQ(rtxWriteBytes(&small, octets.data(), 1), 0);
  EXPECT_EQ(rtxStreamFlush(&small), RTX_E_WRITE);
  ASSERT_EQ(rtxStreamFileCreateWriter(&large, "/dev/full"), 0);
  EXPECT_EQ(rtxWriteBytes(&large, octets.data(), octets.size()), RTX_E_WRITE);
  ASSERT_EQ(rtxStreamFileCreateWriter(&bits, "/dev/full"), 0);
  ASSERT_EQ(rtxEncBits(&bits, 1, 3), 0);
  EXPECT_EQ(rtxStreamClose(&bits), RTX_E_WRITE) << "the partial octet goes out with the close";
  EXPECT_EQ(bits.pStream, nullptr);
  ASSERT_EQ(rtxStreamFileCreateReader(&directory, "/"), 0);
  EXPECT_EQ(rtxReadBytes(&directory, octets.data(), 1), RTX_E_READ);
  FILE* source = popen("echo octets", "r");
  size_t position = 0;
  ASSERT_EQ(rtxStreamFileAttach(&pipe, source, RTX_STREAM_READ), 0);
  EXPECT_EQ(pipe.told(rtxStreamMark(&pipe, 10)), RTX_E_READ);
  EXPECT_EQ(pipe.told(rtxStreamGetPos(&pipe, &position)), RTX_E_READ);
  EXPECT_EQ(rtxReadBytes(&pipe, octets.data(), 1), 0);
  EXPECT_EQ(octets[0], 'o');
  rtxStreamClose(&pipe);
  pclose(source);
}

TEST(Stream, MemoryStreamsHaveAnEndOrGrow)
{
  Octets octets{1, 2, 3, 4}, big(700, 9);
  Bench bench;
  EXPECT_EQ(bench.told(rtxStreamMemoryAttach(&bench, nullptr, 4, RTX_STREAM_READ)), RTX_E_BAD_PARAMETER);
  ASSERT_EQ(rtxStreamMemoryCreateReader(&bench, octets.data(), 4), 0);
  EXPECT_EQ(bench.told(rtxStreamSkip(&bench, 5)), RTX_E_ENCODE_OVERFLOW);
  EXPECT_EQ(rtxStreamRead2(&bench, big.data(), 2, 8), 4);
  EXPECT_EQ(bench.told(rtxStreamSkip(&bench, 1)), RTX_E_END_OF_BUFFER);
  ASSERT_EQ(rtxStreamSetPos(&bench, 1), 0);
  for (size_t pending : {4, 0}) { // A mark yet to go to is the position.
    size_t position = 0;
    bench.pStream->nextMarkOffset = pending;
    EXPECT_EQ(rtxStreamGetPos(&bench, &position), 0);
    EXPECT_EQ(position, pending != 0 ? 4U : 1U);
  }
  EXPECT_EQ(rtxStreamReadDirect(&bench, big.data(), 8), 3);
  EXPECT_EQ(bench.told(rtxStreamMemoryResetWriter(&bench)), RTX_E_NO_CONTEXT);
  ASSERT_EQ(rtxStreamMemoryCreateWriter(&bench, octets.data(), 4), 0);
  EXPECT_EQ(bench.told(rtxStreamWrite(&bench, big.data(), 5)), RTX_E_ENCODE_OVERFLOW);
  ASSERT_EQ(rtxStreamMemoryCreateWriter(&bench, nullptr, 0), 0);
  for (size_t size : {512, 700}) {
    EXPECT_EQ(bench.buffer.size, 512U);
    ASSERT_EQ(rtxStreamWrite(&bench, big.data(), size), 0);
  }
  EXPECT_EQ(bench.buffer.size, 512U + 700 + 512);
  ASSERT_EQ(rtxStreamMemoryResetWriter(&bench), 0);
  EXPECT_EQ(bench.buffer.byteIndex, 0U);
}

TEST(Stream, WhatAStreamCannotDo)
{
  File file;
  Octets message{7, 7, 7};
  Bench bench;
  Trickle trickle{Octets(9), 3};
  EXPECT_EQ(bench.told(rtxStreamFileCreateReader(&bench, "/nowhere/at/all")), RTX_E_FILE_OPEN);
  EXPECT_EQ(bench.told(rtxStreamFileOpen(&bench, "/dev/null", 0)), RTX_E_BAD_PARAMETER);
  EXPECT_EQ(bench.told(rtxStreamFileAttach(&bench, nullptr, RTX_STREAM_READ)), RTX_E_BAD_PARAMETER);
  trickle.open(&bench);
  EXPECT_EQ(bench.told(rtxStreamInitCtxtBuf(&bench)), RTX_E_GENERAL);
  EXPECT_EQ(bench.told(rtxResetToPos(&bench, 0)), RTX_E_BAD_PARAMETER) << "no mark is held";
  EXPECT_EQ(bench.told(rtxStreamRead2(&bench, nullptr, 2, 1)), RTX_E_ENCODE_OVERFLOW);
  EXPECT_EQ(bench.told(rtxStreamFlush(&bench)), RTX_E_BAD_PARAMETER) << "a reader has nothing to flush";
  bench.pStream->endOffset = 4;
  EXPECT_EQ(rtxDecBits(&bench, nullptr, 32), 0);
  EXPECT_EQ(bench.told(rtxDecBit(&bench, nullptr)), RTX_E_END_OF_BUFFER) << "nothing beyond the end offset is loaded";
  ASSERT_EQ(rtxStreamFileAttach(&bench, file.file, RTX_STREAM_WRITE), 0);
  bench.bind(message);
  ASSERT_EQ(rtxDecBits(&bench, nullptr, 20), 0);
  ASSERT_EQ(rtxStreamClose(&bench), 0);
  EXPECT_EQ(file.contents(), Octets()) << "a message in buffer mode is not the stream's";
}

TEST(Stream, RefusedMemoryIsReportedAndLeaksNothing)
{
  Octets octets(2000, 3);
  for (int allowed = 0; allowed < 12; ++allowed) {
    {
      Bench bench;
      File file(octets), out;
      failing::allow(allowed);
      int status = rtxStreamFileAttach(&bench, file.file, RTX_STREAM_READ);
      if (status == 0) status = rtxCheckInputBuffer(&bench, 1000);
      if (status == 0) status = rtxStreamClose(&bench);
      if (status == 0) status = rtxStreamMemoryCreateWriter(&bench, nullptr, 0);
      if (status == 0) status = rtxStreamWrite(&bench, octets.data(), octets.size());
      if (status == 0) status = rtxStreamFileAttach(&bench, out.file, RTX_STREAM_WRITE);
      EXPECT_TRUE(status == RTX_E_NO_MEMORY || (status == 0 && allowed >= 8)) << status << " at " << allowed;
    }
    EXPECT_EQ(failing::inUse, 0);
  }
}
