// Module TS24007L3, the first on the frame, and the odd sides of its types.
#include "quorva/TS24007L3.h"
#include "quorva/TS24501IE.h"
#include "tests/frame/frameTest.h"

using namespace quorva::test;

namespace {

// Values that an enumeration of 4 bits refuses, in both directions.
std::string refused(int (*encode)(RtxContext*, uint32_t), int (*decode)(RtxContext*, uint32_t*)) {
   std::string text;
   for (uint32_t value = 0; value < 17; ++value) {
      const std::string out = encoded([=](RtxContext* c) { return encode(c, value); });
      const bool refuses = out.starts_with("-4 @0.0");
      EXPECT_EQ(refuses ? out.substr(out.find("wrote")) : "wrote ", "wrote ");
      if (refuses) text += std::to_string(value) + " ";
      if (value == 16) break;
      const uint8_t octet = static_cast<uint8_t>(value << 4);
      uint32_t back = 99;
      const std::string in =
            decoded(hexFromOctets(&octet, 1), [&](RtxContext* c) { return decode(c, &back); });
      EXPECT_EQ(in.substr(0, in.find(' ')), refuses ? "-4" : "0") << value;
      EXPECT_EQ(in.find("errors"), std::string::npos) << "at the top level nothing is recorded";
      EXPECT_EQ(back, value) << "a bad value stays in the target";
   }
   return text;
}

} // namespace

TEST(Header, Enumerations) {
   EXPECT_EQ(refused(NASEnc_TS24007L3_ProtoDiscr, NASDec_TS24007L3_ProtoDiscr), "13 16 ");
   EXPECT_EQ(refused(NASEnc_TS24007L3_EPSBearerIdentity, NASDec_TS24007L3_EPSBearerIdentity), "1 2 3 4 16 ");
   EXPECT_EQ(refused(NASEnc_TS24007L3_SecHdrType, NASDec_TS24007L3_SecHdrType), "6 7 8 9 10 11 13 14 15 16 ");
}
