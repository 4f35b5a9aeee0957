/**
 * @file rtxContext.h
 * The context: buffer, bit cursor, heap, errors, name and container stacks of one piece of work.
 */
#ifndef QUORVA_RTXCONTEXT_H
#define QUORVA_RTXCONTEXT_H

#include "quorva/rtxCommon.h"
#include "quorva/rtxDList.h"
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
#define RTX_CTXT_RAW_TAIL 0x02000000u     /**< An open tail was written; see rtxCtxtClearFlag. */
#define RTX_CTXT_UPLINK 0x04000000u       /**< The message at hand comes from the terminal. */
#define RTX_CTXT_BUFFER_MODE 0x20000000u  /**< Bits go to `bufData` even with a stream attached. */
#define RTX_CTXT_DIAG 0x80000000u         /**< Diagnostics are on for this context. */

/**
 * State of one piece of work; first argument of every operation. Initialise it with rtInitContext,
 * end it with rtFreeContext. A context belongs to one thread at a time.
 */
struct RtxContext {
   RtxMemHeap* memHeap;         /**< First, so that a context pointer is a heap handle. */
   uint8_t* bufData;            /**< Buffer being read or written. */
   size_t bufByteIndex;         /**< Index of the current octet. */
   size_t bufSize;              /**< Encoding: capacity. Decoding: number of valid octets. */
   int16_t bufBitsLeft;         /**< Bits not yet consumed in the current octet: 8 to 1. */
   uint8_t bufDynamic;          /**< The context owns `bufData` and may grow it. */
   uint8_t bufInherited;        /**< Copied from the parent by rtInitSubContext. */
   size_t bufMark;              /**< Index remembered by rtxStreamMark. */
   RtxDList errList;            /**< Recorded errors (RtxErrInfo), oldest first. */
   RtxErrInfo errFixed;         /**< Works with no memory left; holds all error parameters. */
   RtxDListNode errFixedNode;   /**< Node by which `errFixed` joins `errList`. */
   uint32_t magic;              /**< RTX_CTXT_MAGIC while valid. */
   uint32_t flags;              /**< RTX_CTXT_... bits. */
   uint8_t level;               /**< Depth of rtxCtxtPushElemName; wraps silently. */
   uint8_t state;               /**< Cleared by rtxCtxtSetBufPtr. */
   uint8_t diagLevel;           /**< Trace level of the diagnostics. */
   uint8_t lastChar;            /**< Last octet moved by rtxReadBytes and rtxWriteBytes. */
   RtxStream* stream;           /**< Attached stream or null; system memory. */
   RtxPrintStream* printStream; /**< Print registration or null; system memory. */
   RtxDList elemNames;          /**< Element name stack; the top is the tail. */
   RtxDList regexpCache;        /**< Compiled patterns. */
   RtxStack containers;         /**< Open length-delimited containers. */
   void* extension1;            /**< Extension records: the first field of each is a free function. */
   void* extension2;
   void* asn1Info;
   void* extension4;
   void* threadShared;             /**< Copied by rtxInitThreadContext. */
   RtxNasSecContext* nasSec;       /**< NAS security state or null. */
   int (*freeHook)(RtxContext*);   /**< Called last by rtxFreeContext when not null. */
   RtxDiagBitFieldList* bitFields; /**< Trace of the message at hand, or null. */
   uint16_t indent;                /**< Print indent in blanks. */
   uint16_t protocolRelease;       /**< 3GPP release that gates trailing fields; 0 is the newest. */
};

QUORVA_END_DECLS

#endif
