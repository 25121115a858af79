/**
 * @file velnor3gpp.h
 * One small interface over all types: find a type by name, ask what octets are, decode, look at what came, and encode
 * again, without knowing any record when the caller is compiled. A session holds all memory of one caller: a message at
 * a time, its findings, and the keys of one connection, which outlast the messages. One session serves one thread at a
 * time; sessions know nothing of each other. Every failure is a status below 0 of rtxStatus.h; nothing is printed and
 * no process ends. Text and octets that a call hands out belong to the session and are valid until its next call,
 * unless the call says otherwise. Public structs begin with `size`: set it to sizeof of the struct before the call, and
 * a library that knows more or fewer members fills in only those that both know. A size that was left at 0 gives
 * RTX_E_BAD_PARAMETER.
 */
#ifndef VELNOR3GPP_VELNOR3GPP_H
#define VELNOR3GPP_VELNOR3GPP_H

#include "velnor3gpp/rtxStatus.h"
#include "velnor3gpp/rtxTypes.h"

VELNOR_BEGIN_DECLS

/** A type of the library. Types are constants: they need no release and may be used by all threads. */
typedef struct velnor3gpp_Type velnor3gpp_Type;
/** All that belongs to one caller. */
typedef struct velnor3gpp_Session velnor3gpp_Session;

/** Who sends a message. */
typedef enum {
  VELNOR3GPP_DIRECTION_UNKNOWN = 0, /**< Either side, or not known. */
  VELNOR3GPP_UP = 1,                /**< From the mobile to the network. */
  VELNOR3GPP_DOWN = 2               /**< From the network to the mobile. */
} velnor3gpp_Direction;

/** The channel that carried a radio resource message. It chooses the form, which the octets need not tell. */
typedef enum {
  VELNOR3GPP_CHANNEL_UNKNOWN = 0, /**< Not known, or no radio resource message. */
  VELNOR3GPP_BCCH = 1,            /**< Broadcast. */
  VELNOR3GPP_CCCH = 2,            /**< Common control: paging, assignment. */
  VELNOR3GPP_DCCH = 3,            /**< Dedicated control. */
  VELNOR3GPP_SACCH = 4,           /**< Slow associated control: measurement reports, system information. */
  VELNOR3GPP_SHORT = 5            /**< The short header of layer 2. */
} velnor3gpp_Channel;

/** The most forms that octets can belong to. */
#define VELNOR3GPP_FORMS_MAX 4

/** What an element is. */
typedef enum {
  VELNOR3GPP_RECORD = 0,     /**< Members, each under its name. */
  VELNOR3GPP_CHOICE = 1,     /**< One member: the alternative. */
  VELNOR3GPP_LIST = 2,       /**< Entries without names. */
  VELNOR3GPP_NUMBER = 3,     /**< `number`, an unsigned integer of `width` bits; some with `valueName`. */
  VELNOR3GPP_FLAG = 4,       /**< `number`, 0 or 1. */
  VELNOR3GPP_ENUMERATED = 5, /**< `number`, and where it has one `valueName`. */
  VELNOR3GPP_OCTETS = 6,     /**< `count` octets at `data`. */
  VELNOR3GPP_BITS = 7,       /**< `count` bits at `data`, the first one on top. */
  VELNOR3GPP_TEXT =
      8, /**< `count` characters at `data`: digits, names; mostly ASCII. A 0 is a digit that is missing. */
  VELNOR3GPP_NOTHING = 9 /**< It is there, and has no content. */
} velnor3gpp_Kind;

/** What a type is used for. */
typedef enum {
  VELNOR3GPP_ELEMENT = 0, /**< A part of messages. */
  VELNOR3GPP_MESSAGE = 1, /**< The body of a message. */
  VELNOR3GPP_FORM = 2     /**< A whole message with its header: what `velnor3gpp_detect` finds. */
} velnor3gpp_Use;

/** What is known of a type. All texts are constants and terminated. */
typedef struct {
  size_t size;                    /**< sizeof this struct. */
  const char* name;               /**< "TS24501Msg_RegRequest". */
  const char* shortName;          /**< "RegRequest". */
  const char* title;              /**< The standard's name, "Registration request", or "". */
  const char* clause;             /**< "TS 24.501, 8.2.6". */
  const char* module;             /**< "TS24501Msg". */
  velnor3gpp_Use use;             /**< Element, message or form. */
  int messageType;                /**< The octet that selects a message, or -1. */
  velnor3gpp_Direction direction; /**< Who sends the message. */
  int decodes;                    /**< 1 if `velnor3gpp_decode` takes it. */
  int encodes;                    /**< 1 if `velnor3gpp_encode` takes it. */
  int release; /**< Of a type with release groups, as radio capabilities have: the newest release of them; else 0. */
} velnor3gpp_TypeFacts;

/** Keys and counts of one NAS connection. */
typedef struct {
  size_t size;                 /**< sizeof this struct. */
  uint8_t integrityKey[16];    /**< Key of the integrity algorithm. */
  uint8_t cipherKey[16];       /**< Key of the ciphering algorithm. */
  uint32_t integrityAlgorithm; /**< 0 null, 2 AES (128-EIA2, 128-NIA2). */
  uint32_t cipherAlgorithm;    /**< 0 null, 2 AES (128-EEA2, 128-NEA2). */
  int bearer;                  /**< 0 to 31, or -1: 1 for 5GS, 0 for EPS. */
  uint32_t uplinkCount;        /**< The lowest count of the next message from the mobile. */
  uint32_t downlinkCount;      /**< The lowest count of the next message to it. */
  uint32_t window;             /**< How far behind the next count one may lie: 0 none, for streams out of order. */
} velnor3gpp_Keys;

/** What can be set for a session. */
typedef enum {
  VELNOR3GPP_OPTION_RELEASE = 0, /**< Release limit of radio capabilities, 0 none. */
  VELNOR3GPP_OPTION_KEEP = 1,    /**< 1: what a record does not hold is kept and comes back on encoding. */
  VELNOR3GPP_OPTION_STANDARD = 2 /**< 1: what differs from the public standard follows the standard (docs/quirks.md). */
} velnor3gpp_Option;

/** What is known about a message's integrity. */
typedef enum {
  VELNOR3GPP_PLAIN = 0,          /**< Not protected. */
  VELNOR3GPP_VERIFIED = 1,       /**< The authentication code is right. */
  VELNOR3GPP_FORGED = 2,         /**< The code does not fit these keys and counts. */
  VELNOR3GPP_NO_KEYS = 3,        /**< Protected, and the session has no keys. */
  VELNOR3GPP_NULL_ALGORITHM = 4, /**< The keys say: no integrity protection. */
  VELNOR3GPP_NOT_COVERED = 5,    /**< A header type whose code the decoder does not look at. */
  VELNOR3GPP_NOT_REACHED = 6     /**< Decoding ended before the code. */
} velnor3gpp_Check;

/** What came of a message. Texts are constants. */
typedef struct {
  size_t size;                    /**< sizeof this struct. */
  const velnor3gpp_Type* type;    /**< Of the record, or null without one. */
  const char* message;            /**< The definition's name of the message, or "". */
  const char* title;              /**< The standard's name of the message, or "". */
  velnor3gpp_Direction direction; /**< As given, or told by the count that verified the message or by its type. */
  int status;                     /**< 0, or what is wrong; RTX_E_MULTIPLE: several findings. */
  size_t findings;                /**< How many `velnor3gpp_finding` has. */
  const uint8_t* octets;          /**< The message as it was given; valid until the next message. */
  size_t count;                   /**< Octets in it. */
  size_t used;                    /**< Octets that were read. */
  size_t missing;                 /**< How far lengths lead behind the end. */
  velnor3gpp_Check check;         /**< What is known about its integrity. */
  int headerOnly;                 /**< 1: ciphered, and no keys: the record is the security header alone. */
  uint32_t nasCount;              /**< The count that was used. */
  size_t kept;                    /**< How many elements `velnor3gpp_kept` has. */
  const uint8_t* deciphered;      /**< As many octets as the decoder read them: positions are theirs. */
} velnor3gpp_Result;

/** Why an element was kept and not read. */
typedef enum {
  VELNOR3GPP_KEPT_UNKNOWN = 0,     /**< The message has no such element. */
  VELNOR3GPP_KEPT_REPEATED = 1,    /**< It stood there before. */
  VELNOR3GPP_KEPT_OUT_OF_TURN = 2, /**< Others that stand behind it have come. */
  VELNOR3GPP_KEPT_UNREADABLE = 3,  /**< It fails inside its own length. */
  VELNOR3GPP_KEPT_SURPLUS = 4,     /**< No element is known to be there. */
  VELNOR3GPP_KEPT_PADDING = 5,     /**< Octets 0x2B behind a message. */
  VELNOR3GPP_KEPT_UNUSUAL = 6      /**< It was read, but holds bits that no member of the record holds. */
} velnor3gpp_KeptWhy;

/** Where a kept element stands in its record. */
typedef enum {
  VELNOR3GPP_KEPT_BEHIND = 0,  /**< Behind the element; without one, in front of all that have an identifier. */
  VELNOR3GPP_KEPT_INSTEAD = 1, /**< In place of the element. */
  VELNOR3GPP_KEPT_INSIDE = 2,  /**< At the end of what the length of this name counts. */
  VELNOR3GPP_KEPT_END = 3,     /**< Behind everything. */
  VELNOR3GPP_KEPT_OVER = 4     /**< Over what is encoded for the element; without one, for the whole record. */
} velnor3gpp_KeptAt;

/** An element that was kept. Texts and octets are valid until the next call for the session. */
typedef struct {
  size_t size;            /**< sizeof this struct. */
  velnor3gpp_KeptWhy why; /**< Why it was not read. */
  velnor3gpp_KeptAt at;   /**< Where it stands. */
  unsigned iei;           /**< Its identifier. */
  unsigned ieiBits;       /**< 8, 4, or 0: none. */
  size_t octet;           /**< Its first octet in the message, from 0. */
  const uint8_t* octets;  /**< All of it, with identifier and length. */
  size_t count;           /**< Octets, a begun one included. */
  size_t bits;            /**< Bits; what a region has left need not be whole octets. */
  int status;             /**< What is wrong inside it, or 0. */
  const char* text;       /**< "unknown 0x7A", "unreadable 0x79: -2 at taiList". */
  const char* path;       /**< Of the record it belongs to, as `velnor3gpp_nodePath` has it. */
  const char* element;    /**< The element of that record where it stands, or "". */
  const char* fault;      /**< The path inside it of what is wrong, or "". */
  const uint8_t* regular; /**< VELNOR3GPP_KEPT_OVER: what an encoder writes by itself, behind the identifier as `octets`
                               are. These stand over it for as long as it writes that. Null: it refuses the value. */
  size_t regularCount;    /**< Octets of it. */
  unsigned bit;           /**< Its first bit in `octet`, 8 the topmost. */
} velnor3gpp_Kept;

/** Something that a message or an input is not in order with. */
typedef struct {
  size_t size;            /**< sizeof this struct. */
  int status;             /**< A code of rtxStatus.h. */
  int fatal;              /**< 0: a remark, decoding went on as if it were in order. */
  const char* text;       /**< In words; valid until the next call for the session. */
  const char* path;       /**< Of the element, as `velnor3gpp_nodePath` has it; "" if none is known; as `text`. */
  size_t octet;           /**< Where, counted from 0; SIZE_MAX if not known. */
  int bit;                /**< The bit in that octet, 8 the topmost, or 0. */
  const char* clause;     /**< Of the element's type, or "". */
  const char* definition; /**< The coder that found it, "TS24501IESDec": file TS24501IES.l3, or "". */
  int line;               /**< The line in that file, or 0. */
} velnor3gpp_Finding;

/** A step of a walk over a record. */
typedef enum {
  VELNOR3GPP_VALUE = 0, /**< A number, flag, string, or nothing. */
  VELNOR3GPP_ENTER = 1, /**< A record, choice or list begins. */
  VELNOR3GPP_LEAVE = 2  /**< It ends; the node is the one that began. */
} velnor3gpp_Step;

/** An element of a record. Nodes live while the function that gets them runs; those they lie in live as long. */
typedef struct velnor3gpp_Node {
  size_t size;                          /**< sizeof this struct. */
  const struct velnor3gpp_Node* parent; /**< What it lies in, null for the whole. */
  const char* name;                     /**< Its name in a record or choice; null for the whole and for an entry. */
  uint32_t nameLength;                  /**< Characters of the name. */
  uint32_t index;                       /**< The position of an entry in its list. */
  velnor3gpp_Step step;                 /**< Value, enter or leave. */
  velnor3gpp_Kind kind;                 /**< What it is. */
  uint8_t width;                        /**< Bits on the wire of a number, flag or enumeration. */
  uint64_t number;                      /**< The value, by kind. */
  const uint8_t* data;                  /**< Octets, bits or characters, by kind. */
  size_t count;                         /**< How many; of a list, its entries. */
  const char* valueName;                /**< With VELNOR3GPP_NAMES: the name of the value, also
                                             of a number or flag whose values the standard names; or null. */
  size_t bitOffset;                     /**< With VELNOR3GPP_POSITIONS: its first bit, from the start of the message. */
  size_t bits;                          /**< How many bits it takes there; 0: not known. */
} velnor3gpp_Node;

/** What a walk shall tell beside the values. */
#define VELNOR3GPP_NAMES 1U     /**< Names of values. */
#define VELNOR3GPP_POSITIONS 2U /**< Where each element stands; the message is decoded once more for it. */

/** A sample as short as it can be. */
#define VELNOR3GPP_MINIMAL 4U
/** A trace as a page. */
#define VELNOR3GPP_HTML 8U

/** Gets each node. 0: go on; 1 on ENTER: pass over what lies inside; below 0: end, the walk returns that. */
typedef int (*velnor3gpp_VisitFunc)(const velnor3gpp_Node* node, void* arg);

/** What a record is built from, step by step. */
typedef enum {
  VELNOR3GPP_BUILD_BEGIN = 0,  /**< A record of `type`; `text` leads the paths of findings. */
  VELNOR3GPP_BUILD_MEMBER = 1, /**< The next value belongs to the member or alternative of this name. */
  VELNOR3GPP_BUILD_OPEN = 2,   /**< A record or choice begins. */
  VELNOR3GPP_BUILD_LIST = 3,   /**< A list begins. */
  VELNOR3GPP_BUILD_CLOSE = 4,  /**< The record, choice or list begun last ends. */
  VELNOR3GPP_BUILD_NUMBER = 5, /**< `number`, for numbers and enumerations. */
  VELNOR3GPP_BUILD_FLAG = 6,   /**< `number`, 0 or 1, for flags and for what has no content. */
  VELNOR3GPP_BUILD_TEXT = 7,   /**< Text for digits, text and wide numbers; hexadecimal for octets; 0 and 1 for bits. */
  VELNOR3GPP_BUILD_OTHER = 8,  /**< What no member can be; `text` says what it is. */
  VELNOR3GPP_BUILD_END = 9,    /**< The record is complete and becomes the session's. */
  VELNOR3GPP_BUILD_CLEAR = 10  /**< The message before ends; nothing begins. */
} velnor3gpp_BuildStep;

/** One step. */
typedef struct {
  size_t size;                 /**< sizeof this struct. */
  velnor3gpp_BuildStep step;   /**< What it is. */
  const velnor3gpp_Type* type; /**< BEGIN: the type. */
  const char* text;            /**< MEMBER, TEXT, BEGIN, OTHER: characters; they need no terminator. */
  size_t count;                /**< How many. */
  uint64_t number;             /**< NUMBER, FLAG; BEGIN: octets of the source, which bound memory; END: direction. */
} velnor3gpp_BuildEvent;

/** An element of a type, as its definition has it. */
typedef struct {
  size_t size;                 /**< sizeof this struct. */
  velnor3gpp_Step step;        /**< Enter and leave where elements lie inside, else value. */
  velnor3gpp_Kind kind;        /**< What it is. */
  const char* name;            /**< Its name in a record or choice; null for the whole and for entries. */
  uint32_t nameLength;         /**< Characters of the name. */
  const velnor3gpp_Type* type; /**< Of a RECORD of a type that is described by a call of its own; else null. */
  int optional;                /**< 1: a record may lack it. */
  int omissible;               /**< 1: building works it out or takes 0: lengths, spare bits. */
  uint8_t width;               /**< Bits on the wire of a number, flag or enumeration. */
  size_t least;                /**< The fewest octets, bits or characters. */
  size_t most;                 /**< The most of them, or entries of a list; SIZE_MAX: no bound. */
  int identifier;              /**< The octet before an element of a message, 0x77, or its high half, 0x80; else -1. */
  const velnor3gpp_Type* is;   /**< Of a value that is a type by itself, which has a name and a clause; else null. */
  int release; /**< Of an element in a release group: its release, which VELNOR3GPP_OPTION_RELEASE has to
                    reach for it to be read; else 0. */
} velnor3gpp_Member;

/** Gets each element. 0: go on; below 0: end, the description returns that. */
typedef int (*velnor3gpp_DescribeFunc)(const velnor3gpp_Member* member, void* arg);

/** Returns the version of the library, "0.1.0". */
VELNOR_API const char* velnor3gpp_version(void);
/** Returns what a status of rtxStatus.h means, with "%s" where a finding has its parameters; null for another. */
VELNOR_API const char* velnor3gpp_statusText(int status);
/** Returns how many types there are. */
VELNOR_API size_t velnor3gpp_typeCount(void);
/** Returns a type by its place, 0 to the count less 1, in the order of names; null beyond. */
VELNOR_API const velnor3gpp_Type* velnor3gpp_typeAt(size_t index);
/** Returns the type of that full or short name, whatever its case. Null if there is none, or several of the short name:
 *  `*others`, if not null, tells how many. */
VELNOR_API const velnor3gpp_Type* velnor3gpp_typeByName(const char* name, size_t* others);
/** Fills in what is known of a type. Returns 0, or RTX_E_NULL_POINTER. */
VELNOR_API int velnor3gpp_typeFacts(const velnor3gpp_Type* type, velnor3gpp_TypeFacts* facts);
/** Tells the elements of a type in the order of its definition, alternatives and all; types inside it are named.
 * Returns 0, RTX_E_NULL_POINTER, what the function returned below 0, or RTX_E_NESTING_TOO_DEEP. */
VELNOR_API int velnor3gpp_describe(const velnor3gpp_Type* type, velnor3gpp_DescribeFunc describe, void* arg);
/** Tells the forms that octets can belong to, by protocol discriminator and message type, the likeliest first, in
 *  `types`, which has room for VELNOR3GPP_FORMS_MAX. More than one is possible for radio resource messages alone.
 *  Returns how many there are; 0 if the octets do not tell. */
VELNOR_API size_t velnor3gpp_forms(const uint8_t* octets, size_t count, velnor3gpp_Direction direction,
                                   velnor3gpp_Channel channel, const velnor3gpp_Type** types);
/** Tells the likeliest form of a message on a channel that is not known, or null. */
VELNOR_API const velnor3gpp_Type* velnor3gpp_detect(const uint8_t* octets, size_t count,
                                                    velnor3gpp_Direction direction);

/** Makes a session, to be ended with `velnor3gpp_close`. Returns 0, RTX_E_NULL_POINTER or RTX_E_NO_MEMORY. */
VELNOR_API int velnor3gpp_open(velnor3gpp_Session** session);
/** Ends a session with all that it holds and wipes its keys. Null is allowed. */
VELNOR_API void velnor3gpp_close(velnor3gpp_Session* session);
/** Sets the keys of the session, which are copied; null takes them away. They stay until they are set again. Returns 0,
 *  RTX_E_NO_MEMORY, RTX_E_NOT_SUPPORTED for another algorithm, or RTX_E_BAD_PARAMETER for another bearer; the session
 *  then has no keys. */
VELNOR_API int velnor3gpp_setKeys(velnor3gpp_Session* session, const velnor3gpp_Keys* keys);
/** Reads the keys back with the counts as they stand. Returns 0, or RTX_E_NO_SECURITY if there are none. */
VELNOR_API int velnor3gpp_getKeys(const velnor3gpp_Session* session, velnor3gpp_Keys* keys);
/** Sets an option, from the next message on. Returns 0, or RTX_E_BAD_PARAMETER. */
VELNOR_API int velnor3gpp_setOption(velnor3gpp_Session* session, velnor3gpp_Option option, uint32_t value);

/** Ends the message before and decodes one. Without `type`, the forms are tried that the octets can belong to. They
 *  are copied. Without keys, a protected message is read as far as it can be. Returns the status of the result; also
 * then the record holds what was read. */
VELNOR_API int velnor3gpp_decode(velnor3gpp_Session* session, const velnor3gpp_Type* type,
                                 velnor3gpp_Direction direction, const uint8_t* octets, size_t count);
/** The same without a type, for a message that came on a radio channel: the forms of that channel alone are tried.
 *  Returns the status of the result. */
VELNOR_API int velnor3gpp_decodeOn(velnor3gpp_Session* session, velnor3gpp_Channel channel,
                                   velnor3gpp_Direction direction, const uint8_t* octets, size_t count);
/** Encodes the session's record. A protected message is protected again with the keys, under the count that they
 *  gave it on decoding, else under the lowest one, from the next one of its direction on, that ends in the record's
 *  sequence number. The count stays: who sends the message sets keys with one more before the next is encoded.
 *  Without keys the authentication code is that of the record.
 *  Returns 0, or a status with findings. */
VELNOR_API int velnor3gpp_encode(velnor3gpp_Session* session, const uint8_t** octets, size_t* count);
/** Tells what came of the last decoding, building or encoding. Returns 0 or RTX_E_NULL_POINTER. */
VELNOR_API int velnor3gpp_result(velnor3gpp_Session* session, velnor3gpp_Result* result);
/** Tells a finding of the last call, from 0. Returns 0, or RTX_E_INDEX_RANGE. */
VELNOR_API int velnor3gpp_finding(velnor3gpp_Session* session, size_t index, velnor3gpp_Finding* finding);

/** Tells a kept element of the session's record, from 0, in the order of the wire. Returns 0, RTX_E_INDEX_RANGE, or
 *  RTX_E_NO_MEMORY. */
VELNOR_API int velnor3gpp_kept(velnor3gpp_Session* session, size_t index, velnor3gpp_Kept* kept);
/** Puts an element under a record that was built: `path`, `at`, `element` and the octets tell all that is needed. It is
 *  copied. Returns 0, RTX_E_UNEXPECTED_ELEMENT if the record has no such place, RTX_E_BAD_PARAMETER or RTX_E_NO_MEMORY.
 */
VELNOR_API int velnor3gpp_keep(velnor3gpp_Session* session, const velnor3gpp_Kept* kept);

/** Walks over the session's record in the order of its definition; `flags` are VELNOR3GPP_NAMES and
 *  VELNOR3GPP_POSITIONS. Returns 0, what the function returned below 0, RTX_E_BAD_PARAMETER without a record, or
 *  RTX_E_NESTING_TOO_DEEP beyond 64 levels. */
VELNOR_API int velnor3gpp_visit(velnor3gpp_Session* session, unsigned flags, velnor3gpp_VisitFunc visit, void* arg);
/** Writes the path of a node, "data.RegAccept5G.taiList.elements[0].tac", cut to `room` characters with the terminator.
 *  Returns the characters of the whole path without it. */
VELNOR_API size_t velnor3gpp_nodePath(const velnor3gpp_Node* node, char* text, size_t room);
/** Tells the type of a node, which has the standard's name and clause: of a record, and of a value that is a type by
 *  itself. Null for any other, and for a null pointer. */
VELNOR_API const velnor3gpp_Type* velnor3gpp_nodeType(const velnor3gpp_Node* node);
/** Prints the session's record as text of lines, terminated. Returns 0, RTX_E_BAD_PARAMETER without a record, or
 *  RTX_E_NO_MEMORY. */
VELNOR_API int velnor3gpp_toText(velnor3gpp_Session* session, const char** text, size_t* count);
/** Writes the bit trace of the message that was decoded: for each field its element path, its position, its bits. It
 *  is text of lines, or with VELNOR3GPP_HTML a whole page; terminated. The message is decoded once more for it. Returns
 *  0, RTX_E_BAD_PARAMETER where no message was decoded, or RTX_E_NO_MEMORY. */
VELNOR_API int velnor3gpp_trace(velnor3gpp_Session* session, unsigned flags, const char** text, size_t* count);
/** Makes a record of the type that encodes and decodes to itself, with every element that can be there; with
 *  VELNOR3GPP_MINIMAL a message goes without elements that have an identifier. In a form, `message` names the message,
 * as its definition or the standard does; null: the form's first one. Returns 0, RTX_E_INVALID_CHOICE if the form has
 * no such message, or RTX_E_NO_MEMORY. */
VELNOR_API int velnor3gpp_sample(velnor3gpp_Session* session, const velnor3gpp_Type* type, const char* message,
                                 unsigned flags);

/** Overwrites what tells who somebody is or what they said: identities, numbers, addresses, payloads, wherever the
 *  definitions say `private`. The record keeps its shape and encodes to as many octets, but for elements that
 *  were kept as unusual, which go out as regular ones; what a message holds unread, such as a container inside a
 *  container, stays as it is read: octets that no type knows are not looked into. The message's own octets are
 * forgotten. Returns 0, or RTX_E_BAD_PARAMETER without a record. */
VELNOR_API int velnor3gpp_redact(velnor3gpp_Session* session);

/** Replaces what `velnor3gpp_redact` overwrites by values that a key of 16 octets makes of it: under the same key the
 *  same identity becomes the same other one, whatever message or element it stands in, and no two become the same.
 *  Digits stay digits, as many; an IMSI keeps country and network, an IMEI has the check digit that belongs to it. It
 *  looks into messages that other messages carry, where the definitions say that octets are one. A key of random octets
 *  that is thrown away afterwards leaves no way back. Elements kept as unusual, and octets that no type knows, fare as
 * in `velnor3gpp_redact`. Returns 0, RTX_E_NULL_POINTER, RTX_E_NO_MEMORY, or RTX_E_BAD_PARAMETER without a record. */
VELNOR_API int velnor3gpp_pseudonymise(velnor3gpp_Session* session, const uint8_t key[16]);

/** Takes one step of building a record from named values: the mirror of `velnor3gpp_visit`. The first mistake is told
 *  as a finding with its path and how to mend it; the steps behind it return its status and do nothing, to BEGIN.
 *  Members that are there become present, selectors of alternatives and counts are worked out; lengths may be left out.
 */
VELNOR_API int velnor3gpp_build(velnor3gpp_Session* session, const velnor3gpp_BuildEvent* event);
/** Adds a finding of the caller's own, for libraries that read other forms of input. Texts are copied. Returns
 *  `status`. */
VELNOR_API int velnor3gpp_report(velnor3gpp_Session* session, int status, const char* path, const char* text);
/** Returns room for `size` characters that belongs to the session, with the characters that it held before, for
 *  libraries that write other forms; null when out of memory. It stays until the next call of this function. */
VELNOR_API char* velnor3gpp_room(velnor3gpp_Session* session, size_t size);

VELNOR_END_DECLS

#endif
