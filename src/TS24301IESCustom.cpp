// Codecs of EPS elements that no description says well.

#include "quorva/rtxTBCD.h"
#include "src/frame/digits.h"
#include "src/TS24301IESTypes.h"

using namespace quorva::frame;

// EPS mobile identity, TS 24.301, 9.9.3.12. The first nibble is the first digit of an IMSI or IMEI, and a
// filler ahead of a GUTI.
template <class Coder>
L3_INLINE static int encode_TS24301IE_EPSMobileIdentity(Coder& e, TS24301IE_EPSMobileIdentity* pvalue) {
   L3_TRY(e.begin("EPSMobileIdentity"));
   typename Coder::OpenLength length;
   L3_TRY(e.template open<8>("length", length));
   const char* digits = nullptr;
   const char* firstName = "filler";
   uint8_t first = 15;
   switch (pvalue->typeOfIdent) {
   case TS24301IE_EPSMobileIdentity_typeOfIdent_imsi:
      digits = pvalue->content.u.imsi;
      firstName = "imsi[0]";
      break;
   case TS24301IE_EPSMobileIdentity_typeOfIdent_imei:
      digits = pvalue->content.u.imei;
      firstName = "imei[0]";
      break;
   case TS24301IE_EPSMobileIdentity_typeOfIdent_guti: break;
   default: return e.badChoice();
   }
   if (digits != nullptr) {
      L3_TRY(e.push(firstName));
      if (const int status = rtxTBCDCharToBin(digits[0], &first); status < 0) return e.failed(status);
      e.pop();
      if (digits[0] != 0) ++digits;
   }
   L3_TRY(e.fields(
         integer<4>(firstName, first), flag("oddEvenInd", pvalue->oddEvenInd),
         value<quorva::type::TS24301IE_EPSMobileIdentity_typeOfIdent>("typeOfIdent", pvalue->typeOfIdent)));
   L3_TRY(e.push("content"));
   switch (pvalue->typeOfIdent) {
   case TS24301IE_EPSMobileIdentity_typeOfIdent_imsi:
      L3_TRY(e.template item<quorva::type::TS24008IE_IMSI>("imsi", digits));
      break;
   case TS24301IE_EPSMobileIdentity_typeOfIdent_imei:
      L3_TRY(e.template item<quorva::type::TS24008IE_IMEI>("imei", digits));
      break;
   default:
      L3_TRY(
            e.template item<quorva::type::TS24301IE_EPSMobileIdentity_GUTI>("guti", &pvalue->content.u.guti));
      break;
   }
   e.pop();
   L3_TRY(e.template close<8>(length, pvalue->length, Limits{}));
   return e.done();
}
L3_ENCODER(TS24301IE_EPSMobileIdentity, (TS24301IE_EPSMobileIdentity * pvalue), (pvalue))

template <class Coder>
L3_INLINE static int decode_TS24301IE_EPSMobileIdentity(Coder& d, TS24301IE_EPSMobileIdentity* pvalue) {
   L3_TRY(d.begin("EPSMobileIdentity"));
   typename Coder::Length length;
   L3_TRY(d.template open<8>("length", pvalue->length, Limits{}, length));
   if (d.more()) L3_TRY(d.fieldsIn(length, integer<4>("filler", pvalue->filler)));
   L3_TRY(d.fieldsIn(
         length, flag("oddEvenInd", pvalue->oddEvenInd),
         value<quorva::type::TS24301IE_EPSMobileIdentity_typeOfIdent>("typeOfIdent", pvalue->typeOfIdent)));
   L3_TRY(d.push("content"));
   switch (pvalue->typeOfIdent) {
   case TS24301IE_EPSMobileIdentity_typeOfIdent_imsi:
      L3_TRY(decodeDigits(d, "imsi", pvalue->filler, pvalue->length, pvalue->content.u.imsi));
      break;
   case TS24301IE_EPSMobileIdentity_typeOfIdent_imei:
      L3_TRY(decodeDigits(d, "imei", pvalue->filler, pvalue->length, pvalue->content.u.imei));
      break;
   case TS24301IE_EPSMobileIdentity_typeOfIdent_guti:
      L3_TRY(
            d.template item<quorva::type::TS24301IE_EPSMobileIdentity_GUTI>("guti", &pvalue->content.u.guti));
      break;
   default: return d.badChoice();
   }
   d.pop();
   L3_TRY(d.close(length));
   return d.done();
}
L3_DECODER(TS24301IE_EPSMobileIdentity, (TS24301IE_EPSMobileIdentity * pvalue), (pvalue))

// Octets of the address by its type: an IPv4 address or an IPv6 prefix, with a port behind the first.
static size_t remoteAddressOctets(uint32_t type) {
   return type == TS24301IE_RemoteUEAddrType_remUEIpv4   ? 6
          : type == TS24301IE_RemoteUEAddrType_remUEIpv6 ? 8
                                                         : 0;
}

// Remote UE context, TS 24.301, 9.9.4.20. Two bits between spare and addrType tell, ahead of the address,
// whether the port ranges follow it.
template <class Coder>
static int encode_TS24301IE_RemoteUECtxt(Coder& e, TS24301IE_RemoteUECtxt* pvalue) {
   L3_TRY(e.begin("RemoteUECtxt"));
   typename Coder::OpenLength length;
   L3_TRY(e.template open<8>("length", length));
   L3_TRY(e.fields(integer<8>("numUserIdents", pvalue->numUserIdents)));
   if (pvalue->m.userIdentsPresent)
      L3_TRY(e.repeatTimes(
            "userIdents", pvalue->numUserIdents, pvalue->userIdents.n, pvalue->userIdents.elem, Limits{},
            [](auto& in, auto& x) { return in.template call<quorva::type::TS24301IE_UserIdentity>(&x); }));
   L3_TRY(e.fields(integer<3>("spare", pvalue->spare)));
   L3_TRY(e.push("upri4"));
   L3_TRY(e.leadBit("optional bit", pvalue->m.udpPortRangePresent));
   e.pop();
   L3_TRY(e.push("tpri4"));
   L3_TRY(e.leadBit("optional bit", pvalue->m.tcpPortRangePresent));
   e.pop();
   L3_TRY(e.fields(value<quorva::type::TS24301IE_RemoteUEAddrType>("addrType", pvalue->addrType)));
   L3_TRY(e.sized("addrInfo", remoteAddressOctets(pvalue->addrType), pvalue->addrInfo));
   if (pvalue->m.udpPortRangePresent)
      L3_TRY(unlessDropped(e, e.template octets<4>("udpPortRange", pvalue->udpPortRange)));
   if (pvalue->m.tcpPortRangePresent)
      L3_TRY(unlessDropped(e, e.template octets<4>("tcpPortRange", pvalue->tcpPortRange)));
   L3_TRY(e.template close<8>(length, pvalue->length, Limits{}));
   return e.done();
}
L3_ENCODER(TS24301IE_RemoteUECtxt, (TS24301IE_RemoteUECtxt * pvalue), (pvalue))

template <class Coder>
static int decode_TS24301IE_RemoteUECtxt(Coder& d, TS24301IE_RemoteUECtxt* pvalue) {
   L3_TRY(d.begin("RemoteUECtxt"));
   pvalue->m = {};
   typename Coder::Length length;
   L3_TRY(d.template open<8>("length", pvalue->length, Limits{}, length));
   L3_TRY(d.fieldsIn(length, integer<8>("numUserIdents", pvalue->numUserIdents)));
   pvalue->userIdents.n = 0;
   if (d.more()) {
      L3_TRY(d.repeatTimes("userIdents", pvalue->numUserIdents, pvalue->userIdents.n, pvalue->userIdents.elem,
                           Limits{}, [](auto& in, auto& x) {
                              asn1Init_TS24301IE_UserIdentity(&x);
                              return in.template call<quorva::type::TS24301IE_UserIdentity>(&x);
                           }));
      pvalue->m.userIdentsPresent = 1;
      L3_TRY(d.within(length));
   }
   L3_TRY(d.fieldsIn(length, integer<3>("spare", pvalue->spare)));
   uint8_t udp = 0, tcp = 0;
   L3_TRY(d.push("upri4"));
   L3_TRY(d.leadBit("optional bit", udp));
   d.pop();
   L3_TRY(d.push("tpri4"));
   L3_TRY(d.leadBit("optional bit", tcp));
   d.pop();
   L3_TRY(d.fieldsIn(length, value<quorva::type::TS24301IE_RemoteUEAddrType>("addrType", pvalue->addrType)));
   L3_TRY(d.sized("addrInfo", remoteAddressOctets(pvalue->addrType), pvalue->addrInfo, Limits{}));
   L3_TRY(d.within(length));
   if (udp != 0) {
      L3_TRY(unlessDropped(d, d.template octets<4>("udpPortRange", pvalue->udpPortRange)));
      pvalue->m.udpPortRangePresent = 1;
      L3_TRY(d.within(length));
   }
   if (tcp != 0) {
      L3_TRY(unlessDropped(d, d.template octets<4>("tcpPortRange", pvalue->tcpPortRange)));
      pvalue->m.tcpPortRangePresent = 1;
      L3_TRY(d.within(length));
   }
   L3_TRY(d.close(length));
   return d.done();
}
L3_DECODER(TS24301IE_RemoteUECtxt, (TS24301IE_RemoteUECtxt * pvalue), (pvalue))
