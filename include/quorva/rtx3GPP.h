/**
 * @file rtx3GPP.h
 * Primitives of 3GPP messages at the bit cursor of a context. All return 0 or a negative status, which is on
 * record; what a read or write gives comes in addition to the statuses named here.
 */
#ifndef QUORVA_RTX3GPP_H
#define QUORVA_RTX3GPP_H

#include "quorva/rtxCommon.h"

QUORVA_BEGIN_DECLS

/**
 * Codes MCC and MNC in three octets (TS 24.008, 10.5.1.3).
 * @param mcc, mnc texts in arrays of 4 characters; a two-digit MNC has a NUL in `mnc[2]`.
 * @return -24 for a character that is no digit of telephony BCD (rtxTBCD.h).
 */
QUORVA_API int rtx3GPPEnc_MCC_MNC(RtxContext* pctxt, const char* mcc, const char* mnc);

/** Decodes MCC and MNC into two arrays of 4 characters. A nibble of 15 gives the character code 0. */
QUORVA_API int rtx3GPPDec_MCC_MNC(RtxContext* pctxt, char* mcc, char* mnc);

/**
 * Codes a mobile identity of digits (TS 24.008, 10.5.1.4) with its length octet.
 * @param type 1 IMSI, 2 IMEI, 3 IMEISV, or what the element has in these three bits.
 * @return -20 for a null text, -24 for a character that is no digit.
 */
QUORVA_API int rtx3GPPEncMobileIdentityType1(RtxContext* pctxt, uint32_t type, const char* str);

/**
 * Decodes what follows the first octet of a mobile identity of digits.
 * @param length     octets of the identity, the first one included.
 * @param odd        the odd indication of the first octet.
 * @param firstDigit the high nibble of the first octet.
 * @param strSize    octets at `str`.
 * @return -23 if digits and NUL need more than `strSize`, -24 for a first digit above 9.
 */
QUORVA_API int rtx3GPPDecMobileIdentityType1(RtxContext* pctxt, size_t length, uint8_t odd,
                                             uint8_t firstDigit, char* str, size_t strSize);

/**
 * Codes a Latin-1 text in packed septets of the GSM 7-bit default alphabet (TS 23.038, 6.1.2.2 and 6.2.1),
 * from the octet under the cursor. A character of the extension table becomes the escape septet alone, a
 * character of neither table
 * "?": one character is always one septet. A null or empty text writes nothing.
 */
QUORVA_API int rtx3GPPEncGSMCharStr(RtxContext* pctxt, const char* str);

/**
 * Decodes packed septets from the octet under the cursor into Latin-1. No NUL is added. An escape and what
 * follows give one character, a septet without a Latin-1 character "?".
 * @param destSize  octets at `dest`.
 * @param charCount septets to read, escapes included. The seventh octet of each seven gives two septets at
 * once, so one more than asked is read if the count is 7 modulo 8.
 * @return -1 if `dest` is full, -2 at the end of the buffer. Streams are not read.
 */
QUORVA_API int rtx3GPPDecGSMCharStr(RtxContext* pctxt, char* dest, size_t destSize, size_t charCount);

/**
 * Passes over the non-imperative part of a message that has no optional element (TS 24.007, 11.2.4).
 * @param shifts non-zero if codeset shifts (TS 24.008, 10.5.4.2) may occur.
 * @return -60 with the parameter "comprehension required on unknown IEI" for an element of codeset 0 whose
 * IEI has a high nibble of 0.
 */
QUORVA_API int rtx3GPPDecL3NonImperative(RtxContext* pctxt, int shifts);

/*
 * CSN.1 (TS 24.007, annex B). Padding is the octet 0x2B, over and over, in step with the octets of the
 * buffer. A bit that is as the padding at its place reads L, the other one H.
 */

/**
 * Codes a determinant, the bits that tell which alternative follows.
 * @param value right aligned; bits above `nbits` are dropped.
 * @param nbits 0 to 32.
 * @param mask  its top `nbits` say which bits of the determinant are L/H bits: of these, 0 is written as L
 * and 1 as H. Mask 0 writes plain bits.
 * @return -20 for more than 32 bits.
 */
QUORVA_API int rtx3GPPEncAltDetmnt(RtxContext* pctxt, uint32_t value, size_t nbits, uint32_t mask);

/**
 * Decodes a determinant, as rtx3GPPEncAltDetmnt codes it.
 * @param pvalue may be null; nothing is stored on failure.
 * @return -23 for more than 32 bits.
 */
QUORVA_API int rtx3GPPDecAltDetmnt(RtxContext* pctxt, uint32_t* pvalue, size_t nbits, uint32_t mask);

/** One bit of a determinant of varying width. */
typedef struct Rtx3GPPDetmntRow {
   uint32_t patterned; /**< Not 0: an L/H bit, in which L counts as 1 and H as 0. */
   int32_t next0; /**< On 0: row of the next bit; 0: that was the last one; negative: no such determinant. */
   uint32_t value0; /**< On 0, at the last bit: what the determinant stands for, by custom its bits, left
                       aligned. */
   int32_t next1;   /**< On 1, likewise. */
   uint32_t value1; /**< On 1, as value0. */
} Rtx3GPPDetmntRow;

/**
 * Decodes a determinant of varying width, bit by bit from row 0 on. One is coded by rtx3GPPEncAltDetmnt.
 * @param pvalue may be null; nothing is stored on failure.
 * @return -9 for bits that are no determinant, -19 if a row is none of the `rowCount`.
 */
QUORVA_API int rtx3GPPDecVarAltDetmnt(RtxContext* pctxt, uint32_t* pvalue, const Rtx3GPPDetmntRow* rows,
                                      uint32_t rowCount);

/** Codes a count in unary: so many times `bit`, 0 or not, and then the other one. */
QUORVA_API int rtx3GPPEncIntAsBits(RtxContext* pctxt, uint32_t count, uint8_t bit);

/**
 * Decodes a count in unary: the bits up to the first that is not `bit`, which is passed too.
 * @param pcount may be null; on failure it has what was counted until then.
 * @return -23 at the 256th bit of a run.
 */
QUORVA_API int rtx3GPPDecIntAsBits(RtxContext* pctxt, uint8_t* pcount, uint8_t bit);

/** As rtx3GPPEncIntAsBits, but each bit is that of the octet `pattern` at its place: 0xD4 counts in H, 0x2B
 * in L. */
QUORVA_API int rtx3GPPEncIntAsBitsPattern(RtxContext* pctxt, uint32_t count, uint8_t pattern);

/** As rtx3GPPDecIntAsBits, for such a count. */
QUORVA_API int rtx3GPPDecIntAsBitsPattern(RtxContext* pctxt, uint8_t* pcount, uint8_t pattern);

QUORVA_END_DECLS

#endif
