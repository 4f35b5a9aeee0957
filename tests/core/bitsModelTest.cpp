// Random sequences of bit operations, compared with a model that works bit by bit: in a dirty static buffer,
// through a growing one, and through streams that move a few octets at a time.
#include "coreTest.h"

#include <random>

namespace {

/** What the octets must become, one bit at a time. */
struct Model {
   Octets octets;
   size_t pos = 0;

   bool read(size_t at) const { return octets[at / 8] >> (7 - at % 8) & 1; }
   void put(size_t at, bool bit) {
      const auto mask = static_cast<uint8_t>(0x80 >> at % 8);
      octets[at / 8] = static_cast<uint8_t>(bit ? octets[at / 8] | mask : octets[at / 8] & ~mask);
   }

   enum Mode { orIn, clearBehind, keepBehind };
   void write(bool bit, Mode mode) {
      const size_t at = pos++;
      if (mode != keepBehind && at % 8 == 0) octets[at / 8] = 0;
      if (mode == clearBehind)
         for (size_t behind = at; behind == at || behind % 8 != 0; ++behind) put(behind, false);
      if (bit || mode != orIn) put(at, bit);
   }
   void writeValue(uint64_t value, size_t nbits, Mode mode) {
      for (size_t i = nbits; i-- != 0;) write(value >> i & 1, mode);
   }
};

bool bitOf(const Octets& octets, size_t at) {
   return octets[at / 8] >> (7 - at % 8) & 1;
}

class Writer {
public:
   Writer(uint32_t seed, bool seeks) : random(seed), seeks(seeks) {}

   /** One operation on the context and on the model, which has room for it. Returns the status. */
   int step(RtxContext* c, Model& model) {
      Octets source(64);
      for (auto& octet : source) octet = static_cast<uint8_t>(random());
      const uint64_t value = random() << 32 ^ random();
      const auto value32 = static_cast<uint32_t>(value);
      const size_t nbits = pick(32);
      switch (pick(seeks ? 8 : 6)) {
      case 0: model.write(value & 0xFF, Model::orIn); return rtxEncBit(c, static_cast<uint8_t>(value));
      case 1: model.writeValue(value32, nbits, Model::clearBehind); return rtxEncBits(c, value32, nbits);
      case 2: {
         const size_t wide = pick(64);
         model.writeValue(value, wide, Model::clearBehind);
         return rtxEncBitsFromSize(c, value, wide);
      }
      case 3: {
         const auto pattern = static_cast<uint8_t>(pick(3) == 0 ? 0xFF * pick(1) : value);
         const size_t count = pick(100);
         for (size_t i = 0; i < count; ++i)
            model.write(pattern >> (7 - model.pos % 8) & 1, Model::clearBehind);
         return rtxEncBitsPattern(c, pattern, count);
      }
      case 4: {
         const size_t count = pick(source.size() * 8);
         for (size_t i = 0; i < count; ++i) model.write(bitOf(source, i), Model::orIn);
         return rtxEncBitsFromByteArray(c, source.data(), count);
      }
      case 5: {
         const size_t start = pick(40), count = pick(200);
         const size_t first = start % 8 == 0 ? 0 : std::min(8 - start % 8, count);
         for (size_t i = 0; i < count; ++i)
            model.write(bitOf(source, start + i), i < first ? Model::clearBehind : Model::orIn);
         return rtxCopyBits(c, source.data(), count, start);
      }
      case 6: {
         const size_t octets = size_t{1} << pick(2);
         model.writeValue(value32, octets * 8, Model::orIn);
         return rtxEncUInt32(c, value32, octets);
      }
      case 7:
         model.writeValue(value32, nbits, Model::keepBehind);
         return rtxMergeBits(c, value32, static_cast<int>(nbits));
      default: model.pos -= std::min(model.pos, pick(200)); return rtxCtxtSetBitOffset(c, model.pos);
      }
   }

   size_t pick(size_t most) { return random() % (most + 1); }

private:
   std::mt19937_64 random;
   bool seeks;
};

constexpr size_t slack = 128; // more than one operation writes

TEST(BitsModel, WritesToADirtyBuffer) {
   for (uint32_t seed = 0; seed < 100; ++seed) {
      Writer writer(seed, true);
      Octets octets(600);
      for (auto& octet : octets) octet = static_cast<uint8_t>(writer.pick(255));
      Model model{octets};
      Context c(octets);
      while (model.pos / 8 + slack < octets.size()) {
         ASSERT_EQ(writer.step(&c, model), 0) << seed;
         ASSERT_EQ(rtxCtxtGetBitOffset(&c), model.pos) << seed;
         ASSERT_TRUE(octets == model.octets) << seed << " at " << model.pos;
      }
   }
}

/** Writes a sequence into a buffer that grows, or through a stream; gives the octets. */
Octets writeThroughContext(RtxContext* c, Transport* transport, Model& model, uint32_t seed) {
   Writer writer(seed, false);
   model.octets.assign(6000, 0);
   while (model.pos / 8 + slack < model.octets.size()) {
      EXPECT_EQ(writer.step(c, model), 0) << seed;
      if (rtxCtxtGetBitOffset(c) != model.pos) {
         ADD_FAILURE() << seed << " at " << model.pos;
         break;
      }
   }
   model.octets.resize((model.pos + 7) / 8);
   if (transport != nullptr) {
      EXPECT_EQ(rtxStreamClose(c), 0);
      return transport->octets;
   }
   return Octets(c->bufData, c->bufData + model.octets.size());
}

TEST(BitsModel, WritesThroughGrowthAndStreams) {
   for (uint32_t seed = 0; seed < 60; ++seed) {
      Model model, streamed;
      Transport transport;
      Context grown, out;
      ASSERT_EQ(rtxInitContextBuffer(&grown, nullptr, 1 + seed % 5), 0);
      EXPECT_TRUE(writeThroughContext(&grown, nullptr, model, seed) == model.octets) << "grown, " << seed;
      attach(&out, transport, RTX_STREAM_WRITE);
      EXPECT_TRUE(writeThroughContext(&out, &transport, streamed, seed) == model.octets)
            << "stream, " << seed;
      EXPECT_GT(transport.calls, 2);
   }
}

class Reader {
public:
   explicit Reader(uint32_t seed) : random(seed) {}
   size_t pick(size_t most) { return random() % (most + 1); }

   /** One read, compared with the octets. Moves `pos`. */
   void step(RtxContext* c, const Octets& octets, size_t& pos) {
      const size_t kind = pick(7);
      const size_t widths[] = {1, 8, 16, 32, 64, 64, 600, 200};
      const size_t nbits = kind == 0                   ? 1
                           : kind == 6 && pick(9) == 0 ? 8 * (1025 + pick(1000)) + pick(8)
                                                       : pick(widths[kind]);
      if (pos + nbits > octets.size() * 8) {
         pos = octets.size() * 8 + 1; // the end of the test
         return;
      }
      uint64_t expected = 0;
      if (nbits <= 64)
         for (size_t i = 0; i < nbits; ++i) expected = expected << 1 | bitOf(octets, pos + i);
      uint8_t u8;
      uint16_t u16;
      uint32_t u32;
      uint64_t u64;
      size_t size;
      const bool keep = pick(5) != 0; // else no target
      switch (kind) {
      case 0: check(rtxDecBit(c, keep ? &u8 : nullptr), keep, u8, expected); break;
      case 1:
         check(rtxDecBitsToByte(c, keep ? &u8 : nullptr, static_cast<uint8_t>(nbits)), keep, u8, expected);
         break;
      case 2: check(rtxDecBitsToUInt16(c, keep ? &u16 : nullptr, nbits), keep, u16, expected); break;
      case 3: check(rtxDecBits(c, keep ? &u32 : nullptr, nbits), keep, u32, expected); break;
      case 4: check(rtxDecBitsToUInt64(c, keep ? &u64 : nullptr, nbits), keep, u64, expected); break;
      case 5: check(rtxDecBitsToSize(c, keep ? &size : nullptr, nbits), keep, size, expected); break;
      case 6: {
         Octets target((nbits + 7) / 8 + 1, 0xEE);
         EXPECT_EQ(rtxDecBitsToByteArray(c, target.data(), target.size(), nbits), 0);
         for (size_t i = 0; i < nbits; ++i)
            if (bitOf(target, i) != bitOf(octets, pos + i)) {
               ADD_FAILURE() << "bit " << i << " of " << nbits << " at " << pos;
               break;
            }
         EXPECT_EQ(target.back(), 0xEE);
         if (nbits != 0) {
            EXPECT_EQ(rtxCheckUnusedBitsZero(target.data(), nbits), 0);
         }
         break;
      }
      default: EXPECT_EQ(rtxMoveBitCursor(c, static_cast<int32_t>(nbits)), 0);
      }
      pos += nbits;
   }

private:
   template <typename T>
   void check(int status, bool kept, const T& value, uint64_t expected) {
      EXPECT_EQ(status, 0);
      if (kept) {
         EXPECT_EQ(value, expected);
      }
   }
   std::mt19937_64 random;
};

TEST(BitsModel, ReadsFromBufferAndStreams) {
   for (uint32_t seed = 0; seed < 200; ++seed) {
      Reader reader(seed);
      Octets octets(1000 + reader.pick(9000));
      for (auto& octet : octets) octet = static_cast<uint8_t>(reader.pick(255));
      Transport transport;
      Context c;
      if (seed % 2 == 0) {
         c.use(octets);
      } else {
         transport.octets = octets;
         transport.chunk = 1 + reader.pick(seed % 4 == 1 ? 3 : 2000);
         attach(&c, transport, RTX_STREAM_READ);
         ASSERT_EQ(rtxStreamInitCtxtBuf(&c), 0);
      }
      for (size_t pos = 0; pos < octets.size() * 8 && !HasFailure();) {
         reader.step(&c, octets, pos);
         if (pos <= octets.size() * 8) {
            ASSERT_EQ(rtxCtxtGetBitOffset(&c), pos) << seed;
         }
      }
      ASSERT_FALSE(HasFailure()) << seed;
      if (seed % 2 == 1) { // nothing inflates the buffer
         EXPECT_LE(c.stream->ctxtBufSize, 2048u) << seed;
      }
   }
}

} // namespace
