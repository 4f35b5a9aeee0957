// The octet figures of the types against what samples and vectors have: a type by hand must not be drawn as
// its record is.

#include "modules/records.h"
#include "tests/support/typeVectors.h"
#include "tests/support/vectors.h"

#include <map>
#include <regex>
#include <sstream>

using namespace quorva::test;
using quorva_test::Capture;

namespace {

// Octets that the rows of a figure tell of, without the IEI.
struct Extent {
   size_t low = 0, high = 0;
   bool open = false;
};

// What is labelled stands in a row: "octet 3a*", "octets 4 to n", "octets m + 1 to m + 4", "5 bits".
Extent extentOf(const std::string& figure, const std::string& type) {
   static const std::regex label(
         R"(\| (octets?|\d+ bits?)?(?: (?:\w \+ )?(\d+)?(\w?)( etc\.)?(?: to (?:(\w) \+ )?(\w+))?)?(\*?)$)");
   Extent extent;
   size_t next = 1;      // the number that the next row has to have
   bool labelled = true; // the rows since the last edge
   std::istringstream lines(figure);
   for (std::string line; std::getline(lines, line);) {
      std::smatch part;
      if (line[0] == '+') { // bits without a number of them have no label
         extent.open |= !labelled;
         labelled = false;
      }
      if (line[0] != '|') continue;
      if (line.find("since release") != std::string::npos) extent.open = true;
      if (!std::regex_search(line, part, label)) continue;
      labelled = true;
      const std::string unit = part[1], last = part[6];
      const bool numbered = !last.empty() && std::isdigit(static_cast<unsigned char>(last[0]));
      if (unit.compare(0, 5, "octet") != 0 || part[4].matched || (!last.empty() && !numbered)) {
         extent.open = true;
         next = 0;
         continue;
      }
      const size_t from = part[2].matched ? std::stoul(part[2]) : 0;
      const size_t octets = numbered ? std::stoul(last) - from + 1 : 1;
      if (part[3].length() == 0 && next != 0 && line.find(" + ", line.rfind('|')) == std::string::npos) {
         EXPECT_EQ(from, next) << type << ": " << line;
         next = from + octets;
      }
      if (line.find("|                              IEI  ") == 0) continue;
      extent.high += octets;
      if (part[7].length() == 0) extent.low += octets;
   }
   return extent;
}

TEST(Figures, HaveAsManyOctetsAsSamplesAndVectors) {
   std::map<std::string, size_t> longest;
   std::map<std::string, Extent> extents;
   const auto see = [&](const std::string& name, size_t octets) {
      const auto extent = extents.find(name);
      if (extent == extents.end()) return;
      EXPECT_GE(octets, extent->second.low) << name;
      if (!extent->second.open) {
         EXPECT_LE(octets, extent->second.high) << name;
      }
      longest[name] = std::max(longest[name], octets);
   };
   for (auto* type : allTypes()) {
      const std::string figure = type->explanation;
      if (figure.compare(0, 5, "    8") != 0 || figure.find("Discriminator") != std::string::npos) continue;
      extents[type->name] = extentOf(figure, type->name);
      if (type->sample == nullptr) continue;
      Capture capture(kTextRoom);
      const Coded coded = encode(capture.ctxt, *type, type->sample(&capture.ctxt));
      if (coded.status >= 0) see(type->name, coded.octets.size());
   }
   for (const TypeVector& vector : kVectors) see(vector.type, std::strlen(vector.octets) / 2);
   // Where a figure tells of a greatest length, something has it.
   for (auto& [name, octets] : longest) {
      if (extents[name].open) continue;
      EXPECT_EQ(octets, extents[name].high) << name;
   }
   EXPECT_GT(longest.size(), 600u);
}

} // namespace
