#include "tools/quorva/capture/captureFile.h"

#include <pcap/pcap.h>

#include <iterator>

namespace quorva::capture {

namespace {

using std::string_view_literals::operator""sv;

// Microseconds and nanoseconds in either octet order, the variant with longer headers, and pcapng.
constexpr std::string_view kMagics[] = {"\xA1\xB2\xC3\xD4"sv, "\xD4\xC3\xB2\xA1"sv, "\xA1\xB2\x3C\x4D"sv,
                                        "\x4D\x3C\xB2\xA1"sv, "\xA1\xB2\xCD\x34"sv, "\x34\xCD\xB2\xA1"sv,
                                        "\x0A\x0D\x0D\x0A"sv};

struct Refused {
   std::string_view magic;
   const char* text;
};

constexpr Refused kRefused[] = {
      {"\x1F\x8B"sv, "compressed; try: gzip -dc FILE | quorva decode -"},
      {"\x28\xB5\x2F\xFD"sv, "compressed; try: zstd -dc FILE | quorva decode -"},
      {"\xFD\x37zXZ"sv, "compressed; try: xz -dc FILE | quorva decode -"},
      {"\x04\x22\x4D\x18"sv, "compressed; try: lz4 -dc FILE | quorva decode -"},
      {"snoop\0"sv, "a snoop capture; try: editcap -F pcap FILE - | quorva decode -"},
};

} // namespace

bool isCapture(std::string_view start) {
   for (const std::string_view magic : kMagics)
      if (start.starts_with(magic)) return true;
   return false;
}

bool mayBeCapture(std::string_view start) {
   const auto isBeginning = [start](std::string_view magic) {
      return start.size() < magic.size() && magic.starts_with(start);
   };
   for (const std::string_view magic : kMagics)
      if (isBeginning(magic)) return true;
   for (const Refused& each : kRefused)
      if (isBeginning(each.magic)) return true;
   return false;
}

const char* refusedFormat(std::string_view start) {
   for (const Refused& each : kRefused)
      if (start.starts_with(each.magic)) return each.text;
   return nullptr;
}

CaptureFile::CaptureFile(std::FILE* file) {
   char text[PCAP_ERRBUF_SIZE] = "";
   pcap_ = pcap_fopen_offline_with_tstamp_precision(file, PCAP_TSTAMP_PRECISION_NANO, text);
   if (pcap_ == nullptr) {
      std::fclose(file);
      fault_ = text;
   } else {
      linkType_ = pcap_datalink(pcap_);
   }
}

CaptureFile::~CaptureFile() {
   if (pcap_ != nullptr) pcap_close(pcap_);
}

std::optional<Frame> CaptureFile::next() {
   if (pcap_ == nullptr) return std::nullopt;
   pcap_pkthdr* header = nullptr;
   const u_char* octets = nullptr;
   const int result = pcap_next_ex(pcap_, &header, &octets);
   if (result != 1) {
      // A file with two link types ends here as well.
      if (result == PCAP_ERROR) fault_ = pcap_geterr(pcap_);
      return std::nullopt;
   }
   Frame frame;
   frame.number = ++count_;
   frame.seconds = header->ts.tv_sec;
   frame.nanoseconds = static_cast<uint32_t>(header->ts.tv_usec); // of that precision
   frame.octets = {octets, header->caplen};
   frame.fullSize = header->len;
   return frame;
}

std::string CaptureFile::linkName() const {
   const char* name = pcap_datalink_val_to_name(linkType_);
   return std::to_string(linkType_) + (name == nullptr ? "" : std::string(" (") + name + ")");
}

} // namespace quorva::capture
