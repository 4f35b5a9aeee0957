/**
 * @file rtxUTF8.h
 * UTF-8 texts: the single-character coder, lengths, comparison, search, copies, 16-bit units to text.
 * The coder is the older UTF-8 of up to six octets: code points up to 31 bits, overlong forms and surrogates
 * are all accepted.
 */
#ifndef QUORVA_RTXUTF8_H
#define QUORVA_RTXUTF8_H

#include "quorva/rtxCommon.h"

QUORVA_BEGIN_DECLS

/** Octets that a code point takes: 1 to 6. */
QUORVA_API size_t rtxUTF8CharSize(uint32_t codePoint);

/**
 * Writes the octets of one code point, with no NUL behind them.
 * @param size  Room at `dest` in octets.
 * @return Octets written, or RTX_E_BUFFER_FULL if the room is too small or the code point has more than 31
 * bits.
 */
QUORVA_API int rtxUTF8EncodeChar(uint32_t codePoint, uint8_t* dest, size_t size);

/**
 * Reads one code point.
 * @param pctxt   Where a failure is recorded, with the position 0 as its parameter; null: nowhere.
 * @param octets  The sequence.
 * @param pSize   In: octets available. Out: octets used; left alone on failure.
 * @return The code point, or RTX_E_BAD_UTF8 (with a context: its overall status).
 */
QUORVA_API int32_t rtxUTF8DecodeChar(RtxContext* pctxt, const uint8_t* octets, size_t* pSize);

/** Octets of a text without its NUL; 0 for null. */
QUORVA_API size_t rtxUTF8LenBytes(const char* text);

/** Characters of a text; 0 for null. */
QUORVA_API size_t rtxUTF8Len(const char* text);

/** Characters in the first `nbytes` octets of a text: every octet but the continuation octets counts. */
QUORVA_API size_t rtxCalcUTF8Len(const char* text, size_t nbytes);

/**
 * Compares at most `nbytes` octets, as unsigned values; ends at a NUL of the first text.
 * @return Difference of the first differing octets. 0 also for a limit of 0 or two null texts; -1 if only the
 *         first text is null, 1 if only the second is.
 */
QUORVA_API int rtxUTF8Strncmp(const char* text1, const char* text2, size_t nbytes);

/** As rtxUTF8Strncmp, without a limit. */
QUORVA_API int rtxUTF8Strcmp(const char* text1, const char* text2);

/** True if the texts are the same; two null texts are. */
QUORVA_API int rtxUTF8StrEqual(const char* text1, const char* text2);

/** True if the texts agree in their first `nbytes` octets, or up to a common NUL. */
QUORVA_API int rtxUTF8StrnEqual(const char* text1, const char* text2, size_t nbytes);

/** Copy of a text on the heap. Null for null, or when memory fails (not recorded). */
QUORVA_API char* rtxUTF8Strdup(RtxContext* pctxt, const char* text);

/** As rtxUTF8Strdup, of at most `nbytes` octets; a NUL among them ends the text. */
QUORVA_API char* rtxUTF8Strndup(RtxContext* pctxt, const char* text, size_t nbytes);

/**
 * One more owner of a text: a live allocation of the context's heap gets one more reference, any other text
 * is copied. Free the result with rtxMemHeapFreePtr.
 * @return The text or its copy. Null for null, or when memory fails (not recorded).
 */
QUORVA_API char* rtxUTF8StrRefOrDup(RtxContext* pctxt, const char* text);

/**
 * Copies a text; one that is too long is cut between two characters. The result always has its NUL.
 * @param bufsiz  Size of `dest` in octets.
 * @return dest, or null if the text was cut or an argument is null or the size 0.
 */
QUORVA_API char* rtxUTF8Strcpy(char* dest, size_t bufsiz, const char* src);

/** As rtxUTF8Strcpy, of at most `nbytes` octets of the source; a NUL among them ends it. */
QUORVA_API char* rtxUTF8Strncpy(char* dest, size_t bufsiz, const char* src, size_t nbytes);

/** Joins up to five pieces in new heap memory; a null piece is absent. Null if memory fails (not recorded).
 */
QUORVA_API char* rtxUTF8StrJoin(RtxContext* pctxt, const char* s1, const char* s2, const char* s3,
                                const char* s4, const char* s5);

/**
 * First place of a character in a text; 0 finds the terminating NUL. Null if the character is not there, or
 * behind a bad sequence, or for a null text.
 */
QUORVA_API char* rtxUTF8StrChr(const char* text, uint32_t codePoint);

/**
 * Leaves out white space (blank, tab to carriage return) at both ends of a text, without copying.
 * @param nbytes  Octets of `text`.
 * @param ptext   Receives the first octet that is left.
 * @return Octets that are left.
 */
QUORVA_API size_t rtxUTF8RemoveWhiteSpace(const char* text, size_t nbytes, const char** ptext);

/**
 * Takes the next token that white space ends off a text, in place: a NUL replaces the white space behind it.
 * @param text   The text on the first call, null on the later ones.
 * @param pnext  Where to go on; kept by the caller between the calls.
 * @return The token, or null if there is none left.
 */
QUORVA_API char* rtxUTF8StrNextTok(char* text, char** pnext);

/** The code point of the sequence at `octets`, of at most `nbytes` octets; RTX_E_BAD_UTF8 (not recorded). */
QUORVA_API int32_t rtxUTF8CharToWC(const uint8_t* octets, size_t nbytes);

/** Hash of a text for the maps with text keys; that of a null text is that of the empty one. */
QUORVA_API uint32_t rtxUTF8StrHash(const char* text);

/**
 * Writes 16-bit units as NUL-terminated UTF-8. Surrogates are not combined: each gives three octets.
 * @param nunits  Number of units.
 * @param size    Room at `dest` in octets, the NUL included.
 * @return Octets written without the NUL. RTX_E_BUFFER_FULL when the text with its NUL has no room and
 *         RTX_E_BAD_ARGUMENT for a null pointer, both recorded (so that the context's overall status comes
 * out).
 */
QUORVA_API int rtxUCSToUTF8(RtxContext* pctxt, const uint16_t* text, size_t nunits, char* dest, size_t size);

/** As rtxUCSToUTF8, into new heap memory. Null for a null text, or when memory fails (not recorded). */
QUORVA_API char* rtxUCSToDynUTF8(RtxContext* pctxt, const uint16_t* text, size_t nunits);

QUORVA_END_DECLS

#endif
