// Types by name, and what is known of them, from constant tables that the generator writes (l3Types, sorted by full
// name, and l3TypeFacts beside it). Nothing is allocated, and every pointer that is handed out is valid for ever.
#include <strings.h>

#include "api/session.h"
#include "rtxsrc/errors/rtxErrorInternal.h"

const char* velnor3gpp_version(void)
{
  return VELNOR3GPP_VERSION;
}

// Two tables of texts, for the run-time's two ranges of codes. The bounds themselves are no codes.
const char* velnor3gpp_statusText(int status)
{
  if (status <= kRtxMessageFirst && status > kRtxMessageBound) return kRtxMessages[kRtxMessageFirst - status];
  if (status <= kRtMessageFirst && status > kRtMessageBound) return kRtMessages[kRtMessageFirst - status];
  return nullptr;
}

// All types that this build of the library has.
size_t velnor3gpp_typeCount(void)
{
  return l3KnownTypes;
}

// In the order of full names; null behind the last.
const velnor3gpp_Type* velnor3gpp_typeAt(size_t index)
{
  return index < l3KnownTypes ? publicType(&l3TypeFacts[index]) : nullptr;
}

// Binary search: a schema or a description asks for thousands of types.
const L3Facts* findType(const char* fullName)
{
  if (!fullName) return nullptr;
  size_t low = 0, high = l3KnownTypes; // in low..high - 1, if anywhere
  while (low < high) {
    size_t middle = low + (high - low) / 2;
    int order = strcmp(l3Types[middle]->fullName, fullName);
    if (order == 0) return &l3TypeFacts[middle];
    if (order < 0)
      low = middle + 1;
    else
      high = middle;
  }
  return nullptr;
}

// A full name matches in any case of letters. A short name has no module in front, so none is a full name. A short name
// that several modules have matches none of their types; `others` says how many there are.
const velnor3gpp_Type* velnor3gpp_typeByName(const char* name, size_t* others)
{
  const L3Facts* found = nullptr;
  size_t count = 0;
  if (others) *others = 0;
  if (!name) return nullptr;
  // The name as it is written, by binary search, before all types are looked through.
  if (const L3Facts* exact = findType(name)) return publicType(exact);
  for (size_t i = 0; i < l3KnownTypes; ++i) {
    if (strcasecmp(l3Types[i]->fullName, name) == 0) return publicType(&l3TypeFacts[i]);
    if (strcasecmp(l3NameOf(*l3Types[i]), name)) continue;
    found = &l3TypeFacts[i];
    ++count;
  }
  if (others) *others = count;
  return count == 1 ? publicType(found) : nullptr;
}

// A message is an element with a type, a form is what octets from the network are decoded as.
int velnor3gpp_typeFacts(const velnor3gpp_Type* type, velnor3gpp_TypeFacts* facts)
{
  if (!type || !facts) return RTX_E_NULL_POINTER;
  const L3Facts& known = *factsOf(type);
  const L3Type& own = typeOf(known);
  velnor3gpp_TypeFacts all = {};
  all.name = own.fullName;
  all.shortName = l3NameOf(own);
  all.title = l3FactText + known.title;
  all.clause = l3FactText + known.clause;
  all.module = l3FactText + known.module;
  all.use = VELNOR3GPP_ELEMENT;
  if (own.flags & kL3IsMessage) all.use = VELNOR3GPP_MESSAGE;
  if (own.flags & kL3IsPdu) all.use = VELNOR3GPP_FORM;
  all.messageType = known.msgType;
  all.direction = static_cast<velnor3gpp_Direction>(known.direction);
  all.decodes = known.decodes;
  all.encodes = known.encodes;
  for (const L3Row* row = own.rows; row < own.rows + own.rowCount; ++row)
    if (row->op == kL3Release) all.release = static_cast<const L3Release*>(row->info)->release; // they come in order
  return fillStruct(facts, all);
}
