// What a length may do: elements of every length, fitting or not, and with every length octet inside them bent, end
// with a specified status, stay within their octets and their heap, report a length outside its bounds, and do so in
// the slow mode as well.
#include <gtest/gtest.h>

#include <malloc.h>

#include <algorithm>
#include <set>

#include "tests/messages.h"
#include "velnor3gpp/rtxBitDecode.h"
#include "velnor3gpp/rtxStatus.h"

namespace {

size_t gLive, gPeak;

void* counted(void* memory)
{
  if (memory) gPeak = std::max(gPeak, gLive += malloc_usable_size(memory));
  return memory;
}
void uncount(void* memory)
{
  if (memory) gLive -= malloc_usable_size(memory);
}
void* countedMalloc(size_t size)
{
  return counted(malloc(size));
}
void* countedRealloc(void* old, size_t size)
{
  uncount(old);
  return counted(realloc(old, size));
}
void countedFree(void* memory)
{
  uncount(memory);
  free(memory);
}

struct Ending {
  int status;
  size_t bits; // up to the cursor, which a length may have set behind the end
  size_t heap;
  std::string errors;
};

// Decodes a copy that ends where its storage ends.
Ending decode(const L3TypeEntry& entry, const Octets& octets)
{
  gLive = gPeak = 0;
  RtxContext ctxt;
  rtxInitContextExt(&ctxt, countedMalloc, countedRealloc, countedFree);
  rtx3gppSecInitialize(&ctxt);
  std::unique_ptr<uint8_t[]> data(new uint8_t[octets.size()]);
  std::copy(octets.begin(), octets.end(), data.get());
  rtxCtxtSetBufPtr(&ctxt, data.get(), octets.size());
  auto record = recordStorage(*entry.type, 0xA5);
  int status = entry.decode(&ctxt, record.get());
  Ending ending = {status, rtxCtxtGetBitOffset(&ctxt), gPeak, errorsOf(&ctxt)};
  rtxFreeContext(&ctxt);
  return ending;
}

constexpr int kStatuses[] = {RTX_E_END_OF_BUFFER, RTX_E_ENUM_VALUE, RTX_E_INVALID_CHOICE, RTX_E_BAD_VALUE,
                             RTX_E_TOO_BIG,       RTX_E_NO_MEMORY,  RTX_E_NOT_SUPPORTED,  RTX_E_MULTIPLE,
                             RTX_E_BAD_LENGTH,    RTX_E_UNKNOWN_IE, RTX_E_BAD_MAC};

// What lists of great records may take beside the input's share, three times while they grow; a message stands by
// itself.
size_t recordsOf(const L3Type& type)
{
  size_t octets = 0;
  for (const L3Row* row = type.rows; row < type.rows + type.rowCount; ++row) {
    if (row->op == kL3Body) return SIZE_MAX / 4;
    if (row->op == kL3Record) octets += recordsOf(*row->type);
    if (row->op != kL3List) continue;
    const L3List& list = *static_cast<const L3List*>(row->info);
    if (!list.cap && list.elemSize > 256) octets += std::max<size_t>(list.ranged ? list.hi * list.elemSize : 0, 32768);
  }
  return octets;
}

// The slow mode takes its time: of long content it reads some.
Ending checked(const L3TypeEntry& entry, const Octets& octets)
{
  Ending ending = decode(entry, octets);
  bool known = std::find(std::begin(kStatuses), std::end(kStatuses), ending.status) != std::end(kStatuses);
  EXPECT_TRUE(ending.status >= 0 || known) << ending.status << " " << testing::PrintToString(octets);
  size_t most = 16384 + 64 * octets.size() + 3 * recordsOf(*entry.type);
  EXPECT_LE(ending.heap, most) << testing::PrintToString(octets);
  if (octets.size() > 64 && octets.size() % 8) return ending;
  const Setting fast, slow = {.slow = true};
  EXPECT_EQ(decodeOutcome(entry, octets, fast), decodeOutcome(entry, octets, slow)) << testing::PrintToString(octets);
  return ending;
}

const L3Length* lengthOf(const L3Type& type)
{
  if (!type.rowCount || type.rows[0].op != kL3Length) return nullptr;
  const auto* info = static_cast<const L3Length*>(type.rows[0].info);
  return info->unitBits == 8 && info->bits % 8 == 0 ? info : nullptr;
}

// The sample, cut or drawn out to a length.
Octets ofLength(const Octets& sample, size_t lead, size_t length)
{
  Octets octets(lead + length);
  for (size_t i = 0; i < length; ++i)
    octets[lead + i] = sample.size() > lead ? sample[lead + i % (sample.size() - lead)] : uint8_t(i);
  for (size_t i = 0; i < lead; ++i) octets[i] = uint8_t(length >> 8 * (lead - 1 - i));
  return octets;
}

// Every length up to the greatest and two more; of an open or a very great one, those about the sample's and the bound.
std::vector<size_t> lengthsToTry(const L3Length& info, size_t sample)
{
  size_t end = (info.ranged && info.hi <= 600 ? info.hi : sample) + 2;
  std::vector<size_t> lengths;
  for (size_t length = 0; length <= end; ++length) lengths.push_back(length);
  for (size_t length = info.hi; info.ranged && info.hi > 600 && length <= info.hi + 2; ++length)
    lengths.push_back(length);
  std::erase_if(lengths, [&info](size_t length) { return length >> info.bits; });
  return lengths;
}

TEST(Lengths, EachEndsAsSpecified)
{
  size_t outside = 0;
  for (const TestMessage& message : sampleMessages()) {
    SCOPED_TRACE(message.name);
    const L3Type& type = *message.entry->type;
    const L3Length* info = lengthOf(type);
    if (!info) continue;
    size_t lead = info->bits / 8;
    for (size_t length : lengthsToTry(*info, message.octets.size())) {
      Ending ending = checked(*message.entry, ofLength(message.octets, lead, length));
      std::string report = std::string("error -16 (not fatal) at ") + type.name + (info->member ? ".length '" : " '");
      bool reported = ending.errors.find(report) != std::string::npos;
      bool fits = !info->ranged || (length >= info->lo && length <= info->hi);
      EXPECT_EQ(reported, !fits) << length << "\n" << ending.errors;
      EXPECT_TRUE(ending.status < 0 || ending.bits == 8 * (lead + length)) << length;
      outside += !fits;
    }
  }
  EXPECT_GT(outside, 0U);
}

// Names that the definitions give to lengths.
std::set<std::string> lengthNames()
{
  std::set<std::string> names;
  for (size_t i = 0; i < l3TypeCount; ++i)
    for (const L3Row* row = l3TypeTable[i].type->rows; row < l3TypeTable[i].type->rows + l3TypeTable[i].type->rowCount;
         ++row)
      if (row->op == kL3Length && row->name) names.insert(row->name);
  return names;
}

// Where whole octets of lengths lie in a sample.
std::vector<size_t> lengthOctets(const TestMessage& message, const std::set<std::string>& names)
{
  const Setting traced = {.trace = true};
  OutcomeContext ctxt(traced);
  Octets octets = message.octets;
  ctxt.bind(octets.data(), octets.size());
  auto record = recordStorage(*message.entry->type, 0);
  message.entry->decode(ctxt, record.get());
  std::vector<size_t> places;
  for (const RtxSListNode* node = ctxt->pBitFldList->fieldList.head; node; node = node->next) {
    const RtxBitField& field = *static_cast<const RtxBitField*>(node->data);
    std::string path = field.elemName ? field.elemName : "";
    if (field.bitOffset % 8 || field.bitCount % 8 || !names.count(path.substr(path.rfind('.') + 1))) continue;
    for (size_t i = 0; i < field.bitCount / 8; ++i) places.push_back(field.bitOffset / 8 + i);
  }
  return places;
}

TEST(Lengths, BentOctetsEndAsSpecified)
{
  auto names = lengthNames();
  size_t tried = 0;
  for (const TestMessage& message : sampleMessages()) {
    SCOPED_TRACE(message.name);
    for (size_t place : lengthOctets(message, names)) {
      if (place >= message.octets.size()) continue;
      uint8_t was = message.octets[place];
      for (uint8_t value : std::set<uint8_t>{0, 1, uint8_t(was - 1), uint8_t(was + 1), 127, 128, 255}) {
        Octets octets = message.octets;
        octets[place] = value;
        checked(*message.entry, octets);
        ++tried;
      }
    }
  }
  EXPECT_GT(tried, 1000U);
}

} // namespace
