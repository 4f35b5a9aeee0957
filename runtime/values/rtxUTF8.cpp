#include "quorva/rtxUTF8.h"

#include <climits>
#include <cstring>

#include "quorva/rtxCharStr.h"
#include "quorva/rtxMemHeap.h"
#include "quorva/rtxStatus.h"
#include "runtime/core/ascii.h"
#include "runtime/values/heapText.h"
#include "runtime/values/utf8Steps.h"

using quorva::failed;

namespace {

// Octets of a 16-bit text in UTF-8 without a NUL.
size_t encodedSize(const uint16_t* text, size_t nunits) {
   size_t size = 0;
   for (size_t i = 0; i < nunits; ++i) size += rtxUTF8CharSize(text[i]);
   return size;
}

} // namespace

int quorva::badUTF8(RtxContext* pctxt, size_t position) {
   if (!pctxt) return RTX_E_BAD_UTF8;
   rtxErrNewNode(pctxt);
   rtxErrAddSizeParm(pctxt, position);
   return recordFailure(pctxt, RTX_E_BAD_UTF8);
}

size_t rtxUTF8CharSize(uint32_t codePoint) {
   if (codePoint < 0x80) return 1;
   if (codePoint < 0x800) return 2;
   if (codePoint < 0x10000) return 3;
   if (codePoint < 0x200000) return 4;
   return codePoint < 0x4000000 ? 5 : 6;
}

int rtxUTF8EncodeChar(uint32_t codePoint, uint8_t* dest, size_t size) {
   static constexpr uint8_t leads[] = {0, 0, 0xC0, 0xE0, 0xF0, 0xF8, 0xFC};
   const size_t nocts = rtxUTF8CharSize(codePoint);
   if (!dest || size < nocts || codePoint > 0x7FFFFFFF) return RTX_E_BUFFER_FULL;
   for (size_t i = nocts - 1; i > 0; --i) {
      dest[i] = static_cast<uint8_t>(0x80 | (codePoint & 0x3F));
      codePoint >>= 6;
   }
   dest[0] = static_cast<uint8_t>(leads[nocts] | codePoint);
   return static_cast<int>(nocts);
}

int32_t rtxUTF8DecodeChar(RtxContext* pctxt, const uint8_t* octets, size_t* pSize) {
   if (!octets || !pSize) return failed(pctxt, RTX_E_BAD_UTF8);
   if (*pSize == 0) return quorva::badUTF8(pctxt, 0);
   if (octets[0] < 0x80) {
      *pSize = 1;
      return octets[0];
   }
   const size_t nocts = quorva::utf8SequenceSize(octets[0]);
   if (nocts == 0 || *pSize < nocts) return quorva::badUTF8(pctxt, 0);
   // The lead octet carries 7 - nocts bits.
   uint32_t codePoint = octets[0] & (0x7Fu >> nocts);
   for (size_t i = 1; i < nocts; ++i) {
      if ((octets[i] & 0xC0) != 0x80) return quorva::badUTF8(pctxt, 0);
      codePoint = codePoint << 6 | (octets[i] & 0x3F);
   }
   *pSize = nocts;
   return static_cast<int32_t>(codePoint);
}

size_t rtxUTF8LenBytes(const char* text) {
   return text ? strlen(text) : 0;
}

size_t rtxUTF8Len(const char* text) {
   return rtxCalcUTF8Len(text, rtxUTF8LenBytes(text));
}

size_t rtxCalcUTF8Len(const char* text, size_t nbytes) {
   if (!text) return 0;
   size_t count = 0;
   for (size_t i = 0; i < nbytes; ++i) count += (text[i] & 0xC0) != 0x80;
   return count;
}

int rtxUTF8Strncmp(const char* text1, const char* text2, size_t nbytes) {
   if (nbytes == 0 || (!text1 && !text2)) return 0;
   if (!text1) return -1;
   if (!text2) return 1;
   for (size_t i = 0; i < nbytes; ++i) {
      const int difference = static_cast<uint8_t>(text1[i]) - static_cast<uint8_t>(text2[i]);
      if (difference != 0 || text1[i] == '\0') return difference;
   }
   return 0;
}

int rtxUTF8Strcmp(const char* text1, const char* text2) {
   return rtxUTF8Strncmp(text1, text2, SIZE_MAX);
}

int rtxUTF8StrEqual(const char* text1, const char* text2) {
   return rtxUTF8Strcmp(text1, text2) == 0;
}

int rtxUTF8StrnEqual(const char* text1, const char* text2, size_t nbytes) {
   return rtxUTF8Strncmp(text1, text2, nbytes) == 0;
}

char* rtxUTF8Strdup(RtxContext* pctxt, const char* text) {
   return rtxUTF8Strndup(pctxt, text, SIZE_MAX);
}

char* rtxUTF8Strndup(RtxContext* pctxt, const char* text, size_t nbytes) {
   if (!text) return nullptr;
   const size_t len = strnlen(text, nbytes);
   char* copy = quorva::allocText(pctxt, len + 1);
   if (!copy) return nullptr;
   memcpy(copy, text, len);
   copy[len] = '\0';
   return copy;
}

char* rtxUTF8StrRefOrDup(RtxContext* pctxt, const char* text) {
   if (!text) return nullptr;
   void* ptr = const_cast<char*>(text);
   if (rtxMemHeapCheckPtr(pctxt, ptr)) {
      // No further reference fits when 255 are held; then a copy serves as well.
      if (void* shared = rtxMemHeapAutoPtrRef(pctxt, ptr)) return static_cast<char*>(shared);
   }
   return rtxUTF8Strdup(pctxt, text);
}

char* rtxUTF8Strcpy(char* dest, size_t bufsiz, const char* src) {
   return rtxUTF8Strncpy(dest, bufsiz, src, SIZE_MAX);
}

char* rtxUTF8Strncpy(char* dest, size_t bufsiz, const char* src, size_t nbytes) {
   size_t len = src ? strnlen(src, nbytes) : 0;
   const bool fits = len < bufsiz;
   if (!fits && bufsiz > 0) {
      len = bufsiz - 1;
      while (len > 0 && (src[len] & 0xC0) == 0x80) --len;
   }
   return rtxStrncpy(dest, bufsiz, src, len) && fits ? dest : nullptr;
}

char* rtxUTF8StrJoin(RtxContext* pctxt, const char* s1, const char* s2, const char* s3, const char* s4,
                     const char* s5) {
   return rtxStrDynJoin(pctxt, s1, s2, s3, s4, s5);
}

char* rtxUTF8StrChr(const char* text, uint32_t codePoint) {
   size_t left = rtxUTF8LenBytes(text);
   while (left > 0) {
      size_t used = left;
      const int32_t here = rtxUTF8DecodeChar(nullptr, reinterpret_cast<const uint8_t*>(text), &used);
      if (here < 0) return nullptr;
      if (static_cast<uint32_t>(here) == codePoint) break;
      text += used;
      left -= used;
   }
   return left > 0 || (text && codePoint == 0) ? const_cast<char*>(text) : nullptr;
}

size_t rtxUTF8RemoveWhiteSpace(const char* text, size_t nbytes, const char** ptext) {
   if (!text) nbytes = 0;
   for (; nbytes > 0 && quorva::isSpace(*text); --nbytes) ++text;
   while (nbytes > 0 && quorva::isSpace(text[nbytes - 1])) --nbytes;
   if (ptext) *ptext = text;
   return nbytes;
}

char* rtxUTF8StrNextTok(char* text, char** pnext) {
   if (!text) text = *pnext;
   if (!text) return nullptr;
   while (quorva::isSpace(*text)) ++text;
   char* end = text;
   while (*end && !quorva::isSpace(*end)) ++end;
   *pnext = *end ? end + 1 : end;
   *end = '\0';
   return end != text ? text : nullptr;
}

int32_t rtxUTF8CharToWC(const uint8_t* octets, size_t nbytes) {
   return rtxUTF8DecodeChar(nullptr, octets, &nbytes);
}

uint32_t rtxUTF8StrHash(const char* text) {
   uint32_t hash = 5381;
   if (!text) return hash;
   for (; *text; ++text) hash += (hash << 5) + static_cast<uint8_t>(*text);
   return hash;
}

int rtxUCSToUTF8(RtxContext* pctxt, const uint16_t* text, size_t nunits, char* dest, size_t size) {
   if ((!text && nunits > 0) || !dest) return failed(pctxt, RTX_E_BAD_ARGUMENT);
   const size_t limit = size < INT_MAX ? size : INT_MAX;
   size_t used = 0;
   for (size_t i = 0; i < nunits; ++i) {
      const int nocts = rtxUTF8EncodeChar(text[i], reinterpret_cast<uint8_t*>(dest) + used, limit - used);
      if (nocts < 0) return failed(pctxt, RTX_E_BUFFER_FULL);
      used += static_cast<size_t>(nocts);
   }
   if (used == limit) return failed(pctxt, RTX_E_BUFFER_FULL);
   dest[used] = '\0';
   return static_cast<int>(used);
}

char* rtxUCSToDynUTF8(RtxContext* pctxt, const uint16_t* text, size_t nunits) {
   if (!text) return nullptr;
   const size_t size = encodedSize(text, nunits) + 1;
   if (size > INT_MAX) return nullptr;
   char* copy = quorva::allocText(pctxt, size);
   if (copy) rtxUCSToUTF8(pctxt, text, nunits, copy, size);
   return copy;
}
