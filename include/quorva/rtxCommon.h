/**
 * @file rtxCommon.h
 * What every public header needs: fixed-width types, export marks, the names of the records.
 */
#ifndef QUORVA_RTXCOMMON_H
#define QUORVA_RTXCOMMON_H

#include <stddef.h>
#include <stdint.h>

#ifdef __cplusplus
/** Stands ahead of declarations of C, for compilers of C++; QUORVA_END_DECLS behind them. */
#define QUORVA_BEGIN_DECLS extern "C" {
#define QUORVA_END_DECLS } /**< See QUORVA_BEGIN_DECLS. */
#else
#define QUORVA_BEGIN_DECLS
#define QUORVA_END_DECLS
#endif

#if defined(__GNUC__)
/** Marks what the library exports. */
#define QUORVA_API __attribute__((visibility("default")))
/** Has the compiler hold the arguments from `first` on against the format `fmt`, as of printf. */
#define QUORVA_PRINTF(fmt, first) __attribute__((format(printf, fmt, first)))
#else
#define QUORVA_API
#define QUORVA_PRINTF(fmt, first)
#endif

typedef struct RtxContext RtxContext;                   /**< State of one piece of work, rtxContext.h. */
typedef struct RtxMemHeap RtxMemHeap;                   /**< A heap, rtxMemHeap.h. */
typedef struct RtxMemBuf RtxMemBuf;                     /**< Octets that grow, rtxMemBuf.h. */
typedef struct RtxStream RtxStream;                     /**< A source or a sink of octets, rtxStream.h. */
typedef struct RtxPrintStream RtxPrintStream;           /**< Where printed text goes, rtxPrintToStream.h. */
typedef struct RtxNasSecContext RtxNasSecContext;       /**< State of NAS security, rt3gppNasSec.h. */
typedef struct RtxDiagBitField RtxDiagBitField;         /**< A field of the bit trace, rtxDiag.h. */
typedef struct RtxDiagBitFieldList RtxDiagBitFieldList; /**< The bit trace of a message, rtxDiag.h. */

/** Octets whose number is known only when they are decoded: `numocts` octets at `data`, on the heap. */
typedef struct RtxDynOctStr {
   uint32_t numocts;    /**< How many. */
   const uint8_t* data; /**< The octets. */
} RtxDynOctStr;

/** As RtxDynOctStr, but counting bits; the first bit is the most significant one of `data[0]`. */
typedef struct RtxDynBitStr {
   uint32_t numbits;    /**< How many. */
   const uint8_t* data; /**< The bits; unused ones of the last octet have any value. */
} RtxDynBitStr;

#endif
