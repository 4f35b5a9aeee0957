// AES-128 with the AES instructions of x86-64. Only functions marked QUORVA_AES_TARGET may use them.
#if defined(__x86_64__)

#define QUORVA_AES_TARGET __attribute__((target("aes,ssse3")))
#include "runtime/nas/aesModes.h"

#include <immintrin.h>

namespace quorva {
namespace {

constexpr int rounds = 10;

/** The octets of each of four words reversed: from host order to octet order and back. */
QUORVA_AES_TARGET inline __m128i swapWords(__m128i words) {
   return _mm_shuffle_epi8(words, _mm_set_epi32(0x0c0d0e0f, 0x08090a0b, 0x04050607, 0x00010203));
}

QUORVA_AES_TARGET inline __m128i roundKey(const uint32_t* schedule, int round) {
   return swapWords(_mm_loadu_si128(reinterpret_cast<const __m128i*>(schedule + 4 * round)));
}

struct X86Unit {
   using Block = __m128i;
   /** Golden Cove and Zen need six and eight blocks to hide the latency of AESENC. */
   static constexpr size_t lanes = 8;

   static QUORVA_AES_TARGET inline Block load(const uint8_t* octets) {
      return _mm_loadu_si128(reinterpret_cast<const __m128i*>(octets));
   }
   static QUORVA_AES_TARGET inline void store(uint8_t* octets, Block block) {
      _mm_storeu_si128(reinterpret_cast<__m128i*>(octets), block);
   }
   static QUORVA_AES_TARGET inline Block exclusiveOr(Block a, Block b) { return _mm_xor_si128(a, b); }

   static QUORVA_AES_TARGET inline Block join(uint64_t low, uint64_t high) {
      return _mm_set_epi64x(static_cast<long long>(high), static_cast<long long>(low));
   }

   /** All round keys, to be held in registers along a chain. */
   struct ChainKeys {
      __m128i key[rounds + 1];

      QUORVA_AES_TARGET explicit inline ChainKeys(const uint32_t* schedule) {
         QUORVA_AES_UNROLL
         for (int r = 0; r <= rounds; ++r) key[r] = roundKey(schedule, r);
      }
   };

   /** The first round key goes to the message first, so that the chain itself waits for one XOR only. */
   static QUORVA_AES_TARGET inline Block encrypt(const ChainKeys& keys, Block chain, Block message) {
      Block block = _mm_xor_si128(chain, _mm_xor_si128(message, keys.key[0]));
      QUORVA_AES_UNROLL
      for (int r = 1; r < rounds; ++r) block = _mm_aesenc_si128(block, keys.key[r]);
      return _mm_aesenclast_si128(block, keys.key[rounds]);
   }

   /** Round keys are loaded anew for each run: eight blocks and eleven keys don't fit the registers. */
   struct StreamKeys {
      const uint32_t* schedule;

      explicit inline StreamKeys(const uint32_t* words) : schedule(words) {}
   };

   /** The counter stands in the upper half, least significant octet first. */
   struct Counter {
      __m128i value;

      QUORVA_AES_TARGET explicit inline Counter(const uint8_t* nonce)
            : value(_mm_loadl_epi64(reinterpret_cast<const __m128i*>(nonce))) {}
   };

   template <size_t N>
   static QUORVA_AES_TARGET inline void keyStream(const StreamKeys& keys, Counter& counter, Block* stream) {
      const __m128i order = _mm_set_epi64x(0x08090a0b0c0d0e0f, 0x0706050403020100);
      const __m128i one = _mm_set_epi64x(1, 0);
      __m128i key = roundKey(keys.schedule, 0);
      QUORVA_AES_UNROLL
      for (size_t i = 0; i < N; ++i) {
         stream[i] = _mm_xor_si128(_mm_shuffle_epi8(counter.value, order), key);
         counter.value = _mm_add_epi64(counter.value, one);
      }
      QUORVA_AES_UNROLL
      for (int r = 1; r < rounds; ++r) {
         key = roundKey(keys.schedule, r);
         QUORVA_AES_UNROLL
         for (size_t i = 0; i < N; ++i) stream[i] = _mm_aesenc_si128(stream[i], key);
      }
      key = roundKey(keys.schedule, rounds);
      QUORVA_AES_UNROLL
      for (size_t i = 0; i < N; ++i) stream[i] = _mm_aesenclast_si128(stream[i], key);
   }
};

/**
 * AESENCLAST over a state of four equal columns is SubWord, since ShiftRows then changes nothing; it takes a
 * third of the time of AESKEYGENASSIST.
 */
template <uint32_t Rcon>
QUORVA_AES_TARGET inline __m128i nextKey(__m128i key) {
   const __m128i rotated = _mm_shuffle_epi8(key, _mm_set1_epi32(0x0c0f0e0d));
   const __m128i word = _mm_aesenclast_si128(rotated, _mm_set1_epi32(Rcon));
   key = _mm_xor_si128(key, _mm_slli_si128(key, 4));
   key = _mm_xor_si128(key, _mm_slli_si128(key, 8));
   return _mm_xor_si128(key, word);
}

QUORVA_AES_TARGET void expandKey(uint32_t* schedule, const uint8_t* octets) {
   __m128i key[rounds + 1];
   key[0] = X86Unit::load(octets);
   key[1] = nextKey<0x01>(key[0]);
   key[2] = nextKey<0x02>(key[1]);
   key[3] = nextKey<0x04>(key[2]);
   key[4] = nextKey<0x08>(key[3]);
   key[5] = nextKey<0x10>(key[4]);
   key[6] = nextKey<0x20>(key[5]);
   key[7] = nextKey<0x40>(key[6]);
   key[8] = nextKey<0x80>(key[7]);
   key[9] = nextKey<0x1b>(key[8]);
   key[10] = nextKey<0x36>(key[9]);
   QUORVA_AES_UNROLL
   for (int r = 0; r <= rounds; ++r)
      _mm_storeu_si128(reinterpret_cast<__m128i*>(schedule + 4 * r), swapWords(key[r]));
}

constexpr AesForm x86Form = {expandKey, encryptBlock<X86Unit>, counterMode<X86Unit>, cmac<X86Unit>};

} // namespace

const AesForm* aesHardware() {
   return __builtin_cpu_supports("aes") && __builtin_cpu_supports("ssse3") ? &x86Form : nullptr;
}

} // namespace quorva

#endif
