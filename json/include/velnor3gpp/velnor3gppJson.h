/**
 * @file velnor3gppJson.h
 * Messages as JSON and back, over the sessions of velnor3gpp.h: one object a message, as docs/json.md tells. Reading
 * and writing know no type. Text that a call hands out belongs to the session, is terminated, and is valid until the
 * next call for it. Every failure is a status; what is wrong with JSON is a finding of the session that says where
 * (a path from "$" on) and how to mend it. This header belongs to the library libvelnor3gpp_json.
 */
#ifndef VELNOR3GPP_VELNOR3GPP_JSON_H
#define VELNOR3GPP_VELNOR3GPP_JSON_H

#include "velnor3gpp/velnor3gpp.h"

VELNOR_BEGIN_DECLS

/** Characters of JSON that `velnor3gpp_fromJson` reads at most: 16 MiB. */
#define VELNOR3GPP_JSON_MAX ((size_t)16777216)

/** A message of many. */
typedef struct {
  const uint8_t* octets;          /**< Its octets; read during the call. */
  size_t count;                   /**< How many. */
  velnor3gpp_Direction direction; /**< Who sent it. */
} velnor3gpp_Octets;

/** Writes what came of the session's message as one object in one line without a line feed. `flags`: VELNOR3GPP_NAMES
 *  gives each enumeration `x` a sibling "x$name", VELNOR3GPP_POSITIONS adds "fields" with the place of each element.
 *  Returns 0, RTX_E_NULL_POINTER or RTX_E_NO_MEMORY. */
VELNOR_API int velnor3gpp_toJson(velnor3gpp_Session* session, unsigned flags, const char** text, size_t* count);
/** Reads one object and makes its "record" the session's, to be encoded or printed. Without `type` the object's "type"
 *  tells it. Names and positions are passed over, lengths and spare bits may be left out. Returns 0, or a status with a
 *  finding. The text is copied. */
VELNOR_API int velnor3gpp_fromJson(velnor3gpp_Session* session, const velnor3gpp_Type* type, const char* text,
                                   size_t count);
/** Decodes many messages and writes a line of JSON for each, bad ones too, each ended by a line feed. Without `type`
 *  each message's octets tell it. Messages before the one under work are gone from the session, keys and counts go on.
 *  Returns 0, RTX_E_NULL_POINTER or RTX_E_NO_MEMORY. */
VELNOR_API int velnor3gpp_decodeMany(velnor3gpp_Session* session, const velnor3gpp_Type* type,
                                     const velnor3gpp_Octets* messages, size_t messageCount, unsigned flags,
                                     const char** text, size_t* count);
/** Writes the JSON Schema (draft 2020-12) of messages of the type, or with null of all types. Returns 0,
 *  RTX_E_NULL_POINTER or RTX_E_NO_MEMORY. */
VELNOR_API int velnor3gpp_schema(velnor3gpp_Session* session, const velnor3gpp_Type* type, const char** text,
                                 size_t* count);

VELNOR_END_DECLS

#endif
