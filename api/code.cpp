// Decoding and encoding of a session's message: which form, direction, keys and counts belong to it, and what its
// status is. The engine does the coding. What it cannot know is decided here, by trying where nothing tells: a NAS
// COUNT has 24 bits of which a message carries 8 or 5, a direction is in no octet, and octets do not name their form.
//
// A protected message is verified before it is decoded, so that a window of counts and both directions cost a code each
// and not a decoding each. The caller's octets are copied twice: once as given, and once more for deciphering in place.
#include <initializer_list>

#include "api/authCode.h"
#include "api/session.h"
#include "velnor3gpp/rt3gppNasSec.h"
#include "velnor3gpp/rtxDiagBitTrace.h"
#include "velnor3gpp/rtxError.h"

namespace {

// A direction and NAS COUNT that a protected message may have been sent with. Two directions with two counts each.
struct Attempt {
  velnor3gpp_Direction direction;
  uint32_t count;
};

// Two directions, and with a window two counts in each.
constexpr unsigned kMaxAttempts = 4;

struct Attempts {
  Attempt list[kMaxAttempts];
  unsigned count;
};

} // namespace

// The count that the next message of the direction is expected to have, at least.
static uint32_t& nextCount(velnor3gpp_Session& session, velnor3gpp_Direction direction)
{
  return direction == VELNOR3GPP_DOWN ? session.keys.downlinkCount : session.keys.uplinkCount;
}

// The lowest count that is not below the next one and ends in the bits that the message has: with 0x1FE as the next
// one, sequence number 0xFF is 0x1FF, 0x03 is 0x203.
static uint32_t lowestCount(uint32_t next, const Protection& p)
{
  uint32_t step = 1U << p.sequenceBits;
  uint32_t count = (next & ~(step - 1)) | (p.sequence & (step - 1));
  return count < next ? count + step : count; // the sequence number has begun again since
}

// Adds the lowest count, and with a window the one before it, 0x103 for 0x203, if it lies no farther behind than that:
// a message that was overtaken.
static void addAttempts(velnor3gpp_Session& session, Attempts& attempts, velnor3gpp_Direction direction)
{
  uint32_t next = nextCount(session, direction), step = 1U << session.protection.sequenceBits;
  uint32_t count = lowestCount(next, session.protection);
  attempts.list[attempts.count++] = {direction, count};
  if (count >= step && count - step < next && next - (count - step) <= session.keys.window)
    attempts.list[attempts.count++] = {direction, count - step};
}

// Writes bearer, direction and count of an attempt into the security record.
static void setSecurity(velnor3gpp_Session& session, const Attempt& attempt)
{
  Rtx3gppSecContext& security = *session.keep.pSecurity;
  // A bearer of -1 leaves it to the form: 1 in 5GS over 3GPP access, 0 in EPS.
  bool own = session.hasKeys && session.keys.bearer >= 0;
  security.bearer = own ? static_cast<uint8_t>(session.keys.bearer & 31) : session.protection.bearer;
  security.direction = attempt.direction == VELNOR3GPP_DOWN;
  security.count = attempt.count;
}

// The code of the message: 4 octets, or 2 of a service request.
static uint32_t codeIn(const velnor3gpp_Session& session)
{
  const Protection& p = session.protection;
  uint32_t code = 0;
  for (size_t i = 0; i < p.codeOctets; ++i) code = code << 8 | session.octets.data[p.codeAt + i];
  return code;
}

// Does the code fit this attempt? Computed over the octets as given, which are still ciphered, as the code was.
static bool verifies(velnor3gpp_Session& session, const Attempt& attempt)
{
  const Protection& p = session.protection;
  uint32_t code = 0;
  setSecurity(session, attempt);
  size_t count = p.signedCount ? p.signedCount : session.count - p.signedFrom;
  int status = rtx3gppComputeMAC(&session.keep, session.octets.data + p.signedFrom, count, &code);
  if (p.codeOctets == 2) code &= 0xFFFF; // TS 24.301, 9.9.3.28
  return status >= 0 && code == codeIn(session);
}

// Is there an error record of this status, fatal or not?
static bool hasError(const RtxContext& ctxt, int status)
{
  for (RtxDListNode* node = ctxt.errInfo.head; node; node = node->next)
    if (static_cast<RtxErrInfo*>(node->data)->status == status) return true;
  return false;
}

// What can be said of the protection. The order matters: a message that is forged is told so even if nothing else could
// be reached, and "verified" is left for a decoder that has come past the code without a failure.
static velnor3gpp_Check checkOf(const velnor3gpp_Session& session)
{
  if (!session.protection.present) return VELNOR3GPP_PLAIN;
  if (!session.protection.checkable) return VELNOR3GPP_NOT_COVERED;
  if (!session.hasKeys) return VELNOR3GPP_NO_KEYS;
  if (hasError(session.ctxt, RTX_E_BAD_MAC)) return VELNOR3GPP_FORGED;
  if (!session.keys.integrityAlgorithm) return VELNOR3GPP_NULL_ALGORITHM;
  for (int status : {RTX_E_NO_MEMORY, RTX_E_NOT_SUPPORTED, RTX_E_NULL_POINTER, RTX_E_NO_SECURITY})
    if (hasError(session.ctxt, status)) return VELNOR3GPP_NOT_REACHED;
  return session.used >= session.protection.inner ? VELNOR3GPP_VERIFIED : VELNOR3GPP_NOT_REACHED;
}

// Without keys a code that differs, or cannot be computed, tells nothing about the message, and is no fault of it.
static bool isExcused(const velnor3gpp_Session& session, int status)
{
  return session.check == VELNOR3GPP_NO_KEYS && (status == RTX_E_BAD_MAC || status == RTX_E_NO_SECURITY);
}

// Is the record a finding for the caller? Remarks are; fatal ones unless they are excused.
bool isTold(const velnor3gpp_Session& session, const RtxErrInfo& info)
{
  if (info.status == RTX_E_MULTIPLE) return false; // says no more than that there are others
  return !info.fatal || !isExcused(session, info.status);
}

// What the findings come to: 0, the one status, or RTX_E_MULTIPLE for different ones. A decoder's own status may be
// about the code alone, and then it is no fault where the code is excused.
static int statusOf(const velnor3gpp_Session& session, int status)
{
  int found = 0;
  bool excused = false;
  for (RtxDListNode* node = session.ctxt.errInfo.head; node; node = node->next) {
    const RtxErrInfo& info = *static_cast<RtxErrInfo*>(node->data);
    if (!info.fatal) continue;
    if (!isTold(session, info))
      excused = true;
    else
      found = found && found != info.status ? RTX_E_MULTIPLE : info.status;
  }
  if (found) return found;
  return status < 0 && !excused ? status : 0;
}

// Notes how far the decoder has come. A length can lead beyond the octets: `missing` tells by how much.
static void finish(velnor3gpp_Session& session, int status)
{
  const RtxBuffer& buffer = session.ctxt.buffer;
  size_t begun = buffer.byteIndex < session.count && buffer.bitOffset != 8; // an octet that was read in part
  session.used =
      buffer.byteIndex < session.count ? buffer.byteIndex + begun : session.count; // a length can lead beyond
  session.missing = buffer.byteIndex > session.count ? buffer.byteIndex - session.count : 0;
  session.check = checkOf(session);
  session.status = statusOf(session, status);
}

// Decodes the session's octets into its record, in a context of the session's. The copy behind the octets
// is decoded, because a cipher changes it. `keep` lends its keys; the flag for the direction selects
// among messages that share a type.
static int runDecoder(velnor3gpp_Session& session, RtxContext& ctxt, const Attempt& attempt)
{
  uint8_t* copy = session.octets.data + session.count;
  memcpy(copy, session.octets.data, session.count);
  setSecurity(session, attempt);
  int status = rtxCtxtSetBufPtr(&ctxt, copy, session.count);
  if (status < 0) return status;
  ctxt.pSecurity = session.keep.pSecurity;
  rtxCtxtClearFlag(&ctxt, RTX_FLAG_MOBILE_ORIGINATED);
  if (attempt.direction == VELNOR3GPP_UP) rtxCtxtSetFlag(&ctxt, RTX_FLAG_MOBILE_ORIGINATED);
  ctxt.specRelease = session.release;
  setForms(ctxt, session.ctxt.flags & (RTX_FLAG_KEEP_ELEMENTS | RTX_FLAG_STANDARD_FORMS));
  return l3Decode(&ctxt, typeOf(*session.known), session.record);
}

// One decoding. True if it can be trusted: without fault, or verified whatever the inside holds.
static bool decodeAs(velnor3gpp_Session& session, const Attempt& attempt)
{
  session.direction = attempt.direction;
  session.nasCount = attempt.count;
  finish(session, runDecoder(session, session.ctxt, attempt));
  return session.status == 0 || session.check == VELNOR3GPP_VERIFIED;
}

// Moves the session's count on, never back, and only for a message that has proved its count: by its code, or without
// integrity by deciphering to something that decodes.
static void noteCount(velnor3gpp_Session& session)
{
  bool good = session.check == VELNOR3GPP_VERIFIED ||
              (session.check == VELNOR3GPP_NULL_ALGORITHM && session.keys.cipherAlgorithm && session.status == 0);
  uint32_t& next = nextCount(session, session.direction);
  if (good && session.nasCount > next) next = session.nasCount;
}

// Empties the job for another decoding of the same message; octets, protection and count of octets stay.
static bool startAgain(velnor3gpp_Session& session)
{
  const L3Facts& known = *session.known;
  session.ctxt.pSecurity = nullptr;
  rtxMemReset(&session.ctxt);
  return makeRecord(session, known);
}

// Decodes a protected message for which there are keys. With an integrity algorithm the code tells which attempt is
// right. With the null algorithm every code is 0, so each attempt is deciphered and decoded until one makes sense.
static void decodeProtected(velnor3gpp_Session& session, velnor3gpp_Direction direction)
{
  Attempts attempts = {};
  if (direction != VELNOR3GPP_DOWN) addAttempts(session, attempts, VELNOR3GPP_UP);
  if (direction != VELNOR3GPP_UP) addAttempts(session, attempts, VELNOR3GPP_DOWN);
  const Attempt* last = attempts.list + attempts.count - 1;
  if (session.keys.integrityAlgorithm) {
    for (const Attempt* attempt = attempts.list; attempt <= last; ++attempt)
      if (verifies(session, *attempt)) {
        decodeAs(session, *attempt);
        return noteCount(session);
      }
    // None fits: the message is forged, or the counts are far apart. It is decoded with the first attempt, and the
    // decoder reports the code.
    rtxErrReset(&session.keep);
    decodeAs(session, attempts.list[0]);
    session.direction = direction;
    return;
  }
  for (const Attempt* attempt = attempts.list;; ++attempt) {
    if (decodeAs(session, *attempt)) return noteCount(session);
    if (attempt == last || !startAgain(session)) return;
  }
}

// Is there nothing to read behind the header? Ciphered, and no keys; a network that uses the null cipher sends messages
// that say "ciphered" and are plain.
static bool isSealed(const velnor3gpp_Session& session, const L3Type& form)
{
  const Protection& p = session.protection;
  return p.ciphered && !session.hasKeys && !looksPlain(form, session.octets.data, session.count, p);
}

// Copies the caller's octets, with room for the deciphered copy behind them and one octet, so
// that there is always memory.
static int keepOctets(velnor3gpp_Session& session, const uint8_t* octets, size_t count)
{
  if (count > SIZE_MAX / 4 || !growRoom(session, session.octets, count * 2 + 1)) return RTX_E_NO_MEMORY;
  if (count) memcpy(session.octets.data, octets, count);
  session.count = count;
  return 0;
}

// A message type that only one side sends tells the direction by itself.
void tellDirection(velnor3gpp_Session& session)
{
  if (session.direction != VELNOR3GPP_DIRECTION_UNKNOWN) return;
  const L3BodyRow* message = messageOf(session);
  if (message) session.direction = static_cast<velnor3gpp_Direction>(message->direction);
}

// How far a reading is from one that says it all: a fault counts more than anything, then octets that are missing, then
// each element that had to be kept.
static size_t faultsOf(const velnor3gpp_Session& session)
{
  return (session.status < 0 ? SIZE_MAX / 2 : 0) + (session.missing != 0) + keptInVain(session);
}

// A message without a known direction. The decoder takes it for one to the mobile; if that reading has faults, it is
// tried as one from the mobile, and the better one is taken: 07 45 01 0B F6 ... leaves an identity unread as a detach
// request from the network. If both have as many faults, a message type that tells its direction decides; else the
// first reading stands.
static void decodeEither(velnor3gpp_Session& session)
{
  decodeAs(session, {VELNOR3GPP_DIRECTION_UNKNOWN, 0});
  size_t faults = faultsOf(session);
  tellDirection(session);
  bool told = session.direction != VELNOR3GPP_DIRECTION_UNKNOWN;
  if (!faults || session.direction == VELNOR3GPP_DOWN || !startAgain(session)) return;
  decodeAs(session, {VELNOR3GPP_UP, 0});
  if (faultsOf(session) < faults || (told && faultsOf(session) == faults) || !startAgain(session)) return;
  decodeAs(session, {VELNOR3GPP_DIRECTION_UNKNOWN, 0});
}

// Decodes the octets as the form. Of a sealed message only the header's type is decoded, which is a type of its own.
static int decodeForm(velnor3gpp_Session& session, const L3Facts* known, velnor3gpp_Direction direction)
{
  if (!known->decodes) return velnor3gpp_report(&session, RTX_E_NO_DECODER, "", "the type has no decoder of its own");
  // Protection is told by the octets as given: the decoder's copy is deciphered in place.
  session.protection = protectionOf(typeOf(*known), session.octets.data, session.count);
  session.headerOnly = isSealed(session, typeOf(*known));
  if (session.headerOnly) known = findType(session.protection.header);
  if (!makeRecord(session, *known)) return velnor3gpp_report(&session, RTX_E_NO_MEMORY, "", "out of memory");
  if (session.protection.checkable && session.hasKeys)
    decodeProtected(session, direction);
  else if (direction == VELNOR3GPP_DIRECTION_UNKNOWN)
    decodeEither(session);
  else
    decodeAs(session, {direction, 0});
  if (session.headerOnly)
    velnor3gpp_report(&session, RTX_E_NO_SECURITY, "", "ciphered, and no keys are given: only the header can be read");
  tellDirection(session);
  return session.status;
}

// The form that reads the message without complaint, or else the likeliest. Forms are tried in the order
// of velnor3gpp_forms; where elements are kept nearly everything reads, so a form that has to keep
// nothing is looked for first.
static const velnor3gpp_Type* formByTrial(velnor3gpp_Session& session, velnor3gpp_Channel channel,
                                          velnor3gpp_Direction direction)
{
  const velnor3gpp_Type* types[VELNOR3GPP_FORMS_MAX];
  size_t forms = velnor3gpp_forms(session.octets.data, session.count, direction, channel, types);
  if (forms < 2) return forms ? types[0] : nullptr;
  // First round: forms that have nothing to keep. Second round: any form that reads the octets.
  for (size_t most : {size_t{0}, SIZE_MAX})
    for (size_t i = 0; i < forms; ++i) {
      size_t count = session.count;
      bool reads = decodeForm(session, factsOf(types[i]), direction) == 0 && !session.missing;
      reads = reads && keptInVain(session) <= most;
      endJob(session); // takes the count with it, but leaves the octets
      session.count = count;
      if (reads) return types[i];
      if (i + 1 == forms && !(session.forms & RTX_FLAG_KEEP_ELEMENTS)) return types[0];
    }
  return types[0];
}

namespace {

// What is to be decoded. Without a type it is found by trial, among those of the channel.
struct Given {
  const velnor3gpp_Type* type;
  velnor3gpp_Channel channel;
  velnor3gpp_Direction direction;
  const uint8_t* octets;
  size_t count;
};

} // namespace

// The octets are copied first; they may be freed when the call returns.
static int decodeGiven(velnor3gpp_Session* session, const Given& given)
{
  if (!session || (!given.octets && given.count)) return RTX_E_NULL_POINTER;
  endJob(*session);
  if (keepOctets(*session, given.octets, given.count) < 0)
    return velnor3gpp_report(session, RTX_E_NO_MEMORY, "", "out of memory");
  const velnor3gpp_Type* type = given.type;
  if (!type) type = formByTrial(*session, given.channel, given.direction);
  if (!type)
    return velnor3gpp_report(session, RTX_E_NO_PDU_TYPE, "",
                             "the octets do not tell what the message is; name its type or its direction");
  return decodeForm(*session, factsOf(type), given.direction);
}

int velnor3gpp_decode(velnor3gpp_Session* session, const velnor3gpp_Type* type, velnor3gpp_Direction direction,
                      const uint8_t* octets, size_t count)
{
  return decodeGiven(session, {type, VELNOR3GPP_CHANNEL_UNKNOWN, direction, octets, count});
}

int velnor3gpp_decodeOn(velnor3gpp_Session* session, velnor3gpp_Channel channel, velnor3gpp_Direction direction,
                        const uint8_t* octets, size_t count)
{
  return decodeGiven(session, {nullptr, channel, direction, octets, count});
}

const L3Row* bodyOf(const L3Type& form)
{
  for (const L3Row* row = form.rows; row < form.rows + form.rowCount; ++row)
    if (row->op == kL3Body) return row;
  return nullptr;
}

const L3BodyRow* messageOf(const velnor3gpp_Session& session)
{
  const L3Row* row = hasRecord(session) ? bodyOf(typeOf(*session.known)) : nullptr;
  return row ? l3MessageIn(*static_cast<const L3Body*>(row->info), l3Load(session.record + row->offset, 4)) : nullptr;
}

// Decodes the same octets a second time, with the trace on, in the context `slow`. Its record and findings are dropped,
// but the trace stays until the next job. A null pointer for records that were not decoded and where memory is out.
const RtxBitFieldList* positionsOf(velnor3gpp_Session& session)
{
  if (session.located) return session.slow.pBitFldList;
  if (!session.known || !session.known->decodes || !session.count || session.status == RTX_E_NO_MEMORY) return nullptr;
  session.located = true;
  const L3Type& type = typeOf(*session.known);
  void* spare = rtxMemHeapAllocZ(&session.slow.pMemHeap, type.size ? type.size : 1);
  if (!spare || rtxDiagCtxtBitFieldListInit(&session.slow) < 0) return nullptr;
  // runDecoder writes into the session's record, which the caller may be reading: the spare one stands in for it.
  uint8_t* record = session.record;
  session.record = static_cast<uint8_t*>(spare);
  runDecoder(session, session.slow, {session.direction, session.nasCount});
  session.record = record;
  return session.slow.pBitFldList;
}

// Whether the record came from a protected message, whose count is known.
static bool hasOwnCount(const velnor3gpp_Session& session)
{
  return session.count && session.protection.present && session.check != VELNOR3GPP_NO_KEYS;
}

static int encodeUnder(velnor3gpp_Session& session, uint32_t nasCount)
{
  if (!session.protection.present)
    session.protection.bearer = strcmp(typeOf(*session.known).fullName, "TS24501Msg_PDU") == 0;
  setSecurity(session, {session.direction, nasCount});
  session.ctxt.pSecurity = session.keep.pSecurity;
  int status = rtxCtxtSetBufPtr(&session.ctxt, nullptr, 0);
  return status < 0 ? status : l3Encode(&session.ctxt, typeOf(*session.known), session.record);
}

static size_t encodedCount(const RtxBuffer& buffer)
{
  return buffer.byteIndex + (buffer.bitOffset != 8);
}

// Without keys a message is not protected anew: its code stays what the record says, in the octets and in the record,
// where the encoder has put the 0 that the null algorithm makes.
static int encodeWithoutKeys(velnor3gpp_Session& session)
{
  const AuthCode code = authCodeOf(session);
  int status = encodeUnder(session, session.nasCount);
  storeAuthCode(code);
  RtxBuffer& buffer = session.ctxt.buffer;
  size_t count = encodedCount(buffer);
  Protection p = status < 0 ? Protection{} : protectionOf(typeOf(*session.known), buffer.data, count);
  if (p.present && p.codeOctets == code.count && p.codeAt + code.count <= count)
    memcpy(buffer.data + p.codeAt, code.octets, code.count);
  return status;
}

// Signs and ciphers under the count of the message that was decoded, so that it comes back as it was. A record that was
// built has a sequence number of its own, and a receiver takes the count that ends in it. Where the header is stands in
// the octets, so such a record is encoded a second time if the next count ends in something else. The encoder takes no
// count away: a caller who sends the message raises it by setting keys.
static int encodeProtected(velnor3gpp_Session& session)
{
  if (!session.hasKeys) return encodeWithoutKeys(session);
  if (hasOwnCount(session)) return encodeUnder(session, session.nasCount);
  uint32_t next = nextCount(session, session.direction);
  int status = encodeUnder(session, next);
  if (status < 0) return status;
  Protection p = protectionOf(typeOf(*session.known), session.ctxt.buffer.data, encodedCount(session.ctxt.buffer));
  if (!p.present) return status;
  session.nasCount = lowestCount(next, p);
  return session.nasCount == next ? status : encodeUnder(session, session.nasCount);
}

// The octets are in a buffer of the job's context and hold until the next encoding or message. Findings of decoding go.
int velnor3gpp_encode(velnor3gpp_Session* session, const uint8_t** octets, size_t* count)
{
  if (!session || !octets || !count) return RTX_E_NULL_POINTER;
  *octets = nullptr;
  *count = 0;
  session->status = 0;
  session->reportCount = 0;
  rtxErrReset(&session->ctxt);
  if (!hasRecord(*session)) return velnor3gpp_report(session, RTX_E_BAD_PARAMETER, "", "there is no record to encode");
  if (!session->known->encodes)
    return velnor3gpp_report(session, RTX_E_NOT_SUPPORTED, "", "the type has no encoder of its own");
  if (int status = reportAwaited(*session); status < 0) return status;
  const L3Row* body = bodyOf(typeOf(*session->known));
  if (body && !messageOf(*session)) // the encoder could not tell which one it lacks, or where
    return velnor3gpp_report(session, RTX_E_INVALID_CHOICE, l3KeyOf(*body),
                             "holds no message; write one of the form's as its only member");
  rtxCtxtClearFlag(&session->ctxt, RTX_OPENTAIL_FLAG); // of a message before, behind which nothing can be found
  int status = encodeProtected(*session);
  session->status = statusOf(*session, status < 0 ? status : 0);
  if (session->status < 0) return session->status;
  *octets = session->ctxt.buffer.data;
  *count = encodedCount(session->ctxt.buffer);
  return 0;
}
