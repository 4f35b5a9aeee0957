#include "tools/quorva/dump.h"

#include "tools/quorva/hexText.h"

#include <algorithm>
#include <charconv>

namespace quorva::tool {

constexpr size_t kFewestDigits = 4, kMostDigits = 16; // of an offset
constexpr int kBases[] = {16, 8, 10};                 // that it may be written in
// Octets that a "*" can stand for: more than a length of 16 bits tells of, and few for a line of two
// characters.
constexpr size_t kMostLeftOut = size_t{1} << 17;

static bool isSpace(char ch) {
   return ch == ' ' || ch == '\t' || ch == '\r';
}

static size_t blanksAt(std::string_view text) {
   return static_cast<size_t>(std::find_if_not(text.begin(), text.end(), isSpace) - text.begin());
}

static std::string_view wordAt(std::string_view text) {
   return text.substr(0, static_cast<size_t>(std::find_if(text.begin(), text.end(), isSpace) - text.begin()));
}

static bool isHex(std::string_view text) {
   return std::all_of(text.begin(), text.end(), [](char ch) { return digitValue(ch) >= 0; });
}

// An offset, then groups of digits: pairs, or behind a colon longer ones with single blanks between them.
std::optional<Dump::Line> Dump::parse(std::string_view text) {
   text.remove_prefix(blanksAt(text));
   Line line;
   line.offset = wordAt(text);
   text.remove_prefix(line.offset.size());
   const bool colon = line.offset.ends_with(':');
   if (colon) line.offset.remove_suffix(1);
   if (line.offset.size() < kFewestDigits || line.offset.size() > kMostDigits || !isHex(line.offset))
      return std::nullopt;
   for (bool first = true;; first = false) {
      const size_t blanks = blanksAt(text);
      text.remove_prefix(blanks);
      const std::string_view word = wordAt(text);
      if (word.empty()) break;
      if (!isHex(word) || word.size() % 2 != 0 || (!colon && word.size() != 2) ||
          (!first && blanks > (colon ? 1 : 2))) {
         // More than a blank, or a mark, parts the characters from the octets.
         line.exact = blanks > 1;
         break;
      }
      for (size_t i = 0; i < word.size(); i += 2)
         line.octets.push_back(static_cast<uint8_t>(digitValue(word[i]) << 4 | digitValue(word[i + 1])));
      text.remove_prefix(word.size());
   }
   return line;
}

bool Dump::begin(std::string_view text) {
   if (!text.substr(std::min(text.find_first_not_of(' '), text.size())).starts_with("0000")) return false;
   auto line = parse(text);
   if (!line || line->offset.find_first_not_of('0') != std::string_view::npos) return false;
   if (line->octets.empty()) {
      // hexdump and od without an option: words of two octets, in the order of the machine that ran them.
      text.remove_prefix(std::min(text.find(line->offset) + line->offset.size(), text.size()));
      const std::string_view word = wordAt(text.substr(std::min(blanksAt(text), text.size())));
      if (line->offset.size() != 7 || (word.size() != 4 && word.size() != 6) || !isHex(word)) return false;
      fault_ = "a dump of words, which exchanges octets; take hexdump -C or od -tx1";
   }
   open_ = true;
   last_ = std::move(*line);
   return true;
}

// The octets ahead of an offset, if it can stand behind the last line. Of the bases that it could be written
// in those that give another number are out then.
std::optional<size_t> Dump::next(std::string_view offset) {
   const size_t least = octets_.size(), most = least + last_.octets.size();
   std::optional<size_t> numbers[std::size(kBases)], found;
   for (size_t i = 0; i < std::size(kBases); ++i) {
      size_t number = 0;
      const char* const end = offset.data() + offset.size();
      const auto result = std::from_chars(offset.data(), end, number, kBases[i]);
      if ((bases_ & 1u << i) != 0 && result.ptr == end && result.ec == std::errc()) numbers[i] = number;
   }
   // Where several fit, it is octal if there are seven digits, as od writes by itself.
   if (offset.size() == 7) std::swap(numbers[0], numbers[1]);
   const auto take = [&](const auto& fits) {
      for (const auto& number : numbers)
         if (!found && number && fits(*number)) found = number;
   };
   if (repeat_) {
      take([&](size_t number) { return number > most && number - most <= kMostLeftOut; });
   } else {
      take([&](size_t number) { return number == most; });
      // Of the line's end some was characters.
      if (!last_.exact) take([&](size_t number) { return number > least && number < most; });
   }
   if (offset.size() == 7) std::swap(numbers[0], numbers[1]);
   for (size_t i = 0; found && i < std::size(kBases); ++i)
      if (numbers[i] != found) bases_ &= ~(1u << i);
   return found;
}

void Dump::take(Line& line) {
   octets_.insert(octets_.end(), last_.octets.begin(), last_.octets.end());
   last_ = std::move(line);
}

bool Dump::goOn(std::string_view text) {
   if (ended_) return false;
   if (wordAt(text) == "*") return repeat_ = true;
   auto line = parse(text);
   if (!line) return false;
   if (!fault_.empty()) return line->offset.find_first_not_of('0') != std::string_view::npos;
   const auto value = next(line->offset);
   if (!value) {
      // The offset 0 begins another dump; digits alone are a message.
      if (line->octets.empty() || line->offset.find_first_not_of('0') == std::string_view::npos) return false;
      fault_ = "offset " + std::string(line->offset) + " doesn't follow the octets ahead of it";
      return true;
   }
   if (repeat_) {
      // Lines that are left out are like the last one.
      const size_t unit = last_.octets.size();
      last_.octets.reserve(*value - octets_.size());
      while (octets_.size() + last_.octets.size() < *value)
         last_.octets.push_back(last_.octets[last_.octets.size() - unit]);
      repeat_ = false;
   } else {
      last_.octets.resize(*value - octets_.size());
      if (octets_.empty()) width_ = last_.octets.size();
   }
   ended_ = line->octets.empty();
   take(*line);
   if (octets_.size() + last_.octets.size() > kMostOctets) fault_ = kTooLong;
   return true;
}

std::vector<uint8_t> Dump::finish(std::string& fault) {
   if (!ended_ && !last_.exact) last_.octets.resize(std::min(last_.octets.size(), width_));
   if (repeat_ && fault_.empty()) fault_ = "a dump with lines left out needs the offset of its end";
   octets_.insert(octets_.end(), last_.octets.begin(), last_.octets.end());
   if (octets_.empty() && fault_.empty()) fault_ = "no octets";
   fault = fault_;
   std::vector<uint8_t> octets;
   if (fault.empty()) octets = std::move(octets_);
   *this = Dump();
   return octets;
}

} // namespace quorva::tool
