// Building a record from named values, the mirror of the walk (visit.cpp): velnor3gpp_build takes one step at a time,
// an opened object, a name, a value, and puts values where the walk would have found them. JSON (json/read.cpp) and
// other languages feed it. Members are found by the names that the walk tells. What the wire needs besides follows from
// what is there: presence bits, tags of alternatives, counts of arrays, message types; lengths are left to the encoder.
//
// The source is a stranger's: every allocation comes out of a budget, nesting ends at 64 levels, and the first mistake
// is reported with its path and stops the rest. The record is on the job's heap and becomes the session's at the last
// step. Nothing here tests ranges or whether the record can be encoded: the encoder does.
//
//   {"identity": {"typeOfIdent": 1}}   OPEN, MEMBER identity, OPEN, MEMBER typeOfIdent, NUMBER 1, CLOSE, CLOSE
#include "api/build.h"

#include <stdarg.h>
#include <stdio.h>

#include "rt3gppsrc/engine/l3Kept.h"

// What a record may take of the heap: without a bound, [{},{},{},...] of a few octets each would grow a list of records
// of kilobytes each.
static constexpr size_t kBudgetBase = 65536;
static constexpr size_t kBudgetFactor = 64; // octets of record for each octet of source, as decoders have it

// Appends the part of the path that a frame stands for, "[2]" or ".name", and gives the length that the whole path has,
// even where it no longer fits into `room`.
static size_t appendKey(char* text, size_t room, size_t at, const Frame& frame)
{
  int more = 0;
  char* to = text + (at < room ? at : room);
  size_t left = at < room ? room - at : 0;
  if (frame.kind == FrameKind::list)
    more = snprintf(to, left, "[%zu]", frame.count ? frame.count - 1 : 0);
  else if (frame.key)
    more = snprintf(to, left, ".%.*s", static_cast<int>(frame.keyLength < 128 ? frame.keyLength : 128), frame.key);
  return at + (more > 0 ? static_cast<size_t>(more) : 0);
}

// The path of the place that the build has come to: "data.RegRequest.mobileId[0]".
static void buildPath(const Build& build, char* text, size_t room)
{
  size_t at = static_cast<size_t>(snprintf(text, room, "%s", build.prefix));
  for (unsigned i = 0; i < build.depth; ++i) at = appendKey(text, room, at, build.frames[i]);
  if (text[0] == '.') memmove(text, text + 1, strlen(text));
}

int buildFailed(velnor3gpp_Session& session, int status, const char* format, ...)
{
  char path[512], words[512];
  buildPath(*session.build, path, sizeof path);
  va_list args;
  va_start(args, format);
  vsnprintf(words, sizeof words, format, args);
  va_end(args);
  session.build->status = status;
  return velnor3gpp_report(&session, status, path, words);
}

// A size of 0 gets an octet, so that a null pointer always means that memory is out.
void* buildAlloc(velnor3gpp_Session& session, size_t size)
{
  Build& build = *session.build;
  if (size > build.budget) {
    buildFailed(session, RTX_E_NO_MEMORY, "asks for more memory than its size justifies; take entries out");
    return nullptr;
  }
  build.budget -= size;
  void* memory = rtxMemHeapAllocZ(&session.ctxt.pMemHeap, size ? size : 1);
  if (!memory) buildFailed(session, RTX_E_NO_MEMORY, "out of memory");
  return memory;
}

// Where a value of the type goes. A type that stands for its content alone (TS24501IE_ABBA, which is a
// string behind a length) has no braces in the walk, so the value goes to the row of that content; rows that
// are no elements are passed over.
static Slot slotOf(const L3Type& named, uint8_t* at, const RtxContext* ctxt)
{
  const L3Type& type = l3FormOf(named, ctxt);
  if (l3TextForm(type) != L3TextForm::none || l3IsEmpty(type) || !l3IsBare(type)) return {&type, nullptr, at};
  for (const L3Row* row = type.rows; row < type.rows + type.rowCount; ++row) {
    if (row->op == kL3EndLength || row->op == kL3Release || row->op == kL3Tail || row->op == kL3Extra) continue;
    if (row->op == kL3Length && !static_cast<const L3Length*>(row->info)->member) continue;
    if (row->op == kL3Record || row->op == kL3TextType) return slotOf(*row->type, at + row->offset, ctxt);
    return {nullptr, row, at};
  }
  return {&type, nullptr, at};
}

// Where a value of the row goes: to the row, or to the type that it holds.
static Slot slotOf(const L3Row& row, uint8_t* at, const RtxContext* ctxt)
{
  if (row.op == kL3Record || row.op == kL3TextType) return slotOf(*row.type, at + row.offset, ctxt);
  return {nullptr, &row, at};
}

// Begins a record of the type in `event`; `number` is the size of the source in octets, which the budget follows, and
// `text` a prefix for paths, so that mistakes are named where the source has them ("$.record" of JSON).
static int begin(velnor3gpp_Session& session, const velnor3gpp_BuildEvent& event)
{
  endJob(session);
  if (!session.build) {
    session.build = static_cast<Build*>(rtxMemHeapSysAllocZ(&session.home, sizeof(Build)));
    if (!session.build) return velnor3gpp_report(&session, RTX_E_NO_MEMORY, "", "out of memory");
  }
  Build& build = *session.build;
  // Frames are cleared as they are pushed: 64 of them take more than all the rest.
  memset(&build, 0, offsetof(Build, frames));
  build.budget = kBudgetBase + kBudgetFactor * static_cast<size_t>(event.number < SIZE_MAX / 128 ? event.number : 0);
  size_t length = event.count < sizeof build.prefix ? event.count : sizeof build.prefix - 1;
  if (event.text) memcpy(build.prefix, event.text, length);
  if (!event.type) return buildFailed(session, RTX_E_NULL_POINTER, "no type is given");
  build.known = factsOf(event.type);
  uint8_t* record = static_cast<uint8_t*>(buildAlloc(session, typeOf(*build.known).size));
  if (!record) return RTX_E_NO_MEMORY;
  build.slot = slotOf(typeOf(*build.known), record, &session.ctxt);
  build.expected = true;
  session.record = record; // becomes the session's with its type, at the end
  return 0;
}

// Gives the next entry of a list a place. An array inside the record (`cap`) is full at its bound. One on the heap is
// doubled, and the old one is freed; nothing points into it any more, because an entry is whole before the next begins.
static int nextEntry(velnor3gpp_Session& session, Frame& frame)
{
  const L3List& info = *static_cast<const L3List*>(frame.row->info);
  if (frame.count == frame.capacity) {
    // Entries inside the record cannot be moved to the heap: the encoder takes them from the array.
    if (info.cap) return buildFailed(session, RTX_E_REPEAT_LIMIT, "has more than %u entries; take some out", info.cap);
    size_t capacity = frame.capacity ? frame.capacity * 2 : 4;
    uint8_t* grown = static_cast<uint8_t*>(buildAlloc(session, capacity * info.elemSize));
    if (!grown) return RTX_E_NO_MEMORY;
    if (frame.count) memcpy(grown, frame.entries, frame.count * info.elemSize);
    if (frame.entries) rtxMemHeapFreePtr(&session.ctxt.pMemHeap, frame.entries);
    frame.entries = grown;
    frame.capacity = capacity;
  }
  session.build->slot = slotOf(info.elem, frame.entries + frame.count++ * info.elemSize, &session.ctxt);
  session.build->expected = true;
  return 0;
}

// Makes sure that a value has a place to go to: the slot behind a name, or a new entry of the innermost list.
static int expectValue(velnor3gpp_Session& session)
{
  Build& build = *session.build;
  if (build.expected) return 0;
  if (build.depth && build.frames[build.depth - 1].kind == FrameKind::list)
    return nextEntry(session, build.frames[build.depth - 1]);
  return buildFailed(session, RTX_E_EXPECTED_NAME, "a value stands where a name is needed");
}

// Goes one level down, into the slot under work.
static int push(velnor3gpp_Session& session, FrameKind kind)
{
  Build& build = *session.build;
  if (build.depth == kMaxBuildDepth)
    return buildFailed(session, RTX_E_NESTING_TOO_DEEP, "lies deeper than %u levels", kMaxBuildDepth);
  Frame& frame = build.frames[build.depth++];
  memset(&frame, 0, sizeof frame);
  frame.kind = kind;
  frame.type = build.slot.type;
  frame.row = build.slot.row;
  frame.at = build.slot.at;
  build.expected = false;
  return 0;
}

// Opens the body of a form. Its frame gets the type of the record around it, because that is the form whose message
// type and discriminator are set when the message is named (l3SetBody).
static int openBody(velnor3gpp_Session& session)
{
  Build& build = *session.build;
  const L3Type* form = build.depth ? build.frames[build.depth - 1].type : nullptr;
  if (!form) return buildFailed(session, RTX_E_NOT_SUPPORTED, "stands in no form");
  if (int status = push(session, FrameKind::body); status < 0) return status;
  build.frames[build.depth - 1].type = form;
  return 0;
}

// An object is a record, a choice (an object of one member, the alternative) or a body (the message).
static int openObject(velnor3gpp_Session& session)
{
  const Slot& slot = session.build->slot;
  bool record = slot.type && !l3IsEmpty(*slot.type) && l3TextForm(*slot.type) == L3TextForm::none;
  if (record) return push(session, FrameKind::record);
  if (slot.row && slot.row->op == kL3Choice) return push(session, FrameKind::choice);
  if (slot.row && slot.row->op == kL3Body) return openBody(session);
  return refuseKind(session, slot, "an object");
}

// Opens a list. For one inside the record the entries have their place already; one on the heap gets it by growing.
static int openList(velnor3gpp_Session& session)
{
  Build& build = *session.build;
  if (!build.slot.row || build.slot.row->op != kL3List) return refuseKind(session, build.slot, "an array");
  if (int status = push(session, FrameKind::list); status < 0) return status;
  Frame& frame = build.frames[build.depth - 1];
  const L3List& info = *static_cast<const L3List*>(frame.row->info);
  if (info.cap) {
    frame.entries = frame.at + frame.row->offset + info.elemOffset;
    frame.capacity = info.cap;
  }
  return 0;
}

// Refuses a name that is none here, with the nearest that is one: "is no member of this record; did you mean 'imsi'?".
static int unknownKey(velnor3gpp_Session& session, const Frame& frame, const char* key, size_t length)
{
  const char* near = nearestKey(frame, key, length);
  const char* words =
      frame.kind == FrameKind::record ? "is no member of this record" : "is no alternative of this choice";
  if (near) return buildFailed(session, RTX_E_UNEXPECTED_ELEMENT, "%s; did you mean '%s'?", words, near);
  return buildFailed(session, RTX_E_UNEXPECTED_ELEMENT, "%s; take it out", words);
}

// Sets the presence bits of a member and of the group that it belongs to. A bit that a name has set stays set.
static void setPresent(const L3Row& row, uint8_t* record)
{
  if (row.mBit != kL3NoBit) l3SetBit(record, row.mBit);
  if (row.groupBit != kL3NoBit) l3SetBit(record, row.groupBit);
}

// A name in a record. Names mostly come in the record's order, so the search begins behind the member before (`next`).
// `seen` has a bit for each row, to refuse a name that stands twice and to find missing members at the end.
static int takeRecordMember(velnor3gpp_Session& session, Frame& frame, const char* key, size_t length)
{
  Member member = {};
  if (!findMember(*frame.type, frame.at, key, length, frame.next, member))
    return unknownKey(session, frame, key, length);
  uint64_t bit = 1ULL << (member.index % 64);
  // Members of a nameless record inside share its one row, so these are not told apart.
  bool own = member.at == frame.at;
  if (own && frame.seen[member.index / 64] & bit)
    return buildFailed(session, RTX_E_DUPLICATE_ELEMENT,
                       member.choice ? "a second alternative of a choice stands here" : "stands here twice");
  frame.key = l3KeyOf(*member.row);
  frame.seen[member.index / 64] |= bit;
  frame.next = member.index + 1;
  const L3Row& held = member.choice ? *member.choice : *member.row;
  setPresent(held, member.at);
  if (member.choice && static_cast<const L3Choice*>(member.choice->info)->tagged)
    l3Store(member.at + member.choice->offset, 4, member.tag);
  session.build->slot = slotOf(*member.row, member.at, &session.ctxt);
  return 0;
}

// Remembers which alternative was named for a choice that stores no number of it: when the record is closed, the
// members that select the alternative must tell the same one.
static void noteTaken(Frame& record, const Frame& choice, const L3Row& alternative)
{
  record.untagged = choice.row;
  record.taken = &alternative;
}

// A name in a choice: stores the alternative's number and expects its value.
static int takeAlternative(velnor3gpp_Session& session, Frame& frame, const char* key, size_t length)
{
  const L3Choice& choice = *static_cast<const L3Choice*>(frame.row->info);
  for (unsigned i = 0; i < choice.count; ++i) {
    const L3Alternative& alternative = choice.alternatives[i];
    if (!isKey(alternative.row, key, length)) continue;
    frame.key = l3KeyOf(alternative.row);
    if (choice.tagged)
      l3Store(frame.at + frame.row->offset, 4, alternative.tag);
    else if (choice.from == kL3SelectFields)
      noteTaken((&frame)[-1], frame, alternative.row); // the record around the choice
    session.build->slot = slotOf(alternative.row, frame.at, &session.ctxt);
    return 0;
  }
  return unknownKey(session, frame, key, length);
}

// A row for messages without content, whose value is `true`.
static const L3Row kNoContent = {{},        {}, {}, {}, 0, 0, kL3NoBit, kL3NoBit, kL3Nothing, 0, kL3GivenAlways,
                                 kL3NoLead, 0,  0,  0,  0};

// Where the header says one message and the body is of another, nobody can know which is meant.
static int headerFailed(velnor3gpp_Session& session, const L3Row& row)
{
  Build& build = *session.build;
  while (build.frames[build.depth - 1].kind != FrameKind::record) --build.depth; // for the path
  Frame& record = build.frames[build.depth - 1];
  record.key = l3KeyOf(row);
  record.keyLength = strlen(record.key);
  return buildFailed(session, RTX_E_INVALID_CHOICE, "is that of another message than the one here; leave it out");
}

// A name in a body. The message gets its storage, and the header its type and discriminator, which tell nothing that
// the name does not: JSON may leave them out.
static int takeMessage(velnor3gpp_Session& session, Frame& frame, const char* key, size_t length)
{
  const L3Body& body = *static_cast<const L3Body*>(frame.row->info);
  for (const L3BodyRow* row = body.rows; row < body.rows + body.count; ++row) {
    if (strncmp(row->name(), key, length) || row->name()[length]) continue;
    if (const L3Row* other = contradictedHeader((&frame)[-1], body, *row)) return headerFailed(session, *other);
    frame.key = row->name();
    uint8_t* value = row->type ? static_cast<uint8_t*>(buildAlloc(session, row->type->size)) : nullptr;
    if (row->type && !value) return RTX_E_NO_MEMORY;
    l3SetBody(*frame.type, frame.at, *row, value);
    if (row->type && row->inlined) value = frame.at + body.pointerOffset;
    session.build->slot = row->type ? slotOf(*row->type, value, &session.ctxt) : Slot{nullptr, &kNoContent, frame.at};
    return 0;
  }
  return unknownKey(session, frame, key, length);
}

// A choice or body has one member; a second is a mistake even with the same name.
static int takeChosen(velnor3gpp_Session& session, Frame& frame, const char* key, size_t length)
{
  if (frame.chosen)
    return buildFailed(session, RTX_E_DUPLICATE_ELEMENT, "a second alternative of a choice; keep one of them");
  int status = frame.kind == FrameKind::choice ? takeAlternative(session, frame, key, length)
                                               : takeMessage(session, frame, key, length);
  frame.chosen = status >= 0;
  return status;
}

// A name. One with a `$` in it is not an element: "typeOfIdent$name", which writers of JSON put beside a number, is
// passed over with its value. The caller's characters last for this call alone, so a name that is found is remembered
// as the definition's constant.
static int takeName(velnor3gpp_Session& session, const velnor3gpp_BuildEvent& event)
{
  Build& build = *session.build;
  if (!build.depth || build.expected || build.frames[build.depth - 1].kind == FrameKind::list || !event.text)
    return buildFailed(session, RTX_E_BAD_PARAMETER, "a name stands where none is needed");
  if (memchr(event.text, '$', event.count)) {
    build.skipNext = true; // names of values and the like
    return 0;
  }
  Frame& frame = build.frames[build.depth - 1];
  frame.key = event.text;
  frame.keyLength = event.count;
  int status = frame.kind == FrameKind::record ? takeRecordMember(session, frame, event.text, event.count)
                                               : takeChosen(session, frame, event.text, event.count);
  build.expected = status >= 0;
  return status;
}

// Stores count and place of the entries: a count of 8 bits in an array's front, or count and pointer of one on the
// heap.
static void closeList(const Frame& frame)
{
  const L3List& info = *static_cast<const L3List*>(frame.row->info);
  uint8_t* member = frame.at + frame.row->offset;
  if (info.cap)
    member[0] = static_cast<uint8_t>(frame.count);
  else
    l3StoreList(member, frame.count, frame.entries);
}

static const char kMissing[] = "is missing; it is always there";

// What could not be decoded may have been kept in place of a mandatory element of a message. It comes behind the record
// (velnor3gpp_keep), so that only an encoder can tell whether the element is missing.
static bool await(velnor3gpp_Session& session, const Frame& frame, const L3Row& row)
{
  Build& build = *session.build;
  bool keeps = session.forms & RTX_FLAG_KEEP_ELEMENTS && frame.type->message && row.name;
  if (!keeps || build.awaitedCount == kMaxAwaited) return false;
  Awaited& awaited = build.awaited[build.awaitedCount++];
  awaited.record = frame.at;
  awaited.row = &row;
  buildPath(build, awaited.path, sizeof awaited.path);
  return true;
}

int reportAwaited(velnor3gpp_Session& session)
{
  const Build* build = session.build;
  for (unsigned i = 0; build && i < build->awaitedCount; ++i) {
    const Awaited& awaited = build->awaited[i];
    if (!l3FirstKept(&session.ctxt, awaited.record, awaited.row, kL3KeptInstead))
      return velnor3gpp_report(&session, RTX_E_MISSING_ELEMENT, awaited.path, kMissing);
  }
  return 0;
}

// A header that stands behind its message can say another one only now (takeMessage).
static const L3Row* contradictedBody(const Frame& frame)
{
  const L3Row* row = bodyOf(*frame.type);
  if (!row) return nullptr;
  const L3Body& body = *static_cast<const L3Body*>(row->info);
  const L3BodyRow* message = l3MessageIn(body, l3Load(frame.at + row->offset, 4));
  return message ? contradictedHeader(frame, body, *message) : nullptr;
}

// A record is whole when it is closed: members that are always there have been named, and a choice has the alternative
// that the members selecting it tell. An encoder goes by these members, and would follow the wrong pointers otherwise.
static int closeRecord(velnor3gpp_Session& session, Frame& frame)
{
  unsigned at = 0;
  while (const L3Row* row = missingMember(frame, at)) {
    frame.key = l3KeyOf(row->name ? *row : static_cast<const L3Choice*>(row->info)->alternatives[0].row);
    frame.keyLength = strlen(frame.key);
    if (!await(session, frame, *row)) return buildFailed(session, RTX_E_MISSING_ELEMENT, kMissing);
    frame.key = nullptr;
  }
  if (const L3Row* header = contradictedBody(frame)) return headerFailed(session, *header);
  const L3Row* choice = contradictedChoice(frame);
  if (!choice) return 0;
  frame.key = choice->name ? l3KeyOf(*choice) : nullptr; // a choice without a name lies in the record itself
  frame.keyLength = frame.key ? strlen(frame.key) : 0;
  return buildFailed(session, RTX_E_INVALID_CHOICE, "has another alternative than the members tell that select it");
}

// Ends the innermost object or list. A name without a value behind it cannot be closed over.
static int closeFrame(velnor3gpp_Session& session)
{
  Build& build = *session.build;
  if (!build.depth || build.expected) return buildFailed(session, RTX_E_UNBALANCED, "ends without a value");
  Frame& frame = build.frames[build.depth - 1];
  frame.key = nullptr; // a mistake from here on is one of the record, and its path ends there
  if (frame.kind == FrameKind::list) {
    closeList(frame);
    frame.count = 0;
  } else if (frame.kind == FrameKind::record) {
    if (int status = closeRecord(session, frame); status < 0) return status;
  }
  --build.depth;
  build.done = !build.depth;
  return 0;
}

// A number, flag or text into the slot. At depth 0 it is the whole: types without braces are a value by themselves.
static int storeValue(velnor3gpp_Session& session, const velnor3gpp_BuildEvent& event)
{
  Build& build = *session.build;
  build.expected = false;
  build.done = !build.depth;
  if (event.step == VELNOR3GPP_BUILD_NUMBER) return storeNumber(session, build.slot, event.number);
  if (event.step == VELNOR3GPP_BUILD_FLAG) return storeFlag(session, build.slot, event.number);
  return storeText(session, build.slot, event.text, event.count);
}

// Hands the record to the session, as if it had been decoded. Only now is the session's type set, so that a record that
// was broken off is never printed or encoded.
static int end(velnor3gpp_Session& session, const velnor3gpp_BuildEvent& event)
{
  Build& build = *session.build;
  if (!build.done) return buildFailed(session, RTX_E_MISSING_ELEMENT, "the record is missing");
  // A source that says nothing of the direction leaves it to the message type.
  session.known = build.known;
  session.direction = static_cast<velnor3gpp_Direction>(event.number <= VELNOR3GPP_DOWN ? event.number : 0);
  tellDirection(session);
  build.done = false;
  return 0;
}

// Passes over a value that is not wanted, with all that is nested in it. `skipped` counts its open levels.
static void skip(Build& build, velnor3gpp_BuildStep step)
{
  build.skipNext = false;
  if (step == VELNOR3GPP_BUILD_OPEN || step == VELNOR3GPP_BUILD_LIST) ++build.skipped;
  if (step == VELNOR3GPP_BUILD_CLOSE && build.skipped) --build.skipped;
}

// A kind of value that no member has, such as null or 1.5; the text names it for the message.
static int takeOther(velnor3gpp_Session& session, const velnor3gpp_BuildEvent& event)
{
  char is[64] = "";
  if (event.text) memcpy(is, event.text, event.count < sizeof is ? event.count : sizeof is - 1);
  return refuseKind(session, session.build->slot, is);
}

// One step between begin and end. Every step but these three needs a place for a value.
static int takeStep(velnor3gpp_Session& session, const velnor3gpp_BuildEvent& event)
{
  Build& build = *session.build;
  if (build.skipNext || build.skipped) return skip(build, event.step), 0;
  if (event.step == VELNOR3GPP_BUILD_MEMBER) return takeName(session, event);
  if (event.step == VELNOR3GPP_BUILD_CLOSE) return closeFrame(session);
  if (event.step == VELNOR3GPP_BUILD_END) return end(session, event);
  if (int status = expectValue(session); status < 0) return status;
  switch (event.step) {
    case VELNOR3GPP_BUILD_OPEN:
      return openObject(session);
    case VELNOR3GPP_BUILD_LIST:
      return openList(session);
    case VELNOR3GPP_BUILD_NUMBER:
    case VELNOR3GPP_BUILD_FLAG:
    case VELNOR3GPP_BUILD_TEXT:
      return storeValue(session, event);
    case VELNOR3GPP_BUILD_OTHER:
      return takeOther(session, event);
    default:
      return buildFailed(session, RTX_E_BAD_PARAMETER, "a step that does not exist");
  }
}

// After the first mistake every step returns its status, so that a source need not look at each.
int velnor3gpp_build(velnor3gpp_Session* session, const velnor3gpp_BuildEvent* event)
{
  if (!session || !event) return RTX_E_NULL_POINTER;
  if (!isSized(*event)) return RTX_E_BAD_PARAMETER;
  velnor3gpp_BuildEvent room;
  const velnor3gpp_BuildEvent& step = readStruct(event, room);
  if (step.step == VELNOR3GPP_BUILD_BEGIN) return begin(*session, step);
  if (step.step == VELNOR3GPP_BUILD_CLEAR) return endJob(*session), 0;
  if (!session->build || !session->build->known) return RTX_E_BAD_PARAMETER;
  if (session->build->status < 0) return session->build->status;
  return takeStep(*session, step);
}
