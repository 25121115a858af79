// Coders of TS 24.008 that rows cannot say: the PLMN pair, whose digits cross each other's octets; the digit and text
// strings, which get their size from the element around them; and what two elements test beyond their rows.
#include <cstring>

#include "L3Descriptors.h"
#include "rt3gppsrc/engine/l3Decode.h"
#include "rt3gppsrc/engine/l3Direct.h"
#include "rt3gppsrc/engine/l3Encode.h"
#include "velnor3gpp/TS24008IES.h"
#include "velnor3gpp/rtx3GPP.h"
#include "velnor3gpp/rtxDiagBitTrace.h"
#include "velnor3gpp/rtxMemHeap.h"
#include "velnor3gpp/rtxTBCD.h"

static constexpr size_t kMaxIdentityOctets = 8;
static constexpr char kNibbles[] = "0123456789*#abc"; // its ending zero stands for the filler

// The PLMN pair (10.5.1.3). Many elements hold one, so that three octets at hand are taken and put at once; everything
// else, every failure among it, is left to the shared functions.
static void unpackPair(uint64_t word, TS24008IE_MCCMNCPair& pair)
{
  const char mcc[4] = {kNibbles[word >> 16 & 15], kNibbles[word >> 20 & 15], kNibbles[word >> 8 & 15], 0};
  const char mnc[4] = {kNibbles[word & 15], kNibbles[word >> 4 & 15], kNibbles[word >> 12 & 15], 0};
  memcpy(pair.mcc, mcc, sizeof mcc);
  memcpy(pair.mnc, mnc, sizeof mnc);
}

// Appends the half-octet of a digit. False leaves the pair to the shared function, which knows the other characters.
static bool packDigit(char digit, uint64_t& word)
{
  unsigned number = static_cast<unsigned>(digit - '0');
  word = word << 4 | (number & 15);
  return number <= 9;
}

static bool packPair(const TS24008IE_MCCMNCPair& pair, uint64_t& word)
{
  const char *mcc = pair.mcc, *mnc = pair.mnc;
  bool plain = packDigit(mcc[1], word) && packDigit(mcc[0], word);
  if (mnc[2] == 0)
    word = word << 4 | RTX_TBCD_FILLER;
  else
    plain = plain && packDigit(mnc[2], word);
  return plain && packDigit(mcc[2], word) && packDigit(mnc[1], word) && packDigit(mnc[0], word);
}

// The three octets as one field, as the shared function traces them.
static bool takePair(L3Call& call, uint64_t& word)
{
  RtxBuffer& buffer = call.pctxt->buffer;
  if (!call.inlined() || l3Unread(call.pctxt) < (buffer.bitOffset == 8 ? 3 : 4)) return false;
  l3TraceField(call, "mcc/mnc");
  l3TakeBits(buffer, 24, word);
  if (call.traced) rtxDiagSetBitFldCount(call.pctxt->pBitFldList);
  return true;
}

int l3Dec_TS24008IE_MCCMNCPair(L3Call& call, const L3Type& type, void* value)
{
  auto& pair = *static_cast<TS24008IE_MCCMNCPair*>(value);
  uint64_t word = 0;
  if (takePair(call, word)) {
    unpackPair(word, pair);
    return 0;
  }
  l3ToLists(call);
  int status = rtx3GPPDec_MCC_MNC(call.pctxt, pair.mcc, pair.mnc);
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

size_t l3DirectDec_TS24008IE_MCCMNCPair(const L3Source& in, size_t pos, size_t end, void* record)
{
  uint64_t word = 0;
  if (!l3Take<24>(in, pos, end, word)) return kL3GaveUp;
  unpackPair(word, *static_cast<TS24008IE_MCCMNCPair*>(record));
  return pos;
}

size_t l3DirectEnc_TS24008IE_MCCMNCPair(L3Sink& out, size_t pos, void* record)
{
  uint64_t word = 0;
  bool good = packPair(*static_cast<const TS24008IE_MCCMNCPair*>(record), word);
  return good && l3Put<24>(out.data, pos, out.end, word) ? pos : kL3GaveUp;
}

// No more octets than one beyond the input's end: reading fails there whatever was asked for, and nothing is allocated
// for octets that cannot come.
static size_t boundOctets(const L3Call& call, size_t octets)
{
  size_t readable = l3Unread(call.pctxt) + 1;
  return octets > readable && !call.pctxt->pStream ? readable : octets;
}

// Digits of whole octets that are at hand, as the shared function reads them; a filler stores a zero and goes on.
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

static int readDigits(L3Call& call, const L3Type& type, size_t octets, char* text, size_t size)
{
  if (takeDigits(call, octets, text, size)) return 0;
  l3ToLists(call);
  rtxDiagNewBitField(call.pctxt->pBitFldList, "OCTET STRING");
  int status = rtxDecQ825TBCDString(call.pctxt, octets, text, size);
  if (status < 0) return l3DecFailed(call, type, nullptr, status);
  rtxDiagSetBitFldCount(call.pctxt->pBitFldList);
  return 0;
}

static int writeDigits(L3Call& call, const L3Type& type, const char* digits)
{
  l3ToLists(call);
  rtxDiagNewBitField(call.pctxt->pBitFldList, "OCTET STRING");
  int status = rtxEncQ825TBCDString(call.pctxt, digits);
  if (status < 0) return l3EncFailed(call, type, nullptr, status);
  rtxDiagSetBitFldCount(call.pctxt->pBitFldList);
  return 0;
}

// Telephony digits on the heap (10.5.4.7).
static int decTelephony(L3Call& call, const L3Type& type, char** text, size_t octets)
{
  octets = boundOctets(call, octets);
  // Zeroed, so that what a failed read leaves ends somewhere.
  char* digits = static_cast<char*>(rtxMemHeapAllocZ(&call.pctxt->pMemHeap, 2 * octets + 1));
  *text = digits;
  if (!digits) return l3DecFailed(call, type, nullptr, RTX_E_NO_MEMORY);
  return octets ? readDigits(call, type, octets, digits, 2 * octets + 1) : 0;
}

// Identity digits into an array (10.5.1.4).
static int decIdentity(L3Call& call, const L3Type& type, char* array, size_t octets)
{
  char digits[2 * kMaxIdentityOctets + 1];
  if (int status = readDigits(call, type, octets, digits, sizeof digits); status < 0) return status;
  size_t count = strlen(digits);
  if (count >= type.size) return l3FailNew(call, type.module->decoder, RTX_E_TOO_BIG, type.line);
  memcpy(array, digits, count + 1);
  return 0;
}

// Packed 7-bit text (10.5.3.5a). Seven spare bits in the last octet make its last septet no character.
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
  return 0;
}

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

int l3Enc_TS24008IE_GSMString(L3Call& call, const L3Type& type, void* value)
{
  l3ToLists(call);
  rtxDiagNewBitField(call.pctxt->pBitFldList, "OCTET STRING");
  int status = rtx3GPPEncGSMCharStr(call.pctxt, *static_cast<char**>(value));
  if (status < 0) return l3EncFailed(call, type, nullptr, status);
  rtxDiagSetBitFldCount(call.pctxt->pBitFldList);
  return 0;
}

// The exported decoders that are told how many octets to take.
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

// The network name tells its text how many bits of the last octet are spare (10.5.3.5a).
int l3Dec_TS24008IE_NetworkName(L3Call& call, const L3Type& type, void* value)
{
  auto& name = *static_cast<TS24008IE_NetworkName*>(value);
  int status = l3DecRows(call, type, value);
  bool packed = status >= 0 && name.codingScheme == TS24008IE_NetworkName_codingScheme_callBcastData;
  if (!packed || name.numSpareBitsInLastOct != 7 || name.length < 2) return status;
  name.textString.u.callBcastData[(name.length - 1) * 8 / 7 - 1] = 0;
  return status;
}

// A linked transaction identifier of 7 stands for the number in a second octet (10.5.6.7; TS 24.007, 11.2.3.1.3).
int l3Dec_TS24008IE_LinkedTI(L3Call& call, const L3Type& type, void* value)
{
  const auto& linked = *static_cast<const TS24008IE_LinkedTI*>(value);
  int status = l3DecRows(call, type, value);
  if (status < 0 || linked.value != 7 || linked.m.extPresent) return status;
  return l3FailNew(call, type.module->decoder, RTX_E_BAD_VALUE, type.line);
}
