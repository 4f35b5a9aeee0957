// The lines of a printed record, in two forms: by calls of the print stream, or written straight to its end.
// Both leave the same octets there; a callback of the caller's own sees the calls.
#pragma once

#include "quorva/rtPrintToStream.h"
#include "quorva/rtxPrintToStream.h"
#include "runtime/text/escapeText.h"
#include "runtime/text/textSteps.h"
#include "runtime/text/textWriter.h"

namespace quorva::walk {

class CalledLines {
public:
   explicit CalledLines(RtxContext* ctxt) : ctxt_(ctxt) {}

   void open(const char* name) { rtxPrintToStreamOpenBrace(ctxt_, name); }
   void close() { rtxPrintToStreamCloseBrace(ctxt_); }

   void null(const char* name) {
      rtxPrintToStreamIndent(ctxt_);
      rtxPrintToStreamNull(ctxt_, name);
   }

   void boolean(const char* name, uint8_t value) {
      rtxPrintToStreamIndent(ctxt_);
      rtxPrintToStreamBoolean(ctxt_, name, value);
   }

   void number(const char* name, uint64_t value, unsigned width) {
      rtxPrintToStreamIndent(ctxt_);
      bareNumber(name, value, width);
   }

   void number(const char* name, uint64_t value, const char* meaning) {
      rtxPrintToStreamIndent(ctxt_);
      rtxPrintToStream(ctxt_, "%s = %u (%s)\n", name, static_cast<uint32_t>(value), meaning);
   }

   void named(const char* name, const char* value) {
      rtxPrintToStreamIndent(ctxt_);
      literal(name);
      rtxPrintToStream(ctxt_, " = %s\n", value);
   }

   void unlisted(const char* name) {
      rtxPrintToStreamIndent(ctxt_);
      literal(name);
      literal(" = ???\n");
   }

   void unlisted(const char* name, uint32_t value) {
      rtxPrintToStreamIndent(ctxt_);
      literal(name);
      rtxPrintToStreamUnsigned(ctxt_, "", value);
   }

   // A whole line.
   void line(const char* text) {
      rtxPrintToStreamIndent(ctxt_);
      literal(text);
   }

   void octets(const char* name, size_t count, const uint8_t* data) {
      rtxPrintToStreamIndent(ctxt_);
      rtxPrintToStreamHexStr(ctxt_, name, count, data);
   }

   void bits(const char* name, uint32_t count, const uint8_t* data) {
      rtxPrintToStreamIndent(ctxt_);
      rtPrintToStreamBitStrBraceText(ctxt_, name, count, data);
   }

   void units(const char* name, const Rtx16BitCharString& text) {
      rtxPrintToStreamIndent(ctxt_);
      rtPrintToStreamUnicodeCharStr(ctxt_, name, &text);
   }

   void text(const char* name, const char* value) {
      rtxPrintToStreamIndent(ctxt_);
      rtxPrintToStreamCharStr(ctxt_, name, value);
   }

private:
   void bareNumber(const char* name, uint64_t value, unsigned width) {
      if (width > 4)
         rtxPrintToStreamUInt64(ctxt_, name, value);
      else
         rtxPrintToStreamUnsigned(ctxt_, name, static_cast<uint32_t>(value));
   }

   // A text that is itself the format, as the callbacks expect it of names and of rows: a percent sign in it
   // acts as a directive, deliberately.
   void literal(const char* text) {
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-security"
#pragma GCC diagnostic ignored "-Wformat-nonliteral"
      rtxPrintToStream(ctxt_, text);
#pragma GCC diagnostic pop
   }

   RtxContext* ctxt_;
};

class WrittenLines {
public:
   WrittenLines(RtxContext* ctxt, TextWriter& out) : ctxt_(ctxt), out_(out), calls_(ctxt) {}

   void open(const char* name) {
      indent();
      out_.putText(name);
      out_.put(" {");
      out_.endLine();
      rtxPrintToStreamIncrIndent(ctxt_);
   }

   void close() {
      rtxPrintToStreamDecrIndent(ctxt_);
      indent();
      out_.put('}');
      out_.endLine();
   }

   void null(const char* name) {
      begin(name);
      out_.put("<null>");
      out_.endLine();
   }

   void boolean(const char* name, uint8_t value) {
      begin(name);
      out_.put(value != 0 ? std::string_view("true") : std::string_view("false"));
      out_.endLine();
   }

   void number(const char* name, uint64_t value, unsigned width) {
      begin(name);
      if (width > 4)
         out_.putNumber(value);
      else
         out_.putNumber(static_cast<uint32_t>(value));
      out_.endLine();
   }

   void number(const char* name, uint64_t value, const char* meaning) {
      begin(name);
      out_.putNumber(static_cast<uint32_t>(value));
      out_.put(" (");
      out_.putText(meaning);
      out_.put(')');
      out_.endLine();
   }

   void named(const char* name, const char* value) {
      if (isFormat(name)) return byCall(&CalledLines::named, name, value);
      begin(name);
      out_.putText(value);
      out_.endLine();
   }

   void unlisted(const char* name) {
      if (isFormat(name)) return byCall<const char*>(&CalledLines::unlisted, name);
      begin(name);
      out_.put("???");
      out_.endLine();
   }

   void unlisted(const char* name, uint32_t value) {
      if (isFormat(name)) return byCall<const char*, uint32_t>(&CalledLines::unlisted, name, value);
      number(name, value, sizeof value);
   }

   void line(const char* text) { byCall(&CalledLines::line, text); }

   void octets(const char* name, size_t count, const uint8_t* data) {
      constexpr size_t maxLine = 32; // a longer string takes a dump
      if (count > maxLine) return byCall(&CalledLines::octets, name, count, data);
      begin(name);
      out_.put("0x");
      for (size_t i = 0; data != nullptr && i < count; ++i) out_.putHex(data[i]);
      out_.endLine();
   }

   void bits(const char* name, uint32_t count, const uint8_t* data) {
      constexpr uint32_t maxLine = 63; // a longer string takes several lines
      // Without a context, or data, it has no line of bits.
      if (count == 0 || count > maxLine || ctxt_ == nullptr || data == nullptr)
         return byCall(&CalledLines::bits, name, count, data);
      begin(name);
      out_.put("{ ");
      out_.putNumber(count);
      out_.put(',');
      for (uint32_t i = 0; i < count / 8; ++i) {
         out_.put(' ');
         out_.putHex(data[i]);
      }
      if (count % 8 != 0) {
         char last[9];
         partialOctetText(data[count / 8], count % 8, last);
         out_.put(' ');
         out_.put({last, 8});
      }
      out_.put(" }");
      out_.endLine();
   }

   void units(const char* name, const Rtx16BitCharString& text) {
      byCall<const char*, const Rtx16BitCharString&>(&CalledLines::units, name, text);
   }

   void text(const char* name, const char* value) {
      begin(name);
      out_.put('\'');
      if (value != nullptr && escapes(ctxt_))
         escapeText(value, '\'', [this](std::string_view piece) { out_.put(piece); });
      else
         out_.putText(value);
      out_.put('\'');
      out_.endLine();
   }

private:
   void indent() { out_.putBlanks(printIndent(ctxt_)); }

   void begin(const char* name) {
      indent();
      out_.putText(name);
      out_.put(" = ");
   }

   // Would printing a name as a format show anything else?
   static bool isFormat(const char* name) { return name == nullptr || strchr(name, '%') != nullptr; }

   // What is rare goes by a call in its turn.
   template <class... Arguments>
   void byCall(void (CalledLines::*print)(Arguments...), std::type_identity_t<Arguments>... arguments) {
      out_.commit();
      (calls_.*print)(arguments...);
      out_.resume();
   }

   RtxContext* ctxt_;
   TextWriter& out_;
   CalledLines calls_;
};

} // namespace quorva::walk
