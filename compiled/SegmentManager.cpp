// Code segments of a compiled file: numbering, and the section "segs" that holds them all.
#include "compiled/SegmentManager.h"

#include <cstdint>
#include <cstring>
#include <vector>

#include "foundation/ByteOrder.h"

namespace {

constexpr int SEGMENT_LIST_HEADER_SIZE = 8;
constexpr int SEGMENT_HEADER_SIZE = 8;
// More segments than this cannot have their table addressed with 31-bit offsets.
constexpr uint32_t SEGMENT_ENTRIES_MAX = 0x0FFFFFFF;

}  // namespace

SegmentManager::SegmentManager()
    : segments_(new Segment*[SEGMENT_SLOT_STEP]()),
      capacity_(SEGMENT_SLOT_STEP),
      held_(SEGMENT_SLOT_STEP),
      count_(1),
      start_(0) {}

SegmentManager::SegmentManager(const SegmentManager& other)
    : segments_(new Segment*[other.capacity_]()),
      capacity_(other.capacity_),
      held_(other.capacity_),
      count_(other.count_),
      start_(other.start_),
      error_(other.error_) {
    for (int i = 0; i < capacity_; i++) {
        if (other.segments_[i] != nullptr) segments_[i] = new Segment(*other.segments_[i]);
    }
}

SegmentManager::~SegmentManager() {
    Free();
}

void SegmentManager::Free() {
    for (int i = 0; i < capacity_; i++) delete segments_[i];
    delete[] segments_;
    segments_ = nullptr;
}

const String& SegmentManager::error() {
    return error_;
}

void SegmentManager::Error(const String& text) {
    if (!text.empty()) error_ = text;
}

Segment* SegmentManager::segment(int i) const {
    if (i < 0 || i >= capacity_) return nullptr;
    return segments_[i];
}

Segment* SegmentManager::Start() {
    if (segments_[start_] == nullptr) segments_[start_] = new Segment(start_);
    return segments_[start_];
}

Segment* SegmentManager::Segment_Add() {
    if (count_ == capacity_) {
        if (capacity_ == held_) {
            int held = held_ > INT32_MAX / 2 ? INT32_MAX : held_ * 2;
            Segment** grown = new Segment*[held]();
            for (int i = 0; i < capacity_; i++) grown[i] = segments_[i];
            delete[] segments_;
            segments_ = grown;
            held_ = held;
        }
        capacity_ += SEGMENT_SLOT_STEP;
    }
    Segment* added = new Segment(count_, &shelf_);
    segments_[count_] = added;
    count_++;
    return added;
}

// Section "segs":
//   0        4  segment_list.entries
//   4        4  segment_list.start
//   8 + 8i   4  segment_header[i].offset  (bytes of all segments before segment i)
//  12 + 8i   4  segment_header[i].size
//   8 + 8n      the segments' bytes in number order, without gaps
// A slot that holds no segment is written as an empty one.
bool SegmentManager::Write(TaggedFile* file) {
    file->Section_Start(TAG_SEGS);
    bool ok = true;
    unsigned char list_header[SEGMENT_LIST_HEADER_SIZE];
    put_u32(list_header + 0, static_cast<uint32_t>(count_));
    put_u32(list_header + 4, static_cast<uint32_t>(start_));
    ok = file->Section_Write(list_header, SEGMENT_LIST_HEADER_SIZE) == SEGMENT_LIST_HEADER_SIZE;

    if (ok) {
        std::vector<unsigned char> table(static_cast<size_t>(count_) * SEGMENT_HEADER_SIZE);
        uint32_t offset = 0;
        for (int i = 0; i < count_; i++) {
            uint32_t size =
                segments_[i] != nullptr ? static_cast<uint32_t>(segments_[i]->length()) : 0;
            put_u32(table.data() + static_cast<size_t>(i) * SEGMENT_HEADER_SIZE, offset);
            put_u32(table.data() + static_cast<size_t>(i) * SEGMENT_HEADER_SIZE + 4, size);
            offset += size;
        }
        int table_size = static_cast<int>(table.size());
        ok = file->Section_Write(table.data(), table_size) == table_size;
    }
    // Segments whose bytes lie one behind the other (those carved from the shelf in turn) go
    // out in one write, which a large run makes without a copy through the file's buffer.
    for (int i = 0; ok && i < count_;) {
        if (segments_[i] == nullptr || segments_[i]->bytes() == nullptr) {
            if (segments_[i] != nullptr) ok = segments_[i]->Write(file);
            i++;
            continue;
        }
        const char* run = segments_[i]->bytes();
        int64_t run_length = segments_[i]->length();
        for (i++;
             i < count_ && segments_[i] != nullptr && segments_[i]->bytes() == run + run_length &&
             run_length + segments_[i]->length() <= INT32_MAX;
             i++) {
            run_length += segments_[i]->length();
        }
        ok = file->Section_Write(run, static_cast<int>(run_length)) == run_length;
    }
    if (!ok) {
        Error(file->error());
        return false;
    }
    file->Section_End();
    return true;
}

int64_t SegmentManager::WrittenSize() const {
    int64_t size = SEGMENT_LIST_HEADER_SIZE + SEGMENT_HEADER_SIZE * static_cast<int64_t>(count_);
    for (int i = 0; i < count_; i++) {
        if (segments_[i] != nullptr) size += segments_[i]->length();
    }
    return size;
}

bool SegmentManager::Read(TaggedFile* file) {
    unsigned char list_header[SEGMENT_LIST_HEADER_SIZE];
    if (file->Section_Read(TAG_SEGS, 0, list_header, SEGMENT_LIST_HEADER_SIZE) !=
        SEGMENT_LIST_HEADER_SIZE) {
        Error(file->error());
        return false;
    }
    int entries = get_s32(list_header + 0);
    int start = get_s32(list_header + 4);
    if (start < 0 || entries <= start) {
        Error("segment_list.start out of range");
        return false;
    }
    if (static_cast<uint32_t>(entries) > SEGMENT_ENTRIES_MAX) {
        Error("segment_list.entries out of range");
        return false;
    }
    int table_size = entries * SEGMENT_HEADER_SIZE;
    std::vector<unsigned char> table;
    if (file->Section_Read_Vector(TAG_SEGS, SEGMENT_LIST_HEADER_SIZE, &table, table_size) !=
        table_size) {
        Error(file->error());
        return false;
    }

    // Read into a new array; the old segments stay until every one has arrived.
    Segment** segments = new Segment*[entries]();
    uint32_t data_start = SEGMENT_LIST_HEADER_SIZE + static_cast<uint32_t>(table_size);
    std::vector<unsigned char> bytes;
    for (int i = 0; i < entries; i++) {
        const unsigned char* header = table.data() + static_cast<size_t>(i) * SEGMENT_HEADER_SIZE;
        int offset = get_s32(header + 0);
        int size = get_s32(header + 4);
        bool ok = size >= 0;
        if (!ok) {
            Error("segment_header.size out of range");
        } else {
            // The offset is not checked here: the container refuses any place outside the
            // section, with its own message.
            int at = static_cast<int>(data_start + static_cast<uint32_t>(offset));
            ok = file->Section_Read_Vector(TAG_SEGS, at, &bytes, size) == size;
            if (!ok) Error(file->error());
        }
        if (!ok) {
            for (int k = 0; k < i; k++) delete segments[k];
            delete[] segments;
            return false;
        }
        char* data = new char[size];
        if (size > 0) std::memcpy(data, bytes.data(), static_cast<size_t>(size));
        segments[i] = new Segment(i, data, size, size);
    }

    Free();
    segments_ = segments;
    capacity_ = entries;
    held_ = entries;
    count_ = entries;
    start_ = start;
    return true;
}
