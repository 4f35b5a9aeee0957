// Printers of common values to the print stream.
#include "quorva/rtxPrintToStream.h"

#include "quorva/rtxFile.h"
#include "quorva/rtxHexDump.h"
#include "quorva/rtxStatus.h"
#include "runtime/text/escapeText.h"
#include "runtime/text/valueText.h"

using quorva::StreamSink;
namespace text = quorva::text;

int rtxPrintToStreamBoolean(RtxContext* pctxt, const char* name, uint8_t value) {
   return text::boolean(StreamSink(pctxt), name, value != 0);
}

int rtxPrintToStreamInteger(RtxContext* pctxt, const char* name, int32_t value) {
   return text::int32(StreamSink(pctxt), name, value);
}

int rtxPrintToStreamUnsigned(RtxContext* pctxt, const char* name, uint32_t value) {
   return text::uint32(StreamSink(pctxt), name, value);
}

int rtxPrintToStreamInt64(RtxContext* pctxt, const char* name, int64_t value) {
   return text::int64(StreamSink(pctxt), name, value);
}

int rtxPrintToStreamUInt64(RtxContext* pctxt, const char* name, uint64_t value) {
   return text::uint64(StreamSink(pctxt), name, value);
}

int rtxPrintToStreamReal(RtxContext* pctxt, const char* name, double value) {
   return text::real(StreamSink(pctxt), name, value);
}

int rtxPrintToStreamNull(RtxContext* pctxt, const char* name) {
   return text::null(StreamSink(pctxt), name);
}

int rtxPrintToStreamCharStr(RtxContext* pctxt, const char* name, const char* value) {
   const StreamSink to(pctxt);
   if (!quorva::escapes(pctxt) || value == nullptr) return text::charStr(to, name, value);
   QUORVA_PRINT_STEP(to.print("%s = '", name));
   quorva::escapeText(value, '\'', [&](std::string_view piece) {
      to.print("%.*s", static_cast<int>(piece.size()), piece.data());
   });
   return to.print("'\n");
}

int rtxPrintToStreamUTF8CharStr(RtxContext* pctxt, const char* name, const char* value) {
   return rtxPrintToStreamCharStr(pctxt, name, value);
}

int rtxPrintToStreamUnicodeCharStr(RtxContext* pctxt, const char* name, const uint16_t* value,
                                   int32_t nunits) {
   return text::unicode(StreamSink(pctxt), name, value, nunits, quorva::escapes(pctxt));
}

int rtxPrintToStreamHexStrPlain(RtxContext* pctxt, const char* name, size_t numocts, const uint8_t* data) {
   return text::hexStrPlain(StreamSink(pctxt), name, numocts, data);
}

int rtxPrintToStreamHexStr(RtxContext* pctxt, const char* name, size_t numocts, const uint8_t* data) {
   return text::hexStr(StreamSink(pctxt), name, numocts, data);
}

int rtxPrintToStreamHexStrNoAscii(RtxContext* pctxt, const char* name, size_t numocts, const uint8_t* data) {
   QUORVA_PRINT_STEP(rtxPrintToStream(pctxt, "%s =\n", name));
   rtxHexDumpToStreamExNoAscii(pctxt, data, numocts, 1);
   return 0;
}

int rtxPrintToStreamHexBinary(RtxContext* pctxt, const char* name, size_t numocts, const uint8_t* data) {
   return text::hexBinary(StreamSink(pctxt), name, numocts, data);
}

int rtxPrintToStreamNVP(RtxContext* pctxt, const char* name, const RtxNVP* value) {
   return text::nameValue(StreamSink(pctxt), name, value);
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
