// Octets as hexadecimal text.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace quorva::tool {

constexpr size_t kMostOctets = size_t{64} << 20; // of a message
extern const char kTooLong[];

// White space, or a comma.
bool isBlank(char ch);

// What a hexadecimal digit is worth; -1 for any other character.
int digitValue(char ch);

// The digits of a hexadecimal text, or at `bad` the first character that does not belong into one.
std::string digitsOf(std::string_view text, size_t& bad);

// Octets as lower-case digits without blanks.
std::string digitsOfOctets(std::span<const uint8_t> octets);

// Octets of hexadecimal text; blanks, commas and 0x ahead of digits are passed over. Without a result `fault`
// tells why.
std::optional<std::vector<uint8_t>> octetsFromHex(std::string_view text, std::string& fault);

// The same into octets that there are, in a short way for most texts. False and empty with a fault.
bool setOctets(std::string_view text, std::vector<uint8_t>& octets, std::string& fault);

} // namespace quorva::tool
