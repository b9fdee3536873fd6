// Tokenizing ahead of the grammar: a second thread runs the tokenizer over the mapped source
// and hands its tokens over in chunks, so that finding where each token ends and carrying out
// the statements run at the same time.
#ifndef TARN_ASSEMBLER_READAHEAD_H
#define TARN_ASSEMBLER_READAHEAD_H

#include <pthread.h>

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <mutex>

class Parser;

class ReadAhead {
  public:
    // What a quoted string needs from the grammar's side. A token that read one has the length
    // 0 of its own, so its length field carries how many bytes the string decodes to instead,
    // and its mnemonic field how many newlines it holds.
    enum StringKind : uint8_t {
        STRING_NONE = 0,
        // Without escapes: its contents are the source bytes behind the opening quote.
        STRING_PLAIN = 1,
        STRING_ESCAPED = 2,
        // Too many newlines to carry: read once more where it is taken.
        STRING_OTHER = 3
    };

    // One token as the tokenizer leaves the grammar's state behind it: the text and length
    // (offset into the source; tokens without text of their own repeat the ones before) and
    // the position behind the token.
    struct Token {
        int32_t text;
        int32_t length;
        int32_t position;
        uint8_t type;
        uint8_t string;
        // An identifier that begins a line is looked up as a mnemonic here already:
        // NOT_LOOKED_UP, NO_MNEMONIC, or FIRST_MNEMONIC plus its slot in the mnemonic table.
        uint16_t mnemonic;
    };
    static constexpr uint16_t NOT_LOOKED_UP = 0;
    static constexpr uint16_t NO_MNEMONIC = 1;
    static constexpr uint16_t FIRST_MNEMONIC = 2;

    // Reads 'parser's source, which must stay mapped while this object lives.
    explicit ReadAhead(const Parser& parser);
    // Stops the thread where it is and waits for it.
    ~ReadAhead();

    ReadAhead(const ReadAhead&) = delete;
    ReadAhead& operator=(const ReadAhead&) = delete;

    // False when the thread cannot be started.
    bool Start();

    // The next token, or null once the token that reached the source's end has been taken;
    // from there on the tokenizer only repeats the end of input.
    const Token* Next() {
        if (cursor_ != end_) return cursor_++;
        return NextChunk();
    }

  private:
    static constexpr int CHUNK_TOKENS = 8192;
    static constexpr uint64_t CHUNKS = 8;

    static void* Run(void* self);
    void Produce();
    const Token* NextChunk();
    // Producer: waits until chunk 'chunk' may be filled; false when told to stop.
    bool WaitForRoom(uint64_t chunk);
    // Wakes the other side when it waits for what was just published or released.
    void Wake(const std::atomic<bool>& waiting);

    const Parser& parser_;
    Token* ring_;
    int filled_[CHUNKS] = {};
    // The number of the chunk that holds the source's last token, once it is known.
    std::atomic<uint64_t> last_chunk_{UINT64_MAX};
    std::atomic<uint64_t> produced_{0};
    std::atomic<uint64_t> consumed_{0};
    std::atomic<bool> stop_{false};
    std::atomic<bool> producer_waiting_{false};
    // What 'consumed_' must reach before a waiting producer goes on.
    std::atomic<uint64_t> resume_at_{0};
    std::atomic<bool> consumer_waiting_{false};
    std::mutex mutex_;
    std::condition_variable changed_;
    pthread_t thread_;
    bool started_ = false;

    // Consumer side: the chunk being read (none before the first) and its tokens left.
    uint64_t reading_ = UINT64_MAX;
    const Token* cursor_ = nullptr;
    const Token* end_ = nullptr;
};

#endif
