/** Heap: ends of everything at once, shared ownership, and the question whether anything is left. */
#include "quorva/rtxError.h"
#include "quorva/rtxMemHeap.h"
#include "runtime/core/rtxInline.h"
#include "runtime/core/rtxMemHeapBlocks.h"

namespace quorva::heap {
namespace {

/** Flags with which a reset takes the long way. */
constexpr uint32_t kSlowFlags =
      RTX_MH_STATIC | RTX_MH_CHECK_HEAP | RTX_MH_RAW_ONLY | RTX_MH_FREE_EMPTY_BLOCK | RTX_MH_ZERO_ON_FREE;

/** No node is handed out any more. */
void endNodes(RtxMemHeap* heap) {
   heap->spareNames = nullptr;
   heap->spareContainers = nullptr;
   heap->namesUsed = heap->containersUsed = heap->singleNodes = 0;
}

void forgetSpares(RtxMemHeap* heap) {
   endNodes(heap);
   heap->nodes = nullptr;
}

/** Does the entry of a spare container node have an allocation of its own? */
bool ownEntry(const RtxDListNode* node) {
   return node->data != nullptr && node->data != node + 1;
}

/** Is the node one of those that share an allocation? */
bool sharedNode(const RtxMemHeap* heap, const RtxDListNode* node) {
   if (heap->nodes == nullptr) return false;
   const auto begin = reinterpret_cast<uintptr_t>(heap->nodes);
   const auto address = reinterpret_cast<uintptr_t>(node);
   return address >= begin && address - begin < sizeof(hot::RtxStackNodes);
}

/** What the spare nodes take. */
struct Spares {
   size_t allocations = 0, octets = 0;
};
Spares countSpares(const RtxMemHeap* heap) {
   Spares spares;
   size_t shared = 0;
   for (const RtxDListNode* list : {heap->spareNames, heap->spareContainers}) {
      for (const RtxDListNode* node = list; node != nullptr; node = node->next) {
         if (sharedNode(heap, node)) {
            ++shared;
            continue;
         }
         const bool entry = list == heap->spareContainers;
         spares.allocations += entry && ownEntry(node) ? 2 : 1; // in a static heap it lies behind the node
         spares.octets += sizeof(RtxDListNode) + (entry ? sizeof(hot::RtxContainer) : 0);
      }
   }
   if (heap->nodes != nullptr && shared == heap->namesUsed + heap->containersUsed) {
      ++spares.allocations;
      spares.octets += sizeof(hot::RtxStackNodes);
   }
   return spares;
}

/** Gives spare nodes back while the heap lives on; those that share an allocation with one in use stay. */
void freeSpares(void* handle) {
   RtxMemHeap* heap = heapOf(handle);
   size_t shared = 0;
   for (RtxDListNode** list : {&heap->spareNames, &heap->spareContainers}) {
      RtxDListNode* kept = nullptr;
      for (RtxDListNode *node = *list, *next; node != nullptr; node = next) {
         next = node->next;
         if (sharedNode(heap, node)) {
            node->next = kept;
            kept = node;
            ++shared;
            continue;
         }
         if (list == &heap->spareContainers && ownEntry(node)) rtxMemHeapFreePtr(handle, node->data);
         rtxMemHeapFreePtr(handle, node);
      }
      *list = kept;
   }
   if (heap->nodes != nullptr && shared == heap->namesUsed + heap->containersUsed) {
      rtxMemHeapFreePtr(handle, heap->nodes);
      forgetSpares(heap);
   }
}

/** Are there more than `limit` live allocations? */
bool liveBeyond(RtxMemHeap* heap, size_t limit) {
   size_t live = 0;
   for (RawRing* raw = rawRing(heap)->next; raw != rawRing(heap); raw = raw->next)
      if (++live > limit) return true;
   auto* const first = static_cast<RtxMemBlk*>(heap->curBlock);
   RtxMemBlk* blk = first;
   if (blk == nullptr) return false;
   do {
      if (!wholeBlkFree(blk)) {
         const RtxMemElem* end = elemAt(blk, blk->nunits);
         for (RtxMemElem* elem = elemAt(blk, kFirst); elem < end; elem = nextElem(elem))
            if ((elem->flags & RTX_ME_FREE) == 0 && ++live > limit) return true;
      }
      blk = blk->next;
   } while (blk != first);
   return false;
}

/** Makes a block one free element again, behind a first element of `kept` units. */
inline void renewBlk(RtxMemBlk* blk, unsigned kept) {
   const unsigned nunits = blk->nunits;
   const auto size = u16(nunits - kFirst - kept);
   const auto index = u16(nunits - 1u);
   RtxMemElem* elem = elemAt(blk, kFirst + kept);
   *elem = {size, elem->prevOff, 0, RTX_ME_FREE, 0};
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
   if ((heap->flags & RTX_MH_ZERO_ON_FREE) != 0) std::memset(elem, 0, size * kUnit);
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
         if ((heap->flags & RTX_MH_ZERO_ON_FREE) != 0)
            std::memset(static_cast<void*>(elemAt(blk, kFirst)), 0, (blk->nunits - kFirst) * kUnit);
         renewBlk(blk, 0);
      }
      blk = next;
   }
}

/** Lets the nodes go with the rest. */
void unsaveNodes(RtxMemHeap* heap) {
   if (heap->nodes != nullptr) {
      RtxMemElem* elem = elemOfData(heap->nodes);
      elem->flags = static_cast<uint8_t>(elem->flags & ~RTX_ME_SAVED);
      if ((elem->flags & RTX_ME_RAW) == 0) --blockOf(elem)->nsaved;
   }
   forgetSpares(heap);
}

/** For a heap with saved elements. The nodes, to which nobody refers, go to the front of a block. */
[[gnu::noinline]] void resetSaved(RtxMemHeap* heap) {
   const bool nodes = heap->nodes != nullptr;
   unsaveNodes(heap);
   resetBlks(heap);
   if (nodes) heap->nodes = static_cast<RtxMemHeapNodes*>(allocSaved(&heap, sizeof(hot::RtxStackNodes)));
}

[[gnu::noinline]] void resetSlow(RtxMemHeap* heap) {
   if (isStatic(heap)) {
      forgetSpares(heap);
      heap->staticUsed = 0;
      return;
   }
   if ((heap->flags & RTX_MH_CHECK_HEAP) != 0) rtxMemHeapCheck(&heap, "rtxMemHeapReset", 50);
   unsaveNodes(heap);
   for (RawRing *raw = rawRing(heap)->next, *next; raw != rawRing(heap); raw = next) {
      next = raw->next;
      if ((rawBlk(raw)->flags & RTX_ME_SAVED) == 0) releaseRaw(heap, rawBlk(raw));
   }
   resetBlks(heap);
}

} // namespace

void reset(RtxMemHeap* heap, bool spare) {
   if ((heap->flags & kSlowFlags) != 0 || heap->rawNext != heap) [[unlikely]]
      return resetSlow(heap);
   if (!spare || heap->singleNodes != 0) [[unlikely]]
      endNodes(heap);
   auto* const last = static_cast<RtxMemBlk*>(heap->curBlock);
   RtxMemBlk* blk = last;
   if (blk == nullptr) return;
   do {
      unsigned kept = 0;
      bool usual = true;
      if (blk->nsaved != 0) { // by the nodes, at the front
         const RtxMemElem* first = elemAt(blk, kFirst);
         kept = first->nunits;
         usual = blk->nsaved == 1 && (first->flags & RTX_ME_SAVED) != 0;
      }
      if (!usual || kFirst + kept >= blk->nunits) [[unlikely]]
         return resetSaved(heap);
      renewBlk(blk, kept);
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
      freeSpares(handle);
      --heap->refCount;
      return;
   }
   rtxMemHeapFreeAll(handle);
   if ((heap->flags & RTX_MH_OWN_RECORD) != 0) heap->recordFreeFn(heap);
   *static_cast<RtxMemHeap**>(handle) = nullptr;
}

void rtxMemHeapFreeAll(void* handle) {
   RtxMemHeap* heap = heapOf(handle);
   if (heap == nullptr) return;
   if (isStatic(heap)) {
      forgetSpares(heap);
      heap->staticUsed = 0;
      return;
   }
   if ((heap->flags & RTX_MH_CHECK_HEAP) != 0) rtxMemHeapCheck(handle, "rtxMemHeapFree", 463);
   forgetSpares(heap);
   while (rawRing(heap)->next != rawRing(heap)) releaseRaw(heap, rawBlk(rawRing(heap)->next));
   while (heap->curBlock != nullptr) releaseBlk(heap, static_cast<RtxMemBlk*>(heap->curBlock));
   heap->minAddr = heap->maxAddr = nullptr;
}

void rtxMemHeapReset(void* handle) {
   if (RtxMemHeap* heap = heapOf(handle)) reset(heap, false);
}

int rtxMemHeapIsEmpty(void* handle) {
   RtxMemHeap* heap = heapOf(handle);
   if (heap == nullptr) return 1;
   if (isStatic(heap)) return heap->staticUsed == countSpares(heap).octets;
   if (!liveBeyond(heap, 0)) return 1;
   const size_t spares = countSpares(heap).allocations;
   return spares != 0 && !liveBeyond(heap, spares);
}
