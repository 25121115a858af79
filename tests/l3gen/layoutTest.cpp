// What the generator works out from forms.l3: the same text each time, records that C callers rely on, and descriptors
// that the engine walks.
#include <gtest/gtest.h>

#include <chrono>
#include <cstddef>
#include <cstring>

#include "L3Descriptors.h"
#include "generator.h"
#include "velnor3gpp/Forms.h"
#include "velnor3gpp/rtxContext.h"

TEST(Generator, WritesTheSameTextEachTime)
{
  Folder folder;
  std::string files;
  for (auto& entry : fs::directory_iterator(L3_DEFINITIONS))
    if (entry.path().extension() == ".l3") files += " '" + entry.path().string() + "'";
  Outcome first = generate(folder.path / "a", files), second = generate(folder.path / "b", files);
  ASSERT_EQ(first.exit, 0) << first.words;
  ASSERT_EQ(second.exit, 0);
  auto before = contents(folder.path / "a");
  EXPECT_GT(before.size(), 10U);
  EXPECT_EQ(before, contents(folder.path / "b"));
}

// A file whose content would be the same keeps its time, so that nothing is compiled without need.
TEST(Generator, LeavesUnchangedFilesAlone)
{
  Folder folder;
  std::string forms = VELNOR_TEST_DATA "/forms.l3";
  fs::path header = folder.path / "out/include/velnor3gpp/Forms.h";
  ASSERT_EQ(generate(folder.path / "out", "'" + forms + "'").exit, 0);
  auto past = fs::file_time_type::clock::now() - std::chrono::hours(1);
  fs::last_write_time(header, past);
  past = fs::last_write_time(header);
  ASSERT_EQ(generate(folder.path / "out", "'" + forms + "'").exit, 0);
  EXPECT_EQ(fs::last_write_time(header), past);
  std::ofstream(header, std::ios::app) << "\n";
  ASSERT_EQ(generate(folder.path / "out", "'" + forms + "'").exit, 0);
  EXPECT_GT(fs::last_write_time(header), past);
}

TEST(Layout, GroupBitsComeBeforeTheirMembers)
{
  Forms_Bits bits;
  memset(&bits, 0, sizeof bits);
  uint8_t octet;
  auto value = [&] { return memcpy(&octet, &bits.m, 1), octet; };
  bits.m.firstPresent = 1;
  EXPECT_EQ(value(), 0x01);
  bits.m.latePresent = 1;
  EXPECT_EQ(value(), 0x03);
  bits.m.secondPresent = 1;
  bits.m.release5Present = 1;
  EXPECT_EQ(value(), 0x0F);
  bits.m.thirdPresent = 1;
  bits.m.last_onePresent = 1;
  EXPECT_EQ(value(), 0x3F);
  EXPECT_EQ(l3_Forms_Bits.mBits, 6);
  EXPECT_EQ(l3_Forms_Bits.mOctets, 1);
  EXPECT_EQ(offsetof(Forms_Bits, m), 0U);
}

static const L3Row& rowOf(const L3Type& type, const char* name)
{
  for (unsigned i = 0; i < type.rowCount; ++i)
    if (type.rows[i].name && !strcmp(type.rows[i].name, name)) return type.rows[i];
  ADD_FAILURE() << "no row " << name;
  return type.rows[0];
}

TEST(Layout, RowsKnowTheirGroup)
{
  EXPECT_EQ(rowOf(l3_Forms_Bits, "first").groupBit, kL3NoBit);
  EXPECT_EQ(rowOf(l3_Forms_Bits, "second").groupBit, 1);
  const L3Row& inside = rowOf(l3_Forms_Bits, "inside");
  EXPECT_EQ(inside.groupBit, 3);
  EXPECT_EQ(inside.mBit, kL3NoBit);
  EXPECT_TRUE(inside.flags & kL3InRelease);
  const L3Row& last = rowOf(l3_Forms_Bits, "last-one");
  EXPECT_EQ(last.groupBit, kL3NoBit);
  EXPECT_FALSE(last.flags & kL3InRelease);
  // length, first, second, then the group itself
  const L3Row& release = l3_Forms_Bits.rows[3];
  ASSERT_EQ(release.op, kL3Release);
  EXPECT_EQ(release.mBit, 3);
  const L3Release& info = *static_cast<const L3Release*>(release.info);
  EXPECT_EQ(info.release, 5);
  EXPECT_EQ(info.fitBits, 9);
  EXPECT_EQ(info.rows, 2);
}

TEST(Layout, NamesFitC)
{
  Forms_Runs runs = {};
  EXPECT_EQ(runs.for_ + runs.x2nd, 0);
  EXPECT_STREQ(rowOf(l3_Forms_Runs, "for").name, "for");
  EXPECT_STREQ(rowOf(l3_Forms_Runs, "2nd").name, "2nd");
  EXPECT_EQ(Forms_Colour_green_ish, 2);
  EXPECT_EQ(Forms_Colour_delete_, 9);
  EXPECT_EQ(sizeof(Forms_Colour), 4U);
  EXPECT_EQ(sizeof(Forms_Count), 1U);
  EXPECT_EQ(sizeof(Forms_Triple), 3U);
}

TEST(Layout, EnumerationsAreSortedByNameAndByValue)
{
  const char* names[] = {"blue", "delete", "green-ish", "red"};
  const uint16_t rising[] = {0, 3, 2, 1};
  for (int i = 0; i < 4; ++i) {
    EXPECT_STREQ(Forms_Colour_ENUMTAB[i].name, names[i]);
    EXPECT_EQ(Forms_Colour_ENUMTAB[i].namelen, strlen(names[i]));
    EXPECT_EQ(Forms_Colour_ENUMTAB[i].transformedIdx, rising[i]);
  }
  EXPECT_STREQ(Forms_Colour_ToString(9), "delete");
  EXPECT_STREQ(Forms_Colour_ToString(3), "_UNKNOWN_");
}

// How each optional element of a message is found and what of it is skipped out of its turn.
TEST(Layout, IeiTableFollowsFromTheTypes)
{
  const L3Message& message = *l3_Forms_Optional.message;
  struct Expected {
    int value, half;
    L3Skip skip;
    int octets, next, mBit, groupBit;
  } expected[] = {
      {0x11, 0, kL3SkipFixed, 3, 5, 0, kL3NoBit},  {0x22, 0, kL3SkipLength, 0, 0, 1, kL3NoBit},
      {0x9, 1, kL3SkipNothing, 0, 7, 2, kL3NoBit}, {0x33, 0, kL3SkipNothing, 0, 0, 4, 3},
      {0x11, 0, kL3SkipFixed, 3, 0, 5, 3},         {0x44, 0, kL3SkipNothing, 0, 0, 6, 3},
      {0x9, 1, kL3SkipNothing, 0, 0, 7, 3},
  };
  ASSERT_EQ(message.count, std::size(expected));
  for (size_t i = 0; i < std::size(expected); ++i) {
    const L3Iei& iei = message.ieis[i];
    const Expected& e = expected[i];
    EXPECT_EQ(iei.value, e.value) << i;
    EXPECT_EQ(iei.half, e.half) << i;
    EXPECT_EQ(iei.skip, e.skip) << i;
    EXPECT_TRUE(e.skip != kL3SkipFixed || iei.skipOctets == e.octets) << i;
    EXPECT_EQ(iei.nextSame, e.next) << i;
    EXPECT_EQ(message.options[i].mBit, e.mBit) << i;
    EXPECT_EQ(message.options[i].groupBit, e.groupBit) << i;
  }
  EXPECT_EQ(message.halves, 1 << 9);
  EXPECT_EQ(message.byValue[0x11], 1);
  EXPECT_EQ(message.byValue[0x9], 3);
  EXPECT_EQ(message.byValue[0x12], 0);
  EXPECT_EQ(message.tail, 0);
  EXPECT_EQ(l3_Forms_Empty.message->tail, 1);
}

TEST(Layout, ChoicesFindTheirFieldsInRecordsWithin)
{
  const L3Choice& choice = *static_cast<const L3Choice*>(rowOf(l3_Forms_Selected, "what").info);
  ASSERT_EQ(choice.fieldCount, 2);
  EXPECT_EQ(choice.fields[0].offset, offsetof(Forms_Selected, inner.b));
  EXPECT_EQ(choice.fields[0].bits, 1);
  EXPECT_EQ(choice.fields[1].offset, offsetof(Forms_Selected, kind));
  EXPECT_EQ(choice.tagged, 0);
  EXPECT_EQ(choice.unionOffset, offsetof(Forms_Selected, what));
  EXPECT_STREQ(choice.alternatives[2].row.name, "near");
  const L3Cond& cond = *rowOf(l3_Forms_Selected, "extra").cond;
  ASSERT_EQ(cond.count, 3);
  EXPECT_EQ(cond.terms[0].any, cond.terms[1].any);
  EXPECT_NE(cond.terms[1].any, cond.terms[2].any);
  EXPECT_TRUE(cond.terms[2].negate);
}

// A value list with a gap is two entries of one alternative.
TEST(Layout, AlternativesAreNumberedInOrder)
{
  const L3Choice& choice = *static_cast<const L3Choice*>(l3_Forms_Either.rows[0].info);
  std::string text;
  for (unsigned i = 0; i < choice.count; ++i) {
    const L3Alternative& a = choice.alternatives[i];
    text += std::to_string(a.tag) + (a.other ? ":else " : ":" + std::to_string(a.lo) + " ");
  }
  EXPECT_EQ(text, "1:0 2:1 2:3 3:else ");
  EXPECT_EQ(choice.unionOffset, offsetof(Forms_Either, u));
}

TEST(Layout, OnlyTheLastOctetOfAnExtensionGroupEndsIt)
{
  EXPECT_FALSE(rowOf(l3_Forms_Extended, "octet3").flags & kL3ExtLast);
  EXPECT_FALSE(rowOf(l3_Forms_Extended, "octet3a").flags & kL3ExtLast);
  EXPECT_TRUE(rowOf(l3_Forms_Extended, "octets").flags & kL3ExtLast);
  EXPECT_TRUE(rowOf(l3_Forms_Extended, "octets").flags & kL3ExtList);
}

// The setter stores what selects the message, and the record is the message's only element where it is bare.
TEST(Layout, SettersSelectTheirMessage)
{
  Forms_PDU pdu;
  memset(&pdu, 0xEE, sizeof pdu);
  Forms_Cause cause = 4;
  asn1SetTC_Forms_PDU_obj_Cause(nullptr, &pdu, &cause);
  EXPECT_EQ(pdu.discr, 7);
  EXPECT_EQ(pdu.type, 3);
  EXPECT_EQ(pdu.data.t, 1U);
  EXPECT_EQ(*pdu.data.u.obj_Cause, 4);
  asn1SetTC_Forms_PDU_obj_Empty(nullptr, &pdu);
  EXPECT_EQ(pdu.discr, 8);
  EXPECT_EQ(pdu.data.t, 3U);
}

// The generated tables drive the engine: a sample of each record decodes to the octets it came from.
template <typename T>
static void roundTrip(T* (*sample)(RtxContext*), int (*encode)(RtxContext*, T*), int (*decode)(RtxContext*, T*))
{
  uint8_t octets[256] = {}, again[256] = {}; // padding leaves the bits of the buffer
  RtxContext context;
  ASSERT_EQ(rtxInitContext(&context), 0);
  ASSERT_EQ(rtxCtxtSetBufPtr(&context, octets, sizeof octets), 0);
  ASSERT_EQ(encode(&context, sample(&context)), 0);
  size_t size = context.buffer.byteIndex + (context.buffer.bitOffset != 8);
  T value;
  memset(&value, 0x55, sizeof value);
  ASSERT_EQ(rtxCtxtSetBufPtr(&context, octets, size), 0);
  ASSERT_EQ(decode(&context, &value), 0);
  ASSERT_EQ(rtxCtxtSetBufPtr(&context, again, sizeof again), 0);
  ASSERT_EQ(encode(&context, &value), 0);
  EXPECT_EQ(std::string(octets, octets + size), std::string(again, again + size));
  rtxFreeContext(&context);
}

TEST(Layout, SamplesOfGeneratedTypesRoundTrip)
{
  roundTrip<Forms_Bits>(asn1Test_Forms_Bits, NASEnc_Forms_Bits, NASDec_Forms_Bits);
  roundTrip<Forms_Runs>(asn1Test_Forms_Runs, NASEnc_Forms_Runs, NASDec_Forms_Runs);
  roundTrip<Forms_Extended>(asn1Test_Forms_Extended, NASEnc_Forms_Extended, NASDec_Forms_Extended);
  roundTrip<Forms_Relative>(asn1Test_Forms_Relative, NASEnc_Forms_Relative, NASDec_Forms_Relative);
  roundTrip<Forms_Tree>(asn1Test_Forms_Tree, NASEnc_Forms_Tree, NASDec_Forms_Tree);
  roundTrip<Forms_Counted>(asn1Test_Forms_Counted, NASEnc_Forms_Counted, NASDec_Forms_Counted);
  roundTrip<Forms_Rest_Octets>(asn1Test_Forms_Rest_Octets, NASEnc_Forms_Rest_Octets, NASDec_Forms_Rest_Octets);
  roundTrip<Forms_Optional>(asn1Test_Forms_Optional, NASEnc_Forms_Optional, NASDec_Forms_Optional);
}
