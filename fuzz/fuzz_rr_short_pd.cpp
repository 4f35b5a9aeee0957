// PDU TS44018Msg_RR_Short_PD_PDU.

#include "fuzz/registry.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
   static const QuorvaType* type = quorvaFindType("TS44018Msg_RR_Short_PD_PDU");
   return quorva::fuzz::runPdu(*type, data, size);
}
