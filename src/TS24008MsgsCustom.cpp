// The PDU of TS 24.008 with its transaction identifier and send sequence number, and GMM Detach accept.

#include "src/frame/pdu.h"
#include "src/frame/security.h"
#include "src/TS24008MsgsTypes.h"

#include <cstddef>

using namespace quorva::frame;

extern const MessageTable kTS24008Msg_PDUMessages;

// Only the network sends a force to standby here, and it has no IEI. TS 24.008, 9.4.6.
int NASEnc_TS24008Msg_DetachAccept(RtxContext* pctxt, TS24008Msg_DetachAccept* pvalue) {
   L3_ENCODES(TS24008Msg_DetachAccept);
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
   return d.optional<quorva::type::TS24008Msg_DetachAccept>(pvalue);
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

// Options, discriminator and type.
template <class Coder>
L3_INLINE static int encodeFields(Coder& e, TS24008Msg_PDU* pvalue) {
   auto& identifier = pvalue->l3HdrOpts.u.transId;
   const bool sequence = hasSequence(pvalue->protoDiscr);
   uint8_t low = identifier.value < kExtended ? identifier.value : kExtended;
   uint8_t type = pvalue->msgType;
   if (sequence && pvalue->m.sendSeqNumPresent) type |= static_cast<uint8_t>(pvalue->sendSeqNum << 6);
   const auto discriminator = value<quorva::type::TS24007L3_ProtoDiscr>("protoDiscr", pvalue->protoDiscr);
   const auto behind = [&](const auto& options) L3_INLINE_LAMBDA {
      // Another test of the discriminator than that of the identifier's 3 bits: session management
      // has no octet for a long identifier, and mobility management has one if the field that it does not use
      // says so.
      const bool extended = e.standard() ? hasTransaction(pvalue->protoDiscr) : sequence;
      uint8_t octet = identifier.value;
      if (e.standard()) octet |= 0x80; // TS 24.007, 11.2.3.1.3: the last octet of the identifier
      if (extended && identifier.value >= kExtended)
         return e.fields(options, discriminator, integer<8>("transId.value", octet),
                         integer<8>("msgType", type));
      return e.fields(options, discriminator, integer<8>("msgType", type));
   };
   if (hasTransaction(pvalue->protoDiscr))
      return behind(
            group("l3HdrOpts", group("transId", flag("flag", identifier.flag), integer<3>("value", low))));
   return behind(group("l3HdrOpts", integer<4>("skipInd", pvalue->l3HdrOpts.u.skipInd)));
}

L3_INLINE static int encodeHeader(Encoder e, TS24008Msg_PDU* pvalue) {
   return encodeHeader(e, [=](auto& coder) L3_INLINE_LAMBDA { return encodeFields(coder, pvalue); });
}
[[gnu::noinline]] static int encodeStandardHeader(Encoder e, TS24008Msg_PDU* pvalue) {
   if (pvalue->m.sendSeqNumPresent && pvalue->sendSeqNum > 3) {
      L3_TRY(e.push("sendSeqNum"));
      return e.badBound(pvalue->sendSeqNum);
   }
   return encodeHeader(e, pvalue);
}

int NASEnc_TS24008Msg_PDU(RtxContext* pctxt, TS24008Msg_PDU* pvalue) {
   L3_ENCODES(TS24008Msg_PDU);
   Encoder e(pctxt);
   L3_TRY(e.begin("PDU"));
   L3_TRY(e.standard() ? encodeStandardHeader(e, pvalue) : encodeHeader(e, pvalue));
   // The selector decides, whatever the type says; one without a message is not logged here.
   const MessageRow* row = kTS24008Msg_PDUMessages.select(pvalue->data.t);
   if (row == nullptr) [[unlikely]] {
      L3_TRY(e.push("data"));
      e.pop();
      return e.done(RTX_E_BAD_CHOICE);
   }
   L3_TRY(encodeMessage(e, row, kData, &pvalue->data.u));
   return e.done();
}

// The octet of a long transaction identifier.
template <class Coder>
L3_INLINE static int decodeLongIdentifier(Coder& d, uint8_t& value) {
   L3_TRY(d.push("transId"));
   uint8_t flagAgain = 0;
   if constexpr (Coder::kShort)
      L3_TRY(d.fields(integer<1>("flag", flagAgain)));
   else
      L3_TRY(d.traced("flag", [&d] { return rtxSkipBits(d.ctxt(), 1); }));
   L3_TRY(d.fields(integer<7>(nullptr, value)));
   d.pop();
   return 0;
}

// Options, discriminator and type.
template <class Coder>
L3_INLINE static int decodeFields(Coder& d, TS24008Msg_PDU* pvalue) {
   auto& options = pvalue->l3HdrOpts.u;
   L3_TRY(d.fields(group("l3HdrOpts", integer<4>("skipInd", options.skipInd)),
                   value<quorva::type::TS24007L3_ProtoDiscr>("protoDiscr", pvalue->protoDiscr)));
   // By masks: the protocols follow each other in no order that a branch could be told by, and one costs 5 %
   // of a random mix of messages. The indicator lies where the flag does; of no identifier the value is 0.
   static_assert(offsetof(decltype(options.transId), flag) == 0);
   const unsigned transaction = hasTransaction(pvalue->protoDiscr), nibble = options.skipInd;
   options.skipInd = static_cast<uint8_t>(nibble >> (3 * transaction));
   options.transId.value = static_cast<uint8_t>(nibble & 7 & (0 - transaction));
   if (options.transId.value == kExtended) [[unlikely]]
      L3_TRY(decodeLongIdentifier(d, options.transId.value));
   return d.fields(integer<8>("msgType", pvalue->msgType));
}

int NASDec_TS24008Msg_PDU(RtxContext* pctxt, TS24008Msg_PDU* pvalue) {
   L3_FROM_STREAM(NASDec_TS24008Msg_PDU(pctxt, pvalue));
   Decoder d(pctxt);
   L3_TRY(d.begin("PDU"));
   pvalue->m = {};
   // The encoder looks at the identifier's field even where there is none.
   pvalue->l3HdrOpts.u.transId.value = 0;
   L3_TRY(decodeHeader(d, plainHeader(pctxt),
                       [=](auto& coder) L3_INLINE_LAMBDA { return decodeFields(coder, pvalue); }));
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
