// Elements that the decoder kept because it could not read them (l3Kept.h): told to callers by number, put under a
// record that was built from JSON, and overwritten by redacting. The engine knows where a kept element stands by two
// pointers, the record that it belongs to and the row behind which it stood; callers know both by name. Translating
// between the two is what this file does, by the list of places. Kept elements are on the job's heap.
#include "rt3gppsrc/engine/l3Kept.h"

#include <stdio.h>

#include <initializer_list>

#include "api/keptPlaces.h"
#include "rt3gppsrc/rt3gppCrypto.h"

namespace {

// What a kept element belongs to.
struct Owner {
  const L3Type* type;
  const uint8_t* record;
};

} // namespace

// Row number `i` of a type, its optional elements counted behind its rows; null behind the last.
static const L3Row* rowsOf(const L3Type& type, unsigned i)
{
  if (i < type.rowCount) return type.rows + i;
  i -= type.rowCount;
  return type.message && i < type.message->count ? type.message->options + i : nullptr;
}

// Is the anchor the message of this type? A nameless record inside has no node of its own: its message is the type's as
// well. So is that of the standard's form, whose rows are a second table.
static bool isMessageOf(const L3Type& type, const void* anchor)
{
  if (type.message == anchor) return true;
  for (unsigned i = 0; i < type.rowCount; ++i) {
    const L3Row& row = type.rows[i];
    if (row.op == kL3Record && !l3KeyOf(row) && isMessageOf(*row.type, anchor)) return true;
  }
  return type.standard && isMessageOf(*type.standard, anchor);
}

// Is the anchor the type, one of its rows, or one of a nameless record inside?
static bool hasAnchor(const L3Type& type, const void* anchor)
{
  if (anchor == &type) return true;
  for (unsigned i = 0; const L3Row* row = rowsOf(type, i); ++i) {
    if (row == anchor) return true;
    if (row->op == kL3Record && !l3KeyOf(*row) && hasAnchor(*row->type, anchor)) return true;
  }
  return type.standard && hasAnchor(*type.standard, anchor);
}

// Is the anchor the type's message, or one of its rows?
static bool hasPlace(const L3Type& type, const void* anchor)
{
  return isMessageOf(type, anchor) || hasAnchor(type, anchor);
}

// The row by which the engine will find the element again: the one of this name, or without a name the one that has
// such a place (the length whose region it ends, the message in front of whose options it stands, the tail). `record`
// follows into a nameless record, since the engine looks it up by the record that the row belongs to.
static const void* findAnchor(const L3Type& type, const uint8_t*& record, L3KeptAt at, const char* name)
{
  if (at == kL3KeptEnd || at == kL3KeptOverAll) return &type;
  if (at == kL3KeptBehind && !*name && type.message) return type.message;
  for (unsigned i = 0; const L3Row* row = rowsOf(type, i); ++i) {
    const char* key = l3KeyOf(*row);
    bool fits = at == kL3KeptInside ? row->op == kL3Length : at != kL3KeptBehind || *name || row->op == kL3Tail;
    if (fits && strcmp(key ? key : "", name) == 0) return row;
    if (key || row->op != kL3Record) continue;
    const uint8_t* inside = record + row->offset;
    if (const void* anchor = findAnchor(*row->type, inside, at, name)) {
      record = inside;
      return anchor;
    }
  }
  return nullptr;
}

// Element number `index` from the front of the list.
static const L3Kept* keptAt(const velnor3gpp_Session& session, size_t index)
{
  const L3KeptList* list = l3KeptOf(&session.ctxt);
  const L3Kept* kept = list ? list->first : nullptr;
  while (kept && index--) kept = kept->next;
  return kept;
}

// The same, in one step where callers ask for one after the other.
static const L3Kept* nextKept(velnor3gpp_Session& session, size_t index)
{
  // The list has one direction only: counting from its front for each element would take the square of their number.
  bool follows = session.told && index == session.toldIndex + 1;
  session.told = follows ? session.told->next : keptAt(session, index);
  session.toldIndex = index;
  return session.told;
}

// The message in the session's form: its record and its path, "data.AttachComplete"; or a message by itself. The walk
// shows a message of one element as that element, so that what stands behind it belongs to no node. False if there is
// none with content.
static bool findMessage(const velnor3gpp_Session& session, Owner& owner, char (&path)[1024])
{
  const L3Type& form = typeOf(*session.known);
  if (form.flags & kL3IsMessage && l3IsBare(form)) {
    owner = {&form, session.record};
    path[0] = 0;
    return true;
  }
  const L3BodyRow* message = messageOf(session);
  if (!message || !message->type) return false;
  const L3Row& row = *bodyOf(form);
  owner.type = message->type;
  owner.record =
      static_cast<const uint8_t*>(l3BodyValue(*static_cast<const L3Body*>(row.info), *message, session.record));
  snprintf(path, sizeof path, "%s.%s", l3KeyOf(row), message->name());
  return owner.record;
}

// A message of one element that nobody could read has no value, so that a source cannot name it ("data":{}): the path
// of what was kept in its place does. Makes the message of that path in a form that has none. Returns 0 or
// RTX_E_NO_MEMORY.
static int makeMessage(velnor3gpp_Session& session, const char* path)
{
  const L3Type& form = typeOf(*session.known);
  const L3Row* row = bodyOf(form);
  if (!row || messageOf(session)) return 0;
  size_t length = strlen(l3KeyOf(*row));
  if (strncmp(path, l3KeyOf(*row), length) || path[length] != '.') return 0;
  const L3Body& body = *static_cast<const L3Body*>(row->info);
  for (const L3BodyRow* message = body.rows; message < body.rows + body.count; ++message) {
    if (!message->type || strcmp(message->name(), path + length + 1)) continue;
    size_t size = message->type->size;
    void* value = rtxMemHeapAllocZ(&session.ctxt.pMemHeap, size ? size : 1);
    if (!value) return velnor3gpp_report(&session, RTX_E_NO_MEMORY, "", "out of memory");
    l3SetBody(form, session.record, *message, value);
    return 0;
  }
  return 0;
}

// Does the element belong to this place or to a part of it that is no place?
static bool holds(const KeptPlace& place, const L3Kept& kept)
{
  if (place.bare) return place.record == kept.record && hasAnchor(*place.type, kept.anchor);
  uintptr_t offset = reinterpret_cast<uintptr_t>(kept.record) - reinterpret_cast<uintptr_t>(place.record);
  return place.record && (!offset || offset < place.type->size);
}

// Finds type and path of what a kept element belongs to. A record's first member can be a record as well, at the same
// address: the anchor tells which of them is meant, the outer one where both have it. Where no type has it, the
// innermost record counts. Records that are parts of others lie inside them, so that the place before an address is
// that address's or lies in it.
static void findOwner(velnor3gpp_Session& session, const KeptPlaces& places, const L3Kept& kept, Owner& owner)
{
  const KeptPlace *exact = nullptr, *inner = nullptr;
  for (auto* place = placeAtOrBefore(places, kept.record); place; place = placeAround(places, *place)) {
    if (!place->type || !holds(*place, kept)) continue;
    if (place->bare || hasPlace(*place->type, kept.anchor)) exact = place;
    if (!inner && !place->bare) inner = place;
  }
  bool message = !exact && findMessage(session, owner, session.toldPath) && owner.record == kept.record;
  if (message) return;
  const KeptPlace* found = exact ? exact : inner;
  owner = found ? Owner{found->type, found->record} : Owner{nullptr, nullptr};
  session.toldPath[0] = 0;
  if (found) placePath(places, *found, session.toldPath, sizeof session.toldPath);
}

size_t keptCount(const velnor3gpp_Session& session)
{
  const L3KeptList* list = l3KeptOf(&session.ctxt);
  return list ? list->count : 0;
}

// Elements that are a loss: padding that is kept to come back octet for octet is none.
size_t keptInVain(const velnor3gpp_Session& session)
{
  size_t count = 0;
  const L3KeptList* list = l3KeptOf(&session.ctxt);
  for (const L3Kept* kept = list ? list->first : nullptr; kept; kept = kept->next) count += kept->why != kL3KeptPadding;
  return count;
}

// The name of the row that the element stands at, or "" where it is a message or everything that it stands behind.
static const char* elementOf(const L3Kept& kept, const L3Type* type)
{
  bool whole = kept.at == kL3KeptEnd || kept.at == kL3KeptOverAll;
  bool named = !whole && type && !isMessageOf(*type, kept.anchor);
  if (!named || !hasAnchor(*type, kept.anchor)) return "";
  const char* name = l3KeyOf(*static_cast<const L3Row*>(kept.anchor));
  return name ? name : "";
}

// Tells one element. Its octets stay the context's; path and text hold until the next one is asked for.
int velnor3gpp_kept(velnor3gpp_Session* session, size_t index, velnor3gpp_Kept* target)
{
  if (!session || !target) return RTX_E_NULL_POINTER;
  const L3Kept* kept = hasRecord(*session) ? nextKept(*session, index) : nullptr;
  if (!kept) return RTX_E_INDEX_RANGE;
  const KeptPlaces* places = keptPlacesOf(*session);
  if (!places) return RTX_E_NO_MEMORY;
  Owner owner;
  findOwner(*session, *places, *kept, owner);
  char name[kL3KeptName];
  size_t length = l3KeptName(*kept, name);
  memcpy(session->words, name, length + 1);
  velnor3gpp_Kept all = {};
  all.why = static_cast<velnor3gpp_KeptWhy>(kept->why);
  all.at = kept->at == kL3KeptOverAll ? VELNOR3GPP_KEPT_OVER : static_cast<velnor3gpp_KeptAt>(kept->at);
  all.iei = kept->iei;
  all.ieiBits = kept->ieiBits;
  all.octet = kept->position / 8;
  all.bit = static_cast<unsigned>(8 - kept->position % 8);
  all.octets = kept->octets();
  all.count = (kept->bits + 7) / 8;
  all.bits = kept->bits;
  all.status = kept->status;
  all.text = session->words;
  all.path = session->toldPath;
  all.element = elementOf(*kept, owner.type);
  all.fault = kept->path;
  bool over = all.at == VELNOR3GPP_KEPT_OVER && !kept->refused;
  all.regular = over ? kept->regular() : nullptr;
  all.regularCount = over ? kept->regularCount : 0;
  return fillStruct(target, all);
}

namespace {

// Where the engine will look for a kept element.
struct Spot {
  L3KeptAt at;
  const uint8_t* record;
  const void* anchor; // null: the record has no such place
};

} // namespace

// Finds the place that a caller names. Returns 0, or a status after telling what is wrong.
static int findSpot(velnor3gpp_Session& session, const velnor3gpp_Kept& all, Spot& spot)
{
  const KeptPlaces* places = keptPlacesOf(session);
  if (!places) return velnor3gpp_report(&session, RTX_E_NO_MEMORY, "", "out of memory");
  // A bare type has the path of the record that it is told as. Inside a length the place is rather the bare type's, to
  // which the length belongs; any other that the record lacks can be its as well, and that of a message of one element.
  Owner owners[3];
  unsigned count = 0;
  bool inside = spot.at == kL3KeptInside;
  for (bool bare : {inside, !inside})
    if (const KeptPlace* place = placeByPath(*places, all.path, bare)) owners[count++] = {place->type, place->record};
  // The list of places goes without the message that is made here: in its elements' place something is kept.
  if (!count && makeMessage(session, all.path) < 0) return RTX_E_NO_MEMORY;
  Owner message = {};
  char messagePath[1024];
  bool inMessage = findMessage(session, message, messagePath) && strcmp(messagePath, all.path) == 0;
  // Over a record without an element's name is over all of it, but for a message of one element without a name.
  bool single = inMessage && l3IsBare(*message.type);
  if (spot.at == kL3KeptOver && single) count = 0;
  if (spot.at == kL3KeptOver && !*all.element && !single) spot.at = kL3KeptOverAll;
  if (inMessage) owners[count++] = message;
  if (!count) return velnor3gpp_report(&session, RTX_E_UNEXPECTED_ELEMENT, all.path, "is no element of this record");
  const void* named = &typeOf(*session.known);
  for (unsigned i = 0; i < count && !spot.anchor; ++i) {
    spot.record = owners[i].record;
    spot.anchor = findAnchor(*owners[i].type, spot.record, spot.at, all.element);
    // What stands behind or over everything is the named type's, also where its rows are those of the standard's form.
    if (spot.record == session.record && spot.anchor == owners[i].type) spot.anchor = named;
  }
  // A message that is rest octets alone (system information 13): behind it everything ends, so the place is the end.
  bool rest = spot.at == kL3KeptBehind && !*all.element && owners[0].type->flags & kL3RestOctets;
  if (!spot.anchor && rest) spot = {kL3KeptEnd, session.record, named};
  if (spot.anchor) return 0;
  return velnor3gpp_report(&session, RTX_E_UNEXPECTED_ELEMENT, all.element, "is no place for kept octets");
}

// Puts octets under a record that was built, so that they are encoded with it: the reverse of velnor3gpp_kept. All of
// `source` is copied. The place has to exist in the record, otherwise an encoder would never come by it.
int velnor3gpp_keep(velnor3gpp_Session* session, const velnor3gpp_Kept* source)
{
  if (!session || !source) return RTX_E_NULL_POINTER;
  if (!isSized(*source)) return RTX_E_BAD_PARAMETER;
  velnor3gpp_Kept room;
  const velnor3gpp_Kept& all = readStruct(source, room);
  if (!all.path || !all.element || (!all.octets && all.count)) return RTX_E_NULL_POINTER;
  if (!hasRecord(*session)) return RTX_E_BAD_PARAMETER;
  if (all.bits > all.count * 8)
    return velnor3gpp_report(session, RTX_E_BAD_PARAMETER, all.path, "has more bits than its octets");
  if (all.at > VELNOR3GPP_KEPT_OVER || all.why > VELNOR3GPP_KEPT_UNUSUAL) return RTX_E_BAD_PARAMETER;
  Spot spot = {static_cast<L3KeptAt>(all.at), nullptr, nullptr};
  if (int status = findSpot(*session, all, spot); status < 0) return status;
  L3KeptFacts facts = {spot.record,
                       spot.anchor,
                       all.octet * 8,
                       static_cast<uint8_t>(all.iei),
                       static_cast<uint8_t>(all.ieiBits),
                       spot.at,
                       static_cast<L3KeptWhy>(all.why),
                       all.status,
                       all.fault,
                       all.regular,
                       all.regular ? all.regularCount : 0};
  L3Kept* kept = l3AddKept(&session->ctxt, facts, all.octets, all.bits ? all.bits : all.count * 8);
  if (!kept) return velnor3gpp_report(session, RTX_E_NO_MEMORY, "", "out of memory");
  // What the value counted when it was decoded is not in JSON; the octet at which the element stood is.
  kept->before = static_cast<uint32_t>(all.octet);
  session->ctxt.flags |= RTX_FLAG_KEEP_ELEMENTS;
  session->told = nullptr;
  return 0;
}

// The octets that frame an element (identifier, length) and may stay; what stands behind them may tell
// of a person. 7A 03 xx xx xx has a head of 2, 7B 00 03 xx xx xx one of 3, and one whose length does not
// fit keeps its identifier alone.
static size_t headOf(const L3Kept& kept)
{
  const uint8_t* octets = kept.octets();
  size_t count = kept.bits / 8;
  if (kept.at == kL3KeptInstead) {
    const L3Row& row = *static_cast<const L3Row*>(kept.anchor);
    return l3LeadingLength(row) / 8;
  }
  if (kept.ieiBits != 8) return kept.ieiBits ? 1 : 0;
  if (count > 2 && octets[1] + 2U == count) return 2;
  return count > 3 && static_cast<size_t>(octets[1] << 8 | octets[2]) + 3 == count ? 3 : 1;
}

// Overwrites the content of all kept elements with zeros, and leaves their framing so that they can be encoded. What
// stood over a value that is redacted now goes altogether.
void hideKept(velnor3gpp_Session& session)
{
  l3DropUnusual(&session.ctxt);
  session.told = nullptr;
  L3KeptList* list = l3KeptOf(&session.ctxt);
  for (L3Kept* kept = list ? list->first : nullptr; kept; kept = kept->next) {
    size_t head = headOf(*kept), count = (kept->bits + 7) / 8;
    if (kept->why != kL3KeptPadding && head < count) rtx3gppWipe(kept->octets() + head, count - head);
  }
}
