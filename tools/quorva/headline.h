// What stands ahead of a message's text: where it comes from, what it is, how its security stands.
#pragma once

#include "tools/quorva/input.h"
#include "tools/quorva/security.h"

#include "quorva/registry.h"

#include <map>
#include <string>
#include <unordered_map>

namespace quorva::tool {

// Lines like "frame 12  2021-05-05T20:08:31.293502Z  uplink  172.16.10.104 > 172.16.10.101  S1AP"; what is
// not known is a "-".
class Headlines {
public:
   // A message that is of no capture has its origin.
   std::string of(const Message& message);

   // "2021-05-05T20:08:31.293502Z".
   std::string timeOf(const capture::Frame& frame);

private:
   const std::string& secondText(int64_t seconds);

   int64_t seconds_ = 0; // of the last frame
   std::string second_;
};

// An IP address; "-" for none.
std::string addressText(const capture::Address& address);

// How the security of a message of a capture stands, and what would open it; empty for one without.
std::string securityRemark(const Protection& protection);

// Names of messages by their octets.
class MessageNames {
public:
   // "AttachRequest"; a message that is not known, or has no discriminator, has the name of its type. The
   // octets are in the clear, and begin with the discriminator.
   std::string nameOf(const QuorvaType& type, Octets octets);

   // Null for one that is not known.
   const std::string* find(const QuorvaType& type, Octets octets);

private:
   using Names = std::unordered_map<uint32_t, std::string>; // by discriminator and message type
   std::map<const QuorvaType*, Names> names_;
};

} // namespace quorva::tool
