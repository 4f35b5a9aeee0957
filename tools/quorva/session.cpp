#include "tools/quorva/session.h"

#include "quorva/rt3gppNasSec.h"
#include "quorva/rtxDiag.h"
#include "quorva/rtxError.h"
#include "quorva/rtxMemHeap.h"
#include "quorva/rtxPrintToStream.h"

#include <cstdio>
#include <cstdlib>
#include <new>

namespace quorva::tool {

// Heap blocks are zeroed: the printer of a record that was decoded only in part meets no chance values.
static void* zeroedMemory(size_t size) {
   return std::calloc(1, size);
}

Session::Session(std::FILE* out) {
   if (out == nullptr) out = collector_ = open_memstream(&text_, &length_);
   const bool ready = out != nullptr && rtxInitContextExt(&ctxt_, zeroedMemory, nullptr, std::free) >= 0;
   if (ready && rtCtxtInitASN1Info(&ctxt_) >= 0 &&
       rtxSetPrintStream(&ctxt_, rtxPrintStreamToFileCB, out) >= 0) {
      rtxCtxtSetFlag(&ctxt_, mode | reading);
      ctxt_.protocolRelease = release;
      flags_ = ctxt_.flags;
      return;
   }
   if (ready) rtFreeContext(&ctxt_);
   closeCollector();
   throw std::bad_alloc();
}

Session::~Session() {
   rtFreeContext(&ctxt_);
   closeCollector();
}

void Session::closeCollector() {
   if (collector_ != nullptr) std::fclose(collector_);
   std::free(text_);
}

void Session::forget() {
   if (ctxt_.nasSec != nullptr) rtx3gppSecFree(&ctxt_);
   rtxErrReset(&ctxt_);
   rtxMemReset(&ctxt_);
   ctxt_.flags = flags_;
}

std::string Session::takeText() {
   if (std::fflush(collector_) != 0) throw std::bad_alloc();
   std::string text(text_, length_);
   std::rewind(collector_);
   return text;
}

bool Session::startTrace() {
   auto* list = static_cast<RtxDiagBitFieldList*>(rtxMemHeapAlloc(&ctxt_, sizeof(RtxDiagBitFieldList)));
   if (list == nullptr) return false;
   rtxDiagBitFieldListInit(&ctxt_, list);
   ctxt_.bitFields = list;
   return true;
}

std::string shown(std::string_view text) {
   std::string result(text);
   if ((Session::reading & RTX_CTXT_ESCAPES) == 0) return result;
   const size_t size = quorvaEscapeText(text.data(), text.size(), 0, nullptr, 0);
   if (size == text.size()) return result; // nothing gets shorter
   result.resize(size);
   quorvaEscapeText(text.data(), text.size(), 0, result.data(), size + 1);
   return result;
}

std::string withMeaning(std::string text, std::string_view meaning) {
   if (meaning.empty() || (Session::reading & RTX_CTXT_NAMES) == 0) return text;
   return text.append(" (").append(meaning) += ')';
}

bool isType(const QuorvaType& type, std::string_view name) {
   return type.name == name;
}

std::string printName(const QuorvaType& type) {
   const std::string name = type.name;
   if (name.ends_with("_PDU")) return "PDU";
   return name.substr(name.find('_') + 1);
}

std::string hexText(const uint8_t* octets, size_t count) {
   std::string text;
   for (size_t i = 0; i < count; ++i) {
      char digits[4];
      std::snprintf(digits, sizeof digits, "%02X ", octets[i]);
      text += digits;
   }
   if (!text.empty()) text.pop_back();
   return text;
}

} // namespace quorva::tool
