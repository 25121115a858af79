// Guards what a caller of the small interface relies on who knows no type: every type is found by its names, every
// value stands where its position says, findings lead to octet and clause, and keys outlast messages and follow their
// counts.
#include <gtest/gtest.h>

#include <map>
#include <set>

#include "api/build.h"
#include "tests/corpus/messageFacts.h"
#include "tests/facade/session.h"

namespace {

velnor3gpp_TypeFacts factsAbout(const velnor3gpp_Type* type)
{
  auto facts = sized<velnor3gpp_TypeFacts>();
  EXPECT_EQ(velnor3gpp_typeFacts(type, &facts), 0);
  return facts;
}

std::string upper(std::string text)
{
  for (char& c : text) c = char(toupper(c));
  return text;
}

TEST(Facade, EveryTypeIsFoundByItsNames)
{
  std::map<std::string, size_t> shortNames;
  EXPECT_EQ(velnor3gpp_typeByName(nullptr, nullptr), nullptr);
  for (size_t i = 0; i < velnor3gpp_typeCount(); ++i) ++shortNames[upper(factsAbout(velnor3gpp_typeAt(i)).shortName)];
  for (size_t i = 0; i < velnor3gpp_typeCount(); ++i) {
    const velnor3gpp_Type* type = velnor3gpp_typeAt(i);
    velnor3gpp_TypeFacts facts = factsAbout(type);
    EXPECT_EQ(velnor3gpp_typeByName(facts.name, nullptr), type) << facts.name;
    EXPECT_EQ(velnor3gpp_typeByName(upper(facts.name).c_str(), nullptr), type) << facts.name;
    size_t others = 0, count = shortNames[upper(facts.shortName)];
    const velnor3gpp_Type* byShort = velnor3gpp_typeByName(facts.shortName, &others);
    EXPECT_TRUE(count == 1 ? byShort == type : !byShort && others == count) << facts.name;
    EXPECT_TRUE(std::string(facts.clause).starts_with("TS ") && strchr(facts.clause, ',')) << facts.clause;
    EXPECT_TRUE(std::string(facts.name).starts_with(std::string(facts.module) + "_")) << facts.module;
    EXPECT_TRUE(facts.use != VELNOR3GPP_MESSAGE || *facts.title) << facts.name << " has no standard's name";
  }
}

// Elements of a type's own, by name: their release, or that they are there.
using Elements = std::map<std::string, int>;

int takeRelease(const velnor3gpp_Member* member, void* arg)
{
  if (member->release) (*static_cast<Elements*>(arg))[std::string(member->name, member->nameLength)] = member->release;
  return 0;
}

int takePresence(const velnor3gpp_Node* node, void* arg)
{
  bool own = node->parent && !node->parent->parent && node->name;
  if (own) (*static_cast<Elements*>(arg))[std::string(node->name, node->nameLength)] = 1;
  return 0;
}

// What a release limit leaves unread are the elements whose release lies beyond it.
TEST(Facade, ElementsOfReleaseGroupsAreReadFromTheirReleaseOn)
{
  TestSession session;
  size_t types = 0;
  for (size_t i = 0; i < velnor3gpp_typeCount(); ++i) {
    const velnor3gpp_Type* type = velnor3gpp_typeAt(i);
    velnor3gpp_TypeFacts facts = factsAbout(type);
    Elements releases, all;
    velnor3gpp_describe(type, takeRelease, &releases);
    ASSERT_EQ(releases.empty(), facts.release == 0) << facts.name;
    if (!facts.release) continue;
    ++types;
    velnor3gpp_setOption(session, VELNOR3GPP_OPTION_RELEASE, 0);
    ASSERT_EQ(velnor3gpp_sample(session, type, nullptr, 0), 0);
    velnor3gpp_visit(session, 0, takePresence, &all);
    const Octets octets = octetsOfHex(session.encoded());
    for (int limit = 3; limit <= facts.release; ++limit) {
      Elements present;
      velnor3gpp_setOption(session, VELNOR3GPP_OPTION_RELEASE, uint32_t(limit));
      velnor3gpp_decode(session, type, VELNOR3GPP_DIRECTION_UNKNOWN, octets.data(), octets.size());
      velnor3gpp_visit(session, 0, takePresence, &present);
      for (auto& [name, release] : releases)
        EXPECT_EQ(present.count(name), release <= limit && all.count(name))
            << facts.name << " " << name << " " << limit;
    }
  }
  EXPECT_EQ(types, 2U);
}

uint64_t bitsAt(const Octets& octets, size_t offset, size_t count)
{
  uint64_t value = 0;
  for (size_t i = offset; i < offset + count; ++i) value = value << 1 | (octets.at(i / 8) >> (7 - i % 8) & 1);
  return value;
}

struct Placed {
  const Octets& octets;
  size_t values = 0, placed = 0;
};

// A number of so many bits is what stands in those bits of the message, and so are octets.
int checkPlace(const velnor3gpp_Node* node, void* arg)
{
  Placed& placed = *static_cast<Placed*>(arg);
  if (node->step != VELNOR3GPP_VALUE) return 0;
  char path[512];
  velnor3gpp_nodePath(node, path, sizeof path);
  ++placed.values;
  placed.placed += node->bits != 0;
  if (strcmp(path, "msgType") == 0) return 0; // of TS 24.008, where it shares its octet with a sequence number
  bool number = node->kind == VELNOR3GPP_NUMBER || node->kind == VELNOR3GPP_ENUMERATED || node->kind == VELNOR3GPP_FLAG;
  if (number && node->bits == node->width) {
    uint64_t stands = bitsAt(placed.octets, node->bitOffset, node->bits);
    uint64_t padding = bitsAt(Octets(placed.octets.size(), 0x2B), node->bitOffset, node->bits); // of rest octets
    EXPECT_TRUE(stands == node->number || (stands ^ padding) == node->number) << path << " is not " << stands;
  }
  if (node->kind == VELNOR3GPP_OCTETS && node->count && node->bits == node->count * 8 && node->bitOffset % 8 == 0) {
    EXPECT_EQ(memcmp(&placed.octets.at(node->bitOffset / 8), node->data, node->count), 0) << path;
  }
  return 0;
}

TEST(Facade, EveryValueStandsWhereItsPositionSays)
{
  TestSession session;
  size_t values = 0, placed = 0;
  for (const TestMessage& message : corpusMessages(VELNOR_CORPUS)) {
    SCOPED_TRACE(message.name);
    bool good = session.decode(message.entry, message.octets) == 0 && !session.result().missing;
    if (!good || session.result().check != VELNOR3GPP_PLAIN) continue;
    Placed place{message.octets};
    EXPECT_EQ(velnor3gpp_visit(session, VELNOR3GPP_POSITIONS, checkPlace, &place), 0);
    values += place.values;
    placed += place.placed;
  }
  EXPECT_GT(values, 8000U);
  EXPECT_GT(placed * 100, values * 90) << placed << " of " << values << " have a place";
}

TEST(Facade, FindingsLeadToOctetAndClause)
{
  TestSession session;
  auto told = [&](const char* hex) {
    session.decode(nullptr, octetsOfHex(hex));
    auto f = sized<velnor3gpp_Finding>();
    if (velnor3gpp_finding(session, 0, &f) < 0) return std::string("in order");
    return std::to_string(f.status) + " " + f.path + " octet " + std::to_string(long(f.octet)) + " bit " +
           std::to_string(f.bit) + " " + f.clause;
  };
  EXPECT_EQ(told("7e005b01"), "in order");
  EXPECT_EQ(told("7e0041790004f1"), "-9 data.RegRequest5G.mobileId.suci octet 7 bit 0 TS 24.501, 9.11.3.4");
  EXPECT_EQ(told("7e005b"), "-2 data.IdentityRequest5G.spare octet 3 bit 8 TS 24.501, 8.2.21");
  EXPECT_EQ(told("7e004201011502"),
            "-2 data.RegAccept5G.allowedNSSAI.contents[0].length octet 7 bit 8 TS 24.501, 9.11.2.8");
  EXPECT_EQ(told("0f"), "-113  octet -1 bit 0 ");
  EXPECT_EQ(told(""), "-113  octet -1 bit 0 ");
}

// A record that is not complete is none, and types that lie in each other without end fill no more than the frames.
TEST(Facade, BuildingEndsWithAWholeRecordOfBoundedDepth)
{
  TestSession session;
  auto event = sized<velnor3gpp_BuildEvent>();
  event.type = velnor3gpp_typeByName("TS24501IE_SNSSAI", nullptr);
  auto step = [&](velnor3gpp_BuildStep kind) { return event.step = kind, velnor3gpp_build(session, &event); };
  for (bool opened : {false, true}) {
    EXPECT_EQ(step(VELNOR3GPP_BUILD_BEGIN), 0);
    if (opened) EXPECT_EQ(step(VELNOR3GPP_BUILD_OPEN), 0);
    EXPECT_EQ(step(VELNOR3GPP_BUILD_END), RTX_E_MISSING_ELEMENT);
    EXPECT_EQ(session.result().type, nullptr);
  }
  step(VELNOR3GPP_BUILD_BEGIN);
  Build& build = *session.session->build;
  for (unsigned depth = 0; depth <= kMaxBuildDepth; ++depth) {
    build.expected = true; // as if the record were its own member
    EXPECT_EQ(step(VELNOR3GPP_BUILD_OPEN), depth < kMaxBuildDepth ? 0 : RTX_E_NESTING_TOO_DEEP) << depth;
  }
}

// What a step names is the caller's for that step alone, and a message that comes in between ends what is half built.
TEST(Facade, BuildingHoldsNothingOfTheCallerAndEndsWithTheNextMessage)
{
  TestSession session;
  auto event = sized<velnor3gpp_BuildEvent>();
  auto step = [&](velnor3gpp_BuildStep kind, uint64_t number = 0) {
    event.step = kind;
    event.number = number;
    return velnor3gpp_build(session, &event);
  };
  struct Case {
    const char* type;
    std::vector<std::string> names;
    const char* path;
  };
  for (const Case& one : {Case{"TS24501IE_SNSSAI", {"sst"}, "sst"},
                          Case{"TS24501Msg_PDU",
                               {"data", "IdentityRequest5G", "identity", "typeOfIdent"},
                               "data.IdentityRequest5G.identity.typeOfIdent"},
                          Case{"TS24501IE_MobileIdentity", {"suci", "supiImsi"}, "suci.supiImsi"}}) {
    event.type = velnor3gpp_typeByName(one.type, nullptr);
    EXPECT_EQ(step(VELNOR3GPP_BUILD_BEGIN), 0);
    for (std::string name : one.names) {
      EXPECT_EQ(step(VELNOR3GPP_BUILD_OPEN), 0);
      event.text = name.data();
      event.count = name.size();
      EXPECT_EQ(step(VELNOR3GPP_BUILD_MEMBER), 0) << name << session.findings();
      name.assign(name.size(), '!');
      event.text = nullptr;
      event.count = 0;
    }
    EXPECT_LT(step(VELNOR3GPP_BUILD_OTHER), 0); // none of them can be that
    EXPECT_NE(session.findings().find(std::string(" ") + one.path + ": "), std::string::npos) << session.findings();
  }
  event.type = velnor3gpp_typeByName("TS24501IE_SNSSAI", nullptr);
  for (bool decoded : {true, false}) {
    EXPECT_EQ(step(VELNOR3GPP_BUILD_BEGIN), 0);
    EXPECT_EQ(step(VELNOR3GPP_BUILD_OPEN), 0);
    if (decoded)
      session.decode(nullptr, octetsOfHex("7E005B01"));
    else
      velnor3gpp_sample(session, event.type, nullptr, 0);
    const std::string before = session.encoded();
    EXPECT_EQ(step(VELNOR3GPP_BUILD_CLOSE), RTX_E_BAD_PARAMETER);
    EXPECT_EQ(step(VELNOR3GPP_BUILD_END), RTX_E_BAD_PARAMETER);
    EXPECT_EQ(session.encoded(), before);
  }
}

// Redacted messages keep their shape, so that they are decoded like others.
TEST(Facade, RedactingLeavesZeros)
{
  TestSession session;
  for (const TestMessage& message : corpusMessages(VELNOR_CORPUS)) {
    if (session.decode(message.entry, message.octets) < 0 || session.result().check != VELNOR3GPP_PLAIN) continue;
    const std::string before = session.encoded();
    if (before.find(':') != std::string::npos) continue;
    ASSERT_EQ(velnor3gpp_redact(session), 0);
    EXPECT_EQ(session.encoded().size(), before.size()) << message.name;
  }
  // A mobile identity of a subscriber: the network stays, the subscriber goes.
  session.decode(nullptr, octetsOfHex("7E005C000D0102F8390000000021436587F9"));
  ASSERT_EQ(velnor3gpp_redact(session), 0);
  EXPECT_EQ(session.encoded(), "7E005C000D0102F839000000000000000000");
  session.decode(nullptr, octetsOfHex("0559082980430000000010"));
  ASSERT_EQ(velnor3gpp_redact(session), 0);
  EXPECT_EQ(session.encoded(), "0559080900000000000000");
  // A remote UE and its address; an address in front of its mask; what only says so of a number; a code of eight bits.
  struct {
    const char *type, *wire, *redacted;
  } cases[] = {
      {nullptr, "0201E9790011010F010829620298765432F1010A000005", "0201E9790011010F010809000000000000000100000000"},
      {"TS24501IE_QoSRules", "001101000E31310910AC10FE02FFFFFFFFFF01", "001101000E3131091000000000FFFFFFFFFF01"},
      {"TS24008IE_RoutingAreaIdent", "62F210123456", "62F210000000"},
      {"TS24008IE_ProtocolConfigOptions", "0880000C04AC10FE02", "0880000C0400000000"}};
  for (auto& [type, wire, redacted] : cases) {
    ASSERT_EQ(session.decode(type ? l3FindType(type) : nullptr, octetsOfHex(wire)), 0) << wire;
    ASSERT_EQ(velnor3gpp_redact(session), 0);
    EXPECT_EQ(session.encoded(), redacted);
  }
}

// Under one key no two become the same and none stays: all area codes but those that name none, all keys of a phone.
TEST(Facade, PseudonymsOfDifferentOnesDiffer)
{
  const uint8_t key[16] = {5};
  TestSession session;
  std::set<std::string> others;
  size_t same = 0;
  auto replace = [&](const L3TypeEntry* type, const std::string& hex) {
    session.decode(type, octetsOfHex(hex));
    velnor3gpp_pseudonymise(session, key);
    std::string other = session.encoded();
    same += other == hex;
    others.insert(other);
  };
  char hex[16];
  for (unsigned i = 0; i < 0x10000; ++i) {
    snprintf(hex, sizeof hex, "62F210%04X", i);
    replace(l3FindType("TS24008IE_LocAreaIdent"), hex);
  }
  EXPECT_EQ(others.size(), 0x10000U);
  EXPECT_EQ(same, 2U);
  for (unsigned i = 0; i < 10; ++i) replace(nullptr, "03352C3" + std::to_string(i));
  EXPECT_EQ(others.size(), 0x1000AU);
  EXPECT_EQ(same, 2U);
}

// The digits that tell who somebody is: of texts of digits, what stands behind country and network.
int takeDigits(const velnor3gpp_Node* node, void* arg)
{
  std::string text(reinterpret_cast<const char*>(node->data), node->kind == VELNOR3GPP_TEXT ? node->count : 0);
  bool digits = text.size() > 11 && text.find_first_not_of("0123456789") == std::string::npos;
  if (digits) static_cast<std::set<std::string>*>(arg)->insert(text);
  return 0;
}

// In octets two digits stand in each, the second one first; which one begins an octet depends on what is before.
bool hasDigits(const std::string& hex, const std::string& digits)
{
  std::string swapped;
  for (size_t i = 0; i + 1 < hex.size(); i += 2) swapped += {hex[i + 1], hex[i]};
  return swapped.find(digits) != std::string::npos;
}

int takeImei(const velnor3gpp_Node* node, void* arg)
{
  bool found = node->name && std::string(node->name, node->nameLength) == "imei";
  if (found) static_cast<std::string*>(arg)->assign(reinterpret_cast<const char*>(node->data), node->count);
  return 0;
}

unsigned digitSum(const std::string& digits)
{
  unsigned sum = 0;
  for (size_t i = 0; i < digits.size(); ++i) {
    unsigned value = unsigned(digits[i] - '0') * (i % 2 ? 2 : 1);
    sum += value / 10 + value % 10;
  }
  return sum;
}

// No digits of a subscriber or a phone are left in text, JSON or octets of any message of the corpus, and the same
// digits become the same others under a key.
TEST(Facade, PseudonymsLeaveNoDigits)
{
  const uint8_t key[16] = {1, 2, 3}, other[16] = {4};
  TestSession session, again;
  std::map<std::string, std::string> pseudonyms;
  size_t looked = 0;
  for (const TestMessage& message : corpusMessages(VELNOR_CORPUS)) {
    SCOPED_TRACE(message.name);
    if (session.decode(message.entry, message.octets) < 0 || session.result().check != VELNOR3GPP_PLAIN) continue;
    std::set<std::string> digits, replaced;
    velnor3gpp_visit(session, 0, takeDigits, &digits);
    std::string before = session.encoded();
    if (before.find(':') != std::string::npos) continue;
    ASSERT_EQ(velnor3gpp_pseudonymise(session, key), 0);
    velnor3gpp_visit(session, 0, takeDigits, &replaced);
    const char* text = nullptr;
    size_t count = 0;
    ASSERT_EQ(velnor3gpp_toText(session, &text, &count), 0);
    std::string printed(text, count), after = session.encoded();
    EXPECT_EQ(after.size(), before.size());
    for (const std::string& number : digits) {
      EXPECT_EQ(printed.find(number.substr(5, 9)), std::string::npos);
      EXPECT_FALSE(hasDigits(after, number.substr(5, 9))) << number << " in " << after;
      ++looked;
    }
    if (digits.size() == 1 && replaced.size() == 1) {
      auto [known, isNew] = pseudonyms.emplace(*digits.begin(), *replaced.begin());
      EXPECT_EQ(known->second, *replaced.begin());
    }
  }
  EXPECT_GT(looked, 10U);
  EXPECT_GT(pseudonyms.size(), 5U);
  // Under another key it is another one; a message within a message is looked into; a phone keeps a right check digit.
  auto replace = [&](const char* hex, const uint8_t* under) {
    session.decode(nullptr, octetsOfHex(hex));
    velnor3gpp_pseudonymise(session, under);
    return session.encoded();
  };
  const char* response = "0559082910325476981032";
  EXPECT_NE(replace(response, key), replace(response, other));
  EXPECT_EQ(replace(response, key), replace(response, key));
  // IMEI 49015420323751 and its check digit 8 (TS 23.003, annex B).
  EXPECT_NE(replace("055908"
                    "4A09512430325781",
                    key),
            "0559084A09512430325781");
  std::string imei;
  velnor3gpp_visit(session, 0, takeImei, &imei);
  EXPECT_EQ(imei.size(), 15U);
  EXPECT_EQ(digitSum(imei) % 10, 0U) << imei;
  // The subscriber of a request is that of the message in its container.
  std::string request =
      replace("7e004179000d0102f8390000000021436587f97100127e005c000d0102f8390000000021436587f9", key);
  std::string subscriber = request.substr(request.size() - 10);
  EXPECT_NE(subscriber, "21436587F9");
  EXPECT_NE(request.find(subscriber), request.rfind(subscriber)) << request;
}

// The trace of a message, twice the same, as text and as a page. The first time it is longer than the room for it.
TEST(Facade, TraceIsTextOrAPage)
{
  TestSession session;
  const char* text = nullptr;
  size_t count = 0;
  EXPECT_EQ(velnor3gpp_trace(session, 0, &text, &count), RTX_E_BAD_PARAMETER);
  session.decode(nullptr,
                 octetsOfHex("07420249062302f810c4c000725202c101081a066f72616e6765066d6e63303031066d6363323038046770"
                             "727305010a7456415d010030101c911f7396fefe734bffff00fa00fa003203843401005e06fefedddd1010"
                             "272780000d04c0a80a6e80210a0300000a8106c0a80a6e80210a0400000a83060000000000100205dc500b"
                             "f602f8108003c8c2e65e9a1302f81004055949640103f05e0106"));
  ASSERT_EQ(velnor3gpp_trace(session, 0, &text, &count), 0);
  std::string first(text, count);
  EXPECT_GT(count, 8192U);
  EXPECT_NE(first.find("PDU.msgType INTEGER"), std::string::npos);
  ASSERT_EQ(velnor3gpp_trace(session, VELNOR3GPP_HTML, &text, &count), 0);
  EXPECT_TRUE(std::string(text, count).ends_with("</html>\n"));
  ASSERT_EQ(velnor3gpp_trace(session, 0, &text, &count), 0);
  EXPECT_EQ(std::string(text, count), first);
}

velnor3gpp_Keys keysOf(const ProtectedRow& row)
{
  auto keys = sized<velnor3gpp_Keys>();
  std::copy(row.integrityKey.begin(), row.integrityKey.end(), keys.integrityKey);
  std::copy(row.cipherKey.begin(), row.cipherKey.end(), keys.cipherKey);
  keys.integrityAlgorithm = row.integrityAlgorithm;
  keys.cipherAlgorithm = row.cipherAlgorithm;
  keys.bearer = row.bearer;
  keys.uplinkCount = keys.downlinkCount = row.count > 3 ? row.count - 3 : 0;
  return keys;
}

// The keys alone tell direction and count; the message comes back octet for octet, and wrong codes are told.
TEST(Facade, KeysVerifyAndProtectAgain)
{
  TestSession session;
  size_t verified = 0;
  for (const ProtectedRow& row : protectedRows()) {
    SCOPED_TRACE(row.id);
    const velnor3gpp_Keys keys = keysOf(row);
    ASSERT_EQ(velnor3gpp_setKeys(session, &keys), 0);
    session.decode(row.type, row.octets);
    velnor3gpp_Result result = session.result();
    if (!row.integrityAlgorithm) continue;
    EXPECT_EQ(result.check, row.verifies ? VELNOR3GPP_VERIFIED : VELNOR3GPP_FORGED);
    if (!row.verifies || result.check != VELNOR3GPP_VERIFIED) continue;
    ++verified;
    EXPECT_EQ(result.nasCount, row.count);
    EXPECT_EQ(result.direction, row.direction ? VELNOR3GPP_DOWN : VELNOR3GPP_UP);
    if (result.status < 0) continue;
    EXPECT_EQ(session.encoded(), hexText(row.octets));
  }
  EXPECT_GT(verified, 30U);
}

// Keys that nobody can have meant are refused: half of them would make every message forged, or prove nothing.
// Of EPS, 5GS and a service request, which has two octets of it. A redacted message has none that could be compared.
TEST(Facade, WithoutKeysTheCodeStaysWhatTheRecordSays)
{
  struct {
    const char *wire, *redacted;
  } cases[] = {{"1706CB260103075501", "170000000003075501"},
               {"7E01AABBCCDD007E005B01", "7E0100000000007E005B01"},
               {"C702CD24", "C7020000"}};
  for (auto& [wire, redacted] : cases) {
    TestSession session;
    ASSERT_EQ(session.decode(nullptr, octetsOfHex(wire)), 0) << session.findings();
    EXPECT_EQ(session.result().check, VELNOR3GPP_NO_KEYS);
    EXPECT_EQ(session.encoded(), wire);
    EXPECT_EQ(session.encoded(), wire) << "from the record that the encoder left";
    EXPECT_EQ(velnor3gpp_redact(session), 0);
    EXPECT_EQ(session.encoded(), redacted);
    ASSERT_EQ(session.decode(nullptr, octetsOfHex(wire)), 0);
    EXPECT_EQ(velnor3gpp_pseudonymise(session, octetsOfHex(std::string(32, '7')).data()), 0);
    EXPECT_EQ(session.encoded(), redacted);
  }
}

TEST(Facade, KeysWithoutSizeOrBearerAreRefused)
{
  TestSession session;
  const auto good = sized<velnor3gpp_Keys>();
  for (auto [size, bearer] : {std::pair{size_t{0}, -1}, {sizeof(size_t), -1}, {good.size, 32}, {good.size, -2}}) {
    EXPECT_EQ(velnor3gpp_setKeys(session, &good), 0);
    velnor3gpp_Keys keys = good;
    keys.size = size;
    keys.bearer = bearer;
    EXPECT_EQ(velnor3gpp_setKeys(session, &keys), RTX_E_BAD_PARAMETER);
    keys.size = good.size;
    EXPECT_EQ(velnor3gpp_getKeys(session, &keys), RTX_E_NO_SECURITY);
  }
}

// A struct without its size gets no answer that its caller would take for one.
TEST(Facade, StructsWithoutSizeAreRefused)
{
  TestSession session;
  session.decode(nullptr, octetsOfHex("7E005E7A0003010203"), VELNOR3GPP_UP);
  velnor3gpp_Result result = {};
  velnor3gpp_TypeFacts facts = {};
  velnor3gpp_BuildEvent event = {};
  velnor3gpp_Kept kept = {};
  EXPECT_EQ(velnor3gpp_result(session, &result), RTX_E_BAD_PARAMETER);
  EXPECT_EQ(velnor3gpp_typeFacts(velnor3gpp_typeAt(0), &facts), RTX_E_BAD_PARAMETER);
  EXPECT_EQ(velnor3gpp_build(session, &event), RTX_E_BAD_PARAMETER);
  kept.path = kept.element = "";
  EXPECT_EQ(velnor3gpp_keep(session, &kept), RTX_E_BAD_PARAMETER);
  result.size = offsetof(velnor3gpp_Result, title); // as an older caller has it
  EXPECT_EQ(velnor3gpp_result(session, &result), 0);
  EXPECT_STREQ(result.message, "SecModeDone5G");
  EXPECT_EQ(result.title, nullptr);
}

// A stream of messages of one connection: counts go on, across the sequence number's end too, and a late one is taken
// within the window alone.
TEST(Facade, CountsFollowTheMessages)
{
  TestSession session;
  auto keys = sized<velnor3gpp_Keys>();
  keys.integrityAlgorithm = keys.cipherAlgorithm = 2;
  keys.bearer = -1;
  keys.uplinkCount = 253;
  std::vector<Octets> stream;
  std::fill_n(keys.integrityKey, 16, uint8_t{7});
  for (uint32_t count = 253; count < 260; ++count) {
    keys.uplinkCount = count;
    TestSession sender; // reads the message without keys, as it is not ciphered yet, and protects it
    sender.decode(nullptr, octetsOfHex("7E0200000000" + hexText({uint8_t(count)}) + "7E0043"), VELNOR3GPP_UP);
    ASSERT_EQ(velnor3gpp_setKeys(sender, &keys), 0);
    stream.push_back(octetsOfHex(sender.encoded()));
  }
  keys.uplinkCount = 250;
  keys.window = 4;
  velnor3gpp_setKeys(session, &keys);
  for (size_t i = 0; i < stream.size(); ++i) {
    EXPECT_EQ(session.decode(nullptr, stream[i]), 0) << i << session.findings();
    EXPECT_EQ(session.result().nasCount, 253 + i);
    EXPECT_EQ(session.result().check, VELNOR3GPP_VERIFIED);
  }
  EXPECT_EQ(session.decode(nullptr, stream[3]), 0) << "late, and within the window";
  session.decode(nullptr, stream[0]);
  EXPECT_EQ(session.result().check, VELNOR3GPP_FORGED) << "too late";
  ASSERT_EQ(velnor3gpp_getKeys(session, &keys), 0);
  EXPECT_EQ(keys.uplinkCount, 259U);
}

} // namespace
