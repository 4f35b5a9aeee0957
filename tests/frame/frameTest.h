/**
 * @file frameTest.h
 * Runs a codec in the short and in the full form of the frame and tells what it left behind.
 */
#ifndef QUORVA_TESTS_FRAME_FRAMETEST_H
#define QUORVA_TESTS_FRAME_FRAMETEST_H

#include "quorva/rtxContext.h"
#include "quorva/rtxDiag.h"
#include "quorva/rtxError.h"
#include "quorva/rtxMemHeap.h"
#include "tests/support/context.h"

#include <cstring>
#include <gtest/gtest.h>
#include <string>

namespace quorva::test {

inline Octets octetsOf(std::string hex) {
   hex.erase(std::remove(hex.begin(), hex.end(), ' '), hex.end());
   return octetsFromHex(hex);
}

inline std::string joined(const RtxDList& names, const char* separator) {
   std::string text;
   for (const RtxDListNode* node = names.head; node != nullptr; node = node->next) {
      if (node != names.head) text += separator;
      text += node->data != nullptr ? static_cast<const char*>(node->data) : "(null)";
   }
   return text;
}

/**
 * Status, cursor as octet.bit, and of what is there: names on the stack, level, containers, recorded
 * statuses, parameters, the flag of the open tail. "0 @3.0" is a codec that left nothing behind.
 */
inline std::string state(RtxContext* c, int status) {
   std::string text = std::to_string(status) + " @" + std::to_string(c->bufByteIndex) + "." +
                      std::to_string(8 - c->bufBitsLeft);
   if (c->elemNames.count != 0) text += " names=" + joined(c->elemNames, ".");
   if (c->level != 0) text += " level=" + std::to_string(c->level);
   if (c->containers.dlist.count != 0) text += " in=" + std::to_string(c->containers.dlist.count);
   for (const RtxDListNode* node = c->errList.head; node != nullptr; node = node->next) {
      text += node == c->errList.head ? " errors=" : ",";
      text += std::to_string(static_cast<const RtxErrInfo*>(node->data)->status);
   }
   for (int i = 0; i < c->errFixed.parmCount; ++i) {
      text += i == 0 ? " parms=" : ",";
      text += c->errFixed.parms[i];
   }
   if ((c->flags & RTX_CTXT_RAW_TAIL) != 0) text += " tail";
   return text;
}

/** The trace of a codec: "path kind bits" a field; a field left open has no bits. */
inline std::string traceOf(const RtxDiagBitFieldList& list) {
   std::string text;
   for (const RtxSListNode* node = list.fieldList.head; node != nullptr; node = node->next) {
      const auto* field = static_cast<const RtxDiagBitField*>(node->data);
      if (!text.empty()) text += "; ";
      if (field->elemName != nullptr) text += field->elemName;
      text += std::string(1, ' ') + field->nameSuffix + ' ' + std::to_string(field->bitCount);
   }
   return text;
}

enum class Form { Short, Full };

/** A context at the start of its octets, with a trace list in the full form. */
class FormContext : public TestContext {
public:
   explicit FormContext(Form form) : form_(form) {}
   void attach() {
      if (form_ == Form::Short) return;
      list_ = static_cast<RtxDiagBitFieldList*>(rtxMemHeapAlloc(*this, sizeof(RtxDiagBitFieldList)));
      rtxDiagBitFieldListInit(*this, list_);
      (*this)->bitFields = list_;
   }
   std::string trace() const { return list_ == nullptr ? "" : traceOf(*list_); }

private:
   Form form_;
   RtxDiagBitFieldList* list_ = nullptr;
};

/** State behind a decoder, the same in both forms; `trace`, if not null, gets the trace. */
template <class Decode>
std::string decoded(const std::string& hex, Decode decode, std::string* trace = nullptr) {
   std::string text[2];
   for (const Form form : {Form::Short, Form::Full}) {
      FormContext context(form);
      context.decode(octetsOf(hex));
      context.attach();
      text[static_cast<int>(form)] = state(context, decode(context));
      if (trace != nullptr && form == Form::Full) *trace = context.trace();
   }
   EXPECT_EQ(text[0], text[1]) << "short and full form differ on " << hex;
   return text[1];
}

/** Octets written, or, on a failure or if something stays behind, the state; the same in both forms. */
template <class Encode>
std::string encoded(Encode encode, size_t capacity = 512, std::string* trace = nullptr) {
   std::string text[2];
   for (const Form form : {Form::Short, Form::Full}) {
      FormContext context(form);
      context.encode(capacity);
      context.attach();
      const int status = encode(context);
      std::string& out = text[static_cast<int>(form)];
      out = state(context, status);
      const std::string clean = "0 @" + std::to_string(context->bufByteIndex) + ".0";
      out = out == clean ? context.written() : out + " wrote " + context.written();
      if (trace != nullptr && form == Form::Full) *trace = context.trace();
   }
   EXPECT_EQ(text[0], text[1]) << "short and full form differ";
   return text[1];
}

} // namespace quorva::test

#endif
