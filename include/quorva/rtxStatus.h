/**
 * @file rtxStatus.h
 * Status numbers. 0 is success, a positive status is a count, every negative one stands here.
 */
#ifndef QUORVA_RTXSTATUS_H
#define QUORVA_RTXSTATUS_H

#define RTX_OK 0 /**< Success. */

#define RTX_E_BUFFER_FULL (-1)        /**< Output has no room and the buffer may not grow. */
#define RTX_E_END_OF_DATA (-2)        /**< Input is exhausted, or the cursor moved outside the buffer. */
#define RTX_E_BAD_TOKEN (-3)          /**< Value notation: the expected token is not there. */
#define RTX_E_BAD_ENUM (-4)           /**< A number or name that the enumeration does not have. */
#define RTX_E_BAD_CHOICE (-9)         /**< A selector or message type with no alternative. */
#define RTX_E_NOMEM (-10)             /**< Memory exhausted. */
#define RTX_E_BAD_HEX (-11)           /**< A character that is no hexadecimal digit. */
#define RTX_E_BAD_REAL (-12)          /**< Text that is no real number. */
#define RTX_E_TOO_SMALL (-13)         /**< The caller's destination is too small. */
#define RTX_E_BAD_VALUE (-14)         /**< A value that a primitive can't take. */
#define RTX_E_CONSTRAINT (-16)        /**< A value, count or length outside its declared limits. */
#define RTX_E_END_OF_STREAM (-17)     /**< A stream gave fewer octets than the read needs. */
#define RTX_E_BAD_UTF8 (-18)          /**< An invalid UTF-8 sequence. */
#define RTX_E_INDEX (-19)             /**< An index outside a list or bit string. */
#define RTX_E_BAD_ARGUMENT (-20)      /**< A bad argument, or a stream in the wrong state. */
#define RTX_E_BAD_FORMAT (-21)        /**< Text not in the required form. */
#define RTX_E_NOT_INIT (-22)          /**< Context not initialised, no stream, or a missing record. */
#define RTX_E_OVERFLOW (-23)          /**< A value or size too large for its target. */
#define RTX_E_BAD_CHAR (-24)          /**< A character outside the allowed set. */
#define RTX_E_FILE_NOT_FOUND (-28)    /**< File absent. */
#define RTX_E_FILE_READ (-29)         /**< Reading a file failed. */
#define RTX_E_FILE_WRITE (-30)        /**< Writing a file failed. */
#define RTX_E_BAD_BASE64 (-31)        /**< Invalid base64 text. */
#define RTX_E_SOCKET (-32)            /**< A socket failure with no number of its own. */
#define RTX_E_BAD_REGEX (-34)         /**< A pattern that does not compile. */
#define RTX_E_HOST_NOT_FOUND (-37)    /**< No address for a host name. */
#define RTX_E_HTTP (-38)              /**< Malformed or failed HTTP exchange. */
#define RTX_E_UNKNOWN_NAME (-41)      /**< A bit name unknown to value notation. */
#define RTX_E_STREAM_ATTACHED (-46)   /**< The context has a stream already. */
#define RTX_E_NULL (-47)              /**< A required pointer is null. */
#define RTX_E_CANNOT_DO (-48)         /**< The step can't be done. */
#define RTX_E_MULTIPLE (-50)          /**< More than one fatal error is on record. */
#define RTX_E_ADDR_IN_USE (-52)       /**< Socket address in use. */
#define RTX_E_CONN_RESET (-53)        /**< Connection reset or aborted. */
#define RTX_E_UNREACHABLE (-54)       /**< Network or host unreachable. */
#define RTX_E_NOT_CONNECTED (-55)     /**< Socket not connected. */
#define RTX_E_CONN_REFUSED (-56)      /**< Connection refused. */
#define RTX_E_ALREADY_CONNECTED (-57) /**< Socket already connected. */
#define RTX_E_NO_MARK (-59)           /**< The context-buffer stream has no mark. */
#define RTX_E_UNSUPPORTED (-60)       /**< Not supported in this mode; a parameter names the thing. */
#define RTX_E_LENGTH_OVERRUN (-66)    /**< The cursor passed the end that an element's length gave. */
#define RTX_E_BAD_IEI (-67)           /**< An unknown information element that must be understood. */
#define RTX_E_NOT_ALIGNED (-68)       /**< A field that must start on an octet boundary does not. */
#define RTX_E_MAC_MISMATCH (-70)      /**< The message authentication code is not the computed one. */
#define RTX_E_NO_SECURITY (-71)       /**< The context has no NAS security state. */
#define RTX_E_VALUE_TYPE (-74)        /**< Compared values are of different kinds. */
#define RTX_E_VALUE_DIFFERS (-75)     /**< Compared values differ. */
#define RTX_E_UNUSED_BITS (-76)       /**< Bits behind the end of a bit string are set. */
#define RTX_E_WOULD_BLOCK (-79)       /**< The socket would block. */
#define RTX_E_BAD_OID (-100)          /**< An invalid object identifier. */
#define RTX_E_SIZE_MISMATCH (-101)    /**< An element does not fill its fixed size. */
#define RTX_E_NOT_OCTET_END (-112)    /**< An element with an open tail ended inside an octet. */
#define RTX_E_BAD_TIME (-114)         /**< An ASN.1 time breaks a canonical rule. */

#endif
