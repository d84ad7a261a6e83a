// SPDX-License-Identifier: MIT
// A plug-in as small as one can be; its build says in which way it goes wrong, if any.
#include "KxPlugin.h"

#include <stdexcept>

namespace {

class TestPlugin : public KxC::KxPlugin
{
public:
    unsigned char Initialize() override { return KX_TEST_MARK; }
    unsigned char IsAvailable() override { return 1; }
};

KxC::KxPlugin* Create()
{
#if defined(KX_TEST_THROWS)
    throw std::runtime_error("no object today");
#elif defined(KX_TEST_ANSWERS_NULL)
    return nullptr;
#else
    return new TestPlugin;
#endif
}

#if defined(KX_TEST_OTHER_ABI)
constexpr int kAbi = KxC::KxPluginDeclaration::kAbi + 1;
#else
constexpr int kAbi = KxC::KxPluginDeclaration::kAbi;
#endif

#if defined(KX_TEST_INCOMPLETE)
const KxC::KxPluginDeclaration kDeclaration = {kAbi, "TestKind", nullptr, &Create};
#else
const KxC::KxPluginDeclaration kDeclaration = {kAbi, "TestKind", KX_TEST_EXTENSIONS, &Create};
#endif

} // namespace

#if !defined(KX_TEST_NO_ENTRY)
extern "C" __attribute__((visibility("default"))) const KxC::KxPluginDeclaration* KxDeclarePlugin()
{
#if defined(KX_TEST_DECLARES_NULL)
    return nullptr;
#else
    return &kDeclaration;
#endif
}
#endif
