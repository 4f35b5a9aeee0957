// Hand-written codecs of the Layer-3 header, digits, identities and counted classmarks.
#include "quorva/TS24007L3.h"
#include "quorva/TS24008IE.h"
#include "tests/modules/codecs.h"

#include <cstring>

using namespace quorva::test;

namespace {

using Parms = std::vector<std::string>;

TEST(L3HdrOptions, EachAlternativeAndItsBounds) {
   struct Case {
      uint32_t t, value;
      const char* written;
   };
   const Case cases[] = {
         {1, 5, "50"},          {1, 16, "status -16"}, {2, 3, "b0"},
         {2, 7, "f0"},          {2, 9, "f0"}, // cut to 7
         {3, 6, "60"},          {3, 1, "status -4"},   {4, 15, "f0"},
         {4, 16, "status -16"}, {0, 0, "status -9"},   {5, 0, "status -9"},
   };
   for (const Case& c : cases) {
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

TEST(MobileIdentity, DecodesByTypeAndNotByLength) {
   struct Case {
      const char* hex;
      int status;
      uint32_t t;
      size_t used;
   };
   const Case cases[] = {
         {"08 29 26 20 21 43 65 87 09", 0, 1, 9},
         {"03 12 32 F4", 0, 2, 4},
         {"09 13 32 54 76 98 10 32 54 F6", 0, 3, 10},
         // A TMSI is four octets, whatever length, first digit and odd bit say.
         {"09 F4 12 34 56 78 01 02 03 04", 0, 4, 6},
         {"05 0C 12 34 56 78", 0, 4, 6},
         {"04 05 01 02 03", 0, 5, 5},
         {"07 15 01 02 03 62 F2 20", 0, 5, 8},
         {"05 25 01 02 03 07", 0, 5, 6},
         {"01 00", 0, 6, 2},
         {"01 08", 0, 6, 2}, // the odd bit is not looked at
         {"01 06", 0, 6, 2}, // 6 and 0 on the wire are the same
         {"03 00 00 00", 0, 6, 4},
         {"01 07", RTX_E_BAD_CHOICE, 7, 0},
         {"02 B1 32", RTX_E_BAD_CHAR, 1, 0},
         {"09 19 32 54 76 98 10 32 54 76", RTX_E_OVERFLOW, 1, 0}, // 17 digits
         {"05 F4 12 34", RTX_E_END_OF_DATA, 4, 0},
         {"04 05 01 02", RTX_E_END_OF_DATA, 5, 0},
         {"07 15 01 02 03 62 F2", RTX_E_END_OF_DATA, 5, 0},
         {"", RTX_E_END_OF_DATA, 99, 0},
   };
   for (const Case& c : cases) {
      TestContext context;
      TS24008IE_MobileIdentity record{};
      record.t = 99;
      EXPECT_EQ(decode(context, c.hex, NASDec_TS24008IE_MobileIdentity, &record), c.status) << c.hex;
      EXPECT_EQ(record.t, c.t) << c.hex;
      if (c.status == 0) {
         EXPECT_EQ(context.used(), c.used) << c.hex;
      }
      EXPECT_EQ(context->containers.dlist.count, 0u) << c.hex;
   }
}

TEST(MobileIdentity, KeepsWhatItDecoded) {
   TestContext context;
   TS24008IE_MobileIdentity record{};
   ASSERT_EQ(decode(context, "08 29 26 20 21 43 65 87 09", NASDec_TS24008IE_MobileIdentity, &record), 0);
   EXPECT_STREQ(record.u.imsi, "262021234567890");
   ASSERT_EQ(decode(context, "09 13 32 54 76 98 10 32 54 F6", NASDec_TS24008IE_MobileIdentity, &record), 0);
   EXPECT_STREQ(record.u.imeisv, "1234567890123456");
   ASSERT_EQ(decode(context, "08 35 01 02 03 13 00 62 09", NASDec_TS24008IE_MobileIdentity, &record), 0);
   EXPECT_STREQ(record.u.tmgi.mcc_mnc.mcc, "310");
   EXPECT_STREQ(record.u.tmgi.mcc_mnc.mnc, "260");
   EXPECT_EQ(record.u.tmgi.mbmsServiceID[2], 3);
   EXPECT_EQ(record.u.tmgi.mbmsSessionID, 9);
   ASSERT_EQ(decode(context, "03 00 00 00", NASDec_TS24008IE_MobileIdentity, &record), 0);
   EXPECT_EQ(record.u.none, 3);
}

TEST(MobileIdentity, NoIdentityMustBeEmpty) {
   struct Case {
      const char* hex;
      Parms parms;
   };
   const Case cases[] = {
         {"02 00 00", {"MobileIdentity length", "2"}},
         {"00 00", {"MobileIdentity length", "0"}},
         {"01 50", {"MobileIdentity identity digits", "5"}},
         {"03 00 07 00", {"MobileIdentity identity digits", "7"}},
         {"03 00 00 08", {"MobileIdentity identity digits", "8"}},
   };
   for (const Case& c : cases) {
      TestContext context;
      TS24008IE_MobileIdentity record{};
      EXPECT_EQ(decode(context, c.hex, NASDec_TS24008IE_MobileIdentity, &record), RTX_E_CONSTRAINT) << c.hex;
      EXPECT_EQ(context.parms(), c.parms) << c.hex;
   }
}

TEST(PLMNList, CountsOctetsOnTheWireAndEntriesInTheRecord) {
   struct Case {
      const char* hex;
      int status;
      uint8_t n;
   };
   std::string fifteen = "2D", sixteen = "30";
   for (int i = 0; i < 15; ++i) fifteen += "62F220", sixteen += "62F220";
   sixteen += "62F220";
   const Case cases[] = {
         {"06 62 F2 20 13 00 62", 0, 2},           {"00 62 F2 20", 0, 77}, // the record's count stays
         {"04 62 F2 20 13", RTX_E_CONSTRAINT, 77}, {fifteen.c_str(), 0, 15},
         {sixteen.c_str(), RTX_E_CONSTRAINT, 77},
   };
   for (const Case& c : cases) {
      TestContext context;
      struct {
         TS24008IE_PLMNList list;
         char guard[8];
      } record;
      std::memset(&record, 0x77, sizeof record);
      record.list.n = 77;
      EXPECT_EQ(decode(context, c.hex, NASDec_TS24008IE_PLMNList, &record.list), c.status) << c.hex;
      EXPECT_EQ(record.list.n, c.n) << c.hex;
      EXPECT_EQ(record.guard[0], 0x77);
      if (c.status == 0 && c.n < 16) {
         EXPECT_EQ(encode(context, NASEnc_TS24008IE_PLMNList, &record.list), spaced(octets(c.hex)));
      }
   }
   for (const uint8_t n : {uint8_t{0}, uint8_t{16}}) {
      TestContext context;
      TS24008IE_PLMNList list{};
      list.n = n;
      EXPECT_EQ(encode(context, NASEnc_TS24008IE_PLMNList, &list), "status -16");
      EXPECT_EQ(context.used(), 0u) << "tested ahead of the writing";
      EXPECT_EQ(context.parms().back(), std::to_string(n));
   }
}

TEST(MobileStationClassmark2, CountsPartsAndSkipsNone) {
   struct Case {
      const char* hex;
      unsigned bits;
      size_t used;
      const char* again;
   };
   const Case cases[] = {
         {"00 33", 0, 1, "00"},
         {"01 33 58", 1, 2, "01 33"},
         {"02 33 58 A2", 3, 3, "02 33 58"},
         {"03 33 58 A2", 7, 4, "03 33 58 a2"},
         {"05 33 58 A2 11 22", 7, 4, "03 33 58 a2"}, // the two further octets stay in the input
   };
   for (const Case& c : cases) {
      TestContext context;
      TS24008IE_MobileStationClassmark2 record;
      std::memset(&record, 0xFF, sizeof record);
      ASSERT_EQ(decode(context, c.hex, NASDec_TS24008IE_MobileStationClassmark2, &record), 0) << c.hex;
      EXPECT_EQ(record.m.cm1Present | record.m.octet4Present << 1 | record.m.octet5Present << 2,
                static_cast<int>(c.bits))
            << c.hex;
      EXPECT_EQ(context.used(), c.used) << c.hex;
      EXPECT_EQ(encode(context, NASEnc_TS24008IE_MobileStationClassmark2, &record), c.again) << c.hex;
   }
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
   struct Case {
      uint32_t supported;
      uint8_t cap2, cap1;
      const char* written; // 3 bits, 4 bits, and two half octets
   };
   const Case cases[] = {
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
   for (const Case& c : cases) {
      TestContext context;
      TS24008IE_MultibandSupported record{c.supported, {}, c.cap2, c.cap1};
      EXPECT_EQ(encode(context, NASEnc_TS24008IE_MultibandSupported, &record), c.written) << c.supported;
      if (std::string(c.written) == "status -16") {
         EXPECT_EQ(context.parms().back(), "16");
      }
   }
}

TEST(MultibandSupported, DecoderKeepsBothHalfOctets) {
   TestContext context;
   TS24008IE_MultibandSupported record{};
   // 100 0101 0111 0110: a single band, and 7 where the spare half octet stands.
   ASSERT_EQ(decode(context, "8A EC", NASDec_TS24008IE_MultibandSupported, &record), 0);
   EXPECT_EQ(record.supported, 4u);
   EXPECT_EQ(record.a5bits.a5_6, 1);
   EXPECT_EQ(record.assocRadioCap2, 7);
   EXPECT_EQ(record.assocRadioCap1, 6);
   EXPECT_EQ(context->bufBitsLeft, 1);
   ASSERT_EQ(decode(context, "60 00", NASDec_TS24008IE_MultibandSupported, &record), 0) << "3 passes";
   EXPECT_EQ(decode(context, "E0 00", NASDec_TS24008IE_MultibandSupported, &record), RTX_E_BAD_ENUM);
   // Without a band nothing follows, and nothing of an earlier element stays.
   ASSERT_EQ(decode(context, "0A", NASDec_TS24008IE_MultibandSupported, &record), 0);
   EXPECT_EQ(record.assocRadioCap2 | record.assocRadioCap1, 0);
}

} // namespace
