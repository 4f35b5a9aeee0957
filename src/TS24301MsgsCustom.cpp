// The EPS NAS PDUs, TS 24.301, 9.1, and what depends on the direction of a message.

#include "quorva/rt3gppNasSec.h"
#include "src/frame/pdu.h"
#include "src/frame/security.h"
#include "src/TS24301MsgsTypes.h"

using namespace quorva::frame;

extern const MessageTable kTS24301Msg_PDUMessages;
extern const MessageTable kTS24301Msg_PDU_SMMessages;

// No octet tells the two forms apart; the direction of the context does. TS 24.301, 8.2.11.
int NASEnc_TS24301Msg_DetachRequest(RtxContext* pctxt, TS24301Msg_DetachRequest* pvalue) {
   L3_ENCODES(TS24301Msg_DetachRequest);
   Encoder e(pctxt);
   L3_TRY(e.begin("DetachRequest"));
   switch (pvalue->t) {
   case 1: L3_TRY(e.item("ueOrig", NASEnc_TS24301Msg_DetachRequestUEOrig, &pvalue->u.ueOrig)); break;
   case 2: L3_TRY(e.item("ueTerm", NASEnc_TS24301Msg_DetachRequestUETerm, &pvalue->u.ueTerm)); break;
   default: return e.badChoice();
   }
   return e.done();
}

int NASDec_TS24301Msg_DetachRequest(RtxContext* pctxt, TS24301Msg_DetachRequest* pvalue) {
   L3_FROM_STREAM(NASDec_TS24301Msg_DetachRequest(pctxt, pvalue));
   Decoder d(pctxt);
   L3_TRY(d.begin("DetachRequest"));
   if ((pctxt->flags & RTX_CTXT_UPLINK) != 0) {
      pvalue->t = 1;
      L3_TRY(d.message("ueOrig", NASDec_TS24301Msg_DetachRequestUEOrig, &pvalue->u.ueOrig));
   } else {
      pvalue->t = 2;
      L3_TRY(d.message("ueTerm", NASDec_TS24301Msg_DetachRequestUETerm, &pvalue->u.ueTerm));
   }
   return d.ended(messageStatus(pctxt));
}

// The 4 bits ahead of the discriminator, read anew now that the discriminator is known.
static void reinterpretOptions(TS24007L3_L3HdrOptions& options, uint32_t discriminator) {
   const uint8_t raw = options.u.skipInd;
   switch (discriminator) {
   case TS24007L3_ProtoDiscr_epsMobMgmt:
      options.t = 4;
      options.u.secHdr = raw;
      break;
   case TS24007L3_ProtoDiscr_sms:
      options.t = 2;
      options.u.transId.flag = raw >> 3;
      options.u.transId.value = raw & 7;
      break;
   case TS24007L3_ProtoDiscr_epsSessMgmt:
      options.t = 3;
      options.u.epsBearerIdent = raw;
      break;
   default: break;
   }
}

// The options as part of a run, in the short form with one alternative: 3 is a bearer, 4 a security header.
template <uint32_t T>
struct Options {
   static constexpr unsigned bits = 4;
   const char* name;
   TS24007L3_L3HdrOptions* value;

   L3_INLINE bool give(uint64_t& word) const {
      const auto& u = value->u;
      word = T == 4 ? u.secHdr : u.epsBearerIdent & 15;
      return value->t == T &&
             (T == 4 ? word < 16
                     : quorva::type::TS24007L3_EPSBearerIdentity::legalInRecord(u.epsBearerIdent));
   }
   int encode(RtxContext* ctxt) const { return Codec(ctxt).item(name, NASEnc_TS24007L3_L3HdrOptions, value); }
};

// The header behind the security header: options, discriminator, transaction identity, type.
template <class Coder, class Pdu>
L3_INLINE static int encodeFields(Coder& e, Pdu* pvalue) {
   const auto discriminator = value<quorva::type::TS24007L3_ProtoDiscr>("protoDiscr", pvalue->protoDiscr);
   if (pvalue->protoDiscr != TS24007L3_ProtoDiscr_epsSessMgmt)
      return e.fields(Options<4>{"l3HdrOpts", &pvalue->l3HdrOpts}, discriminator,
                      integer<8>("msgType", pvalue->msgType));
   return e.fields(Options<3>{"l3HdrOpts", &pvalue->l3HdrOpts}, discriminator,
                   group("pti", integer<8>("value", pvalue->pti.u.value)),
                   integer<8>("msgType", pvalue->msgType));
}

template <class Coder, class Pdu>
L3_INLINE static int decodeFields(Coder& d, Pdu* pvalue) {
   auto& options = pvalue->l3HdrOpts;
   options.t = 1;
   L3_TRY(d.fields(group("l3HdrOpts", armInteger<4>("skipInd", options.u.skipInd)),
                   value<quorva::type::TS24007L3_ProtoDiscr>("protoDiscr", pvalue->protoDiscr)));
   reinterpretOptions(options, pvalue->protoDiscr);
   if (pvalue->protoDiscr == TS24007L3_ProtoDiscr_epsSessMgmt) {
      return d.fields(group("pti", integer<8>("value", pvalue->pti.u.value)),
                      integer<8>("msgType", pvalue->msgType));
   }
   // Of the pti stays "noValue": nothing to read, so nothing in a trace.
   return d.fields(integer<8>("msgType", pvalue->msgType));
}

template <class Pdu>
L3_INLINE static int encodeHeader(Encoder e, Pdu* pvalue) {
   return quorva::frame::encodeHeader(e, [=](auto& coder)
                                               L3_INLINE_LAMBDA { return encodeFields(coder, pvalue); });
}
template <class Pdu>
L3_INLINE static int decodeHeader(Decoder d, const uint8_t* plain, Pdu* pvalue) {
   return quorva::frame::decodeHeader(
         d, plain, [=](auto& coder) L3_INLINE_LAMBDA { return decodeFields(coder, pvalue); });
}

// A message inside an ESM message container, TS 24.301, 9.9.3.15: no security header of its own.
int NASEnc_TS24301Msg_PDU_SM(RtxContext* pctxt, TS24301Msg_PDU_SM* pvalue) {
   L3_ENCODES(TS24301Msg_PDU_SM);
   Encoder e(pctxt);
   L3_TRY(e.begin("PDU-SM"));
   L3_TRY(encodeHeader(e, pvalue));
   L3_TRY(encodeData(e, pvalue->data, kTS24301Msg_PDU_SMMessages));
   return e.done();
}

int NASDec_TS24301Msg_PDU_SM(RtxContext* pctxt, TS24301Msg_PDU_SM* pvalue) {
   L3_FROM_STREAM(NASDec_TS24301Msg_PDU_SM(pctxt, pvalue));
   Decoder d(pctxt);
   L3_TRY(d.begin("PDU-SM"));
   L3_TRY(decodeHeader(d, plainHeader(d.ctxt()), pvalue));
   // By the type alone, whatever the discriminator.
   L3_TRY(decodeData(d, pvalue->data, kTS24301Msg_PDU_SMMessages, TS24007L3_ProtoDiscr_epsSessMgmt,
                     pvalue->msgType));
   return d.ended(messageStatus(pctxt));
}

// Octets of the security header ahead of the sequence number, and of the whole of it.
constexpr size_t kMacStart = 5, kCipherStart = 6, kMacPosition = 1;

// A Service Request, TS 24.301, 8.2.25: its own header, and two octets of MAC over two octets of message.
static int decodeServiceRequest(Decoder d, TS24301Msg_PDU* pvalue, size_t start) {
   RtxContext* ctxt = d.ctxt();
   uint32_t mac = 0;
   bool computed = false;
   if (start + 2 <= ctxt->bufSize) {
      const int status = rtx3gppComputeMAC(ctxt, ctxt->bufData + start, 2, &mac);
      computed = status >= 0;
      if (!computed) (void)d.failed(status);
   }
   pvalue->m.secHdrPresent = 1;
   pvalue->l3HdrOpts.t = 1;
   pvalue->l3HdrOpts.u.skipInd = 0;
   pvalue->secHdr.secHdrType = TS24007L3_SecHdrType_secHdrForSvcReq;
   pvalue->secHdr.protoDiscr = TS24007L3_ProtoDiscr_epsMobMgmt;
   pvalue->secHdr.msgAuthCode = 0;
   pvalue->secHdr.seqNumber = 0;
   pvalue->protoDiscr = TS24007L3_ProtoDiscr_epsMobMgmt;
   pvalue->msgType = 0;
   pvalue->data.t = 23;
   // The trace stays disabled from here on, until its owner turns it on again.
   auto* request =
         static_cast<TS24301Msg_ServiceRequest*>(rtxMemHeapAllocZ(ctxt, sizeof(TS24301Msg_ServiceRequest)));
   if (request == nullptr) return RTX_E_NOMEM;
   pvalue->data.u.obj_ServiceRequest = request;
   L3_TRY(d.inner(NASDec_TS24301Msg_ServiceRequest, request));
   if (computed) {
      const uint32_t received = static_cast<uint32_t>(request->shortMAC[0]) << 8 | request->shortMAC[1];
      if (received != (mac & 0xFFFF)) macMismatch(d, received, mac & 0xFFFF);
   }
   ctxt->flags &= ~kMessageOpen;
   return messageStatus(ctxt); // the type's name stays pushed on this way; callers find it there
}

// A message with a security header, or in the full form.
[[gnu::noinline]] static int decodeAnyPdu(Decoder d, TS24301Msg_PDU* pvalue) {
   RtxContext* ctxt = d.ctxt();
   // The look ahead leaves no trace.
   rtxDiagSetBitFldDisabled(ctxt->bitFields, 1);
   const Mark start(ctxt);
   uint8_t first = 0, discriminator = 0;
   if (const int status = quorva::hot::decBitsToByte(ctxt, &first, 4); status < 0) return d.failed(status);
   if (first >= 12) {
      start.restore(ctxt);
      return decodeServiceRequest(d, pvalue, start.index);
   }
   if (const int status = quorva::hot::decBitsToByte(ctxt, &discriminator, 4); status < 0)
      return d.failed(status);
   start.restore(ctxt);
   rtxDiagSetBitFldDisabled(ctxt->bitFields, 0);

   if (first != 0 && discriminator == TS24007L3_ProtoDiscr_epsMobMgmt) {
      L3_TRY(d.item("secHdr", NASDec_TS24007L3_SecProtMsgHeader, &pvalue->secHdr));
      pvalue->m.secHdrPresent = 1;
      const uint32_t type = pvalue->secHdr.secHdrType;
      if (type >= 1 && type <= 4) checkMac(d, start.index + kMacStart, pvalue->secHdr.msgAuthCode);
      if (type == 2 || type == 4) L3_TRY(decipherRest(d, start.index + kCipherStart));
   }
   L3_TRY(decodeHeader(d, plainHeader(d.ctxt()), pvalue));
   switch (pvalue->protoDiscr) {
   case TS24007L3_ProtoDiscr_epsSessMgmt:
   case TS24007L3_ProtoDiscr_epsMobMgmt:
      L3_TRY(decodeData(d, pvalue->data, kTS24301Msg_PDUMessages, pvalue->protoDiscr, pvalue->msgType));
      break;
   default: L3_TRY(d.push("data")); return newBadChoice(d);
   }
   return d.ended(messageStatus(ctxt));
}

// A plain header, whose discriminator is known to be one of the two, in one piece and by masks: messages of
// both protocols follow each other in no order that a branch could be told by.
L3_INLINE static bool decodePlainHeader(RtxContext* ctxt, const uint8_t* at, TS24301Msg_PDU* pvalue) {
   const unsigned half = at[0] >> 4, discriminator = at[0] & 15;
   const unsigned session = discriminator == TS24007L3_ProtoDiscr_epsSessMgmt;
   if (ctxt->bufSize - ctxt->bufByteIndex < 2 + session) [[unlikely]]
      return false;
   auto& options = pvalue->l3HdrOpts;
   options.t = 4 - session;
   options.u.epsBearerIdent = half;
   if constexpr (std::endian::native == std::endian::big)
      if (session == 0) options.u.secHdr = static_cast<uint8_t>(half);
   pvalue->protoDiscr = discriminator;
   uint8_t& identity = pvalue->pti.u.value;
   identity = static_cast<uint8_t>((at[1] & (0 - session)) | (identity & (session - 1)));
   pvalue->msgType = at[1 + session];
   ctxt->bufByteIndex += 2 + session;
   return true;
}

int NASDec_TS24301Msg_PDU(RtxContext* pctxt, TS24301Msg_PDU* pvalue) {
   L3_FROM_STREAM(NASDec_TS24301Msg_PDU(pctxt, pvalue));
   Decoder d(pctxt);
   L3_TRY(d.begin("PDU"));
   pvalue->m = {};
   pvalue->secHdr.secHdrType = TS24007L3_SecHdrType_noSec;
   const uint8_t* at = plainHeader(pctxt, 1);
   // The high half octets below which a message of a discriminator has neither security header nor short
   // form.
   static constexpr uint8_t kPlainBelow[16] = {0, 0, 12, 0, 0, 0, 0, 1};
   const bool plain = at != nullptr && at[0] >> 4 < kPlainBelow[at[0] & 15];
   if (!plain || !decodePlainHeader(pctxt, at, pvalue)) [[unlikely]]
      return decodeAnyPdu(d, pvalue);
   L3_TRY(decodeData(d, pvalue->data, kTS24301Msg_PDUMessages, pvalue->protoDiscr, pvalue->msgType));
   return d.ended(messageStatus(pctxt));
}

// And back: the code is computed from what is written, and goes over it.
[[gnu::noinline]] static int encodeServiceRequest(Encoder e, TS24301Msg_PDU* pvalue) {
   RtxContext* ctxt = e.ctxt();
   const size_t start = ctxt->bufByteIndex;
   if (pvalue->data.t != 23) return e.badChoice();
   TS24301Msg_ServiceRequest* request = pvalue->data.u.obj_ServiceRequest;
   if (request == nullptr) return e.failed(RTX_E_NULL);
   if (const int status = NASEnc_TS24301Msg_ServiceRequest(ctxt, request); status < 0)
      return e.failed(status);
   uint32_t mac = 0;
   if (const int status = rtx3gppComputeMAC(ctxt, ctxt->bufData + start, 2, &mac); status < 0)
      return e.failed(status);
   request->shortMAC[0] = static_cast<uint8_t>(mac >> 8);
   request->shortMAC[1] = static_cast<uint8_t>(mac);
   ctxt->bufByteIndex -= 2;
   if (const int status = rtxEncBits(ctxt, mac & 0xFFFF, 16); status < 0) return e.failed(status);
   return 0; // the type's name stays pushed on this way; callers find it there
}

int NASEnc_TS24301Msg_PDU(RtxContext* pctxt, TS24301Msg_PDU* pvalue) {
   L3_ENCODES(TS24301Msg_PDU);
   Encoder e(pctxt);
   L3_TRY(e.begin("PDU"));
   const size_t start = pctxt->bufByteIndex;
   const uint32_t type = pvalue->secHdr.secHdrType;
   const bool isProtected =
         pvalue->m.secHdrPresent && pvalue->secHdr.protoDiscr == TS24007L3_ProtoDiscr_epsMobMgmt && type != 0;
   if (isProtected && type == TS24007L3_SecHdrType_secHdrForSvcReq) return encodeServiceRequest(e, pvalue);
   // The code in the header is a placeholder yet.
   if (isProtected) L3_TRY(e.item("secHdr", NASEnc_TS24007L3_SecProtMsgHeader, &pvalue->secHdr));
   L3_TRY(encodeHeader(e, pvalue));
   L3_TRY(encodeData(e, pvalue->data, kTS24301Msg_PDUMessages));
   if (isProtected)
      L3_TRY(protect(e, start + kMacStart, start + kCipherStart, start + kMacPosition, type == 2 || type == 4,
                     pvalue->secHdr.msgAuthCode));
   return e.done();
}
