// Writes what the library knows of all types as lines of JSON, from which the pages of messages and elements are made:
// a line for each type with its elements, and a line for each message of a form with a sample in octets and as JSON.
// Usage: typeFacts > FILE
#include <cinttypes>
#include <cstdio>
#include <string>
#include <vector>
#include <velnor3gpp/velnor3gppJson.h>

namespace {

const char* const kKinds[] = {"record",     "choice", "list", "number", "flag",
                              "enumerated", "octets", "bits", "text",   "nothing"};
const char* const kUses[] = {"element", "message", "form"};
const char* const kDirections[] = {"", "up", "down"};

// Names and titles of definitions need no escapes: they are letters, digits and what stands in a standard's headings.
std::string quoted(const std::string& text)
{
  return "\"" + text + "\"";
}

velnor3gpp_TypeFacts factsOf(const velnor3gpp_Type* type)
{
  velnor3gpp_TypeFacts facts = {};
  facts.size = sizeof facts;
  velnor3gpp_typeFacts(type, &facts);
  return facts;
}

// The elements of a type, and of a form its messages: the alternatives of the last choice that is named "data".
struct Description {
  std::string members;
  std::vector<std::string> messages;
  std::vector<std::string> path;
};

void addBound(std::string& text, const char* name, size_t bound)
{
  if (bound != SIZE_MAX) text += ",\"" + std::string(name) + "\":" + std::to_string(bound);
}

int addMember(const velnor3gpp_Member* member, void* arg)
{
  Description& out = *static_cast<Description*>(arg);
  std::string name = member->name ? std::string(member->name, member->nameLength) : "";
  if (member->step == VELNOR3GPP_LEAVE) {
    out.path.pop_back();
    return 0;
  }
  std::string& text = out.members;
  text += (text.empty() ? "" : ",") + std::string("{\"depth\":") + std::to_string(out.path.size()) +
          ",\"name\":" + quoted(name) + ",\"kind\":" + quoted(kKinds[member->kind]) +
          ",\"width\":" + std::to_string(member->width);
  if (member->type) text += ",\"type\":" + quoted(factsOf(member->type).name);
  text += member->optional ? ",\"optional\":true" : "";
  text += member->omissible ? ",\"omissible\":true" : "";
  addBound(text, "least", member->least);
  addBound(text, "most", member->most);
  text += "}";
  if (out.path.size() == 2 && out.path.back() == "data") out.messages.push_back(name);
  if (member->step == VELNOR3GPP_ENTER) out.path.push_back(name);
  return 0;
}

bool writeSample(velnor3gpp_Session* session, const velnor3gpp_Type* form, const std::string& message, bool minimal)
{
  const uint8_t* octets;
  const char* text;
  size_t count, length;
  if (velnor3gpp_sample(session, form, message.c_str(), minimal ? VELNOR3GPP_MINIMAL : 0) < 0) return false;
  if (velnor3gpp_encode(session, &octets, &count) < 0) return false;
  const std::vector<uint8_t> whole(octets, octets + count);
  velnor3gpp_decode(session, form, VELNOR3GPP_DIRECTION_UNKNOWN, whole.data(), whole.size());
  if (velnor3gpp_toJson(session, 0, &text, &length) < 0) return false;
  std::printf("{\"sample\":%s,\"form\":%s,\"minimal\":%s,\"json\":%.*s}\n", quoted(message).c_str(),
              quoted(factsOf(form).name).c_str(), minimal ? "true" : "false", static_cast<int>(length), text);
  return true;
}

bool writeType(velnor3gpp_Session* session, const velnor3gpp_Type* type)
{
  velnor3gpp_TypeFacts facts = factsOf(type);
  Description out;
  if (velnor3gpp_describe(type, addMember, &out) < 0) return false;
  std::printf("{\"name\":%s,\"shortName\":%s,\"title\":%s,\"clause\":%s,\"module\":%s,\"use\":%s,\"messageType\":%d,"
              "\"direction\":%s,\"members\":[%s]}\n",
              quoted(facts.name).c_str(), quoted(facts.shortName).c_str(), quoted(facts.title).c_str(),
              quoted(facts.clause).c_str(), quoted(facts.module).c_str(), quoted(kUses[facts.use]).c_str(),
              facts.messageType, quoted(kDirections[facts.direction]).c_str(), out.members.c_str());
  if (facts.use != VELNOR3GPP_FORM) return true;
  for (const std::string& message : out.messages)
    for (bool minimal : {true, false})
      if (!writeSample(session, type, message, minimal))
        return std::fprintf(stderr, "no sample of %s in %s\n", message.c_str(), facts.name), false;
  return true;
}

} // namespace

int main()
{
  velnor3gpp_Session* session;
  if (velnor3gpp_open(&session) < 0) return 1;
  bool good = true;
  for (size_t i = 0; i < velnor3gpp_typeCount(); ++i) good = writeType(session, velnor3gpp_typeAt(i)) && good;
  velnor3gpp_close(session);
  return !good;
}
