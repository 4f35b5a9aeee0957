// The table of docs/conformance.md, row by row, in both modes.

#include "quorva/json.h"
#include "quorva/reflect.h"
#include "quorva/registry.h"
#include "tests/modules/codecs.h"
#include "tests/modules/records.h"

#include <filesystem>
#include <fstream>
#include <regex>
#include <set>

using namespace quorva::test;

namespace {

struct Row {
   std::string what, type, octets, here, standard;
};

std::vector<std::string> cellsOf(const std::string& line) {
   std::vector<std::string> cells;
   for (size_t from = line.find('|'); from != std::string::npos;) {
      const size_t to = line.find('|', from + 1);
      if (to == std::string::npos) break;
      std::string cell = line.substr(from + 1, to - from - 1);
      cell.erase(0, cell.find_first_not_of(" `"));
      cell.erase(cell.find_last_not_of(" `") + 1);
      cells.push_back(cell);
      from = to;
   }
   return cells;
}

std::vector<Row> rows() {
   std::vector<Row> all;
   std::ifstream file(QUORVA_TEST_DATA "/../docs/conformance.md");
   for (std::string line; std::getline(file, line);) {
      const auto cells = cellsOf(line);
      if (cells.size() == 7 && cells[0] != "Type" && cells[0].find("--") == std::string::npos)
         all.push_back({cells[0] + ": " + cells[1], cells[0], cells[4], cells[5], cells[6]});
   }
   return all;
}

// "[00]*9" stands for nine octets.
std::string unfolded(const std::string& hex) {
   static const std::regex repeated(R"(\[(..)\]\*(\d+))");
   std::smatch part;
   if (!std::regex_search(hex, part, repeated)) return hex;
   std::string all = part.prefix();
   for (auto times = std::stoul(part[2]); times > 0; --times) all += part[1];
   return all + part.suffix().str();
}

struct Outcome {
   std::string
         told; // status, octets that are left, and what the record is encoded to if that is something else
   std::string text; // of the record
};

Outcome outcome(const Row& row, uint32_t mode) {
   const QuorvaType* type = quorvaFindType(row.type.c_str());
   if (type == nullptr) return {"no such type", ""};
   quorva_test::Capture capture;
   TestContext context;
   rtxCtxtSetFlag(context, mode);
   rtxCtxtSetFlag(&capture.ctxt, mode);
   Room room(*type, 0x5A);
   const Octets input = octets(unfolded(row.octets));
   context.decode(input);
   const int status = type->decode(context, room.get());
   if (status < 0) return {std::to_string(status), ""};
   Outcome result{std::to_string(status), textOf(capture, *type, room.get())};
   const size_t used = context->bufByteIndex + (context->bufBitsLeft == 8 ? 0 : 1);
   if (used < input.size()) result.told += ", " + std::to_string(input.size() - used) + " left";
   if (used > input.size()) result.told += ", " + std::to_string(used - input.size()) + " beyond";
   context.encode(1024);
   const int again = type->encode(context, room.get());
   const Octets written = octetsFromHex(context.written());
   const bool same = written.size() == used && used <= input.size() &&
                     std::equal(written.begin(), written.end(), input.begin());
   if (again < 0)
      result.told += ", encodes " + std::to_string(again);
   else if (!same)
      result.told += ", " + spaced(written);
   return result;
}

// Types whose descriptions say that the standards code them otherwise.
std::set<std::string> departingTypes() {
   std::set<std::string> types;
   for (const auto& entry : std::filesystem::directory_iterator(QUORVA_TEST_DATA "/../src")) {
      if (entry.path().extension() != ".l3d") continue;
      std::ifstream file(entry.path());
      static const std::regex head(R"(^(element|message|type) ([\w-]+))"),
            words(R"(\b(standard|returns|order)\b)");
      std::string module, type;
      for (std::string line; std::getline(file, line);) {
         line.resize(std::min({line.find('#'), line.find("-- "), line.size()}));
         std::smatch match;
         if (line.rfind("module ", 0) == 0) module = line.substr(7, line.find(' ', 7) - 7);
         if (std::regex_search(line, match, head)) type = module + "_" + match[2].str();
         if (std::regex_search(line, words)) types.insert(type);
      }
   }
   return types;
}

} // namespace

TEST(Conformance, IsAsItsTableSays) {
   const auto table = rows();
   EXPECT_GT(table.size(), 40u);
   for (const Row& row : table) {
      SCOPED_TRACE(row.what + ": " + row.octets);
      const Outcome here = outcome(row, 0), standard = outcome(row, RTX_CTXT_STANDARD);
      EXPECT_EQ(here.told, row.here) << "the family's own mode";
      EXPECT_EQ(standard.told, row.standard) << "standard mode";
      EXPECT_TRUE(here.told != standard.told || here.text != standard.text) << "nothing differs";
   }
}

// A departure that a description tells is in the table.
TEST(Conformance, HasARowForEachDescription) {
   std::set<std::string> told;
   for (const Row& row : rows()) told.insert(row.type);
   for (const std::string& type : departingTypes()) EXPECT_EQ(told.count(type), 1u) << type;
}

// Of an element whose release has a group the default mode asks the group's bit too.
TEST(Conformance, GroupBitsAreForTheDefaultModeAlone) {
   size_t tried = 0;
   for (const QuorvaType* type : allTypes()) {
      if (type->sample == nullptr || type->encode == nullptr) continue;
      std::set<uint32_t> groups;
      for (const QuorvaField& field : fieldsOf(*type))
         if (field.groupBit != QUORVA_NONE && field.iei != QUORVA_NONE) groups.insert(field.groupBit);
      for (const uint32_t group : groups) {
         SCOPED_TRACE(std::string(type->name) + ", bit " + std::to_string(group));
         for (const uint32_t mode : {0u, RTX_CTXT_STANDARD}) {
            quorva_test::Capture capture(kTextRoom);
            rtxCtxtSetFlag(&capture.ctxt, mode);
            auto* record = static_cast<uint8_t*>(type->sample(&capture.ctxt));
            const auto octets = encode(capture.ctxt, *type, record).octets;
            const std::string text = textOf(capture, *type, record);
            record[group / 8] = static_cast<uint8_t>(record[group / 8] & ~(1u << group % 8));
            EXPECT_EQ(encode(capture.ctxt, *type, record).octets == octets, mode != 0) << mode;
            EXPECT_EQ(textOf(capture, *type, record) == text, mode != 0) << mode;
         }
         ++tried;
      }
   }
   EXPECT_GT(tried, 60u);
}

// Nor is what a message reports that is inside another one, or inside a container that nobody is around.
TEST(Conformance, WhatIsInsideReports) {
   for (const auto& [type, hex] : {std::pair{"TS24301Msg_AttachComplete", "0008 0201D011 01020000"},
                                   {"TS24301Msg_ESMMessageContainer", "0008 0201D011 01020000"},
                                   {"TS24501Msg_N1SMPayloadContainer", "0008 2E0101D61A 000102"}}) {
      TestContext context;
      rtxCtxtSetFlag(context, RTX_CTXT_STANDARD);
      Octets in = octets(hex);
      void* value = rtxMemHeapAllocZ(context, quorvaFindType(type)->size);
      EXPECT_EQ(decode(*static_cast<RtxContext*>(context), *quorvaFindType(type), in, value), RTX_E_BAD_IEI);
      EXPECT_EQ(context->bufByteIndex, in.size()) << type;
   }
}

// In standard mode no failure is dropped: an encoder that ran out of room never returns 0.
TEST(Conformance, EncodersWithoutRoomSaySo) {
   size_t tried = 0;
   for (const QuorvaType* type : allTypes()) {
      if (type->sample == nullptr || type->encode == nullptr || type->name[2] != '2') continue; // NAS
      TestContext context;
      rtxCtxtSetFlag(context, RTX_CTXT_STANDARD);
      void* record = type->sample(context);
      const Coded whole = encode(*static_cast<RtxContext*>(context), *type, record);
      EXPECT_GE(whole.status, 0) << type->name;
      for (size_t room = 0; room < std::min<size_t>(whole.octets.size(), 100); ++room) {
         rtxErrReset(context);
         context.encode(room);
         EXPECT_LT(type->encode(context, record), 0) << type->name << " with room for " << room;
      }
      ++tried;
   }
   EXPECT_GT(tried, 700u);
}

// Numbers of entries and flags that lists tell go by the lists: none is read behind its end, none is lost.
TEST(Conformance, EncodersGoByWhatIsThere) {
   static const struct {
      const char *type, *json, *octets;
   } cases[] = {
         {"TS24008IE_TFT",
          R"({"octet1":{"tftOperationCode":"createTFT","numPacketFilters":15},"packetFilterList":{"filterItems":[
           {"pfIdentifier":1,"contents":{"components":[{"id":"protoIdNextHdr","value":{"protoIdNextHdr":17}}]}}]},
           "paramList":[{"paramIdentifier":"packetFilterId","contents":{"packetFilterIdList":"05"}}]})",
          "09310100023011030105"},
         {"TS24008IE_TFT",
          R"({"octet1":{"tftOperationCode":"delPktFilters","numPacketFilters":9},
           "packetFilterList":{"identifiers":"0102"}})",
          "03a20102"},
         {"TS24008IE_TFT", R"({"octet1":{"tftOperationCode":"deleteTFT","numPacketFilters":1}})", "0140"},
         {"TS24008IE_NetworkName",
          R"({"ext":true,"numSpareBitsInLastOct":7,"textString":{"callBcastData":"internet"}})",
          "08806937bd2c7797e9"},
         {"TS24008IE_NetworkName", R"({"ext":true,"textString":{"callBcastData":"interne"}})",
          "08876937bd2c779701"},
         {"TS24008IE_NetworkName", R"({"ext":true,"textString":{"callBcastData":"intern"}})",
          "07806937bd2c7703"}, // 0 says nothing of them
   };
   for (const auto& one : cases) {
      SCOPED_TRACE(one.json);
      TestContext context;
      rtxCtxtSetFlag(context, RTX_CTXT_STANDARD);
      const QuorvaType* type = quorvaFindType(one.type);
      std::vector<uint64_t> record(type->size / 8 + 1);
      ASSERT_EQ(quorvaFromJson(context, type, record.data(), one.json, std::strlen(one.json), nullptr), 0);
      EXPECT_EQ(type->encode(context.encode(), record.data()), 0);
      EXPECT_EQ(context.written(), one.octets);
   }
}
