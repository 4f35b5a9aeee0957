// Capabilities of the mobile: releases, what lies behind the last known field, and elements that end early.
#include "quorva/rtxBits.h"
#include "quorva/TS24008IE.h"
#include "tests/modules/codecs.h"

#include <cstring>

using namespace quorva::test;

namespace {

// Bits one behind the other, as octets with zeros at the end.
class Bits {
public:
   Bits& add(uint64_t value, unsigned width) {
      while (width-- > 0) text_ += (value >> width & 1) != 0 ? '1' : '0';
      return *this;
   }
   Bits& add(const std::string& bits) {
      text_ += bits;
      return *this;
   }
   const std::string& text() const { return text_; }
   Octets octets() const {
      Octets all((text_.size() + 7) / 8);
      for (size_t i = 0; i < text_.size(); ++i)
         if (text_[i] == '1') all[i / 8] = static_cast<uint8_t>(all[i / 8] | 0x80 >> i % 8);
      return all;
   }

private:
   std::string text_;
};

// The bits that tell what is there, as one number: the first octet is the lowest.
template <class Record>
unsigned presence(const Record& record) {
   static_assert(sizeof record.m == 3);
   uint8_t octets[3];
   std::memcpy(octets, &record.m, 3);
   return octets[0] | unsigned{octets[1]} << 8 | unsigned{octets[2]} << 16;
}

TEST(MobileStationClassmark3, EncoderDoesNotAskForTheGroupsAhead) {
   TestContext context;
   TS24008IE_MobileStationClassmark3 record{};
   record.m.group2Present = 1;
   record.tighterCapability = 2;
   record.selCiphOf_DL_SACCH = 1;
   context.encode();
   ASSERT_EQ(NASEnc_TS24008IE_MobileStationClassmark3(context, &record), 0);
   TS24008IE_MobileStationClassmark3 decoded{};
   ASSERT_EQ(
         NASDec_TS24008IE_MobileStationClassmark3(context.decode(octetsFromHex(context.written())), &decoded),
         0);
   EXPECT_TRUE(decoded.m.group1Present) << "the same bits are the first group to the decoder";
   EXPECT_EQ(decoded.uTRA_CSG_Cells_Reporting, 1);
   EXPECT_EQ(decoded.vAMOS_Level, 1);
}

TEST(MobileStationClassmark3, ContainersEndPassesOverWhatHasAFlagOrIsGuarded) {
   // Flags of 1 and their fields up to gsm850AssocRadioCap, so that the element ends ahead of zerobit.
   Bits bits;
   bits.add(5, 8).add(0, 8).add(0, 9).add("1").add(9, 4).add(0, 18).add("1111");
   TestContext context;
   TS24008IE_MobileStationClassmark3 record{};
   record.zerobit = 77;
   EXPECT_EQ(NASDec_TS24008IE_MobileStationClassmark3(context.decode(bits.octets()), &record),
             RTX_E_LENGTH_OVERRUN);
   EXPECT_EQ(record.gsm850AssocRadioCap, 9);
   EXPECT_EQ(presence(record), 0x80u);
   EXPECT_EQ(record.zerobit, 77) << "read although nothing was left";
   EXPECT_EQ(record.downlinkAdvancedRcvrPerf, 3) << "not read behind it";
}

// Optional elements behind a dropped half octet begin inside an octet.
TEST(Capabilities, AlignedElementsThatBeginInsideAnOctetPassTheirEnd) {
   const struct {
      const char* hex;
      int (*run)(RtxContext*);
   } cases[] = {
         {"00 70 00 00 00 00 00 00 00 00",
          [](RtxContext* c) {
             TS24008IE_MobileStationClassmark3 record{};
             return NASDec_TS24008IE_MobileStationClassmark3(c, &record);
          }},
         {"00 1E 50 00",
          [](RtxContext* c) {
             TS24008IE_MSNetworkCapability record{};
             return NASDec_TS24008IE_MSNetworkCapability(c, &record);
          }},
   };
   for (const auto& c : cases) {
      TestContext context;
      context.decode(octets(c.hex));
      uint32_t nibble = 0;
      ASSERT_EQ(rtxDecBits(context, &nibble, 4), 0);
      EXPECT_EQ(c.run(context), RTX_E_LENGTH_OVERRUN) << c.hex;
      EXPECT_EQ(context->bufBitsLeft, 8) << c.hex;
   }
}

// Access capabilities with no optional field: 15 bits, then groups of these sizes.
constexpr unsigned kGroupBits[] = {4, 6, 7, 10, 5, 6, 4, 4, 5, 2, 2, 2};

Octets accessCapability(size_t contents, const std::string& behind = "") {
   Bits bits;
   bits.add(contents, 7)
         .add("101"
              "0"
              "1000"
              "0"
              "0"
              "10100");
   for (size_t i = 15; i < contents; ++i) bits.add("0");
   return bits.add(behind).octets();
}

unsigned groupsOf(const TS24008IE_AccessCapability& r) {
   const unsigned bits[] = {8,        32,      1 << 8,  4 << 8,  16 << 8,  32 << 8,
                            128 << 8, 1 << 16, 2 << 16, 8 << 16, 16 << 16, 64 << 16};
   unsigned count = 0, expected = 0;
   while (count < 12 && (presence(r) & bits[count]) != 0) expected |= bits[count++];
   EXPECT_EQ(presence(r), expected) << "a group behind one that is missing";
   return count;
}

TEST(AccessCapability, ReleaseDecidesWhichGroupsAreRead) {
   constexpr size_t kContents = 75; // all groups and three bits
   const Octets input = accessCapability(kContents);
   for (uint16_t release = 0; release < 20; ++release) {
      TestContext context;
      context->protocolRelease = release;
      TS24008IE_AccessCapability record{};
      ASSERT_EQ(NASDec_TS24008IE_AccessCapability(context.decode(input), &record), 0) << release;
      const unsigned expected = release == 0 || release > 15 ? 12 : release < 4 ? 0 : release - 3u;
      EXPECT_EQ(groupsOf(record), expected) << release;
      size_t known = 15;
      for (unsigned i = 0; i < expected; ++i) known += kGroupBits[i];
      EXPECT_EQ(record.spareBits.numbits, kContents - known) << release;
      EXPECT_EQ(context->containers.dlist.count, 0u);
      EXPECT_EQ(record.rfPowerCap, 5);
      EXPECT_EQ(record.esInd, 1);
      EXPECT_EQ(record.compactIMC, 1);
      context.encode();
      ASSERT_EQ(NASEnc_TS24008IE_AccessCapability(context, &record), 0);
      EXPECT_EQ(context.written(), hexFromOctets(input)) << release;
   }
}

TEST(AccessCapability, SpareBitsStayAsTheyWereWhereItEndsOnAGroup) {
   TestContext context;
   TS24008IE_AccessCapability record{};
   const uint8_t untouched = 0;
   record.spareBits = {77, &untouched};
   ASSERT_EQ(NASDec_TS24008IE_AccessCapability(context.decode(accessCapability(19, "000000")), &record), 0);
   EXPECT_EQ(groupsOf(record), 1u);
   EXPECT_EQ(record.spareBits.numbits, 77u);
}

TEST(MSRadioAccessCapability, AtMostFiftyOctets) {
   TestContext context;
   TS24008IE_MSRadioAccessCapability record{};
   TS24008IE_MSRACapValuePartStruct parts[20] = {};
   record.additionalRecs = {13, parts}; // 14 records of 26 bits, 13 flags and a last one
   EXPECT_EQ(encode(context, NASEnc_TS24008IE_MSRadioAccessCapability, &record).substr(0, 2), "30");
   record.additionalRecs.n = 14;
   EXPECT_EQ(encode(context, NASEnc_TS24008IE_MSRadioAccessCapability, &record), "status -16");
}

} // namespace
