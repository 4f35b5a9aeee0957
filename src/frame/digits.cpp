#include "src/frame/digits.h"

#include "quorva/rtxTBCD.h"

namespace quorva::frame {

int decodeDigits(Decoder& d, const char* name, uint8_t first, size_t length, char* text, size_t capacity,
                 int line) {
   RtxContext* ctxt = d.ctxt();
   L3_TRY(d.push(name));
   const size_t octets = (length - 1) & 0xFF;
   if (2 * octets + 1 > 16 || 2 * octets + 2 > capacity) return d.failed(RTX_E_BUFFER_FULL, line);
   rtxDiagNewBitField(ctxt->bitFields, "TBCDString");
   rtxTBCDBinToChar(first, text);
   if (const int status = rtxDecQ825TBCDString(ctxt, octets, text + 1, capacity - 1); status < 0)
      return d.failed(status, line);
   rtxDiagSetBitFldCount(ctxt->bitFields);
   d.pop();
   return 0;
}

int encodeDigitText(RtxContext* ctxt, const char* source, const char* type, const char* text) {
   Encoder e(ctxt, source);
   L3_TRY(e.begin(type));
   L3_TRY(e.traced("TBCDString", [&] { return rtxEncQ825TBCDString(ctxt, text); }));
   return e.done();
}

static int readDigits(Decoder& d, char* text, size_t room, uint32_t numocts) {
   return d.traced("TBCDString", [&] { return rtxDecQ825TBCDString(d.ctxt(), numocts, text, room); });
}

int decodeOpenDigitText(RtxContext* ctxt, const char* source, const char* type, char* text,
                        uint32_t numocts) {
   Decoder d(ctxt, source);
   L3_TRY(d.begin(type));
   L3_TRY(readDigits(d, text, 2 * size_t{numocts} + 1, numocts));
   return d.done();
}

int decodeDigitText(RtxContext* ctxt, const char* source, const char* type, char* text, size_t most,
                    uint32_t numocts) {
   Decoder d(ctxt, source);
   L3_TRY(d.begin(type));
   char digits[18]; // the last octet of an odd number holds a filler, or one digit too many
   L3_TRY(readDigits(d, digits, most + 1 + most % 2, numocts));
   const size_t count = std::strlen(digits);
   if (count > most) return RTX_E_CONSTRAINT;
   std::memcpy(text, digits, count + 1);
   return d.done();
}

int decodeDigitTextToHeap(RtxContext* ctxt, const char* source, const char* type, const char** text,
                          uint32_t numocts) {
   Decoder d(ctxt, source);
   L3_TRY(d.begin(type));
   // A count beyond the data asks for no memory.
   if (!hot::streamActive(ctxt) && !hasOctets(ctxt, numocts)) return d.failed(RTX_E_END_OF_DATA);
   const size_t room = 2 * size_t{numocts} + 1;
   auto* digits = static_cast<char*>(rtxMemHeapAlloc(ctxt, room));
   if (digits == nullptr) return d.failed(RTX_E_NOMEM);
   L3_TRY(readDigits(d, digits, room, numocts));
   *text = digits;
   return d.done();
}

} // namespace quorva::frame
