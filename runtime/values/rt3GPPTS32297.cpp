// Headers of charging data record files.
#include "quorva/rt3GPPTS32297.h"

#include <charconv>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "quorva/rtxBits.h"
#include "quorva/rtxCharStr.h"
#include "quorva/rtxPrintToStream.h"
#include "quorva/rtxStatus.h"
#include "runtime/core/ascii.h"
#include "runtime/core/rtxInline.h"

namespace {

constexpr uint32_t fixedLength = 52;
// Release code that says that an extension follows, and the first release number of an extension.
constexpr uint8_t extendedCode = 7, firstExtended = 10;
constexpr uint8_t maxVersion = 31;

// By their numbers. 14 and 15 are not in order.
constexpr uint32_t tsNumbers[] = {5,   15,  205, 215, 225, 235, 250, 251,
                                  252, 260, 270, 271, 272, 273, 275, 274};

// Reads a header field by field, up to the length that it has. Once a read has failed, or the end is reached,
// nothing more is read.
class HeaderReader {
public:
   explicit HeaderReader(RtxContext* pctxt) : pctxt_(pctxt) {}

   int status() const { return status_; }
   uint32_t position() const { return position_; }
   void limit(uint32_t length) { length_ = length; }

   bool number(uint32_t& value, uint32_t numocts) {
      uint32_t read = 0;
      if (!more() || !done(rtxDecUInt32(pctxt_, &read, numocts), numocts)) return false;
      value = read;
      return true;
   }

   bool number(uint8_t& value) {
      uint32_t read;
      if (!number(read, 1)) return false;
      value = static_cast<uint8_t>(read);
      return true;
   }

   void release(uint8_t& release, uint8_t& version) {
      uint8_t octet;
      if (!number(octet)) return;
      release = octet >> 5;
      version = octet & maxVersion;
   }

   void timestamp(RtTS32297Timestamp& value) {
      uint32_t bits;
      if (!number(bits, 4)) return;
      value.month = static_cast<uint8_t>(bits >> 28);
      value.day = bits >> 23 & 31;
      value.hour = bits >> 18 & 31;
      value.minute = bits >> 12 & 63;
      value.tzPositive = bits >> 11 & 1 ? 8 : 0;
      value.tzHour = bits >> 6 & 31;
      value.tzMinute = bits & 63;
   }

   void octets(uint8_t* target, uint32_t numocts) {
      if (more()) done(rtxReadBytes(pctxt_, target, numocts), numocts);
   }

   // A length and as many octets. The record gets both or none.
   void block(RtTS32297Octets& value, uint32_t fileLength) {
      uint32_t length;
      if (!number(length, 2)) return;
      if (length > fileLength) {
         fail(RTX_E_BAD_VALUE);
      } else if (length == 0) {
         value = {0, nullptr};
      } else if (more()) {
         auto* data = static_cast<uint8_t*>(malloc(length));
         if (!data)
            fail(RTX_E_NOMEM);
         else if (done(rtxReadBytes(pctxt_, data, length), length))
            value = {static_cast<uint16_t>(length), data};
         else
            free(data);
      }
   }

   void fail(int status) { status_ = quorva::recordFailure(pctxt_, status); }

private:
   bool more() const { return status_ == RTX_OK && position_ < length_; }

   bool done(int status, uint32_t numocts) {
      if (status < 0) {
         fail(status);
         return false;
      }
      position_ += numocts;
      return true;
   }

   RtxContext* pctxt_;
   uint32_t position_ = 0;
   uint32_t length_ = UINT32_MAX;
   int status_ = RTX_OK;
};

// Writes until something fails.
class HeaderWriter {
public:
   explicit HeaderWriter(RtxContext* pctxt) : pctxt_(pctxt) {}

   int status() const { return status_; }

   void bits(uint32_t value, size_t nbits) {
      if (status_ == RTX_OK) keep(rtxEncBits(pctxt_, value, nbits));
   }

   // Takes a number, not a code; 99 is beyond the codes then.
   void release(uint32_t number, uint32_t version) {
      if (status_ == RTX_OK && number < 3) keep(RTX_E_BAD_VALUE);
      bits(number < firstExtended ? number - 3 : extendedCode, 3);
      bits(version < maxVersion ? version : maxVersion, 5);
   }

   void timestamp(const RtTS32297Timestamp& value) {
      bits(value.month, 4);
      bits(value.day, 5);
      bits(value.hour, 5);
      bits(value.minute, 6);
      bits(value.tzPositive ? 1 : 0, 1);
      bits(value.tzHour, 5);
      bits(value.tzMinute, 6);
   }

   void octets(const uint8_t* data, size_t numocts) {
      if (status_ == RTX_OK && numocts > 0) keep(rtxWriteBytes(pctxt_, data, numocts));
   }

   void block(const RtTS32297Octets& value) {
      bits(value.length, 16);
      octets(value.data, value.length);
   }

private:
   void keep(int status) {
      if (status < 0) status_ = quorva::recordFailure(pctxt_, status);
   }

   RtxContext* pctxt_;
   int status_ = RTX_OK;
};

// Takes digits, which may be absent, of a number up to 255.
bool readOctet(const char*& text, uint8_t& value) {
   uint32_t number = 0;
   for (; quorva::isDigit(*text); ++text) {
      number = number * 10 + static_cast<uint32_t>(*text - '0');
      if (number > UINT8_MAX) return false;
   }
   value = static_cast<uint8_t>(number);
   return true;
}

void printRelease(RtxContext* pctxt, const char* name, RtTS32297RelVersId id, uint8_t extension) {
   // Empty for a record with release numbers, which have no text.
   char text[20] = "";
   rtTS32297RelVersIdToText(&id, extension, text, sizeof(text));
   rtxPrintToStreamCharStr(pctxt, name, text);
}

void printTimestamp(RtxContext* pctxt, const char* name, const RtTS32297Timestamp& timestamp) {
   char text[20];
   rtTS32297TimestampToText(&timestamp, text, sizeof(text));
   rtxPrintToStreamCharStr(pctxt, name, text);
}

} // namespace

void rtInitTS32297FileHdr(RtTS32297FileHdr* hdr) {
   *hdr = {};
   hdr->openTimestamp = hdr->lastAppendTimestamp = {1, 1, 1, 0, 0, 0, 1};
}

void rtInitTS32297Hdr(RtTS32297Hdr* hdr) {
   *hdr = {};
   hdr->dataRecordFormat = 1;
}

int rtDecTS32297FileHdr(RtxContext* pctxt, RtTS32297FileHdr* hdr) {
   HeaderReader reader(pctxt);
   uint32_t fileLength = 0, headerLength = 0;
   reader.number(fileLength, 4);
   reader.number(headerLength, 4);
   if (reader.status() != RTX_OK) return reader.status();
   if (!hdr) {
      if (headerLength < 8) return quorva::recordFailure(pctxt, RTX_E_LENGTH_OVERRUN);
      if (headerLength == 8) return RTX_OK;
      const int status = rtxReadBytes(pctxt, nullptr, headerLength - 8);
      return status < 0 ? quorva::recordFailure(pctxt, status) : RTX_OK;
   }
   hdr->fileLength = fileLength;
   hdr->headerLength = headerLength;
   reader.limit(headerLength);
   reader.release(hdr->highRelease, hdr->highVersion);
   reader.release(hdr->lowRelease, hdr->lowVersion);
   reader.timestamp(hdr->openTimestamp);
   reader.timestamp(hdr->lastAppendTimestamp);
   reader.number(hdr->cdrCount, 4);
   reader.number(hdr->fileSequenceNumber, 4);
   reader.number(hdr->fileClosureReason);
   reader.octets(hdr->ipAddress, sizeof(hdr->ipAddress));
   reader.number(hdr->lostCDRIndicator);
   reader.block(hdr->cdrRoutingFilter, fileLength);
   reader.block(hdr->privateExtension, fileLength);
   if (reader.number(hdr->highReleaseExtension)) hdr->highReleaseExtPresent = 1;
   if (reader.number(hdr->lowReleaseExtension)) hdr->lowReleaseExtPresent = 1;
   return reader.status() == RTX_OK ? static_cast<int>(reader.position()) : reader.status();
}

int rtDecTS32297Hdr(RtxContext* pctxt, RtTS32297Hdr* hdr) {
   HeaderReader reader(pctxt);
   uint32_t cdrLength = 0;
   RtTS32297Hdr read = {};
   if (reader.number(cdrLength, 2)) {
      if (hdr) hdr->cdrLength = static_cast<uint16_t>(cdrLength);
      reader.release(read.release, read.version);
   }
   if (reader.status() != RTX_OK) return reader.status();
   const bool extended = read.release == extendedCode;
   if (!hdr) {
      reader.octets(nullptr, extended ? 2 : 1);
      return reader.status();
   }
   hdr->release = read.release;
   hdr->version = read.version;
   if (reader.number(hdr->tsNumber)) {
      hdr->dataRecordFormat = hdr->tsNumber >> 5;
      hdr->releaseExtPresent = extended;
      if (extended) reader.number(hdr->releaseExtension);
   }
   return reader.status() == RTX_OK ? static_cast<int>(reader.position()) : reader.status();
}

uint32_t rtTS32297CalcFileHdrLen(const RtTS32297FileHdr* hdr) {
   return fixedLength + hdr->cdrRoutingFilter.length + hdr->privateExtension.length +
          (hdr->highReleaseExtPresent ? 1 : 0) + (hdr->lowReleaseExtPresent ? 1 : 0);
}

int rtEncTS32297FileHdr(RtxContext* pctxt, RtTS32297FileHdr* hdr) {
   hdr->headerLength = rtTS32297CalcFileHdrLen(hdr);
   HeaderWriter writer(pctxt);
   writer.bits(hdr->fileLength, 32);
   writer.bits(hdr->headerLength, 32);
   writer.release(hdr->highRelease, hdr->highVersion);
   writer.release(hdr->lowRelease, hdr->lowVersion);
   writer.timestamp(hdr->openTimestamp);
   writer.timestamp(hdr->lastAppendTimestamp);
   writer.bits(hdr->cdrCount, 32);
   writer.bits(hdr->fileSequenceNumber, 32);
   writer.bits(hdr->fileClosureReason, 8);
   writer.octets(hdr->ipAddress, sizeof(hdr->ipAddress));
   writer.bits(hdr->lostCDRIndicator, 8);
   writer.block(hdr->cdrRoutingFilter);
   writer.block(hdr->privateExtension);
   if (hdr->highReleaseExtPresent) writer.bits(hdr->highReleaseExtension, 8);
   if (hdr->lowReleaseExtPresent) writer.bits(hdr->lowReleaseExtension, 8);
   return writer.status() == RTX_OK ? static_cast<int>(hdr->headerLength) : writer.status();
}

int rtEncTS32297Hdr(RtxContext* pctxt, const RtTS32297Hdr* hdr) {
   HeaderWriter writer(pctxt);
   writer.bits(hdr->cdrLength, 16);
   writer.release(hdr->release, hdr->version);
   // The number of a decoded record has the bits of its format, too.
   writer.bits((hdr->dataRecordFormat << 5 | hdr->tsNumber) & 0xFF, 8);
   if (hdr->releaseExtPresent) writer.bits(hdr->releaseExtension, 8);
   return writer.status() == RTX_OK ? (hdr->releaseExtPresent ? 5 : 4) : writer.status();
}

int rtPrtToStrmTS32297FileHdr(RtxContext* pctxt, const RtTS32297FileHdr* hdr) {
   const auto number = [pctxt](const char* name, uint32_t value) {
      rtxPrintToStreamUnsigned(pctxt, name, value);
   };
   number("CDR_File_Header.fileLength", hdr->fileLength);
   number("CDR_File_Header.headerLength", hdr->headerLength);
   printRelease(pctxt, "CDR_File_Header.highReleaseVersionID", {hdr->highRelease, hdr->highVersion},
                hdr->highReleaseExtension);
   printRelease(pctxt, "CDR_File_Header.lowReleaseVersionID", {hdr->lowRelease, hdr->lowVersion},
                hdr->lowReleaseExtension);
   printTimestamp(pctxt, "CDR_File_Header.openTimestamp", hdr->openTimestamp);
   printTimestamp(pctxt, "CDR_File_Header.lastAppendTimestamp", hdr->lastAppendTimestamp);
   number("CDR_File_Header.cdrCount", hdr->cdrCount);
   number("CDR_File_Header.fileSequenceNumber", hdr->fileSequenceNumber);
   number("CDR_File_Header.fileClosureReason", hdr->fileClosureReason);
   rtxPrintToStreamHexStr(pctxt, "CDR_File_Header.ipAddress", sizeof(hdr->ipAddress), hdr->ipAddress);
   number("CDR_File_Header.lostCDRIndicator", hdr->lostCDRIndicator);
   const struct {
      const char* name;
      const RtTS32297Octets& value;
   } blocks[] = {{"CDR_File_Header.cdrRoutingFilter", hdr->cdrRoutingFilter},
                 {"CDR_File_Header.privateExtension", hdr->privateExtension}};
   for (const auto& block : blocks)
      if (block.value.length) rtxPrintToStreamHexStr(pctxt, block.name, block.value.length, block.value.data);
   if (hdr->highReleaseExtPresent) number("CDR_File_Header.highReleaseExtension", hdr->highReleaseExtension);
   if (hdr->lowReleaseExtPresent) number("CDR_File_Header.lowReleaseExtension", hdr->lowReleaseExtension);
   return 0;
}

int rtPrtToStrmTS32297Hdr(RtxContext* pctxt, const RtTS32297Hdr* hdr) {
   rtxPrintToStreamUnsigned(pctxt, "CDR_Header.cdrLength", hdr->cdrLength);
   printRelease(pctxt, "CDR_Header.releaseVersionId", {hdr->release, hdr->version}, hdr->releaseExtension);
   rtxPrintToStreamUnsigned(pctxt, "CDR_Header.dataRecordFormat", hdr->dataRecordFormat);
   char text[15];
   rtTS32297TSNumberToText(hdr->tsNumber, text, sizeof(text));
   rtxPrintToStreamCharStr(pctxt, "CDR_Header.tsNumber", text);
   if (hdr->releaseExtPresent)
      rtxPrintToStreamUnsigned(pctxt, "CDR_Header.releaseExtension", hdr->releaseExtension);
   return 0;
}

int rtTS32297GetReleaseNumber(const RtTS32297RelVersId* id, uint8_t extension, uint32_t* pNumber) {
   if (id->release > extendedCode) return RTX_E_BAD_VALUE;
   *pNumber = id->release == 0              ? 99u
              : id->release == extendedCode ? extension + uint32_t{firstExtended}
                                            : id->release + 3u;
   return RTX_OK;
}

int rtTS32297RelVersIdToText(const RtTS32297RelVersId* id, uint8_t extension, char* dest, size_t size) {
   uint32_t number;
   const int status = rtTS32297GetReleaseNumber(id, extension, &number);
   if (status != RTX_OK) return status;
   char text[32];
   snprintf(text, sizeof(text), "rel-%u v.%d", number, id->version);
   rtxStrcpy(dest, size, text);
   return RTX_OK;
}

int rtParseTS32297RelVersText(const char* text, RtTS32297RelVersId* id) {
   if (strncmp(text, "Beyond", 6) == 0) {
      *id = {firstExtended, maxVersion};
      return RTX_OK;
   }
   *id = {};
   if (strncmp(text, "rel-", 4) != 0) return RTX_E_BAD_VALUE;
   text += 4;
   if (!readOctet(text, id->release)) return RTX_E_BAD_VALUE;
   text += strspn(text, " \t\n\v\f\r");
   if (strncmp(text, "v.", 2) != 0) return RTX_E_BAD_VALUE;
   text += 2;
   return readOctet(text, id->version) && *text == '\0' ? RTX_OK : RTX_E_BAD_VALUE;
}

int rtTS32297TimestampToText(const RtTS32297Timestamp* timestamp, char* dest, size_t size) {
   char text[32];
   snprintf(text, sizeof(text), "%02d/%02d %02d:%02d%c%02d:%02d", timestamp->month, timestamp->day,
            timestamp->hour, timestamp->minute, timestamp->tzPositive ? '+' : '-', timestamp->tzHour,
            timestamp->tzMinute);
   rtxStrcpy(dest, size, text);
   return RTX_OK;
}

int rtParseTS32297TimestampText(const char* text, RtTS32297Timestamp* timestamp) {
   const struct {
      uint8_t RtTS32297Timestamp::*member;
      uint8_t least;
      uint8_t most;
      const char* behind; // any of these; none at the end
   } fields[] = {{&RtTS32297Timestamp::month, 1, 12, "/"},  {&RtTS32297Timestamp::day, 1, 31, " \t\n\v\f\r"},
                 {&RtTS32297Timestamp::hour, 0, 24, ":"},   {&RtTS32297Timestamp::minute, 0, 59, "+-"},
                 {&RtTS32297Timestamp::tzHour, 0, 12, ":"}, {&RtTS32297Timestamp::tzMinute, 0, 59, nullptr}};
   for (const auto& field : fields) {
      if (!quorva::isDigit(text[0]) || !quorva::isDigit(text[1])) return RTX_E_BAD_VALUE;
      const int value = (text[0] - '0') * 10 + text[1] - '0';
      text += 2;
      if (value < field.least || value > field.most) return RTX_E_BAD_VALUE;
      timestamp->*field.member = static_cast<uint8_t>(value);
      if (!field.behind) break;
      if (*text == '\0' || !strchr(field.behind, *text)) return RTX_E_BAD_VALUE;
      if (*field.behind == '+') timestamp->tzPositive = *text == '+';
      ++text;
   }
   return RTX_OK;
}

int rtTS32297TSNumberToText(uint8_t number, char* dest, size_t size) {
   number &= 31;
   if (number >= sizeof(tsNumbers) / sizeof(tsNumbers[0])) {
      rtxStrcpy(dest, size, "Unknown");
      return RTX_E_BAD_VALUE;
   }
   char text[16];
   snprintf(text, sizeof(text), "32.%03u", tsNumbers[number]);
   rtxStrcpy(dest, size, text);
   return RTX_OK;
}

int rtParseTS32297TSNumberText(const char* text, uint8_t* pNumber) {
   if (strncmp(text, "32.", 3) != 0) return RTX_E_BAD_VALUE;
   uint32_t value;
   const char* end = text + strlen(text);
   const std::from_chars_result result = std::from_chars(text + 3, end, value);
   if (result.ec == std::errc::result_out_of_range) return RTX_E_OVERFLOW;
   if (result.ec != std::errc() || result.ptr != end) return RTX_E_BAD_FORMAT;
   for (uint8_t number = 0; number < sizeof(tsNumbers) / sizeof(tsNumbers[0]); ++number) {
      if (tsNumbers[number] != value) continue;
      *pNumber = number;
      return RTX_OK;
   }
   return RTX_E_BAD_VALUE;
}
