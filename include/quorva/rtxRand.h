/**
 * @file rtxRand.h
 * Pseudo-random values for tests, and the test whether a number is in a table of ranges.
 *
 * The numbers come from the C library's `rand`, whose state the whole process shares: they are no secret and
 * no source of keys. A range whose span does not fit its type, the highest value one below the lowest, counts
 * as the whole range. Contexts are needed for what lies on the heap, and are ignored otherwise.
 */
#ifndef QUORVA_RTXRAND_H
#define QUORVA_RTXRAND_H

#include "quorva/rtxContext.h"
#include "quorva/rtxTypes.h"

QUORVA_BEGIN_DECLS

/** Seeds the numbers that follow; the same seed gives the same ones. */
QUORVA_API void rtxRandInit(unsigned seed);

/** A number from `min` to `max`. If `min` is the lowest number of all and not `max`, `max` never comes. */
QUORVA_API int32_t rtxRandInt32(RtxContext* pctxt, int32_t min, int32_t max);
/** The same with 64 bits. What is drawn has bits 31 and 63 clear: a range above 2^31 may have gaps. */
QUORVA_API int64_t rtxRandInt64(RtxContext* pctxt, int64_t min, int64_t max);

/** A number from `min` to `max`. From 0 to the highest of all, that one never comes. */
QUORVA_API uint32_t rtxRandUInt32(RtxContext* pctxt, uint32_t min, uint32_t max);
/** A number from `min` to `max`, with gaps as of rtxRandInt64. */
QUORVA_API uint64_t rtxRandUInt64(RtxContext* pctxt, uint64_t min, uint64_t max);
/** As rtxRandUInt64. */
QUORVA_API size_t rtxRandSize(RtxContext* pctxt, size_t min, size_t max);

/** A number from `min` to `max`. */
QUORVA_API double rtxRandFloat(RtxContext* pctxt, double min, double max);

/**
 * A text of `min` to `max` characters on the context's heap.
 * @param charSet  Characters to choose from; null or empty: digits and letters.
 * @return The text; null for no characters and if memory is exhausted.
 */
QUORVA_API const char* rtxRandString(RtxContext* pctxt, size_t min, size_t max, const char* charSet);

/** As rtxRandString; without a character set from 32 to 126 and 161 to 255 of ISO 8859-1. */
QUORVA_API const char* rtxRandUnicodeString(RtxContext* pctxt, size_t min, size_t max, const char* charSet);

/**
 * Octets on the context's heap.
 * @param pvalue  Receives `min` to `max` octets; empty if the bounds hold no count of 32 bits above 0, or
 *                memory is exhausted. Null: nothing happens.
 */
QUORVA_API void rtxRandOctetString(RtxContext* pctxt, RtxDynOctStr* pvalue, size_t min, size_t max);

/** A date and time in the years `minYear` to `maxYear`, each field drawn by itself. */
QUORVA_API void rtxRandDateTime(RtxContext* pctxt, RtxDateTime* pvalue, uint32_t minYear, uint32_t maxYear);

/** Numbers from `low` to `high`, both included. */
typedef struct RtxInt32Range {
   int32_t low;  /**< The lowest. */
   int32_t high; /**< The highest. */
} RtxInt32Range;
/** As RtxInt32Range. */
typedef struct RtxUInt32Range {
   uint32_t low;  /**< The lowest. */
   uint32_t high; /**< The highest. */
} RtxUInt32Range;
/** As RtxInt32Range. */
typedef struct RtxInt64Range {
   int64_t low;  /**< The lowest. */
   int64_t high; /**< The highest. */
} RtxInt64Range;
/** As RtxInt32Range. */
typedef struct RtxUInt64Range {
   uint64_t low;  /**< The lowest. */
   uint64_t high; /**< The highest. */
} RtxUInt64Range;

/**
 * Is a number in one of the ranges?
 * @param table  The ranges, in ascending order.
 * @param count  Their number, of which the low 16 bits count.
 * @return 0, or RTX_E_BAD_ENUM.
 */
QUORVA_API int rtxTestNumericEnum(int32_t value, const RtxInt32Range* table, size_t count);
/** As rtxTestNumericEnum, for unsigned numbers. */
QUORVA_API int rtxTestNumericEnumU32(uint32_t value, const RtxUInt32Range* table, size_t count);
/** As rtxTestNumericEnum, for numbers of 64 bits. */
QUORVA_API int rtxTestNumericEnum64(int64_t value, const RtxInt64Range* table, size_t count);
/** As rtxTestNumericEnum, for unsigned numbers of 64 bits. */
QUORVA_API int rtxTestNumericEnumU64(uint64_t value, const RtxUInt64Range* table, size_t count);

QUORVA_END_DECLS

#endif
