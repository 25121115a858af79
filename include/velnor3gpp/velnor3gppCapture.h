/**
 * @file velnor3gppCapture.h
 * Layer-3 messages out of captures, and into captures. A reader takes the octets of a pcap or pcapng file, in blocks of
 * any size or from a function that it calls, and gives back one frame after the other: the message in it, what kind of
 * message it is, when and which way it went; or why the frame holds none. A writer makes a capture that an independent
 * dissector opens without a setting. Both know no files and no clock, so they run wherever C does. A reader has all its
 * memory from the moment it is opened (1 MiB): no length in a file makes it allocate, and none makes it read beyond
 * what it was given. A reader or writer serves one thread at a time. Every failure is a status below 0 of rtxStatus.h.
 * What a call hands out belongs to the reader and is valid until its next call. Public structs begin with `size`, as
 * those of velnor3gpp.h do.
 */
#ifndef VELNOR3GPP_VELNOR3GPP_CAPTURE_H
#define VELNOR3GPP_VELNOR3GPP_CAPTURE_H

#include "velnor3gpp/velnor3gpp.h"

VELNOR_BEGIN_DECLS

/** A capture that is read. */
typedef struct velnor3gpp_CaptureReader velnor3gpp_CaptureReader;
/** A capture that is written. */
typedef struct velnor3gpp_CaptureWriter velnor3gpp_CaptureWriter;

/** The most octets of a frame. A longer one is damage. */
#define VELNOR3GPP_CAPTURE_FRAME_MAX 262144
/** The most comments of a frame; later ones are passed over. */
#define VELNOR3GPP_CAPTURE_COMMENTS_MAX 8

/** What `velnor3gpp_captureNext` returns when it has no status to tell. */
typedef enum {
  VELNOR3GPP_CAPTURE_END = 0,   /**< The capture ends here, behind a whole frame. */
  VELNOR3GPP_CAPTURE_FRAME = 1, /**< A frame. */
  VELNOR3GPP_CAPTURE_MORE = 2   /**< All octets that were fed are used; feed more, or say that there are none. */
} velnor3gpp_CaptureStep;

/** Whether a frame holds a message, and if not, why. */
typedef enum {
  VELNOR3GPP_CAPTURE_MESSAGE = 0,     /**< It holds one, or the last segment of one. */
  VELNOR3GPP_CAPTURE_LINK_TYPE = 1,   /**< The link type is not read, or no name is set for the user's type. */
  VELNOR3GPP_CAPTURE_PROTOCOL = 2,    /**< Another protocol than GSMTAP on UDP port 4729. */
  VELNOR3GPP_CAPTURE_UNKNOWN = 3,     /**< A type of GSMTAP, a channel or a dissector that has no layer 3 here. */
  VELNOR3GPP_CAPTURE_IP_FRAGMENT = 4, /**< A fragment of an IP packet. Fragments are not put together. */
  VELNOR3GPP_CAPTURE_SEGMENT = 5,     /**< A segment of a message; a later frame completes it, or is lost. */
  VELNOR3GPP_CAPTURE_FRAGMENT = 6,    /**< A segment that belongs to no whole message: others are missing. */
  VELNOR3GPP_CAPTURE_FILL = 7,        /**< A fill frame, or fill octets alone. */
  VELNOR3GPP_CAPTURE_CONTROL = 8,     /**< A frame of layer 2 without a message of its own. */
  VELNOR3GPP_CAPTURE_REPEATED = 9,    /**< A frame of layer 2 that came before, sent again. */
  VELNOR3GPP_CAPTURE_CUT = 10,        /**< The capture kept too few octets of the frame. */
  VELNOR3GPP_CAPTURE_MALFORMED = 11   /**< Headers that contradict themselves. */
} velnor3gpp_CaptureReason;

/** How many reasons there are. */
#define VELNOR3GPP_CAPTURE_REASONS 12

/** Which members of a connection are known. */
#define VELNOR3GPP_CAPTURE_HAS_ADDRESSES 1U /**< `source`, `destination` and both ports. */
#define VELNOR3GPP_CAPTURE_HAS_RADIO 2U     /**< `arfcn`, `timeslot`, `subslot`. */

/** What tells the connection of a message from others in the same capture. A part of frames, which does not grow. */
typedef struct {
  unsigned has;             /**< VELNOR3GPP_CAPTURE_HAS_...: what is known. */
  uint32_t addressSize;     /**< Octets of an address: 4 or 16. */
  uint8_t source[16];       /**< IP address of the sender of the frame. */
  uint8_t destination[16];  /**< IP address of its receiver. */
  uint16_t sourcePort;      /**< UDP port of the sender. */
  uint16_t destinationPort; /**< UDP port of the receiver. */
  uint16_t arfcn;           /**< The radio channel's number, without its two flags. */
  uint8_t timeslot;         /**< The timeslot, 0 to 7. */
  uint8_t subslot;          /**< The part of the timeslot. */
  uint32_t interfaceNumber; /**< The interface in its section; 0 in pcap files. */
} velnor3gpp_CaptureConnection;

/** A comment on a frame. */
typedef struct {
  const char* text; /**< Characters in UTF-8, not terminated. */
  size_t count;     /**< How many octets. */
} velnor3gpp_CaptureComment;

/** A frame and the message in it. */
typedef struct {
  size_t size;                             /**< sizeof this struct. */
  velnor3gpp_CaptureReason reason;         /**< MESSAGE, or why it holds none. */
  uint64_t frame;                          /**< The frame's number, from 1. */
  uint64_t time;                           /**< Nanoseconds since 1970. */
  int hasTime;                             /**< 0: the capture tells no time. */
  uint32_t linkType;                       /**< What the frame begins with. */
  velnor3gpp_Direction direction;          /**< Which way it went. */
  velnor3gpp_Channel channel;              /**< The radio channel, if one is told. */
  const char* dissector;                   /**< The dissector's name of the protocol, "nas-5gs", or "". */
  const velnor3gpp_Type* type;             /**< The form of the message; null: its channel has several, or none. */
  const uint8_t* octets;                   /**< The message, or null. */
  size_t count;                            /**< Octets in it. */
  const uint8_t* frameOctets;              /**< The frame as it was captured. */
  size_t frameCount;                       /**< Octets in it. */
  size_t originalCount;                    /**< Octets that it had when it was captured. */
  velnor3gpp_CaptureConnection connection; /**< Whose message it is. */
  size_t commentCount;                     /**< How many comments there are. */
  velnor3gpp_CaptureComment comments[VELNOR3GPP_CAPTURE_COMMENTS_MAX]; /**< Comments on the frame. */
} velnor3gpp_CaptureFrame;

/** What a reader has read so far. */
typedef struct {
  size_t size;                                  /**< sizeof this struct. */
  uint64_t octets;                              /**< Octets of the file before the record that is read next. */
  uint64_t frames;                              /**< Frames. */
  uint64_t reasons[VELNOR3GPP_CAPTURE_REASONS]; /**< How many of them each reason holds for; the first: messages. */
} velnor3gpp_CaptureCounts;

/** Gets up to `room` octets of a capture. Returns how many, 0 at its end, or below 0: the read failed. */
typedef long (*velnor3gpp_CaptureReadFunc)(void* arg, uint8_t* octets, size_t room);
/** Takes `count` octets of a capture. Returns 0, or below 0: the write failed. */
typedef int (*velnor3gpp_CaptureWriteFunc)(void* arg, const uint8_t* octets, size_t count);

/** The form of a capture that is written. */
typedef enum {
  VELNOR3GPP_CAPTURE_PCAPNG = 0, /**< pcapng: times, directions, comments. */
  VELNOR3GPP_CAPTURE_PCAP = 1    /**< pcap with nanoseconds: comments are lost. */
} velnor3gpp_CaptureFormat;

/** Makes a reader that calls `read` for the octets; with null they are fed. End it with
 *  `velnor3gpp_captureClose`. Returns 0, RTX_E_NULL_POINTER or RTX_E_NO_MEMORY. */
VELNOR_API int velnor3gpp_captureOpen(velnor3gpp_CaptureReader** reader, velnor3gpp_CaptureReadFunc read, void* arg);
/** Ends a reader. Null is allowed. */
VELNOR_API void velnor3gpp_captureClose(velnor3gpp_CaptureReader* reader);
/** Says which dissector a user link type (147 to 162) belongs to: "nas-5gs", "nas-eps", "nas-eps_plain", "gsm_a_dtap",
 *  "gsm_a_rp", "gsm_a_ccch", "gsm_a_sacch" or "gsmtap"; null or "": to none. 148 is "nas-eps" and 151 "nas-5gs" from
 *  the beginning. Returns 0, RTX_E_NULL_POINTER, or RTX_E_BAD_PARAMETER for another number or name. */
VELNOR_API int velnor3gpp_captureMap(velnor3gpp_CaptureReader* reader, uint32_t linkType, const char* dissector);
/** Feeds the next octets. They stay where they are, and have to until `velnor3gpp_captureNext` returns MORE. None
 *  (`count` 0) says that there are no more. Returns 0, RTX_E_NULL_POINTER, or RTX_E_BAD_PARAMETER for a reader that
 *  calls a function, has octets left, or was told that there are no more. */
VELNOR_API int velnor3gpp_captureFeed(velnor3gpp_CaptureReader* reader, const uint8_t* octets, size_t count);
/** Reads the next frame. Returns a velnor3gpp_CaptureStep; RTX_E_END_OF_FILE if the capture ends inside a record, which
 *  is left out; RTX_E_BAD_FORMAT if it is no capture; RTX_E_BAD_LENGTH or RTX_E_BAD_VALUE for a damaged record;
 *  RTX_E_TOO_BIG for more interfaces than a section may have (1024); RTX_E_READ if the function failed. After a failure
 * nothing more is read, and `velnor3gpp_captureCounts` tells where it is. */
VELNOR_API int velnor3gpp_captureNext(velnor3gpp_CaptureReader* reader, velnor3gpp_CaptureFrame* frame);
/** Decodes the message of a frame as `velnor3gpp_decode` does: as its form, or where the channel has several as the one
 *  that reads it. Returns the status of the result, which is RTX_E_NO_PDU_TYPE where it has none; RTX_E_NULL_POINTER;
 *  or RTX_E_BAD_PARAMETER for a frame without a message, or without its `size`. */
VELNOR_API int velnor3gpp_decodeFrame(velnor3gpp_Session* session, const velnor3gpp_CaptureFrame* frame);
/** Tells what was read so far. Returns 0 or RTX_E_NULL_POINTER. */
VELNOR_API int velnor3gpp_captureCounts(const velnor3gpp_CaptureReader* reader, velnor3gpp_CaptureCounts* counts);
/** Returns a reason in words, "a fragment of an IP packet", or "" for a number that is none; a constant. */
VELNOR_API const char* velnor3gpp_captureReasonText(velnor3gpp_CaptureReason reason);
/** Returns the name of the dissector that reads a message of a form, "nas-5gs" for TS24501Msg_PDU. Its octets tell it
 *  where a form has several: EPS session management, which no security header leads, is "nas-eps_plain", all else of
 * EPS "nas-eps". Null if there is none. */
VELNOR_API const char* velnor3gpp_captureDissector(const velnor3gpp_Type* form, const uint8_t* octets, size_t count);
/** Returns 1 if the octets, 4 or more, begin as a capture does, else 0. */
VELNOR_API int velnor3gpp_isCapture(const uint8_t* octets, size_t count);

/** Makes a writer. What it writes, the head of the capture first, goes to `write` in pieces of 64 KiB. End it with
 *  `velnor3gpp_captureFinish`. Returns 0, RTX_E_NULL_POINTER, RTX_E_BAD_PARAMETER for another format, or
 *  RTX_E_NO_MEMORY. */
VELNOR_API int velnor3gpp_captureCreate(velnor3gpp_CaptureWriter** writer, velnor3gpp_CaptureFormat format,
                                        velnor3gpp_CaptureWriteFunc write, void* arg);
/** Writes a message: `dissector`, `octets`, `count`, `time`, `direction`, the addresses of `connection` and, in pcapng,
 *  the comments. A frame with `time` and `hasTime` of 0 has none, as far as the format can say so: pcap cannot, nor can
 *  pcapng with a comment, and both then tell 1970. The other members are not looked at. Returns 0; RTX_E_NULL_POINTER;
 * RTX_E_BAD_PARAMETER without a dissector, or with a name of more than 63 characters; RTX_E_TOO_BIG if the frame or a
 * comment (65,535) would have too many octets; RTX_E_BAD_VALUE for a time behind February 2106 in pcap, whose seconds
 * have 32 bits; all these with nothing written; or RTX_E_WRITE, which stays. */
VELNOR_API int velnor3gpp_captureWrite(velnor3gpp_CaptureWriter* writer, const velnor3gpp_CaptureFrame* frame);
/** Hands over what was written, for a reader that waits for it. Returns 0, RTX_E_WRITE, or RTX_E_NULL_POINTER. */
VELNOR_API int velnor3gpp_captureFlush(velnor3gpp_CaptureWriter* writer);
/** Hands over what is left and ends the writer. Returns 0, RTX_E_WRITE, or RTX_E_NULL_POINTER. */
VELNOR_API int velnor3gpp_captureFinish(velnor3gpp_CaptureWriter* writer);

VELNOR_END_DECLS

#endif
