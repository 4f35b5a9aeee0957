/**
 * @file rtxDateTime.h
 * Dates with times of day, by the proleptic Gregorian calendar.
 */
#ifndef QUORVA_RTXDATETIME_H
#define QUORVA_RTXDATETIME_H

#include "quorva/rtxTypes.h"

QUORVA_BEGIN_DECLS

/** True if each field is within its limits and the month has the day; a known zone is up to 14 hours off. */
QUORVA_API int rtxDateTimeIsValid(const RtxDateTime* value);

/**
 * Writes ISO 8601's extended form, `2024-02-29T23:59:30.5+01:00`: up to six digits of a fraction and no zeros
 * at its end, Z for an offset of 0, nothing for an unknown zone, a minus before a negative year.
 * @param buffer   Receives the text with its NUL.
 * @param bufsize  Room at `buffer` in octets; 50 are enough.
 * @return 0, RTX_E_BAD_FORMAT for null or an invalid record, RTX_E_TOO_SMALL; none is recorded.
 */
QUORVA_API int rtxDateTimeToString(const RtxDateTime* value, char* buffer, size_t bufsize);

QUORVA_END_DECLS

#endif
