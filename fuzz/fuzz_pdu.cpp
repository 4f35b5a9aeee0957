// The PDU that CMakeLists.txt names, a target each.

#include "fuzz/registry.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
   static const QuorvaType* type = quorvaFindType(QUORVA_PDU);
   return quorva::fuzz::runPdu(*type, data, size);
}
