/**
 * @file gsmAlphabet.h
 * The GSM 7-bit default alphabet and its extension table (TS 23.038, 6.2.1), as far as Latin-1 reaches.
 */
#ifndef QUORVA_RUNTIME_NAS_GSMALPHABET_H
#define QUORVA_RUNTIME_NAS_GSMALPHABET_H

#include <array>
#include <cstddef>
#include <cstdint>

namespace quorva {

constexpr uint8_t gsmEscape = 27;

/** Latin-1 character of each septet; "?" for the Greek letters and the escape. */
constexpr std::array<uint8_t, 128> gsmCharSet = {
      '@',  0xA3, '$', 0xA5, 0xE8, 0xE9, 0xF9, 0xEC, 0xF2, 0xC7, '\n', 0xD8, 0xF8, '\r', 0xC5, 0xE5, //
      '?',  '_',  '?', '?',  '?',  '?',  '?',  '?',  '?',  '?',  '?',  '?',  0xC6, 0xE6, 0xDF, 0xC9, //
      ' ',  '!',  '"', '#',  0xA4, '%',  '&',  '\'', '(',  ')',  '*',  '+',  ',',  '-',  '.',  '/',  //
      '0',  '1',  '2', '3',  '4',  '5',  '6',  '7',  '8',  '9',  ':',  ';',  '<',  '=',  '>',  '?',  //
      0xA1, 'A',  'B', 'C',  'D',  'E',  'F',  'G',  'H',  'I',  'J',  'K',  'L',  'M',  'N',  'O',  //
      'P',  'Q',  'R', 'S',  'T',  'U',  'V',  'W',  'X',  'Y',  'Z',  0xC4, 0xD6, 0xD1, 0xDC, 0xA7, //
      0xBF, 'a',  'b', 'c',  'd',  'e',  'f',  'g',  'h',  'i',  'j',  'k',  'l',  'm',  'n',  'o',  //
      'p',  'q',  'r', 's',  't',  'u',  'v',  'w',  'x',  'y',  'z',  0xE4, 0xF6, 0xF1, 0xFC, 0xE0,
};

/** Septet of each Latin-1 character; that of "?" for a character that has none. */
constexpr std::array<uint8_t, 256> gsmRevCharSet = [] {
   std::array<uint8_t, 256> septets = {};
   septets.fill('?');
   for (size_t septet = 0; septet < gsmCharSet.size(); ++septet)
      if (gsmCharSet[septet] != '?') septets[gsmCharSet[septet]] = static_cast<uint8_t>(septet);
   return septets;
}();

/** Character of the septet behind an escape; "?" if the extension table has none. */
constexpr uint8_t gsmExtension(unsigned septet) {
   switch (septet) {
   case 10: return '\f';
   case 20: return '^';
   case 40: return '{';
   case 41: return '}';
   case 47: return '\\';
   case 60: return '[';
   case 61: return '~';
   case 62: return ']';
   case 64: return '|';
   case 101: return 0xA4; // the euro sign, which stands here in Latin-9
   default: return '?';
   }
}

/** Septet behind the escape of a character of the extension table. */
constexpr unsigned gsmExtensionOf(unsigned ch) {
   for (unsigned septet = 0; septet < 128; ++septet)
      if (gsmExtension(septet) == ch) return septet;
   return 0;
}

/** Does the character stand in the extension table only? */
constexpr bool gsmIsExtended(unsigned ch) {
   return ch == '\f' || ((ch & ~32u) >= '[' && (ch & ~32u) <= '^');
}

} // namespace quorva

#endif
