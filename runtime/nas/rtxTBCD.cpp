// Digit strings of telephony BCD: at the cursor of a context, and from an array.
#include "quorva/rtxTBCD.h"

#include "quorva/rtxBits.h"
#include "quorva/rtxStatus.h"
#include "runtime/core/rtxInline.h"
#include "runtime/nas/tbcd.h"

#include <initializer_list>

using namespace quorva;

int rtxTBCDBinToChar(uint8_t nibble, char* ch) {
   *ch = nibble <= tbcdFiller ? tbcdToChar(nibble) : static_cast<char>(nibble + '0');
   return RTX_OK;
}

int rtxTBCDCharToBin(char ch, uint8_t* nibble) {
   const int value = tbcdFromChar(ch);
   if (value < 0) return RTX_E_BAD_CHAR;
   *nibble = static_cast<uint8_t>(value);
   return RTX_OK;
}

int rtxEncQ825TBCDString(RtxContext* pctxt, const char* str) {
   if (str == nullptr) return RTX_OK;
   while (*str != 0) {
      const int pair = tbcdPair(str);
      if (pair < 0) return recordFailure(pctxt, RTX_E_BAD_CHAR);
      const uint8_t octet = static_cast<uint8_t>(pair);
      if (pctxt->bufBitsLeft == 8 && pctxt->stream == nullptr && pctxt->bufByteIndex < pctxt->bufSize)
         pctxt->bufData[pctxt->bufByteIndex++] = pctxt->lastChar = octet;
      else if (const int stat = rtxWriteBytes(pctxt, &octet, 1); stat != RTX_OK)
         return recordFailure(pctxt, stat);
      str += str[1] != 0 ? 2 : 1;
   }
   return RTX_OK;
}

int rtxDecQ825TBCDString(RtxContext* pctxt, size_t numOctets, char* str, size_t strSize) {
   if (strSize == 0 || numOctets > (strSize - 1) / 2) return recordFailure(pctxt, RTX_E_BUFFER_FULL);
   const bool atHand = pctxt->stream == nullptr && pctxt->bufByteIndex <= pctxt->bufSize &&
                       pctxt->bufSize - pctxt->bufByteIndex >= numOctets;
   for (size_t i = 0; i < numOctets; ++i) {
      uint8_t octet;
      if (atHand)
         octet = pctxt->bufData[pctxt->bufByteIndex++];
      else if (const int stat = rtxReadBytes(pctxt, &octet, 1); stat != RTX_OK)
         return recordFailure(pctxt, stat);
      *str++ = tbcdToChar(octet & 15);
      *str++ = tbcdToChar(octet >> 4);
   }
   if (atHand && numOctets != 0) pctxt->lastChar = pctxt->bufData[pctxt->bufByteIndex - 1];
   *str = 0;
   return RTX_OK;
}

int rtxQ825TBCDToString(size_t numOctets, const uint8_t* octets, char* str, size_t strSize) {
   if (octets == nullptr || str == nullptr) return RTX_E_NULL;
   if (strSize == 0) return RTX_E_OVERFLOW;
   const char* const end = str + strSize;
   for (size_t i = 0; i < numOctets; ++i) {
      for (const unsigned nibble : {octets[i] & 15u, octets[i] >> 4 & 15u}) {
         if (nibble == tbcdFiller) {
            *str = 0;
            return RTX_OK;
         }
         *str++ = tbcdToChar(nibble);
         if (str == end) return RTX_E_OVERFLOW; // full: no room for a NUL
      }
   }
   *str = 0;
   return RTX_OK;
}
