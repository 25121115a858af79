// Decoding, encoding, printing, tracing, protecting of real messages and their way through JSON: shuffled mixes of each
// protocol, of the short messages of EPS, of all protocols together, and single named messages; in fast and slow mode,
// beside the floor. Times are per message. Figures of other codecs are published for 27 octets on average: the 5GS mix
// is no longer than that as it is, of EPS the messages are taken in order of their length until the mean is reached.
#include <cstdio>

#include "bench/common/reporter.h"

namespace {

constexpr double kShortMean = 27;

void addCoding(const Mix& mix)
{
  addWork(mix, "floor", floorWork);
  addWork(mix, "decode", decodeWork);
  addWork(mix, "encode", encodeWork);
}

void addPlain(const Mix& mix)
{
  addCoding(mix);
  addWork(mix, "decodeSlow", decodeSlowWork);
  addWork(mix, "encodeSlow", encodeSlowWork);
  addWork(mix, "print", printWork);
  addWork(mix, "printCallback", printCallbackWork);
  addWork(mix, "trace", traceWork);
  addWork(mix, "toJson", toJsonWork);
  addWork(mix, "fromJson", fromJsonWork);
}

void addProtected(const Mix& mix)
{
  addWork(mix, "floor", floorWork);
  addWork(mix, "unprotect", unprotectWork);
  addWork(mix, "protect", protectWork);
}

// What decoding takes from the system in a fresh context: the mean, and the most beside 16 KiB and 64 octets for each
// octet of the message.
void showHeap(const Mix& mix)
{
  double sum = 0, most = 0;
  for (auto& message : mix.messages) {
    double octets = static_cast<double>(heapOctets(message));
    sum += octets;
    most = std::max(most, octets / (16384 + 64 * static_cast<double>(message.octets.size())));
  }
  size_t count = mix.messages.size();
  printf("%-12s %4zu messages of %5.1f octets; heap of a fresh context %6.0f octets, at most %.2f of the bound\n",
         mix.name.c_str(), count, mix.meanOctets(), sum / static_cast<double>(count), most);
}

} // namespace

int main(int argc, char** argv)
{
  Mix mm5 = readMix("5gs", "ts24501.tsv"), eps = readMix("eps", "ts24301.tsv");
  Mix core = readMix("core", "ts24008.tsv"), sms = readMix("sms", "ts24011.tsv");
  Mix radio = readMix("radio", "ts44018.tsv");
  Mix mixes[] = {mm5, eps,   shortOnes("epsShort", eps, kShortMean), core,
                 sms, radio, allOf("all", {&mm5, &eps, &core, &sms})};
  Mix accept = single(mm5, "sessionAccept", "obj_EstablishAccept5G");
  Mix attach = single(eps, "attachAccept", "obj_AttachAccept");
  Mix singles[] = {single(mm5, "registrationRequest", "obj_RegRequest5G", 100),
                   single(mm5, "registrationAccept", "obj_RegAccept5G", 200),
                   accept,
                   made("sessionAcceptInTransport", inTransport(accept.messages[0].octets)),
                   single(eps, "attachRequest", "obj_AttachRequest"),
                   attach,
                   withUnknown("attachAcceptUnknown", attach),
                   single(core, "setup", "obj_Setup"),
                   single(core, "routingAreaUpdateRequest", "obj_RoutingAreaUpdateRequest")};
  Mix secured[] = {readProtected("5gsProtected", "TS24501Msg_PDU"), readProtected("epsProtected", "TS24301Msg_PDU")};
  for (auto& mix : mixes) {
    showHeap(mix);
    addPlain(mix);
  }
  for (auto& mix : singles) addCoding(mix);
  for (auto& mix : secured) addProtected(mix);
  return runAll(argc, argv);
}
