// Session elements whose first octets decide their form: the service-level-AA parameter (TS 24.501, 9.11.2.10), whose
// pending indication shares the octet of the type, and the QoS rule (9.11.4.13), which ends behind a length of 0.
#include "L3Descriptors.h"
#include "src2/NamedParts.h"
#include "velnor3gpp/TS24501IES.h"

// The type 1 form of the pending indication: 0xA in the upper half of the type's octet, the value in the lower.
static constexpr uint8_t kSharedForm = 0xA;

using Parameter = TS24501IE_SLAAParameter;

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

static int encShared(L3Call& call, Parameter& parameter)
{
  L3Name frame;
  l3PushName(call, frame, "value");
  const L3Type& type = l3_TS24501IE_SLAAPendingIndication;
  int status = encPart(call, l3_TS24501IE_SLAAParameter, "pendingInd", type, &parameter.value.u.pendingInd);
  if (status >= 0) l3PopName(call);
  return status;
}

int l3Dec_TS24501IE_SLAAParameter(L3Call& call, const L3Type& type, void* value)
{
  uint32_t octet = 0;
  if (l3LookAhead(call, 8, octet) && octet >> 4 == kSharedForm) return decShared(call, *static_cast<Parameter*>(value));
  return l3DecRows(call, type, value);
}

int l3Enc_TS24501IE_SLAAParameter(L3Call& call, const L3Type& type, void* value)
{
  Parameter& parameter = *static_cast<Parameter*>(value);
  bool pending = parameter.type == TS24501IE_SLAAParamTypes_ptPendingInd;
  if (pending && parameter.value.u.pendingInd.spare1 == kSharedForm) return encShared(call, parameter);
  return l3EncRows(call, type, value);
}

using Rule = TS24501IE_QoSRule;

static constexpr uint16_t kEmptyRuleRows = 2; // identifier and length
static constexpr unsigned kEmptyRuleBits = 24;

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
  const Rule& rule = *static_cast<const Rule*>(value);
  bool empty = rule.ruleLen == 0 && rule.ruleOpCode == 0;
  return l3EncRows(call, empty ? l3Slice(type, 0, kEmptyRuleRows) : type, value);
}
