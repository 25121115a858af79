// The search for a node's place in the bit trace; positions.h says what it is for. Offsets and counts are bits from the
// start of the message.
#include "api/positions.h"

#include "api/place.h"
#include "api/session.h"
#include "velnor3gpp/rtxDiagBitTrace.h"

// A message of nothing but tiny fields that no node asks for would make each search long. So many looks for each field
// are more than real messages need (most nodes are found at the first); behind that, nodes have no place.
static constexpr size_t kLooksPerField = 64;

// Appends as much as fits. A path that is cut is not found, and its node has no place.
static void append(PositionPath& path, const char* text)
{
  size_t length = strlen(text);
  if (length >= sizeof path.chars - path.length) length = sizeof path.chars - path.length - 1;
  memcpy(path.chars + path.length, text, length);
  path.length += length;
  path.chars[path.length] = 0;
}

// Writes the digits from the right.
static void appendIndex(PositionPath& path, uint32_t index)
{
  char digits[14] = "]";
  size_t first = sizeof digits - 2;
  digits[first] = ']';
  digits[first + 1] = 0;
  do digits[--first] = static_cast<char>('0' + index % 10);
  while (index /= 10);
  digits[--first] = '[';
  append(path, digits + first);
}

// "RegAccept.taiList.elem[0]": the path of a node in names as the decoder pushes them. That of the container around
// stands in front of it already: containers are located before what they hold, and what stood behind it is done.
static void pushedPath(PositionPath& path, Place& place)
{
  const Place* around = reinterpret_cast<const Place*>(place.node.parent);
  path.length = around ? around->pathEnd : 0;
  path.chars[path.length] = 0;
  if (around) append(path, ".");
  append(path, place.pushed ? place.pushed : "");
  if (around && !place.node.name) appendIndex(path, place.node.index);
  path.value = place.node.step == VELNOR3GPP_VALUE;
  place.pathEnd = static_cast<uint32_t>(path.length);
}

static const RtxBitField* fieldOf(const RtxSListNode* entry)
{
  return static_cast<const RtxBitField*>(entry->data);
}

// Is the field the path's own, or one of something within? "a.b" holds "a.b", "a.b.c" and "a.b[0]", but not "a.bc". A
// value holds no entries: those are of a list in front of it that is pushed under its name.
static bool isWithin(const RtxBitField* field, const PositionPath& path)
{
  if (!field->elemName || strncmp(field->elemName, path.chars, path.length)) return false;
  char behind = field->elemName[path.length];
  if (path.value) return !behind || (behind == '.' && strncmp(field->elemName + path.length, ".elem[", 6));
  return !behind || behind == '.' || behind == '[';
}

// The first entry under the path in from..to, counting the looks.
static const RtxSListNode* search(Positions& positions, const RtxSListNode* from, const RtxSListNode* to,
                                  const PositionPath& path)
{
  for (const RtxSListNode* entry = from; entry && entry != to && positions.looks; entry = entry->next) {
    --positions.looks;
    if (isWithin(fieldOf(entry), path)) return entry;
  }
  return nullptr;
}

// Decodes the message once more with the trace, unless that has been done for it.
bool openPositions(Positions& positions, velnor3gpp_Session& session)
{
  const RtxBitFieldList* list = positionsOf(session);
  if (!list) return false;
  positions.first = positions.next = list->fieldList.head;
  positions.looks = kLooksPerField * (list->fieldList.count + 64);
  return true;
}

// Finds the node's first field and sums up to the end of its last. A record's search leaves `next` at its first field,
// since its members begin there; a value leaves it behind.
void locate(Positions& positions, Place& place)
{
  PositionPath& path = positions.path;
  pushedPath(path, place);
  velnor3gpp_Node* node = &place.node;
  const RtxSListNode* entry = search(positions, positions.next, nullptr, path);
  // A coder by hand may read fields in another order than the rows tell them: then it is looked for from the front.
  if (!entry) entry = search(positions, positions.first, positions.next, path);
  if (!entry) {
    // Coders by hand read an alternative under the name of another one, as they do in headers: it is where its choice
    // is.
    if (node->parent && node->parent->kind == VELNOR3GPP_CHOICE) {
      node->bitOffset = node->parent->bitOffset;
      node->bits = node->parent->bits;
    }
    return;
  }
  node->bitOffset = fieldOf(entry)->bitOffset;
  // From its first field to the last that lies in it: members may have been read with gaps between them.
  bool inside = node->step == VELNOR3GPP_ENTER;
  positions.next = inside ? entry : entry->next;
  for (; entry && isWithin(fieldOf(entry), path); entry = entry->next) {
    size_t end = fieldOf(entry)->bitOffset + fieldOf(entry)->bitCount;
    if (end > node->bitOffset) node->bits = end - node->bitOffset;
    if (!positions.looks) break;
    --positions.looks;
  }
}
