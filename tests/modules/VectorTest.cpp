// The vectors of the descriptions: each decodes with status 0, to its last octet, and encodes to the same
// octets.

#include "quorva/registry.h"
#include "quorva/rtxContext.h"
#include "quorva/rtxError.h"
#include "quorva/rtxMemHeap.h"
#include "support/vectors.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

namespace {

using quorva::test::hexFromOctets;
using quorva::test::octetsFromHex;

struct TypeVector {
   const char* type;
   const char* octets;
   const char* place;
};

constexpr TypeVector kVectors[] = {
#include "tests/vectors.inc"
};

class DescriptionVector : public testing::TestWithParam<TypeVector> {};

TEST_P(DescriptionVector, DecodesAndEncodesBack) {
   const TypeVector& vector = GetParam();
   const QuorvaType* type = quorvaFindType(vector.type);
   ASSERT_NE(type, nullptr);
   const std::vector<uint8_t> octets = octetsFromHex(vector.octets);
   RtxContext ctxt;
   ASSERT_EQ(rtInitContext(&ctxt), 0);
   // A record that nobody prepared: what the decoder leaves unset must not matter.
   std::vector<uint8_t> input = octets;
   void* record = rtxMemHeapAlloc(&ctxt, type->size);
   std::memset(record, 0xA5, type->size);
   if (type->init != nullptr) type->init(record);
   rtxCtxtSetBufPtr(&ctxt, input.data(), input.size());
   ASSERT_NE(type->decode, nullptr);
   EXPECT_EQ(type->decode(&ctxt, record), 0) << vector.place;
   EXPECT_EQ(ctxt.bufByteIndex, octets.size()) << vector.place;
   // A record of this one may leave its container open on purpose.
   if (std::strcmp(vector.type, "TS24008IE_MSRadioAccessCapability") != 0) {
      EXPECT_EQ(ctxt.containers.dlist.count, 0u) << vector.place;
   }
   rtxErrReset(&ctxt);
   if (type->encode != nullptr) {
      std::vector<uint8_t> output(octets.size() + 16, 0);
      rtxCtxtSetBufPtr(&ctxt, output.data(), output.size());
      EXPECT_EQ(type->encode(&ctxt, record), 0) << vector.place;
      output.resize(ctxt.bufByteIndex + (ctxt.bufBitsLeft != 8));
      EXPECT_EQ(hexFromOctets(output), hexFromOctets(octets)) << vector.place;
   }
   rtFreeContext(&ctxt);
}

std::string nameOf(const testing::TestParamInfo<TypeVector>& info) {
   return std::string(info.param.type) + "_" + std::to_string(info.index);
}

INSTANTIATE_TEST_SUITE_P(All, DescriptionVector, testing::ValuesIn(kVectors), nameOf);

} // namespace
