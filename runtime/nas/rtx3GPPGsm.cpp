// Texts in packed septets of the GSM 7-bit default alphabet.
#include "quorva/rtx3GPP.h"
#include "quorva/rtxBits.h"
#include "runtime/core/rtxInline.h"
#include "runtime/nas/gsmAlphabet.h"

using namespace quorva;

namespace {

/** Turns septets into characters at `dest`. */
class SeptetReader {
public:
   SeptetReader(char* dest, size_t destSize) : next(dest), end(dest + destSize) {}

   /** False if there is no room. */
   bool take(unsigned septet) {
      if (septet == gsmEscape) {
         escaped = true;
         return true;
      }
      if (next == end) return false;
      *next++ = static_cast<char>(escaped ? gsmExtension(septet) : gsmCharSet[septet]);
      escaped = false;
      return true;
   }

private:
   char* next;
   char* end;
   bool escaped = false;
};

} // namespace

int rtx3GPPEncGSMCharStr(RtxContext* pctxt, const char* str) {
   if (str == nullptr) return RTX_OK;
   unsigned carry = 0;
   unsigned phase = 0; // place of the septet among eight
   const bool standard = (pctxt->flags & RTX_CTXT_STANDARD) != 0;
   for (unsigned behind = 0; *str != 0; phase = (phase + 1) % 8) {
      const auto ch = static_cast<unsigned char>(*str);
      // The escape alone, so that one character stays one septet; in standard mode two make it up.
      const unsigned septet = behind != 0 ? behind : gsmIsExtended(ch) ? gsmEscape : gsmRevCharSet[ch];
      behind = standard && behind == 0 && gsmIsExtended(ch) ? gsmExtensionOf(ch) : 0;
      if (behind == 0) ++str;
      if (phase != 0) {
         const auto octet = static_cast<uint8_t>(carry | septet << (8 - phase));
         if (const int stat = rtxWriteBytes(pctxt, &octet, 1); stat != RTX_OK)
            return recordFailure(pctxt, stat);
      }
      carry = septet >> phase;
   }
   if (phase == 0) return RTX_OK;
   const auto octet = static_cast<uint8_t>(carry);
   const int stat = rtxWriteBytes(pctxt, &octet, 1);
   return stat == RTX_OK ? RTX_OK : recordFailure(pctxt, stat);
}

int rtx3GPPDecGSMCharStr(RtxContext* pctxt, char* dest, size_t destSize, size_t charCount) {
   SeptetReader reader(dest, destSize);
   unsigned carry = 0;
   unsigned width = 7; // bits of the octet that end the septet begun before
   for (size_t i = 0; i < charCount; ++i) {
      if (pctxt->bufByteIndex >= pctxt->bufSize) return recordFailure(pctxt, RTX_E_END_OF_DATA);
      const unsigned octet = pctxt->bufData[pctxt->bufByteIndex++];
      if (!reader.take(((octet & ((1u << width) - 1)) << (7 - width)) | carry))
         return recordFailure(pctxt, RTX_E_BUFFER_FULL);
      carry = octet >> width;
      if (--width == 0) {
         // The rest is a septet of its own, taken in this turn even if it is one more than asked.
         if (!reader.take(carry)) return recordFailure(pctxt, RTX_E_BUFFER_FULL);
         ++i;
         carry = 0;
         width = 7;
      }
   }
   return RTX_OK;
}
