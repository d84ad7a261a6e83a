// SPDX-License-Identifier: MIT
#include "XmlDocument.h"

#include "TextRules.h"

#include <string>

namespace KxC {

namespace {

constexpr int kMaxDepth = 16;

/// Whether a DOCTYPE says no more than a name, as QGIS writes it: no declarations, no address.
bool IsBareName(std::string_view doctype)
{
    return doctype.find_first_of("[]\"'<&% \t\r\n") == std::string_view::npos;
}

class DepthWatcher : public pugi::xml_tree_walker
{
public:
    bool for_each(pugi::xml_node& /*node*/) override { return depth() < kMaxDepth; }
};

} // namespace

bool XmlDocument::Parse(Report& report)
{
    constexpr unsigned kOptions =
        pugi::parse_default | pugi::parse_doctype | pugi::parse_trim_pcdata;
    if (!IsUtf8(m_text)) {
        report.Error(0, "", "is not UTF-8; save it in that encoding");
        return false;
    }
    const pugi::xml_parse_result result =
        m_document.load_buffer(m_text.data(), m_text.size(), kOptions, pugi::encoding_utf8);
    if (!result) {
        report.Error(LineAt(m_text, static_cast<std::size_t>(result.offset)),
                     "",
                     "is not XML: " + std::string(result.description()));
        return false;
    }
    for (const pugi::xml_node& node : m_document.children())
        if (node.type() == pugi::node_doctype && !IsBareName(node.value())) {
            report.Error(LineOf(node),
                         "",
                         "holds a DOCTYPE with a document type, which is not read; leave it out");
            return false;
        }
    if (IsTooDeep()) {
        report.Error(0, "", "is nested deeper than 16 elements; definitions need few");
        return false;
    }
    return true;
}

bool XmlDocument::IsTooDeep()
{
    DepthWatcher watcher;
    return !m_document.traverse(watcher);
}

std::size_t XmlDocument::OffsetOf(const pugi::xml_node& node) const
{
    const std::ptrdiff_t offset = node.offset_debug();
    return offset < 0 ? 0 : static_cast<std::size_t>(offset);
}

int XmlDocument::LineOf(const pugi::xml_node& node) const
{
    return LineAt(m_text, OffsetOf(node));
}

int XmlDocument::LineOf(const pugi::xml_node& node, std::string_view attribute) const
{
    const std::size_t start = OffsetOf(node);
    const std::size_t found = m_text.find(std::string(attribute) + "=", start);
    const std::size_t end = m_text.find('>', start);
    return LineAt(m_text, found < end ? found : start);
}

pugi::xml_node ChildInAnyCase(const pugi::xml_node& parent, std::string_view name)
{
    const std::string lower = Lower(name);
    return parent.find_child(
        [&lower](const pugi::xml_node& child) { return Lower(child.name()) == lower; });
}

pugi::xml_attribute AttributeInAnyCase(const pugi::xml_node& node, std::string_view name)
{
    const std::string lower = Lower(name);
    return node.find_attribute([&lower](const pugi::xml_attribute& attribute) {
        return Lower(attribute.name()) == lower;
    });
}

} // namespace KxC
