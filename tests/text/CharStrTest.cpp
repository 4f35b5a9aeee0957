#include "quorva/rtxCharStr.h"

#include <gtest/gtest.h>

#include <climits>
#include <cstring>
#include <string>

#include "quorva/rtxFile.h"
#include "quorva/rtxPrintToStream.h"
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

TEST(EscapeText, KeepsLettersAndShowsTheRest) {
   const struct {
      std::string text;
      char quote;
      const char* shown;
   } cases[] = {
         {"plain \xC3\xA9 \xE2\x82\xAC \xF0\x9F\x98\x80", '\'',
          "plain \xC3\xA9 \xE2\x82\xAC \xF0\x9F\x98\x80"},
         {"'a\"\\", '\'', R"(\'a"\\)"},
         {"'a\"\\", '"', R"('a\"\\)"},
         {"'a\"", 0, R"('a")"},
         {"a\n\r\t\x1B\x7F", 0, R"(a\n\r\t\x1b\x7f)"},
         {std::string("\0z", 2), 0, R"(\x00z)"},
         // C1, line separator, directions, byte order mark; a lone octet, a cut sequence, a surrogate.
         {"\xC2\x85\xE2\x80\xA8\xE2\x80\xAE\xE2\x81\xA6\xEF\xBB\xBF", 0, R"(\u0085\u2028\u202e\u2066\ufeff)"},
         {"\xE9z\xE2\x82", 0, R"(\xe9z\xe2\x82)"},
         {"\xED\xA0\x80", 0, R"(\xed\xa0\x80)"}};
   for (const auto& c : cases) {
      char out[40];
      EXPECT_EQ(quorvaEscapeText(c.text.data(), c.text.size(), c.quote, out, sizeof out), strlen(c.shown));
      EXPECT_STREQ(out, c.shown);
   }
   // Cut ahead of an escape or a character that has no room.
   const std::string text = "ab\xC3\xA9\nz";
   const char* const cut[] = {"", "a", "ab", "ab", "ab\xC3\xA9", "ab\xC3\xA9", "ab\xC3\xA9\\n"};
   for (size_t size = 0; size <= std::size(cut); ++size) {
      char out[16] = "untouched";
      EXPECT_EQ(quorvaEscapeText(text.data(), text.size(), 0, out, size), 7u);
      EXPECT_STREQ(out, size == 0 ? "untouched" : cut[size - 1]);
   }
}

TEST(EscapeText, IsWhatPrintersDoIfAskedFor) {
   for (const bool asked : {false, true}) {
      Capture capture(256);
      if (asked) rtxCtxtSetFlag(&capture.ctxt, RTX_CTXT_ESCAPES);
      const uint16_t units[] = {'a', '\'', '\\', 10};
      rtxPrintToStreamCharStr(&capture.ctxt, "n", "a'\n");
      rtxPrintToStreamCharStr(&capture.ctxt, "n", nullptr);
      rtxPrintToStreamUnicodeCharStr(&capture.ctxt, "u", units, 4);
      EXPECT_EQ(capture.take(), asked ? "n = 'a\\'\\n'\nn = '(null)'\nu = 'a\\'\\\\0x000a'\n"
                                      : "n = 'a'\n'\nn = '(null)'\nu = 'a'\\0x000a'\n");
   }
}

} // namespace
