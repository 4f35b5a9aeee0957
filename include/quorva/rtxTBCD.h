/**
 * @file rtxTBCD.h
 * Digits of telephony BCD (TS 24.008, 10.5.4.7): two in an octet, the first in the low nibble. Nibbles 0 to 9
 * are "0" to "9", 10 "*", 11 "#", 12 to 14 "a" to "c"; 15 is the filler, whose character is the code 0.
 */
#ifndef QUORVA_RTXTBCD_H
#define QUORVA_RTXTBCD_H

#include "quorva/rtxCommon.h"

QUORVA_BEGIN_DECLS

/** Character of a nibble. Never fails: a value above 15 gives "0" plus the value. Returns 0. */
QUORVA_API int rtxTBCDBinToChar(uint8_t nibble, char* ch);

/** Nibble of a character. Returns 0, or -24 (not recorded, nothing stored) for a character that is no digit.
 */
QUORVA_API int rtxTBCDCharToBin(char ch, uint8_t* nibble);

/**
 * Writes a text of digits at the octet under the cursor, two in an octet; behind an odd number stands the
 * filler. A null or empty text writes nothing.
 * @return 0; recorded: -24 for a character that is no digit, or what the write gives.
 */
QUORVA_API int rtxEncQ825TBCDString(RtxContext* pctxt, const char* str);

/**
 * Reads `numOctets` octets of digits into a text. The NUL stands at `str[2 * numOctets]`; a filler ends the
 * text before.
 * @param strSize octets at `str`, at least 2 * `numOctets` + 1.
 * @return 0; recorded: -1 if `strSize` is less, or what the read gives.
 */
QUORVA_API int rtxDecQ825TBCDString(RtxContext* pctxt, size_t numOctets, char* str, size_t strSize);

/**
 * As rtxDecQ825TBCDString, from an array; the first filler ends the text. Nothing is recorded.
 * @return 0; -47 for a null pointer; -23 if the text fills `strSize` octets, then without a NUL, or if that
 * is 0.
 */
QUORVA_API int rtxQ825TBCDToString(size_t numOctets, const uint8_t* octets, char* str, size_t strSize);

QUORVA_END_DECLS

#endif
