/**
 * @file textSteps.h
 * Small things that the print families share.
 */
#ifndef QUORVA_RUNTIME_TEXT_TEXTSTEPS_H
#define QUORVA_RUNTIME_TEXT_TEXTSTEPS_H

#include <cstddef>
#include <cstdint>

#include "quorva/rtxBits.h"
#include "quorva/rtxPrintToStream.h"

/** Runs one printing step and hands a status other than 0 on at once. */
#define QUORVA_PRINT_STEP(call)                                                                              \
   do {                                                                                                      \
      const int stepStatus = (call);                                                                         \
      if (stepStatus != 0) return stepStatus;                                                                \
   } while (0)

namespace quorva {

/** Does a unit of a text show as a character of its own? */
inline bool isPrintable(uint32_t unit) {
   return unit >= 0x20 && unit <= 0x7E;
}

/** Length of the sequence of UTF-8 (RFC 3629) at the text's start; 0 if it is none. */
size_t utf8Sequence(const char* text, size_t length);

/** Writes the two digits of an octet. */
inline void hexDigits(uint8_t octet, char* dest) {
   constexpr char digits[] = "0123456789abcdef";
   dest[0] = digits[octet >> 4];
   dest[1] = digits[octet & 15];
}

/** Writes the `nbits` most significant bits of an octet as 1 and 0, then x up to 8 characters, and a NUL. */
inline void partialOctetText(uint8_t octet, unsigned nbits, char dest[9]) {
   for (unsigned i = 0; i < 8; ++i) dest[i] = i >= nbits ? 'x' : rtxTestBit(&octet, nbits, i) ? '1' : '0';
   dest[8] = '\0';
}

/** Text of a digit of a telephony BCD string; the filler is empty. */
inline const char* tbcdDigitText(unsigned digit) {
   static constexpr char texts[16][2] = {"0", "1", "2", "3", "4", "5", "6", "7",
                                         "8", "9", "*", "#", "a", "b", "c", ""};
   return texts[digit & 15];
}

} // namespace quorva

#endif
