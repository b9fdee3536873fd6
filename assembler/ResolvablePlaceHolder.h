// A name bound to a number or to a place in a code segment: a declared variable, parameter,
// string constant, function or label, or an operand waiting to be patched.
#ifndef TARN_ASSEMBLER_RESOLVABLEPLACEHOLDER_H
#define TARN_ASSEMBLER_RESOLVABLEPLACEHOLDER_H

class FunctionContext;
class Segment;

class ResolvablePlaceHolder {
  public:
    // Copies 'length' bytes of 'name' into an owned, NUL-terminated buffer. 'context' is set
    // only for references (the context whose segment holds the operand to patch); 'opcode' and
    // 'operand_number' only for label references.
    ResolvablePlaceHolder(const char* name, int length, int value,
                          FunctionContext* context = nullptr, int opcode = 0,
                          int operand_number = 0);
    virtual ~ResolvablePlaceHolder();

    ResolvablePlaceHolder(const ResolvablePlaceHolder&) = delete;
    ResolvablePlaceHolder& operator=(const ResolvablePlaceHolder&) = delete;

    // The segment of the context that holds the reference; none for a definition.
    Segment* SegmentAddress() const;

    const char* name() const { return name_length_ < INLINE_NAME ? inline_name_ : long_name_; }
    int length() const { return name_length_; }
    int value() const { return value_; }
    FunctionContext* context() const { return context_; }
    int opcode() const { return opcode_; }
    int operand_number() const { return operand_number_; }

  private:
    // Names shorter than this live in the object itself: labels and identifiers are mostly
    // short, and a program has hundreds of thousands of them.
    static constexpr int INLINE_NAME = 16;

    int name_length_;
    int value_;
    FunctionContext* context_;
    int opcode_;
    int operand_number_;
    // The name in place when it is short, else the buffer that holds it.
    union {
        char inline_name_[INLINE_NAME];
        char* long_name_;
    };
};

#endif
