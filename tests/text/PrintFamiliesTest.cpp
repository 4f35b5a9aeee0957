// One table for the printers of all three families: what goes to the print stream, to standard output and to
// the end of a text.
#include <gtest/gtest.h>

#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <functional>
#include <string>
#include <vector>

#include "quorva/rtPrint.h"
#include "quorva/rtPrintToStream.h"
#include "quorva/rtPrintToString.h"
#include "quorva/rtxDateTime.h"
#include "quorva/rtxPrint.h"
#include "quorva/rtxStatus.h"
#include "support/capture.h"

#if defined(__SANITIZE_ADDRESS__)
#define QUORVA_TEST_LSAN 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define QUORVA_TEST_LSAN 1
#endif
#endif
#ifdef QUORVA_TEST_LSAN
#include <sanitizer/lsan_interface.h>
#endif

namespace {

using quorva_test::standardOutput;
using Strings = std::vector<std::string>;

struct Row {
   const char* what;
   std::function<int(RtxContext*)> stream;
   std::function<int()> standard;
   std::function<int(char*, size_t)> string;
   Strings texts; // of the three; the first one also for those left out
   bool dump = false;
   size_t oddSize = 0; // of a text that is looked at elsewhere
};

#define STREAM(...) [&]([[maybe_unused]] RtxContext* c) -> int { return __VA_ARGS__; }
#define STDOUT(...) [&]() -> int { return __VA_ARGS__; }
#define STRING(...) [&](char* b, size_t s) -> int { return __VA_ARGS__; }

#define NO_STREAM(standard, string, ...)                                                                     \
   nullptr, STDOUT(standard(__VA_ARGS__)), STRING(string(__VA_ARGS__, b, s))
#define NO_STDOUT(stream, string, ...)                                                                       \
   STREAM(stream(c, __VA_ARGS__)), nullptr, STRING(string(__VA_ARGS__, b, s))
#define NO_STRING(stream, standard, ...)                                                                     \
   STREAM(stream(c, __VA_ARGS__)), STDOUT(standard(__VA_ARGS__)), nullptr
#define ALL(stream, standard, string, ...)                                                                   \
   STREAM(stream(c, __VA_ARGS__)), STDOUT(standard(__VA_ARGS__)), STRING(string(__VA_ARGS__, b, s))
// The same by the name that the families share, which with the arguments is what the row is about.
#define BOTH(name, ...)                                                                                      \
#name "(" #__VA_ARGS__ ")", NO_STRING(rtxPrintToStream##name, rtxPrint##name, __VA_ARGS__)
#define COMMON(name, ...)                                                                                    \
#name "(" #__VA_ARGS__ ")", ALL(rtxPrintToStream##name, rtxPrint##name, rtPrintToString##name, __VA_ARGS__)
#define MIXED(name, ...)                                                                                     \
#name "(" #__VA_ARGS__ ")", ALL(rtPrintToStream##name, rtxPrint##name, rtPrintToString##name, __VA_ARGS__)
#define ASN1(name, ...)                                                                                      \
#name "(" #__VA_ARGS__ ")", ALL(rtPrintToStream##name, rtPrint##name, rtPrintToString##name, __VA_ARGS__)

void checkRow(const Row& row) {
   SCOPED_TRACE(row.what);
   const auto text = [&](size_t column) { return row.texts[column < row.texts.size() ? column : 0]; };
   if (row.stream) {
      quorva_test::Capture capture;
      capture.ctxt.indent = 3;
      EXPECT_EQ(0, row.stream(&capture.ctxt));
      EXPECT_EQ(text(0), capture.take());
      EXPECT_EQ(3, capture.ctxt.indent);
   }
   if (row.standard) {
      EXPECT_EQ(text(1), standardOutput([&] { row.standard(); }));
   }
   if (!row.string) return;
   const std::string before = "ab", whole = before + text(2);
   for (size_t size = 0; size <= whole.size() + 2; ++size) {
      SCOPED_TRACE(size);
      std::vector<char> buffer(size); // to the octet, for AddressSanitizer
      std::copy_n(before.c_str(), std::min(size, before.size() + 1), buffer.data());
      const int status = row.string(buffer.data(), size);
      const std::string left(buffer.begin(), std::find(buffer.begin(), buffer.end(), '\0'));
      // The dump takes its last line end for dispensable, see rtxHexDumpToStringEx.
      if ((row.dump && size == whole.size()) || size == row.oddSize) continue;
      EXPECT_EQ(left, whole.substr(0, left.size()));
      EXPECT_TRUE(size <= before.size() || left.size() < size);
      EXPECT_EQ(size > whole.size() ? 0 : -1, status);
      EXPECT_TRUE(status != 0 || left == whole);
   }
   EXPECT_EQ(-1, row.string(nullptr, 9));
}

const uint8_t letters[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZ012345";
const std::string dump2 = "41 42" + std::string(44, ' ') + "AB\n";
const std::string dump33 = "41 42 43 44 45 46 47 48 49 4a 4b 4c 4d 4e 4f 50  ABCDEFGHIJKLMNOP\n"
                           "51 52 53 54 55 56 57 58 59 5a 30 31 32 33 34 35  QRSTUVWXYZ012345\n"
                           "00                                               .\n";

TEST(PrintFamilies, CommonValues) {
   const uint16_t units[] = {'a', 0x7F, ' ', 0xE9, '~', 0x20AC, 0, 'z'};
   const std::string shown = "n = 'a0x007f 0x00e9~0x20ac";
   const uint8_t digits[] = {0x21, 0xF3}, address[] = {0x20, 0x01, 0x0D, 0xB8, 0x00};
   const uint8_t fillers[] = {0x0F, 0x9F, 0xBA, 0xDC, 0xFE, 0xFF, 0x87};
   const uint8_t unseen[] = {0x41, 0x00, 0x42, 0x7F, 0xFF, 0x20};
   const std::vector<uint8_t> many(1000);
   const RtxNVP pair = {"k", nullptr}, nameless = {nullptr, "v"};
   const RtxDateTime time = {2024, 2, 29, 23, 59, 30.5, 1, -90};
   const std::string line32 = "n = 0x4142434445464748494a4b4c4d4e4f505152535455565758595a303132333435\n";
   const Row rows[] = {
         {COMMON(Boolean, "n", 2), {"n = true\n", "n = true\n", "n = TRUE\n"}},
         {COMMON(Boolean, "n", 0), {"n = false\n", "n = false\n", "n = FALSE\n"}},
         {COMMON(Integer, "n", INT32_MIN), {"n = -2147483648\n"}},
         {COMMON(Unsigned, "n", ~0u), {"n = 4294967295\n"}},
         {COMMON(Int64, "n", INT64_MIN), {"n = -9223372036854775808\n"}},
         {COMMON(UInt64, "n", ~0ull), {"n = 18446744073709551615\n"}},
         // 6 digits, 12 digits, and a second equal sign and line end: all deliberate.
         {COMMON(Real, "n", 1234567.5), {"n = 1.23457e+06\n", "n = 1234567.5\n", "n =  = 1.23457e+06\n\n"}},
         {BOTH(Null, "n"), {"n = <null>\n"}},
         {COMMON(CharStr, "n", "a%sb"), {"n = 'a%sb'\n"}},
         {"no text",
          ALL(rtxPrintToStreamUTF8CharStr, rtxPrintUTF8CharStr, rtPrintToStringUTF8Str, "n", nullptr),
          {"n = '(null)'\n"}},
         {COMMON(CharStr, "n", nullptr), {"n = '(null)'\n"}},
         {"UTF-8",
          ALL(rtxPrintToStreamUTF8CharStr, rtxPrintUTF8CharStr, rtPrintToStringUTF8Str, "n", "\xC3\xA9"),
          {"n = '\xC3\xA9'\n"}},
         {BOTH(UnicodeCharStr, "n", units, -1), {shown + "'\n"}},
         {BOTH(UnicodeCharStr, "n", units, 0), {"n = ''\n"}},
         {"counted units",
          NO_STRING(rtxPrintToStreamUnicodeCharStr, rtxPrintUnicodeCharStr64, "n", units, 8),
          {shown + "0x0000z'\n"}},
         {BOTH(UnicodeCharStr, "n", nullptr, -1), {""}},
         {BOTH(HexStrPlain, "n", 0, nullptr), {"n = 0x\n"}},
         {BOTH(HexStrPlain, "n", many.size(), many.data()), {"n = 0x" + std::string(2000, '0') + "\n"}},
         {BOTH(HexStrPlain, "n", 32, letters), {line32}},
         {COMMON(HexStr, "n", 32, letters), {line32}},
         {COMMON(HexStr, "n", 33, letters), {"n =\n" + dump33, "n =\n" + dump33, "n = \n" + dump33}, true},
         {BOTH(HexStrNoAscii, "n", 2, letters), {"n =\n41 42" + std::string(43, ' ') + "\n", "n = 0x4142\n"}},
         {"no characters, 33",
          nullptr,
          STDOUT(rtxPrintHexStrNoAscii("n", 33, letters)),
          nullptr,
          {"n =\n41 42 43 44 45 46 47 48 49 4a 4b 4c 4d 4e 4f 50 \n"
           "51 52 53 54 55 56 57 58 59 5a 30 31 32 33 34 35 \n00" +
           std::string(46, ' ') + "\n"}},
         {BOTH(HexBinary, "n", 2, letters), {"n.numocts = 2\nn.data = \n" + dump2}},
         {BOTH(NVP, "n", &pair), {"n.name  = 'k'\nn.value = '(null)'\n"}},
         {"pair in a list",
          nullptr,
          STDOUT(rtxPrintArrayNVP("n", 7, &pair)),
          nullptr,
          {"n[7].name  = 'k'\nn[7].value = '(null)'\n"}},
         {MIXED(Text, "n", 33, letters), {"n = ABCDEFGHIJKLMNOPQRSTUVWXYZ012345\n"}},
         {BOTH(NVP, "n", &nameless), {"n.name  = '(null)'\nn.value = 'v'\n"}},
         {MIXED(Text, "n", sizeof(unseen), unseen), {"n = AB \n"}},
         {MIXED(Ipv4Addr, "n", 0, address), {"n = \n"}},
         {MIXED(Ipv6Addr, "n", 0, address), {"n = \n"}},
         {MIXED(Ipv6Addr, "n", 5, address), {"n = 201:db8:0\n"}}, // octets have no leading zeros
         {MIXED(TBCDStr, "n", sizeof(fillers), fillers), {"n = 09*#abc78\n", "n = 09*#abc78"}}, // nor an end
         {MIXED(Ipv4Addr, "n", 4, address), {"n = 32.1.13.184\n"}},
         {MIXED(Ipv6Addr, "n", 4, address), {"n = 201:db8\n"}},
         // No line end on standard output, deliberately.
         {MIXED(TBCDStr, "n", 2, digits), {"n = 123\n", "n = 123", "n = 123\n"}},
         {ASN1(DateTime, "n", &time), {"n = 2024-02-29T23:59:30.5-01:30\n"}},
   };
   for (const Row& row : rows) checkRow(row);
}

TEST(PrintFamilies, Asn1Values) {
   RtxDynOctStr long33 = {33, letters}, two = {2, letters};
   RtxDListNode nodes[3] = {
         {&two, &nodes[1], nullptr}, {nullptr, &nodes[2], &nodes[0]}, {&long33, nullptr, &nodes[1]}};
   const RtxDList list = {3, nodes, nodes + 2}, none = {};
   alignas(4) const uint8_t memory[] = {0x41, 0, 0, 0, 0xAC, 0x20, 0, 0};
   const Rtx16BitCharString text16 = {4, reinterpret_cast<const uint16_t*>(memory)};
   const Rtx32BitCharString text32 = {2, reinterpret_cast<const uint32_t*>(memory)};
   const RtxOID oid = {3, {1, 2, 0x80000000}};
   const RtxOID64 oid64 = {2, {1, 1ull << 63}};
   const std::string head = "n.numocts = 2\nn.data =", head33 = "n.numocts = 33\nn.data =";
   const std::string shown16 = "n = 'A0x00000x20ac0x0000'\n";
   const std::string wide16 = "4100 0000 ac20 0000" + std::string(30, ' ') + "A.... ..\n";
   const std::string wide32 = "41000000 ac200000" + std::string(32, ' ') + "A.... ..\n";
   const Row rows[] = {
         {ASN1(OctStr, "n", 2, letters, "."),
          {head + " \n" + dump2, head + " \n" + dump2, head + " " + dump2},
          true},
         {ASN1(OpenType, "n", 0, letters, "->"),
          {"n->numocts = 0\nn->data = \n", "n->numocts = 0\nn->data = \n", "n->numocts = 0\nn->data = "}},
         {ASN1(OpenTypeExt, "n", &list),
          {head + " \n" + dump2 + head33 + " \n" + dump33, head + " \n" + dump2 + head33 + " \n" + dump33,
           head + " " + dump2 + head33 + " " + dump33},
          true},
         {ASN1(OpenTypeExtBraceText, "n", &list),
          {"   n = 0x4142\n   n =\n" + dump33, "n = 0x4142\nn =\n" + dump33, "n = 0x4142\nn = \n" + dump33},
          true},
         {"no open types",
          STREAM(rtPrintToStreamOpenTypeExt(c, "n", &none)),
          STDOUT(rtPrintOpenTypeExt("n", nullptr)),
          STRING(rtPrintToStringOpenTypeExt("n", &none, b, s)),
          {""}},
         {ASN1(OpenTypeExtBraceText, "n", nullptr), {""}},
         {"empty OID text", STREAM(rtPrintToStreamOIDStr(c, "n", "")), nullptr, nullptr, {"n = {  }\n"}},
         // On standard output the 16-bit text is no dump, deliberately.
         {ASN1(16BitCharStr, "n", &text16, "."),
          {"n.nchars = 4\nn.data = \n" + wide16, shown16, "n.nchars = 4\nn.data =\n" + wide16},
          true},
         {ASN1(32BitCharStr, "n", &text32, "."),
          {"n.nchars = 2\nn.data = \n" + wide32, "n.nchars = 2\nn.data = \n" + wide32,
           "n.nchars = 2\nn.data =\n" + wide32},
          true},
         {ASN1(UnicodeCharStr, "n", &text16), {shown16}},
         {ASN1(UnivCharStr, "n", &text32), {"n = 'A0x000020ac'\n"}},
         // Unsigned in texts alone, deliberately.
         {ASN1(OID, "n", &oid),
          {"n = { 1 2 -2147483648 }\n", "n = { 1 2 -2147483648 }\n", "n = { 1 2 2147483648 }\n"}},
         {ASN1(OIDValue, &oid), {"{ 1 2 -2147483648 }\n", "{ 1 2 -2147483648 }\n", "{ 1 2 2147483648 }\n"}},
         {ASN1(OID2, "n", 2, oid.subid), {"n = { 1 2 }\n"}},
         {ASN1(OIDValue2, 0, nullptr), {"{ }\n"}},
         {ASN1(OID64, "n", &oid64),
          {"n = { 1 -9223372036854775808 }\n", "n = { 1 -9223372036854775808 }\n",
           "n = { 1 9223372036854775808 }\n"}},
         {ASN1(OID64Value, &oid64),
          {"{ 1 -9223372036854775808 }\n", "{ 1 -9223372036854775808 }\n", "{ 1 9223372036854775808 }\n"}},
         {ASN1(OIDStr, "n", nullptr), {"n = (null)\n"}},
         {"OID text",
          NO_STDOUT(rtPrintToStreamOIDStr, rtPrintToStringOIDStr, "n", "1.2.840"),
          {"n = { 1 2 840 }\n"},
          false,
          8},
   };
   for (const Row& row : rows) checkRow(row);
   // Without room for the brace and its blank the arcs come alone, deliberately.
   char text[8] = "abn = ";
   text[2] = '\0';
   EXPECT_EQ(-1, rtPrintToStringOIDStr("n", "1.2.840", text, sizeof(text)));
   EXPECT_STREQ("abn = 1", text);
   // On standard output its copy is never freed, which is required; all else must not leak.
#ifdef QUORVA_TEST_LSAN
   __lsan_disable();
#endif
   EXPECT_EQ("n = { 1 2 840 }\n", standardOutput([] { rtPrintOIDStr("n", "1.2.840"); }));
#ifdef QUORVA_TEST_LSAN
   __lsan_enable();
#endif
}

TEST(PrintFamilies, BitStrings) {
   std::vector<uint8_t> counted(40);
   for (size_t i = 0; i < counted.size(); ++i) counted[i] = static_cast<uint8_t>(0xA0 | i);
   const uint8_t* data = counted.data();
   const uint32_t number = 1;
   const char* const bitName = "one";
   // Octets and partial octet of the first `numbits` bits from octet 0xA0 on.
   const auto dump = [](uint32_t numbits, const char* format, const char* last) {
      std::string text = numbits > 71 ? "\n" : "";
      for (uint32_t i = 0; i < numbits / 8; ++i) {
         char octet[8];
         snprintf(octet, sizeof(octet), format, 0xA0 | i);
         text += (i == 0 ? "" : i % 16 == 0 ? "\n" : " ") + std::string(octet);
      }
      if (*last) text += (numbits < 8 ? "" : numbits / 8 % 16 == 15 ? "\n" : " ") + std::string(last);
      return text;
   };
   const struct {
      uint32_t numbits;
      const char* last;
   } lengths[] = {{0, ""},  {3, "101xxxxx"},   {8, ""},   {11, "101xxxxx"},  {64, ""},  {71, "1010100x"},
                  {72, ""}, {121, "1xxxxxxx"}, {128, ""}, {129, "1xxxxxxx"}, {256, ""}, {259, "101xxxxx"}};
   for (const auto& length : lengths) {
      const uint32_t n = length.numbits;
      const char* const last = length.last;
      const std::string upper = dump(n, "0x%02X", last), lower = dump(n, "0x%02x", last);
      const std::string head = "n.numbits = " + std::to_string(n) + "\nn.data = ";
      const std::string brace = "n = { " + std::to_string(n) + ", ";
      const Row rows[] = {
            {"dump", NO_STREAM(rtBitStringDump, rtBitStringDumpToString, n, data), {"", upper, lower}},
            {"bits",
             NO_STREAM(rtPrintBitStr, rtPrintToStringBitStr, "n", n, data, "."),
             {"", head + upper + "\n", head + lower + "\n"}},
            {"braces",
             NO_STREAM(rtPrintBitStrBraceText, rtPrintToStringBitStrBraceText, "n", n, data),
             {"", brace + upper + " }\n", brace + lower + " }\n"}},
      };
      for (const Row& row : rows) checkRow(row);
   }
   const std::string all = dump(100, "0x%02X", "1010xxxx"), low = dump(100, "0x%02x", "1010xxxx");
   const std::string named = "(1), one(0), (1), (0), (0), (0), (0), (0)";
   const Row rows[] = {
         {ASN1(BitStrBin, "n", 9, data, "."), {"n.numbits = 9\nn.data = 101000001\n"}},
         {"stored whole",
          nullptr,
          STDOUT(rtPrintBitStrExt("n", 11, data, 2, data, ".")),
          STRING(rtPrintToStringBitStrExt("n", 11, data, 2, nullptr, ".", b, s)),
          {"", "n.numbits = 11\nn.data = 0xA0 101xxxxx\n", "n.numbits = 11\nn.data = 0xa0 101xxxxx\n"}},
         // The text family shows the extension as the print stream does.
         {"stored in part",
          NO_STREAM(rtPrintBitStrExt, rtPrintToStringBitStrExt, "n", 108, data, 1, data, "."),
          {"", "n.numbits = 108\nn.data = 0xA0 " + all + "\n",
           "n.numbits = 108\nn.data = 0xa0\nn.extdata = 0xa0\n"}},
         {"no extension",
          nullptr,
          STDOUT(rtPrintBitStrExt("n", 108, data, 1, nullptr, ".")),
          nullptr,
          {"", "n.numbits = 108\nn.data = 0xA0\n"}},
         {"braces",
          NO_STREAM(rtPrintBitStrBraceTextExt, rtPrintToStringBitStrBraceTextExt, "n", 11, data, 1, data),
          {"", "n = { 11, 0xA0 101xxxxx }\n", "n = { 11, 0xa0, 0xa0 }\n"}},
         {ASN1(BitStrNamed, "n", 8, data, ".", 1, &number, &bitName),
          {"   n.numbits = 8\n   n.data = (" + named + ")\n", "n.numbits = 8\nn.data = (" + named + ")\n",
           "n.numbits = 8\nn.data = (" + named + ")\n"}},
         {ASN1(BitStrNamedExt, "n", 108, data, 1, data, ".", 1, &number, &bitName),
          {"   n.numbits = 108\n   n.data = (" + named + ") " + all + "\n",
           "n.numbits = 108\nn.data = (" + named + ") " + all + "\n",
           "n.numbits = 108\nn.data = (" + named + ") " + low + "\n"}},
         {"only names",
          NO_STDOUT(rtBitStringDumpNamed, rtBitStringDumpNamedToString, 2, data, 1, &number, &bitName),
          {"((1), one(0))"}},
   };
   for (const Row& row : rows) checkRow(row);
}

// Each family has an indent of its own.
TEST(PrintFamilies, Indents) {
   std::string text(200, '\0');
   quorva_test::Capture capture;
   EXPECT_EQ("a {\n   b {\n", standardOutput([] {
                rtxPrintOpenBrace("a");
                rtxPrintOpenBrace("b");
             }));
   EXPECT_EQ(0, rtPrintToStringOpenBrace("a", text.data(), text.size()));
   EXPECT_EQ(0,
             rtPrintToStringBitStrNamed("n", 0, nullptr, ".", 0, nullptr, nullptr, text.data(), text.size()));
   EXPECT_EQ("   n.numbits = 0\n   n.data = ()\n", std::string(text.c_str()).substr(4));
   EXPECT_EQ(0, rtxPrintToStreamOpenBrace(&capture.ctxt, "a"));
   EXPECT_EQ("a {\n", capture.take());
   const uint8_t bits = 0x80;
   EXPECT_EQ("      n.numbits = 1\n      n.data = 1\n      n.numbits = 1\n      n.data = 1xxxxxxx\n   }\n}\n "
             "  }\n}\n",
             standardOutput([&] {
                rtPrintBitStrBin("n", 1, &bits, ".");
                rtPrintBitStrExt("n", 1, &bits, 1, nullptr, ".");
                rtxPrintCloseBrace();
                rtxPrintCloseBrace();
                rtxPrintIncrIndent();
                rtxPrintIncrIndent();
                rtxPrintDecrIndent();
                rtxPrintIndent();
                rtxPrintResetIndent();
                rtxPrintCloseBrace();
                rtxPrintDecrIndent();
                rtxPrintCloseBrace();
             }));
   text.assign(200, '\0');
   EXPECT_EQ(0, rtPrintToStringCloseBrace(text.data(), text.size()));
   EXPECT_EQ(0, rtPrintToStringCloseBrace(text.data(), text.size()));
   rtPrintToStringIncrIndent();
   EXPECT_EQ(0, rtPrintToStringIndent(text.data(), text.size()));
   rtPrintToStringIncrIndent();
   rtPrintToStringDecrIndent();
   EXPECT_EQ(0, rtPrintToString("%s", text.data(), text.size()));
   // An opening brace without room leaves the indent alone.
   EXPECT_EQ(-1, rtPrintToStringOpenBrace("a", text.data(), 12));
   EXPECT_STREQ("}\n}\n   %s  ", text.c_str());
   rtPrintToStringResetIndent();
   EXPECT_EQ(0, rtPrintToStringIndent(text.data(), text.size()));
   EXPECT_STREQ("}\n}\n   %s  ", text.c_str());
}

TEST(PrintFamilies, Files) {
   const std::string name = testing::TempDir() + "quorva-print-family";
   const std::string content = "a%%b\nlast";
   FILE* file = fopen(name.c_str(), "w");
   ASSERT_NE(nullptr, file);
   fputs(content.c_str(), file);
   fclose(file);
   quorva_test::Capture capture;
   EXPECT_EQ(0, rtxPrintToStreamFile(&capture.ctxt, name.c_str()));
   EXPECT_EQ("a%b\nlast", capture.take());
   // No format here, and a second line end, deliberately.
   EXPECT_EQ("a%%b\n\nlast\n", standardOutput([&] { EXPECT_EQ(0, rtxPrintFile(name.c_str())); }));
   unlink(name.c_str());
   EXPECT_EQ("", standardOutput([&] { EXPECT_EQ(RTX_E_FILE_NOT_FOUND, rtxPrintFile(name.c_str())); }));
}

TEST(PrintFamilies, DateTimes) {
   const struct {
      RtxDateTime value;
      const char* text; // null: invalid
   } rows[] = {
         {{2024, 2, 29, 0, 0, 0, 0, 0}, "2024-02-29T00:00:00"},
         {{1900, 2, 28, 23, 59, 59.999999, 1, 0}, "1900-02-28T23:59:59.999999Z"},
         {{2000, 2, 29, 1, 2, 3.25, 1, 840}, "2000-02-29T01:02:03.25+14:00"},
         {{-44, 3, 15, 12, 0, 0.0000001, 1, -1}, "-0044-03-15T12:00:00-00:01"},
         {{INT32_MIN, 12, 31, 12, 0, 9.5, 0, 9999}, "-2147483648-12-31T12:00:09.5"},
         {{2023, 2, 29, 0, 0, 0, 0, 0}, nullptr},
         {{1900, 2, 29, 0, 0, 0, 0, 0}, nullptr},
         {{2023, 0, 1, 0, 0, 0, 0, 0}, nullptr},
         {{2023, 13, 1, 0, 0, 0, 0, 0}, nullptr},
         {{2023, 4, 31, 0, 0, 0, 0, 0}, nullptr},
         {{2023, 4, 0, 0, 0, 0, 0, 0}, nullptr},
         {{2023, 4, 1, 24, 0, 0, 0, 0}, nullptr},
         {{2023, 4, 1, 0, 60, 0, 0, 0}, nullptr},
         {{2023, 4, 1, 0, 0, 60, 0, 0}, nullptr},
         {{2023, 4, 1, 0, 0, -0.5, 0, 0}, nullptr},
         {{2023, 4, 1, 0, 0, 0, 1, -841}, nullptr},
   };
   for (const auto& row : rows) {
      SCOPED_TRACE(row.text ? row.text : "invalid");
      EXPECT_EQ(row.text != nullptr, rtxDateTimeIsValid(&row.value) != 0);
      char text[50] = "";
      quorva_test::Capture capture;
      if (!row.text) {
         EXPECT_EQ(RTX_E_BAD_FORMAT, rtxDateTimeToString(&row.value, text, sizeof(text)));
         EXPECT_EQ(-1, rtPrintToStreamDateTime(&capture.ctxt, "n", &row.value));
         EXPECT_EQ("n = ", capture.take());
         continue;
      }
      EXPECT_EQ(RTX_E_TOO_SMALL, rtxDateTimeToString(&row.value, text, strlen(row.text)));
      EXPECT_EQ(0, rtxDateTimeToString(&row.value, text, strlen(row.text) + 1));
      EXPECT_STREQ(row.text, text);
   }
}

TEST(PrintFamilies, SingleValues) {
   const uint8_t bits = 0xA0, octets[] = {0x1F, 0};
   const uint32_t arcs[] = {1, ~0u};
   const uint64_t arcs64[] = {1, ~0ull};
   EXPECT_STREQ("TRUE", rtBoolToString(7));
   EXPECT_STREQ("FALSE", rtBoolToString(0));
   const struct {
      std::function<const char*(char*, size_t)> call;
      std::string text;
      bool arcs; // whole arcs or nothing
   } rows[] = {
         {[&](char* b, size_t s) { return rtIntToString(INT32_MIN, b, s); }, "-2147483648", false},
         {[&](char* b, size_t s) { return rtUIntToString(~0u, b, s); }, "4294967295", false},
         {[&](char* b, size_t s) { return rtInt64ToString(INT64_MIN, b, s); }, "-9223372036854775808", false},
         {[&](char* b, size_t s) { return rtUInt64ToString(~0ull, b, s); }, "18446744073709551615", false},
         {[&](char* b, size_t s) { return rtBitStrToString(3, &bits, b, s); }, "'101'B", false},
         {[&](char* b, size_t s) { return rtBitStrToString(0, nullptr, b, s); }, "''B", false},
         {[&](char* b, size_t s) { return rtOctStrToString(2, octets, b, s); }, "'1f00'H", false},
         {[&](char* b, size_t s) { return rtOIDToString(0, nullptr, b, s); }, "{ }", true},
         {[&](char* b, size_t s) { return rtOIDToString(2, arcs, b, s); }, "{ 1 4294967295 }", true},
         {[&](char* b, size_t s) { return rtOID64ToString(2, arcs64, b, s); }, "{ 1 18446744073709551615 }",
          true},
         {[&](char* b, size_t s) { return rtTagToString(0x0002, b, s); }, "[UNIVERSAL 2]", false},
         {[&](char* b, size_t s) { return rtTagToString(0x7FFF, b, s); }, "[APPLICATION 8191]", false},
         {[&](char* b, size_t s) { return rtTagToString(0xA000, b, s); }, "[0]", false},
         {[&](char* b, size_t s) { return rtTagToString(0xC001, b, s); }, "[PRIVATE 1]", false},
   };
   for (const auto& row : rows) {
      for (size_t size = 0; size < row.text.size() + 3; ++size) {
         std::vector<char> buffer(size);
         const char* text = row.call(buffer.data(), size);
         if (row.arcs && size < 6) {
            EXPECT_EQ(nullptr, text);
            continue;
         }
         EXPECT_EQ(buffer.data(), text);
         if (size == 0) continue;
         std::string expected = row.text.substr(0, size - 1);
         if (row.arcs && expected != row.text)
            expected =
                  expected.size() + 1 == row.text.size() ? expected : expected.substr(0, size > 4 ? 4 : 2);
         EXPECT_EQ(expected, text) << size;
         EXPECT_EQ('\0', buffer.back());
      }
   }
   char name[6];
   EXPECT_EQ(name, rtxGetArrayElemName(name, sizeof(name), "el", 4));
   EXPECT_STREQ("el[4]", name);
   EXPECT_STREQ("el[", rtxGetArrayElemName(name, sizeof(name), "el", 12345));
}

} // namespace
