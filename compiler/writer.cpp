#include "compiler/writer.h"

#include <algorithm>
#include <cctype>
#include <stdexcept>

namespace l3c {

namespace {

// The hole at the begin of a text that begins with `$`: its name, and how many characters it takes.
struct Found {
   std::string_view name;
   size_t length;
};

Found holeOf(std::string_view text) {
   const bool braced = text.substr(1, 1) == "{";
   const size_t first = braced ? 2 : 1;
   size_t end = first;
   while (end < text.size() && (std::isalnum(static_cast<unsigned char>(text[end])) || text[end] == '_'))
      ++end;
   return {text.substr(first, end - first), end + (braced ? 1 : 0)};
}

} // namespace

const std::string& Writer::valueOf(std::string_view name, std::string_view form, const Holes& holes) const {
   for (const Holes* all : {&holes, &standing_}) {
      const auto hit = std::ranges::find(*all, name, &Hole::name);
      if (hit != all->end()) return hit->text;
   }
   throw std::logic_error("no text for $" + std::string(name) + " in: " + std::string(form));
}

std::string Writer::filled(std::string_view form, const Holes& holes) const {
   if (form.substr(0, 1) == "\n") form.remove_prefix(1);
   if (form.ends_with('\n')) form.remove_suffix(1);
   std::string all;
   for (bool first = true; first || !form.empty(); first = false) {
      const std::string_view line = form.substr(0, form.find('\n'));
      form.remove_prefix(std::min(line.size() + 1, form.size()));
      const size_t indent = std::min(line.find_first_not_of(' '), line.size());
      if (line.substr(indent, 1) == "$" && holeOf(line.substr(indent)).length == line.size() - indent) {
         std::string_view lines = valueOf(holeOf(line.substr(indent)).name, line, holes);
         while (!lines.empty()) {
            const std::string_view one = lines.substr(0, lines.find('\n'));
            lines.remove_prefix(std::min(one.size() + 1, lines.size()));
            if (!one.empty()) all.append(indent, ' ').append(one);
            all += '\n';
         }
         continue;
      }
      for (size_t at = 0; at < line.size();) {
         const size_t next = std::min(line.find('$', at), line.size());
         all.append(line, at, next - at);
         at = next;
         if (at == line.size()) break;
         const Found hole = holeOf(line.substr(at));
         all += valueOf(hole.name, line, holes);
         at += hole.length;
      }
      all += '\n';
   }
   if (!all.empty()) all.pop_back();
   return all;
}

void Writer::fill(std::string_view form, const Holes& holes) {
   std::string_view lines = form;
   std::string text = filled(lines, holes);
   if (text.empty()) return;
   text += '\n';
   for (size_t at = 0; at < text.size();) {
      const size_t end = text.find('\n', at);
      line(text.substr(at, end - at));
      at = end + 1;
   }
}

} // namespace l3c
