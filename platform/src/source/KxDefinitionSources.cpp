// SPDX-License-Identifier: MIT
#include "KxDefinitionSources.h"

#include "DefinitionReader.h"

#include <exception>
#include <string>

namespace KxC {

std::vector<KxString> ListDefinitionSources(const KxString& path)
try {
    std::vector<KxString> names;
    for (const std::string& name : ReadSourceNames(path.Cstr()))
        names.emplace_back(name.data(), static_cast<int>(name.size()));
    return names;
} catch (const std::exception&) {
    return {};
}

} // namespace KxC
