// Every word that stands beside a declaration in a public header. records.cpp and write.cpp ask for them by what they
// declare (header.h); nothing here knows how a record is laid out. Texts are composed of a few phrases, each with a
// function of its own: what a thing is called and where the standard tells of it, how large it is, what bounds it, and
// when it is there. For the rows
//
//   M                   sst   SST                uint8_t sst;  /**< SST (9.11.2.8), 8 bits. */
//   room if length!=2   sd    SD                 uint32_t sd;  /**< SD (9.11.2.8), 24 bits; there if bits are left and
//                                                               *  length is not 2. */
//
// A phrase is empty if there is nothing to say; `sentence` joins those that are not. tests/golden/l3gen/Words.txt shows
// one of each kind, and changes with every word that is changed here.
#include <algorithm>
#include <cstdlib>

#include "header.h"

namespace l3gen {

static constexpr size_t kColumns = 120;
static constexpr char kTie = '\x1f'; // a blank that no line ends at

static std::string pad(int indent)
{
  return std::string(static_cast<size_t>(indent), ' ');
}

// The words in lines of at most so many columns, broken at blanks; a word that is longer gets a line of its own.
static std::vector<std::string> wrapped(const std::string& words, size_t columns)
{
  std::vector<std::string> lines;
  size_t at = 0;
  while (words.size() - at > columns) {
    size_t blank = words.rfind(' ', at + columns);
    if (blank == std::string::npos || blank <= at) blank = words.find(' ', at + columns);
    if (blank == std::string::npos) break;
    lines.push_back(words.substr(at, blank - at));
    at = blank + 1;
  }
  lines.push_back(words.substr(at));
  return lines;
}

// The last step before text is written.
static std::string untied(std::string text)
{
  std::replace(text.begin(), text.end(), kTie, ' ');
  return text;
}

// 7 columns are the marks of the comment: "/** " in front and " */" behind, or " *  " in front of further lines.
std::string commentLines(int indent, const std::string& words)
{
  std::string p = pad(indent);
  if (p.size() + words.size() + 7 <= kColumns) return untied(p + "/** " + words + " */\n");
  std::string out;
  for (auto& line : wrapped(words, kColumns - p.size() - 7)) out += p + (out.empty() ? "/** " : " *  ") + line + "\n";
  out.pop_back();
  return untied(out + " */\n");
}

// The last line of the declaration decides: a struct of many lines has its comment behind its closing brace.
std::string commented(int indent, const std::string& declaration, const std::string& words)
{
  size_t last = declaration.rfind('\n');
  last = last == std::string::npos ? 0 : last + 1;
  std::string line = " /**< " + words + " */\n";
  if (declaration.size() - last + line.size() <= kColumns + 1) return declaration + untied(line);
  return commentLines(indent, words) + declaration + "\n";
}

// The name of a type, the standard's name for it and its place there: SNSSAI (9.11.2.8). All comments that mention a
// type get it from this function. The standard itself is named only to readers of another module's header.
static std::string title(const Type& type, const Module* reader)
{
  std::string spec = type.module == reader ? "" : type.module->spec + ", ";
  std::string known = type.title.empty() ? "" : "\"" + type.title + "\", ";
  return type.name + " (" + known + spec + type.clause + ")";
}

// "1, 2 or 3": `last` stands before the last part, `between` before all others but the first.
static std::string joined(const std::vector<std::string>& parts, const std::string& between, const std::string& last)
{
  std::string text;
  for (size_t i = 0; i < parts.size(); ++i) text += (i ? (i + 1 == parts.size() ? last : between) : "") + parts[i];
  return text;
}

static std::string rangeWords(const Range& range)
{
  return range.lo == range.hi ? std::to_string(range.lo) : format("%u to %u", range.lo, range.hi);
}

static std::string valuesWords(const std::vector<Range>& values)
{
  std::vector<std::string> parts;
  for (auto& value : values) parts.push_back(rangeWords(value));
  return joined(parts, ", ", " or ");
}

// `length!=2&kind=1,3` in words: "length is not 2 and kind is 1 or 3".
static std::string conditionWords(const std::vector<Term>& terms)
{
  std::vector<std::string> parts;
  for (auto& term : terms) parts.push_back(term.field + (term.negate ? " is not " : " is ") + valuesWords(term.values));
  return joined(parts, ", ", " and ");
}

static std::string bitsWords(unsigned bits)
{
  return format("%u bit%s", bits, bits == 1 ? "" : "s");
}

// What a count comes to, behind "as many octets as": "size says", "size + 1", "8 - a", "the table Growth has for c".
static std::string amountWords(const Count& count)
{
  if (count.argument) return "the caller of its decoder says";
  std::string field = count.ofAround() ? count.field.substr(2) + " of the record around" : count.field;
  if (!count.sizes.empty()) return "the table " + count.sizes + " has for " + field;
  if (count.sign < 0) return format("%d - ", count.bias) + field;
  if (!count.bias) return field + " says";
  return field + format(count.bias < 0 ? " - %d" : " + %d", std::abs(count.bias));
}

// How a string's size is told on the wire.
static std::string countWords(const What& what, const char* unit)
{
  switch (what.from) {
    case kL3ByField:
      return std::string("as many ") + unit + " as " + amountWords(what.count);
    case kL3OwnLength:
      return "behind a length of " + bitsWords(what.bits);
    default:
      return "to the end of the enclosing length or of the input";
  }
}

// A number: the name of its type, if it has one, and its width.
static std::string scalarWords(const What& what, const Scalar& scalar, const Module* reader)
{
  std::string name = what.type ? title(*what.type, reader) + ", " : "";
  if (scalar.kind == WhatKind::Unary) return name + (name.empty() ? "Length" : "length") + " of a run of equal bits";
  if (scalar.padded) return name + "1 bit relative to the padding, 0 is L and 1 is H";
  if (scalar.kind == WhatKind::Flag) return name + (name.empty() ? "Flag" : "flag") + ", 1 bit";
  return name + bitsWords(scalar.bits);
}

// A string: what it is made of, how its size is told, and where it is kept.
static std::string stringWords(const What& what)
{
  switch (what.kind) {
    case WhatKind::Octets:
      if (what.from == kL3Fixed) return format("%u octet%s", what.octets, what.octets == 1 ? "" : "s");
      return std::string(what.wide ? "Octets of 16-bit characters" : "Octets") + ", " + countWords(what, "octets");
    case WhatKind::BitString:
      if (what.from == kL3Fixed) return bitsWords(what.max) + ", the first one in the highest bit of the first octet";
      return "Bits, " + countWords(what, "bits");
    case WhatKind::Text:
      return std::string(what.labels ? "Labels joined by dots" : "Characters") +
             ", zero-terminated, on the context's heap; " + countWords(what, "octets");
    default:
      return format("At most %u characters and a terminating zero", what.octets - 1);
  }
}

// Without t a decoder does not say which alternatives it has left alone, so the caller has to initialise the record.
static std::string choiceWords(const What& what)
{
  if (what.untagged)
    return "The alternative that " + joined(what.fields, ", ", " and ") +
           " selects. Decoding leaves the others as they were, so initialise the record first";
  return "One of several alternatives";
}

// What a thing is and how large.
static std::string kindWords(const What& what, const Module* reader)
{
  if (auto scalar = scalarOf(what)) return scalarWords(what, *scalar, reader);
  switch (what.kind) {
    case WhatKind::Type:
      return title(*what.type, reader);
    case WhatKind::Choice:
      return choiceWords(what);
    case WhatKind::Body:
      return "The message";
    case WhatKind::Nothing:
      return "nothing";
    default:
      return stringWords(what);
  }
}

// "1 to 16 entries", "as many entries as n says, 0 to 9 entries".
static std::string oftenWords(const Often& often)
{
  std::string range = often.range ? rangeWords(*often.range) + " entries" : "";
  if (often.end != kL3Times) return range.empty() ? "a list" : range;
  return "as many entries as " + amountWords(often.count) + (range.empty() ? "" : ", " + range);
}

// `in a..b`, with a unit where it bounds a size and not a value. A range of the element's type counts if the row has
// none.
static std::string rangedWords(const Row& row)
{
  auto scalar = scalarOf(row.what);
  auto range = row.range ? row.range : scalar ? scalar->range : std::nullopt;
  if (!range) return "";
  return rangeWords(*range) + (scalar ? "" : row.what.kind == WhatKind::BitString ? " bits" : " octets");
}

// A `more` row says all of it in givenWords.
static std::string leadWords(const Row& row)
{
  return row.given == kL3GivenMore ? "" : l3Traits(row.lead).words;
}

// An `if` row behind `room` is there if both hold; alone it is tested on decoding only, since encoders go by the
// presence bit.
static std::string givenWords(const Row& row)
{
  switch (row.given) {
    case kL3GivenIf:
      return row.room ? conditionWords(row.cond) : "decoded if " + conditionWords(row.cond);
    case kL3GivenWhen:
      return "there if " + conditionWords(row.cond);
    case kL3GivenMore:
      return "there if the extension bit before it is 0";
    case kL3GivenWith:
      return "there with the element before it";
    case kL3GivenIei:
      return format(row.half ? "IEI 0x%X-" : "IEI 0x%02X", row.number);
    case kL3ByHand:
      return "optional";
    default:
      return "";
  }
}

// When the element is there, composed of room, lead and condition in the order in which decoders ask.
static std::string whenWords(const Row& row)
{
  std::string lead = leadWords(row), given = givenWords(row);
  if (row.room && lead.empty()) return "there if bits are left" + (given.empty() ? "" : " and " + given);
  std::string words = lead + (lead.empty() || given.empty() ? "" : "; ") + given;
  return row.room ? words + "; absent if no bits are left" : words;
}

// An element of a group that has no presence bit of its own is there if the group is.
static std::string groupWords(const Type& type, const Row& row)
{
  return row.groupBit < 0 || row.mBit >= 0 ? "" : "there with " + type.mNames[static_cast<size_t>(row.groupBit)];
}

// The field that selects the message of a top-level form has constants for its values.
static std::string selectorWords(const Type& type, const Row& row)
{
  auto bodies = bodiesOf(type);
  bool selects = !bodies.empty() && bodies[0]->what.fields.back() == row.name;
  return selects ? "its constants begin with " + type.full + "_" + row.member + "_" : "";
}

// The phrases that say something, joined to one sentence.
static std::string sentence(const std::vector<std::string>& parts)
{
  std::vector<std::string> said;
  for (auto& part : parts)
    if (!part.empty()) said.push_back(part);
  return joined(said, "; ", "; ") + ".";
}

// The element's name, where C has to call it otherwise.
static std::string printedWords(const Row& row)
{
  return row.name == row.member ? "" : "prints as \"" + row.name + "\"";
}

// A length is set by encoders, whatever the record says; one without a name is no member and stands on the wire alone.
static std::string lengthWords(const Row& row)
{
  std::string unit = row.countsBits ? "bits" : "octets";
  std::string from = row.fromOctet ? ", counted from the next octet on" : "";
  bool kept = !row.member.empty();
  return sentence({"Length of " + bitsWords(row.number) + ": how many " + unit + " follow" +
                       (row.bias ? format(", less %u", row.bias) : "") + from,
                   row.range ? rangeWords(*row.range) : "", kept ? "encoders set it" : "no member keeps it",
                   printedWords(row)});
}

// All phrases of a member in the order in which they are read.
std::string memberWords(const Type& type, const Row& row)
{
  if (row.mark == Mark::Length) return lengthWords(row);
  bool list = row.often.end != kL3NoList;
  return sentence({kindWords(row.what, type.module), list ? oftenWords(row.often) : "", rangedWords(row),
                   whenWords(row), groupWords(type, row), printedWords(row), selectorWords(type, row)});
}

static std::string presenceOf(const Row& row)
{
  if (row.mark == Mark::Release) return format("The group of release %u is there", row.number);
  return "The group " + row.name + " is there: without this bit none of its elements is encoded or printed";
}

// A caller who fills a record looks here for the bits that have to be set together: an element of a group is encoded
// only if the group's bit is set as well.
std::string presenceWords(const Type& type, int bit)
{
  for (auto& row : type.rows) {
    if (row.mBit != bit) continue;
    if (row.mark == Mark::Group || row.mark == Mark::Release) return presenceOf(row) + ".";
    std::string element = (row.name.empty() ? "The value" : row.name) + " is there";
    if (row.isIei()) element += ", " + whenWords(row);
    if (row.groupBit < 0) return element + ".";
    return element + "; set " + type.mNames[static_cast<size_t>(row.groupBit)] + " with it.";
  }
  return "";
}

// A decoder keeps the count that came on the wire, which may be larger than the array behind it.
static std::string overrunWords(const std::string& scope)
{
  std::string room = capacityName(scope);
  return "A decoder may set it above " + room + " (RTX_E_CONSTRAINT, non-fatal, status 0), so loops must stop at " +
         room + ".";
}

std::string entryCountWords(const Often& often, const std::string& scope)
{
  return often.bounded() ? "Number of entries. " + overrunWords(scope) : "Number of entries.";
}

std::string entriesWords(const Type& type, const Row& row)
{
  std::string what = kindWords(row.what, type.module);
  if (row.often.bounded()) return "The entries: " + what + ".";
  return "The entries, on the context's heap, null if there are none: " + what + ".";
}

// Counts of bits are cut to the array, those of octets are not.
std::string sizeWords(const What& what, const std::string& scope)
{
  bool bits = what.kind == WhatKind::BitString;
  std::string number = bits ? "Number of bits" : "Number of octets";
  if (!what.max) return number + ".";
  return bits ? number + ", at most " + capacityName(scope) + "." : number + ". " + overrunWords(scope);
}

std::string contentWords(const What& what)
{
  std::string content = what.kind == WhatKind::BitString ? "The bits, the first one in the highest bit" : "The octets";
  return content + (what.max ? "." : ", on the context's heap, null if there are none.");
}

// Alternatives of a choice are numbered from 1 in the order of their rows; 0 is none of them. Messages have theirs in
// the definition, where they must not change: callers have compiled them in.
unsigned tagOf(const What& what, const Row& alternative)
{
  if (what.kind == WhatKind::Body) return alternative.tag;
  return static_cast<unsigned>(&alternative - what.alternatives.data()) + 1;
}

// Has the record nothing for this alternative?
static bool isEmpty(const What& what, const Row& alternative)
{
  if (what.kind == WhatKind::Body) return !alternative.what.type;
  return alternative.what.kind == WhatKind::Nothing;
}

// "2 points", "1 none (nothing in u)", with ties, so that number and name stay in one line.
static std::string numberWords(const What& what, const Row& row)
{
  std::string empty = isEmpty(what, row) ? std::string(" (nothing") + kTie + "in" + kTie + "u)" : "";
  return std::to_string(tagOf(what, row)) + kTie + row.name + empty;
}

// With a selecting field in front of the choice encoders go by the field and not by t, unless the encoder is by hand.
std::string tagWords(const Type& type, const What& what, const std::string& scope)
{
  bool body = what.kind == WhatKind::Body, byField = what.select == kL3SelectFields && type.encodeFile.empty();
  std::vector<std::string> numbers;
  for (auto& row : what.alternatives) numbers.push_back(numberWords(what, row));
  std::string words = std::string(body ? "Number of the message: " : "Number of the alternative: ") +
                      joined(numbers, ", ", ", ") + "; 0 for none. Its constants begin with " + scope + "_t_.";
  if (!body && byField) words += " Encoders go by " + joined(what.fields, ", ", " and ") + " and not by t.";
  return words;
}

std::string unionWords(const What& what)
{
  if (what.kind == WhatKind::Body) return "The message whose number is t; pointers lead to the context's heap.";
  return "The alternative whose number is t.";
}

std::string alternativeWords(const Type& type, const What& what, const Row& row)
{
  if (what.kind == WhatKind::Body)
    return format("t %u, message type 0x%02X: ", row.tag, row.msgType) + title(*row.what.type, type.module) +
           (row.inlined ? ", by value." : ".");
  std::string number = what.untagged ? "" : format("t %u: ", tagOf(what, row));
  return number + memberWords(type, row);
}

std::string capacityWords(const What& what, const Often& often)
{
  if (often.bounded()) return "Entries that elem has room for.";
  return what.kind == WhatKind::BitString ? "Bits that data has room for." : "Octets that data has room for.";
}

std::string tagConstantsWords(const Type& type, const std::string& member)
{
  return "Values of " + (member.empty() ? "t" : member + ".t") + " in " + type.full + ".";
}

std::string tagConstantWords(const Type& type, const What& what, const Row& row)
{
  if (isEmpty(what, row)) return "u holds nothing.";
  if (what.kind == WhatKind::Body) return "u.obj_" + row.member + ": " + title(*row.what.type, type.module) + ".";
  return "u." + row.member + ".";
}

std::string messageTypeWords(const Type& pdu, const What& what, const Row& message)
{
  std::string under =
      what.fields.size() < 2 ? "" : format("; under %s %u", what.fields[0].c_str(), message.discriminator);
  return (message.what.type ? title(*message.what.type, pdu.module) : "No body") + under + ".";
}

// Doxygen wants @file on a line of its own, so it is put in when the words are in lines.
std::string fileComment(const Module& module)
{
  std::string lines = commentLines(
      0,
      "Records and operations of module " + module.name + " (" + module.spec +
          "). Decoders take the storage that records point to from the context's heap. It lives until the heap is "
          "freed or reset, and nothing in it is freed singly. Members stand in the order of the standard. Constants "
          "give the numbers of "
          "alternatives (..._t_...), message types (..._msgType_...) and the room of arrays (..._capacity). A "
          "decoder that returns 0 may have found values outside their bounds: rtxErrCheckNonFatal says whether it has. "
          "A length "
          "that runs past the input may leave the cursor behind its end: buffer.byteIndex is then above buffer.size. "
          "Generated; change the definitions instead.");
  return lines.insert(lines.find(' ') + 1, "@file\n *  ");
}

// A type that is one thing has no member to say it, so the words of its only element stand here.
std::string typeWords(const Type& type)
{
  std::string words = type.name + ": " + type.module->spec + ", " + type.clause + ".";
  if (type.msgType >= 0) words += format(" Message type 0x%02X.", type.msgType);
  if (type.kind == Kind::Enum || type.kind == Kind::Names) words += " " + bitsWords(type.bits) + ".";
  if (type.kind != Kind::Bare && !type.has("bare")) return words;
  words += " " + memberWords(type, type.rows.back());
  return type.rows.front().mark == Mark::Length ? words + " " + lengthWords(type.rows.front()) : words;
}

std::string enumeratorWords(const std::string& name)
{
  return "Prints as \"" + name + "\".";
}

// Does a value hold a string of octets or bits, itself or in a part? When the octets of such a string end too early,
// the failure is recorded and decoding goes on, so that the status is that of what comes behind it.
static bool holdsString(const What& what)
{
  if (what.kind == WhatKind::Octets || what.kind == WhatKind::BitString || what.kind == WhatKind::Body) return true;
  auto holds = [](const Row& row) { return holdsString(row.what); };
  if (std::any_of(what.alternatives.begin(), what.alternatives.end(), holds)) return true;
  return what.type && std::any_of(what.type->rows.begin(), what.type->rows.end(), holds);
}

static bool holdsString(const Type& type)
{
  return std::any_of(type.rows.begin(), type.rows.end(), [](const Row& row) { return holdsString(row.what); });
}

// What a caller may take from the status; for types with strings also where to ask for what it does not say.
static std::string statusWords(const Type& type, const char* failed)
{
  if (!holdsString(type)) return " Returns 0 or a negative status.";
  return std::string(" Returns 0 or a negative status. A string ") + failed +
         " may leave 0: ask rtxErrGetStatus as well.";
}

// Top-level forms with a security header verify and decipher what stands behind it. Their status says less than that of
// others, and a header of its own tells what.
static std::string securityWords(const Type& type)
{
  auto isHeader = [](const Row& row) { return row.given == kL3ByHand && row.member == "secHdr"; };
  if (std::none_of(type.rows.begin(), type.rows.end(), isHeader)) return "";
  return " rt3gppNasSec.h says what a status of 0 leaves open about a protected message.";
}

std::string decoderWords(const Type& type)
{
  return "Decodes at the cursor." + statusWords(type, "that the input cuts short") + securityWords(type);
}

std::string encoderWords(const Type& type)
{
  return "Encodes at the cursor and stores the lengths into the record." + statusWords(type, "that finds no room");
}

std::string initialiserWords()
{
  return "Sets presence bits, t, u, counts, pointers and members named spare or ext to 0, and empties texts. Numbers, "
         "flags, enumerations, fixed octets and the content of other arrays stay as they are. Returns 0 or "
         "RTX_E_NULL_POINTER.";
}

} // namespace l3gen
