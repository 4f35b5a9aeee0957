// Codecs in short form, one line a step, in the frame's words; and the functions that callers see.

#include "compiler/emit.h"
#include "compiler/layout.h"
#include "compiler/naming.h"
#include "compiler/program.h"
#include "compiler/walk.h"

#include <algorithm>
#include <set>

namespace l3c {

namespace {

std::string quoted(const std::string& name) {
   return name.empty() ? "nullptr" : "\"" + name + "\"";
}
std::string number(uint64_t value) {
   return std::to_string(value);
}
std::string hasBit(const BitPlace& bit) {
   return "pvalue->" + bit.record + "m." + bit.name;
}
std::string lengthOf(unsigned bits) {
   return bits == 16 ? "uint16_t " : "uint8_t ";
}

class CodecEmitter {
public:
   explicit CodecEmitter(bool encode) : enc_(encode) {}

   std::string type(const Type& type) {
      const Program program = lower(type);
      type_ = &type;
      const std::string parameters = (enc_ ? encodeParameters(type) : decodeParameters(type));
      if (type.structure) return structure(program, parameters);
      w_.open(std::string("L3_INLINE static int ") + (enc_ ? "encode_" : "decode_") + recordName(type) + "(" +
              (enc_ ? "ShortEncoder& e" : "ShortDecoder& d") + parameters + ") {");
      contents(program);
      w_.line("return 0;");
      w_.close();
      const std::string x = recordName(type), arguments = argumentNames(type, enc_);
      if (standsAmongBits(type)) {
         w_.open(std::string("int ") + (enc_ ? "shortEncIn_" : "shortDecIn_") + x + "(" +
                 (enc_ ? "ShortEncoder& e" : "ShortDecoder& d") + parameters + ") {");
         if (departs(type)) w_.line("if (" + c() + ".standard()) [[unlikely]] return kNotShort;");
         w_.line(std::string("return ") + (enc_ ? "encode_" : "decode_") + x + "(" + c() + arguments + ");");
         w_.close();
      }
      w_.open(shortDeclaration(type, enc_) + " {");
      if (departs(type)) w_.line("if (isStandard(pctxt)) [[unlikely]] return nullptr;");
      w_.line(std::string(enc_ ? "ShortEncoder e" : "ShortDecoder d") + "(at, end, pctxt);");
      if (isUniform(type)) w_.line("auto* pvalue = static_cast<" + x + "*>(v);");
      w_.line(std::string("const int status = ") + (enc_ ? "encode_" : "decode_") + x + "(" + c() +
              arguments + ");");
      w_.line("return " + c() + ".result(status);");
      w_.close();
      return w_.text();
   }

   // One body, which goes on wherever in an octet it is.
   std::string structure(const Program& program, const std::string& parameters) {
      const Type& type = *type_;
      const std::string x = recordName(type), arguments = argumentNames(type, enc_);
      const std::string in = std::string(enc_ ? "shortEncIn_" : "shortDecIn_") + x;
      w_.open("int " + in + "(" + (enc_ ? "ShortEncoder& e" : "ShortDecoder& d") + parameters + ") {");
      contents(program);
      w_.line("return 0;");
      w_.close();
      if (!hasShortEntry(type)) return w_.text();
      w_.open(shortDeclaration(type, enc_) + " {");
      if (enc_) {
         w_.line("ShortEncoder e(at, end, pctxt);");
         if (isUniform(type)) w_.line("auto* pvalue = static_cast<" + x + "*>(v);");
         w_.line("return e.result(" + in + "(e" + arguments + "));");
      } else {
         w_.line("return ShortDecoder::structure(at, end, pctxt,");
         w_.line("      [](ShortDecoder& d, void* v) { return " + in + "(d" + targetOf(type) + "); }, " +
                 (isUniform(type) ? "v" : arguments.substr(2)) + ");");
      }
      w_.close();
      return w_.text();
   }

   std::string message(const Type& type) {
      const Program program = lower(type);
      type_ = &type;
      w_.open(std::string("int ") + (enc_ ? "messageEnc_" : "messageDec_") + recordName(type) +
              "(RtxContext* pctxt, void* v" + (enc_ ? ") {" : ", const uint8_t* end) {"));
      w_.line("auto* pvalue = static_cast<" + recordName(type) + "*>(v);");
      w_.line(std::string(enc_ ? "MessageEncoder e" : "MessageDecoder d") + "(pctxt, " +
              tableArguments(type) + ", pvalue" + (enc_ ? ");" : ", end);"));
      clearPresence(type.fields, "");
      clearAppendix(type);
      mandatory(program.steps);
      if (enc_)
         encodeOptional(program);
      else
         scan(program);
      w_.close();
      return w_.text();
   }

private:
   std::string c() const { return enc_ ? "e" : "d"; }
   void attempt(const std::string& call) { w_.line("L3_TRY(" + c() + "." + call + ");"); }
   std::string lvalue(const Step& step) const {
      return step.member.empty() ? enc_ && passing(*type_) == Passing::Value ? "value"
                                   : passing(*type_) == Passing::Value       ? "*pvalue"
                                   : passing(*type_) == Passing::Array       ? "value"
                                                                             : "*pvalue"
                                 : "pvalue->" + step.member;
   }
   // A member of a value that may be the type's own.
   std::string member(const Step& step, const std::string& name) const {
      return "pvalue->" + (step.member.empty() ? "" : step.member + ".") + name;
   }
   std::string value(const Term& term) const { return written(term, "pvalue->", "d.restOctets()"); }
   std::string variable(const std::string& stem) {
      const int n = nextVariable_++;
      return n == 0 ? stem : stem + number(static_cast<uint64_t>(n) + 1);
   }
   std::string codec(const char* word, const Type& type) const {
      return std::string(word) + "<quorva::type::" + recordName(type) + ">(";
   }
   void clearPresence(const std::vector<std::unique_ptr<Field>>& fields, const std::string& place) {
      if (!enc_ && !presenceBits(fields).empty()) w_.line("pvalue->" + place + "m = {};");
   }

   void clearAppendix(const Type& type) {
      if (!enc_ && !appendedFields(type).empty()) w_.line("pvalue->standard.m = {};");
   }

   void contents(const Program& program) {
      const Type& type = *type_;
      if (type.pattern) return high(enc_ ? "value" : "*pvalue");
      if (type.kind == TypeKind::Enum)
         return bare([&] {
            attempt("enumeration<quorva::type::" + recordName(type) + ">(" + (enc_ ? "value" : "*pvalue") +
                    ")");
         });
      if (type.kind != TypeKind::Record) return bare([&] { sequence(program.steps); });
      clearPresence(type.fields, "");
      clearAppendix(type);
      const std::string place = type.bare ? "" : "pvalue->length";
      const unsigned bits = lengthBits(type);
      switch (type.cls) {
      case Class::V: return sequence(program.steps);
      case Class::LB:
         if (enc_) {
            w_.line("ShortEncoder::OpenLength length;");
            attempt("open<" + number(bits) + ">(\"length\", length)");
            sequence(program.steps);
            attempt("closeBits<" + number(bits) + ">(length, " + place + ")");
         } else {
            w_.line("ShortDecoder::Length length;");
            attempt("openBits<" + number(bits) + ">(\"length\", " + place + ", length)");
            sequence(program.steps);
            attempt("closeBits(length)");
         }
         return;
      default: break;
      }
      openLength(bits, "length", place, type.bounds, "length");
      sequence(program.steps);
      if (type.aligned) w_.line(c() + ".align();");
      closeLength(bits, place, type.bare ? Bounds() : type.bounds, "length", type.leaveTail);
      if (type.aligned) w_.line(c() + ".align();");
   }

   // A length on the wire that no record holds, around a value; that of a fixed one must be its octets.
   template <class Body>
   void bare(Body body) {
      const Type& type = *type_;
      if (!type.bare) return body();
      Bounds bounds;
      if (const uint64_t octets = type.kind == TypeKind::Octets ? type.count : type.bits / 8;
          octets != 0 && type.kind != TypeKind::List)
         bounds.low = bounds.high = octets;
      const unsigned bits = type.cls == Class::LVE ? 16 : 8;
      openLength(bits, "length", "", bounds, "length");
      body();
      closeLength(bits, "", Bounds(), "length", false);
   }

   // Place: of the length in the record; empty for a bare one.
   void openLength(unsigned bits, const std::string& name, std::string place, const Bounds& bounds,
                   const std::string& var) {
      w_.line(std::string(enc_ ? "ShortEncoder::OpenLength " : "ShortDecoder::Length ") + var + ";");
      if (enc_) return attempt("open<" + number(bits) + ">(" + quoted(name) + ", " + var + ")");
      if (place.empty()) w_.line(lengthOf(bits) + (place = var + "Octets") + ";");
      attempt("open<" + number(bits) + ">(" + quoted(name) + ", " + place + ", " + limitsText(bounds) + ", " +
              var + ")");
   }
   void closeLength(unsigned bits, std::string place, const Bounds& bounds, const std::string& var,
                    bool keepTail) {
      if (!enc_) return attempt("close(" + var + ")");
      if (place.empty()) w_.line(lengthOf(bits) + (place = var + "Octets") + ";");
      attempt("close<" + number(bits) + (keepTail ? ", true" : "") + ">(" + var + ", " + place + ", " +
              limitsText(bounds) + ")");
   }

   // One bit, H or L.
   void high(const std::string& place) {
      if (enc_) return attempt("highIn((" + place + " & 1) != 0)");
      const std::string var = variable("high");
      w_.line("const int " + var + " = d.highIn();");
      w_.line("L3_TRY(" + var + ");");
      w_.line(place + " = static_cast<uint32_t>(" + var + ");");
   }

   std::string fieldsWord() const { return type_->structure ? "partsIn(" : "fields("; }

   // Steps one behind the other; those of fixed width go together.
   void sequence(const std::vector<Step>& steps) {
      std::string before; // of parts that no bits lead, the first absent one ends the rest
      for (size_t i = 0; i < steps.size();) {
         const bool led = type_->structure && steps[i].when == When::IfMore;
         if (enc_ && led && !before.empty()) {
            w_.open("if (" + before + ") {");
            const std::string own = hasBit(steps[i].present);
            one(steps[i++]);
            w_.close();
            before += " && " + own;
            continue;
         }
         before = led ? hasBit(steps[i].present) : "";
         if (steps[i].run && !steps[i].isOptional()) {
            const size_t first = i;
            unsigned bits = 0;
            while (i < steps.size() && steps[i].run && !steps[i].isOptional() &&
                   bits + contentBits(*steps[i].field) <= kMaxRunBits)
               bits += contentBits(*steps[i++].field);
            run(steps, first, i);
            continue;
         }
         if (enc_ && steps[i].counts != 0) countAhead(steps[i], steps[i + steps[i].counts]);
         one(steps[i++]);
      }
   }

   void run(const std::vector<Step>& steps, size_t first, size_t behind) {
      const std::string head = "L3_TRY(" + c() + "." + fieldsWord();
      if (behind - first == 1) {
         const std::string part = runPart(*steps[first].field, "pvalue->" + steps[first].place, false);
         if (part.size() < 80) return w_.line(head + part + "));");
      }
      w_.line(head);
      for (size_t i = first; i < behind; ++i)
         w_.line("      " + runPart(*steps[i].field, "pvalue->" + steps[i].place, false) +
                 (i + 1 < behind ? "," : "));"));
   }

   // The number of octets of a later string.
   void countAhead(const Step& step, const Step& counted) {
      const std::string string = "pvalue->" + counted.member;
      std::string octets = string + ".numocts";
      if (counted.present) octets = "(" + hasBit(counted.present) + " ? " + octets + " : 0)";
      if (!counted.storage.heap)
         w_.line("if (" + octets + " > sizeof " + string + ".data) return kNotShort;");
      if (step.field->countsPlus != 0) octets += " + " + number(step.field->countsPlus);
      w_.line(lvalue(step) + " = static_cast<" + uintType(step.bits) + ">(" + octets + ");");
   }

   // One step with its option.
   void one(const Step& step) {
      if (step.quits && !enc_) w_.line("if (!d.more()) return kNotShort;");
      if (step.guarded && !enc_) {
         w_.open("if (d.more()) {");
         kind(step);
         if (type_->structure) {
            w_.close("} else {");
            w_.line("   blank(" + lvalue(step) + ");");
            w_.line("}");
            return;
         }
         if (step.op == Op::Call && passing(*step.type) == Passing::TextPointer) {
            w_.close("} else {");
            w_.line("   " + lvalue(step) + " = \"\";");
            w_.line("}");
         } else {
            w_.close();
         }
         return;
      }
      if (!step.isOptional() || step.op == Op::Chain)
         return step.bareAround ? aroundBare(step, false) : kind(step);
      if (step.bareAround) return aroundBare(step, true);
      const std::string bit = hasBit(step.present);
      if (enc_) {
         if (step.when == When::ByBit || step.when == When::ByBitIfMore)
            attempt(type_->structure ? leadWord(step) + "(" + bit + ")"
                                     : "leadBit(\"optional bit\", " + bit + ")");
         w_.open("if (" + bit + ") {");
         kind(step);
         w_.close();
         return;
      }
      std::string condition = step.test.expr != nullptr ? value(step.test) : "d.more()";
      if (step.test.expr != nullptr && step.test.expr->right) // stands in brackets already
         condition = condition.substr(1, condition.size() - 2);
      if (step.when == When::ByBit || step.when == When::ByBitIfMore) {
         const std::string var = variable("present");
         const std::string more = step.when == When::ByBitIfMore ? condition : "";
         if (type_->structure) {
            w_.line("const int " + var + " = " + (more.empty() ? "" : more + " ? ") + "d." + leadWord(step) +
                    "()" + (more.empty() ? "" : " : 0") + ";");
            w_.line("L3_TRY(" + var + ");");
         } else {
            w_.line("uint8_t " + var + " = 0;");
            w_.line((more.empty() ? "" : "if (" + more + ") ") + "L3_TRY(d.leadBit(\"optional bit\", " + var +
                    "));");
         }
         condition = var + " != 0";
      }
      w_.open("if (" + condition + ") {");
      kind(step);
      w_.line(bit + " = 1;");
      orNone(step);
   }
   static std::string leadWord(const Step& step) {
      return step.field->lead == Lead::High ? "highIn" : "bitIn";
   }
   // An optional list that is not there has no entries.
   void orNone(const Step& step) {
      if (step.op != Op::List) return w_.close();
      w_.close("} else {");
      w_.line("   " + member(step, "n") + " = 0;");
      w_.line("}");
   }

   // A bare length is always there; what is left in it tells whether an optional field is.
   void aroundBare(const Step& step, bool optional) {
      const std::string var = variable("bare");
      openLength(step.field->bareBits, "length", "", Bounds(), var);
      if (optional) w_.open(enc_ ? "if (" + hasBit(step.present) + ") {" : "if (d.more()) {");
      kind(step);
      if (optional && enc_) w_.close();
      if (optional && !enc_) {
         w_.line(hasBit(step.present) + " = 1;");
         orNone(step);
      }
      closeLength(step.field->bareBits, "", Bounds(), var, step.field->leaveTail);
   }

   void kind(const Step& step) {
      const std::string name = quoted(step.name);
      if (step.run) return attempt(fieldsWord() + runPart(*step.field, "pvalue->" + step.place, false) + ")");
      switch (step.op) {
      case Op::Flag: return attempt(fieldsWord() + "flag(" + name + ", " + lvalue(step) + "))");
      case Op::Integer:
         return attempt(fieldsWord() + integerWord(step.bits, step.bounds, false) + "(" + name + ", " +
                        lvalue(step) + "))");
      case Op::Constant:
         if (type_->structure) return attempt("zeros(" + number(step.bits) + ")");
         return attempt("constant<" + number(step.bits) + ">(" + name + ", " + number(step.field->number) +
                        ")");
      case Op::Octets:
         return attempt("octets<" + number(step.count) + ">(" + name + ", " + lvalue(step) + ")");
      case Op::Counted:
         return attempt("counted<" + std::string(step.bits == 16 ? "2" : "1") + ">(" + name + ", " +
                        lvalue(step) + (enc_ ? ")" : ", " + limitsText(step.bounds) + ")"));
      case Op::Sized: return sized(step, name, lvalue(step));
      case Op::Bits: return attempt("bits(" + number(step.count) + ", " + lvalue(step) + ")");
      case Op::SizedBits:
         return attempt("sizedBits(" + value(step.argument) + ", " + number(step.storage.capacity) + ", " +
                        lvalue(step) + ")");
      case Op::Unary: return attempt("unary(" + lvalue(step) + ")");
      case Op::Padding: return attempt("padding()");
      case Op::RestBits:
         return attempt((enc_ && step.opensTail ? "tailOfBits(" : "restOfBits(") + name + ", " +
                        lvalue(step) + ")");
      case Op::Nothing: return;
      case Op::Call: return call(step);
      case Op::Contents: return inside(step);
      case Op::Group: clearPresence(step.field->fields, step.member + "."); return sequence(step.steps);
      case Op::List: return list(step);
      case Op::Choice: return choice(step, "");
      case Op::Length: {
         const std::string var = variable("frame");
         if (type_->structure && (step.inBits || step.bits < 8)) return units(step, var);
         const std::string place = step.member.empty() ? "" : lvalue(step);
         openLength(step.bits, step.name, place, step.bounds, var);
         sequence(step.steps);
         closeLength(step.bits, place, place.empty() ? Bounds() : step.bounds, var, step.field->leaveTail);
         return;
      }
      case Op::Span: {
         const std::string start = variable("start");
         w_.line("const size_t " + start + " = " + c() + ".offset();");
         sequence(step.steps);
         return setSpan(lvalue(step), uintType(step.bits), start);
      }
      case Op::Swap:
         for (size_t i = step.steps.size(); i-- > 0;) one(step.steps[i]);
         return;
      case Op::Since: return since(step);
      case Op::Chain: return chain(step);
      case Op::Message:
         return attempt("message<" + (enc_ ? encoderName(*step.type) : decoderName(*step.type)) + ">(&" +
                        lvalue(step) + ")");
      case Op::Pointers: return; // such a type has no short form
      }
   }

   void setSpan(const std::string& place, const std::string& type, const std::string& start) {
      w_.line(place + " = static_cast<" + type + ">((" + c() + ".offset() - " + start + ") / 8);");
   }

   void sized(const Step& step, const std::string& name, const std::string& place) {
      if (!enc_)
         return attempt("sized(" + name + ", " + (step.rest ? "kRest" : value(step.argument)) + ", " + place +
                        ", " + limitsText(step.bounds) + ")");
      if (step.rest || step.byCount)
         return attempt((step.opensTail ? "tail(" : "fill(") + name + ", " + place + ")");
      attempt("sized(" + name + ", " + value(step.argument) + ", " + place + ")");
   }

   // A length that may stand anywhere in an octet, in bits less some or in octets.
   void units(const Step& step, const std::string& var) {
      const std::string form = number(step.bits) + ", " + (step.inBits ? "1" : "8") + ", " +
                               number(step.count) + ", " + var + ", " + lvalue(step) + ")";
      w_.line(std::string(enc_ ? "ShortEncoder::OpenLength " : "ShortDecoder::Length ") + var + ";");
      attempt(enc_ ? "openUnits(" + number(step.bits) + ", " + var + ")" : "openUnits(" + form);
      sequence(step.steps);
      attempt(enc_ ? "closeUnits(" + form : "closeUnits(" + var + ")");
   }

   // What does not tell its size on the wire is coded where its size is known.
   void presized(const Step& step) {
      const Program program = lower(*step.type);
      Step inner = program.steps.front();
      const Term size = step.argument;
      inner.name = step.name;
      inner.member = step.member;
      inner.argument = size;
      if (inner.op == Op::Sized && !enc_) {
         w_.line("if (static_cast<size_t>(" + value(size) + ") > sizeof " + lvalue(step) +
                 ".data) return kNotShort;");
      }
      kind(inner);
   }

   void call(const Step& step) {
      if (step.sizes) {
         if (step.argument.expr != nullptr && !namesOuter(*step.argument.expr)) return presized(step);
         return w_.line("return kNotShort;");
      }
      const Type& base = baseType(*step.type);
      if (base.pattern) return high(lvalue(step));
      if (type_->structure &&
          (!hasShortForm(base) || step.second.expr != nullptr || (!base.structure && base.custom)))
         return w_.line("return kNotShort;");
      std::string argument =
            enc_ ? encodeArgument(*step.type, lvalue(step)) : pointerArgument(*step.type, lvalue(step));
      if (!enc_ && step.argument.expr != nullptr)
         argument += ", static_cast<uint32_t>(" + value(step.argument) + ")";
      if (!enc_ && step.second.expr != nullptr) argument += ", " + value(step.second);
      attempt(codec("item", *step.type) + quoted(step.name) + ", " + argument + ")");
      if (step.field != nullptr && step.field->zeros != 0)
         attempt("zeros(" + number(step.field->zeros) + ")");
   }

   // The contents of another type, without its length.
   void inside(const Step& step) {
      const Type& base = baseType(*step.type);
      if (step.field->ahead != 0) {
         const Step& choice = step.steps.front();
         if (!enc_)
            w_.line("pvalue->" + choice.place + "t = 1 + d.bitAhead(" + number(step.field->ahead) + ");");
         return this->choice(choice, "pvalue->" + choice.place + "t");
      }
      const std::string start = variable("start");
      w_.line("const size_t " + start + " = " + c() + ".offset();");
      clearPresence(base.fields, step.member + ".");
      const std::string var = variable("value");
      if (!enc_) {
         w_.line("ShortDecoder::Length " + var + ";");
         attempt("pushContainer(" + value(step.argument) + ", " + var + ")");
      }
      sequence(step.steps);
      if (!enc_) attempt("close(" + var + ")");
      if (!base.bare) setSpan(member(step, "length"), "decltype(" + member(step, "length") + ")", start);
   }

   void list(const Step& step) {
      const Field* field = step.field;
      std::string body, capture;
      const std::string coder = enc_ ? "e" : "d";
      if (!step.steps.empty()) {
         const Step& entry = step.steps.front();
         if (entry.rest) {
            body = enc_ ? "return e.fill(nullptr, x);" : "return d.sized(nullptr, kRest, x, Limits{});";
         } else {
            body = "return " + coder + ".sized(nullptr, " + value(entry.argument) + ", x" +
                   (enc_ ? ");" : ", Limits{});");
            capture = "&";
         }
      } else if (step.type == nullptr) {
         body = "return " + coder + "." + fieldsWord() + "integer<" + number(step.bits) + ">(nullptr, x));";
      } else if (enc_) {
         body = "return e." + codec("call", *step.type) + encodeArgument(*step.type, "x") + ");";
      } else {
         if (step.entryInits) body = initName(*step.type) + "(&x); ";
         body += "return d." + codec("call", *step.type) + pointerArgument(*step.type, "x") + ");";
      }
      const std::string places = member(step, "n") + ", " + member(step, "elem");
      std::string head = "L3_TRY(" + coder + ".";
      if (step.type != nullptr && type_->structure && !hasShortForm(baseType(*step.type)))
         return w_.line("return kNotShort;");
      if (isLed(step.entries)) return led(step, places, body);
      if (step.entries != Entries::Rest) {
         const bool ext = step.entries == Entries::Ext;
         if (ext && !enc_) declareExt();
         head += std::string(ext ? "repeatExt(" : "repeatFlags(") + quoted(step.name) + ", " + places +
                 (ext && !enc_ ? ", ext," : ",");
      } else {
         const bool octets =
               step.steps.empty() && step.type == nullptr && step.bits == 8 && !step.storage.heap;
         const bool free = field == nullptr ? type_->freeCount : field->freeCount;
         std::string times;
         if (step.argument.expr != nullptr && !(enc_ && free)) times = value(step.argument) + ", ";
         head += std::string(!times.empty() ? "repeatTimes("
                             : octets       ? "repeatOctets("
                                            : "repeat(") +
                 quoted(step.name) + ", " + times + places + ", " + limitsText(step.bounds) + ",";
      }
      w_.line(head);
      w_.line("      [" + capture + "](auto& " + coder + ", auto& x) { " + dependent(body) + " }));");
      if (enc_ && step.opensTail) w_.line("e.setTail();");
   }

   // Each entry led by a bit outside of it.
   void led(const Step& step, const std::string& places, const std::string& body) {
      const char* how = step.entries == Entries::Ones    ? "Led::ByOnes"
                        : step.entries == Entries::Zeros ? "Led::ByZeros"
                                                         : "Led::ByHighs";
      const std::string entry = step.type != nullptr ? recordName(*step.type) : uintType(step.bits);
      w_.line("L3_TRY(" + c() + ".repeatLed(" + how + ", " + places + ",");
      w_.line("      [](" + std::string(enc_ ? "ShortEncoder& e" : "ShortDecoder& d") +
              ", void* v) -> int { auto& x = *static_cast<" + entry + "*>(v); " + body + " }));");
   }

   // In a generic lambda the words with arguments of their own are said to be templates.
   static std::string dependent(std::string body) {
      for (const char* word : {"call<", "fields("})
         if (const size_t at = body.find(word); at != std::string::npos && word[4] == '<')
            body.insert(at, "template ");
      return body;
   }

   // `on`: the selector, if it is known already.
   void choice(const Step& step, std::string on) {
      const Field& field = *step.field;
      const std::string t = "pvalue->" + (field.name.empty() ? step.place : step.member + ".") + "t";
      if (step.patterns) return patterns(step, t);
      if (on.empty() && field.selector == Selector::Field) on = value(step.argument);
      if (on.empty()) {
         on = t;
         if (field.selector == Selector::Bits)
            attempt("selector(" + number(field.bits) + ", " + t + ")");
         else if (!enc_) // no octet tells the arm: the first one, until the caller knows better
            w_.line(t + " = " + number(field.arms.front().values.front().low) + ";");
      }
      w_.open("switch (static_cast<uint32_t>(" + on + ")) {");
      bool hasElse = false;
      for (size_t i = 0; i < field.arms.size(); ++i) {
         for (auto& range : field.arms[i].values)
            w_.line("case " + number(range.low) +
                    (range.high != range.low ? " ... " + number(range.high) : "") + ":");
         if (field.arms[i].isElse) {
            w_.line("default:");
            hasElse = true;
         }
         w_.open("{");
         one(step.steps[i]);
         w_.line("break;");
         w_.close();
      }
      if (!hasElse) w_.line("default: return kNotShort;");
      w_.close();
   }

   // One of the arms, by its own bits.
   void patterns(const Step& step, const std::string& t) {
      const Field& field = *step.field;
      if (!enc_) {
         size_t longest = 0;
         for (auto& arm : field.arms) longest = std::max(longest, arm.pattern.size());
         std::vector<size_t> table(size_t{1} << longest, 0);
         for (size_t i = 0; i < field.arms.size(); ++i) {
            const std::string& pattern = field.arms[i].pattern;
            const size_t first = patternBits(pattern) << (longest - pattern.size());
            for (size_t k = 0; k < size_t{1} << (longest - pattern.size()); ++k)
               table[first + k] = (i + 1) << 4 | pattern.size();
         }
         std::string arms;
         for (size_t entry : table) arms += (arms.empty() ? "" : ", ") + number(entry);
         const std::string var = variable("arms");
         w_.line("static constexpr ArmBits " + var + "[] = {" + arms + "};");
         attempt("pattern<" + std::string(step.high ? "true" : "false") + ">(" + var + ", " + t + ")");
      }
      w_.open("switch (" + t + ") {");
      for (size_t i = 0; i < field.arms.size(); ++i) {
         w_.open("case " + number(i + 1) + ": {");
         if (enc_) {
            const std::string& pattern = field.arms[i].pattern;
            attempt("pattern(" + number(patternBits(pattern)) + ", " + number(pattern.size()) + ", " +
                    (step.high ? "true" : "false") + ")");
         }
         one(step.steps[i]);
         w_.line("break;");
         w_.close();
      }
      w_.line("default: return kNotShort;");
      w_.close();
   }

   // A group of fields that only releases from a certain one on know; its bit is set when all of it has been
   // read.
   void since(const Step& step) {
      const Field& field = *step.field;
      std::string condition = hasBit(step.present);
      if (!enc_) {
         condition = "d.more() && d.knows(" + number(field.number) + ")";
         if (field.needs != 0) {
            // With fewer bits left, all later groups are given up too.
            if (!groups_) w_.line("bool groups = true;");
            groups_ = true;
            w_.line("if (groups && " + condition + ") groups = d.fits(length, " + number(field.needs) + ");");
            condition = "groups && " + condition;
         }
      }
      w_.open("if (" + condition + ") {");
      sequence(step.steps);
      if (!enc_) w_.line(hasBit(step.present) + " = 1;");
      if (!enc_ && field.quits) w_.line("if (d.atEnd()) return d.quit(length);");
      w_.close();
   }

   void declareExt() {
      if (!extDeclared_) w_.line("uint8_t ext = 1;");
      extDeclared_ = true;
   }

   // Octets led by an ext bit: 1 ends the chain.
   void chain(const Step& step) {
      if (enc_) return encodeChain(step.steps, 0);
      const Step& first = step.steps.front();
      declareExt();
      if (step.isOptional()) w_.open("if (d.more()) {");
      chainOctet(first);
      // Without its first octet a chain that skips goes by the ext bit of the chain ahead.
      const bool carries = step.isOptional() && step.field->skip;
      if (carries) w_.close();
      for (size_t i = 1; i < step.steps.size(); ++i) {
         w_.open("if (ext == 0) {");
         chainOctet(step.steps[i]);
      }
      for (size_t i = 1; i < step.steps.size(); ++i) w_.close();
      if (step.field->skip) attempt("skipExtensions(ext)");
      if (step.isOptional() && !carries) w_.close();
   }
   void chainOctet(const Step& step) {
      if (step.op != Op::List) attempt("extBit(" + quoted(step.name) + ", ext)");
      kind(step);
      if (step.present) w_.line(hasBit(step.present) + " = 1;");
   }
   // Does the octet follow? From the record.
   std::string follows(const Step& step) const {
      return step.op == Op::List ? member(step, "n") + " != 0" : hasBit(step.present) + " != 0";
   }
   void encodeChain(const std::vector<Step>& steps, size_t i) {
      if (i >= steps.size()) return;
      const Step& step = steps[i];
      const bool conditional = step.present && step.op != Op::List;
      if (conditional) w_.open("if (" + hasBit(step.present) + ") {");
      if (step.op == Op::List) {
         w_.open("if (" + follows(step) + ") {");
         if (step.field->kind == Kind::Named)
            attempt(codec("item", *step.field->type.type) + quoted(step.name) + ", &" + lvalue(step) + ")");
         else
            list(step);
         w_.close();
      } else {
         attempt("extBit(" + quoted(step.name) + ", " +
                 (i + 1 < steps.size() ? "!(" + follows(steps[i + 1]) + ")" : "true") + ")");
         kind(step);
      }
      encodeChain(steps, i + 1);
      if (conditional) w_.close();
   }

   // Messages: words that tell whether their short form did.

   // A type's codec, a run, or a part in the words of elements.
   std::string item(const Step& step) {
      if (step.run) return "fields(" + runPart(*step.field, "pvalue->" + step.place, false) + ")";
      return codecItem(step) ? codec("item", *step.type) + argument(step) + ")" : "";
   }
   static bool codecItem(const Step& step) {
      return step.op == Op::Call && step.argument.expr == nullptr && !step.isOptional() && !step.guarded &&
             !step.bareAround && step.counts == 0;
   }
   std::string argument(const Step& step) const {
      return enc_ ? encodeArgument(*step.type, lvalue(step)) : pointerArgument(*step.type, lvalue(step));
   }
   template <class Body>
   void part(const std::string& behind, Body body) {
      w_.open(c() + ".part([&](" + (enc_ ? "ShortEncoder& e" : "ShortDecoder& d") + ") -> int {");
      body();
      w_.line("return 0;");
      w_.close("})" + behind);
   }

   void mandatory(const std::vector<Step>& steps) {
      if (steps.empty()) return;
      w_.line("const bool done =");
      for (size_t i = 0; i < steps.size();) {
         const size_t first = i;
         const std::string head = "      " + (first == 0 ? "" : c() + ".at(" + number(first) + ") && ");
         unsigned bits = 0;
         std::string parts;
         while (i < steps.size() && isInRun(steps[i], bits))
            parts += ",\n            " + inRun(steps[i++], bits);
         const Step& step = steps[first];
         const std::string behind = (i > first ? i : i + 1) < steps.size() ? " &&" : ";";
         if (i > first) {
            w_.line(head + c() + ".fields(" + parts.substr(i - first > 1 ? 1 : 14) + ")" + behind);
            continue;
         }
         ++i;
         if (codecItem(step)) {
            w_.line(head + c() + "." + item(step) + behind);
            continue;
         }
         w_.raw("         " + head.substr(6));
         part(behind, [&] {
            if (enc_ && step.counts != 0) countAhead(step, steps[first + step.counts]);
            one(step);
         });
      }
      w_.line("if (!done) [[unlikely]]");
      w_.line("   return " + c() + ".rest();");
   }
   // May the step go with a run of so many bits? Half octets that are swapped do too, the later one first.
   static bool isInRun(const Step& step, unsigned bits) {
      if (step.op == Op::Swap)
         return std::ranges::all_of(step.steps, [&](auto& inner) { return isInRun(inner, bits + 8); });
      return step.run && !step.isOptional() && bits + contentBits(*step.field) <= kMaxRunBits;
   }
   static std::string inRun(const Step& step, unsigned& bits) {
      if (step.op == Op::Swap) {
         std::string parts;
         for (auto& inner : step.steps) parts = inRun(inner, bits) + (parts.empty() ? "" : ", ") + parts;
         return parts;
      }
      bits += contentBits(*step.field);
      return runPart(*step.field, "pvalue->" + step.place, false);
   }

   void encodeOptional(const Program& program) {
      const std::string guard = type_->tailstop ? " && !e.tailOpen()" : "";
      std::string group;
      size_t row = program.steps.size();
      for (auto& step : program.optional) {
         const std::string own = step.group ? hasBit(step.group) : "";
         if (own != group) {
            if (!group.empty()) w_.close();
            if (!own.empty()) w_.open("if (" + own + guard + ") {");
            group = own;
         }
         const std::string place = "e.at(" + number(row++) + ")";
         if (step.op == Op::Integer || (step.op == Op::Call && !hasShortForm(*step.type))) {
            w_.line("if (" + hasBit(step.present) + guard + " && " + place + ") L3_TRY(e.element());");
            continue;
         }
         const std::string head = "if (" + hasBit(step.present) + guard + " && " + place + " && !";
         const std::string iei = hex(step.field->iei, 2);
         const std::string call = "e.optional<" + number(step.field->ieiBits);
         if (step.op == Op::Choice) {
            w_.line(head.substr(0, head.size() - 1));
            w_.raw("       !");
            part(") return e.rest();", [&] {
               attempt("iei(" + iei + ")");
               kind(step);
            });
         } else if (step.op == Op::Call) {
            w_.line(head + call + ", quorva::type::" + recordName(*step.type) + ">(" + iei + ", " +
                    argument(step) + ")) return e.rest();");
         } else {
            w_.line(head + call + ">(" + iei + ")) return e.rest();");
         }
      }
      if (!group.empty()) w_.close();
      w_.line("return e.finish();");
   }

   void scan(const Program& program) {
      if (program.optional.empty()) return w_.line("return d.finish(" + number(type_->shifts ? 1 : 0) + ");");
      unsigned nibbles = 0;
      for (auto& step : program.optional)
         if (step.field->ieiBits == 4) nibbles |= 1u << step.field->iei;
      w_.open("while (d.next<" + std::string(type_->shifts ? "true" : "false") + ">(" + hex(nibbles, 4) +
              ")) {");
      w_.open("switch (d.iei()) {");
      std::set<unsigned> done;
      const auto& optional = program.optional;
      for (size_t k = 0; k < optional.size(); ++k) {
         const unsigned iei = optional[k].field->iei;
         if (!done.insert(iei).second) continue;
         w_.line("case " + hex(iei, 2) + ":");
         for (size_t twin = k; twin < optional.size(); ++twin)
            if (optional[twin].field->iei == iei) decodeOptional(twin, optional[twin]);
         w_.line("   break;");
      }
      w_.close();
      w_.line("d.element();");
      w_.close();
      w_.line("return d.finish();");
   }
   void decodeOptional(size_t k, const Step& step) {
      std::string mark = hasBit(step.present) + " = 1";
      if (step.group) mark = hasBit(step.group) + " = 1, " + mark;
      const std::string head = "   L3_ELEMENT(" + number(k) + ", d.";
      if (step.op == Op::Choice) {
         w_.line("   L3_ELEMENT(" + number(k) + ",");
         w_.raw("            ");
         part(",", [&] { kind(step); });
      } else if (step.op == Op::Nothing) {
         w_.line(head + "nothing(),");
      } else if (step.run && step.field->ieiBits == 4) {
         w_.line(head + "half(" + runPart(*step.field, "pvalue->" + step.place, false) + "),");
      } else {
         w_.line(head + item(step) + ",");
      }
      w_.line("              " + mark + ")");
   }

   bool enc_;
   bool extDeclared_ = false;
   bool groups_ = false; // the decoder's flag of the release groups is declared
   int nextVariable_ = 0;
   const Type* type_ = nullptr;
   Writer w_;
};

std::string prologue(const Module& module, bool encode) {
   Writer w;
   w.line(std::string("// ") + (encode ? "Encoders" : "Decoders") + " of module " + module.name +
          ". Generated by l3c from " + module.file + ".l3d.");
   w.line();
   w.line("#include \"src/" + module.file + "Types.h\"");
   w.line("#include \"src/frame/message.h\"");
   w.line("#include \"src/walk/codec.h\"");
   if (module.isCsn1()) w.line("#include \"quorva/TS44018Misc.h\"");
   if (std::ranges::any_of(module.types, [](auto& type) { return type->kind == TypeKind::Digits; }))
      w.line("#include \"src/frame/digits.h\"");
   w.line();
   w.line("using namespace quorva::frame;");
   w.line();
   w.line("namespace quorva::walk {");
   w.line("extern const Module table_" + module.name + ";");
   w.line("}");
   w.line();
   return w.text();
}

// The holes of what stands around a type's codec.
Holes entryHoles(const Type& type, bool encode) {
   return {{"codec", encode ? encoderName(type) : decoderName(type)},
           {"code", encode ? "encode" : "decode"},
           {"parameters", encode ? encodeParameters(type) : decodeParameters(type)},
           {"arguments", argumentNames(type, encode)},
           {"L3_STREAM", encode ? "L3_TO_STREAM" : "L3_FROM_STREAM"}};
}

// A text of digits is one call.
std::string digitCodec(const Type& type, bool encode) {
   Writer w(entryHoles(type, encode));
   w.fill(R"(
int $codec(RtxContext* pctxt$parameters) {
   $L3_STREAM($codec(pctxt$arguments));
   return $function(pctxt, "$name"$arguments);
}
$short {
   return $function(at, end, pctxt$arguments);
}
)",
          {{"function", encode              ? "encodeDigitText"
                        : type.storage.heap ? "decodeDigitTextToHeap"
                        : type.open         ? "decodeOpenDigitText"
                                            : "decodeDigitText<" + std::to_string(type.count) + ">"},
           {"name", type.name},
           {"short", shortDeclaration(type, encode)}});
   w.line();
   return w.text();
}

// The function of a type that goes by its rows.
std::string entry(const Type& type, bool encode) {
   std::string value = "pvalue";
   switch (passing(type)) {
   case Passing::Nothing: value = "nullptr"; break;
   case Passing::Value: value = encode ? "&value" : "pvalue"; break;
   case Passing::Array: value = encode ? "const_cast<uint8_t*>(value)" : "value"; break;
   case Passing::Text: value = encode ? "const_cast<char*>(value)" : "value"; break;
   case Passing::TextPointer: value = encode ? "&value" : "pvalue"; break;
   case Passing::Pointer: break;
   }
   if (!encode)
      for (auto& parameter :
           baseType(type).kind == TypeKind::Digits ? std::vector<std::string>{"numocts"} : type.parameters)
         value += ", " + cName(parameter);
   Writer w(entryHoles(type, encode));
   w.fill(R"(
int $codec(RtxContext* pctxt$parameters) {
   return quorva::walk::$code(pctxt, $type, $value);
}
)",
          {{"type", tableArguments(type)}, {"value", value}});
   return w.text();
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
      std::string text;
      if (hasMessageForm(*type))
         text = CodecEmitter(encode).message(*type);
      else if (hasShortForm(*type) && type->kind != TypeKind::Alias)
         text = CodecEmitter(encode).type(*type);
      codecs.push_back(text + entry(*type, encode) + "\n");
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
// The rows of one choice of messages, and how they are found.
void messageTable(const std::vector<TableRow>& table, const std::string& name, Writer& w) {
   w.line();
   w.open("static constexpr quorva::frame::MessageRow " + name + "Rows[] = {");
   for (auto& row : table) {
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
      const bool plain = hasMessageForm(message);
      const Type& base = baseType(message);
      const bool one = message.kind == TypeKind::OneElement && isUniform(base) && !leavesContainer(base);
      std::string clear = clearValues(message, "v->");
      if (!clear.empty()) clear = "auto* v = static_cast<" + record + "*>(r); " + clear;
      const auto call = [&](bool encode) {
         const std::string function = encode ? encoderName(message) : decoderName(message);
         const std::string target = (encode && value ? "*" : "") + ("static_cast<" + record) + "*>(r)";
         const std::string arguments = (encode ? "(c, r, " : "(c, r, end, ");
         if (plain && encode)
            return "encodePlain" + arguments + "messageEnc_" + record + ", " + function + ")";
         if (plain)
            return "end != nullptr ? messageDec_" + record + "(c, r, end) : " + function + "(c, " + target +
                   ")";
         if (one)
            return (encode ? "encodeOne<" : "decodeOne<") + ("quorva::type::" + recordName(base)) + ">" +
                   arguments + function + (encode ? ")" : ", " + tableArguments(message) + ")");
         return function + "(c, " + target + ")";
      };
      w.line(std::string("   [](RtxContext* c, void* r, const uint8_t*") + (plain || one ? " end" : "") +
             ") { " + clear + init + "return " + call(false) + "; },");
      w.line("   [](RtxContext* c, void* r) { return " + call(true) + "; }},");
   }
   w.close("};");
   w.line("static constexpr auto " + name + "Index = quorva::frame::indexOf(" + name + "Rows);");
   w.line("extern const quorva::frame::MessageTable " + name + "Messages;");
   w.line("const quorva::frame::MessageTable " + name + "Messages = {" + name + "Rows, &" + name + "Index};");
}

void emitMessages(const Module& module, Outputs& out) {
   Writer w;
   w.line("// Messages of the PDUs of module " + module.name + ". Generated by l3c from " + module.file +
          ".l3d.");
   w.line();
   w.line("#include \"src/" + module.file + "Types.h\"");
   w.line("#include \"src/frame/message.h\"");
   w.line("#include \"src/frame/pdu.h\"");
   w.line();
   w.line("#include <cstring>");
   w.line();
   w.line("using namespace quorva::frame;");
   for (auto& type : module.types) {
      if (!type->table.empty()) messageTable(type->table, "k" + recordName(*type), w);
      if (!type->secondTable.empty())
         messageTable(type->secondTable, "k" + recordName(*type) + "_" + cName(type->second), w);
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
