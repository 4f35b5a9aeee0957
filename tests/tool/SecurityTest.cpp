// quorva decode with the options of NAS security, on captured messages whose keys are known.

#include "tool/program.h"

#include "quorva/rt3gppNasSec.h"
#include "quorva/rtxContext.h"
#include "support/vectors.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <map>

using namespace quorva_test;
using testing::EndsWith;
using testing::HasSubstr;
using testing::Not;

static const auto kVectors = quorva::test::loadVectors(QUORVA_TEST_DATA "/vectors/nas-security.txt");

// Its network names are in UCS-2, whose number of characters the decoder takes from the place in the buffer
// rather than from the element: they do not decode.
static bool hasUcs2Name(const quorva::test::Vector& vector) {
   return vector.name.find("configuration-update-command") != std::string::npos;
}

// The options with which a message verifies. A wrong key is made by `spoilt`.
static std::string securityOptions(const quorva::test::Vector& vector, bool spoilt = false) {
   std::string key = vector.fact("integrity-key");
   if (spoilt) key[0] = key[0] == '0' ? '1' : '0';
   const std::string generation = vector.fact("family") == "5gs" ? " --n" : " --e"; // of the same algorithms
   return std::string(vector.number("direction") == 0 ? " --uplink" : " --downlink") + generation + "ia2 " +
          key +
          (vector.number("cipher-algorithm") == 2 ? generation + "ea2 " + vector.fact("cipher-key") : "") +
          " --bearer " + vector.fact("bearer");
}

static std::string command(const quorva::test::Vector& vector, const std::string& options) {
   return "decode " + options + " --count " + vector.fact("count") + " " +
          quorva::test::hexFromOctets(vector.octets);
}

TEST(Security, VerifiesAndDeciphersCapturedMessages) {
   size_t seen = 0;
   for (const auto& vector : kVectors) {
      if (!vector.has("integrity-key") || hasUcs2Name(vector)) continue;
      SCOPED_TRACE(vector.name);
      ++seen;
      const Result result = run(command(vector, securityOptions(vector)));
      EXPECT_EQ(result.code, 0) << result.text;
      // The message inside is that of the plain octets.
      if (!vector.has("plain")) continue;
      const std::string plain = run("decode " + securityOptions(vector) + " " + vector.fact("plain")).text;
      EXPECT_THAT(result.text, EndsWith(plain.substr(plain.find("\n   msgType ="))));
   }
   EXPECT_GT(seen, 20u);
}

TEST(Security, ShowsAWrongMacAndTheMessage) {
   for (const auto& vector : kVectors) {
      if (!vector.has("integrity-key") || hasUcs2Name(vector)) continue;
      SCOPED_TRACE(vector.name);
      const Result good = run(command(vector, securityOptions(vector)));
      const Result result = run(command(vector, securityOptions(vector, true)));
      EXPECT_EQ(result.code, 1);
      const std::string mac = vector.fact("mac");
      EXPECT_THAT(result.text,
                  testing::StartsWith("status: RTX_E_MAC_MISMATCH (-70)\n   wrong MAC: received 0x" +
                                      std::string(8 - mac.size(), '0') + mac + ", computed 0x"));
      EXPECT_THAT(result.text, EndsWith(good.text));
   }
}

// The same messages, protected by SNOW 3G and ZUC.
TEST(Security, OpensEachAlgorithm) {
   size_t seen = 0;
   for (const auto& vector : kVectors) {
      if (!vector.has("plain") || vector.number("cipher-algorithm") != 2 || hasUcs2Name(vector)) continue;
      SCOPED_TRACE(vector.name);
      const auto integrityKey = vector.hex("integrity-key"), cipherKey = vector.hex("cipher-key");
      const bool fiveG = vector.fact("family") == "5gs";
      const size_t sequence = fiveG ? 6 : 5;
      for (const auto& [integrity, cipher] : {std::pair{1, 1}, {3, 3}, {2, 3}, {1, 2}}) {
         RtxContext ctxt;
         ASSERT_EQ(rtInitContext(&ctxt), 0);
         rtxCtxtSetFlag(&ctxt, RTX_CTXT_STANDARD);
         ASSERT_EQ(rtx3gppSecInitialize(&ctxt), 0);
         ASSERT_EQ(
               rtx3gppAssignAlgorithmKeys(&ctxt, integrityKey.data(), cipherKey.data(), integrity, cipher),
               0);
         ctxt.nasSec->count = static_cast<uint32_t>(vector.number("count"));
         ctxt.nasSec->bearer = static_cast<uint8_t>(vector.number("bearer"));
         ctxt.nasSec->direction = static_cast<uint8_t>(vector.number("direction"));
         auto octets = vector.octets, plain = vector.hex("plain");
         EXPECT_EQ(rtx3gppCipher(&ctxt, plain.data(), plain.size()), 0);
         std::copy(plain.begin(), plain.end(), octets.begin() + static_cast<long>(sequence) + 1);
         uint32_t mac = 0;
         EXPECT_EQ(rtx3gppComputeMAC(&ctxt, octets.data() + sequence, octets.size() - sequence, &mac), 0);
         for (size_t i = 0; i < 4; ++i) octets[sequence - 4 + i] = static_cast<uint8_t>(mac >> (24 - 8 * i));
         rtx3gppSecFree(&ctxt);
         rtFreeContext(&ctxt);

         const std::string way = vector.number("direction") == 0 ? " --uplink " : " --downlink ";
         const std::string common = way + "--count " + vector.fact("count") + " --bearer " +
                                    vector.fact("bearer") + " " + quorva::test::hexFromOctets(octets);
         const std::string letter = fiveG ? "--n" : "--e";
         const auto option = [&](const char* kind, int algorithm, const char* fact) {
            return letter + kind + std::to_string(algorithm) + " " + vector.fact(fact) + " ";
         };
         const Result result = run("decode " + option("ia", integrity, "integrity-key") +
                                   option("ea", cipher, "cipher-key") + common);
         EXPECT_EQ(result.code, 0) << result.text;
         EXPECT_THAT(result.text, HasSubstr("msgType ="));
         const Result wrong = run("decode " + option("ia", integrity % 3 + 1, "integrity-key") +
                                  option("ea", cipher, "cipher-key") + common);
         EXPECT_THAT(wrong.text, HasSubstr("RTX_E_MAC_MISMATCH"));
         ++seen;
      }
      if (seen >= 32) break; // the program runs twice for each
   }
   EXPECT_GT(seen, 20u);
   const std::string key(32, '0');
   EXPECT_EQ(run("decode --eia1 " + key + " --nia3 " + key + " 00").code, 2);
   EXPECT_EQ(run("decode --eea3 " + key + " --eea0 00").code, 2);
}

// Without COUNT the first message goes by its sequence number, and those behind it by theirs.
TEST(Security, CountFollowsTheSequenceNumbers) {
   std::map<uint64_t, std::string> messages;
   std::string options;
   for (const auto& vector : kVectors) {
      if (!vector.has("integrity-key") || vector.fact("family") != "5gs" || vector.number("direction") != 0 ||
          vector.number("cipher-algorithm") != 0)
         continue;
      options = securityOptions(vector);
      messages[vector.number("count")] = quorva::test::hexFromOctets(vector.octets);
   }
   ASSERT_GE(messages.size(), 4u);
   std::string inOrder = " --nea0";
   for (const auto& [count, octets] : messages) inOrder += " " + octets;
   EXPECT_EQ(run("decode" + options + inOrder).code, 0);
   // 256 messages later each MAC is wrong.
   const Result late = run("decode --count 256" + options + inOrder);
   EXPECT_EQ(late.code, 1);
   EXPECT_THAT(late.text, Not(HasSubstr("\n\nPDU {")));
}

static const quorva::test::Vector& vectorNamed(const std::string& name) {
   for (const auto& vector : kVectors)
      if (vector.name == name) return vector;
   throw std::out_of_range(name);
}

TEST(Security, WithoutKeysACipheredMessageEndsAtItsHeader) {
   for (const char* name : {"sec-eps-emm-information-2-eea2", "sec-5gs-registration-accept-1-eea2"}) {
      SCOPED_TRACE(name);
      const Result result = run("decode " + quorva::test::hexFromOctets(vectorNamed(name).octets));
      EXPECT_EQ(result.code, 1);
      EXPECT_THAT(result.text, HasSubstr("RTX_E_NO_SECURITY (-71)"));
      EXPECT_THAT(result.text, HasSubstr("secHdr {\n"));
      EXPECT_THAT(result.text, Not(HasSubstr("msgType")));
   }
}

TEST(Security, WithoutAKeyTheNullCipherCanBeSaid) {
   const auto& vector = vectorNamed("sec-eps-emm-information-1");
   const Result result = run("decode --eea0 " + quorva::test::hexFromOctets(vector.octets));
   EXPECT_EQ(result.code, 1);
   EXPECT_THAT(result.text,
               HasSubstr("wrong MAC: received 0x" + vector.fact("mac") + ", computed 0x00000000\n"));
   EXPECT_THAT(result.text, HasSubstr("obj_EMMInformation {\n"));
}

TEST(Security, AServiceRequestIsDecodedWithoutKeys) {
   const Result result = run("decode --uplink c703def6");
   EXPECT_EQ(result.code, 1);
   EXPECT_THAT(result.text, HasSubstr("RTX_E_NO_SECURITY (-71)"));
   EXPECT_THAT(result.text, HasSubstr("obj_ServiceRequest {\n"));
   EXPECT_THAT(result.text, EndsWith("   eom = <null>\n}\n"));
}

// The direction also tells the two forms of an EPS Detach Request apart.
TEST(Security, DirectionSelectsTheDetachRequest) {
   const std::string message = " 07 45 09 0b f6 00 f1 10 00 01 01 1a 98 4c f8";
   EXPECT_THAT(run("decode --uplink" + message).text, HasSubstr("ueOrig {\n"));
   EXPECT_THAT(run("decode --downlink" + message).text, HasSubstr("ueTerm {\n"));
}
