#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace sim::scenario
{

enum class TokenKind
{
    Word,
    Quoted,
    Colon,
};

struct Token
{
    TokenKind kind;
    std::string text; // without the quotes
};

/// The tokens of one line, its comment left out. Throws ScenarioError for a quoted text that does not end.
std::vector<Token> Tokenize(std::string_view line);

} // namespace sim::scenario
