// The measurement results of TS 44.018 (10.5.2.20), which the engine codes for measurement reports on the SACCH, some
// two in a second for each call. By hand because the element has 16 octets (128 bits) without a length that says so:
// what the rows leave of them is filled with zeros, and they bound the report of a closed subscriber group's cell,
// which is "room" in the rows. Nothing is allocated, and nothing outside the 16 octets is read or written.
#include <algorithm>

#include "L3Descriptors.h"
#include "rt3gppsrc/engine/l3Decode.h"
#include "rt3gppsrc/engine/l3Encode.h"
#include "velnor3gpp/TS44018IES.h"
#include "velnor3gpp/rtxContainer.h"

static constexpr size_t kBits = 128;

// Reads the filler as fields of at most 64 bits, so that a trace shows it and an element that is cut fails with -2.
static int decFiller(L3Call& call, size_t bits)
{
  uint64_t filler = 0;
  for (int status; bits; bits -= std::min<size_t>(bits, 64)) {
    unsigned step = static_cast<unsigned>(std::min<size_t>(bits, 64));
    status = l3DecBits(call, reinterpret_cast<uint8_t*>(&filler), step, 8, "padding");
    if (status < 0) return status;
    if (filler) call.doubtful = true;
  }
  return 0;
}

int l3Dec_TS44018IE_Measurement_Results(L3Call& call, const L3Type& type, void* value)
{
  L3Region frame;
  // The region makes "room" mean the element and not the message: two octets of a next element are no report.
  size_t end = l3BitPos(call.pctxt) + kBits;
  if (int status = l3PushRegion(call, frame, kBits, true); status < 0) return l3DecFailed(call, type, nullptr, status);
  bool doubtful = call.doubtful;
  if (int status = l3DecRows(call, type, value); status < 0) return status;
  call.doubtful = doubtful; // the last bit may have no room, and is not written then
  size_t at = l3BitPos(call.pctxt);
  // A report that does not fit into the 16 octets has been read from the octets behind them.
  int status = at > end ? RTX_E_BAD_FIELD_LENGTH : decFiller(call, end - at);
  if (status < 0) return l3DecFailed(call, type, nullptr, status);
  l3PopRegion(call);
  return 0;
}

// Is there a report of a closed subscriber group's cell behind the neighbour cells?
static bool endsWithReport(const TS44018IE_Measurement_Results& results)
{
  const auto& cells = results.component_10;
  return cells.t == TS44018IE_Measurement_Results_component_10_t_choice_2 && cells.u.choice_2.m.component_3Present;
}

// Encodes the rows and fills the element up. One that would be longer than 16 octets fails with RTX_E_BAD_FIELD_LENGTH.
int l3Enc_TS44018IE_Measurement_Results(L3Call& call, const L3Type& type, void* value)
{
  size_t start = l3BitPos(call.pctxt);
  if (int status = l3EncRows(call, type, value); status < 0) return status;
  size_t used = l3BitPos(call.pctxt) - start;
  // Six cells fill the element. The bit that would say that no report of a closed subscriber group follows has no place
  // there, so it is taken back.
  if (used == kBits + 1 && !endsWithReport(*static_cast<const TS44018IE_Measurement_Results*>(value))) {
    int status = rtxCtxtSetBitOffset(call.pctxt, start + kBits);
    if (status < 0) return l3EncFailed(call, type, nullptr, status);
    used = kBits;
  }
  if (used > kBits) return l3EncFailed(call, type, nullptr, RTX_E_BAD_FIELD_LENGTH);
  for (size_t left = kBits - used; left; left -= std::min<size_t>(left, 32)) {
    int status = l3EncBits(call, 0, static_cast<unsigned>(std::min<size_t>(left, 32)), "padding");
    if (status < 0) return l3EncFailed(call, type, nullptr, status);
  }
  return 0;
}
