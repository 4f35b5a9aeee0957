/*
 * Reads protected EPS messages of one terminal, a line of hexadecimal digits each, under the keys of
 * examples/attach.keys, and prints each message's type. It shows how long the security record lives: in the
 * heap of the context, as all that a message holds, so that rtxMemReset between two messages ends it.
 */
#include <quorva/rt3gppNasSec.h>
#include <quorva/rtxError.h>
#include <quorva/rtxMemHeap.h>
#include <quorva/TS24301Msg.h>

#include <stdio.h>

static const uint8_t integKey[16] = {0x0f, 0x1e, 0x2d, 0x3c, 0x4b, 0x5a, 0x69, 0x78,
                                     0x87, 0x96, 0xa5, 0xb4, 0xc3, 0xd2, 0xe1, 0xf0};
static const uint8_t cipherKey[16] = {0x00, 0x11, 0x22, 0x33, 0x44, 0x55, 0x66, 0x77,
                                      0x88, 0x99, 0xaa, 0xbb, 0xcc, 0xdd, 0xee, 0xff};

/* The record, the keys, and which message comes: ahead of each one. The same keys are expanded only once. */
static int expect(RtxContext* ctxt, uint32_t count) {
   int status = rtx3gppSecInitialize(ctxt);
   if (status == 0) status = rtx3gppAssignAlgorithmKeys(ctxt, integKey, cipherKey, 2, 2);
   if (status == 0) status = rtx3gppSetCount(ctxt, count, 0, RTX_NAS_UPLINK);
   return status;
}

int main(void) {
   char line[8192];
   uint32_t count = 0;
   int failures = 0;
   RtxContext ctxt;

   if (rtInitContext(&ctxt) < 0) return 2;
   rtxCtxtSetFlag(&ctxt, RTX_CTXT_UPLINK); /* a Detach Request has a form for each direction */
   while (fgets(line, sizeof line, stdin) != NULL) {
      TS24301Msg_PDU pdu = {0};
      uint8_t octets[sizeof line / 2];
      size_t numocts = 0;
      unsigned octet;
      int status;

      while (sscanf(line + 2 * numocts, "%2x", &octet) == 1) octets[numocts++] = (uint8_t)octet;
      rtxMemReset(&ctxt); /* the message before, its errors, and the security record */
      status = expect(&ctxt, count++);
      rtxCtxtSetBufPtr(&ctxt, octets, numocts); /* they are deciphered in it */
      if (status == 0) status = NASDec_TS24301Msg_PDU(&ctxt, &pdu);
      printf("COUNT %u, type 0x%02x, status %d\n", (unsigned)count - 1, pdu.msgType, status);
      if (status != 0) failures = 1;
   }
   /* Erases what was computed from the keys, while there is a record: a reset would only forget it. */
   if (ctxt.nasSec != NULL) rtx3gppSecFree(&ctxt);
   rtFreeContext(&ctxt);
   return failures;
}
