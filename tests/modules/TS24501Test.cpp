// Elements of TS 24.501: mobile identities, containers whose arm something else picks, lengths and bounds.

#include "quorva/rtxDiag.h"
#include "quorva/TS24501IE.h"
#include "tests/modules/codecs.h"
#include "tests/modules/messages.h"

using namespace quorva::test;

namespace {

// --- 5GS mobile identity

TEST(MobileIdentity5GS, StatusesOfTheDecoder) {
   struct Case {
      const char* what;
      const char* hex;
      int status;
      uint32_t t;
   };
   const Case cases[] = {
         {"none", "0001 00", 0, 1},
         {"none with contents, which are skipped", "0003 08 AABB", 0, 1},
         {"the type lies behind the end", "0000 00", RTX_E_LENGTH_OVERRUN, 1},
         {"SUCI of an IMSI", "0009 01 09F107F0FF000020", 0, 2},
         {"SUCI of a network specific identifier", "0004 11 616263", 0, 2},
         {"SUCI of format 2", "0004 21 616263", RTX_E_BAD_CHOICE, 2},
         {"SUCI of format 7", "0004 71 616263", RTX_E_BAD_CHOICE, 2},
         {"bit 8 is no part of the format", "0004 91 616263", 0, 2},
         {"GUTI", "000B F2 09F107020040C7004BB3", 0, 3},
         {"GUTI with a 1 ahead of its type", "000B FA 09F107020040C7004BB3", 0, 3},
         {"GUTI with leading bits of 29", "000B EA 09F107020040C7004BB3", RTX_E_CONSTRAINT, 3},
         {"GUTI that lacks an octet", "000A F2 09F107020040C7004BB3", RTX_E_LENGTH_OVERRUN, 3},
         {"GUTI with an octet too many", "000C F2 09F107020040C7004BB3 FF", 0, 3},
         {"IMEI", "0008 3B65390853468390", 0, 4},
         {"IMEI whose first digit is none", "0008 BB65390853468390", RTX_E_BAD_CHAR, 4},
         {"IMEI of 17 digits", "0009 3B6539085346839011", RTX_E_OVERFLOW, 4},
         {"IMEI of more than 255 octets", "0100 3B65390853468390", RTX_E_CONSTRAINT, 4},
         {"5G-S-TMSI", "0007 F4 0040F100C843", 0, 5},
         {"5G-S-TMSI with leading bits of 0", "0007 04 0040F100C843", RTX_E_CONSTRAINT, 5},
         {"IMEISV", "0009 8566050704405003F1", 0, 6},
         {"IMEISV of more than 255 octets", "0100 8566050704405003F1", RTX_E_CONSTRAINT, 6},
         {"MAC address", "0007 06 001122334455", 0, 7},
         {"EUI-64", "0009 07 0011223344556677", 0, 8},
         {"EUI-64 that lacks an octet", "0008 07 0011223344556677", RTX_E_LENGTH_OVERRUN, 8},
   };
   for (const Case& c : cases) {
      TestContext context;
      TS24501IE_MobileIdentity record;
      std::memset(&record, 0xA5, sizeof record);
      EXPECT_EQ(decode(context, c.hex, NASDec_TS24501IE_MobileIdentity, &record), c.status) << c.what;
      EXPECT_EQ(record.t, c.t) << c.what;
      if (c.status == 0) {
         EXPECT_EQ(context.used(), octets(c.hex).size()) << c.what;
         EXPECT_EQ(context->containers.dlist.count, 0u) << c.what;
      }
   }
}

TEST(MobileIdentity5GS, TellsWhatIsWrong) {
   TS24501IE_MobileIdentity record;
   TestContext context;
   decode(context, "000B EA 09F107020040C7004BB3", NASDec_TS24501IE_MobileIdentity, &record);
   EXPECT_EQ(context.parms(), (std::vector<std::string>{"MobileIdentity leading bits for GUTI", "29"}));
   decode(context, "0007 04 0040F100C843", NASDec_TS24501IE_MobileIdentity, &record);
   EXPECT_EQ(context.parms(), (std::vector<std::string>{"MobileIdentity leading bits for 5G-S-TMSI", "0"}));
   TestContext other;
   decode(other, "0100 3B65390853468390", NASDec_TS24501IE_MobileIdentity, &record);
   EXPECT_EQ(other.parms(), (std::vector<std::string>{"MobileIdentity.imei", "length", "256"}));
}

// The odd indication of an IMEI is taken from its first digit: deliberate. One with an even first digit loses
// its last digit; that of an IMEISV comes from its own bit.
TEST(MobileIdentity5GS, OddnessOfDigits) {
   TS24501IE_MobileIdentity record;
   TestContext context;
   EXPECT_EQ(decode(context, "0008 3B65390853468390", NASDec_TS24501IE_MobileIdentity, &record), 0);
   EXPECT_STREQ(record.u.imei, "356938035643809");
   EXPECT_EQ(decode(context, "0008 2B65390853468390", NASDec_TS24501IE_MobileIdentity, &record), 0);
   EXPECT_STREQ(record.u.imei, "25693803564380");
   EXPECT_EQ(decode(context, "0009 8566050704405003F1", NASDec_TS24501IE_MobileIdentity, &record), 0);
   EXPECT_STREQ(record.u.imeisv, "8665070400405301");
   EXPECT_EQ(decode(context, "0008 8D66050704405053", NASDec_TS24501IE_MobileIdentity, &record), 0);
   EXPECT_STREQ(record.u.imeisv, "866507040040535"); // one of 15 digits
}

TEST(MobileIdentity5GS, LengthsAreCounted) {
   struct Case {
      const char* what;
      void (*fill)(TS24501IE_MobileIdentity&);
      const char* expected;
      uint16_t length;
   };
   const Case cases[] = {
         {"none", [](auto& r) { r.t = 1; }, "00 01 00", 1},
         {"SUCI of an IMSI",
          [](auto& r) {
             static uint8_t output[] = {0x00, 0x20};
             r.t = 2;
             r.u.suci.t = 1;
             auto& imsi = r.u.suci.u.supiImsi;
             imsi = {};
             std::strcpy(imsi.mcc_mnc.mcc, "901");
             std::strcpy(imsi.mcc_mnc.mnc, "70");
             imsi.routingInd2 = imsi.routingInd3 = imsi.routingInd4 = 15;
             imsi.schemeOutput = {2, output};
          },
          "00 0a 01 09 f1 07 f0 ff 00 00 00 20", 10},
         {"SUCI of a network specific identifier",
          [](auto& r) {
             r.t = 2;
             r.u.suci.t = 2;
             r.u.suci.u.supiNetSpecificId = {{3, {'a', 'b', 'c'}}};
          },
          "00 04 11 61 62 63", 4},
         {"SUCI of no kind", [](auto& r) { r.t = 2, r.u.suci.t = 3; }, "status -9", 7777},
         {"GUTI",
          [](auto& r) {
             r.t = 3;
             r.u.guti = {{"901", "70"}, 2, 1, 0, {0xC7, 0, 0x4B, 0xB3}};
          },
          "00 0b f2 09 f1 07 02 00 40 c7 00 4b b3", 11},
         {"IMEI", [](auto& r) { r.t = 4, std::strcpy(r.u.imei, "356938035643809"); },
          "00 08 3b 65 39 08 53 46 83 90", 8},
         {"5G-S-TMSI",
          [](auto& r) {
             r.t = 5, r.u.stmsi = {1, 0, {0xF1, 0, 0xC8, 0x43}};
          },
          "00 07 f4 00 40 f1 00 c8 43", 7},
         {"IMEISV", [](auto& r) { r.t = 6, std::strcpy(r.u.imeisv, "8665070400405301"); },
          "00 09 85 66 05 07 04 40 50 03 f1", 9},
         {"IMEI with a letter", [](auto& r) { r.t = 4, std::strcpy(r.u.imei, "3569x"); }, "status -24", 7777},
         {"MAC address",
          [](auto& r) {
             r.t = 7, r.u.macaddr = {0, {0, 1, 2, 3, 4, 5}};
          },
          "00 07 06 00 01 02 03 04 05", 7},
         {"MAC address not to be used as an identifier",
          [](auto& r) {
             r.t = 7, r.u.macaddr = {1, {0, 1, 2, 3, 4, 5}};
          },
          "00 07 0e 00 01 02 03 04 05", 7},
         {"EUI-64", [](auto& r) { r.t = 8, std::memset(r.u.eui_64, 7, 8); },
          "00 09 07 07 07 07 07 07 07 07 07", 9},
         {"no selector", [](auto& r) { r.t = 0; }, "status -9", 7777},
         {"a selector too high", [](auto& r) { r.t = 9; }, "status -9", 7777},
   };
   for (const Case& c : cases) {
      TestContext context;
      TS24501IE_MobileIdentity record;
      asn1Init_TS24501IE_MobileIdentity(&record);
      record.length = 7777; // whatever stood there: the octets are counted
      c.fill(record);
      EXPECT_EQ(encode(context, NASEnc_TS24501IE_MobileIdentity, &record), c.expected) << c.what;
      EXPECT_EQ(record.length, c.length) << c.what;
      EXPECT_EQ(context->flags & RTX_CTXT_RAW_TAIL, 0u) << c.what;
   }
}

// --- Names in the trace

std::string traceOf(TestContext& context, const std::function<int(RtxContext*)>& run) {
   auto* list = static_cast<RtxDiagBitFieldList*>(rtxMemHeapAlloc(context, sizeof(RtxDiagBitFieldList)));
   EXPECT_EQ(rtxDiagBitFieldListInit(context, list), 0);
   std::vector<char> memory(1 << 14);
   RtxPrintToStringBuffer text = {memory.data(), memory.size(), 0};
   rtxSetPrintStream(context, rtxPrintStreamToStringCB, &text);
   context->bitFields = list;
   EXPECT_GE(run(context), 0);
   context->bitFields = nullptr;
   rtxDiagBitTracePrint(list, nullptr);
   std::string names;
   std::istringstream lines(std::string(memory.data(), text.used));
   for (std::string line; std::getline(lines, line);)
      if (!line.empty() && line.find("bit offset") == std::string::npos && !std::isdigit(line[0]) &&
          line[0] != '-')
         names += (names.empty() ? "" : ", ") + line;
   return names;
}

// Some names differ between the directions: deliberate.
TEST(Trace5GS, NamesOfTheDirections) {
   const auto both = [](const char* type, const char* hex) {
      Message message(type);
      const QuorvaType* codec = quorvaFindType(type);
      void* record = &message.as<char>();
      message.context().decode(octets(hex));
      std::string names = traceOf(message.context(), [&](auto* c) { return codec->decode(c, record); });
      message.context().encode();
      return names + " | " + traceOf(message.context(), [&](auto* c) { return codec->encode(c, record); });
   };
   EXPECT_EQ(both("TS24501IE_MobileIdentity", "0007 06 001122334455"),
             "MobileIdentity.length INTEGER, MobileIdentity.leading bits INTEGER, "
             "MobileIdentity.typeOfIdent ENUMERATED, MobileIdentity.mac OCTET STRING | "
             "MobileIdentity.length INTEGER, MobileIdentity.bits+type INTEGER, "
             "MobileIdentity.macaddr OCTET STRING");
   EXPECT_EQ(both("TS24501IE_MobileIdentity", "0008 3B65390853468390"),
             "MobileIdentity.length INTEGER, MobileIdentity.leading bits INTEGER, "
             "MobileIdentity.typeOfIdent ENUMERATED | MobileIdentity length-1st-octet");
   EXPECT_EQ(both("TS24501Msg_PDU_SM", "2E 05 01 D6 5F"),
             "PDU_SM.protoDiscr ENUMERATED, PDU_SM.pduSessIdent ENUMERATED, PDU_SM.procTransIdent INTEGER, "
             "PDU_SM.msgType INTEGER, PDU_SM.data.u.obj_SMStatus5G.cause INTEGER | "
             "PDU-SM.protoDiscr ENUMERATED, PDU-SM.pduSessIdent ENUMERATED, PDU-SM.procTransIdent INTEGER, "
             "PDU-SM.msgType INTEGER, PDU-SM.data.u.obj_SMStatus5G.cause INTEGER");
   EXPECT_EQ(
         both("TS24011Msg_CP_PDU", "89 10 51"),
         "CP_PDU.l3HdrOpts.skipInd INTEGER, CP_PDU.protoDiscr ENUMERATED, CP_PDU.msgType INTEGER, "
         "CP_PDU.data.u.obj_CP_ERROR.cpCause.ext INTEGER, CP_PDU.data.u.obj_CP_ERROR.cpCause.value INTEGER"
         " | CP-PDU.l3HdrOpts.skipInd INTEGER, CP-PDU.protoDiscr ENUMERATED, CP-PDU.msgType INTEGER, "
         "CP-PDU.data.u.obj_CP_ERROR.cpCause.ext INTEGER, CP-PDU.data.u.obj_CP_ERROR.cpCause.value "
         "INTEGER");
   EXPECT_EQ(both("TS24011Msg_RP_PDU", "06 02"),
             "RP_PDU.header.spare INTEGER, RP_PDU.header.rpMsgType INTEGER, RP_PDU.header.rpMsgRef INTEGER | "
             "RP-PDU.header.spare INTEGER, RP-PDU.header.rpMsgType INTEGER, RP-PDU.header.rpMsgRef INTEGER");
}

// --- Extended CAG information

TEST(ExtCAGEntry, TheLengthIndicatorSaysHowFarTheIdentifiersGo) {
   struct Case {
      const char* what;
      const char* hex;
      int status;
      unsigned presence; // 1 indicator, 2 identifiers
      uint32_t numocts;
   };
   const Case cases[] = {
         {"all that is left", "0008 00F110 01 00000001", 0, 2, 4},
         {"nothing left", "0004 00F110 01", 0, 0, 0},
         {"as many as it says", "000C 00F110 05 0004 00000001 AABB", 0, 3, 4},
         {"none", "0006 00F110 05 0000", 0, 1, 0},
         {"more than are there", "0008 00F110 05 0005 0000 000001", RTX_E_LENGTH_OVERRUN, 3, 5},
         {"more than anything holds", "0008 00F110 05 FFFF 0000", RTX_E_END_OF_DATA, 1, 0xFFFF},
         {"a list behind", "0013 00F110 0C 0004 00000001 0007 0005 00000001 00", 0, 3, 4},
         {"a list that the identifiers leave nothing to", "0006 00F110 08 0001", RTX_E_END_OF_DATA, 2, 2},
   };
   for (const Case& c : cases) {
      TestContext context;
      TS24501IE_ExtCAGEntry record{};
      EXPECT_EQ(decode(context, c.hex, NASDec_TS24501IE_ExtCAGEntry, &record), c.status) << c.what;
      EXPECT_EQ(record.m.cagIdIndLenPresent + 2u * record.m.cagIdPresent, c.presence) << c.what;
      if (c.status == 0 && (c.presence & 2) != 0) {
         EXPECT_EQ(record.cagId.numocts, c.numocts) << c.what;
      }
   }
}

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

// --- What lengths, counts and arms refuse

struct Decoded {
   const char* type;
   const char* hex;
   int status;
   const char* what;
};

class Elements5GS : public testing::TestWithParam<Decoded> {};

TEST_P(Elements5GS, EndWithTheirStatus) {
   const Decoded& c = GetParam();
   Message message(std::string("TS24501IE_") + c.type);
   EXPECT_EQ(message.decode(octets(c.hex)), c.status) << c.what;
   if (c.status != 0) return;
   EXPECT_EQ(message.context().used(), octets(c.hex).size()) << c.what;
   EXPECT_EQ(message.context()->containers.dlist.count, 0u);
   message.leaves(); // prints what was decoded
}

const Decoded kDecoded[] = {
      {"SNSSAI", "00 01", RTX_E_CONSTRAINT, "no contents"},
      {"SNSSAI", "01 00", RTX_E_CONSTRAINT, "SST 0"},
      {"SNSSAI", "02 01 01 FFFF", RTX_E_LENGTH_OVERRUN, "a mapped SST behind the SST is taken for an SD"},
      {"SNSSAI", "06 01 000001 02 00 0000", RTX_E_LENGTH_OVERRUN, "mapped SD cut"},
      {"SNSSAI", "07 01 000001 02 0000 00", RTX_E_LENGTH_OVERRUN, "mapped SD cut"},
      {"SNSSAI", "09 01 000001 02 000001 FF", 0, "surplus skipped"},
      {"NSSAI", "00 01 01", RTX_E_CONSTRAINT, "no contents"},
      {"NSSAI", "20 0101 0101 0101 0101 0101 0101 0101 0101 0101 0101 0101 0101 0101 0101 0101 0101", 0,
       "16 entries"},
      {"NSSAI", "22 0101 0101 0101 0101 0101 0101 0101 0101 0101 0101 0101 0101 0101 0101 0101 0101 0101",
       RTX_E_CONSTRAINT, "17 entries"},
      {"RejectedNSSAI", "00 01", RTX_E_CONSTRAINT, "length 0"},
      {"RejectedNSSAI", "20 01 FF 0000", RTX_E_LENGTH_OVERRUN, "SD cut"},
      {"RejectedNSSAI", "60 01 000001 AABB", 0, "surplus skipped"},
      {"PartialExtRejectedNSSAI", "10 2001", RTX_E_CONSTRAINT, "no elements"},
      {"PartialExtRejectedNSSAI", "71 2001", RTX_E_BAD_CHOICE, "list type 7"},
      {"PartialExtRejectedNSSAI", "21 2001", RTX_E_BAD_ENUM, "list type 2"},
      {"PartialExtRejectedNSSAI", "09 1001 1001 1001 1001 1001 1001 1001 1001 1001", RTX_E_CONSTRAINT,
       "nine elements"},
      {"TrackingAreaIdentListItem", "2F 00F110 000001", 0, "type 1: one whatever numElements says"},
      {"CIoTSmallDataContainer", "01 60", RTX_E_BAD_ENUM, "type 3"},
      {"CIoTSmallDataContainer", "01 E0", RTX_E_BAD_CHOICE, "type 7"},
      {"SLAAParameter", "0B 00", RTX_E_BAD_ENUM, "type 11"},
      {"SLAAParameter", "FF 00", RTX_E_BAD_CHOICE, "type 255"},
      {"OpaqueData", "0000", RTX_E_CONSTRAINT, "no contents"},
      {"NASMessageContainer2", "0000", RTX_E_CONSTRAINT, "no contents"},
      {"EPSMessageContainer", "0000", RTX_E_CONSTRAINT, "no contents"},
      {"N1ToS1NASContainer", "00", RTX_E_CONSTRAINT, "0"},
      {"EAPMessage", "0003 010200", RTX_E_END_OF_DATA, "packet cut"},
      {"EAPMessage", "0004 01020003", RTX_E_CONSTRAINT, "a length that doesn't hold itself"},
      {"EAPMessage", "0004 FF020004", 0, "code 255"},
      {"EAPMessage", "0004 05020004", RTX_E_BAD_ENUM, "code 5"},
      {"N3IWFAddress", "01 05", RTX_E_BAD_ENUM, "type 5"},
      {"N3IWFAddress", "01 FF", RTX_E_BAD_CHOICE, "type 255"},
      {"TNANInfo", "02 01 00", RTX_E_CONSTRAINT, "empty TNGF identifier"},
      {"TNANInfo", "03 02 05 AABBCCDDEE", RTX_E_LENGTH_OVERRUN, "SSID longer than the element"},
      {"CMCIRules", "0002 01 09", RTX_E_BAD_CHOICE, "type 9"},
      {"UEParamUpdateDataSet", "05 0000", RTX_E_BAD_CHOICE, "type 5"},
      {"UEParamUpdateDataSet", "02 0001 01 01", RTX_E_LENGTH_OVERRUN, "slice behind the end"},
      {"RelayKeyResponseParams", "0030 00", RTX_E_CONSTRAINT, "48 octets"},
      {"AccessCategoryDefinition", "04 00 01 01 00", RTX_E_CONSTRAINT, "precedence 0"},
      {"AccessCategoryDefinition", "04 01 81 01 AA", 0, "the flag alone brings none"},
      {"AccessCategoryDefinition", "05 01 01 01 AA 02", 0, "without the flag it is skipped"},
      {"EventIndicator", "00 01 AA", RTX_E_CONSTRAINT, "type 0"},
      {"EventIndicator", "01 00", RTX_E_CONSTRAINT, "length 0"},
      {"EventNotification", "02 01 01 AA", RTX_E_END_OF_DATA, "one of two"},
      {"TimeDuration", "03 0101D0", RTX_E_CONSTRAINT, "66000"},
      {"OnDemandNSSAIInfo", "02 01 01 00003C", RTX_E_LENGTH_OVERRUN, "the timer is not optional"},
      {"CAGIdAddlInfo", "0006 00000001 01 00", RTX_E_CONSTRAINT, "no periods"},
      {"PayloadContainerEntry", "0003 01 AABB", RTX_E_CONSTRAINT, "no optional element"},
      // Session elements
      {"PDUAddress", "05 04 0A000001", RTX_E_BAD_ENUM, "type 4"},
      {"PDUAddress", "05 07 0A000001", RTX_E_BAD_CHOICE, "type 7"},
      {"SmPduDnReqContainer", "02 AABB", RTX_E_CONSTRAINT, "two octets"},
      {"DSTTEthMACAddr", "05 0011223344 55", RTX_E_LENGTH_OVERRUN, "an octet lacks"},
      {"EPSBearerCtxts", "0006 50 0003 20 0000", RTX_E_CONSTRAINT, "six octets"},
      {"EPSBearerCtxt", "70 0003 51 03 00", 0, "a template that leaves its record as it was"},
      {"EPSParam", "06 01 00", RTX_E_BAD_CHOICE, "parameter 6"},
      {"Parameter", "02 02 0101 02", RTX_E_LENGTH_OVERRUN, "a bit rate cut"},
      {"QoSRule", "01 0003 00 01 01", RTX_E_BAD_ENUM, "operation 0"},
      {"QoSRule", "01 0003 E0 01 01", RTX_E_BAD_CHOICE, "operation 7"},
      {"QoSRule", "01 0002 60 05", RTX_E_CONSTRAINT, "modify and add nothing"},
      {"QoSRule", "01 0003 A1 05 80", 0, "modify and delete one filter; the second octet is the precedence"},
      {"PFComponent", "02", RTX_E_BAD_ENUM, "type 2"},
      {"PFComponent", "FF", RTX_E_BAD_CHOICE, "type 255"},
      {"TrafficDescriptor", "00", RTX_E_CONSTRAINT, "type 0"},
      {"TrafficDescriptor", "02", RTX_E_BAD_CHOICE, "type 2"},
      {"TrafficDescriptor", "52 00", 0, "IP 3 tuple of nothing"},
      {"ATSSSParamList", "05 0003 AABBCC", RTX_E_BAD_CHOICE, "parameter 5"},
      {"ATSSSParamList", "01 0002 AABB", RTX_E_CONSTRAINT, "two octets"},
      {"AccessSelectionDescriptor", "02 00 01", RTX_E_CONSTRAINT, "functionality 0"},
      {"RemoteUEContext", "04 01 01 AA 07", RTX_E_BAD_CHOICE, "protocol 7"},
      {"RemoteUEContext", "04 01 FF AA 00", RTX_E_CONSTRAINT, "identifier beyond its array"},
      {"MBSSessionInfo", "04 03 AABBCC", RTX_E_BAD_ENUM, "type 0"},
      {"ReceivedMBSInfo", "00 06 03 AABBCC", RTX_E_BAD_CHOICE, "timer 3"},
      {"N3QAIParam", "10 01 00", RTX_E_BAD_CHOICE, "parameter 16"},
      {"DelayBudget", "0010 02 00", RTX_E_CONSTRAINT, "no flows"},
};

INSTANTIATE_TEST_SUITE_P(Table, Elements5GS, testing::ValuesIn(kDecoded), [](const auto& info) {
   return std::string(info.param.type) + "_" + std::to_string(info.index);
});

// A bound of a length of half an octet is told with its place and value.
TEST(RejectedNSSAI, LogsItsLength) {
   TestContext context;
   TS24501IE_RejectedNSSAI record;
   EXPECT_EQ(decode(context, "01 01", NASDec_TS24501IE_RejectedNSSAI, &record), RTX_E_CONSTRAINT);
   EXPECT_EQ(context.parms(), (std::vector<std::string>{"RejectedNSSAI.length", "0"}));
   EXPECT_EQ(rtxErrGetErrorCnt(context), 1u);
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

// The relay key response has 80 octets of fixed fields though 49 pass for a length.
TEST(RelayKeyResponse, LengthsThatPassAreNotEnough) {
   for (const auto& [length, status] : {std::pair{48, RTX_E_CONSTRAINT},
                                        {49, RTX_E_LENGTH_OVERRUN},
                                        {79, RTX_E_LENGTH_OVERRUN},
                                        {80, 0},
                                        {81, 0}}) {
      Message message("TS24501IE_RelayKeyResponseParams");
      Octets input(2 + 81, 0x11);
      input[0] = 0;
      input[1] = static_cast<uint8_t>(length);
      EXPECT_EQ(message.decode(input), status) << length;
   }
}

// The key begins 7 bits behind the length: one bit ahead of where the standard has it.
TEST(DeviceSecurityKey, LiesOneBitEarly) {
   Octets input(1 + 66, 0);
   input[0] = 66;
   input[1] = 0x02;  // askt
   input[2] = 0x81;  // 64 in 8 bits from bit 1 of the octet ahead on, then the first bit of the key
   input[66] = 0x02; // its last bit
   Message message("TS24501IE_DeviceSecurityKey");
   ASSERT_EQ(message.decode(input), 0);
   const auto& record = message.as<TS24501IE_DeviceSecurityKey>();
   EXPECT_EQ(record.askt, 1);
   EXPECT_EQ(record.contentLen, 64);
   EXPECT_EQ(record.keyContent[0], 0x80);
   EXPECT_EQ(record.keyContent[63], 0x01);
   int status = 0;
   EXPECT_EQ(hexFromOctets(message.encode(status)), hexFromOctets(input));
}

// --- Arms told by a bit of their contents

const char* const kSteering = "00 00112233445566778899AABBCCDDEEFF 0001 AABB";
const char* const kAck = "01 00112233445566778899AABBCCDDEEFF";

TEST(SORTransparentContainer, TheFirstOctetTellsTheArm) {
   struct Case {
      std::string hex;
      uint32_t t;
   };
   for (const Case& c : {Case{"0015" + std::string(kSteering), 1}, Case{"0011" + std::string(kAck), 2}}) {
      Message message("TS24501IE_SORTransparentContainer");
      ASSERT_EQ(message.decode(octets(c.hex)), 0);
      EXPECT_EQ(message.as<TS24501IE_SORTransparentContainer>().steeringOrAck.t, c.t);
      int status = 0;
      EXPECT_EQ(spaced(message.encode(status)), spaced(octets(c.hex)));
      EXPECT_EQ(message.context()->flags & RTX_CTXT_RAW_TAIL, 0u) << "the container closes what is open";
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

// --- Open tails that stay open

TEST(OpenTails5GS, LeftToWhoeverHoldsThem) {
   const struct {
      const char* type;
      const char* hex;
      bool open;
   } cases[] = {
         {"TS24501IE_SORSteering", kSteering, true},
         {"TS24501IE_SORSteering", "00 00112233445566778899AABBCCDDEEFF 0001", false},
         {"TS24501IE_SORSteering", "14 00112233445566778899AABBCCDDEEFF 0001 00 00", false},
         {"TS24501IE_UEParamUpdate", "00 00112233445566778899AABBCCDDEEFF 0001 04 0002 1234", true},
         {"TS24501IE_EventIndicator", "01 01 AA", true},
         {"TS24501IE_CAGEntry", "08 00F110 00 00000001", true},
         {"TS24501IE_CAGEntry", "04 00F110 00", false},
         {"TS24501IE_CAGInfoList", "0009 08 00F110 00 00000001", false},
         {"TS24501IE_MobileIdentity_SUCI_IMSI", "09F107 F0FF 00 00 AA", true},
         {"TS24501IE_OpaqueData", "0002 AABB", false},
         {"TS24501IE_DNNList", "02 01 61", false},
         {"TS24501IE_ReceivedMBSInfo", "10 00 03 AABBCC 08 0000000001 00F110", true},
   };
   for (const auto& c : cases) {
      Message message(c.type);
      ASSERT_EQ(message.decode(octets(c.hex)), 0) << c.type;
      EXPECT_EQ(message.context()->flags & RTX_CTXT_RAW_TAIL, 0u) << "a decoder sets no flag";
      int status = 0;
      EXPECT_EQ(spaced(message.encode(status)), spaced(octets(c.hex))) << c.type;
      EXPECT_EQ((message.context()->flags & RTX_CTXT_RAW_TAIL) != 0, c.open) << c.type << " " << c.hex;
   }
}

} // namespace
