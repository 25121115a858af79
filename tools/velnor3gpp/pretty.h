// JSON laid out for people, and cut out of text.
#ifndef VELNOR3GPP_PROGRAM_PRETTY_H
#define VELNOR3GPP_PROGRAM_PRETTY_H

#include <string>
#include <string_view>

// JSON without blanks, as the library writes it, in lines of two columns more for each level.
std::string prettyJson(std::string_view json);

// Finds objects in text that comes line by line: "{" to the "}" that ends it, over as many lines as it takes.
class ObjectCutter {
public:
  // Takes a line; true if an object ends with it, which `object` then has. What stands behind it must be blank.
  bool add(std::string_view line);
  const std::string& object() const { return text; }
  bool isOpen() const { return depth > 0; } // an object has begun and has not ended
  void drop();                              // forgets what came

private:
  std::string text;
  size_t depth = 0;
  bool inString = false, escaped = false, ended = false;
};

#endif
