/** Heap: life, allocation, freeing, reallocation. */
#include "quorva/rtxMemHeap.h"

#include "quorva/rtxStatus.h"
#include "runtime/core/rtxMemHeapInline.h"
#include "runtime/core/rtxMemHeapStatic.h"

#include <algorithm>
#include <cstdlib>
#include <functional>

namespace quorva::heap {

void* systemAlloc(RtxMallocFunc mallocFn, RtxFreeFunc freeFn, size_t nbytes) {
   if (mallocFn == rtxMemStaticAlloc_Alloc) alignStaticAlloc();
   void* ptr = mallocFn(nbytes);
   if (!aligned(ptr)) [[unlikely]] {
      freeFn(ptr);
      return nullptr;
   }
   return ptr;
}

namespace {

void widenRange(RtxMemHeap* heap, void* begin, size_t nbytes) {
   void* end = static_cast<uint8_t*>(begin) + nbytes;
   if (heap->minAddr == nullptr || std::less<>()(begin, heap->minAddr)) heap->minAddr = begin;
   if (std::less<>()(heap->maxAddr, end)) heap->maxAddr = end;
}

void* allocRaw(RtxMemHeap* heap, size_t nbytes) {
   if (nbytes == 0) nbytes = kUnit; // as an element would give
   if (nbytes > SIZE_MAX - sizeof(RtxRawMemBlk)) return nullptr;
   const size_t size = nbytes + sizeof(RtxRawMemBlk);
   auto* raw = static_cast<RtxRawMemBlk*>(systemAlloc(heap->mallocFn, heap->freeFn, size));
   if (raw == nullptr) return nullptr;
   widenRange(heap, raw, size);
   *raw = {nullptr, nullptr, nbytes, heap->code, 0, RTX_ME_RAW, 1};
   RawRing* member = reinterpret_cast<RawRing*>(raw);
   RawRing* head = rawRing(heap);
   member->next = head;
   member->prev = head->prev;
   head->prev->next = member;
   head->prev = member;
   return raw + 1;
}

/** Allocates from a free element that ends at index `link` and has `size` units. */
inline void* takeElem(RtxMemBlk* blk, size_t link, unsigned size, unsigned units) {
   RtxMemElem* behind = elemAt(blk, link + 1);
   if (size - units > 1) return splitElem(behind, link + 1, size, units);
   unlinkFree(blk, link);
   RtxMemElem* elem = behind - size;
   markUsed(elem, link + 1 - size);
   return elem + 1;
}

/** First fit in one block, with a look at the next free element; null and the largest size noted if none. */
void* searchBlk(RtxMemBlk* blk, unsigned units) {
   const uint16_t begin = blk->freeHead;
   uint16_t link = begin;
   unsigned largest = 0;
   do {
      const unsigned size = freeSize(blk, link);
      const uint16_t next = linkAt(blk, link)->nextFree;
      if (size >= units) {
         blk->maxFreeElem = kUnknown;
         blk->freeHead = link; // the next search begins where this one ended
         const unsigned nextSize = freeSize(blk, next);
         if (nextSize >= units && nextSize < size) return takeElem(blk, next, nextSize, units);
         return takeElem(blk, link, size, units);
      }
      largest = std::max(largest, size);
      link = next;
   } while (link != begin);
   blk->maxFreeElem = u16(largest);
   return nullptr;
}

/** A new block whose first element is the allocation. */
void* allocInNewBlk(RtxMemHeap* heap, unsigned units) {
   const size_t need = units * kUnit + kBlkOverhead + 2 * kUnit;
   size_t size = heap->defBlkSize;
   if (size <= need) size = (need + size - 1) / size * size;
   size = std::min(size, kMaxBlkSize);
   auto* blk = static_cast<RtxMemBlk*>(systemAlloc(heap->mallocFn, heap->freeFn, size));
   if (blk == nullptr) return nullptr;

   auto* cur = static_cast<RtxMemBlk*>(heap->curBlock);
   if (cur == nullptr) {
      blk->next = blk->prev = blk;
   } else {
      blk->next = cur;
      blk->prev = cur->prev;
      cur->prev->next = blk;
      cur->prev = blk;
   }
   heap->curBlock = blk;
   widenRange(heap, blk, size);

   const auto nunits = static_cast<unsigned>((size - kBlkOverhead) / kUnit);
   unsigned rest = nunits - units - kFirst;
   if (rest == 1) {
      ++units;
      rest = 0;
   }
   const uint16_t link = rest != 0 ? u16(nunits - 1) : uint16_t{0};
   blk->freeHead = link;
   blk->maxFreeElem = u16(rest);
   blk->nunits = u16(nunits);
   blk->nsaved = 0;
   blk->sentinel = {heap->code, link, link};
   blk->start = {0, 0, 0, 0, 0};
   RtxMemElem* elem = elemAt(blk, kFirst);
   *elem = {u16(units), 1, kFirst, 0, 1};
   if (rest != 0) {
      *elemAt(blk, kFirst + units) = {u16(rest), u16(units), 0, RTX_ME_FREE, 0};
      *linkAt(blk, link) = {0, 0, 0};
   }
   *elemAt(blk, nunits) = {0, u16(rest != 0 ? rest : units), 0, 0, 0};
   return elem + 1;
}

/** Blocks that one search looks at, so that an allocation costs the same in a heap of any size. */
constexpr unsigned kSearchedBlks = 32;

/**
 * Walks the ring of blocks once. In a long ring a walk without a hit ends before it is round; the new block
 * goes in where it ended, and the next walk goes on there: all that is free is found in the end.
 */
void* allocInBlks(RtxMemHeap* heap, unsigned units) {
   auto* const first = static_cast<RtxMemBlk*>(heap->curBlock);
   if (first != nullptr) {
      RtxMemBlk* blk = first;
      unsigned left = kSearchedBlks;
      unsigned largest = 0;
      do {
         if (blk->maxFreeElem >= units) {
            if (void* ptr = searchBlk(blk, units)) {
               heap->curBlock = blk; // the next search begins where this one ended
               return ptr;
            }
         }
         largest = std::max<unsigned>(largest, blk->maxFreeElem);
         if (blk == first) {
            raiseElsewhere(heap, largest);
            if (heap->maxElsewhere < units) break; // which all others would confirm
         }
         blk = blk->next;
         if (blk == first) heap->maxElsewhere = largest;
      } while (blk != first && --left != 0);
      heap->curBlock = blk;
   }
   void* ptr = allocInNewBlk(heap, units);
   if (ptr == nullptr) heap->curBlock = first;
   return ptr;
}

void* allocStatic(RtxMemHeap* heap, size_t nbytes) {
   if (nbytes > heap->staticSize - heap->staticUsed) return nullptr;
   void* ptr = static_cast<uint8_t*>(heap->staticBase) + heap->staticUsed;
   heap->staticUsed += nbytes;
   return ptr;
}

} // namespace

void* allocFitting(void* handle, RtxMemBlk* blk, size_t nbytes) {
   const size_t units = unitsOf(nbytes);
   size_t link = blk->freeHead;
   size_t size = freeSize(blk, link);
   const size_t next = linkAt(blk, link)->nextFree;
   // The choice of searchBlk.
   if (const size_t nextSize = freeSize(blk, next); nextSize >= units && nextSize < size) {
      link = next;
      size = nextSize;
   }
   if (units + 1 >= size) return allocSlow(handle, nbytes);
   blk->maxFreeElem = kUnknown;
   return splitElem(elemAt(blk, link + 1), link + 1, size, units);
}

void* allocSlow(void* handle, size_t nbytes) {
   if (handle == nullptr) return nullptr;
   RtxMemHeap* heap = heapOf(handle);
   if (heap == nullptr) {
      if (rtxMemHeapCreate(handle) != RTX_OK) return nullptr;
      heap = heapOf(handle);
   }
   if (isStatic(heap)) return allocStatic(heap, nbytes);
   if ((heap->flags & RTX_MH_CHECK_HEAP) != 0) rtxMemHeapCheck(handle, "rtxMemHeapAlloc", 104);
   if (nbytes > kMaxElemData || (heap->flags & RTX_MH_RAW_ONLY) != 0) return allocRaw(heap, nbytes);
   return allocInBlks(heap, static_cast<unsigned>(unitsOf(nbytes)));
}

namespace {

inline void* alloc(void* handle, size_t nbytes) {
   return heap::alloc(handle, heapOf(handle), nbytes);
}

void markSaved(RtxMemElem* elem) {
   elem->flags |= RTX_ME_SAVED;
   if ((elem->flags & RTX_ME_RAW) == 0) ++blockOf(elem)->nsaved;
}

void* reallocByCopy(void* handle, RtxMemElem* elem, size_t nbytes) {
   RtxMemHeap* heap = heapOf(handle);
   void* fresh = alloc(handle, nbytes);
   if (fresh == nullptr) return nullptr;
   const bool raw = (elem->flags & RTX_ME_RAW) != 0;
   const size_t oldSize = raw ? rawOf(elem)->size : (elem->nunits - 1) * kUnit;
   std::memcpy(fresh, elem + 1, std::min(oldSize, nbytes));
   if ((elem->flags & RTX_ME_SAVED) != 0) markSaved(elemOfData(fresh));
   if (elem->refCnt > 1)
      --elem->refCnt;
   else if (raw)
      releaseRaw(heap, rawOf(elem));
   else
      freeElem(heap, elem);
   return fresh;
}

void* reallocRaw(void* handle, RtxMemElem* elem, size_t nbytes) {
   RtxMemHeap* heap = heapOf(handle);
   RtxRawMemBlk* raw = rawOf(elem);
   if (nbytes >= SIZE_MAX - 34) return nullptr;
   // The system's function would leave octets uncleared. Without it the size in the header is always true.
   const bool clears = (heap->flags & RTX_MH_ZERO_ON_FREE) != 0 && (raw->flags & RTX_ME_GROWN) == 0;
   if (heap->reallocFn == nullptr || clears) return reallocByCopy(handle, elem, nbytes);
   // The stored size stays that of the allocation, by which a later copy goes. So that it never exceeds what
   // is there, the memory never gets smaller than it.
   const size_t size = std::max(nbytes, raw->size) + sizeof(RtxRawMemBlk);
   const RtxRawMemBlk head = *raw;
   const auto before = reinterpret_cast<uintptr_t>(raw);
   if (heap->reallocFn == rtxMemStaticAlloc_Realloc) alignStaticAlloc();
   auto* moved = static_cast<RtxRawMemBlk*>(heap->reallocFn(raw, size));
   if (moved == nullptr) return nullptr;
   if (reinterpret_cast<uintptr_t>(moved) != before) {
      *moved = head; // also for a function that does not copy
      static_cast<RawRing*>(head.next)->prev = reinterpret_cast<RawRing*>(moved);
      static_cast<RawRing*>(head.prev)->next = reinterpret_cast<RawRing*>(moved);
      widenRange(heap, moved, size);
   }
   moved->flags |= RTX_ME_GROWN;
   return moved + 1;
}

/** In its place if that can be, else by copying. */
void* reallocElem(void* handle, RtxMemElem* elem, size_t nbytes) {
   RtxMemBlk* blk = blockOf(elem);
   const size_t index = elem->beginOff;
   const unsigned have = elem->nunits;
   const auto units = static_cast<unsigned>((nbytes + kUnit - 1) / kUnit) + 1;
   RtxMemElem* next = nextElem(elem);
   const bool nextFree = (next->flags & RTX_ME_FREE) != 0;
   if (units == have) return elem + 1;
   if (units < have) {
      unsigned rest = have - units;
      if (!nextFree && rest < 2) return elem + 1;
      clearFreed(heapOf(handle), unitAt(blk, index + units), rest * kUnit);
      if (nextFree) {
         rest += next->nunits; // the next element begins earlier; its link stays
      } else {
         insertFree(blk, index + have - 1);
      }
      *elemAt(blk, index + units) = {u16(rest), u16(units), 0, RTX_ME_FREE, 0};
      elemAt(blk, index + units + rest)->prevOff = u16(rest);
      elem->nunits = u16(units);
      if (blk->maxFreeElem < rest) blk->maxFreeElem = u16(rest);
      raiseElsewhere(heapOf(handle), rest);
      return elem + 1;
   }
   blk->maxFreeElem = kUnknown;
   if (nextFree && have + next->nunits >= units) {
      const unsigned both = have + next->nunits;
      const unsigned rest = both - units;
      if (rest >= 2) {
         *elemAt(blk, index + units) = {u16(rest), u16(units), 0, RTX_ME_FREE, 0};
         elemAt(blk, index + both)->prevOff = u16(rest);
         elem->nunits = u16(units);
      } else {
         unlinkFree(blk, index + both - 1);
         elem->nunits = u16(both);
         elemAt(blk, index + both)->prevOff = u16(both);
      }
      return elem + 1;
   }
   return reallocByCopy(handle, elem, nbytes);
}

/** Checks that the flags of the heap ask for before a pointer is freed. */
[[gnu::noinline]] void checkFree(void* handle, const RtxMemHeap* heap, const void* ptr) {
   if (isStatic(heap)) return;
   if ((heap->flags & RTX_MH_CHECK_HEAP) != 0) rtxMemHeapCheck(handle, "rtxMemHeapFree", 295);
   if ((heap->flags & RTX_MH_CHECK_PTR) != 0 && rtxMemHeapCheckPtr(handle, ptr) == 0)
      rtxMemHeapInvalidPtrHook(handle, ptr);
}

/** Gives up a reference to an allocation; the references left, or RTX_E_NOMEM for an unknown pointer. */
inline int unref(void* handle, RtxMemHeap* heap, void* ptr) {
   if ((heap->flags & (RTX_MH_CHECK_HEAP | RTX_MH_CHECK_PTR)) != 0) [[unlikely]]
      checkFree(handle, heap, ptr);
   if (!knownPtr(heap, ptr)) return RTX_E_NOMEM;
   RtxMemElem* elem = elemOfData(ptr);
   if (elem->refCnt == 0 || (elem->flags & RTX_ME_FREE) != 0) return 0;
   if (elem->refCnt > 1) return --elem->refCnt;
   elem->refCnt = 0;
   if ((elem->flags & RTX_ME_RAW) != 0)
      releaseRaw(heap, rawOf(elem));
   else
      freeElem(heap, elem);
   return 0;
}

int createHeap(void* handle, RtxMallocFunc mallocFn, RtxReallocFunc reallocFn, RtxFreeFunc freeFn,
               uint32_t flags) {
   if (handle == nullptr) return RTX_E_BAD_ARGUMENT;
   const size_t size = sizeof(RtxMemHeap) + firstNodesSize();
   auto* heap = static_cast<RtxMemHeap*>(systemAlloc(mallocFn, freeFn, size));
   if (heap == nullptr) return RTX_E_NOMEM;
   std::memset(heap, 0, size);
   addFirstNodes(heap);
   heap->defBlkSize = g_defBlkSize != 0 ? g_defBlkSize : 4096;
   heap->refCount = 1;
   heap->flags = RTX_MH_OWN_RECORD | flags;
   heap->mallocFn = mallocFn;
   heap->reallocFn = reallocFn;
   heap->freeFn = freeFn;
   heap->recordFreeFn = freeFn;
   if ((flags & RTX_MH_STATIC) == 0) heap->rawNext = heap->rawPrev = heap;
   *static_cast<RtxMemHeap**>(handle) = heap;
   return RTX_OK;
}

void makeStatic(RtxMemHeap* heap, void* buffer, size_t size) {
   heap->staticBase = buffer;
   heap->staticSize = size;
   heap->staticUsed = 0;
}

} // namespace

void releaseRaw(RtxMemHeap* heap, RtxRawMemBlk* raw) {
   auto* member = reinterpret_cast<RawRing*>(raw);
   member->prev->next = member->next;
   member->next->prev = member->prev;
   if ((heap->flags & RTX_MH_ZERO_ON_FREE) != 0) _rtxMemHeapZeroRawBlk(raw);
   heap->freeFn(raw);
}

void releaseBlk(RtxMemHeap* heap, RtxMemBlk* blk) {
   if (blk->next == blk) {
      heap->curBlock = nullptr;
      // Raw blocks that live on must stay inside the range, or nobody could free them.
      if (heap->rawNext == heap) heap->minAddr = heap->maxAddr = nullptr;
   } else {
      blk->prev->next = blk->next;
      blk->next->prev = blk->prev;
      if (heap->curBlock == blk) heap->curBlock = blk->next;
   }
   if ((heap->flags & RTX_MH_ZERO_ON_FREE) != 0) _rtxMemHeapZeroMemBlk(blk);
   heap->freeFn(blk);
}

void freeElem(RtxMemHeap* heap, RtxMemElem* elem) {
   RtxMemBlk* blk = blockOf(elem);
   const size_t index = elem->beginOff;
   size_t size = elem->nunits;
   RtxMemElem* next = nextElem(elem);
   const bool nextFree = (next->flags & RTX_ME_FREE) != 0;
   RtxMemElem* prev = elem - elem->prevOff;
   const bool prevFree = (prev->flags & RTX_ME_FREE) != 0;

   if ((elem->flags & RTX_ME_SAVED) != 0) --blk->nsaved;
   if ((heap->flags & RTX_MH_ZERO_ON_FREE) != 0) _rtxMemHeapZeroElem(elem); // before its end gets a link
   elem->flags = RTX_ME_FREE;
   elem->refCnt = 0;

   const size_t oldLink = index - 1; // of the previous element, if that is free
   const size_t newLink = index + size - 1;
   if (prevFree && nextFree) {
      unlinkFree(blk, oldLink);
   } else if (prevFree) { // the link moves to the new end
      const RtxMemLink link = *linkAt(blk, oldLink);
      *linkAt(blk, newLink) = {0, link.nextFree, link.prevFree};
      linkAt(blk, link.prevFree)->nextFree = u16(newLink);
      linkAt(blk, link.nextFree)->prevFree = u16(newLink);
      if (blk->freeHead == oldLink) blk->freeHead = u16(newLink);
   } else if (!nextFree) {
      insertFree(blk, newLink);
   }
   if (nextFree) size += next->nunits;
   if (prevFree) {
      size += prev->nunits;
      elem = prev;
   }
   elem->nunits = u16(size);
   nextElem(elem)->prevOff = u16(size);
   if (blk->maxFreeElem < size) blk->maxFreeElem = u16(size);
   raiseElsewhere(heap, size);
   if (size == blk->nunits - 2u && (heap->flags & RTX_MH_FREE_EMPTY_BLOCK) != 0) releaseBlk(heap, blk);
}

} // namespace quorva::heap

using namespace quorva::heap;

uint32_t rtxMemHeapGetDefBlkSize(void* handle) {
   const RtxMemHeap* heap = heapOf(handle);
   return heap != nullptr ? heap->defBlkSize : rtxMemGetDefBlkSize();
}

int rtxMemHeapCreate(void* handle) {
   const int status = createHeap(handle, g_malloc_func, g_realloc_func, g_free_func, 0);
   if (status == RTX_OK) heapOf(handle)->code = static_cast<uint32_t>(std::rand());
   return status;
}

int rtxMemHeapCreateExt(void* handle, RtxMallocFunc mallocFn, RtxReallocFunc reallocFn, RtxFreeFunc freeFn) {
   if ((mallocFn == nullptr) != (freeFn == nullptr)) return RTX_E_BAD_ARGUMENT;
   if (mallocFn == nullptr) return createHeap(handle, g_malloc_func, g_realloc_func, g_free_func, 0);
   return createHeap(handle, mallocFn, reallocFn, freeFn, 0);
}

int rtxMemStaticHeapCreate(void* handle, void* buffer, size_t size) {
   if (buffer == nullptr && size != 0) return RTX_E_BAD_ARGUMENT;
   const int status = createHeap(handle, g_malloc_func, g_realloc_func, g_free_func, RTX_MH_STATIC);
   if (status == RTX_OK) makeStatic(heapOf(handle), buffer, size);
   return status;
}

int rtxMemHeapConvertStatic(void* handle, void* buffer, size_t size) {
   RtxMemHeap* heap = heapOf(handle);
   if (heap == nullptr || heap->refCount > 1 || (buffer == nullptr && size != 0)) return RTX_E_BAD_ARGUMENT;
   rtxMemHeapFreeAll(handle);
   heap->mallocFn = g_malloc_func;
   heap->reallocFn = g_realloc_func;
   heap->freeFn = g_free_func;
   heap->refCount = 1;
   heap->flags |= RTX_MH_STATIC;
   makeStatic(heap, buffer, size);
   return RTX_OK;
}

void rtxMemHeapSetFlags(void* handle, uint32_t flags) {
   if (RtxMemHeap* heap = heapOf(handle)) heap->flags |= flags & ~RTX_MH_STATIC;
}

void rtxMemHeapClearFlags(void* handle, uint32_t flags) {
   if (RtxMemHeap* heap = heapOf(handle)) heap->flags &= ~flags | RTX_MH_STATIC;
}

void rtxMemHeapSetProperty(void* handle, uint32_t property, const uint32_t* value) {
   RtxMemHeap* heap = heapOf(handle);
   if (heap == nullptr || value == nullptr) return;
   switch (property) {
   case RTX_MHP_DEF_BLK_SIZE:
      if (*value != 0) heap->defBlkSize = *value;
      break;
   case RTX_MHP_SET_FLAGS: rtxMemHeapSetFlags(handle, *value); break;
   case RTX_MHP_CLEAR_FLAGS: rtxMemHeapClearFlags(handle, *value); break;
   case RTX_MHP_VALUE: heap->propertyValue = *value; break;
   default: break;
   }
}

void* rtxMemHeapAlloc(void* handle, size_t nbytes) {
   return alloc(handle, nbytes);
}

void* rtxMemHeapAllocZ(void* handle, size_t nbytes) {
   void* ptr = alloc(handle, nbytes);
   if (ptr != nullptr) std::memset(ptr, 0, nbytes);
   return ptr;
}

void* rtxMemHeapRealloc(void* handle, void* ptr, size_t nbytes) {
   RtxMemHeap* heap = heapOf(handle);
   if (heap == nullptr) return nullptr;
   if (ptr == nullptr) return alloc(handle, nbytes);
   if (nbytes == 0) {
      rtxMemHeapFreePtr(handle, ptr);
      return nullptr;
   }
   if (isStatic(heap)) return nullptr;
   if ((heap->flags & RTX_MH_CHECK_HEAP) != 0) rtxMemHeapCheck(handle, "rtxMemHeapRealloc", 126);
   if (!knownPtr(heap, ptr) ||
       ((heap->flags & RTX_MH_CHECK_PTR) != 0 && rtxMemHeapCheckPtr(handle, ptr) == 0)) [[unlikely]] {
      rtxMemHeapInvalidPtrHook(handle, ptr);
      return nullptr;
   }
   RtxMemElem* elem = elemOfData(ptr);
   if (elem->refCnt == 0 || (elem->flags & RTX_ME_FREE) != 0) return nullptr;
   if (elem->refCnt > 1) return reallocByCopy(handle, elem, nbytes);
   if ((elem->flags & RTX_ME_RAW) != 0) return reallocRaw(handle, elem, nbytes);
   if (nbytes >= 524272) return reallocByCopy(handle, elem, nbytes);
   return reallocElem(handle, elem, nbytes);
}

void* rtxMemHeapReallocStatic(void* handle, void* ptr, size_t oldSize, size_t newSize) {
   RtxMemHeap* heap = heapOf(handle);
   if (ptr == nullptr) return alloc(handle, newSize);
   if (heap == nullptr || !isStatic(heap)) return nullptr;
   const size_t used = heap->staticUsed;
   if (oldSize > used || newSize == oldSize) return nullptr;
   if (ptr != static_cast<uint8_t*>(heap->staticBase) + (used - oldSize)) return nullptr;
   if (newSize > oldSize && newSize - oldSize > heap->staticSize - used) return nullptr;
   heap->staticUsed = used - oldSize + newSize;
   if (newSize < oldSize) clearFreed(heap, static_cast<uint8_t*>(ptr) + newSize, oldSize - newSize);
   return ptr;
}

void rtxMemHeapFreePtr(void* handle, void* ptr) {
   RtxMemHeap* heap = heapOf(handle);
   if (heap != nullptr && !isStatic(heap) && ptr != nullptr) unref(handle, heap, ptr);
}

void* rtxMemHeapAutoPtrRef(void* handle, void* ptr) {
   RtxMemHeap* heap = heapOf(handle);
   if (heap == nullptr || ptr == nullptr || !knownPtr(heap, ptr)) return nullptr;
   RtxMemElem* elem = elemOfData(ptr);
   if (elem->refCnt == 0 || elem->refCnt == 255 || (elem->flags & RTX_ME_FREE) != 0) return nullptr;
   ++elem->refCnt;
   return ptr;
}

int rtxMemHeapAutoPtrUnref(void* handle, void* ptr) {
   RtxMemHeap* heap = heapOf(handle);
   return heap == nullptr || ptr == nullptr ? RTX_E_NULL : unref(handle, heap, ptr);
}

int rtxMemHeapAutoPtrGetRefCount(void* handle, void* ptr) {
   const RtxMemHeap* heap = heapOf(handle);
   if (heap == nullptr || ptr == nullptr) return RTX_E_NULL;
   return knownPtr(heap, ptr) ? elemOfData(ptr)->refCnt : RTX_E_NOMEM;
}

void _rtxMemHeapFreeElem(void* handle, RtxMemElem* elem) {
   freeElem(heapOf(handle), elem);
}

void* rtxMemHeapSysAlloc(void* handle, size_t nbytes) {
   if (handle == nullptr) return nullptr;
   if (heapOf(handle) == nullptr && rtxMemHeapCreate(handle) != RTX_OK) return nullptr;
   return heapOf(handle)->mallocFn(nbytes);
}

void* rtxMemHeapSysAllocZ(void* handle, size_t nbytes) {
   void* ptr = rtxMemHeapSysAlloc(handle, nbytes);
   if (ptr != nullptr) std::memset(ptr, 0, nbytes);
   return ptr;
}

void* rtxMemHeapSysRealloc(void* handle, void* ptr, size_t nbytes) {
   if (handle == nullptr) return nullptr;
   if (ptr == nullptr) return rtxMemHeapSysAlloc(handle, nbytes);
   if (heapOf(handle) == nullptr && rtxMemHeapCreate(handle) != RTX_OK) return nullptr;
   const RtxMemHeap* heap = heapOf(handle);
   return heap->reallocFn != nullptr ? heap->reallocFn(ptr, nbytes) : nullptr;
}

void rtxMemHeapSysFreePtr(void* handle, void* ptr) {
   if (handle == nullptr || ptr == nullptr) return;
   const RtxMemHeap* heap = heapOf(handle);
   (heap != nullptr ? heap->freeFn : g_free_func)(ptr);
}
