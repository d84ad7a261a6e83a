// SPDX-License-Identifier: MIT
#include "SourceGrid.h"
#include "forms/Form.h"
#include "forms/FormLimits.h"
#include "forms/Schemes.h"

#include <fmt/format.h>

#include <array>

namespace KxTileHost {

namespace {

/// A basic string: everything that such a string gives a meaning to is escaped.
std::string Quoted(const std::string& text)
{
    std::string quoted = "\"";
    for (const char character : text) {
        const auto byte = static_cast<unsigned char>(character);
        if (character == '"' || character == '\\')
            quoted += {'\\', character};
        else if (byte < 0x20 || byte == 0x7f)
            quoted += fmt::format("\\u{:04X}", byte);
        else
            quoted += character;
    }
    return quoted + '"';
}

/// A text of a key whose ${NAME} are filled in: one that stood there as text is marked.
std::string QuotedVerbatim(const std::string& text)
{
    std::string marked;
    for (std::size_t at = 0; at < text.size(); ++at) {
        if (text.compare(at, 2, "${") == 0)
            marked += '$';
        marked += text[at];
    }
    return Quoted(marked);
}

std::string Number(double value)
{
    const std::string text = fmt::format("{}", value); // the shortest that reads back the same
    return text.find_first_of(".e") == std::string::npos ? text + ".0" : text;
}

std::string SchemeText(int scheme)
{
    switch (scheme) {
    case Scheme::kTianDiTuLatLon:
        return "\"TianDiTuLatLon\"";
    case Scheme::kBingMap:
        return "\"BingMap\"";
    case kSchemeGeographic:
        return "\"LatLonWGS84\"";
    case kSchemeWebMercator:
        return "\"WebMercatorWGS84\"";
    default:
        return fmt::format("{}", scheme);
    }
}

std::string List(const KxC::KxArray<KxC::KxString>& texts)
{
    std::string list;
    for (const KxC::KxString& text : texts)
        list += (list.empty() ? "" : ", ") + QuotedVerbatim(text.Cstr());
    return "[" + list + "]";
}

/// Writes the lines of a definition; what is as it would be without its line is left out.
class TomlWriter
{
public:
    explicit TomlWriter(const KxC::KxTSDParamItem& source) : m_source(source) {}

    std::string Write()
    {
        WriteNotices();
        WriteAddress();
        WriteGrid();
        WriteRequest();
        WriteHostValues();
        WriteBounds();
        return std::move(m_text);
    }

private:
    void Line(const char* key, const std::string& value)
    {
        m_text += fmt::format("{} = {}\n", key, value);
    }

    void LineIf(bool condition, const char* key, const std::string& value)
    {
        if (condition)
            Line(key, value);
    }

    void Text(const char* key, const KxC::KxString& value)
    {
        LineIf(value.IsEmpty() == 0, key, Quoted(value.Cstr()));
    }

    void TextVerbatim(const char* key, const KxC::KxString& value)
    {
        LineIf(value.IsEmpty() == 0, key, QuotedVerbatim(value.Cstr()));
    }

    void WriteNotices()
    {
        Text("name", m_source.m_strAttr1);
        Text("attribution", m_source.m_strAttr2);
        Text("terms", m_source.m_strAttr3);
        Text("notes", m_source.m_strAttr4);
        LineIf(m_source.m_bOption3 == 0, "enabled", "false");
    }

    void WriteAddress()
    {
        Line("url", QuotedVerbatim(WriteUrl(UrlPiecesOf(m_source), DefinitionWords())));
        LineIf(m_source.m_bHasServerPart != 0 && !FirstServer(m_source).empty(),
               "servers",
               List(m_source.m_arrServerParts));
    }

    void WriteGrid()
    {
        constexpr std::array kDatums{"", "\"GCJ02\"", "\"BD09\""};
        const int datum = m_source.m_nDatum;
        Line("scheme", SchemeText(m_source.m_nTileScheme));
        if (datum == 1 || datum == 2)
            Line("datum", kDatums[static_cast<std::size_t>(datum)]);
        LineIf(m_source.m_nSouthToNorth != 0, "rows", "\"SouthToNorth\"");
        LineIf(m_source.m_nTileSize != 256, "tile_size", fmt::format("{}", m_source.m_nTileSize));
        LineIf(m_source.m_nLevelOffset != 0,
               "level_offset",
               fmt::format("{}", m_source.m_nLevelOffset));
    }

    void WriteRequest()
    {
        Text("format", m_source.m_strImageFormat);
        TextVerbatim("version", m_source.m_strVersion);
        TextVerbatim("user_agent", m_source.m_strUserAgent);
        const bool headers = m_source.m_arrRequestHeaders.GetSize() > 0;
        LineIf(headers, "headers", List(m_source.m_arrRequestHeaders));
    }

    void WriteHostValues()
    {
        Text("attr5", m_source.m_strAttr5);
        LineIf(m_source.m_bOption1 != 0, "option1", "true");
        LineIf(m_source.m_bOption2 != 0, "option2", "true");
        LineIf(m_source.m_nValue1 != 1, "value1", fmt::format("{}", m_source.m_nValue1));
        LineIf(m_source.m_nValue2 != 1, "value2", fmt::format("{}", m_source.m_nValue2));
        LineIf(m_source.m_nValue3 != 0, "value3", fmt::format("{}", m_source.m_nValue3));
    }

    void WriteBounds()
    {
        const KxC::KxSLevelBounds& bounds = m_source.m_levelBounds;
        if (!HasBounds(m_source) && bounds.m_nMinLevel == 0 && bounds.m_nMaxLevel == 0)
            return;
        m_text += "\n[bounds]\n";
        if (HasBounds(m_source)) {
            Line("west", Number(bounds.m_rect.m_dLeft));
            Line("south", Number(bounds.m_rect.m_dBottom));
            Line("east", Number(bounds.m_rect.m_dRight));
            Line("north", Number(bounds.m_rect.m_dTop));
        }
        Line("min_level", fmt::format("{}", bounds.m_nMinLevel));
        Line("max_level", fmt::format("{}", bounds.m_nMaxLevel));
    }

    const KxC::KxTSDParamItem& m_source;
    std::string m_text;
};

} // namespace

FormText WriteToml(const KxC::KxTSDParamItem& source)
{
    FormLimits limits("A definition written from a loaded source");
    const std::vector<UrlPiece> pieces = UrlPiecesOf(source);
    limits.CannotIf(
        source.m_bLuaScripted != 0,
        "a script makes its URLs (also where placeholders become one), and its text is not "
        "kept; copy the definition itself");
    limits.CannotIf(source.m_bLuaScripted == 0 && source.m_nTileScheme != Scheme::kEarthHistory &&
                        !NamesWholeTile(pieces),
                    "its URL does not hold all of column, row and level");
    limits.CheckWords(pieces,
                      {"{$x}",
                       "{$y}",
                       "{$z}",
                       "{$quadkey}",
                       "{$serverpart}",
                       "{$Serverpart}",
                       "{x}",
                       "{y}",
                       "{-y}",
                       "{z}",
                       "{q}",
                       "{s}",
                       "{switch:"});
    limits.ThrowIfAny();
    return {TomlWriter(source).Write(), limits.Losses()};
}

} // namespace KxTileHost
