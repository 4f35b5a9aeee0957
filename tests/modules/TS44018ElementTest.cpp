// Elements of TS 44.018 that are coded by hand: those that begin inside an octet, and the channels of
// frequency elements. The others: tests/vectors/cases-*.txt.
#include "quorva/rtxBits.h"
#include "quorva/TS44018IE.h"
#include "quorva/TS44018Misc.h"
#include "quorva/TS44018Msg.h"
#include "tests/frame/frameTest.h"
#include "tests/modules/codecs.h"
#include "tests/modules/records.h"

#include <cstring>
#include <map>
#include <set>
#include <type_traits>

using namespace quorva::test;

namespace {

TEST(MeasurementResults, NeedSixteenOctets) {
   TestContext context;
   TS44018IE_Measurement_Results record{};
   EXPECT_EQ(NASEnc_TS44018IE_Measurement_Results(context.encode(15), &record), RTX_E_BUFFER_FULL);
}

// The initialiser gives fixed fields their value, so that nobody has to know of them.
TEST(FixedFields, AreInitialised) {
   const std::pair<const char*, const char*> cases[] = {
         {"TS44018IE_L2_Pseudo_Length", "01"},
         {"TS44018IE_SI2ter_UTRAN_TDD_Description_struct", "0 @2.1 wrote 400000"},
         {"TS44018IE_Packet_Uplink_Assignment_component_1_choice_2", "0 @3.1 wrote 01000000"},
         {"TS44018IE_Frequency_Short_List_2", "-9 @0.4 names=Frequency-Short-List-2.component-3 level=1 "
                                              "errors=-9 wrote 80"},
   };
   for (const auto& [name, state] : cases) {
      const QuorvaType* type = quorvaFindType(name);
      ASSERT_NE(type, nullptr) << name;
      Room record(*type, 0);
      EXPECT_EQ(encoded([&](RtxContext* ctxt) { return type->encode(ctxt, record.get()); }), state) << name;
   }
   TS44018Msg_L2_PSEUDO_LEN_PDU pdu;
   std::memset(&pdu, 0xA5, sizeof pdu);
   asn1Init_TS44018Msg_L2_PSEUDO_LEN_PDU(&pdu);
   EXPECT_EQ(pdu.l2PseudoLen.fixed_bits, 1);
   TS44018IE_Repeated_UTRAN_FDD_Neighbour_Cells_struct cells;
   std::memset(&cells, 0xA5, sizeof cells);
   asn1Init_TS44018IE_Repeated_UTRAN_FDD_Neighbour_Cells_struct(&cells);
   EXPECT_EQ(cells.component_1, 0);
}

// The same bits wherever in an octet they begin, both ways, and the cursor right behind them.
TEST(InsideAnOctet, ElementsGoByBits) {
   const std::pair<const char*, const char*> cases[] = {
         {"TS24008IE_MobileIdentity", "02 19 32"},
         {"TS24008IE_MobileIdentity", "03 12 32 F4"},
         {"TS24008IE_MobileIdentity", "05 F4 12 34 56 78"},
         {"TS24008IE_MobileIdentity", "08 35 01 02 03 62 F2 20 07"},
         {"TS24008IE_MobileIdentity", "03 00 00 00"},
         {"TS44018IE_Measurement_Results", "AA 2B 38 8A 05 05 86 98 91 A2 B3 9A 2B 3C 4E 10"},
         {"TS44018IE_Multirate_Configuration", "06 2A 15 14 37 92 85"},
         {"TS44018IE_VGCS_Ciphering_Parameters", "08 28 00 34 AB CD EF 12 35"},
   };
   for (const auto& [name, hex] : cases) {
      const QuorvaType* type = quorvaFindType(name);
      ASSERT_NE(type, nullptr) << name;
      const Octets aligned = octets(hex);
      TestContext context;
      Room record(*type, 0xA5);
      context.decode(aligned);
      ASSERT_EQ(type->decode(context, record.get()), 0) << hex;
      for (uint32_t ahead = 1; ahead < 8; ++ahead) {
         SCOPED_TRACE(std::string(name) + " " + hex + " behind " + std::to_string(ahead));
         const size_t behind = ahead + 8 * aligned.size();
         context.encode(aligned.size() + 1);
         ASSERT_EQ(rtxEncBits(context, 0x55, ahead), 0);
         ASSERT_EQ(type->encode(context, record.get()), 0);
         EXPECT_EQ(rtxCtxtGetBitOffset(context), behind);
         const Octets shifted = octets(context.written());
         context.decode(shifted);
         uint32_t bits = 0;
         ASSERT_EQ(rtxDecBits(context, &bits, ahead), 0);
         EXPECT_EQ(bits, 0x55u & ((1u << ahead) - 1));
         Octets back(aligned.size());
         ASSERT_EQ(rtxDecBitsToByteArray(context, back.data(), back.size(), 8 * back.size()), 0);
         EXPECT_EQ(back, aligned);

         ASSERT_EQ(rtxCtxtSetBitOffset(context, ahead), 0);
         Room again(*type, 0x5A);
         ASSERT_EQ(type->decode(context, again.get()), 0);
         EXPECT_EQ(rtxCtxtGetBitOffset(context), behind);
         context.encode();
         ASSERT_EQ(type->encode(context, again.get()), 0);
         EXPECT_EQ(octets(context.written()), aligned);
         // An octet less, and the last bits are missing.
         context.decode(Octets(shifted.begin(), shifted.end() - 1));
         ASSERT_EQ(rtxSkipBits(context, ahead), 0);
         EXPECT_EQ(type->decode(context, again.get()), RTX_E_END_OF_DATA);
         rtxErrReset(context);
         rtxMemReset(context);
      }
   }
}

// Where an element has its channels.
struct Place {
   uint32_t* arm; // 1 the bit map 0, 2 other formats; null in short lists
   uint8_t* bitmap0;
   uint32_t* format;
   uint8_t* data;
   size_t octets;
};

template <class Element, class Choice>
Place placeOf(Element& e, uint8_t* bitmap0, Choice& choice) {
   return {&e.t, bitmap0, &choice.t, choice.u.range_1024, sizeof choice.u.range_1024};
}
Place placeIn(TS44018IE_Cell_Channel_Description& e) {
   return placeOf(e, e.u.bitmap0.bitmap0, e.u.choice_2.component_2);
}
Place placeIn(TS44018IE_Neighbour_Cell_Description& e) {
   return placeOf(e, e.u.bitmap0.bitmap0, e.u.choice_2.component_3);
}
Place placeIn(TS44018IE_Neighbour_Cell_Description_2& e) {
   return placeOf(e, e.u.bitmap0.ca_arfcn, e.u.choice_2.component_3);
}
Place placeIn(TS44018IE_Extended_Measurement_Frequency_List& e) {
   return placeOf(e, e.u.bitmap0.bitmap0, e.u.choice_2.component_3);
}
template <class List>
Place placeInShort(List& e) {
   e.component_1 = 2;
   return {nullptr, nullptr, &e.component_3.t, e.component_3.u.range_1024, sizeof e.component_3.u.range_1024};
}
Place placeIn(TS44018IE_Frequency_Short_List& e) {
   return placeInShort(e);
}
Place placeIn(TS44018IE_Frequency_Short_List_2& e) {
   return placeInShort(e);
}
uint8_t listOctets[64];
Place placeIn(TS44018IE_Frequency_List& e) {
   auto& formats = e.component_2.u.choice_2.component_2;
   return {&e.component_2.t, e.component_2.u.bitmap0.bitmap0, &formats.t, listOctets, sizeof listOctets};
}

template <class Element>
struct Codec {
   int (*encode)(RtxContext*, Element*);
   int (*decode)(RtxContext*, Element*);
   int (*channels)(RtxContext*, const Element*, uint16_t**, uint16_t*);
};

using Channels = std::set<uint16_t>;

// Into the record, over the wire, and out of the record there.
template <class Element>
void thereAndBack(const Codec<Element>& codec, const Channels& channels, uint32_t format) {
   TestContext context;
   Element element{};
   const std::vector<uint16_t> list(channels.begin(), channels.end());
   const auto count = static_cast<uint16_t>(list.size());
   const Place place = placeIn(element);
   const bool bitmap0 = format == RTX_ARFCN_BITMAP0;
   if (bitmap0 && place.bitmap0 == nullptr) return;
   if (place.arm != nullptr) *place.arm = bitmap0 ? 1 : 2;
   if (!bitmap0) *place.format = format;
   uint16_t orig = 0, range = 0;
   uint32_t bits = 0;
   rtx3GPPGetARFCNRange(list.data(), count, &orig, &range);
   std::fill_n(listOctets, sizeof listOctets, uint8_t{0});
   uint8_t* buffer[2] = {bitmap0 ? place.bitmap0 : place.data, nullptr};
   ASSERT_EQ(rtx3GPPEncARFCN(context, list.data(), count, format, range, orig, buffer,
                             bitmap0 ? 16 : place.octets, &bits),
             0);
   if constexpr (std::is_same_v<Element, TS44018IE_Frequency_List>) {
      if (!bitmap0) element.component_2.u.choice_2.component_2.u.range_1024 = {bits, listOctets};
   }
   context.encode();
   ASSERT_EQ(codec.encode(context, &element), 0);
   const Octets octets = quorva::test::octets(context.written());
   Element back{};
   context.decode(octets);
   ASSERT_EQ(codec.decode(context, &back), 0);
   uint16_t *arfcns = nullptr, found = 0;
   ASSERT_EQ(codec.channels(context, &back, &arfcns, &found), 0);
   EXPECT_EQ(Channels(arfcns, arfcns + found), channels);
   EXPECT_EQ(found, count);
}

template <class Element>
void selectorsOutOfRange(const Codec<Element>& codec) {
   const auto channelsOf = [&](Element& element) {
      TestContext context;
      uint16_t *arfcns = nullptr, count = 0;
      const int status = codec.channels(context, &element, &arfcns, &count);
      EXPECT_EQ(rtxErrGetFirstError(context), status);
      return status;
   };
   for (const uint32_t format : {0u, 6u, 0xFFFFFFFFu}) {
      Element element{};
      const Place place = placeIn(element);
      if (place.arm != nullptr) *place.arm = 2;
      *place.format = format;
      EXPECT_EQ(channelsOf(element), RTX_E_BAD_VALUE) << "format " << format;
      if (place.arm == nullptr) continue;
      *place.arm = format == 6 ? 3 : format;
      EXPECT_EQ(channelsOf(element), RTX_E_BAD_VALUE) << "arm " << *place.arm;
   }
}

// Of ones alone each bit that a format has counts.
template <class Element>
void allOnes(const Codec<Element>& codec) {
   for (const uint32_t format : {RTX_ARFCN_BITMAP0, RTX_ARFCN_RANGE_1024, RTX_ARFCN_VARIABLE_BITMAP}) {
      TestContext context;
      Element element;
      std::memset(static_cast<void*>(&element), 0xFF, sizeof element);
      const Place place = placeIn(element);
      if (format == RTX_ARFCN_BITMAP0 && place.arm == nullptr) continue;
      if (place.arm != nullptr) *place.arm = format == RTX_ARFCN_BITMAP0 ? 1 : 2;
      if (format != RTX_ARFCN_BITMAP0) *place.format = format;
      uint16_t *arfcns = nullptr, count = 0;
      ASSERT_EQ(codec.channels(context, &element, &arfcns, &count), 0);
      const std::map<size_t, unsigned> range = {{16, 17}, {9, 8}, {7, 6}},
                                       bitmap = {{16, 112}, {9, 56}, {7, 40}};
      EXPECT_EQ(count, format == RTX_ARFCN_BITMAP0      ? 124u
                       : format == RTX_ARFCN_RANGE_1024 ? range.at(place.octets)
                                                        : bitmap.at(place.octets));
   }
}

template <class Element>
void checkChannels(const char* name, const Codec<Element>& codec) {
   SCOPED_TRACE(name);
   for (uint32_t format = RTX_ARFCN_BITMAP0; format <= RTX_ARFCN_VARIABLE_BITMAP; ++format) {
      SCOPED_TRACE(format);
      thereAndBack(codec, {100, 103, 110, 124}, format);
      if (format != RTX_ARFCN_BITMAP0) thereAndBack(codec, {1020, 0, 3, 15}, format); // over the end
   }
   selectorsOutOfRange(codec);
   if constexpr (!std::is_same_v<Element, TS44018IE_Frequency_List>) allOnes(codec);
}

#define CHECK_CHANNELS(TYPE) checkChannels<TYPE>(#TYPE, {NASEnc_##TYPE, NASDec_##TYPE, TYPE##_decodeARFCN})

TEST(FrequencyElements, GiveTheirChannels) {
   CHECK_CHANNELS(TS44018IE_Cell_Channel_Description);
   CHECK_CHANNELS(TS44018IE_Neighbour_Cell_Description);
   CHECK_CHANNELS(TS44018IE_Neighbour_Cell_Description_2);
   CHECK_CHANNELS(TS44018IE_Extended_Measurement_Frequency_List);
   CHECK_CHANNELS(TS44018IE_Frequency_Short_List);
   CHECK_CHANNELS(TS44018IE_Frequency_Short_List_2);
   CHECK_CHANNELS(TS44018IE_Frequency_List);
}

TEST(FrequencyElements, TheBitsOfAListAreBounded) {
   TestContext context;
   TS44018IE_Frequency_List list{};
   list.component_2.t = 2;
   auto& formats = list.component_2.u.choice_2.component_2;
   formats.t = RTX_ARFCN_VARIABLE_BITMAP;
   Octets octets(65535 / 8 + 1);
   uint16_t *arfcns = nullptr, count = 0;
   const std::pair<uint32_t, int> cases[] = {
         {65536, RTX_E_BAD_VALUE}, {65535 + 11, RTX_E_BAD_VALUE}, {9, RTX_E_BAD_VALUE}, {10, 0}, {65535, 0}};
   for (const auto& [bits, status] : cases) {
      formats.u.variable_bitmap = {bits, octets.data()};
      rtxErrReset(context);
      EXPECT_EQ(TS44018IE_Frequency_List_decodeARFCN(context, &list, &arfcns, &count), status) << bits;
   }
   EXPECT_EQ(count, 1);
   formats.u.range_1024 = {0, nullptr};
   formats.t = RTX_ARFCN_RANGE_1024;
   EXPECT_EQ(TS44018IE_Frequency_List_decodeARFCN(context, &list, &arfcns, &count), RTX_E_BAD_VALUE);
}

} // namespace
