#include "compiler/step_text.h"

#include "compiler/emit.h"
#include "compiler/layout.h"
#include "compiler/naming.h"
#include "compiler/walk.h"

#include <algorithm>

namespace l3c {

Holes codecHoles(const Type& type, bool encode) {
   static const Holes words[] = {
         {{"c", "d"},
          {"code", "decode"},
          {"Code", "Dec"},
          {"Coder", "Decoder"},
          {"STREAM", "L3_FROM_STREAM"}},
         {{"c", "e"}, {"code", "encode"}, {"Code", "Enc"}, {"Coder", "Encoder"}, {"STREAM", "L3_TO_STREAM"}}};
   Holes holes = words[encode ? 1 : 0];
   holes.emplace_back("encode", encode);
   holes.emplace_back("decode", !encode);
   holes.emplace_back("record", recordName(type));
   holes.emplace_back("rows", tableArguments(type));
   holes.emplace_back("codec", encode ? encoderName(type) : decoderName(type));
   holes.emplace_back("parameters", encode ? encodeParameters(type) : decodeParameters(type));
   holes.emplace_back("arguments", argumentNames(type, encode));
   return holes;
}

static std::string integerWord(const Step& step) {
   return Writer().filled(step.bounds.empty() ? "integer<$bits>" : "integer<$bits, $low, $high>",
                          {{"bits", step.bits},
                           {"low", step.bounds.low.value_or(0)},
                           {"high", step.bounds.high.value_or(maxOf(step.bits))}});
}

std::string runPart(const Step& step, const std::string& record) {
   const Writer w({{"name", step.name}, {"place", record + step.member}});
   std::vector<std::string> parts;
   switch (step.op) {
   case Op::Flag: return w.filled(R"(flag("$name", $place))");
   case Op::Integer: return w.filled(R"($integer("$name", $place))", {{"integer", integerWord(step)}});
   case Op::Group:
      for (auto& inner : step.steps) parts.push_back(runPart(inner, record));
      return w.filled(R"(group("$name", $parts))", {{"parts", joined(parts, ", ")}});
   default:
      return w.filled(passing(*step.type) == Passing::Value
                            ? R"(value<quorva::type::$type>("$name", $place))"
                            : R"(record<quorva::type::$type>("$name", $place))",
                      {{"type", recordName(baseType(*step.type))}});
   }
}

std::string presenceBit(const BitPlace& bit) {
   return bit ? "pvalue->" + bit.record + "m." + bit.name : "";
}

StepText::StepText(const Type& type, bool encode) : type_(type), enc_(encode) {
   Holes holes = codecHoles(type, encode);
   holes.emplace_back("fields", type.structure ? "partsIn" : "fields");
   holes.emplace_back("Length", encode ? "ShortEncoder::OpenLength" : "ShortDecoder::Length");
   forms_ = Writer(std::move(holes));
}

// The member, or all of the type's own value.
std::string StepText::placeOf(const Step& step) const {
   if (!step.member.empty()) return "pvalue->" + step.member;
   const Passing how = passing(type_);
   return how == Passing::Array || (enc_ && how == Passing::Value) ? "value" : "*pvalue";
}

std::optional<std::string> StepText::ofStep(const Step& step, std::string_view name) const {
   const auto in = [&] { return "pvalue->" + step.member + (step.member.empty() ? "" : "."); };
   if (name == "name") return step.name.empty() ? "nullptr" : "\"" + step.name + "\"";
   if (name == "place") return placeOf(step);
   if (name == "in") return in(); // what stands ahead of the place's members
   if (name == "entries") return in() + "n, " + in() + "elem";
   if (name == "bit") return presenceBit(step.present);
   if (name == "bits") return std::to_string(step.bits);
   if (name == "uint") return uintType(step.bits);
   if (name == "number") return std::to_string(step.number);
   if (name == "needs") return std::to_string(step.needs);
   if (name == "zeros") return std::to_string(step.zeros);
   if (name == "ahead") return std::to_string(step.ahead);
   if (name == "high") return step.high ? "true" : "false";
   if (name == "count") return std::to_string(step.count);
   if (name == "capacity") return std::to_string(step.storage.capacity);
   if (name == "integer") return integerWord(step);
   if (name == "limits") return limitsText(step.bounds);
   if (name == "size") return value(step.argument);
   if (name == "part") return runPart(step, "pvalue->");
   if (name == "type") return "quorva::type::" + recordName(*step.type);
   if (name == "argument")
      return enc_ ? encodeArgument(*step.type, placeOf(step)) : pointerArgument(*step.type, placeOf(step));
   return std::nullopt;
}

std::string StepText::text(const Step& step, std::string_view form, const Holes& holes) const {
   return forms_.lines(form, holes, [&](std::string_view name) { return ofStep(step, name); });
}
std::string StepText::phrase(const Step& step, std::string_view form, const Holes& holes) const {
   return forms_.filled(form, holes, [&](std::string_view name) { return ofStep(step, name); });
}

std::string StepText::variable(const char* stem) {
   return ++variables_ == 1 ? stem : stem + std::to_string(variables_);
}

std::string StepText::clearPresence() const {
   return text(R"(
$bits? pvalue->m = {};
$appendix? pvalue->standard.m = {};
)",
               {{"bits", !enc_ && !presenceBits(type_.fields).empty()},
                {"appendix", !enc_ && !appendedFields(type_).empty()}});
}

std::string StepText::contents(const Program& program) {
   if (type_.pattern) return high(enc_ ? "value" : "*pvalue");
   if (type_.kind == TypeKind::Enum)
      return bare(text("L3_TRY($c.enumeration<quorva::type::$record>($value));",
                       {{"value", enc_ ? "value" : "*pvalue"}}));
   const std::string steps = sequence(program.steps);
   if (type_.kind != TypeKind::Record) return bare(steps);
   if (type_.cls == Class::V) return clearPresence() + steps;
   const unsigned bits = lengthBits(type_);
   if (type_.cls == Class::LB)
      return clearPresence() + text(R"(
$Length length;
$encode? L3_TRY(e.open<$bits>("length", length));
$decode? L3_TRY(d.openBits<$bits>("length", pvalue->length, length));
$steps
$encode? L3_TRY(e.closeBits<$bits>(length, pvalue->length));
$decode? L3_TRY(d.closeBits(length));
)",
                                    {{"bits", bits}, {"steps", steps}});
   const std::string align = type_.aligned ? text("$c.align();") : "";
   const std::string place = type_.bare ? "" : "pvalue->length";
   return clearPresence() + around({bits, place, type_.bounds, type_.leaveTail}, steps + align) + align;
}

// A length on the wire that no record holds, around a value.
std::string StepText::bare(const std::string& body) const {
   return type_.bare ? around({type_.cls == Class::LVE ? 16u : 8u, "", boundsOfBare(type_)}, body) : body;
}

std::string StepText::block(const std::string& condition, const std::string& body) const {
   return text("if ($condition) {\n   $body\n}", {{"condition", condition}, {"body", body}});
}

// A length in octets, and what it is of. Encoders see to the bounds of one that is in the record.
std::string StepText::around(const Length& length, const std::string& body) const {
   const bool bare = length.place.empty();
   return text(enc_ ? R"(
ShortEncoder::OpenLength $var;
L3_TRY(e.open<$bits>("$name", $var));
$body
$bare? $uint $place;
L3_TRY(e.close<$bits$keepTail>($var, $place, $closing));
)"
                    : R"(
ShortDecoder::Length $var;
$bare? $uint $place;
L3_TRY(d.open<$bits>("$name", $place, $limits, $var));
$body
L3_TRY(d.close($var));
)",
               {{"var", length.var},
                {"bits", length.bits},
                {"name", length.name},
                {"place", bare ? length.var + "Octets" : length.place},
                {"bare", bare},
                {"uint", uintType(length.bits)},
                {"limits", limitsText(length.bounds)},
                {"closing", limitsText(bare ? Bounds() : length.bounds)},
                {"keepTail", length.keepTail ? ", true" : ""},
                {"body", body}});
}

// What the record has the number of octets of.
std::string StepText::span(const std::string& start, const std::string& place, const std::string& type,
                           const std::string& body) const {
   return text(R"(
const size_t $start = $c.offset();
$body
$place = static_cast<$type>(($c.offset() - $start) / 8);
)",
               {{"start", start}, {"place", place}, {"type", type}, {"body", body}});
}

// One bit, H or L.
std::string StepText::high(const std::string& place) {
   return text(enc_ ? "L3_TRY(e.highIn(($place & 1) != 0));" : R"(
const int $high = d.highIn();
L3_TRY($high);
$place = static_cast<uint32_t>($high);
)",
               {{"place", place}, {"high", enc_ ? "" : variable("high")}});
}

// Steps one behind the other; those of fixed width go together.
std::string StepText::sequence(const std::vector<Step>& steps) {
   std::string all;
   std::string before; // of parts that no bits lead, the first absent one ends the rest
   for (size_t i = 0; i < steps.size();) {
      const Step& step = steps[i];
      const bool alone = type_.structure && step.when == When::IfMore;
      if (enc_ && alone && !before.empty()) {
         all += block(before, one(step));
         before += " && " + presenceBit(step.present);
         ++i;
         continue;
      }
      before = alone ? presenceBit(step.present) : "";
      if (step.run && !step.isOptional()) {
         all += run(steps, i);
         continue;
      }
      all += countAhead(steps, i) + one(step);
      ++i;
   }
   return all;
}

std::string StepText::run(const std::vector<Step>& steps, size_t& i) const {
   std::vector<std::string> parts;
   unsigned bits = 0;
   do {
      bits += steps[i].run;
      parts.push_back(runPart(steps[i], "pvalue->"));
      ++i;
   } while (i < steps.size() && steps[i].run && !steps[i].isOptional() && bits + steps[i].run <= kMaxRunBits);
   const bool fits = parts.size() == 1 && parts[0].size() < 80;
   return text(fits ? "L3_TRY($c.$fields($parts));" : R"(
L3_TRY($c.$fields(
      $parts));
)",
               {{"parts", joined(parts, ",\n")}});
}

std::string StepText::countAhead(const std::vector<Step>& steps, size_t i) const {
   const Step& step = steps[i];
   if (!enc_ || step.counts == 0) return "";
   const Step& string = steps[i + step.counts];
   const uint64_t plus = step.countsPlus;
   return text(step, R"(
$fixed? if ($octets > sizeof $string.data) return kNotShort;
$place = static_cast<$uint>($octets$plus);
)",
               {{"fixed", !string.storage.heap},
                {"string", placeOf(string)},
                {"octets", phrase(string, string.present ? "($bit ? $place.numocts : 0)" : "$place.numocts")},
                {"plus", plus != 0 ? " + " + std::to_string(plus) : ""}});
}

std::string StepText::one(const Step& step) {
   const std::string quit = !enc_ && step.quits ? text("if (!d.more()) return kNotShort;") : "";
   if (!enc_ && step.guarded && !step.bareAround) {
      const bool isText = step.op == Op::Call && passing(*step.type) == Passing::TextPointer;
      return quit +
             text(step, R"(
if (d.more()) {
   $kind
$blank? } else {
$blank?    blank($place);
$empty? } else {
$empty?    $place = "";
}
)",
                  {{"kind", kind(step)}, {"blank", type_.structure}, {"empty", isText && !type_.structure}});
   }
   const bool optional = step.isOptional() && step.op != Op::Chain;
   const std::string bit = presenceBit(step.present);
   if (step.bareAround) { // the length is always there; what is left in it tells whether the field is
      const std::string var = variable("bare");
      return quit + around({step.bareAround, "", Bounds(), step.keepsTail, var},
                           optional ? there(step, enc_ ? bit : "d.more()") : kind(step));
   }
   if (!optional) return quit + kind(step);
   const std::string test =
         step.test.expr == nullptr ? "d.more()" : condition(step.test, "pvalue->", "d.restOctets()");
   if (step.isLed()) return quit + led(step, test);
   return quit + there(step, enc_ ? bit : test);
}

// An optional step with a bit ahead, if any bit is left.
std::string StepText::led(const Step& step, const std::string& test) {
   const bool perhaps = step.when == When::ByBitIfMore;
   const std::string present = enc_ ? presenceBit(step.present) : variable("present");
   const std::string there = this->there(step, enc_ ? present : present + " != 0");
   if (type_.structure)
      return text(R"(
$encode? L3_TRY(e.$bitIn($present));
$decode? const int $present = ${if}d.$bitIn()$else;
$decode? L3_TRY($present);
$there
)",
                  {{"bitIn", step.high ? "highIn" : "bitIn"},
                   {"present", present},
                   {"if", perhaps ? test + " ? " : ""},
                   {"else", perhaps ? " : 0" : ""},
                   {"there", there}});
   return text(R"(
$encode? L3_TRY(e.leadBit("optional bit", $present));
$decode? uint8_t $present = 0;
$decode? ${if}L3_TRY(d.leadBit("optional bit", $present));
$there
)",
               {{"present", present}, {"if", perhaps ? "if (" + test + ") " : ""}, {"there", there}});
}

// An optional step. A list that is not there has no entries.
std::string StepText::there(const Step& step, const std::string& condition) {
   return text(step, R"(
if ($condition) {
   $kind
   $decode? $bit = 1;
$list? } else {
$list?    ${in}n = 0;
}
)",
               {{"condition", condition}, {"kind", kind(step)}, {"list", !enc_ && step.op == Op::List}});
}

std::string StepText::kind(const Step& step) {
   if (step.run) return text(step, "L3_TRY($c.$fields($part));");
   switch (step.op) {
   case Op::Flag: return text(step, "L3_TRY($c.$fields(flag($name, $place)));");
   case Op::Integer: return text(step, "L3_TRY($c.$fields($integer($name, $place)));");
   case Op::Constant:
      if (type_.structure) return text(step, "L3_TRY($c.zeros($bits));");
      return text(step, "L3_TRY($c.constant<$bits>($name, $number));");
   case Op::Octets: return text(step, "L3_TRY($c.octets<$count>($name, $place));");
   case Op::Counted:
      return text(step,
                  enc_ ? "L3_TRY(e.counted<$octets>($name, $place));"
                       : "L3_TRY(d.counted<$octets>($name, $place, $limits));",
                  {{"octets", step.bits / 8}});
   case Op::Sized:
      if (!enc_)
         return text(step, step.rest ? "L3_TRY(d.sized($name, kRest, $place, $limits));"
                                     : "L3_TRY(d.sized($name, $size, $place, $limits));");
      return text(step, !step.rest && !step.byCount ? "L3_TRY(e.sized($name, $size, $place));"
                        : step.opensTail            ? "L3_TRY(e.tail($name, $place));"
                                                    : "L3_TRY(e.fill($name, $place));");
   case Op::Bits: return text(step, "L3_TRY($c.bits($count, $place));");
   case Op::SizedBits: return text(step, "L3_TRY($c.sizedBits($size, $capacity, $place));");
   case Op::Unary: return text(step, "L3_TRY($c.unary($place));");
   case Op::Padding: return text(step, "L3_TRY($c.padding());");
   case Op::RestBits:
      return text(step, enc_ && step.opensTail ? "L3_TRY(e.tailOfBits($name, $place));"
                                               : "L3_TRY($c.restOfBits($name, $place));");
   case Op::Nothing: return "";
   case Op::Call: return call(step);
   case Op::Contents: return inside(step);
   case Op::Group:
      return text(
            step, R"(
$clear? ${in}m = {};
$steps
)",
            {{"clear", !enc_ && !presenceBits(step.field->fields).empty()}, {"steps", sequence(step.steps)}});
   case Op::List: return list(step);
   case Op::Choice: return choice(step, "");
   case Op::Length: return length(step);
   case Op::Span: {
      const std::string start = variable("start");
      return span(start, placeOf(step), uintType(step.bits), sequence(step.steps));
   }
   case Op::Swap: {
      std::string all;
      for (size_t i = step.steps.size(); i-- > 0;) all += one(step.steps[i]);
      return all;
   }
   case Op::Since: return since(step);
   case Op::Chain: return chain(step);
   case Op::Message:
      return text(step, "L3_TRY($c.message<$function>(&$place));",
                  {{"function", enc_ ? encoderName(*step.type) : decoderName(*step.type)}});
   case Op::Pointers: return ""; // such a type has no short form
   }
   return "";
}

std::string StepText::length(const Step& step) {
   const std::string var = variable("frame"), steps = sequence(step.steps);
   if (type_.structure && (step.inBits || step.bits < 8)) // may stand anywhere in an octet
      return text(step,
                  enc_ ? R"(
ShortEncoder::OpenLength $var;
L3_TRY(e.openUnits($bits, $var));
$steps
L3_TRY(e.closeUnits($bits, $unit, $count, $var, $place));
)"
                       : R"(
ShortDecoder::Length $var;
L3_TRY(d.openUnits($bits, $unit, $count, $var, $place));
$steps
L3_TRY(d.closeUnits($var));
)",
                  {{"var", var}, {"unit", step.inBits ? 1 : 8}, {"steps", steps}});
   const std::string place = step.member.empty() ? "" : placeOf(step);
   return around({step.bits, place, step.bounds, step.keepsTail, var, step.name}, steps);
}

// What does not tell its size on the wire is coded where its size is known.
std::string StepText::presized(const Step& step) {
   Step inner = lower(*step.type).steps.front();
   inner.name = step.name;
   inner.member = step.member;
   inner.argument = step.argument;
   return text(inner, R"(
$sized? if (static_cast<size_t>($size) > sizeof $place.data) return kNotShort;
$kind
)",
               {{"sized", !enc_ && inner.op == Op::Sized}, {"kind", kind(inner)}});
}

std::string StepText::call(const Step& step) {
   const bool sized = step.argument.expr != nullptr, twice = step.second.expr != nullptr;
   if (step.sizes && sized && !namesOuter(*step.argument.expr)) return presized(step);
   if (step.sizes) return text("return kNotShort;");
   const Type& base = baseType(*step.type);
   if (base.pattern) return high(placeOf(step));
   if (type_.structure && !hasShortPart(base, twice)) return text("return kNotShort;");
   return text(step, R"(
L3_TRY($c.item<$type>($name, $argument$parameter$second));
$zeros? L3_TRY($c.zeros($zeros));
)",
               {{"parameter", !enc_ && sized ? phrase(step, ", static_cast<uint32_t>($size)") : ""},
                {"second", !enc_ && twice ? ", " + value(step.second) : ""}});
}

// The contents of another type, without its length.
std::string StepText::inside(const Step& step) {
   if (step.ahead != 0) {
      const Step& within = step.steps.front();
      const std::string selector = "pvalue->" + within.place + "t";
      return text(step, R"(
$decode? $selector = 1 + d.bitAhead($ahead);
$choice
)",
                  {{"selector", selector}, {"choice", choice(within, selector)}});
   }
   const Type& base = baseType(*step.type);
   const std::string start = variable("start"), var = variable("value");
   const std::string body = text(step, R"(
$clear? ${in}m = {};
$decode? ShortDecoder::Length $var;
$decode? L3_TRY(d.pushContainer($size, $var));
$steps
$decode? L3_TRY(d.close($var));
)",
                                 {{"clear", !enc_ && !presenceBits(base.fields).empty()},
                                  {"var", var},
                                  {"steps", sequence(step.steps)}});
   const std::string place = phrase(step, "${in}length");
   return base.bare ? body : span(start, place, "decltype(" + place + ")", body);
}

std::string StepText::list(const Step& step) {
   if (step.type != nullptr && type_.structure && !hasShortForm(baseType(*step.type)))
      return text("return kNotShort;");
   if (isLed(step.entries))
      return text(step, R"(
L3_TRY($c.repeatLed(Led::$how, $entries,
      [](Short$Coder& $c, void* v) -> int { auto& x = *static_cast<$entry*>(v); $body }));
)",
                  {{"how", step.entries == Entries::Ones    ? "ByOnes"
                           : step.entries == Entries::Zeros ? "ByZeros"
                                                            : "ByHighs"},
                   {"entry", step.type != nullptr ? recordName(*step.type) : uintType(step.bits)},
                   {"body", entry(step, "call")}});
   const bool isFree = enc_ && step.freeCount;
   const bool octets = step.steps.empty() && step.type == nullptr && step.bits == 8 && !step.storage.heap;
   const bool extends = step.entries == Entries::Ext;
   return text(step, R"(
$ext
L3_TRY($c.$repeat,
      [$capture](auto& $c, auto& x) { $body }));
$tail? e.setTail();
)",
               {{"ext", extends && !enc_ ? declareExt() : ""},
                {"repeat", phrase(step, extends && enc_                  ? "repeatExt($name, $entries"
                                        : extends                        ? "repeatExt($name, $entries, ext"
                                        : step.entries == Entries::Flags ? "repeatFlags($name, $entries"
                                        : step.argument.expr != nullptr && !isFree
                                              ? "repeatTimes($name, $size, $entries, $limits"
                                        : octets ? "repeatOctets($name, $entries, $limits"
                                                 : "repeat($name, $entries, $limits")},
                {"capture", step.steps.empty() || step.steps.front().rest ? "" : "&"},
                {"body", entry(step, "template call")},
                {"tail", enc_ && step.opensTail}});
}

// What codes an entry x. In a generic function a word with arguments of its own is said to be a
// template.
std::string StepText::entry(const Step& step, const char* call) const {
   if (!step.steps.empty() && step.steps.front().rest)
      return enc_ ? "return e.fill(nullptr, x);" : "return d.sized(nullptr, kRest, x, Limits{});";
   if (!step.steps.empty())
      return phrase(step.steps.front(), enc_ ? "return e.sized(nullptr, $size, x);"
                                             : "return d.sized(nullptr, $size, x, Limits{});");
   if (step.type == nullptr) return phrase(step, "return $c.$fields(integer<$bits>(nullptr, x));");
   const bool inits = !enc_ && step.entryInits;
   return phrase(step, inits ? "$init(&x); return d.$call<$type>($x);" : "return $c.$call<$type>($x);",
                 {{"init", initName(*step.type)},
                  {"call", call},
                  {"x", enc_ ? encodeArgument(*step.type, "x") : pointerArgument(*step.type, "x")}});
}

// `on`: the selector, if it is known already.
std::string StepText::choice(const Step& step, const std::string& on) {
   const std::string t = "pvalue->" + (step.name.empty() ? step.place : step.member + ".") + "t";
   if (step.hasPatterns()) return patterns(step, t);
   std::string arms;
   bool hasElse = false;
   for (const Step& inner : step.steps) {
      std::string cases;
      for (auto& range : inner.arm->values)
         cases += text(range.low == range.high ? "case $low:" : "case $low ... $high:",
                       {{"low", range.low}, {"high", range.high}});
      arms += text(R"(
$cases
$else? default:
{
   $step
   break;
}
)",
                   {{"cases", cases}, {"else", inner.arm->isElse}, {"step", one(inner)}});
      hasElse = hasElse || inner.arm->isElse;
   }
   const bool steered = !on.empty() || step.selector == Selector::Field;
   const bool coded = !steered && step.selector == Selector::Bits;
   // Where no octet tells the arm it is the first one, until the caller knows better.
   const auto& first = step.steps.front().arm->values;
   return text(R"(
$coded? L3_TRY($c.selector($bits, $t));
$assumed? $t = $first;
switch (static_cast<uint32_t>($on)) {
   $arms
   $noElse? default: return kNotShort;
}
)",
               {{"coded", coded},
                {"assumed", !enc_ && !steered && !coded},
                {"bits", step.bits},
                {"t", t},
                {"first", first.empty() ? 0 : first.front().low},
                {"on", !on.empty() ? on
                       : steered   ? value(step.argument)
                                   : t},
                {"arms", arms},
                {"noElse", !hasElse}});
}

// One of the arms, by its own bits.
std::string StepText::patterns(const Step& step, const std::string& selector) {
   const std::string table = enc_ ? "" : variable("arms");
   size_t longest = 0;
   for (const Step& inner : step.steps) longest = std::max(longest, inner.arm->pattern.size());
   std::vector<std::string> found(size_t{1} << longest, "0");
   std::string arms;
   for (size_t i = 0; i < step.steps.size(); ++i) {
      const std::string& pattern = step.steps[i].arm->pattern;
      const size_t bits = patternBits(pattern), spare = longest - pattern.size();
      for (size_t k = 0; k < size_t{1} << spare; ++k)
         found[(bits << spare) + k] = std::to_string((i + 1) << 4 | pattern.size());
      arms += text(step, R"(
case $i: {
   $encode? L3_TRY(e.pattern($bits, $size, $high));
   $step
   break;
}
)",
                   {{"i", i + 1}, {"bits", bits}, {"size", pattern.size()}, {"step", one(step.steps[i])}});
   }
   return text(step, R"(
$decode? static constexpr ArmBits $table[] = {$found};
$decode? L3_TRY(d.pattern<$high>($table, $t));
switch ($t) {
   $arms
   default: return kNotShort;
}
)",
               {{"table", table}, {"found", joined(found, ", ")}, {"t", selector}, {"arms", arms}});
}

// A group of fields that only releases from a certain one on know; its bit is set when all of it has
// been read. With fewer bits left than one needs, all later groups are given up too.
std::string StepText::since(const Step& step) {
   const bool needs = step.needs != 0, first = needs && !groups_;
   groups_ = groups_ || needs;
   if (enc_) return block(presenceBit(step.present), sequence(step.steps));
   return text(step, R"(
$first? bool groups = true;
$needs? if (groups && d.more() && d.knows($number)) groups = d.fits(length, $needs);
if (${groups}d.more() && d.knows($number)) {
   $steps
   $bit = 1;
   $returns? if (d.atEnd()) return d.quit(length);
}
)",
               {{"first", first},
                {"groups", needs ? "groups && " : ""},
                {"steps", sequence(step.steps)},
                {"returns", step.returns}});
}

std::string StepText::declareExt() {
   if (extDeclared_) return "";
   extDeclared_ = true;
   return text("uint8_t ext = 1;");
}

// Octets led by an ext bit: 1 ends the chain.
std::string StepText::chain(const Step& step) {
   if (enc_) return encodeChain(step.steps, 0);
   const std::string ext = declareExt();
   std::vector<std::string> octets;
   for (auto& octet : step.steps)
      octets.push_back(
            text(octet, R"(
$ext? L3_TRY(d.extBit($name, ext));
$kind
$there? $bit = 1;
)",
                 {{"ext", octet.op != Op::List}, {"kind", kind(octet)}, {"there", bool(octet.present)}}));
   std::string later;
   for (size_t i = octets.size(); --i > 0;) later = block("ext == 0", octets[i] + later);
   if (!step.skips)
      return ext + (step.isOptional() ? block("d.more()", octets[0] + later) : octets[0] + later);
   // Without its first octet a chain that skips goes by the ext bit of the chain ahead.
   return ext + (step.isOptional() ? block("d.more()", octets[0]) : octets[0]) + later +
          text("L3_TRY(d.skipExtensions(ext));");
}

// The octets from the i-th on, as the record has them.
std::string StepText::encodeChain(const std::vector<Step>& steps, size_t i) {
   if (i == steps.size()) return "";
   const auto follows = [&](const Step& octet) {
      return phrase(octet, octet.op == Op::List ? "${in}n != 0" : "$bit != 0");
   };
   const Step& step = steps[i];
   if (step.op == Op::List) {
      const Type* type = step.list;
      const std::string octets = type == nullptr
                                       ? list(step)
                                       : text(step, "L3_TRY(e.item<quorva::type::$list>($name, &$place));",
                                              {{"list", recordName(*type)}});
      return block(follows(step), octets) + encodeChain(steps, i + 1);
   }
   const std::string octets =
         text(step, R"(
L3_TRY(e.extBit($name, $last));
$kind
$later
)",
              {{"last", i + 1 < steps.size() ? "!(" + follows(steps[i + 1]) + ")" : "true"},
               {"kind", kind(step)},
               {"later", encodeChain(steps, i + 1)}});
   return step.present ? block(presenceBit(step.present), octets) : octets;
}

} // namespace l3c
