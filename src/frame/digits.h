// Digits: types that are a text of them, and those of an identity, whose first one shares an octet with the
// type.
#pragma once

#include "src/frame/decoder.h"
#include "src/frame/encoder.h"

namespace quorva::frame {

// The first digit has been read; `length` counts its octet too. -1, logged, if the digits exceed the text.
int decodeDigits(Decoder& d, const char* name, uint8_t first, size_t length, char* text, size_t capacity);

template <size_t N>
int decodeDigits(Decoder& d, const char* name, uint8_t first, size_t length, char (&text)[N]) {
   return decodeDigits(d, name, first, length, text, N);
}

int decodeDigits(ShortDecoder& d, const char* name, uint8_t first, size_t length, char* text,
                 size_t capacity);
template <size_t N>
int decodeDigits(ShortDecoder& d, const char* name, uint8_t first, size_t length, char (&text)[N]) {
   return decodeDigits(d, name, first, length, text, N);
}

// The digits of a mobile identity of TS 24.008 behind its first octet, and the whole of one.
template <size_t N>
int decodeIdentity(Decoder& d, const char* name, size_t length, uint8_t odd, uint8_t first, char (&text)[N]) {
   return d.item(name, rtx3GPPDecMobileIdentityType1, length, odd, first, text, N);
}
int decodeIdentity(ShortDecoder& d, size_t length, uint8_t odd, uint8_t first, char* text, size_t capacity);
template <size_t N>
int decodeIdentity(ShortDecoder& d, const char*, size_t length, uint8_t odd, uint8_t first, char (&text)[N]) {
   return decodeIdentity(d, length, odd, first, text, N);
}
inline int encodeIdentity(Encoder& e, const char* name, uint32_t type, const char* text) {
   return e.item(name, rtx3GPPEncMobileIdentityType1, type, text);
}
int encodeIdentity(ShortEncoder& e, const char* name, uint32_t type, const char* text);

// Types that are a text of digits: two an octet, by `numocts` octets; a filler ends the text early.
int encodeDigitText(RtxContext* ctxt, const char* type, const char* text);
// Into a text of any size that has the room for all digits and the NUL.
int decodeOpenDigitText(RtxContext* ctxt, const char* type, char* text, uint32_t numocts);
int decodeDigitTextToHeap(RtxContext* ctxt, const char* type, const char** text, uint32_t numocts);
// At most `most` digits: more octets than they need are refused as too many, a digit too many is -16.
int decodeDigitText(RtxContext* ctxt, const char* type, char* text, size_t most, uint32_t numocts);
template <size_t Most>
int decodeDigitText(RtxContext* ctxt, const char* type, char* text, uint32_t numocts) {
   static_assert(Most <= 16);
   return decodeDigitText(ctxt, type, text, Most, numocts);
}

// The same in short form.
uint8_t* encodeDigitText(uint8_t* at, uint8_t* end, RtxContext* ctxt, const char* text);
const uint8_t* decodeOpenDigitText(const uint8_t* at, const uint8_t* end, RtxContext* ctxt, char* text,
                                   uint32_t numocts);
const uint8_t* decodeDigitTextToHeap(const uint8_t* at, const uint8_t* end, RtxContext* ctxt,
                                     const char** text, uint32_t numocts);
const uint8_t* decodeDigitText(const uint8_t* at, const uint8_t* end, char* text, size_t most,
                               uint32_t numocts);
template <size_t Most>
const uint8_t* decodeDigitText(const uint8_t* at, const uint8_t* end, RtxContext*, char* text,
                               uint32_t numocts) {
   return decodeDigitText(at, end, text, Most, numocts);
}

} // namespace quorva::frame
