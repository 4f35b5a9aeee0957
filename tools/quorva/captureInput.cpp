#include "tools/quorva/captureInput.h"

#include "tools/quorva/capture/carriers.h"

#include <cctype>
#include <charconv>
#include <limits>
#include <new>

namespace quorva::tool {

bool FrameRanges::parse(const std::string& text) {
   ranges_.clear();
   const char* at = text.data();
   const char* const end = at + text.size();
   const auto number = [&at, end](size_t otherwise) {
      size_t value = otherwise;
      if (at < end && std::isdigit(static_cast<unsigned char>(*at)) != 0)
         at = std::from_chars(at, end, value).ptr;
      return value;
   };
   for (;;) {
      const char* const start = at;
      const size_t first = number(1);
      size_t last = first;
      if (at < end && *at == '-') {
         ++at;
         last = number(std::numeric_limits<size_t>::max());
         if (at == start + 1) return false;
      } else if (at == start) {
         return false;
      }
      if (first == 0 || last < first) return false;
      ranges_.emplace_back(first, last);
      if (at == end) return true;
      if (*at++ != ',') return false;
   }
}

bool FrameRanges::contains(size_t number) const {
   if (ranges_.empty()) return true;
   for (const auto& [first, last] : ranges_)
      if (number >= first && number <= last) return true;
   return false;
}

bool FrameRanges::isBehind(size_t number) const {
   if (ranges_.empty()) return false;
   for (const auto& [first, last] : ranges_)
      if (number <= last) return false;
   return true;
}

void readCapture(Source& source, const std::string& name, const InputOptions& options,
                 const TakeMessage& take) {
   std::FILE* stream = fileOver(source);
   if (stream == nullptr) throw std::bad_alloc();
   std::setvbuf(stream, nullptr, _IOFBF, size_t{1} << 16);
   capture::CaptureFile file(stream);
   capture::Carriers carriers;
   Message message;
   message.source = name;
   if (file.fault().empty() && !capture::Carriers::knows(file.linkType())) {
      message.fault = "no carrier of messages is known on link type " + file.linkName();
      return take(message);
   }
   const auto link = options.links.find(file.linkType());
   const char* const linked = link == options.links.end() ? nullptr : link->second.c_str();
   size_t last = 0;
   while (const auto frame = file.next()) {
      if (options.frames.isBehind(frame->number)) return;
      last = frame->number;
      message.frame = &*frame;
      message.wanted = options.frames.contains(frame->number);
      carriers.find(file.linkType(), frame->octets, [&](const capture::Finding& found) {
         capture::Finding finding = found;
         if (finding.type == nullptr) finding.type = linked;
         message.finding = &finding;
         message.octets.assign(finding.octets.begin(), finding.octets.end());
         message.fault = finding.fault.empty() ? "" : std::string(finding.carrier) + ": " + finding.fault;
         const uint8_t* const frameEnd = frame->octets.data() + frame->octets.size();
         if (frame->fullSize > frame->octets.size() &&
             finding.octets.data() + finding.octets.size() == frameEnd)
            message.fault = std::string(finding.carrier) + ": cut short when it was captured";
         take(message);
      });
   }
   if (file.fault().empty()) return;
   // No frame is at hand any more.
   Message end;
   end.source = name;
   end.fault = (last == 0 ? "can't be read as a capture: "
                          : "the capture breaks off behind frame " + std::to_string(last) + ": ") +
               file.fault();
   take(end);
}

} // namespace quorva::tool
