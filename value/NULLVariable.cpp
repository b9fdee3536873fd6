// The always-empty value: what a lookup of something that does not exist reads as, at any
// depth of elements.
#include "value/NULLVariable.h"

#include "foundation/Conversions.h"

NULLVariable::NULLVariable() : ImmutableVariable(nullptr, 0) {}

NULLVariable::NULLVariable(const char* name, int length) : ImmutableVariable(name, length) {}

const String& NULLVariable::value() {
    return empty_;
}

int NULLVariable::value_integer() {
    return 0;
}

const mpd_t* NULLVariable::value_mpd() {
    // Set again on every read: an unlocked owner may have stored something in the cell.
    mpd_t* zero = DecimalStorage();
    if (zero != nullptr) {
        uint32_t status = 0;
        mpd_qset_i32(zero, 0, &Tarn_MPD_Context, &status);
    }
    return zero;
}

int NULLVariable::value_compare(int* /*integer*/) {
    return VARIABLE_PRIMARY_TEXT;
}

int NULLVariable::type() {
    return VARIABLE_TYPE_NULL;
}

bool NULLVariable::IsTrue() {
    return false;
}

bool NULLVariable::IsNULL() {
    return true;
}

Variable* NULLVariable::Element(const AggregateIndex& /*index*/, int /*create*/) {
    return this;
}

int NULLVariable::CollapseElements() {
    return 0;
}

Variable* NULLVariable::Element(List<AggregateIndex>* /*path*/, int /*create*/) {
    return this;
}
