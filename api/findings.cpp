// What is said of a message: the result, and each finding with its words, path, place and clause. Error records of the
// engine name the row of a definition file (docs/adr/0006); clause and definition are looked up from there. Texts
// belong to the session and hold until the next finding is asked for.
#include "api/positions.h"
#include "api/session.h"
#include "velnor3gpp/rtxDiagBitTrace.h"
#include "velnor3gpp/rtxError.h"

// "PDU.data.u.obj_RegRequest5G.idents.elem[2].tac" becomes "data.RegRequest5G.idents[2].tac".
void writePath(const char* elementPath, char* text, size_t room)
{
  static constexpr char kBody[] = "u.obj_", kEntry[] = ".elem[";
  const char* from = elementPath ? strchr(elementPath, '.') : nullptr;
  size_t at = 0;
  if (from) ++from;
  while (from && *from && at + 1 < room) {
    // A name may hold these characters in its middle: only whole parts of the path are left out.
    bool start = at == 0 || from[-1] == '.';
    if (start && strncmp(from, kBody, sizeof kBody - 1) == 0) from += sizeof kBody - 1;
    if (strncmp(from, kEntry, sizeof kEntry - 1) == 0) from += sizeof kEntry - 2;
    text[at++] = *from++;
  }
  text[at] = 0;
}

// Records of the engine that are findings for the caller; the session's own reports are counted beside them.
static size_t countTold(const velnor3gpp_Session& session)
{
  size_t count = 0;
  for (RtxDListNode* node = session.ctxt.errInfo.head; node; node = node->next)
    count += isTold(session, *static_cast<RtxErrInfo*>(node->data));
  return count;
}

// A status without an error record and without a report: it is told as a finding of its own.
static bool isBare(const velnor3gpp_Session& session)
{
  return session.status < 0 && !session.reportCount && !countTold(session);
}

// What a caller wants to know of a message at a glance. The pointers are the session's and hold until the next message.
int velnor3gpp_result(velnor3gpp_Session* session, velnor3gpp_Result* result)
{
  if (!session || !result) return RTX_E_NULL_POINTER;
  velnor3gpp_Result all = {};
  all.type = publicType(session->known);
  const L3BodyRow* message = messageOf(*session);
  all.message = message ? message->name() : "";
  all.title = message ? message->title() : "";
  if (!message && session->known) all.title = l3FactText + session->known->title;
  all.direction = session->direction;
  all.status = session->status;
  // The same three sources, in the same order, that velnor3gpp_finding numbers.
  all.findings = countTold(*session) + session->reportCount + isBare(*session);
  all.octets = session->octets.data;
  all.count = session->count;
  all.used = session->used;
  all.missing = session->missing;
  all.check = session->check;
  all.headerOnly = session->headerOnly;
  all.nasCount = session->nasCount;
  all.kept = keptCount(*session);
  all.deciphered = session->octets.data + session->count; // the copy that was decoded
  return fillStruct(result, all);
}

// Does the row, or one of its alternatives, stand at this line of the definition file?
static bool hasLine(const L3Row& row, int line)
{
  if (row.line == line) return true;
  if (row.op != kL3Choice) return false;
  const L3Choice& choice = *static_cast<const L3Choice*>(row.info);
  for (unsigned i = 0; i < choice.count; ++i)
    if (choice.alternatives[i].row.line == line) return true;
  return false;
}

// The same for the block, its rows and its optional elements.
static bool hasLine(const L3Type& type, int line)
{
  if (type.line == line) return true;
  for (const L3Row* row = type.rows; row < type.rows + type.rowCount; ++row)
    if (hasLine(*row, line)) return true;
  for (unsigned i = 0; type.message && i < type.message->count; ++i)
    if (type.message->options[i].line == line) return true;
  return false;
}

// The clause of the type whose rows have that line of the coder's file, or "". A walk over all types, for faults only.
static const char* clauseAt(const char* coder, int line)
{
  for (size_t i = 0; coder && i < l3KnownTypes; ++i) {
    const L3Type& type = *l3Types[i];
    bool same = strcmp(type.module->decoder, coder) == 0 || strcmp(type.module->encoder, coder) == 0;
    if (same && hasLine(type, line)) return l3FactText + l3TypeFacts[i].clause;
  }
  return "";
}

// The stack of an error record begins with the innermost place; the first that is in a definition counts.
static void takeOrigin(velnor3gpp_Finding& finding, const RtxErrInfo& info)
{
  finding.definition = finding.clause = "";
  for (unsigned i = 0; i < info.stkx && !*finding.clause; ++i) {
    const char* clause = clauseAt(info.stack[i].module, static_cast<int>(info.stack[i].line));
    if (!*clause) continue; // a source file of the run-time, whose failure the coder has passed on
    finding.clause = clause;
    finding.definition = info.stack[i].module;
    finding.line = static_cast<int>(info.stack[i].line);
  }
}

// The first field that the decoder has read under exactly this path.
static void placeByTrace(velnor3gpp_Session& session, velnor3gpp_Finding& finding, const char* elementPath)
{
  const RtxBitFieldList* list = elementPath ? positionsOf(session) : nullptr;
  for (const RtxSListNode* entry = list ? list->fieldList.head : nullptr; entry; entry = entry->next) {
    const RtxBitField* field = static_cast<const RtxBitField*>(entry->data);
    if (!field->elemName || strcmp(field->elemName, elementPath)) continue;
    finding.octet = field->bitOffset / 8;
    finding.bit = 8 - static_cast<int>(field->bitOffset % 8);
    return;
  }
}

// Findings stand at their element, where it was read. The last fatal one may have failed before it read anything: it
// stands where decoding ended. Findings of encoders have no place in the octets.
static void takePlace(velnor3gpp_Session& session, velnor3gpp_Finding& finding, const RtxErrInfo& info, bool last)
{
  finding.octet = SIZE_MAX;
  if (!session.count || strstr(finding.definition, "Enc")) return;
  placeByTrace(session, finding, info.elemName);
  if (finding.octet != SIZE_MAX || !last || !info.fatal) return;
  // Bit 8 is the first of an octet; 0 says that the octets have ended.
  finding.octet = session.used;
  finding.bit = session.ctxt.buffer.byteIndex < session.count ? session.ctxt.buffer.bitOffset : 0;
}

// A template may ask for a number by "%d", which texts of the run-time leave standing and put the number behind all:
// here it takes its place.
static void placeNumber(char* words, const RtxErrInfo& info)
{
  char* place = strstr(words, "%d");
  if (!place || info.parmcount != 1 || !info.parms[0]) return;
  size_t all = strlen(words), parm = strlen(info.parms[0]);
  if (all < parm + 1 || strcmp(words + all - parm, info.parms[0]) != 0) return; // it did not fit
  words[all - parm - 1] = 0;                                                    // and the blank in front of it
  memmove(place + parm, place + 2, strlen(place + 2) + 1);
  memcpy(place, info.parms[0], parm);
}

// Turns an error record into a finding.
static void tellRecord(velnor3gpp_Session& session, RtxErrInfo& info, bool last, velnor3gpp_Finding& finding)
{
  finding.status = info.status;
  finding.fatal = info.fatal != 0;
  session.words[0] = 0;
  rtxErrFmtMsg(&info, session.words, sizeof session.words);
  placeNumber(session.words, info);
  writePath(info.elemName, session.path, sizeof session.path);
  finding.text = session.words;
  finding.path = session.path;
  takeOrigin(finding, info);
  takePlace(session, finding, info, last);
}

// A report of the session has path and text, but no place and no clause.
static void tellReport(const Report& report, velnor3gpp_Finding& finding)
{
  finding.status = report.status;
  finding.fatal = 1;
  finding.text = report.text;
  finding.path = report.path;
  finding.octet = SIZE_MAX;
  finding.clause = finding.definition = "";
}

// Finding number `index`: error records of the context, then reports of the session, then a status that stands alone.
// Each call walks the list from its front; a message has at most 16 findings that do not stop it.
int velnor3gpp_finding(velnor3gpp_Session* session, size_t index, velnor3gpp_Finding* finding)
{
  if (!session || !finding) return RTX_E_NULL_POINTER;
  velnor3gpp_Finding all = {};
  for (RtxDListNode* node = session->ctxt.errInfo.head; node; node = node->next) {
    RtxErrInfo& info = *static_cast<RtxErrInfo*>(node->data);
    if (!isTold(*session, info) || index-- > 0) continue;
    tellRecord(*session, info, !node->next, all);
    return fillStruct(finding, all);
  }
  if (index < session->reportCount) {
    tellReport(session->reports[index], all);
    return fillStruct(finding, all);
  }
  if (index || !isBare(*session)) return RTX_E_INDEX_RANGE;
  // An error record made up for the status, so that its text is that of the table.
  RtxErrInfo info = {};
  info.status = static_cast<int16_t>(session->status);
  info.fatal = 1;
  tellRecord(*session, info, true, all);
  return fillStruct(finding, all);
}
