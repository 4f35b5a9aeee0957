/** Heap: ends of everything at once, shared ownership, and the question whether anything is left. */
#include "quorva/rtxError.h"
#include "quorva/rtxMemHeap.h"
#include "runtime/core/rtxInline.h"
#include "runtime/core/rtxMemHeapBlocks.h"
#include "runtime/core/rtxMemHeapNodes.h"

namespace quorva::heap {
namespace {

/** Flags with which a reset takes the long way. */
constexpr uint32_t kSlowFlags =
      RTX_MH_STATIC | RTX_MH_CHECK_HEAP | RTX_MH_RAW_ONLY | RTX_MH_FREE_EMPTY_BLOCK | RTX_MH_ZERO_ON_FREE;

/** Is there an allocation in a block or a raw block? */
bool anyAllocation(RtxMemHeap* heap) {
   if (heap->rawNext != heap) return true;
   auto* const first = static_cast<RtxMemBlk*>(heap->curBlock);
   RtxMemBlk* blk = first;
   if (blk == nullptr) return false;
   do {
      if (!wholeBlkFree(blk)) return true;
      blk = blk->next;
   } while (blk != first);
   return false;
}

void resetStatic(RtxMemHeap* heap) {
   clearFreed(heap, heap->staticBase, heap->staticUsed);
   heap->staticUsed = 0;
}

/** Makes a block one free element again. */
inline void renewBlk(RtxMemBlk* blk) {
   const unsigned nunits = blk->nunits;
   const auto size = u16(nunits - kFirst);
   const auto index = u16(nunits - 1u);
   *elemAt(blk, kFirst) = {size, 1, 0, RTX_ME_FREE, 0};
   RtxMemLink* link = linkAt(blk, index);
   link->nextFree = link->prevFree = 0;
   elemAt(blk, nunits)->prevOff = size;
   blk->maxFreeElem = size;
   blk->freeHead = blk->sentinel.nextFree = blk->sentinel.prevFree = index;
}

/** Makes the elements from `begin` up to `end`, indices both, one free element at the front of the ring. */
void makeFreeRun(RtxMemHeap* heap, RtxMemBlk* blk, size_t begin, size_t end) {
   const size_t size = end - begin;
   RtxMemElem* elem = elemAt(blk, begin);
   const uint16_t prevOff = elem->prevOff;
   clearFreed(heap, elem, size * kUnit);
   *elem = {u16(size), prevOff, 0, RTX_ME_FREE, 0};
   elemAt(blk, end)->prevOff = u16(size);
   RtxMemLink* link = linkAt(blk, end - 1);
   link->nextFree = blk->sentinel.nextFree;
   link->prevFree = 0;
   linkAt(blk, blk->sentinel.nextFree)->prevFree = u16(end - 1);
   blk->sentinel.nextFree = u16(end - 1);
   if (blk->maxFreeElem < size) blk->maxFreeElem = u16(size);
}

/** Frees all but the saved elements of a block. */
void rebuildBlk(RtxMemHeap* heap, RtxMemBlk* blk) {
   blk->sentinel.nextFree = blk->sentinel.prevFree = 0;
   blk->maxFreeElem = 0;
   unsigned saved = blk->nsaved;
   size_t begin = kFirst;
   for (size_t index = kFirst; saved > 0 && index < blk->nunits;) {
      const RtxMemElem* elem = elemAt(blk, index);
      const size_t next = index + elem->nunits;
      if ((elem->flags & RTX_ME_SAVED) != 0) {
         if (begin < index) makeFreeRun(heap, blk, begin, index);
         begin = next;
         --saved;
      }
      index = next;
   }
   if (begin < blk->nunits) makeFreeRun(heap, blk, begin, blk->nunits);
   blk->freeHead = blk->sentinel.nextFree;
}

void resetBlks(RtxMemHeap* heap) {
   auto* blk = static_cast<RtxMemBlk*>(heap->curBlock);
   if (blk == nullptr) return;
   const RtxMemBlk* last = blk->prev;
   for (bool more = true; more;) {
      RtxMemBlk* next = blk->next;
      more = blk != last;
      if (blk->nsaved != 0) [[unlikely]]
         rebuildBlk(heap, blk);
      else if ((heap->flags & RTX_MH_FREE_EMPTY_BLOCK) != 0)
         releaseBlk(heap, blk);
      else {
         if (blk->nunits == kFirst) rtxErrAssertionFailed("pFreeLink != 0", 145, "rtxMemHeapReset");
         clearFreed(heap, elemAt(blk, kFirst), (blk->nunits - kFirst) * kUnit);
         renewBlk(blk);
      }
      blk = next;
   }
}

[[gnu::noinline]] void resetSlow(RtxMemHeap* heap) {
   endAllocations(heap);
   if (isStatic(heap)) return resetStatic(heap);
   if ((heap->flags & RTX_MH_CHECK_HEAP) != 0) rtxMemHeapCheck(&heap, "rtxMemHeapReset", 50);
   for (RawRing *raw = rawRing(heap)->next, *next; raw != rawRing(heap); raw = next) {
      next = raw->next;
      if ((rawBlk(raw)->flags & RTX_ME_SAVED) == 0) releaseRaw(heap, rawBlk(raw));
   }
   resetBlks(heap);
}

} // namespace

void reset(RtxMemHeap* heap, bool allSpare) {
   if (!allSpare || (heap->flags & kSlowFlags) != 0 || heap->rawNext != heap) [[unlikely]]
      return resetSlow(heap);
   ++heap->epoch;
   heap->nodesAtReset = 0;
   heap->maxElsewhere = kUnknown;
   auto* const last = static_cast<RtxMemBlk*>(heap->curBlock);
   RtxMemBlk* blk = last;
   if (blk == nullptr) return;
   do {
      if (blk->nsaved != 0 || blk->nunits == kFirst) [[unlikely]]
         return resetBlks(heap);
      renewBlk(blk);
      blk = blk->next;
   } while (blk != last);
}

} // namespace quorva::heap

using namespace quorva::heap;

void rtxMemHeapAddRef(void* handle) {
   if (RtxMemHeap* heap = heapOf(handle)) ++heap->refCount;
}

void rtxMemHeapRelease(void* handle) {
   RtxMemHeap* heap = heapOf(handle);
   if (heap == nullptr) return;
   if (heap->refCount > 1) {
      --heap->refCount;
      return;
   }
   rtxMemHeapFreeAll(handle);
   releaseNodes(heap);
   if ((heap->flags & RTX_MH_OWN_RECORD) != 0) {
      const RtxFreeFunc freeFn = heap->recordFreeFn;
      clearFreed(heap, heap, sizeof *heap + firstNodesSize());
      freeFn(heap);
   }
   *static_cast<RtxMemHeap**>(handle) = nullptr;
}

void rtxMemHeapFreeAll(void* handle) {
   RtxMemHeap* heap = heapOf(handle);
   if (heap == nullptr) return;
   endAllocations(heap);
   if (heap->nodesAtReset == 0) releaseNodes(heap);
   if (isStatic(heap)) return resetStatic(heap);
   if ((heap->flags & RTX_MH_CHECK_HEAP) != 0) rtxMemHeapCheck(handle, "rtxMemHeapFree", 463);
   while (rawRing(heap)->next != rawRing(heap)) releaseRaw(heap, rawBlk(rawRing(heap)->next));
   while (heap->curBlock != nullptr) releaseBlk(heap, static_cast<RtxMemBlk*>(heap->curBlock));
   heap->minAddr = heap->maxAddr = nullptr;
   heap->maxElsewhere = 0;
}

void rtxMemHeapReset(void* handle) {
   if (RtxMemHeap* heap = heapOf(handle)) reset(heap, false);
}

int rtxMemHeapIsEmpty(void* handle) {
   RtxMemHeap* heap = heapOf(handle);
   if (heap == nullptr) return 1;
   if (isStatic(heap) ? heap->staticUsed != 0 : anyAllocation(heap)) return 0;
   return nodesInUse(heap) <= heap->nodesAtReset;
}
