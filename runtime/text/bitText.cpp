// The text of bit strings.
#include <cstdlib>
#include <cstring>

#include "quorva/rtxUTF8.h"
#include "runtime/text/valueText.h"

namespace quorva::text {

int bitDump(const TextSink& to, uint32_t numbits, const uint8_t* data) {
   if (numbits == 0 || !data) return to.idle();
   constexpr uint32_t octetsPerLine = 16;
   const uint32_t whole = numbits / 8;
   if (numbits > 71) QUORVA_PRINT_STEP(to.print("\n"));
   for (uint32_t i = 0; i < whole; ++i) {
      if (i > 0) QUORVA_PRINT_STEP(to.print(i % octetsPerLine == 0 ? "\n" : " "));
      QUORVA_PRINT_STEP(to.print(to.dialect().capitalOctets ? "0x%02X" : "0x%02x", data[i]));
   }
   if (numbits % 8 == 0) return 0;
   char bits[9];
   partialOctetText(data[whole], numbits % 8, bits);
   // A line of 15 octets takes no 16th item, but a full one takes a 17th.
   return to.print(whole % octetsPerLine == 15 ? "\n%.8s" : whole == 0 ? "%.8s" : " %.8s", bits);
}

int namedBitDump(const TextSink& to, uint32_t numbits, const uint8_t* data, const BitNames& names) {
   if (!data) numbits = 0;
   size_t size = size_t{5} * numbits + sizeof("()");
   for (size_t i = 0; i < names.count; ++i) size += rtxUTF8LenBytes(names.names[i]);
   char* text = static_cast<char*>(malloc(size));
   if (!text) return 0;
   char* end = text;
   *end++ = '(';
   for (uint32_t bit = 0; bit < numbits; ++bit) {
      for (size_t i = 0; i < names.count; ++i) {
         if (names.numbers[i] != bit) continue;
         const size_t len = rtxUTF8LenBytes(names.names[i]);
         if (len > 0) memcpy(end, names.names[i], len);
         end += len;
         break;
      }
      *end++ = '(';
      *end++ = rtxTestBit(data, numbits, bit) ? '1' : '0';
      *end++ = ')';
      if (bit + 1 < numbits) {
         *end++ = ',';
         *end++ = ' ';
      }
   }
   *end++ = ')';
   *end = '\0';
   const int status = to.print("%s", text);
   free(text);
   return status;
}

int bitHead(const TextSink& to, const char* name, uint32_t numbits, const char* conn, bool indented) {
   if (indented) QUORVA_PRINT_STEP(to.indent());
   QUORVA_PRINT_STEP(to.print("%s%snumbits = %u\n", name, conn, numbits));
   if (indented) QUORVA_PRINT_STEP(to.indent());
   return to.print("%s%sdata = ", name, conn);
}

int bitStrBin(const TextSink& to, const char* name, const Bits& bits, const char* conn, bool indented) {
   QUORVA_PRINT_STEP(bitHead(to, name, bits.numbits, conn, indented));
   for (uint32_t i = 0; bits.data && i < bits.numbits; ++i)
      QUORVA_PRINT_STEP(to.print(rtxTestBit(bits.data, bits.numbits, i) ? "1" : "0"));
   return to.print("\n");
}

int bitStr(const TextSink& to, const char* name, const Bits& bits, const char* conn, const BitNames* names,
           bool indented) {
   QUORVA_PRINT_STEP(bitHead(to, name, bits.numbits, conn, indented));
   QUORVA_PRINT_STEP(names ? namedBitDump(to, bits.stored, bits.data, *names)
                           : bitDump(to, bits.stored, bits.data));
   QUORVA_PRINT_STEP(bitExtension(to, bits));
   return to.print("\n");
}

int bitExtension(const TextSink& to, const Bits& bits) {
   if (bits.stored == bits.numbits || !bits.extData) return 0;
   QUORVA_PRINT_STEP(to.print(" "));
   return bitDump(to, bits.numbits - bits.stored, bits.extData);
}

} // namespace quorva::text
