// Radio resource messages from the air and from other projects: what they say, and that they come out again
// as they went in, but for what fills a block.

#include "quorva/TS44018Misc.h"
#include "quorva/TS44018Msg.h"
#include "tests/modules/messages.h"

#include <map>

namespace {

using namespace quorva::test;

// The bits of a bit string, as '0' and '1'. Octets are shown in hex, the bits of the last one as such.
std::string bitsOf(const Leaf& leaf) {
   std::string shown, bits;
   const size_t comma = std::min(leaf.value.find(','), leaf.value.size());
   for (const char ch : leaf.value.substr(comma))
      if (std::isxdigit(static_cast<unsigned char>(ch)) != 0) shown += ch;
   const size_t count = std::stoul(leaf.value.substr(2));
   for (const uint8_t octet : octetsFromHex(shown.substr(0, count / 8 * 2)))
      for (int bit = 7; bit >= 0; --bit) bits += (octet >> bit & 1) != 0 ? '1' : '0';
   return bits + shown.substr(count / 8 * 2, count % 8);
}

Octets octetsOfBits(const std::string& bits) {
   Octets octets((bits.size() + 7) / 8);
   for (size_t i = 0; i < bits.size(); ++i)
      if (bits[i] == '1') octets[i / 8] = static_cast<uint8_t>(octets[i / 8] | 0x80 >> i % 8);
   return octets;
}

std::string bitString(const Leaves& all, size_t i) {
   return as::grouped(octetsOfBits(bitsOf(all[i])), ':');
}

std::string colons(const Leaves& all, size_t i) {
   return as::grouped(as::part(all[i]), ':');
}

std::string flag(const Leaves& all, size_t i) {
   return all[i].value == "hbit" ? "1" : all[i].value == "lbit" ? "0" : all[i].value;
}

std::string multiframes(const Leaves& all, size_t i) {
   return std::to_string(as::numberOf(all[i].value) + 2);
}

// TS 44.018, 10.5.2.2: two bits ahead of the colour codes and eight behind.
std::string arfcnOfCell(const Leaves& all, size_t i) {
   return std::to_string(as::numberOf(all[i].value) << 8 | as::numberOf(all.at(i + 3).value));
}

// The number of a frame modulo 42432, TS 44.018, 10.5.2.38.
std::string frameNumber(const Leaves& all, size_t i) {
   const auto t1 = as::numberOf(all[i].value), t3 = as::numberOf(all[i + 1].value),
              t2 = as::numberOf(all[i + 2].value);
   return std::to_string(51 * ((t3 + 26 - t2) % 26) + t3 + 51 * 26 * t1);
}

std::string technologyFollows(const Leaves& all, size_t i) {
   return all.at(i + 1).path.find("access_Technology_Type_list") == std::string::npos ? "0" : "1";
}

// The bits of a list of channels end the element, whose first ones other facts have.
std::vector<std::string> channelList(const FactSource& source, const Reader& bitStrings) {
   std::string hex = source.vector.fact("arfcn-list");
   std::erase(hex, ':');
   const Octets octets = octetsFromHex(hex);
   std::vector<std::string> lists;
   for (const std::string& tail : bitStrings(source)) {
      std::string bits;
      for (const uint8_t octet : octets)
         for (int bit = 7; bit >= 0; --bit) bits += (octet >> bit & 1) != 0 ? '1' : '0';
      lists.push_back(
            as::grouped(octetsOfBits(bits.replace(bits.size() - tail.size(), tail.size(), tail)), ':'));
   }
   return lists;
}

// Scrambling codes, each below a bit for diversity, are coded as channels of range 1024 are: TS 44.018,
// 9.1.54.1. Their order is that of a tree, in which the dissector does not show them.
std::vector<uint64_t> cellsOf(const FactSource& source) {
   std::vector<uint64_t> cells;
   for (const Leaf& leaf : source.leaves) {
      if (!matches(leaf.path, "fdd_CELL_INFORMATION_Field")) continue;
      const std::string bits = "0" + bitsOf(leaf);
      uint16_t *codes = nullptr, count = 0;
      TestContext context;
      EXPECT_EQ(rtx3GPPDecARFCN(context, RTX_ARFCN_RANGE_1024, octetsOfBits(bits).data(),
                                static_cast<uint16_t>(bits.size()), &codes, &count),
                0);
      cells.insert(cells.end(), codes, codes + count);
   }
   return cells;
}

std::vector<std::string> scramblingCodes(const FactSource& source) {
   std::vector<std::string> codes, noted;
   for (const uint64_t cell : cellsOf(source)) codes.push_back(std::to_string(cell & 511));
   std::istringstream words(source.vector.fact("scrambling-code"));
   for (std::string word; words >> word;) noted.push_back(word.substr(0, word.find(',')));
   return std::is_permutation(codes.begin(), codes.end(), noted.begin(), noted.end()) ? noted : codes;
}

std::vector<std::string> diversity(const FactSource& source) {
   std::vector<std::string> values;
   for (const uint64_t cell : cellsOf(source)) values.push_back(std::to_string(cell >> 9));
   return values;
}

// The pseudo length that is written is that of the octets; the standard has another one for these messages,
// by their types.
const std::map<uint8_t, uint8_t> kLengths = {{0, 2}, {3, 18}, {7, 2}, {24, 2}, {31, 2}, {32, 2}};

// Padding fills a block behind the last element, and is left there.
Octets block(const Octets& octets, size_t used) {
   EXPECT_EQ(std::count(octets.begin() + static_cast<std::ptrdiff_t>(used), octets.end(), 0x2B),
             octets.end() - octets.begin() - static_cast<std::ptrdiff_t>(used));
   Octets head(octets.begin(), octets.begin() + static_cast<std::ptrdiff_t>(used));
   if (const auto length = kLengths.find(octets[2]); length != kLengths.end())
      head[0] = static_cast<uint8_t>(length->second << 2 | 1);
   EXPECT_EQ(head[0] != octets[0], kLengths.count(octets[2]) != 0);
   return head;
}

// Rest octets have the name of the message again, which is one message; and those of system information type
// 3 are octets.
void openRestOctets(Leaves& leaves) {
   for (size_t i = 0; i < leaves.size(); ++i) {
      if (leaves[i].path == "restOctets.obj_SystemInformationType3.data")
         openMessage(leaves, i, "TS44018IE_SI3_Rest_Octets");
      if (leaves[i].path.starts_with("restOctets.obj_")) leaves[i].path.erase(11, 4);
   }
}

MessageRules rules() {
   MessageRules all = loadRules(
         "facts-rr.txt", {{"flag", flag},
                          {"bits", bitString},
                          {"colons", colons},
                          {"multiframes", multiframes},
                          {"arfcnOfCell", arfcnOfCell},
                          {"frameNumber", frameNumber},
                          {"technologyFollows", technologyFollows},
                          {"channelList", [](const Leaves& leaves, size_t i) { return bitsOf(leaves[i]); }},
                          {"=0x00", as::constant("0x00")},
                          {"=0x47", as::constant("0x47")}});
   all.facts["arfcn-list"] = [bitStrings = all.facts["arfcn-list"]](const FactSource& source) {
      return channelList(source, bitStrings);
   };
   all.facts["scrambling-code"] = scramblingCodes;
   all.facts["diversity"] = diversity;
   all.facts["iei-order"] = identifiersOfElements("TS44018Msg");
   all.facts["plmn"] = networksOf(as::plmn, {"imsi"});
   all.open = openRestOctets;
   return all;
}

class RadioVectors : public testing::TestWithParam<Vector> {};

TEST_P(RadioVectors, DecodeAsTheirFactsSayAndEncodeBack) {
   const Vector& vector = GetParam();
   MessageRules all = rules();
   all.type = radioPdu(vector);
   if (all.type == "TS44018Msg_L2_PSEUDO_LEN_PDU") all.canonical = block;
   checkMessage(vector, all);
}

INSTANTIATE_TEST_SUITE_P(Ccch, RadioVectors, vectorsOf("rr-ccch.txt"), vectorName);
INSTANTIATE_TEST_SUITE_P(Dcch, RadioVectors, vectorsOf("rr-dcch.txt"), vectorName);
INSTANTIATE_TEST_SUITE_P(Sacch, RadioVectors, vectorsOf("rr-sacch.txt"), vectorName);

} // namespace
