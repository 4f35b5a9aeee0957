#include "src/walk/registry.h"

#include "quorva/rtxMemHeap.h"
#include "runtime/stream/wholeMessage.h"

#include <algorithm>
#include <cstring>

namespace quorva::walk {

uint32_t octetsLeft(RtxContext* pctxt) {
   if (pctxt->stream != nullptr) stream::loadWhole(pctxt);
   const int64_t bits = rtxCtxtGetContainerRemBits(pctxt);
   return bits > 0 ? static_cast<uint32_t>(bits / 8) : 0;
}

int inlineDigits(RtxContext* pctxt, char* text, size_t room, int (*decode)(RtxContext*, char*, uint32_t)) {
   const uint32_t numocts = octetsLeft(pctxt);
   auto* digits = static_cast<char*>(rtxMemHeapAlloc(pctxt, 2 * size_t{numocts} + 1));
   if (digits == nullptr) return RTX_E_NOMEM;
   if (const int status = decode(pctxt, digits, numocts); status < 0) return status;
   if (std::strlen(digits) >= room) return RTX_E_CONSTRAINT;
   std::memcpy(text, digits, std::strlen(digits) + 1);
   rtxMemHeapFreePtr(pctxt, digits);
   return 0;
}

void* textValue(RtxContext* pctxt, const char* text) {
   auto** value = static_cast<const char**>(rtxMemHeapAlloc(pctxt, sizeof(const char*)));
   if (value != nullptr) *value = text;
   return value;
}

} // namespace quorva::walk

using quorva::walk::registry;
using quorva::walk::registrySize;

const QuorvaType* quorvaTypes(size_t* count) {
   if (count != nullptr) *count = registrySize;
   return registry;
}

const QuorvaType* quorvaFindType(const char* name) {
   if (name == nullptr) return nullptr;
   const QuorvaType* end = registry + registrySize;
   const QuorvaType* at =
         std::lower_bound(registry, end, name, [](const QuorvaType& type, const char* wanted) {
            return std::strcmp(type.name, wanted) < 0;
         });
   return at != end && std::strcmp(at->name, name) == 0 ? at : nullptr;
}

const char* quorvaExplain(const char* name) {
   const QuorvaType* type = quorvaFindType(name);
   return type != nullptr ? type->explanation : nullptr;
}
