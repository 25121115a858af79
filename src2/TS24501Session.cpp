// Two session elements of TS 24.501 whose first octets decide which rows follow. The engine calls these coders; the
// rows of the types do all but the decision.
//   - The service-level-AA parameter (9.11.2.10): its pending indication is a type 1 element, whose value shares
//     the octet of the type. A1 is the whole parameter, while 10 01 02 is type, length and value of a device identity.
//   - The QoS rule (9.11.4.13): one with a length of 0, 01 00 00, ends behind it. The rows go on with the
//     operation code, as a rule of length 3 has it: 01 00 03 ...
#include "L3Descriptors.h"
#include "src2/NamedParts.h"
#include "velnor3gpp/TS24501IES.h"

// The upper half-octet of a pending indication; the lower one holds its value.
static constexpr uint8_t kSharedForm = 0xA;

using Parameter = TS24501IE_SLAAParameter;

// The pending indication. The type of the record is set by hand, since no octet of its own says it, and the names are
// those that the rows would push.
static int decShared(L3Call& call, Parameter& parameter)
{
  L3Name frame;
  parameter.type = TS24501IE_SLAAParamTypes_ptPendingInd;
  parameter.value.t = TS24501IE_SLAAParameter_value_t_pendingInd;
  l3PushName(call, frame, "value");
  const L3Type& type = l3_TS24501IE_SLAAPendingIndication;
  int status = decPart(call, l3_TS24501IE_SLAAParameter, "pendingInd", type, &parameter.value.u.pendingInd);
  if (status >= 0) l3PopName(call);
  return status;
}

// The same octet on encoding.
static int encShared(L3Call& call, Parameter& parameter)
{
  L3Name frame;
  l3PushName(call, frame, "value");
  const L3Type& type = l3_TS24501IE_SLAAPendingIndication;
  int status = encPart(call, l3_TS24501IE_SLAAParameter, "pendingInd", type, &parameter.value.u.pendingInd);
  if (status >= 0) l3PopName(call);
  return status;
}

static bool hasOwnType(const uint8_t* octets, size_t left, void*)
{
  return !left || octets[0] >> 4 != kSharedForm;
}

// A pending indication whose record has no 0xA in its upper half (`spare1`) is written with type and value by the rows.
static bool putsOwnType(const void* value)
{
  const Parameter& parameter = *static_cast<const Parameter*>(value);
  bool pending = parameter.type == TS24501IE_SLAAParamTypes_ptPendingInd;
  return !pending || parameter.value.u.pendingInd.spare1 != kSharedForm;
}

extern const L3Plain l3Plain_TS24501IE_SLAAParameter = {hasOwnType, nullptr, putsOwnType};

// Looks at the next octet without a step. No other parameter has a type of 0xA0 to 0xAF.
int l3Dec_TS24501IE_SLAAParameter(L3Call& call, const L3Type& type, void* value)
{
  uint32_t octet = 0;
  if (l3LookAhead(call, 8, octet) && octet >> 4 == kSharedForm) return decShared(call, *static_cast<Parameter*>(value));
  return l3DecRows(call, type, value);
}

int l3Enc_TS24501IE_SLAAParameter(L3Call& call, const L3Type& type, void* value)
{
  return putsOwnType(value) ? l3EncRows(call, type, value) : encShared(call, *static_cast<Parameter*>(value));
}

using Rule = TS24501IE_QoSRule;

// What an empty rule consists of: identifier and length.
static constexpr uint16_t kEmptyRuleRows = 2;
static constexpr unsigned kEmptyRuleBits = 24;

static bool hasContent(const uint8_t* octets, size_t left, void*)
{
  return left < kEmptyRuleBits / 8 || octets[1] || octets[2];
}

// A rule without operation and with length 0 goes out as it came. The length alone does not decide: callers leave it 0
// in rules that they build, and the encoder works it out.
static bool putsContent(const void* value)
{
  const Rule& rule = *static_cast<const Rule*>(value);
  return rule.ruleLen != 0 || rule.ruleOpCode != 0;
}

extern const L3Plain l3Plain_TS24501IE_QoSRule = {hasContent, nullptr, putsContent};

// An empty rule has two rows; the others of the record are set to what printers and encoders expect of no operation.
int l3Dec_TS24501IE_QoSRule(L3Call& call, const L3Type& type, void* value)
{
  Rule& rule = *static_cast<Rule*>(value);
  uint32_t ahead = 0;
  if (!l3LookAhead(call, kEmptyRuleBits, ahead) || ahead & 0xFFFF) return l3DecRows(call, type, value);
  rule.ruleOpCode = static_cast<TS24501IE_RuleOpCodes>(0);
  rule.packetFilterList.t = 0;
  return l3DecRows(call, l3Slice(type, 0, kEmptyRuleRows), value);
}

int l3Enc_TS24501IE_QoSRule(L3Call& call, const L3Type& type, void* value)
{
  return l3EncRows(call, putsContent(value) ? type : l3Slice(type, 0, kEmptyRuleRows), value);
}
