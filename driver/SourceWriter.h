// Assembly source for a compiled file: directives and code in an order that the assembler turns
// back into the same bytes. The dictionary keeps every text in the order the source added it,
// so its entries, read in order, say which directive to write next; names the file does not
// keep (labels, string identifiers) are made up.
#ifndef TARN_DRIVER_SOURCEWRITER_H
#define TARN_DRIVER_SOURCEWRITER_H

#include <string>
#include <vector>

class CompiledImage;
class Disassembly;
class Function;

class SourceWriter {
  public:
    // 'image' is a loaded file; not owned. 'name' is quoted in the first comment line.
    SourceWriter(CompiledImage* image, const char* name);
    ~SourceWriter();

    SourceWriter(const SourceWriter&) = delete;
    SourceWriter& operator=(const SourceWriter&) = delete;

    // The source, appended to 'out'; false, with the reason behind error(), for a file that no
    // source assembles into (one the assembler does not make).
    bool Write(std::string* out);
    const std::string& error() const { return error_; }

  private:
    // What made one dictionary entry.
    struct Role {
        int kind;
        int first;   // function, slot, piece or language
        int second;  // parameter number or index entry
    };

    // A .localized text with pieces: entries 'first'..'last' of the localized dictionary,
    // whose texts are the dictionary entries from 'text' on, one each.
    struct PieceGroup {
        int first;
        int last;
        int text;
    };

    bool Fail(const std::string& reason);
    bool Claim(int index, Role role, const char* what);
    bool CheckHeader();
    bool CheckFunctions();
    bool DecodeSegments();
    bool CollectRoles();
    bool GroupPieces();
    void NameVariables();
    bool Walk();
    bool Localized(int* index);
    bool Trusted(int language) const;
    bool Parameter(int index, const Role& role);
    bool OpenFunction(int f);
    bool CloseInternal();
    bool Code(int segment, Function* function, bool strip_return);
    bool Operand(const Disassembly& code, int i, int o, Function* function, int limit,
                 std::string* text);
    bool DoubleText(double value, std::string* text);
    bool Finish();

    std::string Text(int index) const;
    std::string Quoted(int index) const;

    CompiledImage* image_;
    const char* name_;
    std::string error_;
    std::string out_;

    std::vector<Role> roles_;
    std::vector<PieceGroup> groups_;
    // For each localized piece: the group it starts, or -1.
    std::vector<int> group_of_piece_;
    std::vector<Disassembly*> segments_;  // owned
    // Identifiers by slot: the globals, the systems, and each function's locals.
    std::vector<std::string> global_names_;
    std::vector<std::string> system_names_;
    std::vector<std::vector<std::string>> local_names_;

    // Walk state: what the directives written so far have made.
    int next_function_;
    int open_internal_;
    int open_external_;
    int next_global_;
    int next_system_;
    int languages_made_;
    bool key_written_;
    std::vector<int> next_parameter_;
    std::vector<int> next_local_;
    std::vector<int> next_key_;
};

#endif
