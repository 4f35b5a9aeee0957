/** Growing bit set and pointer array. */
#include "quorva/rtxDynBitSet.h"

#include "quorva/rtxMemHeap.h"
#include "quorva/rtxStatus.h"

#include <algorithm>
#include <cstring>

namespace {

constexpr size_t kTop = 65535; ///< Highest index; one more than it does not fit `maxBit`.

unsigned maskOf(size_t index) {
   return 0x80u >> index % 8;
}

bool inMemory(const RtxDynBitSet* set, size_t index) {
   return index / 8 < set->capacity;
}

bool bitAt(const RtxDynBitSet* set, size_t index) {
   return (set->bits[index / 8] & maskOf(index)) != 0;
}

/** Makes room for a bit; the new octets are zero. */
int provideBit(RtxContext* pctxt, RtxDynBitSet* set, size_t index) {
   if (index > kTop) return RTX_E_INDEX;
   if (inMemory(set, index)) return RTX_OK;
   const size_t size = (index / (size_t{set->increment} * 8) + 1) * set->increment;
   auto* bits = static_cast<uint8_t*>(rtxMemHeapRealloc(pctxt, set->bits, size));
   if (bits == nullptr) return RTX_E_NOMEM;
   std::memset(bits + set->capacity, 0, size - set->capacity);
   set->bits = bits;
   set->capacity = static_cast<uint16_t>(size);
   return RTX_OK;
}

void raiseMaxBit(RtxDynBitSet* set, size_t index) {
   set->maxBit = static_cast<uint16_t>(std::max<size_t>(set->maxBit, std::min(index + 1, kTop)));
}

} // namespace

int rtxDynBitSetInit(RtxContext* pctxt, RtxDynBitSet* set, uint16_t increment) {
   *set = {0, 0, increment != 0 ? increment : uint16_t{16}, nullptr};
   set->bits = static_cast<uint8_t*>(rtxMemHeapAllocZ(pctxt, set->increment));
   if (set->bits == nullptr) return RTX_E_NOMEM;
   set->capacity = set->increment;
   return RTX_OK;
}

void rtxDynBitSetFree(RtxContext* pctxt, RtxDynBitSet* set) {
   rtxMemHeapFreePtr(pctxt, set->bits);
   *set = {0, 0, set->increment, nullptr};
}

int rtxDynBitSetCopy(RtxContext* pctxt, RtxDynBitSet* dest, const RtxDynBitSet* src) {
   *dest = {0, 0, src->increment, nullptr};
   if (src->capacity == 0) return RTX_OK;
   dest->bits = static_cast<uint8_t*>(rtxMemHeapAlloc(pctxt, src->capacity));
   if (dest->bits == nullptr) return RTX_E_NOMEM;
   std::memcpy(dest->bits, src->bits, src->capacity);
   dest->capacity = src->capacity;
   dest->maxBit = src->maxBit;
   return RTX_OK;
}

int rtxDynBitSetSetBit(RtxContext* pctxt, RtxDynBitSet* set, size_t index) {
   const int status = provideBit(pctxt, set, index);
   if (status != RTX_OK) return status;
   set->bits[index / 8] |= static_cast<uint8_t>(maskOf(index));
   raiseMaxBit(set, index);
   return RTX_OK;
}

void rtxDynBitSetClearBit(RtxDynBitSet* set, size_t index) {
   if (!inMemory(set, index)) return;
   set->bits[index / 8] &= static_cast<uint8_t>(~maskOf(index));
   if (index + 1 != set->maxBit && !(index == kTop && set->maxBit == kTop)) return;
   size_t top = set->maxBit == kTop && inMemory(set, kTop) ? kTop : index;
   while (top > 0 && !bitAt(set, top)) --top;
   set->maxBit = static_cast<uint16_t>(std::min(top + 1, kTop)); // 1 if no bit is left
}

int rtxDynBitSetTestBit(const RtxDynBitSet* set, size_t index) {
   if (index >= set->maxBit && !(index == kTop && set->maxBit == kTop)) return 0;
   return inMemory(set, index) && bitAt(set, index);
}

int rtxDynBitSetSetBitToValue(RtxContext* pctxt, RtxDynBitSet* set, size_t index, int value) {
   if (value != 0) return rtxDynBitSetSetBit(pctxt, set, index);
   if (index > kTop) return RTX_E_INDEX;
   rtxDynBitSetClearBit(set, index);
   return RTX_OK;
}

int rtxDynBitSetInsertBit(RtxContext* pctxt, RtxDynBitSet* set, size_t index, int value) {
   if (rtxDynBitSetTestBit(set, kTop) != 0) return RTX_E_INDEX;
   if (index >= set->maxBit) return rtxDynBitSetSetBitToValue(pctxt, set, index, value);
   const size_t top = size_t{set->maxBit} - 1;
   const bool grows = bitAt(set, top);
   const int status = grows ? provideBit(pctxt, set, top + 1) : RTX_OK;
   if (status != RTX_OK) return status;

   // Whole octets above the index take the last bit of the octet below; that of the index is split.
   const size_t first = index / 8;
   for (size_t i = (grows ? top + 1 : top) / 8; i > first; --i)
      set->bits[i] = static_cast<uint8_t>(set->bits[i] >> 1 | (set->bits[i - 1] & 1u) << 7);
   const unsigned below = 0xFFu & ~(0xFFu >> index % 8);
   const unsigned octet = set->bits[first];
   set->bits[first] =
         static_cast<uint8_t>((octet & below) | (octet & ~below) >> 1 | (value != 0 ? maskOf(index) : 0u));
   if (grows) raiseMaxBit(set, top + 1);
   return RTX_OK;
}

int rtxDynPtrArrayInit(RtxContext* pctxt, RtxDynPtrArray* array, uint16_t capacity) {
   *array = {0, 0, nullptr};
   if (capacity == 0) capacity = 4;
   array->items = static_cast<void**>(rtxMemHeapAlloc(pctxt, capacity * sizeof(void*)));
   if (array->items == nullptr) return RTX_E_NOMEM;
   array->capacity = capacity;
   return RTX_OK;
}

int rtxDynPtrArrayAppend(RtxContext* pctxt, RtxDynPtrArray* array, void* item) {
   if (array->used == array->capacity) {
      if (array->capacity == UINT16_MAX) return RTX_E_OVERFLOW;
      const size_t capacity = array->capacity == 0 ? 4 : std::min<size_t>(array->capacity * 2u, UINT16_MAX);
      auto** items = static_cast<void**>(rtxMemHeapRealloc(pctxt, array->items, capacity * sizeof(void*)));
      if (items == nullptr) return RTX_E_NOMEM;
      array->items = items;
      array->capacity = static_cast<uint16_t>(capacity);
   }
   array->items[array->used++] = item;
   return RTX_OK;
}
