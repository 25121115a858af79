// The message as a tree of elements: name, title and clause, kind, what the value means, and where it stands. Values
// are not told: the page has them from the JSON, under the same path.
#include "engine.h"
#include "tools/velnor3gpp/names.h"
#include "tools/velnor3gpp/words.h"

static std::string pathOf(const velnor3gpp_Node* node)
{
  char path[1024];
  size_t length = velnor3gpp_nodePath(node, path, sizeof path);
  return {path, length < sizeof path ? length : sizeof path - 1};
}

static std::string labelOf(const velnor3gpp_Node* node)
{
  if (node->name) return asTitle({node->name, node->nameLength});
  return node->parent ? "[" + std::to_string(node->index) + "]" : "";
}

// What the types that the definitions name say of an element: the standard's name of it, and where it is told.
static std::string typeMembers(const velnor3gpp_Node* node)
{
  const velnor3gpp_Type* type = velnor3gpp_nodeType(node);
  if (!type) return "";
  velnor3gpp_TypeFacts facts = factsOf(type);
  std::string text = ",\"title\":" + quoted(facts.title) + ",\"clause\":" + quoted(facts.clause);
  return facts.use == VELNOR3GPP_MESSAGE ? text + ",\"message\":true" : text;
}

static std::string membersOf(const velnor3gpp_Node* node)
{
  std::string text = "\"path\":" + quoted(pathOf(node)) + ",\"name\":" + quoted(labelOf(node));
  text += ",\"kind\":" + std::to_string(node->kind) + ",\"width\":" + std::to_string(node->width);
  text += ",\"bit\":" + std::to_string(node->bitOffset) + ",\"bits\":" + std::to_string(node->bits);
  if (node->valueName) text += ",\"means\":" + quoted(asWords(node->valueName));
  return text + typeMembers(node);
}

// A choice is told by its alternative.
static bool isPassedOver(const velnor3gpp_Node* node)
{
  return node->kind == VELNOR3GPP_CHOICE && node->parent;
}

static int addNode(const velnor3gpp_Node* node, void*)
{
  std::string& text = engine().text;
  if (isPassedOver(node)) return 0;
  if (node->step == VELNOR3GPP_LEAVE) {
    text += "]}";
    return 0;
  }
  if (text.back() == '}') text += ',';
  text += '{' + membersOf(node) + (node->step == VELNOR3GPP_ENTER ? ",\"inside\":[" : "}");
  return 0;
}

static std::string keptMembers(const velnor3gpp_Kept& kept)
{
  std::string text = "{\"around\":" + quoted(kept.path) + ",\"name\":" + quoted(kept.text);
  return text + ",\"bit\":" + std::to_string(8 * kept.octet) + ",\"bits\":" + std::to_string(kept.bits) + '}';
}

PAGE_CALL(tree) void tree()
{
  Engine& own = engine();
  own.text = "[";
  velnor3gpp_visit(own.session, VELNOR3GPP_NAMES | VELNOR3GPP_POSITIONS, addNode, nullptr);
  own.text += own.text == "[" ? "null,[" : ",[";
  velnor3gpp_Kept kept = {};
  kept.size = sizeof kept;
  const char* comma = "";
  for (size_t i = 0; velnor3gpp_kept(own.session, i, &kept) == 0; ++i) {
    // What was read has its fields already.
    if (kept.at == VELNOR3GPP_KEPT_OVER) continue;
    own.text += comma + keptMembers(kept);
    comma = ",";
  }
  own.text += "]]";
}

struct Wanted {
  std::string_view path;
  uint64_t value;
  std::string name;
};

static int findName(const velnor3gpp_Node* node, void* arg)
{
  Wanted& wanted = *static_cast<Wanted*>(arg);
  if (node->kind != VELNOR3GPP_ENUMERATED || pathOf(node) != wanted.path) return 0;
  if (node->valueName && node->number == wanted.value) wanted.name = asWords(node->valueName);
  return -1;
}

// The name of the value of the field whose path stands in the room; nothing if it has none, or if the field did not
// take the value, because others tell it.
PAGE_CALL(nameAt) void nameAt(size_t count, uint32_t value)
{
  Wanted wanted{roomText(count), value, ""};
  velnor3gpp_visit(engine().session, VELNOR3GPP_NAMES, findName, &wanted);
  engine().text = wanted.name;
}
