// Hand-written codecs of texts, packed lists, linked TI and the traffic flow template.
#include "quorva/registry.h"
#include "quorva/rtxBits.h"
#include "quorva/TS24008IE.h"
#include "tests/modules/codecs.h"
#include "tests/support/systemMemory.h"

#include <cstdlib>
#include <cstring>

using namespace quorva::test;

namespace {

using Parms = std::vector<std::string>;

// Heap memory that is handed out next holds rubbish.
void soilHeap(RtxContext* context) {
   void* block = rtxMemHeapAlloc(context, 256);
   std::memset(block, 'x', 256);
   rtxMemHeapFreePtr(context, block);
}

TEST(AccessPointName, EncoderTakesEightBitsOfTheCount) {
   TestContext context;
   const std::string fits(99, 'a'), tooLong(100, 'a'), wraps(255, 'a');
   EXPECT_EQ(encode(context, NASEnc_TS24008IE_AccessPointName, fits.c_str()).substr(0, 5), "64 63");
   EXPECT_EQ(encode(context, NASEnc_TS24008IE_AccessPointName, wraps.c_str()).substr(0, 8), "00 ff 61");
   EXPECT_EQ(encode(context, NASEnc_TS24008IE_AccessPointName, tooLong.c_str()), "status -16");
   EXPECT_EQ(context.parms(), (Parms{"AccessPointName.length", "101"}));
   EXPECT_EQ(encode(context, NASEnc_TS24008IE_AccessPointName, static_cast<const char*>(nullptr)),
             "status -47");
}

TEST(GSMString, SeptetsGoByTheOctets) {
   const struct {
      const char* hex;
      uint32_t spareBits;
      const char* text;
   } cases[] = {
         {"31 D9 8C 56 B3 DD 00", 7, "1234567"},
         {"31 D9 8C 56 B3 DD 70", 0, "12345678"},
         {"1B 1E", 2, "["}, // an escape makes the text shorter than its septets
         {"", 7, ""},
   };
   for (const auto& c : cases) {
      TestContext context;
      soilHeap(context);
      const char* text = nullptr;
      const auto count = static_cast<uint32_t>(octets(c.hex).size());
      ASSERT_EQ(decode(context, c.hex, NASDec_TS24008IE_GSMString, &text, count, c.spareBits), 0) << c.hex;
      EXPECT_STREQ(text, c.text) << c.hex;
   }
   TestContext context;
   const char* text = nullptr;
   EXPECT_EQ(decode(context, "31 D9", NASDec_TS24008IE_GSMString, &text, 0x40000000u, 0u), RTX_E_END_OF_DATA);
   EXPECT_EQ(text, nullptr);
}

TEST(NetworkName, UnitsWithoutAnArray) {
   TestContext context;
   TS24008IE_NetworkName record{};
   record.codingScheme = TS24008IE_NetworkName_codingScheme_ucs2;
   record.textString.u.ucs2 = {1, nullptr};
   EXPECT_EQ(encode(context, NASEnc_TS24008IE_NetworkName, &record), "status -47");
}

TEST(ReceiveNPDUNumberList, BehindAHalfOctet) {
   TestContext context;
   TS24008IE_ReceiveNPDUNumberList shifted{};
   context.decode(octets("00 25 12 0F"));
   ASSERT_EQ(rtxSkipBits(context, 4), 0);
   EXPECT_EQ(NASDec_TS24008IE_ReceiveNPDUNumberList(context, &shifted), 0);
   EXPECT_EQ(shifted.contents.n, 1u);
   EXPECT_EQ(rtxCtxtGetBitOffset(context), 32u) << "on to the next octet";
}

TEST(TFT, ListsThatTheOperationDoesNotHaveStayAsTheyWere) {
   TestContext context;
   TS24008IE_TFT record{};
   record.octet1.numPacketFilters = 9;
   record.paramList.n = 9;
   ASSERT_EQ(decode(context, "00", NASDec_TS24008IE_TFT, &record), 0);
   EXPECT_EQ(record.octet1.numPacketFilters, 9) << "the record as it was";
   EXPECT_EQ(record.paramList.n, 9u);
   record.packetFilterList.u.filterItems.n = 7;
   ASSERT_EQ(decode(context, "03 41 AA BB", NASDec_TS24008IE_TFT, &record), 0);
   EXPECT_EQ(record.packetFilterList.u.filterItems.n, 7u);
   EXPECT_EQ(record.paramList.n, 0u) << "cleared";
}

TEST(TFT, EncoderGoesByTheFirstOctet) {
   TestContext context;
   TS24008IE_TFTPacketFilterItem items[2] = {};
   TS24008IE_TFT record{};
   record.octet1 = {TS24008IE_TFTOctet1_tftOperationCode_createTFT, 0, 1};
   record.packetFilterList.u.filterItems = {2, items};
   EXPECT_EQ(encode(context, NASEnc_TS24008IE_TFT, &record), "04 21 00 00 00");
   EXPECT_EQ(record.packetFilterList.u.filterItems.n, 1u);
   EXPECT_EQ(record.length, 4);
   const uint8_t identifiers[] = {1, 2, 3};
   record.octet1 = {TS24008IE_TFTOctet1_tftOperationCode_delPktFilters, 1, 2};
   record.packetFilterList.u.identifiers = {3, identifiers};
   EXPECT_EQ(encode(context, NASEnc_TS24008IE_TFT, &record), "03 b2 01 02");
   EXPECT_EQ(record.packetFilterList.u.identifiers.numocts, 2u);
   record.packetFilterList.u.identifiers = {3, nullptr};
   EXPECT_EQ(encode(context, NASEnc_TS24008IE_TFT, &record), "status -47");
}

TEST(TFT, CountsTheFilterThatFailed) {
   TestContext context;
   soilHeap(context);
   TS24008IE_TFT record{};
   EXPECT_EQ(decode(context, "09 22 31 0A 05 30", NASDec_TS24008IE_TFT, &record), RTX_E_END_OF_DATA);
   ASSERT_EQ(record.packetFilterList.u.filterItems.n, 1u);
   EXPECT_EQ(record.packetFilterList.u.filterItems.elem[0].contents.components.n, 0u) << "initialised";
   EXPECT_EQ(record.packetFilterList.u.filterItems.elem[0].contents.components.elem, nullptr);
}

// Status of a type's decoder at the cursor.
int decodeOne(RtxContext* context, const std::string& name) {
   const QuorvaType& type = *quorvaFindType(("TS24008IE_" + name).c_str());
   std::vector<uint64_t> record(type.size / 8 + 1);
   return type.decode(context, record.data());
}

// Counts come from the input: what they ask for must not exceed it.
TEST(Custom, CountsBeyondTheDataAskForNoMemory) {
   static size_t largest;
   RtxContext context;
   system_memory::reset();
   ASSERT_EQ(system_memory::init(&context), 0);
   largest = 0;
   system_memory::failHook = [] {
      largest = std::max(largest, system_memory::lastSize);
      return false;
   };
   uint8_t input[] = {0xFF, 0x90, 0x00, 0x41};
   const char* text = nullptr;
   rtxCtxtSetBufPtr(&context, input, sizeof input);
   EXPECT_LT(NASDec_TS24008IE_TBCDString(&context, &text, 1u << 28), 0);
   EXPECT_LT(NASDec_TS24008IE_GSMString(&context, &text, 1u << 28, 0), 0);
   TS24008IE_NetworkName name{};
   EXPECT_LT(NASDec_TS24008IE_NetworkName(&context, &name), 0);
   EXPECT_LT(largest, 1u << 16);
   rtFreeContext(&context);
}

// Aliases stand under their own names where a failure is told.
TEST(Custom, AliasesPushTheirOwnNames) {
   for (const char* name :
        {"ConnectedNumber", "RedirectingPartyBCDNumber", "ConnectedSubaddress", "IdentityType2Value",
         "RedirectingPartySubaddress", "SMCause2Value", "RadioPriority2"}) {
      TestContext context;
      EXPECT_EQ(decodeOne(context.decode({}), name), RTX_E_END_OF_DATA) << name;
      ASSERT_NE(context->elemNames.head, nullptr) << name;
      EXPECT_STREQ(static_cast<const char*>(context->elemNames.head->data), name);
   }
}

// A negative status for each allocation that fails.
TEST(Custom, HeapFailures) {
   const std::pair<const char*, const char*> cases[] = {
         {"TFT", "0F 31 31 0A 05 30 11 50 00 50 02 04 00 01 00 02"},
         {"NetworkName", "04 83 56 ED 15"},
         {"ReceiveNPDUNumberList", "03 51 26 34"},
         {"TBCDString", "21 43"},
   };
   for (const auto& [type, hex] : cases)
      system_memory::failEach(1, [type = type, hex = hex](const auto& arm) {
         RtxContext context;
         ASSERT_EQ(system_memory::init(&context), 0);
         Octets input = octets(hex);
         rtxCtxtSetBufPtr(&context, input.data(), input.size());
         arm();
         const int status = decodeOne(&context, type);
         // Alone it may be made up for by what the heap still has.
         EXPECT_TRUE(status < 0 || !system_memory::failFromThere || system_memory::failures == 0) << type;
         EXPECT_TRUE(status == 0 || system_memory::failures != 0) << type;
         rtFreeContext(&context);
      });
}

// Lists whose entries come one by one return at once where there is no memory; the traffic flow template
// records it.
TEST(Custom, ListEntriesWithoutMemoryReturnDirectly) {
   const struct {
      const char *hex, *type;
      size_t records;
   } cases[] = {
         {"07 80 00 0D 00 00 10 00", "ProtocolConfigOptions", 0},
         {"07 11 E0 00 22 3C 00 00", "MSRadioAccessCapability", 0},
         {"06 50 02 04 00 01 00 02", "TFT", 1},
   };
   for (const auto& c : cases) {
      RtxContext context;
      system_memory::reset();
      ASSERT_EQ(system_memory::init(&context), 0);
      rtxMemHeapSetFlags(&context, RTX_MH_RAW_ONLY);
      Octets input = octets(c.hex);
      rtxCtxtSetBufPtr(&context, input.data(), input.size());
      ASSERT_EQ(rtxCtxtPushElemName(&context, "x"), 0); // has the nodes of all names allocated
      rtxCtxtPopElemName(&context);
      system_memory::failHook = [] { return system_memory::lastSize > 64; };
      EXPECT_EQ(decodeOne(&context, c.type), RTX_E_NOMEM) << c.hex;
      EXPECT_EQ(rtxErrGetErrorCnt(&context), c.records) << c.hex;
      rtFreeContext(&context);
   }
   system_memory::failHook = nullptr;
}

} // namespace
