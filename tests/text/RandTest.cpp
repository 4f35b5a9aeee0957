// Pseudo-random values and tables of ranges.

#include "quorva/rtxRand.h"
#include "quorva/rtxStatus.h"
#include "support/capture.h"

#include <cstdlib>
#include <cstring>
#include <gtest/gtest.h>

namespace {

using quorva_test::Capture;

// The draw that the functions begin with, made from the same state of `rand`.
uint32_t nextDraw(unsigned seed, int skipped = 0) {
   rtxRandInit(seed);
   for (int i = 0; i < skipped; ++i) (void)std::rand();
   return static_cast<uint32_t>(std::rand()) * 0x7FF8A3EDu + 0x2AA01D31u;
}

TEST(Rand, NumbersAreTheDrawWithinTheSpan) {
   for (unsigned seed = 1; seed < 200; ++seed) {
      const uint32_t x = nextDraw(seed);
      const auto drawn = [seed](auto function, auto min, auto max) {
         rtxRandInit(seed);
         return function(nullptr, min, max);
      };
      EXPECT_EQ(drawn(rtxRandUInt32, 10u, 19u), x % 10 + 10);
      EXPECT_EQ(drawn(rtxRandInt32, -5, 4), static_cast<int32_t>(x % 10) - 5);
      // The span is one short at the ends of the range.
      EXPECT_EQ(drawn(rtxRandUInt32, 0u, UINT32_MAX), x % UINT32_MAX);
      EXPECT_EQ(drawn(rtxRandInt32, INT32_MIN, INT32_MIN + 2), static_cast<int32_t>(x % 2 + 0x80000000u));
      // Wide numbers: two draws, and a coin for the upper half.
      const uint32_t high = nextDraw(seed, 1), coin = nextDraw(seed, 2) % 2;
      const uint64_t wide = (x & 0x7FFFFFFFu) | (coin == 0 ? uint64_t{high & 0x7FFFFFFFu} << 32 : 0);
      EXPECT_EQ(drawn(rtxRandUInt64, 0u, UINT64_MAX), wide);
      EXPECT_EQ(drawn(rtxRandUInt64, 100u, 1000u), wide % 901 + 100);
      EXPECT_EQ(drawn(rtxRandInt64, INT64_MIN, INT64_MAX),
                static_cast<int64_t>(wide % UINT64_MAX + (uint64_t{1} << 63)));
      const double number = drawn(rtxRandFloat, -2, 2);
      EXPECT_TRUE(number >= -2 && number <= 2);
   }
}

TEST(Rand, OneValueCostsADrawToo) {
   rtxRandInit(7);
   (void)std::rand();
   const int second = std::rand();
   rtxRandInit(7);
   EXPECT_EQ(rtxRandInt32(nullptr, 5, 5), 5);
   EXPECT_EQ(std::rand(), second);
   EXPECT_EQ(rtxRandInt64(nullptr, -3, -3), -3);
}

TEST(Rand, TextsAndOctets) {
   Capture capture;
   RtxContext* ctxt = &capture.ctxt;
   rtxRandInit(1);
   bool upper = false, lower = false;
   for (int i = 0; i < 100; ++i) {
      const char* text = rtxRandString(ctxt, 3, 9, nullptr);
      ASSERT_NE(text, nullptr);
      EXPECT_TRUE(strlen(text) >= 3 && strlen(text) <= 9);
      for (const char* c = text; *c != 0; ++c) EXPECT_TRUE(isalnum(static_cast<unsigned char>(*c)));
      EXPECT_EQ(strspn(rtxRandString(ctxt, 5, 5, "ab"), "ab"), 5u);
      for (const char* c = rtxRandUnicodeString(ctxt, 8, 8, ""); *c != 0; ++c) {
         const auto octet = static_cast<uint8_t>(*c);
         EXPECT_TRUE((octet >= 32 && octet <= 126) || octet >= 161) << int{octet};
         (octet >= 161 ? upper : lower) = true;
      }
      RtxDynOctStr octets;
      rtxRandOctetString(ctxt, &octets, 1, 4);
      EXPECT_TRUE(octets.numocts >= 1 && octets.numocts <= 4 && octets.data != nullptr);
   }
   EXPECT_TRUE(upper && lower);
   EXPECT_EQ(rtxRandString(ctxt, 5, 0, nullptr), nullptr);
   EXPECT_EQ(rtxRandString(ctxt, 0, 0, "x"), nullptr);
   EXPECT_EQ(rtxRandString(ctxt, SIZE_MAX - 1, SIZE_MAX, nullptr), nullptr);
   for (auto [min, max] : {std::pair<size_t, size_t>{0, 0}, {5, 4}, {1, size_t{1} << 32}}) {
      RtxDynOctStr octets = {9, reinterpret_cast<const uint8_t*>("x")};
      rtxRandOctetString(ctxt, &octets, min, max);
      EXPECT_EQ(octets.numocts, 0u);
      EXPECT_EQ(octets.data, nullptr);
   }
   rtxRandOctetString(ctxt, nullptr, 1, 2);
}

TEST(Rand, FebruaryHasItsLastDayInTheWrongYears) {
   rtxRandInit(3);
   uint8_t last[2] = {0, 0};
   for (int i = 0; i < 20000; ++i) {
      RtxDateTime time;
      rtxRandDateTime(nullptr, &time, 2000, 2001);
      ASSERT_TRUE(time.year == 2000 || time.year == 2001);
      ASSERT_TRUE(time.mon >= 1 && time.mon <= 12 && time.day >= 1 && time.day <= 31);
      ASSERT_TRUE(time.hour < 24 && time.min < 60 && time.sec >= 0 && time.sec <= 59);
      ASSERT_TRUE(time.tz_flag <= 1 && time.tzo >= -840 && time.tzo <= 840);
      if (time.mon == 2) last[time.year - 2000] = std::max(last[time.year - 2000], time.day);
      if (time.mon == 4) {
         ASSERT_LE(time.day, 30);
      }
   }
   EXPECT_EQ(last[0], 28); // a leap year
   EXPECT_EQ(last[1], 29); // and none
}

TEST(NumericEnum, RangesWithBothEnds) {
   const RtxInt32Range ranges[] = {{INT32_MIN, -10}, {-3, -3}, {0, 5}, {7, 9}, {100, INT32_MAX}};
   for (size_t count = 1; count <= 5; ++count)
      for (int32_t value :
           {INT32_MIN, -11, -10, -9, -4, -3, -2, -1, 0, 1, 5, 6, 7, 9, 10, 99, 100, INT32_MAX}) {
         int expected = RTX_E_BAD_ENUM;
         for (size_t i = 0; i < count; ++i)
            if (value >= ranges[i].low && value <= ranges[i].high) expected = 0;
         EXPECT_EQ(rtxTestNumericEnum(value, ranges, count), expected) << count << " " << value;
      }
   EXPECT_EQ(rtxTestNumericEnum(0, nullptr, 0), RTX_E_BAD_ENUM);
   EXPECT_EQ(rtxTestNumericEnum(0, nullptr, 0x10000), RTX_E_BAD_ENUM); // 16 bits of the count count
   const RtxUInt32Range unsignedRanges[] = {{1, 2}, {0x80000000u, UINT32_MAX}};
   EXPECT_EQ(rtxTestNumericEnumU32(0xFFFFFFF0u, unsignedRanges, 2), 0);
   EXPECT_EQ(rtxTestNumericEnumU32(3, unsignedRanges, 2), RTX_E_BAD_ENUM);
   const RtxInt64Range wide[] = {{INT64_MIN, INT64_MIN}, {int64_t{1} << 40, INT64_MAX}};
   EXPECT_EQ(rtxTestNumericEnum64(int64_t{1} << 41, wide, 2), 0);
   EXPECT_EQ(rtxTestNumericEnum64(-1, wide, 2), RTX_E_BAD_ENUM);
   const RtxUInt64Range wideUnsigned[] = {{0, 0}, {uint64_t{1} << 63, UINT64_MAX}};
   EXPECT_EQ(rtxTestNumericEnumU64(UINT64_MAX, wideUnsigned, 2), 0);
   EXPECT_EQ(rtxTestNumericEnumU64(1, wideUnsigned, 2), RTX_E_BAD_ENUM);
}

} // namespace
