// The fast mode of the engine is an optimisation that nobody can observe: whatever the octets, the capacity, the record
// or what the caller left open, it ends as the slow mode does, with the trace and without.
#include <gtest/gtest.h>

#include "tests/arbitraryRecord.h"
#include "tests/messages.h"

namespace {

// The trace adds its fields and changes nothing else.
std::string traceDiffers(const L3TypeEntry& entry, const Octets& octets, Setting setting)
{
  std::string plain = decodeOutcome(entry, octets, setting);
  setting.trace = true;
  std::string traced = decodeOutcome(entry, octets, setting);
  for (size_t at = traced.find("\nfield "); at != std::string::npos; at = traced.find("\nfield ", at))
    traced.erase(at, traced.find('\n', at + 1) - at);
  return traced == plain ? "" : hexText(octets) + "\ntraced: " + traced + "plain: " + plain;
}

// False after a failure: one of a message is enough.
bool agrees(const L3TypeEntry& entry, const Octets& octets, Setting setting, bool trace)
{
  EXPECT_EQ(decodingDiffers(entry, octets, setting), "");
  if (trace) {
    EXPECT_EQ(traceDiffers(entry, octets, setting), "");
    setting.trace = true;
    EXPECT_EQ(decodingDiffers(entry, octets, setting), "");
  }
  return !testing::Test::HasFailure();
}

Setting anySetting(Draw& draw)
{
  Setting setting;
  setting.security = draw.below(4) != 0;
  setting.specRelease = uint16_t(draw.below(3) ? 0 : draw.below(16));
  setting.flags = draw.below(3) ? 0 : RTX_FLAG_MOBILE_ORIGINATED;
  setting.names = draw.below(3) ? 0 : 1 + draw.below(2);
  setting.regions = draw.below(3) ? 0 : 1 + draw.below(2);
  setting.skipBits = draw.below(3) ? 0 : draw.below(8);
  return setting;
}

// Cut anywhere, with each octet bent to what a length dislikes, and with drawn changes.
bool agreesDamaged(const TestMessage& message, unsigned mutations, uint64_t seed)
{
  SCOPED_TRACE(message.name);
  const L3TypeEntry& entry = *message.entry;
  Draw draw(seed);
  for (size_t cut = 0; cut <= message.octets.size(); ++cut) {
    Octets octets(message.octets.begin(), message.octets.begin() + long(cut));
    if (!agrees(entry, octets, {.flags = seed & 1 ? RTX_FLAG_MOBILE_ORIGINATED : 0}, true)) return false;
    if (cut == message.octets.size()) break;
    octets = message.octets;
    uint8_t bends[] = {0, 1, uint8_t(octets[cut] - 1), uint8_t(octets[cut] + 1), 127, 128, 255};
    octets[cut] = bends[draw.below(std::size(bends))];
    if (!agrees(entry, octets, {}, false)) return false;
  }
  for (unsigned i = 0; i < mutations; ++i) {
    Octets octets = changed(message.octets, message.octets, draw, 300);
    if (!agrees(entry, octets, anySetting(draw), i % 4 == 0)) return false;
  }
  return true;
}

TEST(FastAndSlow, SamplesCutAndMutated)
{
  uint64_t seed = 0;
  for (const TestMessage& message : takenSamples(1))
    if (!agreesDamaged(message, 30 * effort(), ++seed)) return;
}

TEST(FastAndSlow, CorpusCutAndMutated)
{
  uint64_t seed = 1000000;
  for (TestMessage& message : takenCorpus(VELNOR_TEST_DATA "/../corpus/data", 1)) {
    if (message.octets.size() > 300) message.octets.resize(300);
    if (!agreesDamaged(message, 10 * effort(), ++seed)) return;
  }
}

void encodeBoth(const L3TypeEntry& entry, size_t index)
{
  SCOPED_TRACE(entry.type->fullName);
  size_t full = sampleOf(entry).size();
  for (size_t capacity = 0; capacity <= full; ++capacity) {
    auto sample = [&entry](RtxContext* ctxt) { return sampleValue(entry, ctxt); };
    ASSERT_EQ(encodingDiffers(entry, sample, capacity, {}), "");
  }
  for (unsigned round = 0; round < 20 * effort(); ++round) {
    unsigned damage = round % 4 == 0 ? 0 : round % 4 == 1 ? 4 : 64;
    auto damaged = [&](RtxContext* ctxt) {
      Draw draw(index * 1000 + round);
      return arbitraryRecord(ctxt, *entry.type, draw, damage);
    };
    Draw draw(round);
    Setting setting = anySetting(draw);
    setting.trace = round % 5 == 0;
    ASSERT_EQ(encodingDiffers(entry, damaged, round % 3 ? 2048 : draw.below(64), setting), "");
    OutcomeContext ctxt;
    printed(*entry.type, "x", damaged(ctxt)); // counts, pointers and tags are not followed where they lead nowhere
  }
}

TEST(FastAndSlow, SamplesInEveryCapacityAndDamagedRecords)
{
  size_t index = 0;
  for (const L3TypeEntry* entry : takenTypes(1))
    if (++index; entry->encode) encodeBoth(*entry, index);
}

} // namespace
