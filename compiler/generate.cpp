// All outputs of a set of descriptions.

#include "compiler/generate.h"

#include "compiler/emit.h"
#include "compiler/layout.h"
#include "compiler/naming.h"

#include <filesystem>
#include <fstream>
#include <sstream>

namespace l3c {

namespace {

bool sameContents(const std::filesystem::path& path, const std::string& text) {
   std::ifstream in(path, std::ios::binary);
   if (!in) return false;
   std::ostringstream there;
   there << in.rdbuf();
   return there.str() == text;
}

} // namespace

Holes namesOf(const Module& module) {
   return {{"module", module.name}, {"file", module.file}};
}

Holes namesOf(const Type& type) {
   return {{"record", recordName(type)},   {"base", recordName(baseType(type))},
           {"encoder", encoderName(type)}, {"encodeParameters", encodeParameters(type)},
           {"decoder", decoderName(type)}, {"decodeParameters", decodeParameters(type)},
           {"printer", printerName(type)}, {"printParameters", printParameters(type)},
           {"init", initName(type)},       {"sample", sampleName(type)},
           {"rows", tableArguments(type)}};
}

void emitModule(const Model& model, const Module& module, Outputs& out) {
   emitHeader(model, module, out);
   emitTypes(model, module, out);
   emitCodecs(model, module, out);
   emitMessages(module, out);
   emitEnums(model, module, out);
   emitInits(model, module, out);
}

Outputs generate(const Model& model) {
   Outputs out;
   for (auto& module : model.modules) emitModule(model, *module, out);
   emitWalk(model, out);
   emitRegistry(model, out);
   emitVectors(model, out);
   emitSelectorCalls(model, out);
   return out;
}

std::string writeOutputs(const Outputs& outputs, const std::string& folder) {
   namespace fs = std::filesystem;
   for (auto& [name, text] : outputs) {
      const fs::path path = fs::path(folder) / name;
      // A file that is the same keeps its time, so that nothing is compiled again for it.
      if (sameContents(path, text)) continue;
      std::error_code error;
      fs::create_directories(path.parent_path(), error);
      std::ofstream out(path, std::ios::binary);
      out << text;
      if (!out.flush()) return "can't write " + path.string();
   }
   return "";
}

} // namespace l3c
