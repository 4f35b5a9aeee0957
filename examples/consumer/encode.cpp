// Encodes a 5GMM Identity Request, decodes it again and prints it.
#include <quorva/quorva.hpp>
#include <quorva/TS24501Msg.h>

#include <cstdio>

int main() {
   quorva::Context ctxt;
   auto& request = ctxt.make<TS24501Msg_IdentityRequest>(); // zeroed and initialised
   request.identity.typeOfIdent = TS24501IE_TypeOfIdentity_suci;
   auto& pdu = ctxt.make<TS24501Msg_PDU>();
   asn1SetTC_TS24501Msg_PDU_obj_IdentityRequest5G(ctxt, &pdu, &request);

   const auto octets = ctxt.encode(pdu);
   for (const uint8_t octet : *octets) std::printf("%02X ", octet);
   std::printf("\n");
   const auto decoded = ctxt.decode<TS24501Msg_PDU>(*octets);
   std::printf("%s", ctxt.to_string(*decoded, "PDU").c_str());

   if (!octets || !decoded) {
      std::printf("%s\n", (octets ? decoded.error() : octets.error()).what());
      return 1;
   }
   std::printf("status 0\n");
   return 0;
}
