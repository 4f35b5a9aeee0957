// Hex dumps to the print stream, files and texts.
#include "quorva/rtxHexDump.h"

#include <climits>
#include <cstring>

#include "quorva/rtxCharStr.h"
#include "quorva/rtxFile.h"
#include "quorva/rtxPrintToStream.h"
#include "quorva/rtxStatus.h"
#include "runtime/text/textSteps.h"
#include "runtime/text/textWriter.h"

namespace {

constexpr size_t octetsPerLine = 16;

// One line: 48 columns of digits, 16 of characters, both filled up with blanks.
class DumpLine {
public:
   DumpLine() { clear(); }

   void clear() {
      memset(hex_, ' ', sizeof(hex_) - 1);
      memset(chars_, ' ', sizeof(chars_) - 1);
      hex_[sizeof(hex_) - 1] = '\0';
      chars_[sizeof(chars_) - 1] = '\0';
      hexUsed_ = charsUsed_ = 0;
   }

   // The high octet of a group comes first, as it lies in memory.
   void addGroup(const uint8_t* octets, size_t width) {
      for (size_t i = 0; i < width; ++i) {
         rtxByteToHexChar(octets[i], hex_ + hexUsed_, 3);
         hexUsed_ += 2;
         chars_[charsUsed_++] = quorva::isPrintable(octets[i]) ? static_cast<char>(octets[i]) : '.';
      }
      // The blank replaces the NUL behind the digits.
      hex_[hexUsed_++] = ' ';
   }

   bool empty() const { return charsUsed_ == 0; }
   const char* hex() const { return hex_; }
   const char* chars() const { return chars_; }

   // For the last line when it is not full; blanks of the data go too.
   const char* trimmedChars() { return rtxStrTrimEnd(chars_); }

private:
   char hex_[49];
   char chars_[17];
   size_t hexUsed_;
   size_t charsUsed_;
};

// Octets of a group and groups of a line, which do not always fill it.
struct Grouping {
   size_t width;
   size_t perLine;
};

Grouping grouping(size_t groupSize) {
   const size_t perLine = octetsPerLine / groupSize;
   return {groupSize <= 4 ? groupSize : 4, perLine > 0 ? perLine : 1};
}

// Calls put(line, full) for each line; stops when it gives false.
template <typename Put>
void dump(const uint8_t* data, size_t numocts, size_t groupSize, Put put) {
   if (!data || groupSize == 0) return;
   const Grouping groups = grouping(groupSize);
   const size_t count = numocts / groups.width;
   DumpLine line;
   for (size_t i = 0; i < count; ++i) {
      line.addGroup(data + i * groups.width, groups.width);
      if ((i + 1) % groups.perLine != 0) continue;
      if (!put(line, true)) return;
      line.clear();
   }
   if (!line.empty()) put(line, false);
}

void putToFile(FILE* file, DumpLine& line, bool full) {
   if (full)
      fprintf(file, "%48s %16s\n", line.hex(), line.chars());
   else
      fprintf(file, "%48s %s\n", line.hex(), line.trimmedChars());
}

int dumpContents(FILE* in, FILE* out) {
   DumpLine line;
   size_t count = 0;
   for (int c = fgetc(in); c != EOF; c = fgetc(in)) {
      const uint8_t octet = static_cast<uint8_t>(c);
      line.addGroup(&octet, 1);
      if (++count % octetsPerLine != 0) continue;
      putToFile(out, line, true);
      line.clear();
   }
   if (!line.empty()) putToFile(out, line, false);
   return RTX_OK;
}

} // namespace

void rtxHexDumpToStreamEx(RtxContext* pctxt, const uint8_t* data, size_t numocts, size_t groupSize) {
   quorva::TextWriter out(pctxt);
   dump(data, numocts, groupSize, [pctxt, &out](DumpLine& line, bool full) {
      if (out.direct()) {
         out.putText(line.hex());
         out.put(' ');
         out.putText(full ? line.chars() : line.trimmedChars());
         out.endLine();
      } else if (full) {
         rtxPrintToStream(pctxt, "%48s %16s\n", line.hex(), line.chars());
      } else {
         rtxPrintToStream(pctxt, "%48s %s\n", line.hex(), line.trimmedChars());
      }
      return true;
   });
}

void rtxHexDumpToStream(RtxContext* pctxt, const uint8_t* data, size_t numocts) {
   rtxHexDumpToStreamEx(pctxt, data, numocts, 1);
}

void rtxHexDumpToStreamExNoAscii(RtxContext* pctxt, const uint8_t* data, size_t numocts, size_t groupSize) {
   dump(data, numocts, groupSize, [pctxt](DumpLine& line, bool) {
      rtxPrintToStream(pctxt, "%48s\n", line.hex());
      return true;
   });
}

void rtxHexDumpToFileEx(FILE* file, const uint8_t* data, size_t numocts, size_t groupSize) {
   if (!file) return;
   dump(data, numocts, groupSize, [file](DumpLine& line, bool full) {
      putToFile(file, line, full);
      return true;
   });
}

void rtxHexDumpToFile(FILE* file, const uint8_t* data, size_t numocts) {
   rtxHexDumpToFileEx(file, data, numocts, 1);
}

void rtxHexDumpToFileExNoAscii(FILE* file, const uint8_t* data, size_t numocts, size_t groupSize) {
   if (!file) return;
   dump(data, numocts, groupSize, [file](DumpLine& line, bool) {
      fprintf(file, "%48s\n", line.hex());
      return true;
   });
}

void rtxHexDump(const uint8_t* data, size_t numocts) {
   rtxHexDumpToFileEx(stdout, data, numocts, 1);
}

void rtxHexDumpEx(const uint8_t* data, size_t numocts, size_t groupSize) {
   rtxHexDumpToFileEx(stdout, data, numocts, groupSize);
}

int rtxHexDumpToNamedFile(const char* fileName, const uint8_t* data, size_t numocts) {
   FILE* file = nullptr;
   if (rtxFileOpen(&file, fileName, "w") != RTX_OK) return RTX_E_FILE_WRITE;
   rtxHexDumpToFile(file, data, numocts);
   fclose(file);
   return RTX_OK;
}

int rtxHexDumpToNamedFileNoAscii(const char* fileName, const uint8_t* data, size_t numocts) {
   FILE* file = nullptr;
   if (rtxFileOpen(&file, fileName, "w") != RTX_OK) return RTX_E_FILE_WRITE;
   rtxHexDumpToFileExNoAscii(file, data, numocts, 1);
   fclose(file);
   return RTX_OK;
}

int rtxHexDumpFileContents(const char* inFileName) {
   FILE* in = nullptr;
   if (rtxFileOpen(&in, inFileName, "r") != RTX_OK) return RTX_E_FILE_READ;
   // The input stays open, here and in the next function.
   return dumpContents(in, stdout);
}

int rtxHexDumpFileContentsToFile(const char* inFileName, const char* outFileName) {
   FILE* in = nullptr;
   if (rtxFileOpen(&in, inFileName, "r") != RTX_OK) return RTX_E_FILE_READ;
   FILE* out = nullptr;
   if (rtxFileOpen(&out, outFileName, "w") != RTX_OK) {
      fclose(in);
      return RTX_E_FILE_WRITE;
   }
   const int status = dumpContents(in, out);
   fclose(out);
   return status;
}

int rtxHexDumpToStringEx(const uint8_t* data, size_t numocts, char* buffer, size_t offset, size_t bufsize,
                         size_t groupSize) {
   if (!buffer || offset >= bufsize) return -1;
   const bool acceptable = groupSize == 1 || groupSize == 2 || groupSize == 4 || groupSize == 8;
   if (!data || numocts == 0 || !acceptable || numocts % groupSize != 0) return 0;
   bool fits = true;
   dump(data, numocts, groupSize, [&](DumpLine& line, bool full) {
      const char* chars = full ? line.chars() : line.trimmedChars();
      // The two limits leave out the NUL: with no room for it the line end is dropped.
      const size_t needed = full ? 66 : strlen(chars) + 50;
      fits = bufsize - offset >= needed;
      if (!fits) return false;
      rtxStrcat(buffer, bufsize, line.hex());
      rtxStrcat(buffer, bufsize, " ");
      rtxStrcat(buffer, bufsize, chars);
      rtxStrcat(buffer, bufsize, "\n");
      offset = strnlen(buffer, bufsize);
      return true;
   });
   return fits && offset <= INT_MAX ? static_cast<int>(offset) : -1;
}

int rtxHexDumpToString(const uint8_t* data, size_t numocts, char* buffer, size_t offset, size_t bufsize) {
   return rtxHexDumpToStringEx(data, numocts, buffer, offset, bufsize, 1);
}
