// Every change of a definition shows: what each type's octets are and what becomes of damaged ones stands in a table
// for each module. A row that no longer holds is a change to be looked at in a diff; `VELNOR_GOLDEN=write test-golden`
// in the environment of the build writes the tables anew.
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <map>
#include <set>

#include "rt3gppsrc/engine/l3Call.h"
#include "tests/outcome.h"

namespace {

namespace fs = std::filesystem;
using Table = std::map<std::string, std::string>; // rows by type

std::string hexOf(const Octets& octets)
{
  std::string text;
  char pair[3];
  for (uint8_t octet : octets) {
    snprintf(pair, sizeof pair, "%02X", octet);
    text += pair;
  }
  return text.empty() ? "-" : text;
}

// The digest of all that damaged octets led to.
struct Digest {
  uint64_t hash = 0xCBF29CE484222325;
  unsigned taken = 0, inputs = 0;
  void add(const std::string& text)
  {
    for (char c : text) hash = (hash ^ uint8_t(c)) * 0x100000001B3;
  }
};

// Presence bits become 0 wherever the record reaches without a pointer.
void clearPresence(const L3Type& type, uint8_t* value)
{
  memset(value, 0, type.mOctets);
  for (const L3Row* row = type.rows; row < type.rows + type.rowCount; ++row)
    if (row->op == kL3Record) clearPresence(*row->type, value + row->offset);
}

// What a caller finds beside the printed values: presence bits and the numbers of alternatives.
std::string shapeOf(const L3Type& type, const uint8_t* value)
{
  std::string text;
  for (unsigned i = 0; i < type.mOctets; ++i) text += "m" + std::to_string(value[i]);
  for (const L3Row* row = type.rows; row < type.rows + type.rowCount; ++row) {
    if (row->op == kL3Record) text += shapeOf(*row->type, value + row->offset);
    bool tagged = row->op == kL3Choice && static_cast<const L3Choice*>(row->info)->tagged;
    if (tagged || row->op == kL3Body) text += "t" + std::to_string(l3Load(value + row->offset, 4));
  }
  return text;
}

Octets encoded(const L3TypeEntry& entry, bool minimal, int& status)
{
  Setting setting;
  OutcomeContext ctxt(setting);
  void* value = entry.sample ? entry.sample(ctxt) : l3Sample(ctxt, *entry.type);
  Octets octets(1 << 16, 0);
  status = -1;
  if (!value || !entry.encode) return {};
  if (minimal) clearPresence(*entry.type, static_cast<uint8_t*>(value));
  ctxt.bind(octets.data(), octets.size());
  status = entry.encode(ctxt, value);
  octets.resize(status < 0 ? 0 : ctxt->buffer.byteIndex + (ctxt->buffer.bitOffset != 8));
  return octets;
}

// Findings without the lines of the definitions, which move with every edit.
std::string findings(const RtxContext* ctxt)
{
  std::string text;
  for (const RtxDListNode* node = ctxt->errInfo.head; node; node = node->next) {
    const RtxErrInfo& rec = *static_cast<const RtxErrInfo*>(node->data);
    text += std::to_string(rec.status) + (rec.fatal ? "!" : "?") + (rec.elemName ? rec.elemName : "");
    for (unsigned i = 0; i < rec.parmcount; ++i) text += std::string("'") + (rec.parms[i] ? rec.parms[i] : "");
  }
  return text;
}

void decodeInto(Digest& digest, const L3TypeEntry& entry, const Octets& octets)
{
  Setting setting;
  OutcomeContext ctxt(setting);
  std::unique_ptr<uint8_t[]> copy(new uint8_t[octets.size()]); // deciphering changes it
  std::copy(octets.begin(), octets.end(), copy.get());
  auto record = recordStorage(*entry.type, 0);
  ctxt.bind(copy.get(), octets.size());
  int status = entry.decode(ctxt, record.get());
  ++digest.inputs;
  digest.taken += status >= 0;
  digest.add(std::to_string(status) + "@" + std::to_string(rtxCtxtGetBitOffset(ctxt)) + findings(ctxt));
  if (status < 0) return;
  const auto* value = reinterpret_cast<const uint8_t*>(record.get());
  digest.add(printed(*entry.type, "x", value) + shapeOf(*entry.type, value));
}

void decodeDamaged(Digest& digest, const L3TypeEntry& entry, Octets octets)
{
  for (size_t cut = 0; cut <= octets.size(); ++cut)
    decodeInto(digest, entry, Octets(octets.begin(), octets.begin() + long(cut)));
  for (size_t i = 0; i < octets.size() && i < 160; ++i) {
    uint8_t whole = octets[i];
    bool small = octets.size() <= 24 && i < 2;
    unsigned step = small ? 1 : i < 8 ? 17 : 85;
    for (unsigned change = step; change < 256; change += step) {
      octets[i] = uint8_t(whole ^ change);
      decodeInto(digest, entry, octets);
    }
    octets[i] = whole;
  }
}

// Behind a message: an element of every IEI.
void decodeTails(Digest& digest, const L3TypeEntry& entry, const Octets& octets)
{
  if (!entry.type->message) return;
  for (unsigned iei = 0; iei < 256; ++iei) {
    Octets longer(octets);
    for (unsigned octet : {iei, 2U, 1U, 0U, 1U, 1U}) longer.push_back(uint8_t(octet));
    decodeInto(digest, entry, longer);
  }
}

std::string rowOf(const L3TypeEntry& entry)
{
  int status[2];
  Octets octets[2] = {encoded(entry, true, status[0]), encoded(entry, false, status[1])};
  std::string row = "\t" + std::to_string(entry.type->size);
  Digest digest;
  for (int i = 0; i < 2; ++i) {
    row += "\t" + (status[i] < 0 ? std::to_string(status[i]) : i && octets[0] == octets[1] ? "=" : hexOf(octets[i]));
    if (!entry.decode || (i && octets[0] == octets[1])) continue;
    decodeDamaged(digest, entry, octets[i]);
    if (i == 0) decodeTails(digest, entry, octets[i]);
  }
  char text[64];
  snprintf(text, sizeof text, "\t%u/%u\t%016llX", digest.taken, digest.inputs, (unsigned long long)digest.hash);
  return row + text;
}

std::string moduleOf(const L3Type& type)
{
  std::string name = type.fullName;
  return name.substr(0, name.find('_'));
}

std::vector<const L3TypeEntry*> typesOf(const std::string& module)
{
  std::vector<const L3TypeEntry*> types;
  for (size_t i = 0; i < l3TypeCount; ++i)
    if (moduleOf(*l3TypeTable[i].type) == module) types.push_back(&l3TypeTable[i]);
  return types;
}

fs::path fileOf(const std::string& module)
{
  return fs::path(VELNOR_TEST_DATA) / (module + ".tsv");
}

Table storedTable(const std::string& module)
{
  Table table;
  std::ifstream in(fileOf(module));
  for (std::string line; std::getline(in, line);) {
    size_t tab = line.find('\t');
    if (line[0] != '#' && tab != std::string::npos) table[line.substr(0, tab)] = line.substr(tab);
  }
  return table;
}

bool writes()
{
  const char* mode = getenv("VELNOR_GOLDEN");
  return mode && std::string(mode) == "write";
}

void writeTable(const std::string& module)
{
  std::ofstream out(fileOf(module));
  out << "# type\toctets in memory\tleast sample\tfull sample\ttaken of damaged\tdigest\n";
  for (const L3TypeEntry* entry : typesOf(module)) out << entry->type->fullName << rowOf(*entry) << "\n";
}

std::vector<std::string> modules()
{
  std::set<std::string> names;
  for (size_t i = 0; i < l3TypeCount; ++i) names.insert(moduleOf(*l3TypeTable[i].type));
  return {names.begin(), names.end()};
}

class Golden : public testing::TestWithParam<std::string> {};

TEST_P(Golden, TypesAreWhatTheyWere)
{
  if (writes()) writeTable(GetParam());
  Table stored = storedTable(GetParam());
  for (const L3TypeEntry* entry : typesOf(GetParam())) {
    EXPECT_EQ(stored[entry->type->fullName], rowOf(*entry)) << entry->type->fullName;
    stored.erase(entry->type->fullName);
    if (HasFailure() && GTEST_FLAG_GET(fail_fast)) return;
  }
  for (auto& [type, row] : stored) ADD_FAILURE() << type << " is gone";
}

INSTANTIATE_TEST_SUITE_P(Modules, Golden, testing::ValuesIn(modules()), [](auto& tested) { return tested.param; });

} // namespace
