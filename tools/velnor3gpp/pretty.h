// JSON laid out for people, and cut out of text.
#ifndef VELNOR3GPP_PROGRAM_PRETTY_H
#define VELNOR3GPP_PROGRAM_PRETTY_H

#include <optional>
#include <string>
#include <string_view>

// JSON without blanks, as the library writes it, in lines of two columns more for each level.
std::string prettyJson(std::string_view json);

// Finds objects in text that comes line by line: "{" to the "}" that ends it, over as many lines as it takes.
class ObjectCutter {
public:
  // Takes what the line has of the object off its front. True if the object ends there, which `object` then has.
  bool add(std::string_view& line);
  const std::string& object() const { return text; }
  bool isOpen() const { return !open.empty(); } // an object has begun and has not ended
  // Between two lines: can the object go on with anything, or with "{" in particular? It cannot inside a string, nor
  // behind what is no JSON, such as "{bad".
  bool canGoOn() const { return !inString; }
  bool canGoOnWithBrace() const;
  void drop(); // forgets what came

private:
  std::string text;
  std::string open; // each "{" and "[" that has not ended
  char last = 0;    // the last character outside strings that is no blank
  bool inString = false, escaped = false;
};

// A member of the object that is a text's outermost: its value as it stands, or nothing. Any text is allowed.
std::optional<std::string_view> memberOf(std::string_view object, std::string_view name);

#endif
