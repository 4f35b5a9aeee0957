// Messages of TS 24.008 from the air and from other projects: what they say, and that they come out again as
// they went in.

#include "quorva/TS24008Msg.h"
#include "tests/modules/messages.h"

#include <algorithm>

namespace {

using namespace quorva::test;

// Their radio access capability ends with the last group of a release that the newest decoder knows. Its
// container stays open then and hides the optional elements, deliberately; an older decoder reads them.
const std::set<std::string_view> kEndOnGroup = {"attach-request-1", "attach-request-2",
                                                "routing-area-update-request-1",
                                                "routing-area-update-request-2"};
constexpr uint16_t kOlderRelease = 4;

// The dissector's name of each message.
const std::map<std::string_view, const char*> kMessageNames = {
      {"obj_ActivateMBMSCtxtAcc", "Activate MBMS Context Accept"},
      {"obj_ActivatePDPCtxtAccept", "Activate PDP Context Accept"},
      {"obj_ActivatePDPCtxtReq", "Activate PDP Context Request"},
      {"obj_ActivateSecondaryPDPCtxtAcc", "Activate Secondary PDP Context Accept"},
      {"obj_Alerting", "Alerting"},
      {"obj_AttachAccept", "Attach Accept"},
      {"obj_AttachReject", "Attach Reject"},
      {"obj_AttachRequest", "Attach Request"},
      {"obj_AuthenticationReject", "Authentication Reject"},
      {"obj_AuthenticationRequest", "Authentication Request"},
      {"obj_AuthenticationResponse", "Authentication Response"},
      {"obj_AuthAndCiphFailure", "Authentication and Ciphering Failure"},
      {"obj_AuthAndCiphReject", "Authentication and Ciphering Rej"},
      {"obj_AuthAndCiphRequest", "Authentication and Ciphering Req"},
      {"obj_AuthAndCiphResponse", "Authentication and Ciphering Resp"},
      {"obj_CC_Establishment", "CC-Establishment"},
      {"obj_CMReestabRequest", "CM Re-establishment Request"},
      {"obj_CMServiceAbort", "CM Service Abort"},
      {"obj_CMServiceAccept", "CM Service Accept"},
      {"obj_CMServiceRequest", "CM Service Request"},
      {"obj_CallProceeding", "Call Proceeding"},
      {"obj_CongestionControl", "Congestion Control"},
      {"obj_Connect", "Connect"},
      {"obj_ConnectAck", "Connect Acknowledge"},
      {"obj_DeactivatePDPCtxtAcc", "Deactivate PDP Context Accept"},
      {"obj_DeactivatePDPCtxtReq", "Deactivate PDP Context Request"},
      {"obj_DetachAccept", "Detach Accept"},
      {"obj_DetachRequest", "Detach Request"},
      {"obj_Disconnect", "Disconnect"},
      {"obj_EmergencySetup", "Emergency Setup"},
      {"obj_FacilityMsg", "Facility"},
      {"obj_GMMInformation", "GMM Information"},
      {"obj_GMMStatus", "GMM Status"},
      {"obj_HoldAck", "Hold Acknowledge"},
      {"obj_IMSIDetachInd", "IMSI Detach Indication"},
      {"obj_IdentityRequest", "Identity Request"},
      {"obj_IdentityResponse", "Identity Response"},
      {"obj_LocUpdatingAccept", "Location Updating Accept"},
      {"obj_LocUpdatingReject", "Location Updating Reject"},
      {"obj_LocUpdatingRequest", "Location Updating Request"},
      {"obj_MMInformation", "MM Information"},
      {"obj_MMNull", "MM Null"},
      {"obj_Modify", "Modify"},
      {"obj_ModifyPDPCtxtAccMSToNet", "Modify PDP Context Accept (uplink)"},
      {"obj_ModifyPDPCtxtRej", "Modify PDP Context Reject"},
      {"obj_ModifyPDPCtxtRqstNetToMS", "Modify PDP Context Request(downlink)"},
      {"obj_ModifyPDPCtxtRqstMSToNet", "Modify PDP Context Request(uplink)"},
      {"obj_ModifyReject", "Modify Reject"},
      {"obj_Notify", "Notify"},
      {"obj_P_TMSIReallocCmd", "P-TMSI Reallocation Command"},
      {"obj_Progress", "Progress"},
      {"obj_Release", "Release"},
      {"obj_ReleaseComplete", "Release Complete"},
      {"obj_RequestMBMSCtxtAct", "Request MBMS Context Activation"},
      {"obj_RequestPDPCtxtAct", "Request PDP Context Activation"},
      {"obj_RqstSecondaryPDPCtxtAct", "Request Secondary PDP Context Activation"},
      {"obj_Retrieve", "Retrieve"},
      {"obj_RetrieveReject", "Retrieve Reject"},
      {"obj_RoutingAreaUpdateAccept", "Routing Area Update Accept"},
      {"obj_RoutingAreaUpdateComplete", "Routing Area Update Complete"},
      {"obj_RoutingAreaUpdateRequest", "Routing Area Update Request"},
      {"obj_SMStatus", "SM Status"},
      {"obj_ServiceAccept", "Service Accept"},
      {"obj_ServiceReject", "Service Reject"},
      {"obj_ServiceRequest", "Service Request"},
      {"obj_Setup", "Setup"},
      {"obj_StartCC", "Start CC"},
      {"obj_StartDTMF", "Start DTMF"},
      {"obj_StartDTMFReject", "Start DTMF Reject"},
      {"obj_StatusEnquiry", "Status Enquiry"},
      {"obj_StopDTMF", "Stop DTMF"},
      {"obj_TMSIReallocCmd", "TMSI Reallocation Command"},
      {"obj_TMSIReallocCmplt", "TMSI Reallocation Complete"},
      {"obj_GMMIdentityRequest", "Identity Request"},
      {"obj_GMMIdentityResponse", "Identity Response"},
};

std::vector<std::string> nameOfMessage(const FactSource& source) {
   for (const Leaf& leaf : source.leaves) {
      if (leaf.path.compare(0, 5, "data.") != 0) continue;
      const std::string member = leaf.path.substr(5, leaf.path.find('.', 5) - 5);
      const std::string plain = member.substr(0, member.find('['));
      const auto row = kMessageNames.find(plain);
      return {row == kMessageNames.end() ? plain : row->second};
   }
   return {};
}

std::vector<std::string> sequenceNumber(const FactSource& source) {
   std::vector<std::string> values = at(as::number, {"sendSeqNum"})(source);
   if (values.empty()) values.emplace_back("0");
   return values;
}

// Digits that are not there read as 15 each. Of an IMSI no octet tells how many digits the network code has:
// as many as the fact says.
std::vector<std::string> networks(const FactSource& source) {
   const std::string& fact = source.vector.fact("plmn");
   const size_t digits = fact.size() - fact.find_last_of('-') - 1;
   const Conversion ofImsi = [digits](const Leaves& all, size_t i) {
      const std::string imsi = as::text(all, i);
      return imsi.substr(0, 3) + "-" + imsi.substr(3, digits);
   };
   const Conversion ofPair = [](const Leaves& all, size_t i) {
      const std::string pair = as::plmn(all, i);
      return pair == "-" ? "1665-1665" : pair;
   };
   std::vector<std::string> all = at({{"mcc", ofPair}, {"imsi", ofImsi}})(source);
   all.erase(std::unique(all.begin(), all.end()), all.end()); // a neighbour that is alike was not noted
   return all;
}

// Cause values of call control are noted in hex.
std::string causeValue(const Leaves& all, size_t i) {
   return as::hexNumber(as::numberOf(all[i].value), 2);
}

// A setup container holds the elements of a Setup message.
std::string recordOf(std::string record) {
   return record == "CC_Establishment" ? "Setup" : record;
}

const FactTable& facts() {
   static const FactTable table = {
         {"message", nameOfMessage},
         {"length", lengthOfMessage},
         {"type", at(as::hex(2), {"msgType"})},
         {"iei-order", identifiersOfElements("TS24008Msg", recordOf)},
         {"send-sequence", sequenceNumber},
         {"ti-flag", at(as::number, {"transId.flag"})},
         {"ti", at(as::number, {"transId.value"})},
         {"cause", at({{"rejectCause", as::enumeration(TS24008IE_RejectCauseValue_ToEnum)},
                       {"causeValue", causeValue},
                       {"gmmCause", as::number},
                       {"smCause", as::number},
                       {"data.obj_GMMStatus", as::number},
                       {"data.obj_SMStatus", as::number}})},

         {"identity-type", at({{"imsi", as::constant("1")},
                               {"imei", as::constant("2")},
                               {"imeisv", as::constant("3")},
                               {"tmsi", as::constant("4")}})},
         {"identity-wanted",
          at(as::enumeration(TS24008IE_IdentityTypeValue_typeOfIdent_ToEnum), {"typeOfIdent"})},
         {"imsi", at(as::text, {"imsi"})},
         {"imei", at(as::text, {"imei"})},
         {"imeisv", at(as::text, {"imeisv"})},
         {"tmsi", at(as::hex(1), {"tmsi"})},
         {"ptmsi-signature", at(as::hex(6), {"oldPTMSISignature", "pTMSISignature.value"})},
         {"plmn", networks},
         {"lac", at(as::hex(4), {"lac"})},
         {"rac", at(as::hex(2), {"rac"})},

         {"revision", at(as::number, {"mobileStationClassmark1.revLevel", "cm1.revLevel"})},
         {"rf-power", at(as::enumeration(TS24008IE_RFPowerCapValues_ToEnum),
                         {"mobileStationClassmark1.rfPowerCap", "cm1.rfPowerCap"})},
         {"drx-split", at(as::number, {"splitPGCycleCode"})},
         {"drx-cn-coef", at(as::number, {"lenCoefAndValue"})},
         {"usage-setting", at(as::number, {"usUsageSetting"})},
         {"voice-domain",
          at(as::enumeration(TS24008IE_VoiceDomainPref_enumValue_ToEnum), {"voiceDomainPref.enumValue"})},

         {"ksi", at(as::number, {"ciphKeySeqNum.value", "gprsCiphKeySeq.value"})},
         {"rand", at(as::octets, {"authParamRAND"})},
         {"autn", at(as::octets, {"authParamAUTN.autn"})},
         {"auts", at(as::octets, {"authFailureParam.param"})},
         {"sres", at(as::octets, {"respParam", "authRespParam"})},
         {"res", at(as::octets, {"respParamExt", "authRespParamExt"})},
         {"cipher-algorithm", at(as::number, {"cipheringAlgorithm.value"})},
         {"imeisv-request", at(as::number, {"imeisvRequest.value"})},
         {"ac-reference", at(as::number, {"acRefNumber"})},

         {"follow-on", at(as::number, {"locUpdatingType.for", "attachType.for", "updateType.for"})},
         {"update-type",
          at({{"locUpdatingType.lut", as::enumeration(TS24008IE_LocationUpdatingType_lut_ToEnum)},
              {"updateType.value", as::enumeration(TS24008IE_UpdateTypeValues_ToEnum)}})},
         {"update-result", at(as::enumeration(TS24008IE_UpdateResultValues_ToEnum), {"updateResult.value"})},
         {"service-type", at({{"cmServiceType", as::enumeration(TS24008IE_CMServiceType_ToEnum)},
                              {"serviceType.value", as::enumeration(TS24008IE_ServiceTypeValues_ToEnum)}})},
         {"attach-type", at(as::number, {"typeOfAttach"})},
         {"attach-result", at(as::enumeration(TS24008IE_AttachResultValues_ToEnum), {"resultOfAttach"})},
         {"detach-type", at(as::number, {"detachTypeValue"})},
         {"switch-off", at(as::number, {"powerOff"})},
         {"force-to-standby", at(as::number, {"forceToStandby.value"})},
         {"timer-unit", at(as::number, {"unit"})},
         {"timer-value", at(as::number, {"timerValue"})},
         {"radio-priority", at(as::number, {"radioPriForSMS.value", "radioPriority.value"})},
         {"network-name", at(as::text, {"callBcastData"})},
         {"time", at(as::timeOfDay, {"year"})},
         {"time-zone", at(as::timeZone, {"timezone", "localTimeZone"})},

         {"delay-class", at(as::number, {"delayClass"})},
         {"traffic-class", at(as::number, {"trafficClass"})},
         {"pdp-type", at(as::number, {"pdpTypeNum"})},
         {"ipv4", at(as::ipv4, {"addressInfo"})},
         {"apn", at(as::text, {"accessPointName"})},
         {"pco-id", at(as::hex(4), {"pcoUnits.protocolID"})},
         {"progress", at(as::number, {"progressInd.description"})},
         {"transfer-capability", at({{"infoXferCap",
                                      [](const Leaves& all, size_t i) {
                                         const std::string value =
                                               as::enumeration(TS24008IE_InfoXferCap_ToEnum)(all, i);
                                         return as::hexNumber(as::numberOf(value), 2);
                                      }}})},
         {"calling", at(as::text, {"callingPartyNumber.number"})},
   };
   return table;
}

MessageRules rules() {
   MessageRules all;
   all.type = "TS24008Msg_PDU";
   all.facts = facts();
   all.open = [](Leaves& leaves) {
      for (size_t i = 0; i < leaves.size(); ++i)
         if (matches(leaves[i].path, "data.obj_CC_Establishment")) openMessage(leaves, i, "TS24008Msg_Setup");
   };
   all.prepare = [](RtxContext* ctxt, const Vector& vector) {
      if (kEndOnGroup.count(vector.name) != 0) ctxt->protocolRelease = kOlderRelease;
   };
   for (const char* name :
        {"release-complete-1", "release-complete-2", "facility-1", "facility-2", "register-1", "register-2"})
      all.refused[name] = {RTX_E_BAD_CHOICE, "supplementary services have no messages in this module"};
   return all;
}

class MessagesTS24008 : public testing::TestWithParam<Vector> {};

TEST_P(MessagesTS24008, DecodeAsTheirFactsSayAndEncodeBack) {
   checkMessage(GetParam(), rules());
}

INSTANTIATE_TEST_SUITE_P(Vectors, MessagesTS24008, vectorsOf("ts24008.txt"), vectorName);

// With the newest release the four lose what follows the capability, and come out without it.
TEST(VectorsTS24008, ACapabilityThatEndsOnAGroupHidesTheRest) {
   size_t seen = 0;
   for (const Vector& vector : loadVectors(QUORVA_TEST_DATA "/vectors/ts24008.txt")) {
      if (kEndOnGroup.count(vector.name) == 0) continue;
      SCOPED_TRACE(vector.name);
      ++seen;
      Message message("TS24008Msg_PDU");
      ASSERT_EQ(message.decode(vector.octets), 0);
      const size_t used = message.context().used();
      EXPECT_LT(used, vector.octets.size());
      const Leaves leaves = message.leaves();
      EXPECT_EQ(identifiersOfElements("TS24008Msg")({vector, leaves}), std::vector<std::string>{""});
      int status = 0;
      EXPECT_EQ(hexFromOctets(message.encode(status)), hexFromOctets(vector.octets).substr(0, 2 * used));
      EXPECT_EQ(status, 0);
   }
   EXPECT_EQ(seen, kEndOnGroup.size());
}

} // namespace
