#include "quorva/rtxUTF8.h"

#include <gtest/gtest.h>

#include <climits>
#include <string>

#include "quorva/rtxCharStr.h"
#include "quorva/rtxError.h"
#include "quorva/rtxMemHeap.h"
#include "support/capture.h"
#include "support/vectors.h"

namespace {

using quorva::test::Octets;
using quorva::test::octetsFromHex;
using quorva_test::Capture;

struct CharCase {
   uint32_t codePoint;
   const char* hex;
};

const CharCase charCases[] = {{0x00, "00"},
                              {0x7F, "7f"},
                              {0x80, "c280"},
                              {0xE9, "c3a9"},
                              {0x7FF, "dfbf"},
                              {0x800, "e0a080"},
                              {0xD800, "eda080"},
                              {0xFFFF, "efbfbf"},
                              {0x10FFFF, "f48fbfbf"},
                              {0x1FFFFF, "f7bfbfbf"},
                              {0x200000, "f888808080"},
                              {0x3FFFFFF, "fbbfbfbfbf"},
                              {0x4000000, "fc8480808080"},
                              {0x7FFFFFFF, "fdbfbfbfbfbf"}};

TEST(UTF8, CodesEachLengthBothWays) {
   uint8_t out[6] = {};
   for (const CharCase& c : charCases) {
      SCOPED_TRACE(c.codePoint);
      const Octets octets = octetsFromHex(c.hex);
      EXPECT_EQ(octets.size(), rtxUTF8CharSize(c.codePoint));
      EXPECT_EQ(static_cast<int>(octets.size()), rtxUTF8EncodeChar(c.codePoint, out, sizeof(out)));
      EXPECT_EQ(octets, Octets(out, out + octets.size()));
      EXPECT_EQ(RTX_E_BUFFER_FULL, rtxUTF8EncodeChar(c.codePoint, out, octets.size() - 1));
      size_t size = octets.size();
      EXPECT_EQ(static_cast<int32_t>(c.codePoint), rtxUTF8DecodeChar(nullptr, octets.data(), &size));
      EXPECT_EQ(octets.size(), size);
      EXPECT_EQ(RTX_E_BAD_UTF8, rtxUTF8DecodeChar(nullptr, octets.data(), &--size));
   }
   EXPECT_EQ(RTX_E_BUFFER_FULL, rtxUTF8EncodeChar(0x80000000, out, sizeof(out)));
}

TEST(UTF8, RefusesBadSequences) {
   for (const char* hex : {"8080", "bf80", "fe8080808080", "c329", "c3c3", "e28220"}) {
      const Octets octets = octetsFromHex(hex);
      size_t size = octets.size();
      EXPECT_EQ(RTX_E_BAD_UTF8, rtxUTF8DecodeChar(nullptr, octets.data(), &size)) << hex;
      EXPECT_EQ(octets.size(), size);
   }
   // Overlong forms are let through.
   const uint8_t overlong[] = {0xC0, 0x80};
   size_t size = 2;
   EXPECT_EQ(0, rtxUTF8DecodeChar(nullptr, overlong, &size));
   EXPECT_EQ(2u, size);
   // A bad sequence is on record with its position.
   Capture capture;
   const uint8_t lead = 0xFF;
   size = 1;
   EXPECT_EQ(RTX_E_BAD_UTF8, rtxUTF8DecodeChar(&capture.ctxt, &lead, &size));
   EXPECT_EQ(RTX_E_BAD_UTF8, rtxErrGetLastError(&capture.ctxt));
   ASSERT_EQ(1, capture.ctxt.errFixed.parmCount);
   EXPECT_STREQ("0", capture.ctxt.errFixed.parms[0]);
   rtxErrReset(&capture.ctxt);
   EXPECT_EQ(RTX_E_BAD_UTF8, rtxUTF8DecodeChar(&capture.ctxt, nullptr, &size));
   EXPECT_EQ(0, capture.ctxt.errFixed.parmCount);
}

TEST(UTF8, MeasuresAndHashes) {
   EXPECT_EQ(0u, rtxUTF8LenBytes(nullptr));
   EXPECT_EQ(0u, rtxUTF8Len(nullptr));
   EXPECT_EQ(6u, rtxUTF8LenBytes("a\xC3\xA9\xE2\x82\xAC"));
   EXPECT_EQ(3u, rtxUTF8Len("a\xC3\xA9\xE2\x82\xAC"));
   EXPECT_EQ(2u, rtxCalcUTF8Len("a\xC3\xA9z", 3));
   EXPECT_EQ(5381u, rtxUTF8StrHash(nullptr));
   EXPECT_EQ((5381u * 33 + 0xC3) * 33 + 0xA9, rtxUTF8StrHash("\xC3\xA9")); // octets are unsigned
}

TEST(UTF8, ComparesAsUnsignedOctets) {
   const struct {
      const char* text1;
      const char* text2;
      size_t limit;
      int result;
   } cases[] = {
         {nullptr, nullptr, 5, 0}, {nullptr, "a", 5, -1}, {"a", nullptr, 5, 1},     {nullptr, "a", 0, 0},
         {"abc", "abd", 2, 0},     {"abc", "abd", 3, -1}, {"ab", "abc", 3, -'c'},   {"abc", "ab", 3, 'c'},
         {"\x80", "\x7F", 1, 1},   {"\xFF", "", 1, 255},  {"ab\0x", "ab\0y", 4, 0},
   };
   for (const auto& c : cases) EXPECT_EQ(c.result, rtxUTF8Strncmp(c.text1, c.text2, c.limit));
   EXPECT_TRUE(rtxUTF8StrEqual(nullptr, nullptr));
   EXPECT_FALSE(rtxUTF8StrEqual("a", nullptr));
   EXPECT_TRUE(rtxUTF8StrnEqual("integProt", "integProtAndCipher", 9));
   EXPECT_FALSE(rtxUTF8StrEqual("integProt", "integProtAndCipher"));
}

TEST(UTF8, CopiesToTheHeap) {
   Capture capture;
   RtxContext* pctxt = &capture.ctxt;
   EXPECT_EQ(nullptr, rtxUTF8Strdup(pctxt, nullptr));
   const char text[] = "abcdef";
   char* copy = rtxUTF8Strndup(pctxt, text, 3);
   EXPECT_STREQ("abc", copy);
   EXPECT_STREQ("abcdef", rtxUTF8Strndup(pctxt, text, 100));

   // A text of the heap is shared, a literal copied.
   EXPECT_EQ(copy, rtxUTF8StrRefOrDup(pctxt, copy));
   EXPECT_EQ(2, rtxMemHeapAutoPtrGetRefCount(pctxt, copy));
   char* dup = rtxUTF8StrRefOrDup(pctxt, text);
   EXPECT_NE(text, dup);
   EXPECT_STREQ(text, dup);
   // No more than 255 references fit; then it is copied too.
   while (rtxMemHeapAutoPtrGetRefCount(pctxt, copy) < 255) ASSERT_EQ(copy, rtxUTF8StrRefOrDup(pctxt, copy));
   char* fresh = rtxUTF8StrRefOrDup(pctxt, copy);
   EXPECT_NE(copy, fresh);
   EXPECT_STREQ("abc", fresh);
}

TEST(UTF8, ConvertsUnits) {
   Capture capture;
   RtxContext* pctxt = &capture.ctxt;
   const uint16_t units[] = {'a', 0xE9, 0x20AC, 0xD83D, 0xDE00, 0};
   // The halves of a surrogate pair give three octets each.
   const std::string utf8 = "a\xC3\xA9\xE2\x82\xAC\xED\xA0\xBD\xED\xB8\x80";
   char out[32];
   EXPECT_EQ(static_cast<int>(utf8.size()), rtxUCSToUTF8(pctxt, units, 5, out, utf8.size() + 1));
   EXPECT_EQ(utf8, out);
   EXPECT_EQ(0u, rtxErrGetErrorCnt(pctxt));
   EXPECT_EQ(RTX_E_BUFFER_FULL, rtxUCSToUTF8(pctxt, units, 5, out, utf8.size()));
   EXPECT_EQ(1u, rtxErrGetErrorCnt(pctxt));
   EXPECT_EQ(0, rtxUCSToUTF8(nullptr, nullptr, 0, out, 1));
   EXPECT_STREQ("", out);
   EXPECT_EQ(RTX_E_BUFFER_FULL, rtxUCSToUTF8(nullptr, units, 0, out, 0));
   EXPECT_EQ(RTX_E_BAD_ARGUMENT, rtxUCSToUTF8(nullptr, nullptr, 1, out, sizeof(out)));
   EXPECT_EQ(utf8, rtxUCSToDynUTF8(pctxt, units, 5));
   EXPECT_EQ(utf8, rtxUCSToCStr(pctxt, units));
   const char* none = rtxUCSToCStr(pctxt, nullptr);
   EXPECT_STREQ("", none);
   EXPECT_FALSE(rtxMemHeapCheckPtr(pctxt, none));
}

} // namespace
