// The runtime's value cell: a named text, integer or decimal value, or an array or structure
// whose elements are further variables.
#include "value/Variable.h"

#include <climits>
#include <cstring>

#include "foundation/Conversions.h"
#include "foundation/List.h"
#include "value/AggregateElement.h"
#include "value/AggregateElementTree.h"
#include "value/AggregateIndex.h"
#include "value/CallbackStructVariable.h"
#include "value/ReferenceVariable.h"

namespace {

// ---- conversions between the representations, all through the application's own ----

// Moves the text of 'from' into 'to' without copying the bytes again.
void adopt_text(String& to, String& from) {
    int length = 0;
    int capacity = 0;
    char* bytes = from.release(&length, &capacity);
    if (bytes == nullptr) {
        to.destroy();
    } else {
        to.assign_nocopy(bytes, length, capacity);
    }
}

void integer_to_text(String& out, int value) {
    int length = 0;
    int size = 0;
    char* digits = itos(value, &length, &size);
    out.assign_nocopy(digits, length, size);
}

void decimal_to_text(String& out, const mpd_t* value) {
    int length = 0;
    int size = 0;
    char* digits = mpdtos(value, &length, &size);
    if (digits == nullptr) {
        out.destroy();
    } else {
        out.assign_nocopy(digits, length, size);
    }
}

bool text_to_integer(const String& text, int* out) {
    int error = 0;
    *out = stoi(text.c_str(), text.length(), &error);
    return error == 0;
}

// A new decimal read from 'text', or null when the text is not a number.
mpd_t* text_to_decimal(const String& text) {
    int error = 0;
    mpd_t* value = stompd(text.c_str(), text.length(), &error);
    if (error != 0 && value != nullptr) {
        mpd_del(value);
        value = nullptr;
    }
    return value;
}

bool decimal_to_integer(const mpd_t* value, int* out) {
    int error = 0;
    *out = mpdtoi(value, &error);
    return error == 0;
}

// A new decimal equal to 'value' (0 for null), in the program's decimal context.
mpd_t* copy_decimal(const mpd_t* value) {
    if (value == nullptr) return itompd(0);
    return mpdtompd(value);
}

// True when 'text' is exactly the digits that 'value' prints as: no sign of its own, no
// leading zeros, nothing that wrapped around while reading.
bool is_canonical_integer(const String& text, int value) {
    String digits;
    integer_to_text(digits, value);
    return digits.length() == text.length() &&
           std::memcmp(digits.c_str(), text.c_str(), text.length()) == 0;
}

}  // namespace

// ---- construction ----

Variable::Variable() : Variable(nullptr, 0) {}

Variable::Variable(const char* name, int length)
    : name_(name != nullptr ? name : "", name != nullptr ? length : 0),
      integer_(0),
      decimal_(nullptr),
      valid_(0),
      primary_type_(VARIABLE_PRIMARY_NULL),
      aggregate_type_(AGGREGATE_NONE),
      elements_(nullptr),
      refcount_(1),
      callback_(nullptr) {}

Variable::Variable(const char* name, int length, const char* text, int text_length)
    : Variable(name, length) {
    text_.assign(text != nullptr ? text : "", text != nullptr ? text_length : 0);
    valid_ = VARIABLE_VALID_TEXT;
    primary_type_ = VARIABLE_PRIMARY_TEXT;
}

Variable::Variable(const char* name, int length, int value) : Variable(name, length) {
    integer_ = value;
    valid_ = VARIABLE_VALID_INTEGER;
    primary_type_ = VARIABLE_PRIMARY_INTEGER;
}

Variable::Variable(const char* name, int length, unsigned value) : Variable(name, length) {
    decimal_ = mpd_qnew();
    if (decimal_ != nullptr) {
        uint32_t status = 0;
        mpd_qset_u32(decimal_, value, &Tarn_MPD_Context, &status);
        valid_ = VARIABLE_VALID_DECIMAL;
        primary_type_ = VARIABLE_PRIMARY_DECIMAL;
    }
}

Variable::Variable(const char* name, int length, const mpd_t* value) : Variable(name, length) {
    decimal_ = copy_decimal(value);
    if (decimal_ != nullptr) {
        valid_ = VARIABLE_VALID_DECIMAL;
        primary_type_ = VARIABLE_PRIMARY_DECIMAL;
    }
}

Variable::Variable(const char* name, int length, char* buffer, int buffer_length, int size)
    : Variable(name, length) {
    if (buffer != nullptr) text_.assign_nocopy(buffer, buffer_length, size);
    valid_ = VARIABLE_VALID_TEXT;
    primary_type_ = VARIABLE_PRIMARY_TEXT;
}

Variable::Variable(const String& name, const String& text)
    : Variable(name.c_str(), name.length(), text.c_str(), text.length()) {}

Variable::Variable(const Variable& other) : Variable(other.name_.c_str(), other.name_.length()) {
    text_ = other.text_;
    integer_ = other.integer_;
    if (other.decimal_ != nullptr) decimal_ = copy_decimal(other.decimal_);
    valid_ = decimal_ != nullptr ? other.valid_ : other.valid_ & ~VARIABLE_VALID_DECIMAL;
    primary_type_ = other.primary_type_;
    if (other.elements_ != nullptr) {
        elements_ = new AggregateElementTree();
        CloneElements(elements_, other.elements_, nullptr);
    }
    aggregate_type_ = other.aggregate_type_;
}

Variable::~Variable() {
    DropElements();
    if (decimal_ != nullptr) mpd_del(decimal_);
}

// ---- identity and reading ----

Variable* Variable::Clone(TarnApplication* /*application*/) {
    const String& own_name = name();
    Variable* copy = new Variable(own_name.c_str(), own_name.length());
    (void)copy->SetValue(*this);  // a plain variable never refuses a value
    return copy;
}

const String& Variable::name() {
    return name_;
}

Variable* Variable::NextIdentity() {
    return this;
}

Variable* Variable::RealIdentity() {
    return this;
}

const String& Variable::value() {
    if ((valid_ & VARIABLE_VALID_TEXT) == 0) (void)Convert_String();  // NULL stays empty
    return text_;
}

int Variable::value_integer() {
    if ((valid_ & VARIABLE_VALID_INTEGER) == 0) (void)Convert_Integer();  // failures leave 0
    return integer_;
}

const mpd_t* Variable::value_mpd() {
    if ((valid_ & VARIABLE_VALID_DECIMAL) == 0 && !Convert_mpd()) {
        // NULL and aggregates read as 0 without claiming a decimal value.
        mpd_t* storage = DecimalStorage();
        if (storage != nullptr && (valid_ & VARIABLE_VALID_DECIMAL) == 0) {
            uint32_t status = 0;
            mpd_qset_i32(storage, 0, &Tarn_MPD_Context, &status);
        }
    }
    return decimal_;
}

int Variable::value_compare(int* integer) {
    if (aggregate_type_ != AGGREGATE_NONE) return VARIABLE_PRIMARY_TEXT;
    switch (primary_type_) {
        case VARIABLE_PRIMARY_INTEGER:
            if (integer != nullptr) *integer = value_integer();
            return VARIABLE_PRIMARY_INTEGER;
        case VARIABLE_PRIMARY_DECIMAL:
            return VARIABLE_PRIMARY_DECIMAL;
        case VARIABLE_PRIMARY_TEXT: {
            int number = 0;
            if (text_to_integer(text_, &number) && is_canonical_integer(text_, number)) {
                integer_ = number;
                valid_ |= VARIABLE_VALID_INTEGER;
                if (integer != nullptr) *integer = number;
                return VARIABLE_PRIMARY_INTEGER;
            }
            if ((valid_ & VARIABLE_VALID_DECIMAL) != 0) return VARIABLE_PRIMARY_DECIMAL;
            mpd_t* decimal = text_to_decimal(text_);
            if (decimal == nullptr) return VARIABLE_PRIMARY_TEXT;
            if (decimal_ != nullptr) mpd_del(decimal_);
            decimal_ = decimal;
            valid_ |= VARIABLE_VALID_DECIMAL;
            return VARIABLE_PRIMARY_DECIMAL;
        }
        default:
            return VARIABLE_PRIMARY_TEXT;
    }
}

int Variable::type() {
    return VARIABLE_TYPE_VALUE;
}

int Variable::primary_type() {
    return primary_type_;
}

int Variable::preferred_type() {
    return VARIABLE_PRIMARY_TEXT;
}

bool Variable::IsTrue() {
    if ((valid_ & VARIABLE_VALID_TEXT) != 0) return IsTrue(text_.c_str(), text_.length());
    if ((valid_ & VARIABLE_VALID_DECIMAL) != 0) return mpd_iszero(decimal_) == 0;
    if ((valid_ & VARIABLE_VALID_INTEGER) == 0) {
        (void)Convert_String();  // NULL and aggregates keep the empty text, which is false
        return IsTrue(text_.c_str(), text_.length());
    }
    return integer_ != 0;
}

bool Variable::IsNULL() {
    return primary_type_ == VARIABLE_PRIMARY_NULL && aggregate_type_ == AGGREGATE_NONE;
}

bool Variable::SetNULL() {
    DropElements();
    DropScalar();
    return true;
}

AggregateElementTree* Variable::aggregateelements() {
    return elements_;
}

AggregateType Variable::aggregatetype() {
    return aggregate_type_;
}

int Variable::refcount() {
    return refcount_;
}

// ---- setting ----

bool Variable::SetName(const String& name) {
    name_ = name;
    return true;
}

bool Variable::SetValue(const char* text, int length) {
    // 'text' may lie inside this variable or one of its elements: copy before dropping.
    String copy(text != nullptr ? text : "", text != nullptr ? length : 0);
    DropElements();
    DropScalar();
    adopt_text(text_, copy);
    valid_ = VARIABLE_VALID_TEXT;
    primary_type_ = VARIABLE_PRIMARY_TEXT;
    return true;
}

bool Variable::SetValue(Variable& other) {
    if (&other == this || other.RealIdentity() == this) return true;

    // The new value is built in full before the old one goes: 'other' may be one of this
    // variable's own elements.
    AggregateType kind = other.aggregatetype();
    if (kind != AGGREGATE_NONE) {
        AggregateElementTree* tree = new AggregateElementTree();
        CloneElements(tree, other.aggregateelements(), nullptr);
        DropElements();
        DropScalar();
        elements_ = tree;
        aggregate_type_ = kind;
        return true;
    }
    switch (other.primary_type()) {
        // The plain forms: a kind that watches its setters sees this one call, not two.
        case VARIABLE_PRIMARY_TEXT: {
            const String& text = other.value();
            return Variable::SetValue(text.c_str(), text.length());
        }
        case VARIABLE_PRIMARY_INTEGER:
            return Variable::SetValue_Integer(other.value_integer());
        case VARIABLE_PRIMARY_DECIMAL:
            return Variable::SetValue_mpd(other.value_mpd());
        default:
            return Variable::SetNULL();
    }
}

bool Variable::SetValue_Nocopy(char* buffer, int length, int size) {
    DropElements();
    DropScalar();
    if (buffer != nullptr) text_.assign_nocopy(buffer, length, size);
    valid_ = VARIABLE_VALID_TEXT;
    primary_type_ = VARIABLE_PRIMARY_TEXT;
    return true;
}

bool Variable::SetValue_Integer(int value) {
    DropElements();
    DropScalar();
    integer_ = value;
    valid_ = VARIABLE_VALID_INTEGER;
    primary_type_ = VARIABLE_PRIMARY_INTEGER;
    return true;
}

bool Variable::SetValue_mpd(const mpd_t* value) {
    mpd_t* copy = copy_decimal(value);
    if (copy == nullptr) return false;
    if (!Variable::SetValue_mpd_Nocopy(copy)) {
        mpd_del(copy);
        return false;
    }
    return true;
}

bool Variable::SetValue_mpd_Nocopy(mpd_t* value) {
    if (value == nullptr) return false;
    DropElements();
    DropScalar();
    if (decimal_ != nullptr && decimal_ != value) mpd_del(decimal_);
    decimal_ = value;
    valid_ = VARIABLE_VALID_DECIMAL;
    primary_type_ = VARIABLE_PRIMARY_DECIMAL;
    return true;
}

// ---- elements ----

Variable* Variable::Element(const AggregateIndex& index, int create) {
    if (aggregate_type_ == index.type()) {
        AggregateElement* element = elements_->Find(index);
        if (element != nullptr) return element->variable();
    }
    if (create == 0) return nullptr;
    Variable* variable = new Variable();
    if (!SetElement(index, variable)) {
        Release(variable);
        return nullptr;
    }
    return variable;
}

bool Variable::SetElement(const AggregateIndex& index, Variable* variable) {
    if (variable == nullptr || variable->RealIdentity() == RealIdentity()) return false;
    StoreElement(index, variable);
    return true;
}

bool Variable::InsertElement(int position, Variable* variable) {
    if (variable == nullptr || variable->RealIdentity() == RealIdentity()) return false;
    if (aggregate_type_ != AGGREGATE_ARRAY) {
        MakeAggregate(AGGREGATE_ARRAY);
        if (position < 1) position = 1;
    } else {
        // Renumbering or appending past the last possible slot would wrap.
        int last = Variable::Max();
        if (last == INT_MAX) return false;
        if (position >= 1) {
            elements_->Displace(position, 1);
        } else {
            position = last + 1;
        }
    }
    AddElement(AggregateIndex(position), variable);
    return true;
}

bool Variable::DeleteElement(const AggregateIndex& index, bool renumber) {
    if (aggregate_type_ != index.type()) return false;
    AggregateElement* element = elements_->Remove(index);
    if (element == nullptr) return false;
    int slot = element->index().index();
    delete element;
    if (renumber && aggregate_type_ == AGGREGATE_ARRAY && slot < INT_MAX) {
        elements_->Displace(slot + 1, -1);
    }
    return true;
}

bool Variable::DeleteElements(int first, int last, bool renumber) {
    if (aggregate_type_ != AGGREGATE_ARRAY) MakeAggregate(AGGREGATE_ARRAY);
    if (first < 0) first = 0;
    if (last < first) return false;

    List<AggregateElement> in_order(0);
    elements_->AppendToList(in_order);
    int removed = 0;
    for (AggregateElement* element = in_order.First(); element != nullptr;
         element = in_order.Next()) {
        int slot = element->index().index();
        if (slot < first) continue;
        if (slot > last) break;
        delete elements_->Remove(AggregateIndex(slot));
        ++removed;
    }
    in_order.RemoveAll();
    if (renumber && last < INT_MAX) elements_->Displace(last + 1, -(last - first + 1));
    return removed > 0;
}

bool Variable::MergeElements(Variable* source, int first, int last, int position, bool renumber) {
    if (source == nullptr || source->RealIdentity() == RealIdentity()) return false;
    return TakeElements(source, first, last, position, renumber, false);
}

bool Variable::CopyElements(Variable* source, int first, int last, int position, bool renumber) {
    if (source == nullptr) return false;
    return TakeElements(source, first, last, position, renumber, true);
}

int Variable::CollapseElements() {
    if (aggregate_type_ == AGGREGATE_NONE) return 0;
    if (aggregate_type_ == AGGREGATE_STRUCTURE) return elements_->Entries();

    // Giving each slot its rank keeps the order, so the tree's shape stays valid.
    List<AggregateElement> in_order(0);
    elements_->AppendToList(in_order);
    int rank = 0;
    for (AggregateElement* element = in_order.First(); element != nullptr;
         element = in_order.Next()) {
        ++rank;
        element->index().Displace(rank - element->index().index());
    }
    in_order.RemoveAll();
    return rank;
}

int Variable::Max() {
    if (aggregate_type_ != AGGREGATE_ARRAY) return 0;
    AggregateElement* last = elements_->Last();
    return last != nullptr ? last->index().index() : 0;
}

int Variable::Min() {
    if (aggregate_type_ != AGGREGATE_ARRAY) return 0;
    AggregateElement* first = elements_->First();
    return first != nullptr ? first->index().index() : 0;
}

int Variable::Next(int index) {
    if (aggregate_type_ != AGGREGATE_ARRAY) return -1;
    if (index < 0) {
        AggregateElement* first = elements_->First();
        return first != nullptr ? first->index().index() : -1;
    }
    AggregateElement* next = elements_->Next(AggregateIndex(index));
    return next != nullptr ? next->index().index() : -1;
}

int Variable::Previous(int index) {
    if (aggregate_type_ != AGGREGATE_ARRAY || index <= 0) return -1;
    AggregateElement* previous = elements_->Previous(AggregateIndex(index));
    return previous != nullptr ? previous->index().index() : -1;
}

int Variable::ElementsUsed() {
    return elements_ != nullptr ? elements_->Entries() : 0;
}

// ---- counting ----

int Variable::IncRefCount() {
    return ++refcount_;
}

int Variable::DecRefCount() {
    return --refcount_;
}

void Variable::Release(Variable* variable) {
    if (variable != nullptr && variable->DecRefCount() <= 0) delete variable;
}

// ---- conversions ----

bool Variable::Convert_String() {
    if ((valid_ & VARIABLE_VALID_TEXT) != 0) return true;
    if ((valid_ & VARIABLE_VALID_INTEGER) != 0) {
        integer_to_text(text_, integer_);
    } else if ((valid_ & VARIABLE_VALID_DECIMAL) != 0) {
        decimal_to_text(text_, decimal_);
    } else {
        return false;
    }
    valid_ |= VARIABLE_VALID_TEXT;
    return true;
}

bool Variable::Convert_Integer() {
    if ((valid_ & VARIABLE_VALID_INTEGER) != 0) return true;
    int number = 0;
    bool exact = true;
    if ((valid_ & VARIABLE_VALID_DECIMAL) != 0) {
        exact = decimal_to_integer(decimal_, &number);
    } else if ((valid_ & VARIABLE_VALID_TEXT) != 0) {
        if (!text_to_integer(text_, &number)) {
            // "3.7" reads as 3, like the decimal it is; text that is no number reads as 0.
            mpd_t* decimal = text_to_decimal(text_);
            exact = decimal != nullptr && decimal_to_integer(decimal, &number);
            if (decimal != nullptr) mpd_del(decimal);
        }
    } else {
        return false;
    }
    integer_ = exact ? number : 0;
    valid_ |= VARIABLE_VALID_INTEGER;
    return exact;
}

bool Variable::Convert_mpd() {
    if ((valid_ & VARIABLE_VALID_DECIMAL) != 0) return true;
    mpd_t* decimal = nullptr;
    bool exact = true;
    if ((valid_ & VARIABLE_VALID_INTEGER) != 0) {
        decimal = itompd(integer_);
    } else if ((valid_ & VARIABLE_VALID_TEXT) != 0) {
        decimal = text_to_decimal(text_);
        if (decimal == nullptr) {
            exact = false;
            decimal = itompd(0);
        }
    } else {
        return false;
    }
    if (decimal == nullptr) return false;
    if (decimal_ != nullptr) mpd_del(decimal_);
    decimal_ = decimal;
    valid_ |= VARIABLE_VALID_DECIMAL;
    return exact;
}

bool Variable::Convert_Aggregate(AggregateType type) {
    if (type != AGGREGATE_STRUCTURE && type != AGGREGATE_ARRAY && type != AGGREGATE_NONE) {
        return false;
    }
    // Converting to "not an aggregate" leaves a NULL variable.
    if (type == AGGREGATE_NONE) {
        if (aggregate_type_ != AGGREGATE_NONE) Variable::SetNULL();
        return true;
    }
    MakeAggregate(type);
    return true;
}

// ---- serializing ----

void Variable::Serialize(String& out) {
    AggregateType kind = aggregatetype();
    if (kind == AGGREGATE_NONE) {
        switch (primary_type()) {
            case VARIABLE_PRIMARY_TEXT: {
                const String& text = value();
                SerializeText(out, text.c_str(), text.length());
                return;
            }
            case VARIABLE_PRIMARY_INTEGER:
                SerializeInteger(out, value_integer());
                return;
            case VARIABLE_PRIMARY_DECIMAL: {
                const mpd_t* decimal = value_mpd();
                String digits;
                decimal_to_text(digits, decimal);
                // NaN and the infinities are no JSON numbers: they go as texts.
                if (mpd_isnan(decimal) || mpd_isinfinite(decimal)) {
                    SerializeText(out, digits.c_str(), digits.length());
                } else {
                    out.cat(digits.c_str(), digits.length());
                }
                return;
            }
            default:
                out.cat("null", 4);
                return;
        }
    }

    AggregateElementTree* tree = aggregateelements();
    List<AggregateElement> in_order(0);
    if (tree != nullptr) tree->AppendToList(in_order);
    int used = in_order.Entries();
    bool dense = kind == AGGREGATE_ARRAY && (used == 0 || (Min() == 1 && Max() == used));
    out.cat(dense ? '[' : '{');
    bool first = true;
    for (AggregateElement* element = in_order.First(); element != nullptr;
         element = in_order.Next()) {
        if (!first) out.cat(',');
        first = false;
        if (!dense) {
            const String& key = element->index().serialized();
            out.cat(key.c_str(), key.length());
            out.cat(':');
        }
        element->variable()->Serialize(out);
    }
    in_order.RemoveAll();
    out.cat(dense ? ']' : '}');
}

void Variable::SerializeText(String& out, const char* text, int length) {
    static const char HEX_DIGITS[] = "0123456789abcdef";
    out.cat('"');
    for (int i = 0; i < length; ++i) {
        unsigned char byte = static_cast<unsigned char>(text[i]);
        switch (byte) {
            case '"':
                out.cat("\\\"", 2);
                break;
            case '\\':
                out.cat("\\\\", 2);
                break;
            case '\n':
                out.cat("\\n", 2);
                break;
            case '\r':
                out.cat("\\r", 2);
                break;
            case '\t':
                out.cat("\\t", 2);
                break;
            default:
                if (byte < 0x20) {
                    char escape[6] = {
                        '\\', 'u', '0', '0', HEX_DIGITS[byte >> 4], HEX_DIGITS[byte & 0x0F]};
                    out.cat(escape, 6);
                } else {
                    out.cat(static_cast<char>(byte));
                }
        }
    }
    out.cat('"');
}

void Variable::SerializeInteger(String& out, int value) {
    String digits;
    integer_to_text(digits, value);
    out.cat(digits.c_str(), digits.length());
}

// ---- other kinds ----

Variable* Variable::Make_Reference(Variable* target) {
    if (target == nullptr) return nullptr;
    return new ReferenceVariable(name_.c_str(), name_.length(), target);
}

Variable* Variable::Make_CallbackStruct(CallbackVariableCallback* callback) {
    return new CallbackStructVariable(name_.c_str(), name_.length(), callback);
}

// ---- truth ----

bool Variable::IsTrue(const char* text, int length) {
    if (text == nullptr || length <= 0) return false;
    if (length == 5) {
        static const char FALSE_TEXT[] = "false";
        int i = 0;
        while (i < 5 && (text[i] | 0x20) == FALSE_TEXT[i]) ++i;
        if (i == 5) return false;
    }
    // A plain zero: an optional sign, then only '0' digits and at most one point.
    int i = (text[0] == '-' || text[0] == '+') ? 1 : 0;
    bool digit = false;
    bool point = false;
    for (; i < length; ++i) {
        if (text[i] == '0') {
            digit = true;
        } else if (text[i] == '.' && !point) {
            point = true;
        } else {
            return true;
        }
    }
    return !digit;
}

// ---- helpers ----

void Variable::DropScalar() {
    text_.destroy();
    integer_ = 0;
    valid_ = 0;
    primary_type_ = VARIABLE_PRIMARY_NULL;
}

void Variable::DropElements() {
    // The type goes first: destroying the elements may run other code that looks at this one.
    AggregateElementTree* tree = elements_;
    elements_ = nullptr;
    aggregate_type_ = AGGREGATE_NONE;
    delete tree;
}

void Variable::MakeAggregate(AggregateType type) {
    if (aggregate_type_ == type) return;
    DropElements();
    DropScalar();
    elements_ = new AggregateElementTree();
    aggregate_type_ = type;
}

void Variable::AddElement(const AggregateIndex& index, Variable* variable) {
    elements_->Insert(new AggregateElement(index, variable));
}

void Variable::StoreElement(const AggregateIndex& index, Variable* variable) {
    AggregateType kind = index.type();
    if (aggregate_type_ == kind) {
        AggregateElement* element = elements_->Find(index);
        if (element != nullptr) {
            element->SetVariable(variable);
            return;
        }
    } else {
        MakeAggregate(kind);
    }
    AddElement(index, variable);
}

bool Variable::TakeElements(Variable* source, int first, int last, int position, bool renumber,
                            bool clone) {
    AggregateType kind = source->aggregatetype();
    if (kind == AGGREGATE_NONE) return false;
    if (kind == AGGREGATE_ARRAY) {
        if (first < 0) first = 0;
        int source_last = source->Max();
        if (last < first || last > source_last) last = source_last;
        if (last < first) return false;
    }

    // Everything is gathered (and cloned) before anything changes: 'source' may be this
    // variable, or one of its elements.
    List<AggregateElement> taken(1);
    List<AggregateElement> in_order(0);
    AggregateElementTree* tree = source->aggregateelements();
    if (tree != nullptr) tree->AppendToList(in_order);
    for (AggregateElement* element = in_order.First(); element != nullptr;
         element = in_order.Next()) {
        int slot = element->index().index();
        if (kind == AGGREGATE_ARRAY && (slot < first || slot > last)) continue;
        Variable* variable = element->variable();
        if (clone) {
            variable = variable->Clone(nullptr);
        } else {
            variable->IncRefCount();
        }
        taken.Insert(new AggregateElement(element->index(), variable), LIST_TAIL);
    }
    in_order.RemoveAll();
    if (taken.Entries() == 0) return false;

    // An array's new slots must all fit below INT_MAX, and so must the slots that move up.
    long long span = static_cast<long long>(last) - first + 1;
    if (kind == AGGREGATE_ARRAY) {
        long long own_last = Variable::Max();
        if (aggregate_type_ != AGGREGATE_ARRAY) {
            own_last = 0;
            if (position < 1) position = 1;
        } else if (position < 1) {
            position = own_last < INT_MAX ? static_cast<int>(own_last) + 1 : 0;
        }
        bool fits = position >= 1 && position + span - 1 <= INT_MAX &&
                    !(renumber && own_last >= position && own_last + span > INT_MAX);
        if (!fits) {
            taken.Dump();
            return false;
        }
    }

    if (!clone) {
        // The source gives its elements up first; one that refuses keeps them all.
        bool given = true;
        if (kind == AGGREGATE_ARRAY) {
            given = source->DeleteElements(first, last, renumber);
        } else {
            for (AggregateElement* element = taken.First(); given && element != nullptr;
                 element = taken.Next()) {
                given = source->DeleteElement(element->index(), false);
            }
        }
        if (!given) {
            taken.Dump();
            return false;
        }
    }

    if (kind == AGGREGATE_ARRAY) {
        if (aggregate_type_ != AGGREGATE_ARRAY) MakeAggregate(AGGREGATE_ARRAY);
        if (renumber) elements_->Displace(position, static_cast<int>(span));
    } else if (aggregate_type_ != AGGREGATE_STRUCTURE) {
        MakeAggregate(AGGREGATE_STRUCTURE);
    }
    for (AggregateElement* element = taken.First(); element != nullptr; element = taken.Next()) {
        Variable* variable = element->variable();
        variable->IncRefCount();  // 'taken' gives its own reference back when it is dumped
        if (kind == AGGREGATE_ARRAY) {
            StoreElement(AggregateIndex(position + (element->index().index() - first)), variable);
        } else {
            StoreElement(element->index(), variable);
        }
    }
    taken.Dump();
    return true;
}

mpd_t* Variable::DecimalStorage() {
    if (decimal_ == nullptr) decimal_ = mpd_qnew();
    return decimal_;
}

void Variable::CloneElements(AggregateElementTree* tree, AggregateElementTree* source,
                             TarnApplication* application) {
    if (source == nullptr) return;
    List<AggregateElement> in_order(0);
    source->AppendToList(in_order);
    for (AggregateElement* element = in_order.First(); element != nullptr;
         element = in_order.Next()) {
        tree->Insert(
            new AggregateElement(element->index(), element->variable()->Clone(application)));
    }
    in_order.RemoveAll();
}
