// CSN.1 at the cursor, held against a model that works on texts of bits, from every place of an octet.
#include "runtime/nas/csn1.h"
#include "quorva/rtx3GPP.h"
#include "quorva/rtxBits.h"
#include "tests/support/context.h"

#include <bitset>
#include <gtest/gtest.h>
#include <random>

using namespace quorva::test;
namespace hot = quorva::hot;

namespace {

/** Is L a 1 at this place of the buffer? */
bool low(size_t at) {
   return "00101011"[at % 8] == '1';
}

char digit(bool bit) {
   return bit ? '1' : '0';
}

Octets octetsOf(const std::string& bits) {
   Octets octets((bits.size() + 7) / 8);
   for (size_t i = 0; i < bits.size(); ++i)
      if (bits[i] == '1') octets[i / 8] = static_cast<uint8_t>(octets[i / 8] | 0x80 >> i % 8);
   return octets;
}

/** What was written, to the cursor. */
std::string bitsWritten(TestContext& ctx) {
   std::string bits;
   for (size_t at = 0; at < rtxCtxtGetBitOffset(ctx); ++at)
      bits += digit(ctx->bufData[at / 8] >> (7 - at % 8) & 1);
   return bits;
}

/** Starts an output with `start` bits of 1, or an input with bits behind them. */
void encodeFrom(TestContext& ctx, size_t start) {
   ASSERT_EQ(rtxEncBits(ctx.encode(), 0xFF, start), 0);
}
void decodeFrom(TestContext& ctx, size_t start, const std::string& bits) {
   ctx.decode(octetsOf(std::string(start, '1') + bits));
   rtxCtxtSetBitOffset(ctx, start);
}

TEST(Csn1, CodesDeterminantsWithAnyMaskAnywhere) {
   TestContext ctx;
   std::mt19937 engine(1);
   const auto random = [&engine] { return static_cast<uint32_t>(engine()); };
   for (size_t start = 0; start < 8; ++start)
      for (size_t nbits = 0; nbits <= 32; ++nbits)
         for (uint32_t round = 0; round < 256; ++round) {
            // All masks of eight bits and less; of wider ones those of the first eight bits and others.
            const uint32_t mask = round << 24 | (nbits <= 8 ? 0 : random() & 0xFFFFFF);
            const uint32_t value = random();
            std::string expected(start, '1');
            for (size_t i = 0; i < nbits; ++i)
               expected += digit((value >> (nbits - 1 - i) & 1) != (mask >> (31 - i) & low(start + i)));
            encodeFrom(ctx, start);
            ASSERT_EQ(rtx3GPPEncAltDetmnt(ctx, value, nbits, mask), 0);
            ASSERT_EQ(bitsWritten(ctx), expected) << nbits << " bits, mask " << mask << ", value " << value;

            uint32_t back = ~value;
            decodeFrom(ctx, start, expected.substr(start));
            ASSERT_EQ(rtx3GPPDecAltDetmnt(ctx, &back, nbits, mask), 0);
            ASSERT_EQ(back, nbits == 0 ? 0 : value & (0xFFFFFFFF >> (32 - nbits)));
            ASSERT_EQ(rtxCtxtGetBitOffset(ctx), start + nbits);
         }
}

TEST(Csn1, FlagIsADeterminantOfOneBit) {
   TestContext ctx;
   for (size_t start = 0; start < 8; ++start)
      for (const bool high : {false, true}) {
         encodeFrom(ctx, start);
         EXPECT_EQ(hot::encBitLH(ctx, high), 0);
         EXPECT_EQ(bitsWritten(ctx).back(), digit(low(start) != high));
         uint8_t back = 0xEE;
         decodeFrom(ctx, start, std::string(1, digit(low(start) != high)));
         EXPECT_EQ(hot::decBitLH(ctx, &back), 0);
         EXPECT_EQ(back, high);
         EXPECT_EQ(hot::decBitLH(ctx.decode({}), &back), RTX_E_END_OF_DATA);
         rtxErrReset(ctx);
      }
}

TEST(Csn1, CodesUnaryCounts) {
   TestContext ctx;
   using Encoder = int (*)(RtxContext*, uint32_t, uint8_t);
   using Decoder = int (*)(RtxContext*, uint8_t*, uint8_t);
   for (const bool patterned : {false, true}) {
      const Encoder encode = patterned ? rtx3GPPEncIntAsBitsPattern : rtx3GPPEncIntAsBits;
      const Decoder decode = patterned ? rtx3GPPDecIntAsBitsPattern : rtx3GPPDecIntAsBits;
      for (const uint8_t argument : std::initializer_list<uint8_t>{0x00, 0x01, 0x2B, 0xD4, 0xFF})
         for (size_t start = 0; start < 8; ++start) {
            const std::bitset<8> octet(argument);
            const auto counted = [&](size_t at) { return patterned ? octet[7 - at % 8] : argument != 0; };
            std::string run(start, '1');
            for (uint32_t count = 0; count <= 257; ++count, run += digit(counted(run.size()))) {
               const std::string expected = run + digit(!counted(run.size()));
               encodeFrom(ctx, start);
               ASSERT_EQ(encode(ctx, count, argument), 0);
               ASSERT_EQ(bitsWritten(ctx), expected);

               uint8_t back = 0xEE;
               decodeFrom(ctx, start, expected.substr(start));
               ASSERT_EQ(decode(ctx, &back, argument), count <= 255 ? 0 : RTX_E_OVERFLOW);
               ASSERT_EQ(back, std::min(count, 255u));
               ASSERT_EQ(rtxCtxtGetBitOffset(ctx), start + std::min(count + 1, 256u));
               ASSERT_EQ(rtxErrGetFirstError(ctx), count <= 255 ? 0 : RTX_E_OVERFLOW);
               rtxErrReset(ctx);
            }
         }
   }
   uint8_t count = 0xEE; // a run that the buffer ends
   EXPECT_EQ(rtx3GPPDecIntAsBits(ctx.decode({0xFF}), &count, 1), RTX_E_END_OF_DATA);
   EXPECT_EQ(count, 8);
   rtxErrReset(ctx);
   EXPECT_EQ(rtx3GPPEncIntAsBits(ctx.encode(1), 8, 1), RTX_E_BUFFER_FULL);
   EXPECT_EQ(ctx.written(), "ff");
}

TEST(Csn1, WalksTablesOfDeterminants) {
   // Formats of a frequency list: 0, 100, 101, 110, 111; and two bits, of which the second is L or H.
   const Rtx3GPPDetmntRow plain[] = {{0, 0, 0, 1, 9},
                                     {0, 2, 9, 3, 9},
                                     {0, 0, 0x80000000, 0, 0xA0000000},
                                     {0, 0, 0xC0000000, 0, 0xE0000000}};
   const Rtx3GPPDetmntRow mixed[] = {{0, -1, 9, 1, 9}, {1, 0, 0x80000000, 0, 0xC0000000}};
   TestContext ctx;
   for (size_t start = 0; start < 8; ++start) {
      const auto walk = [&](const auto& rows, const std::string& bits, int status, uint32_t value,
                            size_t used) {
         uint32_t found = 0x5EED;
         decodeFrom(ctx, start, bits);
         EXPECT_EQ(rtx3GPPDecVarAltDetmnt(ctx, &found, rows, static_cast<uint32_t>(std::size(rows))), status)
               << bits;
         EXPECT_EQ(found, status == 0 ? value : 0x5EED);
         EXPECT_EQ(rtxCtxtGetBitOffset(ctx), start + used);
         EXPECT_EQ(rtxErrGetFirstError(ctx), status);
         rtxErrReset(ctx);
      };
      walk(plain, "0", 0, 0, 1);
      for (uint32_t bits = 4; bits < 8; ++bits)
         walk(plain, std::bitset<3>(bits).to_string(), 0, bits << 29, 3);
      const std::string lowBit(1, digit(low(start + 1))), highBit(1, digit(!low(start + 1)));
      walk(mixed, "1" + lowBit, 0, 0xC0000000, 2); // L goes the way of 1
      walk(mixed, "1" + highBit, 0, 0x80000000, 2);
      walk(mixed, "0" + lowBit, RTX_E_BAD_CHOICE, 0, 1);
   }
   const Rtx3GPPDetmntRow beyond[] = {{0, 1, 0, 0, 7}}, round[] = {{0, 1, 0, 1, 0}, {0, 1, 0, 1, 0}};
   uint32_t value = 0;
   EXPECT_EQ(rtx3GPPDecVarAltDetmnt(ctx.decode({0x00}), &value, beyond, 1), RTX_E_INDEX);
   EXPECT_EQ(ctx.cleared(rtxErrGetFirstError(ctx)), RTX_E_INDEX);
   EXPECT_EQ(rtx3GPPDecVarAltDetmnt(ctx.decode({0x80}), nullptr, beyond, 1), 0);
   EXPECT_EQ(ctx.cleared(rtx3GPPDecVarAltDetmnt(ctx.decode({0x80}), &value, round, 2)), RTX_E_END_OF_DATA);
   EXPECT_EQ(rtx3GPPDecVarAltDetmnt(ctx, &value, beyond, 0), RTX_E_INDEX);
}

TEST(Csn1, RefusesWhatNoFieldHas) {
   TestContext ctx;
   uint32_t value = 7;
   EXPECT_EQ(ctx.cleared(rtx3GPPEncAltDetmnt(ctx.encode(), 0, 33, 1)), RTX_E_BAD_ARGUMENT);
   EXPECT_EQ(ctx.cleared(rtx3GPPDecAltDetmnt(ctx.decode(Octets(8)), &value, 33, 1)), RTX_E_OVERFLOW);
   EXPECT_EQ(rtx3GPPDecAltDetmnt(ctx.decode(Octets(4)), &value, 32, 1), 0);
   EXPECT_EQ(value, 1u);
   EXPECT_EQ(rtx3GPPDecAltDetmnt(ctx, &value, 1, 0), RTX_E_END_OF_DATA);
   EXPECT_EQ(value, 1u);
   EXPECT_EQ(ctx.cleared(rtxErrGetFirstError(ctx)), RTX_E_END_OF_DATA);
   EXPECT_EQ(rtx3GPPDecAltDetmnt(ctx.decode(Octets(4)), nullptr, 3, 0), 0);
}

} // namespace
