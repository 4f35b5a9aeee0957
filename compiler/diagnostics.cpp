#include "compiler/diagnostics.h"

#include <algorithm>
#include <cstdio>
#include <tuple>

namespace l3c {

std::string Diagnostics::render() const {
   std::vector<const Diagnostic*> order;
   for (const Diagnostic& one : list_) order.push_back(&one);
   std::stable_sort(order.begin(), order.end(), [](const Diagnostic* a, const Diagnostic* b) {
      return std::tie(a->pos.file, a->pos.line, a->pos.column) <
             std::tie(b->pos.file, b->pos.line, b->pos.column);
   });
   std::string out;
   for (const Diagnostic* one : order) {
      const Pos& pos = one->pos;
      const SourceFile* file = nullptr;
      if (pos.file >= 0 && static_cast<size_t>(pos.file) < model_.files.size())
         file = &model_.files[static_cast<size_t>(pos.file)];
      char head[64];
      std::snprintf(head, sizeof head, ":%d:%d: L3C%03d: ", pos.line, pos.column, one->number);
      out += (file ? file->path : "?") + head + one->text + '\n';
      if (!file || pos.line < 1 || static_cast<size_t>(pos.line) > file->lines.size()) continue;
      const std::string& line = file->lines[static_cast<size_t>(pos.line) - 1];
      std::string lead;
      for (size_t i = 0; i + 1 < static_cast<size_t>(std::max(pos.column, 1)) && i < line.size(); ++i)
         if ((line[i] & 0xC0) != 0x80) lead += line[i] == '\t' ? '\t' : ' ';
      out += "   " + line + "\n   " + lead + "^\n";
   }
   return out;
}

} // namespace l3c
