/**
 * @file rt3gppNasSec.h
 * Integrity protection and ciphering of NAS messages by the algorithms of TS 33.401, annex B, which are those
 * of TS 33.501, annex D: with AES-128 (128-EIA2 and 128-EEA2, 128-NIA2 and 128-NEA2), and the null
 * algorithms; for a context with RTX_CTXT_STANDARD also with SNOW 3G (128-EIA1 and 128-EEA1) and ZUC
 * (128-EIA3 and 128-EEA3).
 *
 * Algorithm numbers are 0 (null) and 2 (AES), with that flag also 1 (SNOW 3G) and 3 (ZUC).
 *
 * The order of use is rtx3gppSecInitialize, rtx3gppAssignAlgorithmKeys, then ahead of each message
 * rtx3gppSetCount, since the NAS COUNT is another for each. The security record lives in the context's heap:
 * a reset between two messages ends it, rtxErrReset does not. In a loop that ends the records of each message
 * all three stand behind the reset; the same keys are expanded once, not at each turn:
 *
 *     while (receive(octets, &numocts)) {
 *        rtxMemReset(&ctxt); // the message before, and the security record
 *        status = rtx3gppSecInitialize(&ctxt);
 *        if (status == 0) status = rtx3gppAssignAlgorithmKeys(&ctxt, integKey, cipherKey, 2, 2);
 *        if (status == 0) status = rtx3gppSetCount(&ctxt, count, 0, RTX_NAS_UPLINK);
 *        rtxCtxtSetBufPtr(&ctxt, octets, numocts);
 *        if (status == 0) status = NASDec_TS24301Msg_PDU(&ctxt, &pdu);
 *        ...
 *     }
 *     rtx3gppSecFree(&ctxt); // erases what was computed from the keys, ahead of a reset that would leave it
 */
#ifndef QUORVA_RT3GPPNASSEC_H
#define QUORVA_RT3GPPNASSEC_H

#include "quorva/rtxCommon.h"

QUORVA_BEGIN_DECLS

/** DIRECTION of a message (TS 33.401, B.1.1): from the terminal. */
#define RTX_NAS_UPLINK 0
/** DIRECTION of a message: to the terminal. */
#define RTX_NAS_DOWNLINK 1

/** NAS security state of a context. The first three fields are the application's, the others the library's.
 */
struct RtxNasSecContext {
   uint32_t count;           /**< NAS COUNT of the message to be protected. */
   uint8_t bearer;           /**< BEARER, 5 bits. */
   uint8_t direction;        /**< RTX_NAS_UPLINK or RTX_NAS_DOWNLINK. */
   const uint8_t* integKey;  /**< Integrity key, 16 octets of the caller's, or null. */
   const uint8_t* cipherKey; /**< Ciphering key, 16 octets of the caller's, or null. */
   int32_t integAlg;         /**< Integrity algorithm in force. */
   int32_t cipherAlg;        /**< Ciphering algorithm in force. */
   /** Heap: the CMAC subkeys K1 and K2, 32 octets, or null. Another algorithm has a copy of its key there. */
   uint8_t* cmacSubkeys;
   /** Heap: key schedules, 44 words for integrity, 44 for ciphering, or null; or copies of keys. */
   uint32_t* aesSchedules;
};

/**
 * Hangs a new, zeroed security record on the context.
 *
 * The record lives in the context's heap and ends with it: after rtxMemReset or rtxMemFree initialise again,
 * and call rtx3gppSecFree ahead of either when the keys are done with, so that no key schedule stays in the
 * heap's memory. A record that the context has already is neither looked at nor released.
 * @return 0, or -10 (recorded) when there is no memory.
 */
QUORVA_API int rtx3gppSecInitialize(RtxContext* pctxt);

/**
 * Sets algorithms and keys. May be called again at any time. Key material that the new algorithms don't need
 * is zeroed and released. Keys that are assigned again and again, with resets of the heap between, are
 * expanded once: the context keeps them, in system memory, until rtx3gppSecFree, rtxMemFree or its own end.
 * @param integKey  integrity key, 16 octets, which must outlive the record; read unless `integAlg` is 0.
 * @param cipherKey ciphering key, likewise; read unless `cipherAlg` is 0.
 * @return 0; recorded: -71 without a security record; -60 for an algorithm number that is none, with the
 * parameters "integrity algorithm" or "cipher algorithm" and the number, the numbers in force staying the
 * old ones; -47 for a null key that is needed; -10.
 */
QUORVA_API int rtx3gppAssignAlgorithmKeys(RtxContext* pctxt, const uint8_t* integKey,
                                          const uint8_t* cipherKey, int32_t integAlg, int32_t cipherAlg);

/**
 * Says which message comes next, ahead of its coder: stores `count`, `bearer` and `direction` into the
 * security record, as a caller may do himself, and looks at them. The keys stay as they are.
 * @param count     NAS COUNT, 32 bits: 8 zeros, the overflow counter of 16 bits and the 8 bits of the
 * sequence number that the message bears (TS 24.301, 4.4.3.1; TS 24.501, 4.4.3.1).
 * @param bearer    5 bits: 0 in EPS (TS 33.401, 8.1.1); in 5GS the identity of the NAS connection, 1 over
 * 3GPP access, 2 over others (TS 33.501, 6.4.3.1).
 * @param direction RTX_NAS_UPLINK or RTX_NAS_DOWNLINK. Which form a message has that has one for each tells
 *                  RTX_CTXT_UPLINK, not this.
 * @return 0; recorded, and nothing changes: -71 without a security record, as after rtxMemReset; -20 for a
 * bearer of more than 5 bits or a direction that is none.
 */
QUORVA_API int rtx3gppSetCount(RtxContext* pctxt, uint32_t count, uint8_t bearer, uint8_t direction);

/**
 * Enciphers or deciphers (the same operation) `length` octets in place (TS 33.401, B.1.3).
 * @return 0; recorded: -71 without a security record, or if a refused rtx3gppAssignAlgorithmKeys took the
 * keys away; -60 with "encryption algorithm" and the number if the record holds a number that is none;
 * -47 for null data.
 */
QUORVA_API int rtx3gppCipher(RtxContext* pctxt, uint8_t* data, size_t length);

/**
 * Computes the message authentication code of `length` octets (TS 33.401, B.2.3); 0 with the null algorithm.
 *
 * With AES the octets are copied behind the 8 octets that go ahead of them, into memory of the heap released
 * before the return. Only if `length` + 8 is beyond what a size can hold are those 8 octets written over the
 * first ones of `data`, and the code then covers `length` + 8 modulo the range of a size.
 * @return 0; recorded: -71 and -60 ("integrity algorithm") as for rtx3gppCipher, -47, -10.
 */
QUORVA_API int rtx3gppComputeMAC(RtxContext* pctxt, uint8_t* data, size_t length, uint32_t* mac);

/**
 * Zeroes and releases schedules, subkeys and the record, and clears `pctxt->nasSec`. Without a record it
 * records -71.
 */
QUORVA_API void rtx3gppSecFree(RtxContext* pctxt);

/**
 * Expands an AES-128 key of 16 octets (FIPS 197, 5.2) into 44 words in host order, each formed big-endian
 * from its octets. The caller owns and clears the schedule.
 */
QUORVA_API void rtxCryptAES128KeyExpansion(uint32_t* schedule, const uint8_t* key);

/** ShiftRows (FIPS 197, 5.1.2) on a state of 16 octets, octet 4c + r being row r of column c. */
QUORVA_API void rtxCryptAESShiftRows(uint8_t* state);

QUORVA_END_DECLS

#endif
