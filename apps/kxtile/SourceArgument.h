// SPDX-License-Identifier: MIT
#pragma once

#include "Command.h"
#include "KxTSDParam.h"
#include "KxUrlSpelling.h"
#include "Secrets.h"

#include <string>
#include <utility>
#include <vector>

namespace CLI {
class App;
class Option;
} // namespace CLI

namespace KxTileHost {

/// What a command wants a source for.
enum class SourceUse {
    Fetch,    ///< its tiles; a definition that says enabled = false refuses
    Describe, ///< what the definition says, without a request
};

/// What the loader says of a definition: where, and what.
std::string DescribeMessage(const KxC::KxTSDMessage& message);

/// A tile source as a command line names it: a definition file, the bare name of a ready
/// definition, or a URL template with the options that describe it.
class SourceArgument
{
public:
    SourceArgument() = default;
    /// A source named without further options.
    explicit SourceArgument(std::string text) : m_text(std::move(text)) {}

    enum Presence { kRequired, kMayBeLeftOut };
    /// Adds the SOURCE argument and its options to a command.
    void AddTo(CLI::App& command, Presence presence = kRequired);

    /// The source, loaded.
    /// @throws CommandError when the definition cannot be read, or the template is none, or the
    ///         definition is not enabled and its tiles are to be fetched
    KxC::KxTSDParamItem* Load(SourceUse use = SourceUse::Fetch) const;

    const std::string& GetText() const { return m_text; }
    /// The day of history imagery as asked for; empty for none.
    const std::string& GetDate() const { return m_date; }
    /// The definition's file: what was named, or where the ready definition of that name lies.
    std::string GetPath() const;
    /// A short name: the definition's file name without extension, or the template.
    std::string GetName() const;
    /// What must not be shown of the source.
    Secrets GetSecrets() const;
    /// The error with the source's secrets masked.
    CommandError WithoutSecrets(const CommandError& error) const;
    bool IsTemplate() const;

private:
    KxC::KxTSDParamItem* LoadDefinition() const;
    KxC::KxTSDParamItem* LoadTemplate() const;
    KxC::KxTSDParamItem* LoadTileTemplate(const KxC::KxUrlSpelling& spelling) const;
    int SchemeOfTemplate(bool byQuadKey) const;
    void RefuseTemplateOptions() const;

    std::string m_text;
    std::vector<const CLI::Option*> m_templateOptions;
    std::string m_servers;
    std::string m_scheme;
    std::string m_datum;
    std::string m_rows; ///< empty: as the scheme counts them
    std::string m_format;
    std::string m_date; ///< of history imagery, empty for none
    std::string m_userAgent;
    std::vector<std::string> m_headers;
    int m_levelOffset = 0;
    int m_tileSize = 256;
};

} // namespace KxTileHost
