#include "simulator/program/scenario/Pattern.h"

#include <cstddef>

namespace sim::scenario
{

bool Matches(std::string_view pattern, std::string_view text)
{
    std::size_t at = 0;
    std::size_t taken = 0;
    std::size_t star = std::string_view::npos; // the last "*" so far, and the text that follows what it stands for
    std::size_t afterStar = 0;
    while (taken < text.size())
    {
        if (at < pattern.size() && pattern[at] == '*')
        {
            star = at++;
            afterStar = taken;
        }
        else if (at < pattern.size() && pattern[at] == text[taken])
        {
            ++at;
            ++taken;
        }
        else if (star != std::string_view::npos)
        {
            at = star + 1;
            taken = ++afterStar;
        }
        else
        {
            return false;
        }
    }
    return pattern.find_first_not_of('*', at) == std::string_view::npos;
}

} // namespace sim::scenario
