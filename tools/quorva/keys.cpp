#include "tools/quorva/keys.h"

#include "tools/quorva/hexText.h"

#include <algorithm>
#include <charconv>
#include <fstream>
#include <limits>
#include <sstream>

namespace quorva::tool {

std::optional<Key> keyFromHex(std::string_view text, std::string& fault) {
   fault.clear();
   const auto octets = octetsFromHex(text, fault);
   if (octets && octets->size() != 16) fault = "a key has 16 octets, not " + std::to_string(octets->size());
   if (!fault.empty()) return std::nullopt;
   Key key{};
   std::copy(octets->begin(), octets->end(), key.begin());
   return key;
}

static bool takeNumber(std::string_view text, uint32_t most, uint32_t& number) {
   const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
   return error == std::errc() && end == text.data() + text.size() && number <= most;
}

// The number of an algorithm of SNOW 3G, AES or ZUC in its name, such as "eia2" with "ia"; 0 if it is none.
static uint8_t algorithmOf(std::string_view name, std::string_view kind) {
   const bool fits = name.size() == 4 && (name[0] == 'e' || name[0] == 'n') && name.substr(1, 2) == kind;
   return fits && name[3] >= '1' && name[3] <= '3' ? static_cast<uint8_t>(name[3] - '0') : uint8_t{0};
}

static bool takeKey(std::string_view word, std::string_view text, uint8_t number, std::optional<Key>& key,
                    uint8_t& algorithm, std::string& fault) {
   if (key && algorithm != number) fault = "'" + std::string(word) + "' is a second key";
   if (!fault.empty()) return false;
   key = keyFromHex(text, fault);
   algorithm = number;
   return fault.empty();
}

static bool takeWord(std::string_view word, Keys& keys, std::string& fault) {
   // Names and faults go to terminals.
   const auto isControl = [](unsigned char c) { return c < ' ' || c == 0x7f; };
   if (std::any_of(word.begin(), word.end(), isControl)) fault = "a control character in a word";
   if (!fault.empty()) return false;
   const size_t equals = word.find('=');
   const std::string_view name = word.substr(0, equals);
   if (name == "eea0" || name == "nea0") return keys.nullCipher = true;
   if (equals == std::string_view::npos) {
      if (!keys.name.empty()) fault = "a second name, '" + std::string(word) + "'";
      keys.name = word;
      return fault.empty();
   }
   const std::string_view value = word.substr(equals + 1);
   uint32_t number = 0;
   if (const uint8_t integrity = algorithmOf(name, "ia")) {
      return takeKey(name, value, integrity, keys.integrityKey, keys.integrityAlgorithm, fault);
   } else if (const uint8_t cipher = algorithmOf(name, "ea")) {
      return takeKey(name, value, cipher, keys.cipherKey, keys.cipherAlgorithm, fault);
   } else if (name == "count" && takeNumber(value, std::numeric_limits<uint32_t>::max(), number)) {
      keys.count = number;
   } else if (name == "bearer" && takeNumber(value, 31, number)) {
      keys.bearer = static_cast<uint8_t>(number);
   } else {
      fault = "'" + std::string(word) +
              "' is none of eia1=KEY to eia3=KEY, eea1=KEY to eea3=KEY, eea0, count=N and bearer=0 to 31";
   }
   return fault.empty();
}

bool readKeys(const std::string& file, std::vector<Keys>& keys, std::string& fault) {
   std::ifstream in(file);
   std::string line;
   size_t number = 0;
   while (std::getline(in, line)) {
      ++number;
      std::istringstream words(line.substr(0, line.find('#')));
      Keys found;
      for (std::string word; words >> word;) {
         if (takeWord(word, found, fault)) continue;
         fault = file + ":" + std::to_string(number) + ": " + fault;
         return false;
      }
      if (found.any()) keys.push_back(std::move(found));
   }
   if (in.eof() && !in.bad() && number > 0) return true;
   fault = file + ": can't be read, or empty";
   return false;
}

} // namespace quorva::tool
