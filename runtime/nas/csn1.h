/**
 * @file csn1.h
 * CSN.1 at the bit cursor, in inline form (TS 24.007, annex B): bits that read L or H against the padding
 * octet, and determinants of them. The exported functions of rtx3GPP.h call these.
 */
#ifndef QUORVA_RUNTIME_NAS_CSN1_H
#define QUORVA_RUNTIME_NAS_CSN1_H

#include "runtime/core/rtxInline.h"

#include <bit>

namespace quorva::csn1 {

/** The octet that pads rest octets. Its bit is L at that place of any octet of the buffer, the other one H.
 */
constexpr uint8_t kPadding = 0x2B;
constexpr uint8_t kPaddingInverse = 0xD4;

/** The L bits of the next `nbits` places, right aligned; above stands what is no bit of the field. */
constexpr uint32_t lowBits(size_t nbits, int bitsLeft) {
   return std::rotl(kPadding * 0x01010101u, (static_cast<int>(nbits) - bitsLeft) & 7);
}

/**
 * What makes L/H bits of plain ones and back by XOR.
 * @param mask its top `nbits` say which bits of the field are L/H bits.
 */
constexpr uint32_t determinantMask(size_t nbits, uint32_t mask, int bitsLeft) {
   if (nbits - 1 >= 32) return 0; // no bits, or more than the read or write takes
   return mask >> (32 - nbits) & lowBits(nbits, bitsLeft);
}

} // namespace quorva::csn1

namespace quorva::hot {

/** 0 to 32 bits of a determinant; those that the mask shows go as L or H. */
inline int encAltDetmnt(RtxContext* pctxt, uint32_t value, size_t nbits, uint32_t mask) {
   return encBits(pctxt, value ^ csn1::determinantMask(nbits, mask, pctxt->bufBitsLeft), nbits);
}

/** The same back. Nothing is stored on failure. */
inline int decAltDetmnt(RtxContext* pctxt, uint32_t* pvalue, size_t nbits, uint32_t mask) {
   const uint32_t flips = csn1::determinantMask(nbits, mask, pctxt->bufBitsLeft);
   uint32_t bits;
   if (const int status = decBits(pctxt, &bits, nbits); status < 0) return status;
   if (pvalue != nullptr) *pvalue = bits ^ flips;
   return RTX_OK;
}

/** One bit, H or L. */
inline int encBitLH(RtxContext* pctxt, bool high) {
   return encBit(pctxt, high != ((csn1::kPadding >> (pctxt->bufBitsLeft - 1) & 1) != 0));
}

/** One bit; 1 is H. Nothing is stored on failure. */
inline int decBitLH(RtxContext* pctxt, uint8_t* phigh) {
   const unsigned low = csn1::kPadding >> (pctxt->bufBitsLeft - 1) & 1u;
   uint8_t bit;
   if (const int status = decBit(pctxt, &bit); status < 0) return status;
   if (phigh != nullptr) *phigh = static_cast<uint8_t>(bit ^ low);
   return RTX_OK;
}

} // namespace quorva::hot

#endif
