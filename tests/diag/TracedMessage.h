// A message whose fields are read one by one with the trace on.
#ifndef QUORVA_TESTS_DIAG_TRACEDMESSAGE_H
#define QUORVA_TESTS_DIAG_TRACEDMESSAGE_H

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "quorva/rtxBits.h"
#include "quorva/rtxDiag.h"
#include "quorva/rtxMemHeap.h"
#include "support/capture.h"

namespace quorva_test {

class TracedMessage : public Capture {
public:
   explicit TracedMessage(std::vector<uint8_t> octets = {0x41, 0x7E, 0xB5, 0x31, 0x32}) : octets_(octets) {
      rtxCtxtSetBufPtr(&ctxt, octets_.data(), octets_.size());
      list = newList();
      ctxt.bitFields = list;
   }

   RtxDiagBitFieldList* newList() {
      auto* fields = static_cast<RtxDiagBitFieldList*>(rtxMemHeapAlloc(&ctxt, sizeof(RtxDiagBitFieldList)));
      EXPECT_EQ(0, rtxDiagBitFieldListInit(&ctxt, fields));
      return fields;
   }

   // Reads a field of a message as a codec does.
   RtxDiagBitField* read(const char* name, const char* kind, size_t nbits) {
      if (name) rtxCtxtPushElemName(&ctxt, name);
      RtxDiagBitField* field = rtxDiagNewBitField(ctxt.bitFields, kind);
      EXPECT_EQ(0, rtxSkipBits(&ctxt, static_cast<uint32_t>(nbits)));
      rtxDiagSetBitFldCount(ctxt.bitFields);
      if (name) rtxCtxtPopElemName(&ctxt);
      return field;
   }

   std::string listing(const char* prefix = nullptr) {
      rtxDiagBitTracePrint(list, prefix);
      return take();
   }

   RtxDiagBitFieldList* list;

private:
   std::vector<uint8_t> octets_;
};

} // namespace quorva_test

#endif
