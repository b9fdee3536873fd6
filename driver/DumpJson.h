// The dump of a compiled file as one JSON document for scripts and tools: the sections of the
// readable dump, with numbers as numbers, every name beside the dictionary index it comes from,
// and the code of each segment decoded with symbolic operands.
#ifndef TARN_DRIVER_DUMPJSON_H
#define TARN_DRIVER_DUMPJSON_H

#include <string>

class CompiledImage;

// The JSON library stays inside DumpJson.cpp: nothing that includes this header needs it.
class DumpJson {
  public:
    // 'name' is the file name the document names; neither is copied.
    DumpJson(CompiledImage* image, const char* name);

    // The document, appended to 'out': members indented by two blanks, each record of a list
    // (an instruction, a dictionary entry, ...) on a line of its own, a newline at the end.
    void Write(std::string* out);

    // A text of the file as a JSON value: a string when its bytes are valid UTF-8, otherwise
    // {"bytes": "<lower-case hexadecimal>"}, so no byte is lost or replaced. Written as JSON
    // text here so that callers need not see the library's types.
    static std::string TextValue(const char* text, int length);

  private:
    CompiledImage* image_;
    const char* name_;
};

#endif
