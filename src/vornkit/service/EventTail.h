#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <span>
#include <vector>

#include "model/VornEvent.h"

namespace vorn {

// Keeps the newest events of a growing event log in memory, reading only
// what was appended since the last call. Used from one thread at a time (its
// owner's serial context); nothing in it locks.
//
// The first pump reads at most the last `seedBytes` of the file, so history
// in front of that is never loaded. A file that got shorter than the
// position reached was truncated or replaced: the buffer empties and the new
// content is read from its start. A line the writer hasn't finished stays in
// the file until its newline arrives, and is then read whole.
class EventTail {
  public:
    // What the state reader uses for every tail.
    static constexpr std::uint64_t standardSeedBytes = 524288;
    static constexpr std::size_t standardKeep = 2000;

    EventTail(std::filesystem::path file, std::uint64_t seedBytes, std::size_t keep);

    // The events that were new in this call, oldest first, after adding
    // them to the buffer: a view of the buffer's newest entries, valid until
    // the next pump or reset. When more than `keep` were new, only the
    // newest `keep` are given, as only they stay; the others still consume
    // their ids. A file that can't be opened gives nothing and changes
    // nothing: a log that doesn't exist yet is an ordinary state.
    std::span<const VornEvent> pump();

    // The buffer, oldest first, at most `keep` long: a view valid until the
    // next pump or reset.
    std::span<const VornEvent> events() const {
        return std::span<const VornEvent>(storage).subspan(firstKept);
    }

    // Forgets the position and the buffer; the next pump seeds again. Ids
    // go on from where they were, so they stay unique for the tail's life.
    void reset();

    const std::filesystem::path& file() const { return path; }

  private:
    struct Batch;

    std::uint64_t firstOffset(std::uint64_t end) const;
    bool readBatch(int descriptor, std::uint64_t end, Batch& batch);
    void decodeLines(std::string_view lines, Batch& batch);
    void decodeLine(std::string_view line, Batch& batch);
    void keepNewest(std::vector<VornEvent>& events) const;
    void appendToBuffer(std::vector<VornEvent>&& fresh);
    void clearBuffer();

    std::filesystem::path path;
    std::uint64_t seedBytes;
    std::size_t keep;
    std::uint64_t offset = 0;
    bool seeded = false;
    std::int64_t nextID = 0;
    // The buffer is `storage` from `firstKept` on; what lies before it has
    // fallen out and waits to be let go in bulk, so memory stays within
    // twice `keep` events.
    std::vector<VornEvent> storage;
    std::size_t firstKept = 0;
};

}  // namespace vorn
