// Writing of the direct encoders, l3DirectEnc_...: the mirror of directDecode.cpp, function by function. An encoder
// returns the cursor behind the value, or kL3GaveUp if there is no room, a value does not fit its bits or bounds, or a
// pointer is null where octets should be. What it has written by then is written over by the walk.
#include "direct.h"

namespace l3gen {

// A writer with the lengths that are still open. Their place in the octets is filled with 0 and written over when what
// they count is complete.
struct EncodeWriter : DirectWriter {
  static constexpr bool kEncoder = true;
  std::vector<const Row*> open;
  using DirectWriter::DirectWriter;
};

// Writes the value's lower bits at the cursor.
static void put(EncodeWriter& w, unsigned bits, const std::string& value)
{
  std::string place = w.used < 0 ? format("l3Put<%u>", bits) : format("l3PutAt<%u, %d>", bits, w.used);
  w.giveUpIf("!" + place + "(data, pos, end, " + value + ")");
  w.moved(bits);
}

// Puts one leaf below those before it in `w`. The bits of a member that its width does not hold are gathered in `over`,
// so that one test serves all leaves of a piece.
static void leafValue(EncodeWriter& w, const Leaf& leaf)
{
  unsigned bits = leaf.scalar.bits;
  std::string value = "l3Number(" + leaf.member + ")";
  if (leaf.scalar.kind == WhatKind::Flag) value = leaf.member + " != 0";
  w.line("v = " + value + ";");
  if (leaf.scalar.kind != WhatKind::Flag && bits < leaf.store * 8) w.line(format("over |= v >> %u;", bits));
  w.giveUpIf(outside(leaf.scalar, leaf.range, "v", true));
  w.line(format("w = w << %u | v;", bits));
}

// Two leaves of 4 bits:
//
//   w = over = 0;
//   v = l3Number(r.a);
//   over |= v >> 4;
//   w = w << 4 | v;
//   ...                                                 the same for r.b
//   if (over) return kL3GaveUp;
//   if (!l3PutAt<8, 0>(data, pos, end, w)) return kL3GaveUp;
static void leafRun(EncodeWriter& w, const std::vector<Leaf>& leaves)
{
  for (auto& piece : pieces(leaves)) {
    w.line("w = over = 0;");
    for (size_t at = 0; at < piece.size();) {
      if (size_t flags = flagsAt(piece, at)) {
        w.line("v = l3Flags<" + flagsOf(w.type, piece, at, flags) + ">(&" + piece[at].member + ", over);");
        w.line(format("w = w << %zu | v;", flags));
        at += flags;
      } else {
        leafValue(w, piece[at++]);
      }
    }
    w.giveUpIf("over");
    put(w, bitsOf(piece), "w");
  }
}

// Count and pointer are the caller's, so both are looked at before anything is written.
static void octets(EncodeWriter& w, const What& what, const std::optional<Range>& range, const std::string& member)
{
  if (what.from == kL3Fixed) {
    w.giveUpIf(format("!l3PutOctets(data, pos, end, %s, %u)", member.c_str(), what.octets));
    w.used = 0;
    return;
  }
  std::string n = w.fresh("n");
  w.line("size_t " + n + " = " + member + ".numocts;");
  if (what.max) w.giveUpIf(format("%s > %u", n.c_str(), what.max));
  if (range) w.giveUpIf(outside(*range, n));
  if (!what.max) w.giveUpIf(n + " && !" + member + ".data");
  if (what.from == kL3OwnLength) {
    w.giveUpIf(format("%s >> %u", n.c_str(), what.bits));
    put(w, what.bits, n);
  }
  w.used = 0; // whole octets alone are written directly
  w.giveUpIf("!l3PutOctets(data, pos, end, " + member + ".data, " + n + ")");
  // Nothing may follow in this container: a decoder would take it for more of these octets.
  if (what.from == kL3Rest) w.line("sink.tail = true;");
}

static void bitString(EncodeWriter& w, const std::string& member)
{
  w.used = -1;
  w.giveUpIf("!l3DirectPutBits(sink, pos, " + member + ".data, " + member + ".numbits)");
  w.line("pos += " + member + ".numbits;");
}

// A null pointer is an empty text. Labels take an octet more than the text has: dots become lengths, and one is in
// front.
static void text(EncodeWriter& w, const What& what, const std::optional<Range>& range, const std::string& member)
{
  std::string n = w.fresh("n"), t = w.fresh("text");
  w.line("const char* " + t + " = " + member + " ? " + member + " : \"\";");
  w.line("size_t " + n + " = strlen(" + t + ");");
  if (what.labels) w.line("if (" + n + ") ++" + n + ";");
  if (range) w.giveUpIf(outside(*range, n));
  if (what.from == kL3OwnLength) {
    w.giveUpIf(format("%s >> %u", n.c_str(), what.bits));
    put(w, what.bits, n);
  }
  w.go("l3DirectPutText(sink, pos, " + t + ", " + (what.labels ? "true" : "false") + ")");
}

// By the selecting fields where there are any, since they are what a decoder will see; else by t.
static void choice(EncodeWriter& w, const What& what, const std::string& member)
{
  bool fields = what.select == kL3SelectFields;
  std::string place = what.untagged ? member : member + ".u";
  if (what.select == kL3SelectBits)
    put(w, what.bits, "(" + member + ".t - 1) & " + format("%uU", (1U << what.bits) - 1));
  w.line("switch (" + (fields ? selectorOf(w.type, what) : member + ".t") + ") {");
  cases(w, what, fields, [&](const Row& alternative, unsigned tag) {
    w.out += (fields ? casesOf(alternative) : format("case %u:\n", tag)) + "{\n";
    element(w, alternative.what, alternative.often, alternative.range, place + "." + alternative.member);
  });
}

// By t, whatever the message type in the header says.
static void body(EncodeWriter& w, const What& what, const std::string& member)
{
  w.line("switch (" + member + ".t) {");
  for (auto& row : what.alternatives) {
    w.out += format("case %u:\n", row.tag);
    if (row.inlined) {
      int before = w.used;
      element(w, row.what, Often{}, {}, member + ".u.obj_" + row.member);
      w.used = before;
    } else if (row.what.type) {
      w.giveUpIf("!" + member + ".u.any");
      w.go(directCall(*row.what.type, member + ".u.any", true));
    }
    w.line("break;");
  }
  w.out += "default:\nreturn kL3GaveUp;\n";
  w.line("}");
}

// More than 255 entries are left to the walk, as are entries without an array.
static void list(EncodeWriter& w, const What& what, const Often& often, const std::optional<Range>& range,
                 const std::string& member)
{
  std::string n = w.fresh("n"), i = w.fresh("i");
  const char *c = n.c_str(), *k = i.c_str();
  w.line("size_t " + n + " = " + member + ".n;");
  w.giveUpIf(n + " > 255");
  if (often.bounded()) w.giveUpIf(format("%s > %u", c, often.range->hi));
  if (often.range) w.giveUpIf(outside(*often.range, n));
  if (!often.bounded()) w.giveUpIf(n + " && !" + member + ".elem");
  w.line(format("for (size_t %s = 0; %s < %s; ++%s) {", k, k, c, k));
  bool led = often.end == kL3MoreBit || often.end == kL3WhileExt;
  if (led || !keepsPlace(what)) w.used = -1;
  int before = w.used;
  if (often.end == kL3MoreBit) put(w, 1, "1");
  if (often.end == kL3WhileExt) put(w, 1, i + " + 1 == " + n);
  element(w, what, Often{}, range, member + ".elem[" + i + "]");
  w.used = before;
  w.line("}");
  if (often.end == kL3MoreBit) put(w, 1, "0");
}

// The test by which an element is encoded: its condition for `when`, else its presence bit, and its group's.
static std::string present(const EncodeWriter& w, const Row& row)
{
  if (row.given == kL3GivenWhen) return conditionOf(w.type, row);
  if (row.mBit < 0) return "true";
  std::string bit = "r.m." + w.type.mNames[static_cast<size_t>(row.mBit)];
  return row.groupBit < 0 ? bit : "r.m." + w.type.mNames[static_cast<size_t>(row.groupBit)] + " && " + bit;
}

// The extension bit of a row: 0 if the next row of its group is there.
static std::string extension(const EncodeWriter& w, const Row& row)
{
  const Row& next = (&row)[1];
  return row.extLast || next.given != kL3GivenMore ? "1" : "!(" + present(w, next) + ")";
}

// A leading bit is written in any case, all else only if the element is there.
static void conditional(EncodeWriter& w, const Row& row)
{
  bool bit = row.lead == kL3LeadBit, ext = row.lead == kL3LeadExt;
  if (bit) put(w, 1, "(" + present(w, row) + ") ? 1 : 0");
  int before = w.used;
  w.line("if (" + present(w, row) + ") {");
  auto leaves = extended(w.type, row, "(" + (ext ? extension(w, row) : "") + ")");
  if (!leaves.empty()) {
    leafRun(w, leaves);
  } else {
    if (ext && !ownBits(row)) put(w, 1, extension(w, row));
    element(w, row.what, row.often, row.range, memberOf(w.type, row));
  }
  w.line("}");
  if (present(w, row) != "true") w.maybeFrom(before);
}

// Room for the length; closeLength fills it in. startN is where what it counts begins.
static void length(EncodeWriter& w, const Row& row)
{
  put(w, row.number, "0");
  w.line(format("size_t start%zu = pos;", w.open.size()));
  w.open.push_back(&row);
}

// Fields that share octets: all are there, or none. Some without the others are left to the walk.
static bool roomRun(EncodeWriter& w, const std::vector<const Row*>& rows, size_t& at)
{
  std::vector<Leaf> leaves;
  size_t end = sharedOctet(w, rows, at, leaves);
  if (end == at) return false;
  std::string there = w.fresh("there");
  unsigned count = static_cast<unsigned>(end - at);
  w.line(format("unsigned %s = l3Marks<%d, %u>(&r);", there.c_str(), rows[at]->mBit, count));
  at = end;
  int before = w.used;
  w.line(format("if (%s == %u) {", there.c_str(), (1U << count) - 1));
  leafRun(w, leaves);
  w.line("} else if (" + there + ") {\nreturn kL3GaveUp;\n}");
  w.maybeFrom(before);
  return true;
}

static void enterRelease(EncodeWriter& w, const std::string& mark, const Row&)
{
  w.line("if (" + mark + ") {");
}

// An early return is for decoders: an encoder goes on by the presence bits.
static void leaveRelease(EncodeWriter&) {}

// Writes the length over its place and stores it into the record, as the walk does.
static void closeLength(EncodeWriter& w)
{
  const Row& row = *w.open.back();
  w.open.pop_back();
  bool whole = row.words.count("full-length") != 0;
  w.giveUpIf(format("!l3Close<%u, %d, %s>(sink, pos, start%zu, count)", row.number, row.countsBits ? 1 : 8,
                    whole ? "true" : "false", w.open.size()));
  w.used = row.countsBits ? -1 : 0;
  if (!row.member.empty()) w.line("l3Set(r." + row.member + ", count);");
  if (row.range) w.giveUpIf(outside(*row.range, "count"));
}

static void closeLengths(EncodeWriter& w)
{
  while (!w.open.empty()) closeLength(w);
}

// Each optional element that is there: its IEI and its value. Behind octets to the end of the message none is written.
static void options(EncodeWriter& w)
{
  for (auto* row : optionRows(w.type)) {
    w.from(*row);
    w.line("if (sink.tail) return pos;\nif (" + present(w, *row) + ") {");
    w.giveUpIf(row->standard.kind == Standard::Absent ? "pos & 7 || l3DirectStandard(sink)" : "pos & 7");
    w.used = 0;
    put(w, row->half ? 4 : 8, format("0x%02X", row->number));
    element(w, row->what, row->often, row->range, memberOf(w.type, *row));
    w.line("}");
  }
}

// The head of a coder, and the variables that all its lines use: `v` is one value, `w` those that are stored together.
static void begin(EncodeWriter& w, const char* stem)
{
  const char* f = w.type.full.c_str();
  w.out = format("size_t %s%s(L3Sink& sink, size_t pos, void* record)\n{\n", stem, f);
  w.line("[[maybe_unused]] uint8_t* const data = sink.data;\n[[maybe_unused]] const size_t end = sink.end;");
  w.line(format("[[maybe_unused]] %s& r = *static_cast<%s*>(record);", f, f));
  w.line("[[maybe_unused]] uint64_t w = 0, v = 0, over = 0;");
}

// One encoder as a whole. The first test leaves calls that ask for the standard's form to the walk.
std::string encodeDirect(const Type& type)
{
  EncodeWriter w(type);
  begin(w, "l3DirectEnc_");
  w.line("[[maybe_unused]] size_t count = 0;");
  if (type.hasStandard())
    w.line(format("if (l3DirectStandard(sink)) return l3DirectPutType(sink, pos, l3_%s, record);", type.full.c_str()));
  if (w.used >= 0) w.giveUpIf(w.used ? format("(pos & 7) != %d", w.used) : "pos & 7");
  rows(w);
  if (type.kind == Kind::Message) options(w);
  return indented(w.out + "return pos;\n}\n\n");
}

int encodeEndsAt(const Type& type, int began)
{
  return endOf<EncodeWriter>(type, began);
}

// The encoder of a form's body alone, for coders by hand that have written the header before it.
std::string encodeBodyDirect(const Type& type)
{
  EncodeWriter w(type);
  begin(w, "l3DirectEncBody_");
  const Row& row = type.rows.back();
  body(w, row.what, memberOf(type, row));
  return indented(w.out + "return pos;\n}\n\n");
}

} // namespace l3gen
