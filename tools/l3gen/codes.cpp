// Alternatives that are told by codes, as CSN.1 has them: `| 0 a`, `| 10 b`, `| LH,HL c`. resolve calls layOutCodes for
// each such choice. Codes that have one length and are L/H at the same places are read at once, as a number that
// selects like any other; codes that differ are read bit by bit, through a tree. Both ways each code ends up among the
// values of its alternative, so that the writers treat a choice by codes like one by a field.
//
// Two things are refused, because no decoder could tell the alternatives apart: a code that begins another one (`0`
// beside `01`), and a bit that is plain in one code and L/H in another at the same place (`0` beside `H`).
#include <algorithm>

#include "model.h"

namespace l3gen {

// Codes are kept in 32 bits; this is the longest one that is accepted.
static constexpr size_t kMaxCode = 16;

// Relative to the padding: what the wire has to hold depends on the place in the octet (docs/definition-language.md,
// Bits relative to the padding).
static bool isPadded(char bit)
{
  return bit == 'L' || bit == 'H';
}

// H is the bit that differs from the padding. It counts as 1, as in all other values relative to the padding.
static bool isOne(char bit)
{
  return bit == '1' || bit == 'H';
}

uint32_t codeValue(const std::string& code)
{
  uint32_t value = 0;
  for (char bit : code) value = value << 1 | isOne(bit);
  return value;
}

// "1LH" is 0x60000000: the second and the third bit.
uint32_t codeMask(const std::string& code)
{
  uint32_t mask = 0;
  for (size_t i = 0; i < code.size(); ++i) mask |= static_cast<uint32_t>(isPadded(code[i])) << (31 - i);
  return mask;
}

// "10" is 0x80000000. Codes of different lengths stay different values that way, since none begins another.
static uint32_t leftJustified(const std::string& code)
{
  return codeValue(code) << (32 - code.size());
}

static void checkCode(const Place& place, const std::string& code)
{
  if (code.empty() || code.size() > kMaxCode || code.find_first_not_of("01LH") != std::string::npos)
    refuse(place, "a code is up to 16 of 0, 1, L and H: '" + code + "'");
}

// The branch that a node takes for this bit of a code. The engine's walk asks of a bit relative to the padding whether
// it equals the padding's, so there L leads to branch 1, while L counts as 0 everywhere else.
static int branchOf(char bit)
{
  return isPadded(bit) ? bit == 'L' : bit == '1';
}

// Enters one code into the tree, from the root on. For `0 a`, `10 b`, `11 c` the nodes are
//
//   node 0   next[0] =  0, value[0] = 0x00000000     a ends here
//            next[1] =  1                            read on at node 1
//   node 1   next[0] =  0, value[0] = 0x80000000     b
//            next[1] =  0, value[1] = 0xC0000000     c
static void addCode(What& what, const Place& place, const std::string& code)
{
  size_t index = 0;
  for (size_t i = 0; i < code.size(); ++i) {
    bool last = i + 1 == code.size(), fresh = what.nodes[index].next[0] == -1 && what.nodes[index].next[1] == -1;
    if (fresh) what.nodes[index].padded = isPadded(code[i]);
    if (what.nodes[index].padded != isPadded(code[i]))
      refuse(place, "a bit that is both plain and L/H: '" + code + "'");
    int branch = branchOf(code[i]);
    int next = what.nodes[index].next[branch];
    // An end is already here (`0` before `01`), or the code ends where another one goes on (`01` before `0`).
    if (next == 0 || (last && next > 0)) refuse(place, "a code that begins another: '" + code + "'");
    if (last) {
      what.nodes[index].next[branch] = 0;
      what.nodes[index].value[branch] = leftJustified(code);
    } else if (next < 0) {
      what.nodes[index].next[branch] = next = static_cast<int>(what.nodes.size());
      what.nodes.emplace_back();
    }
    index = static_cast<size_t>(next);
  }
}

// Can the codes be read at once? Then there is one length to read and one mask of bits relative to the padding.
static bool allAlike(const What& what)
{
  const std::string& first = what.alternatives[0].codes[0];
  for (auto& alternative : what.alternatives)
    for (auto& code : alternative.codes)
      if (code.size() != first.size() || codeMask(code) != codeMask(first)) return false;
  return true;
}

// `else` gets the codes that the others leave, in rising order, so that the lowest one is written. From here on it is
// an alternative like all others. With at most 6 bits there are at most 64 codes; `0`, `10`, `else` is refused, since
// codes of different lengths do not say how long those left over are.
static void giveOtherCodes(What& what)
{
  Row* other = nullptr;
  std::vector<std::string> taken;
  for (auto& alternative : what.alternatives) {
    if (alternative.other && other) refuse(alternative.place, "'else' twice in one choice");
    if (alternative.other) other = &alternative;
    taken.insert(taken.end(), alternative.codes.begin(), alternative.codes.end());
  }
  if (!other) return;
  const Place& place = other->place;
  if (taken.empty()) refuse(place, "'else' without other codes");
  std::string code = taken[0];
  bool alike = std::all_of(taken.begin(), taken.end(), [&](const std::string& t) {
    return t.size() == code.size() && codeMask(t) == codeMask(code);
  });
  if (!alike || code.size() > 6) refuse(place, "'else' needs codes of one length and kind, of at most 6 bits");
  // Each number becomes a code that is L/H at the same places as the first one.
  for (unsigned value = 0; value < 1U << code.size(); ++value) {
    for (size_t i = 0; i < code.size(); ++i) {
      bool one = value >> (code.size() - 1 - i) & 1;
      code[i] = isPadded(code[i]) ? (one ? 'H' : 'L') : (one ? '1' : '0');
    }
    if (std::find(taken.begin(), taken.end(), code) == taken.end()) other->codes.push_back(code);
  }
  if (other->codes.empty()) refuse(place, "'else' has no code left");
  other->other = false;
}

// Leaves behind: What::bits and What::mask, if all codes are alike, else What::nodes; and the values of each
// alternative.
void layOutCodes(What& what)
{
  if (what.alternatives.empty()) return;
  for (auto& alternative : what.alternatives)
    for (auto& code : alternative.codes) checkCode(alternative.place, code);
  giveOtherCodes(what);
  // The tree is built in either case, because building it finds codes that begin others or stand twice.
  what.nodes.emplace_back();
  for (auto& alternative : what.alternatives) {
    if (alternative.codes.empty()) refuse(alternative.place, "an alternative without a code");
    for (auto& code : alternative.codes) addCode(what, alternative.place, code);
  }
  bool alike = allAlike(what);
  const std::string& first = what.alternatives[0].codes[0];
  if (alike) what.nodes.clear();
  what.bits = alike ? static_cast<unsigned>(first.size()) : 0;
  what.mask = alike ? codeMask(first) : 0;
  for (auto& alternative : what.alternatives)
    for (auto& code : alternative.codes) {
      uint32_t value = alike ? codeValue(code) : leftJustified(code);
      alternative.values.push_back({value, value});
    }
}

} // namespace l3gen
