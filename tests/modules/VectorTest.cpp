// The vectors of the descriptions: each decodes with status 0, to its last octet, and encodes to the same
// octets.

#include "quorva/registry.h"
#include "quorva/rtxContext.h"
#include "quorva/rtxError.h"
#include "quorva/rtxMemHeap.h"
#include "support/context.h"
#include "support/typeVectors.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

namespace {

using quorva::test::hexFromOctets;
using quorva::test::kVectors;
using quorva::test::octetsFromHex;
using quorva::test::TypeVector;

// What is wrong with a vector; empty if nothing is.
std::string faultOf(const TypeVector& vector) {
   const QuorvaType* type = quorvaFindType(vector.type);
   if (type == nullptr || type->decode == nullptr) return "no decoder";
   const std::vector<uint8_t> octets = octetsFromHex(vector.octets);
   quorva::test::TestContext ctxt;
   ctxt.decode(octets);
   // A record that nobody prepared: what the decoder leaves unset must not matter.
   void* record = rtxMemHeapAlloc(ctxt, type->size);
   std::memset(record, 0xA5, type->size);
   if (type->init != nullptr) type->init(record);
   const int status = type->decode(ctxt, record);
   if (status != 0) return "status " + std::to_string(status);
   const bool csn1 = std::strncmp(vector.type, "TS44", 4) == 0; // whose structures may end inside an octet
   if (ctxt->bufByteIndex + (csn1 && ctxt->bufBitsLeft != 8) != octets.size() ||
       (!csn1 && ctxt->bufBitsLeft != 8))
      return "not to its last octet";
   // A record of this one may leave its container open on purpose.
   if (ctxt->containers.dlist.count != 0 &&
       std::strcmp(vector.type, "TS24008IE_MSRadioAccessCapability") != 0)
      return "a container stays open";
   if (type->encode == nullptr) return "";
   rtxErrReset(ctxt);
   std::vector<uint8_t> output(octets.size() + 16); // of 0, as are bits that an encoder passes over
   rtxCtxtSetBufPtr(ctxt, output.data(), output.size());
   const int written = type->encode(ctxt, record);
   if (written != 0) return "encoder's status " + std::to_string(written);
   const std::string back = hexFromOctets(output.data(), ctxt->bufByteIndex + (ctxt->bufBitsLeft != 8));
   return back == hexFromOctets(octets) ? "" : "comes back as " + back;
}

class DescriptionVector : public testing::TestWithParam<TypeVector> {};

TEST_P(DescriptionVector, DecodesAndEncodesBack) {
   EXPECT_EQ(faultOf(GetParam()), "") << GetParam().place;
}

// One that is wrong in a description is found out, however it is wrong.
TEST(DescriptionVectors, WrongOnesAreRefused) {
   const struct {
      TypeVector vector;
      const char* fault;
   } cases[] = {
         {{"TS24301IE_UENetworkCapability", "04F0F0C040", ""}, ""},
         {{"TS24301IE_UENetworkCapability", "05F0F0C040", ""}, "status -2"},
         {{"TS24301IE_UENetworkCapability", "03F0F0C040", ""}, "not to its last octet"},
         {{"TS24501IE_SMSIndication", "01", ""}, "not to its last octet"},
         {{"TS24301IE_EMMCause", "01", ""}, "status -4"},
         {{"TS24301IE_HashMME", "09001122334455667788", ""}, "comes back as 080011223344556677"},
         {{"TS24301IE_TrackingAreaIdent", "00F110", ""}, "status -2"},
         {{"TS24301IE_PartialTrkAreaIdent1", "00F1100001", ""}, "no decoder"},
         {{"TS24301IE_NoSuchType", "00", ""}, "no decoder"},
   };
   for (const auto& c : cases)
      EXPECT_EQ(faultOf(c.vector), c.fault) << c.vector.type << ' ' << c.vector.octets;
}

std::string nameOf(const testing::TestParamInfo<TypeVector>& info) {
   return std::string(info.param.type) + "_" + std::to_string(info.index);
}

INSTANTIATE_TEST_SUITE_P(All, DescriptionVector, testing::ValuesIn(kVectors), nameOf);

} // namespace
