// Short and full form over all types.
#include "tests/frame/forms.h"
#include "tests/support/typeVectors.h"
#include "tests/support/vectors.h"

#include <random>

using namespace quorva::test;

namespace {

class Forms : public testing::TestWithParam<uint32_t> {};
INSTANTIATE_TEST_SUITE_P(Modes, Forms, testing::Values(0u, RTX_CTXT_STANDARD));

TEST_P(Forms, LeaveTheSame) {
   Pair pair(GetParam());
   std::mt19937 random(1);
   size_t tried = 0;
   for (const QuorvaType* type : allTypes()) {
      if (type->decode == nullptr || type->encode == nullptr || type->sample == nullptr) continue;
      std::vector<uint8_t> whole = pair.encode(*type, 1 << 12, 0, true);
      for (const unsigned bit : {0u, 4u}) pair.encode(*type, 1 << 12, bit, true, RTX_CTXT_RAW_TAIL);
      pair.encode(*type, 1 << 12, 4, true);
      for (size_t room = 0; room < std::min<size_t>(whole.size(), 40); ++room)
         pair.encode(*type, room, 0, true);
      for (size_t length = 0; length <= whole.size(); ++length) {
         const std::vector<uint8_t> cut(whole.begin(), whole.begin() + static_cast<long>(length));
         pair.decode(*type, cut, 0);
         pair.decode(*type, shifted(cut), 4);
         for (const size_t container : {length + 3, length / 2 + 1}) pair.decode(*type, cut, 0, container);
      }
      for (unsigned turn = 0; turn < 24 && !whole.empty(); ++turn) {
         std::vector<uint8_t> flipped = whole;
         for (auto n = turn % 3 == 0 ? random() % 8 : 0; n > 0; --n) flipped.push_back(0);
         for (unsigned n = 1 + turn % 3; n > 0; --n)
            flipped[random() % flipped.size()] ^= static_cast<uint8_t>(1u << random() % 8);
         pair.decode(*type, flipped, 0);
         if (turn % 4 == 0) pair.decode(*type, shifted(flipped), 4);
      }
      ++tried;
      if (HasFailure()) return;
   }
   EXPECT_GT(tried, 800u);
}

// What the descriptions give as examples, and messages from elsewhere, whole and with bits turned.
TEST_P(Forms, LeaveTheSameOfRealOctets) {
   std::vector<std::pair<const char*, std::vector<uint8_t>>> inputs;
   for (const auto& vector : kVectors) inputs.emplace_back(vector.type, octetsFromHex(vector.octets));
   for (const auto& [type, vector] : messageVectors(QUORVA_TEST_DATA "/vectors"))
      inputs.emplace_back(type, vector.octets);
   Pair pair(GetParam());
   std::mt19937 random(2);
   for (auto& [name, octets] : inputs) {
      const QuorvaType& type = *quorvaFindType(name);
      if (type.decode == nullptr) continue;
      pair.decode(type, octets, 0);
      for (unsigned turn = 0; turn < 4; ++turn) {
         std::vector<uint8_t> turned = octets;
         turned[random() % turned.size()] ^= static_cast<uint8_t>(1u << random() % 8);
         pair.decode(type, turned, 0);
      }
      if (HasFailure()) return;
   }
}

} // namespace
