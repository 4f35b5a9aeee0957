#include "quorva/rtxUTF8Convert.h"

#include <algorithm>
#include <bit>
#include <climits>
#include <cstring>

#include "quorva/rtxStatus.h"
#include "quorva/rtxUTF8.h"
#include "runtime/values/heapText.h"
#include "runtime/values/utf8Steps.h"

using namespace quorva;

namespace {

template <class Unit>
int toUnits(RtxContext* pctxt, const char* text, Unit* out, size_t nunits) {
   const size_t size = rtxUTF8LenBytes(text);
   if (size > 0 && out && nunits == 0) return failed(pctxt, RTX_E_BUFFER_FULL);
   const auto* octets = reinterpret_cast<const uint8_t*>(text);
   size_t count = 0;
   for (size_t at = 0; at < size; ++count) {
      size_t used = size - at;
      const int32_t codePoint = rtxUTF8DecodeChar(nullptr, octets + at, &used);
      if (codePoint < 0) return badUTF8(pctxt, at);
      if (count == INT_MAX) return failed(pctxt, RTX_E_OVERFLOW);
      if (out) {
         if (count == nunits) return failed(pctxt, RTX_E_BUFFER_FULL);
         out[count] = static_cast<Unit>(codePoint);
      }
      at += used;
   }
   return static_cast<int>(count);
}

template <class Unit, class String>
int toDynUnits(RtxContext* pctxt, const char* text, String* pvalue) {
   if (!text || !pvalue) return failed(pctxt, RTX_E_BAD_ARGUMENT);
   const int count = toUnits<Unit>(pctxt, text, nullptr, 0);
   if (count < 0) return count;
   const auto nunits = static_cast<size_t>(count);
   auto* units = allocUnits<Unit>(pctxt, nunits + 1);
   if (!units) return recordNoMemory(pctxt);
   toUnits(pctxt, text, units, nunits);
   units[nunits] = 0;
   pvalue->nchars = static_cast<uint32_t>(count);
   pvalue->data = units;
   return RTX_OK;
}

// Reads a character of up to four octets. Octets used, 0 if the source ends inside it, or a status.
int takeChar(const uint8_t* source, size_t length, uint32_t* pcodePoint) {
   const uint8_t lead = source[0];
   if (lead >= 0x80 && lead < 0xC0) return RTX_E_BAD_UTF8;
   if (lead > 0xF7) return RTX_E_BAD_CHAR;
   size_t used = lead < 0x80 ? 1 : lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : 4;
   if (used > length) return 0;
   const int32_t codePoint = rtxUTF8DecodeChar(nullptr, source, &used);
   if (codePoint < 0) return RTX_E_BAD_CHAR;
   *pcodePoint = static_cast<uint32_t>(codePoint);
   return static_cast<int>(used);
}

/**
 * The frame of the conversions from UTF-8. `put` writes a character into the room that it is given: octets
 * written, 0 if they don't fit, or a status.
 */
template <class Put>
int fromUTF8(const uint8_t* source, size_t length, uint8_t* dest, size_t size, Put put) {
   if (!dest || size == 0) return RTX_E_BUFFER_FULL;
   if (!source) return 0;
   const size_t room = std::min<size_t>(size, INT_MAX);
   size_t written = 0;
   for (size_t at = 0; at < length && written < room;) {
      uint32_t codePoint = 0;
      const int used = takeChar(source + at, length - at, &codePoint);
      if (used < 0) return used;
      if (used == 0) break;
      const int nocts = put(codePoint, dest + written, room - written);
      if (nocts < 0) return nocts;
      if (nocts == 0) break;
      at += static_cast<size_t>(used);
      written += static_cast<size_t>(nocts);
   }
   return static_cast<int>(written);
}

template <std::endian order>
uint16_t takeUnit(const uint8_t* source) {
   constexpr int high = order == std::endian::big ? 0 : 1;
   return static_cast<uint16_t>(source[high] << 8 | source[1 - high]);
}

template <std::endian order>
void putUnit(uint32_t unit, uint8_t* dest) {
   constexpr int high = order == std::endian::big ? 0 : 1;
   dest[high] = static_cast<uint8_t>(unit >> 8);
   dest[1 - high] = static_cast<uint8_t>(unit);
}

template <std::endian order>
int putUTF16(uint32_t codePoint, uint8_t* dest, size_t room) {
   if (codePoint - 0xD800 < 0x800) return RTX_E_BAD_UTF8;
   if (codePoint > 0x10FFFF) return RTX_E_BAD_CHAR;
   if (codePoint < 0x10000) {
      if (room < 2) return 0;
      putUnit<order>(codePoint, dest);
      return 2;
   }
   if (room < 4) return 0;
   putUnit<order>(0xD800 + ((codePoint - 0x10000) >> 10), dest);
   putUnit<order>(0xDC00 + (codePoint & 0x3FF), dest + 2);
   return 4;
}

template <std::endian order>
int fromUTF16(const uint8_t* source, size_t length, uint8_t* dest, size_t size) {
   if (!source || !dest || size == 0) return RTX_E_BUFFER_FULL;
   const size_t room = std::min<size_t>(size, INT_MAX);
   size_t written = 0;
   for (size_t at = 0; length - at >= 2;) {
      uint32_t codePoint = takeUnit<order>(source + at);
      size_t used = 2;
      if (codePoint - 0xD800 < 0x800) {
         if (codePoint >= 0xDC00 || length - at < 4) return RTX_E_BAD_UTF8;
         const uint32_t low = takeUnit<order>(source + at + 2);
         if (low - 0xDC00 >= 0x400) return RTX_E_BAD_UTF8;
         codePoint = 0x10000 + ((codePoint - 0xD800) << 10) + (low - 0xDC00);
         used = 4;
      }
      const int nocts = rtxUTF8EncodeChar(codePoint, dest + written, room - written);
      if (nocts < 0) break;
      at += used;
      written += static_cast<size_t>(nocts);
   }
   return static_cast<int>(written);
}

} // namespace

int rtxUTF8ToUnicode(RtxContext* pctxt, const char* text, uint16_t* out, size_t nunits) {
   return toUnits(pctxt, text, out, nunits);
}

int rtxUTF8ToUnicode32(RtxContext* pctxt, const char* text, uint32_t* out, size_t nunits) {
   return toUnits(pctxt, text, out, nunits);
}

int rtxUTF8ToDynUniStr(RtxContext* pctxt, const char* text, Rtx16BitCharString* pvalue) {
   return toDynUnits<uint16_t>(pctxt, text, pvalue);
}

int rtxUTF8ToDynUniStr32(RtxContext* pctxt, const char* text, Rtx32BitCharString* pvalue) {
   return toDynUnits<uint32_t>(pctxt, text, pvalue);
}

int rtxLatin1ToUTF8(const uint8_t* source, size_t length, uint8_t* dest, size_t size) {
   if (!source || !dest || size == 0) return RTX_E_BUFFER_FULL;
   const size_t room = std::min<size_t>(size, INT_MAX);
   size_t written = 0;
   for (size_t at = 0; at < length; ++at) {
      const int nocts = rtxUTF8EncodeChar(source[at], dest + written, room - written);
      if (nocts < 0) break;
      written += static_cast<size_t>(nocts);
   }
   return static_cast<int>(written);
}

int rtxUTF8ToLatin1(const uint8_t* source, size_t length, uint8_t* dest, size_t size) {
   return fromUTF8(source, length, dest, size, [](uint32_t codePoint, uint8_t* to, size_t) -> int {
      if (codePoint > 0xFF) return RTX_E_BAD_CHAR;
      *to = static_cast<uint8_t>(codePoint);
      return 1;
   });
}

int rtxUTF16LEToUTF8(const uint8_t* source, size_t length, uint8_t* dest, size_t size) {
   return fromUTF16<std::endian::little>(source, length, dest, size);
}

int rtxUTF16BEToUTF8(const uint8_t* source, size_t length, uint8_t* dest, size_t size) {
   return fromUTF16<std::endian::big>(source, length, dest, size);
}

int rtxUTF8ToUTF16LE(const uint8_t* source, size_t length, uint8_t* dest, size_t size) {
   return fromUTF8(source, length, dest, size, putUTF16<std::endian::little>);
}

int rtxUTF8ToUTF16BE(const uint8_t* source, size_t length, uint8_t* dest, size_t size) {
   return fromUTF8(source, length, dest, size, putUTF16<std::endian::big>);
}

int rtxUTF8ToUTF16(const uint8_t* source, size_t length, uint8_t* dest, size_t size) {
   return fromUTF8(source, length, dest, size, putUTF16<std::endian::native>);
}
