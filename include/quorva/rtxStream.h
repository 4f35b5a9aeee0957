/**
 * @file rtxStream.h
 * Sources and sinks of octets behind one record. A stream is attached to a context; the bit and octet
 * functions then fill or empty `bufData` through it instead of stopping at `bufSize`.
 */
#ifndef QUORVA_RTXSTREAM_H
#define QUORVA_RTXSTREAM_H

#include "quorva/rtxCommon.h"
#include "quorva/rtxStatus.h"

QUORVA_BEGIN_DECLS

#define RTX_STREAM_READ 0x0001u        /**< Input stream. */
#define RTX_STREAM_WRITE 0x0002u       /**< Output stream. */
#define RTX_STREAM_HEX_TEXT 0x0800u    /**< The transport holds hexadecimal text. */
#define RTX_STREAM_BUF_MARK 0x1000u    /**< rtxMarkPos holds a mark in the context buffer. */
#define RTX_STREAM_MARK_SET 0x2000u    /**< Set by attaching and by a mark; cleared by rtxStreamReset. */
#define RTX_STREAM_TEXT_FILTER 0x4000u /**< A base64 text layer is in force; it takes no context buffer. */
#define RTX_STREAM_CTXT_BUF 0x8000u    /**< `bufData` is this stream's context buffer. */

/* Values of `kind`. */
#define RTX_STREAM_KIND_FILE 1u
#define RTX_STREAM_KIND_SOCKET 2u
#define RTX_STREAM_KIND_MEMORY 3u
#define RTX_STREAM_KIND_BUFFERED 4u
#define RTX_STREAM_KIND_DIRECT_BUF 5u
#define RTX_STREAM_KIND_CTXT_BUF 6u

/**
 * One stream: a table of operations and the state that the core keeps for it. It lives in system memory.
 * An operation returns a plain status, or a count of octets where a count is due; the core records failures.
 */
struct RtxStream {
   ptrdiff_t (*read)(RtxStream* stream, uint8_t* target, size_t maxocts); /**< Next octets; 0 at the end. */
   int (*write)(RtxStream* stream, const uint8_t* octets, size_t numocts);
   int (*flush)(RtxStream* stream); /**< May be null. */
   int (*close)(RtxStream* stream); /**< Releases `extra`, and what lies below. */
   int (*skip)(RtxStream* stream, size_t numocts);
   int (*mark)(RtxStream* stream, size_t limit); /**< Notes the position for `reset`. */
   int (*reset)(RtxStream* stream);
   int (*getPos)(RtxStream* stream, size_t* ppos);
   int (*setPos)(RtxStream* stream, size_t pos);
   void* extra;        /**< The kind's own record. */
   size_t ctxtBufSize; /**< Capacity of the context buffer in use. */
   size_t markLimit;   /**< How far a read may go before the mark lapses. */
   size_t bufBase;     /**< Octets that lie before the first octet of `bufData`. */
   size_t bufMarkBase; /**< Mark position: `bufBase` at the mark, or the buffer index for rtxMarkPos. */
   size_t ioBytes;     /**< Octets moved in all. */
   size_t pendingPos;  /**< Position to report while it is not 0. */
   size_t inputLimit;  /**< Stream position where data ends; all ones when unknown. */
   uint32_t kind;      /**< RTX_STREAM_KIND_... */
   RtxMemBuf* capture; /**< Copy of all octets moved, or null. */
   uint16_t flags;     /**< RTX_STREAM_... bits. */
};

/**
 * Reads octets from the stream.
 * @param target Receives the octets; with null they are passed over.
 * @return The number of octets read, less than `numocts` only at the stream's end, or RTX_E_NOT_INIT
 *         without an input stream, or what the stream's read operation failed with.
 */
QUORVA_API ptrdiff_t rtxStreamRead(RtxContext* pctxt, uint8_t* target, size_t numocts);

/**
 * Reads at least `minocts` octets, unless the stream ends, and at most `maxocts`.
 * @return As rtxStreamRead; RTX_E_BUFFER_FULL when the minimum exceeds the maximum.
 */
QUORVA_API ptrdiff_t rtxStreamRead2(RtxContext* pctxt, uint8_t* target, size_t minocts, size_t maxocts);

/**
 * Writes octets to the stream.
 * @param octets Null stands for `bufData` at the cursor.
 * @return 0 or more, RTX_E_NOT_INIT without an output stream, or what the write operation failed with.
 */
QUORVA_API int rtxStreamWrite(RtxContext* pctxt, const uint8_t* octets, size_t numocts);

/**
 * Writes out the context buffer of an output stream, then calls the stream's own flush. An octet that is
 * not complete yet stays, at the start of the buffer.
 * @return 0, or RTX_E_BAD_ARGUMENT without an output stream.
 */
QUORVA_API int rtxStreamFlush(RtxContext* pctxt);

/**
 * Passes over octets of an input stream.
 * @return 0, RTX_E_BAD_ARGUMENT without an input stream, RTX_E_NOT_INIT if the stream can't skip.
 */
QUORVA_API int rtxStreamSkip(RtxContext* pctxt, size_t numocts);

/** Gives the number of octets moved so far. RTX_E_NOT_INIT without a stream. */
QUORVA_API int rtxStreamGetIOBytes(RtxContext* pctxt, size_t* pcount);

/**
 * Keeps a copy of all octets moved from here on, the caller's buffer; null ends that. What a memory stream
 * holds already is appended at once. Does nothing without a stream.
 */
QUORVA_API void rtxStreamSetCapture(RtxContext* pctxt, RtxMemBuf* capture);

/** The buffer of rtxStreamSetCapture, or null. */
QUORVA_API RtxMemBuf* rtxStreamGetCapture(RtxContext* pctxt);

/**
 * Gives the attached stream a context buffer of 1024 octets.
 * @return 0, RTX_E_CANNOT_DO if the context has a buffer, RTX_E_UNSUPPORTED for a kind that has one of its
 *         own, RTX_E_NOT_INIT without a stream.
 */
QUORVA_API int rtxStreamInitCtxtBuf(RtxContext* pctxt);

/**
 * Loads input so that `numocts` octets lie at the cursor, if the stream still has them. A short load is no
 * failure. The octets before the cursor may leave the buffer.
 */
QUORVA_API int rtxStreamLoadInputBuffer(RtxContext* pctxt, size_t numocts);

/** Flushes and closes the attached stream and releases its record and context buffer. */
QUORVA_API int rtxStreamClose(RtxContext* pctxt);

/** Closes the stream if it is open, else just releases its record. Returns 0. */
QUORVA_API int rtxStreamRelease(RtxContext* pctxt);

QUORVA_END_DECLS

#endif
