#include "src/frame/digits.h"

#include "quorva/rtxTBCD.h"
#include "runtime/core/rtxMemHeapInline.h"
#include "runtime/nas/tbcd.h"

#include <initializer_list>

namespace quorva::frame {

int decodeDigits(Decoder& d, const char* name, uint8_t first, size_t length, char* text, size_t capacity) {
   RtxContext* ctxt = d.ctxt();
   L3_TRY(d.push(name));
   const size_t octets = (length - 1) & 0xFF;
   if (2 * octets + 1 > 16 || 2 * octets + 2 > capacity) return d.failed(RTX_E_BUFFER_FULL);
   rtxDiagNewBitField(ctxt->bitFields, "TBCDString");
   rtxTBCDBinToChar(first, text);
   if (const int status = rtxDecQ825TBCDString(ctxt, octets, text + 1, capacity - 1); status < 0)
      return d.failed(status);
   rtxDiagSetBitFldCount(ctxt->bitFields);
   d.pop();
   return 0;
}

namespace {

// The two digits of each octet.
struct DigitPairs {
   char of[256][2];
};
constexpr DigitPairs kPairs = [] {
   DigitPairs pairs{};
   for (unsigned octet = 0; octet < 256; ++octet) {
      pairs.of[octet][0] = tbcdToChar(octet & 15);
      pairs.of[octet][1] = tbcdToChar(octet >> 4);
   }
   return pairs;
}();

// Both digits of each octet; returns where the text ends.
char* spreadDigits(const uint8_t* at, size_t numocts, char* text) {
   for (; numocts != 0; --numocts, text += 2) std::memcpy(text, kPairs.of[*at++], 2);
   *text = 0;
   return text;
}

} // namespace

int decodeDigits(ShortDecoder& d, const char*, uint8_t first, size_t length, char* text, size_t capacity) {
   const size_t octets = (length - 1) & 0xFF;
   if (2 * octets + 1 > 16 || 2 * octets + 2 > capacity) return kNotShort;
   const uint8_t* at = d.takeOctets(octets);
   if (at == nullptr) return kNotShort;
   text[0] = tbcdToChar(first & 15);
   spreadDigits(at, octets, text + 1);
   return 0;
}

int decodeIdentity(ShortDecoder& d, size_t length, uint8_t odd, uint8_t first, char* text, size_t capacity) {
   const size_t count = (length - 1) & 0xFF;
   const size_t octets = count == 0 ? 1 : count;
   if (2 * octets + (odd == 0 ? 0 : 1) >= capacity || first > 9) return kNotShort;
   const uint8_t* at = d.takeOctets(octets);
   if (at == nullptr) return kNotShort;
   // An even number of digits leaves no room for the last nibble's NUL and one behind it.
   text[0] = tbcdToChar(first);
   char* end = spreadDigits(at, octets - 1, text + 1);
   *end++ = tbcdToChar(at[octets - 1] & 15);
   const char last = tbcdToChar(at[octets - 1] >> 4);
   *end = odd == 0 ? '\0' : last;
   if (odd != 0) *++end = 0;
   return 0;
}

int encodeIdentity(ShortEncoder& e, const char*, uint32_t type, const char* text) {
   if (text == nullptr) return kNotShort;
   const size_t count = std::strlen(text);
   const int first = tbcdFromChar(*text);
   if (first < 0 || count > 2 * 255) return kNotShort;
   uint8_t* at = e.takeOctets((count >> 1) + 2);
   if (at == nullptr) return kNotShort;
   *at++ = static_cast<uint8_t>((count >> 1) + 1);
   *at++ = static_cast<uint8_t>(static_cast<unsigned>(first) << 4 | (count & 1) << 3 | (type & 7));
   for (size_t i = 1; i < count; i += 2) {
      const int pair = tbcdPair(text + i);
      if (pair < 0) return kNotShort;
      *at++ = static_cast<uint8_t>(pair);
   }
   return 0;
}

int encodeDigitText(RtxContext* ctxt, const char* type, const char* text) {
   Encoder e(ctxt);
   L3_TRY(e.begin(type));
   L3_TRY(e.traced("TBCDString", [&] { return rtxEncQ825TBCDString(ctxt, text); }));
   return e.done();
}

static int readDigits(Decoder& d, char* text, size_t room, uint32_t numocts) {
   return d.traced("TBCDString", [&] { return rtxDecQ825TBCDString(d.ctxt(), numocts, text, room); });
}

int decodeOpenDigitText(RtxContext* ctxt, const char* type, char* text, uint32_t numocts) {
   Decoder d(ctxt);
   L3_TRY(d.begin(type));
   L3_TRY(readDigits(d, text, 2 * size_t{numocts} + 1, numocts));
   return d.done();
}

int decodeDigitText(RtxContext* ctxt, const char* type, char* text, size_t most, uint32_t numocts) {
   Decoder d(ctxt);
   L3_TRY(d.begin(type));
   char digits[18]; // the last octet of an odd number holds a filler, or one digit too many
   L3_TRY(readDigits(d, digits, most + 1 + most % 2, numocts));
   const size_t count = std::strlen(digits);
   if (count > most) return RTX_E_CONSTRAINT;
   std::memcpy(text, digits, count + 1);
   return d.done();
}

int decodeDigitTextToHeap(RtxContext* ctxt, const char* type, const char** text, uint32_t numocts) {
   Decoder d(ctxt);
   L3_TRY(d.begin(type));
   // A count beyond the data asks for no memory.
   if (!hasOctets(ctxt, numocts)) return d.failed(RTX_E_END_OF_DATA);
   const size_t room = 2 * size_t{numocts} + 1;
   auto* digits = static_cast<char*>(rtxMemHeapAlloc(ctxt, room));
   if (digits == nullptr) return d.failed(RTX_E_NOMEM);
   L3_TRY(readDigits(d, digits, room, numocts));
   *text = digits;
   return d.done();
}

uint8_t* encodeDigitText(uint8_t* at, uint8_t* end, RtxContext*, const char* text) {
   if (text == nullptr) return at;
   while (*text != 0) {
      const int pair = tbcdPair(text);
      if (pair < 0 || at == end) return nullptr;
      *at++ = static_cast<uint8_t>(pair);
      text += text[1] != 0 ? 2 : 1;
   }
   return at;
}

const uint8_t* decodeOpenDigitText(const uint8_t* at, const uint8_t* end, RtxContext*, char* text,
                                   uint32_t numocts) {
   if (static_cast<size_t>(end - at) < numocts) return nullptr;
   spreadDigits(at, numocts, text);
   return at + numocts;
}

const uint8_t* decodeDigitText(const uint8_t* at, const uint8_t* end, char* text, size_t most,
                               uint32_t numocts) {
   if (static_cast<size_t>(end - at) < numocts || numocts > (most + most % 2) / 2) return nullptr;
   const uint8_t* behind = at + numocts;
   const char* last = text + most;
   for (; at != behind; ++at) {
      for (const unsigned nibble : {*at & 15u, *at >> 4 & 15u}) {
         const char digit = tbcdToChar(nibble);
         if (digit != 0 && text == last) return nullptr;
         *text++ = digit;
         if (digit == 0) return behind;
      }
   }
   *text = 0;
   return behind;
}

const uint8_t* decodeDigitTextToHeap(const uint8_t* at, const uint8_t* end, RtxContext* ctxt,
                                     const char** text, uint32_t numocts) {
   if (static_cast<size_t>(end - at) < numocts) return nullptr;
   auto* digits = static_cast<char*>(hot::alloc(ctxt, 2 * size_t{numocts} + 1));
   if (digits == nullptr) return nullptr;
   *text = digits;
   return decodeOpenDigitText(at, end, ctxt, digits, numocts);
}

} // namespace quorva::frame
