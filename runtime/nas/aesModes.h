/**
 * @file aesModes.h
 * Counter mode and CMAC over any form of AES. Included by the source of each form and by nothing else: the
 * functions have internal linkage, since each form compiles them with instructions of its own.
 *
 * Such a source defines QUORVA_AES_TARGET, the attribute of its functions, and hands in a `Unit` with
 * - `Block`, 16 octets, and `load`, `store`, `exclusiveOr` for it, and `join` of two words whose least
 * significant octets come first;
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
   storeWord(data, static_cast<Word>(loadWord<Word>(data) ^ loadWord<Word>(stream)));
   data += sizeof(Word);
   stream += sizeof(Word);
}

/** Octets of memory as a number, the first the least significant. */
template <class Word>
QUORVA_AES_TARGET inline uint64_t loadLittle(const uint8_t* octets) {
   const uint64_t word = loadWord<Word>(octets);
   return __BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__ ? word
                                                    : __builtin_bswap64(word) >> (64 - 8 * sizeof(Word));
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

/**
 * A block of fewer than 16 octets with the padding of CMAC. It is put together in registers, from the pieces
 * in which copyInPieces() writes: read back from memory it would wait for the whole chain before it.
 */
template <class Unit>
QUORVA_AES_TARGET inline typename Unit::Block paddedBlock(const uint8_t* data, size_t length) {
   const uint8_t* next = data + (length & 8);
   uint64_t rest = 0;
   unsigned bits = 0;
   if (length & 4) {
      rest = loadLittle<uint32_t>(next);
      bits = 32;
      next += 4;
   }
   if (length & 2) {
      rest |= loadLittle<uint16_t>(next) << bits;
      bits += 16;
      next += 2;
   }
   if (length & 1) {
      rest |= uint64_t{*next} << bits;
      bits += 8;
   }
   rest |= uint64_t{0x80} << bits;
   return length & 8 ? Unit::join(loadLittle<uint64_t>(data), rest) : Unit::join(rest, 0);
}

template <class Unit>
QUORVA_AES_TARGET void cmac(const uint32_t* schedule, const uint8_t* subkeys, const uint8_t* data,
                            size_t length, uint8_t* tag) {
   const typename Unit::ChainKeys keys(schedule);
   typename Unit::Block chain = Unit::join(0, 0);
   for (; length > aesBlockSize; data += aesBlockSize, length -= aesBlockSize)
      chain = Unit::encrypt(keys, chain, Unit::load(data));
   const bool whole = length == aesBlockSize;
   const typename Unit::Block last = whole ? Unit::load(data) : paddedBlock<Unit>(data, length);
   const typename Unit::Block subkey = Unit::load(whole ? subkeys : subkeys + aesBlockSize);
   Unit::store(tag, Unit::encrypt(keys, chain, Unit::exclusiveOr(last, subkey)));
}

template <class Unit>
QUORVA_AES_TARGET void encryptBlock(const uint32_t* schedule, const uint8_t* in, uint8_t* out) {
   const typename Unit::ChainKeys keys(schedule);
   Unit::store(out, Unit::encrypt(keys, Unit::load(in), Unit::join(0, 0)));
}

} // namespace
} // namespace quorva

#endif
