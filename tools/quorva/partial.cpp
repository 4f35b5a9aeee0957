#include "tools/quorva/partial.h"

#include <algorithm>
#include <cstddef>

namespace quorva::tool {

constexpr size_t kIndent = 3;

static std::vector<std::string_view> splitLines(std::string_view text) {
   std::vector<std::string_view> lines;
   while (!text.empty()) {
      const size_t end = std::min(text.find('\n'), text.size() - 1);
      lines.push_back(text.substr(0, end));
      text.remove_prefix(end + 1);
   }
   return lines;
}

// The name as a printer shows it: a member of a union without its "u.", and a C identifier.
static std::string printedName(std::string name) {
   if (name.starts_with("u.")) name.erase(0, 2);
   std::replace(name.begin(), name.end(), '-', '_');
   return name;
}

static bool startsElement(std::string_view line, size_t depth, std::string_view name) {
   const size_t indent = depth * kIndent;
   if (line.size() <= indent + name.size() || line.find_first_not_of(' ') != indent) return false;
   line.remove_prefix(indent);
   return line.starts_with(name) && line[name.size()] == ' ';
}

static bool opensBlock(std::string_view line) {
   return line.ends_with(" {") && line.find(" = ") == std::string_view::npos;
}

static size_t blockEnd(const std::vector<std::string_view>& lines, size_t opening, size_t depth) {
   const std::string brace = std::string(depth * kIndent, ' ') + "}";
   return static_cast<size_t>(
         std::find(lines.begin() + static_cast<std::ptrdiff_t>(opening), lines.end(), brace) - lines.begin());
}

std::string textUpTo(const std::string& text, const std::vector<std::string>& path) {
   const auto lines = splitLines(text);
   if (path.size() < 2 || lines.empty() || !opensBlock(lines[0])) return text;
   size_t first = 1;
   size_t last = blockEnd(lines, 0, 0);
   size_t depth = 1; // of the lines between first and last
   size_t cut = lines.size();
   for (size_t i = 1; i < path.size(); ++i) {
      std::string name = printedName(path[i]);
      // "elem[2]" below "contents" is printed as "contents[2]".
      if (i + 1 < path.size() && path[i + 1].starts_with("elem[")) name += path[++i].substr(4);
      size_t line = first;
      while (line < last && !startsElement(lines[line], depth, name)) ++line;
      // The line itself, or the end of the block if it is not there; but a security header that is not there
      // yet is ahead of all.
      cut = line == last && name == "secHdr" ? first : line;
      if (line == last || !opensBlock(lines[line])) break;
      first = line + 1;
      last = blockEnd(lines, line, depth);
      cut = last;
      ++depth;
      // A fixed octet string gives its name back even if its octets were not all there: the path ends at the
      // block, and its last line may show octets that nobody sent.
      if (i + 1 == path.size() && cut > first && lines[cut - 1].find(" = 0x") != std::string_view::npos)
         --cut;
   }
   std::string result;
   for (size_t i = 0; i < std::min(cut, lines.size()); ++i) result.append(lines[i]) += '\n';
   while (depth-- > 0) result += std::string(depth * kIndent, ' ') + "}\n";
   return result;
}

} // namespace quorva::tool
