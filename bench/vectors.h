// Real messages for the benchmarks.
#pragma once

#include "tests/support/vectors.h"

#include <cstdint>
#include <fstream>
#include <string>
#include <vector>

namespace quorva::bench {

inline std::vector<quorva::test::Vector> vectorsOf(const std::string& file) {
   const std::string path = QUORVA_VECTORS "/" + file + ".txt";
   if (!std::ifstream(path)) return {};
   return quorva::test::loadVectors(path);
}

// The message from its plain header on: what a security header of EPS or 5GS covers stands behind it.
inline std::vector<uint8_t> plain(std::vector<uint8_t> octets) {
   const bool eps = octets.size() > 6 && (octets[0] & 0x0F) == 7 && (octets[0] >> 4) != 0;
   const bool fiveG = octets.size() > 7 && octets[0] == 0x7E && octets[1] != 0;
   if (eps) octets.erase(octets.begin(), octets.begin() + 6);
   if (fiveG) octets.erase(octets.begin(), octets.begin() + 7);
   return octets;
}

} // namespace quorva::bench
