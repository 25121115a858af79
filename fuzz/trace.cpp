// The bit trace changes nothing that it does not print, and its fields follow each other within the input.
#include "fuzz/harness.h"

#include <cstring>

static void checkFields(const L3TypeEntry& entry, const RtxContext* ctxt, size_t size)
{
  size_t end = 0;
  for (const RtxSListNode* node = ctxt->pBitFldList->fieldList.head; node; node = node->next) {
    const RtxBitField& field = *static_cast<const RtxBitField*>(node->data);
    if (!field.bitCount) continue;
    promise(field.bitOffset >= end, std::string(entry.type->fullName) + ": fields overlap\n" + traceOf(ctxt));
    end = field.bitOffset + field.bitCount;
    promise(end <= size * 8, std::string(entry.type->fullName) + ": a field behind the input\n" + traceOf(ctxt));
  }
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
  if (status >= 0) checkFields(*entry, tracing, size);
  std::string fields = traceOf(tracing);
  std::string with = stateOf(tracing, status);
  with.resize(with.size() - fields.size());
  promise(with == without, std::string(entry->type->fullName) + " is\n" + without + "without trace and\n" + with);
  promise(printed(*entry->type, "x", record.get()) == printed(*entry->type, "x", traced.get()),
          std::string(entry->type->fullName) + " decodes to another record with trace");
  return 0;
}

std::vector<Octets> fuzzSeeds()
{
  return seedsOfAllTypes();
}
