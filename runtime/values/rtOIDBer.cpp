// BER contents of object identifiers as dotted text and back, with arcs of any size.
#include <charconv>
#include <cstring>

#include "quorva/rtOID.h"
#include "quorva/rtxStatus.h"
#include "runtime/core/rtxInline.h"
#include "runtime/values/heapText.h"

namespace {

__extension__ typedef unsigned __int128 Wide;

// A long arc is converted in limbs, lowest first: of 18 decimal digits as text, of 8 groups of 7 bits as
// octets. Each step over all limbs takes in 8 groups or 17 digits.
constexpr uint64_t decimalLimb = 1'000'000'000'000'000'000;
constexpr int decimalLimbDigits = 18;
constexpr size_t groupsPerLimb = 8;
constexpr int groupLimbBits = 56;
constexpr size_t digitsPerStep = 17;
constexpr uint64_t groupLimbMask = (uint64_t{1} << groupLimbBits) - 1;

// Numbers of more groups or digits may not fit 63 bits.
constexpr size_t maxShortGroups = 9;
constexpr size_t maxShortDigits = 18;

// Limbs on the heap of a context.
class Limbs {
public:
   Limbs(RtxContext* pctxt, size_t room)
         : pctxt_(pctxt), limbs_(static_cast<uint64_t*>(rtxMemHeapAlloc(pctxt, room * sizeof(uint64_t)))) {}
   ~Limbs() { rtxMemHeapFreePtr(pctxt_, limbs_); }
   Limbs(const Limbs&) = delete;
   Limbs& operator=(const Limbs&) = delete;

   bool sound() const { return limbs_ != nullptr; }
   size_t count() const { return count_; }
   uint64_t operator[](size_t i) const { return limbs_[i]; }

   // Number in decimal limbs: times 2^56, plus `add`, which is below that.
   void shiftIn(uint64_t add) {
      // Of the quotient limb * 2^56 / 10^18 in 64 bits behind the point, rounded down: at most 2 too low.
      constexpr auto ratio = static_cast<uint64_t>((Wide{1} << (groupLimbBits + 64)) / decimalLimb);
      for (size_t i = 0; i < count_; ++i) {
         uint64_t quotient = static_cast<uint64_t>(Wide{limbs_[i]} * ratio >> 64);
         // Modulo 2^64 is enough, for the rest is below 3 * 10^18.
         uint64_t rest = (limbs_[i] << groupLimbBits) + add - quotient * decimalLimb;
         for (; rest >= decimalLimb; rest -= decimalLimb) ++quotient;
         limbs_[i] = rest;
         add = quotient;
      }
      if (add > 0) limbs_[count_++] = add;
   }

   // Number in limbs of groups: times `factor`, up to 10^17, plus `add`.
   void multiplyAdd(uint64_t factor, uint64_t add) {
      for (size_t i = 0; i < count_; ++i) {
         const Wide product = Wide{limbs_[i]} * factor + add;
         limbs_[i] = static_cast<uint64_t>(product) & groupLimbMask;
         add = static_cast<uint64_t>(product >> groupLimbBits);
      }
      for (; add > 0; add >>= groupLimbBits) limbs_[count_++] = add & groupLimbMask;
   }

   // Number in decimal limbs above 2^63.
   void subtract(uint64_t small) {
      for (size_t i = 0; limbs_[i] < small; ++i) {
         limbs_[i] += decimalLimb - small;
         if (limbs_[i + 1] > 0) {
            --limbs_[i + 1];
            return;
         }
         small = 1;
      }
      limbs_[0] -= small;
   }

private:
   RtxContext* pctxt_;
   uint64_t* limbs_;
   size_t count_ = 0;
};

char* putDecimal(char* at, uint64_t value) {
   return std::to_chars(at, at + 20, value).ptr;
}

// Text of a number of more than 63 bits, less `subtrahend`; null if memory fails.
char* putLongArc(RtxContext* pctxt, char* at, const uint8_t* groups, size_t count, uint64_t subtrahend) {
   Limbs limbs(pctxt, count * 7 / 59 + 2);
   if (!limbs.sound()) return nullptr;
   uint64_t chunk = 0;
   for (size_t i = 0; i < count; ++i) {
      chunk = chunk << 7 | (groups[i] & 0x7Fu);
      if ((count - 1 - i) % groupsPerLimb != 0) continue;
      limbs.shiftIn(chunk);
      chunk = 0;
   }
   limbs.subtract(subtrahend);
   size_t i = limbs.count();
   while (limbs[i - 1] == 0) --i;
   at = putDecimal(at, limbs[--i]);
   while (i > 0) {
      char digits[20];
      const char* end = putDecimal(digits, limbs[--i]);
      const auto length = static_cast<int>(end - digits);
      for (int zeros = length; zeros < decimalLimbDigits; ++zeros) *at++ = '0';
      memcpy(at, digits, static_cast<size_t>(length));
      at += length;
   }
   return at;
}

uint8_t* putGroups(uint8_t* at, uint64_t value) {
   size_t count = 1;
   while (count < 10 && value >> (7 * count)) ++count;
   while (count-- > 0) *at++ = static_cast<uint8_t>((value >> (7 * count) & 0x7F) | (count > 0 ? 0x80 : 0));
   return at;
}

uint64_t shortNumber(const char* digits, size_t count) {
   uint64_t value = 0;
   std::from_chars(digits, digits + count, value);
   return value;
}

// Octets of a number of more than 18 digits, plus `summand`; null if memory fails.
uint8_t* putLongNumber(RtxContext* pctxt, uint8_t* at, const char* digits, size_t count, uint64_t summand) {
   Limbs limbs(pctxt, count / 16 + 3);
   if (!limbs.sound()) return nullptr;
   size_t step = count % digitsPerStep;
   for (size_t i = 0; i < count; i += step, step = digitsPerStep) {
      if (step == 0) step = digitsPerStep;
      limbs.multiplyAdd(100'000'000'000'000'000, shortNumber(digits + i, step));
   }
   limbs.multiplyAdd(1, summand);
   for (size_t i = limbs.count(); i-- > 0;) {
      if (i + 1 == limbs.count()) {
         at = putGroups(at, limbs[i]);
      } else {
         for (size_t group = groupsPerLimb; group-- > 0;)
            *at++ = static_cast<uint8_t>((limbs[i] >> (7 * group) & 0x7F) | 0x80);
      }
      at[-1] |= 0x80;
   }
   at[-1] &= 0x7F;
   return at;
}

} // namespace

int rtOIDFromBerContents(RtxContext* pctxt, const uint8_t* contents, size_t numocts, int relative,
                         char** pText) {
   if (pText) *pText = nullptr;
   if (!contents || !pText) return quorva::recordFailure(pctxt, RTX_E_BAD_VALUE);
   if (numocts == 0 || contents[numocts - 1] & 0x80) return quorva::recordFailure(pctxt, RTX_E_BAD_OID);
   if (numocts > SIZE_MAX / 4 - 2) return quorva::recordNoMemory(pctxt);
   // An octet gives at most three digits and a point.
   char* text = quorva::allocText(pctxt, 4 * numocts + 4);
   if (!text) return quorva::recordNoMemory(pctxt);
   char* at = text;
   bool first = !relative;
   for (size_t i = 0; i < numocts; ++i) {
      while (contents[i] == 0x80) ++i;
      const size_t begin = i;
      uint64_t value = 0;
      for (;; ++i) {
         value = value << 7 | (contents[i] & 0x7Fu);
         if (!(contents[i] & 0x80)) break;
      }
      const size_t count = i + 1 - begin;
      const bool small = count <= maxShortGroups;
      uint64_t subtrahend = 0;
      if (first) {
         const uint64_t arc = small && value < 80 ? value / 40 : 2;
         subtrahend = 40 * arc;
         at = putDecimal(at, arc);
         *at++ = '.';
         first = false;
      }
      at = small ? putDecimal(at, value - subtrahend)
                 : putLongArc(pctxt, at, contents + begin, count, subtrahend);
      if (!at) {
         rtxMemHeapFreePtr(pctxt, text);
         return quorva::recordNoMemory(pctxt);
      }
      *at++ = '.';
   }
   at[-1] = '\0';
   *pText = text;
   return RTX_OK;
}

int rtOIDGetBerContents(RtxContext* pctxt, const char* text, size_t length, int relative,
                        RtxDynOctStr* contents) {
   if (!text || !contents) return quorva::recordFailure(pctxt, RTX_E_BAD_VALUE);
   *contents = {0, nullptr};
   if (length > UINT32_MAX) return quorva::recordFailure(pctxt, RTX_E_BAD_OID);
   // Two digits or a digit and a point give at most an octet each.
   auto* octets = static_cast<uint8_t*>(rtxMemHeapAlloc(pctxt, length + 2));
   if (!octets) return quorva::recordNoMemory(pctxt);
   uint8_t* at = octets;
   const char* end = text + length;
   uint64_t root = 0;
   int status = RTX_OK;
   size_t arcs = 0;
   for (const char* c = text;; ++c) {
      const char* digits = c;
      while (c != end && *c >= '0' && *c <= '9') ++c;
      if (c == digits) status = RTX_E_BAD_OID;
      while (c - digits > 1 && *digits == '0') ++digits;
      const auto count = static_cast<size_t>(c - digits);
      const bool small = count <= maxShortDigits;
      const uint64_t value = small ? shortNumber(digits, count) : 0;
      ++arcs;
      if (!relative && arcs == 1) {
         if (!small || value > 2) status = RTX_E_BAD_OID;
         root = value;
      } else {
         const uint64_t summand = !relative && arcs == 2 ? 40 * root : 0;
         if (!relative && arcs == 2 && root < 2 && (!small || value >= 40)) status = RTX_E_BAD_OID;
         if (status == RTX_OK)
            at = small ? putGroups(at, value + summand) : putLongNumber(pctxt, at, digits, count, summand);
         if (!at) status = RTX_E_NOMEM;
      }
      if (status != RTX_OK || c == end) break;
      if (*c != '.') status = RTX_E_BAD_OID;
      if (status != RTX_OK) break;
   }
   if (status == RTX_OK && !relative && arcs < 2) status = RTX_E_BAD_OID;
   if (status != RTX_OK) {
      rtxMemHeapFreePtr(pctxt, octets);
      return status == RTX_E_NOMEM ? quorva::recordNoMemory(pctxt) : quorva::recordFailure(pctxt, status);
   }
   *contents = {static_cast<uint32_t>(at - octets), octets};
   return RTX_OK;
}
