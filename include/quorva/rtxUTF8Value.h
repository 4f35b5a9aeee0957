/**
 * @file rtxUTF8Value.h
 * Values from UTF-8 texts.
 *
 * The forms with `Strn` take the text's length in octets, the others measure it. White space around the value
 * is passed over, a null text counts as an empty one, and with a null target the text is only checked.
 * Numbers are read alike in every locale. On failure the target is untouched; only the functions with a
 * context record.
 */
#ifndef QUORVA_RTXUTF8VALUE_H
#define QUORVA_RTXUTF8VALUE_H

#include "quorva/rtxTypes.h"

QUORVA_BEGIN_DECLS

/** Reads "true" or "1", "false" or "0". Returns 0 or RTX_E_BAD_FORMAT. */
QUORVA_API int rtxUTF8StrnToBool(const char* text, size_t nbytes, uint8_t* pvalue);
/** The same up to the NUL. */
QUORVA_API int rtxUTF8StrToBool(const char* text, uint8_t* pvalue);

/**
 * Reads a decimal real with an optional sign, point and exponent, or "INF", "-INF", "NaN". One that is too
 * small becomes 0.
 * @return 0, RTX_E_BAD_REAL, or RTX_E_OVERFLOW for one that is too large.
 */
QUORVA_API int rtxUTF8StrnToDouble(const char* text, size_t nbytes, double* pvalue);
/** The same up to the NUL. */
QUORVA_API int rtxUTF8StrToDouble(const char* text, double* pvalue);

/* Decimal integers with an optional plus sign, the signed ones also with a minus sign. 0, RTX_E_BAD_FORMAT,
 * or RTX_E_OVERFLOW for a number that the target does not hold. */
/** Reads a signed number of 32 bits. */
QUORVA_API int rtxUTF8StrnToInt(const char* text, size_t nbytes, int32_t* pvalue);
/** The same up to the NUL. */
QUORVA_API int rtxUTF8StrToInt(const char* text, int32_t* pvalue);
/** Reads a signed number of 64 bits. */
QUORVA_API int rtxUTF8StrnToInt64(const char* text, size_t nbytes, int64_t* pvalue);
/** The same up to the NUL. */
QUORVA_API int rtxUTF8StrToInt64(const char* text, int64_t* pvalue);
/** Reads an unsigned number of 32 bits. */
QUORVA_API int rtxUTF8StrnToUInt(const char* text, size_t nbytes, uint32_t* pvalue);
/** The same up to the NUL. */
QUORVA_API int rtxUTF8StrToUInt(const char* text, uint32_t* pvalue);
/** Reads an unsigned number of 64 bits. */
QUORVA_API int rtxUTF8StrnToUInt64(const char* text, size_t nbytes, uint64_t* pvalue);
/** The same up to the NUL. */
QUORVA_API int rtxUTF8StrToUInt64(const char* text, uint64_t* pvalue);
/** Reads a size. */
QUORVA_API int rtxUTF8StrnToSize(const char* text, size_t nbytes, size_t* pvalue);
/** The same up to the NUL. */
QUORVA_API int rtxUTF8StrToSize(const char* text, size_t* pvalue);

/**
 * Reads hexadecimal text, in the forms of rtxHexCharsToBin, into new heap memory.
 * @return 0; RTX_E_BAD_HEX, RTX_E_NOMEM or RTX_E_OVERFLOW, recorded.
 */
QUORVA_API int rtxUTF8StrnToDynHexStr(RtxContext* pctxt, const char* text, size_t nbytes,
                                      RtxDynOctStr* pvalue);
/** The same up to the NUL. */
QUORVA_API int rtxUTF8StrToDynHexStr(RtxContext* pctxt, const char* text, RtxDynOctStr* pvalue);

/**
 * Reads names of bits, parted by white space, into a bit string, which is cleared first.
 * @param table     The names.
 * @param data      The bits, or null.
 * @param size      Octets at `data`.
 * @param pnumbits  Receives the highest bit number seen plus 1, 0 for no name.
 * @return 0, or recorded: RTX_E_UNKNOWN_NAME with the name as a parameter, RTX_E_INDEX for a bit outside
 * `data`, RTX_E_OVERFLOW for a count above 32 bits, RTX_E_BAD_ARGUMENT for a null table, RTX_E_NOMEM.
 */
QUORVA_API int rtxUTF8StrToNamedBits(RtxContext* pctxt, const char* text, const RtxNamedBit* table,
                                     uint8_t* data, size_t size, uint32_t* pnumbits);

QUORVA_END_DECLS

#endif
