// Encoders and decoders, one line a field, in the frame's words.

#include "compiler/emit.h"
#include "compiler/layout.h"
#include "compiler/naming.h"

#include <algorithm>
#include <cctype>
#include <set>

namespace l3c {

namespace {

std::string quoted(const std::string& name) {
   return "\"" + name + "\"";
}

// Where the fields at hand lie.
struct Place {
   std::string record;            // lvalue prefix, "pvalue->" or "pvalue->octet6."
   std::string length;            // variable of the open length, or empty
   bool arm = false;              // in an arm of a choice: bound failures are logged
   std::string root = "pvalue->"; // record that expressions begin at
   std::string owner = {};        // record with the presence bits, if it is another one

   const std::string& bits() const { return owner.empty() ? record : owner; }
};

// Is there a codec by hand behind a length in the type? One that finds its length used up returns with its
// record as it was, counts and pointers included.
bool mayStayUnset(const Type& type);

bool mayStayUnset(const Field& field) {
   if (field.type.type != nullptr && mayStayUnset(*field.type.type)) return true;
   for (auto& inner : field.fields)
      if (mayStayUnset(*inner)) return true;
   for (auto& arm : field.arms)
      if (arm.field != nullptr && mayStayUnset(*arm.field)) return true;
   return false;
}

bool mayStayUnset(const Type& type) {
   const Type& base = baseType(type);
   if (base.custom && base.cls != Class::V) return true;
   return std::any_of(base.fields.begin(), base.fields.end(),
                      [](auto& field) { return mayStayUnset(*field); });
}

class CodecEmitter {
public:
   explicit CodecEmitter(bool encode) : enc_(encode) {}

   std::string type(const Type& type) {
      w_ = Writer();
      nextVariable_ = 0;
      extDeclared_ = inBits_ = groups_ = octetsLast_ = false;
      isMessage_ = type.kind == TypeKind::Message || type.kind == TypeKind::OneElement ||
                   type.kind == TypeKind::Empty || type.kind == TypeKind::Pdu;
      both_ = hasShortForm(type);
      result_.clear();
      const std::string parameters = enc_ ? encodeParameters(type) : decodeParameters(type);
      const std::string function =
            (enc_ ? encoderName(type) : decoderName(type)) + "(RtxContext* pctxt" + parameters + ")";
      if (both_) {
         w_.line("template <class Coder>");
         w_.open(std::string("L3_INLINE static int ") + (enc_ ? "encode_" : "decode_") + recordName(type) +
                 "(Coder& " + c() + parameters + ") {");
      } else {
         w_.open("int " + function + " {");
         w_.line(std::string(enc_ ? "L3_TO_STREAM(" : "L3_FROM_STREAM(") +
                 (enc_ ? encoderName(type) : decoderName(type)) + "(pctxt" + argumentNames(type, enc_) +
                 "));");
         w_.line((enc_ ? "Encoder e" : "Decoder d") + std::string("(pctxt, kSource);"));
      }
      w_.line("L3_TRY(" + c() + ".begin(" + quoted(typeName(type)) + "));");
      const std::string head = w_.text();
      contents(type);
      w_.close();
      std::string text = w_.text();
      if (octetsLast_) text.insert(head.size(), "   int status = 0;\n");
      if (!both_) return text;
      return dependent(text) + (enc_ ? "L3_ENCODER" : "L3_DECODER") +
             (standsAmongBits(type) ? "_AMONG_BITS(" : "(") + recordName(type) + ", kSource, (" +
             parameters.substr(2) + "), (" + argumentNames(type, enc_).substr(2) + "))\n";
   }

private:
   std::string c() const { return enc_ ? "e" : "d"; }

   // In a template the words with arguments of their own are said to be templates.
   std::string dependent(const std::string& text) const {
      std::string out;
      for (size_t at = 0; at < text.size();) {
         const bool word = text.compare(at, 2, c() + ".") == 0 &&
                           (at == 0 || (std::isalnum(static_cast<unsigned char>(text[at - 1])) == 0 &&
                                        text[at - 1] != '_' && text[at - 1] != '.' && text[at - 1] != '"'));
         if (!word) {
            out += text[at++];
            continue;
         }
         size_t end = at + 2;
         while (std::isalnum(static_cast<unsigned char>(text[end])) != 0) ++end;
         const bool hasArguments = text[end] == '<' && text[end + 1] != ' ';
         out += c() + (hasArguments ? ".template " : ".") + text.substr(at + 2, end - at - 2);
         at = end;
      }
      return out;
   }

   // The variable of an open length.
   std::string lengthType() const {
      return std::string(both_ ? "typename Coder::" : "") + (enc_ ? "OpenLength " : "Length ");
   }

   // The word that calls the codec of a type.
   std::string codec(const char* word, const Type& type) const {
      return std::string(word) + "<quorva::type::" + recordName(type) + ">(";
   }

   // The spelling of a type's name in the trace: the decoders of these know it by its C name where the
   // encoders keep the hyphens. The difference stays.
   std::string typeName(const Type& type) const {
      const bool differs = type.name == "MsgType-MM-CC-SS" || type.kind == TypeKind::Pdu;
      return !enc_ && differs ? cName(type.name) : type.name;
   }

   void attempt(const std::string& call) { w_.line("L3_TRY(" + c() + "." + call + ");"); }

   std::string variable(const std::string& stem) {
      const int n = nextVariable_++;
      return n == 0 ? stem : stem + std::to_string(n + 1);
   }

   void finish() {
      if (octetsLast_) result_ = "status";
      w_.line("return " + c() + (isMessage_ && !enc_ ? ".ended(" : ".done(") + result_ + ");");
   }

   // Octets and bits of a fixed number: their status is not looked at. It is the codec's own if they come
   // last, and dropped otherwise, as all codecs of the family do: what follows meets the same end.
   void untested(const std::string& call, bool last) {
      w_.line(last ? "status = " + call + ";" : "L3_TRY(unlessMemory(" + call + "));");
      if (last && both_) w_.line("if (Coder::kShort && status < 0) return status;");
      octetsLast_ = octetsLast_ || last;
   }

   void contents(const Type& type) {
      switch (type.kind) {
      case TypeKind::Enum: return enumeration(type);
      case TypeKind::Number: return number(type);
      case TypeKind::Octets: return octets(type);
      case TypeKind::List: return list(type);
      case TypeKind::Alias: return forward(*type.base.type, false);
      case TypeKind::OneElement: return forward(*type.base.type, true);
      case TypeKind::Empty:
         if (!enc_) w_.line("L3_TRY(d.nonImperative(0));");
         return finish();
      case TypeKind::Record: return record(type);
      case TypeKind::Message: return message(type);
      case TypeKind::Pdu: return pdu(type);
      default: return;
      }
   }

   void enumeration(const Type& type) {
      const std::string name = "quorva::type::" + recordName(type);
      bare(type, [&] {
         w_.line("L3_TRY(" + c() + ".enumeration<" + name + ">(" + (enc_ ? "value" : "*pvalue") + "));");
      });
      finish();
   }

   void number(const Type& type) {
      bare(type, [&] {
         w_.line("L3_TRY(" + c() + ".fields(" + integerWord(type.bits, type.bounds, false) + "(nullptr, " +
                 (enc_ ? "value" : "*pvalue") + ")));");
      });
      finish();
   }

   void octets(const Type& type) {
      if (type.count != 0) {
         bare(type, [&] {
            untested(c() + ".octets<" + std::to_string(type.count) + ">(nullptr, value)",
                     !type.bare || !enc_);
         });
      } else {
         const std::string count = type.cls == Class::LVE ? "2" : "1";
         if (type.fill) {
            w_.line(enc_ ? "L3_TRY(e.fill(nullptr, *pvalue));"
                         : "L3_TRY(d.sized(nullptr, kRest, *pvalue, " + limits(type.bounds) + "));");
         } else if (enc_) {
            w_.line("L3_TRY(e.counted<" + count + ">(nullptr, *pvalue));");
         } else {
            w_.line("L3_TRY(d.counted<" + count + ">(nullptr, *pvalue, " + limits(type.bounds) + "));");
         }
      }
      finish();
   }

   // A length on the wire that no record holds, around a value; that of a fixed one must be its octets.
   template <class Body>
   void bare(const Type& type, Body body) {
      if (!type.bare) return body();
      Bounds bounds;
      if (const uint64_t octets = type.kind == TypeKind::Octets ? type.count : type.bits / 8; octets != 0)
         bounds.low = bounds.high = octets;
      openLength(type.cls == Class::LVE ? 16 : 8, "length", "", bounds, "length");
      body();
      closeLength(type.cls == Class::LVE ? 16 : 8, "", Bounds{}, "length", false);
   }

   void list(const Type& type) {
      bare(type, [&] {
         const Place place{"pvalue->", "", false};
         Repetition r{"nullptr",   "pvalue->n", "pvalue->elem",    type.base.type, type.bits,
                      type.bounds, "",          type.storage.heap, type.entries,   nullptr};
         if (type.times && !(enc_ && type.freeCount)) r.times = expression(*type.times, place);
         repetition(r, place);
      });
      finish();
   }

   void forward(const Type& base, bool scan) {
      std::string argument = enc_ ? passing(base) == Passing::Value     ? "value"
                                    : passing(base) == Passing::Pointer ? "pvalue"
                                                                        : "value"
                             : passing(base) == Passing::Array || passing(base) == Passing::Text ? "value"
                                                                                                 : "pvalue";
      if (!enc_ && (passing(base) == Passing::Text || passing(base) == Passing::TextPointer))
         argument += ", numocts";
      if (!enc_ && baseType(base).kind == TypeKind::Message) {
         // What that message reports is no failure: it comes out at the end.
         w_.line("L3_TRY(d.inner(__LINE__, " + decoderName(base) + ", " + argument + "));");
         result_ = "messageStatus(pctxt)";
         return finish();
      }
      w_.line("L3_TRY(" + c() + "." + codec("same", base) + argument + "));");
      if (!enc_ && scan) w_.line("L3_TRY(d.nonImperative(0));");
      finish();
   }

   void clearPresence(const std::vector<std::unique_ptr<Field>>& fields, const std::string& prefix) {
      if (!enc_ && !presenceBits(fields).empty()) w_.line(prefix + "m = {};");
   }

   void record(const Type& type) {
      clearPresence(type.fields, "pvalue->");
      Place place{"pvalue->", "", false};
      inBits_ = type.cls == Class::LB;
      const std::string member = type.bare ? "" : "pvalue->length";
      const Bounds atEnd = type.bare ? Bounds{} : type.bounds; // the encoder doesn't test a bare length
      const unsigned bits = type.cls == Class::LVE  ? 16
                            : type.cls == Class::LB ? type.bits
                            : type.cls == Class::L4 ? 4
                                                    : 8;
      if (type.cls == Class::V) {
         sequence(type.fields, place, true);
         return finish();
      }
      place.length = "length";
      if (inBits_) {
         const std::string open = std::to_string(bits) + ">(\"length\", ";
         w_.line(lengthType() + "length;");
         w_.line(enc_ ? "L3_TRY(e.open<" + open + "length));"
                      : "L3_TRY(d.openBits<" + open + member + ", length));");
         sequence(type.fields, place, !enc_);
         w_.line(enc_ ? "L3_TRY(e.closeBits<" + std::to_string(bits) + ">(length, " + member + "));"
                      : "L3_TRY(d.closeBits(length));");
         return finish();
      }
      if (type.cls == Class::L4) return nibbleLength(type, place);
      openLength(bits, "length", member, type.bounds, "length");
      sequence(type.fields, place, !enc_); // the encoder's last step is the length
      if (type.aligned) w_.line(c() + ".align();");
      closeLength(bits, member, atEnd, "length", type.leaveTail);
      if (type.aligned) w_.line(c() + ".align();");
      finish();
   }

   // A length of 4 bits. What stands beside it in its octet is outside of the container and not counted.
   void nibbleLength(const Type& type, const Place& place) {
      std::vector<const Field*> beside;
      for (auto& field : type.fields)
         if (field->beside) beside.push_back(field.get());
      w_.line(lengthType() + "length;");
      w_.line(enc_ ? "L3_TRY(e.open<4>(\"length\", length));"
                   : "L3_TRY(d.openNibble(\"length\", pvalue->length, " + limits(type.bounds) + "));");
      for (auto* field : beside) one(*field, Place{"pvalue->", "", false}, false);
      if (!enc_) w_.line("L3_TRY(d.pushContainer(pvalue->length, length));");
      skipBeside_ = true;
      sequence(type.fields, place, !enc_);
      skipBeside_ = false;
      w_.line(enc_ ? "L3_TRY(e.closeNibble(length, pvalue->length, " + limits(type.bounds) + "));"
                   : "L3_TRY(d.close(length));");
      finish();
   }

   // Name, member (empty for a bare length), bounds, variable.
   void openLength(unsigned bits, const std::string& name, const std::string& member, const Bounds& bound,
                   const std::string& var) {
      if (enc_) {
         w_.line(lengthType() + var + ";");
         w_.line("L3_TRY(e.open<" + std::to_string(bits) + ">(" + quoted(name) + ", " + var + "));");
         return;
      }
      std::string place = member;
      if (member.empty()) {
         place = var + "Octets";
         w_.line(std::string(bits == 16 ? "uint16_t " : "uint8_t ") + place + ";");
      }
      w_.line(lengthType() + var + ";");
      w_.line("L3_TRY(d.open<" + std::to_string(bits) + ">(" + quoted(name) + ", " + place + ", " +
              limits(bound) + ", " + var + "));");
   }

   void closeLength(unsigned bits, const std::string& member, const Bounds& bound, const std::string& var,
                    bool keepTail) {
      if (!enc_) {
         w_.line("L3_TRY(d.close(" + var + "));");
         return;
      }
      std::string place = member;
      if (member.empty()) {
         place = var + "Octets";
         w_.line(std::string(bits == 16 ? "uint16_t " : "uint8_t ") + place + ";");
      }
      w_.line("L3_TRY(e.close<" + std::to_string(bits) + (keepTail ? ", true" : "") + ">(" + var + ", " +
              place + ", " + limits(bound) + "));");
   }

   // `Limits{…}` for the bounds of a length or count.
   static std::string limits(const Bounds& bound) {
      if (!bound.values.empty()) {
         uint64_t mask = 0;
         for (uint64_t value : bound.values) mask |= uint64_t{1} << (value & 63);
         return "Limits{" + std::to_string(*bound.low) + ", " + std::to_string(*bound.high) + ", " +
                hex(mask) + "}";
      }
      if (bound.empty()) return "Limits{}";
      std::string text = "Limits{" + std::to_string(bound.low.value_or(0));
      if (bound.high) text += ", " + std::to_string(*bound.high);
      return text + "}";
   }

   std::string part(const Field& field, const Place& place) const {
      return runPart(field, place.record, place.arm);
   }

   // May the field be passed over when nothing is left?
   static bool passable(const Field& field) {
      return field.optional || field.guarded || field.kind == Kind::Since;
   }

   // Fields one behind the other; runs of fixed width go together. `last`: nothing follows in the codec that
   // must be there.
   void sequence(const std::vector<std::unique_ptr<Field>>& fields, const Place& place, bool last) {
      for (auto& field : fields)
         if (field->counted != nullptr) counted_.insert(field->counted);
      for (size_t i = 0; i < fields.size();) {
         const Field& field = *fields[i];
         if (field.ieiBits != 0) break;
         if (field.beside && skipBeside_) {
            ++i;
            continue;
         }
         if (isRunField(field)) {
            std::vector<std::string> parts;
            unsigned bits = 0;
            while (i < fields.size() && isRunField(*fields[i]) &&
                   bits + fixedBits(*fields[i]) <= kMaxRunBits) {
               bits += fixedBits(*fields[i]);
               parts.push_back(part(*fields[i], place));
               ++i;
            }
            run(parts, place);
            continue;
         }
         bool isLast = last;
         for (size_t next = i + 1; next < fields.size(); ++next) isLast = isLast && passable(*fields[next]);
         if (field.aside && field.kind != Kind::Frame && i + 1 < fields.size()) {
            const std::string start = variable("start");
            w_.line("const size_t " + start + " = " + c() + ".offset();");
            one(*fields[i + 1], place, false);
            w_.line(place.record + cName(field.name) + " = static_cast<" + uintType(field.bits) + ">((" +
                    c() + ".offset() - " + start + ") / 8);");
            i += 2;
            continue;
         }
         one(field, place, isLast);
         ++i;
      }
   }

   void run(const std::vector<std::string>& parts, const Place& place) {
      std::string head = "L3_TRY(" + c() + ".";
      head += !enc_ && !place.length.empty() ? "fieldsIn(" + place.length + "," : "fields(";
      if (parts.size() == 1 && parts[0].size() < 80) {
         w_.line(head + (head.back() == ',' ? " " : "") + parts[0] + "));");
         return;
      }
      w_.line(head);
      for (size_t i = 0; i < parts.size(); ++i)
         w_.line("      " + broken(parts[i]) + (i + 1 < parts.size() ? "," : "));"));
   }

   // One line a field inside a group too.
   static std::string broken(std::string part) {
      if (!part.starts_with("group(")) return part;
      for (size_t at = part.find("), "); at != std::string::npos; at = part.find("), ", at + 3))
         part.replace(at, 3, "),\n            ");
      const size_t first = part.find(", ");
      part.replace(first, 2, ",\n            ");
      return part;
   }

   void within(const Place& place) {
      if (!enc_ && !place.length.empty()) w_.line("L3_TRY(d.within(" + place.length + "));");
   }

   // One field with its option.
   void one(const Field& field, const Place& place, bool last) {
      if (enc_ && field.counted != nullptr) {
         const Field& string = *field.counted;
         const std::string counted = place.record + cName(string.name);
         std::string octets = counted + ".numocts";
         if (string.optional)
            octets = "(" + place.record + "m." + presenceName(string) + " ? " + octets + " : 0)";
         if (!string.storage.heap)
            w_.line("if (" + octets + " > sizeof " + counted + ".data) return RTX_E_CONSTRAINT;");
         if (field.countsPlus != 0) octets += " + " + std::to_string(field.countsPlus);
         w_.line(place.record + cName(field.name) + " = static_cast<" + uintType(field.bits) + ">(" + octets +
                 ");");
      }
      if (!field.optional || field.kind == Kind::Chain) {
         if (field.guarded && !enc_) {
            Place inner = place;
            inner.length.clear();
            w_.open("if (d.more()) {");
            dropStatus(field, last);
            plain(field, inner, last);
            within(place);
            const bool text = field.kind == Kind::Named && passing(*field.type.type) == Passing::TextPointer;
            if (text) {
               w_.close("} else {");
               w_.line("   " + place.record + cName(field.name) + " = \"\";");
               w_.line("}");
            } else {
               w_.close();
            }
            return;
         }
         plain(field, place, last);
         if (!groupsOnly(field) && !field.onlyOnWire()) within(place);
         return;
      }
      if (field.bareBits != 0) return optionalContents(field, place);
      const std::string bit = place.bits() + "m." + presenceName(field);
      Place inner = place;
      inner.length.clear();
      if (enc_) {
         if (field.lead != Lead::None) leadBit(field, bit, place);
         w_.open("if (" + bit + ") {");
         dropStatus(field, last);
         plain(field, inner, last);
         w_.close();
         return;
      }
      std::string condition = field.when ? expression(*field.when, place) : "d.more()";
      if (field.lead != Lead::None) {
         const std::string var = variable("present");
         w_.line("uint8_t " + var + " = 0;");
         const std::string read = std::string("L3_TRY(d.") + (field.lead == Lead::LH ? "leadLH" : "leadBit") +
                                  "(\"optional bit\", " + var + "));";
         if (!place.length.empty()) {
            w_.line("if (" + condition + ") " + read);
         } else {
            w_.line(read);
         }
         condition = var + " != 0";
         within(place);
      }
      w_.open("if (" + condition + ") {");
      dropStatus(field, last);
      plain(field, inner, last);
      w_.line(bit + " = 1;");
      within(place);
      if (field.kind == Kind::Each) {
         w_.close("} else {");
         w_.line("   " + place.record + cName(field.name) + ".n = 0;");
         w_.line("}");
      } else {
         w_.close();
      }
   }

   // A bare length is always there; what is left in it tells whether the field is.
   void optionalContents(const Field& field, const Place& place) {
      const std::string bit = place.bits() + "m." + presenceName(field);
      aroundBare(field, [&] {
         w_.open(enc_ ? "if (" + bit + ") {" : "if (d.more()) {");
         kind(field, place, false, "nullptr");
         if (!enc_) w_.line(bit + " = 1;");
         w_.close(enc_ || field.kind != Kind::Each ? "}" : "} else {");
         if (enc_ || field.kind != Kind::Each) return;
         w_.line("   " + place.record + cName(field.name) + ".n = 0;");
         w_.line("}");
      });
   }

   template <class Contents>
   void aroundBare(const Field& field, Contents contents) {
      const std::string var = variable("bare");
      w_.line("L3_TRY(" + c() + ".push(" + quoted(field.name) + "));");
      openLength(field.bareBits, "length", "", Bounds{}, var);
      contents();
      closeLength(field.bareBits, "", Bounds{}, var, field.leaveTail);
      w_.line(c() + ".pop();");
   }

   // Something follows after all.
   void dropStatus(const Field& field, bool last) {
      const bool sets = last && (field.kind == Kind::Octets || field.kind == Kind::Bits);
      if (octetsLast_ && !sets) w_.line("status = 0;");
   }

   void leadBit(const Field& field, const std::string& bit, const Place&) {
      w_.line("L3_TRY(e." + std::string(field.lead == Lead::LH ? "leadLH" : "leadBit") +
              "(\"optional bit\", " + bit + "));");
   }

   static bool groupsOnly(const Field& field) { return field.kind == Kind::Null; }

   void plain(const Field& field, const Place& place, bool last) {
      if (isRunContent(field))
         return run({part(field, place)}, Place{place.record, "", place.arm, place.root});
      if (field.bareBits == 0)
         return kind(field, place, last, field.name.empty() ? "nullptr" : quoted(field.name));
      aroundBare(field, [&] { kind(field, place, false, "nullptr"); });
   }

   void kind(const Field& field, const Place& place, bool last, const std::string& name) {
      const std::string lvalue = place.record + cName(field.name);
      switch (field.kind) {
      case Kind::Flag:
      case Kind::Uint: run({part(field, place)}, Place{place.record, "", place.arm, place.root}); return;
      case Kind::Const:
         w_.line("L3_TRY(" + c() + ".constant<" + std::to_string(field.bits) + ">(" + name + ", " +
                 std::to_string(field.number) + "));");
         return;
      case Kind::Octets:
      case Kind::Bits: {
         untested(c() + (field.kind == Kind::Octets ? ".octets<" : ".bits<") + std::to_string(field.count) +
                        ">(" + name + ", " + lvalue + ")",
                  last);
         return;
      }
      case Kind::Named: return named(field, place, lvalue, name, last);
      case Kind::Counted: {
         const std::string count = field.bits == 16 ? "2" : "1";
         if (enc_) {
            attempt("counted<" + count + ">(" + name + ", " + lvalue + ")");
         } else {
            attempt("counted<" + count + ">(" + name + ", " + lvalue + ", " + limits(field.bounds) + ")");
         }
         return;
      }
      case Kind::Sized:
         if (enc_ && isCounted(field)) {
            attempt("fill(" + name + ", " + lvalue + ")");
         } else if (enc_) {
            attempt("sized(" + name + ", " + expression(*field.argument, place) + ", " + lvalue + ")");
         } else {
            attempt("sized(" + name + ", " + expression(*field.argument, place) + ", " + lvalue + ", " +
                    limits(field.bounds) + ")");
         }
         return;
      case Kind::Fill:
      case Kind::Tail:
         if (enc_) {
            attempt(std::string(field.kind == Kind::Fill ? "fill(" : "tail(") + name + ", " + lvalue + ")");
         } else {
            attempt("sized(" + name + ", kRest, " + lvalue + ", " + limits(field.bounds) + ")");
         }
         return;
      case Kind::BitTail:
         attempt(std::string(enc_ && !inBits_ ? "tailOfBits(" : "restOfBits(") + name + ", " + lvalue + ")");
         return;
      case Kind::Group: {
         w_.line("L3_TRY(" + c() + ".push(" + name + "));");
         clearPresence(field.fields, lvalue + ".");
         sequence(field.fields, Place{lvalue + ".", "", place.arm, place.root}, last);
         w_.line(c() + ".pop();");
         return;
      }
      case Kind::Each: {
         Repetition r{name, lvalue + ".n",      lvalue + ".elem", field.type.type,  field.bits, field.bounds,
                      "",   field.storage.heap, field.entries,    field.entry.get()};
         if (field.argument && !(enc_ && field.freeCount)) r.times = expression(*field.argument, place);
         repetition(r, place);
         if (enc_ && field.tail) w_.line("e.setTail();");
         return;
      }
      case Kind::Choice: return choice(field, place, lvalue, name, last);
      case Kind::Null: w_.line("L3_TRY(" + c() + ".nothing(" + name + "));"); return;
      case Kind::Frame:
      case Kind::Bare: {
         if (field.aside) {
            const std::string start = variable("start");
            w_.line("const size_t " + start + " = " + c() + ".offset();");
            sequence(field.fields, place, last);
            w_.line(lvalue + " = static_cast<" + uintType(field.bits) + ">((" + c() + ".offset() - " + start +
                    ") / 8);");
            return;
         }
         const std::string var = variable("frame");
         const std::string member = field.kind == Kind::Frame ? lvalue : "";
         const std::string title = field.name.empty() ? "length" : field.name;
         openLength(field.bits, title, member, field.bounds, var);
         sequence(field.fields, Place{place.record, var, place.arm, place.root}, last && !enc_);
         closeLength(field.bits, member, field.kind == Kind::Frame ? field.bounds : Bounds{}, var,
                     field.leaveTail);
         within(place);
         return;
      }
      case Kind::Swap:
         for (size_t i = field.fields.size(); i-- > 0;) one(*field.fields[i], place, false);
         return;
      case Kind::Since: return since(field, place, last);
      case Kind::Chain: return chain(field, place);
      case Kind::Messages: return;
      }
   }

   // Does an earlier integer take its value from this string's count?
   bool isCounted(const Field& field) const { return counted_.count(&field) != 0; }

   void named(const Field& field, const Place& place, const std::string& lvalue, const std::string& name,
              bool last) {
      const Type& type = *field.type.type;
      if (field.valueOnly) {
         const Type& base = baseType(type);
         w_.line("L3_TRY(" + c() + ".push(" + name + "));");
         const std::string start = variable("start");
         w_.line("const size_t " + start + " = " + c() + ".offset();");
         clearPresence(base.fields, lvalue + ".");
         if (!enc_) {
            const std::string var = variable("value");
            w_.line(lengthType() + var + ";");
            w_.line("L3_TRY(d.pushContainer(" + expression(*field.argument, place) + ", " + var + "));");
            sequence(base.fields, Place{lvalue + ".", var, place.arm, lvalue + "."}, last);
            w_.line("L3_TRY(d.close(" + var + "));");
         } else {
            sequence(base.fields, Place{lvalue + ".", "", place.arm, lvalue + "."}, last);
         }
         if (!base.bare)
            w_.line(lvalue + ".length = static_cast<decltype(" + lvalue + ".length)>((" + c() +
                    ".offset() - " + start + ") / 8);");
         w_.line(c() + ".pop();");
         return;
      }
      if (field.ahead != 0) {
         const Field& choice = *baseType(type).fields.front();
         w_.line("L3_TRY(" + c() + ".push(" + name + "));");
         if (!enc_) w_.line(lvalue + ".t = 1 + d.bitAhead(" + std::to_string(field.ahead) + ");");
         arms(choice, lvalue + ".t", Place{lvalue + ".", "", place.arm, lvalue + "."}, lvalue + ".", last);
         w_.line(c() + ".pop();");
         return;
      }
      if (enc_) {
         attempt(codec("item", type) + name + ", " + encodeArgument(type, lvalue) + ")");
         return;
      }
      std::string argument = pointerArgument(type, lvalue);
      if (field.argument) argument += ", static_cast<uint32_t>(" + expression(*field.argument, place) + ")";
      if (field.second) argument += ", " + expression(*field.second, place);
      const TypeKind kind = baseType(type).kind;
      const bool message = kind == TypeKind::Pdu || kind == TypeKind::Message;
      attempt((message ? "message(" + name + ", " + decoderName(type) : codec("item", type) + name) + ", " +
              argument + ")");
   }

   // A repetition of a type, of `bits`-bit integers or of octet strings (`entry`).
   struct Repetition {
      std::string name, n, elem;
      const Type* type;
      unsigned bits;
      const Bounds& bounds;
      std::string times;
      bool heap;
      Entries entries;
      const Field* entry;
   };

   void repetition(const Repetition& r, const Place& place) {
      std::string body, capture;
      if (r.entry != nullptr) {
         if (r.entry->kind == Kind::Fill) {
            body = enc_ ? "return e.fill(nullptr, x);" : "return d.sized(nullptr, kRest, x, Limits{});";
         } else {
            body = "return " + c() + ".sized(nullptr, " + expression(*r.entry->argument, place) + ", x" +
                   (enc_ ? ");" : ", Limits{});");
            capture = "&";
         }
      } else if (r.type == nullptr) {
         body = "return " + c() + ".fields(integer<" + std::to_string(r.bits) + ">(nullptr, x));";
      } else if (enc_) {
         body = "return e." + codec("call", *r.type) + encodeArgument(*r.type, "x") + ");";
      } else {
         // No initialiser of the record around an array has been at its elements.
         if ((r.heap || mayStayUnset(*r.type)) && hasInit(*r.type)) body = initName(*r.type) + "(&x); ";
         body += "return d." + codec("call", *r.type) + pointerArgument(*r.type, "x") + ");";
      }
      const std::string lambda = "[" + capture + "](auto& " + c() + ", auto& x) { " + dependent(body) + " }";
      if (r.entries != Entries::Rest) {
         const bool ext = r.entries == Entries::Ext;
         if (ext && !enc_ && !extDeclared_) {
            w_.line("uint8_t ext = 1;");
            extDeclared_ = true;
         }
         w_.line("L3_TRY(" + c() + (ext ? ".repeatExt(" : ".repeatFlags(") + r.name + ", " + r.n + ", " +
                 r.elem + (ext && !enc_ ? ", ext," : ","));
      } else {
         const bool octets = r.entry == nullptr && r.type == nullptr && r.bits == 8 && !r.heap;
         w_.line("L3_TRY(" + c() +
                 (!r.times.empty() ? ".repeatTimes("
                  : octets         ? ".repeatOctets("
                                   : ".repeat(") +
                 r.name + ", " + (r.times.empty() ? "" : r.times + ", ") + r.n + ", " + r.elem + ", " +
                 limits(r.bounds) + ",");
      }
      w_.line("      " + lambda + "));");
   }

   void choice(const Field& field, const Place& place, const std::string& lvalue, const std::string& name,
               bool last) {
      const std::string prefix = field.name.empty() ? place.record : lvalue + ".";
      const std::string t = prefix + "t";
      if (!field.name.empty() && name != "nullptr") w_.line("L3_TRY(" + c() + ".push(" + name + "));");
      std::string on;
      switch (field.selector) {
      case Selector::Field: on = expression(*field.argument, place); break;
      case Selector::Record:
         on = t;
         // No octet tells the arm: the first one, until the caller knows better.
         if (!enc_) w_.line(t + " = " + std::to_string(field.arms.front().values.front().low) + ";");
         break;
      case Selector::Bits:
      case Selector::LH:
         on = t;
         w_.line("L3_TRY(" + c() + "." +
                 (field.selector == Selector::LH ? "selectorLH("
                                                 : "selector(" + std::to_string(field.bits) + ", ") +
                 t + "));");
         break;
      }
      arms(field, on, place, prefix, last);
      if (!field.name.empty() && name != "nullptr") w_.line(c() + ".pop();");
   }

   void arms(const Field& field, const std::string& on, const Place& place, const std::string& prefix,
             bool last) {
      w_.open("switch (static_cast<uint32_t>(" + on + ")) {");
      bool hasElse = false;
      for (auto& arm : field.arms) {
         for (auto& range : arm.values) {
            std::string label = "case " + std::to_string(range.low);
            if (range.high != range.low) label += " ... " + std::to_string(range.high);
            w_.line(label + ":");
         }
         if (arm.isElse) {
            w_.line("default:");
            hasElse = true;
         }
         w_.open("{");
         one(*arm.field, Place{prefix + "u.", "", true, place.root, place.bits()}, last);
         w_.line("break;");
         w_.close();
      }
      // Where a single arm may be, a refusal bears its name.
      const bool single = field.arms.size() == 1 && !field.arms[0].field->name.empty();
      const std::string push =
            single ? "L3_TRY(" + c() + ".push(" + quoted(field.arms[0].field->name) + ")); " : "";
      if (!hasElse) w_.line("default: " + push + "return " + c() + ".badChoice();");
      w_.close();
   }

   // A group of fields that only releases from a certain one on know; its bit is set when all of it has been
   // read.
   void since(const Field& field, const Place& place, bool last) {
      const std::string bit = place.record + "m." + groupName(field.group);
      if (enc_) {
         w_.open("if (" + bit + ") {");
         dropStatus(field, last);
         sequence(field.fields, place, last);
         w_.close();
         return;
      }
      std::string condition = "d.more() && d.knows(" + std::to_string(field.number) + ")";
      if (field.needs != 0) {
         // With fewer bits left, all later groups are given up too.
         const std::string fits = "d.fits(" + place.length + ", " + std::to_string(field.needs) + ")";
         if (!groups_) w_.line("bool groups = true;");
         groups_ = true;
         w_.line("if (groups && " + condition + ") groups = " + fits + ";");
         condition = "groups && " + condition;
      }
      w_.open("if (" + condition + ") {");
      dropStatus(field, last);
      sequence(field.fields, place, last);
      w_.line(bit + " = 1;");
      within(place);
      if (field.quits) {
         w_.line("// The early way out leaves the container and the names pushed; callers see it by them.");
         w_.line("if (d.offset() == " + place.length + ".end) return 0;");
      }
      w_.close();
   }

   // Octets led by an ext bit: 1 ends the chain.
   void chain(const Field& field, const Place& place) {
      if (enc_) {
         encodeChain(field.fields, 0, place, field.skip);
      } else {
         decodeChain(field, place);
      }
   }

   // Condition that the next octet of the chain follows, from the record.
   static bool isList(const Field& field) {
      return field.kind == Kind::Each ||
             (field.kind == Kind::Named && baseType(*field.type.type).kind == TypeKind::List);
   }
   std::string follows(const Field& next, const Place& place) const {
      if (isList(next)) return place.record + cName(next.name) + ".n != 0";
      return place.record + "m." + presenceName(next) + " != 0";
   }

   void encodeChain(const std::vector<std::unique_ptr<Field>>& fields, size_t i, const Place& place,
                    bool skip) {
      if (i >= fields.size()) return;
      const Field& field = *fields[i];
      const bool more = i + 1 < fields.size();
      const bool conditional = field.optional && !isList(field);
      if (conditional) w_.open("if (" + place.record + "m." + presenceName(field) + ") {");
      if (field.kind == Kind::Each) {
         const std::string lvalue = place.record + cName(field.name);
         w_.line("L3_TRY(e.repeatExt(" + quoted(field.name) + ", " + lvalue + ".n, " + lvalue + ".elem,");
         w_.line("      [](auto& e, auto& x) { return e.template " + codec("call", *field.type.type) +
                 encodeArgument(*field.type.type, "x") + "); }));");
      } else if (isList(field)) {
         w_.open("if (" + follows(field, place) + ") {");
         plain(field, place, false);
         w_.close();
      } else {
         const std::string ext = more ? "!(" + follows(*fields[i + 1], place) + ")" : "true";
         w_.line("L3_TRY(e.extBit(" + quoted(field.name) + ", " + ext + "));");
         plain(field, place, false);
      }
      encodeChain(fields, i + 1, place, skip);
      if (conditional) w_.close();
   }

   void decodeChain(const Field& field, const Place& place) {
      const auto& fields = field.fields;
      const Field& first = *fields[0];
      const std::string ext = "ext";
      if (!extDeclared_) w_.line("uint8_t ext = 1;");
      extDeclared_ = true;
      if (first.optional) w_.open("if (d.more()) {");
      chainOctet(first, place);
      // Without its first octet a chain that skips goes by the ext bit of the chain ahead.
      const bool carries = first.optional && field.skip;
      if (carries) w_.close();
      size_t open = 0;
      for (size_t i = 1; i < fields.size(); ++i) {
         w_.open("if (ext == 0) {");
         ++open;
         chainOctet(*fields[i], place);
      }
      while (open-- > 0) w_.close();
      if (field.skip) {
         w_.line("L3_TRY(d.skipExtensions(ext));");
         within(place);
      }
      if (first.optional && !carries) w_.close();
   }

   void chainOctet(const Field& field, const Place& place) {
      if (isList(field)) {
         const std::string lvalue = place.record + cName(field.name);
         const Type* list = field.kind == Kind::Named ? &baseType(*field.type.type) : nullptr;
         const Repetition r{quoted(field.name),
                            lvalue + ".n",
                            lvalue + ".elem",
                            list ? list->base.type : field.type.type,
                            list ? list->bits : field.bits,
                            list ? list->bounds : field.bounds,
                            "",
                            list ? list->storage.heap : field.storage.heap,
                            Entries::Ext,
                            nullptr};
         repetition(r, place);
      } else {
         w_.line("L3_TRY(d.extBit(" + quoted(field.name) + ", ext));");
         plain(field, place, false);
      }
      if (field.optional) w_.line(place.record + "m." + presenceName(field) + " = 1;");
      within(place);
   }

   // A PDU that needs no table; its end reports what the message inside did.
   void pdu(const Type& type) {
      sequence(type.fields, Place{"pvalue->", "", false}, false);
      if (!enc_) result_ = "messageStatus(pctxt)";
      finish();
   }

   void message(const Type& type) {
      const Place place{"pvalue->", "", false};
      clearPresence(type.fields, "pvalue->");
      sequence(type.fields, place, false);
      std::vector<const Field*> optional;
      for (auto& field : type.fields)
         if (field->ieiBits != 0) optional.push_back(field.get());
      if (optional.empty()) {
         if (!enc_) w_.line(std::string("L3_TRY(d.nonImperative(") + (type.shifts ? "1" : "0") + "));");
         return finish();
      }
      enc_ ? encodeOptional(type, optional) : scan(type, optional);
   }

   void encodeOptional(const Type& type, const std::vector<const Field*>& optional) {
      int group = 0;
      bool open = false;
      const std::string guard = type.tailstop ? " && !e.tailOpen()" : "";
      for (auto* field : optional) {
         if (field->group != group) {
            if (open) w_.close();
            group = field->group;
            w_.open("if (pvalue->m." + groupName(group) + guard + ") {");
            open = true;
         }
         const std::string bits = std::to_string(field->ieiBits);
         const std::string call = ">(" + quoted(field->name) + ", " + hex(field->iei, 2);
         const std::string condition = "if (pvalue->m." + presenceName(*field) + guard + ")";
         if (field->present) {
            w_.line(condition + " L3_TRY(e.optional<" + bits + call + "));");
         } else if (field->kind == Kind::Named) {
            const Type& element = *field->type.type;
            w_.line(condition);
            w_.line("   L3_TRY(e.optional<" + bits + ", quorva::type::" + recordName(element) + call + ", " +
                    encodeArgument(element, "pvalue->" + cName(field->name)) + "));");
         } else { // a choice
            w_.open(condition + " {");
            w_.line("L3_TRY(e.iei<" + bits + ">(" + quoted(field->name) + ", " + hex(field->iei, 2) + "));");
            kind(*field, Place{"pvalue->", "", false}, false, "nullptr");
            w_.line("e.pop();");
            w_.close();
         }
      }
      if (open) w_.close();
      finish();
   }

   static std::string format(const Field& field) {
      if (field.present) return "T, 0";
      if (field.ieiBits == 4) return "HalfOctet, 0";
      if (field.kind != Kind::Named)
         return field.cls == Class::LVE ? "TLVE, 0" : field.cls == Class::LV ? "TLV, 0" : "TV, 0";
      const Type& own = *field.type.type;
      const Type& type = baseType(own);
      Class cls = type.cls;
      if (own.cls != Class::V) cls = own.cls;
      if (cls == Class::LV) return "TLV, 0";
      if (cls == Class::LVE) return "TLVE, 0";
      return "TV, " + std::to_string(valueOctets(type));
   }

   void scan(const Type& type, const std::vector<const Field*>& optional) {
      unsigned nibbles = 0;
      for (auto* field : optional)
         if (field->ieiBits == 4) nibbles |= 1u << field->iei;
      for (auto* field : optional) {
         if (field->present || field->kind == Kind::Named) continue;
         w_.open("const auto " + cName(field->name) + " = [&]() -> int {");
         plain(*field, Place{"pvalue->", "", false}, false);
         w_.line("return 0;");
         w_.close("};");
      }
      w_.line((type.shifts ? "ShiftScan" : "Scan") + std::string(" scan(d, ") + hex(nibbles, 4) + ");");
      w_.open("while (scan.next()) {");
      w_.open("switch (scan.iei()) {");
      std::set<unsigned> done;
      for (size_t k = 0; k < optional.size(); ++k) {
         const Field& field = *optional[k];
         std::vector<size_t> twins;
         for (size_t other = k; other < optional.size(); ++other)
            if (optional[other]->iei == field.iei) twins.push_back(other);
         if (!done.insert(field.iei).second) continue;
         const std::string iei = hex(field.iei, 2);
         if (twins.size() == 1) {
            w_.line("L3_OPTIONAL(" + iei + ", " + std::to_string(k) + ", " + format(field) + ", " +
                    decodeElement(field) + ",");
            w_.line("            " + presenceMark(field) + ")");
            continue;
         }
         w_.line("case " + iei + ":");
         for (size_t twin : twins) {
            w_.line("   L3_TWIN(" + std::to_string(twin) + ", " + decodeElement(*optional[twin]) + ",");
            w_.line("           " + presenceMark(*optional[twin]) + ")");
         }
         w_.line("   L3_TRY(scan.drop(quorva::frame::Format::" + format(field) + "));");
         w_.line("   break;");
      }
      w_.line("default: L3_TRY(scan.unknown()); break;");
      w_.close();
      w_.close();
      w_.line("return scan.finish();");
   }

   static std::string decodeElement(const Field& field) {
      if (field.present) return "scan.nothing(" + quoted(field.name) + ")";
      if (field.kind != Kind::Named) return "scan.other(" + cName(field.name) + ")";
      if (isRunContent(field))
         return (field.ieiBits == 4 ? "scan.half(" : "scan.fields(") + runPart(field, "pvalue->", false) +
                ")";
      const Type& element = *field.type.type;
      return "scan.item<quorva::type::" + recordName(element) + ">(" + quoted(field.name) + ", " +
             pointerArgument(element, "pvalue->" + cName(field.name)) + ")";
   }

   static std::string presenceMark(const Field& field) {
      const std::string mark = "pvalue->m." + presenceName(field) + " = 1";
      return field.group == 0 ? mark : "pvalue->m." + groupName(field.group) + " = 1, " + mark;
   }

   std::string expression(const Expr& e, const Place& place) const {
      auto binary = [&](const char* op) {
         return "(" + expression(*e.left, place) + " " + op + " " + expression(*e.right, place) + ")";
      };
      switch (e.op) {
      case Expr::Op::Number: return std::to_string(e.number);
      case Expr::Op::Rest: return "d.restOctets()";
      case Expr::Op::Name: return path(e, place);
      case Expr::Op::Add: return binary("+");
      case Expr::Op::Sub: return binary("-");
      case Expr::Op::Mul: return binary("*");
      case Expr::Op::Eq: return binary("==");
      case Expr::Op::Ne: return binary("!=");
      case Expr::Op::Lt: return binary("<");
      case Expr::Op::Gt: return binary(">");
      case Expr::Op::Le: return binary("<=");
      case Expr::Op::Ge: return binary(">=");
      case Expr::Op::And: return binary("&&");
      case Expr::Op::Or: return binary("||");
      case Expr::Op::Not: return "!" + expression(*e.left, place);
      }
      return "0";
   }

   // Paths begin at the record of the type. An optional field that is absent counts as 0.
   std::string path(const Expr& e, const Place& place) const {
      if (e.parameter) return cName(e.name);
      std::string text = place.root, present;
      for (size_t i = 0; i < e.path.size(); ++i) {
         const Field& field = *e.path[i];
         if (i != 0 && text.back() != '>' && text.back() != '.') text += '.';
         // What the fields at hand lie in is there; its bit is not set before it is decoded.
         if (field.optional && !place.record.starts_with(text + cName(field.name) + "."))
            present = text + "m." + presenceName(field);
         if (!field.name.empty()) text += cName(field.name);
         if (field.kind == Kind::Choice) text += field.name.empty() ? "u" : ".u";
      }
      return present.empty() ? text : "(" + present + " ? " + text + " : 0)";
   }

   bool enc_;
   bool extDeclared_ = false;
   bool isMessage_ = false;
   bool both_ = false; // the text is a template for both forms
   bool skipBeside_ = false;
   bool inBits_ = false;     // the element's length counts bits
   bool octetsLast_ = false; // `status` is that of octets behind which nothing has been coded
   bool groups_ = false;     // the decoder's flag of the release groups is declared
   int nextVariable_ = 0;
   std::string result_;
   std::set<const Field*> counted_;
   Writer w_;
};

std::string prologue(const Module& module, bool encode) {
   Writer w;
   w.line(std::string("// ") + (encode ? "Encoders" : "Decoders") + " of module " + module.name +
          ". Generated by l3c from " + module.file + ".l3d.");
   w.line();
   w.line("#include \"src/" + module.file + "Types.h\"");
   if (std::ranges::any_of(module.types, [](auto& type) { return type->kind == TypeKind::Digits; }))
      w.line("#include \"src/frame/digits.h\"");
   w.line();
   w.line("using namespace quorva::frame;");
   w.line();
   w.line("static const char kSource[] = \"" + module.file + (encode ? "Enc" : "Dec") + "\";");
   w.line();
   return w.text();
}

// A text of digits is one call.
std::string digitCodec(const Type& type, bool encode) {
   const std::string parameters = encode ? encodeParameters(type) : decodeParameters(type);
   const std::string function = encode              ? "encodeDigitText"
                                : type.storage.heap ? "decodeDigitTextToHeap"
                                : type.open         ? "decodeOpenDigitText"
                                                    : "decodeDigitText<" + std::to_string(type.count) + ">";
   const std::string names = argumentNames(type, encode);
   const std::string codec = encode ? encoderName(type) : decoderName(type);
   return "int " + codec + "(RtxContext* pctxt" + parameters + ") {\n   " +
          (encode ? "L3_TO_STREAM(" : "L3_FROM_STREAM(") + codec + "(pctxt" + names + "));\n   return " +
          function + "(pctxt, kSource, \"" + type.name + "\"" + names + ");\n}\n" +
          shortDeclaration(type, encode) + " {\n   return " + function + "(at, end, pctxt" + names +
          ");\n}\n\n";
}

void emitDirection(const Module& module, bool encode, Outputs& out) {
   std::vector<std::string> codecs;
   for (auto& type : module.types) {
      const bool byHand = type->custom || (type->kind == TypeKind::Pdu && !type->table.empty());
      if (byHand || type->kind == TypeKind::Text) continue;
      if (type->kind == TypeKind::Digits) {
         codecs.push_back(digitCodec(*type, encode));
         continue;
      }
      codecs.push_back(CodecEmitter(encode).type(*type) + "\n");
   }
   for (unsigned unit = 0; unit < module.units; ++unit) {
      std::string text = prologue(module, encode);
      for (size_t i = codecs.size() * unit / module.units; i < codecs.size() * (unit + 1) / module.units; ++i)
         text += codecs[i];
      out["src/" + module.file + (encode ? "Enc" : "Dec") + (unit == 0 ? "" : std::to_string(unit + 1)) +
          ".cpp"] = text;
   }
}

// The tables by which PDU codecs find a message.
void emitMessages(const Module& module, Outputs& out) {
   Writer w;
   w.line("// Messages of the PDUs of module " + module.name + ". Generated by l3c from " + module.file +
          ".l3d.");
   w.line();
   w.line("#include \"src/" + module.file + "Types.h\"");
   w.line("#include \"src/frame/pdu.h\"");
   for (auto& type : module.types) {
      if (type->table.empty()) continue;
      w.line();
      w.open("static constexpr quorva::frame::MessageRow k" + recordName(*type) + "Rows[] = {");
      for (auto& row : type->table) {
         std::string text = "{" + hex(row.disc, 2) + ", " + hex(row.msgType, 2) + ", " +
                            std::to_string(row.selector) + ", " + (row.inlineValue ? "true" : "false") + ", ";
         if (row.record.type == nullptr) {
            w.line(text + "0, \"u." + row.member + "\", nullptr, nullptr},");
            continue;
         }
         const Type& message = *row.record.type;
         const std::string record = recordName(message);
         const bool value = passing(message) == Passing::Value;
         w.line(text + "sizeof(" + record + "), \"u." + row.member + "\",");
         const std::string init =
               hasInit(message) ? initName(message) + "(static_cast<" + record + "*>(r)); " : "";
         w.line("   [](RtxContext* c, void* r) { " + init + "return " + decoderName(message) +
                "(c, static_cast<" + record + "*>(r)); },");
         w.line("   [](RtxContext* c, void* r) { return " + encoderName(message) + "(c, " +
                (value ? "*" : "") + "static_cast<" + record + "*>(r)); }},");
      }
      w.close("};");
      const std::string name = "k" + recordName(*type);
      w.line("static constexpr auto " + name + "Index = quorva::frame::indexOf(" + name + "Rows);");
      w.line("extern const quorva::frame::MessageTable " + name + "Messages;");
      w.line("const quorva::frame::MessageTable " + name + "Messages = {" + name + "Rows, &" + name +
             "Index};");
   }
   out["src/" + module.file + "Messages.cpp"] = w.text();
}

} // namespace

void emitCodecs(const Model&, const Module& module, Outputs& out) {
   emitDirection(module, true, out);
   emitDirection(module, false, out);
   emitMessages(module, out);
}

} // namespace l3c
