// The short form of a whole element: words on plain octets, without names, trace, errors and container stack.
// Codecs by hand in words are compiled for those of decoder.h and encoder.h too. Whatever is out of the
// ordinary ends the short form; the full one then runs the element anew from its first octet, and finds what
// it is.
#pragma once

#include "quorva/rtx3GPP.h"
#include "runtime/nas/csn1.h"
#include "runtime/nas/tbcd.h"
#include "src/frame/fields.h"

#define L3_BARE(...) __VA_ARGS__

namespace quorva::frame {

// The end of the short form. The value is one that unlessMemory() hands on.
constexpr int kNotShort = RTX_E_NOMEM;

// What a codec by hand comes to in a form that it doesn't have: any other of its name is the better match.
#define L3_NO_SHORT_FORM(CODEC, SHORT_CODER)                                                                 \
   [[maybe_unused]] static int CODEC(SHORT_CODER&, ...) {                                                    \
      return quorva::frame::kNotShort;                                                                       \
   }

constexpr size_t kRest = ~size_t{0};

template <class Type>
concept HasShortDecoder = requires {
   Type::shortDecode;
};
template <class Type>
concept HasShortEncoder = requires {
   Type::shortEncode;
};

// Storage of a repetition without an upper bound: grows with what has been decoded. -10, not recorded.
int growArray(RtxContext* ctxt, void** elem, size_t used, size_t* capacity, size_t size);

// Octets of the input in memory of the heap, or null.
const uint8_t* heapCopy(RtxContext* ctxt, const uint8_t* octets, size_t count);

// Up to 8 octets as the high octets of a word.
uint64_t loadEnd(const uint8_t* octets, size_t count);
// And back, but for the first one.
void storeRest(uint8_t* octets, size_t count, uint64_t word);

// Most strings of a message are shorter than a call of memcpy is long.
L3_INLINE void copyOctets(void* to, const void* from, size_t count) {
   auto* out = static_cast<uint8_t*>(to);
   const auto* in = static_cast<const uint8_t*>(from);
   const auto ends = [&](auto word) L3_INLINE_LAMBDA {
      auto last = word;
      std::memcpy(&word, in, sizeof word);
      std::memcpy(&last, in + count - sizeof word, sizeof word);
      std::memcpy(out, &word, sizeof word);
      std::memcpy(out + count - sizeof word, &last, sizeof word);
   };
   if (count > 16) {
      std::memcpy(out, in, count);
   } else if (count >= 8) {
      ends(uint64_t{});
   } else if (count >= 4) {
      ends(uint32_t{});
   } else if (count != 0) {
      const uint8_t middle = in[count / 2], last = in[count - 1];
      out[0] = in[0];
      out[count / 2] = middle;
      out[count - 1] = last;
   }
}

// N octets, right aligned.
template <unsigned N>
L3_INLINE uint64_t loadOctets(const uint8_t* at) {
   static_assert(N >= 1 && N <= 7);
   if constexpr (N == 1) {
      return at[0];
   } else if constexpr (N == 2 || N == 3) {
      const uint64_t high = uint64_t{at[0]} << 8 | at[1];
      return N == 2 ? high : high << 8 | at[2];
   } else {
      const auto word = [](const uint8_t* p) L3_INLINE_LAMBDA {
         return uint32_t{p[0]} << 24 | uint32_t{p[1]} << 16 | uint32_t{p[2]} << 8 | p[3];
      };
      return uint64_t{word(at)} << (8 * (N - 4)) | word(at + N - 4); // overlapping
   }
}
template <unsigned N>
L3_INLINE void storeOctets(uint8_t* at, uint64_t value) {
   if constexpr (N <= 4) { // which compilers take for one store
      for (unsigned i = 0; i < N; ++i) at[i] = static_cast<uint8_t>(value >> 8 * (N - 1 - i));
   } else {
      const uint64_t word = toBigEndian(value << (64 - 8 * N));
      std::memcpy(at, &word, N);
   }
}

// What the bits ahead of a choice say: the place of the arm times 16, and how many of them are its own; 0 if
// no arm begins so. One for each value of as many bits as the longest arm has.
using ArmBits = uint8_t;

// What tells, outside of the entries of a list, that another one comes (TS 44.018, CSN.1).
enum class Led { ByOnes, ByZeros, ByHighs };

// A part of a structure that ends ahead of it: 0 or L, and nothing that is optional.
template <class T>
L3_INLINE void blank(T& value) {
   if constexpr (requires { value.m = {}; })
      value.m = {};
   else if constexpr (std::is_arithmetic_v<T>)
      value = 0;
}

// Octets that the record of a string has room for.
template <class T>
constexpr size_t capacityOf(const T& value) {
   return sizeof value.data;
}
constexpr size_t capacityOf(const RtxDynOctStr&) {
   return ~size_t{0};
}
constexpr size_t capacityOf(const RtxDynBitStr&) {
   return ~size_t{0} / 8;
}

// A message inside a short form, with the context's cursor: where it ends. What it merely reports is no
// failure; if it stopped, or something was on record before, null, and nothing is left behind.
const uint8_t* decodeInside(RtxContext* ctxt, const uint8_t* at, const uint8_t* end,
                            int (*decode)(RtxContext*, void*), void* value);
uint8_t* encodeInside(RtxContext* ctxt, uint8_t* at, int (*encode)(RtxContext*, void*), void* value);

// Leaves the container that ends there to the context. 0 or -10.
int leaveContainer(RtxContext* ctxt, const uint8_t* end, unsigned extra);
void takeContainersBack(RtxContext* ctxt, unsigned count);

// The words that leave nothing behind in the short form.
class ShortForm {
public:
   static constexpr bool kShort = true;

   explicit ShortForm(RtxContext* ctxt) : ctxt_(ctxt) {}

   RtxContext* ctxt() const { return ctxt_; }
   bool standard() const { return isStandard(ctxt_); }

   int begin(const char*) { return 0; }
   int done(int status = 0) { return status; }
   int push(const char*) { return 0; }
   void pop() {}
   int failed(int) { return kNotShort; }
   int badChoice() { return kNotShort; }
   int badBound(uint64_t) { return kNotShort; }
   int nothing(const char*) { return 0; }
   int pushIndex(size_t) { return 0; }
   void popIndex(size_t) {}

protected:
   RtxContext* ctxt_;
};

class ShortDecoder : public ShortForm {
public:
   // The end of the container around.
   struct Length {
      const uint8_t* outer;
      unsigned outerExtra;
   };

   ShortDecoder(const uint8_t* at, const uint8_t* end, RtxContext* ctxt)
         : ShortForm(ctxt), at_(at), end_(end), eight_(end - 8) {}

   // Where the element ends, or null.
   L3_INLINE const uint8_t* result(int status) const {
      const bool done = status >= 0 && used_ == 0;
      if (!done && quits_ != 0) [[unlikely]]
         takeContainersBack(ctxt_, quits_);
      return done ? at_ : nullptr;
   }

   size_t offset() const { return reinterpret_cast<uintptr_t>(at_) * 8 + used_; }

   // A structure that begins at an octet. Few octets are decoded from a copy, behind which eight more can be
   // loaded.
   static const uint8_t* structure(const uint8_t* at, const uint8_t* end, RtxContext* ctxt,
                                   int (*decode)(ShortDecoder&, void*), void* value);

   template <class... Parts>
   L3_INLINE int fields(const Parts&... parts) {
      uint64_t word;
      return take<totalBits<Parts...>()>(word) && takeAll(word, parts...) ? 0 : kNotShort;
   }
   // A read never passes the end of its container.
   template <class... Parts>
   L3_INLINE int fieldsIn(const Length&, const Parts&... parts) {
      return fields(parts...);
   }
   int within(const Length&) const { return 0; }
   template <class Type>
   L3_INLINE int enumeration(uint32_t& value) {
      uint64_t word;
      if (!take<Type::bits>(word)) return kNotShort;
      value = static_cast<uint32_t>(word);
      return Type::legalOnWire(value) ? 0 : kNotShort;
   }

   bool more() const { return at_ < end_ || used_ < extra_; }
   size_t restOctets() const { return (bitsLeft()) >> 3; }
   bool knows(unsigned release) const { return knowsRelease(ctxt_, release); }
   bool fits(const Length&, size_t nbits) const { return nbits <= bitsLeft(); }
   // One that is not there names no alternative.
   uint32_t bitAhead(unsigned n) const {
      if (n > bitsLeft()) return std::numeric_limits<int32_t>::max();
      const size_t bit = used_ + n - 1;
      return at_[bit / 8] >> (7 - bit % 8) & 1u;
   }

   template <unsigned Bits, class T>
   L3_INLINE int open(const char*, T& value, const Limits& limits, Length& length) {
      static_assert(Bits == 8 || Bits == 16);
      if (used_ != 0 || have() < Bits / 8) return kNotShort;
      const auto count = static_cast<uint32_t>(loadOctets<Bits / 8>(at_));
      if (!limits.allow(count)) return kNotShort;
      value = static_cast<T>(count);
      at_ += Bits / 8;
      return pushContainer(count, length);
   }
   L3_INLINE int pushContainer(size_t numocts, Length& length) {
      if (used_ != 0 || have() < numocts) return kNotShort;
      length = {end_, extra_};
      end_ = at_ + numocts;
      extra_ = 0;
      return 0;
   }
   L3_INLINE int close(const Length& length) {
      at_ = end_;
      used_ = 0;
      end_ = length.outer;
      extra_ = length.outerExtra;
      return 0;
   }
   // A length that counts bits.
   template <unsigned Bits, class T>
   int openBits(const char*, T& value, Length& length) {
      uint64_t count;
      if (!take<Bits>(count)) return kNotShort;
      value = static_cast<T>(count);
      return endAfter(count, length);
   }
   int closeBits(const Length& length) {
      end_ = length.outer;
      extra_ = length.outerExtra;
      return 0;
   }
   void align() {
      if (used_ != 0) ++at_;
      used_ = 0;
   }
   int skipBits(uint32_t count) {
      if (bitsLeft() < count) return kNotShort;
      at_ += (used_ + count) / 8;
      used_ = (used_ + count) % 8;
      return 0;
   }

   // A message inside.
   template <auto Decode, class T>
   int message(T* value) {
      if (used_ != 0 || extra_ != 0) return kNotShort;
      const uint8_t* behind = decodeInside(
            ctxt_, at_, end_, [](RtxContext* ctxt, void* v) { return Decode(ctxt, static_cast<T*>(v)); },
            value);
      if (behind == nullptr) return kNotShort;
      at_ = behind;
      return 0;
   }

   // The early way out of a length that counts bits, which leaves containers behind, as the exact form does:
   // all that are closed later on close the last one there is.
   bool atEnd() const { return at_ == end_ && used_ == extra_; }
   int quit(const Length& length) {
      const bool first = quits_++ == 0;
      L3_TRY(leaveContainer(ctxt_, first ? length.outer : left_, first ? length.outerExtra : leftExtra_));
      left_ = end_;
      leftExtra_ = extra_;
      return closeBits(length);
   }

   template <class Type, class... Arguments>
   L3_INLINE int call(Arguments... arguments) {
      if constexpr (requires { Type::shortDecodeIn; }) {
         return Type::shortDecodeIn(*this, arguments...);
      } else {
         if (used_ != 0) return kNotShort;
         const uint8_t* behind = Type::shortDecode(at_, end_, ctxt_, arguments...);
         if (behind == nullptr) [[unlikely]]
            return kNotShort;
         at_ = behind;
         return 0;
      }
   }
   template <class Type, class... Arguments>
   L3_INLINE int item(const char*, Arguments... arguments) {
      return call<Type>(arguments...);
   }
   template <size_t N>
   L3_INLINE int octets(const char*, uint8_t* data) {
      const uint8_t* from = takeOctets(N);
      if (from == nullptr) return kNotShort;
      std::memcpy(data, from, N);
      return 0;
   }
   bool octetAtHand() const { return true; }
   L3_INLINE int tracedOctets(const char*, void* data, size_t numocts) {
      const uint8_t* from = takeOctets(numocts);
      if (from == nullptr) return kNotShort;
      copyOctets(data, from, numocts);
      return 0;
   }
   template <unsigned Bits>
   L3_INLINE int tracedBits(const char*, uint8_t& value) {
      uint64_t word;
      if (!take<Bits>(word)) return kNotShort;
      value = static_cast<uint8_t>(word);
      return 0;
   }
   template <unsigned CountOctets, class T>
   L3_INLINE int counted(const char*, T& value, const Limits& limits) {
      size_t count;
      return takeCount<CountOctets>(count) && limits.allow(count) ? store(count, value) : kNotShort;
   }
   template <unsigned CountOctets>
   L3_INLINE int counted(const char*, RtxDynOctStr& value, const Limits& limits) {
      size_t count;
      return takeCount<CountOctets>(count) && limits.allow(count) ? toHeap(count, value) : kNotShort;
   }
   template <class T>
   L3_INLINE int sized(const char*, size_t numocts, T& value, const Limits& limits) {
      const size_t count = numocts == kRest ? restOctets() : numocts;
      return limits.allow(count) ? store(count, value) : kNotShort;
   }
   L3_INLINE int sized(const char*, size_t numocts, RtxDynOctStr& value, const Limits&) {
      const size_t count = numocts == kRest ? restOctets() : numocts;
      if (count != 0) return toHeap(count, value);
      value.numocts = 0;
      return 0;
   }

   int restOfBits(const char*, RtxDynBitStr& value) {
      const size_t count = bitsLeft();
      value.numbits = 0;
      if (count == 0) return 0;
      auto* copy = static_cast<uint8_t*>(rtxMemHeapAlloc(ctxt_, (count >> 3) + 1));
      if (copy == nullptr || takeBits(copy, count) < 0) return kNotShort;
      value.numbits = static_cast<uint32_t>(count);
      value.data = copy;
      return 0;
   }
   template <class T>
   int restOfBits(const char*, T& value) {
      const size_t count = bitsLeft();
      value.numbits = 0;
      if (count > 8 * sizeof value.data || takeBits(value.data, count) < 0) return kNotShort;
      value.numbits = static_cast<decltype(value.numbits)>(count);
      return 0;
   }

   L3_INLINE int leadBit(const char*, uint8_t& bit) {
      uint64_t word;
      if (!take<1>(word)) return kNotShort;
      bit = static_cast<uint8_t>(word);
      return 0;
   }
   L3_INLINE int extBit(const char* name, uint8_t& bit) { return leadBit(name, bit); }
   L3_INLINE int selector(unsigned bits, uint32_t& t) {
      t = 0;
      for (; bits != 0; --bits) {
         uint8_t bit = 0;
         L3_TRY(leadBit(nullptr, bit));
         t = t << 1 | bit;
      }
      ++t;
      return 0;
   }
   L3_INLINE int skipExtensions(uint8_t& ext) {
      if (ext != 0) [[likely]]
         return 0;
      ext = 1;
      for (;;) {
         const uint8_t* octet = takeOctets(1);
         if (octet == nullptr) return kNotShort;
         if ((*octet & 0x80) != 0) return 0;
      }
   }

   // Repetitions. The end of the data ends some of them in the full form; here it ends the short form.
   template <class N, class T, size_t Capacity, class Function>
   L3_INLINE int repeat(const char*, N& n, T (&elem)[Capacity], const Limits& limits, Function decode) {
      size_t count = 0;
      for (; more(); ++count) {
         const uint8_t* before = at_;
         if (count == Capacity || decode(*this, elem[count]) < 0 || at_ == before) return kNotShort;
      }
      return setCount(n, count, limits);
   }
   template <class N, size_t Capacity, class Function>
   L3_INLINE int repeatOctets(const char*, N& n, uint8_t (&elem)[Capacity], const Limits& limits, Function) {
      const size_t count = have();
      const uint8_t* from = count <= Capacity ? takeOctets(count) : nullptr;
      if (from == nullptr) return kNotShort;
      copyOctets(elem, from, count);
      return setCount(n, count, limits);
   }
   template <class N, class T, class Function>
   L3_INLINE int repeat(const char*, N& n, T*& elem, const Limits& limits, Function decode) {
      Growing<T> list;
      while (more()) {
         const uint8_t* before = at_;
         if (list.count == std::numeric_limits<N>::max()) return kNotShort;
         L3_TRY(append(list, decode));
         if (at_ == before) return kNotShort;
      }
      elem = list.elem();
      return setCount(n, list.count, limits);
   }
   template <class N, class T, size_t Capacity, class Function>
   L3_INLINE int repeatTimes(const char*, size_t times, N& n, T (&elem)[Capacity], const Limits& limits,
                             Function decode) {
      if (times > Capacity) return kNotShort;
      for (size_t i = 0; i < times; ++i) L3_TRY(decode(*this, elem[i]));
      return setCount(n, times, limits);
   }
   template <class N, class T, class Function>
   L3_INLINE int repeatTimes(const char*, size_t times, N& n, T*& elem, const Limits& limits,
                             Function decode) {
      Growing<T> list;
      while (list.count < times) L3_TRY(append(list, decode));
      elem = list.elem();
      return setCount(n, times, limits);
   }
   template <class N, class T, class Function>
   L3_INLINE int repeatExt(const char*, N& n, T*& elem, uint8_t& ext, Function decode) {
      Growing<T> list;
      do {
         L3_TRY(leadBit(nullptr, ext));
         L3_TRY(append(list, decode));
      } while (ext == 0);
      elem = list.elem();
      return setCount(n, list.count, Limits{});
   }
   template <class N, class T, class Function>
   L3_INLINE int repeatFlags(const char*, N& n, T*& elem, Function decode) {
      Growing<T> list;
      for (;;) {
         uint8_t flag = 0;
         L3_TRY(leadBit(nullptr, flag));
         if (flag == 0) break;
         L3_TRY(append(list, decode));
      }
      elem = list.elem();
      return setCount(n, list.count, Limits{});
   }

   // CSN.1

   // Out of line: there are thousands of places, none of which knows where in an octet it is.
   int bitIn();  // 1 or 0; negative if there is none
   int highIn(); // 1 for H
   template <class... Parts>
   L3_INLINE int partsIn(const Parts&... parts) {
      const int64_t word = takeIn(totalBits<Parts...>());
      return word >= 0 && takeAll(static_cast<uint64_t>(word), parts...) ? 0 : kNotShort;
   }
   template <bool High, size_t N>
   L3_INLINE int pattern(const ArmBits (&arms)[N], uint32_t& t) {
      return patternIn(arms, std::bit_width(N) - 1, High, t);
   }
   L3_INLINE int bits(size_t count, uint8_t* data) { return bitStringIn(count, count, data); }
   template <class T>
   L3_INLINE int sizedBits(size_t count, size_t capacity, T& value) {
      L3_TRY(bitStringIn(count, capacity, value.data));
      value.numbits = static_cast<decltype(value.numbits)>(count);
      return 0;
   }
   int unary(uint8_t& value);
   L3_INLINE int zeros(unsigned count) { return skipBits(count); }
   L3_INLINE int padding() {
      align();
      return 0;
   }
   int openUnits(unsigned bits, unsigned unit, unsigned more, Length& length, uint8_t& value);
   // Ends the container so many bits on, if the one around goes as far.
   int endAfter(uint64_t bits, Length& length);
   int closeUnits(const Length& length) {
      at_ = end_;
      used_ = extra_;
      return closeBits(length);
   }
   template <class T>
   L3_INLINE int repeatLed(Led how, uint64_t& n, T*& elem, int (*decode)(ShortDecoder&, void*)) {
      void* array = nullptr;
      L3_TRY(ledIn(how, n, array, sizeof(T), decode));
      elem = static_cast<T*>(array);
      return 0;
   }

   // The octets of a PLMN, the first octet's low nibble first.
   L3_INLINE int plmn(char* mcc, char* mnc) {
      const uint8_t* from = takeOctets(3);
      if (from == nullptr) return kNotShort;
      mcc[0] = tbcdToChar(from[0] & 15);
      mcc[1] = tbcdToChar(from[0] >> 4);
      mcc[2] = tbcdToChar(from[1] & 15);
      mnc[2] = tbcdToChar(from[1] >> 4);
      mnc[0] = tbcdToChar(from[2] & 15);
      mnc[1] = tbcdToChar(from[2] >> 4);
      mcc[3] = mnc[3] = 0;
      return 0;
   }
   // The next octets; null if they are not there, or the cursor is inside an octet.
   L3_INLINE const uint8_t* takeOctets(size_t count) {
      if (used_ != 0 || count > have()) return nullptr;
      const uint8_t* from = at_;
      at_ += count;
      return from;
   }

private:
   int64_t takeIn(unsigned count); // 56 at most; negative if they are not there
   L3_COLD int64_t takeLast(unsigned count);
   int patternIn(const ArmBits* arms, unsigned longest, bool high, uint32_t& t);
   int bitStringIn(size_t count, size_t capacity, uint8_t* data);
   int ledIn(Led how, uint64_t& n, void*& array, size_t size, int (*decode)(ShortDecoder&, void*));

   size_t have() const { return static_cast<size_t>(end_ - at_); }
   size_t bitsLeft() const { return have() * 8 - used_ + extra_; }
   // Are there N bits, which reach into so many octets?
   template <unsigned N>
   L3_INLINE bool has(unsigned octets) const {
      return have() >= octets || (extra_ != 0 && bitsLeft() >= N);
   }

   // Left aligned; the rest of the last octet is cleared.
   int takeBits(uint8_t* to, size_t count) {
      uint64_t word;
      for (; count >= 8; count -= 8) {
         if (!take<8>(word)) return kNotShort;
         *to++ = static_cast<uint8_t>(word);
      }
      if (count == 0) return 0;
      unsigned last = 0;
      for (unsigned shift = 7; count != 0; --count, --shift) {
         if (!take<1>(word)) return kNotShort;
         last |= static_cast<unsigned>(word) << shift;
      }
      *to = static_cast<uint8_t>(last);
      return 0;
   }
   template <unsigned N>
   L3_INLINE bool take(uint64_t& word) {
      static_assert(N > 0 && N <= 56);
      // A place inside the octet that only the data tells needs no code of its own for the octet's start.
      if (__builtin_constant_p(used_) && used_ == 0) {
         constexpr unsigned octets = (N + 7) / 8;
         if (!has<N>(octets)) return false;
         word = loadOctets<octets>(at_) >> (8 * octets - N);
         at_ += N / 8;
         used_ = N % 8;
         return true;
      }
      const unsigned total = used_ + N;
      if (!has<N>((total + 7) / 8)) return false;
      if constexpr (N <= 8) {
         const unsigned next = total > 8 ? at_[1] : 0u;
         word = ((unsigned{at_[0]} << 8 | next) >> (16 - total)) & lowBits(N);
      } else {
         word = loadEnd(at_, (total + 7) / 8) << used_ >> (64 - N);
      }
      at_ += total / 8;
      used_ = total % 8;
      return true;
   }
   template <unsigned CountOctets>
   L3_INLINE bool takeCount(size_t& count) {
      static_assert(CountOctets == 1 || CountOctets == 2);
      const uint8_t* from = takeOctets(CountOctets);
      if (from == nullptr) return false;
      count = loadOctets<CountOctets>(from);
      return true;
   }
   template <class T>
   L3_INLINE int store(size_t count, T& value) {
      const uint8_t* from = count <= sizeof value.data ? takeOctets(count) : nullptr;
      if (from == nullptr) return kNotShort;
      copyOctets(value.data, from, count);
      value.numocts = static_cast<decltype(value.numocts)>(count);
      return 0;
   }
   L3_INLINE int toHeap(size_t count, RtxDynOctStr& value) {
      const uint8_t* from = takeOctets(count);
      const uint8_t* copy = from == nullptr ? nullptr : heapCopy(ctxt_, from, count);
      if (copy == nullptr) return kNotShort;
      value.numocts = static_cast<uint32_t>(count);
      value.data = copy;
      return 0;
   }
   template <class N>
   L3_INLINE int setCount(N& n, size_t count, const Limits& limits) {
      n = static_cast<N>(count);
      return limits.allow(count) ? 0 : kNotShort;
   }

   template <class T>
   struct Growing {
      void* array = nullptr;
      size_t count = 0, capacity = 0;
      T* elem() const { return static_cast<T*>(array); }
   };
   template <class T, class Function>
   L3_INLINE int append(Growing<T>& list, Function decode) {
      if (list.count == list.capacity)
         L3_TRY(growArray(ctxt_, &list.array, list.count, &list.capacity, sizeof(T)));
      L3_TRY(decode(*this, list.elem()[list.count]));
      ++list.count;
      return 0;
   }

   const uint8_t* at_;
   const uint8_t* end_;   // of the innermost container
   const uint8_t* eight_; // up to here eight octets can be loaded
   unsigned used_ = 0;    // bits of the octet at hand that have been read
   unsigned extra_ = 0;   // bits of the octet behind the container that belong to it
   unsigned quits_ = 0;   // containers left behind; the last one that was quitted
   unsigned leftExtra_ = 0;
   const uint8_t* left_ = nullptr;
};

class ShortEncoder : public ShortForm {
public:
   // Where the contents begin.
   struct OpenLength {
      uint8_t* start;
      unsigned used = 0;
   };

   ShortEncoder(uint8_t* at, uint8_t* end, RtxContext* ctxt) : ShortForm(ctxt), at_(at), end_(end) {}

   L3_INLINE uint8_t* result(int status) const { return status >= 0 && used_ == 0 ? at_ : nullptr; }

   size_t offset() const { return reinterpret_cast<uintptr_t>(at_) * 8 + used_; }

   template <class... Parts>
   L3_INLINE int fields(const Parts&... parts) {
      uint64_t word;
      return giveAll(word, parts...) && put<totalBits<Parts...>()>(word) ? 0 : kNotShort;
   }
   template <class Type>
   L3_INLINE int enumeration(uint32_t value) {
      return Type::legalInRecord(value) && put<Type::bits>(value) ? 0 : kNotShort;
   }
   template <unsigned Bits>
   L3_INLINE int constant(const char* name, uint32_t value) {
      return fields(integer<Bits>(name, value));
   }

   template <unsigned Bits>
   L3_INLINE int open(const char*, OpenLength& length) {
      if constexpr (Bits == 8 || Bits == 16) {
         if (used_ != 0 || have() < Bits / 8) return kNotShort;
         storeOctets<Bits / 8>(at_, 0);
         at_ += Bits / 8;
      } else if (!put<Bits>(0)) {
         return kNotShort;
      }
      length = {at_, used_};
      return 0;
   }
   // A length that counts bits.
   template <unsigned Bits, class T>
   int closeBits(const OpenLength& length, T& value) {
      static_assert(Bits < 8);
      const size_t count = static_cast<size_t>(at_ - length.start) * 8 + used_ - length.used;
      if (count >> Bits != 0) return kNotShort;
      value = static_cast<T>(count);
      // The bits of the length end where the contents begin.
      const auto shifted = static_cast<unsigned>(count << (8 - length.used));
      if (length.used != 0) *length.start = static_cast<uint8_t>(*length.start | (shifted & 0xFF));
      if (length.used < Bits) length.start[-1] = static_cast<uint8_t>(length.start[-1] | shifted >> 8);
      return 0;
   }
   template <unsigned Bits, bool KeepTail = false, class T>
   L3_INLINE int close(const OpenLength& length, T& value, const Limits& limits) {
      if (used_ != 0) {
         if (tailOpen()) return kNotShort;
         align();
      }
      if constexpr (!KeepTail) ctxt_->flags &= ~RTX_CTXT_RAW_TAIL;
      const auto count = static_cast<uint32_t>(at_ - length.start);
      if (!limits.allow(count) || count >> Bits != 0) return kNotShort;
      storeOctets<Bits / 8>(length.start - Bits / 8, count);
      value = static_cast<T>(count);
      return 0;
   }
   L3_INLINE void align() {
      if (used_ != 0) ++at_;
      used_ = 0;
   }
   void setTail() { ctxt_->flags |= RTX_CTXT_RAW_TAIL; }
   bool tailOpen() const { return (ctxt_->flags & RTX_CTXT_RAW_TAIL) != 0; }

   L3_INLINE int iei(uint8_t iei) { return put<8>(iei) ? 0 : kNotShort; }

   template <auto Encode, class T>
   int message(T* value) {
      if (used_ != 0) return kNotShort;
      uint8_t* behind = encodeInside(
            ctxt_, at_, [](RtxContext* ctxt, void* v) { return Encode(ctxt, static_cast<T*>(v)); }, value);
      if (behind == nullptr) return kNotShort;
      at_ = behind;
      return 0;
   }

   template <class Type, class... Arguments>
   L3_INLINE int call(Arguments... arguments) {
      if constexpr (requires { Type::shortEncodeIn; }) {
         return Type::shortEncodeIn(*this, arguments...);
      } else {
         if (used_ != 0) return kNotShort;
         uint8_t* behind = Type::shortEncode(at_, end_, ctxt_, arguments...);
         if (behind == nullptr) [[unlikely]]
            return kNotShort;
         at_ = behind;
         return 0;
      }
   }
   template <class Type, class... Arguments>
   L3_INLINE int item(const char*, Arguments... arguments) {
      return call<Type>(arguments...);
   }
   template <size_t N>
   L3_INLINE int octets(const char*, const uint8_t* data) {
      uint8_t* to = takeOctets(N);
      if (to == nullptr) return kNotShort;
      std::memcpy(to, data, N);
      return 0;
   }
   L3_INLINE int tracedOctets(const char*, const void* data, size_t numocts) {
      return store(static_cast<const uint8_t*>(data), numocts);
   }
   template <unsigned Bits>
   L3_INLINE int tracedBits(const char*, uint32_t value) {
      return put<Bits>(value & lowBits(Bits)) ? 0 : kNotShort;
   }
   template <unsigned CountOctets, class T>
   L3_INLINE int counted(const char*, const T& value) {
      const size_t count = value.numocts;
      if (count > capacityOf(value) || count >> (8 * CountOctets) != 0) return kNotShort;
      uint8_t* to = takeOctets(CountOctets);
      if (to == nullptr) return kNotShort;
      storeOctets<CountOctets>(to, count);
      return store(value.data, count);
   }
   template <class T>
   L3_INLINE int sized(const char* name, size_t numocts, const T& value) {
      return value.numocts == numocts ? fill(name, value) : kNotShort;
   }
   template <class T>
   L3_INLINE int fill(const char*, const T& value) {
      return value.numocts <= capacityOf(value) ? store(value.data, value.numocts) : kNotShort;
   }
   template <class T>
   L3_INLINE int tail(const char* name, const T& value) {
      L3_TRY(fill(name, value));
      setTail();
      return 0;
   }

   template <class T>
   int restOfBits(const char*, const T& value) {
      if (value.numbits > 8 * capacityOf(value)) return kNotShort;
      return putBits(value.data, value.numbits);
   }
   template <class T>
   int tailOfBits(const char* name, const T& value) {
      L3_TRY(restOfBits(name, value));
      setTail();
      return 0;
   }

   L3_INLINE int leadBit(const char*, bool bit) { return put<1>(bit) ? 0 : kNotShort; }
   L3_INLINE int extBit(const char* name, bool last) { return leadBit(name, last); }
   L3_INLINE int selector(unsigned bits, uint32_t t) {
      while (bits-- != 0) L3_TRY(leadBit(nullptr, ((t - 1) >> bits & 1) != 0));
      return 0;
   }

   template <class N, class T, class Function>
   L3_INLINE int repeat(const char* name, N n, T* elem, const Limits& limits, Function encode) {
      return repeatTimes(name, n, n, elem, limits, encode);
   }
   template <class N, size_t Capacity, class Function>
   L3_INLINE int repeatOctets(const char*, N n, const uint8_t (&elem)[Capacity], const Limits& limits,
                              Function) {
      return n <= Capacity && limits.allow(n) ? store(elem, n) : kNotShort;
   }
   template <class N, class T, class Function>
   L3_INLINE int repeatTimes(const char*, size_t times, N n, T* elem, const Limits& limits, Function encode) {
      if (!limits.allow(times) || times > n || (times != 0 && elem == nullptr)) return kNotShort;
      for (size_t i = 0; i < times; ++i) L3_TRY(encode(*this, elem[i]));
      return 0;
   }
   template <class N, class T, class Function>
   L3_INLINE int repeatExt(const char*, N n, T* elem, Function encode) {
      if (n != 0 && elem == nullptr) return kNotShort;
      for (size_t i = 0; i < n; ++i) {
         L3_TRY(leadBit(nullptr, i + 1 == n));
         L3_TRY(encode(*this, elem[i]));
      }
      return 0;
   }
   template <class N, class T, class Function>
   L3_INLINE int repeatFlags(const char*, N n, T* elem, Function encode) {
      if (n != 0 && elem == nullptr) return kNotShort;
      for (size_t i = 0; i < n; ++i) {
         L3_TRY(leadBit(nullptr, true));
         L3_TRY(encode(*this, elem[i]));
      }
      return leadBit(nullptr, false);
   }

   // CSN.1

   int bitIn(bool bit);
   int highIn(bool high);
   template <class... Parts>
   L3_INLINE int partsIn(const Parts&... parts) {
      uint64_t word;
      return giveAll(word, parts...) && putIn(totalBits<Parts...>(), word) ? 0 : kNotShort;
   }
   int pattern(unsigned bits, unsigned count, bool high);
   L3_INLINE int bits(size_t count, const uint8_t* data) { return bitStringIn(count, data); }
   template <class T>
   L3_INLINE int sizedBits(size_t count, size_t capacity, const T& value) {
      return count > capacity || value.numbits != count ? kNotShort : bitStringIn(count, value.data);
   }
   int unary(unsigned value);
   L3_INLINE int zeros(unsigned count) { return putIn(count, 0) ? 0 : kNotShort; }
   // Spare bits are L to the end of the octet.
   int padding();
   int openUnits(unsigned bits, OpenLength& length);
   int closeUnits(unsigned bits, unsigned unit, unsigned less, const OpenLength& length, uint8_t& value);
   template <class T>
   L3_INLINE int repeatLed(Led how, uint64_t n, T* elem, int (*encode)(ShortEncoder&, void*)) {
      return ledIn(how, n, elem, sizeof(T), encode);
   }

   L3_INLINE int plmn(const char* mcc, const char* mnc) {
      uint8_t* to = takeOctets(3);
      if (to == nullptr) return kNotShort;
      if (!packPlmn(mcc, mnc, to)) return kNotShort;
      return 0;
   }
   // For a length that is written with what stands behind it.
   uint8_t* octetAhead(size_t count) const { return count <= have() ? at_ + count : at_; }
   // Room for the next octets; null if it is not there, or the cursor is inside an octet.
   L3_INLINE uint8_t* takeOctets(size_t count) {
      if (used_ != 0 || count > have()) return nullptr;
      uint8_t* to = at_;
      at_ += count;
      return to;
   }

private:
   bool putIn(unsigned count, uint64_t word);
   int bitStringIn(size_t count, const uint8_t* data);
   int ledIn(Led how, uint64_t n, void* array, size_t size, int (*encode)(ShortEncoder&, void*));

   size_t have() const { return static_cast<size_t>(end_ - at_); }

   L3_INLINE int store(const uint8_t* data, size_t count) {
      if (count == 0) return used_ == 0 ? 0 : kNotShort;
      uint8_t* to = data == nullptr ? nullptr : takeOctets(count);
      if (to == nullptr) return kNotShort;
      copyOctets(to, data, count);
      return 0;
   }
   int putBits(const uint8_t* from, size_t count) {
      if ((from == nullptr && count != 0) || have() * 8 < used_ + count) return kNotShort;
      for (; count >= 8; count -= 8)
         if (!put<8>(*from++)) return kNotShort;
      for (unsigned shift = 7; count != 0; --count, --shift)
         if (!put<1>(*from >> shift & 1u)) return kNotShort;
      return 0;
   }
   // The rest of the last octet is cleared.
   template <unsigned N>
   L3_INLINE bool put(uint64_t value) {
      static_assert(N > 0 && N <= 56);
      if (__builtin_constant_p(used_) && used_ == 0) {
         constexpr unsigned octets = (N + 7) / 8;
         if (have() < octets) return false;
         storeOctets<octets>(at_, value << (8 * octets - N));
         at_ += N / 8;
         used_ = N % 8;
         return true;
      }
      const unsigned total = used_ + N;
      const unsigned octets = (total + 7) / 8;
      if (have() < octets) return false;
      const uint64_t word = value << (64 - N) >> used_;
      at_[0] = static_cast<uint8_t>((at_[0] & (0xFF00u >> used_)) | word >> 56);
      if constexpr (N <= 8) {
         if (octets > 1) at_[1] = static_cast<uint8_t>(word >> 48);
      } else {
         storeRest(at_, octets, word);
      }
      at_ += total / 8;
      used_ = total % 8;
      return true;
   }

   uint8_t* at_;
   uint8_t* end_;
   unsigned used_ = 0; // bits of the octet at hand that have been written
};

// How far a short form may read: the end of the container around, or for a type that does not ask for it
// that of the buffer; null if there is no such form here.
L3_INLINE const uint8_t* findShortEnd(const RtxContext* ctxt, bool endsByItself) {
   if (!isPlain(ctxt)) return nullptr;
   size_t end = ctxt->bufSize;
   // By the standards nothing may reach beyond what is around it.
   if (!endsByItself || isStandard(ctxt)) {
      if ((ctxt->flags & kInFull) != 0) return nullptr;
      if (const hot::RtxContainer* top = hot::topContainer(ctxt)) {
         // What the full form finds behind the end of the buffer is a failure.
         if (top->byteIndex > end || top->bitsLeft != 8) return nullptr;
         end = top->byteIndex;
      }
   }
   return ctxt->bufByteIndex <= end ? ctxt->bufData + end : nullptr;
}
const uint8_t* shortEnd(const RtxContext* ctxt, bool endsByItself = false);
// The same for a message. If its elements do not ask for the end around them, the container may reach beyond
// the buffer, where a scan ends as it does at that of the container.
const uint8_t* messageEnd(const RtxContext* ctxt, bool elementsEnd);
template <class Type>
L3_INLINE const uint8_t* shortEndOf(const RtxContext* ctxt) {
   return shortEnd(
         ctxt, requires { Type::endsByItself; });
}
// Can a short form begin to write?
L3_INLINE bool canWriteShort(const RtxContext* ctxt) {
   return isPlain(ctxt) && ctxt->bufBitsLeft == 8 && (ctxt->flags & kInFull) == 0 &&
          ctxt->bufByteIndex <= ctxt->bufSize;
}

// An element in short form at the cursor; false if it has to be done in full.
template <class Type, class... Arguments>
L3_INLINE bool decodeShort(RtxContext* ctxt, const uint8_t* end, Arguments... arguments) {
   if (end == nullptr || ctxt->bufBitsLeft != 8) [[unlikely]]
      return false;
   const uint8_t* behind = Type::shortDecode(ctxt->bufData + ctxt->bufByteIndex, end, ctxt, arguments...);
   if (behind == nullptr) [[unlikely]]
      return false;
   ctxt->bufByteIndex = static_cast<size_t>(behind - ctxt->bufData);
   return true;
}

template <class Type, class... Arguments>
L3_INLINE bool encodeShort(RtxContext* ctxt, Arguments... arguments) {
   if (!canWriteShort(ctxt)) [[unlikely]]
      return false;
   const uint32_t flags = ctxt->flags;
   uint8_t* at = ctxt->bufData + ctxt->bufByteIndex;
   uint8_t* behind = Type::shortEncode(at, ctxt->bufData + ctxt->bufSize, ctxt, arguments...);
   if (behind == nullptr) [[unlikely]] {
      ctxt->flags = flags;
      return false;
   }
   ctxt->bufByteIndex += static_cast<size_t>(behind - at);
   return true;
}

} // namespace quorva::frame
