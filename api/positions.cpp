#include "api/positions.h"

#include "api/session.h"
#include "velnor3gpp/rtxDiagBitTrace.h"

static constexpr size_t kPathRoom = 1024;
static constexpr size_t kLooksPerField = 64;

namespace {

struct PathText {
  char chars[kPathRoom];
  size_t length;
};

} // namespace

static void append(PathText& path, const char* text)
{
  size_t length = strlen(text);
  if (length >= kPathRoom - path.length) length = kPathRoom - path.length - 1;
  memcpy(path.chars + path.length, text, length);
  path.length += length;
  path.chars[path.length] = 0;
}

static void appendIndex(PathText& path, uint32_t index)
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

// "RegAccept.taiList.elem[0]": names as the decoder pushes them.
static void pushedPath(PathText& path, const velnor3gpp_Node* node, PushedName* pushed)
{
  if (node->parent) {
    pushedPath(path, node->parent, pushed);
    append(path, ".");
  }
  append(path, pushed(node) ? pushed(node) : "");
  if (node->parent && !node->name) appendIndex(path, node->index);
}

static const RtxBitField* fieldOf(const RtxSListNode* entry)
{
  return static_cast<const RtxBitField*>(entry->data);
}

// Is the field the path's, or does it lie within?
static bool isWithin(const RtxBitField* field, const PathText& path)
{
  if (!field->elemName || strncmp(field->elemName, path.chars, path.length)) return false;
  char behind = field->elemName[path.length];
  return !behind || behind == '.' || behind == '[';
}

static const RtxSListNode* search(Positions& positions, const RtxSListNode* from, const RtxSListNode* to,
                                  const PathText& path)
{
  for (const RtxSListNode* entry = from; entry && entry != to && positions.looks; entry = entry->next) {
    --positions.looks;
    if (isWithin(fieldOf(entry), path)) return entry;
  }
  return nullptr;
}

bool openPositions(Positions& positions, velnor3gpp_Session& session)
{
  const RtxBitFieldList* list = positionsOf(session);
  if (!list) return false;
  positions.first = positions.next = list->fieldList.head;
  positions.looks = kLooksPerField * (list->fieldList.count + 64);
  return true;
}

void locate(Positions& positions, velnor3gpp_Node* node, PushedName* pushed)
{
  PathText path;
  path.length = 0;
  pushedPath(path, node, pushed);
  const RtxSListNode* entry = search(positions, positions.next, nullptr, path);
  if (!entry) entry = search(positions, positions.first, positions.next, path);
  if (!entry) return;
  node->bitOffset = fieldOf(entry)->bitOffset;
  bool inside = node->step == VELNOR3GPP_ENTER;
  positions.next = inside ? entry : entry->next;
  for (; entry && isWithin(fieldOf(entry), path); entry = entry->next) {
    size_t end = fieldOf(entry)->bitOffset + fieldOf(entry)->bitCount;
    if (end > node->bitOffset) node->bits = end - node->bitOffset;
    if (!positions.looks) break;
    --positions.looks;
  }
}
