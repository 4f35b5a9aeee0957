// Digits of an identity whose first one shares an octet with the type.
#pragma once

#include "src/frame/decoder.h"

namespace quorva::frame {

// The first digit has been read; `length` counts its octet too. -1, logged, if the digits exceed the text.
int decodeDigits(Decoder& d, const char* name, uint8_t first, size_t length, char* text, size_t capacity,
                 int line = __builtin_LINE());

template <size_t N>
int decodeDigits(Decoder& d, const char* name, uint8_t first, size_t length, char (&text)[N],
                 int line = __builtin_LINE()) {
   return decodeDigits(d, name, first, length, text, N, line);
}

} // namespace quorva::frame
