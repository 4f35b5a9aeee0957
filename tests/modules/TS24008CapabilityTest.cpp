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

unsigned groupsOf(const TS24008IE_MobileStationClassmark3& r) {
   return r.m.group1Present + 2u * r.m.group2Present + 4u * r.m.group3Present + 8u * r.m.group4Present;
}

TEST(MobileStationClassmark3, GroupsStopWhereTheirBitsAreMissing) {
   const struct {
      const char* what;
      void (*fill)(TS24008IE_MobileStationClassmark3&);
      uint8_t length;
      unsigned groups;
      size_t spareBits;
   } cases[] = {
         {"two bits left", [](auto& r) { r.m.singleBandSupportPresent = 1; }, 7, 0, 2},
         {"one bit behind the first group", [](auto& r) { r.m.highMultislotCapPresent = 1; }, 7, 1, 1},
         {"two groups to the bit", [](auto&) {}, 7, 3, 0},
         // Five bits: not enough for the third group; the fourth would fit, but is given up with it.
         {"the fourth would fit", [](auto& r) { r.m.rSupportPresent = 1; }, 8, 3, 5},
   };
   for (const auto& c : cases) {
      TestContext context;
      TS24008IE_MobileStationClassmark3 record{};
      c.fill(record);
      const Octets zeros(4);
      context.encode();
      ASSERT_EQ(NASEnc_TS24008IE_MobileStationClassmark3(context, &record), 0);
      Octets input = octetsFromHex(context.written());
      input.resize(c.length + 1u);
      input[0] = c.length;
      TS24008IE_MobileStationClassmark3 decoded{};
      ASSERT_EQ(NASDec_TS24008IE_MobileStationClassmark3(context.decode(input), &decoded), 0) << c.what;
      EXPECT_EQ(groupsOf(decoded), c.groups) << c.what;
      EXPECT_EQ(decoded.spareBits.numbits, c.spareBits) << c.what;
      EXPECT_EQ(context.used(), input.size()) << c.what;
   }
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

TEST(AccessCapability, EndsOnAGroupWithItsContainerLeftOpen) {
   const struct {
      size_t contents;
      uint16_t release;
      int status;
      unsigned groups;
      size_t containers;
   } cases[] = {
         {0, 0, RTX_E_LENGTH_OVERRUN, 0, 1},
         {14, 0, RTX_E_LENGTH_OVERRUN, 0, 1},
         {15, 0, 0, 0, 0},
         {18, 0, RTX_E_LENGTH_OVERRUN, 0, 1}, // a group cut in the middle
         {19, 0, 0, 1, 1},                    // the early way out
         {25, 0, 0, 2, 1},
         {20, 0, RTX_E_LENGTH_OVERRUN, 1, 1},
         {20, 4, 0, 1, 0}, // the release hides the second group, so that its bit is a spare one
         {25, 4, 0, 1, 0},
         {72, 0, 0, 12, 1},
   };
   for (const auto& c : cases) {
      TestContext context;
      context->protocolRelease = c.release;
      TS24008IE_AccessCapability record{};
      const uint8_t untouched = 0;
      record.spareBits = {77, &untouched};
      EXPECT_EQ(NASDec_TS24008IE_AccessCapability(
                      context.decode(accessCapability(c.contents, "000000000000000")), &record),
                c.status)
            << c.contents;
      EXPECT_EQ(context->containers.dlist.count, c.containers) << c.contents;
      if (c.status != 0) continue;
      EXPECT_EQ(groupsOf(record), c.groups) << c.contents;
      EXPECT_EQ(rtxCtxtGetBitOffset(context), 7 + c.contents) << "not aligned";
      if (c.containers == 1) {
         EXPECT_EQ(record.spareBits.numbits, 77u) << c.contents;
      }
   }
}

// A radio access capability of one record with `contents` bits, and bits behind it in the element.
Octets radioAccess(size_t contents, const std::string& behind) {
   Bits bits;
   bits.add(0, 8).add(1, 4).add(contents, 7).add(0, static_cast<unsigned>(contents)).add(behind);
   Octets all = bits.octets();
   all[0] = static_cast<uint8_t>(all.size() - 1);
   return all;
}

TEST(MSRadioAccessCapability, LeavesAContainerWhereItsRecordsEndOnAGroup) {
   TestContext context;
   TS24008IE_MSRadioAccessCapability record{};
   // The first record ends on a group, so that the flag and the end of the element close its container, not
   // the element's. What follows in a message is then taken for nothing.
   Octets input = radioAccess(19, "0");
   input.push_back(0x5A);
   ASSERT_EQ(NASDec_TS24008IE_MSRadioAccessCapability(context.decode(input), &record), 0);
   EXPECT_EQ(context->containers.dlist.count, 1u);
   EXPECT_EQ(context.used(), input.size() - 1);
   EXPECT_FALSE(rtxCtxtContainerHasRemBits(context));

   rtxErrReset(context);
   ASSERT_EQ(NASDec_TS24008IE_MSRadioAccessCapability(context.decode(radioAccess(15, "0")), &record), 0);
   EXPECT_EQ(context->containers.dlist.count, 0u);

   // A further record of that kind leaves one more; its spare bits are those of the initialiser.
   void* block = rtxMemHeapAlloc(context, 1024);
   std::memset(block, 'x', 1024);
   rtxMemHeapFreePtr(context, block);
   Bits more;
   more.add(19, 7).add(0, 19).add("0");
   input = radioAccess(19, "10001" + more.text());
   ASSERT_EQ(NASDec_TS24008IE_MSRadioAccessCapability(context.decode(input), &record), 0);
   EXPECT_EQ(context->containers.dlist.count, 2u);
   ASSERT_EQ(record.additionalRecs.n, 1u);
   EXPECT_EQ(record.additionalRecs.elem[0].accessCapOrTech.u.accessCapability.spareBits.numbits, 0u);
   EXPECT_EQ(record.additionalRecs.elem[0].accessCapOrTech.u.accessCapability.spareBits.data, nullptr);
}

TEST(MSRadioAccessCapability, AtMostFiftyOctets) {
   TestContext context;
   TS24008IE_MSRadioAccessCapability record{};
   Octets input = radioAccess(15, "0");
   input.resize(60);
   input[0] = 50;
   EXPECT_EQ(NASDec_TS24008IE_MSRadioAccessCapability(context.decode(input), &record), 0);
   EXPECT_EQ(context.used(), 51u);
   input[0] = 51;
   EXPECT_EQ(NASDec_TS24008IE_MSRadioAccessCapability(context.decode(input), &record), RTX_E_CONSTRAINT);

   TS24008IE_MSRACapValuePartStruct parts[20] = {};
   record.additionalRecs = {13, parts}; // 14 records of 26 bits, 13 flags and a last one
   EXPECT_EQ(encode(context, NASEnc_TS24008IE_MSRadioAccessCapability, &record).substr(0, 2), "30");
   record.additionalRecs.n = 14;
   EXPECT_EQ(encode(context, NASEnc_TS24008IE_MSRadioAccessCapability, &record), "status -16");
}

} // namespace
