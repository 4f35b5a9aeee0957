// The 5GS NAS PDUs, TS 24.501, 9.1.

#include "quorva/rtxBits.h"
#include "src/frame/pdu.h"
#include "src/frame/security.h"
#include "src/TS24501MsgsTypes.h"

using namespace quorva::frame;

extern const MessageTable kTS24501Msg_PDUMessages;
extern const MessageTable kTS24501Msg_PDU_SMMessages;

using ProtoDiscr = quorva::type::TS24501Msg_NAS5GProtoDiscr;
using SecHdrType = quorva::type::TS24501Msg_NAS5GSecHdrType;
using SessionIdentity = quorva::type::TS24501Msg_PDUSessionIdentity;

// A session message as it stands in a payload container, TS 24.501, 8.3: no security header of its own. The
// encoder spells the type's name with a hyphen, the decoder with an underscore; readers of a trace go by
// both.
int NASEnc_TS24501Msg_PDU_SM(RtxContext* pctxt, TS24501Msg_PDU_SM* pvalue) {
   L3_ENCODES(TS24501Msg_PDU_SM);
   Encoder e(pctxt);
   L3_TRY(e.begin("PDU-SM"));
   L3_TRY(e.fields(value<ProtoDiscr>("protoDiscr", pvalue->protoDiscr),
                   value<SessionIdentity>("pduSessIdent", pvalue->pduSessIdent),
                   integer<8>("procTransIdent", pvalue->procTransIdent),
                   integer<8>("msgType", pvalue->msgType)));
   L3_TRY(encodeData(e, pvalue->data, kTS24501Msg_PDU_SMMessages));
   return e.done();
}

int NASDec_TS24501Msg_PDU_SM(RtxContext* pctxt, TS24501Msg_PDU_SM* pvalue) {
   L3_FROM_STREAM(NASDec_TS24501Msg_PDU_SM(pctxt, pvalue));
   Decoder d(pctxt);
   L3_TRY(d.begin("PDU_SM"));
   L3_TRY(d.fields(value<ProtoDiscr>("protoDiscr", pvalue->protoDiscr),
                   value<SessionIdentity>("pduSessIdent", pvalue->pduSessIdent),
                   integer<8>("procTransIdent", pvalue->procTransIdent),
                   integer<8>("msgType", pvalue->msgType)));
   // Any other discriminator, which can only be maxProtoDiscr, stands for mobility management.
   const unsigned discriminator = pvalue->protoDiscr == TS24501Msg_NAS5GProtoDiscr_sessMgmt5G
                                        ? TS24501Msg_NAS5GProtoDiscr_sessMgmt5G
                                        : TS24501Msg_NAS5GProtoDiscr_mobMgmt5G;
   L3_TRY(decodeData(d, pvalue->data, kTS24501Msg_PDU_SMMessages, discriminator, pvalue->msgType));
   return d.ended(messageStatus(pctxt));
}

// What stands between the security header and the message; an encoder's as well as a decoder's. An encoder
// knows the discriminator and has it in `ahead`, so that all goes in one run.
template <class Coder, class... Parts>
L3_INLINE static int mobilityFields(Coder& c, TS24501Msg_PDU* pvalue, const Parts&... ahead) {
   auto& mm = pvalue->hdrData.u.mm;
   return c.fields(ahead...,
                   group("hdrData", group("mm", armInteger<4>("spare1", mm.spare1),
                                          value<SecHdrType>("secHdrType", mm.secHdrType))),
                   integer<8>("msgType", pvalue->msgType));
}
template <class Coder, class... Parts>
L3_INLINE static int headerFields(Coder& c, TS24501Msg_PDU* pvalue, const Parts&... ahead) {
   if (pvalue->protoDiscr == TS24501Msg_NAS5GProtoDiscr_mobMgmt5G) [[likely]]
      return mobilityFields(c, pvalue, ahead...);
   if (pvalue->protoDiscr == TS24501Msg_NAS5GProtoDiscr_sessMgmt5G) {
      auto& sm = pvalue->hdrData.u.sm;
      return c.fields(ahead...,
                      group("hdrData", group("sm", value<SessionIdentity>("pduSessIdent", sm.pduSessIdent),
                                             integer<8>("procTransIdent", sm.procTransIdent))),
                      integer<8>("msgType", pvalue->msgType));
   }
   if constexpr (sizeof...(ahead) != 0) L3_TRY(c.fields(ahead...));
   L3_TRY(c.push("hdrData"));
   return c.badChoice();
}
L3_INLINE static auto discriminator(TS24501Msg_PDU* pvalue) {
   return value<ProtoDiscr>("protoDiscr", pvalue->protoDiscr);
}

// Octets of the security header ahead of the code, of the sequence number, and of the whole of it.
constexpr size_t kMacPosition = 2, kMacStart = 6, kCipherStart = 7;

static bool isCiphered(uint32_t type) {
   return type == TS24501Msg_NAS5GSecHdrType_integProtAndCipher ||
          type == TS24501Msg_NAS5GSecHdrType_integProtAndCipherAnd5GSecCtxt;
}

// What is ahead: discriminator, and the security header type of a mobility message; a session message has
// none. It leaves no trace, but stays in the record. Its codecs end like all others and take off the name if
// it is the only one: that of the PDU, so that the names of what follows begin without it, in this PDU alone.
static int lookAhead(Decoder d, TS24501Msg_NAS5GSecProtMsgHdr& header) {
   RtxContext* ctxt = d.ctxt();
   if (const uint8_t* at = plainHeader(ctxt, 2)) {
      const bool mobility =
            at[0] == TS24501Msg_NAS5GProtoDiscr_mobMgmt5G && SecHdrType::legalOnWire(at[1] & 15);
      if (mobility || at[0] == TS24501Msg_NAS5GProtoDiscr_sessMgmt5G) {
         header.protoDiscr = at[0];
         header.secHdrType = mobility ? at[1] & 15 : TS24501Msg_NAS5GSecHdrType_noSec;
         d.done(); // as the codecs below
         return 0;
      }
   }
   L3_TRY(d.begin("PDU"));
   rtxDiagSetBitFldDisabled(ctxt->bitFields, 1);
   const Mark start(ctxt);
   header.secHdrType = TS24501Msg_NAS5GSecHdrType_noSec;
   if (const int status = NASDec_TS24501Msg_NAS5GProtoDiscr(ctxt, &header.protoDiscr); status < 0)
      return d.failed(status);
   if (header.protoDiscr == TS24501Msg_NAS5GProtoDiscr_mobMgmt5G) {
      if (const int status = rtxSkipBits(ctxt, 4); status < 0) return d.failed(status);
      if (const int status = NASDec_TS24501Msg_NAS5GSecHdrType(ctxt, &header.secHdrType); status < 0)
         return d.failed(status);
   }
   start.restore(ctxt);
   rtxDiagSetBitFldDisabled(ctxt->bitFields, 0);
   return 0;
}

[[gnu::noinline]] static int decodeHeaders(Decoder d, TS24501Msg_PDU* pvalue) {
   auto& header = pvalue->secHdr;
   const size_t start = d.ctxt()->bufByteIndex;
   L3_TRY(lookAhead(d, header));
   // The security header of a session message is not looked at: one stands inside a mobility message.
   if (header.protoDiscr == TS24501Msg_NAS5GProtoDiscr_mobMgmt5G &&
       header.secHdrType != TS24501Msg_NAS5GSecHdrType_noSec) {
      L3_TRY(d.item("secHdr", NASDec_TS24501Msg_NAS5GSecProtMsgHdr, &header));
      pvalue->m.secHdrPresent = 1;
      checkMac(d, start + kMacStart, header.msgAuthCode);
      if (isCiphered(header.secHdrType)) L3_TRY(decipherRest(d, start + kCipherStart));
   }
   return decodeHeader(d, plainHeader(d.ctxt()), [=](auto& coder) L3_INLINE_LAMBDA {
      L3_TRY(coder.fields(discriminator(pvalue)));
      return headerFields(coder, pvalue);
   });
}

int NASDec_TS24501Msg_PDU(RtxContext* pctxt, TS24501Msg_PDU* pvalue) {
   L3_FROM_STREAM(NASDec_TS24501Msg_PDU(pctxt, pvalue));
   Decoder d(pctxt);
   pvalue->m = {};
   const uint8_t* at = plainHeader(pctxt, 2);
   if (at != nullptr && (loadOctets<2>(at) & 0xFF0F) == TS24501Msg_NAS5GProtoDiscr_mobMgmt5G << 8)
         [[likely]] {
      pvalue->secHdr.protoDiscr = TS24501Msg_NAS5GProtoDiscr_mobMgmt5G;
      pvalue->secHdr.secHdrType = TS24501Msg_NAS5GSecHdrType_noSec;
      d.done(); // as lookAhead()
      pvalue->protoDiscr = TS24501Msg_NAS5GProtoDiscr_mobMgmt5G;
      ++pctxt->bufByteIndex;
      L3_TRY(decodeHeader(d, at + 1,
                          [=](auto& coder) L3_INLINE_LAMBDA { return mobilityFields(coder, pvalue); }));
   } else {
      L3_TRY(decodeHeaders(d, pvalue));
   }
   L3_TRY(decodeData(d, pvalue->data, kTS24501Msg_PDUMessages, pvalue->protoDiscr, pvalue->msgType));
   return d.ended(messageStatus(pctxt));
}

int NASEnc_TS24501Msg_PDU(RtxContext* pctxt, TS24501Msg_PDU* pvalue) {
   L3_ENCODES(TS24501Msg_PDU);
   Encoder e(pctxt);
   L3_TRY(e.begin("PDU"));
   const size_t start = pctxt->bufByteIndex;
   auto& header = pvalue->secHdr;
   const bool isProtected = pvalue->m.secHdrPresent &&
                            header.protoDiscr == TS24501Msg_NAS5GProtoDiscr_mobMgmt5G &&
                            header.secHdrType != TS24501Msg_NAS5GSecHdrType_noSec;
   // The code in the header is a placeholder yet.
   if (isProtected) L3_TRY(e.item("secHdr", NASEnc_TS24501Msg_NAS5GSecProtMsgHdr, &header));
   L3_TRY(encodeHeader(e, [=](auto& coder) L3_INLINE_LAMBDA {
      return headerFields(coder, pvalue, discriminator(pvalue));
   }));
   L3_TRY(encodeData(e, pvalue->data, kTS24501Msg_PDUMessages));
   if (isProtected)
      L3_TRY(protect(e, start + kMacStart, start + kCipherStart, start + kMacPosition,
                     isCiphered(header.secHdrType), header.msgAuthCode));
   return e.done();
}
