// Faults of the engine that were found once, each in the smallest case that shows it, on descriptors made for it.
#include <gtest/gtest.h>

#include <cstddef>

#include "rt3gppsrc/engine/l3Record.h"
#include "tests/descriptors.h"
#include "tests/outcome.h"
#include "velnor3gpp/rtxStreamMemory.h"

namespace {

struct Context {
  RtxContext ctxt;
  Context() { rtxInitContext(&ctxt); }
  ~Context() { rtxFreeContext(&ctxt); }
  Context(const Context&) = delete;
  operator RtxContext*() { return &ctxt; }
};

// Lets allocation fail from one call on, so many times.
size_t gUntilFailure = SIZE_MAX, gRefusals = 0;
// Octets had from the system.
size_t gTaken = 0;

void* failingMalloc(size_t size)
{
  if (gUntilFailure && gUntilFailure--) return malloc(size);
  if (!gRefusals) return malloc(size);
  --gRefusals;
  return nullptr;
}

struct Text {
  uint8_t length;
  char* text;
};
const L3Length kLength = {8, 8, 0, 0, 1, 0, 0, 0};
const L3Row kLengthRow = TestRow("length", kL3Length, 0, &kLength).sized(8, 1);

std::string encodedLabels(const char* text)
{
  const L3Text labels = {kL3OwnLength, 8, 1, 0, 0, {}, 0, 255};
  const L3Row rows[] = {TestRow(nullptr, kL3Text, 0, &labels)};
  L3Type type = typeOf("Name", rows, sizeof(char*), kL3Bare | kL3Pointer);
  Context ctxt;
  uint8_t octets[16] = {};
  rtxCtxtSetBufPtr(ctxt, octets, sizeof octets);
  if (l3Encode(ctxt, type, &text) < 0) return "failed";
  return std::string(octets, octets + ctxt.ctxt.buffer.byteIndex);
}

// The length counts an octet for each dot, so each dot must lead a label, also the last one.
TEST(Mended, DotAtTheEndLeadsAnEmptyLabel)
{
  using namespace std::string_literals;
  EXPECT_EQ(encodedLabels("ab.c"), "\5\2ab\1c"s);
  EXPECT_EQ(encodedLabels("ab."), "\4\2ab\0"s);
  EXPECT_EQ(encodedLabels("."), "\2\0\0"s);
  EXPECT_EQ(encodedLabels(""), "\0"s);
}

// An octet string that does not fit keeps its status for the end; optional elements that are absent do not hide it.
TEST(Mended, OverflowOfTheLastMandatoryElementFailsTheMessage)
{
  const L3Octets four = {kL3Fixed, 0, 0, 0, 4, 0, {}, 0, 0};
  const L3Row options[] = {uintRow("option", 5).there(kL3Iei, 0)};
  const L3Iei ieis[] = {{0x21, 0, kL3SkipFixed, 1, 0}};
  uint8_t byValue[256] = {};
  byValue[0x21] = 1;
  const L3Message message = {options, ieis, byValue, 1, 0, 0, 0};
  const L3Row rows[] = {TestRow("four", kL3Octets, 1, &four)};
  L3Type type = presenceTypeOf("Message", rows, 6, 1);
  type.message = &message;
  Context ctxt;
  uint8_t record[6] = {}, octets[3];
  rtxCtxtSetBufPtr(ctxt, octets, sizeof octets);
  EXPECT_EQ(l3Encode(ctxt, type, record), RTX_E_ENCODE_OVERFLOW);
}

// A name that the caller left alone on the stack is taken for the type's name and goes with it, in both modes.
TEST(Mended, SingleNameLeftByTheCallerGoes)
{
  const L3Row rows[] = {uintRow("number", 0)};
  L3Type type = typeOf("Number", rows, 1);
  for (bool slow : {false, true})
    for (unsigned names : {1, 2}) {
      Setting setting;
      setting.slow = slow;
      setting.names = names;
      OutcomeContext ctxt(setting);
      uint8_t octet = 7, value = 0;
      ctxt.bind(&octet, 1);
      EXPECT_EQ(l3Decode(ctxt, type, &value), 0);
      EXPECT_EQ(ctxt->elemNameStack.count, names == 1 ? 0U : 2U);
    }
}

struct Capability {
  uint8_t m, length, number, added;
};
const L3Release kRelease4 = {4, 0, 1};

struct CapabilityRows {
  L3Row rows[4];
  L3Type type;
  CapabilityRows()
      : rows{TestRow("length", kL3Length, offsetof(Capability, length), &kLength).sized(8, 1),
             uintRow("number", offsetof(Capability, number)), TestRow(nullptr, kL3Release, 0, &kRelease4),
             uintRow("added", offsetof(Capability, added)).there(kL3Always, kL3NoBit, 0)},
        type(presenceTypeOf("Capability", rows, sizeof(Capability), 1))
  {
    rows[3].flags |= kL3InRelease;
    type.flags = kL3EarlyReturn;
  }
};

// The early return of a capability structure leaves its type name only where it is the outermost type.
TEST(Mended, EarlyReturnInsideARecordKeepsNoTypeName)
{
  CapabilityRows inner;
  const L3Row outerRows[] = {recordRow("capability", 0, inner.type)};
  L3Type outer = typeOf("Outer", outerRows, sizeof(Capability));
  for (bool slow : {false, true}) {
    Setting setting;
    setting.slow = slow;
    uint8_t octets[] = {2, 7, 9};
    OutcomeContext ctxt(setting);
    Capability value;
    ctxt.bind(octets, sizeof octets);
    EXPECT_EQ(l3Decode(ctxt, outer, &value), 0);
    EXPECT_EQ(ctxt->elemNameStack.count, 0U);
    EXPECT_EQ(ctxt->containerStack.dlist.count, 1U);
    rtxErrReset(ctxt);
    ctxt.bind(octets, sizeof octets);
    EXPECT_EQ(l3Decode(ctxt, inner.type, &value), 0);
    EXPECT_EQ(ctxt->elemNameStack.count, 1U);
  }
}

struct Entries {
  uint64_t n;
  uint8_t* elem;
};

// Values outside their range are recorded beside the value, but not without end.
TEST(Mended, FindingsOfOneMessageAreBounded)
{
  const L3List list = {kL3WhileRoom, 0, 0, 0, 0, 8, 1, {}, 0, 0, uintRow("elem", 0).in(1, 255)};
  const L3Row rows[] = {TestRow(nullptr, kL3List, 0, &list)};
  L3Type type = typeOf("Numbers", rows, sizeof(Entries), kL3Bare);
  Context ctxt;
  Octets octets(5000, 0);
  Entries value;
  rtxCtxtSetBufPtr(ctxt, octets.data(), octets.size());
  EXPECT_EQ(l3Decode(ctxt, type, &value), 0);
  EXPECT_EQ(value.n, octets.size());
  EXPECT_EQ(ctxt.ctxt.errInfo.count, kL3MaxFindings);
  EXPECT_EQ(rtxErrCheckNonFatal(ctxt), RTX_E_CONSTRAINT);
}

// An element that asks for comprehension fails the message also behind so many findings that no more are recorded.
TEST(Mended, UnknownElementCountsBehindManyFindings)
{
  struct Record {
    uint8_t m, length;
    Entries list;
    uint8_t option;
  };
  const L3List list = {
      kL3Times, 0, 0, 0, 0, 8, 1, {offsetof(Record, length), 1, 8}, 0, 0, uintRow("elem", 0).in(1, 255)};
  const L3Row options[] = {uintRow("option", offsetof(Record, option)).there(kL3Iei, 0)};
  const L3Iei ieis[] = {{0x21, 0, kL3SkipFixed, 1, 0}};
  uint8_t byValue[256] = {};
  byValue[0x21] = 1;
  const L3Message message = {options, ieis, byValue, 1, 0, 0, 0};
  const L3Row rows[] = {uintRow("count", offsetof(Record, length)),
                        TestRow("list", kL3List, offsetof(Record, list), &list)};
  L3Type type = presenceTypeOf("Message", rows, sizeof(Record), 1);
  type.message = &message;
  Octets octets(1 + 40, 0);
  octets[0] = 40;
  octets.insert(octets.end(), {0x10, 0, 0x20, 0, 0x30, 0});
  for (bool slow : {false, true}) {
    Setting setting;
    setting.slow = slow;
    OutcomeContext ctxt(setting);
    Record record;
    ctxt.bind(octets.data(), octets.size());
    EXPECT_EQ(l3Decode(ctxt, type, &record), RTX_E_UNKNOWN_IE);
    EXPECT_EQ(ctxt->errInfo.count, kL3MaxFindings + 1);
  }
}

// Entries behind an inline array's end share one spare entry.
TEST(Mended, EntriesBehindTheArrayTakeNoMemoryEach)
{
  struct Inline {
    uint8_t n, elem[3][64];
  };
  struct Big {
    uint8_t number, rest[63];
  };
  const L3Row entryRows[] = {uintRow("number", 0)};
  L3Type entry = typeOf("Entry", entryRows, sizeof(Big));
  const L3List list = {kL3WhileRoom, 0, 0, 1, 3, 1, 64, {}, 1, 3, recordRow("elem", 0, entry)};
  const L3Row rows[] = {TestRow(nullptr, kL3List, 0, &list)};
  L3Type type = typeOf("Entries", rows, sizeof(Inline), kL3Bare);
  static size_t taken;
  taken = 0;
  RtxContext ctxt;
  auto counted = [](size_t size) { return taken += size, malloc(size); };
  rtxInitContextExt(&ctxt, counted, realloc, free);
  Octets octets(1000, 9);
  Inline value;
  rtxCtxtSetBufPtr(&ctxt, octets.data(), octets.size());
  EXPECT_EQ(l3Decode(&ctxt, type, &value), 0);
  EXPECT_EQ(value.elem[2][0], 9);
  EXPECT_LT(taken, 16384U);
  rtxFreeContext(&ctxt);
}

// Entries that come as an octet and take half a KiB each end the decoding before they take more than their input may.
TEST(Mended, LargeEntriesOfFewOctetsAreBounded)
{
  struct Large {
    uint8_t number, rest[511];
  };
  const L3Row entryRows[] = {uintRow("number", 0)};
  L3Type entry = typeOf("Entry", entryRows, sizeof(Large));
  const L3List list = {kL3WhileRoom, 0, 0, 0, 0, 8, sizeof(Large), {}, 0, 0, recordRow("elem", 0, entry)};
  const L3Row rows[] = {TestRow(nullptr, kL3List, 0, &list)};
  L3Type type = typeOf("Entries", rows, sizeof(Entries), kL3Bare);
  for (size_t size : {4, 40, 5000}) {
    gTaken = 0;
    RtxContext ctxt;
    rtxInitContextExt(
        &ctxt, [](size_t size) { return gTaken += size, malloc(size); }, nullptr, free);
    Octets octets(size, 9);
    Entries value;
    rtxCtxtSetBufPtr(&ctxt, octets.data(), octets.size());
    EXPECT_EQ(l3Decode(&ctxt, type, &value), size == 4 ? 0 : RTX_E_NO_MEMORY);
    EXPECT_LE(gTaken, 16384 + 64 * size);
    rtxFreeContext(&ctxt);
  }
}

// On a stream nobody knows what still comes: the string gets the storage that its length asks for.
TEST(Mended, HeapStringFromAStreamFitsItsLength)
{
  const L3Octets own = {kL3OwnLength, 16, 0, 0, 0, 0, {}, 0, 0};
  const L3Row rows[] = {TestRow(nullptr, kL3Octets, 0, &own)};
  L3Type type = typeOf("Long", rows, sizeof(L3HeapOctets), kL3Bare);
  Octets octets(5002, 0x5A);
  octets[0] = 5000 >> 8;
  octets[1] = 5000 & 0xFF;
  Context ctxt;
  ASSERT_EQ(rtxStreamMemoryCreateReader(ctxt, octets.data(), octets.size()), 0);
  L3HeapOctets value = {};
  ASSERT_EQ(l3Decode(ctxt, type, &value), 0);
  EXPECT_EQ(value.numocts, 5000U);
  EXPECT_EQ(value.data[4999], 0x5A);
}

// The field of an octet string that is longer than its array covers also what is passed over.
TEST(Mended, TraceCoversOctetsBehindTheArray)
{
  struct Short {
    uint8_t numocts, data[2];
  };
  const L3Octets bounded = {kL3OwnLength, 8, 1, 2, 0, 1, {}, 0, 2};
  const L3Row rows[] = {TestRow("short", kL3Octets, 0, &bounded)};
  L3Type type = typeOf("Record", rows, sizeof(Short));
  Setting setting;
  setting.trace = true;
  OutcomeContext ctxt(setting);
  uint8_t octets[] = {4, 1, 2, 3, 4};
  ctxt.bind(octets, sizeof octets);
  Short value;
  EXPECT_EQ(l3Decode(ctxt, type, &value), 0);
  EXPECT_NE(traceOf(ctxt).find("<OCTET STRING> 8+32"), std::string::npos) << traceOf(ctxt);
}

// A finding that finds no memory for its record is not forgotten, and no name is popped that was never pushed: the
// entry's name was not, and the one below it is no heap string.
TEST(Mended, MissingMemoryForNamesAndFindingsEndsTheCall)
{
  const L3List list = {kL3WhileRoom, 0, 0, 0, 8, 1, 1, {}, 0, 8, uintRow("elem", 0).in(1, 255)};
  const L3Row rows[] = {TestRow("list", kL3List, 0, &list)};
  L3Type type = typeOf("Numbers", rows, 9);
  for (size_t from = 0; from < 12; ++from)
    for (size_t refusals : {size_t{1}, SIZE_MAX}) {
      RtxContext ctxt;
      gUntilFailure = SIZE_MAX;
      rtxInitContextExt(&ctxt, failingMalloc, realloc, free);
      rtxMemHeapSetFlags(&ctxt.pMemHeap, RT_MH_USE_SYSMEM);
      uint8_t octets[] = {3, 0, 5}, value[9];
      rtxCtxtSetBufPtr(&ctxt, octets, sizeof octets);
      gUntilFailure = from;
      gRefusals = refusals;
      int status = l3Decode(&ctxt, type, value);
      bool recorded = ctxt.errInfo.count == 1 && rtxErrCheckNonFatal(&ctxt) == RTX_E_CONSTRAINT;
      EXPECT_TRUE(status == RTX_E_NO_MEMORY || (status == 0 && recorded)) << from << ": " << status;
      gUntilFailure = SIZE_MAX;
      rtxFreeContext(&ctxt);
    }
}

} // namespace
