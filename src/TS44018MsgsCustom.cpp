// The PDUs of the GSM channels, and the radio resource messages that no description says well. TS 44.018.
// Encoders spell the names of types with hyphens, decoders with underscores; readers of a trace go by both.

#include "src/frame/pdu.h"
#include "src/frame/security.h"
#include "src/TS44018MsgsTypes.h"

using namespace quorva::frame;

extern const MessageTable kTS44018Msg_DL_DCCH_PDUMessages;
extern const MessageTable kTS44018Msg_UL_DCCH_PDUMessages;
extern const MessageTable kTS44018Msg_UL_SACCH_PDUMessages;
extern const MessageTable kTS44018Msg_L2_PSEUDO_LEN_PDUMessages;
extern const MessageTable kTS44018Msg_L2_PSEUDO_LEN_PDU_restOctetsMessages;
extern const MessageTable kTS44018Msg_RR_Short_PD_PDUMessages;

// Immediate assignment, TS 44.018, 9.1.18. One of the two descriptions stands on the wire: the first octet
// tells which, and the encoder goes by it and not by the presence bits.
namespace {

// The mandatory part, by a coder of either form.
template <class Coder>
L3_INLINE int assignment(Coder& c, TS44018Msg_ImmediateAssignment& r) {
   namespace type = quorva::type;
   L3_TRY(
         c.template item<type::TS44018IE_Dedicated_mode_or_TBF>("dedicatedModeOrTBF", &r.dedicatedModeOrTBF));
   L3_TRY(c.template item<type::TS44018IE_Page_Mode>("pageMode", &r.pageMode));
   const bool packet = r.dedicatedModeOrTBF.tbf_or_dedicated != 0;
   if (packet)
      L3_TRY(c.template item<type::TS44018IE_Packet_Channel_Description>("packetChannelDescr",
                                                                         &r.packetChannelDescr));
   else
      L3_TRY(c.template item<type::TS44018IE_Channel_Description>("channelDescr", &r.channelDescr));
   if constexpr (std::is_same_v<Coder, Decoder> || std::is_same_v<Coder, ShortDecoder>) {
      r.m.packetChannelDescrPresent = packet;
      r.m.channelDescrPresent = !packet;
   }
   // Each description has 24 bits, so this is so only where the message began inside an octet.
   if constexpr (std::is_same_v<Coder, Encoder>)
      if (c.ctxt()->bufBitsLeft != 8) return c.failed(RTX_E_NOT_ALIGNED);
   L3_TRY(c.template item<type::TS44018IE_Request_Reference>("requestReference", &r.requestReference));
   L3_TRY(c.fields(value<type::TS44018IE_Timing_Advance>("timingAdvance", r.timingAdvance)));
   return c.template item<type::TS44018IE_Mobile_Allocation>("mobileAllocation", &r.mobileAllocation);
}

} // namespace

int NASEnc_TS44018Msg_ImmediateAssignment(RtxContext* pctxt, TS44018Msg_ImmediateAssignment* pvalue) {
   L3_ENCODES(TS44018Msg_ImmediateAssignment);
   Encoder e(pctxt);
   L3_TRY(e.begin("ImmediateAssignment"));
   L3_TRY(encodeHeader(e, [=](auto& coder) L3_INLINE_LAMBDA { return assignment(coder, *pvalue); }));
   return quorva::type::TS44018Msg_ImmediateAssignment::encodeOptional(pctxt, pvalue);
}

int NASDec_TS44018Msg_ImmediateAssignment(RtxContext* pctxt, TS44018Msg_ImmediateAssignment* pvalue) {
   L3_FROM_STREAM(NASDec_TS44018Msg_ImmediateAssignment(pctxt, pvalue));
   Decoder d(pctxt);
   L3_TRY(d.begin("ImmediateAssignment"));
   pvalue->m = {};
   // By the standards nothing may reach beyond what is around it, of which the short form knows nothing here.
   L3_TRY(decodeHeader(d, d.standard() ? nullptr : plainHeader(pctxt),
                       [=](auto& coder) L3_INLINE_LAMBDA { return assignment(coder, *pvalue); }));
   return d.optional<quorva::type::TS44018Msg_ImmediateAssignment>(pvalue);
}

// Identities of paging requests of types 2 and 3, TS 44.018, 10.5.2.42: four octets, of a TMSI or a P-TMSI.
namespace {

constexpr uint32_t kTmsi = 4; // arm of the identity

int encodeTmsi(Encoder& e, const char* name, TS24008IE_MobileIdentity& identity) {
   L3_TRY(e.push(name));
   if (identity.t != kTmsi) return e.badChoice();
   L3_TRY(e.traced("OCTET STRING", [&] { return rtxEncBitsFromByteArray(e.ctxt(), identity.u.tmsi, 32); }));
   e.pop();
   return 0;
}

int decodeTmsi(Decoder& d, const char* name, TS24008IE_MobileIdentity& identity) {
   identity.t = kTmsi;
   L3_TRY(d.push(name));
   L3_TRY(d.traced("OCTET STRING", [&] { return rtxDecBitsToByteArray(d.ctxt(), identity.u.tmsi, 4, 32); }));
   d.pop();
   return 0;
}

// What both types begin with.
template <class Message>
int encodePaging(Encoder& e, Message* pvalue) {
   L3_TRY(e.item("channelsNeededForMobiles1And2", NASEnc_TS44018IE_Channel_Needed,
                 &pvalue->channelsNeededForMobiles1And2));
   L3_TRY(e.item("pageMode", NASEnc_TS44018IE_Page_Mode, &pvalue->pageMode));
   L3_TRY(encodeTmsi(e, "mobileIdentity1", pvalue->mobileIdentity1));
   return encodeTmsi(e, "mobileIdentity2", pvalue->mobileIdentity2);
}

template <class Message>
int decodePaging(Decoder& d, Message* pvalue) {
   L3_TRY(d.item("channelsNeededForMobiles1And2", NASDec_TS44018IE_Channel_Needed,
                 &pvalue->channelsNeededForMobiles1And2));
   L3_TRY(d.item("pageMode", NASDec_TS44018IE_Page_Mode, &pvalue->pageMode));
   L3_TRY(decodeTmsi(d, "mobileIdentity1", pvalue->mobileIdentity1));
   return decodeTmsi(d, "mobileIdentity2", pvalue->mobileIdentity2);
}

} // namespace

int NASEnc_TS44018Msg_PagingRequestType2(RtxContext* pctxt, TS44018Msg_PagingRequestType2* pvalue) {
   L3_ENCODES(TS44018Msg_PagingRequestType2);
   Encoder e(pctxt);
   L3_TRY(e.begin("PagingRequestType2"));
   L3_TRY(encodePaging(e, pvalue));
   return quorva::type::TS44018Msg_PagingRequestType2::encodeOptional(pctxt, pvalue);
}

int NASDec_TS44018Msg_PagingRequestType2(RtxContext* pctxt, TS44018Msg_PagingRequestType2* pvalue) {
   L3_FROM_STREAM(NASDec_TS44018Msg_PagingRequestType2(pctxt, pvalue));
   Decoder d(pctxt);
   L3_TRY(d.begin("PagingRequestType2"));
   pvalue->m = {};
   L3_TRY(decodePaging(d, pvalue));
   return d.optional<quorva::type::TS44018Msg_PagingRequestType2>(pvalue);
}

int NASEnc_TS44018Msg_PagingRequestType3(RtxContext* pctxt, TS44018Msg_PagingRequestType3* pvalue) {
   L3_ENCODES(TS44018Msg_PagingRequestType3);
   Encoder e(pctxt);
   L3_TRY(e.begin("PagingRequestType3"));
   L3_TRY(encodePaging(e, pvalue));
   L3_TRY(encodeTmsi(e, "mobileIdentity3", pvalue->mobileIdentity3));
   L3_TRY(encodeTmsi(e, "mobileIdentity4", pvalue->mobileIdentity4));
   return e.done();
}

int NASDec_TS44018Msg_PagingRequestType3(RtxContext* pctxt, TS44018Msg_PagingRequestType3* pvalue) {
   L3_FROM_STREAM(NASDec_TS44018Msg_PagingRequestType3(pctxt, pvalue));
   Decoder d(pctxt);
   L3_TRY(d.begin("PagingRequestType3"));
   L3_TRY(decodePaging(d, pvalue));
   L3_TRY(decodeTmsi(d, "mobileIdentity3", pvalue->mobileIdentity3));
   L3_TRY(decodeTmsi(d, "mobileIdentity4", pvalue->mobileIdentity4));
   return d.optional<quorva::type::TS44018Msg_PagingRequestType3>(pvalue);
}

// Enhanced measurement report, TS 44.018, 9.1.55. Its first list of reports goes to the end of the message,
// so that nothing tells where it ends: what fills the last octet comes back as reports without a value.
namespace {

using Reports = TS44018Msg__SeqOfTS44018Msg_Enhanced_Measurement_report_component_7_element;
using Report = TS44018Msg_Enhanced_Measurement_report_component_7_element;

// The bits of a report with a value: a flag, and the value.
constexpr int64_t kReportBits = 1 + 6;

// Is the next bit 1?
bool bitAtHand(const RtxContext* ctxt) {
   return (ctxt->bufData[ctxt->bufByteIndex] >> (ctxt->bufBitsLeft - 1) & 1) != 0;
}

} // namespace

int NASEnc_TS44018Msg__SeqOfTS44018Msg_Enhanced_Measurement_report_component_7_element(RtxContext* pctxt,
                                                                                       Reports* pvalue) {
   L3_ENCODES(TS44018Msg__SeqOfTS44018Msg_Enhanced_Measurement_report_component_7_element);
   Encoder e(pctxt);
   L3_TRY(e.begin("_SeqOfTS44018Msg-Enhanced-Measurement-report-component-7-element"));
   L3_TRY(e.repeat(nullptr, pvalue->n, pvalue->elem, Limits{}, [](Encoder& each, Report& report) {
      return NASEnc_TS44018Msg_Enhanced_Measurement_report_component_7_element(each.ctxt(), &report);
   }));
   return e.done();
}

int NASDec_TS44018Msg__SeqOfTS44018Msg_Enhanced_Measurement_report_component_7_element(RtxContext* pctxt,
                                                                                       Reports* pvalue) {
   L3_FROM_STREAM(
         NASDec_TS44018Msg__SeqOfTS44018Msg_Enhanced_Measurement_report_component_7_element(pctxt, pvalue));
   Decoder d(pctxt);
   L3_TRY(d.begin("_SeqOfTS44018Msg_Enhanced_Measurement_report_component_7_element"));
   pvalue->n = 0;
   pvalue->elem = nullptr;
   void* array = nullptr;
   size_t capacity = 0;
   for (size_t i = 0;; ++i) {
      const int64_t left = quorva::hot::containerRemBits(pctxt);
      if (left <= 0) break;
      if (left < kReportBits && bitAtHand(pctxt)) { // cut off by the end
         L3_TRY(d.skipBits(static_cast<uint32_t>(left)));
         break;
      }
      if (i == capacity) {
         L3_TRY(growArray(pctxt, &array, i, &capacity, sizeof(Report)));
         pvalue->elem = static_cast<Report*>(array);
      }
      Report& report = pvalue->elem[i];
      asn1Init_TS44018Msg_Enhanced_Measurement_report_component_7_element(&report);
      L3_TRY(d.pushIndex(i));
      if (const int status =
                NASDec_TS44018Msg_Enhanced_Measurement_report_component_7_element(pctxt, &report);
          status < 0)
         return d.failed(status);
      d.popIndex(i);
      ++pvalue->n;
   }
   return d.done();
}

int NASEnc_TS44018Msg_Enhanced_Measurement_report(RtxContext* pctxt,
                                                  TS44018Msg_Enhanced_Measurement_report* pvalue) {
   L3_ENCODES(TS44018Msg_Enhanced_Measurement_report);
   Encoder e(pctxt);
   L3_TRY(e.begin("Enhanced-Measurement-report"));
   if (pvalue->m.component_7Present && pvalue->m.component_8Present) return RTX_E_CONSTRAINT;
   L3_TRY(e.fields(integer<1>("ba-used", pvalue->ba_used), integer<1>("a3G-BA-USED", pvalue->a3G_BA_USED),
                   integer<1>("bsic-Seen", pvalue->bsic_Seen), integer<1>("scale", pvalue->scale)));
   L3_TRY(e.leadBit("optional bit", pvalue->m.serving_cell_dataPresent));
   if (pvalue->m.serving_cell_dataPresent)
      L3_TRY(e.item("serving-cell-data", NASEnc_TS44018Msg_Serving_cell_data_struct,
                    &pvalue->serving_cell_data));
   L3_TRY(e.item("repeated-Invalid-BSIC-Information-list",
                 NASEnc_TS44018Msg__SeqOfTS44018Msg_Repeated_Invalid_BSIC_Information_struct,
                 &pvalue->repeated_Invalid_BSIC_Information_list));
   L3_TRY(e.leadBit("optional bit", pvalue->m.component_7Present));
   if (pvalue->m.component_7Present) {
      L3_TRY(e.item("component-7",
                    NASEnc_TS44018Msg__SeqOfTS44018Msg_Enhanced_Measurement_report_component_7_element,
                    &pvalue->component_7));
      L3_TRY(encPadding(pctxt, 0));
      return e.done();
   }
   L3_TRY(encHighBit(pctxt, "optional bit", pvalue->m.component_8Present));
   if (pvalue->m.component_8Present)
      L3_TRY(e.item("component-8", NASEnc_TS44018Msg_Enhanced_Measurement_report_component_8,
                    &pvalue->component_8));
   L3_TRY(encPadding(pctxt, quorva::csn1::kPadding));
   return e.done();
}

int NASDec_TS44018Msg_Enhanced_Measurement_report(RtxContext* pctxt,
                                                  TS44018Msg_Enhanced_Measurement_report* pvalue) {
   L3_FROM_STREAM(NASDec_TS44018Msg_Enhanced_Measurement_report(pctxt, pvalue));
   Decoder d(pctxt);
   L3_TRY(d.begin("Enhanced_Measurement_report"));
   pvalue->m = {};
   uint8_t present = 0;
   L3_TRY(d.fields(integer<1>("ba-used", pvalue->ba_used), integer<1>("a3G-BA-USED", pvalue->a3G_BA_USED),
                   integer<1>("bsic-Seen", pvalue->bsic_Seen), integer<1>("scale", pvalue->scale)));
   L3_TRY(d.leadBit("optional bit", present));
   if (present != 0) {
      L3_TRY(d.item("serving-cell-data", NASDec_TS44018Msg_Serving_cell_data_struct,
                    &pvalue->serving_cell_data));
      pvalue->m.serving_cell_dataPresent = 1;
   }
   L3_TRY(d.item("repeated-Invalid-BSIC-Information-list",
                 NASDec_TS44018Msg__SeqOfTS44018Msg_Repeated_Invalid_BSIC_Information_struct,
                 &pvalue->repeated_Invalid_BSIC_Information_list));
   L3_TRY(d.leadBit("optional bit", present));
   if (present != 0) {
      L3_TRY(d.item("component-7",
                    NASDec_TS44018Msg__SeqOfTS44018Msg_Enhanced_Measurement_report_component_7_element,
                    &pvalue->component_7));
      pvalue->m.component_7Present = 1;
   } else if (d.more()) {
      L3_TRY(decHighBit(pctxt, "optional bit", &present));
      if (present != 0) {
         L3_TRY(d.item("component-8", NASDec_TS44018Msg_Enhanced_Measurement_report_component_8,
                       &pvalue->component_8));
         pvalue->m.component_8Present = 1;
      }
   }
   d.align();
   return d.done();
}

// The header of the PDUs with a whole discriminator, TS 44.018, 10.2 to 10.4: options, discriminator, type.
namespace {

template <class Pdu>
int encodeHeaderOf(Encoder& e, Pdu* pvalue) {
   L3_TRY(e.item("l3HdrOpts", NASEnc_TS24007L3_L3HdrOptions, &pvalue->l3HdrOpts));
   return e.fields(value<quorva::type::TS24007L3_ProtoDiscr>("protoDiscr", pvalue->protoDiscr),
                   integer<8>("msgType", pvalue->msgType));
}

template <class Pdu>
int decodeHeaderOf(Decoder& d, Pdu* pvalue) {
   pvalue->l3HdrOpts.t = 1;
   return decodeHeader(d, plainHeader(d.ctxt()), [=](auto& coder) L3_INLINE_LAMBDA {
      return coder.fields(group("l3HdrOpts", armInteger<4>("skipInd", pvalue->l3HdrOpts.u.skipInd)),
                          value<quorva::type::TS24007L3_ProtoDiscr>("protoDiscr", pvalue->protoDiscr),
                          integer<8>("msgType", pvalue->msgType));
   });
}

template <class Pdu>
int encodePdu(RtxContext* ctxt, const char* name, Pdu* pvalue, const MessageTable& table) {
   Encoder e(ctxt);
   L3_TRY(e.begin(name));
   L3_TRY(encodeHeaderOf(e, pvalue));
   L3_TRY(encodeData(e, pvalue->data, table));
   return e.done();
}

// Two discriminators have messages on dedicated channels: GPRS information has that of transparent transport.
// A type that the one has and the other not is an unknown one.
template <class Pdu>
int decodePdu(RtxContext* ctxt, const char* name, Pdu* pvalue, const MessageTable& table, bool transparent) {
   Decoder d(ctxt);
   L3_TRY(d.begin(name));
   L3_TRY(decodeHeaderOf(d, pvalue));
   const uint32_t discriminator = pvalue->protoDiscr;
   if (discriminator != TS24007L3_ProtoDiscr_rrMgmt &&
       !(transparent && discriminator == TS24007L3_ProtoDiscr_gttp)) [[unlikely]] {
      L3_TRY(d.push(kData));
      return newBadChoice(d);
   }
   int status = 0;
   L3_TRY(decodeData(d, pvalue->data, table, discriminator, pvalue->msgType, &status));
   return d.ended(status);
}

} // namespace

int NASEnc_TS44018Msg_DL_DCCH_PDU(RtxContext* pctxt, TS44018Msg_DL_DCCH_PDU* pvalue) {
   L3_ENCODES(TS44018Msg_DL_DCCH_PDU);
   return encodePdu(pctxt, "DL-DCCH-PDU", pvalue, kTS44018Msg_DL_DCCH_PDUMessages);
}

int NASDec_TS44018Msg_DL_DCCH_PDU(RtxContext* pctxt, TS44018Msg_DL_DCCH_PDU* pvalue) {
   L3_FROM_STREAM(NASDec_TS44018Msg_DL_DCCH_PDU(pctxt, pvalue));
   return decodePdu(pctxt, "DL_DCCH_PDU", pvalue, kTS44018Msg_DL_DCCH_PDUMessages, true);
}

int NASEnc_TS44018Msg_UL_DCCH_PDU(RtxContext* pctxt, TS44018Msg_UL_DCCH_PDU* pvalue) {
   L3_ENCODES(TS44018Msg_UL_DCCH_PDU);
   return encodePdu(pctxt, "UL-DCCH-PDU", pvalue, kTS44018Msg_UL_DCCH_PDUMessages);
}

int NASDec_TS44018Msg_UL_DCCH_PDU(RtxContext* pctxt, TS44018Msg_UL_DCCH_PDU* pvalue) {
   L3_FROM_STREAM(NASDec_TS44018Msg_UL_DCCH_PDU(pctxt, pvalue));
   return decodePdu(pctxt, "UL_DCCH_PDU", pvalue, kTS44018Msg_UL_DCCH_PDUMessages, true);
}

int NASEnc_TS44018Msg_UL_SACCH_PDU(RtxContext* pctxt, TS44018Msg_UL_SACCH_PDU* pvalue) {
   L3_ENCODES(TS44018Msg_UL_SACCH_PDU);
   return encodePdu(pctxt, "UL-SACCH-PDU", pvalue, kTS44018Msg_UL_SACCH_PDUMessages);
}

int NASDec_TS44018Msg_UL_SACCH_PDU(RtxContext* pctxt, TS44018Msg_UL_SACCH_PDU* pvalue) {
   L3_FROM_STREAM(NASDec_TS44018Msg_UL_SACCH_PDU(pctxt, pvalue));
   return decodePdu(pctxt, "UL_SACCH_PDU", pvalue, kTS44018Msg_UL_SACCH_PDUMessages, false);
}

// Messages of the common control and broadcast channels, TS 44.018, 10.1: a pseudo length around header and
// message, TS 44.018, 10.5.2.19, and rest octets behind it.
namespace {

constexpr char kRestOctets[] = "restOctets";
constexpr size_t kPseudoLengthBits = 6;

} // namespace

int NASEnc_TS44018Msg_L2_PSEUDO_LEN_PDU(RtxContext* pctxt, TS44018Msg_L2_PSEUDO_LEN_PDU* pvalue) {
   L3_ENCODES(TS44018Msg_L2_PSEUDO_LEN_PDU);
   Encoder e(pctxt);
   L3_TRY(e.begin("L2-PSEUDO-LEN-PDU"));
   L3_TRY(e.item("l2PseudoLen", NASEnc_TS44018IE_L2_Pseudo_Length, &pvalue->l2PseudoLen));
   const size_t start = e.offset();
   L3_TRY(encodeHeaderOf(e, pvalue));
   L3_TRY(encodeData(e, pvalue->data, kTS44018Msg_L2_PSEUDO_LEN_PDUMessages));
   // The octets written, also where TS 44.018 has another, constant length for the message.
   const size_t end = e.offset(), octets = (end - start) >> 3;
   if (octets >> kPseudoLengthBits != 0) return RTX_E_CONSTRAINT;
   pvalue->l2PseudoLen.pseudo_length = static_cast<uint8_t>(octets);
   rtxCtxtSetBitOffset(pctxt, start - 8);
   if (const int status = rtxMergeBits(pctxt, static_cast<uint32_t>(octets), kPseudoLengthBits); status < 0)
      return e.failed(status);
   rtxCtxtSetBitOffset(pctxt, end);
   L3_TRY(encodeData(e, pvalue->restOctets, kTS44018Msg_L2_PSEUDO_LEN_PDU_restOctetsMessages, kRestOctets));
   return e.done();
}

int NASDec_TS44018Msg_L2_PSEUDO_LEN_PDU(RtxContext* pctxt, TS44018Msg_L2_PSEUDO_LEN_PDU* pvalue) {
   L3_FROM_STREAM(NASDec_TS44018Msg_L2_PSEUDO_LEN_PDU(pctxt, pvalue));
   Decoder d(pctxt);
   L3_TRY(d.begin("L2_PSEUDO_LEN_PDU"));
   L3_TRY(d.item("l2PseudoLen", NASDec_TS44018IE_L2_Pseudo_Length, &pvalue->l2PseudoLen));
   Length length;
   L3_TRY(d.pushContainer(pvalue->l2PseudoLen.pseudo_length, length));
   L3_TRY(decodeHeaderOf(d, pvalue));
   if (pvalue->protoDiscr != TS24007L3_ProtoDiscr_rrMgmt) [[unlikely]] {
      L3_TRY(d.push(kData));
      return newBadChoice(d);
   }
   int status = 0;
   L3_TRY(decodeData(d, pvalue->data, kTS44018Msg_L2_PSEUDO_LEN_PDUMessages, pvalue->protoDiscr,
                     pvalue->msgType, &status));
   // Networks send lengths that do not agree with the message, so the rest octets follow wherever that has
   // ended.
   quorva::hot::popContainer(pctxt);
   L3_TRY(decodeData(d, pvalue->restOctets, kTS44018Msg_L2_PSEUDO_LEN_PDU_restOctetsMessages,
                     pvalue->protoDiscr, pvalue->msgType, &status, kRestOctets));
   return d.ended(status);
}

// Messages with a short protocol discriminator, TS 44.018, 10.1 and TS 44.006, 6.4a.
namespace {

template <class Coder>
L3_INLINE int shortHeader(Coder& c, TS44018Msg_RR_Short_PD_PDU* pvalue) {
   return c.fields(integer<1>("rr-short-PD", pvalue->rr_short_PD), integer<5>("msgType", pvalue->msgType),
                   integer<2>("short-layer-2-header", pvalue->short_layer_2_header));
}

} // namespace

int NASEnc_TS44018Msg_RR_Short_PD_PDU(RtxContext* pctxt, TS44018Msg_RR_Short_PD_PDU* pvalue) {
   L3_ENCODES(TS44018Msg_RR_Short_PD_PDU);
   Encoder e(pctxt);
   L3_TRY(e.begin("RR-Short-PD-PDU"));
   L3_TRY(shortHeader(e, pvalue));
   L3_TRY(encodeData(e, pvalue->data, kTS44018Msg_RR_Short_PD_PDUMessages));
   return e.done();
}

int NASDec_TS44018Msg_RR_Short_PD_PDU(RtxContext* pctxt, TS44018Msg_RR_Short_PD_PDU* pvalue) {
   L3_FROM_STREAM(NASDec_TS44018Msg_RR_Short_PD_PDU(pctxt, pvalue));
   Decoder d(pctxt);
   L3_TRY(d.begin("RR_Short_PD_PDU"));
   L3_TRY(shortHeader(d, pvalue));
   int status = 0;
   L3_TRY(decodeData(d, pvalue->data, kTS44018Msg_RR_Short_PD_PDUMessages, 0, pvalue->msgType, &status));
   return d.ended(status);
}
