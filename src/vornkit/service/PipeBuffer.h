#pragma once

#include <string>
#include <utility>

namespace vorn {

// The reading end of one output pipe of a child, and every byte read from it
// so far. The descriptor is non-blocking, so one thread can serve several
// pipes from a poll loop.
class PipeBuffer {
  public:
    // Takes ownership of `descriptor`.
    explicit PipeBuffer(int descriptor);
    ~PipeBuffer();
    PipeBuffer(PipeBuffer&& other) noexcept;
    PipeBuffer& operator=(PipeBuffer&&) = delete;
    PipeBuffer(const PipeBuffer&) = delete;
    PipeBuffer& operator=(const PipeBuffer&) = delete;

    // -1 once the pipe reached its end or was abandoned.
    int descriptor() const { return pipe; }
    bool isOpen() const { return pipe >= 0; }

    // Appends what the pipe holds now, without waiting; at the pipe's end
    // (every writer closed it) the descriptor is closed.
    void readAvailable();
    // Closes the pipe before its end; later bytes are never read.
    void abandon();

    // True when every writer closed the pipe, so `bytes` is the whole stream.
    bool reachedEnd() const { return ended; }
    const std::string& bytes() const { return received; }
    // Moves the bytes out, leaving the buffer empty.
    std::string takeBytes() { return std::move(received); }

  private:
    void close();

    int pipe;
    bool ended = false;
    std::string received;
};

}  // namespace vorn
