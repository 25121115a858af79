// The bit trace changes nothing that it does not print; its fields follow each other within the input; and what they do
// not cover, octets that are passed over, changes nothing in the record.
#include "fuzz/harness.h"

#include <cstring>

// Each turn of a loop that reads something notes a field; so many turns without a bit are too many.
static constexpr size_t kIdleTurns = 64;

static void checkFields(const L3TypeEntry& entry, const RtxContext* ctxt, size_t size)
{
  size_t end = 0, fields = 0;
  auto words = [&] { return std::string(entry.type->fullName) + " at " + std::to_string(end) + "\n" + traceOf(ctxt); };
  for (const RtxSListNode* node = ctxt->pBitFldList->fieldList.head; node; node = node->next) {
    const RtxBitField& field = *static_cast<const RtxBitField*>(node->data);
    ++fields;
    if (!field.bitCount) continue;
    promise(field.bitOffset >= end, [&] { return "fields overlap: " + words(); });
    end = field.bitOffset + field.bitCount;
    promise(end <= size * 8, [&] { return "a field behind the input: " + words(); });
  }
  promise(fields <= end + kIdleTurns, [&] { return "turns that read nothing: " + words(); });
}

// The input with each bit inverted that no field covers.
static Octets otherGaps(const RtxContext* ctxt, Octets octets)
{
  Octets covered(octets.size());
  for (const RtxSListNode* node = ctxt->pBitFldList->fieldList.head; node; node = node->next) {
    const RtxBitField& field = *static_cast<const RtxBitField*>(node->data);
    for (size_t bit = field.bitOffset; bit < field.bitOffset + field.bitCount; ++bit)
      covered[bit / 8] = uint8_t(covered[bit / 8] | 0x80U >> bit % 8);
  }
  for (size_t i = 0; i < octets.size(); ++i) octets[i] = uint8_t(octets[i] ^ ~covered[i]);
  return octets;
}

// Lists that end before some bits of 0 look ahead at bits that others may read, or nobody.
static bool looksAhead(const RtxContext* traced)
{
  for (const RtxSListNode* node = traced->pBitFldList->fieldList.head; node; node = node->next) {
    const char* name = static_cast<const RtxBitField*>(node->data)->elemName;
    if (name && strstr(name, "eceiveNPDUNumber")) return true;
  }
  return false;
}

static void checkGaps(const L3TypeEntry& entry, const RtxContext* traced, const Octets& octets, const std::string& text)
{
  Octets other = otherGaps(traced, octets);
  if (other == octets || looksAhead(traced)) return;
  auto record = recordStorage(*entry.type, 0);
  Setting setting;
  OutcomeContext ctxt(setting);
  other.push_back(0);
  ctxt.bind(other.data(), octets.size());
  int status = entry.decode(ctxt, record.get());
  std::string same = printed(*entry.type, "x", record.get());
  promise(status >= 0 && same == text, [&] {
    return entry.type->fullName + (" reads what no field covers: " + std::to_string(status) + "\n") + traceOf(traced) +
           text + "to\n" + same;
  });
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
  const L3TypeEntry* entry = takeType(data, size);
  if (!entry || size > 2000) return 0;
  Octets octets(data, data + size), copy = octets;
  octets.push_back(0);
  copy.push_back(0);
  Setting setting;
  auto record = recordStorage(*entry->type, 0), traced = recordStorage(*entry->type, 0);
  OutcomeContext plain(setting);
  plain.bind(octets.data(), size);
  std::string without = stateOf(plain, entry->decode(plain, record.get()));
  setting.trace = true;
  OutcomeContext tracing(setting);
  tracing.bind(copy.data(), size);
  int status = entry->decode(tracing, traced.get());
  if (status >= 0) {
    checkFields(*entry, tracing, size);
    // With a finding, octets may have been read before one was missing.
    if (!tracing->errInfo.count)
      checkGaps(*entry, tracing, Octets(data, data + size), printed(*entry->type, "x", traced.get()));
  }
  RtxBitFieldList* fields = tracing->pBitFldList;
  tracing->pBitFldList = nullptr; // the rest of the state is to be as without
  std::string with = stateOf(tracing, status);
  tracing->pBitFldList = fields;
  std::string name = entry->type->fullName;
  promise(with == without, [&] { return name + " is\n" + without + "without trace and\n" + with; });
  promise(printed(*entry->type, "x", record.get()) == printed(*entry->type, "x", traced.get()),
          [&] { return name + " decodes to another record with trace"; });
  return 0;
}

std::vector<Octets> fuzzSeeds()
{
  return seedsOfAllTypes();
}
