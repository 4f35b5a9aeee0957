// JSON into values of every type: the first two octets choose it. What is taken goes out as a text that is
// taken again, says the same then, and encodes without harm.

#include "fuzz/registry.h"
#include "quorva/json.h"
#include "quorva/reflect.h"

#include <string>

namespace {

std::string toJson(const RtxContext* ctxt, const QuorvaType& type, const void* value) {
   std::string text;
   const auto append = [](void* user, const char* piece, size_t size) {
      static_cast<std::string*>(user)->append(piece, size);
      return 0;
   };
   if (quorvaWriteJson(ctxt, &type, value, append, &text) != 0) abort();
   return text;
}

// Memory that nobody has prepared.
void* room(RtxContext* ctxt, const QuorvaType& type) {
   void* value = rtxMemHeapAlloc(ctxt, type.size + 1);
   if (value != nullptr) std::memset(value, 0xA5, type.size + 1);
   return value;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
   static quorva::fuzz::ValueContext ctxt;
   if (size < 2) return 0;
   const QuorvaType& type = quorva::fuzz::typeNamed(data);
   if (data[0] >= 0x80) rtxCtxtSetFlag(&ctxt, RTX_CTXT_STANDARD);
   const std::vector<char> text(data + 2, data + size);
   QuorvaJsonFault fault;
   void* value = room(&ctxt, type);
   const int status = quorvaFromJson(&ctxt, &type, value, text.data(), text.size(), &fault);
   if (status == 0) {
      const std::string first = toJson(&ctxt, type, value);
      toJson(nullptr, type, value); // as one who does not know the mode
      void* again = room(&ctxt, type);
      if (quorvaFromJson(&ctxt, &type, again, first.data(), first.size(), &fault) != 0) abort();
      if (toJson(&ctxt, type, again) != first) abort();
      ctxt.encode(type, again);
   } else if (fault.offset > text.size() || fault.reason == nullptr || status > 0) {
      abort();
   }
   ctxt.reset();
   return 0;
}
