#include "tools/quorva/hexText.h"

#include <array>
#include <cctype>

namespace quorva::tool {

const char kTooLong[] = "more than 64 MiB in one message";

bool isBlank(char ch) {
   return std::isspace(static_cast<unsigned char>(ch)) != 0 || ch == ',';
}

static bool isHexDigit(char ch) {
   return std::isxdigit(static_cast<unsigned char>(ch)) != 0;
}

// Is there a "0x" here that digits follow, and that begins a word?
static bool isPrefix(std::string_view text, size_t at) {
   return text[at] == '0' && at + 2 < text.size() && (text[at + 1] == 'x' || text[at + 1] == 'X') &&
          isHexDigit(text[at + 2]) && (at == 0 || isBlank(text[at - 1]));
}

std::string digitsOf(std::string_view text, size_t& bad) {
   std::string digits;
   bad = std::string_view::npos;
   for (size_t i = 0; i < text.size(); ++i) {
      if (isBlank(text[i])) continue;
      if (isPrefix(text, i)) {
         ++i;
         continue;
      }
      if (!isHexDigit(text[i])) {
         bad = i;
         return digits;
      }
      digits += text[i];
   }
   return digits;
}

std::string digitsOfOctets(std::span<const uint8_t> octets) {
   std::string text;
   text.reserve(2 * octets.size());
   for (const uint8_t octet : octets) {
      text += "0123456789abcdef"[octet >> 4];
      text += "0123456789abcdef"[octet & 15];
   }
   return text;
}

// What a character is worth in hexadecimal text: a digit's value, or one of these.
constexpr uint8_t kBlank = 16;
constexpr uint8_t kOther = 17;

static constexpr std::array<uint8_t, 256> kValues = [] {
   std::array<uint8_t, 256> values{};
   values.fill(kOther);
   for (const char ch : {' ', '\t', '\n', '\v', '\f', '\r', ','}) values[static_cast<uint8_t>(ch)] = kBlank;
   for (uint8_t i = 0; i < 10; ++i) values['0' + i] = i;
   for (uint8_t i = 0; i < 6; ++i) values['a' + i] = values['A' + i] = static_cast<uint8_t>(10 + i);
   return values;
}();

// Octets of text with nothing but pairs of digits and blanks; false for any other.
static bool plainOctets(std::string_view text, std::vector<uint8_t>& octets) {
   octets.clear();
   octets.reserve(text.size() / 2);
   unsigned high = kOther; // none
   for (const char ch : text) {
      const uint8_t value = kValues[static_cast<uint8_t>(ch)];
      if (value == kBlank) continue;
      if (value == kOther) return false;
      if (high == kOther) {
         high = value;
      } else {
         octets.push_back(static_cast<uint8_t>(high << 4 | value));
         high = kOther;
      }
   }
   return high == kOther && !octets.empty();
}

int digitValue(char ch) {
   const uint8_t value = kValues[static_cast<uint8_t>(ch)];
   return value < 16 ? value : -1;
}

std::optional<std::vector<uint8_t>> octetsFromHex(std::string_view text, std::string& fault) {
   size_t bad = 0;
   const std::string digits = digitsOf(text, bad);
   if (bad != std::string_view::npos) {
      const auto code = static_cast<unsigned char>(text[bad]);
      fault = std::isprint(code) != 0 ? "'" + std::string(1, text[bad]) + "' is no hexadecimal digit"
                                      : "character " + std::to_string(code) + " is no hexadecimal digit";
      return std::nullopt;
   }
   if (digits.empty()) {
      fault = "no octets";
      return std::nullopt;
   }
   if (digits.size() % 2 != 0) {
      fault = "odd number of hexadecimal digits (" + std::to_string(digits.size()) + ")";
      return std::nullopt;
   }
   if (digits.size() / 2 > kMostOctets) {
      fault = kTooLong;
      return std::nullopt;
   }
   std::vector<uint8_t> octets(digits.size() / 2);
   for (size_t i = 0; i < octets.size(); ++i)
      octets[i] = static_cast<uint8_t>(digitValue(digits[2 * i]) << 4 | digitValue(digits[2 * i + 1]));
   return octets;
}

bool setOctets(std::string_view text, std::vector<uint8_t>& octets, std::string& fault) {
   fault.clear();
   if (text.size() <= kMostOctets && plainOctets(text, octets)) return true;
   auto slowly = octetsFromHex(text, fault);
   octets = slowly ? std::move(*slowly) : std::vector<uint8_t>();
   return fault.empty();
}

} // namespace quorva::tool
