// The descriptor tables: what the engine's walk reads. All of them stand in one generated source, L3Tables.cpp;
// tables.cpp writes types, messages and enumerations, tableRows.cpp the rows and what they need beside themselves. The
// structs that are initialised here are those of rt3gppsrc/engine/l3Types.h, member by member in their order: whoever
// changes one of them changes the `format` that writes it.
//
// Except for types and enumerations, the tables are one object without a pointer in it, `l3Tables`, with an array for
// each kind of thing. Things name each other by place, 32 bits that macros of the generated file work out
// (docs/adr/0008):
//
//   {AT(char, 42016), TYPE(TS24501IE_SST), {0}, {0}, offsetof(TS24501IE_SNSSAI, sst), 81, ...}
//
// is a row that names the text at octet 42016 of all texts and the type TS24501IE_SST; {0} is no place. So a thing must
// have been put into its array before another can name it, and functions return the place of what they have written.
#ifndef VELNOR3GPP_L3GEN_TABLES_H
#define VELNOR3GPP_L3GEN_TABLES_H

#include <map>

#include "direct.h"

namespace l3gen {

// Every text once, one behind the other, each with its terminating zero. A text may have several parts, each with a
// zero of its own, of which only the first has a place: `sd` and what stands behind its end are found together.
struct TextTable {
  // The octet at which a text begins. The empty text is there from the start, at octet 0.
  std::map<std::vector<std::string>, size_t> places = {{{""}, 0}};
  // The texts as C++ writes them, a string literal for each part.
  std::string out = "\"\\0\"";
  // The octets so far.
  size_t size = 1;
  size_t place(const std::vector<std::string>& parts)
  {
    auto [at, fresh] = places.emplace(parts, size);
    for (size_t i = 0; fresh && i < parts.size(); ++i) {
      out += "\n  \"" + parts[i] + "\\0\"";
      size += parts[i].size() + 1;
    }
    return at->second;
  }
};

// What has been written so far, kind by kind. "L3Row", "L3Choice" and so on are kinds, named as the structs are. Equal
// runs of a kind are one, unless it matters where they stand.
struct Tables {
  struct Kind {
    // The initialisers without their braces.
    std::vector<std::string> items;
    // Runs that are there already: their text, and the number of their first item.
    std::map<std::string, size_t> runs;
  };
  std::map<std::string, Kind> kinds;
  // Initialisers of the two arrays that may have pointers. Entry 0 is none: a place of 0 is no type.
  std::vector<std::string> types = {""}, enums = {""}; // the first of each is none
  // What stands in front of the tables: declarations of coders by hand, and tables with a symbol of their own.
  std::string before;
  TextTable names;
  // Types that callers know: name and place (knownTypes).
  std::map<std::string, size_t> known;
  // The place of a run of items, which is written unless an equal one is there: as an initialiser, "AT(L3Field, 3)".
  std::string run(const char* kind, const std::vector<std::string>& items);
  // The same, but always written anew. Rows and messages of a form are told by where they stand.
  std::string apart(const char* kind, const std::vector<std::string>& items);
  // The place of texts that stand one behind the other.
  std::string text(const std::vector<std::string>& parts);
};

// An initialiser for no place.
inline constexpr const char* kNone = "{0}";

// The place of a table of octets.
std::string octetTable(Tables& tables, const std::vector<unsigned>& values);

// "AT(kind, number)".
std::string placeOf(const char* kind, size_t number);

// The writer of one type, in one of its forms. Everything it writes goes into `tables`, which all types share.
struct TableWriter {
  const Model& model;
  const Type& type;
  Tables& tables;
  // The standard's form of the type is being written.
  bool standard = false;
  TableWriter(const Model& m, const Type& t, Tables& all) : model(m), type(t), tables(all) {}
  // The place of one thing, and of several that stand side by side.
  std::string object(const char* kind, const std::string& init) { return tables.run(kind, {init}); }
  std::string array(const char* kind, const std::vector<std::string>& items) { return tables.run(kind, items); }
  // The offset, in octets, of the member that a C path leads to; the whole record is at 0. The compiler works it out,
  // so that the generator need not know how records are laid out.
  std::string off(const std::string& path) const
  {
    return path.empty() ? "0" : "offsetof(" + type.full + ", " + path + ")";
  }
  // An L3Field: where a field is kept, in how many octets, and how many bits it has on the wire. `..n` is one of the
  // record around. {0, 0, 0} is no field: its store of 0 octets says so.
  std::string field(std::string name) const
  {
    if (name.empty()) return "{0, 0, 0}";
    std::string path;
    const Type& holder = *holderOf(type, name);
    const Row* row = findField(holder, name, &path);
    bool length = row->mark == Mark::Length;
    unsigned store = length ? storeForBits(row->number) : storeOf(row->what);
    unsigned bits = length ? row->number : scalarOf(row->what)->bits;
    return format("{offsetof(%s, %s), %u, %u}", holder.full.c_str(), path.c_str(), store, bits);
  }
  // An L3Count.
  std::string count(const Count& count) const
  {
    const Sizes* sizes = count.sizes.empty() ? nullptr : model.sizesNamed(*type.module, count.sizes);
    std::string table = sizes ? octetTable(tables, sizes->values) : kNone;
    return format("%s, %d, %d, %d, %d, %zu, %s", field(count.field).c_str(), count.bias, count.sign, count.argument,
                  count.ofAround(), sizes ? sizes->values.size() : 0, table.c_str());
  }
};

// tableRows.cpp. The initialiser of a row. `path` is the C path of its member from the start of the type's record, ""
// if the row is the value itself.
std::string rowInit(TableWriter& w, const Row& row, const std::string& path);
// A table of fields, by their names; its place.
std::string fieldTable(TableWriter& w, const std::vector<std::string>& names);
// The place of a type by its full name, of a second form by "standard_" in front of that, and of an enumeration.
std::string typePlace(const std::string& name);
std::string enumPlace(const Type& type);
// The name that the descriptor of some rows of a type has in L3Descriptors.h: part2_4_T_A for `standard part 2..4`.
std::string partName(const Type& type, const Range& part);

} // namespace l3gen

#endif
