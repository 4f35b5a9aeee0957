/**
 * @file rtxMemHeapInline.h
 * Allocation in inline form, for the places that every message passes.
 */
#ifndef QUORVA_RUNTIME_CORE_RTXMEMHEAPINLINE_H
#define QUORVA_RUNTIME_CORE_RTXMEMHEAPINLINE_H

#include "quorva/rtxContext.h"
#include "runtime/core/rtxMemHeapBlocks.h"

#include <bit>

namespace quorva::heap {

/** Flags with which allocation takes the long way. */
constexpr uint32_t kSlowAllocFlags = RTX_MH_STATIC | RTX_MH_CHECK_HEAP | RTX_MH_RAW_ONLY;

/** Stores 8 octets of an element's header at once; fields stored one by one are what costs in a split. */
inline void storeHeader(RtxMemElem* elem, size_t nunits, size_t prevOff, unsigned flags) {
   if constexpr (std::endian::native == std::endian::little) {
      const uint64_t header = nunits | prevOff << 16 | uint64_t{flags} << 48;
      std::memcpy(static_cast<void*>(elem), &header, sizeof header);
   } else {
      *elem = {u16(nunits), u16(prevOff), 0, static_cast<uint8_t>(flags), 0};
   }
}

/** Marks an element as allocated, with one owner. */
inline void markUsed(RtxMemElem* elem, size_t index) {
   if constexpr (std::endian::native == std::endian::little) {
      const auto half = static_cast<uint32_t>(index | 1u << 24);
      std::memcpy(&elem->beginOff, &half, sizeof half);
   } else {
      elem->beginOff = u16(index);
      elem->flags = 0;
      elem->refCnt = 1;
   }
}

/**
 * Cuts an allocation off the front of a free element of `size` units; at least two must be left. The link
 * stays where it is, at the end, and serves the rest.
 * @param behind  The element that follows the free one.
 * @param index   Its index.
 */
inline void* splitElem(RtxMemElem* behind, size_t index, size_t size, size_t units) {
   const size_t rest = size - units;
   RtxMemElem* elem = behind - size;
   storeHeader(elem + units, rest, units, RTX_ME_FREE);
   behind->prevOff = u16(rest);
   elem->nunits = u16(units);
   markUsed(elem, index - size);
   return elem + 1;
}

/* What is not the usual case: in a block with several free elements, and any other. */
void* allocFitting(void* handle, RtxMemBlk* blk, size_t nbytes);
void* allocSlow(void* handle, size_t nbytes);

/** Units of an allocation, its header counted. */
inline size_t unitsOf(size_t nbytes) {
   return (nbytes - (nbytes != 0)) / kUnit + 2;
}

/** The usual case: the free element at which the search begins is much larger than what is wanted, and the
 * only one of its block. */
inline void* alloc(void* handle, RtxMemHeap* heap, size_t nbytes) {
   if (heap == nullptr || (heap->flags & kSlowAllocFlags) != 0 || heap->curBlock == nullptr) [[unlikely]]
      return allocSlow(handle, nbytes);
   auto* blk = static_cast<RtxMemBlk*>(heap->curBlock);
   const size_t units = unitsOf(nbytes);
   const size_t link = blk->freeHead;
   RtxMemElem* behind = elemAt(blk, link + 1);
   const size_t size = behind->prevOff;
   if (units + 1 >= size || linkAt(blk, link)->nextFree != 0) [[unlikely]]
      return allocFitting(handle, blk, nbytes);
   blk->maxFreeElem = kUnknown;
   return splitElem(behind, link + 1, size, units);
}

} // namespace quorva::heap

namespace quorva::hot {

/** rtxMemHeapAlloc. */
inline void* alloc(RtxContext* pctxt, size_t nbytes) {
   return heap::alloc(pctxt, pctxt->memHeap, nbytes);
}

} // namespace quorva::hot

#endif
