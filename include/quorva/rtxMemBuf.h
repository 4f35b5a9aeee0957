/**
 * @file rtxMemBuf.h
 * Growable octet buffer, in the memory of a context's heap, in system memory, or over octets of the caller.
 */
#ifndef QUORVA_RTXMEMBUF_H
#define QUORVA_RTXMEMBUF_H

#include "quorva/rtxCommon.h"

QUORVA_BEGIN_DECLS

/** The valid octets are those from `startIndex` up to `usedCount`. */
struct RtxMemBuf {
   RtxContext* pctxt;    /**< Owner. */
   size_t segSize;       /**< Growth step in octets. */
   size_t startIndex;    /**< First valid octet. */
   size_t usedCount;     /**< End of the valid octets. */
   size_t capacity;      /**< Size of `bufferData`. */
   uint64_t bitOffset;   /**< For users; cleared by rtxMemBufReset. */
   uint8_t* bufferData;  /**< The octets, or null. */
   uint8_t isDynamic;    /**< The record owns `bufferData`. */
   uint8_t isExpandable; /**< For users. */
   uint8_t useSysMem;    /**< `bufferData` is system memory of the heap's functions. */
};

/** Makes an empty buffer that grows by steps of `segSize` octets; 0 means 1024. Takes no memory. */
QUORVA_API void rtxMemBufInit(RtxContext* pctxt, RtxMemBuf* buf, size_t segSize);

/**
 * Makes an empty buffer over `size` octets of the caller. When they don't suffice, their contents move to
 * memory of the buffer's own. With a `segSize` of 0 that fails.
 */
QUORVA_API void rtxMemBufInitBuffer(RtxContext* pctxt, RtxMemBuf* buf, uint8_t* octets, size_t size,
                                    size_t segSize);

/** Forgets the contents, keeps the memory. */
QUORVA_API void rtxMemBufReset(RtxMemBuf* buf);

/** Forgets the contents and frees the buffer's own memory. */
QUORVA_API void rtxMemBufFree(RtxMemBuf* buf);

/** Makes room for `nbytes` more octets. 0, or RTX_E_NOMEM recorded and the overall status returned. */
QUORVA_API int rtxMemBufPreAllocate(RtxMemBuf* buf, size_t nbytes);

/** Appends octets, which may be the buffer's own; null octets only make room. Status as PreAllocate. */
QUORVA_API int rtxMemBufAppend(RtxMemBuf* buf, const uint8_t* octets, size_t nbytes);

/** Appends an octet `nbytes` times. Status as rtxMemBufPreAllocate. */
QUORVA_API int rtxMemBufSet(RtxMemBuf* buf, uint8_t value, size_t nbytes);

/** Removes `nbytes` of the valid octets, from the one with index `from` on. 0 or RTX_E_BAD_ARGUMENT. */
QUORVA_API int rtxMemBufCut(RtxMemBuf* buf, size_t from, size_t nbytes);

/** First valid octet. Their number goes to `*plength` unless that is null; all ones from 2^31 on. */
QUORVA_API uint8_t* rtxMemBufGetData(const RtxMemBuf* buf, int32_t* plength);

/** The same with a full-width number. */
QUORVA_API uint8_t* rtxMemBufGetDataExt(const RtxMemBuf* buf, size_t* plength);

/** Number of valid octets. */
QUORVA_API size_t rtxMemBufGetDataLen(const RtxMemBuf* buf);

/**
 * Drops white space of big-endian 16-bit units (0x0009 to 0x000D, 0x0020) at both ends.
 * @return The number of valid octets left.
 */
QUORVA_API size_t rtxMemBufTrimW(RtxMemBuf* buf);

/** Sets `isExpandable`, which the buffer itself does not read. Returns the old value. */
QUORVA_API int rtxMemBufSetExpandable(RtxMemBuf* buf, int isExpandable);
/** Lets the octets be system memory. Only while the buffer has no memory. Returns the old value. */
QUORVA_API int rtxMemBufSetUseSysMem(RtxMemBuf* buf, int useSysMem);

QUORVA_END_DECLS

#endif
