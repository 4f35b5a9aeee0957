// Life of a context, its name and container stacks, its memory.
#include "quorva/rtxContext.h"

#include "quorva/rtxCharStr.h"
#include "quorva/rtxDList.h"
#include "quorva/rtxError.h"
#include "quorva/rtxMemBuf.h"
#include "quorva/rtxMemHeap.h"
#include "quorva/rtxPrintToStream.h"
#include "quorva/rtxSList.h"
#include "quorva/rtxStack.h"
#include "quorva/rtxStream.h"
#include "quorva/rtxUTF8.h"
#include "runtime/core/rtxInline.h"
#include "runtime/core/rtxMemHeapBlocks.h"

#include <cstdlib>
#include <cstring>

namespace {

using namespace quorva;

/** What every extension record begins with. */
struct ExtensionHeader {
   void (*freeFn)(RtxContext*);
};

/** State of the ASN.1 value run time. */
struct Asn1Info {
   void (*freeFn)(RtxContext*);
   void (*resetFn)(RtxContext*);
   RtxDList eventHandlers;
   RtxSList list;
};

void freeExtension(RtxContext* pctxt, void*& slot) {
   if (slot == nullptr) return;
   auto* header = static_cast<ExtensionHeader*>(slot);
   if (header->freeFn != nullptr) header->freeFn(pctxt);
   rtxMemHeapSysFreePtr(pctxt, slot);
   slot = nullptr;
}

/** Drops the buffer that the context owns, where it lives in system memory. */
void freeSystemBuffer(RtxContext* pctxt) {
   rtxMemHeapSysFreePtr(pctxt, pctxt->bufData);
   pctxt->bufData = nullptr;
   pctxt->flags &= ~RTX_CTXT_SYS_BUFFER;
}

/** Does a capture's record lie on the heap of the context? */
bool recordOnHeap(RtxContext* pctxt, const RtxMemBuf* capture) {
   const RtxMemHeap* heap = pctxt->memHeap;
   if (!heap::isStatic(heap)) return rtxMemHeapCheckPtr(pctxt, capture) != 0;
   const auto begin = reinterpret_cast<uintptr_t>(heap->staticBase);
   return reinterpret_cast<uintptr_t>(capture) - begin < heap->staticSize;
}

/** Empties the capture of the stream where its octets, or even its record, are about to end with the heap. */
void leaveCapture(RtxContext* pctxt) {
   RtxMemBuf* capture = pctxt->stream->capture;
   if (capture == nullptr || pctxt->memHeap == nullptr) return;
   if (recordOnHeap(pctxt, capture))
      pctxt->stream->capture = nullptr;
   else if (!capture->useSysMem && capture->pctxt != nullptr && capture->pctxt->memHeap == pctxt->memHeap)
      rtxMemBufFree(capture);
}

/** Drops what lives on the heap and is about to end, beside errors, names and containers. */
inline void leaveHeap(RtxContext* pctxt) {
   if (pctxt->stream != nullptr) [[unlikely]]
      leaveCapture(pctxt);
   pctxt->nasSec = nullptr;
   pctxt->bitFields = nullptr;
}

} // namespace

namespace quorva::hot {

/** Is there a heap, and something in its list of spare nodes? */
static bool haveSpare(RtxContext* pctxt, RtxDListNode* RtxMemHeap::*list) {
   if (pctxt->memHeap == nullptr && rtxMemHeapCreate(pctxt) != RTX_OK) return false;
   return pctxt->memHeap->*list != nullptr || heap::addNodes(pctxt->memHeap);
}

RtxDListNode* newNameNode(RtxContext* pctxt) {
   if (!haveSpare(pctxt, &RtxMemHeap::spareNames)) return nullptr;
   RtxDListNode* node = pctxt->memHeap->spareNames;
   pctxt->memHeap->spareNames = node->next;
   return node;
}

RtxDListNode* newContainerNode(RtxContext* pctxt) {
   if (!haveSpare(pctxt, &RtxMemHeap::spareContainers)) return nullptr;
   RtxDListNode* node = pctxt->memHeap->spareContainers;
   pctxt->memHeap->spareContainers = node->next;
   return node;
}

} // namespace quorva::hot

int rtxPreInitContext(RtxContext* pctxt) {
   std::memset(pctxt, 0, sizeof *pctxt);
   rtxStackInit(pctxt, &pctxt->containers);
   pctxt->magic = RTX_CTXT_MAGIC;
   pctxt->bufBitsLeft = 8;
   return RTX_OK;
}

int rtxInitContext(RtxContext* pctxt) {
   rtxErrInit();
   rtxPreInitContext(pctxt);
   return rtxMemHeapCreate(pctxt);
}

int rtxInitContextExt(RtxContext* pctxt, RtxMallocFunc mallocFn, RtxReallocFunc reallocFn,
                      RtxFreeFunc freeFn) {
   rtxErrInit();
   rtxPreInitContext(pctxt);
   return rtxMemHeapCreateExt(pctxt, mallocFn, reallocFn, freeFn);
}

int rtInitASN1Context(RtxContext* pctxt) {
   int status = rtxInitContext(pctxt);
   if (status < 0) return status;
   rtErrASN1Init();
   status = rtCtxtInitASN1Info(pctxt);
   if (status < 0) rtxFreeContext(pctxt);
   return status;
}

int rtInitContext(RtxContext* pctxt) {
   return rtInitASN1Context(pctxt);
}

RtxContext* rtNewContext() {
   auto* pctxt = static_cast<RtxContext*>(std::malloc(sizeof(RtxContext)));
   if (pctxt == nullptr) return nullptr;
   if (rtInitContext(pctxt) < 0) {
      std::free(pctxt);
      return nullptr;
   }
   pctxt->flags |= RTX_CTXT_ON_HEAP;
   return pctxt;
}

void rtFreeContext(RtxContext* pctxt) {
   if (rtxCheckContext(pctxt) != RTX_OK) return;
   const bool onHeap = (pctxt->flags & RTX_CTXT_ON_HEAP) != 0;
   rtxFreeContext(pctxt);
   if (onHeap) std::free(pctxt);
}

int rtInitSubContext(RtxContext* pctxt, RtxContext* parent) {
   rtxPreInitContext(pctxt);
   rtxCtxtSetMemHeap(pctxt, parent);
   pctxt->bufDynamic = 1;
   pctxt->bufInherited = parent->bufInherited;
   const int status = rtCtxtInitASN1Info(pctxt);
   if (status < 0) rtxFreeContext(pctxt);
   return status;
}

int rtxInitThreadContext(RtxContext* pctxt, const RtxContext* source) {
   // A heap that could not be made now is tried again by the first allocation.
   (void)rtxInitContext(pctxt);
   pctxt->threadShared = source->threadShared;
   return RTX_OK;
}

int rtxFreeContext(RtxContext* pctxt) {
   pctxt->flags |= RTX_CTXT_FREEING;
   rtxFreeRegexpCache(pctxt);
   rtxErrReset(pctxt);
   freeExtension(pctxt, pctxt->extension1);
   freeExtension(pctxt, pctxt->extension2);
   freeExtension(pctxt, pctxt->asn1Info);
   freeExtension(pctxt, pctxt->extension4);
   freeExtension(pctxt, pctxt->keptKeys);
   rtxStreamRelease(pctxt);
   rtxPrintStreamRelease(pctxt);
   if (pctxt->bufDynamic && pctxt->bufData != nullptr) {
      if (pctxt->flags & RTX_CTXT_SYS_BUFFER)
         freeSystemBuffer(pctxt);
      else if (!rtxMemHeapIsEmpty(pctxt))
         rtxMemHeapFreePtr(pctxt, pctxt->bufData);
      pctxt->bufData = nullptr;
   }
   // The last owner clears the pointer; the others keep it, and this context is not to use it again.
   rtxMemHeapRelease(pctxt);
   pctxt->memHeap = nullptr;
   if (pctxt->freeHook != nullptr) return pctxt->freeHook(pctxt);
   pctxt->magic = 0;
   return RTX_OK;
}

int rtxCheckContext(const RtxContext* pctxt) {
   return pctxt != nullptr && pctxt->magic == RTX_CTXT_MAGIC ? RTX_OK : RTX_E_NOT_INIT;
}

void rtxCopyContext(RtxContext* dest, const RtxContext* source) {
   dest->bufData = source->bufData;
   dest->bufByteIndex = source->bufByteIndex;
   dest->bufSize = source->bufSize;
   dest->bufBitsLeft = source->bufBitsLeft;
   dest->bufDynamic = source->bufDynamic;
   dest->bufInherited = source->bufInherited;
   dest->flags = (source->flags & ~RTX_CTXT_ON_HEAP) | (dest->flags & RTX_CTXT_ON_HEAP);
   dest->stream = source->stream;
}

void rtxCtxtSetMemHeap(RtxContext* pctxt, RtxContext* other) {
   if (pctxt == nullptr || other == nullptr || pctxt->memHeap == other->memHeap) return;
   if (pctxt->memHeap != nullptr) {
      // Records and nodes of the old heap must not come up for reuse on the new one.
      rtxErrReset(pctxt);
      if (pctxt->memHeap->refCount == 1) leaveHeap(pctxt);
      freeExtension(pctxt, pctxt->keptKeys); // the new heap's system functions may be others
      rtxMemHeapRelease(pctxt);
   }
   pctxt->memHeap = other->memHeap;
   if (pctxt->memHeap == nullptr) return;
   rtxMemHeapAddRef(pctxt);
   pctxt->heapEpoch = pctxt->memHeap->epoch;
}

void rtxCtxtSetFlag(RtxContext* pctxt, uint32_t mask) {
   pctxt->flags |= mask;
}

void rtxCtxtClearFlag(RtxContext* pctxt, uint32_t mask) {
   pctxt->flags &= ~mask;
}

void rtSetFastCopy(RtxContext* pctxt, int value) {
   pctxt->flags = value ? pctxt->flags | RTX_CTXT_FAST_COPY : pctxt->flags & ~RTX_CTXT_FAST_COPY;
}

int rtCtxtInitASN1Info(RtxContext* pctxt) {
   if (pctxt->asn1Info != nullptr) return RTX_OK;
   auto* info = static_cast<Asn1Info*>(rtxMemHeapSysAllocZ(pctxt, sizeof(Asn1Info)));
   if (info == nullptr) return recordNoMemory(pctxt);
   info->freeFn = rtCtxtFreeASN1Info;
   info->resetFn = rtCtxtResetASN1Info;
   rtxSListInitEx(pctxt, &info->list);
   pctxt->asn1Info = info;
   return RTX_OK;
}

void rtCtxtFreeASN1Info(RtxContext* pctxt) {
   if (pctxt->asn1Info != nullptr) rtxSListFree(&static_cast<Asn1Info*>(pctxt->asn1Info)->list);
}

void rtCtxtResetASN1Info(RtxContext* pctxt) {
   rtCtxtFreeASN1Info(pctxt);
}

int rtxGetLibVersion() {
   return 780;
}

const char* rtxGetLibInfo() {
   return "QUORVA, v.7.8.0, opt, compact.";
}

void rtxFreeRegexpCache(RtxContext* pctxt) {
   while (RtxDListNode* node = pctxt->regexpCache.head) {
      rtxDListRemove(&pctxt->regexpCache, node);
      rtxMemHeapSysFreePtr(pctxt, node);
   }
}

int rtxCtxtPushElemName(RtxContext* pctxt, const char* name) {
   return hot::pushElemName(pctxt, name);
}

const char* rtxCtxtPopElemName(RtxContext* pctxt) {
   return hot::popElemName(pctxt);
}

int rtxCtxtPushArrayElemName(RtxContext* pctxt, const char* name, size_t index) {
   char number[24];
   rtxSizeToCharStr(index, number, sizeof number, 0);
   char* text = rtxStrDynJoin(pctxt, name, "[", number, "]", nullptr);
   if (text == nullptr) return recordNoMemory(pctxt);
   if (hot::pushElemName(pctxt, text) < 0) {
      rtxMemHeapFreePtr(pctxt, text);
      return recordNoMemory(pctxt);
   }
   return RTX_OK;
}

int rtxCtxtPopArrayElemName(RtxContext* pctxt) {
   const bool any = pctxt->elemNames.tail != nullptr;
   const char* text = hot::popElemName(pctxt);
   if (any) rtxMemHeapFreePtr(pctxt, const_cast<char*>(text));
   return any;
}

int rtxCtxtPushElemNameCopy(RtxContext* pctxt, const char* name) {
   char* text = rtxUTF8Strdup(pctxt, name);
   if (text == nullptr && name != nullptr) return RTX_E_NOMEM;
   const int status = hot::appendName(pctxt, text);
   if (status < 0) rtxMemHeapFreePtr(pctxt, text);
   return status;
}

void rtxCtxtPopElemNameCopy(RtxContext* pctxt) {
   const char* text = hot::removeName(pctxt);
   if (text != nullptr) rtxMemHeapFreePtr(pctxt, const_cast<char*>(text));
}

int rtxCtxtPushTypeName(RtxContext* pctxt, const char* name) {
   return hot::pushTypeName(pctxt, name);
}

const char* rtxCtxtPopTypeName(RtxContext* pctxt) {
   return hot::popTypeName(pctxt);
}

int rtxCtxtPushContainerBytes(RtxContext* pctxt, size_t numocts) {
   return hot::pushContainerBytes(pctxt, numocts);
}

int rtxCtxtPushContainerBits(RtxContext* pctxt, size_t nbits) {
   return hot::pushContainerBits(pctxt, nbits);
}

void rtxCtxtPopContainer(RtxContext* pctxt) {
   hot::popContainer(pctxt);
}

void rtxCtxtPopAllContainers(RtxContext* pctxt) {
   RtxDList& list = pctxt->containers.dlist;
   if (pctxt->memHeap == nullptr) list = RtxDList{}; // the nodes went with it
   while (list.head != nullptr) hot::popContainer(pctxt);
}

int rtxCtxtContainerHasRemBits(const RtxContext* pctxt) {
   return hot::containerHasRemBits(pctxt);
}

int rtxCtxtContainerEnd(const RtxContext* pctxt) {
   return hot::containerEnd(pctxt);
}

int64_t rtxCtxtGetContainerRemBits(const RtxContext* pctxt) {
   return hot::containerRemBits(pctxt);
}

void* rtxMemAllocArray2(RtxContext* pctxt, size_t count, size_t elemSize, uint32_t options) {
   size_t total;
   // An element size of 0 counts as an overflow too: the product is below the count.
   if (__builtin_mul_overflow(count, elemSize, &total) || count > total) {
      recordFailure(pctxt, RTX_E_OVERFLOW);
      return nullptr;
   }
   void* memory;
   if (options & RTX_MEM_SYSTEM)
      memory = options & RTX_MEM_ZERO ? rtxMemHeapSysAllocZ(pctxt, total) : rtxMemHeapSysAlloc(pctxt, total);
   else
      memory = options & RTX_MEM_ZERO ? rtxMemHeapAllocZ(pctxt, total) : rtxMemHeapAlloc(pctxt, total);
   if (memory == nullptr) recordFailure(pctxt, RTX_E_NOMEM);
   return memory;
}

void rtxMemFree(RtxContext* pctxt) {
   if (pctxt->bufDynamic && pctxt->bufData != nullptr) {
      const bool system = (pctxt->flags & RTX_CTXT_SYS_BUFFER) != 0;
      // A stream that works on system memory of its own keeps it; a heap buffer goes with the heap anyway.
      const bool keep =
            system && pctxt->stream != nullptr && (pctxt->stream->flags & RTX_STREAM_CTXT_BUF) == 0;
      if (!keep) {
         if (system) freeSystemBuffer(pctxt);
         pctxt->bufData = nullptr;
         pctxt->bufSize = 0; // so that no access finds room in it
      }
   }
   rtxFreeRegexpCache(pctxt);
   rtxErrReset(pctxt); // containers too, whose nodes the heap keeps
   rtxStackInit(pctxt, &pctxt->containers);
   freeExtension(pctxt, pctxt->keptKeys);
   leaveHeap(pctxt);
   rtxMemHeapFreeAll(pctxt);
   if (pctxt->memHeap != nullptr) pctxt->heapEpoch = pctxt->memHeap->epoch;
}

void rtxMemReset(RtxContext* pctxt) {
   if (!hot::nothingOpen(pctxt)) [[unlikely]] {
      if (!hot::nothingRecorded(pctxt)) dropErrors(pctxt); // not one by one: the heap ends them
      rtxErrReset(pctxt);
   }
   leaveHeap(pctxt);
   if (RtxMemHeap* heap = pctxt->memHeap) {
      // What names and containers are in use now are those of other owners of the heap.
      heap::reset(heap, heap->refCount <= 1);
      pctxt->heapEpoch = heap->epoch;
   }
}

void rtxMemFreeOpenSeqExt(RtxContext* pctxt, RtxDList* elements) {
   if (!rtxMemHeapIsEmpty(pctxt)) {
      for (RtxDListNode *node = elements->head, *next; node != nullptr; node = next) {
         next = node->next;
         if (auto* element = static_cast<RtxDynOctStr*>(node->data)) {
            rtxMemHeapFreePtr(pctxt, const_cast<uint8_t*>(element->data));
            rtxMemHeapFreePtr(pctxt, element);
         }
         rtxMemHeapFreePtr(pctxt, node);
      }
   }
   *elements = RtxDList{};
}
