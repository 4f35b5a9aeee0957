// Real EPS messages: what they say, and that they come out again as they went in.

#include "quorva/modules.h"
#include "tests/modules/messages.h"

using namespace quorva::test;

namespace {

bool isServiceRequest(const Octets& octets) {
   return octets[0] >> 4 >= 12;
}

bool isProtected(const Octets& octets) {
   return (octets[0] & 15) == 7 && octets[0] >> 4 >= 1 && octets[0] >> 4 <= 4;
}

// What the application would do with a NAS message container: the CP message in it, and the RP message in
// that.
void openContainers(Leaves& leaves) {
   for (size_t i = 0; i < leaves.size(); ++i) {
      const std::string path = leaves[i].path;
      if (!matches(path, "obj_DLNASTransport") && !matches(path, "obj_ULNASTransport") &&
          !matches(path, "nasMsgCont") && !matches(path, "obj_CP_DATA.cpUserData"))
         continue;
      openMessage(leaves, i, matches(path, "cpUserData") ? "TS24011Msg_RP_PDU" : "TS24011Msg_CP_PDU");
   }
}

// The dissector's name of each message.
const std::map<std::string_view, const char*> kMessageNames = {
      {"obj_ServiceRequest", "Service request (short form)"},
      {"obj_AttachRequest", "Attach request"},
      {"obj_AttachAccept", "Attach accept"},
      {"obj_AttachComplete", "Attach complete"},
      {"obj_AttachReject", "Attach reject"},
      {"obj_DetachRequest", "Detach request"},
      {"obj_DetachAccept", "Detach accept"},
      {"obj_TrkAreaUpdRequest", "Tracking area update request"},
      {"obj_TrkAreaUpdAccept", "Tracking area update accept"},
      {"obj_TrkAreaUpdCmplt", "Tracking area update complete"},
      {"obj_ExtServiceReq", "Extended service request"},
      {"obj_CtrlPlaneSvcReq", "Control plane service request"},
      {"obj_ServiceReject", "Service reject"},
      {"obj_ServiceAccept", "Service accept"},
      {"obj_GUTIReallocCmplt", "GUTI reallocation complete"},
      {"obj_AuthRequest", "Authentication request"},
      {"obj_AuthResponse", "Authentication response"},
      {"obj_AuthFailure", "Authentication failure"},
      {"obj_IdentReq", "Identity request"},
      {"obj_IdentResp", "Identity response"},
      {"obj_SecModeCmd", "Security mode command"},
      {"obj_SecModeCmplt", "Security mode complete"},
      {"obj_SecModeReject", "Security mode reject"},
      {"obj_EMMStatus", "EMM status"},
      {"obj_EMMInformation", "EMM information"},
      {"obj_DLNASTransport", "Downlink NAS transport"},
      {"obj_ULNASTransport", "Uplink NAS transport"},
      {"obj_CSServiceNotif", "CS service notification"},
      {"obj_DLGenNASTransport", "Downlink generic NAS transport"},
      {"obj_ULGenNASTransport", "Uplink generic NAS transport"},
      {"obj_ActvDfltEPSBearerCtxtReq", "Activate default EPS bearer context request"},
      {"obj_ActvDfltEPSBearerCtxtAcc", "Activate default EPS bearer context accept"},
      {"obj_ActvDedEPSBearerCtxtReq", "Activate dedicated EPS bearer context request"},
      {"obj_ActvDedEPSBearerCtxtAcc", "Activate dedicated EPS bearer context accept"},
      {"obj_ActvDedEPSBearerCtxtRej", "Activate dedicated EPS bearer context reject"},
      {"obj_ModEPSBearerCtxtReq", "Modify EPS bearer context request"},
      {"obj_ModEPSBearerCtxtAcc", "Modify EPS bearer context accept"},
      {"obj_DeactEPSBearerCtxtReq", "Deactivate EPS bearer context request"},
      {"obj_DeactEPSBearerCtxtAcc", "Deactivate EPS bearer context accept"},
      {"obj_PDNConnectReq", "PDN connectivity request"},
      {"obj_PDNConnectRej", "PDN connectivity reject"},
      {"obj_PDNDisconnReq", "PDN disconnect request"},
      {"obj_BearerResAllocReq", "Bearer resource allocation request"},
      {"obj_BearerResModReq", "Bearer resource modification request"},
      {"obj_ESMInfoReq", "ESM information request"},
      {"obj_ESMInfoResp", "ESM information response"},
      {"obj_ESMStatus", "ESM status"},
      {"obj_CP_DATA", "CP-DATA"},
      {"obj_CP_ACK", "CP-ACK"},
      {"obj_CP_ERROR", "CP-ERROR"},
      {"dataToNet", "RP-DATA (MS to Network)"},
      {"ackToMS", "RP-ACK (Network to MS)"},
};

std::vector<std::string> namesOfMessages(const FactSource& source) {
   std::vector<std::string> names;
   std::set<std::string, std::less<>> met;
   for (const Leaf& leaf : source.leaves) {
      for (size_t begin = 0; begin <= leaf.path.size();) {
         const size_t end = std::min(leaf.path.find('.', begin), leaf.path.size());
         const auto row = kMessageNames.find(std::string_view(leaf.path).substr(begin, end - begin));
         if (row != kMessageNames.end() && met.insert(leaf.path.substr(0, end)).second)
            names.emplace_back(row->second);
         begin = end + 1;
      }
   }
   if (names.empty()) return {"Protected message, contents ciphered"};
   for (size_t i = 1; i < names.size(); ++i) names[0] += " + " + names[i];
   return {names[0]};
}

// Of an IMSI no octet tells how many digits the network code has: as many as the fact says.
std::vector<std::string> networks(const FactSource& source) {
   const std::string& fact = source.vector.fact("plmn");
   const Conversion ofImsi = [&fact](const Leaves& all, size_t i) {
      const std::string imsi = as::text(all, i);
      return imsi.substr(0, 3) + "-" + imsi.substr(3, fact.size() - 4);
   };
   return at({{"mcc_mnc.mcc", as::plmn}, {"content.imsi", ofImsi}, {"obj_IdentResp.imsi", ofImsi}})(source);
}

std::string serviceType(const Leaves& all, size_t i) {
   const std::string& value = all[i].value;
   if (value == "moCSFallback") return "0";
   if (value == "mtCSFallBack") return "1";
   if (value == "moCSFBEmergCall") return "2";
   if (value == "pktSvcsViaS1") return "8";
   return value;
}

// Addresses of a PDN: an interface identifier, an IPv4 address, or one behind the other.
std::string pdnIpv4(const Leaves& all, size_t i) {
   const Octets octets = as::part(all[i]);
   return octets.size() == 4 ? as::ipv4(all, i) : as::grouped(as::part(all[i], 8), '.');
}

std::string pdnInterface(const Leaves& all, size_t i) {
   return as::part(all[i]).size() == 4 ? "" : as::grouped(as::part(all[i], 0, 8), ':');
}

std::string domainNameServer(const Leaves& all, size_t i) {
   return i > 0 && all[i - 1].value == "13" ? as::ipv4(all, i) : "";
}

std::string transactionFlag(const Leaves& all, size_t i) {
   return std::to_string(as::numberOf(all[i].value) >> 3);
}

std::string transactionValue(const Leaves& all, size_t i) {
   return std::to_string(as::numberOf(all[i].value) & 7);
}

FactTable facts() {
   const Conversion emmCause = as::enumeration(TS24301IE_EMMCause_ToEnum);
   const Conversion esmCause = as::enumeration(TS24301IE_ESMCause_ToEnum);
   return {
         {"message", namesOfMessages},
         {"length", lengthOfMessage},
         {"type", at(as::hex(2), {"msgType", "header.rpMsgType"})},
         {"iei-order", identifiersOfElements("TS24301Msg")},
         {"security-header", at({{"secHdr.secHdrType", as::enumeration(TS24007L3_SecHdrType_ToEnum)},
                                 {"l3HdrOpts.secHdr", as::number}})},
         {"mac", at(as::hex(8), {"secHdr.msgAuthCode"})},
         {"sequence", at(as::number, {"secHdr.seqNumber"})},
         {"short-sequence", at(as::number, {"ksiAndSequenceNumber.seqNo"})},
         {"short-mac", at(as::hex(4), {"shortMAC"})},
         {"ksi", at(as::number,
                    {"ksiAndSequenceNumber.ksi", "nasKeySetIdentifier.ident", "nasKeySetIdent.ident",
                     "nasKeySetId.ident", "nonCurrNativeNASKeySetIdent.ident", "gprsCiphKeySeqNum.value"})},
         {"tsc", at(as::number, {"nasKeySetIdentifier.tsc", "nasKeySetIdent.tsc", "nasKeySetId.tsc",
                                 "nonCurrNativeNASKeySetIdent.tsc"})},
         {"bearer", at(as::enumeration(TS24007L3_EPSBearerIdentity_ToEnum), {"l3HdrOpts.epsBearerIdent"})},
         {"pti", at(as::number, {"pti.value"})},
         {"linked-bearer", at(as::number, {"linkedEPSBearerIdent"})},

         {"attach-type", at(as::number, {"epsAttachType.value"})},
         {"attach-result", at(as::enumeration(TS24301IE_EPSAttachResultValues_ToEnum), {"result.result"})},
         {"update-type", at(as::number, {"epsUpdateType.value"})},
         {"update-result",
          at(as::enumeration(TS24301IE_EPSUpdateResultValues_ToEnum), {"epsUpdateResult.result"})},
         {"active-flag", at(as::number, {"epsUpdateType.active", "ctrlPlaneSvcType.activeFlag"})},
         {"additional-update",
          at({{"addnUpdateType.autv", as::number},
              {"addnUpdateResult.value", as::enumeration(TS24301IE_AddnUpdateResult_value_ToEnum)}})},
         {"detach-type", at(as::number, {"detachType.typeOfDetach"})},
         {"switch-off", at(as::number, {"detachType.switchOff"})},
         {"service-type", at({{"serviceType", serviceType}})},
         {"cause", at({{"emmCause", emmCause},
                       {"obj_EMMStatus", emmCause},
                       {"obj_SecModeReject", emmCause},
                       {"esmCause", esmCause},
                       {"obj_ESMStatus", esmCause},
                       {"obj_CP_ERROR.cpCause.value", as::number}})},

         {"identity-type",
          at({{"typeOfIdent", as::enumeration(TS24301IE_EPSMobileIdentity_typeOfIdent_ToEnum)},
              {"obj_IdentResp.imsi", as::constant("1")},
              {"imeisv.imeisv", as::constant("3")},
              {"msIdentity.tmsi", as::constant("4")},
              {"m_tmsi.tmsi", as::constant("4")}})},
         {"identity-wanted",
          at(as::enumeration(TS24008IE_IdentityTypeValue_typeOfIdent_ToEnum), {"identType.typeOfIdent"})},
         {"imsi", at(as::text, {"content.imsi", "obj_IdentResp.imsi"})},
         {"imeisv", at(as::text, {"imeisv.imeisv"})},
         {"imeisv-request", at(as::number, {"imeisvRequest.value"})},
         {"plmn", networks},
         {"mme-group", at(as::number, {"guti.mmeGroupID"})},
         {"mme-code", at(as::number, {"guti.mmeCode"})},
         {"tmsi", at(as::hex(1), {"guti.tmsi", "msIdentity.tmsi", "m_tmsi.tmsi"})},
         {"ptmsi-signature", at(as::hex(6), {"oldP_TMSISignature"})},
         {"tac", at(as::number, {"tac", "tacs"})},
         {"lac", at(as::hex(4), {"lac"})},
         {"list-type", at(as::number, {"idents.typeOfList"})},
         {"list-count", at(as::number, {"idents.numElements"})},

         {"cipher-algorithm",
          at(as::enumeration(TS24301IE_NASSecurityAlgorithms_typeOfCiph_ToEnum), {"typeOfCiph"})},
         {"integrity-algorithm",
          at(as::enumeration(TS24301IE_NASSecurityAlgorithms_typeOfProt_ToEnum), {"typeOfProt"})},
         {"nonce", at(as::octets, {"nonce", "replayedNonce"})},
         {"rand", at(as::octets, {"authParamRAND"})},
         {"autn", at(as::octets, {"authParamAUTN.autn"})},
         {"auts", at(as::octets, {"authFailureParam.param"})},
         {"res", at(as::octets, {"obj_AuthResponse"})},

         {"timer-unit", at(as::number, {"t3412Value.unit", "t3402.unit", "t3423.unit", "t3402Value.unit",
                                        "t3423Value.unit"})},
         {"timer-value", at(as::number, {"t3412Value.timerValue", "t3402.timerValue", "t3423.timerValue",
                                         "t3402Value.timerValue", "t3423Value.timerValue"})},
         {"drx-split", at(as::number, {"drxParameter.splitPGCycleCode"})},
         {"drx-cn-coef", at(as::number, {"drxParameter.lenCoefAndValue"})},
         {"revision", at(as::number, {"cm1.revLevel"})},
         {"rf-power", at(as::enumeration(TS24008IE_RFPowerCapValues_ToEnum), {"cm1.rfPowerCap"})},
         {"usage-setting", at(as::number, {"voiceDomainPref.usUsageSetting"})},
         {"voice-domain",
          at(as::enumeration(TS24008IE_VoiceDomainPref_enumValue_ToEnum), {"voiceDomainPref.enumValue"})},
         {"network-name", at(as::text, {"callBcastData"})},
         {"time-zone", at(as::timeZone, {"localTimeZone"})},
         {"time", at(as::timeOfDay, {"univTimeAndLclTimeZone.year"})},

         {"pdn-type", at(as::enumeration(TS24301IE_PDNTypeValue_ToEnum), {"pdnTypeValue"})},
         {"request-type", at(as::enumeration(TS24008IE_ReqTypeValues_ToEnum), {"requestType.value"})},
         {"eit", at(as::number, {"esmInfoXferFlag.eitValue"})},
         {"apn", at(as::text, {"accessPointName"})},
         {"ipv4",
          at({{"pdnAddrInfo", pdnIpv4}, {"ipv4Local.addr", as::ipv4}, {"ipv4Remote.addr", as::ipv4}})},
         {"ipv6-interface", at(pdnInterface, {"pdnAddrInfo"})},
         {"pco-id", at(as::hex(4), {"pcoUnits.protocolID"})},
         {"dns", at(domainNameServer, {"pcoUnits.contents"})},
         {"qci", at(as::number, {"qci"})},
         {"mbr-ul", at(as::number, {"maxBitRateforUL"})},
         {"mbr-dl", at(as::number, {"maxBitRateforDL"})},
         {"gbr-ul", at(as::number, {"guarBitRateforUL"})},
         {"gbr-dl", at(as::number, {"guarBitRateforDL"})},
         {"ambr-ul", at(as::number, {"apn_AMBR.apnAmbrforUL"})},
         {"ambr-dl", at(as::number, {"apn_AMBR.apnAmbrforDL"})},
         {"delay-class", at(as::number, {"delayClass"})},
         {"traffic-class", at(as::number, {"trafficClass"})},
         {"radio-priority", at(as::number, {"radioPriority.value"})},
         {"tft-operation",
          at(as::enumeration(TS24008IE_TFTOctet1_tftOperationCode_ToEnum), {"tftOperationCode"})},
         {"filter-precedence", at(as::hex(2), {"pfEvaluationPrecedence"})},
         {"filter-component",
          at(as::enumeration(TS24008IE_TFTPacketFilterComponentType_ToEnum), {"components.id"})},

         {"container-type",
          at(as::enumeration(TS24301IE_GenMsgContainerType_ToEnum), {"genMsgContainerType"})},
         {"container", at(as::octets, {"obj_DLNASTransport", "obj_ULNASTransport", "nasMsgCont"})},
         {"ti-flag", at(transactionFlag, {"*.l3HdrOpts.skipInd"})},
         {"ti", at(transactionValue, {"*.l3HdrOpts.skipInd"})},
         {"rp-message", at(as::hex(2), {"header.rpMsgType"})},
         {"rp-reference", at(as::hex(2), {"header.rpMsgRef"})},
         {"called", at(as::text, {"destAddress.number"})},
         {"tpdu", at(as::octets, {"infoElem.*.userData"})},
   };
}

MessageRules rules() {
   MessageRules all;
   all.type = "TS24301Msg_PDU";
   all.facts = facts();
   all.open = openContainers;
   all.macAt = 1;
   all.macOctets = 4;
   all.isProtected = [](const Vector& vector) { return isProtected(vector.octets); };
   const std::string key = "enciphered under an unknown key";
   const std::string ucs2 = "a name of UCS2 letters reads past its end: deliberate";
   const std::vector<std::string_view> behindName = {"network-name", "time-zone", "time", "iei-order"};
   all.refused = {
         {"protected-message-contents-ciphered-1", {RTX_E_BAD_CHOICE, key, {"pti"}}},
         {"protected-message-contents-ciphered-2", {RTX_E_BAD_CHOICE, key, {"pti"}}},
         {"protected-message-contents-ciphered-3", {RTX_E_BAD_CHOICE, key, {"pti"}}},
         {"protected-message-contents-ciphered-4", {RTX_E_BAD_CHOICE, key, {"pti"}}},
         {"identity-request-2", {RTX_E_BAD_ENUM, "type of identity 0", {"identity-wanted"}}},
         {"emm-information-2", {RTX_E_END_OF_DATA, ucs2, behindName}},
         {"emm-information-4", {RTX_E_END_OF_DATA, ucs2, behindName}},
         {"activate-dedicated-eps-bearer-context-request-1",
          {RTX_E_BAD_VALUE,
           "linked transaction identifier of two octets whose first one does not ask for the second",
           {"radio-priority", "iei-order"}}},
         {"activate-dedicated-eps-bearer-context-reject-2", {RTX_E_BAD_ENUM, "cause 0", {"cause"}}},
         {"notification-1", {RTX_E_BAD_CHOICE, "a type that is not coded", {"message"}}},
         {"remote-ue-report-response-1", {RTX_E_BAD_CHOICE, "a type that is not coded", {"message"}}},
   };
   all.uncanonical = {{"detach-accept-1", "octets behind a message that is its header alone"}};
   return all;
}

// The short form has the code of two octets in the message.
MessageRules shortFormRules() {
   MessageRules all = rules();
   all.macAt = 2;
   all.macOctets = 2;
   all.isProtected = [](const Vector&) { return true; };
   return all;
}

class EpsMessages : public testing::TestWithParam<Vector> {};

TEST_P(EpsMessages, DecodeAsTheirFactsSayAndEncodeBack) {
   static const MessageRules longForm = rules(), shortForm = shortFormRules();
   checkMessage(GetParam(), isServiceRequest(GetParam().octets) ? shortForm : longForm);
}

// Without a security state a computation fails with -71. For the code alone that is recorded and decoding
// goes on; that there is no deciphering stops it, with the same status.
TEST_P(EpsMessages, WithoutASecurityState) {
   const Vector& vector = GetParam();
   if (!isProtected(vector.octets) && !isServiceRequest(vector.octets)) return;
   Message message("TS24301Msg_PDU");
   setDirection(message.context(), vector);
   EXPECT_EQ(message.decode(vector.octets), RTX_E_NO_SECURITY);
   const bool enciphered = isProtected(vector.octets) && (vector.octets[0] >> 4) % 2 == 0;
   const auto& pdu = message.as<TS24301Msg_PDU>();
   EXPECT_EQ(pdu.m.secHdrPresent, 1);
   EXPECT_EQ(pdu.data.t != 0, !enciphered);
}

class ProtectedEpsMessages : public testing::TestWithParam<Vector> {};

TEST_P(ProtectedEpsMessages, VerifyAndDecipherAndShowDamage) {
   // The code does not cover the type of the security header: a change of that one shows in the record alone.
   const auto headerShows = [original = GetParam().octets[0] >> 4](Message& message) {
      const auto& pdu = message.as<TS24301Msg_PDU>();
      return !pdu.m.secHdrPresent || pdu.secHdr.secHdrType != static_cast<uint32_t>(original);
   };
   checkProtected(GetParam(), "TS24301Msg_PDU", 1, 6, headerShows);
}

// What a deciphered message says is what the same message says that was never protected.
TEST_P(ProtectedEpsMessages, SayWhatThePlainOnesSay) {
   const Vector& vector = GetParam();
   if (!vector.has("plain")) return;
   Message message("TS24301Msg_PDU"), plain("TS24301Msg_PDU");
   setDirection(message.context(), vector);
   setDirection(plain.context(), vector);
   SecurityState::of(vector).apply(message.context());
   ASSERT_EQ(message.decode(vector.octets), 0);
   ASSERT_EQ(plain.decode(vector.hex("plain")), 0);
   const Leaves expected = plain.leaves();
   Leaves found = message.leaves();
   std::erase_if(found, [](const Leaf& leaf) { return leaf.path.compare(0, 7, "secHdr.") == 0; });
   ASSERT_EQ(found.size(), expected.size());
   for (size_t i = 0; i < found.size(); ++i) {
      EXPECT_EQ(found[i].path, expected[i].path);
      EXPECT_EQ(found[i].value, expected[i].value) << found[i].path;
   }
}

// The code that stood in the record is not what the encoder writes; the one that it writes stands there then.
TEST_P(ProtectedEpsMessages, EncodersStoreTheCode) {
   const Vector& vector = GetParam();
   Message message("TS24301Msg_PDU");
   setDirection(message.context(), vector);
   SecurityState::of(vector).apply(message.context());
   ASSERT_EQ(message.decode(vector.octets), 0);
   auto& pdu = message.as<TS24301Msg_PDU>();
   pdu.secHdr.msgAuthCode = 0x12345678;
   const bool shortForm = isServiceRequest(vector.octets);
   if (shortForm) pdu.data.u.obj_ServiceRequest->shortMAC[0] ^= 0xFF;
   int status = 0;
   EXPECT_EQ(hexFromOctets(message.encode(status)), hexFromOctets(vector.octets));
   if (shortForm) {
      EXPECT_EQ(hexFromOctets(pdu.data.u.obj_ServiceRequest->shortMAC, 2),
                hexFromOctets(vector.octets).substr(4));
   } else {
      EXPECT_EQ(as::hexNumber(pdu.secHdr.msgAuthCode, 8), "0x" + vector.fact("mac"));
   }
}

TEST_P(ProtectedEpsMessages, CountBearerDirectionAndKeysEnterTheCode) {
   const Vector& vector = GetParam();
   const auto statusWith = [&vector](auto change) {
      SecurityState state = SecurityState::of(vector);
      change(state);
      Message message("TS24301Msg_PDU");
      setDirection(message.context(), vector);
      state.apply(message.context());
      return message.decode(vector.octets);
   };
   EXPECT_EQ(statusWith([](SecurityState&) {}), 0);
   EXPECT_LT(statusWith([](SecurityState& state) { ++state.count; }), 0);
   EXPECT_LT(statusWith([](SecurityState& state) { ++state.bearer; }), 0);
   EXPECT_LT(statusWith([](SecurityState& state) { state.direction ^= 1; }), 0);
   EXPECT_LT(statusWith([](SecurityState& state) { state.integKey[15] ^= 1; }), 0);
}

INSTANTIATE_TEST_SUITE_P(Vectors, EpsMessages, vectorsOf("eps.txt"), vectorName);
INSTANTIATE_TEST_SUITE_P(Vectors, ProtectedEpsMessages, vectorsOf("nas-security.txt", "sec-eps-"),
                         vectorName);

} // namespace
