// An open document of the language server: its text, where its lines start, and the
// conversion between byte offsets and the editor's positions (lines and UTF-16 columns).
#ifndef TARN_DRIVER_LSP_SOURCEDOCUMENT_H
#define TARN_DRIVER_LSP_SOURCEDOCUMENT_H

#include <string>
#include <vector>

namespace tarn_lsp {

// A place as the editor counts it: line from 0, column in UTF-16 code units from 0.
struct Position {
    int line = 0;
    int character = 0;
};

class SourceDocument {
  public:
    explicit SourceDocument(std::string text = std::string());

    const std::string& text() const { return text_; }
    void SetText(std::string text);
    // Replaces the bytes between two positions with 'replacement'. Positions past the end of a
    // line or of the text are taken as that end; a range given backwards is put in order.
    void Replace(Position from, Position to, const std::string& replacement);

    Position PositionOf(int offset) const;
    int OffsetOf(Position position) const;
    int line_count() const { return static_cast<int>(line_starts_.size()); }

  private:
    void IndexLines();

    std::string text_;
    std::vector<int> line_starts_;
};

}  // namespace tarn_lsp

#endif
