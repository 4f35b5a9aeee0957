#include "quorva/rtxRand.h"

#include "quorva/rtxMemHeap.h"
#include "quorva/rtxStatus.h"

#include <cstdlib>
#include <cstring>
#include <limits>

namespace {

constexpr char alphanum_str[] = "0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz";
constexpr uint8_t gDaysInMonthRand[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};

// One draw, its low bits mixed into all others.
uint32_t draw() {
   return static_cast<uint32_t>(std::rand()) * 0x7FF8A3EDu + 0x2AA01D31u;
}

uint32_t withoutTopBit(uint32_t number) {
   return number & 0x7FFFFFFFu;
}

// Two draws and a coin, which leaves half of the numbers short.
uint64_t drawWide() {
   const uint32_t low = draw();
   const uint32_t high = draw();
   uint64_t number = withoutTopBit(low);
   if (rtxRandUInt32(nullptr, 0, 1) == 0) number |= uint64_t{withoutTopBit(high)} << 32;
   return number;
}

template <class Number>
Number place(Number number, Number span, Number min) {
   return span == 0 ? number + min : number % span + min;
}

// Numbers from min to max. From the lowest of all the span is one short, so that it is never 0.
template <class Signed, class Unsigned>
Signed signedNumber(Unsigned number, Signed min, Signed max) {
   if (min == max) return max;
   const auto low = static_cast<Unsigned>(min);
   Unsigned span = static_cast<Unsigned>(max) - low;
   if (min != std::numeric_limits<Signed>::min()) ++span;
   return static_cast<Signed>(place(number, span, low));
}

template <class Character>
const char* randomText(RtxContext* pctxt, size_t min, size_t max, const char* charSet, Character character) {
   const size_t length = max == 0 ? 0 : rtxRandSize(pctxt, min, max);
   if (length == 0 || length == SIZE_MAX) return nullptr;
   auto* text = static_cast<char*>(rtxMemHeapAlloc(pctxt, length + 1));
   if (text == nullptr) return nullptr;
   const size_t choices = charSet == nullptr ? 0 : std::strlen(charSet);
   for (size_t i = 0; i < length; ++i)
      text[i] = choices == 0 ? character() : charSet[rtxRandSize(nullptr, 0, choices - 1)];
   text[length] = 0;
   return text;
}

template <class Number, class Range>
int inRanges(Number value, const Range* table, size_t count) {
   int low = 0;
   int high = static_cast<int>(count & 0xFFFF) - 1;
   while (low < high) {
      const int middle = (low + high) / 2;
      if (table[middle].low > value)
         high = middle - 1;
      else if (table[middle].high >= value)
         return 0;
      else
         low = middle + 1;
   }
   return low == high && table[low].low <= value && value <= table[low].high ? 0 : RTX_E_BAD_ENUM;
}

} // namespace

void rtxRandInit(unsigned seed) {
   std::srand(seed);
}

int32_t rtxRandInt32(RtxContext*, int32_t min, int32_t max) {
   return signedNumber(draw(), min, max);
}

int64_t rtxRandInt64(RtxContext*, int64_t min, int64_t max) {
   return signedNumber(drawWide(), min, max);
}

uint32_t rtxRandUInt32(RtxContext*, uint32_t min, uint32_t max) {
   const uint32_t number = draw();
   // The whole range is one short: its span would be 0.
   const uint32_t span = min == 0 && max == UINT32_MAX ? UINT32_MAX : max - min + 1;
   return place(number, span, min);
}

uint64_t rtxRandUInt64(RtxContext*, uint64_t min, uint64_t max) {
   const uint64_t number = drawWide();
   return min == 0 && max == UINT64_MAX ? number : place(number, max - min + 1, min);
}

size_t rtxRandSize(RtxContext* pctxt, size_t min, size_t max) {
   return rtxRandUInt64(pctxt, min, max);
}

double rtxRandFloat(RtxContext*, double min, double max) {
   return min + std::rand() * 4.656612873077393e-10 * (max - min);
}

const char* rtxRandString(RtxContext* pctxt, size_t min, size_t max, const char* charSet) {
   return randomText(pctxt, min, max, charSet,
                     [] { return alphanum_str[rtxRandUInt32(nullptr, 0, sizeof alphanum_str - 2)]; });
}

const char* rtxRandUnicodeString(RtxContext* pctxt, size_t min, size_t max, const char* charSet) {
   return randomText(pctxt, min, max, charSet, [] {
      const bool upper = rtxRandUInt32(nullptr, 0, 1) == 0;
      return static_cast<char>(upper ? rtxRandUInt32(nullptr, 161, 255) : rtxRandUInt32(nullptr, 32, 126));
   });
}

void rtxRandOctetString(RtxContext* pctxt, RtxDynOctStr* pvalue, size_t min, size_t max) {
   if (pvalue == nullptr) return;
   *pvalue = {};
   if (max < 1 || max > UINT32_MAX || min > max) return;
   const size_t count = rtxRandSize(pctxt, min, max);
   if (count == 0) return;
   auto* data = static_cast<uint8_t*>(rtxMemHeapAlloc(pctxt, count));
   if (data == nullptr) return;
   for (size_t i = 0; i < count; ++i) data[i] = static_cast<uint8_t>(rtxRandUInt32(pctxt, 0, 255));
   *pvalue = {static_cast<uint32_t>(count), data};
}

void rtxRandDateTime(RtxContext* pctxt, RtxDateTime* pvalue, uint32_t minYear, uint32_t maxYear) {
   pvalue->year = static_cast<int32_t>(rtxRandUInt32(pctxt, minYear, maxYear));
   pvalue->mon = static_cast<uint8_t>(rtxRandUInt32(pctxt, 1, 12));
   uint32_t days = gDaysInMonthRand[pvalue->mon - 1];
   // February has its 29th in the years that are no leap years.
   if (pvalue->mon == 2 && pvalue->year % 4 != 0) days = 29;
   pvalue->day = static_cast<uint8_t>(rtxRandUInt32(pctxt, 1, days));
   pvalue->hour = static_cast<uint8_t>(rtxRandUInt32(pctxt, 0, 23));
   pvalue->min = static_cast<uint8_t>(rtxRandUInt32(pctxt, 0, 59));
   pvalue->sec = rtxRandFloat(pctxt, 0.0, 59.0);
   pvalue->tz_flag = static_cast<uint8_t>(rtxRandUInt32(pctxt, 0, 1));
   pvalue->tzo = rtxRandInt32(pctxt, -840, 840);
}

int rtxTestNumericEnum(int32_t value, const RtxInt32Range* table, size_t count) {
   return inRanges(value, table, count);
}

int rtxTestNumericEnumU32(uint32_t value, const RtxUInt32Range* table, size_t count) {
   return inRanges(value, table, count);
}

int rtxTestNumericEnum64(int64_t value, const RtxInt64Range* table, size_t count) {
   return inRanges(value, table, count);
}

int rtxTestNumericEnumU64(uint64_t value, const RtxUInt64Range* table, size_t count) {
   return inRanges(value, table, count);
}
