// Samples where a plain filling of all elements would not encode: lengths too short or too long, elements that want
// different values of one field, lists that padding would prolong.
#include <gtest/gtest.h>

#include <cstddef>

#include "tests/descriptors.h"
#include "tests/family/laws.h"

namespace {

void checkAll(const L3Type& type)
{
  SCOPED_TRACE(type.fullName);
  Subject subject = subjectOf(type);
  checkSampleRepeats(subject);
  checkRoundTrip(subject);
  checkTruncations(subject);
  checkAllocationFailures(subject);
  checkInitialised(subject);
}

std::string sampleText(const L3Type& type)
{
  Octets octets = sampleOctets(subjectOf(type));
  std::string text;
  for (uint8_t octet : octets) {
    char pair[3];
    snprintf(pair, sizeof pair, "%02X", octet);
    text += pair;
  }
  return text;
}

struct Strings {
  uint8_t m, length;
  uint8_t first[6], second[6], third[6];
  struct {
    uint8_t numocts, data[9];
  } rest;
};
const L3Octets kSix = {kL3Fixed, 0, 0, 0, 6, 0, {}, 0, 0};
const L3Octets kRest = {kL3Rest, 0, 1, 9, 0, 1, {}, 0, 9};

TestRow lengthRow(const L3Length& info)
{
  return TestRow("length", kL3Length, offsetof(Strings, length), &info).sized(8, 1);
}

// A length of 4 bits holds two of the three strings.
TEST(SampleValues, WhatALengthCannotHoldStaysAbsent)
{
  const L3Length length = {4, 8, 0, 0, 1, 1, 0, 0};
  const L3Row rows[] = {uintRow("spare", offsetof(Strings, rest), 4), lengthRow(length),
                        TestRow("first", kL3Octets, offsetof(Strings, first), &kSix).there(kL3Room, 0),
                        TestRow("second", kL3Octets, offsetof(Strings, second), &kSix).there(kL3Room, 1),
                        TestRow("third", kL3Octets, offsetof(Strings, third), &kSix).there(kL3Room, 2)};
  L3Type type = presenceTypeOf("FourBits", rows, sizeof(Strings), 1);
  checkAll(type);
  EXPECT_EQ(sampleText(type).size(), 2 * 13U);
}

// An element of at least 5 octets draws out its open string, here inside another record.
TEST(SampleValues, LeastLengthDrawsOut)
{
  const L3Length length = {8, 8, 1, 0, 1, 0, 5, 7};
  const L3Row tailRows[] = {uintRow("number", 0), TestRow("rest", kL3Octets, 1, &kRest)};
  const L3Type tail = typeOf("Tail", tailRows, 11);
  const L3Row rows[] = {lengthRow(length), recordRow("tail", offsetof(Strings, first), tail)};
  L3Type type = typeOf("AtLeastFive", rows, sizeof(Strings));
  checkAll(type);
  EXPECT_EQ(sampleText(type), "050121436587");
}

struct Lists {
  uint8_t length, count;
  struct {
    uint8_t n, elem[8];
  } halves;
  struct {
    uint64_t n;
    uint16_t* elem;
  } pairs;
};

// Entries of 4 bits behind 4 bits fill the octet; a count that is one less than the entries obeys both its ranges.
TEST(SampleValues, ListsEndWhereTheyDo)
{
  const L3Length length = {8, 8, 0, 0, 1, 0, 0, 0};
  const L3List halves = {kL3WhileRoom, 0, 0, 1, 8, 1, 1, {}, 2, 8, uintRow("elem", 0, 4)};
  const L3List pairs = {kL3Times, 0, 1, 1, 0, 8, 2, {offsetof(Lists, count), 1, 4}, 3, 9, uintRow("elem", 0, 16, 2)};
  const L3Row rows[] = {TestRow("length", kL3Length, 0, &length).sized(8, 1),
                        uintRow("count", offsetof(Lists, count), 4).in(0, 5),
                        uintRow("spare", offsetof(Lists, halves) + 8, 4),
                        TestRow("pairs", kL3List, offsetof(Lists, pairs), &pairs),
                        uintRow("spare2", offsetof(Lists, halves) + 7, 4),
                        TestRow("halves", kL3List, offsetof(Lists, halves), &halves)};
  L3Type type = typeOf("Lists", rows, sizeof(Lists));
  checkAll(type);
  EXPECT_EQ(sampleText(type), "09"
                              "20"
                              "000100010001"
                              "01"
                              "11");
}

struct Tangle {
  uint8_t m, selector, flag, wide, narrow, number;
  union {
    uint8_t octets[2];
    uint16_t number;
  } u;
};
const L3Field kSelector = {offsetof(Tangle, selector), 1, 4};
const L3Field kFlag = {offsetof(Tangle, flag), 1, 4};

// The choice comes first and settles its selectors; what wants another value stays away, what agrees is there.
TEST(SampleValues, TheFirstToAskDecidesAField)
{
  const L3Octets two = {kL3Fixed, 0, 0, 0, 2, 0, {}, 0, 0};
  const L3Field fields[] = {kSelector, kFlag};
  const L3Alternative alternatives[] = {
      alternative(0x10, 0x1F, 1, TestRow("none", kL3Nothing, 0)),
      alternative(0x32, 0x33, 2, TestRow("octets", kL3Octets, offsetof(Tangle, u), &two)),
      alternative(0x40, 0xFF, 3, uintRow("number", offsetof(Tangle, u), 16, 2))};
  const L3Choice choice = {kL3SelectFields, 0, 0, 2, 3, 0, offsetof(Tangle, u), 2, fields, alternatives};
  const L3Term other[] = {{kFlag, 3, 9, 0, 0}};
  const L3Term same[] = {{kSelector, 3, 3, 1, 0}, {kFlag, 2, 2, 0, 0}}; // alternatives of each other
  const L3Cond ifOther = {other, 1}, whenSame = {same, 2};
  const L3Row rows[] = {uintRow("selector", offsetof(Tangle, selector), 4),
                        uintRow("flag", offsetof(Tangle, flag), 4),
                        TestRow("u", kL3Choice, 0, &choice),
                        uintRow("wide", offsetof(Tangle, wide)).there(kL3If, 0).on(ifOther),
                        uintRow("narrow", offsetof(Tangle, narrow)).there(kL3WhenCond).on(whenSame),
                        uintRow("number", offsetof(Tangle, number)).there(kL3OptBit, 1)};
  L3Type type = presenceTypeOf("Tangle", rows, sizeof(Tangle), 1);
  checkAll(type);
  // Selectors 3 and 2, two octets, no "wide", "narrow", a leading 1 bit and "number".
  EXPECT_EQ(sampleText(type), "32"
                              "2143"
                              "01"
                              "8080");
}

struct Ahead {
  uint32_t t;
  union {
    uint8_t plain;
    uint8_t marked[2];
  } u;
};

// An alternative that is told by its own first bits gets them: here 10 under the mask of the two top bits.
TEST(SampleValues, BitsReadAheadAreSet)
{
  const L3Row markedRows[] = {uintRow("spare", 0, 1), uintRow("rest", 1, 7)};
  const L3Type marked = typeOf("Marked", markedRows, 2);
  const L3Alternative alternatives[] = {alternative(0x80, 0x80, 1, recordRow("marked", offsetof(Ahead, u), marked)),
                                        alternative(0, 0, 2, uintRow("plain", offsetof(Ahead, u)))};
  const L3Choice choice = {kL3SelectPeek, 8, 1, 0, 2, 0xC0, offsetof(Ahead, u), 2, nullptr, alternatives};
  const L3Row rows[] = {TestRow(nullptr, kL3Choice, 0, &choice)};
  L3Type type = typeOf("Ahead", rows, sizeof(Ahead), kL3IsChoice);
  checkAll(type);
  EXPECT_EQ(sampleText(type), "81");
}

struct Form {
  uint8_t m, discriminator;
  union {
    uint8_t session, mobility;
  } u;
  uint8_t msgType;
  uint32_t t;
  void* body;
};

struct Message {
  uint8_t m, number;
  struct {
    uint32_t numocts;
    const uint8_t* data;
  } large, open;
};

// The message decides the header in front of it; optional elements that the length in front cannot hold are absent.
TEST(SampleValues, FormInsideALength)
{
  const L3Octets large = {kL3OwnLength, 8, 1, 0, 0, 0, {}, 200, 255};
  const L3Row options[] = {TestRow("large", kL3Octets, offsetof(Message, large), &large).there(kL3Iei, 0),
                           TestRow("open", kL3Octets, offsetof(Message, open), &large).there(kL3Iei, 1)};
  const L3Iei ieis[] = {{0x21, 0, kL3SkipLength, 0, 0}, {0x22, 0, kL3SkipLength, 0, 0}};
  uint8_t byValue[256] = {};
  byValue[0x21] = 1;
  byValue[0x22] = 2;
  const L3Message message = {options, ieis, byValue, 2, 0, 0, 0};
  const L3Row bodyRows[] = {uintRow("number", offsetof(Message, number))};
  L3Type body = presenceTypeOf("Message", bodyRows, sizeof(Message), 1);
  body.message = &message;
  const L3BodyRow messages[] = {{7, 1, 1, 1, "None", "obj_None", "u.obj_None", nullptr},
                                {9, 2, 2, 1, "Message", "obj_Message", "u.obj_Message", &body}};
  const L3Field discriminator = {offsetof(Form, discriminator), 1, 8};
  const L3Body data = {
      discriminator, {offsetof(Form, msgType), 1, 8}, kL3NoLimit, offsetof(Form, body), 2, messages, nullptr, nullptr};
  const L3Alternative headers[] = {alternative(7, 7, 1, uintRow("session", offsetof(Form, u))),
                                   alternative(9, 9, 2, uintRow("spare", offsetof(Form, u)))};
  const L3Choice header = {kL3SelectFields, 0, 0, 1, 2, 0, offsetof(Form, u), 1, &discriminator, headers};
  const L3Row formRows[] = {uintRow("protoDiscr", offsetof(Form, discriminator)),
                            TestRow("hdrData", kL3Choice, 0, &header), uintRow("msgType", offsetof(Form, msgType)),
                            TestRow("data", kL3Body, offsetof(Form, t), &data)};
  const L3Type form = typeOf("Form", formRows, sizeof(Form), kL3IsPdu);
  const L3Length length = {16, 8, 0, 0, 0, 0, 0, 0};
  const L3Row rows[] = {TestRow("length", kL3Length, 0, &length), recordRow("form", 0, form)};
  checkAll(typeOf("Container", rows, sizeof(Form)));
  std::string text = sampleText(typeOf("Container", rows, sizeof(Form)));
  EXPECT_EQ(text.substr(0, 16), "00CE090002"
                                "0121C8")
      << text;
  EXPECT_EQ(text.size(), 2 * (2 + 0xCEU));
}

} // namespace
