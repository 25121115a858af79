// Promises: no string function writes past its target, and what does not fit is told or left out whole.
#include <gtest/gtest.h>

#include "bench.h"
#include "velnor3gpp/rtxStatus.h"
#include "velnor3gpp/rtxStrings.h"

namespace {

TEST(Strings, WhatDoesNotFitIsToldOrLeftOut)
{
  char text[8] = "old";
  EXPECT_EQ(text, rtxStrcpy(text, 5, "abcd"));
  EXPECT_EQ(nullptr, rtxStrcpy(text, 4, "abcd"));
  EXPECT_STREQ("", text);
  EXPECT_EQ(nullptr, rtxStrcpy(text, 5, nullptr));
  EXPECT_STREQ("ab", rtxStrncpy(text, 3, "abcd", 2));
  EXPECT_EQ(nullptr, rtxStrncpy(text, 3, "abcd", 3));
  EXPECT_STREQ("ab", rtxStrcat(text, 3, "ab"));
  EXPECT_EQ(nullptr, rtxStrcat(text, 3, "c"));
  EXPECT_STREQ("ab", text);
  EXPECT_STREQ("ab", rtxStrJoin(text, 8, "ab", "123456", "c", nullptr, nullptr)) << "no later one fills the gap";
  EXPECT_STREQ("1234567", rtxStrJoin(text, 8, "1234567", "", "8", "9", "0"));
  Bench bench;
  EXPECT_STREQ("abcde", rtxStrDynJoin(&bench, "a", "b", "c", "d", "e"));
  EXPECT_EQ(nullptr, rtxStrDynJoin(&bench, nullptr, "b", nullptr, nullptr, nullptr));
  EXPECT_EQ(nullptr, rtxStrdup(&bench, nullptr));
  EXPECT_STREQ("\xC3\xA9", rtxUTF8Strdup(&bench, "\xC3\xA9"));
}

TEST(Strings, DigitsAreAlignedToTheRight)
{
  char text[21];
  EXPECT_EQ(10, rtxUIntToCharStr(4294967295U, text, 11, 0));
  EXPECT_STREQ("4294967295", text);
  EXPECT_EQ(RTX_E_ENCODE_OVERFLOW, rtxUIntToCharStr(4294967295U, text, 10, 0));
  EXPECT_EQ(4, rtxUIntToCharStr(7, text, 5, '0'));
  EXPECT_EQ(4, rtxSizeToCharStr(7, text, 5, ' '));
  EXPECT_STREQ("   7", text);
  EXPECT_EQ(20, rtxUInt64ToCharStr(UINT64_MAX, text, sizeof text, 0));
  EXPECT_STREQ("18446744073709551615", text);
  EXPECT_EQ(RTX_E_BAD_PARAMETER, rtxUIntToCharStr(1, text, 1, 0));
}

TEST(Strings, WideCharactersAreCutWholeAndOctetsHaveNoSign)
{
  const uint16_t wide[] = {'a', 0x20AC, 0xD800, 'b', 0xDC00, 0};
  char text[9];
  EXPECT_STREQ("a\xE2\x82\xAC?b?", rtxUCSToCStr(wide, text, sizeof text));
  EXPECT_STREQ("a", rtxUCSToCStr(wide, text, 4));
  EXPECT_LT(rtxUTF8Strncmp("a", "\xC3", 5), 0);
  EXPECT_EQ(0, rtxUTF8Strncmp("abX", "abY", 2));
  EXPECT_LT(rtxUTF8Strncmp(nullptr, "a", 5), 0);
  EXPECT_EQ(3U, rtxUTF8LenBytes("\xE2\x82\xAC"));
}

} // namespace
