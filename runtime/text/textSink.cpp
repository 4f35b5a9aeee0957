#include "runtime/text/textSink.h"

#include <cstdio>
#include <cstring>

#include "quorva/rtxHexDump.h"

namespace quorva {

uint32_t stdoutIndent = 0, stringIndent = 0;

// Programs read these texts, so the differences stay.
const TextDialect StreamSink::dialect = {"true", "false", " = ", "\n", 6, true, false, " \n", " \n", "\n"};
const TextDialect StdoutSink::dialect = {"true", "false", " = ", "\n", 12, true, false, " \n", " \n", "\n"};
const TextDialect StringSink::dialect = {"TRUE", "FALSE", " =  = ", "\n\n", 6, false, true, " ", "\n", " \n"};

int TextSink::print(const char* fmt, ...) const {
   va_list args;
   va_start(args, fmt);
   const int status = vprint(fmt, args);
   va_end(args);
   return status;
}

int printBlanks(const TextSink& sink, uint32_t count) {
   for (uint32_t i = 0; i < count; ++i) QUORVA_PRINT_STEP(sink.print(" "));
   return sink.idle();
}

int StreamSink::vprint(const char* fmt, va_list args) const {
   return rtxDiagToStream(pctxt_, fmt, args);
}

int StreamSink::dump(const uint8_t* data, size_t numocts, size_t groupSize) const {
   rtxHexDumpToStreamEx(pctxt_, data, numocts, groupSize);
   return 0;
}

int StdoutSink::vprint(const char* fmt, va_list args) const {
   vprintf(fmt, args);
   return 0;
}

int StdoutSink::dump(const uint8_t* data, size_t numocts, size_t groupSize) const {
   rtxHexDumpEx(data, numocts, groupSize);
   return 0;
}

int StdoutSink::indent() const {
   return printBlanks(*this, stdoutIndent);
}

StringSink::StringSink(char* buffer, size_t size)
      : TextSink(dialect, buffer && strnlen(buffer, size) < size ? 0 : -1), buffer_(buffer), size_(size),
        used_(idle() == 0 ? strlen(buffer) : size) {}

int StringSink::vprint(const char* fmt, va_list args) const {
   if (used_ == size_) return -1;
   const size_t room = size_ - used_;
   const int length = vsnprintf(buffer_ + used_, room, fmt, args);
   const bool whole = length >= 0 && static_cast<size_t>(length) < room;
   used_ += whole ? static_cast<size_t>(length) : strnlen(buffer_ + used_, room - 1);
   return whole ? 0 : -1;
}

int StringSink::dump(const uint8_t* data, size_t numocts, size_t groupSize) const {
   const int length = rtxHexDumpToStringEx(data, numocts, buffer_, used_, size_, groupSize);
   if (used_ < size_) used_ += strnlen(buffer_ + used_, size_ - used_ - 1);
   return length < 0 ? -1 : 0;
}

int StringSink::indent() const {
   return printBlanks(*this, stringIndent);
}

} // namespace quorva
