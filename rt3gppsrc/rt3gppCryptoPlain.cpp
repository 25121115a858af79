// AES-128 in plain logic: four blocks at a time, held as eight words with one bit of every octet each ("bit slices").
// Hosts without AES instructions compute with it, and tests force it to compare it with the others. There are no
// tables, so neither time nor memory addresses tell anything of key or data, and the order of octets in the host's
// words does not matter. Nothing is allocated; keys on the stack are wiped. Only kPlain at the end leaves this file.
#include <string.h>

#include "rt3gppsrc/rt3gppCrypto.h"
#include "rtxsrc/bits/rtxBigEndian.h"

namespace {

constexpr size_t kBlocks = 4;            // blocks in one set of planes
constexpr size_t kColumns = 4 * kBlocks; // column c of block b stands at 4 * b + c, row 0 in the low octet

// bit[i] holds bit i of 64 octets; row r, column c of block b stands at bit position 16 * r + 4 * c + b.
struct Planes {
  uint64_t bit[8];
};

struct RoundKeys {
  Planes round[kAesRounds + 1];
};

// ---- Octets to planes and back ----

// A column of the state (FIPS 197, 3.4) with row 0 in the low octet, on hosts of either order of octets.
uint32_t loadColumn(const uint8_t* at)
{
  return at[0] | uint32_t{at[1]} << 8 | uint32_t{at[2]} << 16 | uint32_t{at[3]} << 24;
}

// The inverse of loadColumn.
void storeColumn(uint32_t column, uint8_t* at)
{
  for (int row = 0; row < 4; row++) at[row] = static_cast<uint8_t>(column >> 8 * row);
}

// Words of the schedule have row 0 in the high octet, columns have it in the low one.
uint32_t swapOctets(uint32_t word)
{
  return word >> 24 | (word >> 8 & 0xFF00U) | (word << 8 & 0xFF0000U) | word << 24;
}

// Four octets apart to the even octet places: 44332211 becomes 0044003300220011. gather puts them together again.
uint64_t spread(uint32_t column)
{
  uint64_t x = column;
  x = (x | x << 16) & 0x0000FFFF0000FFFFULL;
  return (x | x << 8) & 0x00FF00FF00FF00FFULL;
}

// The inverse of spread: 0044003300220011 becomes 44332211.
uint32_t gather(uint64_t x)
{
  x &= 0x00FF00FF00FF00FFULL;
  x = (x | x >> 8) & 0x0000FFFF0000FFFFULL;
  return static_cast<uint32_t>(x | x >> 16);
}

// Swaps bits between words that stand `distance` apart, the upper ones of the one with the lower ones of the other.
void swapBits(uint64_t* w, int distance, uint64_t mask)
{
  for (int i = 0; i < 8; i++) {
    if (i & distance) continue;
    const uint64_t difference = ((w[i] >> distance) ^ w[i + distance]) & mask;
    w[i + distance] ^= difference;
    w[i] ^= difference << distance;
  }
}

// Transposes the eight bits of eight octets in each of the eight octet places; its own inverse.
void transpose(uint64_t* w)
{
  swapBits(w, 1, 0x5555555555555555ULL);
  swapBits(w, 2, 0x3333333333333333ULL);
  swapBits(w, 4, 0x0F0F0F0F0F0F0F0FULL);
}

// Columns to planes: two columns share a word, eight words hold four blocks, and transpose makes bit i of all octets
// word i.
Planes packColumns(const uint32_t* columns)
{
  Planes p;
  for (size_t block = 0; block < kBlocks; block++) {
    const uint32_t* c = columns + 4 * block;
    p.bit[block] = spread(c[0]) | spread(c[2]) << 8;
    p.bit[4 + block] = spread(c[1]) | spread(c[3]) << 8;
  }
  transpose(p.bit);
  return p;
}

// The inverse of packColumns. `p` is a copy, because transposing changes it.
void unpackColumns(Planes p, uint32_t* columns)
{
  transpose(p.bit);
  for (size_t block = 0; block < kBlocks; block++) {
    uint32_t* c = columns + 4 * block;
    c[0] = gather(p.bit[block]), c[2] = gather(p.bit[block] >> 8);
    c[1] = gather(p.bit[4 + block]), c[3] = gather(p.bit[4 + block] >> 8);
  }
}

// Fewer blocks than four leave the others zero; they are computed and dropped.
Planes packOctets(const uint8_t* in, size_t blocks)
{
  uint32_t columns[kColumns] = {};
  for (size_t i = 0; i < 4 * blocks; i++) columns[i] = loadColumn(in + 4 * i);
  return packColumns(columns);
}

void unpackOctets(const Planes& p, uint8_t* out, size_t blocks)
{
  uint32_t columns[kColumns];
  unpackColumns(p, columns);
  for (size_t i = 0; i < 4 * blocks; i++) storeColumn(columns[i], out + 4 * i);
}

// ---- The S-box: an inversion in GF(2^8), taken apart into GF(4) and GF(16), then an affine map ----

// a w + b with w^2 = w + 1
struct Gf4 {
  uint64_t hi, lo;
};

// a t + b over GF(4) with t^2 = t + w^2
struct Gf16 {
  Gf4 hi, lo;
};

inline Gf4 add(Gf4 a, Gf4 b)
{
  return {a.hi ^ b.hi, a.lo ^ b.lo};
}
inline Gf4 square(Gf4 a)
{
  return {a.hi, a.hi ^ a.lo};
} // also the inverse
inline Gf4 timesW(Gf4 a)
{
  return {a.hi ^ a.lo, a.hi};
}
inline Gf4 timesW2(Gf4 a)
{
  return {a.lo, a.hi ^ a.lo};
}

// Three multiplications of bits instead of four (Karatsuba).
inline Gf4 multiply(Gf4 a, Gf4 b)
{
  const uint64_t low = a.lo & b.lo;
  return {((a.hi ^ a.lo) & (b.hi ^ b.lo)) ^ low, (a.hi & b.hi) ^ low};
}

inline Gf16 add(Gf16 a, Gf16 b)
{
  return {add(a.hi, b.hi), add(a.lo, b.lo)};
}

inline Gf16 multiply(Gf16 a, Gf16 b)
{
  const Gf4 low = multiply(a.lo, b.lo);
  return {add(multiply(add(a.hi, a.lo), add(b.hi, b.lo)), low), add(timesW2(multiply(a.hi, b.hi)), low)};
}

inline Gf16 square(Gf16 a)
{
  const Gf4 high = square(a.hi);
  return {high, add(timesW2(high), square(a.lo))};
}

// The inverse is the conjugate divided by the norm, which lies in GF(4), where squaring inverts.
// 0 becomes 0, as in the S-box.
inline Gf16 invert(Gf16 a)
{
  const Gf4 norm = add(timesW2(square(a.hi)), multiply(a.lo, add(a.hi, a.lo)));
  const Gf4 inverse = square(norm);
  return {multiply(a.hi, inverse), multiply(add(a.hi, a.lo), inverse)};
}

// The constant of the last extension, u^2 = u + (w t + w).
inline Gf16 timesConstant(Gf16 a)
{
  const Gf4 low = timesW(a.lo);
  return {low, add(a.hi, low)};
}

// From the polynomial basis of FIPS 197 into hi u + lo.
inline void toTower(const uint64_t* x, Gf16& hi, Gf16& lo)
{
  const uint64_t t0 = x[1] ^ x[5], t1 = x[2] ^ x[3], t2 = x[5] ^ x[7], t3 = x[6] ^ t0;
  lo = {{x[2] ^ x[4], x[2] ^ x[7]}, {x[1] ^ x[7], x[0] ^ t3}};
  hi = {{t2, x[4] ^ t1 ^ t3}, {t1 ^ t2, x[1]}};
}

// Back into the polynomial basis, and through the affine map of FIPS 197, 5.1.1, in one.
inline void fromTower(const Gf16& hi, const Gf16& lo, uint64_t* y)
{
  const uint64_t x0 = lo.lo.lo, x1 = lo.lo.hi, x2 = lo.hi.lo, x3 = lo.hi.hi;
  const uint64_t x4 = hi.lo.lo, x5 = hi.lo.hi, x6 = hi.hi.lo, x7 = hi.hi.hi;
  const uint64_t t0 = x0 ^ x4, t1 = x2 ^ x3, t2 = x1 ^ t0, t3 = x4 ^ x6, t4 = x6 ^ t0;
  y[0] = ~(t0 ^ t1), y[1] = ~t2, y[2] = x2 ^ x7 ^ t2, y[3] = t1 ^ t4;
  y[4] = t4, y[5] = ~(x4 ^ x5 ^ t1), y[6] = ~t3, y[7] = x2 ^ t3;
}

// SubBytes on 64 octets at once: the inverse in GF(256) as the conjugate divided by the norm in GF(16).
void substitute(Planes& p)
{
  Gf16 hi, lo;
  toTower(p.bit, hi, lo);
  const Gf16 sum = add(hi, lo);
  const Gf16 inverse = invert(add(timesConstant(square(hi)), multiply(lo, sum)));
  fromTower(multiply(hi, inverse), multiply(sum, inverse), p.bit);
}

// ---- The other steps of a round ----

// ShiftRows: each row has 16 bits of the word, each column four of them, one for each block.
inline uint64_t shiftRowsOfPlane(uint64_t x)
{
  // Rows 1 and 3 by one column, then rows 2 and 3 by two.
  x = (x & 0x0000FFFF0000FFFFULL) | (x >> 4 & 0x0FFF00000FFF0000ULL) | (x << 12 & 0xF0000000F0000000ULL);
  return (x & 0x00000000FFFFFFFFULL) | (x >> 8 & 0x00FF00FF00000000ULL) | (x << 8 & 0xFF00FF0000000000ULL);
}

// The rows of each column turned by one: 16 bits are one row.
inline uint64_t nextRow(uint64_t x)
{
  return x >> 16 | x << 48;
}
inline uint64_t rowAfterNext(uint64_t x)
{
  return x >> 32 | x << 32;
}

// out = 2 a + 3 b + c + d, for each row a and the three below it: 2 (a + b) + b + (c + d).
void mixColumns(Planes& p)
{
  uint64_t next[8], sum[8];
  for (int i = 0; i < 8; i++) {
    next[i] = nextRow(p.bit[i]);
    sum[i] = p.bit[i] ^ next[i];
  }
  for (int i = 0; i < 8; i++) p.bit[i] = sum[(i + 7) % 8] ^ next[i] ^ rowAfterNext(sum[i]);
  p.bit[1] ^= sum[7], p.bit[3] ^= sum[7], p.bit[4] ^= sum[7]; // the reduction 0x1B, whose bit 0 the loop has set
}

// AddRoundKey, and the exclusive or of CMAC: the same on planes as on octets.
void addPlanes(Planes& p, const Planes& other)
{
  for (int i = 0; i < 8; i++) p.bit[i] ^= other.bit[i];
}

// SubBytes and ShiftRows, which every round begins with.
void substituteAndShift(Planes& p)
{
  substitute(p);
  for (uint64_t& plane : p.bit) plane = shiftRowsOfPlane(plane);
}

// The rounds of FIPS 197, 5.1; the last one mixes no columns.
void encryptPlanes(const RoundKeys& keys, Planes& p)
{
  addPlanes(p, keys.round[0]);
  for (size_t round = 1; round < kAesRounds; round++) {
    substituteAndShift(p);
    mixColumns(p);
    addPlanes(p, keys.round[round]);
  }
  substituteAndShift(p);
  addPlanes(p, keys.round[kAesRounds]);
}

// Each round key four times, once for every block.
void loadKeys(const uint32_t* schedule, RoundKeys& keys)
{
  uint32_t columns[kColumns];
  for (size_t round = 0; round <= kAesRounds; round++) {
    for (size_t i = 0; i < kColumns; i++) columns[i] = swapOctets(schedule[4 * round + i % 4]);
    keys.round[round] = packColumns(columns);
  }
  rtx3gppWipe(columns, sizeof columns);
}

// ---- The operations ----

void encryptBlocks(const uint32_t* schedule, const uint8_t* in, uint8_t* out, size_t blocks)
{
  RoundKeys keys;
  loadKeys(schedule, keys);
  while (blocks > 0) {
    const size_t part = blocks < kBlocks ? blocks : kBlocks;
    Planes state = packOctets(in, part);
    encryptPlanes(keys, state);
    unpackOctets(state, out, part);
    in += part * kAesBlockOctets, out += part * kAesBlockOctets;
    blocks -= part;
  }
  rtx3gppWipe(&keys, sizeof keys);
}

// CMAC needs the block before to compute the next, so three of the four places run empty here.
void chainBlocks(const uint32_t* schedule, const uint8_t* message, size_t blocks, const uint8_t* last, uint8_t* tag)
{
  RoundKeys keys;
  loadKeys(schedule, keys);
  Planes state = {};
  for (size_t i = 0; i <= blocks; i++) {
    addPlanes(state, packOctets(i < blocks ? message + i * kAesBlockOctets : last, 1));
    encryptPlanes(keys, state);
  }
  unpackOctets(state, tag, 1);
  rtx3gppWipe(&keys, sizeof keys);
}

// Encrypts counter blocks; only the low 64 bits count, which is more than any message needs (TS 33.401, B.1.3).
void makeKeystream(const uint32_t* schedule, uint8_t* counter, uint8_t* stream, size_t blocks)
{
  for (size_t i = 0; i < blocks; i++) {
    memcpy(stream + i * kAesBlockOctets, counter, kAesBlockOctets);
    rtx3gppIncrementCounter(counter, kAesBlockOctets, 64, CounterPlace::atEnd);
  }
  encryptBlocks(schedule, stream, stream, blocks);
}

// `stream` belongs to this message alone; unlike keys it is not wiped.
void counterMode(const uint32_t* schedule, uint8_t* counter, uint8_t* data, size_t length)
{
  uint8_t stream[2 * kBlocks * kAesBlockOctets];
  while (length > 0) {
    const size_t part = length < sizeof stream ? length : sizeof stream;
    makeKeystream(schedule, counter, stream, (part + kAesBlockOctets - 1) / kAesBlockOctets);
    rtx3gppXor(data, stream, data, part);
    data += part;
    length -= part;
  }
}

// SubWord of FIPS 197 on a word in either order of octets.
uint32_t substituteWord(uint32_t word)
{
  uint32_t columns[kColumns] = {word};
  Planes p = packColumns(columns);
  substitute(p);
  unpackColumns(p, columns);
  return columns[0];
}

// FIPS 197, 5.2. RotWord is a rotation by one octet, and the round constant stands in the high one.
void expandKey(uint32_t* schedule, const uint8_t* key)
{
  for (size_t i = 0; i < 4; i++) schedule[i] = static_cast<uint32_t>(rtxLoadOctets<4>(key + 4 * i));
  for (size_t i = 4; i < kAesScheduleWords; i++) {
    uint32_t word = schedule[i - 1];
    if (i % 4 == 0) word = substituteWord(word << 8 | word >> 24) ^ uint32_t { kAesRoundConstants[i / 4 - 1] } << 24;
    schedule[i] = schedule[i - 4] ^ word;
  }
}

constexpr AesPath kPlain = {encryptBlocks, chainBlocks, counterMode, expandKey};

} // namespace

const AesPath* rtx3gppAesPlain()
{
  return &kPlain;
}
