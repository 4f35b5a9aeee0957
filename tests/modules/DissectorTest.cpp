// A sample of each message, looked at by a program that owes nothing to this library.

#include "tests/support/dissector.h"
#include "quorva/modules.h"
#include "quorva/registry.h"
#include "quorva/rt3gppNasSec.h"

using namespace quorva::test;

namespace {

#define SKIP_WITHOUT_DISSECTOR()                                                                             \
   if (!haveDissector()) GTEST_SKIP() << "tshark is not installed"

// Number of messages in the figure of a PDU: a list of members that lacks one is found out.
size_t messagesOf(const char* pdu) {
   const std::string figure = quorvaExplain(pdu);
   const std::string table = figure.substr(figure.find("Discriminator"));
   return static_cast<size_t>(std::count(table.begin(), table.end(), '\n')) - 1;
}

// --- EPS

// Integrity protected by the null algorithm, as a header is needed for the dissector to begin with.
void prepareEps(RtxContext* ctxt, TS24301Msg_PDU& pdu) {
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
   // The ciphering data departs from the standard, without which the rest would not be looked at.
   case 0x42: pdu.data.u.obj_AttachAccept->m.cipherKeyDataPresent = 0; break;
   case 0x49: pdu.data.u.obj_TrkAreaUpdAccept->m.cipherKeyDataPresent = 0; break;
   default: break;
   }
}

std::vector<DissectorInput> epsSamples() {
   MessageSamples<TS24301Msg_PDU> samples(asn1Init_TS24301Msg_PDU, NASEnc_TS24301Msg_PDU, prepareEps);
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

TEST(Dissector, Eps) {
   SKIP_WITHOUT_DISSECTOR();
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
   const char* const kNewer = "Extraneous Data, dissector bug or later version spec(report to wireshark.org)";
   const char* const kDigits = "BCD number contains a value that is not a digit";
   const char* const kLast = "its last elements are newer than the dissector";
   compareDissections(
         inputs,
         dissect(inputs, "nas-eps",
                 {"nas_eps.nas_msg_emm_type", "nas_eps.nas_msg_esm_type", "nas_eps.security_header_type"}),
         {
               {"AttachRequest", kNewer, kLast},
               {"AttachAccept", kNewer, kLast},
               {"AttachAccept", kDigits, "digits of the whole alphabet in a sample"},
               {"AttachReject", kNewer, kLast},
               {"TrkAreaUpdRequest", kNewer, kLast},
               {"TrkAreaUpdAccept", kNewer, kLast},
               {"TrkAreaUpdAccept", kDigits, "digits of the whole alphabet in a sample"},
               {"TrkAreaUpdReject", kNewer, kLast},
               {"ExtServiceReq", kNewer, kLast},
               {"CtrlPlaneSvcReq", kNewer, kLast},
               {"ServiceReject", kNewer, kLast},
               {"ServiceAccept", kNewer, kLast},
               {"CSServiceNotif", kNewer, "the dissector gives up behind the SS code"},
         });
}

} // namespace
