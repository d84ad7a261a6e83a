// SPDX-License-Identifier: MIT
#pragma once

#include "Report.h"

#include <pugixml.hpp>

#include <string_view>

namespace KxC {

/// An XML document from outside. A DOCTYPE may name the root and nothing else, so that nothing is
/// expanded or fetched.
class XmlDocument
{
public:
    /// @param text  outlives the document
    explicit XmlDocument(std::string_view text) : m_text(text) {}

    /// Parses the text; what is wrong with it is reported.
    bool Parse(Report& report);

    pugi::xml_node Root() const { return m_document.document_element(); }
    int LineOf(const pugi::xml_node& node) const;
    /// The line of one of its attributes.
    int LineOf(const pugi::xml_node& node, std::string_view attribute) const;

private:
    bool IsTooDeep();
    std::size_t OffsetOf(const pugi::xml_node& node) const;

    std::string_view m_text;
    pugi::xml_document m_document;
};

/// The first child of a name in whatever case, as some programs look it up; a null one when there
/// is none.
pugi::xml_node ChildInAnyCase(const pugi::xml_node& parent, std::string_view name);
/// The same for an attribute.
pugi::xml_attribute AttributeInAnyCase(const pugi::xml_node& node, std::string_view name);

} // namespace KxC
