// The tokenizing thread and the hand-over of its tokens. The tokens go through a ring of
// chunks: the thread fills a chunk and publishes it, the grammar reads it and releases it.
// Each side waits only when the other is a whole ring ahead or behind, spinning shortly
// first; a side that goes to sleep says so, and the other wakes it through the condition
// variable. Publishing or releasing and the check for a sleeper are sequentially consistent
// on both sides, so that either the sleeper sees the news before it sleeps or the other side
// sees the sleeper.
#include "assembler/ReadAhead.h"

#include "assembler/Parser.h"

namespace {

// How often a side looks again before it goes to sleep.
constexpr int SPINS = 2000;

inline void pause_briefly() {
#if defined(__x86_64__) || defined(__i386__)
    __builtin_ia32_pause();
#endif
}

}  // namespace

ReadAhead::ReadAhead(const Parser& parser)
    : parser_(parser), ring_(new Token[CHUNKS * CHUNK_TOKENS]) {}

ReadAhead::~ReadAhead() {
    if (started_) {
        stop_.store(true);
        {
            std::lock_guard<std::mutex> lock(mutex_);
            changed_.notify_all();
        }
        pthread_join(thread_, nullptr);
    }
    delete[] ring_;
}

bool ReadAhead::Start() {
    started_ = pthread_create(&thread_, nullptr, Run, this) == 0;
    return started_;
}

void* ReadAhead::Run(void* self) {
    static_cast<ReadAhead*>(self)->Produce();
    return nullptr;
}

void ReadAhead::Wake(const std::atomic<bool>& waiting) {
    if (!waiting.load()) return;
    std::lock_guard<std::mutex> lock(mutex_);
    changed_.notify_all();
}

void ReadAhead::Produce() {
    const char* const source = parser_.source_text_;
    const int source_length = parser_.source_length_;
    // The grammar's own starting state: the text at the source's start, length 0.
    const char* text = source;
    int length = 0;
    int position = 0;
    // Whether the next token begins a line: the grammar most likely takes an identifier there
    // for a mnemonic.
    bool line_start = true;
    const OpcodeLookup mnemonics;
    for (uint64_t chunk = 0;; ++chunk) {
        if (!WaitForRoom(chunk)) return;
        const uint64_t slot = chunk % CHUNKS;
        Token* out = ring_ + slot * CHUNK_TOKENS;
        int count = 0;
        bool at_end = false;
        while (count < CHUNK_TOKENS) {
            Parser::StringScan string;
            const TokenType type =
                Parser::Scan(source, source_length, position, &text, length, string);
            Token& token = out[count++];
            token.text = static_cast<int32_t>(text - source);
            token.length = length;
            token.position = position;
            token.type = static_cast<uint8_t>(type);
            token.mnemonic = NOT_LOOKED_UP;
            if (type == TOKEN_IDENTIFIER && line_start) {
                const OpcodeEntry* entry = mnemonics.Lookup(text, length);
                token.mnemonic =
                    entry == nullptr
                        ? NO_MNEMONIC
                        : static_cast<uint16_t>(FIRST_MNEMONIC + (entry - OpcodeLookup::opcodes));
            }
            line_start = type == TOKEN_END_OF_LINE || type == TOKEN_LABEL;
            token.string = STRING_NONE;
            if (string.found) {
                if (length == 0 && string.newlines < UINT16_MAX) {
                    token.string = string.escaped ? STRING_ESCAPED : STRING_PLAIN;
                    token.length = string.decoded;
                    token.mnemonic = static_cast<uint16_t>(string.newlines);
                } else {
                    token.string = STRING_OTHER;
                }
            }
            if (type == TOKEN_END_OF_INPUT && position >= source_length) {
                at_end = true;
                break;
            }
        }
        filled_[slot] = count;
        if (at_end) last_chunk_.store(chunk);
        produced_.store(chunk + 1);
        Wake(consumer_waiting_);
        if (at_end) return;
    }
}

bool ReadAhead::WaitForRoom(uint64_t chunk) {
    if (chunk < consumed_.load() + CHUNKS) return !stop_.load();
    // Once the ring is full the thread waits until half of it is free again, so that it is
    // woken once per half ring instead of once per chunk.
    const uint64_t resume = chunk - CHUNKS / 2 + 1;
    auto resumed = [this, resume] { return consumed_.load() >= resume || stop_.load(); };
    for (int spin = 0; spin < SPINS; ++spin) {
        if (resumed()) return !stop_.load();
        pause_briefly();
    }
    std::unique_lock<std::mutex> lock(mutex_);
    resume_at_.store(resume);
    producer_waiting_.store(true);
    while (!resumed()) changed_.wait(lock);
    producer_waiting_.store(false);
    return !stop_.load();
}

const ReadAhead::Token* ReadAhead::NextChunk() {
    if (reading_ == UINT64_MAX) {
        reading_ = 0;
    } else {
        if (reading_ == last_chunk_.load()) return nullptr;
        ++reading_;
        consumed_.store(reading_);
        // The producer waits for half a ring; waking it sooner would only put it back to sleep.
        if (producer_waiting_.load() && reading_ >= resume_at_.load()) {
            std::lock_guard<std::mutex> lock(mutex_);
            changed_.notify_all();
        }
    }
    auto ready = [this] { return produced_.load() > reading_; };
    if (!ready()) {
        int spin = 0;
        while (!ready() && spin < SPINS) {
            pause_briefly();
            ++spin;
        }
        if (!ready()) {
            std::unique_lock<std::mutex> lock(mutex_);
            consumer_waiting_.store(true);
            while (!ready()) changed_.wait(lock);
            consumer_waiting_.store(false);
        }
    }
    const Token* chunk = ring_ + (reading_ % CHUNKS) * CHUNK_TOKENS;
    cursor_ = chunk + 1;
    end_ = chunk + filled_[reading_ % CHUNKS];
    return chunk;
}
