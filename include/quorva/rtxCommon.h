/**
 * @file rtxCommon.h
 * What every public header needs: fixed-width types, export marks, the names of the records.
 */
#ifndef QUORVA_RTXCOMMON_H
#define QUORVA_RTXCOMMON_H

#include <stddef.h>
#include <stdint.h>

#ifdef __cplusplus
#define QUORVA_BEGIN_DECLS extern "C" {
#define QUORVA_END_DECLS }
#else
#define QUORVA_BEGIN_DECLS
#define QUORVA_END_DECLS
#endif

#if defined(__GNUC__)
#define QUORVA_API __attribute__((visibility("default")))
#define QUORVA_PRINTF(fmt, first) __attribute__((format(printf, fmt, first)))
#else
#define QUORVA_API
#define QUORVA_PRINTF(fmt, first)
#endif

typedef struct RtxContext RtxContext;
typedef struct RtxMemHeap RtxMemHeap;
typedef struct RtxMemBuf RtxMemBuf;
typedef struct RtxStream RtxStream;
typedef struct RtxPrintStream RtxPrintStream;
typedef struct RtxNasSecContext RtxNasSecContext;
typedef struct RtxDiagBitField RtxDiagBitField;
typedef struct RtxDiagBitFieldList RtxDiagBitFieldList;

/** Octets whose number is known only when they are decoded: `numocts` octets at `data`, on the heap. */
typedef struct RtxDynOctStr {
   uint32_t numocts;
   const uint8_t* data;
} RtxDynOctStr;

/** As RtxDynOctStr, but counting bits; the first bit is the most significant one of `data[0]`. */
typedef struct RtxDynBitStr {
   uint32_t numbits;
   const uint8_t* data;
} RtxDynBitStr;

#endif
