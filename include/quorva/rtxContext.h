/**
 * @file rtxContext.h
 * The context: buffer, bit cursor, heap, errors, name and container stacks of one piece of work.
 */
#ifndef QUORVA_RTXCONTEXT_H
#define QUORVA_RTXCONTEXT_H

#include "quorva/rtxCommon.h"
#include "quorva/rtxDList.h"
#include "quorva/rtxMemHeap.h"
#include "quorva/rtxStack.h"
#include "quorva/rtxStatus.h"

QUORVA_BEGIN_DECLS

/** Parameters that one error record can hold. */
#define RTX_ERR_MAX_PARMS 5

/** One error record. */
typedef struct RtxErrInfo {
   uint8_t locations[128];         /**< Room for source locations; stays zero. */
   int16_t status;                 /**< The status; 0 marks an empty record. */
   uint8_t locationCount;          /**< Stays 0. */
   uint8_t parmCount;              /**< Number of `parms` in use. */
   char* parms[RTX_ERR_MAX_PARMS]; /**< Heap texts. Only `errFixed` ever holds any. */
   char* elemName;                 /**< Filled by copying only. */
   uint8_t fatal;                  /**< Counts in rtxErrGetStatus. */
} RtxErrInfo;

/** `magic` of a valid context. */
#define RTX_CTXT_MAGIC 0x1AA2A34Au

#define RTX_CTXT_CANON_TIME_1 0x00000100u /**< Canonical rules for ASN.1 times. */
#define RTX_CTXT_CANON_TIME_2 0x00000200u /**< Canonical rules for ASN.1 times. */
#define RTX_CTXT_FAST_COPY 0x00000800u    /**< Kept for callers. */
#define RTX_CTXT_ON_HEAP 0x00008000u      /**< The context came from rtNewContext. */
#define RTX_CTXT_NO_INDENT 0x00400000u    /**< Text writers emit no line break and no indent. */
#define RTX_CTXT_SYS_BUFFER 0x00800000u   /**< `bufData` is system memory. */
#define RTX_CTXT_FREEING 0x01000000u      /**< The context is being torn down. */
/** Messages and elements are coded exactly as the 3GPP standards say, where the family has ways of its own,
 *  and no status is dropped; see docs/conformance.md. Set it with rtxCtxtSetFlag ahead of a message. */
#define RTX_CTXT_STANDARD 0x00040000u
/** Printers of records write what a number means behind it, `msgType = 82 (Authentication Request)`, where
 * the descriptions have a name for it that the line does not show by itself. For readers; not for programs
 * that read the text. */
#define RTX_CTXT_NAMES 0x00080000u
/** Texts from messages go out as quorvaEscapeText writes them, so that none can pass for another line or
 *  steer a terminal: by printers of records and of texts, and with the marks of HTML in its page by the
 * trace. */
#define RTX_CTXT_ESCAPES 0x00100000u
#define RTX_CTXT_RAW_TAIL 0x02000000u    /**< An open tail was written; see rtxCtxtClearFlag. */
#define RTX_CTXT_UPLINK 0x04000000u      /**< The message at hand comes from the terminal. */
#define RTX_CTXT_BUFFER_MODE 0x20000000u /**< Bits go to `bufData` even with a stream attached. */
#define RTX_CTXT_DIAG 0x80000000u        /**< Diagnostics are on for this context. */

/**
 * State of one piece of work; first argument of every operation. Initialise it with rtInitContext,
 * end it with rtFreeContext. A context belongs to one thread at a time.
 */
struct RtxContext {
   RtxMemHeap* memHeap;            /**< First, so that a context pointer is a heap handle. */
   uint8_t* bufData;               /**< Buffer being read or written. */
   size_t bufByteIndex;            /**< Index of the current octet. */
   size_t bufSize;                 /**< Encoding: capacity. Decoding: number of valid octets. */
   int16_t bufBitsLeft;            /**< Bits not yet consumed in the current octet: 8 to 1. */
   uint8_t bufDynamic;             /**< The context owns `bufData` and may grow it. */
   uint8_t bufInherited;           /**< Copied from the parent by rtInitSubContext. */
   size_t bufMark;                 /**< Index remembered by rtxStreamMark. */
   RtxDList errList;               /**< Recorded errors (RtxErrInfo), oldest first. */
   RtxErrInfo errFixed;            /**< Works with no memory left; holds all error parameters. */
   RtxDListNode errFixedNode;      /**< Node by which `errFixed` joins `errList`. */
   uint32_t magic;                 /**< RTX_CTXT_MAGIC while valid. */
   uint32_t flags;                 /**< RTX_CTXT_... bits. */
   uint8_t level;                  /**< Depth of rtxCtxtPushElemName; wraps silently. */
   uint8_t state;                  /**< Cleared by rtxCtxtSetBufPtr. */
   uint8_t diagLevel;              /**< Trace level of the diagnostics. */
   uint8_t lastChar;               /**< Last octet moved by rtxReadBytes and rtxWriteBytes. */
   RtxStream* stream;              /**< Attached stream or null; system memory. */
   RtxPrintStream* printStream;    /**< Print registration or null; system memory. */
   RtxDList elemNames;             /**< Element name stack; the top is the tail. */
   RtxDList regexpCache;           /**< Compiled patterns. */
   RtxStack containers;            /**< Open length-delimited containers. */
   void* extension1;               /**< Extension records: the first field of each is a free function. */
   void* extension2;               /**< Another one. */
   void* asn1Info;                 /**< That of rtCtxtInitASN1Info. */
   void* extension4;               /**< Another one. */
   void* threadShared;             /**< Copied by rtxInitThreadContext. */
   RtxNasSecContext* nasSec;       /**< NAS security state or null. */
   int (*freeHook)(RtxContext*);   /**< Called last by rtxFreeContext when not null. */
   RtxDiagBitFieldList* bitFields; /**< Trace of the message at hand, or null. */
   uint16_t indent;                /**< Print indent in blanks. */
   uint16_t protocolRelease;       /**< 3GPP release that decoders of TS24008IE_MobileStationClassmark3 and
                                        TS24008IE_AccessCapability know: fields of later ones go to spareBits. 3 is
                                        R99, 0 the newest. To be written directly; resets leave it. */
   /* The library's own, to be left alone. */
   uint32_t heapEpoch;      /**< Resets of the heap before errors and security state were allocated. */
   RtxDListNode* errSummed; /**< Records up to this one are summed up in the next two fields. */
   uint8_t errSummedFatal;  /**< Fatal ones among them: 0, 1, 2 for more. */
   int16_t errSummedStatus; /**< Status of the first fatal one. */
   uint8_t keysAssigned;    /**< AES keys were assigned since rtx3gppSecFree. */
   void* keptKeys;          /**< Their schedules, over resets of the heap; system memory, or null. */
};

/* Life of a context. */

/** Zeroes the record and makes it a valid context that has no heap and no buffer yet. Returns 0. */
QUORVA_API int rtxPreInitContext(RtxContext* pctxt);

/** Initialises a context with a heap of its own. Returns 0 or RTX_E_NOMEM. */
QUORVA_API int rtxInitContext(RtxContext* pctxt);

/** As rtxInitContext; the heap works on the given system functions (`reallocFn` may be null). */
QUORVA_API int rtxInitContextExt(RtxContext* pctxt, RtxMallocFunc mallocFn, RtxReallocFunc reallocFn,
                                 RtxFreeFunc freeFn);

/**
 * Initialises a context for the message codecs; rtInitContext is the usual entry. End the context with
 * rtFreeContext. Returns 0 or RTX_E_NOMEM, with nothing left to free.
 */
QUORVA_API int rtInitASN1Context(RtxContext* pctxt);
/** rtInitASN1Context by its usual name; same statuses. */
QUORVA_API int rtInitContext(RtxContext* pctxt);

/** Allocates and initialises a context, to be ended by rtFreeContext. Null when memory is exhausted. */
QUORVA_API RtxContext* rtNewContext(void);

/**
 * Ends a context and everything that its heap owns; frees the record if rtNewContext made it. A record that
 * is no valid context, or null, is left alone.
 */
QUORVA_API void rtFreeContext(RtxContext* pctxt);

/** Initialises a context that shares the heap of `parent` and has no buffer. Returns 0 or RTX_E_NOMEM. */
QUORVA_API int rtInitSubContext(RtxContext* pctxt, RtxContext* parent);

/** Initialises a context for another thread: a heap of its own, `threadShared` of `source`. Returns 0. */
QUORVA_API int rtxInitThreadContext(RtxContext* pctxt, const RtxContext* source);

/**
 * Ends a context, but not its record. `memHeap` becomes null, even if others share the heap: a dead context
 * can't reach it. Returns 0, or the result of `freeHook`.
 */
QUORVA_API int rtxFreeContext(RtxContext* pctxt);

/** Returns 0 for a valid context and RTX_E_NOT_INIT for any other record, or null. */
QUORVA_API int rtxCheckContext(const RtxContext* pctxt);

/**
 * Makes `dest` work on the buffer, cursor, flags and stream of `source`; nothing is duplicated. Of the flags
 * RTX_CTXT_ON_HEAP, which tells where the record itself came from, stays as it is in `dest`.
 */
QUORVA_API void rtxCopyContext(RtxContext* dest, const RtxContext* source);

/**
 * Makes the context share the heap of `other`. Its old heap is released, and errors, names and containers,
 * which lived there, are dropped. Nothing happens if both share a heap already or one pointer is null.
 */
QUORVA_API void rtxCtxtSetMemHeap(RtxContext* pctxt, RtxContext* other);

/** Sets RTX_CTXT_... bits; the others stay. */
QUORVA_API void rtxCtxtSetFlag(RtxContext* pctxt, uint32_t mask);
/** Clears RTX_CTXT_... bits; the others stay. */
QUORVA_API void rtxCtxtClearFlag(RtxContext* pctxt, uint32_t mask);

/** Sets or clears RTX_CTXT_FAST_COPY. */
QUORVA_API void rtSetFastCopy(RtxContext* pctxt, int value);

/** Makes the ASN.1 record of a context unless it has one. 0, or RTX_E_NOMEM recorded. */
QUORVA_API int rtCtxtInitASN1Info(RtxContext* pctxt);
/** Empties that record, if any; rtxFreeContext calls it before it frees the record. */
QUORVA_API void rtCtxtFreeASN1Info(RtxContext* pctxt);
/** The same; the record can be used on. */
QUORVA_API void rtCtxtResetASN1Info(RtxContext* pctxt);

/** Version as a number: 780 is 7.8.0. */
QUORVA_API int rtxGetLibVersion(void);

/** Name and version as a text. */
QUORVA_API const char* rtxGetLibInfo(void);

/** Empties the cache of compiled patterns. */
QUORVA_API void rtxFreeRegexpCache(RtxContext* pctxt);

/* Buffer. All sizes are octets. */

/**
 * Gives the context a buffer and puts the cursor at its start. Null data over a stream without a context
 * buffer allocate nothing: `bufSize` is then 0, or that of the buffer that stays, since no octet may be
 * written beyond what is there. What a stream's context buffer has gathered is written out first; what it has
 * loaded and nobody has read is gone.
 * @param data  The caller's octets, which must outlive their use. Null: a new buffer that may grow.
 * @param size  Number of octets; of a new buffer 0 stands for 1024.
 * @return 0, RTX_E_NOT_INIT for an invalid context, RTX_E_NOMEM, or what the stream failed with.
 */
QUORVA_API int rtxInitContextBuffer(RtxContext* pctxt, uint8_t* data, size_t size);

/**
 * As rtxInitContextBuffer, and bits go to and from this buffer even if a stream is attached. The usual way
 * in: decoders get the message and its length. This buffer is none of the stream's: its own
 * functions go past them (those of a memory stream, whose data the buffer is, work on them).
 */
QUORVA_API int rtxCtxtSetBufPtr(RtxContext* pctxt, uint8_t* data, size_t size);

/** Makes room for `numocts` octets at the cursor; writes out or grows what can be. RTX_E_BUFFER_FULL if not.
 */
QUORVA_API int rtxCheckBuffer(RtxContext* pctxt, size_t numocts);

/** The same for the bit and octet writers: one octet more is wanted when the cursor is inside an octet. */
QUORVA_API int rtxCheckOutputBuffer(RtxContext* pctxt, size_t numocts);

/**
 * Gets room for `numocts` octets by writing the buffer to the active stream or by growing it.
 * @return 0, RTX_E_BUFFER_FULL if the buffer may not grow, RTX_E_NOMEM (buffer and size stay: `bufSize` never
 *         tells more than was allocated), or what the stream failed with.
 */
QUORVA_API int rtxExpandOutputBuffer(RtxContext* pctxt, size_t numocts);

/** True if the buffer's content may go to the active stream to make room. */
QUORVA_API int rtxIsOutputBufferFlushable(const RtxContext* pctxt);

/** Writes the complete octets of the buffer to the stream; an incomplete one moves to the start. */
QUORVA_API int rtxFlushOutputBuffer(RtxContext* pctxt);

/**
 * Sees to it that `numocts` octets lie at the cursor. A stream is asked only if they don't lie there yet.
 * @return 0, RTX_E_END_OF_DATA, or RTX_E_END_OF_STREAM if a stream was asked for them.
 */
QUORVA_API int rtxCheckInputBuffer(RtxContext* pctxt, size_t numocts);

/* Cursor. */

/** Bit offset of the cursor in the buffer; with an active stream in the whole stream. */
QUORVA_API size_t rtxCtxtGetBitOffset(const RtxContext* pctxt);

/**
 * Moves the cursor to a bit offset. No bounds are checked; the next read or write does that.
 * @return 0, or RTX_E_UNSUPPORTED on an active stream.
 */
QUORVA_API int rtxCtxtSetBitOffset(RtxContext* pctxt, size_t offset);

/** Stores the bit offset; RTX_E_OVERFLOW, not recorded, and 0 stored if it does not fit a size. */
QUORVA_API int rtxCtxtMarkBitPos(RtxContext* pctxt, size_t* ppos);

/** Back to a position of rtxCtxtMarkBitPos. */
QUORVA_API int rtxCtxtResetToBitPos(RtxContext* pctxt, size_t pos);

/**
 * Marks an octet position, on streams too, and goes back to it. The position inside the octet is neither
 * saved nor restored.
 * @return 0, RTX_E_UNSUPPORTED if the stream has no positions, RTX_E_BAD_ARGUMENT for a reset without a mark.
 */
QUORVA_API int rtxMarkPos(RtxContext* pctxt, size_t* ppos);
/** Goes back to a position of rtxMarkPos, in a buffer without a look at its bounds; statuses as above. */
QUORVA_API int rtxResetToPos(RtxContext* pctxt, size_t pos);

/** Octets moved through the attached stream; with none the index of the current octet. */
QUORVA_API size_t rtxCtxtGetIOByteCount(RtxContext* pctxt);

/* Name stack. A name outlives its entry; literals are the normal case. */

/** Pushes a name. Returns 0, or RTX_E_NOMEM, which is not recorded. */
QUORVA_API int rtxCtxtPushElemName(RtxContext* pctxt, const char* name);

/** Removes the top and returns its name; null if there is none. */
QUORVA_API const char* rtxCtxtPopElemName(RtxContext* pctxt);

/** Pushes "name[index]", built on the heap. Returns 0 or RTX_E_NOMEM. */
QUORVA_API int rtxCtxtPushArrayElemName(RtxContext* pctxt, const char* name, size_t index);

/** Removes and frees what rtxCtxtPushArrayElemName pushed. True if there was an entry. */
QUORVA_API int rtxCtxtPopArrayElemName(RtxContext* pctxt);

/** Pushes a copy of a name on the heap; `level` stays. 0, or RTX_E_NOMEM, not recorded. */
QUORVA_API int rtxCtxtPushElemNameCopy(RtxContext* pctxt, const char* name);
/** Takes off the top name, which must be such a copy, and frees it; nothing on an empty stack. */
QUORVA_API void rtxCtxtPopElemNameCopy(RtxContext* pctxt);

/** Pushes a name if the stack is empty, so that only the outermost type stands in the path. */
QUORVA_API int rtxCtxtPushTypeName(RtxContext* pctxt, const char* name);

/** Removes an entry if it is the only one. Returns its name or null. */
QUORVA_API const char* rtxCtxtPopTypeName(RtxContext* pctxt);

/* Container stack: where length-delimited elements end. It limits no read by itself. */

/** Opens a container that ends `numocts` octets behind the cursor. 0, or RTX_E_NOMEM recorded. */
QUORVA_API int rtxCtxtPushContainerBytes(RtxContext* pctxt, size_t numocts);
/** The same with its length in bits. */
QUORVA_API int rtxCtxtPushContainerBits(RtxContext* pctxt, size_t nbits);

/** Closes the innermost container. An empty stack is no error. */
QUORVA_API void rtxCtxtPopContainer(RtxContext* pctxt);
/** Closes all containers. */
QUORVA_API void rtxCtxtPopAllContainers(RtxContext* pctxt);

/** Does the cursor stand before the end? Without a container only whole octets of the buffer count. */
QUORVA_API int rtxCtxtContainerHasRemBits(const RtxContext* pctxt);

/** Does the cursor stand exactly at the end? */
QUORVA_API int rtxCtxtContainerEnd(const RtxContext* pctxt);

/** Bits up to the end; negative when the cursor has passed it. */
QUORVA_API int64_t rtxCtxtGetContainerRemBits(const RtxContext* pctxt);

/* Memory of the context. */

/** Option of rtxMemAllocArray2: zero-filled. */
#define RTX_MEM_ZERO 0x80u
/** Option of rtxMemAllocArray2: system memory instead of heap memory. */
#define RTX_MEM_SYSTEM 0x100u

/**
 * Allocates an array.
 * @param count    Number of elements.
 * @param elemSize Octets of one.
 * @param options  RTX_MEM_... bits.
 * @return Null with RTX_E_OVERFLOW on record if the product does not fit a size, or with RTX_E_NOMEM.
 */
QUORVA_API void* rtxMemAllocArray2(RtxContext* pctxt, size_t count, size_t elemSize, uint32_t options);

/**
 * Forgets everything on the heap and gives its memory back to the system. With the heap's records go errors,
 * names, containers, `nasSec` (later security calls give RTX_E_NO_SECURITY until rtx3gppSecInitialize),
 * `bitFields`, and a buffer that the context owns. The capture of the attached stream is emptied, and taken
 * off the stream if its record lies on the heap.
 */
QUORVA_API void rtxMemFree(RtxContext* pctxt);

/**
 * Forgets everything on the heap but keeps its blocks; the step between two messages. What goes is what goes
 * in rtxMemFree, but for the buffer: give the context another one if it has its own on the heap. In
 * particular a protected message after it needs rtx3gppSecInitialize and its keys again. Other contexts on
 * the same heap find their errors and security gone likewise; their own `bitFields` is theirs to clear, and
 * so are names of theirs on the heap (array elements, copies): by rtxErrReset ahead of it.
 */
QUORVA_API void rtxMemReset(RtxContext* pctxt);

/** Frees a list of RtxDynOctStr records on the heap, with nodes, records and octets. */
QUORVA_API void rtxMemFreeOpenSeqExt(RtxContext* pctxt, RtxDList* elements);

QUORVA_END_DECLS

#endif
