/**
 * @file rtxEnum.h
 * Tables of enumerations and the look-ups over them. They allocate nothing and record nothing.
 */
#ifndef QUORVA_RTXENUM_H
#define QUORVA_RTXENUM_H

#include "quorva/rtxCommon.h"

QUORVA_BEGIN_DECLS

/** One row of a table; the rows stand in the order of the octets of their names. */
typedef struct RtxEnumItem {
   const char* name;    /**< Name of the value, UTF-8. */
   int32_t value;       /**< The value; no two rows have the same. */
   uint16_t nameLength; /**< Octets of `name`. */
   uint16_t valueOrder; /**< The k-th row holds here the index of the row with the k-th smallest value. */
} RtxEnumItem;

/** One row of a table that has texts on both sides, in the order of their octets. */
typedef struct RtxBigEnumItem {
   const char* text;    /**< UTF-8. */
   uint64_t extra;      /**< For the table's owner; no look-up reads it. */
   uint16_t textLength; /**< Octets of `text`. */
} RtxBigEnumItem;

/**
 * Searches a table by name, in a logarithmic number of steps.
 * @param text   The name.
 * @param len    Its length in octets; SIZE_MAX: it ends at its NUL.
 * @param count  Number of rows, below 65536.
 * @return Index of the row, or RTX_E_BAD_ENUM.
 */
QUORVA_API int rtxLookupEnum(const char* text, size_t len, const RtxEnumItem* table, size_t count);

/** As rtxLookupEnum, for a table whose values are read as unsigned. */
QUORVA_API int rtxLookupEnumU32(const char* text, size_t len, const RtxEnumItem* table, size_t count);

/** Searches a table by value, row by row. Index of the row, or RTX_E_BAD_ENUM. */
QUORVA_API int rtxLookupEnumByValue(int32_t value, const RtxEnumItem* table, size_t count);
/** As rtxLookupEnumByValue, with values read as unsigned. */
QUORVA_API int rtxLookupEnumU32ByValue(uint32_t value, const RtxEnumItem* table, size_t count);

/** As rtxLookupEnum. */
QUORVA_API int rtxLookupBigEnum(const char* text, size_t len, const RtxBigEnumItem* table, size_t count);

/** First row with this text, in whatever order they stand. Its index, or RTX_E_BAD_ENUM. */
QUORVA_API int rtxLookupBigEnumByValue(const char* text, const RtxBigEnumItem* table, size_t count);

QUORVA_END_DECLS

#endif
