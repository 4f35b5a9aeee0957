// NAS security of a context, in each form of AES.
#include "quorva/rt3gppNasSec.h"

#include "quorva/registry.h"
#include "quorva/rtxMemHeap.h"
#include "runtime/nas/aes128.h"
#include "runtime/nas/streamCipher.h"
#include "tests/support/context.h"
#include "tests/support/vectors.h"

#include <algorithm>
#include <cstdlib>
#include <gtest/gtest.h>

using namespace quorva;
using namespace quorva::test;

namespace {

using Parms = std::vector<std::string>;

const Octets keyA = octetsFromHex("2b7e151628aed2a6abf7158809cf4f3c");
const Octets keyB = octetsFromHex("d3c5d592327fb11c4035c6680af8c6d1");
const Octets someData = octetsFromHex("981ba6824c1bfb1ab485472029b71d808ce33e2c");

class Security : public testing::TestWithParam<bool> {
protected:
   void SetUp() override {
      if (!GetParam() && aesHardware() == nullptr) GTEST_SKIP() << "the processor has no AES instructions";
      aesForcePortable(GetParam());
      ASSERT_EQ(rtx3gppSecInitialize(ctx), 0);
   }
   void TearDown() override {
      aesForcePortable(false);
      if (ctx->nasSec != nullptr) rtx3gppSecFree(ctx);
   }

   int assign(const Octets& integKey, const Octets& cipherKey, int integAlg, int cipherAlg) {
      return rtx3gppAssignAlgorithmKeys(ctx, integKey.data(), cipherKey.data(), integAlg, cipherAlg);
   }
   void situation(uint32_t count, uint8_t bearer, uint8_t direction) {
      EXPECT_EQ(rtx3gppSetCount(ctx, count, bearer, direction), 0);
   }
   void situation(const Vector& vector) {
      situation(static_cast<uint32_t>(vector.number("count")), static_cast<uint8_t>(vector.number("bearer")),
                static_cast<uint8_t>(vector.number("direction")));
   }
   uint32_t mac(Octets data) {
      uint32_t value = 0xDEADBEEF;
      EXPECT_EQ(rtx3gppComputeMAC(ctx, data.data(), data.size(), &value), 0);
      return value;
   }
   Octets ciphered(Octets data) {
      EXPECT_EQ(rtx3gppCipher(ctx, data.data(), data.size()), 0);
      return data;
   }
   void refused(int status, int expected, const Parms& parms = {}) {
      EXPECT_EQ(status, expected);
      EXPECT_EQ(rtxErrGetLastError(ctx), expected);
      EXPECT_EQ(ctx.parms(), parms);
      rtxErrReset(ctx);
   }

   TestContext ctx;
};

INSTANTIATE_TEST_SUITE_P(Forms, Security, testing::Bool(),
                         [](const auto& suite) { return suite.param ? "Portable" : "Hardware"; });

std::string hexOfMac(uint32_t mac) {
   char text[9];
   std::snprintf(text, sizeof text, "%08x", mac);
   return text;
}

std::vector<Vector> nasVectors() {
   return loadVectors(QUORVA_TEST_DATA "/vectors/nas-security.txt");
}

TEST_P(Security, SetsOfTs33401) {
   size_t cipherSets = 0, macSets = 0;
   for (const Vector& vector : nasVectors()) {
      if (!vector.has("key")) continue;
      SCOPED_TRACE(vector.name);
      const Octets key = vector.hex("key");
      ASSERT_EQ(assign(key, key, 2, 2), 0);
      situation(vector);
      if (vector.has("mac")) {
         EXPECT_EQ(hexOfMac(mac(vector.octets)), vector.fact("mac"));
         ++macSets;
         continue;
      }
      // The sets end inside an octet: the bits behind are not compared.
      Octets out = ciphered(vector.octets), expected = vector.hex("result");
      ASSERT_EQ(out.size(), expected.size());
      const auto mask = static_cast<uint8_t>(0xFF << (8 * out.size() - vector.number("length-bits")));
      out.back() &= mask;
      expected.back() &= mask;
      EXPECT_EQ(hexFromOctets(out), hexFromOctets(expected));
      ++cipherSets;
   }
   EXPECT_EQ(cipherSets, 3u);
   EXPECT_EQ(macSets, 4u);
}

TEST_P(Security, ProtectedMessages) {
   size_t messages = 0, enciphered = 0;
   for (const Vector& vector : nasVectors()) {
      if (!vector.has("family")) continue;
      SCOPED_TRACE(vector.name);
      const Octets integKey = vector.hex("integrity-key"), cipherKey = vector.hex("cipher-key");
      const int cipherAlg = static_cast<int>(vector.number("cipher-algorithm"));
      ASSERT_EQ(
            assign(integKey, cipherKey, static_cast<int>(vector.number("integrity-algorithm")), cipherAlg),
            0);
      situation(vector);
      ++messages;
      const Octets& octets = vector.octets;
      if (!vector.has("plain")) { // SERVICE REQUEST: the MAC ends the message, cut to 16 bits
         EXPECT_EQ(hexOfMac(mac(Octets(octets.begin(), octets.begin() + 2))).substr(4), vector.fact("mac"));
         continue;
      }
      // The sequence number follows the MAC; what is ciphered follows that.
      const long sequence = vector.fact("family") == "eps" ? 5 : 6;
      EXPECT_EQ(hexOfMac(mac(Octets(octets.begin() + sequence, octets.end()))), vector.fact("mac"));
      const Octets contents(octets.begin() + sequence + 1, octets.end());
      const Octets plain = ciphered(contents);
      EXPECT_EQ(hexFromOctets(plain), vector.fact("plain"));
      EXPECT_EQ(plain != contents, cipherAlg == 2);
      enciphered += cipherAlg == 2;
   }
   EXPECT_EQ(messages, 39u);
   EXPECT_GT(enciphered, 10u);
}

TEST_P(Security, NullAlgorithmsAndEmptyData) {
   ASSERT_EQ(assign({}, {}, 0, 0), 0);
   EXPECT_EQ(ctx->nasSec->aesSchedules, nullptr);
   EXPECT_EQ(ctx->nasSec->cmacSubkeys, nullptr);
   EXPECT_EQ(ciphered(someData), someData);
   EXPECT_EQ(mac(someData), 0u);
   ctx->nasSec->cipherAlg = 9; // no length, no refusal
   EXPECT_EQ(rtx3gppCipher(ctx, nullptr, 0), 0);

   ASSERT_EQ(assign(keyA, keyB, 2, 2), 0);
   uint32_t value = 0;
   EXPECT_EQ(rtx3gppComputeMAC(ctx, nullptr, 0, &value), 0); // over the prefix alone
   EXPECT_EQ(value, mac({}));
   EXPECT_NE(value, 0u);
}

TEST_P(Security, AnyLengthIsRestoredAndOnlyTheDataChanges) {
   ASSERT_EQ(assign(keyA, keyB, 2, 2), 0);
   situation(0xFFFFFFFF, 31, 1);
   for (const size_t length : {1u, 15u, 16u, 17u, 81u, 127u, 128u, 129u, 65535u, 65536u}) {
      Octets data(length + 16, 0x5A);
      ASSERT_EQ(rtx3gppCipher(ctx, data.data() + 8, length), 0);
      EXPECT_EQ(std::count(data.begin(), data.begin() + 8, 0x5A), 8);
      EXPECT_EQ(std::count(data.end() - 8, data.end(), 0x5A), 8);
      const Octets enciphered = data;
      uint32_t value;
      ASSERT_EQ(rtx3gppComputeMAC(ctx, data.data() + 8, length, &value), 0);
      EXPECT_EQ(data, enciphered) << "the MAC's prefix was written over octets of the caller";
      ASSERT_EQ(rtx3gppCipher(ctx, data.data() + 8, length), 0);
      EXPECT_EQ(data, Octets(length + 16, 0x5A));
   }
}

// A length to which 8 can't be added works on the caller's octets.
TEST_P(Security, WrappedLengthWritesThePrefixOverTheData) {
   ASSERT_EQ(assign(keyA, keyB, 2, 2), 0);
   situation(0x11223344, 5, 1);
   for (size_t covered = 0; covered < 8; ++covered) {
      Octets octets(8, 0xEE);
      uint32_t value = 0;
      ASSERT_EQ(rtx3gppComputeMAC(ctx, octets.data(), SIZE_MAX - 7 + covered, &value), 0);
      EXPECT_EQ(hexFromOctets(octets), "112233442c000000");
      uint8_t tag[16];
      aesForm().cmac(ctx->nasSec->aesSchedules, ctx->nasSec->cmacSubkeys, octets.data(), covered, tag);
      EXPECT_EQ(hexOfMac(value), hexFromOctets(tag, 4));
   }
}

TEST_P(Security, SnowAndZucInStandardModeAlone) {
   uint32_t value = 0;
   refused(assign(keyA, keyB, 1, 0), RTX_E_UNSUPPORTED, {"integrity algorithm", "1"});
   refused(assign(keyA, keyB, 2, 3), RTX_E_UNSUPPORTED, {"cipher algorithm", "3"});
   rtxCtxtSetFlag(ctx, RTX_CTXT_STANDARD);
   refused(assign(keyA, keyB, 4, 1), RTX_E_UNSUPPORTED, {"integrity algorithm", "4"});
   // Sets of TS 33.401, annex C, and TS 35.222.
   ASSERT_EQ(assign(octetsFromHex("2bd6459f82c5b300952c49104881ff48"), {}, 1, 0), 0);
   situation(0x38A6F056, 0x1F, 0);
   EXPECT_EQ(hexOfMac(mac(octetsFromHex("3332346263393861373479"))), "731f1165");
   ASSERT_EQ(assign({}, octetsFromHex("173d14ba5003731d7a60049470f00a29"), 0, 3), 0);
   situation(0x66035492, 0x0F, 0);
   EXPECT_EQ(hexFromOctets(ciphered(octetsFromHex("6cf65340735552ab0c9752fa6f9025fe"))),
             "a6c85fc66afb8533aafc2518dfe78494");

   Octets key = keyA; // the keys of a record are those that were assigned, whatever becomes of their octets
   ASSERT_EQ(rtx3gppAssignAlgorithmKeys(ctx, key.data(), key.data(), 3, 1), 0);
   const uint32_t before = mac(someData);
   const Octets enciphered = ciphered(someData);
   key[0] ^= 1;
   EXPECT_EQ(mac(someData), before);
   EXPECT_EQ(ciphered(enciphered), someData);
   // The mode is that of the moment.
   rtxCtxtClearFlag(ctx, RTX_CTXT_STANDARD);
   refused(rtx3gppComputeMAC(ctx, key.data(), 4, &value), RTX_E_UNSUPPORTED, {"integrity algorithm", "3"});
   refused(rtx3gppCipher(ctx, key.data(), 4), RTX_E_UNSUPPORTED, {"encryption algorithm", "1"});
}

// No key serves an algorithm that it was not assigned for, nor one that was taken away.
TEST_P(Security, RefusedNumbersLeaveNoKeyOfAnotherAlgorithm) {
   rtxCtxtSetFlag(ctx, RTX_CTXT_STANDARD);
   for (const auto& [before, then] : {std::pair{1, 2}, {1, 3}, {2, 1}, {3, 1}, {1, 9}, {2, 9}}) {
      SCOPED_TRACE(testing::Message() << before << ", then " << then);
      ASSERT_EQ(assign(keyA, keyB, before, before), 0);
      const Octets enciphered = ciphered(someData);
      EXPECT_EQ(assign(keyB, keyA, then, then == 9 ? before : 9), RTX_E_UNSUPPORTED);
      rtxErrReset(ctx);
      EXPECT_EQ(ctx->nasSec->integAlg, before);
      uint32_t value = 0;
      EXPECT_EQ(ctx.cleared(rtx3gppComputeMAC(ctx, nullptr, 0, &value)), RTX_E_NO_SECURITY);
      if (then == 9) { // the ciphering key is as it was
         EXPECT_EQ(ciphered(someData), enciphered);
      }
   }
   refused(rtx3gppAssignAlgorithmKeys(ctx, nullptr, keyB.data(), 1, 1), RTX_E_NULL);
   refused(rtx3gppAssignAlgorithmKeys(ctx, keyA.data(), nullptr, 1, 3), RTX_E_NULL);
}

TEST_P(Security, MessagesUnderEachAlgorithm) {
   rtxCtxtSetFlag(ctx, RTX_CTXT_STANDARD);
   size_t messages = 0;
   for (const Vector& vector : nasVectors()) {
      if (!vector.has("plain") || vector.number("cipher-algorithm") != 2) continue;
      SCOPED_TRACE(vector.name);
      const bool eps = vector.fact("family") == "eps";
      const QuorvaType* type = quorvaFindType(eps ? "TS24301Msg_PDU" : "TS24501Msg_PDU");
      const long sequence = eps ? 5 : 6;
      int withAes[2] = {};
      for (const auto& [integAlg, cipherAlg] : {std::pair{2, 2}, {1, 1}, {3, 3}, {1, 3}, {2, 1}, {3, 2}}) {
         ASSERT_EQ(assign(keyA, keyB, integAlg, cipherAlg), 0);
         situation(vector);
         Octets octets(vector.octets.begin(), vector.octets.begin() + sequence + 1);
         const Octets contents = ciphered(vector.hex("plain"));
         octets.insert(octets.end(), contents.begin(), contents.end());
         storeBig(octets.data() + sequence - 4, mac(Octets(octets.begin() + sequence, octets.end())));
         for (const bool right : {true, false}) {
            octets[static_cast<size_t>(sequence) - 1] ^= right ? 0 : 1;
            std::vector<uint64_t> record(type->size / 8 + 1);
            if (type->init != nullptr) type->init(record.data());
            Octets copy = octets;
            rtxCtxtSetBufPtr(ctx, copy.data(), copy.size());
            const int status = type->decode(ctx, record.data());
            if (cipherAlg == 2 && integAlg == 2) withAes[right] = status;
            EXPECT_EQ(status, withAes[right]) << integAlg << " " << cipherAlg;
            messages += status == (right ? 0 : RTX_E_MAC_MISMATCH);
            rtxErrReset(ctx);
         }
      }
   }
   EXPECT_GT(messages, 100u);
}

TEST_P(Security, KeysReplaceEachOther) {
   ASSERT_EQ(assign(keyA, keyB, 2, 2), 0);
   const uint32_t* schedules = ctx->nasSec->aesSchedules;
   const uint32_t macA = mac(someData);
   const Octets cipherB = ciphered(someData);

   ASSERT_EQ(assign(keyB, keyA, 2, 2), 0);
   EXPECT_EQ(ctx->nasSec->aesSchedules, schedules) << "memory is used again";
   EXPECT_NE(mac(someData), macA);
   EXPECT_NE(ciphered(someData), cipherB);

   ASSERT_EQ(assign({}, keyB, 0, 2), 0); // the schedules stay for ciphering
   EXPECT_EQ(ctx->nasSec->cmacSubkeys, nullptr);
   EXPECT_EQ(mac(someData), 0u);
   EXPECT_EQ(ciphered(someData), cipherB);

   ASSERT_EQ(assign(keyA, {}, 2, 0), 0);
   EXPECT_EQ(mac(someData), macA);
   EXPECT_EQ(ciphered(someData), someData);
}

// Nobody can tell keys that were kept over a reset from ones that are expanded anew.
TEST_P(Security, KeysKeptOverResets) {
   Octets integKey = keyA, cipherKey = keyB;
   const auto results = [&](RtxContext* c) {
      Octets data = someData;
      uint32_t value = 0;
      EXPECT_EQ(rtx3gppAssignAlgorithmKeys(c, integKey.data(), cipherKey.data(), 2, 2), 0);
      EXPECT_EQ(rtx3gppComputeMAC(c, data.data(), data.size(), &value), 0);
      EXPECT_EQ(rtx3gppCipher(c, data.data(), data.size()), 0);
      return hexOfMac(value) + hexFromOctets(data);
   };
   for (unsigned round = 0; round < 24; ++round) {
      if (round % 5 == 4) integKey[round % 16] ^= 1; // at the same address
      if (round % 7 == 6) cipherKey[15 - round % 16] ^= 1;
      if (round == 12) std::swap(integKey, cipherKey);
      if (round % 2 == 0) {
         rtxMemReset(ctx);
         refused(rtx3gppSetCount(ctx, 0, 0, RTX_NAS_UPLINK), RTX_E_NO_SECURITY);
         ASSERT_EQ(rtx3gppSecInitialize(ctx), 0);
      }
      TestContext fresh;
      ASSERT_EQ(rtx3gppSecInitialize(fresh), 0);
      EXPECT_EQ(results(ctx), results(fresh)) << "round " << round;
   }
}

TEST_P(Security, RefusalOfTheIntegrityAlgorithmTakesTheKeysAwayFirst) {
   ASSERT_EQ(assign(keyA, keyB, 2, 2), 0);
   const Octets cipherB = ciphered(someData);
   EXPECT_EQ(assign(keyB, keyA, 3, 2), RTX_E_UNSUPPORTED); // with ciphering asked for, its key stays
   EXPECT_EQ(ctx->nasSec->cmacSubkeys, nullptr);
   EXPECT_EQ(ciphered(someData), cipherB);
   rtxErrReset(ctx);

   EXPECT_EQ(assign(keyB, keyA, 1, 0), RTX_E_UNSUPPORTED);
   EXPECT_EQ(ctx.parms(), (Parms{"integrity algorithm", "1"}));
   rtxErrReset(ctx);
   EXPECT_EQ(ctx->nasSec->aesSchedules, nullptr);
   EXPECT_EQ(ctx->nasSec->cmacSubkeys, nullptr);
   EXPECT_EQ(ctx->nasSec->integAlg, 2); // the old numbers and pointers remain
   EXPECT_EQ(ctx->nasSec->cipherAlg, 2);
   EXPECT_EQ(ctx->nasSec->integKey, keyA.data());

   // Without keys nothing is computed.
   Octets data = someData;
   uint32_t value;
   refused(rtx3gppCipher(ctx, data.data(), data.size()), RTX_E_NO_SECURITY);
   refused(rtx3gppComputeMAC(ctx, data.data(), data.size(), &value), RTX_E_NO_SECURITY);
   EXPECT_EQ(data, someData);

   // Nor when the integrity key comes back alone, a second refusal having left the number of the cipher.
   EXPECT_EQ(assign(keyA, keyB, 2, 1), RTX_E_UNSUPPORTED);
   rtxErrReset(ctx);
   EXPECT_EQ(ctx->nasSec->cipherAlg, 2);
   refused(rtx3gppCipher(ctx, data.data(), data.size()), RTX_E_NO_SECURITY);
   EXPECT_EQ(data, someData);
   ASSERT_EQ(assign(keyA, keyB, 2, 2), 0);
   EXPECT_EQ(ciphered(someData), cipherB);
}

TEST_P(Security, RefusalOfTheCipherAlgorithmComesBehindTheIntegrityKey) {
   ASSERT_EQ(assign(keyB, keyB, 2, 2), 0);
   const uint32_t macB = mac(someData);
   ASSERT_EQ(assign(keyA, keyB, 2, 2), 0);
   const Octets cipherB = ciphered(someData);
   EXPECT_EQ(assign(keyB, keyA, 2, 1), RTX_E_UNSUPPORTED);
   EXPECT_EQ(ctx.parms(), (Parms{"cipher algorithm", "1"}));
   EXPECT_EQ(ctx->nasSec->integKey, keyA.data());
   EXPECT_EQ(ctx->nasSec->cipherAlg, 2);
   EXPECT_EQ(mac(someData), macB) << "the new integrity key is expanded by then";
   EXPECT_EQ(ciphered(someData), cipherB);
}

TEST_P(Security, OtherRefusals) {
   Octets data = someData;
   uint32_t value = 0;
   ctx->nasSec->cipherAlg = 1;
   refused(rtx3gppCipher(ctx, data.data(), 1), RTX_E_UNSUPPORTED, {"encryption algorithm", "1"});
   ctx->nasSec->integAlg = -3;
   refused(rtx3gppComputeMAC(ctx, data.data(), 1, &value), RTX_E_UNSUPPORTED, {"integrity algorithm", "-3"});
   refused(rtx3gppAssignAlgorithmKeys(ctx, nullptr, keyB.data(), 2, 2), RTX_E_NULL);
   refused(rtx3gppAssignAlgorithmKeys(ctx, keyA.data(), nullptr, 2, 2), RTX_E_NULL);
   ASSERT_EQ(assign(keyA, keyB, 2, 2), 0);
   refused(rtx3gppCipher(ctx, nullptr, 1), RTX_E_NULL);
   refused(rtx3gppComputeMAC(ctx, nullptr, 1, &value), RTX_E_NULL);
   EXPECT_EQ(data, someData);

   ASSERT_EQ(rtx3gppSetCount(ctx, UINT32_MAX, 31, RTX_NAS_DOWNLINK), 0);
   refused(rtx3gppSetCount(ctx, 1, 32, RTX_NAS_UPLINK), RTX_E_BAD_ARGUMENT);
   refused(rtx3gppSetCount(ctx, 1, 0, 2), RTX_E_BAD_ARGUMENT);
   EXPECT_EQ(ctx->nasSec->count, UINT32_MAX);
   EXPECT_EQ(ctx->nasSec->bearer, 31);
   EXPECT_EQ(ctx->nasSec->direction, 1);
   EXPECT_EQ(ctx->nasSec->integKey, keyA.data());

   rtx3gppSecFree(ctx);
   EXPECT_EQ(ctx->nasSec, nullptr);
   refused(rtx3gppSetCount(ctx, 0, 0, RTX_NAS_UPLINK), RTX_E_NO_SECURITY);
   refused(rtx3gppCipher(ctx, data.data(), 0), RTX_E_NO_SECURITY);
   refused(rtx3gppComputeMAC(ctx, data.data(), 1, &value), RTX_E_NO_SECURITY);
   refused(assign(keyA, keyB, 2, 2), RTX_E_NO_SECURITY);
   rtx3gppSecFree(ctx);
   refused(rtxErrGetStatus(ctx), RTX_E_NO_SECURITY);
}

// System memory that may run out and stays readable when freed, to look for secrets.
bool exhausted = false;
std::vector<void*> released;
size_t lastSize;

void* limitedMalloc(size_t size) {
   lastSize = size;
   return exhausted ? nullptr : std::malloc(size);
}
void* limitedRealloc(void* ptr, size_t size) {
   return exhausted ? nullptr : std::realloc(ptr, size);
}
void keepReleased(void* ptr) {
   released.push_back(ptr);
}

class SecurityMemory : public testing::Test {
protected:
   void SetUp() override {
      ASSERT_EQ(rtxInitContextExt(&ctx, limitedMalloc, limitedRealloc, keepReleased), 0);
   }
   void TearDown() override {
      exhausted = false;
      rtxFreeContext(&ctx);
      for (void* ptr : released) std::free(ptr);
      released.clear();
   }
   /** Leaves no room in the heap for anything. */
   void exhaust() {
      exhausted = true;
      for (size_t size = 65536; size != 0; size /= 2)
         while (rtxMemHeapAlloc(&ctx, size) != nullptr) {}
   }

   RtxContext ctx;
};

TEST_F(SecurityMemory, EndsWithoutMemory) {
   const auto failed = [&](int status) {
      EXPECT_EQ(status, RTX_E_NOMEM);
      EXPECT_EQ(rtxErrGetFirstError(&ctx), RTX_E_NOMEM);
      rtxErrReset(&ctx);
   };
   exhausted = true;
   failed(rtx3gppSecInitialize(&ctx));
   EXPECT_EQ(ctx.nasSec, nullptr);

   exhausted = false;
   ASSERT_EQ(rtx3gppSecInitialize(&ctx), 0);
   exhaust();
   failed(rtx3gppAssignAlgorithmKeys(&ctx, keyA.data(), keyB.data(), 2, 2));
   failed(rtx3gppAssignAlgorithmKeys(&ctx, nullptr, keyB.data(), 0, 2));
   EXPECT_EQ(ctx.nasSec->integAlg, 0);
   EXPECT_EQ(ctx.nasSec->cipherAlg, 0);

   exhausted = false;
   ASSERT_EQ(rtx3gppAssignAlgorithmKeys(&ctx, keyA.data(), keyB.data(), 2, 2), 0);
   Octets data(1 << 20, 0x11);
   uint32_t value;
   ASSERT_EQ(rtx3gppComputeMAC(&ctx, data.data(), 1000, &value), 0);
   exhausted = true;
   for (int i = 0; i < 1000; ++i) // the copy is released each time
      ASSERT_EQ(rtx3gppComputeMAC(&ctx, data.data(), 1000, &value), 0);
   failed(rtx3gppComputeMAC(&ctx, data.data(), data.size(), &value));
}

TEST_F(SecurityMemory, NoSecretStaysInMemory) {
   struct Case {
      const char* name;
      int integAlg, cipherAlg;
      bool subkeysGo, schedulesGo;
   };
   for (const Case& c : {Case{"null", 0, 0, true, true}, Case{"ciphering only", 0, 2, true, false},
                         Case{"refused", 7, 1, true, true}, Case{"integrity only", 2, 0, false, false}}) {
      SCOPED_TRACE(c.name);
      ASSERT_EQ(rtx3gppSecInitialize(&ctx), 0);
      ASSERT_EQ(rtx3gppAssignAlgorithmKeys(&ctx, keyA.data(), keyB.data(), 2, 2), 0);
      const auto* subkeys = reinterpret_cast<const uint32_t*>(ctx.nasSec->cmacSubkeys);
      const uint32_t* schedules = ctx.nasSec->aesSchedules;
      const std::vector<uint32_t> oldSubkeys(subkeys, subkeys + 8), oldSchedules(schedules, schedules + 88);
      // The heap may write links of its own over the first words of what it got back.
      const auto kept = [](const uint32_t* now, const std::vector<uint32_t>& before) {
         size_t count = 0;
         for (size_t i = 4; i < before.size(); ++i) count += now[i] == before[i];
         return count;
      };
      rtx3gppAssignAlgorithmKeys(&ctx, keyA.data(), keyB.data(), c.integAlg, c.cipherAlg);
      EXPECT_EQ(kept(subkeys, oldSubkeys), c.subkeysGo ? 0u : 4u);
      EXPECT_EQ(kept(schedules, oldSchedules), c.schedulesGo ? 0u : 84u);
      rtx3gppSecFree(&ctx);
      EXPECT_EQ(kept(subkeys, oldSubkeys), 0u);
      EXPECT_EQ(kept(schedules, oldSchedules), 0u);
      rtxErrReset(&ctx);
   }
}

TEST_F(SecurityMemory, NoKeptSecretOutlivesItsKeys) {
   const auto assigned = +[](RtxContext* c, int integAlg, int cipherAlg) {
      return rtx3gppAssignAlgorithmKeys(c, keyA.data(), keyB.data(), integAlg, cipherAlg);
   };
   struct Case {
      const char* name;
      void (*end)(RtxContext*);
      bool integGoes, cipherGoes;
   };
   for (const Case& c :
        {Case{"freed", rtx3gppSecFree, true, true}, Case{"memory freed", rtxMemFree, true, true},
         Case{"reset", rtxMemReset, false, false},
         Case{"no keys any more",
              [](RtxContext* x) { rtx3gppAssignAlgorithmKeys(x, nullptr, nullptr, 0, 0); }, true, true},
         Case{"refused", [](RtxContext* x) { rtx3gppAssignAlgorithmKeys(x, nullptr, nullptr, 3, 1); }, true,
              true},
         Case{"ciphering only",
              [](RtxContext* x) { rtx3gppAssignAlgorithmKeys(x, nullptr, keyB.data(), 0, 2); }, true, false},
         Case{"integrity only",
              [](RtxContext* x) { rtx3gppAssignAlgorithmKeys(x, keyA.data(), nullptr, 2, 0); }, false, true},
         Case{"reset, then freed",
              [](RtxContext* x) {
                 rtxMemReset(x);
                 rtx3gppSecFree(x);
              },
              true, true},
         Case{"context freed", [](RtxContext* x) { rtxFreeContext(x); }, true, true}}) {
      SCOPED_TRACE(c.name);
      rtx3gppSecFree(&ctx);
      rtxErrReset(&ctx);
      size_t size = 0;
      for (int round = 0; round < 4; ++round) {
         rtxMemReset(&ctx);
         ASSERT_EQ(rtx3gppSecInitialize(&ctx), 0);
         lastSize = 0;
         ASSERT_EQ(assigned(&ctx, 2, 2), 0);
         if (lastSize != 0 && ctx.keptKeys != nullptr) size = lastSize;
      }
      const auto* kept = static_cast<const uint8_t*>(ctx.keptKeys);
      const auto holds = [&](const Octets& key) {
         return std::search(kept, kept + size, key.begin(), key.end()) != kept + size;
      };
      ASSERT_GT(size, 352u);
      ASSERT_TRUE(holds(keyA) && holds(keyB));
      const std::vector<uint8_t> before(kept, kept + size);
      c.end(&ctx);
      EXPECT_EQ(holds(keyA), !c.integGoes);
      EXPECT_EQ(holds(keyB), !c.cipherGoes);
      size_t same = 0; // of key, schedule and subkeys
      for (size_t i = sizeof(void*); i < size; ++i) same += before[i] != 0 && kept[i] == before[i];
      EXPECT_EQ(same == 0, c.integGoes && c.cipherGoes);
   }
   // The last case has freed the context.
   ASSERT_EQ(rtxInitContextExt(&ctx, limitedMalloc, limitedRealloc, keepReleased), 0);
   ASSERT_EQ(rtx3gppSecInitialize(&ctx), 0);
   ASSERT_EQ(assigned(&ctx, 2, 2), 0);
   exhausted = true; // they are not kept then, and work all the same
   for (int round = 0; round < 3; ++round) ASSERT_EQ(assigned(&ctx, 2, 2), 0);
   EXPECT_EQ(ctx.keptKeys, nullptr);
}

} // namespace
