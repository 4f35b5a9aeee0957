// Paths into values of every type: the first two octets choose it. Each line behind is a path, or a path and
// what it is set to behind an equals sign; without anything ahead of that the field is taken out. After each
// step all that is there is visited and encoded.

#include "fuzz/registry.h"
#include "quorva/json.h"
#include "quorva/reflect.h"

#include <algorithm>
#include <string>

namespace {

int sumItem(void* user, const QuorvaItem* item) {
   auto& sum = *static_cast<size_t*>(user);
   for (const char* text : {item->path, item->text, item->name, item->doc}) sum += std::strlen(text);
   return 0;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
   static quorva::fuzz::ValueContext ctxt;
   if (size < 2) return 0;
   const QuorvaType& type = quorva::fuzz::typeNamed(data);
   const std::string lines(data + 2, data + size);
   // By the first bit a sample, which has more to lose than an empty value.
   void* value =
         (data[0] & 0x80) != 0 && type.sample != nullptr ? type.sample(&ctxt) : quorvaNew(&ctxt, &type);
   for (size_t at = 0, steps = 0; value != nullptr && at < lines.size() && steps < 16; ++steps) {
      const size_t end = std::min(lines.find('\n', at), lines.size());
      const std::string line = lines.substr(at, end - at);
      at = end + 1;
      const size_t equals = std::min(line.find('='), line.size());
      const std::string path = line.substr(0, equals);
      // What says so may make a list of any length.
      if (path.size() > 1 && path.back() == 'n' && line.size() > equals + 4) continue;
      QuorvaItem item;
      if (equals == line.size())
         (void)quorvaRemove(&ctxt, &type, value, path.c_str());
      else
         (void)quorvaSet(&ctxt, &type, value, path.c_str(), line.c_str() + equals + 1);
      if (quorvaGet(&ctxt, &type, value, path.c_str(), &item) == 0 && item.text == nullptr) abort();
      size_t sum = 0;
      const QuorvaVisitor visitor = {sumItem, sumItem, sumItem, &sum};
      if (quorvaVisit(&ctxt, &type, value, &visitor) != 0) abort();
      ctxt.encode(type, value);
   }
   ctxt.reset();
   return 0;
}
