// Localized dictionary: the piece array and the "locd" section.
#include <vector>

#include "compiled/LocalizedDictionary.h"

#include <algorithm>
#include <climits>
#include <cstdint>

#include "compiled/TableSupport.h"
#include "compiled/TaggedFile.h"
#include "foundation/ByteOrder.h"

namespace {

constexpr int HEADER_SIZE = 4;
constexpr int ENTRY_RECORD_SIZE = 12;

// 12 bytes a piece must stay within 31 bits.
constexpr uint32_t MAX_ENTRIES = 0x0AAAAAAA;

}  // namespace

LocalizedDictionary::LocalizedDictionary()
    : entries_(nullptr), count_(0), capacity_(0), allocated_(0) {}

LocalizedDictionary::~LocalizedDictionary() {
    delete[] entries_;
}

const String& LocalizedDictionary::error() {
    return error_;
}

void LocalizedDictionary::Error(const String& text) {
    if (text.buffer() != nullptr) error_ = text;
}

int LocalizedDictionary::Entry_Add(int type, int text, int next) {
    if (count_ == capacity_) {
        capacity_ += LOCALIZED_DICTIONARY_GROWTH;
        // The capacity grows in steps, the array behind it at least doubles: n pieces are
        // copied O(n) times in all, not O(n^2 / 128).
        if (capacity_ > allocated_) {
            allocated_ = std::max(capacity_, static_cast<int>(std::min<int64_t>(
                                                 2 * static_cast<int64_t>(allocated_), INT_MAX)));
            _LD_Entry* entries = new _LD_Entry[allocated_];
            for (int i = 0; i < count_; ++i) entries[i] = entries_[i];
            delete[] entries_;
            entries_ = entries;
        }
    }
    entries_[count_] = _LD_Entry{type, text, next};
    return count_++;
}

const _LD_Entry* LocalizedDictionary::Entry(int index) const {
    return index >= 0 && index < count_ ? &entries_[index] : nullptr;
}

// Section "locd":
//   offset  size          field
//   0       4             loc_dictionary_header.entries
//   4       12 per piece  loc_dictionary_entry.type, .text, .next (4 each)
bool LocalizedDictionary::Write(TaggedFile* file) {
    file->Section_Start(TAG_LOCD);
    unsigned char header[HEADER_SIZE];
    put_u32(header, static_cast<uint32_t>(count_));
    std::vector<unsigned char> records(static_cast<size_t>(ENTRY_RECORD_SIZE * count_));
    for (int i = 0; i < count_; ++i) {
        unsigned char* record = records.data() + ENTRY_RECORD_SIZE * i;
        put_u32(record, static_cast<uint32_t>(entries_[i].type));
        put_u32(record + 4, static_cast<uint32_t>(entries_[i].text));
        put_u32(record + 8, static_cast<uint32_t>(entries_[i].next));
    }
    SectionWriter out(file);
    out.Write(header, HEADER_SIZE);
    out.Write(records.data(), ENTRY_RECORD_SIZE * count_);
    if (!out.ok()) {
        Error(file->error());
        return false;
    }
    file->Section_End();
    return true;
}

int64_t LocalizedDictionary::WrittenSize() const {
    return HEADER_SIZE + ENTRY_RECORD_SIZE * static_cast<int64_t>(count_);
}

bool LocalizedDictionary::Read(TaggedFile* file) {
    unsigned char header[HEADER_SIZE];
    if (!file->Section_Read_Start(TAG_LOCD) ||
        file->Section_Read(header, HEADER_SIZE) != HEADER_SIZE) {
        Error(file->error());
        return false;
    }
    uint32_t entries = get_u32(header);
    if (entries > MAX_ENTRIES) {
        Error(String("loc_dictionary_header.entries out of range"));
        return false;
    }
    int count = static_cast<int>(entries);
    std::vector<unsigned char> records;
    if (file->Section_Read_Vector(&records, ENTRY_RECORD_SIZE * count) !=
        ENTRY_RECORD_SIZE * count) {
        Error(file->error());
        return false;
    }
    _LD_Entry* read = new _LD_Entry[count];
    for (int i = 0; i < count; ++i) {
        const unsigned char* record = records.data() + ENTRY_RECORD_SIZE * i;
        read[i] = _LD_Entry{get_s32(record), get_s32(record + 4), get_s32(record + 8)};
        if (get_u32(record) > LOCALIZED_TEXT) {
            delete[] read;
            Error(String("Invalid localized dictionary entry type"));
            return false;
        }
    }
    file->Section_Read_End();
    delete[] entries_;
    entries_ = read;
    count_ = count;
    capacity_ = count;
    allocated_ = count;
    return true;
}
