/**
 * @file zuc.h
 * ZUC (TS 35.222) in two forms, and the algorithms over it: 128-EEA3 and 128-EIA3 (TS 35.221).
 */
#ifndef QUORVA_RUNTIME_NAS_ZUC_H
#define QUORVA_RUNTIME_NAS_ZUC_H

#include "runtime/nas/aes128.h"

namespace quorva {

/** A generator at work. Its memory is zeroed at its end. */
struct ZucState {
   uint32_t s[32]; // s0 to s15, and those to come
   uint32_t r1, r2;

   ZucState() = default;
   ~ZucState() { secureClear(this, sizeof *this); }
   ZucState(const ZucState&) = delete;
   ZucState& operator=(const ZucState&) = delete;
};

/** One way of computing ZUC; the forms differ in speed only, and none has a timing that depends on key, IV or
 * key stream. */
struct ZucForm {
   /** Initialises with a key and an IV of 16 octets each, up to the first word of the key stream. */
   void (*start)(ZucState& state, const uint8_t* key, const uint8_t* iv);

   /** The next 1 to 16 words of the key stream. */
   void (*words)(ZucState& state, uint32_t* words, size_t count);
};

extern const ZucForm zucPortable;
#if defined(__x86_64__)
/** For processors for which there is aesHardware(). */
extern const ZucForm zucX86;
#endif

/** 128-EEA3; deciphers as well. Bits behind the last one of `bits` stay as they are. The key has 16 octets.
 */
void eea3(const uint8_t* key, uint32_t count, unsigned bearer, unsigned direction, uint8_t* data,
          uint64_t bits);

/** 128-EIA3. */
uint32_t eia3(const uint8_t* key, uint32_t count, unsigned bearer, unsigned direction, const uint8_t* data,
              uint64_t bits);

} // namespace quorva

#endif
