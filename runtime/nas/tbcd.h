/**
 * @file tbcd.h
 * The digit alphabet of telephony BCD, inline.
 */
#ifndef QUORVA_RUNTIME_NAS_TBCD_H
#define QUORVA_RUNTIME_NAS_TBCD_H

#include <cstddef>
#include <cstdint>

namespace quorva {

constexpr uint8_t tbcdFiller = 15;

/** Character of a nibble; the filler gives the code 0. */
constexpr char tbcdToChar(unsigned nibble) {
   return "0123456789*#abc"[nibble];
}

/** Nibbles of all characters, or -1: a table, since no two digits running tell a processor their kinds. */
struct TbcdNibbles {
   int8_t of[256];
};
inline constexpr TbcdNibbles tbcdNibbles = [] {
   TbcdNibbles nibbles{};
   for (int8_t& nibble : nibbles.of) nibble = -1;
   for (unsigned nibble = 0; nibble <= tbcdFiller; ++nibble)
      nibbles.of[static_cast<uint8_t>(tbcdToChar(nibble))] = static_cast<int8_t>(nibble);
   return nibbles;
}();

/** Nibble of a character, or -1. The code 0 gives the filler. */
constexpr int tbcdFromChar(char ch) {
   return tbcdNibbles.of[static_cast<uint8_t>(ch)];
}

/**
 * The octet of the digits at `str[0]` and `str[1]`, or a negative number if one of them is none. Behind a
 * last digit alone stands the filler, which its NUL gives.
 */
constexpr int tbcdPair(const char* str) {
   return tbcdFromChar(str[1]) * 16 | tbcdFromChar(str[0]);
}

/** The three octets of a PLMN; false, and nothing written, if a character is no digit. A filler may stand for
 * the third digit of `mnc`. */
inline bool packPlmn(const char* mcc, const char* mnc, uint8_t* octets) {
   const char third = mnc[2] == tbcdFiller ? '\0' : mnc[2];
   const int mcc21 = tbcdFromChar(mcc[1]) << 4 | tbcdFromChar(mcc[0]);
   const int thirds = tbcdFromChar(third) << 4 | tbcdFromChar(mcc[2]);
   const int mnc21 = tbcdFromChar(mnc[1]) << 4 | tbcdFromChar(mnc[0]);
   if ((mcc21 | thirds | mnc21) < 0) return false;
   octets[0] = static_cast<uint8_t>(mcc21);
   octets[1] = static_cast<uint8_t>(thirds);
   octets[2] = static_cast<uint8_t>(mnc21);
   return true;
}

} // namespace quorva

#endif
