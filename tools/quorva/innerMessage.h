// Messages in the user data of others.
#pragma once

#include "quorva/registry.h"

#include <cstdint>
#include <vector>

namespace quorva::tool {

// A message in the user data of another, which the codec of that one leaves as octets.
struct InnerMessage {
   const char* type = nullptr;
   std::vector<uint8_t> octets;
};

// That of a decoded short message or transport message; without a type if there is none.
InnerMessage innerMessage(const QuorvaType& type, const void* value);

} // namespace quorva::tool
