/**
 * @file rtBCD.h
 * Conversion between texts of digits and octets of BCD: telephony BCD as in rtxTBCD.h, or plain BCD, whose
 * first digit is in the high nibble and whose digits are 0 to 15. Nothing here records a failure.
 */
#ifndef QUORVA_RTBCD_H
#define QUORVA_RTBCD_H

#include "quorva/rtxTypes.h"

QUORVA_BEGIN_DECLS

/**
 * Converts a text into telephony BCD. The first character that is no digit ends it silently, and so do `size`
 * octets, all of which are first filled with 0xFF.
 * @return number of octets that hold digits, or -20 for a null pointer or a `size` of 0.
 */
QUORVA_API int rtStringToTBCD(const char* str, uint8_t* octets, size_t size);

/** As rtStringToTBCD, or, with `isTBCD` 0, into plain BCD, the digits being "0" to "9", "a" to "f", "A" to
 * "F". */
QUORVA_API int rtStringToBCD(const char* str, uint8_t* octets, size_t size, int isTBCD);

/**
 * Converts a text into plain BCD on the heap of the context.
 * @return number of octets, which `dyn` gets with the pointer; -20 for a null pointer; -10.
 */
QUORVA_API int rtStringToDynBCD(RtxContext* pctxt, const char* str, RtxDynOctStr* dyn);

/** As rtStringToDynBCD, into plain or telephony BCD. */
QUORVA_API int rtStringToDynBCD64(RtxContext* pctxt, const char* str, RtxDynOctStr64* dyn, int isTBCD);

/**
 * Converts telephony BCD into a text. Fillers are passed over, wherever they stand.
 * @param strSize octets at `str`. If the digits fill it, there is no NUL.
 * @return `str`, or null for a null pointer or a count or size of 0.
 */
QUORVA_API const char* rtTBCDToString(size_t numOctets, const uint8_t* octets, char* str, size_t strSize);

/** As rtTBCDToString, or, with `isTBCD` 0, from plain BCD up to the first nibble above 9. */
QUORVA_API const char* rtBCDToString(size_t numOctets, const uint8_t* octets, char* str, size_t strSize,
                                     int isTBCD);

QUORVA_END_DECLS

#endif
