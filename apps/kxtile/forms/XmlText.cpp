// SPDX-License-Identifier: MIT
#include "forms/XmlText.h"

#include <pugixml.hpp>

#include <sstream>

namespace KxTileHost {

struct XmlText::Tree
{
    pugi::xml_document m_document;
    pugi::xml_node m_open;
};

XmlText::XmlText(const std::string& root) : m_tree(std::make_unique<Tree>())
{
    m_tree->m_open = m_tree->m_document.append_child(root.c_str());
}

XmlText::~XmlText() = default;

void XmlText::Begin(const std::string& name)
{
    m_tree->m_open = m_tree->m_open.append_child(name.c_str());
}

void XmlText::End()
{
    if (m_tree->m_open != m_tree->m_document.document_element())
        m_tree->m_open = m_tree->m_open.parent();
}

void XmlText::Attribute(const std::string& name, const std::string& value)
{
    m_tree->m_open.append_attribute(name.c_str()).set_value(value.c_str());
}

void XmlText::Element(const std::string& name, const std::string& value)
{
    m_tree->m_open.append_child(name.c_str()).text().set(value.c_str());
}

std::string XmlText::ToText() const
{
    std::ostringstream text;
    m_tree->m_document.save(
        text, "  ", pugi::format_indent | pugi::format_no_declaration, pugi::encoding_utf8);
    return text.str();
}

} // namespace KxTileHost
