#include "tools/quorva/capture/perReader.h"

namespace quorva::capture {

uint32_t PerReader::bits(unsigned count) {
   uint32_t value = 0;
   if (count > octets_.size() * 8 - at_) {
      good_ = false;
      at_ = octets_.size() * 8;
      return 0;
   }
   for (; count > 0; --count, ++at_) value = value << 1 | (octets_[at_ / 8] >> (7 - at_ % 8) & 1u);
   return value;
}

Octets PerReader::aligned(size_t count) {
   const size_t first = (at_ + 7) / 8;
   if (count > octets_.size() - first) {
      good_ = false;
      at_ = octets_.size() * 8;
      return {};
   }
   at_ = (first + count) * 8;
   return octets_.subspan(first, count);
}

uint32_t PerReader::alignedNumber(size_t octets) {
   uint32_t value = 0;
   for (const uint8_t octet : aligned(octets)) value = value << 8 | octet;
   return value;
}

size_t PerReader::length(bool& more) {
   more = false;
   const uint32_t first = alignedNumber(1);
   if (first < 0x80) return first;
   if (first < 0xC0) return (first & 0x3F) << 8 | alignedNumber(1);
   const uint32_t units = first & 0x3F; // of 16,384 octets
   if (units == 0 || units > 4) good_ = false;
   more = good_;
   return size_t{units} << 14;
}

Octets PerReader::openOctets() {
   bool more = false;
   const size_t count = length(more);
   const Octets first = aligned(count);
   if (!more || !good_) return first;
   auto& whole = joined_.emplace_back(first.begin(), first.end());
   while (more && good_) {
      const size_t size = length(more);
      const Octets part = aligned(size);
      whole.insert(whole.end(), part.begin(), part.end());
   }
   return whole;
}

void PerReader::skipLargeNumber(unsigned lengthBits) {
   const uint32_t octets = bits(lengthBits) + 1;
   aligned(octets);
}

void PerReader::skipAdditions() {
   // A normally small length: its six bits hold one less.
   bool more = false;
   size_t count = 0;
   if (flag()) {
      count = length(more);
      if (more) good_ = false;
   } else {
      count = bits(6) + 1;
   }
   size_t present = 0;
   for (; count > 0 && good_; --count) present += flag() ? 1 : 0;
   for (; present > 0 && good_; --present) openOctets();
}

} // namespace quorva::capture
