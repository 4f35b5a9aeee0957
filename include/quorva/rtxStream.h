/**
 * @file rtxStream.h
 * Sources and sinks of octets behind one record. A stream is attached to a context; the bit and octet
 * functions then fill or empty `bufData` through it instead of stopping at `bufSize`. A stream reads or
 * writes, never both.
 *
 * NASDec_ functions read one whole message from a stream: up to its end, or up to `inputLimit` of its record,
 * which a caller who knows a frame's length sets ahead (position of the stream's octet behind the message).
 * Octets beyond the limit are not asked for. NASEnc_ functions write a message in one piece when it is
 * complete; a failure writes nothing.
 */
#ifndef QUORVA_RTXSTREAM_H
#define QUORVA_RTXSTREAM_H

#include "quorva/rtxCommon.h"
#include "quorva/rtxStatus.h"

#include <stdio.h>

QUORVA_BEGIN_DECLS

#define RTX_STREAM_READ 0x0001u        /**< Input stream. */
#define RTX_STREAM_WRITE 0x0002u       /**< Output stream. */
#define RTX_STREAM_HEX_TEXT 0x0800u    /**< The transport holds hexadecimal text. */
#define RTX_STREAM_BUF_MARK 0x1000u    /**< rtxMarkPos holds a mark in the context buffer. */
#define RTX_STREAM_MARK_SET 0x2000u    /**< Set by attaching and by a mark; cleared by rtxStreamReset. */
#define RTX_STREAM_TEXT_FILTER 0x4000u /**< A base64 text layer is in force; it takes no context buffer. */
#define RTX_STREAM_CTXT_BUF 0x8000u    /**< `bufData` is this stream's context buffer. */

/* Values of `kind`. */
#define RTX_STREAM_KIND_FILE 1u       /**< A file. */
#define RTX_STREAM_KIND_SOCKET 2u     /**< A socket. */
#define RTX_STREAM_KIND_MEMORY 3u     /**< Memory. */
#define RTX_STREAM_KIND_BUFFERED 4u   /**< A buffered layer. */
#define RTX_STREAM_KIND_DIRECT_BUF 5u /**< A layer whose caller works in `bufData` himself. */
#define RTX_STREAM_KIND_CTXT_BUF                                                                             \
   6u /**< A layer that loads input into `bufData`, or gathers output there.                                 \
       */

/** Option of a buffered layer: it gives way to the stream below when it has been read out and no mark stands.
 */
#define RTX_STREAM_BUFFERED_AUTO_RELEASE 0x00000001u

/**
 * One stream: a table of operations and the state that the core keeps for it. It lives in system memory.
 * An operation returns a plain status, or a count of octets where a count is due; the core records failures.
 */
struct RtxStream {
   ptrdiff_t (*read)(RtxStream* stream, uint8_t* target, size_t maxocts);  /**< Next octets; 0 at the end. */
   int (*write)(RtxStream* stream, const uint8_t* octets, size_t numocts); /**< Writes all octets. */
   int (*flush)(RtxStream* stream);                                        /**< May be null. */
   int (*close)(RtxStream* stream);                /**< Releases `extra`, and what lies below. */
   int (*skip)(RtxStream* stream, size_t numocts); /**< Passes over octets. */
   int (*mark)(RtxStream* stream, size_t limit);   /**< Notes the position for `reset`. */
   int (*reset)(RtxStream* stream);                /**< Goes back to the mark. */
   int (*getPos)(RtxStream* stream, size_t* ppos); /**< Tells the position, in octets. */
   int (*setPos)(RtxStream* stream, size_t pos);   /**< Goes to a position, in octets. */
   void* extra;                                    /**< The kind's own record. */
   size_t ctxtBufSize;                             /**< Capacity of the context buffer in use. */
   size_t markLimit;                               /**< How far a read may go before the mark lapses. */
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
 * Attaches a new, empty stream record; an open stream is closed. Whoever makes a kind of stream of his own
 * fills it in.
 * @return 0, or RTX_E_NOMEM.
 */
QUORVA_API int rtxStreamInit(RtxContext* pctxt);

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
 * One read of the stream's own operation, past the context buffer and without a loop.
 * @return The number of octets read, 0 at the end; failures as of rtxStreamRead.
 */
QUORVA_API ptrdiff_t rtxStreamReadDirect(RtxContext* pctxt, uint8_t* target, size_t numocts);

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

/**
 * Marks the position, for rtxStreamReset.
 * @param limit Octets that may be read until the mark lapses, for kinds that have to keep them.
 * @return 0, RTX_E_BAD_ARGUMENT without a stream, RTX_E_UNSUPPORTED with the parameter "stream mark/reset" if
 * the stream can't be marked, or the failure of its operation: RTX_E_NO_MARK for a context-buffer layer.
 */
QUORVA_API int rtxStreamMark(RtxContext* pctxt, size_t limit);

/** Goes back to the mark. Statuses as of rtxStreamMark; RTX_E_BAD_ARGUMENT also without a mark. */
QUORVA_API int rtxStreamReset(RtxContext* pctxt);

/** Has the stream a mark and a reset operation? */
QUORVA_API int rtxStreamMarkSupported(const RtxContext* pctxt);

/** Is there a stream that reads or writes? */
QUORVA_API int rtxStreamIsOpened(const RtxContext* pctxt);

/** Is there an input stream? */
QUORVA_API int rtxStreamIsReadable(const RtxContext* pctxt);

/** Is there an output stream? */
QUORVA_API int rtxStreamIsWritable(const RtxContext* pctxt);

/**
 * Gives the position of the next octet, in octets of the transport (characters, where it holds text).
 * @return 0, RTX_E_BAD_ARGUMENT without a stream, RTX_E_UNSUPPORTED with the parameter "stream get position",
 * or the operation's failure: RTX_E_FILE_READ for a pipe.
 */
QUORVA_API int rtxStreamGetPos(RtxContext* pctxt, size_t* ppos);

/** Goes to a position. As rtxStreamGetPos, with "stream set position". A memory takes any position. */
QUORVA_API int rtxStreamSetPos(RtxContext* pctxt, size_t pos);

/** rtxStreamGetPos of a given stream, for layers. */
QUORVA_API int rtxiStreamGetPos(RtxContext* pctxt, RtxStream* stream, size_t* ppos);

/** rtxStreamSetPos of a given stream, for layers. */
QUORVA_API int rtxiStreamSetPos(RtxContext* pctxt, RtxStream* stream, size_t pos);

/** Gives the number of octets moved so far. RTX_E_NOT_INIT without a stream. */
QUORVA_API int rtxStreamGetIOBytes(RtxContext* pctxt, size_t* pcount);

/**
 * Keeps a copy of all octets moved from here on, the caller's buffer; null ends that. What a memory stream
 * holds already is appended at once. Does nothing without a stream.
 */
QUORVA_API void rtxStreamSetCapture(RtxContext* pctxt, RtxMemBuf* capture);

/** The buffer of rtxStreamSetCapture, or null. */
QUORVA_API RtxMemBuf* rtxStreamGetCapture(const RtxContext* pctxt);

/**
 * Gives the attached stream a context buffer of 1024 octets.
 * @return 0, RTX_E_CANNOT_DO if the context has a buffer, RTX_E_UNSUPPORTED for a kind that has one of its
 *         own, RTX_E_NOT_INIT without a stream.
 */
QUORVA_API int rtxStreamInitCtxtBuf(RtxContext* pctxt);

/** Takes the context buffer away from its stream, and frees it if it is the context's own. Returns 0. */
QUORVA_API int rtxStreamRemoveCtxtBuf(RtxContext* pctxt);

/**
 * Loads input so that `numocts` octets lie at the cursor, if the stream still has them. A short load is no
 * failure. The octets before the cursor may leave the buffer.
 */
QUORVA_API int rtxStreamLoadInputBuffer(RtxContext* pctxt, size_t numocts);

/** Flushes and closes the attached stream and releases its record and context buffer. */
QUORVA_API int rtxStreamClose(RtxContext* pctxt);

/** Closes the stream if it is open, else just releases its record. Returns 0. */
QUORVA_API int rtxStreamRelease(RtxContext* pctxt);

/* Memory streams. `bufData` is the data and the cursor its position: nothing is copied. */

/**
 * Attaches a stream over memory of its own; an open stream is closed. One that writes starts with `bufSize`
 * octets of the context, 512 for 0, and grows. One that reads has nothing to read.
 * @param flags RTX_STREAM_READ or RTX_STREAM_WRITE.
 * @return 0, RTX_E_BAD_ARGUMENT for other flags, RTX_E_NOMEM (not recorded where the buffer is missing).
 */
QUORVA_API int rtxStreamMemoryCreate(RtxContext* pctxt, uint16_t flags);

/**
 * Attaches a stream over `size` octets of the caller, which stay his and have to outlive the stream. One that
 * writes does not grow: RTX_E_BUFFER_FULL.
 * @return 0, RTX_E_BAD_ARGUMENT for null octets, a size of 0 or other flags than one direction, RTX_E_NOMEM.
 */
QUORVA_API int rtxStreamMemoryAttach(RtxContext* pctxt, uint8_t* octets, size_t size, uint16_t flags);

/** rtxStreamMemoryAttach for reading. */
QUORVA_API int rtxStreamMemoryCreateReader(RtxContext* pctxt, uint8_t* octets, size_t size);

/** rtxStreamMemoryAttach for writing; with null octets rtxStreamMemoryCreate with `size` octets to start
 * with. */
QUORVA_API int rtxStreamMemoryCreateWriter(RtxContext* pctxt, uint8_t* octets, size_t size);

/**
 * The data of the memory stream, which stays its own, or null if the stream is none. `*pcount`, unless null,
 * gets the number of octets read or written, one that has been begun included. Of layers above an output
 * stream what they have gathered is written out first.
 */
QUORVA_API uint8_t* rtxStreamMemoryGetBuffer(RtxContext* pctxt, size_t* pcount);

/** Starts over with writing. 0, or RTX_E_NOT_INIT without an output stream. */
QUORVA_API int rtxStreamMemoryResetWriter(RtxContext* pctxt);

/* File streams. */

/**
 * Attaches a stream over an open file, which stays the caller's and stays open; an open stream is closed. A
 * pipe gives -29 for positions, marks and skips; reading to a null target passes over its octets.
 * @param file  A FILE*.
 * @param flags RTX_STREAM_READ or RTX_STREAM_WRITE.
 * @return 0, RTX_E_BAD_ARGUMENT for a null file or other flags, RTX_E_NOMEM.
 */
QUORVA_API int rtxStreamFileAttach(RtxContext* pctxt, FILE* file, uint16_t flags);

/**
 * Opens a file and attaches a stream that owns it. One that writes begins with an empty file.
 * @return As rtxStreamFileAttach; RTX_E_CANNOT_DO if the file can't be opened.
 */
QUORVA_API int rtxStreamFileOpen(RtxContext* pctxt, const char* name, uint16_t flags);

/** rtxStreamFileOpen for reading. */
QUORVA_API int rtxStreamFileCreateReader(RtxContext* pctxt, const char* name);

/** rtxStreamFileOpen for writing. */
QUORVA_API int rtxStreamFileCreateWriter(RtxContext* pctxt, const char* name);

/* Layers: each takes the place of the attached stream, which becomes its inner one. Octets that have been
 * loaded and not read yet come first through a layer, and stay with the inner stream when it is taken off
 * again. */

/**
 * Puts a buffered layer above an input stream: marks for a source without any, and octets to put back.
 * @param options RTX_STREAM_BUFFERED_AUTO_RELEASE or 0.
 * @return 0, RTX_E_NOMEM, RTX_E_BAD_ARGUMENT without a stream, and with an output stream, which is closed
 * then and an empty record left in its place.
 */
QUORVA_API int rtxStreamBufferedCreate(RtxContext* pctxt, uint32_t options);

/** Takes the buffered layer off. 0, RTX_E_NOMEM, or RTX_E_BAD_ARGUMENT if the stream is none. */
QUORVA_API int rtxStreamBufferedRelease(RtxContext* pctxt);

/** Replaces what the buffered layer holds by a copy of these octets. Statuses as of rtxStreamBufferedRelease.
 */
QUORVA_API int rtxStreamBufferedSetPreReadBuf(RtxContext* pctxt, const uint8_t* octets, size_t numocts);

/** Puts a copy of these octets in front of what is unread. Statuses as of rtxStreamBufferedRelease. */
QUORVA_API int rtxStreamBufferedPrependReadBuf(RtxContext* pctxt, const uint8_t* octets, size_t numocts);

/**
 * Puts a context-buffer layer above the stream: input is loaded into `bufData` at once, output gathered in
 * it.
 * @return 0, RTX_E_BAD_ARGUMENT without a stream, RTX_E_NOMEM, or the failure of the first read.
 */
QUORVA_API int rtxStreamCtxtBufCreate(RtxContext* pctxt);

/** Sees to it that there is such a layer. RTX_E_NOT_INIT without an active stream; else as the creation. */
QUORVA_API int rtxStreamCtxtBufCheck(RtxContext* pctxt);

/** Takes the layer off, and writes out what it has gathered. RTX_E_BAD_ARGUMENT if the stream is none. */
QUORVA_API int rtxStreamCtxtBufFree(RtxContext* pctxt);

/**
 * Puts a direct-buffer layer above the stream: the caller works in `bufData` himself.
 * @return 0, RTX_E_BAD_ARGUMENT without a stream, or RTX_E_NOMEM.
 */
QUORVA_API int rtxStreamDirectBufCreate(RtxContext* pctxt);

/** Sees to it that the caller can work in `bufData`. RTX_E_NOT_INIT without an active stream. */
QUORVA_API int rtxStreamDirectBufCheck(RtxContext* pctxt);

/**
 * Loads so that `numocts` octets lie at the cursor in `bufData`, which may move.
 * @return 0, RTX_E_END_OF_DATA if the stream has fewer, RTX_E_NOMEM.
 */
QUORVA_API int rtxStreamDirectBufPreRead(RtxContext* pctxt, size_t numocts);

/**
 * Puts a layer above the stream that reads and writes base64 text there, RFC 4648, section 4. Reading passes
 * over white space and the marker lines of a certificate. Each write is a text of its own, padded at its end.
 * A read of the layer that can't hold what the text has gives RTX_E_TOO_SMALL and loses nothing; bad text
 * RTX_E_BAD_BASE64. rtxStreamSkip counts characters.
 * @return 0, RTX_E_NOT_INIT without a stream, RTX_E_NOMEM.
 */
QUORVA_API int rtxStreamBase64TextAttach(RtxContext* pctxt);

/**
 * From here on the stream's transport holds text of two hexadecimal digits an octet: for file, memory and
 * socket streams. Reading passes over white space; a digit alone at the end is a high half octet. A character
 * that is no digit gives RTX_E_BAD_HEX.
 * @return 0, RTX_E_NOT_INIT without a stream.
 */
QUORVA_API int rtxStreamHexTextAttach(RtxContext* pctxt);

QUORVA_END_DECLS

#endif
