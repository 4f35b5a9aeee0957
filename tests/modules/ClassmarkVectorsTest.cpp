// Capability elements and rest octets out of real messages: each decodes, agrees with what an independent
// decoder read out of it, and encodes to the same octets. Where the facts stand tells
// tests/vectors/facts-classmarks.txt.
#include "quorva/TS24008IE.h"
#include "tests/modules/messages.h"

using namespace quorva::test;

namespace {

using Numbers = std::vector<uint64_t>;

struct FactPlace {
   std::string how;
   std::vector<std::string> paths;
};

struct Family {
   std::string type;
   std::vector<std::string> blocks;
   std::map<std::string, FactPlace> facts;
};

std::map<std::string, Family> families() {
   std::map<std::string, Family> all;
   Family* family = nullptr;
   std::ifstream file(QUORVA_TEST_DATA "/vectors/facts-classmarks.txt");
   for (std::string line, word, how; std::getline(file, line);) {
      std::istringstream words(line);
      if (line.empty() || line[0] == '#' || !(words >> word)) continue;
      if (word[0] == '[') {
         family = &all[word.substr(1, word.size() - 2)];
         words >> family->type;
         while (words >> word) family->blocks.push_back(word);
      } else {
         FactPlace& place = family->facts[word];
         words >> place.how;
         while (words >> word) place.paths.push_back(word);
      }
   }
   return all;
}

// Numbers of a fact, parted by commas.
Numbers numbers(const std::string& text) {
   Numbers all;
   std::istringstream parts(text);
   for (std::string part; std::getline(parts, part, ',');) all.push_back(std::stoull(part, nullptr, 0));
   return all;
}

uint64_t valueOf(const Leaves& leaves, const std::string& path, const std::string& how) {
   const auto leaf = std::find_if(leaves.begin(), leaves.end(), [&path](const Leaf& one) {
      return one.path == path || one.path.starts_with(path + ".");
   });
   const bool has = leaf != leaves.end();
   if (how == "has" || how == "leads") return has;
   if (!has) return how == "number/255" ? 255 : 0;
   const size_t digit = std::min(how.find_first_of("0123456789"), how.size());
   const unsigned bit = digit == how.size() ? 0 : static_cast<unsigned>(std::stoul(how.substr(digit)));
   const auto number = [&](const Conversion& convert) {
      return as::numberOf(convert(leaves, static_cast<size_t>(leaf - leaves.begin())));
   };
   if (how == "class") return number(as::enumeration(TS24008IE_RFPowerCapValues_ToEnum));
   if (how.starts_with("bands")) {
      const uint64_t bands = number(as::enumeration(TS24008IE_MBSEnum_ToEnum));
      return how == "bands" ? bands : bands >> bit & 1;
   }
   const Octets octets = leaf->value.starts_with("0x") ? as::part(*leaf) : Octets();
   if (how == "octets") return octets.size();
   if (how.starts_with("map")) return bit / 8 < octets.size() ? octets[bit / 8] >> (7 - bit % 8) & 1 : 0;
   return how.starts_with("bit") ? as::numberOf(leaf->value) >> bit & 1 : as::numberOf(leaf->value);
}

// One number a block and path.
Numbers valuesOf(const Leaves& leaves, const std::vector<std::string>& blocks, const FactPlace& place) {
   Numbers values;
   for (const std::string& block : blocks) {
      uint64_t joined = 0;
      for (const std::string& path : place.paths) {
         const size_t slash = path.find('/', 1);
         const std::string full = path[0] == '/' ? path.substr(1) : block + path.substr(0, slash);
         if (place.how != "joined") {
            values.push_back(valueOf(leaves, full, place.how));
         } else if (path[slash + 1] == '?') {
            joined = joined << 1 | valueOf(leaves, full, "has");
         } else {
            joined = joined << std::stoul(path.substr(slash + 1)) | valueOf(leaves, full, "number");
         }
      }
      if (place.how == "joined") values.push_back(joined);
      if (place.paths[0][0] == '/') break;
   }
   return values;
}

// The prefixes of the paths of each block.
std::vector<std::string> blocksOf(const Leaves& leaves, const Family& family) {
   std::vector<std::string> blocks;
   for (const Leaf& leaf : leaves) {
      const std::string first = leaf.path.substr(0, leaf.path.find('.')) + ".";
      for (const std::string& name : family.blocks)
         if ((first == name + "." || first.starts_with(name + "[")) &&
             (blocks.empty() || blocks.back() != first))
            blocks.push_back(first);
   }
   return family.blocks.empty() ? std::vector<std::string>{""} : blocks;
}

// They end inside a group or ahead of the first one, where fields without a flag of their own follow:
// a failure. The last one was made by a codec whose tighterCapability has two bits.
const std::set<std::string> kFailing = {"classmark-3-4", "ms-ra-capability-1", "ms-ra-capability-2",
                                        "ms-ra-capability-7"};

class ClassmarkVectors : public testing::TestWithParam<Vector> {};

TEST_P(ClassmarkVectors, DecodeAsTheirFactsSayAndEncodeBack) {
   const Vector& vector = GetParam();
   const Family family = families()[vector.name.substr(0, vector.name.rfind('-'))];
   ASSERT_NE(family.type, "");
   Octets input = vector.octets;
   const bool rest = family.type == "TS44018IE_SI13_Rest_Octets";
   if (!rest && family.type != "TS24008IE_MobileStationClassmark1")
      input.insert(input.begin(), static_cast<uint8_t>(input.size()));
   Message message(family.type);
   if (kFailing.count(vector.name) != 0) {
      if (vector.name == "classmark-3-4") input.push_back(0);
      EXPECT_EQ(message.decode(input), RTX_E_LENGTH_OVERRUN);
      return;
   }
   ASSERT_EQ(message.decode(input), 0);
   if (rest) // Padding behind them fills a block.
      while (input.size() > message.context().used() && input.back() == 0x2B) input.pop_back();
   EXPECT_EQ(message.context().used(), input.size());
   const Leaves leaves = message.leaves();
   const std::vector<std::string> blocks = blocksOf(leaves, family);
   for (const auto& [key, text] : vector.facts) {
      if (key == "length") {
         EXPECT_EQ(numbers(text), Numbers{vector.octets.size()});
         continue;
      }
      const auto place = family.facts.find(key);
      if (place == family.facts.end()) {
         ADD_FAILURE() << "no place is known for the fact " << key;
         continue;
      }
      Numbers expected = numbers(text);
      if (place->second.how == "leads") expected.resize(1);
      EXPECT_EQ(valuesOf(leaves, blocks, place->second), expected) << key;
   }
   int status = 0;
   EXPECT_EQ(hexFromOctets(message.encode(status)), hexFromOctets(input));
}

INSTANTIATE_TEST_SUITE_P(Vectors, ClassmarkVectors, vectorsOf("classmarks.txt"), vectorName);

} // namespace
