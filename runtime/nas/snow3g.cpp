// SNOW 3G for any processor, and UEA2 and UIA2 over whichever form there is.
#define QUORVA_NAS_TARGET
#include "runtime/nas/bitPlanes.h"
#include "runtime/nas/snow3gEngine.h"
#include "runtime/nas/streamCipher.h"

namespace quorva {
namespace {

constexpr uint64_t octetBits = 0x0101010101010101;

/**
 * Eight octets twice, once in each half: every processor with vectors of 128 bits has instructions for them.
 */
using Octets __attribute__((vector_size(16))) = uint8_t;
using SignedOctets __attribute__((vector_size(16))) = int8_t;
using Halves __attribute__((vector_size(16))) = uint64_t;

inline Octets octetsOf(uint64_t first, uint64_t second) {
   return reinterpret_cast<Octets>(Halves{first, second});
}
/** Ones in the octets whose highest bit is set. */
inline Octets highest(Octets x) {
   return reinterpret_cast<Octets>(reinterpret_cast<SignedOctets>(x) < 0);
}
/** What octets side by side are times x, x^8 being what `reduction` says. */
inline Octets doubled(Octets x, uint8_t reduction) {
   return (x + x) ^ (highest(x) & reduction);
}
inline uint64_t doubled(uint64_t octets, uint64_t reduction) {
   return (octets & ~(octetBits << 7)) << 1 ^ (octets >> 7 & octetBits) * reduction;
}

/** What x is to the power of 2^n, squared n times; a power of two is linear. */
constexpr BitMap powerMap(unsigned n) {
   BitMap map{};
   for (unsigned bit = 0; bit < 8; ++bit) {
      unsigned value = 1u << bit;
      for (unsigned squared = 0; squared < n; ++squared) {
         unsigned result = 0, shifted = value;
         for (unsigned i = 0; i < 8; ++i) {
            if ((value >> i & 1) != 0) result ^= shifted;
            shifted = (shifted << 1) ^ ((shifted & 0x80) != 0 ? 0x169u : 0u);
         }
         value = result;
      }
      map[bit] = static_cast<uint8_t>(value);
   }
   return map;
}
/** The same times x^4. */
constexpr BitMap raised(BitMap map) {
   for (uint8_t& octet : map)
      for (int i = 0; i < 4; ++i) octet = static_cast<uint8_t>(octet << 1 ^ ((octet & 0x80) != 0 ? 0x69 : 0));
   return map;
}
constexpr BitMap identity = powerMap(0), square = powerMap(1), power4 = powerMap(2), power8 = powerMap(3),
                 power16 = powerMap(4), power32 = powerMap(5);

/** For each bit of the octets, ones wherever it is set. */
struct BitMasks {
   Octets bit[8];

   explicit inline BitMasks(Octets octets) {
      for (int i = 7; i >= 0; --i) {
         bit[i] = highest(octets);
         octets += octets;
      }
   }
   /** A linear map in the first half, and one in the second. */
   inline Octets mapped(const BitMap& first, const BitMap& second) const {
      Octets result{};
      for (size_t i = 0; i < 8; ++i) result ^= bit[i] & octetsOf(octetBits * first[i], octetBits * second[i]);
      return result;
   }
   inline Octets mapped(const BitMap& map) const { return mapped(map, map); }
};

/** A factor in GF(2^8), x^8 being x^6 + x^5 + x^3 + 1, made ready: it times 1, x, x^2, x^3 in the first half
 * and times x^4 to x^7 in the second, so that four steps make a product. */
struct Factor {
   Octets times[4];

   /** What it is of the octets whose masks these are. */
   inline Factor(const BitMasks& masks, const BitMap& map) {
      times[0] = masks.mapped(map, raised(map));
      for (int i = 1; i < 4; ++i) times[i] = doubled(times[i - 1], 0x69);
   }
   /** Times what is alike in both halves, as is the product. */
   inline Octets operator*(Octets late) const {
      // The low half of each octet to the high one, in the first half only.
      const Halves both = reinterpret_cast<Halves>(late);
      Octets bits = reinterpret_cast<Octets>((both << 4 & Halves{octetBits * 0xF0, 0}) |
                                             (both & Halves{0, octetBits * 0xF0}));
      Octets sum = times[3] & highest(bits);
      for (int i = 2; i >= 0; --i) {
         bits += bits;
         sum ^= times[i] & highest(bits);
      }
      const Halves halves = reinterpret_cast<Halves>(sum);
      return reinterpret_cast<Octets>(halves ^ Halves{halves[1], halves[0]});
   }
};

/**
 * The S-box of S2, TS 35.216, 5.2: x + x^9 + x^13 + x^15 + x^33 + x^41 + x^45 + x^47 + x^49 + 0x25. With
 * w = 1 + x^8 (1 + x^4 (1 + x^2)) that is x (w + x^32 (x^16 + w)), four products.
 */
inline uint64_t dickson(uint64_t words) {
   const BitMasks masks(octetsOf(words, words));
   const Octets one = octetsOf(octetBits, octetBits);
   const Octets w =
         one ^ Factor(masks, power8) * (one ^ Factor(masks, power4) * (one ^ masks.mapped(square)));
   const Octets y = w ^ Factor(masks, power32) * (masks.mapped(power16) ^ w);
   return reinterpret_cast<Halves>(Factor(masks, identity) * y)[0] ^ octetBits * 0x25;
}

/** The octets of both halves turned, the second to the place of the first. */
inline uint64_t turned(uint64_t words, unsigned octets) {
   const uint64_t low = (uint64_t{1} << (32 - 8 * octets)) - 1;
   const uint64_t kept = low | low << 32;
   return (words >> 8 * octets & kept) | (words << (32 - 8 * octets) & ~kept);
}
/** MixColumns, x^8 being what `reduction` says. */
inline uint64_t mixed(uint64_t words, uint64_t reduction) {
   const uint64_t twice = doubled(words, reduction);
   return twice ^ turned(twice ^ words, 1) ^ turned(words, 2) ^ turned(words, 3);
}

struct PortableUnit {
   static inline uint64_t s1(uint64_t words) {
      uint64_t planes[8];
      spread(words, planes);
      aesSubBytes(planes);
      return mixed(gather(planes, octetBits), 0x1B);
   }
   static inline uint64_t s2(uint64_t words) { return mixed(dickson(words), 0x69); }
};

const Snow3gForm& snow3gForm() {
#if defined(__x86_64__)
   if (&aesForm() != &aesPortable) return snow3gX86;
#endif
   return snow3gPortable;
}

/** The key stream of a message. */
class Generator {
public:
   Generator(const uint8_t* key, const uint32_t* iv) {
      uint32_t words[4];
      for (int i = 0; i < 4; ++i) words[3 - i] = loadBig(key + 4 * i);
      form_.start(state_, words, iv);
      secureClear(words, sizeof words);
      form_.words(state_, first_, 1);
   }
   ~Generator() { secureClear(first_, sizeof first_); }
   Generator(const Generator&) = delete;
   Generator& operator=(const Generator&) = delete;

   /** As many words as are wanted, up to 16 and rounded up to four; the first time three. */
   size_t next(uint32_t* words, size_t wanted) {
      if (begins_) {
         begins_ = false;
         std::memcpy(words, first_ + 1, 3 * sizeof *words);
         return 3;
      }
      const size_t groups = std::min<size_t>((wanted + 3) / 4, 4);
      form_.words(state_, words, groups);
      return 4 * groups;
   }

private:
   const Snow3gForm& form_ = snow3gForm();
   Snow3gState state_;
   uint32_t first_[4];
   bool begins_ = true;
};

/** Products with one factor in GF(2^64), TS 35.215, 4.3: the factor times each power of x. */
class Multiplier {
public:
   explicit Multiplier(uint64_t factor) {
      for (uint64_t& power : powers_) {
         power = factor;
         factor = factor << 1 ^ (0x1B & (0 - (factor >> 63)));
      }
   }
   ~Multiplier() { secureClear(powers_, sizeof powers_); }
   Multiplier(const Multiplier&) = delete;
   Multiplier& operator=(const Multiplier&) = delete;

   uint64_t operator()(uint64_t value) const {
      uint64_t result = 0;
      for (const uint64_t power : powers_) {
         result ^= power & (0 - (value & 1));
         value >>= 1;
      }
      return result;
   }

private:
   uint64_t powers_[64];
};

} // namespace

constexpr Snow3gForm snow3gPortable = {startSnow3g<PortableUnit>, snow3gWords<PortableUnit>};

void uea2(const uint8_t* key, uint32_t count, unsigned bearer, unsigned direction, uint8_t* data,
          uint64_t bits) {
   const uint32_t word = (bearer & 31) << 27 | (direction & 1) << 26;
   const uint32_t iv[4] = {word, count, word, count};
   Generator generator(key, iv);
   cipherBits(generator, data, bits);
}

uint32_t uia2(const uint8_t* key, uint32_t count, uint32_t fresh, unsigned direction, const uint8_t* data,
              uint64_t bits) {
   const uint32_t iv[4] = {fresh ^ (direction & 1) << 15, count ^ (direction & 1) << 31, fresh, count};
   Generator generator(key, iv);
   uint32_t z[3 + 4];
   generator.next(z, 3);
   generator.next(z + 3, 2);
   uint64_t value = 0;
   const uint64_t length = bits;
   {
      const Multiplier p(uint64_t{z[0]} << 32 | z[1]);
      for (; bits >= 64; bits -= 64, data += 8) value = p(value ^ bigEndian(loadWord<uint64_t>(data)));
      if (bits != 0) {
         const uint64_t last = loadHigh(data, static_cast<size_t>(bits + 7) / 8);
         value = p(value ^ (last & ~(~uint64_t{0} >> bits)));
      }
   }
   value = Multiplier(uint64_t{z[2]} << 32 | z[3])(value ^ length);
   const uint32_t mac = static_cast<uint32_t>(value >> 32) ^ z[4];
   secureClear(z, sizeof z);
   return mac;
}

} // namespace quorva
