// A model made of texts, and its diagnostics.
#pragma once

#include "compiler/diagnostics.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <set>
#include <sstream>
#include <string>
#include <vector>

namespace l3c {

struct Described {
   Model model;
   Diagnostics diagnostics{model};

   explicit Described(const std::vector<std::string>& texts, bool checked = true) {
      for (size_t i = 0; i < texts.size(); ++i)
         readDescription(model, "m" + std::to_string(i) + ".l3d", texts[i], diagnostics);
      if (!checked) return;
      resolve(model, diagnostics);
      check(model, diagnostics);
   }

   std::set<int> numbers() const {
      std::set<int> result;
      for (const Diagnostic& one : diagnostics.all()) result.insert(one.number);
      return result;
   }

   const Type* type(const std::string& name) const {
      for (auto& module : model.modules)
         if (const Type* hit = module->find(name)) return hit;
      return nullptr;
   }

   // The field by its way in, groups and arms on it.
   const Field* field(const std::string& typeName, const std::string& way) const {
      const Type* owner = type(typeName);
      const Field* hit = nullptr;
      const std::vector<std::unique_ptr<Field>>* level = owner ? &owner->fields : nullptr;
      std::istringstream names(way);
      for (std::string name; level && std::getline(names, name, '.'); level = hit ? &hit->fields : nullptr)
         hit = within(*level, hit, name);
      return hit;
   }

private:
   static const Field* within(const std::vector<std::unique_ptr<Field>>& fields, const Field* choice,
                              const std::string& name) {
      if (choice)
         for (const Arm& arm : choice->arms)
            if (arm.field && arm.field->name == name) return arm.field.get();
      for (auto& field : fields) {
         if (field->name == name) return field.get();
         if (field->onlyOnWire())
            if (const Field* hit = within(field->fields, nullptr, name)) return hit;
      }
      return nullptr;
   }
};

// The descriptions of this system.
inline std::vector<std::string> ownDescriptions() {
   std::vector<std::filesystem::path> paths;
   for (auto& entry : std::filesystem::directory_iterator(std::string(QUORVA_TEST_DATA) + "/../src"))
      if (entry.path().extension() == ".l3d") paths.push_back(entry.path());
   std::sort(paths.begin(), paths.end());
   std::vector<std::string> texts;
   for (auto& path : paths) {
      std::ifstream in(path, std::ios::binary);
      std::ostringstream all;
      all << in.rdbuf();
      texts.push_back(all.str());
   }
   return texts;
}

// One description with every construct of the language.
inline const char* everything() {
   return R"(# Every construct once.
module Every file EveryIES uses Base

-- Causes
enum Cause 8 { none 0, bad 3, worse 0x7F }
enum Wild 4 unchecked { one 1 }
enum Open 2 checked { a 0, b 1, c 2, d 3 }
number Level 8 [1..9] { low 1, high 9 }
number Bare bare LV 16
octets Fixed 4
octets Counted LV 2..8
octets Long LV-E 0..
octets Kept LV-E 1..100 inline
octets BareFixed bare LV 2
octets Rest fill inline 20
digits Number 15
digits Digits heap
text Packed heap (octets, spareBits)
list Causes Cause [1..4]
list Flagged Fixed flags
list Chained Fixed chain
list Plain 8 [..16]
list Times(number) Fixed x(number + 1) free [1..3] nodecoder
alias Other Cause

-- An element
element Small V { ext, kind 3, value 4 } -- one octet
element Padded LV padded { a 7 }
element Inner LV 1|3|5 { cause Cause, more? tail }
element BitCounted LB7 { flag, rest bittail inline 10 }
element Short L4 1..15 leavetail { top Wild beside, rest fill heap }

element Whole LV-E 2.. custom aligned {
    flag
    number        5 [1..20] init 3
    pad           2 const 1
    octet3?       { one, two 7 -- the third
    }
    small?        Small when (flag = 1 and not number > 3 or rest >= 2)
    fixed         4 octets
    bits          12 bits
    spare         4 guarded
    own           lv 1..16
    longer        lv-e 0..50 inline
    size          8 counts data + 2
    data          octets (size - 2) inline 40
    digits        Number(size)
    text          Packed(rest, number)
    count         8 frame [1..30] ( parts each Small x(2) [0..5], last? fill heap )
    bare 8 [0..9] ( single 8 )
    chain ( octet4 Small, octet5? { spare 7 }, octet6? Small ) skip
    since 9 needs 3 ( young 2, older )
    since 10 quits ( newest 2 )
    swap ( high 4, low 4 )
    length2       8 aside
    value         Inner value(size)
    content       choice by number {
        1     first   Small
        2|3   second  { deep 8, again octets deep heap }
        4..6  third
        else  other   2 octets
    }
    choice bit { 1 left 7, 2 right 7 }
    entries       each octets 1 inline 1 x(count)
    list          each 8 [0..7] tail
}

element Led V {
    opt?     3 bit
    lh?      5 lh
    other    choice lh { 1 yes 3, 2 no }
    plain    choice { 1 a, 2 b 8 }
    many     each Small flags
    nested   { up 8, inner { down octets up inline 3 } }
    nothing  null
}

message Hello tailstop {
    spare      4
    type       Wild
    cause      Base_Reason
  optional
    quick  9-  Wild
    mark   A1  T
  group
    name   41  Counted
    extra  7B  choice by type { 1 inner Inner } as LV-E
}
message Bye is Inner
message Done empty
message Twice twins shifts {
  optional
    one  08  Counted
    two  08  Counted
}

pdu Pdu { disc 4, kind Wild, type 8, data messages }
table Pdu {
    9  01  1  obj_Hello  Hello
    9  02  2  obj_Done   -
    9  03  3  obj_Bye    Bye inline
}
test Small "FF"
test Counted "02 0102" "03"
)";
}

inline const char* base() {
   return "module Base\nenum Reason 8 { none 0 }\nelement Small2 V { a 8 }\n";
}

} // namespace l3c
