// Printers of records.

#include "modules/records.h"
#include "quorva/modules.h"

using namespace quorva::test;
using quorva_test::Capture;

namespace {

// What a printer writes; the record stands in a context of its own.
template <class Print, class... Value>
std::string printed(Print print, const char* name, Value... value) {
   Capture capture;
   EXPECT_EQ(print(&capture.ctxt, name, value...), 0);
   return capture.take();
}

TEST(Print, IdentityRequestOf5GS) {
   TS24501Msg_PDU pdu;
   memset(&pdu, 0xFF, sizeof pdu);
   asn1Init_TS24501Msg_PDU(&pdu);
   TS24501Msg_IdentityRequest request = {};
   request.identity.typeOfIdent = TS24501IE_TypeOfIdentity_suci;
   asn1SetTC_TS24501Msg_PDU_obj_IdentityRequest5G(nullptr, &pdu, &request);
   pdu.hdrData.u.mm.spare1 = 0;
   pdu.hdrData.u.mm.secHdrType = 0;
   EXPECT_EQ(printed(asn1PrtToStrm_TS24501Msg_PDU, "PDU", &pdu),
             "PDU {\n   protoDiscr = mobMgmt5G\n   hdrData {\n      mm {\n         spare1 = 0\n"
             "         secHdrType = noSec\n      }\n   }\n   msgType = 91\n   data {\n"
             "      obj_IdentityRequest5G {\n         spare = 0\n         identity {\n"
             "            spare = false\n            typeOfIdent = suci\n         }\n      }\n   }\n"
             "   eom = <null>\n}\n");
   asn1SetTC_TS24501Msg_PDU_obj_DeregAcceptUEOrig5G(nullptr, &pdu);
   EXPECT_NE(printed(asn1PrtToStrm_TS24501Msg_PDU, "PDU", &pdu)
                   .find("   data {\n      obj_DeregAcceptUEOrig5G = <null>\n   }\n"),
             std::string::npos);
   asn1SetTC_TS24501Msg_PDU_obj_RemUEReportResp5G(nullptr, &pdu);
   pdu.hdrData.u.sm = {TS24501Msg_PDUSessionIdentity_pduId5, 1};
   EXPECT_EQ(printed(asn1PrtToStrm_TS24501Msg_PDU, "PDU", &pdu),
             "PDU {\n   protoDiscr = sessMgmt5G\n   hdrData {\n      sm {\n         pduSessIdent = pduId5\n"
             "         procTransIdent = 1\n      }\n   }\n   msgType = 219\n   data {\n"
             "      obj_RemUEReportResp5G = <null>\n   }\n   eom = <null>\n}\n");
}

TEST(Print, UnknownSelectorsLeaveEmptyBlocks) {
   TS24501Msg_PDU pdu;
   memset(&pdu, 0xFF, sizeof pdu);
   asn1Init_TS24501Msg_PDU(&pdu);
   pdu.msgType = 3;
   const char* empty = "PDU {\n   protoDiscr = ???\n   hdrData {\n   }\n   msgType = 3\n   data {\n   }\n"
                       "   eom = <null>\n}\n";
   EXPECT_EQ(printed(asn1PrtToStrm_TS24501Msg_PDU, "PDU", &pdu), empty);
   for (uint32_t selector : {58u, 0x80000000u, UINT32_MAX}) {
      pdu.data.t = selector;
      EXPECT_EQ(printed(asn1PrtToStrm_TS24501Msg_PDU, "PDU", &pdu), empty) << selector;
   }
   TS24007L3_L3HdrOptions options;
   asn1Init_TS24007L3_L3HdrOptions(&options);
   EXPECT_EQ(printed(asn1PrtToStrm_TS24007L3_L3HdrOptions, "o", &options), "o {\n}\n");
   options.t = 2;
   options.u.transId = {1, 5};
   EXPECT_EQ(printed(asn1PrtToStrm_TS24007L3_L3HdrOptions, "o", &options),
             "o {\n   transId {\n      flag = true\n      value = 5\n   }\n}\n");
}

TEST(Print, NumbersWithNames) {
   EXPECT_EQ(printed(asn1PrtToStrm_TS24007L3_SecHdrType, "t", 12u), "t = secHdrForSvcReq\n");
   EXPECT_EQ(printed(asn1PrtToStrm_TS24007L3_SecHdrType, "t", 6u), "t = ???\n");
   EXPECT_EQ(printed(asn1PrtToStrm_TS24007L3_SecHdrType, "t", UINT32_MAX), "t = ???\n");
   // These two stand for an open space of numbers: an unlisted value shows as such.
   EXPECT_EQ(printed(asn1PrtToStrm_TS24008IE_TFTParamId, "p", 77u), "p = 77\n");
   EXPECT_EQ(printed(asn1PrtToStrm_TS24501IE_EPSParamId, "p", 250u), "p = 250\n");
   EXPECT_EQ(printed(asn1PrtToStrm_TS24008IE_TFTParamId, "p", 1u), "p = authToken\n");
   // Names of some values of an integer.
   EXPECT_EQ(printed(asn1PrtToStrm_TS24301IE_ServiceType, "s", uint8_t{8}), "s = pktSvcsViaS1\n");
   EXPECT_EQ(printed(asn1PrtToStrm_TS24301IE_ServiceType, "s", uint8_t{3}), "s = 3\n");
   EXPECT_EQ(printed(asn1PrtToStrm_TS24501IE_FlowRateUnit, "u", TS24501IE_FlowRateUnit{0}), "u = notUsed\n");
   EXPECT_EQ(printed(asn1PrtToStrm_TS24501IE_FlowRateUnit, "u", TS24501IE_FlowRateUnit{25}),
             "u = pbps-256\n");
   EXPECT_EQ(printed(asn1PrtToStrm_TS24501IE_FlowRateUnit, "u", TS24501IE_FlowRateUnit{26}), "u = 26\n");
   // Hyphens stay in what a value is called, and become underscores in what a field is called.
   EXPECT_EQ(printed(asn1PrtToStrm_TS24301IE_NASSecurityAlgorithms_typeOfCiph, "c", 1u), "c = x128-eea1\n");
}

TEST(Print, NameOfAnEnumerationIsAFormat) {
   EXPECT_EQ(printed(asn1PrtToStrm_TS24007L3_SecHdrType, "a%%b", 0u), "a%b = noSec\n");
}

TEST(Print, KeywordsAndHyphensInFieldNames) {
   TS24301IE_TrackingAreaIdent tai = {};
   strcpy(tai.mcc_mnc.mcc, "262");
   strcpy(tai.mcc_mnc.mnc, "02");
   tai.tac[1] = 0x10;
   EXPECT_EQ(printed(asn1PrtToStrm_TS24301IE_TrackingAreaIdent, "tai", &tai),
             "tai {\n   mcc_mnc {\n      mcc = '262'\n      mnc = '02'\n   }\n   tac = 0x0010\n}\n");
   TS24008IE_LocationUpdatingType type = {};
   type.for_ = 1;
   EXPECT_EQ(printed(asn1PrtToStrm_TS24008IE_LocationUpdatingType, "t", &type),
             "t {\n   for = true\n   spare = false\n   lut = normLocUpdate\n}\n");
}

TEST(Print, OptionalFieldsNeedTheirBitAndThatOfTheirGroup) {
   TS24301Msg_AttachReject reject;
   memset(&reject, 0, sizeof reject);
   reject.emmCause = 3;
   reject.m.t3402ValuePresent = 1; // without its group
   reject.t3402Value.length = 1;
   EXPECT_EQ(printed(asn1PrtToStrm_TS24301Msg_AttachReject, "r", &reject),
             "r {\n   emmCause = illegalUE\n}\n");
   reject.m.group1Present = 1;
   EXPECT_EQ(
         printed(asn1PrtToStrm_TS24301Msg_AttachReject, "r", &reject),
         "r {\n   emmCause = illegalUE\n   t3402Value {\n      length = 1\n      value {\n         unit = 0\n"
         "         timerValue = 0\n      }\n   }\n}\n");
}

TEST(Print, RepetitionsAndBareLists) {
   TS24301IE_TrackingAreaIdentList list = {};
   EXPECT_EQ(printed(asn1PrtToStrm_TS24301IE_TrackingAreaIdentList, "l", &list), "l {\n   length = 0\n}\n");
   TS24301IE_PartialTrkAreaIdent2 bare = {};
   EXPECT_EQ(printed(asn1PrtToStrm_TS24301IE_PartialTrkAreaIdent2, "b", &bare), "");
   // A list within a list: the names build on each other.
   list.idents.n = 2;
   list.idents.elem[0].typeOfList = 3; // no such arm
   list.idents.elem[1].typeOfList = 2;
   list.idents.elem[1].elements.u.partTrkIdentList2.n = 1;
   const std::string text = printed(asn1PrtToStrm_TS24301IE_TrackingAreaIdentList, "l", &list);
   EXPECT_NE(text.find("   idents[0] {\n      spare = false\n      typeOfList = 3\n      numElements = 0\n"
                       "      elements {\n      }\n   }\n   idents[1] {\n"),
             std::string::npos)
         << text;
   EXPECT_NE(text.find("         partTrkIdentList2[0] {\n            mcc_mnc {\n"), std::string::npos)
         << text;
   // A record's list: the line of its length, then a block an entry.
   TS24501IE_NSSAI slices = {};
   slices.length = 8;
   slices.contents.n = 2;
   EXPECT_EQ(printed(asn1PrtToStrm_TS24501IE_NSSAI, "allowedNSSAI", &slices),
             "allowedNSSAI {\n   length = 8\n   contents[0] {\n      length = 0\n      sst = 0\n   }\n"
             "   contents[1] {\n      length = 0\n      sst = 0\n   }\n}\n");
   // Numbers in a list, each on a line.
   TS24011IE_RPCauseElem cause = {};
   cause.diagField.n = 1;
   cause.diagField.elem[0] = 7;
   EXPECT_EQ(printed(asn1PrtToStrm_TS24011IE_RPCauseElem, "c", &cause),
             "c {\n   length = 0\n   ext = 0\n   causeValue = 0\n   diagField[0] = 7\n}\n");
   // A name that leaves no room for its index loses the pieces that don't fit.
   bare.n = 1;
   const std::string name(510, 'n');
   EXPECT_EQ(printed(asn1PrtToStrm_TS24301IE_PartialTrkAreaIdent2, name.c_str(), &bare).substr(0, 514),
             name + "[ {\n");
}

TEST(Print, NoMoreThanARecordHolds) {
   TS24301IE_NASMessageContainer container = {};
   container.numocts = 255; // the capacity is 251
   container.data[250] = 0xAB;
   const std::string text = printed(asn1PrtToStrm_TS24301IE_NASMessageContainer, "c", &container);
   EXPECT_EQ(text.substr(0, 4), "c =\n");
   EXPECT_NE(text.find("00 ab"), std::string::npos);
   EXPECT_EQ(std::count(text.begin(), text.end(), '\n'), 1 + (251 + 15) / 16);
   TS24301IE_PDNAddress address = {};
   address.pdnAddrInfo.numocts = 200;
   EXPECT_NE(printed(asn1PrtToStrm_TS24301IE_PDNAddress, "a", &address)
                   .find("pdnAddrInfo = 0x000000000000000000000000\n"),
             std::string::npos);
   TS24011IE_RPCauseElem cause = {};
   cause.diagField.n = 9;
   EXPECT_EQ(printed(asn1PrtToStrm_TS24011IE_RPCauseElem, "c", &cause).find("diagField[1]"),
             std::string::npos);
}

TEST(Print, TextsAndTypesWithoutContents) {
   EXPECT_EQ(printed(asn1PrtToStrm_TS24008IE_TBCDString, "d", "12*a"), "d = '12*a'\n");
   EXPECT_EQ(printed(asn1PrtToStrm_TS24008IE_TBCDString, "d", static_cast<const char*>(nullptr)),
             "d = '(null)'\n");
   EXPECT_EQ(printed(asn1PrtToStrm_TS24008IE_IMSI, "i", "262"), "i = '262'\n");
   EXPECT_EQ(printed(asn1PrtToStrm_TS24301Msg_RemoteUEReportResp_, "r"), "r = <null>\n");
   // Another name of a type prints as the type.
   const uint8_t nonce[4] = {1, 2, 3, 4};
   EXPECT_EQ(printed(asn1PrtToStrm_TS24301IE_Nonce, "n", nonce), "n = 0x01020304\n");
   EXPECT_EQ(printed(asn1PrtToStrm_TS24301Msg_SecModeReject, "s", 23u), "s = ueSecCapMismat\n");
   TS24008IE_NetworkName name = {};
   uint16_t units[] = {'Q', 0x20AC};
   name.codingScheme = TS24008IE_NetworkName_codingScheme_ucs2;
   name.textString.u.ucs2.nchars = 2;
   name.textString.u.ucs2.data = units;
   EXPECT_NE(printed(asn1PrtToStrm_TS24008IE_NetworkName, "n", &name).find("ucs2 = 'Q0x20ac'\n"),
             std::string::npos);
   // From 64 bits on a bit string takes a block of lines.
   TS24008IE_MSNetworkCapability capability = {};
   const uint8_t bits[9] = {0x80};
   capability.spareBits = {64, bits};
   EXPECT_NE(printed(asn1PrtToStrm_TS24008IE_MSNetworkCapability, "c", &capability).find("   spareBits = {"),
             std::string::npos);
}

TEST(Print, DependentChoiceFollowsItsField) {
   TS24301IE_EPSMobileIdentity identity = {};
   identity.typeOfIdent = TS24301IE_EPSMobileIdentity_typeOfIdent_imsi;
   strcpy(identity.content.u.imsi, "001");
   const std::string head = "i {\n   length = 0\n   oddEvenInd = false\n   filler = 0\n   typeOfIdent = ";
   EXPECT_EQ(printed(asn1PrtToStrm_TS24301IE_EPSMobileIdentity, "i", &identity),
             head + "imsi\n   content {\n      imsi = '001'\n   }\n}\n");
   identity.typeOfIdent = 2;
   EXPECT_EQ(printed(asn1PrtToStrm_TS24301IE_EPSMobileIdentity, "i", &identity),
             head + "???\n   content {\n   }\n}\n");
   TS24301Msg_PDU pdu = {};
   pdu.protoDiscr = 7;
   EXPECT_NE(
         printed(asn1PrtToStrm_TS24301Msg_PDU, "p", &pdu).find("   pti {\n      noValue = <null>\n   }\n"),
         std::string::npos);
}

} // namespace
