// SPDX-License-Identifier: MIT
#include "ReadBudget.h"

#include <ctime>

namespace KxC {

namespace {

double ThreadSeconds()
{
    std::timespec time = {};
    ::clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) * 1e-9;
}

int CPL_STDCALL MayGoOn(double /*share*/, const char* /*message*/, void* budget)
{
    return static_cast<const ReadBudget*>(budget)->IsSpent() ? 0 : 1;
}

} // namespace

ReadBudget::ReadBudget(double seconds) : m_end(ThreadSeconds() + seconds) {}

bool ReadBudget::IsSpent() const
{
    return ThreadSeconds() >= m_end;
}

GDALRasterIOExtraArg ReadBudget::Arguments()
{
    GDALRasterIOExtraArg arguments;
    INIT_RASTERIO_EXTRA_ARG(arguments);
    arguments.pfnProgress = &MayGoOn;
    arguments.pProgressData = this;
    return arguments;
}

} // namespace KxC
