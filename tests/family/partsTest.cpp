// Optional parts do not lean on each other: a sample from which all are taken but one comes back with that one, at any
// depth. A part is what has a bit of its own in front of it, or a tag.
#include <gtest/gtest.h>

#include <set>

#include "tests/messages.h"
#include "tests/recordWalk.h"

namespace {

// A part, and the record in which its presence bit stands.
struct Part {
  const L3Row* row;
  uint8_t* record;

  bool operator==(const Part&) const = default;
};

bool isPart(const L3Row& row)
{
  return row.mBit != kL3NoBit && (row.given == kL3GivenIei || l3Traits(row.lead).optional);
}

// The parts of a record, each before those inside it.
std::vector<Part> partsOf(const L3Type& type, void* record)
{
  std::vector<Part> parts;
  eachPresent(type, static_cast<uint8_t*>(record), [&](const L3Row& row, uint8_t* inside) {
    if (isPart(row)) parts.push_back({&row, inside});
    return true;
  });
  return parts;
}

std::vector<const L3Row*> rowsOf(const std::vector<Part>& parts)
{
  std::vector<const L3Row*> rows;
  for (const Part& part : parts) rows.push_back(part.row);
  return rows;
}

// Takes all parts out of a record but one and those that it stands in.
void leaveAlone(const L3Type& type, uint8_t* record, const Part& alone)
{
  for (const Part& part : partsOf(type, record)) {
    if (part == alone) continue;
    uint8_t& bits = part.record[part.row->mBit >> 3];
    const uint8_t before = bits;
    bits = uint8_t(bits & ~(1U << (part.row->mBit & 7)));
    auto rest = partsOf(type, record);
    if (std::find(rest.begin(), rest.end(), alone) == rest.end()) bits = before;
  }
}

// What an element needs in front of it: the first of two elements with one tag, or a field that says what it holds.
const std::set<std::string> kNeedsAnother = {
    "TS24008Msg_Setup.llcRepeatInd",
    "TS24008Msg_Setup.hlcRepeatInd",
    "TS24008Msg_Setup.bearerCapability2",
    "TS24008Msg_Setup.lowLayerCompat2",
    "TS24008Msg_Setup.highLayerCompat2",
    "TS24008Msg_CallProceeding.bearerCap2",
    "TS24008Msg_CallConfirmed.bearerCap2",
    "TS24008Msg_CC_EstablishmentConfirmed.bearerCap2",
    "TS24008Msg_Release.secondCause",
    "TS24501Msg_RegRequest.container",
    "TS24501Msg_ControlPlaneServReq.container",
};

struct Tried {
  size_t whole = 0, tooShort = 0;
};

void tryAlone(const L3TypeEntry& entry, size_t place, Tried& tried)
{
  OutcomeContext ctxt;
  void* value = sampleValue(entry, ctxt);
  const Part alone = partsOf(*entry.type, value)[place];
  const std::string name = alone.row->name ? alone.row->name.get() : "";
  if (kNeedsAnother.count(entry.type->fullName.get() + ("." + name))) return;
  SCOPED_TRACE(entry.type->fullName.get() + ("." + name));
  leaveAlone(*entry.type, static_cast<uint8_t*>(value), alone);

  Octets octets(1 << 10), again(1 << 10);
  int status = encodeInto(octets, ctxt, entry, value);
  // The element around it must have a length that it does not have with this part alone.
  if (status == RTX_E_CONSTRAINT && ++tried.tooShort) return;
  ASSERT_EQ(status, 0);
  Decoding back(entry, octets);
  ASSERT_EQ(back.status, 0) << hexText(octets) << "\n" << back.state();
  EXPECT_EQ(rowsOf(partsOf(*entry.type, back.record.get())), rowsOf(partsOf(*entry.type, value))) << hexText(octets);
  ASSERT_EQ(encodeInto(again, back.ctxt, entry, back.record.get()), 0);
  if (name != "random-bit-stream") EXPECT_EQ(again, octets); // that takes the padding along
  ++tried.whole;
}

TEST(OptionalParts, StandAlone)
{
  Tried tried;
  for (size_t i = 0; i < l3TypeCount; ++i) {
    const L3TypeEntry& entry = l3TypeTable[i];
    if (!entry.encode || !entry.decode) continue;
    OutcomeContext ctxt;
    const size_t parts = partsOf(*entry.type, sampleValue(entry, ctxt)).size();
    for (size_t place = 0; place < parts; ++place) tryAlone(entry, place, tried);
  }
  EXPECT_GE(tried.whole, 3400U);
  EXPECT_LE(tried.tooShort, 230U);
}

} // namespace
