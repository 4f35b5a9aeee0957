// Messages on plain octets, without trace: mandatory part and scan go on a cursor of their own, each element in
// its short form. What will not do goes through the rows of the message, element by element, with the context's
// cursor; that finds the failure and its path. Messages are never done anew from their start.
#pragma once

#include "src/frame/encoder.h"
#include "src/frame/scan.h"
#include "src/walk/codec.h"

namespace quorva::frame {

class MessageDecoder : private Scan {
public:
   // `end`: of the container around, as shortEnd() tells.
   MessageDecoder(RtxContext* ctxt, const walk::Module& module, unsigned type, void* record, const uint8_t* end)
         : Scan(0, false), ctxt_(ctxt), module_(module), type_(type), record_(record),
           at_(ctxt->bufData + ctxt->bufByteIndex), end_(end) {}

   MessageDecoder(const MessageDecoder&) = default;

   // Fields of fixed width, from a row of the message on: a row each.
   template <class... Parts>
   L3_INLINE int fields(unsigned row, const Parts&... parts) {
      return tried(parts...) ? 0 : rows(row, sizeof...(Parts));
   }
   // The same of one row.
   template <class... Parts>
   L3_INLINE int swapped(unsigned row, const Parts&... parts) {
      return tried(parts...) ? 0 : rows(row, 1);
   }
   // A half octet behind its IEI. The same IEI in an octet of its own has the half octet behind it.
   template <class Part>
   L3_INLINE int half(unsigned row, const Part& part) {
      static_assert(Part::bits == 4);
      if (end_ != nullptr && inside() && takeAll(octet_ & 15, part)) [[likely]]
         return 0;
      return rows(row, 1);
   }
   template <class Type, class... Arguments>
   L3_INLINE int item(unsigned row, Arguments... arguments) {
      if constexpr (HasShortDecoder<Type>) {
         if (end_ != nullptr) [[likely]] {
            if (const uint8_t* behind = Type::shortDecode(at_, end_, ctxt_, arguments...)) [[likely]] {
               at_ = behind;
               if constexpr (requires { Type::leavesContainer; }) {
                  goOut(ctxt_, at_, false);
                  end_ = shortEnd(ctxt_);
               }
               return 0;
            }
         }
      }
      return rows(row, 1);
   }
   L3_INLINE int row(unsigned row) { return rows(row, 1); }
   // Anything else, in the words of elements.
   template <class Function>
   L3_INLINE int part(unsigned row, Function decode) {
      if (end_ != nullptr) [[likely]] {
         ShortDecoder d(at_, end_, ctxt_);
         if (const uint8_t* behind = d.result(decode(d))) [[likely]] {
            at_ = behind;
            return 0;
         }
      }
      return rows(row, 1);
   }

   template <bool Shifts>
   L3_INLINE bool next(unsigned halfOctets) {
      halfOctets_ = halfOctets;
      shifts_ = Shifts;
      do {
         if (end_ == nullptr) [[unlikely]]
            return nextAside();
         if (at_ >= end_) {
            goOut(ctxt_, at_, false);
            return end(ctxt_->errList.count == 0 ? 0 : messageStatus(ctxt_));
         }
         octet_ = *at_++;
         iei_ = inside() ? octet_ >> 4 : octet_;
      } while (Shifts && shifted());
      return true;
   }
   using Scan::expects;
   using Scan::iei;
   using Scan::took;

   // An element out of order, or repeated, by the row of one with its IEI.
   L3_INLINE int drop(unsigned row) {
      previous_ = iei_;
      return setPlace(dropAside(*this, row));
   }
   L3_INLINE int unknown() {
      const unsigned last = previous_;
      previous_ = iei_;
      return setPlace(skipAside(*this, last));
   }

   // The message's result behind the scan, and without one.
   int finish() {
      Decoder decoder(ctxt_, module_.decodeSource);
      return Scan::finish(decoder);
   }
   int finish(int shifts);

private:
   // Where the message is; without an end what follows goes by rows, with the context's cursor.
   struct Place {
      const uint8_t *at, *end;
      int status;
   };
   L3_INLINE int setPlace(const Place& place) {
      at_ = place.at;
      end_ = place.end;
      return place.status;
   }

   template <class... Parts>
   L3_INLINE bool tried(const Parts&... parts) {
      if (end_ == nullptr) [[unlikely]]
         return false;
      ShortDecoder d(at_, end_, ctxt_);
      const uint8_t* behind = d.result(d.fields(parts...));
      if (behind == nullptr) [[unlikely]]
         return false;
      at_ = behind;
      return true;
   }
   // Does the octet of the IEI hold more than it?
   L3_INLINE bool inside() const { return (halfOctets_ >> (octet_ >> 4) & 1) != 0; }

   // The context's cursor to a place; behind the IEI that can be inside its octet.
   static void goOut(RtxContext* ctxt, const uint8_t* at, bool half) {
      ctxt->bufByteIndex = static_cast<size_t>(at - ctxt->bufData) - (half ? 1 : 0);
      if (half) ctxt->bufBitsLeft = 4;
   }
   // And back. There are elements that leave their container behind, by whose end the rest of the message then
   // goes.
   static Place comeBack(const RtxContext* ctxt, int status) {
      return {ctxt->bufData + ctxt->bufByteIndex, ctxt->bufBitsLeft == 8 ? shortEnd(ctxt) : nullptr, status};
   }

   int begin();

   // Out of line, and with copies, so that the decoder itself needs no memory.
   L3_INLINE int rows(unsigned first, unsigned count) {
      const bool half = octet_ <= 0xFF && inside();
      return setPlace(rowsAside(ctxt_, module_, type_ << 16 | first, record_, end_ != nullptr ? at_ : nullptr,
                                half ? ~count : count));
   }
   static Place rowsAside(RtxContext* ctxt, const walk::Module& module, unsigned typeAndRow, void* record,
                          const uint8_t* at, unsigned count);
   static Place dropAside(MessageDecoder copy, unsigned row);
   static Place skipAside(MessageDecoder copy, unsigned last);
   L3_INLINE bool nextAside() {
      MessageDecoder copy(*this);
      const bool more = nextInFull(copy);
      *this = copy;
      return more;
   }
   static bool nextInFull(MessageDecoder& copy);

   MessageDecoder& operator=(const MessageDecoder& other) {
      Scan::operator=(other);
      at_ = other.at_;
      end_ = other.end_;
      octet_ = other.octet_;
      return *this;
   }

   RtxContext* ctxt_;
   const walk::Module& module_;
   unsigned type_;
   void* record_;
   const uint8_t* at_;
   const uint8_t* end_;
   unsigned octet_ = 0x100; // that of the IEI
};

class MessageEncoder {
public:
   // Where short forms may write.
   MessageEncoder(RtxContext* ctxt, const walk::Module& module, unsigned type, void* record)
         : ctxt_(ctxt), module_(module), type_(type), record_(record), buffer_(ctxt->bufData),
           at_(ctxt->bufData + ctxt->bufByteIndex), end_(ctxt->bufData + ctxt->bufSize) {}

   template <class... Parts>
   L3_INLINE int fields(unsigned row, const Parts&... parts) {
      return tried(parts...) ? 0 : rows(row, sizeof...(Parts));
   }
   template <class... Parts>
   L3_INLINE int swapped(unsigned row, const Parts&... parts) {
      return tried(parts...) ? 0 : rows(row, 1);
   }
   template <class Type, class... Arguments>
   L3_INLINE int item(unsigned row, Arguments... arguments) {
      if constexpr (HasShortEncoder<Type>)
         if (at_ != nullptr && put<Type>(at_, arguments...)) [[likely]]
            return 0;
      return rows(row, 1);
   }
   // Anything else, in the words of elements.
   template <class Function>
   L3_INLINE int part(unsigned row, Function encode) {
      if (at_ != nullptr) [[likely]] {
         const uint32_t flags = ctxt_->flags;
         ShortEncoder e(at_, end_, ctxt_);
         if (uint8_t* behind = e.result(encode(e))) [[likely]] {
            at_ = behind;
            return 0;
         }
         ctxt_->flags = flags;
      }
      return rows(row, 1);
   }

   // Optional element: IEI, then the element.
   template <unsigned Bits, class Type, class... Arguments>
   L3_INLINE int optional(unsigned row, uint32_t iei, Arguments... arguments) {
      if constexpr (Bits == 4 && requires { Type::bits; }) {
         // Both half octets in one piece.
         uint64_t word;
         if (at_ != nullptr && at_ != end_ && halfOctet<Type>(word, arguments...)) [[likely]] {
            *at_++ = static_cast<uint8_t>(iei << 4 | word);
            return 0;
         }
      } else if constexpr (Bits == 8 && HasShortEncoder<Type>) {
         if (at_ != nullptr && at_ != end_) [[likely]] {
            *at_ = static_cast<uint8_t>(iei);
            if (put<Type>(at_ + 1, arguments...)) [[likely]]
               return 0;
         }
      }
      return rows(row, 1);
   }
   // An element that is its IEI alone.
   template <unsigned Bits>
   L3_INLINE int optional(unsigned row, uint32_t iei) {
      if (Bits == 8 && at_ != nullptr && at_ != end_) [[likely]] {
         *at_++ = static_cast<uint8_t>(iei);
         return 0;
      }
      return rows(row, 1);
   }
   // May no further optional element be added? Messages whose elements can leave the flag set ask this.
   bool tailOpen() const { return (ctxt_->flags & RTX_CTXT_RAW_TAIL) != 0; }

   int finish() {
      if (at_ != nullptr) ctxt_->bufByteIndex = static_cast<size_t>(at_ - ctxt_->bufData);
      return Codec(ctxt_, module_.encodeSource).done();
   }

private:
   struct Place {
      uint8_t *at, *end;
      int status;
   };
   L3_INLINE int setPlace(const Place& place) {
      at_ = place.at;
      end_ = place.end;
      return place.status;
   }
   template <class... Parts>
   L3_INLINE bool tried(const Parts&... parts) {
      if (at_ == nullptr) [[unlikely]]
         return false;
      ShortEncoder e(at_, end_, ctxt_);
      uint8_t* behind = e.result(e.fields(parts...));
      if (behind == nullptr) [[unlikely]]
         return false;
      at_ = behind;
      return true;
   }
   template <class Type, class... Arguments>
   L3_INLINE bool put(uint8_t* at, Arguments... arguments) {
      const uint32_t flags = ctxt_->flags;
      uint8_t* behind = Type::shortEncode(at, end_, ctxt_, arguments...);
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

   static Place comeBack(const RtxContext* ctxt, int status) {
      return {canWriteShort(ctxt) ? ctxt->bufData + ctxt->bufByteIndex : nullptr, ctxt->bufData + ctxt->bufSize, status};
   }
   L3_INLINE int rows(unsigned first, unsigned count) {
      const size_t index = at_ != nullptr ? static_cast<size_t>(at_ - buffer_) : kNowhere;
      const int status = setPlace(rowsAside(ctxt_, module_, type_ << 16 | first, record_, index, count));
      buffer_ = ctxt_->bufData;
      return status;
   }
   static constexpr size_t kNowhere = ~size_t{0};
   static Place rowsAside(RtxContext* ctxt, const walk::Module& module, unsigned typeAndRow, void* record,
                          size_t index, unsigned count);

   RtxContext* ctxt_;
   const walk::Module& module_;
   unsigned type_;
   void* record_;
   const uint8_t* buffer_; // one that grows on demand may have moved when a short form ends
   uint8_t* at_;           // null: by rows, with the context's cursor
   uint8_t* end_;
};

// A message's codec on plain octets, or the one for all cases.
template <class Record>
L3_INLINE int decodePlain(RtxContext* ctxt, void* value, walk::MessageDecode plain,
                          int (*any)(RtxContext*, Record*)) {
   const uint8_t* end = ctxt->bufBitsLeft == 8 ? shortEnd(ctxt) : nullptr;
   return end != nullptr ? plain(ctxt, value, end) : any(ctxt, static_cast<Record*>(value));
}
template <class Record>
L3_INLINE int encodePlain(RtxContext* ctxt, void* value, walk::PlainCodec plain, int (*any)(RtxContext*, Record*)) {
   return canWriteShort(ctxt) ? plain(ctxt, value) : any(ctxt, static_cast<Record*>(value));
}

} // namespace quorva::frame

// An optional element of a message that is still to come: its decoder, then its presence bits. One with an IEI of
// its own stands alone; elements that share one: what arrives goes to the first of them that is still to come.
#define L3_ELEMENT(K, DECODE, ...)                                                                           \
   if (d.expects(K)) {                                                                                       \
      L3_TRY(DECODE);                                                                                        \
      __VA_ARGS__;                                                                                           \
      d.took(K);                                                                                             \
      break;                                                                                                 \
   }
