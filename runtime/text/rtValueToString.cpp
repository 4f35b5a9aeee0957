// Single values to bare texts.
#include <cinttypes>
#include <cstdio>

#include "quorva/rtPrintToString.h"
#include "quorva/rtxBits.h"
#include "quorva/rtxCharStr.h"

namespace {

// Puts characters into a buffer until it is full; the text has its NUL at any time.
class TextWriter {
public:
   TextWriter(char* buffer, size_t size) : at_(buffer), end_(buffer + (size > 0 ? size - 1 : 0)) {
      if (size > 0) *end_ = *at_ = '\0';
   }

   void put(char c) {
      if (at_ == end_) return;
      *at_++ = c;
      *at_ = '\0';
   }

   // All of it or nothing.
   bool putWhole(const char* text, size_t length) {
      if (static_cast<size_t>(end_ - at_) < length) return false;
      for (size_t i = 0; i < length; ++i) put(text[i]);
      return true;
   }

private:
   char* at_;
   char* const end_;
};

// A text of 100 octets holds any number; what the buffer has no room for is cut off.
template <typename Int>
const char* numberText(int (*convert)(Int, char*, size_t, char), Int value, char* buffer, size_t bufsize) {
   char text[100];
   convert(value, text, sizeof(text), '\0');
   rtxStrcpy(buffer, bufsize, text);
   return buffer;
}

template <typename Arc>
const char* oidText(uint32_t numids, const Arc* subid, char* buffer, size_t bufsize) {
   if (!buffer || bufsize < 6) return nullptr;
   TextWriter text(buffer, bufsize);
   text.putWhole("{ ", 2);
   for (uint32_t i = 0; i < numids; ++i) {
      char arc[24];
      const int length = snprintf(arc, sizeof(arc), "%" PRIu64 " ", uint64_t{subid[i]});
      if (!text.putWhole(arc, static_cast<size_t>(length))) return buffer;
   }
   text.put('}');
   return buffer;
}

} // namespace

const char* rtBoolToString(uint8_t value) {
   return value ? "TRUE" : "FALSE";
}

const char* rtIntToString(int32_t value, char* buffer, size_t bufsize) {
   return numberText(rtxIntToCharStr, value, buffer, bufsize);
}

const char* rtUIntToString(uint32_t value, char* buffer, size_t bufsize) {
   return numberText(rtxUIntToCharStr, value, buffer, bufsize);
}

const char* rtInt64ToString(int64_t value, char* buffer, size_t bufsize) {
   return numberText(rtxInt64ToCharStr, value, buffer, bufsize);
}

const char* rtUInt64ToString(uint64_t value, char* buffer, size_t bufsize) {
   return numberText(rtxUInt64ToCharStr, value, buffer, bufsize);
}

const char* rtBitStrToString(uint32_t numbits, const uint8_t* data, char* buffer, size_t bufsize) {
   TextWriter text(buffer, bufsize);
   text.put('\'');
   for (uint32_t i = 0; i < numbits; ++i) text.put(rtxTestBit(data, numbits, i) ? '1' : '0');
   text.put('\'');
   text.put('B');
   return buffer;
}

const char* rtOctStrToString(uint32_t numocts, const uint8_t* data, char* buffer, size_t bufsize) {
   static constexpr char digits[] = "0123456789abcdef";
   TextWriter text(buffer, bufsize);
   text.put('\'');
   for (uint32_t i = 0; i < numocts; ++i) {
      text.put(digits[data[i] >> 4]);
      text.put(digits[data[i] & 15]);
   }
   text.put('\'');
   text.put('H');
   return buffer;
}

const char* rtOIDToString(uint32_t numids, const uint32_t* subid, char* buffer, size_t bufsize) {
   return oidText(numids, subid, buffer, bufsize);
}

const char* rtOID64ToString(uint32_t numids, const uint64_t* subid, char* buffer, size_t bufsize) {
   return oidText(numids, subid, buffer, bufsize);
}

const char* rtTagToString(uint16_t tag, char* buffer, size_t bufsize) {
   static constexpr const char* classes[] = {"UNIVERSAL ", "APPLICATION ", "", "PRIVATE "};
   snprintf(buffer, bufsize, "[%s%d]", classes[tag >> 14], tag & 0x1FFF);
   return buffer;
}

char* rtxGetArrayElemName(char* dest, size_t bufsize, const char* name, size_t index) {
   char digits[24];
   if (rtxSizeToCharStr(index, digits, sizeof(digits), '\0') != 0) return nullptr;
   return rtxStrJoin(dest, bufsize, name, "[", digits, "]", nullptr);
}
