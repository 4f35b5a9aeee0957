#include "runtime/values/rtxDateTime.h"

#include <charconv>
#include <cmath>
#include <cstdlib>
#include <cstring>

#include "quorva/rtxStatus.h"

namespace quorva {

namespace {

constexpr uint8_t gDaysInMonth[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};

// Zones reach from UTC-12:00 to UTC+14:00.
constexpr int32_t maxOffset = 14 * 60;

bool isLeapYear(int32_t year) {
   return year % 4 == 0 && (year % 100 != 0 || year % 400 == 0);
}

} // namespace

unsigned daysInMonth(int32_t year, unsigned mon) {
   return gDaysInMonth[mon - 1] + (mon == 2 && isLeapYear(year) ? 1u : 0u);
}

void nextDay(RtxDateTime& value) {
   if (++value.day <= daysInMonth(value.year, value.mon)) return;
   value.day = 1;
   if (++value.mon <= 12) return;
   value.mon = 1;
   ++value.year;
}

char* putDigits(char* at, uint32_t value, int digits) {
   char text[10];
   const std::to_chars_result end = std::to_chars(text, text + sizeof(text), value);
   const int length = static_cast<int>(end.ptr - text);
   for (int i = length; i < digits; ++i) *at++ = '0';
   memcpy(at, text, static_cast<size_t>(length));
   return at + length;
}

char* putFraction(char* at, double fraction) {
   if (fraction <= 1e-8) return at;
   char text[16];
   const char* end = std::to_chars(text, text + sizeof(text), fraction, std::chars_format::fixed, 6).ptr;
   while (end[-1] == '0') --end;
   // A fraction that rounds up to 1 is dropped too: the seconds stand there already.
   if (end[-1] == '.') return at;
   memcpy(at, text + 1, static_cast<size_t>(end - text) - 1);
   return at + (end - text) - 1;
}

char* putZone(char* at, int32_t tzo, const char* separator) {
   if (tzo == 0) {
      *at++ = 'Z';
      return at;
   }
   const auto minutes = static_cast<uint32_t>(std::abs(tzo));
   *at++ = tzo < 0 ? '-' : '+';
   at = putDigits(at, minutes / 60, 2);
   while (*separator) *at++ = *separator++;
   return putDigits(at, minutes % 60, 2);
}

} // namespace quorva

int rtxDateTimeIsValid(const RtxDateTime* value) {
   if (!value || value->mon < 1 || value->mon > 12 || value->day < 1) return 0;
   // A comparison with NaN is false.
   return value->day <= quorva::daysInMonth(value->year, value->mon) && value->hour < 24 && value->min < 60 &&
          value->sec >= 0 && value->sec < 60 &&
          (!value->tz_flag || std::abs(static_cast<int64_t>(value->tzo)) <= quorva::maxOffset);
}

int rtxDateTimeToString(const RtxDateTime* value, char* buffer, size_t bufsize) {
   if (!rtxDateTimeIsValid(value)) return RTX_E_BAD_FORMAT;
   char text[quorva::maxTimeText];
   char* at = text;
   if (value->year < 0) *at++ = '-';
   at = quorva::putDigits(at, static_cast<uint32_t>(std::abs(static_cast<int64_t>(value->year))), 4);
   const struct {
      char separator;
      uint32_t value;
   } fields[] = {{'-', value->mon},
                 {'-', value->day},
                 {'T', value->hour},
                 {':', value->min},
                 {':', static_cast<uint32_t>(value->sec)}};
   for (const auto& field : fields) {
      *at++ = field.separator;
      at = quorva::putDigits(at, field.value, 2);
   }
   at = quorva::putFraction(at, value->sec - std::floor(value->sec));
   if (value->tz_flag) at = quorva::putZone(at, value->tzo, ":");
   *at++ = '\0';
   const auto length = static_cast<size_t>(at - text);
   if (!buffer || length > bufsize) return RTX_E_TOO_SMALL;
   memcpy(buffer, text, length);
   return RTX_OK;
}
