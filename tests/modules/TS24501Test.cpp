// Elements of TS 24.501: mobile identities, containers whose arm something else picks, lengths and bounds.

#include "quorva/TS24501IE.h"
#include "tests/modules/codecs.h"
#include "tests/modules/messages.h"

using namespace quorva::test;

namespace {

// --- 5GS mobile identity

TEST(MobileIdentity5GS, RefusedByTheEncoder) {
   const std::pair<const char*, void (*)(TS24501IE_MobileIdentity&)> cases[] = {
         {"status -9", [](auto& r) { r.t = 2, r.u.suci.t = 3; }}, // no kind of SUCI
         {"status -24", [](auto& r) { r.t = 4, std::strcpy(r.u.imei, "3569x"); }},
         {"status -9", [](auto& r) { r.t = 0; }},
         {"status -9", [](auto& r) { r.t = 9; }},
   };
   for (const auto& [expected, fill] : cases) {
      TestContext context;
      TS24501IE_MobileIdentity record;
      asn1Init_TS24501IE_MobileIdentity(&record);
      record.length = 7777;
      fill(record);
      EXPECT_EQ(encode(context, NASEnc_TS24501IE_MobileIdentity, &record), expected);
      EXPECT_EQ(record.length, 7777);
   }
}

// --- Extended CAG information

TEST(ExtCAGEntry, TheEncoderCountsTheIdentifiers) {
   uint8_t ids[] = {0, 0, 0, 1, 0, 0, 0, 2};
   TestContext context;
   TS24501IE_ExtCAGEntry record{};
   record.mcc_mnc = {"001", "01"};
   record.m.cagIdIndLenPresent = record.m.cagIdPresent = 1;
   record.lci = 1;
   record.cagIdIndLen = 3;
   record.cagId = {8, ids};
   EXPECT_EQ(encode(context, NASEnc_TS24501IE_ExtCAGEntry, &record),
             "00 0e 00 f1 10 04 00 08 00 00 00 01 00 00 00 02");
   EXPECT_EQ(record.cagIdIndLen, 8);
   record.caili = 2;
   EXPECT_EQ(encode(context, NASEnc_TS24501IE_ExtCAGEntry, &record), "status -16");
}

// The half octet behind the length is not counted, the octets from the next one on are.
TEST(RejectedNSSAI, EncodesTheCauseBesideTheLength) {
   TestContext context;
   TS24501IE_RejectedNSSAI record{};
   record.cause = 1;
   record.sst = 3;
   EXPECT_EQ(encode(context, NASEnc_TS24501IE_RejectedNSSAI, &record), "11 03");
   record.m.sdPresent = 1;
   record.sd = 0x010203;
   EXPECT_EQ(encode(context, NASEnc_TS24501IE_RejectedNSSAI, &record), "41 03 01 02 03");
   EXPECT_EQ(record.length, 4);
}

// The length of a ciphering data set's list has half an octet too: 16 octets are too many for it.
TEST(CipherDataSet, AListHasNoMoreThan15Octets) {
   uint8_t later[15] = {};
   for (const uint32_t count : {14u, 15u}) {
      Message message("TS24501IE_CipherDataSet");
      ASSERT_EQ(message.decode(octets("00112233445566778899AABBCCDDEEFF 02 0102 01 80 02 4020 "
                                      "22112001020300 0078 07 0009F107000001")),
                0);
      auto& list = message.as<TS24501IE_CipherDataSet>().eutraPosSIB;
      list.m.sparePresent = 1;
      list.spare = {count, later};
      int status = 0;
      const Octets output = message.encode(status);
      EXPECT_EQ(status, count == 14 ? 0 : RTX_E_CONSTRAINT);
      EXPECT_EQ(list.length, 1 + count);
      EXPECT_EQ(message.context().parms().size(), count == 14 ? 0u : 2u);
      if (status == 0) {
         EXPECT_EQ(message.decode(output), 0);
         EXPECT_EQ(list.spare.numocts, 10u); // behind what the decoder takes for four more octets of flags
      }
   }
}

// Lengths of two octets are written and kept whole.
TEST(Containers5GS, HoldMoreThan255Octets) {
   for (const char* type :
        {"TS24501IE_OpaqueData", "TS24501IE_NASMessageContainer2", "TS24501IE_EPSMessageContainer"}) {
      Message message(type);
      Octets input(2 + 300, 0x55);
      input[0] = 300 >> 8;
      input[1] = 300 & 255;
      ASSERT_EQ(message.decode(input), 0) << type;
      message.as<TS24501IE_OpaqueData>().length = 0; // they are records of one form
      int status = 0;
      EXPECT_EQ(message.encode(status), input) << type;
      EXPECT_EQ(message.as<TS24501IE_OpaqueData>().length, 300) << type;
   }
}

// More sessions than a count of one octet could tell, up to what the record holds.
TEST(RequestedMBSContainer, Has256Sessions) {
   for (const size_t count : {size_t{256}, size_t{257}}) {
      Octets input = octets("0000");
      const Octets session = octets("05 03 000001");
      for (size_t i = 0; i < count; ++i) input.insert(input.end(), session.begin(), session.end());
      input[0] = static_cast<uint8_t>(5 * count >> 8);
      input[1] = static_cast<uint8_t>(5 * count);
      Message message("TS24501IE_RequestedMBSContainer");
      EXPECT_EQ(message.decode(input), count == 256 ? 0 : RTX_E_CONSTRAINT);
      if (count != 256) continue;
      EXPECT_EQ(message.as<TS24501IE_RequestedMBSContainer>().sessionInfo.n, 256);
      int status = 0;
      EXPECT_EQ(message.encode(status), input);
   }
}

// By itself the choice has a bit of its own.
TEST(SORTransparentContainer, TheChoiceByItselfHasASelector) {
   TestContext context;
   TS24501IE_SORTransparentContainer_steeringOrAck record{};
   record.t = 2;
   record.u.ack.dataType = 1;
   std::string expected = "80 80";
   for (int i = 0; i < 16; ++i) expected += " 00";
   EXPECT_EQ(encode(context, NASEnc_TS24501IE_SORTransparentContainer_steeringOrAck, &record), expected);
   TS24501IE_SORTransparentContainer_steeringOrAck again{};
   EXPECT_EQ(decode(context, expected, NASDec_TS24501IE_SORTransparentContainer_steeringOrAck, &again), 0);
   EXPECT_EQ(again.t, 2u);
   EXPECT_EQ(again.u.ack.dataType, 1);
}

// Two arms of choices have a presence bit in the record around them, which the encoder asks.
TEST(OptionalArms, GoByTheirBits) {
   TestContext context;
   TS24501IE_ATSSSParamList parameter{};
   const std::string rules = "01 00 0b 00 09 01 01 01 00 01 01 02 01 01";
   EXPECT_EQ(decode(context, rules, NASDec_TS24501IE_ATSSSParamList, &parameter), 0);
   EXPECT_EQ(parameter.m.rulesPresent, 1);
   EXPECT_EQ(encode(context, NASEnc_TS24501IE_ATSSSParamList, &parameter), rules);
   parameter.m.rulesPresent = 0;
   EXPECT_EQ(encode(context, NASEnc_TS24501IE_ATSSSParamList, &parameter), "status -16") << "no length of 3";
   TS24501IE_ReceivedMBSInfo info{};
   const std::string head = "12 00 06 00 00 01 00 f1 10 ", cells = "08 00 00 00 00 01 00 f1 10";
   EXPECT_EQ(decode(context, head + cells, NASDec_TS24501IE_ReceivedMBSInfo, &info), 0);
   EXPECT_EQ(info.m.cgiPresent, 1);
   EXPECT_EQ(encode(context, NASEnc_TS24501IE_ReceivedMBSInfo, &info), head + cells);
   info.m.cgiPresent = 0;
   EXPECT_EQ(encode(context, NASEnc_TS24501IE_ReceivedMBSInfo, &info), head + "00");
}

} // namespace
