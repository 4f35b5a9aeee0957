// Codecs in short form: the functions of a type and of a message; and the functions that callers see.

#include "compiler/emit.h"
#include "compiler/layout.h"
#include "compiler/naming.h"
#include "compiler/step_text.h"

#include <algorithm>
#include <set>

namespace l3c {

namespace {

// A type that is no message, in one direction.
std::string typeCodec(const Type& type, bool encode) {
   StepText steps(type, encode);
   const Holes holes = {{"contents", steps.contents(lower(type))},
                        {"short", shortDeclaration(type, encode)},
                        {"uniform", isUniform(type)},
                        {"departs", departs(type)},
                        {"target", targetOf(type)},
                        {"v", isUniform(type) ? ", v" : argumentNames(type, encode)}};
   if (!type.structure)
      return steps.text(R"(
L3_INLINE static int ${code}_$record(Short$Coder& $c$parameters) {
   $contents
   return 0;
}
)",
                        holes) +
             (!standsAmongBits(type) ? ""
                                     : steps.text(R"(
int short${Code}In_$record(Short$Coder& $c$parameters) {
   $departs? if ($c.standard()) [[unlikely]] return kNotShort;
   return ${code}_$record($c$arguments);
}
)",
                                                  holes)) +
             steps.text(R"(
$short {
   $departs? if (isStandard(pctxt)) [[unlikely]] return nullptr;
   Short$Coder $c(at, end, pctxt);
   $uniform? auto* pvalue = static_cast<$record*>(v);
   const int status = ${code}_$record($c$arguments);
   return $c.result(status);
}
)",
                        holes);
   // One body, which goes on wherever in an octet it is.
   const std::string in = steps.text(R"(
int short${Code}In_$record(Short$Coder& $c$parameters) {
   $contents
   return 0;
}
)",
                                     holes);
   if (!hasShortEntry(type)) return in;
   return in + steps.text(encode ? R"(
$short {
   ShortEncoder e(at, end, pctxt);
   $uniform? auto* pvalue = static_cast<$record*>(v);
   return e.result(shortEncIn_$record(e$arguments));
}
)"
                                 : R"(
$short {
   return ShortDecoder::structure(at, end, pctxt,
         [](ShortDecoder& d, void* v) { return shortDecIn_$record(d$target); }$v);
}
)",
                          holes);
}

// A message in one direction, in words that tell whether the short form did.
class MessageText {
public:
   MessageText(const Type& type, bool encode) : type_(type), enc_(encode), steps_(type, encode) {}

   std::string run() {
      const Program program = lower(type_);
      return steps_.text(R"(
int message${Code}_$record(RtxContext* pctxt, void* v$parameter) {
   auto* pvalue = static_cast<$record*>(v);
   Message$Coder $c(pctxt, $rows, pvalue$end);
   $clear
   $mandatory
   $optional
}
)",
                         {{"parameter", enc_ ? "" : ", const uint8_t* end"},
                          {"end", enc_ ? "" : ", end"},
                          {"clear", steps_.clearPresence()},
                          {"mandatory", mandatory(program.steps)},
                          {"optional", enc_ ? encodeOptional(program) : scan(program)}});
   }

private:
   // Is one call of another type's codec all there is to the step?
   static bool isItem(const Step& step) {
      return step.op == Op::Call && step.argument.expr == nullptr && !step.isOptional() && !step.guarded &&
             !step.bareAround && step.counts == 0;
   }
   // What is more than that, or has no word.
   std::string part(const Step& step, const std::string& body) const {
      return steps_.phrase(step, R"(
$c.part([&](Short$Coder& $c) -> int {
   $body
   return 0;
}))",
                           {{"body", body}});
   }

   std::string mandatory(const std::vector<Step>& steps) {
      std::vector<std::string> words;
      for (size_t i = 0; i < steps.size();) {
         const Step& step = steps[i];
         std::vector<std::string> parts;
         const std::string at = i == 0 ? "" : steps_.phrase(step, "$c.at($i) && ", {{"i", i}});
         for (unsigned bits = 0; i < steps.size() && isInRun(steps[i], bits);)
            parts.push_back(inRun(steps[i++], bits));
         if (!parts.empty()) {
            words.push_back(steps_.phrase(step, parts.size() == 1 ? "$at$c.fields($parts)" : R"(
$at$c.fields(
   $parts))",
                                          {{"at", at}, {"parts", joined(parts, ",\n")}}));
            continue;
         }
         const std::string word = isItem(step) ? steps_.phrase(step, "$c.item<$type>($argument)")
                                               : part(step, steps_.countAhead(steps, i) + steps_.one(step));
         words.push_back(at + word);
         ++i;
      }
      return words.empty() ? ""
                           : steps_.text(R"(
const bool done =
      $words;
if (!done) [[unlikely]]
   return $c.rest();
)",
                                         {{"words", joined(words, " &&\n")}});
   }
   // May the step go with a run of so many bits? Half octets that are swapped do too, the later one first.
   static bool isInRun(const Step& step, unsigned bits) {
      if (step.op == Op::Swap)
         return std::ranges::all_of(step.steps, [&](auto& inner) { return isInRun(inner, bits + 8); });
      return step.run && !step.isOptional() && bits + step.run <= kMaxRunBits;
   }
   static std::string inRun(const Step& step, unsigned& bits) {
      if (step.op != Op::Swap) {
         bits += step.run;
         return runPart(step, "pvalue->");
      }
      std::vector<std::string> parts;
      for (auto& inner : step.steps) parts.insert(parts.begin(), inRun(inner, bits));
      return joined(parts, ", ");
   }

   std::string encodeOptional(const Program& program) {
      const std::string guard = type_.tailstop ? " && !e.tailOpen()" : "";
      std::string all;
      const auto& steps = program.optional;
      for (size_t i = 0; i < steps.size();) {
         const std::string group = presenceBit(steps[i].group);
         std::string elements;
         for (; i < steps.size() && presenceBit(steps[i].group) == group; ++i)
            elements += encodeElement(steps[i], program.steps.size() + i, guard);
         all += steps_.text(group.empty() ? "$elements" : R"(
if ($group$guard) {
   $elements
}
)",
                            {{"group", group}, {"guard", guard}, {"elements", elements}});
      }
      return all + steps_.text("return e.finish();");
   }
   std::string encodeElement(const Step& step, size_t row, const std::string& guard) {
      const Holes holes = {
            {"there", steps_.phrase(step, "$bit$guard && e.at($row)", {{"guard", guard}, {"row", row}})},
            {"iei", hex(step.iei, 2)},
            {"ieiBits", step.ieiBits}};
      if (step.op == Op::Integer || (step.op == Op::Call && !hasShortForm(*step.type)))
         return steps_.text(step, "if ($there) L3_TRY(e.element());", holes);
      if (step.op == Op::Call)
         return steps_.text(
               step, "if ($there && !e.optional<$ieiBits, $type>($iei, $argument)) return e.rest();", holes);
      if (step.op != Op::Choice)
         return steps_.text(step, "if ($there && !e.optional<$ieiBits>($iei)) return e.rest();", holes);
      const std::string iei = steps_.text(step, "L3_TRY(e.iei($iei));", holes);
      return steps_.text(step, "if ($there && !$part) return e.rest();",
                         {holes.front(), {"part", part(step, iei + steps_.kind(step))}});
   }

   std::string scan(const Program& program) {
      const auto& steps = program.optional;
      if (steps.empty()) return steps_.text(type_.shifts ? "return d.finish(1);" : "return d.finish(0);");
      unsigned nibbles = 0;
      std::set<unsigned> done;
      std::string cases;
      for (auto& step : steps) {
         if (step.ieiBits == 4) nibbles |= 1u << step.iei;
         if (!done.insert(step.iei).second) continue;
         std::string elements;
         for (size_t k = 0; k < steps.size(); ++k)
            if (steps[k].iei == step.iei) elements += decodeElement(steps[k], k);
         cases += steps_.text(R"(
case $iei:
   $elements
   break;
)",
                              {{"iei", hex(step.iei, 2)}, {"elements", elements}});
      }
      return steps_.text(
            R"(
while (d.next<$shifts>($nibbles)) {
   switch (d.iei()) {
      $cases
   }
   d.element();
}
return d.finish();
)",
            {{"shifts", type_.shifts ? "true" : "false"}, {"nibbles", hex(nibbles, 4)}, {"cases", cases}});
   }
   std::string decodeElement(const Step& step, size_t k) {
      const std::string mark = steps_.phrase(step, step.group ? "$group = 1, $bit = 1" : "$bit = 1",
                                             {{"group", presenceBit(step.group)}});
      const char* word = step.op == Op::Nothing ? "d.nothing()"
                         : !step.run            ? "d.item<$type>($argument)"
                         : step.ieiBits == 4    ? "d.half($part)"
                                                : "d.fields($part)";
      return steps_.text(
            step, R"(
L3_ELEMENT($k, $word,
           $mark)
)",
            {{"k", k},
             {"word", step.op == Op::Choice ? part(step, steps_.kind(step)) : steps_.phrase(step, word)},
             {"mark", mark}});
   }

   const Type& type_;
   bool enc_;
   StepText steps_;
};

// A text of digits is one call.
std::string digitCodec(const Type& type, bool encode) {
   return Writer(codecHoles(type, encode))
         .lines(R"(
int $codec(RtxContext* pctxt$parameters) {
   $STREAM($codec(pctxt$arguments));
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
}

// The function of a type that goes by its rows.
std::string entry(const Type& type, bool encode) {
   const char* place = nullptr;
   switch (passing(type)) {
   case Passing::Nothing: place = "nullptr"; break;
   case Passing::Value:
   case Passing::TextPointer: place = encode ? "&value" : "pvalue"; break;
   case Passing::Array: place = encode ? "const_cast<uint8_t*>(value)" : "value"; break;
   case Passing::Text: place = encode ? "const_cast<char*>(value)" : "value"; break;
   case Passing::Pointer: place = "pvalue"; break;
   }
   std::string sizes;
   if (!encode && baseType(type).kind == TypeKind::Digits) sizes = ", numocts";
   if (!encode)
      for (auto& parameter : type.parameters) sizes += ", " + cName(parameter);
   return Writer(codecHoles(type, encode))
         .lines(R"(
int $codec(RtxContext* pctxt$parameters) {
   return quorva::walk::$code(pctxt, $rows, $place$sizes);
}
)",
                {{"place", place}, {"sizes", sizes}});
}

void emitDirection(const Module& module, bool encode, Outputs& out) {
   Writer w(namesOf(module));
   const std::string prologue = w.lines(R"(
// $Coders of module $module. Generated by l3c from $file.l3d.

#include "src/${file}Types.h"
#include "src/frame/message.h"
#include "src/walk/codec.h"
$csn1? #include "quorva/TS44018Misc.h"
$digits? #include "src/frame/digits.h"

using namespace quorva::frame;

namespace quorva::walk {
extern const Module table_$module;
}

)",
                                        {{"Coders", encode ? "Encoders" : "Decoders"},
                                         {"csn1", module.isCsn1()},
                                         {"digits", std::ranges::any_of(module.types, [](auto& type) {
                                             return type->kind == TypeKind::Digits;
                                          })}});
   std::vector<std::string> codecs;
   for (auto& type : module.types) {
      const bool byHand = type->custom || (type->kind == TypeKind::Pdu && !type->table.empty());
      if (byHand || type->kind == TypeKind::Text) continue;
      std::string& codec = codecs.emplace_back();
      if (hasMessageForm(*type))
         codec = MessageText(*type, encode).run();
      else if (type->kind != TypeKind::Digits && hasShortForm(*type) && type->kind != TypeKind::Alias)
         codec = typeCodec(*type, encode);
      codec += (type->kind == TypeKind::Digits ? digitCodec(*type, encode) : entry(*type, encode)) + "\n";
   }
   for (unsigned unit = 0; unit < module.units; ++unit) {
      std::string& text = out["src/" + module.file + (encode ? "Enc" : "Dec") +
                              (unit == 0 ? "" : std::to_string(unit + 1)) + ".cpp"];
      text = prologue;
      for (size_t i = codecs.size() * unit / module.units; i < codecs.size() * (unit + 1) / module.units; ++i)
         text += codecs[i];
   }
}

} // namespace

void emitCodecs(const Model&, const Module& module, Outputs& out) {
   emitDirection(module, true, out);
   emitDirection(module, false, out);
}

} // namespace l3c
