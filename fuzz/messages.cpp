// Decoding takes a bounded heap; what is accepted without a remark encodes, and decodes from that to an equal record.
#include "fuzz/harness.h"

#include <numeric>
#include <regex>

#include "tests/robustness/countedHeap.h"

// A length that must be larger, or an array for fewer octets than came: where the rest of an element goes into an
// array, what finds no place there is counted and passed over.
static bool isOutside(const L3Row& row, uint64_t value)
{
  if (row.op == kL3Length) return value < static_cast<const L3Length*>(row.info)->lo;
  return row.op == kL3Octets && value > static_cast<const L3Octets*>(row.info)->cap;
}

// A text of which nothing stands in front of its first zero character, or whose labels are all empty; an element that
// came with more octets than its content needs and is too short without them, or with more than its record holds.
static bool isCut(const RtxContext* ctxt)
{
  const auto* error = ctxt->errInfo.tail ? static_cast<const RtxErrInfo*>(ctxt->errInfo.tail->data) : nullptr;
  if (!error || error->parmcount != 2) return false;
  uint64_t value = strtoull(error->parms[1], nullptr, 10);
  if (!value) return true;
  for (size_t i = 0; i < l3TypeCount && error->stkx; ++i) {
    const L3Type& type = *l3TypeTable[i].type;
    if (strcmp(error->stack[0].module, type.module->encoder)) continue;
    for (const L3Row* row = type.rows; row < type.rows + type.rowCount; ++row)
      if (row->line == error->stack[0].line && isOutside(*row, value)) return true;
  }
  return false;
}

// Three enumerations and some header fields are tested on encoding alone, so that a value without a name comes in but
// not out: false. So do what isCut tells, and an open tail that begins inside an octet.
static bool encodeAgain(const L3TypeEntry& entry, Decoding& decoding, Octets& octets)
{
  int status = encodeInto(octets, decoding.ctxt, entry, decoding.record.get());
  if (status == RTX_E_ENUM_VALUE || status == RTX_E_BAD_ALIGNMENT) return false;
  if (status == RTX_E_CONSTRAINT && isCut(decoding.ctxt)) return false;
  // Lists that end with the message hold more entries than the encoder's index of 8 bits counts.
  if (status == RTX_E_BAD_VALUE && decoding.text().find("[255]") != std::string::npos) return false;
  promise(status >= 0, [&] {
    return std::string("an accepted ") + entry.type->fullName.get() + " does not encode: " + std::to_string(status) +
           "\n" + errorsOf(decoding.ctxt) + decoding.text();
  });
  return true;
}

// A text that a zero octet cut is shorter than the field that counts it, which is written as it came. The text may hold
// any character, so its end is looked for where the count says.
static bool isShorterThanCounted(const std::string& text)
{
  static const std::regex kCounted("fqdnLen = ([0-9]+)\\n *fqdnValue = '");
  std::smatch found;
  if (!std::regex_search(text, found, kCounted)) return false;
  size_t end = static_cast<size_t>(found.position() + found.length()) + std::stoul(found[1]);
  return end > text.size() || text.compare(end - 1, 2, "'\n") != 0;
}

// Does a text of the 7-bit alphabet hold characters that its encoder writes as question marks or as a bare escape?
// Where it ends is reckoned from the length of its element, since it may hold whatever is printed behind one. An escape
// and the character behind it are printed as one character, so such a text ends before; but then it is lossy in any
// case.
static bool isLossy(const std::string& text)
{
  static const char kKept[] = "0123456789abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ*#. ";
  if (text.starts_with("x = '")) return text.substr(5, text.size() - 7).find_first_not_of(kKept) != std::string::npos;
  static const std::regex kName("length = ([0-9]+)\n *ext = .*\n *codingScheme = callBcastData\n *addCI = .*\n"
                                " *numSpareBitsInLastOct = .\n *textString .\n *callBcastData = '");
  for (std::sregex_iterator name(text.begin(), text.end(), kName), none; name != none; ++name) {
    size_t begin = static_cast<size_t>(name->position() + name->length());
    size_t count = (std::stoul((*name)[1]) - 1) * 8 / 7;
    if (text.substr(begin, count).find_first_not_of(kKept) != std::string::npos) return true;
  }
  return false;
}

static void checkSecond(const L3TypeEntry& entry, Decoding& first, const Octets& input, const Octets& octets)
{
  std::string text = first.text(); // with the lengths as written
  Decoding second(entry, octets);
  // An identity of one digit is written with the length 1, which the decoder takes for one more octet.
  static const std::regex kOneDigit("(imsi|imei|imeisv) = '.?'");
  if (second.status < 0 && std::regex_search(text, kOneDigit)) return;
  if (second.status < 0 && isShorterThanCounted(text)) return;
  // The octet of a long transaction identifier is read in session management and not written.
  static const std::regex kLongTransId("value = ([7-9]|[0-9]{2,3})\n +\\}\n +\\}\n +protoDiscr = sessMgmt");
  if (std::regex_search(text, kLongTransId)) return;
  // A string type by itself reads as many octets as its caller asks for, also where its characters end at a filler.
  if (second.status == RTX_E_END_OF_BUFFER && l3TextForm(*entry.type) != L3TextForm::none) return;
  // Lists without bound are held to the size of the input, which is shorter without what stood behind the element.
  if (second.status == RTX_E_NO_MEMORY && octets.size() < input.size()) return;
  promise(second.status >= 0, [&] {
    return entry.type->fullName.get() + (" does not decode what it encoded: " + std::to_string(second.status)) + "\n" +
           errorsOf(second.ctxt) + hexText(input) + "\n" + hexText(octets) + "\n" + text;
  });
  std::string again = second.text();
  // Its length of six bits counts octets from the middle of one where it does not stand behind its two bits of code.
  if (!strcmp(entry.type->fullName, "TS44018IE_IA_Rest_Octets_choice_3")) return;
  if (text != again && !isLossy(text)) promiseSame(entry, "when coded again", text, again);
}

// Do lists, strings or parts of CSN.1 end because the octets do? What is written behind them then reads as more.
static bool endsWithInput(const L3TypeEntry& entry, const Decoding& first, const Octets& input)
{
  if (strncmp(entry.type->fullName, "TS440", 5)) return false;
  for (uint8_t more : {0x00, 0x2B}) {
    Octets longer = input;
    longer.push_back(more);
    Decoding second(entry, longer);
    if (second.status < 0 || second.text() != first.text()) return true;
  }
  return false;
}

void checkMessage(const L3TypeEntry& entry, Octets input)
{
  static const bool kCounted = (rtxMemSetAllocFuncs(heap::allocate, heap::grow, heap::release), true);
  // Half of the inputs are decoded with each piece of the heap from the system, where a sanitizer sees its end.
  bool pieces = kCounted && std::accumulate(input.begin(), input.end(), 0) & 1;
  size_t before = heap::peak = heap::live;
  Decoding first(entry, input, {.pieces = pieces});
  size_t taken = heap::peak - before;
  promise(pieces || taken <= heap::mostFor(*entry.type, input.size()), [&] {
    return entry.type->fullName.get() + (" of " + std::to_string(input.size())) + " octets takes " +
           std::to_string(taken);
  });
  // Elements within elements, as deep as the definitions lay them.
  promise(first.ctxt->elemNameStack.count <= 40, [&] { return "too deep:\n" + stacksOf(first.ctxt); });
  // A remark is a value outside its bounds, which the encoder refuses; above 255 octets it cuts 16-bit lengths.
  if (first.status < 0 || first.ctxt->errInfo.count || input.size() > 255 || !entry.encode) return;
  Octets octets(4096 + 8 * input.size());
  // Rest octets that are cut leave names open and alternatives without a choice. Encoded they are padded, and the
  // padding reads as parts that are L: nothing is promised of them.
  if (first.ctxt->elemNameStack.count > 0) return void(encodeInto(octets, first.ctxt, entry, first.record.get()));
  if (!encodeAgain(entry, first, octets)) return;
  // The same octets decode to the same record.
  if (octets != input && !endsWithInput(entry, first, input)) checkSecond(entry, first, input, octets);
}
