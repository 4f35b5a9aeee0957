// Primitives at the cursor of a context: digits, PLMN, mobile identity, non-imperative part.
#include "quorva/rtx3GPP.h"
#include "quorva/rtxTBCD.h"
#include "tests/support/context.h"
#include "tests/support/vectors.h"

#include <gtest/gtest.h>

using namespace quorva::test;

namespace {

using Parms = std::vector<std::string>;

TEST(MccMnc, EncodesAndDecodes) {
   struct Case {
      const char *mcc, *mnc, *octets;
   };
   for (const Case& c : {Case{"310", "260", "130062"}, Case{"310", "26", "13f062"},
                         Case{"310", "26\x0f", "13f062"}, Case{"a*#", "bc0", "ac0bed"}}) {
      TestContext ctx;
      ASSERT_EQ(rtx3GPPEnc_MCC_MNC(ctx.encode(), c.mcc, c.mnc), 0);
      EXPECT_EQ(ctx.written(), c.octets);
      char mcc[4], mnc[4];
      ASSERT_EQ(rtx3GPPDec_MCC_MNC(ctx.decode(octetsFromHex(c.octets)), mcc, mnc), 0);
      EXPECT_STREQ(mcc, c.mcc);
      EXPECT_EQ(std::string(mnc), std::string(c.mnc).substr(0, c.mnc[2] == 0x0f ? 2 : 3));
      EXPECT_EQ(mnc[3], 0);
      EXPECT_EQ(ctx.used(), 3u);
   }
   TestContext ctx;
   EXPECT_EQ(rtx3GPPEnc_MCC_MNC(ctx.encode(), "31d", "26"), RTX_E_BAD_CHAR);
   EXPECT_EQ(rtxErrGetLastError(ctx), RTX_E_BAD_CHAR);
   EXPECT_EQ(ctx.written(), "13f0"); // three nibbles stood already
   rtxErrReset(ctx);
   EXPECT_EQ(ctx.cleared(rtx3GPPEnc_MCC_MNC(ctx.encode(2), "310", "26")), RTX_E_BUFFER_FULL);
   char mcc[4], mnc[4];
   EXPECT_EQ(rtx3GPPDec_MCC_MNC(ctx.decode(octetsFromHex("13f0")), mcc, mnc), RTX_E_END_OF_DATA);
}

TEST(MobileIdentity, Encodes) {
   struct Case {
      const char* digits;
      uint32_t type;
      const char* octets;
   };
   for (const Case& c :
        {Case{"123", 3, "021b32"}, Case{"1234", 2, "031232f4"}, Case{"1", 1, "0119"}, Case{"", 1, "01f1"},
         Case{"9*", 7, "0297fa"}, Case{"001010123456815", 1, "080910101032548651"}}) {
      TestContext ctx;
      EXPECT_EQ(rtx3GPPEncMobileIdentityType1(ctx.encode(), c.type, c.digits), 0);
      EXPECT_EQ(ctx.written(), c.octets) << c.digits;
   }
   TestContext ctx;
   const auto refused = [&](int expected, size_t capacity, const char* digits, const char* written) {
      EXPECT_EQ(rtx3GPPEncMobileIdentityType1(ctx.encode(capacity), 1, digits), expected);
      EXPECT_EQ(rtxErrGetLastError(ctx), expected);
      EXPECT_EQ(ctx.written(), written);
      rtxErrReset(ctx);
   };
   refused(RTX_E_BAD_ARGUMENT, 8, nullptr, "");
   refused(RTX_E_BAD_CHAR, 8, "x23", "02");
   refused(RTX_E_BAD_CHAR, 8, "12x45", "0319");
   refused(RTX_E_BUFFER_FULL, 3, "12345", "031932");
   refused(RTX_E_BUFFER_FULL, 0, "1", "");
}

/** What the decoder makes of an identity whose first octet has been read, in a text of `size`. */
std::pair<int, std::string> identity(TestContext& ctx, const Octets& octets, size_t length, size_t size) {
   std::vector<char> room(size, '!');
   const uint8_t odd = octets[0] >> 3 & 1;
   const auto first = static_cast<uint8_t>(octets[0] >> 4);
   const int status = rtx3GPPDecMobileIdentityType1(ctx.decode(Octets(octets.begin() + 1, octets.end())),
                                                    length, odd, first, room.data(), size);
   return {status, status == 0 ? std::string(room.data()) : std::string()};
}

TEST(MobileIdentity, DecodesRealOnes) {
   size_t count = 0;
   for (const Vector& vector : loadVectors(QUORVA_TEST_DATA "/vectors/values.txt")) {
      if (!vector.has("digits")) continue;
      SCOPED_TRACE(vector.name);
      const std::string& digits = vector.fact("digits");
      TestContext ctx;
      const auto [status, text] = identity(ctx, vector.octets, vector.octets.size(), digits.size() + 1);
      EXPECT_EQ(status, 0);
      EXPECT_EQ(text, digits);
      EXPECT_EQ(identity(ctx, vector.octets, vector.octets.size(), digits.size()).first, RTX_E_OVERFLOW);
      EXPECT_EQ(ctx.used(), 0u) << "refused ahead of the reading";
      ++count;

      rtxErrReset(ctx);
      const uint32_t type = vector.octets[0] & 7;
      EXPECT_EQ(rtx3GPPEncMobileIdentityType1(ctx.encode(), type, digits.c_str()), 0);
      EXPECT_EQ(ctx.written().substr(2), hexFromOctets(vector.octets));
   }
   EXPECT_GT(count, 5u);
}

TEST(MobileIdentity, DecodesOddLengths) {
   TestContext ctx;
   // Even: the last high nibble is dropped, whatever it is. Length 1 reads an octet all the
   // same.
   EXPECT_EQ(identity(ctx, octetsFromHex("113244"), 3, 8), std::make_pair(0, std::string("1234")));
   EXPECT_EQ(identity(ctx, octetsFromHex("1932"), 1, 8), std::make_pair(0, std::string("123")));
   EXPECT_EQ(ctx.used(), 1u);
   // Lengths are taken modulo 256, and a text too short for that is never written past.
   EXPECT_EQ(identity(ctx, octetsFromHex("1932"), 257, 8).second, "123");
   for (const size_t length : {0u, 130u, 256u}) {
      EXPECT_EQ(identity(ctx, Octets(300, 0x19), length, 16).first, RTX_E_OVERFLOW) << length;
      rtxErrReset(ctx);
   }
   EXPECT_EQ(identity(ctx, Octets(300, 0x19), 0, 512).second.size(), 511u);
   EXPECT_EQ(identity(ctx, octetsFromHex("a932"), 2, 8).first, RTX_E_BAD_CHAR);
   rtxErrReset(ctx);
   EXPECT_EQ(identity(ctx, octetsFromHex("1932"), 3, 8).first, RTX_E_END_OF_DATA);
}

TEST(TbcdString, EncodesAndDecodes) {
   TestContext ctx;
   const auto expect = [&](int status, int expected) {
      EXPECT_EQ(status, expected);
      EXPECT_EQ(rtxErrGetLastError(ctx), expected);
      rtxErrReset(ctx);
   };
   for (const auto& [digits, octets] :
        {std::pair("12345", "2143f5"), std::pair("*#ab", "badc"), std::pair("7", "f7"), std::pair("", "")}) {
      expect(rtxEncQ825TBCDString(ctx.encode(), digits), 0);
      EXPECT_EQ(ctx.written(), octets);
      const size_t count = std::string(octets).size() / 2;
      if (count != 0) {
         EXPECT_EQ(ctx->lastChar, octetsFromHex(octets).back());
      }
      std::vector<char> text(2 * count + 1, '!');
      expect(rtxDecQ825TBCDString(ctx.decode(octetsFromHex(octets)), count, text.data(), text.size()), 0);
      EXPECT_STREQ(text.data(), digits);
      EXPECT_EQ(text.back(), 0);
      if (count == 0) continue;
      expect(rtxDecQ825TBCDString(ctx.decode(octetsFromHex(octets)), count, text.data(), 2 * count),
             RTX_E_BUFFER_FULL);
      EXPECT_EQ(ctx.used(), 0u);
   }
   char text[5];
   expect(rtxEncQ825TBCDString(ctx.encode(), nullptr), 0);
   expect(rtxDecQ825TBCDString(ctx, SIZE_MAX, text, 5), RTX_E_BUFFER_FULL);
   expect(rtxDecQ825TBCDString(ctx.decode({0x21}), 2, text, 5), RTX_E_END_OF_DATA);
   expect(rtxEncQ825TBCDString(ctx.encode(), "123d5"), RTX_E_BAD_CHAR);
   EXPECT_EQ(ctx.written(), "21");
   expect(rtxEncQ825TBCDString(ctx.encode(1), "123"), RTX_E_BUFFER_FULL);
}

TEST(NonImperative, PassesOverOrRefuses) {
   const struct {
      const char* octets;
      int shifts;
      int status;
      size_t used;
   } cases[] = {
         {"", 0, 0, 0},
         {"090100", 0, RTX_E_UNSUPPORTED, 2}, // comprehension required
         {"0000", 0, RTX_E_UNSUPPORTED, 2},
         {"290100", 0, 0, 3},
         {"10021122200080ff", 0, 0, 8},
         {"80", 0, 0, 1},
         {"29", 0, RTX_E_END_OF_DATA, 1},
         {"290511", 0, RTX_E_END_OF_DATA, 7}, // the cursor of a failed skip is not moved back
         // Shifts, if they may occur; else an octet with bit 8 like any other.
         {"95090100", 0, RTX_E_UNSUPPORTED, 3},
         {"95090100090100", 1, 0, 7},                 // locked
         {"9d090100090100", 1, RTX_E_UNSUPPORTED, 6}, // for one element
         {"9592090100", 1, 0, 5},                     // a locking shift only goes upwards
         {"9590290100090100", 1, 0, 8},
         {"9598090100", 1, RTX_E_UNSUPPORTED, 4}, // to codeset 0 for one element
         {"959880090100", 1, 0, 6},
         {"95", 1, 0, 1},
         {"9595", 1, 0, 2},
   };
   for (const auto& c : cases) {
      SCOPED_TRACE(c.octets);
      TestContext ctx;
      EXPECT_EQ(rtx3GPPDecL3NonImperative(ctx.decode(octetsFromHex(c.octets)), c.shifts), c.status);
      EXPECT_EQ(ctx.used(), c.used);
      EXPECT_EQ(rtxErrGetErrorCnt(ctx), c.status == 0 ? 0u : 1u);
      if (c.status == RTX_E_UNSUPPORTED) {
         EXPECT_EQ(ctx.parms(), Parms{"comprehension required on unknown IEI"});
      }
   }
}

TEST(NonImperative, KeepsToTheContainerAndEndsQuietlyWithTheBuffer) {
   TestContext ctx;
   ctx.decode(octetsFromHex("29000901"));
   rtxCtxtPushContainerBytes(ctx, 2);
   EXPECT_EQ(rtx3GPPDecL3NonImperative(ctx, 0), 0);
   EXPECT_EQ(ctx.used(), 2u);
   rtxCtxtPopAllContainers(ctx);

   // A container may claim more than the buffer has, and half an octet is no IEI.
   ctx.decode(octetsFromHex("2900"));
   rtxCtxtPushContainerBytes(ctx, 9);
   EXPECT_EQ(rtx3GPPDecL3NonImperative(ctx, 0), 0);
   rtxCtxtPopAllContainers(ctx);
   rtxCtxtSetBitOffset(ctx, 12);
   EXPECT_EQ(rtx3GPPDecL3NonImperative(ctx, 0), 0);
   EXPECT_EQ(rtxErrGetErrorCnt(ctx), 0u);
}

} // namespace
