// Test helpers for the section tables: in-memory containers built from hand-made sections, and
// the bytes of a section as a writer left it.
#ifndef TARN_TESTS_COMPILED_TABLEFILES_H
#define TARN_TESTS_COMPILED_TABLEFILES_H

#include <algorithm>
#include <cstddef>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "compiled/TaggedFile.h"
#include "foundation/ByteOrder.h"
#include "support/MemoryFile.h"

using Bytes = std::vector<unsigned char>;

// One section of a hand-made container.
struct Section {
    int tag;
    Bytes bytes;
};

inline bool operator==(const Section& a, const Section& b) {
    return a.tag == b.tag && a.bytes == b.bytes;
}

// A container of 'version' holding 'sections' back to back, with its directory.
inline Bytes container_with(const std::vector<Section>& sections, int version = 0x10001) {
    Bytes file(32, 0);
    put_u32(file.data(), TF_MAGIC);
    put_u32(file.data() + 4, static_cast<uint32_t>(version));
    Bytes directory;
    for (const Section& section : sections) {
        Bytes entry(12);
        put_u32(entry.data(), static_cast<uint32_t>(section.tag));
        put_u32(entry.data() + 4, static_cast<uint32_t>(file.size()));
        put_u32(entry.data() + 8, static_cast<uint32_t>(section.bytes.size()));
        directory.insert(directory.end(), entry.begin(), entry.end());
        file.insert(file.end(), section.bytes.begin(), section.bytes.end());
    }
    put_u32(file.data() + 24, static_cast<uint32_t>(file.size()));
    put_u32(file.data() + 28, static_cast<uint32_t>(sections.size()));
    file.insert(file.end(), directory.begin(), directory.end());
    return file;
}

// A container of one section.
inline Bytes container_with(int tag, const Bytes& section, int version = 0x10001) {
    return container_with(std::vector<Section>{{tag, section}}, version);
}

// Holds an in-memory file system and a container opened for reading over it.
struct OpenContainer {
    MemoryFileManager files;
    TaggedFile file{&files};
    bool opened = false;

    explicit OpenContainer(const Bytes& bytes) {
        files.Put("in.tnc", bytes);
        opened = file.Open("in.tnc", FILE_MODE_READ);
    }
};

// Every section of a written container, in directory order.
inline std::vector<Section> sections_of(const Bytes& file) {
    std::vector<Section> sections;
    if (file.size() < 32) return sections;
    uint32_t directory = get_u32(file.data() + 24);
    uint32_t count = get_u32(file.data() + 28);
    for (uint32_t i = 0; i < count && directory + 12 * (i + 1) <= file.size(); ++i) {
        const unsigned char* entry = file.data() + directory + 12 * i;
        uint32_t offset = get_u32(entry + 4);
        uint32_t size = get_u32(entry + 8);
        if (offset + size > file.size()) break;
        sections.push_back(
            {get_s32(entry), Bytes(file.begin() + offset, file.begin() + offset + size)});
    }
    return sections;
}

// Writes a container of 'version' through 'write' (given the open writer; returns its status)
// and hands back the file's bytes. 'status' receives write's result.
template <class Writer>
Bytes write_container(Writer write, int version = 0x10001, bool* status = nullptr) {
    MemoryFileManager files;
    TaggedFile file(&files);
    bool ok = file.Create("out.tnc", nullptr, version);
    ok = ok && write(file);
    file.Section_Flush();
    if (status != nullptr) *status = ok;
    return files.Get("out.tnc");
}

// 'body' with 'value' written over it at 'at'.
inline Bytes patched(Bytes body, size_t at, const Bytes& value) {
    std::copy(value.begin(), value.end(), body.begin() + static_cast<std::ptrdiff_t>(at));
    return body;
}

// 'body' with the little-endian 'value' written over it at 'at'.
inline Bytes with_u32(Bytes body, size_t at, uint32_t value) {
    put_u32(body.data() + at, value);
    return body;
}

// The first 'size' bytes of 'body'.
inline Bytes prefix(const Bytes& body, size_t size) {
    return Bytes(body.begin(), body.begin() + static_cast<std::ptrdiff_t>(size));
}

// Little-endian bytes of 'value', for building fixtures row by row.
inline Bytes u16(uint32_t value) {
    return {static_cast<unsigned char>(value), static_cast<unsigned char>(value >> 8)};
}
inline Bytes u32(uint32_t value) {
    return {static_cast<unsigned char>(value), static_cast<unsigned char>(value >> 8),
            static_cast<unsigned char>(value >> 16), static_cast<unsigned char>(value >> 24)};
}
inline Bytes cat(std::initializer_list<Bytes> rows) {
    Bytes out;
    for (const Bytes& row : rows) out.insert(out.end(), row.begin(), row.end());
    return out;
}
inline Bytes u32s(std::initializer_list<uint32_t> values) {
    Bytes out;
    for (uint32_t value : values) out = cat({out, u32(value)});
    return out;
}

// "dict" holding 'texts' back to back, entries in order.
inline Bytes dictionary_of(const std::vector<std::string>& texts) {
    Bytes table;
    std::string data;
    for (const std::string& text : texts) {
        table =
            cat({table,
                 u32s({static_cast<uint32_t>(data.size()), static_cast<uint32_t>(text.size())})});
        data += text;
    }
    return cat({u32s({static_cast<uint32_t>(texts.size()), static_cast<uint32_t>(data.size()), 0}),
                table, Bytes(data.begin(), data.end())});
}

#endif
