// Reading from a stream that gives a few octets at a time is reading from a buffer: the bit codec gives the same values
// up to the end of the input, and a type that begins with its length the same record.
#include "fuzz/harness.h"

#include <algorithm>

#include "velnor3gpp/rtxBitDecode.h"
#include "velnor3gpp/rtxStream.h"

namespace {

struct Trickle {
  const uint8_t* data;
  size_t left, step;

  static int64_t read(RtxStream* stream, uint8_t* target, size_t size)
  {
    auto& self = *static_cast<Trickle*>(stream->extra);
    size_t count = std::min({size, self.step, self.left});
    if (count) memcpy(target, self.data, count);
    self.data += count;
    self.left -= count;
    return int64_t(count);
  }
  static int skip(RtxStream* stream, size_t count)
  {
    auto& self = *static_cast<Trickle*>(stream->extra);
    if (count > self.left) return RTX_E_END_OF_BUFFER;
    self.data += count;
    self.left -= count;
    return 0;
  }
  void open(RtxContext* ctxt)
  {
    rtxStreamInit(ctxt);
    ctxt->pStream->read = read;
    ctxt->pStream->skip = skip;
    ctxt->pStream->extra = this;
    ctxt->pStream->id = RTX_STREAM_ID_SOCKET;
    ctxt->pStream->flags = RTX_STREAM_READ;
    rtxStreamInitCtxtBuf(ctxt);
  }
};

// One read; its value goes to `text` if it succeeds.
int readOne(RtxContext* ctxt, uint8_t kind, uint8_t count, std::string& text)
{
  uint8_t octets[256] = {};
  uint64_t value = 0;
  uint32_t word = 0;
  int status;
  switch (kind % 7) {
    case 0:
      status = rtxDecBit(ctxt, octets);
      break;
    case 1:
      status = rtxDecBits(ctxt, &word, count % 33);
      break;
    case 2:
      status = rtxDecBitsToUInt64(ctxt, &value, count % 65);
      break;
    case 3:
      status = rtxDecBitsToByteArray(ctxt, octets, sizeof octets, count * 5U);
      break;
    case 4:
      // Inside an octet it would read that octet whole, and leave the cursor behind the end.
      status = ctxt->buffer.bitOffset == 8 ? rtxReadBytes(ctxt, octets, count) : rtxDecBit(ctxt, octets);
      break;
    case 5:
      status = rtxSkipBits(ctxt, count);
      break;
    default:
      status = rtxPeekByte(ctxt, octets);
  }
  if (status >= 0)
    text += std::to_string(status) + " " + std::to_string(word) + " " + std::to_string(value) + " " +
            std::string(octets, octets + sizeof octets) + " at " + std::to_string(rtxCtxtGetBitOffset(ctxt)) + "\n";
  return status;
}

void compareReads(const uint8_t* data, size_t size, uint8_t step)
{
  size_t pairs = size / 6; // the rest are the octets to read
  const uint8_t* input = data + pairs * 2;
  size_t inputSize = size - pairs * 2;
  Octets octets(input, input + inputSize);
  octets.push_back(0);
  RtxContext plain, streamed;
  rtxInitContext(&plain);
  rtxInitContext(&streamed);
  rtxCtxtSetBufPtr(&plain, octets.data(), inputSize);
  Trickle trickle = {input, inputSize, 1U + step % 9};
  trickle.open(&streamed);
  for (size_t i = 0; i < pairs; ++i) {
    std::string one, other;
    int status = readOne(&plain, data[2 * i], data[2 * i + 1], one);
    int same = readOne(&streamed, data[2 * i], data[2 * i + 1], other);
    promise((status < 0) == (same < 0), [&] {
      return "read " + std::to_string(data[2 * i] % 7) + " of " + std::to_string(data[2 * i + 1]) + " at " +
             std::to_string(rtxCtxtGetBitOffset(&plain)) + " of " + std::to_string(8 * inputSize) + " is " +
             std::to_string(status) + " in a buffer and " + std::to_string(same) + " on a stream";
    });
    if (status < 0) break;
    promise(one == other, [&] { return "a read gives\n" + one + "in a buffer and\n" + other + "on a stream"; });
  }
  rtxFreeContext(&plain);
  rtxFreeContext(&streamed);
}

// Only a length tells on a stream whether more is to come: without one, what was buffered passes for all there is.
bool hasEnd(const L3Type& type)
{
  return !type.hand && type.rowCount && type.rows[0].op == kL3Length;
}

void decodeFromStream(const uint8_t* data, size_t size, uint8_t step)
{
  const L3TypeEntry* entry = takeType(data, size);
  if (!entry) return;
  RtxContext ctxt;
  rtxInitContext(&ctxt);
  Trickle trickle = {data, size, 1U + step % 9};
  trickle.open(&ctxt);
  auto record = recordStorage(*entry->type, 0);
  int status = entry->decode(&ctxt, record.get());
  std::string text = printed(*entry->type, "x", record.get());
  rtxFreeContext(&ctxt);
  if (status < 0 || !hasEnd(*entry->type)) return;
  Octets octets(data, data + size);
  octets.push_back(0);
  rtxInitContext(&ctxt);
  rtxCtxtSetBufPtr(&ctxt, octets.data(), size);
  auto other = recordStorage(*entry->type, 0);
  int same = entry->decode(&ctxt, other.get());
  std::string inBuffer = printed(*entry->type, "x", other.get());
  rtxFreeContext(&ctxt);
  promise(same >= 0 && text == inBuffer, [&] {
    return std::string(entry->type->fullName) + " is " + std::to_string(same) + "\n" + inBuffer + "in a buffer and\n" +
           text + "on a stream";
  });
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
  if (size < 2 || size > 4000) return 0;
  if (data[0] & 0x80)
    decodeFromStream(data + 1, size - 1, data[0]);
  else
    compareReads(data + 1, size - 1, data[0]);
  return 0;
}

std::vector<Octets> fuzzSeeds()
{
  std::vector<Octets> seeds = seedsOfAllTypes();
  for (Octets& seed : seeds) seed.insert(seed.begin(), 0x82);
  Draw draw(7);
  for (uint8_t step = 0; step < 9; ++step) {
    Octets seed = {step};
    for (unsigned i = 0; i < 300; ++i) seed.push_back(uint8_t(draw.octet()));
    seeds.push_back(std::move(seed));
  }
  return seeds;
}
