// The frame's rules that the octets of tests/vectors/cases-*.txt can't tell: encoders, traces, and its own
// parts.
#include "quorva/registry.h"
#include "quorva/TS24008IE.h"
#include "quorva/TS24008Msg.h"
#include "quorva/TS24301IE.h"
#include "quorva/TS24301Msg.h"
#include "quorva/TS24501IE.h"
#include "quorva/TS24501Msg.h"
#include "src/frame/decoder.h"
#include "src/frame/encoder.h"
#include "tests/frame/frameTest.h"
#include "tests/support/systemMemory.h"

using namespace quorva::test;
using namespace quorva::frame;

namespace {

// A record as decoded, with its memory.
class Decoded {
public:
   Decoded(const char* type, const char* hex) : type_(*quorvaFindType(type)), memory_(type_.size / 8 + 1) {
      if (type_.init != nullptr) type_.init(memory_.data());
      EXPECT_EQ(type_.decode(context_.decode(octetsOf(hex)), memory_.data()), 0) << type << " " << hex;
   }
   std::string encoded(size_t capacity = 1024, std::string* trace = nullptr) {
      return quorva::test::encoded([&](RtxContext* c) { return type_.encode(c, memory_.data()); }, capacity,
                                   trace);
   }
   int decode(RtxContext* c) { return type_.decode(c, memory_.data()); }
   void* get() { return memory_.data(); }

private:
   TestContext context_;
   const QuorvaType& type_;
   std::vector<uint64_t> memory_;
};

template <class T>
T& as(void* record) {
   return *static_cast<T*>(record);
}

} // namespace

// Whatever is cut off is missed, where all of it is mandatory; and no octet is written that has no room.
TEST(Rules, EndOfTheBuffer) {
   const struct {
      const char *type, *hex;
   } cases[] = {
         {"TS24007L3_SecProtMsgHeader", "270102030405"},
         {"TS24301IE_APNAggMaxBitRate", "06FEFEFAFA0303"},
         {"TS24501IE_NSSAI", "0401010102"},
         {"TS24301IE_ExtEmergencyNumberInfo", "0211F203736F73"},
   };
   for (const auto& [type, hex] : cases) {
      Decoded record(type, hex);
      const size_t size = std::strlen(hex) / 2;
      for (size_t octets = 0; octets < size; ++octets) {
         Decoded back(type, hex);
         const auto decode = [&](RtxContext* c) { return back.decode(c); };
         EXPECT_EQ(decoded(std::string(hex, 2 * octets), decode).substr(0, 3), "-2 ")
               << type << " " << octets;
         EXPECT_EQ(record.encoded(octets).substr(0, 3), "-1 ") << type << " " << octets;
      }
   }
}

// One field for each primitive, in both directions; an IEI has one in decoders alone, what is dropped none.
TEST(Rules, Traces) {
   const struct {
      const char *type, *hex, *decoded, *encoded; // the latter null: the same
   } cases[] = {
         {"TS24301Msg_PDNConnectReq", "11 C1 28020161 3100",
          "PDNConnectReq.pdnType.spare BOOLEAN 1; PDNConnectReq.pdnType.pdnTypeValue ENUMERATED 3; "
          "PDNConnectReq.requestType.spare BOOLEAN 1; PDNConnectReq.requestType.value ENUMERATED 3; "
          "PDNConnectReq IEI 4; PDNConnectReq.deviceProperties.spare INTEGER 3; "
          "PDNConnectReq.deviceProperties.lowPriority BOOLEAN 1; PDNConnectReq IEI 8; PDNConnectReq IEI 8",
          "PDNConnectReq.pdnType.spare BOOLEAN 1; PDNConnectReq.pdnType.pdnTypeValue ENUMERATED 3; "
          "PDNConnectReq.requestType.spare BOOLEAN 1; PDNConnectReq.requestType.value ENUMERATED 3; "
          "PDNConnectReq.deviceProperties.spare INTEGER 3; PDNConnectReq.deviceProperties.lowPriority "
          "BOOLEAN 1"},
         {"TS24301IE_ExtEmergencyNumberInfo_subservices", "03736F73",
          "ExtEmergencyNumberInfo_subservices.subservicesLen INTEGER 8; "
          "ExtEmergencyNumberInfo_subservices.subservices OCTET STRING 24",
          nullptr},
         {"TS24301IE_ExtEmergencyNumberInfo_subservices", "00",
          "ExtEmergencyNumberInfo_subservices.subservicesLen INTEGER 8",
          "ExtEmergencyNumberInfo_subservices.subservicesLen INTEGER 8; "
          "ExtEmergencyNumberInfo_subservices.subservices OCTET STRING 0"},
         {"TS24007L3_L3HdrOptions", "b0", "L3HdrOptions.skipInd INTEGER 4", nullptr},
         {"TS24301IE_EPSMobileIdentity", "0119",
          "EPSMobileIdentity.length INTEGER 8; EPSMobileIdentity.filler INTEGER 4; "
          "EPSMobileIdentity.oddEvenInd "
          "BOOLEAN 1; EPSMobileIdentity.typeOfIdent ENUMERATED 3; EPSMobileIdentity.content.imsi TBCDString "
          "0",
          "EPSMobileIdentity.length INTEGER 8; EPSMobileIdentity.imsi[0] INTEGER 4; "
          "EPSMobileIdentity.oddEvenInd "
          "BOOLEAN 1; EPSMobileIdentity.typeOfIdent ENUMERATED 3; EPSMobileIdentity.content.imsi TBCDString "
          "0"},
         // The bits ahead of the type of address are the presence bits of the port ranges.
         {"TS24301IE_RemoteUECtxt", "02 00 00",
          "; RemoteUECtxt.upri4 optional bit 1; RemoteUECtxt.tpri4 optional bit 1; RemoteUECtxt.addrType "
          "ENUMERATED 3",
          "; RemoteUECtxt.upri4 optional bit 1; RemoteUECtxt.tpri4 optional bit 1; RemoteUECtxt.addrType "
          "ENUMERATED 3; RemoteUECtxt.addrInfo OCTET STRING 0"},
         {"TS24501IE_RejectedNSSAI", "41 01 000001",
          "RejectedNSSAI.length INTEGER 4; RejectedNSSAI.cause ENUMERATED 4; RejectedNSSAI.sst INTEGER 8; "
          "RejectedNSSAI.sd INTEGER 24",
          nullptr},
         {"TS24008IE_GERANIuModeCap", "FD 55 4F",
          "GERANIuModeCap.length INTEGER 4; GERANIuModeCap.floIuCap BOOLEAN 1; GERANIuModeCap.spareBits BIT "
          "STRING 14",
          nullptr},
         {"TS24008IE_BearerCapability", "04 60 04 02 83",
          "; BearerCapability.octet3a.speechVersion INTEGER 4; BearerCapability.octet3b ext bit 1; "
          "BearerCapability.octet3b.elem[0].coding INTEGER 1; BearerCapability.octet3b.elem[0].spare INTEGER "
          "2; "
          "BearerCapability.octet3b.elem[0].speechVersion INTEGER 4; BearerCapability.octet3b ext bit 1; "
          "BearerCapability.octet3b.elem[1].coding INTEGER 1; BearerCapability.octet3b.elem[1].spare INTEGER "
          "2; "
          "BearerCapability.octet3b.elem[1].speechVersion INTEGER 4",
          "; BearerCapability.octet3a.speechVersion INTEGER 4; BearerCapability.octet3b.elem[0] ext bit 1; "
          "BearerCapability.octet3b.elem[0].coding INTEGER 1; BearerCapability.octet3b.elem[0].spare INTEGER "
          "2; "
          "BearerCapability.octet3b.elem[0].speechVersion INTEGER 4; BearerCapability.octet3b.elem[1] ext "
          "bit 1; "
          "BearerCapability.octet3b.elem[1].coding INTEGER 1; BearerCapability.octet3b.elem[1].spare INTEGER "
          "2; "
          "BearerCapability.octet3b.elem[1].speechVersion INTEGER 4"},
   };
   for (const auto& test : cases) {
      std::string trace;
      Decoded record(test.type, test.hex), back(test.type, test.hex);
      decoded(
            test.hex, [&](RtxContext* c) { return back.decode(c); }, &trace);
      // From a "; " on: the end of a long one.
      const auto end = [&](const char* text) {
         return *text == ';' ? trace.substr(trace.size() - std::min(trace.size(), std::strlen(text))) : trace;
      };
      EXPECT_EQ(end(test.decoded), test.decoded) << test.type;
      record.encoded(512, &trace);
      const char* expected = test.encoded != nullptr ? test.encoded : test.decoded;
      EXPECT_EQ(end(expected), expected) << test.type;
   }
}

TEST(Rules, ATailMustEndWithAnOctet) {
   Decoded capability("TS24301IE_UENetworkCapability", "0A F0F0C04001001000 01 AA");
   EXPECT_EQ(encoded([&](RtxContext* c) {
                c->bufBitsLeft = 4;
                return NASEnc_TS24301IE_UENetworkCapability(
                      c, &as<TS24301IE_UENetworkCapability>(capability.get()));
             }).substr(0, 60),
             "-112 @11.4 names=UENetworkCapability errors=-112 tail wrote ");
}

TEST(Rules, WhatStandsBehindTheCursorInItsOctet) {
   // A flag is ORed in, an integer below an octet clears the rest: both forms alike.
   uint8_t zero = 0;
   EXPECT_EQ(encoded([&](RtxContext* c) {
                c->bufBitsLeft = 5;
                return Encoder(c).fields(flag("flag", zero), flag("flag", zero));
             }).substr(0, 7),
             "0 @0.5 ");
   EXPECT_EQ(encoded([&](RtxContext* c) {
                c->bufBitsLeft = 4;
                return Encoder(c).fields(integer<2>("two", zero), integer<2>("two", zero));
             }),
             "e0");
}

TEST(Rules, Releases) {
   const struct {
      uint16_t release;
      bool five, six;
   } cases[] = {{0, true, true}, {4, false, false}, {5, true, false}, {6, true, true}, {17, true, true}};
   for (const auto& test : cases) {
      TestContext context;
      context->protocolRelease = test.release;
      EXPECT_EQ(knowsRelease(context, 5), test.five) << test.release;
      EXPECT_EQ(knowsRelease(context, 6), test.six) << test.release;
   }
}

TEST(Rules, OnlyTheOutermostTypeIsNamed) {
   // Within an element a nested type pushes no name; an index beyond the prepared ones reads alike.
   EXPECT_EQ(decoded("",
                     [](RtxContext* c) -> int {
                        Codec codec(c);
                        L3_TRY(codec.begin("Outer"));
                        L3_TRY(codec.push("element"));
                        L3_TRY(codec.begin("Inner"));
                        L3_TRY(codec.pushIndex(255));
                        return codec.pushIndex(256);
                     }),
             "0 @0.0 names=Outer.element.elem[255].elem[256] level=3");
}

TEST(Rules, ABitAheadEndsWithTheData) {
   // Behind the one octet that is given stands a bit that nobody may see.
   const uint8_t octets[] = {0x01, 0x80};
   TestContext context;
   const ShortDecoder brief(octets, octets + 1, context);
   EXPECT_EQ(brief.bitAhead(8), 1u);
   EXPECT_EQ(brief.bitAhead(9), static_cast<uint32_t>(INT32_MAX)) << "no alternative: the full form decides";
}

// An element that gave up in its short form, behind an open tail; and one that did not.
namespace {
struct Tails {
   static uint8_t* shortEncode(uint8_t* at, uint8_t* end, RtxContext* ctxt, bool fails) {
      ShortEncoder(at, end, ctxt).setTail();
      return fails ? nullptr : at + 1;
   }
};
} // namespace

TEST(ShortForm, LeavesTheFlagsWhenItGivesUp) {
   TestContext context;
   context.encode(4);
   EXPECT_FALSE(encodeShort<Tails>(context, true));
   EXPECT_EQ(context->flags & RTX_CTXT_RAW_TAIL, 0u);
   EXPECT_EQ(context.used(), 0u);
   EXPECT_TRUE(encodeShort<Tails>(context, false));
   EXPECT_NE(context->flags & RTX_CTXT_RAW_TAIL, 0u);
   EXPECT_EQ(context.used(), 1u);
}

TEST(Repetition, GrowsInOnePlace) {
   system_memory::reset();
   RtxContext context;
   ASSERT_EQ(system_memory::init(&context), 0);
   rtxMemHeapSetFlags(&context, RTX_MH_RAW_ONLY); // each piece is one of the system's
   void* array = nullptr;
   size_t capacity = 0;
   for (size_t used = 0, whole = 0; used < 1000; used = capacity) {
      ASSERT_EQ(growArray(&context, &array, used, &capacity, sizeof(uint32_t)), 0);
      if (used == 0) whole = system_memory::live;
      EXPECT_EQ(system_memory::live, whole) << "what was there before goes back";
      auto* numbers = static_cast<uint32_t*>(array);
      for (size_t i = 0; i < used; ++i) EXPECT_EQ(numbers[i], i);
      for (size_t i = used; i < capacity; ++i) numbers[i] = static_cast<uint32_t>(i);
   }
   rtFreeContext(&context);
   EXPECT_EQ(system_memory::live, 0u);
}
// Flags in one word, for any octet of the record that is not 0, and apart as well as side by side.
template <size_t N>
void flagsOf() {
   for (unsigned bits = 0; bits < 1u << N; ++bits) {
      uint8_t octets[N + 1];
      std::memset(octets, 0xEE, sizeof octets);
      spreadFlags<N>(bits | 1u << N, octets);
      for (size_t i = 0; i < N; ++i) ASSERT_EQ(octets[i], bits >> (N - 1 - i) & 1) << N << " " << bits;
      ASSERT_EQ(octets[N], 0xEE);
      for (const unsigned set : {0x01u, 0x02u, 0x80u, 0xFFu}) {
         for (size_t i = 0; i < N; ++i) octets[i] = octets[i] != 0 ? static_cast<uint8_t>(set) : 0;
         ASSERT_EQ(gatherFlags<N>(octets), bits) << N << " " << set;
      }
   }
}

TEST(Flags, GoThereAndBackAsOneWord) {
   flagsOf<4>();
   flagsOf<5>();
   flagsOf<6>();
   flagsOf<7>();
   flagsOf<8>();
   for (const size_t step : {1u, 2u}) {
      uint8_t record[24] = {};
      uint64_t word = 0;
      const auto runs = [&](auto coder) {
         const auto at = [&](size_t i) { return Flag<uint8_t>{nullptr, record + i * step}; };
         uint8_t* last = record + 10 * step;
         return coder(at(0), at(1), at(2), at(3), at(4), at(5), at(6), at(7), at(8), at(9),
                      integer<6>(nullptr, *last));
      };
      EXPECT_TRUE(runs([](const auto&... parts) { return takeAll(0xA6D5, parts...); }));
      EXPECT_TRUE(runs([&](const auto&... parts) { return giveAll(word, parts...); }));
      EXPECT_EQ(word, 0xA6D5u) << step;
   }
}
