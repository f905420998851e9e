// Points and directions in space.
#pragma once

#include <array>
#include <cmath>

namespace openhost {

/// A point in millimetres, or a direction: along x, y and z.
using Vector = std::array<double, 3>;

inline Vector Difference(const Vector& to, const Vector& from)
{
    return {to[0] - from[0], to[1] - from[1], to[2] - from[2]};
}

inline double Dot(const Vector& a, const Vector& b)
{
    return a[0] * b[0] + a[1] * b[1] + a[2] * b[2];
}

/// Right-handed: x cross y is z.
inline Vector Cross(const Vector& a, const Vector& b)
{
    return {a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2], a[0] * b[1] - a[1] * b[0]};
}

/// Also of vectors whose squares are no numbers any more.
inline double Length(const Vector& vector)
{
    return std::hypot(vector[0], vector[1], vector[2]);
}

} // namespace openhost
