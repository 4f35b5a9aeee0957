// Lists of channel numbers: exact octets and statuses against a model of annex J that works on lists and bits
// one by one, sets that come back, and an independent coder where there is one.
#include "quorva/rtxBits.h"
#include "quorva/rtxMemHeap.h"
#include "quorva/TS44018Misc.h"
#include "tests/support/capture.h"
#include "tests/support/context.h"
#include "tests/support/systemMemory.h"

#include <bitset>
#include <gtest/gtest.h>
#include <random>

#ifdef QUORVA_OSMOGSM
extern "C" {
#include <osmocom/gsm/gsm48_arfcn_range_encode.h>
#include <osmocom/gsm/gsm48_ie.h>
}
#endif

using namespace quorva::test;

namespace {

using List = std::vector<uint16_t>;
using Set = std::bitset<1024>;
using Bits = std::vector<bool>;

constexpr unsigned kMasks[] = {0, 1023, 511, 255, 127}; // the largest ranges, by format

Set setOf(const List& list) {
   Set set;
   for (const uint16_t arfcn : list) set.set(arfcn);
   return set;
}

struct Encoded {
   int status = 0;
   Octets octets;
   uint32_t bits = 0;
};

/** Encodes into the heap and, unless `once`, again into a buffer of just that size, which must do the same.
 */
Encoded encode(TestContext& ctx, const List& list, uint32_t format, uint16_t range, uint16_t orig,
               bool once = false) {
   Encoded result;
   uint8_t* buffer[2] = {nullptr, nullptr};
   const auto count = static_cast<uint16_t>(list.size());
   result.status = rtx3GPPEncARFCN(ctx, list.data(), count, format, range, orig, buffer, 0, &result.bits);
   EXPECT_EQ(rtxErrGetFirstError(ctx), result.status);
   if (result.status == 0) {
      if (format == RTX_ARFCN_BITMAP0) result.bits = 124;
      const size_t size = format == RTX_ARFCN_BITMAP0 ? 16 : (result.bits + 7) / 8;
      result.octets.assign(buffer[0], buffer[0] + size);
      if (once) return result;
      const std::unique_ptr<uint8_t[]> own(new uint8_t[size]());
      buffer[0] = own.get();
      buffer[1] = size > 1 ? own.get() + 1 : nullptr;
      EXPECT_EQ(rtx3GPPEncARFCN(ctx, list.data(), count, format, range, orig, buffer, size, nullptr), 0);
      EXPECT_TRUE(std::equal(result.octets.begin(), result.octets.end(), own.get()));
      EXPECT_EQ(rtx3GPPEncARFCN(ctx, list.data(), count, format, range, orig, buffer, size - 1, nullptr),
                RTX_E_BUFFER_FULL);
   }
   rtxMemReset(ctx);
   return result;
}

struct Decoded {
   int status;
   List list;
};
Decoded decode(TestContext& ctx, uint32_t format, const Octets& octets, size_t bits) {
   // In a block of its own size, for the sanitizers.
   const std::unique_ptr<uint8_t[]> data(new uint8_t[octets.size()]);
   std::copy(octets.begin(), octets.end(), data.get());
   uint16_t *list = nullptr, count = 0xEEEE;
   Decoded result{rtx3GPPDecARFCN(ctx, format, data.get(), static_cast<uint16_t>(bits), &list, &count), {}};
   EXPECT_EQ(rtxErrGetFirstError(ctx), result.status);
   if (result.status == 0) result.list.assign(list, list + count);
   return result;
}

/** The tree as annex J describes it, by lists. */
class Model {
public:
   Model(unsigned format, size_t octets) : bits(8 * octets), width_(format == 1 ? 10u : 11 - format) {}

   int subtree(size_t index, List set, size_t level, size_t levelBit) {
      const size_t levelSize = size_t{1} << level, width = width_ - level, n = set.size();
      const size_t at = levelBit + (index - levelSize) * width;
      if (at + width > bits.size()) return RTX_E_INDEX;
      if (n == 0) return 0;
      const unsigned range = (1u << width) - 1, half = range / 2;
      const auto minus = [range](unsigned a, unsigned b) { return (a + 1024 * range - b) % range; };
      size_t pivot = 0;
      for (; pivot < n; ++pivot) {
         const auto within = std::count_if(
               set.begin(), set.end(), [&](unsigned e) { return n == 1 || minus(e, set[pivot]) <= half; });
         if (static_cast<size_t>(within) == (n - 1) / 2 + 1) break;
      }
      if (pivot == n) return RTX_E_BAD_VALUE;
      const unsigned value = set[pivot] + 1u, rightOrigin = value, leftOrigin = value + half;
      if (value > range) return RTX_E_BAD_VALUE;
      for (size_t i = 0; i < width; ++i) bits[at + i] = value >> (width - 1 - i) & 1;
      std::swap(set[pivot], set.back());
      set.pop_back();

      // What stands on the wrong side changes places, the first ones with one another.
      const auto middle = set.begin() + static_cast<ptrdiff_t>(n / 2);
      auto right = middle;
      for (auto left = set.begin(); left != middle; ++left) {
         if (minus(*left, leftOrigin) < half) continue;
         while (minus(*right, rightOrigin) < half) ++right;
         std::iter_swap(left, right++);
      }
      List parts[] = {List(set.begin(), middle), List(middle, set.end())};
      for (uint16_t& e : parts[0]) e = static_cast<uint16_t>(minus(e, leftOrigin));
      for (uint16_t& e : parts[1]) e = static_cast<uint16_t>(minus(e, rightOrigin));
      for (size_t side = 0; side < 2; ++side) {
         if (parts[side].empty()) continue;
         const int status =
               subtree(index + levelSize * (side + 1), parts[side], level + 1, levelBit + levelSize * width);
         if (status < 0) return status;
      }
      return 0;
   }

   Bits bits;

private:
   size_t width_;
};

/** What rtx3GPPEncARFCN must give for a range format and a list with the origin. */
Encoded modelled(const List& list, unsigned format, unsigned range, unsigned orig) {
   if (range > kMasks[format] + 1) return {RTX_E_BAD_VALUE, {}, 0};
   const unsigned root = format == 1 ? 0 : orig, lead = format == 1 ? 1 : 10;
   List set = list;
   const auto last = std::find(set.rbegin(), set.rend(), root);
   const bool found = last != set.rend();
   if (found) {
      *last = set.back();
      set.pop_back();
   }
   for (uint16_t& e : set) e = static_cast<uint16_t>((e + 1023 - root) % 1024);
   // As many octets as the nodes fill, a last part of one counted.
   size_t used = lead;
   for (size_t nodes = set.size(), width = format == 1 ? 10 : 11 - format, size = 1; nodes != 0;
        size *= 2, --width) {
      if (width == 0 && nodes > size) return {RTX_E_BAD_VALUE, {}, 0}; // more than can be different
      const size_t here = std::min(nodes, size);
      used += here * width;
      nodes -= here;
   }
   const size_t leadBits = format == 1 ? 3 : 1, octets = (used - leadBits + 7) / 8 + 1;
   Model model(format, octets);
   const int status = model.subtree(1, set, 0, lead);
   if (status < 0) return {status, {}, 0};
   if (format == 1) model.bits[0] = found;
   for (size_t i = 0; format != 1 && i < 10; ++i) model.bits[i] = orig >> (9 - i) & 1;
   Encoded result{0, Octets(octets), static_cast<uint32_t>(8 * octets - (8 - leadBits))};
   for (size_t i = 0; i < model.bits.size(); ++i)
      if (model.bits[i]) result.octets[i / 8] = static_cast<uint8_t>(result.octets[i / 8] | 0x80 >> i % 8);
   return result;
}

/** Lists of different channels within a span that begins anywhere. */
class Lists {
public:
   explicit Lists(uint32_t seed) : random(seed) {}

   List next() {
      const unsigned spans[] = {16, 112, 124, 128, 256, 512, 1024};
      const unsigned span = spans[pick(7)], first = pick(3) == 0 ? pick(4) : pick(1024);
      const size_t count = 1 + pick(pick(16) == 0 ? span : std::min(span, 32u));
      List list;
      for (Set taken; list.size() < count;) {
         const auto arfcn = static_cast<uint16_t>((first + pick(span)) % 1024);
         if (taken[arfcn]) continue;
         taken.set(arfcn);
         list.push_back(arfcn);
      }
      return list;
   }

   uint32_t pick(uint32_t count) { return static_cast<uint32_t>(random() % count); }

   std::mt19937 random;
};

// Runs take different lists: --gtest_repeat=10 makes a million of them.
TEST(Arfcn, SetsComeBackInEveryFormatThatHoldsThem) {
   static uint32_t seed = 0;
   Lists lists(++seed);
   TestContext ctx;
   const Set outsideBitmap0 = ~(~Set() >> (1024 - 124) << 1);
   size_t held[6] = {};
   for (int round = 0; round < 100000; ++round) {
      const List list = lists.next();
      const Set set = setOf(list);
      uint16_t orig = 0, range = 0;
      ASSERT_EQ(rtx3GPPGetARFCNRange(list.data(), static_cast<uint16_t>(list.size()), &orig, &range), 0);
      for (uint32_t format = 0; format <= 5; ++format) {
         const Encoded encoded = encode(ctx, list, format, range, orig, true);
         const bool fits = format == 0   ? (set & outsideBitmap0).none()
                           : format == 1 ? set != Set(1)
                                         : format == 5 || range <= kMasks[format] + 1;
         if (!fits) {
            ASSERT_EQ(encoded.status, format == 1 ? RTX_E_INDEX : RTX_E_BAD_VALUE);
            continue;
         }
         ASSERT_EQ(encoded.status, 0) << "format " << format;
         const size_t nodes = list.size() - (format == 1 ? set[0] : 1);
         if ((format == 1 || format == 2) && nodes > 256) continue; // more than the decoder reads
         const Decoded decoded = decode(ctx, format, encoded.octets, encoded.bits);
         ASSERT_EQ(decoded.status, 0);
         ASSERT_EQ(decoded.list.size(), list.size());
         ASSERT_EQ(setOf(decoded.list), set) << "format " << format;
         ++held[format];
         rtxMemReset(ctx);
      }
   }
   for (const size_t count : held) EXPECT_GT(count, 10000u);
}

TEST(Arfcn, OctetsAndStatusesAreThoseOfTheModel) {
   Lists lists(4711);
   TestContext ctx;
   size_t failed = 0, made = 0;
   for (int round = 0; round < 10000; ++round) {
      List list = lists.next();
      uint16_t orig = 0, range = 0;
      rtx3GPPGetARFCNRange(list.data(), static_cast<uint16_t>(list.size()), &orig, &range);
      // Half of them are at fault: a channel twice, one anywhere, a span that is not the list's.
      switch (lists.pick(8)) {
      case 0: list.push_back(list[lists.pick(static_cast<uint32_t>(list.size()))]); break;
      case 1: list.insert(list.begin(), list[lists.pick(static_cast<uint32_t>(list.size()))]); break;
      case 2: list.push_back(static_cast<uint16_t>(lists.pick(1024))); break;
      case 3: range = static_cast<uint16_t>(lists.pick(130)); break;
      default: break;
      }
      for (uint32_t format = 1; format <= 4; ++format) {
         const Encoded expected = modelled(list, format, range, orig);
         const Encoded encoded = encode(ctx, list, format, range, orig);
         ASSERT_EQ(encoded.status, expected.status) << "format " << format;
         ASSERT_EQ(encoded.octets, expected.octets) << "format " << format;
         if (expected.status == 0) {
            ASSERT_EQ(encoded.bits, expected.bits);
         }
         ++(expected.status == 0 ? made : failed);
      }
   }
   EXPECT_GT(made, 5000u);
   EXPECT_GT(failed, 5000u);
}

TEST(Arfcn, FindsTheTightestOrigin) {
   struct Case {
      List list;
      uint16_t orig, range;
   };
   for (const Case& c : {Case{{}, 0, 0}, Case{{7}, 7, 1}, Case{{5, 4, 6}, 4, 3}, Case{{3, 1023, 0}, 1023, 5},
                         Case{{512, 0}, 512, 513}, Case{{9, 9}, 9, 1}}) {
      uint16_t orig = 77, range = 77;
      EXPECT_EQ(rtx3GPPGetARFCNRange(c.list.data(), static_cast<uint16_t>(c.list.size()), &orig, &range), 0);
      EXPECT_EQ(orig, c.orig);
      EXPECT_EQ(range, c.range);
   }
   List all(1024);
   for (size_t i = 0; i < 1024; ++i) all[i] = static_cast<uint16_t>(1023 - i);
   uint16_t orig = 77, range = 0;
   EXPECT_EQ(rtx3GPPGetARFCNRange(all.data(), 1024, &orig, &range), 0);
   EXPECT_EQ(range, 1024);
   EXPECT_EQ(orig, 77) << "no origin is better than another";
}

TEST(Arfcn, EdgesOfTheEncoder) {
   struct Case {
      List list;
      uint32_t format;
      uint16_t range, orig;
      int status;
      const char* octets;
      uint32_t bits;
      std::vector<std::string> parms;
   };
   using Parms = std::vector<std::string>;
   const Parms outside{"ARFCN not between 1 and 124"}, wide{"\nRange too large for chosen format."};
   const Parms noPivot{"\nUnable to locate pivot value.", "\nCheck for uniqueness of ARFCN values."};
   const Case cases[] = {
         {{1, 124}, 0, 0, 0, 0, "80000000000000000000000000000010", 124, {}},
         {{}, 0, 0, 0, 0, "00000000000000000000000000000000", 124, {}},
         {{3, 0}, 0, 0, 0, RTX_E_BAD_VALUE, "", 0, outside},
         {{125}, 0, 0, 0, RTX_E_BAD_VALUE, "", 0, outside},
         {{125}, 1, 1, 0, 0, "0fa0", 11, {}}, // W(1) is the channel
         {{0, 125}, 1, 126, 0, 0, "8fa0", 11, {}},
         {{1023, 0}, 1, 1024, 0, 0, "ffe0", 11, {}},
         {{7}, 1, 1025, 0, RTX_E_BAD_VALUE, "", 0, wide},
         {{}, 1, 0, 0, RTX_E_INDEX, "", 0, {}}, // no room for the top node, rather than channel 0 alone
         {{0}, 1, 1, 0, RTX_E_INDEX, "", 0, {}},
         {{5, 5}, 1, 1, 5, RTX_E_BAD_VALUE, "", 0, noPivot},
         {{0, 0}, 1, 1, 0, RTX_E_BAD_VALUE, "", 0, {}}, // the second 0 does not fit a node
         {{1023}, 2, 1, 1023, 0, "ffc000", 17, {}},     // no node at all
         {{1023}, 4, 1, 1023, 0, "ffc000", 17, {}},
         {{1023, 0}, 4, 2, 1023, 0, "ffc080", 17, {}},
         {{9}, 2, 1, 8, RTX_E_BAD_VALUE, "", 0, {}}, // ORIG-ARFCN is none of them
         {{}, 3, 0, 0, RTX_E_BAD_VALUE, "", 0, {}},
         {{0, 511}, 2, 512, 0, 0, "003fe000", 25, {}},
         {{0, 512}, 2, 513, 0, RTX_E_BAD_VALUE, "", 0, wide},
         {{0, 512}, 2, 512, 0, RTX_E_BAD_VALUE, "", 0, {}}, // the node shows the span
         {{0, 255}, 3, 257, 0, RTX_E_BAD_VALUE, "", 0, wide},
         {{0, 127}, 4, 129, 0, RTX_E_BAD_VALUE, "", 0, wide},
         {List(600, 5), 4, 1, 5, RTX_E_BAD_VALUE, "", 0, noPivot},
         {List(65535, 5), 4, 1, 5, RTX_E_BAD_VALUE, "", 0, noPivot},
         {{8}, 5, 1, 8, 0, "020000", 17, {}},
         {{9, 8, 16}, 5, 9, 8, 0, "02204000", 25, {}},
         {{1023, 0}, 5, 2, 1023, 0, "ffe000", 17, {}},
         {{1024}, 5, 1, 0, 0, "004000", 17, {}}, // modulo 1024 the origin: its last bit
         {{0}, 5, 1, 1024, RTX_E_BAD_VALUE, "", 0, {}},
         {{0, 14}, 5, 1, 0, 0, "000001", 17, {}}, // within the octets, if not the range
         {{0, 15}, 5, 1, 0, RTX_E_INDEX, "", 0, {}},
         {{1}, 6, 1, 1, RTX_E_BAD_VALUE, "", 0, {}},
   };
   for (const Case& c : cases) {
      SCOPED_TRACE(testing::Message() << "format " << c.format << ", " << testing::PrintToString(c.list));
      TestContext ctx;
      uint8_t* buffer[2] = {};
      uint32_t bits = 0;
      EXPECT_EQ(rtx3GPPEncARFCN(ctx, c.list.data(), static_cast<uint16_t>(c.list.size()), c.format, c.range,
                                c.orig, buffer, 0, &bits),
                c.status);
      EXPECT_EQ(ctx.parms(), c.parms);
      if (c.status != 0) continue;
      rtxErrReset(ctx);
      const Encoded encoded = encode(ctx, c.list, c.format, c.range, c.orig);
      EXPECT_EQ(hexFromOctets(encoded.octets), c.octets);
      EXPECT_EQ(encoded.bits, c.bits);
   }
}

TEST(Arfcn, KeepsToACallersOctets) {
   // The second octet of ORIG-ARFCN goes through the second pointer, and nowhere else if that points
   // elsewhere.
   TestContext ctx;
   const List list = {2, 3};
   uint8_t octets[5] = {0xEE, 0, 0xEE, 0xEE, 0xEE}, second = 0xEE;
   uint8_t* buffer[2] = {octets, &second};
   uint32_t bits = 0;
   EXPECT_EQ(rtx3GPPEncARFCN(ctx, list.data(), 2, RTX_ARFCN_RANGE_128, 2, 2, buffer, 5, &bits), 0);
   EXPECT_EQ(hexFromOctets(octets, 5), "000080eeee") << "the node, in a last octet that is cleared";
   EXPECT_EQ(second, 0x80);
   EXPECT_EQ(buffer[0], octets);
   // Of a range format only the last octet is cleared, of the variable bit map all that the caller has.
   octets[1] = 0x80;
   buffer[1] = nullptr;
   EXPECT_EQ(rtx3GPPEncARFCN(ctx, list.data(), 2, RTX_ARFCN_RANGE_1024, 2, 0, buffer, 5, &bits), 0);
   EXPECT_EQ(hexFromOctets(octets, 5).substr(2, 2), "ff");
   EXPECT_EQ(rtx3GPPEncARFCN(ctx, list.data(), 2, RTX_ARFCN_VARIABLE_BITMAP, 2, 2, buffer, 5, &bits), 0);
   EXPECT_EQ(hexFromOctets(octets, 5), "00a0000000");
   EXPECT_EQ(bits, 17u);
}

TEST(Arfcn, DecodesAnyOctets) {
   std::mt19937 random(3);
   for (uint32_t round = 0; round < 20000; ++round) {
      TestContext ctx;
      rtxMemHeapSetFlags(ctx, RTX_MH_RAW_ONLY); // each list in a block that a sanitizer knows
      const uint32_t format = 1 + round % 4;
      const unsigned lead = format == 1 ? 1 : 10, first = format == 1 ? 10 : 11 - format;
      // Of 1016 bits the last ones make two levels of a node each.
      const size_t bits = round < 28 ? 1016 : lead + random() % (round % 100 == 0 ? 2500 : 150);
      Octets octets((bits + 7) / 8);
      const bool full = round % 7 == 0; // no node is 0, so that the bits are what ends the tree
      for (uint8_t& octet : octets) octet = static_cast<uint8_t>(full ? 0xFF : random());
      const Decoded decoded = decode(ctx, format, octets, bits);
      ASSERT_EQ(decoded.status, 0);

      std::vector<uint32_t> w(1);
      ctx.decode(octets);
      uint32_t head = 0, node = 0;
      rtxDecBits(ctx, &head, lead);
      size_t rest = bits - lead;
      for (size_t level = 0; level < first;
           ++level) { // from the level behind that of 128 nodes on one node each
         const size_t width = first - level, nodes = level < 8 ? size_t{1} << level : 1;
         size_t i = 0;
         for (; i < nodes && width <= rest; ++i, rest -= width) {
            rtxDecBits(ctx, &node, width);
            if (node == 0) break;
            w.push_back(node);
         }
         if (i < nodes) break;
      }
      List expected;
      for (uint32_t i = 1; i < w.size(); ++i) {
         int32_t arfcn = -1;
         ASSERT_EQ(rtx3GPPFromRangeFormat(w.data(), i, kMasks[format] + 1, &arfcn), 0);
         expected.push_back(
               static_cast<uint16_t>((arfcn + static_cast<int32_t>(format == 1 ? 0 : head)) & 1023));
      }
      if (format != 1 || head != 0) expected.push_back(static_cast<uint16_t>(format == 1 ? 0 : head));
      ASSERT_EQ(decoded.list, expected) << "format " << format << ", " << bits << " bits";
   }
}

TEST(Arfcn, EdgesOfTheDecoder) {
   struct Case {
      uint32_t format;
      const char* octets;
      uint16_t bits;
      int status;
      List list;
      std::vector<std::string> parms;
   };
   const std::string text10 = "format 512/256/128 has less than 10 bits";
   const Case cases[] = {
         {0, "8000000000000000000000000000001f", 124, 0, {124, 1}, {}}, // falling; four bits are none
         {0,
          "00000000000000000000000000000000",
          123,
          RTX_E_BAD_VALUE,
          {},
          {"bitmap0 has other than 124 bits", "123"}},
         {1, "", 0, RTX_E_BAD_VALUE, {}, {"format 1024 has less than 1 bit", "0"}},
         {1, "80", 1, 0, {0}, {}},
         {1, "00", 1, 0, {}, {}},
         {1, "0000", 11, 0, {}, {}}, // a first node of 0
         {1, "8fa0", 11, 0, {125, 0}, {}},
         {2, "ff", 9, RTX_E_BAD_VALUE, {}, {text10, "9"}},
         {3, "ffc0", 10, 0, {1023}, {}},
         {4, "ffc080", 17, 0, {0, 1023}, {}},
         {4, "ffc080", 16, 0, {1023}, {}}, // not a whole node
         {5, "ff", 9, RTX_E_BAD_VALUE, {}, {"variable bitmap has less than 10 bits", "9"}},
         {5, "ffff", 10, 0, {1023}, {}},
         {5, "ffff", 13, 0, {1023, 0, 1, 2}, {}}, // rising, over the end
         {6, "ffff", 13, RTX_E_BAD_VALUE, {}, {}},
   };
   for (const Case& c : cases) {
      SCOPED_TRACE(testing::Message() << "format " << c.format << ", " << c.octets);
      TestContext ctx;
      const Decoded decoded = decode(ctx, c.format, octetsFromHex(c.octets), c.bits);
      EXPECT_EQ(decoded.status, c.status);
      EXPECT_EQ(decoded.list, c.list);
      EXPECT_EQ(ctx.parms(), c.parms);
   }
   const uint32_t w[] = {0, 300, 0, 0xFFFFFFFF};
   int32_t arfcn = 77;
   for (const uint32_t range : {0u, 64u, 127u, 192u, 2048u})
      EXPECT_EQ(rtx3GPPFromRangeFormat(w, 1, range, &arfcn), RTX_E_BAD_VALUE);
   EXPECT_EQ(rtx3GPPFromRangeFormat(w, 0, 128, &arfcn), RTX_E_BAD_VALUE);
   EXPECT_EQ(rtx3GPPFromRangeFormat(w, 1, 128, nullptr), 0);
   EXPECT_EQ(arfcn, 77);
   EXPECT_EQ(rtx3GPPFromRangeFormat(w, 1, 128, &arfcn), 0);
   EXPECT_EQ(arfcn, 300) << "not held against the range";
   EXPECT_EQ(rtx3GPPFromRangeFormat(w, 2, 128, &arfcn), 0);
   EXPECT_EQ(arfcn, (300 - 1 + 63) % 127 + 1);
   EXPECT_EQ(rtx3GPPFromRangeFormat(w, 3, 1024, &arfcn), 0);
   EXPECT_EQ(arfcn, (0xFFFFFFFEll + 300) % 1023 + 1);
}

TEST(Arfcn, SurvivesFailingMemory) {
   const List list = {3, 900, 17, 45};
   for (uint32_t format = 0; format <= 5; ++format)
      system_memory::failEach(1, [&](auto failFromHere) {
         RtxContext ctx;
         ASSERT_EQ(system_memory::init(&ctx), 0);
         rtxMemHeapSetFlags(&ctx, RTX_MH_RAW_ONLY);
         failFromHere();
         uint8_t* buffer[2] = {};
         uint32_t bits = 124;
         uint16_t *back = nullptr, count = 0;
         const List fit = format == 0 || format > 1 ? List{3, 45, 17} : list;
         int status = rtx3GPPEncARFCN(&ctx, fit.data(), static_cast<uint16_t>(fit.size()), format, 128, 3,
                                      buffer, 0, &bits);
         if (status == 0)
            status = rtx3GPPDecARFCN(&ctx, format, buffer[0], static_cast<uint16_t>(bits), &back, &count);
         EXPECT_EQ(status == 0, system_memory::failures == 0);
         EXPECT_TRUE(status == 0 ? count == fit.size() : status == RTX_E_NOMEM);
         rtxFreeContext(&ctx);
      });
}

TEST(Arfcn, Prints) {
   const List list = {0, 1023, 7};
   EXPECT_EQ(quorva_test::standardOutput([&] { TS44018IE_printArfcns(list.data(), 3); }), "[0,1023,7]");
   EXPECT_EQ(quorva_test::standardOutput([&] { TS44018IE_printArfcns(nullptr, 0); }), "[]");
}

TEST(CellInformation, GrowsByTheBitsOfEachFurtherCell) {
   // TS 44.018, 9.1.54: the values of the cells are a tree, too; each level's have a bit less.
   uint32_t fdd = 0, tdd = 0;
   for (uint32_t n = 1; n <= 16; ++n) {
      const auto level = static_cast<uint32_t>(std::bit_width(n)) - 1;
      EXPECT_EQ(TS44018Msg_p(n), fdd += 10 - level) << n;
   }
   for (uint32_t n = 1; n <= 20; ++n) {
      const auto level = static_cast<uint32_t>(std::bit_width(n)) - 1;
      EXPECT_EQ(TS44018Msg_q(n), tdd += 9 - level) << n;
   }
   for (const uint32_t n : {0u, 17u, 21u, 0xFFFFFFFFu}) EXPECT_EQ(TS44018Msg_p(n), 0u);
   for (const uint32_t n : {0u, 21u, 0xFFFFFFFFu}) EXPECT_EQ(TS44018Msg_q(n), 0u);
}

#ifndef QUORVA_OSMOGSM

TEST(Arfcn, AgreesWithAnIndependentCoder) {
   GTEST_SKIP() << "built without libosmogsm";
}

#else

/** A frequency element of 16 octets: the bits of its format and the bit string, filled up with 0. */
Octets elementOf(uint32_t format, const Octets& string) {
   const unsigned heads[] = {0x0, 0x10, 0x44, 0x45, 0x46, 0x47}; // 00 00, 10 00 0, 10 00 1xx
   const unsigned widths[] = {4, 5, 7, 7, 7, 7};
   TestContext ctx;
   ctx.encode(64);
   rtxEncBits(ctx, heads[format], widths[format]);
   rtxEncBitsFromByteArray(ctx, string.data(), string.size() * 8);
   rtxEncBitsPattern(ctx, 0, 128);
   Octets octets = octetsFromHex(ctx.written());
   octets.resize(16);
   return octets;
}

TEST(Arfcn, AgreesWithAnIndependentCoder) {
   Lists lists(9);
   TestContext ctx;
   size_t read = 0, written = 0;
   for (int round = 0; round < 10000; ++round) {
      const List list = lists.next();
      const Set set = setOf(list);
      uint16_t orig = 0, range = 0;
      rtx3GPPGetARFCNRange(list.data(), static_cast<uint16_t>(list.size()), &orig, &range);
      for (uint32_t format = 0; format <= 5; ++format) {
         const size_t nodes[] = {0, 16 + size_t{set[0]}, 18, 22, 29};
         const bool fits = format == 0 || (format == 5 ? range <= 112 : list.size() <= nodes[format]);
         const Encoded encoded = encode(ctx, list, format, range, orig);
         if (!fits || encoded.status != 0) continue;
         Octets element = elementOf(format, encoded.octets);
         gsm_sysinfo_freq freq[1024] = {};
         ASSERT_EQ(gsm48_decode_freq_list(freq, element.data(), 16, 0xCE, 1), 0);
         Set theirs;
         for (size_t i = 0; i < 1024; ++i) theirs[i] = freq[i].mask & 1;
         ASSERT_EQ(theirs, set) << "format " << format << " " << hexFromOctets(element);
         ++read;
      }

      // The other way: it writes range formats, from a list that does not run over 1023.
      int theirs[32], w[32] = {}, origin = 0, hasZero = 0;
      if (list.size() > 16) continue;
      std::copy(list.begin(), list.end(), theirs);
      std::sort(theirs, theirs + list.size());
      int size = static_cast<int>(list.size());
      const auto kind =
            static_cast<osmo_gsm48_range>(osmo_gsm48_range_enc_determine_range(theirs, size, &origin));
      if (kind == OSMO_GSM48_ARFCN_RANGE_INVALID) continue;
      size = osmo_gsm48_range_enc_filter_arfcns(theirs, size, origin, &hasZero);
      if (size < 0 || osmo_gsm48_range_enc_arfcns(kind, theirs, size, w, 0) != 0) continue;
      uint8_t element[16] = {};
      uint32_t format = 0;
      switch (kind) {
      case OSMO_GSM48_ARFCN_RANGE_1024:
         format = 1, osmo_gsm48_range_enc_1024(element, origin, hasZero, w);
         break;
      case OSMO_GSM48_ARFCN_RANGE_512: format = 2, osmo_gsm48_range_enc_512(element, origin, w); break;
      case OSMO_GSM48_ARFCN_RANGE_256: format = 3, osmo_gsm48_range_enc_256(element, origin, w); break;
      default: format = 4, osmo_gsm48_range_enc_128(element, origin, w); break;
      }
      const size_t bits = format == 1 ? 123 : 121;
      Octets string(16);
      ctx.decode(Octets(element, element + 16));
      rtxCtxtSetBitOffset(ctx, 128 - bits);
      rtxDecBitsToByteArray(ctx, string.data(), 16, bits);
      const Decoded ours = decode(ctx, format, string, bits);
      ASSERT_EQ(ours.status, 0);
      ASSERT_EQ(setOf(ours.list), set) << "format " << format << " " << hexFromOctets(element, 16);
      ++written;
      rtxMemReset(ctx);
   }
   EXPECT_GT(read, 10000u);
   EXPECT_GT(written, 1000u);
}

#endif

} // namespace
