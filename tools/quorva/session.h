// A context for messages, and where its print stream goes.
#pragma once

#include "quorva/registry.h"
#include "quorva/rtxContext.h"

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <string>
#include <string_view>
#include <vector>

namespace quorva::tool {

// One message after the other: no flag, name, error or open tail of one reaches the next.
class Session {
public:
   // Are messages what the standards say, or in the library's default mode?
   static inline uint32_t mode = RTX_CTXT_STANDARD;
   // The release that decoders know, 0 for the newest.
   static inline uint16_t release = 0;

   // Names beside plain numbers and texts that can't pass for anything else, or the library's own text?
   static inline uint32_t reading = RTX_CTXT_NAMES | RTX_CTXT_ESCAPES;

   // Printed text goes to a file; without one it is collected. Throws std::bad_alloc.
   explicit Session(std::FILE* out = nullptr);
   ~Session();
   Session(const Session&) = delete;
   Session& operator=(const Session&) = delete;

   RtxContext* ctxt() { return &ctxt_; }

   // Forgets a message that was decoded well. Behind one that failed another session is needed, whose memory
   // is zeroed: the printer of a record that was decoded only in part must meet no chance values.
   void forget();

   // What was collected since the last call.
   std::string takeText();

   // Begins the bit trace. False if there is no memory.
   bool startTrace();

private:
   void closeCollector();

   RtxContext ctxt_;
   uint32_t flags_ = 0; // at its start
   std::FILE* collector_ = nullptr;
   char* text_ = nullptr;
   size_t length_ = 0;
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

// A text from a message, a file or a command line as it is shown: see quorvaEscapeText.
std::string shown(std::string_view text);

// A number's digits with what it means, as the library prints it: "82 (Authentication Request)".
std::string withMeaning(std::string text, std::string_view meaning);

bool isType(const QuorvaType& type, std::string_view name);

// What a value of a type is called in print: a PDU is "PDU", another type has its name without the module.
std::string printName(const QuorvaType& type);

// Octets as hexadecimal text, two digits each, parted by blanks.
std::string hexText(const uint8_t* octets, size_t count);

} // namespace quorva::tool
