// SPDX-License-Identifier: MIT
#include "DatumVectors.h"

#include <fstream>
#include <sstream>

namespace KxC::Test {

namespace {

DatumVector ReadRow(const std::string& line)
{
    std::istringstream text(line);
    DatumVector row = {};
    char comma = 0;
    for (double* field :
         {&row.lon, &row.lat, &row.gcjLon, &row.gcjLat, &row.bdLon, &row.bdLat, &row.x, &row.y})
        text >> *field >> comma;
    std::getline(text, row.note);
    return row;
}

std::vector<DatumVector> ReadRows()
{
    std::ifstream file(KX_DATUM_VECTORS);
    std::string line;
    std::getline(file, line); // the columns' names
    std::vector<DatumVector> rows;
    while (std::getline(file, line))
        rows.push_back(ReadRow(line));
    return rows;
}

} // namespace

std::ostream& operator<<(std::ostream& out, const DatumVector& vector)
{
    return out << vector.note << " (" << vector.lon << ", " << vector.lat << ")";
}

const std::vector<DatumVector>& DatumVectors()
{
    static const std::vector<DatumVector> rows = ReadRows();
    return rows;
}

} // namespace KxC::Test
