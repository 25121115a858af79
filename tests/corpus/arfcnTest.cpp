// Real frequency lists: the channels of each element are those that independent decoders found.
#include <gtest/gtest.h>

#include <algorithm>

#include "tests/messages.h"
#include "velnor3gpp/TS44018Misc.h"
#include "velnor3gpp/rtxStatus.h"

namespace {

using Channels = std::vector<uint16_t>;

struct Found {
  int status = 0;
  Channels channels = {}; // sorted
};

template <typename Element>
Found channelsOf(Octets octets, int (*decode)(RtxContext*, Element*),
                 int (*convert)(RtxContext*, const Element*, uint16_t**, uint16_t*))
{
  OutcomeContext ctxt;
  ctxt.bind(octets.data(), octets.size());
  Element element;
  uint16_t *arfcns = nullptr, count = 0;
  int status = decode(ctxt, &element);
  if (status >= 0) status = convert(ctxt, &element, &arfcns, &count);
  if (status < 0) return {status};
  Found found{0, Channels(arfcns, arfcns + count)};
  std::sort(found.channels.begin(), found.channels.end());
  return found;
}

Found channelsOf(const std::string& element, const Octets& octets)
{
#define CHANNELS_OF(NAME)                                                                                              \
  if (element == #NAME) return channelsOf(octets, NASDec_TS44018IE_##NAME, TS44018IE_##NAME##_decodeARFCN)
  CHANNELS_OF(Cell_Channel_Description);
  CHANNELS_OF(Extended_Measurement_Frequency_List);
  CHANNELS_OF(Neighbour_Cell_Description);
  CHANNELS_OF(Neighbour_Cell_Description_2);
  CHANNELS_OF(Frequency_List);
  CHANNELS_OF(Frequency_Short_List);
  CHANNELS_OF(Frequency_Short_List_2);
#undef CHANNELS_OF
  return {RTX_E_NOT_SUPPORTED};
}

TEST(FrequencyLists, HaveTheChannelsOfOtherDecoders)
{
  auto rows = readTable(VELNOR_TEST_DATA "/data/arfcn.tsv", 7);
  EXPECT_GE(rows.size(), 12U);
  for (auto& row : rows) {
    std::istringstream in(row[5]);
    Found found = channelsOf(row[2], octetsOfHex(row[4]));
    EXPECT_EQ(found.status, 0) << row[0];
    EXPECT_EQ(found.channels, Channels(std::istream_iterator<uint16_t>(in), {})) << row[0];
  }
}

// The forms that no row has: the lists of other lengths, whose values have fewer bits. Channels 1, 2 and 3 in range
// 1024 (005FF00800, 35 bits) behind the format 10, two bits of the element's own and 0; zeros fill them up.
TEST(FrequencyLists, OfEachElementAreRead)
{
  for (auto [element, octets] : {std::pair{"Extended_Measurement_Frequency_List", "8002FF80400000000000000000000000"},
                                 {"Neighbour_Cell_Description_2", "8002FF80400000000000000000000000"},
                                 {"Frequency_List", "058002FF8040"},
                                 {"Frequency_Short_List", "8002FF804000000000"},
                                 {"Frequency_Short_List_2", "8002FF80400000"}}) {
    Found found = channelsOf(element, octetsOfHex(octets));
    EXPECT_EQ(found.status, 0) << element;
    EXPECT_EQ(found.channels, (Channels{1, 2, 3})) << element;
  }
}

TEST(FrequencyLists, WithoutAnAlternativeAreRefused)
{
  OutcomeContext ctxt;
  TS44018IE_Cell_Channel_Description element = {};
  uint16_t *arfcns = nullptr, count = 0;
  for (uint32_t t : {0U, 2U, 3U}) {
    element.t = t; // 2 has no alternative within
    EXPECT_EQ(TS44018IE_Cell_Channel_Description_decodeARFCN(ctxt, &element, &arfcns, &count), RTX_E_BAD_VALUE) << t;
    rtxErrReset(ctxt);
  }
  EXPECT_EQ(TS44018IE_Cell_Channel_Description_decodeARFCN(ctxt, nullptr, &arfcns, &count), RTX_E_BAD_PARAMETER);
}

TEST(FrequencyLists, Print)
{
  const uint16_t arfcns[] = {1, 20, 1023};
  testing::internal::CaptureStdout();
  TS44018IE_printArfcns(arfcns, 3);
  TS44018IE_printArfcns(arfcns, 1);
  TS44018IE_printArfcns(nullptr, 0);
  fflush(stdout);
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "[1,20,1023][1][]");
}

} // namespace
