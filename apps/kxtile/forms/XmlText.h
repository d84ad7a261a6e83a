// SPDX-License-Identifier: MIT
#pragma once

#include <memory>
#include <string>

namespace KxTileHost {

/// Makes an XML text element by element. Values are escaped as XML asks for.
class XmlText
{
public:
    explicit XmlText(const std::string& root);
    ~XmlText();
    XmlText(const XmlText&) = delete;
    XmlText& operator=(const XmlText&) = delete;

    /// Opens an element inside the open one.
    void Begin(const std::string& name);
    /// Closes the open one; the root stays open.
    void End();
    /// An attribute of the open element.
    void Attribute(const std::string& name, const std::string& value);
    /// A whole element with a text in it.
    void Element(const std::string& name, const std::string& value);

    /// The whole, without a declaration in front: GDAL's driver stumbles over one.
    std::string ToText() const;

private:
    struct Tree;
    std::unique_ptr<Tree> m_tree;
};

} // namespace KxTileHost
