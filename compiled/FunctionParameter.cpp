// One parameter of a function.
#include "compiled/FunctionParameter.h"

FunctionParameter::FunctionParameter(int name_index, const char* name, int length, int flags,
                                     int variable)
    : name_index_(name_index), name_(name, length), flags_(flags), variable_(variable) {}

FunctionParameter::~FunctionParameter() {}
