// The words of encoders in the exact form.
#pragma once

#include "src/frame/short.h"

namespace quorva::frame {

// An open length field: where its contents begin, as a bit offset.
struct OpenLength {
   size_t start;
};

// The words that need no type, out of line. A placeholder of `bits` bits; the closing step writes the octets
// of what stands behind it: no padding behind an open tail, which must have ended on an octet boundary; else
// padding to the next octet. `fromStart`: octets count from where the contents begin, wherever in an octet
// that is.
L3_COLD int encOpenInFull(RtxContext* ctxt, const char* name, unsigned bits, OpenLength& length);
// Not cold, as some codecs close in no other way.
[[gnu::noinline]] int encCloseInFull(RtxContext* ctxt, unsigned bits, const OpenLength& length,
                                     uint32_t* count, bool keepTail, bool fromStart = false);
// The bits behind it less `less`, for a length that counts them. -16 for fewer.
int encCloseBits(RtxContext* ctxt, unsigned bits, const OpenLength& length, uint32_t* count, size_t less = 0);
// A run of bits in one piece, when nobody looks; false if it can't be. The rest of the last octet is cleared,
// as rtxEncBits does.
bool putShifted(RtxContext* ctxt, uint64_t value, unsigned nbits);
int encOctets(RtxContext* ctxt, const char* name, const uint8_t* data, size_t numocts);
// -16, under the name, if the value does not fit its record.
int encBitString(RtxContext* ctxt, const char* name, const uint8_t* data, size_t numbits, bool fits = true);
// Bits of a structure, whose failure is recorded under their name.
int encBitField(RtxContext* ctxt, const char* name, const uint8_t* data, size_t numbits);
int encCounted(RtxContext* ctxt, const char* name, unsigned countOctets, const uint8_t* data, size_t numocts,
               size_t capacity);
// `tail`: sets the flag of the open tail.
int encSized(RtxContext* ctxt, const char* name, const uint8_t* data, size_t numocts, bool fits, bool tail);
int encLeadBit(RtxContext* ctxt, const char* kind, bool bit);
int encHighBit(RtxContext* ctxt, const char* kind, bool high);
int encHighEnumeration(RtxContext* ctxt, uint32_t value);
int encUnary(RtxContext* ctxt, const char* name, uint8_t value);
// The bits that lead an arm, plain ones or L and H.
int encPattern(RtxContext* ctxt, unsigned pattern, unsigned bits, bool high);
// The low bits of the pattern, to the octet's end.
int encPadding(RtxContext* ctxt, uint8_t pattern);
int encSelector(RtxContext* ctxt, unsigned bits, uint32_t selector);
int encIei(RtxContext* ctxt, unsigned bits, uint32_t iei);

class Encoder : public Codec {
public:
   using OpenLength = frame::OpenLength;
   using Codec::Codec;
   using Codec::item;

   // Fields of fixed width, one behind the other.
   template <class... Parts>
   L3_INLINE int fields(const Parts&... parts) {
      uint64_t word;
      if (isPlain(ctxt_) && giveAll(word, parts...) && putShifted(ctxt_, word, totalBits<Parts...>()))
            [[likely]]
         return 0;
      return fieldsInFull(parts...);
   }
   template <unsigned Bits>
   int constant(const char* name, uint32_t value) {
      return fields(integer<Bits>(name, value));
   }

   template <unsigned Bits>
   int open(const char* name, OpenLength& length) {
      return encOpenInFull(ctxt_, name, Bits, length);
   }
   // The bound is tested with the octets written.
   template <unsigned Bits, class T>
   int close(const OpenLength& length, T& value, const Limits& limits) {
      uint32_t count = 0;
      L3_TRY(encCloseInFull(ctxt_, Bits, length, &count, false));
      value = static_cast<T>(count);
      return !limits.allow(count) || count >> Bits != 0 ? RTX_E_CONSTRAINT : 0;
   }

   template <class Type, class... Arguments>
   L3_INLINE int item(const char* name, Arguments... arguments) {
      return item(name, Type::encode, arguments...);
   }
   template <class Type, class... Arguments>
   L3_INLINE int call(Arguments... arguments) {
      return Type::encode(ctxt_, arguments...);
   }

   // Bits and octets under a trace field of their own kind, without an element name.
   template <unsigned Bits>
   int tracedBits(const char* kind, uint32_t value) {
      return traced(kind, [&] { return rtxEncBits(ctxt_, value, Bits); });
   }
   int tracedOctets(const char* kind, const void* data, size_t numocts) {
      return traced(kind, [&] { return rtxWriteBytes(ctxt_, static_cast<const uint8_t*>(data), numocts); });
   }
   // The octets of a PLMN.
   int plmn(const char* mcc, const char* mnc) {
      return traced("TBCDString", [&] { return rtx3GPPEnc_MCC_MNC(ctxt_, mcc, mnc); });
   }

   template <size_t N>
   int octets(const char* name, const uint8_t* data) {
      return encOctets(ctxt_, name, data, N);
   }
   // Octets without a count on the wire; their number must be the one that other fields give.
   template <class T>
   int sized(const char* name, size_t numocts, const T& value) {
      const bool fits = value.numocts == numocts && value.numocts <= capacityOf(value);
      return encSized(ctxt_, name, value.data, numocts, fits, false);
   }
   template <class T>
   int fill(const char* name, const T& value) {
      return sized(name, value.numocts, value);
   }

   int leadBit(const char* kind, bool bit) { return encLeadBit(ctxt_, kind, bit); }
   // The bit ahead of an octet of a chain, under the octet's name: 1 ends the chain.
   int extBit(const char* name, bool last) {
      L3_TRY(push(name));
      L3_TRY(leadBit("ext bit", last));
      pop();
      return 0;
   }

   // Repetition: the count is tested before anything is written.
   template <class N, class T, class Function>
   int repeat(const char* name, N n, T* elem, const Limits& limits, Function encode) {
      return repeatTimes(name, n, n, elem, limits, encode);
   }
   template <class N, class T, class Function>
   int repeatTimes(const char* name, size_t times, N n, T* elem, const Limits& limits, Function encode) {
      if (name != nullptr) L3_TRY(push(name));
      if (!limits.allow(times) || times > n) return RTX_E_CONSTRAINT;
      if (times != 0 && elem == nullptr) return failed(RTX_E_NULL);
      for (size_t i = 0; i < times; ++i) {
         L3_TRY(pushIndex(i));
         if (const int status = encode(*this, elem[i]); status < 0) [[unlikely]]
            return failed(status);
         popIndex(i);
      }
      if (name != nullptr) pop();
      return 0;
   }

private:
   template <class... Parts>
   L3_COLD int fieldsInFull(Parts... parts) {
      int status = 0;
      (void)(((status = parts.encode(ctxt_)) >= 0) && ...);
      return status;
   }
};

} // namespace quorva::frame

// The encoder of a type in both forms, from the template encode_TYPE; parameters and arguments in brackets.
// One that takes an Encoder alone has no short form.
#define L3_ENCODER(TYPE, PARAMETERS, ARGUMENTS)                                                              \
   L3_NO_SHORT_FORM(encode_##TYPE, quorva::frame::ShortEncoder)                                              \
   L3_COLD static int fullEnc_##TYPE(RtxContext* pctxt, L3_BARE PARAMETERS) {                                \
      L3_TO_STREAM(NASEnc_##TYPE(pctxt, L3_BARE ARGUMENTS));                                                 \
      const quorva::frame::InFull inFull(pctxt);                                                             \
      quorva::frame::Encoder e(pctxt);                                                                       \
      return encode_##TYPE(e, L3_BARE ARGUMENTS);                                                            \
   }                                                                                                         \
   int NASEnc_##TYPE(RtxContext* pctxt, L3_BARE PARAMETERS) {                                                \
      if (quorva::frame::isUntested(pctxt)) [[unlikely]]                                                     \
         return quorva::frame::encodeByRows<quorva::type::TYPE>(pctxt, L3_BARE ARGUMENTS);                   \
      if (quorva::frame::encodeShort<quorva::type::TYPE>(pctxt, L3_BARE ARGUMENTS))                          \
         return quorva::frame::Codec(pctxt).done();                                                          \
      return fullEnc_##TYPE(pctxt, L3_BARE ARGUMENTS);                                                       \
   }                                                                                                         \
   uint8_t* shortEnc_##TYPE(uint8_t* at, uint8_t* end, RtxContext* pctxt, L3_BARE PARAMETERS) {              \
      quorva::frame::ShortEncoder e(at, end, pctxt);                                                         \
      const int status = encode_##TYPE(e, L3_BARE ARGUMENTS);                                                \
      return e.result(status);                                                                               \
   }

// The same of a type that mostly stands inside an octet: a short form goes on in it where it is.
#define L3_ENCODER_AMONG_BITS(TYPE, PARAMETERS, ARGUMENTS)                                                   \
   L3_ENCODER(TYPE, PARAMETERS, ARGUMENTS)                                                                   \
   int shortEncIn_##TYPE(quorva::frame::ShortEncoder& e, L3_BARE PARAMETERS) {                               \
      return encode_##TYPE(e, L3_BARE ARGUMENTS);                                                            \
   }
