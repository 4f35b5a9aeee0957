// AES-128, counter mode and CMAC in each form that the machine has, against published vectors and textbook
// modes on single blocks of the portable form.
#include "runtime/nas/aes128.h"

#include "quorva/rt3gppNasSec.h"
#include "tests/support/vectors.h"

#include <gtest/gtest.h>
#include <random>

using namespace quorva;
using namespace quorva::test;

namespace {

Octets randomOctets(size_t count, unsigned seed) {
   std::mt19937 random(seed);
   Octets octets(count);
   for (uint8_t& octet : octets) octet = static_cast<uint8_t>(random());
   return octets;
}

/** Counter mode and CMAC as SP 800-38 writes them down. */
class Textbook {
public:
   explicit Textbook(const Octets& key) { aesPortable.expandKey(schedule, key.data()); }

   Octets encrypt(Octets block) const {
      aesPortable.encryptBlock(schedule, block.data(), block.data());
      return block;
   }

   Octets counterMode(const Octets& nonce, Octets data) const {
      Octets stream;
      for (size_t i = 0; i < data.size(); ++i) {
         if (i % 16 == 0) {
            stream.assign(nonce.begin(), nonce.begin() + 8);
            for (int shift = 56; shift >= 0; shift -= 8)
               stream.push_back(static_cast<uint8_t>(i / 16 >> shift));
            stream = encrypt(stream);
         }
         data[i] ^= stream[i % 16];
      }
      return data;
   }

   Octets cmac(Octets data) const {
      Octets subkey = doubled(encrypt(Octets(16)));
      if (data.empty() || data.size() % 16 != 0) {
         subkey = doubled(subkey);
         data.push_back(0x80);
         data.resize((data.size() + 15) / 16 * 16);
      }
      Octets tag(16);
      for (size_t i = 0; i < data.size(); ++i) {
         tag[i % 16] ^= data[i];
         if (i + 16 >= data.size()) tag[i % 16] ^= subkey[i % 16];
         if (i % 16 == 15) tag = encrypt(tag);
      }
      return tag;
   }

private:
   static Octets doubled(const Octets& in) {
      Octets out(16);
      for (unsigned i = 0; i < 16; ++i)
         out[i] = static_cast<uint8_t>(in[i] << 1 | (i < 15 ? in[i + 1] >> 7 : 0));
      if (in[0] & 0x80) out[15] ^= 0x87;
      return out;
   }

   uint32_t schedule[aesScheduleWords];
};

class Aes : public testing::TestWithParam<const AesForm*> {
protected:
   void SetUp() override {
      if (GetParam() == nullptr) GTEST_SKIP() << "the processor has no AES instructions";
   }
   static const AesForm& form() { return *GetParam(); }

   void useKey(const Octets& key) { form().expandKey(schedule, key.data()); }
   Octets encrypt(Octets block) {
      form().encryptBlock(schedule, block.data(), block.data());
      return block;
   }
   Octets cmac(const Octets& data) {
      uint8_t subkeys[32];
      cmacSubkeys(form(), schedule, subkeys);
      Octets tag(16);
      form().cmac(schedule, subkeys, data.data(), data.size(), tag.data());
      return tag;
   }

   uint32_t schedule[aesScheduleWords];
};

INSTANTIATE_TEST_SUITE_P(Forms, Aes, testing::Values(aesHardware(), &aesPortable), [](const auto& suite) {
   return suite.param == &aesPortable ? "Portable" : "Hardware";
});

TEST_P(Aes, Fips197) {
   useKey(octetsFromHex("000102030405060708090a0b0c0d0e0f"));
   EXPECT_EQ(hexFromOctets(encrypt(octetsFromHex("00112233445566778899aabbccddeeff"))),
             "69c4e0d86a7b0430d8cdb78070b4c55a");
   useKey(octetsFromHex("2b7e151628aed2a6abf7158809cf4f3c"));
   EXPECT_EQ(hexFromOctets(encrypt(octetsFromHex("3243f6a8885a308d313198a2e0370734"))),
             "3925841d02dc09fbdc118597196a0b32");
   // Words of appendix A.1: host order, each formed big-endian.
   EXPECT_EQ(schedule[0], 0x2b7e1516u);
   EXPECT_EQ(schedule[4], 0xa0fafe17u);
   EXPECT_EQ(schedule[36], 0xac7766f3u);
   EXPECT_EQ(schedule[43], 0xb6630ca6u);
   // A chain in which each block becomes the next key comes by all entries of the S-box.
   Octets block(16), key(16);
   for (int i = 0; i < 1000; ++i) {
      useKey(key);
      key = block = encrypt(block);
   }
   EXPECT_EQ(hexFromOctets(block), "f8851cb694bc47f61db9deb5695756a4");
}

TEST_P(Aes, CmacOfSp800_38B) {
   useKey(octetsFromHex("2b7e151628aed2a6abf7158809cf4f3c"));
   uint8_t subkeys[32];
   cmacSubkeys(form(), schedule, subkeys);
   EXPECT_EQ(hexFromOctets(subkeys, 32), "fbeed618357133667c85e08f7236a8def7ddac306ae266ccf90bc11ee46d513b");

   const Octets message = octetsFromHex("6bc1bee22e409f96e93d7e117393172aae2d8a571e03ac9c9eb76fac45af8e51"
                                        "30c81c46a35ce411e5fbc1191a0a52eff69f2445df4f9b17ad2b417be66c3710");
   const std::pair<long, const char*> examples[] = {{0, "bb1d6929e95937287fa37d129b756746"},
                                                    {16, "070a16b46b4d4144f79bdd9dd04a287c"},
                                                    {40, "dfa66747de9ae63030ca32611497c827"},
                                                    {64, "51f0bebf7e3b9d92fc49741779363cfe"}};
   for (const auto& [length, tag] : examples)
      EXPECT_EQ(hexFromOctets(cmac(Octets(message.begin(), message.begin() + length))), tag);
}

TEST_P(Aes, LikeTheTextbookForAnyLength) {
   for (unsigned seed = 0; seed < 300; ++seed) {
      const Octets key = randomOctets(16, seed), block = randomOctets(16, ~seed);
      const Textbook textbook(key);
      useKey(key);
      ASSERT_EQ(encrypt(block), textbook.encrypt(block)) << seed;

      // Ahead of the data and behind it stand octets that nothing may touch.
      const size_t length = seed;
      const Octets data = randomOctets(length, seed + 1);
      Octets guarded(length + 2, 0xA5);
      std::copy(data.begin(), data.end(), guarded.begin() + 1);
      form().counterMode(schedule, key.data(), guarded.data() + 1, length);
      EXPECT_EQ(guarded.front(), 0xA5);
      EXPECT_EQ(guarded.back(), 0xA5);
      ASSERT_EQ(Octets(guarded.begin() + 1, guarded.end() - 1), textbook.counterMode(key, data)) << length;
      ASSERT_EQ(cmac(data), textbook.cmac(data)) << length;
   }
}

TEST_P(Aes, LongMessagesAndCarriesOfTheCounter) {
   const Octets key = randomOctets(16, 7);
   const Textbook textbook(key);
   useKey(key);
   const Octets data = randomOctets(65536, 8);
   Octets enciphered = data;
   form().counterMode(schedule, key.data(), enciphered.data(), enciphered.size());
   EXPECT_EQ(enciphered, textbook.counterMode(key, data));
   EXPECT_EQ(cmac(data), textbook.cmac(data));

   // Block 65,536 is the first that needs a third octet of the counter.
   Octets zeros(16 * 65536 + 16);
   form().counterMode(schedule, key.data(), zeros.data(), zeros.size());
   Octets counter(key.begin(), key.begin() + 8);
   counter.insert(counter.end(), {0, 0, 0, 0, 0, 1, 0, 0});
   EXPECT_EQ(Octets(zeros.end() - 16, zeros.end()), textbook.encrypt(counter));
}

TEST(AesForm, ForcedFormIsTheOneInUse) {
   aesForcePortable(true);
   EXPECT_EQ(&aesForm(), &aesPortable);
   aesForcePortable(false);
   EXPECT_EQ(&aesForm(), aesHardware() ? aesHardware() : &aesPortable);
}

TEST(AesForm, ShiftRows) {
   Octets state = octetsFromHex("000102030405060708090a0b0c0d0e0f");
   rtxCryptAESShiftRows(state.data());
   EXPECT_EQ(hexFromOctets(state), "00050a0f04090e03080d02070c01060b");
}

TEST(AesForm, ShiftLeftCarriesAcrossOctetsAndDropsTheTopBit) {
   Octets block = octetsFromHex("800000000000000180ff000000000081");
   shiftLeft(block.data(), block.data());
   EXPECT_EQ(hexFromOctets(block), "000000000000000301fe000000000102");
}

} // namespace
