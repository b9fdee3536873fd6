// Bucket records, written and read alike by every hashed table of a compiled file.
#include "compiled/TableSupport.h"

#include "compiled/TaggedFile.h"
#include "foundation/ByteOrder.h"

namespace {

// Limits that keep every array a loader sizes from a header within 31 bits.
constexpr uint32_t MAX_BUCKET_BITS = 32;
constexpr uint32_t MAX_BUCKET_COUNT = 0x1FFFFFFF;

String out_of_range(const char* header_name, const char* field) {
    String message(header_name);
    message.cat(".");
    message.cat(field);
    message.cat(" out of range");
    return message;
}

bool check_table_header(const unsigned char* header, const TableShape& shape, TableHeader* table,
                        String* error) {
    const char* header_name = shape.header_name;
    table->bucket_bits = get_u8(header + 2);
    if (table->bucket_bits > MAX_BUCKET_BITS) {
        *error = out_of_range(header_name, "bucket_bits");
        return false;
    }
    table->bucket_count = 1u << (table->bucket_bits & 31);
    if (table->bucket_count > MAX_BUCKET_COUNT) {
        *error = String("read_bucket_size out of range");
        return false;
    }
    table->count = get_u32(header + 3);
    if (table->count > shape.count_loose || table->count > shape.count_tight) {
        *error = out_of_range(header_name, shape.count_field);
        return false;
    }
    table->bucket_entries = get_s16(header);
    if (table->bucket_entries < 0) {
        *error = out_of_range(header_name, "bucket_entries");
        return false;
    }
    if (table->count > shape.count_records) {
        *error = out_of_range(header_name, shape.count_field);
        return false;
    }
    return true;
}

bool read_bucket_records(TaggedFile* file, int entries, uint32_t bucket_count,
                         const char* bad_index, BucketArray* buckets, String* error) {
    std::vector<unsigned char> bytes;
    if (file->Section_Read_Vector(&bytes, BUCKET_RECORD_SIZE * entries) !=
        BUCKET_RECORD_SIZE * entries) {
        *error = file->error();
        return false;
    }
    for (int r = 0; r < entries; ++r) {
        const unsigned char* record = bytes.data() + static_cast<size_t>(BUCKET_RECORD_SIZE) * r;
        int bucket = get_s16(record);
        if (bucket < 0 || static_cast<uint32_t>(bucket) >= bucket_count) {
            *error = String(bad_index);
            return false;
        }
        buckets->SetHead(bucket, get_s32(record + 2));
    }
    return true;
}

}  // namespace

std::vector<unsigned char> encode_bucket_records(const BucketArray& buckets, int bucket_count,
                                                 int limit, int* records) {
    std::vector<unsigned char> bytes(static_cast<size_t>(BUCKET_RECORD_SIZE) *
                                     static_cast<size_t>(limit > 0 ? limit : 0));
    int record = 0;
    buckets.ForEachChain(bucket_count, [&](int bucket, int head) {
        if (record >= limit) return;
        unsigned char* at = bytes.data() + static_cast<size_t>(BUCKET_RECORD_SIZE) * record;
        put_u16(at, static_cast<uint32_t>(bucket));
        put_u32(at + 2, static_cast<uint32_t>(head));
        ++record;
    });
    *records = record;
    return bytes;
}

bool read_table_start(TaggedFile* file, const TableShape& shape, TableHeader* table,
                      BucketArray* buckets, String* error) {
    // No table's header is longer than this.
    unsigned char header[16];
    if (shape.header_size > static_cast<int>(sizeof header) ||
        file->Section_Read(header, shape.header_size) != shape.header_size) {
        *error = file->error();
        return false;
    }
    return check_table_header(header, shape, table, error) &&
           read_bucket_records(file, table->bucket_entries, table->bucket_count, shape.bad_bucket,
                               buckets, error);
}

void SectionWriter::Write(const void* bytes, int size) {
    if (!ok_ || size <= 0) return;
    ok_ = file_->Section_Write(bytes, size) == size;
    if (ok_) written_ += size;
}
