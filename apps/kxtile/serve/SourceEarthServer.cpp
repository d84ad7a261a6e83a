// SPDX-License-Identifier: MIT
#include "serve/SourceEarthServer.h"

#include <algorithm>
#include <map>

namespace KxTileHost::Serve {

namespace {

/// Addresses by source.
std::map<std::string, std::string>& Choices()
{
    static std::map<std::string, std::string> choices;
    return choices;
}

} // namespace

bool MayAskEarthServer(const std::string& id, const std::string& address)
{
    return std::all_of(Choices().begin(), Choices().end(), [&](const auto& choice) {
        return choice.first == id || choice.second == address;
    });
}

void NoteEarthServer(const std::string& id, const std::string& address)
{
    Choices()[id] = address;
}

void ForgetEarthServer(const std::string& id)
{
    Choices().erase(id);
}

} // namespace KxTileHost::Serve
