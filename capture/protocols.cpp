// The protocols that captures name, after the dissectors that read them, and the forms of their messages, in both
// directions: frames.cpp, gsmtap.cpp and lapdm.cpp read by a name, and velnor3gpp_captureDissector tells a writer which
// name a form has. Also the texts for why a frame is no message. Tables alone; the octets are looked at for the form.
#include "capture/capture.h"

static constexpr char kPseudoLength[] = "TS44018Msg_L2_PSEUDO_LEN_PDU";
static constexpr char kDtap[] = "gsm_a_dtap";

// Name, form, channel. A form of null is found by octets and channel.
static constexpr CaptureProtocol kProtocols[] = {{"nas-5gs", "TS24501Msg_PDU", VELNOR3GPP_CHANNEL_UNKNOWN},
                                                 {"nas-eps", "TS24301Msg_PDU", VELNOR3GPP_CHANNEL_UNKNOWN},
                                                 {"nas-eps_plain", "TS24301Msg_PDU", VELNOR3GPP_CHANNEL_UNKNOWN},
                                                 {kDtap, nullptr, VELNOR3GPP_DCCH},
                                                 {"gsm_a_rp", "TS24011Msg_RP_PDU", VELNOR3GPP_CHANNEL_UNKNOWN},
                                                 {"gsm_a_ccch", kPseudoLength, VELNOR3GPP_CCCH},
                                                 {"gsm_a_sacch", nullptr, VELNOR3GPP_SACCH}};

namespace {

struct FormName {
  const char* form;
  const char* dissector; // null: the octets tell it
};

} // namespace

// The dissector of each form, for writers.
static constexpr FormName kForms[] = {{"TS24501Msg_PDU", "nas-5gs"},     {"TS24301Msg_PDU", nullptr},
                                      {"TS24008Msg_PDU", kDtap},         {"TS24011Msg_CP_PDU", kDtap},
                                      {"TS24011Msg_RP_PDU", "gsm_a_rp"}, {"TS44018Msg_DL_DCCH_PDU", kDtap},
                                      {"TS44018Msg_UL_DCCH_PDU", kDtap}, {"TS44018Msg_UL_SACCH_PDU", kDtap},
                                      {kPseudoLength, "gsm_a_ccch"},     {"TS44018Msg_RR_Short_PD_PDU", "gsm_a_sacch"}};

// By all its characters: "nas-eps" is not "nas-eps_plain".
const CaptureProtocol* protocolNamed(const char* name, size_t count)
{
  for (const CaptureProtocol& protocol : kProtocols)
    if (strlen(protocol.dissector) == count && memcmp(protocol.dissector, name, count) == 0) return &protocol;
  return nullptr;
}

// The dissector of EPS takes a first half-octet for a security header, its plain variant does not: a session message of
// bearer 5, 52, needs the latter.
const char* epsDissector(Span octets)
{
  return octets.data && octets.size && (octets.data[0] & 15) == 2 ? "nas-eps_plain" : "nas-eps";
}

// Null for a type that no dissector takes by itself, such as an element.
const char* velnor3gpp_captureDissector(const velnor3gpp_Type* form, const uint8_t* octets, size_t count)
{
  velnor3gpp_TypeFacts facts = {};
  facts.size = sizeof facts;
  if (velnor3gpp_typeFacts(form, &facts) < 0) return nullptr;
  for (const FormName& known : kForms)
    if (strcmp(known.form, facts.name) == 0) return known.dissector ? known.dissector : epsDissector({octets, count});
  return nullptr;
}

// Looked up once for each reader; null if this build of the library does not have the form.
static const velnor3gpp_Type* fixedForm(velnor3gpp_CaptureReader& reader, const CaptureProtocol& protocol)
{
  const velnor3gpp_Type*& form = reader.forms[&protocol - kProtocols];
  if (!form) form = velnor3gpp_typeByName(protocol.form, nullptr);
  return form;
}

// Radio resource messages have their form from the channel, others from their first octets. On the slow associated
// channel from the network a pseudo length stands first, or the short header, whose first bit is 0.
static velnor3gpp_Channel channelOf(const CaptureProtocol& protocol, Span octets)
{
  unsigned first = octets.data[0] & 15U;
  if (first == 6) return protocol.channel;
  if (protocol.channel != VELNOR3GPP_SACCH) return VELNOR3GPP_CHANNEL_UNKNOWN;
  bool pseudo = (first & 3) == 1 && octets.size > 1 && (octets.data[1] & 15) == 6;
  if (pseudo) return VELNOR3GPP_SACCH;
  return octets.data[0] & 0x83 ? VELNOR3GPP_CHANNEL_UNKNOWN : VELNOR3GPP_SHORT;
}

static bool isEps(const CaptureProtocol& protocol)
{
  return protocol.form && strcmp(protocol.form, "TS24301Msg_PDU") == 0;
}

// Octets, dissector, channel and form of the message. A form that the octets leave open is the decoder's to find. EPS
// has two names, and messages came under either: the right one is told.
velnor3gpp_CaptureReason readProtocol(velnor3gpp_CaptureReader& reader, const CaptureProtocol& protocol, Span octets)
{
  velnor3gpp_CaptureFrame& frame = reader.frame;
  frame.octets = octets.data;
  frame.count = octets.size;
  frame.dissector = isEps(protocol) ? epsDissector(octets) : protocol.dissector;
  if (!octets.size) return VELNOR3GPP_CAPTURE_MALFORMED;
  frame.channel = protocol.channel;
  if (protocol.form) {
    frame.type = fixedForm(reader, protocol);
    return VELNOR3GPP_CAPTURE_MESSAGE;
  }
  frame.channel = channelOf(protocol, octets);
  const velnor3gpp_Type* forms[VELNOR3GPP_FORMS_MAX];
  size_t count = velnor3gpp_forms(octets.data, octets.size, frame.direction, frame.channel, forms);
  // Several forms may have the message: the decoder then tries them.
  frame.type = count == 1 ? forms[0] : nullptr;
  return VELNOR3GPP_CAPTURE_MESSAGE;
}

const char* velnor3gpp_captureReasonText(velnor3gpp_CaptureReason reason)
{
  static constexpr const char* kTexts[VELNOR3GPP_CAPTURE_REASONS] = {"a message",
                                                                     "a link type that is not read",
                                                                     "another protocol",
                                                                     "a type without layer 3 here",
                                                                     "a fragment of an IP packet",
                                                                     "a segment of a message that goes on",
                                                                     "a segment without the rest of its message",
                                                                     "a fill frame",
                                                                     "a layer-2 frame without a message",
                                                                     "a layer-2 frame sent again",
                                                                     "a frame that was captured in part",
                                                                     "malformed headers"};
  size_t number = static_cast<size_t>(reason); // below 0 it is beyond all
  return number < VELNOR3GPP_CAPTURE_REASONS ? kTexts[number] : "";
}
