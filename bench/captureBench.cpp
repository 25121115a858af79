// What reading captures costs: packets per second of the reader alone, and with each message decoded, for a mix of NAS
// messages on Ethernet, radio blocks with segments, and named messages in pcapng.
#include <benchmark/benchmark.h>

#include "tests/capture/captures.h"

namespace {

using namespace captures;

constexpr size_t kPackets = 6000;

Octets ethernetCapture()
{
  const Octets request = hex("07417108091010103254769802F07000040201D011"), identity = hex("075501");
  std::vector<Frame> frames;
  for (size_t i = 0; i < kPackets; ++i) {
    const bool up = i % 2 == 0;
    frames.push_back({1, ethernet(ipv4(udp(gsmtap(0x12, 0, up ? 0x4005 : 5, up ? request : identity))))});
  }
  return pcap(frames);
}

// Six links in turn, each message in two segments.
Octets radioCapture()
{
  std::vector<Frame> frames;
  for (size_t i = 0; i < kPackets; ++i) {
    const unsigned number = unsigned(i / 6) & 7, channel = 0x4000 | unsigned(i % 6);
    const bool first = number % 2 == 0;
    const Octets head = {1, uint8_t(number << 1), uint8_t(first ? 0x53 : 0x05)};
    const Octets rest = first ? hex("0508700201F1000001230829015051525354 5556") : hex("57 2B*19");
    frames.push_back({217, gsmtap(1, 6, channel, head + rest)});
  }
  return pcap(frames);
}

Octets namedCapture()
{
  Octets file;
  putSection(file, true);
  putInterface(file, 252, 9, true);
  for (size_t i = 0; i < kPackets; ++i) putPacket(file, 0, i, {252, upperPdu("nas-5gs", hex("7E005B01"), 1)}, true);
  return file;
}

void readAll(benchmark::State& state, const Octets& file, bool decode)
{
  velnor3gpp_Session* session = nullptr;
  velnor3gpp_open(&session);
  uint64_t packets = 0, messages = 0;
  for (auto _ : state) {
    Source source = {file, 0};
    Reader reader(Source::read, &source);
    velnor3gpp_CaptureFrame frame = {};
    frame.size = sizeof frame;
    while (velnor3gpp_captureNext(reader, &frame) == VELNOR3GPP_CAPTURE_FRAME) {
      ++packets;
      if (frame.reason != VELNOR3GPP_CAPTURE_MESSAGE) continue;
      ++messages;
      if (decode) velnor3gpp_decodeFrame(session, &frame);
    }
  }
  velnor3gpp_close(session);
  if (packets != state.iterations() * kPackets || !messages) state.SkipWithError("packets are missing");
  state.SetItemsProcessed(int64_t(packets));
}

} // namespace

BENCHMARK_CAPTURE(readAll, ethernetRead, ethernetCapture(), false);
BENCHMARK_CAPTURE(readAll, ethernetDecode, ethernetCapture(), true);
BENCHMARK_CAPTURE(readAll, radioRead, radioCapture(), false);
BENCHMARK_CAPTURE(readAll, radioDecode, radioCapture(), true);
BENCHMARK_CAPTURE(readAll, namedRead, namedCapture(), false);
BENCHMARK_CAPTURE(readAll, namedDecode, namedCapture(), true);
BENCHMARK_MAIN();
