// SPDX-License-Identifier: MIT
#include "serve/WmtsQuery.h"

#include "forms/XmlText.h"

#include <fmt/format.h>

#include <string>

namespace KxTileHost::Serve {

namespace {

Route RouteOf(Route::Kind kind, std::string fault = {})
{
    Route route;
    route.m_kind = kind;
    route.m_fault = std::move(fault);
    return route;
}

} // namespace

Route ReadWmtsQuery(const HttpRequest& request)
{
    const std::string service = request.Query("SERVICE");
    if (!service.empty() && service != "WMTS")
        return RouteOf(Route::kMalformed, fmt::format("SERVICE is WMTS, not '{}'", service));
    const std::string operation = request.Query("REQUEST");
    if (operation.empty() || operation == "GetCapabilities")
        return RouteOf(Route::kWmts);
    if (operation != "GetTile")
        return RouteOf(Route::kMalformed,
                       fmt::format("REQUEST is GetCapabilities or GetTile, not '{}'", operation));
    WmtsParameters tile;
    tile.m_layer = request.Query("LAYER");
    tile.m_style = request.Query("STYLE");
    tile.m_matrixSet = request.Query("TILEMATRIXSET");
    tile.m_matrix = request.Query("TILEMATRIX");
    tile.m_row = request.Query("TILEROW");
    tile.m_column = request.Query("TILECOL");
    tile.m_format = request.Query("FORMAT");
    return WmtsTileRoute(tile);
}

AnswerPtr AsExceptionReport(AnswerPtr answer)
{
    if (answer == nullptr || answer->m_status < Status::kBadRequest)
        return answer;
    std::string words(reinterpret_cast<const char*>(answer->m_body.Data()), answer->m_body.Size());
    if (!words.empty() && words.back() == '\n')
        words.pop_back();
    XmlText xml("ows:ExceptionReport");
    xml.Attribute("xmlns:ows", "http://www.opengis.net/ows/1.1");
    xml.Attribute("version", "1.0.0");
    xml.Begin("ows:Exception");
    xml.Attribute("exceptionCode",
                  answer->m_status == Status::kBadRequest ? "InvalidParameterValue"
                                                          : "NoApplicableCode");
    xml.Element("ows:ExceptionText", words);
    xml.End();
    auto report = std::make_shared<Answer>();
    report->m_status = answer->m_status;
    report->m_contentType = "application/xml";
    report->m_cacheControl = answer->m_cacheControl;
    report->m_cacheState = answer->m_cacheState;
    report->m_milliseconds = answer->m_milliseconds;
    report->m_headers = answer->m_headers;
    report->m_body = Body::OfText("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n" + xml.ToText());
    return report;
}

} // namespace KxTileHost::Serve
