/**
 * @file codecBench.h
 * The bench of the bit codec's tests: a context that cleans up after itself, and a naive
 * model of a bit string that knows nothing of octets.
 */
#ifndef VELNOR3GPP_TESTS_CODEC_BENCH_H
#define VELNOR3GPP_TESTS_CODEC_BENCH_H

#include <cstdint>
#include <cstdlib>
#include <random>
#include <vector>

#include "failingAllocator.h"
#include "velnor3gpp/rtxContext.h"
#include "velnor3gpp/rtxError.h"

using Octets = std::vector<uint8_t>;

struct Bench : RtxContext {
  Bench() { rtxInitContextExt(this, failing::mallocFunc, failing::reallocFunc, failing::freeFunc); }
  ~Bench()
  {
    failing::allow(-1);
    rtxFreeContext(this);
  }
  Bench(const Bench&) = delete;
  Bench& operator=(const Bench&) = delete;

  void bind(const Octets& octets) { rtxCtxtSetBufPtr(this, const_cast<uint8_t*>(octets.data()), octets.size()); }
  size_t at() const { return buffer.byteIndex * 8 + 8 - static_cast<size_t>(buffer.bitOffset); }
  void moveTo(size_t bit)
  {
    buffer.byteIndex = bit / 8;
    buffer.bitOffset = static_cast<int16_t>(8 - bit % 8);
  }
  /** The status, with the error records dropped. */
  int told(int status)
  {
    rtxErrReset(this);
    return status;
  }
  /** Stack levels of the last error record, 0 without one; drops the records. */
  int takeLevels()
  {
    int levels = errInfo.tail != nullptr ? static_cast<RtxErrInfo*>(errInfo.tail->data)->stkx : 0;
    rtxErrReset(this);
    return levels;
  }
};

/** Bits of octets, the first bit first. */
struct Bits : std::vector<bool> {
  Bits() = default;
  explicit Bits(const Octets& octets)
  {
    for (uint8_t octet : octets) add(octet, 8);
  }
  void add(uint64_t value, size_t nbits)
  {
    while (nbits-- > 0) push_back((value >> nbits & 1) != 0);
  }
  uint64_t number(size_t from, size_t nbits) const
  {
    uint64_t value = 0;
    for (size_t i = 0; i < nbits; ++i) value = value * 2 + (*this)[from + i];
    return value;
  }
  /** The bits as octets, the last one filled with zeros. */
  Octets octets() const
  {
    Octets result((size() + 7) / 8);
    for (size_t i = 0; i < size(); ++i) result[i / 8] = static_cast<uint8_t>(result[i / 8] | (*this)[i] << (7 - i % 8));
    return result;
  }
  Octets slice(size_t from, size_t nbits) const
  {
    Bits part;
    part.assign(begin() + static_cast<long>(from), begin() + static_cast<long>(from + nbits));
    return part.octets();
  }
};

inline size_t pick(std::mt19937& random, size_t low, size_t high)
{
  return std::uniform_int_distribution<size_t>(low, high)(random);
}

inline Octets randomOctets(std::mt19937& random, size_t count)
{
  Octets octets(count);
  for (uint8_t& octet : octets) octet = static_cast<uint8_t>(random());
  return octets;
}

#endif
