/**
 * @file rtxMemHeapLayout.h
 * What lies inside the blocks of a heap, for debuggers and tests; no other caller needs it.
 *
 * Sizes and positions in a block are 16-bit numbers of units of 8 octets. An index counts units from the
 * sentinel link, which has index 0; index 1 is the start border, index 2 the first element and index `nunits`
 * the end border. The elements fill the block without gaps, and no two free ones are neighbours.
 */
#ifndef QUORVA_RTXMEMHEAPLAYOUT_H
#define QUORVA_RTXMEMHEAPLAYOUT_H

#include "quorva/rtxMemHeap.h"

QUORVA_BEGIN_DECLS

#define RTX_ME_FREE 1u  /**< Element flag: free. */
#define RTX_ME_SAVED 2u /**< Element flag: survives a reset. */
#define RTX_ME_RAW 4u   /**< Element flag: the element is a raw block. */
#define RTX_ME_GROWN 8u /**< Flag of a raw block that may be larger than its header tells. */

/** Header of an element; its data follows. */
typedef struct RtxMemElem {
   uint16_t nunits;   /**< Size with this header. */
   uint16_t prevOff;  /**< Distance back to the previous element. */
   uint16_t beginOff; /**< Index of this element; valid while it is allocated. */
   uint8_t flags;     /**< RTX_ME_ bits. */
   uint8_t refCnt;    /**< Owners; 0 when freed. */
} RtxMemElem;

/**
 * The last 8 octets of each free element: its place in the block's ring of free elements. The element's size
 * is not here but in the `prevOff` of what follows the link.
 */
typedef struct RtxMemLink {
   uint32_t code;     /**< Code guard in the sentinel; else unused. */
   uint16_t nextFree; /**< Index of the next link. */
   uint16_t prevFree; /**< Index of the previous link. */
} RtxMemLink;

/** Head of a block. */
typedef struct RtxMemBlk {
   struct RtxMemBlk* next; /**< Of the ring of blocks. */
   struct RtxMemBlk* prev; /**< Of the ring of blocks. */
   uint16_t freeHead;      /**< Index of the link at which a search begins. */
   uint16_t maxFreeElem;   /**< No free element is larger; 65535: unknown. */
   uint16_t nunits;        /**< Index of the end border. */
   uint16_t nsaved;        /**< Elements with RTX_ME_SAVED. */
   RtxMemLink sentinel;    /**< Member of the free ring that belongs to no element. */
   RtxMemElem start;       /**< Start border: a used element of no size. */
} RtxMemBlk;

/**
 * Head of a raw block; its data follows. The last 8 octets are its element header, in which the guard takes
 * the place of two sizes and `beginOff` is 0: so the guard of each element stands `beginOff` units before it.
 */
typedef struct RtxRawMemBlk {
   void* next;     /**< Of the ring of raw blocks. */
   void* prev;     /**< Of the ring of raw blocks. */
   size_t size;    /**< Octets of data, as first asked for. */
   uint32_t code;  /**< Code guard. */
   uint16_t zero;  /**< The element header's `beginOff`. */
   uint8_t flags;  /**< RTX_ME_RAW, perhaps RTX_ME_SAVED and RTX_ME_GROWN. */
   uint8_t refCnt; /**< Owners. */
} RtxRawMemBlk;

/** Element of a link; null for the sentinel. */
QUORVA_API RtxMemElem* rtxMemHeapGetFreeElem(RtxMemLink* link);

/** Link of an element; null if the element's size is 0. */
QUORVA_API RtxMemLink* rtxMemHeapGetFreeLink(RtxMemElem* elem);

/** Block of an allocated element. */
QUORVA_API RtxMemBlk* rtxMemHeapGetMemBlk(RtxMemElem* elem);

/** Raw block of an element with RTX_ME_RAW. */
QUORVA_API RtxRawMemBlk* rtxMemHeapGetRawMemBlk(RtxMemElem* elem);

/** The element behind this one; that of the last is the end border. */
QUORVA_API RtxMemElem* rtxMemHeapGetNextElem(RtxMemElem* elem);
/** The element in front of this one; that of the first is the start border. */
QUORVA_API RtxMemElem* rtxMemHeapGetPrevElem(RtxMemElem* elem);

/** The next link in the block's ring of free elements, of which the sentinel is one. */
QUORVA_API RtxMemLink* rtxMemHeapGetNextFree(RtxMemBlk* blk, RtxMemLink* link);
/** The previous link in that ring. */
QUORVA_API RtxMemLink* rtxMemHeapGetPrevFree(RtxMemBlk* blk, RtxMemLink* link);

/** Does the code guard of an element show that it belongs to this heap? */
QUORVA_API int rtxMemHeapCheckCode(const RtxMemHeap* heap, const void* elem);

/** Frees an element, whatever its reference count, and joins it to its free neighbours. */
QUORVA_API void _rtxMemHeapFreeElem(void* handle, RtxMemElem* elem);

/** Clears the data of an element. */
QUORVA_API void _rtxMemHeapZeroElem(RtxMemElem* elem);
/** Clears a whole block, its head included. */
QUORVA_API void _rtxMemHeapZeroMemBlk(RtxMemBlk* blk);
/** Clears a raw block, its head included, up to the size that the head tells. */
QUORVA_API void _rtxMemHeapZeroRawBlk(RtxRawMemBlk* raw);

/** rtxMemHeapPrint, with the free lists if `withFree` is not 0. */
QUORVA_API void _rtxMemHeapPrintDetail(void* handle, int withFree);

QUORVA_END_DECLS

#endif
