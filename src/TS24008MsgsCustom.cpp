// The PDU of TS 24.008 with its transaction identifier and send sequence number, and GMM Detach accept.

#include "src/frame/pdu.h"
#include "src/frame/scan.h"
#include "src/frame/security.h"
#include "src/TS24008MsgsTypes.h"

#include <cstddef>

using namespace quorva::frame;

extern const MessageTable kTS24008Msg_PDUMessages;

// Only the network sends a force to standby here, and it has no IEI. TS 24.008, 9.4.6.
int NASEnc_TS24008Msg_DetachAccept(RtxContext* pctxt, TS24008Msg_DetachAccept* pvalue) {
   L3_TO_STREAM(NASEnc_TS24008Msg_DetachAccept(pctxt, pvalue));
   Encoder e(pctxt);
   L3_TRY(e.begin("DetachAccept"));
   if (pvalue->m.forceToStandbyPresent) {
      uint8_t spare = 0;
      L3_TRY(e.fields(integer<4>("spare", spare)));
      L3_TRY(e.item("forceToStandby", NASEnc_TS24008IE_ForceToStandbyValue, &pvalue->forceToStandby));
   }
   return e.done();
}

int NASDec_TS24008Msg_DetachAccept(RtxContext* pctxt, TS24008Msg_DetachAccept* pvalue) {
   L3_FROM_STREAM(NASDec_TS24008Msg_DetachAccept(pctxt, pvalue));
   Decoder d(pctxt);
   L3_TRY(d.begin("DetachAccept"));
   pvalue->m = {};
   if ((pctxt->flags & RTX_CTXT_UPLINK) == 0 && d.more()) {
      uint8_t spare = 0;
      L3_TRY(d.fields(integer<4>("spare", spare)));
      L3_TRY(d.item("forceToStandby", NASDec_TS24008IE_ForceToStandbyValue, &pvalue->forceToStandby));
      pvalue->m.forceToStandbyPresent = 1;
   }
   L3_TRY(d.nonImperative(0));
   return d.ended();
}

// The 4 bits ahead of the discriminator are a transaction identifier, TS 24.007, 11.2.3.1.3.
static bool hasTransaction(uint32_t discriminator) {
   return discriminator == TS24007L3_ProtoDiscr_callCtrl || discriminator == TS24007L3_ProtoDiscr_sessMgmt;
}

// The message type shares its octet with a send sequence number, TS 24.007, 11.2.3.2.
static bool hasSequence(uint32_t discriminator) {
   return discriminator == TS24007L3_ProtoDiscr_callCtrl || discriminator == TS24007L3_ProtoDiscr_mobMgmt;
}

// Identifiers of 7 and more take an octet of their own.
constexpr uint8_t kExtended = 7;

static int encodeOptions(Encoder e, TS24008Msg_PDU* pvalue) {
   auto& options = pvalue->l3HdrOpts.u;
   L3_TRY(e.push("l3HdrOpts"));
   if (hasTransaction(pvalue->protoDiscr)) {
      uint8_t low = options.transId.value < kExtended ? options.transId.value : kExtended;
      L3_TRY(e.push("transId"));
      L3_TRY(e.fields(flag("flag", options.transId.flag), integer<3>("value", low)));
      e.pop();
   } else {
      L3_TRY(e.fields(integer<4>("skipInd", options.skipInd)));
   }
   e.pop();
   return 0;
}

L3_COLD static int encodeFullHeader(Encoder e, TS24008Msg_PDU* pvalue) {
   L3_TRY(encodeOptions(e, pvalue));
   L3_TRY(e.fields(value<quorva::type::TS24007L3_ProtoDiscr>("protoDiscr", pvalue->protoDiscr)));
   uint8_t type = pvalue->msgType;
   // Another test of the discriminator than that of the identifier's 3 bits: session management
   // has no octet for a long identifier, and mobility management has one if the field that it does not use
   // says so.
   if (hasSequence(pvalue->protoDiscr)) {
      if (pvalue->l3HdrOpts.u.transId.value >= kExtended)
         L3_TRY(e.fields(integer<8>("transId.value", pvalue->l3HdrOpts.u.transId.value)));
      if (pvalue->m.sendSeqNumPresent) type |= static_cast<uint8_t>(pvalue->sendSeqNum << 6);
   }
   return e.fields(integer<8>("msgType", type));
}

// Options, discriminator and type; in one step if nothing can fail and nobody looks.
L3_INLINE static int encodeHeader(Encoder e, TS24008Msg_PDU* pvalue) {
   RtxContext* ctxt = e.ctxt();
   const auto& options = pvalue->l3HdrOpts.u;
   const uint32_t discriminator = pvalue->protoDiscr;
   uint8_t* at = plainHeader(ctxt, 2);
   if (at == nullptr || !quorva::type::TS24007L3_ProtoDiscr::legalInRecord(discriminator) ||
       options.transId.value >= kExtended)
      return encodeFullHeader(e, pvalue);
   unsigned nibble = options.skipInd;
   if (hasTransaction(discriminator))
      nibble = (options.transId.flag != 0 ? 8u : 0u) | options.transId.value;
   else if (nibble > 15)
      return encodeFullHeader(e, pvalue);
   unsigned type = pvalue->msgType;
   if (hasSequence(discriminator) && pvalue->m.sendSeqNumPresent) type |= unsigned{pvalue->sendSeqNum} << 6;
   at[0] = static_cast<uint8_t>(nibble << 4 | discriminator);
   at[1] = static_cast<uint8_t>(type);
   ctxt->bufByteIndex += 2;
   return 0;
}

int NASEnc_TS24008Msg_PDU(RtxContext* pctxt, TS24008Msg_PDU* pvalue) {
   L3_TO_STREAM(NASEnc_TS24008Msg_PDU(pctxt, pvalue));
   Encoder e(pctxt);
   L3_TRY(e.begin("PDU"));
   L3_TRY(encodeHeader(e, pvalue));
   // The selector decides, whatever the type says; one without a message is not logged here.
   if (kTS24008Msg_PDUMessages.select(pvalue->data.t) == nullptr) [[unlikely]] {
      L3_TRY(e.push("data"));
      e.pop();
      return e.done(RTX_E_BAD_CHOICE);
   }
   L3_TRY(encodeData(e, pvalue->data, kTS24008Msg_PDUMessages));
   return e.done();
}

// The nibble as a transaction identifier, and the octet that a long one has.
static int decodeTransaction(Decoder d, TS24008Msg_PDU* pvalue) {
   RtxContext* ctxt = d.ctxt();
   auto& options = pvalue->l3HdrOpts.u;
   const uint8_t nibble = options.skipInd;
   options.transId.flag = nibble >> 3;
   options.transId.value = nibble & 7;
   if (options.transId.value != kExtended) return 0;
   L3_TRY(d.push("transId"));
   rtxDiagNewBitField(ctxt->bitFields, "flag");
   if (const int status = rtxSkipBits(ctxt, 1); status < 0) return d.failed(status);
   rtxDiagSetBitFldCount(ctxt->bitFields);
   L3_TRY(d.fields(integer<7>(nullptr, options.transId.value)));
   d.pop();
   return 0;
}

[[gnu::noinline]] static int decodeFullHeader(Decoder d, TS24008Msg_PDU* pvalue) {
   L3_TRY(d.fields(group("l3HdrOpts", integer<4>("skipInd", pvalue->l3HdrOpts.u.skipInd)),
                   value<quorva::type::TS24007L3_ProtoDiscr>("protoDiscr", pvalue->protoDiscr)));
   if (hasTransaction(pvalue->protoDiscr)) L3_TRY(decodeTransaction(d, pvalue));
   return d.fields(integer<8>("msgType", pvalue->msgType));
}

// Options, discriminator and type; in one step if nothing can fail and nobody looks.
L3_INLINE static int decodeHeader(Decoder d, TS24008Msg_PDU* pvalue) {
   RtxContext* ctxt = d.ctxt();
   auto& options = pvalue->l3HdrOpts.u;
   const uint8_t* at = plainHeader(ctxt, 2);
   if (at == nullptr) return decodeFullHeader(d, pvalue);
   const uint32_t discriminator = at[0] & 15;
   const auto nibble = static_cast<uint8_t>(at[0] >> 4);
   if (!quorva::type::TS24007L3_ProtoDiscr::legalOnWire(discriminator)) return decodeFullHeader(d, pvalue);
   const unsigned transaction = hasTransaction(discriminator);
   if ((transaction & ((nibble & 7) == kExtended)) != 0) return decodeFullHeader(d, pvalue);
   // By masks: the protocols follow each other in no order that a branch could be told by. The indicator lies
   // where the flag does.
   static_assert(offsetof(decltype(options.transId), flag) == 0);
   options.skipInd = static_cast<uint8_t>(nibble >> (3 * transaction));
   options.transId.value = static_cast<uint8_t>(nibble & 7 & (0 - transaction));
   pvalue->protoDiscr = discriminator;
   pvalue->msgType = at[1];
   ctxt->bufByteIndex += 2;
   return 0;
}

int NASDec_TS24008Msg_PDU(RtxContext* pctxt, TS24008Msg_PDU* pvalue) {
   L3_FROM_STREAM(NASDec_TS24008Msg_PDU(pctxt, pvalue));
   Decoder d(pctxt);
   L3_TRY(d.begin("PDU"));
   pvalue->m = {};
   // The encoder looks at the identifier's field even where there is none.
   pvalue->l3HdrOpts.u.transId.value = 0;
   L3_TRY(decodeHeader(d, pvalue));
   const uint32_t discriminator = pvalue->protoDiscr;
   const unsigned sequence = hasSequence(discriminator), octet = pvalue->msgType;
   pvalue->sendSeqNum =
         static_cast<uint8_t>((octet >> 6 & (0 - sequence)) | (pvalue->sendSeqNum & (sequence - 1)));
   pvalue->m.sendSeqNumPresent = octet > 63 && sequence != 0;
   pvalue->msgType = static_cast<uint8_t>(octet & ~(0xC0u * sequence));
   int status = 0;
   switch (discriminator) {
   case TS24007L3_ProtoDiscr_callCtrl:
   case TS24007L3_ProtoDiscr_mobMgmt:
   case TS24007L3_ProtoDiscr_gprsMobMgmt:
   case TS24007L3_ProtoDiscr_sessMgmt:
      L3_TRY(decodeData(d, pvalue->data, kTS24008Msg_PDUMessages, discriminator, pvalue->msgType, &status));
      break;
   default: L3_TRY(d.push("data")); return newBadChoice(d);
   }
   return d.ended(status);
}
