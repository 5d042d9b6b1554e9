#pragma once

namespace oquivran {

// Marks a data object as handing rows to a visitor while it lives.
class Visiting
{
public:
    explicit Visiting(bool& flag) : m_flag(flag) { m_flag = true; }
    Visiting(const Visiting&) = delete;
    Visiting& operator=(const Visiting&) = delete;
    ~Visiting() { m_flag = false; }

private:
    bool& m_flag;
};

} // namespace oquivran
