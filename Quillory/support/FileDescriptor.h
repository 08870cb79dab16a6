#pragma once

#include <unistd.h>

#include <cerrno>

#include <utility>

namespace quillory {

// Owns an open file descriptor, or none (-1).
class FileDescriptor {
public:
    FileDescriptor() = default;
    explicit FileDescriptor(int descriptor)
        : m_descriptor(descriptor)
    {
    }
    FileDescriptor(FileDescriptor&& other) noexcept
        : m_descriptor(std::exchange(other.m_descriptor, -1))
    {
    }
    FileDescriptor& operator=(FileDescriptor&& other) noexcept
    {
        std::swap(m_descriptor, other.m_descriptor);
        return *this;
    }
    ~FileDescriptor() { close(); }

    explicit operator bool() const { return m_descriptor >= 0; }
    int get() const { return m_descriptor; }

    // 0, or the error number: a file system may only now find out that it could not write.
    int close()
    {
        if (m_descriptor < 0)
            return 0;
        return ::close(std::exchange(m_descriptor, -1)) == 0 ? 0 : errno;
    }

private:
    int m_descriptor = -1;
};

}
