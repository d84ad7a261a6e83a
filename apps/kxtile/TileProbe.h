// SPDX-License-Identifier: MIT
#pragma once

#include "HostTile.h"
#include "KxRawData.h"
#include "KxTSDParam.h"

#include <nlohmann/json.hpp>

#include <memory>
#include <string>
#include <vector>

namespace KxTileHost {

/// One thing that was looked at on a tile's way, and what was seen.
struct ProbeStep
{
    enum Verdict {
        kGood,
        kDoubtful, ///< it works, but something may be meant otherwise
        kNoTile,   ///< the service has no tile there
        kBad
    };
    std::string m_name;
    Verdict m_verdict;
    std::string m_text;
    std::string m_hint; ///< how to mend it; may be empty
};

/// Fetches one tile past all caches and looks at what came back, step by step; the first bad step
/// is the last.
class TileProbe
{
public:
    TileProbe(KxC::KxTSDParamItem& source, const HostTile& tile, int timeoutMs);

    const std::vector<ProbeStep>& Steps() const { return m_steps; }
    /// The worst of all steps.
    ProbeStep::Verdict Verdict() const;
    /// What was seen, by name, for programs.
    const nlohmann::ordered_json& Facts() const { return m_facts; }
    /// The picture's bytes, inflated; without bytes when none came.
    const KxC::KxRawData& Picture() const { return m_body; }

private:
    void Run(const HostTile& tile);
    bool AskForUrl(const HostTile& tile);
    bool NameServer();
    bool Request();
    bool RequestFromEarth(const HostTile& tile);
    void NoteRequest();
    bool Inflate();
    bool Recognise();
    bool Decode();
    void CompareSize(int width, int height);
    void CompareFormat(const std::string& format);
    bool Add(std::string name, ProbeStep::Verdict verdict, std::string text, std::string hint = {});

    KxC::KxTSDParamItem& m_source;
    int m_timeoutMs;
    std::string m_url;
    KxC::KxRawData m_body;
    std::vector<ProbeStep> m_steps;
    nlohmann::ordered_json m_facts;
};

} // namespace KxTileHost
