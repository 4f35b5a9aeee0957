// What all fuzz targets share.
#pragma once

#include "quorva/rtxContext.h"

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>

namespace quorva::fuzz {

inline void need(bool condition) {
   if (!condition) std::abort();
}

// Octets in a block of their own size: the sanitizers see what goes past it.
inline std::unique_ptr<uint8_t[]> blockOf(const void* octets, size_t size) {
   std::unique_ptr<uint8_t[]> block(new uint8_t[size]);
   if (size != 0) std::memcpy(block.get(), octets, size);
   return block;
}

// One serves all runs: a context is fit for use again after any failure, and making it would take most of the
// time.
struct Context : RtxContext {
   Context() { need(rtInitContext(this) == 0); }
   ~Context() { rtFreeContext(this); }
};

} // namespace quorva::fuzz
