#include "view.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <string>
#include <vector>

#include "coding.h"
#include "hex.h"
#include "names.h"
#include "viewValue.h"
#include "words.h"

namespace {

constexpr size_t kOctetColumns = 5, kBitsColumns = 9;
constexpr size_t kMargin = kOctetColumns + 2 + kBitsColumns + 2;
constexpr size_t kValueColumn = 48;
constexpr size_t kLeastValue = 11; // columns that a value has in any case
constexpr size_t kLeastWidth = 40, kMostWidth = 200;
constexpr size_t kOctetBits = 8;
constexpr size_t kUsualLines = 64; // of a message
constexpr char kBehind[] = "(behind the last element)";

struct Note {
  std::string path, text;
  bool fatal;
  bool shown = false;
};

enum class Paint { plain, dim, name, value, bad };

struct Line {
  std::string octet, bits, name, value;
  Paint nameInk = Paint::plain;
  unsigned level = 0;
};

// An element that was kept unread.
struct Unread {
  size_t bit, bits; // where it stands
  std::string text; // "unknown 0x7A"
};

struct View {
  const ViewStyle& style;
  velnor3gpp_Session* session;
  velnor3gpp_Result result;
  std::vector<Note> notes;
  unsigned level = 0; // of containers around
  size_t next = 0;    // the first bit that no line has shown
  std::vector<Line> lines;
  std::vector<size_t> open;   // the lines of the containers around
  std::vector<Unread> unread; // in the order of the wire; those before `keptDone` are shown
  size_t keptDone = 0;
  uint64_t before = 0;        // the last number of the container
  size_t typeLine = SIZE_MAX; // of a message type whose message has not been shown
  unsigned typesNamed = 0;
};

} // namespace

static constexpr std::string_view kPlain = "\033[0m";

// Empty without colours.
static std::string_view inkOf(const View& view, Paint paint)
{
  static constexpr std::string_view kCodes[] = {"", "\033[2m", "\033[1m", "\033[36m", "\033[1;31m"};
  return view.style.colour ? kCodes[static_cast<size_t>(paint)] : std::string_view();
}

static void append(std::string& all, std::string_view ink, std::string_view text)
{
  bool inked = !ink.empty() && !text.empty();
  if (inked) all += ink;
  all += text;
  if (inked) all += kPlain;
}

// The bits of a field where they stand in their octet, dots for the others: 4 bits from bit 4 on of 0x57 are
// ".... 0111".
static std::string bitsInOctet(uint8_t octet, size_t first, size_t count)
{
  std::string text;
  for (size_t i = 0; i < kOctetBits; ++i) {
    if (i == 4) text += ' ';
    bool inside = i >= first && i < first + count;
    text += !inside ? '.' : octet >> (7 - i) & 1 ? '1' : '0';
  }
  return text;
}

// Up to four whole octets, or three and a sign that there are more.
static std::string shortHex(const uint8_t* octets, size_t count)
{
  if (count <= 3) return octetText(octets, count);
  return count == 4 ? plainHex(octets, 4) : plainHex(octets, 3) + "...";
}

static bool isInside(const View& view, size_t bit, size_t bits)
{
  size_t all = view.result.count * kOctetBits;
  return bits && bit < all && bits <= all - bit;
}

// Appends text that begins in column `start`, and in column `indent` where it goes on in another line. It breaks at
// blanks, and words that are longer than a line anywhere. Returns the column behind it.
static size_t appendFolded(std::string& all, std::string_view ink, std::string_view text, size_t start, size_t indent,
                           size_t width)
{
  for (;; start = indent) {
    size_t room = width - start;
    if (text.size() <= room) break;
    size_t end = text.rfind(' ', room);
    bool blank = end != std::string_view::npos && end;
    if (!blank) end = room;
    append(all, ink, text.substr(0, end));
    text.remove_prefix(blank ? end + 1 : end);
    all += '\n';
    all.append(indent, ' ');
  }
  append(all, ink, text);
  return start + text.size();
}

std::string folded(const ViewStyle& style, std::string_view text)
{
  std::string all;
  for (size_t end; !text.empty(); text.remove_prefix(std::min(end + 1, text.size()))) {
    end = std::min(text.find('\n'), text.size());
    appendFolded(all, "", text.substr(0, end), 0, 2, style.width);
    all += '\n';
  }
  return all;
}

// "   12  0001 ....  ", of kMargin columns.
static void appendMargin(std::string& all, std::string_view ink, const Line& line)
{
  all += ink;
  all.append(kOctetColumns - std::min(kOctetColumns, line.octet.size()), ' ');
  all += line.octet;
  all += "  ";
  all += line.bits;
  all.append(kBitsColumns + 2 - std::min(kBitsColumns, line.bits.size()), ' ');
  if (!ink.empty()) all += kPlain;
}

static void appendLine(const View& view, std::string& all, const Line& line)
{
  size_t width = view.style.width;
  size_t begin = std::min<size_t>(kMargin + 2 * line.level, width / 2);
  size_t column = std::min(kValueColumn, width - kLeastValue);
  appendMargin(all, inkOf(view, Paint::dim), line);
  all.append(begin - kMargin, ' ');
  size_t at = appendFolded(all, inkOf(view, line.nameInk), line.name, begin, begin + 2, width);
  if (!line.value.empty()) {
    size_t start = std::max(column, at + 2);
    if (start + std::min(line.value.size(), kLeastValue) > width) {
      all += '\n';
      at = 0;
      start = column;
    }
    all.append(start - at, ' ');
    appendFolded(all, inkOf(view, Paint::value), line.value, start, column, width);
  }
  all += '\n';
}

static void addLine(View& view, Line line)
{
  line.level = view.level;
  view.lines.push_back(std::move(line));
}

// The margin of a field: its octet, and its bits there or its octets. A field across octets that does not fill them
// has a line for each octet; those behind the first go to `more`. Of a long one, whole octets share a line.
static void place(const View& view, size_t bit, size_t bits, Line& line, std::vector<Line>& more)
{
  if (!isInside(view, bit, bits)) return;
  const uint8_t* octets = view.result.deciphered;
  size_t octet = bit / kOctetBits, first = bit % kOctetBits, end = bit + bits;
  line.octet = std::to_string(octet);
  if (!first && bits % kOctetBits == 0 && bits > kOctetBits) {
    line.bits = shortHex(octets + octet, bits / kOctetBits);
    return;
  }
  line.bits = bitsInOctet(octets[octet], first, bits);
  bool isLong = bits > 8 * kOctetBits;
  for (bit += kOctetBits - first; bit < end;) {
    octet = bit / kOctetBits;
    size_t whole = (end - bit) / kOctetBits;
    bool together = isLong && whole > 1;
    more.push_back({std::to_string(octet),
                    together ? shortHex(octets + octet, whole) : bitsInOctet(octets[octet], 0, end - bit), "", "",
                    Paint::plain, 0});
    bit += together ? whole * kOctetBits : kOctetBits;
  }
}

static void printPlaced(View& view, size_t bit, size_t bits, Line line)
{
  std::vector<Line> more;
  place(view, bit, bits, line, more);
  addLine(view, std::move(line));
  for (Line& next : more) addLine(view, std::move(next));
  if (isInside(view, bit, bits)) view.next = bit + bits;
}

static std::string_view nameOf(const velnor3gpp_Node* node)
{
  return node->name ? std::string_view(node->name, node->nameLength) : std::string_view();
}

// Members whose names mislead in these types.
static constexpr struct {
  std::string_view type, member, label;
} kLabels[] = {{"ExtEmergencyNumberList", "catValue", "EENLV"}, {"Non3GPPNetPolicies", "emergencyNum", "N3EN"}};
// Entries of extended bit rates are told apart by their places alone (TS 24.008, 10.5.6.5).
static constexpr const char* kRates[] = {"[0] maximum downlink",  "[1] guaranteed downlink", "[2] maximum uplink",
                                         "[3] guaranteed uplink", "[4] maximum downlink",    "[5] guaranteed downlink",
                                         "[6] maximum uplink",    "[7] guaranteed uplink"};

static std::string labelOf(const velnor3gpp_Node* node)
{
  for (const auto& known : kLabels)
    if (known.member == nameOf(node) && node->parent && velnor3gpp_nodeType(node->parent) &&
        known.type == factsOf(velnor3gpp_nodeType(node->parent)).shortName)
      return std::string(known.label);
  if (!node->name && node->parent && nameOf(node->parent) == "extBitRate" && node->index < std::size(kRates))
    return kRates[node->index];
  // An alternative that is called no more than that has its choice's name.
  if (nameOf(node) == "value" && node->parent && node->parent->kind == VELNOR3GPP_CHOICE && node->parent->name)
    return labelOf(node->parent);
  if (node->name) return asTitle(nameOf(node));
  return "[" + std::to_string(node->index) + "]";
}

// The name of a message behind its type, which stands in front of it. That of the whole is the result's: two messages
// can share a type.
static void nameMessage(View& view, const std::string& title)
{
  if (view.typeLine == SIZE_MAX) return;
  const std::string& name = view.typesNamed++ ? title : view.result.title;
  if (!name.empty()) view.lines[view.typeLine].value += "  " + name;
  view.typeLine = SIZE_MAX;
}

// A message has the standard's name, and so has an element whose own name says less than that ("Mobile identity" and
// "5GS mobile identity"). What says more ("Requested NSSAI") stays, with the standard's name behind it.
static void nameContainer(View& view, const velnor3gpp_Node* node, Line& line)
{
  line.name = labelOf(node);
  line.nameInk = Paint::name;
  if (node->kind == VELNOR3GPP_LIST)
    line.value = std::to_string(node->count) + (node->count == 1 ? " entry" : " entries");
  const velnor3gpp_Type* type = velnor3gpp_nodeType(node);
  if (!type) return;
  velnor3gpp_TypeFacts facts = factsOf(type);
  std::string title = facts.title, clause = facts.clause;
  if (facts.use == VELNOR3GPP_MESSAGE) nameMessage(view, title);
  size_t comma = clause.find(", ");
  if (comma != std::string::npos) clause.erase(0, comma + 2);
  bool says = facts.use == VELNOR3GPP_MESSAGE || lower(title).find(lower(line.name)) != std::string::npos;
  if (says && !title.empty())
    line.name = title;
  else if (!title.empty())
    line.value = title;
  if (!line.value.empty() && !clause.empty()) line.value += ", ";
  line.value += clause;
}

static std::string pathOf(const velnor3gpp_Node* node)
{
  char path[1024];
  size_t length = velnor3gpp_nodePath(node, path, sizeof path);
  return {path, std::min(length, sizeof path - 1)};
}

static void printNote(View& view, Note& note)
{
  note.shown = true;
  Line line;
  line.name = (note.fatal ? "!! " : "! ") + note.text;
  line.nameInk = Paint::bad;
  addLine(view, std::move(line));
}

static void printNotes(View& view, const velnor3gpp_Node* node)
{
  if (view.notes.empty()) return;
  std::string path = pathOf(node);
  for (Note& note : view.notes)
    if (!note.shown && !note.path.empty() && note.path == path) printNote(view, note);
}

// Bits that belong to no element: identifiers, lengths that records leave out, what tells alternatives apart.
static void printBetween(View& view, size_t end, const char* name)
{
  if (end <= view.next || !isInside(view, view.next, end - view.next)) return;
  Line line;
  line.name = name;
  line.nameInk = Paint::dim;
  printPlaced(view, view.next, end - view.next, std::move(line));
}

static void printUnread(View& view, const Unread& unread)
{
  Line line;
  line.name = unread.text;
  line.nameInk = Paint::bad;
  size_t octet = unread.bit / kOctetBits, count = unread.bits / kOctetBits;
  if (unread.bit % kOctetBits == 0 && count && isInside(view, unread.bit, unread.bits))
    line.value = octetText(view.result.deciphered + octet, count);
  if (unread.bit < view.next)
    addLine(view, std::move(line)); // padding and lengths that a field shows already
  else
    printPlaced(view, unread.bit, unread.bits, std::move(line));
}

// What stands between the last element and `end`: elements that were kept unread, in their places.
static void printUpTo(View& view, size_t end, const char* name)
{
  for (; view.keptDone < view.unread.size() && view.unread[view.keptDone].bit < end; ++view.keptDone) {
    const Unread& unread = view.unread[view.keptDone];
    printBetween(view, unread.bit, name);
    printUnread(view, unread);
  }
  printBetween(view, end, name);
}

// The identifier of an element has 8 bits, or 4 that share an octet with the element.
static bool isIdentifier(const velnor3gpp_Node* node, size_t bits)
{
  bool half = bits == kOctetBits / 2 && node->bitOffset % kOctetBits == kOctetBits / 2;
  const velnor3gpp_Type* around = node->parent ? velnor3gpp_nodeType(node->parent) : nullptr;
  return (half || bits == kOctetBits) && around && factsOf(around).use == VELNOR3GPP_MESSAGE;
}

static void printGap(View& view, const velnor3gpp_Node* node)
{
  if (!node->bits || node->bitOffset < view.next) return;
  size_t start = view.next; // the identifier of an element stands right in front of it
  for (size_t i = view.keptDone; i < view.unread.size() && view.unread[i].bit < node->bitOffset; ++i)
    start = view.unread[i].bit + view.unread[i].bits;
  bool option = isIdentifier(node, node->bitOffset - start);
  printUpTo(view, node->bitOffset, option ? "(element identifier)" : "(tells what follows)");
}

static int enter(View& view, const velnor3gpp_Node* node)
{
  if (!node->parent) return 0;
  if (node->kind == VELNOR3GPP_CHOICE && node->name) return 0; // its alternative says it
  printGap(view, node);
  Line line;
  nameContainer(view, node, line);
  if (isInside(view, node->bitOffset, node->bits)) line.octet = std::to_string(node->bitOffset / kOctetBits);
  bool closed = view.style.depth && view.level + 1 > view.style.depth;
  view.open.push_back(view.lines.size());
  if (closed) {
    printPlaced(view, node->bitOffset, node->bits, std::move(line));
    ++view.level;
    return 1;
  }
  addLine(view, std::move(line));
  printNotes(view, node);
  ++view.level;
  view.before = 0;
  return 0;
}

// Where no element inside has a place of its own (MCC and MNC share octets), the container shows the octets. An empty
// list has none: its bits are the next one's.
static void leave(View& view, const velnor3gpp_Node* node)
{
  Line& line = view.lines[view.open.back()];
  view.open.pop_back();
  --view.level;
  view.before = 0;
  bool empty = node->kind == VELNOR3GPP_LIST && !node->count;
  if (empty || !isInside(view, node->bitOffset, node->bits) || view.next > node->bitOffset) return;
  bool unread = view.keptDone < view.unread.size() && view.unread[view.keptDone].bit < node->bitOffset + node->bits;
  if (unread) return;
  std::vector<Line> more;
  place(view, node->bitOffset, node->bits, line, more);
  for (Line& next : more) addLine(view, std::move(next));
  view.next = node->bitOffset + node->bits;
}

// Bits of a value's field that are not the value's own stand in front of it: a presence or extension bit, a length.
static size_t bitsInFront(const velnor3gpp_Node* node)
{
  size_t own = node->kind == VELNOR3GPP_OCTETS ? node->count * kOctetBits
               : node->kind == VELNOR3GPP_BITS ? node->count
                                               : node->width;
  bool known = node->kind != VELNOR3GPP_TEXT && node->kind != VELNOR3GPP_NOTHING;
  return known && own < node->bits ? node->bits - own : 0;
}

static bool isShortMessage(const View& view)
{
  return std::string_view(factsOf(view.result.type).name).substr(0, 8) == "TS24011M";
}

// The record calls this half of an octet by what most protocols have there (TS 24.007, 11.2.3.1).
static void nameTransaction(uint64_t number, Line& line)
{
  line.name = "Transaction identity";
  line.value += "  " + std::to_string(number & 7) + (number & 8 ? ", to" : ", from") + " the side that chose it";
}

static void showValue(View& view, const velnor3gpp_Node* node)
{
  if (node->kind == VELNOR3GPP_NOTHING && nameOf(node) == "noValue") return;
  printGap(view, node);
  size_t bit = node->bitOffset, bits = node->bits, front = bitsInFront(node);
  if (front && isInside(view, bit, bits) && bit >= view.next) {
    bool text = node->kind == VELNOR3GPP_OCTETS || node->kind == VELNOR3GPP_BITS;
    printBetween(view, bit + front, text ? "(length)" : "(tells what follows)");
    bit += front;
    bits -= front;
  }
  Line line;
  line.name = node->name || node->parent ? labelOf(node) : asTitle(factsOf(view.result.type).shortName);
  bool inOctets = bits && bit % kOctetBits == 0 && isInside(view, bit, bits);
  line.value = valueText(node, inOctets, view.before);
  if (node->kind == VELNOR3GPP_NUMBER || node->kind == VELNOR3GPP_ENUMERATED) view.before = node->number;
  if (nameOf(node) == "skipInd" && isShortMessage(view)) nameTransaction(node->number, line);
  if (node->kind == VELNOR3GPP_NOTHING) nameMessage(view, line.name);
  if (nameOf(node) == "msgType") view.typeLine = view.lines.size();
  printPlaced(view, bit, bits, std::move(line));
  printNotes(view, node);
}

static int showNode(const velnor3gpp_Node* node, void* arg)
{
  View& view = *static_cast<View*>(arg);
  bool whole = !node->parent, passed = node->kind == VELNOR3GPP_CHOICE && node->name;
  if (node->step == VELNOR3GPP_ENTER) return enter(view, node);
  if (node->step == VELNOR3GPP_LEAVE) {
    if (!whole && !passed) leave(view, node);
    return 0;
  }
  showValue(view, node);
  return 0;
}

ViewStyle styleFor(const Output& out, const std::string& colour, unsigned depth)
{
  ViewStyle style;
  const char* none = getenv("NO_COLOR");
  const char* terminal = getenv("TERM");
  bool dumb = terminal && strcmp(terminal, "dumb") == 0;
  style.colour = colour == "always" || (colour == "auto" && out.isTerminal() && !(none && *none) && !dumb);
  style.depth = depth;
  struct winsize size = {};
  if (out.isTerminal() && ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col)
    style.width = std::clamp<size_t>(size.ws_col, kLeastWidth, kMostWidth);
  return style;
}

static void takeNotes(View& view)
{
  if (outcomeOf(view.session) == Outcome::kSealed) return;
  eachFinding(view.session, [&](const velnor3gpp_Finding& finding) {
    std::string text = findingText(finding);
    view.notes.push_back({finding.path, text, finding.fatal != 0});
  });
}

// Octets that come back although no member says them. What was read of them has its lines, so they are a note to these.
static void noteUnusual(View& view, const velnor3gpp_Kept& kept)
{
  std::string path = kept.path, text = kept.text;
  if (!path.empty() && *kept.element) path += '.';
  text += kept.regular ? ": an encoder would write " + octetText(kept.regular, kept.regularCount)
                       : ": an encoder would refuse it";
  view.notes.push_back({path + kept.element, text, false});
}

static void takeUnread(View& view)
{
  velnor3gpp_Kept kept = {};
  kept.size = sizeof kept;
  for (size_t i = 0; velnor3gpp_kept(view.session, i, &kept) == 0; ++i)
    if (kept.at == VELNOR3GPP_KEPT_OVER)
      noteUnusual(view, kept);
    else
      view.unread.push_back({kept.octet * kOctetBits + kOctetBits - kept.bit, kept.bits, kept.text});
  std::stable_sort(view.unread.begin(), view.unread.end(), [](auto& a, auto& b) { return a.bit < b.bit; });
}

// What a decoder that failed has not come to holds nothing that was read: its lines go, but for what was said there.
static void dropUnread(View& view)
{
  if (view.result.status >= 0) return;
  auto read =
      std::find_if(view.lines.rbegin(), view.lines.rend(), [](const Line& line) { return !line.octet.empty(); });
  view.lines.erase(
      std::remove_if(read.base(), view.lines.end(), [](const Line& line) { return line.nameInk != Paint::bad; }),
      view.lines.end());
}

static void printRest(View& view)
{
  dropUnread(view);
  view.level = 0;
  size_t all = view.result.count * kOctetBits;
  while (view.keptDone < view.unread.size()) printUpTo(view, view.unread[view.keptDone].bit + 1, kBehind);
  if (view.next < all) {
    Line line;
    bool aligned = view.next % kOctetBits == 0;
    line.name = kBehind;
    line.nameInk = Paint::dim;
    if (aligned) line.value = octetText(view.result.deciphered + view.next / 8, view.result.count - view.next / 8);
    printPlaced(view, view.next, all - view.next, std::move(line));
  }
  for (Note& note : view.notes)
    if (!note.shown) printNote(view, note);
}

void printView(Output& out, const ViewStyle& style, velnor3gpp_Session* session)
{
  View view{style, session, resultOf(session), {}, 0, 0, {}, {}, {}};
  view.lines.reserve(kUsualLines);
  takeNotes(view);
  takeUnread(view);
  velnor3gpp_visit(session, VELNOR3GPP_NAMES | VELNOR3GPP_POSITIONS, showNode, &view);
  printRest(view);
  std::string text;
  for (const Line& line : view.lines) appendLine(view, text, line);
  out.write(text);
}
