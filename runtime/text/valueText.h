/**
 * @file valueText.h
 * The text of each kind of value, once for all families of printers. Arguments and texts are those of the
 * printers of the print stream; each function gives the first status of its sink that is not 0.
 */
#ifndef QUORVA_RUNTIME_TEXT_VALUETEXT_H
#define QUORVA_RUNTIME_TEXT_VALUETEXT_H

#include "quorva/rtPrintToStream.h"
#include "runtime/text/textSink.h"

namespace quorva::text {

/** Longest octet string that takes one line. */
constexpr size_t maxHexLine = 32;

int openBrace(const TextSink& to, const char* name);
int closeBrace(const TextSink& to);
int boolean(const TextSink& to, const char* name, bool value);
int int32(const TextSink& to, const char* name, int32_t value);
int uint32(const TextSink& to, const char* name, uint32_t value);
int int64(const TextSink& to, const char* name, int64_t value);
int uint64(const TextSink& to, const char* name, uint64_t value);
int real(const TextSink& to, const char* name, double value);
int null(const TextSink& to, const char* name);
int charStr(const TextSink& to, const char* name, const char* value);
int nameValue(const TextSink& to, const char* name, const RtxNVP* value);
int hexStrPlain(const TextSink& to, const char* name, size_t numocts, const uint8_t* data);
int hexStr(const TextSink& to, const char* name, size_t numocts, const uint8_t* data);
int hexBinary(const TextSink& to, const char* name, size_t numocts, const uint8_t* data);
int octStr(const TextSink& to, const char* name, uint32_t numocts, const uint8_t* data, const char* conn);
int openTypes(const TextSink& to, const char* name, const RtxDList* list);
int openTypesBraceText(const TextSink& to, const char* name, const RtxDList* list);
int visibleText(const TextSink& to, const char* name, size_t numocts, const uint8_t* data);
int ipv4(const TextSink& to, const char* name, size_t numocts, const uint8_t* data);
int ipv6(const TextSink& to, const char* name, size_t numocts, const uint8_t* data);
int tbcd(const TextSink& to, const char* name, size_t numocts, const uint8_t* data, const char* end);
int dateTime(const TextSink& to, const char* name, const RtxDateTime* value);

/** `name = 'text'` of units, if escaped with a backslash ahead of quotes; the number of units of a text that
 * a zero ends. */
template <typename Unit>
int wideText(const TextSink& to, const char* name, const Unit* data, size_t nunits, bool escaped = false);
int unicode(const TextSink& to, const char* name, const uint16_t* data, int64_t nunits, bool escaped = false);

/** A dump of units as they lie in memory. */
template <typename Text>
int wideDump(const TextSink& to, const char* name, const Text* value, const char* conn);

/** Arcs in braces, behind `name = ` unless the name is null. */
template <typename Arc>
int oid(const TextSink& to, const char* name, size_t numids, const Arc* subid);

/** Dotted text as arcs in braces; `copy` makes a text to write in, `release` takes it back. */
int oidStr(const TextSink& to, const char* name, const char* value, void* owner,
           char* (*copy)(void* owner, const char* text), void (*release)(void* owner, char* text));

/** Bits whose first `stored` ones are at `data`; the others may stand at `extData`. */
struct Bits {
   uint32_t numbits;
   const uint8_t* data;
   uint32_t stored;
   const uint8_t* extData;
};

inline Bits wholeBits(uint32_t numbits, const uint8_t* data) {
   return {numbits, data, numbits, nullptr};
}

inline Bits splitBits(uint32_t numbits, const uint8_t* data, size_t dataSize, const uint8_t* extData) {
   const bool whole = dataSize >= (numbits + size_t{7}) / 8;
   return {numbits, data, whole ? numbits : static_cast<uint32_t>(dataSize * 8), extData};
}

/** Names of bits, found by their numbers. */
struct BitNames {
   size_t count;
   const uint32_t* numbers;
   const char* const* names;
};

/** Octets with 0x in lines of 16; more than 71 bits begin a line of their own. */
int bitDump(const TextSink& to, uint32_t numbits, const uint8_t* data);
int namedBitDump(const TextSink& to, uint32_t numbits, const uint8_t* data, const BitNames& names);

/** The lines of number and data up to the first bit; an indent ahead of each if asked for. */
int bitHead(const TextSink& to, const char* name, uint32_t numbits, const char* conn, bool indented);
int bitStrBin(const TextSink& to, const char* name, const Bits& bits, const char* conn, bool indented);

/** Number of bits and their dump, with names if there are any; then those at the extension. */
int bitStr(const TextSink& to, const char* name, const Bits& bits, const char* conn, const BitNames* names,
           bool indented);

/** The bits at the extension behind a blank. */
int bitExtension(const TextSink& to, const Bits& bits);

} // namespace quorva::text

#endif
