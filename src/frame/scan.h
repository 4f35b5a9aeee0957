// The scan of the optional part of a message, TS 24.007, 11.2.
#pragma once

#include "src/frame/decoder.h"

namespace quorva::frame {

// What an element takes behind its IEI, for the skip of one that is out of order.
enum class Format : uint8_t { T, HalfOctet, TV, TLV, TLVE };

// Result of a message decoder behind its last octet: what has been recorded on the way, old errors included.
L3_INLINE int messageStatus(RtxContext* ctxt) {
   return ctxt->errList.count == 0 ? 0 : rtxErrGetStatus(ctxt);
}

// Field by field, with the cursor of the context.
class Scan {
public:
   // Bit n of `halfOctets`: the message has an element with the half-octet IEI n. `shifts`: codeset shifts,
   // TS 24.007, 11.2.1.1.3: an octet with the high nibble 9, unless a half-octet element of the message has
   // that IEI.
   Scan(unsigned halfOctets, bool shifts) : halfOctets_(halfOctets), shifts_(shifts) {}

   // How far a scan of a message has come, but for its cursor.
   struct Place {
      unsigned codeset = 0;
      unsigned previous = 0; // IEI
      unsigned order = 0;    // elements ahead of this one are not expected any more
   };
   Scan(unsigned halfOctets, bool shifts, const Place& place, unsigned iei)
         : halfOctets_(halfOctets), iei_(iei), place_(place), shifts_(shifts) {}
   const Place& place() const { return place_; }

   // A codeset shift; true if that is what the IEI is. A non-locking one, or one to a lower codeset, changes
   // nothing: no element of another codeset is known.
   static L3_INLINE bool isShift(unsigned iei, unsigned& codeset) {
      if (iei >> 4 != 9) [[likely]]
         return false;
      if ((iei & 8) == 0 && (iei & 7) > codeset) codeset = iei & 7;
      return true;
   }

   // Reads the next IEI; false at the end, or on a failure: then finish() gives the message's result.
   bool next(Decoder& decoder);
   // In a codeset other than 0 the message has no elements.
   unsigned iei() const { return place_.codeset == 0 ? iei_ : kNone; }
   static constexpr unsigned kNone = 0x100;

   // Is the element number k still to come? Elements behind it in the table have not been met then.
   bool expects(unsigned k) const { return place_.order <= k; }
   void took(unsigned k) {
      place_.order = k + 1;
      place_.previous = iei_;
   }

   // An element out of order, or repeated. What stays in the input depends on its format: after T, half-octet
   // and TLV-E elements nothing is skipped, and the scan reads on in what should be their value.
   int drop(Decoder& decoder, Format format, size_t valueOctets);

   // An IEI that the message doesn't have.
   int unknown(Decoder& decoder);

   // As the standards have it: a half-octet IEI is no octet of that value, what is repeated is skipped whole,
   // and of the unknown only what must be comprehended is reported. `sixes`: IEIs 7x have two octets of
   // length.
   bool isHalf() const { return half_; }
   int skip(Decoder& decoder, Format format, size_t valueOctets);
   int unknownToStandard(Decoder& decoder, bool sixes);

   // The message's result: pops the type's name unless the scan failed.
   int finish(Decoder& decoder) const { return failed_ ? status_ : decoder.ended(status_); }

private:
   bool end(int status) {
      status_ = status;
      return false;
   }

   unsigned halfOctets_;
   unsigned iei_ = 0;
   Place place_;
   int status_ = 0;
   bool shifts_;
   bool failed_ = false;
   bool half_ = false;         // the IEI is of half an octet
   unsigned outerCodeset_ = 0; // behind an element of a codeset of its own

   bool read(Decoder& decoder);
   bool shiftedByStandard();
   int skipOctets(Decoder& decoder, unsigned lengthOctets, size_t numocts);
};

} // namespace quorva::frame
