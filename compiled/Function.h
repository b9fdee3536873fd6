// One function of the function table: name, qualifier flags, parameters, the code segment of
// its body, and its table of local variables.
#ifndef TARN_COMPILED_FUNCTION_H
#define TARN_COMPILED_FUNCTION_H

#include "compiled/FunctionParameter.h"
#include "foundation/List.h"
#include "foundation/String.h"

class Dictionary;
class VariableHash;

// Qualifier bits of a function, as the .function directive sets them and the table stores them.
constexpr int FUNCTION_EXTERNAL = 0x01;
constexpr int FUNCTION_COMPRESSWHITESPACE = 0x02;
constexpr int FUNCTION_ERROROUTPUTLEVELON = 0x04;
constexpr int FUNCTION_ERROROUTPUTLEVELOFF = 0x08;
constexpr int FUNCTION_STDOUTINHERIT = 0x10;
constexpr int FUNCTION_PRIVATE = 0x20;

// The qualifiers that set one bit each, in bit order, as the .function directive spells them.
// FUNCTION_EXTERNAL is apart: "external" sets it and "internal" clears it.
struct FunctionQualifier {
    int bit;
    const char* name;
};
// clang-format off
constexpr FunctionQualifier FUNCTION_QUALIFIERS[] = {
    {FUNCTION_COMPRESSWHITESPACE,  "compresswhitespace"},
    {FUNCTION_ERROROUTPUTLEVELON,  "erroroutputlevelon"},
    {FUNCTION_ERROROUTPUTLEVELOFF, "erroroutputleveloff"},
    {FUNCTION_STDOUTINHERIT,       "stdoutinherit"},
    {FUNCTION_PRIVATE,             "private"},
};
// clang-format on

// Every bit some qualifier sets; a flag word with any other bit came from no source.
constexpr int function_known_flags() {
    int known = FUNCTION_EXTERNAL;
    for (const FunctionQualifier& qualifier : FUNCTION_QUALIFIERS) known |= qualifier.bit;
    return known;
}
constexpr int FUNCTION_KNOWN_FLAGS = function_known_flags();

class Function {
  public:
    // 'length' of -1 means 'name' is NUL-terminated. A function of an external declaration has
    // segment and segment offset -1.
    Function(Dictionary* dictionary, int index, int flags, int name_index, const char* name,
             int length, int segment, int segment_offset);
    Function(const Function&) = delete;
    Function& operator=(const Function&) = delete;
    virtual ~Function();

    // Adds the name to the dictionary, declares its variable in the local table and appends the
    // parameter; returns the variable's number.
    int AddParameter(int flags, const char* name, int length);
    // Declares the parameters of a comma-separated list such as "a, b var"; a piece whose name is
    // followed by "var" (in any case) is passed by reference. Returns the number declared.
    int SetParameters(const char* text, int length);
    // Appends a parameter as a file holds it, without touching the dictionary or the table.
    void AppendParameter(FunctionParameter* parameter);

    int index() const { return index_; }
    int flags() const { return flags_; }
    int name_index() const { return name_index_; }
    const String& name() const { return name_; }
    int segment() const { return segment_; }
    int segment_offset() const { return segment_offset_; }
    Dictionary* dictionary() const { return dictionary_; }
    VariableHash* variables() const { return variables_; }
    // The parameters in declaration order.
    List<FunctionParameter>& parameters() { return parameters_; }

  private:
    int index_;  // the number of functions that existed before this one
    int flags_;
    int name_index_;
    String name_;
    List<FunctionParameter> parameters_;
    int segment_;
    int segment_offset_;
    Dictionary* dictionary_;  // not owned
    VariableHash* variables_;
};

#endif
