/**
 * @file rtxMemHeap.h
 * The heap that owns everything decoded. A heap handle is the address of a heap pointer; since the heap is
 * the first field of RtxContext, a context pointer is a handle.
 */
#ifndef QUORVA_RTXMEMHEAP_H
#define QUORVA_RTXMEMHEAP_H

#include "quorva/rtxCommon.h"
#include "quorva/rtxDList.h"

QUORVA_BEGIN_DECLS

typedef void* (*RtxMallocFunc)(size_t nbytes);
typedef void* (*RtxReallocFunc)(void* ptr, size_t nbytes);
typedef void (*RtxFreeFunc)(void* ptr);

/** The heap record. Its content is the library's; callers use the functions. */
struct RtxMemHeap {
   union {
      void* rawNext;    /**< Ring of raw blocks, headed by the record itself. */
      void* staticBase; /**< Static heap: the caller's buffer. */
   };
   union {
      void* rawPrev;
      size_t staticSize; /**< Static heap: size of the buffer in octets. */
   };
   union {
      void* curBlock;    /**< Block at which the next search begins, or null. */
      size_t staticUsed; /**< Static heap: octets handed out. */
   };
   void* minAddr;          /**< Lowest address ever handed out. */
   void* maxAddr;          /**< Highest address ever handed out. */
   uint32_t propertyValue; /**< Value of property 4. */
   uint32_t defBlkSize;    /**< Octets of a new block. */
   uint32_t refCount;      /**< Contexts that share the heap. */
   uint32_t flags;         /**< RTX_MH_... bits. */
   RtxMallocFunc mallocFn;
   RtxReallocFunc reallocFn; /**< May be null. */
   RtxFreeFunc freeFn;
   uint32_t code;                 /**< Code guard, copied into each block. */
   RtxDListNode* spareNames;      /**< Name stack nodes to use again, linked by `next`. */
   RtxDListNode* spareContainers; /**< Container stack nodes to use again, each with its entry as `data`. */
};

QUORVA_END_DECLS

#endif
