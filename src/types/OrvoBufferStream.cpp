#include "OrvoBufferStream.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <mutex>
#include <new>
#include <utility>

namespace OrvoSupport {
namespace {

// Compiled into the transfers, which are hardly longer than taking the lock.
using Guard = std::lock_guard<OrvoCriticalSectionObject>;

constexpr std::uint32_t headerSize = 4;
constexpr std::uint32_t defaultIncrement = 512;
constexpr std::uint32_t longBlock = 64 * 1024;
constexpr std::uint32_t most = std::numeric_limits<std::uint32_t>::max();

std::uint32_t incrementFor(unsigned long wanted) {
    return wanted == 0 ? defaultIncrement : static_cast<std::uint32_t>(std::min<unsigned long>(wanted, most));
}

/// A block with a zero byte behind its capacity, and with room for the header whatever the capacity.
unsigned char* newBlock(std::uint32_t capacity) {
    const std::size_t size = std::max(capacity, headerSize);
    void* block = size < std::numeric_limits<std::size_t>::max() ? std::malloc(size + 1) : nullptr;
    if (!block) throw std::bad_alloc();
    static_cast<unsigned char*>(block)[capacity] = 0;
    return static_cast<unsigned char*>(block);
}

/// How many of `bytes` there are to read; none of more than a transfer may have.
std::uint32_t available(std::uint32_t dataEnd, std::uint64_t bytes) {
    if (bytes > most) return 0;
    return std::min(static_cast<std::uint32_t>(bytes), dataEnd - headerSize);
}

/// A copy that for the size of a number needs no call.
inline void copyBytes(void* to, const void* from, std::uint32_t size) {
    switch (size) {
        case 1: std::memcpy(to, from, 1); break;
        case 2: std::memcpy(to, from, 2); break;
        case 4: std::memcpy(to, from, 4); break;
        case 8: std::memcpy(to, from, 8); break;
        default: std::memcpy(to, from, size);
    }
}

inline void copyOut(void* to, const void* from, std::uint32_t size) {
    if (to)
        copyBytes(to, from, size);
    else
        errno = EINVAL;
}

void zeroBytes(void* to, std::uint32_t size) {
    if (size == 0) return;
    std::memset(to, 0, size);
    errno = EINVAL;
}

}  // namespace

OrvoBufferStream::OrvoBufferStream() : OrvoBufferStream(defaultIncrement) {}

OrvoBufferStream::OrvoBufferStream(unsigned long increment)
    : m_dataEnd(headerSize), m_growthIncrement(incrementFor(increment)) {}

OrvoBufferStream::OrvoBufferStream(const void* block, unsigned int length)
    : m_block(newBlock(length)),
      m_dataEnd(std::max(length, headerSize)),
      m_growthIncrement(incrementFor(length)),
      m_capacity(length),
      m_allocated(length) {
    if (block) {
        std::memcpy(m_block, block, length);
    } else {
        std::memset(m_block, 0, length);
        errno = EINVAL;
    }
}

OrvoBufferStream::OrvoBufferStream(const OrvoBufferStream& other)
    : OrvoObjectStream(other),
      OrvoInputObjectStream(other),
      OrvoOutputObjectStream(other),
      m_dataEnd(headerSize),
      m_growthIncrement(0) {
    const Guard guard(other.m_lock);  // the copy's own lock is a new one
    const std::uint32_t dataEnd = other.m_dataEnd.load(std::memory_order_relaxed);
    m_growthIncrement = other.m_growthIncrement;
    m_capacity = other.m_capacity;
    if (!other.m_block) return;
    m_block = newBlock(m_capacity);
    m_allocated = m_capacity;
    std::memcpy(m_block + headerSize, other.m_block + headerSize + other.m_gap, dataEnd - headerSize);
    m_dataEnd.store(dataEnd, std::memory_order_relaxed);
}

OrvoBufferStream& OrvoBufferStream::operator=(const OrvoBufferStream& other) {
    if (this == &other) return *this;
    OrvoBufferStream copy(other);
    const Guard guard(m_lock);
    std::swap(m_block, copy.m_block);
    m_gap = 0;
    m_dataEnd.store(copy.m_dataEnd.load(std::memory_order_relaxed), std::memory_order_relaxed);
    m_growthIncrement = copy.m_growthIncrement;
    m_capacity = copy.m_capacity;
    m_allocated = copy.m_allocated;
    return *this;
}

OrvoBufferStream::~OrvoBufferStream() { std::free(m_block); }

// A transfer looks at m_dataEnd once: a reset() on another thread may change it at any time.

unsigned int OrvoBufferStream::write(const void* data, unsigned int elementSize, unsigned int count) {
    const std::uint64_t bytes = std::uint64_t{elementSize} * count;
    const Guard guard(m_lock);
    const std::uint32_t dataEnd = m_dataEnd.load(std::memory_order_relaxed);
    const std::uint64_t end = dataEnd + bytes;
    if ((end > m_capacity || m_gap + end > m_allocated) && !makeRoom(dataEnd, bytes)) return 0;
    const auto size = static_cast<std::uint32_t>(bytes);
    unsigned char* const place = m_block + m_gap + dataEnd;
    if (data)
        copyBytes(place, data, size);
    else
        zeroBytes(place, size);
    m_dataEnd.store(dataEnd + size, std::memory_order_relaxed);
    return size;
}

unsigned int OrvoBufferStream::read(void* data, unsigned int elementSize, unsigned int count) {
    const std::uint64_t bytes = std::uint64_t{elementSize} * count;
    const Guard guard(m_lock);
    const std::uint32_t dataEnd = m_dataEnd.load(std::memory_order_relaxed);
    const std::uint32_t size = available(dataEnd, bytes);
    if (size == 0) return 0;
    copyOut(data, m_block + headerSize + m_gap, size);
    m_gap = dataEnd - size == headerSize ? 0 : m_gap + size;
    m_dataEnd.store(dataEnd - size, std::memory_order_relaxed);
    return size;
}

unsigned int OrvoBufferStream::peek(void* data, unsigned int elementSize, unsigned int count) {
    const std::uint64_t bytes = std::uint64_t{elementSize} * count;
    const Guard guard(m_lock);
    const std::uint32_t size = available(m_dataEnd.load(std::memory_order_relaxed), bytes);
    if (size > 0) copyOut(data, m_block + headerSize + m_gap, size);
    return size;
}

void OrvoBufferStream::reset() { m_dataEnd.store(headerSize, std::memory_order_relaxed); }

unsigned long OrvoBufferStream::size() const {
    return m_dataEnd.load(std::memory_order_relaxed) - headerSize;
}

const unsigned char* OrvoBufferStream::buffer() const {
    const Guard guard(m_lock);
    const std::uint32_t dataEnd = m_dataEnd.load(std::memory_order_relaxed);
    if (!m_block) m_block = newBlock(m_capacity);
    closeGap(dataEnd);
    const std::uint32_t unread = dataEnd - headerSize;
    std::memcpy(m_block, &unread, headerSize);
    return m_block;
}

// Also where nothing is to be written: a stream without a block gets one then.
bool OrvoBufferStream::makeRoom(std::uint32_t dataEnd, std::uint64_t bytes) {
    if (bytes > most - dataEnd) return false;
    const auto needed = static_cast<std::uint32_t>(dataEnd + bytes);
    std::uint32_t capacity = m_capacity;
    if (needed > capacity) {
        const std::uint64_t grown = m_capacity + bytes + (m_growthIncrement - bytes % m_growthIncrement);
        capacity = grown > most ? needed : std::max(needed, static_cast<std::uint32_t>(grown));
    }
    // A gap that is small beside the data would soon have to be closed again.
    const bool isSmallGap = m_gap > 0 && m_gap < (dataEnd - headerSize) / 4;
    closeGap(dataEnd);
    if (!provide(capacity, isSmallGap)) return false;
    m_capacity = capacity;
    return true;
}

// A long block gets room to spare. Not every system enlarges one in place, and copying it for each increment
// would make filling a long stream quadratic.
bool OrvoBufferStream::provide(std::uint32_t capacity, bool withSpare) {
    withSpare |= capacity > m_allocated && capacity >= longBlock;
    const std::uint32_t spare = withSpare ? std::min(capacity / 4, most - capacity) : 0;
    for (const std::uint32_t size : {capacity + spare, capacity}) {
        if (size <= m_allocated) return true;
        void* const block = std::realloc(m_block, size);
        if (!block) continue;
        m_block = static_cast<unsigned char*>(block);
        m_allocated = size;
        return true;
    }
    return false;
}

void OrvoBufferStream::closeGap(std::uint32_t dataEnd) const {
    if (m_gap == 0) return;
    std::memmove(m_block + headerSize, m_block + headerSize + m_gap, dataEnd - headerSize);
    m_gap = 0;
}

}  // namespace OrvoSupport
