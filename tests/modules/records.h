// What tests over all types share: text and octets of a record.
#ifndef QUORVA_TESTS_MODULES_RECORDS_H
#define QUORVA_TESTS_MODULES_RECORDS_H

#include "quorva/reflect.h"
#include "quorva/registry.h"
#include "quorva/rtxError.h"
#include "support/capture.h"

#include <cstring>
#include <gtest/gtest.h>
#include <string>
#include <vector>

namespace quorva::test {

// Room for the longest text of a sample.
constexpr size_t kTextRoom = size_t{1} << 18;

inline std::vector<const QuorvaType*> allTypes() {
   size_t count = 0;
   const QuorvaType* types = quorvaTypes(&count);
   std::vector<const QuorvaType*> all;
   for (size_t i = 0; i < count; ++i) all.push_back(&types[i]);
   return all;
}

inline std::vector<QuorvaField> fieldsOf(const QuorvaType& type) {
   std::vector<QuorvaField> fields(quorvaFields(&type, nullptr, 0));
   EXPECT_EQ(quorvaFields(&type, fields.data(), fields.size()), fields.size());
   return fields;
}
inline std::vector<QuorvaField> fieldsIn(const QuorvaField& field) {
   std::vector<QuorvaField> fields(quorvaFieldsIn(&field, nullptr, 0));
   quorvaFieldsIn(&field, fields.data(), fields.size());
   return fields;
}

inline std::string textOf(quorva_test::Capture& capture, const QuorvaType& type, const void* value) {
   rtxPrintToStreamResetIndent(&capture.ctxt);
   EXPECT_EQ(type.print(&capture.ctxt, "value", value), 0);
   return capture.take();
}

// A place for a value that nobody prepared, but for its initialiser.
class Room {
public:
   Room(const QuorvaType& type, int fill) : memory_((type.size + 15) / 8) {
      std::memset(memory_.data(), fill, memory_.size() * 8);
      // A type without an initialiser holds nothing that has to be clear; a pointer to a text has.
      if (type.init != nullptr) type.init(memory_.data());
   }
   void* get() { return memory_.data(); }

private:
   std::vector<uint64_t> memory_;
};

struct Coded {
   int status = 0;
   std::vector<uint8_t> octets;
   size_t bits = 0;
};

inline Coded encode(RtxContext& ctxt, const QuorvaType& type, void* value) {
   Coded coded;
   coded.octets.assign(size_t{1} << 16, 0);
   rtxErrReset(&ctxt);
   rtxCtxtClearFlag(&ctxt, RTX_CTXT_RAW_TAIL);
   rtxCtxtSetBufPtr(&ctxt, coded.octets.data(), coded.octets.size());
   coded.status = type.encode(&ctxt, value);
   coded.bits = rtxCtxtGetBitOffset(&ctxt);
   coded.octets.resize((coded.bits + 7) / 8);
   return coded;
}

inline int decode(RtxContext& ctxt, const QuorvaType& type, std::vector<uint8_t>& octets, void* value) {
   rtxErrReset(&ctxt);
   rtxCtxtSetBufPtr(&ctxt, octets.data(), octets.size());
   return type.decode(&ctxt, value);
}

} // namespace quorva::test

#endif
