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

/** Nibble of a character, or -1. The code 0 gives the filler. */
constexpr int tbcdFromChar(char ch) {
   if (ch >= '0' && ch <= '9') return ch - '0';
   if (ch >= 'a' && ch <= 'c') return 12 + (ch - 'a');
   return ch == '*' ? 10 : ch == '#' ? 11 : ch == 0 ? tbcdFiller : -1;
}

/**
 * The octet of the digits at `str[0]` and `str[1]`, or -1 if one of them is none. Behind a last digit alone
 * stands the filler, which its NUL gives.
 */
constexpr int tbcdPair(const char* str) {
   const int low = tbcdFromChar(str[0]);
   const int high = low < 0 ? -1 : tbcdFromChar(str[1]);
   return high < 0 ? -1 : high << 4 | low;
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
