// The scan of the optional part of a message, TS 24.007, 11.2.
#pragma once

#include "src/frame/decoder.h"

namespace quorva::frame {

// What an element takes behind its IEI, for the skip of one that is out of order.
enum class Format { T, HalfOctet, TV, TLV, TLVE };

class Scan {
public:
   // Bit n of `halfOctets`: the message has an element with the half-octet IEI n.
   Scan(Decoder& decoder, unsigned halfOctets) : decoder_(decoder), halfOctets_(halfOctets) {}

   // Reads the next IEI; false at the end, or on a failure: then finish() gives the message's result.
   L3_INLINE bool next() {
      RtxContext* ctxt = decoder_.ctxt();
      if (isPlain(ctxt) && hasOctets(ctxt, 1) && decoder_.more()) [[likely]] {
         const unsigned octet = ctxt->bufData[ctxt->bufByteIndex];
         if ((halfOctets_ >> (octet >> 4) & 1) != 0) {
            iei_ = octet >> 4;
            ctxt->bufBitsLeft = 4;
         } else {
            iei_ = octet;
            ++ctxt->bufByteIndex;
         }
         return true;
      }
      return nextInFull();
   }
   unsigned iei() const { return iei_; }

   // Is the element number k still to come? Elements behind it in the table have not been met then.
   bool expects(unsigned k) const { return order_ <= k; }
   void took(unsigned k) {
      order_ = k + 1;
      previous_ = iei_;
   }

   // An element out of order, or repeated. What stays in the input depends on its format: after T, half-octet
   // and TLV-E elements nothing is skipped, and the scan reads on in what should be their value. Deliberate.
   int drop(Format format, size_t valueOctets, int line = __builtin_LINE());

   // An IEI that the message doesn't have.
   int unknown(int line = __builtin_LINE());

   // The message's result: pops the type's name unless the scan failed.
   int finish() { return failed_ ? status_ : decoder_.ended(status_); }

protected:
   unsigned iei_ = 0;
   unsigned codeset_ = 0;

private:
   bool nextInFull();
   bool end(int status) {
      status_ = status;
      return false;
   }
   bool stop(int status) {
      failed_ = true;
      return end(status);
   }

   Decoder& decoder_;
   unsigned halfOctets_;
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
         // A non-locking shift, or one to a lower codeset, changes nothing: deliberate.
         if ((iei_ & 8) == 0 && (iei_ & 7) > codeset_) codeset_ = iei_ & 7;
      }
      return false;
   }
   // In a codeset other than 0 the message has no elements.
   unsigned iei() const { return codeset_ == 0 ? iei_ : kNone; }

private:
   static constexpr unsigned kNone = 0x100;
};

// Result of a message decoder behind its last octet: what has been recorded on the way, old errors included.
int messageStatus(RtxContext* ctxt);

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
