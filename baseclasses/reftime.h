#pragma once

#include "baseclasses/platform.h"

constexpr LONGLONG MILLISECONDS = 1000;  ///< in one second
constexpr LONGLONG UNITS = 10000000;     ///< reference-time units (100 ns) in one second

/// A reference time that reads as the number it is and speaks of its unit where asked.
class CRefTime {
  public:
    REFERENCE_TIME m_time = 0;  ///< 100-ns units

    CRefTime() = default;
    CRefTime(REFERENCE_TIME time) : m_time(time) {}

    operator REFERENCE_TIME() const { return m_time; }
    CRefTime& operator+=(const CRefTime& other) {
        m_time += other.m_time;
        return *this;
    }
    CRefTime& operator-=(const CRefTime& other) {
        m_time -= other.m_time;
        return *this;
    }

    /// Whole milliseconds, rounded towards zero.
    LONG Millisecs() const { return static_cast<LONG>(m_time / (UNITS / MILLISECONDS)); }
    REFERENCE_TIME GetUnits() const { return m_time; }
};
