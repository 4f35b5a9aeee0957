// Octets to hexadecimal text and back.
#include <climits>
#include <cstdio>
#include <cstring>

#include "quorva/rtxCharStr.h"
#include "quorva/rtxHexDump.h"
#include "quorva/rtxMemHeap.h"
#include "quorva/rtxStatus.h"
#include "quorva/rtxUTF8.h"
#include "runtime/core/ascii.h"

namespace {

constexpr int maxDifferences = 101;

bool isSeparator(char c) {
   return c == ',' || quorva::isSpace(c);
}

// Reads a text token by token.
class HexTokens {
public:
   HexTokens(const char* text, size_t nchars) : at_(text), end_(text + nchars) { start_ = firstChar(at_); }

   // Finds the digits of the next token, behind its prefix. False at the end, or at a bad character.
   bool next() {
      at_ = firstChar(at_);
      if (at_ == end_) return false;
      const bool first = at_ == start_;
      if (end_ - at_ >= 2 && at_[0] == '0' && (at_[1] == 'x' || at_[1] == 'X')) at_ += 2;
      digits_ = at_;
      while (at_ != end_ && quorva::hexDigitValue(*at_) >= 0) ++at_;
      bad_ = at_ != end_ && !isSeparator(*at_);
      alone_ = first && at_ == end_;
      return !bad_;
   }

   bool bad() const { return bad_; }
   const char* digits() const { return digits_; }
   size_t numDigits() const { return static_cast<size_t>(at_ - digits_); }
   size_t numOctets() const { return (numDigits() + 1) / 2; }

   // A text that is one token puts an odd digit in front; all others make an octet of it at the token's end.
   bool oddDigitFirst() const { return alone_; }

private:
   const char* firstChar(const char* at) const {
      while (at != end_ && isSeparator(*at)) ++at;
      return at;
   }

   const char* at_;
   const char* end_;
   const char* start_;
   const char* digits_ = nullptr;
   bool bad_ = false;
   bool alone_ = false;
};

size_t textLength(const char* text, size_t nchars) {
   return nchars > 0 && text ? nchars : rtxUTF8LenBytes(text);
}

} // namespace

int rtxByteToHexChar(uint8_t byte, char* dest, size_t size) {
   static constexpr char digits[] = "0123456789abcdef";
   if (!dest || size < 3) return -1;
   dest[0] = digits[byte >> 4];
   dest[1] = digits[byte & 15];
   dest[2] = '\0';
   return 0;
}

int rtxByteToHexCharWithPrefix(uint8_t byte, char* dest, size_t size, const char* prefix) {
   const size_t len = rtxUTF8LenBytes(prefix);
   if (!dest || len + 3 > size) return -1;
   if (len > 0) memcpy(dest, prefix, len);
   return rtxByteToHexChar(byte, dest + len, size - len);
}

int rtxHexCharsToBinCount(const char* text, size_t nchars) {
   if (!text) return 0;
   HexTokens tokens(text, textLength(text, nchars));
   size_t count = 0;
   while (tokens.next()) count += tokens.numOctets();
   if (count > INT_MAX) return RTX_E_OVERFLOW;
   return tokens.bad() ? RTX_E_BAD_HEX : static_cast<int>(count);
}

int rtxHexCharsToBin(const char* text, size_t nchars, uint8_t* out, size_t size) {
   // All characters are looked at before the first octet is written.
   const int count = rtxHexCharsToBinCount(text, nchars);
   if (count <= 0) return count;
   if (!out) size = 0;
   HexTokens tokens(text, textLength(text, nchars));
   size_t used = 0;
   while (tokens.next()) {
      const char* digit = tokens.digits();
      size_t left = tokens.numDigits();
      while (left > 0) {
         if (used == size) return RTX_E_TOO_SMALL;
         const bool single = left == 1 || (left % 2 == 1 && tokens.oddDigitFirst());
         int octet = quorva::hexDigitValue(*digit++);
         if (!single) octet = octet << 4 | quorva::hexDigitValue(*digit++);
         out[used++] = static_cast<uint8_t>(octet);
         left -= single ? 1 : 2;
      }
   }
   return count;
}

char* rtxHexDiffToDynString(RtxContext* pctxt, const uint8_t* a, const uint8_t* b, size_t numocts) {
   char* report = nullptr;
   int count = 0;
   for (size_t i = 0; i < numocts; ++i) {
      if (a[i] == b[i]) continue;
      char item[64];
      snprintf(item, sizeof(item), "[%zu]%02x != %02x", i, a[i], b[i]);
      const bool last = ++count == maxDifferences;
      char* longer = report ? rtxStrDynJoin(pctxt, report, ", ", item, last ? ", ..." : nullptr, nullptr)
                            : rtxUTF8Strdup(pctxt, item);
      if (!longer) break;
      rtxMemHeapFreePtr(pctxt, report);
      report = longer;
      if (last) break;
   }
   return report;
}
