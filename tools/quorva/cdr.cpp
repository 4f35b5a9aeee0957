#include "tools/quorva/cdr.h"

#include "tools/quorva/session.h"
#include "tools/quorva/source.h"
#include "tools/quorva/statusName.h"

#include "quorva/rt3GPPTS32297.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <vector>

namespace quorva::tool {

namespace {

// More than a header can have: two parts of it have lengths of 16 bits.
constexpr size_t kLongestHeader = size_t{1} << 18;
constexpr size_t kLengths = 8; // octets of the lengths of file and header
constexpr size_t kLineOctets = 32;

class ChargingFile {
public:
   ChargingFile(Source& source, bool octets) : source_(source), octets_(octets), session_(stdout) {}
   ~ChargingFile() {
      std::free(header_.cdrRoutingFilter.data);
      std::free(header_.privateExtension.data);
   }
   ChargingFile(const ChargingFile&) = delete;
   ChargingFile& operator=(const ChargingFile&) = delete;

   bool list() {
      if (!readHeader()) return false;
      std::printf("\n%10s  %6s  %-10s  %-6s  %s\n", "offset", "length", "release", "format", "specification");
      while (readRecord()) {}
      verdict("length of the file", read_, header_.fileLength);
      if (header_.headerLength > 18) verdict("number of records", records_, header_.cdrCount);
      return good_;
   }

private:
   // Appends to `part` what is there of so many octets; false if that is less.
   bool read(size_t count) {
      const size_t before = part_.size();
      part_.resize(before + count);
      size_t taken = 0;
      while (taken < count) {
         const size_t more =
               source_.read(reinterpret_cast<char*>(part_.data()) + before + taken, count - taken);
         if (more == 0) break;
         taken += more;
      }
      part_.resize(before + taken);
      read_ += taken;
      return taken == count;
   }

   void fail(const std::string& text) {
      std::printf("%s\n", text.c_str());
      good_ = false;
   }

   RtxContext* over(std::vector<uint8_t>& octets) {
      session_.forget();
      rtxCtxtSetBufPtr(session_.ctxt(), octets.data(), octets.size());
      return session_.ctxt();
   }

   bool readHeader() {
      rtInitTS32297FileHdr(&header_);
      read(kLengths);
      size_t length = 0;
      for (size_t i = kLengths / 2; i < part_.size(); ++i) length = length << 8 | part_[i];
      if (part_.size() == kLengths && length > kLengths) read(std::min(length, kLongestHeader) - kLengths);
      const int status = rtDecTS32297FileHdr(over(part_), &header_);
      if (status < 0) {
         fail("the header of the file can't be read: " + statusName(status) + ", " +
              std::to_string(part_.size()) + " octets are there");
         return false;
      }
      rtPrtToStrmTS32297FileHdr(session_.ctxt(), &header_);
      if (length < kLengths || length > kLongestHeader) {
         fail("no header has " + std::to_string(length) + " octets");
         return false;
      }
      if (static_cast<size_t>(status) < length)
         fail("the header's fields take " + std::to_string(status) + " of its " + std::to_string(length) +
              " octets");
      return true;
   }

   bool readRecord() {
      const unsigned long long offset = read_;
      part_.clear();
      if (!read(4) && part_.empty()) return false;
      if (part_.size() == 4 && part_[2] >> 5 == 7) read(1); // the release goes on in an octet of its own
      RtTS32297Hdr record;
      rtInitTS32297Hdr(&record);
      const int status = rtDecTS32297Hdr(over(part_), &record);
      if (status < 0) {
         fail("the header of the record at " + std::to_string(offset) + " is cut: " + statusName(status));
         return false;
      }
      ++records_;
      static constexpr const char* kFormats[] = {"0", "BER", "PER", "APER", "XER", "5", "6", "7"};
      char release[20], specification[15];
      const RtTS32297RelVersId id = {record.release, record.version};
      rtTS32297RelVersIdToText(&id, record.releaseExtension, release, sizeof release);
      rtTS32297TSNumberToText(record.tsNumber, specification, sizeof specification);
      std::printf("%10llu  %6u  %-10s  %-6s  %s\n", offset, record.cdrLength, release,
                  kFormats[record.dataRecordFormat & 7], specification);
      part_.clear();
      const bool whole = read(record.cdrLength);
      for (size_t i = 0; octets_ && i < part_.size(); i += kLineOctets)
         std::printf("   %s\n", hexText(part_.data() + i, std::min(kLineOctets, part_.size() - i)).c_str());
      if (!whole)
         fail("the record at " + std::to_string(offset) + " is cut: " + std::to_string(part_.size()) +
              " of " + std::to_string(record.cdrLength) + " octets are there");
      return whole;
   }

   void verdict(const char* what, unsigned long long there, uint32_t told) {
      const bool agrees = there == told;
      std::printf("%s: %llu, %s\n", what, there,
                  agrees ? "as the header tells" : ("but the header tells " + std::to_string(told)).c_str());
      good_ = good_ && agrees;
   }

   Source& source_;
   bool octets_;
   Session session_;
   RtTS32297FileHdr header_;
   std::vector<uint8_t> part_; // of the file, at hand
   unsigned long long read_ = 0;
   unsigned long long records_ = 0;
   bool good_ = true;
};

} // namespace

bool listRecords(const std::string& file, bool octets) {
   bool good = false;
   const auto list = [&](Source& source) {
      if (source.fill() || !source.failed()) good = ChargingFile(source, octets).list() && !source.failed();
   };
   if (readFrom(file, list)) return good;
   std::fprintf(stderr, "quorva: %s: can't be read: %s\n", file.c_str(), std::strerror(errno));
   return false;
}

} // namespace quorva::tool
