// Messages on plain octets, without trace: mandatory part and scan go on a cursor of their own, each element
// in its short form. What will not do goes by the rows of the message, with the context's cursor: the rest of
// the message behind a mandatory element, one element of the scan. That finds the failure and its path.
// Messages are never done anew from their start.
#pragma once

#include "src/frame/encoder.h"
#include "src/frame/scan.h"
#include "src/walk/codec.h"

namespace quorva::frame {

// Its members have to stay in registers, so its place is never told: out-of-line functions get and give
// values.
class MessageDecoder {
public:
   // `end`: of the container around, as messageEnd() tells.
   L3_INLINE MessageDecoder(RtxContext* ctxt, const walk::Module& module, unsigned type, void* record,
                            const uint8_t* end)
         : ctxt_(ctxt), module_(module), type_(type), record_(record),
           at_(ctxt->bufData + ctxt->bufByteIndex), end_(end) {
      if (end == nullptr) __builtin_unreachable();
   }

   // The words of elements, each true if its short form did. The row of the mandatory part that comes next:
   L3_INLINE bool at(unsigned row) {
      row_ = row;
      return true;
   }
   template <class... Parts>
   L3_INLINE bool fields(const Parts&... parts) {
      return part([&](ShortDecoder& d) L3_INLINE_LAMBDA { return d.fields(parts...); });
   }
   // A half octet behind its IEI. The same IEI in an octet of its own has the half octet behind it.
   template <class Part>
   L3_INLINE bool half(const Part& part) {
      static_assert(Part::bits == 4);
      const unsigned octet = at_[-1];
      return octet > 15 && takeAll(octet & 15, part);
   }
   template <class Type, class... Arguments>
   L3_INLINE bool item(Arguments... arguments) {
      if constexpr (HasShortDecoder<Type>) {
         if (end_ == nullptr) [[unlikely]]
            return false;
         const uint8_t* behind = Type::shortDecode(at_, end_, ctxt_, arguments...);
         if (behind == nullptr) [[unlikely]]
            return false;
         at_ = behind;
         if constexpr (requires { Type::leavesContainer; }) {
            goOut(ctxt_, at_, false);
            end_ = shortEnd(ctxt_);
         }
         return true;
      } else {
         return false;
      }
   }
   L3_INLINE bool nothing() const { return end_ != nullptr; }
   template <class Function>
   L3_INLINE bool part(Function decode) {
      if (end_ == nullptr) [[unlikely]]
         return false;
      ShortDecoder d(at_, end_, ctxt_);
      const uint8_t* behind = d.result(decode(d));
      if (behind == nullptr) [[unlikely]]
         return false;
      at_ = behind;
      return true;
   }
   // The message from the row at hand on in the exact form, and its result.
   L3_INLINE int rest() const { return restInFull(ctxt_, module_, type_ << 16 | row_, record_, at_); }

   // The next IEI; false at the message's end.
   template <bool Shifts>
   L3_INLINE bool next(unsigned halfOctets) {
      if constexpr (!Shifts) codeset_ = 0;
      do {
         if (end_ == nullptr) [[unlikely]] {
            if (status_ == kUnderWay) goOn(nullptr);
            if (end_ == nullptr) return false;
         }
         if (at_ >= end_) return false;
         const unsigned octet = *at_++;
         iei_ = holdsHalf(halfOctets, octet) ? octet >> 4 : octet;
      } while (Shifts && Scan::isShift(iei_, codeset_));
      return true;
   }
   L3_INLINE unsigned iei() const { return codeset_ == 0 ? iei_ : Scan::kNone; }
   L3_INLINE bool expects(unsigned k) const { return taken_ < (k + 1) << 8; }
   L3_INLINE void took(unsigned k) { taken_ = (k + 1) << 8 | iei_; }

   // What is behind the IEI in the exact form: an element that is not for the short one, is out of order, or
   // is unknown.
   L3_INLINE void element() { goOn(at_); }

   // The message's result behind the scan, and without one.
   L3_INLINE int finish() const {
      if (end_ == nullptr) [[unlikely]]
         return status_;
      goOut(ctxt_, at_, false);
      return Decoder(ctxt_).ended(messageStatus(ctxt_));
   }
   L3_INLINE int finish(int shifts) const {
      goOut(ctxt_, at_, false);
      Decoder decoder(ctxt_);
      return decoder.more() ? behindLast(ctxt_, module_, type_, shifts) : decoder.ended();
   }

private:
   // Does the octet of an IEI hold more than it?
   static L3_INLINE bool holdsHalf(unsigned halfOctets, unsigned octet) {
      return (halfOctets >> (octet >> 4) & 1) != 0;
   }
   // The context's cursor to a place; behind the IEI that can be inside its octet.
   static void goOut(RtxContext* ctxt, const uint8_t* at, bool half) {
      ctxt->bufByteIndex = static_cast<size_t>(at - ctxt->bufData) - (half ? 1 : 0);
      if (half) ctxt->bufBitsLeft = 4;
   }

   // Where the short form can go on to, with codeset and elements taken, or the message's result.
   struct Scanned {
      const uint8_t* end;
      unsigned scanned;
      int status;
   };
   static Scanned scanInFull(RtxContext* ctxt, const walk::Module& module, void* record, const uint8_t* at,
                             uint64_t typeAndScanned);
   // From behind an IEI, or by the context's cursor, until the short form can go on.
   L3_INLINE void goOn(const uint8_t* behindIei) {
      const Scanned scanned =
            scanInFull(ctxt_, module_, record_, behindIei, uint64_t{type_} << 32 | codeset_ << 16 | taken_);
      at_ = ctxt_->bufData + ctxt_->bufByteIndex;
      end_ = scanned.end;
      taken_ = scanned.scanned & 0xFFFF;
      codeset_ = scanned.scanned >> 16;
      status_ = scanned.status;
   }
   static int restInFull(RtxContext* ctxt, const walk::Module& module, unsigned typeAndRow, void* record,
                         const uint8_t* at);
   // Octets behind the last element of a message without a scan.
   static int behindLast(RtxContext* ctxt, const walk::Module& module, unsigned type, int shifts);
   // The name under which what follows may fail.
   static int begin(RtxContext* ctxt, const walk::Module& module, unsigned type);

   RtxContext* ctxt_;
   const walk::Module& module_;
   unsigned type_;
   void* record_;
   const uint8_t* at_;
   const uint8_t* end_; // null: what follows goes by the context's cursor
   unsigned row_ = 0;
   unsigned iei_ = 0;
   unsigned codeset_ = 0;
   unsigned taken_ = 0; // order and IEI of the last element, an octet each
   static constexpr int kUnderWay = 1;
   int status_ = kUnderWay;
};

class MessageEncoder {
public:
   // Where short forms may write.
   MessageEncoder(RtxContext* ctxt, const walk::Module& module, unsigned type, void* record)
         : ctxt_(ctxt), module_(module), type_(type), record_(record), buffer_(ctxt->bufData),
           at_(ctxt->bufData + ctxt->bufByteIndex), end_(ctxt->bufData + ctxt->bufSize) {}

   // As those of the decoder; of optional elements too the row is told.
   L3_INLINE bool at(unsigned row) {
      row_ = row;
      return true;
   }
   template <class... Parts>
   L3_INLINE bool fields(const Parts&... parts) {
      return part([&](ShortEncoder& e) L3_INLINE_LAMBDA { return e.fields(parts...); });
   }
   template <class Type, class... Arguments>
   L3_INLINE bool item(Arguments... arguments) {
      if constexpr (HasShortEncoder<Type>)
         return put<Type>(at_, arguments...);
      else
         return false;
   }
   template <class Function>
   L3_INLINE bool part(Function encode) {
      const uint32_t flags = ctxt_->flags;
      ShortEncoder e(at_, end_, ctxt_);
      return took(e.result(encode(e)), flags);
   }

   // Optional element: IEI, then the element.
   template <unsigned Bits, class Type, class... Arguments>
   L3_INLINE bool optional(uint32_t iei, Arguments... arguments) {
      if (at_ == end_) [[unlikely]]
         return false;
      if constexpr (Bits == 4 && requires { Type::bits; }) {
         // Both half octets in one piece.
         uint64_t word;
         if (!halfOctet<Type>(word, arguments...)) return false;
         *at_++ = static_cast<uint8_t>(iei << 4 | word);
         return true;
      } else if constexpr (Bits == 8 && HasShortEncoder<Type>) {
         *at_ = static_cast<uint8_t>(iei);
         return put<Type>(at_ + 1, arguments...);
      } else {
         return false;
      }
   }
   // An element that is its IEI alone.
   template <unsigned Bits>
   L3_INLINE bool optional(uint32_t iei) {
      if (Bits != 8 || at_ == end_) return false;
      *at_++ = static_cast<uint8_t>(iei);
      return true;
   }
   // May no further optional element be added? Messages whose elements can leave the flag set ask this.
   bool tailOpen() const { return (ctxt_->flags & RTX_CTXT_RAW_TAIL) != 0; }

   // The optional element of the row at hand in the exact form: one that has no other.
   L3_INLINE int element() {
      const Place place =
            elementInFull(ctxt_, module_, type_ << 16 | row_, record_, static_cast<size_t>(at_ - buffer_));
      buffer_ = ctxt_->bufData;
      at_ = place.at;
      end_ = place.end;
      return place.status;
   }
   // The message from the row at hand on in the exact form, and its result. A buffer that grows on demand may
   // have moved meanwhile.
   L3_INLINE int rest() {
      return restInFull(ctxt_, module_, type_ << 16 | row_, record_, static_cast<size_t>(at_ - buffer_));
   }
   int finish() {
      ctxt_->bufByteIndex = static_cast<size_t>(at_ - ctxt_->bufData);
      return Codec(ctxt_).done();
   }

private:
   template <class Type, class... Arguments>
   L3_INLINE bool put(uint8_t* at, Arguments... arguments) {
      const uint32_t flags = ctxt_->flags;
      return took(Type::shortEncode(at, end_, ctxt_, arguments...), flags);
   }
   L3_INLINE bool took(uint8_t* behind, uint32_t flags) {
      if (behind == nullptr) [[unlikely]] {
         ctxt_->flags = flags;
         return false;
      }
      at_ = behind;
      return true;
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
   struct Place {
      uint8_t *at, *end;
      int status;
   };
   static Place elementInFull(RtxContext* ctxt, const walk::Module& module, unsigned typeAndRow, void* record,
                              size_t index);
   static int restInFull(RtxContext* ctxt, const walk::Module& module, unsigned typeAndRow, void* record,
                         size_t index);

   RtxContext* ctxt_;
   const walk::Module& module_;
   unsigned type_;
   void* record_;
   const uint8_t* buffer_;
   uint8_t* at_;
   uint8_t* end_;
   unsigned row_ = 0;
};

// A message that is one element, in short form or by the function for all cases.
template <class Type, class Record>
L3_INLINE int decodeOne(RtxContext* ctxt, void* value, const uint8_t* end, int (*any)(RtxContext*, Record*),
                        const walk::Module& module, unsigned type) {
   if (end == nullptr) return any(ctxt, static_cast<Record*>(value));
   if (!decodeShort<Type>(ctxt, end, value)) [[unlikely]]
      return walk::decodeExactly(ctxt, module, type, value);
   Decoder decoder(ctxt);
   if (ctxt->bufData + ctxt->bufByteIndex != end) [[unlikely]]
      L3_TRY(decoder.nonImperative(0));
   return decoder.ended();
}
template <class Type, class Record>
L3_INLINE int encodeOne(RtxContext* ctxt, void* value, int (*any)(RtxContext*, Record*)) {
   return !isStandard(ctxt) && encodeShort<Type>(ctxt, value) ? Codec(ctxt).done()
                                                              : any(ctxt, static_cast<Record*>(value));
}

// A message's encoder on plain octets, or the one for all cases.
template <class Record>
L3_INLINE int encodePlain(RtxContext* ctxt, void* value, walk::PlainCodec plain,
                          int (*any)(RtxContext*, Record*)) {
   return canWriteShort(ctxt) && !isStandard(ctxt) ? plain(ctxt, value)
                                                   : any(ctxt, static_cast<Record*>(value));
}

} // namespace quorva::frame

// An optional element of a message that is still to come: its decoder, then its presence bits. Of elements
// that share an IEI what arrives goes to the first of them that is still to come.
#define L3_ELEMENT(K, DECODE, ...)                                                                           \
   if (d.expects(K)) {                                                                                       \
      if (!(DECODE)) [[unlikely]]                                                                            \
         break;                                                                                              \
      __VA_ARGS__;                                                                                           \
      d.took(K);                                                                                             \
      continue;                                                                                              \
   }
