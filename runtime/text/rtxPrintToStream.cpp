// Printers of common values.
#include "quorva/rtxPrintToStream.h"

#include <cinttypes>

#include "quorva/rtxFile.h"
#include "quorva/rtxHexDump.h"
#include "quorva/rtxStatus.h"
#include "runtime/text/textSteps.h"

namespace {

// Longest octet string that takes one line.
constexpr size_t maxHexLine = 32;

const char* textOrNull(const char* text) {
   return text ? text : "(null)";
}

} // namespace

int rtxPrintToStreamBoolean(RtxContext* pctxt, const char* name, uint8_t value) {
   return rtxPrintToStream(pctxt, "%s = %s\n", name, value ? "true" : "false");
}

int rtxPrintToStreamInteger(RtxContext* pctxt, const char* name, int32_t value) {
   return rtxPrintToStream(pctxt, "%s = %d\n", name, value);
}

int rtxPrintToStreamUnsigned(RtxContext* pctxt, const char* name, uint32_t value) {
   return rtxPrintToStream(pctxt, "%s = %u\n", name, value);
}

int rtxPrintToStreamInt64(RtxContext* pctxt, const char* name, int64_t value) {
   return rtxPrintToStream(pctxt, "%s = %" PRId64 "\n", name, value);
}

int rtxPrintToStreamUInt64(RtxContext* pctxt, const char* name, uint64_t value) {
   return rtxPrintToStream(pctxt, "%s = %" PRIu64 "\n", name, value);
}

int rtxPrintToStreamReal(RtxContext* pctxt, const char* name, double value) {
   return rtxPrintToStream(pctxt, "%s = %g\n", name, value);
}

int rtxPrintToStreamNull(RtxContext* pctxt, const char* name) {
   return rtxPrintToStream(pctxt, "%s = <null>\n", name);
}

int rtxPrintToStreamCharStr(RtxContext* pctxt, const char* name, const char* text) {
   return rtxPrintToStream(pctxt, "%s = '%s'\n", name, textOrNull(text));
}

int rtxPrintToStreamUTF8CharStr(RtxContext* pctxt, const char* name, const char* text) {
   return rtxPrintToStreamCharStr(pctxt, name, text);
}

int rtxPrintToStreamUnicodeCharStr(RtxContext* pctxt, const char* name, const uint16_t* text,
                                   int32_t nunits) {
   if (!text) return 0;
   size_t count = 0;
   if (nunits < 0) {
      while (text[count]) ++count;
   } else {
      count = static_cast<size_t>(nunits);
   }
   QUORVA_PRINT_STEP(rtxPrintToStream(pctxt, "%s = '", name));
   QUORVA_PRINT_STEP(quorva::printUnits(pctxt, text, count));
   return rtxPrintToStream(pctxt, "'\n");
}

int rtxPrintToStreamHexStrPlain(RtxContext* pctxt, const char* name, size_t numocts, const uint8_t* data) {
   QUORVA_PRINT_STEP(rtxPrintToStream(pctxt, "%s = 0x", name));
   for (size_t i = 0; data && i < numocts; ++i) QUORVA_PRINT_STEP(rtxPrintToStream(pctxt, "%02x", data[i]));
   return rtxPrintToStream(pctxt, "\n");
}

int rtxPrintToStreamHexStr(RtxContext* pctxt, const char* name, size_t numocts, const uint8_t* data) {
   if (numocts <= maxHexLine) return rtxPrintToStreamHexStrPlain(pctxt, name, numocts, data);
   QUORVA_PRINT_STEP(rtxPrintToStream(pctxt, "%s =\n", name));
   rtxHexDumpToStream(pctxt, data, numocts);
   return 0;
}

int rtxPrintToStreamHexStrNoAscii(RtxContext* pctxt, const char* name, size_t numocts, const uint8_t* data) {
   QUORVA_PRINT_STEP(rtxPrintToStream(pctxt, "%s =\n", name));
   rtxHexDumpToStreamExNoAscii(pctxt, data, numocts, 1);
   return 0;
}

int rtxPrintToStreamHexBinary(RtxContext* pctxt, const char* name, size_t numocts, const uint8_t* data) {
   QUORVA_PRINT_STEP(rtxPrintToStream(pctxt, "%s.numocts = %zu\n", name, numocts));
   QUORVA_PRINT_STEP(rtxPrintToStream(pctxt, "%s.data = \n", name));
   rtxHexDumpToStream(pctxt, data, numocts);
   return 0;
}

int rtxPrintToStreamNVP(RtxContext* pctxt, const char* name, const RtxNVP* value) {
   QUORVA_PRINT_STEP(rtxPrintToStream(pctxt, "%s.name  = '%s'\n", name, textOrNull(value->name)));
   return rtxPrintToStream(pctxt, "%s.value = '%s'\n", name, textOrNull(value->value));
}

int rtxPrintToStreamFile(RtxContext* pctxt, const char* fileName) {
   FILE* file = nullptr;
   if (rtxFileOpen(&file, fileName, "r") != RTX_OK) return RTX_E_FILE_NOT_FOUND;
   char line[1024];
   while (fgets(line, sizeof(line), file)) {
      // The line is the format itself: such a file is a template.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-security"
      rtxPrintToStream(pctxt, line);
#pragma GCC diagnostic pop
   }
   fclose(file);
   return 0;
}
