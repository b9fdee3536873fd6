// Tagged container of a compiled Tarn Script file: a 32-byte header, sections back to back, and a
// directory at the end that names each section by its tag. Section writers and readers go
// through it; they never touch the file themselves.
//
// Adding a section type touches these places, and no others:
//   1. its tag below (TAG_...);
//   2. its class in compiled/: Write (through SectionWriter), Read, and WrittenSize, which
//      must count exactly the bytes Write sends; its counts and their bounds, if the loader
//      bounds them, in compiled/FormatLimits;
//   3. assembler/AssemblerParser.cpp: the section's place in Write's chain, and its
//      WrittenSize and its directory entry in Counts;
//   4. driver/CompiledImage: its place in LOAD_ORDER and its case in ReadSection (the fuzz
//      targets and tndump follow that list);
//   5. driver/DumpWriter.cpp and driver/SourceWriter.cpp: how tndump shows it and writes it
//      back as source;
//   6. the README's table of the compiled file, and the golden files under tests/golden.
#ifndef TARN_COMPILED_TAGGEDFILE_H
#define TARN_COMPILED_TAGGEDFILE_H

#include <cstdint>
#include <vector>

#include "foundation/String.h"
#include "platform/File.h"
#include "platform/FileManager.h"

// Section tags: four ASCII bytes read as one little-endian word. The loader finds every section
// by these values, so they are part of the file format.
constexpr int TAG_DICT = 0x74636964;  // "dict": string dictionary
constexpr int TAG_GLBL = 0x6C626C67;  // "glbl": global variable hash table
constexpr int TAG_SYST = 0x74737973;  // "syst": system variable hash table
constexpr int TAG_FUNC = 0x636E7566;  // "func": function table
constexpr int TAG_SEGS = 0x73676573;  // "segs": code segments
constexpr int TAG_IDNT = 0x746E6469;  // "idnt": identifier list
constexpr int TAG_LOCL = 0x6C636F6C;  // "locl": localization languages
constexpr int TAG_LOCD = 0x64636F6C;  // "locd": localized dictionary
// The single localization index of files of version 1.7 or earlier; to the writer, tag 0 also
// means "no section open".
constexpr int TAG_NONE = 0;

// Tag of the localization index of one language in files of version 1.8 or later: 'L' 'X'
// followed by the 16-bit language number.
inline int tag_language_index(int language) {
    return static_cast<int>(0x584Cu + (static_cast<uint32_t>(language) << 16));
}

// "Tarn" as a little-endian word.
constexpr uint32_t TF_MAGIC = 0x6E726154;
// Format versions: major in the high 16 bits, minor in the low 16. Readers accept 1.1 to 1.13.
constexpr int TF_VERSION_OLDEST = 0x10001;
constexpr int TF_VERSION_CURRENT = 0x1000D;
// The version the assembler writes without a .version directive, which can only raise it.
constexpr int TF_VERSION_DEFAULT = TF_VERSION_OLDEST;
// The last version whose file holds a single localization index (tag 0), that of the first
// language; later versions hold one index per language, tagged by tag_language_index.
constexpr int LAST_SINGLE_INDEX_VERSION = 0x10007;
inline bool index_per_language(int version) {
    return static_cast<uint32_t>(version) > static_cast<uint32_t>(LAST_SINGLE_INDEX_VERSION);
}
constexpr int TF_HEADER_SIZE = 32;
constexpr int TF_IDENTIFIER_SIZE = 16;
constexpr int TF_DIRECTORY_ENTRY_SIZE = 12;
// The directory array grows by this many entries whenever it is full.
constexpr int TF_DIRECTORY_STEP = 16;
// Section bytes are gathered into writes of this size; a larger piece goes out by itself.
constexpr int TF_WRITE_BUFFER_SIZE = 1 << 20;
// The granule in which the string dictionary sizes its data blocks.
constexpr int TF_DATA_BLOCK_SIZE = 8192;

// One directory entry: where a section lies in the file.
struct TaggedFileEntry {
    int tag;
    int offset;
    int size;
};

class TaggedFile {
  public:
    // 'manager' is not owned and must outlive this object.
    explicit TaggedFile(FileManager* manager);
    TaggedFile(const TaggedFile&) = delete;
    TaggedFile& operator=(const TaggedFile&) = delete;
    virtual ~TaggedFile();

    virtual const String& error();
    // An empty 'text' leaves the stored text as it was.
    virtual void Error(const String& text);

    // ---- writing ----
    // 'identifier' is 16 bytes copied into the header, or null for zeros; a 'version' of 0
    // writes the current format.
    bool Create(const char* name, const void* identifier, int version);
    void Section_Start(int tag);
    // The File::Write result; callers compare it with 'count' themselves.
    int Section_Write(const void* bytes, int count);
    // From now on section bytes go to the file in large pieces rather than as they come: a
    // failure then shows at the Section_Write, Section_Flush or Close that sends them out.
    void Gather_Writes() { gather_writes_ = true; }
    void Section_End();
    bool Section_Flush();

    // ---- reading ----
    bool Open(const char* name, int mode);
    // Reads over a file the caller opened. On success the file belongs to this object; on
    // failure it is forgotten, not closed, and still belongs to the caller.
    bool Open(const char* name, File* file);
    bool Section_Read_Start(int tag, int* size = nullptr);
    // Sequential read from the current section: bytes read, or -1.
    int Section_Read(void* bytes, int count);
    // Random-access read at 'offset' within section 'tag': bytes read, or -1. The sequential
    // position is not touched.
    int Section_Read(int tag, int offset, void* bytes, int count);
    void Section_Read_End();

    // The same reads into 'out' (resized to the bytes actually read), for counts taken from the
    // file: the buffer grows only as the bytes arrive, so a count the file cannot back never
    // allocates more than the file holds. Results as for Section_Read.
    int Section_Read_Vector(std::vector<unsigned char>* out, int count);
    int Section_Read_Vector(int tag, int offset, std::vector<unsigned char>* out, int count);

    void Close();
    // Lets the file manager close the descriptor of an idle file and reopen it on next use.
    void Deactivate();

    // ---- what readers and dumpers look at ----
    int version() const { return version_; }
    const unsigned char* identifier() const { return identifier_; }
    int directory_offset() const { return directory_offset_; }
    int directory_entries() const { return directory_count_; }
    int directory_capacity() const { return directory_capacity_; }
    // Entry 'i' of the directory, or null when 'i' is out of range.
    const TaggedFileEntry* directory_entry(int i) const;
    const String& name() const { return name_; }
    FileManager* file_manager() const { return manager_; }
    File* file() const { return file_; }

  private:
    bool Header_Write();
    bool Header_Read();
    bool Directory_Write();
    bool Directory_Read();
    // Makes the section with 'tag' current; false with "Invalid section" when there is none.
    bool Section_Lookup(int tag);
    int Sequential_Check(int count);
    int Random_Check(int tag, int offset, int count);
    int File_Read_Pieces(std::vector<unsigned char>* out, int wanted);
    bool Need_File();
    void Reset();
    bool Flush_Writes();

    FileManager* manager_;
    File* file_;
    String name_;
    String error_;

    // Header fields as they stand in the file.
    uint32_t magic_;
    int version_;
    unsigned char identifier_[TF_IDENTIFIER_SIZE];
    int directory_offset_;
    int directory_count_;

    TaggedFileEntry* directory_;
    int directory_capacity_;

    // Writing: the open section (tag 0 = none), where it starts, its bytes so far, and the
    // place of the next write. Reading reuses 'position_' as the place within the section.
    int open_tag_;
    int64_t section_start_;
    int64_t section_bytes_;
    int64_t position_;
    // Section bytes not yet handed to the file; they belong at the end of what was written.
    std::vector<unsigned char> write_buffer_;
    bool gather_writes_ = false;

    // Reading: index of the current directory entry, -1 for none.
    int current_;
};

#endif
