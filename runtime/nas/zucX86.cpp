// ZUC with vector permutes and the AES instructions of x86-64. Only functions marked QUORVA_NAS_TARGET may
// use them.
#if defined(__x86_64__)

#define QUORVA_NAS_TARGET __attribute__((target("aes,ssse3")))
#include "runtime/nas/zucEngine.h"

#include <immintrin.h>

namespace quorva {
namespace {

/** A box of 16 octets, as vector permutes take it. */
struct alignas(16) Permute {
   uint8_t octet[16];
};

constexpr Permute boxOf(const NibbleBox& box) {
   Permute result{};
   for (unsigned i = 0; i < 16; ++i) result.octet[i] = box[i];
   return result;
}
/** A linear map of the low or the high half of an octet. */
constexpr Permute halfOf(const BitMap& map, bool high) {
   Permute result{};
   for (unsigned i = 0; i < 16; ++i)
      for (unsigned bit = 0; bit < 4; ++bit)
         if ((i >> bit & 1) != 0)
            result.octet[i] = static_cast<uint8_t>(result.octet[i] ^ map[bit + (high ? 4 : 0)]);
   return result;
}
constexpr BitMap turnLeft5 = {1 << 5, 1 << 6, 1 << 7, 1 << 0, 1 << 1, 1 << 2, 1 << 3, 1 << 4};

constexpr Permute first = boxOf(p1), second = boxOf(p2), third = boxOf(p3);
constexpr Permute turnLow = halfOf(turnLeft5, false), turnHigh = halfOf(turnLeft5, true);
constexpr Permute intoLow = halfOf(intoAes, false), intoHigh = halfOf(intoAes, true);
constexpr Permute outLow = halfOf(outOfAes, false), outHigh = halfOf(outOfAes, true);

struct X86Unit {
   static QUORVA_NAS_TARGET inline uint64_t substitute(uint64_t words) {
      const __m128i in = _mm_cvtsi64_si128(static_cast<long long>(words));
      const __m128i low = lowHalf(in), high = highHalf(in);
      // S0
      const __m128i m = _mm_xor_si128(apply(first, low), high);
      const __m128i a = _mm_xor_si128(apply(second, m), low);
      const __m128i b = _mm_xor_si128(apply(third, a), m);
      const __m128i s0 = _mm_or_si128(apply(turnLow, a), apply(turnHigh, b));
      // S1; AESENCLAST moves octets as ShiftRows does, so they are moved back ahead of it.
      const __m128i before = _mm_xor_si128(apply(intoLow, low), apply(intoHigh, high));
      const __m128i placed =
            _mm_shuffle_epi8(before, _mm_set_epi8(3, 6, 9, 12, 15, 2, 5, 8, 11, 14, 1, 4, 7, 10, 13, 0));
      const __m128i inner = _mm_aesenclast_si128(placed, _mm_setzero_si128());
      const __m128i s1 =
            _mm_xor_si128(_mm_xor_si128(apply(outLow, lowHalf(inner)), apply(outHigh, highHalf(inner))),
                          _mm_set1_epi8(static_cast<char>(afterAes)));
      const __m128i even = _mm_set1_epi16(0x00FF);
      return static_cast<uint64_t>(
            _mm_cvtsi128_si64(_mm_or_si128(_mm_andnot_si128(even, s0), _mm_and_si128(even, s1))));
   }

private:
   static QUORVA_NAS_TARGET inline __m128i lowHalf(__m128i x) {
      return _mm_and_si128(x, _mm_set1_epi8(0x0F));
   }
   static QUORVA_NAS_TARGET inline __m128i highHalf(__m128i x) {
      return _mm_and_si128(_mm_srli_epi16(x, 4), _mm_set1_epi8(0x0F));
   }
   static QUORVA_NAS_TARGET inline __m128i apply(const Permute& box, __m128i halves) {
      return _mm_shuffle_epi8(_mm_load_si128(reinterpret_cast<const __m128i*>(box.octet)), halves);
   }
};

} // namespace

constexpr ZucForm zucX86 = {startZuc<X86Unit>, zucWords<X86Unit>};

} // namespace quorva

#endif
