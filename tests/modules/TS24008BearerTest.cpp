// Octet chains, quality of service, protocol options and addresses.
#include "quorva/registry.h"
#include "quorva/TS24008IE.h"
#include "tests/modules/codecs.h"

#include <cstring>

using namespace quorva::test;

namespace {

template <class Record>
unsigned presence(const Record& r) {
   static_assert(sizeof r.m == 2);
   uint8_t bits[2];
   std::memcpy(bits, &r.m, 2);
   return bits[0] | unsigned{bits[1]} << 8;
}

TEST(BearerCapability, ChainsOnTheWire) {
   struct Case {
      const char* what;
      const char* hex;
      int status;
      unsigned presence;
   };
   const Case cases[] = {
         {"octet 3 alone", "01 A0", 0, 0},
         {"3a", "02 20 84", 0, 1},
         {"3a and two of 3b", "04 20 04 02 85", 0, 3},
         {"4", "02 A0 88", 0, 4},
         {"octet 4 in the place of 3a", "02 A0 81", 0, 4},
         {"5b behind the end", "04 A0 88 21 15 00", RTX_E_LENGTH_OVERRUN, 0},
         {"5, 5a, 5b", "05 A0 88 21 15 80", 0, 4 + 8 + 16 + 32},
         {"5, 6 to 6g", "0B A0 88 A1 21 15 02 03 04 05 06 81", 0, 4 + 8 + 64 + 0x3F80},
         {"6 to 6a, then 7", "06 A0 88 A1 21 95 C6", 0, 4 + 8 + 64 + 128 + 0x4000},
         {"an unknown octet behind 4, then 5", "05 A0 08 01 81 A1", 0, 4 + 8},
         {"an unknown octet behind 7", "07 A0 88 A1 A1 46 01 81", 0, 4 + 8 + 64 + 0x4000},
         // The list goes on behind the end of the element.
         {"3b behind the end", "02 20 04 85", RTX_E_LENGTH_OVERRUN, 3},
         {"unknown octets behind the end", "02 A0 08 01 81", RTX_E_LENGTH_OVERRUN, 4},
         {"a length of 0", "00 A0", RTX_E_LENGTH_OVERRUN, 0},
         // The ext bit that isn't there ends the list and leaves the 0 of octet 3a, for which no octet is
         // left.
         {"3b behind the data", "02 20 04", RTX_E_END_OF_DATA, 3},
         {"3b, cut", "03 20 04 02", RTX_E_END_OF_DATA, 3},
         {"3b to its end, then unknown octets behind 4", "07 20 04 85 08 01 02 83", 0, 1 + 2 + 4},
   };
   for (const Case& c : cases) {
      TestContext context;
      TS24008IE_BearerCapability record;
      std::memset(&record, 0, sizeof record);
      EXPECT_EQ(decode(context, c.hex, NASDec_TS24008IE_BearerCapability, &record), c.status) << c.what;
      if (c.status == 0) {
         EXPECT_EQ(presence(record), c.presence) << c.what;
         EXPECT_EQ(rtxErrGetErrorCnt(context), 0u) << c.what;
      }
   }
   // The list by itself: nothing follows that could miss an octet.
   TestContext context;
   TS24008IE_BearerCapOctet3bList list{};
   EXPECT_EQ(decode(context, "02", NASDec_TS24008IE_BearerCapOctet3bList, &list), 0);
   EXPECT_EQ(list.n, 1u);
   EXPECT_EQ(rtxErrGetErrorCnt(context), 0u);
}

TEST(BearerCapability, EncoderStopsAChainAtItsFirstClearBit) {
   TestContext context;
   TS24008IE_BearerCapOctet3b list[2] = {};
   list[1].speechVersion = 5;
   struct Case {
      const char* what;
      void (*fill)(TS24008IE_BearerCapability&);
      const char* written;
   };
   const Case cases[] = {
         {"6b without 6a", [](auto& r) { r.m.octet6Present = 1, r.m.octet6bPresent = 1; }, "02 80 80"},
         {"6b with 6a",
          [](auto& r) { r.m.octet6Present = 1, r.m.octet6aPresent = 1, r.m.octet6bPresent = 1; },
          "04 80 00 00 80"},
         {"5b without 5a", [](auto& r) { r.m.octet5Present = 1, r.m.octet5bPresent = 1; }, "02 80 80"},
         {"5a without 5", [](auto& r) { r.m.octet5aPresent = 1; }, "01 80"},
         {"3b without 3a", [](auto& r) { r.m.octet3bPresent = 1; }, "01 80"},
         // The count of the list decides, not its presence bit.
         {"3a, and entries of 3b", [](auto& r) { r.m.octet3aPresent = 1; }, "04 00 00 00 85"},
   };
   for (const Case& c : cases) {
      TS24008IE_BearerCapability record{};
      record.octet3b = {2, list};
      c.fill(record);
      EXPECT_EQ(encode(context, NASEnc_TS24008IE_BearerCapability, &record), c.written) << c.what;
   }
}

TEST(BackupBearerCapability, HasNoOctets3aAnd5b) {
   TestContext context;
   TS24008IE_BackupBearerCapability record{};
   // Behind octet 3 unknown octets are skipped; behind 5a too.
   ASSERT_EQ(decode(context, "08 21 01 81 88 21 15 80 E1", NASDec_TS24008IE_BackupBearerCapability, &record),
             0);
   EXPECT_TRUE(record.m.octet4Present && record.m.octet5Present && record.m.octet5aPresent);
   EXPECT_TRUE(record.m.octet6Present);
   EXPECT_EQ(encode(context, NASEnc_TS24008IE_BackupBearerCapability, &record), "05 a1 88 21 95 e1");
   ASSERT_EQ(decode(context, "0C A1 88 A1 21 01 02 03 04 05 06 87 C6",
                    NASDec_TS24008IE_BackupBearerCapability, &record),
             0);
   EXPECT_EQ(presence(record), 1 + 2 + 8 + 0xF0 + 0xF00u);
}

TEST(QualityOfService, LengthAgainstItsFields) {
   struct Case {
      unsigned length;
      int status;
      unsigned extended;
   };
   const Case cases[] = {{3, RTX_E_CONSTRAINT, 0},
                         {4, RTX_E_LENGTH_OVERRUN, 0},
                         {11, RTX_E_LENGTH_OVERRUN, 0},
                         {12, 0, 0},
                         {13, 0, 1},
                         {20, 0, 8},
                         {21, RTX_E_CONSTRAINT, 0}};
   for (const Case& c : cases) {
      TestContext context;
      struct {
         TS24008IE_QualityOfService qos;
         char guard[4];
      } record;
      std::memset(&record, 0x77, sizeof record);
      Octets input(30, 0x5A);
      input[0] = static_cast<uint8_t>(c.length);
      EXPECT_EQ(NASDec_TS24008IE_QualityOfService(context.decode(input), &record.qos), c.status) << c.length;
      EXPECT_EQ(record.guard[0], 0x77);
      if (c.status != 0) continue;
      EXPECT_EQ(record.qos.extBitRate.n, c.extended);
      input.resize(c.length + 1);
      EXPECT_EQ(encode(context, NASEnc_TS24008IE_QualityOfService, &record.qos), spaced(input));
   }
   TestContext context;
   TS24008IE_QualityOfService record{};
   record.extBitRate.n = 9;
   EXPECT_EQ(encode(context, NASEnc_TS24008IE_QualityOfService, &record), "status -16");
   // Spare bits are read only where something is left: with eleven octets the last ones are not.
   record.spare4 = 77;
   EXPECT_EQ(decode(context, "0B 23 62 1F 72 99 3F 3F 11 43 FF FF FF", NASDec_TS24008IE_QualityOfService,
                    &record),
             RTX_E_LENGTH_OVERRUN);
   EXPECT_EQ(record.spare3, 0);
   EXPECT_EQ(record.spare4, 77);
   EXPECT_EQ(record.signallingIndication, 1);
}

TEST(QualityOfService, EachFieldHasTheBoundOfItsWidth) {
   using Record = TS24008IE_QualityOfService;
   const std::pair<uint8_t Record::*, unsigned> fields[] = {
         {&Record::spare1, 2},
         {&Record::delayClass, 3},
         {&Record::reliabilityClass, 3},
         {&Record::peakThroughput, 4},
         {&Record::precedenceClass, 3},
         {&Record::spare3, 3},
         {&Record::meanThroughput, 5},
         {&Record::trafficClass, 3},
         {&Record::deliveryOrder, 2},
         {&Record::residualBER, 4},
         {&Record::deliveryErroneousSDU, 3},
         {&Record::sduErrorRatio, 4},
         {&Record::transferDelay, 6},
         {&Record::trafficHandlingPrio, 2},
         {&Record::spare4, 3},
         {&Record::sourceStatsDescriptor, 4},
   };
   TestContext context;
   for (size_t i = 0; i < std::size(fields); ++i) {
      Record record{};
      record.*fields[i].first = static_cast<uint8_t>((1u << fields[i].second) - 1);
      EXPECT_NE(encode(context, NASEnc_TS24008IE_QualityOfService, &record), "status -16") << i;
      record.*fields[i].first = static_cast<uint8_t>(1u << fields[i].second);
      EXPECT_EQ(encode(context, NASEnc_TS24008IE_QualityOfService, &record), "status -16") << i;
   }
}

TEST(ProtocolConfigOptions, UnitsToTheEnd) {
   struct Case {
      const char* hex;
      int status;
      size_t units;
      const char* again;
   };
   const Case cases[] = {
         {"01 80", 0, 0, "01 80"},
         {"07 80 00 0D 00 00 10 00", 0, 2, "07 80 00 0d 00 00 10 00"},
         {"06 80 80 21 02 01 00", 0, 1, "06 80 80 21 02 01 00"},
         {"06 00 7F 80 00 0D 00", 0, 1, "04 80 00 0d 00"}, // unknown octets behind an ext bit of 0
         {"00 80", RTX_E_CONSTRAINT, 0, ""},
         {"FE 80", RTX_E_CONSTRAINT, 0, ""},
         {"05 80 00 0D 02 01 00", RTX_E_LENGTH_OVERRUN, 0, ""}, // the unit ends behind the element
         {"05 80 00 0D 02 01", RTX_E_END_OF_DATA, 0, ""},
   };
   for (const Case& c : cases) {
      TestContext context;
      TS24008IE_ProtocolConfigOptions record{};
      EXPECT_EQ(decode(context, c.hex, NASDec_TS24008IE_ProtocolConfigOptions, &record), c.status) << c.hex;
      if (c.status != 0) continue;
      EXPECT_EQ(record.pcoUnits.n, c.units) << c.hex;
      EXPECT_EQ(encode(context, NASEnc_TS24008IE_ProtocolConfigOptions, &record), c.again) << c.hex;
   }
}

TEST(ProtocolConfigOptions, EncodersTestTheLengthAtTheEnd) {
   TestContext context;
   const uint8_t data[250] = {};
   TS24008IE_PCOUnit units[400] = {};
   units[0].contents = {250, data};
   TS24008IE_ProtocolConfigOptions record{};
   record.pcoUnits = {1, units};
   EXPECT_EQ(encode(context, NASEnc_TS24008IE_ProtocolConfigOptions, &record), "status -16");
   EXPECT_EQ(context.used(), 255u) << "the octets stand";
   units[0].contents.numocts = 249;
   EXPECT_EQ(encode(context, NASEnc_TS24008IE_ProtocolConfigOptions, &record).substr(0, 2), "fd");

   TS24008IE_ExtProtoConfigOptions extended{};
   extended.pcoUnits = {2, units};
   EXPECT_EQ(encode(context, NASEnc_TS24008IE_ExtProtoConfigOptions, &extended).substr(0, 8), "01 00 80");
   for (TS24008IE_PCOUnit& unit : units) unit.contents = {250, data};
   extended.pcoUnits.n = 259; // 65,528 octets
   context.encode(80000);
   EXPECT_EQ(NASEnc_TS24008IE_ExtProtoConfigOptions(context, &extended), 0);
   units[0].contents.numocts = 255;
   context.encode(80000);
   uint8_t longer[255] = {};
   units[0].contents = {255, longer};
   EXPECT_EQ(NASEnc_TS24008IE_ExtProtoConfigOptions(context, &extended), RTX_E_CONSTRAINT);
}

TEST(PacketDataProtoAddr, AddressOfTwentyOctetsAtMost) {
   for (unsigned length = 0; length < 30; ++length) {
      TestContext context;
      struct {
         TS24008IE_PacketDataProtoAddr address;
         char guard[16];
      } record;
      std::memset(&record, 0x77, sizeof record);
      Octets input(40, 0x01);
      input[0] = static_cast<uint8_t>(length);
      const int status = NASDec_TS24008IE_PacketDataProtoAddr(context.decode(input), &record.address);
      EXPECT_EQ(status, length < 2 || length > 22 ? RTX_E_CONSTRAINT : 0) << length;
      EXPECT_EQ(record.guard[0], 0x77);
      if (status == 0) {
         EXPECT_EQ(record.address.addressInfo.numocts, length - 2);
         input.resize(length + 1);
         EXPECT_EQ(encode(context, NASEnc_TS24008IE_PacketDataProtoAddr, &record.address), spaced(input));
      }
   }
   TestContext context;
   TS24008IE_PacketDataProtoAddr record{};
   record.addressInfo.numocts = 21;
   EXPECT_EQ(encode(context, NASEnc_TS24008IE_PacketDataProtoAddr, &record), "status -16");
}

TEST(TFTPacketFilterComponent, IdentifiersWithoutAnArm) {
   TestContext context;
   TS24008IE_TFTPacketFilterComponent record{};
   EXPECT_EQ(decode(context, "22 00", NASDec_TS24008IE_TFTPacketFilterComponent, &record), RTX_E_BAD_CHOICE);
   EXPECT_EQ(encode(context, NASEnc_TS24008IE_TFTPacketFilterComponent, &record), "status -9");
   record.id = TS24008IE_TFTPacketFilterComponentType_flowLabel;
   record.value.u.flowLabel.label = 0x100000;
   EXPECT_EQ(encode(context, NASEnc_TS24008IE_TFTPacketFilterComponent, &record), "status -16");
   EXPECT_EQ(context.parms().back(), "1048576");
}

TEST(TFTParam, EachStringHasACountOfItsOwn) {
   TestContext context;
   TS24008IE_TFTParam record{};
   EXPECT_EQ(decode(context, "01 02 02 AA BB", NASDec_TS24008IE_TFTParam, &record), RTX_E_LENGTH_OVERRUN);
   ASSERT_EQ(decode(context, "01 04 01 AA 00 00", NASDec_TS24008IE_TFTParam, &record), 0)
         << "surplus skipped";
   EXPECT_EQ(context.used(), 6u);
}

// What the length or count ahead of an element may say.
TEST(Elements, LengthsWithinTheirBounds) {
   struct Case {
      unsigned low, high;
      std::vector<const char*> types;
   };
   const Case cases[] = {
         {1,
          1,
          {"DaylightSavingTime", "MMTimer", "AlertingPattern", "AllowedActions", "StreamIdentifierValue",
           "NetCallCtrlCaps", "CauseOfNoCLI", "AddnNetFeatureSupport", "VoiceDomainPref", "ReattemptInd",
           "PacketFlowIdentValue", "GPRSTimer2", "GPRSTimer3", "SMCause2Value", "AuxiliaryStates",
           "ServiceCategoryValue"}},
         {1, 2, {"ExtDRXParams", "MBMSBearerCaps"}},
         {1, 12, {"AuthRespParamExt"}},
         {1, 248, {"InterRATInfoContainer"}},
         {1, 253, {"ProtocolConfigOptions"}},
         {1, 255, {"UserUser"}},
         {2, 2, {"NetResourceIdentContainer", "UplinkDataStatus", "DcnID"}},
         {2, 22, {"PacketDataProtoAddr"}},
         {2, 255, {"ReceiveNPDUNumberList"}},
         {3, 3, {"P_TMSISignature2", "PlmnCnID"}},
         {3, 6, {"TMGI"}},
         {3, 253, {"SupportedCodecList"}},
         {4, 4, {"MsgAuthCode"}},
         {4, 255, {"QualityOfService"}},
         {5, 5, {"LocAreaIdent2"}},
         {6, 6, {"RoutingAreaIdent2"}},
         {0, 8, {"MSNetworkCapability"}},
         {0, 16, {"LowLayerCompatibility", "MBMSContextStatus"}},
         {0, 32, {"MobileStationClassmark3"}},
         {0, 50, {"MSRadioAccessCapability"}},
   };
   for (const Case& c : cases) {
      for (const char* name : c.types) {
         const QuorvaType* type = quorvaFindType(("TS24008IE_" + std::string(name)).c_str());
         ASSERT_NE(type, nullptr) << name;
         for (unsigned length = 0; length < 256; ++length) {
            TestContext context;
            std::vector<uint64_t> record(type->size / 8 + 1);
            Octets input(300);
            input[0] = static_cast<uint8_t>(length);
            const int status = type->decode(context.decode(input), record.data());
            const bool legal = length >= c.low && length <= c.high;
            // Some refuse the zeros that follow, or miss octets; the codecs and rates are too many then.
            const bool tooMany = legal && c.high > 248 && length > c.low;
            if (!tooMany) {
               EXPECT_EQ(status == RTX_E_CONSTRAINT, !legal) << name << " " << length;
            }
         }
      }
   }
   const std::pair<const char*, int> counts[] = {
         {"00", 0}, {"03 01 02 03", 0}, {"01 01", RTX_E_CONSTRAINT}, {"02 01 02", RTX_E_CONSTRAINT}};
   for (const auto& [hex, status] : counts) {
      TestContext context;
      TS24008IE_LSAIdentifier lsa{};
      EXPECT_EQ(decode(context, hex, NASDec_TS24008IE_LSAIdentifier, &lsa), status) << hex;
   }
}

TEST(Elements, EntriesWithinTheirBounds) {
   TestContext context;
   TS24008IE_ReceiveNPDUNumber number{};
   EXPECT_EQ(encode(context, NASEnc_TS24008IE_ReceiveNPDUNumber, &number), "status -16");
   EXPECT_EQ(decode(context, "01 20", NASDec_TS24008IE_ReceiveNPDUNumber, &number), RTX_E_CONSTRAINT);
   TS24008IE_EmergencyNumberList numbers{};
   for (unsigned n = 0; n < 13; ++n) {
      std::string hex = hexFromOctets(Octets{static_cast<uint8_t>(3 * n)});
      for (unsigned i = 0; i < n; ++i) hex += "020121";
      const int status = n == 0 || n > 10 ? RTX_E_CONSTRAINT : 0;
      EXPECT_EQ(decode(context, hex, NASDec_TS24008IE_EmergencyNumberList, &numbers), status) << n;
      if (status == 0) {
         EXPECT_EQ(encode(context, NASEnc_TS24008IE_EmergencyNumberList, &numbers), spaced(octets(hex)));
      }
   }
   numbers.numbers.n = 0;
   EXPECT_EQ(encode(context, NASEnc_TS24008IE_EmergencyNumberList, &numbers), "status -16");
   for (const char* hex : {"FFFD 80", "0000 80"}) {
      TS24008IE_ExtProtoConfigOptions options{};
      EXPECT_EQ(decode(context, hex, NASDec_TS24008IE_ExtProtoConfigOptions, &options), RTX_E_CONSTRAINT)
            << hex;
   }
}

// Elements of general use with an end of their own.
TEST(Elements, EndsAndBounds) {
   TestContext context;
   TS24008IE_TMGI tmgi{};
   ASSERT_EQ(decode(context, "03 01 02 03 FF", NASDec_TS24008IE_TMGI, &tmgi), 0);
   EXPECT_FALSE(tmgi.m.mcc_mncPresent);
   EXPECT_EQ(decode(context, "04 01 02 03 62 F2 20", NASDec_TS24008IE_TMGI, &tmgi), RTX_E_LENGTH_OVERRUN);
   EXPECT_EQ(decode(context, "07 01 02 03 62 F2 20 00", NASDec_TS24008IE_TMGI, &tmgi), RTX_E_CONSTRAINT);

   TS24008IE_Cause cause{};
   ASSERT_EQ(decode(context, "03 60 80 90", NASDec_TS24008IE_Cause, &cause), 0);
   EXPECT_TRUE(cause.m.recommendationPresent);
   EXPECT_EQ(cause.causeValue, 16);
   ASSERT_EQ(decode(context, "02 E0 90", NASDec_TS24008IE_Cause, &cause), 0);
   EXPECT_FALSE(cause.m.recommendationPresent || cause.m.diagnosticsPresent);
   Octets diagnostics = octets("22 E0 90");
   diagnostics.resize(40);
   EXPECT_EQ(NASDec_TS24008IE_Cause(context.decode(diagnostics), &cause), 0);
   EXPECT_EQ(cause.diagnostics.numocts, 32);
   diagnostics[0] = 0x23;
   EXPECT_EQ(NASDec_TS24008IE_Cause(context.decode(diagnostics), &cause), RTX_E_CONSTRAINT);

   TS24008IE_CallingPartyBCDNumber calling{};
   ASSERT_EQ(decode(context, "06 21 00 01 80 21 F3", NASDec_TS24008IE_CallingPartyBCDNumber, &calling), 0);
   EXPECT_STREQ(calling.number, "123") << "unknown octets behind octet 3a are skipped";
   EXPECT_EQ(encode(context, NASEnc_TS24008IE_CallingPartyBCDNumber, &calling), "04 21 80 21 f3");

   TS24008IE_EmergencyNumber number{};
   EXPECT_EQ(decode(context, "00 01 11", NASDec_TS24008IE_EmergencyNumber, &number), RTX_E_LENGTH_OVERRUN);
}

} // namespace
