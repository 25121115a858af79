// velnor3gpp explain: says what a status, an identifier, a type or octets are.
#include <algorithm>
#include <climits>

#include "coding.h"
#include "commands.h"
#include "explainValues.h"
#include "fieldPath.h"
#include "forms.h"
#include "hex.h"
#include "list.h"
#include "names.h"
#include "velnor3gpp/velnor3gppJson.h"

namespace {

// A member of a type, kept from its description.
struct Row {
  std::string name;
  unsigned level;
  std::string what; // "number of 8 bits", "list of at most 8"
  int identifier;
  bool optional;
  const velnor3gpp_Type* type;
  int release;
};

struct Rows {
  std::vector<Row> rows;
  std::string whole; // what the type itself is, if it has no rows
  unsigned level = 0;
};

struct Use {
  velnor3gpp_TypeFacts in;
  Row row;
};

} // namespace

static std::string bounds(const velnor3gpp_Member& member, const char* unit)
{
  std::string text;
  if (member.least && member.least == member.most) return " of " + counted(member.least, unit);
  if (member.most != SIZE_MAX) text = " of at most " + counted(member.most, unit);
  return text;
}

static std::string whatIs(const velnor3gpp_Member& member)
{
  switch (member.kind) {
    case VELNOR3GPP_RECORD:
      return member.type ? factsOf(member.type).name : "";
    case VELNOR3GPP_CHOICE:
      return "one of";
    case VELNOR3GPP_LIST:
      return member.most != SIZE_MAX ? "at most " + std::to_string(member.most) + " of" : "list of";
    case VELNOR3GPP_NUMBER:
      return "number, " + counted(member.width, "bit");
    case VELNOR3GPP_FLAG:
      return "flag";
    case VELNOR3GPP_ENUMERATED:
      return "enumeration, " + counted(member.width, "bit");
    case VELNOR3GPP_OCTETS:
      return "octets" + bounds(member, "octet");
    case VELNOR3GPP_BITS:
      return "bits" + bounds(member, "bit");
    case VELNOR3GPP_TEXT:
      return "text" + bounds(member, "character");
    default:
      return "no content";
  }
}

static int keepRow(const velnor3gpp_Member* member, void* arg)
{
  Rows& rows = *static_cast<Rows*>(arg);
  if (member->step == VELNOR3GPP_LEAVE) {
    --rows.level;
    return 0;
  }
  std::string name = member->name ? std::string(member->name, member->nameLength) : "";
  const velnor3gpp_Type* type = member->type ? member->type : member->is;
  if (!name.empty()) {
    rows.rows.push_back(
        {name, rows.level, whatIs(*member), member->identifier, member->optional != 0, type, member->release});
  } else if (!rows.rows.empty()) { // what a list holds; the first of all is the type itself
    Row& list = rows.rows.back();
    list.what += " " + whatIs(*member);
    if (!list.type) list.type = type;
  } else {
    rows.whole += (rows.whole.empty() ? "" : " ") + whatIs(*member);
  }
  if (member->step == VELNOR3GPP_ENTER) ++rows.level;
  return 0;
}

static Rows rowsOf(const velnor3gpp_Type* type)
{
  Rows rows;
  checkMemory(velnor3gpp_describe(type, keepRow, &rows));
  return rows;
}

// Every row of every type that the test accepts.
template <typename Test> static std::vector<Use> usesWhere(Test test)
{
  std::vector<Use> uses;
  for (size_t i = 0; i < velnor3gpp_typeCount(); ++i) {
    const velnor3gpp_Type* type = velnor3gpp_typeAt(i);
    for (const Row& row : rowsOf(type).rows)
      if (test(row)) uses.push_back({factsOf(type), row});
  }
  return uses;
}

static std::string identifierText(int identifier)
{
  if (identifier < 0) return "";
  char text[16];
  snprintf(text, sizeof text, "0x%02X", static_cast<unsigned>(identifier));
  return text;
}

static std::string useJson(const Use& use)
{
  std::string text = "{\"in\":" + jsonString(use.in.name) + ",\"name\":" + jsonString(use.row.name);
  if (use.row.type) text += ",\"type\":" + jsonString(factsOf(use.row.type).name);
  if (use.row.identifier >= 0) text += ",\"identifier\":" + std::to_string(use.row.identifier);
  return text + "}";
}

static std::string joined(const std::vector<Use>& uses)
{
  std::string text;
  for (const Use& use : uses) text += (text.empty() ? "" : ",") + useJson(use);
  return "[" + text + "]";
}

static void printUse(Output& out, const Use& use)
{
  out.print("  %-40s %-32s %-5s", use.in.name, use.row.name.c_str(), identifierText(use.row.identifier).c_str());
  out.write(use.row.type ? std::string(" ") + factsOf(use.row.type).name + "\n" : "\n");
}

static void printRows(Output& out, const velnor3gpp_Type* type)
{
  Rows rows = rowsOf(type);
  if (rows.rows.empty() && !rows.whole.empty()) out.write("  " + rows.whole + "\n");
  for (const Row& row : rows.rows) {
    std::string name = std::string(2 * row.level, ' ') + row.name;
    std::string what = row.what;
    if (row.type && !what.ends_with(factsOf(row.type).name)) what += ", " + std::string(factsOf(row.type).name);
    if (row.release) what += ", from release " + std::to_string(row.release) + " on";
    out.print("  %-40s %-5s%-9s %s\n", name.c_str(), identifierText(row.identifier).c_str(),
              row.optional ? "optional" : "", what.c_str());
  }
}

static std::string headOf(const velnor3gpp_TypeFacts& facts)
{
  std::string text = std::string(facts.name) + ": " + useName(facts.use);
  if (*facts.title) text += std::string(" \"") + facts.title + "\"";
  if (facts.messageType >= 0) text += ", type " + identifierText(facts.messageType);
  if (facts.direction)
    text += std::string(", ") + (facts.direction == VELNOR3GPP_UP ? "from the mobile" : "from the network");
  return text + (*facts.clause ? std::string(" (") + facts.clause + ")" : "");
}

static std::string valuesJson(const velnor3gpp_Type* type)
{
  std::string text;
  for (const auto& [value, name] : valuesOf(type))
    text +=
        (text.empty() ? "{\"value\":" : ",{\"value\":") + std::to_string(value) + ",\"name\":" + jsonString(name) + "}";
  return "[" + text + "]";
}

static void explainType(Output& out, const velnor3gpp_Type* type, bool json)
{
  velnor3gpp_TypeFacts facts = factsOf(type);
  std::vector<Use> uses = usesWhere([&](const Row& row) { return row.type == type; });
  if (json) {
    std::string text = factsJson(facts), rows;
    for (const Row& row : rowsOf(type).rows) rows += (rows.empty() ? "" : ",") + useJson({facts, row});
    text.pop_back();
    return out.write(text + ",\"rows\":[" + rows + "],\"values\":" + valuesJson(type) + ",\"uses\":" + joined(uses) +
                     "}\n");
  }
  out.write(headOf(facts) + "\n");
  printRows(out, type);
  for (const auto& [value, name] : valuesOf(type)) out.print("  %5u  %s\n", static_cast<unsigned>(value), name.c_str());
  if (!uses.empty()) out.write("used in\n");
  for (const Use& use : uses) printUse(out, use);
}

// The words of a status without the marks where a finding has its parameters.
static std::string statusWords(const char* text)
{
  std::string words = text;
  for (const char* mark : {"%s", "%d"})
    for (size_t at; (at = words.find(mark)) != std::string::npos;) words.replace(at, 2, "...");
  return words;
}

static constexpr char kTakes[] = "; explain takes an octet (0x77), half of one (0xB-), a status below 0 behind --, a "
                                 "type, the title of a message, or "
                                 "a message in hexadecimal";

static void explainStatus(Output& out, const std::string& word, bool json)
{
  int status = word.size() < 7 ? std::stoi(word) : INT_MIN;
  const char* text = velnor3gpp_statusText(status);
  if (status && !text) throw UsageError("no status " + word);
  std::string words = status ? statusWords(text) : "in order";
  if (json)
    out.write("{\"status\":" + std::to_string(status) + ",\"text\":" + jsonString(words) + "}\n");
  else
    out.write("status " + std::to_string(status) + ": " + words + "\n");
}

// Protocol discriminators by the low half of the first octet (TS 24.007, 11.2.3.1.1). With 14 the whole octet tells.
static constexpr const char* kDiscriminators[] = {"group call control",       "broadcast call control",
                                                  "EPS session management",   "call control",
                                                  "transparent transport",    "mobility management",
                                                  "radio resources",          "EPS mobility management",
                                                  "GPRS mobility management", "short messages",
                                                  "GPRS session management",  "supplementary services",
                                                  "location services",        "",
                                                  "of a whole octet",         "tests"};

static std::string discriminatorOf(unsigned octet)
{
  if (octet == 0x7E) return "5GS mobility management";
  if (octet == 0x2E) return "5GS session management";
  return kDiscriminators[octet & 15];
}

static std::string messagesOfType(unsigned octet, bool json)
{
  std::string messages;
  for (size_t i = 0; i < velnor3gpp_typeCount(); ++i) {
    velnor3gpp_TypeFacts facts = factsOf(velnor3gpp_typeAt(i));
    if (facts.messageType != static_cast<int>(octet)) continue;
    messages += json ? (messages.empty() ? "" : ",") + factsJson(facts) : "  " + headOf(facts) + "\n";
  }
  return messages;
}

// An octet: as an identifier, of eight bits or in its high half, as a protocol discriminator, whole or in its low half,
// and as the type of messages. Or half an octet, which can be the first two.
static void explainOctet(Output& out, unsigned value, bool half, bool json)
{
  unsigned octet = half ? value << 4 : value;
  auto fits = [&](const Row& row) { // from 0x80 on an identifier is a high half
    return (row.identifier == static_cast<int>(octet) && !half) ||
           (octet >= 0x80 && row.identifier >= 0x80 && row.identifier == static_cast<int>(octet & 0xF0));
  };
  std::vector<Use> uses = usesWhere(fits);
  std::string discriminator = discriminatorOf(value), messages = half ? "" : messagesOfType(octet, json);
  if (json)
    return out.write(std::string("{\"") + (half ? "half" : "octet") + "\":" + std::to_string(value) +
                     ",\"identifier\":" + joined(uses) + ",\"discriminator\":" + jsonString(discriminator) +
                     (half ? "" : ",\"messages\":[" + messages + "]") + "}\n");
  std::string text = identifierText(static_cast<int>(octet));
  if (half) text.back() = '-';
  out.write(text + " as the identifier of an element\n");
  for (const Use& use : uses) printUse(out, use);
  if (uses.empty()) out.write("  nowhere\n");
  out.write("as the protocol discriminator, in the first octet of a message\n  " +
            (discriminator.empty() ? "nowhere" : discriminator) + "\n");
  if (!half) out.write("as the type of a message\n" + (messages.empty() ? "  nowhere\n" : messages));
}

// The members of what decode writes as JSON that say what is wrong and how the message is protected.
static std::string troubleJson(velnor3gpp_Session* session)
{
  const char* json = nullptr;
  size_t count = 0;
  checkMemory(velnor3gpp_toJson(session, 0, &json, &count));
  std::string text;
  for (const char* name : {"findings", "protection"}) {
    std::string_view value = findField({json, count}, {{{name}}});
    if (!value.empty()) text += std::string(",\"") + name + "\":" + std::string(value);
  }
  return text;
}

static void explainOctets(Output& out, const Message& message, bool json)
{
  Session session = openSession({});
  SessionOptions options;
  std::vector<std::string> tried;
  if (formsOf(message.octets, VELNOR3GPP_DIRECTION_UNKNOWN, VELNOR3GPP_CHANNEL_UNKNOWN).empty())
    throw UsageError("the first octet " + octetText(message.octets.data(), 1) +
                     " does not tell what these octets are; 'velnor3gpp decode --as TYPE' reads them as a type");
  decodeMessage(session.get(), options, message, &tried);
  velnor3gpp_Result result = resultOf(session.get());
  velnor3gpp_TypeFacts facts = factsOf(result.type);
  std::string protection = protectionText(session.get(), "velnor3gpp decode --keys");
  if (json)
    return out.write("{\"type\":" + jsonString(facts.name) + ",\"title\":" + jsonString(result.title) + ",\"dir\":\"" +
                     directionName(result.direction) + "\",\"status\":" + std::to_string(result.status) +
                     ",\"octets\":" + std::to_string(result.count) + troubleJson(session.get()) + "}\n");
  out.write(counted(result.count, "octet") + " of " + facts.name);
  for (const std::string& form : tried) out.write(", or " + form);
  if (*result.title) out.write(std::string(": \"") + result.title + "\"");
  if (result.direction) out.write(std::string(", ") + directionName(result.direction));
  out.put('\n');
  if (!protection.empty()) out.write("protection: " + protection + "\n");
  eachFinding(session.get(),
              [&](const velnor3gpp_Finding& finding) { out.write("finding: " + findingText(finding) + "\n"); });
  std::string advice = adviceFor(session.get());
  if (!advice.empty()) out.write("the message " + advice + "\n");
}

static bool isDecimal(const std::string& word)
{
  return !word.empty() && word.find_first_not_of("0123456789") == std::string::npos;
}

// "0xB-", "0xB" and "B-" are half an octet. Returns it, or -1.
static int readHalf(std::string word)
{
  bool marked = word.size() > 2 && word[0] == '0' && (word[1] | 32) == 'x', open = word.ends_with('-');
  if (marked) word.erase(0, 2);
  if (open) word.pop_back();
  return (marked || open) && word.size() == 1 ? hexDigit(word[0]) : -1;
}

// Explains a number that is no even count of hexadecimal digits. False if it is none.
static bool explainNumber(const std::string& what, bool json, Output& out)
{
  int half = readHalf(what);
  bool decimal = isDecimal(what) && (what.size() == 1 || what.size() == 3);
  if (half < 0 && !decimal) return false;
  unsigned value = half < 0 ? static_cast<unsigned>(std::stoi(what)) : static_cast<unsigned>(half);
  if (value > 255) throw UsageError("'" + what + "' is more than an octet can be" + kTakes);
  if (!value && decimal && !json) explainStatus(out, what, json);
  explainOctet(out, value, half >= 0, json);
  return true;
}

// Explains the types that have the title. False if there are none; `titles` gets all.
static bool explainTitle(const std::string& what, bool json, Output& out, std::vector<std::string>& titles)
{
  size_t found = 0;
  for (size_t i = 0; i < velnor3gpp_typeCount(); ++i) {
    velnor3gpp_TypeFacts facts = factsOf(velnor3gpp_typeAt(i));
    if (!*facts.title) continue;
    titles.emplace_back(facts.title);
    if (!sameLetters(facts.title, what)) continue;
    if (found++ && !json) out.put('\n');
    explainType(out, velnor3gpp_typeAt(i), json);
  }
  return found;
}

static void explainUnknown(const std::string& what, const HexText& hex, std::vector<std::string> known)
{
  size_t others = 0;
  velnor3gpp_typeByName(what.c_str(), &others);
  if (others) typeNamed(what); // names them
  bool digits = !what.empty() && (isDecimal(what.substr(0, 1)) || what[0] == '\\');
  if (digits && hex.column)
    throw UsageError("'" + what + "': " + columnText(hex.column, hex.problem) + kTakes, caretUnder(what, hex.column));
  for (const std::string& name : typeNames()) known.push_back(name);
  std::sort(known.begin(), known.end());
  known.erase(std::unique(known.begin(), known.end()), known.end());
  throw UsageError("no type '" + what + "'" + didYouMean(what, known) + kTakes);
}

static void explain(const std::string& what, bool json, Output& out)
{
  if (what.size() > 1 && what[0] == '-' && isDecimal(what.substr(1))) return explainStatus(out, what, json);
  if (const velnor3gpp_Type* type = findType(what)) return explainType(out, type, json);
  std::vector<std::string> titles;
  if (explainTitle(what, json, out, titles) || explainNumber(what, json, out)) return;
  HexText hex = readHex(what);
  if (hex.column || hex.octets.empty()) return explainUnknown(what, hex, std::move(titles));
  if (hex.octets.size() == 1) return explainOctet(out, hex.octets[0], false, json);
  Message message;
  message.place = "arguments";
  message.octets = hex.octets;
  explainOctets(out, message, json);
}

void addExplain(Command& app, Program& program)
{
  Command command = newCommand(app, "explain", "Say what an identifier, a status, a type or octets are",
                               {{"velnor3gpp explain 0x77", "an identifier: the elements that have it"},
                                {"velnor3gpp explain -- -67", "a status"},
                                {"velnor3gpp explain RegAccept", "a type: clause, rows, where it is used"}});
  auto what = std::make_shared<std::string>();
  auto json = std::make_shared<bool>(false);
  command
      .addOption("what", *what,
                 "an octet or half of one (0xB-), a status below 0 (behind --), a type, the title of a message, "
                 "or a message in hexadecimal")
      .required();
  command.addFlag("--json", *json, "as one object of JSON");
  command.callback([&program, what, json] { explain(*what, *json, program.out); });
}
