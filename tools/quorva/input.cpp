#include "tools/quorva/input.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <cerrno>
#include <cstdio>
#include <cstring>

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

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

static void setOctets(Message& message, std::string_view text) {
   message.fault.clear();
   if (text.size() <= kMostOctets && plainOctets(text, message.octets)) return;
   auto octets = octetsFromHex(text, message.fault);
   message.octets = octets ? std::move(*octets) : std::vector<uint8_t>();
}

// The lines of a file, read in pieces.
class Lines {
public:
   explicit Lines(int file) : file_(file), buffer_(size_t{1} << 16) {}

   // The next line, which stands until the next call; none at the end, where reading fails, and where a line
   // does not end in time.
   std::optional<std::string_view> next() {
      for (size_t searched = 0;;) {
         char* const begin = buffer_.data() + begin_;
         const size_t held = end_ - begin_;
         if (auto* lineEnd = static_cast<char*>(std::memchr(begin + searched, '\n', held - searched))) {
            const auto length = static_cast<size_t>(lineEnd - begin);
            begin_ += length + 1;
            return std::string_view(begin, length);
         }
         searched = held;
         endless_ = held > kMostCharacters;
         if (endless_) return std::nullopt;
         if (!fill()) {
            if (held == 0 || failed()) return std::nullopt;
            begin_ = end_;
            return std::string_view(buffer_.data() + begin_ - held, held);
         }
      }
   }

   bool endless() const { return endless_; }
   bool failed() const { return error_ != 0; }
   bool readAny() const { return any_; }
   int error() const { return error_; }

private:
   // Reads on behind what is held; false at the end.
   bool fill() {
      if (begin_ > 0) {
         std::memmove(buffer_.data(), buffer_.data() + begin_, end_ - begin_);
         end_ -= begin_;
         begin_ = 0;
      }
      if (end_ == buffer_.size()) buffer_.resize(2 * buffer_.size());
      pollfd waiting{file_, POLLIN, 0};
      // Before a wait all that is decoded shows.
      if (poll(&waiting, 1, 0) == 0) std::fflush(stdout);
      ssize_t count = 0;
      do count = read(file_, buffer_.data() + end_, buffer_.size() - end_);
      while (count < 0 && errno == EINTR);
      if (count < 0) error_ = errno;
      if (count <= 0) return false;
      any_ = true;
      end_ += static_cast<size_t>(count);
      return true;
   }

   int file_;
   std::vector<char> buffer_;
   size_t begin_ = 0, end_ = 0; // of what is held
   bool any_ = false;
   bool endless_ = false;
   int error_ = 0;
};

using Take = std::function<void(const Message&)>;

static void readLines(Lines& lines, const std::string& name, const Take& take) {
   Message message{name, 0, {}, {}};
   while (auto line = lines.next()) {
      ++message.line;
      const std::string_view text = line->substr(0, line->find('#'));
      if (std::all_of(text.begin(), text.end(), isBlank)) continue;
      setOctets(message, text);
      take(message);
   }
   if (lines.endless()) take({name, message.line + 1, {}, kTooLong});
   if (lines.failed() && lines.readAny()) take({name, 0, {}, "can't be read to its end"});
}

static void readFile(const std::string& name, const Take& take) {
   const int file = open(name.c_str(), O_RDONLY | O_CLOEXEC);
   int error = errno;
   if (file >= 0) {
      Lines lines(file);
      readLines(lines, name, take);
      close(file);
      if (!lines.failed() || lines.readAny()) return;
      error = lines.error(); // a directory opens, and fails at its first octet
   }
   take({name, 0, {}, std::string("neither hexadecimal text nor a readable file: ") + std::strerror(error)});
}

static void readInput(const Take& take) {
   Lines lines(STDIN_FILENO);
   readLines(lines, "standard input", take);
   if (lines.failed() && !lines.readAny()) take({"standard input", 0, {}, "can't be read to its end"});
}

void readMessages(const std::vector<std::string>& arguments, const Take& take) {
   size_t given = 0; // messages on the command line itself
   for (size_t i = 0; i < arguments.size(); ++i) {
      const std::string& argument = arguments[i];
      if (argument == "-") {
         readInput(take);
         continue;
      }
      size_t bad = 0;
      std::string text = argument;
      std::string digits = digitsOf(argument, bad);
      if (bad != std::string::npos) {
         readFile(argument, take);
         continue;
      }
      while (!digits.empty() && digits.size() <= 2 && i + 1 < arguments.size()) {
         digits = digitsOf(arguments[i + 1], bad);
         if (bad != std::string::npos || digits.empty() || digits.size() > 2) break;
         text += ' ' + arguments[++i];
      }
      Message message{"message " + std::to_string(++given), 0, {}, {}};
      setOctets(message, text);
      take(message);
   }
   if (arguments.empty()) readInput(take);
}

} // namespace quorva::tool
