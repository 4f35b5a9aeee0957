/**
 * @file zucEngine.h
 * The clocks of ZUC. Included by the source of each form and by nothing else, as aesModes.h is.
 *
 * Such a source defines QUORVA_NAS_TARGET, the attribute of its functions, and hands in a `Unit` with
 * `substitute`, which puts two words, one in each half, through S0 and S1 (TS 35.222, 3.4.1).
 */
#ifndef QUORVA_RUNTIME_NAS_ZUCENGINE_H
#define QUORVA_RUNTIME_NAS_ZUCENGINE_H

#include "runtime/nas/bitPlanes.h"
#include "runtime/nas/zuc.h"

#include <bit>

namespace quorva {
namespace {

/**
 * S0, of three boxes of 4 bits: with the halves h and l of the octet, m = P1(l) + h, a = P2(m) + l,
 * b = P3(a) + m, the octet ba turned left by 5. The box P1 of the standard is this one plus a constant, and
 * the others make up for that.
 */
constexpr NibbleBox p1 = {0, 6, 9, 7, 6, 6, 11, 3, 9, 13, 9, 5, 14, 12, 10, 0};
constexpr NibbleBox p2 = {1, 11, 10, 14, 3, 15, 2, 9, 13, 8, 5, 6, 0, 7, 4, 12};
constexpr NibbleBox p3 = {11, 15, 3, 15, 9, 4, 3, 6, 10, 10, 4, 12, 9, 0, 5, 4};

/**
 * S1, an inversion in GF(2^8) with x^8 = x^7 + x^3 + x + 1, by way of the box of AES: into the field of AES,
 * its box, and a map that undoes what AES adds to the inversion and does what ZUC does, plus 0xFE.
 */
constexpr BitMap intoAes = {0x01, 0x32, 0x73, 0x75, 0xD9, 0xE8, 0xCD, 0x2D};
constexpr BitMap outOfAes = {0x4F, 0x90, 0x4B, 0x37, 0x34, 0x42, 0x36, 0x66};
constexpr uint8_t afterAes = 0xFE;

QUORVA_NAS_TARGET inline uint32_t highAndLow(uint32_t high, uint32_t low) {
   return (high << 1 & 0xFFFF0000) | (low & 0xFFFF);
}
QUORVA_NAS_TARGET inline uint32_t lowAndHigh(uint32_t low, uint32_t high) {
   return low << 16 | high >> 15;
}

/** One step from s0 to s15 at `s`, to s16 behind them. */
template <class Unit, bool Feedback>
QUORVA_NAS_TARGET inline void clockZuc(uint32_t* s, uint32_t& r1, uint32_t& r2, uint32_t* word) {
   const uint32_t x0 = highAndLow(s[15], s[14]), x1 = lowAndHigh(s[11], s[9]), x2 = lowAndHigh(s[7], s[5]);
   const uint32_t w = (x0 ^ r1) + r2, w1 = r1 + x1, w2 = r2 ^ x2;
   if (!Feedback) *word = w ^ lowAndHigh(s[2], s[0]);
   const uint32_t u = w1 << 16 | w2 >> 16, v = w2 << 16 | w1 >> 16;
   const uint32_t l1 = u ^ std::rotl(u, 2) ^ std::rotl(u, 10) ^ std::rotl(u, 18) ^ std::rotl(u, 24);
   const uint32_t l2 = v ^ std::rotl(v, 8) ^ std::rotl(v, 14) ^ std::rotl(v, 22) ^ std::rotl(v, 30);
   const uint64_t both = Unit::substitute(l1 | uint64_t{l2} << 32);
   r1 = static_cast<uint32_t>(both);
   r2 = static_cast<uint32_t>(both >> 32);
   // Modulo 2^31 - 1; 0 comes out as that number, since the sum is never 0.
   constexpr uint64_t modulus = 0x7FFFFFFF;
   uint64_t sum = (uint64_t{s[15]} << 15) + (uint64_t{s[13]} << 17) + (uint64_t{s[10]} << 21) +
                  (uint64_t{s[4]} << 20) + (uint64_t{s[0]} << 8) + s[0] + (Feedback ? w >> 1 : 0);
   sum = (sum & modulus) + (sum >> 31);
   s[16] = static_cast<uint32_t>((sum & modulus) + (sum >> 31));
}

template <class Unit, bool Feedback>
QUORVA_NAS_TARGET inline void clocksZuc(ZucState& state, uint32_t* words, size_t count) {
   uint32_t r1 = state.r1, r2 = state.r2;
   for (size_t i = 0; i < count; ++i)
      clockZuc<Unit, Feedback>(state.s + i, r1, r2, Feedback ? nullptr : words + i);
   std::memmove(state.s, state.s + count, 16 * sizeof *state.s);
   state.r1 = r1;
   state.r2 = r2;
}

template <class Unit>
QUORVA_NAS_TARGET void startZuc(ZucState& state, const uint8_t* key, const uint8_t* iv) {
   constexpr uint32_t d[16] = {0x44D7, 0x26BC, 0x626B, 0x135E, 0x5789, 0x35E2, 0x7135, 0x09AF,
                               0x4D78, 0x2F13, 0x6BC4, 0x1AF1, 0x5E26, 0x3C4D, 0x789A, 0x47AC};
   for (int i = 0; i < 16; ++i) state.s[i] = uint32_t{key[i]} << 23 | d[i] << 8 | iv[i];
   state.r1 = state.r2 = 0;
   clocksZuc<Unit, true>(state, nullptr, 16);
   clocksZuc<Unit, true>(state, nullptr, 16);
   uint32_t unused;
   clocksZuc<Unit, false>(state, &unused, 1);
}

template <class Unit>
QUORVA_NAS_TARGET void zucWords(ZucState& state, uint32_t* words, size_t count) {
   clocksZuc<Unit, false>(state, words, count);
}

} // namespace
} // namespace quorva

#endif
