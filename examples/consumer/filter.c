/*
 * Reads EPS messages from standard input, a pipe most likely, and prints them. Each message stands behind two
 * octets with its length, most significant first. The caller knows where a message ends, so he tells the
 * stream: octets of the next one are not asked for before this one has been shown.
 */
#include <quorva/rtxBits.h>
#include <quorva/rtxError.h>
#include <quorva/rtxMemHeap.h>
#include <quorva/rtxStream.h>
#include <quorva/TS24301Msg.h>

#include <stdio.h>

int main(void) {
   RtxContext ctxt;
   size_t position = 0; /* in the stream */
   int failures = 0;

   if (rtInitContext(&ctxt) < 0) return 2;
   if (rtxStreamFileAttach(&ctxt, stdin, RTX_STREAM_READ) < 0) return 2;
   for (;;) {
      TS24301Msg_PDU pdu = {0};
      uint8_t length[2];
      ptrdiff_t got;
      int status;

      ctxt.stream->inputLimit = position + sizeof length;
      got = rtxStreamRead(&ctxt, length, sizeof length);
      if (got == 0) break; /* the end, between two messages */
      if (got != sizeof length) {
         fprintf(stderr, "the input ends inside a length\n");
         failures = 1;
         break;
      }
      position += sizeof length + (size_t)(length[0] << 8 | length[1]);
      ctxt.stream->inputLimit = position;

      status = NASDec_TS24301Msg_PDU(&ctxt, &pdu);
      printf("status %d\n", status);
      if (status == 0) asn1PrtToStrm_TS24301Msg_PDU(&ctxt, "PDU", &pdu);
      if (status != 0) failures = 1;
      fflush(stdout);

      /* Whatever the decoder left of the frame, the next one begins behind it. */
      rtxErrReset(&ctxt);
      ctxt.bufBitsLeft = 8;
      if (rtxCtxtGetBitOffset(&ctxt) / 8 < position &&
          rtxStreamRead(&ctxt, NULL, position - rtxCtxtGetBitOffset(&ctxt) / 8) < 0)
         break;
      if (rtxCtxtGetBitOffset(&ctxt) / 8 < position) {
         fprintf(stderr, "the input ends inside a message\n");
         failures = 1;
         break;
      }
      rtxMemReset(&ctxt); /* the records of this message */
   }
   rtFreeContext(&ctxt); /* which closes the stream, and leaves the file open */
   return failures;
}
