// The PDU of the control protocol, TS 24.011, 7.2. The encoder spells the type's name with a hyphen, the
// decoder with an underscore; readers of a trace go by both.

#include "src/frame/pdu.h"
#include "src/frame/security.h"
#include "src/TS24011MsgsTypes.h"

using namespace quorva::frame;

extern const MessageTable kTS24011Msg_CP_PDUMessages;

int NASEnc_TS24011Msg_CP_PDU(RtxContext* pctxt, TS24011Msg_CP_PDU* pvalue) {
   L3_ENCODES(TS24011Msg_CP_PDU);
   Encoder e(pctxt);
   L3_TRY(e.begin("CP-PDU"));
   L3_TRY(e.item("l3HdrOpts", NASEnc_TS24007L3_L3HdrOptions, &pvalue->l3HdrOpts));
   L3_TRY(e.fields(value<quorva::type::TS24007L3_ProtoDiscr>("protoDiscr", pvalue->protoDiscr),
                   integer<8>("msgType", pvalue->msgType)));
   L3_TRY(encodeData(e, pvalue->data, kTS24011Msg_CP_PDUMessages));
   return e.done();
}

// The transaction identifier stays what these options always decode to, a skip indicator.
[[gnu::noinline]] static int decodeFullHeader(Decoder d, TS24011Msg_CP_PDU* pvalue) {
   L3_TRY(d.item("l3HdrOpts", NASDec_TS24007L3_L3HdrOptions, &pvalue->l3HdrOpts));
   L3_TRY(d.fields(value<quorva::type::TS24007L3_ProtoDiscr>("protoDiscr", pvalue->protoDiscr)));
   if (pvalue->protoDiscr != TS24007L3_ProtoDiscr_sms) return newBadChoice(d);
   return d.fields(integer<8>("msgType", pvalue->msgType));
}

int NASDec_TS24011Msg_CP_PDU(RtxContext* pctxt, TS24011Msg_CP_PDU* pvalue) {
   L3_FROM_STREAM(NASDec_TS24011Msg_CP_PDU(pctxt, pvalue));
   Decoder d(pctxt);
   L3_TRY(d.begin("CP_PDU"));
   const uint8_t* at = plainHeader(pctxt, 2);
   if (at != nullptr && (at[0] & 15) == TS24007L3_ProtoDiscr_sms) [[likely]] {
      pvalue->l3HdrOpts.t = 1;
      pvalue->l3HdrOpts.u.skipInd = at[0] >> 4;
      pvalue->protoDiscr = TS24007L3_ProtoDiscr_sms;
      pvalue->msgType = at[1];
      pctxt->bufByteIndex += 2;
   } else {
      L3_TRY(decodeFullHeader(d, pvalue));
   }
   L3_TRY(decodeData(d, pvalue->data, kTS24011Msg_CP_PDUMessages, pvalue->protoDiscr, pvalue->msgType));
   return d.ended(messageStatus(pctxt));
}
