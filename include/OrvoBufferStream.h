// A queue of bytes in memory.
#ifndef ORVO_BUFFER_STREAM_H
#define ORVO_BUFFER_STREAM_H

#include <atomic>
#include <cstdint>

#include "OrvoCriticalSection.h"
#include "OrvoExport.h"
#include "OrvoObjectStream.h"

namespace OrvoSupport {

/// A stream over memory: what is written is appended at its end, what is read is taken from its front. All
/// of it can be handed on as one block, a header of 4 bytes and the data, from which another stream is made.
///
/// A transfer whose byte count, or whose result, does not fit 32 bits moves nothing and returns 0.
///
/// Thread safety: one thread may write while another reads: read(), peek() and write() hold the stream's lock
/// for their whole run. So do buffer() and copying, which put in order or need what the others leave. size()
/// and reset() take no lock; a reset() during a transfer may be lost. Each stream has a lock of its own.
class OSUPT_API OrvoBufferStream : public OrvoInputObjectStream, public OrvoOutputObjectStream {
public:
    /// An empty stream that grows by 512 bytes at a time.
    OrvoBufferStream();
    /// An empty stream that grows by `increment` bytes at a time; 0 means 512, more than 32 bits hold the
    /// most they do.
    explicit OrvoBufferStream(unsigned long increment);
    /// Rebuilds a stream from what buffer() gave: `length` bytes, the header among them. It grows by
    /// `length` at a time. The bytes are copied; what the header says does not matter, and fewer than 4
    /// bytes give an empty stream. Null sets errno to EINVAL and counts as a block of zeros.
    /// Throws std::bad_alloc without memory.
    OrvoBufferStream(const void* block, unsigned int length);
    /// Copies the unread bytes and how the stream grows. Throws std::bad_alloc without memory, and then
    /// an assignment has changed nothing.
    OrvoBufferStream(const OrvoBufferStream& other);
    OrvoBufferStream& operator=(const OrvoBufferStream& other);
    ~OrvoBufferStream() override;

    /// Appends elementSize * count bytes and returns their number; without memory 0, and nothing has changed.
    /// Null appends zeros and sets errno to EINVAL. The data may not lie in the stream's own block.
    ///
    /// When they do not fit, the block is enlarged by their number rounded up to the next multiple of
    /// the increment, by a whole further increment for an exact multiple, and in any case so that they fit.
    /// From 64 KiB on, and for a queue that stays long, it gets up to a quarter more, so that streams of any
    /// length are filled and passed through in linear time.
    unsigned int write(const void* data, unsigned int elementSize, unsigned int count) override;
    /// Takes elementSize * count bytes, or as many as there are, and returns their number. Null consumes them
    /// and sets errno to EINVAL. Each byte is moved a bounded number of times, however small the reads, and
    /// the writes between them, are.
    unsigned int read(void* data, unsigned int elementSize, unsigned int count) override;
    /// As read(), but the bytes stay.
    unsigned int peek(void* data, unsigned int elementSize, unsigned int count) override;

    /// Discards all unread bytes and keeps the block.
    void reset() override;
    /// The number of unread bytes.
    unsigned long size() const;
    /// The block: size() as 4 bytes in the machine's order, and the unread bytes behind them, size() + 4
    /// bytes in all. A stream that has no block yet gets one for the header. It is the stream's, and stays as
    /// it is until the stream is next changed. Throws std::bad_alloc without memory for a first block.
    const unsigned char* buffer() const;

private:
    bool makeRoom(std::uint32_t dataEnd, std::uint64_t bytes);
    bool provide(std::uint32_t capacity, bool withSpare);
    void closeGap(std::uint32_t dataEnd) const;

    // Bytes that have been read stay where they are until somebody looks at the block or needs their room;
    // moving the rest at each read would make reading a long stream quadratic.
    mutable unsigned char* m_block = nullptr;
    mutable std::uint32_t m_gap = 0;       ///< bytes between header and data that have been read
    std::atomic<std::uint32_t> m_dataEnd;  ///< offset behind the data when there is no gap
    std::uint32_t m_growthIncrement;
    std::uint32_t m_capacity = 0;
    std::uint32_t m_allocated = 0;  ///< the capacity and what the block has to spare
    mutable OrvoCriticalSectionObject m_lock;
};

}  // namespace OrvoSupport

#endif
