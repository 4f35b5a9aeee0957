#include "src/frame/security.h"

#include "quorva/rt3gppNasSec.h"
#include "src/frame/pdu.h"

namespace quorva::frame {

void macMismatch(Decoder d, uint32_t received, uint32_t computed) {
   RtxContext* ctxt = d.ctxt();
   rtxErrAddUIntParm(ctxt, received);
   rtxErrAddUIntParm(ctxt, computed);
   failAnew(ctxt, RTX_E_MAC_MISMATCH);
}

void checkMac(Decoder d, size_t from, uint32_t received) {
   RtxContext* ctxt = d.ctxt();
   uint32_t computed = 0;
   // A code is never passed over.
   const int status = from > ctxt->bufSize
                            ? RTX_E_END_OF_DATA
                            : rtx3gppComputeMAC(ctxt, ctxt->bufData + from, ctxt->bufSize - from, &computed);
   if (status < 0) {
      d.failed(status);
   } else if (computed != received) {
      macMismatch(d, received, computed);
   }
}

int decipherRest(Decoder d, size_t from) {
   RtxContext* ctxt = d.ctxt();
   if (from > ctxt->bufSize) return d.failed(RTX_E_END_OF_DATA);
   if (const int status = rtx3gppCipher(ctxt, ctxt->bufData + from, ctxt->bufSize - from); status < 0)
      return d.failed(status);
   return 0;
}

int protect(Encoder e, size_t macFrom, size_t cipherFrom, size_t macAt, bool cipher, uint32_t& mac) {
   RtxContext* ctxt = e.ctxt();
   const Mark end(ctxt);
   if (cipher) {
      if (const int status = rtx3gppCipher(ctxt, ctxt->bufData + cipherFrom, end.index - cipherFrom);
          status < 0)
         return e.failed(status);
   }
   if (const int status = rtx3gppComputeMAC(ctxt, ctxt->bufData + macFrom, end.index - macFrom, &mac);
       status < 0)
      return e.failed(status);
   ctxt->bufByteIndex = macAt;
   ctxt->bufBitsLeft = 8;
   if (const int status = rtxEncBits(ctxt, mac, 32); status < 0) return e.failed(status);
   end.restore(ctxt);
   return 0;
}

int newBadChoice(Decoder d) {
   return failAnew(d.ctxt(), RTX_E_BAD_CHOICE);
}

} // namespace quorva::frame
