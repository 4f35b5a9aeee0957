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

/** Gives so many octets of memory, or null. */
typedef void* (*RtxMallocFunc)(size_t nbytes);
/** Gives the memory another size and perhaps another place; null, and the memory as it was, on failure. */
typedef void* (*RtxReallocFunc)(void* ptr, size_t nbytes);
/** Takes memory back; null is none. */
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
   void* minAddr;                 /**< Lowest address ever handed out. */
   void* maxAddr;                 /**< Highest address ever handed out. */
   uint32_t propertyValue;        /**< Value of property 4. */
   uint32_t defBlkSize;           /**< Octets of a new block. */
   uint32_t refCount;             /**< Contexts that share the heap. */
   uint32_t flags;                /**< RTX_MH_... bits. */
   RtxMallocFunc mallocFn;        /**< Gives blocks. */
   RtxReallocFunc reallocFn;      /**< May be null. */
   RtxFreeFunc freeFn;            /**< Takes blocks back. */
   uint32_t code;                 /**< Code guard, copied into each block. */
   RtxDListNode* spareNames;      /**< Name stack nodes to use again, linked by `next`. */
   RtxDListNode* spareContainers; /**< Container stack nodes to use again, each with its entry as `data`. */
   RtxFreeFunc recordFreeFn;      /**< Frees this record; differs from freeFn after a change to static. */
   struct RtxMemHeapNodes* nodes; /**< Where these nodes are: outside the blocks, the first piece behind this
                                       record. */
   size_t nodesAtReset;           /**< Nodes that were in use at the last reset. */
   uint32_t epoch;                /**< How often everything was ended; contexts know by it what is gone. */
   uint32_t maxElsewhere;         /**< Units: no free element outside `curBlock` is larger. */
};

#define RTX_MH_FREE_EMPTY_BLOCK 0x00000001u /**< A block that becomes all free goes back to the system. */
#define RTX_MH_CHECK_PTR 0x00000002u        /**< Verify each pointer to free or reallocate by a search. */
#define RTX_MH_CHECK_HEAP 0x00000004u       /**< Run rtxMemHeapCheck before each operation. */
#define RTX_MH_ZERO_ON_FREE 0x00000040u     /**< Clear what is freed (see below). */
#define RTX_MH_OWN_RECORD 0x10000000u       /**< The record came from the heap's malloc function. */
#define RTX_MH_RAW_ONLY 0x20000000u         /**< Each allocation is one system allocation (see below). */
#define RTX_MH_STATIC 0x40000000u           /**< Static heap; only creation and conversion set it. */

#define RTX_MHP_DEF_BLK_SIZE 1u /**< Property: octets of a new block. */
#define RTX_MHP_SET_FLAGS 2u    /**< Property: flags to set. */
#define RTX_MHP_CLEAR_FLAGS 3u  /**< Property: flags to clear. */
#define RTX_MHP_VALUE 4u        /**< Property: a number that the heap only keeps. */

/*
 * Allocations are cut from blocks, and those that are too large for a block (more than 524256 octets) are
 * system allocations of their own, "raw blocks". With RTX_MH_RAW_ONLY all are: under valgrind or
 * AddressSanitizer each then has its own red zones.
 *
 * A static heap takes its memory from a buffer of the caller and frees nothing until it is reset. It
 * neither rounds nor aligns: a piece is aligned as the sizes asked for before it happen to leave it.
 *
 * RTX_MH_ZERO_ON_FREE clears allocations, the parts that reallocation cuts off or leaves behind, whole blocks
 * and what a static heap gave out, each at the moment when it goes back. Set it before the first allocation:
 * a raw block that grew before is cleared up to its first size only.
 *
 * Name and container stacks of the contexts (rtxCtxtPushElemName, rtxCtxtPushContainerBytes) take their nodes
 * from the heap's record: 24 and 12 of them, more than messages nest, and beyond that pieces of system
 * memory, in a static heap too. So they take no room in blocks, and a reset leaves those that are in use.
 *
 * The system functions of a heap must give memory aligned to 8 octets; memory that is not counts as none.
 * Nothing here is locked: a heap belongs to one thread at a time.
 */

/* Process-wide defaults of heaps created later. Set them before any heap is made. */

extern QUORVA_API RtxMallocFunc g_malloc_func;   /**< malloc at start. */
extern QUORVA_API RtxReallocFunc g_realloc_func; /**< realloc at start; may be null. */
extern QUORVA_API RtxFreeFunc g_free_func;       /**< free at start. */
extern QUORVA_API uint32_t g_defBlkSize;         /**< Octets of a new block; 0 counts as 4096. */

/** Replaces the three default functions. With no malloc or no free function, the C library's three. */
QUORVA_API void rtxMemSetAllocFuncs(RtxMallocFunc mallocFn, RtxReallocFunc reallocFn, RtxFreeFunc freeFn);

/** Sets the default block size in octets. RTX_E_BAD_ARGUMENT, and no change, for 0. */
QUORVA_API int rtxMemSetDefBlkSize(uint32_t blkSize);
/** Default block size in octets, `g_defBlkSize` as it stands. */
QUORVA_API uint32_t rtxMemGetDefBlkSize(void);

/** Block size of a heap in octets; the default if there is no heap. */
QUORVA_API uint32_t rtxMemHeapGetDefBlkSize(void* handle);

/**
 * Makes a process-wide allocator that hands out a buffer from front to back, and installs its three functions
 * as the defaults.
 * @param buffer  The caller's; must outlive every heap made from now on.
 * @param size    Its size in octets.
 */
QUORVA_API void rtxMemSetStaticAlloc(void* buffer, size_t size);

/** Next `nbytes` octets of the buffer, without any alignment; null if they don't fit. */
QUORVA_API void* rtxMemStaticAlloc_Alloc(size_t nbytes);

/** As rtxMemStaticAlloc_Alloc. What `ptr` holds is not copied: its size is not known. */
QUORVA_API void* rtxMemStaticAlloc_Realloc(void* ptr, size_t nbytes);

/** Does nothing. */
QUORVA_API void rtxMemStaticAlloc_Free(void* ptr);

/** Makes the whole buffer available again. */
QUORVA_API void rtxMemFreeStatic(void);

/* Life of a heap. */

/**
 * Creates a heap with the default functions and stores it in the handle; what the handle held is not looked
 * at. It has one owner. RTX_E_BAD_ARGUMENT for a null handle, RTX_E_NOMEM.
 */
QUORVA_API int rtxMemHeapCreate(void* handle);

/**
 * As rtxMemHeapCreate, with the given functions. The code guard is 0.
 * @param reallocFn  May be null: raw blocks then grow by copying.
 * @return Also RTX_E_BAD_ARGUMENT if only one of mallocFn and freeFn is given. With neither, the defaults.
 */
QUORVA_API int rtxMemHeapCreateExt(void* handle, RtxMallocFunc mallocFn, RtxReallocFunc reallocFn,
                                   RtxFreeFunc freeFn);

/**
 * Creates a static heap over the caller's buffer of `size` octets; the record itself is system memory.
 * Statuses of rtxMemHeapCreate; RTX_E_BAD_ARGUMENT also for a null buffer with a size.
 */
QUORVA_API int rtxMemStaticHeapCreate(void* handle, void* buffer, size_t size);

/**
 * Frees everything in a heap and makes it a static one. RTX_E_BAD_ARGUMENT if there is no heap, it has
 * more than one owner, or the buffer is null but has a size.
 */
QUORVA_API int rtxMemHeapConvertStatic(void* handle, void* buffer, size_t size);

/** One more owner. */
QUORVA_API void rtxMemHeapAddRef(void* handle);

/** One owner less. The last one frees all memory and the record, and clears the handle's pointer. */
QUORVA_API void rtxMemHeapRelease(void* handle);

/** Sets one RTX_MHP_ property. Unknown numbers, a null value and a block size of 0 do nothing. */
QUORVA_API void rtxMemHeapSetProperty(void* handle, uint32_t property, const uint32_t* value);

/** Sets RTX_MH_ flags of an existing heap; RTX_MH_STATIC is left as it is. */
QUORVA_API void rtxMemHeapSetFlags(void* handle, uint32_t flags);
/** Clears RTX_MH_ flags of an existing heap; RTX_MH_STATIC is left as it is. */
QUORVA_API void rtxMemHeapClearFlags(void* handle, uint32_t flags);

/* Allocation. A null handle does nothing and gives null. */

/**
 * Memory of `nbytes` octets, aligned to 8, contents undefined. 0 octets give room for 8. Creates the heap if
 * the handle has none. Null if memory fails; nothing is recorded.
 */
QUORVA_API void* rtxMemHeapAlloc(void* handle, size_t nbytes);

/** As rtxMemHeapAlloc, zero-filled. */
QUORVA_API void* rtxMemHeapAllocZ(void* handle, size_t nbytes);

/**
 * Changes the size of an allocation; the pointer may change, the contents are kept up to the smaller size.
 * A null pointer allocates; 0 octets free. An allocation with several owners is copied and stays for the
 * others. A pointer that is none of this heap ends the process (rtxMemHeapInvalidPtrHook). A raw block
 * that the system's function resizes doesn't shrink: the size in its head stays that of its allocation, and a
 * later copy goes by it.
 * @return The memory, or null with the old allocation in place: no memory, a freed pointer, a static heap.
 */
QUORVA_API void* rtxMemHeapRealloc(void* handle, void* ptr, size_t nbytes);

/**
 * Changes the size of the last allocation of a static heap.
 * @return A null pointer allocates. Null if it is not the last one, the sizes are equal or it can't grow.
 */
QUORVA_API void* rtxMemHeapReallocStatic(void* handle, void* ptr, size_t oldSize, size_t newSize);

/** Frees one allocation, or gives up one reference. Pointers not of this heap, and freed ones, are ignored.
 */
QUORVA_API void rtxMemHeapFreePtr(void* handle, void* ptr);

/** One more owner of an allocation. Null, and no change, for what is not live or has 255 owners. */
QUORVA_API void* rtxMemHeapAutoPtrRef(void* handle, void* ptr);

/**
 * Gives up one reference to an allocation; the last one frees it.
 * @return References left; 0 too for a freed pointer. RTX_E_NULL for null, RTX_E_NOMEM for a pointer that the
 *         heap never gave out.
 */
QUORVA_API int rtxMemHeapAutoPtrUnref(void* handle, void* ptr);

/** References to an allocation. RTX_E_NULL for null, RTX_E_NOMEM as rtxMemHeapAutoPtrUnref. */
QUORVA_API int rtxMemHeapAutoPtrGetRefCount(void* handle, void* ptr);

/**
 * Ends every allocation and returns the memory to the system. The heap stays. A context's errors and NAS
 * security end with it, as in rtxMemHeapReset.
 */
QUORVA_API void rtxMemHeapFreeAll(void* handle);

/**
 * Ends every allocation but keeps the blocks: the next message of the same shape needs no system memory. The
 * errors and the NAS security of the contexts on this heap lived there: each finds them gone. Open names and
 * containers stay open until rtxErrReset. rtxMemReset does both.
 */
QUORVA_API void rtxMemHeapReset(void* handle);

/** True if there is no heap or nothing was allocated, nor a name or container opened, since its last reset.
 */
QUORVA_API int rtxMemHeapIsEmpty(void* handle);

/* System memory by the heap's functions, for what outlives a reset. Not tracked by the heap. A handle without
   a heap gets one. */

/** `nbytes` octets, to be freed with rtxMemHeapSysFreePtr; null for a null handle or if memory fails. */
QUORVA_API void* rtxMemHeapSysAlloc(void* handle, size_t nbytes);
/** As rtxMemHeapSysAlloc, zero-filled. */
QUORVA_API void* rtxMemHeapSysAllocZ(void* handle, size_t nbytes);
/** Null too if the heap has no realloc function. */
QUORVA_API void* rtxMemHeapSysRealloc(void* handle, void* ptr, size_t nbytes);
/** Frees what the functions above gave; a null handle or pointer does nothing. */
QUORVA_API void rtxMemHeapSysFreePtr(void* handle, void* ptr);

/* Checks. */

/** Is this pointer a live allocation of the heap? Searches; false for a static heap. */
QUORVA_API int rtxMemHeapCheckPtr(void* handle, const void* ptr);

/** True if the pointer lies outside all that the heap (not its handle) ever handed out. */
QUORVA_API int rtxMemInvalidPtr(const RtxMemHeap* heap, const void* ptr);

/** Reports a pointer that is not of this heap and ends the process. */
QUORVA_API void rtxMemHeapInvalidPtrHook(void* handle, const void* ptr);

/**
 * Walks the whole heap. At the first fault prints "Memory report at FILE, line LINE", what is wrong and
 * where, and ends the process. Does nothing on a static heap.
 */
QUORVA_API void rtxMemHeapCheck(void* handle, const char* file, int line);

/** True if all octets are 0. */
QUORVA_API int rtxMemIsZero(const void* data, size_t nbytes);

/** Lists raw blocks, blocks and elements on the standard print stream; nothing of a static heap. */
QUORVA_API void rtxMemHeapPrint(void* handle);
/** The same with the free list of each block. */
QUORVA_API void rtxMemHeapPrintWithFree(void* handle);

/** Does nothing. */
QUORVA_API void rtxMemSetDebugPrintStream(RtxPrintStream* stream);

QUORVA_END_DECLS

#endif
