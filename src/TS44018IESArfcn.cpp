// Channel numbers of the frequency elements of TS 44.018.
#include "quorva/TS44018IE.h"
#include "quorva/TS44018Misc.h"
#include "runtime/core/rtxInline.h"

namespace {

enum : uint32_t { kBitmap0 = 1, kOtherFormats }; // what the first bits of an element tell

constexpr uint16_t kBitmapBits = 124;

int badValue(RtxContext* pctxt) {
   return quorva::recordFailure(pctxt, RTX_E_BAD_VALUE);
}

// Where the list goes.
struct Channels {
   RtxContext* ctxt;
   uint16_t** arfcns;
   uint16_t* count;

   int from(uint32_t format, const uint8_t* data, uint32_t bits) const {
      return rtx3GPPDecARFCN(ctxt, format, data, static_cast<uint16_t>(bits), arfcns, count);
   }
};

// The selector of the other formats is the format. Their strings begin at one place, of which range 1024
// takes two bits more than the others.
bool isFormat(uint32_t t) {
   return t >= RTX_ARFCN_RANGE_1024 && t <= RTX_ARFCN_VARIABLE_BITMAP;
}

template <unsigned Range1024Bits, class Formats>
int decodeFormats(const Channels& channels, const Formats& formats) {
   static_assert(sizeof formats.u.range_1024 == (Range1024Bits + 7) / 8 &&
                 sizeof formats.u.variable_bitmap == (Range1024Bits - 2 + 7) / 8);
   if (!isFormat(formats.t)) return badValue(channels.ctxt);
   return channels.from(formats.t, formats.u.range_1024,
                        formats.t == RTX_ARFCN_RANGE_1024 ? Range1024Bits : Range1024Bits - 2);
}

// Elements of 16 octets.
template <class Formats>
int decodeElement(const Channels& channels, uint32_t t, const uint8_t* bitmap0, const Formats& formats) {
   switch (t) {
   case kBitmap0: return channels.from(RTX_ARFCN_BITMAP0, bitmap0, kBitmapBits);
   case kOtherFormats: return decodeFormats<123>(channels, formats);
   default: return badValue(channels.ctxt);
   }
}

} // namespace

int TS44018IE_Cell_Channel_Description_decodeARFCN(RtxContext* pctxt,
                                                   const TS44018IE_Cell_Channel_Description* pvalue,
                                                   uint16_t** parfcns, uint16_t* pcount) {
   return decodeElement({pctxt, parfcns, pcount}, pvalue->t, pvalue->u.bitmap0.bitmap0,
                        pvalue->u.choice_2.component_2);
}

int TS44018IE_Neighbour_Cell_Description_decodeARFCN(RtxContext* pctxt,
                                                     const TS44018IE_Neighbour_Cell_Description* pvalue,
                                                     uint16_t** parfcns, uint16_t* pcount) {
   return decodeElement({pctxt, parfcns, pcount}, pvalue->t, pvalue->u.bitmap0.bitmap0,
                        pvalue->u.choice_2.component_3);
}

int TS44018IE_Neighbour_Cell_Description_2_decodeARFCN(RtxContext* pctxt,
                                                       const TS44018IE_Neighbour_Cell_Description_2* pvalue,
                                                       uint16_t** parfcns, uint16_t* pcount) {
   return decodeElement({pctxt, parfcns, pcount}, pvalue->t, pvalue->u.bitmap0.ca_arfcn,
                        pvalue->u.choice_2.component_3);
}

int TS44018IE_Extended_Measurement_Frequency_List_decodeARFCN(
      RtxContext* pctxt, const TS44018IE_Extended_Measurement_Frequency_List* pvalue, uint16_t** parfcns,
      uint16_t* pcount) {
   return decodeElement({pctxt, parfcns, pcount}, pvalue->t, pvalue->u.bitmap0.bitmap0,
                        pvalue->u.choice_2.component_3);
}

int TS44018IE_Frequency_Short_List_decodeARFCN(RtxContext* pctxt,
                                               const TS44018IE_Frequency_Short_List* pvalue,
                                               uint16_t** parfcns, uint16_t* pcount) {
   return decodeFormats<67>({pctxt, parfcns, pcount}, pvalue->component_3);
}

int TS44018IE_Frequency_Short_List_2_decodeARFCN(RtxContext* pctxt,
                                                 const TS44018IE_Frequency_Short_List_2* pvalue,
                                                 uint16_t** parfcns, uint16_t* pcount) {
   return decodeFormats<51>({pctxt, parfcns, pcount}, pvalue->component_3);
}

int TS44018IE_Frequency_List_decodeARFCN(RtxContext* pctxt, const TS44018IE_Frequency_List* pvalue,
                                         uint16_t** parfcns, uint16_t* pcount) {
   const Channels channels{pctxt, parfcns, pcount};
   const auto& list = pvalue->component_2;
   if (list.t == kBitmap0) return channels.from(RTX_ARFCN_BITMAP0, list.u.bitmap0.bitmap0, kBitmapBits);
   if (list.t != kOtherFormats) return badValue(pctxt);
   const auto& formats = list.u.choice_2.component_2;
   const RtxDynBitStr& bits = formats.u.range_1024; // of each format
   if (!isFormat(formats.t) || bits.numbits > UINT16_MAX) return badValue(pctxt);
   return channels.from(formats.t, bits.data, bits.numbits);
}
