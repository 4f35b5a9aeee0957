/**
 * @file ascii.h
 * Classes of ASCII characters, whatever the process's locale says of them.
 */
#ifndef QUORVA_RUNTIME_CORE_ASCII_H
#define QUORVA_RUNTIME_CORE_ASCII_H

namespace quorva {

/** Blank, or tab to carriage return? */
inline bool isSpace(int c) {
   return c == ' ' || (c >= '\t' && c <= '\r');
}

constexpr bool isDigit(int c) {
   return c >= '0' && c <= '9';
}

inline bool isLower(char c) {
   return c >= 'a' && c <= 'z';
}

inline bool isUpper(char c) {
   return c >= 'A' && c <= 'Z';
}

inline bool isAlphanumeric(char c) {
   return isLower(c) || isUpper(c) || isDigit(c);
}

/** Value of a hexadecimal digit, -1 for any other character and for the end of a text. */
constexpr int hexDigitValue(int c) {
   if (isDigit(c)) return c - '0';
   if (c >= 'a' && c <= 'f') return c - 'a' + 10;
   if (c >= 'A' && c <= 'F') return c - 'A' + 10;
   return -1;
}

} // namespace quorva

#endif
