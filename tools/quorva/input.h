// Messages from the command line, from files and from standard input.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace quorva::tool {

// A message as it was given, or why it is none.
struct Message {
   std::string origin;          // "message 2", "messages.txt:7"
   std::vector<uint8_t> octets; // empty if there is a fault
   std::string fault;           // empty if the octets are good
};

// Octets of hexadecimal text; blanks, commas and 0x ahead of digits are passed over. Without a result `fault`
// tells why.
std::optional<std::vector<uint8_t>> octetsFromHex(std::string_view text, std::string& fault);

// All messages that the arguments of a command name. An argument is hexadecimal text, the name of a file, or
// "-" for standard input; none at all means standard input too. Hexadecimal arguments of at most two digits
// in a row are the octets of one message, longer ones are a message each. A file has one message a line;
// empty lines and what follows a # are passed over. A message has 64 MiB at most; no more of an input is held
// in memory, and a line of more than four times as many characters ends the reading.
std::vector<Message> readMessages(const std::vector<std::string>& arguments);

} // namespace quorva::tool
