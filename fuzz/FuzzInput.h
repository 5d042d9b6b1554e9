#pragma once

#include <QString>

#include <cstddef>
#include <cstdint>
#include <cstring>

// Reads typed values off a fuzzer's input, front to back; what is left is text.
class FuzzInput
{
public:
    FuzzInput(const uint8_t* data, size_t size) : m_data(data), m_size(size) {}

    // A small number from the next byte (0 when the input is used up).
    int byte()
    {
        if (m_size == 0)
            return 0;
        --m_size;
        return *m_data++;
    }
    // A double from the next eight bytes (0 when fewer are left).
    double real()
    {
        double value = 0;
        if (m_size >= sizeof value) {
            std::memcpy(&value, m_data, sizeof value);
            m_data += sizeof value;
            m_size -= sizeof value;
        }
        return value;
    }
    // Text of the next `length` bytes (UTF-8, invalid sequences replaced).
    QString text(size_t length)
    {
        length = length < m_size ? length : m_size;
        const QString value =
            QString::fromUtf8(reinterpret_cast<const char*>(m_data), qsizetype(length));
        m_data += length;
        m_size -= length;
        return value;
    }
    // All that is left, as text.
    QString rest() { return text(m_size); }

private:
    const uint8_t* m_data;
    size_t m_size;
};
