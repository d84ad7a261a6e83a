// SPDX-License-Identifier: MIT
#pragma once

#include <stdexcept>

namespace KxC::Earth {

/// Why a fetch ends without an answer, in words. Thrown inside this area only: the fetcher's
/// operations turn it into a result.
class FetchFailure : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

/// An answer came but is not what the protocol says: damaged, or read with an outdated key.
class DamagedAnswer : public FetchFailure
{
public:
    using FetchFailure::FetchFailure;
};

} // namespace KxC::Earth
