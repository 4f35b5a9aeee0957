#include <gtest/gtest.h>

#include <cstring>
#include <iterator>

#include "quorva/rtxEnum.h"
#include "quorva/rtxStatus.h"

namespace {

// Security header types of TS 24.007, 11.2.3.1.1.1.
const RtxEnumItem table[] = {
      {"integProt", 1, 9, 5},
      {"integProtAndCipher", 2, 18, 0},
      {"integProtAndCipherAndSecCtxt", 4, 28, 1},
      {"integProtAndPartCipher", 5, 22, 4},
      {"integProtAndSecCtxt", 3, 19, 2},
      {"noSec", 0, 5, 3},
      {"secHdrForSvcReq", 12, 15, 6},
};
constexpr size_t count = std::size(table);

TEST(LookupEnum, FindsEachNameInTablesOfEachLength) {
   for (size_t rows = 1; rows <= count; ++rows) {
      for (size_t i = 0; i < count; ++i) {
         const int expected = i < rows ? static_cast<int>(i) : RTX_E_BAD_ENUM;
         SCOPED_TRACE(testing::Message() << rows << " rows, " << table[i].name);
         EXPECT_EQ(expected, rtxLookupEnum(table[i].name, SIZE_MAX, table, rows));
         EXPECT_EQ(expected, rtxLookupEnum(table[i].name, table[i].nameLength, table, rows));
         EXPECT_EQ(expected, rtxLookupEnumU32(table[i].name, SIZE_MAX, table, rows));
         EXPECT_EQ(expected, rtxLookupEnumByValue(table[i].value, table, rows));
         EXPECT_EQ(expected, rtxLookupEnumU32ByValue(static_cast<uint32_t>(table[i].value), table, rows));
      }
   }
}

TEST(LookupEnum, RefusesWhatIsNoName) {
   for (const char* text :
        {"", "a", "integProtAnd", "integProtAndCipherX", "NoSec", "noSe", "zzz", "secHdrForSvcReqs"})
      EXPECT_EQ(RTX_E_BAD_ENUM, rtxLookupEnum(text, SIZE_MAX, table, count)) << text;
   EXPECT_EQ(RTX_E_BAD_ENUM, rtxLookupEnum(nullptr, SIZE_MAX, table, count));
   EXPECT_EQ(RTX_E_BAD_ENUM, rtxLookupEnum("noSec", 0, table, count));
   // The length rules, not the NUL.
   EXPECT_EQ(0, rtxLookupEnum("integProtAndCipher", 9, table, count));
   EXPECT_EQ(RTX_E_BAD_ENUM, rtxLookupEnum("noSec\0x", 7, table, count));
}

TEST(LookupEnum, TakesTheLowBitsOfTheCount) {
   EXPECT_EQ(RTX_E_BAD_ENUM, rtxLookupEnum("noSec", SIZE_MAX, nullptr, 0));
   EXPECT_EQ(RTX_E_BAD_ENUM, rtxLookupEnum("noSec", SIZE_MAX, nullptr, 0x10000));
   EXPECT_EQ(5, rtxLookupEnum("noSec", SIZE_MAX, table, 0x10000 + count));
   EXPECT_EQ(RTX_E_BAD_ENUM, rtxLookupEnumByValue(0, nullptr, 0));
   EXPECT_EQ(RTX_E_BAD_ENUM, rtxLookupEnumByValue(6, table, count));
   const RtxEnumItem unsignedValue[] = {{"max", -1, 3, 0}};
   EXPECT_EQ(0, rtxLookupEnumU32ByValue(UINT32_MAX, unsignedValue, 1));
}

TEST(LookupEnum, FindsTextsOnBothSides) {
   const RtxBigEnumItem table[] = {{"alpha", 7, 5}, {"beta", 8, 4}, {"betamax", 9, 7}, {"gamma", 10, 5}};
   const std::pair<const char*, int> cases[] = {
         {"alpha", 0}, {"beta", 1}, {"betamax", 2}, {"gamma", 3}, {"betam", RTX_E_BAD_ENUM}};
   for (const auto& [text, index] : cases) {
      EXPECT_EQ(index, rtxLookupBigEnum(text, SIZE_MAX, table, std::size(table)));
      EXPECT_EQ(index, rtxLookupBigEnumByValue(text, table, std::size(table)));
   }
   EXPECT_EQ(RTX_E_BAD_ENUM, rtxLookupBigEnumByValue(nullptr, table, std::size(table)));
   const RtxBigEnumItem twins[] = {{"b", 0, 1}, {"a", 0, 1}, {"a", 1, 1}};
   EXPECT_EQ(1, rtxLookupBigEnumByValue("a", twins, 3));
}

} // namespace
