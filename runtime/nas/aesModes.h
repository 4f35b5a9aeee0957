/**
 * @file aesModes.h
 * Counter mode and CMAC over any form of AES. Included by the source of each form and by nothing else: the
 * functions have internal linkage, since each form compiles them with instructions of its own.
 *
 * Such a source defines QUORVA_AES_TARGET, the attribute of its functions, and hands in a `Unit` with
 * - `Block`, 16 octets, and `load`, `store`, `exclusiveOr` for it;
 * - `ChainKeys`, made from a schedule, and `encrypt(keys, a, b)`, which enciphers a XOR b;
 * - `StreamKeys`, made from a schedule, and `keyStream<N>(keys, counter, stream)`, which enciphers the next N
 * counter blocks (at most `lanes`) and steps the counter; `Counter` is made from the nonce.
 */
#ifndef QUORVA_RUNTIME_NAS_AESMODES_H
#define QUORVA_RUNTIME_NAS_AESMODES_H

#include "runtime/nas/aes128.h"

#include <utility>

/** Goes before a loop over the blocks in flight, which must be unrolled for the blocks to stay in registers.
 */
#if defined(__clang__)
#define QUORVA_AES_UNROLL _Pragma("clang loop unroll(full)")
#else
#define QUORVA_AES_UNROLL _Pragma("GCC unroll 16")
#endif

namespace quorva {
namespace {

template <class Unit>
QUORVA_AES_TARGET inline void xorBlock(uint8_t* data, typename Unit::Block stream) {
   Unit::store(data, Unit::exclusiveOr(Unit::load(data), stream));
}

template <class Word>
QUORVA_AES_TARGET inline void xorWord(uint8_t*& data, const uint8_t*& stream) {
   Word a, b;
   std::memcpy(&a, data, sizeof a);
   std::memcpy(&b, stream, sizeof b);
   a = static_cast<Word>(a ^ b);
   std::memcpy(data, &a, sizeof a);
   data += sizeof a;
   stream += sizeof a;
}

/** XORs the last block of the data, which may have fewer than 16 octets. */
template <class Unit>
QUORVA_AES_TARGET inline void xorLastBlock(uint8_t* data, typename Unit::Block stream, size_t length) {
   if (length == aesBlockSize) return xorBlock<Unit>(data, stream);
   uint8_t octets[aesBlockSize];
   Unit::store(octets, stream);
   const uint8_t* next = octets;
   if (length & 8) xorWord<uint64_t>(data, next);
   if (length & 4) xorWord<uint32_t>(data, next);
   if (length & 2) xorWord<uint16_t>(data, next);
   if (length & 1) xorWord<uint8_t>(data, next);
}

/** Enciphers the last N blocks of the data, the last of which may be short. */
template <class Unit, size_t N>
QUORVA_AES_TARGET void lastRun(const typename Unit::StreamKeys& keys, typename Unit::Counter& counter,
                               uint8_t* data, size_t length) {
   typename Unit::Block stream[N];
   Unit::template keyStream<N>(keys, counter, stream);
   QUORVA_AES_UNROLL
   for (size_t i = 0; i + 1 < N; ++i) xorBlock<Unit>(data + i * aesBlockSize, stream[i]);
   xorLastBlock<Unit>(data + (N - 1) * aesBlockSize, stream[N - 1], length - (N - 1) * aesBlockSize);
}

template <class Unit, size_t... I>
QUORVA_AES_TARGET inline void lastRunOf(size_t blocks, std::index_sequence<I...>,
                                        const typename Unit::StreamKeys& keys,
                                        typename Unit::Counter& counter, uint8_t* data, size_t length) {
   using Run = void (*)(const typename Unit::StreamKeys&, typename Unit::Counter&, uint8_t*, size_t);
   static constexpr Run runs[] = {lastRun<Unit, I + 1>...};
   runs[blocks - 1](keys, counter, data, length);
}

template <class Unit>
QUORVA_AES_TARGET void counterMode(const uint32_t* schedule, const uint8_t* nonce, uint8_t* data,
                                   size_t length) {
   constexpr size_t run = Unit::lanes * aesBlockSize;
   const typename Unit::StreamKeys keys(schedule);
   typename Unit::Counter counter(nonce);
   for (; length > run; data += run, length -= run) {
      typename Unit::Block stream[Unit::lanes];
      Unit::template keyStream<Unit::lanes>(keys, counter, stream);
      QUORVA_AES_UNROLL
      for (size_t i = 0; i < Unit::lanes; ++i) xorBlock<Unit>(data + i * aesBlockSize, stream[i]);
   }
   if (length != 0)
      lastRunOf<Unit>((length + aesBlockSize - 1) / aesBlockSize, std::make_index_sequence<Unit::lanes>(),
                      keys, counter, data, length);
}

template <class Unit>
QUORVA_AES_TARGET void cmac(const uint32_t* schedule, const uint8_t* subkeys, const uint8_t* data,
                            size_t length, uint8_t* tag) {
   const typename Unit::ChainKeys keys(schedule);
   uint8_t octets[aesBlockSize] = {};
   typename Unit::Block chain = Unit::load(octets);
   for (; length > aesBlockSize; data += aesBlockSize, length -= aesBlockSize)
      chain = Unit::encrypt(keys, chain, Unit::load(data));
   typename Unit::Block last;
   if (length == aesBlockSize) {
      last = Unit::exclusiveOr(Unit::load(data), Unit::load(subkeys));
   } else {
      if (length != 0) std::memcpy(octets, data, length);
      octets[length] = 0x80;
      last = Unit::exclusiveOr(Unit::load(octets), Unit::load(subkeys + aesBlockSize));
   }
   Unit::store(tag, Unit::encrypt(keys, chain, last));
}

template <class Unit>
QUORVA_AES_TARGET void encryptBlock(const uint32_t* schedule, const uint8_t* in, uint8_t* out) {
   const typename Unit::ChainKeys keys(schedule);
   const uint8_t zeros[aesBlockSize] = {};
   Unit::store(out, Unit::encrypt(keys, Unit::load(in), Unit::load(zeros)));
}

} // namespace
} // namespace quorva

#endif
