// What is kept travels as JSON: the object has it under "unknown", and what is read back encodes to the octets of the
// message.
#include <gtest/gtest.h>

#include <chrono>

#include "tests/fileText.h"
#include "tests/json/session.h"

namespace {

TEST(JsonKept, MessagesComeBackThroughTheirObject)
{
  for (auto& row : readTable(VELNOR_CORPUS "/standard.tsv", 10)) {
    SCOPED_TRACE(row[0] + " " + row[9] + " " + row[3]);
    JsonSession session;
    velnor3gpp_setOption(session, VELNOR3GPP_OPTION_KEEP, 1);
    velnor3gpp_setOption(session, VELNOR3GPP_OPTION_STANDARD, 1);
    velnor3gpp_Direction direction = row[8] == "up" ? VELNOR3GPP_UP : VELNOR3GPP_DOWN;
    Octets wire = octetsOfHex(row[3]);
    ASSERT_EQ(session.decode(l3FindType(row[2].c_str()), wire, direction), 0) << session.findings();
    std::string object = session.json();
    EXPECT_EQ(object.find("\"unknown\":") != std::string::npos, session.result().kept != 0) << object;
    ASSERT_EQ(session.read(object), 0) << session.findings() << object;
    EXPECT_EQ(session.encoded(), hexText(wire)) << object;
  }
}

// Does the object hold an element that an encoder refuses as it is? What is read of it has lengths that fit.
bool isRefused(const std::string& object)
{
  size_t unusual = object.find("\"why\":\"unusual\"");
  return unusual != std::string::npos && countOf(object, "\"why\":\"unusual\"") > countOf(object, "\"regular\":\"");
}

// Whatever single bit of a message is another one: its object says what its record does.
TEST(JsonKept, MessagesWithABitChangedComeBackThroughTheirObject)
{
  JsonSession session;
  velnor3gpp_setOption(session, VELNOR3GPP_OPTION_KEEP, 1);
  velnor3gpp_setOption(session, VELNOR3GPP_OPTION_STANDARD, 1);
  size_t read = 0;
  for (auto& message : takenCorpus(VELNOR_CORPUS, 5)) {
    if (message.octets.size() > 40 || !message.entry->encode) continue;
    for (size_t bit = 0; bit < message.octets.size() * 8; ++bit) {
      Octets octets = message.octets;
      octets[bit / 8] = uint8_t(octets[bit / 8] ^ 0x80U >> bit % 8);
      if (session.decode(message.entry, octets) < 0) continue;
      std::string object = session.json(), expected = session.encoded();
      if (isRefused(object)) continue;
      ASSERT_EQ(session.read(object, message.entry), 0) << hexText(octets) << session.findings() << object;
      ASSERT_EQ(session.encoded(), expected) << message.name << " " << hexText(octets) << " " << object;
      ++read;
    }
  }
  EXPECT_GT(read, 1000U);
}

// Bits that no member holds stand over what an encoder writes until the element is changed; then the record holds. What
// else is kept still comes back.
TEST(JsonKept, AChangedElementGoesOutAsItsRecordSays)
{
  JsonSession session;
  velnor3gpp_setOption(session, VELNOR3GPP_OPTION_KEEP, 1);
  ASSERT_EQ(session.decode(nullptr, octetsOfHex("7e004179000bfa09f1070102c3010203047a00020102"), VELNOR3GPP_UP), 0);
  auto kept = sized<velnor3gpp_Kept>();
  ASSERT_EQ(velnor3gpp_kept(session, 0, &kept), 0);
  EXPECT_EQ(kept.at, VELNOR3GPP_KEPT_OVER);
  EXPECT_STREQ(kept.text, "unusual mobileId");
  EXPECT_STREQ(kept.element, "mobileId");
  EXPECT_EQ(hexText(Octets(kept.regular, kept.regular + kept.regularCount)), "000BF209F1070102C301020304");
  std::string object = session.json(), changed = object;
  ASSERT_NE(object.find("\"over\":\"mobileId\""), std::string::npos) << object;
  size_t at = changed.find("\"01020304\"");
  ASSERT_NE(at, std::string::npos) << object;
  changed[at + 8] = '5';
  ASSERT_EQ(session.read(object), 0) << session.findings();
  EXPECT_EQ(session.encoded(), "7E004179000BFA09F1070102C3010203047A00020102");
  ASSERT_EQ(session.read(changed), 0) << session.findings();
  EXPECT_EQ(session.encoded(), "7E004179000BF209F1070102C3010203057A00020102");
}

// Unknown octets may be anybody's name: they go as the rest does.
TEST(JsonKept, RedactingEmptiesWhatIsKept)
{
  TestSession session;
  velnor3gpp_setOption(session, VELNOR3GPP_OPTION_KEEP, 1);
  Octets wire = octetsOfHex("7e004149000d0109f107f0ff000000002031907a0003010203");
  ASSERT_EQ(session.decode(nullptr, wire, VELNOR3GPP_UP), 0) << session.findings();
  auto kept = sized<velnor3gpp_Kept>();
  ASSERT_EQ(velnor3gpp_kept(session, 0, &kept), 0);
  EXPECT_STREQ(kept.text, "unknown 0x7A");
  EXPECT_STREQ(kept.path, "data.RegRequest5G");
  ASSERT_EQ(velnor3gpp_redact(session), 0);
  ASSERT_EQ(velnor3gpp_kept(session, 0, &kept), 0);
  EXPECT_EQ(hexText(Octets(kept.octets, kept.octets + kept.count)), "7A0003000000");
  // What stood over a value goes with it.
  ASSERT_EQ(session.decode(nullptr, octetsOfHex("7e004179000bfa09f1070102c301020304"), VELNOR3GPP_UP), 0);
  ASSERT_EQ(session.result().kept, 1U);
  ASSERT_EQ(velnor3gpp_redact(session), 0);
  EXPECT_EQ(session.result().kept, 0U);
}

// A message through text, trace and JSON, and from JSON back to octets.
void checkWay(JsonSession& session, const std::string& hex, size_t kept)
{
  Octets wire = octetsOfHex(hex);
  ASSERT_EQ(session.decode(nullptr, wire), 0) << session.findings();
  ASSERT_EQ(session.result().kept, kept);
  const char* text = nullptr;
  size_t count = 0;
  EXPECT_EQ(velnor3gpp_toText(session, &text, &count), 0);
  const std::string lines(text, count);
  EXPECT_EQ(velnor3gpp_trace(session, 0, &text, &count), 0);
  const std::string object = session.json(VELNOR3GPP_POSITIONS);
  EXPECT_EQ(countOf(object, "\"why\":"), kept);
  EXPECT_EQ(countOf(lines, "unknown 0x6D = ") + countOf(lines, "surplus = ") + countOf(object, "\"unusual\""), kept);
  ASSERT_EQ(session.read(object), 0) << session.findings();
  EXPECT_EQ(session.encoded(), hexText(wire));
}

// In front of a list that grows, in each of its entries and behind it; an identity with spare bits is unusual, which
// goes when it is redacted.
TEST(JsonKept, ElementsOfEntriesFollowTheirListAsItGrows)
{
  JsonSession session;
  velnor3gpp_setOption(session, VELNOR3GPP_OPTION_KEEP, 1);
  const std::string identity = "77000BFA09F1070102C301020304", before = repeated("6D00", 39),
                    behind = repeated("6D00", 12);
  const std::string entry = "15010908010000012121436501078024F899214365AA";
  checkWay(session, "7E00420101" + identity + before + "7C00DC" + repeated(entry, 10) + behind, 62);
  EXPECT_EQ(velnor3gpp_redact(session), 0);
  const std::string octets = session.encoded();
  EXPECT_EQ(octets.substr(0, 14), "7E004201017700");
  EXPECT_NE(octets.find(before + "7C00DC"), std::string::npos) << octets;
  EXPECT_EQ(octets.substr(octets.size() - behind.size()), behind);
}

// The work grows with the number of elements and records, not with their product: that would take many minutes here.
TEST(JsonKept, ManyElementsAndRecordsCostNoMoreThanTheirNumber)
{
  JsonSession session;
  velnor3gpp_setOption(session, VELNOR3GPP_OPTION_KEEP, 1);
  const size_t many = 10000;
  const std::string units = "80" + repeated("001000", many);
  auto start = std::chrono::steady_clock::now();
  checkWay(session,
           "2E0501C1FFFF7B" + hexText({uint8_t(units.size() / 512), uint8_t(units.size() / 2)}) + units +
               repeated("6D00", many),
           many + 1); // the list: an encoder counts 255 entries
  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(20));
}

static const char kRecord[] =
    R"({"type":"TS24501Msg_PDU","record":{"hdrData":{"mm":{"secHdrType":0}},"data":{"IdentityRequest5G":)"
    R"({"identity":{"typeOfIdent":1}}}},"unknown":)";

// A member that nobody knows is passed over, even if it begins as one that is known: "instead" is a place.
TEST(JsonKept, LongerNamesAreNotTakenForKnownOnes)
{
  JsonSession session;
  static const char kEntry[] = R"([{"path":"data.IdentityRequest5G","octets":"81","insteadOf":"nothing"}]})";
  ASSERT_EQ(session.read(std::string(kRecord) + kEntry), 0) << session.findings();
  EXPECT_EQ(session.encoded(), "7E005B0181");
}

// Types by themselves, whose only place has no name: a message of one element, with octets behind it, with an unusual
// one, and with one that cannot be read, which leaves no record; a list; and a type without members.
TEST(JsonKept, OfTypesByThemselvesComesBack)
{
  struct {
    const char *type, *wire;
  } cases[] = {{"TS24301Msg_AttachComplete", "00075201C67B000580"},
               {"TS24301Msg_AttachComplete", "00035201C67B06214365010121"},
               {"TS24301Msg_IdentResp", "0742017E044088E4E400"},
               {"TS44018Msg_E_UTRAN_CSG_Description_struct_element_e_utran_frequency_index_list", "40"},
               {"TS44018IE_SI2bis_Rest_Octets", "2B"}};
  for (auto& [type, wire] : cases) {
    SCOPED_TRACE(type + std::string(" ") + wire);
    JsonSession session, other;
    velnor3gpp_setOption(session, VELNOR3GPP_OPTION_KEEP, 1);
    velnor3gpp_setOption(other, VELNOR3GPP_OPTION_KEEP, 1);
    ASSERT_EQ(session.decode(l3FindType(type), octetsOfHex(wire)), 0) << session.findings();
    const std::string object = session.json(), straight = session.encoded();
    const bool unread = strcmp(wire, cases[0].wire) == 0;
    EXPECT_EQ(object.find("\"record\":") == std::string::npos, unread) << object;
    if (unread) continue;
    ASSERT_EQ(other.read(object), 0) << object << other.findings();
    EXPECT_EQ(other.encoded(), straight) << object;
  }
}

// None of them is taken for something else.
TEST(JsonKept, MistakesAreTold)
{
  JsonSession right;
  EXPECT_EQ(right.read(std::string(kRecord) + R"([{"path":"data.IdentityRequest5G","octets":"81"}]})"), 0)
      << right.findings();
  for (const char* wrong :
       {"1", "[1]", "[{}]", "[[]]", R"([{"path":"nowhere","octets":"81"}])",
        R"([{"path":"data.IdentityRequest5G","octets":"8"}])", R"([{"path":"data.IdentityRequest5G","octets":"xy"}])",
        R"([{"path":"data.IdentityRequest5G","octets":"81","behind":"nothing"}])",
        R"([{"path":"data.IdentityRequest5G","octets":"81","bits":9}])",
        R"([{"path":"data.IdentityRequest5G","octets":"81","octet":-1}])",
        R"([{"path":"data.IdentityRequest5G","octets":"81","status":2}])"}) {
    JsonSession session;
    EXPECT_LT(session.read(std::string(kRecord) + wrong + "}"), 0) << wrong;
    EXPECT_EQ(session.findings().substr(0, 1), "-") << wrong;
    EXPECT_EQ(session.encoded(), "-20 : there is no record to encode\n") << wrong;
  }
}

// A caller's element says why it was kept in a word that there is, and as much of its fault as there is room for.
TEST(JsonKept, WordsOfKeptElementsHaveAnEnd)
{
  JsonSession session;
  ASSERT_EQ(session.decode(nullptr, octetsOfHex("7e005b01")), 0) << session.findings();
  auto kept = sized<velnor3gpp_Kept>();
  const std::string fault(3000, 'A');
  const uint8_t octets[] = {0x7A, 0};
  kept.path = "data.IdentityRequest5G";
  kept.element = "";
  kept.fault = fault.c_str();
  kept.octets = octets;
  kept.count = sizeof octets;
  kept.why = static_cast<velnor3gpp_KeptWhy>(VELNOR3GPP_KEPT_UNUSUAL + 1);
  EXPECT_EQ(velnor3gpp_keep(session, &kept), RTX_E_BAD_PARAMETER);
  kept.why = VELNOR3GPP_KEPT_UNREADABLE;
  EXPECT_EQ(velnor3gpp_keep(session, &kept), 0) << session.findings();
  ASSERT_EQ(velnor3gpp_kept(session, 0, &kept), 0);
  EXPECT_LT(strlen(kept.text), 256U);
  EXPECT_STREQ(kept.fault, fault.c_str());
  EXPECT_NE(session.json().find(fault), std::string::npos);
}

} // namespace
