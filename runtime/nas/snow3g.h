/**
 * @file snow3g.h
 * SNOW 3G (TS 35.216) in two forms, and the algorithms over it: UEA2 and UIA2 (TS 35.215), which are 128-EEA1
 * and 128-EIA1 of TS 33.401, annex B.
 */
#ifndef QUORVA_RUNTIME_NAS_SNOW3G_H
#define QUORVA_RUNTIME_NAS_SNOW3G_H

#include "runtime/nas/aes128.h"

namespace quorva {

/** A generator at work. Its memory is zeroed at its end. */
struct Snow3gState {
   uint32_t s[32]; // s0 to s15, and those to come
   uint32_t r1, r2, r3;

   Snow3gState() = default;
   ~Snow3gState() { secureClear(this, sizeof *this); }
   Snow3gState(const Snow3gState&) = delete;
   Snow3gState& operator=(const Snow3gState&) = delete;
};

/** One way of computing SNOW 3G; the forms differ in speed only, and none has a timing that depends on key,
 * IV or key stream. */
struct Snow3gForm {
   /** Initialises with k0 to k3 and IV0 to IV3, up to the word ahead of the key stream. */
   void (*start)(Snow3gState& state, const uint32_t* key, const uint32_t* iv);

   /** The next words of the key stream, four for each of `groups`, which is 1 to 4. The first word of all is
    * not yet one of it (TS 35.216, 4.2). */
   void (*words)(Snow3gState& state, uint32_t* words, size_t groups);
};

extern const Snow3gForm snow3gPortable;
#if defined(__x86_64__)
/** For processors for which there is aesHardware(). */
extern const Snow3gForm snow3gX86;
#endif

/** UEA2: deciphers as well. Bits behind the last one of `bits` stay as they are. The key has 16 octets. */
void uea2(const uint8_t* key, uint32_t count, unsigned bearer, unsigned direction, uint8_t* data,
          uint64_t bits);

/** UIA2; for 128-EIA1 `fresh` is BEARER in the highest 5 bits. */
uint32_t uia2(const uint8_t* key, uint32_t count, uint32_t fresh, unsigned direction, const uint8_t* data,
              uint64_t bits);

} // namespace quorva

#endif
