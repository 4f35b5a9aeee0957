/**
 * @file aes128.h
 * AES-128 (FIPS 197) encipherment in two forms, and the two modes that NAS security needs on top of it:
 * counter mode for 128-EEA2 and CMAC (NIST SP 800-38B) for 128-EIA2.
 *
 * A schedule is always 44 words in host order, each formed big-endian from its octets, whatever the form.
 */
#ifndef QUORVA_RUNTIME_NAS_AES128_H
#define QUORVA_RUNTIME_NAS_AES128_H

#include <cstddef>
#include <cstdint>
#include <cstring>

namespace quorva {

constexpr size_t aesBlockSize = 16;
constexpr size_t aesScheduleWords = 44;

/** One way of computing AES-128. The forms differ in speed only; none has a timing that depends on the data.
 */
struct AesForm {
   void (*expandKey)(uint32_t* schedule, const uint8_t* key);

   /** Enciphers 16 octets; `in` and `out` may be the same. */
   void (*encryptBlock)(const uint32_t* schedule, const uint8_t* in, uint8_t* out);

   /** XORs `length` octets with the key stream whose block i is AES(8 octets of `nonce`, i as 64 bits). */
   void (*counterMode)(const uint32_t* schedule, const uint8_t* nonce, uint8_t* data, size_t length);

   /** CMAC of `length` octets into the 16 octets of `tag`; `subkeys` are K1 and K2. */
   void (*cmac)(const uint32_t* schedule, const uint8_t* subkeys, const uint8_t* data, size_t length,
                uint8_t* tag);
};

/** Bitsliced, for any processor: no table and no branch depends on key or data. */
extern const AesForm aesPortable;

/** The form that uses the processor's AES instructions, or null where there are none. */
const AesForm* aesHardware();

/** The form in use: aesHardware() where there is one. */
const AesForm& aesForm();

/** Makes aesForm() give the portable form everywhere. For tests and measurements only. */
void aesForcePortable(bool force);

/** 16 octets shifted left by one bit; `in` and `out` may be the same. */
void shiftLeft(const uint8_t* in, uint8_t* out);

/** K1 and K2 of CMAC (NIST SP 800-38B, 6.1) into 32 octets. */
void cmacSubkeys(const AesForm& form, const uint32_t* schedule, uint8_t* subkeys);

/** Octets of memory as an integer of the host, and back; no alignment is needed. */
template <class Word>
inline Word loadWord(const uint8_t* octets) {
   Word word;
   std::memcpy(&word, octets, sizeof word);
   return word;
}
template <class Word>
inline void storeWord(uint8_t* octets, Word word) {
   std::memcpy(octets, &word, sizeof word);
}

/** A big-endian word of memory as a number, or a number as such a word. */
constexpr uint64_t bigEndian(uint64_t word) {
   return __BYTE_ORDER__ == __ORDER_BIG_ENDIAN__ ? word : __builtin_bswap64(word);
}

/** Zeroes memory that held a secret, in a way that no optimiser drops. */
inline void secureClear(void* ptr, size_t size) {
   std::memset(ptr, 0, size);
   __asm__ volatile("" : : "r"(ptr) : "memory");
}

} // namespace quorva

#endif
