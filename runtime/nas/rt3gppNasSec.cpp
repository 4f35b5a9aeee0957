// NAS security: keys and algorithms of a context, ciphering and integrity protection of its messages.
#include "quorva/rt3gppNasSec.h"

#include "quorva/rtxContext.h"
#include "quorva/rtxError.h"
#include "quorva/rtxMemHeap.h"
#include "runtime/core/rtxInline.h"
#include "runtime/nas/aes128.h"
#include "runtime/nas/snow3g.h"
#include "runtime/nas/zuc.h"

#include <cstddef>
#include <cstring>

using namespace quorva;

namespace {

constexpr int32_t algNull = 0;
constexpr int32_t algSnow3g = 1;
constexpr int32_t algAes = 2;
constexpr int32_t algZuc = 3;
constexpr size_t keySize = 16;
constexpr size_t subkeysSize = 2 * aesBlockSize;
constexpr size_t scheduleSize = aesScheduleWords * sizeof(uint32_t);
/** Of both keys, and a word behind them that tells whether the cipher key's is there. */
constexpr size_t schedulesSize = 2 * scheduleSize + sizeof(uint32_t);
/** COUNT, BEARER and DIRECTION with their padding: ahead of the message in the MAC, start of the counter
 * block. */
constexpr size_t prefixSize = 8;

/** A key as it was assigned last, and from the second time on what was computed from it. */
struct KeptKey {
   bool known, expanded;
   uint8_t key[aesBlockSize];
   uint32_t schedule[aesScheduleWords];
   uint8_t subkeys[subkeysSize]; // of the integrity key

   bool isKey(const uint8_t* other) const {
      const uint64_t differ = (loadWord<uint64_t>(key) ^ loadWord<uint64_t>(other)) |
                              (loadWord<uint64_t>(key + 8) ^ loadWord<uint64_t>(other + 8));
      return known && differ == 0;
   }
   bool hasFor(const uint8_t* other) const { return expanded && isKey(other); }

   void take(const uint8_t* newKey, const uint32_t* newSchedule, const uint8_t* newSubkeys) {
      if (!isKey(newKey)) {
         // Keys that change with each message aren't worth more than this.
         secureClear(this, expanded ? sizeof *this : offsetof(KeptKey, schedule));
         known = true;
         std::memcpy(key, newKey, sizeof key);
         return;
      }
      expanded = true;
      std::memcpy(schedule, newSchedule, sizeof schedule);
      if (newSubkeys != nullptr) std::memcpy(subkeys, newSubkeys, sizeof subkeys);
   }
};

/** What a context keeps of its keys while the heap, and with it the security record, ends and is had again.
 */
struct KeptKeys {
   void (*freeFn)(RtxContext*); // as in each record that is freed with the context
   KeptKey integ, cipher;
};

KeptKeys* keptOf(const RtxContext* pctxt) {
   return static_cast<KeptKeys*>(pctxt->keptKeys);
}

void clearKept(RtxContext* pctxt) {
   secureClear(pctxt->keptKeys, sizeof(KeptKeys));
}

void dropKept(RtxContext* pctxt) {
   pctxt->keysAssigned = 0;
   if (pctxt->keptKeys == nullptr) return;
   clearKept(pctxt);
   rtxMemHeapSysFreePtr(pctxt, pctxt->keptKeys);
   pctxt->keptKeys = nullptr;
}

/** The place for keys, once they are assigned for a second time without rtx3gppSecFree between; or null. */
KeptKeys* placeToKeep(RtxContext* pctxt) {
   if (pctxt->keptKeys == nullptr && pctxt->keysAssigned) {
      pctxt->keptKeys = rtxMemHeapSysAllocZ(pctxt, sizeof(KeptKeys));
      if (pctxt->keptKeys != nullptr) keptOf(pctxt)->freeFn = clearKept;
   }
   pctxt->keysAssigned = 1;
   return keptOf(pctxt);
}

void releaseSecret(RtxContext* pctxt, void* secret, size_t size) {
   if (secret == nullptr) return;
   secureClear(secret, size);
   rtxMemHeapFreePtr(pctxt, secret);
}

void releaseSubkeys(RtxContext* pctxt, RtxNasSecContext& sec) {
   releaseSecret(pctxt, sec.cmacSubkeys, subkeysSize);
   sec.cmacSubkeys = nullptr;
}

void releaseSchedules(RtxContext* pctxt, RtxNasSecContext& sec) {
   releaseSecret(pctxt, sec.aesSchedules, schedulesSize);
   sec.aesSchedules = nullptr;
}

uint32_t& hasCipherKey(const RtxNasSecContext& sec) {
   return sec.aesSchedules[2 * aesScheduleWords];
}

bool haveSchedules(RtxContext* pctxt, RtxNasSecContext& sec) {
   if (sec.aesSchedules != nullptr) return true;
   sec.aesSchedules = static_cast<uint32_t*>(rtxMemHeapAlloc(pctxt, schedulesSize));
   if (sec.aesSchedules == nullptr) return false;
   // The cipher of before may stay in force by its number, if a refusal took its key away and another
   // follows.
   hasCipherKey(sec) = 0;
   return true;
}

bool haveSubkeys(RtxContext* pctxt, RtxNasSecContext& sec) {
   if (sec.cmacSubkeys == nullptr)
      sec.cmacSubkeys = static_cast<uint8_t*>(rtxMemHeapAlloc(pctxt, subkeysSize));
   return sec.cmacSubkeys != nullptr;
}

uint32_t* integSchedule(const RtxNasSecContext& sec) {
   return sec.aesSchedules;
}
uint32_t* cipherSchedule(const RtxNasSecContext& sec) {
   return sec.aesSchedules + aesScheduleWords;
}

/** SNOW 3G and ZUC, which the standards have besides, have no schedule: a copy of the key is what they need.
 */
bool isStream(const RtxContext* pctxt, int32_t algorithm) {
   return (algorithm == algSnow3g || algorithm == algZuc) && (pctxt->flags & RTX_CTXT_STANDARD) != 0;
}
bool needsKey(const RtxContext* pctxt, int32_t algorithm) {
   return algorithm == algAes || isStream(pctxt, algorithm);
}
/** Their copies lie where AES has its subkeys, and its second schedule. */
uint8_t* integCopy(const RtxNasSecContext& sec) {
   return sec.cmacSubkeys;
}
uint8_t* cipherCopy(const RtxNasSecContext& sec) {
   return reinterpret_cast<uint8_t*>(cipherSchedule(sec));
}

int refuseAlgorithm(RtxContext* pctxt, const char* what, int32_t algorithm) {
   rtxErrAddStrParm(pctxt, what);
   rtxErrAddIntParm(pctxt, algorithm);
   return recordNewFailure(pctxt, RTX_E_UNSUPPORTED);
}

/** The octets of the prefix, as a word of memory. */
uint64_t prefixOf(const RtxNasSecContext& sec) {
   const auto octet4 = static_cast<uint8_t>(sec.bearer * 8 | sec.direction * 4);
   return bigEndian(uint64_t{sec.count} << 32 | uint64_t{octet4} << 24);
}

using BlockWords __attribute__((vector_size(aesBlockSize))) = uint64_t;

template <class Piece>
void movePiece(uint8_t*& out, const uint8_t*& data) {
   storeWord(out, loadWord<Piece>(data));
   out += sizeof(Piece);
   data += sizeof(Piece);
}

/**
 * Copies the message behind the prefix, in the very pieces in which the MAC reads the copy: whole blocks,
 * then 8, 4, 2 and 1 octets. A load that takes from two stores would wait until both have reached the cache,
 * and so would the MAC.
 */
void copyInPieces(uint8_t* out, uint64_t prefix, const uint8_t* data, size_t length) {
   if (length < prefixSize) {
      storeWord(out, prefix);
      out += prefixSize;
   } else {
      storeWord(out, BlockWords{prefix, loadWord<uint64_t>(data)});
      out += aesBlockSize;
      data += aesBlockSize - prefixSize;
      length -= aesBlockSize - prefixSize;
      for (; length >= aesBlockSize; length -= aesBlockSize) movePiece<BlockWords>(out, data);
      if (length & 8) movePiece<uint64_t>(out, data);
   }
   if (length & 4) movePiece<uint32_t>(out, data);
   if (length & 2) movePiece<uint16_t>(out, data);
   if (length & 1) movePiece<uint8_t>(out, data);
}

uint32_t macOver(const RtxNasSecContext& sec, const uint8_t* octets, size_t length) {
   uint8_t tag[aesBlockSize];
   aesForm().cmac(integSchedule(sec), sec.cmacSubkeys, octets, length, tag);
   return static_cast<uint32_t>(bigEndian(loadWord<uint64_t>(tag)) >> 32);
}

} // namespace

int rtx3gppSecInitialize(RtxContext* pctxt) {
   // The record of before, if any, may have gone with a reset of the heap: it is not touched.
   dropEnded(pctxt);
   auto* sec = static_cast<RtxNasSecContext*>(rtxMemHeapAllocZ(pctxt, sizeof(RtxNasSecContext)));
   if (sec == nullptr) return recordNoMemory(pctxt);
   pctxt->nasSec = sec;
   return RTX_OK;
}

int rtx3gppAssignAlgorithmKeys(RtxContext* pctxt, const uint8_t* integKey, const uint8_t* cipherKey,
                               int32_t integAlg, int32_t cipherAlg) {
   dropEnded(pctxt);
   if (pctxt->nasSec == nullptr) return recordNewFailure(pctxt, RTX_E_NO_SECURITY);
   RtxNasSecContext& sec = *pctxt->nasSec;
   if (integAlg != algAes && cipherAlg != algAes) dropKept(pctxt);
   KeptKeys* const kept = integAlg == algAes || cipherAlg == algAes ? placeToKeep(pctxt) : nullptr;
   const auto failed = [&](int status) {
      // Keys that have taken the place of another algorithm's are none under its number.
      if (sec.integAlg != integAlg && sec.integAlg != algNull) releaseSubkeys(pctxt, sec);
      return status;
   };

   if (integAlg != algAes) {
      // Ahead of the refusal: an unknown number takes the old keys away, so that nothing is coded with them,
      // and leaves the old numbers.
      releaseSubkeys(pctxt, sec);
      if (kept != nullptr) secureClear(&kept->integ, sizeof kept->integ);
      if (!needsKey(pctxt, cipherAlg)) releaseSchedules(pctxt, sec);
      if (isStream(pctxt, integAlg)) {
         if (integKey == nullptr) return recordNewFailure(pctxt, RTX_E_NULL);
         if (!haveSubkeys(pctxt, sec)) return recordNoMemory(pctxt);
         std::memcpy(integCopy(sec), integKey, keySize);
      } else if (integAlg != algNull) {
         return refuseAlgorithm(pctxt, "integrity algorithm", integAlg);
      }
   } else {
      if (integKey == nullptr) return recordNewFailure(pctxt, RTX_E_NULL);
      if (!haveSchedules(pctxt, sec)) return recordNoMemory(pctxt);
      const bool reused = kept != nullptr && kept->integ.hasFor(integKey);
      const AesForm& form = aesForm();
      if (reused)
         std::memcpy(integSchedule(sec), kept->integ.schedule, scheduleSize);
      else
         form.expandKey(integSchedule(sec), integKey);
      if (!haveSubkeys(pctxt, sec)) return recordNoMemory(pctxt);
      if (reused)
         std::memcpy(sec.cmacSubkeys, kept->integ.subkeys, subkeysSize);
      else
         cmacSubkeys(form, integSchedule(sec), sec.cmacSubkeys);
      if (kept != nullptr && !reused) kept->integ.take(integKey, integSchedule(sec), sec.cmacSubkeys);
   }

   if (kept != nullptr && cipherAlg != algAes) secureClear(&kept->cipher, sizeof kept->cipher);
   if (needsKey(pctxt, cipherAlg)) {
      if (cipherKey == nullptr) return failed(recordNewFailure(pctxt, RTX_E_NULL));
      if (!haveSchedules(pctxt, sec)) return failed(recordNoMemory(pctxt));
   }
   if (cipherAlg == algAes) {
      if (kept != nullptr && kept->cipher.hasFor(cipherKey)) {
         std::memcpy(cipherSchedule(sec), kept->cipher.schedule, scheduleSize);
      } else {
         rtxCryptAES128KeyExpansion(cipherSchedule(sec), cipherKey);
         if (kept != nullptr) kept->cipher.take(cipherKey, cipherSchedule(sec), nullptr);
      }
   } else if (isStream(pctxt, cipherAlg)) {
      secureClear(cipherCopy(sec), scheduleSize);
      std::memcpy(cipherCopy(sec), cipherKey, keySize);
   } else if (cipherAlg != algNull) {
      // Behind the expansion of the integrity key, which stays in force.
      return failed(refuseAlgorithm(pctxt, "cipher algorithm", cipherAlg));
   }

   if (needsKey(pctxt, cipherAlg)) hasCipherKey(sec) = 1;
   sec.cipherAlg = cipherAlg;
   sec.integAlg = integAlg;
   sec.integKey = integKey;
   sec.cipherKey = cipherKey;
   return RTX_OK;
}

int rtx3gppSetCount(RtxContext* pctxt, uint32_t count, uint8_t bearer, uint8_t direction) {
   dropEnded(pctxt);
   if (pctxt->nasSec == nullptr) return recordNewFailure(pctxt, RTX_E_NO_SECURITY);
   // A sixth bit of the bearer would go, and a second one of the direction stand for a bearer.
   if (bearer > 31 || direction > RTX_NAS_DOWNLINK) return recordNewFailure(pctxt, RTX_E_BAD_ARGUMENT);
   pctxt->nasSec->count = count;
   pctxt->nasSec->bearer = bearer;
   pctxt->nasSec->direction = direction;
   return RTX_OK;
}

int rtx3gppCipher(RtxContext* pctxt, uint8_t* data, size_t length) {
   // The code and the cipher of one message fail alike and leave one record: its status is -71, not -50.
   dropEnded(pctxt);
   if (pctxt->nasSec == nullptr) return recordFailure(pctxt, RTX_E_NO_SECURITY);
   const RtxNasSecContext& sec = *pctxt->nasSec;
   if (length == 0 || sec.cipherAlg == algNull) return RTX_OK;
   if (!needsKey(pctxt, sec.cipherAlg)) return refuseAlgorithm(pctxt, "encryption algorithm", sec.cipherAlg);
   if (sec.aesSchedules == nullptr || !hasCipherKey(sec)) return recordFailure(pctxt, RTX_E_NO_SECURITY);
   if (data == nullptr) return recordNewFailure(pctxt, RTX_E_NULL);
   if (sec.cipherAlg != algAes) {
      const auto cipher = sec.cipherAlg == algSnow3g ? uea2 : eea3;
      cipher(cipherCopy(sec), sec.count, sec.bearer, sec.direction, data, uint64_t{8} * length);
      return RTX_OK;
   }
   uint8_t nonce[prefixSize];
   storeWord(nonce, prefixOf(sec));
   aesForm().counterMode(cipherSchedule(sec), nonce, data, length);
   return RTX_OK;
}

int rtx3gppComputeMAC(RtxContext* pctxt, uint8_t* data, size_t length, uint32_t* mac) {
   dropEnded(pctxt);
   if (pctxt->nasSec == nullptr) return recordFailure(pctxt, RTX_E_NO_SECURITY);
   const RtxNasSecContext& sec = *pctxt->nasSec;
   if (mac == nullptr) return recordNewFailure(pctxt, RTX_E_NULL);
   if (sec.integAlg == algNull) {
      *mac = 0;
      return RTX_OK;
   }
   if (!needsKey(pctxt, sec.integAlg)) return refuseAlgorithm(pctxt, "integrity algorithm", sec.integAlg);
   if (sec.cmacSubkeys == nullptr || (sec.integAlg == algAes && sec.aesSchedules == nullptr))
      return recordFailure(pctxt, RTX_E_NO_SECURITY);
   if (data == nullptr && length != 0) return recordNewFailure(pctxt, RTX_E_NULL);
   if (sec.integAlg != algAes) {
      const uint64_t bits = uint64_t{8} * length;
      const uint32_t fresh = uint32_t{sec.bearer} << 27; // TS 33.401, B.2.2
      *mac = sec.integAlg == algSnow3g
                   ? uia2(integCopy(sec), sec.count, fresh, sec.direction, data, bits)
                   : eia3(integCopy(sec), sec.count, sec.bearer, sec.direction, data, bits);
      return RTX_OK;
   }

   const size_t total = length + prefixSize;
   if (total < prefixSize) { // wrapped around: in the caller's own octets, as there is no memory of that size
      storeWord(data, prefixOf(sec));
      *mac = macOver(sec, data, total);
      return RTX_OK;
   }
   auto* octets = static_cast<uint8_t*>(rtxMemHeapAlloc(pctxt, total));
   if (octets == nullptr) return recordNoMemory(pctxt);
   copyInPieces(octets, prefixOf(sec), data, length);
   *mac = macOver(sec, octets, total);
   rtxMemHeapFreePtr(pctxt, octets);
   return RTX_OK;
}

void rtx3gppSecFree(RtxContext* pctxt) {
   dropKept(pctxt);
   if (rtx3gppAssignAlgorithmKeys(pctxt, nullptr, nullptr, algNull, algNull) != RTX_OK) return;
   rtxMemHeapFreePtr(pctxt, pctxt->nasSec);
   pctxt->nasSec = nullptr;
}
