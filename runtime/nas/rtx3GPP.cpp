// Primitives of 3GPP messages: PLMN, mobile identity of digits, non-imperative part.
#include "quorva/rtx3GPP.h"

#include "quorva/rtxBits.h"
#include "quorva/rtxError.h"
#include "runtime/core/rtxInline.h"
#include "runtime/nas/tbcd.h"

#include <cstring>
#include <initializer_list>

using namespace quorva;

namespace {

int writeBits(RtxContext* pctxt, uint32_t value, size_t nbits) {
   const int stat = hot::encBits(pctxt, value, nbits);
   return stat == RTX_OK ? RTX_OK : recordFailure(pctxt, stat);
}

int readBits(RtxContext* pctxt, uint8_t* value, size_t nbits) {
   const int stat = hot::decBitsToByte(pctxt, value, nbits);
   return stat == RTX_OK ? RTX_OK : recordFailure(pctxt, stat);
}

/** Reads the two nibbles of an octet, the second digit first. */
int readPair(RtxContext* pctxt, char* first, char* second) {
   if (pctxt->bufBitsLeft == 8 && pctxt->bufByteIndex < pctxt->bufSize) {
      const unsigned octet = pctxt->bufData[pctxt->bufByteIndex++];
      *first = tbcdToChar(octet & 15);
      *second = tbcdToChar(octet >> 4);
      return RTX_OK;
   }
   uint8_t high, low;
   int stat = readBits(pctxt, &high, 4);
   if (stat == RTX_OK) stat = readBits(pctxt, &low, 4);
   if (stat != RTX_OK) return stat;
   *first = tbcdToChar(low);
   *second = tbcdToChar(high);
   return RTX_OK;
}

/** Is a whole octet left in the buffer? On a stream the read itself finds out. */
bool octetAtHand(const RtxContext* pctxt) {
   return hot::streamActive(pctxt) || hot::bitOffset(pctxt) + 8 <= pctxt->bufSize * 8;
}

} // namespace

int rtx3GPPEnc_MCC_MNC(RtxContext* pctxt, const char* mcc, const char* mnc) {
   const char thirdOfMnc = mnc[2] == tbcdFiller ? '\0' : mnc[2];
   if (pctxt->bufBitsLeft == 8 && pctxt->stream == nullptr && pctxt->bufByteIndex < pctxt->bufSize &&
       pctxt->bufSize - pctxt->bufByteIndex >= 3 &&
       packPlmn(mcc, mnc,
                pctxt->bufData + pctxt->bufByteIndex)) { // else the loop finds out which digit is none
      pctxt->bufByteIndex += 3;
      return RTX_OK;
   }
   for (const char digit : {mcc[1], mcc[0], thirdOfMnc, mcc[2], mnc[1], mnc[0]}) {
      const int nibble = tbcdFromChar(digit);
      if (nibble < 0) return recordFailure(pctxt, RTX_E_BAD_CHAR);
      if (const int stat = writeBits(pctxt, static_cast<uint32_t>(nibble), 4); stat != RTX_OK) return stat;
   }
   return RTX_OK;
}

int rtx3GPPDec_MCC_MNC(RtxContext* pctxt, char* mcc, char* mnc) {
   char* const pairs[][2] = {{&mcc[0], &mcc[1]}, {&mcc[2], &mnc[2]}, {&mnc[0], &mnc[1]}};
   int stat = RTX_OK;
   for (const auto& pair : pairs) {
      if (stat == RTX_OK) stat = readPair(pctxt, pair[0], pair[1]);
      if (stat != RTX_OK) *pair[0] = *pair[1] = 0; // what is cut off is text all the same
   }
   mcc[3] = mnc[3] = 0;
   return stat;
}

int rtx3GPPEncMobileIdentityType1(RtxContext* pctxt, uint32_t type, const char* str) {
   if (str == nullptr) return recordFailure(pctxt, RTX_E_BAD_ARGUMENT);
   const size_t count = std::strlen(str);
   int stat = writeBits(pctxt, static_cast<uint32_t>(count >> 1) + 1, 8);
   if (stat != RTX_OK) return stat;

   const int first = tbcdFromChar(*str);
   if (first < 0) return recordFailure(pctxt, RTX_E_BAD_CHAR);
   stat = writeBits(pctxt, static_cast<uint32_t>(first), 4);
   if (stat == RTX_OK) stat = writeBits(pctxt, count & 1, 1);
   if (stat == RTX_OK) stat = writeBits(pctxt, type, 3);

   for (size_t i = 1; stat == RTX_OK && i < count; i += 2) {
      const int pair = tbcdPair(str + i);
      if (pair < 0) return recordFailure(pctxt, RTX_E_BAD_CHAR);
      stat = writeBits(pctxt, static_cast<uint32_t>(pair), 8);
   }
   return stat;
}

int rtx3GPPDecMobileIdentityType1(RtxContext* pctxt, size_t length, uint8_t odd, uint8_t firstDigit,
                                  char* str, size_t strSize) {
   // The count of octets behind the first is taken modulo 256, and one is read even if there are none. The
   // room is checked for what is really stored.
   const size_t count = (length - 1) & 0xFF;
   const size_t octets = count == 0 ? 1 : count;
   if (2 * octets + (odd == 0 ? 0 : 1) >= strSize) return recordFailure(pctxt, RTX_E_OVERFLOW);
   if (firstDigit > 9) return recordFailure(pctxt, RTX_E_BAD_CHAR);
   *str++ = tbcdToChar(firstDigit);
   for (size_t i = 0; i < octets; ++i, str += 2)
      if (const int stat = readPair(pctxt, str, str + 1); stat != RTX_OK) return stat;
   if (odd == 0) --str;
   *str = 0;
   return RTX_OK;
}

int rtx3GPPDecL3NonImperative(RtxContext* pctxt, int shifts) {
   for (uint8_t lockedCodeset = 0; hot::containerHasRemBits(pctxt);) {
      if (!octetAtHand(pctxt)) return RTX_OK; // no failure, so that nothing is recorded
      uint8_t iei;
      int stat = readBits(pctxt, &iei, 8);
      if (stat != RTX_OK) return stat;

      uint8_t codeset = lockedCodeset;
      while (shifts != 0 && iei >> 4 == 9) {
         const uint8_t wanted = iei & 7;
         const bool locking = (iei & 8) == 0;
         if (!locking || wanted > lockedCodeset) codeset = wanted;
         if (locking && wanted > lockedCodeset) lockedCodeset = wanted; // upwards only
         if (hot::containerRemBits(pctxt) < 8) return RTX_OK;
         if ((stat = readBits(pctxt, &iei, 8)) != RTX_OK) return stat;
      }
      if (iei & 0x80) continue; // one octet in all

      uint8_t length;
      if ((stat = readBits(pctxt, &length, 8)) != RTX_OK) return stat;
      if (iei < 16 && codeset == 0) {
         // By the high nibble and fatal, other than in the scan of optional elements: nothing here is known.
         rtxErrAddStrParm(pctxt, "comprehension required on unknown IEI");
         return recordFailure(pctxt, RTX_E_UNSUPPORTED);
      }
      if (length == 0) continue;
      if ((stat = rtxSkipBytes(pctxt, length)) != RTX_OK) return recordFailure(pctxt, stat);
   }
   return RTX_OK;
}
