// The words of a line and what they can be: names, numbers, ranges, conditions. Used by the reader alone; every
// function refuses what it does not understand, with the place of the line.
#pragma once

#include <string>
#include <vector>

#include "model.h"

namespace l3gen {

struct Word : std::string {
  int column = 1;
};

// The words of a line, consumed from the left. The column of the place follows the word that is looked at, so that
// whoever refuses it says where it stands.
struct Words {
  Place place;
  std::vector<Word> list;
  int end = 1; // the column behind the last word
  size_t at = 0;
  bool more() const { return at < list.size(); }
  std::string peek(size_t k = 0)
  {
    if (k == 0) place.column = more() ? list[at].column : end;
    return at + k < list.size() ? static_cast<const std::string&>(list[at + k]) : "";
  }
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

const std::string& checkedName(const Place& place, const std::string& name);
uint32_t number(const Place& place, const std::string& text);
bool isRange(const std::string& text);
Range range(const Place& place, const std::string& text);
std::vector<std::string> split(const std::string& text, char by);
std::vector<Range> ranges(const Place& place, const std::string& text);
std::vector<Term> condition(const Place& place, const std::string& text);
unsigned bitCount(const Place& place, const std::string& text, unsigned most);

// One row: readRow.cpp.
void readLength(Words& w, Row& row);
Standard takeStandard(Words& w);
void refuseStandard(const Place& place, const Standard& standard, bool fits);
Row readStandardRow(Words& w);
Row readRow(Words& w);
void takeTitle(Words& w, std::string& title, std::string& direction);
Row readAlternative(Words& w, const What& parent);
// What an element is, how often, and the words behind: readWhat.cpp.
What readWhat(Words& w);
void readSelector(Words& w, What& what);
Often readOften(Words& w);
void readTail(Words& w, std::optional<Range>* range, std::map<std::string, std::string>& words);

} // namespace l3gen
