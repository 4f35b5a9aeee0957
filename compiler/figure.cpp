#include "compiler/figure.h"

#include <algorithm>
#include <cctype>
#include <set>

namespace l3c {
namespace {

constexpr unsigned kBitWidth = 8; // columns of a bit, its left edge among them

// Pieces of a name that a line may end behind: at hyphens, blanks and ahead of capitals.
std::vector<std::string> pieces(const std::string& text) {
   std::vector<std::string> result(1);
   for (size_t i = 0; i < text.size(); ++i) {
      const bool capital = i > 0 && std::isupper(static_cast<unsigned char>(text[i])) &&
                           !std::isupper(static_cast<unsigned char>(text[i - 1]));
      const bool behind = i > 0 && (text[i - 1] == '-' || text[i - 1] == ' ' || text[i - 1] == '_');
      if ((capital || behind) && !result.back().empty()) result.emplace_back();
      result.back() += text[i];
   }
   return result;
}

std::vector<std::string> broken(const std::vector<std::string>& lines, size_t width) {
   std::vector<std::string> result;
   for (const std::string& line : lines) {
      std::string now;
      for (std::string piece : pieces(line)) {
         if (now.size() + piece.size() > width && !now.empty()) {
            result.push_back(now);
            now.clear();
         }
         for (; piece.size() > width; piece.erase(0, width)) result.push_back(piece.substr(0, width));
         now += piece;
      }
      result.push_back(now);
   }
   for (std::string& line : result) line.erase(line.find_last_not_of(' ') + 1);
   return result;
}

std::string centred(const std::string& text, size_t width) {
   const size_t left = (width - std::min(width, text.size())) / 2;
   std::string result(left, ' ');
   result += text;
   result.append(width - std::min(width, result.size()), ' ');
   return result;
}

} // namespace

std::string Figure::octetName() const {
   if (symbol_.empty()) return std::to_string(offset_);
   return offset_ ? symbol_ + " + " + std::to_string(offset_) : symbol_;
}

void Figure::flush(const std::string& label) {
   if (row_.cells.empty()) return;
   if (used_ < 8) row_.cells.push_back({8 - used_, {""}});
   row_.label = label;
   rows_.push_back(std::move(row_));
   row_ = Row{};
   used_ = 0;
}

void Figure::box(const std::vector<std::string>& lines, const std::string& label, bool optional) {
   rows_.push_back({{{8, lines}}, label, optional, loose_});
}

void Figure::bits(const std::string& text, uint64_t count, bool optional) {
   if (count == 0) return;
   if (loose_) return box({text}, std::to_string(count) + (count == 1 ? " bit" : " bits"), optional);
   std::string shown = text;
   while (count > 0) {
      if (used_ == 0 && count >= 16) {
         const std::string from = octetName();
         advance(count / 8 - 1);
         box({shown}, "octets " + from + " to " + octetName(), optional);
         advance(1);
         count %= 8;
      } else {
         const unsigned part = static_cast<unsigned>(std::min<uint64_t>(count, 8 - used_));
         row_.cells.push_back({part, {shown}});
         row_.optional |= optional;
         used_ += part;
         count -= part;
         if (used_ == 8) {
            flush("octet " + (label_.empty() ? octetName() : label_));
            if (label_.empty()) advance(1);
         }
      }
      shown = text + " (cont.)";
   }
}

void Figure::open(const std::vector<std::string>& lines, bool optional) {
   if (loose_) return box(lines, "", optional);
   if (used_ != 0) bits(lines.front(), 8 - used_, optional);
   static const char letters[] = "nmpqrsuvwxyz";
   const std::string from = octetName();
   symbol_ = letters[letters_ % (sizeof letters - 1)];
   if (letters_ >= sizeof letters - 1) symbol_ += std::to_string(letters_ / (sizeof letters - 1));
   ++letters_;
   offset_ = 0;
   box(lines, "octets " + from + " to " + symbol_, optional);
   offset_ = 1;
}

void Figure::loosen() {
   if (loose_) return;
   flush("octet " + octetName());
   loose_ = true;
}

void Figure::note(const std::string& text) {
   loosen();
   box({text}, "", false);
}

std::string Figure::draw() {
   flush("octet " + octetName());
   std::string out;
   for (int bit = 8; bit >= 1; --bit) out += ' ' + centred(std::to_string(bit), kBitWidth - 1);
   out.erase(out.find_last_not_of(' ') + 1);
   out += '\n';
   std::set<size_t> above;
   auto edge = [&](const Row* row) {
      std::set<size_t> corners = above;
      above = {0, 8 * kBitWidth};
      size_t at = 0;
      if (row)
         for (const Cell& cell : row->cells) above.insert(at += cell.bits * kBitWidth);
      corners.insert(above.begin(), above.end());
      std::string line(8 * kBitWidth + 1, '-');
      for (size_t corner : corners) line[corner] = '+';
      out += line + '\n';
   };
   bool loose = false;
   for (const Row& row : rows_) {
      if (!loose || !row.loose) edge(&row);
      loose = row.loose;
      std::vector<std::vector<std::string>> texts;
      size_t height = 1;
      for (const Cell& cell : row.cells) {
         texts.push_back(broken(cell.lines, cell.bits * kBitWidth - 1));
         height = std::max(height, texts.back().size());
      }
      for (size_t k = 0; k < height; ++k) {
         std::string line;
         for (size_t c = 0; c < texts.size(); ++c)
            line += '|' + centred(k < texts[c].size() ? texts[c][k] : "", row.cells[c].bits * kBitWidth - 1);
         line += '|';
         if (k == (height - 1) / 2 && (!row.label.empty() || row.optional))
            line += ' ' + row.label + (row.optional ? "*" : "");
         out += line + '\n';
      }
   }
   edge(nullptr);
   return out;
}

} // namespace l3c
