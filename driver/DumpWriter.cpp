// The readable dump of a compiled file.
#include "driver/DumpWriter.h"

#include <vector>

#include "compiled/Function.h"
#include "compiled/FunctionParameter.h"
#include "driver/CompiledImage.h"
#include "driver/Disassembly.h"
#include "driver/DumpText.h"
#include "driver/LocalizedText.h"

namespace {

std::string qualifiers(int flags) {
    std::string text = (flags & FUNCTION_EXTERNAL) != 0 ? "external" : "internal";
    const int known = FUNCTION_KNOWN_FLAGS;
    for (const FunctionQualifier& qualifier : FUNCTION_QUALIFIERS) {
        if ((flags & qualifier.bit) != 0) text += std::string(" ") + qualifier.name;
    }
    if ((flags & ~known) != 0)
        text += " " + DumpText::Hex(static_cast<unsigned>(flags & ~known), 2);
    return text;
}

}  // namespace

DumpWriter::DumpWriter(CompiledImage* image, const char* name) : image_(image), name_(name) {}

void DumpWriter::Write(std::string* out) {
    WriteHeader(out);
    WriteDirectory(out);
    WriteDictionary(out);
    WriteVariables(out);
    WriteFunctions(out);
    WriteCode(out);
    WriteIdents(out);
    WriteLanguages(out);
    WritePieces(out);
}

// The segments in number order; the expression line names what each one holds.
void DumpWriter::WriteListing(std::string* out) {
    const SegmentManager& segments = image_->segments();
    for (int s = 0; s < segments.count(); ++s) {
        const Segment* segment = segments.segment(s);
        if (segment == nullptr) continue;
        Function* function = image_->segment_function(s);
        std::string expression = "segment " + std::to_string(s);
        if (function != nullptr) expression += " " + std::string(function->name().c_str());
        String listing;
        segment->Listing(&listing, expression.data(), static_cast<int>(expression.size()));
        out->append(listing.c_str(), static_cast<size_t>(listing.length()));
    }
}

// ---- sections ----

void DumpWriter::WriteHeader(std::string* out) {
    TaggedFile& file = image_->file();
    std::string name(name_);
    DumpText::Append(
        out, "File %s: %s\n", DumpText::Quote(name.data(), static_cast<int>(name.size())).c_str(),
        DumpText::Count(static_cast<long long>(image_->bytes().size()), "byte", "bytes").c_str());
    std::string identifier;
    for (int i = 0; i < TF_IDENTIFIER_SIZE; ++i)
        DumpText::Append(&identifier, "%02x", file.identifier()[i]);
    DumpText::Append(out,
                     "Header\n  version     %s\n  identifier  %s\n  directory   %s at offset %d\n",
                     DumpText::Version(file.version()).c_str(), identifier.c_str(),
                     DumpText::Count(file.directory_entries(), "entry", "entries").c_str(),
                     file.directory_offset());
}

void DumpWriter::WriteDirectory(std::string* out) {
    TaggedFile& file = image_->file();
    DumpText::Append(out, "\nDirectory: %s\n",
                     DumpText::Count(file.directory_entries(), "section", "sections").c_str());
    DumpText::Append(out, "  %-10s %10s %10s\n", "tag", "offset", "size");
    for (int i = 0; i < file.directory_entries(); ++i) {
        const TaggedFileEntry* entry = file.directory_entry(i);
        DumpText::Append(out, "  %-10s %10d %10d\n", DumpText::Tag(entry->tag).c_str(),
                         entry->offset, entry->size);
    }
}

void DumpWriter::WriteDictionary(std::string* out) {
    const Dictionary& dictionary = image_->dictionary();
    const DictionaryDataBlock* block = dictionary.block(0);
    int flags = dictionary.flags();
    DumpText::Append(
        out, "\nDictionary: %s, %s, flags %s%s\n",
        DumpText::Count(dictionary.entries(), "entry", "entries").c_str(),
        DumpText::Count(block != nullptr ? block->used() : 0, "data byte", "data bytes").c_str(),
        DumpText::Hex(static_cast<unsigned>(flags), 8).c_str(),
        (flags & DICTIONARY_FLAG_DISABLE_LOGGING) != 0 ? " (logging disabled)" : "");
    DumpText::Append(out, "  %6s %8s %6s  %s\n", "entry", "offset", "size", "text");
    for (int i = 0; i < dictionary.entries(); ++i) {
        int size = 0;
        const char* text = dictionary.Entry(i, &size);
        DumpText::Append(out, "  %6d %8d %6d  %s\n", i, dictionary.Entry_Offset(i), size,
                         DumpText::Quote(text, size).c_str());
    }
}

void DumpWriter::WriteVariables(std::string* out) {
    VariableHash* tables[2] = {&image_->globals(), &image_->systems()};
    const char* titles[2] = {"Global variables", "System variables"};
    for (int t = 0; t < 2; ++t) {
        VariableHash* table = tables[t];
        DumpText::Append(out, "\n%s: %d (%u buckets, %d in use)\n", titles[t], table->Entries(),
                         DumpText::Buckets(table->bucket_bits()), table->bucket_entries());
        for (int i = 0; i < table->Entries(); ++i)
            DumpText::Append(out, "  %6d  %s\n", i, Text(table->entry(i)->name_index).c_str());
    }
}

void DumpWriter::WriteFunctions(std::string* out) {
    FunctionManager& functions = image_->functions();
    DumpText::Append(out, "\nFunctions: %d (%u buckets, %d in use)\n", functions.Functions(),
                     DumpText::Buckets(functions.bucket_bits()), functions.bucket_entries());
    for (int f = 0; f < functions.Functions(); ++f) {
        Function* function = functions.Function_Index(f);
        DumpText::Append(
            out, "  %6d  %s: %s", f,
            DumpText::Name(function->name().c_str(), function->name().length()).c_str(),
            qualifiers(function->flags()).c_str());
        if ((function->flags() & FUNCTION_EXTERNAL) == 0 || function->segment() != -1)
            DumpText::Append(out, ", segment %d offset %d", function->segment(),
                             function->segment_offset());
        out->append("\n");
        int number = 0;
        List<FunctionParameter>& parameters = function->parameters();
        for (FunctionParameter* parameter = parameters.First(); parameter != nullptr;
             parameter = parameters.Next(), ++number) {
            DumpText::Append(out, "          parameter %d  %s  by %s, local %d\n", number,
                             Text(parameter->name_index()).c_str(),
                             parameter->flags() == PARAMETER_BY_VALUE       ? "value"
                             : parameter->flags() == PARAMETER_BY_REFERENCE ? "reference"
                                                                            : "?",
                             parameter->variable());
        }
        VariableHash* locals = function->variables();
        for (int i = 0; i < locals->Entries(); ++i)
            DumpText::Append(out, "          local %d  %s\n", i,
                             Text(locals->entry(i)->name_index).c_str());
    }
}

void DumpWriter::WriteCode(std::string* out) {
    const SegmentManager& segments = image_->segments();
    DumpText::Append(out, "\nCode: %s, execution starts in segment %d\n",
                     DumpText::Count(segments.count(), "segment", "segments").c_str(),
                     segments.start());
    for (int s = 0; s < segments.count(); ++s) WriteSegment(out, s);
}

void DumpWriter::WriteSegment(std::string* out, int number) {
    const Segment* segment = image_->segments().segment(number);
    if (segment == nullptr) {
        DumpText::Append(out, "Segment %d: none\n", number);
        return;
    }
    Function* function = image_->segment_function(number);
    std::string owner =
        number == 0 ? std::string("top level")
        : function != nullptr
            ? "function " + DumpText::Name(function->name().c_str(), function->name().length())
            : std::string("no function");
    DumpText::Append(out, "Segment %d (%s): %s\n", number, owner.c_str(),
                     DumpText::Count(segment->length(), "byte", "bytes").c_str());
    Disassembly code(*segment);
    for (int i = 0; i < code.Instructions(); ++i) {
        const DecodedInstruction& instruction = code.instruction(i);
        int label = code.Label(instruction.position);
        if (label != 0) DumpText::Append(out, "L%d:\n", label);
        std::string mnemonic =
            instruction.entry != nullptr
                ? std::string(instruction.entry->name, instruction.entry->name_length)
                : "?? " + DumpText::Hex(instruction.code, 4);
        if (instruction.truncated) {
            // The segment ends inside the opcode word or its operands.
            if (instruction.length < 2) mnemonic = "??";
            DumpText::Append(out, "  %6d  %s (cut off by the end of the segment)\n",
                             instruction.position, mnemonic.c_str());
            continue;
        }
        std::string operands;
        for (int o = 0; o < instruction.operand_count; ++o) {
            if (o > 0) operands += ", ";
            operands += Operand(instruction.operands[o], function, code);
        }
        if (operands.empty()) {
            DumpText::Append(out, "  %6d  %s\n", instruction.position, mnemonic.c_str());
        } else {
            DumpText::Append(out, "  %6d  %-12s %s\n", instruction.position, mnemonic.c_str(),
                             operands.c_str());
        }
    }
    int end_label = code.Label(code.length());
    if (end_label != 0) DumpText::Append(out, "L%d:\n", end_label);
}

void DumpWriter::WriteIdents(std::string* out) {
    const std::vector<std::string>& idents = image_->idents();
    DumpText::Append(out, "\nIdentifiers: %zu\n", idents.size());
    for (const std::string& ident : idents)
        DumpText::Append(out, "  %s\n",
                         DumpText::Quote(ident.data(), static_cast<int>(ident.size())).c_str());
}

void DumpWriter::WriteLanguages(std::string* out) {
    LocalizedLanguages& languages = image_->languages();
    bool single = !index_per_language(image_->file().version());
    DumpText::Append(out, "\nLanguages: %d (%u buckets)\n", languages.Entries(),
                     DumpText::Buckets(languages.bucket_bits()));
    for (int l = 0; l < languages.Entries(); ++l) {
        LocalizedIndex* index = image_->language_index(l);
        DumpText::Append(out, "  %6d  %s", l, Text(languages.language(l)->code).c_str());
        if (index == nullptr) {
            out->append(": no index, its code leads to another language\n");
            continue;
        }
        DumpText::Append(out, ": %s from section %s\n",
                         DumpText::Count(index->Entries(), "entry", "entries").c_str(),
                         single ? "0" : DumpText::Tag(tag_language_index(l)).c_str());
        for (int e = 0; const _LI_Entry* entry = index->entry(e); ++e) {
            std::vector<LocalizedPiece> pieces;
            std::string text;
            std::string shown;
            if (!LocalizedText::Pieces(image_->dictionary(), image_->localized(), entry->value,
                                       &pieces)) {
                shown = "(broken piece chain)";
            } else {
                if (!LocalizedText::Written(pieces, &text)) {
                    text.clear();
                    for (const LocalizedPiece& piece : pieces)
                        text +=
                            piece.type == LOCALIZED_VARIABLE ? "%" + piece.text + "%" : piece.text;
                }
                shown = DumpText::Quote(text.data(), static_cast<int>(text.size()));
            }
            DumpText::Append(out, "          %s = %s (piece %d)\n", Text(entry->key).c_str(),
                             shown.c_str(), entry->value);
        }
    }
}

void DumpWriter::WritePieces(std::string* out) {
    const LocalizedDictionary& localized = image_->localized();
    DumpText::Append(out, "\nLocalized pieces: %d\n", localized.Entries());
    for (int i = 0; i < localized.Entries(); ++i) {
        const _LD_Entry* piece = localized.Entry(i);
        DumpText::Append(out, "  %6d  %-8s %s, next %d\n", i,
                         piece->type == LOCALIZED_VARIABLE ? "variable" : "text",
                         Text(piece->text).c_str(), piece->next);
    }
}

// ---- operands ----

std::string DumpWriter::Operand(const DecodedOperand& operand, Function* function,
                                const Disassembly& code) {
    if (operand.is_double) return DumpText::Double(operand.real);
    switch (operand.kind) {
        case OPERAND_STRING:
            return Text(operand.dword);
        case OPERAND_SYSTEM:
            return VariableName(&image_->systems(), operand.dword, "system");
        case OPERAND_GLOBAL:
            return VariableName(&image_->globals(), operand.dword, "global");
        case OPERAND_LOCAL:
            // Top-level code names globals where functions name their locals.
            return function != nullptr ? VariableName(function->variables(), operand.dword, "local")
                                       : VariableName(&image_->globals(), operand.dword, "local");
        case OPERAND_LABEL:
            if (code.IsBoundary(operand.target))
                return "L" + std::to_string(code.Label(static_cast<int>(operand.target)));
            return "?target " + std::to_string(operand.target);
        case OPERAND_FUNCTION: {
            Function* called = image_->functions().Function_Index(operand.dword);
            if (called == nullptr) return "?function " + std::to_string(operand.dword);
            return DumpText::Name(called->name().c_str(), called->name().length());
        }
        default:
            return std::to_string(operand.dword);
    }
}

std::string DumpWriter::Text(int index) {
    int size = 0;
    const char* text = image_->dictionary().Entry(index, &size);
    if (text == nullptr) return "?text " + std::to_string(index);
    return DumpText::Quote(text, size);
}

std::string DumpWriter::VariableName(VariableHash* table, int slot, const char* what) {
    const _VH_Entry* entry = table->entry(slot);
    int size = 0;
    const char* text =
        entry != nullptr ? image_->dictionary().Entry(entry->name_index, &size) : nullptr;
    if (text == nullptr) return "?" + std::string(what) + " " + std::to_string(slot);
    return DumpText::Name(text, size);
}
