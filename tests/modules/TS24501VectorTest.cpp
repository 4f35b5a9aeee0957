// Messages of TS 24.501 from captures and from other projects' tests.

#include "quorva/TS24501Msg.h"
#include "tests/modules/messages.h"

namespace {

using namespace quorva::test;

// Containers that hold a message as octets.
void openContainers(Leaves& leaves) {
   for (size_t i = 0; i < leaves.size(); ++i)
      for (const char* container : {"nasContainer.contents", "nasMsgContainer.contents"})
         if (matches(leaves[i].path, container)) openMessage(leaves, i, "TS24501Msg_PDU");
}

// The block that holds a leaf.
std::string_view blockOf(const Leaf& leaf) {
   const size_t dot = leaf.path.find_last_of('.');
   return std::string_view(leaf.path).substr(0, dot == std::string::npos ? 0 : dot);
}

// A mobile identity is a length with an arm behind it, a value or a block.
std::string identityType(const Leaves& all, size_t i) {
   static const std::map<std::string_view, const char*> arms = {
         {"none", "0"},  {"suci", "1"},   {"guti", "2"},    {"imei", "3"},
         {"stmsi", "4"}, {"imeisv", "5"}, {"macaddr", "6"}, {"eui_64", "7"}};
   const std::string_view identity = blockOf(all[i]);
   if (i + 1 == all.size() || !all[i + 1].path.starts_with(identity)) return "";
   std::string_view arm = std::string_view(all[i + 1].path).substr(identity.size() + 1);
   arm = arm.substr(0, arm.find('.'));
   const auto found = arms.find(arm);
   return found == arms.end() ? "" : found->second;
}

// Labels, each behind the number of its characters; `i` is the first octet.
std::string dataNetworkName(const Leaves& all, size_t i) {
   if (!all[i].path.ends_with("[0]")) return "";
   std::string name;
   size_t left = 0;
   for (const std::string_view block = blockOf(all[i]); i < all.size() && blockOf(all[i]) == block; ++i) {
      const auto octet = as::numberOf(all[i].value);
      if (left == 0) {
         if (!name.empty()) name += '.';
         left = octet;
      } else {
         name += static_cast<char>(octet);
         --left;
      }
   }
   return name;
}

// The digits of the routing indicator that are there; digit 2 is the first one printed.
std::string routingIndicator(const Leaves& all, size_t i) {
   std::string digits;
   for (const size_t at : {i + 1, i, i + 3, i + 2})
      if (all.at(at).value != "15") digits += all[at].value;
   return digits;
}

// Digits of an identity under the null scheme.
std::string msin(const Leaves& all, size_t i) {
   std::string digits;
   for (const uint8_t octet : as::part(all[i])) {
      digits += static_cast<char>('0' + (octet & 15));
      if (octet >> 4 != 15) digits += static_cast<char>('0' + (octet >> 4));
   }
   return digits;
}

std::string nameServer(const Leaves& all, size_t i) {
   return all.at(i - 1).value == "13" && as::part(all[i]).size() == 4 ? as::ipv4(all, i) : "";
}

// That of a GPRS timer 3 has names, that of a GPRS timer 2 none.
std::string timerUnit(const Leaves& all, size_t i) {
   return std::isdigit(all[i].value[0]) ? all[i].value
                                        : as::enumeration(TS24008IE_GPRSTimer3_unit_ToEnum)(all, i);
}

// Names of messages as a dissector shows them.
std::vector<std::string> messageNames(const FactSource& source) {
   static const std::map<std::string, std::string> names = {
         {"obj_RegRequest5G", "Registration request"},
         {"obj_RegAccept5G", "Registration accept"},
         {"obj_RegComplete5G", "Registration complete"},
         {"obj_RegReject5G", "Registration reject"},
         {"obj_DeregReqUEOrig5G", "Deregistration request (UE originating)"},
         {"obj_DeregAcceptUEOrig5G", "Deregistration accept (UE originating)"},
         {"obj_DeregReqUETerm5G", "Deregistration request (UE terminated)"},
         {"obj_DeregAcceptUETerm5G", "Deregistration accept (UE terminated)"},
         {"obj_ServRequest5G", "Service request"},
         {"obj_ServReject5G", "Service reject"},
         {"obj_ServAccept5G", "Service accept"},
         {"obj_ControlPlaneServReq5G", "Control plane service request"},
         {"obj_NetSliceAuthDone5G", "Network slice-specific authentication complete"},
         {"obj_CfgUpdateCmd5G", "Configuration update command"},
         {"obj_CfgUpdateDone5G", "Configuration update complete"},
         {"obj_MMAuthRequest5G", "Authentication request"},
         {"obj_MMAuthResponse5G", "Authentication response"},
         {"obj_MMAuthReject5G", "Authentication reject"},
         {"obj_MMAuthFailure5G", "Authentication failure"},
         {"obj_IdentityRequest5G", "Identity request"},
         {"obj_IdentityResponse5G", "Identity response"},
         {"obj_SecModeCmd5G", "Security mode command"},
         {"obj_SecModeDone5G", "Security mode complete"},
         {"obj_SecModeReject5G", "Security mode reject"},
         {"obj_MMStatus5G", "5GMM status"},
         {"obj_Notify5G", "Notification"},
         {"obj_NotifyResponse5G", "Notification response"},
         {"obj_ULNASTrans5G", "UL NAS transport"},
         {"obj_DLNASTrans5G", "DL NAS transport"},
         {"obj_EstablishRequest5G", "PDU session establishment request"},
         {"obj_EstablishAccept5G", "PDU session establishment accept"},
         {"obj_EstablishReject5G", "PDU session establishment reject"},
         {"obj_SMAuthCmd5G", "PDU session authentication command"},
         {"obj_SMAuthResult5G", "PDU session authentication result"},
         {"obj_ModifyRequest5G", "PDU session modification request"},
         {"obj_ModifyReject5G", "PDU session modification reject"},
         {"obj_ModifyCmd5G", "PDU session modification command"},
         {"obj_ModifyDone5G", "PDU session modification complete"},
         {"obj_ModifyCmdReject5G", "PDU session modification command reject"},
         {"obj_ReleaseRequest5G", "PDU session release request"},
         {"obj_ReleaseReject5G", "PDU session release reject"},
         {"obj_ReleaseCmd5G", "PDU session release command"},
         {"obj_ReleaseDone5G", "PDU session release complete"},
         {"obj_SMStatus5G", "5GSM status"},
   };
   std::string all;
   std::set<std::string_view> met;
   for (const Leaf& leaf : source.leaves)
      for (size_t at = leaf.path.find("obj_"); at != std::string::npos; at = leaf.path.find("obj_", at + 1)) {
         const size_t end = std::min(leaf.path.find('.', at), leaf.path.size());
         if (!met.insert(std::string_view(leaf.path).substr(0, end)).second) continue;
         const auto name = names.find(leaf.path.substr(at, end - at));
         all += (all.empty() ? "" : " + ") + (name == names.end() ? leaf.path : name->second);
      }
   return {all};
}

// The record of a member.
std::string recordOf(std::string member) {
   member.resize(member.size() - 2); // "5G"
   return member == "MMStatus" || member.substr(0, 2) != "MM" ? member : member.substr(2);
}

// The type of a session and that of its address have names of their own for the same numbers.
std::string sessionType(const Leaves& all, size_t i) {
   const std::string& name = all[i].value;
   TS24501IE_SessionType type = 0;
   return std::to_string(TS24501IE_SessionType_ToEnum(nullptr, ("st_" + name).c_str(), &type) == 0 ||
                                     TS24501IE_SessionType_ToEnum(nullptr, name.c_str(), &type) == 0
                               ? type
                               : 99);
}

MessageRules rules() {
   MessageRules all;
   all.type = "TS24501Msg_PDU";
   all.macAt = 2;
   all.macOctets = 4;
   all.isProtected = [](const Vector& vector) {
      return vector.octets[0] == 0x7E && (vector.octets[1] & 15) != 0;
   };
   all.open = openContainers;
   all.facts = {
         {"message", messageNames},
         {"type", at(as::hex(2), {"msgType"})},
         {"security-header", at(as::enumeration(TS24501Msg_NAS5GSecHdrType_ToEnum), {"secHdrType"})},
         {"mac", at(as::hex(8), {"msgAuthCode"})},
         {"sequence", at(as::number, {"seqNumber"})},
         {"iei-order", identifiersOfElements("TS24501Msg", recordOf,
                                             {"obj_ULNASTrans5G.snssai", "obj_ULNASTrans5G.dnn",
                                              "obj_EstablishAccept5G.snssai", "obj_EstablishAccept5G.dnn",
                                              "obj_SecModeCmd5G.eapMessage"})},
         {"identity-type", at({{"identity.typeOfIdent", as::enumeration(TS24501IE_TypeOfIdentity_ToEnum)},
                               {"length", identityType}})},
         {"supi-format", at({{"suci.supiImsi.protSchemeId", as::constant("0")},
                             {"supiNetSpecificId.nai", as::constant("1")}})},
         {"routing-indicator", at(routingIndicator, {"routingInd2"})},
         {"protection-scheme", at(as::number, {"protSchemeId"})},
         {"home-key", at(as::number, {"homeNetId"})},
         {"msin", at(msin, {"schemeOutput"})},
         {"imeisv", at(as::text, {"imeisv.imeisv", "mobileId.imeisv"})},
         {"plmn", at(as::plmn, {"mcc_mnc.mcc"})},
         {"amf-region", at(as::number, {"amfRegionID"})},
         {"amf-set", at(as::number, {"amfSetID"})},
         {"amf-pointer", at(as::number, {"amfPointer"})},
         {"tmsi", at(as::hex(1), {"guti.tmsi", "stmsi.tmsi"})},
         {"ksi", at(as::number, {"nasKeySetIdent.ident"})},
         {"tsc", at(as::number, {"nasKeySetIdent.tsc"})},
         {"registration-type",
          at(as::enumeration(TS24501IE_RegistrationTypeValue_ToEnum), {"registrationType.regisType"})},
         {"follow-on", at(as::number, {"registrationType.forBit"})},
         {"registration-result", at(as::number, {"regResult.regResult"})},
         {"switch-off", at(as::number, {"deregType.switchOff"})},
         {"access-type", at(as::number, {"deregType.accessType"})},
         {"service-type", at(as::enumeration(TS24501IE_ServiceType_ToEnum), {"serviceType"})},
         {"sst", at(as::number, {"sst"})},
         {"sd", at(as::hex(1), {"sd"})},
         {"tac", at(as::number, {"tac", "tacs"})},
         {"list-type", at(as::number, {"typeOfList"})},
         {"list-count", at(as::number, {"numElements"})},
         {"timer-unit", at(timerUnit, {"unit"})},
         {"timer-value", at(as::number, {"timerValue"})},
         {"cipher-algorithm", at(as::enumeration(TS24501IE_CipherTypes_ToEnum), {"cipherType"})},
         {"integrity-algorithm", at(as::enumeration(TS24501IE_ProtectionTypes_ToEnum), {"protectionType"})},
         {"imeisv-request", at(as::number, {"imeisvReq.value"})},
         {"abba", at(as::octets, {"abba"})},
         {"rand", at(as::octets, {"authParamRAND"})},
         {"autn", at(as::octets, {"authParamAUTN.autn"})},
         {"res", at(as::octets, {"authRespParam"})},
         {"auts", at(as::octets, {"authFailureParam.param"})},
         {"cause", at(as::number, {"cause"})},
         {"payload-type", at(as::enumeration(TS24501IE_PayloadContainerType_ToEnum), {"containerType"})},
         {"pdu-session", at(as::enumeration(TS24501Msg_PDUSessionIdentity_ToEnum), {"pduSessIdent"})},
         {"pti", at(as::number, {"procTransIdent"})},
         {"request-type", at(as::enumeration(TS24501IE_RequestTypes_ToEnum), {"requestType.reqType"})},
         {"apn", at(dataNetworkName, {"apn"})},
         {"ssc-mode", at(as::enumeration(TS24501IE_SSCModeValue_ToEnum), {"sscMode.sscMode"})},
         {"pdn-type", at(sessionType, {"sessionType"})},
         {"max-data-rate-ul", at(as::number, {"maxUEDataRateUplink"})},
         {"max-data-rate-dl", at(as::number, {"maxUEDataRateDownlink"})},
         {"qos-rule", at(as::number, {"rules.ruleId"})},
         {"rule-operation", at(as::enumeration(TS24501IE_RuleOpCodes_ToEnum), {"rules.ruleOpCode"})},
         {"filters", at(as::number, {"rules.numPacketFilters"})},
         {"filter-component",
          at(as::enumeration(TS24501IE_PacketFilterTypeId_ToEnum), {"filterContent.typeId"})},
         {"qos-rule-precedence", at(as::number, {"rules.precedence"})},
         {"5qi", at(as::number, {"content.fiveQI"})},
         {"qfi", at(as::number, {"octet.flowId", "qosFlowDesr.qfi"})},
         {"ambr-unit-dl", at(as::number, {"sessionAMBR.unitAmbrDL"})},
         {"ambr-dl", at(as::number, {"sessionAMBR.sessionAmbrDL"})},
         {"ambr-unit-ul", at(as::number, {"sessionAMBR.unitAmbrUL"})},
         {"ambr-ul", at(as::number, {"sessionAMBR.sessionAmbrUL"})},
         {"ipv4", at(as::ipv4, {"addressInfoIpv4", "value.*.address"})},
         {"pco-id", at(as::hex(4), {"pcoUnits.protocolID"})},
         {"dns", at(nameServer, {"pcoUnits.contents"})},
         {"length", lengthOfMessage},
   };
   // What lies behind the place of the failure is out of reach; the rest is compared.
   const MessageRules::Refusal ucs2 = {RTX_E_END_OF_DATA,
                                       "UCS2 text: the number of units is taken from the octet index",
                                       {"network-name", "time-zone", "time", "iei-order"}};
   const MessageRules::Refusal noSlices = {
         RTX_E_CONSTRAINT, "NSSAI without contents", {"timer-unit", "timer-value", "iei-order"}};
   const MessageRules::Refusal leading = {
         RTX_E_CONSTRAINT,
         "leading bits ahead of the type that are not all ones",
         {"message", "type", "security-header", "plmn", "amf-region", "amf-set", "tmsi", "iei-order"}};
   const MessageRules::Refusal extension = {
         RTX_E_END_OF_DATA,
         "protocol options of one octet whose ext bit asks for another one",
         {"iei-order"}};
   all.refused = {
         {"registration-request-5",
          {RTX_E_LENGTH_OVERRUN, "security capability without contents", {"sst", "iei-order"}}},
         {"registration-accept-1", noSlices},
         {"registration-accept-7", noSlices},
         {"deregistration-request-ue-originating-3", leading},
         {"service-request-service-request-1", leading},
         {"service-request-service-request-4", leading},
         {"service-request-2", leading},
         {"configuration-update-command-2", ucs2},
         {"configuration-update-command-3", ucs2},
         {"configuration-update-command-4", ucs2},
         {"dl-nas-transport-pdu-session-establishment-accep-3",
          {RTX_E_BAD_ENUM,
           "QoS rule that breaks off: a packet filter of component type 0",
           {"qos-rule", "rule-operation", "filters", "filter-component", "qos-rule-precedence", "qfi",
            "ambr-unit-dl", "ambr-dl", "ambr-unit-ul", "ambr-ul", "ipv4", "iei-order"}}},
         {"pdu-session-establishment-request-1",
          {RTX_E_BAD_ENUM, "session type 0", {"ssc-mode", "iei-order"}}},
         {"pdu-session-modification-command-reject-1", extension},
         {"pdu-session-release-reject-1", extension},
   };
   for (const char* number : {"registration-request-2", "registration-request-3", "registration-request-4",
                              "registration-request-5", "registration-request-6", "registration-request-7",
                              "registration-request-8", "deregistration-request-ue-1"}) {
      const std::string name = std::string("security-mode-complete-") + number;
      all.uncanonical[name] = "IMEISV with 0 for a filler";
      all.readOtherwise[name] = {"imeisv", "the filler 0 read as a digit"};
   }
   all.readOtherwise["dl-nas-transport-pdu-session-establishment-accep-2"] = {"pco-id",
                                                                              "unit 13 noted once of two"};
   all.readOtherwise["ul-nas-transport-1"] = {"pti", "that of the UE policy container, octets here"};
   all.readOtherwise["ul-nas-transport-pdu-session-establishment-reque-6"] = {"pco-id", "unit 36 not read"};
   return all;
}

class Messages5GS : public testing::TestWithParam<Vector> {};

TEST_P(Messages5GS, DecodeAsTheirFactsSayAndEncodeBack) {
   static const MessageRules all = rules();
   checkMessage(GetParam(), all);
}

class ProtectedMessages5GS : public testing::TestWithParam<Vector> {};

TEST_P(ProtectedMessages5GS, VerifyAndDecipherAndShowDamage) {
   // The security header's type is not under its MAC: with the spare bits beside it a change stays without a
   // status as long as the rest is deciphered alike, but stands in the record.
   const auto headerShows = [original = GetParam().octets[1]](Message& message) {
      const auto& pdu = message.as<TS24501Msg_PDU>();
      return !pdu.m.secHdrPresent || (unsigned{pdu.secHdr.spare1} << 4 | pdu.secHdr.secHdrType) != original;
   };
   // A UCS2 name ends in a failure whatever protects it.
   const bool named = GetParam().name.find("configuration-update-command") != std::string::npos;
   checkProtected(GetParam(), "TS24501Msg_PDU", 2, 7, headerShows, named ? RTX_E_END_OF_DATA : 0);
}

INSTANTIATE_TEST_SUITE_P(Vectors, Messages5GS, vectorsOf("5gs.txt"), vectorName);
INSTANTIATE_TEST_SUITE_P(Vectors, ProtectedMessages5GS, vectorsOf("nas-security.txt", "sec-5gs-"),
                         vectorName);

} // namespace
