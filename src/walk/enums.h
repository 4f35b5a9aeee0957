// The look-ups of one enumeration, over its table.
#pragma once

#include "quorva/rtxEnum.h"
#include "quorva/rtxStatus.h"
#include "quorva/rtxUTF8.h"

namespace quorva::walk {

// Text of a value outside the table.
constexpr char kUnknown[] = "_UNKNOWN_";

// Name of a value in a table without gaps, whose smallest value is `min`: no search.
template <uint32_t min, size_t rows>
const char* directName(const RtxEnumItem (&table)[rows], int32_t value) {
   const uint32_t place = static_cast<uint32_t>(value) - min;
   return place < rows ? table[table[place].valueOrder].name : kUnknown;
}

// Name of a value in a table with gaps.
template <size_t rows>
const char* searchedName(const RtxEnumItem (&table)[rows], int32_t value) {
   const int row = rtxLookupEnumByValue(value, table, rows);
   return row < 0 ? kUnknown : table[row].name;
}

// Value of a name, or RTX_E_BAD_ENUM with the target left alone.
template <size_t rows, class Value>
int toEnum(const RtxEnumItem (&table)[rows], const char* text, size_t nbytes, Value* pvalue) {
   const int row = rtxLookupEnum(text, nbytes, table, rows);
   if (row < 0) return RTX_E_BAD_ENUM;
   *pvalue = static_cast<Value>(table[row].value);
   return 0;
}

// Row of a value by the table's second index; null if there is none.
inline const RtxEnumItem* findValue(const RtxEnumItem* table, size_t rows, uint32_t value) {
   size_t low = 0, high = rows;
   while (low < high) {
      const size_t middle = (low + high) / 2;
      const RtxEnumItem& row = table[table[middle].valueOrder];
      const uint32_t there = static_cast<uint32_t>(row.value);
      if (there == value) return &row;
      if (there < value)
         low = middle + 1;
      else
         high = middle;
   }
   return nullptr;
}

} // namespace quorva::walk
