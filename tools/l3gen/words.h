// The words of a line, and what a single word can be: a name, a number, a range, a condition. The reader (read*.cpp)
// alone uses this file. Every function refuses what it does not understand, at the place of the word; none looks at
// other lines, and none knows the types that names belong to: that is asked in resolve.cpp, when all files have been
// read.
//
// Three verbs recur. `peek` looks at a word, `accept` consumes it if it is the one that is wanted, and `take` consumes
// a word that must be there. Functions whose name begins with `take` (takeTitle, takeStandard, takeClause) remove what
// they understand from anywhere in the line, so that the others may read the rest from left to right.
#pragma once

#include <string>
#include <vector>

#include "model.h"

namespace l3gen {

// One word and the column, from 1, at which it begins in its line.
struct Word : std::string {
  int column = 1;
};

// A line that is being read from the left. Whoever takes a word leaves the column of `place` at it, so that a refusal
// that follows points to this word and not to the start of the line.
struct Words {
  Place place;
  std::vector<Word> list;
  // The column behind the last word, where a refusal points that misses one.
  int end = 1;
  // The number of the word that comes next.
  size_t at = 0;
  bool more() const { return at < list.size(); }
  // The word k places ahead, or "" behind the end of the line. Only looking at the next word (k = 0) moves the column.
  std::string peek(size_t k = 0)
  {
    if (k == 0) place.column = more() ? list[at].column : end;
    return at + k < list.size() ? static_cast<const std::string&>(list[at + k]) : "";
  }
  // `wanted` is what the refusal asks for: take("a width") says "expected a width at the end of the line".
  std::string take(const char* wanted)
  {
    peek();
    if (!more()) refuse(place, std::string("expected ") + wanted + " at the end of the line");
    return list[at++];
  }
  bool accept(const char* word)
  {
    if (peek() != word) return false;
    ++at;
    return true;
  }
};

// words.cpp. The text itself if it is a name, else a refusal: `M x"y bits 8`.
const std::string& checkedName(const Place& place, const std::string& name);
// Decimal or 0x..., of at most 32 bits. Nothing may follow: `bits 8x` is refused.
uint32_t number(const Place& place, const std::string& text);
// Does the word begin like `1..9`? Then what is wrong with the rest of it is a fault of a range.
bool isRange(const std::string& text);
// `1..9`, or one number, which is a range of one. `9..1` is refused.
Range range(const Place& place, const std::string& text);
// The parts between the separators; nothing is refused here, so parts may be empty: ",a" has two.
std::vector<std::string> split(const std::string& text, char by);
// `1,4..6`.
std::vector<Range> ranges(const Place& place, const std::string& text);
// `a=1,2&b`, see Term.
std::vector<Term> condition(const Place& place, const std::string& text);
// A width or another small count, from 1 to `most`.
unsigned bitCount(const Place& place, const std::string& text, unsigned most);

// A message type, of 8 bits at most (TS 24.007, 11.2.3.2).
uint32_t messageType(Words& w);

// readRow.cpp: one row.
void readLength(Words& w, Row& row);
Standard takeStandard(Words& w);
void refuseStandard(const Place& place, const Standard& standard, bool fits);
Row readStandardRow(Words& w);
Row readRow(Words& w);
void takeTitle(Words& w, std::string& title, std::string& direction);
Row readAlternative(Words& w, const What& parent);
// readWhat.cpp: what an element is, how often it stands there, and the words behind.
What readWhat(Words& w);
void readSelector(Words& w, What& what);
Often readOften(Words& w);
std::string readPrivacy(Words& w);
void readTail(Words& w, std::optional<Range>* range, std::map<std::string, std::string>& words);

} // namespace l3gen
