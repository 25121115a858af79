#include "titles.h"

#include <algorithm>
#include <vector>

#include "names.h"
#include "words.h"

namespace {

struct Titled {
  std::string name, title; // as the text has the name
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
  return value.find_first_of("0123456789") != std::string_view::npos && lower(value) != value &&
         std::none_of(value.begin(), value.end(), [](char c) { return c >= 'a' && c <= 'z'; });
}

static int takeTitle(const velnor3gpp_Node* node, void* arg)
{
  if (node->step == VELNOR3GPP_LEAVE || !node->name) return 0;
  Titled element = {std::string(node->name, node->nameLength), ""};
  if (const velnor3gpp_Type* type = velnor3gpp_nodeType(node)) {
    velnor3gpp_TypeFacts facts = factsOf(type);
    bool message = facts.use == VELNOR3GPP_MESSAGE;
    if (message || lower(facts.title) != lower(asTitle(element.name))) element.title = facts.title;
    if (message) element.name.insert(0, "obj_");
  }
  if (node->valueName && isName(node->valueName)) element.title = node->valueName;
  static_cast<std::vector<Titled>*>(arg)->push_back(std::move(element));
  return 0;
}

std::string withTitles(velnor3gpp_Session* session, std::string_view text)
{
  std::vector<Titled> elements;
  velnor3gpp_visit(session, VELNOR3GPP_NAMES, takeTitle, &elements);
  std::string result;
  size_t next = 0;
  while (!text.empty()) {
    std::string_view line = text.substr(0, text.find('\n') + 1);
    size_t indent = std::min(line.find_first_not_of(' '), line.size());
    std::string_view name = line.substr(indent, line.find(' ', indent) - indent);
    for (size_t i = next; i < elements.size() && i < next + kNear; ++i)
      if (elements[i].name == name) {
        if (!elements[i].title.empty()) result += std::string(indent, ' ') + "-- " + elements[i].title + "\n";
        next = i + 1;
        break;
      }
    result += line;
    text.remove_prefix(line.empty() ? text.size() : line.size());
  }
  return result;
}
