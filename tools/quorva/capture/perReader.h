// Aligned packed encoding rules (X.691), as much as a walk to octet strings needs.
#pragma once

#include "tools/quorva/capture/finding.h"

#include <list>
#include <vector>

namespace quorva::capture {

// Reads bits from the front. What isn't there reads as 0, and the reader stays failed.
class PerReader {
public:
   explicit PerReader(Octets octets) : octets_(octets) {}

   bool good() const { return good_; }

   // A bit field, at most 32 bits.
   uint32_t bits(unsigned count);
   bool flag() { return bits(1) != 0; }

   // Octets on an octet's border.
   Octets aligned(size_t count);
   uint32_t alignedNumber(size_t octets);

   // An octet string without a bound, or an open type: behind its length, 11.9. Fragments are put together;
   // the result stands as long as the reader.
   Octets openOctets();

   // A whole number of a range too great for two octets, which takes `lengthBits` ahead of it, 11.5.7.4.
   void skipLargeNumber(unsigned lengthBits);

   // Elements behind the last known one of a sequence whose extension bit was set, 19.7 to 19.9.
   void skipAdditions();

private:
   // A length, and whether more fragments follow.
   size_t length(bool& more);

   Octets octets_;
   size_t at_ = 0; // bits
   bool good_ = true;
   std::list<std::vector<uint8_t>> joined_;
};

} // namespace quorva::capture
