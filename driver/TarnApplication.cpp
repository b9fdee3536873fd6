// Application base: settings with change counters, the error channel, time-outs and log
// filters. The number conversions are foundation/Conversions; the text encoders are in
// TextEncoders.cpp.
#include "driver/TarnApplication.h"

#include <cctype>
#include <cstring>
#include <ctime>

#include <strings.h>

#include "platform/Output.h"

namespace {

void delete_filters(LogFilterEntry* list) {
    while (list != nullptr) {
        LogFilterEntry* next = list->next;
        delete list;
        list = next;
    }
}

}  // namespace

TarnApplication::TarnApplication()
    : derived_object1_(nullptr),
      derived_object2_(nullptr),
      heartbeat_count_(0),
      timed_out_(0),
      post_timed_out_(0),
      global_deadline_(0),
      post_deadline_(0),
      shutting_down_(0),
      log_filter_(nullptr),
      log_exclusions_(nullptr),
      language_("en-US"),
      language_count_(1),
      default_language_("en-US"),
      default_language_count_(1),
      default_database_("xbase3"),
      default_database_count_(1),
      charset_("utf-8"),
      charset_count_(1),
      utf8_(1) {}

TarnApplication::~TarnApplication() {
    delete_filters(log_filter_);
    delete_filters(log_exclusions_);
}

// ---- time-outs ----

void TarnApplication::ResetGlobalTimeout(long seconds) {
    global_deadline_ = seconds > 0 ? std::time(nullptr) + seconds : 0;
    timed_out_ = 0;
}

void TarnApplication::ResetPOSTTimeout(long seconds) {
    post_deadline_ = seconds > 0 ? std::time(nullptr) + seconds : 0;
    post_timed_out_ = 0;
}

void TarnApplication::ClearPOSTTimeout() {
    post_deadline_ = 0;
}

int TarnApplication::cancelled() {
    return timed_out_;
}

void TarnApplication::Heartbeat(long now) {
    ++heartbeat_count_;
    if (global_deadline_ != 0 && global_deadline_ < now) timed_out_ = 1;
    if (post_deadline_ != 0 && post_deadline_ < now) post_timed_out_ = 1;
}

long TarnApplication::TimeRemaining() {
    if (global_deadline_ == 0) return -1;
    long left = static_cast<long>(global_deadline_ - std::time(nullptr));
    return left > 0 ? left : 0;
}

// ---- error channel ----

int TarnApplication::Error(const String& text) {
    return OutputError(text.c_str(), text.length());
}

int TarnApplication::Error(const char* text) {
    if (text == nullptr) return 0;
    return OutputError(text, static_cast<int>(std::strlen(text)));
}

int TarnApplication::Error(const char* text, int length) {
    return OutputError(text, length);
}

int TarnApplication::OutputError(const char* text, int length) {
    Output* channel = output(text, length);
    if (channel != nullptr && text != nullptr && length > 0) {
        (void)channel->WriteError(text, length);  // a failed report has nowhere left to go
    }
    return 0;
}

int TarnApplication::Notify_InputError(const String& text) {
    return Error(text);
}

int TarnApplication::Notify_FatalError(const String& text) {
    return Error(text);
}

int TarnApplication::Notify_TimeoutError(const String& text) {
    return Error(text);
}

int TarnApplication::Notify_RuntimeError(int code, const String& text, bool report) {
    (void)code;  // the console has no use for the number; the runtime's logger has
    return report ? Error(text) : 0;
}

// ---- inert services of this program ----

int TarnApplication::BeginAsynchronousTask(TarnVM* vm, unsigned flags) {
    (void)vm;
    (void)flags;
    return 0;
}

void TarnApplication::AsynchronousSleep(long milliseconds, Tarn_PathType type, const char* path) {
    (void)milliseconds;
    (void)type;
    (void)path;
}

bool TarnApplication::SSL_Available() {
    return false;
}

void TarnApplication::Log(unsigned code, LogParameter* parameters) {
    (void)code;
    (void)parameters;
}

void TarnApplication::ResolveErrorSyslog() {}

void TarnApplication::Notify_Syslog(const String& text) {
    (void)text;
}

const String& TarnApplication::process_name() {
    return process_name_;
}

void TarnApplication::SetProcessName(const char* text, int length) {
    (void)text;
    (void)length;
}

// ---- settings ----

const String& TarnApplication::language() {
    return language_;
}

int TarnApplication::languagecount() {
    return language_count_;
}

const String& TarnApplication::defaultlanguage() {
    return default_language_;
}

int TarnApplication::defaultlanguagecount() {
    return default_language_count_;
}

const String& TarnApplication::defaultdatabase() {
    return default_database_;
}

int TarnApplication::defaultdatabasecount() {
    return default_database_count_;
}

void TarnApplication::SetLanguage(const char* text, int length) {
    language_.assign(text, length);
    ++language_count_;
}

void TarnApplication::SetDefaultLanguage(const char* text, int length) {
    default_language_.assign(text, length);
    ++default_language_count_;
}

void TarnApplication::SetDefaultDatabase(const char* text, int length) {
    default_database_.assign(text, length);
    ++default_database_count_;
}

const String& TarnApplication::charset() {
    return charset_;
}

int TarnApplication::charsetcount() {
    return charset_count_;
}

int TarnApplication::SetCharacterSet(const char* text, int length) {
    charset_.assign(text, length);
    ++charset_count_;
    int comparison = strcasecmp(charset_.c_str(), "utf-8");
    utf8_ = comparison == 0 ? 1 : 0;
    return comparison;
}

const String& TarnApplication::GetCharacterSet() {
    return charset_;
}

bool TarnApplication::CharacterSetIsUTF8() {
    return utf8_ != 0;
}

// ---- logging ----

// A log filter is a comma-separated list of items "[!]events[:function]": 'events'
// is a number as stoi reads it (decimal or 0x hexadecimal, several event bits at once), the
// optional function name narrows the item to that function, and a leading '!' excludes what
// the item names. Blanks around items are ignored; an empty item is skipped. Items before a bad
// one stay in the filter.
int TarnApplication::ParseLogFilter(const char* filter_text) {
    if (filter_text == nullptr) return 0;
    const char* p = filter_text;
    while (*p != '\0') {
        while (*p == ' ' || *p == '\t') ++p;
        const char* item_end = std::strchr(p, ',');
        if (item_end == nullptr) item_end = p + std::strlen(p);
        const char* last = item_end;
        while (last > p && (last[-1] == ' ' || last[-1] == '\t')) --last;
        if (last > p) {
            bool exclude = *p == '!';
            const char* code = exclude ? p + 1 : p;
            const char* colon =
                static_cast<const char*>(std::memchr(code, ':', static_cast<size_t>(last - code)));
            const char* code_end = colon != nullptr ? colon : last;
            int error = 0;
            int events = stoi(code, static_cast<int>(code_end - code), &error);
            if (error != 0 || code_end == code) return 1;
            LogFilterEntry* entry =
                new LogFilterEntry{static_cast<unsigned>(events), String(), nullptr};
            if (colon != nullptr)
                entry->function_name.assign(colon + 1, static_cast<int>(last - colon - 1));
            LogFilterEntry** tail = exclude ? &log_exclusions_ : &log_filter_;
            while (*tail != nullptr) tail = &(*tail)->next;
            *tail = entry;
        }
        p = *item_end == ',' ? item_end + 1 : item_end;
    }
    return 0;
}

const char* TarnApplication::Log_Description(unsigned code) {
    switch (code) {
        case LOG_FUNCTION_CALL:
            return "Function Call";
        case LOG_FUNCTION_PARAMETER:
            return "Function Parameter";
        case LOG_FUNCTION_RETURN_VALUE:
            return "Function Return Value";
        case LOG_FUNCTION_RETURN:
            return "Function Return";
        case LOG_EXTERNAL_FUNCTION_CALL:
            return "External Function Call";
        case LOG_EXTERNAL_FUNCTION_PARAMETER:
            return "External Function Parameter";
        case LOG_EXTERNAL_FUNCTION_RETURN_VALUE:
            return "External Function Return Value";
        case LOG_EXTERNAL_FUNCTION_RETURN:
            return "External Function Return";
        case LOG_TNDO_ENTER:
            return "TnDO Enter";
        case LOG_TNDO_EXIT:
            return "TnDO Exit";
        case LOG_TNCALL:
            return "TnCALL";
        case LOG_TNSMTP:
            return "TnSMTP";
        case LOG_REQUEST_START:
            return "Request Start";
        case LOG_REQUEST_END:
            return "Request End";
        case LOG_APPLICATION_TIMED_OUT:
            return "Application Timed Out";
        case LOG_RUNTIME_ERROR:
            return "Runtime Error";
        case LOG_FATAL_ERROR:
            return "Fatal Error";
        case LOG_TRACE:
            return "Trace";
        default:
            return "Unknown";
    }
}
