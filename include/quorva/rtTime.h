/**
 * @file rtTime.h
 * Texts of the ASN.1 time types: GeneralizedTime, UTCTime and TIME (X.680 clauses 38, 46 and 47).
 *
 * With RTX_CTXT_CANON_TIME_1 or RTX_CTXT_CANON_TIME_2 set the readers compare a text with the canonical rules
 * of X.690 11.7 and 11.8. A text that breaks one is read all the same: the result is then RTX_E_BAD_TIME, and
 * if `report` is true each rule broken is recorded, non-fatal, with its words as parameter.
 *
 * A writer with a `size` of 0 stores a heap text in `*pText`; otherwise `*pText` points to room for `size`
 * octets. They return 0, or, recorded, RTX_E_BAD_FORMAT for a record that has no such text, RTX_E_TOO_SMALL
 * if the text with its NUL has no room, RTX_E_NOMEM.
 */
#ifndef QUORVA_RTTIME_H
#define QUORVA_RTTIME_H

#include "quorva/rtxDateTime.h"

QUORVA_BEGIN_DECLS

/**
 * Reads `YYYYMMDDHH[MM[SS]][.f][Z|+HH[MM]|-HH[MM]]`. Hour 24 is midnight, the start of the next day. Anything
 * behind the seconds or the fraction that is no zone means local time.
 * @return 0, or RTX_E_BAD_FORMAT, recorded.
 */
QUORVA_API int rtParseGeneralizedTime(RtxContext* pctxt, const char* text, RtxDateTime* value);

/** As rtParseGeneralizedTime; also RTX_E_BAD_TIME. */
QUORVA_API int rtParseGeneralizedTime2(RtxContext* pctxt, const char* text, RtxDateTime* value, int report);

/** Writes GeneralizedTime, with up to six digits of a fraction. */
QUORVA_API int rtMakeGeneralizedTime(RtxContext* pctxt, const RtxDateTime* value, char** pText, size_t size);

/**
 * Reads `YYMMDDhhmm[ss]` and `Z`, `+hhmm` or `-hhmm`. Years under 50 are those from 2000 on.
 * @return 0, or RTX_E_BAD_FORMAT, recorded.
 */
QUORVA_API int rtParseUTCTime(RtxContext* pctxt, const char* text, RtxDateTime* value);

/** As rtParseUTCTime; also RTX_E_BAD_TIME. */
QUORVA_API int rtParseUTCTime2(RtxContext* pctxt, const char* text, RtxDateTime* value, int report);

/** Writes UTCTime; the year must be 1950 to 2049 and the zone known. Seconds of 0 only by canonical rules. */
QUORVA_API int rtMakeUTCTime(RtxContext* pctxt, const RtxDateTime* value, char** pText, size_t size);

/** Parts of a point in time or of a duration. A day is one of the month or the week if those are there. */
#define RTX_TIME_CENTURY 0x001u
#define RTX_TIME_YEAR 0x002u     /**< Year. */
#define RTX_TIME_MONTH 0x004u    /**< Month. */
#define RTX_TIME_WEEK 0x008u     /**< Week. */
#define RTX_TIME_DAY 0x010u      /**< Day. */
#define RTX_TIME_HOUR 0x020u     /**< Hour. */
#define RTX_TIME_MINUTE 0x040u   /**< Minute. */
#define RTX_TIME_SECOND 0x080u   /**< Second. */
#define RTX_TIME_FRACTION 0x100u /**< Of the smallest part. */

/** What a RtxTime is; none of them: a point. */
#define RTX_TIME_ZONE 0x200u            /**< The points have a time zone. */
#define RTX_TIME_START_END 0x400u       /**< Interval of two points. */
#define RTX_TIME_DURATION 0x800u        /**< One duration. */
#define RTX_TIME_START_DURATION 0x1000u /**< Interval of a point and the duration from it on. */
#define RTX_TIME_DURATION_END 0x2000u   /**< Interval of a duration and the point that ends it. */
#define RTX_TIME_UNLIMITED 0x4000u      /**< The interval recurs without end. */

/** A point in time or a duration. */
typedef struct RtxTimePart {
   uint32_t parts;      /**< Which members are in use, RTX_TIME_CENTURY to RTX_TIME_FRACTION. */
   int32_t year;        /**< The century, 0 to 99, if that is the only part. */
   uint32_t mon;        /**< Month, 1 to 12; of a duration how many. */
   uint32_t week;       /**< Week of the year. */
   uint32_t day;        /**< Day of the month or of the week. */
   uint32_t hour;       /**< Hour. */
   uint32_t min;        /**< Minute. */
   uint32_t sec;        /**< Second. */
   uint64_t fraction;   /**< Decimal digits of the fraction as a number. */
   uint32_t fracDigits; /**< How many there are, 1 to 18. */
   int32_t tzo;         /**< Of a point with a zone: offset from UTC in minutes, east positive. */
} RtxTimePart;

/** Value of type TIME. */
typedef struct RtxTime {
   uint32_t flags; /**< RTX_TIME_ZONE to RTX_TIME_UNLIMITED; the parts of its points in the low nine bits. */
   RtxTimePart first;   /**< The point, the start, or the duration that stands first. */
   RtxTimePart second;  /**< The end, or the duration that stands second. */
   uint32_t recurrence; /**< How often the interval recurs; 0: not at all, or without end by the flag. */
} RtxTime;

/**
 * Reads ISO 8601 text of type TIME: a date (`20C`, `2024`, `2024-02`, `2024-02-29`, `2024-060`, `2024-W09`,
 * `2024-W09-4`), a time of day (`23`, `23:59`, `23:59:30.5`), both with a T between, a duration
 * (`P1Y2M3DT4H5M6.7S`, `P5W`), an interval of two of these, and that with its recurrence (`R3/`, `R/`).
 * @return 0, RTX_E_BAD_TIME, or, recorded, RTX_E_BAD_FORMAT, RTX_E_OVERFLOW for a number above 31 bits or a
 * fraction of more than 18 digits.
 */
QUORVA_API int rtParseTime(RtxContext* pctxt, const char* text, RtxTime* value, int report);

/** Writes what rtParseTime reads; an end in the zone of its start is written without it. */
QUORVA_API int rtMakeTime(RtxContext* pctxt, const RtxTime* value, char** pText, size_t size);

QUORVA_END_DECLS

#endif
