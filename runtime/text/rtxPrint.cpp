// Printers of common values to standard output.
#include "quorva/rtxPrint.h"

#include "quorva/rtxFile.h"
#include "quorva/rtxHexDump.h"
#include "quorva/rtxStatus.h"
#include "runtime/text/valueText.h"

using quorva::StdoutSink;
namespace text = quorva::text;

int rtxPrintIndent(void) {
   return StdoutSink().indent();
}

void rtxPrintResetIndent(void) {
   quorva::stdoutIndent = 0;
}

void rtxPrintIncrIndent(void) {
   quorva::increaseIndent(quorva::stdoutIndent);
}

void rtxPrintDecrIndent(void) {
   quorva::decreaseIndent(quorva::stdoutIndent);
}

int rtxPrintOpenBrace(const char* name) {
   QUORVA_PRINT_STEP(text::openBrace(StdoutSink(), name));
   rtxPrintIncrIndent();
   return 0;
}

int rtxPrintCloseBrace(void) {
   rtxPrintDecrIndent();
   return text::closeBrace(StdoutSink());
}

int rtxPrintBoolean(const char* name, uint8_t value) {
   return text::boolean(StdoutSink(), name, value != 0);
}

int rtxPrintInteger(const char* name, int32_t value) {
   return text::int32(StdoutSink(), name, value);
}

int rtxPrintUnsigned(const char* name, uint32_t value) {
   return text::uint32(StdoutSink(), name, value);
}

int rtxPrintInt64(const char* name, int64_t value) {
   return text::int64(StdoutSink(), name, value);
}

int rtxPrintUInt64(const char* name, uint64_t value) {
   return text::uint64(StdoutSink(), name, value);
}

int rtxPrintReal(const char* name, double value) {
   return text::real(StdoutSink(), name, value);
}

int rtxPrintNull(const char* name) {
   return text::null(StdoutSink(), name);
}

int rtxPrintCharStr(const char* name, const char* value) {
   return text::charStr(StdoutSink(), name, value);
}

int rtxPrintUTF8CharStr(const char* name, const char* value) {
   return text::charStr(StdoutSink(), name, value);
}

int rtxPrintUnicodeCharStr64(const char* name, const uint16_t* value, int64_t nunits) {
   return text::unicode(StdoutSink(), name, value, nunits);
}

int rtxPrintUnicodeCharStr(const char* name, const uint16_t* value, int32_t nunits) {
   return text::unicode(StdoutSink(), name, value, nunits);
}

int rtxPrintHexStrPlain(const char* name, size_t numocts, const uint8_t* data) {
   return text::hexStrPlain(StdoutSink(), name, numocts, data);
}

int rtxPrintHexStr(const char* name, size_t numocts, const uint8_t* data) {
   return text::hexStr(StdoutSink(), name, numocts, data);
}

int rtxPrintHexBinary(const char* name, size_t numocts, const uint8_t* data) {
   return text::hexBinary(StdoutSink(), name, numocts, data);
}

int rtxPrintText(const char* name, size_t numocts, const uint8_t* data) {
   return text::visibleText(StdoutSink(), name, numocts, data);
}

int rtxPrintIpv4Addr(const char* name, size_t numocts, const uint8_t* data) {
   return text::ipv4(StdoutSink(), name, numocts, data);
}

int rtxPrintIpv6Addr(const char* name, size_t numocts, const uint8_t* data) {
   return text::ipv6(StdoutSink(), name, numocts, data);
}

int rtxPrintTBCDStr(const char* name, size_t numocts, const uint8_t* data) {
   return text::tbcd(StdoutSink(), name, numocts, data, "");
}

int rtxPrintNVP(const char* name, const RtxNVP* value) {
   return text::nameValue(StdoutSink(), name, value);
}

int rtxPrintArrayNVP(const char* name, size_t index, const RtxNVP* value) {
   const StdoutSink to;
   const char* const texts[] = {value->name ? value->name : "(null)", value->value ? value->value : "(null)"};
   QUORVA_PRINT_STEP(to.print("%s[%zu].name  = '%s'\n", name, index, texts[0]));
   return to.print("%s[%zu].value = '%s'\n", name, index, texts[1]);
}

int rtxPrintHexStrNoAscii(const char* name, size_t numocts, const uint8_t* data) {
   // A short text takes one line; the print stream takes a dump at any length.
   if (numocts <= text::maxHexLine) return text::hexStrPlain(StdoutSink(), name, numocts, data);
   QUORVA_PRINT_STEP(StdoutSink().print("%s =\n", name));
   rtxHexDumpToFileExNoAscii(stdout, data, numocts, 1);
   return 0;
}

int rtxPrintFile(const char* fileName) {
   FILE* file = nullptr;
   if (rtxFileOpen(&file, fileName, "r") != RTX_OK) return RTX_E_FILE_NOT_FOUND;
   char line[1024];
   // Each line has its end and gets a second one.
   while (fgets(line, sizeof(line), file)) puts(line);
   fclose(file);
   return 0;
}
