// Language table of the localization: languages by code, the current-language lookup with its
// fallback, lazy loading of indexes, and the "locl" section with the index sections after it.
#include <vector>

#include "compiled/LocalizedLanguages.h"

#include <cassert>
#include <climits>
#include <cstdint>
#include <cstring>
#include <utility>

#include "compiled/Dictionary.h"
#include "compiled/TableSupport.h"
#include "compiled/TaggedFile.h"
#include "driver/TarnApplication.h"
#include "foundation/ByteOrder.h"

namespace {

// Every index the table makes: 4096 buckets, room for 128 keys before it grows.
constexpr int INDEX_BUCKET_BITS = 12;
constexpr int INDEX_CAPACITY = 128;

constexpr int LANGUAGE_RECORD_SIZE = 8;

// Read limits, so that every array sized from them stays within 31 bits. The language count has
// a looser and a tighter bound, reported alike; the tighter one is in force.
constexpr uint32_t MAX_LANGUAGE_COUNT_LOOSE = 0x1FFFFFFF;
constexpr uint32_t MAX_LANGUAGE_COUNT = 0x07FFFFFF;
const TableShape SHAPE = {"localized_language_header",
                          "index_count",
                          "localized_language_bucket.index out of range",
                          MAX_LANGUAGE_COUNT_LOOSE,
                          MAX_LANGUAGE_COUNT,
                          UINT32_MAX,
                          TABLE_HEADER_SIZE};

}  // namespace

LocalizedLanguages::LocalizedLanguages(TarnApplication* application, Dictionary* dictionary,
                                       TaggedFile* file, int bucket_bits, int capacity)
    : bucket_bits_(bucket_bits),
      bucket_count_(1 << (bucket_bits & 31)),
      bucket_entries_(0),
      next_(nullptr),
      languages_(nullptr),
      count_(0),
      capacity_(capacity),
      allocated_(0),
      application_(application),
      dictionary_(dictionary),
      file_(file),
      current_language_(-1),
      current_count_(0),
      default_language_(-1),
      default_count_(0) {
    buckets_.Reset(bucket_count_);
}

LocalizedLanguages::~LocalizedLanguages() {
    for (int i = 0; i < count_; ++i) delete languages_[i].index;
    delete[] languages_;
    delete[] next_;
}

int LocalizedLanguages::Entries() {
    return count_;
}

const String& LocalizedLanguages::error() {
    return error_;
}

void LocalizedLanguages::Error(const String& text) {
    if (text.buffer() != nullptr) error_ = text;
}

const _LL_Entry* LocalizedLanguages::language(int i) const {
    return IsLanguage(i) ? &languages_[i] : nullptr;
}

// ---- adding ----

// Chains are sorted as in the function table: shorter codes first, equal lengths by memcmpi,
// a code equal to earlier ones after them.
int LocalizedLanguages::Add_Entry(int code) {
    if (count_ >= capacity_) capacity_ += LOCALIZED_LANGUAGES_GROWTH;
    Allocate(count_ + 1);
    int added = count_;
    languages_[added] = _LL_Entry{code, nullptr};
    next_[added] = -1;
    int length = 0;
    const char* text = dictionary_->Entry(code, &length);
    if (text == nullptr) return -1;
    languages_[added].index =
        new LocalizedIndex(dictionary_, INDEX_BUCKET_BITS, INDEX_CAPACITY, added);
    ++count_;

    int bucket = name_bucket(text, length, bucket_bits_);
    int previous = -1;
    int current = buckets_.Head(bucket);
    if (current == -1) ++bucket_entries_;
    for (int steps = 0; IsLanguage(current) && current != added && steps < count_; ++steps) {
        int size = 0;
        const char* other = dictionary_->Entry(languages_[current].code, &size);
        if (name_order(other, size, text, length) > 0) break;
        previous = current;
        current = next_[current];
    }
    next_[added] = IsLanguage(current) && current != added ? current : -1;
    if (previous == -1) {
        buckets_.SetHead(bucket, added);
    } else {
        next_[previous] = added;
    }
    return added;
}

int LocalizedLanguages::Add_Entry(const char* code_text, int code_length, const char* key_text,
                                  int key_length, int value) {
    int code = dictionary_->Entry_Add(code_text, code_length);
    int key = dictionary_->Entry_Add(key_text, key_length);
    return Add_Entry(code, key, value);
}

int LocalizedLanguages::Add_Entry(int code, int key, int value) {
    int length = 0;
    const char* text = dictionary_->Entry(code, &length);
    int position = text == nullptr ? -1 : Find(text, length);
    if (position == -1) position = Add_Entry(code);
    LocalizedIndex* index = position == -1 ? nullptr : Load(position);
    return index == nullptr ? -1 : index->Add_Entry(key, value);
}

// ---- lookup ----

_LL_Entry* LocalizedLanguages::Get_Language_Entry(const char* code_text, int length) {
    if (length == -1) length = static_cast<int>(std::strlen(code_text));
    int position = Find(code_text, length);
    if (position == -1 || Load(position) == nullptr) return nullptr;
    return &languages_[position];
}

_LL_Entry* LocalizedLanguages::Get_Language_Entry(int code) {
    int length = 0;
    const char* text = dictionary_->Entry(code, &length);
    return text == nullptr ? nullptr : Get_Language_Entry(text, length);
}

// The language lookups are cached by the application's change counters. The default language's
// cache is stamped with the current language's counter, not its own: whenever the two counters
// differ, the default language is looked up again on every fallback. The loader has always
// behaved so, and it is kept.
const _LI_Entry* LocalizedLanguages::Get_Entry(int key) {
    int current_count = application_->languagecount();
    if (current_count != current_count_) {
        const String& code = application_->language();
        _LL_Entry* found = Get_Language_Entry(code.c_str(), code.length());
        current_language_ = found == nullptr ? -1 : static_cast<int>(found - languages_);
        current_count_ = current_count;
    }
    if (current_language_ != -1) {
        const _LI_Entry* hit = languages_[current_language_].index->Get_Entry(key);
        if (hit != nullptr) return hit;
    }
    if (application_->defaultlanguagecount() != default_count_) {
        const String& code = application_->defaultlanguage();
        _LL_Entry* found = Get_Language_Entry(code.c_str(), code.length());
        default_language_ = found == nullptr ? -1 : static_cast<int>(found - languages_);
        default_count_ = current_count;
    }
    if (default_language_ == -1) return nullptr;
    return languages_[default_language_].index->Get_Entry(key);
}

const _LI_Entry* LocalizedLanguages::Get_Entry(int code, int key) {
    int length = 0;
    const char* text = dictionary_->Entry(code, &length);
    int position = text == nullptr ? -1 : Find(text, length);
    if (position == -1) position = Add_Entry(code);
    LocalizedIndex* index = position == -1 ? nullptr : Load(position);
    return index == nullptr ? nullptr : index->Get_Entry(key);
}

int LocalizedLanguages::Find(const char* code_text, int length) {
    int current = buckets_.Head(name_bucket(code_text, length, bucket_bits_));
    // A chain read from a file may loop; no chain is longer than the table.
    for (int steps = 0; IsLanguage(current) && steps < count_; ++steps) {
        int size = 0;
        const char* other = dictionary_->Entry(languages_[current].code, &size);
        int order = name_order(other, size, code_text, length);
        if (order > 0) return -1;
        if (order == 0) return current;
        current = next_[current];
    }
    return -1;
}

LocalizedIndex* LocalizedLanguages::Load(int position) {
    _LL_Entry& language = languages_[position];
    if (language.index != nullptr || file_ == nullptr) return language.index;
    LocalizedIndex* index =
        new LocalizedIndex(dictionary_, INDEX_BUCKET_BITS, INDEX_CAPACITY, position);
    if (index->Read(file_, tag_language_index(position))) {
        language.index = index;
    } else {
        Error(index->error());
        delete index;
    }
    // Indexes load one at a time, long after the file was opened: the file manager may close
    // the descriptor until the next one is needed.
    file_->Deactivate();
    return language.index;
}

// ---- writing ----

// Section "locl":
//   offset  size                   field
//   0       2                      localized_language_header.bucket_entries
//   2       1                      localized_language_header.bucket_bits
//   3       4                      localized_language_header.index_count
//   7       6 per non-empty bucket localized_language_bucket.index (2), .language (4)
//   then    8 per language         localized_language.code (4), localized_language.next (4)
// The chain link follows the code here, unlike the index records, where it sits in the middle.
bool LocalizedLanguages::Write(TaggedFile* file) {
    file->Section_Start(TAG_LOCL);
    unsigned char header[TABLE_HEADER_SIZE];
    put_u16(header, static_cast<uint32_t>(bucket_entries_));
    put_u8(header + 2, static_cast<uint32_t>(bucket_bits_));
    put_u32(header + 3, static_cast<uint32_t>(count_));

    int record = 0;
    std::vector<unsigned char> bucket_records =
        encode_bucket_records(buckets_, bucket_count_, bucket_entries_, &record);
    std::vector<unsigned char> language_records(static_cast<size_t>(LANGUAGE_RECORD_SIZE * count_));
    for (int i = 0; i < count_; ++i) {
        put_u32(language_records.data() + LANGUAGE_RECORD_SIZE * i,
                static_cast<uint32_t>(languages_[i].code));
        put_u32(language_records.data() + LANGUAGE_RECORD_SIZE * i + 4,
                static_cast<uint32_t>(next_[i]));
    }

    SectionWriter out(file);
    out.Write(header, TABLE_HEADER_SIZE);
    out.Write(bucket_records.data(), BUCKET_RECORD_SIZE * record);
    out.Write(language_records.data(), LANGUAGE_RECORD_SIZE * count_);
    if (!out.ok()) {
        Error(file->error());
        return false;
    }
    file->Section_End();

    // A file of version 1.7 or older has room for one index only: the other languages' keys are
    // not written.
    bool every_index = index_per_language(file->version());
    int written = every_index ? count_ : (count_ > 0 ? 1 : 0);
    for (int i = 0; i < written; ++i) {
        LocalizedIndex* index = Load(i);
        if (index == nullptr) return false;
        if (!index->Write(file, every_index ? tag_language_index(i) : TAG_NONE)) {
            Error(index->error());
            return false;
        }
    }
    return true;
}

int64_t LocalizedLanguages::WrittenSize(int version, int* sections) const {
    const int written = index_per_language(version) ? count_ : (count_ > 0 ? 1 : 0);
    int64_t size = TABLE_HEADER_SIZE + BUCKET_RECORD_SIZE * static_cast<int64_t>(bucket_entries_) +
                   LANGUAGE_RECORD_SIZE * static_cast<int64_t>(count_);
    for (int i = 0; i < written; ++i) {
        if (languages_[i].index != nullptr) size += languages_[i].index->WrittenSize();
    }
    *sections = 1 + written;
    return size;
}

// ---- reading ----

bool LocalizedLanguages::Read() {
    assert(file_ != nullptr);
    if (!file_->Section_Read_Start(TAG_LOCL)) {
        Error(file_->error());
        return false;
    }
    TableHeader table;
    BucketArray buckets;
    String reason;
    if (!read_table_start(file_, SHAPE, &table, &buckets, &reason)) {
        Error(reason);
        return false;
    }
    uint32_t bucket_count = table.bucket_count;
    uint32_t bucket_bits = table.bucket_bits;
    uint32_t index_count = table.count;

    int count = static_cast<int>(index_count);
    std::vector<unsigned char> language_records;
    if (file_->Section_Read_Vector(&language_records, LANGUAGE_RECORD_SIZE * count) !=
        LANGUAGE_RECORD_SIZE * count) {
        Error(file_->error());
        return false;
    }
    int* next = new int[count];
    _LL_Entry* languages = new _LL_Entry[count];
    for (int i = 0; i < count; ++i) {
        languages[i] =
            _LL_Entry{get_s32(language_records.data() + LANGUAGE_RECORD_SIZE * i), nullptr};
        next[i] = get_s32(language_records.data() + LANGUAGE_RECORD_SIZE * i + 4);
    }
    file_->Section_Read_End();

    for (int i = 0; i < count_; ++i) delete languages_[i].index;
    delete[] languages_;
    delete[] next_;
    buckets_ = std::move(buckets);
    bucket_bits_ = static_cast<int>(bucket_bits);
    bucket_count_ = static_cast<int>(bucket_count);
    bucket_entries_ = 0;
    for (int b = 0; b < buckets_.held(); ++b) {
        if (buckets_.Head(b) != -1) ++bucket_entries_;
    }
    next_ = next;
    languages_ = languages;
    count_ = count;
    capacity_ = count;
    allocated_ = count;
    current_language_ = -1;
    current_count_ = 0;
    default_language_ = -1;
    default_count_ = 0;
    return true;
}

// Makes at least 'needed' language records (and links) real, doubling; the capacity counts in
// steps of 8 beside it. Not held to the capacity: a long table would otherwise be copied once
// per step.
void LocalizedLanguages::Allocate(int needed) {
    if (needed <= allocated_) return;
    int size =
        doubled_allocation(allocated_, LOCALIZED_LANGUAGES_GROWTH, needed, sizeof(_LL_Entry));
    move_into(&next_, allocated_, new_links(size));
    move_into(&languages_, allocated_, new _LL_Entry[static_cast<size_t>(size)]());
    allocated_ = size;
}
