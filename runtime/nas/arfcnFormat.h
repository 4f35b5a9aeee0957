/**
 * @file arfcnFormat.h
 * The range formats of channel lists (TS 44.018, 10.5.2.13.3 to 10.5.2.13.6): a balanced tree, level by
 * level.
 */
#ifndef QUORVA_RUNTIME_NAS_ARFCNFORMAT_H
#define QUORVA_RUNTIME_NAS_ARFCNFORMAT_H

#include <array>
#include <cstdint>
#include <iterator>

namespace quorva {

/** A range format. A node of level j, the root being on level 0, has `firstWidth` - j bits. */
struct Rtx3GPPArfcnFormat {
   const uint16_t* totalBits; ///< At k: bits of the k upper levels, complete.
   uint16_t range;            ///< Modulus of the root.
   uint8_t firstWidth;        ///< Bits of the root, and number of levels.
   uint8_t startBit; ///< Where the root begins in the bit string: behind the bit of channel 0 or ORIG-ARFCN.
   uint8_t leadBits; ///< Bits of the string in the element's first octet that has any.
};

template <unsigned FirstWidth>
constexpr std::array<uint16_t, FirstWidth + 1> totalBitsOf() {
   std::array<uint16_t, FirstWidth + 1> total{};
   for (unsigned level = 0; level < FirstWidth; ++level)
      total[level + 1] = static_cast<uint16_t>(total[level] + (FirstWidth - level) * (1u << level));
   return total;
}

inline constexpr auto total_bits_1024 = totalBitsOf<10>();
inline constexpr auto total_bits_512 = totalBitsOf<9>();
inline constexpr auto total_bits_256 = totalBitsOf<8>();
inline constexpr auto total_bits_128 = totalBitsOf<7>();
static_assert(total_bits_1024.back() == 2036 && total_bits_512.back() == 1013);
static_assert(total_bits_256.back() == 502 && total_bits_128.back() == 247);

inline constexpr Rtx3GPPArfcnFormat FORMAT_1024 = {total_bits_1024.data(), 1023, 10, 1, 3};
inline constexpr Rtx3GPPArfcnFormat FORMAT_512 = {total_bits_512.data(), 511, 9, 10, 1};
inline constexpr Rtx3GPPArfcnFormat FORMAT_256 = {total_bits_256.data(), 255, 8, 10, 1};
inline constexpr Rtx3GPPArfcnFormat FORMAT_128 = {total_bits_128.data(), 127, 7, 10, 1};

/** The range format with a code of Rtx3GPPArfcnCode, or null. */
constexpr const Rtx3GPPArfcnFormat* rangeFormatOf(uint32_t code) {
   constexpr const Rtx3GPPArfcnFormat* formats[] = {&FORMAT_1024, &FORMAT_512, &FORMAT_256, &FORMAT_128};
   return code - 1 < std::size(formats) ? formats[code - 1] : nullptr;
}

} // namespace quorva

#endif
