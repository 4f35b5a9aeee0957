// The words of decoders in the exact form, which those by hand take when the short form has failed.
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

// The words that need no type, out of line. A failed bound of a length returns directly, with the trace field
// open and the name pushed: they tell the caller the place.
L3_COLD int openInFull(RtxContext* ctxt, const char* name, unsigned bits, void* value, unsigned bytes,
                       const Limits& limits, bool push, Length& length);
// In standard mode what says how long it is must lie in the container at hand: -66, or -2 at the data's end.
int mustHold(RtxContext* ctxt, size_t numocts);
// What was not read is skipped without a word.
L3_COLD int closeInFull(RtxContext* ctxt, Length length);
// Fixed octet strings. Their result is not looked at where something follows, which meets the same end of the
// data.
L3_COLD int decOctets(RtxContext* ctxt, const char* name, uint8_t* data, size_t numocts);
// Bits of a fixed number fail as a number does, under their name.
L3_COLD int decBitField(RtxContext* ctxt, const char* name, uint8_t* data, size_t numbits);

// Octets with an own count of `countOctets`. -16 for a count above `capacity` or outside the bounds, when the
// octets have been passed; above the capacity none is stored.
int decCounted(RtxContext* ctxt, const char* name, unsigned countOctets, uint8_t* data, size_t capacity,
               const Limits& limits, uint32_t* count);
int decCountedHeap(RtxContext* ctxt, const char* name, unsigned countOctets, const Limits& limits,
                   RtxDynOctStr* value);

// `numocts` octets, or with kRest all that the container has left. No trace field and no store for none.
int decSized(RtxContext* ctxt, const char* name, size_t numocts, uint8_t* data, size_t capacity,
             const Limits& limits, uint32_t* count);
int decSizedHeap(RtxContext* ctxt, const char* name, size_t numocts, RtxDynOctStr* value);
int decRestBits(RtxContext* ctxt, const char* name, RtxDynBitStr* value);
// `wanted` bits, or with kRest all that the container has left; -16 for more than `capacity`, with none
// stored.
int decBitsInline(RtxContext* ctxt, const char* name, uint8_t* data, size_t capacity, size_t wanted,
                  uint32_t* numbits);

// One bit ahead of a field: "ext bit", "optional bit", "choice selector".
int decLeadBit(RtxContext* ctxt, const char* kind, uint8_t* bit);
// The same for a bit that is H or L (TS 44.018, 1.3): 1 for H. An enumeration of the two. A number in as many
// H as it counts, with an L behind.
int decHighBit(RtxContext* ctxt, const char* kind, uint8_t* bit);
int decHighEnumeration(RtxContext* ctxt, uint32_t* value);
int decUnary(RtxContext* ctxt, const char* name, uint8_t* value);
int decSelector(RtxContext* ctxt, unsigned bits, uint32_t* selector);
int skipExtensions(RtxContext* ctxt);

class Decoder : public Codec {
public:
   using Length = frame::Length;
   using Codec::Codec;
   using Codec::item;

   // Fields of fixed width, one behind the other.
   template <class... Parts>
   L3_INLINE int fields(const Parts&... parts) {
      return fieldsIn(Length{std::numeric_limits<size_t>::max()}, parts...);
   }
   // The same among the contents of a length: the offset is compared with its end behind each.
   template <class... Parts>
   L3_INLINE int fieldsIn(const Length& length, const Parts&... parts) {
      uint64_t word;
      if (peek<totalBits<Parts...>()>(word, length.end) && takeAll(word, parts...)) [[likely]] {
         advanceBits(ctxt_, totalBits<Parts...>());
         return 0;
      }
      return fieldsInFull(length, parts...);
   }

   // Has the cursor passed the end? Then -66.
   L3_INLINE int within(const Length& length) {
      if (offset() > length.end) [[unlikely]]
         return failed(RTX_E_LENGTH_OVERRUN);
      return 0;
   }

   size_t restOctets() const {
      const int64_t bits = hot::containerRemBits(ctxt_);
      return bits > 0 ? static_cast<size_t>(bits) >> 3 : 0;
   }

   // Length of Bits bits, its bounds, and the container behind it.
   template <unsigned Bits, class T>
   int open(const char* name, T& value, const Limits& limits, Length& length) {
      return openInFull(ctxt_, name, Bits, &value, sizeof value, limits, true, length);
   }
   int pushContainer(size_t numocts, Length& length) {
      length.end = offset() + 8 * numocts;
      L3_TRY(mustHold(ctxt_, numocts));
      const int status = hot::pushContainerBytes(ctxt_, numocts);
      return status < 0 ? failed(status) : 0;
   }
   int close(const Length& length) { return closeInFull(ctxt_, length); }
   // Bits that are not looked at, and leave no trace.
   int skipBits(uint32_t count) {
      const int status = rtxSkipBits(ctxt_, count);
      return status < 0 ? failed(status) : 0;
   }

   template <class Type, class... Arguments>
   L3_INLINE int item(const char* name, Arguments... arguments) {
      return item(name, Type::decode, arguments...);
   }
   template <class Type, class... Arguments>
   L3_INLINE int call(Arguments... arguments) {
      return Type::decode(ctxt_, arguments...);
   }

   // Is there another octet?
   bool octetAtHand() const { return ctxt_->bufByteIndex < ctxt_->bufSize; }

   // Bits and octets under a trace field of their own kind, without an element name.
   template <unsigned Bits>
   int tracedBits(const char* kind, uint8_t& value) {
      return traced(kind, [&] { return rtxDecBitsToByte(ctxt_, &value, Bits); });
   }
   int tracedOctets(const char* kind, void* data, size_t numocts) {
      return traced(kind, [&] { return rtxReadBytes(ctxt_, static_cast<uint8_t*>(data), numocts); });
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
   int inner(Function function, T* record, int* reported = nullptr) {
      const uint32_t outer = ctxt_->flags & kMessageOpen;
      ctxt_->flags |= kMessageOpen;
      const int status = function(ctxt_, record);
      const bool stopped = (ctxt_->flags & kMessageOpen) != 0;
      ctxt_->flags = (ctxt_->flags & ~kMessageOpen) | outer;
      if (stopped && status < 0) return failed(status);
      if (reported != nullptr) *reported = status;
      return 0;
   }
   template <class Function, class T>
   int message(const char* name, Function function, T* record) {
      L3_TRY(push(name));
      L3_TRY(inner(function, record));
      pop();
      return 0;
   }
   // The regular end of a message.
   L3_INLINE int ended(int status = 0) {
      ctxt_->flags &= ~kMessageOpen;
      return done(status);
   }

   // The end of a message whose mandatory part is by hand: what is there still goes by its rows.
   template <class Message>
   L3_INLINE int optional(void* record) {
      return more() ? Message::decodeOptional(ctxt_, record) : ended();
   }

   template <size_t N>
   int octets(const char* name, uint8_t* data) {
      return decOctets(ctxt_, name, data, N);
   }
   template <class T>
   int sized(const char* name, size_t numocts, T& value, const Limits& limits) {
      uint32_t count = 0;
      const int status = decSized(ctxt_, name, numocts, value.data, sizeof value.data, limits, &count);
      value.numocts = static_cast<decltype(value.numocts)>(count);
      return status;
   }
   int sized(const char* name, size_t numocts, RtxDynOctStr& value, const Limits&) {
      return decSizedHeap(ctxt_, name, numocts, &value);
   }

   int leadBit(const char* kind, uint8_t& bit) { return decLeadBit(ctxt_, kind, &bit); }
   // The bit ahead of an octet of a chain, under the octet's name.
   int extBit(const char* name, uint8_t& bit) {
      L3_TRY(push(name));
      L3_TRY(leadBit("ext bit", bit));
      pop();
      return 0;
   }

   // What follows the mandatory part of a message without optional elements.
   int nonImperative(int shifts) {
      if (!more()) return 0;
      const int status = rtx3GPPDecL3NonImperative(ctxt_, shifts);
      return status < 0 ? failed(status) : 0;
   }

   // Repetition `times` times; the bounds are tested behind the loop. -16 ahead of the store when an inline
   // array is full. On the heap an entry without memory returns directly, and the list's owner records it.
   template <class N, class T, size_t Capacity, class Function>
   int repeatTimes(const char* name, size_t times, N& n, T (&elem)[Capacity], const Limits& limits,
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

private:
   template <class Function, class T>
   int element(size_t index, Function decode, T& target) {
      L3_TRY(pushIndex(index));
      if (const int status = decode(*this, target); status < 0) return failed(status);
      popIndex(index);
      return 0;
   }

   // The next N bits, right aligned, if they are there and end before `end`. The cursor stays.
   template <unsigned N>
   L3_INLINE bool peek(uint64_t& word, size_t end) const {
      static_assert(N > 0 && N <= 56);
      const size_t index = ctxt_->bufByteIndex;
      const unsigned skip = 8 - static_cast<unsigned>(ctxt_->bufBitsLeft);
      const size_t behind = index * 8 + skip + N;
      if (!isPlain(ctxt_) || behind > ctxt_->bufSize * 8 || behind > end) [[unlikely]]
         return false;
      word = loadEnd(ctxt_->bufData + index, (skip + N + 7) / 8) << skip >> (64 - N);
      return true;
   }

   template <class... Parts>
   L3_COLD int fieldsInFull(const Length& length, Parts... parts) {
      int status = 0;
      (void)(((status = partInFull(length, parts)) >= 0) && ...);
      return status;
   }
   // Of parts ahead of the one that fails nobody sees the names.
   template <class Part>
   int partInFull(const Length& length, const Part& part) {
      uint64_t word;
      if (peek<Part::bits>(word, length.end) && part.take(word)) {
         advanceBits(ctxt_, Part::bits);
         return 0;
      }
      L3_TRY(part.decode(ctxt_));
      return within(length);
   }
};

} // namespace quorva::frame

// The decoder of a type in both forms, from the template decode_TYPE; parameters and arguments in brackets.
// One that takes a Decoder alone has no short form.
#define L3_DECODER(TYPE, PARAMETERS, ARGUMENTS)                                                              \
   L3_NO_SHORT_FORM(decode_##TYPE, quorva::frame::ShortDecoder)                                              \
   L3_COLD static int fullDec_##TYPE(RtxContext* pctxt, L3_BARE PARAMETERS) {                                \
      L3_FROM_STREAM(NASDec_##TYPE(pctxt, L3_BARE ARGUMENTS));                                               \
      const quorva::frame::InFull inFull(pctxt);                                                             \
      quorva::frame::Decoder d(pctxt);                                                                       \
      return decode_##TYPE(d, L3_BARE ARGUMENTS);                                                            \
   }                                                                                                         \
   int NASDec_##TYPE(RtxContext* pctxt, L3_BARE PARAMETERS) {                                                \
      if ((pctxt->flags & quorva::frame::kTried) != 0)                                                       \
         pctxt->flags &= ~quorva::frame::kTried;                                                             \
      else if (quorva::frame::decodeShort<quorva::type::TYPE>(                                               \
                     pctxt, quorva::frame::shortEndOf<quorva::type::TYPE>(pctxt), L3_BARE ARGUMENTS))        \
         return quorva::frame::Codec(pctxt).done();                                                          \
      return fullDec_##TYPE(pctxt, L3_BARE ARGUMENTS);                                                       \
   }                                                                                                         \
   const uint8_t* shortDec_##TYPE(const uint8_t* at, const uint8_t* end, RtxContext* pctxt,                  \
                                  L3_BARE PARAMETERS) {                                                      \
      quorva::frame::ShortDecoder d(at, end, pctxt);                                                         \
      const int status = decode_##TYPE(d, L3_BARE ARGUMENTS);                                                \
      return d.result(status);                                                                               \
   }

// The same of a type that mostly stands inside an octet: a short form goes on in it where it is.
#define L3_DECODER_AMONG_BITS(TYPE, PARAMETERS, ARGUMENTS)                                                   \
   L3_DECODER(TYPE, PARAMETERS, ARGUMENTS)                                                                   \
   int shortDecIn_##TYPE(quorva::frame::ShortDecoder& d, L3_BARE PARAMETERS) {                               \
      return decode_##TYPE(d, L3_BARE ARGUMENTS);                                                            \
   }
