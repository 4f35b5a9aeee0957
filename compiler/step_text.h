// The steps of a type's codec in short form: the frame's words, a line or a block a step.
#pragma once

#include "compiler/program.h"
#include "compiler/writer.h"

#include <string>
#include <vector>

namespace l3c {

// What all forms of a codec have: $encode or $decode holds; the coder is $c; $code, $Code, $Coder and $STREAM
// are the direction's words. Of the type $record, $rows and, of its exported function, $codec, $parameters
// and $arguments.
Holes codecHoles(const Type& type, bool encode);

// Texts are lines with a break behind each, so that one may follow the other; there may be none.
class StepText {
public:
   StepText(const Type& type, bool encode);

   // A form, and one that has what `ofStep` knows.
   std::string text(std::string_view form, const Holes& holes = {}) const {
      return forms_.lines(form, holes);
   }
   std::string text(const Step& step, std::string_view form, const Holes& holes = {}) const;
   std::string phrase(const Step& step, std::string_view form, const Holes& holes = {}) const;

   // All that a type codes.
   std::string contents(const Program& program);
   // Nothing is there before a decoder has found it.
   std::string clearPresence() const;
   // A step with its option, and without.
   std::string one(const Step& step);
   std::string kind(const Step& step);
   // Is the step the number of octets of a later string? Then that is it.
   std::string countAhead(const std::vector<Step>& steps, size_t i) const;

private:
   struct Length {
      unsigned bits;
      std::string place; // in the record; empty: it is bare
      Bounds bounds;
      bool keepTail = false;
      std::string var = "length", name = "length";
   };

   std::optional<std::string> ofStep(const Step& step, std::string_view name) const;
   std::string variable(const char* stem);
   std::string placeOf(const Step& step) const;
   std::string value(const Term& term) const { return written(term, "pvalue->", "d.restOctets()"); }

   std::string sequence(const std::vector<Step>& steps);
   std::string run(const std::vector<Step>& steps, size_t& i) const;
   std::string block(const std::string& condition, const std::string& body) const;
   std::string around(const Length& length, const std::string& body) const;
   std::string bare(const std::string& body) const;
   std::string span(const std::string& start, const std::string& place, const std::string& type,
                    const std::string& body) const;
   std::string high(const std::string& place);
   std::string led(const Step& step, const std::string& test);
   std::string there(const Step& step, const std::string& condition);
   std::string length(const Step& step);
   std::string presized(const Step& step);
   std::string call(const Step& step);
   std::string inside(const Step& step);
   std::string list(const Step& step);
   std::string entry(const Step& step, const char* call) const;
   std::string choice(const Step& step, const std::string& on);
   std::string patterns(const Step& step, const std::string& selector);
   std::string since(const Step& step);
   std::string declareExt();
   std::string chain(const Step& step);
   std::string encodeChain(const std::vector<Step>& steps, size_t i);

   const Type& type_;
   bool enc_;
   Writer forms_;
   bool extDeclared_ = false;
   bool groups_ = false; // the decoder's flag of the release groups is declared
   int variables_ = 0;
};

// A step as a part of a run, in the frame's words; `record` is the prefix of the record's members.
std::string runPart(const Step& step, const std::string& record);

// The member of the record; empty if there is none.
std::string presenceBit(const BitPlace& bit);

} // namespace l3c
