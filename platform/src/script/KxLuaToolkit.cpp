// SPDX-License-Identifier: MIT
#include "KxLuaToolkit.h"

#include "LuaState.h"
#include "ScriptFile.h"

#include <exception>
#include <mutex>
#include <new>

namespace KxC {

namespace {

KxString& LastError()
{
    thread_local KxString error;
    return error;
}

} // namespace

/// The script of one toolkit. It locks itself.
class KxLuaToolkit::Host
{
public:
    /// Loads a script in place of the one before, which is gone even when this one fails.
    std::string Load(std::string_view script, const std::string& name)
    {
        const std::lock_guard lock(m_mutex);
        m_state.reset();
        m_loadProblem = "the script is not loaded";
        auto state = std::make_unique<LuaState>();
        std::string problem = state->Load(script, name);
        if (problem.empty())
            m_state = std::move(state);
        else
            m_loadProblem = "the script did not load: " + problem;
        return problem;
    }

    std::string GetTileURL(int level, int row, int col, std::string& url)
    {
        const std::lock_guard lock(m_mutex);
        return m_state == nullptr ? m_loadProblem : m_state->GetTileURL(level, row, col, url);
    }

    /// Forgets the script because its file cannot be read.
    std::string Fail(const std::string& problem)
    {
        const std::lock_guard lock(m_mutex);
        m_state.reset();
        m_loadProblem = "the script did not load: " + problem;
        return problem;
    }

private:
    std::mutex m_mutex;
    std::unique_ptr<LuaState> m_state;
    std::string m_loadProblem = "there is no script";
};

namespace {

/// Runs an operation that says what went wrong; no exception leaves it.
/// @return 1 when nothing went wrong
template <class Operation>
unsigned char Report(Operation operation) noexcept
{
    try {
        LastError() = KxString();
        const std::string problem = operation();
        LastError() = problem.c_str();
        return problem.empty() ? 1 : 0;
    } catch (const std::exception&) {
        return 0;
    }
}

std::string FileName(const std::string& path)
{
    return path.substr(path.rfind('/') + 1);
}

std::string_view WithoutByteOrderMark(std::string_view text)
{
    return text.substr(0, 3) == "\xEF\xBB\xBF" ? text.substr(3) : text;
}

} // namespace

KxLuaToolkit::KxLuaToolkit() : m_host(new (std::nothrow) Host) {}

KxLuaToolkit::~KxLuaToolkit() = default;

unsigned char KxLuaToolkit::LoadFile(const KxString& path)
{
    return Report([&]() -> std::string {
        if (m_host == nullptr)
            return "out of memory";
        std::string problem;
        const std::optional<std::string> text = ReadScriptFile(path.Cstr(), problem);
        if (!text)
            return m_host->Fail("the script file cannot be read: " + problem);
        return m_host->Load(WithoutByteOrderMark(*text), FileName(path.Cstr()));
    });
}

unsigned char KxLuaToolkit::LoadFromString(const KxString& script)
{
    return Report([&]() -> std::string {
        if (m_host == nullptr)
            return "out of memory";
        const std::string_view text(script.Cstr(), static_cast<std::size_t>(script.GetLength()));
        if (text.size() > kMaxScriptBytes)
            return m_host->Fail("it is larger than 1 MiB");
        return m_host->Load(WithoutByteOrderMark(text), "script");
    });
}

KxString KxLuaToolkit::GetTileURL(int level, int row, int col)
{
    std::string url;
    const unsigned char good = Report([&]() -> std::string {
        return m_host == nullptr ? "out of memory" : m_host->GetTileURL(level, row, col, url);
    });
    return good != 0 ? KxString(url.c_str()) : KxString();
}

const KxString& KxLuaToolkit::GetLastError()
{
    return LastError();
}

} // namespace KxC
