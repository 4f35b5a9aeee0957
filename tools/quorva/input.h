// Messages from the command line, from files and from standard input.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace quorva::tool {

// A message as it was given, or why it is none.
struct Message {
   std::string source;          // "message 2", "messages.txt"
   size_t line = 0;             // in a file
   std::vector<uint8_t> octets; // empty if there is a fault
   std::string fault;           // empty if the octets are good

   std::string origin() const { return line == 0 ? source : source + ":" + std::to_string(line); }
};

// Octets of hexadecimal text; blanks, commas and 0x ahead of digits are passed over. Without a result `fault`
// tells why.
std::optional<std::vector<uint8_t>> octetsFromHex(std::string_view text, std::string& fault);

// Hands on each message that the arguments of a command name as soon as it is there. An argument is
// hexadecimal text, the name of a file, or "-" for standard input; none at all means standard input too.
// Hexadecimal arguments of at most two digits in a row are the octets of one message, longer ones are a
// message each. A file has one message a line; empty lines and what follows a # are passed over. When there
// is nothing to read yet, standard output is flushed.
void readMessages(const std::vector<std::string>& arguments, const std::function<void(const Message&)>& take);

} // namespace quorva::tool
