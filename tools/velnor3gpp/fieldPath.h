// Paths of values, and finding them in the JSON that the library writes of a message: "record.data.RegAccept5G.guti",
// "record.hdrData.mm", "findings[0].text". What begins with no member of the whole is meant to lie in the record, so
// that paths of findings and positions can be used as they are: "data.RegAccept5G.taiList.elements[0].tac".
#ifndef VELNOR3GPP_PROGRAM_FIELD_PATH_H
#define VELNOR3GPP_PROGRAM_FIELD_PATH_H

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

struct FieldStep {
  std::string name; // of a member; empty for an entry
  size_t index = 0; // of an entry, from 0
};

struct FieldPath {
  std::vector<FieldStep> steps;
};

// Reads a path; throws UsageError if it is none.
FieldPath readFieldPath(const std::string& text);
// Does the path ask for the name of a value ("x$name")?
bool asksForName(const FieldPath& path);
// The value in an object without blanks, as the library writes it: of a string the characters between the quotes, with
// its escapes, else the JSON. Empty if there is none.
std::string_view findField(std::string_view json, const FieldPath& path);

#endif
