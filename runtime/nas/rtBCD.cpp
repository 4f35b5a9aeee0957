// Conversion between texts of digits and octets of plain or telephony BCD.
#include "quorva/rtBCD.h"

#include "quorva/rtxMemHeap.h"
#include "quorva/rtxStatus.h"
#include "runtime/core/ascii.h"
#include "runtime/nas/tbcd.h"

#include <cstring>

using namespace quorva;

namespace {

/** Shift of the nibble that holds digit i. */
int nibbleShift(size_t i, bool tbcd) {
   return (i % 2 == 0) == tbcd ? 0 : 4;
}

unsigned nibbleAt(const uint8_t* octets, size_t i, bool tbcd) {
   return octets[i / 2] >> nibbleShift(i, tbcd) & 15u;
}

int stringToDigits(const char* str, uint8_t* octets, size_t size, bool tbcd) {
   if (str == nullptr || octets == nullptr || size == 0) return RTX_E_BAD_ARGUMENT;
   std::memset(octets, 0xFF, size);
   size_t count = 0;
   for (; count / 2 < size && str[count] != 0; ++count) {
      const int digit = tbcd ? tbcdFromChar(str[count]) : hexDigitValue(str[count]);
      if (digit < 0) break;
      octets[count / 2] ^= static_cast<uint8_t>((digit ^ 15) << nibbleShift(count, tbcd));
   }
   return static_cast<int>((count + 1) / 2);
}

template <class Dyn>
int stringToDyn(RtxContext* pctxt, const char* str, Dyn* dyn, bool tbcd) {
   if (dyn == nullptr) return RTX_E_BAD_ARGUMENT;
   const size_t size = (str == nullptr ? 0 : std::strlen(str)) / 2 + 1;
   auto* octets = static_cast<uint8_t*>(rtxMemHeapAlloc(pctxt, size));
   if (octets == nullptr) return RTX_E_NOMEM;
   const int count = stringToDigits(str, octets, size, tbcd);
   if (count >= 0) dyn->numocts = static_cast<decltype(dyn->numocts)>(count);
   dyn->data = octets; // whatever the conversion gave
   return count;
}

} // namespace

int rtStringToTBCD(const char* str, uint8_t* octets, size_t size) {
   return stringToDigits(str, octets, size, true);
}

int rtStringToBCD(const char* str, uint8_t* octets, size_t size, int isTBCD) {
   return stringToDigits(str, octets, size, isTBCD != 0);
}

int rtStringToDynBCD(RtxContext* pctxt, const char* str, RtxDynOctStr* dyn) {
   return stringToDyn(pctxt, str, dyn, false);
}

int rtStringToDynBCD64(RtxContext* pctxt, const char* str, RtxDynOctStr64* dyn, int isTBCD) {
   return stringToDyn(pctxt, str, dyn, isTBCD != 0);
}

const char* rtTBCDToString(size_t numOctets, const uint8_t* octets, char* str, size_t strSize) {
   return rtBCDToString(numOctets, octets, str, strSize, 1);
}

const char* rtBCDToString(size_t numOctets, const uint8_t* octets, char* str, size_t strSize, int isTBCD) {
   if (octets == nullptr || str == nullptr || numOctets == 0 || strSize == 0) return nullptr;
   const bool tbcd = isTBCD != 0;
   size_t count = 0;
   for (size_t i = 0; i / 2 < numOctets; ++i) {
      const unsigned nibble = nibbleAt(octets, i, tbcd);
      // A filler of telephony BCD is passed over, not taken as the end.
      if (tbcd && nibble == tbcdFiller) continue;
      if (!tbcd && nibble > 9) break;
      str[count++] = tbcdToChar(nibble);
      if (count == strSize) return str; // full: no room for a NUL
   }
   str[count] = 0;
   return str;
}
