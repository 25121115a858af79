// The words of error records: the process-wide table of tables, the substitution of parameters and the text forms. Only
// callers of the library ask for texts; no coder does. What does not fit a buffer is left out, and the text always ends
// with a zero.
//
// A template becomes a message like this: "Enumerated value %s not in defined set" with the parameter "9" is
// "Enumerated value 9 not in defined set".
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "rtxsrc/errors/rtxErrorInternal.h"
#include "velnor3gpp/rtxMemHeap.h"
#include "velnor3gpp/rtxStrings.h"

namespace {

// Octets of one message, ending zero included, in texts of several records and on standard output. Longer ones are cut.
constexpr size_t kMessageScratch = 200;
constexpr size_t kPrintScratch = 400;

// Templates for the statuses from `first` down to above `bound`: rows[0] is that of `first`. The table stays the
// caller's and has to outlive all contexts.
struct MessageTable {
  const char* const* rows;
  int32_t first;
  int32_t bound;
};

// The run-time's table stands here from the beginning: if the first context entered it, two threads that make their
// first contexts at once would write here together. Callers who register tables of their own do so before they start
// threads, since there is no lock.
MessageTable gTables[RTX_ERR_MAX_TABLES] = {{kRtxMessages, kRtxMessageFirst, kRtxMessageBound}};
int16_t gTableCount = 1;

// A text under construction; `limit` leaves room for the terminator.
// A message is cut anywhere at the limit but never inside a parameter.
struct Message {
  char* buf;
  size_t limit;
  size_t length;
};

bool putChar(Message* msg, char c)
{
  if (msg->length >= msg->limit) return false;
  msg->buf[msg->length++] = c;
  return true;
}

// Cuts the text at the limit.
void putText(Message* msg, const char* text)
{
  while (*text != '\0' && putChar(msg, *text)) text++;
}

// A parameter goes in whole, and below the limit, or not at all; `ahead` octets go in front of it. Half a number would
// be read as another number.
bool parmHasRoom(const Message* msg, const char* parm, size_t ahead)
{
  const size_t left = msg->limit - msg->length;
  return left > ahead && strlen(parm) < left - ahead;
}

// The next parameter at the place of a "%s", or "?" where there is none. False at the end of the room.
bool putNextParm(Message* msg, const RtxErrInfo* rec, int* pIndex)
{
  const char* parm = *pIndex < rec->parmcount ? rec->parms[*pIndex] : nullptr;
  if (parm != nullptr && !parmHasRoom(msg, parm, 0)) return false;
  if (*pIndex < rec->parmcount) ++*pIndex;
  if (parm == nullptr) return putChar(msg, '?');
  putText(msg, parm);
  return true;
}

// Parameters that the template has no place for follow behind it, so that none gets lost.
void putOtherParms(Message* msg, const RtxErrInfo* rec, int index)
{
  for (; index < rec->parmcount; index++) {
    if (rec->parms[index] == nullptr) continue;
    if (!parmHasRoom(msg, rec->parms[index], 1)) return;
    putChar(msg, ' ');
    putText(msg, rec->parms[index]);
  }
}

// Only "%s" is a place; any other '%' is shown as it stands.
void substitute(Message* msg, RtxErrInfo* rec, const char* text)
{
  // The record is public, and a caller may have filled it.
  if (rec->parmcount > RTX_ERR_MAX_PARMS) rec->parmcount = RTX_ERR_MAX_PARMS;
  int index = 0;
  while (*text != '\0') {
    const bool place = text[0] == '%' && text[1] == 's';
    if (!(place ? putNextParm(msg, rec, &index) : putChar(msg, *text))) return;
    text += place ? 2 : 1;
  }
  putOtherParms(msg, rec, index);
}

// A status of RTX_E_MULTIPLE writes nothing, so the scratch starts empty.
const char* formatScratch(RtxErrInfo* rec, char* scratch, size_t size)
{
  scratch[0] = '\0';
  return rtxErrFmtMsg(rec, scratch, size);
}

// A text to which pieces are appended whole; the first that does not fit ends it.
struct Text {
  char* buf;
  size_t size;
  size_t length;
};

// Appends a piece with its ending zero, whole, or nothing.
bool append(Text* text, const char* piece)
{
  const size_t length = strlen(piece);
  if (length >= text->size - text->length) return false;
  memcpy(text->buf + text->length, piece, length + 1);
  text->length += length;
  return true;
}

bool appendNumber(Text* text, long long value)
{
  char digits[32];
  snprintf(digits, sizeof digits, "%lld", value);
  return append(text, digits);
}

// The message of one record as a line.
bool appendMessage(Text* text, RtxErrInfo* rec)
{
  char scratch[kMessageScratch];
  return append(text, formatScratch(rec, scratch, sizeof scratch)) && append(text, "\n");
}

// The outermost level comes first, the place of the failure last: the record has them the other way round.
bool appendStack(Text* text, const RtxErrInfo* rec)
{
  if (rec->stkx == 0) return true;
  if (!append(text, "Stack trace:\n")) return false;
  for (int i = rec->stkx; i-- > 0;) {
    const RtxErrLocn* at = &rec->stack[i];
    if (at->module == nullptr) continue;
    if (!append(text, "  Module: ") || !append(text, at->module) || !append(text, " Line ")) return false;
    if (!appendNumber(text, at->line) || !append(text, "\n")) return false;
  }
  return true;
}

bool appendElemName(Text* text, const char* title, const RtxErrInfo* rec)
{
  if (rec->elemName == nullptr) return true;
  return append(text, title) && append(text, rec->elemName) && append(text, "\n");
}

bool appendRecord(Text* text, RtxErrInfo* rec)
{
  if (!append(text, "ERROR: Status ") || !appendNumber(text, rec->status) || !append(text, "\n")) return false;
  return appendMessage(text, rec) && appendElemName(text, "Element name: ", rec) && appendStack(text, rec);
}

// What `appendOne` makes of each record, up to the first that does not fit.
char* fillText(const RtxContext* pctxt, char* buf, size_t bufsize, bool (*appendOne)(Text*, RtxErrInfo*))
{
  if (buf == nullptr || bufsize == 0) return nullptr;
  buf[0] = '\0';
  Text text = {buf, bufsize, 0};
  for (const RtxDListNode* node = pctxt->errInfo.head; node != nullptr; node = node->next)
    if (!appendOne(&text, rtxErrRecordOf(node))) break;
  return buf;
}

// Octets that the formatted message of a record needs at most, with the terminator.
size_t messageRoom(const RtxErrInfo* rec)
{
  const char* text = rec->status < 0 ? rtxErrFindTemplate(rec->status) : nullptr;
  if (text == nullptr) return 40; // The two fixed texts.
  size_t room = strlen(text) + 2;
  for (int i = 0; i < rec->parmcount && i < RTX_ERR_MAX_PARMS; i++)
    if (rec->parms[i] != nullptr) room += strlen(rec->parms[i]) + 1;
  return room;
}

size_t msgTextRoom(const RtxContext* pctxt)
{
  size_t room = 1;
  for (const RtxDListNode* node = pctxt->errInfo.head; node != nullptr; node = node->next) {
    const RtxErrInfo* rec = rtxErrRecordOf(node);
    if (rec->elemName != nullptr) room += strlen(rec->elemName) + sizeof "Element: \n";
    room += messageRoom(rec) + 2;
  }
  return room;
}

// An estimate: 100 octets for each level and for two lines more. A text that needs more loses its end (append), since
// nothing is written beyond the size.
size_t fullTextRoom(const RtxContext* pctxt)
{
  size_t room = 200;
  for (const RtxDListNode* node = pctxt->errInfo.head; node != nullptr; node = node->next) {
    const RtxErrInfo* rec = rtxErrRecordOf(node);
    room += (rec->stkx + size_t{2}) * 100;
    if (rec->elemName != nullptr) room += strlen(rec->elemName) + 20;
  }
  return room;
}

} // namespace

void rtxErrInit()
{
  rtxErrAddErrorTableEntry(kRtxMessages, kRtxMessageFirst, kRtxMessageBound);
}

// A table that is there already is only looked at, as that of the run-time is for each context (rtxErrInit).
int rtxErrAddErrorTableEntry(const char* const* table, int32_t first, int32_t bound)
{
  for (int i = 0; i < gTableCount; i++)
    if (gTables[i].rows == table) return 0;
  if (table == nullptr || gTableCount >= RTX_ERR_MAX_TABLES) return 0;
  gTables[gTableCount++] = {table, first, bound};
  return 1;
}

// A row can be null: the status lies in the table's range but has no words.
const char* rtxErrFindTemplate(int status)
{
  for (int i = 0; i < gTableCount; i++) {
    const MessageTable* table = &gTables[i];
    if (status <= table->first && status > table->bound) return table->rows[table->first - status];
  }
  return nullptr;
}

char* rtxErrFmtMsg(RtxErrInfo* pErrInfo, char* buf, size_t bufsize)
{
  if (pErrInfo == nullptr || buf == nullptr || bufsize == 0) return nullptr;
  if (pErrInfo->status == RTX_E_MULTIPLE) return buf; // Its words are those of the records it stands for.
  Message msg = {buf, bufsize - 1, 0};
  const char* text = pErrInfo->status < 0 ? rtxErrFindTemplate(pErrInfo->status) : nullptr;
  if (text != nullptr)
    substitute(&msg, pErrInfo, text);
  else
    putText(&msg, pErrInfo->status < 0 ? "unrecognized completion status" : "normal completion status");
  buf[msg.length] = '\0';
  return buf;
}

char* rtxErrGetTextBuf(RtxContext* pctxt, char* buf, size_t bufsize)
{
  return fillText(pctxt, buf, bufsize, appendRecord);
}

// With a buffer of the caller's this is rtxErrGetTextBuf; otherwise the text lies in the heap and ends with the job.
char* rtxErrGetText(RtxContext* pctxt, char* buf, size_t* pBufSize)
{
  if (buf != nullptr && pBufSize != nullptr) return rtxErrGetTextBuf(pctxt, buf, *pBufSize);
  const size_t size = fullTextRoom(pctxt);
  char* text = static_cast<char*>(rtxMemHeapAlloc(&pctxt->pMemHeap, size));
  if (text == nullptr) return nullptr;
  if (pBufSize != nullptr) *pBufSize = size;
  return rtxErrGetTextBuf(pctxt, text, size);
}

// Messages without status and stack, one a line, each below its element if it has one. The room is counted first, so
// no message is cut.
char* rtxErrGetMsgText(RtxContext* pctxt)
{
  const size_t size = msgTextRoom(pctxt);
  char* buf = static_cast<char*>(rtxMemHeapAlloc(&pctxt->pMemHeap, size));
  if (buf == nullptr) return nullptr;
  buf[0] = '\0';
  Text text = {buf, size, 0};
  for (const RtxDListNode* node = pctxt->errInfo.head; node != nullptr; node = node->next) {
    RtxErrInfo* rec = rtxErrRecordOf(node);
    if (!appendElemName(&text, "Element: ", rec)) break;
    text.length += strlen(formatScratch(rec, buf + text.length, size - text.length));
    if (node->next != nullptr && !append(&text, "\n")) break;
  }
  return buf;
}

char* rtxErrGetMsgTextBuf(RtxContext* pctxt, char* buf, size_t bufsize)
{
  return fillText(pctxt, buf, bufsize, appendMessage);
}

// This and rtxErrPrintElement write to standard output, past the print callback.
void rtxErrPrint(RtxContext* pctxt)
{
  for (const RtxDListNode* node = pctxt->errInfo.head; node != nullptr; node = node->next)
    rtxErrPrintElement(rtxErrRecordOf(node));
}

void rtxErrPrintElement(RtxErrInfo* pErrInfo)
{
  char scratch[kPrintScratch];
  printf("ERROR: Status %d\n", pErrInfo->status);
  printf("%s\n", formatScratch(pErrInfo, scratch, sizeof scratch));
  if (pErrInfo->elemName != nullptr) printf("Element name: %s\n", pErrInfo->elemName);
  if (pErrInfo->stkx > 0) puts("Stack trace:");
  for (int i = pErrInfo->stkx; i-- > 0;) {
    const RtxErrLocn* at = &pErrInfo->stack[i];
    if (at->module != nullptr) printf("  Module: %s, Line %d\n", at->module, static_cast<int>(at->line));
  }
}

// The callback gets the text before the parameters are freed, and something to log even without memory.
void rtxErrLogUsingCB(RtxContext* pctxt, RtxErrLogFunc callback, void* cbArg)
{
  const char* text = rtxErrGetText(pctxt, nullptr, nullptr);
  callback(text != nullptr ? text : "ERROR : no memory available", cbArg);
  rtxErrFreeParms(pctxt);
}

// For mistakes of the program only: a broken heap, an impossible state. No input from outside leads here.
void rtxErrAssertionFailed(const char* condition, int line, const char* file)
{
  printf("Run-time assertion '%s' failed.  Line %d, File %s\n", condition, line, file);
  exit(-1);
}
