// Everything that can be read and printed, as text: samples of all types, vectors of the descriptions and of
// the files, malformed ones too; by default and in standard mode, in short form, and bit by bit in the exact
// form. Two machines are compared by it.

#include "quorva/registry.h"
#include "quorva/rtxContext.h"
#include "quorva/rtxDiag.h"
#include "quorva/rtxError.h"
#include "quorva/rtxMemHeap.h"
#include "quorva/rtxPrintToStream.h"
#include "support/context.h"
#include "support/typeVectors.h"

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <exception>
#include <string>

namespace {

using namespace quorva::test;

int putText(void*, const char* format, va_list arguments) {
   return std::vprintf(format, arguments);
}

void writeBack(RtxContext* ctxt, const QuorvaType& type, void* value) {
   if (type.encode == nullptr) return;
   static uint8_t output[1 << 16];
   rtxErrReset(ctxt);
   rtxCtxtClearFlag(ctxt, RTX_CTXT_RAW_TAIL);
   std::memset(output, 0, sizeof output);
   rtxCtxtSetBufPtr(ctxt, output, sizeof output);
   const int status = type.encode(ctxt, value);
   const size_t octets = std::min(sizeof output, (rtxCtxtGetBitOffset(ctxt) + 7) / 8);
   std::printf("encoded %d %s\n", status, hexFromOctets(output, octets).c_str());
}

void showSample(const QuorvaType& type) {
   TestContext ctxt;
   rtxSetPrintStream(ctxt, putText, nullptr);
   std::printf("\nsample of %s\n", type.name);
   void* value = type.sample(ctxt);
   if (value == nullptr) throw std::runtime_error("no memory");
   if (type.print != nullptr) type.print(ctxt, "value", value);
   writeBack(ctxt, type, value);
}

void show(const QuorvaType& type, const Octets& octets, const std::string& direction, uint32_t mode,
          bool traced) {
   TestContext ctxt;
   if (mode != 0) rtxCtxtSetFlag(ctxt, mode);
   rtxSetPrintStream(ctxt, putText, nullptr);
   if (direction == "ul") rtxCtxtSetFlag(ctxt, RTX_CTXT_UPLINK);
   if (traced && rtxDiagCtxtBitFieldListInit(ctxt) < 0) throw std::runtime_error("no memory");
   ctxt.decode(octets);
   void* value = rtxMemHeapAllocZ(ctxt, type.size);
   if (value == nullptr) throw std::runtime_error("no memory");
   if (type.init != nullptr) type.init(value);
   const int status = type.decode(ctxt, value);
   std::printf("decoded %d, %zu octets\n", status, ctxt.used());
   if (status < 0 && !traced) return; // how far a record is filled then is the exact form's to tell
   if (type.print != nullptr) type.print(ctxt, "value", value);
   if (!traced) return writeBack(ctxt, type, value);
   rtxDiagBitTracePrint(ctxt->bitFields, "");
}

void showAllWays(const char* typeName, const std::string& name, const Octets& octets,
                 const std::string& direction) {
   const QuorvaType* type = quorvaFindType(typeName);
   if (type == nullptr) throw std::runtime_error(std::string("no type ") + typeName);
   std::printf("\n%s %s\n", typeName, name.c_str());
   for (const uint32_t mode : {0u, uint32_t{RTX_CTXT_STANDARD}})
      for (const bool traced : {false, true}) show(*type, octets, direction, mode, traced);
}

void showAll(const std::string& folder) {
   size_t count = 0;
   const QuorvaType* types = quorvaTypes(&count);
   for (size_t i = 0; i < count; ++i)
      if (types[i].sample != nullptr) showSample(types[i]);
   for (const auto& vector : kVectors)
      showAllWays(vector.type, vector.octets, octetsFromHex(vector.octets), "either");
   for (const auto& [type, vector] : messageVectors(folder))
      showAllWays(type, vector.name, vector.octets, vector.direction);
   for (const Vector& vector : loadVectors(folder + "/malformed.txt"))
      showAllWays(pduOf(vector), vector.name, vector.octets, vector.direction);
}

} // namespace

int main(int argc, char** argv) {
   try {
      showAll(argc > 1 ? argv[1] : QUORVA_TEST_DATA "/vectors");
   } catch (const std::exception& failure) {
      std::fprintf(stderr, "texts: %s\n", failure.what());
      return 1;
   }
   return std::fflush(stdout) == 0 ? 0 : 1;
}
