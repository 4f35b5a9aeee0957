// Types by place: what a structure of CSN.1 has inside is a type of its own, named by where it stands.
#pragma once

#include "compiler/model.h"

namespace l3c {

// Makes types of the nests, lists and own strings of a structure, and the fields that held them fields of
// these types: `f { … }` in P is of the type P_f, an arm `a { … }` of the type of its choice and `_a`, an
// entry of a list of `P_f_element`. A list of a type has a name of the module's, and is made once.
void placeTypes(Module& module, Type& structure);

// The same for the entries of a type that is a list itself.
void placeEntries(Module& module, Type& list, Field& entries);

} // namespace l3c
