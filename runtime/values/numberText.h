/**
 * @file numberText.h
 * Numbers from text, the same in every locale.
 */
#ifndef QUORVA_RUNTIME_VALUES_NUMBERTEXT_H
#define QUORVA_RUNTIME_VALUES_NUMBERTEXT_H

#include <charconv>
#include <string_view>
#include <system_error>

#include "quorva/rtxStatus.h"
#include "runtime/core/ascii.h"

namespace quorva {

/**
 * Reads the whole of a text as a decimal number; a plus sign is allowed.
 * @return 0, RTX_E_BAD_FORMAT or RTX_E_OVERFLOW.
 */
template <class Int>
int parseInteger(std::string_view text, Int* pvalue) {
   if (text.size() > 1 && text[0] == '+' && isDigit(text[1])) text.remove_prefix(1);
   const char* end = text.data() + text.size();
   const std::from_chars_result result = std::from_chars(text.data(), end, *pvalue);
   if (result.ec == std::errc::invalid_argument || result.ptr != end) return RTX_E_BAD_FORMAT;
   return result.ec == std::errc() ? RTX_OK : RTX_E_OVERFLOW;
}

/**
 * Reads the whole of a text as a decimal real: digits with an optional point among them or at an end, and an
 * optional exponent. Too small a number becomes 0.
 * @return 0, RTX_E_BAD_REAL, or RTX_E_OVERFLOW for too large a number.
 */
int parseReal(std::string_view text, double* pvalue);

} // namespace quorva

#endif
