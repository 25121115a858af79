// velnor3gpp list: the types, by protocol, direction, release, use and part of their names.
#include <algorithm>
#include <cstring>
#include <sstream>

#include "commands.h"
#include "list.h"
#include "names.h"
#include "session.h"

namespace {

struct Options {
  std::string part, protocol, direction, use;
  unsigned release = 0;
  bool json = false, namesOnly = false;
};

// A standard with the words that people have for its protocols, and the release that begins it. TS 24.007 and
// TS 24.008 took over from those of GSM with release 99, which counts as 3.
struct Protocol {
  const char* module; // its first characters
  unsigned release;
  const char* words;
};

} // namespace

static constexpr Protocol kProtocols[] = {
    {"TS24501", 15, " 5gs 5g nas-5gs 5gmm 5gsm "},
    {"TS24301", 8, " eps 4g lte nas-eps emm esm "},
    {"TS24008", 3, " mm cc gmm sm 3g umts gsm "},
    {"TS24011", 4, " sms cp rp "},
    {"TS44018", 4, " rr 2g gsm "},
    {"TS44060", 4, " rlc rlcmac 2g gsm "},
    {"TS24007", 3, " l3 "},
};

static constexpr unsigned kNewestRelease = 20; // that 3GPP works on

static const Protocol* protocolOf(const velnor3gpp_TypeFacts& facts)
{
  for (const Protocol& protocol : kProtocols)
    if (strncmp(facts.module, protocol.module, strlen(protocol.module)) == 0) return &protocol;
  return nullptr;
}

// "24.501", "ts24501" and "5gs" name the same protocol.
static bool isProtocol(const Protocol& protocol, const std::string& given)
{
  std::string word = lower(given), bare;
  for (char c : word)
    if (c != '.' && c != ' ' && c != '_') bare += c;
  if (bare.rfind("ts", 0) == 0) bare.erase(0, 2);
  return bare == protocol.module + 2 || std::string(protocol.words).find(" " + word + " ") != std::string::npos;
}

// "24.501", then the words for it.
static std::vector<std::string> protocolWords()
{
  std::vector<std::string> known;
  for (const Protocol& protocol : kProtocols)
    known.push_back(std::string(protocol.module + 2, 2) + "." + (protocol.module + 4));
  for (const Protocol& protocol : kProtocols) {
    std::istringstream words(protocol.words);
    for (std::string word; words >> word;)
      if (std::find(known.begin(), known.end(), word) == known.end()) known.push_back(word);
  }
  return known;
}

static std::string protocolFault(const std::string& word)
{
  for (const Protocol& protocol : kProtocols)
    if (isProtocol(protocol, word)) return "";
  return wordFault(word, protocolWords());
}

// Releases of the standards: 99, which counts as 3, and from 4 on.
static std::string releaseFault(const std::string& word)
{
  unsigned long release = std::stoul(word);
  return release == 99 || (release >= 3 && release <= kNewestRelease)
             ? ""
             : "'" + word + "' is no release; write 99 (or 3), or 4 to " + std::to_string(kNewestRelease);
}

const char* useName(velnor3gpp_Use use)
{
  static constexpr const char* kNames[] = {"element", "message", "form"};
  return kNames[use];
}

static bool isWanted(const Options& options, const velnor3gpp_TypeFacts& facts)
{
  const Protocol* protocol = protocolOf(facts);
  if (!options.protocol.empty() && !(protocol && isProtocol(*protocol, options.protocol))) return false;
  unsigned release = options.release == 99 ? 3 : options.release;
  if (release && protocol && protocol->release > release) return false;
  if (!options.use.empty() && options.use != useName(facts.use)) return false;
  velnor3gpp_Direction direction = readDirection(options.direction);
  bool against = facts.direction && facts.direction != direction;
  if (direction && (facts.use != VELNOR3GPP_MESSAGE || against)) return false;
  std::string part = lower(options.part);
  return lower(facts.name).find(part) != std::string::npos || lower(facts.title).find(part) != std::string::npos;
}

std::string factsJson(const velnor3gpp_TypeFacts& facts)
{
  std::string text = "{\"type\":" + jsonString(facts.name) + ",\"short\":" + jsonString(facts.shortName) +
                     ",\"use\":\"" + useName(facts.use) + "\"";
  if (*facts.title) text += ",\"title\":" + jsonString(facts.title);
  if (facts.messageType >= 0) text += ",\"messageType\":" + std::to_string(facts.messageType);
  if (facts.direction) text += std::string(",\"dir\":\"") + directionName(facts.direction) + "\"";
  if (*facts.clause) text += ",\"clause\":" + jsonString(facts.clause);
  return text + ",\"decodes\":" + (facts.decodes ? "true" : "false") +
         ",\"encodes\":" + (facts.encodes ? "true" : "false") + "}";
}

static void printRow(Output& out, const velnor3gpp_TypeFacts& facts)
{
  char type[8] = "";
  if (facts.messageType >= 0) snprintf(type, sizeof type, "0x%02x", static_cast<unsigned>(facts.messageType) & 255);
  out.print("%-48s %-7s %-4s %-4s  %s%s%s\n", facts.name, useName(facts.use), directionName(facts.direction), type,
            facts.clause, *facts.title ? ": " : "", facts.title);
}

static void list(const Options& options, Output& out)
{
  size_t shown = 0;
  for (size_t i = 0; i < velnor3gpp_typeCount(); ++i) {
    velnor3gpp_TypeFacts facts = factsOf(velnor3gpp_typeAt(i));
    if (!isWanted(options, facts)) continue;
    ++shown;
    if (options.json)
      out.write(factsJson(facts) + "\n");
    else if (options.namesOnly)
      out.write(std::string(facts.name) + "\n");
    else
      printRow(out, facts);
  }
  if (shown) return;
  if (options.part.empty()) throw UsageError("no type is like that in all respects; leave an option out");
  throw UsageError("no such type has '" + options.part + "' in its name; 'velnor3gpp list' shows all");
}

void addList(Command& app, Program& program)
{
  Command command = newCommand(app, "list", "List types by protocol, direction, release",
                               {{"velnor3gpp list nssai", "those with this in their names"},
                                {"velnor3gpp list --protocol 5gs --direction down", "what a 5G network sends"},
                                {"velnor3gpp list --use form --json", "whole messages, for a program"}});
  auto options = std::make_shared<Options>();
  command.addOption("part", options->part, "only types with this in their names or titles");
  command.addOption("--protocol", options->protocol, "specification or protocol: 24.501, 5gs, eps, sms, rr ...")
      .valueName("P")
      .check(protocolFault);
  addDirection(command, "--direction", options->direction, "only messages that this side sends: up or down");
  command.addOption("--release", options->release, "only standards that this release has: 99 (or 3), 4, 8, 15 ...")
      .valueName("R")
      .check(releaseFault);
  command.addOption("--use", options->use, "only one kind of types: form, message or element")
      .valueName("USE")
      .oneOf({"form", "message", "element"});
  Option names = command.addFlag("--names", options->namesOnly, "full names alone");
  command.addFlag("--json", options->json, "an object of JSON for each").excludes(names);
  command.callback([&program, options] { list(*options, program.out); });
}
