// Object identifiers as arcs and text.
#include "quorva/rtOID.h"

#include <charconv>
#include <cstring>

#include "quorva/rtxBits.h"
#include "quorva/rtxStatus.h"
#include "runtime/core/ascii.h"
#include "runtime/core/rtxInline.h"
#include "runtime/values/heapText.h"

using quorva::isDigit;
using quorva::isLower;
using quorva::isSpace;

namespace {

// Decimal digits of an arc, without zeros in front.
struct Digits {
   const char* text;
   size_t count;
};

bool equal(Digits digits, const char* text) {
   return digits.count == strlen(text) && memcmp(digits.text, text, digits.count) == 0;
}

// Where a component stands decides which names it may have. X.660, A.2 to A.5.
enum State : uint8_t { kRoot, kItuT, kIso, kRecommendation, kNoNames };

struct ArcName {
   State state;
   State next;
   const char* arc;
   const char* name;
};

constexpr ArcName arcNames[] = {
      {kRoot, kItuT, "0", "itu-t"},
      {kRoot, kItuT, "0", "ccitt"},
      {kRoot, kIso, "1", "iso"},
      {kRoot, kNoNames, "2", "joint-iso-itu-t"},
      {kRoot, kNoNames, "2", "joint-iso-ccitt"},
      {kItuT, kRecommendation, "0", "recommendation"},
      {kItuT, kNoNames, "1", "question"},
      {kItuT, kNoNames, "2", "administration"},
      {kItuT, kNoNames, "3", "network-operator"},
      {kItuT, kNoNames, "4", "identified-organization"},
      {kIso, kNoNames, "0", "standard"},
      {kIso, kNoNames, "1", "registration-authority"},
      {kIso, kNoNames, "2", "member-body"},
      {kIso, kNoNames, "3", "identified-organization"},
};

// Series of recommendations, a to z.
constexpr const char* series[] = {"1",  "2",  "3",  "4",  "5",  "6",  "7",  "8",  "9",
                                  "10", "11", "12", "13", "14", "15", "16", "17", "18",
                                  "19", "20", "21", "22", "23", "24", "25", "26"};

// Reads one component after the other.
class ComponentReader {
public:
   ComponentReader(const char* text, size_t length, bool dotted, bool numbersOnly)
         : at_(text), end_(text + length), dotted_(dotted), numbersOnly_(numbersOnly) {}

   // Calls store(Digits), which gives a status, for each component.
   template <typename Store>
   int read(Store store) {
      skipSpace();
      for (;;) {
         Digits digits;
         int status = component(digits);
         if (status == RTX_OK) status = store(digits);
         if (status != RTX_OK) return status;
         const char* behind = at_;
         skipSpace();
         if (at_ == end_) return RTX_OK;
         if (!dotted_) continue;
         if (at_ != behind || *at_ != '.') return RTX_E_BAD_VALUE;
         ++at_;
      }
   }

private:
   bool see(char c) const { return at_ != end_ && *at_ == c; }

   void skipSpace() {
      while (at_ != end_ && isSpace(*at_)) ++at_;
   }

   // Blanks inside a component.
   void skipInner() {
      if (!dotted_) skipSpace();
   }

   bool number(Digits& digits) {
      const char* begin = at_;
      while (at_ != end_ && isDigit(*at_)) ++at_;
      if (at_ == begin) return false;
      while (at_ - begin > 1 && *begin == '0') ++begin;
      digits = {begin, static_cast<size_t>(at_ - begin)};
      return true;
   }

   int component(Digits& digits) {
      if (number(digits)) {
         stepOver(digits);
         return RTX_OK;
      }
      if (numbersOnly_ || at_ == end_ || !isLower(*at_)) return RTX_E_BAD_VALUE;
      const char* name = at_;
      while (at_ != end_ && (quorva::isAlphanumeric(*at_) || *at_ == '-')) ++at_;
      const Digits letters = {name, static_cast<size_t>(at_ - name)};
      skipInner();
      if (!see('(')) return lookUp(letters, digits);
      ++at_;
      skipInner();
      if (!number(digits)) return RTX_E_BAD_VALUE;
      skipInner();
      if (!see(')')) return RTX_E_BAD_VALUE;
      ++at_;
      stepOver(digits);
      return RTX_OK;
   }

   int lookUp(Digits name, Digits& digits) {
      if (state_ == kRecommendation && name.count == 1) {
         const char* arc = series[*name.text - 'a'];
         digits = {arc, strlen(arc)};
         state_ = kNoNames;
         return RTX_OK;
      }
      for (const ArcName& row : arcNames) {
         if (row.state != state_ || !equal(name, row.name)) continue;
         digits = {row.arc, 1};
         state_ = row.next;
         return RTX_OK;
      }
      return RTX_E_BAD_VALUE;
   }

   // A number leads where its name would.
   void stepOver(Digits digits) {
      for (const ArcName& row : arcNames) {
         if (row.state != state_ || !equal(digits, row.arc)) continue;
         state_ = row.next;
         return;
      }
      state_ = kNoNames;
   }

   const char* at_;
   const char* const end_;
   const bool dotted_;
   const bool numbersOnly_;
   State state_ = kRoot;
};

int rtOIDParseStringInternal(const char* text, size_t length, RtxOID* value, bool dotted, bool numbersOnly) {
   if (!text || !value) return RTX_E_BAD_VALUE;
   value->numids = 0;
   return ComponentReader(text, length, dotted, numbersOnly).read([value](Digits digits) {
      uint32_t arc;
      if (std::from_chars(digits.text, digits.text + digits.count, arc).ec != std::errc())
         return RTX_E_OVERFLOW;
      if (value->numids == RTX_MAX_SUBIDS) return RTX_E_BAD_OID;
      value->subid[value->numids++] = arc;
      return RTX_OK;
   });
}

} // namespace

int rtOIDParseCompList(const char* text, size_t length, RtxOID* value) {
   return rtOIDParseStringInternal(text, length, value, false, false);
}

int rtRelOIDParseCompList(const char* text, size_t length, RtxOID* value) {
   return rtOIDParseStringInternal(text, length, value, false, true);
}

int rtOIDParseString(const char* text, size_t length, RtxOID* value) {
   return rtOIDParseStringInternal(text, length, value, true, false);
}

int rtRelOIDParseString(const char* text, size_t length, RtxOID* value) {
   return rtOIDParseStringInternal(text, length, value, true, true);
}

int rtOIDParseDottedNumberString(const char* text, size_t length, RtxOID* value) {
   if (!text || length == 0 || !value) return RTX_E_BAD_VALUE;
   value->numids = 0;
   uint32_t arc = 0;
   bool digits = false;
   // Anything but digits and points is skipped, and large numbers wrap.
   for (size_t i = 0; i <= length; ++i) {
      const char c = i < length ? text[i] : '\0';
      if (isDigit(c)) {
         arc = arc * 10 + static_cast<uint32_t>(c - '0');
         digits = true;
      } else if (c == '.' || c == '\0') {
         if ((c == '\0' && !digits) || value->numids == RTX_MAX_SUBIDS) return RTX_E_BAD_OID;
         value->subid[value->numids++] = arc;
         if (c == '\0') break;
         arc = 0;
         digits = false;
      }
   }
   return RTX_OK;
}

int rtOIDIsValid(const RtxOID* value) {
   if (!value || value->numids < 2 || value->numids > RTX_MAX_SUBIDS) return 0;
   return value->subid[0] == 2 || (value->subid[0] < 2 && value->subid[1] < 40);
}

int rtOIDsEqual(const RtxOID* oid1, const RtxOID* oid2) {
   if (!oid1 || !oid2 || oid1->numids != oid2->numids || oid1->numids > RTX_MAX_SUBIDS) return 0;
   return memcmp(oid1->subid, oid2->subid, oid1->numids * sizeof(oid1->subid[0])) == 0;
}

int rtDecOIDSubIds(RtxContext* pctxt, uint32_t* subids, size_t size, int32_t numocts) {
   if (numocts < 0) return quorva::recordFailure(pctxt, RTX_E_SIZE_MISMATCH);
   int count = 0;
   for (int32_t i = 0; i < numocts;) {
      uint64_t value = 0;
      uint8_t octet;
      do {
         if (i++ == numocts) return quorva::recordFailure(pctxt, RTX_E_BAD_OID);
         const int status = rtxDecBitsToByte(pctxt, &octet, 8);
         if (status != RTX_OK) return quorva::recordFailure(pctxt, status);
         // No arc is that large, but the first value stands for two of them.
         if (value > UINT32_MAX) return quorva::recordFailure(pctxt, RTX_E_OVERFLOW);
         value = value << 7 | (octet & 0x7Fu);
      } while (octet & 0x80);
      uint32_t first = 0;
      if (count == 0) {
         first = value < 80 ? static_cast<uint32_t>(value / 40) : 2;
         value -= first * uint64_t{40};
      }
      if (value > UINT32_MAX) return quorva::recordFailure(pctxt, RTX_E_OVERFLOW);
      // An array without room ends the walk, octets left or not.
      if (size - static_cast<size_t>(count) < (count == 0 ? 2u : 1u))
         return quorva::recordFailure(pctxt, RTX_E_BAD_OID);
      if (count == 0) subids[count++] = first;
      subids[count++] = static_cast<uint32_t>(value);
   }
   return count;
}

int rtOIDAsn2Xml(RtxContext* pctxt, const char* text, size_t length, int relative, char** pText) {
   if (!text || !pText) return RTX_E_BAD_VALUE;
   *pText = nullptr;
   while (length > 0 && isSpace(text[length - 1])) --length;
   while (length > 0 && isSpace(*text)) {
      ++text;
      --length;
   }
   if (length >= 2 && text[0] == '{' && text[length - 1] == '}') {
      ++text;
      length -= 2;
   }
   size_t size = 0;
   const auto measure = [&size](Digits digits) {
      size += digits.count + 1;
      return RTX_OK;
   };
   const int status = ComponentReader(text, length, false, relative).read(measure);
   if (status != RTX_OK) return status;
   char* dotted = quorva::allocText(pctxt, size);
   if (!dotted) return quorva::recordNoMemory(pctxt);
   char* at = dotted;
   ComponentReader(text, length, false, relative).read([&at](Digits digits) {
      memcpy(at, digits.text, digits.count);
      at += digits.count;
      *at++ = '.';
      return RTX_OK;
   });
   at[-1] = '\0';
   *pText = dotted;
   return RTX_OK;
}
