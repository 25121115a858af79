/**
 * @file rtxStatus.h
 * The status codes. Every operation returns 0 or a positive count on success and one of these on failure; all codes
 * fit in 16 bits. rtxErrGetText gives the words of a record with its parameters. Codes from -100 down belong to ASN.1
 * types; some codes are for the use of applications and are given by no operation of the library.
 */
#ifndef VELNOR3GPP_RTX_STATUS_H
#define VELNOR3GPP_RTX_STATUS_H

#define RTX_E_ENCODE_OVERFLOW (-1)   /**< The output buffer is full and may not grow. */
#define RTX_E_END_OF_BUFFER (-2)     /**< The input ends before the field does. */
#define RTX_E_UNEXPECTED_IDENT (-3)  /**< An identifier other than the expected one. Parameters: expected, found. */
#define RTX_E_ENUM_VALUE (-4)        /**< A value or name that the enumeration does not have. Parameter: the value. */
#define RTX_E_DUPLICATE_ELEMENT (-5) /**< An element stands twice where it may stand once. */
#define RTX_E_MISSING_ELEMENT (-6)   /**< A required element is missing. Parameter: its name. */
#define RTX_E_SET_INDEX (-7)         /**< An element number outside a set. Parameter: the number. */
#define RTX_E_REPEAT_LIMIT (-8)      /**< More entries than the repeated field may have. */
#define RTX_E_INVALID_CHOICE (-9) /**< No alternative has this selector, tag or message type. Parameter: the value. */
#define RTX_E_NO_MEMORY                                                                                                \
  (-10)                      /**< The allocator refused, or the input asks for more memory than its size justifies.    \
                              */
#define RTX_E_BAD_HEX (-11)  /**< Text that is no hexadecimal string. */
#define RTX_E_BAD_REAL (-12) /**< Text that is no real number. */
#define RTX_E_STRING_TOO_LONG (-13)  /**< The target has no room for the string. */
#define RTX_E_BAD_VALUE (-14)        /**< A value that the operation does not take. */
#define RTX_E_NESTING_TOO_DEEP (-15) /**< Structures nested deeper than allowed. */
#define RTX_E_CONSTRAINT                                                                                               \
  (-16) /**< A value, length or count outside its bounds; non-fatal on decoding. Parameters: element path, value. */
#define RTX_E_END_OF_FILE (-17)        /**< A stream ends before what was asked of it. */
#define RTX_E_BAD_UTF8 (-18)           /**< An octet that is no UTF-8. Parameter: its index. */
#define RTX_E_INDEX_RANGE (-19)        /**< An index outside its array. */
#define RTX_E_BAD_PARAMETER (-20)      /**< An argument that the operation does not take. */
#define RTX_E_BAD_FORMAT (-21)         /**< A value in the wrong format. */
#define RTX_E_NO_CONTEXT (-22)         /**< The context is null or not initialised. */
#define RTX_E_TOO_BIG (-23)            /**< A value does not fit into its target. Parameter: the element. */
#define RTX_E_BAD_CHAR (-24)           /**< A character outside the set of its type. */
#define RTX_E_XML_STATE (-25)          /**< An operation out of turn on XML. */
#define RTX_E_XML_PARSER (-26)         /**< An XML parser failed. Parameter: its words. */
#define RTX_E_ORDER (-27)              /**< Elements out of their order. */
#define RTX_E_FILE_OPEN (-28)          /**< A file cannot be opened. */
#define RTX_E_READ (-29)               /**< A read from a file or stream failed. */
#define RTX_E_WRITE (-30)              /**< A write to a file or stream failed. */
#define RTX_E_BAD_BASE64 (-31)         /**< Text that is no Base64. */
#define RTX_E_SOCKET (-32)             /**< A socket operation failed. */
#define RTX_E_ATTR_UNDEFINED (-33)     /**< An attribute that is not defined. Parameters: element, attribute. */
#define RTX_E_REGEXP (-34)             /**< A regular expression failed. Parameters: expression, reason. */
#define RTX_E_PATTERN (-35)            /**< A value that does not match its pattern. Parameters: field, value. */
#define RTX_E_MISSING_ATTR (-36)       /**< A required attribute is missing. Parameter: its name. */
#define RTX_E_HOST_UNRESOLVED (-37)    /**< A host name has no address. */
#define RTX_E_HTTP (-38)               /**< An HTTP exchange failed. Parameter: the reason. */
#define RTX_E_SOAP (-39)               /**< A SOAP exchange failed. Parameters: code, reason. */
#define RTX_E_UNNAMED_40 (-40)         /**< A number without meaning and without words. */
#define RTX_E_UNEXPECTED_ELEMENT (-41) /**< An element that is not expected here. Parameter: its name. */
#define RTX_E_OCCURRENCES (-42) /**< An element occurs too often or too rarely. Parameters: its name, the count. */
#define RTX_E_BAD_MESSAGE_BUFFER (-43) /**< A message buffer that cannot be used. */
#define RTX_E_ELEMENT_DECODE                                                                                           \
  (-44)                          /**< The content of an element failed to decode. Parameters: text, type, element.     \
                                  */
#define RTX_E_ATTR_DECODE (-45)  /**< An attribute failed to decode. Parameters: element, attribute. */
#define RTX_E_STREAM_OPEN (-46)  /**< The context has an open stream already. */
#define RTX_E_NULL_POINTER (-47) /**< A null pointer where a value is needed. Parameter: its name. */
#define RTX_E_GENERAL (-48)      /**< A failure that has no code of its own. Parameter: words. */
#define RTX_E_ATTR_FIXED (-49)   /**< An attribute differs from its fixed value. Parameters: attribute, value. */
#define RTX_E_MULTIPLE                                                                                                 \
  (-50) /**< More than one record is fatal, or records differ: the list of errors has them all.                        \
         */
#define RTX_E_NO_TYPE_INFO (-51)       /**< A derived type without type information. */
#define RTX_E_ADDRESS_IN_USE (-52)     /**< The address of a socket is in use. */
#define RTX_E_CONNECTION_RESET (-53)   /**< The other side reset the connection. */
#define RTX_E_UNREACHABLE (-54)        /**< The host cannot be reached. */
#define RTX_E_NOT_CONNECTED (-55)      /**< The socket is not connected. */
#define RTX_E_CONNECTION_REFUSED (-56) /**< The host refused the connection. */
#define RTX_E_SOCKET_OPTION (-57)      /**< A socket option that does not exist. */
#define RTX_E_SOAP_FAULT (-58)         /**< The answer is a SOAP fault. */
#define RTX_E_MARK_UNSUPPORTED (-59)   /**< A stream of this kind cannot be marked, or has no mark to go back to. */
#define RTX_E_NOT_SUPPORTED (-60)      /**< A feature that is not there. Parameter: what was asked for. */
#define RTX_E_UNBALANCED (-61)         /**< Brackets or braces do not pair. */
#define RTX_E_EXPECTED_NAME (-62)      /**< A value where a name is needed. */
#define RTX_E_BAD_UNICODE (-63)        /**< A character that is no Unicode. */
#define RTX_E_BAD_BOOLEAN (-64)        /**< A word that is no Boolean. */
#define RTX_E_BAD_NULL (-65)           /**< A word that is no null. */
#define RTX_E_BAD_LENGTH (-66)         /**< An element ends elsewhere than its length says. */
#define RTX_E_UNKNOWN_IE (-67)        /**< An unknown element that asks for comprehension. Parameter: its identifier. */
#define RTX_E_NOT_OCTET_ALIGNED (-68) /**< An element has to start on an octet and does not. */
#define RTX_E_EXTRA_DATA (-69)        /**< Octets are left behind the value. */
#define RTX_E_BAD_MAC                                                                                                  \
  (-70) /**< The message authentication code is wrong. Parameters: received, computed; keep the latter from strangers. \
         */
#define RTX_E_NO_SECURITY (-71)         /**< A protected message, and the context has no security record or no keys. */
#define RTX_E_COPY (-72)                /**< A value could not be copied. */
#define RTX_E_PARSE (-73)               /**< A message could not be parsed. Parameter: the message. */
#define RTX_E_VALUES_DIFFER (-74)       /**< Two values differ. Parameters: element, both values. */
#define RTX_E_BUFFERS_DIFFER (-75)      /**< Two buffers differ. Parameters: element, differences. */
#define RTX_E_UNUSED_BITS (-76)         /**< Unused bits of a bit string are not 0. */
#define RTX_E_NO_DECODER (-78)          /**< A type that has no decoder. */
#define RTX_E_WOULD_BLOCK (-79)         /**< A socket operation would have to wait. */
#define RTX_E_NO_RECORDS (-80)          /**< A file of records that has none. */
#define RTX_E_TLS (-81)                 /**< A TLS operation failed. Parameters: function, status. */
#define RTX_E_INT_OVERFLOW (-82)        /**< A calculation exceeds the width of its integer. */
#define RTX_E_ABORTED (-83)             /**< A callback asked to stop. */
#define RTX_E_BAD_OID (-100)            /**< An object identifier that is none. */
#define RTX_E_BAD_FIELD_LENGTH (-101)   /**< A field of a wrong length. */
#define RTX_E_BAD_TAG (-102)            /**< A tag that is none. */
#define RTX_E_BAD_BIT_STRING (-103)     /**< A bit string that is none. */
#define RTX_E_TABLE_INDEX (-104)        /**< An identifier that a table constraint does not have. */
#define RTX_E_TABLE_VALUE (-105)        /**< A value that a table constraint forbids. */
#define RTX_E_LIST_CONCURRENT (-106)    /**< A list was changed during a walk over it. */
#define RTX_E_LIST_STATE (-107)         /**< A list operation out of turn. */
#define RTX_E_NOT_PDU (-108)            /**< A top-level operation on a type that is none. */
#define RTX_E_UNRESOLVED_TYPE (-109)    /**< The type of an element is not known. */
#define RTX_E_PER_MISMATCH (-110)       /**< An element is packed otherwise than configured. */
#define RTX_E_UNDEFINED_TAG (-111)      /**< A tag that the sequence does not have. Parameter: the tag. */
#define RTX_E_BAD_ALIGNMENT (-112)      /**< A value whose end has to lie on an octet does not end there. */
#define RTX_E_NO_PDU_TYPE (-113)        /**< The top-level type of a message is not known. */
#define RTX_E_NOT_CANONICAL (-114)      /**< An encoding that is not the canonical one. Parameter: what differs. */
#define RTX_E_INVALID_FOR_TYPE (-115)   /**< A value that its type does not have. */
#define RTX_E_LENGTH_FORM (-116)        /**< A length in a form that the encoding rules forbid. */
#define RTX_E_LENGTH_NOT_MINIMAL (-117) /**< A length of more octets than needed. */
#define RTX_E_NOT_PRIMITIVE (-118)      /**< A constructed value where a primitive one is needed. */
#define RTX_E_FRAGMENTATION (-119)      /**< A value whose fragments do not follow the encoding rules. */

#endif
