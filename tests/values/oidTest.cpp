#include <gtest/gtest.h>

#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "quorva/rtOID.h"
#include "quorva/rtxMemHeap.h"
#include "quorva/rtxStatus.h"
#include "support/context.h"
#include "support/systemMemory.h"

namespace {

using quorva::test::Octets;
using quorva::test::octetsFromHex;
using quorva::test::TestContext;

std::string arcs(const RtxOID& oid) {
   std::string text;
   for (uint32_t i = 0; i < oid.numids; ++i) text += (i > 0 ? "." : "") + std::to_string(oid.subid[i]);
   return text;
}

using Parser = int (*)(const char*, size_t, RtxOID*);

// The arcs, or the status. The text stands in a block of its own size.
std::string parsed(Parser parser, const std::string& text) {
   const std::vector<char> exact(text.begin(), text.end());
   RtxOID oid;
   const int status = parser(exact.data(), exact.size(), &oid);
   return status == 0 ? arcs(oid) : std::to_string(status);
}

TEST(ObjectIdentifierText, Parses) {
   constexpr Parser list = rtOIDParseCompList, relList = rtRelOIDParseCompList, dotted = rtOIDParseString,
                    relDotted = rtRelOIDParseString, lenient = rtOIDParseDottedNumberString;
   const std::string many = [] {
      std::string text = "0";
      for (int i = 1; i < 128; ++i) text += "." + std::to_string(i);
      return text;
   }();
   const struct {
      Parser parser;
      const char* text;
      const char* result;
   } rows[] = {
         {list, "iso member-body 3", "1.2.3"},
         {list, " iso ( 1 )member-body(2)\t3 \n", "1.2.3"},
         {list, "foo(5) bar(4294967295)", "5.4294967295"},
         {list, "itu-t recommendation q 1", "0.0.17.1"},
         {list, "ccitt 0 z", "0.0.26"},
         {list, "0 0 a", "0.0.1"},
         {list, "itu-t(0) recommendation(0) q(3) 9", "0.0.3.9"},
         {list, "joint-iso-itu-t 5", "2.5"},
         {list, "iso identified-organization 6", "1.3.6"},
         {list, "itu-t identified-organization", "0.4"},
         {list, "1 standard 010", "1.0.10"},
         {list, "1 4294967296", "-23"},
         {list, "foo(4294967296)", "-23"},
         {list, "1 99999999999999999999999999", "-23"},
         {relList, "8571 3 2", "8571.3.2"},
         {dotted, "1.2.840.113549", "1.2.840.113549"},
         {dotted, " iso.member-body(2).840 ", "1.2.840"},
         {relDotted, "40.1", "40.1"},
         // The lenient one skips what it does not know, wraps, and takes no digits for 0 but at the end.
         {lenient, "1.2.840", "1.2.840"},
         {lenient, " {1 . 2x3}", "1.23"},
         {lenient, "1..3", "1.0.3"},
         {lenient, "4294967297", "1"},
         {lenient, "1.2.", "-100"},
         {lenient, "x", "-100"},
   };
   for (const auto& row : rows) EXPECT_EQ(row.result, parsed(row.parser, row.text)) << row.text;
   // Among them names where they don't belong.
   const std::pair<Parser, std::vector<const char*>> refused[] = {
         {list,
          {"foo", "iso recommendation", "2 standard", "itu-t recommendation qq", "itu-t question q",
           "itu-t recommendation 7 q", "iso standard member-body", "", "  ", "Iso 1", "1.2", "foo(", "foo(a)",
           "foo(1", "foo()", "-1"}},
         {relList, {"iso 3", "foo(3)"}},
         {dotted, {"1.2.", "1..2", ".1", "1 .2", "1. 2", "foo( 1)", "foo (1)", "1.2 x"}},
         {relDotted, {"iso"}},
         {lenient, {""}},
   };
   for (const auto& [parser, texts] : refused)
      for (const char* text : texts) EXPECT_EQ("-14", parsed(parser, text)) << text;
   EXPECT_EQ("1", parsed(lenient, std::string("1\0.2", 4)));
   EXPECT_EQ("-14", parsed(dotted, std::string("1\0.2", 4)));
   for (Parser parser : {dotted, relDotted, lenient}) {
      EXPECT_EQ(many, parsed(parser, many));
      EXPECT_EQ("-100", parsed(parser, many + ".7"));
      EXPECT_EQ(RTX_E_BAD_VALUE, parser(nullptr, 3, nullptr));
      EXPECT_EQ(RTX_E_BAD_VALUE, parser("1.2", 3, nullptr));
   }
}

TEST(ObjectIdentifier, ValidAndEqual) {
   const RtxOID valid[] = {{2, {0, 39}}, {2, {1, 0}}, {2, {2, 4294967295}}, {3, {2, 40, 7}}};
   const RtxOID invalid[] = {{0, {}}, {1, {1}}, {2, {0, 40}}, {2, {1, 40}}, {2, {3, 1}}, {129, {1, 1}}};
   for (const RtxOID& oid : valid) EXPECT_TRUE(rtOIDIsValid(&oid)) << arcs(oid);
   for (const RtxOID& oid : invalid) EXPECT_FALSE(rtOIDIsValid(&oid)) << oid.numids;
   const RtxOID one = {2, {1, 2, 3}}, same = {2, {1, 2, 4}}, longer = {3, {1, 2, 3}}, other = {2, {1, 3}};
   EXPECT_TRUE(rtOIDsEqual(&one, &same));
   EXPECT_FALSE(rtOIDsEqual(&one, &longer));
   EXPECT_FALSE(rtOIDsEqual(&one, &other));
}

TEST(ObjectIdentifierContents, DecodesArcs) {
   const struct {
      const char* octets;
      int32_t numocts; // -2: all of them
      size_t room;
      const char* result;
   } rows[] = {
         {"4f", -2, 2, "1.39"},
         {"50", -2, 2, "2.0"},
         {"2a864886f70d", -2, 4, "1.2.840.113549"},
         {"8fffffff7f", -2, 9, "2.4294967215"},
         {"908080804f", -2, 9, "2.4294967295"},
         {"9080808050", -2, 9, "-23"},
         {"2a9080808000", -2, 9, "-23"},
         {"2a8fffffff7f", -2, 9, "1.2.4294967295"},
         {"2affffffffffffffffffffff7f", -2, 9, "-23"},
         {"2a8001", -2, 9, "1.2.1"},
         {"2a", 0, 0, ""},
         {"2a", 1, 0, "-100"},
         {"2a", 1, 1, "-100"},
         {"2a03", 2, 2, "-100"}, // full, with octets to come: must end
         {"2a8003", 2, 9, "-100"},
         {"80", 1, 9, "-100"},
         {"2a03", 3, 9, "-2"},
         {"2a", -1, 9, "-101"},
   };
   for (const auto& row : rows) {
      SCOPED_TRACE(row.octets);
      TestContext ctxt;
      const Octets octets = octetsFromHex(row.octets);
      ctxt.decode(octets);
      std::vector<uint32_t> subids(row.room);
      const int32_t numocts = row.numocts == -2 ? static_cast<int32_t>(octets.size()) : row.numocts;
      const int status = rtDecOIDSubIds(ctxt, subids.data(), row.room, numocts);
      std::string result;
      for (int i = 0; i < status; ++i)
         result += (i > 0 ? "." : "") + std::to_string(subids[static_cast<size_t>(i)]);
      EXPECT_EQ(row.result, status < 0 ? std::to_string(status) : result);
      EXPECT_EQ(status < 0 ? status : 0, rtxErrGetStatus(ctxt));
   }
}

// Against the octets that OpenSSL writes.
TEST(ObjectIdentifierContents, FromTextAndBack) {
   std::ifstream file(QUORVA_TEST_DATA "/vectors/oids.txt");
   std::string line;
   TestContext ctxt;
   int count = 0;
   while (std::getline(file, line)) {
      if (line[0] == '#') continue;
      SCOPED_TRACE(line);
      const std::string text = line.substr(0, line.find(' '));
      const Octets octets = octetsFromHex(line.substr(text.size() + 1));
      for (const bool relative : {false, true}) {
         RtxDynOctStr contents = {};
         ASSERT_EQ(0, rtOIDGetBerContents(ctxt, text.data(), text.size(), relative, &contents));
         ASSERT_TRUE(relative || octets == Octets(contents.data, contents.data + contents.numocts));
         char* again = nullptr;
         ASSERT_EQ(0, rtOIDFromBerContents(ctxt, contents.data, contents.numocts, relative, &again));
         EXPECT_EQ(text, again);
      }
      // The reader of arcs agrees, wherever they have 32 bits.
      RtxOID oid, decoded;
      if (rtOIDParseString(text.data(), text.size(), &oid) == 0) {
         ctxt.decode(octets);
         const int arcCount =
               rtDecOIDSubIds(ctxt, decoded.subid, RTX_MAX_SUBIDS, static_cast<int32_t>(octets.size()));
         ASSERT_GT(arcCount, 0);
         decoded.numids = static_cast<uint32_t>(arcCount);
         EXPECT_TRUE(rtOIDsEqual(&oid, &decoded));
      }
      rtxMemReset(ctxt);
      ++count;
   }
   EXPECT_EQ(81, count);
}

TEST(ObjectIdentifierContents, LongArcs) {
   TestContext ctxt;
   // All borrows and carries: 10^18k - 1 + 80, and arcs of all lengths.
   for (size_t digits = 1; digits < 200; ++digits) {
      for (const std::string& arc : {std::string(digits, '9'), "1" + std::string(digits, '0')}) {
         const std::string text = "2." + arc + "." + arc;
         RtxDynOctStr contents = {};
         char* again = nullptr;
         ASSERT_EQ(0, rtOIDGetBerContents(ctxt, text.data(), text.size(), 0, &contents));
         ASSERT_EQ(0, rtOIDFromBerContents(ctxt, contents.data, contents.numocts, 0, &again));
         ASSERT_EQ(text, again);
      }
   }
   rtxMemReset(ctxt);
   Octets octets(64 * 1024, 0xFF);
   octets.back() = 0x7F;
   char* text = nullptr;
   ASSERT_EQ(0, rtOIDFromBerContents(ctxt, octets.data(), octets.size(), 1, &text));
   // 2^458752 - 1
   const std::string digits = text;
   EXPECT_EQ(138099u, digits.size());
   EXPECT_EQ("62495", digits.substr(digits.size() - 5));
   RtxDynOctStr contents = {};
   ASSERT_EQ(0, rtOIDGetBerContents(ctxt, text, digits.size(), 1, &contents));
   EXPECT_EQ(octets, Octets(contents.data, contents.data + contents.numocts));
   // Padded groups count for nothing.
   Octets padded(30, 0x80);
   padded.push_back(0x05);
   ASSERT_EQ(0, rtOIDFromBerContents(ctxt, padded.data(), padded.size(), 0, &text));
   EXPECT_STREQ("0.5", text);
}

TEST(ObjectIdentifierContents, Refuses) {
   for (const char* text : {"", "1", "1.", ".1", "1..2", "3.1", "0.40", "1.40", "1.99999999999999999999",
                            "1.2 ", "1.2x", "iso.2", "22222222222222222222.1"}) {
      TestContext ctxt;
      RtxDynOctStr contents;
      EXPECT_EQ(RTX_E_BAD_OID, rtOIDGetBerContents(ctxt, text, strlen(text), 0, &contents)) << text;
      EXPECT_EQ(nullptr, contents.data);
   }
   for (const char* hex : {"", "80", "2a80", "2a86"}) {
      TestContext ctxt;
      const Octets octets = octetsFromHex(hex);
      char* text;
      EXPECT_EQ(octets.empty() ? RTX_E_BAD_VALUE : RTX_E_BAD_OID,
                rtOIDFromBerContents(ctxt, octets.data(), octets.size(), 0, &text));
      EXPECT_EQ(nullptr, text);
   }
}

TEST(ObjectIdentifierText, AsDottedText) {
   const struct {
      const char* text;
      bool relative;
      const char* result; // null: none
   } rows[] = {
         {"iso member-body(2) 840", false, "1.2.840"},
         {"{ itu-t recommendation q }", false, "0.0.17"},
         {" {1 2 99999999999999999999999} ", false, "1.2.99999999999999999999999"},
         {"8571 3", true, "8571.3"},
         {"iso 3", true, nullptr},
         {"{}", false, nullptr},
         {"{1", false, nullptr},
         {"1.2", false, nullptr},
   };
   for (const auto& row : rows) {
      TestContext ctxt;
      char* text = nullptr;
      const int status = rtOIDAsn2Xml(ctxt, row.text, strlen(row.text), row.relative, &text);
      EXPECT_EQ(row.result ? 0 : RTX_E_BAD_VALUE, status) << row.text;
      EXPECT_STREQ(row.result, text);
   }
}

// Each allocation fails once, and nothing stays behind.
TEST(ObjectIdentifierContents, FailingMemory) {
   const std::string text = "2." + std::string(5000, '7');
   for (size_t n = 1; n < 20; ++n) {
      system_memory::reset();
      RtxContext ctxt;
      ASSERT_EQ(0, system_memory::init(&ctxt));
      system_memory::failNth(n);
      RtxDynOctStr contents = {};
      char* again = nullptr;
      int status = rtOIDGetBerContents(&ctxt, text.data(), text.size(), 0, &contents);
      if (status == 0) status = rtOIDFromBerContents(&ctxt, contents.data, contents.numocts, 0, &again);
      EXPECT_EQ(system_memory::failures > 0 ? RTX_E_NOMEM : 0, status);
      rtxFreeContext(&ctxt);
      EXPECT_EQ(0u, system_memory::live);
      if (system_memory::failures == 0) {
         EXPECT_GT(n, 2u);
         break;
      }
   }
}

} // namespace
