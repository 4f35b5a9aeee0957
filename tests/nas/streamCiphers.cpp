// SNOW 3G and ZUC and the algorithms over them, in each form that the machine has: sets of TS 35.217,
// TS 35.222, TS 35.223 and TS 33.401, annex C, and what an independent library says of every length up to 300
// bits.
#include "runtime/nas/snow3g.h"
#include "runtime/nas/streamCipher.h"
#include "runtime/nas/zuc.h"
#include "tests/support/vectors.h"

#include <fstream>
#include <gtest/gtest.h>
#include <map>
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

// Sets of the standards: key streams, ciphered messages and codes.
TEST_P(StreamCiphers, PublishedSets) {
   const std::map<std::string, Cipher> ciphers = {{"uea2", uea2}, {"eea3", eea3}};
   const std::map<std::string, Mac> codes = {{"uia2", uia2}, {"eia1", eia1}, {"eia3", eia3}};
   std::map<std::string, size_t> seen;
   for (const Vector& set : loadVectors(QUORVA_TEST_DATA "/vectors/nas-stream-ciphers.txt")) {
      SCOPED_TRACE(set.name);
      const std::string& algorithm = set.fact("algorithm");
      ++seen[algorithm];
      const Octets key = set.hex("key");
      if (set.has("stream")) {
         std::vector<uint32_t> first;
         std::istringstream words(set.fact("stream"));
         for (uint32_t word; words >> std::hex >> word;) first.push_back(word);
         const size_t last = set.has("later") ? set.number("later-at") : first.size(); // counted from 1
         const auto stream = (algorithm == "zuc" ? zucStream : snow3gStream)(GetParam(), set.fact("key"),
                                                                             hexFromOctets(set.octets), last);
         EXPECT_TRUE(std::equal(first.begin(), first.end(), stream.begin()));
         EXPECT_EQ(stream[last - 1],
                   set.has("later") ? std::stoul(set.fact("later"), nullptr, 16) : first.back());
         continue;
      }
      const auto count = static_cast<uint32_t>(set.number("count"));
      const auto bearer = static_cast<uint32_t>(set.number(set.has("fresh") ? "fresh" : "bearer"));
      const auto direction = static_cast<unsigned>(set.number("direction"));
      Octets data = set.octets;
      if (set.has("mac")) {
         EXPECT_EQ(codes.at(algorithm)(key.data(), count, bearer, direction, data.data(),
                                       set.number("length-bits")),
                   std::stoul(set.fact("mac"), nullptr, 16));
      } else {
         ciphers.at(algorithm)(key.data(), count, bearer, direction, data.data(), set.number("length-bits"));
         EXPECT_EQ(hexFromOctets(data), set.fact("result"));
      }
   }
   const std::map<std::string, size_t> all = {{"snow3g", 4}, {"zuc", 4},  {"uea2", 3}, {"eea3", 3},
                                              {"uia2", 4},   {"eia1", 1}, {"eia3", 3}};
   EXPECT_EQ(seen, all);
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
