// SPDX-License-Identifier: MIT
#include "KxCoordSysTrans.h"

#include <algorithm>
#include <mutex>
#include <utility>

namespace KxC {

KxCoordSysTransManager::KxCoordSysTransManager() : m_mutex(false) {}

KxCoordSysTransManager::~KxCoordSysTransManager()
{
    const std::lock_guard<KxMutex> lock(m_mutex);
    m_listTransforms.clear();
}

KxCoordSysTrans* KxCoordSysTransManager::GetKxCoordSysTrans(const KxString& projection,
                                                            ProjectStringType type)
{
    // Made under the lock, so that threads asking at once for a new transform share one.
    const std::lock_guard<KxMutex> lock(m_mutex);
    const auto known =
        std::find_if(m_listTransforms.begin(), m_listTransforms.end(), [&](const auto& transform) {
            return transform->m_eType == type &&
                   transform->m_strProjection.CompareNoCase(projection) == 0;
        });
    if (known != m_listTransforms.end())
        return known->get();

    auto transform = std::make_unique<KxCoordSysTrans>();
    // Init takes the key only where there is a plug-in; the transform must be found again anyway.
    transform->m_strProjection = projection;
    transform->m_eType = type;
    transform->Init(projection, type);
    m_listTransforms.push_back(std::move(transform));
    return m_listTransforms.back().get();
}

} // namespace KxC
