// Coders by hand of small types of TS 24.008. The engine calls the l3Dec_/l3Enc_ functions for types that
// name this file, direct coders call the l3Direct ones, and callers the five NASDec_ functions at the end.
// Each is by hand for a reason:
//   - the PLMN pair (10.5.1.3), because the digits of MCC and MNC cross each other's octets;
//   - digit and text strings (10.5.1.4, 10.5.4.7, 10.5.3.5a), because the element around them tells their size;
//   - network name and linked transaction identifier (10.5.3.5a, 10.5.6.7), because they test more than rows can say.
// Strings without a bound are allocated on the context's heap and end with the job; the others fill arrays of the
// record.
#include <cstring>

#include "L3Descriptors.h"
#include "rt3gppsrc/engine/l3Decode.h"
#include "rt3gppsrc/engine/l3Direct.h"
#include "rt3gppsrc/engine/l3Encode.h"
#include "rt3gppsrc/engine/l3Kept.h"
#include "velnor3gpp/TS24008IES.h"
#include "velnor3gpp/rtx3GPP.h"
#include "velnor3gpp/rtxDiagBitTrace.h"
#include "velnor3gpp/rtxMemHeap.h"
#include "velnor3gpp/rtxTBCD.h"

static constexpr size_t kMaxIdentityOctets = 8;
static constexpr char kNibbles[] = "0123456789*#abc"; // its ending zero stands for the filler

// The PLMN pair (10.5.1.3) has its six digits in this order, high half-octet first:
//   octet 1  MCC 2, MCC 1     62   MCC 262, MNC 42 is 62 F2 24
//   octet 2  MNC 3, MCC 3     F2   F: an MNC of two digits
//   octet 3  MNC 2, MNC 1     24
// Many elements hold one, so three octets that are at hand are read and written in one step, as a number of 24 bits
// (0x62F224: MCC 1 is bits 16 to 19). Everything else, every failure among it, is left to the functions of rtx3GPP.cpp.
// A filler becomes a zero, which ends the text.
static void unpackPair(uint64_t word, TS24008IE_MCCMNCPair& pair)
{
  const char mcc[4] = {kNibbles[word >> 16 & 15], kNibbles[word >> 20 & 15], kNibbles[word >> 8 & 15], 0};
  const char mnc[4] = {kNibbles[word & 15], kNibbles[word >> 4 & 15], kNibbles[word >> 12 & 15], 0};
  memcpy(pair.mcc, mcc, sizeof mcc);
  memcpy(pair.mnc, mnc, sizeof mnc);
}

// What stands for an area that has been deleted.
static constexpr uint64_t kNoPlmn = 0xFFFFFF;

// Is a half-octet filler that has to be a digit? Only the third digit of the MNC may be missing, or all six of an area
// that has been deleted. Elsewhere the filler ends a text before its digits do.
static bool hasFiller(uint64_t word)
{
  uint64_t pairs = word & word >> 1;
  return (pairs & pairs >> 2 & 0x110111) != 0 && word != kNoPlmn;
}

// Appends the half-octet of a digit to `word`. False leaves the pair to rtx3GPPEnc_MCC_MNC, which knows the characters
// `*`, `#`, `a` to `c` and reports the others.
static bool packDigit(char digit, uint64_t& word)
{
  unsigned number = static_cast<unsigned>(digit - '0');
  word = word << 4 | (number & 15);
  return number <= 9;
}

// An area that has been deleted has no digits, and each half-octet is the filler.
static bool isDeleted(const TS24008IE_MCCMNCPair& pair)
{
  const char *mcc = pair.mcc, *mnc = pair.mnc;
  return !(mcc[0] | mcc[1] | mcc[2] | mnc[0] | mnc[1] | mnc[2]);
}

// Builds the 24 bits in the order of the wire. An MNC that ends after two digits gets the filler.
static bool packPair(const TS24008IE_MCCMNCPair& pair, uint64_t& word)
{
  const char *mcc = pair.mcc, *mnc = pair.mnc;
  bool plain = packDigit(mcc[1], word) && packDigit(mcc[0], word);
  if (mnc[2] == 0)
    word = word << 4 | RTX_TBCD_FILLER;
  else
    plain = plain && packDigit(mnc[2], word);
  if (plain && packDigit(mcc[2], word) && packDigit(mnc[1], word) && packDigit(mnc[0], word)) return true;
  word = kNoPlmn;
  return isDeleted(pair);
}

// Reads the three octets as one field, as the shared function traces them. A fourth octet has to be there when the
// cursor stands inside an octet.
static bool takePair(L3Call& call, uint64_t& word)
{
  RtxBuffer& buffer = call.pctxt->buffer;
  if (!call.inlined() || l3Unread(call.pctxt) < (buffer.bitOffset == 8 ? 3 : 4)) return false;
  l3TraceField(call, "mcc/mnc");
  l3TakeBits(buffer, 24, word);
  if (call.traced) rtxDiagSetBitFldCount(call.pctxt->pBitFldList);
  return true;
}

// The order is that of all coders here: take the pair at once if nothing can be seen or fail, otherwise put names and
// regions on the real stacks and call the public function, whose errors take their path from there.
int l3Dec_TS24008IE_MCCMNCPair(L3Call& call, const L3Type& type, void* value)
{
  auto& pair = *static_cast<TS24008IE_MCCMNCPair*>(value);
  uint64_t word = 0;
  if (takePair(call, word)) {
    unpackPair(word, pair);
    if (hasFiller(word)) call.doubtful = true;
    return 0;
  }
  l3ToLists(call);
  int status = rtx3GPPDec_MCC_MNC(call.pctxt, pair.mcc, pair.mnc);
  call.doubtful = true; // nobody has looked for fillers
  return status < 0 ? l3DecFailed(call, type, nullptr, status) : 0;
}

int l3Enc_TS24008IE_MCCMNCPair(L3Call& call, const L3Type& type, void* value)
{
  const auto& pair = *static_cast<const TS24008IE_MCCMNCPair*>(value);
  uint64_t word = 0;
  if (call.plain() && packPair(pair, word) && l3PutBits(call.pctxt->buffer, 24, word)) return 0;
  l3ToLists(call);
  int status = rtx3GPPEnc_MCC_MNC(call.pctxt, pair.mcc, pair.mnc);
  return status < 0 ? l3EncFailed(call, type, nullptr, status) : 0;
}

// No half-octet is refused by the decoder, so the direct one gives up for a shortage only.
size_t l3DirectDec_TS24008IE_MCCMNCPair(const L3Source& in, size_t pos, size_t end, void* record)
{
  uint64_t word = 0;
  if (!l3Take<24>(in, pos, end, word)) return kL3GaveUp;
  if (l3DirectKeeps(in) && hasFiller(word)) return kL3GaveUp;
  unpackPair(word, *static_cast<TS24008IE_MCCMNCPair*>(record));
  return pos;
}

size_t l3DirectEnc_TS24008IE_MCCMNCPair(L3Sink& out, size_t pos, void* record)
{
  uint64_t word = 0;
  bool good = packPair(*static_cast<const TS24008IE_MCCMNCPair*>(record), word);
  return good && l3Put<24>(out.data, pos, out.end, word) ? pos : kL3GaveUp;
}

// Bounds an allocation by what can come: one octet more than the input has is enough for reading to fail there,
// whatever was asked for. Without it, a caller's octet count of 2^40 for five octets of input would be allocated. A
// stream may have more than its buffer, so it is left alone.
static size_t boundOctets(const L3Call& call, size_t octets)
{
  size_t readable = l3Unread(call.pctxt) + 1;
  return octets > readable && !call.pctxt->pStream ? readable : octets;
}

// Digits of whole octets that are at hand, the earlier one in the low half: 21 43 is "1234". Reads them as
// rtxDecQ825TBCDString does, down to `lastChar`; a filler stores a zero and goes on.
static bool takeDigits(L3Call& call, size_t octets, char* text, size_t size)
{
  RtxBuffer& buffer = call.pctxt->buffer;
  if (!call.plain() || !octets || octets > l3Unread(call.pctxt) || size < 2 * octets + 1) return false;
  for (size_t i = 0; i < octets; ++i) {
    uint8_t octet = buffer.data[buffer.byteIndex++];
    *text++ = kNibbles[octet & 15];
    *text++ = kNibbles[octet >> 4];
    call.pctxt->lastChar = octet;
  }
  *text = 0;
  return true;
}

// A filler in front of the last half-octet ends the text before its digits do.
static bool isCutShort(const char* text, size_t octets)
{
  return octets && strlen(text) < 2 * octets - 1;
}

// The digits of so many octets, at once or through the public function with an entry in the trace.
static int readDigits(L3Call& call, const L3Type& type, size_t octets, char* text, size_t size)
{
  if (!takeDigits(call, octets, text, size)) {
    l3ToLists(call);
    rtxDiagNewBitField(call.pctxt->pBitFldList, "OCTET STRING");
    int status = rtxDecQ825TBCDString(call.pctxt, octets, text, size);
    if (status < 0) return l3DecFailed(call, type, nullptr, status);
    rtxDiagSetBitFldCount(call.pctxt->pBitFldList);
  }
  if (isCutShort(text, octets)) call.doubtful = true;
  return 0;
}

// Zero-ended digits; an odd count gets a filler in the high half of its last octet. -24 for another character.
static int writeDigits(L3Call& call, const L3Type& type, const char* digits)
{
  l3ToLists(call);
  rtxDiagNewBitField(call.pctxt->pBitFldList, "OCTET STRING");
  int status = rtxEncQ825TBCDString(call.pctxt, digits);
  if (status < 0) return l3EncFailed(call, type, nullptr, status);
  rtxDiagSetBitFldCount(call.pctxt->pBitFldList);
  return 0;
}

// Telephony digits (10.5.4.7): two for each octet, on the heap.
static int decTelephony(L3Call& call, const L3Type& type, char** text, size_t octets)
{
  octets = boundOctets(call, octets);
  // Zeroed, so that the text has an end even if reading fails half-way.
  char* digits = static_cast<char*>(rtxMemHeapAllocZ(&call.pctxt->pMemHeap, 2 * octets + 1));
  *text = digits;
  if (!digits) return l3DecFailed(call, type, nullptr, RTX_E_NO_MEMORY);
  return octets ? readDigits(call, type, octets, digits, 2 * octets + 1) : 0;
}

// Identity digits (10.5.1.4): into an array of the record, which `type.size` bounds.
static int decIdentity(L3Call& call, const L3Type& type, char* array, size_t octets)
{
  char digits[2 * kMaxIdentityOctets + 1];
  if (int status = readDigits(call, type, octets, digits, sizeof digits); status < 0) return status;
  // Sixteen digits fit into an IMEISV and fail with -23 in an IMSI or IMEI, which have room for fifteen.
  size_t count = strlen(digits);
  if (count >= type.size) return l3FailNew(call, type.module->decoder, RTX_E_TOO_BIG, type.line);
  memcpy(array, digits, count + 1);
  return 0;
}

// Are the bits behind the last character, the upper ones of the last octet, other than 0? The cursor stands behind it.
static bool hasSpare(const L3Call& call, size_t octets, size_t count)
{
  const RtxBuffer& buffer = call.pctxt->buffer;
  size_t spare = octets * 8 - count * 7;
  if (!spare || call.pctxt->pStream) return false;
  return buffer.data[buffer.byteIndex - 1] >> (8 - spare);
}

// Does the encoder make the same septets of the text? It writes a question mark for each character that is not ASCII,
// and a decoder for each one that the text cannot have; an escape makes one character of two septets.
static bool isPlainText(const char* chars, size_t count)
{
  size_t at = 0;
  while (at < count && chars[at] > 0 && chars[at] != '?') ++at;
  return at == count;
}

// Packed 7-bit text (10.5.3.5a; TS 23.038, 6.1.2.1): seven octets hold eight characters. Seven octets may also hold
// seven characters and seven spare bits, which look like an eighth character `@`: `spareBits` of 7 takes it off again.
static int decPacked(L3Call& call, const L3Type& type, char** text, size_t octets, uint8_t spareBits)
{
  octets = boundOctets(call, octets);
  size_t count = octets * 8 / 7;
  char* chars = static_cast<char*>(rtxMemHeapAllocZ(&call.pctxt->pMemHeap, count + 1));
  *text = chars;
  if (!chars) return l3DecFailed(call, type, nullptr, RTX_E_NO_MEMORY);
  l3ToLists(call);
  rtxDiagNewBitField(call.pctxt->pBitFldList, "OCTET STRING");
  int status = rtx3GPPDecGSMCharStr(call.pctxt, chars, count + 1, count);
  if (status < 0) return l3DecFailed(call, type, nullptr, status);
  rtxDiagSetBitFldCount(call.pctxt->pBitFldList);
  if (spareBits == 7 && count) chars[count - 1] = 0;
  if (l3Keeps(call) && (hasSpare(call, octets, count) || !isPlainText(chars, count))) call.doubtful = true;
  return 0;
}

// The forms that the engine calls take what is left of the innermost region; three octets for TBCDString3.
int l3Dec_TS24008IE_TBCDString(L3Call& call, const L3Type& type, void* value)
{
  return decTelephony(call, type, static_cast<char**>(value), l3RoomOctets(call));
}

int l3Enc_TS24008IE_TBCDString(L3Call& call, const L3Type& type, void* value)
{
  return writeDigits(call, type, *static_cast<char**>(value));
}

int l3Dec_TS24008IE_TBCDString3(L3Call& call, const L3Type& type, void* value)
{
  return decIdentity(call, type, static_cast<char*>(value), 3);
}

int l3Enc_TS24008IE_TBCDString3(L3Call& call, const L3Type& type, void* value)
{
  return writeDigits(call, type, static_cast<char*>(value));
}

int l3Dec_TS24008IE_IMSI(L3Call& call, const L3Type& type, void* value)
{
  return decIdentity(call, type, static_cast<char*>(value), l3RoomOctets(call));
}

int l3Enc_TS24008IE_IMSI(L3Call& call, const L3Type& type, void* value)
{
  return writeDigits(call, type, static_cast<char*>(value));
}

int l3Dec_TS24008IE_IMEI(L3Call& call, const L3Type& type, void* value)
{
  return l3Dec_TS24008IE_IMSI(call, type, value);
}

int l3Enc_TS24008IE_IMEI(L3Call& call, const L3Type& type, void* value)
{
  return l3Enc_TS24008IE_IMSI(call, type, value);
}

int l3Dec_TS24008IE_IMEISV(L3Call& call, const L3Type& type, void* value)
{
  return l3Dec_TS24008IE_IMSI(call, type, value);
}

int l3Enc_TS24008IE_IMEISV(L3Call& call, const L3Type& type, void* value)
{
  return l3Enc_TS24008IE_IMSI(call, type, value);
}

int l3Dec_TS24008IE_GSMString(L3Call& call, const L3Type& type, void* value)
{
  return decPacked(call, type, static_cast<char**>(value), l3RoomOctets(call), 0);
}

// Null writes nothing. rtx3GPPEncGSMCharStr starts at an octet.
int l3Enc_TS24008IE_GSMString(L3Call& call, const L3Type& type, void* value)
{
  l3ToLists(call);
  rtxDiagNewBitField(call.pctxt->pBitFldList, "OCTET STRING");
  int status = rtx3GPPEncGSMCharStr(call.pctxt, *static_cast<char**>(value));
  if (status < 0) return l3EncFailed(call, type, nullptr, status);
  rtxDiagSetBitFldCount(call.pctxt->pBitFldList);
  return 0;
}

// The exported decoders of these strings take the count of octets as an argument (`!octets-argument`, docs/quirks.md),
// because a call for the string alone has no element around it. Each opens and ends a call as generated decoders do.
template <typename Decode> static int decodeText(RtxContext* pctxt, const L3Type& type, Decode decode)
{
  L3Call call;
  L3Name frame;
  l3Begin(call, pctxt, frame, l3NameOf(type));
  return l3End(call, decode(call), type.module->decoder, type.line);
}

static int decodeIdentity(RtxContext* pctxt, const L3Type& type, char* dest, size_t octets)
{
  return decodeText(pctxt, type, [=, &type](L3Call& call) { return decIdentity(call, type, dest, octets); });
}

int NASDec_TS24008IE_IMSI(RtxContext* pctxt, char* dest, size_t octets)
{
  return decodeIdentity(pctxt, l3_TS24008IE_IMSI, dest, octets);
}

int NASDec_TS24008IE_IMEI(RtxContext* pctxt, char* dest, size_t octets)
{
  return decodeIdentity(pctxt, l3_TS24008IE_IMEI, dest, octets);
}

int NASDec_TS24008IE_IMEISV(RtxContext* pctxt, char* dest, size_t octets)
{
  return decodeIdentity(pctxt, l3_TS24008IE_IMEISV, dest, octets);
}

int NASDec_TS24008IE_TBCDString(RtxContext* pctxt, TS24008IE_TBCDString* pvalue, size_t octets)
{
  const L3Type& type = l3_TS24008IE_TBCDString;
  return decodeText(pctxt, type, [=](L3Call& call) { return decTelephony(call, type, pvalue, octets); });
}

int NASDec_TS24008IE_GSMString(RtxContext* pctxt, TS24008IE_GSMString* pvalue, size_t octets, uint8_t spareBits)
{
  const L3Type& type = l3_TS24008IE_GSMString;
  return decodeText(pctxt, type, [=](L3Call& call) { return decPacked(call, type, pvalue, octets, spareBits); });
}

// The network name (10.5.3.5a) tells in its first octet how many bits of the last one are spare, which the decoder of
// the text does not see: it is called by the rows and takes all octets. So the character that seven spare bits make is
// taken off afterwards. 43 08 87 41 ...: identifier, a length of 8, and 87 = 1 000 0 111 with seven spare bits.
static bool cutNetworkName(void* value)
{
  auto& name = *static_cast<TS24008IE_NetworkName*>(value);
  bool packed = name.codingScheme == TS24008IE_NetworkName_codingScheme_callBcastData;
  if (!packed || name.numSpareBitsInLastOct != 7 || name.length < 2) return true;
  // The text has (length - 1) * 8 / 7 characters, since the first of the element's octets is none of it.
  char& last = name.textString.u.callBcastData[(name.length - 1) * 8 / 7 - 1];
  bool spare = (name.length - 1) % 7 == 0 && last == '@';
  last = 0;
  return spare;
}

extern const L3Plain l3Plain_TS24008IE_NetworkName = {nullptr, cutNetworkName, nullptr};

int l3Dec_TS24008IE_NetworkName(L3Call& call, const L3Type& type, void* value)
{
  int status = l3DecRows(call, type, value);
  // A character that was none of seven spare bits is lost.
  if (status >= 0 && !cutNetworkName(value)) call.doubtful = true;
  return status;
}

// A linked transaction identifier of 7 stands for the number in a second octet (10.5.6.7; TS 24.007, 11.2.3.1.3), so 01
// 70 fails with -14, while 02 70 87 names transaction 7. The rows read the second octet where there is one; only that
// it must be there is said here.
static bool isWhole(void* value)
{
  const auto& linked = *static_cast<const TS24008IE_LinkedTI*>(value);
  return linked.value != 7 || linked.m.extPresent;
}

extern const L3Plain l3Plain_TS24008IE_LinkedTI = {nullptr, isWhole, nullptr};

int l3Dec_TS24008IE_LinkedTI(L3Call& call, const L3Type& type, void* value)
{
  int status = l3DecRows(call, type, value);
  if (status < 0 || isWhole(value)) return status;
  return l3FailNew(call, type.module->decoder, RTX_E_BAD_VALUE, type.line);
}
