// Faults of the engine that were found once and that octets alone do not show, each in the smallest case that shows it,
// on descriptors made for it.
#include <gtest/gtest.h>

#include "rt3gppsrc/engine/l3Call.h"
#include "tests/descriptors.h"
#include "tests/fileText.h"
#include "tests/messages.h"
#include "tests/outcome.h"
#include "velnor3gpp/rtxBitDecode.h"
#include "velnor3gpp/rtxBitEncode.h"
#include "velnor3gpp/rtxStreamFile.h"
#include "velnor3gpp/rtxStreamMemory.h"

namespace {

// Octets had from the system.
size_t gTaken = 0;

// A context over octets.
struct Bench {
  OutcomeContext ctxt;
  Octets octets;
  explicit Bench(const Octets& input, const Setting& setting = {}) : ctxt(setting), octets(input)
  {
    ctxt.bind(octets.data(), octets.size());
  }
  operator RtxContext*() { return ctxt; }
  RtxContext* operator->() { return ctxt; }
};

struct Entries {
  uint64_t n;
  uint8_t* elem;
};

// A name that the caller left alone on the stack is taken for the type's name and goes with it, in both modes.
TEST(Mended, SingleNameLeftByTheCallerGoes)
{
  const L3Row rows[] = {uintRow("number", 0)};
  L3Type type = typeOf("Number", rows, 1);
  for (bool slow : {false, true})
    for (unsigned names : {1, 2}) {
      Bench bench({7}, {.slow = slow, .names = names});
      uint8_t value = 0;
      EXPECT_EQ(l3Decode(bench, type, &value), 0);
      EXPECT_EQ(bench->elemNameStack.count, names == 1 ? 0U : 2U);
    }
}

// An element that returns early leaves its region open (a radio access capability). The elements behind it are read all
// the same, up to where the message ends: at the region that was open when it began, or with the octets.
TEST(Mended, OptionalElementsEndWithTheMessageAndNotWithARegionLeftOpen)
{
  struct Inner {
    uint8_t m, number;
  };
  struct Record {
    uint8_t m;
    Inner inner;
    uint8_t option;
  };
  const L3Length length = {8, 8, 0, 0, 0, 0, 0, 0, 0};
  const L3Release release = {1, 0, 1};
  TestRow member = uintRow("number", offsetof(Inner, number));
  member.flags |= kL3InRelease;
  member.groupBit = 0;
  const L3Row innerRows[] = {TestRow(nullptr, kL3Length, 0, &length),
                             TestRow("release", kL3Release, 0, &release).there(kL3GivenAlways, 0), member};
  L3Type inner = presenceTypeOf("Inner", innerRows, sizeof(Inner), 1);
  inner.flags |= kL3EarlyReturn;
  const L3Row options[] = {uintRow("option", offsetof(Record, option)).there(kL3GivenIei, 0)};
  const L3Iei ieis[] = {{0x21, 0, kL3SkipFixed, 1, 0}};
  uint8_t byValue[256] = {};
  byValue[0x21] = 1;
  const L3Message message = {{placeOf(options)}, {placeOf(ieis)}, {placeOf(byValue, 256)}, 1, 0, 0, 0, 0};
  const L3Row rows[] = {recordRow("inner", offsetof(Record, inner), inner)};
  L3Type type = presenceTypeOf("Message", rows, sizeof(Record), 1);
  type.message = {placeOf(&message)};
  for (bool slow : {false, true})
    for (size_t around : {2, 4, 5}) { // octets of the caller's region; the buffer has four
      Bench bench({1, 7, 0x21, 9}, {.slow = slow});
      if (around < 5) rtxCtxtPushContainerBytes(bench, around);
      Record record = {};
      EXPECT_EQ(l3Decode(bench, type, &record), 0);
      EXPECT_EQ(record.m, around == 2 ? 0 : 1) << "region of " << around;
      EXPECT_EQ(record.option, around == 2 ? 0 : 9) << "region of " << around;
    }
}

// Values outside their range are recorded, but not without end; an element that asks for comprehension fails the
// message also behind those.
TEST(Mended, UnknownElementCountsBehindManyFindings)
{
  struct Record {
    uint8_t m, count;
    Entries list;
    uint8_t option;
  };
  const L3List list = {kL3Times,
                       0,
                       0,
                       0,
                       8,
                       1,
                       {{offsetof(Record, count), 1, 8}, 0, 1, 0, 0, 0, {}},
                       0,
                       0,
                       uintRow("elem", 0).in(1, 255)};
  const L3Row options[] = {uintRow("option", offsetof(Record, option)).there(kL3GivenIei, 0)};
  const L3Iei ieis[] = {{0x21, 0, kL3SkipFixed, 1, 0}};
  uint8_t byValue[256] = {};
  byValue[0x21] = 1;
  const L3Message message = {{placeOf(options)}, {placeOf(ieis)}, {placeOf(byValue, 256)}, 1, 0, 0, 0, 0};
  const L3Row rows[] = {uintRow("count", offsetof(Record, count)),
                        TestRow("list", kL3List, offsetof(Record, list), &list)};
  L3Type type = presenceTypeOf("Message", rows, sizeof(Record), 1);
  type.message = {placeOf(&message)};
  Octets octets(1 + 40);
  octets[0] = 40;
  octets.insert(octets.end(), {0x10, 0, 0x20, 0, 0x30, 0});
  for (bool slow : {false, true}) {
    Bench bench(octets, {.slow = slow});
    Record record;
    EXPECT_EQ(l3Decode(bench, type, &record), RTX_E_UNKNOWN_IE);
    EXPECT_EQ(bench->errInfo.count, kL3MaxFindings + 1);
  }
}

// What decoding so many octets takes from the system.
int decodeCounted(const L3Type& type, size_t octets, void* value)
{
  gTaken = 0;
  RtxContext ctxt;
  rtxInitContextExt(
      &ctxt, [](size_t size) { return gTaken += size, malloc(size); }, nullptr, free);
  Octets input(octets, 9);
  rtxCtxtSetBufPtr(&ctxt, input.data(), input.size());
  int status = l3Decode(&ctxt, type, value);
  rtxFreeContext(&ctxt);
  return status;
}

// Entries behind an inline array's end share one spare entry. Entries that come as an octet and take half a KiB each
// end the decoding before they take more than their input may.
TEST(Mended, EntriesTakeNoMoreMemoryThanTheirInputMay)
{
  struct Inline {
    uint8_t n, elem[3][512];
  } bounded;
  Entries free;
  const L3Row entryRows[] = {uintRow("number", 0)};
  L3Type entry = typeOf("Entry", entryRows, sizeof bounded.elem[0]);
  const L3List array = {kL3WhileRoom, 0, 1, 3, 1, 512, {}, 1, 3, recordRow("elem", 0, entry)};
  const L3List heap = {kL3WhileRoom, 0, 0, 0, 8, 512, {}, 0, 0, recordRow("elem", 0, entry)};
  const L3Row arrayRows[] = {TestRow(nullptr, kL3List, 0, &array)}, heapRows[] = {TestRow(nullptr, kL3List, 0, &heap)};
  EXPECT_EQ(decodeCounted(typeOf("Entries", arrayRows, sizeof bounded, kL3Bare), 1000, &bounded), 0);
  EXPECT_EQ(bounded.elem[2][0], 9);
  EXPECT_LT(gTaken, 16384U);
  for (size_t size : {4, 40, 5000}) {
    int status = decodeCounted(typeOf("Entries", heapRows, sizeof free, kL3Bare), size, &free);
    EXPECT_EQ(status, size == 4 ? 0 : RTX_E_NO_MEMORY);
    EXPECT_LE(gTaken, 16384 + 64 * size);
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
  OutcomeContext ctxt{Setting()};
  ASSERT_EQ(rtxStreamMemoryCreateReader(ctxt, octets.data(), octets.size()), 0);
  L3HeapOctets value = {};
  ASSERT_EQ(l3Decode(ctxt, type, &value), 0);
  EXPECT_EQ(value.numocts, 5000U);
  EXPECT_EQ(value.data[4999], 0x5A);
}

// A container of a message whose type is missing has no alternative, whatever an earlier message left in the record.
TEST(Mended, AContainerWithoutItsTypeIsNotReadByAnOlderType)
{
  const std::pair<const char*, const char*> messages[] = {{"TS24501Msg_RegRequest", "790001007B000100"},
                                                          {"TS24501Msg_ControlPlaneServReq", "007B000100"}};
  for (auto& [name, hex] : messages)
    for (bool slow : {false, true}) {
      const L3TypeEntry& entry = *l3FindType(name);
      Octets record(entry.type->size);
      for (unsigned i = 0; i < entry.type->message->count; ++i)
        if (entry.type->message->options[i].name.get() == std::string("containerType"))
          record[entry.type->message->options[i].offset] = name[11] == 'R' ? 5 : 7; // UE policy, location services
      Bench bench(octetsOfHex(hex), {.slow = slow});
      EXPECT_EQ(entry.decode(bench, record.data()), RTX_E_INVALID_CHOICE) << name;
    }
}

// What is left of an identity cannot be passed over in a stream; the cursor stays within the buffer's octets.
TEST(Mended, IdentitiesDoNotJumpInStreams)
{
  for (const char* name : {"TS24501IE_MobileIdentity", "TS24301IE_EPSMobileIdentity", "TS24008IE_MobileIdentity"}) {
    Octets octets = sampleOf(*l3FindType(name));
    octets.insert(octets.begin(), 5000, 0);
    OutcomeContext ctxt{Setting()};
    ASSERT_EQ(rtxStreamMemoryCreateReader(ctxt, octets.data(), octets.size()), 0);
    for (int i = 0; i < 5000; ++i) rtxSkipBits(ctxt, 8);
    Octets record(l3FindType(name)->type->size);
    EXPECT_EQ(l3FindType(name)->decode(ctxt, record.data()), RTX_E_NOT_SUPPORTED) << name;
    const RtxBuffer& buffer = static_cast<RtxContext*>(ctxt)->buffer;
    EXPECT_LE(buffer.byteIndex, buffer.size) << name;
  }
}

// Digits that fill their array have no end to be found: nothing behind the record is looked at.
TEST(Mended, IdentitiesWithoutAnEndAreRefused)
{
  for (uint32_t tag : {4, 6}) { // IMEI, IMEISV
    const L3Type& type = *l3FindType("TS24501IE_MobileIdentity")->type;
    Octets record(type.size, '1'), room(100);
    memcpy(record.data() + type.rows[1].offset, &tag, sizeof tag);
    Bench bench(room);
    EXPECT_EQ(l3Encode(bench, type, record.data()), RTX_E_CONSTRAINT);
  }
}

// A protected message is signed where it stands, which a file that takes part of it has put out of reach.
TEST(Mended, ProtectedMessagesAreNotSignedInFiles)
{
  const std::pair<const char*, Octets> messages[] = {
      {"TS24501Msg_PDU", {0x7E, 3, 1, 2, 3, 4, 0, 0x7E, 0, 0x44, 3}},
      {"TS24301Msg_PDU", {0x17, 1, 2, 3, 4, 0, 7, 0x44, 3}},
      {"TS24301Msg_PDU", {0xC7, 0x01, 0x02, 0x03}}}; // a service request, whose code covers two octets
  for (const auto& [name, octets] : messages)
    for (int before : {0, 42, 1023}) { // the last in front of the buffer's end
      Bench bench(octets, {.security = true});
      Octets record(l3FindType(name)->type->size);
      ASSERT_EQ(l3FindType(name)->decode(bench, record.data()), RTX_E_BAD_MAC);
      rtxErrReset(bench);
      bench->buffer = {};
      bench->buffer.bitOffset = 8;
      Folder folder;
      std::string path = folder + "/protected.bin";
      ASSERT_EQ(rtxStreamFileCreateWriter(bench, path.c_str()), 0);
      for (int i = 0; i < before; ++i) rtxEncBits(bench, 0, 8);
      EXPECT_EQ(l3FindType(name)->encode(bench, record.data()), RTX_E_NOT_SUPPORTED) << name << " behind " << before;
      EXPECT_LE(bench->buffer.byteIndex, bench->buffer.size);
    }
}

// A growing buffer that could not grow is not written to any more, also where an older error changes the status.
TEST(Mended, RefusedGrowthEndsEncodingBehindAnOlderError)
{
  struct Record {
    L3HeapOctets octets;
    uint8_t number;
  };
  static bool refusing;
  const L3Octets rest = {kL3Rest, 0, 0, 0, 0, 0, {}, 0, 0};
  const L3Row rows[] = {TestRow("octets", kL3Octets, 0, &rest), uintRow("number", offsetof(Record, number))};
  for (bool older : {false, true}) {
    RtxContext ctxt;
    refusing = false;
    rtxInitContextExt(
        &ctxt, [](size_t size) { return refusing ? nullptr : malloc(size); },
        [](void* was, size_t size) { return refusing ? nullptr : realloc(was, size); }, free);
    rtxCtxtSetBufPtr(&ctxt, nullptr, 8);
    if (older) rtxErrSetData(&ctxt, RTX_E_BAD_VALUE, "caller", 1);
    Octets data(100000);
    Record record = {{100000, data.data()}, 1};
    refusing = true;
    EXPECT_EQ(l3Encode(&ctxt, typeOf("Record", rows, sizeof record), &record),
              older ? RTX_E_MULTIPLE : RTX_E_NO_MEMORY);
    EXPECT_EQ(ctxt.buffer.byteIndex, 0U);
    rtxFreeContext(&ctxt);
  }
}

// A text that its length cannot count does not fit; one outside its range breaks a constraint.
TEST(Mended, TextsLongerThanTheirLengthsDoNotFit)
{
  const L3Text own = {kL3OwnLength, 8, 0, 0, 0, {}, 0, 0}, labels = {kL3Rest, 0, 1, 0, 0, {}, 0, 0},
               ranged = {kL3OwnLength, 8, 1, 1, 0, {}, 1, 100};
  const std::pair<const L3Text*, int> texts[] = {
      {&own, RTX_E_TOO_BIG}, {&labels, RTX_E_TOO_BIG}, {&ranged, RTX_E_CONSTRAINT}};
  for (auto& [text, longer] : texts)
    for (size_t length : {99, 256}) {
      const L3Row rows[] = {TestRow("text", kL3Text, 0, text)};
      std::string value(length, 'a');
      value[length / 2] = '.'; // no label alone is too long
      const char* record = value.c_str();
      Bench bench(Octets(300));
      EXPECT_EQ(l3Encode(bench, typeOf("Text", rows, sizeof record), &record), length == 256 ? longer : 0);
    }
}

// Every coder on the way out adds one place to the report, and none a second one for the value that it refuses itself.
TEST(Mended, EachCoderReportsAFailureOnce)
{
  auto places = [](Bench& bench) { return static_cast<RtxErrInfo*>(bench->errInfo.tail->data)->stkx; };
  auto decoded = [&](const char* name, const Octets& octets) {
    Bench bench(octets);
    uint32_t record[4];
    EXPECT_EQ(l3FindType(name)->decode(bench, record), RTX_E_ENUM_VALUE);
    return places(bench);
  };
  auto encoded = [&](const char* name, const Octets& record) {
    Bench bench(Octets(4));
    Octets copy = record;
    EXPECT_LT(l3FindType(name)->encode(bench, copy.data()), 0);
    return places(bench);
  };
  EXPECT_EQ(decoded("TS24007L3_ProtoDiscr", {0xD0}), 1);
  EXPECT_EQ(decoded("TS24007L3_Header", {0x0D, 0}), 2);
  EXPECT_EQ(encoded("TS24007L3_ProtoDiscr", {13, 0, 0, 0}), 1);
  EXPECT_EQ(encoded("TS24007L3_Header", {1, 0, 0, 0, 0, 0, 0, 0, 13, 0, 0, 0, 0, 0, 0, 0}), 2);
  EXPECT_EQ(encoded("TS24007L3_MsgType_MM_CC_SS", {4, 0}), 1);
}

// Each bit of the padding reads as L by itself, wherever in the octet it stands, and is written from L.
TEST(Mended, EightBitsOfPaddingAreEightTimesL)
{
  for (const char* name : {"TS44018IE_LHType", "TS44018Msg_LHType"}) {
    const L3TypeEntry& entry = *l3FindType(name);
    Bench padding({0x2B, 0xD4}), out(Octets(2));
    for (int32_t bit = 0; bit < 16; ++bit) {
      int32_t value = -1;
      EXPECT_EQ(entry.decode(padding, &value), 0);
      EXPECT_EQ(value, bit / 8) << name << " bit " << bit;
      EXPECT_EQ(entry.encode(out, &value), 0);
    }
    EXPECT_EQ(out.octets, padding.octets) << name;
  }
}

// The field of an octet string that is longer than its array covers also what is passed over.
TEST(Mended, TraceCoversOctetsBehindTheArray)
{
  struct Short {
    uint8_t numocts, data[2];
  } value;
  const L3Octets bounded = {kL3OwnLength, 8, 1, 2, 0, 1, {}, 0, 2};
  const L3Row rows[] = {TestRow("short", kL3Octets, 0, &bounded)};
  L3Type type = typeOf("Record", rows, sizeof value);
  Bench bench({4, 1, 2, 3, 4}, {.trace = true});
  EXPECT_EQ(l3Decode(bench, type, &value), 0);
  EXPECT_NE(traceOf(bench).find("<OCTET STRING> 8+32"), std::string::npos) << traceOf(bench);
}

// A size of 32 bits is no room for a number of 40 or 64 on its way to the public writers.
TEST(Mended, WideNumbersAreWrittenWholeWhereASizeHas32Bits)
{
  for (unsigned bits : {33, 40, 64})
    for (bool slow : {false, true}) {
      const L3Row rows[] = {uintRow("wide", 0, bits, 8)};
      L3Type type = typeOf("Number", rows, 8);
      uint64_t value = 0xFEDCBA9876543210 >> (64 - bits), back = 0;
      Bench bench(Octets(8), {.slow = slow});
      EXPECT_EQ(l3Encode(bench, type, &value), 0);
      bench.ctxt.bind(bench.octets.data(), bench.octets.size());
      EXPECT_EQ(l3Decode(bench, type, &back), 0);
      EXPECT_EQ(back, value) << bits;
    }
}

// The fault of a kept element is a caller's text of any length; the element's name has room for some of it.
TEST(Mended, NameOfAKeptElementEndsWithinItsRoom)
{
  OutcomeContext ctxt;
  const std::string fault(3000, 'A');
  const uint8_t octet = 0;
  const L3KeptFacts facts = {nullptr, nullptr, 0, 0x79, 8, kL3KeptBehind, kL3KeptUnreadable, -2, fault.c_str()};
  const L3Kept* kept = l3AddKept(ctxt, facts, &octet, 8);
  ASSERT_NE(kept, nullptr);
  char name[kL3KeptName];
  EXPECT_EQ(l3KeptName(*kept, name), kL3KeptName - 1);
  EXPECT_EQ(strlen(name), kL3KeptName - 1);
}

// A path that is full at an entry of a list is full for the names behind it, too.
TEST(Mended, PathOfAProbeEndsWithinItsRoom)
{
  struct {
    L3Probe probe;
    char behind[64];
  } room = {};
  const std::string deep(sizeof room.probe.path - 3, 'n');
  L3Name type = {"Type", nullptr, 0, 0, 0}, list = {deep.c_str(), &type, 0, 1, 0};
  L3Name entry = {"elem", &list, 12345, 2, 0}, last = {"last", &entry, 0, 1, 0};
  OutcomeContext ctxt;
  L3Call call;
  l3Fresh(call, ctxt);
  call.names = &last;
  call.probe = &room.probe;
  l3NoteProbe(call, RTX_E_END_OF_BUFFER);
  EXPECT_LT(strnlen(room.probe.path, sizeof room.probe.path), sizeof room.probe.path);
  EXPECT_EQ(std::string(room.behind, sizeof room.behind), std::string(sizeof room.behind, '\0'));
}

} // namespace
