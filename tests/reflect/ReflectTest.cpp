// Fields by their names: what a type has, and what sets and gets of paths do.

#include "quorva/reflect.h"
#include "modules/records.h"
#include "quorva/json.h"
#include "quorva/modules.h"
#include "support/context.h"

#include <functional>
#include <map>

using namespace quorva::test;
using quorva_test::Capture;

namespace {

const QuorvaType& type(const char* name) {
   return *quorvaFindType(name);
}

using Leaves = std::map<std::string, std::string>; // text by path

Leaves leavesOf(RtxContext* ctxt, const QuorvaType& type, const void* value) {
   Leaves leaves;
   QuorvaVisitor visitor = {};
   visitor.user = &leaves;
   visitor.leaf = [](void* user, const QuorvaItem* item) {
      EXPECT_TRUE(static_cast<Leaves*>(user)->emplace(item->path, item->text).second) << item->path;
      return 0;
   };
   EXPECT_EQ(quorvaVisit(ctxt, &type, value, &visitor), 0);
   return leaves;
}

TEST(Reflect, TellsWhatFieldsAre) {
   const struct {
      const char *type, *field;
      QuorvaKind kind;
      uint32_t bits, capacity;
      const char *named, *doc;
   } cases[] = {
         {"TS24301Msg_AttachReject", "emmCause", QUORVA_ENUM, 8, 0, "TS24301IE_EMMCause",
          "EMM cause, TS 24.301, 9.9.3.9"},
         {"TS24301Msg_AttachReject", "esmMsgCont", QUORVA_RECORD, 0, 0, "TS24301Msg_ESMMessageContainer",
          "ESM message container, TS 24.301, 9.9.3.15"},
         {"TS24301IE_UENetworkCapability", "octet6", QUORVA_RECORD, 0, 0, "", ""},
         {"TS24301IE_UENetworkCapability", "spare4", QUORVA_OCTETS, 0, 0, "", ""},
         {"TS24301IE_NASMessageContainer", "", QUORVA_OCTETS, 0, 251, "", ""},
         {"TS24301IE_PartialTrkAreaIdent1", "tac", QUORVA_OCTETS, 16, 2, "TS24301IE_TrackingAreaCode",
          "Tracking area code, in tracking area identity, TS 24.301, 9.9.3.32"},
         {"TS24008IE_PLMNList", "", QUORVA_LIST, 0, 15, "", ""},
         {"TS24301Msg_PDU", "data", QUORVA_CHOICE, 0, 0, "", ""},
         {"TS24301Msg_DetachRequest", "", QUORVA_CHOICE, 0, 0, "", ""},
   };
   for (const auto& c : cases) {
      SCOPED_TRACE(c.type + std::string(".") + c.field);
      bool found = false;
      for (const QuorvaField& field : fieldsOf(type(c.type))) {
         if (std::strcmp(field.name, c.field) != 0) continue;
         found = true;
         EXPECT_EQ(field.kind, c.kind);
         EXPECT_EQ(field.bits, c.bits);
         EXPECT_EQ(field.capacity, c.capacity);
         EXPECT_STREQ(field.type == nullptr ? "" : field.type->name, c.named);
         EXPECT_STREQ(field.doc, c.doc);
      }
      EXPECT_TRUE(found);
   }
}

// Every field has its place in the record, and nothing else stands there but what shares a union with it.
TEST(Reflect, FieldsLieInTheirRecords) {
   std::function<void(const QuorvaField&, size_t, size_t)> check = [&](const QuorvaField& field, size_t begin,
                                                                       size_t end) {
      SCOPED_TRACE(field.name);
      if (field.size != 0) {
         EXPECT_GE(field.offset, begin);
         EXPECT_LE(field.offset + field.size, end);
      }
      const bool inHere = field.type == nullptr && field.kind != QUORVA_LIST;
      if (!inHere) return;
      for (const QuorvaField& inner : fieldsIn(field)) check(inner, begin, end);
   };
   size_t count = 0;
   for (auto* each : allTypes()) {
      SCOPED_TRACE(each->name);
      for (const QuorvaField& field : fieldsOf(*each)) check(field, 0, each->size), ++count;
      EXPECT_NE(std::string(quorvaDoc(each)), "");
   }
   EXPECT_GT(count, 3000u);
   EXPECT_EQ(quorvaFields(nullptr, nullptr, 0), 0u);
   const QuorvaType stranger = *allTypes()[0];
   EXPECT_EQ(quorvaFields(&stranger, nullptr, 0), 0u);
}

TEST(Reflect, TellsElementsOfMessagesAndArmsOfChoices) {
   const auto fields = fieldsOf(type("TS24301Msg_AttachReject"));
   ASSERT_EQ(fields.size(), 8u);
   EXPECT_EQ(fields[0].iei, QUORVA_NONE);
   EXPECT_EQ(fields[0].presenceBit, QUORVA_NONE);
   EXPECT_EQ(fields[1].iei, 0x78u);
   EXPECT_EQ(fields[4].iei, 0xAu);
   EXPECT_NE(fields[4].presenceBit, QUORVA_NONE);
   EXPECT_NE(fields[4].groupBit, QUORVA_NONE);
   size_t count = 0;
   const RtxEnumItem* names = quorvaEnumNames(&type("TS24301IE_EMMCause"), &count);
   EXPECT_EQ(names, TS24301IE_EMMCause_ENUMTAB);
   EXPECT_EQ(count, fields[0].nameCount);
   for (const QuorvaField& field : fieldsOf(type("TS24301Msg_PDU"))) {
      if (field.kind != QUORVA_CHOICE || std::strcmp(field.name, "data") != 0) continue;
      for (const QuorvaField& arm : fieldsIn(field)) {
         if (std::strcmp(arm.name, "obj_AttachReject") != 0) continue;
         EXPECT_STREQ(arm.type->name, "TS24301Msg_AttachReject");
         EXPECT_EQ(arm.size, sizeof(void*));
         EXPECT_EQ(quorvaFieldsIn(&arm, nullptr, 0), 8u);
      }
   }
   const uint8_t emm[] = {0x07, 0x44, 0x02}, sms[] = {0x09}, none[] = {0x01};
   EXPECT_EQ(quorvaTypeOf(emm, 3, QUORVA_UPLINK), &type("TS24301Msg_PDU"));
   EXPECT_EQ(quorvaTypeOf(sms, 1, QUORVA_DOWNLINK), &type("TS24011Msg_CP_PDU"));
   const uint8_t radio[] = {0x06, 0x35};
   EXPECT_EQ(quorvaTypeOf(radio, 2, QUORVA_UPLINK), &type("TS44018Msg_UL_DCCH_PDU"));
   EXPECT_EQ(quorvaTypeOf(radio, 2, QUORVA_DOWNLINK), &type("TS44018Msg_DL_DCCH_PDU"));
   EXPECT_EQ(quorvaTypeOf(none, 1, QUORVA_DOWNLINK), nullptr);
   EXPECT_EQ(quorvaTypeOf(none, 0, QUORVA_DOWNLINK), nullptr);
}

// Other values for a leaf.
std::vector<std::string> valuesFor(const QuorvaItem& item) {
   const std::string text = item.text;
   switch (item.kind) {
   case QUORVA_FLAG: return {"false", "true", text};
   case QUORVA_NUMBER:
   case QUORVA_ENUM: return {"0", "1", text};
   case QUORVA_OCTETS: return {std::string(text.size(), '0'), std::string(text.size(), 'f'), text};
   case QUORVA_BITS: {
      const size_t digits = std::min(text.find('/'), text.size());
      return {std::string(digits, '0') + text.substr(digits), text, text};
   }
   case QUORVA_TEXT:
   case QUORVA_UNITS: return {"1", "21", text};
   default: return {""};
   }
}

// Of each sample leaves to each of three values: no other one changes, unless the number chooses an arm.
TEST(Reflect, SetsOneLeafAlone) {
   size_t tried = 0, choosing = 0;
   for (auto* each : allTypes()) {
      if (each->sample == nullptr) continue;
      SCOPED_TRACE(each->name);
      Capture capture(kTextRoom);
      RtxContext* ctxt = &capture.ctxt;
      void* value = each->sample(ctxt);
      Leaves before = leavesOf(ctxt, *each, value);
      // Of the largest types some leaves stand for their like.
      size_t number = 0;
      const size_t step = before.size() / 40 + 1;
      for (const auto& [path, text] : before) {
         if (number++ % step != 0) continue;
         QuorvaItem item;
         ASSERT_EQ(quorvaGet(ctxt, each, value, path.c_str(), &item), 0) << path;
         EXPECT_EQ(item.text, text) << path;
         for (const std::string& wanted : valuesFor(item)) {
            const int status = quorvaSet(ctxt, each, value, path.c_str(), wanted.c_str());
            ASSERT_EQ(status, 0) << path << " to '" << wanted << "'";
            Leaves after = leavesOf(ctxt, *each, value);
            ASSERT_EQ(quorvaGet(ctxt, each, value, path.c_str(), &item), 0);
            EXPECT_TRUE(item.text == wanted || std::to_string(item.number) == wanted ||
                        item.kind == QUORVA_BITS)
                  << path << " is " << item.text;
            after[path] = text;
            ++tried;
            if (after != before) {
               ++choosing;
               // It chose another arm: what that begins with is not what the last one left.
               for (const auto& [other, otherText] : after)
                  if (before.count(other) != 0 && before[other] != otherText)
                     ADD_FAILURE() << path << " changes " << other;
               value = each->sample(ctxt);
            }
         }
         if (quorvaSet(ctxt, each, value, path.c_str(), text.c_str()) < 0) value = each->sample(ctxt);
      }
   }
   EXPECT_GT(tried, 10000u);
   EXPECT_GT(choosing, 50u);
}

// All of a sample set leaf by leaf into a new value is the sample.
TEST(Reflect, BuildsEverySampleFromItsLeaves) {
   size_t same = 0;
   for (auto* each : allTypes()) {
      if (each->sample == nullptr || each->encode == nullptr) continue;
      SCOPED_TRACE(each->name);
      Capture capture(kTextRoom);
      RtxContext* ctxt = &capture.ctxt;
      void* sample = each->sample(ctxt);
      std::vector<std::pair<std::string, std::string>> leaves;
      QuorvaVisitor visitor = {};
      visitor.user = &leaves;
      visitor.leaf = [](void* user, const QuorvaItem* item) {
         static_cast<decltype(leaves)*>(user)->emplace_back(item->path, item->text);
         return 0;
      };
      visitor.begin = visitor.leaf;
      ASSERT_EQ(quorvaVisit(ctxt, each, sample, &visitor), 0);
      void* value = quorvaNew(ctxt, each);
      for (const auto& [path, text] : leaves)
         EXPECT_EQ(quorvaSet(ctxt, each, value, path.c_str(), text.c_str()), 0) << path << " to " << text;
      std::string octets = hexFromOctets(encode(*ctxt, *each, sample).octets);
      EXPECT_EQ(hexFromOctets(encode(*ctxt, *each, value).octets), octets);
      ++same;
   }
   EXPECT_GT(same, 800u);
}

TEST(Reflect, PathsLeadThereOrTellWhyNot) {
   Capture capture(kTextRoom);
   RtxContext* ctxt = &capture.ctxt;
   const QuorvaType& pdu = type("TS24301Msg_PDU");
   void* value = quorvaNew(ctxt, &pdu);
   const struct {
      const char *path, *set; // null: only got
      int status;
      const char* text;
   } cases[] = {
         {"data.obj_AttachReject.emmCause", nullptr, RTX_E_NOT_INIT, ""},
         {"data.obj_AttachReject.emmCause", "illegalUE", 0, "illegalUE"},
         {"protoDiscr", nullptr, 0, "epsMobMgmt"},
         {"msgType", nullptr, 0, "68"},
         {"data.t", nullptr, 0, "3"},
         {"data.obj_AttachReject.emmCause", "0x11", 0, "networkFailure"},
         {"data.u.obj_AttachReject.emmCause", "300", 0, "300"},
         {"data.obj_AttachReject.emmCause", "illegal", RTX_E_BAD_ENUM, "300"},
         {"data.obj_AttachReject.emmCause", "99999999999", RTX_E_OVERFLOW, "300"},
         {"data.obj_AttachReject.emmCause", "12x", RTX_E_BAD_VALUE, "300"},
         {"data.obj_AttachReject.extEMMCause.eutranAllowed", "maybe", RTX_E_UNKNOWN_NAME, ""},
         {"data.obj_AttachReject.t3346Value.value", nullptr, RTX_E_NOT_INIT, ""},
         {"data.obj_AttachReject.forbiddenTAIsRoaming", "", 0, ""},
         {"data.obj_AttachReject.nothing", nullptr, RTX_E_UNKNOWN_NAME, ""},
         {"data.obj_AttachReject.emmCause.more", nullptr, RTX_E_UNKNOWN_NAME, ""},
         {"data.obj_AttachReject.", nullptr, RTX_E_BAD_FORMAT, ""},
         {"data..obj_AttachReject", nullptr, RTX_E_BAD_FORMAT, ""},
         {".data", nullptr, RTX_E_BAD_FORMAT, ""},
         {"data.obj_AttachReject[0]", nullptr, RTX_E_UNKNOWN_NAME, ""},
         {"data.obj_AttachReject[x]", nullptr, RTX_E_BAD_FORMAT, ""},
         {"", nullptr, 0, ""},
   };
   for (const auto& c : cases) {
      SCOPED_TRACE(c.path);
      QuorvaItem item = {};
      int status = c.set == nullptr ? 0 : quorvaSet(ctxt, &pdu, value, c.path, c.set);
      const int got = quorvaGet(ctxt, &pdu, value, c.path, &item);
      if (status == 0) status = got;
      EXPECT_EQ(status, c.status);
      EXPECT_STREQ(item.text == nullptr ? "" : item.text, c.text);
   }
   EXPECT_EQ(quorvaSetNumber(ctxt, &pdu, value, "data.obj_AttachReject.emmCause", 3), 0);
   EXPECT_EQ(quorvaSetNumber(ctxt, &pdu, value, "data.obj_AttachReject", 3), RTX_E_VALUE_TYPE);
   EXPECT_EQ(quorvaRemove(ctxt, &pdu, value, "data.obj_AttachReject.emmCause"), RTX_E_CANNOT_DO);
   EXPECT_EQ(quorvaRemove(ctxt, &pdu, value, "data.obj_AttachReject.forbiddenTAIsRoaming"), 0);
   EXPECT_EQ(quorvaRemove(ctxt, &pdu, value, "data.obj_AttachReject.forbiddenTAIsRoaming"), 0);
   EXPECT_EQ(quorvaSet(ctxt, &pdu, value, "data.obj_AttachReject.extEMMCause", ""), 0);
   EXPECT_EQ(quorvaSet(ctxt, &pdu, value, "l3HdrOpts.secHdr", "0"), 0);
   EXPECT_EQ(hexFromOctets(encode(*ctxt, pdu, value).octets), "074403a0");
   // Another message takes the place of the last.
   EXPECT_EQ(quorvaSet(ctxt, &pdu, value, "data.obj_EMMInformation.fullNameForNetwork", ""), 0);
   EXPECT_EQ(leavesOf(ctxt, pdu, value)["msgType"], "97");
}

// The encoder of these octets goes by the count of the list.
TEST(Reflect, ListThatIsTakenOutIsNotEncoded) {
   Capture capture;
   RtxContext* ctxt = &capture.ctxt;
   const QuorvaType& type = *quorvaFindType("TS24008IE_BearerCapability");
   void* value = quorvaNew(ctxt, &type);
   ASSERT_EQ(quorvaSet(ctxt, &type, value, "octet3a", ""), 0);
   const std::string without = hexFromOctets(encode(*ctxt, type, value).octets);
   ASSERT_EQ(quorvaSet(ctxt, &type, value, "octet3b[0]", ""), 0);
   EXPECT_NE(hexFromOctets(encode(*ctxt, type, value).octets), without);
   EXPECT_EQ(quorvaRemove(ctxt, &type, value, "octet3b"), 0);
   EXPECT_EQ(hexFromOctets(encode(*ctxt, type, value).octets), without);
}

// A member's bit alone does not get it encoded.
TEST(Reflect, SetsTheBitOfTheGroupToo) {
   TestContext ctxt;
   const QuorvaType& reject = type("TS24301Msg_AttachReject");
   auto* value = static_cast<TS24301Msg_AttachReject*>(quorvaNew(ctxt, &reject));
   value->emmCause = TS24301IE_EMMCause_illegalUE;
   value->m.t3346ValuePresent = 1;
   EXPECT_EQ(encode(*ctxt, reject, value).octets, std::vector<uint8_t>{3});
   EXPECT_EQ(quorvaSet(ctxt, &reject, value, "t3346Value.value.timerValue", "4"), 0);
   EXPECT_EQ(value->m.group1Present, 1);
   EXPECT_EQ(encode(*ctxt, reject, value).octets, (std::vector<uint8_t>{3, 0x5F, 1, 4}));
}

TEST(Reflect, ListsGrowAndShrink) {
   const struct {
      const char *type, *list, *count;
   } cases[] = {{"TS24008IE_PLMNList", "", "n"},
                {"TS24008IE_MSRadioAccessCapability", "additionalRecs", "additionalRecs.n"}};
   for (const auto& c : cases) {
      SCOPED_TRACE(c.type);
      Capture capture(kTextRoom);
      RtxContext* ctxt = &capture.ctxt;
      void* value = quorvaNew(ctxt, &type(c.type));
      const auto set = [&](const std::string& path, const char* text) {
         return quorvaSet(ctxt, &type(c.type), value, path.c_str(), text);
      };
      const std::string list = c.list;
      EXPECT_EQ(set(list + "[1]", ""), RTX_E_INDEX);
      EXPECT_EQ(set(list + "[0]", ""), 0);
      EXPECT_EQ(set(list.empty() ? "elem[1]" : list + ".elem[1]", ""), 0);
      EXPECT_EQ(set(c.count, "5"), 0);
      EXPECT_EQ(set(list + "[4]", ""), 0);
      EXPECT_EQ(set(c.count, "1"), 0);
      QuorvaItem item;
      EXPECT_EQ(quorvaGet(ctxt, &type(c.type), value, c.list, &item), 0);
      EXPECT_EQ(item.count, 1u);
      EXPECT_EQ(quorvaGet(ctxt, &type(c.type), value, (list + "[1]").c_str(), &item), RTX_E_INDEX);
      EXPECT_EQ(set(c.count, "50000000000"), RTX_E_CONSTRAINT);
   }
}

// Names beside numbers that texts show as digits.
TEST(Reflect, NumbersHaveMeanings) {
   Capture capture(kTextRoom);
   RtxContext* ctxt = &capture.ctxt;
   const QuorvaType& pdu = type("TS24501Msg_PDU");
   void* value = quorvaNew(ctxt, &pdu);
   const auto set = [&](const char* path, const char* text) {
      return quorvaSet(ctxt, &pdu, value, path, text);
   };
   constexpr char kCause[] = "data.obj_MMStatus5G.cause";
   EXPECT_EQ(set(kCause, "illegalUE"), 0);
   QuorvaItem item;
   EXPECT_EQ(quorvaGet(ctxt, &pdu, value, kCause, &item), 0);
   EXPECT_EQ(item.number, unsigned{TS24501IE_MMCause_illegalUE});
   EXPECT_STREQ(item.text, "3");
   EXPECT_STREQ(item.meaning, "illegalUE");
   size_t count = 0;
   EXPECT_EQ(quorvaEnumNames(item.type, &count), fieldsOf(*item.type)[0].names);
   EXPECT_EQ(count, 49u);
   EXPECT_EQ(set(kCause, "250"), 0);
   EXPECT_EQ(quorvaGet(ctxt, &pdu, value, kCause, &item), 0);
   EXPECT_STREQ(item.meaning, "");
   EXPECT_EQ(set(kCause, "noSuchCause"), RTX_E_BAD_ENUM);
   // A title is told, but is no value; and not that of another message than the one that is there.
   EXPECT_EQ(set("msgType", "5GMM Status"), RTX_E_BAD_VALUE);
   static_cast<TS24501Msg_PDU*>(value)->msgType = 0x41;
   EXPECT_EQ(quorvaGet(ctxt, &pdu, value, "msgType", &item), 0);
   EXPECT_STREQ(item.meaning, "");
}

TEST(Reflect, EveryMessageHasATitle) {
   size_t count = 0, seen = 0;
   const QuorvaType* types = quorvaTypes(&count);
   for (size_t i = 0; i < count; ++i) {
      const std::string name = types[i].name;
      if (!name.ends_with("PDU") && !name.ends_with("PDU_SM")) continue;
      for (const QuorvaField& field : fieldsOf(types[i])) {
         if (field.kind != QUORVA_CHOICE || std::strcmp(field.name, "data") != 0) continue;
         for (const QuorvaField& arm : fieldsIn(field)) {
            SCOPED_TRACE(name + " " + arm.name);
            Capture capture(kTextRoom);
            void* value = quorvaNew(&capture.ctxt, &types[i]);
            // What is a value in itself becomes there with it.
            const char* first = arm.kind == QUORVA_ENUM     ? arm.names[0].name
                                : arm.kind == QUORVA_NUMBER ? "1"
                                                            : "";
            EXPECT_EQ(quorvaSet(&capture.ctxt, &types[i], value, (std::string("data.") + arm.name).c_str(),
                                first),
                      0);
            QuorvaItem item;
            EXPECT_EQ(quorvaGet(&capture.ctxt, &types[i], value, "msgType", &item), 0);
            // "Attach Request"; no clause, no sentence.
            EXPECT_TRUE(std::isupper(*item.meaning) || std::isdigit(*item.meaning)) << item.meaning;
            EXPECT_EQ(std::strpbrk(item.meaning, ".,;()$"), nullptr) << item.meaning;
            ++seen;
         }
      }
   }
   EXPECT_GT(seen, 300u);
}

} // namespace

// An arm that standard mode has for itself is there once its number says so, and nobody takes the octets of
// the one before for it.
TEST(Reflect, NumbersSelectArmsOfStandardMode) {
   const QuorvaType& type = *quorvaFindType("TS24501IE_RelayKeyRequestParams");
   static const char kJson[] = R"({"ueIdentity": {"ruit": 0}})";
   Capture capture(kTextRoom);
   for (const bool json : {false, true}) {
      SCOPED_TRACE(json ? "JSON" : "path");
      rtxCtxtSetFlag(&capture.ctxt, RTX_CTXT_STANDARD);
      void* value = type.sample(&capture.ctxt);
      ASSERT_EQ(quorvaSet(&capture.ctxt, &type, value, "ueIdentity.ruit", "1"), 0);
      if (json)
         ASSERT_EQ(quorvaFromJson(&capture.ctxt, &type, value, kJson, sizeof kJson - 1, nullptr), 0);
      else
         ASSERT_EQ(quorvaSet(&capture.ctxt, &type, value, "ueIdentity.ruit", "0"), 0);
      rtxCtxtClearFlag(&capture.ctxt, RTX_CTXT_STANDARD);
      std::string text(4096, '#');
      ASSERT_EQ(quorvaToJson(&capture.ctxt, &type, value, text.data(), text.size(), nullptr), 0);
      EXPECT_NE(text.find("suciIdentity"), std::string::npos);
   }
}
