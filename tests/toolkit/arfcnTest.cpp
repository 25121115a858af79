// Guards: sets of channels come back from every format that can hold them, in the octets that the standard's tree has;
// what no format holds is refused, and so is every value that no encoder makes. Each line of arfcn.txt is a call.
#include <algorithm>
#include <numeric>

#include "tests/calls.h"
#include "velnor3gpp/rtx3GPPArfcn.h"

namespace {

using Channels = std::vector<uint16_t>;

Channels channelsOf(const std::string& text)
{
  std::istringstream in(text);
  return {std::istream_iterator<uint16_t>(in), {}};
}

std::string textOf(const Channels& channels)
{
  std::string text;
  for (unsigned channel : channels) text += (text.empty() ? "" : " ") + std::to_string(channel);
  return text;
}

struct Value {
  int status = 0;
  Octets octets = {};
  uint16_t bits = 0;
};

// Into a buffer of the caller's of so many octets; 0 asks for one of the context's.
Value encode(RtxContext* pctxt, uint8_t format, const Channels& channels, size_t size, uint16_t range, uint16_t origin)
{
  Octets buffer(size);
  uint8_t* pair[] = {size ? buffer.data() : nullptr, size > 1 ? buffer.data() + 1 : nullptr};
  Value value;
  auto count = static_cast<uint16_t>(channels.size());
  value.bits = 124;
  value.status = rtx3GPPEncARFCN(pctxt, channels.data(), count, format, range, origin, pair, size, &value.bits);
  if (value.status >= 0) value.octets.assign(pair[0], pair[0] + (value.bits + 7) / 8);
  return value;
}

Value encode(RtxContext* pctxt, uint8_t format, const Channels& channels, size_t size = 0)
{
  uint16_t range = 0, origin = 0xFFFF;
  rtx3GPPGetARFCNRange(channels.data(), static_cast<uint16_t>(channels.size()), &origin, &range);
  return encode(pctxt, format, channels, size, range, origin);
}

std::pair<int, Channels> decode(RtxContext* pctxt, uint8_t format, const Octets& octets, uint16_t bits)
{
  uint16_t* arfcns = nullptr;
  uint16_t count = 0;
  int status = rtx3GPPDecARFCN(pctxt, format, octets.data(), bits, &arfcns, &count);
  return {status, status < 0 ? Channels() : Channels(arfcns, arfcns + count)};
}

std::string tell(const Value& value)
{
  if (value.status < 0) return std::to_string(value.status);
  return hexText(value.octets) + " " + std::to_string(value.bits);
}

// What the lines call.
std::string encoded(RtxContext* pctxt, uint8_t format, const char* channels)
{
  return tell(encode(pctxt, format, channelsOf(channels)));
}
std::string encodedInto(RtxContext* pctxt, size_t size, uint8_t format, const char* channels)
{
  return tell(encode(pctxt, format, channelsOf(channels), size));
}
std::string encodedAs(RtxContext* pctxt, uint16_t range, uint16_t origin, uint8_t format, const char* channels)
{
  return tell(encode(pctxt, format, channelsOf(channels), 0, range, origin));
}
std::string decoded(RtxContext* pctxt, uint8_t format, Octets octets, uint16_t bits)
{
  auto [status, channels] = decode(pctxt, format, octets, bits);
  return status < 0 ? std::to_string(status) : textOf(channels);
}
std::string rangeOf(RtxContext*, const char* channels)
{
  uint16_t range = 0, origin = 7777;
  Channels list = channelsOf(channels);
  rtx3GPPGetARFCNRange(list.data(), static_cast<uint16_t>(list.size()), &origin, &range);
  return std::to_string(origin) + " " + std::to_string(range);
}
std::string inTree(RtxContext*, uint32_t index, uint32_t range, const char* values)
{
  std::istringstream in(values);
  std::vector<uint32_t> tree{0};
  std::copy(std::istream_iterator<uint32_t>(in), {}, std::back_inserter(tree));
  uint16_t channel = 7777;
  int status = rtx3GPPFromRangeFormat(tree.data(), index, range, &channel);
  return std::to_string(status < 0 ? status : channel);
}

// On one line.
std::string failure(RtxContext* pctxt)
{
  std::string words = calls::failure(pctxt);
  std::replace(words.begin(), words.end(), '\n', '/');
  return words;
}

TEST(ChannelNumbers, CallsGiveWhatTheirLinesSay)
{
  calls::check("arfcn.txt", {CALL(encoded), CALL(encodedInto), CALL(encodedAs), CALL(decoded), CALL(rangeOf),
                             CALL(inTree), CALL(failure)});
}

// The sizes of a format's range, and whether a set fits: format 0 has channels 1 to 124 alone, and format 1 not 0
// alone.
bool fits(unsigned format, const Channels& channels, unsigned range)
{
  static constexpr unsigned kRanges[] = {0, 1024, 512, 256, 128, 1024};
  if (format) return range <= kRanges[format] && !(format == 1 && channels == Channels{0});
  return std::all_of(channels.begin(), channels.end(), [](unsigned channel) { return channel - 1 < 124; });
}

// Channels in a window of the range, which may run over from 1023 to 0. A tree of range 1024 is read up to 255 values.
Channels drawSet(std::mt19937& random)
{
  static constexpr unsigned kWindows[] = {1, 5, 128, 256, 512, 1024};
  unsigned window = kWindows[random() % 6], low = random() % 4 ? random() % 1024 : 0;
  Channels all(window);
  for (unsigned i = 0; i < window; i++) all[i] = static_cast<uint16_t>((low + i) % 1024);
  std::shuffle(all.begin(), all.end(), random);
  all.resize(1 + random() % std::min(window, random() % 2 ? 20U : 250U));
  return all;
}

TEST(ChannelNumbers, SetsComeBackFromEveryFormatThatFits)
{
  std::mt19937 random(44018);
  unsigned seen[6] = {};
  for (unsigned i = 0; i < 4000; i++) {
    Channels channels = drawSet(random), sorted = channels;
    std::sort(sorted.begin(), sorted.end());
    uint16_t range = 0, origin = 0;
    rtx3GPPGetARFCNRange(channels.data(), static_cast<uint16_t>(channels.size()), &origin, &range);
    for (uint8_t format = 0; format <= 5; format++) {
      Bench bench;
      Value value = encode(&bench, format, channels, i % 2 ? 320 : 0);
      ASSERT_EQ(value.status >= 0, fits(format, channels, range)) << unsigned(format) << ": " << textOf(channels);
      if (value.status < 0) continue;
      auto [status, back] = decode(&bench, format, value.octets, value.bits);
      std::sort(back.begin(), back.end());
      ASSERT_EQ(back, sorted) << unsigned(format) << " " << status;
      seen[format]++;
    }
  }
  for (unsigned format = 0; format <= 5; format++) EXPECT_GT(seen[format], 200U) << format;
}

// Decoding works out all values at once, and each can be worked out alone.
TEST(ChannelNumbers, EachValueOfATreeGivesItsChannel)
{
  for (uint8_t format = 1; format <= 4; format++) {
    std::mt19937 random(format);
    const uint32_t range = 2048U >> format, levels = 11U - format, lead = format == 1 ? 1 : 10;
    std::vector<uint32_t> tree{0};
    Bits bits;
    bits.add(0, lead);
    for (unsigned level = 0; level < 5; level++)
      for (unsigned k = 0; k < 1U << level; k++) {
        tree.push_back(1 + random() % ((1U << (levels - level)) - 1));
        bits.add(tree.back(), levels - level);
      }
    Bench bench;
    auto [status, channels] = decode(&bench, format, bits.octets(), static_cast<uint16_t>(bits.size()));
    ASSERT_EQ(channels.size(), tree.size() - (format == 1)) << status;
    for (uint32_t index = 1; index < tree.size(); index++) {
      uint16_t channel = 0;
      EXPECT_EQ(rtx3GPPFromRangeFormat(tree.data(), index, range, &channel), 0);
      EXPECT_EQ(channel, channels[index - 1]) << unsigned(format) << " " << index;
    }
  }
}

// Whatever stands in an element: a status or channels, and nothing read behind the value's bits.
TEST(ChannelNumbers, NoValueReadsBeyondItsBits)
{
  std::mt19937 random(17);
  for (unsigned i = 0; i < 20000; i++) {
    auto bits = static_cast<uint16_t>(random() % (i % 16 ? 200 : 2200));
    Octets octets((bits + 7U) / 8); // of exact size, for the sanitizers
    for (uint8_t& octet : octets) octet = static_cast<uint8_t>(random() | (i % 3 ? random() : 0));
    Bench bench;
    auto format = static_cast<uint8_t>(random() % 7);
    auto [status, channels] = decode(&bench, format, octets, bits);
    ASSERT_TRUE(status == 0 || status == RTX_E_BAD_VALUE) << status;
    ASSERT_TRUE(std::all_of(channels.begin(), channels.end(), [](unsigned channel) { return channel < 1024; }));
  }
}

// Without a buffer the size says nothing: what lies behind the octets that the context makes is somebody else's.
TEST(ChannelNumbers, SizeWithoutABufferClearsNothingBehindTheOctets)
{
  constexpr size_t kNeed = 16, kGuard = 256; // range 112
  Bench bench;
  RtxContext* pctxt = &bench;
  void* place = rtxMemHeapAlloc(&pctxt->pMemHeap, kNeed);
  auto* guard = static_cast<uint8_t*>(rtxMemHeapAlloc(&pctxt->pMemHeap, kGuard));
  memset(guard, 0xAA, kGuard);
  rtxMemHeapFreePtr(&pctxt->pMemHeap, place); // so that the octets come to lie in front of the guard
  uint8_t* pair[] = {nullptr, nullptr};
  uint16_t channel = 100, bits = 0;
  ASSERT_EQ(rtx3GPPEncARFCN(pctxt, &channel, 1, RTX_3GPP_ARFCN_VARIABLE_BITMAP, 112, 100, pair, 512, &bits), 0);
  EXPECT_EQ(std::count(guard, guard + kGuard, 0xAA), static_cast<std::ptrdiff_t>(kGuard));
}

// The line of an error record is one of the module's source file, which has the module's name.
TEST(ChannelNumbers, FailuresNameTheFileThatTheirLineIsIn)
{
  Bench bench;
  RtxContext* pctxt = &bench;
  EXPECT_EQ(decode(pctxt, 6, {0}, 8).first, RTX_E_BAD_VALUE);
  EXPECT_STREQ(static_cast<const RtxErrInfo*>(pctxt->errInfo.tail->data)->stack[0].module, "rtx3GPPArfcn");
  rtxErrReset(pctxt);
  EXPECT_EQ(encode(pctxt, 6, {1}).status, RTX_E_BAD_VALUE);
  EXPECT_STREQ(static_cast<const RtxErrInfo*>(pctxt->errInfo.tail->data)->stack[0].module, "rtx3GPPArfcnEnc");
}

TEST(ChannelNumbers, NullPointersAreRefused)
{
  Bench bench;
  uint16_t count = 1, *made = nullptr;
  uint8_t octet = 0, *pair[] = {&octet, &octet};
  EXPECT_EQ(rtx3GPPDecARFCN(&bench, 1, nullptr, 1, &made, &count), RTX_E_BAD_PARAMETER);
  EXPECT_EQ(rtx3GPPDecARFCN(&bench, 1, &octet, 1, nullptr, &count), RTX_E_BAD_PARAMETER);
  EXPECT_EQ(rtx3GPPDecARFCN(&bench, 1, &octet, 1, &made, nullptr), RTX_E_BAD_PARAMETER);
  EXPECT_EQ(rtx3GPPEncARFCN(&bench, nullptr, 1, 1, 1, 1, pair, 1, &count), RTX_E_BAD_PARAMETER);
  EXPECT_EQ(rtx3GPPEncARFCN(&bench, &count, 1, 1, 1, 1, nullptr, 1, &count), RTX_E_BAD_PARAMETER);
  EXPECT_EQ(rtx3GPPEncARFCN(&bench, &count, 1, 1, 1, 1, pair, 1, nullptr), RTX_E_BAD_PARAMETER);
}

} // namespace
