// SPDX-License-Identifier: MIT
#include "Engine.h"

#include <cmath>

namespace KxC {

Engine::Engine() : m_context(proj_context_create())
{
    if (m_context == nullptr)
        return; // to PROJ that would mean the context that all share
    // A library prints nothing: messages come here. And it fetches no grids behind the host's back.
    proj_log_func(m_context.get(), this, &Engine::KeepMessage);
    proj_log_level(m_context.get(), PJ_LOG_ERROR);
    proj_context_set_enable_network(m_context.get(), 0);
}

void Engine::KeepMessage(void* engine, int /*level*/, const char* message)
{
    try {
        static_cast<Engine*>(engine)->m_message = message;
    } catch (const std::bad_alloc&) {
        return; // the message is lost, nothing else; PROJ is C and must not be thrown through
    }
}

std::unique_ptr<Engine> Engine::Make(const CrsText& crs, std::string& error)
{
    std::unique_ptr<Engine> engine(new Engine);
    if (engine->m_context == nullptr) {
        error = "PROJ does not start";
        return nullptr;
    }
    engine->m_operation = engine->MakeOperation(crs, error);
    if (engine->m_operation == nullptr) {
        if (!engine->m_message.empty())
            error += " (PROJ: " + engine->m_message + ")";
        return nullptr;
    }
    // Points outside a projection's reach are no news, and there can be millions of them.
    proj_log_level(engine->m_context.get(), PJ_LOG_NONE);
    return engine;
}

ProjObject Engine::MakeOperation(const CrsText& crs, std::string& error)
{
    PJ_CONTEXT* context = m_context.get();
    const ProjObject source = MakeCrs(context, crs, error);
    if (source == nullptr)
        return nullptr;
    const ProjObject target = MakeCrs(context, {CrsForm::Epsg, "4326"}, error);
    if (target == nullptr)
        return nullptr;
    const ProjObject operation(
        proj_create_crs_to_crs_from_pj(context, source.get(), target.get(), nullptr, nullptr));
    // Many systems name latitude or northing first; here x comes first, always.
    ProjObject normalized(operation != nullptr
                              ? proj_normalize_for_visualization(context, operation.get())
                              : nullptr);
    if (normalized == nullptr)
        error = "the coordinate system cannot be converted to WGS 84";
    return normalized;
}

void Engine::Convert(PJ_DIRECTION direction, const KxPoint3d* in, KxPoint3d* out, int count)
{
    PJ* operation = m_operation.get();
    for (int i = 0; i < count; ++i) {
        const PJ_COORD from = proj_coord(in[i].x, in[i].y, in[i].z, HUGE_VAL);
        const PJ_COORD to = proj_trans(operation, direction, from);
        if (std::isfinite(to.xyz.x) && std::isfinite(to.xyz.y))
            out[i] = {to.xyz.x, to.xyz.y, to.xyz.z};
        else
            proj_errno_reset(operation);
    }
}

} // namespace KxC
