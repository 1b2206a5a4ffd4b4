#include "service/EventTail.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <iterator>
#include <string>
#include <string_view>

#include "model/VornEventDecoder.h"
#include "support/Text.h"

namespace vorn {

namespace {

// Large reads go in pieces of this size, so what is held at once is one
// piece and the events kept, however much the file grew since the last call.
constexpr std::uint64_t kChunkBytes = 1 << 20;
// Events are rarely shorter than this; it sizes the first allocation.
constexpr std::uint64_t kShortestLikelyLine = 128;

// The file for the length of one pump; closed on every way out, and a
// failing close changes nothing we could act on.
class OpenFile {
  public:
    explicit OpenFile(const std::filesystem::path& path)
        : descriptor(::open(path.c_str(), O_RDONLY | O_CLOEXEC)) {}
    ~OpenFile() {
        if (descriptor >= 0) ::close(descriptor);
    }
    OpenFile(const OpenFile&) = delete;
    OpenFile& operator=(const OpenFile&) = delete;

    bool isOpen() const { return descriptor >= 0; }
    int get() const { return descriptor; }

  private:
    int descriptor;
};

std::uint64_t endOf(int descriptor) {
    const off_t end = ::lseek(descriptor, 0, SEEK_END);
    return end < 0 ? 0 : static_cast<std::uint64_t>(end);
}

// Appends up to `count` bytes from `position` to `into`; fewer when the file
// ends first. False when the system refuses the read.
bool readAt(int descriptor, std::uint64_t position, std::size_t count, std::string& into) {
    const std::size_t start = into.size();
    bool refused = false;
    // The bytes go straight into the string, with no zero-filling first.
    into.resize_and_overwrite(start + count, [&](char* bytes, std::size_t) {
        std::size_t done = 0;
        while (done < count) {
            const ssize_t got = ::pread(descriptor, bytes + start + done, count - done,
                                        static_cast<off_t>(position + done));
            if (got < 0 && errno == EINTR) continue;
            if (got < 0) {
                refused = true;
                return start;
            }
            if (got == 0) break;
            done += static_cast<std::size_t>(got);
        }
        return start + done;
    });
    return !refused;
}

bool endsWithNewline(int descriptor, std::uint64_t end) {
    std::string last;
    return end > 0 && readAt(descriptor, end - 1, 1, last) && last == "\n";
}

}  // namespace

// What one pump has read and decoded so far.
struct EventTail::Batch {
    // A read from byte 0 into an empty buffer, of a file whose last line is
    // unfinished, drops its first line. A read that began further in keeps
    // its first line, which is nearly always a fragment and then falls away
    // when it fails to decode. The difference is meant.
    bool dropsFirstLine = false;
    bool firstLineSeen = false;
    std::uint64_t taken = 0;  // bytes up to and including the last newline
    std::vector<VornEvent> fresh;
};

EventTail::EventTail(std::filesystem::path file, std::uint64_t seedBytes, std::size_t keep)
    : path(std::move(file)), seedBytes(seedBytes), keep(keep) {}

std::span<const VornEvent> EventTail::pump() {
    const OpenFile file(path);
    if (!file.isOpen()) return {};
    const std::uint64_t end = endOf(file.get());
    if (!seeded) {
        offset = firstOffset(end);
        seeded = true;
    } else if (end < offset) {
        // Truncated or replaced by something shorter. A replacement at least
        // as long as the old position can't be told from an append.
        offset = 0;
        clearBuffer();
    }
    if (offset >= end) return {};

    Batch batch;
    // Room for what the bytes will likely hold, within what may be kept.
    batch.fresh.reserve(std::min(
        static_cast<std::size_t>(std::min(end - offset, kChunkBytes) / kShortestLikelyLine + 1),
        2 * std::max<std::size_t>(keep, 1)));
    batch.dropsFirstLine = offset == 0 && events().empty() && !endsWithNewline(file.get(), end);
    if (!readBatch(file.get(), end, batch)) return {};
    offset += batch.taken;
    if (batch.fresh.empty()) return {};
    keepNewest(batch.fresh);
    const std::size_t count = batch.fresh.size();
    appendToBuffer(std::move(batch.fresh));
    return events().last(count);
}

void EventTail::reset() {
    offset = 0;
    seeded = false;
    clearBuffer();
}

std::uint64_t EventTail::firstOffset(std::uint64_t end) const {
    return seedBytes < end ? end - seedBytes : 0;
}

// Reads from `offset` to `end` piece by piece, decoding every finished line.
// The unfinished rest of a piece is carried into the next; what stands
// behind the last newline of all stays unread. False when nothing could be
// taken: a refused read, or no newline at all.
bool EventTail::readBatch(int descriptor, std::uint64_t end, Batch& batch) {
    std::string window;
    std::uint64_t position = offset;
    while (position < end) {
        const std::size_t carried = window.size();
        const auto wanted = static_cast<std::size_t>(std::min(kChunkBytes, end - position));
        // A refused read after earlier pieces keeps what they gave.
        if (!readAt(descriptor, position, wanted, window)) break;
        const std::size_t got = window.size() - carried;
        if (got == 0) break;  // the file shrank while being read
        position += got;
        const std::size_t lastNewline = std::string_view(window).substr(carried).rfind('\n');
        if (lastNewline == std::string_view::npos) continue;
        const std::size_t finished = carried + lastNewline + 1;
        decodeLines(std::string_view(window).substr(0, finished), batch);
        batch.taken += finished;
        window.erase(0, finished);
    }
    return batch.taken > 0;
}

void EventTail::decodeLines(std::string_view lines, Batch& batch) {
    // One check for the whole piece; only a piece with bad bytes pays for
    // repairing line by line. A newline is never part of a multi-byte
    // sequence, so repairing per line is the same as repairing the piece.
    const bool validUTF8 = Text::isValidUTF8(lines);
    std::size_t start = 0;
    while (start < lines.size()) {
        const std::size_t newline = lines.find('\n', start);
        const std::string_view line = lines.substr(start, newline - start);
        start = newline + 1;
        if (line.empty()) continue;
        if (!batch.firstLineSeen) {
            batch.firstLineSeen = true;
            if (batch.dropsFirstLine) continue;
        }
        if (validUTF8) {
            decodeLine(line, batch);
        } else {
            decodeLine(Text::repairedUTF8(line), batch);
        }
    }
}

void EventTail::decodeLine(std::string_view line, Batch& batch) {
    VornEvent& event = batch.fresh.emplace_back();
    if (!VornEventDecoder::decode(line, nextID, event)) {
        batch.fresh.pop_back();
        return;
    }
    ++nextID;
    // Trimming in bulk keeps a huge batch at most twice `keep` long.
    if (batch.fresh.size() >= 2 * std::max<std::size_t>(keep, 1)) keepNewest(batch.fresh);
}

void EventTail::keepNewest(std::vector<VornEvent>& events) const {
    if (events.size() <= keep) return;
    events.erase(events.begin(), events.end() - static_cast<std::ptrdiff_t>(keep));
}

void EventTail::appendToBuffer(std::vector<VornEvent>&& fresh) {
    if (events().empty() || fresh.size() >= keep) {
        storage = std::move(fresh);
        firstKept = 0;
        return;
    }
    storage.insert(storage.end(), std::make_move_iterator(fresh.begin()),
                   std::make_move_iterator(fresh.end()));
    const std::size_t held = storage.size() - firstKept;
    if (held > keep) firstKept += held - keep;
    // Events that fell out of the buffer are let go in bulk, once there are
    // as many as are kept, so that each costs the others one move at most.
    if (firstKept >= keep) {
        storage.erase(storage.begin(), storage.begin() + static_cast<std::ptrdiff_t>(firstKept));
        firstKept = 0;
    }
}

void EventTail::clearBuffer() {
    storage.clear();
    firstKept = 0;
}

}  // namespace vorn
