#pragma once

#include "compiler/emit.h"

#include <string>

namespace l3c {

// Everything that the model's modules make. The model has been resolved and checked.
Outputs generate(const Model& model);

// Writes the files below the folder; gives a sentence on failure, nothing on success.
std::string writeOutputs(const Outputs& outputs, const std::string& folder);

} // namespace l3c
