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
   static RtxContext ctxt;
   static const int ready = rtInitContext(&ctxt);
   if (size < 2 || ready < 0) return 0;
   rtxMemHeapSetFlags(&ctxt, RTX_MH_RAW_ONLY);
   size_t count = 0;
   const QuorvaType* types = quorvaTypes(&count);
   const QuorvaType& type = types[(size_t{data[0]} << 8 | data[1]) % 0x8000 % count];
   rtxCtxtClearFlag(&ctxt, RTX_CTXT_STANDARD);
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
      if (type.encode != nullptr) {
         std::vector<uint8_t> output(65536);
         rtxCtxtSetBufPtr(&ctxt, output.data(), output.size());
         (void)type.encode(&ctxt, again);
      }
   } else if (fault.offset > text.size() || fault.reason == nullptr || status > 0) {
      abort();
   }
   rtxMemReset(&ctxt);
   ctxt.flags &= ~RTX_CTXT_RAW_TAIL;
   return 0;
}
