// Type TIME: dates, times of day, durations, intervals and their recurrence in the words of ISO 8601.
#include <charconv>
#include <utility>

#include "runtime/values/timeText.h"

using quorva::TimeReader;

namespace {

constexpr uint32_t pointParts = 0x1FF;
constexpr uint32_t timeParts = RTX_TIME_HOUR | RTX_TIME_MINUTE | RTX_TIME_SECOND;
constexpr uint32_t dateParts =
      RTX_TIME_CENTURY | RTX_TIME_YEAR | RTX_TIME_MONTH | RTX_TIME_WEEK | RTX_TIME_DAY;
constexpr uint32_t maxFracDigits = 18;
// Longer than any text: two parts of up to 90 characters, and a recurrence.
constexpr size_t maxText = 256;

// Weeks of a year by ISO 8601: 53 if it begins on a Thursday, or is a leap year that begins on a Wednesday.
uint32_t weeksOf(int64_t year) {
   const auto leaps = [](int64_t y) {
      const auto floorDiv = [y](int64_t n) { return (y >= 0 ? y : y - n + 1) / n; };
      return floorDiv(4) - floorDiv(100) + floorDiv(400);
   };
   // 0: the last day of the year is a Sunday.
   const auto lastDay = [&leaps](int64_t y) { return ((y + leaps(y)) % 7 + 7) % 7; };
   return lastDay(year) == 4 || lastDay(year - 1) == 3 ? 53 : 52;
}

bool dateIsValid(const RtxTimePart& point) {
   switch (point.parts & dateParts) {
   case 0:
   case RTX_TIME_YEAR: return true;
   case RTX_TIME_CENTURY: return point.year >= 0 && point.year <= 99;
   case RTX_TIME_YEAR | RTX_TIME_MONTH: return point.mon >= 1 && point.mon <= 12;
   case RTX_TIME_YEAR | RTX_TIME_MONTH | RTX_TIME_DAY:
      return point.mon >= 1 && point.mon <= 12 && point.day >= 1 &&
             point.day <= quorva::daysInMonth(point.year, point.mon);
   case RTX_TIME_YEAR | RTX_TIME_DAY:
      return point.day >= 1 && point.day <= 337u + quorva::daysInMonth(point.year, 2);
   case RTX_TIME_YEAR | RTX_TIME_WEEK: return point.week >= 1 && point.week <= weeksOf(point.year);
   case RTX_TIME_YEAR | RTX_TIME_WEEK | RTX_TIME_DAY:
      return point.week >= 1 && point.week <= weeksOf(point.year) && point.day >= 1 && point.day <= 7;
   default: return false;
   }
}

bool fractionIsValid(const RtxTimePart& part) {
   if (!(part.parts & RTX_TIME_FRACTION)) return true;
   if (part.fracDigits < 1 || part.fracDigits > maxFracDigits) return false;
   uint64_t limit = 1;
   for (uint32_t i = 0; i < part.fracDigits; ++i) limit *= 10;
   return part.fraction < limit;
}

// The day ends at 24:00:00, and seconds go to 60 for a leap second.
bool pointIsValid(const RtxTimePart& point, bool zone) {
   const uint32_t time = point.parts & timeParts;
   if ((point.parts & ~pointParts) || (point.parts & pointParts) == 0 || !dateIsValid(point)) return false;
   if (time == 0) return !zone && !(point.parts & RTX_TIME_FRACTION);
   // A time of day needs all of a date or none of it.
   if ((point.parts & dateParts) && !(point.parts & RTX_TIME_DAY)) return false;
   const uint32_t min = time & RTX_TIME_MINUTE ? point.min : 0;
   const uint32_t sec = time & RTX_TIME_SECOND ? point.sec : 0;
   const uint64_t fraction = point.parts & RTX_TIME_FRACTION ? point.fraction : 0;
   if (time != RTX_TIME_HOUR && time != (RTX_TIME_HOUR | RTX_TIME_MINUTE) && time != timeParts) return false;
   if (point.hour > 24 || min > 59 || sec > 60 || !fractionIsValid(point)) return false;
   if (point.hour == 24 && (min != 0 || sec != 0 || fraction != 0)) return false;
   return !zone || (point.tzo >= -14 * 60 && point.tzo <= 14 * 60);
}

bool durationIsValid(const RtxTimePart& duration) {
   const uint32_t parts = duration.parts & ~RTX_TIME_FRACTION;
   if (parts == 0 || (parts & ~(dateParts | timeParts)) || (parts & RTX_TIME_CENTURY) || duration.year < 0)
      return false;
   return (!(parts & RTX_TIME_WEEK) || parts == RTX_TIME_WEEK) && fractionIsValid(duration);
}

// Takes the digits behind the point or comma, if there is one.
int readFraction(TimeReader& text, RtxTimePart& part) {
   if (text.peek() != '.' && text.peek() != ',') return RTX_OK;
   if (text.peek() == ',') text.violation("Must use '.' for decimal point.");
   text.step();
   const size_t count = text.numDigits();
   if (count == 0) return RTX_E_BAD_FORMAT;
   if (count > maxFracDigits) return RTX_E_OVERFLOW;
   part.parts |= RTX_TIME_FRACTION;
   part.fracDigits = static_cast<uint32_t>(count);
   for (; quorva::isDigit(text.peek()); text.step())
      part.fraction = part.fraction * 10 + static_cast<uint64_t>(text.peek() - '0');
   return RTX_OK;
}

// Takes a number of any number of digits.
int readNumber(TimeReader& text, uint32_t& value) {
   if (text.numDigits() == 0) return RTX_E_BAD_FORMAT;
   uint64_t number = 0;
   for (; quorva::isDigit(text.peek()); text.step()) {
      number = number * 10 + static_cast<uint64_t>(text.peek() - '0');
      if (number > INT32_MAX) return RTX_E_OVERFLOW;
   }
   value = static_cast<uint32_t>(number);
   return RTX_OK;
}

int readDate(TimeReader& text, RtxTimePart& point) {
   const bool negative = text.peek() == '-';
   const bool sign = text.skip('-') || text.skip('+');
   if (!sign && text.numDigits() == 2 && text.peek(2) == 'C') {
      text.digits(2, point.year);
      text.step();
      point.parts = RTX_TIME_CENTURY;
      return RTX_OK;
   }
   if (sign ? text.numDigits() < 4 : text.numDigits() != 4) return RTX_E_BAD_FORMAT;
   uint32_t year = 0;
   if (const int status = readNumber(text, year)) return status;
   point.year = negative ? -static_cast<int32_t>(year) : static_cast<int32_t>(year);
   point.parts = RTX_TIME_YEAR;
   if (!text.skip('-')) return RTX_OK;
   if (text.skip('W')) {
      if (!text.digits(2, point.week)) return RTX_E_BAD_FORMAT;
      point.parts |= RTX_TIME_WEEK;
      if (!text.skip('-')) return RTX_OK;
      point.parts |= RTX_TIME_DAY;
      return text.digits(1, point.day) ? RTX_OK : RTX_E_BAD_FORMAT;
   }
   if (text.digits(3, point.day)) {
      point.parts |= RTX_TIME_DAY;
      return RTX_OK;
   }
   if (!text.digits(2, point.mon)) return RTX_E_BAD_FORMAT;
   point.parts |= RTX_TIME_MONTH;
   if (!text.skip('-')) return RTX_OK;
   point.parts |= RTX_TIME_DAY;
   return text.digits(2, point.day) ? RTX_OK : RTX_E_BAD_FORMAT;
}

int readZone(TimeReader& text, RtxTimePart& point, bool& zone) {
   zone = true;
   if (text.skip('Z')) return RTX_OK;
   const bool west = text.peek() == '-';
   if (!text.skip('+') && !text.skip('-')) {
      zone = false;
      return RTX_OK;
   }
   uint32_t hours, minutes = 0;
   if (!text.digits(2, hours) || hours > quorva::maxZoneHours) return RTX_E_BAD_FORMAT;
   if (text.skip(':')) {
      if (!text.digits(2, minutes) || minutes > 59) return RTX_E_BAD_FORMAT;
      if (minutes == 0) text.violation("Timezone difference should not include zero minutes.");
   }
   const auto offset = static_cast<int32_t>(hours * 60 + minutes);
   point.tzo = west ? -offset : offset;
   return RTX_OK;
}

int parsePoint(TimeReader& text, RtxTimePart& point, bool& zone) {
   zone = false;
   const bool timeOnly = text.peek() == 'T' || (text.numDigits() == 2 && text.peek(2) != 'C');
   if (!timeOnly) {
      if (const int status = readDate(text, point)) return status;
   }
   if (text.skip('T') || timeOnly) {
      uint32_t* const fields[] = {&point.hour, &point.min, &point.sec};
      for (unsigned i = 0; i < 3 && (i == 0 || text.skip(':')); ++i) {
         if (!text.digits(2, *fields[i])) return RTX_E_BAD_FORMAT;
         point.parts |= RTX_TIME_HOUR << i;
      }
      if (const int status = readFraction(text, point)) return status;
      if (const int status = readZone(text, point, zone)) return status;
   }
   return pointIsValid(point, zone) ? RTX_OK : RTX_E_BAD_FORMAT;
}

// Units in their order; those from the fourth on stand behind a T.
struct Unit {
   char letter;
   uint32_t part;
   uint32_t RtxTimePart::*member;
};

constexpr Unit units[] = {
      {'M', RTX_TIME_MONTH, &RtxTimePart::mon},  {'W', RTX_TIME_WEEK, &RtxTimePart::week},
      {'D', RTX_TIME_DAY, &RtxTimePart::day},    {'H', RTX_TIME_HOUR, &RtxTimePart::hour},
      {'M', RTX_TIME_MINUTE, &RtxTimePart::min}, {'S', RTX_TIME_SECOND, &RtxTimePart::sec}};
constexpr size_t firstTimeUnit = 3, numUnits = 6;

int parseDuration(TimeReader& text, RtxTimePart& duration) {
   if (!text.skip('P')) return RTX_E_BAD_FORMAT;
   size_t next = 0; // units before this one may not follow any more
   bool zero = false, time = false;
   while (quorva::isDigit(text.peek()) || (!time && text.peek() == 'T')) {
      if (!time && text.skip('T')) {
         time = true;
         next = firstTimeUnit;
      }
      if (duration.parts & RTX_TIME_FRACTION) return RTX_E_BAD_FORMAT;
      if (zero) text.violation("Duration has a non-smallest unit with a zero value.");
      uint32_t number = 0;
      if (const int status = readNumber(text, number)) return status;
      zero = number == 0;
      if (const int status = readFraction(text, duration)) return status;
      if (duration.parts == (duration.parts & RTX_TIME_FRACTION) && !time && text.skip('Y')) {
         duration.year = static_cast<int32_t>(number);
         duration.parts |= RTX_TIME_YEAR;
         continue;
      }
      const size_t end = time ? numUnits : firstTimeUnit;
      while (next < end && units[next].letter != text.peek()) ++next;
      if (next == end) return RTX_E_BAD_FORMAT;
      text.step();
      duration.*units[next].member = number;
      duration.parts |= units[next++].part;
   }
   return durationIsValid(duration) ? RTX_OK : RTX_E_BAD_FORMAT;
}

// The two points of an interval.
int parseEnd(TimeReader& text, RtxTime& value, bool startZone) {
   RtxTimePart& end = value.second;
   bool zone = false;
   if (const int status = parsePoint(text, end, zone)) return status;
   if (end.parts != value.first.parts || end.fracDigits != value.first.fracDigits || (zone && !startZone))
      return RTX_E_BAD_FORMAT;
   if (zone && end.tzo == value.first.tzo) text.violation("Duplicate timezone difference must be omitted.");
   if (!zone) end.tzo = value.first.tzo;
   return RTX_OK;
}

int parseTime(TimeReader& text, RtxTime& value) {
   if (text.skip('R')) {
      if (quorva::isDigit(text.peek())) {
         if (const int status = readNumber(text, value.recurrence)) return status;
      } else {
         value.flags |= RTX_TIME_UNLIMITED;
      }
      if (!text.skip('/')) return RTX_E_BAD_FORMAT;
   }
   bool zone = false;
   if (text.peek() == 'P') {
      if (const int status = parseDuration(text, value.first)) return status;
      if (!text.skip('/')) {
         value.flags |= RTX_TIME_DURATION;
         return RTX_OK;
      }
      if (const int status = parsePoint(text, value.second, zone)) return status;
      value.flags |= RTX_TIME_DURATION_END | value.second.parts;
   } else {
      if (const int status = parsePoint(text, value.first, zone)) return status;
      value.flags |= value.first.parts;
      if (text.skip('/')) {
         const bool duration = text.peek() == 'P';
         const int status = duration ? parseDuration(text, value.second) : parseEnd(text, value, zone);
         if (status != RTX_OK) return status;
         value.flags |= duration ? RTX_TIME_START_DURATION : RTX_TIME_START_END;
      } else {
         // What does not last can't recur.
         value.flags &= ~RTX_TIME_UNLIMITED;
         value.recurrence = 0;
      }
   }
   if (zone) value.flags |= RTX_TIME_ZONE;
   return RTX_OK;
}

char* putNumber(char* at, uint64_t number) {
   return std::to_chars(at, at + 20, number).ptr;
}

char* putFraction(char* at, const RtxTimePart& part) {
   if (!(part.parts & RTX_TIME_FRACTION)) return at;
   *at++ = '.';
   char digits[20];
   const char* end = putNumber(digits, part.fraction);
   const auto length = static_cast<size_t>(end - digits);
   for (size_t i = length; i < part.fracDigits; ++i) *at++ = '0';
   memcpy(at, digits, length);
   return at + length;
}

char* append_point(char* at, const RtxTimePart& point, bool zone) {
   const uint32_t parts = point.parts;
   if (parts & RTX_TIME_CENTURY) {
      at = quorva::putDigits(at, static_cast<uint32_t>(point.year), 2);
      *at++ = 'C';
   } else if (parts & RTX_TIME_YEAR) {
      if (point.year < 0 || point.year > 9999) *at++ = point.year < 0 ? '-' : '+';
      const int64_t year = point.year;
      at = quorva::putDigits(at, static_cast<uint32_t>(year < 0 ? -year : year), 4);
   }
   if (parts & RTX_TIME_MONTH) {
      *at++ = '-';
      at = quorva::putDigits(at, point.mon, 2);
   }
   if (parts & RTX_TIME_WEEK) {
      *at++ = '-';
      *at++ = 'W';
      at = quorva::putDigits(at, point.week, 2);
   }
   if (parts & RTX_TIME_DAY) {
      *at++ = '-';
      at = quorva::putDigits(at, point.day, parts & RTX_TIME_MONTH ? 2 : parts & RTX_TIME_WEEK ? 1 : 3);
   }
   if (!(parts & RTX_TIME_HOUR)) return at;
   if (parts & dateParts) *at++ = 'T';
   at = quorva::putDigits(at, point.hour, 2);
   for (const auto& [part, field] : {std::pair{RTX_TIME_MINUTE, point.min}, {RTX_TIME_SECOND, point.sec}}) {
      if (!(parts & part)) continue;
      *at++ = ':';
      at = quorva::putDigits(at, field, 2);
   }
   at = putFraction(at, point);
   if (!zone) return at;
   at = quorva::putZone(at, point.tzo, ":");
   // Whole hours go without minutes.
   return point.tzo != 0 && point.tzo % 60 == 0 ? at - 3 : at;
}

char* append_duration(char* at, const RtxTimePart& duration) {
   *at++ = 'P';
   uint32_t left = duration.parts & ~RTX_TIME_FRACTION;
   const auto unit = [&](uint32_t part, uint32_t number, char letter) {
      at = putNumber(at, number);
      left &= ~part;
      if (left == 0) at = putFraction(at, duration);
      *at++ = letter;
   };
   if (left & RTX_TIME_YEAR) unit(RTX_TIME_YEAR, static_cast<uint32_t>(duration.year), 'Y');
   for (size_t i = 0; i < numUnits; ++i) {
      if (i == firstTimeUnit && left) *at++ = 'T';
      if (left & units[i].part) unit(units[i].part, duration.*units[i].member, units[i].letter);
   }
   return at;
}

bool timeIsValid(const RtxTime& value, uint32_t kind) {
   const bool zone = value.flags & RTX_TIME_ZONE;
   switch (kind) {
   case 0: return pointIsValid(value.first, zone);
   case RTX_TIME_DURATION: return durationIsValid(value.first);
   case RTX_TIME_START_DURATION: return pointIsValid(value.first, zone) && durationIsValid(value.second);
   case RTX_TIME_DURATION_END: return durationIsValid(value.first) && pointIsValid(value.second, zone);
   case RTX_TIME_START_END:
      return pointIsValid(value.first, zone) && pointIsValid(value.second, zone) &&
             value.first.parts == value.second.parts &&
             (!(value.first.parts & RTX_TIME_FRACTION) || value.first.fracDigits == value.second.fracDigits);
   default: return false;
   }
}

} // namespace

int rtParseTime(RtxContext* pctxt, const char* string, RtxTime* value, int report) {
   if (!string || !value) return quorva::recordFailure(pctxt, RTX_E_BAD_FORMAT);
   *value = {};
   TimeReader text(pctxt, string, report);
   int status = parseTime(text, *value);
   if (status == RTX_OK && !text.end()) status = RTX_E_BAD_FORMAT;
   return status == RTX_OK ? text.success() : text.failure(status);
}

int rtMakeTime(RtxContext* pctxt, const RtxTime* value, char** pText, size_t size) {
   constexpr uint32_t kinds =
         RTX_TIME_START_END | RTX_TIME_DURATION | RTX_TIME_START_DURATION | RTX_TIME_DURATION_END;
   const uint32_t kind = value ? value->flags & kinds : 0;
   if (!value || !pText || !timeIsValid(*value, kind)) return quorva::recordFailure(pctxt, RTX_E_BAD_FORMAT);
   const bool zone = value->flags & RTX_TIME_ZONE;
   char text[maxText];
   char* at = text;
   if (kind != 0 && (value->recurrence != 0 || value->flags & RTX_TIME_UNLIMITED)) {
      *at++ = 'R';
      if (!(value->flags & RTX_TIME_UNLIMITED)) at = putNumber(at, value->recurrence);
      *at++ = '/';
   }
   const bool durationFirst = kind == RTX_TIME_DURATION || kind == RTX_TIME_DURATION_END;
   at = durationFirst ? append_duration(at, value->first) : append_point(at, value->first, zone);
   if (kind != 0 && kind != RTX_TIME_DURATION) {
      *at++ = '/';
      // The end is in the zone of the start unless it says otherwise.
      const bool same = kind == RTX_TIME_START_END && value->first.tzo == value->second.tzo;
      at = kind == RTX_TIME_START_DURATION ? append_duration(at, value->second)
                                           : append_point(at, value->second, zone && !same);
   }
   return quorva::giveTimeText(pctxt, text, at, pText, size);
}
