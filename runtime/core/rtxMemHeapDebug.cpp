/** Heap: navigation, guard and pointer tests, the checker, the printers. */
#include "quorva/rtxError.h"
#include "quorva/rtxPrintToStream.h"
#include "runtime/core/rtxMemHeapBlocks.h"

#include <algorithm>
#include <functional>

namespace quorva::heap {
namespace {

unsigned uns(size_t value) {
   return static_cast<unsigned>(value);
}

void printRaw(const RtxRawMemBlk* raw) {
   if (raw == nullptr) {
      rtxPrintToStream(nullptr, "pRawBlk Raw mem block = NULL\n");
      return;
   }
   rtxPrintToStream(nullptr, "pRawBlk Raw mem block, ptr = %p, size = %u, refCnt = %u %s\n",
                    static_cast<const void*>(raw), uns(raw->size), uns(raw->refCnt),
                    (raw->flags & RTX_ME_SAVED) != 0 ? ", saved" : "");
}

void printBlk(const RtxMemBlk* blk) {
   if (blk == nullptr) {
      rtxPrintToStream(nullptr, "pMemBlk pMemBlk = NULL\n");
      return;
   }
   rtxPrintToStream(nullptr, "pMemBlk Mem block, ptr = %p, size = %u, nsaved = %u, maxFreeElem = ",
                    static_cast<const void*>(blk), uns(blkSize(blk)), uns(blk->nsaved));
   if (blk->maxFreeElem == kUnknown)
      rtxPrintToStream(nullptr, "?\n");
   else
      rtxPrintToStream(nullptr, "%u\n", blk->maxFreeElem == 0 ? 0u : uns((blk->maxFreeElem - 1u) * kUnit));
}

void printElem(const RtxMemBlk* blk, const RtxMemElem* elem) {
   static const char name[] = "  pElem";
   if (elem == nullptr) {
      rtxPrintToStream(nullptr, "pMemBlk = %p: %s = NULL\n", static_cast<const void*>(blk), name);
      return;
   }
   const int size = elem->nunits == 0 ? 0 : static_cast<int>((elem->nunits - 1u) * kUnit);
   if ((elem->flags & RTX_ME_FREE) != 0)
      rtxPrintToStream(nullptr, "%s = %p, data = %p, size = %i free\n", name, static_cast<const void*>(elem),
                       static_cast<const void*>(elem + 1), size);
   else
      rtxPrintToStream(nullptr, "%s = %p, data = %p, size = %i, refCnt = %u%s\n", name,
                       static_cast<const void*>(elem), static_cast<const void*>(elem + 1), size,
                       uns(elem->refCnt), (elem->flags & RTX_ME_SAVED) != 0 ? ", saved" : "");
}

/** Lists the ring from the sentinel round, which shows as "(code)". */
void printFreeList(RtxMemBlk* blk) {
   rtxPrintToStream(nullptr, "pMemBlk Mem block free elem list, ptr = %p; %s\n", static_cast<void*>(blk),
                    blk->sentinel.nextFree == 0 ? "empty" : "");
   size_t index = 0;
   do {
      const RtxMemLink* link = linkAt(blk, index);
      if (index == 0)
         rtxPrintToStream(nullptr, "ptr = (code), ");
      else
         rtxPrintToStream(nullptr, "ptr = %p, ", static_cast<const void*>(link));
      if (link->prevFree == 0)
         rtxPrintToStream(nullptr, "prevFree = (code)\n");
      else
         rtxPrintToStream(nullptr, "prevFree = %p\n", static_cast<void*>(linkAt(blk, link->prevFree)));
      index = link->nextFree;
   } while (index != 0);
   rtxPrintToStream(nullptr, "<end free list>\n\n");
}

/** Reports of one run of the checker. None of them returns. */
class Checker {
public:
   Checker(RtxMemHeap* heap, const char* file, int line) : heap_(heap), file_(file), line_(line) {}

   void run() {
      checkRawRing();
      auto* const first = static_cast<RtxMemBlk*>(heap_->curBlock);
      if (first == nullptr) return;
      RtxMemBlk* blk = first;
      do {
         checkBlk(blk);
         blk = blk->next;
      } while (blk != first);
   }

private:
   void head(int number, const char* text) {
      rtxPrintToStream(nullptr, "Memory report at %s, line %i\n", file_ != nullptr ? file_ : "", line_);
      rtxPrintToStream(nullptr, "Error %d: %s.\n", number, text);
   }

   [[noreturn]] void end() {
      rtxPrintToStream(nullptr, "\n");
      rtxErrAssertionFailed("memory heap broken", 0, "rtxMemHeapDebug");
   }

   [[noreturn]] void fault(int number, const char* text, const RtxRawMemBlk* raw) {
      head(number, text);
      printRaw(raw);
      end();
   }

   [[noreturn]] void fault(int number, const char* text, const RtxMemBlk* blk) {
      head(number, text);
      printBlk(blk);
      end();
   }

   [[noreturn]] void fault(int number, const char* text, const RtxMemBlk* blk, const RtxMemElem* elem) {
      head(number, text);
      printBlk(blk);
      printElem(blk, elem);
      end();
   }

   void checkRawRing() {
      RawRing* const heapEnd = rawRing(heap_);
      RawRing* member = heapEnd;
      do {
         RawRing* next = member->next;
         const RtxRawMemBlk* raw = member == heapEnd ? nullptr : rawBlk(member);
         if (next == nullptr || (next == member && raw != nullptr) || next->prev != member)
            fault(1, "invalid MemLink", raw);
         if (raw != nullptr) {
            if ((raw->flags & RTX_ME_RAW) == 0) fault(2, "absent raw block type flag", raw);
            if (raw->code != heap_->code) fault(3, "invalid code guard value", raw);
         }
         member = next;
      } while (member != heapEnd);
   }

   void checkBlk(RtxMemBlk* blk) {
      if (blk->next == nullptr || blk->next->prev != blk) fault(4, "invalid MemLink", blk);
      if (blk->sentinel.code != heap_->code) fault(5, "invalid code guard value", blk);
      if (blk->nunits < 3) fault(6, "invalid mem block size", blk);
      if (blk->start.nunits != 0 || (blk->start.flags & RTX_ME_FREE) != 0)
         fault(7, "invalid start border elem", blk, &blk->start);
      RtxMemElem* border = elemAt(blk, blk->nunits);
      if ((border->flags & RTX_ME_FREE) != 0) fault(8, "invalid end border elem", blk, border);
      checkElems(blk);
      checkFreeRing(blk);
   }

   void checkElems(RtxMemBlk* blk) {
      unsigned saved = 0;
      largest_ = 0;
      nfree_ = 0;
      for (size_t index = kFirst; index < blk->nunits;) {
         const RtxMemElem* elem = elemAt(blk, index);
         const bool isFree = (elem->flags & RTX_ME_FREE) != 0;
         if ((elem->flags & RTX_ME_RAW) != 0) fault(9, "raw flag on", blk, elem);
         if (elem->nunits < 2) fault(10, "invalid mem elem size", blk, elem);
         const size_t next = index + elem->nunits;
         if (next > blk->nunits || elemAt(blk, next)->prevOff != elem->nunits)
            fault(11, "pElem->nunits != pNextElem->prevOff", blk, elem);
         if (isFree && (elemAt(blk, next)->flags & RTX_ME_FREE) != 0)
            fault(12, "free elems is not joined", blk, elem);
         if (!isFree && elem->beginOff != index) fault(13, "invalid beginOff field", blk, elem);
         if ((elem->flags & RTX_ME_SAVED) != 0) ++saved;
         if (isFree) {
            ++nfree_;
            largest_ = std::max<unsigned>(largest_, elem->nunits);
         }
         index = next;
      }
      if (saved != blk->nsaved) fault(14, "invalid nsaved field", blk);
      if (blk->maxFreeElem != kUnknown && blk->maxFreeElem < largest_)
         fault(15, "invalid maxFreeElem field", blk);
   }

   /** Walks the ring once round from where searches begin; each link but the sentinel is a free element. */
   void checkFreeRing(RtxMemBlk* blk) {
      size_t count = 0;
      size_t index = blk->freeHead;
      do {
         if (index >= blk->nunits) fault(15, "invalid free element", blk, nullptr);
         if (index != 0) {
            const size_t size = freeSize(blk, index);
            // reports give it the number of the bound above
            if (size == 0 || size > index - 1) fault(15, "invalid free element", blk, nullptr);
            const RtxMemElem* elem = elemAt(blk, index + 1 - size);
            if (++count > nfree_) fault(16, "broken free list", blk, elem);
            if ((elem->flags & RTX_ME_FREE) == 0) fault(17, "free list contains allocated elem", blk, elem);
         }
         const size_t next = linkAt(blk, index)->nextFree;
         if (next >= blk->nunits || linkAt(blk, next)->prevFree != index)
            fault(18, "invalid prevFree/nextFree", blk,
                  index == 0 ? nullptr : elemAt(blk, index + 1 - freeSize(blk, index)));
         index = next;
      } while (index != blk->freeHead);
      if (count != nfree_) fault(19, "free list contains not all free elems", blk);
   }

   RtxMemHeap* heap_;
   const char* file_;
   int line_;
   unsigned largest_ = 0; ///< Largest free element of the block at hand.
   size_t nfree_ = 0;     ///< Its free elements.
};

} // namespace
} // namespace quorva::heap

using namespace quorva::heap;

void rtxMemHeapCheck(void* handle, const char* file, int line) {
   RtxMemHeap* heap = heapOf(handle);
   if (heap != nullptr && !isStatic(heap)) Checker(heap, file, line).run();
}

void _rtxMemHeapPrintDetail(void* handle, int withFree) {
   RtxMemHeap* heap = heapOf(handle);
   if (heap == nullptr || isStatic(heap)) return;
   for (RawRing* raw = rawRing(heap)->next; raw != rawRing(heap); raw = raw->next) printRaw(rawBlk(raw));
   auto* const first = static_cast<RtxMemBlk*>(heap->curBlock);
   RtxMemBlk* blk = first;
   if (blk == nullptr) {
      printBlk(nullptr);
      return;
   }
   do {
      printBlk(blk);
      const RtxMemElem* end = elemAt(blk, blk->nunits);
      for (RtxMemElem* elem = elemAt(blk, kFirst); elem < end; elem = nextElem(elem)) printElem(blk, elem);
      if (withFree != 0) printFreeList(blk);
      blk = blk->next;
   } while (blk != first);
}

void rtxMemHeapPrint(void* handle) {
   _rtxMemHeapPrintDetail(handle, 0);
}

void rtxMemHeapPrintWithFree(void* handle) {
   _rtxMemHeapPrintDetail(handle, 1);
}

RtxMemElem* rtxMemHeapGetFreeElem(RtxMemLink* link) {
   auto* behind = reinterpret_cast<RtxMemElem*>(link + 1);
   return behind->prevOff == 0 ? nullptr : behind - behind->prevOff;
}

RtxMemLink* rtxMemHeapGetFreeLink(RtxMemElem* elem) {
   return linkOf(elem);
}

RtxMemBlk* rtxMemHeapGetMemBlk(RtxMemElem* elem) {
   return blockOf(elem);
}

RtxRawMemBlk* rtxMemHeapGetRawMemBlk(RtxMemElem* elem) {
   return rawOf(elem);
}

RtxMemElem* rtxMemHeapGetNextElem(RtxMemElem* elem) {
   return nextElem(elem);
}

RtxMemElem* rtxMemHeapGetPrevElem(RtxMemElem* elem) {
   return elem - elem->prevOff;
}

RtxMemLink* rtxMemHeapGetNextFree(RtxMemBlk* blk, RtxMemLink* link) {
   return linkAt(blk, link->nextFree);
}

RtxMemLink* rtxMemHeapGetPrevFree(RtxMemBlk* blk, RtxMemLink* link) {
   return linkAt(blk, link->prevFree);
}

void _rtxMemHeapZeroElem(RtxMemElem* elem) {
   std::memset(static_cast<void*>(elem + 1), 0, (elem->nunits - 1u) * kUnit);
}

void _rtxMemHeapZeroMemBlk(RtxMemBlk* blk) {
   std::memset(static_cast<void*>(blk), 0, blkSize(blk));
}

void _rtxMemHeapZeroRawBlk(RtxRawMemBlk* raw) {
   std::memset(static_cast<void*>(raw), 0, raw->size + sizeof *raw);
}

int rtxMemInvalidPtr(const RtxMemHeap* heap, const void* ptr) {
   return outOfRange(heap, ptr);
}

int rtxMemHeapCheckCode(const RtxMemHeap* heap, const void* elem) {
   return codeMatches(heap, elem);
}

int rtxMemHeapCheckPtr(void* handle, const void* ptr) {
   RtxMemHeap* heap = heapOf(handle);
   if (heap == nullptr || ptr == nullptr || isStatic(heap)) return 0;
   for (RawRing* raw = rawRing(heap)->next; raw != rawRing(heap); raw = raw->next)
      if (rawBlk(raw) + 1 == ptr) return 1;
   auto* const first = static_cast<RtxMemBlk*>(heap->curBlock);
   RtxMemBlk* blk = first;
   if (blk == nullptr) return 0;
   do {
      const RtxMemElem* end = elemAt(blk, blk->nunits);
      if (!std::less<>()(ptr, static_cast<const void*>(blk)) &&
          std::less<>()(ptr, static_cast<const void*>(end))) {
         for (RtxMemElem* elem = elemAt(blk, kFirst); elem < end; elem = nextElem(elem))
            if (elem + 1 == ptr) return (elem->flags & RTX_ME_FREE) == 0;
         return 0;
      }
      blk = blk->next;
   } while (blk != first);
   return 0;
}

void rtxMemHeapInvalidPtrHook(void* /*handle*/, const void* /*ptr*/) {
   rtxErrAssertionFailed("mem pointer valid", 0, "rtxMemHeapInvalidPtrHook");
}

int rtxMemIsZero(const void* data, size_t nbytes) {
   const auto* octets = static_cast<const uint8_t*>(data);
   return std::all_of(octets, octets + nbytes, [](uint8_t octet) { return octet == 0; });
}

void rtxMemSetDebugPrintStream(RtxPrintStream* /*stream*/) {}
