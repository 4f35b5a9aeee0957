#include "tools/quorva/session.h"

#include "quorva/rtxDiag.h"
#include "quorva/rtxPrintToStream.h"

#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <new>

namespace quorva::tool {

// Heap blocks are zeroed: the printer of a record that was decoded only in part meets no chance values.
static void* zeroedMemory(size_t size) {
   return std::calloc(1, size);
}

static int appendToText(void* userData, const char* format, va_list args) {
   auto& text = *static_cast<std::string*>(userData);
   char line[512];
   va_list again;
   va_copy(again, args);
   const int length = std::vsnprintf(line, sizeof line, format, args);
   if (length >= 0 && static_cast<size_t>(length) < sizeof line) {
      text.append(line, static_cast<size_t>(length));
   } else if (length > 0) {
      const size_t start = text.size();
      text.resize(start + static_cast<size_t>(length) + 1);
      std::vsnprintf(text.data() + start, static_cast<size_t>(length) + 1, format, again);
      text.pop_back();
   }
   va_end(again);
   return length;
}

Session::Session() {
   if (rtxInitContextExt(&ctxt_, zeroedMemory, nullptr, std::free) < 0) throw std::bad_alloc();
   if (rtCtxtInitASN1Info(&ctxt_) < 0 || rtxSetPrintStream(&ctxt_, appendToText, &text_) < 0) {
      rtFreeContext(&ctxt_);
      throw std::bad_alloc();
   }
}

Session::~Session() {
   rtFreeContext(&ctxt_);
}

std::string Session::takeText() {
   std::string text;
   text.swap(text_);
   return text;
}

bool Session::startTrace() {
   auto* list = static_cast<RtxDiagBitFieldList*>(rtxMemHeapAlloc(&ctxt_, sizeof(RtxDiagBitFieldList)));
   if (list == nullptr) return false;
   rtxDiagBitFieldListInit(&ctxt_, list);
   ctxt_.bitFields = list;
   return true;
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
