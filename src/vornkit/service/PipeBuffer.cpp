#include "service/PipeBuffer.h"

#include <unistd.h>

#include <array>
#include <cerrno>
#include <utility>

namespace vorn {

namespace {

// One call reads at most this much, so a child that writes without pause
// cannot keep the caller from looking at its clock.
constexpr size_t kMostPerCall = 1 << 20;

}  // namespace

PipeBuffer::PipeBuffer(int descriptor) : pipe(descriptor) {}

PipeBuffer::~PipeBuffer() {
    close();
}

PipeBuffer::PipeBuffer(PipeBuffer&& other) noexcept
    : pipe(std::exchange(other.pipe, -1)),
      ended(other.ended),
      received(std::move(other.received)) {}

void PipeBuffer::readAvailable() {
    std::array<char, 65536> chunk;
    size_t readNow = 0;
    while (isOpen() && readNow < kMostPerCall) {
        const ssize_t count = ::read(pipe, chunk.data(), chunk.size());
        if (count > 0) {
            received.append(chunk.data(), static_cast<size_t>(count));
            readNow += static_cast<size_t>(count);
            continue;
        }
        if (count < 0 && errno == EINTR) continue;
        if (count < 0 && (errno == EAGAIN || errno == EWOULDBLOCK)) return;
        // The end of the stream, or an error that ends it just the same.
        ended = count == 0;
        close();
    }
}

void PipeBuffer::abandon() {
    close();
}

void PipeBuffer::close() {
    if (pipe < 0) return;
    ::close(pipe);
    pipe = -1;
}

}  // namespace vorn
