// The core's side of an EPS attach (TS 24.301, 5.5.1.2): messages of terminals on standard input, a line of
// hexadecimal digits each, one attach after the other, and the answers on standard output. It asks for
// authentication, switches security on with the best algorithms that both sides have, and accepts.
#include <quorva/quorva.hpp>
#include <quorva/TS24301Msg.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <iostream>
#include <string>
#include <vector>

namespace {

using Octets = std::vector<uint8_t>;

Octets octetsOf(const std::string& digits) {
   Octets octets;
   for (size_t i = 0; i + 1 < digits.size(); i += 2)
      octets.push_back(uint8_t(std::strtoul(digits.substr(i, 2).c_str(), nullptr, 16)));
   return octets;
}

// What a subscriber server would tell of a terminal, and the keys that would be derived from that.
const std::string imsi = "001010000000001";
const Octets challenge = octetsOf("1c1c65e8f2de96f1f1dd8a3b57487147"),
             token = octetsOf("c73499b8e6d830fb3519396ed4289714"), response = octetsOf("6eeb55f76600d4ad"),
             integrityKey = octetsOf("0f1e2d3c4b5a69788796a5b4c3d2e1f0"),
             cipherKey = octetsOf("00112233445566778899aabbccddeeff");

constexpr int eia2 = TS24301IE_NASSecurityAlgorithms_typeOfProt_x128_eia2;
constexpr int eea0 = TS24301IE_NASSecurityAlgorithms_typeOfCiph_eea0;
constexpr int eea2 = TS24301IE_NASSecurityAlgorithms_typeOfCiph_x128_eea2;

class Core {
public:
   // Takes a message of the terminal; false if it was refused.
   bool take(const Octets& octets) {
      ctxt_.reset(); // ends the records of the message before; the keys stay
      ctxt_.next(QUORVA_UPLINK, uplinkCount_);
      const auto pdu = ctxt_.decode<TS24301Msg_PDU>(octets);
      if (!pdu) return refuse(pdu.error().what()); // also of a wrong code, -70, although all was read
      if (pdu->m.secHdrPresent && pdu->secHdr.seqNumber != uint8_t(uplinkCount_))
         return refuse("out of turn");
      if (pdu->m.secHdrPresent) ++uplinkCount_;
      const auto& message = pdu->data.u;
      switch (pdu->msgType) {
      case TS24301Msg_msgType_AttachRequest: return authenticate(*message.obj_AttachRequest);
      case TS24301Msg_msgType_AuthResponse: return secure(*message.obj_AuthResponse);
      case TS24301Msg_msgType_SecModeCmplt:
         return pdu->m.secHdrPresent ? accept() : refuse("completed without protection");
      case TS24301Msg_msgType_AttachComplete:
         return pdu->m.secHdrPresent ? true : refuse("completed without protection");
      default: return refuse("no message of an attach");
      }
   }

private:
   bool refuse(const char* why) {
      std::fprintf(stderr, "refused: %s\n", why);
      return false;
   }

   bool authenticate(const TS24301Msg_AttachRequest& request) {
      if (request.oldGUTIOrIMSI.typeOfIdent != TS24301IE_EPSMobileIdentity_typeOfIdent_imsi ||
          request.oldGUTIOrIMSI.content.u.imsi != imsi)
         return refuse("an unknown subscriber");
      ctxt_.clear_keys();
      uplinkCount_ = downlinkCount_ = 0;
      // What is needed later is copied: the record ends with the next message.
      capability_ = request.ueNetworkCapability;
      transaction_ = request.esmMessageContainer.pduSm.pti.u.value;

      auto& command = ctxt_.make<TS24301Msg_AuthRequest>();
      std::copy(challenge.begin(), challenge.end(), command.authParamRAND);
      std::copy(token.begin(), token.end(), command.authParamAUTN.autn);
      auto& pdu = ctxt_.make<TS24301Msg_PDU>();
      asn1SetTC_TS24301Msg_PDU_obj_AuthRequest(ctxt_, &pdu, &command);
      return send(pdu, TS24007L3_SecHdrType_noSec);
   }

   bool secure(const TS24301Msg_AuthResponse& answer) {
      if (!std::equal(answer.data, answer.data + answer.numocts, response.begin(), response.end()))
         return refuse("a wrong response to the challenge");
      if (!capability_.epsIntegAlgs.eia2) return refuse("a terminal without integrity protection");
      const int ciphering = capability_.epsEncryptAlgs.x128_eea2 ? eea2 : eea0;
      const auto ready = ctxt_.set_keys(eia2, integrityKey, ciphering, cipherKey);
      if (!ready) return refuse(ready.error().what());

      auto& command = ctxt_.make<TS24301Msg_SecModeCmd>();
      command.selNASSecurityAlgs.typeOfProt = eia2;
      command.selNASSecurityAlgs.typeOfCiph = uint32_t(ciphering);
      // The terminal gets back what arrived here, so that it sees if somebody has weakened it.
      command.replayedUESecurityCapabilities.epsEncryptAlgs = capability_.epsEncryptAlgs;
      command.replayedUESecurityCapabilities.epsIntegAlgs = capability_.epsIntegAlgs;
      auto& pdu = ctxt_.make<TS24301Msg_PDU>();
      asn1SetTC_TS24301Msg_PDU_obj_SecModeCmd(ctxt_, &pdu, &command);
      return send(pdu, TS24007L3_SecHdrType_integProtAndSecCtxt);
   }

   bool accept() {
      auto& bearer = ctxt_.make<TS24301Msg_ActvDfltEPSBearerCtxtReq>();
      bearer.epsQoS.qci = 9;
      std::strcpy(bearer.accessPointName, "internet");
      bearer.pdnAddress.pdnTypeValue = TS24301IE_PDNTypeValue_ipv4;
      const uint8_t address[] = {192, 0, 2, 100};
      std::copy(address, address + 4, bearer.pdnAddress.pdnAddrInfo.data);
      bearer.pdnAddress.pdnAddrInfo.numocts = 4;

      auto& accept = ctxt_.make<TS24301Msg_AttachAccept>();
      accept.result.result = TS24301IE_EPSAttachResultValues_epsOnly;
      accept.t3412Value = {2, 9}; // 9 times 6 minutes
      auto& area = accept.taiList.idents.elem[0];
      accept.taiList.idents.n = 1;
      auto& areas = area.elements.u.partTrkIdentList0; // typeOfList 0; numElements counts from 0 as well
      std::strcpy(areas.mcc_mnc.mcc, "001");
      std::strcpy(areas.mcc_mnc.mnc, "01");
      areas.tacs.n = 1;
      areas.tacs.elem[0][1] = 1;
      // The session message inside has a header of its own.
      auto& session = accept.esmMessageContainer.pduSm;
      asn1SetTC_TS24301Msg_PDU_SM_obj_ActvDfltEPSBearerCtxtReq(ctxt_, &session, &bearer);
      session.l3HdrOpts.u.epsBearerIdent = TS24007L3_EPSBearerIdentity_id5;
      session.pti.u.value = transaction_;
      // Optional elements: with the bit of the element, in a group of a later release with the group's too.
      accept.m.gutiPresent = 1;
      accept.guti.typeOfIdent = TS24301IE_EPSMobileIdentity_typeOfIdent_guti;
      accept.guti.content.u.guti = {areas.mcc_mnc, {0x80, 0x01}, 1, {0xC0, 0, 0, 1}};
      accept.m.group1Present = accept.m.t3412ExtValuePresent = 1;
      accept.t3412ExtValue.unit = TS24008IE_GPRSTimer3_unit_valIncrMult1Hr;
      accept.t3412ExtValue.timerValue = 12;
      auto& pdu = ctxt_.make<TS24301Msg_PDU>();
      asn1SetTC_TS24301Msg_PDU_obj_AttachAccept(ctxt_, &pdu, &accept);
      return send(pdu, TS24007L3_SecHdrType_integProtAndCipher);
   }

   // The encoder ciphers the message and writes its code; the sequence number is the caller's.
   bool send(TS24301Msg_PDU& pdu, TS24007L3_SecHdrType protection) {
      if (protection != TS24007L3_SecHdrType_noSec) {
         pdu.m.secHdrPresent = 1;
         pdu.secHdr.secHdrType = protection;
         pdu.secHdr.protoDiscr = TS24007L3_ProtoDiscr_epsMobMgmt;
         pdu.secHdr.seqNumber = uint8_t(downlinkCount_);
         ctxt_.next(QUORVA_DOWNLINK, downlinkCount_++);
      }
      const auto octets = ctxt_.encode(pdu);
      if (!octets) return refuse(octets.error().what());
      for (const uint8_t octet : *octets) std::printf("%02x", octet);
      std::printf("\n");
      return true;
   }

   quorva::Context ctxt_;
   uint32_t uplinkCount_ = 0, downlinkCount_ = 0;
   uint8_t transaction_ = 0;
   TS24301IE_UENetworkCapability capability_ = {};
};

} // namespace

int main() {
   Core core;
   bool all = true;
   for (std::string line; std::cin >> line;) all &= core.take(octetsOf(line));
   return all ? 0 : 1;
}
