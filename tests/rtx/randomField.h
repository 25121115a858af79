// Every form of writing bits, drawn at random, beside a model of what was written.
#pragma once

#include <functional>

#include "tests/bench.h"
#include "velnor3gpp/rtxBitEncode.h"

// Writes one random field of at most so many bits to the context and appends its bits to the model. On failure the
// model stays.
inline int writeRandom(std::mt19937& random, RtxContext* pctxt, Bits* model, size_t most = 100)
{
  uint64_t value = static_cast<uint64_t>(random()) << 32 | random();
  uint32_t low = static_cast<uint32_t>(value);
  Octets octets = randomOctets(random, most / 8 + 13);
  Bits source(octets), field;
  size_t nbits = pick(random, 0, most), from = pick(random, 0, 90), n = size_t{1} << nbits % 3;
  auto number = [&](int status, uint64_t written, size_t width) { return field.add(written, width), status; };
  auto part = [&](int status, size_t at) { return field = source.slice(at, nbits), status; };
  const std::function<int()> writes[] = {
      [&] { return number(rtxEncBit(pctxt, static_cast<int>(value & 2)), (value & 2) != 0, 1); },
      [&] { return number(rtxEncBits(pctxt, low, nbits % 33), value, nbits % 33); },
      [&] { return number(rtxEncBitsFromSize(pctxt, size_t(value), nbits % 65), size_t(value), nbits % 65); },
      [&] { return number(rtxEncUInt32(pctxt, low, n), low, n * 8); },
      [&] { return part(rtxEncBitsFromByteArray(pctxt, octets.data(), nbits), 0); },
      [&] { return part(rtxCopyBits(pctxt, octets.data(), nbits, from), from); },
      [&] {
        for (size_t i = 0; i < nbits; ++i) field.push_back(source[(model->size() + i) % 8]);
        return rtxEncBitsPattern(pctxt, octets[0], nbits);
      },
      [&] { // whole octets, where none has begun
        nbits = model->size() % 8 == 0 ? nbits / 8 * 8 : 0;
        return nbits != 0 ? part(rtxWriteBytes(pctxt, octets.data(), nbits / 8), 0) : 0;
      },
  };
  int status = writes[pick(random, 0, std::size(writes) - 1)]();
  if (status == 0) model->insert(model->end(), field.begin(), field.end());
  return status;
}
