// AES-128 for processors without AES instructions, bitsliced so that its timing depends on lengths only.
//
// Four blocks are worked on at once (eight in the wide form, four in each half). Plane k holds bit k of all
// their octets: the octet in row r and column c of block b stands at bit 16 r + 4 c + b. So ShiftRows turns
// each 16-bit field by a multiple of four bits, and the neighbouring rows that MixColumns needs are 16 bits
// away.
#define QUORVA_AES_TARGET
#include "runtime/nas/aesModes.h"
#include "runtime/nas/bitPlanes.h"

namespace quorva {
namespace {

constexpr int rounds = 10;
constexpr size_t slicedBlocks = 4;

using Planes = uint64_t;
/** Two sets of four blocks; every processor with vectors of 128 bits does both at the price of one. */
using WidePlanes __attribute__((vector_size(16))) = uint64_t;

constexpr uint32_t reverseOctets(uint32_t word) {
   return __builtin_bswap32(word);
}

constexpr uint32_t hostFromLittle(uint32_t word) {
   return __BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__ ? word : reverseOctets(word);
}

/** SubWord of the key schedule: the four octets of a word through the same circuit. */
constexpr uint32_t subWord(uint32_t word) {
   uint32_t planes[8] = {};
   spread(word, planes);
   aesSubBytes(planes);
   return gather(planes, uint32_t{0x01010101});
}
static_assert(subWord(0x0001539a) == 0x637cedb8u);

template <class Plane>
inline void shiftRows(Plane* q) {
   for (int k = 0; k < 8; ++k) {
      const Plane x = q[k];
      q[k] = (x & uint64_t{0x000000000000FFFF}) | (x & uint64_t{0x00000000FFF00000}) >> 4 |
             (x & uint64_t{0x00000000000F0000}) << 12 | (x & uint64_t{0x0000FF0000000000}) >> 8 |
             (x & uint64_t{0x000000FF00000000}) << 8 | (x & uint64_t{0xF000000000000000}) >> 12 |
             (x & uint64_t{0x0FFF000000000000}) << 4;
   }
}

template <class Plane>
inline void mixColumns(Plane* q) {
   Plane next[8], sum[8];
   for (int k = 0; k < 8; ++k) {
      next[k] = q[k] >> 16 | q[k] << 48;
      sum[k] = q[k] ^ next[k];
   }
   for (int k = 0; k < 8; ++k) {
      // Twice this row and the next, once the next and the two behind it.
      Plane doubled = sum[(k + 7) % 8];
      if (k == 1 || k == 3 || k == 4) doubled ^= sum[7];
      q[k] = doubled ^ next[k] ^ (sum[k] >> 32 | sum[k] << 32);
   }
}

/** Exchanges word index and bit index of each octet in eight words; its own inverse. */
template <class Plane>
inline void transpose(Plane* q) {
   constexpr uint64_t masks[] = {0x5555555555555555, 0x3333333333333333, 0x0F0F0F0F0F0F0F0F};
   for (int step = 0; step < 3; ++step) {
      const int distance = 1 << step;
      for (int i = 0; i < 8; ++i) {
         if (i & distance) continue;
         const Plane moved = (q[i] >> distance ^ q[i + distance]) & masks[step];
         q[i] ^= moved << distance;
         q[i + distance] ^= moved;
      }
   }
}

constexpr uint64_t spreadOctets(uint64_t word) {
   word = (word | word << 16) & 0x0000FFFF0000FFFF;
   return (word | word << 8) & 0x00FF00FF00FF00FF;
}

constexpr uint32_t gatherOctets(uint64_t spread) {
   spread &= 0x00FF00FF00FF00FF;
   spread = (spread | spread >> 8) & 0x0000FFFF0000FFFF;
   return static_cast<uint32_t>(spread | spread >> 16);
}

/** A block as its four columns, first row in the least significant octet. */
struct Columns {
   uint32_t word[4];
};

/** Puts a block where the transposition takes it to place `b` of four. */
inline void putBlock(uint64_t* words, size_t b, const Columns& block) {
   words[b] = spreadOctets(block.word[0]) | spreadOctets(block.word[2]) << 8;
   words[4 + b] = spreadOctets(block.word[1]) | spreadOctets(block.word[3]) << 8;
}

inline Columns getBlock(const uint64_t* words, size_t b) {
   return {{gatherOctets(words[b]), gatherOctets(words[4 + b]), gatherOctets(words[b] >> 8),
            gatherOctets(words[4 + b] >> 8)}};
}

/** All round keys as planes, each key in all four places. */
struct SlicedKeys {
   uint64_t plane[rounds + 1][8];

   explicit SlicedKeys(const uint32_t* schedule) {
      for (int r = 0; r <= rounds; ++r, schedule += 4) {
         Columns key;
         for (int c = 0; c < 4; ++c) key.word[c] = reverseOctets(schedule[c]);
         for (size_t b = 0; b < slicedBlocks; ++b) putBlock(plane[r], b, key);
         transpose(plane[r]);
      }
   }
   ~SlicedKeys() { secureClear(plane, sizeof plane); }
   SlicedKeys(const SlicedKeys&) = delete;
   SlicedKeys& operator=(const SlicedKeys&) = delete;
};

template <class Plane>
void encryptPlanes(const SlicedKeys& keys, Plane* q) {
   transpose(q);
   for (int k = 0; k < 8; ++k) q[k] ^= keys.plane[0][k];
   for (int r = 1; r <= rounds; ++r) {
      aesSubBytes(q);
      shiftRows(q);
      if (r < rounds) mixColumns(q);
      for (int k = 0; k < 8; ++k) q[k] ^= keys.plane[r][k];
   }
   transpose(q);
}

/** Enciphers up to eight blocks, in the narrow form if four suffice. */
template <size_t N>
inline void encryptBlocks(const SlicedKeys& keys, Columns* blocks) {
   constexpr size_t halves = N > slicedBlocks ? 2 : 1;
   uint64_t words[halves][8] = {};
   for (size_t i = 0; i < N; ++i) putBlock(words[i / slicedBlocks], i % slicedBlocks, blocks[i]);
   if constexpr (halves == 1) {
      encryptPlanes<Planes>(keys, words[0]);
   } else {
      WidePlanes wide[8];
      for (int k = 0; k < 8; ++k) wide[k] = WidePlanes{words[0][k], words[1][k]};
      encryptPlanes<WidePlanes>(keys, wide);
      for (int k = 0; k < 8; ++k) {
         words[0][k] = wide[k][0];
         words[1][k] = wide[k][1];
      }
   }
   for (size_t i = 0; i < N; ++i) blocks[i] = getBlock(words[i / slicedBlocks], i % slicedBlocks);
}

struct PortableUnit {
   using Block = Columns;
   using ChainKeys = SlicedKeys;
   using StreamKeys = SlicedKeys;
   static constexpr size_t lanes = 2 * slicedBlocks;

   static inline Block load(const uint8_t* octets) {
      Block block;
      std::memcpy(block.word, octets, sizeof block.word);
      for (uint32_t& word : block.word) word = hostFromLittle(word);
      return block;
   }
   static inline void store(uint8_t* octets, Block block) {
      for (uint32_t& word : block.word) word = hostFromLittle(word);
      std::memcpy(octets, block.word, sizeof block.word);
   }
   static inline Block exclusiveOr(Block a, const Block& b) {
      for (int c = 0; c < 4; ++c) a.word[c] ^= b.word[c];
      return a;
   }
   static inline Block join(uint64_t low, uint64_t high) {
      return {{static_cast<uint32_t>(low), static_cast<uint32_t>(low >> 32), static_cast<uint32_t>(high),
               static_cast<uint32_t>(high >> 32)}};
   }
   static inline Block encrypt(const SlicedKeys& keys, const Block& chain, const Block& message) {
      Block block = exclusiveOr(chain, message);
      encryptBlocks<1>(keys, &block);
      return block;
   }

   struct Counter {
      Block first = {};
      uint64_t value = 0;

      explicit inline Counter(const uint8_t* nonce) {
         std::memcpy(first.word, nonce, 8);
         for (uint32_t& word : first.word) word = hostFromLittle(word);
      }
   };

   template <size_t N>
   static void keyStream(const SlicedKeys& keys, Counter& counter, Block* stream) {
      for (size_t i = 0; i < N; ++i, ++counter.value) {
         stream[i] = counter.first;
         stream[i].word[2] = reverseOctets(static_cast<uint32_t>(counter.value >> 32));
         stream[i].word[3] = reverseOctets(static_cast<uint32_t>(counter.value));
      }
      encryptBlocks<N>(keys, stream);
   }
};

void expandKey(uint32_t* schedule, const uint8_t* key) {
   for (int i = 0; i < 4; ++i, key += 4)
      schedule[i] = uint32_t{key[0]} << 24 | uint32_t{key[1]} << 16 | uint32_t{key[2]} << 8 | key[3];
   uint32_t rcon = 0x01;
   for (int r = 0; r < rounds; ++r, schedule += 4) {
      schedule[4] = schedule[0] ^ subWord(schedule[3] << 8 | schedule[3] >> 24) ^ rcon << 24;
      for (int i = 5; i < 8; ++i) schedule[i] = schedule[i - 4] ^ schedule[i - 1];
      rcon = rcon << 1 ^ (rcon & 0x80 ? 0x11b : 0);
   }
}

} // namespace

constexpr AesForm aesPortable = {expandKey, encryptBlock<PortableUnit>, counterMode<PortableUnit>,
                                 cmac<PortableUnit>};

#if !defined(__x86_64__) && !(defined(__aarch64__) && defined(__linux__) && !defined(__AARCH64EB__))
const AesForm* aesHardware() {
   return nullptr;
}
#endif

} // namespace quorva
