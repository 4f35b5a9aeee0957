/**
 * @file rtxUTF8Convert.h
 * UTF-8 to and from other encodings: 16-bit and 32-bit units, Latin-1, UTF-16 (RFC 2781).
 *
 * The functions without a context work on octets of given length, write no NUL and record nothing. They share
 * one frame. A destination that is full ends them without a failure, before the first character that does not
 * fit; so does a source that ends inside a character.
 */
#ifndef QUORVA_RTXUTF8CONVERT_H
#define QUORVA_RTXUTF8CONVERT_H

#include "quorva/rtxTypes.h"

QUORVA_BEGIN_DECLS

/**
 * Converts a text to 16-bit units, one a character: a code point above 16 bits is cut to its low 16 bits.
 * @param out     Receives the units, without a terminator; with null they are only counted.
 * @param nunits  Room at `out` in units.
 * @return Number of units, 0 for a null text. RTX_E_BUFFER_FULL, RTX_E_BAD_UTF8 with the octet's place in the
 *         text as its parameter, RTX_E_OVERFLOW for more than 2^31 - 1 units; all recorded if there is a
 * context.
 */
QUORVA_API int rtxUTF8ToUnicode(RtxContext* pctxt, const char* text, uint16_t* out, size_t nunits);

/** As rtxUTF8ToUnicode, to 32-bit units, which hold every code point. */
QUORVA_API int rtxUTF8ToUnicode32(RtxContext* pctxt, const char* text, uint32_t* out, size_t nunits);

/**
 * As rtxUTF8ToUnicode, into new heap memory, with a 0 behind the units.
 * @return 0 or a status, recorded; also RTX_E_NOMEM, and RTX_E_BAD_ARGUMENT for a null pointer. `*pvalue` is
 *         then untouched.
 */
QUORVA_API int rtxUTF8ToDynUniStr(RtxContext* pctxt, const char* text, Rtx16BitCharString* pvalue);
/** The same to 32-bit units. */
QUORVA_API int rtxUTF8ToDynUniStr32(RtxContext* pctxt, const char* text, Rtx32BitCharString* pvalue);

/**
 * Converts Latin-1 to UTF-8.
 * @param length  Octets of the source.
 * @param size    Room at `dest` in octets.
 * @return Octets written, or RTX_E_BUFFER_FULL for a null pointer or a size of 0.
 */
QUORVA_API int rtxLatin1ToUTF8(const uint8_t* source, size_t length, uint8_t* dest, size_t size);

/**
 * Converts UTF-8 to Latin-1.
 * @return Octets written, 0 for a null or empty source. RTX_E_BUFFER_FULL for a null destination or a size of
 *         0; RTX_E_BAD_UTF8 for a continuation octet where a character should start; RTX_E_BAD_CHAR for a
 *         lead octet above 0xF7, a bad continuation octet and a code point above 255.
 */
QUORVA_API int rtxUTF8ToLatin1(const uint8_t* source, size_t length, uint8_t* dest, size_t size);

/**
 * Converts little-endian UTF-16 without a byte order mark (U+FEFF is a character like others) to UTF-8.
 * @param length  Octets of the source.
 * @return Octets written. RTX_E_BUFFER_FULL for a null pointer or a size of 0; RTX_E_BAD_UTF8 for a surrogate
 *         without its partner, at the end of the source too.
 */
QUORVA_API int rtxUTF16LEToUTF8(const uint8_t* source, size_t length, uint8_t* dest, size_t size);
/** The same from big-endian units. */
QUORVA_API int rtxUTF16BEToUTF8(const uint8_t* source, size_t length, uint8_t* dest, size_t size);

/**
 * Converts UTF-8 to little-endian UTF-16 without a byte order mark; a code point above 16 bits becomes a
 * pair.
 * @param size  Room at `dest` in octets.
 * @return Octets written, or a status as of rtxUTF8ToLatin1; RTX_E_BAD_UTF8 also for a code point that is a
 *         surrogate, RTX_E_BAD_CHAR for one above 0x10FFFF.
 */
QUORVA_API int rtxUTF8ToUTF16LE(const uint8_t* source, size_t length, uint8_t* dest, size_t size);
/** The same to big-endian units. */
QUORVA_API int rtxUTF8ToUTF16BE(const uint8_t* source, size_t length, uint8_t* dest, size_t size);

/** The same in the processor's order of octets; `dest` need not be aligned. */
QUORVA_API int rtxUTF8ToUTF16(const uint8_t* source, size_t length, uint8_t* dest, size_t size);

QUORVA_END_DECLS

#endif
