#include "tests/family/laws.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <memory>

#include "tests/printed.h"
#include "velnor3gpp/rt3gppNasSec.h"
#include "velnor3gpp/rtxContainer.h"
#include "velnor3gpp/rtxContext.h"
#include "velnor3gpp/rtxStatus.h"

namespace {

constexpr size_t kCapacity = 1 << 16;

// Allocations of the process's test contexts: counted, and refused from one on.
size_t gAllocations = 0, gFailFrom = SIZE_MAX, gFailures = 0;

bool refused()
{
  size_t index = gAllocations++;
  return index >= gFailFrom && index - gFailFrom < gFailures;
}

void* countedMalloc(size_t size)
{
  return refused() ? nullptr : malloc(size);
}
void* countedRealloc(void* old, size_t size)
{
  return refused() ? nullptr : realloc(old, size);
}

void arm(size_t from, size_t failures)
{
  gAllocations = 0;
  gFailFrom = from;
  gFailures = failures;
}

void disarm()
{
  arm(SIZE_MAX, 0);
}

// A context whose every allocation is one of the system, with security on the null algorithms.
class Context {
public:
  Context()
  {
    rtxInitContextExt(&ctxt, countedMalloc, countedRealloc, free);
    rtxMemHeapSetFlags(&ctxt.pMemHeap, RT_MH_USE_SYSMEM);
    rtx3gppSecInitialize(&ctxt);
  }
  ~Context() { rtxFreeContext(&ctxt); }
  Context(const Context&) = delete;
  operator RtxContext*() { return &ctxt; }
  void nextJob()
  {
    rtxMemFree(&ctxt);
    rtx3gppSecInitialize(&ctxt);
  }
  // Binds exactly these octets, so that a sanitizer sees any access beyond them.
  void bind(Octets octets)
  {
    data.reset(new uint8_t[octets.size()]);
    std::copy(octets.begin(), octets.end(), data.get());
    rtxCtxtSetBufPtr(&ctxt, data.get(), octets.size());
  }

private:
  RtxContext ctxt;
  std::unique_ptr<uint8_t[]> data;
};

using Record = std::unique_ptr<uint64_t[]>;

// Storage for a value, of its exact size up to the alignment, holding anything.
Record dirtyRecord(const L3Type& type)
{
  size_t words = type.size / sizeof(uint64_t) + (type.size % sizeof(uint64_t) != 0);
  Record record(new uint64_t[words]);
  memset(record.get(), 0xA5, words * sizeof(uint64_t));
  return record;
}

int encodeTo(RtxContext* ctxt, const Subject& subject, void* value, Octets& octets)
{
  octets.assign(kCapacity, 0);
  rtxCtxtSetBufPtr(ctxt, octets.data(), octets.size());
  int status = subject.encode(ctxt, value);
  octets.resize(status < 0 ? 0 : (rtxCtxtGetBitOffset(ctxt) + 7) / 8);
  return status;
}

} // namespace

Subject subjectOf(const L3TypeEntry& entry)
{
  const L3Type& type = *entry.type;
  auto engine = [&type](RtxContext* ctxt) { return l3Sample(ctxt, type); };
  return {&type, entry.decode, entry.encode, entry.sample ? std::function<void*(RtxContext*)>(entry.sample) : engine};
}

Subject subjectOf(const L3Type& type)
{
  return {&type, [&type](RtxContext* ctxt, void* value) { return l3Decode(ctxt, type, value); },
          [&type](RtxContext* ctxt, void* value) { return l3Encode(ctxt, type, value); },
          [&type](RtxContext* ctxt) { return l3Sample(ctxt, type); }};
}

std::string textOf(const L3Type& type, const void* value)
{
  return printed(type, "x", value);
}

Octets sampleOctets(const Subject& subject)
{
  Context ctxt;
  void* value = subject.sample(ctxt);
  Octets octets;
  if (value && subject.encode) encodeTo(ctxt, subject, value, octets);
  return octets;
}

void checkSampleRepeats(const Subject& subject)
{
  Context ctxt;
  void* first = subject.sample(ctxt);
  void* second = subject.sample(ctxt);
  ASSERT_TRUE(first && second);
  EXPECT_NE(first, second);
  std::string text = textOf(*subject.type, first);
  EXPECT_FALSE(text.empty());
  EXPECT_EQ(text, textOf(*subject.type, second));
}

// A record that begins with a length of a few bits stands in the middle of an octet, behind the element that shares it:
// by itself it cannot end where its open tail must.
static bool standsInsideOctet(const L3Type& type)
{
  if (!type.rowCount || type.rows[0].op != kL3Length) return false;
  const L3Length& length = *static_cast<const L3Length*>(type.rows[0].info);
  return length.unitBits == 8 && length.bits % 8 && !length.fromOctet;
}

void checkRoundTrip(const Subject& subject)
{
  if (!subject.encode || standsInsideOctet(*subject.type)) return;
  Context encoding, decoding;
  void* value = subject.sample(encoding);
  ASSERT_NE(value, nullptr);
  Octets octets, again;
  int status = encodeTo(encoding, subject, value, octets);
  ASSERT_GE(status, 0) << textOf(*subject.type, value);
  if (!subject.decode) return;
  Record record = dirtyRecord(*subject.type);
  decoding.bind(octets);
  status = subject.decode(decoding, record.get());
  ASSERT_GE(status, 0) << testing::PrintToString(octets) << textOf(*subject.type, value);
  EXPECT_EQ(textOf(*subject.type, value), textOf(*subject.type, record.get())) << testing::PrintToString(octets);
  status = encodeTo(decoding, subject, record.get(), again);
  EXPECT_GE(status, 0);
  EXPECT_EQ(octets, again);
}

void checkTruncations(const Subject& subject)
{
  if (!subject.decode) return;
  const Octets octets = sampleOctets(subject);
  for (size_t cut = 0; cut < octets.size(); ++cut) {
    Context ctxt;
    Record record = dirtyRecord(*subject.type);
    ctxt.bind(Octets(octets.begin(), octets.begin() + long(cut)));
    int status = subject.decode(ctxt, record.get());
    std::string text = status < 0 ? "failed" : textOf(*subject.type, record.get());
    bool list = subject.type->flags & kL3Bare; // one without entries prints nothing
    EXPECT_TRUE(list || !text.empty()) << "cut at " << cut;
  }
}

// Runs a job with each of its allocations failing. The job tells whether it ended well or for want of memory, then does
// the whole thing over in the same context and compares.
static void failInTurn(const std::function<bool(Context&)>& job, const std::function<bool(Context&)>& again)
{
  size_t count;
  {
    Context ctxt;
    disarm();
    job(ctxt);
    count = gAllocations;
  }
  for (size_t failures : {size_t{1}, SIZE_MAX})
    for (size_t from = 0; from < count; ++from) {
      Context ctxt;
      arm(from, failures);
      bool reported = job(ctxt);
      disarm();
      EXPECT_TRUE(reported) << "allocation " << from << " of " << count << (failures == 1 ? ", once" : ", for good");
      ctxt.nextJob();
      EXPECT_TRUE(again(ctxt)) << "after allocation " << from << " failed";
    }
}

static void checkDecodeFailures(const Subject& subject)
{
  const Octets octets = sampleOctets(subject);
  std::string text;
  auto decodes = [&](Context& ctxt) {
    Record record = dirtyRecord(*subject.type);
    ctxt.bind(octets);
    if (subject.decode(ctxt, record.get()) < 0) return false;
    std::string found = textOf(*subject.type, record.get());
    if (text.empty()) text = found;
    return found == text;
  };
  Context ctxt;
  if (octets.empty() || !decodes(ctxt)) return; // the round trip reports it
  Record record = dirtyRecord(*subject.type);
  auto job = [&](Context& failing) {
    size_t from = gFailFrom, failures = gFailures;
    disarm();
    failing.bind(octets);
    arm(from, failures);
    int status = subject.decode(failing, record.get());
    return status >= 0 || status == RTX_E_NO_MEMORY;
  };
  failInTurn(job, decodes);
}

void checkAllocationFailures(const Subject& subject)
{
  auto samples = [&](Context& ctxt) { return subject.sample(ctxt) != nullptr; };
  auto triesSample = [&](Context& ctxt) {
    void* value = subject.sample(ctxt);
    if (value) textOf(*subject.type, value);
    return value || gFailFrom != SIZE_MAX;
  };
  failInTurn(triesSample, samples);
  if (subject.decode && subject.encode) checkDecodeFailures(subject);
}

void checkInitialised(const Subject& subject)
{
  Record record = dirtyRecord(*subject.type);
  EXPECT_EQ(l3Init(*subject.type, record.get()), 0);
  textOf(*subject.type, record.get());
}
