// A record under construction: where the values go that come step by step (build.cpp), how names lead to members
// (buildMembers.cpp), and how values are stored (buildValues.cpp). Only these three files include it, and session.cpp,
// which frees it. A Build is the session's, in its own heap, and is used again for each record; the record is on the
// job's heap.
#ifndef VELNOR3GPP_API_BUILD_H
#define VELNOR3GPP_API_BUILD_H

#include "api/session.h"
#include "velnor3gpp/rtxPrintStream.h"

// Deeper than any record of the definitions. A text of brackets could otherwise go as deep as it is long.
inline constexpr unsigned kMaxBuildDepth = 64;
inline constexpr unsigned kMaxRows = 512; // of one record, options included

// What has been opened: named members, one alternative, one message, or entries.
enum class FrameKind : uint8_t { record, choice, body, list };

// Where the next value goes: a type with its place, or a row with the record that its offset counts from. One of `type`
// and `row` is null.
struct Slot {
  const L3Type* type; // a record, text or empty type, or null
  const L3Row* row;   // what is no record, or null
  uint8_t* at;        // the value, or the record of the row
};

// One level of nesting: an object or list that has been opened and not closed. Which members count is told by the kind.
struct Frame {
  FrameKind kind;
  bool chosen;        // choice, body: the alternative is there
  const L3Type* type; // record; body: the form
  const L3Row* row;   // choice, body, list
  uint8_t* at;        // the record
  const char* key;    // of the member under work, for paths
  size_t keyLength;
  unsigned next;    // record: the row behind the one found last
  uint8_t* entries; // list
  size_t count, capacity;
  uint64_t seen[kMaxRows / 64];
  const L3Row* untagged; // record: the choice in it that keeps no number of its alternative, if that is there
  const L3Row* taken;    // its alternative
};

// A mandatory element of a message that has not been named: octets may yet be kept in its place (velnor3gpp_keep).
struct Awaited {
  const uint8_t* record;
  const L3Row* row;
  char path[256];
};

inline constexpr unsigned kMaxAwaited = 16;

// The state between two steps. Everything in front of `frames` is cleared when a record begins.
struct Build {
  int status; // of the first mistake
  unsigned depth;
  unsigned skipped; // nesting inside a value that nobody wants
  bool skipNext;    // the next value is not wanted
  bool done;        // the whole has its value
  Slot slot;
  bool expected; // the slot takes a value
  size_t budget; // octets that may still be allocated
  char prefix[64];
  const L3Facts* known;
  unsigned awaitedCount;
  Frame frames[kMaxBuildDepth];
  Awaited awaited[kMaxAwaited];
};

// What a key leads to in a record.
struct Member {
  const L3Row* row;    // the member, or the alternative of a choice without a name
  const L3Row* choice; // that choice, or null
  uint32_t tag;        // of the alternative
  unsigned index;      // of the row in its record, or of the one that holds it
  uint8_t* at;         // the record that the offsets count from
};

// The member of the key among the rows and optional elements, looked for from `from` on; false if there is none.
bool findMember(const L3Type& type, uint8_t* record, const char* key, size_t length, unsigned from, Member& member);
// The next member that is always there and has not been seen, from `at` on, which moves behind it; null: no more.
const L3Row* missingMember(const Frame& frame, unsigned& at);
// The first choice whose alternative is not the one that its selecting members tell, or null.
const L3Row* contradictedChoice(const Frame& frame);
// The first member that has been named and says another message than this one, or null: a message type or
// discriminator.
const L3Row* contradictedHeader(const Frame& frame, const L3Body& body, const L3BodyRow& message);
// Reports a mistake under the path that the frames make. Returns the status.
int buildFailed(velnor3gpp_Session& session, int status, const char* format, ...) RTX_PRINTF_LIKE(3, 4);
// The name among the members that is nearest to a wrong one, or null.
const char* nearestKey(const Frame& frame, const char* key, size_t length);
// Is it the name of the member?
inline bool isKey(const L3Row& row, const char* key, size_t length)
{
  const char* own = l3KeyOf(row);
  if (own == row.name) return own && row.nameLength == length && memcmp(own, key, length) == 0;
  return own && strncmp(own, key, length) == 0 && !own[length];
}
// Reports a value of another kind than its place takes, and what to write instead.
int refuseKind(velnor3gpp_Session& session, const Slot& slot, const char* is);
// Stores a value.
int storeNumber(velnor3gpp_Session& session, const Slot& slot, uint64_t number);
int storeFlag(velnor3gpp_Session& session, const Slot& slot, uint64_t flag);
int storeText(velnor3gpp_Session& session, const Slot& slot, const char* text, size_t count);
// Memory for the record, within the budget; null after telling why not.
void* buildAlloc(velnor3gpp_Session& session, size_t size);

#endif
