// The descriptor tables that the library's one source of tables gets: types, and the rows and all else that they name.
#ifndef VELNOR3GPP_L3GEN_TABLES_H
#define VELNOR3GPP_L3GEN_TABLES_H

#include <map>

#include "direct.h"

namespace l3gen {

// Every text once, each behind the end of the one before it.
struct TextTable {
  std::map<std::vector<std::string>, size_t> places = {{{""}, 0}};
  std::string out = "\"\\0\"";
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

// What is written so far, kind by kind. Things name each other by kind and number; equal runs of a kind are one, unless
// it matters where they stand.
struct Tables {
  struct Kind {
    std::vector<std::string> items;
    std::map<std::string, size_t> runs;
  };
  std::map<std::string, Kind> kinds;
  std::vector<std::string> types = {""}, enums = {""}; // the first of each is none
  std::string before;                                  // what has a symbol of its own, and declarations
  TextTable names;
  // Where the run begins, as an initialiser.
  std::string run(const char* kind, const std::vector<std::string>& items);
  std::string apart(const char* kind, const std::vector<std::string>& items);
  // The same for texts that stand one behind the other.
  std::string text(const std::vector<std::string>& parts);
};

// An initialiser for no place.
inline constexpr const char* kNone = "{0}";

std::string octetTable(Tables& tables, const std::vector<unsigned>& values);

std::string placeOf(const char* kind, size_t number);

// Writes the tables of one type, in one of its forms.
struct TableWriter {
  const Model& model;
  const Type& type;
  Tables& tables;
  bool standard = false;
  TableWriter(const Model& m, const Type& t, Tables& all) : model(m), type(t), tables(all) {}
  std::string object(const char* kind, const std::string& init) { return tables.run(kind, {init}); }
  std::string array(const char* kind, const std::vector<std::string>& items) { return tables.run(kind, items); }
  std::string off(const std::string& path) const
  {
    return path.empty() ? "0" : "offsetof(" + type.full + ", " + path + ")";
  }
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
  std::string count(const Count& count) const
  {
    const Sizes* sizes = count.sizes.empty() ? nullptr : model.sizesNamed(*type.module, count.sizes);
    std::string table = sizes ? octetTable(tables, sizes->values) : kNone;
    return format("%s, %d, %d, %d, %d, %zu, %s", field(count.field).c_str(), count.bias, count.sign, count.argument,
                  count.ofAround(), sizes ? sizes->values.size() : 0, table.c_str());
  }
};

// The initialiser of a row; `path` leads to the member that holds its record, "" for the type's own.
std::string rowInit(TableWriter& w, const Row& row, const std::string& path);
// A table of where fields stand; its place.
std::string fieldTable(TableWriter& w, const std::vector<std::string>& names);
// The place of a type, and of an enumeration.
std::string typePlace(const std::string& name);
std::string enumPlace(const Type& type);
// The name of the descriptor of some of a type's rows, from 1: `standard part A..B`.
std::string partName(const Type& type, const Range& part);

} // namespace l3gen

#endif
