// NAS security of the messages that a command decodes.
#pragma once

#include "quorva/rtxContext.h"

#include <array>
#include <cstdint>
#include <optional>
#include <vector>

namespace quorva::tool {

using Key = std::array<uint8_t, 16>;

struct SecurityOptions {
   std::optional<Key> integrityKey; // 128-EIA2, 128-NIA2
   std::optional<Key> cipherKey;    // 128-EEA2, 128-NEA2
   std::optional<uint32_t> count;   // NAS COUNT of the first protected message
   uint8_t bearer = 0;
   bool nullCipher = false; // there is a security state even without keys
   bool uplink = false;

   bool any() const { return integrityKey || cipherKey || count || nullCipher; }
};

// Gives each message in turn its security state. The lowest octet of NAS COUNT travels in the message
// (TS 24.301, 4.4.3.1); the first protected message has the COUNT of the options, and those behind it have
// the next COUNT that ends in their sequence number.
class Security {
public:
   explicit Security(const SecurityOptions& options) : options_(options), next_(options.count.value_or(0)) {}

   // NAS COUNT of the next message.
   uint32_t countOf(const std::vector<uint8_t>& octets);

   // Prepares the context for a message. A status below 0 is a failure.
   int prepare(RtxContext* ctxt, uint32_t count) const;

private:
   const SecurityOptions& options_;
   uint32_t next_; // lowest COUNT that the next message may have
   bool started_ = false;
};

} // namespace quorva::tool
