// SPDX-License-Identifier: MIT
#include "CrsArgument.h"

#include "CrsText.h"
#include "KxRasterWriter.h"

namespace KxC {

namespace {

/// @return false when the number is no form or its file cannot be read
bool FindForm(int form, CrsText& crs, std::string& error)
{
    constexpr CrsForm kForms[] = {
        CrsForm::Wkt, CrsForm::Proj, CrsForm::Epsg, CrsForm::EsriPrj, CrsForm::Authority};
    if (form >= KxECrsForm_Wkt && form <= KxECrsForm_Authority) {
        crs.m_form = kForms[form];
        return true;
    }
    if (form != KxECrsForm_PrjFile) {
        error = "there is no form " + std::to_string(form) +
                " of coordinate systems; KxECrsForm goes from 0 to 5";
        return false;
    }
    crs = {CrsForm::EsriPrj, ReadPrjFile(crs.m_text, error)};
    return error.empty();
}

} // namespace

std::string RewriteCrs(const char* crs, int form, CrsDialect dialect, std::string& error)
{
    CrsText text = {CrsForm::Wkt, crs != nullptr ? crs : ""};
    if (!FindForm(form, text, error))
        return {};
    const ProjContext context(proj_context_create());
    if (context == nullptr) {
        error = "PROJ does not start";
        return {};
    }
    proj_log_level(context.get(), PJ_LOG_NONE); // a library prints nothing
    proj_context_set_enable_network(context.get(), 0);
    const ProjObject made = MakeCrs(context.get(), text, error);
    if (made == nullptr)
        return {};
    constexpr const char* kOneLine[] = {"MULTILINE=NO", nullptr};
    const char* wkt = proj_as_wkt(context.get(),
                                  made.get(),
                                  dialect == CrsDialect::Esri ? PJ_WKT1_ESRI : PJ_WKT2_2019,
                                  kOneLine);
    if (wkt == nullptr)
        error = "this coordinate system has no text of that kind; choose one by an EPSG code";
    return wkt != nullptr ? wkt : "";
}

} // namespace KxC
