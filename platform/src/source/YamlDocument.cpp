// SPDX-License-Identifier: MIT
#include "YamlDocument.h"

#include "TextRules.h"

#include <yaml-cpp/eventhandler.h>

#include <sstream>
#include <stdexcept>

namespace KxC {

namespace {

constexpr int kMaxDepth = 16;
constexpr int kMaxNodes = 50000;

class YamlRefused : public std::runtime_error
{
public:
    YamlRefused(const YAML::Mark& mark, const char* why) : std::runtime_error(why), m_mark(mark) {}

    YAML::Mark m_mark;
};

/// Watches the parser's events, before anything is built of them.
class YamlWatcher : public YAML::EventHandler
{
public:
    void OnDocumentStart(const YAML::Mark& /*mark*/) override {}
    void OnDocumentEnd() override {}
    void OnNull(const YAML::Mark& mark, YAML::anchor_t anchor) override { Count(mark, anchor); }
    void OnAlias(const YAML::Mark& mark, YAML::anchor_t /*anchor*/) override { Refuse(mark); }
    void OnScalar(const YAML::Mark& mark,
                  const std::string& /*tag*/,
                  YAML::anchor_t anchor,
                  const std::string& /*value*/) override
    {
        Count(mark, anchor);
    }
    void OnSequenceStart(const YAML::Mark& mark,
                         const std::string& /*tag*/,
                         YAML::anchor_t anchor,
                         YAML::EmitterStyle::value /*style*/) override
    {
        Enter(mark, anchor);
    }
    void OnSequenceEnd() override { --m_depth; }
    void OnMapStart(const YAML::Mark& mark,
                    const std::string& /*tag*/,
                    YAML::anchor_t anchor,
                    YAML::EmitterStyle::value /*style*/) override
    {
        Enter(mark, anchor);
    }
    void OnMapEnd() override { --m_depth; }

private:
    void Enter(const YAML::Mark& mark, YAML::anchor_t anchor)
    {
        Count(mark, anchor);
        if (++m_depth > kMaxDepth)
            throw YamlRefused(mark, "is nested deeper than 16 levels; definitions need few");
    }

    void Count(const YAML::Mark& mark, YAML::anchor_t anchor)
    {
        if (anchor != YAML::NullAnchor)
            Refuse(mark);
        if (++m_nodes > kMaxNodes)
            throw YamlRefused(mark, "holds more than 50000 values; definitions need few");
    }

    static void Refuse(const YAML::Mark& mark)
    {
        throw YamlRefused(mark,
                          "holds an anchor (&) or an alias (*), which are not read; write "
                          "the value where it is needed");
    }

    int m_depth = 0;
    int m_nodes = 0;
};

void Watch(const std::string& text)
{
    std::istringstream stream(text);
    YAML::Parser parser(stream);
    YamlWatcher watcher;
    parser.HandleNextDocument(watcher);
}

int LineOf(const YAML::Mark& mark)
{
    return mark.is_null() ? 0 : mark.line + 1;
}

} // namespace

std::optional<YAML::Node> ParseYaml(std::string_view text, Report& report)
{
    if (!IsUtf8(text)) {
        report.Error(0, "", "is not UTF-8; save it in that encoding");
        return std::nullopt;
    }
    try {
        const std::string copy(text);
        Watch(copy);
        return YAML::Load(copy);
    } catch (const YamlRefused& refused) {
        report.Error(LineOf(refused.m_mark), "", refused.what());
    } catch (const YAML::Exception& error) {
        report.Error(LineOf(error.mark), "", "is not YAML: " + Printable(error.msg));
    }
    return std::nullopt;
}

YAML::Node Child(const YAML::Node& map, const std::string& key)
{
    const YAML::Node value = map.IsMap() ? map[key] : YAML::Node();
    return value.IsDefined() ? value : YAML::Node();
}

int LineOf(const YAML::Node& node)
{
    return LineOf(node.Mark());
}

std::optional<std::string> TextOf(const YAML::Node& node)
{
    return node.IsScalar() ? std::optional(node.Scalar()) : std::nullopt;
}

} // namespace KxC
