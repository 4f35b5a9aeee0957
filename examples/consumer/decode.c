/* Decodes one EPS message, given as octets, and prints it. */
#include <quorva/TS24301Msg.h>

#include <stdio.h>

int main(void) {
   /* An Authentication Request; a protected message would be deciphered in this buffer. */
   uint8_t message[] = {0x07, 0x52, 0x06, 0x90, 0x5a, 0xda, 0x1e, 0x7d, 0xa5, 0x57, 0xad, 0xa1,
                        0xe7, 0x26, 0x50, 0xe2, 0x1e, 0xe5, 0xe3, 0x10, 0x4b, 0xfb, 0x73, 0xf6,
                        0xb4, 0x55, 0x80, 0x00, 0xb1, 0x90, 0x3a, 0xb8, 0x8a, 0x27, 0x23, 0x7f};
   RtxContext ctxt;
   TS24301Msg_PDU pdu = {0};
   int status;

   if (rtInitContext(&ctxt) < 0) return 1;
   rtxCtxtSetBufPtr(&ctxt, message, sizeof message);
   status = NASDec_TS24301Msg_PDU(&ctxt, &pdu);
   if (status == 0) asn1PrtToStrm_TS24301Msg_PDU(&ctxt, "PDU", &pdu);
   printf("status %d\n", status);
   rtFreeContext(&ctxt); /* with all that was decoded */
   return status == 0 ? 0 : 1;
}
