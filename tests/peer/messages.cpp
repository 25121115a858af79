#include "tests/peer/messages.h"

#include <gtest/gtest.h>

#include <climits>
#include <cstring>
#include <fstream>
#include <functional>
#include <memory>
#include <sstream>

#include "rt3gppsrc/engine/l3Record.h"
#include "tests/messages.h"
#include "tests/peer/recordPath.h"
#include "velnor3gpp/rtxMemHeap.h"

namespace peer {

namespace {

struct TopForm {
  const char* type;
  const char* dissector;
  struct {
    unsigned discriminator;
    const char* typeField;
  } kinds[2];
};

constexpr TopForm kForms[] = {
    {"TS24501Msg_PDU", "nas-5gs", {{126, "nas_5gs.mm.message_type"}, {46, "nas_5gs.sm.message_type"}}},
    {"TS24301Msg_PDU", "nas-eps_plain", {{7, "nas_eps.nas_msg_emm_type"}, {2, "nas_eps.nas_msg_esm_type"}}},
    {"TS24011Msg_CP_PDU", "gsm_a_dtap", {{0, "gsm_a.dtap.msg_sms_type"}, {0, nullptr}}}};
constexpr char kRelay[] = "TS24011Msg_RP_PDU";

// Contents of elements that another dissector looks into: drawn values would not please it.
struct Content {
  std::string type, path, value;
};

const std::vector<Content>& contents()
{
  static const std::vector<Content> all = [] {
    std::vector<Content> read;
    std::ifstream in(std::string(VELNOR_TEST_DATA) + "/contents.tsv");
    for (std::string line; std::getline(in, line);) {
      if (line.empty() || line[0] == '#') continue;
      std::istringstream columns(line);
      Content content;
      std::getline(columns, content.type, '\t');
      std::getline(columns, content.path, '\t');
      std::getline(columns, content.value, '\t');
      read.push_back(content);
    }
    return read;
  }();
  return all;
}

// The message under construction.
class Maker {
public:
  // A message of a form with bodies.
  Maker(const TopForm& form, const L3BodyRow& row) : entry(*l3FindType(form.type)), name(row.name), msgType(row.msgType)
  {
    begin(form.dissector);
    for (auto& kind : form.kinds)
      if (kind.typeField && (!kind.discriminator || kind.discriminator == row.discriminator))
        typeField = kind.typeField;
    uint8_t* record = row.type ? static_cast<uint8_t*>(l3Sample(&ctxt, *row.type)) : nullptr;
    l3SetBody(*entry.type, pdu, row, record);
    headers(row.discriminator);
    if (record) hostIs(*row.type, record);
  }
  // A relay message.
  explicit Maker(const L3Alternative& relay) : entry(*l3FindType(kRelay)), name(relay.row.name), msgType(relay.lo)
  {
    begin("gsm_a_rp");
    frame.toNetwork = msgType % 2 == 0;
    typeField = "gsm_a.rp.msg_type";
    const L3Row& row = entry.type->rows[entry.type->rowCount - 1];
    choose(*entry.type, pdu, row, relay);
    if (relay.row.type) hostIs(*relay.row.type, pdu + relay.row.offset);
  }
  ~Maker() { rtxFreeContext(&ctxt); }
  Maker(const Maker&) = delete;

  const L3Type* host() const { return hostType; }
  unsigned options() const { return hostType && hostType->message ? hostType->message->count : 0; }
  const L3Row& option(unsigned i) const { return hostType->message->options[i]; }

  // The element, and those whose fields decide what it contains.
  void add(const L3Row& element)
  {
    if (element.op == kL3Choice) {
      const L3Choice& choice = *static_cast<const L3Choice*>(element.info);
      for (unsigned k = 0; choice.from == kL3SelectFields && k < choice.fieldCount; ++k) addOwner(choice.fields[k]);
    }
    if (element.mBit != kL3NoBit) l3SetBit(record, element.mBit);
    if (element.groupBit != kL3NoBit) l3SetBit(record, element.groupBit);
  }

  void choose(const L3Row& element, const L3Alternative& alternative)
  {
    choose(*hostType, record, element, alternative);
  }

  bool set(const Setting& setting)
  {
    if (setByPath(&ctxt, *entry.type, pdu, setting.path, setting.value)) return true;
    return record && setByPath(&ctxt, *hostType, record, setting.path, setting.value);
  }

  void fillContents()
  {
    if (hostType) fillContents(*hostType, record);
  }

  Message make(const std::string& form)
  {
    Message message{name, form, msgType, typeField, frame, {}, ""};
    message.fault = code(message.frame.octets);
    message.bits = traced(message.frame.octets);
    return message;
  }

private:
  RtxContext ctxt;
  const L3TypeEntry& entry;
  std::string name;
  unsigned msgType;
  std::string typeField;
  Frame frame;
  uint8_t* pdu = nullptr;
  const L3Type* hostType = nullptr; // the type whose optional elements are the message's
  uint8_t* record = nullptr;        // its record

  void begin(const char* dissector)
  {
    rtxInitContext(&ctxt);
    frame.dissector = dissector;
    pdu = static_cast<uint8_t*>(rtxMemHeapAllocZ(&ctxt.pMemHeap, entry.type->size));
  }

  void hostIs(const L3Type& type, uint8_t* value)
  {
    bool through = type.rowCount == 1 && !type.message && type.rows[0].op == kL3Record && type.rows[0].type->message;
    if (through) return hostIs(*type.rows[0].type, value + type.rows[0].offset);
    hostType = &type;
    record = value;
    takeOptions(type, value);
  }

  static void takeOptions(const L3Type& type, uint8_t* value)
  {
    for (unsigned i = 0; type.message && i < type.message->count; ++i)
      for (uint16_t bit : {type.message->options[i].mBit, type.message->options[i].groupBit})
        if (bit != kL3NoBit) value[bit / 8] = uint8_t(value[bit / 8] & ~(1U << bit % 8));
  }

  // By its selecting value, with a sample of it.
  void choose(const L3Type&, uint8_t* in, const L3Row& element, const L3Alternative& alternative)
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

  void fillContents(const L3Type& in, uint8_t* value)
  {
    visitTypes(in, value, [this](const L3Type& type, void* place) {
      if (&type != hostType) takeOptions(type, static_cast<uint8_t*>(place)); // a message within the message
      for (const Content& content : contents())
        if ((content.type == type.fullName || content.type == name + "/" + type.fullName) &&
            !setByPath(&ctxt, type, place, content.path, content.value))
          ADD_FAILURE() << content.type << ": no " << content.path;
    });
  }

  void headers(unsigned discriminator)
  {
    auto put = [this](const char* path, const char* value) { setByPath(&ctxt, *entry.type, pdu, path, value); };
    if (discriminator == 46) put("hdrData.sm.procTransIdent", "1");
    if (discriminator == 46) put("hdrData.sm.pduSessIdent", "5");
    if (discriminator == 2) put("l3HdrOpts.epsBearerIdent", "5");
    if (discriminator == 7) put("l3HdrOpts.secHdr", "0");
    if (!discriminator) put("l3HdrOpts.skipInd", "0");
  }

  // The bits of each value, by the bit trace.
  std::vector<Bits> traced(Octets octets) const
  {
    const ::Setting trace = {.trace = true};
    OutcomeContext again(trace);
    again.bind(octets.data(), octets.size());
    auto decoded = recordStorage(*entry.type, 0);
    entry.decode(again, decoded.get());
    std::vector<Bits> bits;
    for (const RtxSListNode* node = again->pBitFldList->fieldList.head; node; node = node->next) {
      const RtxBitField& field = *static_cast<const RtxBitField*>(node->data);
      bits.push_back({field.bitOffset, field.bitOffset + field.bitCount, field.elemName ? field.elemName : ""});
    }
    return bits;
  }

  // Encodes, decodes back into a second record, and compares the prints. Says what went wrong.
  std::string code(Octets& octets)
  {
    octets.resize(1 << 16);
    rtxCtxtSetBufPtr(&ctxt, octets.data(), octets.size());
    int status = entry.encode(&ctxt, pdu);
    octets.resize(status < 0 ? 0 : rtxCtxtGetBitOffset(&ctxt) / 8);
    if (status < 0) return "encoding gives " + std::to_string(status) + "\n" + errorsOf(&ctxt);
    std::string before = printed(*entry.type, "x", pdu);
    const ::Setting plain;
    OutcomeContext again(plain);
    again.bind(octets.data(), octets.size());
    auto decoded = recordStorage(*entry.type, 0);
    status = entry.decode(again, decoded.get());
    if (status < 0) return "decoding gives " + std::to_string(status) + "\n" + errorsOf(again);
    std::string after = printed(*entry.type, "x", decoded.get());
    return before == after ? "" : "decoded back as another:\n" + before + after;
  }
};

const L3Body& bodyOf(const L3Type& pdu)
{
  return *static_cast<const L3Body*>(pdu.rows[pdu.rowCount - 1].info);
}

using Make = std::function<std::unique_ptr<Maker>()>;

// How each message is begun, by name.
std::vector<std::pair<std::string, Make>> makers()
{
  std::vector<std::pair<std::string, Make>> all;
  for (const TopForm& form : kForms) {
    const L3Body& body = bodyOf(*l3FindType(form.type)->type);
    for (const L3BodyRow* row = body.rows; row < body.rows + body.count; ++row)
      if (row->msgType) all.emplace_back(row->name, [&form, row] { return std::make_unique<Maker>(form, *row); });
  }
  const L3Type& relay = *l3FindType(kRelay)->type;
  const L3Choice& choice = *static_cast<const L3Choice*>(relay.rows[relay.rowCount - 1].info);
  for (unsigned i = 0; i < choice.count; ++i) {
    const L3Alternative& alternative = choice.alternatives[i];
    all.emplace_back(alternative.row.name, [&alternative] { return std::make_unique<Maker>(alternative); });
  }
  return all;
}

// Each alternative of a choice among the rows, by itself.
void alternativesOf(const Make& make, const L3Row* rows, unsigned count, std::vector<Message>& messages)
{
  for (const L3Row* row = rows; row < rows + count; ++row) {
    if (row->op != kL3Choice) continue;
    const L3Choice& choice = *static_cast<const L3Choice*>(row->info);
    for (unsigned i = 0; choice.from == kL3SelectFields && i < choice.count; ++i) {
      auto maker = make();
      maker->add(*row);
      maker->choose(*row, choice.alternatives[i]);
      maker->fillContents();
      messages.push_back(maker->make(std::string(row->name) + "." + choice.alternatives[i].row.name));
    }
  }
}

bool isLeftOut(const std::vector<LeftOut>& leftOut, const std::string& message, const std::string& element)
{
  for (const LeftOut& entry : leftOut)
    if ((entry.message == "*" || entry.message == message) && entry.element == element) return true;
  return false;
}

// Everything but what is left out, and one element of that.
std::unique_ptr<Maker> fullWith(const Make& make, const std::vector<LeftOut>& leftOut, const std::string& name,
                                unsigned one)
{
  auto full = make();
  for (unsigned i = 0; i < full->options(); ++i) {
    const char* element = full->option(i).name;
    bool out = isLeftOut(leftOut, name, element) || isLeftOut(leftOut, name, std::string("full+") + element);
    if (!out || i == one) full->add(full->option(i));
  }
  full->fillContents();
  return full;
}

} // namespace

std::vector<Message> allMessages(const std::vector<LeftOut>& leftOut)
{
  std::vector<Message> messages;
  for (auto& [name, make] : makers()) {
    auto minimal = make(), full = fullWith(make, leftOut, name, UINT_MAX);
    minimal->fillContents();
    messages.push_back(minimal->make("minimal"));
    if (!minimal->host()) continue;
    for (unsigned i = 0; i < minimal->options(); ++i) {
      auto alone = make();
      alone->add(alone->option(i));
      alone->fillContents();
      messages.push_back(alone->make(alone->option(i).name));
    }
    if (minimal->options()) messages.push_back(full->make("full"));
    for (unsigned i = 0; i < full->options(); ++i) {
      std::string form = std::string("full+") + full->option(i).name;
      if (isLeftOut(leftOut, name, form)) messages.push_back(fullWith(make, leftOut, name, i)->make(form));
    }
    alternativesOf(make, minimal->host()->rows, minimal->host()->rowCount, messages);
    if (minimal->options()) alternativesOf(make, minimal->host()->message->options, minimal->options(), messages);
  }
  return messages;
}

Message messageWith(const std::string& name, const std::vector<Setting>& settings)
{
  for (auto& [known, make] : makers()) {
    if (known != name) continue;
    auto maker = make();
    for (const Setting& setting : settings) maker->set(setting); // what it makes present is filled next
    maker->fillContents();
    std::string missing;
    for (const Setting& setting : settings)
      if (!maker->set(setting)) missing += "no place " + setting.path + "; ";
    Message message = maker->make("set");
    message.fault += missing;
    return message;
  }
  return {name, "", 0, "", {}, {}, "no such message"};
}

} // namespace peer
