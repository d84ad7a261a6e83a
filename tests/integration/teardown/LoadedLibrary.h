// SPDX-License-Identifier: MIT
#pragma once

#include <dlfcn.h>
#include <gtest/gtest.h>

#include <array>
#include <cstddef>

namespace KxC::Testing {

/// The library as a host without its headers has it: by the names that it exports.
class LoadedLibrary
{
public:
    LoadedLibrary() : m_library(::dlopen(KXTILE_LIBRARY, RTLD_NOW | RTLD_LOCAL))
    {
        EXPECT_NE(m_library, nullptr) << ::dlerror();
    }
    ~LoadedLibrary() { Close(); }
    LoadedLibrary(const LoadedLibrary&) = delete;
    LoadedLibrary& operator=(const LoadedLibrary&) = delete;

    void Close()
    {
        if (m_library == nullptr)
            return;
        EXPECT_EQ(::dlclose(m_library), 0);
        m_library = nullptr;
    }

    void* OpenRaster(const char* path)
    {
        const Text text(*this, path);
        const auto open = Function<void* (*)(void*, const void*)>(
            "_ZN3KxC23KxRasterAccessorManager16OpenDataAccessorERKNS_8KxStringE");
        return open(Symbol("_ZN3KxC24m_gRasterAccessorManagerE"), text.m_bytes.data());
    }
    void* GetTransform(const char* projection, int type)
    {
        const Text text(*this, projection);
        const auto get = Function<void* (*)(void*, const void*, int)>(
            "_ZN3KxC22KxCoordSysTransManager18GetKxCoordSysTransERKNS_8KxStringENS_"
            "17ProjectStringTypeE");
        return get(Symbol("_ZN3KxC23m_gCoordSysTransManagerE"), text.m_bytes.data(), type);
    }
    /// Longitude and latitude of a point.
    std::array<double, 3> Convert(void* transform, std::array<double, 3> point)
    {
        std::array<double, 3> out{};
        Function<void (*)(const void*, const void*, void*)>(
            "_ZNK3KxC15KxCoordSysTrans14SrcPtToWGS84PtERKNS_9KxPoint3dERS1_")(
            transform, point.data(), out.data());
        return out;
    }

private:
    /// A KxString, in more room than it needs.
    struct Text
    {
        Text(LoadedLibrary& library, const char* text) : m_library(library)
        {
            m_library.Function<void (*)(void*, const char*)>("_ZN3KxC8KxStringC1EPKc")(
                m_bytes.data(), text);
        }
        ~Text() { m_library.Function<void (*)(void*)>("_ZN3KxC8KxStringD1Ev")(m_bytes.data()); }
        Text(const Text&) = delete;
        Text& operator=(const Text&) = delete;

        LoadedLibrary& m_library;
        alignas(std::max_align_t) std::array<std::byte, 256> m_bytes{};
    };

    void* Symbol(const char* name)
    {
        void* const symbol = ::dlsym(m_library, name);
        EXPECT_NE(symbol, nullptr) << name;
        return symbol;
    }
    template <class Pointer>
    Pointer Function(const char* name)
    {
        return reinterpret_cast<Pointer>(Symbol(name));
    }

    void* m_library;
};

} // namespace KxC::Testing
