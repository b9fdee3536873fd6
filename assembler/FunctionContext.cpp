// The emitter of one code segment and the resolution of its labels.
#include "assembler/FunctionContext.h"

#include "assembler/AssemblerParser.h"
#include "compiled/Dictionary.h"
#include "compiled/Segment.h"
#include "compiled/VariableHash.h"
#include "driver/ErrorCode.h"
#include "foundation/String.h"

namespace {

// A displacement counts from the end of its own 4-byte operand. A label as first operand
// counts from further on when a second operand follows: 8 bytes behind the operand's start
// for a dword, and 13 for a double. The 13 is one more than the 12 bytes that remain of such
// an instruction; the runtime's jump arithmetic expects exactly this value.
constexpr int DISPLACEMENT_BASE = 4;
constexpr int DISPLACEMENT_BEFORE_DWORD = 8;
constexpr int DISPLACEMENT_BEFORE_DOUBLE = 13;

String message_with(const char* prefix, const char* text, int length,
                    const char* suffix = nullptr) {
    String message(prefix);
    message.cat(text, length);
    if (suffix != nullptr) message.cat(suffix);
    return message;
}

}  // namespace

FunctionContext::FunctionContext(AssemblerParser* parser, Dictionary* dictionary,
                                 Function* function, Segment* segment, NameTable* identifiers,
                                 VariableHash* variables)
    : parser_(parser),
      dictionary_(dictionary),
      function_(function),
      segment_(segment),
      identifiers_(function != nullptr ? &own_identifiers_ : identifiers),
      variables_(variables),
      position_(0) {}

void FunctionContext::ReleaseSymbols() {
    labels_.Clear();
    std::vector<LabelReference>().swap(label_references_);
    GrowingArray<char>().swap(reference_names_);
    own_identifiers_.Clear();
}

void FunctionContext::Restart(Function* function, Segment* segment, VariableHash* variables) {
    function_ = function;
    segment_ = segment;
    variables_ = variables;
    position_ = 0;
    labels_.Clear();
    own_identifiers_.Clear();
    // What a huge function needed is given back rather than kept for the rest.
    constexpr size_t KEPT_REFERENCES = 4096;
    if (label_references_.capacity() > KEPT_REFERENCES) {
        std::vector<LabelReference>().swap(label_references_);
        GrowingArray<char>().swap(reference_names_);
    }
    label_references_.clear();
    reference_names_.resize(0);
}

FunctionContext::~FunctionContext() = default;

// ---- emission ----

int FunctionContext::InsertOperator(int opcode) {
    return Emitted(segment_->Write_Word(position_, static_cast<unsigned int>(opcode) & 0xFFFF));
}

int FunctionContext::StoreImmediate(int value) {
    return Emitted(segment_->Write_Dword(position_, static_cast<unsigned int>(value)));
}

int FunctionContext::StoreImmediate(double value) {
    return Emitted(segment_->Write_Double(position_, value));
}

// A segment's positions are 32-bit: code that would pass what a segment can hold ends the run
// here, instead of being dropped or wrapping the position.
int FunctionContext::Emitted(int next_position) {
    if (next_position < 0) {
        return parser_->AssembleError(AE_SEGMENT_TOO_LARGE,
                                      String("Code segment too large: more than 2 GiB of code"));
    }
    position_ = next_position;
    return 0;
}

// ---- declarations and references ----

int FunctionContext::ProcessVariable(VariableHash* hash, NameTable* table, const char* identifier,
                                     int identifier_length, const char* name, int name_length) {
    // The name is checked first, so a line that repeats both name and identifier reports the
    // name.
    Variable* variable = nullptr;
    if (name_length != 0 && hash->Find(&variable, name, name_length, 0) == 1) {
        return parser_->AssembleError(AE_DUPLICATE_VARIABLE,
                                      message_with("Duplicate variable ", name, name_length));
    }
    bool added;
    int* slot = table->Add(identifier, identifier_length, &added);
    if (!added) {
        return parser_->AssembleError(
            AE_DUPLICATE_VARIABLE_IDENTIFIER,
            message_with("Duplicate variable identifier ", identifier, identifier_length));
    }
    int name_index = dictionary_->Entry_Add(name, name_length);
    *slot = hash->Insert(name_index);
    return 0;
}

int FunctionContext::InsertLocal(const char* identifier, int identifier_length, const char* name,
                                 int name_length) {
    return ProcessVariable(variables_, identifiers_, identifier, identifier_length, name,
                           name_length);
}

// Parameters and locals share one tree, so a parameter and a local of one function cannot
// share an identifier.
int FunctionContext::InsertParameterPlaceHolder(const char* identifier, int identifier_length,
                                                int slot) {
    bool added;
    int* bound = identifiers_->Add(identifier, identifier_length, &added);
    if (!added) {
        return parser_->AssembleError(
            AE_DUPLICATE_PARAMETER_IDENTIFIER,
            message_with("Duplicate parameter identifier: ", identifier, identifier_length));
    }
    *bound = slot;
    return 0;
}

int FunctionContext::InsertLocalReference(const char* identifier, int identifier_length) {
    int slot;
    if (!identifiers_->Find(identifier, identifier_length, &slot)) {
        return parser_->AssembleError(
            AE_UNRESOLVED_LOCAL,
            message_with("Reference to local ", identifier, identifier_length, " not resolvable"));
    }
    return StoreImmediate(slot);
}

// A label marks the position of whatever is emitted next.
int FunctionContext::InsertLabel(const char* name, int length) {
    bool added;
    int* position = labels_.Add(name, length, &added);
    if (!added) {
        return parser_->AssembleError(AE_DUPLICATE_LABEL,
                                      message_with("Duplicate label: ", name, length));
    }
    *position = position_;
    return 0;
}

// The four zero bytes emitted here are the place that Resolve patches.
int FunctionContext::InsertLabelReference(const char* name, int length, int opcode,
                                          int operand_number) {
    label_references_.push_back(
        LabelReference{reference_names_.size(), length, position_, opcode, operand_number});
    reference_names_.append(name, static_cast<size_t>(length));
    return StoreImmediate(0);
}

int FunctionContext::Resolve() {
    for (const LabelReference& reference : label_references_) {
        const char* name = reference_names_.data() + reference.name_offset;
        int label;
        if (!labels_.Find(name, reference.length, &label)) {
            return parser_->AssembleError(
                AE_UNDEFINED_LABEL, message_with("Label ", name, reference.length, " not defined"));
        }
        int before = DISPLACEMENT_BASE;
        if (reference.operand_number == 1) {
            if ((reference.opcode & SEGMENT_SECOND_DWORD) != 0) {
                before = DISPLACEMENT_BEFORE_DWORD;
            } else if ((reference.opcode & SEGMENT_SECOND_DOUBLE) != 0) {
                before = DISPLACEMENT_BEFORE_DOUBLE;
            }
        }
        // Two's complement: backward jumps are negative.
        unsigned int displacement = static_cast<unsigned int>(label) -
                                    static_cast<unsigned int>(reference.position) -
                                    static_cast<unsigned int>(before);
        segment_->Write_Dword(reference.position, displacement);
    }
    return 0;
}
