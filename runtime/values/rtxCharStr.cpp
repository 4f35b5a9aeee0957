#include "quorva/rtxCharStr.h"

#include <charconv>
#include <cstring>
#include <initializer_list>

#include "quorva/rtxStatus.h"
#include "quorva/rtxUTF8.h"
#include "runtime/values/heapText.h"

namespace {

template <typename Int>
int intToText(Int value, char* dest, size_t bufsiz, char padchar) {
   if (!dest) return RTX_E_BAD_ARGUMENT;
   char text[24];
   const std::to_chars_result end = std::to_chars(text, text + sizeof(text), value);
   const char* digits = text;
   size_t ndigits = static_cast<size_t>(end.ptr - text);
   if (ndigits >= bufsiz) return RTX_E_TOO_SMALL;
   if (padchar) {
      if (padchar == '0' && *digits == '-') {
         *dest++ = *digits++;
         --ndigits;
         --bufsiz;
      }
      const size_t npad = bufsiz - 1 - ndigits;
      memset(dest, padchar, npad);
      dest += npad;
   }
   memcpy(dest, digits, ndigits);
   dest[ndigits] = '\0';
   return RTX_OK;
}

// Copies what fits behind `used` octets of dest; null if that was not all.
char* putText(char* dest, size_t bufsiz, size_t used, const char* src, size_t len) {
   const size_t room = bufsiz - used - 1;
   const size_t count = len < room ? len : room;
   memmove(dest + used, src, count);
   dest[used + count] = '\0';
   return count == len ? dest : nullptr;
}

} // namespace

int rtxUIntToCharStr(uint32_t value, char* dest, size_t bufsiz, char padchar) {
   return intToText(value, dest, bufsiz, padchar);
}

int rtxIntToCharStr(int32_t value, char* dest, size_t bufsiz, char padchar) {
   return intToText(value, dest, bufsiz, padchar);
}

int rtxUInt64ToCharStr(uint64_t value, char* dest, size_t bufsiz, char padchar) {
   return intToText(value, dest, bufsiz, padchar);
}

int rtxInt64ToCharStr(int64_t value, char* dest, size_t bufsiz, char padchar) {
   return intToText(value, dest, bufsiz, padchar);
}

int rtxSizeToCharStr(size_t value, char* dest, size_t bufsiz, char padchar) {
   return intToText(value, dest, bufsiz, padchar);
}

char* rtxStrcpy(char* dest, size_t bufsiz, const char* src) {
   return rtxStrncpy(dest, bufsiz, src, SIZE_MAX);
}

char* rtxStrncpy(char* dest, size_t bufsiz, const char* src, size_t nchars) {
   if (!dest || !src || bufsiz == 0) return nullptr;
   return putText(dest, bufsiz, 0, src, strnlen(src, nchars));
}

char* rtxStrcat(char* dest, size_t bufsiz, const char* src) {
   return rtxStrncat(dest, bufsiz, src, SIZE_MAX);
}

char* rtxStrncat(char* dest, size_t bufsiz, const char* src, size_t nchars) {
   if (!dest || !src) return nullptr;
   const size_t used = strnlen(dest, bufsiz);
   if (used == bufsiz) return nullptr;
   return putText(dest, bufsiz, used, src, strnlen(src, nchars));
}

char* rtxStrJoin(char* dest, size_t bufsiz, const char* s1, const char* s2, const char* s3, const char* s4,
                 const char* s5) {
   if (!dest || bufsiz == 0) return nullptr;
   size_t used = 0;
   for (const char* piece : {s1, s2, s3, s4, s5}) {
      if (!piece) continue;
      const size_t len = strlen(piece);
      if (len >= bufsiz - used) break;
      memcpy(dest + used, piece, len);
      used += len;
   }
   dest[used] = '\0';
   return dest;
}

char* rtxStrDynJoin(RtxContext* pctxt, const char* s1, const char* s2, const char* s3, const char* s4,
                    const char* s5) {
   size_t size = 1;
   for (const char* piece : {s1, s2, s3, s4, s5}) size += rtxUTF8LenBytes(piece);
   char* text = quorva::allocText(pctxt, size);
   return text ? rtxStrJoin(text, size, s1, s2, s3, s4, s5) : nullptr;
}

char* rtxStrdup(RtxContext* pctxt, const char* text) {
   return rtxUTF8Strdup(pctxt, text);
}

char* rtxStrTrimEnd(char* text) {
   if (!text) return nullptr;
   size_t len = strlen(text);
   while (len > 0 && strchr(" \t\n\v\f\r", text[len - 1])) --len;
   text[len] = '\0';
   return text;
}

const char* rtxUCSToCStr(RtxContext* pctxt, const uint16_t* text) {
   if (!text) return "";
   size_t nunits = 0;
   while (text[nunits]) ++nunits;
   return rtxUCSToDynUTF8(pctxt, text, nunits);
}
