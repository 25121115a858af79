// What the tests of the run-time and the toolkit work with: an allocator that refuses chosen calls and counts what is
// not given back, a context that owns its octets and cleans up after itself, and a naive model of a bit string that
// knows nothing of octets.
#pragma once

#include <cstdint>
#include <cstdlib>
#include <random>
#include <vector>

#include "tests/octets.h"
#include "velnor3gpp/rtxContext.h"
#include "velnor3gpp/rtxError.h"

namespace failing {

inline long calls = 0;       // Allocations asked for since the last set-up.
inline long refuseAt = 0;    // The call to refuse, counted from 1; 0 refuses none.
inline bool forGood = false; // Refuse every call from then on.
inline long inUse = 0;       // Pieces handed out and not yet freed.

inline void setUp(long at, bool stays)
{
  calls = 0;
  refuseAt = at;
  forGood = stays;
}
// Allows so many calls and refuses every one after them; with -1 none.
inline void allow(long count)
{
  setUp(count + 1, true);
}
inline void* reallocFunc(void* ptr, size_t size)
{
  calls++;
  if (refuseAt != 0 && (calls == refuseAt || (forGood && calls > refuseAt))) return nullptr;
  inUse += ptr == nullptr;
  return std::realloc(ptr, size);
}
inline void* mallocFunc(size_t size)
{
  return reallocFunc(nullptr, size);
}
inline void freeFunc(void* ptr)
{
  inUse -= ptr != nullptr;
  std::free(ptr);
}

} // namespace failing

// Owns exactly the octets that it reads or writes, so that a sanitizer sees any access beyond them.
struct Bench : RtxContext {
  Octets data;

  Bench() { rtxInitContextExt(this, failing::mallocFunc, failing::reallocFunc, failing::freeFunc); }
  explicit Bench(const Octets& octets, size_t bit = 0) : Bench()
  {
    bind(octets);
    moveTo(bit);
  }
  ~Bench()
  {
    failing::allow(-1);
    rtxFreeContext(this);
  }
  Bench(const Bench&) = delete;

  void bind(const Octets& octets)
  {
    static uint8_t none; // a null pointer would ask for a buffer
    data = octets;
    rtxCtxtSetBufPtr(this, data.empty() ? &none : data.data(), data.size());
  }
  size_t at() const { return buffer.byteIndex * 8 + 8 - static_cast<size_t>(buffer.bitOffset); }
  void moveTo(size_t bit)
  {
    buffer.byteIndex = bit / 8;
    buffer.bitOffset = static_cast<int16_t>(8 - bit % 8);
  }
  RtxErrInfo* lastError() { return errInfo.tail != nullptr ? static_cast<RtxErrInfo*>(errInfo.tail->data) : nullptr; }
  // The status, with the error records dropped.
  int told(int64_t status)
  {
    rtxErrReset(this);
    return static_cast<int>(status);
  }
  // Stack levels of the last error record, 0 without one; drops the records.
  int takeLevels() { return told(lastError() != nullptr ? lastError()->stkx : 0); }
};

// Bits of octets, the first bit first.
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
  Bits slice(size_t from, size_t nbits) const
  {
    Bits part;
    for (size_t i = 0; i < nbits; ++i) part.push_back((*this)[from + i]);
    return part;
  }
  uint64_t number(size_t from, size_t nbits) const
  {
    uint64_t value = 0;
    for (size_t i = 0; i < nbits; ++i) value = value * 2 + (*this)[from + i];
    return value;
  }
  // The bits as octets, the last one filled with zeros.
  Octets octets() const
  {
    Octets result((size() + 7) / 8);
    for (size_t i = 0; i < size(); ++i) result[i / 8] = static_cast<uint8_t>(result[i / 8] | (*this)[i] << (7 - i % 8));
    return result;
  }
};

// The first of the statuses of calls in a row that is not 0.
inline int all(std::initializer_list<int64_t> statuses)
{
  for (int64_t status : statuses)
    if (status != 0) return static_cast<int>(status);
  return 0;
}

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
