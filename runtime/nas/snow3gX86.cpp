// SNOW 3G with the AES instructions of x86-64 for S1, and vector permutes for S2. Only functions marked
// QUORVA_NAS_TARGET may use them.
#if defined(__x86_64__)

#define QUORVA_NAS_TARGET __attribute__((target("aes,ssse3")))
#include "runtime/nas/snow3gEngine.h"

#include <immintrin.h>

namespace quorva {
namespace {

/** The S-box of S2 (TS 35.216, 5.2) by its polynomial x + x^9 + x^13 + x^15 + x^33 + x^41 + x^45 + x^47 +
 * x^49. */
struct DicksonTable {
   alignas(16) uint8_t box[256];

   constexpr DicksonTable() : box() {
      for (unsigned x = 0; x < 256; ++x) {
         unsigned power = 1, sum = 0x25;
         for (unsigned n = 1; n <= 49; ++n) {
            unsigned product = 0, shifted = x;
            for (unsigned i = 0; i < 8; ++i) {
               if ((power >> i & 1) != 0) product ^= shifted;
               shifted = shifted << 1 ^ ((shifted & 0x80) != 0 ? 0x169u : 0u);
            }
            power = product;
            if (n == 1 || n == 9 || n == 13 || n == 15 || n == 33 || n == 41 || n == 45 || n == 47 || n == 49)
               sum ^= power;
         }
         box[x] = static_cast<uint8_t>(sum);
      }
   }
};
constexpr DicksonTable dickson;

struct X86Unit {
   /** AESENC over a state of four equal columns is S1, since ShiftRows then changes nothing. */
   static QUORVA_NAS_TARGET inline uint64_t s1(uint64_t words) {
      const __m128i both = _mm_cvtsi64_si128(static_cast<long long>(words)), zero = _mm_setzero_si128();
      const __m128i first = _mm_aesenc_si128(_mm_shuffle_epi32(both, 0x00), zero);
      const __m128i second = _mm_aesenc_si128(_mm_shuffle_epi32(both, 0x55), zero);
      return static_cast<uint64_t>(_mm_cvtsi128_si64(_mm_unpacklo_epi32(first, second)));
   }

   /** All sixteen rows of the table, each giving 0 for octets that are not its own. */
   static QUORVA_NAS_TARGET inline uint64_t s2(uint64_t words) {
      const __m128i in = _mm_cvtsi64_si128(static_cast<long long>(words));
      const __m128i beyond = _mm_set1_epi8(0x70);
      __m128i out[2] = {_mm_setzero_si128(), _mm_setzero_si128()};
#pragma GCC unroll 16
      for (int row = 0; row < 16; ++row) {
         const __m128i at = _mm_xor_si128(in, _mm_set1_epi8(static_cast<char>(16 * row)));
         const __m128i part = _mm_load_si128(reinterpret_cast<const __m128i*>(dickson.box + 16 * row));
         out[row & 1] = _mm_xor_si128(out[row & 1], _mm_shuffle_epi8(part, _mm_adds_epu8(at, beyond)));
      }
      const __m128i x = _mm_xor_si128(out[0], out[1]);
      const __m128i high = _mm_and_si128(_mm_cmpgt_epi8(_mm_setzero_si128(), x), _mm_set1_epi8(0x69));
      const __m128i doubled = _mm_xor_si128(_mm_add_epi8(x, x), high);
      const __m128i mixed = _mm_xor_si128(_mm_xor_si128(doubled, turned<1>(_mm_xor_si128(doubled, x))),
                                          _mm_xor_si128(turned<2>(x), turned<3>(x)));
      return static_cast<uint64_t>(_mm_cvtsi128_si64(mixed));
   }

private:
   /** The octets of each word turned, the octet `By` to the first place. */
   template <int By>
   static QUORVA_NAS_TARGET inline __m128i turned(__m128i x) {
      constexpr int a = By, b = (By + 1) % 4, c = (By + 2) % 4, d = (By + 3) % 4;
      return _mm_shuffle_epi8(
            x, _mm_set_epi8(-1, -1, -1, -1, -1, -1, -1, -1, 4 + d, 4 + c, 4 + b, 4 + a, d, c, b, a));
   }
};

} // namespace

constexpr Snow3gForm snow3gX86 = {startSnow3g<X86Unit>, snow3gWords<X86Unit>};

} // namespace quorva

#endif
