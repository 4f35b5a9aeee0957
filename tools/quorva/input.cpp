#include "tools/quorva/input.h"

#include "tools/quorva/captureInput.h"
#include "tools/quorva/dump.h"
#include "tools/quorva/hexText.h"
#include "tools/quorva/source.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <optional>
#include <string_view>

namespace quorva::tool {

namespace {

constexpr size_t kMostCharacters = 4 * kMostOctets; // of a line; "0x" or blanks take some
constexpr char kNotToItsEnd[] = "can't be read to its end";

// The lines of a source.
class Lines {
public:
   explicit Lines(Source& source) : source_(source) {}

   // The next line, which stands until the next call; none at the end, where reading fails, and where a line
   // does not end in time.
   std::optional<std::string_view> next() {
      for (size_t searched = 0;;) {
         const std::string_view held = source_.held();
         if (const size_t length = held.find('\n', searched); length != std::string_view::npos) {
            source_.take(length + 1);
            return held.substr(0, length);
         }
         searched = held.size();
         endless_ = held.size() > kMostCharacters;
         if (endless_) return std::nullopt;
         if (!source_.fill()) {
            if (searched == 0 || source_.failed()) return std::nullopt;
            const std::string_view last = source_.held();
            source_.take(last.size());
            return last;
         }
      }
   }

   bool endless() const { return endless_; }

private:
   Source& source_;
   bool endless_ = false;
};

// Reads the text of a file into messages.
class TextReader {
public:
   TextReader(Source& source, const std::string& name, const TakeMessage& take)
         : lines_(source), source_(source), message_{name}, take_(take) {}

   void read() {
      while (const auto line = lines_.next()) {
         ++message_.line;
         if (dump_.open()) {
            if (dump_.goOn(*line)) {
               if (dump_.ended()) endDump();
               continue;
            }
            endDump();
         }
         if (pending_.empty() && dump_.begin(*line)) {
            dumpLine_ = message_.line;
            continue;
         }
         takeText(line->substr(0, line->find('#')));
      }
      if (dump_.open()) endDump();
      if (!pending_.empty()) takeWhole(pending_);
      if (lines_.endless()) take_({message_.source, message_.line + 1, {}, kTooLong});
      if (source_.failed() && source_.readAny()) take_({message_.source, 0, {}, kNotToItsEnd});
   }

private:
   void takeText(std::string_view text) {
      if (std::all_of(text.begin(), text.end(), isBlank)) return;
      const bool goesOn = text[text.find_last_not_of(" \t\r")] == ',';
      if (!goesOn && pending_.empty()) return takeWhole(text);
      pending_.append(text) += ' ';
      if (goesOn && pending_.size() <= kMostCharacters) return;
      takeWhole(pending_);
      pending_.clear();
   }

   void takeWhole(std::string_view text) {
      if (!setOctets(text, message_.octets, message_.fault) && message_.fault.starts_with("character"))
         message_.fault += "; octets are read by --binary";
      take_(message_);
   }

   void endDump() {
      std::swap(message_.line, dumpLine_);
      message_.octets = dump_.finish(message_.fault);
      take_(message_);
      std::swap(message_.line, dumpLine_);
   }

   Lines lines_;
   Source& source_;
   Message message_;
   const TakeMessage& take_;
   Dump dump_;
   size_t dumpLine_ = 0;
   std::string pending_; // lines that go on
};

// The octets of a file as one message.
void readBinary(Source& source, const std::string& name, const TakeMessage& take) {
   Message message{name};
   while (source.held().size() <= kMostOctets && source.fill()) {}
   const std::string_view held = source.held();
   if (source.failed()) {
      if (!source.readAny()) return;
      message.fault = kNotToItsEnd;
   } else if (held.empty()) {
      message.fault = "no octets";
   } else if (held.size() > kMostOctets) {
      message.fault = kTooLong;
   } else {
      message.octets.assign(held.begin(), held.end());
   }
   take(message);
}

// A capture, or text. To tell them apart it waits for no more octets than the beginnings have in common.
void readSource(Source& source, const std::string& name, const InputOptions& options,
                const TakeMessage& take) {
   while (capture::mayBeCapture(source.held()) && source.fill()) {}
   if (capture::isCapture(source.held())) return readCapture(source, name, options, take);
   if (const char* refused = capture::refusedFormat(source.held())) return take({name, 0, {}, refused});
   TextReader(source, name, take).read();
}

const std::string& titleOf(const std::string& name) {
   static const std::string standardInput = "standard input";
   return name == "-" ? standardInput : name;
}

} // namespace

std::string Message::origin() const {
   if (frame != nullptr) return source + ": frame " + std::to_string(frame->number);
   return line == 0 ? source : source + ":" + std::to_string(line);
}

void readMessages(const InputOptions& options, const TakeMessage& take) {
   const auto& arguments = options.arguments;
   const auto complain = [&](const std::string& name, const char* what) {
      take({titleOf(name), 0, {}, what + std::string(std::strerror(errno))});
   };
   const auto readArgument = [&](const std::string& name) {
      const auto read = [&](Source& source) { readSource(source, titleOf(name), options, take); };
      if (!readFrom(name, read)) complain(name, "neither hexadecimal text nor a readable file: ");
   };
   for (const std::string& name : options.binaryFiles) {
      const auto read = [&](Source& source) { readBinary(source, titleOf(name), take); };
      if (!readFrom(name, read)) complain(name, "not readable: ");
   }
   size_t given = 0; // messages on the command line itself
   for (size_t i = 0; i < arguments.size(); ++i) {
      const std::string& argument = arguments[i];
      size_t bad = 0;
      std::string text = argument;
      std::string digits = digitsOf(argument, bad);
      if (bad != std::string::npos) {
         readArgument(argument);
         continue;
      }
      while (!digits.empty() && digits.size() <= 2 && i + 1 < arguments.size()) {
         digits = digitsOf(arguments[i + 1], bad);
         if (bad != std::string::npos || digits.empty() || digits.size() > 2) break;
         text += ' ' + arguments[++i];
      }
      Message message{"message " + std::to_string(++given)};
      setOctets(text, message.octets, message.fault);
      take(message);
   }
   if (arguments.empty() && options.binaryFiles.empty()) readArgument("-");
}

} // namespace quorva::tool
