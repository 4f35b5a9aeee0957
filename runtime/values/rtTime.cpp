// GeneralizedTime and UTCTime.
#include <cmath>
#include <initializer_list>

#include "runtime/values/timeText.h"

using quorva::TimeReader;

namespace {

constexpr char needsZ[] = "must use Z";

// The largest value below `limit` at most.
double below(double value, double limit) {
   return value < limit ? value : std::nextafter(limit, 0.0);
}

// Takes a fraction, always below 1 however many nines there are. False if it has no digits.
bool readFraction(TimeReader& text, double& fraction) {
   if (text.peek() == ',') text.violation("must use '.' for fraction");
   text.step();
   if (text.numDigits() == 0) return false;
   char last = '0';
   for (double place = 0.1; quorva::isDigit(text.peek()); place /= 10) {
      last = text.peek();
      fraction += (last - '0') * place;
      text.step();
   }
   fraction = below(fraction, 1);
   if (last == '0') text.violation("trailing zeros in fraction disallowed");
   return true;
}

// Takes a sign, hours and minutes, up to the end of the text.
bool readOffset(TimeReader& text, bool minutesOptional, RtxDateTime& value) {
   const bool west = text.peek() == '-';
   text.step();
   uint32_t hours, minutes = 0;
   if (!text.digits(2, hours) || hours > quorva::maxZoneHours) return false;
   if (!text.digits(2, minutes) && !minutesOptional) return false;
   if (minutes > 59 || !text.end()) return false;
   text.violation(needsZ);
   const auto offset = static_cast<int32_t>(hours * 60 + minutes);
   value.tz_flag = 1;
   value.tzo = west ? -offset : offset;
   return true;
}

int finish(TimeReader& text, RtxDateTime& value) {
   const bool midnight = value.hour == 24 && value.min == 0 && value.sec == 0;
   if (midnight) {
      text.violation("Must use 00 for midnight");
      value.hour = 0;
   }
   if (!rtxDateTimeIsValid(&value)) return text.failure();
   if (midnight) quorva::nextDay(value);
   return text.success();
}

// The zone is as of a valid record; the seconds have been written as far as they go.
int give(RtxContext* pctxt, const RtxDateTime* value, char* text, char* at, char** pText, size_t size) {
   if (value->tz_flag) at = quorva::putZone(at, value->tzo, "");
   return quorva::giveTimeText(pctxt, text, at, pText, size);
}

char* putFields(char* at, std::initializer_list<uint32_t> fields) {
   for (const uint32_t field : fields) at = quorva::putDigits(at, field, 2);
   return at;
}

int withoutRules(int status) {
   return status == RTX_E_BAD_TIME ? RTX_OK : status;
}

} // namespace

int rtParseGeneralizedTime2(RtxContext* pctxt, const char* string, RtxDateTime* value, int report) {
   if (!string || !value) return quorva::recordFailure(pctxt, RTX_E_BAD_FORMAT);
   TimeReader text(pctxt, string, report);
   *value = {};
   if (!text.digits(4, value->year) || !text.digits(2, value->mon) || !text.digits(2, value->day) ||
       !text.digits(2, value->hour))
      return text.failure();
   const bool minutes = text.digits(2, value->min);
   uint32_t whole = 0;
   const bool seconds = minutes && text.digits(2, whole);
   if (!seconds) text.violation("seconds is required");
   value->sec = whole;
   if (text.peek() == '.' || text.peek() == ',') {
      double fraction = 0;
      if (!readFraction(text, fraction)) return text.failure();
      // It is one of the smallest unit given.
      if (!minutes) {
         fraction *= 60;
         value->min = static_cast<uint8_t>(fraction);
         fraction -= value->min;
      }
      value->sec = seconds ? below(whole + fraction, whole + 1.0) : fraction * 60;
   }
   if (text.skip('Z')) {
      if (!text.end()) return text.failure();
      value->tz_flag = 1;
   } else if (text.peek() == '+' || text.peek() == '-') {
      if (!readOffset(text, true, *value)) return text.failure();
   } else {
      // Local time, whatever stands there.
      text.violation(needsZ);
   }
   return finish(text, *value);
}

int rtParseGeneralizedTime(RtxContext* pctxt, const char* text, RtxDateTime* value) {
   return withoutRules(rtParseGeneralizedTime2(pctxt, text, value, 0));
}

int rtMakeGeneralizedTime(RtxContext* pctxt, const RtxDateTime* value, char** pText, size_t size) {
   if (!pText || !rtxDateTimeIsValid(value) || value->year < 0 || value->year > 9999)
      return quorva::recordFailure(pctxt, RTX_E_BAD_FORMAT);
   char text[quorva::maxTimeText];
   const double whole = std::floor(value->sec);
   char* at = quorva::putDigits(text, static_cast<uint32_t>(value->year), 4);
   at = putFields(at, {value->mon, value->day, value->hour, value->min, static_cast<uint32_t>(whole)});
   at = quorva::putFraction(at, value->sec - whole);
   return give(pctxt, value, text, at, pText, size);
}

int rtParseUTCTime2(RtxContext* pctxt, const char* string, RtxDateTime* value, int report) {
   if (!string || !value) return quorva::recordFailure(pctxt, RTX_E_BAD_FORMAT);
   TimeReader text(pctxt, string, report);
   *value = {};
   if (!text.digits(2, value->year) || !text.digits(2, value->mon) || !text.digits(2, value->day) ||
       !text.digits(2, value->hour) || !text.digits(2, value->min))
      return text.failure();
   value->year += value->year < 50 ? 2000 : 1900;
   if (!text.digits(2, value->sec)) text.violation("seconds required");
   if (text.skip('Z')) {
      if (!text.end()) return text.failure();
      value->tz_flag = 1;
   } else if ((text.peek() != '+' && text.peek() != '-') || !readOffset(text, false, *value)) {
      return text.failure();
   }
   return finish(text, *value);
}

int rtParseUTCTime(RtxContext* pctxt, const char* text, RtxDateTime* value) {
   return withoutRules(rtParseUTCTime2(pctxt, text, value, 0));
}

int rtMakeUTCTime(RtxContext* pctxt, const RtxDateTime* value, char** pText, size_t size) {
   if (!pText || !rtxDateTimeIsValid(value) || value->year < 1950 || value->year > 2049 || !value->tz_flag)
      return quorva::recordFailure(pctxt, RTX_E_BAD_FORMAT);
   char text[quorva::maxTimeText];
   const auto seconds = static_cast<uint32_t>(value->sec);
   char* at = putFields(
         text, {static_cast<uint32_t>(value->year % 100), value->mon, value->day, value->hour, value->min});
   if (seconds != 0 || quorva::canonicalTimes(pctxt)) at = putFields(at, {seconds});
   return give(pctxt, value, text, at, pText, size);
}
