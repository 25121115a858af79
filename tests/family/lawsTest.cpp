// Promises that hold for every type of the library: a new type is under them as soon as its rows exist.
#include <gtest/gtest.h>

#include <map>
#include <set>
#include <thread>

#include "tests/descriptors.h"
#include "tests/messages.h"
#include "tests/recordWalk.h"

namespace {

// A record that begins with a length of a few bits stands in the middle of an octet, behind the element that shares it:
// by itself it cannot end where its open tail must.
bool standsInsideOctet(const L3Type& type)
{
  if (!type.rowCount || type.rows[0].op != kL3Length) return false;
  const L3Length& length = *static_cast<const L3Length*>(type.rows[0].info);
  return length.unitBits == 8 && length.bits % 8 && !length.fromOctet;
}

// The padding behind rest octets reads as more of a string that runs to their end.
bool endsInPadding(const L3Type& type)
{
  const L3Row& last = type.rows[type.rowCount ? type.rowCount - 1 : 0];
  if (!(type.flags & kL3RestOctets) || !type.rowCount || last.op != kL3BitString) return false;
  return static_cast<const L3BitString*>(last.info)->from == kL3Rest;
}

TEST(FamilyLaws, SamplesComeBack)
{
  for (size_t i = 0; i < l3TypeCount; ++i) {
    const L3TypeEntry& entry = l3TypeTable[i];
    OutcomeContext ctxt;
    Octets octets;
    void* value = sampleValue(entry, ctxt);
    ASSERT_TRUE(value) << entry.type->fullName;
    if (!entry.encode || standsInsideOctet(*entry.type) || endsInPadding(*entry.type)) continue;
    EXPECT_EQ(roundTripFault(entry, ctxt, value, octets), "") << entry.type->fullName << " " << hexText(octets);
  }
}

// Types whose optional elements exclude each other or are more than their length can count.
const std::set<std::string> kPartSamples = {
    "TS24008IE_AccessCapability",     "TS24008IE_BearerCapability",
    "TS24008IE_MobileIdentity",       "TS24501IE_CMCIRules",
    "TS24501IE_ExtCAGEntry",          "TS44018Msg_Enhanced_Measurement_report",
    "TS44018Msg_ImmediateAssignment", "TS44060IE_MBMS_Session_Parameters_List_IE_element"};

// The types of records in a sample that lack an optional element.
void collectParts(const L3Type& type, uint8_t* record, std::set<std::string>& lacking)
{
  for (unsigned bit = 0; bit < type.mBits; ++bit)
    if (!l3HasBit(record, uint16_t(bit))) lacking.insert(type.fullName.get());
  eachPresent(type, record, [&](const L3Row& row, uint8_t* inside) {
    if (row.op == kL3Record) collectParts(*row.type, inside + row.offset, lacking);
    return row.op != kL3Record;
  });
}

// A sample shows every optional element, its own and those of the records within it.
TEST(FamilyLaws, SamplesHaveEveryOptionalElement)
{
  std::set<std::string> lacking;
  for (size_t i = 0; i < l3TypeCount; ++i) {
    if (!l3TypeTable[i].sample) continue;
    OutcomeContext ctxt;
    auto* value = static_cast<uint8_t*>(l3TypeTable[i].sample(ctxt));
    ASSERT_TRUE(value) << l3TypeTable[i].type->fullName;
    collectParts(*l3TypeTable[i].type, value, lacking);
  }
  EXPECT_EQ(lacking, kPartSamples);
}

// Whatever a record held before it was initialised: every element is absent or empty, and what is left prints.
TEST(FamilyLaws, InitialisedRecordsPrint)
{
  for (size_t i = 0; i < l3TypeCount; ++i) {
    const L3Type& type = *l3TypeTable[i].type;
    auto record = recordStorage(type, 0xA5);
    EXPECT_EQ(l3Init(type, record.get()), 0);
    printed(type, "x", record.get()); // a pointer that was left would end the test
  }
}

// The table holds the types of the definitions, in an order in which each is found.
TEST(FamilyLaws, TypesAreFound)
{
  EXPECT_GT(l3TypeCount, 0U);
  for (size_t i = 0; i < l3TypeCount; ++i) EXPECT_EQ(l3FindType(l3TypeTable[i].type->fullName), &l3TypeTable[i]);
  for (const char* stranger : {"TS24501IE_", "~", static_cast<const char*>(nullptr)})
    EXPECT_EQ(l3FindType(stranger), nullptr);
}

// No type holds itself, be it by value, in a list or behind a message's pointer: the printer and the sample builder
// stop at 64 types within types, without a word.
TEST(FamilyLaws, RecordsHaveAnEnd)
{
  constexpr unsigned kDeepest = 32;
  std::map<const L3Type*, unsigned> depths;
  std::function<unsigned(const L3Type&)> depth = [&](const L3Type& type) {
    auto [place, isNew] = depths.emplace(&type, kDeepest); // as long as it is open: it would hold itself
    if (!isNew) return place->second;
    unsigned deepest = 0;
    auto add = [&](const L3Type* held) { deepest = std::max(deepest, held ? depth(*held) : 0); };
    eachRow(type, [&](const L3Row& row) {
      add(row.type);
      const L3Body* body = row.op == kL3Body ? static_cast<const L3Body*>(row.info) : nullptr;
      for (unsigned i = 0; body && i < body->count; ++i) add(body->rows[i].type);
    });
    return depths[&type] = deepest + 1;
  };
  for (size_t i = 0; i < l3TypeCount; ++i)
    EXPECT_LT(depth(*l3TypeTable[i].type), kDeepest) << l3TypeTable[i].type->fullName;
}

// The name of a value in the table of names, by looking at each.
const char* nameIn(const L3Enum& set, uint32_t value)
{
  for (unsigned i = 0; i < set.rows; ++i)
    if (uint32_t(set.table[i].value) == value) return set.table[i].name;
  return nullptr;
}

// Every value that a field can have prints by its name or as a stranger; members are the values with names.
TEST(FamilyLaws, EnumerationsPrintEveryValue)
{
  std::set<const L3Enum*> enums;
  for (size_t i = 0; i < l3TypeCount; ++i)
    eachRow(*l3TypeTable[i].type, [&](const L3Row& row) {
      if (row.op == kL3Enumerated) enums.insert(static_cast<const L3Enum*>(row.info));
    });
  for (const L3Enum* set : enums) {
    SCOPED_TRACE(set->table[0].name);
    const L3Row rows[] = {enumRow(nullptr, 0, *set)};
    L3Type type = typeOf("Enum", rows, 4, kL3Bare);
    std::vector<uint32_t> values = {0x80000001};
    for (uint32_t value = 0; value < 256 && !(value >> set->bits); ++value) values.push_back(value);
    for (uint32_t value : values) {
      const char* name = nameIn(*set, value);
      std::string expected = name ? name : set->printOpen ? std::to_string(value) : "???";
      EXPECT_EQ(printed(type, "x", &value), "x = " + expected + "\n");
      EXPECT_EQ(value < 256 && set->members[value >> 5] >> (value & 31) & 1, name && value < 256) << value;
    }
  }
}

std::string coded(const TestMessage& message)
{
  const L3TypeEntry& entry = *message.entry;
  Decoding decoding(entry, message.octets);
  std::string text = decoding.state() + decoding.text();
  if (decoding.status < 0 || !entry.encode) return text;
  Octets again(2 * message.octets.size() + 64);
  int status = encodeInto(again, decoding.ctxt, entry, decoding.record.get());
  return text + stateOf(decoding.ctxt, status) + hexText(again);
}

// Threads with a context each do not know of each other.
TEST(FamilyLaws, ThreadsCodeAtOnceAsOneAlone)
{
  const std::vector<TestMessage> messages = sampleMessages();
  std::vector<std::string> texts[3];
  auto codeAll = [&](std::vector<std::string>& own) {
    for (const TestMessage& message : messages) own.push_back(coded(message));
  };
  codeAll(texts[0]);
  std::thread one(codeAll, std::ref(texts[1])), other(codeAll, std::ref(texts[2]));
  one.join();
  other.join();
  EXPECT_EQ(texts[1], texts[0]);
  EXPECT_EQ(texts[2], texts[0]);
}

} // namespace
