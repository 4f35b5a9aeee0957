// Encodes a 5GMM Identity Request, decodes it again and prints it.
#include <quorva/TS24501Msg.h>

#include <cstdio>
#include <vector>

int main() {
   RtxContext ctxt;
   if (rtInitContext(&ctxt) < 0) return 1;

   TS24501Msg_IdentityRequest request{};
   request.identity.typeOfIdent = TS24501IE_TypeOfIdentity_suci;
   TS24501Msg_PDU pdu{};
   asn1SetTC_TS24501Msg_PDU_obj_IdentityRequest5G(&ctxt, &pdu, &request);
   rtxCtxtSetBufPtr(&ctxt, nullptr, 0); // a buffer of the context's own
   int status = NASEnc_TS24501Msg_PDU(&ctxt, &pdu);
   std::vector<uint8_t> octets(ctxt.bufData, ctxt.bufData + (status < 0 ? 0 : ctxt.bufByteIndex));
   for (const uint8_t octet : octets) std::printf("%02X ", octet);
   std::printf("\n");

   TS24501Msg_PDU decoded{};
   if (status >= 0) {
      rtxCtxtSetBufPtr(&ctxt, octets.data(), octets.size());
      status = NASDec_TS24501Msg_PDU(&ctxt, &decoded);
      asn1PrtToStrm_TS24501Msg_PDU(&ctxt, "PDU", &decoded);
   }
   std::printf("status %d\n", status);
   rtFreeContext(&ctxt);
   return status == 0 ? 0 : 1;
}
