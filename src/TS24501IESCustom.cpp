// Codecs of 5GS elements that no description says well.

#include "quorva/rtx3GPP.h"
#include "src/frame/digits.h"
#include "src/TS24501IESTypes.h"

using namespace quorva::frame;

// 5GS mobile identity, TS 24.501, 9.11.3.4. The first octet of the contents carries digits, flags or filler
// together with the type; the selector is the type and 1.
namespace {

using Identity = TS24501IE_MobileIdentity;
enum Selector : uint32_t { kNone = 1, kSuci, kGuti, kImei, kStmsi, kImeisv, kMac, kEui64 };

// The bits ahead of the type of a temporary identity, unless others were met.
uint8_t leadingOctet(const Identity& identity, uint8_t usual, bool standard) {
   const auto& more = identity.standard;
   if (!standard || !more.m.leadingBitsPresent) return usual;
   return static_cast<uint8_t>(more.leadingBits << 3 | (usual & 7));
}

// The octet ahead of the contents, and the length as far as it is known ahead of them.
struct Lead {
   uint8_t octet;
   uint16_t length;
};

Lead leadOf(const Identity& identity, bool standard) {
   switch (identity.t) {
   case kSuci: return {static_cast<uint8_t>(identity.u.suci.t == 2 ? 17 : 1), identity.length};
   case kGuti: return {leadingOctet(identity, 242, standard), 11};
   case kStmsi: return {leadingOctet(identity, 244, standard), 7};
   case kMac: return {static_cast<uint8_t>(identity.u.macaddr.mauri ? 14 : 6), identity.length};
   case kEui64: return {7, 9};
   default: return {0, identity.length};
   }
}

template <class Coder>
int encodeSuci(Coder& e, Identity& identity) {
   L3_TRY(e.push("suci"));
   auto& suci = identity.u.suci;
   switch (suci.t) {
   case 1:
      L3_TRY(e.template item<quorva::type::TS24501IE_MobileIdentity_SUCI_IMSI>("supiImsi", &suci.u.supiImsi));
      break;
   case 2:
      L3_TRY(e.template item<quorva::type::TS24501IE_MobileIdentity_SUCI_NetId>("supiNetSpecificId",
                                                                                &suci.u.supiNetSpecificId));
      break;
   default: return e.badChoice();
   }
   e.pop();
   return 0;
}

template <class Coder>
int decodeSuci(Coder& d, Identity& identity, unsigned format) {
   L3_TRY(d.push("suci"));
   auto& suci = identity.u.suci;
   suci.t = format + 1;
   switch (format) {
   case 0:
      L3_TRY(d.template item<quorva::type::TS24501IE_MobileIdentity_SUCI_IMSI>("supiImsi", &suci.u.supiImsi));
      break;
   case 1:
      L3_TRY(d.template item<quorva::type::TS24501IE_MobileIdentity_SUCI_NetId>("supiNetSpecificId",
                                                                                &suci.u.supiNetSpecificId));
      break;
   default: return d.badChoice();
   }
   d.pop();
   return 0;
}

template <class Coder>
int encodeDigits(Coder& e, const char* name, uint32_t type, const char* digits) {
   // The helper writes the second octet of the length and the octet ahead of the contents.
   L3_TRY(e.template tracedBits<8>("length-1st-octet", 0));
   return encodeIdentity(e, name, type, digits);
}

template <class Coder, size_t N>
int decodeDigits(Coder& d, const char* name, uint16_t length, unsigned odd, unsigned first, char (&text)[N]) {
   if (length > 255) {
      L3_TRY(d.push(name));
      if constexpr (!Coder::kShort) {
         rtxErrAddElemNameParm(d.ctxt());
         rtxErrAddStrParm(d.ctxt(), "length");
         rtxErrAddIntParm(d.ctxt(), length);
      }
      return d.failed(RTX_E_CONSTRAINT);
   }
   return decodeIdentity(d, name, length, static_cast<uint8_t>(odd), static_cast<uint8_t>(first), text);
}

// The bits ahead of the type of a temporary identity: all ones but the last, which is not looked at.
template <class Coder>
int checkLeadingBits(Coder& d, const char* what, uint8_t bits) {
   if (bits >= 30 || d.standard()) return 0;
   if constexpr (!Coder::kShort) {
      rtxErrAddStrParm(d.ctxt(), what);
      rtxErrAddUIntParm(d.ctxt(), bits);
   }
   return d.failed(RTX_E_CONSTRAINT);
}

// The place behind two octets that are yet to be written.
OpenLength lengthAhead(const Encoder& e) {
   return {e.offset() + 16};
}
ShortEncoder::OpenLength lengthAhead(const ShortEncoder& e) {
   return {e.octetAhead(2)};
}

} // namespace

template <class Coder>
L3_INLINE static int encode_TS24501IE_MobileIdentity(Coder& e, TS24501IE_MobileIdentity* pvalue) {
   L3_TRY(e.begin("MobileIdentity"));
   if (pvalue->t < kNone || pvalue->t > kEui64) return e.badChoice();
   const auto length = lengthAhead(e);
   if (pvalue->t != kImei && pvalue->t != kImeisv) {
      Lead lead = leadOf(*pvalue, e.standard());
      L3_TRY(e.fields(integer<16>("length", lead.length), integer<8>("bits+type", lead.octet)));
   }
   switch (pvalue->t) {
   case kSuci: L3_TRY(encodeSuci(e, *pvalue)); break;
   case kGuti:
      L3_TRY(e.template item<quorva::type::TS24501IE_MobileIdentity_GUTI>("guti", &pvalue->u.guti));
      break;
   case kImei: L3_TRY(encodeDigits(e, "imei", 3, pvalue->u.imei)); break;
   case kStmsi:
      L3_TRY(e.template item<quorva::type::TS24501IE_MobileIdentity_STMSI>("stmsi", &pvalue->u.stmsi));
      break;
   case kImeisv: L3_TRY(encodeDigits(e, "imeisv", 5, pvalue->u.imeisv)); break;
   case kMac: L3_TRY(unlessDropped(e, e.template octets<6>("macaddr", pvalue->u.macaddr.macaddr))); break;
   case kEui64: L3_TRY(unlessDropped(e, e.template octets<8>("eui-64", pvalue->u.eui_64))); break;
   default: break;
   }
   L3_TRY(e.template close<16>(length, pvalue->length, Limits{}));
   return e.done();
}
L3_ENCODER(TS24501IE_MobileIdentity, (TS24501IE_MobileIdentity * pvalue), (pvalue))

template <class Coder>
L3_INLINE static int decode_TS24501IE_MobileIdentity(Coder& d, TS24501IE_MobileIdentity* pvalue) {
   L3_TRY(d.begin("MobileIdentity"));
   typename Coder::Length length;
   L3_TRY(d.template open<16>("length", pvalue->length, Limits{}, length));
   uint8_t leading = 0;
   uint32_t type = 0;
   L3_TRY(d.fields(integer<5>("leading bits", leading),
                   value<quorva::type::TS24501IE_TypeOfIdentity>("typeOfIdent", type)));
   pvalue->t = type + 1;
   pvalue->standard.leadingBits = leading;
   pvalue->standard.m.leadingBitsPresent = (pvalue->t == kGuti || pvalue->t == kStmsi) && leading != 30;
   switch (pvalue->t) {
   case kNone: break;
   case kSuci: L3_TRY(decodeSuci(d, *pvalue, leading >> 1 & 7u)); break;
   case kGuti:
      L3_TRY(checkLeadingBits(d, "MobileIdentity leading bits for GUTI", leading));
      L3_TRY(d.template item<quorva::type::TS24501IE_MobileIdentity_GUTI>("guti", &pvalue->u.guti));
      break;
   case kImei:
      // The odd indication is taken from the first digit, unlike that of an IMEISV and the standard's.
      L3_TRY(decodeDigits(d, "imei", pvalue->length, d.standard() ? leading & 1u : leading >> 1 & 1u,
                          leading >> 1, pvalue->u.imei));
      break;
   case kStmsi:
      L3_TRY(checkLeadingBits(d, "MobileIdentity leading bits for 5G-S-TMSI", leading));
      L3_TRY(d.template item<quorva::type::TS24501IE_MobileIdentity_STMSI>("stmsi", &pvalue->u.stmsi));
      break;
   case kImeisv:
      L3_TRY(decodeDigits(d, "imeisv", pvalue->length, leading & 1u, leading >> 1, pvalue->u.imeisv));
      break;
   case kMac:
      pvalue->u.macaddr.mauri = leading & 1;
      // "mac" here, "macaddr" in the encoder; readers of a trace go by both.
      L3_TRY(unlessDropped(d, d.template octets<6>("mac", pvalue->u.macaddr.macaddr)));
      break;
   case kEui64: L3_TRY(unlessDropped(d, d.template octets<8>("eui-64", pvalue->u.eui_64))); break;
   default: return d.badChoice();
   }
   L3_TRY(d.close(length));
   return d.done();
}
L3_DECODER(TS24501IE_MobileIdentity, (TS24501IE_MobileIdentity * pvalue), (pvalue))

// Geographical area: the type of its shape and the shape, which by the standard has no count of its own.
namespace {

// Octets behind the first one, by its upper half; the types without are reserved. TS 23.032, 7.3.
constexpr uint8_t kShapeOctets[16] = {6, 7, 0, 10, 0, 0, 0, 0, 8, 13, 12, 12, 17};
constexpr unsigned kPolygon = 5; // its lower half tells of how many points

unsigned shapeOctets(uint8_t type) {
   return type >> 4 == kPolygon ? 6u * (type & 15u) : kShapeOctets[type >> 4];
}

template <class Coder>
int encode_TS24501IE_AreaDescriptions(Coder& e, TS24501IE_AreaDescriptions* pvalue) {
   L3_TRY(e.begin("AreaDescriptions"));
   L3_TRY(e.fields(integer<8>("shapeType", pvalue->shapeType)));
   if (!e.standard()) {
      L3_TRY(e.template item<quorva::type::TS24501IE_AreaDescriptions_shapeDesc>("shapeDesc",
                                                                                 &pvalue->shapeDesc));
      return e.done();
   }
   const unsigned numocts = shapeOctets(pvalue->shapeType);
   L3_TRY(e.push("shapeDesc"));
   if (numocts == 0 || numocts != pvalue->shapeDesc.numocts) return e.badBound(pvalue->shapeDesc.numocts);
   e.pop();
   L3_TRY(e.sized("shapeDesc", numocts, pvalue->shapeDesc));
   return e.done();
}

template <class Coder>
int decode_TS24501IE_AreaDescriptions(Coder& d, TS24501IE_AreaDescriptions* pvalue) {
   L3_TRY(d.begin("AreaDescriptions"));
   L3_TRY(d.fields(integer<8>("shapeType", pvalue->shapeType)));
   if (!d.standard()) {
      L3_TRY(d.template item<quorva::type::TS24501IE_AreaDescriptions_shapeDesc>("shapeDesc",
                                                                                 &pvalue->shapeDesc));
      return d.done();
   }
   const unsigned numocts = shapeOctets(pvalue->shapeType);
   L3_TRY(d.push("shapeDesc"));
   if (numocts == 0) return d.badBound(pvalue->shapeType);
   d.pop();
   L3_TRY(d.sized("shapeDesc", numocts, pvalue->shapeDesc, Limits{}));
   return d.done();
}

} // namespace

L3_ENCODER(TS24501IE_AreaDescriptions, (TS24501IE_AreaDescriptions * pvalue), (pvalue))
L3_DECODER(TS24501IE_AreaDescriptions, (TS24501IE_AreaDescriptions * pvalue), (pvalue))

// Entry of the extended CAG information list, TS 24.501, 9.11.3.86. The CAG-IDs are as long as cagIdIndLen
// tells if lci is set, else they take all that is left of the entry.
template <class Coder>
static int encode_TS24501IE_ExtCAGEntry(Coder& e, TS24501IE_ExtCAGEntry* pvalue) {
   L3_TRY(e.begin("ExtCAGEntry"));
   typename Coder::OpenLength length;
   L3_TRY(e.template open<16>("length", length));
   L3_TRY(e.template item<quorva::type::TS24008IE_MCCMNCPair>("mcc-mnc", &pvalue->mcc_mnc));
   L3_TRY(e.fields(integer<4>("spare1", pvalue->spare1), integer<1>("caili", pvalue->caili),
                   flag("lci", pvalue->lci), flag("spare2", pvalue->spare2),
                   flag("cagOnly", pvalue->cagOnly)));
   const uint32_t numocts = pvalue->m.cagIdPresent ? pvalue->cagId.numocts : 0;
   if (pvalue->m.cagIdIndLenPresent) {
      if (numocts > 0xFFFF) return RTX_E_CONSTRAINT;
      pvalue->cagIdIndLen = static_cast<uint16_t>(numocts);
      L3_TRY(e.fields(integer<16>("cagIdIndLen", pvalue->cagIdIndLen)));
   }
   if (pvalue->m.cagIdPresent) L3_TRY(e.fill("cagId", pvalue->cagId));
   L3_TRY(e.push("cagIdAddlInfoList"));
   if (pvalue->caili == 1) {
      L3_TRY(e.template item<quorva::type::TS24501IE_CAGIdAddlInfoList>(
            "present", &pvalue->cagIdAddlInfoList.u.present));
   } else {
      L3_TRY(e.nothing("absent"));
   }
   e.pop();
   L3_TRY(e.template close<16>(length, pvalue->length, Limits{}));
   return e.done();
}
L3_ENCODER(TS24501IE_ExtCAGEntry, (TS24501IE_ExtCAGEntry * pvalue), (pvalue))

template <class Coder>
static int decode_TS24501IE_ExtCAGEntry(Coder& d, TS24501IE_ExtCAGEntry* pvalue) {
   L3_TRY(d.begin("ExtCAGEntry"));
   pvalue->m = {};
   typename Coder::Length length;
   L3_TRY(d.template open<16>("length", pvalue->length, Limits{}, length));
   L3_TRY(d.template item<quorva::type::TS24008IE_MCCMNCPair>("mcc-mnc", &pvalue->mcc_mnc));
   L3_TRY(d.within(length));
   L3_TRY(d.fieldsIn(length, integer<4>("spare1", pvalue->spare1), integer<1>("caili", pvalue->caili),
                     flag("lci", pvalue->lci), flag("spare2", pvalue->spare2),
                     flag("cagOnly", pvalue->cagOnly)));
   size_t numocts = kRest;
   if (pvalue->lci) {
      L3_TRY(d.fieldsIn(length, integer<16>("cagIdIndLen", pvalue->cagIdIndLen)));
      pvalue->m.cagIdIndLenPresent = 1;
      numocts = pvalue->cagIdIndLen;
   }
   if (numocts != 0 && d.more()) {
      L3_TRY(d.sized("cagId", numocts, pvalue->cagId, Limits{}));
      pvalue->m.cagIdPresent = 1;
      L3_TRY(d.within(length));
   }
   L3_TRY(d.push("cagIdAddlInfoList"));
   if (pvalue->caili == 1) {
      L3_TRY(d.template item<quorva::type::TS24501IE_CAGIdAddlInfoList>(
            "present", &pvalue->cagIdAddlInfoList.u.present));
   } else {
      L3_TRY(d.nothing("absent"));
   }
   d.pop();
   L3_TRY(d.close(length));
   return d.done();
}
L3_DECODER(TS24501IE_ExtCAGEntry, (TS24501IE_ExtCAGEntry * pvalue), (pvalue))
