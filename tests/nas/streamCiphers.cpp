// SNOW 3G and ZUC and the algorithms over them, in each form that the machine has: sets of TS 35.217,
// TS 35.222, TS 35.223 and TS 33.401, annex C, and what an independent library says of every length up to 300
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

/** So many words of key stream. */
std::vector<uint32_t> snow3gStream([[maybe_unused]] bool portable, const std::string& key,
                                   const std::string& iv, size_t count) {
   uint32_t words[8];
   for (size_t i = 0; i < 8; ++i) words[i] = loadBig(octetsFromHex(key + iv).data() + 4 * i);
   const Snow3gForm* form = &snow3gPortable;
#if defined(__x86_64__)
   if (!portable) form = &snow3gX86;
#endif
   Snow3gState state;
   form->start(state, words, words + 4);
   std::vector<uint32_t> stream((count + 1 + 15) / 16 * 16);
   for (size_t at = 0; at < stream.size(); at += 16) form->words(state, stream.data() + at, 4);
   stream.erase(stream.begin());
   return stream;
}
std::vector<uint32_t> zucStream([[maybe_unused]] bool portable, const std::string& key, const std::string& iv,
                                size_t count) {
   const ZucForm* form = &zucPortable;
#if defined(__x86_64__)
   if (!portable) form = &zucX86;
#endif
   ZucState state;
   form->start(state, octetsFromHex(key).data(), octetsFromHex(iv).data());
   std::vector<uint32_t> stream((count + 15) / 16 * 16);
   for (size_t at = 0; at < stream.size(); at += 16) form->words(state, stream.data() + at, 16);
   return stream;
}

TEST_P(StreamCiphers, PublishedKeyStreams) {
   struct Set {
      std::vector<uint32_t> (*stream)(bool, const std::string&, const std::string&, size_t);
      const char *key, *iv;
      std::vector<uint32_t> first;
      size_t lastAt = 0; // counted from 1, as the sets do
      uint32_t last = 0;
   };
   for (const Set& set : {Set{snow3gStream,
                              "2bd6459f82c5b300952c49104881ff48",
                              "ea024714ad5c4d84df1f9b251c0bf45f",
                              {0xABEE9704, 0x7AC31373}},
                          Set{snow3gStream,
                              "8ce33e2cc3c0b5fc1f3de8a6dc66b1f3",
                              "d3c5d592327fb11cde551988ceb2f9b7",
                              {0xEFF8A342, 0xF751480F}},
                          Set{snow3gStream,
                              "4035c6680af8c6d1a8ff8667b1714013",
                              "62a540981ba6f9b74592b0e78690f71b",
                              {0xA8C874A9, 0x7AE7C4F8}},
                          Set{snow3gStream,
                              "0ded7263109cf92e3352255a140e0f76",
                              "6b68079a41a7c4c91befd79f7fdcc233",
                              {0xD712C05C, 0xA937C2A6, 0xEB7EAAE3},
                              2500,
                              0x9C0DB3AA},
                          Set{zucStream,
                              "00000000000000000000000000000000",
                              "00000000000000000000000000000000",
                              {0x27BEDE74, 0x018082DA}},
                          Set{zucStream,
                              "ffffffffffffffffffffffffffffffff",
                              "ffffffffffffffffffffffffffffffff",
                              {0x0657CFA0, 0x7096398B}},
                          Set{zucStream,
                              "3d4c4be96a82fdaeb58f641db17b455b",
                              "84319aa8de6915ca1f6bda6bfbd8c766",
                              {0x14F1C272, 0x3279C419}},
                          Set{zucStream,
                              "4d320bfad4c285bfd6b8bd00f39d8b41",
                              "52959daba0bf176ece2dc315049eb574",
                              {0xED4400E7, 0x0633E5C5},
                              2000,
                              0x7A574CDB}}) {
      SCOPED_TRACE(set.key);
      const auto stream = set.stream(GetParam(), set.key, set.iv, std::max(set.first.size(), set.lastAt));
      for (size_t i = 0; i < set.first.size(); ++i) EXPECT_EQ(stream[i], set.first[i]) << i;
      if (set.lastAt != 0) {
         EXPECT_EQ(stream[set.lastAt - 1], set.last);
      }
   }
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
         Set{uea2, "0a8b6bd8d9b08b08d64e32d1817777fb", 0x544D49CD, 0x04, 0, 310,
             "fd40a41d370a1f65745095687d47ba1d36d2349e23f644392c8ea9c49d40c13271aff264d0f248",
             "48148e5452a210c05f46bc80dc6f73495b02048c1b958b026102ca97280279a4c18d2ee308921c"},
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
             "df5a473a57a4a00d985ebad880d6f23864a07b01"},
         Set{eea3, "d4552a8fd6e61cc81a2009141a29c10b", 0x76452EC1, 0x02, 1, 1570,
             "38f07f4be2d8ff5805f5132229bde93bbbdcaf382bf1ee972fbf9977bada8945847a2a6c9ad34a66"
             "7554e04d1f7fa2c33241bd8f01ba220d3ca4ec41e074595f54ae2b454fd971432043601965cca85c"
             "2417ed6cbec3bada84fc8a579aea7837b0271177242a64dc0a9de71a8edee86ca3d47d033d6bf539"
             "804eca86c584a9052de46ad3fced65543bd90207372b27afb79234f5ff43ea870820e2c2b78a8aae"
             "61cce52a0515e348d196664a3456b182a07c406e4a20791271cfeda165d535ec5ea2d4df40",
             "8383b0229fcc0b9d2295ec41c977e9c2bb72e220378141f9c8318f3a270dfbcdee6411c2b3044f17"
             "6dc6e00f8960f97afacd131ad6a3b49b16b7babcf2a509ebb16a75dcab14ff275dbeeea1a2b155f9"
             "d52c26452d0187c310a4ee55beaa78ab4024615ba9f5d5adc7728f73560671f013e5e550085d3291"
             "df7d5fecedded559641b6c2f585233bc71e9602bd2305855bbd25ffa7f17ecbc042daae38c1f57ad"
             "8e8ebd37346f71befdbb7432e0e0bb2cfc09bcd96570cb0c0c39df5e29294e82703a637f80"}}) {
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
                          Set{uia2, "fdb9cfdf28936cc483a31869d81b8fab", 0x36AF6144, 0x9838F03A, 1, 319,
                              "5932bc0ace2b0aba33d8ac188ac54f346fad10bf9dee2920b43bd0c53a915cb7df6caa72053abf"
                              "f2",
                              0x02F1FAAF},
                          Set{uia2, "c736c6aab22bfff91e2698d2e22ad57e", 0x14793E41, 0x0397E8FD, 1, 384,
                              "d0a7d463df9fb2b278833fa02e235aa172bd970c1473e12907fb648b6599aaa0b24a0386654"
                              "22b20a499276a50427009",
                              0x38B554C0},
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
