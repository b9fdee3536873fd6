// Code segment: growable instruction bytes, written little-endian at any position, and the
// listing of them, one instruction a line.
#include "compiled/Segment.h"

#include <climits>
#include <cstdarg>
#include <cstdint>
#include <cstring>
#include <string>

#include "foundation/ByteOrder.h"

namespace {

struct ListingName {
    unsigned code;
    const char* name;
};

// Listing names by instruction code, in ascending order of code (looked up by binary search).
// They differ from the assembler's mnemonics in places and both are kept as they stand; codes
// not in this table list as "Illegal Instruction", assemblable ones included.
// clang-format off
const ListingName LISTING_NAMES[] = {
    // no operands
    {0x0000, "noop"},        {0x0007, "pushd"},       {0x0009, "pushn"},
    {0x000B, "pop"},         {0x000F, "popd"},        {0x0011, "popn"},
    {0x0013, "spush"},       {0x0014, "spop"},        {0x0015, "out"},
    {0x0016, "add"},         {0x0017, "sub"},         {0x0018, "cat"},
    {0x0019, "bitand"},      {0x001A, "bitor"},       {0x001B, "bitxor"},
    {0x001C, "bitoc"},       {0x001D, "bitsl"},       {0x001E, "bitsr"},
    {0x001F, "div"},         {0x0020, "mul"},         {0x0021, "mod"},
    {0x0022, "rounds"},      {0x0023, "crypt"},       {0x0024, "pow"},
    {0x0025, "roundf"},      {0x002C, "cmp"},         {0x002D, "and"},
    {0x002E, "or"},          {0x002F, "in"},          {0x0030, "cin"},
    {0x0031, "ein"},         {0x0032, "ecin"},        {0x0033, "eq"},
    {0x0034, "ne"},          {0x0035, "ge"},          {0x0036, "le"},
    {0x0037, "lt"},          {0x0038, "gt"},          {0x0039, "not"},
    {0x003A, "dup"},         {0x003B, "ret"},         {0x003C, "retn"},
    {0x003E, "elem"},        {0x0040, "memb"},        {0x0042, "store"},
    {0x0043, "exit"},        {0x0045, "op_do_file"},  {0x0046, "op_do_function"},
    {0x0047, "hide"},        {0x0048, "lockfile"},    {0x0049, "lockfile_end"},
    {0x0051, "out_comp"},    {0x0057, "refer"},       {0x005A, "isnull"},
    {0x0105, "export"},      {0x0108, "pop3delete"},  {0x010B, "op_smtp_end"},
    {0x0200, "dbopen"},      {0x0201, "dbclose"},     {0x0202, "dbskip"},
    {0x0203, "dbgo"},        {0x0204, "dbadd"},       {0x0205, "dbupdate"},
    {0x0206, "dbdelete"},    {0x0207, "dbundelete"},  {0x0208, "dbprimary"},
    {0x0209, "dbfind"},      {0x020A, "dbsetindex"},  {0x020B, "dbmakeindex"},
    {0x020C, "dbpack"},      {0x020D, "dbreindex"},   {0x020E, "dbcreate"},
    {0x0210, "dbopenview"},  {0x0211, "dbcloseview"}, {0x0212, "dbquery"},
    {0x0213, "dbfilter"},    {0x0214, "dbrevealstructuredb"},
    {0x0215, "dbrevealstructureagg"},
    // one dword operand
    {0x4001, "pushc"},       {0x4002, "pushi"},       {0x4004, "pushs"},
    {0x4005, "pushg"},       {0x4006, "pushl"},       {0x400A, "pushnc"},
    {0x400C, "pops"},        {0x400D, "popg"},        {0x400E, "popl"},
    {0x4012, "popnc"},       {0x4025, "jmp"},         {0x4026, "jmp_eq"},
    {0x4027, "jmp_lt"},      {0x4028, "jmp_gt"},      {0x4029, "jmp_le"},
    {0x402A, "jmp_ge"},      {0x402B, "jmp_ne"},      {0x403D, "call"},
    {0x4044, "lineno"},      {0x404A, "sourcefile"},  {0x404C, "erroutput"},
    {0x404D, "poplvnc"},     {0x404E, "localize"},    {0x404F, "localizev"},
    {0x4050, "stdoutput"},   {0x4101, "import"},      {0x4102, "importf"},
    {0x4103, "import_loop"}, {0x4104, "import_stop"}, {0x4106, "pop3"},
    {0x4107, "pop3loop"},    {0x4109, "pop3stop"},    {0x410A, "op_smtp"},
    {0x410C, "op_http"},     {0x410D, "op_http_loop"}, {0x410E, "op_http_stop"},
    {0x410F, "op_commerce"}, {0x4110, "op_commerce_loop"},
    {0x4111, "op_commerce_stop"},
    // two dword operands
    {0x5008, "pushdc"},      {0x5010, "popdc"},       {0x504B, "tagerror"},
    {0x5301, "cmpgg"},       {0x5302, "cmpgi"},       {0x5303, "incg"},
    {0x5304, "modgg"},       {0x5305, "storegi"},
    // one double operand
    {0x8003, "pushf"},
};
// clang-format on
static_assert(sizeof LISTING_NAMES / sizeof LISTING_NAMES[0] == 126,
              "one listing name per named instruction code");

// Appends printf-style text to 'out'.
__attribute__((format(printf, 2, 3))) void append_format(std::string* out, const char* format,
                                                         ...) {
    char small[64];
    va_list args;
    va_start(args, format);
    int n = std::vsnprintf(small, sizeof small, format, args);
    va_end(args);
    if (n < 0) return;
    if (n < static_cast<int>(sizeof small)) {
        out->append(small, static_cast<size_t>(n));
        return;
    }
    // Only "%f" of a huge double gets here.
    char* big = new char[static_cast<size_t>(n) + 1];
    va_start(args, format);
    std::vsnprintf(big, static_cast<size_t>(n) + 1, format, args);
    va_end(args);
    out->append(big, static_cast<size_t>(n));
    delete[] big;
}

}  // namespace

const char* segment_listing_name(unsigned code) {
    size_t low = 0;
    size_t high = sizeof LISTING_NAMES / sizeof LISTING_NAMES[0];
    while (low < high) {
        size_t middle = (low + high) / 2;
        if (LISTING_NAMES[middle].code < code) {
            low = middle + 1;
        } else {
            high = middle;
        }
    }
    if (low < sizeof LISTING_NAMES / sizeof LISTING_NAMES[0] && LISTING_NAMES[low].code == code) {
        return LISTING_NAMES[low].name;
    }
    return nullptr;
}

// The capacity is the segment's size in whole steps; the bytes behind it are only allocated as
// writes reach them (and all of them when data() is asked for), so that a file of many small
// functions does not hold a mostly empty step per function. Bytes not yet allocated are zero.
SegmentShelf::~SegmentShelf() {
    for (char* block : blocks_) delete[] block;
}

char* SegmentShelf::Claim(char* piece, int kept, int size) {
    if (size > LARGEST_PIECE) return nullptr;
    const size_t bytes = static_cast<size_t>(size);
    if (piece != nullptr && piece + kept == free_ && static_cast<size_t>(end_ - piece) >= bytes) {
        free_ = piece + bytes;
        return piece;
    }
    if (static_cast<size_t>(end_ - free_) < bytes) {
        char* block = new char[BLOCK_SIZE];
        blocks_.push_back(block);
        free_ = block;
        end_ = block + BLOCK_SIZE;
    }
    char* claimed = free_;
    free_ += bytes;
    if (kept > 0) std::memcpy(claimed, piece, static_cast<size_t>(kept));
    return claimed;
}

void SegmentShelf::Shrink(char* piece, int old_size, int size) {
    if (piece + old_size == free_) free_ = piece + size;
}

Segment::Segment(int number, SegmentShelf* shelf)
    : number_(number),
      data_(nullptr),
      shelf_(shelf),
      shelved_(false),
      allocated_(0),
      capacity_(SEGMENT_GROWTH_STEP),
      length_(0),
      spare_(0) {}

Segment::Segment(int number, char* data, int capacity, int length)
    : number_(number),
      data_(data),
      shelf_(nullptr),
      shelved_(false),
      allocated_(capacity),
      capacity_(capacity),
      length_(length),
      spare_(0) {}

Segment::Segment(const Segment& other)
    : number_(other.number_),
      data_(other.allocated_ > 0 ? new char[other.allocated_] : nullptr),
      shelf_(nullptr),
      shelved_(false),
      allocated_(other.allocated_),
      capacity_(other.capacity_),
      length_(other.length_),
      spare_(other.spare_) {
    if (allocated_ > 0) std::memcpy(data_, other.data_, static_cast<size_t>(allocated_));
}

Segment::~Segment() {
    Release();
}

void Segment::Release() const {
    if (!shelved_) delete[] data_;
}

// Rounds up to whole steps. A 'needed' that already is a multiple stays as it is, so the write
// that ends exactly at the capacity reallocates to the same size; harmless, and kept.
void Segment::Grow(int needed) {
    int rounded = needed;
    if (rounded % SEGMENT_GROWTH_STEP != 0) {
        rounded = (rounded / SEGMENT_GROWTH_STEP + 1) * SEGMENT_GROWTH_STEP;
    }
    if (rounded < capacity_) rounded = capacity_;
    capacity_ = rounded;
}

// Allocates at least 'needed' of the capacity's bytes, doubling (the smallest block first), the
// new bytes zero. The doubling may run past the capacity, which grows in steps of 8192: were it
// held to the capacity, a long segment would be copied once per step, O(n^2 / 8192) bytes.
void Segment::Allocate(int needed) const {
    if (needed <= allocated_) return;
    int64_t size = allocated_ > 0 ? allocated_ : SEGMENT_FIRST_ALLOCATION;
    while (size < needed) size *= 2;
    if (size > INT_MAX) size = needed;
    char* grown = shelf_ != nullptr
                      ? shelf_->Claim(shelved_ ? data_ : nullptr, shelved_ ? allocated_ : 0,
                                      static_cast<int>(size))
                      : nullptr;
    const bool from_shelf = grown != nullptr;
    if (!from_shelf) grown = new char[static_cast<size_t>(size)];
    // A piece that moves within the shelf was carried over by Claim.
    if (allocated_ > 0 && !(from_shelf && shelved_)) {
        std::memcpy(grown, data_, static_cast<size_t>(allocated_));
    }
    std::memset(grown + allocated_, 0, static_cast<size_t>(size - allocated_));
    if (grown != data_) Release();
    shelved_ = from_shelf;
    data_ = grown;
    allocated_ = static_cast<int>(size);
}

void Segment::Trim() {
    if (allocated_ <= length_) return;
    if (shelved_) {
        // The last piece of the shelf gives its spare bytes back; any other keeps them.
        shelf_->Shrink(data_, allocated_, length_);
        allocated_ = length_;
        return;
    }
    char* kept = length_ > 0 ? new char[static_cast<size_t>(length_)] : nullptr;
    if (length_ > 0) std::memcpy(kept, data_, static_cast<size_t>(length_));
    delete[] data_;
    data_ = kept;
    allocated_ = length_;
}

const char* Segment::data() const {
    Allocate(capacity_);
    return data_;
}

bool Segment::Reserve(int position, int width) {
    // Leaves room for the rounding in Grow below INT_MAX.
    if (position < 0 || position > INT_MAX - SEGMENT_GROWTH_STEP - width) return false;
    if (position + width >= capacity_) Grow(position + width);
    Allocate(position + width);
    if (position + width > length_) length_ = position + width;
    return true;
}

bool Segment::Holds(int position, int width) const {
    return position >= 0 && position <= length_ - width;
}

int Segment::Write_Byte(int position, unsigned int value) {
    if (!Reserve(position, 1)) return -1;
    put_u8(reinterpret_cast<unsigned char*>(data_ + position), value);
    return position + 1;
}

int Segment::Write_Word_Growing(int position, unsigned int value) {
    if (!Reserve(position, 2)) return -1;
    put_u16(reinterpret_cast<unsigned char*>(data_ + position), value);
    return position + 2;
}

int Segment::Write_Dword_Growing(int position, unsigned int value) {
    if (!Reserve(position, 4)) return -1;
    put_u32(reinterpret_cast<unsigned char*>(data_ + position), value);
    return position + 4;
}

int Segment::Write_Double(int position, double value) {
    if (!Reserve(position, 8)) return -1;
    put_double(reinterpret_cast<unsigned char*>(data_ + position), value);
    return position + 8;
}

int Segment::Read_Byte(int position, unsigned int* value) const {
    if (!Holds(position, 1)) return -1;
    *value = get_u8(reinterpret_cast<const unsigned char*>(data_ + position));
    return position + 1;
}

int Segment::Read_Word(int position, unsigned int* value) const {
    if (!Holds(position, 2)) return -1;
    *value = get_u16(reinterpret_cast<const unsigned char*>(data_ + position));
    return position + 2;
}

int Segment::Read_Dword(int position, unsigned int* value) const {
    if (!Holds(position, 4)) return -1;
    *value = get_u32(reinterpret_cast<const unsigned char*>(data_ + position));
    return position + 4;
}

int Segment::Read_Double(int position, double* value) const {
    if (!Holds(position, 8)) return -1;
    *value = get_double(reinterpret_cast<const unsigned char*>(data_ + position));
    return position + 8;
}

bool Segment::Write(TaggedFile* file) {
    // An empty segment may have no bytes allocated; it is written all the same (as 0 bytes).
    return file->Section_Write(data_ != nullptr ? data_ : "", length_) == length_;
}

// ---- listing ----

// One line per instruction: its position, a tab, the listing name and a tab (or
// "Illegal Instruction" and a newline), then the operands its shape bits announce. An unknown
// code is still decoded by its bits. Both second-operand bits set print nothing at all, not even
// the newline, so the next instruction goes on the same line; the listing keeps that as it is.
// An operand cut off by the end of the segment ends the listing with a newline.
// The listing is built in a standard string, which grows geometrically; appending line by line
// to a String, which grows in 24-byte steps, would copy a long listing over and over.
void Segment::Listing(String* out, const char* expression, int expression_length) const {
    std::string listing;
    List(&listing, expression, expression_length);
    out->cat(listing.data(), static_cast<int>(listing.size()));
}

void Segment::List(std::string* out, const char* expression, int expression_length) const {
    if (expression == nullptr) expression = "";
    if (expression_length < 0) expression_length = static_cast<int>(std::strlen(expression));
    append_format(out, "\n\nExpression: %.*s\n", expression_length, expression);
    int position = 0;
    unsigned code = 0;
    int next;
    while ((next = Read_Word(position, &code)) >= 0) {
        append_format(out, "%d\t", position);
        const char* name = segment_listing_name(code);
        if (name != nullptr) {
            out->append(name);
            out->push_back('\t');
        } else {
            out->append("Illegal Instruction\n");
        }
        unsigned dword = 0;
        double real = 0;
        switch (code & SEGMENT_FIRST_MASK) {
            case SEGMENT_FIRST_DWORD:
                next = Read_Dword(next, &dword);
                if (next >= 0) append_format(out, "dword:%d", static_cast<int>(dword));
                break;
            case SEGMENT_FIRST_DOUBLE:
                next = Read_Double(next, &real);
                if (next >= 0) append_format(out, "double:%f", real);
                break;
        }
        if (next >= 0) {
            switch (code & SEGMENT_SECOND_MASK) {
                case SEGMENT_SECOND_DWORD:
                    next = Read_Dword(next, &dword);
                    if (next >= 0) append_format(out, ", dword:%d\n", static_cast<int>(dword));
                    break;
                case SEGMENT_SECOND_DOUBLE:
                    next = Read_Double(next, &real);
                    if (next >= 0) append_format(out, ", double:%f\n", real);
                    break;
                case 0:
                    out->push_back('\n');
                    break;
            }
        }
        if (next < 0) {
            out->push_back('\n');
            break;
        }
        if (next >= length_) break;
        position = next;
    }
}

void Segment::Dump(FILE* out, const char* expression, int expression_length) const {
    std::string listing;
    List(&listing, expression, expression_length);
    // A debugging aid: a listing cut short by a full disk is not worth a report.
    (void)std::fwrite(listing.data(), 1, listing.size(), out);
}

void Segment::Dump(const char* path, const char* expression, int expression_length) const {
    FILE* out = std::fopen(path, "w");
    // No listing and no error when the file cannot be opened: the listing is a debugging aid.
    if (out == nullptr) return;
    Dump(out, expression, expression_length);
    (void)std::fclose(out);  // nothing to report for a debugging aid, as above
}
