// The code segments of one compiled file, numbered from 0 (the top-level code), and their
// section "segs".
#ifndef TARN_COMPILED_SEGMENTMANAGER_H
#define TARN_COMPILED_SEGMENTMANAGER_H

#include "compiled/Segment.h"
#include "compiled/TaggedFile.h"
#include "foundation/String.h"

// The slot array grows by this many segments at a time.
constexpr int SEGMENT_SLOT_STEP = 64;

class SegmentManager {
  public:
    // 64 empty slots; slot 0 is reserved for the top-level segment.
    SegmentManager();
    SegmentManager(const SegmentManager& other);
    SegmentManager& operator=(const SegmentManager&) = delete;
    virtual ~SegmentManager();

    virtual const String& error();
    // An empty 'text' leaves the stored text as it was.
    virtual void Error(const String& text);

    // The segment where execution begins, made on first call.
    Segment* Start();
    // A new segment numbered with the current count, in the next slot.
    Segment* Segment_Add();

    // Writes or reads the section "segs"; false with the reason behind error().
    bool Write(TaggedFile* file);
    // The bytes Write sends.
    int64_t WrittenSize() const;
    // A failed read leaves the old segments as they were.
    bool Read(TaggedFile* file);

    int count() const { return count_; }
    int capacity() const { return capacity_; }
    int start() const { return start_; }
    // The segment in slot 'i', or null for an empty slot or an 'i' out of range.
    Segment* segment(int i) const;

  private:
    void Free();

    // The bytes of the segments that Segment_Add makes.
    SegmentShelf shelf_;
    Segment** segments_;
    // The slots reported: whole steps of SEGMENT_SLOT_STEP. The array behind them ('held_'
    // slots, at least the capacity) doubles, so that a file of many functions is not recopied
    // at every step.
    int capacity_;
    int held_;
    int count_;
    int start_;
    String error_;
};

#endif
