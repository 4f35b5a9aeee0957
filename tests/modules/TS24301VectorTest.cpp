// Real EPS messages: what they say, and that they come out again as they went in.

#include "quorva/modules.h"
#include "quorva/rt3gppNasSec.h"
#include "tests/support/context.h"
#include "tests/support/facts.h"

#include <gtest/gtest.h>

#include <cstring>

using namespace quorva::test;

namespace {

const std::vector<Vector>& epsVectors() {
   static const auto vectors = loadVectors(QUORVA_TEST_DATA "/vectors/eps.txt");
   return vectors;
}

const std::vector<Vector>& securityVectors() {
   static const auto vectors = loadVectors(QUORVA_TEST_DATA "/vectors/nas-security.txt");
   return vectors;
}

// A vector that does not decode with 0, or with -70 when its code is not that of the null algorithm.
struct Exception {
   const char* name;
   int status;
   std::vector<std::string_view> outOfReach; // facts that stand behind the place where decoding stops
   const char* reason;
};

const std::vector<Exception> kExceptions = {
      {"protected-message-contents-ciphered-1", RTX_E_MULTIPLE, {}, "enciphered under an unknown key"},
      {"protected-message-contents-ciphered-2", RTX_E_MULTIPLE, {}, "enciphered under an unknown key"},
      {"protected-message-contents-ciphered-3", RTX_E_MULTIPLE, {}, "enciphered under an unknown key"},
      {"protected-message-contents-ciphered-4", RTX_E_MULTIPLE, {}, "enciphered under an unknown key"},
      {"identity-request-2", RTX_E_BAD_ENUM, {"identity-wanted"}, "type of identity 0"},
      {"emm-information-2",
       RTX_E_END_OF_DATA,
       {"network-name", "time-zone", "time", "iei-order"},
       "a name of UCS2 letters reads past its end: deliberate"},
      {"emm-information-4",
       RTX_E_MULTIPLE,
       {"network-name", "time-zone", "time", "iei-order"},
       "a name of UCS2 letters reads past its end: deliberate"},
      {"activate-dedicated-eps-bearer-context-request-1",
       RTX_E_MULTIPLE,
       {"radio-priority", "iei-order"},
       "linked transaction identifier of two octets whose first one is not the extended value"},
      {"activate-dedicated-eps-bearer-context-reject-2", RTX_E_BAD_ENUM, {"cause"}, "cause 0"},
      {"notification-1", RTX_E_BAD_CHOICE, {"message"}, "a message type that is not coded"},
      {"remote-ue-report-response-1", RTX_E_BAD_CHOICE, {"message"}, "a message type that is not coded"},
};

const Exception* exceptionFor(const Vector& vector) {
   for (const Exception& exception : kExceptions)
      if (vector.name == exception.name) return &exception;
   return nullptr;
}

// Messages whose sender's coding is not the one that the encoder makes.
struct NotCanonical {
   const char* name;
   const char* encoded;
   const char* reason;
};

const NotCanonical kNotCanonical[] = {
      {"detach-accept-1", "0746", "octets behind a message that is its header alone"},
};

// One EPS message in a context with a security state.
class Message {
public:
   explicit Message(const std::string& direction) {
      EXPECT_EQ(rtx3gppSecInitialize(context), 0);
      if (direction == "ul") rtxCtxtSetFlag(context, RTX_CTXT_UPLINK);
   }

   int decode(const Octets& octets) {
      asn1Init_TS24301Msg_PDU(&pdu);
      return NASDec_TS24301Msg_PDU(context.decode(octets), &pdu);
   }

   /** Octets of the record, or "status <n>". */
   std::string encode() {
      rtxErrReset(context);
      context.encode(1024);
      const int status = NASEnc_TS24301Msg_PDU(context, &pdu);
      return status < 0 ? "status " + std::to_string(status) : context.written();
   }

   Leaves leaves() const { return leavesOf(*quorvaFindType("TS24301Msg_PDU"), &pdu); }

   TestContext context;
   TS24301Msg_PDU pdu{};
};

bool isServiceRequest(const Octets& octets) {
   return octets[0] >> 4 >= 12;
}

bool isProtected(const Octets& octets) {
   return (octets[0] & 15) == 7 && octets[0] >> 4 >= 1 && octets[0] >> 4 <= 4;
}

// The message as the null algorithm protects it.
std::string withoutCode(Octets octets) {
   if (isServiceRequest(octets)) std::fill(octets.begin() + 2, octets.end(), uint8_t{0});
   if (isProtected(octets)) std::fill_n(octets.begin() + 1, 4, uint8_t{0});
   return hexFromOctets(octets);
}

int statusUnderNullAlgorithms(const Vector& vector) {
   if (const Exception* exception = exceptionFor(vector)) return exception->status;
   return withoutCode(vector.octets) == hexFromOctets(vector.octets) ? 0 : RTX_E_MAC_MISMATCH;
}

// What the application would do with a NAS message container: the CP message in it, and the RP message in
// that.
void openContainers(Leaves& leaves) {
   for (size_t i = 0; i < leaves.size(); ++i) {
      const std::string path = leaves[i].path;
      if (!matches(path, "obj_DLNASTransport") && !matches(path, "obj_ULNASTransport") &&
          !matches(path, "nasMsgCont") && !matches(path, "obj_CP_DATA.cpUserData"))
         continue;
      const bool isCp = !matches(path, "cpUserData");
      const QuorvaType* type = quorvaFindType(isCp ? "TS24011Msg_CP_PDU" : "TS24011Msg_RP_PDU");
      TestContext context;
      std::vector<std::max_align_t> record(type->size / sizeof(std::max_align_t) + 1);
      context.decode(as::part(leaves[i]));
      EXPECT_EQ(type->decode(context, record.data()), 0) << path;
      Leaves inner = leavesOf(*type, record.data());
      for (Leaf& leaf : inner) leaf.path = path + (isCp ? ".cp." : ".rp.") + leaf.path;
      leaves.insert(leaves.begin() + static_cast<std::ptrdiff_t>(i) + 1, inner.begin(), inner.end());
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

std::string swapped(const Leaf& leaf) {
   const auto octet = as::numberOf(leaf.value);
   char text[8];
   std::snprintf(text, sizeof text, "%u%u", static_cast<unsigned>(octet & 15),
                 static_cast<unsigned>(octet >> 4));
   return text;
}

// Six octets of swapped digits, from the year on.
std::string timeOfDay(const Leaves& all, size_t i) {
   static const char* const months[] = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                        "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
   const auto month = std::stoul(swapped(all[i + 1])) - 1;
   const std::string day = std::to_string(std::stoul(swapped(all[i + 2])));
   return std::string(month < 12 ? months[month] : "?") + (day.size() == 1 ? "  " : " ") + day + ", 20" +
          swapped(all[i]) + " " + swapped(all[i + 3]) + ":" + swapped(all[i + 4]) + ":" +
          swapped(all[i + 5]) + ".000000000 UTC";
}

// Quarters of an hour, the sign bit left out.
std::string timeZone(const Leaves& all, size_t i) {
   const auto octet = as::numberOf(all[i].value);
   return as::hexNumber((octet & 7) * 10 + (octet >> 4), 2);
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

const FactTable& facts() {
   const Conversion emmCause = as::enumeration(TS24301IE_EMMCause_ToEnum);
   const Conversion esmCause = as::enumeration(TS24301IE_ESMCause_ToEnum);
   static const FactTable table = {
         {"message", namesOfMessages},
         {"length", lengthOfMessage},
         {"type", at(as::hex(2), {"msgType", "rp.header.rpMsgType"})},
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
         {"time-zone", at(timeZone, {"localTimeZone"})},
         {"time", at(timeOfDay, {"univTimeAndLclTimeZone.year"})},

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
         {"ti-flag", at(transactionFlag, {"cp.l3HdrOpts.skipInd"})},
         {"ti", at(transactionValue, {"cp.l3HdrOpts.skipInd"})},
         {"rp-message", at(as::hex(2), {"rp.header.rpMsgType"})},
         {"rp-reference", at(as::hex(2), {"rp.header.rpMsgRef"})},
         {"called", at(as::text, {"destAddress.number"})},
         {"tpdu", at(as::octets, {"rp.infoElem.*.userData"})},
   };
   return table;
}

TEST(EpsVectors, EachSaysWhatItsFactsSay) {
   for (const Vector& vector : epsVectors()) {
      SCOPED_TRACE(vector.name);
      Message message(vector.direction);
      EXPECT_EQ(message.decode(vector.octets), statusUnderNullAlgorithms(vector));
      Leaves leaves = message.leaves();
      openContainers(leaves);
      const Exception* exception = exceptionFor(vector);
      compareFacts(facts(), {vector, leaves},
                   exception == nullptr ? std::vector<std::string_view>{} : exception->outOfReach);
   }
}

TEST(EpsVectors, EachComesOutAsItWentIn) {
   for (const Vector& vector : epsVectors()) {
      if (exceptionFor(vector) != nullptr) continue;
      Message message(vector.direction);
      message.decode(vector.octets);
      std::string expected = withoutCode(vector.octets);
      for (const NotCanonical& other : kNotCanonical)
         if (vector.name == other.name) expected = other.encoded;
      EXPECT_EQ(message.encode(), expected) << vector.name;
   }
}

// Without a security state a computation fails with -71. For the code alone that is recorded and decoding
// goes on; deciphering fails with a record of its own and stops it.
TEST(EpsVectors, ProtectedOnesWithoutASecurityState) {
   size_t checked = 0;
   for (const Vector& vector : epsVectors()) {
      if (!isProtected(vector.octets) && !isServiceRequest(vector.octets)) continue;
      SCOPED_TRACE(vector.name);
      ++checked;
      TestContext context;
      TS24301Msg_PDU pdu;
      asn1Init_TS24301Msg_PDU(&pdu);
      if (vector.direction == "ul") rtxCtxtSetFlag(context, RTX_CTXT_UPLINK);
      const int status = NASDec_TS24301Msg_PDU(context.decode(vector.octets), &pdu);
      const bool enciphered = isProtected(vector.octets) && (vector.octets[0] >> 4) % 2 == 0;
      EXPECT_EQ(status, enciphered ? RTX_E_MULTIPLE : RTX_E_NO_SECURITY);
      EXPECT_EQ(pdu.data.t != 0, !enciphered);
      EXPECT_EQ(pdu.m.secHdrPresent, 1);
   }
   EXPECT_EQ(checked, 58u);
}

// --- Messages with their keys

// The keys stay the vector's.
class KeyedMessage : public Message {
public:
   explicit KeyedMessage(const Vector& vector)
         : Message(vector.direction), integKey_(vector.hex("integrity-key")),
           cipherKey_(vector.has("cipher-key") ? vector.hex("cipher-key") : Octets(16)),
           count_(static_cast<uint32_t>(vector.number("count"))),
           bearer_(static_cast<uint8_t>(vector.number("bearer"))),
           direction_(static_cast<uint8_t>(vector.number("direction"))) {
      EXPECT_EQ(rtx3gppAssignAlgorithmKeys(context, integKey_.data(), cipherKey_.data(),
                                           static_cast<int32_t>(vector.number("integrity-algorithm")),
                                           static_cast<int32_t>(vector.number("cipher-algorithm"))),
                0);
      setCount();
   }

   void setCount() {
      context->nasSec->count = count_;
      context->nasSec->bearer = bearer_;
      context->nasSec->direction = direction_;
   }

private:
   Octets integKey_, cipherKey_;
   uint32_t count_;
   uint8_t bearer_, direction_;
};

std::vector<const Vector*> keyedEpsVectors() {
   std::vector<const Vector*> found;
   for (const Vector& vector : securityVectors())
      if (vector.has("family") && vector.fact("family") == "eps") found.push_back(&vector);
   return found;
}

TEST(EpsSecurityVectors, VerifyDecipherAndComeOutAgain) {
   const auto vectors = keyedEpsVectors();
   ASSERT_EQ(vectors.size(), 25u);
   for (const Vector* vector : vectors) {
      SCOPED_TRACE(vector->name);
      KeyedMessage message(*vector);
      ASSERT_EQ(message.decode(vector->octets), 0);
      const bool serviceRequest = isServiceRequest(vector->octets);
      if (!serviceRequest && vector->has("plain")) {
         // In place: the buffer holds the plain message now.
         EXPECT_EQ(hexFromOctets(message.context->bufData + 6, message.context->bufSize - 6),
                   vector->fact("plain"));
      }
      // A plain message of the same octets says the same.
      if (!serviceRequest && vector->has("plain")) {
         Message plain(vector->direction);
         ASSERT_EQ(plain.decode(vector->hex("plain")), 0);
         Leaves expected = plain.leaves(), found = message.leaves();
         std::erase_if(found, [](const Leaf& leaf) { return leaf.path.compare(0, 7, "secHdr.") == 0; });
         ASSERT_EQ(found.size(), expected.size());
         for (size_t i = 0; i < found.size(); ++i) {
            EXPECT_EQ(found[i].path, expected[i].path);
            EXPECT_EQ(found[i].value, expected[i].value) << found[i].path;
         }
      }
      // The code in the record is not what the encoder writes.
      message.pdu.secHdr.msgAuthCode = 0x12345678;
      if (serviceRequest) message.pdu.data.u.obj_ServiceRequest->shortMAC[0] ^= 0xFF;
      EXPECT_EQ(message.encode(), hexFromOctets(vector->octets));
      if (!serviceRequest) {
         EXPECT_EQ(as::hexNumber(message.pdu.secHdr.msgAuthCode, 8), "0x" + vector->fact("mac"));
      } else {
         EXPECT_EQ(hexFromOctets(message.pdu.data.u.obj_ServiceRequest->shortMAC, 2),
                   hexFromOctets(vector->octets).substr(4));
      }
   }
}

TEST(EpsSecurityVectors, NoFlippedBitGoesUnnoticed) {
   for (const Vector* vector : keyedEpsVectors()) {
      for (size_t bit = 0; bit < vector->octets.size() * 8; ++bit) {
         Octets octets = vector->octets;
         octets[bit / 8] ^= static_cast<uint8_t>(0x80 >> bit % 8);
         KeyedMessage message(*vector);
         const int status = message.decode(octets);
         // The code does not cover the type of the security header: that one shows in the record, in which a
         // message is no longer what it was, and the application has to ask.
         const auto& pdu = message.pdu;
         if (bit < 4 && (!pdu.m.secHdrPresent || pdu.secHdr.secHdrType == octets[0] >> 4u)) continue;
         EXPECT_LT(status, 0) << vector->name << ", bit " << bit;
      }
   }
}

TEST(EpsSecurityVectors, CountBearerDirectionAndKeyEnterTheCode) {
   const auto vectors = keyedEpsVectors();
   const Vector& vector = *vectors.back();
   const auto statusWith = [&vector](auto change) {
      KeyedMessage message(vector);
      change(*message.context->nasSec);
      return message.decode(vector.octets);
   };
   EXPECT_EQ(statusWith([](RtxNasSecContext&) {}), 0);
   EXPECT_LT(statusWith([](RtxNasSecContext& sec) { ++sec.count; }), 0);
   EXPECT_LT(statusWith([](RtxNasSecContext& sec) { ++sec.bearer; }), 0);
   EXPECT_LT(statusWith([](RtxNasSecContext& sec) { sec.direction ^= 1; }), 0);
   EXPECT_LT(statusWith([](RtxNasSecContext& sec) { sec.cmacSubkeys[0] ^= 1, sec.cmacSubkeys[16] ^= 1; }), 0);
   EXPECT_LT(statusWith([](RtxNasSecContext& sec) { sec.aesSchedules[0] ^= 1; }), 0);
}

} // namespace
