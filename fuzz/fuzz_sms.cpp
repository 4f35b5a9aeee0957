// PDU TS24011Msg_CP_PDU: plain, and with a security state whose keys are set. The first octet chooses.

#include "fuzz/registry.h"
#include "quorva/rt3gppNasSec.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
   static quorva::fuzz::Codec codec;
   static const QuorvaType* type = quorvaFindType("TS24011Msg_CP_PDU");
   static const uint8_t key[16] = {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16};
   if (size < 1) return 0;
   codec.setUp([&](RtxContext* ctxt) {
      if ((data[0] & 1) != 0) {
         const int algorithm = (data[0] & 2) != 0 ? 2 : 0;
         rtx3gppSecInitialize(ctxt);
         rtx3gppAssignAlgorithmKeys(ctxt, key, key, algorithm, algorithm);
      }
      if ((data[0] & 4) != 0) rtxCtxtSetFlag(ctxt, RTX_CTXT_UPLINK);
   });
   codec.run(*type, data + 1, size - 1);
   return 0;
}
