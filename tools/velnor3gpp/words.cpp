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
    {"a3g", "3G"},
    {"aari", "AARI"},
    {"abba", "ABBA"},
    {"ac", "access class"},
    {"access3gpp", "3GPP access"},
    {"accessnon3gpp", "non-3GPP access"},
    {"ack", "acknowledgement"},
    {"acrefnumber", "A&C reference number"},
    {"acs", "ACS"},
    {"actv", "activation"},
    {"add", "additional"},
    {"addci", "add country's initials"},
    {"addl", "additional"},
    {"addn", "additional"},
    {"addpktfilters", "add packet filters"},
    {"addr", "address"},
    {"adv", "advanced"},
    {"alg", "algorithm"},
    {"algs", "algorithms"},
    {"alt", "alternative"},
    {"ambr", "AMBR"},
    {"amf", "AMF"},
    {"amr", "AMR"},
    {"apdu", "APDU"},
    {"apn", "APN"},
    {"apnambrfordl", "APN AMBR for downlink"},
    {"apnambrforul", "APN AMBR for uplink"},
    {"arfcn", "ARFCN"},
    {"arp", "ARP"},
    {"assign", "assignment"},
    {"assoc", "associated"},
    {"atsss", "ATSSS"},
    {"auth", "authentication"},
    {"autn", "AUTN"},
    {"autv", "AUTV"},
    {"aux", "auxiliary"},
    {"avail", "available"},
    {"avg", "average"},
    {"bcast", "broadcast"},
    {"bcch", "BCCH"},
    {"bep", "BEP"},
    {"ber", "BER"},
    {"bsic", "BSIC"},
    {"btti", "BTTI"},
    {"by", "by"},
    {"cag", "CAG"},
    {"callbcastdata", "cell broadcast data"},
    {"cap", "capability"},
    {"caps", "capabilities"},
    {"cfg", "configuration"},
    {"cgi", "CGI"},
    {"cgis", "CGIs"},
    {"cid", "CID"},
    {"ciot", "CIoT"},
    {"ciph", "ciphering"},
    {"cli", "CLI"},
    {"clir", "CLIR"},
    {"cmark", "classmark"},
    {"cmd", "command"},
    {"cmso", "CSMO"},
    {"cmst", "CSMT"},
    {"compress", "compression"},
    {"cond", "condition"},
    {"conf", "configuration"},
    {"config", "configuration"},
    {"cov", "coverage"},
    {"cp", "CP"},
    {"cs", "CS"},
    {"csg", "CSG"},
    {"csmo", "CSMO"},
    {"csmt", "CSMT"},
    {"ctrl", "control"},
    {"ctxt", "context"},
    {"curr", "current"},
    {"ddxnoinfo", "no information"},
    {"ddxnotrans", "no further transmission"},
    {"ddxsingledltrans", "one downlink transmission"},
    {"deact", "deactivated"},
    {"deicated", "dedicated"},
    {"dereg", "deregistration"},
    {"deriv", "derivable"},
    {"desc", "description"},
    {"descr", "description"},
    {"desr", "description"},
    {"dest", "destination"},
    {"discr", "discriminator"},
    {"dl", "downlink"},
    {"dnn", "DNN"},
    {"drei", "DREI"},
    {"drx", "DRX"},
    {"dtm", "DTM"},
    {"dtx", "DTX"},
    {"dyn", "dynamic"},
    {"e-utra", "E-UTRA"},
    {"e-utran", "E-UTRAN"},
    {"eab", "EAB"},
    {"eap", "EAP"},
    {"ebi", "EPS bearer identity"},
    {"eci", "ECI"},
    {"ecsd", "ECSD"},
    {"edrx", "eDRX"},
    {"edt", "EDT"},
    {"egprs", "EGPRS"},
    {"ehc", "EHC"},
    {"eit", "EIT"},
    {"elem", "element"},
    {"elems", "elements"},
    {"emc", "EMC"},
    {"emerg", "emergency"},
    {"emf", "EMF"},
    {"emm", "EMM"},
    {"encrypt", "encryption"},
    {"enicm", "ENICM"},
    {"enumvalue", "value"},
    {"epc", "EPC"},
    {"epco", "extended PCO"},
    {"eplmncvalue", "EPLMNC value"},
    {"eps", "EPS"},
    {"epsmobmgmt", "EPS mobility management"},
    {"equiv", "equivalent"},
    {"err", "error"},
    {"esm", "ESM"},
    {"estab", "establishment"},
    {"ether", "Ethernet"},
    {"etws", "ETWS"},
    {"eui", "EUI"},
    {"eutra", "E-UTRA"},
    {"eutran", "E-UTRAN"},
    {"exist", "existing"},
    {"ext", "extended"},
    {"facch", "FACCH"},
    {"fanr", "FANR"},
    {"fdd", "FDD"},
    {"feat", "feature"},
    {"fiveqi", "5QI"},
    {"flowcreate", "create"},
    {"flowdelete", "delete"},
    {"flowmodify", "modify"},
    {"for", "for"},
    {"freq", "frequency"},
    {"func", "function"},
    {"gan", "GAN"},
    {"gea", "GEA"},
    {"gen", "generic"},
    {"geran", "GERAN"},
    {"gfbr", "GFBR"},
    {"gmm", "GMM"},
    {"gprs", "GPRS"},
    {"gprsmobmgmt", "GPRS mobility management"},
    {"gsm", "GSM"},
    {"guar", "guaranteed"},
    {"guti", "GUTI"},
    {"h245ash", "H.245 after SRVCC handover"},
    {"hdr", "header"},
    {"id", "identity"},
    {"ident", "identity"},
    {"idents", "identities"},
    {"ie", "element"},
    {"iei", "element identifier"},
    {"ies", "IEs"},
    {"ietf", "IETF"},
    {"imei", "IMEI"},
    {"imeisv", "IMEISV"},
    {"impl", "implicit"},
    {"ims", "IMS"},
    {"imsi", "IMSI"},
    {"inc", "increment"},
    {"ind", "indication"},
    {"indic", "indicator"},
    {"info", "information"},
    {"init", "initial"},
    {"integ", "integrity"},
    {"integprot", "integrity protected"},
    {"integprotand5gsecctxt", "integrity protected with new 5G security context"},
    {"integprotandcipher", "integrity protected and ciphered"},
    {"integprotandcipherand5gsecctxt", "integrity protected and ciphered with new 5G security context"},
    {"integprotandcipherandsecctxt", "integrity protected and ciphered with new EPS security context"},
    {"integprotandpartcipher", "integrity protected and partially ciphered"},
    {"integprotandsecctxt", "integrity protected with new EPS security context"},
    {"intlnetwork", "international network"},
    {"iov", "IOV"},
    {"ip", "IP"},
    {"ipv4", "IPv4"},
    {"ipv4v6", "IPv4v6"},
    {"ipv6", "IPv6"},
    {"irat", "inter-RAT"},
    {"isdn", "ISDN"},
    {"isr", "ISR"},
    {"iwf", "IWF"},
    {"iwk", "interworking"},
    {"ksi", "KSI"},
    {"la", "LA"},
    {"lac", "location area code"},
    {"ladn", "LADN"},
    {"lcs", "LCS"},
    {"lcsva", "LCS VA"},
    {"len", "length"},
    {"loc", "location"},
    {"lsa", "LSA"},
    {"lut", "LUT"},
    {"mac", "MAC"},
    {"maio", "MAIO"},
    {"max", "maximum"},
    {"mbms", "MBMS"},
    {"mcat", "MCAT"},
    {"mcc", "MCC"},
    {"mcsi", "MCSI"},
    {"meas", "measurement"},
    {"meth", "method"},
    {"mfbr", "MFBR"},
    {"mgmt", "management"},
    {"mico", "MICO"},
    {"min", "minimum"},
    {"miss", "missing"},
    {"mm", "MM"},
    {"mme", "MME"},
    {"mnc", "MNC"},
    {"mob", "mobile"},
    {"mobmgmt", "mobility management"},
    {"mobmgmt5g", "5GS mobility management"},
    {"mod", "modification"},
    {"ms", "mobile station"},
    {"msg", "message"},
    {"msin", "MSIN"},
    {"mti", "MTI"},
    {"mtti", "MTTI"},
    {"mult", "multiple"},
    {"nai", "NAI"},
    {"nas", "NAS"},
    {"nci", "NCI"},
    {"neci", "NECI"},
    {"net", "network"},
    {"netbeyondintworkpt", "network beyond interworking point"},
    {"nid", "NID"},
    {"nirr", "NIRR"},
    {"nmo", "NMO"},
    {"norm", "normal"},
    {"notif", "notification"},
    {"nr", "NR"},
    {"nri", "NRI"},
    {"nsag", "NSAG"},
    {"nsap", "NSAP"},
    {"nsapi", "NSAPI"},
    {"nssaa", "NSSAA"},
    {"nssai", "NSSAI"},
    {"num", "number"},
    {"oct", "octet"},
    {"op", "operation"},
    {"opts", "options"},
    {"org", "organisation"},
    {"orig", "originating"},
    {"otd", "OTD"},
    {"pan", "PAN"},
    {"param", "parameter"},
    {"params", "parameters"},
    {"pars", "parameters"},
    {"pci", "PCI"},
    {"pcid", "PCID"},
    {"pco", "PCO"},
    {"pdn", "PDN"},
    {"pdp", "PDP"},
    {"pdu", "PDU"},
    {"pei", "PEI"},
    {"perf", "performance"},
    {"pfi", "PFI"},
    {"pkt", "packet"},
    {"pkts", "packets"},
    {"plmn", "PLMN"},
    {"plmns", "PLMNs"},
    {"pref", "preference"},
    {"pri", "priority"},
    {"prio", "priority"},
    {"privlocal", "private network serving the local user"},
    {"privremote", "private network serving the remote user"},
    {"proc", "procedure"},
    {"prof", "profile"},
    {"prose", "ProSe"},
    {"prosedd", "ProSe direct discovery"},
    {"prot", "protection"},
    {"proto", "protocol"},
    {"pruk", "PRUK"},
    {"prvnwservlcluser", "private network serving the local user"},
    {"prvnwservremuser", "private network serving the remote user"},
    {"ps", "PS"},
    {"psac", "PSAC"},
    {"psi", "PDU session identity"},
    {"psi1", "PSI1"},
    {"pti", "PTI"},
    {"ptmsi", "P-TMSI"},
    {"publocal", "public network serving the local user"},
    {"pubnwservlcluser", "public network serving the local user"},
    {"pubnwservremuser", "public network serving the remote user"},
    {"pubremote", "public network serving the remote user"},
    {"qci", "QCI"},
    {"qfi", "QFI"},
    {"qfis", "QFIs"},
    {"qos", "QoS"},
    {"ra", "RA"},
    {"rac", "routing area code"},
    {"rach", "RACH"},
    {"racs", "RACS"},
    {"rai", "RAI"},
    {"rat", "RAT"},
    {"ratc", "RATC"},
    {"ratho", "RAT handover"},
    {"recep", "reception"},
    {"recept", "reception"},
    {"redir", "redirection"},
    {"ref", "reference"},
    {"reg", "registration"},
    {"regis", "registration"},
    {"rel", "release"},
    {"req", "request"},
    {"reqd", "required"},
    {"rereg", "reregistration"},
    {"resp", "response"},
    {"retrans", "retransmissions"},
    {"rev", "revision"},
    {"rlc", "RLC"},
    {"rnti", "RNTI"},
    {"rr", "RR"},
    {"rtti", "RTTI"},
    {"rxlev", "RXLEV"},
    {"sacch", "SACCH"},
    {"saf", "SAF"},
    {"sai", "SAI"},
    {"sapi", "SAPI"},
    {"sd", "slice differentiator"},
    {"sdu", "SDU"},
    {"sec", "security"},
    {"seg", "segment"},
    {"sel", "selected"},
    {"seq", "sequence"},
    {"serv", "service"},
    {"sess", "session"},
    {"sessmgmt5g", "5GS session management"},
    {"sib", "SIB"},
    {"sm", "SM"},
    {"sms", "SMS"},
    {"snssai", "S-NSSAI"},
    {"solsa", "SoLSA"},
    {"ssid", "SSID"},
    {"sst", "slice/service type"},
    {"stats", "statistics"},
    {"std", "standard"},
    {"stddefforgsmplms", "standard defined for GSM PLMNs"},
    {"stmsi", "S-TMSI"},
    {"struct", "structure"},
    {"subaddr", "subaddress"},
    {"suci", "SUCI"},
    {"supi", "SUPI"},
    {"supl", "SUPL"},
    {"suplsvcactv", "supplementary service activation"},
    {"supp", "support"},
    {"svc", "service"},
    {"sys", "system"},
    {"ta", "TA"},
    {"tac", "tracking area code"},
    {"tacs", "TACs"},
    {"tai", "TAI"},
    {"tais", "TAIs"},
    {"tdd", "TDD"},
    {"tech", "technology"},
    {"temp", "temporary"},
    {"term", "terminating"},
    {"tfi", "TFI"},
    {"thresh", "threshold"},
    {"tlli", "TLLI"},
    {"tma", "TMA"},
    {"tmgi", "TMGI"},
    {"tmsi", "TMSI"},
    {"trans", "transaction"},
    {"trk", "tracking"},
    {"tsc", "TSC"},
    {"ue", "UE"},
    {"uea", "UEA"},
    {"uia", "UIA"},
    {"ul", "uplink"},
    {"umts", "UMTS"},
    {"unk", "unknown"},
    {"unsupp", "unsupported"},
    {"upd", "update"},
    {"upg", "upgrade"},
    {"usf", "USF"},
    {"ususagesetting", "UE's usage setting"},
    {"utra", "UTRA"},
    {"utran", "UTRAN"},
    {"uupd", "UUPD"},
    {"val", "value"},
    {"valincrmult10hrs", "in steps of 10 hours"},
    {"valincrmult10mins", "in steps of 10 minutes"},
    {"valincrmult1hr", "in steps of 1 hour"},
    {"valincrmult1min", "in steps of 1 minute"},
    {"valincrmult2secs", "in steps of 2 seconds"},
    {"valincrmult30secs", "in steps of 30 seconds"},
    {"valincrmult320hrs", "in steps of 320 hours"},
    {"vals", "values"},
    {"vamos", "VAMOS"},
    {"vid", "VID"},
    {"vol", "volume"},
    {"vops", "voice over PS"},
    {"wlan", "WLAN"},
    {"wus", "WUS"},
    {"xfer", "transfer"},
    {"xid", "XID"},
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

// Words that have capitals inside, and hyphens. Longer ones first.
static constexpr std::string_view kMixed[] = {
    "E-UTRAN", "e-UTRAN", "EUTRAN", "E-UTRA", "e-UTRA", "eUTRAN", "gERAN", "eUTRA", "RATHO", "SoLSA", "soLSA", "uTRAN",
    "uTran",   "vAMOS",   "CIoT",   "CIot",   "VoPS",   "eDRX",   "ePCO",  "gUTI",  "uTRA",  "AMBR",  "QoS"};

// Where the word that begins at `at` ends: "NASKeySet" has the words NAS, Key, Set; "x128-eea1" stays one, and so does
// "IEs".
static size_t wordEnd(std::string_view name, size_t at)
{
  for (std::string_view whole : kMixed)
    if (name.substr(at, whole.size()) == whole) return at + whole.size();
  size_t end = at + 1;
  bool letters = isUpper(name[at]) || isDigit(name[at]); // 3GPP
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
// "x128-eea2" are 128-EEA2 (TS 24.301, 9.9.3.36); "uea1" is UEA1. The first of them is null, and those behind the third
// have no key length yet. What a definition already calls by the standard's name stays. Empty for anything else.
static std::string algorithmName(std::string_view name)
{
  for (std::string_view lead : {"x", "128-", "5G-"})
    if (name.substr(0, lead.size()) == lead) name.remove_prefix(lead.size());
  std::string text;
  for (char c : name) text += static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
  bool fiveG = text.size() == 3, eps = text.size() == 4 && text[0] == 'E', umts = text.size() == 4 && text[0] == 'U';
  std::string_view letters = std::string_view(text).substr(fiveG ? 0 : 1);
  if ((!fiveG && !eps && !umts) || letters[1] != 'A' || (letters[0] != 'E' && letters[0] != 'I')) return "";
  char number = letters[2];
  if (number < '0' || number > '7') return "";
  if (umts) return text;
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
    bool counts = !at && name.substr(at, end - at) == "num" && end < name.size();
    text += counts ? "number of" : meaningOf(name.substr(at, end - at));
    at = end;
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
