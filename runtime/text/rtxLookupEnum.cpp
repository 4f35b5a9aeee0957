#include "quorva/rtxEnum.h"

#include "quorva/rtxStatus.h"
#include "quorva/rtxUTF8.h"

namespace {

struct RowText {
   const char* text;
   size_t length;
};

RowText textOf(const RtxEnumItem& row) {
   return {row.name, row.nameLength};
}
RowText textOf(const RtxBigEnumItem& row) {
   return {row.text, row.textLength};
}

// Order of a row and a text: by octets, the shorter of two that agree first.
int compare(const RowText& row, const char* text, size_t len) {
   const int difference = rtxUTF8Strncmp(row.text, text, len);
   if (difference != 0 || row.length == len) return difference;
   return row.length < len ? -1 : 1;
}

template <typename Row>
int searchText(const char* text, size_t len, const Row* table, size_t count) {
   if (len == SIZE_MAX) len = rtxUTF8LenBytes(text);
   int low = 0;
   int high = static_cast<int>(count & 0xFFFF) - 1;
   while (low < high) {
      const int middle = (low + high) >> 1;
      const int difference = compare(textOf(table[middle]), text, len);
      if (difference == 0) return middle;
      if (difference < 0)
         low = middle + 1;
      else
         high = middle - 1;
   }
   return low == high && compare(textOf(table[low]), text, len) == 0 ? low : RTX_E_BAD_ENUM;
}

template <typename Value>
int searchValue(Value value, const RtxEnumItem* table, size_t count) {
   for (size_t i = 0; i < count; ++i)
      if (static_cast<Value>(table[i].value) == value) return static_cast<int>(i);
   return RTX_E_BAD_ENUM;
}

} // namespace

int rtxLookupEnum(const char* text, size_t len, const RtxEnumItem* table, size_t count) {
   return searchText(text, len, table, count);
}

int rtxLookupEnumU32(const char* text, size_t len, const RtxEnumItem* table, size_t count) {
   return searchText(text, len, table, count);
}

int rtxLookupEnumByValue(int32_t value, const RtxEnumItem* table, size_t count) {
   return searchValue(value, table, count);
}

int rtxLookupEnumU32ByValue(uint32_t value, const RtxEnumItem* table, size_t count) {
   return searchValue(value, table, count);
}

int rtxLookupBigEnum(const char* text, size_t len, const RtxBigEnumItem* table, size_t count) {
   return searchText(text, len, table, count);
}

int rtxLookupBigEnumByValue(const char* text, const RtxBigEnumItem* table, size_t count) {
   if (!text) return RTX_E_BAD_ENUM;
   for (size_t i = 0; i < count; ++i)
      if (rtxUTF8StrEqual(table[i].text, text)) return static_cast<int>(i);
   return RTX_E_BAD_ENUM;
}
