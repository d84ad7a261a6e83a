// SPDX-License-Identifier: MIT
#include "KxRasterWriter.h"

namespace KxC {

KxRasterWriter::KxRasterWriter() = default;

KxRasterWriter::~KxRasterWriter() = default;

const KxString& KxRasterWriter::GetError() const
{
    return m_strError;
}

} // namespace KxC
