// l3c: descriptions to records, codecs, printers, initialisers, samples and tables.
#include "compiler/diagnostics.h"
#include "compiler/generate.h"
#include "compiler/lexer.h"

#include <cstdio>
#include <exception>
#include <fstream>
#include <iostream>
#include <map>
#include <sstream>

namespace {

const char usage[] = "usage: l3c --out DIR [--units FILE=N]… FILE.l3d…   write the sources of all modules\n"
                     "       l3c --check FILE.l3d…                       read and check\n"
                     "       l3c --format FILE.l3d…                      rewrite in the canonical layout\n"
                     "       l3c --explain TYPE FILE.l3d…                draw a type as the standards do\n"
                     "       l3c --list FILE.l3d…                        tell what is there, for scripts\n";

enum class Job { Check, Out, Format, Explain, List };

struct Command {
   Job job = Job::Check;
   std::string target;                    // folder of Out, type of Explain
   std::map<std::string, unsigned> units; // translation units by the name of the generated files
   std::vector<std::string> paths;
};

bool parseUnits(const std::string& word, Command& command) {
   size_t at = word.find('=');
   uint64_t count;
   if (at == std::string::npos || !l3c::parseNumber(word.substr(at + 1), count) || count < 1 || count > 99)
      return false;
   command.units[word.substr(0, at)] = static_cast<unsigned>(count);
   return true;
}

bool parseCommand(const std::vector<std::string>& words, Command& command) {
   for (size_t i = 0; i < words.size(); ++i) {
      const std::string& word = words[i];
      const bool more = i + 1 < words.size();
      if (word == "--check") {
         command.job = Job::Check;
      } else if (word == "--format") {
         command.job = Job::Format;
      } else if (word == "--list") {
         command.job = Job::List;
      } else if (word == "--explain" && more) {
         command.job = Job::Explain;
         command.target = words[++i];
      } else if (word == "--out" && more) {
         command.job = Job::Out;
         command.target = words[++i];
      } else if (word == "--units" && more) {
         if (!parseUnits(words[++i], command)) return false;
      } else if (word.starts_with("--")) {
         return false;
      } else {
         command.paths.push_back(word);
      }
   }
   return !command.paths.empty();
}

int fail(const std::string& sentence) {
   std::cerr << "l3c: " << sentence << '\n';
   return 1;
}

bool slurp(const std::string& path, std::string& text) {
   std::ifstream in(path, std::ios::binary);
   if (!in) return false;
   std::ostringstream all;
   all << in.rdbuf();
   text = all.str();
   return !in.bad();
}

// By the plain name or with the module.
const l3c::Type* findType(const l3c::Model& model, const std::string& name) {
   for (auto& module : model.modules) {
      if (const l3c::Type* type = module->find(name)) return type;
      if (name.starts_with(module->name + '_'))
         if (const l3c::Type* type = module->find(name.substr(module->name.size() + 1))) return type;
   }
   return nullptr;
}

int formatAll(const l3c::Model& model) {
   for (size_t i = 0; i < model.files.size(); ++i) {
      std::ofstream out(model.files[i].path, std::ios::binary);
      out << l3c::format(model, static_cast<int>(i));
      if (!out.flush()) return fail("can't write " + model.files[i].path);
   }
   return 0;
}

int explainOne(const l3c::Model& model, const std::string& name) {
   const l3c::Type* type = findType(model, name);
   if (!type) return fail("there is no type " + name);
   std::cout << l3c::explain(*type);
   return 0;
}

int run(const Command& command) {
   l3c::Model model;
   l3c::Diagnostics diagnostics(model);
   // The files that begin modules come ahead of those that bring more of one.
   std::vector<std::pair<std::string, std::string>> files;
   for (const std::string& path : command.paths) {
      std::string text;
      if (!slurp(path, text)) return fail("can't read " + path);
      files.emplace_back(path, std::move(text));
   }
   for (const bool more : {false, true})
      for (auto& [path, text] : files)
         if (l3c::bringsMore(text) == more) l3c::readDescription(model, path, text, diagnostics);
   // A layout needs no other modules.
   if (!diagnostics.failed() && command.job != Job::Format) {
      l3c::resolve(model, diagnostics);
      l3c::check(model, diagnostics);
   }
   if (diagnostics.failed()) {
      std::cerr << diagnostics.render();
      return 1;
   }
   if (command.job == Job::Format) return formatAll(model);
   if (command.job == Job::List) std::cout << l3c::list(model);
   if (command.job == Job::Explain) return explainOne(model, command.target);
   if (command.job == Job::Out) {
      for (auto& module : model.modules) {
         auto units = command.units.find(module->file);
         if (units != command.units.end()) module->units = units->second;
      }
      const std::string sentence = l3c::writeOutputs(l3c::generate(model), command.target);
      if (!sentence.empty()) return fail(sentence);
   }
   return 0;
}

} // namespace

int main(int count, char** words) {
   try {
      Command command;
      if (parseCommand({words + 1, words + count}, command)) return run(command);
      std::cerr << usage;
      return 2;
   } catch (const std::exception& error) {
      return fail(error.what());
   }
}
