// The scan of the optional part of a message, TS 24.007, 11.2.
#pragma once

#include "src/frame/decoder.h"

namespace quorva::frame {

// What an element takes behind its IEI, for the skip of one that is out of order.
enum class Format { T, HalfOctet, TV, TLV, TLVE };

// Result of a message decoder behind its last octet: what has been recorded on the way, old errors included.
int messageStatus(RtxContext* ctxt);

// On plain octets the scan has a cursor of its own, which goes into the context for whatever is done in full.
class Scan {
public:
   // Bit n of `halfOctets`: the message has an element with the half-octet IEI n.
   Scan(const Decoder& decoder, unsigned halfOctets) : decoder_(decoder), halfOctets_(halfOctets) {
      comeBack();
   }

   // Reads the next IEI; false at the end, or on a failure: then finish() gives the message's result.
   L3_INLINE bool next() {
      if (end_ == nullptr) [[unlikely]]
         return nextAside();
      if (at_ >= end_) {
         goOut(false);
         const RtxContext* ctxt = decoder_.ctxt();
         return end(ctxt->errList.count == 0 ? 0 : messageStatus(decoder_.ctxt()));
      }
      octet_ = *at_++;
      iei_ = inside() ? octet_ >> 4 : octet_;
      return true;
   }
   unsigned iei() const { return iei_; }

   // Elements of the message: of a type, of a run, of a half octet behind its IEI, of the IEI alone, any
   // other.
   template <class Type, class... Arguments>
   L3_INLINE int item(const char* name, Arguments... arguments) {
      if constexpr (HasShortDecoder<Type>) {
         if (end_ != nullptr) [[likely]] {
            const uint8_t* behind = Type::shortDecode(at_, end_, decoder_.ctxt(), arguments...);
            if (behind != nullptr) [[likely]] {
               at_ = behind;
               return 0;
            }
         }
         goOut();
         return comeBack(decoder_.inFullItem<Type>(name, arguments...));
      } else {
         goOut();
         return comeBack(decoder_.item<Type>(name, arguments...));
      }
   }
   template <class... Parts>
   L3_INLINE int fields(const Parts&... parts) {
      if (end_ != nullptr) [[likely]] {
         ShortDecoder d(at_, end_, decoder_.ctxt());
         if (const uint8_t* behind = d.result(d.fields(parts...)); behind != nullptr) [[likely]] {
            at_ = behind;
            return 0;
         }
      }
      goOut();
      return comeBack(decoder_.fields(parts...));
   }
   template <class Part>
   L3_INLINE int half(const Part& part) {
      static_assert(Part::bits == 4);
      // The same IEI in an octet of its own has the half octet behind it.
      if (end_ != nullptr && inside() && takeAll(octet_ & 15, part)) [[likely]]
         return 0;
      goOut();
      return comeBack(decoder_.fields(part));
   }
   L3_INLINE int nothing(const char* name) { return end_ != nullptr ? 0 : decoder_.nothing(name); }
   template <class Function>
   L3_INLINE int other(Function decode) {
      goOut();
      return comeBack(decode());
   }

   // Is the element number k still to come? Elements behind it in the table have not been met then.
   bool expects(unsigned k) const { return order_ <= k; }
   void took(unsigned k) {
      order_ = k + 1;
      previous_ = iei_;
   }

   // An element out of order, or repeated. What stays in the input depends on its format: after T, half-octet
   // and TLV-E elements nothing is skipped, and the scan reads on in what should be their value.
   L3_INLINE int drop(Format format, size_t valueOctets, int line = __builtin_LINE()) {
      previous_ = iei_;
      goOut();
      return comeBack(dropElement(decoder_, format, valueOctets, line));
   }

   // An IEI that the message doesn't have.
   L3_INLINE int unknown(int line = __builtin_LINE()) {
      const unsigned last = previous_;
      previous_ = iei_;
      goOut();
      return comeBack(skipUnknown(decoder_, iei_, last, codeset_, line));
   }

   // The message's result: pops the type's name unless the scan failed.
   int finish() { return failed_ ? status_ : decoder_.ended(status_); }

protected:
   unsigned iei_ = 0;
   unsigned codeset_ = 0;

private:
   // Does the octet of the IEI hold more than it?
   bool inside() const { return (halfOctets_ >> (octet_ >> 4) & 1) != 0; }
   // The cursor of the context to where the scan is; behind the IEI that can be inside its octet.
   L3_INLINE void goOut() { goOut(inside()); }
   L3_INLINE void goOut(bool half) {
      if (end_ == nullptr) return;
      RtxContext* ctxt = decoder_.ctxt();
      ctxt->bufByteIndex = static_cast<size_t>(at_ - ctxt->bufData) - (half ? 1 : 0);
      if (half) ctxt->bufBitsLeft = 4;
   }
   // And back. From inside an octet the rest goes in full. There are elements that leave their container
   // behind, by whose end the rest of the message then goes.
   L3_INLINE int comeBack(int status = 0) {
      const RtxContext* ctxt = decoder_.ctxt();
      end_ = ctxt->bufBitsLeft == 8 ? shortEnd(ctxt) : nullptr;
      at_ = ctxt->bufData + ctxt->bufByteIndex;
      return status;
   }

   // With a copy, so that the scan itself needs no memory.
   L3_INLINE bool nextAside() {
      Scan copy(*this);
      const bool more = copy.nextInFull();
      *this = copy;
      return more;
   }
   L3_COLD bool nextInFull();
   L3_COLD static int dropElement(Decoder decoder, Format format, size_t valueOctets, int line);
   L3_COLD static int skipUnknown(Decoder decoder, unsigned iei, unsigned last, unsigned codeset, int line);
   bool end(int status) {
      status_ = status;
      return false;
   }
   bool stop(int status) {
      failed_ = true;
      return end(status);
   }

   Decoder decoder_;
   const uint8_t* at_ = nullptr;  // the scan's cursor, if there is an end
   const uint8_t* end_ = nullptr; // for short forms; null without them
   unsigned halfOctets_;
   unsigned octet_ = 0; // that of the IEI
   unsigned previous_ = 0;
   unsigned order_ = 0;
   int status_ = 0;
   bool failed_ = false;
};

// The scan of call control and session management, with codeset shifts, TS 24.007, 11.2.1.1.3: an octet with
// the high nibble 9, unless a half-octet element of the message has that IEI.
class ShiftScan : public Scan {
public:
   using Scan::Scan;

   L3_INLINE bool next() {
      while (Scan::next()) {
         if (iei_ >> 4 != 9) [[likely]]
            return true;
         // A non-locking shift, or one to a lower codeset, changes nothing: no element of another codeset is
         // known.
         if ((iei_ & 8) == 0 && (iei_ & 7) > codeset_) codeset_ = iei_ & 7;
      }
      return false;
   }
   // In a codeset other than 0 the message has no elements.
   unsigned iei() const { return codeset_ == 0 ? iei_ : kNone; }

private:
   static constexpr unsigned kNone = 0x100;
};

} // namespace quorva::frame

// One optional element of a message: its decoder, then its presence bits.
#define L3_OPTIONAL(IEI, K, FORMAT, OCTETS, DECODE, ...)                                                     \
   case IEI:                                                                                                 \
      if (scan.expects(K)) {                                                                                 \
         L3_TRY(DECODE);                                                                                     \
         __VA_ARGS__;                                                                                        \
         scan.took(K);                                                                                       \
      } else {                                                                                               \
         L3_TRY(scan.drop(quorva::frame::Format::FORMAT, OCTETS));                                           \
      }                                                                                                      \
      break;

// Elements that share an IEI: what arrives goes to the first of them that is still to come.
#define L3_TWIN(K, DECODE, ...)                                                                              \
   if (scan.expects(K)) {                                                                                    \
      L3_TRY(DECODE);                                                                                        \
      __VA_ARGS__;                                                                                           \
      scan.took(K);                                                                                          \
      break;                                                                                                 \
   }
