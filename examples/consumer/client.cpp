// A terminal that answers the questions of the server at a port, until that closes.
#include "frames.h"

#include <quorva/quorva.hpp>

#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace {

int answer(quorva::Context& out, RtxSocket network, const TS24301Msg_IdentReq& request) {
   out.reset(); // ends the answer before
   auto& response = out.make<TS24301Msg_IdentResp>();
   response.t = request.identType.typeOfIdent; // the identities stand under their types
   switch (response.t) {
   case TS24008IE_IdentityTypeValue_typeOfIdent_imsi: std::strcpy(response.u.imsi, "001010123456789"); break;
   case TS24008IE_IdentityTypeValue_typeOfIdent_imei: std::strcpy(response.u.imei, "490154203237518"); break;
   default: std::strcpy(response.u.imeisv, "4901542032375101");
   }
   auto& pdu = out.make<TS24301Msg_PDU>();
   asn1SetTC_TS24301Msg_PDU_obj_IdentResp(out, &pdu, &response);
   return sendMessage(out, network, &pdu);
}

} // namespace

int main(int argc, char** argv) {
   quorva::Context in, out; // whose end closes the stream and its socket
   RtxSocket network;
   if (argc != 2 || rtxSocketCreate(&network) < 0) return 1;

   int status = rtxSocketConnectTimed(network, "localhost", std::atoi(argv[1]), 5);
   if (status == 0) status = rtxStreamSocketAttach(in, network, RTX_STREAM_READ);
   if (status < 0) rtxSocketClose(network); // from here on it is the stream's

   TS24301Msg_PDU pdu{};
   while (status == 0 && (status = receiveMessage(in, &pdu)) == 0) {
      asn1PrtToStrm_TS24301Msg_PDU(in, "PDU", &pdu);
      if (pdu.msgType == TS24301Msg_msgType_IdentReq) status = answer(out, network, *pdu.data.u.obj_IdentReq);
   }
   if (status == RTX_E_END_OF_STREAM) status = 0; // the server has closed
   std::printf("status %d\n", status);
   return status == 0 ? 0 : 1;
}
