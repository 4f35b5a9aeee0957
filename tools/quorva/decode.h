// The command "decode".
#pragma once

#include "tools/quorva/input.h"
#include "tools/quorva/security.h"

#include <string>
#include <vector>

namespace quorva::tool {

struct DecodeOptions {
   std::string type; // name of the type to decode; empty: by each message's discriminator
   SecurityOptions security;
   bool status = false;  // show the status of good messages too
   bool trace = false;   // list the bits
   bool openRP = false;  // open SMS transfer down to the RP message
   std::string htmlFile; // page of the bits; empty: none
};

// Decodes and prints all messages. True if each of them had status 0.
bool decodeMessages(const DecodeOptions& options, const std::vector<Message>& messages);

} // namespace quorva::tool
