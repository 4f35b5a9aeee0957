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
enum Wild 4 open { one 1 }
enum Open 2 full { a 0, b 1, c 2, d 3 }
type Level 8 [1..9] { low 1, high 9 }
type Bare bare LV 16
type Fixed octets(4)
type Counted LV octets [2..8]
type Long LV-E octets [0..]
type Kept LV-E octets [1..100] inline
type BareFixed bare LV octets(2)
type Rest octets(rest) inline 20
type Number digits(15)
type Digits digits(heap)
type Packed(octets, spareBits) text(heap)
type Causes* [1..4] Cause
type Flagged* 0|1 Fixed
type Chained* ext Fixed
type Plain* [..16] Level
type Times(number)*(number + 1) [1..3] Fixed but nodecoder free
type Other Cause

-- An element
element Small V { ext, kind 3, value 4 }  -- one octet
element Padded LV { a 7 standard 8 }
element Inner LV [1|3|5] { cause Cause, more? octets(tail) }
element BitCounted LB7 { flag, rest bits(tail) inline 10 }
element Returning LB7 but returns { since 10 ( newest 2 ), rest bits(tail) }
element Short L4 [1..15] { top Wild but beside, rest octets(rest) heap }

element Whole LV-E [2..] but custom aligned {
    flag
    number           5 [1..20] init 3
    pad              2
    octet3?          { one, two 7  -- the third
    }
    small?           if (flag = 1 and rest >= 2) Small
    fixed            octets(4)
    bits             12
    spare            null| 4
    own              LV octets [1..16]
    longer           LV-E octets [0..50] inline
    size             8 = octets data + 2
    data             octets(size - 2) inline 40
    digits           Number(size)
    text             Packed(rest, number)
    count            8 [1..30] = octets ( parts*(2) [0..5] Small, last? octets(rest) heap )
    bare 8 [0..9] = octets ( single 8 )
    ext ( octet4 Small, octet5? { spare 7 }, octet6? Small )
    since 9 ( young 2, older )
    swap ( high 4, low 4 )
    length2          8 unsent = octets value
    value            Inner as V(size)
    content          choice by number {
        1     first   Small
        2|3   second  { deep 8, again octets(deep) heap }
        4..6  third
        else  other   octets(2)
    }
    choice { 0 left 7, 1 right 7 }
    entries*(count)  octets(1) inline 1
    list*            [0..7] 8 but tail
}

element Led V {
    opt?     0|1 3
    other    choice { 0 yes 3, 1 no }
    plain    choice unsent { a, b 8 }
    many*    0|1 Small
    nested   { up 8, inner { down octets(up) inline 3 } }
    nothing  null
}

message Hello but tailstop {
        spare  4
        type   Wild
        cause  Base_Reason
    9-  quick  Wild
    A1  mark   T
  group?
    41  name   Counted
    7B  extra  choice by type { 1 inner Inner } as LV-E
}
message Bye = Inner
message Done { }
message Twice but twins shifts {
    08  one  Counted
    08  two  Counted
}

pdu Pdu { disc 4, kind Wild, type 8, data messages }
table Pdu {
    9  01  1  obj_Hello  Hello
    9  02  2  obj_Done   -
    9  03  3  obj_Bye    Bye inline
}
test Small "FF"
test Counted "03 0102" "03"
)";
}

inline const char* base() {
   return "module Base\nenum Reason 8 { none 0 }\nelement Small2 V { a 8 }\n";
}

} // namespace l3c
