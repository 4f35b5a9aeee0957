// What the heap's memory held before does not show in what a decoder leaves, when it breaks off either.
#include "modules/records.h"
#include "support/vectors.h"

#include <cstdlib>
#include <random>

using namespace quorva::test;
using quorva_test::Capture;

namespace {

int fill;

void* filled(size_t size) {
   void* ptr = std::malloc(size);
   return ptr == nullptr ? nullptr : std::memset(ptr, fill, size);
}

// The text of a decoding in which each allocation holds `fill` throughout.
std::string decodedText(const QuorvaType& type, std::vector<uint8_t> octets) {
   static std::vector<char> memory(kTextRoom);
   RtxContext ctxt;
   EXPECT_EQ(rtxInitContextExt(&ctxt, filled, std::realloc, std::free), 0);
   rtxMemHeapSetFlags(&ctxt, RTX_MH_RAW_ONLY);
   RtxPrintToStringBuffer out{memory.data(), memory.size(), 0};
   rtxSetPrintStream(&ctxt, rtxPrintStreamToStringCB, &out);
   Room place(type, 0);
   octets.reserve(1);
   const int status = decode(ctxt, type, octets, place.get());
   rtxPrintToStreamResetIndent(&ctxt);
   EXPECT_EQ(type.print(&ctxt, "value", place.get()), 0);
   std::string text = std::to_string(status) + "\n" + std::string(memory.data(), out.used);
   rtxFreeContext(&ctxt);
   return text;
}

TEST(HeapContents, DoNotShow) {
   std::vector<std::pair<const QuorvaType*, std::vector<uint8_t>>> inputs;
   Capture samples(kTextRoom);
   for (const QuorvaType* type : allTypes()) {
      if (!type->decode || !type->encode || !type->sample || !type->print) continue;
      inputs.emplace_back(type, encode(samples.ctxt, *type, type->sample(&samples.ctxt)).octets);
      rtxMemReset(&samples.ctxt);
   }
   for (const auto& [type, vector] : messageVectors(QUORVA_TEST_DATA "/vectors"))
      inputs.emplace_back(quorvaFindType(type), vector.octets);
   EXPECT_GT(inputs.size(), 1200u);

   std::mt19937 random(3);
   for (const auto& [type, whole] : inputs) {
      const size_t length = whole.size();
      for (size_t turn = 0; turn < length + 60; ++turn) { // cut at each octet, then with bits turned
         std::vector<uint8_t> octets = whole;
         if (turn < length) octets.resize(turn);
         for (size_t n = turn < length ? 0 : turn % 4; n > 0 && length > 0; --n)
            octets[random() % length] ^= static_cast<uint8_t>(1u << random() % 8);
         fill = 0x11;
         const std::string text = decodedText(*type, octets);
         fill = 0xEE;
         ASSERT_EQ(text, decodedText(*type, octets)) << type->name << " " << hexFromOctets(octets);
      }
   }
}

} // namespace
