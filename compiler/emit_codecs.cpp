// Encoders and decoders, one line a field, in the frame's words.

#include "compiler/emit.h"
#include "compiler/layout.h"
#include "compiler/naming.h"

#include <algorithm>

namespace l3c {

namespace {

std::string quoted(const std::string& name) {
   return "\"" + name + "\"";
}

std::string upper(const std::optional<uint64_t>& high, const std::string& none) {
   return high ? std::to_string(*high) + "u" : none;
}

// Where the fields at hand lie.
struct Place {
   std::string record;            // lvalue prefix, "pvalue->" or "pvalue->octet6."
   std::string length;            // variable of the open length, or empty
   bool arm = false;              // in an arm of a choice: bound failures are logged
   std::string root = "pvalue->"; // record that expressions begin at
};

class CodecEmitter {
public:
   explicit CodecEmitter(bool encode) : enc_(encode) {}

   std::string type(const Type& type) {
      w_ = Writer();
      nextVariable_ = 0;
      result_.clear();
      const std::string function = enc_ ? encoderName(type) : decoderName(type);
      w_.open("int " + function + "(RtxContext* pctxt" +
              (enc_ ? encodeParameters(type) : decodeParameters(type)) + ") {");
      w_.line((enc_ ? "Encoder e" : "Decoder d") + std::string("(pctxt, kSource);"));
      w_.line("L3_TRY(" + c() + ".begin(" + quoted(typeName(type)) + "));");
      contents(type);
      w_.close();
      return w_.text();
   }

private:
   std::string c() const { return enc_ ? "e" : "d"; }

   // The spelling of a type's name in the trace: the decoders know it by its C name where the encoders keep
   // the hyphen. The difference stays.
   std::string typeName(const Type& type) const {
      if (type.name == "MsgType_MM_CC_SS") return enc_ ? "MsgType-MM-CC-SS" : type.name;
      return type.name;
   }

   void attempt(const std::string& call) { w_.line("L3_TRY(" + c() + "." + call + ");"); }

   std::string variable(const std::string& stem) {
      const int n = nextVariable_++;
      return n == 0 ? stem : stem + std::to_string(n + 1);
   }

   void finish() { w_.line("return " + c() + ".done(" + result_ + ");"); }

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
            const std::string call = c() + ".octets<" + std::to_string(type.count) + ">(nullptr, value)";
            if (type.bare) {
               w_.line("(void)" + call + ";");
            } else {
               w_.line("const int status = " + call + ";");
               result_ = "status";
            }
         });
      } else {
         const std::string count = type.cls == Class::LVE ? "2" : "1";
         if (enc_) {
            w_.line("L3_TRY(e.counted<" + count + ">(nullptr, *pvalue));");
         } else {
            w_.line("L3_TRY(d.counted<" + count + ">(nullptr, *pvalue, " + bounds(type.bounds) + "));");
         }
      }
      finish();
   }

   // A length on the wire that no record holds, around a value.
   template <class Body>
   void bare(const Type& type, Body body) {
      if (!type.bare) return body();
      openLength(type.cls == Class::LVE ? 16 : 8, "length", "", type.bounds, "length");
      body();
      closeLength(type.cls == Class::LVE ? 16 : 8, "", Bounds{}, "length");
   }

   void list(const Type& type) {
      Field field;
      field.kind = Kind::Each;
      repetition("nullptr", "pvalue->n", "pvalue->elem", type.base.type, 0, type.bounds, "",
                 type.storage.heap);
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
      w_.line("L3_TRY(" + c() + ".same(" + (enc_ ? encoderName(base) : decoderName(base)) + ", " + argument +
              "));");
      if (!enc_ && scan && !hasScan(base)) w_.line("L3_TRY(d.nonImperative(0));");
      finish();
   }

   static bool hasScan(const Type& type) {
      const Type& base = baseType(type);
      return base.kind == TypeKind::Message &&
             std::any_of(base.fields.begin(), base.fields.end(), [](auto& f) { return f->ieiBits != 0; });
   }

   void clearPresence(const std::vector<std::unique_ptr<Field>>& fields, const std::string& prefix) {
      if (!enc_ && !presenceBits(fields).empty()) w_.line(prefix + "m = {};");
   }

   void record(const Type& type) {
      clearPresence(type.fields, "pvalue->");
      Place place{"pvalue->", "", false};
      const unsigned bits = type.cls == Class::LVE ? 16 : type.cls == Class::L4 ? 4 : 8;
      if (type.cls != Class::V) {
         openLength(bits, "length", type.bare ? "" : "pvalue->length", type.bounds, "length");
         place.length = "length";
      }
      sequence(type.fields, place, type.cls == Class::V);
      if (type.cls != Class::V)
         closeLength(bits, type.bare ? "" : "pvalue->length", type.bare ? Bounds{} : type.bounds, "length");
      finish();
   }

   // Name, member (empty for a bare length), bounds, variable.
   void openLength(unsigned bits, const std::string& name, const std::string& member, const Bounds& bound,
                   const std::string& var) {
      if (enc_) {
         w_.line("OpenLength " + var + ";");
         w_.line("L3_TRY(e.open<" + std::to_string(bits) + ">(" + quoted(name) + ", " + var + "));");
         return;
      }
      std::string place = member;
      if (member.empty()) {
         place = var + "Octets";
         w_.line(std::string(bits == 16 ? "uint16_t " : "uint8_t ") + place + ";");
      }
      w_.line("Length " + var + ";");
      w_.line("L3_TRY(d.open<" + std::to_string(bits) + ">(" + quoted(name) + ", " + place + ", " +
              lengthBounds(bits, bound) + ", " + var + "));");
   }

   void closeLength(unsigned bits, const std::string& member, const Bounds& bound, const std::string& var) {
      if (!enc_) {
         w_.line("L3_TRY(d.close(" + var + "));");
         return;
      }
      std::string place = member;
      if (member.empty()) {
         place = var + "Octets";
         w_.line(std::string(bits == 16 ? "uint16_t " : "uint8_t ") + place + ";");
      }
      w_.line("L3_TRY(e.close<" + std::to_string(bits) + ">(" + var + ", " + place + ", " +
              lengthBounds(bits, bound) + "));");
   }

   static std::string lengthBounds(unsigned bits, const Bounds& bound) {
      return std::to_string(bound.low.value_or(0)) + ", " +
             std::to_string(bound.high.value_or((uint64_t{1} << bits) - 1));
   }
   static std::string bounds(const Bounds& bound) {
      return std::to_string(bound.low.value_or(0)) + ", " + upper(bound.high, "SIZE_MAX");
   }

   std::string part(const Field& field, const Place& place) const {
      return runPart(field, place.record, place.arm);
   }

   // Fields one behind the other; runs of fixed width go together. `last`: nothing follows in the codec.
   void sequence(const std::vector<std::unique_ptr<Field>>& fields, const Place& place, bool last) {
      for (size_t i = 0; i < fields.size();) {
         const Field& field = *fields[i];
         if (field.ieiBits != 0) break;
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
         const bool isLast = last && i + 1 == fields.size();
         if (field.aside && i + 1 < fields.size()) {
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
      if (parts.size() == 1) {
         w_.line(head + (head.back() == ',' ? " " : "") + parts[0] + "));");
         return;
      }
      w_.line(head);
      for (size_t i = 0; i < parts.size(); ++i)
         w_.line("      " + parts[i] + (i + 1 < parts.size() ? "," : "));"));
   }

   void within(const Place& place) {
      if (!enc_ && !place.length.empty()) w_.line("L3_TRY(d.within(" + place.length + "));");
   }

   // One field with its option.
   void one(const Field& field, const Place& place, bool last) {
      if (!field.optional || field.kind == Kind::Chain) {
         plain(field, place, last);
         if (!groupsOnly(field) && !field.onlyOnWire()) within(place);
         return;
      }
      const std::string bit = place.record + "m." + presenceName(field);
      Place inner = place;
      inner.length.clear();
      if (enc_) {
         if (field.lead != Lead::None) leadBit(field, bit, place);
         w_.open("if (" + bit + ") {");
         plain(field, inner, false);
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
      plain(field, inner, false);
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

   void leadBit(const Field& field, const std::string& bit, const Place&) {
      w_.line("L3_TRY(e." + std::string(field.lead == Lead::LH ? "leadLH" : "leadBit") +
              "(\"optional bit\", " + bit + "));");
   }

   static bool groupsOnly(const Field& field) { return field.kind == Kind::Null; }

   void plain(const Field& field, const Place& place, bool last) {
      const std::string lvalue = place.record + cName(field.name);
      const std::string name = field.name.empty() ? "nullptr" : quoted(field.name);
      switch (field.kind) {
      case Kind::Flag:
      case Kind::Uint: run({part(field, place)}, Place{place.record, "", place.arm, place.root}); return;
      case Kind::Const:
         w_.line("L3_TRY(" + c() + ".constant<" + std::to_string(field.bits) + ">(" + name + ", " +
                 std::to_string(field.number) + "));");
         return;
      case Kind::Octets:
      case Kind::Bits: {
         const std::string call = c() + (field.kind == Kind::Octets ? ".octets<" : ".bits<") +
                                  std::to_string(field.count) + ">(" + name + ", " + lvalue + ")";
         if (last) {
            w_.line("const int status = " + call + ";");
            result_ = "status";
         } else {
            w_.line("(void)" + call + ";");
         }
         return;
      }
      case Kind::Named: return named(field, place, lvalue, name);
      case Kind::Counted: {
         const std::string count = field.bits == 16 ? "2" : "1";
         if (enc_) {
            attempt("counted<" + count + ">(" + name + ", " + lvalue + ")");
         } else {
            attempt("counted<" + count + ">(" + name + ", " + lvalue + ", " + bounds(field.bounds) + ")");
         }
         return;
      }
      case Kind::Sized:
         if (enc_) {
            attempt("sized(" + name + ", " + expression(*field.argument, place) + ", " + lvalue + ")");
         } else {
            attempt("sized(" + name + ", " + expression(*field.argument, place) + ", " + lvalue + ", " +
                    bounds(field.bounds) + ")");
         }
         return;
      case Kind::Fill:
      case Kind::Tail:
         if (enc_) {
            attempt(std::string(field.kind == Kind::Fill ? "fill(" : "tail(") + name + ", " + lvalue + ")");
         } else {
            attempt("sized(" + name + ", kRest, " + lvalue + ", " + bounds(field.bounds) + ")");
         }
         return;
      case Kind::BitTail:
         attempt(std::string(enc_ ? "tailOfBits(" : "restOfBits(") + name + ", " + lvalue + ")");
         return;
      case Kind::Group: {
         w_.line("L3_TRY(" + c() + ".push(" + name + "));");
         clearPresence(field.fields, lvalue + ".");
         sequence(field.fields, Place{lvalue + ".", "", place.arm, place.root}, false);
         w_.line(c() + ".pop();");
         return;
      }
      case Kind::Each: {
         std::string times;
         if (field.argument) times = expression(*field.argument, place);
         if (enc_ && field.freeCount) times.clear();
         repetition(name, lvalue + ".n", lvalue + ".elem", field.type.type, field.bits, field.bounds, times,
                    field.storage.heap);
         return;
      }
      case Kind::Choice: return choice(field, place, lvalue, name);
      case Kind::Null: w_.line("L3_TRY(" + c() + ".nothing(" + name + "));"); return;
      case Kind::Frame:
      case Kind::Bare: {
         const std::string var = variable("frame");
         const std::string member = field.kind == Kind::Frame ? lvalue : "";
         const std::string title = field.name.empty() ? "length" : field.name;
         openLength(field.bits, title, member, field.bounds, var);
         sequence(field.fields, Place{place.record, var, place.arm, place.root}, false);
         closeLength(field.bits, member, field.kind == Kind::Frame ? field.bounds : Bounds{}, var);
         within(place);
         return;
      }
      case Kind::Swap:
         for (size_t i = field.fields.size(); i-- > 0;) one(*field.fields[i], place, false);
         return;
      case Kind::Since: return since(field, place);
      case Kind::Chain: return chain(field, place);
      case Kind::Messages: return;
      }
   }

   void named(const Field& field, const Place& place, const std::string& lvalue, const std::string& name) {
      const Type& type = *field.type.type;
      if (field.valueOnly) {
         const Type& base = baseType(type);
         w_.line("L3_TRY(" + c() + ".push(" + name + "));");
         const std::string start = variable("start");
         w_.line("const size_t " + start + " = " + c() + ".offset();");
         clearPresence(base.fields, lvalue + ".");
         if (!enc_) {
            const std::string var = variable("value");
            w_.line("Length " + var + ";");
            w_.line("L3_TRY(d.pushContainer(" + expression(*field.argument, place) + ", " + var + "));");
            sequence(base.fields, Place{lvalue + ".", var, place.arm, lvalue + "."}, false);
            w_.line("L3_TRY(d.close(" + var + "));");
         } else {
            sequence(base.fields, Place{lvalue + ".", "", place.arm, lvalue + "."}, false);
         }
         if (!base.bare)
            w_.line(lvalue + ".length = static_cast<decltype(" + lvalue + ".length)>((" + c() +
                    ".offset() - " + start + ") / 8);");
         w_.line(c() + ".pop();");
         return;
      }
      if (enc_) {
         attempt("item(" + name + ", " + encoderName(type) + ", " + encodeArgument(type, lvalue) + ")");
         return;
      }
      std::string argument = pointerArgument(type, lvalue);
      if (field.argument) argument += ", static_cast<uint32_t>(" + expression(*field.argument, place) + ")";
      attempt("item(" + name + ", " + decoderName(type) + ", " + argument + ")");
   }

   void repetition(const std::string& name, const std::string& n, const std::string& elem, const Type* type,
                   unsigned bits, const Bounds& bound, const std::string& times, bool heap) {
      std::string body;
      if (type == nullptr) {
         body = "return " + c() + ".fields(integer<" + std::to_string(bits) + ">(nullptr, x));";
      } else if (enc_) {
         body = "return " + encoderName(*type) + "(e.ctxt(), " + encodeArgument(*type, "x") + ");";
      } else {
         if (heap && hasInit(*type)) body = initName(*type) + "(&x); ";
         body += "return " + decoderName(*type) + "(d.ctxt(), " + pointerArgument(*type, "x") + ");";
      }
      const std::string lambda = "[](auto& " + c() + ", auto& x) { " + body + " }";
      std::string call =
            times.empty() ? "repeat(" + name + ", " : "repeatTimes(" + name + ", " + times + ", ";
      call += n + ", " + elem + ", " + bounds(bound) + ",";
      w_.line("L3_TRY(" + c() + "." + call);
      w_.line("      " + lambda + "));");
   }

   void choice(const Field& field, const Place& place, const std::string& lvalue, const std::string& name) {
      const std::string prefix = field.name.empty() ? place.record : lvalue + ".";
      const std::string t = prefix + "t";
      if (!field.name.empty()) w_.line("L3_TRY(" + c() + ".push(" + name + "));");
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
      w_.open("switch (" + on + ") {");
      bool hasElse = false;
      for (auto& arm : field.arms) {
         std::string labels;
         for (auto& range : arm.values) {
            labels += "case " + std::to_string(range.low);
            if (range.high != range.low) labels += " ... " + std::to_string(range.high);
            labels += ": ";
         }
         if (arm.isElse) {
            labels = "default: ";
            hasElse = true;
         }
         w_.open(labels + "{");
         one(*arm.field, Place{prefix + "u.", "", true, place.root}, false);
         w_.line("break;");
         w_.close();
      }
      if (!hasElse) w_.line("default: return " + c() + ".badChoice();");
      w_.close();
      if (!field.name.empty()) w_.line(c() + ".pop();");
   }

   void since(const Field& field, const Place& place) {
      const std::string bit = place.record + "m." + groupName(field.group);
      if (enc_) {
         w_.open("if (" + bit + ") {");
         sequence(field.fields, place, false);
         w_.close();
         return;
      }
      w_.open("if (d.since(" + std::to_string(field.number) + ", " +
              (place.length.empty() ? "Length{}" : place.length) + ", " + std::to_string(field.needs) +
              ")) {");
      sequence(field.fields, place, false);
      w_.line(bit + " = 1;");
      within(place);
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
   std::string follows(const Field& next, const Place& place) const {
      if (next.kind == Kind::Each) return place.record + cName(next.name) + ".n != 0";
      return place.record + "m." + presenceName(next) + " != 0";
   }

   void encodeChain(const std::vector<std::unique_ptr<Field>>& fields, size_t i, const Place& place,
                    bool skip) {
      if (i >= fields.size()) return;
      const Field& field = *fields[i];
      const bool more = i + 1 < fields.size();
      const bool conditional = field.optional && field.kind != Kind::Each;
      if (conditional) w_.open("if (" + place.record + "m." + presenceName(field) + ") {");
      if (field.kind == Kind::Each) {
         const std::string lvalue = place.record + cName(field.name);
         w_.line("L3_TRY(e.repeatExt(" + quoted(field.name) + ", " + lvalue + ".n, " + lvalue + ".elem,");
         w_.line("      [](auto& e, auto& x) { return " + encoderName(*field.type.type) + "(e.ctxt(), " +
                 encodeArgument(*field.type.type, "x") + "); }));");
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
      size_t open = 0;
      for (size_t i = 1; i < fields.size(); ++i) {
         w_.open("if (ext == 0) {");
         ++open;
         chainOctet(*fields[i], place);
      }
      while (open-- > 0) w_.close();
      if (field.skip) {
         w_.line("if (ext == 0) L3_TRY(d.skipExtensions());");
         within(place);
      }
      if (first.optional) w_.close();
   }

   void chainOctet(const Field& field, const Place& place) {
      if (field.kind == Kind::Each) {
         const std::string lvalue = place.record + cName(field.name);
         w_.line("L3_TRY(d.repeatExt(" + quoted(field.name) + ", " + lvalue + ".n, " + lvalue +
                 ".elem, ext,");
         w_.line("      [](auto& d, auto& x) { return " + decoderName(*field.type.type) + "(d.ctxt(), " +
                 pointerArgument(*field.type.type, "x") + "); }));");
      } else {
         w_.line("L3_TRY(d.extBit(" + quoted(field.name) + ", ext));");
         plain(field, place, false);
      }
      if (field.optional) w_.line(place.record + "m." + presenceName(field) + " = 1;");
      within(place);
   }

   void message(const Type& type) {
      const Place place{"pvalue->", "", false};
      clearPresence(type.fields, "pvalue->");
      sequence(type.fields, place, false);
      std::vector<const Field*> optional;
      for (auto& field : type.fields)
         if (field->ieiBits != 0) optional.push_back(field.get());
      if (optional.empty()) {
         if (!enc_) w_.line("L3_TRY(d.nonImperative(0));");
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
         std::string call =
               "L3_TRY(e.optional<" + bits + ">(" + quoted(field->name) + ", " + hex(field->iei, 2);
         const std::string condition = "if (pvalue->m." + presenceName(*field) + guard + ")";
         if (field->present) {
            w_.line(condition + " " + call + "));");
         } else if (field->kind == Kind::Named) {
            const Type& element = *field->type.type;
            w_.line(condition);
            w_.line("   " + call + ", " + encoderName(element) + ", " +
                    encodeArgument(element, "pvalue->" + cName(field->name)) + "));");
         } else { // a choice
            w_.open(condition + " {");
            w_.line("L3_TRY(e.iei<" + bits + ">(" + quoted(field->name) + ", " + hex(field->iei, 2) + "));");
            plainInside(*field, Place{"pvalue->", "", false});
            w_.line("e.pop();");
            w_.close();
         }
      }
      if (open) w_.close();
      finish();
   }

   // The field without its own bracket.
   void plainInside(const Field& field, const Place& place) {
      if (field.kind == Kind::Choice) {
         const std::string lvalue = place.record + cName(field.name);
         Field const& f = field;
         w_.open("switch (" + expression(*f.argument, place) + ") {");
         bool hasElse = false;
         for (auto& arm : f.arms) {
            std::string labels;
            for (auto& range : arm.values) labels += "case " + std::to_string(range.low) + ": ";
            if (arm.isElse) {
               labels = "default: ";
               hasElse = true;
            }
            w_.open(labels + "{");
            one(*arm.field, Place{lvalue + ".u.", "", true, place.root}, false);
            w_.line("break;");
            w_.close();
         }
         if (!hasElse) w_.line("default: return " + c() + ".badChoice();");
         w_.close();
      }
   }

   static std::string format(const Field& field) {
      if (field.present) return "T, 0";
      if (field.ieiBits == 4) return "HalfOctet, 0";
      if (field.kind != Kind::Named) return "TLVE, 0";
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
      w_.line("Scan scan(d, " + hex(nibbles, 4) + ");");
      w_.open("while (scan.next()) {");
      w_.open("switch (scan.iei()) {");
      for (size_t k = 0; k < optional.size(); ++k) {
         const Field& field = *optional[k];
         std::string mark = "pvalue->m." + presenceName(field) + " = 1";
         if (field.group != 0) mark = "pvalue->m." + groupName(field.group) + " = 1, " + mark;
         std::string decode;
         if (field.present) {
            decode = "d.nothing(" + quoted(field.name) + ")";
         } else if (field.kind == Kind::Named) {
            const Type& element = *field.type.type;
            decode = "d.item(" + quoted(field.name) + ", " + decoderName(element) + ", " +
                     pointerArgument(element, "pvalue->" + cName(field.name)) + ")";
         } else {
            decode = cName(field.name) + "()";
         }
         const std::string head =
               "L3_OPTIONAL(" + hex(field.iei, 2) + ", " + std::to_string(k) + ", " + format(field) + ", ";
         w_.line(head + decode + ",");
         w_.line("            " + mark + ")");
      }
      w_.line("default: L3_TRY(scan.unknown()); break;");
      w_.close();
      w_.close();
      w_.line("return d.done(scan.status());");
      (void)type;
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

   // Paths begin at the record of the type.
   std::string path(const Expr& e, const Place& place) const {
      std::string text = place.root;
      for (size_t i = 0; i < e.path.size(); ++i) {
         const Field& field = *e.path[i];
         if (!field.name.empty()) text += (i != 0 ? "." : "") + cName(field.name);
         if (field.kind == Kind::Choice) text += field.name.empty() ? "u" : ".u";
      }
      return text;
   }

   bool enc_;
   bool extDeclared_ = false;
   int nextVariable_ = 0;
   std::string result_;
   Writer w_;
};

std::string prologue(const Module& module, bool encode) {
   Writer w;
   w.line(std::string("// ") + (encode ? "Encoders" : "Decoders") + " of module " + module.name +
          ". Generated by l3c from " + module.file + ".l3d.");
   w.line();
   w.line("#include \"src/" + module.file + "Types.h\"");
   w.line();
   w.line("using namespace quorva::frame;");
   w.line();
   w.line("static const char kSource[] = \"" + module.file + (encode ? "Enc" : "Dec") + "\";");
   w.line();
   return w.text();
}

void emitDirection(const Module& module, bool encode, Outputs& out) {
   std::vector<std::string> codecs;
   for (auto& type : module.types) {
      if (type->custom || type->kind == TypeKind::Pdu || type->kind == TypeKind::Digits || type->kind == TypeKind::Text)
         continue;
      if (encode ? !hasEncoder(*type) : !hasDecoder(*type)) continue;
      codecs.push_back(CodecEmitter(encode).type(*type) + "\n");
   }
   for (unsigned unit = 0; unit < module.units; ++unit) {
      std::string text = prologue(module, encode);
      for (size_t i = codecs.size() * unit / module.units; i < codecs.size() * (unit + 1) / module.units; ++i)
         text += codecs[i];
      out["src/" + module.file + (encode ? "Enc" : "Dec") + (unit == 0 ? "" : std::to_string(unit + 1)) + ".cpp"] = text;
   }
}

} // namespace

void emitCodecs(const Model&, const Module& module, Outputs& out) {
   emitDirection(module, true, out);
   emitDirection(module, false, out);
}

} // namespace l3c
