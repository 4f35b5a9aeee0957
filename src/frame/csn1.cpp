// Short words of structures, which begin and end anywhere in an octet.
#include "src/frame/short.h"

#include <algorithm>

namespace quorva::frame {

const uint8_t* ShortDecoder::structure(const uint8_t* at, const uint8_t* end, RtxContext* ctxt,
                                       int (*decode)(ShortDecoder&, void*), void* value) {
   constexpr size_t kFew = 32;
   const auto size = static_cast<size_t>(end - at);
   if (size > kFew) {
      ShortDecoder d(at, end, ctxt);
      return d.result(decode(d, value));
   }
   uint8_t copy[kFew + 8];
   std::memset(copy + size, 0, 8);
   copyOctets(copy, at, size);
   ShortDecoder d(copy, copy + size, ctxt);
   d.eight_ = copy + size;
   const uint8_t* behind = d.result(decode(d, value));
   return behind == nullptr ? nullptr : at + (behind - copy);
}

int64_t ShortDecoder::takeIn(unsigned count) {
   const unsigned used = used_, total = used + count;
   const uint8_t* at = at_;
   if (at > eight_) [[unlikely]]
      return takeLast(count);
   if (have() * 8 + extra_ < total) return -1;
   uint64_t word;
   std::memcpy(&word, at, sizeof word);
   at_ = at + total / 8;
   used_ = total % 8;
   return static_cast<int64_t>(toBigEndian(word) << used >> (64 - count));
}

int64_t ShortDecoder::takeLast(unsigned count) {
   const unsigned used = used_, total = used + count;
   if (have() * 8 + extra_ < total) return -1;
   const uint64_t word = loadEnd(at_, (total + 7) / 8);
   at_ += total / 8;
   used_ = total % 8;
   return static_cast<int64_t>(word << used >> (64 - count));
}

int ShortDecoder::bitIn() {
   const unsigned used = used_;
   const uint8_t* at = at_;
   if (at == end_ && used >= extra_) return kNotShort;
   at_ = at + (used + 1) / 8;
   used_ = (used + 1) % 8;
   return *at >> (7 - used) & 1;
}

int ShortDecoder::highIn() {
   const unsigned used = used_;
   const uint8_t* at = at_;
   if (at == end_ && used >= extra_) return kNotShort;
   at_ = at + (used + 1) / 8;
   used_ = (used + 1) % 8;
   return (*at ^ csn1::kPadding) >> (7 - used) & 1;
}

int ShortDecoder::patternIn(const ArmBits* arms, unsigned longest, bool high, uint32_t& t) {
   if (at_ == end_ && used_ >= extra_) return kNotShort;
   unsigned bits = unsigned{*at_} << 8;
   if (at_ + 1 < end_ || (at_ + 1 == end_ && extra_ != 0)) bits |= at_[1];
   if (high) bits ^= csn1::kPadding * 0x101u;
   const unsigned arm = arms[bits >> (16 - used_ - longest) & ((1u << longest) - 1)];
   const unsigned total = used_ + (arm & 15);
   if (arm == 0 || have() * 8 + extra_ < total) return kNotShort;
   t = arm >> 4;
   at_ += total / 8;
   used_ = total % 8;
   return 0;
}

int ShortDecoder::bitStringIn(size_t count, size_t capacity, uint8_t* data) {
   if (count > capacity || bitsLeft() < count) return kNotShort;
   const size_t octets = count / 8, rest = count % 8;
   const unsigned used = used_;
   const uint8_t* at = at_;
   const size_t total = used + count;
   if (used == 0)
      std::memcpy(data, at, octets);
   else
      for (size_t i = 0; i < octets; ++i)
         data[i] = static_cast<uint8_t>((unsigned{at[i]} << 8 | at[i + 1]) >> (8 - used));
   if (rest != 0) {
      unsigned last = unsigned{at[octets]} << 8;
      if (used + rest > 8) last |= at[octets + 1];
      data[octets] = static_cast<uint8_t>(last >> (8 - used) & (0xFF00u >> rest));
   }
   at_ += total / 8;
   used_ = static_cast<unsigned>(total % 8);
   return 0;
}

int ShortDecoder::unary(uint8_t& value) {
   for (value = 0;;) {
      const int high = highIn();
      if (high <= 0) return high;
      if (++value == 0) return kNotShort;
   }
}

int ShortDecoder::openUnits(unsigned bits, unsigned unit, unsigned more, Length& length, uint8_t& value) {
   const int64_t number = takeIn(bits);
   if (number < 0) return kNotShort;
   value = static_cast<uint8_t>(number);
   return endAfter(static_cast<uint64_t>(number) * unit + more, length);
}

int ShortDecoder::endAfter(uint64_t bits, Length& length) {
   if (bitsLeft() < bits) return kNotShort;
   length = {end_, extra_};
   const size_t total = used_ + bits;
   end_ = at_ + total / 8;
   extra_ = total % 8;
   return 0;
}

int ShortDecoder::ledIn(Led how, uint64_t& n, void*& array, size_t size,
                        int (*decode)(ShortDecoder&, void*)) {
   size_t count = 0, capacity = 0;
   for (;; ++count) {
      const int bit = how == Led::ByHighs ? highIn() : bitIn();
      L3_TRY(bit);
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
   for (unsigned i = 1; i < octets; ++i) at_[i] = static_cast<uint8_t>(word >> (56 - 8 * i));
   at_ += total / 8;
   used_ = total % 8;
   return true;
}

int ShortEncoder::bitIn(bool bit) {
   const unsigned used = used_;
   if (at_ == end_) return kNotShort;
   *at_ = static_cast<uint8_t>((*at_ & (0xFF00u >> used)) | unsigned{bit} << (7 - used));
   at_ += (used + 1) / 8;
   used_ = (used + 1) % 8;
   return 0;
}

int ShortEncoder::highIn(bool high) {
   return bitIn(high != ((csn1::kPadding >> (7 - used_) & 1) != 0));
}

int ShortEncoder::pattern(unsigned bits, unsigned count, bool high) {
   if (!high) return putIn(count, bits) ? 0 : kNotShort;
   if (have() * 8 < used_ + count) return kNotShort;
   while (count-- != 0) L3_TRY(highIn((bits >> count & 1) != 0));
   return 0;
}

int ShortEncoder::bitStringIn(size_t count, const uint8_t* data) {
   if ((data == nullptr && count != 0) || have() * 8 < used_ + count) return kNotShort;
   for (; count >= 56; count -= 56, data += 7) (void)putIn(56, loadOctets<7>(data));
   for (; count >= 8; count -= 8) (void)putIn(8, *data++);
   if (count != 0) (void)putIn(static_cast<unsigned>(count), *data >> (8 - count));
   return 0;
}

int ShortEncoder::unary(unsigned value) {
   if (have() * 8 < used_ + value + 1) return kNotShort;
   for (; value != 0; --value) L3_TRY(highIn(true));
   return highIn(false);
}

// Spare bits are L to the end of the octet.
int ShortEncoder::padding() {
   if (used_ == 0) return 0;
   *at_ = static_cast<uint8_t>((*at_ & (0xFF00u >> used_)) | (csn1::kPadding & (0xFFu >> used_)));
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
