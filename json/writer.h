// Characters appended to a session's text. Each piece asks for room once and is copied without further tests; when
// memory is out, the writer goes on nowhere and says so in the end.
#ifndef VELNOR3GPP_JSON_WRITER_H
#define VELNOR3GPP_JSON_WRITER_H

#include <cstring>

#include "velnor3gpp/velnor3gppJson.h"

struct JsonWriter {
  velnor3gpp_Session* session;
  char* start;
  size_t length;
  size_t room;
  bool comma; // something stands before the next member or entry
  bool failed;
};

// A place for so many more characters, or null when memory is out.
char* jsonRoom(JsonWriter& writer, size_t count);

inline char* jsonPlace(JsonWriter& writer, size_t count)
{
  if (count <= writer.room - writer.length) return writer.start + writer.length;
  return jsonRoom(writer, count);
}

inline void jsonPut(JsonWriter& writer, const char* text, size_t count)
{
  char* to = jsonPlace(writer, count);
  if (!to) return;
  memcpy(to, text, count);
  writer.length += count;
}

template <size_t Size> void jsonPut(JsonWriter& writer, const char (&text)[Size])
{
  jsonPut(writer, text, Size - 1);
}

// `"name":`, behind a comma where one is due. Names of definitions need no escapes.
void jsonName(JsonWriter& writer, const char* name, size_t count);
void jsonNumber(JsonWriter& writer, uint64_t number);
void jsonHex(JsonWriter& writer, const uint8_t* octets, size_t count);
void jsonBits(JsonWriter& writer, const uint8_t* bits, size_t count);
// Ends the text, which is the session's. 0, or -10.
int jsonEnd(JsonWriter& writer, const char** text, size_t* count);
// A string. An octet that is no UTF-8 becomes a character of a private area, U+F700 and the octet, and so do octets
// that are such a character: reading gives back what was written, whatever it is.
void jsonText(JsonWriter& writer, const uint8_t* text, size_t count);
// Octets of that private area back in place, which takes less room. Returns how many octets there are.
size_t jsonRestore(char* text, size_t count);
// Pairs of hexadecimal digits to octets, in place; false if one is none.
bool jsonUnhex(char* text, size_t octets);

// Words of kept elements, by VELNOR3GPP_KEPT_...
inline constexpr const char* kJsonWhys[] = {"unknown", "repeated", "out of turn", "unreadable", "surplus", "padding"};
inline constexpr const char* kJsonPlaces[] = {"behind", "instead", "inside", "end"};

#endif
