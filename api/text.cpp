// The record as text, by the printer.
#include <stdio.h>

#include "api/session.h"
#include "velnor3gpp/rtxPrintStream.h"

namespace {

struct Output {
  velnor3gpp_Session& session;
  size_t length;
  bool failed;
};

} // namespace

static void takePiece(void* arg, const char* format, va_list args)
{
  Output& out = *static_cast<Output*>(arg);
  va_list again;
  va_copy(again, args);
  int count = vsnprintf(nullptr, 0, format, again);
  va_end(again);
  if (out.failed || count < 0) return;
  size_t more = static_cast<size_t>(count);
  char* text = velnor3gpp_room(&out.session, out.length + more + 1);
  out.failed = !text;
  if (!text) return;
  vsnprintf(text + out.length, more + 1, format, args);
  out.length += more;
}

int velnor3gpp_toText(velnor3gpp_Session* session, const char** text, size_t* count)
{
  if (!session || !text || !count) return RTX_E_NULL_POINTER;
  *text = nullptr;
  *count = 0;
  if (!hasRecord(*session)) return RTX_E_BAD_PARAMETER;
  Output out = {*session, 0, false};
  if (rtxSetPrintStream(&session->ctxt, takePiece, &out) < 0) return RTX_E_NO_MEMORY;
  const L3Type& type = typeOf(*session->known);
  l3Print(&session->ctxt, type, l3NameOf(type), session->record);
  rtxPrintStreamRelease(&session->ctxt);
  char* first = velnor3gpp_room(session, out.length + 1);
  if (out.failed || !first) return RTX_E_NO_MEMORY;
  if (!out.length) first[0] = 0;
  *text = first;
  *count = out.length;
  return 0;
}
