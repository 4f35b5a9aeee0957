// What the fuzz targets over decoders share.
#pragma once

#include "quorva/modules.h"
#include "quorva/registry.h"
#include "quorva/rt3gppNasSec.h"
#include "quorva/rtxContext.h"
#include "quorva/rtxError.h"
#include "quorva/rtxMemHeap.h"
#include "quorva/rtxPrintToStream.h"

#include <cstdarg>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <vector>

namespace quorva::fuzz {

// Text goes nowhere, but every character of it is made.
inline int formatAway(void*, const char* format, va_list arguments) {
   char text[512];
   return vsnprintf(text, sizeof text, format, arguments);
}

// Decodes; what decodes is printed, encoded, and what was encoded must decode again.
class Codec {
public:
   Codec() {
      if (rtInitContext(&ctxt_) != 0) abort();
      // Each allocation by itself: the sanitizer sees its bounds, and what nobody has set.
      rtxMemHeapSetFlags(&ctxt_, RTX_MH_RAW_ONLY);
      rtxSetPrintStream(&ctxt_, formatAway, nullptr);
   }
   ~Codec() { rtFreeContext(&ctxt_); }

   // A context as after the last message was done with, prepared by the caller.
   template <class Function>
   void setUp(Function function) {
      if (ctxt_.nasSec != nullptr) rtx3gppSecFree(&ctxt_);
      rtxMemReset(&ctxt_);
      ctxt_.flags &= ~(RTX_CTXT_RAW_TAIL | RTX_CTXT_UPLINK);
      ctxt_.indent = 0;
      function(&ctxt_);
   }

   void run(const QuorvaType& type, const uint8_t* octets, size_t count) {
      std::vector<uint8_t> input(octets, octets + count);
      void* value = fresh(type);
      if (value == nullptr || type.decode == nullptr) return;
      rtxCtxtSetBufPtr(&ctxt_, input.data(), input.size());
      const int status = type.decode(&ctxt_, value);
      if (status < 0) {
         if (rtxErrGetErrorCnt(&ctxt_) == 0 && status != RTX_E_CONSTRAINT && status != RTX_E_BAD_ENUM &&
             status != RTX_E_BAD_VALUE && status != RTX_E_NOMEM)
            abort(); // only value checks fail without a record
         return;
      }
      if (type.print != nullptr) type.print(&ctxt_, "value", value);
      if (type.encode == nullptr) return;
      std::vector<uint8_t> output(count + 4096);
      rtxErrReset(&ctxt_);
      rtxCtxtSetBufPtr(&ctxt_, output.data(), output.size());
      type.encode(&ctxt_, value);
   }

private:
   // A record with no value in it that a decoder could take for a real one.
   void* fresh(const QuorvaType& type) {
      const size_t size = type.size != 0 ? type.size : 1;
      void* value = rtxMemHeapAlloc(&ctxt_, size);
      if (value != nullptr) {
         std::memset(value, 0, size);
         if (type.init != nullptr) type.init(value);
      }
      return value;
   }

   RtxContext ctxt_;
};

// A PDU: plain, and with a security state whose keys are set. The first octet chooses.
inline int runPdu(const QuorvaType& type, const uint8_t* data, size_t size) {
   static Codec codec;
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
   codec.run(type, data + 1, size - 1);
   return 0;
}

} // namespace quorva::fuzz
