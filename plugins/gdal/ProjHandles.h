// SPDX-License-Identifier: MIT
#pragma once

#include <proj.h>

#include <memory>

namespace KxC {

struct ProjDeleter
{
    void operator()(PJ_CONTEXT* context) const { proj_context_destroy(context); }
    void operator()(PJ* object) const { proj_destroy(object); }
};

/// PROJ's objects belong to a context, which one thread at a time may use and which must outlive
/// them.
using ProjContext = std::unique_ptr<PJ_CONTEXT, ProjDeleter>;
using ProjObject = std::unique_ptr<PJ, ProjDeleter>;

} // namespace KxC
