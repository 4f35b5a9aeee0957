// The words of encoders.
#pragma once

#include "src/frame/short.h"

namespace quorva::frame {

// An open length field: where its contents begin, as a bit offset.
struct OpenLength {
   size_t start;
};

// Full forms, out of line.
L3_COLD int encOpenInFull(RtxContext* ctxt, Site site, const char* name, unsigned bits, OpenLength& length);
// Not cold, as some codecs close in no other way.
[[gnu::noinline]] int encCloseInFull(RtxContext* ctxt, Site site, unsigned bits, const OpenLength& length,
                                     uint32_t* count, bool keepTail);
// The short form of a run that begins inside an octet; false if it can't be used.
bool putShifted(RtxContext* ctxt, uint64_t value, unsigned nbits);
L3_COLD int encOctets(RtxContext* ctxt, Site site, const char* name, const uint8_t* data, size_t numocts);
// -16, under the name, if the value does not fit its record.
int encBitString(RtxContext* ctxt, const char* name, const uint8_t* data, size_t numbits, bool fits = true);
int encCounted(RtxContext* ctxt, Site site, const char* name, unsigned countOctets, const uint8_t* data,
               size_t numocts, size_t capacity);
int encSized(RtxContext* ctxt, const char* name, const uint8_t* data, size_t numocts, bool fits, bool tail);
int encCloseBits(RtxContext* ctxt, Site site, unsigned bits, const OpenLength& length, uint32_t* count);
int encLeadBit(RtxContext* ctxt, Site site, const char* kind, bool bit);
int encSelector(RtxContext* ctxt, Site site, unsigned bits, uint32_t selector);
int encIei(RtxContext* ctxt, Site site, unsigned bits, uint32_t iei);

class Encoder : public Codec {
public:
   using OpenLength = frame::OpenLength;
   using Codec::Codec;

   // Fields of fixed width, one behind the other.
   template <class... Parts>
   L3_INLINE int fields(const Parts&... parts) {
      uint64_t word;
      if (giveAll(word, parts...) && put<totalBits<Parts...>()>(word)) [[likely]]
         return 0;
      return fieldsInFull<typename Parts::Part...>(lineOf(parts...), parts...);
   }

   // A placeholder of Bits bits; close() writes the octets of what stands behind it.
   template <unsigned Bits>
   L3_INLINE int open(const char* name, OpenLength& length, int line = __builtin_LINE()) {
      if constexpr (Bits == 8 || Bits == 16) {
         if (isPlain(ctxt_) && hasOctets(ctxt_, Bits / 8)) [[likely]] {
            ctxt_->bufData[ctxt_->bufByteIndex] = 0;
            if constexpr (Bits == 16) ctxt_->bufData[ctxt_->bufByteIndex + 1] = 0;
            ctxt_->bufByteIndex += Bits / 8;
            length.start = cursorBits(ctxt_);
            return 0;
         }
      } else if (put<Bits>(0)) [[likely]] {
         length.start = cursorBits(ctxt_);
         return 0;
      }
      return encOpenInFull(ctxt_, site(line), name, Bits, length);
   }

   // Closing step: no padding behind an open tail, which must have ended on an octet boundary; else padding
   // to the next octet. The bound is tested with the octets written.
   template <unsigned Bits, bool KeepTail = false, class T>
   L3_INLINE int close(const OpenLength& length, T& value, const Limits& limits,
                       int line = __builtin_LINE()) {
      uint32_t count;
      if ((Bits == 8 || Bits == 16) && isPlain(ctxt_) && ctxt_->bufBitsLeft == 8 && length.start % 8 == 0 &&
          ctxt_->bufByteIndex <= ctxt_->bufSize) [[likely]] {
         if constexpr (!KeepTail) ctxt_->flags &= ~RTX_CTXT_RAW_TAIL;
         const size_t start = length.start / 8;
         count = static_cast<uint32_t>(ctxt_->bufByteIndex - start);
         if constexpr (Bits == 16) ctxt_->bufData[start - 2] = static_cast<uint8_t>(count >> 8);
         ctxt_->bufData[start - 1] = static_cast<uint8_t>(count);
      } else {
         L3_TRY(encCloseInFull(ctxt_, site(line), Bits, length, &count, KeepTail));
      }
      value = static_cast<T>(count);
      if (!limits.allow(count) || count >> Bits != 0) return RTX_E_CONSTRAINT;
      return 0;
   }

   template <class Type>
   L3_INLINE int enumeration(uint32_t value, int line = __builtin_LINE()) {
      if (!Type::legalInRecord(value)) return RTX_E_BAD_ENUM;
      if (put<Type::bits>(value)) [[likely]]
         return 0;
      return encEnumeration(ctxt_, site(line), value, Type::bits);
   }
   template <unsigned Bits>
   int constant(const char* name, uint32_t value, int line = __builtin_LINE()) {
      return fields(integer<Bits>(name, value, line));
   }

   // A length of 4 bits: a half octet behind it drops out of the count. A bound failure is logged.
   template <class T>
   int closeNibble(const OpenLength& length, T& value, const Limits& limits, int line = __builtin_LINE()) {
      uint32_t count = 0;
      L3_TRY(encCloseInFull(ctxt_, site(line), 4, length, &count, false));
      value = static_cast<T>(count);
      return limits.allow(count) && count < 16 ? 0 : failBound(ctxt_, count, site(line));
   }
   void setTail() { rtxCtxtSetFlag(ctxt_, RTX_CTXT_RAW_TAIL); }

   // A length of Bits bits that counts the bits behind it.
   template <unsigned Bits, class T>
   int closeBits(const OpenLength& length, T& value, int line = __builtin_LINE()) {
      uint32_t count = 0;
      L3_TRY(encCloseBits(ctxt_, site(line), Bits, length, &count));
      value = static_cast<T>(count);
      return count < (1u << Bits) ? 0 : RTX_E_CONSTRAINT;
   }
   // On to the next octet, if the cursor is inside one.
   void align() {
      if (ctxt_->bufBitsLeft != 8) {
         ++ctxt_->bufByteIndex;
         ctxt_->bufBitsLeft = 8;
      }
   }

   // A nested codec under its element name.
   template <class Function, class... Arguments>
   L3_INLINE int item(const char* name, Function function, Arguments... arguments) {
      return nested(0, name, function, arguments...);
   }

   // The codec of a type, in short form if that will do.
   template <class Type, class... Arguments>
   L3_INLINE int item(const char* name, Arguments... arguments) {
      if constexpr (HasShortEncoder<Type>) {
         if (encodeShort<Type>(ctxt_, arguments...)) [[likely]]
            return 0;
         return inFull(ctxt_, file_, name, Type::encode, arguments...);
      } else {
         return nested(0, name, Type::encode, arguments...);
      }
   }
   template <class Type, class... Arguments>
   L3_INLINE int call(Arguments... arguments) {
      return Type::encode(ctxt_, arguments...);
   }
   template <class Type, class... Arguments>
   L3_INLINE int same(Arguments... arguments) {
      return Codec::same(Type::encode, arguments...);
   }

   // Bits under a trace field of their own kind, without an element name.
   template <unsigned Bits>
   int tracedBits(const char* kind, uint32_t value, int line = __builtin_LINE()) {
      return traced(
            kind, [&] { return rtxEncBits(ctxt_, value, Bits); }, line);
   }

   // The octets of a PLMN.
   int plmn(const char* mcc, const char* mnc) {
      return traced("TBCDString", [&] { return rtx3GPPEnc_MCC_MNC(ctxt_, mcc, mnc); });
   }

   // Optional element of a message: IEI of 8 bits, then the element.
   template <unsigned Bits, class Type, class... Arguments>
   L3_INLINE int optional(const char* name, uint32_t iei, Arguments... arguments) {
      if constexpr (Bits == 8 && HasShortEncoder<Type>) {
         if (encodeShort<Behind<Type>>(ctxt_, iei, arguments...)) [[likely]]
            return 0;
         return optionalInFull(ctxt_, file_, name, iei, Type::encode, arguments...);
      } else if constexpr (Bits == 4 && requires { Type::bits; }) {
         // Both half octets in one piece.
         uint64_t word;
         if (halfOctet<Type>(word, arguments...) && put<8>(iei << 4 | word)) [[likely]]
            return 0;
         return optional<Bits>(name, iei, Type::encode, arguments...);
      } else {
         return optional<Bits>(name, iei, Type::encode, arguments...);
      }
   }
   // Optional element of a message: IEI of Bits bits, then the element.
   template <unsigned Bits, class Function, class... Arguments>
   L3_INLINE int optional(const char* name, uint32_t iei, Function function, Arguments... arguments) {
      L3_TRY(push(name));
      L3_TRY(encIei(ctxt_, site(0), Bits, iei));
      if (const int status = function(ctxt_, arguments...); status < 0) [[unlikely]]
         return fail(ctxt_, status, site(0));
      pop();
      return 0;
   }
   // An element that is its IEI alone.
   template <unsigned Bits>
   int optional(const char* name, uint32_t iei) {
      L3_TRY(push(name));
      L3_TRY(encIei(ctxt_, site(0), Bits, iei));
      pop();
      return 0;
   }

   // IEI of an element that is coded in place; its name stays pushed.
   template <unsigned Bits>
   int iei(const char* name, uint32_t iei) {
      L3_TRY(push(name));
      return encIei(ctxt_, site(0), Bits, iei);
   }

   template <size_t N>
   L3_INLINE int octets(const char* name, const uint8_t* data, int line = __builtin_LINE()) {
      if (isPlain(ctxt_) && hasOctets(ctxt_, N)) [[likely]] {
         std::memcpy(ctxt_->bufData + ctxt_->bufByteIndex, data, N);
         ctxt_->bufByteIndex += N;
         return 0;
      }
      return encOctets(ctxt_, site(line), name, data, N);
   }
   // Octets under a trace field of their own kind, without an element name.
   int tracedOctets(const char* kind, const void* data, size_t numocts, int line = __builtin_LINE());

   template <size_t N>
   int bits(const char* name, const uint8_t* data) {
      return encBitString(ctxt_, name, data, N);
   }

   template <unsigned CountOctets, class T>
   int counted(const char* name, const T& value, int line = __builtin_LINE()) {
      return encCounted(ctxt_, site(line), name, CountOctets, value.data, value.numocts, sizeof value.data);
   }
   template <unsigned CountOctets>
   int counted(const char* name, const RtxDynOctStr& value, int line = __builtin_LINE()) {
      return encCounted(ctxt_, site(line), name, CountOctets, value.data, value.numocts, kNoCapacity);
   }

   // Octets without a count on the wire; their number must be the one that other fields give.
   template <class T>
   int sized(const char* name, size_t numocts, const T& value) {
      const bool fits = value.numocts == numocts && value.numocts <= capacity(value);
      return encSized(ctxt_, name, value.data, numocts, fits, false);
   }
   template <class T>
   int fill(const char* name, const T& value) {
      return encSized(ctxt_, name, value.data, value.numocts, value.numocts <= capacity(value), false);
   }
   // The same as an open tail: sets RTX_CTXT_RAW_TAIL.
   template <class T>
   int tail(const char* name, const T& value) {
      return encSized(ctxt_, name, value.data, value.numocts, value.numocts <= capacity(value), true);
   }
   // Bits at the end; `tailOfBits` leaves the rest of the octet to whoever closes the element.
   template <class T>
   int restOfBits(const char* name, const T& value) {
      return encBitString(ctxt_, name, value.data, value.numbits, value.numbits <= bitCapacity(value));
   }
   template <class T>
   int tailOfBits(const char* name, const T& value) {
      if (value.numbits > bitCapacity(value)) return encBitString(ctxt_, name, value.data, 0, false);
      const int status = encBitString(ctxt_, name, value.data, value.numbits);
      rtxCtxtSetFlag(ctxt_, RTX_CTXT_RAW_TAIL);
      return status;
   }

   L3_INLINE int leadBit(const char* kind, bool bit, int line = __builtin_LINE()) {
      if (put<1>(bit)) [[likely]]
         return 0;
      return encLeadBit(ctxt_, site(line), kind, bit);
   }
   // The bit ahead of an octet of a chain, under the octet's name: 1 ends the chain.
   int extBit(const char* name, bool last, int line = __builtin_LINE()) {
      L3_TRY(push(name));
      L3_TRY(encLeadBit(ctxt_, site(line), "ext bit", last));
      pop();
      return 0;
   }
   template <class N, class T, class Function>
   int repeatExt(const char* name, N n, T* elem, Function encode, int line = __builtin_LINE()) {
      if (name != nullptr) L3_TRY(push(name));
      if (n != 0 && elem == nullptr) return fail(ctxt_, RTX_E_NULL, site(line));
      for (size_t i = 0; i < n; ++i) {
         L3_TRY(pushIndex(i));
         L3_TRY(encLeadBit(ctxt_, site(line), "ext bit", i + 1 == n));
         if (const int status = encode(*this, elem[i]); status < 0) return fail(ctxt_, status, site(line));
         popIndex(i);
      }
      if (name != nullptr) pop();
      return 0;
   }

   // Entries each led by a 1, and a 0 behind the last.
   template <class N, class T, class Function>
   int repeatFlags(const char* name, N n, T* elem, Function encode, int line = __builtin_LINE()) {
      if (name != nullptr) L3_TRY(push(name));
      if (n != 0 && elem == nullptr) return fail(ctxt_, RTX_E_NULL, site(line));
      for (size_t i = 0; i < n; ++i) {
         L3_TRY(pushIndex(i));
         L3_TRY(encLeadBit(ctxt_, site(line), "eol bit", true));
         if (const int status = encode(*this, elem[i]); status < 0) return fail(ctxt_, status, site(line));
         popIndex(i);
      }
      L3_TRY(encLeadBit(ctxt_, site(line), "eol bit", false));
      if (name != nullptr) pop();
      return 0;
   }

   int selector(unsigned bits, uint32_t t, int line = __builtin_LINE()) {
      return encSelector(ctxt_, site(line), bits, t);
   }

   // May no further optional element be added? Messages whose elements can leave the flag set ask this.
   bool tailOpen() const { return (ctxt_->flags & RTX_CTXT_RAW_TAIL) != 0; }

   // Repetition: the count is tested before anything is written.
   template <class N, class T, class Function>
   L3_INLINE int repeat(const char* name, N n, T* elem, const Limits& limits, Function encode,
                        int line = __builtin_LINE()) {
      return repeatTimes(name, n, n, elem, limits, encode, line);
   }
   // The same of octets, which the short form takes in one piece.
   template <class N, size_t Capacity, class Function>
   int repeatOctets(const char* name, N n, const uint8_t (&elem)[Capacity], const Limits& limits,
                    Function encode) {
      return repeat(name, n, elem, limits, encode);
   }
   template <class N, class T, class Function>
   L3_INLINE int repeatTimes(const char* name, size_t times, N n, T* elem, const Limits& limits,
                             Function encode, int line = __builtin_LINE()) {
      if (name != nullptr) L3_TRY(push(name));
      if (!limits.allow(times) || times > n) return RTX_E_CONSTRAINT;
      if (times != 0 && elem == nullptr) return fail(ctxt_, RTX_E_NULL, site(line));
      for (size_t i = 0; i < times; ++i) {
         L3_TRY(pushIndex(i));
         if (const int status = encode(*this, elem[i]); status < 0) [[unlikely]]
            return fail(ctxt_, status, site(line));
         popIndex(i);
      }
      if (name != nullptr) pop();
      return 0;
   }

protected:
   // The short form of an element behind its IEI.
   template <class Type>
   struct Behind {
      template <class... Arguments>
      static L3_INLINE uint8_t* shortEncode(uint8_t* at, uint8_t* end, RtxContext* ctxt, uint32_t iei,
                                            Arguments... arguments) {
         if (at == end) return nullptr;
         *at = static_cast<uint8_t>(iei);
         return Type::shortEncode(at + 1, end, ctxt, arguments...);
      }
   };

   static constexpr size_t kNoCapacity = ~size_t{0};
   template <class T>
   static constexpr size_t capacity(const T& value) {
      return sizeof value.data;
   }
   static constexpr size_t capacity(const RtxDynOctStr&) { return kNoCapacity; }
   template <class T>
   static constexpr size_t bitCapacity(const T& value) {
      return 8 * sizeof value.data;
   }
   static constexpr size_t bitCapacity(const RtxDynBitStr&) { return kNoCapacity; }

   template <class Function, class... Arguments>
   L3_COLD static int optionalInFull(RtxContext* ctxt, const char* file, const char* name, uint32_t iei,
                                     Function function, Arguments... arguments) {
      const InFull full(ctxt);
      return Encoder(ctxt, file).optional<8>(name, iei, function, arguments...);
   }

   // The value of an element of four bits.
   template <class Type>
   static L3_INLINE bool halfOctet(uint64_t& word, typename Type::Record* record) {
      return Type::bits == 4 && Record<Type>{nullptr, record}.give(word);
   }
   template <class Type>
   static L3_INLINE bool halfOctet(uint64_t& word, typename Type::Record value) {
      word = value & 15u;
      return Type::bits == 4 && Type::legalInRecord(value);
   }

   // N bits, if there is room. The rest of the last octet is cleared, as rtxEncBits does.
   template <unsigned N>
   L3_INLINE bool put(uint64_t value) {
      static_assert(N > 0 && N <= 56);
      if (!isPlain(ctxt_)) [[unlikely]]
         return false;
      if (const auto left = static_cast<unsigned>(ctxt_->bufBitsLeft); left != 8) {
         if (N <= left && ctxt_->bufByteIndex < ctxt_->bufSize) {
            uint8_t& octet = ctxt_->bufData[ctxt_->bufByteIndex];
            if ((octet & (0xFFu >> (8 - left))) == 0) {
               octet = static_cast<uint8_t>(octet | value << (left - N));
               advanceBits(ctxt_, N);
               return true;
            }
         }
         return putShifted(ctxt_, value, N);
      }
      constexpr unsigned octets = (N + 7) / 8;
      if (!hasOctets(ctxt_, octets)) [[unlikely]]
         return false;
      const uint64_t word = toBigEndian(value << (64 - N));
      std::memcpy(ctxt_->bufData + ctxt_->bufByteIndex, &word, octets);
      advanceBits(ctxt_, N);
      return true;
   }

   template <class... Parts>
   [[gnu::noinline, gnu::cold]] int fieldsInFull(int line, Parts... parts) {
      int status = 0;
      (void)(((status = parts.encode(ctxt_, site(line))) >= 0 && ++line) && ...);
      return status;
   }
};

// The words in full form alone: for what the short form has been tried on, smaller code.
class FullEncoder : public Encoder {
public:
   using Encoder::Encoder;

   template <class... Parts>
   int fields(const Parts&... parts) {
      return fieldsInFull<typename Parts::Part...>(lineOf(parts...), parts...);
   }
   template <class Type>
   int enumeration(uint32_t value, int line = __builtin_LINE()) {
      if (!Type::legalInRecord(value)) return RTX_E_BAD_ENUM;
      return encEnumeration(ctxt_, site(line), value, Type::bits);
   }
   template <unsigned Bits>
   int open(const char* name, OpenLength& length, int line = __builtin_LINE()) {
      return encOpenInFull(ctxt_, site(line), name, Bits, length);
   }
   template <unsigned Bits, bool KeepTail = false, class T>
   int close(const OpenLength& length, T& value, const Limits& limits, int line = __builtin_LINE()) {
      uint32_t count = 0;
      L3_TRY(encCloseInFull(ctxt_, site(line), Bits, length, &count, KeepTail));
      value = static_cast<T>(count);
      return !limits.allow(count) || count >> Bits != 0 ? RTX_E_CONSTRAINT : 0;
   }
   template <size_t N>
   int octets(const char* name, const uint8_t* data, int line = __builtin_LINE()) {
      return encOctets(ctxt_, site(line), name, data, N);
   }
   int leadBit(const char* kind, bool bit, int line = __builtin_LINE()) {
      return encLeadBit(ctxt_, site(line), kind, bit);
   }
   template <class Type, class... Arguments>
   int item(const char* name, Arguments... arguments) {
      return nested(0, name, Type::encode, arguments...);
   }
};

} // namespace quorva::frame

// The encoder of a type in both forms, from the template encode_TYPE; parameters and arguments in brackets.
#define L3_ENCODER(TYPE, SOURCE, PARAMETERS, ARGUMENTS)                                                      \
   L3_FULL_ENCODER(L3_COLD, TYPE, FullEncoder, SOURCE, PARAMETERS, ARGUMENTS)                                \
   uint8_t* shortEnc_##TYPE(uint8_t* at, uint8_t* end, RtxContext* pctxt, L3_BARE PARAMETERS) {              \
      quorva::frame::ShortEncoder e(at, end, pctxt);                                                         \
      const int status = encode_##TYPE(e, L3_BARE ARGUMENTS);                                                \
      return e.result(status);                                                                               \
   }

// The same of a type that mostly stands inside an octet: a short form goes on in it where it is, and who is
// in full himself takes the full form often enough that it isn't a rare one.
#define L3_ENCODER_AMONG_BITS(TYPE, SOURCE, PARAMETERS, ARGUMENTS)                                           \
   L3_FULL_ENCODER([[gnu::noinline]], TYPE, Encoder, SOURCE, PARAMETERS, ARGUMENTS)                          \
   int shortEncIn_##TYPE(quorva::frame::ShortEncoder& e, L3_BARE PARAMETERS) {                               \
      return encode_##TYPE(e, L3_BARE ARGUMENTS);                                                            \
   }                                                                                                         \
   uint8_t* shortEnc_##TYPE(uint8_t* at, uint8_t* end, RtxContext* pctxt, L3_BARE PARAMETERS) {              \
      quorva::frame::ShortEncoder e(at, end, pctxt);                                                         \
      const int status = shortEncIn_##TYPE(e, L3_BARE ARGUMENTS);                                            \
      return e.result(status);                                                                               \
   }

#define L3_FULL_ENCODER(ATTRIBUTE, TYPE, FULL, SOURCE, PARAMETERS, ARGUMENTS)                                \
   ATTRIBUTE static int fullEnc_##TYPE(RtxContext* pctxt, L3_BARE PARAMETERS) {                              \
      L3_TO_STREAM(NASEnc_##TYPE(pctxt, L3_BARE ARGUMENTS));                                                 \
      const quorva::frame::InFull inFull(pctxt);                                                             \
      quorva::frame::FULL e(pctxt, SOURCE);                                                                  \
      return encode_##TYPE(e, L3_BARE ARGUMENTS);                                                            \
   }                                                                                                         \
   int NASEnc_##TYPE(RtxContext* pctxt, L3_BARE PARAMETERS) {                                                \
      if (quorva::frame::encodeShort<quorva::type::TYPE>(pctxt, L3_BARE ARGUMENTS))                          \
         return quorva::frame::Codec(pctxt, SOURCE).done();                                                  \
      return fullEnc_##TYPE(pctxt, L3_BARE ARGUMENTS);                                                       \
   }
