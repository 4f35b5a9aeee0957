// Octets at the edges of types: tests/vectors/cases-*.txt, whose form the head of cases-ts24008.txt tells.

#include "quorva/reflect.h"
#include "tests/frame/frameTest.h"
#include "tests/modules/messages.h"

#include <bit>
#include <regex>
#include <set>

using namespace quorva::test;

namespace {

// A record that is changed, and what it is encoded to.
struct Change {
   std::string place;
   std::vector<std::string> steps;
   std::string state;
};

struct Case {
   std::string place, type, hex, state;
   uint16_t release = 0; // of the protocol; 0 is the newest
   bool nullKeys = false, uplink = false;
   std::vector<std::string> fields;
   std::string again;
   std::vector<Change> changes;
   std::set<size_t> lengths;
};

// "[00 01]*3" stands for its octets thrice.
std::string unfolded(std::string hex) {
   static const std::regex repeated(R"(\[([^\]]*)\]\*(\d+))");
   for (std::smatch part; std::regex_search(hex, part, repeated);) {
      std::string all;
      for (auto times = std::stoul(part[2]); times > 0; --times) all += part[1];
      hex = part.prefix().str() + all + part.suffix().str();
   }
   return hex;
}

std::vector<Case> casesOf(const std::string& name) {
   std::vector<Case> cases;
   Case next;
   std::ifstream file(QUORVA_TEST_DATA "/vectors/" + name);
   size_t number = 0;
   for (std::string line; std::getline(file, line);) {
      next.place = name + ":" + std::to_string(++number);
      line.resize(std::min(line.find('#'), line.size()));
      line.resize(line.find_last_not_of(' ') + 1);
      const size_t indent = line.find_first_not_of(' ');
      if (line.empty()) continue;
      std::istringstream words(line);
      std::string word;
      if (indent == 0) {
         next.release = 0, next.nullKeys = next.uplink = false;
         for (words >> next.type; words >> word;) {
            if (word == "null")
               next.nullKeys = true;
            else if (word == "uplink")
               next.uplink = true;
            else
               next.release = static_cast<uint16_t>(std::stoul(word.substr(word.find('=') + 1)));
         }
      } else if (const size_t arrow = line.find("=> "); line.compare(indent, 4, "but ") == 0) {
         Change change = {next.place, {}, unfolded(line.substr(arrow + 3))};
         for (words >> word; words >> word && word != "=>";) change.steps.push_back(unfolded(word));
         cases.at(cases.size() - 1).changes.push_back(change);
      } else if (line.compare(indent, 8, "lengths ") == 0) {
         cases.push_back(next);
         cases.back().hex = cases.back().state = "";
         for (words >> word; words >> word;)
            for (size_t i = std::stoul(word); i <= std::stoul(word.substr(word.find('-') + 1)); ++i)
               cases.back().lengths.insert(i);
      } else if (arrow != std::string::npos) {
         next.hex = unfolded(line.substr(0, arrow));
         next.state = line.substr(arrow + 3);
         cases.push_back(next);
      } else if (line.compare(indent, 6, "again ") == 0) {
         cases.at(cases.size() - 1).again = unfolded(line.substr(indent + 6));
      } else {
         while (words >> word) cases.at(cases.size() - 1).fields.push_back(word);
      }
   }
   return cases;
}

// What the record has at a path, without blanks; "-" if nothing is there. Of "names" it is the names of the
// fields that are there, of "a.b.names" those in a.b.
std::string valueAt(const Leaves& leaves, const std::string& path) {
   const bool names = path.ends_with("names");
   const std::string block = path.substr(0, names ? path.size() - 5 : 0);
   std::string found, last;
   for (const Leaf& leaf : leaves) {
      if (names && leaf.path.starts_with(block)) {
         const std::string name =
               leaf.path.substr(block.size(), leaf.path.find_first_of(".[", block.size()) - block.size());
         if (name != last) found += (found.empty() ? "" : ",") + name;
         last = name;
      }
      if (names) continue;
      if (leaf.path == path) {
         std::string value = leaf.value;
         std::erase(value, ' ');
         return value;
      }
      if (leaf.path.starts_with(path + ".") || leaf.path.starts_with(path + "[")) return "{}";
   }
   return names ? found : "-";
}

// One step of a change, of the form that the head of cases-ts24008.txt tells.
void change(RtxContext* context, const QuorvaType* type, void* record, const std::string& step) {
   SCOPED_TRACE(step);
   const size_t equals = step.find('=');
   if (step[0] == '-') {
      EXPECT_EQ(quorvaRemove(context, type, record, step.c_str() + 1), 0);
   } else if (equals == 0 || step[equals - 1] != ':') {
      const std::string path = step.substr(0, equals);
      EXPECT_EQ(quorvaSet(context, type, record, path.c_str(), step.c_str() + equals + 1), 0);
   } else {
      // Behind a count or a selector stands the pointer to what is counted or selected.
      static const std::regex pointer(R"((elem|u)$)");
      const std::string path = step.substr(0, equals - 1);
      QuorvaItem item;
      if (std::regex_search(path, pointer)) {
         const std::string beside = std::regex_replace(path, pointer, path.back() == 'u' ? "t" : "n");
         ASSERT_EQ(quorvaGet(context, type, record, beside.c_str(), &item), 0);
         std::memset(static_cast<uint8_t*>(const_cast<void*>(item.data)) + sizeof(void*), 0, sizeof(void*));
      } else {
         ASSERT_EQ(quorvaGet(context, type, record, path.c_str(), &item), 0);
         // The number that lies there tells how many octets it has.
         ASSERT_TRUE(item.number != 0 || item.kind == QUORVA_ENUM);
         auto* at = static_cast<uint8_t*>(const_cast<void*>(item.data));
         const size_t least = item.kind == QUORVA_ENUM ? 4 : 1;
         if (std::endian::native == std::endian::big)
            for (uint64_t number = *at, i = 1; i < least || (number != item.number && i < 8); ++i)
               number = number << 8 | *++at;
         *at = static_cast<uint8_t>(std::stoul(step.substr(equals + 1), nullptr, 0));
      }
   }
}

// Other lengths fail ahead of the contents, with the name of the length on the stack; of counted octets
// behind them.
void checkLengths(const Case& c, const QuorvaType* type) {
   const std::string name = c.type.substr(c.type.find('_') + 1);
   const std::string contents = unfolded("[01]*256");
   std::set<size_t> taken;
   for (size_t length = 0; length < 256; ++length) {
      std::vector<uint64_t> record(type->size / 8 + 1);
      const auto octet = static_cast<uint8_t>(length);
      const std::string state = decoded(hexFromOctets(&octet, 1) + contents, [&](RtxContext* context) {
         return type->decode(context, record.data());
      });
      if (state != "-16 @1.0 names=" + name + ".length level=1" &&
          state != "-16 @" + std::to_string(1 + length) + ".0 names=" + name)
         taken.insert(length);
   }
   EXPECT_EQ(taken, c.lengths);
}

void check(const Case& c) {
   SCOPED_TRACE(c.place + ": " + c.type + " " + c.hex);
   const QuorvaType* type = quorvaFindType(c.type.c_str());
   ASSERT_NE(type, nullptr);
   if (!c.lengths.empty()) return checkLengths(c, type);
   // Neither the record nor what the heap hands out next is clear.
   std::vector<uint64_t> record;
   const auto decode = [&](RtxContext* context) {
      void* block = rtxMemHeapAlloc(context, 1024);
      std::memset(block, 'x', 1024);
      rtxMemHeapFreePtr(context, block);
      context->protocolRelease = c.release;
      if (c.uplink) rtxCtxtSetFlag(context, RTX_CTXT_UPLINK);
      if (c.nullKeys) SecurityState().apply(context);
      record.assign(type->size / 8 + 1, 0xA5A5A5A5A5A5A5A5);
      if (type->init != nullptr) type->init(record.data());
      return type->decode(context, record.data());
   };
   EXPECT_EQ(decoded(c.hex, decode), c.state);
   TestContext context;
   context.decode(octetsOf(c.hex));
   // A status may report what a message holds and yet be no failure; the fields tell.
   const int status = decode(context);
   if (status < 0 && c.fields.empty()) return;
   const size_t used = context.used();
   quorva_test::Capture capture(1 << 18);
   EXPECT_EQ(type->print(&capture.ctxt, "value", record.data()), 0);
   Leaves leaves = leavesOf("record {\n" + capture.take() + "}\n");
   for (Leaf& leaf : leaves)
      if (leaf.path.compare(0, 6, "value.") == 0) leaf.path.erase(0, 6);
   for (const std::string& field : c.fields) {
      const std::string path = field.substr(0, field.find('='));
      EXPECT_EQ(path + "=" + valueAt(leaves, path), field);
   }
   if (status < 0) return;
   const auto encodedNow = [&](bool behindTail) {
      std::string output = encoded(
            [&](RtxContext* other) {
               std::vector<uint64_t> copy = record; // encoders write lengths into it
               if (behindTail) rtxCtxtSetFlag(other, RTX_CTXT_RAW_TAIL);
               return type->encode(other, copy.data());
            },
            2048);
      output.resize(output.find_last_not_of(' ') + 1);
      return output;
   };
   EXPECT_EQ(encodedNow(false),
             c.again.empty() ? hexFromOctets(octetsOf(c.hex)).substr(0, 2 * used) : c.again);
   for (const Change& each : c.changes) {
      rtxErrReset(context);
      context.decode(octetsOf(c.hex));
      EXPECT_GE(decode(context), 0);
      bool behindTail = false;
      for (const std::string& step : each.steps) {
         if (step == "tail")
            behindTail = true;
         else
            change(context, type, record.data(), step);
      }
      EXPECT_EQ(encodedNow(behindTail), each.state) << each.place;
   }
}

class Cases : public testing::TestWithParam<const char*> {};

TEST_P(Cases, EndInTheirStateAndEncodeBack) {
   const std::vector<Case> cases = casesOf(std::string("cases-") + GetParam() + ".txt");
   EXPECT_GT(cases.size(), 10u);
   for (const Case& c : cases) check(c);
}

INSTANTIATE_TEST_SUITE_P(Files, Cases,
                         testing::Values("eps", "5gs", "ts24008", "frame", "ts44018ie", "ts44018-messages",
                                         "encoders"));

} // namespace
