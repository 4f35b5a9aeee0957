// ZUC for any processor, and 128-EEA3 and 128-EIA3 over whichever form there is.
#define QUORVA_NAS_TARGET
#include "runtime/nas/streamCipher.h"
#include "runtime/nas/zucEngine.h"

namespace quorva {
namespace {

constexpr NibbleBox p1Products = polynomialOf(p1), p2Products = polynomialOf(p2),
                    p3Products = polynomialOf(p3);

struct PortableUnit {
   static inline uint64_t substitute(uint64_t words) {
      uint64_t in[8], inner[8], out[8];
      spread(words, in);
      mapPlanes<intoAes>(in, inner);
      aesSubBytes(inner);
      mapPlanes<outOfAes>(inner, out);
      constexpr uint64_t placesOfS1 = 0x0001000100010001;
      return (gather(out, placesOfS1) ^ placesOfS1 * afterAes) | boxS0(in, placesOfS1 << 8);
   }

private:
   static inline uint64_t boxS0(const uint64_t* in, uint64_t places) {
      uint64_t ba[8]; // b in the upper half, a in the lower one
      uint64_t *a = ba, *m = ba + 4;
      std::copy_n(in, 8, ba);
      addBox<p1Products>(a, m);
      addBox<p2Products>(m, a);
      addBox<p3Products>(a, m);
      constexpr int turn = 5;
      uint64_t turned[8];
      for (int k = 0; k < 8; ++k) turned[(k + turn) % 8] = ba[k];
      return gather(turned, places);
   }
};

const ZucForm& zucForm() {
#if defined(__x86_64__)
   if (&aesForm() != &aesPortable) return zucX86;
#endif
   return zucPortable;
}

/** The key stream of a message. */
class Generator {
public:
   Generator(const uint8_t* key, const uint8_t* iv) { form_.start(state_, key, iv); }
   size_t next(uint32_t* words, size_t wanted) {
      const size_t count = std::min<size_t>(wanted, 16);
      form_.words(state_, words, count);
      return count;
   }

private:
   const ZucForm& form_ = zucForm();
   ZucState state_;
};

/** The start of both IVs; the second half is the first again. */
void startIv(uint8_t* iv, uint32_t count, unsigned octet4) {
   std::memset(iv, 0, 16);
   storeBig(iv, count);
   iv[4] = static_cast<uint8_t>(octet4);
   std::memcpy(iv + 8, iv, 8);
}

/** The sum of the words of the key stream that begin at each 1 of a word of the message, TS 35.221, 4.4.5. */
inline uint32_t sumWord(uint32_t message, uint64_t stream) {
   uint32_t sum = 0;
   for (int i = 0; i < 32; ++i) {
      sum ^= static_cast<uint32_t>(stream >> 32) & (0 - (message >> 31));
      message <<= 1;
      stream <<= 1;
   }
   return sum;
}

} // namespace

constexpr ZucForm zucPortable = {startZuc<PortableUnit>, zucWords<PortableUnit>};

void eea3(const uint8_t* key, uint32_t count, unsigned bearer, unsigned direction, uint8_t* data,
          uint64_t bits) {
   uint8_t iv[16];
   startIv(iv, count, bearer << 3 | (direction & 1) << 2);
   Generator generator(key, iv);
   cipherBits(generator, data, bits);
}

uint32_t eia3(const uint8_t* key, uint32_t count, unsigned bearer, unsigned direction, const uint8_t* data,
              uint64_t bits) {
   uint8_t iv[16];
   startIv(iv, count, bearer << 3);
   iv[8] = static_cast<uint8_t>(iv[8] ^ (direction & 1) << 7);
   iv[14] = static_cast<uint8_t>((direction & 1) << 7);
   Generator generator(key, iv);

   constexpr size_t kWords = 16;
   uint32_t words[1 + kWords]; // the last one of before goes ahead
   uint64_t left = (bits + 31) / 32 + 2;
   uint32_t tag = 0;
   size_t have = 0;
   // Words of the message, each with its word of the key stream and the next, until the last two are at hand.
   for (;;) {
      const auto wanted = static_cast<size_t>(std::min<uint64_t>(left, kWords));
      have += generator.next(words + have, wanted);
      left -= wanted;
      size_t at = 0;
      for (; bits >= 32 && at + 1 < have; ++at, bits -= 32, data += 4)
         tag ^= sumWord(loadBig(data), uint64_t{words[at]} << 32 | words[at + 1]);
      if (left == 0) {
         // Fewer than 32 bits are left; then the word that begins behind them, and the last one.
         const uint64_t stream = uint64_t{words[at]} << 32 | words[at + 1];
         if (bits != 0) {
            const auto last = static_cast<uint32_t>(loadHigh(data, static_cast<size_t>(bits + 7) / 8) >> 32);
            tag ^= sumWord(last & ~(~uint32_t{0} >> bits), stream);
         }
         tag ^= static_cast<uint32_t>(stream << bits >> 32) ^ words[have - 1];
         break;
      }
      words[0] = words[have - 1];
      have = 1;
   }
   secureClear(words, sizeof words);
   return tag;
}

} // namespace quorva
