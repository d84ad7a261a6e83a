// SPDX-License-Identifier: MIT
#include "KxUtility.h"

#include "DefinitionReader.h"

#include <exception>

namespace KxC {

namespace {

std::vector<KxTSDMessage>& Messages()
{
    thread_local std::vector<KxTSDMessage> messages;
    return messages;
}

template <class Value>
void Set(Value& output, const std::optional<Value>& value)
{
    if (value)
        output = *value;
}

void Set(unsigned char& output, const std::optional<bool>& value)
{
    if (value)
        output = *value ? 1 : 0;
}

KxString ToKxString(const std::string& text)
{
    return {text.data(), static_cast<int>(text.size())};
}

void Set(KxString& output, const std::optional<std::string>& value)
{
    if (value)
        output = ToKxString(*value);
}

void Set(KxSLevelBounds& output, const Definition& definition)
{
    Set(output.m_rect.m_dLeft, definition.west);
    Set(output.m_rect.m_dBottom, definition.south);
    Set(output.m_rect.m_dRight, definition.east);
    Set(output.m_rect.m_dTop, definition.north);
    Set(output.m_nMinLevel, definition.minLevel);
    Set(output.m_nMaxLevel, definition.maxLevel);
}

std::string ToText(const KxString& text)
{
    return {text.Cstr(), static_cast<std::size_t>(text.GetLength())};
}

/// Reads a definition, by a reader that takes its path and a report, and notes what there is to
/// say; false when it must not be used.
template <class Reader>
bool Read(const KxString& path, Definition& definition, Reader reader)
{
    Report report;
    const std::string text = ToText(path);
    if (text.find('\0') != std::string::npos)
        report.Error(0, "", "the definition cannot be read: its path holds a NUL character");
    else
        definition = reader(text, report);
    const bool good = !report.Failed();
    Messages() = report.Take();
    return good;
}

/// Says that memory ran out, which may itself fail for want of it.
void NoteOutOfMemory() noexcept
{
    Messages().clear();
    try {
        Messages().push_back({true, 0, "", "the definition cannot be read: out of memory", true});
    } catch (const std::exception&) {
        Messages().clear();
    }
}

/// The same without exceptions: the callers of the exported operations expect none.
template <class Reader>
bool ReadSafely(const KxString& path, Definition& definition, Reader reader) noexcept
{
    try {
        return Read(path, definition, reader);
    } catch (const std::exception&) {
        NoteOutOfMemory();
        return false;
    }
}

} // namespace

unsigned char KxUtility::LoadNewTSD(const KxString& path,
                                    KxSLevelBounds& levelBounds,
                                    int& tileSize,
                                    int& value1,
                                    int& value2,
                                    int& value3,
                                    KxString& imageFormat,
                                    KxString& attr1,
                                    KxString& scheme,
                                    KxString& version,
                                    KxString& attr2,
                                    KxString& attr3,
                                    KxString& urlTemplate,
                                    unsigned char& option1,
                                    unsigned char& option2,
                                    unsigned char& option3,
                                    int& levelOffset,
                                    KxString& attr4,
                                    KxString& axisOrder,
                                    KxString& rowDirection,
                                    KxString& userAgent,
                                    KxString& attr5,
                                    KxString& datum,
                                    KxString& serverParts,
                                    KxString& script,
                                    KxArray<KxString>& headers)
{
    Definition definition;
    if (!ReadSafely(path, definition, ReadDefinition))
        return 0;
    try {
        Set(levelBounds, definition);
        Set(tileSize, definition.tileSize);
        Set(value1, definition.value1);
        Set(value2, definition.value2);
        Set(value3, definition.value3);
        Set(imageFormat, definition.format);
        Set(attr1, definition.attr1);
        Set(scheme, definition.scheme);
        Set(version, definition.version);
        Set(attr2, definition.attr2);
        Set(attr3, definition.attr3);
        Set(urlTemplate, definition.url);
        Set(option1, definition.option1);
        Set(option2, definition.option2);
        Set(option3, definition.option3);
        Set(levelOffset, definition.levelOffset);
        Set(attr4, definition.attr4);
        Set(axisOrder, definition.axisOrder);
        Set(rowDirection, definition.rows);
        Set(userAgent, definition.userAgent);
        Set(attr5, definition.attr5);
        Set(datum, definition.datum);
        Set(serverParts, definition.servers);
        Set(script, definition.script);
        for (const std::string& line : definition.headers)
            headers.Add(ToKxString(line));
        return 1;
    } catch (const std::exception&) {
        NoteOutOfMemory();
        return 0;
    }
}

unsigned char KxUtility::CheckTSDText(const KxString& text, const KxString& path)
{
    const std::string_view bytes(text.Cstr(), static_cast<std::size_t>(text.GetLength()));
    Definition definition;
    const auto reader = [bytes](const std::string& place, Report& report) {
        return ReadDefinitionText(bytes, place, report);
    };
    return ReadSafely(path, definition, reader) ? 1 : 0;
}

const std::vector<KxTSDMessage>& KxUtility::GetLastTSDMessages()
{
    return Messages();
}

} // namespace KxC
