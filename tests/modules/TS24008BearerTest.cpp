// What records of bearers and protocol options can hold that octets can not.
#include "quorva/TS24008IE.h"
#include "tests/modules/codecs.h"

using namespace quorva::test;

namespace {

TEST(BearerCapability, CountOfTheListDecidesNotItsPresenceBit) {
   TestContext context;
   TS24008IE_BearerCapOctet3b list[2] = {};
   list[1].speechVersion = 5;
   TS24008IE_BearerCapability record{};
   record.octet3b = {2, list};
   record.m.octet3aPresent = 1;
   EXPECT_EQ(encode(context, NASEnc_TS24008IE_BearerCapability, &record), "04 00 00 00 85");
}

TEST(ProtocolConfigOptions, LengthOfTwoOctetsIsTestedAtTheEnd) {
   TestContext context;
   const uint8_t data[255] = {};
   std::vector<TS24008IE_PCOUnit> units(259);
   for (TS24008IE_PCOUnit& unit : units) unit.contents = {250, data};
   TS24008IE_ExtProtoConfigOptions record{};
   record.pcoUnits = {259, units.data()}; // 65,528 octets
   EXPECT_EQ(NASEnc_TS24008IE_ExtProtoConfigOptions(context.encode(80000), &record), 0);
   units[0].contents.numocts = 255;
   EXPECT_EQ(NASEnc_TS24008IE_ExtProtoConfigOptions(context.encode(80000), &record), RTX_E_CONSTRAINT);
}

} // namespace
