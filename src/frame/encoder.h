// The words of encoders.
#pragma once

#include "src/frame/fields.h"

namespace quorva::frame {

// An open length field: where its contents begin, as a bit offset.
struct OpenLength {
   size_t start;
};

// Full forms, out of line.
L3_COLD int encOpenInFull(RtxContext* ctxt, Site site, const char* name, unsigned bits, OpenLength& length);
L3_COLD int encCloseInFull(RtxContext* ctxt, Site site, unsigned bits, const OpenLength& length,
                           uint32_t* count, bool keepTail);
// The short form of a run that begins inside an octet; false if it can't be used.
bool putShifted(RtxContext* ctxt, uint64_t value, unsigned nbits);
L3_COLD int encOctets(RtxContext* ctxt, Site site, const char* name, const uint8_t* data, size_t numocts);
// -16, under the name, if the value does not fit its record.
int encBitString(RtxContext* ctxt, const char* name, const uint8_t* data, size_t numbits, bool fits = true);
int encCounted(RtxContext* ctxt, Site site, const char* name, unsigned countOctets, const uint8_t* data,
               size_t numocts, size_t capacity);
int encSized(RtxContext* ctxt, const char* name, const uint8_t* data, size_t numocts, bool fits, bool tail);
L3_COLD int encCloseBits(RtxContext* ctxt, Site site, unsigned bits, const OpenLength& length,
                         uint32_t* count);
int encLeadBit(RtxContext* ctxt, Site site, const char* kind, bool bit);
int encSelector(RtxContext* ctxt, Site site, unsigned bits, uint32_t selector);
int encIei(RtxContext* ctxt, Site site, unsigned bits, uint32_t iei);

class Encoder : public Codec {
public:
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

   int leadBit(const char* kind, bool bit, int line = __builtin_LINE()) {
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
   // The same of octets, in one piece if nothing can fail.
   template <class N, size_t Capacity, class Function>
   L3_INLINE int repeatOctets(const char* name, N n, const uint8_t (&elem)[Capacity], const Limits& limits,
                              Function encode) {
      if (n <= Capacity && limits.allow(n) && isPlain(ctxt_) && hasOctets(ctxt_, n)) [[likely]] {
         std::memcpy(ctxt_->bufData + ctxt_->bufByteIndex, elem, n);
         ctxt_->bufByteIndex += n;
         return 0;
      }
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

private:
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

   // N bits, if there is room. The rest of the last octet is cleared, as rtxEncBits does.
   template <unsigned N>
   L3_INLINE bool put(uint64_t value) {
      static_assert(N > 0 && N <= 56);
      if (!isPlain(ctxt_)) [[unlikely]]
         return false;
      if (ctxt_->bufBitsLeft != 8) return putShifted(ctxt_, value, N);
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

} // namespace quorva::frame
