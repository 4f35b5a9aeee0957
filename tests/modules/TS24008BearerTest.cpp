// Octet chains, quality of service, protocol options and addresses.
#include "quorva/registry.h"
#include "quorva/TS24008IE.h"
#include "tests/modules/codecs.h"

#include <cstring>

using namespace quorva::test;

namespace {

TEST(BearerCapability, EncoderStopsAChainAtItsFirstClearBit) {
   TestContext context;
   TS24008IE_BearerCapOctet3b list[2] = {};
   list[1].speechVersion = 5;
   const struct {
      const char* what;
      void (*fill)(TS24008IE_BearerCapability&);
      const char* written;
   } cases[] = {
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
   for (const auto& c : cases) {
      TS24008IE_BearerCapability record{};
      record.octet3b = {2, list};
      c.fill(record);
      EXPECT_EQ(encode(context, NASEnc_TS24008IE_BearerCapability, &record), c.written) << c.what;
   }
}

TEST(QualityOfService, LengthAgainstItsFields) {
   const struct {
      unsigned length;
      int status;
      unsigned extended;
   } cases[] = {{3, RTX_E_CONSTRAINT, 0},
                {4, RTX_E_LENGTH_OVERRUN, 0},
                {11, RTX_E_LENGTH_OVERRUN, 0},
                {12, 0, 0},
                {13, 0, 1},
                {20, 0, 8},
                {21, RTX_E_CONSTRAINT, 0}};
   for (const auto& c : cases) {
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

// What the length or count ahead of an element may say.
TEST(Elements, LengthsWithinTheirBounds) {
   const struct {
      unsigned low, high;
      std::vector<const char*> types;
   } cases[] = {
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
   for (const auto& c : cases) {
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
}

TEST(Elements, NoEntryIsTooFew) {
   TestContext context;
   TS24008IE_ReceiveNPDUNumber number{};
   EXPECT_EQ(encode(context, NASEnc_TS24008IE_ReceiveNPDUNumber, &number), "status -16");
   TS24008IE_EmergencyNumberList numbers{};
   EXPECT_EQ(encode(context, NASEnc_TS24008IE_EmergencyNumberList, &numbers), "status -16");
}

} // namespace
