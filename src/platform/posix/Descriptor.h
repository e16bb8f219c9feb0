// Owner of a file descriptor.
#ifndef OSUPT_PLATFORM_POSIX_DESCRIPTOR_H
#define OSUPT_PLATFORM_POSIX_DESCRIPTOR_H

#include <unistd.h>

#include <utility>

namespace OrvoSupport::platform {

/// Closes what it holds; -1 is none.
class Descriptor {
public:
    explicit Descriptor(int descriptor = -1) : m_descriptor(descriptor) {}
    Descriptor(Descriptor&& other) noexcept : m_descriptor(std::exchange(other.m_descriptor, -1)) {}
    Descriptor& operator=(Descriptor&& other) noexcept {
        std::swap(m_descriptor, other.m_descriptor);
        return *this;
    }
    ~Descriptor() {
        if (m_descriptor >= 0) ::close(m_descriptor);
    }

    explicit operator bool() const { return m_descriptor >= 0; }
    int get() const { return m_descriptor; }

private:
    int m_descriptor;
};

}  // namespace OrvoSupport::platform

#endif
