// Descriptors written by hand, for tests that hold the engine to its rules without the generated types. They are kept
// where places of the library's tables reach: beside those, until the program ends.
#pragma once

#include <cstring>

#include "rt3gppsrc/engine/l3Engine.h"

void* keptAside(const void* things, size_t octets);

template <typename T> int32_t placeOf(const T* thing, size_t count = 1)
{
  return int32_t(static_cast<const char*>(keptAside(thing, count * sizeof(T))) - l3Base<T>());
}

inline L3At<char> textOf(const char* text)
{
  return {text ? placeOf(text, strlen(text) + 1) : 0};
}

// A row that is always there; the members change what differs.
struct TestRow : L3Row {
  TestRow(const char* rowName, L3Op rowOp, size_t at) : L3Row{}
  {
    name = textOf(rowName);
    nameLength = uint8_t(rowName ? strlen(rowName) : 0);
    op = rowOp;
    offset = uint32_t(at);
    mBit = groupBit = kL3NoBit;
    line = 1;
  }
  template <typename Info>
  TestRow(const char* rowName, L3Op rowOp, size_t at, const Info* rowInfo) : TestRow(rowName, rowOp, at)
  {
    info = {placeOf(rowInfo)};
  }
  TestRow& sized(unsigned width, unsigned octets)
  {
    bits = uint8_t(width);
    store = uint8_t(octets);
    return *this;
  }
  TestRow& of(const L3Type& rowType)
  {
    type = {placeOf(&rowType)};
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
    cond = {placeOf(&rowCond)};
    return *this;
  }
  TestRow& in(uint32_t low, uint32_t high)
  {
    flags |= kL3Ranged;
    L3Range range = {low, high};
    info = {placeOf(&range)};
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
  L3Module module = {{textOf("TestDec").at}, {textOf("TestEnc").at}};
  L3Type type{};
  type.fullName = {textOf(name).at};
  type.module = {placeOf(&module)};
  type.rows = {placeOf(rows, count)};
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
