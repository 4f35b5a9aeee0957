#include "tools/quorva/input.h"

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cstring>
#include <fstream>
#include <iostream>

namespace quorva::tool {

constexpr size_t kMostOctets = size_t{64} << 20;    // of a message
constexpr size_t kMostCharacters = 4 * kMostOctets; // of a line; "0x" or blanks take some
static const char kTooLong[] = "more than 64 MiB in one message";

static bool isBlank(char ch) {
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

// The digits of a hexadecimal text, or at `bad` the first character that does not belong into one.
static std::string digitsOf(std::string_view text, size_t& bad) {
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

static uint8_t digitValue(char digit) {
   if (digit <= '9') return static_cast<uint8_t>(digit - '0');
   return static_cast<uint8_t>((digit | 0x20) - 'a' + 10);
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

static Message messageFromHex(std::string origin, std::string_view text) {
   Message message{std::move(origin), {}, {}};
   if (auto octets = octetsFromHex(text, message.fault)) message.octets = std::move(*octets);
   return message;
}

// The next line up to a #, or to the first character that spoils it; false at the end of the input. A line
// that doesn't end in time has no end here.
static bool readLine(std::istream& in, std::string& line, bool& endless) {
   line.clear();
   bool keep = true;
   size_t length = 0;
   for (char ch; in.get(ch) && ch != '\n';) {
      endless = ++length > kMostCharacters;
      if (endless) return true;
      keep = keep && ch != '#';
      if (keep) line += ch;
      keep = keep && (isBlank(ch) || isHexDigit(ch) || ch == 'x' || ch == 'X');
   }
   return in.good() || length != 0;
}

static void readLines(std::istream& in, const std::string& name, std::vector<Message>& messages) {
   std::string line;
   bool endless = false;
   for (size_t number = 1; readLine(in, line, endless); ++number) {
      const std::string origin = name + ":" + std::to_string(number);
      if (endless) {
         messages.push_back({origin, {}, kTooLong});
         return;
      }
      bool blank = true;
      for (const char ch : line) blank = blank && isBlank(ch);
      if (!blank) messages.push_back(messageFromHex(origin, line));
   }
   if (in.bad()) messages.push_back({name, {}, "can't be read to its end"});
}

static void readFile(const std::string& name, std::vector<Message>& messages) {
   errno = 0;
   std::ifstream file(name);
   // A directory opens, and fails at its first character.
   if (file && (file.peek(), !file.bad())) {
      file.clear();
      readLines(file, name, messages);
      return;
   }
   const std::string reason = errno != 0 ? std::strerror(errno) : "can't be read";
   messages.push_back({name, {}, "neither hexadecimal text nor a readable file: " + reason});
}

std::vector<Message> readMessages(const std::vector<std::string>& arguments) {
   std::vector<Message> messages;
   size_t given = 0; // messages on the command line itself
   for (size_t i = 0; i < arguments.size(); ++i) {
      const std::string& argument = arguments[i];
      if (argument == "-") {
         readLines(std::cin, "standard input", messages);
         continue;
      }
      size_t bad = 0;
      std::string text = argument;
      std::string digits = digitsOf(argument, bad);
      if (bad != std::string::npos) {
         readFile(argument, messages);
         continue;
      }
      while (!digits.empty() && digits.size() <= 2 && i + 1 < arguments.size()) {
         digits = digitsOf(arguments[i + 1], bad);
         if (bad != std::string::npos || digits.empty() || digits.size() > 2) break;
         text += ' ' + arguments[++i];
      }
      messages.push_back(messageFromHex("message " + std::to_string(++given), text));
   }
   if (arguments.empty()) readLines(std::cin, "standard input", messages);
   return messages;
}

} // namespace quorva::tool
