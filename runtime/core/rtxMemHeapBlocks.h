/**
 * @file rtxMemHeapBlocks.h
 * Addresses inside heap blocks, and the steps that the heap's source files share.
 */
#ifndef QUORVA_RUNTIME_CORE_RTXMEMHEAPBLOCKS_H
#define QUORVA_RUNTIME_CORE_RTXMEMHEAPBLOCKS_H

#include "quorva/rtxMemHeapLayout.h"

#include <cstring>
#include <functional>

namespace quorva::heap {

constexpr size_t kUnit = 8;
constexpr size_t kSentinelAt = 24;     ///< Octets of a block in front of index 0.
constexpr size_t kBlkOverhead = 32;    ///< A block has size / 8 - 4 units.
constexpr size_t kMaxBlkSize = 524312; ///< Its end border has index 65535.
constexpr unsigned kMaxUnits = 65533;  ///< Largest element.
constexpr size_t kMaxElemData = (kMaxUnits - 1) * kUnit;
constexpr uint16_t kUnknown = 65535; ///< `maxFreeElem` that promises nothing.
constexpr unsigned kFirst = 2;       ///< Index of the first element.

static_assert(sizeof(RtxMemElem) == kUnit && sizeof(RtxMemLink) == kUnit);
static_assert(offsetof(RtxMemBlk, sentinel) == kSentinelAt && sizeof(RtxMemBlk) == 40);
static_assert(sizeof(RtxRawMemBlk) == 32 && offsetof(RtxRawMemBlk, code) == 24);

inline RtxMemHeap* heapOf(void* handle) {
   return handle == nullptr ? nullptr : *static_cast<RtxMemHeap**>(handle);
}

inline uint8_t* unitAt(RtxMemBlk* blk, size_t index) {
   return reinterpret_cast<uint8_t*>(blk) + kSentinelAt + index * kUnit;
}

inline RtxMemLink* linkAt(RtxMemBlk* blk, size_t index) {
   return reinterpret_cast<RtxMemLink*>(unitAt(blk, index));
}

inline RtxMemElem* elemAt(RtxMemBlk* blk, size_t index) {
   return reinterpret_cast<RtxMemElem*>(unitAt(blk, index));
}

inline RtxMemElem* elemOfData(void* ptr) {
   return static_cast<RtxMemElem*>(ptr) - 1;
}

inline const RtxMemElem* elemOfData(const void* ptr) {
   return static_cast<const RtxMemElem*>(ptr) - 1;
}

inline RtxMemElem* nextElem(RtxMemElem* elem) {
   return elem + elem->nunits;
}

inline RtxMemBlk* blockOf(RtxMemElem* elem) {
   return reinterpret_cast<RtxMemBlk*>(reinterpret_cast<uint8_t*>(elem) - elem->beginOff * kUnit -
                                       kSentinelAt);
}

inline RtxRawMemBlk* rawOf(RtxMemElem* elem) {
   return reinterpret_cast<RtxRawMemBlk*>(reinterpret_cast<uint8_t*>(elem) - kSentinelAt);
}

/** Units of the free element that ends at index `link`; 0 for the sentinel. */
inline unsigned freeSize(RtxMemBlk* blk, size_t link) {
   return elemAt(blk, link + 1)->prevOff;
}

inline size_t blkSize(const RtxMemBlk* blk) {
   return blk->nunits * kUnit + kBlkOverhead;
}

inline bool wholeBlkFree(RtxMemBlk* blk) {
   const RtxMemElem* first = elemAt(blk, kFirst);
   return (first->flags & RTX_ME_FREE) != 0 && first->nunits == blk->nunits - 2u;
}

inline uint16_t u16(size_t value) {
   return static_cast<uint16_t>(value);
}

/** Notes a free element of a block that may not be the current one. */
inline void raiseElsewhere(RtxMemHeap* heap, size_t units) {
   if (heap->maxElsewhere < units) heap->maxElsewhere = static_cast<uint32_t>(units);
}

/** Takes a link out of the free ring. */
inline void unlinkFree(RtxMemBlk* blk, size_t index) {
   const RtxMemLink link = *linkAt(blk, index);
   linkAt(blk, link.prevFree)->nextFree = link.nextFree;
   linkAt(blk, link.nextFree)->prevFree = link.prevFree;
   if (blk->freeHead == index) blk->freeHead = link.nextFree;
}

/** Puts a link behind the one at which searches begin. */
inline void insertFree(RtxMemBlk* blk, size_t index) {
   RtxMemLink* head = linkAt(blk, blk->freeHead);
   RtxMemLink* link = linkAt(blk, index);
   link->nextFree = head->nextFree;
   link->prevFree = blk->freeHead;
   linkAt(blk, head->nextFree)->prevFree = u16(index);
   head->nextFree = u16(index);
}

/** A member of the ring of raw blocks: one of them, or the heap record, which heads the ring. */
struct [[gnu::may_alias]] RawRing {
   RawRing* next;
   RawRing* prev;
};

inline RawRing* rawRing(RtxMemHeap* heap) {
   return reinterpret_cast<RawRing*>(heap);
}

inline RtxRawMemBlk* rawBlk(RawRing* member) {
   return reinterpret_cast<RtxRawMemBlk*>(member);
}

inline bool isStatic(const RtxMemHeap* heap) {
   return (heap->flags & RTX_MH_STATIC) != 0;
}

/** Link of an element; null if its size is 0. */
inline RtxMemLink* linkOf(RtxMemElem* elem) {
   return elem->nunits == 0 ? nullptr : reinterpret_cast<RtxMemLink*>(elem + elem->nunits - 1);
}

/** Is the pointer outside all that the heap ever handed out? */
inline bool outOfRange(const RtxMemHeap* heap, const void* ptr) {
   return std::less<>()(ptr, static_cast<const void*>(heap->minAddr)) ||
          std::less<>()(static_cast<const void*>(heap->maxAddr), ptr);
}

inline bool aligned(const void* ptr) {
   return reinterpret_cast<uintptr_t>(ptr) % kUnit == 0;
}

/** Does the code guard of an element show that it is this heap's? */
inline bool codeMatches(const RtxMemHeap* heap, const void* elem) {
   // A header that no heap wrote must not lead the test itself out of the heap.
   const auto address = reinterpret_cast<uintptr_t>(elem);
   const auto lowest = reinterpret_cast<uintptr_t>(heap->minAddr) + kSentinelAt;
   if (lowest == kSentinelAt || address < lowest || !aligned(elem)) return false;
   const size_t back = static_cast<const RtxMemElem*>(elem)->beginOff * kUnit;
   if (address - lowest < back) return false;
   uint32_t code;
   std::memcpy(&code, static_cast<const uint8_t*>(elem) - back, sizeof code);
   return code == heap->code;
}

/** Could the pointer be one of this heap? */
inline bool knownPtr(const RtxMemHeap* heap, const void* ptr) {
   return !outOfRange(heap, ptr) && codeMatches(heap, elemOfData(ptr));
}

/** rtxMemHeapReset. With `allSpare` no name or container is open. */
void reset(RtxMemHeap* heap, bool allSpare);

/** System memory for the heap's own records, which need their alignment. */
void* systemAlloc(RtxMallocFunc mallocFn, RtxFreeFunc freeFn, size_t nbytes);

/** Octets of the first nodes of name and container stacks, which lie behind the record of a heap. */
size_t firstNodesSize();

/** Makes the memory behind the record its first nodes, all of them spare. */
void addFirstNodes(RtxMemHeap* heap);

/** Adds a piece of system memory to the spare nodes; false if there is none. */
bool addNodes(RtxMemHeap* heap);

/** Notes that everything on the heap has ended. Nodes that are in use stay what they are. */
void endAllocations(RtxMemHeap* heap);

/** Clears octets that go back, if the heap is to. */
inline void clearFreed(const RtxMemHeap* heap, void* octets, size_t count) {
   if ((heap->flags & RTX_MH_ZERO_ON_FREE) != 0) std::memset(octets, 0, count);
}

/** Frees an element and joins it to its free neighbours. */
void freeElem(RtxMemHeap* heap, RtxMemElem* elem);

/** Unlinks a raw block and gives it back to the system. */
void releaseRaw(RtxMemHeap* heap, RtxRawMemBlk* raw);

/** Takes a block out of the heap and gives it back to the system. */
void releaseBlk(RtxMemHeap* heap, RtxMemBlk* blk);

} // namespace quorva::heap

#endif
