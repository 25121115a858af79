/** @file
 *  Records and operations of module Words (TS 00.002). Records are filled by decoders from the context's heap and
 *  live until it is freed or reset; nothing in them is freed singly. Members stand in the order of the standard.
 *  Constants tell the numbers of alternatives (..._t_...), message types (..._msgType_...) and the room of arrays
 *  (..._capacity). A decoder that returns 0 may have found values outside their bounds: rtxErrCheckNonFatal tells. A
 *  length that runs past the input may leave the cursor behind it: then buffer.byteIndex is above buffer.size.
 *  Generated; change the definitions instead. */
#ifndef VELNOR3GPP_GEN_Words_H
#define VELNOR3GPP_GEN_Words_H

#include "velnor3gpp/rtxEnum.h"
#include "velnor3gpp/rtxTypes.h"

VELNOR_BEGIN_DECLS

struct Words_Point;
struct Words_Place;
struct Words_Groups;
struct Words_Move;
struct Words_PDU;

/** Colour: TS 00.002, 1. 4 bits. */
typedef enum {
  Words_Colour_red = 1, /**< Prints as "red". */
  Words_Colour_light_blue = 4, /**< Prints as "light-blue". */
  Words_Colour_any32 = 0x7FFFFFFF /**< No value: it gives the type 32 bits. */
} Words_Colour;

/** Point: TS 00.002, 2. */
typedef struct Words_Point {
  uint16_t x; /**< 11 bits; 1 to 2000. */
  uint8_t on_line; /**< Flag, 1 bit; prints as "on-line". */
  Words_Colour colour; /**< Colour (1), 4 bits. */
} Words_Point;

/** Room of arrays of Words_Points. */
enum {
  Words_Points_capacity = 3, /**< Entries that elem has room for. */
};
/** Points: TS 00.002, 3. Point (2); 1 to 3 entries. */
typedef struct {
  /** Entries. A decoded count may be above Words_Points_capacity (RTX_E_CONSTRAINT, non-fatal, status 0): loops stop
   *  there. */
  uint8_t n;
  Words_Point elem[Words_Points_capacity]; /**< The entries: Point (2). */
} Words_Points;

/** Name: TS 00.002, 3. Octets, to the end of what holds it. Length of 8 bits: octets of what follows; 1 to 9; on the
 *  wire alone. */
typedef struct {
  uint32_t numocts; /**< Octets. */
  uint8_t* data; /**< The octets, on the context's heap, null if there are none. */
} Words_Name;

/** Room of arrays of Words_Place. */
enum {
  Words_Place_code_capacity = 4, /**< Octets that data has room for. */
  Words_Place_detail_far_capacity = 2, /**< Entries that elem has room for. */
  Words_Place_rest_capacity = 12, /**< Bits that data has room for. */
};
/** Values of t in Words_Place. */
enum {
  Words_Place_t_none = 1, /**< Nothing in u. */
  Words_Place_t_points = 2, /**< u.points. */
  Words_Place_t_code = 3, /**< u.code. */
  Words_Place_t_other = 4, /**< u.other. */
};
/** Values of detail.t in Words_Place. */
enum {
  Words_Place_detail_t_near = 1, /**< u.near. */
  Words_Place_detail_t_far = 2, /**< u.far. */
};
/** Place: TS 00.002, 4. */
typedef struct Words_Place {
  struct {
#ifndef RTX_HIGH_BIT_FIRST
    unsigned char detailPresent : 1; /**< detail is there. */
    unsigned char marginPresent : 1; /**< margin is there. */
    unsigned char restPresent : 1; /**< rest is there. */
#else
    unsigned char : 5, restPresent : 1, marginPresent : 1, detailPresent : 1;
#endif
  } m; /**< What is there. */
  uint8_t length; /**< Length of 8 bits: octets of what follows; 2 to 40; encoders set it. */
  uint8_t kind; /**< 4 bits. */
  /** Alternative: 1 none (nothing in u), 2 points, 3 code, 4 other; 0 for none. Its constants begin with
   *  Words_Place_t_. Encoders go by kind instead. */
  uint32_t t;
  union {
    Words_Points points; /**< t 2: Points (3). */
    struct {
      /** Octets. A decoded count may be above Words_Place_code_capacity (RTX_E_CONSTRAINT, non-fatal, status 0):
       *  loops stop there. */
      uint8_t numocts;
      uint8_t data[Words_Place_code_capacity]; /**< The octets. */
    } code; /**< t 3: Octets, behind a length of 8 bits. */
    uint8_t other; /**< t 4: 4 bits. */
  } u; /**< The alternative that t tells. */
  struct {
    uint32_t t; /**< Alternative: 1 near, 2 far; 0 for none. Its constants begin with Words_Place_detail_t_. */
    union {
      uint8_t near; /**< t 1: 6 bits. */
      struct {
        /** Entries. A decoded count may be above Words_Place_detail_far_capacity (RTX_E_CONSTRAINT, non-fatal,
         *  status 0): loops stop there. */
        uint8_t n;
        Words_Point elem[Words_Place_detail_far_capacity]; /**< The entries: Point (2). */
      } far; /**< t 2: Point (2); 0 to 2 entries. */
    } u; /**< The alternative that t tells. */
  } detail; /**< One of several alternatives; there if bits are left. */
  uint8_t margin[3]; /**< 3 octets; there if bits are left and kind is not 0. */
  struct {
    uint8_t numbits; /**< Bits, at most Words_Place_rest_capacity. */
    uint8_t data[(Words_Place_rest_capacity + 7) / 8]; /**< The bits, the first in the highest bit. */
  } rest; /**< Bits, to the end of what holds it; there if bits are left. */
} Words_Place;

/** Groups: TS 00.002, 5. */
typedef struct Words_Groups {
  struct {
#ifndef RTX_HIGH_BIT_FIRST
    unsigned char leadPresent : 1; /**< lead is there. */
    unsigned char release7Present : 1; /**< The group of release 7 is there. */
    unsigned char namePresent : 1; /**< name is there. */
#else
    unsigned char : 5, namePresent : 1, release7Present : 1, leadPresent : 1;
#endif
  } m; /**< What is there. */
  uint8_t length; /**< Length of 8 bits: octets of what follows; encoders set it. */
  uint8_t lead; /**< 3 bits; led by a bit, 1 if it is there. */
  uint8_t since; /**< 4 bits; there with release7Present. */
  Words_Points points; /**< Points (3). */
  struct {
    uint64_t n; /**< Entries. */
    Words_Point *elem; /**< The entries, on the context's heap, null if there are none: Point (2). */
  } others; /**< Point (2); as many entries as since says, 0 to 9 entries. */
  /** Labels joined by dots, zero-ended, on the context's heap; to the end of what holds it; there if bits are left. */
  char* name;
} Words_Groups;

/** Move: TS 00.002, 6. Message type 0x11. */
typedef struct Words_Move {
  struct {
#ifndef RTX_HIGH_BIT_FIRST
    unsigned char viaPresent : 1; /**< via is there, IEI 0x20. */
    /** The group ext1 is there: without this bit none of its elements is encoded or printed. */
    unsigned char ext1Present : 1;
    unsigned char colourPresent : 1; /**< colour is there, IEI 0x3-; set ext1Present with it. */
#else
    unsigned char : 5, colourPresent : 1, ext1Present : 1, viaPresent : 1;
#endif
  } m; /**< What is there. */
  Words_Place place; /**< Place (4). */
  Words_Groups groups; /**< Groups (5). */
  Words_Name name; /**< Name (3). */
  Words_Place via; /**< Place (4); IEI 0x20. */
  Words_Colour colour; /**< Colour (1), 4 bits; IEI 0x3-. */
} Words_Move;

/** Values of data.t in Words_PDU. */
enum {
  Words_PDU_data_t_Move = 2, /**< u.obj_Move: Move (6). */
  Words_PDU_data_t_Stop = 1, /**< Nothing in u. */
};
/** Values of type in Words_PDU. */
enum {
  Words_PDU_type_Move = 0x11, /**< Move (6); under discr 5. */
  Words_PDU_type_Stop = 0x12, /**< No body; under discr 5. */
};
/** PDU: TS 00.002, 7. */
typedef struct Words_PDU {
  uint8_t discr; /**< 8 bits. */
  uint8_t type; /**< 8 bits; its constants begin with Words_PDU_type_. */
  struct {
    uint32_t t; /**< Message: 2 Move, 1 Stop (nothing in u); 0 for none. Its constants begin with Words_PDU_data_t_. */
    union {
      void* any; /**< Whichever of them it is. */
      Words_Move* obj_Move; /**< t 2, message type 0x11: Move (6). */
    } u; /**< The message that t tells; pointers point to the context's heap. */
  } data; /**< The message. */
} Words_PDU;

/** Decodes at the cursor. 0 or a negative status. */
VELNOR_API int NASDec_Words_Colour(RtxContext* pctxt, Words_Colour* pvalue);
/** Encodes at the cursor; lengths are stored back. 0 or a negative status. */
VELNOR_API int NASEnc_Words_Colour(RtxContext* pctxt, Words_Colour value);
/** Prints the value under the name to the context's print stream. Always 0. */
VELNOR_API int asn1PrtToStrm_Words_Colour(RtxContext* pctxt, const char* name, const Words_Colour* pvalue);
/** A sample value on the context's heap, or null. */
VELNOR_API Words_Colour* asn1Test_Words_Colour(RtxContext* pctxt);
/** Names and values, sorted by name. */
VELNOR_API extern const RtxEnumItem Words_Colour_ENUMTAB[2];
/** The value's name, or "_UNKNOWN_". */
VELNOR_API const char* Words_Colour_ToString(int32_t value);
/** The value of a name, or RTX_E_ENUM_VALUE. */
VELNOR_API int Words_Colour_ToEnum(RtxContext* pctxt, const char* name, Words_Colour* pvalue);
/** The same for a name of so many octets. */
VELNOR_API int Words_Colour_ToEnum2(RtxContext* pctxt, const char* name, size_t namelen, Words_Colour* pvalue);
/** Decodes at the cursor. 0 or a negative status. */
VELNOR_API int NASDec_Words_Points(RtxContext* pctxt, Words_Points* pvalue);
/** Encodes at the cursor; lengths are stored back. 0 or a negative status. */
VELNOR_API int NASEnc_Words_Points(RtxContext* pctxt, Words_Points* pvalue);
/** Prints the value under the name to the context's print stream. Always 0. */
VELNOR_API int asn1PrtToStrm_Words_Points(RtxContext* pctxt, const char* name, const Words_Points* pvalue);
/** Sets presence bits, t, u, counts, pointers and members named spare or ext to 0, and empties texts. Numbers,
 *  flags, enumerations, fixed octets and the content of other arrays stay as they are. 0 or RTX_E_NULL_POINTER. */
VELNOR_API int asn1Init_Words_Points(Words_Points* pvalue);
/** A sample value on the context's heap, or null. */
VELNOR_API Words_Points* asn1Test_Words_Points(RtxContext* pctxt);
/** Decodes at the cursor. 0 or a negative status; a string cut short may leave 0: ask rtxErrGetStatus as well. */
VELNOR_API int NASDec_Words_Name(RtxContext* pctxt, Words_Name* pvalue);
/** Encodes at the cursor; lengths are stored back. 0 or a negative status; a string without room may leave 0: ask
 *  rtxErrGetStatus as well. */
VELNOR_API int NASEnc_Words_Name(RtxContext* pctxt, Words_Name* pvalue);
/** Prints the value under the name to the context's print stream. Always 0. */
VELNOR_API int asn1PrtToStrm_Words_Name(RtxContext* pctxt, const char* name, const Words_Name* pvalue);
/** Sets presence bits, t, u, counts, pointers and members named spare or ext to 0, and empties texts. Numbers,
 *  flags, enumerations, fixed octets and the content of other arrays stay as they are. 0 or RTX_E_NULL_POINTER. */
VELNOR_API int asn1Init_Words_Name(Words_Name* pvalue);
/** A sample value on the context's heap, or null. */
VELNOR_API Words_Name* asn1Test_Words_Name(RtxContext* pctxt);
/** Decodes at the cursor. 0 or a negative status; a string cut short may leave 0: ask rtxErrGetStatus as well. */
VELNOR_API int NASDec_Words_Move(RtxContext* pctxt, Words_Move* pvalue);
/** Encodes at the cursor; lengths are stored back. 0 or a negative status; a string without room may leave 0: ask
 *  rtxErrGetStatus as well. */
VELNOR_API int NASEnc_Words_Move(RtxContext* pctxt, Words_Move* pvalue);
/** Prints the value under the name to the context's print stream. Always 0. */
VELNOR_API int asn1PrtToStrm_Words_Move(RtxContext* pctxt, const char* name, const Words_Move* pvalue);
/** Sets presence bits, t, u, counts, pointers and members named spare or ext to 0, and empties texts. Numbers,
 *  flags, enumerations, fixed octets and the content of other arrays stay as they are. 0 or RTX_E_NULL_POINTER. */
VELNOR_API int asn1Init_Words_Move(Words_Move* pvalue);
/** A sample value on the context's heap, or null. */
VELNOR_API Words_Move* asn1Test_Words_Move(RtxContext* pctxt);
/** Decodes at the cursor. 0 or a negative status; a string cut short may leave 0: ask rtxErrGetStatus as well. */
VELNOR_API int NASDec_Words_PDU(RtxContext* pctxt, Words_PDU* pvalue);
/** Encodes at the cursor; lengths are stored back. 0 or a negative status; a string without room may leave 0: ask
 *  rtxErrGetStatus as well. */
VELNOR_API int NASEnc_Words_PDU(RtxContext* pctxt, Words_PDU* pvalue);
/** Prints the value under the name to the context's print stream. Always 0. */
VELNOR_API int asn1PrtToStrm_Words_PDU(RtxContext* pctxt, const char* name, const Words_PDU* pvalue);
/** Sets presence bits, t, u, counts, pointers and members named spare or ext to 0, and empties texts. Numbers,
 *  flags, enumerations, fixed octets and the content of other arrays stay as they are. 0 or RTX_E_NULL_POINTER. */
VELNOR_API int asn1Init_Words_PDU(Words_PDU* pvalue);
/** A sample value on the context's heap, or null. */
VELNOR_API Words_PDU* asn1Test_Words_PDU(RtxContext* pctxt);
/** Makes the record hold this message; the message is not copied. */
VELNOR_API void asn1SetTC_Words_PDU_obj_Move(RtxContext* pctxt, Words_PDU* pdu, Words_Move* msg);
/** Makes the record hold this message; the message is not copied. */
VELNOR_API void asn1SetTC_Words_PDU_obj_Stop(RtxContext* pctxt, Words_PDU* pdu);

VELNOR_END_DECLS

#endif
