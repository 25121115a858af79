// The descriptor tables that a module's source gets: rows and what they point at.
#ifndef VELNOR3GPP_L3GEN_TABLES_H
#define VELNOR3GPP_L3GEN_TABLES_H

#include "direct.h"

namespace l3gen {

// Collects the text of one type's tables; objects that rows point at are written before them.
struct TableWriter {
  const Model& model;
  const Type& type;
  std::string out;
  int objects = 0;
  std::string tag; // of the names of tables, behind the type's
  TableWriter(const Model& m, const Type& t) : model(m), type(t) {}
  std::string object(const char* kind, const std::string& init)
  {
    std::string name = format("info%d_%s%s", objects++, type.full.c_str(), tag.c_str());
    out += format("static const %s %s = {%s};\n", kind, name.c_str(), init.c_str());
    return "&" + name;
  }
  std::string array(const char* kind, const std::vector<std::string>& items)
  {
    std::string name = format("info%d_%s%s", objects++, type.full.c_str(), tag.c_str());
    out += format("static const %s %s[] = {", kind, name.c_str());
    for (auto& item : items) out += "\n  {" + item + "},";
    out += "};\n";
    return name;
  }
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
    std::string table = sizes ? "sizes_" + sizes->full : "nullptr";
    return format("%s, %d, %d, %d, %d, %zu, %s", field(count.field).c_str(), count.bias, count.sign, count.argument,
                  count.ofAround(), sizes ? sizes->values.size() : 0, table.c_str());
  }
};

// The initialiser of a row; `path` leads to the member that holds its record, "" for the type's own.
std::string rowInit(TableWriter& w, const Row& row, const std::string& path);
// A table of where fields stand, and one of octets; their names.
std::string fieldTable(TableWriter& w, const std::vector<std::string>& names);
std::string byteTable(TableWriter& w, const std::string& name, const std::vector<unsigned>& values);
// The name of the descriptor of some of a type's rows, from 1: `standard part A..B`.
std::string partName(const Type& type, const Range& part);

} // namespace l3gen

#endif
