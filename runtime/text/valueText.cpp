#include "runtime/text/valueText.h"

#include <cinttypes>
#include <initializer_list>
#include <type_traits>

#include "quorva/rtxDateTime.h"
#include "quorva/rtxStatus.h"

namespace quorva::text {

namespace {

const char* textOrNull(const char* text) {
   return text ? text : "(null)";
}

} // namespace

int openBrace(const TextSink& to, const char* name) {
   QUORVA_PRINT_STEP(to.indent());
   return to.print("%s {\n", name);
}

int closeBrace(const TextSink& to) {
   QUORVA_PRINT_STEP(to.indent());
   return to.print("}\n");
}

int boolean(const TextSink& to, const char* name, bool value) {
   return to.print("%s = %s\n", name, value ? to.dialect().yes : to.dialect().no);
}

int int32(const TextSink& to, const char* name, int32_t value) {
   return to.print("%s = %d\n", name, value);
}

int uint32(const TextSink& to, const char* name, uint32_t value) {
   return to.print("%s = %u\n", name, value);
}

int int64(const TextSink& to, const char* name, int64_t value) {
   return to.print("%s = %" PRId64 "\n", name, value);
}

int uint64(const TextSink& to, const char* name, uint64_t value) {
   return to.print("%s = %" PRIu64 "\n", name, value);
}

int real(const TextSink& to, const char* name, double value) {
   const TextDialect& dialect = to.dialect();
   return to.print("%s%s%.*g%s", name, dialect.realHead, dialect.realPrecision, value, dialect.realTail);
}

int null(const TextSink& to, const char* name) {
   return to.print("%s = <null>\n", name);
}

int charStr(const TextSink& to, const char* name, const char* value) {
   return to.print("%s = '%s'\n", name, textOrNull(value));
}

int nameValue(const TextSink& to, const char* name, const RtxNVP* value) {
   QUORVA_PRINT_STEP(to.print("%s.name  = '%s'\n", name, textOrNull(value->name)));
   return to.print("%s.value = '%s'\n", name, textOrNull(value->value));
}

int hexStrPlain(const TextSink& to, const char* name, size_t numocts, const uint8_t* data) {
   QUORVA_PRINT_STEP(to.print("%s = 0x", name));
   for (size_t i = 0; data && i < numocts; ++i) QUORVA_PRINT_STEP(to.print("%02x", data[i]));
   return to.print("\n");
}

int hexStr(const TextSink& to, const char* name, size_t numocts, const uint8_t* data) {
   if (numocts <= maxHexLine) return hexStrPlain(to, name, numocts, data);
   QUORVA_PRINT_STEP(to.print("%s =%s", name, to.dialect().hexTail));
   return to.dump(data, numocts, 1);
}

int hexBinary(const TextSink& to, const char* name, size_t numocts, const uint8_t* data) {
   QUORVA_PRINT_STEP(to.print("%s.numocts = %zu\n", name, numocts));
   QUORVA_PRINT_STEP(to.print("%s.data = \n", name));
   return to.dump(data, numocts, 1);
}

int octStr(const TextSink& to, const char* name, uint32_t numocts, const uint8_t* data, const char* conn) {
   QUORVA_PRINT_STEP(to.print("%s%snumocts = %u\n", name, conn, numocts));
   QUORVA_PRINT_STEP(to.print("%s%sdata =%s", name, conn, to.dialect().octetsTail));
   return to.dump(data, numocts, 1);
}

int openTypes(const TextSink& to, const char* name, const RtxDList* list) {
   for (const RtxDListNode* node = list ? list->head : nullptr; node; node = node->next) {
      if (const auto* value = static_cast<const RtxDynOctStr*>(node->data))
         QUORVA_PRINT_STEP(octStr(to, name, value->numocts, value->data, "."));
   }
   return to.idle();
}

int openTypesBraceText(const TextSink& to, const char* name, const RtxDList* list) {
   for (const RtxDListNode* node = list ? list->head : nullptr; node; node = node->next) {
      const auto* value = static_cast<const RtxDynOctStr*>(node->data);
      if (!value) continue;
      QUORVA_PRINT_STEP(to.indent());
      QUORVA_PRINT_STEP(hexStr(to, name, value->numocts, value->data));
   }
   return to.idle();
}

int visibleText(const TextSink& to, const char* name, size_t numocts, const uint8_t* data) {
   QUORVA_PRINT_STEP(to.print("%s = ", name));
   for (size_t i = 0; data && i < numocts; ++i)
      if (isPrintable(data[i])) QUORVA_PRINT_STEP(to.print("%c", data[i]));
   return to.print("\n");
}

int ipv4(const TextSink& to, const char* name, size_t numocts, const uint8_t* data) {
   QUORVA_PRINT_STEP(to.print("%s = ", name));
   for (size_t i = 0; data && i < numocts; ++i) QUORVA_PRINT_STEP(to.print(i > 0 ? ".%d" : "%d", data[i]));
   return to.print("\n");
}

int ipv6(const TextSink& to, const char* name, size_t numocts, const uint8_t* data) {
   QUORVA_PRINT_STEP(to.print("%s = ", name));
   // Each octet goes out without a leading zero: callers see 201:db8.
   for (size_t i = 0; data && i < numocts; ++i)
      QUORVA_PRINT_STEP(to.print(i % 2 == 1 && i + 1 < numocts ? "%x:" : "%x", data[i]));
   return to.print("\n");
}

int tbcd(const TextSink& to, const char* name, size_t numocts, const uint8_t* data, const char* end) {
   QUORVA_PRINT_STEP(to.print("%s = ", name));
   for (size_t i = 0; data && i < numocts; ++i) {
      for (const unsigned digit : {data[i] & 15u, static_cast<unsigned>(data[i] >> 4)})
         if (digit != 15) QUORVA_PRINT_STEP(to.print("%s", tbcdDigitText(digit)));
   }
   return *end ? to.print("%s", end) : 0;
}

int dateTime(const TextSink& to, const char* name, const RtxDateTime* value) {
   QUORVA_PRINT_STEP(to.print("%s = ", name));
   char text[50];
   if (rtxDateTimeToString(value, text, sizeof(text)) < 0) return -1;
   return to.print("%s\n", text);
}

template <typename Unit>
int wideText(const TextSink& to, const char* name, const Unit* data, size_t nunits, bool escaped) {
   QUORVA_PRINT_STEP(to.print("%s = '", name));
   for (size_t i = 0; data && i < nunits; ++i) {
      const uint32_t unit = data[i];
      if (escaped && (unit == '\'' || unit == '\\')) QUORVA_PRINT_STEP(to.print("\\"));
      if (isPrintable(unit))
         QUORVA_PRINT_STEP(to.print("%c", static_cast<char>(unit)));
      else
         QUORVA_PRINT_STEP(to.print("0x%0*x", static_cast<int>(2 * sizeof(Unit)), unit));
   }
   return to.print("'\n");
}

template int wideText(const TextSink&, const char*, const uint16_t*, size_t, bool);
template int wideText(const TextSink&, const char*, const uint32_t*, size_t, bool);

int unicode(const TextSink& to, const char* name, const uint16_t* data, int64_t nunits, bool escaped) {
   if (!data) return to.idle();
   size_t count = 0;
   if (nunits < 0) {
      while (data[count]) ++count;
   } else {
      count = static_cast<size_t>(nunits);
   }
   return wideText(to, name, data, count, escaped);
}

template <typename Text>
int wideDump(const TextSink& to, const char* name, const Text* value, const char* conn) {
   QUORVA_PRINT_STEP(to.print("%s%snchars = %u\n", name, conn, value->nchars));
   QUORVA_PRINT_STEP(to.print("%s%sdata =%s", name, conn, to.dialect().unitsTail));
   constexpr size_t unitSize = sizeof(*value->data);
   return to.dump(reinterpret_cast<const uint8_t*>(value->data), unitSize * value->nchars, unitSize);
}

template int wideDump(const TextSink&, const char*, const Rtx16BitCharString*, const char*);
template int wideDump(const TextSink&, const char*, const Rtx32BitCharString*, const char*);

template <typename Arc>
int oid(const TextSink& to, const char* name, size_t numids, const Arc* subid) {
   if (name) QUORVA_PRINT_STEP(to.print("%s = ", name));
   QUORVA_PRINT_STEP(to.print("{ "));
   for (size_t i = 0; subid && i < numids; ++i) {
      if (to.dialect().unsignedArcs)
         QUORVA_PRINT_STEP(to.print("%" PRIu64 " ", uint64_t{subid[i]}));
      else
         QUORVA_PRINT_STEP(to.print("%" PRId64 " ", int64_t{static_cast<std::make_signed_t<Arc>>(subid[i])}));
   }
   return to.print("}\n");
}

template int oid(const TextSink&, const char*, size_t, const uint32_t*);
template int oid(const TextSink&, const char*, size_t, const uint64_t*);

int oidStr(const TextSink& to, const char* name, const char* value, void* owner,
           char* (*copy)(void* owner, const char* text), void (*release)(void* owner, char* text)) {
   QUORVA_PRINT_STEP(to.print("%s = ", name));
   if (!value) return to.print("(null)\n");
   if (to.fits(2)) QUORVA_PRINT_STEP(to.print("{ "));
   char* arcs = copy(owner, value);
   if (!arcs) return RTX_E_NOMEM;
   for (char* c = arcs; *c; ++c)
      if (*c == '.') *c = ' ';
   const int status = to.print("%s }\n", arcs);
   release(owner, arcs);
   return status;
}

} // namespace quorva::text
