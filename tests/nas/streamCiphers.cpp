// SNOW 3G and ZUC and the algorithms over them, in each form that the machine has: sets of TS 35.217,
// TS 35.222, TS 35.223 and TS 33.401, annex C, and what an independent model says of every length up to 300
// bits.
#include "runtime/nas/snow3g.h"
#include "runtime/nas/streamCipher.h"
#include "runtime/nas/zuc.h"
#include "tests/support/vectors.h"

#include <fstream>
#include <gtest/gtest.h>
#include <sstream>

using namespace quorva;
using namespace quorva::test;

namespace {

class StreamCiphers : public testing::TestWithParam<bool> {
protected:
   void SetUp() override {
      if (!GetParam() && aesHardware() == nullptr) GTEST_SKIP() << "the processor has no AES instructions";
      aesForcePortable(GetParam());
   }
   void TearDown() override { aesForcePortable(false); }
};

INSTANTIATE_TEST_SUITE_P(Forms, StreamCiphers, testing::Bool(),
                         [](const auto& suite) { return suite.param ? "Portable" : "Hardware"; });

using Cipher = void (*)(const uint8_t*, uint32_t, unsigned, unsigned, uint8_t*, uint64_t);
using Mac = uint32_t (*)(const uint8_t*, uint32_t, uint32_t, unsigned, const uint8_t*, uint64_t);

/** 128-EIA1: FRESH is BEARER (TS 33.401, B.2.2). */
uint32_t eia1(const uint8_t* key, uint32_t count, uint32_t bearer, unsigned direction, const uint8_t* data,
              uint64_t bits) {
   return uia2(key, count, bearer << 27, direction, data, bits);
}

TEST_P(StreamCiphers, PublishedSetsOfCiphers) {
   struct Set {
      Cipher cipher;
      const char* key;
      uint32_t count;
      unsigned bearer, direction;
      uint64_t bits;
      const char *in, *out;
   };
   for (const Set& set :
        {Set{uea2, "d3c5d592327fb11c4035c6680af8c6d1", 0x398A59B4, 0x15, 1, 253,
             "981ba6824c1bfb1ab485472029b71d808ce33e2cc3c0b5fc1f3de8a6dc66b1f0",
             "5d5bfe75eb04f68ce0a12377ea00b37d47c6a0ba06309155086a859c4341b378"},
         Set{uea2, "efa8b2229e720c2a7c36ea55e9605695", 0xE28BCF7B, 0x18, 0, 510,
             "10111231e060253a43fd3f57e37607ab2827b599b6b1bbda37a8abcc5a8c550d"
             "1bfb2f494624fb50367fa36ce3bc68f11cf93b1510376b02130f812a9fa169d8",
             "e0da15ca8e2554f5e56c9468dc6c7c129c568aa5032317e04e0729646cabefa6"
             "89864c410f24f919e61e3dfdfad77e560db0a9cd36c34ae4181490b29f5fa2fc"},
         Set{eea3, "173d14ba5003731d7a60049470f00a29", 0x66035492, 0x0F, 0, 193,
             "6cf65340735552ab0c9752fa6f9025fe0bd675d9005875b200000000",
             "a6c85fc66afb8533aafc2518dfe784940ee1e4b030238cc800000000"},
         Set{eea3, "e5bd3ea0eb55ade866c6ac58bd54302a", 0x00056823, 0x18, 1, 800,
             "14a8ef693d678507bbe7270a7f67ff5006c3525b9807e467c4e56000ba338f5d4295590367518222"
             "46c80d3b38f07f4be2d8ff5805f5132229bde93bbbdcaf382bf1ee972fbf9977bada8945847a2a6c"
             "9ad34a667554e04d1f7fa2c33241bd8f01ba220d",
             "131d43e0dea1be5c5a1bfd971d852cbf712d7b4f57961fea3208afa8bca433f456ad09c7417e58bc"
             "69cf8866d1353f74865e80781d202dfb3ecff7fcbc3b190fe82a204ed0e350fc0f6f2613b2f2bca6"
             "df5a473a57a4a00d985ebad880d6f23864a07b01"}}) {
      SCOPED_TRACE(set.key);
      Octets data = octetsFromHex(set.in);
      set.cipher(octetsFromHex(set.key).data(), set.count, set.bearer, set.direction, data.data(), set.bits);
      EXPECT_EQ(hexFromOctets(data), set.out);
   }
}

TEST_P(StreamCiphers, PublishedSetsOfCodes) {
   struct Set {
      Mac mac;
      const char* key;
      uint32_t count, freshOrBearer;
      unsigned direction;
      uint64_t bits;
      const char* data;
      uint32_t code;
   };
   for (const Set& set : {Set{uia2, "2bd6459f82c5b300952c49104881ff48", 0x38A6F056, 0x05D2EC49, 0, 189,
                              "6b227737296f393c8079353edc87e2e805d2ec49a4f2d8e0", 0x2BCE1820},
                          Set{uia2, "d42f682428201cafcd9f97945e6de7b7", 0x3EDC87E2, 0xA4F2D8E2, 1, 254,
                              "b5924384328a4ae00b737109f8b6c8dd2b4db63dd533981ceb19aad52a5b2bc0", 0xFC7B18BD},
                          Set{eia1, "2bd6459f82c5b300952c49104881ff48", 0x38A6F056, 0x1F, 0, 88,
                              "3332346263393861373479", 0x731F1165},
                          Set{eia3, "00000000000000000000000000000000", 0, 0, 0, 1, "00000000", 0xC8A9595E},
                          Set{eia3, "47054125561eb2dda94059da05097850", 0x561EB2DD, 0x14, 0, 90,
                              "000000000000000000000000", 0x6719A088},
                          Set{eia3, "c9e6cec4607c72db000aefa88385ab0a", 0xA94059DA, 0x0A, 1, 577,
                              "983b41d47d780c9e1ad11d7eb70391b1de0b35da2dc62f83e7b78d6306ca0ea07e941b7be91348"
                              "f9fcb170e2217fecd9"
                              "7f9f68adb16e5d7d21e569d280ed775cebde3f4093c5388100000000",
                              0xFAE8FF0B}}) {
      SCOPED_TRACE(set.code);
      const Octets data = octetsFromHex(set.data);
      EXPECT_EQ(set.mac(octetsFromHex(set.key).data(), set.count, set.freshOrBearer, set.direction,
                        data.data(), set.bits),
                set.code);
   }
}

/** The inputs of streamCiphers.py. */
class Draw {
public:
   explicit Draw(uint64_t seed) : state_(seed) {}
   uint8_t octet() {
      state_ = state_ * 6364136223846793005u + 1442695040888963407u;
      return static_cast<uint8_t>(state_ >> 56);
   }
   Octets octets(size_t count) {
      Octets drawn(count);
      for (uint8_t& each : drawn) each = octet();
      return drawn;
   }

private:
   uint64_t state_;
};

TEST_P(StreamCiphers, EveryLengthAsTheModelSays) {
   std::ifstream file(QUORVA_TEST_DATA "/nas/streamCiphers.txt");
   std::string line;
   uint64_t next = 0;
   while (std::getline(file, line)) {
      if (line[0] == '#') continue;
      std::istringstream words(line);
      uint64_t bits = 0;
      std::string expected[4];
      words >> bits >> expected[0] >> expected[1] >> expected[2] >> expected[3];
      ASSERT_EQ(bits, next++);
      Draw draw(bits);
      const Octets key = draw.octets(16);
      const uint32_t count = loadBig(draw.octets(4).data());
      const unsigned bearer = draw.octet() & 31, direction = draw.octet() & 1;
      const Octets data = draw.octets((bits + 7) / 8);
      const auto ciphered = [&](Cipher cipher) {
         Octets out = data;
         cipher(key.data(), count, bearer, direction, out.data(), bits);
         return out.empty() ? "-" : hexFromOctets(out);
      };
      const auto code = [&](Mac mac) {
         uint8_t octets[4];
         storeBig(octets, mac(key.data(), count, bearer, direction, data.data(), bits));
         return hexFromOctets(octets, 4);
      };
      SCOPED_TRACE(bits);
      EXPECT_EQ(ciphered(uea2), expected[0]);
      EXPECT_EQ(code(eia1), expected[1]);
      EXPECT_EQ(ciphered(eea3), expected[2]);
      EXPECT_EQ(code(eia3), expected[3]);
   }
   EXPECT_EQ(next, 301u);
}

// Long key streams come by all entries of the boxes, and over the seams between calls.
TEST(StreamCipherForms, Agree) {
   if (aesHardware() == nullptr) GTEST_SKIP() << "the processor has no AES instructions";
   Draw draw(1);
   for (const size_t length : {61u, 64u, 65u, 127u, 2000u, 65537u}) {
      const Octets key = draw.octets(16), data = draw.octets(length);
      Octets out[2][2] = {{data, data}, {data, data}};
      uint32_t codes[2][2] = {};
      for (const bool portable : {false, true}) {
         aesForcePortable(portable);
         uea2(key.data(), 7, 3, 1, out[portable][0].data(), 8 * length);
         eea3(key.data(), 7, 3, 1, out[portable][1].data(), 8 * length);
         codes[portable][0] = uia2(key.data(), 7, 3, 1, data.data(), 8 * length);
         codes[portable][1] = eia3(key.data(), 7, 3, 1, data.data(), 8 * length);
      }
      aesForcePortable(false);
      for (int algorithm : {0, 1}) {
         EXPECT_TRUE(out[0][algorithm] == out[1][algorithm]) << length;
         EXPECT_EQ(codes[0][algorithm], codes[1][algorithm]) << length;
      }
   }
}

} // namespace
