// Guards: random values keep their bounds, odd bounds do no harm, and a seed repeats the sequence.
#include <gtest/gtest.h>

#include <climits>
#include <cstring>
#include <set>

#include "tests/bench.h"
#include "velnor3gpp/rtxRand.h"

namespace {

constexpr int kDraws = 2000;

TEST(Random, NumbersKeepTheirBoundsAndReachThem)
{
  rtxRandInit(1);
  std::set<int64_t> seen[4];
  for (int i = 0; i < kDraws; i++) {
    seen[0].insert(rtxRandInt32(nullptr, -3, 2));
    seen[1].insert(int64_t{rtxRandUInt32(nullptr, 7, 12)} - 10);
    seen[2].insert(rtxRandInt64(nullptr, -3, 2));
    seen[3].insert(int64_t(rtxRandSize(nullptr, 7, 12)) - 10);
    double real = rtxRandFloat(nullptr, -2.0, 3.0);
    ASSERT_TRUE(real >= -2.0 && real < 3.0);
    EXPECT_NE(rtxRandUInt32(nullptr, 0, UINT_MAX), UINT_MAX);
    EXPECT_EQ(rtxRandInt32(nullptr, INT_MIN, INT_MIN + 1), INT_MIN);
    rtxRandInt64(nullptr, INT64_MIN, INT64_MAX); // for the sanitizers
  }
  for (const auto& values : seen) EXPECT_EQ(values, (std::set<int64_t>{-3, -2, -1, 0, 1, 2}));
  for (int high : {5, 4}) EXPECT_TRUE(rtxRandInt32(nullptr, 5, high) == 5 && rtxRandUInt32(nullptr, 5, 4) == 5);
  EXPECT_EQ(rtxRandInt64(nullptr, INT64_MIN, INT64_MIN), INT64_MIN);
  uint64_t repeated[2];
  for (uint64_t& value : repeated) rtxRandInit(42), value = rtxRandUInt64(nullptr, 0, UINT64_MAX);
  EXPECT_EQ(repeated[0], repeated[1]);
}

TEST(Random, StringsKeepLengthAndAlphabet)
{
  Bench ctxt;
  rtxRandInit(3);
  for (int i = 0; i < 200; i++) {
    const char* text = rtxRandString(&ctxt, 2, 5, "xy");
    ASSERT_TRUE(text && strlen(text) >= 2 && strlen(text) <= 5);
    EXPECT_EQ(strspn(text, "xy"), strlen(text));
    for (const char* c = rtxRandString(&ctxt, 5, 5, ""); *c; c++) EXPECT_TRUE(isalnum(*c));
    for (const char* c = rtxRandUnicodeString(&ctxt, 5, 5, nullptr); *c; c++) {
      uint8_t octet = uint8_t(*c);
      EXPECT_TRUE((octet >= 32 && octet <= 126) || octet >= 161) << int(octet);
    }
  }
  EXPECT_EQ(rtxRandString(&ctxt, 0, 0, nullptr), nullptr);
  EXPECT_EQ(rtxRandString(&ctxt, 3, 2, nullptr), nullptr);
  RtxDynOctStr value;
  ASSERT_EQ(rtxRandOctetString(&ctxt, &value, 3, 9), 0);
  EXPECT_TRUE(value.data && value.numocts >= 3 && value.numocts <= 9);
  ASSERT_EQ(rtxRandOctetString(&ctxt, &value, 9, 3), 0);
  EXPECT_TRUE(!value.data && value.numocts == 0);
  if (SIZE_MAX > UINT32_MAX) EXPECT_EQ(rtxRandOctetString(&ctxt, &value, 0, size_t{UINT32_MAX} + 1), -1);
  EXPECT_EQ(rtxRandOctetString(&ctxt, nullptr, 0, 1), 0);
}

TEST(Random, DatesHaveTheirOddFebruary)
{
  rtxRandInit(4);
  std::set<int> lastDays[2]; // of February in other years and in the leap year
  for (int i = 0; i < 20 * kDraws; i++) {
    RtxDateTime date;
    rtxRandDateTime(nullptr, &date, 2020, 2023);
    ASSERT_TRUE(date.year >= 2020 && date.year <= 2023 && date.month >= 1 && date.month <= 12 && date.day >= 1 &&
                date.day <= 31 && date.hour < 24 && date.minute < 60 && date.second < 60 && date.fraction < 1000 &&
                date.zoneMinutes >= -840 && date.zoneMinutes <= 840);
    if (date.month == 2 && date.day >= 28) lastDays[date.year == 2020].insert(date.day);
  }
  EXPECT_EQ(lastDays[0], (std::set<int>{28, 29}));
  EXPECT_EQ(lastDays[1], (std::set<int>{28}));
  rtxRandDateTime(nullptr, nullptr, 1, 2);
}

} // namespace
