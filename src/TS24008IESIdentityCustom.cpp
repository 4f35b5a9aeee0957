// Identities of TS 24.008 that no description says well, and the classmarks that count their own
// parts.
#include "quorva/rtxTBCD.h"
#include "src/TS24008IESTypes.h"

#include <cstring>

using namespace quorva::frame;

static const char kEncoder[] = "TS24008IESEnc";
static const char kDecoder[] = "TS24008IESDec";

int NASEnc_TS24008IE_MCCMNCPair(RtxContext* pctxt, TS24008IE_MCCMNCPair* pvalue) {
   Encoder e(pctxt, kEncoder);
   L3_TRY(e.begin("MCCMNCPair"));
   L3_TRY(e.traced("TBCDString", [&] { return rtx3GPPEnc_MCC_MNC(pctxt, pvalue->mcc, pvalue->mnc); }));
   return e.done();
}

int NASDec_TS24008IE_MCCMNCPair(RtxContext* pctxt, TS24008IE_MCCMNCPair* pvalue) {
   Decoder d(pctxt, kDecoder);
   L3_TRY(d.begin("MCCMNCPair"));
   L3_TRY(d.traced("TBCDString", [&] { return rtx3GPPDec_MCC_MNC(pctxt, pvalue->mcc, pvalue->mnc); }));
   return d.done();
}

// Mobile identity, TS 24.008, 10.5.1.4. The selector is the type of identity on the wire, but for "none".
namespace {

enum IdentityType : uint32_t { kImsi = 1, kImei, kImeisv, kTmsi, kTmgi, kNone };

int encodeBits(Encoder& e, const char* kind, uint32_t value, size_t nbits) {
   return e.traced(kind, [&] { return rtxEncBits(e.ctxt(), value, nbits); });
}

int decodeBits(Decoder& d, const char* kind, uint8_t& value, uint8_t nbits) {
   return d.traced(kind, [&] { return rtxDecBitsToByte(d.ctxt(), &value, nbits); });
}

int encodeTmsi(Encoder& e, const uint8_t* tmsi) {
   L3_TRY(e.push("tmsi"));
   L3_TRY(encodeBits(e, "length", 5, 8));
   L3_TRY(encodeBits(e, "digit1", 15, 4));
   L3_TRY(encodeBits(e, "odd", 0, 1));
   L3_TRY(encodeBits(e, "type", kTmsi, 3));
   L3_TRY(e.traced("OCTET STRING", [&] { return rtxWriteBytes(e.ctxt(), tmsi, 4); }));
   e.pop();
   return 0;
}

template <class Tmgi>
int encodeTmgi(Encoder& e, Tmgi& tmgi) {
   L3_TRY(e.push("tmgi"));
   const auto length = static_cast<uint8_t>(4 + (tmgi.mbmsSessIdInd ? 1 : 0) + (tmgi.mccMncInd ? 3 : 0));
   L3_TRY(e.traced("length", [&] { return rtxWriteBytes(e.ctxt(), &length, 1); }));
   L3_TRY(encodeBits(e, "spare", 0, 2));
   L3_TRY(e.fields(flag("mbmsSessIdInd", tmgi.mbmsSessIdInd), flag("mccMncInd", tmgi.mccMncInd)));
   L3_TRY(encodeBits(e, "odd", 0, 1));
   L3_TRY(encodeBits(e, "type", kTmgi, 3));
   L3_TRY(e.octets<3>("mbmsServiceID", tmgi.mbmsServiceID));
   // Both are written whatever the indicators and the length say, unlike the decoder: deliberate.
   L3_TRY(e.item("mcc-mnc", NASEnc_TS24008IE_MCCMNCPair, &tmgi.mcc_mnc));
   L3_TRY(e.fields(integer<8>("mbmsSessionID", tmgi.mbmsSessionID)));
   e.pop();
   return 0;
}

template <class Tmgi>
int decodeTmgi(Decoder& d, Tmgi& tmgi, uint8_t digit1) {
   L3_TRY(d.push("tmgi"));
   tmgi.mccMncInd = digit1 & 1;
   tmgi.mbmsSessIdInd = digit1 >> 1 & 1;
   L3_TRY(d.octets<3>("mbmsServiceID", tmgi.mbmsServiceID));
   if (tmgi.mccMncInd) L3_TRY(d.item("mcc-mnc", NASDec_TS24008IE_MCCMNCPair, &tmgi.mcc_mnc));
   if (tmgi.mbmsSessIdInd) L3_TRY(d.fields(integer<8>("mbmsSessionID", tmgi.mbmsSessionID)));
   d.pop();
   return 0;
}

// The count is taken as it is: deliberate.
int encodeNone(Encoder& e, uint8_t count) {
   L3_TRY(e.push("none"));
   L3_TRY(encodeBits(e, "length", count, 8));
   L3_TRY(encodeBits(e, "octet3", 0, 8));
   for (unsigned i = 1; i < count; ++i) L3_TRY(encodeBits(e, "octet4+", 0, 8));
   e.pop();
   return 0;
}

int badIdentity(Decoder& d, const char* what, uint8_t value) {
   rtxErrAddStrParm(d.ctxt(), what);
   rtxErrAddIntParm(d.ctxt(), value);
   return d.failed(RTX_E_CONSTRAINT);
}

int decodeNone(Decoder& d, uint8_t length, uint8_t digit1) {
   const char kDigits[] = "MobileIdentity identity digits";
   L3_TRY(d.push("none"));
   if (length != 1 && length != 3) return badIdentity(d, "MobileIdentity length", length);
   if (digit1 != 0) return badIdentity(d, kDigits, digit1);
   for (unsigned i = 1; i < length; ++i) {
      uint8_t octet = 0;
      L3_TRY(decodeBits(d, "octet4+", octet, 8));
      if (octet != 0) return badIdentity(d, kDigits, octet);
   }
   d.pop();
   return 0;
}

} // namespace

int NASEnc_TS24008IE_MobileIdentity(RtxContext* pctxt, TS24008IE_MobileIdentity* pvalue) {
   Encoder e(pctxt, kEncoder);
   L3_TRY(e.begin("MobileIdentity"));
   auto& u = pvalue->u;
   const auto digits = [&](const char* name, const char* text) {
      return e.item(name, rtx3GPPEncMobileIdentityType1, pvalue->t, text);
   };
   switch (pvalue->t) {
   case kImsi: L3_TRY(digits("imsi", u.imsi)); break;
   case kImei: L3_TRY(digits("imei", u.imei)); break;
   case kImeisv: L3_TRY(digits("imeisv", u.imeisv)); break;
   case kTmsi: L3_TRY(encodeTmsi(e, u.tmsi)); break;
   case kTmgi: L3_TRY(encodeTmgi(e, u.tmgi)); break;
   case kNone: L3_TRY(encodeNone(e, u.none)); break;
   default: return e.badChoice();
   }
   return e.done();
}

// There is no container: an identity ends where its type lets it end, and octets beyond that stay in the
// input.
int NASDec_TS24008IE_MobileIdentity(RtxContext* pctxt, TS24008IE_MobileIdentity* pvalue) {
   Decoder d(pctxt, kDecoder);
   L3_TRY(d.begin("MobileIdentity"));
   uint8_t length = 0, digit1 = 0, odd = 0, type = 0;
   L3_TRY(decodeBits(d, "length", length, 8));
   L3_TRY(decodeBits(d, "digit1", digit1, 4));
   L3_TRY(decodeBits(d, "odd", odd, 1));
   L3_TRY(decodeBits(d, "type", type, 3));
   pvalue->t = type == 0 ? uint32_t{kNone} : type;
   auto& u = pvalue->u;
   const auto digits = [&](const char* name, auto& text) {
      return d.item(name, rtx3GPPDecMobileIdentityType1, length, odd, digit1, text, sizeof text);
   };
   switch (pvalue->t) {
   case kImsi: L3_TRY(digits("imsi", u.imsi)); break;
   case kImei: L3_TRY(digits("imei", u.imei)); break;
   case kImeisv: L3_TRY(digits("imeisv", u.imeisv)); break;
   case kTmsi: // four octets, whatever the length, the first digit and the odd bit say: deliberate
      L3_TRY(d.push("tmsi"));
      L3_TRY(d.traced("OCTET STRING", [&] { return rtxReadBytes(pctxt, u.tmsi, 4); }));
      d.pop();
      break;
   case kTmgi: L3_TRY(decodeTmgi(d, u.tmgi, digit1)); break;
   case kNone:
      u.none = length;
      L3_TRY(decodeNone(d, length, digit1));
      break;
   default: return d.badChoice();
   }
   return d.done();
}

// PLMN list, TS 24.008, 10.5.1.13: the first octet counts octets, the record entries.
namespace {

constexpr size_t kMaxPlmns = sizeof(TS24008IE_PLMNList::elem) / sizeof(TS24008IE_MCCMNCPair);

} // namespace

int NASEnc_TS24008IE_PLMNList(RtxContext* pctxt, TS24008IE_PLMNList* pvalue) {
   Encoder e(pctxt, kEncoder);
   L3_TRY(e.begin("PLMNList"));
   if (pvalue->n < 1 || pvalue->n > kMaxPlmns) return failBound(pctxt, pvalue->n, e.site(__LINE__));
   const auto numocts = static_cast<uint8_t>(3 * pvalue->n);
   L3_TRY(e.fields(integer<8>("length", numocts)));
   L3_TRY(e.repeat(nullptr, pvalue->n, pvalue->elem, Limits{},
                   [](Encoder& each, auto& x) { return NASEnc_TS24008IE_MCCMNCPair(each.ctxt(), &x); }));
   return e.done();
}

int NASDec_TS24008IE_PLMNList(RtxContext* pctxt, TS24008IE_PLMNList* pvalue) {
   Decoder d(pctxt, kDecoder);
   L3_TRY(d.begin("PLMNList"));
   uint8_t numocts = 0;
   L3_TRY(d.fields(integer<8>("length", numocts)));
   if (numocts == 0) return d.done(); // the count of the record stays as it was: deliberate
   if (numocts % 3 != 0) return RTX_E_CONSTRAINT;
   const size_t count = numocts / 3u;
   if (count > kMaxPlmns) return failBound(pctxt, count, d.site(__LINE__));
   L3_TRY(d.repeatTimes(nullptr, count, pvalue->n, pvalue->elem, Limits{},
                        [](Decoder& each, auto& x) { return NASDec_TS24008IE_MCCMNCPair(each.ctxt(), &x); }));
   return d.done();
}

// Mobile station classmark 2, TS 24.008, 10.5.1.6: the first octet is the number of the parts, each an octet.
int NASEnc_TS24008IE_MobileStationClassmark2(RtxContext* pctxt, TS24008IE_MobileStationClassmark2* pvalue) {
   Encoder e(pctxt, kEncoder);
   L3_TRY(e.begin("MobileStationClassmark2"));
   const auto& m = pvalue->m;
   pvalue->count = static_cast<uint8_t>(m.cm1Present + m.octet4Present + m.octet5Present);
   L3_TRY(e.fields(integer<8>("count", pvalue->count)));
   if (m.cm1Present) L3_TRY(e.item("cm1", NASEnc_TS24008IE_MobileStationClassmark1, &pvalue->cm1));
   if (m.octet4Present)
      L3_TRY(e.item("octet4", NASEnc_TS24008IE_MobileStationClassmark2_octet4, &pvalue->octet4));
   if (m.octet5Present)
      L3_TRY(e.item("octet5", NASEnc_TS24008IE_MobileStationClassmark2_octet5, &pvalue->octet5));
   return e.done();
}

int NASDec_TS24008IE_MobileStationClassmark2(RtxContext* pctxt, TS24008IE_MobileStationClassmark2* pvalue) {
   Decoder d(pctxt, kDecoder);
   L3_TRY(d.begin("MobileStationClassmark2"));
   pvalue->m = {};
   L3_TRY(d.fields(integer<8>("count", pvalue->count)));
   if (pvalue->count > 0) {
      L3_TRY(d.item("cm1", NASDec_TS24008IE_MobileStationClassmark1, &pvalue->cm1));
      pvalue->m.cm1Present = 1;
   }
   if (pvalue->count > 1) {
      L3_TRY(d.item("octet4", NASDec_TS24008IE_MobileStationClassmark2_octet4, &pvalue->octet4));
      pvalue->m.octet4Present = 1;
   }
   if (pvalue->count > 2) {
      L3_TRY(d.item("octet5", NASDec_TS24008IE_MobileStationClassmark2_octet5, &pvalue->octet5));
      pvalue->m.octet5Present = 1;
   }
   return d.done(); // parts above three are neither refused nor skipped: deliberate
}

// Multiband supported, TS 24.008, 10.5.1.7: one power class, or two for two bands.
namespace {

// MBSEnum with 3, which has no name, as a further legal value: deliberate.
struct Bands {
   using Record = TS24008IE_MBSEnum;
   static constexpr unsigned bits = 3;
   static constexpr bool legalOnWire(uint32_t value) { return value <= 6; }
   static constexpr bool legalInRecord(uint32_t value) { return value <= 6; }
   static int encode(RtxContext* ctxt, Record value) {
      return Encoder(ctxt, kEncoder).enumeration<Bands>(value);
   }
   static int decode(RtxContext* ctxt, Record* value) {
      return Decoder(ctxt, kDecoder).enumeration<Bands>(*value);
   }
};

} // namespace

int NASEnc_TS24008IE_MultibandSupported(RtxContext* pctxt, TS24008IE_MultibandSupported* pvalue) {
   Encoder e(pctxt, kEncoder);
   L3_TRY(e.begin("MultibandSupported"));
   L3_TRY(e.fields(value<Bands>("supported", pvalue->supported),
                   record<quorva::type::TS24008IE_A5Bits>("a5bits", pvalue->a5bits)));
   if (pvalue->supported != 0) {
      if (pvalue->supported == 5 || pvalue->supported == 6) {
         L3_TRY(e.fields(armInteger<4>("assocRadioCap2", pvalue->assocRadioCap2)));
      } else {
         L3_TRY(e.constant<4>("spare", 0)); // and not assocRadioCap2: deliberate
      }
      L3_TRY(e.fields(armInteger<4>("assocRadioCap1", pvalue->assocRadioCap1)));
   }
   return e.done();
}

int NASDec_TS24008IE_MultibandSupported(RtxContext* pctxt, TS24008IE_MultibandSupported* pvalue) {
   Decoder d(pctxt, kDecoder);
   L3_TRY(d.begin("MultibandSupported"));
   L3_TRY(d.fields(value<Bands>("supported", pvalue->supported),
                   record<quorva::type::TS24008IE_A5Bits>("a5bits", pvalue->a5bits)));
   // Both half octets go into the record even with a single band, unlike the encoder: deliberate.
   if (pvalue->supported != 0) {
      L3_TRY(d.fields(armInteger<4>("assocRadioCap2", pvalue->assocRadioCap2),
                      armInteger<4>("assocRadioCap1", pvalue->assocRadioCap1)));
   } else {
      pvalue->assocRadioCap2 = pvalue->assocRadioCap1 = 0; // printed all the same
   }
   return d.done();
}
