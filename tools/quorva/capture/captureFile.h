// The frames of a capture file, classic or pcapng, by libpcap.
#pragma once

#include "tools/quorva/capture/finding.h"

#include <cstdio>
#include <optional>
#include <string>
#include <string_view>

struct pcap;

namespace quorva::capture {

// Do these first octets of a file begin a capture, or may they with more of them?
bool isCapture(std::string_view start);
bool mayBeCapture(std::string_view start);

// What a file is that begins like this and that can't be read, with what to do about it; null for any other.
const char* refusedFormat(std::string_view start);

struct Frame {
   size_t number = 0; // 1 is the first
   int64_t seconds = 0;
   uint32_t nanoseconds = 0;
   Octets octets;       // stand until the next frame
   size_t fullSize = 0; // octets before the capture cut the frame short
};

class CaptureFile {
public:
   // Reads from an open file, at its beginning, and closes it in the end.
   explicit CaptureFile(std::FILE* file);
   ~CaptureFile();
   CaptureFile(const CaptureFile&) = delete;
   CaptureFile& operator=(const CaptureFile&) = delete;

   // The next frame; none at the end, or where there is a fault.
   std::optional<Frame> next();

   const std::string& fault() const { return fault_; }
   int linkType() const { return linkType_; }
   std::string linkName() const;

private:
   pcap* pcap_ = nullptr;
   int linkType_ = -1;
   size_t count_ = 0;
   std::string fault_;
};

} // namespace quorva::capture
