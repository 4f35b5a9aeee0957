/**
 * @file textSink.h
 * Where printed text goes, and the ways in which the three families of printers differ.
 */
#ifndef QUORVA_RUNTIME_TEXT_TEXTSINK_H
#define QUORVA_RUNTIME_TEXT_TEXTSINK_H

#include <cstdarg>

#include "runtime/text/textSteps.h"

namespace quorva {

/** Differences of the families that run through several values. */
struct TextDialect {
   const char* yes;
   const char* no;
   const char* realHead; /**< Between the name and a number of type real. */
   const char* realTail;
   int realPrecision;      /**< Significant digits. */
   bool capitalOctets;     /**< In the dump of bits. */
   bool unsignedArcs;      /**< An arc from 2^31 (2^63) on is no negative number. */
   const char* octetsTail; /**< Between "data =" and a dump of octets. */
   const char* unitsTail;  /**< Between "data =" and a dump of wide characters. */
   const char* hexTail;    /**< Between "name =" and a dump. */
};

/** One place that text can go to. Printing gives 0, or a status that the printers hand on at once. */
class TextSink {
public:
   int print(const char* fmt, ...) const QUORVA_PRINTF(2, 3);
   virtual int vprint(const char* fmt, va_list args) const QUORVA_PRINTF(2, 0) = 0;
   virtual int dump(const uint8_t* data, size_t numocts, size_t groupSize) const = 0;

   /** Prints the indent of the family. */
   virtual int indent() const = 0;

   /** Room for that many characters? */
   virtual bool fits(size_t) const { return true; }

   /** Result of a printer that had nothing to print. */
   int idle() const { return idle_; }
   const TextDialect& dialect() const { return dialect_; }

protected:
   TextSink(const TextDialect& dialect, int idle) : dialect_(dialect), idle_(idle) {}
   ~TextSink() = default;

private:
   const TextDialect& dialect_;
   int idle_;
};

/** The print stream of a context. */
class StreamSink final : public TextSink {
public:
   explicit StreamSink(RtxContext* pctxt) : TextSink(dialect, 0), pctxt_(pctxt) {}
   int vprint(const char* fmt, va_list args) const override;
   int dump(const uint8_t* data, size_t numocts, size_t groupSize) const override;
   int indent() const override { return rtxPrintToStreamIndent(pctxt_); }

private:
   static const TextDialect dialect;
   RtxContext* pctxt_;
};

/** Standard output. */
class StdoutSink final : public TextSink {
public:
   StdoutSink() : TextSink(dialect, 0) {}
   int vprint(const char* fmt, va_list args) const override;
   int dump(const uint8_t* data, size_t numocts, size_t groupSize) const override;
   int indent() const override;

private:
   static const TextDialect dialect;
};

/** The end of a NUL-terminated text; -1 as soon as something does not fit, or if there is no NUL. */
class StringSink final : public TextSink {
public:
   StringSink(char* buffer, size_t size);
   int vprint(const char* fmt, va_list args) const override;
   int dump(const uint8_t* data, size_t numocts, size_t groupSize) const override;
   int indent() const override;
   bool fits(size_t nchars) const override { return size_ - used_ > nchars; }

private:
   static const TextDialect dialect;
   char* buffer_;
   size_t size_;
   mutable size_t used_;
};

/** Prints that many blanks. */
int printBlanks(const TextSink& sink, uint32_t count);

/** Steps of an indent counter of whatever width. */
constexpr unsigned indentStep = 3;

template <typename Counter>
void increaseIndent(Counter& indent) {
   indent = static_cast<Counter>(indent + indentStep);
}

template <typename Counter>
void decreaseIndent(Counter& indent) {
   indent = static_cast<Counter>(indent > indentStep ? indent - indentStep : 0);
}

/** Indents of the families that have no context; not locked. */
extern uint32_t stdoutIndent, stringIndent;

} // namespace quorva

#endif
