// The registry of types.

#include "modules/records.h"
#include "quorva/modules.h"

using namespace quorva::test;

TEST(Registry, FindsEveryTypeByItsName) {
   const auto types = allTypes();
   for (size_t i = 0; i < types.size(); ++i) {
      EXPECT_EQ(quorvaFindType(types[i]->name), types[i]) << types[i]->name;
      EXPECT_STREQ(quorvaExplain(types[i]->name), types[i]->explanation);
      EXPECT_NE(std::string(types[i]->explanation), "") << types[i]->name;
      if (i != 0) {
         EXPECT_LT(strcmp(types[i - 1]->name, types[i]->name), 0);
      }
   }
   for (const char* name : {"", "TS24301Msg", "TS24301Msg_PD", "TS24301Msg_PDU_", "zz"}) {
      EXPECT_EQ(quorvaFindType(name), nullptr) << name;
      EXPECT_EQ(quorvaExplain(name), nullptr) << name;
   }
   EXPECT_EQ(quorvaFindType(nullptr), nullptr);
   EXPECT_EQ(quorvaTypes(nullptr), types.front());
}

TEST(Registry, TellsWhatATypeLacks) {
   const QuorvaType* partial = quorvaFindType("TS24301IE_PartialTrkAreaIdent0");
   ASSERT_NE(partial, nullptr);
   EXPECT_EQ(partial->decode, nullptr);
   EXPECT_NE(partial->encode, nullptr);
   const QuorvaType* number = quorvaFindType("TS24301IE_SSCode");
   ASSERT_NE(number, nullptr);
   EXPECT_EQ(number->size, sizeof(uint8_t));
   EXPECT_EQ(number->init, nullptr);
   const QuorvaType* empty = quorvaFindType("TS24301Msg_RemoteUEReportResp");
   ASSERT_NE(empty, nullptr);
   EXPECT_EQ(empty->size, 0u);
   EXPECT_EQ(empty->sample, nullptr);
   EXPECT_EQ(quorvaFindType("TS24301Msg_PDU")->size, sizeof(TS24301Msg_PDU));
}

TEST(Registry, ATextTakesTheOctetsThatAreLeft) {
   quorva_test::Capture capture;
   const QuorvaType& type = *quorvaFindType("TS24008IE_TBCDString");
   std::vector<uint8_t> octets = {0x21, 0x43, 0xF5};
   const char* text = nullptr;
   EXPECT_GE(decode(capture.ctxt, type, octets, &text), 0);
   EXPECT_STREQ(text, "12345");
   EXPECT_EQ(textOf(capture, type, &text), "value = '12345'\n");
   const Coded coded = encode(capture.ctxt, type, &text);
   EXPECT_EQ(coded.octets, octets);
}

TEST(Registry, DigitsStayWithinTheirText) {
   const struct {
      const char* type;
      std::vector<uint8_t> octets;
      int status;
      const char* text;
   } cases[] = {
         {"TS24008IE_IMSI", {0x21, 0x43, 0x65, 0x87, 0x09, 0x21, 0x43, 0xF5}, 0, "123456789012345"},
         {"TS24008IE_IMSI", {0x21, 0x43, 0x65, 0x87, 0x09, 0x21, 0x43, 0x65}, RTX_E_CONSTRAINT, ""},
         {"TS24008IE_IMEI", std::vector<uint8_t>(100, 0x11), RTX_E_CONSTRAINT, ""},
         {"TS24008IE_TBCDString3", {0x21}, 0, "12"},
         {"TS24008IE_TBCDString3", {0x21, 0x43}, RTX_E_CONSTRAINT, ""},
   };
   for (const auto& c : cases) {
      quorva_test::Capture capture;
      const QuorvaType* type = quorvaFindType(c.type);
      ASSERT_NE(type, nullptr);
      std::vector<char> value(type->size + 8, '\0');
      value[type->size] = '!';
      std::vector<uint8_t> octets = c.octets;
      EXPECT_EQ(decode(capture.ctxt, *type, octets, value.data()), c.status) << c.type;
      EXPECT_STREQ(value.data(), c.text);
      EXPECT_EQ(value[type->size], '!') << c.type;
   }
}
