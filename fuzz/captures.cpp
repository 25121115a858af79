// Captures from strangers: read alike however their octets come, within the input; what is found is written and found
// again. And radio blocks, each behind a header of GSMTAP that is in order: the way to layer 2 is short.
#include "fuzz/harness.h"

#include <malloc.h>

#include "tests/capture/captures.h"
#include "velnor3gpp/rtxMemHeap.h"

using captures::Reading;

// Readers are large: what one has given back the next one gets, which saves the system most of the work. The list is
// never destroyed: the search for leaks, which comes last, would no longer reach what it holds.
static constexpr size_t kLarge = 500000;
static std::vector<void*>& gSpare = *new std::vector<void*>;

static void* takeMemory(size_t size)
{
  if (size < kLarge || gSpare.empty()) return malloc(size);
  void* block = gSpare.back();
  gSpare.pop_back();
  return block;
}

static void giveMemory(void* block)
{
  if (block && malloc_usable_size(block) >= kLarge)
    gSpare.push_back(block);
  else
    free(block);
}

static std::string textOf(const Reading& reading)
{
  std::string text = std::to_string(reading.status) + " at " + std::to_string(reading.counts.octets) + "\n";
  for (const std::string& line : reading.lines) text += line + "\n";
  return text;
}

static int append(void* arg, const uint8_t* octets, size_t count)
{
  Octets& file = *static_cast<Octets*>(arg);
  file.insert(file.end(), octets, octets + count);
  return 0;
}

// The messages of a capture in a capture of their own, and how many they are.
static Octets written(const Octets& file, size_t& messages)
{
  Octets out;
  captures::Source source = {file, 0};
  captures::Reader reader(captures::Source::read, &source);
  velnor3gpp_CaptureWriter* writer = nullptr;
  velnor3gpp_captureCreate(&writer, VELNOR3GPP_CAPTURE_PCAPNG, append, &out);
  auto frame = sized<velnor3gpp_CaptureFrame>();
  while (velnor3gpp_captureNext(reader, &frame) == VELNOR3GPP_CAPTURE_FRAME) {
    promise(frame.reason < VELNOR3GPP_CAPTURE_REASONS, "a reason that there is not");
    promise((frame.reason == VELNOR3GPP_CAPTURE_MESSAGE) == (frame.octets && frame.count), "a message without octets");
    if (frame.reason != VELNOR3GPP_CAPTURE_MESSAGE) continue;
    promise(velnor3gpp_captureWrite(writer, &frame) == 0, "a message that cannot be written");
    ++messages;
  }
  velnor3gpp_captureFinish(writer);
  return out;
}

static void checkRead(const Octets& file, size_t step)
{
  rtxMemSetAllocFuncs(takeMemory, realloc, giveMemory);
  const Reading whole = captures::read(file);
  const std::string text = textOf(whole);
  uint64_t sum = 0;
  for (uint64_t count : whole.counts.reasons) sum += count;
  promise(sum == whole.counts.frames && sum == whole.lines.size(), "frames that are not counted");
  promise(whole.counts.octets <= file.size(), "more octets than there are");
  const captures::Way way = {step / 2 + 1, step % 2 == 0};
  promise(text == textOf(captures::read(file, way)), [&] { return text + "is not the same in pieces"; });
  size_t messages = 0;
  const Octets again = written(file, messages);
  const Reading found = captures::read(again);
  promise(found.status == 0 && found.counts.reasons[0] == messages && found.lines.size() == messages,
          [&] { return text + "is written as\n" + textOf(found); });
}

// The first octet tells how many of the others come at a time.
void checkCaptures(const L3TypeEntry&, Octets input)
{
  const size_t step = 1U + takeFirst(input) % 40;
  checkRead(input, step);
}

// Each block begins with its channel, two bits of direction and link in one octet, and its size.
void checkRadio(const L3TypeEntry&, Octets input)
{
  std::vector<captures::Frame> frames;
  for (size_t at = 0; at + 3 <= input.size();) {
    const size_t size = std::min<size_t>(input[at + 2], input.size() - at - 3);
    const Octets block(input.begin() + long(at) + 3, input.begin() + long(at + 3 + size));
    const unsigned channel = (input[at + 1] & 1 ? 0x4000U : 0U) | (input[at + 1] >> 1 & 3U);
    const bool isNew = input[at + 1] & 0x80;
    frames.push_back(
        {217, isNew ? captures::gsmtap3(0x0200, input[at], block) : captures::gsmtap(1, input[at], channel, block)});
    at += 3 + size;
  }
  checkRead(captures::pcap(frames), 1000);
}

std::vector<Octets> captureSeeds()
{
  using namespace captures;
  const Octets nas = gsmtap(0x12, 0, 0x4005, hex("07445203"));
  const std::vector<Frame> few = {{1, ethernet(ipv4(udp(nas)))}, {252, upperPdu("nas-5gs", hex("7E005B01"), 1)}};
  std::vector<Octets> files = {pcap(few),
                               pcap({{217, nas}}, {false, true}),
                               pcapng(few),
                               pcapng({{151, hex("7E005B01")}}, false),
                               pcap({{276, hex("86DD*2 00*16") + ipv6(udp(gsmtap3(0x0404, 0, hex("07445203"))))}}),
                               pcap({{229, ipv6(udp(nas), hex("3C00 00*6 2C00 00*6 1100 0000 00*4"), 0)}})};
  for (Octets& file : files) file.insert(file.begin(), 7);
  return files;
}
