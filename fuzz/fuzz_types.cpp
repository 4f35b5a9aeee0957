// Every registered type: the first two octets choose it.

#include "fuzz/registry.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
   static quorva::fuzz::Codec codec;
   if (size < 2) return 0;
   size_t count = 0;
   const QuorvaType* types = quorvaTypes(&count);
   codec.setUp([](RtxContext*) {});
   codec.run(types[(size_t{data[0]} << 8 | data[1]) % count], data + 2, size - 2);
   return 0;
}
