// Digits of telephony and plain BCD, and PLMN identities: conversions that need no message.
#include "quorva/rtBCD.h"
#include "quorva/rtPLMNidentity.h"
#include "quorva/rtxTBCD.h"
#include "tests/support/context.h"
#include "tests/support/vectors.h"

#include <cstdlib>
#include <gtest/gtest.h>
#include <memory>

using namespace quorva::test;

namespace {

TEST(Tbcd, AlphabetInBothDirections) {
   const std::string characters("0123456789*#abc\0", 16);
   for (int ch = -128; ch < 128; ++ch) {
      const size_t place = characters.find(static_cast<char>(ch));
      uint8_t nibble = 0x77;
      if (place == std::string::npos) {
         EXPECT_EQ(rtxTBCDCharToBin(static_cast<char>(ch), &nibble), RTX_E_BAD_CHAR) << ch;
         EXPECT_EQ(nibble, 0x77);
      } else {
         EXPECT_EQ(rtxTBCDCharToBin(static_cast<char>(ch), &nibble), 0) << ch;
         EXPECT_EQ(nibble, place);
      }
   }
   for (unsigned nibble = 0; nibble < 256; ++nibble) {
      char ch = '!';
      EXPECT_EQ(rtxTBCDBinToChar(static_cast<uint8_t>(nibble), &ch), 0);
      EXPECT_EQ(ch, nibble < 16 ? characters[nibble] : static_cast<char>(nibble + '0'));
   }
}

TEST(Bcd, FromText) {
   const struct {
      const char* text;
      int isTbcd;
      size_t size;
      int result;
      const char* octets;
   } cases[] = {{"123", 1, 4, 2, "21f3ffff"},
                {"123", 0, 4, 2, "123fffff"},
                {"12x4", 1, 2, 1, "21ff"},
                {"12x4", 0, 2, 1, "12ff"},
                {"*#abcd", 1, 4, 3, "badcfeff"},
                {"09afAF9g", 0, 5, 4, "09afaf9fff"},
                {"12345", 1, 2, 2, "2143"},
                {"12345", 0, 2, 2, "1234"},
                {"", 1, 1, 0, "ff"},
                {"x", 0, 1, 0, "ff"},
                {"1", 1, 1, 1, "f1"},
                {"d", 1, 1, 0, "ff"}};
   for (const auto& c : cases) {
      SCOPED_TRACE(c.text);
      Octets octets(c.size, 0x33), tbcd(c.size, 0x33);
      EXPECT_EQ(rtStringToBCD(c.text, octets.data(), octets.size(), c.isTbcd), c.result);
      EXPECT_EQ(hexFromOctets(octets), c.octets);
      if (!c.isTbcd) continue;
      EXPECT_EQ(rtStringToTBCD(c.text, tbcd.data(), tbcd.size()), c.result);
      EXPECT_EQ(tbcd, octets);
   }
   uint8_t octet;
   EXPECT_EQ(rtStringToTBCD(nullptr, &octet, 1), RTX_E_BAD_ARGUMENT);
   EXPECT_EQ(rtStringToBCD("1", nullptr, 1, 0), RTX_E_BAD_ARGUMENT);
   EXPECT_EQ(rtStringToBCD("1", &octet, 0, 0), RTX_E_BAD_ARGUMENT);
}

TEST(Bcd, FromTextOntoTheHeap) {
   TestContext ctx;
   RtxDynOctStr narrow = {77, nullptr};
   EXPECT_EQ(rtStringToDynBCD(ctx, "1a2", &narrow), 2);
   EXPECT_EQ(hexFromOctets(narrow.data, narrow.numocts), "1a2f");

   RtxDynOctStr64 wide = {77, nullptr};
   EXPECT_EQ(rtStringToDynBCD64(ctx, "1a2", &wide, 1), 2);
   EXPECT_EQ(hexFromOctets(wide.data, wide.numocts), "c1f2");
   EXPECT_EQ(rtStringToDynBCD64(ctx, "", &wide, 0), 0);
   EXPECT_EQ(wide.numocts, 0u);

   // The pointer is stored even if the conversion fails; the count is not.
   wide = {77, nullptr};
   EXPECT_EQ(rtStringToDynBCD64(ctx, nullptr, &wide, 0), RTX_E_BAD_ARGUMENT);
   EXPECT_EQ(wide.numocts, 77u);
   EXPECT_NE(wide.data, nullptr);
   EXPECT_EQ(rtStringToDynBCD(ctx, "1", nullptr), RTX_E_BAD_ARGUMENT);
   EXPECT_EQ(rtxErrGetErrorCnt(ctx), 0u);
}

/** The text of a room of `size` octets, with "!" for each one that was not written behind a full text. */
template <class Convert>
std::string textIn(size_t size, const Convert& convert) {
   std::string room(size + 1, '!');
   if (!convert(room.data(), size)) return "(null)";
   EXPECT_EQ(room.back(), '!') << "written past the room";
   return room.substr(0, std::min(room.find('\0'), size));
}

TEST(Bcd, ToText) {
   // Three digits in three octets leave no NUL; TBCD fillers are passed over wherever they stand.
   const struct {
      const char* octets;
      int isTbcd;
      size_t size;
      const char* text;
   } cases[] = {{"21f3", 1, 8, "123"},     {"21f3", 1, 4, "123"},    {"21f3", 1, 3, "123"},
                {"21f3", 1, 2, "12"},      {"1f3f42", 1, 8, "1324"}, {"ffff", 1, 8, ""},
                {"bafcde", 1, 8, "*#acb"}, {"1234", 0, 8, "1234"},   {"1234", 0, 4, "1234"},
                {"f1", 0, 8, ""},          {"12a456", 0, 8, "12"},   {"123f45", 0, 8, "123"},
                {"", 1, 8, "(null)"},      {"12", 0, 0, "(null)"}};
   for (const auto& c : cases) {
      SCOPED_TRACE(std::string(c.octets) + " in " + std::to_string(c.size));
      const Octets octets = octetsFromHex(c.octets);
      const auto convert = [&](char* str, size_t size) {
         const char* result = rtBCDToString(octets.size(), octets.data(), str, size, c.isTbcd);
         EXPECT_TRUE(result == nullptr || result == str);
         return result != nullptr;
      };
      const auto convertTbcd = [&](char* str, size_t size) {
         return rtTBCDToString(octets.size(), octets.data(), str, size) != nullptr;
      };
      EXPECT_EQ(textIn(c.size, convert), c.text);
      EXPECT_TRUE(!c.isTbcd || textIn(c.size, convertTbcd) == c.text);
   }
   char ch;
   EXPECT_EQ(rtTBCDToString(1, nullptr, &ch, 1), nullptr);
   EXPECT_EQ(rtTBCDToString(1, reinterpret_cast<uint8_t*>(&ch), nullptr, 1), nullptr);
}

TEST(Tbcd, FromArray) {
   // A filler ends the text; a full room has no NUL.
   const struct {
      const char* octets;
      size_t size;
      int status;
      const char* text;
   } cases[] = {{"2143", 5, 0, "1234"},
                {"21f3", 4, 0, "123"},
                {"1f32", 5, 0, ""},
                {"ba", 3, 0, "*#"},
                {"", 1, 0, ""},
                {"2143", 4, RTX_E_OVERFLOW, "1234"},
                {"21", 1, RTX_E_OVERFLOW, "1"},
                {"21f3", 3, RTX_E_OVERFLOW, "123"}};
   for (const auto& c : cases) {
      SCOPED_TRACE(std::string(c.octets) + " in " + std::to_string(c.size));
      const Octets octets = octetsFromHex(std::string(c.octets) + "aa");
      const auto convert = [&](char* str, size_t size) {
         EXPECT_EQ(rtxQ825TBCDToString(octets.size() - 1, octets.data(), str, size), c.status);
         return true;
      };
      EXPECT_EQ(textIn(c.size, convert), c.text);
   }
   uint8_t octet = 0;
   char ch = 0;
   EXPECT_EQ(rtxQ825TBCDToString(1, nullptr, &ch, 1), RTX_E_NULL);
   EXPECT_EQ(rtxQ825TBCDToString(1, &octet, nullptr, 1), RTX_E_NULL);
   EXPECT_EQ(rtxQ825TBCDToString(1, &octet, &ch, 0), RTX_E_OVERFLOW);
}

using Text = std::unique_ptr<char, void (*)(void*)>;

std::string taken(char* text) {
   const Text owner(text, std::free);
   return owner ? owner.get() : "(null)";
}

TEST(Plmn, BothLayouts) {
   struct Case {
      const char *mcc, *mnc, *octets, *pgwOctets;
   };
   for (const Case& c : {Case{"310", "26", "13f062", "13f062"}, Case{"310", "260", "132006", "130062"},
                         Case{"901", "987", "099178", "097189"}, Case{"000", "00", "00f000", "00f000"}}) {
      uint8_t plmn[4] = {0, 0, 0, 0x77};
      EXPECT_EQ(rtStringToPLMNidentity(c.mcc, c.mnc, plmn, 3), 0);
      EXPECT_EQ(hexFromOctets(plmn, 3), c.octets);
      EXPECT_EQ(taken(rtGetMCCFromPLMNidentity(plmn)), c.mcc);
      EXPECT_EQ(taken(rtGetMNCFromPLMNidentity(plmn)), c.mnc);
      EXPECT_EQ(rtStringToPGWPLMNidentity(c.mcc, c.mnc, plmn, 4), 0);
      EXPECT_EQ(hexFromOctets(plmn, 3), c.pgwOctets);
      EXPECT_EQ(taken(rtGetMCCFromPLMNidentity(plmn)), c.mcc);
      EXPECT_EQ(taken(rtGetMNCFromPGWPLMNidentity(plmn)), c.mnc);
      EXPECT_EQ(plmn[3], 0x77);
   }
}

TEST(Plmn, RealOnesHaveTheLayoutOfTheElements) {
   size_t count = 0;
   for (const Vector& vector : loadVectors(QUORVA_TEST_DATA "/vectors/values.txt")) {
      if (!vector.has("mcc")) continue;
      SCOPED_TRACE(vector.name);
      uint8_t plmn[3];
      EXPECT_EQ(rtStringToPGWPLMNidentity(vector.fact("mcc").c_str(), vector.fact("mnc").c_str(), plmn, 3),
                0);
      EXPECT_EQ(hexFromOctets(plmn, 3), hexFromOctets(vector.octets));
      EXPECT_EQ(taken(rtGetMNCFromPGWPLMNidentity(vector.octets.data())), vector.fact("mnc"));
      ++count;
   }
   EXPECT_GT(count, 10u);
}

TEST(Plmn, Refusals) {
   uint8_t plmn[3];
   for (const auto& [mcc, mnc] : {std::pair("31", "26"), std::pair("3100", "26"), std::pair("310", "2"),
                                  std::pair("310", "2600"), std::pair("31*", "26"), std::pair("310", "2a"),
                                  std::pair("310", "26:"), std::pair("", ""), std::pair("/10", "26")}) {
      EXPECT_EQ(rtStringToPLMNidentity(mcc, mnc, plmn, 3), RTX_E_BAD_ARGUMENT) << mcc << ' ' << mnc;
      EXPECT_EQ(rtStringToPGWPLMNidentity(mcc, mnc, plmn, 3), RTX_E_BAD_ARGUMENT) << mcc << ' ' << mnc;
   }
   EXPECT_EQ(rtStringToPLMNidentity("310", "26", plmn, 2), RTX_E_BAD_ARGUMENT);
   EXPECT_EQ(rtStringToPLMNidentity(nullptr, "26", plmn, 3), RTX_E_BAD_ARGUMENT);
   EXPECT_EQ(rtStringToPLMNidentity("310", nullptr, plmn, 3), RTX_E_BAD_ARGUMENT);
   EXPECT_EQ(rtStringToPGWPLMNidentity("310", "26", nullptr, 3), RTX_E_BAD_ARGUMENT);

   // A nibble above 9 gives null, in each of the places that count.
   const auto mnc = [](const char* hex) {
      return taken(rtGetMNCFromPLMNidentity(octetsFromHex(hex).data()));
   };
   const auto mcc = [](const char* hex) {
      return taken(rtGetMCCFromPLMNidentity(octetsFromHex(hex).data()));
   };
   for (const char* bad : {"1af062", "a1f062", "11fa62"}) EXPECT_EQ(mcc(bad), "(null)") << bad;
   for (const char* bad : {"13f0a2", "13f02a", "13a022", "130a2b"}) EXPECT_EQ(mnc(bad), "(null)") << bad;
   EXPECT_EQ(mnc("fffa21"), "12") << "the MCC does not count";
   EXPECT_EQ(rtGetMNCFromPGWPLMNidentity(octetsFromHex("13f02a").data()), nullptr);
   EXPECT_EQ(rtGetMCCFromPLMNidentity(nullptr), nullptr);
   EXPECT_EQ(rtGetMNCFromPLMNidentity(nullptr), nullptr);
   EXPECT_EQ(rtGetMNCFromPGWPLMNidentity(nullptr), nullptr);
}

} // namespace
