// Places in the constant tables, of 32 bits: octets from where the tables begin. A pointer would take 8 octets, and 24
// more of a relocation that is worked off whenever a process loads the library: tables without any are shared by all
// processes and need no work. The types and the enumerations stand apart from the other tables, because they name
// functions and public tables, which only pointers reach.
#ifndef VELNOR3GPP_L3_AT_H
#define VELNOR3GPP_L3_AT_H

#include <cstdint>

struct L3Type;
struct L3Enum;
struct L3Tables; // one object of all the rest, known in whole where it is written

// Of the same library: without that word a place in them is looked up before it is added to. Tests may take them from
// another.
#if defined(__ELF__) && !defined(VELNOR_TESTS_SHARED)
#define L3_WITHIN [[gnu::visibility("hidden")]]
#else
#define L3_WITHIN
#endif

L3_WITHIN extern const L3Tables l3Tables;

// Where the tables with things of this kind begin.
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

// One thing, or none: 0, where no thing is.
template <typename T> struct L3At {
  int32_t at;
  const T* get() const { return at ? l3Place<T>(at) : nullptr; }
  operator const T*() const { return get(); }
  const T* operator->() const { return l3Place<T>(at); }
};

// The first of a run whose count stands beside it, or that ends by itself: never asked for where there is none.
template <typename T> struct L3Run {
  int32_t at;
  explicit operator bool() const = delete;
  L3Run from(unsigned number) const { return {at + static_cast<int32_t>(number * sizeof(T))}; }
  const T* get() const { return l3Place<T>(at); }
  operator const T*() const { return get(); }
  const T* operator->() const { return get(); }
};

// What a row needs beside itself, of the kind that its op tells.
struct L3Info {
  int32_t at;
  template <typename T> explicit operator const T*() const { return l3Place<T>(at); }
  explicit operator bool() const { return at != 0; }
  bool operator==(const L3Info&) const = default;
};

#endif
