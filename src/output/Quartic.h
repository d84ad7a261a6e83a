// SPDX-License-Identifier: MIT
#pragma once

#include <algorithm>
#include <iterator>

namespace KxC {

/// The curve of fourth degree through five places one apart.
class Quartic
{
public:
    explicit Quartic(const double (&values)[5])
    {
        double differences[5];
        std::copy(std::begin(values), std::end(values), std::begin(differences));
        for (int order = 1; order < 5; ++order)
            for (int i = 4; i >= order; --i)
                differences[i] = (differences[i] - differences[i - 1]) / order;
        std::copy(std::begin(differences), std::end(differences), std::begin(m_coefficients));
    }
    /// By Newton's form.
    double At(double t) const
    {
        const double* const c = m_coefficients;
        return c[0] + t * (c[1] + (t - 1) * (c[2] + (t - 2) * (c[3] + (t - 3) * c[4])));
    }

private:
    double m_coefficients[5];
};

} // namespace KxC
