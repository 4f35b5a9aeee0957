/**
 * @file rtxDynBitSet.h
 * Bit set and pointer array that grow on the heap of a context.
 */
#ifndef QUORVA_RTXDYNBITSET_H
#define QUORVA_RTXDYNBITSET_H

#include "quorva/rtxCommon.h"

QUORVA_BEGIN_DECLS

/** Bits 0 to 65535; bit 0 is the most significant one of `bits[0]`. */
typedef struct RtxDynBitSet {
   uint16_t capacity;  /**< Octets at `bits`. */
   uint16_t maxBit;    /**< Highest set bit + 1; stays 65535 for bit 65535. */
   uint16_t increment; /**< Growth step in octets. */
   uint8_t* bits;      /**< Octets of the set, on the heap. */
} RtxDynBitSet;

/** Makes a set with no bit set; an increment of 0 means 16. 0 or RTX_E_NOMEM. */
QUORVA_API int rtxDynBitSetInit(RtxContext* pctxt, RtxDynBitSet* set, uint16_t increment);

/** Frees the bits; the set is empty then and can be used again. */
QUORVA_API void rtxDynBitSetFree(RtxContext* pctxt, RtxDynBitSet* set);

/** Makes `dest`, whose old content is not looked at, a copy of `src`. 0 or RTX_E_NOMEM. */
QUORVA_API int rtxDynBitSetCopy(RtxContext* pctxt, RtxDynBitSet* dest, const RtxDynBitSet* src);

/** Sets a bit. 0, RTX_E_INDEX for an index above 65535, RTX_E_NOMEM; not recorded. */
QUORVA_API int rtxDynBitSetSetBit(RtxContext* pctxt, RtxDynBitSet* set, size_t index);

/** Clears a bit. When it was the last one, `maxBit` becomes 1. */
QUORVA_API void rtxDynBitSetClearBit(RtxDynBitSet* set, size_t index);

/** Is the bit set? */
QUORVA_API int rtxDynBitSetTestBit(const RtxDynBitSet* set, size_t index);

/** Sets or clears a bit. Status as rtxDynBitSetSetBit. */
QUORVA_API int rtxDynBitSetSetBitToValue(RtxContext* pctxt, RtxDynBitSet* set, size_t index, int value);

/**
 * Inserts a bit; those from the index on move up by one. Status as rtxDynBitSetSetBit, RTX_E_INDEX too if bit
 * 65535 is set and would have to move.
 */
QUORVA_API int rtxDynBitSetInsertBit(RtxContext* pctxt, RtxDynBitSet* set, size_t index, int value);

/** Pointers that grow in number, on the heap. */
typedef struct RtxDynPtrArray {
   uint16_t capacity; /**< Pointers that there is room for. */
   uint16_t used;     /**< Pointers in use. */
   void** items;      /**< The pointers. */
} RtxDynPtrArray;

/** Makes an empty array; a capacity of 0 means 4. 0 or RTX_E_NOMEM. */
QUORVA_API int rtxDynPtrArrayInit(RtxContext* pctxt, RtxDynPtrArray* array, uint16_t capacity);

/** Appends; doubles the room when it is full. 0, RTX_E_NOMEM, RTX_E_OVERFLOW with 65535 items; not recorded.
 */
QUORVA_API int rtxDynPtrArrayAppend(RtxContext* pctxt, RtxDynPtrArray* array, void* item);

QUORVA_END_DECLS

#endif
