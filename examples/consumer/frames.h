/* EPS messages over a byte stream: each behind its length, two octets, the high one first. */
#ifndef FRAMES_H
#define FRAMES_H

#include <quorva/rtxBits.h>
#include <quorva/rtxSocket.h>
#include <quorva/rtxStream.h>
#include <quorva/TS24301Msg.h>

/* Encodes a plain message and sends it. The context is one without a stream. */
static inline int sendMessage(RtxContext* ctxt, RtxSocket socket, TS24301Msg_PDU* pdu) {
   uint8_t frame[2 + 1024];
   int status;

   rtxCtxtSetBufPtr(ctxt, frame + 2, sizeof frame - 2);
   status = NASEnc_TS24301Msg_PDU(ctxt, pdu);
   if (status < 0) return status;
   frame[0] = (uint8_t)(ctxt->bufByteIndex >> 8);
   frame[1] = (uint8_t)ctxt->bufByteIndex;
   return rtxSocketSend(socket, frame, 2 + ctxt->bufByteIndex);
}

/* Waits for a message on the context's stream and decodes it: RTX_E_END_OF_STREAM when the peer has closed.
 */
static inline int receiveMessage(RtxContext* ctxt, TS24301Msg_PDU* pdu) {
   uint32_t length;
   int status;

   rtxMemReset(ctxt); /* the message before */
   /* The stream is read up to its limit only: that of the length first, then that of the message. */
   ctxt->stream->inputLimit = rtxCtxtGetBitOffset(ctxt) / 8 + 2;
   status = rtxDecBits(ctxt, &length, 16);
   if (status < 0) return status;
   ctxt->stream->inputLimit += length;
   asn1Init_TS24301Msg_PDU(pdu);
   return NASDec_TS24301Msg_PDU(ctxt, pdu);
}

#endif
