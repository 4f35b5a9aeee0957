// AES-128 with the cryptography extension of AArch64. Only functions marked QUORVA_AES_TARGET may use it.
#if defined(__aarch64__) && defined(__linux__) && !defined(__AARCH64EB__)

#if defined(__clang__)
#define QUORVA_AES_TARGET __attribute__((target("aes")))
#else
#define QUORVA_AES_TARGET __attribute__((target("+crypto")))
#endif
#include "runtime/nas/aesModes.h"

#include <arm_neon.h>
#include <asm/hwcap.h>
#include <sys/auxv.h>

namespace quorva {
namespace {

constexpr int rounds = 10;

// In assembly, as some compilers declare the intrinsics only if the whole file may use the extension.
// Processors execute AESE and AESMC as one step when they stand side by side.

QUORVA_AES_TARGET inline uint8x16_t aesRound(uint8x16_t block, uint8x16_t key) {
   __asm__("aese %0.16b, %1.16b\n\taesmc %0.16b, %0.16b" : "+w"(block) : "w"(key));
   return block;
}

QUORVA_AES_TARGET inline uint8x16_t aesLastRound(uint8x16_t block, uint8x16_t key) {
   __asm__("aese %0.16b, %1.16b" : "+w"(block) : "w"(key));
   return block;
}

struct ArmUnit {
   using Block = uint8x16_t;
   static constexpr size_t lanes = 8;

   static QUORVA_AES_TARGET inline Block load(const uint8_t* octets) { return vld1q_u8(octets); }
   static QUORVA_AES_TARGET inline void store(uint8_t* octets, Block block) { vst1q_u8(octets, block); }
   static QUORVA_AES_TARGET inline Block exclusiveOr(Block a, Block b) { return veorq_u8(a, b); }

   static QUORVA_AES_TARGET inline Block join(uint64_t low, uint64_t high) {
      return vcombine_u8(vcreate_u8(low), vcreate_u8(high));
   }

   /** All round keys; with eight blocks they still fit the 32 registers. */
   struct ChainKeys {
      uint8x16_t key[rounds + 1];

      QUORVA_AES_TARGET explicit inline ChainKeys(const uint32_t* schedule) {
         QUORVA_AES_UNROLL
         for (int r = 0; r <= rounds; ++r)
            key[r] = vrev32q_u8(vreinterpretq_u8_u32(vld1q_u32(schedule + 4 * r)));
      }
   };
   using StreamKeys = ChainKeys;

   static QUORVA_AES_TARGET inline Block encrypt(const ChainKeys& keys, Block chain, Block message) {
      // AESE begins with the XOR of its two operands: the message is merged into the first round key.
      Block block = aesRound(chain, veorq_u8(message, keys.key[0]));
      QUORVA_AES_UNROLL
      for (int r = 1; r < rounds - 1; ++r) block = aesRound(block, keys.key[r]);
      return veorq_u8(aesLastRound(block, keys.key[rounds - 1]), keys.key[rounds]);
   }

   struct Counter {
      uint8x8_t nonce;
      uint64_t value = 0;

      QUORVA_AES_TARGET explicit inline Counter(const uint8_t* octets) : nonce(vld1_u8(octets)) {}
   };

   template <size_t N>
   static QUORVA_AES_TARGET inline void keyStream(const StreamKeys& keys, Counter& counter, Block* stream) {
      QUORVA_AES_UNROLL
      for (size_t i = 0; i < N; ++i)
         stream[i] = vcombine_u8(counter.nonce, vrev64_u8(vcreate_u8(counter.value++)));
      QUORVA_AES_UNROLL
      for (int r = 0; r < rounds - 1; ++r) QUORVA_AES_UNROLL
      for (size_t i = 0; i < N; ++i) stream[i] = aesRound(stream[i], keys.key[r]);
      QUORVA_AES_UNROLL
      for (size_t i = 0; i < N; ++i)
         stream[i] = veorq_u8(aesLastRound(stream[i], keys.key[rounds - 1]), keys.key[rounds]);
   }
};

QUORVA_AES_TARGET void expandKey(uint32_t* schedule, const uint8_t* octets) {
   static constexpr uint32_t rcon[rounds] = {0x01, 0x02, 0x04, 0x08, 0x10, 0x20, 0x40, 0x80, 0x1b, 0x36};
   vst1q_u32(schedule, vreinterpretq_u32_u8(vrev32q_u8(vld1q_u8(octets))));
   QUORVA_AES_UNROLL
   for (int r = 0; r < rounds; ++r, schedule += 4) {
      // AESE over four equal columns and a zero key is SubWord, since ShiftRows then changes nothing.
      const uint8x16_t columns = vreinterpretq_u8_u32(vdupq_n_u32(schedule[3]));
      const uint32_t word = vgetq_lane_u32(vreinterpretq_u32_u8(aesLastRound(columns, vdupq_n_u8(0))), 0);
      schedule[4] = schedule[0] ^ (word << 8 | word >> 24) ^ rcon[r] << 24;
      for (int i = 5; i < 8; ++i) schedule[i] = schedule[i - 4] ^ schedule[i - 1];
   }
}

constexpr AesForm armForm = {expandKey, encryptBlock<ArmUnit>, counterMode<ArmUnit>, cmac<ArmUnit>};

} // namespace

const AesForm* aesHardware() {
   static const bool present = (getauxval(AT_HWCAP) & HWCAP_AES) != 0;
   return present ? &armForm : nullptr;
}

} // namespace quorva

#endif
