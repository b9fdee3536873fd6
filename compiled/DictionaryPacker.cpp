// Linear-time repacking of the string dictionary.
//
// Adding texts in turn to one block puts each text at the leftmost occurrence of its bytes in
// the block built so far, or appends it. Searching the block for every text is quadratic in the
// pool. Here the question is turned around: every distinct text waits for its first occurrence,
// and the block is scanned once, byte by byte, as it grows; a text whose first occurrence has
// been seen by its turn goes there, any other is appended (and then seen in its own bytes, or in
// earlier bytes that it completes, as in "a", "aa", "aa" at 0, 1, 0).
//
// To find the waiting texts that end at a position without trying them all, each text has a
// key: a short exact text for texts below 8 bytes, else a window of 8 or 16 of its bytes, picked
// where its bytes are rare in the whole pool. The scan computes the key of each window class
// ending at each position, tests a bitmap, and only on a hit looks up the texts with that key;
// their full bytes are compared by a rolling hash of the block and then by memcmp, so a hash
// never decides anything. Texts that share a key and differ only in how far they reach back
// (runs of one byte at many lengths, a separator line at every width, padding) are kept in
// nested runs, shortest first, so that one failed comparison rules out every longer text of
// the run: a place costs a comparison per run, not per text. All of this is cheap per byte
// unless the input is made to defeat it: the work is counted, and past a bound proportional to
// the pool the rest is placed with a suffix automaton that records each state's first end.
//
// Most texts of a large pool occur nowhere before their turn and are appended. Such a text
// first occurs at its own copy unless a prefix of it is also its suffix; when no other text
// shares its key, it is recorded there at once and the scan does not look its key up.
#include "compiled/DictionaryPacker.h"

#include <pthread.h>
#include <sched.h>

#include <algorithm>
#include <atomic>
#include <cstring>
#include <vector>

#include "compiled/Dictionary.h"

namespace {

// Odd multiplier of the rolling hash over the block and over the texts.
constexpr uint64_t HASH_BASE = 0x9E3779B97F4A7C15ull;
// Prefix hashes kept for the scan; longer texts are compared by memcmp alone.
constexpr int RING_SIZE = 4096;
// A wide key lies at most this many bytes before its text's end, so that the comparison it
// calls for waits in a ring of QUEUE_SIZE slots, one per end position.
constexpr int MAX_DEFER = 48;
constexpr int QUEUE_SIZE = 64;
// Key classes: 1..7 a whole text of that length, then the 8- and 16-byte windows.
constexpr int CLASS_WIDE8 = 8;
constexpr int CLASS_WIDE16 = 9;
constexpr int CLASS_COUNT = 10;
// Counters of how often each 8-byte window occurs in a sample of the texts: at most this many
// bits of index, fewer for a small pool, whose windows fit in fewer counters (a tiny program
// should not clear half a megabyte of them).
constexpr int WINDOW_COUNT_BITS = 18;
constexpr int WINDOW_COUNT_MIN_BITS = 8;
// Sampled windows at most: enough for the rare ones to stand out, cheap for huge pools.
constexpr int64_t WINDOW_SAMPLE = 4 << 20;
// Bitmap bits per key group (at least), and the fast path's work per pool byte.
constexpr int FILTER_BITS_PER_GROUP = 16;
// A class's bitmap is rebuilt when the hits on groups with nothing waiting since the last
// build come to its groups over this.
constexpr int DEAD_HITS_PER_REBUILD = 16;
// How far ahead of the scan the wide keys are computed, within a history of HISTORY_SIZE
// positions (which also holds the 8-byte hash 8 bytes back for the 16-byte key).
constexpr int PREFETCH_DISTANCE = 16;
constexpr int PREPARE_DISTANCE = 8;
constexpr int HISTORY_SIZE = 32;
constexpr int PREFETCH_TEXTS = 8;
constexpr int64_t WORK_PER_BYTE = 16;

uint64_t mix(uint64_t x) {
    x ^= x >> 31;
    x *= 0xD6E8FEB86659FD93ull;
    x ^= x >> 32;
    return x;
}

// Up to 8 bytes folded into one word, the last byte lowest: the scan keeps the same word for
// the bytes before each position by shifting one byte in.
uint64_t fold(const char* p, int n) {
    uint64_t v = 0;
    for (int k = 0; k < n; k++) v = v << 8 | static_cast<unsigned char>(p[k]);
    return v;
}

// The low 'n' bytes of a folded word: the last 'n' bytes folded.
uint64_t low_bytes(uint64_t folded, int n) {
    return n >= 8 ? folded : folded & ((uint64_t{1} << (8 * n)) - 1);
}

// The key class of a text of this length.
int class_of_length(int length) {
    return length < CLASS_WIDE8 ? length : length < 16 ? CLASS_WIDE8 : CLASS_WIDE16;
}

uint64_t group_hash(int key_class, uint64_t key) {
    return mix(key ^ (static_cast<uint64_t>(key_class) * 0xA0761D6478BD642Full));
}

// The key of a 16-byte window from the folds of its halves: the first half enters by the hash
// it has as an 8-byte key, which the scan has worked out 8 positions before.
uint64_t wide_key(uint64_t first, uint64_t second) {
    return group_hash(CLASS_WIDE8, first) ^ second;
}

// Appends without searching, growing the block to whole granules when the text does not fit,
// as the repacking block of the dictionary grows.
int append_growing(DictionaryDataBlock* block, const char* text, int length) {
    int offset = block->Append(text, length);
    if (offset == -1) {
        block->Grow(dictionary_block_capacity(block->used() + length));
        offset = block->Append(text, length);
    }
    return offset;
}

// Slots of an open-addressing table for at most 'entries' keys: filled to three quarters at
// most, as these tables are the packer's largest memory.
size_t table_size_for(size_t entries) {
    size_t size = 16;
    while (size < entries + entries / 3 + 1) size <<= 1;
    return size;
}

// ---- work on a second thread ----

// Items made in order on a second thread, a ring ahead of the caller, who takes them in the same
// order: the making and the using of an item then take one processor each. After the last item
// the thread runs 'tail', some later work that needs none of the caller's. Without a thread (a
// job too small to pay for one, or none could be started) the caller makes each item as it
// takes it, and runs 'tail' in Finish. Each side waits only for the other: briefly spinning,
// then giving up its processor between looks.
template <typename Item, typename Make, typename Tail>
class Ahead {
  public:
    Ahead(size_t count, bool threaded, Make make, Tail tail)
        : count_(count), make_(make), tail_(tail) {
        if (threaded) started_ = pthread_create(&thread_, nullptr, Run, this) == 0;
    }
    ~Ahead() { Finish(); }
    Ahead(const Ahead&) = delete;
    Ahead& operator=(const Ahead&) = delete;

    Item Take() {
        if (!started_) return make_(taken_++);
        if (taken_ == visible_) {
            for (int looks = 0; (visible_ = produced_.load(std::memory_order_acquire)) == taken_;
                 looks++) {
                Wait(looks);
            }
        }
        Item item = ring_[taken_ % RING];
        if (++taken_ % BATCH == 0) consumed_.store(taken_, std::memory_order_release);
        return item;
    }

    // Waits for the thread and for the tail; the items not taken are dropped.
    void Finish() {
        if (started_) {
            stop_.store(true, std::memory_order_relaxed);
            pthread_join(thread_, nullptr);
            started_ = false;
        }
        if (!tail_done_) {
            tail_();
            tail_done_ = true;
        }
    }

  private:
    static constexpr size_t RING = 4096;
    static constexpr size_t BATCH = 64;

    static void Wait(int looks) {
        if (looks < 256) {
#if defined(__x86_64__) || defined(__i386__)
            __builtin_ia32_pause();
#endif
        } else {
            sched_yield();
        }
    }

    static void* Run(void* self) {
        static_cast<Ahead*>(self)->Produce();
        return nullptr;
    }

    void Produce() {
        size_t room_until = RING;
        for (size_t i = 0; i < count_; i++) {
            for (int looks = 0; i >= room_until; looks++) {
                if (stop_.load(std::memory_order_relaxed)) return;
                room_until = consumed_.load(std::memory_order_acquire) + RING;
                if (i >= room_until) Wait(looks);
            }
            ring_[i % RING] = make_(i);
            if ((i + 1) % BATCH == 0) produced_.store(i + 1, std::memory_order_release);
        }
        produced_.store(count_, std::memory_order_release);
        tail_();
        tail_done_ = true;
    }

    size_t count_;
    Make make_;
    Tail tail_;
    bool tail_done_ = false;
    bool started_ = false;
    pthread_t thread_;
    Item ring_[RING];
    // Apart from each other, so that publishing one does not disturb the side reading the other.
    alignas(64) std::atomic<size_t> produced_{0};
    alignas(64) std::atomic<size_t> consumed_{0};
    alignas(64) std::atomic<bool> stop_{false};
    // The caller's side.
    size_t taken_ = 0;
    size_t visible_ = 0;
};

// One piece of work on a second thread while the caller does another; Join waits for it.
// Without a thread the caller does it in Join.
template <typename Work>
class Alongside {
  public:
    Alongside(bool threaded, Work work) : work_(work) {
        if (threaded) started_ = pthread_create(&thread_, nullptr, Run, this) == 0;
    }
    ~Alongside() { Join(); }
    Alongside(const Alongside&) = delete;
    Alongside& operator=(const Alongside&) = delete;

    void Join() {
        if (started_) {
            pthread_join(thread_, nullptr);
            started_ = false;
            done_ = true;
        }
        if (!done_) {
            work_();
            done_ = true;
        }
    }

  private:
    static void* Run(void* self) {
        static_cast<Alongside*>(self)->work_();
        return nullptr;
    }

    Work work_;
    bool started_ = false;
    bool done_ = false;
    pthread_t thread_;
};

// ---- the exact fallback: a suffix automaton over the block ----

// Each state keeps the end of the first occurrence of its strings, so the leftmost occurrence
// of a text is the state its bytes lead to, less its length. Transitions are kept per state in
// a list, at most one per byte value, so that each step is bounded: the automaton only serves
// inputs that defeat the fast path, where it bounds the time.
class SuffixAutomaton {
  public:
    SuffixAutomaton() { New_State(0, -1, 0); }

    void Extend(unsigned char c) {
        int current = New_State(length_[last_] + 1, -1, length_[last_] + 1);
        int p = last_;
        while (p >= 0 && Edge(p, c) < 0) {
            Add_Edge(p, c, current);
            p = link_[p];
        }
        if (p < 0) {
            link_[current] = 0;
        } else {
            int q = target_[Edge(p, c)];
            if (length_[p] + 1 == length_[q]) {
                link_[current] = q;
            } else {
                int clone = New_State(length_[p] + 1, link_[q], first_end_[q]);
                for (int e = head_[q]; e >= 0; e = next_[e]) Add_Edge(clone, byte_[e], target_[e]);
                for (int e; p >= 0 && (e = Edge(p, c)) >= 0 && target_[e] == q; p = link_[p]) {
                    target_[e] = clone;
                }
                link_[q] = clone;
                link_[current] = clone;
            }
        }
        last_ = current;
    }

    // Leftmost offset of the text in everything extended so far, or -1.
    int Find(const char* text, int length) {
        int state = 0;
        for (int k = 0; k < length; k++) {
            int e = Edge(state, static_cast<unsigned char>(text[k]));
            if (e < 0) return -1;
            state = target_[e];
        }
        return first_end_[state] - length;
    }

  private:
    int New_State(int length, int link, int first_end) {
        length_.push_back(length);
        link_.push_back(link);
        first_end_.push_back(first_end);
        head_.push_back(-1);
        return static_cast<int>(length_.size()) - 1;
    }

    // The edge of 'state' for byte 'c', or -1. A found edge moves to the front of its list, so
    // that the bytes a state is left by most are found first: a walk along a run of one byte
    // costs a step per byte however many other bytes leave its states.
    int Edge(int state, unsigned char c) {
        int before = -1;
        for (int e = head_[state]; e >= 0; before = e, e = next_[e]) {
            if (byte_[e] != c) continue;
            if (before >= 0) {
                next_[before] = next_[e];
                next_[e] = head_[state];
                head_[state] = e;
            }
            return e;
        }
        return -1;
    }

    void Add_Edge(int state, unsigned char c, int target) {
        byte_.push_back(c);
        target_.push_back(target);
        next_.push_back(head_[state]);
        head_[state] = static_cast<int>(byte_.size()) - 1;
    }

    std::vector<int> length_, link_, first_end_, head_;
    std::vector<int> next_, target_;
    std::vector<unsigned char> byte_;
    int last_ = 0;
};

// ---- the fast path ----

// A distinct text waiting for its first occurrence, filed under its key; its id is its place
// in 'members_'. Kept small, as there is one per distinct text.
struct Member {
    const char* bytes;
    // Bits 7 and up: the low bits of the rolling hash of all its bytes, a filter and never
    // proof. Bit 6: no other text has its key. Bits 0-5: how many bytes lie between the end of
    // its key and its own end (at most MAX_DEFER).
    uint32_t hash_defer;
    int length;

    int defer() const { return static_cast<int>(hash_defer & DEFER_MASK); }
    bool alone() const { return (hash_defer & ALONE) != 0; }
    bool Hash_Matches(uint64_t hash) const {
        return ((static_cast<uint32_t>(hash) ^ hash_defer) & HASH_MASK) == 0;
    }
    static constexpr uint32_t DEFER_MASK = 63;
    static constexpr uint32_t ALONE = 64;
    static constexpr uint32_t HASH_MASK = ~uint32_t{127};
};
static_assert(MAX_DEFER <= static_cast<int>(Member::DEFER_MASK), "defer must fit its bits");

// A slot of a group table: the texts that share one key. The short classes share one table,
// their keys tagged with the class in the top byte; each wide class has a table of its own.
// A negative 'begin' marks a free slot.
struct Group {
    uint64_t key;
    int begin;  // its first place in 'places_'
    int size;   // its places; the group is done when none of them waits
};

constexpr int TABLE_SHORT = 0;
constexpr int TABLE_WIDE8 = 1;
constexpr int TABLE_WIDE16 = 2;
constexpr int TABLE_COUNT = 3;

int table_of(int key_class) {
    return key_class < CLASS_WIDE8 ? TABLE_SHORT : key_class - CLASS_WIDE8 + TABLE_WIDE8;
}

// A key as its table keeps it: the keys of the short classes (at most 7 bytes) tagged with
// their class, so that "ab" and "\0ab" stay apart.
uint64_t tagged_key(int key_class, uint64_t key) {
    return key_class < CLASS_WIDE8 ? key | static_cast<uint64_t>(key_class) << 56 : key;
}

uint64_t untagged_key(int key_class, uint64_t tagged) {
    return key_class < CLASS_WIDE8 ? tagged & ((uint64_t{1} << 56) - 1) : tagged;
}

// A chain of comparisons that waits for the scan to reach its texts' end: the waiting members
// of one nested run of a group (see Build_Groups), from place 'at' to 'stop'.
struct Deferred {
    int at;
    int stop;
    int next;
};

class Scanner {
  public:
    // From 'threaded_texts' texts on, the texts are hashed and their keys chosen on a second
    // thread, ahead of their filing.
    Scanner(const DictionaryPacker::Texts* texts, DictionaryDataBlock* block, int64_t work_limit,
            int threaded_texts, DictionaryPacker::Counters* counters);

    // Offset of texts[i] under the layout rule; appends it (and scans its bytes) when it is
    // not in the block yet. False once the work limit has been passed; the text is placed all
    // the same, but nothing after it may be asked of the scanner.
    bool Place(int i, int* offset);

  private:
    void Count_Windows(int64_t total);
    void Choose_Key(const char* text, int length, int* key_class, uint64_t* key, int* defer);
    void Build();
    // Files the distinct texts and counts the windows; returns the length of all texts
    // together.
    int64_t Find_Distinct();
    void Build_Groups();
    void Order_Group(const Group& group, int* order);
    // The first slot to try for a key of this hash, within its table: the table's sizes are
    // not powers of two, so that none is much larger than its load calls for.
    size_t Home_Of(int key_class, uint64_t hash) const {
        int table = table_of(key_class);
        return table_base_[table] + ((hash >> 24 & 0xFFFFFFFFu) * table_size_[table] >> 32);
    }
    size_t Slot_Of(int key_class, uint64_t key) const;
    void Build_Filter(int key_class);
    void Lead(int end);
    void Prepare(int end);
    void Scan(int from);
    // The scan's test of one key: cheap, and almost always false.
    bool Maybe(int key_class, uint64_t hash) const {
        uint64_t word = filter_[key_class][hash & filter_mask_[key_class]];
        uint64_t bits = (uint64_t{1} << (hash >> 52 & 63)) | (uint64_t{1} << (hash >> 58));
        return (word & bits) == bits;
    }
    void Probe(int key_class, uint64_t key, int end);
    int Waiting_From(int at);
    bool Waiting(const Group& group) {
        return Waiting_From(group.begin) < group.begin + group.size;
    }
    void Check_Run(int at, int stop, int end);
    bool Check(int id, int end);
    void Found(int id, int end);
    bool Has_Border(const char* text, int length);

    const DictionaryPacker::Texts* texts_;
    int count_;
    DictionaryDataBlock* block_;
    int64_t work_limit_;
    int threaded_texts_;
    DictionaryPacker::Counters* counters_;
    bool over_limit_ = false;

    std::vector<uint16_t> window_counts_;
    int window_bits_ = WINDOW_COUNT_BITS;
    std::vector<int> text_id_;    // distinct id of each text, -1 for the empty text
    std::vector<int> first_end_;  // per id: end of its first occurrence, -1 while waiting
    // The members by id. Once the groups are built, ids are renumbered so that a member's id is
    // its place: the members by group, the groups by class, each group's members by distance
    // from their key to their end, then by length. A group's members then lie side by side.
    std::vector<Member> members_;
    struct Seat {
        int run_end;       // where its nested run ends: each member of a run ends the next
        int waiting_from;  // towards the next place still waiting, shortened as it is followed
    };
    std::vector<Seat> places_;
    // The group tables one after the other, each with open addressing by key.
    std::vector<Group> groups_;
    size_t table_base_[TABLE_COUNT] = {};
    size_t table_size_[TABLE_COUNT] = {};
    // Per key class: the slots of its groups, how many still have waiting members, and a
    // bitmap of their keys, two bits of one word per key, rebuilt when half of them are done.
    std::vector<int> class_groups_[CLASS_COUNT];
    int live_groups_[CLASS_COUNT] = {};
    // Members of the groups in the bitmap when it was built, and how many have been found
    // since: the bitmap is built again once that is half of them.
    int filtered_members_[CLASS_COUNT] = {};
    int found_since_[CLASS_COUNT] = {};
    int dead_hits_[CLASS_COUNT] = {};
    std::vector<uint64_t> filter_[CLASS_COUNT];
    size_t filter_mask_[CLASS_COUNT] = {};
    unsigned short_classes_ = 0;  // bit c set while texts of exact length c wait
    // Per value of the last byte, or of the last two in a large pool, bit c set when a short
    // class c key in the bitmap ends with it: the scan tries only those classes at a position,
    // a table look rather than a hash per class. (Two bytes tell the classes apart far better
    // where short names abound, but their table is not worth clearing for a small pool.)
    std::vector<uint8_t> classes_ending_;
    uint64_t ending_mask_ = 0xFF;

    // Ahead of the scan: the last 8 bytes folded, and per recent position that fold and its
    // hash as an 8-byte key, the 16-byte key and its hash.
    int lead_end_ = 0;
    uint64_t lead_window_ = 0;
    uint64_t window_at_[HISTORY_SIZE] = {};
    uint64_t wide_at_[HISTORY_SIZE] = {};
    uint64_t wide_hash_at_[HISTORY_SIZE] = {};
    uint64_t window_hash_at_[HISTORY_SIZE] = {};

    uint64_t prefix_hash_ = 0;
    std::vector<uint64_t> ring_;
    std::vector<uint64_t> power_;  // HASH_BASE to the power of each length below RING_SIZE
    // Deferred comparisons: one list per end position modulo QUEUE_SIZE.
    std::vector<int> queue_head_;
    // Where the text just appended and found has its key, which needs no look.
    int skip_class_ = -1;
    int skip_end_ = -1;
    std::vector<int> border_;
    std::vector<Deferred> deferred_;
    int deferred_free_ = -1;
};

Scanner::Scanner(const DictionaryPacker::Texts* texts, DictionaryDataBlock* block,
                 int64_t work_limit, int threaded_texts, DictionaryPacker::Counters* counters)
    : texts_(texts),
      count_(texts->count()),
      block_(block),
      work_limit_(work_limit),
      threaded_texts_(threaded_texts),
      counters_(counters),
      ring_(RING_SIZE, 0),
      power_(RING_SIZE, 1),
      queue_head_(QUEUE_SIZE, -1) {
    for (size_t n = 1; n < power_.size(); n++) power_[n] = power_[n - 1] * HASH_BASE;
    Build();
}

// How often each 8-byte window occurs in a sample of the texts (counters shared by hash).
void Scanner::Count_Windows(int64_t total) {
    window_bits_ = WINDOW_COUNT_MIN_BITS;
    while (window_bits_ < WINDOW_COUNT_BITS && (int64_t{1} << window_bits_) < total / 2) {
        window_bits_++;
    }
    window_counts_.assign(size_t{1} << window_bits_, 0);
    int step = static_cast<int>(total / WINDOW_SAMPLE) + 1;
    for (int i = 0; i < count_; i += step) {
        DictionaryPacker::Text sampled = texts_->At(i);
        const char* text = sampled.bytes;
        uint64_t window = 0;
        for (int k = 0; k < sampled.length; k++) {
            window = window << 8 | static_cast<unsigned char>(text[k]);
            if (k < 7) continue;
            uint16_t& c = window_counts_[mix(window) >> (64 - window_bits_)];
            if (c != UINT16_MAX) c++;
        }
    }
}

// The key of a text: the text itself below 8 bytes; else the 8- or 16-byte window, among those
// ending at most MAX_DEFER bytes before the end, whose 8-byte parts are rarest in the sample
// (on a tie the one nearest the end).
void Scanner::Choose_Key(const char* text, int length, int* key_class, uint64_t* key, int* defer) {
    if (length < CLASS_WIDE8) {
        *key_class = length;
        *key = fold(text, length);
        *defer = 0;
        return;
    }
    int width = length < 16 ? 8 : 16;
    // Folds of the windows that may be picked, region[k] starting at byte first + k.
    int first = length - width - MAX_DEFER > 0 ? length - width - MAX_DEFER : 0;
    uint64_t region[MAX_DEFER + 10];
    uint64_t window = fold(text + first, 7);
    for (int k = first + 7; k < length; k++) {
        window = window << 8 | static_cast<unsigned char>(text[k]);
        region[k - 7 - first] = window;
    }
    unsigned counts[MAX_DEFER + 10];
    for (int k = 0; k <= length - 8 - first; k++) {
        counts[k] = window_counts_[mix(region[k]) >> (64 - window_bits_)];
    }
    int best = length - width;
    unsigned best_cost = ~0u;
    for (int start = length - width; start >= first; start--) {
        unsigned cost = counts[start - first];
        if (width == 16) cost += counts[start - first + 8];
        if (cost < best_cost) {
            best_cost = cost;
            best = start;
        }
    }
    uint64_t head = region[best - first];
    *key_class = width == 8 ? CLASS_WIDE8 : CLASS_WIDE16;
    *key = width == 8 ? head : wide_key(head, region[best - first + 8]);
    *defer = length - best - width;
}

// The slot of the group with this key, or the free slot where it would go.
size_t Scanner::Slot_Of(int key_class, uint64_t key) const {
    int table = table_of(key_class);
    size_t end = table_base_[table] + table_size_[table];
    uint64_t tagged = tagged_key(key_class, key);
    for (size_t slot = Home_Of(key_class, group_hash(key_class, key));;) {
        const Group& group = groups_[slot];
        if (group.begin < 0 || group.key == tagged) return slot;
        if (++slot == end) slot = table_base_[table];
    }
}

void Scanner::Build() {
    int64_t total = Find_Distinct();
    if (work_limit_ < 0) work_limit_ = WORK_PER_BYTE * (total + count_) + (int64_t{1} << 20);
    Build_Groups();
    first_end_.assign(members_.size(), -1);
    ending_mask_ = total >= (int64_t{1} << 20) ? 0xFFFF : 0xFF;
    classes_ending_.assign(ending_mask_ + 1, 0);
    // The 16-byte class's bitmap, on the second thread: no class shares anything with another
    // but the short classes' table of last bytes.
    auto widest = [this] { Build_Filter(CLASS_WIDE16); };
    Alongside<decltype(widest)> other(count_ >= threaded_texts_, widest);
    for (int c = 1; c < CLASS_WIDE16; c++) {
        Build_Filter(c);
    }
    other.Join();
}

// The distinct texts by hash and bytes, as members in order of first appearance (their id).
// The table is probed a few texts ahead of its use (PREFETCH_TEXTS), as it is far larger than
// the caches.
int64_t Scanner::Find_Distinct() {
    // The rolling hash of the scan, four bytes a step: only the product with the fourth power
    // waits for the step before.
    constexpr uint64_t BASE2 = HASH_BASE * HASH_BASE;
    constexpr uint64_t BASE3 = BASE2 * HASH_BASE;
    constexpr uint64_t BASE4 = BASE3 * HASH_BASE;
    auto hash_of = [](DictionaryPacker::Text text) {
        const unsigned char* bytes = reinterpret_cast<const unsigned char*>(text.bytes);
        uint64_t hash = 0;
        int k = 0;
        for (; k + 4 <= text.length; k += 4) {
            hash = hash * BASE4 + bytes[k] * BASE3 + bytes[k + 1] * BASE2 +
                   bytes[k + 2] * HASH_BASE + bytes[k + 3];
        }
        for (; k < text.length; k++) hash = hash * HASH_BASE + bytes[k];
        return hash;
    };

    size_t id_mask = table_size_for(static_cast<size_t>(count_)) - 1;
    auto id_slot_of = [id_mask](uint64_t hash, int length) {
        return mix(hash + static_cast<uint64_t>(length)) & id_mask;
    };
    std::vector<int> id_slots(id_mask + 1, -1);
    // Room for every text to be distinct: pages that are never written cost nothing.
    members_.reserve(static_cast<size_t>(count_));
    text_id_.assign(static_cast<size_t>(count_), -1);

    // Each text is asked for once, with its hash, on the second thread; that thread then counts
    // the windows, which needs the length of all texts and nothing of the filing.
    struct Hashed {
        DictionaryPacker::Text text;
        uint64_t hash;
    };
    int64_t total = 0;
    auto make = [this, &hash_of, &total](size_t i) {
        DictionaryPacker::Text text = texts_->At(static_cast<int>(i));
        total += text.length;
        return Hashed{text, hash_of(text)};
    };
    auto tail = [this, &total] { Count_Windows(total); };
    Ahead<Hashed, decltype(make), decltype(tail)> hashed(static_cast<size_t>(count_),
                                                         count_ >= threaded_texts_, make, tail);
    // Taken some texts ahead of their filing, so that their table slots are asked for early.
    Hashed ahead[PREFETCH_TEXTS];
    for (int i = 0; i < count_ && i < PREFETCH_TEXTS; i++) {
        ahead[i] = hashed.Take();
        __builtin_prefetch(&id_slots[id_slot_of(ahead[i].hash, ahead[i].text.length)]);
    }
    for (int i = 0; i < count_; i++) {
        Hashed taken = ahead[i % PREFETCH_TEXTS];
        uint64_t hash = taken.hash;
        DictionaryPacker::Text text = taken.text;
        if (i + PREFETCH_TEXTS < count_) {
            Hashed& later = ahead[i % PREFETCH_TEXTS];
            later = hashed.Take();
            __builtin_prefetch(&id_slots[id_slot_of(later.hash, later.text.length)]);
        }
        if (text.length == 0) continue;
        size_t slot = id_slot_of(hash, text.length);
        int id = -1;
        for (; id_slots[slot] >= 0; slot = (slot + 1) & id_mask) {
            const Member& seen = members_[static_cast<size_t>(id_slots[slot])];
            if (seen.Hash_Matches(hash) && seen.length == text.length &&
                std::memcmp(seen.bytes, text.bytes, static_cast<size_t>(text.length)) == 0) {
                id = id_slots[slot];
                break;
            }
        }
        if (id < 0) {
            id = static_cast<int>(members_.size());
            id_slots[slot] = id;
            uint32_t hash_bits = static_cast<uint32_t>(hash) & Member::HASH_MASK;
            members_.push_back(Member{text.bytes, hash_bits, text.length});
        }
        text_id_[static_cast<size_t>(i)] = id;
    }
    hashed.Finish();
    return total;
}

// Files every member under its key, then orders the members by group, the groups by class.
// Keys are chosen a few members ahead of their filing, so that their group slots can be asked
// for before they are needed.
void Scanner::Build_Groups() {
    const bool threaded = count_ >= threaded_texts_;
    size_t in_table[TABLE_COUNT] = {};
    for (const Member& member : members_) {
        in_table[member.length < 8    ? TABLE_SHORT
                 : member.length < 16 ? TABLE_WIDE8
                                      : TABLE_WIDE16]++;
    }
    size_t slots = 0;
    for (int t = 0; t < TABLE_COUNT; t++) {
        table_base_[t] = slots;
        // At most three quarters full: the bitmaps spare these tables most of the lookups
        // that would miss, and they are the packer's largest memory.
        table_size_[t] = in_table[t] + in_table[t] / 3 + 1;
        slots += table_size_[t];
    }
    groups_.assign(slots, Group{0, -1, 0});

    // The keys are chosen on the second thread, which reads only the members' bytes and the
    // window counts; the member's own record is written here.
    struct Key {
        int key_class;
        int defer;
        uint64_t key;
    };
    auto make = [this](size_t id) {
        const Member& member = members_[id];
        Key chosen;
        Choose_Key(member.bytes, member.length, &chosen.key_class, &chosen.key, &chosen.defer);
        return chosen;
    };
    auto no_tail = [] {};
    Ahead<Key, decltype(make), decltype(no_tail)> chosen(members_.size(), count_ >= threaded_texts_,
                                                         make, no_tail);
    Key ahead[PREFETCH_TEXTS];
    auto take = [this, &chosen, &ahead](size_t id) {
        Key& key = ahead[id % PREFETCH_TEXTS];
        key = chosen.Take();
        members_[id].hash_defer |= static_cast<uint32_t>(key.defer);
        __builtin_prefetch(&groups_[Home_Of(key.key_class, group_hash(key.key_class, key.key))]);
    };
    // Each member's group slot, while the groups are built.
    std::vector<int> group_of(members_.size());
    for (size_t id = 0; id < members_.size() && id < PREFETCH_TEXTS; id++) take(id);
    for (size_t id = 0; id < members_.size(); id++) {
        int key_class = ahead[id % PREFETCH_TEXTS].key_class;
        uint64_t key = ahead[id % PREFETCH_TEXTS].key;
        if (id + PREFETCH_TEXTS < members_.size()) take(id + PREFETCH_TEXTS);
        size_t slot = Slot_Of(key_class, key);
        Group& group = groups_[slot];
        if (group.begin < 0) {
            group = Group{tagged_key(key_class, key), 0, 0};
            class_groups_[key_class].push_back(static_cast<int>(slot));
        }
        group.size++;
        group_of[id] = static_cast<int>(slot);
    }
    chosen.Finish();

    int begin = 0;
    for (int c = 1; c < CLASS_COUNT; c++) {
        const std::vector<int>& slots = class_groups_[c];
        for (size_t k = 0; k < slots.size(); k++) {
            // The groups lie in the table by hash; asking for them a few ahead hides the wait.
            if (k + PREFETCH_TEXTS < slots.size()) {
                __builtin_prefetch(&groups_[static_cast<size_t>(slots[k + PREFETCH_TEXTS])]);
            }
            Group& group = groups_[static_cast<size_t>(slots[k])];
            group.begin = begin;
            begin += group.size;
            group.size = 0;
        }
    }
    size_t count = members_.size();
    std::vector<int> order(count);
    for (size_t id = 0; id < count; id++) {
        if (id + PREFETCH_TEXTS < count) {
            __builtin_prefetch(&groups_[static_cast<size_t>(group_of[id + PREFETCH_TEXTS])]);
        }
        Group& group = groups_[static_cast<size_t>(group_of[id])];
        order[static_cast<size_t>(group.begin + group.size++)] = static_cast<int>(id);
    }
    places_.resize(count + 1);
    // Groups share no member: the second half of each class's groups is ordered on the second
    // thread.
    auto order_groups = [this, &order](bool second_half) {
        for (int c = 1; c < CLASS_COUNT; c++) {
            const std::vector<int>& slots = class_groups_[c];
            size_t half = slots.size() / 2;
            size_t from = second_half ? half : 0;
            size_t to = second_half ? slots.size() : half;
            for (size_t k = from; k < to; k++) {
                if (k + PREFETCH_TEXTS < to) {
                    __builtin_prefetch(&groups_[static_cast<size_t>(slots[k + PREFETCH_TEXTS])]);
                }
                Order_Group(groups_[static_cast<size_t>(slots[k])], order.data());
            }
        }
    };
    auto second_half = [&order_groups] { order_groups(true); };
    {
        Alongside<decltype(second_half)> other(threaded, second_half);
        order_groups(false);
    }
    for (size_t at = 0; at <= count; at++) places_[at].waiting_from = static_cast<int>(at);

    // Renumbering: 'order' becomes each old id's place, the texts take the new ids, and the
    // members move to their places one cycle of the permutation at a time, without a copy.
    // The group slots are done with, and their room takes the places.
    std::vector<int>& place_of = group_of;
    for (size_t at = 0; at < count; at++) {
        place_of[static_cast<size_t>(order[at])] = static_cast<int>(at);
    }
    std::vector<int>().swap(order);
    for (int& id : text_id_) {
        if (id >= 0) id = place_of[static_cast<size_t>(id)];
    }
    for (size_t start = 0; start < count; start++) {
        if (place_of[start] < 0) continue;
        Member moving = members_[start];
        size_t from = start;
        for (;;) {
            size_t to = static_cast<size_t>(place_of[from]);
            place_of[from] = -1;
            if (to == start) break;
            std::swap(moving, members_[to]);
            from = to;
        }
        members_[start] = moving;
    }
}

// Within a group, members whose key lies as far from their end are sorted by length, and each
// one that is the last bytes of the next starts or continues a nested run: where one of them
// does not end at a place, none of the longer ones of its run can. 'order' holds the members by
// place.
void Scanner::Order_Group(const Group& group, int* order) {
    auto shorter = [this](int a, int b) {
        const Member& x = members_[static_cast<size_t>(a)];
        const Member& y = members_[static_cast<size_t>(b)];
        if (x.defer() != y.defer()) return x.defer() < y.defer();
        return x.length != y.length ? x.length < y.length : a < b;
    };
    int* first = order + group.begin;
    int* last = first + group.size;
    if (group.size == 1) members_[static_cast<size_t>(*first)].hash_defer |= Member::ALONE;
    if (group.size > 1) std::sort(first, last, shorter);
    int run_end = group.begin + group.size;
    for (int* place = last - 1; place >= first; place--) {
        if (place + 1 < last) {
            const Member& inner = members_[static_cast<size_t>(place[0])];
            const Member& outer = members_[static_cast<size_t>(place[1])];
            bool nested = inner.defer() == outer.defer() && inner.length < outer.length &&
                          std::memcmp(outer.bytes + outer.length - inner.length, inner.bytes,
                                      static_cast<size_t>(inner.length)) == 0;
            if (!nested) run_end = static_cast<int>(place - order) + 1;
        }
        places_[static_cast<size_t>(place - order)].run_end = run_end;
    }
}

// Sets the class's bitmap to the keys of its groups that still have waiting members.
void Scanner::Build_Filter(int key_class) {
    std::vector<int>& slots = class_groups_[key_class];
    size_t kept = 0;
    int members = 0;
    for (size_t k = 0; k < slots.size(); k++) {
        // The groups lie in the table by hash; asking for them a few ahead hides the wait.
        if (k + PREFETCH_TEXTS < slots.size()) {
            __builtin_prefetch(&groups_[static_cast<size_t>(slots[k + PREFETCH_TEXTS])]);
        }
        int slot = slots[k];
        const Group& group = groups_[static_cast<size_t>(slot)];
        if (!Waiting(group)) continue;
        slots[kept++] = slot;
        members += group.size;
    }
    slots.resize(kept);
    live_groups_[key_class] = static_cast<int>(kept);
    filtered_members_[key_class] = members;
    found_since_[key_class] = 0;
    dead_hits_[key_class] = 0;
    if (key_class < CLASS_WIDE8) {
        short_classes_ &= ~(1u << key_class);
        if (kept > 0) short_classes_ |= 1u << key_class;
    }
    size_t words = 8;
    while (words * 64 < kept * FILTER_BITS_PER_GROUP) words <<= 1;
    filter_[key_class].assign(words, 0);
    filter_mask_[key_class] = words - 1;
    for (size_t k = 0; k < kept; k++) {
        if (k + PREFETCH_TEXTS < kept) {
            __builtin_prefetch(&groups_[static_cast<size_t>(slots[k + PREFETCH_TEXTS])]);
        }
        const Group& group = groups_[static_cast<size_t>(slots[k])];
        uint64_t hash = group_hash(key_class, untagged_key(key_class, group.key));
        filter_[key_class][hash & (words - 1)] |=
            (uint64_t{1} << (hash >> 52 & 63)) | (uint64_t{1} << (hash >> 58));
    }
    if (key_class < CLASS_WIDE8) {
        uint8_t bit = static_cast<uint8_t>(1u << key_class);
        for (uint8_t& classes : classes_ending_) classes &= static_cast<uint8_t>(~bit);
        for (int slot : slots) {
            uint64_t key = groups_[static_cast<size_t>(slot)].key;
            if (key_class >= 2 || ending_mask_ == 0xFF) {
                classes_ending_[key & ending_mask_] |= bit;
            } else {
                // A one-byte key ends a position whatever the byte before it.
                for (uint64_t before = 0; before < 256; before++) {
                    classes_ending_[before << 8 | (key & 0xFF)] |= bit;
                }
            }
        }
    }
}

// Computes the keys of the wide classes ending at 'end' ahead of the scan, and asks for their
// bitmap words, so that the scan does not wait for memory at each byte.
void Scanner::Lead(int end) {
    lead_window_ = lead_window_ << 8 | static_cast<unsigned char>(block_->data()[end - 1]);
    size_t at = static_cast<size_t>(end & (HISTORY_SIZE - 1));
    window_at_[at] = lead_window_;
    if (end < 8) return;
    window_hash_at_[at] = group_hash(CLASS_WIDE8, lead_window_);
    if (end >= 16 && live_groups_[CLASS_WIDE16] > 0) {
        uint64_t key = window_hash_at_[(end - 8) & (HISTORY_SIZE - 1)] ^ lead_window_;
        wide_at_[at] = key;
        wide_hash_at_[at] = group_hash(CLASS_WIDE16, key);
        __builtin_prefetch(&filter_[CLASS_WIDE16][wide_hash_at_[at] & filter_mask_[CLASS_WIDE16]]);
    }
    if (live_groups_[CLASS_WIDE8] > 0) {
        __builtin_prefetch(&filter_[CLASS_WIDE8][window_hash_at_[at] & filter_mask_[CLASS_WIDE8]]);
    }
}

// Halfway between the lead and the scan: where a wide key passes its bitmap, asks for its group.
void Scanner::Prepare(int end) {
    size_t at = static_cast<size_t>(end & (HISTORY_SIZE - 1));
    if (end >= 16 && live_groups_[CLASS_WIDE16] > 0 && Maybe(CLASS_WIDE16, wide_hash_at_[at])) {
        __builtin_prefetch(&groups_[Home_Of(CLASS_WIDE16, wide_hash_at_[at])]);
    }
    if (end >= 8 && live_groups_[CLASS_WIDE8] > 0 && Maybe(CLASS_WIDE8, window_hash_at_[at])) {
        __builtin_prefetch(&groups_[Home_Of(CLASS_WIDE8, window_hash_at_[at])]);
    }
}

// Scans the block's bytes from 'from' to its used count, finding the waiting texts that end
// at each position.
void Scanner::Scan(int from) {
    const char* bytes = block_->data();
    int used = block_->used();
    for (int end = from + 1; end <= used; end++) {
        int lead_to = end + PREFETCH_DISTANCE < used ? end + PREFETCH_DISTANCE : used;
        while (lead_end_ < lead_to) Lead(++lead_end_);
        if (end + PREPARE_DISTANCE <= lead_end_) Prepare(end + PREPARE_DISTANCE);
        prefix_hash_ = prefix_hash_ * HASH_BASE + static_cast<unsigned char>(bytes[end - 1]);
        ring_[static_cast<size_t>(end & (RING_SIZE - 1))] = prefix_hash_;
        int& head = queue_head_[static_cast<size_t>(end & (QUEUE_SIZE - 1))];
        while (head >= 0) {
            Deferred& node = deferred_[static_cast<size_t>(head)];
            int next = node.next;
            node.next = deferred_free_;
            deferred_free_ = head;
            head = next;
            // 'node' stays valid: nothing is deferred while the queue is drained.
            Check_Run(node.at, node.stop, end);
        }
        size_t at = static_cast<size_t>(end & (HISTORY_SIZE - 1));
        uint64_t window = window_at_[at];
        if (end >= 16 && live_groups_[CLASS_WIDE16] > 0 && Maybe(CLASS_WIDE16, wide_hash_at_[at])) {
            Probe(CLASS_WIDE16, wide_at_[at], end);
        }
        if (end >= 8 && live_groups_[CLASS_WIDE8] > 0 && Maybe(CLASS_WIDE8, window_hash_at_[at])) {
            Probe(CLASS_WIDE8, window, end);
        }
        unsigned ending = classes_ending_[window & ending_mask_];
        for (unsigned classes = short_classes_ & ending; classes != 0; classes &= classes - 1) {
            int length = __builtin_ctz(classes);
            if (end < length) continue;
            uint64_t key = low_bytes(window, length);
            if (Maybe(length, group_hash(length, key))) Probe(length, key, end);
        }
        if (counters_->work > work_limit_) {
            over_limit_ = true;
            return;
        }
    }
}

// At a place where the group's key ends, each nested run of waiting members is compared now,
// or when the scan reaches its end.
void Scanner::Probe(int key_class, uint64_t key, int end) {
    if (end == skip_end_ && key_class == skip_class_) return;
    Group& group = groups_[Slot_Of(key_class, key)];
    if (group.begin < 0) return;
    counters_->key_hits++;
    counters_->work++;
    int stop = group.begin + group.size;
    int first = group.size == 0 ? stop : Waiting_From(group.begin);
    // A group found with nothing waiting says so itself from now on, so that the next hit on
    // its key (until the bitmap drops it) does not follow its places again.
    if (first >= stop) {
        group.size = 0;
        // Hits on keys whose texts are all placed cost a look each. Once they come to a
        // sixteenth of the groups in the bitmap, it is rebuilt without those keys; the
        // rebuilding is work like any other, so a pool made to cause it again and again
        // meets the bound.
        if (++dead_hits_[key_class] * DEAD_HITS_PER_REBUILD > live_groups_[key_class]) {
            counters_->work += live_groups_[key_class];
            Build_Filter(key_class);
        }
        return;
    }
    for (int at = first; at < stop;) {
        int place_at = at;
        const Seat& place = places_[static_cast<size_t>(at)];
        const Member& member = members_[static_cast<size_t>(at)];
        counters_->work++;
        int run_stop = place.run_end;
        at = Waiting_From(run_stop);
        if (member.defer() == 0) {
            Check_Run(place_at, run_stop, end);
            continue;
        }
        int node = deferred_free_;
        if (node >= 0) {
            deferred_free_ = deferred_[static_cast<size_t>(node)].next;
        } else {
            node = static_cast<int>(deferred_.size());
            deferred_.push_back(Deferred{0, 0, -1});
        }
        int& head = queue_head_[static_cast<size_t>((end + member.defer()) & (QUEUE_SIZE - 1))];
        deferred_[static_cast<size_t>(node)] = Deferred{place_at, run_stop, head};
        head = node;
    }
}

// The first place from 'at' on whose member still waits (the end of the order when none).
int Scanner::Waiting_From(int at) {
    int root = at;
    while (places_[static_cast<size_t>(root)].waiting_from != root) {
        root = places_[static_cast<size_t>(root)].waiting_from;
    }
    while (at != root) {
        int next = places_[static_cast<size_t>(at)].waiting_from;
        places_[static_cast<size_t>(at)].waiting_from = root;
        at = next;
    }
    return root;
}

// Compares the waiting members of a nested run, shortest first, up to the first that does not
// end at 'end': the longer ones hold its bytes at their end, so they cannot either.
void Scanner::Check_Run(int at, int stop, int end) {
    for (at = Waiting_From(at); at < stop; at = Waiting_From(at + 1)) {
        if (!Check(at, end)) return;
    }
}

// Does the waiting text end at 'end'? True when it did and has been taken out of its group.
bool Scanner::Check(int id, int end) {
    const Member& member = members_[static_cast<size_t>(id)];
    if (end < member.length) return false;
    if (member.length < RING_SIZE) {
        uint64_t before = ring_[static_cast<size_t>((end - member.length) & (RING_SIZE - 1))];
        uint64_t hash = prefix_hash_ - before * power_[static_cast<size_t>(member.length)];
        if (!member.Hash_Matches(hash)) {
            return false;
        }
    }
    // A deferred comparison may find the text done already.
    if (first_end_[static_cast<size_t>(id)] >= 0) return false;
    counters_->member_checks++;
    counters_->work += member.length / 16 + 1;
    if (std::memcmp(block_->data() + end - member.length, member.bytes,
                    static_cast<size_t>(member.length)) != 0) {
        return false;
    }
    Found(id, end);
    return true;
}

// Records the first occurrence and takes the text out of its group: the walks past waiting
// members skip its place from now on. When half of a class's groups are done, its bitmap is
// rebuilt without them, so that their keys stop costing lookups.
void Scanner::Found(int id, int end) {
    first_end_[static_cast<size_t>(id)] = end;
    places_[static_cast<size_t>(id)].waiting_from = id + 1;
    int key_class = class_of_length(members_[static_cast<size_t>(id)].length);
    if (++found_since_[key_class] * 2 > filtered_members_[key_class]) Build_Filter(key_class);
}

// Whether some proper prefix of the text is also its suffix (the prefix function's last
// value); never without its first byte somewhere after.
bool Scanner::Has_Border(const char* text, int length) {
    if (length < 2 || std::memchr(text + 1, text[0], static_cast<size_t>(length - 1)) == nullptr) {
        return false;
    }
    border_.resize(static_cast<size_t>(length));
    border_[0] = 0;
    for (int k = 1; k < length; k++) {
        int b = border_[static_cast<size_t>(k - 1)];
        while (b > 0 && text[k] != text[b]) b = border_[static_cast<size_t>(b - 1)];
        if (text[k] == text[b]) b++;
        border_[static_cast<size_t>(k)] = b;
    }
    return border_[static_cast<size_t>(length - 1)] > 0;
}

bool Scanner::Place(int i, int* offset) {
    DictionaryPacker::Text text = texts_->At(i);
    int length = text.length;
    if (length == 0) {
        *offset = 0;
        return true;
    }
    int first_end = first_end_[static_cast<size_t>(text_id_[static_cast<size_t>(i)])];
    if (first_end >= 0) {
        *offset = first_end - length;
        return true;
    }
    int from = block_->used();
    *offset = append_growing(block_, text.bytes, length);
    // An appended text can first occur across the joint only where a prefix of it is also its
    // suffix. Without one it first occurs at its own copy, and when no other text has its key,
    // the scan need not look that key up there.
    int id = text_id_[static_cast<size_t>(i)];
    const Member& member = members_[static_cast<size_t>(id)];
    if (member.alone() && !Has_Border(text.bytes, length)) {
        skip_class_ = class_of_length(length);
        skip_end_ = from + length - member.defer();
        Found(id, from + length);
    }
    Scan(from);
    skip_class_ = -1;
    return !over_limit_;
}

}  // namespace

void DictionaryPacker::Pack(Texts* texts, DictionaryDataBlock* block) {
    counters_ = Counters();
    int count = texts->count();
    int i = 0;
    if (work_limit_ != 0) {
        Scanner scanner(texts, block, work_limit_, threaded_texts_, &counters_);
        while (i < count) {
            int offset = 0;
            bool within = scanner.Place(i, &offset);
            texts->Placed(i++, offset);
            if (!within) break;
        }
    }
    if (i == count) return;
    counters_.fell_back = true;
    SuffixAutomaton automaton;
    for (int k = 0; k < block->used(); k++)
        automaton.Extend(static_cast<unsigned char>(block->data()[k]));
    for (; i < count; i++) {
        Text text = texts->At(i);
        int offset = text.length == 0 ? 0 : automaton.Find(text.bytes, text.length);
        if (offset < 0) {
            offset = append_growing(block, text.bytes, text.length);
            for (int k = 0; k < text.length; k++)
                automaton.Extend(static_cast<unsigned char>(text.bytes[k]));
        }
        texts->Placed(i, offset);
    }
}

void DictionaryPacker::Pack(const Text* texts, int count, DictionaryDataBlock* block,
                            int* offsets) {
    class Array : public Texts {
      public:
        Array(const Text* texts, int count, int* offsets)
            : texts_(texts), count_(count), offsets_(offsets) {}
        int count() const override { return count_; }
        Text At(int i) const override { return texts_[i]; }
        void Placed(int i, int offset) override { offsets_[i] = offset; }

      private:
        const Text* texts_;
        int count_;
        int* offsets_;
    } array(texts, count, offsets);
    Pack(&array, block);
}
