// Octets at the edges of types: tests/vectors/cases-*.txt, whose form the head of cases-ts24008.txt tells.

#include "tests/frame/frameTest.h"
#include "tests/modules/messages.h"

#include <regex>

using namespace quorva::test;

namespace {

struct Case {
   std::string place, type, hex, state;
   uint16_t release = 0; // of the protocol; 0 is the newest
   bool nullKeys = false;
   std::vector<std::string> fields;
   std::string again;
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
         next.release = 0, next.nullKeys = false;
         for (words >> next.type; words >> word;) {
            if (word == "null")
               next.nullKeys = true;
            else
               next.release = static_cast<uint16_t>(std::stoul(word.substr(word.find('=') + 1)));
         }
      } else if (const size_t arrow = line.find("=> "); arrow != std::string::npos) {
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

void check(const Case& c) {
   SCOPED_TRACE(c.place + ": " + c.type + " " + c.hex);
   const QuorvaType* type = quorvaFindType(c.type.c_str());
   ASSERT_NE(type, nullptr);
   // Neither the record nor what the heap hands out next is clear.
   std::vector<uint64_t> record;
   const auto decode = [&](RtxContext* context) {
      void* block = rtxMemHeapAlloc(context, 1024);
      std::memset(block, 'x', 1024);
      rtxMemHeapFreePtr(context, block);
      context->protocolRelease = c.release;
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
   std::string output = encoded([&](RtxContext* other) { return type->encode(other, record.data()); }, 1024);
   output.resize(output.find_last_not_of(' ') + 1);
   EXPECT_EQ(output, c.again.empty() ? hexFromOctets(octetsOf(c.hex)).substr(0, 2 * used) : c.again);
}

class Cases : public testing::TestWithParam<const char*> {};

TEST_P(Cases, EndInTheirStateAndEncodeBack) {
   const std::vector<Case> cases = casesOf(std::string("cases-") + GetParam() + ".txt");
   EXPECT_GT(cases.size(), 10u);
   for (const Case& c : cases) check(c);
}

INSTANTIATE_TEST_SUITE_P(Files, Cases,
                         testing::Values("eps", "5gs", "ts24008", "frame", "ts44018ie", "ts44018-messages"));

} // namespace
