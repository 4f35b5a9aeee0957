// The half octet ahead of the protocol discriminator: who reads it does not know yet what it holds.
#include "src/TS24007L3Types.h"

using namespace quorva::frame;

static int encode_TS24007L3_L3HdrOptions(Encoder& e, TS24007L3_L3HdrOptions* pvalue) {
   L3_TRY(e.begin("L3HdrOptions"));
   switch (pvalue->t) {
   case 1: L3_TRY(e.fields(armInteger<4>("skipInd", pvalue->u.skipInd))); break;
   case 2: {
      L3_TRY(e.push("transId"));
      // A greater value becomes 7, which tells of an extended one, TS 24.007, 11.2.3.1.3.
      const uint32_t value = pvalue->u.transId.value > 7 ? 7 : pvalue->u.transId.value;
      L3_TRY(e.fields(flag("flag", pvalue->u.transId.flag)));
      L3_TRY(e.constant<3>("value", value));
      e.pop();
      break;
   }
   case 3:
      L3_TRY(e.fields(
            value<quorva::type::TS24007L3_EPSBearerIdentity>("epsBearerIdent", pvalue->u.epsBearerIdent)));
      break;
   case 4: L3_TRY(e.fields(armInteger<4>("secHdr", pvalue->u.secHdr))); break;
   default: return e.badChoice();
   }
   return e.done();
}
L3_ENCODER_AMONG_BITS(TS24007L3_L3HdrOptions, (TS24007L3_L3HdrOptions * pvalue), (pvalue))

// Always the first alternative, whatever was encoded: the discriminator behind it is not known yet, and its
// owner re-interprets the record.
static int decode_TS24007L3_L3HdrOptions(Decoder& d, TS24007L3_L3HdrOptions* pvalue) {
   L3_TRY(d.begin("L3HdrOptions"));
   pvalue->t = 1;
   L3_TRY(d.fields(armInteger<4>("skipInd", pvalue->u.skipInd)));
   return d.done();
}
L3_DECODER_AMONG_BITS(TS24007L3_L3HdrOptions, (TS24007L3_L3HdrOptions * pvalue), (pvalue))
