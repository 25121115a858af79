// Writing of the direct decoders, l3DirectDec_...: one function for each form of content and of row, which the
// templates in direct.h call. A decoder returns the cursor behind the value, or kL3GaveUp at the first octet that is
// not plainly right. It stores into the record as it goes; what it has stored means nothing once it has given up.
#include "direct.h"

namespace l3gen {

// A writer with the length regions that are open in the code so far. They are numbered as they come (outer0, outer1);
// each keeps the bits that are used of its octet where it begins, and therefore where it ends.
struct DecodeWriter : DirectWriter {
  static constexpr bool kEncoder = false;
  std::vector<int> regions;
  using DirectWriter::DirectWriter;
};

// Sets octets to 0. The count is a template argument, so that the compiler knows it: it need not be a literal.
static std::string clear(const std::string& at, const std::string& octets)
{
  return "l3Clear<" + octets + ">(" + at + ");";
}

// Reads so many bits into `w`: by l3TakeAt where the place in the octet is known, else by l3Take.
static void take(DecodeWriter& w, unsigned bits)
{
  w.giveUpIf(w.used < 0 ? format("!l3Take<%u>(in, pos, end, w)", bits)
                        : format("!l3TakeAt<%u, %d>(in, pos, end, w)", bits, w.used));
  w.moved(bits);
}

// One load for each piece, and for each leaf its bits from the top down. Two leaves of 4 bits, the second an
// enumeration:
//
//   if (!l3TakeAt<8, 0>(in, pos, end, w)) return kL3GaveUp;
//   l3Set(r.a, (w >> 4 & 15U));
//   if (!l3IsMember(l3enum_T_E, (w & 15U))) return kL3GaveUp;
//   l3Set(r.b, (w & 15U));
static void leafRun(DecodeWriter& w, const std::vector<Leaf>& leaves)
{
  for (auto& piece : pieces(leaves)) {
    unsigned left = bitsOf(piece);
    take(w, left);
    for (size_t at = 0; at < piece.size();) {
      if (size_t flags = flagsAt(piece, at)) {
        left -= static_cast<unsigned>(flags);
        w.line("l3SetFlags<" + flagsOf(w.type, piece, at, flags) +
               format(">(&%s, w >> %u & %uU);", piece[at].member.c_str(), left, (1U << flags) - 1));
        at += flags;
        continue;
      }
      const Leaf& leaf = piece[at++];
      left -= leaf.scalar.bits;
      std::string value = left ? format("(w >> %u & %lluU)", left, (1ULL << leaf.scalar.bits) - 1)
                               : format("(w & %lluU)", (1ULL << leaf.scalar.bits) - 1);
      w.giveUpIf(outside(leaf.scalar, leaf.range, value, false));
      w.line("l3Set(" + leaf.member + ", " + value + ");");
    }
  }
}

// The count of a string's octets, as a new variable.
static std::string count(DecodeWriter& w, const What& what)
{
  std::string n = w.fresh("n");
  if (what.from == kL3OwnLength) take(w, what.bits);
  std::string value = what.from == kL3OwnLength ? "w"
                      : what.from == kL3ByField ? fieldOf(w.type, what.count.field)
                                                : "(end - pos) >> 3";
  w.line("size_t " + n + " = " + value + ";");
  return n;
}

// An array in the record is copied into, a string on the heap is allocated; both only at an octet's start.
static void octets(DecodeWriter& w, const What& what, const std::optional<Range>& range, const std::string& member)
{
  if (what.from == kL3Fixed) {
    w.giveUpIf(format("!l3Octets(in, pos, end, %s, %u)", member.c_str(), what.octets));
    w.used = 0;
    return;
  }
  std::string n = count(w, what);
  w.used = 0; // whole octets alone are read directly
  if (range) w.giveUpIf(outside(*range, n));
  const char *m = member.c_str(), *c = n.c_str();
  if (!what.max) {
    w.giveUpIf(format("!l3DirectHeap(source, pos, end, %s, %s.numocts, %s.data)", c, m, m));
    return w.line("pos += " + n + " * 8;");
  }
  w.giveUpIf(format("%s > %u || !l3Octets(in, pos, end, %s.data, %s)", c, what.max, m, c));
  w.line("l3Set(" + member + ".numocts, " + n + ");");
}

// All bits to the end of the region, on the heap: other bit strings are left to the walk (whatFits).
static void bitString(DecodeWriter& w, const std::string& member)
{
  w.used = -1;
  w.giveUpIf("!l3DirectBits(source, pos, end, " + member + ".numbits, " + member + ".data)");
  w.line("pos = end;");
}

// Characters on the heap with a zero behind them; labels are joined by dots while they are copied.
static void text(DecodeWriter& w, const What& what, const std::optional<Range>& range, const std::string& member)
{
  std::string n = count(w, what);
  if (range) w.giveUpIf(outside(*range, n));
  w.used = 0;
  const char *c = n.c_str(), *labels = what.labels ? "true" : "false";
  w.giveUpIf(format("!l3DirectText(source, pos, end, %s, %s, %s)", c, labels, member.c_str()));
  w.line("pos += " + n + " * 8;");
}

// The number that selects, as a new variable. Bits that are only looked at (peek) are given back to the cursor.
static void readSelector(DecodeWriter& w, const What& what, const std::string& value)
{
  if (what.select == kL3SelectFields) return w.line("uint32_t " + value + " = " + selectorOf(w.type, what) + ";");
  int before = w.used;
  take(w, what.bits);
  if (what.select == kL3SelectPeek) {
    w.line(format("pos -= %u;", what.bits));
    w.used = before;
  }
  w.line("uint32_t " + value + " = static_cast<uint32_t>(w)" +
         (what.select == kL3SelectPeek ? format(" & %uU;", what.mask) : ";"));
}

// A switch over the selector. Each case sets t and codes its alternative; what no case takes gives up. A record is
// cleared first, because its presence bits and counts are set one by one.
static void choice(DecodeWriter& w, const What& what, const std::string& member)
{
  std::string value = w.fresh("choice"), place = what.untagged ? member : member + ".u";
  readSelector(w, what, value);
  w.line("switch (" + value + ") {");
  cases(w, what, true, [&](const Row& alternative, unsigned tag) {
    w.out += casesOf(alternative) + "{\n";
    if (!what.untagged) w.line(format("%s.t = %u;", member.c_str(), tag));
    std::string inner = place + "." + alternative.member;
    bool alone = isRecord(alternative.what) && alternative.often.end == kL3NoList;
    if (alone) w.line(clear("&" + inner, "sizeof " + inner));
    element(w, alternative.what, alternative.often, alternative.range, inner);
  });
}

// Clears a new message, but for the entries of inline lists in it: of 15 KB some hundred octets remain. The entries
// that are decoded are cleared one by one. Entries in unions are not looked for. `from` is how far the message is
// cleared, as an expression; for a list `l` of entries at offset 40 that has 800 octets the text is, with offsetof for
// the numbers
//
//   l3Clear<40 - (0)>(octets + (0));
//   l3Clear<sizeof(T_M) - (40 + 800)>(octets + (40 + 800));
static void clearAround(DecodeWriter& w, const Type& named, const std::string& path, const std::string& root,
                        std::string& from)
{
  const Type& type = aliased(named);
  for (auto& row : type.rows) {
    bool bare = row.member.empty() || type.kind == Kind::Bare || type.has("bare");
    std::string place = bare ? path : (path.empty() ? "" : path + ".") + row.member;
    if (row.often.bounded() && isRecord(row.what)) {
      std::string entries = (place.empty() ? "" : place + ".") + "elem";
      std::string at = format("offsetof(%s, %s)", root.c_str(), entries.c_str());
      w.line(clear("octets + (" + from + ")", at + " - (" + from + ")"));
      from = at + format(" + sizeof(static_cast<%s*>(nullptr)->%s)", root.c_str(), entries.c_str());
    } else if (row.often.end == kL3NoList && isRecord(row.what)) {
      clearAround(w, *row.what.type, place, root, from);
    }
  }
}

// Storage for a message on the context's heap, which is freed again if the trial is given up.
static void newMessage(DecodeWriter& w, const Type& type)
{
  const char* f = type.full.c_str();
  w.giveUpIf(format("!(message = l3DirectRoom(*in.call, sizeof(%s)))", f));
  w.line("uint8_t* octets = static_cast<uint8_t*>(message);");
  std::string from = "0";
  clearAround(w, type, "", type.full, from);
  w.line(clear("octets + (" + from + ")", format("sizeof(%s) - (%s)", f, from.c_str())));
}

// A switch over discriminator and message type, as one number if there are both: 126 << 16 | 0x41.
static void body(DecodeWriter& w, const What& what, const std::string& member)
{
  std::string message = fieldOf(w.type, what.fields.back());
  std::string value = what.fields.size() == 2 ? fieldOf(w.type, what.fields[0]) + " << 16 | " + message : message;
  w.line("void* message = nullptr;\n  switch (" + value + ") {");
  for (auto& row : what.alternatives) {
    uint32_t under = what.underOnly ? what.under : row.discriminator;
    w.out += format("case %uU:\n", what.fields.size() == 2 ? under << 16 | row.msgType : row.msgType);
    w.line(format("%s.t = %u;", member.c_str(), row.tag));
    if (row.inlined) {
      int before = w.used;
      element(w, row.what, Often{}, {}, member + ".u.obj_" + row.member);
      w.used = before;
    } else if (row.what.type) {
      const Type& type = *row.what.type;
      w.out += "{\n";
      newMessage(w, type);
      w.line(member + ".u.any = message;");
      w.go(directCall(type, "message", false));
      w.out += "}\n";
    }
    w.line("break;");
  }
  w.out += "default:\nreturn kL3GaveUp;\n";
  w.line("}");
}

// One entry of a list, counted by `n`. An entry that takes no octets would be read for ever where the region alone ends
// the list, so the decoder gives up if the cursor stands still; numbers always move it.
static void entry(DecodeWriter& w, const What& what, const Often& often, const std::optional<Range>& range,
                  const std::string& member, const std::string& n)
{
  std::string elem = member + ".elem[" + n + "]";
  const char *m = member.c_str(), *c = n.c_str();
  if (often.bounded())
    w.giveUpIf(format("%s >= %u", c, often.range->hi));
  else
    w.giveUpIf(
        format("%s == room%s && !l3DirectGrow(source, reinterpret_cast<void**>(&%s.elem), %s, room%s, sizeof *%s.elem)",
               c, c, m, c, c, m));
  if (isRecord(what)) w.line(clear("&" + elem, "sizeof " + elem));
  bool watch = often.end == kL3WhileRoom && leavesOf(what, range, elem).empty();
  if (watch) w.line("size_t before" + n + " = pos;");
  element(w, what, Often{}, range, elem);
  if (watch) w.giveUpIf("pos == before" + n);
  w.line("++" + n + ";");
}

// The head of the loop, by how the list ends. Behind `more-bit` the list also ends with the input; an encoder would
// write its last bit, so that the walk keeps what came.
static std::string loopHead(DecodeWriter& w, const Often& often, const std::string& n)
{
  switch (often.end) {
    case kL3WhileRoom:
      return "while (pos < end) {";
    case kL3Times:
      return format("while (static_cast<int64_t>(%s) < static_cast<int64_t>(%s) + %d) {", n.c_str(),
                    fieldOf(w.type, often.count.field).c_str(), often.count.bias);
    case kL3MoreBit:
      return "for (;;) {\nif (pos >> 3 >= in.octets) {\nif (l3DirectKeeps(in)) return kL3GaveUp;\nbreak;\n}\n"
             "if (!l3Take<1>(in, pos, end, w)) return kL3GaveUp;\nif (!w) break;";
    default:
      return "for (bool last" + n + " = false; !last" + n +
             ";) {\nif (!l3Take<1>(in, pos, end, w)) return kL3GaveUp;\nlast" + n + " = w != 0;";
  }
}

// After the entries their count is tested and stored. Heap lists grow as entries come, and the surplus is given back.
static void list(DecodeWriter& w, const What& what, const Often& often, const std::optional<Range>& range,
                 const std::string& member)
{
  std::string n = w.fresh("n");
  w.line("size_t " + n + " = 0;");
  if (!often.bounded()) w.line("size_t room" + n + " = 0;");
  w.line(loopHead(w, often, n));
  bool led = often.end == kL3MoreBit || often.end == kL3WhileExt;
  // From the second entry on the place is known only if each entry ends where it began.
  if (led || !keepsPlace(what)) w.used = -1;
  int before = w.used;
  entry(w, what, often, range, member, n);
  w.used = before;
  w.line("}");
  if (often.range) w.giveUpIf(outside(*often.range, n));
  w.line("l3Set(" + member + ".n, " + n + ");");
  if (often.bounded()) return;
  const char *m = member.c_str(), *c = n.c_str();
  w.line(format("if (!%s) %s.elem = nullptr;", c, m));
  w.line(format("l3DirectCut(source, reinterpret_cast<void**>(&%s.elem), %s, room%s, sizeof *%s.elem);", m, c, c, m));
}

// Reads a length and opens its region: `end` is drawn in, and the old one kept in outerN. A region that goes beyond the
// one around it gives up, and one whose length an encoder would write in another way, if that is to be kept.
static void length(DecodeWriter& w, const Row& row)
{
  take(w, row.number);
  if (row.words.count("zero-widens")) w.giveUpIf("!w && (l3DirectKeeps(in) || !l3Take<8>(in, pos, end, w))");
  bool cut = row.number == 16 && !row.countsBits && !row.words.count("full-length");
  if (cut) w.giveUpIf("w > 255 && l3DirectKeeps(in)");
  if (row.range) w.giveUpIf(outside(*row.range, "w"));
  if (!row.member.empty()) w.line("l3Set(r." + row.member + ", w);");
  std::string bits = row.countsBits ? "w" : "w * 8";
  if (row.fromOctet) bits += " + (8 - pos % 8) % 8";
  size_t k = w.regions.size();
  w.line(format("size_t outer%zu;\nif (!l3Open(pos, end, %s, outer%zu)) return kL3GaveUp;", k, bits.c_str(), k));
  w.regions.push_back(row.fromOctet ? 0 : row.countsBits ? -1 : w.used);
}

// Sets the presence bit of the row, and that of its group.
static void mark(DecodeWriter& w, const Row& row)
{
  if (row.mBit < 0) return;
  w.line("r.m." + w.type.mNames[static_cast<size_t>(row.mBit)] + " = 1;");
  if (row.groupBit >= 0) w.line("r.m." + w.type.mNames[static_cast<size_t>(row.groupBit)] + " = 1;");
}

// The test for room in front of fields. In a region of whole octets any room is room for what lies within an octet; the
// test is then the same as that of the load behind it, so that the compiler leaves one of them out.
static std::string roomFor(const DecodeWriter& w, const std::vector<Leaf>& leaves)
{
  bool octets = !w.regions.empty() && w.regions.back() == 0 && w.used >= 0;
  unsigned bits = octets && !leaves.empty() ? bitsOf(pieces(leaves).front()) : 0;
  return bits && static_cast<unsigned>(w.used) + bits <= 8 ? format("end - pos >= %u", bits) : "pos < end";
}

// The test that a row is passed over by, and what leads the element.
static std::string guard(const DecodeWriter& w, const Row& row)
{
  std::string given = row.given == kL3GivenMore ? "!ext" : row.cond.empty() ? "" : conditionOf(w.type, row);
  if (!row.room) return given;
  auto leaves = extended(w.type, row, "ext");
  if (leaves.empty() && row.lead == kL3NoLead && row.often.end == kL3NoList)
    leaves = leavesOf(row.what, row.range, memberOf(w.type, row));
  return roomFor(w, leaves) + (given.empty() ? "" : " && " + given);
}

// A row that is there on a condition, behind a bit, or both:
//
//   if (pos < end && cond) {                            room, if or when, or more: !ext
//     if (!l3TakeAt<1, 0>(in, pos, end, w)) return kL3GaveUp;      0/1: its bit
//     if (w) {
//       ...                                             the content
//       r.m.xPresent = 1;
//     }
//   }
static void conditional(DecodeWriter& w, const Row& row)
{
  std::string test = guard(w, row);
  int before = w.used;
  bool always = test.empty();
  w.line(test.empty() ? "{" : "if (" + test + ") {");
  bool bit = row.lead == kL3LeadBit, ext = row.lead == kL3LeadExt;
  auto leaves = extended(w.type, row, "ext");
  if (leaves.empty() && (bit || (ext && !ownBits(row)))) take(w, 1);
  if (leaves.empty() && ext && !ownBits(row)) w.line("ext = w != 0;");
  int led = w.used;
  if (bit) w.line("if (w) {");
  if (leaves.empty())
    element(w, row.what, row.often, row.range, memberOf(w.type, row));
  else
    leafRun(w, leaves);
  if (ownBits(row)) w.line("ext = true;");
  mark(w, row);
  if (bit) {
    w.line("}");
    w.maybeFrom(led);
  }
  // The rest of the extension group: octets that a later edition has added are passed over, or kept by the walk.
  if (row.extLast)
    w.line("while (!ext) {\nif (l3DirectKeeps(in) || !l3Take<8>(in, pos, end, w)) return kL3GaveUp;\next = w >> 7;\n}");
  // An encoder writes the bit also where a shorter element has none.
  if (row.room && bit)
    w.line(std::string("} else if (") + (row.cond.empty() ? "" : "pos >= end && ") +
           "l3DirectKeeps(in)) {\nreturn kL3GaveUp;\n}");
  else
    w.line("}");
  if (!always) w.maybeFrom(before);
}

// Fields that share octets, in a region of whole octets: all are there if the first one is. False: no such fields.
static bool roomRun(DecodeWriter& w, const std::vector<const Row*>& rows, size_t& at)
{
  bool octets = !w.regions.empty() && w.regions.back() == 0;
  std::vector<Leaf> leaves;
  size_t end = octets ? sharedOctet(w, rows, at, leaves) : at;
  if (end == at) return false;
  int before = w.used;
  w.line("if (" + roomFor(w, leaves) + ") {");
  leafRun(w, leaves);
  for (; at < end; ++at) mark(w, *rows[at]);
  w.line("}");
  w.maybeFrom(before);
  return true;
}

// `barred` keeps all later groups out once one has not fitted.
static void enterRelease(DecodeWriter& w, const std::string& mark, const Row& row)
{
  w.line(format("if (l3Enter(in, end - pos, %u, %u, barred)) {", row.number, row.fit));
  w.line(mark + " = 1;");
}

// Behind a group that ends with its region nothing is read, and the region stays open.
static void leaveRelease(DecodeWriter& w)
{
  if (!w.type.has("early-return") || w.regions.empty()) return;
  w.line(format("if (pos == end) return l3DirectLeave(source, pos, end, outer%zu);", w.regions.size() - 1));
}

// Does the last row read all that is left in its region?
static bool readsAll(const Type& type)
{
  if (type.rows.empty()) return false;
  const Row& last = type.rows.back();
  if (last.often.end == kL3WhileRoom) return !last.room && last.given == kL3GivenAlways;
  bool string =
      last.what.kind == WhatKind::Octets || last.what.kind == WhatKind::Text || last.what.kind == WhatKind::BitString;
  return last.plain() && last.often.end == kL3NoList && string && last.what.from == kL3Rest && !last.what.max;
}

// From the innermost region outwards: the cursor goes to the region's end, and `end` back to that of the one around. If
// elements are to be kept that no row knows, the walk has to do it.
static void closeLengths(DecodeWriter& w)
{
  bool surplus = !readsAll(w.type);
  while (!w.regions.empty()) {
    // Up to seven bits of 0 fill a region of whole octets.
    bool filled = w.regions.back() == 0;
    std::string kept = filled ? " && l3DirectSurplus(source, pos, end)" : "";
    if (surplus) w.giveUpIf("pos != end && l3DirectKeeps(in)" + kept);
    surplus = true; // in the regions around the innermost
    w.used = w.regions.back();
    w.regions.pop_back();
    w.line(format("l3Shut(pos, end, outer%zu);", w.regions.size()));
  }
}

// The elements of one IEI, in their order: the first whose turn has not passed takes the octets. If all have passed,
// the form of the last one tells how the octets are passed over. For one element:
//
//   case 0x12:
//     if (order < 3) {
//       order = 3;
//       ...                                             the content
//       r.m.xPresent = 1;
//     } else if ((pos = l3DirectLate(source, pos, end, kL3ByLength)) == kL3GaveUp) {
//       return kL3GaveUp;
//     }
//     break;
static void option(DecodeWriter& w, const std::vector<const Row*>& options, size_t first)
{
  const Row& row = *options[first];
  w.out += format("case 0x%02X:\n", row.number);
  // A whole octet of the value of a half one hits this case as well.
  if (row.half || row.number < 16) w.giveUpIf(row.half ? "!half" : "half");
  std::string lead = "if";
  const Row* last = &row;
  for (size_t i = first; i < options.size(); ++i) {
    const Row& same = *options[i];
    if (same.number != row.number) continue;
    w.line(format("%s (order < %zu) {", lead.c_str(), i + 1));
    w.from(same);
    if (same.standard.kind == Standard::Absent) w.giveUpIf("l3DirectStandard(in)");
    w.line(format("order = %zu;", i + 1));
    w.used = row.half ? 4 : 0;
    element(w, same.what, same.often, same.range, memberOf(w.type, same));
    mark(w, same);
    lead = "} else if";
    last = &same;
  }
  uint32_t octets = 0;
  std::string skip = skipForm(*last, octets);
  std::string how = skip == "length" ? "kL3ByLength" : format("%u", skip == "nothing" ? 0 : octets);
  w.line("} else if ((pos = l3DirectLate(source, pos, end, " + how + ")) == kL3GaveUp) {\nreturn kL3GaveUp;\n}");
  w.line("break;");
}

// The loop over the optional elements of a message. The high half of an octet is looked at first: if it is a half-octet
// IEI the cursor moves by 4 bits and the value is in the lower half. `order` is the last element that was taken, from
// 1; an element out of its turn is passed over. What has no case is unknown, of a whole octet, and is passed over by
// the general rule.
static void options(DecodeWriter& w)
{
  auto all = optionRows(w.type);
  if (all.empty()) {
    w.giveUpIf(w.type.has("no-tail") ? "pos < end && l3DirectKeeps(in)" : "pos < end");
    return;
  }
  for (auto& name : selectingOptions(w.type)) {
    std::string path = "r";
    findField(w.type, name, &path);
    w.line("l3Set(" + path + ", 0);");
  }
  unsigned halves = 0;
  for (auto* row : all)
    if (row->half) halves |= 1U << row->number;
  w.line("unsigned order = 0;\nwhile (pos < end) {");
  w.giveUpIf("(pos & 7) || end - pos < 8");
  w.line("unsigned iei = in.data[pos >> 3];");
  w.line(format("bool half = 0x%04XU >> (iei >> 4) & 1;", halves));
  // What follows a locking shift is another codeset's: the walk follows it. Other shifts change nothing in a loop.
  if (w.type.has("shifts")) w.giveUpIf("!half && (iei & 0xF8) == 0x90 && (iei & 7)");
  w.line("pos += half ? 4 : 8;\nif (half) iei >>= 4;\nswitch (iei) {");
  for (size_t i = 0; i < all.size(); ++i) {
    bool first = true;
    for (size_t k = 0; k < i; ++k) first = first && all[k]->number != all[i]->number;
    if (first) option(w, all, i);
  }
  w.out += "default:\n";
  w.go(format("l3DirectUnknown(source, pos, end, iei, l3_%s, record, order)", w.type.full.c_str()));
  w.line("}\n}");
}

// The head of a coder, and the variables that all its lines use.
static void begin(DecodeWriter& w, const char* stem)
{
  const char* f = w.type.full.c_str();
  w.out = format("size_t %s%s(const L3Source& source, size_t pos, [[maybe_unused]] size_t end, void* record)\n{\n",
                 stem, f);
  // A copy, since the compiler must take what stores through `r` to change what `source` refers to.
  w.line("[[maybe_unused]] const L3Source in = source;");
  w.line(format("[[maybe_unused]] %s& r = *static_cast<%s*>(record);", f, f));
  w.line("[[maybe_unused]] uint64_t w = 0;");
}

// One decoder as a whole. Presence bits are cleared before the first row sets one.
std::string decodeDirect(const Type& type)
{
  DecodeWriter w(type);
  begin(w, "l3DirectDec_");
  w.line("[[maybe_unused]] bool ext = true, barred = false;");
  // What differs only where the region cuts it off is read alike where all of it is there; else the walk takes over.
  if (type.hasStandard() && !type.onlyEnds())
    w.line(
        format("if (l3DirectStandard(in)) return l3DirectType(source, pos, end, l3_%s, record);", type.full.c_str()));
  // All places in the octet that follow are reckoned from here, so a call from elsewhere must not go on.
  if (w.used >= 0) w.giveUpIf(w.used ? format("(pos & 7) != %d", w.used) : "pos & 7");
  if (type.mBits) w.line(clear("&r", std::to_string((type.mBits + 7) / 8)));
  // An early return comes before them.
  for (auto& row : type.rows)
    if (type.has("early-return") && row.what.kind == WhatKind::BitString)
      w.line(format("r.%s.numbits = 0;\nr.%s.data = nullptr;", row.member.c_str(), row.member.c_str()));
  rows(w);
  if (type.kind == Kind::Message) options(w);
  return indented(w.out + "return pos;\n}\n\n");
}

int decodeEndsAt(const Type& type, int began)
{
  return endOf<DecodeWriter>(type, began);
}

// The decoder of a form's body alone, for coders by hand that have read the header before it.
std::string decodeBodyDirect(const Type& type)
{
  DecodeWriter w(type);
  begin(w, "l3DirectDecBody_");
  const Row& row = type.rows.back();
  body(w, row.what, memberOf(type, row));
  return indented(w.out + "return pos;\n}\n\n");
}

} // namespace l3gen
