// Values out as JSON.

#include "src/walk/json.h"

#include "quorva/rtxUTF8.h"

namespace quorva::walk {

namespace {

// What can't stand in quotes as it is.
constexpr bool isEscaped(char c) {
   return static_cast<uint8_t>(c) < 0x20 || c == '"' || c == '\\';
}

void putEscaped(TextOut& out, char c) {
   if (c == '"' || c == '\\') {
      out.put('\\');
      return out.put(c);
   }
   const auto code = static_cast<uint8_t>(c);
   out.put("\\u00");
   out.putHex(&code, 1);
}

void putHexObject(TextOut& out, const uint8_t* octets, size_t count) {
   out.put("{\"hex\":\"");
   out.putHex(octets, count);
   out.put("\"}");
}

uint16_t unitAt(const uint8_t* data, size_t index) {
   uint16_t unit;
   std::memcpy(&unit, data + 2 * index, sizeof unit);
   return unit;
}

// A high surrogate with its low one?
bool isPair(const Leaf& leaf, size_t i) {
   return unitAt(leaf.data, i) >> 10 == 0x36 && i + 1 < leaf.count && unitAt(leaf.data, i + 1) >> 10 == 0x37;
}

void putCodePoint(TextOut& out, uint32_t code) {
   char octets[4];
   const int size = rtxUTF8EncodeChar(code, reinterpret_cast<uint8_t*>(octets), sizeof octets);
   out.put({octets, static_cast<size_t>(size)});
}

template <class PutCode>
void eachCodePoint(const Leaf& leaf, PutCode put) {
   for (size_t i = 0; i < leaf.count; ++i) {
      uint32_t code = unitAt(leaf.data, i);
      if (isPair(leaf, i)) code = (code << 10) + unitAt(leaf.data, ++i) - 0x35FDC00;
      put(code);
   }
}

void putUnits(TextOut& out, const Leaf& leaf) {
   bool whole = true;
   eachCodePoint(leaf, [&](uint32_t code) { whole = whole && code >> 11 != 0x1B; });
   if (!whole) {
      out.put("{\"hex\":\"");
      for (size_t i = 0; i < leaf.count; ++i) {
         const uint16_t unit = unitAt(leaf.data, i);
         const uint8_t octets[] = {static_cast<uint8_t>(unit >> 8), static_cast<uint8_t>(unit)};
         out.putHex(octets, 2);
      }
      return out.put("\"}");
   }
   out.put('"');
   eachCodePoint(leaf, [&](uint32_t code) {
      if (code < 0x80 && isEscaped(static_cast<char>(code)))
         putEscaped(out, static_cast<char>(code));
      else
         putCodePoint(out, code);
   });
   out.put('"');
}

class JsonSink {
public:
   explicit JsonSink(TextOut& out) : out_(out) {}

   int begin(const Label& label, const Shape& shape) {
      name(label);
      out_.put(shape.kind == Kind::List ? '[' : '{');
      comma_ = false;
      return 0;
   }
   int end(const Label&, const Shape& shape) {
      out_.put(shape.kind == Kind::List ? ']' : '}');
      comma_ = true;
      return out_.status() == RTX_E_TOO_SMALL ? 0 : out_.status();
   }
   int selector(uint64_t number) {
      name({"t"});
      out_.putNumber(number);
      return 0;
   }
   int leaf(const Label& label, const Shape& shape) {
      name(label);
      const Leaf leaf = leafOf(shape);
      switch (shape.kind) {
      case Kind::Flag:
         out_.put(leaf.number != 0 ? std::string_view("true") : std::string_view("false"));
         break;
      case Kind::Number: out_.putNumber(leaf.number); break;
      case Kind::Enumeration:
      case Kind::OpenEnumeration:
      case Kind::NamedNumber:
         if (leaf.item != nullptr)
            quoted({leaf.item->name, leaf.item->nameLength});
         else
            out_.putNumber(leaf.number);
         break;
      case Kind::Octets:
      case Kind::CountedOctets:
      case Kind::Bits:
      case Kind::CountedBits:
         out_.put('"');
         putText(out_, shape, leaf);
         out_.put('"');
         break;
      case Kind::Text:
         if (leaf.data == nullptr)
            out_.put("null");
         else
            putJsonText(out_, {reinterpret_cast<const char*>(leaf.data), leaf.count});
         break;
      case Kind::CountedUnits: putUnits(out_, leaf); break;
      default: out_.put("null");
      }
      return 0;
   }

private:
   void quoted(std::string_view text) {
      out_.put('"');
      out_.put(text);
      out_.put('"');
   }
   void name(const Label& label) {
      if (comma_) out_.put(',');
      comma_ = true;
      if (label.name == nullptr || label.isEntry) return;
      quoted(label.name);
      out_.put(':');
   }

   TextOut& out_;
   bool comma_ = false;
};

} // namespace

void putText(TextOut& out, const Shape& shape, const Leaf& leaf) {
   switch (publicKind(shape.kind)) {
   case QUORVA_FLAG: return out.put(leaf.number != 0 ? std::string_view("true") : std::string_view("false"));
   case QUORVA_NUMBER:
   case QUORVA_ENUM:
      if (leaf.item != nullptr) return out.put(leaf.item->name);
      return out.putNumber(leaf.number);
   case QUORVA_OCTETS: return out.putHex(leaf.data, leaf.count);
   case QUORVA_BITS:
      out.putHex(leaf.data, leaf.count / 8);
      if (const auto more = leaf.count % 8; more != 0) {
         // What is behind the last bit is nobody's.
         const auto last = static_cast<uint8_t>(leaf.data[leaf.count / 8] & 0xFF00u >> more);
         out.putHex(&last, 1);
         out.put('/');
         out.putNumber(leaf.count);
      }
      return;
   case QUORVA_TEXT: return out.put({reinterpret_cast<const char*>(leaf.data), leaf.count});
   case QUORVA_UNITS: return eachCodePoint(leaf, [&](uint32_t code) { putCodePoint(out, code); });
   default: return;
   }
}

void putJsonText(TextOut& out, std::string_view text) {
   if (!isUtf8(text)) return putHexObject(out, reinterpret_cast<const uint8_t*>(text.data()), text.size());
   out.put('"');
   size_t start = 0;
   for (size_t i = 0; i < text.size(); ++i) {
      if (!isEscaped(text[i])) continue;
      out.put(text.substr(start, i - start));
      putEscaped(out, text[i]);
      start = i + 1;
   }
   out.put(text.substr(start));
   out.put('"');
}

void putJson(TextOut& out, const Shape& shape, Rows by) {
   JsonSink sink(out);
   (void)Fields(sink, by).value({}, shape);
}

} // namespace quorva::walk

using namespace quorva::walk;

int quorvaToJson(const RtxContext* pctxt, const QuorvaType* type, const void* value, char* buffer,
                 size_t size, size_t* length) {
   Shape shape;
   const Rows by = shownRows(pctxt);
   if (!shapeOf(type, value, shape, by) || (buffer == nullptr && size > 0)) return RTX_E_BAD_ARGUMENT;
   BufferOut out(buffer, size);
   putJson(out, shape, by);
   const size_t all = out.finish();
   if (length != nullptr) *length = all;
   return all < size ? 0 : RTX_E_TOO_SMALL;
}

int quorvaWriteJson(const RtxContext* pctxt, const QuorvaType* type, const void* value, QuorvaPut put,
                    void* user) {
   Shape shape;
   const Rows by = shownRows(pctxt);
   if (!shapeOf(type, value, shape, by) || put == nullptr) return RTX_E_BAD_ARGUMENT;
   CallbackOut out(put, user);
   putJson(out, shape, by);
   return out.finish();
}
