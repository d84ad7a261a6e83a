// SPDX-License-Identifier: MIT
#include "CrsText.h"

#include <algorithm>
#include <cctype>
#include <filesystem>
#include <fstream>
#include <string_view>
#include <system_error>

namespace KxC {

namespace {

constexpr std::string_view kBlanks = " \t\r\n\v\f";
constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";

/// Without what editors and hosts leave around a text.
std::string_view Trimmed(std::string_view text)
{
    if (text.starts_with(kByteOrderMark))
        text.remove_prefix(kByteOrderMark.size());
    text.remove_prefix(std::min(text.find_first_not_of(kBlanks), text.size()));
    return text.substr(0, text.find_last_not_of(kBlanks) + 1);
}

std::string Upper(std::string_view text)
{
    std::string upper(text);
    std::transform(upper.begin(), upper.end(), upper.begin(), [](unsigned char character) {
        return static_cast<char>(std::toupper(character));
    });
    return upper;
}

/// What authorities and codes are made of. Anything else could reach PROJ's search by name.
bool IsCode(std::string_view text)
{
    return !text.empty() && text.size() <= 64 &&
           std::all_of(text.begin(), text.end(), [](unsigned char character) {
               return std::isalnum(character) != 0 || character == '_' || character == '-' ||
                      character == '.';
           });
}

/// The beginning of a text, fit to stand in a message.
std::string Quoted(std::string_view text)
{
    std::string quoted(text.substr(0, 60));
    std::replace_if(
        quoted.begin(),
        quoted.end(),
        [](unsigned char character) { return std::isprint(character) == 0; },
        '?');
    return '"' + quoted + (text.size() > 60 ? "...\"" : "\"");
}

ProjObject MakeFromDatabase(PJ_CONTEXT* context,
                            const std::string& authority,
                            const std::string& code,
                            std::string& error)
{
    ProjObject crs(proj_create_from_database(
        context, authority.c_str(), code.c_str(), PJ_CATEGORY_CRS, 0, nullptr));
    if (crs == nullptr)
        error = proj_context_get_database_path(context) == nullptr
                    ? "proj.db is not found; install PROJ's data or set PROJ_DATA to its folder"
                    : authority + ":" + code + " is no coordinate system that PROJ's database has";
    return crs;
}

ProjObject MakeFromEpsg(PJ_CONTEXT* context, std::string_view text, std::string& error)
{
    std::string_view code = text;
    if (Upper(code.substr(0, 5)) == "EPSG:")
        code.remove_prefix(5);
    const bool isNumber = IsCode(code) && code.find_first_not_of("0123456789") == code.npos;
    if (isNumber)
        return MakeFromDatabase(context, "EPSG", std::string(code), error);
    error = Quoted(text) + R"( is no EPSG code; write "4326" or "EPSG:4326")";
    return nullptr;
}

ProjObject MakeFromAuthority(PJ_CONTEXT* context, std::string_view text, std::string& error)
{
    const std::size_t colon = std::min(text.find(':'), text.size());
    const std::string_view authority = text.substr(0, colon);
    const std::string_view code = text.substr(std::min(colon + 1, text.size()));
    if (IsCode(authority) && IsCode(code))
        return MakeFromDatabase(context, Upper(authority), std::string(code), error);
    error = Quoted(text) + R"( does not have the form "AUTHORITY:CODE", as in "ESRI:54030")";
    return nullptr;
}

ProjObject MakeFromProj(PJ_CONTEXT* context, std::string_view text, std::string& error)
{
    std::string definition(text);
    if (definition.find("proj=") == definition.npos &&
        definition.find("init=") == definition.npos) {
        error = Quoted(text) + R"( is no PROJ string; one looks like "+proj=utm +zone=33")";
        return nullptr;
    }
    if (definition.find("proj=pipeline") != definition.npos) {
        error = Quoted(text) + " is a chain of operations; a coordinate system is wanted";
        return nullptr;
    }
    // Without it PROJ makes an operation of the text, not a coordinate system.
    if (definition.find("type=crs") == definition.npos)
        definition += " +type=crs";
    proj_context_use_proj4_init_rules(context, 1); // "+init=epsg:4326" is still about
    return ProjObject(proj_create(context, definition.c_str()));
}

ProjObject MakeFromWkt(PJ_CONTEXT* context, std::string_view text, std::string& error)
{
    // PROJ tells the dialects apart, ESRI's by its names.
    PROJ_STRING_LIST faults = nullptr;
    ProjObject crs(
        proj_create_from_wkt(context, std::string(text).c_str(), nullptr, nullptr, &faults));
    if (crs == nullptr && faults != nullptr && faults[0] != nullptr)
        error = Quoted(text) + " is no WKT: " + faults[0];
    proj_string_list_destroy(faults);
    return crs;
}

ProjObject MakeByForm(PJ_CONTEXT* context, CrsForm form, std::string_view text, std::string& error)
{
    switch (form) {
    case CrsForm::Epsg:
        return MakeFromEpsg(context, text, error);
    case CrsForm::Authority:
        return MakeFromAuthority(context, text, error);
    case CrsForm::Proj:
        return MakeFromProj(context, text, error);
    case CrsForm::Wkt:
    case CrsForm::EsriPrj:
        return MakeFromWkt(context, text, error);
    }
    return nullptr;
}

/// True for what gives points a place on the earth: heights, times and building sites do not.
bool HasPlaces(const PJ* crs)
{
    switch (proj_get_type(crs)) {
    case PJ_TYPE_VERTICAL_CRS:
    case PJ_TYPE_TEMPORAL_CRS:
    case PJ_TYPE_ENGINEERING_CRS:
        return false;
    default:
        return proj_is_crs(crs) != 0;
    }
}

} // namespace

ProjObject MakeCrs(PJ_CONTEXT* context, const CrsText& crs, std::string& error)
{
    error.clear();
    const std::string_view text = Trimmed(crs.m_text);
    if (text.empty() || text.size() > kMaxCrsText) {
        error =
            text.empty() ? "the projection string is empty" : "the projection string is too long";
        return nullptr;
    }
    ProjObject made = MakeByForm(context, crs.m_form, text, error);
    if (made != nullptr && HasPlaces(made.get()))
        return made;
    if (error.empty())
        error = Quoted(text) + (made != nullptr ? " is no coordinate system for places on the earth"
                                                : " is nothing that PROJ understands");
    return nullptr;
}

std::string ReadPrjFile(const std::string& path, std::string& error)
{
    // Opening a pipe would wait for a writer.
    std::error_code unused;
    std::ifstream file;
    if (std::filesystem::is_regular_file(path, unused))
        file.open(path, std::ios::binary);
    std::string text(kMaxCrsText + 1, '\0');
    if (file.is_open())
        file.read(text.data(), static_cast<std::streamsize>(text.size()));
    text.resize(static_cast<std::size_t>(file.gcount()));
    if (!file.is_open() || file.bad())
        error = "the .prj file " + path + " cannot be read";
    else if (text.size() > kMaxCrsText)
        error = "the file " + path + " is too long for a .prj file";
    else
        return text;
    return {};
}

} // namespace KxC
