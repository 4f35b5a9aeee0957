// Keys of NAS security, as options and files give them.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace quorva::tool {

using Key = std::array<uint8_t, 16>;

// What a subscriber's messages are protected with.
struct Keys {
   std::string name;                // empty: nobody's in particular
   std::optional<Key> integrityKey; // of 128-EIA1, 128-NIA1 and so on, by the algorithm's number
   std::optional<Key> cipherKey;
   uint8_t integrityAlgorithm = 2;
   uint8_t cipherAlgorithm = 2;
   std::optional<uint32_t> count; // NAS COUNT of the first protected message
   std::optional<uint8_t> bearer;
   bool nullCipher = false; // ciphered messages are by the null algorithm

   bool any() const { return integrityKey || cipherKey || count || nullCipher; }
};

struct SecurityOptions {
   Keys keys;                     // of the command line
   std::vector<Keys> subscribers; // of files
   bool uplink = false;           // where a message does not tell

   bool any() const { return keys.any() || !subscribers.empty(); }
};

// A key of 32 hexadecimal digits; without a result `fault` tells why.
std::optional<Key> keyFromHex(std::string_view text, std::string& fault);

// Adds the lines of a file of keys: "NAME eia2=KEY eea2=KEY count=N bearer=N", a line a subscriber, what
// follows a # being a comment. The numbers are 1 to 3. A name, and each of the others, may be left out; nia2,
// nea2 and nea0 are as good as eia2, eea2 and eea0, which stands for the null cipher. False, with a line that
// tells why, if something is wrong.
bool readKeys(const std::string& file, std::vector<Keys>& keys, std::string& fault);

} // namespace quorva::tool
