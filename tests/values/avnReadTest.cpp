// Readers of value notation: each table is read from a buffer and from streams that give 1, 7 or all octets.
#include "notation.h"

using namespace notation;

namespace {

struct Case {
   const char* text;
   const char* expected;
};

template <size_t n>
void expectAll(const Reader& reader, const Case (&cases)[n]) {
   for (const Case& c : cases) EXPECT_EQ(readBy(reader, c.text), c.expected) << c.text;
}

TEST(TextInput, Integers) {
   expectAll(integer(rtxTxtReadInt32), {{" \t\n\v\f\r-0012,", "-12|,"},
                                        {"+7", "7"},
                                        {"2147483647", "2147483647"},
                                        {"2147483648", "-23 ?|8"},
                                        {"-2147483648", "-2147483648"},
                                        {"-2147483649", "-23 ?|9"},
                                        {"99999999999", "-23 ?|99"},
                                        {"-", "-2"},
                                        {"", "-2"},
                                        {"  ", "-2"},
                                        {"--1", "-24 -|1"},
                                        {"x1", "-24 x|1"},
                                        {"1x", "1|x"}});
   expectAll(integer(rtxTxtReadInt8),
             {{"127", "127"}, {"128", "-23 ?"}, {"-128 ", "-128| "}, {"-129", "-23 ?"}});
   expectAll(integer(rtxTxtReadInt16), {{"32767", "32767"}, {"-32769", "-23 ?"}});
   expectAll(integer(rtxTxtReadUInt8),
             {{"255", "255"}, {"256", "-23 ?"}, {"-1", "-24 -|1"}, {"+1", "-24 +|1"}});
   expectAll(integer(rtxTxtReadUInt16), {{"65535", "65535"}, {"65536", "-23 ?"}});
   expectAll(integer(rtxTxtReadUInt32), {{"4294967295", "4294967295"}, {"4294967296", "-23 ?|6"}});
   expectAll(integer(rtxTxtReadInt64),
             {{"-9223372036854775808", "-9223372036854775808"}, {"9223372036854775808", "-23 ?|8"}});
   expectAll(integer(rtxTxtReadUInt64),
             {{"18446744073709551615", "18446744073709551615"}, {"18446744073709551616", "-23 ?|6"}});
   expectAll(text(rtxTxtReadBigInt),
             {{" -123456789012345678901234567890.", "-123456789012345678901234567890|."},
              {"+0", "0"},
              {"-x", "-24 x"}});
}

TEST(TextInput, PeeksAndMatches) {
   const auto match = [](int skip) {
      return [skip](RtxContext* c, std::string&) { return rtxTxtMatchChars(c, "ab", skip); };
   };
   expectAll(match(1), {{" \nabc", "|c"}, {"a b", "-24  |b"}, {"a", "-2"}, {" x", "-24 x"}});
   expectAll(match(0), {{" ab", "-24  |ab"}, {"ab", ""}});
   Octets input = {' ', 'x'};
   Context c(input);
   char next = 0;
   EXPECT_EQ(rtxTxtPeekChar(&c, &next, 0), 0);
   EXPECT_EQ(next, ' ');
   EXPECT_EQ(rtxTxtPeekChar2(&c, 1), 'x');
   EXPECT_EQ(c.bufByteIndex, 1u);
   EXPECT_EQ(rtxTxtMatchChar(&c, 'x', 0), 0);
   EXPECT_EQ(rtxTxtSkipWhitespace(&c), 0); // the end is no failure
   EXPECT_EQ(rtxErrGetErrorCnt(&c), 0u);
   EXPECT_EQ(rtxTxtPeekChar2(&c, 1), '\0');
   EXPECT_EQ(c.cleared(rtxErrGetLastError(&c)), RTX_E_END_OF_DATA);
   EXPECT_EQ(rtxTxtMatchChars(&c, "", 1), 0);
   EXPECT_EQ(rtxTxtMatchChars(&c, nullptr, 1), RTX_E_BAD_ARGUMENT);
}

TEST(ValueReader, EndOfABoundedStreamIsNoError) {
   Streamed s(RTX_STREAM_READ, {'T', 'R', 'U', 'E', '-', 'x'});
   ASSERT_EQ(rtxStreamInitCtxtBuf(&s), 0);
   s.stream->inputLimit = 5;
   EXPECT_EQ(s.cleared(rtAvnMatchToken(&s, "TRUE")), RTX_E_BAD_TOKEN); // sees a single hyphen, then the end
   EXPECT_EQ(rtxTxtMatchChar(&s, '-', 0), 0);
   EXPECT_EQ(rtxTxtSkipWhitespace(&s), 0);
   EXPECT_EQ(rtxErrGetErrorCnt(&s), 0u);
}

TEST(ValueReader, BitStrings) {
   const Case cases[] = {
         {"'1010'B", "4:a0"}, // the last letter tells
         {"'1010'H", "16:1010"}, {" '10 1\n0'B,", "4:a0|,"}, {"'1'H", "4:10"}, {"'aB c'H", "12:abc0"},
         {"'101'H", "12:1010"},  {"'111111111'B", "9:ff80"}, {"''B", "0:"},    {"''H", "0:"},
         {"'AB'B", "-21"},       {"'01G'H", "-21|'H"},       {"'01'X", "-21"}, {"'01'", "-2"},
         {"'01", "-2"},          {"01'B", "-24 0|1'B"}};
   expectAll(bits(8), cases);
   expectAll(bitsDyn, cases);
   expectAll(octetsDyn, {{"'1'H", "10"}, {"'101'B", "a0"}, {"'0A0b1'H", "0a0b10"}, {"''B", ""}});

   // Unused bits of the last octet are cleared, octets behind it are left alone.
   for (const char* text : {"'10100'B", "'A'H"}) {
      Octets input(text, text + strlen(text));
      Context c(input);
      uint8_t data[2] = {0xFF, 0xFF};
      uint32_t numbits;
      ASSERT_EQ(rtAvnReadBitString(&c, data, &numbits, 2, 0, 0), 0);
      EXPECT_EQ(hexFromOctets(data, 2), "a0ff");
   }
}

// Bits that turn out to be digits need four times the room, which must be there before they are moved.
TEST(ValueReader, DigitsThatGrow) {
   for (const size_t size : {1u, 3u})
      expectAll(bits(size), {{"'10110011'H", "-1"}, {"'101100112'H", "-1|'H"}, {"'10110011'B", "8:b3"}});
   expectAll(bits(4), {{"'10110011'H", "32:10110011"}, {"'101100112'H", "-1|'H"}});
   expectAll(bits(5), {{"'101100112'H", "36:1011001120"}, {"'1011001F2'H", "36:1011001f20"}});
   expectAll(bits(0), {{"''H", "0:"}, {"'0'B", "-1|'B"}, {"'2'H", "-1|'H"}});
   const Reader octets = [](RtxContext* c, std::string& value) {
      const std::unique_ptr<uint8_t[]> data(new uint8_t[2]);
      uint32_t numocts = 0;
      const int status = rtAvnReadOctString(c, data.get(), &numocts, 2);
      value = hexFromOctets(data.get(), numocts);
      return status;
   };
   expectAll(octets, {{"'0101'H", "0101"}, {"'01010'H", "-1"}, {"'0101010101010101'B", "5555"}});
   // Beyond a fixed part the rest goes to the heap, wherever the parts meet.
   for (const size_t size : {0u, 1u, 2u, 7u}) {
      const Reader split = [size](RtxContext* c, std::string& value) {
         Octets data(size);
         uint8_t* more = nullptr;
         uint32_t numbits = 0;
         const int status = rtAvnReadBitStringExt(c, data.data(), size, &more, &numbits);
         if (status == 0) {
            const size_t numocts = (numbits + 7) / 8, first = std::min(size, numocts);
            EXPECT_EQ(more != nullptr, numocts > size);
            value = hexFromOctets(data.data(), first) + hexFromOctets(more, numocts - first);
         }
         return status;
      };
      expectAll(split, {{"'10110011'H", "10110011"},
                        {"'10110011'B", "b3"},
                        {"'1011001F2'H", "1011001f20"},
                        {"'110101010101'B", "d550"},
                        {"'2'B", "-21"}});
   }
}

TEST(ValueReader, ZeroBitsAtTheEndOfNamedOnesDontCount) {
   const struct {
      const char* text;
      size_t limit;
      const char* expected;
   } cases[] = {
         {"'0100'B", 0, "2"}, {"'0100'B", 2, "2"}, {"'0100'B", 1, "-1"}, {"'0'H", 1, "0"}, {"''B", 1, "0"}};
   for (const auto& c : cases) {
      const Reader named = [&c](RtxContext* ctxt, std::string& value) {
         uint8_t data[4];
         size_t numbits = 0;
         const int status = rtAvnReadBitString64(ctxt, data, &numbits, sizeof data, 1, c.limit);
         value = std::to_string(numbits);
         return status;
      };
      EXPECT_EQ(readBy(named, c.text), c.expected) << c.text << c.limit;
   }
}

constexpr RtxNamedBit colours[] = {
      {"red", 0}, {"dark-blue", 5}, {"green", 9}, {"far", UINT32_MAX}, {nullptr, 0}};

TEST(ValueReader, NamedBits) {
   const Reader named = [](RtxContext* c, std::string& value) {
      uint8_t data[2] = {0xFF, 0xFF};
      uint32_t count = 0;
      const int status = rtAvnReadNamedBits(c, colours, data, &count, 2);
      value = std::to_string(count) + ":" + hexFromOctets(data, 2);
      return status;
   };
   expectAll(named, {{" { }x", "0:0000|x"},
                     {"{green , red}", "10:8040"},
                     {"{dark-blue}", "6:0400"},
                     {"{red,}", "-3|}"},
                     {"{red green}", "-24 g|reen}"},
                     {"{Red}", "-3|Red}"},
                     {"{red", "-2"},
                     {"{", "-2"},
                     {"{dark-bl}", "-41 dark-bl|}"},
                     {"{far}", "-19|}"}});
   const auto counted = [](auto count, auto read) {
      return [=](RtxContext* c, std::string& value) {
         auto number = count;
         const int status = read(c, colours, nullptr, &number, 0);
         value = std::to_string(number);
         return status;
      };
   };
   EXPECT_EQ(readBy(counted(uint32_t{0}, rtAvnReadNamedBits), "{far}"), "-23 ?");
   EXPECT_EQ(readBy(counted(size_t{0}, rtAvnReadNamedBits64), "{far}"), "4294967296");
   Context c;
   EXPECT_EQ(rtAvnReadNamedBits(&c, nullptr, nullptr, nullptr, 0), RTX_E_BAD_ARGUMENT);
}

TEST(ValueReader, Words) {
   expectAll(text(rtAvnReadIdentifier), {{" a-b1-C,", "a-b1-C|,"},
                                         {"a--b", "a|--b"},
                                         {"a-", "a|-"},
                                         {"a- b", "a|- b"},
                                         {"Ab", "-3|Ab"},
                                         {"1", "-3|1"},
                                         {"", "-2"}});
   const auto token = [](RtxContext* c, std::string&) { return rtAvnMatchToken(c, "TRUE"); };
   expectAll(token, {{" TRUE", ""},
                     {"TRUE,", "|,"},
                     {"TRUEX", "-3 TRUE|X"},
                     {"TRUE1", "-3 TRUE|1"},
                     {"TRUE-X", "-3 TRUE|-X"},
                     {"TRUE-", "-3 TRUE|-"},
                     {"TRUE--", "|--"}, // a comment
                     {"TRUF", "-24 F"},
                     {"TRU", "-2"}});
   const auto boolean = [](RtxContext* c, std::string& value) {
      uint8_t held = 7;
      const int status = rtAvnReadBoolean(c, &held);
      value = std::to_string(held);
      return status;
   };
   expectAll(boolean, {{" TRUE}", "1|}"}, {"FALSE", "0"}, {"true", "-24 t|rue"}, {"FALSEX", "-3 FALSE|X"}});
   const char* const names[] = {"one", nullptr, "two"};
   EXPECT_EQ(rtAvnLookupIdentifier("two", names, 3), 2u);
   EXPECT_EQ(rtAvnLookupIdentifier("three", names, 3), 3u);
   EXPECT_EQ(rtAvnLookupIdentifier(nullptr, names, 3), 3u);
}

TEST(ValueReader, Reals) {
   const Case cases[] = {{" 0123,", "0123|,"}, // no rule for leading zeros of the number itself
                         {"1.", "1."},         {"-1.50", "-1.50"}, {"1E5", "1E5"},   {"1.e-0}", "1.e-0|}"},
                         {"1e+12", "1e+12"},   {"1E01", "-21"},    {"1E-00", "-21"}, {"1E", "-21"},
                         {"1Ex", "-21|x"},     {"1E+", "-21"},     {"x", "-21|x"},   {".5", "-21|.5"},
                         {"+5", "-21|+5"},     {"-", "-2"},        {"-x", "-21|x"},  {"", "-2"},
                         {"1,5", "1|,5"}};
   expectAll(text(rtAvnReadRealString), cases);
   const std::string longest(1023, '1');
   EXPECT_EQ(readBy(text(rtAvnReadRealString), longest), longest);
   EXPECT_EQ(readBy(text(rtAvnReadRealString), longest + "1"), "-23 ?|1");
   expectAll(real, {{" PLUS-INFINITY", "inf"},
                    {"MINUS-INFINITY", "-inf"},
                    {"NOT-A-NUMBER", "nan"},
                    {"PLUS-INF", "-2"},
                    {"NOT-A-NUMBERS", "-3 NOT-A-NUMBER|S"},
                    {"-0", "-0"},
                    {"-12.5E-1", "-1.25"},
                    {"1.", "1"},
                    {"1E309", "-23 ?"},
                    {"-1E-400", "-0"},
                    {"1,5", "1|,5"}});
}

TEST(ValueReader, QuotedTexts) {
   const Case cases[] = {{" \"ab\"\"cd\",", "ab\"cd|,"},
                         {"\"\"", ""},
                         {"\"\"\"\"", "\""},
                         {"\"ab  \n\t cd\"", "abcd"},
                         {"\"ab\r\n\r\n \"", "ab"},
                         {"\"\n ab c\"", "ab c"},
                         {"\" ab \"", " ab "},
                         {"\"ab", "-2"},
                         {"\"ab\"\"", "-2"},
                         {"ab", "-24 a|b"}};
   const auto narrow = [](RtxContext* c, std::string& value) {
      Rtx16BitCharString string = {};
      const int status = rtAvnReadUCS2(c, &string);
      EXPECT_TRUE(!string.data || string.data[string.nchars] == 0);
      for (uint32_t i = 0; i < string.nchars; ++i) value += std::to_string(string.data[i]) + " ";
      return status;
   };
   const auto wide = [](RtxContext* c, std::string& value) {
      Rtx32BitCharString string = {};
      const int status = rtAvnReadUCS4(c, &string);
      for (uint32_t i = 0; i < string.nchars; ++i) value += static_cast<char>(string.data[i]);
      return status;
   };
   expectAll(text(rtAvnReadString), cases);
   expectAll(wide, cases);
   EXPECT_EQ(readBy(text(rtAvnReadString), "\"\xE9\xFF\""), "\xE9\xFF"); // 8-bit characters as they are
   expectAll(narrow, {{"\"a\u00e9\u20ac\"", "97 233 8364 "},
                      {"\"\u20ac \n\u20ac\"", "8364 8364 "},
                      {"\"\xED\xA0\x80\xC0\x80\"", "55296 0 "}, // surrogates and overlong forms are accepted
                      {"\"\U00010000\"", "-23 ?|\""},
                      {"\"a\"\"b \n \u20ac\x80\"", "-18 10|\""}, // the real place
                      {"\"\xE2\x82\"", "-18 0|\""},
                      {"\"\xFE\"", "-18 0|\""},
                      {"\"\xE2", "-18 0"}});
}

TEST(ValueReader, OpenTypes) {
   const auto open = [](RtxContext* c, std::string& value) {
      const char* text = nullptr;
      size_t length = 0;
      const int status = rtAvnReadOpenType(c, &text, &length);
      if (status == 0) value = text;
      EXPECT_EQ(value.size(), length);
      return status;
   };
   expectAll(open, {{" Abc-D:5, x", "Abc-D : 5|, x"},
                    {"A  :  -5 } x", "A : -5 |} x"},
                    {"A : TRUE", "A : TRUE"},
                    {"A : {a 1, b {c '7B'H}} , d", "A : {a 1, b {c '7B'H}}| , d"},
                    {"A : {\"}\"\"}\", '}'B} x", "A : {\"}\"\"}\", '}'B}| x"},
                    {"A : {--}--1} x", "A : {--}--1}| x"},
                    {"A : {--}\n1} x", "A : {--}\n1}| x"},
                    {"A : {/*}-*/1} x", "A : {/*}-*/1}| x"},
                    {"A : --,--{1} x", "A : --,--{1}| x"},
                    {"A : alt : {1, 2}, x", "A : alt : {1, 2}|, x"},
                    {"A : 5 -- to the end, of all", "A : 5 -- to the end, of all"},
                    {"A : \"a,b\"}", "A : \"a,b\"|}"},
                    {"A : {1", "-2"},
                    {"A : \"1", "-2"},
                    {"A : 1 /* 2", "-2"},
                    {"A :", "-2"},
                    {"A : ,", "-3|,"},
                    {"A 5", "-24 5"},
                    {"a : 5", "-3|a : 5"}});
   const std::string many(1000, 'x');
   EXPECT_EQ(readBy(open, "T : {" + many + "}"), "T : {" + many + "}");
}

TEST(ValueReader, ObjectIdentifiers) {
   const auto arcs = [](int (*read)(RtxContext*, RtxOID*)) {
      return [read](RtxContext* c, std::string& value) {
         RtxOID oid = {};
         const int status = read(c, &oid);
         for (uint32_t i = 0; i < oid.numids; ++i) value += std::to_string(oid.subid[i]) + ".";
         return status;
      };
   };
   // The first four as X.680, clause 32, has them.
   expectAll(arcs(rtAvnReadObjId), {{" {iso standard 8571 application-context (1)}", "1.0.8571.1."},
                                    {"{1 0 8571 1}", "1.0.8571.1."},
                                    {"{ iso(1) standard(0) standard8571(8571) }", "1.0.8571."},
                                    {"{\n1 2\t840 }x", "1.2.840.|x"},
                                    {"{1 2 4294967296}", "-23 ?"},
                                    {"{1 foo}", "-14"},
                                    {"{}", "-14"},
                                    {"1 2", "-24 1| 2"},
                                    {"{1 2", "-2"}});
   expectAll(arcs(rtAvnReadRelOID), {{"{8571 1}", "8571.1."}, {"{iso 1}", "-14"}});
   expectAll(text(rtAvnReadObjIdStr), {{" { iso ( 1 ) member-body(2) 840 113549 }", "1.2.840.113549"},
                                       {"{2 25 329800735698586629295641978511506172918}",
                                        "2.25.329800735698586629295641978511506172918"},
                                       {"{1 2 x}", "-14"},
                                       {"{1", "-2"}});
   expectAll(text(rtAvnReadRelOIDStr), {{"{ 8571  1 }", "8571.1"}, {"{a 1}", "-14"}});
   std::string many = "{1";
   for (int i = 0; i < 200; ++i) many += " 2";
   EXPECT_EQ(readBy(arcs(rtAvnReadObjId), many + "}").substr(0, 4), "-100");
}

// A static heap neither aligns nor moves what it hands out.
TEST(ValueReader, StaticHeap) {
   alignas(8) static uint8_t memory[4096];
   Context c;
   ASSERT_EQ(rtxMemHeapConvertStatic(&c, memory, sizeof memory), 0);
   const std::string hex = "'" + std::string(201, 'A') + "'H";
   for (int round = 0; round < 3; ++round) {
      Octets input(hex.begin(), hex.end());
      c.use(input);
      std::string value;
      ASSERT_EQ(octetsDyn(&c, value), 0);
      EXPECT_EQ(value, std::string(201, 'a') + "0");
      const std::string quoted = "\"abc\"";
      input.assign(quoted.begin(), quoted.end());
      c.use(input);
      Rtx32BitCharString text;
      ASSERT_EQ(rtAvnReadUCS4(&c, &text), 0);
      EXPECT_EQ(reinterpret_cast<uintptr_t>(text.data) % alignof(uint32_t), 0u);
   }
}

} // namespace
