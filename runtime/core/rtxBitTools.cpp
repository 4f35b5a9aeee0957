// Bits of an octet array in memory; sizes of numbers.
#include "quorva/rtxBits.h"
#include "quorva/rtxMemHeap.h"
#include "runtime/core/rtxBuffer.h"

#include <algorithm>
#include <bit>
#include <cstring>

using namespace quorva;

namespace {

uint8_t bitMask(size_t index) {
   return static_cast<uint8_t>(0x80u >> index % 8);
}

/** Mask of the bits of the last octet that lie behind a bit string. */
uint8_t unusedMask(size_t nbits) {
   return static_cast<uint8_t>(0xFFu >> nbits % 8);
}

size_t octetsOf(size_t nbits) {
   return nbits / 8 + (nbits % 8 != 0);
}

} // namespace

int rtxSetBit(uint8_t* octets, size_t nbits, size_t index) {
   if (index >= nbits) return RTX_E_INDEX;
   const int old = octets[index / 8] & bitMask(index);
   octets[index / 8] = static_cast<uint8_t>(octets[index / 8] | bitMask(index));
   return old;
}

int rtxClearBit(uint8_t* octets, size_t nbits, size_t index) {
   if (index >= nbits) return RTX_E_INDEX;
   const int old = octets[index / 8] & bitMask(index);
   octets[index / 8] = static_cast<uint8_t>(octets[index / 8] & ~bitMask(index));
   return old;
}

int rtxTestBit(const uint8_t* octets, size_t nbits, size_t index) {
   return index < nbits ? octets[index / 8] & bitMask(index) : 0;
}

uint32_t rtxSetBitFlags(uint32_t flags, uint32_t mask, int set) {
   return set ? flags | mask : flags & ~mask;
}

int64_t rtxLastBitSet(const uint8_t* octets, size_t nbits) {
   size_t count = octetsOf(nbits);
   if (count == 0) return -1;
   auto octet = static_cast<uint8_t>(octets[count - 1] & (nbits % 8 != 0 ? ~unusedMask(nbits) : 0xFF));
   while (octet == 0) {
      if (--count == 0) return -1;
      octet = octets[count - 1];
   }
   return static_cast<int64_t>(count * 8) - 1 - std::countr_zero(octet);
}

int rtxCheckBitBounds(RtxContext* pctxt, uint8_t** ppdata, size_t* pcapacity, size_t wantedBits,
                      size_t preferredBits) {
   const size_t wanted = octetsOf(wantedBits);
   const size_t preferred = octetsOf(preferredBits);
   const size_t old = *ppdata != nullptr ? *pcapacity : 0;
   if (*ppdata != nullptr ? old >= wanted : wantedBits == 0) return RTX_OK;
   size_t size = std::max<size_t>(addSizes(old, old / 2), 32);
   if (size < wanted)
      size = wanted;
   else if (preferred != 0 && size > preferred)
      size = std::max(wanted, preferred);
   auto* data = static_cast<uint8_t*>(rtxMemHeapAlloc(pctxt, size));
   if (data == nullptr) return RTX_E_NOMEM;
   copyOctets(data, *ppdata, old);
   std::memset(data + old, 0, size - old);
   rtxMemHeapFreePtr(pctxt, *ppdata);
   *ppdata = data;
   *pcapacity = size;
   return RTX_OK;
}

int rtxZeroUnusedBits(uint8_t* octets, size_t nbits) {
   if (nbits % 8 == 0) return RTX_OK;
   if (octets == nullptr) return RTX_E_BAD_ARGUMENT;
   octets[nbits / 8] = static_cast<uint8_t>(octets[nbits / 8] & ~unusedMask(nbits));
   return RTX_OK;
}

int rtxCheckUnusedBitsZero(const uint8_t* octets, size_t nbits) {
   if (nbits % 8 == 0) return RTX_OK;
   if (octets == nullptr) return RTX_E_BAD_ARGUMENT;
   return (octets[nbits / 8] & unusedMask(nbits)) == 0 ? RTX_OK : RTX_E_UNUSED_BITS;
}

uint32_t rtxGetBitCount(uint32_t value) {
   return rtxUInt32BitLen(value);
}

uint32_t rtxUInt32BitLen(uint32_t value) {
   return static_cast<uint32_t>(std::bit_width(value));
}

uint32_t rtxUInt64BitLen(uint64_t value) {
   return static_cast<uint32_t>(std::bit_width(value));
}

uint32_t rtxOctetBitLen(uint8_t value) {
   return value == 0 ? 0 : 8 - static_cast<uint32_t>(std::countr_zero(value));
}

uint32_t rtxSizeByteCount(size_t value) {
   return value >> 56 != 0 ? 8 : 7;
} // 7 or 8, never less

uint32_t rtxIntByteCount(int32_t value) {
   const auto significant = static_cast<uint32_t>(value < 0 ? ~value : value);
   return rtxUInt32BitLen(significant) / 8 + 1; // one bit more than these for the sign
}

uint32_t rtxGetIdentByteCount(uint32_t value) {
   return std::max(1u, (rtxUInt32BitLen(value) + 6) / 7);
}

uint32_t rtxLog2Ceil(size_t value) {
   return value <= 2 ? 1 : rtxUInt64BitLen(value - 1);
}

uint32_t rtxLog2Floor(size_t value) {
   return value == 0 ? 0 : rtxUInt64BitLen(value) - 1;
}

int rtxLog10Floor(uint32_t value) {
   int digits = -1;
   for (; value != 0; value /= 10) ++digits;
   return digits;
}
