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
   unsigned iei_ = 0;
   unsigned previous_ = 0;
   unsigned order_ = 0;
   int status_ = 0;
   bool failed_ = false;
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
