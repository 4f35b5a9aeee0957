// What the compiler writes for one module, and for all of them together.
#pragma once

#include "compiler/program.h"
#include "compiler/writer.h"

#include <map>
#include <string>

namespace l3c {

// File name below the output folder to contents.
using Outputs = std::map<std::string, std::string>;

void emitHeader(const Model& model, const Module& module, Outputs& out); // include/quorva/<Module>.h
void emitTypes(const Model& model, const Module& module, Outputs& out);  // src/<File>Types.h: inline forms
void emitCodecs(const Model& model, const Module& module,
                Outputs& out);                         // src/<File>Enc*.cpp, src/<File>Dec*.cpp
void emitMessages(const Module& module, Outputs& out); // src/<File>Messages.cpp
void emitEnums(const Model& model, const Module& module, Outputs& out); // src/<File>Enum.cpp
void emitInits(const Model& model, const Module& module, Outputs& out); // src/<File>Init.cpp
// What the header says of a record's member, and of the selector of a choice.
std::string memberWords(const Step& step);
std::string selectorWords(const Step& choice);
// Stores that clear the plain values of a message's mandatory part, which an initialiser leaves alone.
std::string clearValues(const Type& message, const std::string& place);
void emitWalk(const Model& model, Outputs& out); // src/<File>Table.cpp, <File>PrtToStrm.cpp, <File>Test.cpp
// The asn1SetTC_ functions of a PDU, and what they store in the half octet ahead of its discriminator.
std::string selectorFunctions(const Type& pdu);
std::string headerWords(const Type& pdu, const TableRow& row);
// The arm of it that goes with a message; 0 if the PDU has no such field.
uint64_t headerArm(const Type& pdu, const TableRow& row);
// Message types and selectors by their names.
std::string constants(const Module& module);
void emitRegistry(const Model& model, Outputs& out); // src/Registry.cpp, the list of headers

// The names that forms are filled with: of a module $module and $file; of a type $record, that behind aliases
// $base, its functions $encoder, $decoder, $printer, $init and $sample, their parameters behind the context
// $encodeParameters, $decodeParameters and $printParameters, and $rows, its rows as arguments.
Holes namesOf(const Module& module);
Holes namesOf(const Type& type);

// The table that a type's rows stand in, and the type's number there, as arguments.
std::string tableArguments(const Type& type);

void emitVectors(const Model& model, Outputs& out);       // tests/vectors.inc
void emitSelectorCalls(const Model& model, Outputs& out); // tests/selectors.inc

void emitModule(const Model& model, const Module& module, Outputs& out);

} // namespace l3c
