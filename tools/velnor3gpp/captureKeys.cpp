#include "captureKeys.h"

#include <arpa/inet.h>

#include <cstring>
#include <sstream>

namespace {

using Connection = velnor3gpp_CaptureConnection;

struct Field {
  const char* name;
  uint32_t highest;
  bool (*holds)(const ConnectionTerm& term, const Connection& connection);
};

} // namespace

static bool hasAddress(const ConnectionTerm& term, const Connection& connection)
{
  if (!(connection.has & VELNOR3GPP_CAPTURE_HAS_ADDRESSES) || term.number != connection.addressSize) return false;
  return memcmp(term.address.data(), connection.source, term.number) == 0 ||
         memcmp(term.address.data(), connection.destination, term.number) == 0;
}

static bool hasPort(const ConnectionTerm& term, const Connection& connection)
{
  return connection.has & VELNOR3GPP_CAPTURE_HAS_ADDRESSES &&
         (term.number == connection.sourcePort || term.number == connection.destinationPort);
}

static bool hasRadio(const Connection& connection)
{
  return connection.has & VELNOR3GPP_CAPTURE_HAS_RADIO;
}

static constexpr Field kFields[] = {
    {"address", 0, hasAddress},
    {"port", 65535, hasPort},
    {"arfcn", 16383, [](const ConnectionTerm& t, const Connection& c) { return hasRadio(c) && t.number == c.arfcn; }},
    {"timeslot", 255,
     [](const ConnectionTerm& t, const Connection& c) { return hasRadio(c) && t.number == c.timeslot; }},
    {"subslot", 255, [](const ConnectionTerm& t, const Connection& c) { return hasRadio(c) && t.number == c.subslot; }},
    {"interface", UINT32_MAX,
     [](const ConnectionTerm& t, const Connection& c) { return t.number == c.interfaceNumber; }}};

static bool readAddress(const std::string& word, ConnectionTerm& term)
{
  term.number = word.find(':') == std::string::npos ? 4 : 16;
  return inet_pton(term.number == 4 ? AF_INET : AF_INET6, word.c_str(), term.address.data()) == 1;
}

static bool readNumber(const std::string& word, uint32_t highest, ConnectionTerm& term)
{
  if (word.empty() || word.size() > 10 || word.find_first_not_of("0123456789") != std::string::npos) return false;
  unsigned long long value = std::stoull(word);
  term.number = static_cast<uint32_t>(value);
  return value <= highest;
}

std::string readConnection(const std::string& text, ConnectionTerms& terms)
{
  static const char kHelp[] =
      "write behind connection: address, port, arfcn, timeslot, subslot or interface, each with its value";
  std::istringstream in(text);
  for (std::string name, value; in >> name;) {
    ConnectionTerm term = {0, 0, {}};
    while (term.field < std::size(kFields) && name != kFields[term.field].name) ++term.field;
    if (term.field == std::size(kFields)) return kHelp;
    uint32_t highest = kFields[term.field].highest;
    if (!(in >> value) || !(highest ? readNumber(value, highest, term) : readAddress(value, term)))
      return name + " has no value that it can have";
    terms.push_back(term);
  }
  return terms.empty() ? kHelp : "";
}

bool isConnection(const ConnectionTerms& terms, const Connection& connection)
{
  for (const ConnectionTerm& term : terms)
    if (!kFields[term.field].holds(term, connection)) return false;
  return true;
}
