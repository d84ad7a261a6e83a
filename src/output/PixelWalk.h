// SPDX-License-Identifier: MIT
#pragma once

#include <cmath>
#include <cstdint>

namespace KxC {

/// The parabola through three values: at 0, in the middle, and at `steps`.
class Parabola
{
public:
    Parabola() = default;
    Parabola(double first, double middle, double last, double steps)
        : m_start(first), m_slope((4 * (middle - first) - (last - first)) / steps),
          m_bend(2 * ((first - middle) + (last - middle)) / (steps * steps))
    {
    }

    double At(double step) const { return m_start + step * (m_slope + step * m_bend); }
    double SlopeAt(double step) const { return m_slope + 2 * step * m_bend; }
    double Bend() const { return m_bend; }

private:
    double m_start = 0;
    double m_slope = 0;
    double m_bend = 0;
};

/// Walks along one axis of a tile's pixels in steps of one output pixel, on a parabola: in whole
/// numbers, of which the lower 32 bits are the place inside a pixel. Over 32 steps it leaves the
/// parabola by less than kError pixels.
class PixelWalk
{
public:
    /// Three numbers that are cut off at 2^-32: one as it is, one 32 times, and one 32 x 31 / 2
    /// times.
    static constexpr double kError = 1.0 / (1 << 22);
    /// Pixels from the tile's edge at most, along the way; more would not fit.
    static constexpr double kFarthest = 1 << 28;

    /// @param curve  places in tiles, whose differences in a walk are below kFarthest pixels
    /// @param tile   the number of the tile
    /// @param size   pixels of the tile
    /// @param from   step to begin at
    /// @param off    pixels that places may be off
    PixelWalk(const Parabola& curve, int tile, int size, int from, double off)
        : m_at(Fixed((curve.At(from) - tile) * size)),
          m_step(Fixed((curve.SlopeAt(from) + curve.Bend()) * size)),
          m_stepStep(Fixed(2 * curve.Bend() * size)), m_size(static_cast<std::uint32_t>(size)),
          m_off(off + kError < 0.5 ? static_cast<std::uint32_t>(std::ceil((off + kError) * kOne))
                                   : kHalf)
    {
    }

    void Step()
    {
        m_at += m_step;
        m_step += m_stepStep;
    }
    bool IsLevel() const { return m_step == 0 && m_stepStep == 0; }

    /// The pixel; any number beyond the tile's pixels outside of it.
    std::uint32_t Pixel() const { return static_cast<std::uint32_t>(m_at >> 32); }
    bool IsInTile() const { return Pixel() < m_size; }
    /// Whether the place is farther from the pixel's edges than it may be off.
    bool IsSure() const { return static_cast<std::uint32_t>(m_at) - m_off < 2 * (kHalf - m_off); }

private:
    static constexpr double kOne = 4294967296.0;
    static constexpr std::uint32_t kHalf = 1U << 31U;

    static std::int64_t Fixed(double value) { return static_cast<std::int64_t>(value * kOne); }

    std::int64_t m_at;
    std::int64_t m_step;
    std::int64_t m_stepStep;
    std::uint32_t m_size;
    std::uint32_t m_off;
};

} // namespace KxC
