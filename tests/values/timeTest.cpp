#include <gtest/gtest.h>

#include <ctime>
#include <string>
#include <vector>

#include "quorva/rtTime.h"
#include "quorva/rtxMemHeap.h"
#include "quorva/rtxStatus.h"
#include "support/context.h"

namespace {

using quorva::test::TestContext;

// As ISO 8601, with all digits of the seconds behind it where there is a fraction.
std::string shown(const RtxDateTime& value) {
   char text[50];
   return rtxDateTimeToString(&value, text, sizeof(text)) == 0 ? text : "invalid";
}

constexpr char kSeconds[] = "seconds is required", kUtcSeconds[] = "seconds required", kZ[] = "must use Z",
               kPoint[] = "must use '.' for fraction", kZeros[] = "trailing zeros in fraction disallowed",
               kMidnight[] = "Must use 00 for midnight";

struct TimeRow {
   const char* text;
   const char* result;             // null: -21
   std::vector<std::string> rules; // canonical ones that it breaks
};

using Reader = int (*)(RtxContext*, const char*, RtxDateTime*);
using Reader2 = int (*)(RtxContext*, const char*, RtxDateTime*, int);

void checkReaders(const TimeRow& row, Reader reader, Reader2 reader2) {
   SCOPED_TRACE(row.text);
   RtxDateTime value;
   {
      TestContext ctxt;
      EXPECT_EQ(row.result ? 0 : RTX_E_BAD_FORMAT, reader2(ctxt, row.text, &value, 1));
      EXPECT_EQ(row.result ? 0u : 1u, rtxErrGetErrorCnt(ctxt));
      EXPECT_TRUE(!row.result || row.result == shown(value)) << shown(value);
   }
   for (const uint32_t flag : {RTX_CTXT_CANON_TIME_1, RTX_CTXT_CANON_TIME_2}) {
      TestContext ctxt;
      rtxCtxtSetFlag(ctxt, flag);
      EXPECT_EQ(row.result ? 0 : RTX_E_BAD_FORMAT, reader(ctxt, row.text, &value));
      if (!row.result) continue;
      EXPECT_EQ(row.rules.empty() ? 0 : RTX_E_BAD_TIME, reader2(ctxt, row.text, &value, 0));
      EXPECT_EQ(0u, rtxErrGetErrorCnt(ctxt));
      EXPECT_EQ(row.rules.empty() ? 0 : RTX_E_BAD_TIME, reader2(ctxt, row.text, &value, 1));
      EXPECT_EQ(row.rules, ctxt.parms());
      EXPECT_EQ(row.rules.size(), rtxErrGetErrorCnt(ctxt));
      EXPECT_EQ(0, rtxErrGetStatus(ctxt)); // non-fatal
      EXPECT_EQ(row.result, shown(value));
   }
}

TEST(GeneralizedTime, Reads) {
   const TimeRow rows[] = {
         {"20240229235930Z", "2024-02-29T23:59:30Z", {}},
         {"20240229235930.125Z", "2024-02-29T23:59:30.125Z", {}},
         {"20240229235930,5Z", "2024-02-29T23:59:30.5Z", {kPoint}},
         {"20240229235930.50Z", "2024-02-29T23:59:30.5Z", {kZeros}},
         {"202402292359Z", "2024-02-29T23:59:00Z", {kSeconds}},
         {"2024022923Z", "2024-02-29T23:00:00Z", {kSeconds}},
         // The fraction is one of the smallest unit.
         {"2024022923.51Z", "2024-02-29T23:30:36Z", {kSeconds}},
         {"202402292359.25Z", "2024-02-29T23:59:15Z", {kSeconds}},
         {"20240229235930", "2024-02-29T23:59:30", {kZ}},
         {"20240229235930,0+0100", "2024-02-29T23:59:30+01:00", {kPoint, kZeros, kZ}},
         {"20240229235930-1359", "2024-02-29T23:59:30-13:59", {kZ}},
         {"20240229235930+00", "2024-02-29T23:59:30Z", {kZ}},
         // A letter in place of the zone means local time, deliberately.
         {"20240229235930.5x", "2024-02-29T23:59:30.5", {kZ}},
         {"20240229235930 anything", "2024-02-29T23:59:30", {kZ}},
         {"20231231240000Z", "2024-01-01T00:00:00Z", {kMidnight}},
         {"2024022824Z", "2024-02-29T00:00:00Z", {kSeconds, kMidnight}},
         {"2023022824Z", "2023-03-01T00:00:00Z", {kSeconds, kMidnight}},
         {"19000228240000Z", "1900-03-01T00:00:00Z", {kMidnight}},
         {"20000228240000Z", "2000-02-29T00:00:00Z", {kMidnight}},
         {"202402282400", "2024-02-29T00:00:00", {kSeconds, kZ, kMidnight}},
   };
   for (const TimeRow& row : rows) checkReaders(row, rtParseGeneralizedTime, rtParseGeneralizedTime2);
   for (const char* refused :
        {"20240228240001Z", "2024022824.1Z", "20230229240000Z", "20230229000000Z", "20241301000000Z",
         "20240101006000Z", "20240101000060Z", "202401010", "", "2024 10100", "20240101000000.Z",
         "20240101000000.", "20240101000000Zx", "20240101000000+1400", "20240101000000+0160",
         "20240101000000+1", "20240101000000+010", "20240101000000+01001"})
      checkReaders({refused, nullptr, {}}, rtParseGeneralizedTime, rtParseGeneralizedTime2);
   // However many nines there are, the second stays below the next one.
   TestContext ctxt;
   RtxDateTime value;
   for (const char* start : {"20240229235959.", "202402292359.", "2024022923."}) {
      EXPECT_EQ(0, rtParseGeneralizedTime(ctxt, (start + std::string(40, '9') + "Z").c_str(), &value))
            << start;
      EXPECT_LT(value.sec, 60) << start;
      EXPECT_EQ(59, value.min) << start;
   }
}

TEST(UTCTime, Reads) {
   const TimeRow rows[] = {
         {"991231235930Z", "1999-12-31T23:59:30Z", {}},
         {"9912312359Z", "1999-12-31T23:59:00Z", {kUtcSeconds}},
         {"4912312359Z", "2049-12-31T23:59:00Z", {kUtcSeconds}},
         {"500101000000Z", "1950-01-01T00:00:00Z", {}},
         {"991231235930+0530", "1999-12-31T23:59:30+05:30", {kZ}},
         {"9912312359-1300", "1999-12-31T23:59:00-13:00", {kUtcSeconds, kZ}},
         {"9912312400Z", "2000-01-01T00:00:00Z", {kUtcSeconds, kMidnight}},
   };
   for (const TimeRow& row : rows) checkReaders(row, rtParseUTCTime, rtParseUTCTime2);
   for (const char* refused :
        {"991231235930", "991231235930x", "991231235930Zx", "991231235930+05", "991231235930+053",
         "991231235930+05300", "991231235930+1400", "991231235930.5Z", "99123123Z", "99123123593Z",
         "990229000000Z", "990228241000Z"})
      checkReaders({refused, nullptr, {}}, rtParseUTCTime, rtParseUTCTime2);
}

using Writer = int (*)(RtxContext*, const RtxDateTime*, char**, size_t);

TEST(AsnTimes, Write) {
   constexpr Writer general = rtMakeGeneralizedTime, utc = rtMakeUTCTime;
   const struct {
      Writer writer;
      RtxDateTime value;
      const char* text; // null: -21
      bool canonical = false;
   } rows[] = {
         {general, {2024, 2, 29, 23, 59, 30, 1, 0}, "20240229235930Z"},
         {general, {2024, 2, 29, 23, 59, 3.5, 0, 0}, "20240229235903.5"},
         {general, {33, 2, 28, 0, 0, 0.000001, 1, -61}, "00330228000000.000001-0101"},
         {general, {33, 2, 28, 0, 0, 0.0000004, 1, 840}, "00330228000000+1400"},
         // A fraction that rounds to 1 comes out as zeros, and adds nothing.
         {general, {33, 2, 28, 0, 0, 7.9999999, 1, 60}, "00330228000007+0100"},
         {general, {2023, 2, 29, 0, 0, 0, 1, 0}, nullptr},
         {general, {-1, 2, 28, 0, 0, 0, 1, 0}, nullptr},
         {general, {10000, 2, 28, 0, 0, 0, 1, 0}, nullptr},
         {utc, {1950, 1, 1, 0, 0, 0, 1, 0}, "5001010000Z"},
         {utc, {1950, 1, 1, 0, 0, 0, 1, 0}, "500101000000Z", true},
         {utc, {2049, 12, 31, 23, 59, 59.9, 1, -90}, "491231235959-0130"},
         {utc, {2050, 1, 1, 0, 0, 0, 1, 0}, nullptr},
         {utc, {1949, 1, 1, 0, 0, 0, 1, 0}, nullptr},
         {utc, {2000, 1, 1, 0, 0, 0, 0, 0}, nullptr},
         {utc, {2000, 1, 32, 0, 0, 0, 1, 0}, nullptr},
   };
   for (const auto& row : rows) {
      SCOPED_TRACE(row.text ? row.text : "none");
      TestContext ctxt;
      if (row.canonical) rtxCtxtSetFlag(ctxt, RTX_CTXT_CANON_TIME_2);
      char* text = nullptr;
      EXPECT_EQ(row.text ? 0 : RTX_E_BAD_FORMAT, row.writer(ctxt, &row.value, &text, 0));
      if (!row.text) continue;
      EXPECT_STREQ(row.text, text);
      std::vector<char> room(strlen(row.text) + 1);
      char* at = room.data();
      EXPECT_EQ(0, row.writer(ctxt, &row.value, &at, room.size()));
      EXPECT_STREQ(row.text, at);
      EXPECT_EQ(RTX_E_TOO_SMALL, row.writer(ctxt, &row.value, &at, room.size() - 1));
      EXPECT_EQ(RTX_E_TOO_SMALL, rtxErrGetStatus(ctxt));
   }
}

// Each day of UTCTime's century, against the C library's calendar.
TEST(AsnTimes, AgreeWithTimegm) {
   TestContext ctxt;
   std::tm first = {}, last = {};
   first.tm_year = 50;
   last.tm_year = 150;
   first.tm_mday = last.tm_mday = 1;
   size_t days = 0;
   for (time_t at = timegm(&first); at < timegm(&last); at += 86400, ++days) {
      const time_t now = at + static_cast<time_t>(days * 7919 % 86400);
      std::tm tm;
      gmtime_r(&now, &tm);
      const RtxDateTime value = {tm.tm_year + 1900,
                                 static_cast<uint8_t>(tm.tm_mon + 1),
                                 static_cast<uint8_t>(tm.tm_mday),
                                 static_cast<uint8_t>(tm.tm_hour),
                                 static_cast<uint8_t>(tm.tm_min),
                                 static_cast<double>(tm.tm_sec),
                                 1,
                                 0};
      char expected[32], room[32];
      char* text = room;
      RtxDateTime again;
      strftime(expected, sizeof(expected), "%Y%m%d%H%M%SZ", &tm);
      ASSERT_EQ(0, rtMakeGeneralizedTime(ctxt, &value, &text, sizeof(room)));
      ASSERT_STREQ(expected, text);
      ASSERT_EQ(0, rtMakeUTCTime(ctxt, &value, &text, sizeof(room)));
      ASSERT_EQ(0, rtParseUTCTime(ctxt, text, &again));
      ASSERT_EQ(shown(value), shown(again));
      // Midnight's other name leads to the next day.
      strftime(expected, sizeof(expected), "%Y%m%d240000Z", &tm);
      ASSERT_EQ(0, rtParseGeneralizedTime(ctxt, expected, &again));
      std::tm next = {};
      next.tm_year = again.year - 1900;
      next.tm_mon = again.mon - 1;
      next.tm_mday = again.day;
      ASSERT_EQ(at + 86400, timegm(&next));
   }
   EXPECT_EQ(36525u, days);
}

TEST(TimeValue, ReadsAndWrites) {
   struct Row {
      const char* text;
      const char* again = nullptr; // what is written; null: the same
      const char* rule = nullptr;  // canonical one that it breaks
   };
   std::vector<Row> rows = {
         {"T23:59", "23:59", nullptr},
         {"2024-W09-4T23:59,25+05:30", "2024-W09-4T23:59.25+05:30", "Must use '.' for decimal point."},
         {"12:30+05:00", "12:30+05", "Timezone difference should not include zero minutes."},
         {"P0Y3D", nullptr, "Duration has a non-smallest unit with a zero value."},
         {"P1DT0,5H", "P1DT0.5H", "Must use '.' for decimal point."},
         {"10:00+01/11:00+01", "10:00+01/11:00", "Duplicate timezone difference must be omitted."},
         // Nothing recurs that does not last.
         {"R5/2024", "2024", nullptr},
         {"R/2024", "2024", nullptr},
   };
   // These come out as they went in: dates and times, durations, intervals.
   for (const char* same :
        {"20C", "2024", "-0044", "+12024-02", "2024-02-29", "2024-366", "2020-W53", "2026-W53-7", "23",
         "23:59:60", "24:00", "12.5", "2024-02-29T23:59:30.050Z", "2024-060T23-13"})
      rows.push_back({same});
   for (const char* same :
        {"P1Y2M3DT4H5M6.7S", "P5W", "PT0S", "P3M", "PT3M", "2024/2025", "2024-02-29T10:00Z/2024-03-01T11:00",
         "2024-02-29T10Z/2024-03-01T11+01", "10:00.25/11:00.75", "2024-02-29/P1M",
         "PT36H/2024-02-29T10:00+02", "R/P1D", "R12/2024/P1Y", "R/2024-01/2024-02"})
      rows.push_back({same});
   for (const Row& row : rows) {
      SCOPED_TRACE(row.text);
      TestContext ctxt;
      RtxTime value;
      ASSERT_EQ(0, rtParseTime(ctxt, row.text, &value, 1));
      char* text;
      ASSERT_EQ(0, rtMakeTime(ctxt, &value, &text, 0));
      EXPECT_STREQ(row.again ? row.again : row.text, text);
      std::vector<char> room(strlen(text) + 1);
      char* at = room.data();
      EXPECT_EQ(0, rtMakeTime(ctxt, &value, &at, room.size()));
      EXPECT_EQ(RTX_E_TOO_SMALL, rtMakeTime(ctxt, &value, &at, room.size() - 1));
      TestContext canonical;
      rtxCtxtSetFlag(canonical, RTX_CTXT_CANON_TIME_1);
      EXPECT_EQ(row.rule ? RTX_E_BAD_TIME : 0, rtParseTime(canonical, row.text, &value, 1));
      EXPECT_EQ(row.rule ? std::vector<std::string>{row.rule} : std::vector<std::string>{},
                canonical.parms());
   }
}

TEST(TimeValue, Refuses) {
   const auto refused = [](const char* input, int status) {
      TestContext ctxt;
      RtxTime value;
      EXPECT_EQ(status, rtParseTime(ctxt, input, &value, 1)) << input;
      EXPECT_EQ(status, rtxErrGetStatus(ctxt)) << input;
   };
   for (const char* date :
        {"", "R", "R5", "R5/", "/", "2", "202", "20240229", "2024-", "2024-13", "2024-2", "2023-02-29",
         "2023-366", "2024-000", "2024-W00", "2021-W53", "2024-W01-8", "2024-W1"})
      refused(date, RTX_E_BAD_FORMAT);
   for (const char* time :
        {"+123", "2024T10", "2024-02T10", "20CT10", "2024-02-29T", "2024-02-29Z", "10:", "25", "24:01",
         "10:60", "10:00:61", "10.Z", "10+14", "10+1", "10+01:", "10+01:60", "10:00x"})
      refused(time, RTX_E_BAD_FORMAT);
   for (const char* duration :
        {"P", "PT", "P1", "P1DT", "P1D1Y", "P1.5D1H", "P1.5DT1H", "P1W1D", "P1Y1W", "P1H", "PT1D", "P1D1D",
         "P1D/P1D", "P1D/", "2024/2025-01", "10/11Z", "10.5/11.25", "2024/2025/2026"})
      refused(duration, RTX_E_BAD_FORMAT);
   for (const char* large : {"P99999999999Y", "+99999999999", "R99999999999/P1D", "10.1234567890123456789"})
      refused(large, RTX_E_OVERFLOW);
   TestContext ctxt;
   char* text;
   RtxTime value = {};
   EXPECT_EQ(RTX_E_BAD_FORMAT, rtMakeTime(ctxt, &value, &text, 0));
   value.first.parts = RTX_TIME_YEAR | RTX_TIME_MONTH;
   value.first.mon = 13;
   EXPECT_EQ(RTX_E_BAD_FORMAT, rtMakeTime(ctxt, &value, &text, 0));
   value.first.mon = 12;
   EXPECT_EQ(0, rtMakeTime(ctxt, &value, &text, 0));
   value.flags = RTX_TIME_START_END | RTX_TIME_DURATION;
   EXPECT_EQ(RTX_E_BAD_FORMAT, rtMakeTime(ctxt, &value, &text, 0));
}

} // namespace
