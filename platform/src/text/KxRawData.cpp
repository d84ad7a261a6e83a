// SPDX-License-Identifier: MIT
#include "KxRawData.h"

#include <cstdlib>
#include <utility>

namespace KxC {

KxRawData::KxRawData() : m_pData(nullptr), m_nSize(0) {}

KxRawData::~KxRawData()
{
    std::free(m_pData);
}

unsigned int KxRawData::GetSize() const
{
    return m_nSize;
}

unsigned char* KxRawData::GetData() const
{
    return m_pData;
}

const KxString& KxRawData::GetExt() const
{
    return m_strExt;
}

void KxRawData::SetExt(const KxString& ext)
{
    m_strExt = ext;
}

void KxRawData::Attach(unsigned char* bytes, unsigned int size)
{
    if (bytes != m_pData)
        std::free(m_pData);
    m_pData = bytes;
    m_nSize = bytes == nullptr ? 0 : size;
    // No bytes are no data, so that either may be asked for.
    if (m_nSize == 0)
        std::free(std::exchange(m_pData, nullptr));
}

unsigned char* KxRawData::Detach()
{
    m_nSize = 0;
    return std::exchange(m_pData, nullptr);
}

void KxRawData::Clear()
{
    Attach(nullptr, 0);
}

} // namespace KxC
