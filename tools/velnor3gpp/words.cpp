#include "words.h"

#include <algorithm>
#include <cctype>
#include <iterator>
#include <unordered_map>

namespace {

struct Word {
  std::string_view written;
  std::string_view meant;
};

} // namespace

// What definitions shorten, and letters that stand for words. A word that is not here stands for itself.
static constexpr Word kWords[] = {
    {"ac", "access class"},
    {"ack", "acknowledgement"},
    {"add", "additional"},
    {"addr", "address"},
    {"alg", "algorithm"},
    {"algs", "algorithms"},
    {"alt", "alternative"},
    {"ambr", "AMBR"},
    {"amf", "AMF"},
    {"apn", "APN"},
    {"arfcn", "ARFCN"},
    {"assign", "assignment"},
    {"auth", "authentication"},
    {"bcast", "broadcast"},
    {"bcch", "BCCH"},
    {"bsic", "BSIC"},
    {"by", "by"},
    {"cag", "CAG"},
    {"cap", "capability"},
    {"caps", "capabilities"},
    {"cfg", "configuration"},
    {"ciot", "CIoT"},
    {"ciph", "ciphering"},
    {"cmd", "command"},
    {"config", "configuration"},
    {"cp", "CP"},
    {"cs", "CS"},
    {"csg", "CSG"},
    {"ctxt", "context"},
    {"dereg", "deregistration"},
    {"deriv", "derivable"},
    {"desc", "description"},
    {"descr", "description"},
    {"dest", "destination"},
    {"discr", "discriminator"},
    {"dl", "downlink"},
    {"dnn", "DNN"},
    {"drx", "DRX"},
    {"dtm", "DTM"},
    {"dtx", "DTX"},
    {"eap", "EAP"},
    {"ebi", "EPS bearer identity"},
    {"emm", "EMM"},
    {"encrypt", "encryption"},
    {"epc", "EPC"},
    {"eps", "EPS"},
    {"equiv", "equivalent"},
    {"esm", "ESM"},
    {"ext", "extended"},
    {"fdd", "FDD"},
    {"for", "for"},
    {"freq", "frequency"},
    {"geran", "GERAN"},
    {"gfbr", "GFBR"},
    {"gmm", "GMM"},
    {"gprs", "GPRS"},
    {"gsm", "GSM"},
    {"guti", "GUTI"},
    {"h245ash", "H.245 after SRVCC handover"},
    {"hdr", "header"},
    {"id", "identity"},
    {"ident", "identity"},
    {"ie", "element"},
    {"iei", "element identifier"},
    {"imei", "IMEI"},
    {"imeisv", "IMEISV"},
    {"impl", "implicit"},
    {"imsi", "IMSI"},
    {"inc", "increment"},
    {"ind", "indication"},
    {"info", "information"},
    {"init", "initial"},
    {"integ", "integrity"},
    {"ip", "IP"},
    {"lac", "location area code"},
    {"lcs", "LCS"},
    {"len", "length"},
    {"loc", "location"},
    {"mac", "MAC"},
    {"max", "maximum"},
    {"mbms", "MBMS"},
    {"mcc", "MCC"},
    {"mfbr", "MFBR"},
    {"mgmt", "management"},
    {"min", "minimum"},
    {"miss", "missing"},
    {"mm", "MM"},
    {"mnc", "MNC"},
    {"mob", "mobile"},
    {"mod", "modification"},
    {"ms", "mobile station"},
    {"msg", "message"},
    {"msin", "MSIN"},
    {"mult", "multiple"},
    {"nas", "NAS"},
    {"net", "network"},
    {"nid", "NID"},
    {"nmo", "NMO"},
    {"nr", "NR"},
    {"nssai", "NSSAI"},
    {"num", "number"},
    {"opts", "options"},
    {"orig", "originating"},
    {"param", "parameter"},
    {"params", "parameters"},
    {"pdn", "PDN"},
    {"pdp", "PDP"},
    {"pdu", "PDU"},
    {"plmn", "PLMN"},
    {"proc", "procedure"},
    {"prose", "ProSe"},
    {"prosedd", "ProSe direct discovery"},
    {"prot", "protection"},
    {"proto", "protocol"},
    {"ps", "PS"},
    {"psi", "PDU session identity"},
    {"psi1", "PSI1"},
    {"qos", "QoS"},
    {"rac", "routing area code"},
    {"rai", "RAI"},
    {"ref", "reference"},
    {"reg", "registration"},
    {"regis", "registration"},
    {"rel", "release"},
    {"req", "request"},
    {"resp", "response"},
    {"rlc", "RLC"},
    {"rr", "RR"},
    {"sd", "slice differentiator"},
    {"sec", "security"},
    {"sel", "selected"},
    {"seq", "sequence"},
    {"serv", "service"},
    {"sess", "session"},
    {"sm", "SM"},
    {"sms", "SMS"},
    {"snssai", "S-NSSAI"},
    {"solsa", "SoLSA"},
    {"sst", "slice/service type"},
    {"std", "standard"},
    {"suci", "SUCI"},
    {"supi", "SUPI"},
    {"supp", "support"},
    {"svc", "service"},
    {"tac", "tracking area code"},
    {"tai", "TAI"},
    {"tdd", "TDD"},
    {"tech", "technology"},
    {"temp", "temporary"},
    {"term", "terminating"},
    {"tmsi", "TMSI"},
    {"trans", "transaction"},
    {"trk", "tracking"},
    {"tsc", "TSC"},
    {"ue", "UE"},
    {"ul", "uplink"},
    {"umts", "UMTS"},
    {"unk", "unknown"},
    {"unsupp", "unsupported"},
    {"utran", "UTRAN"},
    {"val", "value"},
};

static constexpr bool isBefore(const Word& word, std::string_view written)
{
  return word.written < written;
}

static_assert(std::is_sorted(std::begin(kWords), std::end(kWords),
                             [](const Word& a, const Word& b) { return isBefore(a, b.written); }));

static char lowered(char c)
{
  return static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
}

static bool isUpper(char c)
{
  return c >= 'A' && c <= 'Z';
}

static bool isDigit(char c)
{
  return c >= '0' && c <= '9';
}

static bool isLower(char c)
{
  return c >= 'a' && c <= 'z';
}

// Where the word that begins at `at` ends: "NASKeySet" has the words NAS, Key, Set; "x128-eea1" stays one, and so does
// "IEs".
static size_t wordEnd(std::string_view name, size_t at)
{
  if (name.substr(at, 4) == "CIoT") return at + 4;
  size_t end = at + 1;
  bool letters = isUpper(name[at]);
  while (end < name.size() && name[end] != '-' && name[end] != '_') {
    char c = name[end];
    bool beforeLower = end + 1 < name.size() && isLower(name[end + 1]);
    bool startsWord = isUpper(c) && (isLower(name[end - 1]) || (isDigit(name[end - 1]) && beforeLower));
    bool endsLetters = letters && isLower(c) && end - at > 1 && isUpper(name[end - 1]);
    bool several = c == 's' && !beforeLower;
    if (endsLetters) return several ? end + 1 : end - 1;
    if (startsWord) return end;
    ++end;
  }
  return end;
}

static const Word* known(std::string_view word)
{
  std::string small;
  for (char c : word) small += lowered(c);
  const Word* one = std::lower_bound(std::begin(kWords), std::end(kWords), small, isBefore);
  return one != std::end(kWords) && one->written == small ? one : nullptr;
}

// Letters without a vowel, or with a number behind them, stand for words: LPP, EA0.
static bool isLetters(std::string_view word)
{
  bool numbered = isDigit(word.back()) && word.size() < 6;
  return word.size() < 6 && (numbered || word.find_first_of("aeiouyAEIOUY") == std::string_view::npos);
}

static std::string meaningOf(std::string_view word)
{
  if (const Word* one = known(word)) return std::string(one->meant);
  // "Ind2" and "Request5G": a word and what is counted.
  size_t digits = 0;
  while (digits < word.size() && !isDigit(word[digits])) ++digits;
  if (digits > 1 && digits < word.size() && (digits > 4 || known(word.substr(0, digits))))
    return meaningOf(word.substr(0, digits)) + " " + std::string(word.substr(digits));
  if (word.size() > 2 && word[0] == 'x' && isDigit(word[1])) word.remove_prefix(1); // names do not begin with digits
  bool capitals = word.size() > 1 && isUpper(word[0]) && isUpper(word[1]);
  std::string text;
  for (char c : word)
    text += capitals          ? c
            : isLetters(word) ? static_cast<char>(std::toupper(static_cast<unsigned char>(c)))
                              : lowered(c);
  return text;
}

// NAS algorithms have names of their own: "ea0" is 5G-EA0 and "ia2" 128-5G-IA2 (TS 24.501, 9.11.3.54), "eea2" and
// "x128-eea2" are 128-EEA2 (TS 24.301, 9.9.3.36). The first of them is null, and those behind the third have no key
// length yet. What a definition already calls by the standard's name stays. Empty for anything else.
static std::string algorithmName(std::string_view name)
{
  for (std::string_view lead : {"x", "128-", "5G-"})
    if (name.substr(0, lead.size()) == lead) name.remove_prefix(lead.size());
  std::string text;
  for (char c : name) text += static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
  bool fiveG = text.size() == 3, eps = text.size() == 4 && text[0] == 'E';
  std::string_view letters = std::string_view(text).substr(eps ? 1 : 0);
  if ((!fiveG && !eps) || letters[1] != 'A' || (letters[0] != 'E' && letters[0] != 'I')) return "";
  char number = letters[2];
  if (number < '0' || number > '7') return "";
  return std::string(number >= '1' && number <= '3' ? "128-" : "") + (fiveG ? "5G-" : "") + text;
}

static std::string makeWords(std::string_view name)
{
  std::string text = algorithmName(name);
  if (!text.empty()) return text;
  if (const Word* whole = known(name)) return std::string(whole->meant);
  for (size_t at = 0; at < name.size();) {
    if (name[at] == '-' || name[at] == '_') {
      ++at;
      continue;
    }
    size_t end = wordEnd(name, at);
    if (!text.empty()) text += ' ';
    text += meaningOf(name.substr(at, end - at));
    at = end;
    if (text == "number" && at < name.size()) text += " of"; // numEntries
  }
  return text;
}

const std::string& asWords(std::string_view name)
{
  struct Hash : std::hash<std::string_view> {
    using is_transparent = void;
  };
  // A message has few names, and the next the same.
  thread_local std::unordered_map<std::string, std::string, Hash, std::equal_to<>> made;
  auto at = made.find(name);
  if (at == made.end()) at = made.emplace(name, makeWords(name)).first;
  return at->second;
}

std::string asTitle(std::string_view name)
{
  std::string text = asWords(name);
  bool mixed = text.size() > 1 && isUpper(text[1]);
  if (!text.empty() && !mixed && isLower(text[0])) text[0] = static_cast<char>(text[0] - 'a' + 'A');
  return text;
}
