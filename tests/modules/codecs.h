/**
 * @file codecs.h
 * Short forms for tests that call one codec with a few octets.
 */
#ifndef QUORVA_TESTS_MODULES_CODECS_H
#define QUORVA_TESTS_MODULES_CODECS_H

#include "tests/support/context.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <string>

namespace quorva::test {

/** Octets of hex with blanks. */
inline Octets octets(std::string hex) {
   hex.erase(std::remove(hex.begin(), hex.end(), ' '), hex.end());
   return octetsFromHex(hex);
}

inline std::string spaced(const Octets& octets) {
   std::string text;
   for (const uint8_t octet : octets) {
      if (!text.empty()) text += ' ';
      text += hexFromOctets(&octet, 1);
   }
   return text;
}

/** Status of a decoder on these octets. */
template <class Decode, class... Arguments>
int decode(TestContext& context, const std::string& hex, Decode function, Arguments... arguments) {
   rtxErrReset(context);
   context.decode(octets(hex));
   return function(context, arguments...);
}

/** What an encoder writes, or "status <n>". */
template <class Encode, class... Arguments>
std::string encode(TestContext& context, Encode function, Arguments... arguments) {
   rtxErrReset(context);
   context.encode(1024);
   const int status = function(context, arguments...);
   return status < 0 ? "status " + std::to_string(status) : spaced(octetsFromHex(context.written()));
}

} // namespace quorva::test

#endif
