// What the fuzz targets over decoders share.
#pragma once

#include "fuzz/fuzz.h"
#include "quorva/modules.h"
#include "quorva/registry.h"
#include "quorva/rt3gppNasSec.h"
#include "quorva/rtxDiag.h"
#include "quorva/rtxError.h"
#include "quorva/rtxMemHeap.h"
#include "quorva/rtxPrintToStream.h"

#include <cstdarg>
#include <cstdio>
#include <utility>
#include <vector>

namespace quorva::fuzz {

// Text goes nowhere but into a sum, yet every character of it is made.
inline int sumText(void* sum, const char* format, va_list arguments) {
   char text[512];
   const int length = vsnprintf(text, sizeof text, format, arguments);
   for (const char* at = text; *at != 0; ++at)
      *static_cast<size_t*>(sum) = *static_cast<size_t*>(sum) * 31 + static_cast<unsigned char>(*at);
   return length;
}

// What a codec left of a record.
struct Outcome {
   int status = 0, bitsLeft = 0, errors = 0;
   size_t index = 0, text = 0;
   int encodeStatus = 0;
   std::vector<uint8_t> encoded;
   bool operator==(const Outcome&) const = default;
};

// Decodes; what decodes is printed and encoded. All of it twice: with a trace attached the codecs take their
// full forms, and what they leave must be the same.
class Codec {
public:
   Codec() {
      // Each allocation by itself: the sanitizer sees its bounds, and what nobody has set.
      rtxMemHeapSetFlags(&ctxt_, RTX_MH_RAW_ONLY);
      rtxSetPrintStream(&ctxt_, sumText, &text_);
   }

   // A context as after the last message was done with, prepared by the caller.
   template <class Function>
   void setUp(Function function) {
      if (ctxt_.nasSec != nullptr) rtx3gppSecFree(&ctxt_);
      rtxMemReset(&ctxt_);
      ctxt_.flags &= ~(RTX_CTXT_RAW_TAIL | RTX_CTXT_UPLINK | RTX_CTXT_STANDARD);
      ctxt_.indent = 0;
      function(&ctxt_);
   }

   // In both modes.
   void run(const QuorvaType& type, const uint8_t* octets, size_t count) {
      if (type.decode == nullptr) return;
      runForms(type, octets, count);
      rtxCtxtSetFlag(&ctxt_, RTX_CTXT_STANDARD);
      forget();
      runForms(type, octets, count);
      rtxCtxtClearFlag(&ctxt_, RTX_CTXT_STANDARD);
   }

private:
   void forget() {
      rtxErrReset(&ctxt_);
      ctxt_.flags &= ~RTX_CTXT_RAW_TAIL;
      ctxt_.level = 0;
   }

   void runForms(const QuorvaType& type, const uint8_t* octets, size_t count) {
      const Outcome brief = runOnce(type, octets, count);
      if (brief.status < 0 && brief.errors == 0 && brief.status != RTX_E_CONSTRAINT &&
          brief.status != RTX_E_BAD_ENUM && brief.status != RTX_E_BAD_VALUE && brief.status != RTX_E_NOMEM)
         abort(); // only value checks fail without a record
      RtxDiagBitFieldList trace{};
      forget();
      rtxDiagBitFieldListInit(&ctxt_, &trace);
      ctxt_.bitFields = &trace;
      const Outcome full = runOnce(type, octets, count);
      ctxt_.bitFields = nullptr;
      if (brief != full) abort();
   }

   Outcome runOnce(const QuorvaType& type, const uint8_t* octets, size_t count) {
      Outcome outcome;
      std::vector<uint8_t> input(octets, octets + count);
      void* value = fresh(type);
      if (value == nullptr) return outcome;
      rtxCtxtSetBufPtr(&ctxt_, input.data(), input.size());
      outcome.status = type.decode(&ctxt_, value);
      outcome.index = ctxt_.bufByteIndex;
      outcome.bitsLeft = ctxt_.bufBitsLeft;
      outcome.errors = static_cast<int>(rtxErrGetErrorCnt(&ctxt_));
      // Octets that were cut leave memory behind that nobody has set.
      if (outcome.status < 0 || outcome.errors != 0) return outcome;
      text_ = 0;
      if (type.print != nullptr) type.print(&ctxt_, "value", value);
      outcome.text = text_;
      if (type.encode == nullptr) return outcome;
      std::vector<uint8_t> output(count + 4096);
      rtxErrReset(&ctxt_);
      rtxCtxtSetBufPtr(&ctxt_, output.data(), output.size());
      outcome.encodeStatus = type.encode(&ctxt_, value);
      outcome.encoded = std::move(output);
      return outcome;
   }

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

   Context ctxt_;
   size_t text_ = 0;
};

// The type that the first two octets name; their first bit is left to the target.
inline const QuorvaType& typeNamed(const uint8_t* data) {
   size_t count = 0;
   const QuorvaType* types = quorvaTypes(&count);
   return types[(size_t{data[0] & 0x7Fu} << 8 | data[1]) % count];
}

// A context for values that are made and encoded, as for all its runs.
struct ValueContext : Context {
   ValueContext() { rtxMemHeapSetFlags(this, RTX_MH_RAW_ONLY); }
   void encode(const QuorvaType& type, void* value) {
      if (type.encode == nullptr) return;
      std::vector<uint8_t> output(65536);
      rtxErrReset(this);
      rtxCtxtSetBufPtr(this, output.data(), output.size());
      (void)type.encode(this, value);
   }
   void reset() {
      rtxMemReset(this);
      flags &= ~(RTX_CTXT_RAW_TAIL | RTX_CTXT_STANDARD);
   }
};

// A PDU: plain, and with a security state whose keys are set. The first octet chooses.
inline int runPdu(const QuorvaType& type, const uint8_t* data, size_t size) {
   static Codec codec;
   static const uint8_t key[16] = {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16};
   if (size < 1) return 0;
   codec.setUp([&](RtxContext* ctxt) {
      if ((data[0] & 1) != 0) {
         const int algorithm = (data[0] & 2) | (data[0] >> 3 & 1); // 1 and 3 in standard mode
         if ((algorithm & 1) != 0) rtxCtxtSetFlag(ctxt, RTX_CTXT_STANDARD);
         rtx3gppSecInitialize(ctxt);
         rtx3gppAssignAlgorithmKeys(ctxt, key, key, algorithm, algorithm);
      }
      if ((data[0] & 4) != 0) rtxCtxtSetFlag(ctxt, RTX_CTXT_UPLINK);
   });
   codec.run(type, data + 1, size - 1);
   return 0;
}

} // namespace quorva::fuzz
