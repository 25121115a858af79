#include "titles.h"

#include <algorithm>
#include <vector>

#include "names.h"
#include "printable.h"
#include "words.h"

namespace {

struct Titled {
  size_t nameAt, nameLength; // within Elements.names, as the text has it
  std::string_view title;    // of the library's constants
};

struct Elements {
  std::string names;
  std::vector<Titled> all;
  std::vector<std::string> controls; // texts that a terminal must not get

  std::string_view name(size_t i) const { return std::string_view(names).substr(all[i].nameAt, all[i].nameLength); }
};

// Text and walk tell the same elements in the same order, but for steps that only one of them shows: the record itself,
// choices, what was kept. A name is looked for among so many elements.
constexpr size_t kNear = 8;

} // namespace

static int findMessage(const velnor3gpp_Node* node, void* arg)
{
  const velnor3gpp_Type* type = node->step == VELNOR3GPP_LEAVE ? nullptr : velnor3gpp_nodeType(node);
  if (!type || factsOf(type).use != VELNOR3GPP_MESSAGE) return 0;
  *static_cast<velnor3gpp_TypeFacts*>(arg) = factsOf(type);
  return -1;
}

bool isSentByBoth(velnor3gpp_Session* session)
{
  velnor3gpp_TypeFacts facts = {};
  velnor3gpp_Result result = resultOf(session);
  velnor3gpp_visit(session, 0, findMessage, &facts);
  // One type can serve two messages with names and directions of their own (uplink and downlink NAS transport).
  return facts.title && !facts.direction && std::string_view(facts.title) == result.title;
}

// Values that the standard has a name for, which is all capitals: 128-EEA2.
static bool isName(std::string_view value)
{
  return value.find_first_of("0123456789") != std::string_view::npos &&
         std::none_of(value.begin(), value.end(), [](char c) { return c >= 'a' && c <= 'z'; }) &&
         std::any_of(value.begin(), value.end(), [](char c) { return c >= 'A' && c <= 'Z'; });
}

static void takeText(const velnor3gpp_Node& node, std::vector<std::string>& controls)
{
  std::string_view text(reinterpret_cast<const char*>(node.data), node.count);
  text = text.substr(0, text.find('\0')); // as the library prints it
  if (!isPrintable(text)) controls.emplace_back(text);
}

// The library prints texts between quotes as they are. Both tell them in the same order.
static std::string escaped(std::string_view text, const std::vector<std::string>& controls)
{
  std::string result;
  for (const std::string& control : controls) {
    size_t at = text.find("'" + control + "'");
    if (at == std::string_view::npos) continue;
    result.append(text.substr(0, at + 1)).append(printable(control));
    text.remove_prefix(at + 1 + control.size());
  }
  return result.append(text);
}

static int takeTitle(const velnor3gpp_Node* node, void* arg)
{
  Elements& elements = *static_cast<Elements*>(arg);
  if (node->kind == VELNOR3GPP_TEXT && node->count) takeText(*node, elements.controls);
  if (node->step == VELNOR3GPP_LEAVE || !node->name) return 0;
  Titled element = {elements.names.size(), 0, {}};
  std::string_view name(node->name, node->nameLength);
  if (const velnor3gpp_Type* type = velnor3gpp_nodeType(node)) {
    velnor3gpp_TypeFacts facts = factsOf(type);
    bool message = facts.use == VELNOR3GPP_MESSAGE;
    if (message || !sameLetters(facts.title, asWords(name))) element.title = facts.title;
    if (message) elements.names += "obj_";
  }
  if (node->valueName && isName(node->valueName)) element.title = node->valueName;
  elements.names += name;
  element.nameLength = elements.names.size() - element.nameAt;
  elements.all.push_back(element);
  return 0;
}

static const Elements& elementsOf(velnor3gpp_Session* session)
{
  thread_local Elements elements; // which keeps its room from message to message
  elements.names.clear();
  elements.all.clear();
  elements.controls.clear();
  velnor3gpp_visit(session, VELNOR3GPP_NAMES, takeTitle, &elements);
  return elements;
}

std::string withoutControls(velnor3gpp_Session* session, std::string_view text)
{
  return escaped(text, elementsOf(session).controls);
}

std::string withTitles(velnor3gpp_Session* session, std::string_view text)
{
  const Elements& elements = elementsOf(session);
  std::string safe, result;
  if (!elements.controls.empty()) text = safe = escaped(text, elements.controls);
  result.reserve(text.size() + text.size() / 8);
  size_t next = 0;
  while (!text.empty()) {
    std::string_view line = text.substr(0, text.find('\n') + 1);
    size_t indent = std::min(line.find_first_not_of(' '), line.size());
    std::string_view name = line.substr(indent, line.find(' ', indent) - indent);
    for (size_t i = next; i < elements.all.size() && i < next + kNear; ++i)
      if (elements.name(i) == name) {
        if (std::string_view title = elements.all[i].title; !title.empty())
          result.append(indent, ' ').append("-- ").append(title).append("\n");
        next = i + 1;
        break;
      }
    result += line;
    text.remove_prefix(line.empty() ? text.size() : line.size());
  }
  return result;
}
