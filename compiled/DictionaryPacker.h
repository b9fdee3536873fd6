// Repacking of the string dictionary in time linear in the pool: the layout that adding every
// text in turn to one block with DictionaryDataBlock::Add gives, byte for byte, without
// searching the whole block for each text.
#ifndef TARN_COMPILED_DICTIONARYPACKER_H
#define TARN_COMPILED_DICTIONARYPACKER_H

#include <cstdint>

class DictionaryDataBlock;

class DictionaryPacker {
  public:
    // One text to place: its bytes (not terminated; they must not lie in the block being
    // filled) and their count.
    struct Text {
        const char* bytes;
        int length;
    };

    // What one run did, for the benchmarks.
    struct Counters {
        int64_t key_hits = 0;       // places where the key of a waiting text occurred
        int64_t member_checks = 0;  // waiting texts compared at such a place
        int64_t work = 0;           // all of that, in the units 'work_limit' counts
        bool fell_back = false;     // the suffix automaton placed the rest
    };

    // The texts to place, read in order, and where each one went. Texts are asked for by
    // index, so that a caller with its texts elsewhere need not copy a view of each.
    class Texts {
      public:
        virtual ~Texts() = default;
        virtual int count() const = 0;
        virtual Text At(int i) const = 0;
        // Called once per text, in order, with its offset; At(i) is not asked for again after.
        virtual void Placed(int i, int offset) = 0;
    };

    // 'work_limit' bounds the work of the fast path; past it the remaining texts are placed with
    // a suffix automaton, whose time is linear in any input. -1 sets the bound in proportion to
    // the pool, 0 uses the automaton from the start (the tests drive both paths). From
    // 'threaded_texts' texts on, part of the fast path's preparation runs on a second thread.
    static constexpr int THREADED_TEXTS = 32768;
    explicit DictionaryPacker(int64_t work_limit = -1, int threaded_texts = THREADED_TEXTS)
        : work_limit_(work_limit), threaded_texts_(threaded_texts) {}

    // Places the texts in order into 'block', which must be empty: each text goes to the
    // leftmost place where its bytes already occur in the block (the empty text to offset 0),
    // else it is appended, the block growing to whole granules when the text does not fit.
    // texts->Placed(i, offset) receives the offset of text i.
    void Pack(Texts* texts, DictionaryDataBlock* block);
    // The same over an array, with offsets[i] receiving the offset of texts[i].
    void Pack(const Text* texts, int count, DictionaryDataBlock* block, int* offsets);

    const Counters& counters() const { return counters_; }

  private:
    int64_t work_limit_;
    int threaded_texts_;
    Counters counters_;
};

#endif
