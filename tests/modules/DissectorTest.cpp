// A sample of each message, looked at by a program that owes nothing to this library.

#include "tests/support/dissector.h"
#include "quorva/modules.h"
#include "quorva/registry.h"
#include "quorva/rt3gppNasSec.h"

using namespace quorva::test;

namespace {

#define SKIP_WITHOUT_DISSECTOR()                                                                             \
   if (!haveDissector()) GTEST_SKIP() << "tshark is not installed"

class DissectorModes : public testing::TestWithParam<uint32_t> {
protected:
   ~DissectorModes() override { modeOfSamples = 0; }
};
INSTANTIATE_TEST_SUITE_P(Both, DissectorModes, testing::Values(0u, RTX_CTXT_STANDARD));

// Number of messages in the figure of a PDU: a list of members that lacks one is found out.
size_t messagesOf(const char* pdu) {
   const std::string figure = quorvaExplain(pdu);
   const std::string table = figure.substr(figure.find("Discriminator"));
   return static_cast<size_t>(std::count(table.begin(), table.end(), '\n')) - 1;
}

// --- EPS

// Integrity protected by the null algorithm, as a header is needed for the dissector to begin with.
void prepareEps(RtxContext* ctxt, TS24301Msg_PDU& pdu) {
   const bool standard = (ctxt->flags & RTX_CTXT_STANDARD) != 0;
   EXPECT_EQ(rtx3gppSecInitialize(ctxt), 0);
   pdu.m.secHdrPresent = 1;
   pdu.secHdr.secHdrType =
         pdu.msgType == 0 ? TS24007L3_SecHdrType_secHdrForSvcReq : TS24007L3_SecHdrType_integProt;
   pdu.secHdr.protoDiscr = TS24007L3_ProtoDiscr_epsMobMgmt;
   pdu.secHdr.msgAuthCode = 0;
   pdu.secHdr.seqNumber = 0;
   if (pdu.protoDiscr == TS24007L3_ProtoDiscr_epsSessMgmt) {
      pdu.l3HdrOpts.t = 3;
      pdu.l3HdrOpts.u.epsBearerIdent = TS24007L3_EPSBearerIdentity_id5;
      pdu.pti.u.value = 1;
   } else {
      pdu.l3HdrOpts.t = 4;
      pdu.l3HdrOpts.u.secHdr = 0;
   }
   switch (pdu.msgType) {
   // Its form depends on the direction, which a capture of bare messages does not tell; the dissector
   // guesses.
   case 0x45: {
      TS24301Msg_DetachRequest& request = *pdu.data.u.obj_DetachRequest;
      request.t = 1;
      request.u.ueOrig = *asn1Test_TS24301Msg_DetachRequestUEOrig(ctxt);
      break;
   }
   // In default mode the ciphering data departs from the standard, without which the rest would not be looked
   // at.
   case 0x42: pdu.data.u.obj_AttachAccept->m.cipherKeyDataPresent = standard; break;
   case 0x49: pdu.data.u.obj_TrkAreaUpdAccept->m.cipherKeyDataPresent = standard; break;
   default: break;
   }
}

std::vector<DissectorInput> epsSamples() {
   MessageSamples<TS24301Msg_PDU> samples(asn1Init_TS24301Msg_PDU, NASEnc_TS24301Msg_PDU,
                                          NASDec_TS24301Msg_PDU, prepareEps);
#define MESSAGE(name) samples.add(#name, asn1SetTC_TS24301Msg_PDU_obj_##name, asn1Test_TS24301Msg_##name)
#define HEADER(name) samples.add(#name, asn1SetTC_TS24301Msg_PDU_obj_##name)
   MESSAGE(ServiceRequest), MESSAGE(AttachRequest), MESSAGE(AttachAccept), MESSAGE(AttachComplete);
   MESSAGE(AttachReject), MESSAGE(DetachRequest), HEADER(DetachAccept), MESSAGE(TrkAreaUpdRequest);
   MESSAGE(TrkAreaUpdAccept), HEADER(TrkAreaUpdCmplt), MESSAGE(TrkAreaUpdReject), MESSAGE(ExtServiceReq);
   MESSAGE(CtrlPlaneSvcReq), MESSAGE(ServiceReject), MESSAGE(ServiceAccept), MESSAGE(GUTIReallocCmd);
   HEADER(GUTIReallocCmplt), MESSAGE(AuthRequest), MESSAGE(AuthResponse), HEADER(AuthReject);
   MESSAGE(IdentReq), MESSAGE(IdentResp), MESSAGE(AuthFailure), MESSAGE(SecModeCmd), MESSAGE(SecModeCmplt);
   MESSAGE(SecModeReject), MESSAGE(EMMStatus), MESSAGE(EMMInformation), MESSAGE(DLNASTransport);
   MESSAGE(ULNASTransport), MESSAGE(CSServiceNotif), MESSAGE(DLGenNASTransport), MESSAGE(ULGenNASTransport);
   MESSAGE(ActvDfltEPSBearerCtxtReq), MESSAGE(ActvDfltEPSBearerCtxtAcc), MESSAGE(ActvDfltEPSBearerCtxtRej);
   MESSAGE(ActvDedEPSBearerCtxtReq), MESSAGE(ActvDedEPSBearerCtxtAcc), MESSAGE(ActvDedEPSBearerCtxtRej);
   MESSAGE(ModEPSBearerCtxtReq), MESSAGE(ModEPSBearerCtxtAcc), MESSAGE(ModEPSBearerCtxtRej);
   MESSAGE(DeactEPSBearerCtxtReq), MESSAGE(DeactEPSBearerCtxtAcc), MESSAGE(PDNConnectReq);
   MESSAGE(PDNConnectRej), MESSAGE(PDNDisconnReq), MESSAGE(PDNDisconnRej), MESSAGE(BearerResAllocReq);
   MESSAGE(BearerResAllocRej), MESSAGE(BearerResModReq), MESSAGE(BearerResModRej), HEADER(ESMInfoReq);
   MESSAGE(ESMInfoResp), MESSAGE(ESMStatus), MESSAGE(RemoteUEReport), MESSAGE(ESMDataTransport);
#undef MESSAGE
#undef HEADER
   samples.inputs[0].type = 12; // no type in the short form: its security header tells
   return samples.inputs;
}

TEST_P(DissectorModes, Eps) {
   SKIP_WITHOUT_DISSECTOR();
   modeOfSamples = GetParam();
   std::vector<DissectorInput> inputs = epsSamples();
   EXPECT_EQ(inputs.size(), messagesOf("TS24301Msg_PDU"));
   replaceArbitrary(
         inputs,
         {
               {"3304c5e2ff1c", "330400020102", "flow mobility parameters: identifier, length, value"},
               {"6204c5e2ff1c", "62040a462491", "a session management message in a container"},
               {"6304c5e2ff1c", "63040a462491", "the same"},
               {"6704c5e2ff1c", "67040a462491", "the same"},
               {"0004c5e2ff1c", "00040a462491", "the same"},
               {"790004a3c0ddfa", "790004074411a1", "an attach reject as the message replayed"},
         });
   compareDissections(
         inputs, "nas-eps",
         {"nas_eps.nas_msg_emm_type", "nas_eps.nas_msg_esm_type", "nas_eps.security_header_type"},
         objectionsOf("eps"));
}

// --- 5GS

void prepare5gs(RtxContext*, TS24501Msg_PDU& pdu) {
   pdu.m.secHdrPresent = 0;
   if (pdu.protoDiscr == TS24501Msg_NAS5GProtoDiscr_mobMgmt5G) {
      pdu.hdrData.u.mm = {0, TS24501Msg_NAS5GSecHdrType_noSec};
   } else {
      pdu.hdrData.u.sm = {5, 1};
   }
}

std::vector<DissectorInput> samples5gs() {
   MessageSamples<TS24501Msg_PDU> samples(asn1Init_TS24501Msg_PDU, NASEnc_TS24501Msg_PDU,
                                          NASDec_TS24501Msg_PDU, prepare5gs);
#define MESSAGE(name, record) samples.add(#name, asn1SetTC_TS24501Msg_PDU_obj_##name, asn1Test_##record)
#define SAME5G(name)                                                                                         \
   samples.add(#name "5G", asn1SetTC_TS24501Msg_PDU_obj_##name##5G, asn1Test_TS24501Msg_##name)
#define HEADER(name) samples.add(#name, asn1SetTC_TS24501Msg_PDU_obj_##name)
   SAME5G(RegRequest), SAME5G(RegAccept), SAME5G(RegComplete), SAME5G(RegReject);
   SAME5G(DeregReqUEOrig), HEADER(DeregAcceptUEOrig5G), SAME5G(DeregReqUETerm), HEADER(DeregAcceptUETerm5G);
   SAME5G(ServRequest), SAME5G(ServReject), SAME5G(ServAccept), SAME5G(ControlPlaneServReq);
   SAME5G(NetSliceAuthCmd), SAME5G(NetSliceAuthDone), SAME5G(NetSliceAuthResult), SAME5G(CfgUpdateCmd);
   HEADER(CfgUpdateDone5G), MESSAGE(MMAuthRequest5G, TS24501Msg_AuthRequest),
         MESSAGE(MMAuthResponse5G, TS24501Msg_AuthResponse), MESSAGE(MMAuthReject5G, TS24501Msg_AuthReject);
   MESSAGE(MMAuthFailure5G, TS24501Msg_AuthFailure), MESSAGE(MMAuthResult5G, TS24501Msg_AuthResult),
         SAME5G(IdentityRequest), SAME5G(IdentityResponse);
   SAME5G(SecModeCmd), SAME5G(SecModeDone), SAME5G(SecModeReject), SAME5G(MMStatus);
   SAME5G(Notify), SAME5G(NotifyResponse), SAME5G(ULNASTrans), SAME5G(DLNASTrans);
   SAME5G(RelayKeyRequest), SAME5G(RelayKeyAccept), SAME5G(RelayKeyReject), SAME5G(RelayAuthRequest);
   SAME5G(RelayAuthResponse), SAME5G(EstablishRequest), SAME5G(EstablishAccept), SAME5G(EstablishReject);
   SAME5G(SMAuthCmd), SAME5G(SMAuthDone), SAME5G(SMAuthResult), SAME5G(ModifyRequest);
   SAME5G(ModifyReject), SAME5G(ModifyCmd), SAME5G(ModifyDone), SAME5G(ModifyCmdReject);
   SAME5G(ReleaseRequest), SAME5G(ReleaseReject), SAME5G(ReleaseCmd), SAME5G(ReleaseDone);
   SAME5G(SMStatus), MESSAGE(SvcLvlAuthCmd5G, TS24501Msg_ServiceLevelAuthCmd),
         MESSAGE(SvcLvlAuthDone5G, TS24501Msg_ServiceLevelAuthDone),
         MESSAGE(RemUEReport5G, TS24501Msg_RemoteUEReport);
   HEADER(RemUEReportResp5G);
#undef MESSAGE
#undef SAME5G
#undef HEADER
   return samples.inputs;
}

TEST_P(DissectorModes, FiveGS) {
   SKIP_WITHOUT_DISSECTOR();
   modeOfSamples = GetParam();
   std::vector<DissectorInput> inputs = samples5gs();
   EXPECT_EQ(inputs.size(), messagesOf("TS24501Msg_PDU"));
   replaceArbitrary(inputs,
                    {
                          {"990104c5e2ff1c", "99010402074100", "a relay message in a short message"},
                          {"710004a3c0ddfa", "7100047e004411", "a registration reject as the message inside"},
                          {"700004a3c0ddfa", "700004074411a1", "an EPS attach reject as the message inside"},
                    });
   compareDissections(inputs, "nas-5gs", {"nas_5gs.mm.message_type", "nas_5gs.sm.message_type"},
                      objectionsOf("5gs"));
}

// --- TS 24.008

void prepare24008(RtxContext*, TS24008Msg_PDU& pdu) {
   if (pdu.protoDiscr == TS24007L3_ProtoDiscr_callCtrl || pdu.protoDiscr == TS24007L3_ProtoDiscr_sessMgmt) {
      pdu.l3HdrOpts.u.transId = {0, 1};
   } else {
      pdu.l3HdrOpts.u.skipInd = 0;
   }
   pdu.sendSeqNum = 0;
}

std::vector<DissectorInput> samples24008() {
   MessageSamples<TS24008Msg_PDU> samples(asn1Init_TS24008Msg_PDU, NASEnc_TS24008Msg_PDU,
                                          NASDec_TS24008Msg_PDU, prepare24008);
#define MESSAGE(name, record) samples.add(#name, asn1SetTC_TS24008Msg_PDU_obj_##name, asn1Test_##record)
#define SAME(name) MESSAGE(name, TS24008Msg_##name)
#define HEADER(name) samples.add(#name, asn1SetTC_TS24008Msg_PDU_obj_##name)
   HEADER(AuthenticationReject), SAME(AuthenticationRequest), SAME(AuthenticationResponse),
         SAME(AuthenticationFailure);
   SAME(CMReestabRequest), HEADER(CMServiceAccept), SAME(CMServicePrompt), SAME(CMServiceReject);
   HEADER(CMServiceAbort), SAME(Abort), SAME(CMServiceRequest), SAME(IdentityRequest);
   SAME(IdentityResponse), SAME(IMSIDetachInd), SAME(LocUpdatingAccept), SAME(LocUpdatingReject);
   SAME(LocUpdatingRequest), SAME(MMInformation), SAME(MMStatus), SAME(TMSIReallocCmd);
   HEADER(TMSIReallocCmplt), HEADER(MMNull), SAME(Alerting), SAME(CallConfirmed);
   SAME(CallProceeding), SAME(CongestionControl), SAME(Connect), HEADER(ConnectAck);
   SAME(Disconnect), SAME(EmergencySetup), SAME(FacilityMsg), HEADER(Hold);
   HEADER(HoldAck), MESSAGE(HoldReject, TS24008IE_Cause), SAME(Modify), SAME(ModifyComplete);
   SAME(ModifyReject), MESSAGE(Notify, TS24008IE_NotificationIndicator), SAME(Progress),
         MESSAGE(CC_Establishment, TS24008IE_Setup_Container);
   SAME(CC_EstablishmentConfirmed), SAME(Release), SAME(Recall), SAME(ReleaseComplete);
   HEADER(Retrieve), HEADER(RetrieveAck), MESSAGE(RetrieveReject, TS24008IE_Cause), SAME(Setup);
   SAME(StartCC), SAME(StartDTMF), SAME(StartDTMFAck), MESSAGE(StartDTMFReject, TS24008IE_Cause);
   SAME(Status), HEADER(StatusEnquiry), HEADER(StopDTMF), HEADER(StopDTMFAck);
   SAME(UserInfo), SAME(AttachRequest), SAME(AttachAccept), SAME(AttachComplete);
   SAME(AttachReject), SAME(DetachRequest), SAME(DetachAccept), SAME(P_TMSIReallocCmd);
   HEADER(P_TMSIReallocCmplt), SAME(AuthAndCiphRequest), SAME(AuthAndCiphResponse), SAME(AuthAndCiphFailure);
   HEADER(AuthAndCiphReject), SAME(GMMIdentityRequest), SAME(GMMIdentityResponse),
         SAME(RoutingAreaUpdateRequest);
   SAME(RoutingAreaUpdateAccept), SAME(RoutingAreaUpdateComplete), SAME(RoutingAreaUpdateReject),
         MESSAGE(GMMStatus, TS24008IE_GMMCauseValue);
   SAME(GMMInformation), SAME(ServiceRequest), SAME(ServiceAccept), SAME(ServiceReject);
   SAME(ActivatePDPCtxtReq), SAME(ActivatePDPCtxtAccept), SAME(ActivatePDPCtxtReject),
         SAME(ActivateSecondaryPDPCtxtRqst);
   SAME(ActivateSecondaryPDPCtxtAcc), SAME(ActivateSecondaryPDPCtxtRej), SAME(RequestPDPCtxtAct),
         SAME(RequestPDPCtxtActRej);
   SAME(ModifyPDPCtxtRqstNetToMS), SAME(ModifyPDPCtxtRqstMSToNet), SAME(ModifyPDPCtxtAccMSToNet),
         SAME(ModifyPDPCtxtAccNetToMS);
   SAME(ModifyPDPCtxtRej), SAME(DeactivatePDPCtxtReq), SAME(DeactivatePDPCtxtAcc),
         SAME(RqstSecondaryPDPCtxtAct);
   SAME(RqstSecondaryPDPCtxtActRej), MESSAGE(SMStatus, TS24008IE_SMCauseValue), SAME(ActivateMBMSCtxtReq),
         SAME(ActivateMBMSCtxtAcc);
   SAME(ActivateMBMSCtxtRej), SAME(RequestMBMSCtxtAct), SAME(RequestMBMSCtxtActRej);
#undef MESSAGE
#undef SAME
#undef HEADER
   return samples.inputs;
}

TEST_P(DissectorModes, Ts24008) {
   SKIP_WITHOUT_DISSECTOR();
   modeOfSamples = GetParam();
   std::vector<DissectorInput> inputs = samples24008();
   EXPECT_EQ(inputs.size(), messagesOf("TS24008Msg_PDU"));
   replaceArbitrary(inputs, {
                                  {"3304c5e2ff1c", "330400020102",
                                   "flow mobility parameters: identifier, length, value"},
                                  {"1c04c5e2ff1c", "1c04a2020500", "a component of a supplementary service"},
                                  {"3a04c5e2ff1c", "3a04a2020500", "the same"},
                                  {"0bab04c5e2ff1c", "0bab04a2020500", "the same"},
                                  {"1d04c5e2ff1c", "1d04a2020500", "the same"},
                                  {"1b04c5e2ff1c", "1b04a2020500", "the same"},
                            });
   compareDissections(inputs, "gsm_a_dtap",
                      {"gsm_a.dtap.msg_mm_type", "gsm_a.dtap.msg_cc_type", "gsm_a.dtap.msg_gmm_type",
                       "gsm_a.dtap.msg_sm_type", "gsm_a.dtap.msg_ss_type"},
                      objectionsOf("ts24008"));
}

// --- SMS

std::vector<DissectorInput> samplesCp() {
   MessageSamples<TS24011Msg_CP_PDU> samples(asn1Init_TS24011Msg_CP_PDU, NASEnc_TS24011Msg_CP_PDU,
                                             NASDec_TS24011Msg_CP_PDU,
                                             [](RtxContext*, TS24011Msg_CP_PDU& pdu) {
                                                pdu.l3HdrOpts.t = 1;
                                                pdu.l3HdrOpts.u.skipInd = 1;
                                             });
   samples.add("CP_DATA", asn1SetTC_TS24011Msg_CP_PDU_obj_CP_DATA, asn1Test_TS24011Msg_CPDATA);
   samples.add("CP_ACK", asn1SetTC_TS24011Msg_CP_PDU_obj_CP_ACK);
   samples.add("CP_ERROR", asn1SetTC_TS24011Msg_CP_PDU_obj_CP_ERROR, asn1Test_TS24011Msg_CPERROR);
   return samples.inputs;
}

TEST(Dissector, SmsControl) {
   SKIP_WITHOUT_DISSECTOR();
   std::vector<DissectorInput> inputs = samplesCp();
   EXPECT_EQ(inputs.size(), messagesOf("TS24011Msg_CP_PDU"));
   compareDissections(inputs, "gsm_a_dtap", {"gsm_a.dtap.msg_sms_type"}, {});
}

// Each kind of RP message inside of CP-DATA, with a message of its direction in it: submit, deliver, reports.
std::vector<DissectorInput> samplesRp() {
   static const struct {
      const char* name;
      const char* tpdu;
   } kinds[] = {
         {"dataToNet", "01830a816000000000000005d4f29cae00"},
         {"dataToMS", "04069121436500006110711260952b0141"},
         {"ackToNet", "0000"},
         {"ackToMS", "01006110711260952b"},
         {"errorToNet", "00d000"},
         {"errorToMS", "01c0006110711260952b"},
         {"smma", ""},
   };
   std::vector<DissectorInput> inputs;
   for (uint8_t type = 0; type < 7; ++type) {
      const Octets tpdu = octetsFromHex(kinds[type].tpdu);
      TestContext context;
      TS24011Msg_RP_PDU rp;
      asn1Init_TS24011Msg_RP_PDU(&rp);
      rp.header = {0, type, 3};
      TS24011IE_RPUserData* data = nullptr;
      switch (type) {
      case 0:
         rp.infoElem.u.dataToNet = *asn1Test_TS24011Msg_RPDataMSOriginating(context);
         rp.infoElem.u.dataToNet.origAddrLen = 0; // no address follows
         data = &rp.infoElem.u.dataToNet.userData;
         break;
      case 1:
         rp.infoElem.u.dataToMS = *asn1Test_TS24011Msg_RPDataMSTerminated(context);
         rp.infoElem.u.dataToMS.destAddrLen = 0;
         data = &rp.infoElem.u.dataToMS.userData;
         break;
      case 2:
      case 3:
         rp.infoElem.u.ackToNet = *asn1Test_TS24011Msg_RP_ACK(context);
         data = &rp.infoElem.u.ackToNet.userData;
         break;
      case 4:
      case 5:
         rp.infoElem.u.errorToNet = *asn1Test_TS24011Msg_RP_ERROR(context);
         data = &rp.infoElem.u.errorToNet.userData;
         break;
      default: break;
      }
      if (data != nullptr) {
         data->numocts = static_cast<uint8_t>(tpdu.size());
         std::copy(tpdu.begin(), tpdu.end(), data->data);
      }
      EXPECT_GE(NASEnc_TS24011Msg_RP_PDU(context.encode(), &rp), 0) << kinds[type].name;
      const std::string octets = context.written();
      const auto count = static_cast<uint8_t>(octets.size() / 2);
      inputs.push_back(
            {kinds[type].name, type, octetsFromHex("1901" + hexFromOctets(&count, 1) + octets), {}, {}});
   }
   return inputs;
}

TEST(Dissector, SmsRelay) {
   SKIP_WITHOUT_DISSECTOR();
   const std::vector<DissectorInput> inputs = samplesRp();
   compareDissections(inputs, "gsm_a_dtap", {"gsm_a.rp.msg_type"}, {});
}

// --- Fields

TEST(Dissector, ShowsEachFieldUnderItsName) {
   SKIP_WITHOUT_DISSECTOR();
   compareMeanings(epsSamples(), "nas-eps", meaningsOf("eps"));
   compareMeanings(samples5gs(), "nas-5gs", meaningsOf("5gs"));
   compareMeanings(samples24008(), "gsm_a_dtap", meaningsOf("ts24008"));
   compareMeanings(samplesCp(), "gsm_a_dtap", meaningsOf("sms"));
}

} // namespace
