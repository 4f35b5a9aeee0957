/**
 * @file rtOID.h
 * Object identifiers as arcs, as text and as BER contents (X.660, X.680 clause 32, X.690 8.19 and 8.20).
 */
#ifndef QUORVA_RTOID_H
#define QUORVA_RTOID_H

#include "quorva/rtxTypes.h"

QUORVA_BEGIN_DECLS

/**
 * Reads components separated by white space, `iso member-body(2) 840`: numbers, names with a number in
 * parentheses, and the names that X.660 gives to the first arcs. White space may be missing where components
 * can be told apart, and may surround the number and precede its parenthesis.
 * @param text    The components; no NUL is needed.
 * @param length  Its length in octets.
 * @param value   Receives the arcs; partly filled after a failure.
 * @return 0; RTX_E_BAD_VALUE for null, no component or anything else that is none; RTX_E_OVERFLOW for a
 * number above 32 bits; RTX_E_BAD_OID for more than 128 arcs. None of them is recorded, here and in the next
 *         four.
 */
QUORVA_API int rtOIDParseCompList(const char* text, size_t length, RtxOID* value);

/** As rtOIDParseCompList, of a relative object identifier: numbers only. */
QUORVA_API int rtRelOIDParseCompList(const char* text, size_t length, RtxOID* value);

/** As rtOIDParseCompList, with components separated by ".", `iso.member-body(2).840`, and no blanks inside.
 */
QUORVA_API int rtOIDParseString(const char* text, size_t length, RtxOID* value);
/** The same of a relative object identifier: numbers only. */
QUORVA_API int rtRelOIDParseString(const char* text, size_t length, RtxOID* value);

/**
 * Reads numbers separated by ".". Lenient: any character but digits and points is skipped, a NUL ends the
 * text, and numbers above 32 bits lose their upper bits.
 * @return 0, RTX_E_BAD_VALUE for null or an empty text, RTX_E_BAD_OID for no digits behind the last point or
 * more than 128 arcs.
 */
QUORVA_API int rtOIDParseDottedNumberString(const char* text, size_t length, RtxOID* value);

/** True if there are at least two arcs, the first up to 2 and the second under 40 unless the first is 2. */
QUORVA_API int rtOIDIsValid(const RtxOID* value);

/** True if both have the same arcs. */
QUORVA_API int rtOIDsEqual(const RtxOID* oid1, const RtxOID* oid2);

/**
 * Decodes BER contents from the context's cursor into arcs. X.690 8.19.
 * @param subids   Receives the arcs.
 * @param size     Their room.
 * @param numocts  Octets of the contents.
 * @return Number of arcs, 0 for no octets. Recorded: RTX_E_SIZE_MISMATCH for a negative number of octets,
 *         RTX_E_BAD_OID when the array is full or the last arc is cut off, RTX_E_OVERFLOW for an arc above 32
 *         bits, RTX_E_END_OF_DATA.
 */
QUORVA_API int rtDecOIDSubIds(RtxContext* pctxt, uint32_t* subids, size_t size, int32_t numocts);

/**
 * Dotted text of BER contents, with arcs of any size. The time grows with the square of the longest arc.
 * @param contents  The octets; they are not changed.
 * @param relative  The contents are those of a relative object identifier (X.690 8.20).
 * @param pText     Receives the text, on the heap.
 * @return 0, or RTX_E_BAD_OID for no octets or an arc cut off, RTX_E_BAD_VALUE for null, RTX_E_NOMEM; all are
 * recorded.
 */
QUORVA_API int rtOIDFromBerContents(RtxContext* pctxt, const uint8_t* contents, size_t numocts, int relative,
                                    char** pText);

/**
 * BER contents of dotted text, `1.2.840`, with arcs of any size.
 * @param length    Octets of the text; no NUL is needed.
 * @param relative  The text is a relative object identifier, which may begin with any arc.
 * @param contents  Receives the octets, on the heap.
 * @return 0, or RTX_E_BAD_OID for a text that is no object identifier, RTX_E_BAD_VALUE for null, RTX_E_NOMEM;
 * all are recorded.
 */
QUORVA_API int rtOIDGetBerContents(RtxContext* pctxt, const char* text, size_t length, int relative,
                                   RtxDynOctStr* contents);

/**
 * Dotted text of ASN.1 value text as rtOIDParseCompList reads it, braces around it being optional; arcs may
 * be of any size and number.
 * @param length    Octets of the value text; no NUL is needed.
 * @param relative  Numbers only.
 * @param pText     Receives the text, on the heap.
 * @return 0, or RTX_E_BAD_VALUE for a text that is none or null; recorded: RTX_E_NOMEM.
 */
QUORVA_API int rtOIDAsn2Xml(RtxContext* pctxt, const char* text, size_t length, int relative, char** pText);

QUORVA_END_DECLS

#endif
