#include "src/frame/digits.h"

#include "quorva/rtxTBCD.h"
#include "runtime/nas/tbcd.h"

namespace quorva::frame {

int decodeDigits(Decoder& d, const char* name, uint8_t first, size_t length, char* text, size_t capacity,
                 int line) {
   RtxContext* ctxt = d.ctxt();
   L3_TRY(d.push(name));
   const size_t octets = (length - 1) & 0xFF;
   if (2 * octets + 1 > 16 || 2 * octets + 2 > capacity) return d.failed(RTX_E_BUFFER_FULL, line);
   rtxDiagNewBitField(ctxt->bitFields, "TBCDString");
   rtxTBCDBinToChar(first, text);
   char* at = text + 1;
   if (isPlain(ctxt) && hasOctets(ctxt, octets)) {
      const uint8_t* from = ctxt->bufData + ctxt->bufByteIndex;
      for (size_t i = 0; i < octets; ++i) {
         *at++ = tbcdToChar(from[i] & 0x0F);
         *at++ = tbcdToChar(from[i] >> 4);
      }
      *at = 0;
      ctxt->bufByteIndex += octets;
      d.pop();
      return 0;
   }
   for (size_t i = 0; i < octets; ++i) {
      uint8_t octet = 0;
      if (const int status = rtxReadBytes(ctxt, &octet, 1); status < 0) return d.failed(status, line);
      rtxTBCDBinToChar(octet & 0x0F, at++);
      rtxTBCDBinToChar(octet >> 4, at++);
   }
   *at = 0;
   rtxDiagSetBitFldCount(ctxt->bitFields);
   d.pop();
   return 0;
}

} // namespace quorva::frame
