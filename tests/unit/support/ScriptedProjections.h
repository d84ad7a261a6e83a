// SPDX-License-Identifier: MIT
/// Stands in front of the plug-in manager: hands out projection objects that tell what became of
/// them.
#pragma once

#include "KxRasterDataAccessor.h"

#include <string>
#include <vector>

namespace KxC::Testing {

/// In force while it lives; one at a time. Without one, no plug-in handles anything.
class ScriptedProjections
{
public:
    ScriptedProjections();
    ~ScriptedProjections();
    ScriptedProjections(const ScriptedProjections&) = delete;
    ScriptedProjections& operator=(const ScriptedProjections&) = delete;

    bool m_thereIsAPlugin = true;
    bool m_usable = true;             ///< what Initialize answers
    std::string m_error;              ///< what the setters find wrong
    std::vector<std::string> m_asked; ///< "kind ext" of each request for an object
    std::vector<std::string> m_calls; ///< "SetWKT text" and the like, and "destroyed"
};

/// Adds 1000 to x on the way to WGS 84 and takes it away on the way back.
class ScriptedProjection : public KxRasterDataAccessor
{
public:
    explicit ScriptedProjection(ScriptedProjections& script);
    ~ScriptedProjection() override;

    unsigned char Initialize() override;
    unsigned char IsAvailable() override { return 1; }
    int GetMinLevel() override { return 0; }
    int GetMaxLevel() override { return 0; }
    unsigned char SetProj4(const KxString& text) override;
    unsigned char SetEsriPrj(const char* text) override;
    unsigned char SetEPSG(const char* code) override;
    unsigned char SetWKT(const char* text) override;
    unsigned char SetAuthority(const char* text) override;
    unsigned char SetPrjFile(const KxString& path) override;
    void SrcPtToWGS84Pt(const KxPoint3d& in, KxPoint3d& out) override;
    void WGS84PtToSrcPt(const KxPoint3d& in, KxPoint3d& out) override;
    unsigned char Open(const KxString& path) override;
    void ReadTileImage(KxImageData*& image, int level, int row, int col) override;
    int
    ReadTileData(int level, int row, int col, unsigned char*& bytes, unsigned int& size) override;

private:
    unsigned char Record(const char* setter, const char* text);

    ScriptedProjections& m_script;
};

} // namespace KxC::Testing
