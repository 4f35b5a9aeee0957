// What the compiler writes for one module, and for all of them together.
#pragma once

#include "compiler/model.h"

#include <map>
#include <string>

namespace l3c {

// File name below the output folder to contents.
using Outputs = std::map<std::string, std::string>;

void emitHeader(const Model& model, const Module& module, Outputs& out); // include/quorva/<Module>.h
void emitTypes(const Model& model, const Module& module, Outputs& out);  // src/<File>Types.h: inline forms
void emitCodecs(const Model& model, const Module& module,
                Outputs& out); // src/<File>Enc*.cpp, src/<File>Dec*.cpp
void emitEnums(const Model& model, const Module& module, Outputs& out); // src/<File>Enum.cpp
void emitInits(const Model& model, const Module& module, Outputs& out); // src/<File>Init.cpp
// Stores that clear the plain values of a message's mandatory part, which an initialiser leaves alone.
std::string clearValues(const Type& message, const std::string& place);
void emitWalk(const Model& model, const Module& module,
              Outputs& out);                         // src/<File>PrtToStrm.cpp, <File>Test.cpp
void emitRegistry(const Model& model, Outputs& out); // src/Registry.cpp, the list of headers

// The table that a type's rows stand in, and the type's number there, as arguments.
std::string tableArguments(const Type& type);

void emitVectors(const Model& model, Outputs& out); // tests/vectors.inc

void emitModule(const Model& model, const Module& module, Outputs& out);

} // namespace l3c
