// Ways to do the same: the fast mode of the engine and the slow one, in decoding and encoding; with the trace and
// without; printing into a buffer and in pieces.
#include "fuzz/harness.h"

#include <utility>

static void promiseModes(const L3TypeEntry& entry, const std::function<std::string(const Setting&)>& outcome,
                         Setting setting)
{
  setting.pieces = true;
  std::string fast = outcome(setting);
  setting.slow = true;
  setting.pieces = false;
  promiseSame(entry, "fast and slow", fast, outcome(setting));
}

// Over whatever the caller left open: the first octet tells the setting.
void checkModes(const L3TypeEntry& entry, Octets input)
{
  uint8_t choice = takeFirst(input);
  Setting setting = {.security = bool(choice & 1)};
  setting.flags = choice & 2 ? RTX_FLAG_MOBILE_ORIGINATED : 0;
  setting.names = choice >> 2 & 3;
  setting.regions = choice >> 4 & 3;
  setting.specRelease = choice & 0x40 ? 5 : 0;
  setting.skipBits = choice & 0x80 && !input.empty() ? 4 : 0;
  promiseModes(
      entry, [&](const Setting& mode) { return decodeOutcome(entry, input, mode); }, setting);
}

// What decodes without a failure comes back octet for octet, where everything is kept. A message that was verified is
// signed anew.
static void promiseComesBack(const L3TypeEntry& entry, Decoding& decoding, const Octets& input)
{
  bool anew = strcmp(entry.type->fullName.get(), "TS24301Msg_PDU") == 0 && isSignedAnew(input);
  bool read = decoding.status >= 0 && decoding.ctxt->flags & RTX_FLAG_KEEP_ELEMENTS && !anew;
  std::string remarks = errorsOf(decoding.ctxt);
  rtxErrReset(decoding.ctxt);
  Octets octets(4096 + input.size());
  int status = encodeInto(octets, decoding.ctxt, entry, decoding.record.get());
  promise(!read || octets == input, [&] {
    return std::string(entry.type->fullName.get()) + " of " + hexText(input) + "\ncomes back as " + hexText(octets) +
           ", status " + std::to_string(status) + "\n" + remarks + errorsOf(decoding.ctxt) + decoding.text();
  });
}

// With elements kept and in the standard's forms, as the first octet tells.
void checkKept(const L3TypeEntry& entry, Octets input)
{
  uint8_t choice = takeFirst(input);
  Setting setting = {.trace = (choice & 8) != 0};
  setting.flags = choice & 4 ? RTX_FLAG_MOBILE_ORIGINATED : 0;
  if (choice & 1) setting.flags |= RTX_FLAG_KEEP_ELEMENTS;
  if (choice & 2) setting.flags |= RTX_FLAG_STANDARD_FORMS;
  promiseModes(
      entry, [&](const Setting& mode) { return decodeOutcome(entry, input, mode); }, setting);
  Decoding decoding(entry, input, setting);
  std::string text;
  rtxSetPrintStream(decoding.ctxt, appendPrinted, &text);
  entry.print(decoding.ctxt, "x", decoding.record.get());
  if (entry.encode) promiseComesBack(entry, decoding, input);
}

// Any record that C allows: the octets draw it along the descriptor, the first of them tells damage and setting. It
// fails or gives octets that the decoder takes without fault.
void checkEncoder(const L3TypeEntry& entry, Octets input)
{
  uint8_t choice = takeFirst(input);
  unsigned damage = choice & 3 ? 4U << (choice & 7) : 0;
  size_t capacity = choice & 0x80 ? input.size() : 4096;
  auto make = [&](RtxContext* ctxt) {
    Draw draw(input.data(), input.size());
    return arbitraryRecord(ctxt, *entry.type, draw, damage);
  };
  Octets octets;
  auto outcome = [&](const Setting& mode) { return encodeOutcome(entry, make, capacity, mode, &octets); };
  promiseModes(entry, outcome, {.trace = bool(choice & 0x40)});
  if (!octets.empty() && entry.decode) Decoding(entry, octets);
}

// Whatever was decoded prints, also what failed: the record, the errors, the trace as text and as a page.
void checkPrint(const L3TypeEntry& entry, Octets input)
{
  Decoding decoding(entry, input, {.trace = true});
  RtxContext* ctxt = decoding.ctxt;
  std::string text;
  rtxSetPrintStream(ctxt, appendPrinted, &text);
  entry.print(ctxt, "x", decoding.record.get());
  promiseSame(entry, "printed in pieces", text, decoding.text());
  rtxDiagBitTracePrint(ctxt->pBitFldList, "x");
  rtxDiagBitTracePrintHTML("/dev/null", ctxt->pBitFldList, "x");
  size_t length = 0;
  rtxErrGetText(ctxt, nullptr, &length);
  promise(ctxt->indent == 0, "the print is left indented");
}

using Fields = std::vector<const RtxBitField*>;

static Fields fieldsOf(const RtxContext* ctxt)
{
  Fields fields;
  for (const RtxSListNode* node = ctxt->pBitFldList->fieldList.head; node; node = node->next)
    fields.push_back(static_cast<const RtxBitField*>(node->data));
  return fields;
}

// Fields follow each other within the input. Each turn of a loop that reads something notes one: 64 without a bit are
// too many.
static void checkFields(const Fields& fields, size_t size, const std::function<std::string()>& words)
{
  size_t end = 0;
  for (const RtxBitField* field : fields) {
    if (!field->bitCount) continue;
    promise(field->bitOffset >= end, [&] { return "fields overlap in\n" + words(); });
    end = field->bitOffset + field->bitCount;
  }
  promise(end <= size * 8, [&] { return "a field behind the input in\n" + words(); });
  promise(fields.size() <= end + 64, [&] { return "turns that read nothing in\n" + words(); });
}

// What no field covers, bits that are passed over, can be anything. Lists that end before some bits of 0 look ahead at
// bits that others may read, or nobody.
static void checkGaps(const L3TypeEntry& entry, const Fields& fields, const Octets& input, const std::string& text)
{
  Octets other = input, covered(input.size());
  for (const RtxBitField* field : fields) {
    if (field->elemName && strstr(field->elemName, "eceiveNPDUNumber")) return;
    for (size_t bit = field->bitOffset; bit < field->bitOffset + field->bitCount; ++bit)
      covered[bit / 8] = uint8_t(covered[bit / 8] | 0x80U >> bit % 8);
  }
  for (size_t i = 0; i < input.size(); ++i) other[i] = uint8_t(other[i] ^ ~covered[i]);
  if (other == input) return;
  Decoding same(entry, other);
  if (same.status < 0 && !covered.back()) return; // unknown elements behind the last field still have a form
  promiseSame(entry, "with other bits that no field covers", text, same.status < 0 ? "a failure\n" : same.text());
}

void checkTrace(const L3TypeEntry& entry, Octets input)
{
  Decoding plain(entry, input), traced(entry, input, {.trace = true});
  std::string text = traced.text();
  promiseSame(entry, "with trace", plain.text(), text);
  Fields fields = fieldsOf(traced.ctxt);
  if (traced.status >= 0) {
    checkFields(fields, input.size(), [&] { return traceOf(traced.ctxt) + text; });
    // With a finding, octets may have been read before one was missing.
    if (!traced.ctxt->errInfo.count) checkGaps(entry, fields, input, text);
  }
  RtxBitFieldList* list = std::exchange(traced.ctxt->pBitFldList, nullptr); // the rest of the state is to be as without
  promiseSame(entry, "with trace", plain.state(), traced.state());
  traced.ctxt->pBitFldList = list;
}
