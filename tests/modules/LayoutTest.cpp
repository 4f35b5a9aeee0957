// Elements against their figures in the standard: tests/vectors/layouts-*.txt, whose form the head of
// layouts-ts24008-1.txt tells. The variable QUORVA_LAYOUTS_OF limits them to those of one type, for
// tests/mutate.py.

#include "modules/records.h"
#include "support/facts.h"

#include <bitset>
#include <cstdlib>
#include <regex>

using namespace quorva::test;
using quorva_test::Capture;

namespace {

struct Field {
   std::string path, width, value, text;
};

struct Layout {
   std::string type;
   bool further;                // than that of the sample
   std::string format, lengths; // how many octets of contents decode, where told
   std::vector<Field> fields;
};

std::vector<Layout> layouts() {
   const std::regex head(R"((\+ )?(\w+) (-|\d+\.[.\w]+)( (V|LV|LV-E) (.+))?)"),
         field(R"(([^/=]+)/(\d+|\*)=([^:]*):?(.*))");
   std::vector<Layout> all;
   std::smatch part;
   for (const std::string name : {"ts24008-1", "ts24008-2", "eps", "5gs-1", "5gs-2", "ts44018"}) {
      std::ifstream file(QUORVA_TEST_DATA "/vectors/layouts-" + name + ".txt");
      std::string module;
      for (std::string line; std::getline(file, line);) {
         line.resize(line[0] == '#' ? 0 : std::min(line.find(" #"), line.size()));
         line.resize(line.find_last_not_of(' ') + 1);
         if (line.compare(0, 7, "module ") == 0) {
            module = line.substr(7) + '_';
            continue;
         }
         if (std::regex_match(line, part, head)) {
            all.push_back({module + part[2].str(), part[1].matched, part[5], part[6], {}});
            continue;
         }
         std::istringstream words(line);
         for (std::string word; words >> word;
              all.back().fields.push_back({part[1], part[2], part[3], part[4]}))
            if (all.empty() || line[0] != ' ' || !std::regex_match(word, part, field))
               throw std::runtime_error(line);
      }
   }
   if (const char* only = std::getenv("QUORVA_LAYOUTS_OF"))
      all.erase(std::remove_if(all.begin(), all.end(), [&](const Layout& one) { return one.type != only; }),
                all.end());
   return all;
}

// The bits of a field as digits; L and H are those of the padding pattern and the others, by the place from
// the start; P is L to the octet's end.
std::string bitsOf(const Field& field, size_t at) {
   std::string bits;
   if (field.value == "P") return std::string("00101011").substr(at % 8, at % 8 == 0 ? 0 : 8);
   if (field.value.find_first_not_of("LH") == std::string::npos) {
      for (const char bit : field.value) bits += "01"[("00101011"[at++ % 8] == '1') != (bit == 'H')];
      return bits;
   }
   if (field.width == "*") {
      for (const uint8_t octet : octetsFromHex(field.value)) bits += std::bitset<8>(octet).to_string();
      return bits;
   }
   const size_t width = std::stoul(field.width);
   if (width == 0) return bits;
   bits = std::bitset<64>(as::numberOf(field.value)).to_string();
   EXPECT_GE(bits.find('1'), 64 - width) << field.path << " is too narrow for its value";
   return bits.substr(64 - width);
}

// How the value of a field is printed, in the manner of the value met.
std::string printed(const Field& field, const std::string& met) {
   if (!field.text.empty()) return field.text;
   if (met[0] == '{') {
      const std::string bits = bitsOf(field, 0);
      return bits.empty()
                   ? "{ 0 }"
                   : "{ " + field.width + ", " + bits + std::string((8 - bits.size() % 8) % 8, 'x') + " }";
   }
   if (field.width == "*") return "0x" + field.value;
   if (field.width == "0") return met[0] == '\'' ? "'" + field.value + "'" : field.value;
   const uint64_t number = as::numberOf(field.value);
   if (met == "true" || met == "false") return number == 1 ? "true" : number == 0 ? "false" : field.value;
   return std::to_string(number);
}

// A text of the blocks has no blanks.
std::string packedText(std::string text) {
   text.erase(std::remove(text.begin(), text.end(), ' '), text.end());
   return text;
}

std::string bitsOf(const Layout& layout) {
   std::string bits;
   for (const Field& field : layout.fields) bits += bitsOf(field, bits.size());
   return bits;
}

Octets packed(const std::string& bits) {
   Octets octets((bits.size() + 7) / 8);
   for (size_t i = 0; i < bits.size(); ++i)
      if (bits[i] == '1') octets[i / 8] |= static_cast<uint8_t>(0x80 >> i % 8);
   return octets;
}

Leaves printedLeaves(Capture& capture, const QuorvaType& type, const void* value) {
   Leaves leaves = leavesOf("record {\n" + textOf(capture, type, value) + "}\n");
   for (Leaf& leaf : leaves)
      if (leaf.path.compare(0, 6, "value.") == 0) leaf.path.erase(0, 6);
   return leaves;
}

Leaves::iterator find(Leaves& leaves, const std::string& path) {
   return std::find_if(leaves.begin(), leaves.end(), [&](const Leaf& leaf) { return leaf.path == path; });
}

TEST(Layout, OctetsAndFieldsAreThoseOfTheFigure) {
   for (const Layout& layout : layouts()) {
      SCOPED_TRACE(layout.type);
      const std::string bits = bitsOf(layout);
      Octets octets = packed(bits);
      const QuorvaType* type = quorvaFindType(layout.type.c_str());
      ASSERT_NE(type, nullptr);
      Capture capture(kTextRoom);
      Room room(*type, 0xFF);
      void* value = layout.further ? room.get() : type->sample(&capture.ctxt);
      if (layout.further) {
         EXPECT_GE(decode(capture.ctxt, *type, octets, value), 0);
         EXPECT_EQ(rtxCtxtGetBitOffset(&capture.ctxt), bits.size());
      }
      const Coded coded = encode(capture.ctxt, *type, value);
      EXPECT_GE(coded.status, 0);
      EXPECT_EQ(hexFromOctets(coded.octets), hexFromOctets(octets));
      EXPECT_EQ(coded.bits, bits.size());

      Leaves leaves = printedLeaves(capture, *type, value);
      for (const Field& field : layout.fields) {
         if (field.path == "-") continue;
         const auto leaf = find(leaves, field.path);
         if (leaf == leaves.end()) {
            ADD_FAILURE() << field.path << " is printed less often than drawn";
            continue;
         }
         EXPECT_EQ(packedText(leaf->value), packedText(printed(field, leaf->value))) << field.path;
         leaves.erase(leaf);
      }
      for (const Leaf& leaf : leaves) EXPECT_EQ(leaf.value, "{}") << leaf.path << " isn't drawn";
   }
}

// Flags that are alike could stand for each other: so each bit is turned once, and must show in its own
// field.
TEST(Layout, EachBitIsThatOfItsField) {
   size_t shown = 0;
   for (const Layout& layout : layouts()) {
      SCOPED_TRACE(layout.type);
      const QuorvaType* type = quorvaFindType(layout.type.c_str());
      ASSERT_NE(type, nullptr);
      const std::string bits = bitsOf(layout);
      size_t at = 0;
      for (Field field : layout.fields) {
         const std::string own = bitsOf(field, at);
         const size_t turnable = field.path == "-" || field.width == "*" ? 0 : own.size();
         for (size_t i = 0; i < turnable; ++i) {
            std::string turned = own;
            turned[i] = own[i] == '0' ? '1' : '0';
            Octets octets = packed(std::string(bits).replace(at, own.size(), turned));
            Capture capture;
            Room room(*type, 0xFF);
            // Behind another length, count or kind the rest may not fit, or have no place for the field.
            if (decode(capture.ctxt, *type, octets, room.get()) < 0) continue;
            Leaves leaves = printedLeaves(capture, *type, room.get());
            const auto leaf = find(leaves, field.path);
            if (leaf == leaves.end()) continue;
            ++shown;
            field.value = std::to_string(std::bitset<64>(turned).to_ullong());
            if (field.text.empty())
               EXPECT_EQ(packedText(leaf->value), packedText(printed(field, leaf->value))) << field.path;
            else
               EXPECT_NE(leaf->value, field.text) << field.path;
         }
         at += own.size();
      }
   }
   EXPECT_GT(shown, 3500u);
}

// The contents are cut behind each octet, with the length rewritten: a bound or an optional octet shows.
TEST(Layout, ContentsThatEndEarlyDecodeAsTold) {
   size_t cuts = 0;
   for (const Layout& layout : layouts()) {
      if (layout.format.empty()) continue;
      const QuorvaType* type = quorvaFindType(layout.type.c_str());
      ASSERT_NE(type, nullptr);
      const Octets whole = packed(bitsOf(layout));
      const size_t lead = layout.format == "V" ? 0 : layout.format == "LV" ? 1 : 2;
      std::set<size_t> accepted;
      for (size_t count = lead == 0 ? 1 : 0; lead + count <= whole.size(); ++count, ++cuts) {
         Octets octets(whole.begin(), whole.begin() + static_cast<ptrdiff_t>(lead + count));
         if (lead != 0) octets[lead - 1] = static_cast<uint8_t>(count);
         if (lead == 2) octets[0] = static_cast<uint8_t>(count >> 8);
         Capture capture;
         Room room(*type, 0xFF);
         if (decode(capture.ctxt, *type, octets, room.get()) >= 0 &&
             rtxCtxtGetBitOffset(&capture.ctxt) > (octets.size() - 1) * 8)
            accepted.insert(count);
      }
      std::set<size_t> told;
      std::istringstream words(layout.lengths);
      for (std::string word; words >> word;) {
         const size_t dash = word.find('-'), low = std::stoul(word);
         for (size_t count = low;
              count <= (dash == std::string::npos ? low : std::stoul(word.substr(dash + 1)));)
            told.insert(count++);
      }
      EXPECT_EQ(accepted, told) << layout.type;
   }
   EXPECT_GT(cuts, 5000u);
}

TEST(Layout, EveryElementHasOne) {
   const std::set<std::string_view> modules = {"TS24008IE", "TS24301IE", "TS24501IE"};
   std::set<std::string> found, known;
   const auto counts = [&](std::string_view name) {
      return modules.count(name.substr(0, name.find('_'))) != 0;
   };
   for (const Layout& layout : layouts())
      if (counts(layout.type)) found.insert(layout.type);
   for (const QuorvaType* type : allTypes())
      if (counts(type->name) && type->decode != nullptr) known.insert(type->name);
   std::vector<std::string> differing;
   std::set_symmetric_difference(found.begin(), found.end(), known.begin(), known.end(),
                                 std::back_inserter(differing));
   // Its selector is a bit in the midst of it, so that it can't be drawn alone.
   EXPECT_EQ(differing, std::vector<std::string>{"TS24501IE_UEParamUpdateContainer_updateOrAck"});
}

} // namespace
