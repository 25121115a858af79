// Alternatives told by codes of 0, 1, L and H: codes of one length and kind are read at once, others bit by bit through
// a tree. No code may begin another, and no bit may be plain in one code and L/H in another.
#include <algorithm>

#include "model.h"

namespace l3gen {

static constexpr size_t kMaxCode = 16;

static bool isPadded(char bit)
{
  return bit == 'L' || bit == 'H';
}

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

uint32_t codeMask(const std::string& code)
{
  uint32_t mask = 0;
  for (size_t i = 0; i < code.size(); ++i) mask |= static_cast<uint32_t>(isPadded(code[i])) << (31 - i);
  return mask;
}

static uint32_t leftJustified(const std::string& code)
{
  return codeValue(code) << (32 - code.size());
}

static void checkCode(const Place& place, const std::string& code)
{
  if (code.empty() || code.size() > kMaxCode || code.find_first_not_of("01LH") != std::string::npos)
    refuse(place, "a code is up to 16 of 0, 1, L and H: '" + code + "'");
}

// A branch of the tree: a bit relative to the padding counts as 1 where it equals it.
static int branchOf(char bit)
{
  return isPadded(bit) ? bit == 'L' : bit == '1';
}

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

static bool allAlike(const What& what)
{
  const std::string& first = what.alternatives[0].codes[0];
  for (auto& alternative : what.alternatives)
    for (auto& code : alternative.codes)
      if (code.size() != first.size() || codeMask(code) != codeMask(first)) return false;
  return true;
}

// `else` takes the codes that the others leave, in rising order, so that the lowest is written. They all have one
// length.
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

void layOutCodes(What& what)
{
  if (what.alternatives.empty()) return;
  for (auto& alternative : what.alternatives)
    for (auto& code : alternative.codes) checkCode(alternative.place, code);
  giveOtherCodes(what);
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
