// Root of the application classes: the process-wide settings, the one error channel every
// component reports through, the number and decimal conversions under the runtime's names, and
// the runtime's text encoders.
#ifndef TARN_DRIVER_TARNAPPLICATION_H
#define TARN_DRIVER_TARNAPPLICATION_H

#include <ctime>

#include <mpdecimal.h>

#include "foundation/Conversions.h"
#include "foundation/String.h"

class CommerceManager;
class DatabaseManager;
class FileManager;
class LibraryManager;
class LinkBuffer;
class NetworkManager;
class Output;
class SystemLibraryManager;
class TarnConfig;
class TarnVM;
struct LogParameter;

// Directories the runtime resolves script-relative paths against.
enum Tarn_PathType {
    TARN_PATH_DATA = 0,
    TARN_PATH_SCRIPT = 1,
    TARN_PATH_TEMPORARY = 2,
};

// Log event codes, one bit each; Log_Description names them.
constexpr unsigned LOG_FUNCTION_CALL = 16;
constexpr unsigned LOG_FUNCTION_PARAMETER = 32;
constexpr unsigned LOG_FUNCTION_RETURN_VALUE = 64;
constexpr unsigned LOG_FUNCTION_RETURN = 128;
constexpr unsigned LOG_EXTERNAL_FUNCTION_CALL = 256;
constexpr unsigned LOG_EXTERNAL_FUNCTION_PARAMETER = 512;
constexpr unsigned LOG_EXTERNAL_FUNCTION_RETURN_VALUE = 1024;
constexpr unsigned LOG_EXTERNAL_FUNCTION_RETURN = 2048;
constexpr unsigned LOG_TNDO_ENTER = 4096;
constexpr unsigned LOG_TNDO_EXIT = 8192;
constexpr unsigned LOG_TNCALL = 0x100000;
constexpr unsigned LOG_TNSMTP = 0x200000;
constexpr unsigned LOG_REQUEST_START = 0x2000000;
constexpr unsigned LOG_REQUEST_END = 0x4000000;
constexpr unsigned LOG_APPLICATION_TIMED_OUT = 0x8000000;
constexpr unsigned LOG_RUNTIME_ERROR = 0x10000000;
constexpr unsigned LOG_FATAL_ERROR = 0x20000000;
constexpr unsigned LOG_TRACE = 0x40000000;

// One item of a log filter: the event codes it selects, optionally only for one function name.
struct LogFilterEntry {
    unsigned events;
    String function_name;
    LogFilterEntry* next;
};

class TarnApplication {
  public:
    TarnApplication();
    virtual ~TarnApplication();

    TarnApplication(const TarnApplication&) = delete;
    TarnApplication& operator=(const TarnApplication&) = delete;

    // ---- virtual operations, in slot order (the runtime's libraries call through them) ----
    virtual NetworkManager* networkmanager() = 0;
    virtual FileManager* filemanager() = 0;
    virtual LibraryManager* librarymanager() = 0;
    virtual CommerceManager* commercemanager() { return nullptr; }
    virtual DatabaseManager* databasemanager() { return nullptr; }
    virtual SystemLibraryManager* systemlibrarymanager() { return nullptr; }
    virtual TarnConfig* config() = 0;
    virtual const char* basename() = 0;
    virtual const char* hostname() = 0;
    // Text of the last system failure.
    virtual const char* lasterror() = 0;
    // The channel that 'text' of 'length' bytes is to be written to.
    virtual Output* output(const char* text, int length) = 0;
    // Installs 'channel' and returns the previous one, which the caller now owns.
    virtual Output* SetOutput(Output* channel) = 0;
    // Encrypts 'length' bytes of 'text' with 'key' into 'result'; 0 on success.
    virtual int Crypt(const char* key, int key_length, const char* text, int length,
                      String* result) = 0;
    // A new session identifier into 'id'; 0 on success.
    virtual int MakeSessionID(String* id) = 0;
    // Deadlines 'seconds' from now as the runtime configuration gives them; 0 or less: none.
    virtual void ResetGlobalTimeout(long seconds);
    virtual void ResetPOSTTimeout(long seconds);
    virtual void ClearPOSTTimeout();
    // The timed-out flag.
    virtual int cancelled();
    virtual long processid() = 0;
    virtual long threadid() = 0;
    virtual const char* lockhostname() = 0;
    // Seconds after which a lock file of a vanished process may be taken over.
    virtual int lockexpiration() = 0;
    virtual int Error(const String& text);
    virtual int Error(const char* text);
    virtual int Error(const char* text, int length);
    // Writes 'text' at once to the error stream of its channel; always 0.
    virtual int OutputError(const char* text, int length);
    virtual void Sleep(long milliseconds) = 0;
    virtual long GetUserID() = 0;
    virtual int BeginAsynchronousTask(TarnVM* vm, unsigned flags);
    virtual void AsynchronousSleep(long milliseconds, Tarn_PathType type, const char* path);
    // Counts a sign of life at time 'now' (seconds since the epoch) and notes passed deadlines.
    virtual void Heartbeat(long now);
    // Seconds left before the global deadline, 0 once passed, -1 without one.
    virtual long TimeRemaining();
    virtual const String& language();
    virtual int languagecount();
    virtual const String& defaultlanguage();
    virtual int defaultlanguagecount();
    virtual const String& defaultdatabase();
    virtual int defaultdatabasecount();
    // 'length' of -1 means 'text' is NUL-terminated. Each raises the setting's change counter.
    virtual void SetLanguage(const char* text, int length);
    virtual void SetDefaultLanguage(const char* text, int length);
    virtual void SetDefaultDatabase(const char* text, int length);
    virtual const String& charset();
    virtual int charsetcount();
    // Returns the strcasecmp of the new set against "utf-8": 0 when it is UTF-8.
    virtual int SetCharacterSet(const char* text, int length);
    virtual const String& GetCharacterSet();
    virtual bool CharacterSetIsUTF8();
    virtual bool SSL_Available();
    virtual bool SSL_Initialize() = 0;
    virtual void* SSL_GetFunction(const char* name) = 0;
    // Adds the items of 'filter_text' to the log filter; 0 on success, 1 on a bad item.
    virtual int ParseLogFilter(const char* filter_text);
    virtual void Log(unsigned code, LogParameter* parameters);
    virtual const char* Log_Description(unsigned code);
    virtual int Notify_InputError(const String& text);
    virtual int Notify_FatalError(const String& text);
    virtual int Notify_TimeoutError(const String& text);
    virtual int Notify_RuntimeError(int code, const String& text, bool report);
    virtual void ResolveErrorSyslog();
    virtual void Notify_Syslog(const String& text);
    virtual const String& process_name();
    virtual void SetProcessName(const char* text, int length);
    // The file system path of 'path' in the directory of 'type' into 'result'; 0 on success.
    virtual int ResolvePath(Tarn_PathType type, const char* path, String* result) = 0;

    // ---- conversions (foundation/Conversions, under the names the runtime's code calls) ----
    static int stoi(const char* text, int length = -1, int* error = nullptr) {
        return ::stoi(text, length, error);
    }
    static double stod(const char* text, int length = -1, int buffer_size = -1,
                       int* error = nullptr) {
        return ::stod(text, length, buffer_size, error);
    }
    static char* itos(int value, int* length = nullptr, int* size = nullptr) {
        return ::itos(value, length, size);
    }
    static char* dtos(double value, int* length = nullptr, int* size = nullptr) {
        return ::dtos(value, length, size);
    }
    static mpd_t* stompd(const char* text, int length = -1, int* error = nullptr) {
        return ::stompd(text, length, error);
    }
    static mpd_t* itompd(int value) { return ::itompd(value); }
    static mpd_t* dtompd(double value) { return ::dtompd(value); }
    static mpd_t* mpdtompd(const mpd_t* value) { return ::mpdtompd(value); }
    static int mpdtoi(const mpd_t* value, int* error = nullptr) { return ::mpdtoi(value, error); }
    static char* mpdtos(const mpd_t* value, int* length = nullptr, int* size = nullptr) {
        return ::mpdtos(value, length, size);
    }
    static double mpdtod(const mpd_t* value) { return ::mpdtod(value); }
    static int mpdsize(const mpd_t* value) { return ::mpdsize(value); }

    // ---- text encoders ----
    // Results are NUL-terminated arrays owned by the caller; 'length' of -1 means strlen.
    // HTML text: " & ( ) < > become entities; the apostrophe is left as it is.
    static char* EncodeEntities(const char* text, int length, int* result_length = nullptr,
                                int* result_size = nullptr);
    static String EncodeEntities(const String& text);
    // &quot; &amp; &apos; &lt; &gt; and &#N; / &#xH; back to bytes (UTF-8 above 127); any
    // other '&' stays as it is.
    static char* DecodeEntities(const char* text, int length, int* result_length = nullptr,
                                int* result_size = nullptr);
    // An attribute value safe inside either quote: EncodeEntities, plus ' and bytes below 32 as
    // &#N;.
    static char* EncodeAttribute(const char* text, int length, int* result_length = nullptr,
                                 int* result_size = nullptr);
    // The inverse of EncodeAttribute: the same decoding as DecodeEntities.
    static char* DecodeAttribute(const char* text, int length, int* result_length = nullptr,
                                 int* result_size = nullptr);
    // The text with every NUL byte removed.
    static char* StripNULLs(const char* text, int length, int* result_length = nullptr,
                            int* result_size = nullptr);
    // Escapes the text for a JavaScript string literal, by the UTF-8 flag, appending to 'buffer'
    // or to a new buffer (units length + 512 and 512) when it is null; returns the buffer,
    // which the caller owns when it was made here.
    LinkBuffer* EncodeJavaScriptString(const char* text, int length, LinkBuffer* buffer);

    // ---- state read by the runtime ----
    int heartbeatcount() const { return heartbeat_count_; }
    int posttimedout() const { return post_timed_out_; }
    const LogFilterEntry* logfilter() const { return log_filter_; }
    const LogFilterEntry* logexclusions() const { return log_exclusions_; }

  protected:
    // Objects that the runtime's derived applications hang here; never set by the assembler.
    void* derived_object1_;
    void* derived_object2_;
    int heartbeat_count_;
    int timed_out_;
    int post_timed_out_;
    time_t global_deadline_;
    time_t post_deadline_;
    // Set by the runtime while it shuts down; the assembler never sets it.
    unsigned char shutting_down_;
    // Items selected by ParseLogFilter, and those excluded with a leading '!'.
    LogFilterEntry* log_filter_;
    LogFilterEntry* log_exclusions_;
    String language_;
    int language_count_;
    String default_language_;
    int default_language_count_;
    String default_database_;
    int default_database_count_;
    String charset_;
    int charset_count_;
    int utf8_;
    String process_name_;
};

#endif
