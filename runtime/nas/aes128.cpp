// Choice of the AES form, and what all forms share.
#include "runtime/nas/aes128.h"
#include "quorva/rt3gppNasSec.h"

#include <atomic>
#include <initializer_list>

namespace quorva {

namespace {
std::atomic<bool> portableForced{false};
}

void aesForcePortable(bool force) {
   portableForced.store(force, std::memory_order_relaxed);
}

const AesForm& aesForm() {
   const AesForm* hardware = aesHardware();
   return hardware && !portableForced.load(std::memory_order_relaxed) ? *hardware : aesPortable;
}

void shiftLeft(const uint8_t* in, uint8_t* out) {
   const uint64_t high = bigEndian(loadWord<uint64_t>(in)), low = bigEndian(loadWord<uint64_t>(in + 8));
   storeWord(out, bigEndian(high << 1 | low >> 63));
   storeWord(out + 8, bigEndian(low << 1));
}

void cmacSubkeys(const AesForm& form, const uint32_t* schedule, uint8_t* subkeys) {
   uint8_t secret[aesBlockSize] = {};
   form.encryptBlock(schedule, secret, secret);
   const uint8_t* in = secret;
   for (uint8_t* out : {subkeys, subkeys + aesBlockSize}) {
      const uint8_t top = in[0] >> 7;
      shiftLeft(in, out);
      // The reduction is masked rather than branched upon: the subkeys are secret.
      out[aesBlockSize - 1] = static_cast<uint8_t>(out[aesBlockSize - 1] ^ (0x87 & -top));
      in = out;
   }
   secureClear(secret, sizeof secret);
}

} // namespace quorva

void rtxCryptAES128KeyExpansion(uint32_t* schedule, const uint8_t* key) {
   quorva::aesForm().expandKey(schedule, key);
}

void rtxCryptAESShiftRows(uint8_t* state) {
   uint8_t in[quorva::aesBlockSize];
   std::memcpy(in, state, sizeof in);
   for (size_t i = 0; i < sizeof in; ++i) state[i] = in[(i + 4 * (i % 4)) % sizeof in];
}
