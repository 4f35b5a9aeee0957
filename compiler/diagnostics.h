// Numbered messages with file:line:column, the source line and a caret.
#pragma once

#include "compiler/model.h"

#include <string>
#include <vector>

namespace l3c {

struct Diagnostic {
   int number; // L3C<number>; each has a refused description among the tests
   Pos pos;
   std::string text; // a plain sentence
};

class Diagnostics {
public:
   explicit Diagnostics(const Model& model) : model_(model) {}
   void error(int number, Pos pos, std::string text) { list_.push_back({number, pos, std::move(text)}); }
   bool failed() const { return !list_.empty(); }
   const std::vector<Diagnostic>& all() const { return list_; }
   std::string render() const; // all messages as text

private:
   const Model& model_;
   std::vector<Diagnostic> list_;
};

// Reads one description into the model; errors go to `diagnostics`. Never throws on bad input.
void readDescription(Model& model, const std::string& path, const std::string& text,
                     Diagnostics& diagnostics);

// Completes a model: names to types, expressions to fields, storage, groups, nested names. Then checks it.
void resolve(Model& model, Diagnostics& diagnostics);
void check(const Model& model, Diagnostics& diagnostics);

// A description in canonical layout (aligned columns), comments kept.
std::string format(const Model& model, int file);

// The type drawn as a 3GPP octet figure.
std::string explain(const Type& type);

} // namespace l3c
