// Everything that a caller can observe of one decoding or encoding, as one text: two runs are equal if their texts are.
#pragma once

#include <cstdint>
#include <cstring>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "rt3gppsrc/engine/l3Engine.h"
#include "rt3gppsrc/engine/l3Kept.h"
#include "tests/octets.h"
#include "tests/printed.h"
#include "velnor3gpp/rt3gppNasSec.h"
#include "velnor3gpp/rtxContainer.h"
#include "velnor3gpp/rtxDiagBitTrace.h"
#include "velnor3gpp/rtxError.h"
#include "velnor3gpp/rtxMemHeap.h"

// What a caller brings along.
struct Setting {
  bool slow = false;
  bool trace = false;
  bool pieces = false; // each piece of the heap from the system, where a sanitizer sees its end
  bool security = true;
  uint16_t specRelease = 0;
  uint32_t flags = 0;
  unsigned names = 0;   // element names that stand open
  unsigned regions = 0; // regions that stand open, each a little wider than the next
  unsigned skipBits = 0;
  int fill = 0; // every octet of the record before it is decoded
};

// A context under a setting. Slow mode lasts as long as it, for all threads.
class OutcomeContext {
public:
  explicit OutcomeContext(const Setting& setting = {}) : setting(setting)
  {
    rtxInitContext(&ctxt);
    if (setting.pieces) rtxMemHeapSetFlags(&ctxt.pMemHeap, RT_MH_USE_SYSMEM);
    if (setting.security) rtx3gppSecInitialize(&ctxt);
    ctxt.specRelease = setting.specRelease;
    if (setting.slow) l3SetSlowMode(true);
  }
  ~OutcomeContext()
  {
    if (setting.slow) l3SetSlowMode(false);
    rtxFreeContext(&ctxt);
  }
  OutcomeContext(const OutcomeContext&) = delete;
  operator RtxContext*() { return &ctxt; }
  RtxContext* operator->() { return &ctxt; }
  void bind(uint8_t* data, size_t size)
  {
    rtxCtxtSetBufPtr(&ctxt, data, size);
    ctxt.flags |= setting.flags;
    for (unsigned i = 0; i < setting.names; ++i) rtxCtxtPushElemName(&ctxt, "left");
    for (unsigned i = setting.regions; i-- > 0;) rtxCtxtPushContainerBytes(&ctxt, 3 + 4 * i);
    if (setting.skipBits) ctxt.buffer.bitOffset = int16_t(8 - setting.skipBits);
    if (setting.trace) rtxDiagCtxtBitFieldListInit(&ctxt);
  }

private:
  RtxContext ctxt;
  Setting setting;
};

inline std::string errorsOf(const RtxContext* ctxt)
{
  std::string text;
  for (const RtxDListNode* node = ctxt->errInfo.head; node; node = node->next) {
    const RtxErrInfo& rec = *static_cast<const RtxErrInfo*>(node->data);
    text += "error " + std::to_string(rec.status) + (rec.fatal ? " at " : " (not fatal) at ");
    text += rec.elemName ? rec.elemName : "-";
    for (unsigned i = 0; i < rec.parmcount; ++i) text += std::string(" '") + (rec.parms[i] ? rec.parms[i] : "") + "'";
    for (unsigned i = 0; i < rec.stkx; ++i)
      text += std::string(" ") + rec.stack[i].module + ":" + std::to_string(rec.stack[i].line);
    text += "\n";
  }
  return text + "collected " + std::to_string(ctxt->reservedErr.parmcount) + "\n";
}

inline std::string stacksOf(const RtxContext* ctxt)
{
  std::string text = "names";
  for (const RtxDListNode* node = ctxt->elemNameStack.head; node; node = node->next)
    text += std::string(" ") + static_cast<const char*>(node->data);
  text += " level " + std::to_string(ctxt->level) + "\nregions";
  for (const RtxDListNode* node = ctxt->containerStack.dlist.head; node; node = node->next) {
    const RtxContainer& region = *static_cast<const RtxContainer*>(node->data);
    text += " " + std::to_string(region.byteIndex) + "/" + std::to_string(region.bitOffset);
  }
  return text + "\n";
}

inline std::string traceOf(const RtxContext* ctxt)
{
  std::string text;
  if (!ctxt->pBitFldList) return text;
  for (const RtxSListNode* node = ctxt->pBitFldList->fieldList.head; node; node = node->next) {
    const RtxBitField& field = *static_cast<const RtxBitField*>(node->data);
    text += std::string("field ") + (field.elemName ? field.elemName : "") + " <" + field.nameSuffix + "> " +
            std::to_string(field.bitOffset) + "+" + std::to_string(field.bitCount) + "\n";
  }
  return text;
}

inline std::string keptOf(const RtxContext* ctxt)
{
  std::string text;
  const L3KeptList* list = l3KeptOf(ctxt);
  for (const L3Kept* kept = list ? list->first : nullptr; kept; kept = kept->next) {
    char name[kL3KeptName];
    l3KeptName(*kept, name);
    text += std::string("kept ") + name + " at " + std::to_string(kept->position) + "+" + std::to_string(kept->bits) +
            " " + hexText(Octets(kept->octets(), kept->octets() + (kept->bits + 7) / 8)) + "\n";
  }
  return text;
}

// Status, cursor, flags, errors, stacks, trace and what is kept.
inline std::string stateOf(RtxContext* ctxt, int status)
{
  const RtxBuffer& buffer = ctxt->buffer;
  return "status " + std::to_string(status) + " cursor " + std::to_string(buffer.byteIndex) + "/" +
         std::to_string(buffer.bitOffset) + " flags " + std::to_string(ctxt->flags) + "\n" + errorsOf(ctxt) +
         stacksOf(ctxt) + traceOf(ctxt) + keptOf(ctxt);
}

// Storage for a value of the type, of its exact size up to the alignment.
inline std::unique_ptr<uint64_t[]> recordStorage(const L3Type& type, int fill)
{
  size_t words = (type.size + sizeof(uint64_t) - 1) / sizeof(uint64_t);
  std::unique_ptr<uint64_t[]> record(new uint64_t[words]);
  memset(record.get(), fill, words * sizeof(uint64_t));
  return record;
}

// A form that tells its first half-octet by what stands behind it: its decoder writes no more of the record than it
// reads, and its callers initialise the record.
inline bool wantsInit(const L3Type& type)
{
  for (const L3Row* row = type.rows; row < type.rows + type.rowCount; ++row) {
    const L3Choice* choice = row->op == kL3Choice ? static_cast<const L3Choice*>(row->info) : nullptr;
    if (choice && choice->fieldCount && choice->fields[0].offset > row->offset) return true;
  }
  return false;
}

// One decoding of a copy of the octets, which has exactly their size: a sanitizer sees any access beyond, and
// deciphering changes the copy.
struct Decoding {
  Decoding(const L3TypeEntry& entry, const Octets& octets, const Setting& setting = {},
           const std::function<void(RtxContext*)>& prepare = nullptr)
      : ctxt(setting), entry(entry), data(new uint8_t[octets.size()]), record(recordStorage(*entry.type, setting.fill))
  {
    std::copy(octets.begin(), octets.end(), data.get());
    if (prepare) prepare(ctxt);
    ctxt.bind(data.get(), octets.size());
    if (wantsInit(*entry.type)) l3Init(*entry.type, record.get());
    status = entry.decode(ctxt, record.get());
  }
  std::string text(uint32_t flags = 0) const { return printed(*entry.type, "x", record.get(), flags); }
  std::string state() { return stateOf(ctxt, status); }

  OutcomeContext ctxt;
  const L3TypeEntry& entry;
  std::unique_ptr<uint8_t[]> data;
  std::unique_ptr<uint64_t[]> record;
  int status;
};

inline std::string decodeOutcome(const L3TypeEntry& entry, const Octets& octets, const Setting& setting)
{
  Decoding decoding(entry, octets, setting);
  return decoding.state() + decoding.text();
}

using Make = std::function<void*(RtxContext*)>;

inline void* sampleValue(const L3TypeEntry& entry, RtxContext* ctxt)
{
  return entry.sample ? entry.sample(ctxt) : l3Sample(ctxt, *entry.type);
}

// Octets up to the cursor, a begun one included.
inline size_t octetsDone(const RtxContext* ctxt)
{
  return ctxt->buffer.byteIndex + (ctxt->buffer.bitOffset != 8);
}

// Encodes a value into octets, which are then those up to the cursor, or none after a failure.
inline int encodeInto(Octets& octets, RtxContext* ctxt, const L3TypeEntry& entry, void* value)
{
  octets.push_back(0); // a null pointer would ask for a buffer
  rtxCtxtSetBufPtr(ctxt, octets.data(), octets.size() - 1);
  int status = entry.encode(ctxt, value);
  octets.resize(status < 0 ? 0 : octetsDone(ctxt));
  return status;
}

// Encodes the value that `make` gives into `capacity` octets.
inline std::string encodeOutcome(const L3TypeEntry& entry, const Make& make, size_t capacity, const Setting& setting,
                                 Octets* encoded = nullptr)
{
  OutcomeContext ctxt(setting);
  void* value = make(ctxt);
  if (!value) return "";
  std::unique_ptr<uint8_t[]> data(new uint8_t[capacity]());
  ctxt.bind(data.get(), capacity);
  int status = entry.encode(ctxt, value);
  size_t size = std::min(capacity, octetsDone(ctxt));
  if (encoded) *encoded = status < 0 ? Octets() : Octets(data.get(), data.get() + size);
  while (capacity && !data[capacity - 1]) --capacity; // most of it is as it was
  return stateOf(ctxt, status) + hexText(Octets(data.get(), data.get() + capacity)) + "\n" +
         printed(*entry.type, "x", value);
}

// Empty if the outcome is the same in the fast mode of the engine and in the slow one; else both.
inline std::string modesDiffer(const std::function<std::string(const Setting&)>& outcome, Setting setting)
{
  setting.slow = false;
  std::string fast = outcome(setting);
  setting.slow = true;
  std::string slow = outcome(setting);
  return fast == slow ? "" : "fast: " + fast + "slow: " + slow;
}

inline std::string decodingDiffers(const L3TypeEntry& entry, const Octets& octets, const Setting& setting)
{
  auto outcome = [&](const Setting& mode) { return decodeOutcome(entry, octets, mode); };
  std::string both = modesDiffer(outcome, setting);
  return both.empty() ? both : hexText(octets) + "\n" + both;
}

inline std::string encodingDiffers(const L3TypeEntry& entry, const Make& make, size_t capacity, const Setting& setting)
{
  auto outcome = [&](const Setting& mode) { return encodeOutcome(entry, make, capacity, mode); };
  std::string both = modesDiffer(outcome, setting);
  return both.empty() ? both : "capacity " + std::to_string(capacity) + "\n" + both;
}

// Prints and encodes the record of a decoding, also of one that failed: whatever stood in it before, no pointer, count
// or selector of it leads astray. A sanitizer sees where one does.
inline void useRecord(const L3TypeEntry& entry, RtxContext* ctxt, void* record)
{
  uint8_t octets[256];
  printed(*entry.type, "x", record);
  rtxCtxtSetBufPtr(ctxt, octets, sizeof octets);
  if (entry.encode) entry.encode(ctxt, record);
}

// What is wrong with a value that does not encode to octets that decode, into any record, to the same value, and from
// there encode to the same octets again. Empty if nothing is.
inline std::string roundTripFault(const L3TypeEntry& entry, RtxContext* ctxt, void* value, Octets& octets)
{
  octets.assign(1 << 16, 0);
  int status = encodeInto(octets, ctxt, entry, value);
  std::string before = printed(*entry.type, "x", value);
  if (status < 0) return "encoding gives " + std::to_string(status) + "\n" + errorsOf(ctxt) + before;
  if (!entry.decode) return "";
  Decoding back(entry, octets, {.fill = 0xA5});
  if (back.status < 0) return "decoding gives " + back.state() + before;
  if (before != back.text()) return "decoded back as another:\n" + before + back.text();
  Octets again(octets.size());
  status = encodeInto(again, back.ctxt, entry, back.record.get());
  return status >= 0 && again == octets ? "" : "encoded again as " + hexText(again) + "\n" + errorsOf(back.ctxt);
}

// A type that is not in the table, coded by the engine. Good until the next one.
inline L3TypeEntry entryOf(const L3Type& type)
{
  static const L3Type* now;
  now = &type;
  return {&type,
          [](RtxContext* ctxt, void* value) { return l3Decode(ctxt, *now, value); },
          [](RtxContext* ctxt, void* value) { return l3Encode(ctxt, *now, value); },
          nullptr,
          nullptr,
          nullptr};
}
