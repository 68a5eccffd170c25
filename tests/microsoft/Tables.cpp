#include "tests/microsoft/Tables.h"

#include <fstream>
#include <stdexcept>

namespace test
{

std::vector<std::string> TableLines(const std::string& name)
{
    std::ifstream file(std::string(EXPECTED_TABLES) + "/" + name);
    if (!file)
    {
        throw std::runtime_error("there is no table " + name);
    }
    std::vector<std::string> lines;
    for (std::string line; std::getline(file, line);)
    {
        if (line.find_first_not_of(" \r") != std::string::npos && line.front() != '#')
        {
            lines.push_back(line);
        }
    }
    return lines;
}

} // namespace test
