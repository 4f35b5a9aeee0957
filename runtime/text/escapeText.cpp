#include "runtime/text/escapeText.h"

#include <cstring>

#include "quorva/rtxPrintToStream.h"
#include "runtime/text/textSteps.h"

namespace quorva {

size_t utf8Sequence(const char* text, size_t length) {
   const auto at = [=](size_t i) { return static_cast<uint8_t>(text[i]); };
   if (length == 0) return 0;
   if (at(0) < 0x80) return 1;
   const size_t size = at(0) >= 0xC2 && at(0) < 0xE0   ? 2
                       : at(0) >= 0xE0 && at(0) < 0xF0 ? 3
                       : at(0) >= 0xF0 && at(0) < 0xF5 ? 4
                                                       : 0;
   if (size == 0 || size > length) return 0;
   for (size_t i = 1; i < size; ++i)
      if (at(i) >> 6 != 2) return 0;
   // Overlong forms, surrogates, code points beyond the last plane.
   if ((at(0) == 0xE0 && at(1) < 0xA0) || (at(0) == 0xED && at(1) > 0x9F) ||
       (at(0) == 0xF0 && at(1) < 0x90) || (at(0) == 0xF4 && at(1) > 0x8F))
      return 0;
   return size;
}

namespace {

// The code point of a sequence.
uint32_t codePoint(std::string_view sequence) {
   if (sequence.size() == 1) return static_cast<uint8_t>(sequence[0]);
   uint32_t code = static_cast<uint8_t>(sequence[0]) & (0x7Fu >> sequence.size());
   for (const char each : sequence.substr(1)) code = code << 6 | (static_cast<uint8_t>(each) & 0x3Fu);
   return code;
}

// Those outside of ASCII that no terminal shows in their place: C1 controls, ends of lines and of paragraphs,
// zero-width and directional marks, the byte order mark.
bool isHidden(uint32_t code) {
   return (code >= 0x80 && code < 0xA0) || (code >= 0x200B && code <= 0x200F) ||
          (code >= 0x2028 && code <= 0x202E) || (code >= 0x2060 && code <= 0x206F) || code == 0x061C ||
          code == 0xFEFF;
}

} // namespace

Escape escapeAt(std::string_view text, char quote) {
   Escape escape{{'\\'}, 2, 1};
   const auto octet = static_cast<uint8_t>(text[0]);
   switch (octet) {
   case '\n': escape.text[1] = 'n'; return escape;
   case '\r': escape.text[1] = 'r'; return escape;
   case '\t': escape.text[1] = 't'; return escape;
   case '\\': escape.text[1] = '\\'; return escape;
   default: break;
   }
   if (text[0] == quote && quote != 0) {
      escape.text[1] = quote;
      return escape;
   }
   const size_t octets = octet < 0x20 || octet == 0x7F ? 0 : utf8Sequence(text.data(), text.size());
   if (octets == 0) {
      escape.text[1] = 'x';
      hexDigits(octet, escape.text + 2);
      escape.length = 4;
      return escape;
   }
   escape.octets = octets;
   const uint32_t code = codePoint(text.substr(0, octets));
   escape.length = isHidden(code) ? 6 : 0;
   escape.text[1] = 'u';
   hexDigits(static_cast<uint8_t>(code >> 8), escape.text + 2);
   hexDigits(static_cast<uint8_t>(code), escape.text + 4);
   return escape;
}

} // namespace quorva

size_t quorvaEscapeText(const char* text, size_t numocts, char quote, char* buffer, size_t size) {
   size_t length = 0, written = 0;
   bool whole = true;
   quorva::escapeText({text, numocts}, quote, [&](std::string_view piece) {
      length += piece.size();
      if (!whole || size == 0) return;
      size_t fits = piece.size();
      if (const size_t room = size - 1 - written; fits > room) {
         // Of what was not escaped the beginning will do, but no half of a character.
         whole = false;
         fits = piece[0] == '\\' ? 0 : room;
         while (fits > 0 && (static_cast<uint8_t>(piece[fits]) & 0xC0) == 0x80) --fits;
      }
      memcpy(buffer + written, piece.data(), fits);
      written += fits;
   });
   if (size > 0) buffer[written] = '\0';
   return length;
}
