// The third phase: refusals of definitions that read well and still contradict themselves, or would be coded otherwise
// than they read. resolve has set types, members and presence bits. The writers follow fields, types and codes without
// looking back, because of what is refused here; tests/l3gen/refused.txt has definitions that are refused.
//
// `check` at the end of the file calls, for each type, checkType and then checkRows, which calls for each row
//
//   checkOrder       may a row of this kind stand here?
//   checkRow         fields of conditions and counts, ranges, choices and bodies, IEIs
//   checkAlignment   do octets begin at an octet?
//
// A function refuses the first fault of its row; checkRows notes it and goes on with the next row. Faults that can be
// told only of all definitions together (what nobody uses, modules that need each other) are looked for if nothing has
// been refused before: a block that is set aside would make its parts look unused.
#include <algorithm>
#include <set>

#include "direct.h"

namespace l3gen {

// A row without a content to look at. Lengths have one: a field and a range.
static bool isMark(const Row& row)
{
  return !row.isElement() && row.mark != Mark::Length;
}

// Conditions, selectors and most counts take a field as a number of 32 bits: `if n=1` would hold for an n of 33 bits
// that is 4294967297.
static void checkNumber(const Row& row, const Row& field, const std::string& name)
{
  auto scalar = field.often.end == kL3NoList ? scalarOf(field.what) : std::nullopt;
  if (field.mark != Mark::Length && !scalar) refuse(row.place, "'" + name + "' is no number");
  if (scalar && scalar->bits > 32) refuse(row.place, "'" + name + "' has more than 32 bits");
}

// A field that a condition, count or selector names stands in the same record, before the row (unless `later`), and is
// a number. Decoders would read a member that has not been decoded yet:
//
//   if y x bits 8       refused: 'y' comes later
//   M y bits 8
static void checkField(const Type& type, const Row& row, const std::string& name, bool later = false)
{
  // A row without a count has an empty field.
  if (name.empty()) return;
  const Row* field = findField(type, name);
  if (!field) refuse(row.place, "'" + name + "' is no element of this record");
  bool behind = rowNamed(type, name.substr(0, name.find('.'))) >= &row;
  if (behind && !later) refuse(row.place, "'" + name + "' comes later");
  checkNumber(row, *field, name);
}

// The same for a count, whose field may also be one of the record around (`..n`). That record is half decoded when the
// nested one is: only the rows that it had when the nested one began have been read.
static void checkCount(const Type& type, const Row& row, const Count& count)
{
  if (!count.ofAround()) return checkField(type, row, count.field);
  std::string name = count.field;
  const Type* around = holderOf(type, name);
  const Row* field = around ? findField(*around, name) : nullptr;
  if (!field) refuse(row.place, "'" + name + "' is no element of the record around this one");
  if (rowNamed(*around, name.substr(0, name.find('.'))) - around->rows.data() >= static_cast<long>(type.aroundRows))
    refuse(row.place, "'" + name + "' comes later");
  checkNumber(row, *field, name);
}

// `private first 4` and its kin speak of the octets of one row, on its line or on that of a type that has no other.
static void checkPrivacy(const std::map<std::string, std::string>& words, const Row& row)
{
  auto at = words.find("private");
  bool part = at != words.end() && at->second != kWhollyPrivate;
  if (part && row.what.kind != WhatKind::Octets) refuse(row.place, "only octets can be private in part");
}

// A quirk word bends one kind of row; on any other it would be read and change nothing. Words of blocks bend no row.
static void checkWords(const Row& row)
{
  bool length = row.mark == Mark::Length, choice = row.what.kind == WhatKind::Choice;
  const std::map<std::string, bool> fits = {{"full-length", length},    {"zero-widens", length},
                                            {"iei-again", row.isIei()}, {"shifts", row.mark == Mark::Tail},
                                            {"name-as", !isMark(row)},  {"untagged", choice},
                                            {"private", row.mark == Mark::Element}};
  for (auto& [word, text] : row.words) {
    auto at = fits.find(word);
    const char* mark = word == "private" ? "" : "!";
    if (at == fits.end() || !at->second) refuse(row.place, "'" + (mark + word) + "' says nothing on this row");
  }
  checkPrivacy(row.words, row);
}

// Two alternatives with a value in common, `| 0..2 x` and `| 2 y`, could not be told apart. `else` takes all that is
// left, so one is enough.
static void checkValues(const What& what)
{
  std::vector<Range> taken;
  bool other = false;
  for (auto& alternative : what.alternatives) {
    if (alternative.other && other) refuse(alternative.place, "'else' twice in one choice");
    other = other || alternative.other;
    for (auto& value : alternative.values) {
      for (auto& before : taken)
        if (value.lo <= before.hi && before.lo <= value.hi) refuse(alternative.place, "a selector value twice");
      taken.push_back(value);
    }
  }
}

// `in a..b` tests a number, a length or the octets of a string. `M x bits 4 in 0..16` is refused, since no value of 4
// bits is 16 and one of the two numbers must be wrong; so is a range behind an enumeration, whose values are its own.
static void checkRange(const Row& row)
{
  if (!row.range) return;
  bool string = row.what.kind == WhatKind::Octets || row.what.kind == WhatKind::Text;
  auto scalar = scalarOf(row.what);
  bool number = scalar && !scalar->named;
  if (!string && !number && row.mark != Mark::Length) refuse(row.place, "'in' has nothing to test here");
  unsigned bits = row.mark == Mark::Length ? row.number : scalar ? scalar->bits : 32;
  if (string && row.what.from == kL3OwnLength) bits = row.what.bits;
  if (bits < 32 && row.range->hi >> bits)
    refuse(row.place, format("%u to %u does not fit in %u bits", row.range->lo, row.range->hi, bits));
}

// The most that a field counts to, or nothing where no field counts or a table of sizes says what it means.
static std::optional<int64_t> mostOf(const Type& type, const Count& count)
{
  if (count.field.empty() || !count.sizes.empty()) return {};
  std::string name = count.field;
  const Row* field = findField(*holderOf(type, name), name);
  unsigned bits = field->mark == Mark::Length ? field->number : scalarOf(field->what)->bits;
  // With a minus the most is the constant itself, where the field is 0.
  return count.sign > 0 ? (1LL << bits) - 1 + count.bias : count.bias;
}

// A bit string with `max` lies in the record, and its count comes from a field. `n +1` of a field of 4 bits comes to 16
// bits, so `M x bitstring by n +1 max 15` is refused: it would be cut.
static void checkBits(const Type& type, const Row& element)
{
  const What& what = element.what;
  if (what.kind != WhatKind::BitString || what.from != kL3ByField || !what.max) return;
  auto most = mostOf(type, what.count);
  if (most && *most > static_cast<int64_t>(what.max))
    refuse(element.place,
           format("'%s' counts up to %lld bits", what.count.field.c_str(), static_cast<long long>(*most)));
}

// `times n 0..16` is refused where `n` has 4 bits: no list has 16 entries, so one of the numbers must be wrong.
static void checkMost(const Type& type, const Row& element)
{
  auto most = mostOf(type, element.often.count);
  if (most && element.often.range && element.often.range->hi > *most)
    refuse(element.place, format("'%s' counts no further than %lld", element.often.count.field.c_str(),
                                 static_cast<long long>(*most)));
}

// What holds for a row of the record and for an alternative alike. The fields of an alternative are those that stand
// before `row`, the choice.
static void checkElement(const Type& type, const Row& row, const Row& element)
{
  const What& what = element.what;
  bool choice = what.kind == WhatKind::Choice || what.kind == WhatKind::Body;
  // The row of an entry counts from the start of the entry, but offsets within a choice count from that of the record.
  // A block of its own makes the choice a type, which a list can have.
  if (element.often.end != kL3NoList && (choice || what.kind == WhatKind::Nothing))
    refuse(element.place, "no list can be made of this; give it a block of its own");
  if (what.kind == WhatKind::Chars && type.kind != Kind::Text && type.decodeFile.empty())
    refuse(element.place, "'chars' is for hand-coded elements");
  checkRange(element);
  checkCount(type, row, element.often.count);
  checkCount(type, row, what.count);
  if (element.argument) checkCount(type, row, *element.argument);
  checkBits(type, element);
  checkMost(type, element);
}

// The enumeration whose members are all that a selecting field can be; null if the choice goes by something else or the
// decoder lets other values through (`!open-decode`, `names`).
static const Type* selectingEnum(const Type& type, const What& what)
{
  if (what.select != kL3SelectFields || what.fields.size() != 1) return nullptr;
  const Row* field = findField(type, what.fields[0]);
  auto scalar = field && field->isElement() ? scalarOf(field->what) : std::nullopt;
  bool closed = scalar && scalar->named && scalar->named->kind == Kind::Enum && !scalar->named->has("open-decode");
  return closed ? scalar->named : nullptr;
}

// An alternative for a value that the selecting enumeration does not have could never be decoded: one of them is wrong.
static void checkEnumerated(const Type& type, const What& what)
{
  const Type* set = selectingEnum(type, what);
  if (!set) return;
  for (auto& alternative : what.alternatives)
    for (auto& value : alternative.values) {
      auto inside = [&](const auto& named) {
        return static_cast<uint32_t>(named.second) >= value.lo && static_cast<uint32_t>(named.second) <= value.hi;
      };
      if (std::none_of(set->values.begin(), set->values.end(), inside))
        refuse(alternative.place, format("'%s' has no value %u", set->name.c_str(), value.lo));
    }
}

// The rows of a body tell the messages apart: each pair of discriminator and message type once, and each number t once,
// since the record keeps nothing else. What a message's own block says of its type must agree. Numbers that do not run
// from 1 without a gap are said to be meant (`!number-gaps`); `gaps` is whether they are.
static void checkBody(const What& what, bool gaps)
{
  std::set<std::pair<uint32_t, uint32_t>> types;
  std::set<uint32_t> tags;
  for (auto& row : what.alternatives) {
    if (!types.insert({row.discriminator, row.msgType}).second) refuse(row.place, "a message type twice in one body");
    if (!tags.insert(row.tag).second) refuse(row.place, format("the number %u twice in one body", row.tag));
    int own = row.what.type ? row.what.type->msgType : -1;
    if (own >= 0 && own != static_cast<int>(row.msgType))
      refuse(row.place, format("'%s' has the message type 0x%02X", row.name.c_str(), static_cast<unsigned>(own)));
    if (row.inlined && !scalarOf(row.what)) refuse(row.place, "'inline' is for bodies that are one number");
  }
  bool gapless = !tags.empty() && *tags.begin() == 1 && *tags.rbegin() == tags.size();
  if (gaps == gapless)
    refuse(what.alternatives[0].place, gaps ? "the numbers of this body run from 1 without a gap: no !number-gaps"
                                            : "the numbers of this body have gaps; !number-gaps says so");
}

// Two bodies of a form that go by the same field, the message and its rest octets: each message stands in both, under
// one name and one number.
static void checkTwin(const Type& type, const Row& row)
{
  const Row& first = *bodiesOf(type)[0];
  if (&first == &row || first.what.fields != row.what.fields) return;
  auto& messages = first.what.alternatives;
  for (auto& message : row.what.alternatives) {
    auto same = [&](const Row& other) {
      return other.discriminator == message.discriminator && other.msgType == message.msgType &&
             other.name == message.name && other.tag == message.tag;
    };
    if (std::none_of(messages.begin(), messages.end(), same))
      refuse(message.place, format("'%s' has no such message", first.name.c_str()));
  }
  if (messages.size() != row.what.alternatives.size())
    refuse(row.place, format("'%s' has other messages", first.name.c_str()));
}

// The choice or body that a row is. Only a pdu has a body, and nothing but another body may stand behind it.
static void checkChoice(const Type& type, const Row& row)
{
  const What& what = row.what;
  bool body = what.kind == WhatKind::Body;
  if (body && type.kind != Kind::Pdu) refuse(row.place, "a body outside a pdu");
  if (body && &row != &type.rows.back() && (&row)[1].what.kind != WhatKind::Body)
    refuse(row.place, "a row behind the body");
  if (what.untagged && what.select != kL3SelectFields) refuse(row.place, "!untagged needs a selecting field");
  // Coders by hand know the field before they come to the choice, wherever it stands in the record.
  bool byHand = what.untagged && !type.decodeFile.empty() && !type.encodeFile.empty();
  for (auto& field : what.fields) checkField(type, row, field, byHand);
  if (what.alternatives.empty()) refuse(row.place, "a choice without alternatives");
  std::set<std::string> names;
  for (auto& alternative : what.alternatives) {
    if (!names.insert(alternative.member).second)
      refuse(alternative.place, "'" + alternative.name + "' twice in one choice");
    bool inner = alternative.what.kind == WhatKind::Choice || alternative.what.kind == WhatKind::Body;
    if (inner) refuse(alternative.place, "a choice in a choice needs a block of its own");
    checkWords(alternative);
    checkElement(type, row, alternative);
  }
  if (body) {
    checkBody(what, type.has("number-gaps"));
    return checkTwin(type, row);
  }
  checkValues(what);
  checkEnumerated(type, what);
}

// Where an IEI stands it must be seen again, so values end at an octet: 0xA- is followed by 4 bits, 0x5E by whole
// octets. A decoder by hand has no fixed size; behind half an octet it reads the other half.
static void checkIei(const Type& type, const Row& row)
{
  if (type.kind != Kind::Message) refuse(row.place, "an IEI outside a message");
  bool hand = row.what.kind == WhatKind::Type && !row.what.type->decodeFile.empty();
  auto bits = row.half && hand ? std::optional<uint32_t>(4) : fixedBits(row);
  if (row.half && (!bits || *bits != 4)) refuse(row.place, "a half-octet IEI needs an element of 4 bits");
  if (!row.half && bits && *bits % 8)
    refuse(row.place, format("an IEI of 8 bits needs whole octets, not %u bits", *bits));
}

// What one element says, without regard to its neighbours.
static void checkRow(const Type& type, const Row& row)
{
  for (auto& term : row.cond) checkField(type, row, term.field);
  checkElement(type, row, row);
  if (row.what.kind == WhatKind::Choice || row.what.kind == WhatKind::Body) checkChoice(type, row);
  if (row.isIei()) checkIei(type, row);
}

// Words of a block that mean something only together with `by hand`. A form that contradicts the length in the rows is
// refused, because messages pass over the element by its form.
static void checkForm(const Type& type)
{
  if (type.directByHand && (type.decodeFile.empty() || type.encodeFile.empty()))
    refuse(type.place, "direct coders by hand are for hand-coded elements");
  if (type.plainByHand && (type.decodeFile.empty() || !hasDirect(type)))
    refuse(type.place, "'plain by hand' is for hand-decoded types whose rows can be coded directly");
  if (type.form.empty()) return;
  if (type.decodeFile.empty()) refuse(type.place, "a form is for hand-coded elements");
  unsigned length = type.rows.empty() || type.rows[0].mark != Mark::Length ? 0 : type.rows[0].number;
  unsigned wanted = type.form == "TLV" ? 8 : type.form == "TLV-E" ? 16 : 0;
  if (length && length != wanted)
    refuse(type.place, format("form %s contradicts a length of %u bits", type.form.c_str(), length));
}

// What can be told of a block as a whole.
static void checkType(const Type& type)
{
  Row none;
  none.place = type.place;
  checkPrivacy(type.words, type.kind == Kind::Bare ? type.rows.back() : none);
  bool empty = type.rows.empty() && type.values.empty();
  if (empty && type.kind != Kind::Message && !type.restOctets) refuse(type.place, "'" + type.name + "' has no rows");
  if (type.kind == Kind::Pdu && type.rows.back().what.kind != WhatKind::Body)
    refuse(type.place, "a pdu ends with its body");
  if (type.kind == Kind::Text && type.decodeFile.empty()) refuse(type.place, "a text is coded by hand");
  bool argument = type.has("octets-argument") || type.has("spare-argument");
  if (argument && type.kind != Kind::Text) refuse(type.place, "!octets-argument and !spare-argument are for texts");
  if (type.has("codeset-asked") && !type.has("shifts")) refuse(type.place, "!codeset-asked needs !shifts");
  if (type.has("setters-return") && type.kind != Kind::Pdu)
    refuse(type.place, "!setters-return is for top-level forms");
  if (type.mBits > 512) refuse(type.place, "more than 512 presence bits");
  checkForm(type);
  if (type.padded && (type.values.size() != 2 || type.has("open-decode")))
    refuse(type.place, "an L/H enumeration names 0 and 1");
}

// What the rows before have said, as checkOrder goes through a record.
struct RowOrder {
  // The last element or length.
  const Row* before = nullptr;
  // How many lengths are open.
  unsigned open = 0;
  // An optional element with an IEI has come.
  bool options = false;
  // The IEIs that have come: the value, and whether it is a half octet.
  std::set<std::pair<unsigned, bool>> ieis;
};

// One table finds an element by its IEI, the high half of the octet first. So the whole octet 0x0D leads to the element
// of the half octet 0xD-, and a whole 0xD5 behind a 0xD- is never found. Where a message has an element twice, its
// second row says so with `!iei-again`; the word on an IEI that stands once is a mistake, too.
static void checkRepeatedIei(const Row& row, RowOrder& order)
{
  auto known = [&](unsigned value, bool half) { return order.ieis.count({value, half}) != 0; };
  bool twice = known(row.number, row.half) || (row.number < 16 && known(row.number, !row.half));
  // A whole octet whose high half is a half-octet IEI before it, or the other way round.
  bool hidden = !row.half && known(row.number >> 4, true);
  for (unsigned low = 0; low < 16 && row.half; ++low) hidden = hidden || known(row.number << 4 | low, false);
  order.ieis.insert({row.number, row.half});
  bool said = row.words.count("iei-again") != 0;
  if ((twice || hidden) && !said) refuse(row.place, "this IEI stands for another element too; !iei-again says so");
  if (said && !twice && !hidden) refuse(row.place, "!iei-again on an IEI that stands once");
}

// Which rows may stand behind which. `open` counts the lengths without an end-len, as the engine counts its regions.
static void checkOrder(const Type& type, const Row& row, RowOrder& order)
{
  if (row.mark == Mark::Tail && (type.kind != Kind::Record || &row != &type.rows.back()))
    refuse(row.place, "a tail ends an element");
  bool padded = type.kind == Kind::Record || type.kind == Kind::Message;
  if (row.mark == Mark::Padding && (!padded || type.restOctets || &row != &type.rows.back()))
    refuse(row.place, "padding ends an element or a message, and rest octets without saying so");
  if (row.mark == Mark::Padding && order.open)
    refuse(row.place, "what a length counts is filled up with 0, not padding");
  // Whether a release group is there is told by the bits that are left, which only a length can count.
  if (row.mark == Mark::Release && !order.open) refuse(row.place, "a release group outside a length");
  if (row.mark == Mark::EndLength && !order.open) refuse(row.place, "'end-len' without a length");
  order.open += row.mark == Mark::Length;
  order.open -= row.mark == Mark::EndLength;
  if (order.open > 4) refuse(row.place, "more than four lengths in one record");
  bool bit = order.before && order.before->isElement() && order.before->mBit >= 0;
  if (row.given == kL3GivenWith && !bit) refuse(row.place, "'with' needs a row with a presence bit before it");
  if (row.isIei()) checkRepeatedIei(row, order);
  order.options = order.options || row.isIei();
  // Optional elements are found by their IEIs to the end of the message; nothing could tell where a further row begins.
  if (order.options && !row.isIei() && row.isElement()) refuse(row.place, "a row behind the optional elements");
}

// Octets behind bits that do not fill an octet: a definition that says so has lost a row, or a width is wrong. `used`
// is the number of bits used of the present octet, -1 where it cannot be told. It is followed from the start of a
// message or of an element with a length on, over rows of a fixed size:
//
//   element A length 8
//     M a bits 4
//     M b bits 1
//     M c octets 2     refused: 5 bits stand before these octets and do not fill one
static void checkAlignment(const Row& row, int& used)
{
  bool octets = row.what.kind == WhatKind::Octets || (row.what.kind == WhatKind::Text && row.what.from != kL3Fixed);
  // A length of its own whose width does not fill octets may end where the octets begin.
  bool own = row.what.from == kL3OwnLength;
  if (row.isElement() && octets && used > 0 && !(own && row.what.bits % 8))
    refuse(row.place, format("%d bits stand before these octets and do not fill one", used));
  auto bits = row.mark == Mark::Length ? std::optional<uint32_t>(row.number) : fixedBits(row);
  // A row that may be missing leaves the place as it is only if it has whole octets.
  bool known = used >= 0 && bits && (row.plain() || row.mark == Mark::Length || *bits % 8 == 0);
  if (row.mark == Mark::EndLength || (row.isElement() && !known)) used = -1;
  if (known) used = static_cast<int>((static_cast<unsigned>(used) + *bits) % 8);
}

// The rows of a type in their order. A refused row is noted, and the next one is looked at.
static void checkRows(Model& model, const Type& type)
{
  std::set<std::string> members;
  RowOrder order;
  bool lengthFirst = !type.rows.empty() && type.rows[0].mark == Mark::Length && !type.rows[0].countsBits;
  // Types without a length may begin anywhere in an octet.
  int used = type.kind == Kind::Message || lengthFirst ? 0 : -1;
  for (auto& row : type.rows) try {
      checkOrder(type, row, order);
      checkWords(row);
      if (isMark(row)) continue;
      order.before = &row;
      if (!row.member.empty() && !members.insert(row.member).second)
        refuse(row.place, "'" + row.name + "' twice in one record");
      checkRow(type, row);
      checkAlignment(row, used);
    } catch (const Refusal& r) {
      model.refusals.push_back(r);
    }
}

// Notes that the table of sizes is used, or that there is none of that name.
static void useSizes(Model& model, const Type& type, const Place& place, const Count& count)
{
  if (count.sizes.empty()) return;
  Sizes* sizes = model.sizesNamed(*type.module, count.sizes);
  if (!sizes)
    model.refusals.push_back({place, "no table of sizes '" + count.sizes + "'"});
  else
    sizes->used = true;
}

// A row's counts and those of its alternatives: `| 1 x bitstring by n sizes S`.
static void useSizes(Model& model, const Type& type, const Row& row)
{
  useSizes(model, type, row.place, row.what.count);
  useSizes(model, type, row.place, row.often.count);
  if (row.argument) useSizes(model, type, row.place, *row.argument);
  for (auto& alternative : row.what.alternatives) useSizes(model, type, alternative);
}

// Sets What::meanings. A range and words for values would want the same place of a row (L3Row::info).
static void useMeanings(Model& model, const Type& type, Row& row)
{
  for (auto& alternative : row.what.alternatives) useMeanings(model, type, alternative);
  const std::string& name = row.what.meaningsName;
  if (name.empty()) return;
  Meanings* meanings = model.meaningsNamed(*type.module, name);
  row.what.meanings = meanings;
  if (!meanings) {
    model.refusals.push_back({row.place, "no table of meanings '" + name + "'"});
    return;
  }
  meanings->used = true;
  if (row.range) model.refusals.push_back({row.place, "a range and meanings"});
  if (!meanings->values.empty() && row.what.bits < 32 && meanings->values.back().first >> row.what.bits)
    model.refusals.push_back({row.place, "'" + name + "' has a number of more bits"});
}

template <typename T>
static void checkTables(Model& model, const std::vector<std::unique_ptr<T>>& tables, const std::string& what)
{
  for (auto& table : tables) {
    if (!table->used) model.refusals.push_back({table->place, "nothing uses the " + what + " '" + table->full + "'"});
    if (table->values.empty()) model.refusals.push_back({table->place, "'" + table->full + "' has no rows"});
  }
}

static void checkTables(Model& model)
{
  for (auto& type : model.types)
    for (auto& row : type->rows) {
      useSizes(model, *type, row);
      useMeanings(model, *type, row);
    }
  checkTables(model, model.sizes, "sizes");
  checkTables(model, model.meanings, "meanings");
}

// Parts that no row names and messages that no form has: their rows would be dead. `!alone` says that a message is
// meant to be used by callers only; on a message of a form it is refused.
static void checkUse(Model& model)
{
  std::set<const Type*> used;
  for (auto& type : model.types)
    for (auto& row : type->rows) collectUses(row.what, false, [&](Type* held, bool) { used.insert(held); });
  for (auto& type : model.types) {
    bool idle = !used.count(type.get());
    if (type->part && idle) model.refusals.push_back({type->place, "nothing uses the part '" + type->name + "'"});
    if (type->kind != Kind::Message || idle == type->has("alone")) continue;
    model.refusals.push_back({type->place, idle ? "no form has the message '" + type->name + "'; !alone says so"
                                                : "'" + type->name + "' is a message of a form: no !alone"});
  }
}

// Headers include each other one way only: if a type of module A names one of B, no type of B may name one of A.
struct HeaderWalk {
  // For each module the modules that it uses, and a row that does.
  std::map<Module*, std::map<Module*, Place>> uses;
  // On the way down, and gone through.
  std::set<Module*> open, done;
};

// Depth first: a module that is met again on the way down closes a ring of headers.
static void visitModule(Model& model, HeaderWalk& walk, Module* module)
{
  walk.open.insert(module);
  for (auto& [used, place] : walk.uses[module]) {
    if (walk.open.count(used))
      model.refusals.push_back({place, "modules '" + module->name + "' and '" + used->name + "' need each other"});
    else if (!walk.done.count(used))
      visitModule(model, walk, used);
  }
  walk.open.erase(module);
  walk.done.insert(module);
}

static void checkModules(Model& model)
{
  HeaderWalk walk;
  for (auto& type : model.types)
    for (auto& row : type->rows)
      collectUses(row.what, false, [&](Type* used, bool) {
        if (used->module != type->module) walk.uses[type->module].emplace(used->module, row.place);
      });
  for (auto& module : model.modules)
    if (!walk.done.count(module.get())) visitModule(model, walk, module.get());
}

void check(Model& model)
{
  // What nobody uses, or needs what, can be told only of the whole.
  if (model.refusals.empty()) {
    checkUse(model);
    checkTables(model);
    checkModules(model);
  }
  forTypes(model, checkType);
  for (auto& type : model.types) checkRows(model, *type);
}

} // namespace l3gen
