// Hand-written codecs of the Layer-3 header, digits, identities and counted classmarks.
#include "quorva/TS24007L3.h"
#include "quorva/TS24008IE.h"
#include "tests/modules/codecs.h"

#include <cstring>

using namespace quorva::test;

namespace {

TEST(L3HdrOptions, EachAlternativeAndItsBounds) {
   const struct {
      uint32_t t, value;
      const char* written;
   } cases[] = {
         {1, 5, "50"},          {1, 16, "status -16"}, {2, 3, "b0"},
         {2, 7, "f0"},          {2, 9, "f0"}, // cut to 7
         {3, 6, "60"},          {3, 1, "status -4"},   {4, 15, "f0"},
         {4, 16, "status -16"}, {0, 0, "status -9"},   {5, 0, "status -9"},
   };
   for (const auto& c : cases) {
      TestContext context;
      TS24007L3_L3HdrOptions record{};
      record.t = c.t;
      if (c.t == 2) {
         record.u.transId = {1, static_cast<uint8_t>(c.value)};
      } else if (c.t == 3) {
         record.u.epsBearerIdent = c.value;
      } else {
         record.u.skipInd = static_cast<uint8_t>(c.value);
      }
      EXPECT_EQ(encode(context, NASEnc_TS24007L3_L3HdrOptions, &record), c.written) << c.t << " " << c.value;
      if (std::string(c.written) == "status -16") {
         EXPECT_EQ(context.parms().back(), "16") << "the logged form names the value";
      }
   }
}

TEST(L3HdrOptions, DecodesAsSkipIndicatorWhateverWasEncoded) {
   TestContext context;
   TS24007L3_L3HdrOptions record{};
   ASSERT_EQ(decode(context, "6F", NASDec_TS24007L3_L3HdrOptions, &record), 0);
   EXPECT_EQ(record.t, 1u);
   EXPECT_EQ(record.u.skipInd, 6);
   EXPECT_EQ(context->bufBitsLeft, 4);
}

TEST(Digits, TextsTakeTheirCountFromTheCaller) {
   TestContext context;
   char imsi[17];
   ASSERT_EQ(decode(context, "62 02 21 43 65 87 09 F1", NASDec_TS24008IE_IMSI, imsi, 8u), 0);
   EXPECT_STREQ(imsi, "262012345678901");
   EXPECT_EQ(encode(context, NASEnc_TS24008IE_IMSI, imsi), "62 02 21 43 65 87 09 f1");

   TS24008IE_IMEISV imeisv;
   ASSERT_EQ(decode(context, "21 43 65 87 21 43 65 87", NASDec_TS24008IE_IMEISV, imeisv, 8u), 0);
   EXPECT_STREQ(imeisv, "1234567812345678");
   EXPECT_EQ(decode(context, "21 43 65 87 21 43 65 87 21", NASDec_TS24008IE_IMEISV, imeisv, 9u),
             RTX_E_BUFFER_FULL);

   char imei[5];
   ASSERT_EQ(decode(context, "21 F3", NASDec_TS24008IE_IMEI, imei, 2u), 0);
   EXPECT_STREQ(imei, "123");
   EXPECT_EQ(encode(context, NASEnc_TS24008IE_IMEI, "12x"), "status -24");
}

TEST(Digits, HeapTextNeedsTheOctetsFirst) {
   TestContext context;
   const char* text = nullptr;
   ASSERT_EQ(decode(context, "21 43 F5", NASDec_TS24008IE_TBCDString, &text, 3u), 0);
   EXPECT_STREQ(text, "12345");
   ASSERT_EQ(decode(context, "21", NASDec_TS24008IE_TBCDString, &text, 0u), 0);
   EXPECT_STREQ(text, "");
   text = nullptr;
   EXPECT_EQ(decode(context, "21 43", NASDec_TS24008IE_TBCDString, &text, 0xFFFFFFFFu), RTX_E_END_OF_DATA);
   EXPECT_EQ(text, nullptr);
   EXPECT_EQ(encode(context, NASEnc_TS24008IE_TBCDString, static_cast<const char*>(nullptr)), "");
}

TEST(Digits, ThreeDigitsAtMost) {
   TestContext context;
   TS24008IE_TBCDString3 text = {'?', '?', '?', '?'};
   EXPECT_EQ(decode(context, "21 43", NASDec_TS24008IE_TBCDString3, text, 2u), RTX_E_CONSTRAINT);
   EXPECT_EQ(text[0], '?') << "nothing stored";
   ASSERT_EQ(decode(context, "21 F3", NASDec_TS24008IE_TBCDString3, text, 2u), 0);
   EXPECT_STREQ(text, "123");
   EXPECT_LT(decode(context, "21 F3 FF", NASDec_TS24008IE_TBCDString3, text, 3u), 0);
   EXPECT_EQ(encode(context, NASEnc_TS24008IE_TBCDString3, "260"), "62 f0");
}

TEST(MobileIdentity, EncodesEachType) {
   using Record = TS24008IE_MobileIdentity;
   struct Case {
      const char* what;
      void (*fill)(Record&);
      const char* written;
   };
   const auto tmgi = [](Record& r, uint8_t sessInd, uint8_t mccInd) {
      r.t = 5;
      r.u.tmgi = {sessInd, mccInd, {1, 2, 3}, {"262", "02"}, 7};
   };
   static const auto fillTmgi = tmgi;
   const Case cases[] = {
         {"imsi", [](Record& r) { r.t = 1, std::strcpy(r.u.imsi, "123"); }, "02 19 32"},
         {"imei, even", [](Record& r) { r.t = 2, std::strcpy(r.u.imei, "1234"); }, "03 12 32 f4"},
         {"imeisv", [](Record& r) { r.t = 3, std::strcpy(r.u.imeisv, "1234567890123456"); },
          "09 13 32 54 76 98 10 32 54 f6"},
         {"imsi of no digits", [](Record& r) { r.t = 1, std::strcpy(r.u.imsi, "1x"); }, "status -24"},
         {"tmsi", [](Record& r) { r.t = 4, std::memcpy(r.u.tmsi, "\x12\x34\x56\x78", 4); },
          "05 f4 12 34 56 78"},
         // MCC, MNC and session are always written, also where the length leaves them out.
         {"tmgi alone", [](Record& r) { fillTmgi(r, 0, 0); }, "04 05 01 02 03 62 f2 20 07"},
         {"tmgi, session", [](Record& r) { fillTmgi(r, 1, 0); }, "05 25 01 02 03 62 f2 20 07"},
         {"tmgi, network", [](Record& r) { fillTmgi(r, 0, 1); }, "07 15 01 02 03 62 f2 20 07"},
         {"tmgi, both", [](Record& r) { fillTmgi(r, 1, 1); }, "08 35 01 02 03 62 f2 20 07"},
         {"none", [](Record& r) { r.t = 6, r.u.none = 1; }, "01 00"},
         {"none of 3", [](Record& r) { r.t = 6, r.u.none = 3; }, "03 00 00 00"},
         {"none, unchecked count", [](Record& r) { r.t = 6, r.u.none = 0; }, "00 00"},
         {"selector 0", [](Record& r) { r.t = 0; }, "status -9"},
         {"selector 7", [](Record& r) { r.t = 7; }, "status -9"},
   };
   for (const Case& c : cases) {
      TestContext context;
      Record record{};
      c.fill(record);
      EXPECT_EQ(encode(context, NASEnc_TS24008IE_MobileIdentity, &record), c.written) << c.what;
   }
}

TEST(PLMNList, EncoderTestsTheCountFirst) {
   for (const uint8_t n : {uint8_t{0}, uint8_t{16}}) {
      TestContext context;
      TS24008IE_PLMNList list{};
      list.n = n;
      EXPECT_EQ(encode(context, NASEnc_TS24008IE_PLMNList, &list), "status -16");
      EXPECT_EQ(context.used(), 0u) << "tested ahead of the writing";
      EXPECT_EQ(context.parms().back(), std::to_string(n));
   }
}

TEST(MobileStationClassmark2, EncoderSkipsNone) {
   // Parts without the ones ahead of them: nothing checks that.
   TestContext context;
   TS24008IE_MobileStationClassmark2 record{};
   record.m.octet5Present = 1;
   record.octet5.cm3 = 1;
   record.count = 3;
   EXPECT_EQ(encode(context, NASEnc_TS24008IE_MobileStationClassmark2, &record), "01 80");
   EXPECT_EQ(record.count, 1);
}

TEST(MultibandSupported, SecondPowerClassGoesByTheBands) {
   const struct {
      uint32_t supported;
      uint8_t cap2, cap1;
      const char* written; // 3 bits, 4 bits, and two half octets
   } cases[] = {
         {0, 9, 9, "00"},
         {1, 9, 4, "20 08"},
         {3, 9, 4, "60 08"},  // a value without a name; a spare
                              // half octet stands for the second
                              // class
         {4, 99, 4, "80 08"}, // assocRadioCap2 isn't even tested
         {5, 9, 4, "a1 28"},
         {6, 1, 4, "c0 28"},
         {6, 16, 4, "status -16"},
         {1, 0, 16, "status -16"},
         {7, 0, 0, "status -4"},
   };
   for (const auto& c : cases) {
      TestContext context;
      TS24008IE_MultibandSupported record{c.supported, {}, c.cap2, c.cap1};
      EXPECT_EQ(encode(context, NASEnc_TS24008IE_MultibandSupported, &record), c.written) << c.supported;
      if (std::string(c.written) == "status -16") {
         EXPECT_EQ(context.parms().back(), "16");
      }
   }
}

} // namespace
