// The PDUs of the control and of the relay protocol, TS 24.011, 7.2 and 7.3. Encoders spell the types' names
// with a hyphen, decoders with an underscore: deliberate, the trace shows both.

#include "src/frame/pdu.h"
#include "src/frame/security.h"
#include "src/TS24011MsgsTypes.h"

using namespace quorva::frame;

extern const MessageTable kTS24011Msg_CP_PDUMessages;

static const char kEncSource[] = "TS24011MsgsEnc";
static const char kDecSource[] = "TS24011MsgsDec";

int NASEnc_TS24011Msg_CP_PDU(RtxContext* pctxt, TS24011Msg_CP_PDU* pvalue) {
   Encoder e(pctxt, kEncSource);
   L3_TRY(e.begin("CP-PDU"));
   L3_TRY(e.item("l3HdrOpts", NASEnc_TS24007L3_L3HdrOptions, &pvalue->l3HdrOpts));
   L3_TRY(e.fields(value<quorva::type::TS24007L3_ProtoDiscr>("protoDiscr", pvalue->protoDiscr),
                   integer<8>("msgType", pvalue->msgType)));
   L3_TRY(encodeData(e, pvalue->data, kTS24011Msg_CP_PDUMessages));
   return e.done();
}

int NASDec_TS24011Msg_CP_PDU(RtxContext* pctxt, TS24011Msg_CP_PDU* pvalue) {
   Decoder d(pctxt, kDecSource);
   L3_TRY(d.begin("CP_PDU"));
   // The transaction identifier stays what these options always decode to, a skip indicator: deliberate.
   L3_TRY(d.item("l3HdrOpts", NASDec_TS24007L3_L3HdrOptions, &pvalue->l3HdrOpts));
   L3_TRY(d.fields(value<quorva::type::TS24007L3_ProtoDiscr>("protoDiscr", pvalue->protoDiscr)));
   if (pvalue->protoDiscr != TS24007L3_ProtoDiscr_sms) return newBadChoice(d);
   L3_TRY(d.fields(integer<8>("msgType", pvalue->msgType)));
   L3_TRY(decodeData(d, pvalue->data, kTS24011Msg_CP_PDUMessages, pvalue->protoDiscr, pvalue->msgType));
   return d.ended(messageStatus(pctxt));
}

int NASEnc_TS24011Msg_RP_PDU(RtxContext* pctxt, TS24011Msg_RP_PDU* pvalue) {
   Encoder e(pctxt, kEncSource);
   L3_TRY(e.begin("RP-PDU"));
   L3_TRY(e.item("header", NASEnc_TS24011Msg_RPHeader, &pvalue->header));
   L3_TRY(e.push("infoElem"));
   auto& u = pvalue->infoElem.u;
   switch (pvalue->header.rpMsgType) {
   case 0: L3_TRY(e.item("dataToNet", NASEnc_TS24011Msg_RPDataMSOriginating, &u.dataToNet)); break;
   case 1: L3_TRY(e.item("dataToMS", NASEnc_TS24011Msg_RPDataMSTerminated, &u.dataToMS)); break;
   case 2: L3_TRY(e.item("ackToNet", NASEnc_TS24011Msg_RP_ACK, &u.ackToNet)); break;
   case 3: L3_TRY(e.item("ackToMS", NASEnc_TS24011Msg_RP_ACK, &u.ackToMS)); break;
   case 4: L3_TRY(e.item("errorToNet", NASEnc_TS24011Msg_RP_ERROR, &u.errorToNet)); break;
   case 5: L3_TRY(e.item("errorToMS", NASEnc_TS24011Msg_RP_ERROR, &u.errorToMS)); break;
   case 6: L3_TRY(e.nothing("smma")); break;
   default: return e.badChoice();
   }
   e.pop();
   return e.done();
}

int NASDec_TS24011Msg_RP_PDU(RtxContext* pctxt, TS24011Msg_RP_PDU* pvalue) {
   Decoder d(pctxt, kDecSource);
   L3_TRY(d.begin("RP_PDU"));
   L3_TRY(d.item("header", NASDec_TS24011Msg_RPHeader, &pvalue->header));
   L3_TRY(d.push("infoElem"));
   auto& u = pvalue->infoElem.u;
   switch (pvalue->header.rpMsgType) {
   case 0: L3_TRY(d.message("dataToNet", NASDec_TS24011Msg_RPDataMSOriginating, &u.dataToNet)); break;
   case 1: L3_TRY(d.message("dataToMS", NASDec_TS24011Msg_RPDataMSTerminated, &u.dataToMS)); break;
   case 2: L3_TRY(d.message("ackToNet", NASDec_TS24011Msg_RP_ACK, &u.ackToNet)); break;
   case 3: L3_TRY(d.message("ackToMS", NASDec_TS24011Msg_RP_ACK, &u.ackToMS)); break;
   case 4: L3_TRY(d.message("errorToNet", NASDec_TS24011Msg_RP_ERROR, &u.errorToNet)); break;
   case 5: L3_TRY(d.message("errorToMS", NASDec_TS24011Msg_RP_ERROR, &u.errorToMS)); break;
   case 6: L3_TRY(d.nothing("smma")); break;
   default: return d.badChoice();
   }
   d.pop();
   return d.ended(messageStatus(pctxt));
}
