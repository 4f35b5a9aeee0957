#include "tools/quorva/jsonText.h"

#include "quorva/json.h"
#include "quorva/rtxUTF8.h"

#include <cstdio>

namespace quorva::tool {

std::string quoted(std::string_view text) {
   std::string all = "\"";
   while (!text.empty()) {
      const auto first = static_cast<unsigned char>(text[0]);
      size_t size = text.size();
      if (first == '"' || first == '\\') {
         (all += '\\') += text[0];
         size = 1;
      } else if (first < 0x20) {
         char escape[8];
         std::snprintf(escape, sizeof escape, "\\u%04x", first);
         all += escape;
         size = 1;
      } else {
         const int32_t code =
               rtxUTF8DecodeChar(nullptr, reinterpret_cast<const uint8_t*>(text.data()), &size);
         const bool good = code >= 0 && code <= 0x10FFFF && code >> 11 != 0x1B &&
                           rtxUTF8CharSize(static_cast<uint32_t>(code)) == size;
         if (!good) size = 1;
         all += good ? text.substr(0, size) : std::string_view("\xEF\xBF\xBD");
      }
      text.remove_prefix(size);
   }
   return all += '"';
}

std::string jsonOf(const RtxContext* ctxt, const QuorvaType& type, const void* value) {
   std::string text;
   const auto append = [](void* user, const char* piece, size_t size) {
      static_cast<std::string*>(user)->append(piece, size);
      return 0;
   };
   quorvaWriteJson(ctxt, &type, value, append, &text);
   return text;
}

} // namespace quorva::tool
