// SPDX-License-Identifier: MIT
#pragma once

#include "KxUtility.h"
#include "support/TempFolder.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

namespace KxC::test {

/// The outputs of the loader, with marks in place of the values so that untouched ones show.
struct LoadedDefinition
{
    unsigned char result = 99;
    KxSLevelBounds bounds{{-1.0, -2.0, -3.0, -4.0}, -5, -6};
    int tileSize = -7, value1 = -8, value2 = -9, value3 = -10, levelOffset = -11;
    KxString format = "?", attr1 = "?", scheme = "?", version = "?", attr2 = "?", attr3 = "?",
             url = "?", attr4 = "?", axisOrder = "?", rows = "?", userAgent = "?", attr5 = "?",
             datum = "?", servers = "?", script = "?";
    unsigned char option1 = 7, option2 = 7, option3 = 7;
    KxArray<KxString> headers;

    void Load(const std::string& path)
    {
        result = KxUtility::LoadNewTSD(path.c_str(),
                                       bounds,
                                       tileSize,
                                       value1,
                                       value2,
                                       value3,
                                       format,
                                       attr1,
                                       scheme,
                                       version,
                                       attr2,
                                       attr3,
                                       url,
                                       option1,
                                       option2,
                                       option3,
                                       levelOffset,
                                       attr4,
                                       axisOrder,
                                       rows,
                                       userAgent,
                                       attr5,
                                       datum,
                                       servers,
                                       script,
                                       headers);
    }
};

/// A folder of its own that goes away with the test.
class ScratchFolder
{
public:
    const std::string& Path() const { return m_path; }

    std::string Write(const std::string& name, const std::string& text) const
    {
        const std::filesystem::path path = std::filesystem::path(m_path) / name;
        std::filesystem::create_directories(path.parent_path());
        std::ofstream(path, std::ios::binary) << text;
        return path;
    }

private:
    TempFolder m_folder;
    std::string m_path = m_folder.Path().string();
};

/// Every message as one line: "error 3 url: ...".
inline std::string AllMessages()
{
    std::string text;
    for (const KxTSDMessage& message : KxUtility::GetLastTSDMessages())
        text += std::string(message.m_bError ? "error " : "warning ") +
                std::to_string(message.m_nLine) + " " + message.m_strKey.Cstr() + ": " +
                message.m_strText.Cstr() + "\n";
    return text;
}

inline LoadedDefinition LoadText(const std::string& toml)
{
    const ScratchFolder folder;
    LoadedDefinition loaded;
    loaded.Load(folder.Write("source.toml", toml));
    return loaded;
}

} // namespace KxC::test
