// A context for one message, whose print stream goes into a text.
#pragma once

#include "quorva/registry.h"
#include "quorva/rtxContext.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace quorva::tool {

// Every message gets a context of its own, so that no flag, name, error or open tail of one reaches the next.
class Session {
public:
   Session(); // throws std::bad_alloc
   ~Session();
   Session(const Session&) = delete;
   Session& operator=(const Session&) = delete;

   RtxContext* ctxt() { return &ctxt_; }

   // What was printed since the last call.
   std::string takeText();

   // Begins the bit trace. False if there is no memory.
   bool startTrace();

private:
   RtxContext ctxt_;
   std::string text_;
};

// Zeroed memory for a value of a type.
class Value {
public:
   explicit Value(const QuorvaType& type)
         : memory_(type.size / sizeof(std::max_align_t) + 1, std::max_align_t{}) {}
   void* get() { return memory_.data(); }

private:
   std::vector<std::max_align_t> memory_;
};

// What a value of a type is called in print: a PDU is "PDU", another type has its name without the module.
std::string printName(const QuorvaType& type);

// Octets as hexadecimal text, two digits each, parted by blanks.
std::string hexText(const uint8_t* octets, size_t count);

} // namespace quorva::tool
