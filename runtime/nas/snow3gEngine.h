/**
 * @file snow3gEngine.h
 * The clocks of SNOW 3G. Included by the source of each form and by nothing else, as aesModes.h is.
 *
 * Such a source defines QUORVA_NAS_TARGET, the attribute of its functions, and hands in a `Unit` with `s1`
 * and `s2`, which put two words, one in each half, through the boxes of TS 35.216, 3.3.
 */
#ifndef QUORVA_RUNTIME_NAS_SNOW3GENGINE_H
#define QUORVA_RUNTIME_NAS_SNOW3GENGINE_H

#include "runtime/nas/snow3g.h"

#include <array>

namespace quorva {
namespace {

/** Four words side by side: every processor with vectors of 128 bits does them at the price of one. */
using FourWords __attribute__((vector_size(16))) = uint32_t;
using FourNumbers __attribute__((vector_size(16))) = int32_t;

/** MULx to the power of `times` (TS 35.216, 3.1.2), for constants. */
constexpr uint32_t mulxPow(uint32_t octet, unsigned times) {
   for (; times != 0; --times) octet = ((octet << 1) ^ ((octet & 0x80) != 0 ? 0xA9u : 0u)) & 0xFF;
   return octet;
}
/** What each bit of the octet adds to MULalpha or DIValpha (3.4.2, 3.4.3), which are linear. */
constexpr std::array<uint32_t, 8> alphaParts(unsigned a, unsigned b, unsigned c, unsigned d) {
   std::array<uint32_t, 8> parts{};
   for (unsigned i = 0; i < 8; ++i) {
      const uint32_t bit = 1u << i;
      parts[i] = mulxPow(bit, a) << 24 | mulxPow(bit, b) << 16 | mulxPow(bit, c) << 8 | mulxPow(bit, d);
   }
   return parts;
}
constexpr auto mulAlphaParts = alphaParts(23, 245, 48, 239);
constexpr auto divAlphaParts = alphaParts(16, 39, 6, 64);

QUORVA_NAS_TARGET inline FourWords fourAt(const uint32_t* words) {
   FourWords four;
   std::memcpy(&four, words, sizeof four);
   return four;
}

/** What the register takes in at four clocks, without the feedback of the initialisation. */
QUORVA_NAS_TARGET inline FourWords nextFour(const uint32_t* s) {
   const FourWords s0 = fourAt(s), s11 = fourAt(s + 11);
   FourWords sum = s0 << 8 ^ fourAt(s + 2) ^ s11 >> 8;
   for (unsigned i = 0; i < 8; ++i) { // as masks, so that no address depends on the words
      sum ^= reinterpret_cast<FourWords>(reinterpret_cast<FourNumbers>(s0 << (7 - i)) >> 31) &
             mulAlphaParts[i];
      sum ^= reinterpret_cast<FourWords>(reinterpret_cast<FourNumbers>(s11 << (31 - i)) >> 31) &
             divAlphaParts[i];
   }
   return sum;
}

/**
 * Clocks four times for each group. The new R1 needs neither box, so that two clocks are done together: both
 * words that S1 takes are there, and then both that S2 takes.
 */
template <class Unit, bool Feedback>
QUORVA_NAS_TARGET inline void clockGroups(Snow3gState& state, uint32_t* words, size_t groups) {
   uint32_t r1 = state.r1, r2 = state.r2, r3 = state.r3;
   uint32_t* s = state.s;
   for (size_t group = 0; group < groups; ++group) {
      const FourWords next = nextFour(s);
      std::memcpy(s + 16, &next, sizeof next);
      for (int pair = 0; pair < 2; ++pair, s += 2, words += Feedback ? 0 : 2) {
         const uint32_t f0 = (s[15] + r1) ^ r2, later1 = r2 + (r3 ^ s[5]);
         if (Feedback) s[16] ^= f0;
         const uint64_t one = Unit::s1(r1 | uint64_t{later1} << 32);
         const auto later2 = static_cast<uint32_t>(one);
         const uint64_t two = Unit::s2(r2 | uint64_t{later2} << 32);
         const uint32_t f1 = (s[16] + later1) ^ later2;
         if (Feedback) {
            s[17] ^= f1;
         } else {
            words[0] = f0 ^ s[0];
            words[1] = f1 ^ s[1];
         }
         r1 = later2 + (static_cast<uint32_t>(two) ^ s[6]);
         r2 = static_cast<uint32_t>(one >> 32);
         r3 = static_cast<uint32_t>(two >> 32);
      }
   }
   std::memmove(state.s, s, 16 * sizeof *s);
   state.r1 = r1;
   state.r2 = r2;
   state.r3 = r3;
}

template <class Unit>
QUORVA_NAS_TARGET void startSnow3g(Snow3gState& state, const uint32_t* key, const uint32_t* iv) {
   for (int i = 0; i < 4; ++i) {
      state.s[i] = state.s[8 + i] = ~key[i];
      state.s[4 + i] = state.s[12 + i] = key[i];
   }
   state.s[9] ^= iv[3];
   state.s[10] ^= iv[2];
   state.s[12] ^= iv[1];
   state.s[15] ^= iv[0];
   state.r1 = state.r2 = state.r3 = 0;
   clockGroups<Unit, true>(state, nullptr, 4);
   clockGroups<Unit, true>(state, nullptr, 4);
}

template <class Unit>
QUORVA_NAS_TARGET void snow3gWords(Snow3gState& state, uint32_t* words, size_t groups) {
   clockGroups<Unit, false>(state, words, groups);
}

} // namespace
} // namespace quorva

#endif
