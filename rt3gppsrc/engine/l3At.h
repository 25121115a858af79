// Places in the constant tables, of 32 bits: octets from where the tables begin. A pointer would take 8 octets, and 24
// more for a relocation that every process has to apply when it loads the library. Tables without relocations are
// shared by all processes and need no work at load time (docs/adr/0008-tables-without-pointers.md). The types and the
// enumerations stand apart from the other tables, because they name functions and public tables, which only pointers
// reach.
//
// A place is used like the pointer that it stands for: `row.type->size`, `*row.cond`. Nothing here tests a bound; l3gen
// writes the places and the counts beside them.
#ifndef VELNOR3GPP_L3_AT_H
#define VELNOR3GPP_L3_AT_H

#include <cstdint>

struct L3Type;
struct L3Enum;
struct L3Tables; // one object of all the rest, known in whole where it is written

// The tables are never taken from another library, and "hidden" tells the compiler so: otherwise each access would
// first load their address from a table of addresses. Tests may link them from another object.
#if defined(__ELF__) && !defined(VELNOR_TESTS_SHARED)
#define L3_WITHIN [[gnu::visibility("hidden")]]
#else
#define L3_WITHIN
#endif

L3_WITHIN extern const L3Tables l3Tables;

// Where the tables with things of this kind begin. Types and enumerations have a base of their own (l3Types.h).
template <typename T> inline const char* l3Base()
{
  return reinterpret_cast<const char*>(&l3Tables);
}
template <> const char* l3Base<L3Type>();
template <> const char* l3Base<L3Enum>();

template <typename T> inline const T* l3Place(int32_t at)
{
  return reinterpret_cast<const T*>(l3Base<T>() + at);
}

// One thing, or none. Place 0 means none, so no thing is ever put there. `->` does not test for it: a row whose op
// needs the thing always has it.
template <typename T> struct L3At {
  int32_t at;
  const T* get() const { return at ? l3Place<T>(at) : nullptr; }
  operator const T*() const { return get(); }
  const T* operator->() const { return l3Place<T>(at); }
};

// The first of several things whose count stands beside the place, or that end by themselves (texts). Such a place is
// never empty, so a test for null is a mistake and does not compile.
template <typename T> struct L3Run {
  int32_t at;
  explicit operator bool() const = delete;
  // The run without its first things.
  L3Run from(unsigned number) const { return {at + static_cast<int32_t>(number * sizeof(T))}; }
  const T* get() const { return l3Place<T>(at); }
  operator const T*() const { return get(); }
  const T* operator->() const { return get(); }
};

// What a row needs beside itself. The kind is not kept: the row's op tells it, and the caller names it in a cast, as in
// static_cast<const L3Length*>(row.info).
struct L3Info {
  int32_t at;
  template <typename T> explicit operator const T*() const { return l3Place<T>(at); }
  explicit operator bool() const { return at != 0; }
  bool operator==(const L3Info&) const = default;
};

#endif
