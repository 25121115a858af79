// Building a record from named values, the mirror of the walk: members are found by the same names, and what the wire
// needs besides follows from what is there: presence bits, tags of alternatives, counts of arrays, message types.
#include "api/build.h"

#include <stdarg.h>
#include <stdio.h>

static constexpr size_t kBudgetBase = 65536;
static constexpr size_t kBudgetFactor = 64; // octets of record for each octet of source, as decoders have it

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

// A type that stands for its content alone leads to the row of that content.
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

static Slot slotOf(const L3Row& row, uint8_t* at, const RtxContext* ctxt)
{
  if (row.op == kL3Record || row.op == kL3TextType) return slotOf(*row.type, at + row.offset, ctxt);
  return {nullptr, &row, at};
}

static int begin(velnor3gpp_Session& session, const velnor3gpp_BuildEvent& event)
{
  endJob(session);
  if (!session.build) {
    session.build = static_cast<Build*>(rtxMemHeapSysAllocZ(&session.home, sizeof(Build)));
    if (!session.build) return velnor3gpp_report(&session, RTX_E_NO_MEMORY, "", "out of memory");
  }
  Build& build = *session.build;
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

// An entry takes a place of its own. The array of a record's own has room for so many; another one grows.
static int nextEntry(velnor3gpp_Session& session, Frame& frame)
{
  const L3List& info = *static_cast<const L3List*>(frame.row->info);
  if (frame.count == frame.capacity) {
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

// Sees to it that the next value has a place to go to.
static int expectValue(velnor3gpp_Session& session)
{
  Build& build = *session.build;
  if (build.expected) return 0;
  if (build.depth && build.frames[build.depth - 1].kind == FrameKind::list)
    return nextEntry(session, build.frames[build.depth - 1]);
  return buildFailed(session, RTX_E_EXPECTED_NAME, "a value stands where a name is needed");
}

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

// The form that the body is a row of is the record around it.
static int openBody(velnor3gpp_Session& session)
{
  Build& build = *session.build;
  const L3Type* form = build.depth ? build.frames[build.depth - 1].type : nullptr;
  if (!form) return buildFailed(session, RTX_E_NOT_SUPPORTED, "stands in no form");
  if (int status = push(session, FrameKind::body); status < 0) return status;
  build.frames[build.depth - 1].type = form;
  return 0;
}

static int openObject(velnor3gpp_Session& session)
{
  const Slot& slot = session.build->slot;
  bool record = slot.type && !l3IsEmpty(*slot.type) && l3TextForm(*slot.type) == L3TextForm::none;
  if (record) return push(session, FrameKind::record);
  if (slot.row && slot.row->op == kL3Choice) return push(session, FrameKind::choice);
  if (slot.row && slot.row->op == kL3Body) return openBody(session);
  return refuseKind(session, slot, "an object");
}

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

static int unknownKey(velnor3gpp_Session& session, const Frame& frame, const char* key, size_t length)
{
  const char* near = nearestKey(frame, key, length);
  const char* words =
      frame.kind == FrameKind::record ? "is no member of this record" : "is no alternative of this choice";
  if (near) return buildFailed(session, RTX_E_UNEXPECTED_ELEMENT, "%s; did you mean '%s'?", words, near);
  return buildFailed(session, RTX_E_UNEXPECTED_ELEMENT, "%s; take it out", words);
}

static void setPresent(const L3Row& row, uint8_t* record)
{
  if (row.mBit != kL3NoBit) l3SetBit(record, row.mBit);
  if (row.groupBit != kL3NoBit) l3SetBit(record, row.groupBit);
}

static int takeRecordMember(velnor3gpp_Session& session, Frame& frame, const char* key, size_t length)
{
  Member member = {};
  if (!findMember(*frame.type, frame.at, key, length, frame.next, member))
    return unknownKey(session, frame, key, length);
  uint64_t bit = 1ULL << (member.index % 64);
  bool own = member.at == frame.at;
  if (own && frame.seen[member.index / 64] & bit)
    return buildFailed(session, RTX_E_DUPLICATE_ELEMENT,
                       member.choice ? "a second alternative of a choice stands here" : "stands here twice");
  frame.seen[member.index / 64] |= bit;
  frame.next = member.index + 1;
  const L3Row& held = member.choice ? *member.choice : *member.row;
  setPresent(held, member.at);
  if (member.choice && static_cast<const L3Choice*>(member.choice->info)->tagged)
    l3Store(member.at + member.choice->offset, 4, member.tag);
  session.build->slot = slotOf(*member.row, member.at, &session.ctxt);
  return 0;
}

static void noteTaken(Frame& record, const Frame& choice, const L3Row& alternative)
{
  record.untagged = choice.row;
  record.taken = &alternative;
}

static int takeAlternative(velnor3gpp_Session& session, Frame& frame, const char* key, size_t length)
{
  const L3Choice& choice = *static_cast<const L3Choice*>(frame.row->info);
  for (unsigned i = 0; i < choice.count; ++i) {
    const L3Alternative& alternative = choice.alternatives[i];
    if (!isKey(alternative.row, key, length)) continue;
    if (choice.tagged)
      l3Store(frame.at + frame.row->offset, 4, alternative.tag);
    else if (choice.from == kL3SelectFields)
      noteTaken((&frame)[-1], frame, alternative.row); // the record around the choice
    session.build->slot = slotOf(alternative.row, frame.at, &session.ctxt);
    return 0;
  }
  return unknownKey(session, frame, key, length);
}

static const L3Row kNoContent = {{},        {}, {}, {}, 0, 0, kL3NoBit, kL3NoBit, kL3Nothing, 0, kL3GivenAlways,
                                 kL3NoLead, 0,  0,  0,  0};

// The message's type and discriminator are set with it: they tell nothing that its name does not.
static int takeMessage(velnor3gpp_Session& session, Frame& frame, const char* key, size_t length)
{
  const L3Body& body = *static_cast<const L3Body*>(frame.row->info);
  for (const L3BodyRow* row = body.rows; row < body.rows + body.count; ++row) {
    if (strncmp(row->name(), key, length) || row->name()[length]) continue;
    uint8_t* value = row->type ? static_cast<uint8_t*>(buildAlloc(session, row->type->size)) : nullptr;
    if (row->type && !value) return RTX_E_NO_MEMORY;
    l3SetBody(*frame.type, frame.at, *row, value);
    if (row->type && row->inlined) value = frame.at + body.pointerOffset;
    session.build->slot = row->type ? slotOf(*row->type, value, &session.ctxt) : Slot{nullptr, &kNoContent, frame.at};
    return 0;
  }
  return unknownKey(session, frame, key, length);
}

static int takeChosen(velnor3gpp_Session& session, Frame& frame, const char* key, size_t length)
{
  if (frame.chosen)
    return buildFailed(session, RTX_E_DUPLICATE_ELEMENT, "a second alternative of a choice; keep one of them");
  int status = frame.kind == FrameKind::choice ? takeAlternative(session, frame, key, length)
                                               : takeMessage(session, frame, key, length);
  frame.chosen = status >= 0;
  return status;
}

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

static void closeList(const Frame& frame)
{
  const L3List& info = *static_cast<const L3List*>(frame.row->info);
  uint8_t* member = frame.at + frame.row->offset;
  if (info.cap)
    member[0] = static_cast<uint8_t>(frame.count);
  else
    l3StoreList(member, frame.count, frame.entries);
}

// A record is whole, and its members go together.
static int closeRecord(velnor3gpp_Session& session, Frame& frame)
{
  if (const char* missing = missingMember(frame, session.forms & RTX_FLAG_KEEP_ELEMENTS)) {
    frame.key = missing;
    frame.keyLength = strlen(missing);
    return buildFailed(session, RTX_E_MISSING_ELEMENT, "is missing; it is always there");
  }
  const L3Row* choice = contradictedChoice(frame);
  if (!choice) return 0;
  frame.key = choice->name ? l3KeyOf(*choice) : nullptr; // a choice without a name lies in the record itself
  frame.keyLength = frame.key ? strlen(frame.key) : 0;
  return buildFailed(session, RTX_E_INVALID_CHOICE, "has another alternative than the members tell that select it");
}

static int closeFrame(velnor3gpp_Session& session)
{
  Build& build = *session.build;
  if (!build.depth || build.expected) return buildFailed(session, RTX_E_UNBALANCED, "ends without a value");
  Frame& frame = build.frames[build.depth - 1];
  frame.key = nullptr;
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

static int storeValue(velnor3gpp_Session& session, const velnor3gpp_BuildEvent& event)
{
  Build& build = *session.build;
  build.expected = false;
  build.done = !build.depth;
  if (event.step == VELNOR3GPP_BUILD_NUMBER) return storeNumber(session, build.slot, event.number);
  if (event.step == VELNOR3GPP_BUILD_FLAG) return storeFlag(session, build.slot, event.number);
  return storeText(session, build.slot, event.text, event.count);
}

static int end(velnor3gpp_Session& session, const velnor3gpp_BuildEvent& event)
{
  Build& build = *session.build;
  if (!build.done) return buildFailed(session, RTX_E_MISSING_ELEMENT, "the record is missing");
  session.known = build.known;
  session.direction = static_cast<velnor3gpp_Direction>(event.number <= VELNOR3GPP_DOWN ? event.number : 0);
  tellDirection(session);
  build.done = false;
  return 0;
}

// A value that is not wanted ends where its nesting does.
static void skip(Build& build, velnor3gpp_BuildStep step)
{
  build.skipNext = false;
  if (step == VELNOR3GPP_BUILD_OPEN || step == VELNOR3GPP_BUILD_LIST) ++build.skipped;
  if (step == VELNOR3GPP_BUILD_CLOSE && build.skipped) --build.skipped;
}

static int takeOther(velnor3gpp_Session& session, const velnor3gpp_BuildEvent& event)
{
  char is[64] = "";
  if (event.text) memcpy(is, event.text, event.count < sizeof is ? event.count : sizeof is - 1);
  return refuseKind(session, session.build->slot, is);
}

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

int velnor3gpp_build(velnor3gpp_Session* session, const velnor3gpp_BuildEvent* event)
{
  if (!session || !event) return RTX_E_NULL_POINTER;
  velnor3gpp_BuildEvent step = readStruct(event);
  if (step.step == VELNOR3GPP_BUILD_BEGIN) return begin(*session, step);
  if (step.step == VELNOR3GPP_BUILD_CLEAR) return endJob(*session), 0;
  if (!session->build || !session->build->known) return RTX_E_BAD_PARAMETER;
  if (session->build->status < 0) return session->build->status;
  return takeStep(*session, step);
}
