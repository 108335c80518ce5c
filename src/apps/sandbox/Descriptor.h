#pragma once

#include <unistd.h>

#include <utility>

namespace driftwell::sandbox {

/// A descriptor that closes itself.
class Descriptor {
public:
    Descriptor() = default;
    explicit Descriptor(int number) : m_number(number) {}
    ~Descriptor() { reset(); }
    Descriptor(Descriptor&& other) noexcept : m_number(std::exchange(other.m_number, -1)) {}
    Descriptor& operator=(Descriptor&& other) noexcept {
        std::swap(m_number, other.m_number);
        return *this;
    }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;

    [[nodiscard]] int number() const { return m_number; }
    [[nodiscard]] bool isOpen() const { return m_number >= 0; }

    void reset() {
        if (m_number >= 0) {
            close(std::exchange(m_number, -1));
        }
    }

private:
    int m_number = -1;
};

} // namespace driftwell::sandbox
