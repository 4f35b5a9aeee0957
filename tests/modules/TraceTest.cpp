// What codecs by hand call the parts of their octets, reading and writing: some names differ.

#include "tests/frame/frameTest.h"
#include "tests/modules/records.h"

using namespace quorva::test;

namespace {

TEST(Trace, NamesTheParts) {
   const struct {
      const char *type, *hex, *read;
      const char* written; // null: as read
   } cases[] = {
         {"TS24008Msg_PDU", "F3 89 8F",
          "PDU.l3HdrOpts.skipInd INTEGER 4; PDU.protoDiscr ENUMERATED 4; PDU.transId flag 1; PDU.transId "
          "INTEGER 7; PDU.msgType INTEGER 8",
          "PDU.l3HdrOpts.transId.flag BOOLEAN 1; PDU.l3HdrOpts.transId.value INTEGER 3; PDU.protoDiscr "
          "ENUMERATED 4; PDU.transId.value INTEGER 8; PDU.msgType INTEGER 8"},
         {"TS24008IE_MobileIdentity", "05 F4 12 34 56 78",
          "MobileIdentity length 8; MobileIdentity digit1 4; MobileIdentity odd 1; MobileIdentity type 3; "
          "MobileIdentity.tmsi OCTET STRING 32",
          "MobileIdentity.tmsi length 8; MobileIdentity.tmsi digit1 4; MobileIdentity.tmsi odd 1; "
          "MobileIdentity.tmsi type 3; MobileIdentity.tmsi OCTET STRING 32"},
         {"TS24008IE_MobileIdentity", "03 00 00 00",
          "MobileIdentity length 8; MobileIdentity digit1 4; MobileIdentity odd 1; MobileIdentity type 3; "
          "MobileIdentity.none octet4+ 8; MobileIdentity.none octet4+ 8",
          "MobileIdentity.none length 8; MobileIdentity.none octet3 8; MobileIdentity.none octet4+ 8; "
          "MobileIdentity.none octet4+ 8"},
         {"TS24008IE_MobileIdentity", "08 35 01 02 03 62 F2 20 07",
          "MobileIdentity length 8; MobileIdentity digit1 4; MobileIdentity odd 1; MobileIdentity type 3; "
          "MobileIdentity.tmgi.mbmsServiceID OCTET STRING 24; MobileIdentity.tmgi.mcc-mnc TBCDString 24; "
          "MobileIdentity.tmgi.mbmsSessionID INTEGER 8",
          "MobileIdentity.tmgi length 8; MobileIdentity.tmgi spare 2; MobileIdentity.tmgi.mbmsSessIdInd "
          "BOOLEAN 1; MobileIdentity.tmgi.mccMncInd BOOLEAN 1; MobileIdentity.tmgi odd 1; "
          "MobileIdentity.tmgi type 3; MobileIdentity.tmgi.mbmsServiceID OCTET STRING 24; "
          "MobileIdentity.tmgi.mcc-mnc TBCDString 24; MobileIdentity.tmgi.mbmsSessionID INTEGER 8"},
         {"TS24008IE_AccessPointName", "05 01 61 02 62 63",
          "AccessPointName.length INTEGER 8; AccessPointName segment length 8; AccessPointName IA5String 8; "
          "AccessPointName segment length 8; AccessPointName IA5String 16",
          nullptr},
         {"TS24008IE_LinkedTI", "02 70 87",
          "LinkedTI.length INTEGER 8; LinkedTI.flag BOOLEAN 1; LinkedTI.value INTEGER 3; LinkedTI.ext ext "
          "bit 1; LinkedTI.value INTEGER 7",
          "LinkedTI.length INTEGER 8; LinkedTI.flag BOOLEAN 1; LinkedTI.value INTEGER 3; LinkedTI.spare "
          "INTEGER 4; LinkedTI.ext ext bit 1; LinkedTI.value INTEGER 7"},
         {"TS24008IE_NetworkName", "04 83 56 ED 15",
          "NetworkName.length INTEGER 8; NetworkName.ext BOOLEAN 1; NetworkName.codingScheme ENUMERATED 3; "
          "NetworkName.addCI BOOLEAN 1; NetworkName.numSpareBitsInLastOct INTEGER 3; "
          "NetworkName.textString.callBcastData GSMString 24",
          nullptr},
         {"TS24008IE_ReceiveNPDUNumberList", "03 51 26 34",
          "ReceiveNPDUNumberList.length INTEGER 8; ReceiveNPDUNumberList.contents.elem[0].nsapi INTEGER 4; "
          "ReceiveNPDUNumberList.contents.elem[0].numberValue INTEGER 8; "
          "ReceiveNPDUNumberList.contents.elem[1].nsapi INTEGER 4; "
          "ReceiveNPDUNumberList.contents.elem[1].numberValue INTEGER 8",
          nullptr},
         {"TS24501IE_MobileIdentity", "0007 06 001122334455",
          "MobileIdentity.length INTEGER 16; MobileIdentity.leading bits INTEGER 5; "
          "MobileIdentity.typeOfIdent ENUMERATED 3; MobileIdentity.mac OCTET STRING 48",
          "MobileIdentity.length INTEGER 16; MobileIdentity.bits+type INTEGER 8; MobileIdentity.macaddr "
          "OCTET STRING 48"},
         {"TS24501IE_MobileIdentity", "0008 3B65390853468390",
          "MobileIdentity.length INTEGER 16; MobileIdentity.leading bits INTEGER 5; "
          "MobileIdentity.typeOfIdent ENUMERATED 3",
          "MobileIdentity length-1st-octet 8"},
         {"TS24501Msg_PDU_SM", "2E 05 01 D6 5F",
          "PDU_SM.protoDiscr ENUMERATED 8; PDU_SM.pduSessIdent ENUMERATED 8; PDU_SM.procTransIdent INTEGER "
          "8; PDU_SM.msgType INTEGER 8; PDU_SM.data.u.obj_SMStatus5G.cause INTEGER 8",
          "PDU-SM.protoDiscr ENUMERATED 8; PDU-SM.pduSessIdent ENUMERATED 8; PDU-SM.procTransIdent INTEGER "
          "8; PDU-SM.msgType INTEGER 8; PDU-SM.data.u.obj_SMStatus5G.cause INTEGER 8"},
         {"TS24011Msg_CP_PDU", "89 10 51",
          "CP_PDU.l3HdrOpts.skipInd INTEGER 4; CP_PDU.protoDiscr ENUMERATED 4; CP_PDU.msgType INTEGER 8; "
          "CP_PDU.data.u.obj_CP_ERROR.cpCause.ext INTEGER 1; CP_PDU.data.u.obj_CP_ERROR.cpCause.value "
          "INTEGER 7",
          "CP-PDU.l3HdrOpts.skipInd INTEGER 4; CP-PDU.protoDiscr ENUMERATED 4; CP-PDU.msgType INTEGER 8; "
          "CP-PDU.data.u.obj_CP_ERROR.cpCause.ext INTEGER 1; CP-PDU.data.u.obj_CP_ERROR.cpCause.value "
          "INTEGER 7"},
         {"TS24011Msg_RP_PDU", "06 02",
          "RP_PDU.header.spare INTEGER 5; RP_PDU.header.rpMsgType INTEGER 3; RP_PDU.header.rpMsgRef INTEGER "
          "8",
          "RP-PDU.header.spare INTEGER 5; RP-PDU.header.rpMsgType INTEGER 3; RP-PDU.header.rpMsgRef INTEGER "
          "8"},
   };
   for (const auto& c : cases) {
      SCOPED_TRACE(std::string(c.type) + " " + c.hex);
      const QuorvaType& type = *quorvaFindType(c.type);
      const Octets octets = octetsOf(c.hex);
      Room record(type, 0xA5);
      FormContext context(Form::Full);
      context.decode(octets);
      context.attach();
      ASSERT_EQ(type.decode(context, record.get()), 0);
      EXPECT_EQ(context.trace(), c.read);
      EXPECT_EQ(context.used(), octets.size());
      EXPECT_EQ(context->elemNames.count, 0u) << "no name left behind";
      context.encode();
      context.attach();
      EXPECT_EQ(type.encode(context, record.get()), 0);
      EXPECT_EQ(context.trace(), c.written != nullptr ? c.written : c.read);
   }
}

} // namespace
