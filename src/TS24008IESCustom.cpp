// Elements of TS 24.008 that no description says well: texts, packed lists and the traffic flow template.
#include "runtime/nas/gsmAlphabet.h"
#include "src/TS24008IESTypes.h"

#include <cstring>

using namespace quorva::frame;

static int packSeptets(RtxContext* ctxt, const char** text) {
   return rtx3GPPEncGSMCharStr(ctxt, *text);
}

// Outside of others a text on the heap has no rows that standard mode could test it by.
int NASEnc_TS24008IE_GSMString(RtxContext* pctxt, const char* value) {
   L3_TO_STREAM(NASEnc_TS24008IE_GSMString(pctxt, value));
   Encoder e(pctxt);
   L3_TRY(e.begin("GSMString"));
   L3_TRY(e.traced("GSMString", [&] { return packSeptets(pctxt, &value); }));
   return e.done();
}
uint8_t* shortEnc_TS24008IE_GSMString(uint8_t* at, uint8_t* end, RtxContext* pctxt, const char* value) {
   ShortEncoder e(at, end, pctxt);
   return e.result(e.message<packSeptets>(&value));
}

static int decode_TS24008IE_GSMString(Decoder& d, const char** pvalue, uint32_t octets, uint32_t spareBits) {
   RtxContext* pctxt = d.ctxt();
   L3_TRY(d.begin("GSMString"));
   // The septets are taken out of the buffer itself; a count beyond the data asks for no memory.
   if (const int status = rtxCheckInputBuffer(pctxt, octets); status < 0) return d.failed(status);
   const size_t septets = size_t{octets} * 8 / 7;
   // Cleared, since escapes make the text shorter.
   auto* text = static_cast<char*>(rtxMemHeapAllocZ(pctxt, septets + 1));
   if (text == nullptr) return d.failed(RTX_E_NOMEM);
   L3_TRY(d.traced("GSMString", [&] { return rtx3GPPDecGSMCharStr(pctxt, text, septets, septets); }));
   text[septets] = 0;
   if (spareBits == 7 && septets > 0) text[septets - 1] = 0; // a whole septet of padding
   *pvalue = text;
   return d.done();
}
L3_DECODER(TS24008IE_GSMString, (const char** pvalue, uint32_t octets, uint32_t spareBits),
           (pvalue, octets, spareBits))

// Access point name, TS 24.008, 10.5.6.1 and TS 23.003, 9.1: labels on the wire, dotted text in the record.
namespace {

constexpr uint8_t kMaxNameOctets =
      sizeof(TS24008IE_AccessPointName); // a text of 99 and the first label's length

} // namespace

template <class Coder>
L3_INLINE static int encode_TS24008IE_AccessPointName(Coder& e, const char* value) {
   L3_TRY(e.begin("AccessPointName"));
   if (value == nullptr) return e.failed(RTX_E_NULL);
   const auto count = static_cast<uint8_t>(std::strlen(value) + 1); // wraps: a name of 255 counts as 0
   if (count > kMaxNameOctets) {
      if constexpr (!Coder::kShort) {
         rtxErrAddStrParm(e.ctxt(), "AccessPointName.length");
         rtxErrAddIntParm(e.ctxt(), count);
      }
      return e.failed(RTX_E_CONSTRAINT);
   }
   L3_TRY(e.fields(integer<8>("length", count)));
   // A dot at the start and two dots together give a label without octets, so that the text comes back.
   for (const char* label = value;;) {
      const size_t size = std::strcspn(label, ".");
      const auto sizeOctet = static_cast<uint8_t>(size);
      L3_TRY(e.tracedOctets("segment length", &sizeOctet, 1));
      if (size != 0) L3_TRY(e.tracedOctets("IA5String", label, size));
      if (label[size] == 0) break;
      label += size + 1;
   }
   return e.done();
}
L3_ENCODER(TS24008IE_AccessPointName, (const char* value), (value))

template <class Coder>
L3_INLINE static int decode_TS24008IE_AccessPointName(Coder& d, char* value) {
   L3_TRY(d.begin("AccessPointName"));
   uint8_t count = 0;
   L3_TRY(d.fields(integer<8>("length", count)));
   size_t sum = 0; // octets of the labels, their lengths included
   value[0] = 0;
   typename Coder::Length end{};
   if (d.standard()) [[unlikely]]
      L3_TRY(d.pushContainer(count, end));
   while (sum < count && d.octetAtHand()) {
      uint8_t size = 0;
      L3_TRY(d.tracedOctets("segment length", &size, 1));
      char* label = value + sum;
      sum += size + 1u;
      if (sum > count) return d.failed(RTX_E_LENGTH_OVERRUN);
      if (sum > kMaxNameOctets) return RTX_E_CONSTRAINT;
      if (size != 0) L3_TRY(d.tracedOctets("IA5String", label, size));
      // Neither would come back from the text.
      if (d.standard() &&
          (std::memchr(label, '.', size) != nullptr || std::memchr(label, 0, size) != nullptr))
         return d.failed(RTX_E_BAD_CHAR);
      if (label != value) label[-1] = '.';
      label[size] = 0;
   }
   if (count > kMaxNameOctets) return RTX_E_CONSTRAINT;
   if (d.standard()) [[unlikely]]
      L3_TRY(d.close(end));
   return d.done();
}
L3_DECODER(TS24008IE_AccessPointName, (char* value), (value))

// Network name, TS 24.008, 10.5.3.5a.
namespace {

template <class Units>
int encodeUnits(Encoder& e, const Units& ucs2) {
   L3_TRY(e.push("ucs2"));
   if (ucs2.nchars != 0 && ucs2.data == nullptr) return e.failed(RTX_E_NULL);
   L3_TRY(e.traced("OCTET STRING", [&] {
      int status = 0;
      for (size_t i = 0; status >= 0 && i < ucs2.nchars; ++i) {
         // The high octet of a unit goes out as 0, so that only Latin letters come back.
         const unsigned high = e.standard() ? ucs2.data[i] >> 8 : 0;
         const uint8_t octets[2] = {static_cast<uint8_t>(high), static_cast<uint8_t>(ucs2.data[i])};
         status = rtxWriteBytes(e.ctxt(), octets, 2);
      }
      return status;
   }));
   e.pop();
   return 0;
}

template <class Units>
int decodeUnits(Decoder& d, Units& ucs2, const Length& length) {
   RtxContext* ctxt = d.ctxt();
   L3_TRY(d.push("ucs2"));
   // An offset in bits less an index in octets. The units go on behind the element, and callers see it as -66
   // or as the end of the data, unless the count happens to fit.
   const size_t beyond = length.end > ctxt->bufByteIndex ? (length.end - ctxt->bufByteIndex) >> 1 : 0;
   const size_t count = d.standard() ? d.restOctets() / 2 : beyond;
   if (!hasOctets(ctxt, 2 * count)) return d.failed(RTX_E_END_OF_DATA);
   auto* units = static_cast<uint16_t*>(rtxMemHeapAlloc(ctxt, count * sizeof(uint16_t)));
   if (units == nullptr && count != 0) return d.failed(RTX_E_NOMEM);
   L3_TRY(d.traced("OCTET STRING", [&] {
      int status = 0;
      for (size_t i = 0; status >= 0 && i < count; ++i) status = rtxDecUInt16(ctxt, &units[i], 2);
      return status;
   }));
   ucs2.nchars = static_cast<uint32_t>(count);
   ucs2.data = units;
   d.pop();
   return 0;
}

// As the text has it: what says less loses nothing, unless it leaves a whole septet of padding untold.
void settleSpareBits(TS24008IE_NetworkName& name) {
   const char* text = name.textString.u.callBcastData;
   if (name.codingScheme != TS24008IE_NetworkName_codingScheme_callBcastData || text == nullptr) return;
   unsigned septets = 0;
   for (; *text != 0; ++text) septets += quorva::gsmIsExtended(static_cast<unsigned char>(*text)) ? 2 : 1;
   if (name.numSpareBitsInLastOct != 0 || septets % 8 == 7)
      name.numSpareBitsInLastOct = static_cast<uint8_t>(septets % 8);
}

} // namespace

template <class Coder>
static int encode_TS24008IE_NetworkName(Coder& e, TS24008IE_NetworkName* pvalue) {
   L3_TRY(e.begin("NetworkName"));
   typename Coder::OpenLength length;
   L3_TRY(e.template open<8>("length", length));
   if (e.standard()) settleSpareBits(*pvalue);
   L3_TRY(e.fields(
         flag("ext", pvalue->ext),
         value<quorva::type::TS24008IE_NetworkName_codingScheme>("codingScheme", pvalue->codingScheme),
         flag("addCI", pvalue->addCI), integer<3>("numSpareBitsInLastOct", pvalue->numSpareBitsInLastOct)));
   L3_TRY(e.push("textString"));
   auto& u = pvalue->textString.u;
   switch (pvalue->codingScheme) {
   case TS24008IE_NetworkName_codingScheme_callBcastData:
      L3_TRY(e.template item<quorva::type::TS24008IE_GSMString>("callBcastData", u.callBcastData));
      break;
   case TS24008IE_NetworkName_codingScheme_ucs2:
      if constexpr (Coder::kShort)
         return kNotShort;
      else
         L3_TRY(encodeUnits(e, u.ucs2));
      break;
   default: return e.badChoice();
   }
   e.pop();
   L3_TRY(e.template close<8>(length, pvalue->length, Limits{}));
   return e.done();
}
L3_ENCODER(TS24008IE_NetworkName, (TS24008IE_NetworkName * pvalue), (pvalue))

static int decode_TS24008IE_NetworkName(Decoder& d, TS24008IE_NetworkName* pvalue) {
   L3_TRY(d.begin("NetworkName"));
   Length length;
   L3_TRY(d.open<8>("length", pvalue->length, Limits{}, length));
   if (d.more()) L3_TRY(d.fieldsIn(length, flag("ext", pvalue->ext)));
   L3_TRY(d.fieldsIn(
         length,
         value<quorva::type::TS24008IE_NetworkName_codingScheme>("codingScheme", pvalue->codingScheme),
         flag("addCI", pvalue->addCI), integer<3>("numSpareBitsInLastOct", pvalue->numSpareBitsInLastOct)));
   L3_TRY(d.push("textString"));
   auto& u = pvalue->textString.u;
   switch (pvalue->codingScheme) {
   case TS24008IE_NetworkName_codingScheme_callBcastData:
      L3_TRY(d.item("callBcastData", NASDec_TS24008IE_GSMString, &u.callBcastData,
                    static_cast<uint32_t>(d.restOctets()), uint32_t{pvalue->numSpareBitsInLastOct}));
      break;
   case TS24008IE_NetworkName_codingScheme_ucs2: L3_TRY(decodeUnits(d, u.ucs2, length)); break;
   default: return d.badChoice();
   }
   d.pop();
   L3_TRY(d.close(length));
   return d.done();
}
L3_DECODER(TS24008IE_NetworkName, (TS24008IE_NetworkName * pvalue), (pvalue))

template <class Coder>
static int encode_TS24008IE_NotificationIndicator(Coder& e, TS24008IE_NotificationIndicator* pvalue) {
   L3_TRY(e.begin("NotificationIndicator"));
   L3_TRY(e.fields(flag("ext", pvalue->ext),
                   value<quorva::type::TS24008IE_NotifIndValues>("value", pvalue->value)));
   return e.done();
}
L3_ENCODER(TS24008IE_NotificationIndicator, (TS24008IE_NotificationIndicator * pvalue), (pvalue))

static int decode_TS24008IE_NotificationIndicator(Decoder& d, TS24008IE_NotificationIndicator* pvalue) {
   L3_TRY(d.begin("NotificationIndicator"));
   L3_TRY(d.fields(flag("ext", pvalue->ext),
                   value<quorva::type::TS24008IE_NotifIndValues>("value", pvalue->value)));
   L3_TRY(d.nonImperative(1)); // this element alone takes the rest of the message
   return d.done();
}
L3_DECODER(TS24008IE_NotificationIndicator, (TS24008IE_NotificationIndicator * pvalue), (pvalue))

// Receive N-PDU numbers list, TS 24.008, 10.5.5.11: entries of twelve bits; a half octet of 0 fills the last
// octet.
template <class Coder>
static int encode_TS24008IE_ReceiveNPDUNumberList(Coder& e, TS24008IE_ReceiveNPDUNumberList* pvalue) {
   using Entry = quorva::type::TS24008IE_ReceiveNPDUNumber;
   L3_TRY(e.begin("ReceiveNPDUNumberList"));
   typename Coder::OpenLength length;
   L3_TRY(e.template open<8>("length", length));
   L3_TRY(e.repeat("contents", pvalue->contents.n, pvalue->contents.elem, Limits{1}, [](auto& each, auto& x) {
      if constexpr (Coder::kShort)
         return each.fields(record<Entry>(nullptr, x)); // goes on within an octet
      else
         return each.template call<Entry>(&x);
   }));
   L3_TRY(e.template close<8>(length, pvalue->length, Limits{2}));
   return e.done();
}
L3_ENCODER(TS24008IE_ReceiveNPDUNumberList, (TS24008IE_ReceiveNPDUNumberList * pvalue), (pvalue))

static int decode_TS24008IE_ReceiveNPDUNumberList(Decoder& d, TS24008IE_ReceiveNPDUNumberList* pvalue) {
   RtxContext* pctxt = d.ctxt();
   L3_TRY(d.begin("ReceiveNPDUNumberList"));
   Length length;
   L3_TRY(d.open<8>("length", pvalue->length, Limits{2}, length));
   L3_TRY(d.push("contents"));
   void* array = nullptr;
   size_t count = 0, capacity = 0;
   while (d.more()) {
      uint8_t nsapi = 0;
      if (const int status = rtxDecBitsToByte(pctxt, &nsapi, 4); status < 0) return d.failed(status);
      if (nsapi == 0) break;
      if (const int status = rtxMoveBitCursor(pctxt, -4); status < 0) return d.failed(status);
      if (count == capacity &&
          growArray(pctxt, &array, count, &capacity, sizeof(TS24008IE_ReceiveNPDUNumber)) < 0)
         return d.failed(RTX_E_NOMEM);
      L3_TRY(d.pushIndex(count));
      const int status = NASDec_TS24008IE_ReceiveNPDUNumber(
            pctxt, static_cast<TS24008IE_ReceiveNPDUNumber*>(array) + count);
      if (status < 0) return d.failed(status);
      d.popIndex(count);
      ++count;
   }
   pvalue->contents.n = static_cast<uint32_t>(count);
   pvalue->contents.elem = static_cast<TS24008IE_ReceiveNPDUNumber*>(array);
   d.pop();
   L3_TRY(d.close(length));
   d.align();
   return d.done();
}
L3_DECODER(TS24008IE_ReceiveNPDUNumberList, (TS24008IE_ReceiveNPDUNumberList * pvalue), (pvalue))

// Linked TI, TS 24.008, 10.5.6.7: a TI value above 6 stands in an octet of its own.
namespace {

constexpr uint8_t kExtendedTi = 7;

} // namespace

template <class Coder>
L3_INLINE static int encode_TS24008IE_LinkedTI(Coder& e, TS24008IE_LinkedTI* pvalue) {
   L3_TRY(e.begin("LinkedTI"));
   const bool extended = pvalue->value >= kExtendedTi;
   const bool more = e.standard() && pvalue->standard.m.octet4Present;
   pvalue->length = extended || more ? 2 : 1;
   const uint8_t shortValue = extended ? kExtendedTi : pvalue->value;
   L3_TRY(e.fields(integer<8>("length", pvalue->length), flag("flag", pvalue->flag),
                   integer<3>("value", shortValue)));
   L3_TRY(e.template constant<4>("spare", 0));
   if (extended) {
      L3_TRY(e.extBit("ext", true));
      L3_TRY(e.fields(armInteger<7>("value", pvalue->value)));
   } else if (more) {
      L3_TRY(e.fields(integer<8>("octet4", pvalue->standard.octet4)));
   }
   return e.done();
}
L3_ENCODER(TS24008IE_LinkedTI, (TS24008IE_LinkedTI * pvalue), (pvalue))

template <class Coder>
static int decode_TS24008IE_LinkedTI(Coder& d, TS24008IE_LinkedTI* pvalue) {
   L3_TRY(d.begin("LinkedTI"));
   L3_TRY(d.fields(integer<8>("length", pvalue->length)));
   if (pvalue->length != 1 && pvalue->length != 2) return RTX_E_BAD_VALUE;
   typename Coder::Length length;
   L3_TRY(d.pushContainer(pvalue->length, length));
   L3_TRY(d.fieldsIn(length, flag("flag", pvalue->flag), integer<3>("value", pvalue->value)));
   pvalue->standard.m = {};
   const bool asked = pvalue->value == kExtendedTi;
   if (pvalue->length == 2 && !asked && !d.standard()) return RTX_E_BAD_VALUE;
   L3_TRY(d.push("spare"));
   L3_TRY(d.skipBits(4));
   d.pop();
   if (pvalue->length == 2 && !asked) {
      L3_TRY(d.fieldsIn(length, integer<8>("octet4", pvalue->standard.octet4)));
      pvalue->standard.m.octet4Present = 1;
   } else if (pvalue->length == 2) {
      uint8_t ext = 0;
      L3_TRY(d.extBit("ext", ext));
      if (ext == 0) return RTX_E_BAD_VALUE;
      L3_TRY(d.fieldsIn(length, integer<7>("value", pvalue->value)));
   }
   L3_TRY(d.close(length));
   return d.done();
}
L3_DECODER(TS24008IE_LinkedTI, (TS24008IE_LinkedTI * pvalue), (pvalue))

// Traffic flow template, TS 24.008, 10.5.6.12. Its length is kept in octets of the buffer, without a
// container, so that the lists go by their own counts, even behind the end.
namespace {

// Entries at hand of the list that an operation has; other operations have none.
size_t filtersOf(const TS24008IE_TFT& tft) {
   switch (tft.octet1.tftOperationCode) {
   case TS24008IE_TFTOctet1_tftOperationCode_createTFT:
   case TS24008IE_TFTOctet1_tftOperationCode_addPktFilters:
   case TS24008IE_TFTOctet1_tftOperationCode_replPktFilters: return tft.packetFilterList.u.filterItems.n;
   case TS24008IE_TFTOctet1_tftOperationCode_delPktFilters: return tft.packetFilterList.u.identifiers.numocts;
   default: return 0;
   }
}

template <class Coder>
int encodeFilterList(Coder& e, TS24008IE_TFT& tft) {
   const uint8_t count = tft.octet1.numPacketFilters;
   L3_TRY(e.push("packetFilterList"));
   if (tft.octet1.tftOperationCode == TS24008IE_TFTOctet1_tftOperationCode_delPktFilters) {
      auto& identifiers = tft.packetFilterList.u.identifiers;
      L3_TRY(e.push("identifiers"));
      identifiers.numocts = count; // as for the filters
      if (count != 0 && identifiers.data == nullptr) return e.failed(RTX_E_NULL);
      L3_TRY(e.tracedOctets("OCTET STRING", identifiers.data, count));
   } else {
      auto& items = tft.packetFilterList.u.filterItems;
      L3_TRY(e.push("filterItems"));
      items.n = count; // the first octet's number, so that both agree on the wire
      if (count != 0 && items.elem == nullptr) {
         L3_TRY(e.push("elem"));
         if constexpr (!Coder::kShort) rtxErrAddElemNameParm(e.ctxt());
         return e.failed(RTX_E_NULL);
      }
      L3_TRY(e.repeat(nullptr, items.n, items.elem, Limits{}, [](auto& each, auto& x) {
         return each.template call<quorva::type::TS24008IE_TFTPacketFilterItem>(&x);
      }));
   }
   e.pop();
   e.pop();
   return 0;
}

int decodeFilterItems(Decoder& d, TS24008IE_TFT& tft) {
   const size_t count = tft.octet1.numPacketFilters;
   auto& items = tft.packetFilterList.u.filterItems;
   L3_TRY(d.push("filterItems"));
   items.n = 0;
   items.elem = nullptr;
   if (count != 0) {
      items.elem = static_cast<TS24008IE_TFTPacketFilterItem*>(
            rtxMemHeapAlloc(d.ctxt(), count * sizeof(TS24008IE_TFTPacketFilterItem)));
      if (items.elem == nullptr) return d.failed(RTX_E_NOMEM);
   }
   for (size_t i = 0; i < count; ++i) {
      L3_TRY(d.pushIndex(i));
      items.elem[i] = {}; // shown from now on, also if it breaks off
      asn1Init_TS24008IE_TFTPacketFilterItem(&items.elem[i]);
      ++items.n;
      if (const int status = NASDec_TS24008IE_TFTPacketFilterItem(d.ctxt(), &items.elem[i]); status < 0)
         return d.failed(status);
      d.popIndex(i);
   }
   d.pop();
   return 0;
}

int decodeFilterList(Decoder& d, TS24008IE_TFT& tft) {
   switch (tft.octet1.tftOperationCode) {
   case TS24008IE_TFTOctet1_tftOperationCode_createTFT:
   case TS24008IE_TFTOctet1_tftOperationCode_addPktFilters:
   case TS24008IE_TFTOctet1_tftOperationCode_replPktFilters:
      L3_TRY(d.push("packetFilterList"));
      L3_TRY(decodeFilterItems(d, tft));
      break;
   case TS24008IE_TFTOctet1_tftOperationCode_delPktFilters:
      L3_TRY(d.push("packetFilterList"));
      L3_TRY(d.sized("identifiers", tft.octet1.numPacketFilters, tft.packetFilterList.u.identifiers,
                     Limits{}));
      break;
   default: return 0;
   }
   d.pop();
   return 0;
}

int decodeParams(Decoder& d, TS24008IE_TFT& tft, size_t end) {
   L3_TRY(d.push("paramList"));
   void* array = nullptr;
   size_t count = 0, capacity = 0;
   while (d.ctxt()->bufByteIndex < end) {
      if (count == capacity && growArray(d.ctxt(), &array, count, &capacity, sizeof(TS24008IE_TFTParam)) < 0)
         return d.failed(RTX_E_NOMEM);
      auto* param = static_cast<TS24008IE_TFTParam*>(array) + count;
      L3_TRY(d.pushIndex(count));
      asn1Init_TS24008IE_TFTParam(param);
      if (const int status = NASDec_TS24008IE_TFTParam(d.ctxt(), param); status < 0) return d.failed(status);
      d.popIndex(count);
      ++count;
   }
   tft.paramList.n = static_cast<uint32_t>(count);
   tft.paramList.elem = static_cast<TS24008IE_TFTParam*>(array);
   d.pop();
   return 0;
}

} // namespace

template <class Coder>
static int encode_TS24008IE_TFT(Coder& e, TS24008IE_TFT* pvalue) {
   L3_TRY(e.begin("TFT"));
   L3_TRY(e.template constant<8>("length", 0));
   const size_t start = e.offset();
   uint8_t* octet = nullptr;
   if constexpr (Coder::kShort) octet = e.octetAhead(0) - 1;
   // In standard mode the lists tell what is announced: a text with a higher number reads nothing behind
   // them.
   const size_t count = filtersOf(*pvalue);
   if (e.standard()) {
      if (count > 15) return e.badBound(count);
      pvalue->octet1.numPacketFilters = static_cast<uint8_t>(count);
      if (pvalue->paramList.n != 0) pvalue->octet1.eBit = 1;
   }
   L3_TRY(e.template item<quorva::type::TS24008IE_TFTOctet1>("octet1", &pvalue->octet1));
   if (!e.standard() || count != 0) L3_TRY(encodeFilterList(e, *pvalue));
   L3_TRY(e.repeat(
         "paramList", pvalue->paramList.n, pvalue->paramList.elem, Limits{},
         [](auto& each, auto& x) { return each.template call<quorva::type::TS24008IE_TFTParam>(&x); }));
   const size_t numocts = (e.offset() - start) / 8;
   pvalue->length = static_cast<uint8_t>(numocts);
   if constexpr (!Coder::kShort) octet = &e.ctxt()->bufData[start / 8 - 1]; // of a buffer that may have moved
   *octet = pvalue->length;
   if (numocts == 0 || numocts > UINT8_MAX) return e.badBound(numocts);
   return e.done();
}
L3_ENCODER(TS24008IE_TFT, (TS24008IE_TFT * pvalue), (pvalue))

// Of lists that end where the length does.
static int decode_TS24008IE_TFT(ShortDecoder& d, TS24008IE_TFT* pvalue) {
   if (d.standard()) return kNotShort;
   ShortDecoder::Length length;
   L3_TRY(d.open<8>(nullptr, pvalue->length, Limits{}, length));
   if (!d.more()) return d.close(length);
   L3_TRY(d.call<quorva::type::TS24008IE_TFTOctet1>(&pvalue->octet1));
   if (!d.more()) return d.close(length);
   const size_t count = pvalue->octet1.numPacketFilters;
   switch (pvalue->octet1.tftOperationCode) {
   case TS24008IE_TFTOctet1_tftOperationCode_createTFT:
   case TS24008IE_TFTOctet1_tftOperationCode_addPktFilters:
   case TS24008IE_TFTOctet1_tftOperationCode_replPktFilters: {
      auto& items = pvalue->packetFilterList.u.filterItems;
      L3_TRY(d.repeatTimes(nullptr, count, items.n, items.elem, Limits{}, [](auto& in, auto& x) {
         x = {};
         asn1Init_TS24008IE_TFTPacketFilterItem(&x);
         return in.template call<quorva::type::TS24008IE_TFTPacketFilterItem>(&x);
      }));
      break;
   }
   case TS24008IE_TFTOctet1_tftOperationCode_delPktFilters:
      L3_TRY(d.sized(nullptr, count, pvalue->packetFilterList.u.identifiers, Limits{}));
      break;
   default: break;
   }
   pvalue->paramList.n = 0;
   if (pvalue->octet1.eBit != 0)
      L3_TRY(d.repeat(nullptr, pvalue->paramList.n, pvalue->paramList.elem, Limits{}, [](auto& in, auto& x) {
         asn1Init_TS24008IE_TFTParam(&x);
         return in.template call<quorva::type::TS24008IE_TFTParam>(&x);
      }));
   return d.close(length);
}
static int decode_TS24008IE_TFT(Decoder& d, TS24008IE_TFT* pvalue) {
   RtxContext* pctxt = d.ctxt();
   L3_TRY(d.begin("TFT"));
   L3_TRY(d.push("length"));
   L3_TRY(d.tracedOctets("INTEGER", &pvalue->length, 1));
   d.pop();
   const size_t end = pctxt->bufByteIndex + pvalue->length;
   L3_TRY(mustHold(pctxt, pvalue->length));
   if (pctxt->bufByteIndex >= end) return d.done();
   L3_TRY(d.item("octet1", NASDec_TS24008IE_TFTOctet1, &pvalue->octet1));
   if (pctxt->bufByteIndex >= end) return d.done();
   L3_TRY(decodeFilterList(d, *pvalue));
   pvalue->paramList.n = 0;
   if (d.standard()) L3_TRY(d.within({8 * end}));
   if (pvalue->octet1.eBit == 0) {
      pctxt->bufByteIndex = end;
      return d.done();
   }
   L3_TRY(decodeParams(d, *pvalue, end)); // the cursor stays where the last one ended, even behind the end
   if (d.standard()) L3_TRY(d.within({8 * end}));
   return d.done();
}
L3_DECODER(TS24008IE_TFT, (TS24008IE_TFT * pvalue), (pvalue))
