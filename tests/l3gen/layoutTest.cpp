// What the generator works out from forms.l3: descriptors that say what tests/golden/l3gen/layout.txt says, and records
// that C callers rely on.
#include <gtest/gtest.h>

#include <regex>

#include "L3Descriptors.h"
#include "tests/fileText.h"
#include "tests/messages.h"
#include "velnor3gpp/Forms.h"

namespace {

const L3Type* const kTypes[] = {&l3_Forms_Inner,    &l3_Forms_Either,      &l3_Forms_Bits,          &l3_Forms_Runs,
                                &l3_Forms_Selected, &l3_Forms_Seven,       &l3_Forms_Extended,      &l3_Forms_Optional,
                                &l3_Forms_Cause,    &l3_Forms_PDU,         &l3_Forms_Relative,      &l3_Forms_Coded,
                                &l3_Forms_Tree,     &l3_Forms_Counted,     &l3_Forms_Rest_Octets,   &l3_Forms_Nested,
                                &l3_Forms_Behind,   &l3_Forms_Behind_list, &l3_Forms_Behind_octets, &l3_Forms_Sized,
                                &l3_Forms_Joined};
const char* const kOps[] = {"uint",   "bool", "enum",   "octets",  "bits",    "text",    "record", "text type", "list",
                            "choice", "body", "length", "end-len", "release", "nothing", "unary",  "tail"};
constexpr std::pair<unsigned, const char*> kFlags[] = {{kL3ExtLast, " last"},
                                                       {kL3ExtList, " list"},
                                                       {kL3InRelease, " in-release"},
                                                       {kL3Ranged, " ranged"},
                                                       {kL3LH, " LH"}};

std::string range(uint32_t lo, uint32_t hi)
{
  return std::to_string(lo) + (lo == hi ? "" : ".." + std::to_string(hi));
}

void describe(std::ostream& out, const std::string& indent, const L3Row& row);

void describeTerms(std::ostream& out, const L3Cond& cond)
{
  for (const L3Term* term = cond.terms; term < cond.terms + cond.count; ++term)
    out << " " << unsigned(term->any) << (term->negate ? ":not " : ":") << range(term->lo, term->hi);
}

void describeChoice(std::ostream& out, const std::string& indent, const L3Choice& choice)
{
  out << (choice.tagged ? "   tagged" : "   untagged");
  for (unsigned i = 0; i < choice.fieldCount; ++i) out << " by " << unsigned(choice.fields[i].bits);
  for (unsigned i = 0; i < choice.count; ++i) {
    const L3Alternative& alternative = choice.alternatives[i];
    out << indent << "| " << alternative.tag << " ";
    out << (alternative.other ? "else" : range(alternative.lo, alternative.hi));
    if (choice.codes) out << " code " << unsigned(choice.codes[i].bits) << "/" << choice.codes[i].value;
    describe(out, " ", alternative.row);
  }
}

// Where the rows of a message type begin, and which of them is the next.
void describeBody(std::ostream& out, const std::string& indent, const L3Body& body)
{
  for (const L3BodyRow* row = body.rows; row < body.rows + body.count; ++row)
    out << indent << "| " << row->tag << " " << row->discriminator << "/" << row->msgType << " first "
        << unsigned(body.byType[row->msgType]) << " next " << row->next << " " << row->name()
        << (row->inlined ? " inline" : "");
}

// Its place among the presence bits, the bit of its group, and what is beside it.
void describe(std::ostream& out, const std::string& indent, const L3Row& row)
{
  out << indent << (row.name ? row.name : "-") << ": " << kOps[row.op] << (row.room ? " room" : "");
  if (row.given != kL3GivenAlways) out << " " << l3Traits(row.given).symbol;
  if (row.lead != kL3NoLead) out << " " << l3Traits(row.lead).word;
  if (row.mBit != kL3NoBit) out << " m" << row.mBit;
  if (row.groupBit != kL3NoBit) out << " g" << row.groupBit;
  for (auto& [flag, name] : kFlags) out << (row.flags & flag ? name : "");
  if (row.flags & kL3Ranged) out << " " << range(row.lo, row.hi);
  if (row.bits) out << " " << unsigned(row.bits) << "/" << unsigned(row.store);
  if (row.type) out << " " << row.type->fullName;
  if (row.cond) describeTerms(out, *row.cond);
  if (row.op == kL3Release) {
    const L3Release& release = *static_cast<const L3Release*>(row.info);
    out << " release " << release.release << " fit " << release.fitBits << " rows " << release.rows;
  }
  if (row.op == kL3List) describe(out, "   of ", static_cast<const L3List*>(row.info)->elem);
  if (row.op == kL3Choice) describeChoice(out, indent + "   ", *static_cast<const L3Choice*>(row.info));
  if (row.op == kL3Body) describeBody(out, indent + "   ", *static_cast<const L3Body*>(row.info));
}

std::string described(const L3Type& type)
{
  std::ostringstream out;
  out << type.fullName << " " << type.size << " octets, m " << type.mBits << " bits in " << unsigned(type.mOctets);
  for (unsigned i = 0; i < type.rowCount; ++i) describe(out, "\n   ", type.rows[i]);
  for (unsigned i = 0; type.message && i < type.message->count; ++i) {
    const L3Iei& iei = type.message->ieis[i];
    out << "\n   " << (iei.half ? "half " : "") << unsigned(iei.value) << " first "
        << unsigned(type.message->byValue[iei.value]) << " next " << unsigned(iei.nextSame) << " skip "
        << int(iei.skip);
    if (iei.skip == kL3SkipFixed) out << "/" << unsigned(iei.skipOctets);
    describe(out, " ", type.message->options[i]);
  }
  return out.str() + "\n\n";
}

// The second body has the messages of the first, and setters of its own.
TEST(Layout, TwoBodiesOfAMessageAreSetApart)
{
  Forms_Doubled pdu = {};
  Forms_Optional body = {};
  Forms_Relative rest = {};
  asn1SetTC_Forms_Doubled_rest_obj_Optional(nullptr, &pdu, &rest);
  EXPECT_EQ(pdu.type, 2);
  EXPECT_EQ(pdu.data.t, 0U);
  EXPECT_EQ(pdu.rest.u.obj_Optional, &rest);
  asn1SetTC_Forms_Doubled_obj_Optional(nullptr, &pdu, &body);
  EXPECT_EQ(pdu.data.u.obj_Optional, &body);
  asn1SetTC_Forms_Doubled_rest_obj_Cause(nullptr, &pdu);
  EXPECT_EQ(pdu.rest.t, 2U);
}

TEST(Layout, IsWhatItWas)
{
  std::string text;
  for (const L3Type* type : kTypes) text += described(*type);
  for (const L3Enum* set : {&l3enum_Forms_Colour, &l3enum_Forms_Count, &l3enum_Forms_Padded})
    for (unsigned i = 0; i < set->rows; ++i) // by name, and which comes there by value
      text += std::string(set->table[i].name) + " = " + std::to_string(set->table[i].value) + " rises to " +
              std::to_string(set->table[i].transformedIdx) + "\n";
  const std::string expected = goldenText(VELNOR_TEST_DATA "/../golden/l3gen/layout.txt", text);
  const std::regex size(" [0-9]+ octets,"); // of machines whose pointers have 64 bits
  if (sizeof(void*) < 8)
    EXPECT_EQ(std::regex_replace(text, size, ""), std::regex_replace(expected, size, ""));
  else
    EXPECT_EQ(text, expected);
}

// Names that C does not have, sizes of enumerations, and presence bits in their order.
TEST(Layout, RecordsAreThoseOfC)
{
  Forms_Runs runs = {};
  EXPECT_EQ(runs.for_ + runs.x2nd, 0);
  EXPECT_EQ(Forms_Colour_green_ish + Forms_Colour_delete_, 11);
  EXPECT_EQ(sizeof(Forms_Colour), 4U);
  EXPECT_EQ(sizeof(Forms_Count), 1U);
  Forms_Bits bits = {};
  auto octet = [&bits] { return *reinterpret_cast<const uint8_t*>(&bits.m); };
  bits.m.firstPresent = bits.m.secondPresent = bits.m.thirdPresent = 1;
  EXPECT_EQ(octet(), 0x15);
  bits.m.latePresent = bits.m.release5Present = bits.m.last_onePresent = 1;
  EXPECT_EQ(octet(), 0x3F);
}

// The setter stores what selects the message, and the record is the message's only element where it is bare.
TEST(Layout, SettersSelectTheirMessage)
{
  Forms_PDU pdu;
  memset(&pdu, 0xEE, sizeof pdu);
  Forms_Cause cause = 4;
  asn1SetTC_Forms_PDU_obj_Cause(nullptr, &pdu, &cause);
  EXPECT_EQ(pdu.discr << 16 | pdu.type << 8 | int(pdu.data.t), 0x070301);
  EXPECT_EQ(*pdu.data.u.obj_Cause, 4);
  asn1SetTC_Forms_PDU_obj_Empty(nullptr, &pdu);
  EXPECT_EQ(pdu.discr << 16 | pdu.type << 8 | int(pdu.data.t), 0x080103);
  asn1SetTC_Forms_PDU_obj_Level(nullptr, &pdu, 0xFF);
  EXPECT_EQ(pdu.discr << 16 | pdu.type << 8 | int(pdu.data.t), 0x080304);
  EXPECT_EQ(pdu.data.u.obj_Level, 0xFF);
}

// Three discriminators share a message type; two of the bodies stand in the record itself, and one of them is a number
// that the rows do not fill an octet with. Each way of coding tells them apart, and none takes a message of another's.
TEST(Layout, BodiesOfOneMessageType)
{
  const L3TypeEntry entry = entryOf(l3_Forms_PDU);
  auto printed = [&entry](Octets octets) {
    Decoding fast(entry, octets), slow(entry, octets, {.slow = true});
    EXPECT_EQ(fast.status, slow.status);
    EXPECT_EQ(fast.text(), slow.text());
    return fast.status < 0 ? std::to_string(fast.status) : fast.text();
  };
  EXPECT_NE(printed({7, 3, 9}).find(" cause = 9\n"), std::string::npos);
  EXPECT_NE(printed({8, 3, 9}).find("obj_Level = 9\n"), std::string::npos);
  EXPECT_NE(printed({8, 3, 0xFF}).find("obj_Level = all\n"), std::string::npos);
  EXPECT_NE(printed({9, 3, 0x2F}).find("obj_Shade = green-ish\n"), std::string::npos);
  EXPECT_EQ(printed({9, 3, 0x4F}), std::to_string(RTX_E_ENUM_VALUE));
  EXPECT_EQ(printed({8, 2, 9}), std::to_string(RTX_E_INVALID_CHOICE));
  EXPECT_EQ(printed({8, 3}), std::to_string(RTX_E_END_OF_BUFFER));
}

// The generated tables drive the engine.
TEST(Layout, SamplesComeBack)
{
  for (const L3Type* type : kTypes) {
    OutcomeContext ctxt;
    L3TypeEntry entry = entryOf(*type);
    Octets octets;
    EXPECT_EQ(roundTripFault(entry, ctxt, sampleValue(entry, ctxt), octets), "") << type->fullName;
  }
}

} // namespace
