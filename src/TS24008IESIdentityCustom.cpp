// Identities of TS 24.008 that no description says well, and the classmarks that count their own
// parts.
#include "quorva/rtxTBCD.h"
#include "src/frame/digits.h"
#include "src/TS24008IESTypes.h"

#include <cstring>

using namespace quorva::frame;

template <class Coder>
L3_INLINE static int encode_TS24008IE_MCCMNCPair(Coder& e, TS24008IE_MCCMNCPair* pvalue) {
   L3_TRY(e.begin("MCCMNCPair"));
   L3_TRY(e.plmn(pvalue->mcc, pvalue->mnc));
   return e.done();
}
L3_ENCODER(TS24008IE_MCCMNCPair, (TS24008IE_MCCMNCPair * pvalue), (pvalue))

template <class Coder>
L3_INLINE static int decode_TS24008IE_MCCMNCPair(Coder& d, TS24008IE_MCCMNCPair* pvalue) {
   L3_TRY(d.begin("MCCMNCPair"));
   L3_TRY(d.plmn(pvalue->mcc, pvalue->mnc));
   return d.done();
}
L3_DECODER(TS24008IE_MCCMNCPair, (TS24008IE_MCCMNCPair * pvalue), (pvalue))

// Mobile identity, TS 24.008, 10.5.1.4. The selector is the type of identity on the wire, but for "none".
namespace {

enum IdentityType : uint32_t { kImsi = 1, kImei, kImeisv, kTmsi, kTmgi, kNone };

// Octets that follow each other on the wire. An identity may begin inside an octet (paging information of
// TS 44.018, 9.1.21a), which rtxWriteBytes and rtxReadBytes do not look at.
template <class Coder>
int encodeOctets(Coder& e, const char* kind, const uint8_t* data, size_t numocts) {
   if constexpr (!Coder::kShort) {
      if (e.ctxt()->bufBitsLeft != 8)
         return e.traced(kind, [&] { return rtxEncBitsFromByteArray(e.ctxt(), data, 8 * numocts); });
   }
   return e.tracedOctets(kind, data, numocts);
}
template <class Coder>
int decodeOctets(Coder& d, const char* kind, uint8_t* data, size_t numocts) {
   if constexpr (!Coder::kShort) {
      if (d.ctxt()->bufBitsLeft != 8)
         return d.traced(kind, [&] { return rtxDecBitsToByteArray(d.ctxt(), data, numocts, 8 * numocts); });
   }
   return d.tracedOctets(kind, data, numocts);
}

template <class Coder>
int encodeTmsi(Coder& e, const uint8_t* tmsi) {
   L3_TRY(e.push("tmsi"));
   L3_TRY(e.template tracedBits<8>("length", 5));
   L3_TRY(e.template tracedBits<4>("digit1", 15));
   L3_TRY(e.template tracedBits<1>("odd", 0));
   L3_TRY(e.template tracedBits<3>("type", kTmsi));
   L3_TRY(encodeOctets(e, "OCTET STRING", tmsi, 4));
   e.pop();
   return 0;
}

template <class Coder, class Tmgi>
int encodeTmgi(Coder& e, Tmgi& tmgi) {
   L3_TRY(e.push("tmgi"));
   const auto length = static_cast<uint8_t>(4 + (tmgi.mbmsSessIdInd ? 1 : 0) + (tmgi.mccMncInd ? 3 : 0));
   L3_TRY(encodeOctets(e, "length", &length, 1));
   L3_TRY(e.template tracedBits<2>("spare", 0));
   L3_TRY(e.fields(flag("mbmsSessIdInd", tmgi.mbmsSessIdInd), flag("mccMncInd", tmgi.mccMncInd)));
   L3_TRY(e.template tracedBits<1>("odd", 0));
   L3_TRY(e.template tracedBits<3>("type", kTmgi));
   L3_TRY(e.template octets<3>("mbmsServiceID", tmgi.mbmsServiceID));
   // Both are written whatever the indicators and the length say, unlike the decoder, but for the standard.
   const bool always = !e.standard();
   if (always || tmgi.mccMncInd)
      L3_TRY(e.template item<quorva::type::TS24008IE_MCCMNCPair>("mcc-mnc", &tmgi.mcc_mnc));
   if (always || tmgi.mbmsSessIdInd) L3_TRY(e.fields(integer<8>("mbmsSessionID", tmgi.mbmsSessionID)));
   e.pop();
   return 0;
}

template <class Coder, class Tmgi>
int decodeTmgi(Coder& d, Tmgi& tmgi, uint8_t digit1) {
   L3_TRY(d.push("tmgi"));
   tmgi.mccMncInd = digit1 & 1;
   tmgi.mbmsSessIdInd = digit1 >> 1 & 1;
   L3_TRY(d.template octets<3>("mbmsServiceID", tmgi.mbmsServiceID));
   if (tmgi.mccMncInd) L3_TRY(d.template item<quorva::type::TS24008IE_MCCMNCPair>("mcc-mnc", &tmgi.mcc_mnc));
   if (tmgi.mbmsSessIdInd) L3_TRY(d.fields(integer<8>("mbmsSessionID", tmgi.mbmsSessionID)));
   d.pop();
   return 0;
}

// The digits of no identity are 0 or, in a paging request, fillers: TS 44.018, 9.1.22.
uint8_t digitsBehind(uint8_t first) {
   return first >> 4 == 15 ? 0xFF : 0;
}

// No octets: the count is what the length says.
template <class Coder>
int encodeNone(Coder& e, uint8_t count, uint8_t first) {
   L3_TRY(e.push("none"));
   L3_TRY(e.template tracedBits<8>("length", count));
   L3_TRY(e.template tracedBits<8>("octet3", first));
   for (unsigned i = 1; i < count; ++i) L3_TRY(e.template tracedBits<8>("octet4+", digitsBehind(first)));
   e.pop();
   return 0;
}

template <class Coder>
int badIdentity(Coder& d, const char* what, uint8_t value) {
   if constexpr (!Coder::kShort) {
      rtxErrAddStrParm(d.ctxt(), what);
      rtxErrAddIntParm(d.ctxt(), value);
   }
   return d.failed(RTX_E_CONSTRAINT);
}

template <class Coder>
int decodeNone(Coder& d, uint8_t length, uint8_t first) {
   const char kDigits[] = "MobileIdentity identity digits";
   L3_TRY(d.push("none"));
   if (length != 1 && length != 3) return badIdentity(d, "MobileIdentity length", length);
   if (first >> 4 != 0 && !d.standard()) return badIdentity(d, kDigits, first >> 4);
   for (unsigned i = 1; i < length; ++i) {
      uint8_t octet = 0;
      L3_TRY(d.template tracedBits<8>("octet4+", octet));
      if (octet != (d.standard() ? digitsBehind(first) : 0)) return badIdentity(d, kDigits, octet);
   }
   d.pop();
   return 0;
}

} // namespace

template <class Coder>
L3_INLINE static int encode_TS24008IE_MobileIdentity(Coder& e, TS24008IE_MobileIdentity* pvalue) {
   L3_TRY(e.begin("MobileIdentity"));
   auto& u = pvalue->u;
   switch (pvalue->t) {
   case kImsi: L3_TRY(encodeIdentity(e, "imsi", pvalue->t, u.imsi)); break;
   case kImei: L3_TRY(encodeIdentity(e, "imei", pvalue->t, u.imei)); break;
   case kImeisv: L3_TRY(encodeIdentity(e, "imeisv", pvalue->t, u.imeisv)); break;
   case kTmsi: L3_TRY(encodeTmsi(e, u.tmsi)); break;
   case kTmgi: L3_TRY(encodeTmgi(e, u.tmgi)); break;
   case kNone: {
      const auto& more = pvalue->standard;
      const bool own = e.standard() && more.m.noneOctetPresent;
      L3_TRY(encodeNone(e, u.none, own ? more.noneOctet & 0xF8 : 0));
      break;
   }
   default: return e.badChoice();
   }
   return e.done();
}
L3_ENCODER(TS24008IE_MobileIdentity, (TS24008IE_MobileIdentity * pvalue), (pvalue))

// There is no container but in standard mode: an identity ends where its type lets it end, and octets beyond
// that stay in the input.
template <class Coder>
L3_INLINE static int decode_TS24008IE_MobileIdentity(Coder& d, TS24008IE_MobileIdentity* pvalue) {
   L3_TRY(d.begin("MobileIdentity"));
   uint8_t length = 0, digit1 = 0, odd = 0, type = 0;
   pvalue->standard.m = {};
   L3_TRY(d.template tracedBits<8>("length", length));
   typename Coder::Length end{};
   if (d.standard()) [[unlikely]]
      L3_TRY(d.pushContainer(length, end));
   L3_TRY(d.template tracedBits<4>("digit1", digit1));
   L3_TRY(d.template tracedBits<1>("odd", odd));
   L3_TRY(d.template tracedBits<3>("type", type));
   pvalue->t = type == 0 ? uint32_t{kNone} : type;
   auto& u = pvalue->u;
   switch (pvalue->t) {
   case kImsi: L3_TRY(decodeIdentity(d, "imsi", length, odd, digit1, u.imsi)); break;
   case kImei: L3_TRY(decodeIdentity(d, "imei", length, odd, digit1, u.imei)); break;
   case kImeisv: L3_TRY(decodeIdentity(d, "imeisv", length, odd, digit1, u.imeisv)); break;
   case kTmsi: // four octets, whatever the length, the first digit and the odd bit say
      L3_TRY(d.push("tmsi"));
      L3_TRY(decodeOctets(d, "OCTET STRING", u.tmsi, 4));
      d.pop();
      break;
   case kTmgi: L3_TRY(decodeTmgi(d, u.tmgi, digit1)); break;
   case kNone:
      u.none = length;
      pvalue->standard.noneOctet = static_cast<uint8_t>(digit1 << 4 | odd << 3);
      pvalue->standard.m.noneOctetPresent = d.standard() && pvalue->standard.noneOctet != 0;
      L3_TRY(decodeNone(d, length, static_cast<uint8_t>(digit1 << 4)));
      break;
   default: return d.badChoice();
   }
   if (d.standard()) [[unlikely]]
      L3_TRY(d.close(end));
   return d.done();
}
L3_DECODER(TS24008IE_MobileIdentity, (TS24008IE_MobileIdentity * pvalue), (pvalue))

// PLMN list, TS 24.008, 10.5.1.13: the first octet counts octets, the record entries.
namespace {

constexpr size_t kMaxPlmns = sizeof(TS24008IE_PLMNList::elem) / sizeof(TS24008IE_MCCMNCPair);

} // namespace

template <class Coder>
L3_INLINE static int encode_TS24008IE_PLMNList(Coder& e, TS24008IE_PLMNList* pvalue) {
   L3_TRY(e.begin("PLMNList"));
   if (pvalue->n < 1 || pvalue->n > kMaxPlmns) return e.badBound(pvalue->n);
   const auto numocts = static_cast<uint8_t>(3 * pvalue->n);
   L3_TRY(e.fields(integer<8>("length", numocts)));
   L3_TRY(e.repeat(nullptr, pvalue->n, pvalue->elem, Limits{}, [](auto& each, auto& x) {
      return each.template call<quorva::type::TS24008IE_MCCMNCPair>(&x);
   }));
   return e.done();
}
L3_ENCODER(TS24008IE_PLMNList, (TS24008IE_PLMNList * pvalue), (pvalue))

template <class Coder>
L3_INLINE static int decode_TS24008IE_PLMNList(Coder& d, TS24008IE_PLMNList* pvalue) {
   L3_TRY(d.begin("PLMNList"));
   uint8_t numocts = 0;
   L3_TRY(d.fields(integer<8>("length", numocts)));
   if (numocts == 0) return d.done(); // nothing was decoded: the record stays as it was
   if (numocts % 3 != 0) return RTX_E_CONSTRAINT;
   const size_t count = numocts / 3u;
   if (count > kMaxPlmns) return d.badBound(count);
   L3_TRY(d.repeatTimes(nullptr, count, pvalue->n, pvalue->elem, Limits{}, [](auto& each, auto& x) {
      return each.template call<quorva::type::TS24008IE_MCCMNCPair>(&x);
   }));
   return d.done();
}
L3_DECODER(TS24008IE_PLMNList, (TS24008IE_PLMNList * pvalue), (pvalue))

// Mobile station classmark 2, TS 24.008, 10.5.1.6: the first octet is the number of the parts, each an octet.
template <class Coder>
L3_INLINE static int encode_TS24008IE_MobileStationClassmark2(Coder& e,
                                                              TS24008IE_MobileStationClassmark2* pvalue) {
   L3_TRY(e.begin("MobileStationClassmark2"));
   const auto& m = pvalue->m;
   pvalue->count = static_cast<uint8_t>(m.cm1Present + m.octet4Present + m.octet5Present);
   L3_TRY(e.fields(integer<8>("count", pvalue->count)));
   if (m.cm1Present)
      L3_TRY(e.template item<quorva::type::TS24008IE_MobileStationClassmark1>("cm1", &pvalue->cm1));
   if (m.octet4Present)
      L3_TRY(e.template item<quorva::type::TS24008IE_MobileStationClassmark2_octet4>("octet4",
                                                                                     &pvalue->octet4));
   if (m.octet5Present)
      L3_TRY(e.template item<quorva::type::TS24008IE_MobileStationClassmark2_octet5>("octet5",
                                                                                     &pvalue->octet5));
   return e.done();
}
L3_ENCODER(TS24008IE_MobileStationClassmark2, (TS24008IE_MobileStationClassmark2 * pvalue), (pvalue))

template <class Coder>
L3_INLINE static int decode_TS24008IE_MobileStationClassmark2(Coder& d,
                                                              TS24008IE_MobileStationClassmark2* pvalue) {
   L3_TRY(d.begin("MobileStationClassmark2"));
   pvalue->m = {};
   L3_TRY(d.fields(integer<8>("count", pvalue->count)));
   typename Coder::Length end{};
   if (d.standard()) [[unlikely]]
      L3_TRY(d.pushContainer(pvalue->count, end));
   if (pvalue->count > 0) {
      L3_TRY(d.template item<quorva::type::TS24008IE_MobileStationClassmark1>("cm1", &pvalue->cm1));
      pvalue->m.cm1Present = 1;
   }
   if (pvalue->count > 1) {
      L3_TRY(d.template item<quorva::type::TS24008IE_MobileStationClassmark2_octet4>("octet4",
                                                                                     &pvalue->octet4));
      pvalue->m.octet4Present = 1;
   }
   if (pvalue->count > 2) {
      L3_TRY(d.template item<quorva::type::TS24008IE_MobileStationClassmark2_octet5>("octet5",
                                                                                     &pvalue->octet5));
      pvalue->m.octet5Present = 1;
   }
   if (d.standard()) [[unlikely]]
      L3_TRY(d.close(end));
   return d.done(); // parts above three are left to the scan of the message, but in standard mode
}
L3_DECODER(TS24008IE_MobileStationClassmark2, (TS24008IE_MobileStationClassmark2 * pvalue), (pvalue))

// Multiband supported, TS 24.008, 10.5.1.7: one power class, or two for two bands.
namespace {

// MBSEnum with 3, which has no name, as a further legal value. In standard mode each is one.
struct Bands {
   using Record = TS24008IE_MBSEnum;
   static constexpr unsigned bits = 3;
   static constexpr bool legalOnWire(uint32_t value) { return value <= 6; }
   static constexpr bool legalInRecord(uint32_t value) { return value <= 6; }
   static int encode(RtxContext* ctxt, Record value) {
      const bool legal = isStandard(ctxt) ? value >> bits == 0 : legalInRecord(value);
      return legal ? encEnumeration(ctxt, value, bits) : RTX_E_BAD_ENUM;
   }
   static int decode(RtxContext* ctxt, Record* value) {
      L3_TRY(decEnumeration(ctxt, value, bits));
      return legalOnWire(*value) || isStandard(ctxt) ? 0 : RTX_E_BAD_ENUM;
   }
};

} // namespace

template <class Coder>
L3_INLINE static int encode_TS24008IE_MultibandSupported(Coder& e, TS24008IE_MultibandSupported* pvalue) {
   L3_TRY(e.begin("MultibandSupported"));
   L3_TRY(e.fields(value<Bands>("supported", pvalue->supported),
                   record<quorva::type::TS24008IE_A5Bits>("a5bits", pvalue->a5bits)));
   if (pvalue->supported != 0) {
      if (pvalue->supported == 5 || pvalue->supported == 6) {
         L3_TRY(e.fields(armInteger<4>("assocRadioCap2", pvalue->assocRadioCap2)));
      } else {
         uint8_t spare = 0; // a single band has one power class
         if (e.standard()) spare = pvalue->assocRadioCap2;
         L3_TRY(e.fields(armInteger<4>("spare", spare)));
      }
      L3_TRY(e.fields(armInteger<4>("assocRadioCap1", pvalue->assocRadioCap1)));
   }
   return e.done();
}
L3_ENCODER_AMONG_BITS(TS24008IE_MultibandSupported, (TS24008IE_MultibandSupported * pvalue), (pvalue))

template <class Coder>
L3_INLINE static int decode_TS24008IE_MultibandSupported(Coder& d, TS24008IE_MultibandSupported* pvalue) {
   L3_TRY(d.begin("MultibandSupported"));
   L3_TRY(d.fields(value<Bands>("supported", pvalue->supported),
                   record<quorva::type::TS24008IE_A5Bits>("a5bits", pvalue->a5bits)));
   // Both half octets go into the record even with a single band.
   if (pvalue->supported != 0) {
      L3_TRY(d.fields(armInteger<4>("assocRadioCap2", pvalue->assocRadioCap2),
                      armInteger<4>("assocRadioCap1", pvalue->assocRadioCap1)));
   } else {
      pvalue->assocRadioCap2 = pvalue->assocRadioCap1 = 0; // printed all the same
   }
   return d.done();
}
L3_DECODER_AMONG_BITS(TS24008IE_MultibandSupported, (TS24008IE_MultibandSupported * pvalue), (pvalue))
