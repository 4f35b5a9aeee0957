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

TEST(Header, Options) {
   TS24007L3_L3HdrOptions options{};
   const auto encode = [&](RtxContext* c) { return NASEnc_TS24007L3_L3HdrOptions(c, &options); };
   const std::string done = "0 @0.4 wrote ";
   options.t = 1, options.u.skipInd = 15;
   EXPECT_EQ(encoded(encode), done + "f0");
   options.u.skipInd = 16;
   EXPECT_EQ(encoded(encode), "-16 @0.0 names=L3HdrOptions.skipInd level=1 errors=-16 "
                              "parms=L3HdrOptions.skipInd,16 wrote ");
   options.t = 2, options.u.transId = {1, 9};
   EXPECT_EQ(encoded(encode), done + "f0") << "a value above 7 becomes 7";
   options.t = 4, options.u.secHdr = 16;
   EXPECT_EQ(encoded(encode).substr(0, 46), "-16 @0.0 names=L3HdrOptions.secHdr level=1 err");
   options.t = 5;
   EXPECT_EQ(encoded(encode), "-9 @0.0 names=L3HdrOptions errors=-9 wrote ");
   options.t = 3, options.u.epsBearerIdent = 11;
   EXPECT_EQ(encoded(encode), done + "b0");
   std::string trace;
   EXPECT_EQ(decoded(
                   "b0", [&](RtxContext* c) { return NASDec_TS24007L3_L3HdrOptions(c, &options); }, &trace),
             "0 @0.4");
   EXPECT_EQ(trace, "L3HdrOptions.skipInd INTEGER 4");
   EXPECT_EQ(options.t, 1u) << "the decoder knows no other alternative";
   EXPECT_EQ(options.u.skipInd, 11);
}

TEST(Header, Records) {
   TS24007L3_Header header{};
   EXPECT_EQ(decoded("0741", [&](RtxContext* c) { return NASDec_TS24007L3_Header(c, &header); }), "0 @2.0");
   EXPECT_EQ(std::tie(header.protoDiscr, header.msgType), std::make_tuple(7u, 0x41));
   EXPECT_EQ(encoded([&](RtxContext* c) { return NASEnc_TS24007L3_Header(c, &header); }), "0741");
   EXPECT_EQ(decoded("0d41", [&](RtxContext* c) { return NASDec_TS24007L3_Header(c, &header); }),
             "-4 @1.0 names=Header.protoDiscr level=1 errors=-4");
   // The two codecs of this type spell its name differently in the trace.
   TS24007L3_MsgType_MM_CC_SS type{4, 1};
   EXPECT_EQ(encoded([&](RtxContext* c) { return NASEnc_TS24007L3_MsgType_MM_CC_SS(c, &type); }),
             "-16 @0.0 names=MsgType-MM-CC-SS.sendSeqNum level=1 wrote ");
   EXPECT_EQ(decoded("", [&](RtxContext* c) { return NASDec_TS24007L3_MsgType_MM_CC_SS(c, &type); }),
             "-2 @0.0 names=MsgType_MM_CC_SS.sendSeqNum level=1 errors=-2");
   TS24007L3_SecProtMsgHeader secured{};
   EXPECT_EQ(decoded("27 01020304 05",
                     [&](RtxContext* c) { return NASDec_TS24007L3_SecProtMsgHeader(c, &secured); }),
             "0 @6.0");
   EXPECT_EQ(std::tie(secured.secHdrType, secured.protoDiscr, secured.msgAuthCode, secured.seqNumber),
             std::make_tuple(2u, 7, 0x01020304u, 5));
   EXPECT_EQ(encoded([&](RtxContext* c) { return NASEnc_TS24007L3_SecProtMsgHeader(c, &secured); }),
             "270102030405");
}

TEST(Header, ListOfSlices) {
   TS24501IE_NSSAI list;
   const auto encode = [&](RtxContext* c) { return NASEnc_TS24501IE_NSSAI(c, &list); };
   asn1Init_TS24501IE_NSSAI(&list);
   EXPECT_TRUE(encoded(encode).starts_with("-16 @1.0")) << "nothing of the array";
   std::string hex = "22";
   for (int i = 0; i < 17; ++i) hex += "0101";
   const auto decode = [&](RtxContext* c) { return NASDec_TS24501IE_NSSAI(c, &list); };
   EXPECT_TRUE(decoded(hex, decode).starts_with("-16 @33.0")) << "17 entries";
   EXPECT_TRUE(decoded("00", decode).starts_with("-16 @1.0"));
   EXPECT_EQ(decoded("20" + hex.substr(2), decode), "0 @33.0");
   EXPECT_EQ(encoded(encode), "20" + hex.substr(2, 64));
}
