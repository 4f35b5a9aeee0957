// Messages from the command line, from files and from standard input.
#pragma once

#include "tools/quorva/capture/captureFile.h"
#include "tools/quorva/capture/finding.h"

#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <utility>
#include <vector>

namespace quorva::tool {

// A message as it was given, or why it is none.
struct Message {
   std::string source;               // "message 2", "messages.txt"
   size_t line = 0;                  // in a file
   std::vector<uint8_t> octets = {}; // empty if there is a fault
   std::string fault = {};           // empty if the octets are good
   // Of a capture, while the message is handed on.
   const capture::Frame* frame = nullptr;
   const capture::Finding* finding = nullptr; // what was found there; null: the capture itself has the fault
   bool wanted = true;                        // false: of interest for what it means to others only

   std::string origin() const;
};

// Ranges of the numbers of frames; none means all.
class FrameRanges {
public:
   // "12", "12-40", "-40", "100-", or several with commas between them; false for any other text.
   bool parse(const std::string& text);

   bool contains(size_t number) const;
   bool isBehind(size_t number) const; // and none follows

private:
   std::vector<std::pair<size_t, size_t>> ranges_;
};

struct InputOptions {
   std::vector<std::string> arguments;
   std::vector<std::string> binaryFiles; // a message each
   std::map<int, std::string> links;     // type of the messages of a link type
   FrameRanges frames;
};

using TakeMessage = std::function<void(const Message&)>;

// Hands on each message that the options name as soon as it is there. An argument is hexadecimal text, the
// name of a file, or "-" for standard input; none at all means standard input too. Hexadecimal arguments of
// at most two digits in a row are the octets of one message, longer ones are a message each. A file is a
// capture, or text: one message a line, where empty lines and what follows a # are passed over, lines that
// end with a comma go on in the next, and dumps with offsets are a message each. When there is nothing to
// read yet, standard output is flushed.
void readMessages(const InputOptions& options, const TakeMessage& take);

} // namespace quorva::tool
