// The trace of a message joined with its value.

#include "quorva/annotate.h"

#include "quorva/reflect.h"
#include "quorva/rtxDiag.h"
#include "quorva/rtxMemHeap.h"
#include "src/frame/base.h"
#include "src/walk/item.h"

#include <algorithm>

namespace quorva::walk {

namespace {

// The path of a traced element: names without the hyphens of the standard and what stands only in C records.
void putPath(HeapOut& out, std::string_view rest) {
   while (!rest.empty()) {
      const size_t size = std::min(rest.find('.'), rest.size());
      std::string_view name = rest.substr(0, size);
      rest.remove_prefix(std::min(size + 1, rest.size()));
      if (name == "u") continue;
      if (name.starts_with("elem["))
         name.remove_prefix(4);
      else if (out.size() > 0)
         out.put('.');
      for (const char c : name) out.put(c == '-' ? '_' : c);
   }
}

uint64_t bitsAt(const RtxContext* ctxt, size_t offset, size_t count) {
   uint64_t number = 0;
   for (size_t at = offset; at < offset + count && at / 8 < ctxt->bufSize; ++at)
      number = number << 1 | (ctxt->bufData[at / 8] >> (7 - at % 8) & 1u);
   return number;
}

// Their number, or of many the octets that they are spread over.
void putBits(TextOut& out, const RtxContext* ctxt, size_t offset, size_t count) {
   const uint8_t* octets = ctxt->bufData;
   const size_t from = offset / 8, behind = (offset + count + 7) / 8;
   if (behind > ctxt->bufSize) return;
   if (count > 32) return out.putHex(octets + from, behind - from);
   out.putNumber(bitsAt(ctxt, offset, count));
}

// Bits that stand for the field itself, and not for what leads or measures it.
bool isField(const RtxDiagBitField& field) {
   static constexpr const char* kOthers[] = {"IEI",     "length",       "ext bit",
                                             "eol bit", "optional bit", "choice selector"};
   return field.nameSuffix == nullptr ||
          std::none_of(std::begin(kOthers), std::end(kOthers),
                       [&](const char* other) { return std::strcmp(other, field.nameSuffix) == 0; });
}

class Notes {
public:
   Notes(RtxContext* ctxt, const QuorvaType* type, const void* value, QuorvaTakeNote take, void* user)
         : ctxt_(ctxt), type_(type), value_(value), take_(take), user_(user), path_(ctxt), text_(ctxt),
           doc_(ctxt) {}

   int list(const RtxDiagBitFieldList& list) {
      for (const RtxSListNode* node = list.fieldList.head; node != nullptr; node = node->next)
         QUORVA_PRINT_STEP(one(*static_cast<const RtxDiagBitField*>(node->data)));
      return 0;
   }

private:
   int one(const RtxDiagBitField& field) {
      path_.cut(0);
      text_.cut(0);
      putPath(path_, field.elemName == nullptr ? "" : field.elemName);
      char* path = path_.text();
      if (path == nullptr) return RTX_E_NOMEM;
      QuorvaNote note = {field.bitOffset, field.bitCount, path, field.nameSuffix, "", nullptr, ""};
      if (note.kind == nullptr) note.kind = "";
      // Most begin with the name of the type; where nothing leads further it is meant itself.
      char* dot = std::strchr(path, '.');
      size_t begin = dot == nullptr ? 0 : static_cast<size_t>(dot + 1 - path);
      Shape shape;
      bool found = describe(path + begin, shape, note.doc);
      if (note.doc == nullptr && begin != 0) {
         begin = 0;
         found = describe(path, shape, note.doc);
      }
      if (note.doc == nullptr) {
         begin = std::strlen(path);
         found = shapeAt(ctxt_, type_, value_, "", shape, note.doc, around_) == 0;
      }
      if (found && std::strcmp(note.kind, "IEI") == 0) {
         element(field, shape, note, begin == path_.size());
         if ((path = path_.text()) == nullptr) return RTX_E_NOMEM;
      }
      note.path = path + begin;
      if (*around_ != 0 && std::strcmp(around_, note.doc) != 0 && std::strstr(note.doc, "TS ") == nullptr) {
         doc_.cut(0);
         doc_.put(note.doc);
         doc_.put(" (");
         doc_.put(around_);
         doc_.put(')');
         if ((note.doc = doc_.text()) == nullptr) return RTX_E_NOMEM;
      }
      if (found && isField(field)) {
         if (shape.kind == Kind::Group || shape.kind == Kind::List || shape.kind == Kind::Choice)
            putJson(text_, shape, shownRows(ctxt_));
         else
            putText(text_, shape, leafOf(shape));
         if (shape.kind == Kind::Number) note.meaning = meaningOf(*shape.module, *shape.row, shape.record);
      }
      if (text_.size() == 0) putBits(text_, ctxt_, field.bitOffset, field.bitCount);
      note.text = text_.text();
      if (note.text == nullptr) return RTX_E_NOMEM;
      return take_(user_, &note);
   }

   // The element that an identifier leads, for the message that it stands in.
   void element(const RtxDiagBitField& field, const Shape& message, QuorvaNote& note, bool isRoot) {
      const auto iei = static_cast<unsigned>(bitsAt(ctxt_, field.bitOffset, field.bitCount));
      for (unsigned i = message.first; message.kind == Kind::Group && i < message.first + message.rows; ++i) {
         const Row& row = message.module->rows[i];
         const Wire& wire = wireOf(*message.module, row);
         if (wire.ieiBits != field.bitCount || wire.iei != iei) continue;
         const Shape shape = shapeOf(*message.module, row, message.record, shownRows(ctxt_));
         if (const char* doc = docOf(*message.module, &row, shape.type); *doc != 0) note.doc = doc;
         if (!isRoot) path_.put('.');
         path_.put(nameOf(*message.module, row));
         break;
      }
      text_.put("0x");
      const auto octet = static_cast<uint8_t>(iei);
      text_.putHex(&octet, 1);
   }

   // What is at a path; if nothing, the words about the closest thing that it lies in. None for a path that
   // begins with no field.
   bool describe(char* path, Shape& shape, const char*& doc) {
      doc = nullptr;
      if (shapeAt(ctxt_, type_, value_, path, shape, doc, around_) == 0) return true;
      doc = nullptr;
      for (char* end = path + std::strlen(path); doc == nullptr;) {
         while (end != path && *end != '.') --end;
         if (end == path) break;
         *end = 0;
         if (shapeAt(ctxt_, type_, value_, path, shape, doc, around_) < 0) doc = nullptr;
         *end-- = '.';
      }
      return false;
   }

   RtxContext* ctxt_;
   const QuorvaType* type_;
   const void* value_;
   QuorvaTakeNote take_;
   void* user_;
   HeapOut path_, text_, doc_;
   const char* around_ = ""; // words about what a field is in
};

// Notes as members of an array.
struct JsonNotes {
   TextOut& out;
   bool any;
   static int take(void* user, const QuorvaNote* note) {
      auto& self = *static_cast<JsonNotes*>(user);
      TextOut& out = self.out;
      out.put(self.any ? std::string_view(",{\"bit\":") : std::string_view("{\"bit\":"));
      self.any = true;
      out.putNumber(note->bitOffset);
      out.put(",\"bits\":");
      out.putNumber(note->bitCount);
      out.put(",\"path\":");
      putJsonText(out, note->path);
      out.put(",\"kind\":");
      putJsonText(out, note->kind);
      out.put(",\"text\":");
      putJsonText(out, note->text);
      if (*note->meaning != 0) {
         out.put(",\"meaning\":");
         putJsonText(out, note->meaning);
      }
      if (*note->doc != 0) {
         out.put(",\"doc\":");
         putJsonText(out, note->doc);
      }
      out.put('}');
      return out.status();
   }
};

} // namespace

} // namespace quorva::walk

using namespace quorva::walk;

int quorvaNotes(RtxContext* pctxt, const QuorvaType* type, const void* value, QuorvaTakeNote take,
                void* user) {
   Shape shape;
   if (take == nullptr || !shapeOf(type, value, shape, shownRows(pctxt))) return RTX_E_BAD_ARGUMENT;
   if (pctxt->bitFields == nullptr || pctxt->bufData == nullptr) return RTX_E_NOT_INIT;
   return Notes(pctxt, type, value, take, user).list(*pctxt->bitFields);
}

int quorvaAnnotate(RtxContext* pctxt, const QuorvaType* type, const void* value, QuorvaPut put, void* user) {
   if (put == nullptr) return RTX_E_BAD_ARGUMENT;
   if (pctxt->bitFields == nullptr || pctxt->bufData == nullptr) return RTX_E_NOT_INIT;
   CallbackOut out(put, user);
   out.put("{\"octets\":\"");
   out.putHex(pctxt->bufData, pctxt->bufSize);
   out.put("\",\"notes\":[");
   JsonNotes notes{out, false};
   if (const int status = quorvaNotes(pctxt, type, value, JsonNotes::take, &notes); status != 0)
      return status;
   out.put("]}");
   return out.finish();
}
