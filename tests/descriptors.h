// Descriptors written by hand, for tests that hold the engine to its rules without the generated types.
#pragma once

#include "rt3gppsrc/engine/l3Engine.h"

inline constexpr L3Module kTestModule = {"TestDec", "TestEnc"};

// A row that is always there; the members change what differs.
struct TestRow : L3Row {
  TestRow(const char* rowName, L3Op rowOp, size_t at, const void* rowInfo = nullptr) : L3Row{}
  {
    name = rowName;
    nameLength = uint8_t(rowName ? strlen(rowName) : 0);
    op = rowOp;
    offset = uint32_t(at);
    info = rowInfo;
    mBit = groupBit = kL3NoBit;
    line = 1;
  }
  TestRow& sized(unsigned width, unsigned octets)
  {
    bits = uint8_t(width);
    store = uint8_t(octets);
    return *this;
  }
  TestRow& of(const L3Type& rowType)
  {
    type = &rowType;
    return *this;
  }
  TestRow& there(L3Given rowGiven, unsigned bit = kL3NoBit, unsigned group = kL3NoBit)
  {
    given = rowGiven;
    mBit = uint16_t(bit);
    groupBit = uint16_t(group);
    return *this;
  }
  TestRow& on(const L3Cond& rowCond)
  {
    cond = &rowCond;
    return *this;
  }
  TestRow& in(uint32_t low, uint32_t high)
  {
    flags |= kL3Ranged;
    lo = low;
    hi = high;
    return *this;
  }
};

inline TestRow uintRow(const char* name, size_t offset, unsigned bits = 8, unsigned store = 1)
{
  return TestRow(name, kL3UInt, offset).sized(bits, store);
}

inline TestRow enumRow(const char* name, size_t offset, const L3Enum& set, unsigned store = 4)
{
  return TestRow(name, kL3Enumerated, offset, &set).sized(set.bits, store);
}

inline TestRow recordRow(const char* name, size_t offset, const L3Type& type)
{
  return TestRow(name, kL3Record, offset).of(type);
}

template <size_t count> L3Type typeOf(const char* name, const L3Row (&rows)[count], size_t size, unsigned flags = 0)
{
  L3Type type{};
  type.fullName = name;
  type.module = &kTestModule;
  type.rows = rows;
  type.rowCount = uint16_t(count);
  type.size = uint32_t(size);
  type.flags = uint8_t(flags);
  type.line = 1;
  return type;
}

// The same for a record that begins with so many presence octets.
template <size_t count>
L3Type presenceTypeOf(const char* name, const L3Row (&rows)[count], size_t size, unsigned octets)
{
  L3Type type = typeOf(name, rows, size);
  type.mOctets = uint8_t(octets);
  type.mBits = uint16_t(octets * 8);
  return type;
}

inline L3Alternative alternative(uint32_t lo, uint32_t hi, uint32_t tag, const L3Row& row)
{
  return {lo, hi, tag, 0, row};
}
