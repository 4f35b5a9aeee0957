/**
 * @file facts.h
 * Facts of the message vectors against what the printers show.
 *
 * A decoded record is printed, the text is taken apart into values with paths, and each fact of the vector is
 * compared with the values at the paths that a table names for its key. A key that the table lacks is a
 * failure, so that no fact is passed over in silence.
 */
#ifndef QUORVA_TESTS_SUPPORT_FACTS_H
#define QUORVA_TESTS_SUPPORT_FACTS_H

#include "quorva/registry.h"
#include "tests/support/capture.h"
#include "tests/support/vectors.h"

#include <algorithm>
#include <functional>
#include <gtest/gtest.h>
#include <iterator>
#include <map>
#include <set>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

namespace quorva::test {

/**
 * One printed value. The path is made of the names of the blocks that hold it, without the outermost, and its
 * own name, joined by dots: "data.obj_AttachAccept.taiList.idents[0].numElements". An empty block is a value
 * "{}".
 */
struct Leaf {
   std::string path, value;

   /** Name of the value itself. */
   std::string_view name() const {
      return std::string_view(path).substr(path.find_last_of('.') + 1); // npos + 1 is 0
   }
};

using Leaves = std::vector<Leaf>;

/** Takes printed text apart. A dump over several lines becomes "0x" and its octets. */
inline Leaves leavesOf(const std::string& text) {
   Leaves leaves;
   std::vector<std::string> blocks;
   bool empty = false;
   std::string *dump = nullptr, *bits = nullptr;
   std::istringstream lines(text);
   const auto path = [&blocks](std::string_view name) {
      std::string all;
      for (size_t i = 1; i < blocks.size(); ++i) all += blocks[i] + ".";
      return all.append(name);
   };
   for (std::string line; std::getline(lines, line);) {
      if (dump != nullptr && line[0] != ' ' && line[0] != '}') {
         // Lines of a dump have no indent: 48 columns of octets, then characters.
         for (const char ch : line.substr(0, 48))
            if (ch != ' ') *dump += ch;
         continue;
      }
      dump = nullptr;
      if (bits != nullptr) {
         // Further lines of a long bit string, up to its own brace.
         *bits += line.substr(std::min(line.find_first_not_of(' '), line.size()));
         if (bits->back() == '}') bits = nullptr;
         continue;
      }
      const size_t begin = line.find_first_not_of(' ');
      if (begin == std::string::npos) continue;
      const std::string body = line.substr(begin);
      if (body == "}") {
         if (empty && blocks.size() > 1) {
            const std::string name = blocks.back();
            blocks.pop_back();
            leaves.push_back({path(name), "{}"});
         } else if (!blocks.empty()) {
            blocks.pop_back();
         }
         empty = false;
      } else if (const size_t equals = body.find(" ="); equals != std::string::npos) {
         leaves.push_back(
               {path(body.substr(0, equals)), body.size() > equals + 3 ? body.substr(equals + 3) : ""});
         if (body.size() == equals + 2) {
            leaves.back().value = "0x";
            dump = &leaves.back().value;
         }
         if (body.size() > equals + 3 && body[equals + 3] == '{' && body.back() == ',')
            bits = &leaves.back().value;
         empty = false;
      } else if (body.size() > 2 && body.compare(body.size() - 2, 2, " {") == 0) {
         blocks.push_back(body.substr(0, body.size() - 2));
         empty = true;
      }
   }
   return leaves;
}

/** Prints a record by its type's printer and takes the text apart. */
inline Leaves leavesOf(const QuorvaType& type, const void* record) {
   quorva_test::Capture capture(1 << 18);
   type.print(&capture.ctxt, "record", record);
   return leavesOf(capture.take());
}

/** True if a path ends with the names of the pattern; indices of the path don't count, "*" is any one name.
 */
inline bool matches(std::string_view path, std::string_view pattern) {
   const auto last = [](std::string_view& names) {
      const size_t dot = names.find_last_of('.');
      const std::string_view name = dot == std::string_view::npos ? names : names.substr(dot + 1);
      names = dot == std::string_view::npos ? std::string_view() : names.substr(0, dot);
      return name;
   };
   while (!pattern.empty()) {
      if (path.empty()) return false;
      const std::string_view wanted = last(pattern);
      std::string_view name = last(path);
      if (wanted == "*") continue;
      if (wanted.find('[') == std::string_view::npos) name = name.substr(0, name.find('['));
      if (wanted != name) return false;
   }
   return true;
}

/** Makes the text of a fact of the leaf at an index; the leaves behind it may take part. */
using Conversion = std::function<std::string(const Leaves&, size_t)>;

namespace as {

inline uint64_t numberOf(const std::string& value) {
   if (value == "true") return 1;
   if (value == "false") return 0;
   return std::stoull(value, nullptr, value.compare(0, 2, "0x") == 0 ? 16 : 10);
}

inline std::string hexNumber(uint64_t value, int digits) {
   char text[24];
   std::snprintf(text, sizeof text, "0x%0*llx", digits, static_cast<unsigned long long>(value));
   return text;
}

/** A decimal number, of a number, a flag or up to eight octets. */
inline std::string number(const Leaves& all, size_t i) {
   return std::to_string(numberOf(all[i].value));
}

/** "0x" and at least so many digits. */
inline Conversion hex(int digits) {
   return [digits](const Leaves& all, size_t i) { return hexNumber(numberOf(all[i].value), digits); };
}

/** Octets as they are, without the "0x". */
inline std::string octets(const Leaves& all, size_t i) {
   return all[i].value.substr(2);
}

/** What stands between the quotes. */
inline std::string text(const Leaves& all, size_t i) {
   return all[i].value.substr(1, all[i].value.size() - 2);
}

/** Groups of octets, in decimal joined by dots or in hex joined by colons. */
inline std::string grouped(const Octets& octets, char separator) {
   std::string all;
   for (const uint8_t octet : octets) {
      if (!all.empty()) all += separator;
      all += separator == '.' ? std::to_string(octet) : hexFromOctets(&octet, 1);
   }
   return all;
}

/** Octets of a leaf from one position on. */
inline Octets part(const Leaf& leaf, size_t from = 0, size_t count = std::string::npos) {
   const Octets all = octetsFromHex(std::string_view(leaf.value).substr(2));
   if (from >= all.size()) return {};
   count = std::min(count, all.size() - from);
   return {all.begin() + static_cast<std::ptrdiff_t>(from),
           all.begin() + static_cast<std::ptrdiff_t>(from + count)};
}

inline std::string ipv4(const Leaves& all, size_t i) {
   return grouped(part(all[i]), '.');
}

/** Country and network code: of the leaf of the country code, the network code standing behind it. */
inline std::string plmn(const Leaves& all, size_t i) {
   return text(all, i) + "-" + (i + 1 < all.size() ? text(all, i + 1) : "");
}

/** An octet of two semi-octets, the low digit first. */
inline std::string swapped(const Leaf& leaf) {
   const auto octet = numberOf(leaf.value);
   return std::to_string(octet & 15) + std::to_string(octet >> 4);
}

/** Six octets of swapped digits, of the leaf of the year and those behind it. */
inline std::string timeOfDay(const Leaves& all, size_t i) {
   static const char* const months[] = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                        "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
   const auto month = std::stoul(swapped(all[i + 1])) - 1;
   const std::string day = std::to_string(std::stoul(swapped(all[i + 2])));
   return std::string(month < 12 ? months[month] : "?") + (day.size() == 1 ? "  " : " ") + day + ", 20" +
          swapped(all[i]) + " " + swapped(all[i + 3]) + ":" + swapped(all[i + 4]) + ":" +
          swapped(all[i + 5]) + ".000000000 UTC";
}

/** Quarters of an hour, the sign bit left out. */
inline std::string timeZone(const Leaves& all, size_t i) {
   const auto octet = numberOf(all[i].value);
   return hexNumber((octet & 7) * 10 + (octet >> 4), 2);
}

/** The number behind a name, by the enumeration's own look-up. */
template <class Value>
Conversion enumeration(int (*toEnum)(RtxContext*, const char*, Value*)) {
   return [toEnum](const Leaves& all, size_t i) {
      quorva_test::Capture context(16);
      Value value{};
      if (toEnum(&context.ctxt, all[i].value.c_str(), &value) < 0) return "no number of " + all[i].value;
      return std::to_string(static_cast<uint64_t>(value));
   };
}

inline Conversion constant(std::string value) {
   return [value](const Leaves&, size_t) { return value; };
}

} // namespace as

/** A decoded vector. */
struct FactSource {
   const Vector& vector;
   const Leaves& leaves;
};

/** All values of one key, in the order of the message. */
using Reader = std::function<std::vector<std::string>(const FactSource&)>;

/** Where one key's values stand: the first place that matches a leaf converts it. A leaf converted to an
 * empty text gives no value. */
struct Place {
   std::string pattern;
   Conversion convert;
};

inline Reader at(std::vector<Place> places) {
   return [places](const FactSource& source) {
      std::vector<std::string> values;
      for (size_t i = 0; i < source.leaves.size(); ++i) {
         for (const Place& place : places) {
            if (!matches(source.leaves[i].path, place.pattern)) continue;
            if (std::string value = place.convert(source.leaves, i); !value.empty())
               values.push_back(std::move(value));
            break;
         }
      }
      return values;
   };
}

/** The same conversion at several places. */
inline Reader at(const Conversion& convert, std::initializer_list<std::string_view> patterns) {
   std::vector<Place> places;
   for (const std::string_view pattern : patterns) places.push_back({std::string(pattern), convert});
   return at(std::move(places));
}

/** Number of octets of the message. */
inline std::vector<std::string> lengthOfMessage(const FactSource& source) {
   return {std::to_string(source.vector.octets.size())};
}

/** Identifier of a message's element by the list of the message's figure: "5a", "9-"; empty if it has none.
 */
inline std::string identifierOf(const std::string& message, std::string_view element) {
   const char* figure = quorvaExplain(message.c_str());
   std::istringstream lines(figure == nullptr ? "" : figure);
   for (std::string line; std::getline(lines, line);) {
      if (line.size() < 6 || line[0] == ' ' || line.compare(0, 3, "IEI") == 0) continue;
      std::string name = line.substr(5, line.find(' ', 5) - 5);
      std::replace(name.begin(), name.end(), '-', '_'); // as printers show it
      if (name != element) continue;
      std::string iei = line.substr(0, 2);
      for (char& ch : iei)
         if (ch >= 'A' && ch <= 'F') ch = static_cast<char>(ch - 'A' + 'a');
      return iei;
   }
   return {};
}

/**
 * Identifiers of the optional elements met, in the order of the print. A message is a block "obj_<record>" of
 * the module; where the record has another name, `recordOf` gives it. Elements at the places in `hidden` are
 * left out, and those without a value, which the facts do not have.
 */
inline Reader identifiersOfElements(std::string module, std::function<std::string(std::string)> recordOf = {},
                                    std::vector<std::string_view> hidden = {}) {
   return [module, recordOf, hidden](const FactSource& source) {
      std::string found;
      std::set<std::string, std::less<>> met;
      for (const Leaf& leaf : source.leaves) {
         if (leaf.value == "<null>") continue;
         // Each message that holds the leaf, from the outermost on, and its element that holds it.
         for (size_t at = leaf.path.find("obj_"); at != std::string::npos;
              at = leaf.path.find("obj_", at + 1)) {
            const size_t dot = leaf.path.find('.', at);
            if (dot == std::string::npos) break;
            const size_t end = std::min(leaf.path.find_first_of(".[", dot + 1), leaf.path.size());
            if (!met.insert(leaf.path.substr(0, end)).second) continue;
            if (std::any_of(hidden.begin(), hidden.end(),
                            [&](auto pattern) { return matches(leaf.path.substr(0, end), pattern); }))
               continue;
            std::string message = leaf.path.substr(at + 4, dot - at - 4);
            message = module + "_" + (recordOf ? recordOf(message) : message);
            if (const std::string iei = identifierOf(message, leaf.path.substr(dot + 1, end - dot - 1));
                !iei.empty())
               found += (found.empty() ? "" : " ") + iei;
         }
      }
      return std::vector<std::string>{found};
   };
}

using FactTable = std::map<std::string, Reader>;

/** Compares the facts of a vector, apart from `round-trip` and those named as out of reach. */
inline void compareFacts(const FactTable& table, const FactSource& source,
                         const std::vector<std::string>& outOfReach = {}) {
   for (const auto& [key, expected] : source.vector.facts) {
      if (key == "round-trip" || std::find(outOfReach.begin(), outOfReach.end(), key) != outOfReach.end())
         continue;
      const auto row = table.find(key);
      if (row == table.end()) {
         ADD_FAILURE() << source.vector.name << ": no place is known for the fact " << key;
         continue;
      }
      std::vector<std::string> values = row->second(source);
      // Of values that are all alike one was noted, but for the types of messages; of others no more than
      // eight.
      if (key != "type" &&
          std::adjacent_find(values.begin(), values.end(), std::not_equal_to<>()) == values.end() &&
          values.size() > 1)
         values.resize(1);
      if (std::count(expected.begin(), expected.end(), ',') == 7 && values.size() > 8) values.resize(8);
      std::string found;
      for (const std::string& value : values) found.append(found.empty() ? "" : ", ").append(value);
      EXPECT_EQ(found, expected) << source.vector.name << ": " << key;
   }
}

} // namespace quorva::test

#endif
