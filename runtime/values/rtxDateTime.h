/**
 * @file rtxDateTime.h
 * The calendar.
 */
#ifndef QUORVA_RUNTIME_VALUES_RTXDATETIME_H
#define QUORVA_RUNTIME_VALUES_RTXDATETIME_H

#include "quorva/rtxDateTime.h"

namespace quorva {

/** Days of a month, 1 to 12, of a year. */
unsigned daysInMonth(int32_t year, unsigned mon);

/** Moves a valid date on by one day. */
void nextDay(RtxDateTime& value);

/** Longest text of any date here, with its NUL. */
constexpr size_t maxTimeText = 50;

/** Writes a number of at least so many digits; returns its end. */
char* putDigits(char* at, uint32_t value, int digits);

/** Writes "." and up to six digits of a fraction, rounded, with no zeros at the end; nothing if none is left.
 */
char* putFraction(char* at, double fraction);

/** Writes Z for an offset of 0, otherwise the sign, hours and minutes with a separator, which may be empty.
 */
char* putZone(char* at, int32_t tzo, const char* separator);

} // namespace quorva

#endif
