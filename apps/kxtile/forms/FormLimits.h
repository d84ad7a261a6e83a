// SPDX-License-Identifier: MIT
#pragma once

#include "KxTSDParam.h"
#include "forms/UrlPieces.h"

#include <optional>
#include <string>
#include <vector>

namespace KxTileHost {

/// Collects what a form cannot say of a source: what keeps it from being written, and what is
/// lost without much harm.
class FormLimits
{
public:
    /// @param form  its name in messages
    explicit FormLimits(std::string form) : m_form(std::move(form)) {}

    void Cannot(const std::string& what) { m_faults.push_back(what); }
    void CannotIf(bool condition, const std::string& what);
    void Loses(const std::string& what) { m_losses.push_back(what + " not kept"); }
    /// Something else that is worth a warning.
    void Warn(const std::string& text) { m_losses.push_back(text); }
    void LosesIf(bool condition, const std::string& what);
    /// @throws CommandError naming all that the form cannot say
    void ThrowIfAny() const;
    const std::vector<std::string>& Losses() const { return m_losses; }

    /// Notes what no program but this one understands.
    void CheckForOtherPrograms(const KxC::KxTSDParamItem& source);
    /// Notes texts of the URL that the form would read as one of its own words.
    void CheckWords(const std::vector<UrlPiece>& pieces, const std::vector<std::string>& words);

private:
    std::string m_form;
    std::vector<std::string> m_faults;
    std::vector<std::string> m_losses;
};

/// The value of a header line of that name, in any case; none when the source has no such line.
std::optional<std::string> HeaderValue(const KxC::KxTSDParamItem& source, const std::string& name);
/// Whether the source has header lines of other names.
bool HasOtherHeaders(const KxC::KxTSDParamItem& source, const std::string& name);

/// The first server of the list, empty without one.
std::string FirstServer(const KxC::KxTSDParamItem& source);

bool HasSeveralServers(const KxC::KxTSDParamItem& source);

/// Whether the definition says where on earth the service has tiles.
bool HasBounds(const KxC::KxTSDParamItem& source);
/// Whether that is less than Web Mercator's whole world.
bool IsPartOfWorld(const KxC::KxTSDParamItem& source);
/// Whether it names a last level.
bool HasMaxLevel(const KxC::KxTSDParamItem& source);

} // namespace KxTileHost
