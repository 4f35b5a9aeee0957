// Values as JSON and back.

#include "quorva/json.h"
#include "modules/records.h"
#include "quorva/modules.h"
#include "quorva/reflect.h"
#include "support/context.h"
#include "support/typeVectors.h"
#include "support/vectors.h"

#include <fstream>
#include <regex>

using namespace quorva::test;
using quorva_test::Capture;

namespace {

std::string toJson(const QuorvaType& type, const void* value, const RtxContext* ctxt = nullptr) {
   size_t size = 0;
   EXPECT_EQ(quorvaToJson(ctxt, &type, value, nullptr, 0, &size), RTX_E_TOO_SMALL);
   std::string text(size + 1, '#');
   EXPECT_EQ(quorvaToJson(ctxt, &type, value, text.data(), text.size(), nullptr), 0);
   EXPECT_EQ(text.back(), '\0');
   text.pop_back();
   return text;
}

// The octets of a value, of its JSON read back, and the two texts, are the same.
void comesBack(Capture& capture, const QuorvaType& type, void* value, const std::string& octets) {
   const std::string json = toJson(type, value, &capture.ctxt);
   Room place(type, 0xA5), zeros(type, 0);
   QuorvaJsonFault fault;
   ASSERT_EQ(quorvaFromJson(&capture.ctxt, &type, place.get(), json.data(), json.size(), &fault), 0)
         << fault.path << ": " << fault.reason << " at " << fault.column << " of " << json;
   EXPECT_EQ(toJson(type, place.get(), &capture.ctxt), json);
   if (octets.empty()) return;
   EXPECT_EQ(hexFromOctets(encode(capture.ctxt, type, place.get()).octets), octets) << json;
   // In standard mode nothing is there that the text has not told, in memory that no initialiser has seen.
   std::memset(place.get(), 0xA5, type.size);
   EXPECT_EQ(quorvaFromJson(&capture.ctxt, &type, place.get(), json.data(), json.size(), nullptr), 0);
   EXPECT_EQ(quorvaFromJson(&capture.ctxt, &type, zeros.get(), json.data(), json.size(), nullptr), 0);
   rtxCtxtSetFlag(&capture.ctxt, RTX_CTXT_STANDARD);
   const Coded dirty = encode(capture.ctxt, type, place.get()),
               clean = encode(capture.ctxt, type, zeros.get());
   EXPECT_EQ(dirty.status, clean.status) << json;
   EXPECT_EQ(dirty.octets, clean.octets) << json;
   rtxCtxtClearFlag(&capture.ctxt, RTX_CTXT_STANDARD);
}

class JsonModes : public testing::TestWithParam<uint32_t> {};
INSTANTIATE_TEST_SUITE_P(Both, JsonModes, testing::Values(0u, RTX_CTXT_STANDARD), [](const auto& info) {
   return std::string(info.param == 0 ? "Default" : "Standard");
});

TEST_P(JsonModes, SamplesComeBack) {
   for (auto* type : allTypes()) {
      if (type->sample == nullptr) continue;
      SCOPED_TRACE(type->name);
      Capture capture(kTextRoom);
      rtxCtxtSetFlag(&capture.ctxt, GetParam());
      void* sample = type->sample(&capture.ctxt);
      const std::string octets =
            type->encode == nullptr ? "" : hexFromOctets(encode(capture.ctxt, *type, sample).octets);
      comesBack(capture, *type, sample, octets);
   }
}

TEST_P(JsonModes, VectorsComeBack) {
   std::vector<std::pair<std::string, Octets>> all;
   for (const auto& vector : kVectors) all.emplace_back(vector.type, octetsFromHex(vector.octets));
   for (auto& [type, vector] : messageVectors(QUORVA_TEST_DATA "/vectors"))
      all.emplace_back(type, vector.octets);
   // Octets that standard mode codes otherwise.
   std::ifstream conformance(QUORVA_TEST_DATA "/../docs/conformance.md");
   static const std::regex row(R"(\| `(TS\w+)` \|.*\| `([0-9A-F ]+)` \|[^|]*\|[^|]*\|)");
   std::smatch cells;
   for (std::string line; std::getline(conformance, line);)
      if (std::regex_match(line, cells, row) && quorvaFindType(cells[1].str().c_str()) != nullptr)
         all.emplace_back(cells[1], octetsFromHex(std::regex_replace(cells[2].str(), std::regex(" "), "")));
   size_t tried = 0;
   for (auto& [name, octets] : all) {
      SCOPED_TRACE(name + (" " + hexFromOctets(octets)));
      const QuorvaType& type = *quorvaFindType(name.c_str());
      Capture capture(kTextRoom);
      rtxCtxtSetFlag(&capture.ctxt, GetParam());
      Room place(type, 0);
      if (decode(capture.ctxt, type, octets, place.get()) != 0) continue;
      const Coded again = encode(capture.ctxt, type, place.get());
      comesBack(capture, type, place.get(), again.status < 0 ? "" : hexFromOctets(again.octets));
      ++tried;
   }
   EXPECT_GT(tried, 1100u);
}

// The same value with the members of each object in reverse, and blanks between them.
std::string reversed(const std::string& json, size_t& at) {
   const char open = json[at];
   if (open == '"') {
      const size_t begin = at++;
      while (json[at] != '"') at += json[at] == '\\' ? 2 : 1;
      return json.substr(begin, ++at - begin);
   }
   if (open != '{' && open != '[') {
      const size_t begin = at;
      while (at < json.size() && std::string(",]}").find(json[at]) == std::string::npos) ++at;
      return json.substr(begin, at - begin);
   }
   std::string all;
   for (++at; json[at] != ']' && json[at] != '}';) {
      if (json[at] == ',') ++at;
      std::string one = reversed(json, at);
      if (open == '{') one += " :\n" + reversed(json, ++at);
      const std::string comma = all.empty() ? "" : "\t,";
      all = open == '{' ? one + comma + all : all + comma + one;
   }
   return open + all + json[at++];
}

// Where a field steers a choice, the one that it steers comes first then.
TEST(Json, MembersComeInAnyOrder) {
   for (auto* type : allTypes()) {
      if (type->sample == nullptr) continue;
      SCOPED_TRACE(type->name);
      Capture capture(kTextRoom);
      const std::string json = toJson(*type, type->sample(&capture.ctxt));
      size_t at = 0;
      const std::string backwards = ' ' + reversed(json, at) + "\r\n";
      Room place(*type, 0xA5);
      QuorvaJsonFault fault;
      ASSERT_EQ(quorvaFromJson(&capture.ctxt, type, place.get(), backwards.data(), backwards.size(), &fault),
                0)
            << fault.path << ": " << fault.reason << " at " << fault.offset << " of " << backwards;
      EXPECT_EQ(toJson(*type, place.get()), json);
   }
}

TEST(Json, FaultsTellTheirPlace) {
   const struct {
      const char *type, *json;
      int status;
      size_t offset;
      const char* path;
   } cases[] = {
         {"TS24301IE_EMMCause", "\"illegalUE\"", 0, 0, ""},
         {"TS24301IE_EMMCause", "3", 0, 0, ""},
         {"TS24301IE_EMMCause", "\"illegal\\u0055E\"", 0, 0, ""},
         {"TS24301IE_EMMCause", "4294967295", 0, 0, ""},
         {"TS24301IE_EMMCause", "4294967296", RTX_E_OVERFLOW, 0, ""},
         {"TS24301IE_EMMCause", "99999999999999999999999", RTX_E_OVERFLOW, 0, ""},
         {"TS24301IE_EMMCause", " \"nothing\"", RTX_E_BAD_ENUM, 1, ""},
         {"TS24301IE_EMMCause", "03", RTX_E_BAD_FORMAT, 0, ""},
         {"TS24301IE_EMMCause", "3.0", RTX_E_BAD_VALUE, 0, ""},
         {"TS24301IE_EMMCause", "-3", RTX_E_BAD_VALUE, 0, ""},
         {"TS24301IE_EMMCause", "true", RTX_E_VALUE_TYPE, 0, ""},
         {"TS24301IE_EMMCause", "3 4", RTX_E_BAD_FORMAT, 2, ""},
         {"TS24301IE_EMMCause", "", RTX_E_BAD_FORMAT, 0, ""},
         {"TS24301IE_EMMCause", "\"illegalUE", RTX_E_BAD_FORMAT, 10, ""},
         {"TS24301IE_EMMCause", "\"illegal\\q\"", RTX_E_BAD_FORMAT, 9, ""},
         {"TS24301IE_NASMessageContainer", "\"0aF0\"", 0, 0, ""},
         {"TS24301IE_NASMessageContainer", "\"0a0\"", RTX_E_BAD_HEX, 0, ""},
         {"TS24301IE_NASMessageContainer", "\"0g\"", RTX_E_BAD_HEX, 0, ""},
         {"TS24301IE_PartialTrkAreaIdent1", "{\"tac\":\"0001\"}", 0, 0, ""},
         {"TS24301IE_PartialTrkAreaIdent1", "{\"tac\":\"000102\"}", RTX_E_CONSTRAINT, 7, "tac"},
         {"TS24301IE_PartialTrkAreaIdent1", "{\"tac\":\"0001\",}", RTX_E_BAD_FORMAT, 14, ""},
         {"TS24301IE_PartialTrkAreaIdent1", "{\"tac\":\"0001\"", RTX_E_BAD_FORMAT, 13, ""},
         {"TS24301IE_PartialTrkAreaIdent1", "{\"tac\" \"0001\"}", RTX_E_BAD_FORMAT, 7, ""},
         {"TS24301IE_PartialTrkAreaIdent1", "{tac:1}", RTX_E_BAD_FORMAT, 1, ""},
         {"TS24301IE_PartialTrkAreaIdent1", "{\"mcc_mnc\":{\"mcc\":\"001\",\"mnc\":\"0101\"}}",
          RTX_E_CONSTRAINT, 30, "mcc_mnc.mnc"},
         {"TS24301IE_PartialTrkAreaIdent1", "{\"mcc_mnc\":{\"mcc\":\"\xff\"}}", RTX_E_BAD_UTF8, 18,
          "mcc_mnc.mcc"},
         {"TS24301IE_PartialTrkAreaIdent1", "{\"mcc_mnc\":{\"mcc\":{\"hex\":\"ff\"}}}", 0, 0, ""},
         {"TS24301IE_PartialTrkAreaIdent1", "{\"mcc_mnc\":\n {\"mcc\":{\"hax\":\"ff\"}}}", RTX_E_UNKNOWN_NAME,
          21, "mcc_mnc.mcc"},
         {"TS24301IE_TrackingAreaIdentListItem", "{\"tac\":1}", RTX_E_UNKNOWN_NAME, 1, "tac"},
         {"TS24301IE_TrackingAreaIdentListItem", "{\"typeOfList\":1,\"typeOfList\":1}", RTX_E_BAD_FORMAT, 16,
          "typeOfList"},
         {"TS24301IE_TrackingAreaIdentListItem",
          "{\"elements\":{\"partTrkIdentList1\":{\"tac\":\"0001\"}},\"typeOfList\":1}", 0, 0, ""},
         {"TS24301IE_TrackingAreaIdentListItem", "{\"elements\":{\"partTrkIdentList0\":{}},\"typeOfList\":1}",
          RTX_E_BAD_CHOICE, 13, "partTrkIdentList0"},
         {"TS24301IE_TrackingAreaIdentListItem",
          "{\"typeOfList\":1,\"elements\":{\"partTrkIdentList1\":{},\"partTrkIdentList1\":{}}}",
          RTX_E_BAD_CHOICE, 51, "elements.partTrkIdentList1"},
         {"TS24008IE_PLMNList", "[{},{\"mcc\":1}]", RTX_E_VALUE_TYPE, 11, "[1].mcc"},
         {"TS24008IE_PLMNList", "[{},{},{},{},{},{},{},{},{},{},{},{},{},{},{},{}]", RTX_E_CONSTRAINT, 46,
          ""},
         {"TS24008IE_PLMNList", "{}", RTX_E_VALUE_TYPE, 0, ""},
         {"TS24301Msg_PDU", "{\"data\":{\"obj_AttachReject\":{},\"t\":3}}", 0, 0, ""},
         {"TS24301Msg_PDU", "{\"data\":{\"t\":2,\"obj_AttachReject\":{}}}", RTX_E_BAD_CHOICE, 15,
          "data.obj_AttachReject"},
         {"TS24301Msg_PDU", "{\"data\":{\"obj_AttachReject\":{},\"t\":2}}", RTX_E_BAD_CHOICE, 35, "data.t"},
         {"TS24301Msg_PDU", "{\"data\":{\"obj_AttachReject\":{\"emmCause\":[]}}}", RTX_E_VALUE_TYPE, 40,
          "data.obj_AttachReject.emmCause"},
   };
   for (const auto& c : cases) {
      SCOPED_TRACE(c.json);
      Capture capture;
      const QuorvaType& type = *quorvaFindType(c.type);
      Room place(type, 0xA5);
      // At the end of its memory, for the sanitizers.
      const std::vector<char> text(c.json, c.json + std::strlen(c.json));
      QuorvaJsonFault fault;
      EXPECT_EQ(quorvaFromJson(&capture.ctxt, &type, place.get(), text.data(), text.size(), &fault),
                c.status);
      EXPECT_EQ(fault.offset, c.offset) << fault.reason;
      EXPECT_STREQ(fault.path, c.path);
      EXPECT_EQ(fault.reason == nullptr, c.status == 0);
      EXPECT_TRUE(c.status == 0 || fault.line == (std::strchr(c.json, '\n') == nullptr ? 1u : 2u));
      EXPECT_EQ(rtxErrGetErrorCnt(&capture.ctxt), 0u);
   }
}

// What no member tells is as in a new value.
TEST(Json, MissingMembersAreInTheirInitialState) {
   for (auto* type : allTypes()) {
      if (type->init == nullptr) continue;
      SCOPED_TRACE(type->name);
      Capture capture(kTextRoom);
      void* fresh = quorvaNew(&capture.ctxt, type);
      const std::string json = toJson(*type, fresh);
      if (json[0] != '{') continue;
      Room place(*type, 0xA5);
      ASSERT_EQ(quorvaFromJson(&capture.ctxt, type, place.get(), "{}", 2, nullptr), 0);
      EXPECT_EQ(toJson(*type, place.get()), json);
   }
}

// Texts of any octets and characters come back, by way of any reader of JSON.
TEST(Json, TextsHoldWhatTheyMust) {
   const struct {
      const char *type, *hex, *json;
   } cases[] = {
         {"TS24008IE_AccessPointName", "03024142", "\"AB\""},
         {"TS24008IE_AccessPointName", "040322095c", "\"\\\"\\u0009\\\\\""},
         {"TS24008IE_AccessPointName", "0403c3a441",
          "\"\xc3\xa4"
          "A\""},
         {"TS24008IE_AccessPointName", "0403c341ff", "{\"hex\":\"c341ff\"}"},
   };
   for (const auto& c : cases) {
      SCOPED_TRACE(c.hex);
      const QuorvaType& type = *quorvaFindType(c.type);
      Capture capture;
      Room place(type, 0);
      Octets octets = octetsFromHex(c.hex);
      ASSERT_EQ(decode(capture.ctxt, type, octets, place.get()), 0);
      EXPECT_EQ(toJson(type, place.get()), c.json);
      comesBack(capture, type, place.get(), c.hex);
   }
   const struct {
      std::vector<uint16_t> units;
      const char* json;
   } names[] = {
         {{0xE4, 0xD83D, 0xDE00}, "\"\xc3\xa4\xf0\x9f\x98\x80\""},
         {{0xDE00, 0xD83D}, "{\"hex\":\"de00d83d\"}"},
         {{0xD83D, 0x41}, "{\"hex\":\"d83d0041\"}"},
         {{'"', '\n'}, "\"\\\"\\u000a\""},
   };
   for (auto& c : names) {
      SCOPED_TRACE(c.json);
      const QuorvaType& type = *quorvaFindType("TS24008IE_NetworkName");
      Capture capture;
      TS24008IE_NetworkName name = {};
      name.codingScheme = TS24008IE_NetworkName_codingScheme_ucs2;
      name.textString.u.ucs2.nchars = static_cast<uint32_t>(c.units.size());
      name.textString.u.ucs2.data = const_cast<uint16_t*>(c.units.data());
      EXPECT_NE(toJson(type, &name).find(std::string("{\"ucs2\":") + c.json + "}"), std::string::npos)
            << toJson(type, &name);
      const std::string octets = hexFromOctets(encode(capture.ctxt, type, &name).octets);
      comesBack(capture, type, &name, octets);
      // As a path's text too, where surrogates alone stand as three octets.
      QuorvaItem item;
      ASSERT_EQ(quorvaGet(&capture.ctxt, &type, &name, "textString.ucs2", &item), 0);
      ASSERT_EQ(quorvaSet(&capture.ctxt, &type, &name, "textString.ucs2", item.text), 0);
      EXPECT_EQ(hexFromOctets(encode(capture.ctxt, type, &name).octets), octets);
   }
}

// The encoder goes by the first octet, as it must; what it finds behind the filters is nobody else's.
TEST(Json, PacketFiltersHaveRoomForAsManyAsTheFirstOctetSays) {
   const QuorvaType& type = *quorvaFindType("TS24008IE_TFT");
   for (const char* filters : {"\"filterItems\":[]", "\"filterItems\":[{}]", "\"identifiers\":\"01\""}) {
      Capture capture(kTextRoom);
      Room place(type, 0);
      const std::string text = std::string("{\"octet1\":{\"tftOperationCode\":") +
                               (filters[1] == 'f' ? "1" : "5") +
                               ",\"numPacketFilters\":15},\"packetFilterList\":{" + filters + "}}";
      ASSERT_EQ(quorvaFromJson(&capture.ctxt, &type, place.get(), text.data(), text.size(), nullptr), 0);
      const Coded coded = encode(capture.ctxt, type, place.get());
      EXPECT_EQ(coded.status, 0) << text;
      EXPECT_EQ(std::count(coded.octets.begin() + 2, coded.octets.end(), 0) + (filters[1] == 'i'),
                static_cast<std::ptrdiff_t>(coded.octets.size() - 2));
   }
}

// Wherever the room ends the text is cut there, and its whole length told.
TEST(Json, TextsAreCutWhereTheirRoomEnds) {
   const QuorvaType& type = *quorvaFindType("TS24301IE_UENetworkCapability");
   Capture capture;
   const void* sample = type.sample(&capture.ctxt);
   const std::string json = toJson(type, sample);
   for (size_t size = 0; size <= json.size() + 1; ++size) {
      std::vector<char> room(size);
      size_t length = 0;
      EXPECT_EQ(quorvaToJson(nullptr, &type, sample, room.data(), size, &length),
                size > json.size() ? 0 : RTX_E_TOO_SMALL);
      EXPECT_EQ(length, json.size());
      if (size > 0) {
         EXPECT_EQ(std::string(room.data()), json.substr(0, size - 1));
      }
   }
   std::string pieces;
   const auto put = [](void* user, const char* text, size_t size) {
      static_cast<std::string*>(user)->append(text, size);
      return 0;
   };
   EXPECT_EQ(quorvaWriteJson(nullptr, &type, sample, put, &pieces), 0);
   EXPECT_EQ(pieces, json);
   EXPECT_EQ(quorvaWriteJson(
                   nullptr, &type, sample, [](void*, const char*, size_t) { return -30; }, nullptr),
             -30);
}

TEST(Json, MembersOfAnObjectAreFound) {
   const std::string text = R"( {"a" : [1,{"c":"}"}] , "b\"":true,"c":"x\\","d":{} } )";
   const struct {
      const char *name, *value;
   } cases[] = {{"a", R"([1,{"c":"}"}])"}, {"b\"", "true"}, {"c", R"("x\\")"}, {"d", "{}"}};
   const char* member = nullptr;
   size_t size = 0;
   for (const auto& c : cases) {
      EXPECT_EQ(quorvaJsonMember(text.data(), text.size(), c.name, &member, &size), 0) << c.name;
      EXPECT_EQ(std::string(member, size), c.value);
   }
   EXPECT_EQ(quorvaJsonMember(text.data(), text.size(), "e", &member, &size), RTX_E_UNKNOWN_NAME);
   for (const char* bad : {"", "[]", "{\"a\":", "{\"a\":[}", "{\"a\"}", "{\"a\":1", "{\"a\":\"", "{\"a\":]}"})
      EXPECT_EQ(quorvaJsonMember(bad, std::strlen(bad), "e", &member, &size), RTX_E_BAD_FORMAT) << bad;
}

} // namespace
