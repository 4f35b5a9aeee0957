/**
 * @file rtPLMNidentity.h
 * PLMN identities of three octets. The third digit of a three-digit MNC has two places: the functions with
 * "PGW" use that of the message elements (TS 24.008, 10.5.1.3), 13 00 62 for "310" and "260"; the others put
 * MNC digit 1 beside MCC digit 3, 13 20 06. With a two-digit MNC the octets are the same: 13 F0 62 for "310"
 * and "26". Nothing here records a failure.
 */
#ifndef QUORVA_RTPLMNIDENTITY_H
#define QUORVA_RTPLMNIDENTITY_H

#include "quorva/rtxCommon.h"

QUORVA_BEGIN_DECLS

/**
 * Packs MCC, three digits, and MNC, two or three.
 * @param size octets at `plmn`, at least 3.
 * @return 0, or -20 for a null pointer, a lesser size or other texts; `plmn` is then untouched.
 */
QUORVA_API int rtStringToPLMNidentity(const char* mcc, const char* mnc, uint8_t* plmn, size_t size);
/** As rtStringToPLMNidentity, in the octet order of the message elements (TS 24.008, 10.5.1.3). */
QUORVA_API int rtStringToPGWPLMNidentity(const char* mcc, const char* mnc, uint8_t* plmn, size_t size);

/**
 * The three digits of the MCC in the three octets of a PLMN identity, which has the same place in both
 * orders.
 * @return a text that the caller releases with free(); null for a nibble above 9, a null pointer, or no
 * memory.
 */
QUORVA_API char* rtGetMCCFromPLMNidentity(const uint8_t* plmn);
/** The two or three digits of the MNC; a new text or null, as rtGetMCCFromPLMNidentity. */
QUORVA_API char* rtGetMNCFromPLMNidentity(const uint8_t* plmn);
/** The same of an identity in the order of rtStringToPGWPLMNidentity. */
QUORVA_API char* rtGetMNCFromPGWPLMNidentity(const uint8_t* plmn);

QUORVA_END_DECLS

#endif
