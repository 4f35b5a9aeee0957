// The registry: every type by name, behind adapters of one signature; and the header of all modules.

#include "compiler/diagnostics.h"
#include "compiler/emit.h"
#include "compiler/layout.h"
#include "compiler/naming.h"

#include <algorithm>
#include <map>
#include <utility>

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

// Digits whose decoder trusts its caller to have room for as many octets as it is told.
bool isInlineDigits(const Type& type) {
   return baseType(type).kind == TypeKind::Digits && passing(type) == Passing::Text;
}

// What a sample builder does.
std::string sampleBody(const Type& type) {
   // One that has no function of its own: straight from the table.
   if (!hasSample(type)) return "return sample(c, " + tableArguments(type) + ");";
   const std::string call = sampleName(type);
   switch (passing(type)) {
   case Passing::Text:
      return "void* v = rtxMemHeapAllocZ(c, sizeof(" + recordName(type) + ")); return v ? " + call +
             "(c, static_cast<char*>(v)) : nullptr;";
   case Passing::TextPointer: return "return textValue(c, " + call + "());";
   default: return "return " + call + "(c);";
   }
}

// Writes the row of a type, and ahead of all rows the functions that it names: plain ones, since closures
// would take twice the time to compile.
void entry(const Type& type, Writer& functions, Writer& rows) {
   const std::string record = recordName(type);
   const bool holds = passing(type) != Passing::Nothing;
   const std::string v = holds ? "void* v" : "void*";
   const auto function = [&](bool exists, const std::string& result, const std::string& name,
                             const std::string& parameters, const std::string& body) -> std::string {
      if (!exists) return "nullptr";
      functions.line(result + " " + name + record + "(" + parameters + ") { " + body + " }");
      return name + record;
   };
   std::string decode = decoderName(type) + "(c" + targetOf(type) + decoderExtras(type) + ")";
   if (isInlineDigits(type))
      decode = "inlineDigits(c, static_cast<char*>(v), sizeof(" + record + "), " + decoderName(type) + ")";
   std::string row = "{\"" + record + "\", " + (holds ? "sizeof(" + record + ")" : "0");
   row += ", " + function(true, "int", "e_", "RtxContext* c, " + v,
                          "return " + encoderName(type) + "(c" + valueOf(type, false) + ");");
   row += ", " + function(hasDecoder(type), "int", "d_", "RtxContext* c, " + v, "return " + decode + ";");
   row += ", " + function(true, "int", "p_", "RtxContext* c, const char* name, const " + v,
                          "return " + printerName(type) + "(c, name" + valueOf(type, true) + ");");
   row += ", " + function(hasInit(type), "int", "i_", "void* v",
                          "return " + initName(type) + "(static_cast<" + record + "*>(v));");
   row += ", " + function(hasRecord(type), "void*", "s_", "RtxContext* c", sampleBody(type));
   rows.line(row + ",");
   // A type by place stands in the figure of what holds it.
   const Type* whole = &type;
   while (whole->placed && whole->owner != nullptr) whole = whole->owner;
   rows.line("   " +
             quotedLines(whole == &type
                               ? explain(type)
                               : "part of " + recordName(*whole) +
                                       (type.presized || type.outer != nullptr ? ", which tells its size\n"
                                                                               : "\n")) +
             "},");
}

// From the registry to the tables of the modules, and back.
void places(const Model& model, const std::vector<const Type*>& sorted, Writer& w) {
   std::map<const Type*, std::pair<size_t, size_t>> places;
   std::map<const Type*, size_t> numbers;
   for (size_t i = 0; i < sorted.size(); ++i) numbers[sorted[i]] = i;
   w.open("const uint16_t registryNumbers[] = {");
   std::vector<size_t> starts;
   for (size_t m = 0, start = 0; m < model.modules.size(); start += model.modules[m++]->types.size()) {
      starts.push_back(start);
      std::string row;
      for (auto& type : model.modules[m]->types) {
         places[type.get()] = {m, places.size() - start};
         row += std::to_string(numbers.at(type.get())) + ", ";
      }
      w.line(row);
   }
   w.close("};");
   w.open("const uint16_t registryStarts[] = {");
   for (size_t start : starts) w.line(std::to_string(start) + ",");
   w.close("};");
   w.open("const TypePlace registryPlaces[] = {");
   for (auto* type : sorted)
      w.line("{" + std::to_string(places.at(type).first) + ", " + std::to_string(places.at(type).second) +
             "},");
   w.close("};");
}

} // namespace

void emitRegistry(const Model& model, Outputs& out) {
   Writer header;
   header.line("/**");
   header.line(" * @file modules.h");
   header.line(" * The headers of all modules. Generated by l3c.");
   header.line(" */");
   header.line("#ifndef QUORVA_MODULES_H");
   header.line("#define QUORVA_MODULES_H");
   header.line();
   std::vector<const Module*> modules;
   for (auto& module : model.modules) modules.push_back(module.get());
   std::sort(modules.begin(), modules.end(), [](auto* a, auto* b) { return a->name < b->name; });
   for (auto* module : modules) header.line("#include \"quorva/" + module->name + ".h\"");
   header.line();
   header.line("#endif");
   out["include/quorva/modules.h"] = header.text();

   Writer w;
   w.line("// Registry of all types. Generated by l3c.");
   w.line();
   w.line("#include \"quorva/modules.h\"");
   w.line("#include \"quorva/rtxMemHeap.h\"");
   w.line("#include \"src/walk/registry.h\"");
   w.line("#include \"src/walk/sample.h\"");
   w.line("#include \"src/walk/table.h\"");
   w.line();
   w.line("namespace quorva::walk {");
   w.line();
   for (auto& module : model.modules) w.line("extern const Module table_" + module->name + ";");
   w.line();
   w.open("const Module* const modules[] = {");
   for (auto& module : model.modules) w.line("&table_" + module->name + ",");
   w.close("};");
   w.line();
   std::vector<const Type*> types;
   for (auto* module : modules)
      for (auto& type : module->types) types.push_back(type.get());
   std::sort(types.begin(), types.end(), [](auto* a, auto* b) { return recordName(*a) < recordName(*b); });
   Writer functions, rows;
   for (auto* type : types) entry(*type, functions, rows);
   w.line("namespace {");
   w.raw(functions.text());
   w.line("} // namespace");
   w.line();
   w.line("const QuorvaType registry[] = {");
   w.raw(rows.text());
   w.line("};");
   w.line("const size_t registrySize = " + std::to_string(types.size()) + ";");
   w.line();
   places(model, types, w);
   w.line();
   w.line("} // namespace quorva::walk");
   out["src/Registry.cpp"] = w.text();
}

} // namespace l3c
