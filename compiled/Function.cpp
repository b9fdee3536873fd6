// One function of the function table, with its parameters and local variables.
#include "compiled/Function.h"

#include <cstring>

#include "compiled/Dictionary.h"
#include "compiled/VariableHash.h"
#include "foundation/Hash.h"

namespace {

// A function's local table: 256 buckets and room for 64 variables before it grows.
constexpr int LOCAL_BUCKET_BITS = 8;
constexpr int LOCAL_CAPACITY = 64;

bool is_blank(char c) {
    return c == ' ' || c == '\t' || c == '\n' || c == '\r';
}

}  // namespace

Function::Function(Dictionary* dictionary, int index, int flags, int name_index, const char* name,
                   int length, int segment, int segment_offset)
    : index_(index),
      flags_(flags),
      name_index_(name_index),
      name_(name, length),
      parameters_(1),
      segment_(segment),
      segment_offset_(segment_offset),
      dictionary_(dictionary),
      variables_(new VariableHash(dictionary, LOCAL_BUCKET_BITS, LOCAL_CAPACITY, 0)) {}

Function::~Function() {
    delete variables_;
}

int Function::AddParameter(int flags, const char* name, int length) {
    if (length == -1) length = static_cast<int>(std::strlen(name));
    int name_index = dictionary_->Entry_Add(name, length);
    int variable = variables_->Insert(name_index);
    AppendParameter(new FunctionParameter(name_index, name, length, flags, variable));
    return variable;
}

// parameters := piece { "," piece }
// piece      := [blanks] name [blanks ["var" | anything else] [blanks]]
int Function::SetParameters(const char* text, int length) {
    if (text == nullptr) return 0;
    String list(text, length);
    int commas = 0;
    for (int i = 0; i < list.length(); ++i) {
        if (list[i] == ',') ++commas;
    }
    String* pieces = new String[commas + 1];
    int count = split(list, pieces, commas + 1, ",");
    for (int p = 0; p < count; ++p) {
        String& piece = pieces[p];
        piece.StripWhitespace();
        int name_length = 0;
        while (name_length < piece.length() && !is_blank(piece[name_length])) ++name_length;
        int flags = PARAMETER_BY_VALUE;
        if (name_length < piece.length()) {
            String rest = piece.from(name_length);
            rest.StripWhitespace();
            if (rest.length() == 3 && memcmpi(rest.c_str(), "var", 3) == 0) {
                flags = PARAMETER_BY_REFERENCE;
            }
        }
        AddParameter(flags, piece.c_str(), name_length);
    }
    delete[] pieces;
    return count;
}

void Function::AppendParameter(FunctionParameter* parameter) {
    parameters_.Insert(parameter, LIST_TAIL);
}
