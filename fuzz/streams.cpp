// Reading from a stream that gives a few octets at a time is reading from a buffer: the bit codec gives the same values
// up to the end of the input, and a type that begins with its length the same record.
#include "fuzz/harness.h"

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
    skip(stream, count);
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

struct Value {
  uint8_t octets[256];
  uint64_t number;
  uint32_t word;
  size_t position;
  bool operator==(const Value&) const = default;
};

using Reader = int (*)(RtxContext* ctxt, Value& value, uint8_t count);
const Reader kReaders[] = {
    [](RtxContext* c, Value& v, uint8_t) { return rtxDecBit(c, v.octets); },
    [](RtxContext* c, Value& v, uint8_t count) { return rtxDecBits(c, &v.word, count % 33); },
    [](RtxContext* c, Value& v, uint8_t count) { return rtxDecBitsToUInt64(c, &v.number, count % 65); },
    [](RtxContext* c, Value& v, uint8_t count) { return rtxDecBitsToByteArray(c, v.octets, 256, count * 5U); },
    // Inside an octet it would read that octet whole, and leave the cursor behind the end.
    [](RtxContext* c, Value& v, uint8_t count) {
      return c->buffer.bitOffset == 8 ? rtxReadBytes(c, v.octets, count) : rtxDecBit(c, v.octets);
    },
    [](RtxContext* c, Value&, uint8_t count) { return rtxSkipBits(c, count); },
    [](RtxContext* c, Value& v, uint8_t) { return rtxPeekByte(c, v.octets); },
};

// A third of the octets, in pairs, tells what is read from the others.
void compareReads(const Octets& input, size_t step)
{
  size_t pairs = input.size() / 6;
  Octets octets(input.begin() + long(pairs * 2), input.end());
  octets.push_back(0); // a null pointer would ask for a buffer
  OutcomeContext plain({.security = false}), streamed({.security = false});
  plain.bind(octets.data(), octets.size() - 1);
  Trickle trickle = {octets.data(), octets.size() - 1, step};
  trickle.open(streamed);
  for (size_t i = 0; i < pairs; ++i) {
    Value one = {}, other = {};
    size_t index = input[2 * i] % std::size(kReaders);
    uint8_t count = input[2 * i + 1];
    int status = kReaders[index](plain, one, count), same = kReaders[index](streamed, other, count);
    one.position = rtxCtxtGetBitOffset(plain);
    other.position = rtxCtxtGetBitOffset(streamed);
    bool failed = status < 0 && same < 0;
    promise(failed || (status == same && one == other), [&] {
      return "read " + std::to_string(index) + " of " + std::to_string(count) + " is\n" + stateOf(plain, status) +
             "in a buffer and on a stream\n" + stateOf(streamed, same);
    });
    if (failed) return;
  }
}

} // namespace

// The first octet chooses between both, and how many octets come at a time.
void checkStream(const L3TypeEntry& entry, Octets input)
{
  uint8_t choice = takeFirst(input);
  Trickle trickle = {input.data(), input.size(), 1U + choice % 9};
  if (!(choice & 0x80)) return compareReads(input, trickle.step);
  OutcomeContext ctxt({.security = false});
  trickle.open(ctxt);
  auto record = recordStorage(*entry.type, 0);
  int status = entry.decode(ctxt, record.get());
  // Only a length tells on a stream whether more is to come: without one, what was buffered passes for all there is.
  if (status < 0 || entry.type->hand || !entry.type->rowCount || entry.type->rows[0].op != kL3Length) return;
  Decoding same(entry, input, {.security = false});
  promiseSame(entry, "on a stream", printed(*entry.type, "x", record.get()),
              same.status < 0 ? same.state() : same.text());
}
