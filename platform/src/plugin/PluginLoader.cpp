// SPDX-License-Identifier: MIT
#include "PluginLoader.h"

#include <dlfcn.h>

#include <algorithm>
#include <exception>
#include <filesystem>
#include <string_view>
#include <system_error>

namespace KxC {

namespace {

using DeclareFunction = const KxPluginDeclaration* (*)();

/// The reason that the loader gives for its last failure on this thread.
std::string LoaderError()
{
    // NOLINTNEXTLINE(concurrency-mt-unsafe): glibc keeps the text by thread
    const char* text = ::dlerror();
    return text != nullptr ? text : "not loadable";
}

/// What a plug-in says of itself; null when it says nothing or fails in saying it.
const KxPluginDeclaration* Declare(DeclareFunction declare)
{
    try {
        return declare();
    } catch (...) {
        return nullptr;
    }
}

/// Empty when the declaration can be used. The ABI number comes first: what follows it may have
/// any form under another number.
std::string FaultOf(const KxPluginDeclaration* declaration)
{
    if (declaration == nullptr)
        return "declares nothing";
    if (declaration->m_nAbi != KxPluginDeclaration::kAbi)
        return "made for plug-in ABI " + std::to_string(declaration->m_nAbi) + ", not " +
               std::to_string(KxPluginDeclaration::kAbi);
    if (declaration->m_pKind == nullptr || declaration->m_pExtensions == nullptr ||
        declaration->m_pCreate == nullptr)
        return "its declaration is incomplete";
    return {};
}

std::vector<KxString> SplitExtensions(std::string_view text)
{
    std::vector<KxString> extensions;
    while (!text.empty()) {
        const std::size_t length = std::min(text.find(' '), text.size());
        if (length > 0)
            extensions.emplace_back(text.data(), static_cast<int>(length));
        text.remove_prefix(std::min(length + 1, text.size()));
    }
    return extensions;
}

} // namespace

std::string LoadPlugin(const std::string& path, LoadedPlugin& plugin)
{
    // Opening a pipe would wait for a writer.
    std::error_code error;
    if (!std::filesystem::is_regular_file(path, error))
        return "not a file";
    void* library = ::dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (library == nullptr)
        return LoaderError();
    const auto declare = reinterpret_cast<DeclareFunction>(::dlsym(library, "KxDeclarePlugin"));
    if (declare == nullptr)
        return "exports no KxDeclarePlugin";
    const KxPluginDeclaration* declaration = Declare(declare);
    if (std::string fault = FaultOf(declaration); !fault.empty())
        return fault;
    plugin.m_strKind = declaration->m_pKind;
    plugin.m_extensions = SplitExtensions(declaration->m_pExtensions);
    plugin.m_pCreate = declaration->m_pCreate;
    return {};
}

} // namespace KxC
