// Short words of structures, which begin and end anywhere in an octet.
#include "src/frame/short.h"

namespace quorva::frame {

bool ShortDecoder::takeIn(unsigned count, uint64_t& word) {
   const unsigned total = used_ + count;
   const unsigned octets = (total + 7) / 8;
   if (have() < octets && (extra_ == 0 || bitsLeft() < count)) return false;
   if (have() >= 8) { // one load
      std::memcpy(&word, at_, sizeof word);
      word = toBigEndian(word);
   } else {
      word = loadEnd(at_, octets);
   }
   word = word << used_ >> (64 - count);
   at_ += total / 8;
   used_ = total % 8;
   return true;
}

int ShortDecoder::bitIn(uint8_t& bit) {
   if (have() == 0 && used_ >= extra_) return kNotShort;
   bit = *at_ >> (7 - used_) & 1;
   if (++used_ == 8) {
      ++at_;
      used_ = 0;
   }
   return 0;
}

int ShortDecoder::highIn(uint8_t& bit) {
   const unsigned low = lowAt(used_);
   L3_TRY(bitIn(bit));
   bit = static_cast<uint8_t>(bit ^ low);
   return 0;
}

int ShortDecoder::patternIn(const ArmBits* arms, size_t count, bool high, uint32_t& t) {
   unsigned read = 0;
   for (unsigned n = 1; n <= 8; ++n) {
      uint8_t bit = 0;
      L3_TRY(high ? highIn(bit) : bitIn(bit));
      read = read << 1 | bit;
      for (size_t i = 0; i < count; ++i)
         if (arms[i].count == n && arms[i].bits == read) {
            t = static_cast<uint32_t>(i + 1);
            return 0;
         }
   }
   return kNotShort;
}

int ShortDecoder::bitStringIn(size_t count, size_t capacity, uint8_t* data) {
   return count > capacity || bitsLeft() < count ? kNotShort : takeBits(data, count);
}

int ShortDecoder::unary(uint8_t& value) {
   for (value = 0;;) {
      uint8_t high = 0;
      L3_TRY(highIn(high));
      if (high == 0) return 0;
      if (++value == 0) return kNotShort;
   }
}

int ShortDecoder::openUnits(unsigned bits, unsigned unit, unsigned more, Length& length, uint8_t& value) {
   uint64_t count;
   if (!takeIn(bits, count)) return kNotShort;
   value = static_cast<uint8_t>(count);
   count = count * unit + more;
   if (bitsLeft() < count) return kNotShort;
   length = {end_, extra_};
   const size_t total = used_ + count;
   end_ = at_ + total / 8;
   extra_ = total % 8;
   return 0;
}

int ShortDecoder::ledIn(Led how, uint64_t& n, void*& array, size_t size,
                        int (*decode)(ShortDecoder&, void*)) {
   size_t count = 0, capacity = 0;
   for (;; ++count) {
      uint8_t bit = 0;
      L3_TRY(how == Led::ByHighs ? highIn(bit) : bitIn(bit));
      if ((bit == 0) != (how == Led::ByZeros)) break;
      if (count == capacity) L3_TRY(growArray(ctxt_, &array, count, &capacity, size));
      L3_TRY(decode(*this, static_cast<uint8_t*>(array) + count * size));
   }
   n = count;
   return 0;
}

bool ShortEncoder::putIn(unsigned count, uint64_t value) {
   const unsigned total = used_ + count;
   const unsigned octets = (total + 7) / 8;
   if (have() < octets) return false;
   const uint64_t word = value << (64 - count) >> used_;
   at_[0] = static_cast<uint8_t>((at_[0] & (0xFF00u >> used_)) | word >> 56);
   storeRest(at_, octets, word);
   at_ += total / 8;
   used_ = total % 8;
   return true;
}

int ShortEncoder::bitIn(bool bit) {
   if (have() == 0) return kNotShort;
   *at_ = static_cast<uint8_t>((*at_ & (0xFF00u >> used_)) | (bit ? 0x80u >> used_ : 0));
   if (++used_ == 8) align();
   return 0;
}

int ShortEncoder::highIn(bool high) {
   return bitIn(high != (lowAt(used_) != 0));
}

int ShortEncoder::pattern(unsigned bits, unsigned count, bool high) {
   if (!high) return putIn(count, bits) ? 0 : kNotShort;
   if (have() * 8 < used_ + count) return kNotShort;
   while (count-- != 0) L3_TRY(highIn((bits >> count & 1) != 0));
   return 0;
}

int ShortEncoder::bitStringIn(size_t count, const uint8_t* data) {
   return putBits(data, count);
}

int ShortEncoder::unary(unsigned value) {
   if (have() * 8 < used_ + value + 1) return kNotShort;
   for (; value != 0; --value) L3_TRY(highIn(true));
   return highIn(false);
}

// Spare bits are L to the end of the octet.
int ShortEncoder::padding() {
   if (used_ == 0) return 0;
   *at_ = static_cast<uint8_t>((*at_ & (0xFF00u >> used_)) | (kPaddingOctet & (0xFFu >> used_)));
   align();
   return 0;
}

int ShortEncoder::openUnits(unsigned bits, OpenLength& length) {
   if (!putIn(bits, 0)) return kNotShort;
   length = {at_, used_};
   return 0;
}

int ShortEncoder::closeUnits(unsigned bits, unsigned unit, unsigned less, const OpenLength& length,
                             uint8_t& value) {
   const auto behind = [&] { return static_cast<size_t>(at_ - length.start) * 8 + used_ - length.used; };
   if (unit == 8) {
      const bool tail = tailOpen();
      for (; behind() % 8 != 0;)
         if (tail || bitIn(false) < 0) return kNotShort;
      ctxt_->flags &= ~RTX_CTXT_RAW_TAIL;
   }
   if (behind() / unit < less || (behind() / unit - less) >> bits != 0) return kNotShort;
   value = static_cast<uint8_t>(behind() / unit - less);
   // Its bits end where the contents begin.
   uint8_t* at = length.start;
   unsigned used = length.used;
   for (unsigned i = 0; i < bits; ++i) {
      if (used == 0) {
         --at;
         used = 8;
      }
      --used;
      if ((value >> i & 1) != 0) *at = static_cast<uint8_t>(*at | 0x80u >> used);
   }
   return 0;
}

int ShortEncoder::ledIn(Led how, uint64_t n, void* array, size_t size, int (*encode)(ShortEncoder&, void*)) {
   if (n != 0 && array == nullptr) return kNotShort;
   const auto lead = [this, how](bool another) {
      return how == Led::ByHighs ? highIn(another) : bitIn(another != (how == Led::ByZeros));
   };
   for (size_t i = 0; i < n; ++i) {
      L3_TRY(lead(true));
      L3_TRY(encode(*this, static_cast<uint8_t*>(array) + i * size));
   }
   return lead(false);
}

} // namespace quorva::frame
