#include "coding.h"

#include <algorithm>
#include <cstring>

#include "forms.h"
#include "hex.h"
#include "names.h"

static constexpr char k5gs[] = "TS24501Msg_PDU";
static constexpr char kEps[] = "TS24301Msg_PDU";

[[noreturn]] static void refuseUnknown(const Message& message)
{
  bool radio = (message.octets[0] & 15) == 6;
  throw UsageError("the first octet " + octetText(message.octets.data(), 1) +
                   " does not tell what the message is; name its type with --as TYPE" +
                   (radio ? ", or its channel with --channel and its direction with --dir" : ""));
}

static void decodeAs(velnor3gpp_Session* session, const velnor3gpp_Type* type, velnor3gpp_Direction direction,
                     const Message& message)
{
  checkMemory(velnor3gpp_decode(session, type, direction, message.octets.data(), message.octets.size()));
}

static const velnor3gpp_Type* decodable(const std::string& name)
{
  const velnor3gpp_Type* type = typeNamed(name);
  if (!factsOf(type).decodes) throw UsageError("type '" + name + "' has no decoder of its own");
  return type;
}

void decodeMessage(velnor3gpp_Session* session, const SessionOptions& options, const Message& message,
                   std::vector<std::string>* tried)
{
  velnor3gpp_Direction direction = message.direction ? message.direction : readDirection(options.direction);
  velnor3gpp_Channel channel = message.channel ? message.channel : readChannel(options.channel);
  const std::string& name = message.type.empty() ? options.as : message.type;
  selectKeys(session, options, message.connection);
  if (!name.empty()) return decodeAs(session, decodable(name), direction, message);
  std::vector<const velnor3gpp_Type*> forms = formsOf(message.octets, direction, channel);
  if (forms.empty()) refuseUnknown(message);
  const velnor3gpp_Type* best = bestForm(session, forms, direction, message.octets);
  decodeAs(session, best, direction, message);
  for (const velnor3gpp_Type* form : forms)
    if (tried && form != best) tried->emplace_back(factsOf(form).name);
}

Outcome outcomeOf(velnor3gpp_Session* session)
{
  velnor3gpp_Result result = resultOf(session);
  if (result.headerOnly && result.status == RTX_E_NO_SECURITY) return Outcome::kSealed;
  if (result.status < 0) return Outcome::kBad;
  return result.findings || result.missing || !isAllRead(session) ? Outcome::kRemarks : Outcome::kGood;
}

void count(Counts& counts, Outcome outcome)
{
  ++counts.messages;
  counts.remarks += outcome == Outcome::kRemarks;
  counts.sealed += outcome == Outcome::kSealed;
  counts.bad += outcome == Outcome::kBad;
}

std::string findingText(const velnor3gpp_Finding& finding)
{
  std::string text = "status " + std::to_string(finding.status) + " (" + finding.text + ")";
  if (*finding.path) text += std::string(", element ") + finding.path;
  if (finding.octet != SIZE_MAX) text += ", octet " + std::to_string(finding.octet);
  for (char& c : text)
    if (static_cast<unsigned char>(c) < 0x20) c = ' ';
  return text;
}

std::string firstFinding(velnor3gpp_Session* session)
{
  std::string text;
  eachFinding(session, [&](const velnor3gpp_Finding& finding) {
    if (text.empty() && finding.fatal) text = findingText(finding);
  });
  return text;
}

// The header of a form, of which a message needs all octets before anything can be said of it.
struct Header {
  const char* form;
  uint8_t mask, first; // the octets that begin so
  size_t octets;
  const char* parts;
};

static constexpr Header kHeaders[] = {
    {k5gs, 255, 126, 3, "7e, security header type, message type"},
    {k5gs, 255, 46, 4, "2e, PDU session identity, transaction identity, message type"},
    {kEps, 15, 2, 3, "bearer identity and 2, transaction identity, message type"},
    {kEps, 15, 7, 2, "security header type and 7, message type"},
    {"TS24008Msg_PDU", 0, 0, 2, "protocol discriminator, message type"},
    {"TS24011Msg_CP_PDU", 0, 0, 2, "protocol discriminator, message type"},
};

std::string adviceFor(velnor3gpp_Session* session)
{
  velnor3gpp_Result result = resultOf(session);
  if (!result.count || result.status >= 0) return "";
  for (const Header& header : kHeaders)
    if (isForm(result.type, header.form) && (result.octets[0] & header.mask) == header.first &&
        result.count < header.octets)
      return "has " + counted(result.count, "octet") + "; such a message has " + std::to_string(header.octets) +
             " at least: " + header.parts;
  return "";
}

std::string protectionText(velnor3gpp_Session* session, const std::string& option)
{
  velnor3gpp_Result result = resultOf(session);
  switch (result.check) {
    case VELNOR3GPP_VERIFIED:
      return std::string("verified, ") + (result.direction == VELNOR3GPP_DOWN ? "downlink" : "uplink");
    case VELNOR3GPP_FORGED:
      return "FAILED: the authentication code does not fit these keys and counts";
    case VELNOR3GPP_NO_KEYS:
      return result.headerOnly ? "ciphered, and no keys given (" + option + "): only the header can be read"
                               : "not checked: no keys given (" + option + ")";
    case VELNOR3GPP_NULL_ALGORITHM:
      return "not checked: the key file says that integrity protection is null";
    case VELNOR3GPP_NOT_COVERED:
      return "not checked: this header type is not verified by the receiver";
    case VELNOR3GPP_NOT_REACHED:
      return "not checked: decoding ended before";
    default:
      return "";
  }
}

std::string endText(velnor3gpp_Session* session, bool findings)
{
  velnor3gpp_Result result = resultOf(session);
  std::string text = protectionText(session), advice = adviceFor(session);
  if (!text.empty()) text = "protection: " + text + "\n";
  if (outcomeOf(session) == Outcome::kSealed) return text;
  if (result.status >= 0 && result.missing)
    text += "short by: " + counted(result.missing, "octet") + " of the declared lengths\n";
  if (result.status >= 0 && result.used < result.count)
    text += "left over: " + counted(result.count - result.used, "octet") + " behind the last one that was read\n";
  if (findings)
    eachFinding(session, [&](const velnor3gpp_Finding& finding) {
      text += (finding.fatal ? "finding: " : "remark: ") + findingText(finding) + "\n";
    });
  return advice.empty() ? text : text + "the message " + advice + "\n";
}

bool needsSummary(const Counts& counts)
{
  return counts.messages != 1 ? counts.messages > 0 : counts.remarks || counts.sealed || counts.bad;
}

std::string summaryOf(const Counts& counts)
{
  std::string text = counted(counts.messages, "message");
  size_t good = counts.messages - counts.remarks - counts.sealed - counts.bad;
  text += ": " + std::to_string(good) + " in order";
  if (counts.remarks) text += ", " + std::to_string(counts.remarks) + " with remarks";
  if (counts.sealed) text += ", " + std::to_string(counts.sealed) + " ciphered (no keys)";
  text += ", " + std::to_string(counts.bad) + " bad";
  if (counts.noMessage) text += " (" + counted(counts.noMessage, "line") + " without a message)";
  return text;
}

// Networks send fixed pseudo lengths with system information that is rest octets alone (0, 1, 22), encoders what the
// header takes (2): the comparison passes over the six bits.
static bool passOverPseudoLength(const velnor3gpp_Result& result, std::vector<uint8_t>& in, std::vector<uint8_t>& out)
{
  if (!isForm(result.type, kPseudoLengthForm) || in.empty() || out.empty() || in[0] == out[0]) return false;
  in[0] &= 3;
  out[0] &= 3;
  return true;
}

static void compare(const velnor3gpp_Result& result, const std::vector<uint8_t>& in, Comparison& done)
{
  const std::vector<uint8_t>& out = done.octets;
  std::vector<uint8_t> a = in, b = out;
  bool recounted = passOverPseudoLength(result, a, b);
  done.equal = a == b;
  std::string size = counted(in.size(), "octet");
  if (!done.equal) {
    auto parted =
        std::mismatch(a.begin(), a.begin() + static_cast<std::ptrdiff_t>(std::min(a.size(), b.size())), b.begin());
    done.text = "NOT EQUAL: from octet " + std::to_string(parted.first - a.begin()) + " on, " + size + " in, " +
                std::to_string(out.size()) + " out";
    return;
  }
  done.text = "equal: " + size;
  if (recounted)
    done.text += ", but for the pseudo length: " + std::to_string(in[0] >> 2) + " received, " +
                 std::to_string(out[0] >> 2) + " counted";
}

Comparison compareAgain(velnor3gpp_Session* session)
{
  velnor3gpp_Result result = resultOf(session);
  std::vector<uint8_t> in(result.octets, result.octets + result.count);
  Comparison done;
  if (checkMemory(encodeAgain(session, done.octets)) < 0) {
    done.text = "not encoded:";
    eachFinding(session, [&](const velnor3gpp_Finding& finding) { done.text += " " + findingText(finding); });
    return done;
  }
  compare(result, in, done);
  return done;
}

void printOctets(Output& out, const char* title, const uint8_t* octets, size_t count)
{
  for (size_t at = 0; at < count; at += 24)
    out.print("%-8s %s\n", at ? "" : title, octetText(octets + at, std::min<size_t>(24, count - at)).c_str());
}
