/**
 * @file streamCipher.h
 * What the algorithms over key streams share.
 */
#ifndef QUORVA_RUNTIME_NAS_STREAMCIPHER_H
#define QUORVA_RUNTIME_NAS_STREAMCIPHER_H

#include "runtime/nas/aes128.h"

#include <algorithm>

namespace quorva {

/** Four octets as a number, the first the most significant. */
inline uint32_t loadBig(const uint8_t* octets) {
   return static_cast<uint32_t>(bigEndian(uint64_t{loadWord<uint32_t>(octets)}) >>
                                (__BYTE_ORDER__ == __ORDER_BIG_ENDIAN__ ? 0 : 32));
}
inline void storeBig(uint8_t* octets, uint32_t number) {
   for (int shift = 24; shift >= 0; shift -= 8) *octets++ = static_cast<uint8_t>(number >> shift);
}

/** So many octets, up to 8, as the most significant ones of a number. */
inline uint64_t loadHigh(const uint8_t* octets, size_t count) {
   uint64_t number = 0;
   for (size_t i = 0; i < count; ++i) number |= uint64_t{octets[i]} << (56 - 8 * i);
   return number;
}

/** XORs the first bits of the data with the key stream of `generator`: `next(words, wanted)` fills up to 16
 * words and says how many. */
template <class Generator>
inline void cipherBits(Generator& generator, uint8_t* data, uint64_t bits) {
   constexpr size_t kWords = 16;
   uint32_t words[kWords];
   while (bits != 0) {
      const auto wanted = static_cast<size_t>(std::min<uint64_t>((bits + 31) / 32, kWords));
      const size_t count = std::min(generator.next(words, wanted), wanted);
      for (size_t i = 0; i < count; ++i) {
         if (bits < 32) {
            const uint32_t last = words[i] & ~(~uint32_t{0} >> bits);
            for (unsigned at = 0; 8 * at < bits; ++at)
               data[at] = static_cast<uint8_t>(data[at] ^ last >> (24 - 8 * at));
            bits = 0;
            break;
         }
         storeBig(data, loadBig(data) ^ words[i]);
         data += 4;
         bits -= 32;
      }
   }
   secureClear(words, sizeof words);
}

} // namespace quorva

#endif
