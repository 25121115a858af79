// The text form of each ASN.1 kind of value, once for all print families. The separator stands between the name and
// the field. Each writes to the given target and leaves the indentation of the first line to the caller.
#ifndef VELNOR_RT_PRINT_FORMS_H
#define VELNOR_RT_PRINT_FORMS_H

#include "rtxsrc/print/rtxPrintForms.h"
#include "velnor3gpp/rtPrint.h"

// How octets of a bit string look: the stream form writes "ab cd" on lines of their own from 64 bits up, the
// standard-output form "0xAB 0xCD" in place.
enum class RtBitStyle { stream, direct };

// A bit string; null data counts as no bits.
struct RtBits {
  size_t count;
  const uint8_t* data;
};

// The extension word where a form has one: null without.
void rtFormBitStr(RtxPrintSink& sink, const char* name, RtBits bits, const uint32_t* extdata, const char* separator,
                  RtBitStyle style);
void rtFormBitStrBin(RtxPrintSink& sink, const char* name, RtBits bits, const char* separator);
void rtFormBitStrNamed(RtxPrintSink& sink, const char* name, RtBits bits, const RtBitName* names,
                       const char* separator);
void rtFormBitStrBrace(RtxPrintSink& sink, RtxPiece name, RtBits bits, const uint32_t* extdata, RtBitStyle style);
// A count under a label, then a dump in units of `unit` octets.
void rtFormCounted(RtxPrintSink& sink, const char* name, const char* label, size_t count, const void* data, size_t unit,
                   const char* separator);
// 32-bit characters.
void rtFormUniv(RtxPrintSink& sink, const char* name, size_t count, const uint32_t* chars);
void rtFormDateTime(RtxPrintSink& sink, const char* name, const RtxDateTime* value);
void rtFormOIDArcs(RtxPrintSink& sink, size_t count, const uint32_t* arcs);
void rtFormOID(RtxPrintSink& sink, const char* name, size_t count, const uint32_t* arcs);
// The arcs of a record in use, never more than it holds.
void rtFormOIDValue(RtxPrintSink& sink, const RtObjId* value);
void rtFormObjId(RtxPrintSink& sink, const char* name, const RtObjId* value);
void rtFormOID64(RtxPrintSink& sink, const char* name, const RtObjId64* value);
void rtFormOIDStr(RtxPrintSink& sink, const char* name, const char* text);

#endif
