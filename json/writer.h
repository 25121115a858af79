// Characters appended to a session's text, for write.cpp and schema.cpp, and the texts that reader and writer share.
// Each piece asks for room once and is copied without further tests; when memory is out, the writer goes on nowhere and
// says so in the end, so that no caller has to look at each piece. The text belongs to the session and moves as it
// grows: nobody keeps a pointer into it. Nothing here knows a type or a message.
#ifndef VELNOR3GPP_JSON_WRITER_H
#define VELNOR3GPP_JSON_WRITER_H

#include <cstring>

#include "velnor3gpp/velnor3gppJson.h"

// A text under work. `start` and `room` are the session's memory, `length` is what has been written of it.
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

// A place for so many more characters, mostly without a call. The caller adds to `length` what it has written there.
inline char* jsonPlace(JsonWriter& writer, size_t count)
{
  if (count <= writer.room - writer.length) return writer.start + writer.length;
  return jsonRoom(writer, count);
}

// Appends characters as they stand: braces, or text that needs no escapes.
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
// 0 to 2^64 - 1 in decimal digits, without quotation marks.
void jsonNumber(JsonWriter& writer, uint64_t number);
// "7e005b": two digits for each octet, in quotation marks.
void jsonHex(JsonWriter& writer, const uint8_t* octets, size_t count);
// "101": A0 and a count of 3, the first bit on top.
void jsonBits(JsonWriter& writer, const uint8_t* bits, size_t count);
// Ends the text, which is the session's. 0, or -10.
int jsonEnd(JsonWriter& writer, const char** text, size_t* count);
// A string. An octet that is no UTF-8 becomes a character of a private area, U+F700 and the octet, and so do octets
// that are such a character: reading gives back what was written, whatever it is.
void jsonText(JsonWriter& writer, const uint8_t* text, size_t count);
// Characters of that private area back to octets, in place, which takes less room: EF 9F BF is FF. Returns how many
// octets there are.
size_t jsonRestore(char* text, size_t count);
// Pairs of hexadecimal digits to octets, in place; false if one is none.
bool jsonUnhex(char* text, size_t octets);

// Words of kept elements, by VELNOR3GPP_KEPT_...
inline constexpr const char* kJsonWhys[] = {"unknown", "repeated", "out of turn", "unreadable",
                                            "surplus", "padding",  "unusual"};
inline constexpr const char* kJsonPlaces[] = {"behind", "instead", "inside", "end", "over"};

#endif
