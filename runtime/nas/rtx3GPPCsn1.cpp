// CSN.1 at the cursor: determinants with L/H bits, decision tables, unary counts.
#include "quorva/rtx3GPP.h"

#include "quorva/rtxBits.h"
#include "quorva/rtxError.h"
#include "runtime/nas/csn1.h"

using namespace quorva;

namespace {

/** The bit of an octet at the place of the cursor. */
unsigned bitAtCursor(const RtxContext* pctxt, uint8_t octet) {
   return octet >> (pctxt->bufBitsLeft - 1) & 1u;
}

/** Counts the bits that are as the pattern has them in their places. What has been counted is stored whenever
 * the reading ends. */
int decodeUnary(RtxContext* pctxt, uint8_t* pcount, uint8_t pattern) {
   uint8_t count = 0;
   int status;
   for (;;) {
      const unsigned counted = bitAtCursor(pctxt, pattern);
      uint8_t bit;
      status = hot::decBit(pctxt, &bit);
      if (status < 0 || bit != counted) break;
      if (count == UINT8_MAX) {
         status = recordFailure(pctxt, RTX_E_OVERFLOW);
         break;
      }
      ++count;
   }
   if (pcount != nullptr) *pcount = count;
   return status;
}

int encodeUnary(RtxContext* pctxt, uint32_t count, uint8_t pattern) {
   if (const int status = rtxEncBitsPattern(pctxt, pattern, count); status < 0) return status;
   return hot::encBit(pctxt, bitAtCursor(pctxt, pattern) == 0);
}

/** A pattern of that bit alone. */
uint8_t allBits(uint8_t bit) {
   return bit != 0 ? 0xFF : 0;
}

} // namespace

int rtx3GPPEncAltDetmnt(RtxContext* pctxt, uint32_t value, size_t nbits, uint32_t mask) {
   return hot::encAltDetmnt(pctxt, value, nbits, mask);
}

int rtx3GPPDecAltDetmnt(RtxContext* pctxt, uint32_t* pvalue, size_t nbits, uint32_t mask) {
   return hot::decAltDetmnt(pctxt, pvalue, nbits, mask);
}

int rtx3GPPDecVarAltDetmnt(RtxContext* pctxt, uint32_t* pvalue, const Rtx3GPPDetmntRow* rows,
                           uint32_t rowCount) {
   for (uint32_t at = 0; at < rowCount;) {
      const Rtx3GPPDetmntRow& row = rows[at];
      uint8_t bit;
      // L is 1 in a table, other than in a determinant of fixed width.
      const unsigned high = row.patterned != 0 ? bitAtCursor(pctxt, csn1::kPaddingInverse) : 0;
      if (const int status = hot::decBit(pctxt, &bit); status < 0) return status;
      const bool one = bit != high;
      const int32_t next = one ? row.next1 : row.next0;
      if (next < 0) return recordFailure(pctxt, RTX_E_BAD_CHOICE);
      if (next == 0) {
         if (pvalue != nullptr) *pvalue = one ? row.value1 : row.value0;
         return RTX_OK;
      }
      at = static_cast<uint32_t>(next);
   }
   return recordFailure(pctxt, RTX_E_INDEX);
}

int rtx3GPPEncIntAsBits(RtxContext* pctxt, uint32_t count, uint8_t bit) {
   return encodeUnary(pctxt, count, allBits(bit));
}

int rtx3GPPDecIntAsBits(RtxContext* pctxt, uint8_t* pcount, uint8_t bit) {
   return decodeUnary(pctxt, pcount, allBits(bit));
}

int rtx3GPPEncIntAsBitsPattern(RtxContext* pctxt, uint32_t count, uint8_t pattern) {
   return encodeUnary(pctxt, count, pattern);
}

int rtx3GPPDecIntAsBitsPattern(RtxContext* pctxt, uint8_t* pcount, uint8_t pattern) {
   return decodeUnary(pctxt, pcount, pattern);
}
