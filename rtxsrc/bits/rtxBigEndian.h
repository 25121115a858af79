/**
 * @file rtxBigEndian.h
 * Numbers as they stand on the wire, most significant octet first: every load and store of more than one octet goes
 * through here. One function knows the order of octets in the machine's words; the rest is the same everywhere. Nothing
 * here tests bounds: the caller has compared the octets that are touched with what is left.
 */
#ifndef VELNOR3GPP_RTXSRC_RTX_BIG_ENDIAN_H
#define VELNOR3GPP_RTXSRC_RTX_BIG_ENDIAN_H

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>

/** A word copied from the wire as a number, or a number as the word to copy there. */
inline uint64_t rtxBigEndian(uint64_t word)
{
  if constexpr (std::endian::native == std::endian::little)
    return __builtin_bswap64(word);
  else
    return word;
}

/** The number in 1 to 8 octets: 12 34 56 is 0x123456. No octet beyond them is touched. */
template <unsigned octets> inline uint64_t rtxLoadOctets(const uint8_t* at)
{
  static_assert(octets >= 1 && octets <= 8);
  if constexpr (octets == 1) return *at;
  if constexpr (octets == 2 || octets == 4 || octets == 8) {
    uint64_t word = 0;
    // The octets go to the end of the word, which is its low end once it is brought into order. On a little-endian
    // machine 12 34 becomes 00 00 00 00 00 00 12 34 in memory and 0x1234 after the swap; on a big-endian one it is that
    // at once.
    memcpy(reinterpret_cast<uint8_t*>(&word) + 8 - octets, at, octets);
    return rtxBigEndian(word);
  } else if constexpr (octets == 3) {
    return rtxLoadOctets<2>(at) << 8 | at[2];
  } else if constexpr (octets > 4) {
    return rtxLoadOctets<4>(at) << (8 * (octets - 4)) | rtxLoadOctets<octets - 4>(at + 4);
  }
}

/** Stores the low 1 to 8 octets of a number: 0x123456 in three is 12 34 56. */
template <unsigned octets> inline void rtxStoreOctets(uint8_t* at, uint64_t value)
{
  static_assert(octets >= 1 && octets <= 8);
  if constexpr (octets == 1) {
    *at = static_cast<uint8_t>(value);
  } else if constexpr (octets == 2 || octets == 4 || octets == 8) {
    // The value goes to the top of the word, so that its octets are the first in memory.
    uint64_t word = rtxBigEndian(value << (64 - 8 * octets));
    memcpy(at, &word, octets);
  } else if constexpr (octets == 3) {
    rtxStoreOctets<2>(at, value >> 8);
    at[2] = static_cast<uint8_t>(value);
  } else {
    rtxStoreOctets<4>(at, value >> (8 * (octets - 4)));
    rtxStoreOctets<octets - 4>(at + 4, value);
  }
}

/** So many octets (at most 8) as the first of a word whose others are 0: 12 34 is 0x1234000000000000. */
inline uint64_t rtxLoadFirst(const uint8_t* at, size_t octets)
{
  uint64_t word = 0;
  for (size_t i = 0; i < octets; ++i) word |= static_cast<uint64_t>(at[i]) << (56 - 8 * i);
  return word;
}

/** The 8 octets from one of a buffer on, as a word; those behind the buffer's end are 0. */
inline uint64_t rtxLoadWindow(const uint8_t* data, size_t octets, size_t at)
{
  const size_t left = octets - at;
  if (__builtin_expect(left >= 8, 1)) return rtxLoadOctets<8>(data + at);
  // Among the last octets the load ends with the buffer, and those before `at` are shifted out.
  if (__builtin_expect(octets >= 8, 1)) return rtxLoadOctets<8>(data + octets - 8) << (8 * (8 - left));
  return rtxLoadFirst(data + at, left);
}

/** Stores the first 1 to 8 octets of a word. */
inline void rtxStoreFirst(uint8_t* at, uint64_t word, size_t octets)
{
  at[0] = static_cast<uint8_t>(word >> 56);
  for (size_t i = 1; i < octets; ++i) at[i] = static_cast<uint8_t>(word >> (56 - 8 * i));
}

#endif
