// Writers of value notation; values written and read again; other tools' texts; a locale with a comma.
#include "notation.h"

#include "quorva/rtxUTF8Value.h"
#include "support/systemMemory.h"

#include <clocale>
#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <random>
#include <unistd.h>

using namespace notation;

namespace {

std::string writtenBits(size_t numbits, const std::string& hex, size_t size,
                        const std::string& extension = "") {
   const Octets data = quorva::test::octetsFromHex(hex), more = quorva::test::octetsFromHex(extension);
   return writtenBy([&](RtxContext* c) {
      return rtAvnWriteBitStr(c, numbits, data.data(), size, extension.empty() ? nullptr : more.data());
   });
}

std::string writtenReal(double value) {
   return writtenBy([=](RtxContext* c) { return rtAvnWriteReal(c, value); });
}

std::string writtenText(int (*write)(RtxContext*, const char*), const char* text) {
   return writtenBy([=](RtxContext* c) { return write(c, text); });
}

TEST(ValueWriter, BitStrings) {
   EXPECT_EQ(writtenBits(5, "ab", 1), "'10101'B");
   EXPECT_EQ(writtenBits(8, "ab", 1), "'AB'H");
   EXPECT_EQ(writtenBits(12, "abcf", 2), "'ABC'H");
   EXPECT_EQ(writtenBits(4, "ab", 1), "'A'H");
   EXPECT_EQ(writtenBits(0, "", 0), "''H");
   EXPECT_EQ(writtenBits(10, "ab", 1, "c0"), "'1010101111'B");
   EXPECT_EQ(writtenBits(16, "ab", 1, "cd"), "'ABCD'H");
   // The low half in front of the extension is lost, and stays so.
   EXPECT_EQ(writtenBits(20, "abcd", 2, "ef"), "'ABCE'H");
   EXPECT_EQ(writtenBits(12, "abcdef", 3, "99"), "'ABC'H"); // an extension that nothing goes to
   EXPECT_EQ(writtenBits(9, "ab", 1), "-20");
   EXPECT_EQ(writtenBits(4001, std::string(1002, '0'), 501).size(), 4004u);
   EXPECT_EQ(writtenBy([](RtxContext* c) {
                return rtAvnWriteOctStr(c, 2, reinterpret_cast<const uint8_t*>("\x0a\xff"));
             }),
             "'0AFF'H");
   EXPECT_EQ(writtenBy([](RtxContext* c) { return rtAvnWriteOctStr(c, SIZE_MAX, nullptr); }), "-23 ?");
}

TEST(ValueWriter, NamedBits) {
   const RtxNamedBit table[] = {{"red", 0}, {"green", 1}, {"blue", 9}, {nullptr, 0}};
   const auto written = [&](size_t numbits, const char* hex) {
      const Octets data = quorva::test::octetsFromHex(hex), before = data;
      const std::string text =
            writtenBy([&](RtxContext* c) { return rtAvnWriteBitStrNamed(c, numbits, data.data(), table); });
      EXPECT_EQ(data, before); // unused bits are left out, not cleared in the caller's octets
      return text;
   };
   EXPECT_EQ(written(10, "c040"), "{red,green,blue }");
   EXPECT_EQ(written(10, "0040"), "{blue }");
   EXPECT_EQ(written(9, "807f"), "{red }");
   EXPECT_EQ(written(9, "0000"), "{}");
   EXPECT_EQ(written(0, ""), "{}");
   EXPECT_EQ(written(4, "90"), "'9'H"); // bit 3 has no name
   EXPECT_EQ(written(5, "0f"), "'08'H");
   EXPECT_EQ(written(9, "017f"), "'010'H");
   EXPECT_EQ(written(11, "003f"), "'002'H");
   EXPECT_EQ(writtenBy([&](RtxContext* c) { return rtAvnWriteBitStrNamed(c, 0, nullptr, nullptr); }), "-20");
}

TEST(ValueWriter, TextsAndNumbers) {
   EXPECT_EQ(writtenText(rtAvnWriteCharStr, "ab\"c\xE9"), "\"ab\"\"c\xE9\"");
   EXPECT_EQ(writtenText(rtAvnWriteCharStr, ""), "\"\"");
   EXPECT_EQ(writtenText(rtAvnWriteCharStr, nullptr), "-20");
   EXPECT_EQ(writtenText(rtAvnWriteUTF8Str, "\u20ac\""), "\"\u20ac\"\"\"");
   EXPECT_EQ(writtenText(rtAvnWriteUTF8Str, "ab\u20ac\xE2\x82"), "-18 5");
   const uint16_t narrow[] = {'"', 0xE9, 0xD83D};
   const uint32_t wide[] = {'a', 0x1F600, 0x80000000};
   const Rtx16BitCharString bmp = {3, narrow};
   EXPECT_EQ(writtenBy([&](RtxContext* c) { return rtAvnWriteBMPStr(c, &bmp); }),
             "\"\"\"\u00e9\xED\xA0\xBD\"");
   for (const uint32_t count : {2u, 3u}) {
      const Rtx32BitCharString univ = {count, wide};
      EXPECT_EQ(writtenBy([&](RtxContext* c) { return rtAvnWriteUnivStr(c, &univ); }),
                count == 2 ? "\"a\U0001F600\"" : "-23 ?");
   }

   const struct {
      double value;
      const char* expected;
   } reals[] = {{0, "0"},
                {-0.0, "-0"},
                {1.5, "1.5"},
                {1e6, "1e+06"},
                {123456, "123456"},
                {1234567, "1.23457e+06"},
                {0.0001, "0.0001"},
                {0.00001, "1e-05"},
                {-1e300, "-1e+300"},
                {NAN, "NOT-A-NUMBER"},
                {INFINITY, "PLUS-INFINITY"},
                {-INFINITY, "MINUS-INFINITY"}};
   for (const auto& r : reals) EXPECT_EQ(writtenReal(r.value), r.expected);

   RtxOID oid = {3, {1, 0, UINT32_MAX}};
   const auto writtenOID = [&] { return writtenBy([&](RtxContext* c) { return rtAvnWriteOID(c, &oid); }); };
   EXPECT_EQ(writtenOID(), "{1 0 4294967295}");
   oid.numids = 0;
   EXPECT_EQ(writtenOID(), "{}");
   oid.numids = 129;
   EXPECT_EQ(writtenOID(), "-100");
   EXPECT_EQ(writtenText(rtAvnWriteOIDStr, "1.2.840"), "{1 2 840}");

   const auto number = [](auto write, auto value) {
      return writtenBy([=](RtxContext* c) { return write(c, value); });
   };
   EXPECT_EQ(number(rtxTxtWriteInt, INT32_MIN), "-2147483648");
   EXPECT_EQ(number(rtxTxtWriteInt64, INT64_MIN), "-9223372036854775808");
   EXPECT_EQ(number(rtxTxtWriteUInt, UINT32_MAX), "4294967295");
   EXPECT_EQ(number(rtxTxtWriteUInt64, UINT64_MAX), "18446744073709551615");
}

// "%g" writes e+06, which is no exponent of value notation: the writer's form and the reader's rule both
// stand.
bool smallExponent(const std::string& text) {
   const size_t mark = text.find('e');
   return mark != text.npos && text[mark + 2] == '0';
}

// Random values that are written and read are the same. A real is so if six digits hold it and its exponent,
// if it has one, has two digits.
TEST(ValueNotation, ReadsWhatItWrites) {
   std::mt19937_64 random(1);
   for (int round = 0; round < 20000; ++round) {
      const uint64_t seed = random();
      Octets octets(seed % 40);
      for (uint8_t& octet : octets) octet = static_cast<uint8_t>(random());
      uint8_t room[1000];
      Context c;
      const auto output = [&] { rtxCtxtSetBufPtr(&c, room, sizeof room); };
      const auto input = [&] { rtxCtxtSetBufPtr(&c, room, c.bufByteIndex); };

      const size_t numbits = octets.size() * 8 - (octets.empty() ? 0 : seed >> 8 & 7);
      if (numbits % 8 != 0) rtxZeroUnusedBits(octets.data(), numbits);
      output();
      ASSERT_EQ(rtAvnWriteBitStr(&c, numbits, octets.data(), octets.size(), nullptr), 0);
      input();
      RtxDynBitStr bitString;
      ASSERT_EQ(rtAvnReadBitStringDyn(&c, &bitString), 0);
      ASSERT_EQ(bitString.numbits, numbits);
      ASSERT_EQ(hexFromOctets(bitString.data, octets.size()), hexFromOctets(octets));
      ASSERT_EQ(c.bufByteIndex, c.bufSize);

      std::string text;
      for (const uint8_t octet : octets)
         text += octet < ' ' || octet % 3 == 0 ? '"' : static_cast<char>(octet);
      output();
      ASSERT_EQ(rtAvnWriteCharStr(&c, text.c_str()), 0);
      input();
      const char* again;
      ASSERT_EQ(rtAvnReadString(&c, &again), 0);
      ASSERT_EQ(again, text);

      std::vector<uint32_t> units(octets.size());
      for (uint32_t& unit : units) unit = ' ' + static_cast<uint32_t>(random() >> 33 >> random() % 24);
      const Rtx32BitCharString wide = {static_cast<uint32_t>(units.size()), units.data()};
      Rtx32BitCharString wideAgain;
      output();
      ASSERT_EQ(rtAvnWriteUnivStr(&c, &wide), 0);
      input();
      ASSERT_EQ(rtAvnReadUCS4(&c, &wideAgain), 0);
      ASSERT_EQ(std::vector<uint32_t>(wideAgain.data, wideAgain.data + wideAgain.nchars), units);

      const double value =
            std::ldexp(static_cast<double>(static_cast<int64_t>(random())),
                       static_cast<int>(random() % 2 != 0 ? random() % 2100 : 1000 + random() % 60) - 1100);
      char sixDigits[32];
      snprintf(sixDigits, sizeof sixDigits, "%g", value); // the test program's locale is "C"
      const double held = std::strtod(sixDigits, nullptr);
      output();
      ASSERT_EQ(rtAvnWriteReal(&c, held), 0);
      if (std::isfinite(held)) {
         ASSERT_EQ(std::string(reinterpret_cast<char*>(room), c.bufByteIndex), sixDigits);
      }
      input();
      double heldAgain;
      if (smallExponent(sixDigits)) {
         ASSERT_EQ(c.cleared(rtAvnReadReal(&c, &heldAgain)), RTX_E_BAD_FORMAT);
      } else {
         ASSERT_EQ(rtAvnReadReal(&c, &heldAgain), 0);
         ASSERT_EQ(heldAgain, held);
      }

      const auto number = static_cast<int64_t>(seed) >> random() % 64;
      int64_t numberAgain;
      output();
      ASSERT_EQ(rtxTxtWriteInt64(&c, number), 0);
      input();
      ASSERT_EQ(rtxTxtReadInt64(&c, &numberAgain), 0);
      ASSERT_EQ(numberAgain, number);
   }
}

// Values in the forms of X.680 and RFC 3641; those that this library writes in the same form, both ways.
TEST(ValueNotation, TextsOfOthers) {
   const struct {
      Reader reader;
      const char* text;
      const char* value;
   } cases[] = {
         {bitsDyn, "'0100'B", "4:40"},
         {bitsDyn, "'A98A'H", "16:a98a"},
         {bitsDyn, "'011010001'B", "9:6880"},
         {bitsDyn, "'1010 0001\n          1000 0000'B", "16:a180"},
         {octetsDyn, "'80018000'H", "80018000"},
         {octetsDyn, "'3031323334'H", "3031323334"},
         {octetsDyn, "'00010203 04050607\n 08090A0B'H", "000102030405060708090a0b"},
         {integer(rtxTxtReadInt64), "-72", "-72"},
         {integer(rtxTxtReadInt64), "1096", "1096"},
         {text(rtAvnReadString), "\"Caf\u00e9\"", "Caf\u00e9"},
         {text(rtAvnReadString), "\"She said \"\"hi\"\".\"", "She said \"hi\"."},
         {text(rtAvnReadString), "\"ABCDE FGH\n    IJK\"\"XYZ\"", "ABCDE FGHIJK\"XYZ"}, // X.680, 12.14.1
         {real, "0", "0"},
         {real, "-2.0", "-2"},
         {real, "3.14159", "3.1415899999999999"},
         {real, "1.602176634E-19", "1.6021766339999999e-19"},
         {real, "PLUS-INFINITY", "inf"},
   };
   for (const auto& c : cases) EXPECT_EQ(readBy(c.reader, c.text), c.value);
   EXPECT_EQ(writtenBits(16, "a98a", 2), "'A98A'H");
   EXPECT_EQ(writtenBits(9, "6880", 2), "'011010001'B");
   EXPECT_EQ(writtenText(rtAvnWriteUTF8Str, "She said \"hi\"."), "\"She said \"\"hi\"\".\"");
   EXPECT_EQ(writtenReal(3.14159), "3.14159");
}

// The process's locale writes 1,5; the library reads and writes 1.5 all the same.
TEST(ValueNotation, NoLocaleReachesNumbers) {
   const std::string folder = std::filesystem::temp_directory_path() / ("quorva-" + std::to_string(getpid()));
   std::filesystem::create_directory(folder);
   std::ofstream(folder + "/source") << "LC_NUMERIC\ncopy \"de_DE\"\nEND LC_NUMERIC\n";
   // It warns of what is missing besides numbers, and makes the locale all the same.
   const std::string command =
         "cd " + folder + " && localedef -c -i source -f ANSI_X3.4-1968 --no-archive ./comma >/dev/null 2>&1";
   [[maybe_unused]] const int result = std::system(command.c_str());
   setenv("LOCPATH", folder.c_str(), 1);
   const bool set = setlocale(LC_NUMERIC, "comma") != nullptr;
   if (set) {
      char text[8];
      snprintf(text, sizeof text, "%g", 1.5);
      EXPECT_STREQ(text, "1,5");
      EXPECT_EQ(writtenReal(1.5), "1.5");
      EXPECT_EQ(readBy(real, "1.5"), "1,5"); // the value is 1.5; the test prints it with a comma
      EXPECT_EQ(readBy(real, "1,5"), "1|,5");
      double value = 0;
      EXPECT_EQ(rtxUTF8StrToDouble("2.5", &value), 0);
      EXPECT_EQ(value, 2.5);
      EXPECT_EQ(rtxUTF8StrToDouble("2,5", &value), RTX_E_BAD_REAL);
   }
   setlocale(LC_NUMERIC, "C");
   unsetenv("LOCPATH");
   std::filesystem::remove_all(folder);
   if (!set) GTEST_SKIP() << "localedef makes no locale here";
}

TEST(ValueNotation, WithoutMemory) {
   system_memory::failEach(8, [](auto arm) {
      RtxContext ctxt;
      ASSERT_EQ(system_memory::init(&ctxt), 0);
      arm();
      const std::string digits(40000, 'A'), octets = "'" + digits + "'H", quoted = "\"" + digits + "\"";
      bool told = false;
      const auto read = [&](std::string input, const auto& reader) {
         rtxCtxtSetBufPtr(&ctxt, reinterpret_cast<uint8_t*>(input.data()), input.size());
         std::string value;
         told |= reader(&ctxt, value) < 0;
      };
      read(octets, bitsDyn);
      read(octets, [](RtxContext* c, std::string&) {
         uint8_t data[3], *more = nullptr;
         uint32_t numbits;
         return rtAvnReadBitStringExt(c, data, sizeof data, &more, &numbits);
      });
      for (const auto& reader : {rtAvnReadString, rtAvnReadIdentifier, rtxTxtReadBigInt, rtAvnReadRealString})
         read(reader == rtAvnReadString       ? quoted
              : reader == rtAvnReadIdentifier ? "a" + digits
              : reader == rtxTxtReadBigInt    ? std::string(40000, '1')
                                              : std::string(1000, '1'),
              text(reader));
      read(quoted, [](RtxContext* c, std::string&) {
         Rtx16BitCharString string;
         return rtAvnReadUCS2(c, &string);
      });
      read("T : {" + digits + "}", [](RtxContext* c, std::string&) {
         const char* value;
         return rtAvnReadOpenType(c, &value, nullptr);
      });
      EXPECT_EQ(told, system_memory::failures > 0);
      rtxMemHeapCheck(&ctxt, __FILE__, __LINE__);
      rtxFreeContext(&ctxt);
   });
}

} // namespace
