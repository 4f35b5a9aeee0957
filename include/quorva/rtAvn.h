/**
 * @file rtAvn.h
 * Readers and writers of ASN.1 value notation (X.680) at the cursor of a context, one a kind of value; a
 * caller that knows a type strings them together.
 *
 * Functions return 0 or a negative status, which is on record. White space before a value is passed over.
 * What has been read when one fails stays read. At the end of the input readers give RTX_E_END_OF_DATA, for a
 * character that can't stand there RTX_E_BAD_CHAR with the character as a parameter; writers give
 * RTX_E_BUFFER_FULL when a full output may not grow; both RTX_E_NOMEM, and RTX_E_BAD_ARGUMENT for a null
 * pointer that they need. Texts and data that a reader makes are on the heap of the context.
 */
#ifndef QUORVA_RTAVN_H
#define QUORVA_RTAVN_H

#include "quorva/rtxTypes.h"

QUORVA_BEGIN_DECLS

/** Reads TRUE or FALSE. */
QUORVA_API int rtAvnReadBoolean(RtxContext* pctxt, uint8_t* pvalue);

/**
 * Reads '...'B or '...'H with white space anywhere between the quotes. Unused bits of the last octet are
 * cleared, an odd hexadecimal digit at the end stands in the high half of its octet.
 * @param data      Receives the bits. Octets behind them are left alone.
 * @param pnumbits  Receives the number of bits.
 * @param size      Octets at `data`.
 * @param namedBits The type has named bits: zero bits at the end don't count (X.680, 22.7).
 * @param limit     With `namedBits`: most bits that may be left then; 0 for no limit.
 * @return RTX_E_BUFFER_FULL for more bits than `data` or `limit` allow: while only 0 and 1 have come they are
 *         stored as bits, so that a long text of them fails late, at its final H. RTX_E_BAD_FORMAT for any
 * other character and for hexadecimal digits before a final B; RTX_E_OVERFLOW for a count above 32 bits.
 */
QUORVA_API int rtAvnReadBitString(RtxContext* pctxt, uint8_t* data, uint32_t* pnumbits, size_t size,
                                  int namedBits, size_t limit);
/** As rtAvnReadBitString, with the count in a `size_t`. */
QUORVA_API int rtAvnReadBitString64(RtxContext* pctxt, uint8_t* data, size_t* pnumbits, size_t size,
                                    int namedBits, size_t limit);

/**
 * The same without a limit: octets that `data` does not hold go to the heap.
 * @param pextdata  Receives them, or null if there are none.
 */
QUORVA_API int rtAvnReadBitStringExt(RtxContext* pctxt, uint8_t* data, size_t size, uint8_t** pextdata,
                                     uint32_t* pnumbits);
/** As rtAvnReadBitStringExt, with the count in a `size_t`. */
QUORVA_API int rtAvnReadBitStringExt64(RtxContext* pctxt, uint8_t* data, size_t size, uint8_t** pextdata,
                                       size_t* pnumbits);

/** The same with all octets on the heap; null for an empty string. */
QUORVA_API int rtAvnReadBitStringDyn(RtxContext* pctxt, RtxDynBitStr* pvalue);
/** As rtAvnReadBitStringDyn, with the count in a `size_t`. */
QUORVA_API int rtAvnReadBitStringDyn64(RtxContext* pctxt, RtxDynBitStr64* pvalue);

/**
 * Reads {name, name, ...} into a bit string, which is cleared first.
 * @param table   The names.
 * @param data    Receives the bits; null: they are only counted.
 * @param pcount  Receives the highest bit number plus 1, 0 for no name.
 * @param size    Octets at `data`.
 * @return RTX_E_UNKNOWN_NAME with the name as a parameter; RTX_E_BAD_TOKEN where a name is missing;
 * RTX_E_INDEX for a bit outside `data`; RTX_E_OVERFLOW for a count above 32 bits.
 */
QUORVA_API int rtAvnReadNamedBits(RtxContext* pctxt, const RtxNamedBit* table, uint8_t* data,
                                  uint32_t* pcount, size_t size);
/** As rtAvnReadNamedBits, with the count in a `size_t`. */
QUORVA_API int rtAvnReadNamedBits64(RtxContext* pctxt, const RtxNamedBit* table, uint8_t* data,
                                    size_t* pcount, size_t size);

/** As rtAvnReadBitString, in octets; bits of '...'B are filled up with zeros. */
QUORVA_API int rtAvnReadOctString(RtxContext* pctxt, uint8_t* data, uint32_t* pnumocts, size_t size);
/** As rtAvnReadOctString, with the count in a `size_t`. */
QUORVA_API int rtAvnReadOctString64(RtxContext* pctxt, uint8_t* data, size_t* pnumocts, size_t size);

/** The same on the heap; null for an empty string. */
QUORVA_API int rtAvnReadOctStringDyn(RtxContext* pctxt, RtxDynOctStr* pvalue);
/** As rtAvnReadOctStringDyn, with the count in a `size_t`. */
QUORVA_API int rtAvnReadOctStringDyn64(RtxContext* pctxt, RtxDynOctStr64* pvalue);

/** Reads a name that begins with a lower-case letter: letters, digits, single hyphens inside.
 * RTX_E_BAD_TOKEN if there is none. */
QUORVA_API int rtAvnReadIdentifier(RtxContext* pctxt, const char** ptext);

/** The same, appended to a buffer without a NUL. */
QUORVA_API int rtAvnReadIdentifierToBuffer(RtxContext* pctxt, RtxMemBuf* buf);

/** The same for a name that begins with a capital. */
QUORVA_API int rtAvnReadTypeRefToBuffer(RtxContext* pctxt, RtxMemBuf* buf);

/**
 * Reads {arc arc ...} with arcs that are numbers, names, or names with a number in parentheses.
 * @return Also the statuses of rtOIDParseCompList.
 */
QUORVA_API int rtAvnReadObjId(RtxContext* pctxt, RtxOID* pvalue);
/** The same of a relative object identifier, with numbers alone. */
QUORVA_API int rtAvnReadRelOID(RtxContext* pctxt, RtxOID* pvalue);

/** As rtAvnReadObjId, as dotted text with arcs of any size and number. Also the statuses of rtOIDAsn2Xml. */
QUORVA_API int rtAvnReadObjIdStr(RtxContext* pctxt, const char** ptext);
/** The same of a relative object identifier. */
QUORVA_API int rtAvnReadRelOIDStr(RtxContext* pctxt, const char** ptext);

/**
 * Reads a decimal real, of up to 1023 characters, as it stands: a point may be followed by no digit, but a
 * leading zero of the exponent by none either. RTX_E_BAD_FORMAT, RTX_E_OVERFLOW for a longer one.
 */
QUORVA_API int rtAvnReadRealString(RtxContext* pctxt, const char** ptext);

/** Reads such a real, or PLUS-INFINITY, MINUS-INFINITY, NOT-A-NUMBER. RTX_E_OVERFLOW also for one that is too
 * large; one that is too small becomes 0. */
QUORVA_API int rtAvnReadReal(RtxContext* pctxt, double* pvalue);

/** Reads "..." of octets, two quotes standing for one. A line end falls out with the white space around it.
 */
QUORVA_API int rtAvnReadString(RtxContext* pctxt, const char** ptext);

/**
 * The same from UTF-8; a zero unit stands behind the text. RTX_E_BAD_UTF8 with the octets between the opening
 * quote and the bad sequence as a parameter; RTX_E_OVERFLOW for a character above 16 bits in 16-bit units.
 */
QUORVA_API int rtAvnReadUCS2(RtxContext* pctxt, Rtx16BitCharString* pvalue);
/** The same in units of 32 bits. */
QUORVA_API int rtAvnReadUCS4(RtxContext* pctxt, Rtx32BitCharString* pvalue);

/**
 * Reads Type : value and gives the type, " : " and the value's text, comments included. A value that begins
 * with a brace ends with its partner, any other before a comma or closing brace outside of braces, quotes and
 * comments, or at the end of the input. RTX_E_BAD_TOKEN if type or value is missing.
 */
QUORVA_API int rtAvnReadOpenType(RtxContext* pctxt, const char** ptext, size_t* plength);

/** Reads a word that must end there: RTX_E_BAD_TOKEN with the word as a parameter if more of a name follows.
 */
QUORVA_API int rtAvnMatchToken(RtxContext* pctxt, const char* token);

/** Index of the name equal to `identifier`, or `count`. */
QUORVA_API size_t rtAvnLookupIdentifier(const char* identifier, const char* const* names, size_t count);

/**
 * Writes '...'H, or '...'B if the number of bits is no multiple of 4.
 *
 * If it is a multiple of 4 and not of 8, the low half of the last octet is not written; nor is
 * the low half of the last octet of `data` when the string goes on in `extdata`.
 * @param size     Octets at `data`.
 * @param extdata  The octets behind those, or null; RTX_E_BAD_ARGUMENT if they are needed.
 */
QUORVA_API int rtAvnWriteBitStr(RtxContext* pctxt, size_t numbits, const uint8_t* data, size_t size,
                                const uint8_t* extdata);

/**
 * Writes the names of the bits that are set, "{a,b }"; if one has no name, '...'H with the bits filled up
 * with zeros to a multiple of 4.
 * @param table  The names, in ascending order of bits.
 */
QUORVA_API int rtAvnWriteBitStrNamed(RtxContext* pctxt, size_t numbits, const uint8_t* data,
                                     const RtxNamedBit* table);

/** Writes '...'H. RTX_E_OVERFLOW if the bits can't be counted. */
QUORVA_API int rtAvnWriteOctStr(RtxContext* pctxt, size_t numocts, const uint8_t* data);

/** Writes "..." with each quote doubled. Line ends are written as they are; to the readers they are no part
 * of a text. */
QUORVA_API int rtAvnWriteCharStr(RtxContext* pctxt, const char* text);

/** The same for a text that must be UTF-8: else RTX_E_BAD_UTF8, with the octet's place as a parameter and
 * nothing written. */
QUORVA_API int rtAvnWriteUTF8Str(RtxContext* pctxt, const char* text);

/** The same, each unit as UTF-8. RTX_E_OVERFLOW for a unit above 31 bits. */
QUORVA_API int rtAvnWriteBMPStr(RtxContext* pctxt, const Rtx16BitCharString* value);
/** The same with units of 32 bits. */
QUORVA_API int rtAvnWriteUnivStr(RtxContext* pctxt, const Rtx32BitCharString* value);

/** Writes a real with up to six digits, in the manner of "%g", or a special word as rtAvnReadReal reads it.
 */
QUORVA_API int rtAvnWriteReal(RtxContext* pctxt, double value);

/** Writes {arc arc ...}. RTX_E_BAD_OID for more arcs than the record holds. */
QUORVA_API int rtAvnWriteOID(RtxContext* pctxt, const RtxOID* value);

/** The same from dotted text: each point becomes a blank. */
QUORVA_API int rtAvnWriteOIDStr(RtxContext* pctxt, const char* text);

QUORVA_END_DECLS

#endif
