// The registry: every type by name, behind adapters of one signature; and the header of all modules.

#include "compiler/diagnostics.h"
#include "compiler/emit.h"
#include "compiler/layout.h"
#include "compiler/naming.h"

#include <algorithm>
#include <map>

namespace l3c {

namespace {

std::string quotedLines(const std::string& text) {
   std::string quoted;
   for (char c : text) {
      if (c == '\n')
         quoted += "\\n";
      else if (c == '"' || c == '\\')
         quoted += std::string("\\") + c;
      else
         quoted += c;
   }
   return '"' + quoted + '"';
}

// What a decoder is told by its caller besides: a text its octets, a partial list what it is in a sample.
std::string decoderExtras(const Type& type) {
   const Type& base = baseType(type);
   if (base.kind == TypeKind::Digits) return ", octetsLeft(c)";
   std::string extras;
   for (auto& parameter : base.parameters)
      extras += parameter == "octets" ? ", octetsLeft(c)" : parameter == "spareBits" ? ", 0" : ", 1";
   return extras;
}

// How a decoder is called. That of digits in an array trusts its caller to have room for as many octets as it
// is told.
std::string decodeForm(const Type& type) {
   if (baseType(type).kind == TypeKind::Digits && passing(type) == Passing::Text)
      return "inlineDigits(c, static_cast<char*>(v), sizeof($record), $decoder)";
   return "$decoder(c" + targetOf(type) + decoderExtras(type) + ")";
}

// What a sample builder does.
std::string sampleForm(const Type& type) {
   // One that has no function of its own: straight from the table.
   if (!hasSample(type)) return "return sample(c, $rows);";
   switch (passing(type)) {
   case Passing::Text:
      return "void* v = rtxMemHeapAllocZ(c, sizeof($record)); "
             "return v ? $sample(c, static_cast<char*>(v)) : nullptr;";
   case Passing::TextPointer: return "return textValue(c, $sample());";
   default: return "return $sample(c);";
   }
}

// What a type's row says of its octets. A type by place stands in the figure of what holds it.
std::string figureOf(const Type& type) {
   const Type* whole = &type;
   while (whole->placed && whole->owner != nullptr) whole = whole->owner;
   if (whole == &type) return explain(type);
   const bool sized = type.presized || type.outer != nullptr;
   return "part of " + recordName(*whole) + (sized ? ", which tells its size\n" : "\n");
}

// Writes the row of a type, and ahead of all rows the functions that it names: plain ones, since closures
// would take twice the time to compile.
void entry(const Type& type, Writer& functions, Writer& rows) {
   const bool holds = passing(type) != Passing::Nothing;
   const std::string record = recordName(type);
   const auto ifThere = [&](bool there, const char* name) { return there ? name + record : "nullptr"; };
   Writer w(namesOf(type));
   const Holes holes = {
         {"v", holds ? "void* v" : "void*"},         {"value", valueOf(type, false)},
         {"constant", valueOf(type, true)},          {"decode", w.filled(decodeForm(type))},
         {"makeSample", w.filled(sampleForm(type))}, {"size", holds ? "sizeof(" + record + ")" : "0"},
         {"d", ifThere(hasDecoder(type), "d_")},     {"i", ifThere(hasInit(type), "i_")},
         {"s", ifThere(hasRecord(type), "s_")},      {"figure", quotedLines(figureOf(type))}};
   rows.raw(w.filled(R"(
{"$record", $size, e_$record, $d, p_$record, $i, $s,
   $figure},

)",
                     holes));
   w.fill("int e_$record(RtxContext* c, $v) { return $encoder(c$value); }", holes);
   w.fillIf(hasDecoder(type), "int d_$record(RtxContext* c, $v) { return $decode; }", holes);
   w.fill("int p_$record(RtxContext* c, const char* name, const $v) { return $printer(c, name$constant); }",
          holes);
   w.fillIf(hasInit(type), "int i_$record(void* v) { return $init(static_cast<$record*>(v)); }", holes);
   w.fillIf(hasRecord(type), "void* s_$record(RtxContext* c) { $makeSample }", holes);
   functions.raw(w.text());
}

// From the tables of the modules to the registry, where each module begins there, and back.
Holes placesOf(const Model& model, const std::vector<const Type*>& sorted) {
   Writer numbers, starts, places;
   std::map<const Type*, std::string> placeOf;
   std::map<const Type*, size_t> numberOf;
   for (size_t i = 0; i < sorted.size(); ++i) numberOf[sorted[i]] = i;
   for (size_t m = 0; m < model.modules.size(); ++m) {
      starts.line(std::to_string(placeOf.size()) + ",");
      size_t place = 0;
      for (auto& type : model.modules[m]->types) {
         numbers.raw(std::to_string(numberOf.at(type.get())) + ", ");
         placeOf[type.get()] = places.filled("{$module, $place},", {{"module", m}, {"place", place++}});
      }
      numbers.line();
   }
   for (auto* type : sorted) places.line(placeOf.at(type));
   return {{"numbers", numbers.text()}, {"starts", starts.text()}, {"places", places.text()}};
}

} // namespace

void emitRegistry(const Model& model, Outputs& out) {
   std::vector<const Module*> modules;
   for (auto& module : model.modules) modules.push_back(module.get());
   std::ranges::sort(modules, {}, &Module::name);
   std::vector<const Type*> types;
   Writer includes, tables, externs, functions, rows;
   for (auto* module : modules) {
      includes.line("#include \"quorva/" + module->name + ".h\"");
      for (auto& type : module->types) types.push_back(type.get());
   }
   for (auto& module : model.modules) {
      externs.line("extern const Module table_" + module->name + ";");
      tables.line("&table_" + module->name + ",");
   }
   std::ranges::sort(types, {}, [](auto* type) { return recordName(*type); });
   for (auto* type : types) entry(*type, functions, rows);

   Writer header;
   header.fill(R"(
/**
 * @file modules.h
 * The headers of all modules. Generated by l3c.
 */
#ifndef QUORVA_MODULES_H
#define QUORVA_MODULES_H

$includes

#endif
)",
               {{"includes", includes.text()}});
   out["include/quorva/modules.h"] = header.text();

   Writer source(placesOf(model, types));
   source.fill(R"(
// Registry of all types. Generated by l3c.

#include "quorva/modules.h"
#include "quorva/rtxMemHeap.h"
#include "src/walk/registry.h"
#include "src/walk/sample.h"
#include "src/walk/table.h"

namespace quorva::walk {

$externs

const Module* const modules[] = {
   $tables
};

namespace {
$functions
} // namespace

const QuorvaType registry[] = {
$rows
};
const size_t registrySize = $size;

const uint16_t registryNumbers[] = {
   $numbers
};
const uint16_t registryStarts[] = {
   $starts
};
const TypePlace registryPlaces[] = {
   $places
};

} // namespace quorva::walk
)",
               {{"externs", externs.text()},
                {"tables", tables.text()},
                {"functions", functions.text()},
                {"rows", rows.text()},
                {"size", types.size()}});
   out["src/Registry.cpp"] = source.text();
}

} // namespace l3c
