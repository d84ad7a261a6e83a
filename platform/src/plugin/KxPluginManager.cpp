// SPDX-License-Identifier: MIT
#include "KxFile.h"
#include "KxPlugin.h"
#include "PluginFolders.h"
#include "PluginLoader.h"

#include <algorithm>
#include <exception>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

namespace KxC {

namespace {

constexpr std::size_t kMaxPluginFiles = 256;
constexpr std::size_t kMaxLogLine = 1000; ///< bytes; a path can be longer than anybody reads

/// The log's encoding agrees with that of paths only in ASCII.
std::string AsciiText(std::string text)
{
    text.resize(std::min(text.size(), kMaxLogLine));
    std::replace_if(
        text.begin(), text.end(), [](char character) { return (character & 0x80) != 0; }, '?');
    return text;
}

void Log(const std::string& text)
{
    KxFile::WriteLogInfo(AsciiText(text).c_str());
}

std::vector<std::string> PluginFiles()
{
    std::vector<std::string> files;
    for (const std::string& folder : PluginFolders()) {
        const std::vector<std::string> inFolder = PluginFilesIn(folder);
        files.insert(files.end(), inFolder.begin(), inFolder.end());
        if (files.size() > kMaxPluginFiles)
            break;
    }
    return files;
}

std::vector<LoadedPlugin> LoadPlugins()
{
    std::vector<std::string> files = PluginFiles();
    if (files.size() > kMaxPluginFiles) {
        Log("plug-ins left out: more than " + std::to_string(kMaxPluginFiles) +
            " files; the first is " + files[kMaxPluginFiles]);
        files.resize(kMaxPluginFiles);
    }
    std::vector<LoadedPlugin> plugins;
    for (const std::string& file : files) {
        LoadedPlugin plugin;
        const std::string fault = LoadPlugin(file, plugin);
        if (fault.empty())
            plugins.push_back(std::move(plugin));
        else
            Log(std::string("plug-in left out: ").append(file).append(": ").append(fault));
    }
    return plugins;
}

bool Takes(const LoadedPlugin& plugin, const KxString& kind, const KxString& ext)
{
    return plugin.m_strKind == kind &&
           std::any_of(plugin.m_extensions.begin(),
                       plugin.m_extensions.end(),
                       [&](const KxString& own) { return own.CompareNoCase(ext) == 0; });
}

} // namespace

KxPlugin::KxPlugin() = default;

KxPlugin::~KxPlugin() = default;

struct KxPluginManager::Registry
{
    /// The plug-ins, loaded on the first call; they never change afterwards.
    const std::vector<LoadedPlugin>& Plugins()
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        if (!std::exchange(m_bLoaded, true))
            m_plugins = LoadPlugins();
        return m_plugins;
    }

private:
    std::mutex m_mutex;
    bool m_bLoaded = false;
    std::vector<LoadedPlugin> m_plugins;
};

KxPluginManager::KxPluginManager() : m_registry(std::make_unique<Registry>()) {}

KxPluginManager::~KxPluginManager() = default;

KxPlugin* KxPluginManager::FindPluginByExt(const KxString& kind, const KxString& ext)
{
    // A plug-in's own failure, whatever it throws, and want of memory are both "no plug-in" here.
    try {
        const std::vector<LoadedPlugin>& plugins = m_registry->Plugins();
        const auto found =
            std::find_if(plugins.begin(), plugins.end(), [&](const LoadedPlugin& plugin) {
                return Takes(plugin, kind, ext);
            });
        return found != plugins.end() ? found->m_pCreate() : nullptr;
    } catch (...) {
        return nullptr;
    }
}

KxPluginManager m_gPluginManager;

} // namespace KxC
