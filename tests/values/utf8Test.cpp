// Character strings: every code point in every encoding, with iconv as second opinion; texts to values.
#include <gtest/gtest.h>
#include <iconv.h>

#include <bit>
#include <cmath>
#include <cstring>
#include <limits>

#include "quorva/rtxUTF8.h"
#include "quorva/rtxUTF8Convert.h"
#include "quorva/rtxUTF8Value.h"
#include "support/context.h"
#include "support/systemMemory.h"

namespace {

using quorva::test::hexFromOctets;
using quorva::test::Octets;
using quorva::test::octetsFromHex;
using quorva::test::TestContext;

using Convert = int (*)(const uint8_t*, size_t, uint8_t*, size_t);

std::string converted(Convert convert, const Octets& source, size_t room = 1000) {
   Octets out(room);
   const int count = convert(source.data(), source.size(), out.data(), out.size());
   return count < 0 ? std::to_string(count) : hexFromOctets(out.data(), static_cast<size_t>(count));
}

// What iconv makes of the octets.
class Iconv {
public:
   Iconv(const char* to, const char* from) : handle_(iconv_open(to, from)) {}
   ~Iconv() {
      if (works()) iconv_close(handle_);
   }
   bool works() const { return handle_ != reinterpret_cast<iconv_t>(-1); }
   Octets operator()(Octets source) const {
      Octets out(source.size() * 4);
      char* from = reinterpret_cast<char*>(source.data());
      char* to = reinterpret_cast<char*>(out.data());
      size_t left = source.size(), room = out.size();
      if (iconv(handle_, &from, &left, &to, &room) == static_cast<size_t>(-1)) ADD_FAILURE() << "iconv";
      out.resize(out.size() - room);
      return out;
   }

private:
   iconv_t handle_;
};

// All characters from `first` up to `end`, surrogates left out, as UTF-8.
Octets textOf(uint32_t first, uint32_t end) {
   Octets text;
   for (uint32_t c = first; c < end; ++c) {
      if (c - 0xD800 < 0x800) continue;
      uint8_t octets[6];
      const int count = rtxUTF8EncodeChar(c, octets, sizeof octets);
      text.insert(text.end(), octets, octets + count);
   }
   return text;
}

TEST(Utf8, EveryCodePointOfTwentyOneBits) {
   for (uint32_t c = 1; c < 0x200000; ++c) {
      uint8_t octets[7] = {}, out[4];
      const int count = rtxUTF8EncodeChar(c, octets, 6);
      ASSERT_EQ(static_cast<size_t>(count), rtxUTF8CharSize(c));
      ASSERT_EQ(rtxUTF8CharToWC(octets, static_cast<size_t>(count)), static_cast<int32_t>(c));
      ASSERT_TRUE(count == 1 || rtxUTF8CharToWC(octets, static_cast<size_t>(count) - 1) == RTX_E_BAD_UTF8);
      const auto* text = reinterpret_cast<const char*>(octets);
      uint32_t wide = 0;
      uint16_t unit = 0;
      ASSERT_EQ(rtxUTF8ToUnicode32(nullptr, text, &wide, 1), 1);
      ASSERT_EQ(rtxUTF8ToUnicode(nullptr, text, &unit, 1), 1);
      ASSERT_EQ(wide, c);
      ASSERT_EQ(unit, static_cast<uint16_t>(c)); // cut to its low 16 bits, on purpose
      const int nocts = rtxUTF8ToUTF16(octets, static_cast<size_t>(count), out, sizeof out);
      ASSERT_EQ(nocts, c - 0xD800 < 0x800 ? RTX_E_BAD_UTF8
                       : c > 0x10FFFF     ? RTX_E_BAD_CHAR
                       : c > 0xFFFF       ? 4
                                          : 2);
   }
}

TEST(Utf8, AgreesWithIconv) {
   const Iconv little("UTF-16LE", "UTF-8"), big("UTF-16BE", "UTF-8"), latin("ISO-8859-1", "UTF-8");
   if (!little.works() || !big.works() || !latin.works()) GTEST_SKIP() << "no iconv modules";
   const Octets all = textOf(1, 0x110000), narrow = textOf(0, 0x100);
   const struct {
      const Iconv& iconv;
      const Octets& text;
      Convert there, back;
   } cases[] = {{little, all, rtxUTF8ToUTF16LE, rtxUTF16LEToUTF8},
                {big, all, rtxUTF8ToUTF16BE, rtxUTF16BEToUTF8},
                {latin, narrow, rtxUTF8ToLatin1, rtxLatin1ToUTF8}};
   for (const auto& c : cases) {
      const Octets expected = c.iconv(c.text);
      Octets out(c.text.size() * 2);
      const int count = c.there(c.text.data(), c.text.size(), out.data(), out.size());
      ASSERT_EQ(static_cast<size_t>(count), expected.size());
      out.resize(expected.size());
      EXPECT_TRUE(out == expected);
      Octets again(c.text.size());
      EXPECT_EQ(static_cast<size_t>(c.back(out.data(), out.size(), again.data(), again.size())),
                again.size());
      EXPECT_TRUE(again == c.text);
   }
   EXPECT_EQ(converted(rtxUTF8ToUTF16, octetsFromHex("f09f9880")),
             std::endian::native == std::endian::little ? "3dd800de" : "d83dde00");
}

TEST(Utf8, ConversionsCutInSilenceAndTellWhatIsWrong) {
   const struct {
      Convert convert;
      const char* source;
      size_t room;
      const char* expected;
   } cases[] = {
         {rtxLatin1ToUTF8, "41e942", 4, "41c3a942"},
         {rtxLatin1ToUTF8, "41e942", 2, "41"}, // one octet of room stays free
         {rtxLatin1ToUTF8, "41e942", 3, "41c3a9"},
         {rtxLatin1ToUTF8, "41", 0, "-1"},
         {rtxUTF8ToLatin1, "c3a9", 1, "e9"},
         {rtxUTF8ToLatin1, "c1a9", 1, "69"}, // an overlong form
         {rtxUTF8ToLatin1, "c480", 1, "-24"},
         {rtxUTF8ToLatin1, "4180", 2, "-18"},
         {rtxUTF8ToLatin1, "41bf", 1, "41"}, // full before the bad octet
         {rtxUTF8ToLatin1, "f8888080a9", 9, "-24"},
         {rtxUTF8ToLatin1, "f08083a9", 9, "e9"},
         {rtxUTF8ToLatin1, "c341", 9, "-24"},
         {rtxUTF8ToLatin1, "41c3", 9, "41"}, // ends inside a character
         {rtxUTF8ToLatin1, "41f08083", 9, "41"},
         {rtxUTF8ToLatin1, "", 9, ""},
         {rtxUTF8ToLatin1, "", 0, "-1"},
         {rtxUTF8ToUTF16BE, "41c3a9", 4, "004100e9"},
         {rtxUTF8ToUTF16BE, "41c3a9", 3, "0041"},
         {rtxUTF8ToUTF16BE, "41f09f9880", 5, "0041"},
         {rtxUTF8ToUTF16LE, "f09f9880", 4, "3dd800de"},
         {rtxUTF8ToUTF16LE, "f4908080", 4, "-24"},
         {rtxUTF8ToUTF16LE, "eda080", 4, "-18"},
         {rtxUTF8ToUTF16LE, "e241", 4, ""},
         {rtxUTF16BEToUTF8, "004100e9", 9, "41c3a9"},
         {rtxUTF16BEToUTF8, "004100e9", 2, "41"},
         {rtxUTF16BEToUTF8, "0041d83dde00", 4, "41"},
         {rtxUTF16BEToUTF8, "0041d83dde00", 5, "41f09f9880"},
         {rtxUTF16BEToUTF8, "0041d83d", 9, "-18"}, // alone at the end
         {rtxUTF16BEToUTF8, "d83d0041", 9, "-18"},
         {rtxUTF16LEToUTF8, "00de4100", 9, "-18"},
         {rtxUTF16LEToUTF8, "410041", 9, "41"},
         {rtxUTF16LEToUTF8, "4100", 0, "-1"},
   };
   for (const auto& c : cases)
      EXPECT_EQ(converted(c.convert, octetsFromHex(c.source), c.room), c.expected) << c.source;
   uint8_t room[4];
   for (const Convert convert : {rtxLatin1ToUTF8, rtxUTF16LEToUTF8, rtxUTF16BEToUTF8})
      EXPECT_EQ(convert(nullptr, 0, room, 4), RTX_E_BUFFER_FULL);
   for (const Convert convert : {rtxUTF8ToLatin1, rtxUTF8ToUTF16LE, rtxUTF8ToUTF16})
      EXPECT_EQ(convert(nullptr, 4, room, 4), 0);
}

TEST(Utf8, UnitsAreCountedThenStored) {
   TestContext ctxt;
   uint16_t units[3] = {7, 7, 7};
   EXPECT_EQ(rtxUTF8ToUnicode(ctxt, "a\u00e9\u20ac", nullptr, 0), 3);
   EXPECT_EQ(rtxUTF8ToUnicode(ctxt, "", units, 0), 0); // measured first
   EXPECT_EQ(rtxUTF8ToUnicode(ctxt, nullptr, units, 3), 0);
   EXPECT_EQ(rtxErrGetErrorCnt(ctxt), 0u);
   EXPECT_EQ(ctxt.cleared(rtxUTF8ToUnicode(ctxt, "a", units, 0)), RTX_E_BUFFER_FULL);
   EXPECT_EQ(rtxUTF8ToUnicode(ctxt, "ab\u20ac", units, 2), RTX_E_BUFFER_FULL);
   EXPECT_EQ(units[2], 7);
   rtxErrReset(ctxt);
   EXPECT_EQ(rtxUTF8ToUnicode32(ctxt, "\u20ac!\x80", nullptr, 0), RTX_E_BAD_UTF8);
   EXPECT_EQ(ctxt.parms(), std::vector<std::string>{"4"});
   rtxErrReset(ctxt);

   Rtx16BitCharString narrow;
   Rtx32BitCharString wide;
   ASSERT_EQ(rtxUTF8ToDynUniStr(ctxt, "\u00e9\U0001F600", &narrow), 0);
   EXPECT_TRUE(narrow.nchars == 2 && narrow.data[0] == 0xE9 && narrow.data[1] == 0xF600 &&
               narrow.data[2] == 0);
   ASSERT_EQ(rtxUTF8ToDynUniStr32(ctxt, "\u00e9\U0001F600", &wide), 0);
   EXPECT_TRUE(wide.nchars == 2 && wide.data[1] == 0x1F600 && wide.data[2] == 0);
   ASSERT_EQ(rtxUTF8ToDynUniStr(ctxt, "", &narrow), 0);
   EXPECT_TRUE(narrow.nchars == 0 && narrow.data[0] == 0);
   EXPECT_EQ(rtxUTF8ToDynUniStr(ctxt, nullptr, &narrow), RTX_E_BAD_ARGUMENT);
}

TEST(Utf8, SearchesAndCuts) {
   const char* text = "a\u00e9\u20acb";
   EXPECT_EQ(rtxUTF8StrChr(text, 0x20AC), text + 3);
   EXPECT_EQ(rtxUTF8StrChr(text, 0), text + 7);
   EXPECT_EQ(rtxUTF8StrChr(text, 'x'), nullptr);
   EXPECT_EQ(rtxUTF8StrChr("a\xFFz", 'z'), nullptr);
   EXPECT_EQ(rtxUTF8StrChr(nullptr, 0), nullptr);

   const struct {
      size_t room, nbytes;
      const char* expected;
      bool whole;
   } cuts[] = {{8, SIZE_MAX, text, true}, {7, SIZE_MAX, "a\u00e9\u20ac", false},
               {6, 99, "a\u00e9", false}, {3, 3, "a", false},
               {4, 3, "a\u00e9", true},   {1, SIZE_MAX, "", false}};
   for (const auto& c : cuts) {
      char dest[9] = "########";
      EXPECT_EQ(rtxUTF8Strncpy(dest, c.room, text, c.nbytes), c.whole ? dest : nullptr);
      EXPECT_STREQ(dest, c.expected);
   }
   char dest[4];
   EXPECT_EQ(rtxUTF8Strcpy(dest, 0, "a"), nullptr);
   EXPECT_EQ(rtxUTF8Strcpy(dest, 4, nullptr), nullptr);
   EXPECT_STREQ(rtxUTF8Strcpy(dest, 4, "abc"), "abc");

   const char* rest;
   EXPECT_EQ(rtxUTF8RemoveWhiteSpace(" \t a b\r\n", 8, &rest), 3u);
   EXPECT_EQ(std::string(rest, 3), "a b");
   EXPECT_EQ(rtxUTF8RemoveWhiteSpace(" \v\f", 3, nullptr), 0u);
   char words[] = " one\ttwo  \n";
   char* next = nullptr;
   EXPECT_STREQ(rtxUTF8StrNextTok(words, &next), "one");
   EXPECT_STREQ(rtxUTF8StrNextTok(nullptr, &next), "two");
   EXPECT_EQ(rtxUTF8StrNextTok(nullptr, &next), nullptr);
   EXPECT_EQ(rtxUTF8StrNextTok(nullptr, &next), nullptr);
   TestContext ctxt;
   EXPECT_STREQ(rtxUTF8StrJoin(ctxt, "a", nullptr, "\u20ac", "b", nullptr), "a\u20acb");
}

template <class Value>
void reads(int (*read)(const char*, Value*), const char* text, int status, Value expected = {}) {
   Value value{};
   EXPECT_EQ(read(text, &value), status) << text;
   EXPECT_EQ(value, expected) << text;
   EXPECT_EQ(read(text, nullptr), status) << text;
}

TEST(TextToValue, Integers) {
   for (const char* bad : {"", " ", "+", "-", "+-1", "--1", "1.", "1 2", "0x1", "a", "1e3"}) {
      reads<int32_t>(rtxUTF8StrToInt, bad, RTX_E_BAD_FORMAT);
      reads<uint64_t>(rtxUTF8StrToUInt64, bad, RTX_E_BAD_FORMAT);
   }
   reads<int32_t>(rtxUTF8StrToInt, nullptr, RTX_E_BAD_FORMAT);
   reads<int32_t>(rtxUTF8StrToInt, "\t-2147483648\n", 0, INT32_MIN);
   reads<int32_t>(rtxUTF8StrToInt, "+0000000000002147483647", 0, INT32_MAX);
   reads<int32_t>(rtxUTF8StrToInt, "2147483648", RTX_E_OVERFLOW);
   reads<int32_t>(rtxUTF8StrToInt, "2147483648x", RTX_E_BAD_FORMAT);
   reads<uint32_t>(rtxUTF8StrToUInt, "4294967295", 0, UINT32_MAX);
   reads<uint32_t>(rtxUTF8StrToUInt, "4294967296", RTX_E_OVERFLOW);
   reads<uint32_t>(rtxUTF8StrToUInt, "-1", RTX_E_BAD_FORMAT);
   reads<int64_t>(rtxUTF8StrToInt64, "-9223372036854775808", 0, INT64_MIN);
   reads<int64_t>(rtxUTF8StrToInt64, "9223372036854775808", RTX_E_OVERFLOW);
   reads<uint64_t>(rtxUTF8StrToUInt64, "18446744073709551615", 0, UINT64_MAX);
   reads<size_t>(rtxUTF8StrToSize, "18446744073709551616", RTX_E_OVERFLOW);
   int64_t part;
   EXPECT_EQ(rtxUTF8StrnToInt64("12345", 3, &part), 0); // the length ends it
   EXPECT_EQ(part, 123);
}

TEST(TextToValue, RealsAndBooleans) {
   const double inf = std::numeric_limits<double>::infinity();
   reads(rtxUTF8StrToDouble, " -1.25E+2 ", 0, -125.0);
   reads(rtxUTF8StrToDouble, "+.5", 0, 0.5);
   reads(rtxUTF8StrToDouble, "5.", 0, 5.0);
   reads(rtxUTF8StrToDouble, "1.7976931348623157e308", 0, 1.7976931348623157e308);
   reads(rtxUTF8StrToDouble, "-INF", 0, -inf);
   reads(rtxUTF8StrToDouble, "INF", 0, inf);
   // Neither infinite nor 0 in silence: too large fails, too small is 0.
   reads(rtxUTF8StrToDouble, "1e309", RTX_E_OVERFLOW, 0.0);
   reads(rtxUTF8StrToDouble, "-0.0001e313", RTX_E_OVERFLOW, 0.0);
   reads(rtxUTF8StrToDouble, "1e99999999999999999999", RTX_E_OVERFLOW, 0.0);
   reads(rtxUTF8StrToDouble, "100.5e-400", 0, 0.0);
   reads(rtxUTF8StrToDouble, "1e-99999999999999999999", 0, 0.0);
   double value = 0;
   EXPECT_EQ(rtxUTF8StrToDouble("NaN", &value), 0);
   EXPECT_TRUE(std::isnan(value));
   EXPECT_EQ(rtxUTF8StrToDouble("-1e-400", &value), 0);
   EXPECT_TRUE(value == 0 && std::signbit(value));
   for (const char* bad :
        {"", ".", "-", "inf", "nan", "infinity", "+INF", "1,5", "1e", "0x1p3", "--1", "1 2"})
      reads(rtxUTF8StrToDouble, bad, RTX_E_BAD_REAL, 0.0);
   reads<uint8_t>(rtxUTF8StrToBool, " true", 0, 1);
   reads<uint8_t>(rtxUTF8StrToBool, "1", 0, 1);
   reads<uint8_t>(rtxUTF8StrToBool, "false\n", 0, 0);
   for (const char* bad : {"", "TRUE", "2", "tru", "truee"})
      reads<uint8_t>(rtxUTF8StrToBool, bad, RTX_E_BAD_FORMAT);
}

TEST(TextToValue, OctetsAndNamedBits) {
   TestContext ctxt;
   RtxDynOctStr octets;
   ASSERT_EQ(rtxUTF8StrToDynHexStr(ctxt, " 0A fF", &octets), 0);
   EXPECT_EQ(hexFromOctets(octets.data, octets.numocts), "0aff");
   ASSERT_EQ(rtxUTF8StrnToDynHexStr(ctxt, "0A", 0, &octets), 0); // no octets, not a text to be measured
   EXPECT_EQ(octets.numocts, 0u);
   EXPECT_EQ(ctxt.cleared(rtxUTF8StrToDynHexStr(ctxt, "0G", &octets)), RTX_E_BAD_HEX);

   const RtxNamedBit table[] = {{"red", 0}, {"green", 9}, {"far", UINT32_MAX}, {nullptr, 0}};
   uint8_t data[2] = {0xFF, 0xFF};
   uint32_t numbits = 7;
   ASSERT_EQ(rtxUTF8StrToNamedBits(ctxt, " green\nred ", table, data, 2, &numbits), 0);
   EXPECT_EQ(hexFromOctets(data, 2), "8040");
   EXPECT_EQ(numbits, 10u);
   ASSERT_EQ(rtxUTF8StrToNamedBits(ctxt, "", table, data, 2, &numbits), 0);
   EXPECT_EQ(hexFromOctets(data, 2) + std::to_string(numbits), "00000");
   EXPECT_EQ(rtxUTF8StrToNamedBits(ctxt, "red Red", table, data, 2, &numbits), RTX_E_UNKNOWN_NAME);
   EXPECT_EQ(ctxt.parms(), std::vector<std::string>{"Red"});
   rtxErrReset(ctxt);
   EXPECT_EQ(ctxt.cleared(rtxUTF8StrToNamedBits(ctxt, "green", table, data, 1, &numbits)), RTX_E_INDEX);
   EXPECT_EQ(ctxt.cleared(rtxUTF8StrToNamedBits(ctxt, "far", table, nullptr, 0, &numbits)), RTX_E_OVERFLOW);
   EXPECT_EQ(rtxUTF8StrToNamedBits(ctxt, "red", nullptr, data, 1, &numbits), RTX_E_BAD_ARGUMENT);
}

TEST(TextToValue, WithoutMemory) {
   system_memory::failEach(3, [](auto arm) {
      RtxContext ctxt;
      ASSERT_EQ(system_memory::init(&ctxt), 0);
      arm();
      const std::string text(40000, '1');
      Rtx16BitCharString narrow;
      RtxDynOctStr octets;
      uint32_t numbits;
      const RtxNamedBit table[] = {{text.c_str(), 1}, {nullptr, 0}};
      const int results[] = {
            rtxUTF8ToDynUniStr(&ctxt, text.c_str(), &narrow),
            rtxUTF8StrToDynHexStr(&ctxt, text.c_str(), &octets),
            rtxUTF8StrToNamedBits(&ctxt, text.c_str(), table, nullptr, 0, &numbits),
            rtxUTF8StrJoin(&ctxt, text.c_str(), "a", nullptr, nullptr, nullptr) ? 0 : RTX_E_NOMEM};
      bool told = false;
      for (const int result : results) told |= result < 0;
      EXPECT_EQ(told, system_memory::failures > 0);
      rtxMemHeapCheck(&ctxt, __FILE__, __LINE__);
      rtxFreeContext(&ctxt);
   });
}

} // namespace
