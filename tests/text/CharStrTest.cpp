#include "quorva/rtxCharStr.h"

#include <gtest/gtest.h>

#include <climits>
#include <cstring>
#include <string>

#include "quorva/rtxFile.h"
#include "quorva/rtxStatus.h"
#include "support/capture.h"

namespace {

using quorva_test::Capture;

TEST(CharStr, WritesNumbers) {
   char out[24] = "old";
   for (int status : {rtxUIntToCharStr(UINT32_MAX, out, 10, 0), rtxSizeToCharStr(0, out, 0, 0)})
      EXPECT_EQ(RTX_E_TOO_SMALL, status);
   EXPECT_EQ(RTX_E_BAD_ARGUMENT, rtxSizeToCharStr(0, nullptr, 8, 0));
   EXPECT_STREQ("old", out);
   const auto text = [&out](int status) {
      EXPECT_EQ(0, status);
      return std::string(out);
   };
   EXPECT_EQ("4294967295", text(rtxUIntToCharStr(UINT32_MAX, out, 11, 0)));
   EXPECT_EQ("-2147483648", text(rtxIntToCharStr(INT32_MIN, out, 12, 0)));
   EXPECT_EQ("-9223372036854775808", text(rtxInt64ToCharStr(INT64_MIN, out, 21, 0)));
   EXPECT_EQ("18446744073709551615", text(rtxUInt64ToCharStr(UINT64_MAX, out, 21, 0)));
   EXPECT_EQ("0", text(rtxSizeToCharStr(0, out, 2, 0)));
}

TEST(CharStr, FillsNumbersUp) {
   const struct {
      int32_t value;
      size_t size;
      char pad;
      const char* text;
   } cases[] = {{42, 6, ' ', "   42"},  {42, 6, '0', "00042"}, {-42, 6, ' ', "  -42"},
                {-42, 6, '0', "-0042"}, {-42, 4, '0', "-42"},  {7, 2, '*', "7"}};
   for (const auto& c : cases) {
      char out[8];
      EXPECT_EQ(0, rtxIntToCharStr(c.value, out, c.size, c.pad));
      EXPECT_STREQ(c.text, out);
   }
}

TEST(CharStr, CutsWhatHasNoRoom) {
   char out[6] = "?????";
   EXPECT_EQ(out, rtxStrcpy(out, sizeof(out), "abcde"));
   EXPECT_STREQ("abcde", out);
   EXPECT_EQ(nullptr, rtxStrcpy(out, sizeof(out), "vwxyz!"));
   EXPECT_STREQ("vwxyz", out);
   EXPECT_EQ(out, rtxStrncpy(out, sizeof(out), "63310", 3));
   EXPECT_STREQ("633", out);
   EXPECT_EQ(out, rtxStrcat(out, sizeof(out), "1"));
   EXPECT_EQ(nullptr, rtxStrncat(out, sizeof(out), "2345", 3));
   EXPECT_STREQ("63312", out);
   EXPECT_EQ(nullptr, rtxStrcpy(out, 0, "a"));
   EXPECT_EQ(nullptr, rtxStrcpy(out, sizeof(out), nullptr));
   EXPECT_EQ(nullptr, rtxStrcpy(nullptr, 6, "a"));
   EXPECT_STREQ("63312", out);
   // A destination without a NUL is left alone.
   memset(out, 'x', sizeof(out));
   EXPECT_EQ(nullptr, rtxStrcat(out, sizeof(out), "a"));
   EXPECT_EQ('x', out[5]);
}

TEST(CharStr, JoinsWholePieces) {
   char out[10];
   EXPECT_EQ(out, rtxStrJoin(out, sizeof(out), "list", "[", "12", "]", nullptr));
   EXPECT_STREQ("list[12]", out);
   // "12" has no room, and so "]" does not come either.
   EXPECT_EQ(out, rtxStrJoin(out, 7, "list", "[", "12", "]", nullptr));
   EXPECT_STREQ("list[", out);
   EXPECT_EQ(out, rtxStrJoin(out, 1, "list", nullptr, nullptr, nullptr, nullptr));
   EXPECT_STREQ("", out);
   EXPECT_EQ(nullptr, rtxStrJoin(out, 0, "a", nullptr, nullptr, nullptr, nullptr));

   Capture capture;
   EXPECT_STREQ("abce", rtxStrDynJoin(&capture.ctxt, "a", nullptr, "bc", "", "e"));
   EXPECT_STREQ("", rtxStrDynJoin(&capture.ctxt, nullptr, nullptr, nullptr, nullptr, nullptr));
}

TEST(CharStr, TrimsTheEnd) {
   char text[] = " a b \t\r\n\v\f ";
   EXPECT_STREQ(" a b", rtxStrTrimEnd(text));
   char blanks[] = "  ";
   EXPECT_STREQ("", rtxStrTrimEnd(blanks));
   EXPECT_EQ(nullptr, rtxStrTrimEnd(nullptr));
}

TEST(File, TellsWhenThereIsNone) {
   FILE* file = stdin;
   EXPECT_EQ(RTX_E_CANNOT_DO, rtxFileOpen(&file, "/nonexistent/file", "r"));
   EXPECT_EQ(nullptr, file);
   EXPECT_EQ(RTX_E_BAD_ARGUMENT, rtxFileOpen(&file, nullptr, "r"));
   EXPECT_EQ(RTX_E_BAD_ARGUMENT, rtxFileOpen(nullptr, "/dev/null", "r"));
   ASSERT_EQ(RTX_OK, rtxFileOpen(&file, "/dev/null", "r"));
   fclose(file);
}

} // namespace
