#include "simulator/program/scenario/Tokens.h"

#include "simulator/program/scenario/ScenarioError.h"

#include <algorithm>
#include <cstddef>

namespace sim::scenario
{

namespace
{

constexpr std::string_view blanks = " \t\r";
constexpr std::string_view wordEnds = " \t\r\"#:";

std::string_view TakeUpTo(std::string_view& rest, std::size_t end)
{
    const std::string_view taken = rest.substr(0, end);
    rest.remove_prefix(taken.size());
    return taken;
}

Token TakeQuoted(std::string_view& rest)
{
    rest.remove_prefix(1);
    const std::size_t end = rest.find('"');
    if (end == std::string_view::npos)
    {
        throw ScenarioError("the quoted text does not end: \"" + std::string(rest));
    }
    Token token{TokenKind::Quoted, std::string(TakeUpTo(rest, end))};
    rest.remove_prefix(1);
    return token;
}

Token TakeToken(std::string_view& rest)
{
    if (rest.front() == '"')
    {
        return TakeQuoted(rest);
    }
    if (rest.front() == ':')
    {
        rest.remove_prefix(1);
        return {TokenKind::Colon, ":"};
    }
    return {TokenKind::Word, std::string(TakeUpTo(rest, rest.find_first_of(wordEnds)))};
}

void SkipBlanks(std::string_view& rest)
{
    rest.remove_prefix(std::min(rest.find_first_not_of(blanks), rest.size()));
}

} // namespace

std::vector<Token> Tokenize(std::string_view line)
{
    std::vector<Token> tokens;
    SkipBlanks(line);
    while (!line.empty() && line.front() != '#')
    {
        tokens.push_back(TakeToken(line));
        SkipBlanks(line);
    }
    return tokens;
}

} // namespace sim::scenario
