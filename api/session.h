// What a session holds; every file of this folder works on it, and callers see a pointer. The job's context is emptied
// for each message; what outlasts messages lies elsewhere: octets, text and the session itself on the heap `home`, keys
// and their schedules in the context `keep`. So a caller's pointers to a record or its texts hold until the next
// message, and those to the last text until the next text. Everything a session allocates comes from the allocator of
// its heaps, and every failure of it is a status. A session is used by one thread at a time.
#ifndef VELNOR3GPP_API_SESSION_H
#define VELNOR3GPP_API_SESSION_H

#include "api/protection.h"
#include "rt3gppsrc/engine/l3Engine.h"
#include "rt3gppsrc/engine/l3Record.h"
#include "velnor3gpp/rtxContext.h"
#include "velnor3gpp/rtxMemHeap.h"
#include "velnor3gpp/velnor3gpp.h"

// Memory of the session that only grows, so that a long run of messages stops allocating.
struct Room {
  uint8_t* data;
  size_t size;
};

// A finding that no context holds: one of the session itself, such as a missing decoder or a name that is none.
struct Report {
  int status;
  char path[512];
  char text[512];
};

inline constexpr size_t kMaxReports = 4;

struct Build;
struct L3Kept;
struct KeptPlaces;

struct velnor3gpp_Session {
  RtxMemHeap* home; // of the session itself and its rooms
  RtxContext ctxt;  // of the job
  RtxContext keep;  // of the security record, which outlasts it

  // The job: one message and its record. endJob clears it.
  const L3Facts* known; // the type of the record, or null
  uint8_t* record;      // on the job's heap
  Room octets;          // the message as given, and behind it the copy that is deciphered
  size_t count;
  velnor3gpp_Direction direction;
  Protection protection;
  velnor3gpp_Check check;
  bool headerOnly;
  size_t used, missing;
  uint32_t nasCount;
  int status;

  // What the caller has set; it stays from message to message. Of `keys`, the counts step with the messages.
  bool hasKeys;
  velnor3gpp_Keys keys;
  uint16_t release;
  uint32_t forms; // RTX_FLAG_KEEP_ELEMENTS, RTX_FLAG_STANDARD_FORMS

  Report reports[kMaxReports];
  size_t reportCount;
  char words[1024]; // of the finding that was asked for last
  char path[1024];

  // The kept element told last and its number in the list, since callers ask for one after the other, and its path.
  const L3Kept* told;
  size_t toldIndex;
  char toldPath[1024];
  KeptPlaces* keptPlaces; // of the job, or null as long as nobody asks for them

  RtxContext slow; // of the decoding that lists positions; its trace is that of the job while `located` is set
  bool located;

  Room text;
  Build* build; // of `home`, or null
};

// A type of the interface is its row in the table of facts: the pointer is converted, never followed, by callers.
static inline const L3Facts* factsOf(const velnor3gpp_Type* type)
{
  return reinterpret_cast<const L3Facts*>(type);
}

inline const velnor3gpp_Type* publicType(const L3Facts* known)
{
  return reinterpret_cast<const velnor3gpp_Type*>(known);
}

// Descriptors stand in the same order as the facts.
inline const L3Type& typeOf(const L3Facts& known)
{
  return *l3Types[&known - l3TypeFacts];
}

// What is known of a type, in either of its forms; null if it is a part of others.
inline const L3Facts* factsOf(const L3Type& type)
{
  return type.known == kL3Unlisted ? nullptr : &l3TypeFacts[type.known];
}

// The type of a full name, or null.
const L3Facts* findType(const char* fullName);
// Is there a record?
inline bool hasRecord(const velnor3gpp_Session& session)
{
  return session.known && session.record;
}

// How many elements were kept; how many of them are a loss (padding is not); and a function that overwrites what stands
// in them.
size_t keptCount(const velnor3gpp_Session& session);
size_t keptInVain(const velnor3gpp_Session& session);
void hideKept(velnor3gpp_Session& session);
// Reports the first mandatory element of a record that was built which neither was named nor has octets kept in its
// place. Returns 0 if there is none.
int reportAwaited(velnor3gpp_Session& session);
// Makes room for so many octets; what was there stays. Without memory it is as before: false.
bool growRoom(velnor3gpp_Session& session, Room& room, size_t size);
// Sets the flags for keeping elements and for the standard's forms.
void setForms(RtxContext& ctxt, uint32_t forms);
// Ends the job: the message before and all that belongs to it.
void endJob(velnor3gpp_Session& session);
// A cleared record of the type on the job's heap, which becomes the session's; false without memory.
bool makeRecord(velnor3gpp_Session& session, const L3Facts& known);
// The row of a form that holds its message (a second body holds rest octets), or null; the message in the session's
// record, or null.
const L3Row* bodyOf(const L3Type& form);
const L3BodyRow* messageOf(const velnor3gpp_Session& session);
// Gives the message its own direction, where nothing else has told it.
void tellDirection(velnor3gpp_Session& session);
// Is the error record a finding of the session?
bool isTold(const velnor3gpp_Session& session, const RtxErrInfo& info);
// The list of fields of the last message by a decoding with the bit trace, or null where that cannot be had.
const RtxBitFieldList* positionsOf(velnor3gpp_Session& session);
// The element path of an error record or a trace entry as paths of nodes are: without the type's name, "u.obj_" and
// the "elem" of entries.
void writePath(const char* elementPath, char* text, size_t room);
// Structs of the interface begin with their size as the caller was compiled with it. Copies the members that both sides
// know, so that older callers work with newer libraries and the other way round.
// A size of nothing but itself is one that nobody has set: the caller would take what was in the struct before for an
// answer, or zeros (null algorithms among them) would be taken for what the caller says.
template <typename Struct> bool isSized(const Struct& given)
{
  return given.size > sizeof given.size;
}
template <typename Struct> int fillStruct(Struct* target, Struct value)
{
  if (!target) return RTX_E_NULL_POINTER;
  if (!isSized(*target)) return RTX_E_BAD_PARAMETER;
  value.size = target->size;
  memcpy(target, &value, value.size < sizeof value ? value.size : sizeof value);
  return 0;
}
// The same from the caller, who has set the size: members that an older one does not know are 0. Mostly the caller
// knows them all, and `room` is not needed.
template <typename Struct> const Struct& readStruct(const Struct* source, Struct& room)
{
  if (source->size >= sizeof room) return *source;
  room = {};
  memcpy(&room, source, source->size);
  return room;
}

#endif
