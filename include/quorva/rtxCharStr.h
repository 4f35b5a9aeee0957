/**
 * @file rtxCharStr.h
 * Plain C texts: numbers to text, copying and joining into buffers of known size.
 */
#ifndef QUORVA_RTXCHARSTR_H
#define QUORVA_RTXCHARSTR_H

#include "quorva/rtxCommon.h"

QUORVA_BEGIN_DECLS

/**
 * Writes a number in decimal, NUL-terminated.
 * @param dest     Destination.
 * @param bufsiz   Its size in octets.
 * @param padchar  Character that fills the text up to bufsiz - 1 characters from the left; 0: no filling. A
 *                 minus sign stands before filling zeros and behind any other filling.
 * @return 0, RTX_E_BAD_ARGUMENT for a null destination, or RTX_E_TOO_SMALL, with nothing written.
 */
QUORVA_API int rtxUIntToCharStr(uint32_t value, char* dest, size_t bufsiz, char padchar);
/** As rtxUIntToCharStr, for a signed number. */
QUORVA_API int rtxIntToCharStr(int32_t value, char* dest, size_t bufsiz, char padchar);
/** As rtxUIntToCharStr, for a number of 64 bits. */
QUORVA_API int rtxUInt64ToCharStr(uint64_t value, char* dest, size_t bufsiz, char padchar);
/** As rtxUIntToCharStr, for a signed number of 64 bits. */
QUORVA_API int rtxInt64ToCharStr(int64_t value, char* dest, size_t bufsiz, char padchar);
/** As rtxUIntToCharStr, for a size. */
QUORVA_API int rtxSizeToCharStr(size_t value, char* dest, size_t bufsiz, char padchar);

/**
 * Copies a text; one that is too long is cut. The result always has its NUL.
 * @param bufsiz  Size of `dest` in octets.
 * @return dest, or null if the text was cut or an argument is null or the size 0.
 */
QUORVA_API char* rtxStrcpy(char* dest, size_t bufsiz, const char* src);

/** As rtxStrcpy, of at most `nchars` characters of the source, which then needs no NUL. */
QUORVA_API char* rtxStrncpy(char* dest, size_t bufsiz, const char* src, size_t nchars);

/** As rtxStrcpy, behind the text that stands in `dest`. Null also if `dest` has no NUL. */
QUORVA_API char* rtxStrcat(char* dest, size_t bufsiz, const char* src);

/** As rtxStrcat, of at most `nchars` characters of the source. */
QUORVA_API char* rtxStrncat(char* dest, size_t bufsiz, const char* src, size_t nchars);

/**
 * Joins up to five pieces into a buffer; a null piece is absent. Stops without a report before the first
 * piece that does not fit whole.
 * @return dest, or null for a null destination or a size of 0.
 */
QUORVA_API char* rtxStrJoin(char* dest, size_t bufsiz, const char* s1, const char* s2, const char* s3,
                            const char* s4, const char* s5);

/** Joins up to five pieces in new heap memory; a null piece is absent. Null if memory fails (not recorded).
 */
QUORVA_API char* rtxStrDynJoin(RtxContext* pctxt, const char* s1, const char* s2, const char* s3,
                               const char* s4, const char* s5);

/** Copy of a text on the heap. Null for null, or when memory fails (not recorded). */
QUORVA_API char* rtxStrdup(RtxContext* pctxt, const char* text);

/** Cuts white space off the end of a text, in place. Returns the text. */
QUORVA_API char* rtxStrTrimEnd(char* text);

/**
 * Converts a zero-terminated text of 16-bit units to UTF-8 in heap memory.
 * @return The new text, null if memory fails (not recorded). A null text gives an empty literal, which is no
 *         heap memory.
 */
QUORVA_API const char* rtxUCSToCStr(RtxContext* pctxt, const uint16_t* text);

QUORVA_END_DECLS

#endif
