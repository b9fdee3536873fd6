// Localized texts between pieces and written text.
#include "driver/LocalizedText.h"

#include <algorithm>
#include <cstring>

#include "compiled/Dictionary.h"
#include "compiled/LocalizedDictionary.h"

bool LocalizedText::Pieces(const Dictionary& dictionary, const LocalizedDictionary& localized,
                           int head, std::vector<LocalizedPiece>* pieces) {
    pieces->clear();
    // A chain can visit each entry at most once; a longer one loops.
    for (int entry = head, steps = 0; entry != -1; ++steps) {
        const _LD_Entry* piece = localized.Entry(entry);
        if (piece == nullptr || steps >= localized.Entries()) return false;
        int size = 0;
        const char* text = dictionary.Entry(piece->text, &size);
        if (text == nullptr) return false;
        pieces->push_back(
            LocalizedPiece{piece->type, std::string(text, static_cast<size_t>(size))});
        entry = piece->next;
    }
    return true;
}

// A variable is written between two '%'. A literal is written as it is, except that a '%' can
// only stand at its end and is written "%%": the scan takes the second '%' as the start of the
// pieces to its right and the first as the literal's last byte. Bytes before a zero byte are
// never scanned, so a literal holding one is written as it is up to its last zero byte.
bool LocalizedText::Written(const std::vector<LocalizedPiece>& pieces, std::string* text) {
    text->clear();
    for (const LocalizedPiece& piece : pieces) {
        if (piece.type == LOCALIZED_VARIABLE) {
            *text += '%';
            *text += piece.text;
            *text += '%';
            continue;
        }
        size_t scanned = piece.text.find_last_of('\0');
        scanned = scanned == std::string::npos ? 0 : scanned + 1;
        text->append(piece.text, 0, scanned);
        std::string rest = piece.text.substr(scanned);
        if (!rest.empty() && rest.back() == '%') {
            rest.pop_back();
            rest += "%%";
        }
        *text += rest;
    }
    return Split(*text) == pieces;
}

std::vector<LocalizedPiece> LocalizedText::Split(const std::string& text) {
    std::vector<LocalizedPiece> pieces;
    split_localized(
        text.data(), static_cast<int>(text.size()), [&](int type, const char* piece, int length) {
            pieces.push_back(LocalizedPiece{type, std::string(piece, static_cast<size_t>(length))});
        });
    std::reverse(pieces.begin(), pieces.end());
    return pieces;
}
