// Texts in the GSM 7-bit default alphabet.
#include "quorva/rtx3GPP.h"
#include "runtime/nas/gsmAlphabet.h"
#include "tests/support/context.h"
#include "tests/support/vectors.h"

#include <gtest/gtest.h>

using namespace quorva;
using namespace quorva::test;

namespace {

// TS 23.038, 6.2.1, row by row as Unicode, so that the tables are checked against another writing of it.
const std::u32string standard = U"@£$¥èéùìòÇ\nØø\rÅå"
                                U"Δ_ΦΓΛΩΠΨΣΘΞ\x1bÆæßÉ"
                                U" !\"#¤%&'()*+,-./"
                                U"0123456789:;<=>?"
                                U"¡ABCDEFGHIJKLMNO"
                                U"PQRSTUVWXYZÄÖÑÜ§"
                                U"¿abcdefghijklmno"
                                U"pqrstuvwxyzäöñüà";

TEST(GsmAlphabet, IsThatOfTheStandard) {
   ASSERT_EQ(standard.size(), gsmCharSet.size());
   for (size_t septet = 0; septet < standard.size(); ++septet) {
      const bool latin1 = standard[septet] < 256 && septet != gsmEscape;
      EXPECT_EQ(gsmCharSet[septet], latin1 ? standard[septet] : U'?') << septet;
   }
   for (unsigned ch = 0; ch < 256; ++ch) {
      const size_t septet = standard.find(static_cast<char32_t>(ch));
      EXPECT_EQ(gsmRevCharSet[ch], septet == std::u32string::npos || septet == gsmEscape ? 0x3F : septet)
            << ch;
   }
}

std::string decoded(const Octets& octets, size_t septets, int expected = 0, size_t room = 200) {
   TestContext ctx;
   std::string text(room, '\1');
   EXPECT_EQ(rtx3GPPDecGSMCharStr(ctx.decode(octets), text.data(), text.size(), septets), expected);
   EXPECT_EQ(rtxErrGetLastError(ctx), expected);
   return text.substr(0, text.find_last_not_of('\1') + 1);
}

/** Septets packed one by one, least significant bit first. */
Octets packed(const std::vector<unsigned>& septets) {
   Octets octets((septets.size() * 7 + 7) / 8);
   for (size_t bit = 0; bit < septets.size() * 7; ++bit)
      octets[bit / 8] = static_cast<uint8_t>(octets[bit / 8] | (septets[bit / 7] >> bit % 7 & 1) << bit % 8);
   return octets;
}

TEST(GsmText, RealOnes) {
   size_t count = 0;
   for (const Vector& vector : loadVectors(QUORVA_TEST_DATA "/vectors/values.txt")) {
      const bool name = vector.name.compare(0, 13, "network-name-") == 0 && vector.octets[0] != 0;
      if (!name && !vector.has("septets")) continue;
      SCOPED_TRACE(vector.name);
      const std::string& text = vector.fact("text");
      const size_t septets = name ? text.size() : vector.number("septets");
      std::string out = decoded(vector.octets, septets);
      out.resize(text.size()); // seven of eight septets come with the eighth
      EXPECT_EQ(out, text);
      if (text.find_first_of("^{}[]~|\\") == std::string::npos) {
         TestContext ctx;
         EXPECT_EQ(rtx3GPPEncGSMCharStr(ctx.encode(), text.c_str()), 0);
         EXPECT_EQ(ctx.written(), hexFromOctets(vector.octets));
      }
      ++count;
   }
   EXPECT_GE(count, 6u);
}

TEST(GsmText, AnyLengthAndEachSeptet) {
   for (unsigned first = 0; first < 128; ++first) {
      std::vector<unsigned> septets;
      std::string expected;
      TestContext ctx;
      for (unsigned length = 1; length <= 20; ++length) {
         const unsigned septet = (first + length * 37) % 128;
         if (gsmCharSet[septet] == '?' || gsmCharSet[septet] == 0) continue;
         septets.push_back(septet);
         expected += static_cast<char>(gsmCharSet[septet]);
         const Octets octets = packed(septets);
         ASSERT_EQ(rtx3GPPEncGSMCharStr(ctx.encode(), expected.c_str()), 0);
         ASSERT_EQ(ctx.written(), hexFromOctets(octets));
         // The seventh octet gives two septets, even if one was asked for.
         ASSERT_EQ(decoded(octets, septets.size()), expected + (septets.size() % 8 == 7 ? "@" : ""));
      }
   }
}

TEST(GsmText, ExtensionTable) {
   const std::pair<unsigned, char> table[] = {{10, '\f'}, {20, '^'}, {40, '{'}, {41, '}'}, {47, '\\'},
                                              {60, '['},  {61, '~'}, {62, ']'}, {64, '|'}, {101, '\xA4'}};
   for (unsigned septet = 0; septet < 128; ++septet) {
      if (septet == gsmEscape) continue;
      char expected = '?';
      for (const auto& [key, ch] : table)
         if (key == septet) expected = ch;
      EXPECT_EQ(decoded(packed({gsmEscape, septet, 'x'}), 3), std::string(1, expected) + 'x') << septet;
   }
   EXPECT_EQ(decoded(packed({gsmEscape, gsmEscape, 20}), 3), "^");
   EXPECT_EQ(decoded(packed({'a', gsmEscape}), 2), "a") << "nothing follows the escape";
}

// The encoder writes the escape alone, which its own decoder can't read back.
TEST(GsmText, EncoderWritesTheEscapeAlone) {
   TestContext ctx;
   EXPECT_EQ(rtx3GPPEncGSMCharStr(ctx.encode(), "["), 0);
   EXPECT_EQ(ctx.written(), "1b");
   for (const char ch : std::string("\f[\\]^{|}~")) {
      const char text[] = {'a', ch, 'b', 0};
      EXPECT_EQ(rtx3GPPEncGSMCharStr(ctx.encode(), text), 0);
      EXPECT_EQ(ctx.written(), hexFromOctets(packed({'a', gsmEscape, 'b'}))) << ch;
   }
   EXPECT_EQ(rtx3GPPEncGSMCharStr(ctx.encode(), "`\x7f\xff\x01"), 0);
   EXPECT_EQ(ctx.written(), hexFromOctets(packed({'?', '?', '?', '?'})));
}

TEST(GsmText, Limits) {
   TestContext ctx;
   for (const char* nothing : {static_cast<const char*>(nullptr), ""})
      EXPECT_EQ(rtx3GPPEncGSMCharStr(ctx.encode(), nothing), 0);
   EXPECT_EQ(ctx.written(), "");
   for (const char* text : {"abc", "ab"}) {
      EXPECT_EQ(ctx.cleared(rtx3GPPEncGSMCharStr(ctx.encode(1), text)), RTX_E_BUFFER_FULL);
   }
   const Octets text = packed({'a', 'b', 'c', 'd', 'e', 'f', 'g', 'h'});
   EXPECT_EQ(decoded(text, 0), "");
   EXPECT_EQ(decoded(text, 9, RTX_E_END_OF_DATA), "abcdefgh");
   EXPECT_EQ(decoded(text, 8, RTX_E_BUFFER_FULL, 7), "abcdefg");
   EXPECT_EQ(decoded(text, 5, RTX_E_BUFFER_FULL, 4), "abcd");
   EXPECT_EQ(decoded(packed({'a', gsmEscape}), 2, 0, 1), "a") << "an escape needs no room";
}

} // namespace
