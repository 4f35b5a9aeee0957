// Lists of channel numbers (TS 44.018, 10.5.2.13 and annex J), and sizes of cell information fields.
#include "quorva/TS44018Misc.h"

#include "quorva/rtxError.h"
#include "runtime/core/rtxInline.h"
#include "runtime/core/rtxMemHeapInline.h"
#include "runtime/nas/arfcnFormat.h"

#include <algorithm>
#include <bit>
#include <cstdio>
#include <cstring>

using namespace quorva;

namespace {

constexpr unsigned kChannels = 1024;
constexpr unsigned kChannelMask = kChannels - 1;
constexpr unsigned kOrigBits = 10;
constexpr unsigned kBitmapChannels = 124;
constexpr size_t kBitmapOctets = 16;

/** (a - b) modulo 1024. */
constexpr unsigned channelsFrom(unsigned b, unsigned a) {
   return (a - b) & kChannelMask;
}

int badValue(RtxContext* pctxt, const char* text = nullptr) {
   if (text != nullptr) rtxErrAddStrParm(pctxt, text);
   return recordFailure(pctxt, RTX_E_BAD_VALUE);
}

int noPivot(RtxContext* pctxt) {
   rtxErrAddStrParm(pctxt, "\nUnable to locate pivot value.");
   return badValue(pctxt, "\nCheck for uniqueness of ARFCN values.");
}

int badBitCount(RtxContext* pctxt, const char* text, unsigned bits) {
   rtxErrAddStrParm(pctxt, text);
   rtxErrAddUIntParm(pctxt, bits);
   return recordFailure(pctxt, RTX_E_BAD_VALUE);
}

void setBit(uint8_t* octets, size_t at) {
   octets[at / 8] = static_cast<uint8_t>(octets[at / 8] | 0x80u >> at % 8);
}

/** Sees to an output of `octets`: the caller's, if it is large enough, or cleared octets of the heap. */
int provideOutput(RtxContext* pctxt, uint8_t*& output, size_t bufferSize, size_t octets) {
   if (output != nullptr) return bufferSize < octets ? recordFailure(pctxt, RTX_E_BUFFER_FULL) : RTX_OK;
   output = static_cast<uint8_t*>(hot::alloc(pctxt, octets));
   if (output == nullptr) return recordNoMemory(pctxt);
   std::memset(output, 0, octets);
   return RTX_OK;
}

int encodeBitmap0(RtxContext* pctxt, const uint16_t* arfcns, size_t count, uint8_t*& output,
                  size_t bufferSize) {
   if (const int status = provideOutput(pctxt, output, bufferSize, kBitmapOctets); status < 0) return status;
   std::memset(output, 0, kBitmapOctets);
   for (size_t i = 0; i < count; ++i) {
      if (arfcns[i] - 1u >= kBitmapChannels) return badValue(pctxt, "ARFCN not between 1 and 124");
      setBit(output, kBitmapChannels - arfcns[i]);
   }
   return RTX_OK;
}

int encodeVariableBitmap(RtxContext* pctxt, const uint16_t* arfcns, size_t count, unsigned range,
                         unsigned origArfcn, uint8_t*& output, size_t bufferSize, uint32_t* pbits) {
   const size_t octets = ((range + 7) >> 3) + 2;
   if (output == nullptr) bufferSize = octets;
   if (const int status = provideOutput(pctxt, output, bufferSize, octets); status < 0) return status;
   std::memset(output, 0, bufferSize);
   if (origArfcn >= kChannels) return badValue(pctxt);
   output[0] = static_cast<uint8_t>(origArfcn >> 2);
   output[1] = static_cast<uint8_t>(origArfcn << 6);
   if (pbits != nullptr) *pbits = static_cast<uint32_t>(8 * octets - 7);
   for (size_t i = 0; i < count; ++i) {
      if (arfcns[i] == origArfcn) continue;
      // A number that is ORIG-ARFCN only modulo 1024 sets the last bit of that, by the letter of the rule.
      const size_t at = channelsFrom(origArfcn, arfcns[i]) + kOrigBits - 1;
      if ((at + 8) >> 3 > bufferSize) return recordFailure(pctxt, RTX_E_INDEX);
      setBit(output, at);
   }
   return RTX_OK;
}

/**
 * Index of the first entry of which (n - 1) / 2 others lie in the half of the range that begins behind it; n
 * if there is none. The distance between two entries is modulo the range.
 */
template <class Distance>
size_t findPivot(const uint16_t* set, size_t n, unsigned half, Distance distance) {
   for (size_t i = 0; i < n; ++i) {
      const uint16_t candidate = set[i];
      uint16_t within = 0; // narrow, as the entries are, for the vector unit
      for (size_t j = 0; j < n; ++j)
         within = static_cast<uint16_t>(within + (distance(candidate, set[j]) <= half));
      if (within - 1u == (n - 1) >> 1) return i;
   }
   return n;
}

/** a modulo range for 0 <= a < 2 * range. */
constexpr unsigned wrapOnce(unsigned a, unsigned range) {
   return a < range ? a : a - range;
}

/** (a - b) modulo range of numbers below it. */
constexpr unsigned distanceIn(unsigned range, unsigned b, unsigned a) {
   return a < b ? a + range - b : a - b;
}

/**
 * Moves the entries behind the pivot, without it, to the right part and those ahead of it to the left one,
 * and makes each count from the origin of its part. The order in which entries change places tells which
 * pivot the next level finds, and so stands fast.
 */
void partition(uint16_t* set, size_t n, unsigned pivot, unsigned range) {
   const unsigned half = range >> 1;
   const unsigned leftOrigin = wrapOnce(pivot + half + 1, range);
   const unsigned rightOrigin = wrapOnce(pivot + 1, range);
   uint16_t* right = set + (n >> 1);
   uint16_t* const end = set + n - 1; // there stands the pivot
   for (uint16_t *left = set, *const leftEnd = right; left != leftEnd; ++left) {
      const unsigned fromLeft = distanceIn(range, leftOrigin, *left);
      if (fromLeft < half) {
         *left = static_cast<uint16_t>(fromLeft);
         continue;
      }
      // The pivot's count says that there is an entry of the left part among those on the right.
      for (; right != end; ++right) {
         const unsigned fromRight = distanceIn(range, rightOrigin, *right);
         if (fromRight >= half) {
            *left = static_cast<uint16_t>(fromRight - half);
            *right++ = static_cast<uint16_t>(wrapOnce(half + fromLeft, range));
            break;
         }
         *right = static_cast<uint16_t>(fromRight);
      }
   }
   for (; right != end; ++right) *right = static_cast<uint16_t>(distanceIn(range, rightOrigin, *right));
}

/** Writes the tree of a set, in place. */
class TreeEncoder {
public:
   TreeEncoder(RtxContext* pctxt, const Rtx3GPPArfcnFormat& format, uint8_t* output, size_t octets)
         : pctxt_(pctxt), format_(format), output_(output), octets_(octets) {}

   /** Node `index`, which is on `level`, and what hangs on it. */
   int encode_subtree(unsigned index, unsigned level, uint16_t* set, size_t n) {
      const unsigned levelSize = 1u << level;
      const unsigned width = format_.firstWidth - level;
      const size_t at = format_.startBit + format_.totalBits[level] + (index - levelSize) * width;
      if ((width + at + 7) >> 3 > octets_) return recordFailure(pctxt_, RTX_E_INDEX);
      if (n == 0) return RTX_OK;
      if (n == 1) return store(at, width, set[0]);

      const unsigned range = (1u << width) - 1; // on each level
      const size_t slot = pivotOf(set, n, range);
      if (slot == n) return noPivot(pctxt_);
      const unsigned pivot = set[slot];
      if (const int status = store(at, width, pivot); status < 0) return status;
      std::swap(set[slot], set[n - 1]);
      partition(set, n, pivot, range);
      if (const int status = encode_subtree(index + levelSize, level + 1, set, n >> 1); status < 0)
         return status;
      if (n == 2) return RTX_OK;
      return encode_subtree(index + 2 * levelSize, level + 1, set + (n >> 1), (n - 1) >> 1);
   }

private:
   /** Where the pivot stands; n if nowhere. Entries are below the range then, but perhaps for the pivot. */
   static size_t pivotOf(uint16_t* set, size_t n, unsigned range) {
      uint16_t largest = 0;
      for (size_t i = 0; i < n; ++i) largest = std::max(largest, set[i]);
      if (largest < range)
         return findPivot(set, n, range >> 1, [range](uint16_t from, uint16_t to) {
            const auto forward = static_cast<uint16_t>(to - from);
            return static_cast<uint16_t>(forward + (to < from ? range : 0));
         });
      // Numbers beyond the range, from a list that has one twice or spans too much: only a pivot shows it.
      const size_t slot = findPivot(set, n, range >> 1, [range](unsigned from, unsigned to) {
         return (to + kChannels * range - from) % range;
      });
      for (size_t i = 0; i < n; ++i)
         if (i != slot) set[i] = static_cast<uint16_t>(set[i] % range);
      return slot;
   }

   /** ORs the node's value, the entry plus 1, into its bits. */
   int store(size_t at, unsigned width, unsigned entry) {
      const unsigned value = entry + 1;
      if (value >> width != 0) return recordFailure(pctxt_, RTX_E_BAD_VALUE);
      const size_t end = at % 8 + width;
      const unsigned field = value << (24 - end);
      uint8_t* octet = output_ + at / 8;
      octet[0] = static_cast<uint8_t>(octet[0] | field >> 16);
      if (end > 8) octet[1] = static_cast<uint8_t>(octet[1] | field >> 8);
      if (end > 16) octet[2] = static_cast<uint8_t>(octet[2] | field);
      return RTX_OK;
   }

   RtxContext* pctxt_;
   const Rtx3GPPArfcnFormat& format_;
   uint8_t* output_;
   size_t octets_;
};

/** A copy of the list, counted from the origin of the tree, without the channel that is no node. */
struct TreeEntries {
   uint16_t* set;
   size_t count;
   bool rootFound; ///< Channel 0 or ORIG-ARFCN was there.
};

TreeEntries takeEntries(const uint16_t* arfcns, size_t count, unsigned root, uint16_t* copy) {
   size_t rootSlot = count;
   for (size_t i = 0; i < count; ++i) {
      if (arfcns[i] == root) rootSlot = i;
      copy[i] = static_cast<uint16_t>(channelsFrom(root + 1, arfcns[i]));
   }
   const bool found = rootSlot != count;
   if (found) copy[rootSlot] = copy[--count];
   return {copy, count, found};
}

int encodeRange(RtxContext* pctxt, const Rtx3GPPArfcnFormat& format, const TreeEntries& entries,
                unsigned origArfcn, uint8_t** buffer, size_t bufferSize, uint32_t* pbits) {
   const size_t n = entries.count;
   const bool hasOrig = format.leadBits == 1;
   if (hasOrig && !entries.rootFound) return badValue(pctxt);
   const auto levels = static_cast<unsigned>(std::bit_width(n + 1)) - 1; // complete ones
   if (levels > format.firstWidth) return noPivot(pctxt);                // more than can be different

   const size_t used = format.totalBits[levels] +
                       (n + 1 - (size_t{1} << levels)) * (format.firstWidth - levels) + format.startBit;
   const size_t octets = ((used - format.leadBits + 7) >> 3) + 1;
   uint8_t*& output = buffer[0];
   if (const int status = provideOutput(pctxt, output, bufferSize, octets); status < 0) return status;
   output[octets - 1] = 0;
   if (pbits != nullptr) *pbits = static_cast<uint32_t>(8 * octets - (8u - format.leadBits));

   if (hasOrig) {
      // The second octet goes its own way, whole, for callers whose octets don't lie in a row.
      uint8_t* second = buffer[1] != nullptr ? buffer[1] : output + 1;
      output[0] = static_cast<uint8_t>(origArfcn >> 2);
      *second = static_cast<uint8_t>(origArfcn << 6);
   } else {
      output[0] = entries.rootFound ? 0x80 : 0;
   }
   return TreeEncoder(pctxt, format, output, octets).encode_subtree(1, 0, entries.set, n);
}

/** Up to 64 bits, the first one as the lowest. */
uint64_t loadReversed(const uint8_t* octets, size_t count) {
   uint64_t word = 0;
   if (count == 8 && std::endian::native == std::endian::little) {
      std::memcpy(&word, octets, 8);
   } else {
      for (size_t i = 0; i < count; ++i) word |= uint64_t{octets[i]} << (8 * i);
   }
   // Within each octet.
   word = (word >> 4 & 0x0F0F0F0F0F0F0F0F) | (word & 0x0F0F0F0F0F0F0F0F) << 4;
   word = (word >> 2 & 0x3333333333333333) | (word & 0x3333333333333333) << 2;
   return (word >> 1 & 0x5555555555555555) | (word & 0x5555555555555555) << 1;
}

/** Calls `take` with the index of each set bit from `first`, below 64, to ahead of `end`, rising. */
template <class Take>
void forEachBit(const uint8_t* octets, size_t first, size_t end, Take take) {
   uint64_t wanted = ~uint64_t{0} << first;
   for (size_t at = 0; at < end; at += 64) {
      const size_t rest = end - at;
      if (rest < 64) wanted &= ~(~uint64_t{0} << rest);
      uint64_t word = loadReversed(octets + at / 8, std::min<size_t>(8, (rest + 7) / 8)) & wanted;
      for (; word != 0; word &= word - 1) take(at + static_cast<size_t>(std::countr_zero(word)));
      wanted = ~uint64_t{0};
   }
}

uint16_t* newList(RtxContext* pctxt, size_t room) {
   return static_cast<uint16_t*>(hot::alloc(pctxt, room * sizeof(uint16_t)));
}

int decodeBitmap0(RtxContext* pctxt, const uint8_t* data, unsigned bits, uint16_t** parfcns,
                  uint16_t* pcount) {
   if (bits != kBitmapChannels) return badBitCount(pctxt, "bitmap0 has other than 124 bits", bits);
   uint16_t* list = newList(pctxt, kBitmapChannels);
   if (list == nullptr) return recordNoMemory(pctxt);
   uint16_t* next = list;
   forEachBit(data, 0, kBitmapChannels,
              [&next](size_t at) { *next++ = static_cast<uint16_t>(kBitmapChannels - at); });
   *parfcns = list;
   *pcount = static_cast<uint16_t>(next - list);
   return RTX_OK;
}

unsigned origOf(const uint8_t* data) {
   return unsigned{data[0]} << 2 | data[1] >> 6;
}

int decodeVariableBitmap(RtxContext* pctxt, const uint8_t* data, unsigned bits, uint16_t** parfcns,
                         uint16_t* pcount) {
   if (bits < kOrigBits) return badBitCount(pctxt, "variable bitmap has less than 10 bits", bits);
   uint16_t* list = newList(pctxt, bits - kOrigBits + 1);
   if (list == nullptr) return recordNoMemory(pctxt);
   const unsigned orig = origOf(data);
   uint16_t* next = list;
   *next++ = static_cast<uint16_t>(orig);
   forEachBit(data, kOrigBits, bits, [&next, orig](size_t at) {
      *next++ = static_cast<uint16_t>((orig + at - kOrigBits + 1) & kChannelMask);
   });
   *parfcns = list;
   *pcount = static_cast<uint16_t>(next - list);
   return RTX_OK;
}

/** Reads the nodes of a tree of `payload` bits that begins at `at`. Returns their number. */
size_t readNodes(const Rtx3GPPArfcnFormat& format, const uint8_t* data, size_t at, size_t payload,
                 uint16_t* nodes) {
   // Eight bits: behind the level of 128 nodes the size is 0, and each node is a level of its own.
   uint8_t levelSize = 1, place = 0;
   const uint8_t* octet = data + at / 8;
   uint32_t window = *octet++;
   unsigned have = 8 - at % 8;
   unsigned width = format.firstWidth;
   size_t n = 0;
   while (width <= payload) {
      for (; have < width; have += 8) window = window << 8 | *octet++;
      have -= width;
      payload -= width;
      const unsigned value = window >> have & ((1u << width) - 1);
      if (value == 0) break;
      nodes[n++] = static_cast<uint16_t>(value);
      if (++place >= levelSize) {
         levelSize = static_cast<uint8_t>(2 * levelSize);
         --width;
         place = 0;
      }
   }
   return n;
}

/** One step of a node's value towards the root, from the one of its two places that the rule gives. */
template <class Value, class Nodes>
constexpr void stepUp(Value& value, uint32_t& index, uint32_t& levelSize, Value& range, const Nodes* w) {
   range = 2 * range + 1;
   if (2 * uint64_t{index} < 3 * uint64_t{levelSize}) {
      index -= levelSize / 2;
      value += static_cast<Value>(w[index]) + (range - 1) / 2;
   } else {
      index -= levelSize;
      value += static_cast<Value>(w[index]);
   }
   levelSize /= 2;
}

/** Makes channels of the nodes, in place; the last one first, since a channel needs the nodes above. */
void nodesToChannels(const Rtx3GPPArfcnFormat& format, uint16_t* nodes, size_t n, unsigned root) {
   uint16_t* const w = nodes - 1;
   for (auto last = static_cast<uint32_t>(n); last != 0; --last) {
      uint32_t index = last, levelSize = std::bit_floor(last);
      uint32_t range = format.range / levelSize;
      uint32_t value = w[last] - 1u;
      while (index > 1) {
         stepUp(value, index, levelSize, range, w);
         value = wrapOnce(value, range); // a node is at most the range of its level
      }
      w[last] = static_cast<uint16_t>((value + root + 1) & kChannelMask);
   }
}

int decodeRange(RtxContext* pctxt, const Rtx3GPPArfcnFormat& format, const uint8_t* data, unsigned bits,
                uint16_t** parfcns, uint16_t* pcount) {
   const unsigned lead = format.startBit;
   if (bits < lead)
      return badBitCount(
            pctxt, lead == 1 ? "format 1024 has less than 1 bit" : "format 512/256/128 has less than 10 bits",
            bits);
   const size_t payload = bits - lead;
   const unsigned width = format.firstWidth;
   unsigned levels = width;
   while (format.totalBits[levels] > payload) --levels;

   const bool hasOrig = lead == kOrigBits;
   const unsigned root = hasOrig ? origOf(data) : 0;
   const bool rootFound = hasOrig || (data[0] & 0x80) != 0;
   size_t room = (size_t{1} << levels) - (rootFound ? 0 : 1);
   if (width > levels) room += (payload - format.totalBits[levels]) / (width - levels);
   *pcount = static_cast<uint16_t>(room);
   // One more: of 1015 bits of nodes the narrow level counters make two levels of a node each.
   const size_t octets = (room + 1) * sizeof(uint16_t);
   auto* list = static_cast<uint16_t*>(hot::alloc(pctxt, octets));
   if (list == nullptr) return recordNoMemory(pctxt);
   std::memset(list, 0, octets);

   size_t n = payload < width ? 0 : readNodes(format, data, lead, payload, list);
   nodesToChannels(format, list, n, root);
   if (rootFound) list[n++] = static_cast<uint16_t>(root);
   *parfcns = list;
   *pcount = static_cast<uint16_t>(n);
   return RTX_OK;
}

} // namespace

int rtx3GPPGetARFCNRange(const uint16_t* arfcns, uint16_t count, uint16_t* porigArfcn, uint16_t* prange) {
   if (count == 0) {
      *prange = *porigArfcn = 0;
      return RTX_OK;
   }
   unsigned best = kChannels;
   for (size_t i = 0; i < count; ++i) {
      int16_t farthest = 0;
      for (size_t j = 0; j < count; ++j)
         farthest = std::max(farthest, static_cast<int16_t>(channelsFrom(arfcns[i], arfcns[j])));
      if (const unsigned span = static_cast<unsigned>(farthest) + 1; span < best) {
         best = span;
         *porigArfcn = arfcns[i];
         if (best == count) break; // nothing is tighter
      }
   }
   *prange = static_cast<uint16_t>(best);
   return RTX_OK;
}

int rtx3GPPEncARFCN(RtxContext* pctxt, const uint16_t* arfcns, uint16_t count, uint32_t format,
                    uint16_t range, uint16_t origArfcn, uint8_t** buffer, size_t bufferSize,
                    uint32_t* pbits) {
   if (format == RTX_ARFCN_BITMAP0) return encodeBitmap0(pctxt, arfcns, count, buffer[0], bufferSize);
   if (format == RTX_ARFCN_VARIABLE_BITMAP)
      return encodeVariableBitmap(pctxt, arfcns, count, range, origArfcn, buffer[0], bufferSize, pbits);
   const Rtx3GPPArfcnFormat* rangeFormat = rangeFormatOf(format);
   if (rangeFormat == nullptr) return badValue(pctxt);
   if (range > rangeFormat->range + 1) return badValue(pctxt, "\nRange too large for chosen format.");

   auto* copy = static_cast<uint16_t*>(hot::alloc(pctxt, count * sizeof(uint16_t)));
   if (copy == nullptr) return recordNoMemory(pctxt);
   const unsigned root = format == RTX_ARFCN_RANGE_1024 ? 0 : origArfcn;
   const int status = encodeRange(pctxt, *rangeFormat, takeEntries(arfcns, count, root, copy), origArfcn,
                                  buffer, bufferSize, pbits);
   rtxMemHeapFreePtr(pctxt, copy);
   return status;
}

int rtx3GPPDecARFCN(RtxContext* pctxt, uint32_t format, const uint8_t* data, uint16_t bits,
                    uint16_t** parfcns, uint16_t* pcount) {
   if (format == RTX_ARFCN_BITMAP0) return decodeBitmap0(pctxt, data, bits, parfcns, pcount);
   if (format == RTX_ARFCN_VARIABLE_BITMAP) return decodeVariableBitmap(pctxt, data, bits, parfcns, pcount);
   const Rtx3GPPArfcnFormat* rangeFormat = rangeFormatOf(format);
   if (rangeFormat == nullptr) return badValue(pctxt);
   return decodeRange(pctxt, *rangeFormat, data, bits, parfcns, pcount);
}

int rtx3GPPFromRangeFormat(const uint32_t* w, uint32_t index, uint32_t range, int32_t* parfcn) {
   if (range < 128 || range > kChannels || !std::has_single_bit(range) || index == 0) return RTX_E_BAD_VALUE;
   if (parfcn == nullptr) return RTX_OK;
   uint32_t levelSize = std::bit_floor(index);
   int64_t rangeHere = (range - 1) / levelSize;
   int64_t value = int64_t{w[index]} - 1; // a caller's nodes may be anything
   while (index > 1) {
      stepUp(value, index, levelSize, rangeHere, w);
      value %= rangeHere;
   }
   *parfcn = static_cast<int32_t>((value + 1) % int64_t{kChannels});
   return RTX_OK;
}

int TS44018IE_printArfcns(const uint16_t* arfcns, uint16_t count) {
   std::printf("[");
   for (unsigned i = 0; i < count; ++i) std::printf("%u%s", unsigned{arfcns[i]}, i + 1u < count ? "," : "");
   std::printf("]");
   return RTX_OK;
}

uint32_t TS44018Msg_p(uint32_t cells) {
   constexpr uint8_t sizes[] = {0, 10, 19, 28, 36, 44, 52, 60, 67, 74, 81, 88, 95, 102, 109, 116, 122};
   return cells < std::size(sizes) ? sizes[cells] : 0;
}

uint32_t TS44018Msg_q(uint32_t cells) {
   constexpr uint8_t sizes[] = {0,  9,  17, 25, 32,  39,  46,  53,  59,  65, 71,
                                77, 83, 89, 95, 101, 106, 111, 116, 121, 126};
   return cells < std::size(sizes) ? sizes[cells] : 0;
}
