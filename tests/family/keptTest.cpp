// With RTX_FLAG_KEEP_ELEMENTS no octet of a message is lost: whatever stands at whatever place among the elements of
// whatever message is kept and comes back, and what stood there without it is read as before.
#include <gtest/gtest.h>

#include "rt3gppsrc/engine/l3Kept.h"
#include "tests/messages.h"

namespace {

constexpr Setting kKeeping = {.flags = RTX_FLAG_KEEP_ELEMENTS};

// Octets of a message with the places of its optional elements, the end included.
struct Sample {
  const L3TypeEntry& entry;
  Octets octets;
  std::vector<size_t> places;
};

// An element begins where the trace has an identifier that belongs to the message itself, not to one inside it.
Sample sampleWithPlaces(const L3TypeEntry& entry)
{
  Sample sample{entry, sampleOf(entry), {}};
  Decoding decoding(entry, sample.octets, {.trace = true});
  EXPECT_EQ(decoding.status, 0) << entry.type->fullName;
  const RtxBitFieldList* list = decoding.ctxt->pBitFldList;
  for (const RtxSListNode* node = list->fieldList.head; node; node = node->next) {
    const RtxBitField& field = *static_cast<const RtxBitField*>(node->data);
    bool own = field.elemName && !strchr(field.elemName, '.');
    if (own && strcmp(field.nameSuffix, "IEI") == 0) sample.places.push_back(field.bitOffset / 8);
  }
  sample.places.push_back(sample.octets.size());
  return sample;
}

bool isKnown(const L3Message& message, unsigned iei)
{
  return (message.byValue && message.byValue[iei]) || (message.halves >> (iei >> 4) & 1) ||
         (message.shifts && iei >> 4 == 9);
}

// Elements of each framing whose identifier the message does not have.
std::vector<Octets> strangers(const L3Message& message)
{
  std::vector<Octets> found;
  auto add = [&](unsigned from, unsigned to, Octets behind) {
    for (unsigned iei = from; iei <= to; ++iei)
      if (!isKnown(message, iei)) {
        behind.insert(behind.begin(), uint8_t(iei));
        found.push_back(behind);
        return;
      }
  };
  add(0x81, 0xFF, {});
  add(0x11, 0x77, {3, 0xAA, 0xBB, 0xCC});
  add(0x11, 0x77, {0});
  if (message.wide) add(0x78, 0x7F, {0, 2, 0xAA, 0xBB});
  return found;
}

Octets with(const Octets& octets, size_t place, const Octets& more)
{
  Octets all = octets;
  all.insert(all.begin() + ptrdiff_t(place), more.begin(), more.end());
  return all;
}

void expectKept(const Sample& sample, size_t place, const Octets& more, L3KeptWhy why, size_t times = 1)
{
  Octets octets = sample.octets;
  for (size_t i = 0; i < times; ++i) octets = with(octets, place, more);
  Octets out(octets.size() + 64);
  SCOPED_TRACE(std::string(sample.entry.type->fullName) + " " + hexText(more) + " at " + std::to_string(place) + ": " +
               hexText(octets));
  Decoding decoding(sample.entry, octets, kKeeping);
  ASSERT_EQ(decoding.status, 0) << decoding.state();
  const L3KeptList* list = l3KeptOf(decoding.ctxt);
  ASSERT_TRUE(list && list->count == times);
  const L3Kept& kept = *list->first;
  EXPECT_EQ(kept.position, place * 8);
  EXPECT_EQ(kept.bits, more.size() * 8);
  EXPECT_EQ(kept.why, why);
  ASSERT_EQ(encodeInto(out, decoding.ctxt, sample.entry, decoding.record.get()), 0) << decoding.state();
  EXPECT_EQ(hexText(out), hexText(octets));
}

// The messages whose octets behind the mandatory elements are elements.
std::vector<Sample> messages()
{
  std::vector<Sample> found;
  for (const L3TypeEntry* entry : takenTypes(3)) {
    const L3Message* message = entry->type->message;
    bool open = message && (message->count || message->tail);
    if (open && entry->decode && entry->encode) found.push_back(sampleWithPlaces(*entry));
  }
  return found;
}

TEST(KeptElements, OfEveryFramingComeBackFromEveryPlaceOfEveryMessage)
{
  size_t count = 0;
  for (auto& sample : messages())
    for (size_t place : sample.places)
      for (auto& stranger : strangers(*sample.entry.type->message)) {
        expectKept(sample, place, stranger, kL3KeptUnknown);
        // More than a direct coder notes.
        expectKept(sample, place, stranger, kL3KeptUnknown, L3Call::kMaxUnknown + 1);
        ++count;
      }
  EXPECT_GT(count, 100U); // builds with a budget take a part of the types
}

// The whole element once more behind itself; where the message has its identifier twice, that one takes it.
TEST(KeptElements, RepeatedOnesComeBack)
{
  for (auto& sample : messages())
    for (size_t i = 0; i + 1 < sample.places.size(); ++i) {
      Octets element(sample.octets.begin() + ptrdiff_t(sample.places[i]),
                     sample.octets.begin() + ptrdiff_t(sample.places[i + 1]));
      const L3Message& message = *sample.entry.type->message;
      bool half = message.halves >> (element[0] >> 4) & 1;
      if (!message.byValue) continue;
      unsigned position = message.byValue[half ? element[0] >> 4 : element[0]];
      if (!position || message.ieis[position - 1].nextSame) continue;
      bool framed =
          half || message.ieis[position - 1].skip != kL3SkipNothing || l3LeadingLength(message.options[position - 1]);
      if (framed) expectKept(sample, sample.places[i + 1], element, kL3KeptRepeated);
    }
}

std::string withoutPadding(Octets octets)
{
  while (!octets.empty() && octets.back() == 0x2B) octets.pop_back();
  return hexText(octets);
}

// The octets of a record, without padding behind them.
std::string encodedAgain(Decoding& decoding)
{
  if (!decoding.entry.encode) return "";
  Octets out(decoding.ctxt->buffer.size + 64);
  rtxErrReset(decoding.ctxt); // remarks
  encodeInto(out, decoding.ctxt, decoding.entry, decoding.record.get());
  return withoutPadding(out);
}

// A message in order costs the record nothing: what is decoded is the same with elements kept and without, and in the
// walk as in the direct coders.
TEST(KeptElements, ChangeNothingWhereAllCanBeRead)
{
  for (auto& message : takenSamples(5)) {
    Decoding plain(*message.entry, message.octets), keeping(*message.entry, message.octets, kKeeping);
    EXPECT_EQ(plain.status, keeping.status) << message.name;
    EXPECT_EQ(plain.text(), keeping.text()) << message.name;
    // A part whose place is inside an octet does not come back by itself.
    bool comesBack = encodedAgain(plain) == withoutPadding(message.octets);
    EXPECT_TRUE(!comesBack || encodedAgain(keeping) == withoutPadding(message.octets)) << message.name;
    EXPECT_EQ(decodingDiffers(*message.entry, message.octets, kKeeping), "") << message.name;
  }
}

// One octet more than is known at the end of an element that stands behind a length of its own and does not read all
// that is there: the octet comes back with the element.
TEST(KeptElements, OctetsBehindWhatIsKnownOfAnElementComeBack)
{
  size_t surplus = 0;
  for (auto& sample : messages())
    for (size_t i = 0; i + 1 < sample.places.size(); ++i) {
      size_t place = sample.places[i], next = sample.places[i + 1];
      const L3Message& message = *sample.entry.type->message;
      unsigned position = message.byValue ? message.byValue[sample.octets[place]] : 0;
      bool half = message.halves >> (sample.octets[place] >> 4) & 1;
      unsigned bits = !half && position ? l3LeadingLength(message.options[position - 1]) : 0;
      uint8_t& low = sample.octets[place + bits / 8];
      if (!bits || low == 0xFF || message.ieis[position - 1].nextSame) continue;
      Octets octets = with(sample.octets, next, {0x45});
      ++octets[place + bits / 8];
      Decoding decoding(sample.entry, octets, kKeeping);
      Octets out(octets.size() + 64);
      if (decoding.status < 0) continue;
      surplus += l3KeptOf(decoding.ctxt) != nullptr;
      rtxErrReset(decoding.ctxt); // a length beyond its range is remarked
      if (encodeInto(out, decoding.ctxt, sample.entry, decoding.record.get()) == 0) {
        EXPECT_EQ(hexText(out), hexText(octets)) << sample.entry.type->fullName;
      }
    }
  EXPECT_GT(surplus, 10U);
}

// The last octet lies in the ECS address, behind the length of its contents.
TEST(KeptElements, OctetsBehindAnInnerLengthAreKept)
{
  const L3TypeEntry& entry = *l3FindType("TS24501IE_ECSAddress");
  const Octets octets = {0, 9, 1, 0x21, 0x43, 0x65, 0x87, 0, 1, 0x21, 0x43};
  EXPECT_EQ(decodingDiffers(entry, octets, kKeeping), "");
  Decoding decoding(entry, octets, kKeeping);
  EXPECT_TRUE(decoding.status == 0 && l3KeptOf(decoding.ctxt));
}

// The first reading, which finds octets behind the element only at its end, gives back what it took.
TEST(KeptElements, OctetsBehindAnElementLeaveNothingOfAFirstReading)
{
  const L3TypeEntry& entry = *l3FindType("TS24008IE_ProtocolConfigOptions");
  size_t taken[2];
  for (bool slow : {false, true}) {
    Decoding decoding(entry, {6, 0x80, 0, 13, 2, 0xAA, 0xBB, 0x45}, {.slow = slow, .flags = RTX_FLAG_KEEP_ELEMENTS});
    EXPECT_TRUE(l3KeptOf(decoding.ctxt));
    RtxContext* ctxt = decoding.ctxt;
    RtxMemBlock* block = ctxt->pMemHeap->curBlock;
    taken[slow] = 0;
    for (unsigned at = kMemFirstElem; at < block->nunits; at += rtxMemElemAt(block, at)->nunits)
      taken[slow] += !(rtxMemElemAt(block, at)->flags & kMemElemFree);
  }
  EXPECT_EQ(taken[0], taken[1]);
}

// By the rows an identifier that ends in 0 asks for comprehension, 0F and all others are passed over; where elements
// are kept it is one that begins with 0 (TS 24.007, 11.2.5), and that is a remark.
TEST(KeptElements, ThatAskForComprehensionFailOrAreRemarked)
{
  const L3TypeEntry& entry = *l3FindType("TS24501Msg_PDU");
  struct {
    uint8_t iei;
    int status, remarkWhenKept;
  } cases[] = {{0x0F, 0, RTX_E_UNKNOWN_IE}, {0x10, RTX_E_UNKNOWN_IE, 0}, {0x11, 0, 0}};
  for (auto& one : cases) {
    Octets octets = {0x7E, 0, 0x44, 0x0F, one.iei, 1, 2};
    Decoding plain(entry, octets), keeping(entry, octets, kKeeping);
    EXPECT_EQ(plain.status, one.status) << int(one.iei);
    EXPECT_EQ(plain.ctxt->errInfo.count, one.status ? 1U : 0U) << int(one.iei);
    EXPECT_EQ(keeping.status, 0) << int(one.iei);
    EXPECT_EQ(rtxErrCheckNonFatal(keeping.ctxt), one.remarkWhenKept) << int(one.iei);
  }
}

// 0x66 is another element in three messages of bearers; 0x68 in a tracking area update accept is the status in both
// forms (TS 24.301, 8.2.26).
TEST(StandardForms, ReadTheStatusOfHeaderCompressionWhereTheStandardHasIt)
{
  const L3TypeEntry& entry = *l3FindType("TS24301Msg_PDU");
  for (uint32_t forms : {0U, RTX_FLAG_STANDARD_FORMS}) {
    Decoding decoding(entry, octetsOfHex("07490068022000"), {.flags = RTX_FLAG_KEEP_ELEMENTS | forms});
    EXPECT_EQ(decoding.status, 0) << decoding.state();
    EXPECT_NE(decoding.text(forms).find("hdrCompressConfigStat {"), std::string::npos) << decoding.text(forms);
  }
}

struct Wire {
  const char *what, *form;
  std::string octets;
};

// What once did not come back though it was read.
const Wire kWires[] = {
    {"zeros where padding belongs, in front of octets of padding", "TS44018Msg_RR_Short_PD_PDU",
     "140A0201000B2B2B2B2B2B2B2B2B2B2B2B2B"},
    {"zeros to the end of a block", "TS44018Msg_RR_Short_PD_PDU", "10CA0D3A1F80000000000000000000000000"},
    {"other bits than padding in the last octet", "TS44018Msg_RR_Short_PD_PDU", "0003"},
    {"other bits than padding in front of other octets", "TS44018Msg_RR_Short_PD_PDU", "00030007913306"},
    {"a pseudo length of the standard that does not count what the block holds", "TS44018Msg_L2_PSEUDO_LEN_PDU",
     "0106009000D85A6FC9E58410AB2B2B2B2B2B2B2B2B2B2B"},
    {"a fixed pseudo length", "TS44018Msg_L2_PSEUDO_LEN_PDU", "050607EB000486418C4E5B4F04AC010040100401000803"},
    {"a cause that nobody has defined, of one octet without a length", "TS24301Msg_PDU", "6200C700"},
    {"such a cause in front of other elements", "TS24301Msg_PDU", "6200C7002703010203"},
    {"the spare bit in front of a GUTI", "TS24501Msg_PDU", "7E004179000BFA09F1070102C301020304"},
    {"half-octets in place of filler", "TS24501Msg_PDU", "7E005C0009153254769810325446"},
    {"a length that leads behind the end", "TS24501Msg_PDU", "7E0042010177800BF2030246010041C0E000105407"},
    {"a length of more octets than its encoder counts", "TS24501Msg_PDU",
     "7E0067030100" + std::string(512, '7') + "1201"},
    {"a transaction identifier of an octet of its own", "TS24008Msg_PDU", "FA89456F"},
    {"more entries than an array has", "TS24501IE_NSSAI",
     "2201010101010101010101010101010101010101010101010101010101010101010101"},
    {"octets behind the short code of a service request", "TS24301Msg_PDU", "C70000007F0101"},
    {"labels that say more than there is", "TS24301Msg_PDU", "5201C101090988696E7465726E657405010A2D0002"},
};

TEST(KeptElements, AndBitsBesideThemComeBack)
{
  for (auto& wire : kWires) {
    SCOPED_TRACE(std::string(wire.what) + " " + wire.octets);
    Octets octets = octetsOfHex(wire.octets.c_str()), out(octets.size() + 64);
    const L3TypeEntry& entry = *l3FindType(wire.form);
    Decoding decoding(entry, octets, {.security = true, .flags = RTX_FLAG_KEEP_ELEMENTS | RTX_FLAG_STANDARD_FORMS});
    ASSERT_EQ(decoding.status, 0) << decoding.state();
    ASSERT_EQ(encodeInto(out, decoding.ctxt, entry, decoding.record.get()), 0) << decoding.state();
    out.resize(std::max(out.size(), octets.size()), 0x2B);
    EXPECT_EQ(hexText(out), hexText(octets));
    EXPECT_EQ(decodingDiffers(entry, octets, kKeeping), "");
  }
}

// Whatever single bit of a message is another one: if it is read, it comes back.
TEST(KeptElements, MessagesWithABitChangedComeBack)
{
  Setting setting = {.flags = RTX_FLAG_KEEP_ELEMENTS | RTX_FLAG_STANDARD_FORMS};
  size_t read = 0;
  for (auto& message : takenCorpus(VELNOR_TEST_DATA "/../corpus/data", 1)) {
    if (message.octets.size() > 40 || !message.entry->encode) continue;
    bool eps = strcmp(message.entry->type->fullName.get(), "TS24301Msg_PDU") == 0;
    for (size_t bit = 0; bit < message.octets.size() * 8; ++bit) {
      Octets octets = message.octets, out(octets.size() + 64);
      octets[bit / 8] = uint8_t(octets[bit / 8] ^ 0x80U >> bit % 8);
      Decoding decoding(*message.entry, octets, setting);
      // Security header types of EPS from 5 on are not verified, but signed anew.
      if (decoding.status < 0 || (eps && isSignedAnew(octets))) continue;
      encodeInto(out, decoding.ctxt, *message.entry, decoding.record.get());
      ASSERT_EQ(hexText(out), hexText(octets)) << message.name << "\n" << decoding.state();
      ++read;
    }
  }
  EXPECT_GT(read, 10000U);
}

// Damaged in any octet, messages are read alike by the walk in both its modes and by the direct coders, and what is
// read prints and encodes.
TEST(KeptElements, OfDamagedMessagesAreTheSameInBothModes)
{
  Setting setting = {.flags = RTX_FLAG_KEEP_ELEMENTS | RTX_FLAG_STANDARD_FORMS};
  for (auto& message : takenCorpus(VELNOR_TEST_DATA "/../corpus/data", 3)) {
    if (message.octets.size() > 120) continue;
    for (size_t at = 0; at < message.octets.size(); ++at) {
      Octets octets = message.octets;
      octets[at] = uint8_t(at % 3 == 0 ? octets[at] ^ 0xFF : at % 3 == 1 ? octets[at] + 1 : octets[at] ^ 0x40);
      setting.trace = at % 5 == 0;
      ASSERT_EQ(decodingDiffers(*message.entry, octets, setting), "") << message.name;
      Decoding decoding(*message.entry, octets, setting);
      useRecord(*message.entry, decoding.ctxt, decoding.record.get());
    }
  }
}

// Some in front of a list, one in each of its entries, some behind it, and one over an identity; probes take back what
// they kept. With each piece of the heap from the system a sanitizer sees what is gone.
TEST(KeptElements, OfLongListsAreGoneWhenTheyAreDropped)
{
  std::string hex = "7E0042010177000BFA09F1070102C301020304";
  for (int i = 0; i < 39; ++i) hex += "6D00";
  hex += "7C00DC";
  for (int i = 0; i < 10; ++i) hex += "15010908010000012121436501078024F899214365AA";
  for (int i = 0; i < 12; ++i) hex += "6D00";
  const L3TypeEntry& entry = *l3FindType("TS24501Msg_PDU");
  for (bool trace : {false, true}) {
    Decoding decoding(entry, octetsOfHex(hex), {.trace = trace, .pieces = true, .flags = RTX_FLAG_KEEP_ELEMENTS});
    ASSERT_EQ(decoding.status, 0) << decoding.state();
    const L3KeptList* list = l3KeptOf(decoding.ctxt);
    ASSERT_TRUE(list && list->count == 62);
    l3DropUnusual(decoding.ctxt);
    EXPECT_EQ(list->count, 61U);
    useRecord(entry, decoding.ctxt, decoding.record.get());
    l3ForgetKept(decoding.ctxt, list->first->root);
    EXPECT_EQ(list->count, 0U);
    useRecord(entry, decoding.ctxt, decoding.record.get());
  }
}

} // namespace
