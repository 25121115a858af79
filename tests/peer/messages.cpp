#include "tests/peer/messages.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <climits>

#include "tests/recordPath.h"

namespace peer {

namespace {

struct Kind {
  unsigned discriminator;
  const char* typeField;
  std::vector<Place> header;
  const char* prefix = ""; // of the messages' names, where another form has the same
};

struct TopForm {
  const char* type;
  const char* dissector;
  std::vector<Kind> kinds;
  bool toNetwork = false;
};

constexpr char kRadioType[] = "gsm_a.dtap.msg_rr_type";

const TopForm kForms[] = {
    {"TS24501Msg_PDU",
     "nas-5gs",
     {{126, "nas_5gs.mm.message_type", {}},
      {46, "nas_5gs.sm.message_type", {{"hdrData.sm.procTransIdent", "1"}, {"hdrData.sm.pduSessIdent", "5"}}}}},
    {"TS24301Msg_PDU",
     "nas-eps_plain",
     {{7, "nas_eps.nas_msg_emm_type", {{"l3HdrOpts.secHdr", "0"}}},
      {2, "nas_eps.nas_msg_esm_type", {{"l3HdrOpts.epsBearerIdent", "5"}}}}},
    {"TS24008Msg_PDU",
     "gsm_a_dtap",
     {{3, "gsm_a.dtap.msg_cc_type", {}},
      {5, "gsm_a.dtap.msg_mm_type", {}},
      {8, "gsm_a.dtap.msg_gmm_type", {}, "GMM."},
      {10, "gsm_a.dtap.msg_sm_type", {}}}},
    {"TS24011Msg_CP_PDU", "gsm_a_dtap", {{0, "gsm_a.dtap.msg_sms_type", {{"l3HdrOpts.skipInd", "0"}}}}},
    {"TS44018Msg_DL_DCCH_PDU", "gsm_a_dtap", {{6, kRadioType, {{"l3HdrOpts.skipInd", "0"}}}}},
    {"TS44018Msg_UL_DCCH_PDU", "gsm_a_dtap", {{6, kRadioType, {{"l3HdrOpts.skipInd", "0"}}, "UL."}}, true},
    {"TS44018Msg_UL_SACCH_PDU", "gsm_a_dtap", {{0, kRadioType, {{"l3HdrOpts.skipInd", "0"}}}}, true},
    {"TS44018Msg_L2_PSEUDO_LEN_PDU",
     "gsm_a_ccch",
     {{0, kRadioType, {{"l2PseudoLen.fixed-bits", "1"}, {"l3HdrOpts.skipInd", "0"}}}}},
    {"TS44018Msg_RR_Short_PD_PDU", "gsm_a_sacch", {{0, "gsm_a.rr.short_pd_type", {}, "short."}}}};
constexpr char kRelay[] = "TS24011Msg_RP_PDU";

// Contents of elements that another dissector looks into, where drawn values would not please it: types, paths, value.
const std::vector<std::vector<std::string>>& contents()
{
  static const auto all = readTable(VELNOR_TEST_DATA "/contents.tsv", 3);
  return all;
}

std::string nameOf(const TopForm& form, const L3BodyRow& row)
{
  for (auto& kind : form.kinds)
    if (kind.discriminator == row.discriminator) return std::string(kind.prefix) + row.name();
  return row.name();
}

void takeOptions(const L3Type& type, uint8_t* value)
{
  for (unsigned i = 0; type.message && i < type.message->count; ++i)
    for (uint16_t bit : {type.message->options[i].mBit, type.message->options[i].groupBit})
      if (bit != kL3NoBit) value[bit / 8] = uint8_t(value[bit / 8] & ~(1U << bit % 8));
}

} // namespace

std::vector<Bits> tracedBits(const RtxContext& ctxt)
{
  std::vector<Bits> bits;
  for (const RtxSListNode* node = ctxt.pBitFldList->fieldList.head; node; node = node->next) {
    const RtxBitField& field = *static_cast<const RtxBitField*>(node->data);
    bits.push_back({field.bitOffset, field.bitOffset + field.bitCount, field.elemName ? field.elemName : ""});
  }
  return bits;
}

namespace {

// The message under construction.
class Maker {
public:
  // A message of a form with bodies.
  Maker(const TopForm& form, const L3BodyRow& row) : Maker(form.type, form.dissector, nameOf(form, row), row.msgType)
  {
    auto* body = row.type ? static_cast<uint8_t*>(l3Sample(&ctxt, *row.type)) : nullptr;
    l3SetBody(*entry.type, pdu, row, body);
    setSecond(row);
    frame.toNetwork = form.toNetwork;
    for (auto& kind : form.kinds) {
      if (kind.discriminator != row.discriminator) continue;
      typeField = kind.typeField;
      for (const Place& place : kind.header) setByPath(&ctxt, *entry.type, pdu, place.path, place.value);
    }
    if (body) hostIs(*row.type, body);
  }
  // A relay message.
  explicit Maker(const L3Alternative& relay) : Maker(kRelay, "gsm_a_rp", relay.row.name.get(), relay.lo)
  {
    frame.toNetwork = msgType % 2 == 0;
    typeField = "gsm_a.rp.msg_type";
    choose(pdu, entry.type->rows[entry.type->rowCount - 1], relay);
    if (relay.row.type) hostIs(*relay.row.type, pdu + relay.row.offset);
  }
  ~Maker() { rtxFreeContext(&ctxt); }
  Maker(const Maker&) = delete;

  const L3Type* host() const { return hostType; }
  unsigned options() const { return hostType && hostType->message ? hostType->message->count : 0; }
  const L3Row& option(unsigned i) const { return hostType->message->options[i]; }

  // The element, those of the same identifier in front of it, and those whose fields decide what it contains.
  Maker& add(const L3Row& element)
  {
    for (unsigned i = 0; i < options(); ++i) {
      unsigned next = hostType->message->ieis[i].nextSame;
      if (next && &option(next - 1) == &element) add(option(i));
    }
    if (element.op == kL3Choice) {
      const L3Choice& choice = *static_cast<const L3Choice*>(element.info);
      for (unsigned k = 0; choice.from == kL3SelectFields && k < choice.fieldCount; ++k) addOwner(choice.fields[k]);
    }
    if (element.mBit != kL3NoBit) l3SetBit(record, element.mBit);
    if (element.groupBit != kL3NoBit) l3SetBit(record, element.groupBit);
    return *this;
  }

  Maker& choose(const L3Row& element, const L3Alternative& alternative)
  {
    choose(record, element, alternative);
    return *this;
  }

  bool set(const Place& place)
  {
    return setByPath(&ctxt, *entry.type, pdu, place.path, place.value) ||
           (record && setByPath(&ctxt, *hostType, record, place.path, place.value));
  }

  // What the dissector looks into is set as the table says.
  Maker& fillContents()
  {
    if (!hostType) return *this;
    fillContents(*hostType, record);
    fillInside(*hostType, record);
    return *this;
  }

  Message make(const std::string& form)
  {
    Message message{name, form, msgType, typeField, frame, {}, ""};
    message.fault = roundTripFault(entry, &ctxt, pdu, message.frame.octets);
    // A block of the common channels ends in padding.
    if (frame.dissector == "gsm_a_ccch")
      message.frame.octets.resize(std::max<size_t>(message.frame.octets.size(), 23), 0x2B);
    Octets octets = message.frame.octets;
    OutcomeContext traced({.trace = true});
    traced.bind(octets.data(), octets.size());
    entry.decode(traced, recordStorage(*entry.type, 0).get());
    message.bits = tracedBits(*traced);
    return message;
  }

private:
  RtxContext ctxt;
  const L3TypeEntry& entry;
  std::string name;
  unsigned msgType;
  std::string typeField;
  Frame frame;
  uint8_t* pdu;
  const L3Type* hostType = nullptr; // the type whose optional elements are the message's
  uint8_t* record = nullptr;        // its record

  Maker(const char* form, const char* dissector, const std::string& name, unsigned msgType)
      : entry(*l3FindType(form)), name(name), msgType(msgType)
  {
    rtxInitContext(&ctxt);
    frame.dissector = dissector;
    pdu = zeroed(&ctxt, entry.type->size);
  }

  // A second body of the same number: rest octets of which nothing is there, as they come back when they are decoded.
  void setSecond(const L3BodyRow& first)
  {
    const L3Row& last = entry.type->rows[entry.type->rowCount - 1];
    const L3Body& body = *static_cast<const L3Body*>(last.info);
    for (const L3BodyRow* row = body.rows; row < body.rows + body.count; ++row)
      if (row->tag == first.tag && row != &first)
        l3SetBody(*entry.type, pdu, *row, row->type ? empty(*row->type) : nullptr);
  }

  uint8_t* empty(const L3Type& type)
  {
    uint8_t* record = zeroed(&ctxt, type.size);
    Octets octets(64);
    l3Init(type, record);
    rtxCtxtSetBufPtr(&ctxt, octets.data(), octets.size());
    if (l3Encode(&ctxt, type, record) < 0) { // something must be there: one of its alternatives
      rtxErrReset(&ctxt);
      return static_cast<uint8_t*>(l3Sample(&ctxt, type));
    }
    rtxCtxtSetBufPtr(&ctxt, octets.data(), octetsDone(&ctxt));
    EXPECT_EQ(l3Decode(&ctxt, type, record), 0) << type.fullName;
    rtxErrReset(&ctxt);
    return record;
  }

  void hostIs(const L3Type& type, uint8_t* value)
  {
    bool through = type.rowCount == 1 && !type.message && type.rows[0].op == kL3Record && type.rows[0].type->message;
    if (through) return hostIs(*type.rows[0].type, value + type.rows[0].offset);
    hostType = &type;
    record = value;
    takeOptions(type, value);
  }

  // By its selecting value, with a sample of it.
  void choose(uint8_t* in, const L3Row& element, const L3Alternative& alternative)
  {
    const L3Choice& choice = *static_cast<const L3Choice*>(element.info);
    unsigned value = alternative.lo;
    for (unsigned k = choice.fieldCount; k-- > 0; value >>= choice.fields[k].bits)
      l3Store(in + choice.fields[k].offset, choice.fields[k].store, value & ((1U << choice.fields[k].bits) - 1));
    if (choice.tagged) l3Store(in + element.offset, 4, alternative.tag);
    memset(in + choice.unionOffset, 0, choice.unionSize);
    const L3Type* inner = alternative.row.type;
    if (inner) memcpy(in + alternative.row.offset, l3Sample(&ctxt, *inner), inner->size);
  }

  void addOwner(const L3Field& field)
  {
    for (unsigned i = 0; i < options(); ++i) {
      const L3Row& owner = option(i);
      bool within = owner.type && field.offset >= owner.offset && field.offset - owner.offset < owner.type->size;
      if (owner.offset == field.offset || within) add(owner);
    }
  }

  void fillContents(const L3Type& type, uint8_t* value)
  {
    for (auto& content : contents()) {
      auto types = split(content[0], ' '), paths = split(content[1], ' ');
      auto isMeant = [&](auto& one) { return one == type.fullName.get() || one == name + "/" + type.fullName.get(); };
      if (std::none_of(types.begin(), types.end(), isMeant)) continue;
      if (paths.empty()) paths = {""};
      for (auto& path : paths)
        if (!setByPath(&ctxt, type, value, path, content[2])) ADD_FAILURE() << content[0] << ": no " << path;
    }
  }

  // In all values of types within the record; messages within the message have no options.
  void fillInside(const L3Type& in, uint8_t* value)
  {
    eachPresent(in, value, [this](const L3Row& row, uint8_t* holder) {
      uint8_t* place = holder + row.offset;
      if (row.type) takeOptions(*row.type, place);
      if (row.type) fillContents(*row.type, place);
      const L3Body* body = row.op == kL3Body ? static_cast<const L3Body*>(row.info) : nullptr;
      for (unsigned i = 0; body && i < body->count; ++i) {
        auto* message = body->rows[i].tag == l3Load(place, 4) ? l3BodyValue(*body, body->rows[i], holder) : nullptr;
        if (!message) continue;
        takeOptions(*body->rows[i].type, message);
        fillContents(*body->rows[i].type, message);
        fillInside(*body->rows[i].type, message);
      }
      return true;
    });
  }
};

using Begin = std::function<std::unique_ptr<Maker>()>;

// How each message is begun, by name.
std::vector<std::pair<std::string, Begin>> makers()
{
  std::vector<std::pair<std::string, Begin>> all;
  for (const TopForm& form : kForms) {
    const L3Type& pdu = *l3FindType(form.type)->type;
    const L3Row* first =
        std::find_if(pdu.rows.get(), pdu.rows + pdu.rowCount, [](auto& row) { return row.op == kL3Body; });
    const L3Body& body = *static_cast<const L3Body*>(first->info);
    for (const L3BodyRow* row = body.rows; row < body.rows + body.count; ++row)
      if (row->msgType)
        all.emplace_back(nameOf(form, *row), [&form, row] { return std::make_unique<Maker>(form, *row); });
  }
  const L3Type& relay = *l3FindType(kRelay)->type;
  const L3Choice& choice = *static_cast<const L3Choice*>(relay.rows[relay.rowCount - 1].info);
  for (const L3Alternative* one = choice.alternatives; one < choice.alternatives + choice.count; ++one)
    all.emplace_back(one->row.name, [one] { return std::make_unique<Maker>(*one); });
  return all;
}

// Each alternative of a choice among the rows, by itself.
void addAlternatives(std::vector<Message>& messages, const Begin& begin, const L3Row* rows, unsigned count)
{
  for (const L3Row* row = rows; row < rows + count; ++row) {
    const L3Choice* choice = row->op == kL3Choice ? static_cast<const L3Choice*>(row->info) : nullptr;
    for (unsigned i = 0; choice && choice->from == kL3SelectFields && i < choice->count; ++i) {
      const L3Alternative& one = choice->alternatives[i];
      std::string form = std::string(row->name) + "." + one.row.name.get();
      messages.push_back(begin()->add(*row).choose(*row, one).fillContents().make(form));
    }
  }
}

// Everything but what is left out, and one element of that.
Message fullWith(const Begin& begin, const LeavesOut& leavesOut, const std::string& name, const std::string& form,
                 unsigned one)
{
  auto full = begin();
  for (unsigned i = 0; i < full->options(); ++i) {
    std::string element = full->option(i).name.get();
    if (i == one || (!leavesOut(name, element) && !leavesOut(name, "full+" + element))) full->add(full->option(i));
  }
  return full->fillContents().make(form);
}

} // namespace

std::vector<Message> allMessages(const LeavesOut& leavesOut)
{
  std::vector<Message> messages;
  for (auto& [name, begin] : makers()) {
    auto minimal = begin();
    messages.push_back(minimal->fillContents().make("minimal"));
    for (unsigned i = 0; i < minimal->options(); ++i) {
      std::string element = minimal->option(i).name.get(), form = "full+" + element;
      messages.push_back(begin()->add(minimal->option(i)).fillContents().make(element));
      if (leavesOut(name, form)) messages.push_back(fullWith(begin, leavesOut, name, form, i));
    }
    if (minimal->options()) messages.push_back(fullWith(begin, leavesOut, name, "full", UINT_MAX));
    if (minimal->host()) addAlternatives(messages, begin, minimal->host()->rows, minimal->host()->rowCount);
    if (minimal->options()) addAlternatives(messages, begin, minimal->host()->message->options, minimal->options());
  }
  return messages;
}

Message messageWith(const std::string& name, const std::vector<Place>& places)
{
  for (auto& [known, begin] : makers()) {
    if (known != name) continue;
    auto maker = begin();
    for (const Place& place : places) maker->set(place); // what it makes present is filled next
    maker->fillContents();
    std::string missing;
    for (const Place& place : places)
      if (!maker->set(place)) missing += "no place " + place.path + "; ";
    Message message = maker->make("set");
    message.fault += missing;
    return message;
  }
  return {name, "", 0, "", {}, {}, "no such message"};
}

} // namespace peer
