/* A network that asks the terminal that connects for its identities, and prints the answers. */
#include "frames.h"

#include <netinet/in.h>
#include <stdio.h>
#include <sys/socket.h>

static int ask(RtxContext* out, RtxSocket terminal, uint32_t typeOfIdent) {
   /* Zeroed: an initialiser leaves values as the stack had them, and they would be encoded. */
   TS24301Msg_IdentReq request = {0};
   TS24301Msg_PDU pdu = {0};

   request.identType.typeOfIdent = typeOfIdent;
   asn1SetTC_TS24301Msg_PDU_obj_IdentReq(out, &pdu, &request);
   return sendMessage(out, terminal, &pdu);
}

static int serve(RtxContext* in, RtxContext* out, RtxSocket terminal) {
   uint32_t type;
   int status = rtxStreamSocketAttach(in, terminal, RTX_STREAM_READ); /* closes the socket with the stream */
   for (type = TS24008IE_IdentityTypeValue_typeOfIdent_imsi;
        status == 0 && type <= TS24008IE_IdentityTypeValue_typeOfIdent_imeisv; ++type) {
      TS24301Msg_PDU pdu = {0};
      status = ask(out, terminal, type);
      if (status == 0) status = receiveMessage(in, &pdu);
      if (status == 0) asn1PrtToStrm_TS24301Msg_PDU(in, "PDU", &pdu);
   }
   return status;
}

/* Listens on a port of the system's choice, which it prints. */
static int listenForTerminal(RtxSocket listener) {
   struct sockaddr_in end;
   socklen_t size = sizeof end;
   int status = rtxSocketBind(listener, 0x7F000001, 0);
   if (status == 0) status = rtxSocketListen(listener, 1);
   if (status == 0 && getsockname(listener, (struct sockaddr*)&end, &size) < 0) status = RTX_E_SOCKET;
   if (status == 0) printf("port %d\n", ntohs(end.sin_port));
   fflush(stdout);
   return status;
}

int main(void) {
   RtxContext in, out;
   RtxSocket listener, terminal;
   int status;

   if (rtxSocketCreate(&listener) < 0) return 1;
   status = listenForTerminal(listener);
   if (status == 0) status = rtxSocketAccept(listener, &terminal, NULL, NULL);
   rtxSocketClose(listener);
   if (status == 0 && (rtInitContext(&in) < 0 || rtInitContext(&out) < 0)) status = RTX_E_NOMEM;
   if (status == 0) {
      status = serve(&in, &out, terminal);
      rtFreeContext(&out);
      rtFreeContext(&in);
   }
   printf("status %d\n", status);
   return status == 0 ? 0 : 1;
}
