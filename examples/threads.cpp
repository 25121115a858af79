// Many messages on two threads: each has a context of its own and takes every second message. Nothing is shared, so
// nothing is locked; types and tables are constants.
#include <cstdio>
#include <thread>
#include <vector>
#include <velnor3gpp/TS24501Msgs.h>
#include <velnor3gpp/rtContext.h>
#include <velnor3gpp/rtxContext.h>

using Octets = std::vector<uint8_t>;

struct Counts {
  unsigned good = 0, bad = 0, requests = 0;
};

static void decodeEverySecond(std::vector<Octets>& messages, size_t first, Counts& counts)
{
  RtxContext ctxt;
  rtInitContext(&ctxt);
  for (size_t i = first; i < messages.size(); i += 2) {
    TS24501Msg_PDU pdu;
    rtxCtxtSetBufPtr(&ctxt, messages[i].data(), messages[i].size());
    bool good = NASDec_TS24501Msg_PDU(&ctxt, &pdu) >= 0 && ctxt.buffer.byteIndex <= ctxt.buffer.size;
    ++(good ? counts.good : counts.bad);
    if (good && pdu.data.t == TS24501Msg_PDU_data_t_IdentityRequest5G) ++counts.requests;
    rtxMemReset(&ctxt); // the memory stays for the next message
  }
  rtxFreeContext(&ctxt);
}

int main()
{
  const Octets kinds[] = {{0x7E, 0x00, 0x5B, 0x01}, {0x7E, 0x00, 0x43}, {0x7E, 0x00, 0x5B}};
  std::vector<Octets> messages;
  for (size_t i = 0; i < 300000; ++i) messages.push_back(kinds[i % 3]);
  Counts counts[2];
  std::thread other(decodeEverySecond, std::ref(messages), 1, std::ref(counts[1]));
  decodeEverySecond(messages, 0, counts[0]);
  other.join();
  std::printf("good %u, bad %u, identity requests %u\n", counts[0].good + counts[1].good, counts[0].bad + counts[1].bad,
              counts[0].requests + counts[1].requests);
}
