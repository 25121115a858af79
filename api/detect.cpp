// Which form octets have, and what their first octets tell about protection (TS 24.007, 11.2.3; TS 24.501, 9.1). Looks
// at octets and tables alone: nothing is decoded, allocated or reported. code.cpp, the program and captures call it.
//
//   7E or 2E         5GS: the whole first octet is the discriminator
//   x2, x7           EPS session and mobility management: the discriminator is the lower half
//   x3 x5 x8 xA x9   TS 24.008 and TS 24.011
//   x6               radio resource: the octets do not tell the channel, so several forms may fit
//   49 06            a pseudo length of 18 in front of discriminator 6: broadcast and common channels
#include <cstring>

#include "api/session.h"

static constexpr char k5gs[] = "TS24501Msg_PDU";
static constexpr char kEps[] = "TS24301Msg_PDU";
static constexpr char kDownDcch[] = "TS44018Msg_DL_DCCH_PDU";
static constexpr char kUpDcch[] = "TS44018Msg_UL_DCCH_PDU";
static constexpr char kUpSacch[] = "TS44018Msg_UL_SACCH_PDU";
static constexpr char kPseudoLength[] = "TS44018Msg_L2_PSEUDO_LEN_PDU";
static constexpr char kShort[] = "TS44018Msg_RR_Short_PD_PDU";

namespace {

struct Asked {
  const uint8_t* octets;
  size_t count;
  velnor3gpp_Direction direction;
};

struct Forms {
  const char* names[VELNOR3GPP_FORMS_MAX];
  size_t count;
};

} // namespace

// Null for a form that this build of the library does not have.
static const L3Type* formNamed(const char* name)
{
  const L3Facts* known = findType(name);
  return known ? &typeOf(*known) : nullptr;
}

// Has the body a message of this type, under this discriminator if its table has a column for it?
static bool bodyHas(const L3Body& body, unsigned discriminator, unsigned msgType)
{
  bool column = body.discriminator.store && body.onlyDiscriminator == kL3NoLimit;
  for (const L3BodyRow* row = body.rows; row < body.rows + body.count; ++row)
    if (row->hasType(msgType) && (!column || row->discriminator == discriminator)) return true;
  return false;
}

bool formHas(const L3Type& form, unsigned discriminator, unsigned msgType)
{
  for (const L3Row* row = form.rows; row < form.rows + form.rowCount; ++row)
    if (row->op == kL3Body && bodyHas(*static_cast<const L3Body*>(row->info), discriminator, msgType)) return true;
  return false;
}

// The same of a form by its name.
static bool hasForm(const char* name, unsigned discriminator, unsigned msgType)
{
  const L3Type* form = formNamed(name);
  return form && formHas(*form, discriminator, msgType);
}

// Has the form the message whose discriminator and type are the first two octets?
static bool hasMessage(const char* name, const Asked& asked)
{
  return asked.count > 1 && hasForm(name, asked.octets[0] & 15, asked.octets[1]);
}

// On common channels a pseudo length, whose low bits are 01, stands in front of discriminator 6. It could
// be taken for an octet with discriminator 1, 5, 9 or 13, but none of these has a message type that ends
// with 6 as hexadecimal digit.
static bool looksPseudo(const Asked& asked)
{
  return asked.count > 1 && (asked.octets[0] & 3) == 1 && (asked.octets[1] & 15) == 6;
}

// The short header of the SACCH: a bit of 0, five bits of type, two of layer 2. 14 = 0 00101 00 is type 5.
static bool looksShort(const Asked& asked)
{
  return asked.octets[0] < 0x80 && hasForm(kShort, 0, asked.octets[0] >> 2);
}

// No more forms than the caller's array has room for.
static void add(Forms& forms, const char* name)
{
  if (forms.count < VELNOR3GPP_FORMS_MAX) forms.names[forms.count++] = name;
}

// The forms of a dedicated channel: of those that the direction allows the ones that have the message. If none has it,
// all of them, so that the decoder can say what is wrong. Captures tell the channel, but not the one that is slow and
// associated with it, which has messages of its own.
static void addDedicated(Forms& forms, const Asked& asked)
{
  bool up = asked.direction != VELNOR3GPP_DOWN, down = asked.direction != VELNOR3GPP_UP;
  bool upHas = up && hasMessage(kUpDcch, asked), downHas = down && hasMessage(kDownDcch, asked);
  bool none = !upHas && !downHas;
  if (none && up && hasMessage(kUpSacch, asked)) return add(forms, kUpSacch);
  if (none ? up : upHas) add(forms, kUpDcch);
  if (none ? down : downHas) add(forms, kDownDcch);
}

// The forms of a channel that the caller knows. On the SACCH the direction decides, or the pseudo length.
static void addOfChannel(Forms& forms, const Asked& asked, velnor3gpp_Channel channel)
{
  switch (channel) {
    case VELNOR3GPP_SHORT:
      return add(forms, kShort);
    case VELNOR3GPP_BCCH:
    case VELNOR3GPP_CCCH:
      return add(forms, kPseudoLength);
    case VELNOR3GPP_SACCH:
      return add(forms, asked.direction == VELNOR3GPP_DOWN || looksPseudo(asked) ? kPseudoLength : kUpSacch);
    default:
      return addDedicated(forms, asked);
  }
}

// Without a channel: whatever has the message. Types that both directions have are the mobile's more often than not
// (assignment complete, classmark change).
static void addRadio(Forms& forms, const Asked& asked)
{
  bool up = asked.direction != VELNOR3GPP_DOWN, down = asked.direction != VELNOR3GPP_UP;
  if (up && hasMessage(kUpDcch, asked)) add(forms, kUpDcch);
  if (down && hasMessage(kDownDcch, asked)) add(forms, kDownDcch);
  if (up && hasMessage(kUpSacch, asked)) add(forms, kUpSacch);
  if (!forms.count && looksShort(asked)) add(forms, kShort);
  // No table has the type. With a known direction its form is named all the same, and the decoder says so.
  if (!forms.count && !(up && down)) add(forms, up ? kUpDcch : kDownDcch);
}

// Without a channel the first octet decides. 5GS comes first: its discriminators are whole octets whose lower half, 14,
// is nobody else's.
static void addByDiscriminator(Forms& forms, const Asked& asked)
{
  uint8_t first = asked.octets[0];
  if (first == 126 || first == 46) return add(forms, k5gs);
  if (looksPseudo(asked)) return add(forms, kPseudoLength);
  switch (first & 15) {
    case 2:
    case 7:
      return add(forms, kEps);
    case 3:
    case 5:
    case 8:
    case 10:
      return add(forms, "TS24008Msg_PDU");
    case 9:
      return add(forms, "TS24011Msg_CP_PDU");
    case 4:
    case 6:
      return addRadio(forms, asked);
    default:
      if (looksShort(asked)) add(forms, kShort);
  }
}

// Forms that the library was built without are left out of the list.
size_t velnor3gpp_forms(const uint8_t* octets, size_t count, velnor3gpp_Direction direction, velnor3gpp_Channel channel,
                        const velnor3gpp_Type** types)
{
  if (!octets || !count || !types) return 0;
  // `channel` is only asked about radio resource messages; on a known one nothing else is looked for, but that
  // dedicated channels carry the messages of all others as well.
  Asked asked = {octets, count, direction};
  Forms forms = {};
  bool isOther = channel == VELNOR3GPP_DCCH && (octets[0] & 15) != 6;
  if (channel == VELNOR3GPP_CHANNEL_UNKNOWN || isOther)
    addByDiscriminator(forms, asked);
  else
    addOfChannel(forms, asked, channel);
  size_t found = 0;
  for (size_t i = 0; i < forms.count; ++i)
    if (const L3Facts* known = findType(forms.names[i])) types[found++] = publicType(known);
  return found;
}

const velnor3gpp_Type* velnor3gpp_detect(const uint8_t* octets, size_t count, velnor3gpp_Direction direction)
{
  const velnor3gpp_Type* types[VELNOR3GPP_FORMS_MAX];
  size_t found = velnor3gpp_forms(octets, count, direction, VELNOR3GPP_CHANNEL_UNKNOWN, types);
  return found ? types[0] : nullptr;
}

// A header of 5 octets from the code on: code, then the sequence number, then the message inside.
// `kind` is the security header type, 0 for none. Codes of types above 4 are not looked at by the EPS
// decoder, so they cannot be checked.
static Protection securityHeader(const uint8_t* octets, size_t count, unsigned kind, const char* header, size_t codeAt)
{
  Protection p = {};
  if (!kind || count < codeAt + 5) return p;
  p.present = true;
  p.checkable = kind <= 4;
  p.ciphered = kind == 2 || kind == 4;
  p.header = header;
  p.sequence = octets[codeAt + 4];
  p.sequenceBits = 8;
  p.codeAt = codeAt;
  p.codeOctets = 4;
  p.signedFrom = codeAt + 4;
  p.inner = codeAt + 5;
  return p;
}

// The 5GS decoder looks at the code whatever the header type; bearer 1 is 3GPP access (TS 24.501, 4.4.3.1).
static Protection protection5gs(const uint8_t* octets, size_t count)
{
  if (count < 2 || octets[0] != 126) return {};
  Protection p = securityHeader(octets, count, octets[1] & 15, "TS24501Msg_NAS5GSecProtMsgHdr", 2);
  p.checkable = p.present;
  p.bearer = 1;
  return p;
}

// C7 02 CD 24: a header type above 11, three bits of key set and five of sequence number, and a code of two octets over
// the two before it (TS 24.301, 4.4.3.3 and 8.2.25).
static Protection serviceRequest(const uint8_t* octets, size_t count)
{
  Protection p = {};
  if (count < 4) return p;
  p.present = p.checkable = true;
  p.sequence = octets[1] & 31;
  p.sequenceBits = 5;
  p.codeAt = 2;
  p.codeOctets = 2;
  p.signedCount = 2;
  p.inner = 4;
  return p;
}

// The upper half of the first octet is the security header type, but for session management, where it is a bearer.
static Protection protectionEps(const uint8_t* octets, size_t count)
{
  unsigned kind = octets[0] >> 4;
  if (kind >= 12) return serviceRequest(octets, count); // whatever the discriminator, as the decoder has it
  if ((octets[0] & 15) != 7) return {};
  return securityHeader(octets, count, kind, "TS24007L3_SecProtMsgHeader", 1);
}

Protection protectionOf(const L3Type& form, const uint8_t* octets, size_t count)
{
  if (!count || !(form.flags & kL3IsPdu)) return {};
  if (strcmp(form.fullName, k5gs) == 0) return protection5gs(octets, count);
  if (strcmp(form.fullName, kEps) == 0) return protectionEps(octets, count);
  return {};
}

// Looks for a discriminator, a header type of 0 and a message type that the form has. By chance ciphered octets look so
// in one of about 80 messages of EPS, where session management needs a half-octet of 2 and one of 50 types, and in one
// of about 1,600 of 5GS.
bool looksPlain(const L3Type& form, const uint8_t* octets, size_t count, const Protection& protection)
{
  bool is5gs = strcmp(form.fullName, k5gs) == 0;
  size_t at = protection.inner;
  if (count < 2 || at > count - 2) return false;
  unsigned discriminator = is5gs ? octets[at] : octets[at] & 15;
  bool session = discriminator == (is5gs ? 46 : 2);
  if (!session && (is5gs ? octets[at + 1] & 15 : octets[at] >> 4)) return false;
  size_t typeAt = at + (is5gs ? 2 : 1) + session;
  return typeAt < count && formHas(form, discriminator, octets[typeAt]);
}
