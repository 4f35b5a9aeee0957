// The words of decoders.
#pragma once

#include "quorva/rtx3GPP.h"
#include "src/frame/short.h"

namespace quorva::frame {

// Context flag, set while a decoder waits for a message inside it. Not one of the caller's flags.
constexpr uint32_t kMessageOpen = 0x00000001;

// The container of a length-delimited element, or of a frame in the middle of a record.
struct Length {
   size_t end; // bit offset
};

// Full forms, out of line.
L3_COLD int openInFull(RtxContext* ctxt, Site site, const char* name, unsigned bits, void* value,
                       unsigned bytes, const Limits& limits, bool push, Length& length);
L3_COLD int closeInFull(RtxContext* ctxt, Site site, Length length);
L3_COLD int decOctets(RtxContext* ctxt, Site site, const char* name, uint8_t* data, size_t numocts);
L3_COLD int decBitString(RtxContext* ctxt, const char* name, uint8_t* data, size_t capacity, size_t numbits);

// The status of a field, or -66 if it passed the end; without a length there is none.
L3_COLD int endOfField(RtxContext* ctxt, Site site, const Length* length, int status);

// Octets with an own count of `countOctets`. -16 for a count above `capacity` or outside the bounds, when the
// octets have been passed; above the capacity none is stored.
int decCounted(RtxContext* ctxt, Site site, const char* name, unsigned countOctets, uint8_t* data,
               size_t capacity, const Limits& limits, uint32_t* count);
int decCountedHeap(RtxContext* ctxt, Site site, const char* name, unsigned countOctets, const Limits& limits,
                   RtxDynOctStr* value);

// `numocts` octets, or with kRest all that the container has left. No trace field and no store for none.
int decSized(RtxContext* ctxt, Site site, const char* name, size_t numocts, uint8_t* data, size_t capacity,
             const Limits& limits, uint32_t* count);
int decSizedHeap(RtxContext* ctxt, Site site, const char* name, size_t numocts, RtxDynOctStr* value);
int decRestBits(RtxContext* ctxt, Site site, const char* name, RtxDynBitStr* value);
int decRestBitsInline(RtxContext* ctxt, Site site, const char* name, uint8_t* data, size_t capacity,
                      uint32_t* numbits);

// One bit ahead of a field: "ext bit", "optional bit", "choice selector".
int decLeadBit(RtxContext* ctxt, Site site, const char* kind, uint8_t* bit);
int decSelector(RtxContext* ctxt, Site site, unsigned bits, uint32_t* selector);
int skipExtensions(RtxContext* ctxt, Site site);

class Decoder : public Codec {
public:
   using Length = frame::Length;
   using Codec::Codec;

   // Fields of fixed width, one behind the other.
   template <class... Parts>
   L3_INLINE int fields(const Parts&... parts) {
      uint64_t word;
      if (peek<totalBits<Parts...>()>(word, std::numeric_limits<size_t>::max()) && takeAll(word, parts...))
            [[likely]] {
         advanceBits(ctxt_, totalBits<Parts...>());
         return 0;
      }
      return fieldsInFull<typename Parts::Part...>(nullptr, lineOf(parts...), parts...);
   }

   // The same among the contents of a length: the offset is compared with its end behind each.
   template <class... Parts>
   L3_INLINE int fieldsIn(const Length& length, const Parts&... parts) {
      uint64_t word;
      if (peek<totalBits<Parts...>()>(word, length.end) && takeAll(word, parts...)) [[likely]] {
         advanceBits(ctxt_, totalBits<Parts...>());
         return 0;
      }
      return fieldsInFull<typename Parts::Part...>(&length, lineOf(parts...), parts...);
   }

   // Has the cursor passed the end? Then -66.
   L3_INLINE int within(const Length& length, int line = __builtin_LINE()) {
      if (hot::bitOffset(ctxt_) > length.end) [[unlikely]]
         return fail(ctxt_, RTX_E_LENGTH_OVERRUN, site(line));
      return 0;
   }

   // Does the container have something left?
   L3_INLINE bool more() const { return hot::containerHasRemBits(ctxt_); }
   size_t restOctets() const {
      const int64_t bits = hot::containerRemBits(ctxt_);
      return bits > 0 ? static_cast<size_t>(bits) >> 3 : 0;
   }

   // Length of Bits bits, its bounds, and the container behind it. A failed bound returns directly, with the
   // trace field open and the name pushed: they tell the caller the place.
   template <unsigned Bits, class T>
   L3_INLINE int open(const char* name, T& value, const Limits& limits, Length& length,
                      int line = __builtin_LINE()) {
      static_assert(Bits == 8 || Bits == 16);
      if (isPlain(ctxt_) && hasOctets(ctxt_, Bits / 8)) [[likely]] {
         const uint8_t* at = ctxt_->bufData + ctxt_->bufByteIndex;
         uint32_t count = at[0];
         if constexpr (Bits == 16) count = count << 8 | at[1];
         if (limits.allow(count)) [[likely]] {
            value = static_cast<T>(count);
            ctxt_->bufByteIndex += Bits / 8;
            length.end = cursorBits(ctxt_) + size_t{8} * count;
            if (const int status = hot::pushContainerBytes(ctxt_, count); status < 0) [[unlikely]] {
               push(name);
               return fail(ctxt_, status, site(line));
            }
            return 0;
         }
      }
      return openInFull(ctxt_, site(line), name, Bits, &value, sizeof value, limits, true, length);
   }

   template <class Type>
   L3_INLINE int enumeration(uint32_t& value, int line = __builtin_LINE()) {
      uint64_t word;
      if (peek<Type::bits>(word, std::numeric_limits<size_t>::max())) [[likely]] {
         advanceBits(ctxt_, Type::bits);
         value = static_cast<uint32_t>(word);
      } else {
         L3_TRY(decEnumeration(ctxt_, site(line), &value, Type::bits));
      }
      return Type::legalOnWire(value) ? 0 : RTX_E_BAD_ENUM;
   }

   // Bits of a fixed value that the record doesn't keep; what they hold is not looked at.
   template <unsigned Bits>
   int constant(const char* name, uint32_t, int line = __builtin_LINE()) {
      uint32_t value = 0;
      return fields(integer<Bits>(name, value, line));
   }

   // A length of 4 bits, whose container begins behind it or behind a further field: see pushContainer. A
   // bound failure is logged.
   template <class T>
   int openNibble(const char* name, T& value, const Limits& limits, int line = __builtin_LINE()) {
      uint64_t word;
      if (peek<4>(word, std::numeric_limits<size_t>::max())) [[likely]] {
         advanceBits(ctxt_, 4);
         value = static_cast<T>(word);
      } else {
         Length unused;
         L3_TRY(openInFull(ctxt_, site(line), name, 4, &value, sizeof value, Limits{}, false, unused));
      }
      if (limits.allow(value)) return 0;
      L3_TRY(push(name));
      return failBound(ctxt_, value, site(line));
   }
   // The n-th bit behind the cursor, which stays; 0 if it is not there.
   uint32_t bitAhead(unsigned n) const {
      const size_t at = cursorBits(ctxt_) + n - 1;
      return at / 8 < ctxt_->bufSize ? ctxt_->bufData[at / 8] >> (7 - at % 8) & 1u : 0;
   }
   int pushContainer(size_t numocts, Length& length, int line = __builtin_LINE()) {
      length.end = hot::bitOffset(ctxt_) + 8 * numocts;
      if (const int status = hot::pushContainerBytes(ctxt_, numocts); status < 0)
         return fail(ctxt_, status, site(line));
      return 0;
   }

   // Length of Bits bits that counts bits.
   template <unsigned Bits, class T>
   int openBits(const char* name, T& value, Length& length, int line = __builtin_LINE()) {
      uint64_t word;
      if (peek<Bits>(word, std::numeric_limits<size_t>::max())) [[likely]] {
         advanceBits(ctxt_, Bits);
         value = static_cast<T>(word);
      } else {
         L3_TRY(openInFull(ctxt_, site(line), name, Bits, &value, sizeof value, Limits{}, false, length));
      }
      length.end = hot::bitOffset(ctxt_) + value;
      if (const int status = hot::pushContainerBits(ctxt_, value); status < 0)
         return fail(ctxt_, status, site(line));
      return 0;
   }
   // Such an element ends where it ends: nothing is skipped.
   int closeBits(const Length& length, int line = __builtin_LINE()) {
      L3_TRY(within(length, line));
      hot::popContainer(ctxt_);
      return 0;
   }
   // Bits that are not looked at, and leave no trace.
   int skipBits(uint32_t count, int line = __builtin_LINE()) {
      const int status = rtxSkipBits(ctxt_, count);
      return status < 0 ? failed(status, line) : 0;
   }
   // On to the next octet, if the cursor is inside one.
   void align() {
      if (ctxt_->bufBitsLeft != 8) {
         ++ctxt_->bufByteIndex;
         ctxt_->bufBitsLeft = 8;
      }
   }

   // What was not read is skipped without a word.
   L3_INLINE int close(const Length& length, int line = __builtin_LINE()) {
      if (!isPlain(ctxt_) || cursorBits(ctxt_) > length.end) [[unlikely]]
         return closeInFull(ctxt_, site(line), length);
      ctxt_->bufByteIndex = length.end / 8;
      ctxt_->bufBitsLeft = static_cast<int16_t>(8 - length.end % 8);
      hot::popContainer(ctxt_);
      return 0;
   }

   // A nested codec under its element name.
   template <class Function, class... Arguments>
   L3_INLINE int item(const char* name, Function function, Arguments... arguments) {
      return nested(0, name, function, arguments...);
   }
   // The codec of a type, in short form if that will do.
   template <class Type, class... Arguments>
   L3_INLINE int item(const char* name, Arguments... arguments) {
      if constexpr (HasShortDecoder<Type>) {
         if (decodeShort<Type>(ctxt_, shortEnd(ctxt_), arguments...)) [[likely]]
            return 0;
         return inFullItem<Type>(name, arguments...);
      } else {
         return nested(0, name, Type::decode, arguments...);
      }
   }
   // The same, the short form having been tried.
   template <class Type, class... Arguments>
   L3_INLINE int inFullItem(const char* name, Arguments... arguments) {
      return inFull(ctxt_, file_, name, Type::decode, arguments...);
   }
   template <class Type, class... Arguments>
   L3_INLINE int call(Arguments... arguments) {
      return Type::decode(ctxt_, arguments...);
   }
   template <class Type, class... Arguments>
   L3_INLINE int same(Arguments... arguments) {
      return Codec::same(Type::decode, arguments...);
   }

   // Is there another octet?
   bool octetAtHand() const { return ctxt_->bufByteIndex < ctxt_->bufSize; }

   // Bits under a trace field of their own kind, without an element name.
   template <unsigned Bits>
   int tracedBits(const char* kind, uint8_t& value, int line = __builtin_LINE()) {
      return traced(
            kind, [&] { return rtxDecBitsToByte(ctxt_, &value, Bits); }, line);
   }

   // The octets of a PLMN.
   int plmn(char* mcc, char* mnc) {
      return traced("TBCDString", [&] { return rtx3GPPDec_MCC_MNC(ctxt_, mcc, mnc); });
   }

   // A message that stands inside something else. What it merely reports (a wrong MAC, an unknown element, an
   // error from before) is no failure here: the outermost decoder reports it again. It is one if the decoding
   // stopped, that is if the message did not come to ended(). `reported` takes the status of one that did
   // not.
   template <class Function, class T>
   int inner(int line, Function function, T* record, int* reported = nullptr) {
      const uint32_t outer = ctxt_->flags & kMessageOpen;
      ctxt_->flags |= kMessageOpen;
      const int status = function(ctxt_, record);
      const bool stopped = (ctxt_->flags & kMessageOpen) != 0;
      ctxt_->flags = (ctxt_->flags & ~kMessageOpen) | outer;
      if (stopped && status < 0) return fail(ctxt_, status, site(line));
      if (reported != nullptr) *reported = status;
      return 0;
   }
   template <class Function, class T>
   int message(const char* name, Function function, T* record, int line = __builtin_LINE()) {
      L3_TRY(push(name));
      L3_TRY(inner(line, function, record));
      pop();
      return 0;
   }
   // The regular end of a message.
   L3_INLINE int ended(int status = 0) {
      ctxt_->flags &= ~kMessageOpen;
      return done(status);
   }

   // Fixed octet string. Its result is not looked at where something follows, which meets the
   // same end of the data.
   template <size_t N>
   L3_INLINE int octets(const char* name, uint8_t* data, int line = __builtin_LINE()) {
      if (isPlain(ctxt_) && hasOctets(ctxt_, N)) [[likely]] {
         std::memcpy(data, ctxt_->bufData + ctxt_->bufByteIndex, N);
         ctxt_->bufByteIndex += N;
         return 0;
      }
      return decOctets(ctxt_, site(line), name, data, N);
   }
   // Octets under a trace field of their own kind, without an element name.
   int tracedOctets(const char* kind, void* data, size_t numocts, int line = __builtin_LINE());

   template <size_t N>
   int bits(const char* name, uint8_t* data) {
      return decBitString(ctxt_, name, data, (N + 7) / 8, N);
   }

   template <unsigned CountOctets, class T>
   int counted(const char* name, T& value, const Limits& limits, int line = __builtin_LINE()) {
      uint32_t count = 0;
      const int status =
            decCounted(ctxt_, site(line), name, CountOctets, value.data, sizeof value.data, limits, &count);
      value.numocts = static_cast<decltype(value.numocts)>(count);
      return status;
   }
   template <unsigned CountOctets>
   int counted(const char* name, RtxDynOctStr& value, const Limits& limits, int line = __builtin_LINE()) {
      return decCountedHeap(ctxt_, site(line), name, CountOctets, limits, &value);
   }

   // `numocts` octets, inline or on the heap; kRest for all that is left.
   template <class T>
   int sized(const char* name, size_t numocts, T& value, const Limits& limits, int line = __builtin_LINE()) {
      uint32_t count = 0;
      const int status =
            decSized(ctxt_, site(line), name, numocts, value.data, sizeof value.data, limits, &count);
      value.numocts = static_cast<decltype(value.numocts)>(count);
      return status;
   }
   int sized(const char* name, size_t numocts, RtxDynOctStr& value, const Limits&,
             int line = __builtin_LINE()) {
      return decSizedHeap(ctxt_, site(line), name, numocts, &value);
   }
   int restOfBits(const char* name, RtxDynBitStr& value, int line = __builtin_LINE()) {
      return decRestBits(ctxt_, site(line), name, &value);
   }
   template <class T>
   int restOfBits(const char* name, T& value, int line = __builtin_LINE()) {
      uint32_t numbits = 0;
      const int status = decRestBitsInline(ctxt_, site(line), name, value.data, sizeof value.data, &numbits);
      value.numbits = static_cast<decltype(value.numbits)>(numbits);
      return status;
   }

   L3_INLINE int leadBit(const char* kind, uint8_t& bit, int line = __builtin_LINE()) {
      uint64_t word;
      if (peek<1>(word, std::numeric_limits<size_t>::max())) [[likely]] {
         advanceBits(ctxt_, 1);
         bit = static_cast<uint8_t>(word);
         return 0;
      }
      return decLeadBit(ctxt_, site(line), kind, &bit);
   }
   int selector(unsigned bits, uint32_t& t, int line = __builtin_LINE()) {
      return decSelector(ctxt_, site(line), bits, &t);
   }
   // The bit ahead of an octet of a chain, under the octet's name.
   int extBit(const char* name, uint8_t& bit, int line = __builtin_LINE()) {
      L3_TRY(push(name));
      L3_TRY(decLeadBit(ctxt_, site(line), "ext bit", &bit));
      pop();
      return 0;
   }

   // Entries that each have an ext bit, up to and with the first one where it is 1. A bit that is not there
   // ends the list without a failure.
   template <class N, class T, class Function>
   int repeatExt(const char* name, N& n, T*& elem, uint8_t& ext, Function decode,
                 int line = __builtin_LINE()) {
      if (name != nullptr) L3_TRY(push(name));
      void* array = nullptr;
      size_t count = 0, capacity = 0;
      do {
         if (!octetAtHand()) break;
         L3_TRY(decLeadBit(ctxt_, site(line), "ext bit", &ext));
         if (count == capacity)
            if (const int status = growArray(ctxt_, &array, count, &capacity, sizeof(T)); status < 0)
               return fail(ctxt_, status, site(line));
         L3_TRY(element(count, decode, static_cast<T*>(array)[count]));
         ++count;
      } while (ext == 0);
      n = static_cast<N>(count);
      elem = static_cast<T*>(array);
      if (name != nullptr) pop();
      return 0;
   }

   bool knows(unsigned release) const { return knowsRelease(ctxt_, release); }
   // Are so many bits left ahead of the end?
   bool fits(const Length& length, size_t nbits) const { return hot::bitOffset(ctxt_) + nbits <= length.end; }

   // Entries each led by a 1, with a 0 behind the last. The end of the data ends the list as a 0 does. Here,
   // as in the repetitions onto the heap below, an entry without memory returns directly, and the list's
   // owner records it.
   template <class N, class T, class Function>
   int repeatFlags(const char* name, N& n, T*& elem, Function decode, int line = __builtin_LINE()) {
      if (name != nullptr) L3_TRY(push(name));
      void* array = nullptr;
      size_t count = 0, capacity = 0;
      for (;;) {
         if (!octetAtHand()) break;
         uint8_t flag = 0;
         L3_TRY(decLeadBit(ctxt_, site(line), "eol bit", &flag));
         if (flag == 0) break;
         if (count == capacity) L3_TRY(growArray(ctxt_, &array, count, &capacity, sizeof(T)));
         L3_TRY(element(count, decode, static_cast<T*>(array)[count]));
         ++count;
      }
      n = static_cast<N>(count);
      elem = static_cast<T*>(array);
      if (name != nullptr) pop();
      return 0;
   }

   // What follows the mandatory part of a message without optional elements.
   int nonImperative(int shifts, int line = __builtin_LINE()) {
      if (!more()) return 0;
      if (const int status = rtx3GPPDecL3NonImperative(ctxt_, shifts); status < 0)
         return fail(ctxt_, status, site(line));
      return 0;
   }

   // Octets of a chain that nobody knows, up to and with the one that ends it.
   L3_INLINE int skipExtensions(uint8_t& ext, int line = __builtin_LINE()) {
      if (ext != 0) [[likely]]
         return 0;
      ext = 1;
      return frame::skipExtensions(ctxt_, site(line));
   }

   // Repetition to the end of the container into an inline array. -16 ahead of the store when the array is
   // full, and behind the loop when the count is out of bounds.
   template <class N, class T, size_t Capacity, class Function>
   L3_INLINE int repeat(const char* name, N& n, T (&elem)[Capacity], const Limits& limits, Function decode) {
      if (name != nullptr) L3_TRY(push(name));
      size_t count = 0;
      while (more()) {
         if (count == Capacity) return RTX_E_CONSTRAINT;
         const size_t before = hot::bitOffset(ctxt_);
         L3_TRY(element(count, decode, elem[count]));
         ++count;
         if (hot::bitOffset(ctxt_) == before) return RTX_E_CONSTRAINT; // an element that takes nothing
      }
      n = static_cast<N>(count);
      if (!limits.allow(count)) return RTX_E_CONSTRAINT;
      if (name != nullptr) pop();
      return 0;
   }

   // The same of octets, which the short form takes in one piece.
   template <class N, size_t Capacity, class Function>
   int repeatOctets(const char* name, N& n, uint8_t (&elem)[Capacity], const Limits& limits,
                    Function decode) {
      return repeat(name, n, elem, limits, decode);
   }

   // The same onto the heap.
   template <class N, class T, class Function>
   int repeat(const char* name, N& n, T*& elem, const Limits& limits, Function decode) {
      if (name != nullptr) L3_TRY(push(name));
      void* array = nullptr;
      size_t count = 0, capacity = 0;
      while (more()) {
         if (count == std::numeric_limits<N>::max()) return RTX_E_CONSTRAINT;
         if (count == capacity) L3_TRY(growArray(ctxt_, &array, count, &capacity, sizeof(T)));
         const size_t before = hot::bitOffset(ctxt_);
         L3_TRY(element(count, decode, static_cast<T*>(array)[count]));
         ++count;
         if (hot::bitOffset(ctxt_) == before) return RTX_E_CONSTRAINT;
      }
      n = static_cast<N>(count);
      elem = static_cast<T*>(array);
      if (!limits.allow(count)) return RTX_E_CONSTRAINT;
      if (name != nullptr) pop();
      return 0;
   }

   // Repetition `times` times; the bounds are tested behind the loop.
   template <class N, class T, size_t Capacity, class Function>
   L3_INLINE int repeatTimes(const char* name, size_t times, N& n, T (&elem)[Capacity], const Limits& limits,
                             Function decode) {
      if (name != nullptr) L3_TRY(push(name));
      for (size_t i = 0; i < times; ++i) {
         if (i == Capacity) return RTX_E_CONSTRAINT;
         L3_TRY(element(i, decode, elem[i]));
      }
      n = static_cast<N>(times);
      if (!limits.allow(times)) return RTX_E_CONSTRAINT;
      if (name != nullptr) pop();
      return 0;
   }
   template <class N, class T, class Function>
   int repeatTimes(const char* name, size_t times, N& n, T*& elem, const Limits& limits, Function decode) {
      if (name != nullptr) L3_TRY(push(name));
      void* array = nullptr;
      size_t capacity = 0;
      for (size_t i = 0; i < times; ++i) {
         if (i == capacity) L3_TRY(growArray(ctxt_, &array, i, &capacity, sizeof(T)));
         L3_TRY(element(i, decode, static_cast<T*>(array)[i]));
      }
      n = static_cast<N>(times);
      elem = static_cast<T*>(array);
      if (!limits.allow(times)) return RTX_E_CONSTRAINT;
      if (name != nullptr) pop();
      return 0;
   }

protected:
   template <class Function, class T>
   L3_INLINE int element(size_t index, Function decode, T& target, int line = __builtin_LINE()) {
      L3_TRY(pushIndex(index));
      if (const int status = decode(*this, target); status < 0) [[unlikely]]
         return fail(ctxt_, status, site(line));
      popIndex(index);
      return 0;
   }

   // The next N bits, right aligned, if they are there and end before `end`. The cursor stays.
   template <unsigned N>
   L3_INLINE bool peek(uint64_t& word, size_t end) const {
      static_assert(N > 0 && N <= 56);
      if (!isPlain(ctxt_)) [[unlikely]]
         return false;
      const size_t index = ctxt_->bufByteIndex;
      const unsigned skip = 8 - static_cast<unsigned>(ctxt_->bufBitsLeft);
      const size_t behind = index * 8 + skip + N;
      if (behind > ctxt_->bufSize * 8 || behind > end) [[unlikely]]
         return false;
      const uint8_t* at = ctxt_->bufData + index;
      if constexpr (N <= 8) {
         const unsigned next = skip + N > 8 ? at[1] : 0u;
         word = ((unsigned{at[0]} << 8 | next) >> (16 - skip - N)) & lowBits(N);
         return true;
      }
      uint64_t octets;
      const size_t room = ctxt_->bufSize - index;
      if (room >= 8) [[likely]] {
         std::memcpy(&octets, at, 8);
         octets = toBigEndian(octets);
      } else {
         octets = loadEnd(at, room);
      }
      word = octets << skip >> (64 - N);
      return true;
   }

   template <class... Parts>
   [[gnu::noinline, gnu::cold]] int fieldsInFull(const Length* length, int line, Parts... parts) {
      int status = 0;
      (void)(((status = endOfField(ctxt_, site(line), length, parts.decode(ctxt_, site(line)))) >= 0 &&
              ++line) &&
             ...);
      return status;
   }
};

// The words in full form alone: for what the short form has been tried on, smaller code.
class FullDecoder : public Decoder {
public:
   using Decoder::Decoder;

   template <class... Parts>
   int fields(const Parts&... parts) {
      return fieldsInFull<typename Parts::Part...>(nullptr, lineOf(parts...), parts...);
   }
   template <class... Parts>
   int fieldsIn(const Length& length, const Parts&... parts) {
      return fieldsInFull<typename Parts::Part...>(&length, lineOf(parts...), parts...);
   }
   template <class Type>
   int enumeration(uint32_t& value, int line = __builtin_LINE()) {
      L3_TRY(decEnumeration(ctxt_, site(line), &value, Type::bits));
      return Type::legalOnWire(value) ? 0 : RTX_E_BAD_ENUM;
   }
   template <unsigned Bits, class T>
   int open(const char* name, T& value, const Limits& limits, Length& length, int line = __builtin_LINE()) {
      return openInFull(ctxt_, site(line), name, Bits, &value, sizeof value, limits, true, length);
   }
   int close(const Length& length, int line = __builtin_LINE()) {
      return closeInFull(ctxt_, site(line), length);
   }
   template <size_t N>
   int octets(const char* name, uint8_t* data, int line = __builtin_LINE()) {
      return decOctets(ctxt_, site(line), name, data, N);
   }
   int leadBit(const char* kind, uint8_t& bit, int line = __builtin_LINE()) {
      return decLeadBit(ctxt_, site(line), kind, &bit);
   }
   template <class Type, class... Arguments>
   int item(const char* name, Arguments... arguments) {
      return nested(0, name, Type::decode, arguments...);
   }
};

} // namespace quorva::frame

// The decoder of a type in both forms, from the template decode_TYPE; parameters and arguments in brackets.
#define L3_DECODER(TYPE, SOURCE, PARAMETERS, ARGUMENTS)                                                      \
   L3_FULL_DECODER(L3_COLD, TYPE, FullDecoder, SOURCE, PARAMETERS, ARGUMENTS)                                \
   const uint8_t* shortDec_##TYPE(const uint8_t* at, const uint8_t* end, RtxContext* pctxt,                  \
                                  L3_BARE PARAMETERS) {                                                      \
      quorva::frame::ShortDecoder d(at, end, pctxt);                                                         \
      const int status = decode_##TYPE(d, L3_BARE ARGUMENTS);                                                \
      return d.result(status);                                                                               \
   }

// The same of a type that mostly stands inside an octet: a short form goes on in it where it is, and who is
// in full himself takes the full form often enough that it isn't a rare one.
#define L3_DECODER_AMONG_BITS(TYPE, SOURCE, PARAMETERS, ARGUMENTS)                                           \
   L3_FULL_DECODER([[gnu::noinline]], TYPE, Decoder, SOURCE, PARAMETERS, ARGUMENTS)                          \
   int shortDecIn_##TYPE(quorva::frame::ShortDecoder& d, L3_BARE PARAMETERS) {                               \
      return decode_##TYPE(d, L3_BARE ARGUMENTS);                                                            \
   }                                                                                                         \
   const uint8_t* shortDec_##TYPE(const uint8_t* at, const uint8_t* end, RtxContext* pctxt,                  \
                                  L3_BARE PARAMETERS) {                                                      \
      quorva::frame::ShortDecoder d(at, end, pctxt);                                                         \
      const int status = shortDecIn_##TYPE(d, L3_BARE ARGUMENTS);                                            \
      return d.result(status);                                                                               \
   }

#define L3_FULL_DECODER(ATTRIBUTE, TYPE, FULL, SOURCE, PARAMETERS, ARGUMENTS)                                \
   ATTRIBUTE static int fullDec_##TYPE(RtxContext* pctxt, L3_BARE PARAMETERS) {                              \
      L3_FROM_STREAM(NASDec_##TYPE(pctxt, L3_BARE ARGUMENTS));                                               \
      const quorva::frame::InFull inFull(pctxt);                                                             \
      quorva::frame::FULL d(pctxt, SOURCE);                                                                  \
      return decode_##TYPE(d, L3_BARE ARGUMENTS);                                                            \
   }                                                                                                         \
   int NASDec_##TYPE(RtxContext* pctxt, L3_BARE PARAMETERS) {                                                \
      if (quorva::frame::decodeShort<quorva::type::TYPE>(pctxt, quorva::frame::shortEnd(pctxt),              \
                                                         L3_BARE ARGUMENTS))                                 \
         return quorva::frame::Codec(pctxt, SOURCE).done();                                                  \
      return fullDec_##TYPE(pctxt, L3_BARE ARGUMENTS);                                                       \
   }
