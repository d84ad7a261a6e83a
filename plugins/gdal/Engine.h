// SPDX-License-Identifier: MIT
#pragma once

#include "CrsText.h"
#include "KxPoint.h"
#include "ProjHandles.h"

#include <memory>
#include <string>

namespace KxC {

/// Converts between one coordinate system and WGS 84. Has a PROJ context of its own; one thread at
/// a time.
class Engine
{
public:
    /// @param error  on failure, what is wrong with the text
    /// @return null on failure
    static std::unique_ptr<Engine> Make(const CrsText& crs, std::string& error);

    Engine(const Engine&) = delete;
    Engine& operator=(const Engine&) = delete;

    /// PJ_FWD leads to WGS 84. Points that cannot be converted leave their `out` as it was.
    void Convert(PJ_DIRECTION direction, const KxPoint3d* in, KxPoint3d* out, int count);

private:
    Engine();

    static void KeepMessage(void* engine, int level, const char* message);
    ProjObject MakeOperation(const CrsText& crs, std::string& error);

    std::string m_message; ///< the last that PROJ had to say
    ProjContext m_context;
    ProjObject m_operation; ///< last, so that it goes before its context
};

} // namespace KxC
