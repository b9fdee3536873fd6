// The readable dump of a compiled file: header, directory, dictionary, variables, functions,
// the code of each segment with symbolic operands, identifier texts and the localization
// tables, all as the loader read them.
#ifndef TARN_DRIVER_DUMPWRITER_H
#define TARN_DRIVER_DUMPWRITER_H

#include <string>

class CompiledImage;
class Disassembly;
class Function;
class VariableHash;
struct DecodedOperand;

class DumpWriter {
  public:
    // 'name' is the file name printed in the first line.
    DumpWriter(CompiledImage* image, const char* name);

    // The whole dump, appended to 'out'.
    void Write(std::string* out);
    // Every segment in the runtime's listing format, appended to 'out'.
    void WriteListing(std::string* out);
    // An operand as the code listing shows it: a text quoted, a variable or function by name,
    // a jump target as its label; 'function' owns the segment (null for the top level).
    std::string Operand(const DecodedOperand& operand, Function* function, const Disassembly& code);

  private:
    void WriteHeader(std::string* out);
    void WriteDirectory(std::string* out);
    void WriteDictionary(std::string* out);
    void WriteVariables(std::string* out);
    void WriteFunctions(std::string* out);
    void WriteCode(std::string* out);
    void WriteSegment(std::string* out, int number);
    void WriteIdents(std::string* out);
    void WriteLanguages(std::string* out);
    void WritePieces(std::string* out);

    std::string Text(int index);
    // The name of variable 'slot' of 'table', or "?'what' slot" when there is none.
    std::string VariableName(VariableHash* table, int slot, const char* what);

    CompiledImage* image_;
    const char* name_;
};

#endif
