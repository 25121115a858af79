// The fast mode of the engine is an optimisation that nobody can observe: whatever the octets, the capacity, the record
// or what the caller left open, it ends as the slow mode does, with the trace and without.
#include <gtest/gtest.h>

#include <cstdlib>

#include "tests/arbitraryRecord.h"
#include "tests/messages.h"

namespace {

// More mutations and damaged records for a long run.
unsigned effort()
{
  const char* text = getenv("VELNOR_TEST_EFFORT");
  return text ? unsigned(atoi(text)) : 1;
}

bool sameDecoding(const L3TypeEntry& entry, const Octets& octets, Setting setting)
{
  setting.slow = setting.trace = false;
  std::string fast = decodeOutcome(entry, octets, setting);
  setting.slow = true;
  std::string slow = decodeOutcome(entry, octets, setting);
  EXPECT_EQ(fast, slow) << testing::PrintToString(octets);
  return fast == slow;
}

// The trace adds its fields and changes nothing else.
bool sameUnderTrace(const L3TypeEntry& entry, const Octets& octets, Setting setting)
{
  setting.trace = true;
  std::string fast = decodeOutcome(entry, octets, setting);
  setting.slow = true;
  EXPECT_EQ(fast, decodeOutcome(entry, octets, setting));
  setting.trace = false;
  std::string plain = decodeOutcome(entry, octets, setting);
  for (size_t at = fast.find("field "); at != std::string::npos; at = fast.find("field ", at))
    fast.erase(at, fast.find('\n', at) + 1 - at);
  EXPECT_EQ(fast, plain) << testing::PrintToString(octets);
  return fast == plain;
}

Octets mutated(const Octets& octets, Draw& draw)
{
  Octets result = octets;
  for (unsigned i = 0; i <= draw.below(3) && !result.empty(); ++i) {
    size_t at = draw.below(uint32_t(result.size()));
    switch (draw.below(5)) {
      case 0:
        result[at] = uint8_t(draw.octet());
        break;
      case 1:
        result[at] = uint8_t(result[at] ^ 1U << draw.below(8));
        break;
      case 2:
        result.insert(result.begin() + long(at), uint8_t(draw.octet()));
        break;
      case 3:
        result.erase(result.begin() + long(at));
        break;
      default:
        result.insert(result.end(), result.begin() + long(at), result.end());
    }
  }
  if (result.size() > 300) result.resize(300);
  return result;
}

Setting anySetting(Draw& draw)
{
  Setting setting;
  setting.security = draw.below(4) != 0;
  setting.specRelease = uint16_t(draw.below(3) ? 0 : draw.below(16));
  setting.flags = draw.below(3) ? 0 : RTX_FLAG_MOBILE_ORIGINATED;
  setting.names = draw.below(3) ? 0 : 1 + draw.below(2);
  setting.regions = draw.below(3) ? 0 : 1 + draw.below(2);
  return setting;
}

void checkDecoding(const TestMessage& message, unsigned mutations, uint64_t seed)
{
  SCOPED_TRACE(message.name);
  Setting mine;
  mine.flags = seed & 1 ? RTX_FLAG_MOBILE_ORIGINATED : 0;
  for (size_t cut = 0; cut <= message.octets.size(); ++cut) {
    Octets octets(message.octets.begin(), message.octets.begin() + long(cut));
    if (!sameDecoding(*message.entry, octets, mine) || !sameUnderTrace(*message.entry, octets, mine)) return;
  }
  Draw draw(seed);
  for (unsigned i = 0; i < mutations; ++i) {
    Octets octets = mutated(message.octets, draw);
    Setting setting = anySetting(draw);
    if (!sameDecoding(*message.entry, octets, setting)) return;
    if (i % 4 == 0 && !sameUnderTrace(*message.entry, octets, setting)) return;
  }
}

void* sampleValue(const L3TypeEntry& entry, RtxContext* ctxt)
{
  return entry.sample ? entry.sample(ctxt) : l3Sample(ctxt, *entry.type);
}

bool sameEncoding(const L3TypeEntry& entry, const std::function<void*(RtxContext*)>& make, size_t capacity,
                  Setting setting)
{
  std::string fast = encodeOutcome(entry, make, capacity, setting);
  setting.slow = true;
  std::string slow = encodeOutcome(entry, make, capacity, setting);
  EXPECT_EQ(fast, slow) << "capacity " << capacity;
  return fast == slow;
}

std::string corpusFolder()
{
  return VELNOR_TEST_DATA "/../corpus/data";
}

TEST(FastAndSlow, SamplesCutAndMutated)
{
  uint64_t seed = 0;
  for (const TestMessage& message : sampleMessages()) checkDecoding(message, 30 * effort(), ++seed);
}

TEST(FastAndSlow, CorpusCutAndMutated)
{
  uint64_t seed = 1000000;
  for (TestMessage& message : corpusMessages(corpusFolder())) {
    if (message.octets.size() > 300) message.octets.resize(300);
    checkDecoding(message, 10 * effort(), ++seed);
  }
}

TEST(FastAndSlow, EveryCapacity)
{
  for (size_t i = 0; i < l3TypeCount; ++i) {
    const L3TypeEntry& entry = l3TypeTable[i];
    if (!entry.encode) continue;
    SCOPED_TRACE(entry.type->fullName);
    auto make = [&entry](RtxContext* ctxt) { return sampleValue(entry, ctxt); };
    size_t full = sampleOf(entry).size();
    for (size_t capacity = 0; capacity <= full; ++capacity)
      if (!sameEncoding(entry, make, capacity, {})) break;
  }
}

TEST(FastAndSlow, DamagedRecords)
{
  for (size_t i = 0; i < l3TypeCount; ++i) {
    const L3TypeEntry& entry = l3TypeTable[i];
    if (!entry.encode) continue;
    SCOPED_TRACE(entry.type->fullName);
    for (unsigned round = 0; round < 20 * effort(); ++round) {
      unsigned damage = round % 4 == 0 ? 0 : round % 4 == 1 ? 4 : 64;
      auto make = [&](RtxContext* ctxt) {
        Draw draw(i * 1000 + round);
        return arbitraryRecord(ctxt, *entry.type, draw, damage);
      };
      Draw draw(round);
      Setting setting = anySetting(draw);
      setting.trace = round % 5 == 0;
      if (!sameEncoding(entry, make, round % 3 ? 2048 : draw.below(64), setting)) break;
    }
  }
}

} // namespace
