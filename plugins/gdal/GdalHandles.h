// SPDX-License-Identifier: MIT
#pragma once

#include <gdal_priv.h>

#include <memory>

namespace KxC {

struct GdalDeleter
{
    void operator()(GDALDataset* dataset) const { dataset->ReleaseRef(); }
};

/// A dataset serves one thread at a time.
using DatasetHandle = std::unique_ptr<GDALDataset, GdalDeleter>;

} // namespace KxC
