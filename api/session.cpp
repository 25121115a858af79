// Opening and closing sessions, keys and options, the end of a job, and the findings of a session's own. The other
// files of this folder do the work on a message. Keys are copied in and wiped before their memory goes.
#include "api/session.h"

#include "api/build.h"
#include "rt3gppsrc/rt3gppCrypto.h"
#include "velnor3gpp/rt3gppNasSec.h"
#include "velnor3gpp/rtContext.h"
#include "velnor3gpp/rtxDiagBitTrace.h"
#include "velnor3gpp/rtxError.h"

// At least doubles, so that growing step by step costs each octet a constant number of copies.
bool growRoom(velnor3gpp_Session& session, Room& room, size_t size)
{
  if (size <= room.size) return true;
  size_t wanted = room.size * 2 > size ? room.size * 2 : size;
  RtxMemHeap** heap = &session.home;
  void* data = room.data ? rtxMemHeapSysRealloc(heap, room.data, wanted) : rtxMemHeapSysAlloc(heap, wanted);
  if (!data) return false;
  room = {static_cast<uint8_t*>(data), wanted};
  return true;
}

// A context cannot be moved, so all of them begin where they stay.
// Three contexts: of the job, of the keys, and of the decoding that lists positions.
static bool openContexts(velnor3gpp_Session& session)
{
  return rtInitContext(&session.keep) >= 0 && rtInitContext(&session.ctxt) >= 0 && rtInitContext(&session.slow) >= 0 &&
         rtx3gppSecInitialize(&session.keep) >= 0;
}

// The session lies on a heap that it owns itself; velnor3gpp_close takes the heap's pointer out before it wipes.
int velnor3gpp_open(velnor3gpp_Session** session)
{
  if (!session) return RTX_E_NULL_POINTER;
  *session = nullptr;
  RtxMemHeap* home = nullptr;
  if (rtxMemHeapCreate(&home) < 0) return RTX_E_NO_MEMORY;
  void* memory = rtxMemHeapSysAllocZ(&home, sizeof(velnor3gpp_Session));
  if (!memory) {
    rtxMemHeapRelease(&home);
    return RTX_E_NO_MEMORY;
  }
  velnor3gpp_Session* made = static_cast<velnor3gpp_Session*>(memory);
  made->home = home;
  if (!openContexts(*made)) {
    velnor3gpp_close(made);
    return RTX_E_NO_MEMORY;
  }
  *session = made;
  return 0;
}

// A context that was never opened has no `initCode`.
static void closeContext(RtxContext& ctxt)
{
  if (ctxt.initCode) rtFreeContext(&ctxt);
}

// Null is nothing to close. Records, texts and octets of the session are gone, and keys are wiped.
void velnor3gpp_close(velnor3gpp_Session* session)
{
  if (!session) return;
  // Opening may have failed at any step: what was not opened is zero and is passed over.
  session->ctxt.pSecurity = session->slow.pSecurity = nullptr; // only lent
  closeContext(session->ctxt);
  closeContext(session->slow);
  if (session->keep.pSecurity) rtx3gppSecFree(&session->keep);
  closeContext(session->keep);
  RtxMemHeap* home = session->home;
  rtxMemHeapSysFreePtr(&home, session->octets.data);
  rtxMemHeapSysFreePtr(&home, session->text.data);
  rtxMemHeapSysFreePtr(&home, session->build);
  rtx3gppWipe(session, sizeof *session);
  rtxMemHeapSysFreePtr(&home, session);
  rtxMemHeapRelease(&home);
}

// Kept elements set their flag for a job on their own (velnor3gpp_keep), so each job begins with the caller's flags.
void setForms(RtxContext& ctxt, uint32_t forms)
{
  rtxCtxtClearFlag(&ctxt, RTX_FLAG_KEEP_ELEMENTS | RTX_FLAG_STANDARD_FORMS);
  rtxCtxtSetFlag(&ctxt, forms);
}

// The record and all that it points to go with the heap of the job. The security record is taken out first: a reset of
// the heap would free what belongs to `keep`.
void endJob(velnor3gpp_Session& session)
{
  session.ctxt.pSecurity = session.slow.pSecurity = nullptr;
  rtxMemReset(&session.ctxt);
  if (session.located) rtxMemReset(&session.slow); // with its trace
  session.located = false;
  session.known = nullptr;
  session.record = nullptr;
  session.count = session.used = session.missing = 0;
  session.direction = VELNOR3GPP_DIRECTION_UNKNOWN;
  session.protection = {};
  session.check = VELNOR3GPP_PLAIN;
  session.headerOnly = false;
  session.nasCount = 0;
  session.status = 0;
  session.reportCount = 0;
  session.told = nullptr;
  session.keptPlaces = nullptr;
  // What is half built lies on this heap: no step may go on with it.
  if (session.build) session.build->known = nullptr, session.build->awaitedCount = 0;
  setForms(session.ctxt, session.forms);
}

// Types without members have a record of one octet, so that a null pointer always means that memory is out.
bool makeRecord(velnor3gpp_Session& session, const L3Facts& known)
{
  size_t size = typeOf(known).size ? typeOf(known).size : 1;
  session.record = static_cast<uint8_t*>(rtxMemHeapAllocZ(&session.ctxt.pMemHeap, size));
  session.known = session.record ? &known : nullptr;
  return session.record != nullptr;
}

// Gives the keys to the context that keeps them; only there are they expanded, once for all messages.
static int assign(velnor3gpp_Session& session)
{
  const velnor3gpp_Keys& keys = session.keys;
  return rtx3gppAssignAlgorithmKeys(&session.keep, session.keys.integrityKey, session.keys.cipherKey,
                                    keys.integrityAlgorithm, keys.cipherAlgorithm);
}

// Keys are all there or not at all: a failed assignment would leave one of two algorithms set (rt3gppNasSec.h), so null
// algorithms are assigned behind it. Old keys are gone in any case.
int velnor3gpp_setKeys(velnor3gpp_Session* session, const velnor3gpp_Keys* keys)
{
  if (!session) return RTX_E_NULL_POINTER;
  rtx3gppWipe(&session->keys, sizeof session->keys);
  session->hasKeys = false;
  rtx3gppAssignAlgorithmKeys(&session->keep, nullptr, nullptr, 0, 0);
  if (!keys) return 0;
  if (!isSized(*keys)) return RTX_E_BAD_PARAMETER;
  session->keys = readStruct(keys, session->keys);
  if (session->keys.bearer < -1 || session->keys.bearer > 31) {
    rtx3gppWipe(&session->keys, sizeof session->keys);
    return RTX_E_BAD_PARAMETER; // it would spill into the count, and every message would seem forged
  }
  int status = assign(*session);
  session->hasKeys = status >= 0;
  if (status < 0) {
    rtx3gppWipe(&session->keys, sizeof session->keys);
    rtx3gppAssignAlgorithmKeys(&session->keep, nullptr, nullptr, 0, 0);
  }
  rtxErrReset(&session->keep); // the status says all; nobody reads records of this context
  return status < 0 ? status : 0;
}

int velnor3gpp_getKeys(const velnor3gpp_Session* session, velnor3gpp_Keys* keys)
{
  if (!session || !keys) return RTX_E_NULL_POINTER;
  if (!session->hasKeys) return RTX_E_NO_SECURITY;
  return fillStruct(keys, session->keys);
}

// A switch takes 0 and 1, the release any number of 16 bits; forms hold from the next job on.
int velnor3gpp_setOption(velnor3gpp_Session* session, velnor3gpp_Option option, uint32_t value)
{
  if (!session) return RTX_E_NULL_POINTER;
  // Two options are switches, the third is the newest release of radio capabilities to decode (0: all).
  bool isSwitch = option == VELNOR3GPP_OPTION_KEEP || option == VELNOR3GPP_OPTION_STANDARD;
  if (isSwitch ? value > 1 : option != VELNOR3GPP_OPTION_RELEASE || value > UINT16_MAX) return RTX_E_BAD_PARAMETER;
  if (!isSwitch) {
    session->release = static_cast<uint16_t>(value);
    return 0;
  }
  uint32_t flag = option == VELNOR3GPP_OPTION_KEEP ? RTX_FLAG_KEEP_ELEMENTS : RTX_FLAG_STANDARD_FORMS;
  session->forms = value ? session->forms | flag : session->forms & ~flag;
  return 0;
}

// Room for a text, whose former content stays as far as it goes. Null without memory.
char* velnor3gpp_room(velnor3gpp_Session* session, size_t size)
{
  if (!session || !growRoom(*session, session->text, size ? size : 1)) return nullptr;
  return reinterpret_cast<char*>(session->text.data);
}

// The first status of a session stays; further reports are listed, up to four, and cut to their room.
int velnor3gpp_report(velnor3gpp_Session* session, int status, const char* path, const char* text)
{
  if (!session) return RTX_E_NULL_POINTER;
  // The caller may be code outside the library (JSON), so path and text are copied.
  session->status = session->status ? session->status : status;
  if (session->reportCount == kMaxReports) return status;
  Report& report = session->reports[session->reportCount++];
  report.status = status;
  strncpy(report.path, path ? path : "", sizeof report.path - 1);
  strncpy(report.text, text ? text : "", sizeof report.text - 1);
  report.path[sizeof report.path - 1] = report.text[sizeof report.text - 1] = 0;
  return status;
}
