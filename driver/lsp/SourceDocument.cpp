// Document text and position conversion. Columns count UTF-16 code units, as editors do by
// default: a character of four UTF-8 bytes counts two, and a byte that starts no valid UTF-8
// sequence counts one, so that any text has positions.
#include "driver/lsp/SourceDocument.h"

#include <algorithm>
#include <utility>

namespace tarn_lsp {

namespace {

// Bytes of the UTF-8 sequence that starts with 'lead', or 1 for a byte that starts none.
int sequence_length(unsigned char lead) {
    if (lead >= 0xF0 && lead < 0xF8) return 4;
    if (lead >= 0xE0) return lead < 0xF0 ? 3 : 1;
    if (lead >= 0xC0) return 2;
    return 1;
}

// The bytes and UTF-16 units of the character at 'at', no further than 'end'.
void step(const std::string& text, int at, int end, int* bytes, int* units) {
    const int length = sequence_length(static_cast<unsigned char>(text[at]));
    bool valid = at + length <= end;
    for (int k = 1; valid && k < length; ++k) {
        valid = (static_cast<unsigned char>(text[at + k]) & 0xC0) == 0x80;
    }
    if (!valid) {
        *bytes = 1;
        *units = 1;
        return;
    }
    *bytes = length;
    *units = length == 4 ? 2 : 1;
}

}  // namespace

SourceDocument::SourceDocument(std::string text) : text_(std::move(text)) {
    IndexLines();
}

void SourceDocument::SetText(std::string text) {
    text_ = std::move(text);
    IndexLines();
}

void SourceDocument::Replace(Position from, Position to, const std::string& replacement) {
    int start = OffsetOf(from);
    int end = OffsetOf(to);
    if (end < start) std::swap(start, end);
    text_.replace(static_cast<size_t>(start), static_cast<size_t>(end - start), replacement);
    IndexLines();
}

Position SourceDocument::PositionOf(int offset) const {
    offset = std::max(0, std::min(offset, static_cast<int>(text_.size())));
    Position position;
    position.line = static_cast<int>(
        std::upper_bound(line_starts_.begin(), line_starts_.end(), offset) - line_starts_.begin() -
        1);
    int at = line_starts_[position.line];
    while (at < offset) {
        int bytes = 0;
        int units = 0;
        step(text_, at, offset, &bytes, &units);
        at += bytes;
        position.character += units;
    }
    return position;
}

int SourceDocument::OffsetOf(Position position) const {
    if (position.line < 0) return 0;
    if (position.line >= line_count()) return static_cast<int>(text_.size());
    int at = line_starts_[position.line];
    const int line_end = position.line + 1 < line_count() ? line_starts_[position.line + 1] - 1
                                                          : static_cast<int>(text_.size());
    int units = 0;
    while (at < line_end && units < position.character) {
        int bytes = 0;
        int width = 0;
        step(text_, at, line_end, &bytes, &width);
        at += bytes;
        units += width;
    }
    return at;
}

void SourceDocument::IndexLines() {
    line_starts_.assign(1, 0);
    for (size_t i = text_.find('\n'); i != std::string::npos; i = text_.find('\n', i + 1)) {
        line_starts_.push_back(static_cast<int>(i + 1));
    }
}

}  // namespace tarn_lsp
